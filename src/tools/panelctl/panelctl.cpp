#include "panelctl.h"

#include <QDateTime>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSocketNotifier>
#include <QTimer>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <map>
#include <optional>

#include "atomic_file.h"
#include "commands.h"
#include "daemonchannel.h"
#include "device_list.h"
#include "hardware_report_writer.h"
#include "hardware_reports.h"
#include "hostaddresses.h"
#include "messageport.h"
#include "paths.h"
#include "selftest.h"
#include "settingnames.h"
#include "settings_store.h"

#ifndef TAVIX_VERSION
#define TAVIX_VERSION "0"
#endif

namespace tavix::panelctl {
namespace {

constexpr double kPortTimeout = 1.0;

struct CommandHelp {
    const char *name;
    const char *usage;
    const char *summary;
    const char *text;
};

const CommandHelp kCommands[] = {
    {"status", "status [--json]", "model, daemon, driver, page, settings file",
     "Shows the connected model and its name, whether the driver daemon is running, whether\n"
     "the driver is enabled, the page the settings window shows, and every entry of the\n"
     "model's settings file.\n"},
    {"get", "get [NAME] [--json]", "one setting or all, as set takes them",
     "Shows one setting, or all of them, the way \"set\" takes them. NAME is a setting name\n"
     "(see \"set\"), calibration-hotkey or simple-hotkey.\n"},
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
     "  rotation 0|90|180|270      the panel's rotation in degrees\n"},
    {"calibrate", "calibrate start [--second]", "start the manual calibration",
     "Starts the manual calibration; --second starts the second manual calibration.\n"},
    {"hotkey", "hotkey calibration|simple KEY", "set a calibration hot key",
     "Stores a calibration hot key (one ASCII letter or digit, used with Control+Shift) in the\n"
     "model's settings file and tells the driver daemon. The two hot keys must differ.\n"},
    {"page", "page N", "show page N in the settings window",
     "Shows page N in the settings window: 0 or calibration, 1 or properties, 2 or hardware,\n"
     "3 or version. When the window is not running the page is stored for its next start.\n"},
    {"dip", "dip [--json] [--timeout MS]", "the eight DIP switches",
     "Asks the panel for its eight DIP switches (switch 1 first).\n"},
    {"firmware", "firmware [--json] [--timeout MS]", "firmware version and checksum",
     "Asks the panel for its firmware version and checksum.\n"},
    {"selftest", "selftest [--json] [--timeout MS]", "LED and sensor self-test",
     "Runs the LED and sensor self-test and shows a verdict per area and each failed point.\n"},
    {"report", "report --json FILE | --html FILE", "save the hardware report",
     "Asks the panel for its DIP switches, firmware and self-test and saves them, with the\n"
     "model, driver version, rotation, input mode, function buttons and host name, as the\n"
     "Hardware information page's report: JSON, or a printable HTML page (without the\n"
     "page's picture of the frame).\n"},
    {"watch", "watch [--json]", "print changes of the shared files",
     "Prints each change of the shared state file and of the model's settings file as it\n"
     "happens, until Ctrl-C.\n"},
};

const char kOverview[] =
    "Usage: tavix-panelctl COMMAND [ARGUMENTS] [OPTIONS]\n"
    "Reads and changes the touch panel's settings through the driver daemon, as the settings\n"
    "window does.\n"
    "\n"
    "Commands:\n"
    "%1\n"
    "Settings (set NAME VALUE, get NAME):\n"
    "  range            double-click range, 8 to 128\n"
    "  speed            double-click time window in seconds, 0.30 to 1.00\n"
    "  FLAG             on or off, where FLAG is swipe, pinch, two-finger-rotation,\n"
    "                   button1, button2, resolution-notice or eraser-area\n"
    "  input-mode       standard, handwrite or pen\n"
    "  calibration-type  simple or manual\n"
    "  simple-setting   0, 1 or 2\n"
    "  rotation         0, 90, 180 or 270\n"
    "\n"
    "Options:\n"
    "  --json           print readings as JSON (status, get, dip, firmware, selftest, watch)\n"
    "  --timeout MS     how long dip, firmware and selftest wait for the panel's report\n"
    "                   (default 3000)\n"
    "  --folder-name N  product folder of the per-user files (default TavixTouchPanel)\n"
    "  -h, --help       this text; \"tavix-panelctl COMMAND --help\" describes one command\n"
    "  --version        the program's version\n"
    "\n"
    "Exit status: 0 done, 1 other failure, 2 bad input (nothing is sent), 3 the driver daemon\n"
    "is not running, 4 no reply in time.\n";

struct Invocation {
    QString command;
    QStringList words;  // arguments after the command
    bool json = false;
    bool help = false;
    bool version = false;
    bool second = false;
    bool html = false;
    int timeoutMs = 3000;
};

void out(const QString &text) {
    std::fputs(text.toUtf8().constData(), stdout);
    std::fflush(stdout);
}

int fail(int status, const QString &message) {
    std::fprintf(stderr, "tavix-panelctl: %s\n", message.toUtf8().constData());
    return status;
}

int badInput(const QString &message) {
    return fail(kExitBadInput, message);
}

int noDaemon() {
    return fail(kExitNoDaemon, QStringLiteral("the driver daemon is not running"));
}

void printJson(const QJsonObject &object) {
    out(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) +
        QLatin1Char('\n'));
}

