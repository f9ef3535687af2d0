// The panel simulator as a separate process on a private session bus, with temporary HOME and
// system Library folders: what it writes on start, how it records each setting command, its
// console commands towards the pane, and its faults.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTimer>
#include <QtTest/QtTest>

#include <memory>
#include <optional>
#include <vector>

#include "atomic_file.h"
#include "commands.h"
#include "daemonchannel.h"
#include "messageport.h"
#include "paths.h"
#include "settings_store.h"
#include "test_support.h"

using namespace tavix;

namespace {

const QString kFolderName = QStringLiteral("TavixTouchPanel");

SettingsDict readDict(const std::string &path) {
    return readPlistFile(path).value_or(SettingsDict());
}

QByteArray toBytes(const Bytes &b) {
    return QByteArray(reinterpret_cast<const char *>(b.data()), static_cast<qsizetype>(b.size()));
}

// One simulator process; stdout answers are read line by line.
class Sim {
  public:
    explicit Sim(const test::TempRoots &roots) : logPath_(roots.path(QStringLiteral("sim.log"))) {}
    ~Sim() {
        if (process_.state() != QProcess::NotRunning) {
            process_.terminate();
            if (!process_.waitForFinished(5000)) {
                process_.kill();
                process_.waitForFinished();
            }
        }
    }

    // Starts and waits for "ready"; false when the process ended first.
    bool start(const QStringList &args = {}) {
        process_.setProgram(QStringLiteral(TAVIX_PANEL_SIM));
        process_.setArguments(QStringList{QStringLiteral("--log"), logPath_} + args);
        process_.start();
        if (!process_.waitForStarted(5000)) {
            return false;
        }
        const QString first = nextLine();
        return first.startsWith(QStringLiteral("ready:"));
    }

    // Sends one console line and returns the answer ("ok: ..." or "error: ...").
    QString console(const QString &line) {
        process_.write((line + QLatin1Char('\n')).toUtf8());
        for (;;) {
            const QString answer = nextLine();
            if (answer.isEmpty() || answer.startsWith(QStringLiteral("ok:")) ||
                answer.startsWith(QStringLiteral("error:"))) {
                return answer;
            }
        }
    }

    QStringList logLines() const {
        QFile log(logPath_);
        if (!log.open(QIODevice::ReadOnly | QIODevice::Text)) {
            return {};
        }
        return QString::fromLatin1(log.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
    bool waitForLogLines(int count) {
        return QTest::qWaitFor([&] { return logLines().size() >= count; }, 5000);
    }
    bool waitForExit(int *status) {
        if (!QTest::qWaitFor([&] { return process_.state() == QProcess::NotRunning; }, 10000)) {
            return false;
        }
        *status = process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
        return true;
    }
    QProcess &process() { return process_; }

  private:
    QString nextLine() {
        [[maybe_unused]] const bool ready = QTest::qWaitFor(
            [&] { return process_.canReadLine() || process_.state() == QProcess::NotRunning; },
            10000);
        if (!process_.canReadLine()) {
            return QString();
        }
        return QString::fromUtf8(process_.readLine()).trimmed();
    }

    QString logPath_;
    QProcess process_;
};

// Sends a command and waits for the outcome.
std::optional<bool> send(const Bytes &command) {
    std::optional<bool> ok;
    if (!SendDataToRemotePort(command, [&](bool sent, const QByteArray &) { ok = sent; })) {
        return std::nullopt;
    }
    [[maybe_unused]] const bool done = QTest::qWaitFor([&] { return ok.has_value(); }, 10000);
    return ok;
}

struct PaneMessage {
    QByteArray data;
};

}  // namespace

class SimTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<test::TempRoots> roots_;

  private Q_SLOTS:
    void initTestCase() {
        setLocalizedStringLookup([](const std::string &key) {
            return key == "PreferenceFolderName" ? kFolderName.toStdString() : key;
        });
    }
    // Each test starts from empty folders.
    void init() { roots_ = std::make_unique<test::TempRoots>(); }
    void cleanup() { roots_.reset(); }

