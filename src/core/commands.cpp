#include "commands.h"

#include <bit>
#include <cassert>
#include <cstring>
#include <limits>

namespace tavix {
namespace {

struct CommandInfo {
    std::uint8_t code;
    int width;
    const char *name;
};

constexpr CommandInfo kCommands[] = {
    {COMMAND_SET_DOUBLE_CLICK_RANGE, 2, "COMMAND_SET_DOUBLE_CLICK_RANGE"},
    {COMMAND_SET_DOUBLE_CLICK_SPEED, 8, "COMMAND_SET_DOUBLE_CLICK_SPEED"},
    {COMMAND_SET_TWO_FINGER_SWIPE, 2, "COMMAND_SET_TWO_FINGER_SWIPE"},
    {COMMAND_SET_TWO_FINGER_ROTATION, 2, "COMMAND_SET_TWO_FINGER_ROTATION"},
    {COMMAND_SET_TWO_FINGER_PINCH, 2, "COMMAND_SET_TWO_FINGER_PINCH"},
    {COMMAND_SET_FUNCTION_BUTTON_1, 2, "COMMAND_SET_FUNCTION_BUTTON_1"},
    {COMMAND_SET_FUNCTION_BUTTON_2, 2, "COMMAND_SET_FUNCTION_BUTTON_2"},
    {COMMAND_SET_INPUT_MODE, 2, "COMMAND_SET_INPUT_MODE"},
    {COMMAND_SET_RESOLUTION_NOTICE, 2, "COMMAND_SET_RESOLUTION_NOTICE"},
    {COMMAND_SET_ERASER_AREA_MODE, 2, "COMMAND_SET_ERASER_AREA_MODE"},
    {COMMAND_SET_CALIBRATION_TYPE, 2, "COMMAND_SET_CALIBRATION_TYPE"},
    {COMMAND_SET_SIMPLE_SETTING_TYPE, 2, "COMMAND_SET_SIMPLE_SETTING_TYPE"},
    {COMMAND_SET_ROTATE_MODE, 2, "COMMAND_SET_ROTATE_MODE"},
    {COMMAND_START_ADVANCE_CALIBRATION, 2, "COMMAND_START_ADVANCE_CALIBRATION"},
    {COMMAND_SET_CALIBRATION_HOT_KEY, 1, "COMMAND_SET_CALIBRATION_HOT_KEY"},
    {COMMAND_SET_SIMPLE_SETTING_HOT_KEY, 1, "COMMAND_SET_SIMPLE_SETTING_HOT_KEY"},
    {COMMAND_GET_DIP_SW, 0, "COMMAND_GET_DIP_SW"},
    {COMMAND_GET_CHECKSUM_AND_VERSION, 0, "COMMAND_GET_CHECKSUM_AND_VERSION"},
    {COMMAND_START_SELF_TEST, 0, "COMMAND_START_SELF_TEST"},
    {COMMAND_SET_MOUSE_ACTION, 1, "COMMAND_SET_MOUSE_ACTION"},
    {COMMAND_SHOW_MOUSE_INFO, 1, "COMMAND_SHOW_MOUSE_INFO"},
    {COMMAND_START_ADVANCE_CALIBRATION_2, 2, "COMMAND_START_ADVANCE_CALIBRATION_2"},
    {COMMAND_STOP_CHECK, 0, "COMMAND_STOP_CHECK"},
};

const CommandInfo *findCommand(std::uint8_t code) {
    for (const auto &info : kCommands) {
        if (info.code == code) {
            return &info;
        }
    }
    return nullptr;
}

Bytes withCode(CommandCode code, [[maybe_unused]] int width) {
    assert(commandPayloadWidth(code) == width && "payload width does not match the code");
    Bytes bytes;
    bytes.reserve(1 + static_cast<std::size_t>(width));
    bytes.push_back(code);
    return bytes;
}

void appendLittleEndian(Bytes &bytes, std::uint64_t value, int width) {
    for (int i = 0; i < width; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

std::uint64_t readLittleEndian(const std::uint8_t *data, int width) {
    std::uint64_t value = 0;
    for (int i = 0; i < width; ++i) {
        value |= std::uint64_t{data[i]} << (8 * i);
    }
    return value;
}

}  // namespace

int commandPayloadWidth(std::uint8_t code) {
    const CommandInfo *info = findCommand(code);
    return info ? info->width : -1;
}

const char *commandName(std::uint8_t code) {
    const CommandInfo *info = findCommand(code);
    return info ? info->name : nullptr;
}

Bytes makeCommand(CommandCode code) {
    return withCode(code, 0);
}

Bytes makeCommandU8(CommandCode code, std::uint8_t value) {
    Bytes bytes = withCode(code, 1);
    bytes.push_back(value);
    return bytes;
}

Bytes makeCommandU16(CommandCode code, std::int64_t value) {
    Bytes bytes = withCode(code, 2);
    appendLittleEndian(bytes, static_cast<std::uint64_t>(value) & 0xFFFFu, 2);
    return bytes;
}

Bytes makeCommandDouble(CommandCode code, double value) {
    static_assert(sizeof(double) == 8 && std::numeric_limits<double>::is_iec559,
                  "commands carry IEEE-754 binary64 values");
    Bytes bytes = withCode(code, 8);
    appendLittleEndian(bytes, std::bit_cast<std::uint64_t>(value), 8);
    return bytes;
}

std::optional<DecodedCommand> decodeCommand(const std::uint8_t *data, std::size_t size) {
    if (data == nullptr || size == 0) {
        return std::nullopt;
    }
    const int width = commandPayloadWidth(data[0]);
    if (width < 0 || size != 1 + static_cast<std::size_t>(width)) {
        return std::nullopt;
    }
    DecodedCommand decoded;
    decoded.code = data[0];
    decoded.payloadWidth = width;
    if (width == 8) {
        decoded.real = std::bit_cast<double>(readLittleEndian(data + 1, 8));
    } else if (width > 0) {
        decoded.integer = static_cast<std::uint16_t>(readLittleEndian(data + 1, width));
    }
    return decoded;
}

std::optional<DecodedCommand> decodeCommand(const Bytes &bytes) {
    return decodeCommand(bytes.data(), bytes.size());
}

std::optional<std::int32_t> decodeHardwareType(const std::uint8_t *reply, std::size_t size) {
    if (reply == nullptr || size < 4) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(readLittleEndian(reply, 4)));
}

}  // namespace tavix
