#include "panelsimulator.h"

#include <QStringList>
#include <QTimer>

#include <cstdio>
#include <utility>

#include "atomic_file.h"
#include "commands.h"
#include "daemonchannel.h"
#include "driversettings.h"
#include "paths.h"
#include "settings_store.h"

namespace tavix::sim {
namespace {

constexpr double kPortTimeout = 1.0;
constexpr std::size_t kMaxSampleListSize = 1024 * 1024;
const QString kPaneCommandPort = QString::fromLatin1(kPreferencePortName);

QString hexLine(const QByteArray &data) {
    return data.isEmpty() ? QStringLiteral("(empty)")
                          : QString::fromLatin1(data.toHex(' ').toUpper());
}

std::string utf8(const QString &s) {
    return s.toStdString();
}

bool parseInt(const QString &text, int *value) {
    bool ok = false;
    *value = text.toInt(&ok);
    return ok;
}

bool parseOnOff(const QString &text, bool *value) {
    if (text == QLatin1String("on")) {
        *value = true;
        return true;
    }
    if (text == QLatin1String("off")) {
        *value = false;
        return true;
    }
    return false;
}

}  // namespace

PanelSimulator::PanelSimulator(SimOptions options, QObject *parent)
    : QObject(parent), options_(std::move(options)), vanishAt_(options_.vanishOn) {
    reporter_ = new HardwareReporter(options_.hardware, this);
}

PanelSimulator::~PanelSimulator() = default;

QString PanelSimulator::consoleHelp() {
    return QStringLiteral(
        "Commands on standard input, one per line (each answered by one line, \"ok: ...\" or\n"
        "\"error: ...\"):\n"
        "  connect [MODEL]  set \"currentDeviceType\" to the model (switching model when given)\n"
        "                   and send code 4 on \"preferenceCommend\"\n"
        "  disconnect       set \"currentDeviceType\" 0 and send code 5\n"
        "  driver off       set \"DriverEnable\" false and send code 7\n"
        "  driver on        set \"DriverEnable\" true and send code 6 (reload)\n"
        "  reload           send code 6\n"
        "  page N           send code N (0 Calibration, 1 Properties, 2 Hardware, 3 Version)\n"
        "  next             send code 8 (next simple calibration)\n"
        "  refresh          set \"RefreshCalibrationType\" true (the pane redraws calibration)\n"
        "  verbose on|off   set \"VerboseLog\"\n"
        "  delay MS         answer each later command after MS milliseconds (0: at once)\n"
        "  noreply on|off   stop / resume answering commands\n"
        "  vanish N         drop off the bus (exit status 3) on the Nth command from now\n"
        "  status           show the model, connection, faults and commands received\n"
        "  help             this text\n"
        "  quit             exit normally\n");
}

void PanelSimulator::note(const QString &text) const {
    if (!options_.quiet) {
        std::fprintf(stderr, "tavix-panel-sim: %s\n", qPrintable(text));
        std::fflush(stderr);
    }
}

bool PanelSimulator::start(QString *error) {
    const QString portName = QString::fromLatin1(kDaemonPortName);
    const QString taken =
        QStringLiteral("the port \"%1\" is taken by another process").arg(portName);
    // Nothing is written while another daemon is running.
    if (RemoteMessagePort::lookup(portName)) {
        *error = taken;
        return false;
    }
    if (!options_.logPath.isEmpty()) {
        log_.setFileName(options_.logPath);
        if (!log_.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
            *error = QStringLiteral("cannot write the log %1: %2")
                         .arg(options_.logPath, log_.errorString());
            return false;
        }
    }
    const QString installed = installSampleLists();
    if (!installed.isEmpty()) {
        note(installed);
    }
    // The driver side announces the panel. A missing state file is created with its defaults
    // first, as the pane would create it.
    readUtilitiesDictionary();
    SettingsDict state;
    state.set("currentDeviceType", PlistValue(options_.modelType));
    state.set("DriverEnable", PlistValue(true));
    if (!writeState(state)) {
        note(QStringLiteral("could not write %1")
                 .arg(QString::fromStdString(getUilitiesFilePath())));
    }
    readSettingItemsFromPlist(getSettingsFilePath(options_.modelType));
    // The port comes last: whoever sees it owned finds the files in place.
    port_ = LocalMessagePort::createDeferred(
        portName, [this](qint32, const QByteArray &data, PortResponder respond) {
            onCommand(data, respond);
        });
    if (!port_) {
        *error = taken + QStringLiteral(" (or there is no session bus)");
        return false;
    }
    return true;
}

QString PanelSimulator::installSampleLists() {
    if (options_.dataDir.isEmpty()) {
        return QStringLiteral("no data folder: sample lists not installed");
    }
    QStringList notes;
    const std::pair<const char *, std::string> lists[] = {
        {"DeviceList.plist", getSupportDeviceListFilePath()},
        {"SupportResolutionList.plist", getSupportResolutionListFilePath()},
    };
    for (const auto &[file, target] : lists) {
        if (pathExists(target)) {
            continue;
        }
        const std::string source = utf8(options_.dataDir) + "/" + file;
        std::optional<std::string> bytes = readSmallFile(source, kMaxSampleListSize);
        if (!bytes) {
            notes << QStringLiteral("cannot read %1").arg(QString::fromStdString(source));
        } else if (!writeFileAtomically(target, *bytes)) {
            notes << QStringLiteral("cannot install %1 (folder not writable)")
                         .arg(QString::fromStdString(target));
        } else {
            notes << QStringLiteral("installed %1").arg(QString::fromStdString(target));
        }
    }
    return notes.join(QStringLiteral("; "));
}

bool PanelSimulator::writeState(const SettingsDict &items) {
    return saveSettingItemsToPlist(items, getUilitiesFilePath());
}

void PanelSimulator::logCommand(const QByteArray &data) {
    if (!log_.isOpen()) {
        return;
    }
    log_.write(hexLine(data).toLatin1());
    log_.write("\n");
    log_.flush();
}

void PanelSimulator::onCommand(const QByteArray &data, const PortResponder &respond) {
    if (vanishing_) {
        return;  // already leaving: nothing more is read or answered
    }
    ++received_;
    logCommand(data);
    if (vanishAt_ > 0 && received_ >= vanishAt_) {
        vanishing_ = true;
        note(QStringLiteral("command %1: vanishing without an answer").arg(received_));
        // Leave from the event loop, so that the port closes with the process.
        QTimer::singleShot(0, this, [this] { Q_EMIT vanished(3); });
        return;
    }

    QByteArray reply;
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(data.constData());
    std::optional<DecodedCommand> command =
        decodeCommand(bytes, static_cast<std::size_t>(data.size()));
    if (!command) {
        note(QStringLiteral("%1: not a command (unknown code or wrong length), ignored")
                 .arg(hexLine(data)));
    } else if (command->code == COMMAND_START_SELF_TEST) {
        const std::int32_t type = options_.hardwareType.value_or(options_.modelType);
        const auto u = static_cast<std::uint32_t>(type);
        reply = QByteArray(4, '\0');
        for (int i = 0; i < 4; ++i) {
            reply[i] = static_cast<char>((u >> (8 * i)) & 0xFFu);
        }
        note(QStringLiteral("%1: %2, answered hardware type %3")
                 .arg(hexLine(data), QLatin1String(commandName(command->code)))
                 .arg(type));
        if (std::optional<QString> started = reporter_->onCommand(*command, type)) {
            note(*started);
        }
    } else if (auto change = settingChangeForCommand(*command, options_.modelType)) {
        if (!connected_) {
            note(QStringLiteral("%1: %2 while no panel is connected, ignored")
                     .arg(hexLine(data), QLatin1String(commandName(command->code))));
        } else {
            SettingsDict items;
            items.set(change->key, change->value);
            const bool saved =
                saveSettingItemsToPlist(items, getSettingsFilePath(options_.modelType));
            note(QStringLiteral("%1: %2 -> \"%3\"%4")
                     .arg(hexLine(data), QLatin1String(commandName(command->code)),
                          QString::fromStdString(change->key),
                          saved ? QString() : QStringLiteral(" (write failed)")));
        }
    } else if (auto reported = reporter_->onCommand(*command, options_.modelType)) {
        note(QStringLiteral("%1: %2, %3")
                 .arg(hexLine(data), QLatin1String(commandName(command->code)), *reported));
    } else {
        note(
            QStringLiteral("%1: %2").arg(hexLine(data), QLatin1String(commandName(command->code))));
    }

    if (options_.neverReply) {
        return;
    }
    if (options_.replyDelayMs > 0) {
        QTimer::singleShot(options_.replyDelayMs, this, [respond, reply] { respond(reply); });
        return;
    }
    respond(reply);
}

QString PanelSimulator::notifyPane(PreferenceCode preferenceCode) {
    const std::uint8_t code = toByte(preferenceCode);
    std::optional<RemoteMessagePort> pane = RemoteMessagePort::lookup(kPaneCommandPort);
    const QString hex = hexLine(QByteArray(1, static_cast<char>(code)));
    if (!pane) {
        return QStringLiteral("\"%1\" absent, code %2 not sent").arg(kPaneCommandPort, hex);
    }
    pane->sendRequest(
        0, QByteArray(1, static_cast<char>(code)), kPortTimeout, kPortTimeout,
        [this, hex](const PortReply &outcome) {
            if (!outcome.ok) {
                note(QStringLiteral("code %1 on \"%2\" failed").arg(hex, kPaneCommandPort));
            }
        });
    return QStringLiteral("sent %1 on \"%2\"").arg(hex, kPaneCommandPort);
}

QString PanelSimulator::handleLine(const QString &line) {
    const QStringList words = line.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.isEmpty()) {
        return QString();
    }
    if (std::optional<QString> answer = reporter_->handleLine(words)) {
        return *answer;
    }
    const QString verb = words[0].toLower();
    const QString arg = words.size() > 1 ? words[1].toLower() : QString();
    const auto error = [](const QString &text) { return QStringLiteral("error: ") + text; };
    const auto ok = [](const QString &text) { return QStringLiteral("ok: ") + text; };
    const auto setState = [this](const char *key, PlistValue value) {
        SettingsDict items;
        items.set(key, std::move(value));
        return writeState(items);
    };
    if (words.size() > 2 || (words.size() == 2 &&
                             (verb == QLatin1String("disconnect") ||
                              verb == QLatin1String("reload") || verb == QLatin1String("next") ||
                              verb == QLatin1String("refresh") || verb == QLatin1String("status") ||
                              verb == QLatin1String("help") || verb == QLatin1String("quit")))) {
        return error(QStringLiteral("too many words in \"%1\"").arg(line.simplified()));
    }