    void startAnnouncesThePanelAndCreatesItsFiles() {
        Sim sim(*roots_);
        QVERIFY(sim.start());
        const SettingsDict state = readDict(getUilitiesFilePath());
        QCOMPARE(state.intValue("currentDeviceType"), 317);
        QVERIFY(state.find("DriverEnable") && state.find("DriverEnable")->isBool());
        QVERIFY(state.boolValue("DriverEnable"));
        // A missing state file gets the pane's defaults around the two keys.
        QVERIFY(state.boolValue("isShowStatuMenu"));
        QCOMPARE(state.size(), size_t{5});
        const SettingsDict settings = readDict(getSettingsFilePath(317));
        QCOMPARE(settings, settingItemsDefaults());
        // The sample lists are installed byte for byte.
        for (const auto &[name, target] :
             {std::pair{"DeviceList.plist", getSupportDeviceListFilePath()},
              std::pair{"SupportResolutionList.plist", getSupportResolutionListFilePath()}}) {
            QFile source(QStringLiteral(TAVIX_DATA_DIR "/") + QLatin1String(name));
            QFile installed(QString::fromStdString(target));
            QVERIFY(source.open(QIODevice::ReadOnly));
            QVERIFY2(installed.open(QIODevice::ReadOnly), name);
            QCOMPARE(installed.readAll(), source.readAll());
        }
    }

    void startMergesIntoExistingFilesAndKeepsThem() {
        SettingsDict state;
        state.set("currentPageIndex", PlistValue(2));
        state.set("DriverEnable", PlistValue(false));
        state.set("currentDeviceType", PlistValue(0));
        QVERIFY(writePlistFileAtomically(state, getUilitiesFilePath()));
        SettingsDict settings = settingItemsDefaults();
        settings.set("DoubleClickRange", PlistValue(50));
        QVERIFY(writePlistFileAtomically(settings, getSettingsFilePath(259)));
        const std::string ownList = "<?xml version=\"1.0\"?><plist><array/></plist>";
        QVERIFY(writeFileAtomically(getSupportDeviceListFilePath(), ownList));

        Sim sim(*roots_);
        QVERIFY(sim.start({QStringLiteral("--model"), QStringLiteral("259")}));
        const SettingsDict after = readDict(getUilitiesFilePath());
        QCOMPARE(after.intValue("currentPageIndex"), 2);
        QCOMPARE(after.intValue("currentDeviceType"), 259);
        QVERIFY(after.boolValue("DriverEnable"));
        QCOMPARE(after.size(), size_t{3});  // an existing file is not completed with defaults
        QCOMPARE(readDict(getSettingsFilePath(259)).intValue("DoubleClickRange"), 50);
        QCOMPARE(readSmallFile(getSupportDeviceListFilePath(), 4096).value_or(""), ownList);
        QVERIFY(pathExists(getSupportResolutionListFilePath()));
    }

    void unwritableSystemFolderDoesNotStopTheSimulator() {
        // A regular file where a folder should be: nothing can be created below it.
        const QString blocker = roots_->path(QStringLiteral("blocker"));
        QFile file(blocker);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        qputenv("TAVIX_SYSTEM_LIBRARY", (blocker + QStringLiteral("/Library")).toLocal8Bit());
        Sim sim(*roots_);
        QVERIFY(sim.start());
        QVERIFY(!pathExists(getSupportDeviceListFilePath()));
        QCOMPARE(readDict(getUilitiesFilePath()).intValue("currentDeviceType"), 317);
        auto ok = send(makeCommand(COMMAND_GET_DIP_SW));
        QVERIFY(ok && *ok);
    }

    void secondSimulatorDoesNotTakeOver() {
        Sim first(*roots_);
        QVERIFY(first.start());
        Sim second(*roots_);
        QVERIFY(!second.start({QStringLiteral("--model"), QStringLiteral("259")}));
        int status = 0;
        QVERIFY(second.waitForExit(&status));
        QCOMPARE(status, 1);
        QCOMPARE(readDict(getUilitiesFilePath()).intValue("currentDeviceType"), 317);
        QVERIFY(!pathExists(getSettingsFilePath(259)));
        auto ok = send(makeCommand(COMMAND_GET_DIP_SW));
        QVERIFY(ok && *ok);
        QCOMPARE(first.logLines(), QStringList{QStringLiteral("1A")});
    }