QJsonValue jsonOf(const PlistValue &value) {
    if (value.isInteger()) {
        return static_cast<qint64>(value.toInt());
    }
    if (value.isBool()) {
        return value.toBool();
    }
    if (value.isReal()) {
        return value.toDouble();
    }
    if (value.isString()) {
        return QString::fromStdString(value.toString());
    }
    return QJsonValue();
}

QString textOf(const PlistValue &value) {
    if (value.isBool()) {
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    }
    if (value.isInteger()) {
        return QString::number(value.toInt());
    }
    if (value.isReal()) {
        return QString::number(value.toDouble(), 'g', 6);
    }
    if (value.isString()) {
        return QString::fromStdString(value.toString());
    }
    return QStringLiteral("(other)");
}

SettingsDict readState() {
    return readPlistFile(getUilitiesFilePath()).value_or(SettingsDict());
}

std::int32_t currentModel() {
    return static_cast<std::int32_t>(readState().intValue("currentDeviceType"));
}

bool daemonRunning() {
    return RemoteMessagePort::lookup(QString::fromLatin1(kDaemonPortName)).has_value();
}

// Sends one request and waits for its answer. kExitOk, or the status to exit with.
int sendAndWait(const std::optional<RemoteMessagePort> &port, qint32 msgid, const QByteArray &data,
                QByteArray *reply = nullptr) {
    if (!port) {
        return noDaemon();
    }
    QEventLoop loop;
    std::optional<PortReply> outcome;
    port->sendRequest(msgid, data, kPortTimeout, kPortTimeout, [&](const PortReply &r) {
        outcome = r;
        loop.quit();
    });
    if (!outcome) {
        loop.exec();
    }
    if (!outcome->ok) {
        return fail(kExitNoReply, QStringLiteral("no reply from \"%1\" in time").arg(port->name()));
    }
    if (reply != nullptr) {
        *reply = outcome->reply;
    }
    return kExitOk;
}

int sendCommand(const Bytes &command, QByteArray *reply = nullptr) {
    const QByteArray data(reinterpret_cast<const char *>(command.data()),
                          static_cast<qsizetype>(command.size()));
    return sendAndWait(RemoteMessagePort::lookup(QString::fromLatin1(kDaemonPortName)), 0, data,
                       reply);
}

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
            switch (setting->kind) {
                case ValueKind::Flag:
                    value = shown == QLatin1String("on");
                    break;
                case ValueKind::Number:
                    value = static_cast<qint64>(settings->intValue(setting->key));
                    break;
                case ValueKind::Real:
                    value = settings->doubleValue(setting->key);
                    break;
                case ValueKind::Choice:
                    value = shown;
                    break;
            }
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
    SettingsDict change;
    change.set(which->key, PlistValue(keyText));
    if (!saveSettingItemsToPlist(change, path)) {
        return fail(kExitFailure,
                    QStringLiteral("cannot write %1").arg(QString::fromStdString(path)));
    }
    return sendCommand(makeCommandU8(which->code, static_cast<std::uint8_t>(*key)));
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

