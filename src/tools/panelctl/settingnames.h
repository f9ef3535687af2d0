// The settings a person can change from the command line: a plain name, the command the pages
// send for it, the settings-file key where the driver side records it, and its valid values.
#pragma once

#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

#include "commands.h"
#include "settings_dict.h"

namespace tavix::panelctl {

enum class ValueKind {
    Flag,    // on / off, sent as 1 / 0
    Number,  // whole number within [min, max]
    Real,    // seconds within [min, max]
    Choice,  // one of the names; the index is sent
};

struct SettingName {
    const char *name;
    CommandCode code;
    const char *key;  // settings-file key
    ValueKind kind;
    double min = 0;
    double max = 0;
    QStringList choices = {};
};

const std::vector<SettingName> &settingNames();
const SettingName *findSetting(const QString &name);
QStringList settingNameList();

// "on, off", "8 to 128", "standard, handwrite, pen", ...
QString validValues(const SettingName &setting);

// The command for a value typed by a person; nullopt when the value is not valid.
std::optional<Bytes> commandForValue(const SettingName &setting, const QString &value);

// The stored value shown the way it is typed: on/off, a number, a choice name.
QString displayValue(const SettingName &setting, const SettingsDict &settings);

// The stored value as JSON: a flag as true/false, a number or seconds as a number, a choice by
// its name.
QJsonValue jsonValue(const SettingName &setting, const SettingsDict &settings);

// A JSON value of that shape as the text set takes; nullopt when it has another type.
std::optional<QString> textForJson(const SettingName &setting, const QJsonValue &value);

// The command that would set the stored value again, to tell whether a new value differs.
Bytes storedCommand(const SettingName &setting, const SettingsDict &settings);

// The two hot keys: "calibration" and "simple".
struct HotKeyName {
    const char *name;
    CommandCode code;
    const char *key;       // this hot key's settings-file key
    const char *otherKey;  // the other hot key, which may not be the same character
};
const HotKeyName *findHotKey(const QString &name);
const std::vector<HotKeyName> &hotKeyNames();

// One ASCII letter or digit; letters are stored in upper case. nullopt otherwise.
std::optional<char> parseHotKey(const QString &text);

}  // namespace tavix::panelctl
