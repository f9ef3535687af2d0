// The daemon's command bytes: one code byte, then a fixed payload of 0, 1, 2 or 8 bytes,
// little-endian and unaligned, with no padding, length field or terminator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tavix {

using Bytes = std::vector<std::uint8_t>;

enum CommandCode : std::uint8_t {
    COMMAND_SET_DOUBLE_CLICK_RANGE = 1,
    COMMAND_SET_DOUBLE_CLICK_SPEED = 2,
    COMMAND_SET_TWO_FINGER_SWIPE = 8,
    COMMAND_SET_TWO_FINGER_ROTATION = 9,
    COMMAND_SET_TWO_FINGER_PINCH = 11,
    COMMAND_SET_FUNCTION_BUTTON_1 = 13,
    COMMAND_SET_FUNCTION_BUTTON_2 = 14,
    COMMAND_SET_INPUT_MODE = 15,
    COMMAND_SET_RESOLUTION_NOTICE = 16,
    COMMAND_SET_ERASER_AREA_MODE = 17,
    COMMAND_SET_CALIBRATION_TYPE = 18,
    COMMAND_SET_SIMPLE_SETTING_TYPE = 19,
    COMMAND_SET_ROTATE_MODE = 21,
    COMMAND_START_ADVANCE_CALIBRATION = 23,
    COMMAND_SET_CALIBRATION_HOT_KEY = 24,
    COMMAND_SET_SIMPLE_SETTING_HOT_KEY = 25,
    COMMAND_GET_DIP_SW = 26,
    COMMAND_GET_CHECKSUM_AND_VERSION = 27,
    COMMAND_START_SELF_TEST = 28,
    COMMAND_SET_MOUSE_ACTION = 29,
    COMMAND_SHOW_MOUSE_INFO = 30,
    COMMAND_START_ADVANCE_CALIBRATION_2 = 31,
    COMMAND_STOP_CHECK = 32,
};

// The pane's own command port: messages from the status-bar utility and the driver side, whose
// first byte is one of these codes (any msgid; further bytes are ignored).
inline constexpr char kPreferencePortName[] = "preferenceCommend";

enum class PreferenceCode : std::uint8_t {
    SelectCalibrationPage = 0,  // 0 to 3 select the page with that index
    SelectPropertiesPage = 1,
    SelectHardwareInfoPage = 2,
    SelectVersionPage = 3,
    DeviceConnect = 4,
    DeviceDisconnect = 5,
    Reload = 6,
    DriverDisable = 7,
    NextSimpleCalibration = 8,
    ReloadToo = 9,  // the same as Reload
};

constexpr std::uint8_t toByte(PreferenceCode code) {
    return static_cast<std::uint8_t>(code);
}

// The code that selects page 0 to 3; other indices have no code.
constexpr std::optional<PreferenceCode> selectPageCode(int page) {
    if (page < 0 || page > 3) {
        return std::nullopt;
    }
    return static_cast<PreferenceCode>(page);
}

// The status-bar utility's port and the request that asks it to quit: msgid 'SBQT' and the
// four bytes "SBQT"; the sender does not wait for the reply.
inline constexpr char kStatusBarPortName[] = "TTSB";
inline constexpr std::int32_t kStatusBarQuitMsgId = 0x53425154;  // 'SBQT'
inline constexpr char kStatusBarQuitData[] = "SBQT";             // sent without the NUL

// Payload width in bytes of a known code (0, 1, 2 or 8); -1 for a code the pane never sends.
int commandPayloadWidth(std::uint8_t code);

// Builders; each checks (in debug builds) that the code takes that payload width.
Bytes makeCommand(CommandCode code);                         // no payload
Bytes makeCommandU8(CommandCode code, std::uint8_t value);   // 1-byte flag or ASCII character
Bytes makeCommandU16(CommandCode code, std::int64_t value);  // low 16 bits, little-endian
Bytes makeCommandDouble(CommandCode code, double value);     // IEEE-754 binary64, little-endian

// The constant's name ("COMMAND_SET_DOUBLE_CLICK_RANGE", ...) of a known code, else nullptr.
const char *commandName(std::uint8_t code);

// A command as the driver side reads it back.
struct DecodedCommand {
    std::uint8_t code = 0;
    int payloadWidth = 0;       // 0, 1, 2 or 8
    std::uint16_t integer = 0;  // the 1- or 2-byte payload
    double real = 0.0;          // the 8-byte payload
};

// nullopt for an empty message, a code that is not in the table, or a message whose length is
// not exactly one code byte plus that code's payload width.
std::optional<DecodedCommand> decodeCommand(const std::uint8_t *data, std::size_t size);
std::optional<DecodedCommand> decodeCommand(const Bytes &bytes);

// The daemon's reply to COMMAND_START_SELF_TEST: the hardware type as a signed 32-bit
// little-endian integer in its first four bytes; nullopt when the reply is shorter.
std::optional<std::int32_t> decodeHardwareType(const std::uint8_t *reply, std::size_t size);

}  // namespace tavix
