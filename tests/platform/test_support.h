// Shared pieces of the bus tests: a temporary HOME and system Library folder, and hex dumps.
#pragma once

#include <QByteArray>
#include <QDir>
#include <QString>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <cstdlib>

namespace tavix::test {

// Points HOME and TAVIX_SYSTEM_LIBRARY at fresh temporary folders for the life of the object.
class TempRoots {
  public:
    TempRoots() {
        QVERIFY2(dir_.isValid(), "no temporary folder");
        home_ = dir_.filePath(QStringLiteral("home"));
        system_ = dir_.filePath(QStringLiteral("system/Library"));
        QDir().mkpath(home_);
        QDir().mkpath(system_);
        qputenv("HOME", home_.toLocal8Bit());
        qputenv("TAVIX_SYSTEM_LIBRARY", system_.toLocal8Bit());
    }
    QString home() const { return home_; }
    QString system() const { return system_; }
    QString path(const QString &name) const { return dir_.filePath(name); }

  private:
    QTemporaryDir dir_;
    QString home_, system_;
};

// "01 20 00": upper-case byte pairs separated by single spaces.
inline QString hexBytes(const QByteArray &bytes) {
    return QString::fromLatin1(bytes.toHex(' ').toUpper());
}

}  // namespace tavix::test