    void settingCommandIsRecordedInTheModelsFile_data() {
        QTest::addColumn<int>("model");
        QTest::addColumn<Bytes>("command");
        QTest::addColumn<QString>("logLine");
        QTest::addColumn<QString>("key");
        QTest::addColumn<PlistValue>("expected");
        auto row = [](const char *name, int model, Bytes command, const char *logLine,
                      const char *key, PlistValue expected) {
            QTest::newRow(name) << model << command << QString::fromLatin1(logLine)
                                << QString::fromLatin1(key) << expected;
        };
        row("1 range 70000", 317, makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 70000), "01 70 11",
            "DoubleClickRange", PlistValue(4464));
        row("2 speed 0.25", 317, makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 0.25),
            "02 00 00 00 00 00 00 D0 3F", "DoubleClickRate", PlistValue(0.25));
        row("8 swipe off", 317, makeCommandU16(COMMAND_SET_TWO_FINGER_SWIPE, 0), "08 00 00",
            "TwoFingerSwipe", PlistValue(false));
        row("9 rotation off", 317, makeCommandU16(COMMAND_SET_TWO_FINGER_ROTATION, 0), "09 00 00",
            "TwoFingerRotation", PlistValue(false));
        row("11 pinch off", 317, makeCommandU16(COMMAND_SET_TWO_FINGER_PINCH, 0), "0B 00 00",
            "TwoFingerPinch", PlistValue(false));
        row("13 button 1 off", 317, makeCommandU16(COMMAND_SET_FUNCTION_BUTTON_1, 0), "0D 00 00",
            "FounctionButton1", PlistValue(false));
        row("14 button 2 off", 317, makeCommandU16(COMMAND_SET_FUNCTION_BUTTON_2, 0), "0E 00 00",
            "FounctionButton2", PlistValue(false));
        row("15 input mode 2", 317, makeCommandU16(COMMAND_SET_INPUT_MODE, 2), "0F 02 00",
            "InputMode", PlistValue(2));
        row("16 notice off", 317, makeCommandU16(COMMAND_SET_RESOLUTION_NOTICE, 0), "10 00 00",
            "ShowResolutionNotice", PlistValue(false));
        row("17 eraser off", 317, makeCommandU16(COMMAND_SET_ERASER_AREA_MODE, 0), "11 00 00",
            "EraserAreaMode", PlistValue(false));
        row("18 manual", 317, makeCommandU16(COMMAND_SET_CALIBRATION_TYPE, 1), "12 01 00",
            "CalibrationType", PlistValue(1));
        row("19 simple 2", 317, makeCommandU16(COMMAND_SET_SIMPLE_SETTING_TYPE, 2), "13 02 00",
            "SimpleCalibrationType", PlistValue(2));
        row("21 rotate 3", 317, makeCommandU16(COMMAND_SET_ROTATE_MODE, 3), "15 03 00",
            "RotateMode", PlistValue(3));
        row("23 advance", 317, makeCommandU16(COMMAND_START_ADVANCE_CALIBRATION, 0), "17 00 00",
            "CalibrationType", PlistValue(1));
        row("31 on 317", 317, makeCommandU16(COMMAND_START_ADVANCE_CALIBRATION_2, 0), "1F 00 00",
            "CalibrationType", PlistValue(2));
        row("31 on 259", 259, makeCommandU16(COMMAND_START_ADVANCE_CALIBRATION_2, 0), "1F 00 00",
            "CalibrationType", PlistValue(1));
        row("1 range on 259", 259, makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 48), "01 30 00",
            "DoubleClickRange", PlistValue(48));
    }
    void settingCommandIsRecordedInTheModelsFile() {
        QFETCH(int, model);
        QFETCH(Bytes, command);
        QFETCH(QString, logLine);
        QFETCH(QString, key);
        QFETCH(PlistValue, expected);
        Sim sim(*roots_);
        QVERIFY(sim.start({QStringLiteral("--model"), QString::number(model)}));
        auto ok = send(command);
        QVERIFY(ok && *ok);
        QCOMPARE(sim.logLines(), QStringList{logLine});
        const SettingsDict after = readDict(getSettingsFilePath(model));
        const PlistValue *value = after.find(key.toStdString());
        QVERIFY(value);
        QVERIFY2(*value == expected, "value or its type differs");
        // Every other entry keeps its default.
        SettingsDict expectedFile = settingItemsDefaults();
        expectedFile.set(key.toStdString(), expected);
        QVERIFY(after == expectedFile);
    }

    void otherMessagesLeaveTheSettingsAlone() {
        Sim sim(*roots_);
        QVERIFY(sim.start());
        const auto before = readSmallFile(getSettingsFilePath(317), 1 << 20);
        QVERIFY(before);
        const std::vector<std::pair<QByteArray, QString>> messages = {
            {toBytes(makeCommandU8(COMMAND_SET_CALIBRATION_HOT_KEY, 'K')), "18 4B"},
            {toBytes(makeCommandU8(COMMAND_SET_SIMPLE_SETTING_HOT_KEY, 'J')), "19 4A"},
            {toBytes(makeCommand(COMMAND_GET_CHECKSUM_AND_VERSION)), "1B"},
            {toBytes(makeCommandU8(COMMAND_SET_MOUSE_ACTION, 1)), "1D 01"},
            {toBytes(makeCommandU8(COMMAND_SHOW_MOUSE_INFO, 1)), "1E 01"},
            {toBytes(makeCommand(COMMAND_STOP_CHECK)), "20"},
            {QByteArray(), "(empty)"},
            {QByteArray("\x01\x20", 2), "01 20"},                // range, one byte short
            {QByteArray("\x02\x00\x00\x00", 4), "02 00 00 00"},  // speed, truncated
            {QByteArray("\x03\x01\x00", 3), "03 01 00"},         // a code nobody sends
            {QByteArray("\xFF", 1), "FF"},
        };
        auto daemon = RemoteMessagePort::lookup(QString::fromLatin1(kDaemonPortName));
        QVERIFY(daemon);
        int answered = 0;
        for (const auto &[data, hex] : messages) {
            daemon->sendRequest(0, data, 1.0, 1.0, [&](const PortReply &r) {
                if (r.ok && r.reply.isEmpty()) {
                    ++answered;
                }
            });
        }
        QVERIFY(QTest::qWaitFor([&] { return answered == int(messages.size()); }, 10000));
        QStringList expectedLog;
        for (const auto &m : messages) {
            expectedLog << m.second;
        }
        QCOMPARE(sim.logLines(), expectedLog);
        QCOMPARE(readSmallFile(getSettingsFilePath(317), 1 << 20), before);
    }

    void selfTestIsAnsweredWithTheHardwareType_data() {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("type");
        QTest::newRow("model 317") << QStringList() << 317;
        QTest::newRow("model 259")
            << QStringList{QStringLiteral("--model"), QStringLiteral("259")} << 259;
        QTest::newRow("hardware type given")
            << QStringList{QStringLiteral("--hardware-type"), QStringLiteral("-7")} << -7;
    }
    void selfTestIsAnsweredWithTheHardwareType() {
        QFETCH(QStringList, args);
        QFETCH(int, type);
        Sim sim(*roots_);
        QVERIFY(sim.start(args));
        std::optional<std::optional<std::int32_t>> got;
        QVERIFY(sendStartSelfTest([&](std::optional<std::int32_t> t) { got = t; }));
        QVERIFY(QTest::qWaitFor([&] { return got.has_value(); }, 5000));
        QVERIFY(got->has_value());
        QCOMPARE(**got, type);
        QCOMPARE(sim.logLines(), QStringList{QStringLiteral("1C")});
    }

    void consoleCommandsActAsTheDriverSide_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("paneCode");  // hex of the message on "preferenceCommend"
        QTest::addColumn<QString>("stateKey");  // a key the line changes, with its new value
        QTest::addColumn<PlistValue>("stateValue");
        auto row = [](const char *line, const char *code, const char *key, PlistValue value) {
            QTest::newRow(line) << QString::fromLatin1(line) << QString::fromLatin1(code)
                                << QString::fromLatin1(key) << value;
        };
        row("disconnect", "05", "currentDeviceType", PlistValue(0));
        row("connect", "04", "currentDeviceType", PlistValue(317));
        row("connect 259", "04", "currentDeviceType", PlistValue(259));
        row("driver off", "07", "DriverEnable", PlistValue(false));
        row("driver on", "06", "DriverEnable", PlistValue(true));
        row("reload", "06", "", PlistValue());
        row("page 0", "00", "", PlistValue());
        row("page 3", "03", "", PlistValue());
        row("next", "08", "", PlistValue());
        row("refresh", "", "RefreshCalibrationType", PlistValue(true));
        row("verbose on", "", "VerboseLog", PlistValue(true));
    }
    void consoleCommandsActAsTheDriverSide() {
        QFETCH(QString, line);
        QFETCH(QString, paneCode);
        QFETCH(QString, stateKey);
        QFETCH(PlistValue, stateValue);
        std::vector<QByteArray> paneMessages;
        SettingsDict stateWhenNotified;
        auto pane = LocalMessagePort::create(
            QStringLiteral("preferenceCommend"), [&](qint32, const QByteArray &data) {
                paneMessages.push_back(data);
                stateWhenNotified = readDict(getUilitiesFilePath());
                return QByteArray();
            });
        QVERIFY(pane);
        Sim sim(*roots_);
        QVERIFY(sim.start());
        const QString answer = sim.console(line);
        QVERIFY2(answer.startsWith(QStringLiteral("ok:")), qPrintable(answer));
        if (!paneCode.isEmpty()) {
            QVERIFY(QTest::qWaitFor([&] { return !paneMessages.empty(); }, 5000));
            QCOMPARE(test::hexBytes(paneMessages[0]), paneCode);
        }
        if (!stateKey.isEmpty()) {
            const SettingsDict state = readDict(getUilitiesFilePath());
            const PlistValue *value = state.find(stateKey.toStdString());
            QVERIFY(value);
            QVERIFY(*value == stateValue);
            if (!paneCode.isEmpty()) {
                // The file says so before the pane is told.
                const PlistValue *seen = stateWhenNotified.find(stateKey.toStdString());
                QVERIFY(seen && *seen == stateValue);
            }
        }
        // Nothing else reaches the pane.
        QTest::qWait(50);
        QCOMPARE(paneMessages.size(), size_t(paneCode.isEmpty() ? 0 : 1));
    }

    void badConsoleLinesAreRefusedAndChangeNothing() {
        std::vector<QByteArray> paneMessages;
        auto pane = LocalMessagePort::create(QStringLiteral("preferenceCommend"),
                                             [&](qint32, const QByteArray &data) {
                                                 paneMessages.push_back(data);
                                                 return QByteArray();
                                             });
        QVERIFY(pane);
        Sim sim(*roots_);
        QVERIFY(sim.start());
        const auto before = readSmallFile(getUilitiesFilePath(), 1 << 20);
        for (const char *line :
             {"page 4", "page -1", "page x", "page", "driver maybe", "verbose", "connect 0",
              "delay -5", "vanish 0", "bogus", "disconnect now", "reload 1 2"}) {
            const QString answer = sim.console(QString::fromLatin1(line));
            QVERIFY2(answer.startsWith(QStringLiteral("error:")), line);
        }
        QTest::qWait(50);
        QVERIFY(paneMessages.empty());
        QCOMPARE(readSmallFile(getUilitiesFilePath(), 1 << 20), before);
        // Still serving.
        QVERIFY(sim.console(QStringLiteral("status")).startsWith(QStringLiteral("ok:")));
    }

    void paneAbsentIsReportedNotFatal() {
        Sim sim(*roots_);
        QVERIFY(sim.start());
        const QString answer = sim.console(QStringLiteral("page 1"));
        QVERIFY2(answer.contains(QStringLiteral("absent")), qPrintable(answer));
        QVERIFY(sim.console(QStringLiteral("status")).startsWith(QStringLiteral("ok:")));
    }

    void settingsWaitWhileNoPanelIsConnected() {
        Sim sim(*roots_);
        QVERIFY(sim.start());
        QVERIFY(sim.console(QStringLiteral("disconnect")).startsWith(QStringLiteral("ok:")));
        auto ok = send(makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 99));
        QVERIFY(ok && *ok);
        QCOMPARE(readDict(getSettingsFilePath(317)).intValue("DoubleClickRange"), 32);
        QVERIFY(sim.console(QStringLiteral("connect")).startsWith(QStringLiteral("ok:")));
        ok = send(makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 99));
        QVERIFY(ok && *ok);
        QCOMPARE(readDict(getSettingsFilePath(317)).intValue("DoubleClickRange"), 99);
    }

    // A daemon that never answers: the caller keeps running and learns of the failure once
    // the time-outs have run out; the simulator did receive the command.
    void neverReplyingDaemonDoesNotBlockTheCaller() {
        Sim sim(*roots_);
        QVERIFY(sim.start({QStringLiteral("--never-reply")}));
        int ticks = 0;
        QTimer ticker;
        QObject::connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
        ticker.start(10);
        std::optional<bool> ok;
        int ticksAtOutcome = -1;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(SendDataToRemotePort(makeCommandU16(COMMAND_SET_INPUT_MODE, 1),
                                     [&](bool sent, const QByteArray &) {
                                         ok = sent;
                                         ticksAtOutcome = ticks;
                                     }));
        QCOMPARE(ticks, 0);
        QVERIFY(QTest::qWaitFor([&] { return ok.has_value(); }, 5000));
        QVERIFY(!*ok);
        QVERIFY(ticksAtOutcome > 0);
        QVERIFY(clock.elapsed() < 5000);
        QCOMPARE(sim.logLines(), QStringList{QStringLiteral("0F 01 00")});
        QCOMPARE(readDict(getSettingsFilePath(317)).intValue("InputMode"), 1);
    }

    void delayedAnswerWithinTheTimeoutSucceedsBeyondItFails() {
        Sim sim(*roots_);
        QVERIFY(sim.start({QStringLiteral("--reply-delay"), QStringLiteral("200")}));
        auto ok = send(makeCommand(COMMAND_GET_DIP_SW));
        QVERIFY(ok && *ok);
        QVERIFY(sim.console(QStringLiteral("delay 2600")).startsWith(QStringLiteral("ok:")));
        ok = send(makeCommand(COMMAND_GET_DIP_SW));
        QVERIFY(ok && !*ok);
        QVERIFY(sim.console(QStringLiteral("delay 0")).startsWith(QStringLiteral("ok:")));
        ok = send(makeCommand(COMMAND_GET_DIP_SW));
        QVERIFY(ok && *ok);
    }

    void vanishingDaemonFailsThePendingCommandAndIsGone() {
        Sim sim(*roots_);
        QVERIFY(sim.start({QStringLiteral("--vanish-on"), QStringLiteral("2")}));
        auto ok = send(makeCommandU16(COMMAND_SET_TWO_FINGER_PINCH, 0));
        QVERIFY(ok && *ok);
        ok = send(makeCommandU16(COMMAND_SET_TWO_FINGER_SWIPE, 0));
        QVERIFY(ok && !*ok);
        int status = 0;
        QVERIFY(sim.waitForExit(&status));
        QCOMPARE(status, 3);
        QCOMPARE(sim.logLines(),
                 (QStringList{QStringLiteral("0B 00 00"), QStringLiteral("08 00 00")}));
        // The command it vanished on was not applied.
        const SettingsDict after = readDict(getSettingsFilePath(317));
        QVERIFY(!after.boolValue("TwoFingerPinch"));
        QVERIFY(after.boolValue("TwoFingerSwipe"));
        // Gone: the next command finds no daemon.
        QVERIFY(!SendDataToRemotePort(makeCommand(COMMAND_STOP_CHECK)));
    }

    void vanishAndNoReplyCanBeSwitchedAtRunTime() {
        Sim sim(*roots_);
        QVERIFY(sim.start());
        QVERIFY(sim.console(QStringLiteral("noreply on")).startsWith(QStringLiteral("ok:")));
        QVERIFY(sim.console(QStringLiteral("noreply off")).startsWith(QStringLiteral("ok:")));
        auto ok = send(makeCommand(COMMAND_GET_DIP_SW));
        QVERIFY(ok && *ok);
        QVERIFY(sim.console(QStringLiteral("vanish 1")).startsWith(QStringLiteral("ok:")));
        ok = send(makeCommand(COMMAND_GET_DIP_SW));
        QVERIFY(ok && !*ok);
        int status = 0;
        QVERIFY(sim.waitForExit(&status));
        QCOMPARE(status, 3);
    }

    void quitAndTerminateEndCleanly() {
        {
            Sim sim(*roots_);
            QVERIFY(sim.start());
            QVERIFY(sim.console(QStringLiteral("quit")).startsWith(QStringLiteral("ok:")));
            int status = -1;
            QVERIFY(sim.waitForExit(&status));
            QCOMPARE(status, 0);
            QVERIFY(!RemoteMessagePort::lookup(QString::fromLatin1(kDaemonPortName)));
        }
        Sim sim(*roots_);
        QVERIFY(sim.start());
        sim.process().terminate();
        int status = -1;
        QVERIFY(sim.waitForExit(&status));
        QCOMPARE(status, 0);
    }
};

QTEST_GUILESS_MAIN(SimTest)
#include "sim_test.moc"
