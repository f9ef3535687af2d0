// A daemon that records the commands the pages send, and a marker to know they have all arrived.
#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QStringList>

#include <memory>

#include "../../platform/test_support.h"
#include "commands.h"
#include "daemonchannel.h"
#include "messageport.h"

namespace tavix::test {

// The daemon's port on its own bus connection, recording each command as "01 2D 00".
class RecordingDaemon {
  public:
    bool start() {
        port_ = LocalMessagePort::create(
            QString::fromLatin1(kDaemonPortName),
            [this](qint32 msgid, const QByteArray &data) {
                received << (msgid == 0 ? hexBytes(data) : QStringLiteral("msgid %1").arg(msgid));
                return QByteArray();
            },
            bus_);
        return port_ != nullptr;
    }
    void stop() { port_.reset(); }

    QStringList received;

  private:
    QDBusConnection bus_ =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("daemon"));
    std::unique_ptr<LocalMessagePort> port_;
};

// A command no page sends, used to prove that nothing else was sent before it: sends keep
// their order, so once the marker has arrived everything sent earlier has arrived too.
inline const QString kMarker = QStringLiteral("20");
inline void sendMarker() {
    SendDataToRemotePort(makeCommand(COMMAND_STOP_CHECK));
}

}  // namespace tavix::test
