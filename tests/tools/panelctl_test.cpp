// tavix-panelctl on a private bus, against the panel simulator or a stand-in reporting daemon.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest/QtTest>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "commands.h"
#include "daemonchannel.h"
#include "hardware_reports.h"
#include "settings_store.h"
#include "sim_support.h"

using namespace tavix;
using test::Sim;

namespace {

struct Outcome {
    int exit = -1;
    QString out;
    QString err;
};

// Runs the tool while this process keeps serving its own ports.
Outcome runTool(const QString &line) {
    QProcess tool;
    tool.start(QStringLiteral(TAVIX_PANELCTL), line.split(u' ', Qt::SkipEmptyParts));
    if (!QTest::qWaitFor([&] { return tool.state() == QProcess::NotRunning; }, 15000)) {
        return {};  // QProcess kills it
    }
    return {tool.exitStatus() == QProcess::NormalExit ? tool.exitCode() : -1,
            QString::fromUtf8(tool.readAllStandardOutput()),
            QString::fromUtf8(tool.readAllStandardError())};
}

// The daemon's part for the hardware queries: answers each command (the self-test with
// hardware type 259), then sends the reports the test gives for its code to the report port.
struct ReportingDaemon {
    std::map<int, std::vector<QByteArray>> reports;
    std::map<int, int> calls;
    std::unique_ptr<LocalMessagePort> port = LocalMessagePort::create(
        QString::fromLatin1(kDaemonPortName), [this](qint32, const QByteArray &data) {
            const int code = data.isEmpty() ? -1 : static_cast<std::uint8_t>(data[0]);
            ++calls[code];
            QTimer::singleShot(0, [toSend = reports[code]] {
                auto target = RemoteMessagePort::lookup(QString::fromLatin1(kHardwareInfoPortName));
                for (const QByteArray &report : toSend) {
                    if (target) {
                        target->sendRequest(0, report, 1.0, 1.0);
                    }
                }
            });
            return code == COMMAND_START_SELF_TEST ? QByteArray::fromHex("03010000") : QByteArray();
        });
};

void writeState(int model) {
    SettingsDict state = utilitiesDefaults();
    state.set("currentDeviceType", PlistValue(model));
    QVERIFY(writePlistFileAtomically(state, getUilitiesFilePath()));
    QVERIFY(writePlistFileAtomically(settingItemsDefaults(), getSettingsFilePath(model)));
    QVERIFY(QFile::copy(QStringLiteral(TAVIX_DATA_DIR "/DeviceList.plist"),
                        QString::fromStdString(getSupportDeviceListFilePath())));
}

// A loopback TCP port that nothing listens on at the moment of asking.
int freePort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    const auto *generic = reinterpret_cast<sockaddr *>(&address);
    const bool ok = ::bind(fd, generic, size) == 0 &&
                    ::getsockname(fd, const_cast<sockaddr *>(generic), &size) == 0;
    ::close(fd);
    return ok ? ntohs(address.sin_port) : 0;
}

// A program's exit status and standard output.
Outcome runProgram(const QString &program, const QStringList &args) {
    QProcess process;
    process.start(program, args);
    if (!process.waitForFinished(15000)) {
        return {};
    }
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

}  // namespace

class PanelCtlTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<test::TempRoots> roots_;

  private Q_SLOTS:
    void initTestCase() { test::useShippedFolderName(); }
    void init() { roots_ = std::make_unique<test::TempRoots>(); }
    void cleanup() { roots_.reset(); }

    // Each line's exit status, output (for a refusal: part of the one error line), the bytes the
    // simulator receives, and the one entry that changes in the model's file.
    void commandsSendTheirBytesAndTheDriverRecordsThem() {
        Sim sim(*roots_);
        QVERIFY(sim.start("--dip-byte 0xF7 --firmware 341200230141 --faulty-led 1:2"));
        const struct {
            const char *line;
            int exit;
            const char *bytes, *text, *key;
            PlistValue value;
        } rows[] = {
            {"set range 8", 0, "01 08 00", "", "DoubleClickRange", 8},
            {"set range 128", 0, "01 80 00", "", "DoubleClickRange", 128},
            {"set speed 0.75", 0, "02 00 00 00 00 00 00 E8 3F", "", "DoubleClickRate", 0.75},
            {"set swipe off", 0, "08 00 00", "", "TwoFingerSwipe", false},
            {"set two-finger-rotation off", 0, "09 00 00", "", "TwoFingerRotation", false},
            {"set pinch off", 0, "0B 00 00", "", "TwoFingerPinch", false},
            {"set button1 off", 0, "0D 00 00", "", "FounctionButton1", false},
            {"set button2 on", 0, "0E 01 00", "", "FounctionButton2", true},
            {"set input-mode pen", 0, "0F 02 00", "", "InputMode", 2},
            {"set resolution-notice off", 0, "10 00 00", "", "ShowResolutionNotice", false},
            {"set eraser-area off", 0, "11 00 00", "", "EraserAreaMode", false},
            {"set calibration-type manual", 0, "12 01 00", "", "CalibrationType", 1},
            {"set simple-setting 2", 0, "13 02 00", "", "SimpleCalibrationType", 2},
            {"set rotation 270", 0, "15 03 00", "", "RotateMode", 3},
            {"calibrate start --second", 0, "1F 00 00", "", "CalibrationType", 2},  // on 317 only
            {"calibrate start", 0, "17 00 00", "", "CalibrationType", 1},
            // The tool stores the hot keys as the Calibration page does.
            {"hotkey calibration k", 0, "18 4B", "", "CalibrationHotKey", std::string("K")},
            {"hotkey simple 7", 0, "19 37", "", "SimpleHotKey", std::string("7")},
            {"get range", 0, "", "128\n", "", {}},
            {"get swipe", 0, "", "off\n", "", {}},
            {"get speed --json", 0, "", "{\"speed\":0.75}\n", "", {}},
            {"set range 7", 2, "", "from 8 to 128", "", {}},
            {"set range 4x", 2, "", "from 8 to 128", "", {}},
            {"set speed 0.29", 2, "", "0.30 to 1.00", "", {}},
            {"set swipe yes", 2, "", "on, off", "", {}},
            {"set rotation 45", 2, "", "0, 90, 180, 270", "", {}},
            {"set volume 3", 2, "", "valid names: range, speed", "", {}},
            {"set range", 2, "", "set takes NAME VALUE", "", {}},
            {"calibrate stop", 2, "", "calibrate takes", "", {}},
            {"hotkey calibration 7", 2, "", "already the simple hot key", "", {}},
            {"hotkey calibration ab", 2, "", "one ASCII letter or digit", "", {}},
            {"hotkey pen A", 2, "", "unknown hot key \"pen\"; valid: calibration, simple", "", {}},
            {"get volume", 2, "", "unknown setting \"volume\"", "", {}},
            {"page 4", 2, "", "valid: 0, 1, 2, 3, calibration", "", {}},
            {"set --range 40", 2, "", "unknown option --range", "", {}},
            {"reboot", 2, "", "commands: status, get, set", "", {}},
            {"", 2, "", "missing command", "", {}},
            {"status now", 2, "", "takes no arguments", "", {}},
            {"set range 40 --second", 2, "", "--second belongs to", "", {}},
            {"dip --timeout 0", 2, "", "--timeout takes", "", {}},
            {"report x.json", 2, "", "report takes --json FILE or --html FILE", "", {}},
            {"report --json", 2, "", "report takes --json FILE", "", {}},
            {"report --json /nonexistent/r.json",
             1,
             "1A|1B|1C",
             "cannot write /nonexistent",
             "",
             {}},
        };
        SettingsDict expected = settingItemsDefaults();
        for (const auto &row : rows) {
            const qsizetype before = sim.log().size();
            const Outcome o = runTool(QString::fromUtf8(row.line));
            const QString text = QString::fromUtf8(row.text);
            QVERIFY2(o.exit == row.exit && (row.exit == 0 ? o.out == text : o.err.contains(text)),
                     qPrintable(QStringLiteral("%1: exit %2, %3%4")
                                    .arg(QLatin1String(row.line))
                                    .arg(o.exit)
                                    .arg(o.out, o.err)));
            QCOMPARE(sim.log().mid(before).join(u'|'), QString::fromLatin1(row.bytes));
            QCOMPARE(o.err.count(u'\n'), row.exit == 0 ? 0 : 1);
            if (*row.key) {
                expected.set(row.key, row.value);
            }
            QVERIFY2(readPlistFile(getSettingsFilePath(317)) == expected, row.line);
        }
        const Outcome status = runTool(QStringLiteral("status"));
        QVERIFY(status.out.startsWith(
            QStringLiteral("model: 317 (Tavix TX-317)\ndaemon: running\ndriver: enabled\npage: 0 "
                           "(Calibration)\n")));
        // The saved report holds what the simulated panel answered.
        const QString json = roots_->path(QStringLiteral("report.json"));
        const QString html = roots_->path(QStringLiteral("report.html"));
        QCOMPARE(runTool(QStringLiteral("report --json ") + json).exit, 0);
        QCOMPARE(runTool(QStringLiteral("report --html ") + html).exit, 0);
        QFile file(json);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QJsonObject report = QJsonDocument::fromJson(file.readAll()).object();
        QCOMPARE(report["modelType"].toInt(), 317);
        QCOMPARE(report["dipSwitches"][0].toInt(), 1);
        QCOMPARE(report["checksum"].toString(), QStringLiteral("1234"));
        // Loopback at least is always up, so the address list is never empty.
        QVERIFY(!report["addresses"].toArray().isEmpty());
        QCOMPARE(report["selfTest"]["failedPoints"].toArray().size(), 1);
        QCOMPARE(report["selfTest"]["failedPoints"][0]["point"].toInt(), 2);
        const std::string page = readSmallFile(html.toStdString(), 1 << 20).value_or("");
        QVERIFY(page.find("<html") != std::string::npos && page.find("1234") != std::string::npos);
    }

    // Without a daemon, commands that need it are refused and change nothing, while page and
    // watch work on the files; a daemon that does not answer ends in "no reply".
    void withoutADaemonOrItsReply() {
        writeState(317);
        QProcess watch;
        watch.start(QStringLiteral(TAVIX_PANELCTL), {QStringLiteral("watch")});
        QVERIFY(watch.waitForStarted());
        const auto stored = readPlistFile(getSettingsFilePath(317));
        for (const char *line :
             {"set range 40", "calibrate start", "hotkey calibration Q", "dip", "selftest"}) {
            const Outcome o = runTool(QLatin1String(line));
            QCOMPARE(o.exit, 3);
            QCOMPARE(o.err, QStringLiteral("tavix-panelctl: the driver daemon is not running\n"));
        }
        QCOMPARE(readPlistFile(getSettingsFilePath(317)), stored);  // the hot key was not stored
        QVERIFY(
            runTool(QStringLiteral("status")).out.contains(QStringLiteral("daemon: not running")));
        // By now watch has read the files it compares against.
        QCOMPARE(runTool(QStringLiteral("page hardware")).exit, 0);
        QCOMPARE(readPlistFile(getUilitiesFilePath())->intValue("currentPageIndex"), 2);
        test::Recorder pane(kPreferencePortName);
        QCOMPARE(runTool(QStringLiteral("page 3")).exit, 0);
        QCOMPARE(pane.messages, QStringList{QStringLiteral("03")});
        SettingsDict change;
        change.set("DoubleClickRange", PlistValue(99));
        QVERIFY(saveSettingItemsToPlist(change, getSettingsFilePath(317)));
        QVERIFY(QTest::qWaitFor([&] { return watch.bytesAvailable() > 80; }, 5000));
        watch.terminate();
        QVERIFY(watch.waitForFinished(5000));
        QCOMPARE(watch.exitCode(), 0);
        QCOMPARE(QString::fromUtf8(watch.readAllStandardOutput()),
                 QStringLiteral("Utilities.plist currentPageIndex: 0 -> 2\n"
                                "Settings_317.plist DoubleClickRange: 32 -> 99\n"));

        Sim sim(*roots_);
        QVERIFY(sim.start("--vanish-on 1"));  // leaves without answering
        const Outcome silent = runTool(QStringLiteral("set range 40"));
        QCOMPARE(silent.exit, 4);
        QVERIFY(silent.err.contains(QStringLiteral("no reply")));
    }

    void hardwareReportsAreDecoded() {
        writeState(259);
        ReportingDaemon daemon;
        QVERIFY(daemon.port);
        const auto hex = [](const char *h) { return QByteArray::fromHex(h); };
        daemon.reports[COMMAND_GET_DIP_SW] = {hex("00f7")};
        // Another report type first: passed over.
        daemon.reports[COMMAND_GET_CHECKSUM_AND_VERSION] = {hex("00"), hex("063412002301ff")};
        // Two reports of records (area, point, LED, sensor) make one run.
        daemon.reports[COMMAND_START_SELF_TEST] = {
            hex("01 01010000000000 01020000100000 02010000010000"),
            hex("01 03010000110000 04010000000000 045b0000110000")};
        const std::pair<const char *, const char *> rows[] = {
            {"dip", "DIP switches 1-8: 1 0 0 0 0 0 0 0\n"},
            {"dip --json", "{\"dipSwitches\":[1,0,0,0,0,0,0,0]}\n"},
            {"firmware", "firmware version: 1.23\nchecksum: 1234 (OK)\n"},
            {"selftest",
             "self-test of Tavix TX-259 (hardware type 259)\n"
             "  Top: LED check, sensor OK (2 points)\n"
             "  Bottom: LED OK, sensor all failed (1 points)\n"
             "  Left: LED all failed, sensor all failed (1 points)\n"
             "  Right: LED OK, sensor OK (1 points)\n"
             "  fault: Top point 2: LED\n"
             "  fault: Bottom point 1: sensor\n"
             "  fault: Left point 1: LED sensor\n"},
        };
        for (const auto &[line, expected] : rows) {
            const Outcome o = runTool(QLatin1String(line));
            QVERIFY2(o.exit == 0, qPrintable(o.err));
            QCOMPARE(o.out, QLatin1String(expected));
        }
        // A run that misses areas is repeated, ten runs in all; each starts from no records.
        daemon.reports[COMMAND_START_SELF_TEST] = {hex("01 01010000000000 02010000010000")};
        daemon.calls.clear();
        const QJsonObject repeated =
            QJsonDocument::fromJson(
                runTool(QStringLiteral("selftest --json --timeout 100")).out.toUtf8())
                .object();
        QCOMPARE(repeated[QStringLiteral("missingAreas")].toInt(), 2);
        QCOMPARE(repeated[QStringLiteral("areas")][0][QStringLiteral("tested")].toInt(), 1);
        QCOMPARE(daemon.calls[COMMAND_START_SELF_TEST], 10);
        // Too short for its layout: ignored, so no report comes in time.
        daemon.reports[COMMAND_GET_DIP_SW] = {hex("00")};
        QCOMPARE(runTool(QStringLiteral("dip --timeout 100")).exit, 4);
        // The settings window's Hardware information page holds the report port.
        auto window =
            LocalMessagePort::create(QString::fromLatin1(kHardwareInfoPortName),
                                     [](qint32, const QByteArray &) { return QByteArray(); });
        const Outcome held = runTool(QStringLiteral("firmware"));
        QCOMPARE(held.exit, 1);
        QVERIFY(held.err.contains(QStringLiteral("settings window holds the port")));
    }

    // Each profile in turn against the simulator: exit status, the bytes it receives, the lines
    // printed (for a refusal: part of the error). A refusal sends nothing, even when other
    // entries of the profile are good.
    void profilesApplyOnlyWhatDiffers() {
        Sim sim(*roots_);
        QVERIFY(sim.start());
        const char *differ =
            "{\"model\":317,\"settings\":{\"range\":40,\"swipe\":false},\"hotkeys\":{"
            "\"calibration\":\"K\"}}";
        const char *changes = "range: 32 -> 40\nswipe: on -> off\ncalibration-hotkey: C -> K\n";
        const char *other = "{\"model\":259,\"settings\":{\"range\":50}}";
        const struct {
            const char *profile, *options;
            int exit;
            const char *bytes, *text;
        } rows[] = {
            {differ, "--check", 5, "", changes},
            {differ, "", 0, "01 28 00|08 00 00|18 4B", changes},
            {differ, "", 0, "", ""},  // the second time nothing differs
            {differ, "--check", 0, "", ""},
            {other, "", 2, "", "profile is for model 259"},
            {other, "--check --any-model", 5, "", "range: 40 -> 50\n"},
            {"{\"model\":317,\"settings\":{\"range\":50,\"speed\":1.5}}", "", 2, "", "speed"},
            {"{\"model\":317,\"settings\":{\"range\":7}}", "", 2, "", "from 8 to 128"},
            {"{\"model\":317,\"settings\":{\"swipe\":\"on\"}}", "", 2, "", "on, off"},
            {"{\"model\":317,\"settings\":{\"volume\":3}}", "", 2, "",
             "unknown setting \"volume\""},
            {"{\"model\":317,\"colour\":1}", "", 2, "", "unknown key \"colour\""},
            {"{\"model\":317,\"hotkeys\":{\"pen\":\"A\"}}", "", 2, "", "unknown hot key"},
            {"{\"model\":317,\"hotkeys\":{\"simple\":\"K\"}}", "", 2, "", "must differ"},
            {"{\"settings\":{\"range\":50}}", "", 2, "", "no whole-number \"model\""},
            {"{\"model\":317,", "", 2, "", "not a profile"},
            // Swapped hot keys: the pair differs in the end, so both are sent.
            {"{\"model\":317,\"hotkeys\":{\"simple\":\"K\",\"calibration\":\"S\"}}", "", 0,
             "18 53|19 4B", "calibration-hotkey: K -> S\nsimple-hotkey: S -> K\n"},
        };
        const QString file = roots_->path(QStringLiteral("profile.json"));
        for (const auto &row : rows) {
            QVERIFY(writeFileAtomically(file.toStdString(), row.profile));
            const qsizetype before = sim.log().size();
            const Outcome o =
                runTool(QStringLiteral("apply %1 %2").arg(file, QLatin1String(row.options)));
            const QString text = QString::fromUtf8(row.text);
            QVERIFY2(o.exit == row.exit && (row.exit == 2 ? o.err.contains(text) : o.out == text),
                     qPrintable(QStringLiteral("%1: exit %2, %3%4")
                                    .arg(QLatin1String(row.profile))
                                    .arg(o.exit)
                                    .arg(o.out, o.err)));
            QCOMPARE(sim.log().mid(before).join(u'|'), QString::fromLatin1(row.bytes));
        }
        // The hot keys are stored where the Calibration page reads them.
        const auto stored = readPlistFile(getSettingsFilePath(317));
        QCOMPARE(stored->stringValue("CalibrationHotKey"), std::string("S"));
        QCOMPARE(stored->stringValue("SimpleHotKey"), std::string("K"));
        // What export writes, apply takes back without a change.
        QCOMPARE(runTool(QStringLiteral("export --output ") + file).exit, 0);
        const Outcome again = runTool(QStringLiteral("apply --check ") + file);
        QCOMPARE(again.exit, 0);
        const QJsonObject exported =
            QJsonDocument::fromJson(readSmallFile(file.toStdString(), 1 << 16)->c_str()).object();
        QCOMPARE(exported["settings"]["range"].toInt(), 40);
        QCOMPARE(exported["settings"]["swipe"].toBool(), false);
        QCOMPARE(exported["hotkeys"]["simple"].toString(), QStringLiteral("K"));
    }

    // The metrics file in each state of the daemon and panel, as node_exporter's textfile
    // collector serves it: every series the row names appears, those it rules out do not,
    // and promtool finds the file valid.
    void metricsReachNodeExporter() {
        writeState(317);
        // A name that needs escaping in a label value.
        const std::string list = readSmallFile(getSupportDeviceListFilePath(), 1 << 20).value();
        const std::string plain = "Tavix TX-317";
        std::string odd = list;
        odd.replace(odd.find(plain), plain.size(), "Tavix \"TX\"\n\\317");
        QVERIFY(writeFileAtomically(getSupportDeviceListFilePath(), odd));
        const QString folder = roots_->path(QStringLiteral("textfile"));
        QVERIFY(QDir().mkpath(folder));
        const int port = freePort();
        QVERIFY(port != 0);
        QProcess exporter;
        exporter.start(
            QStringLiteral(TAVIX_NODE_EXPORTER),
            {QStringLiteral("--collector.disable-defaults"), QStringLiteral("--collector.textfile"),
             QStringLiteral("--collector.textfile.directory=") + folder,
             QStringLiteral("--web.listen-address=127.0.0.1:%1").arg(port)});
        const QString url = QStringLiteral("http://127.0.0.1:%1/metrics").arg(port);
        const auto scrape = [&] {
            return runProgram(QStringLiteral(TAVIX_CURL), {QStringLiteral("-sf"), url}).out;
        };
        QVERIFY(QTest::qWaitFor([&] { return !scrape().isEmpty(); }, 10000));

        std::unique_ptr<Sim> sim;
        const struct {
            const char *sim;  // nullptr: no daemon; "": the running one; else start with these
            const char *console, *options;
            QStringList present, absent;
        } rows[] = {
            {nullptr,
             "",
             "",
             {"tavix_daemon_up 0", "tavix_panel_connected 1",
              "model=\"317\",name=\"Tavix \\\"TX\\\"\\n\\\\317\"}"},
             {"tavix_panel_dip_switch", "firmware="}},
            {"--faulty-led 1:2 --dip-byte 0xF7",
             "",
             "--selftest",
             {"tavix_daemon_up 1",
              "checksum=\"3c5a\",driver_version=\"0.8.0.3\",firmware=\"1.24c\",model=\"317\"",
              "tavix_panel_dip_switch{switch=\"1\"} 1", "tavix_panel_dip_switch{switch=\"8\"} 0",
              "tavix_selftest_failed_points{kind=\"led\"} 1",
              "tavix_selftest_failed_points{kind=\"sensor\"} 0",
              "tavix_selftest_area_ok{area=\"Top 1\",kind=\"led\"} 0",
              "tavix_selftest_area_ok{area=\"Top 2\",kind=\"led\"} 1",
              "tavix_panel_firmware_checksum_ok 1", "tavix_selftest_last_run_timestamp_seconds 1.",
              "tavix_metrics_errors 0"},
             {}},
            {"",
             "disconnect",
             "",
             {"tavix_panel_connected 0", "tavix_daemon_up 1"},
             {"tavix_panel_info", "tavix_selftest"}},
            {"--never-reply",
             "",
             "--timeout 200",
             {"tavix_daemon_up 1", "tavix_metrics_errors 2"},
             {"tavix_panel_dip_switch", "firmware="}},
        };
        const QString file = folder + QStringLiteral("/tavix-panel.prom");
        for (const auto &row : rows) {
            if (row.sim == nullptr || *row.sim != '\0') {
                sim.reset();
            }
            if (row.sim != nullptr && *row.sim != '\0') {
                sim = std::make_unique<Sim>(*roots_);
                QVERIFY(sim->start(row.sim));
                QCOMPARE(sim->console(QStringLiteral("connect")).left(3), QStringLiteral("ok:"));
            }
            if (*row.console) {
                QCOMPARE(sim->console(QLatin1String(row.console)).left(3), QStringLiteral("ok:"));
            }
            const Outcome o = runTool(
                QStringLiteral("metrics --output %1 %2").arg(file, QLatin1String(row.options)));
            QCOMPARE(o.exit, 0);
            QCOMPARE(o.out, QString());
            QProcess check;
            check.start(QStringLiteral(TAVIX_PROMTOOL),
                        {QStringLiteral("check"), QStringLiteral("metrics")});
            check.write(readSmallFile(file.toStdString(), 1 << 20).value().c_str());
            check.closeWriteChannel();
            QVERIFY(check.waitForFinished(15000));
            QVERIFY2(check.exitCode() == 0, check.readAllStandardOutput().constData());
            const QString served = scrape();
            QVERIFY(served.contains(QStringLiteral("node_textfile_scrape_error 0")));
            for (const QString &line : row.present) {
                QVERIFY2(served.contains(line), qPrintable(line + QLatin1Char('\n') + served));
            }
            for (const QString &line : row.absent) {
                QVERIFY2(!served.contains(line), qPrintable(line));
            }
        }
        exporter.terminate();
        QVERIFY(exporter.waitForFinished(5000));
    }
};

QTEST_GUILESS_MAIN(PanelCtlTest)
#include "panelctl_test.moc"
