// The settings commands: status, get, set, calibrate, hotkey, page and watch. They read the
// shared files and send what the settings window sends.
#include <QJsonObject>
#include <QSocketNotifier>
#include <QTimer>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <map>

#include "cli.h"
#include "daemonchannel.h"
#include "paths.h"
#include "settingnames.h"
#include "settings_store.h"

namespace tavix::panelctl {
namespace {

const char *pageName(std::int64_t page) {
    static const char *const names[] = {"Calibration", "Properties", "Hardware information",
                                        "Version"};
    return page >= 0 && page <= 3 ? names[page] : "Version";
}

int cmdStatus(const Invocation &inv) {
    if (!inv.words.isEmpty()) {
        return badInput(QStringLiteral("status takes no arguments"));
    }
    const SettingsDict state = readState();
    const auto model = static_cast<std::int32_t>(state.intValue("currentDeviceType"));
    const auto list = model != 0 ? readDeviceList(getSupportDeviceListFilePath()) : std::nullopt;
    const DeviceEntry *found = list ? findDeviceEntry(*list, model) : nullptr;
    const std::optional<QString> device =
        found ? std::optional(QString::fromStdString(found->name)) : std::nullopt;
    const std::string path = getSettingsFilePath(model);
    const std::optional<SettingsDict> settings =
        model != 0 ? readPlistFile(path) : std::optional<SettingsDict>();
    const bool daemon = daemonRunning();
    const bool driver = state.boolValue("DriverEnable");
    const std::int64_t page = state.intValue("currentPageIndex");
    if (inv.json) {
        QJsonObject entries;
        const SettingsDict stored = settings.value_or(SettingsDict());
        for (const auto &[key, value] : stored.entries()) {
            entries.insert(QString::fromStdString(key), jsonOf(value));
        }
        printJson(QJsonObject{
            {QStringLiteral("model"), model},
            {QStringLiteral("modelName"), device ? QJsonValue(*device) : QJsonValue()},
            {QStringLiteral("daemonRunning"), daemon},
            {QStringLiteral("driverEnabled"), driver},
            {QStringLiteral("page"), static_cast<qint64>(page)},
            {QStringLiteral("settingsFile"),
             settings ? QJsonValue(QString::fromStdString(path)) : QJsonValue()},
            {QStringLiteral("settings"), entries},
        });
        return kExitOk;
    }
    QString text;
    text += model == 0 ? QStringLiteral("model: none (no panel connected)\n")
                       : QStringLiteral("model: %1 (%2)\n")
                             .arg(model)
                             .arg(device.value_or(QStringLiteral("not in the device list")));
    text += QStringLiteral("daemon: %1\n")
                .arg(daemon ? QStringLiteral("running") : QStringLiteral("not running"));
    text += QStringLiteral("driver: %1\n")
                .arg(driver ? QStringLiteral("enabled") : QStringLiteral("disabled"));
    text += QStringLiteral("page: %1 (%2)\n").arg(page).arg(QLatin1String(pageName(page)));
    if (settings) {
        text += QStringLiteral("settings: %1\n").arg(QString::fromStdString(path));
        for (const auto &[key, value] : settings->entries()) {
            text += QStringLiteral("  %1: %2\n").arg(QString::fromStdString(key), textOf(value));
        }
    } else {
        text += QStringLiteral("settings: none\n");
    }
    out(text);
    return kExitOk;
}

int cmdGet(const Invocation &inv) {
    const QStringList hotKeys{QStringLiteral("calibration-hotkey"),
                              QStringLiteral("simple-hotkey")};
    const QStringList valid = settingNameList() + hotKeys;
    if (inv.words.size() > 1) {
        return badInput(QStringLiteral("get takes at most one NAME"));
    }
    if (inv.words.size() == 1 && !valid.contains(inv.words[0])) {
        return badInput(QStringLiteral("unknown setting \"%1\"; valid names: %2")
                            .arg(inv.words[0], valid.join(QStringLiteral(", "))));
    }
    const std::int32_t model = currentModel();
    const std::optional<SettingsDict> settings =
        model != 0 ? readPlistFile(getSettingsFilePath(model)) : std::nullopt;
    if (!settings) {
        return fail(kExitFailure, model == 0
                                      ? QStringLiteral("no panel is connected")
                                      : QStringLiteral("model %1 has no settings file").arg(model));
    }
    QJsonObject json;
    QString text;
    for (const QString &name : valid) {
        if (inv.words.size() == 1 && name != inv.words[0]) {
            continue;
        }
        QJsonValue value;
        QString shown;
        if (const SettingName *setting = findSetting(name)) {
            shown = displayValue(*setting, *settings);
            value = jsonValue(*setting, *settings);
        } else {
            shown = QString::fromStdString(
                settings->stringValue(name == hotKeys[0] ? "CalibrationHotKey" : "SimpleHotKey"));
            value = shown;
        }
        json.insert(name, value);
        text += inv.words.isEmpty() ? QStringLiteral("%1: %2\n").arg(name, shown)
                                    : shown + QLatin1Char('\n');
    }
    inv.json ? printJson(json) : out(text);
    return kExitOk;
}

int cmdSet(const Invocation &inv) {
    if (inv.words.size() != 2) {
        return badInput(QStringLiteral("set takes NAME VALUE; names: %1")
                            .arg(settingNameList().join(QStringLiteral(", "))));
    }
    const SettingName *setting = findSetting(inv.words[0]);
    if (setting == nullptr) {
        return badInput(QStringLiteral("unknown setting \"%1\"; valid names: %2")
                            .arg(inv.words[0], settingNameList().join(QStringLiteral(", "))));
    }
    const std::optional<Bytes> command = commandForValue(*setting, inv.words[1]);
    if (!command) {
        return badInput(
            QStringLiteral("\"%1\" is not a valid %2; valid values: %3")
                .arg(inv.words[1], QLatin1String(setting->name), validValues(*setting)));
    }
    return sendCommand(*command);
}

int cmdCalibrate(const Invocation &inv) {
    if (inv.words != QStringList{QStringLiteral("start")}) {
        return badInput(QStringLiteral("calibrate takes \"start\" (and --second)"));
    }
    return sendCommand(makeCommandU16(
        inv.second ? COMMAND_START_ADVANCE_CALIBRATION_2 : COMMAND_START_ADVANCE_CALIBRATION, 0));
}

int cmdHotKey(const Invocation &inv) {
    if (inv.words.size() != 2) {
        return badInput(QStringLiteral("hotkey takes calibration|simple KEY"));
    }
    const HotKeyName *which = findHotKey(inv.words[0]);
    if (which == nullptr) {
        return badInput(
            QStringLiteral("unknown hot key \"%1\"; valid: calibration, simple").arg(inv.words[0]));
    }
    const std::optional<char> key = parseHotKey(inv.words[1]);
    if (!key) {
        return badInput(QStringLiteral("\"%1\" is not a hot key; valid: one ASCII letter or digit")
                            .arg(inv.words[1]));
    }
    const std::int32_t model = currentModel();
    const std::string path = getSettingsFilePath(model);
    const std::optional<SettingsDict> settings =
        model != 0 ? readPlistFile(path) : std::optional<SettingsDict>();
    if (!settings) {
        return fail(kExitFailure, QStringLiteral("no settings file for the connected model"));
    }
    const std::string keyText(1, *key);
    if (settings->stringValue(which->otherKey) == keyText) {
        return badInput(
            QStringLiteral("\"%1\" is already the %2 hot key; the two hot keys must differ")
                .arg(QLatin1Char(*key))
                .arg(QLatin1String(which->name) == QLatin1String("simple")
                         ? QStringLiteral("calibration")
                         : QStringLiteral("simple")));
    }
    if (!daemonRunning()) {
        return noDaemon();
    }
    return storeAndSendHotKey(*which, *key, path);
}

int cmdPage(const Invocation &inv) {
    const QStringList names{QStringLiteral("calibration"), QStringLiteral("properties"),
                            QStringLiteral("hardware"), QStringLiteral("version")};
    if (inv.words.size() != 1) {
        return badInput(QStringLiteral("page takes N: 0-3 or %1").arg(names.join(u'|')));
    }
    bool numeric = false;
    int page = inv.words[0].toInt(&numeric);
    if (!numeric) {
        page = static_cast<int>(names.indexOf(inv.words[0]));
    }
    const std::optional<PreferenceCode> code = selectPageCode(page);
    if (!code) {
        return badInput(QStringLiteral("\"%1\" is not a page; valid: 0, 1, 2, 3, %2")
                            .arg(inv.words[0], names.join(QStringLiteral(", "))));
    }
    // A running settings window switches at once; otherwise it opens on this page next time.
    if (auto pane = RemoteMessagePort::lookup(QString::fromLatin1(kPreferencePortName))) {
        return sendAndWait(pane, 0, QByteArray(1, static_cast<char>(toByte(*code))));
    }
    if (!saveItemToInfoPlist(PlistValue(page), "currentPageIndex")) {
        return fail(kExitFailure, QStringLiteral("cannot write the shared state file"));
    }
    return kExitOk;
}

int gSignalPipe[2] = {-1, -1};

extern "C" void onStopSignal(int) {
    const char byte = 1;
    [[maybe_unused]] ssize_t ignored = ::write(gSignalPipe[1], &byte, 1);
}

int cmdWatch(const Invocation &inv) {
    if (!inv.words.isEmpty()) {
        return badInput(QStringLiteral("watch takes no arguments"));
    }
    QEventLoop loop;
    if (::pipe2(gSignalPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        return fail(kExitFailure, QStringLiteral("cannot watch for Ctrl-C"));
    }
    std::signal(SIGINT, onStopSignal);
    std::signal(SIGTERM, onStopSignal);
    QSocketNotifier stop(gSignalPipe[0], QSocketNotifier::Read);
    QObject::connect(&stop, &QSocketNotifier::activated, &loop, &QEventLoop::quit);

    std::map<std::string, SettingsDict> seen;
    const auto compare = [&](const std::string &path, const QString &file) {
        const SettingsDict now = readPlistFile(path).value_or(SettingsDict());
        auto it = seen.find(path);
        if (it == seen.end()) {
            seen.emplace(path, now);
            return;
        }
        std::vector<std::string> keys = now.keys();
        for (const std::string &key : it->second.keys()) {
            if (!now.contains(key)) {
                keys.push_back(key);
            }
        }
        for (const std::string &key : keys) {
            const PlistValue *before = it->second.find(key);
            const PlistValue *after = now.find(key);
            if (before != nullptr && after != nullptr && *before == *after) {
                continue;
            }
            const QString name = QString::fromStdString(key);
            if (inv.json) {
                printJson(
                    QJsonObject{{QStringLiteral("file"), file},
                                {QStringLiteral("key"), name},
                                {QStringLiteral("old"), before ? jsonOf(*before) : QJsonValue()},
                                {QStringLiteral("new"), after ? jsonOf(*after) : QJsonValue()}});
            } else {
                out(QStringLiteral("%1 %2: %3 -> %4\n")
                        .arg(file, name, before ? textOf(*before) : QStringLiteral("(none)"),
                             after ? textOf(*after) : QStringLiteral("(none)")));
            }
        }
        it->second = now;
    };
    const auto poll = [&] {
        compare(getUilitiesFilePath(), QStringLiteral("Utilities.plist"));
        const std::int32_t model = currentModel();
        if (model != 0) {
            compare(getSettingsFilePath(model), QString::fromStdString(getSettingsFileName(model)));
        }
    };
    poll();
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &loop, poll);
    timer.start(200);
    loop.exec();
    return kExitOk;
}

}  // namespace

int storeAndSendHotKey(const HotKeyName &which, char key, const std::string &path) {
    SettingsDict change;
    change.set(which.key, PlistValue(std::string(1, key)));
    if (!saveSettingItemsToPlist(change, path)) {
        return fail(kExitFailure,
                    QStringLiteral("cannot write %1").arg(QString::fromStdString(path)));
    }
    return sendCommand(makeCommandU8(which.code, static_cast<std::uint8_t>(key)));
}

const std::vector<Command> &settingsCommands() {
    static const std::vector<Command> commands = {
        {"status", "status [--json]", "model, daemon, driver, page, settings file",
         "Shows the connected model and its name, whether the driver daemon is running, whether\n"
         "the driver is enabled, the page the settings window shows, and every entry of the\n"
         "model's settings file.\n",
         cmdStatus},
        {"get", "get [NAME] [--json]", "one setting or all, as set takes them",
         "Shows one setting, or all of them, the way \"set\" takes them. NAME is a setting name\n"
         "(see \"set\"), calibration-hotkey or simple-hotkey.\n",
         cmdGet},
        {"set", "set NAME VALUE", "change a setting (see set --help)",
         "Asks the driver daemon to change a setting, as the settings window does. The driver\n"
         "records the new value in the model's settings file. NAME and VALUE:\n"
         "  range VALUE                double-click range, a whole number from 8 to 128\n"
         "  speed SECONDS              double-click time window, 0.30 to 1.00\n"
         "  swipe|pinch|two-finger-rotation on|off   two-finger gestures\n"
         "  button1|button2 on|off     function buttons\n"
         "  input-mode standard|handwrite|pen\n"
         "  resolution-notice on|off\n"
         "  eraser-area on|off\n"
         "  calibration-type simple|manual\n"
         "  simple-setting 0|1|2       the simple calibration's setting\n"
         "  rotation 0|90|180|270      the panel's rotation in degrees\n",
         cmdSet},
        {"calibrate", "calibrate start [--second]", "start the manual calibration",
         "Starts the manual calibration; --second starts the second manual calibration.\n",
         cmdCalibrate},
        {"hotkey", "hotkey calibration|simple KEY", "set a calibration hot key",
         "Stores a calibration hot key (one ASCII letter or digit, used with Control+Shift) in "
         "the\nmodel's settings file and tells the driver daemon. The two hot keys must differ.\n",
         cmdHotKey},
        {"page", "page N", "show page N in the settings window",
         "Shows page N in the settings window: 0 or calibration, 1 or properties, 2 or hardware,\n"
         "3 or version. When the window is not running the page is stored for its next start.\n",
         cmdPage},
        {"watch", "watch [--json]", "print changes of the shared files",
         "Prints each change of the shared state file and of the model's settings file as it\n"
         "happens, until Ctrl-C.\n",
         cmdWatch},
    };
    return commands;
}

}  // namespace tavix::panelctl
