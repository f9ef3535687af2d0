// The one send operation every page uses to hand a command to the driver daemon.
#pragma once

#include <QByteArray>
#include <QObject>

#include <cstdint>
#include <functional>
#include <optional>

#include "commands.h"

namespace tavix {

inline constexpr char kDaemonPortName[] = "TavixTouchPanelDaemon";

// Sends the command to the daemon present now (as the bus last announced it, without a lookup
// round trip) with 1.0 s send and receive time-outs, without waiting for the reply. Returns
// false at once, having sent nothing, when the daemon is absent; a failed or timed-out send is
// dropped silently. onReply, when given, runs on the main thread with (ok, reply bytes). Empty
// commands are ignored (returns false).
bool SendDataToRemotePort(const Bytes &command,
                          std::function<void(bool ok, const QByteArray &reply)> onReply = {});
// The same with onReply bound to context (a main-thread object): gone before the reply, no call.
bool SendDataToRemotePort(const Bytes &command, QObject *context,
                          std::function<void(bool ok, const QByteArray &reply)> onReply);

// COMMAND_START_SELF_TEST: onHardwareType gets the signed 32-bit little-endian hardware type
// from the first four reply bytes, or nullopt when the send failed or the reply is shorter.
// Returns whether the daemon's port existed.
bool sendStartSelfTest(
    std::function<void(std::optional<std::int32_t> hardwareType)> onHardwareType);
bool sendStartSelfTest(
    QObject *context, std::function<void(std::optional<std::int32_t> hardwareType)> onHardwareType);

}  // namespace tavix
