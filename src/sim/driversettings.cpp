#include "driversettings.h"

namespace tavix::sim {
namespace {

enum class Kind { Integer, Boolean, Real };

struct SettingRule {
    std::uint8_t code;
    const char *key;
    Kind kind;
};

// Commands whose payload the driver stores as it is (flags as booleans).
constexpr SettingRule kRules[] = {
    {COMMAND_SET_DOUBLE_CLICK_RANGE, "DoubleClickRange", Kind::Integer},
    {COMMAND_SET_DOUBLE_CLICK_SPEED, "DoubleClickRate", Kind::Real},
    {COMMAND_SET_TWO_FINGER_SWIPE, "TwoFingerSwipe", Kind::Boolean},
    {COMMAND_SET_TWO_FINGER_ROTATION, "TwoFingerRotation", Kind::Boolean},
    {COMMAND_SET_TWO_FINGER_PINCH, "TwoFingerPinch", Kind::Boolean},
    {COMMAND_SET_FUNCTION_BUTTON_1, "FounctionButton1", Kind::Boolean},
    {COMMAND_SET_FUNCTION_BUTTON_2, "FounctionButton2", Kind::Boolean},
    {COMMAND_SET_INPUT_MODE, "InputMode", Kind::Integer},
    {COMMAND_SET_RESOLUTION_NOTICE, "ShowResolutionNotice", Kind::Boolean},
    {COMMAND_SET_ERASER_AREA_MODE, "EraserAreaMode", Kind::Boolean},
    {COMMAND_SET_CALIBRATION_TYPE, "CalibrationType", Kind::Integer},
    {COMMAND_SET_SIMPLE_SETTING_TYPE, "SimpleCalibrationType", Kind::Integer},
    {COMMAND_SET_ROTATE_MODE, "RotateMode", Kind::Integer},
};

}  // namespace

std::optional<SettingChange> settingChangeForCommand(const DecodedCommand &command,
                                                     std::int32_t modelType) {
    // Starting a manual calibration records the manual type; the second manual calibration
    // exists on model 317 only.
    if (command.code == COMMAND_START_ADVANCE_CALIBRATION) {
        return SettingChange{"CalibrationType", PlistValue(1)};
    }
    if (command.code == COMMAND_START_ADVANCE_CALIBRATION_2) {
        return SettingChange{"CalibrationType", PlistValue(modelType == 317 ? 2 : 1)};
    }
    for (const auto &rule : kRules) {
        if (rule.code != command.code) {
            continue;
        }
        switch (rule.kind) {
            case Kind::Integer:
                return SettingChange{rule.key, PlistValue(static_cast<int>(command.integer))};
            case Kind::Boolean:
                return SettingChange{rule.key, PlistValue(command.integer != 0)};
            case Kind::Real:
                return SettingChange{rule.key, PlistValue(command.real)};
        }
    }
    return std::nullopt;
}

}  // namespace tavix::sim