// Owns "HardwareInfoFromDaemon" while a report is awaited.
class ReportListener {
  public:
    int open() {
        const QString name = QString::fromLatin1(kHardwareInfoPortName);
        if (!RemoteMessagePort::lookup(name)) {
            port_ = LocalMessagePort::create(name, [this](qint32, const QByteArray &data) {
                if (!data.isEmpty()) {
                    reports_.push_back(data);
                    loop_.quit();
                }
                return QByteArray();
            });
        }
        if (!port_) {
            return fail(kExitFailure,
                        QStringLiteral("the settings window holds the port \"%1\"; leave its "
                                       "Hardware information page and try again")
                            .arg(name));
        }
        return kExitOk;
    }

    // The next report of the given type, or nullopt after waiting timeoutMs without one.
    std::optional<QByteArray> next(std::uint8_t type, int timeoutMs) {
        QTimer timer;
        timer.setSingleShot(true);
        QObject::connect(&timer, &QTimer::timeout, &loop_, &QEventLoop::quit);
        timer.start(timeoutMs);
        while (true) {
            for (auto it = reports_.begin(); it != reports_.end(); ++it) {
                if (static_cast<std::uint8_t>(it->at(0)) == type) {
                    QByteArray report = *it;
                    reports_.erase(reports_.begin(), it + 1);
                    return report;
                }
            }
            reports_.clear();
            if (!timer.isActive()) {
                return std::nullopt;
            }
            loop_.exec();
        }
    }

  private:
    std::unique_ptr<LocalMessagePort> port_;
    std::vector<QByteArray> reports_;
    QEventLoop loop_;
};

int noReport() {
    return fail(kExitNoReply, QStringLiteral("no report from the driver daemon in time"));
}

// Sends a request and waits for the report of the given layout. A report too short for its
// layout is ignored, as the settings window ignores it.
int awaitReport(ReportListener &listener, CommandCode request, ReportType type, int timeoutMs,
                HardwareReport &report) {
    if (const int status = sendCommand(makeCommand(request)); status != kExitOk) {
        return status;
    }
    while (const std::optional<QByteArray> bytes = listener.next(type, timeoutMs)) {
        if (auto decoded =
                decodeHardwareReport(reinterpret_cast<const std::uint8_t *>(bytes->constData()),
                                     static_cast<std::size_t>(bytes->size()))) {
            report = std::move(*decoded);
            return kExitOk;
        }
    }
    return noReport();
}

struct SelfTestRun {
    std::int32_t hardwareType = 0;
    DeviceEntry device;
    std::vector<SelfTestRecord> records;
};

// A run that misses areas is repeated, as the Hardware information page does, up to ten runs
// in all; each run starts from no records.
int runSelfTest(ReportListener &listener, int timeoutMs, SelfTestRun &run) {
    constexpr int kMaxRuns = 10;
    for (int count = 1;; ++count) {
        QByteArray reply;
        if (const int status = sendCommand(makeCommand(COMMAND_START_SELF_TEST), &reply);
            status != kExitOk) {
            return status;
        }
        const std::optional<std::int32_t> type =
            decodeHardwareType(reinterpret_cast<const std::uint8_t *>(reply.constData()),
                               static_cast<std::size_t>(reply.size()));
        if (!type) {
            return fail(kExitNoReply,
                        QStringLiteral("the driver daemon did not say the hardware type"));
        }
        const auto list = readDeviceList(getSupportDeviceListFilePath());
        const DeviceEntry *device = list ? findDeviceEntry(*list, *type) : nullptr;
        if (device == nullptr) {
            return fail(kExitFailure,
                        QStringLiteral("hardware type %1 is not in the device list").arg(*type));
        }
        run.hardwareType = *type;
        run.device = *device;
        // Results may come in several reports: gather them until every area has answered or
        // the daemon has been quiet for a while.
        run.records.clear();
        std::optional<QByteArray> report = listener.next(REPORT_SELF_TEST_RESULT, timeoutMs);
        if (!report) {
            return noReport();
        }
        while (report) {
            const std::vector<SelfTestRecord> more =
                decodeSelfTestRecords(reinterpret_cast<const std::uint8_t *>(report->constData()),
                                      static_cast<std::size_t>(report->size()));
            run.records.insert(run.records.end(), more.begin(), more.end());
            if (!needRestartTestSelf(run.records, &run.device)) {
                break;
            }
            report = listener.next(REPORT_SELF_TEST_RESULT, std::min(timeoutMs, 500));
        }
        if (count == kMaxRuns || !needRestartTestSelf(run.records, &run.device)) {
            return kExitOk;
        }
    }
}

