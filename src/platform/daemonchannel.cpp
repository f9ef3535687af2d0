#include "daemonchannel.h"

#include <utility>

#include "messageport.h"

namespace tavix {
namespace {

constexpr double kSendTimeout = 1.0;
constexpr double kReceiveTimeout = 1.0;

}  // namespace

bool SendDataToRemotePort(const Bytes &command,
                          std::function<void(bool ok, const QByteArray &reply)> onReply) {
    if (command.empty()) {
        return false;
    }
    // A new lookup for every command: the daemon may have come or gone since the last one.
    std::optional<RemoteMessagePort> daemon =
        RemoteMessagePort::lookup(QString::fromLatin1(kDaemonPortName));
    if (!daemon) {
        return false;
    }
    const QByteArray data(reinterpret_cast<const char *>(command.data()),
                          static_cast<qsizetype>(command.size()));
    ReplyCallback handler;
    if (onReply) {
        handler = [onReply = std::move(onReply)](const PortReply &outcome) {
            onReply(outcome.ok, outcome.reply);
        };
    }
    daemon->sendRequest(0, data, kSendTimeout, kReceiveTimeout, std::move(handler));
    return true;
}

bool sendStartSelfTest(
    std::function<void(std::optional<std::int32_t> hardwareType)> onHardwareType) {
    std::function<void(bool, const QByteArray &)> handler;
    if (onHardwareType) {
        handler = [onHardwareType = std::move(onHardwareType)](bool ok, const QByteArray &reply) {
            if (!ok) {
                onHardwareType(std::nullopt);
                return;
            }
            onHardwareType(decodeHardwareType(reinterpret_cast<const std::uint8_t *>(reply.data()),
                                              static_cast<std::size_t>(reply.size())));
        };
    }
    return SendDataToRemotePort(makeCommand(COMMAND_START_SELF_TEST), std::move(handler));
}

}  // namespace tavix
