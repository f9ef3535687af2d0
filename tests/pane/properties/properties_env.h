// Properties page test pieces: a system of any version and a daemon recording commands.
#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QStringList>

#include <memory>
#include <utility>

#include "../../platform/test_support.h"
#include "commands.h"
#include "daemonchannel.h"
#include "messageport.h"
#include "systeminfo.h"

namespace tavix::test {

class FakeSystemInfo final : public SystemInfo {
  public:
    FakeSystemInfo(QString versionString, int minorVersion)
        : versionString_(std::move(versionString)), minorVersion_(minorVersion) {}
    QString operatingSystemVersionString() const override { return versionString_; }
    int systemMinorVersion() const override { return minorVersion_; }

  private:
    QString versionString_;
    int minorVersion_;
};

// The daemon's port on its own bus connection, recording each command as "01 2D 00".
class RecordingDaemon {
  public:
    bool start() {
        bus_ = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("daemon")));
        port_ = LocalMessagePort::create(
            QString::fromLatin1(kDaemonPortName),
            [this](qint32 msgid, const QByteArray &data) {
                received.append(msgid == 0 ? hexBytes(data)
                                           : QStringLiteral("msgid %1").arg(msgid));
                return QByteArray();
            },
            *bus_);
        return port_ != nullptr;
    }
    void stop() { port_.reset(); }

    QStringList received;

  private:
    std::unique_ptr<QDBusConnection> bus_;
    std::unique_ptr<LocalMessagePort> port_;
};

// A command no page sends, used to prove that nothing else was sent before it: sends keep
// their order, so once the marker has arrived everything sent earlier has arrived too.
inline const QString kMarker = QStringLiteral("20");
inline void sendMarker() {
    SendDataToRemotePort(makeCommand(COMMAND_STOP_CHECK));
}

}  // namespace tavix::test