QString verdictText(Verdict verdict) {
    switch (verdict) {
        case Verdict::Check:
            return QStringLiteral("check");
        case Verdict::ALL:
            return QStringLiteral("all failed");
        case Verdict::OK:
            break;
    }
    return QStringLiteral("OK");
}

QJsonArray dipSwitchList(int value) {
    QJsonArray list;
    for (int n = 1; n <= 8; ++n) {
        list.append(dipSwitch(value, n));
    }
    return list;
}

int cmdDipOrFirmware(const Invocation &inv) {
    if (!inv.words.isEmpty()) {
        return badInput(QStringLiteral("%1 takes no arguments").arg(inv.command));
    }
    if (!daemonRunning()) {
        return noDaemon();
    }
    ReportListener listener;
    if (const int status = listener.open(); status != kExitOk) {
        return status;
    }
    const bool dip = inv.command == QLatin1String("dip");
    HardwareReport report;
    if (const int status =
            dip ? awaitReport(listener, COMMAND_GET_DIP_SW, REPORT_DIP_SW, inv.timeoutMs, report)
                : awaitReport(listener, COMMAND_GET_CHECKSUM_AND_VERSION,
                              REPORT_CHECKSUM_AND_VERSION, inv.timeoutMs, report);
        status != kExitOk) {
        return status;
    }
    if (dip) {
        const QJsonArray list = dipSwitchList(report.dipSwitches);
        QStringList words;
        for (const QJsonValue &v : list) {
            words << QString::number(v.toInt());
        }
        inv.json ? printJson(QJsonObject{{QStringLiteral("dipSwitches"), list}})
                 : out(QStringLiteral("DIP switches 1-8: %1\n").arg(words.join(u' ')));
        return kExitOk;
    }
    const QString version =
        QString::fromStdString(formatFirmwareVersion(currentModel(), report.checksum));
    const QString checksum = QString::fromStdString(formatChecksum(report.checksum));
    const bool good = report.checksum.verdict == 0;
    if (inv.json) {
        printJson(QJsonObject{{QStringLiteral("version"), version},
                              {QStringLiteral("checksum"), checksum},
                              {QStringLiteral("checksumGood"), good}});
    } else {
        out(QStringLiteral("firmware version: %1\nchecksum: %2 (%3)\n")
                .arg(version, checksum, good ? QStringLiteral("OK") : QStringLiteral("NG")));
    }
    return kExitOk;
}

