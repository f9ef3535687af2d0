#include "daemonchannel.h"

#include <utility>

#include "messageport.h"

namespace tavix {
namespace {

constexpr double kSendTimeout = 1.0;
constexpr double kReceiveTimeout = 1.0;

}  // namespace

namespace {

bool send(const Bytes &command, QObject *context, bool bound,
          std::function<void(bool ok, const QByteArray &reply)> onReply) {
    if (command.empty()) {
        return false;
    }
    // The daemon present now, as the bus announced it: no lookup round trip per command, and
    // nothing at all is sent while no daemon is there.
    std::optional<RemoteMessagePort> daemon =
        RemoteMessagePort::tracked(QString::fromLatin1(kDaemonPortName));
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
    if (bound) {
        daemon->sendRequest(0, data, kSendTimeout, kReceiveTimeout, context, std::move(handler));
    } else {
        daemon->sendRequest(0, data, kSendTimeout, kReceiveTimeout, std::move(handler));
    }
    return true;
}

std::function<void(bool, const QByteArray &)> hardwareTypeHandler(
    std::function<void(std::optional<std::int32_t> hardwareType)> onHardwareType) {
    if (!onHardwareType) {
        return {};
    }
    return [onHardwareType = std::move(onHardwareType)](bool ok, const QByteArray &reply) {
        if (!ok) {
            onHardwareType(std::nullopt);
            return;
        }
        onHardwareType(decodeHardwareType(reinterpret_cast<const std::uint8_t *>(reply.data()),
                                          static_cast<std::size_t>(reply.size())));
    };
}

}  // namespace

bool SendDataToRemotePort(const Bytes &command,
                          std::function<void(bool ok, const QByteArray &reply)> onReply) {
    return send(command, nullptr, false, std::move(onReply));
}

bool SendDataToRemotePort(const Bytes &command, QObject *context,
                          std::function<void(bool ok, const QByteArray &reply)> onReply) {
    return send(command, context, true, std::move(onReply));
}

bool sendStartSelfTest(
    std::function<void(std::optional<std::int32_t> hardwareType)> onHardwareType) {
    return send(makeCommand(COMMAND_START_SELF_TEST), nullptr, false,
                hardwareTypeHandler(std::move(onHardwareType)));
}

bool sendStartSelfTest(
    QObject *context,
    std::function<void(std::optional<std::int32_t> hardwareType)> onHardwareType) {
    return send(makeCommand(COMMAND_START_SELF_TEST), context, true,
                hardwareTypeHandler(std::move(onHardwareType)));
}

}  // namespace tavix
