#include "settingnames.h"

#include <cmath>

namespace tavix::panelctl {

const std::vector<SettingName> &settingNames() {
    static const std::vector<SettingName> names = {
        {"range", COMMAND_SET_DOUBLE_CLICK_RANGE, "DoubleClickRange", ValueKind::Number, 8, 128},
        {"speed", COMMAND_SET_DOUBLE_CLICK_SPEED, "DoubleClickRate", ValueKind::Real, 0.3, 1.0},
        {"swipe", COMMAND_SET_TWO_FINGER_SWIPE, "TwoFingerSwipe", ValueKind::Flag},
        {"pinch", COMMAND_SET_TWO_FINGER_PINCH, "TwoFingerPinch", ValueKind::Flag},
        {"two-finger-rotation", COMMAND_SET_TWO_FINGER_ROTATION, "TwoFingerRotation",
         ValueKind::Flag},
        {"button1", COMMAND_SET_FUNCTION_BUTTON_1, "FounctionButton1", ValueKind::Flag},
        {"button2", COMMAND_SET_FUNCTION_BUTTON_2, "FounctionButton2", ValueKind::Flag},
        {"input-mode",
         COMMAND_SET_INPUT_MODE,
         "InputMode",
         ValueKind::Choice,
         0,
         0,
         {QStringLiteral("standard"), QStringLiteral("handwrite"), QStringLiteral("pen")}},
        {"resolution-notice", COMMAND_SET_RESOLUTION_NOTICE, "ShowResolutionNotice",
         ValueKind::Flag},
        {"eraser-area", COMMAND_SET_ERASER_AREA_MODE, "EraserAreaMode", ValueKind::Flag},
        {"calibration-type",
         COMMAND_SET_CALIBRATION_TYPE,
         "CalibrationType",
         ValueKind::Choice,
         0,
         0,
         {QStringLiteral("simple"), QStringLiteral("manual")}},
        {"simple-setting", COMMAND_SET_SIMPLE_SETTING_TYPE, "SimpleCalibrationType",
         ValueKind::Number, 0, 2},
        {"rotation",
         COMMAND_SET_ROTATE_MODE,
         "RotateMode",
         ValueKind::Choice,
         0,
         0,
         {QStringLiteral("0"), QStringLiteral("90"), QStringLiteral("180"), QStringLiteral("270")}},
    };
    return names;
}

const SettingName *findSetting(const QString &name) {
    for (const auto &setting : settingNames()) {
        if (name == QLatin1String(setting.name)) {
            return &setting;
        }
    }
    return nullptr;
}

QStringList settingNameList() {
    QStringList list;
    for (const auto &setting : settingNames()) {
        list << QLatin1String(setting.name);
    }
    return list;
}

QString validValues(const SettingName &setting) {
    switch (setting.kind) {
        case ValueKind::Flag:
            return QStringLiteral("on, off");
        case ValueKind::Number:
            return QStringLiteral("a whole number from %1 to %2").arg(setting.min).arg(setting.max);
        case ValueKind::Real:
            return QStringLiteral("seconds from %1 to %2")
                .arg(setting.min, 0, 'f', 2)
                .arg(setting.max, 0, 'f', 2);
        case ValueKind::Choice:
            return setting.choices.join(QStringLiteral(", "));
    }
    return {};
}

std::optional<Bytes> commandForValue(const SettingName &setting, const QString &value) {
    switch (setting.kind) {
        case ValueKind::Flag:
            if (value == QLatin1String("on") || value == QLatin1String("off")) {
                return makeCommandU16(setting.code, value == QLatin1String("on") ? 1 : 0);
            }
            return std::nullopt;
        case ValueKind::Number: {
            bool ok = false;
            const int n = value.toInt(&ok, 10);
            if (!ok || n < setting.min || n > setting.max) {
                return std::nullopt;
            }
            return makeCommandU16(setting.code, n);
        }
        case ValueKind::Real: {
            bool ok = false;
            const double seconds = value.toDouble(&ok);
            if (!ok || !std::isfinite(seconds) || seconds < setting.min - 1e-9 ||
                seconds > setting.max + 1e-9) {
                return std::nullopt;
            }
            return makeCommandDouble(setting.code, seconds);
        }
        case ValueKind::Choice: {
            const qsizetype index = setting.choices.indexOf(value);
            if (index < 0) {
                return std::nullopt;
            }
            return makeCommandU16(setting.code, index);
        }
    }
    return std::nullopt;
}

QString displayValue(const SettingName &setting, const SettingsDict &settings) {
    switch (setting.kind) {
        case ValueKind::Flag:
            return settings.boolValue(setting.key) ? QStringLiteral("on") : QStringLiteral("off");
        case ValueKind::Number:
            return QString::number(settings.intValue(setting.key));
        case ValueKind::Real:
            return QString::number(settings.doubleValue(setting.key), 'g', 6);
        case ValueKind::Choice: {
            const std::int64_t index = settings.intValue(setting.key);
            return index >= 0 && index < setting.choices.size()
                       ? setting.choices[static_cast<qsizetype>(index)]
                       : QString::number(index);
        }
    }
    return {};
}

QJsonValue jsonValue(const SettingName &setting, const SettingsDict &settings) {
    switch (setting.kind) {
        case ValueKind::Flag:
            return settings.boolValue(setting.key);
        case ValueKind::Number:
            return static_cast<qint64>(settings.intValue(setting.key));
        case ValueKind::Real:
            return settings.doubleValue(setting.key);
        case ValueKind::Choice:
            break;
    }
    return displayValue(setting, settings);
}

std::optional<QString> textForJson(const SettingName &setting, const QJsonValue &value) {
    switch (setting.kind) {
        case ValueKind::Flag:
            if (value.isBool()) {
                return value.toBool() ? QStringLiteral("on") : QStringLiteral("off");
            }
            return std::nullopt;
        case ValueKind::Number:
        case ValueKind::Real:
            if (value.isDouble()) {
                return QString::number(value.toDouble(), 'g', 17);
            }
            return std::nullopt;
        case ValueKind::Choice:
            if (value.isString()) {
                return value.toString();
            }
            return std::nullopt;
    }
    return std::nullopt;
}

Bytes storedCommand(const SettingName &setting, const SettingsDict &settings) {
    if (setting.kind == ValueKind::Real) {
        return makeCommandDouble(setting.code, settings.doubleValue(setting.key));
    }
    const std::int64_t value = setting.kind == ValueKind::Flag
                                   ? static_cast<std::int64_t>(settings.boolValue(setting.key))
                                   : settings.intValue(setting.key);
    return makeCommandU16(setting.code, value);
}

const std::vector<HotKeyName> &hotKeyNames() {
    static const std::vector<HotKeyName> keys = {
        {"calibration", COMMAND_SET_CALIBRATION_HOT_KEY, "CalibrationHotKey", "SimpleHotKey"},
        {"simple", COMMAND_SET_SIMPLE_SETTING_HOT_KEY, "SimpleHotKey", "CalibrationHotKey"},
    };
    return keys;
}

const HotKeyName *findHotKey(const QString &name) {
    for (const auto &key : hotKeyNames()) {
        if (name == QLatin1String(key.name)) {
            return &key;
        }
    }
    return nullptr;
}

std::optional<char> parseHotKey(const QString &text) {
    if (text.size() != 1) {
        return std::nullopt;
    }
    const char16_t c = text[0].unicode();
    if (c >= u'0' && c <= u'9') {
        return static_cast<char>(c);
    }
    if (c >= u'a' && c <= u'z') {
        return static_cast<char>(c - u'a' + 'A');
    }
    if (c >= u'A' && c <= u'Z') {
        return static_cast<char>(c);
    }
    return std::nullopt;
}

}  // namespace tavix::panelctl
