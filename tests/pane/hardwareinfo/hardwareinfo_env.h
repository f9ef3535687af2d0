// Shared set-up of the Hardware information page tests: temporary HOME and system Library
// folder, the pane's string tables, a device list and settings file, and a fake daemon on its
// own bus connection that records each command and answers the self-test start.
#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QDBusConnection>
#include <QDir>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTimer>
#include <QtEndian>
#include <QtTest>

#include <memory>

#include "atomic_file.h"
#include "daemonchannel.h"
#include "globals.h"
#include "messageport.h"
#include "panetranslations.h"
#include "paths.h"
#include "settings_store.h"

namespace tavix::test {

class HardwareEnv {
  public:
    HardwareEnv() {
        QDir().mkpath(dir_.filePath(QStringLiteral("home")));
        QDir().mkpath(dir_.filePath(QStringLiteral("system/Library")));
        qputenv("HOME", dir_.filePath(QStringLiteral("home")).toLocal8Bit());
        qputenv("TAVIX_SYSTEM_LIBRARY",
                dir_.filePath(QStringLiteral("system/Library")).toLocal8Bit());
        ensurePaneTranslations();
    }
    QString path(const QString &name) const { return dir_.filePath(name); }

  private:
    QTemporaryDir dir_;
};

// Model 317 and 259 with three areas of four points ("Top", "Left", "Right"); 420 has none.
inline void writeDeviceList() {
    const char *area =
        "<dict><key>Area</key><string>%1</string><key>Point</key><integer>4</integer>"
        "<key>Index</key><integer>%2</integer></dict>";
    QString areas;
    const char *labels[] = {"Top", "Left", "Right"};
    for (int i = 0; i < 3; ++i) {
        areas += QString::fromLatin1(area).arg(QLatin1String(labels[i])).arg(i + 1);
    }
    QString list = QStringLiteral("<?xml version=\"1.0\"?><plist version=\"1.0\"><array>");
    for (int model : {317, 259}) {
        list += QStringLiteral(
                    "<dict><key>ModelType</key><integer>%1</integer><key>Name</key>"
                    "<string>TX-%1</string><key>LEDSensorArray</key><array>%2</array>"
                    "</dict>")
                    .arg(model)
                    .arg(areas);
    }
    list +=
        QStringLiteral("<dict><key>ModelType</key><integer>420</integer></dict></array></plist>");
    QVERIFY(writeFileAtomically(getSupportDeviceListFilePath(), list.toStdString()));
}

// The fake daemon: records "1D 01"-style lines; answers 28 with the hardware type.
class Daemon {
  public:
    explicit Daemon(std::int32_t hardwareType = 317) : hardwareType_(hardwareType) {}
    bool start() {
        bus_ = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("daemon")));
        port_ = LocalMessagePort::create(
            QString::fromLatin1(kDaemonPortName),
            [this](qint32, const QByteArray &data) {
                received << QString::fromLatin1(data.toHex(' ').toUpper());
                if (data == QByteArray(1, 28)) {
                    QByteArray reply(4, 0);
                    qToLittleEndian(hardwareType_, reply.data());
                    return reply;
                }
                return QByteArray();
            },
            *bus_);
        return port_ != nullptr;
    }
    int count(const QString &line) const { return static_cast<int>(received.count(line)); }

    QStringList received;

  private:
    std::int32_t hardwareType_;
    std::unique_ptr<QDBusConnection> bus_;
    std::unique_ptr<LocalMessagePort> port_;
};

// Clicks the button with this text on the next application-modal alert, once it is shown.
inline void answerAlert(const QString &button, bool *shown) {
    auto *timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, button, shown] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box) {
            return;
        }
        *shown = true;
        for (QAbstractButton *b : box->buttons()) {
            if (b->text() == button) {
                timer->deleteLater();
                timer->stop();
                b->click();
                return;
            }
        }
    });
    timer->start(5);
}

}  // namespace tavix::test
