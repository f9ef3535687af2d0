// The profile commands: export writes the connected model's settings and hot keys as JSON;
// apply brings a machine to a profile, sending only what differs, for configuration
// management (idempotent, with a check mode).
#include <QJsonDocument>
#include <QJsonObject>

#include "atomic_file.h"
#include "cli.h"
#include "paths.h"
#include "settingnames.h"
#include "settings_store.h"

namespace tavix::panelctl {
namespace {

constexpr std::size_t kMaxProfileSize = 1 << 20;

const QString kModel = QStringLiteral("model");
const QString kSettings = QStringLiteral("settings");
const QString kHotKeys = QStringLiteral("hotkeys");

// The connected model and its settings file, or the status to exit with.
int connectedSettings(std::int32_t &model, SettingsDict &settings) {
    model = currentModel();
    if (model == 0) {
        return fail(kExitFailure, QStringLiteral("no panel is connected"));
    }
    const std::optional<SettingsDict> stored = readPlistFile(getSettingsFilePath(model));
    if (!stored) {
        return fail(kExitFailure, QStringLiteral("model %1 has no settings file").arg(model));
    }
    settings = *stored;
    return kExitOk;
}

int cmdExport(const Invocation &inv) {
    if (!inv.words.isEmpty()) {
        return badInput(QStringLiteral("export takes no arguments"));
    }
    std::int32_t model = 0;
    SettingsDict settings;
    if (const int status = connectedSettings(model, settings); status != kExitOk) {
        return status;
    }
    QJsonObject values, keys;
    for (const SettingName &setting : settingNames()) {
        values.insert(QLatin1String(setting.name), jsonValue(setting, settings));
    }
    for (const HotKeyName &key : hotKeyNames()) {
        keys.insert(QLatin1String(key.name), QString::fromStdString(settings.stringValue(key.key)));
    }
    const QJsonObject profile{{kModel, model}, {kSettings, values}, {kHotKeys, keys}};
    return deliver(QString::fromUtf8(QJsonDocument(profile).toJson(QJsonDocument::Indented)),
                   inv.output);
}

// One change apply makes: a line to print and what to do.
struct Change {
    QString line;
    Bytes command;                       // a setting's command
    const HotKeyName *hotKey = nullptr;  // or a hot key to store and send
    char key = 0;
};

// Reads the profile and lists what differs from the stored settings; kExitOk or the status
// (bad input: 2) to exit with before anything is sent.
int plan(const QString &file, const Invocation &inv, std::int32_t model,
         const SettingsDict &settings, std::vector<Change> &changes) {
    const std::optional<std::string> bytes = readSmallFile(file.toStdString(), kMaxProfileSize);
    if (!bytes) {
        return badInput(QStringLiteral("cannot read the profile %1").arg(file));
    }
    QJsonParseError error{};
    const QJsonDocument document =
        QJsonDocument::fromJson(QByteArray::fromStdString(*bytes), &error);
    if (!document.isObject()) {
        return badInput(QStringLiteral("%1 is not a profile (a JSON object): %2")
                            .arg(file, error.errorString()));
    }
    const QJsonObject profile = document.object();
    for (const QString &key : profile.keys()) {
        if (key != kModel && key != kSettings && key != kHotKeys) {
            return badInput(QStringLiteral("unknown key \"%1\" in the profile; valid: model, "
                                           "settings, hotkeys")
                                .arg(key));
        }
    }
    const QJsonValue profileModel = profile.value(kModel);
    if (!profileModel.isDouble() || profileModel.toDouble() != profileModel.toInt()) {
        return badInput(QStringLiteral("the profile has no whole-number \"model\""));
    }
    if (profileModel.toInt() != model && !inv.anyModel) {
        return badInput(QStringLiteral("the profile is for model %1, the connected panel is "
                                       "model %2 (--any-model applies it all the same)")
                            .arg(profileModel.toInt())
                            .arg(model));
    }
    if (!profile.value(kSettings).isUndefined() && !profile.value(kSettings).isObject()) {
        return badInput(QStringLiteral("\"settings\" must be an object"));
    }
    const QJsonObject values = profile.value(kSettings).toObject();
    for (const QString &name : values.keys()) {
        const SettingName *setting = findSetting(name);
        if (setting == nullptr) {
            return badInput(QStringLiteral("unknown setting \"%1\"; valid names: %2")
                                .arg(name, settingNameList().join(QStringLiteral(", "))));
        }
        const std::optional<QString> text = textForJson(*setting, values.value(name));
        const std::optional<Bytes> command =
            text ? commandForValue(*setting, *text) : std::optional<Bytes>();
        if (!command) {
            return badInput(
                QStringLiteral("%1 %2 is not valid; valid values: %3")
                    .arg(name,
                         QString::fromUtf8(QJsonDocument(QJsonObject{{name, values.value(name)}})
                                               .toJson(QJsonDocument::Compact)),
                         validValues(*setting)));
        }
        if (*command != storedCommand(*setting, settings)) {
            changes.push_back(
                {QStringLiteral("%1: %2 -> %3").arg(name, displayValue(*setting, settings), *text),
                 *command});
        }
    }
    if (!profile.value(kHotKeys).isUndefined() && !profile.value(kHotKeys).isObject()) {
        return badInput(QStringLiteral("\"hotkeys\" must be an object"));
    }
    const QJsonObject keys = profile.value(kHotKeys).toObject();
    std::map<std::string, std::string> after;  // settings-file key -> the key it ends with
    for (const HotKeyName &which : hotKeyNames()) {
        after[which.key] = settings.stringValue(which.key);
    }
    for (const QString &name : keys.keys()) {
        const HotKeyName *which = findHotKey(name);
        if (which == nullptr) {
            return badInput(
                QStringLiteral("unknown hot key \"%1\"; valid: calibration, simple").arg(name));
        }
        const std::optional<char> key = parseHotKey(keys.value(name).toString());
        if (!key) {
            return badInput(
                QStringLiteral("hot key %1 must be one ASCII letter or digit").arg(name));
        }
        after[which->key] = std::string(1, *key);
        if (settings.stringValue(which->key) != after[which->key]) {
            changes.push_back(
                {QStringLiteral("%1-hotkey: %2 -> %3")
                     .arg(name, QString::fromStdString(settings.stringValue(which->key)),
                          QString(QLatin1Char(*key))),
                 {},
                 which,
                 *key});
        }
    }
    if (after["CalibrationHotKey"] == after["SimpleHotKey"]) {
        return badInput(QStringLiteral("the two hot keys would both be \"%1\"; they must differ")
                            .arg(QString::fromStdString(after["CalibrationHotKey"])));
    }
    return kExitOk;
}

int cmdApply(const Invocation &inv) {
    if (inv.words.size() != 1) {
        return badInput(QStringLiteral("apply takes one profile FILE"));
    }
    std::int32_t model = 0;
    SettingsDict settings;
    if (const int status = connectedSettings(model, settings); status != kExitOk) {
        return status;
    }
    std::vector<Change> changes;
    if (const int status = plan(inv.words.first(), inv, model, settings, changes);
        status != kExitOk) {
        return status;
    }
    if (inv.check) {
        for (const Change &change : changes) {
            out(change.line + QLatin1Char('\n'));
        }
        return changes.empty() ? kExitOk : kExitWouldChange;
    }
    if (!changes.empty() && !daemonRunning()) {
        return noDaemon();
    }
    const std::string path = getSettingsFilePath(model);
    for (const Change &change : changes) {
        const int status = change.hotKey != nullptr
                               ? storeAndSendHotKey(*change.hotKey, change.key, path)
                               : sendCommand(change.command);
        if (status != kExitOk) {
            return status;
        }
        out(change.line + QLatin1Char('\n'));
    }
    return kExitOk;
}

}  // namespace

const std::vector<Command> &profileCommands() {
    static const std::vector<Command> commands = {
        {"export", "export [--output FILE]", "the settings as a JSON profile",
         "Writes the connected model's settings (every one set takes) and both hot keys as a\n"
         "JSON profile: {\"model\": N, \"settings\": {NAME: VALUE}, \"hotkeys\": "
         "{\"calibration\":\n"
         "KEY, \"simple\": KEY}}. Flags are true/false, range and speed numbers, the others\n"
         "the names set takes.\n",
         cmdExport},
        {"apply", "apply FILE [--check] [--any-model]", "bring the settings to a profile",
         "Sends only the settings of the profile FILE that differ from the model's settings\n"
         "file, as the settings window does (hot keys stored as it stores them), one line per\n"
         "change. A profile may list only some settings. --check sends nothing and prints what\n"
         "would change: exit 0 when nothing would, 5 when something would. A profile of another\n"
         "model is refused unless --any-model; a malformed profile, an unknown key or a value\n"
         "out of range is refused (exit 2) before anything is sent.\n",
         cmdApply},
    };
    return commands;
}

}  // namespace tavix::panelctl