int cmdSelfTest(const Invocation &inv) {
    if (!inv.words.isEmpty()) {
        return badInput(QStringLiteral("selftest takes no arguments"));
    }
    if (!daemonRunning()) {
        return noDaemon();
    }
    ReportListener listener;
    if (const int status = listener.open(); status != kExitOk) {
        return status;
    }
    SelfTestRun run;
    if (const int status = runSelfTest(listener, inv.timeoutMs, run); status != kExitOk) {
        return status;
    }
    const SelfTestJudgement result = judgeSelfTest(run.records, run.device);
    const int missingAreas =
        std::max(0, static_cast<int>(run.device.areas.size()) - countAreaRuns(run.records));
    if (inv.json) {
        QJsonArray areas, faults;
        for (const AreaSummary &a : result.summaries) {
            areas.append(
                QJsonObject{{QStringLiteral("area"), QString::fromStdString(a.label)},
                            {QStringLiteral("tested"), a.tested},
                            {QStringLiteral("led"), QLatin1String(verdictName(a.led))},
                            {QStringLiteral("sensor"), QLatin1String(verdictName(a.sensor))}});
        }
        for (const ErrorRow &r : result.errors) {
            faults.append(QJsonObject{{QStringLiteral("area"), QString::fromStdString(r.label)},
                                      {QStringLiteral("point"), r.point},
                                      {QStringLiteral("led"), r.ledState == 1},
                                      {QStringLiteral("sensor"), r.sensState == 1}});
        }
        printJson(QJsonObject{{QStringLiteral("hardwareType"), run.hardwareType},
                              {QStringLiteral("areas"), areas},
                              {QStringLiteral("faults"), faults},
                              {QStringLiteral("missingAreas"), missingAreas}});
        return kExitOk;
    }
    QString text = QStringLiteral("self-test of %1 (hardware type %2)\n")
                       .arg(QString::fromStdString(run.device.name))
                       .arg(run.hardwareType);
    for (const AreaSummary &a : result.summaries) {
        text += QStringLiteral("  %1: LED %2, sensor %3 (%4 points)\n")
                    .arg(QString::fromStdString(a.label), verdictText(a.led), verdictText(a.sensor))
                    .arg(a.tested);
    }
    for (const ErrorRow &r : result.errors) {
        text += QStringLiteral("  fault: %1 point %2:%3%4\n")
                    .arg(QString::fromStdString(r.label))
                    .arg(r.point)
                    .arg(r.ledState == 1 ? QStringLiteral(" LED") : QString(),
                         r.sensState == 1 ? QStringLiteral(" sensor") : QString());
    }
    if (missingAreas > 0) {
        text += QStringLiteral("  %1 areas sent no result\n").arg(missingAreas);
    }
    out(text);
    return kExitOk;
}