    if (verb == QLatin1String("connect")) {
        if (!arg.isEmpty()) {
            int model = 0;
            if (!parseInt(arg, &model) || model == 0) {
                return error(QStringLiteral("model type must be a non-zero integer"));
            }
            options_.modelType = model;
        }
        if (!setState("currentDeviceType", PlistValue(options_.modelType))) {
            return error(QStringLiteral("cannot write the shared state file"));
        }
        readSettingItemsFromPlist(getSettingsFilePath(options_.modelType));
        connected_ = true;
        return ok(QStringLiteral("model %1 connected; %2")
                      .arg(options_.modelType)
                      .arg(notifyPane(PreferenceCode::DeviceConnect)));
    }
    if (verb == QLatin1String("disconnect")) {
        if (!setState("currentDeviceType", PlistValue(0))) {
            return error(QStringLiteral("cannot write the shared state file"));
        }
        connected_ = false;
        return ok(QStringLiteral("disconnected; ") + notifyPane(PreferenceCode::DeviceDisconnect));
    }
    if (verb == QLatin1String("driver")) {
        bool on = false;
        if (!parseOnOff(arg, &on)) {
            return error(QStringLiteral("say \"driver on\" or \"driver off\""));
        }
        if (!setState("DriverEnable", PlistValue(on))) {
            return error(QStringLiteral("cannot write the shared state file"));
        }
        return ok(
            QStringLiteral("driver %1; %2")
                .arg(on ? QStringLiteral("enabled") : QStringLiteral("disabled"),
                     notifyPane(on ? PreferenceCode::Reload : PreferenceCode::DriverDisable)));
    }
    if (verb == QLatin1String("reload")) {
        return ok(notifyPane(PreferenceCode::Reload));
    }
    if (verb == QLatin1String("page")) {
        int page = -1;
        if (!parseInt(arg, &page) || page < 0 || page > 3) {
            return error(QStringLiteral("page must be 0, 1, 2 or 3"));
        }
        return ok(notifyPane(*selectPageCode(page)));
    }
    if (verb == QLatin1String("next")) {
        return ok(notifyPane(PreferenceCode::NextSimpleCalibration));
    }
    if (verb == QLatin1String("refresh")) {
        if (!setState("RefreshCalibrationType", PlistValue(true))) {
            return error(QStringLiteral("cannot write the shared state file"));
        }
        return ok(QStringLiteral("\"RefreshCalibrationType\" set"));
    }
    if (verb == QLatin1String("verbose")) {
        bool on = false;
        if (!parseOnOff(arg, &on)) {
            return error(QStringLiteral("say \"verbose on\" or \"verbose off\""));
        }
        if (!setState("VerboseLog", PlistValue(on))) {
            return error(QStringLiteral("cannot write the shared state file"));
        }
        return ok(QStringLiteral("\"VerboseLog\" %1").arg(on ? "on" : "off"));
    }
    if (verb == QLatin1String("delay")) {
        int ms = -1;
        if (!parseInt(arg, &ms) || ms < 0) {
            return error(QStringLiteral("delay takes milliseconds, 0 or more"));
        }
        options_.replyDelayMs = ms;
        return ok(QStringLiteral("answers delayed by %1 ms").arg(ms));
    }
    if (verb == QLatin1String("noreply")) {
        bool on = false;
        if (!parseOnOff(arg, &on)) {
            return error(QStringLiteral("say \"noreply on\" or \"noreply off\""));
        }
        options_.neverReply = on;
        return ok(on ? QStringLiteral("commands go unanswered")
                     : QStringLiteral("commands are answered"));
    }
    if (verb == QLatin1String("vanish")) {
        int n = 0;
        if (!parseInt(arg, &n) || n < 1) {
            return error(QStringLiteral("vanish takes a count of 1 or more"));
        }
        vanishAt_ = received_ + n;
        return ok(QStringLiteral("vanishing on command %1").arg(vanishAt_));
    }
    if (verb == QLatin1String("status")) {
        return ok(
            QStringLiteral("model %1, %2, %3 commands received, delay %4 ms, %5, vanish "
                           "on %6; %7")
                .arg(options_.modelType)
                .arg(connected_ ? QStringLiteral("connected") : QStringLiteral("disconnected"))
                .arg(received_)
                .arg(options_.replyDelayMs)
                .arg(options_.neverReply ? QStringLiteral("not answering")
                                         : QStringLiteral("answering"))
                .arg(vanishAt_ > 0 ? QString::number(vanishAt_) : QStringLiteral("never"))
                .arg(reporter_->status()));
    }
    if (verb == QLatin1String("help")) {
        std::fputs(qPrintable(consoleHelp() + HardwareReporter::consoleHelp()), stdout);
        return ok(QStringLiteral("help shown"));
    }
    if (verb == QLatin1String("quit")) {
        Q_EMIT quitRequested();
        return ok(QStringLiteral("quitting"));
    }
    return error(QStringLiteral("unknown command \"%1\" (try \"help\")").arg(words[0]));
}

}  // namespace tavix::sim
