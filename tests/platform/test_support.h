// Shared pieces of the bus tests: a temporary HOME and system Library folder, and hex dumps.
#pragma once

#include <QByteArray>
#include <QDir>
#include <QString>
#include <QTemporaryDir>
#include <QtTest/QTest>

namespace tavix::test {

// Points HOME and TAVIX_SYSTEM_LIBRARY at fresh temporary folders for the life of the object.
class TempRoots {
  public:
    TempRoots() {
        QVERIFY2(dir_.isValid(), "no temporary folder");
        QDir().mkpath(path(QStringLiteral("home")));
        QDir().mkpath(path(QStringLiteral("system/Library")));
        qputenv("HOME", path(QStringLiteral("home")).toLocal8Bit());
        qputenv("TAVIX_SYSTEM_LIBRARY", path(QStringLiteral("system/Library")).toLocal8Bit());
    }
    QString path(const QString &name) const { return dir_.filePath(name); }

  private:
    QTemporaryDir dir_;
};

// "01 20 00": upper-case byte pairs separated by single spaces.
inline QString hexBytes(const QByteArray &bytes) {
    return QString::fromLatin1(bytes.toHex(' ').toUpper());
}

}  // namespace tavix::test