// The Hardware information page's report, from what the panel answers and the shared files.
int cmdHardwareReport(const Invocation &inv) {
    if (inv.words.size() != 1 || inv.json == inv.html) {
        return badInput(QStringLiteral("report takes --json FILE or --html FILE"));
    }
    if (!daemonRunning()) {
        return noDaemon();
    }
    ReportListener listener;
    if (const int status = listener.open(); status != kExitOk) {
        return status;
    }
    HardwareReport dip, firmware;
    SelfTestRun run;
    if (int status = awaitReport(listener, COMMAND_GET_DIP_SW, REPORT_DIP_SW, inv.timeoutMs, dip);
        status != kExitOk ||
        (status = awaitReport(listener, COMMAND_GET_CHECKSUM_AND_VERSION,
                              REPORT_CHECKSUM_AND_VERSION, inv.timeoutMs, firmware)) != kExitOk ||
        (status = runSelfTest(listener, inv.timeoutMs, run)) != kExitOk) {
        return status;
    }
    const SettingsDict state = readState();
    HardwareInfoReport report;
    report.time = QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toStdString();
    report.modelType = static_cast<std::int32_t>(state.intValue("currentDeviceType"));
    report.modelName = run.device.name;
    report.firmware = firmware.checksum;
    report.dipSwitches = dip.dipSwitches;
    if (const auto settings = readPlistFile(getSettingsFilePath(report.modelType))) {
        report.driverVersion = settings->stringValue("DriverVersion");
        report.rotateMode = settings->intValue("RotateMode");
        report.inputMode = settings->intValue("InputMode");
        report.functionButton1 = settings->boolValue("FounctionButton1");
        report.functionButton2 = settings->boolValue("FounctionButton2");
    }
    report.computerName = localizedComputerName().toStdString();
    for (const QString &address : addressMenuItems(systemIPv4Addresses())) {
        report.addresses.push_back(address.toStdString());
    }
    const SelfTestJudgement judgement = judgeSelfTest(run.records, run.device);
    report.selfTestJudged = true;
    report.areas = judgement.summaries;
    report.failedPoints = judgement.errors;
    const std::string text =
        inv.json ? hardwareReportJson(report) : hardwareReportHtml(report, std::string());
    if (!writeFileAtomically(inv.words.first().toStdString(), text)) {
        return fail(kExitFailure, QStringLiteral("cannot write %1").arg(inv.words.first()));
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

int run(const QStringList &args) {
    // The per-user files live in the folder the settings window's string table names; this
    // program has no string table, so it takes the shipped name unless told another.
    setLocalizedStringLookup([](const std::string &key) {
        return key == "PreferenceFolderName" ? std::string("TavixTouchPanel") : key;
    });
    Invocation inv;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString &a = args[i];
        if (a == QLatin1String("--json")) {
            inv.json = true;
        } else if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            inv.help = true;
        } else if (a == QLatin1String("--version")) {
            inv.version = true;
        } else if (a == QLatin1String("--second")) {
            inv.second = true;
        } else if (a == QLatin1String("--html")) {
            inv.html = true;
        } else if (a == QLatin1String("--timeout") || a == QLatin1String("--folder-name")) {
            if (i + 1 >= args.size()) {
                return badInput(QStringLiteral("%1 needs a value").arg(a));
            }
            const QString value = args[++i];
            if (a == QLatin1String("--timeout")) {
                bool ok = false;
                inv.timeoutMs = value.toInt(&ok);
                if (!ok || inv.timeoutMs < 1 || inv.timeoutMs > 600000) {
                    return badInput(QStringLiteral("--timeout takes milliseconds, 1 to 600000"));
                }
            } else {
                if (value.isEmpty() || value.contains(u'/')) {
                    return badInput(QStringLiteral("--folder-name takes a plain folder name"));
                }
                const std::string folder = value.toStdString();
                setLocalizedStringLookup([folder](const std::string &key) {
                    return key == "PreferenceFolderName" ? folder : key;
                });
            }
        } else if (a.startsWith(u'-') && a.size() > 1 && !a[1].isDigit()) {
            return badInput(QStringLiteral("unknown option %1 (see --help)").arg(a));
        } else if (inv.command.isEmpty()) {
            inv.command = a;
        } else {
            inv.words << a;
        }
    }
    if (inv.version) {
        out(QStringLiteral("tavix-panelctl %1\n").arg(QLatin1String(TAVIX_VERSION)));
        return kExitOk;
    }
    QStringList names;
    QString list;
    const CommandHelp *help = nullptr;
    for (const CommandHelp &c : kCommands) {
        names << QLatin1String(c.name);
        list += QStringLiteral("  %1  %2\n")
                    .arg(QLatin1String(c.usage), -34)
                    .arg(QLatin1String(c.summary));
        help = inv.command == QLatin1String(c.name) ? &c : help;
    }
    if (inv.command.isEmpty()) {
        if (inv.help) {
            out(QString::fromLatin1(kOverview).arg(list));
            return kExitOk;
        }
        return badInput(QStringLiteral("missing command; commands: %1 (see --help)")
                            .arg(names.join(QStringLiteral(", "))));
    }
    if (help == nullptr) {
        return badInput(QStringLiteral("unknown command \"%1\"; commands: %2")
                            .arg(inv.command, names.join(QStringLiteral(", "))));
    }
    if (inv.help) {
        out(QStringLiteral("Usage: tavix-panelctl %1\n%2")
                .arg(QLatin1String(help->usage), QLatin1String(help->text)));
        return kExitOk;
    }
    if (inv.second && inv.command != QLatin1String("calibrate")) {
        return badInput(QStringLiteral("--second belongs to \"calibrate start\""));
    }
    const QString &c = inv.command;
    if (c == QLatin1String("status"))
        return cmdStatus(inv);
    if (c == QLatin1String("get"))
        return cmdGet(inv);
    if (c == QLatin1String("set"))
        return cmdSet(inv);
    if (c == QLatin1String("calibrate"))
        return cmdCalibrate(inv);
    if (c == QLatin1String("hotkey"))
        return cmdHotKey(inv);
    if (c == QLatin1String("page"))
        return cmdPage(inv);
    if (c == QLatin1String("dip") || c == QLatin1String("firmware"))
        return cmdDipOrFirmware(inv);
    if (c == QLatin1String("report"))
        return cmdHardwareReport(inv);
    if (c == QLatin1String("selftest"))
        return cmdSelfTest(inv);
    return cmdWatch(inv);
}

}  // namespace tavix::panelctl
