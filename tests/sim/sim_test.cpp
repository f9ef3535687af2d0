// The panel simulator as a process (files, console, replies, reports, faults) on a private bus.
#include <QtTest/QtTest>

#include <signal.h>

#include <memory>
#include <optional>

#include "atomic_file.h"
#include "commands.h"
#include "daemonchannel.h"
#include "hardware_reports.h"
#include "settings_store.h"
#include "sim_support.h"

using namespace tavix;
using test::Sim;

namespace {

SettingsDict readDict(const std::string &path) {
    return readPlistFile(path).value_or(SettingsDict());
}

// Sends a command in hex: the reply in hex, "unanswered" (in 0.5 s), or "absent" (no daemon).
QString send(const QString &hex) {
    const auto daemon = RemoteMessagePort::lookup(QString::fromLatin1(kDaemonPortName));
    if (!daemon) {
        return QStringLiteral("absent");
    }
    std::optional<QString> reply;
    daemon->sendRequest(0, QByteArray::fromHex(hex.toLatin1()), 0.25, 0.25,
                        [&](const PortReply &r) {
                            reply = r.ok ? test::hexBytes(r.reply) : QStringLiteral("unanswered");
                        });
    [[maybe_unused]] const bool done = QTest::qWaitFor([&] { return reply.has_value(); }, 10000);
    return reply.value_or(QString());
}

}  // namespace

class SimTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<test::TempRoots> roots_;
    static bool known() { return RemoteMessagePort::tracked(kDaemonPortName).has_value(); }

  private Q_SLOTS:
    void initTestCase() { test::useShippedFolderName(); }
    void init() { roots_ = std::make_unique<test::TempRoots>(); }
    void cleanup() { roots_.reset(); }

    // The command channel as the daemon comes, hangs and dies: presence, no waits, failures.
    void presenceFollowsTheBusWithoutALookupPerCommand() {
        QVERIFY(!known() && !SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW)));
        Sim sim(*roots_);
        QVERIFY(sim.start() && QTest::qWaitFor(known, 10000));
        int answered = 0;
        const auto count = [&](bool ok, const QByteArray &) { answered += ok; };
        // The first command sets up what every later one reuses.
        QVERIFY(SendDataToRemotePort(makeCommandU8(COMMAND_SET_MOUSE_ACTION, 0), count));
        QVERIFY(QTest::qWaitFor([&] { return answered == 1; }, 10000));
        // Owner queries and match rules on the bus: the set-up a command must not repeat.
        QProcess monitor;
        monitor.start(QStringLiteral("dbus-monitor"), {"--session", "--profile"});
        QVERIFY(monitor.waitForStarted(5000) && monitor.waitForReadyRead(5000));
        QByteArray seen;
        const auto lookups = [&] {
            monitor.waitForReadyRead(200);
            seen += monitor.readAll();
            return seen.count("\tGetNameOwner") + seen.count("\tAddMatch");
        };
        const qsizetype before = lookups();
        for (int i = 0; i < 20; ++i) {  // answered without a report, so without a lookup of its own
            QVERIFY(SendDataToRemotePort(makeCommandU8(COMMAND_SET_MOUSE_ACTION, 0), count));
        }
        QVERIFY(QTest::qWaitFor([&] { return answered == 21; }, 10000));
        QCOMPARE(lookups(), before);
        monitor.kill();
        monitor.waitForFinished(5000);

        // Stopped, it cannot answer before it is killed: sends return at once and the event
        // loop keeps turning while the calls wait.
        const auto pid = static_cast<pid_t>(sim.process.processId());
        ::kill(pid, SIGSTOP);
        int failed = 0, ticks = 0;
        QTimer ticker;
        QObject::connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
        ticker.start(5);
        for (int i = 0; i < 50; ++i) {
            QVERIFY(SendDataToRemotePort(makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 32 + i),
                                         [&](bool ok, const QByteArray &) { failed += !ok; }));
        }
        std::optional<std::optional<std::int32_t>> heard;
        QObject page;
        QVERIFY(sendStartSelfTest(&page, [&](std::optional<std::int32_t> t) { heard = t; }));
        QCOMPARE(ticks, 0);  // every send returned without waiting
        QVERIFY2(QTest::qWaitFor([&] { return ticks > 20; }, 1000), "the event loop stood still");
        ::kill(pid, SIGKILL);
        QVERIFY(QTest::qWaitFor([&] { return failed == 50 && heard.has_value(); }, 5000));
        QCOMPARE(*heard, std::optional<std::int32_t>());
        QVERIFY(QTest::qWaitFor([] { return !known(); }, 5000));
        QVERIFY(!SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW)));
    }

    // A bad option value ends it with status 2, nothing written; the lowest good values start it.
    void commandLineOptions() {
        const QString lowest = QStringLiteral(
            "--model 1 --dip-byte 0 --faulty-led 1:0 --faulty-sensor 255:* --incomplete-runs 0 "
            "--left-out-areas 1 --reply-delay 0 --vanish-on 1 --hardware-type -1");
        const QString refused = QStringLiteral(
            "--model 0;--reply-delay -1;--vanish-on 0;--dip-byte 256;--firmware 5a3c000124;"
            "--faulty-led 0:1;--faulty-sensor 1:256;--faulty-led 1;--incomplete-runs -1;"
            "--left-out-areas 0;--folder-name a/b;--bogus;extra;");
        for (const QString &args : (refused + lowest).split(u';')) {
            roots_ = std::make_unique<test::TempRoots>();
            Sim sim(*roots_);
            QVERIFY2(sim.start(qPrintable(args)) == (args == lowest), qPrintable(args));
            QVERIFY2(args == lowest || sim.exitCode() == 2, qPrintable(args));
            QCOMPARE(pathExists(getUilitiesFilePath()), args == lowest);
        }
    }

    // The defaults of its options; a second simulator finds the port owned, writes nothing and
    // leaves the first serving.
    void startAnnouncesThePanelAndCreatesItsFiles() {
        Sim sim(*roots_);
        QVERIFY(sim.start());
        // What an option left out means.
        QCOMPARE(sim.console(QStringLiteral("status")),
                 QStringLiteral("ok: model 317, connected, 0 commands received, delay 0 ms, "
                                "answering, vanish on never; 0 self-test runs, 0 reports sent, "
                                "button reports off"));
        Sim second(*roots_);
        QVERIFY(!second.start("--model 259"));
        QCOMPARE(second.exitCode(), 1);
        QVERIFY(!pathExists(getSettingsFilePath(259)));
        // A missing state file gets the pane's defaults around the two keys.
        SettingsDict state = utilitiesDefaults();
        state.set("currentDeviceType", PlistValue(317));
        state.set("DriverEnable", PlistValue(true));
        QCOMPARE(readDict(getUilitiesFilePath()), state);
        QCOMPARE(readDict(getSettingsFilePath(317)), settingItemsDefaults());
        // The sample lists are installed byte for byte.
        for (const auto &[name, target] :
             {std::pair{"DeviceList.plist", getSupportDeviceListFilePath()},
              std::pair{"SupportResolutionList.plist", getSupportResolutionListFilePath()}}) {
            QCOMPARE(readSmallFile(target, 1 << 20).value_or("none"),
                     readSmallFile(std::string(TAVIX_DATA_DIR "/") + name, 1 << 20).value());
        }
        // A hot key, queries, an empty and a malformed message: answered with no data, logged.
        QStringList sent;
        for (const char *hex : {"18 4B", "1A", "1D 01", "20", "", "01 20"}) {
            QCOMPARE(send(QLatin1String(hex)), QString());
            sent << (*hex ? QLatin1String(hex) : QLatin1String("(empty)"));
        }
        QCOMPARE(sim.log(), sent);
    }

    // Started on files of its own, it merges into the state file and keeps the device list. The
    // pane hears each code after the state file says so (code/model, driver + or -); refused
    // lines change nothing and tell the pane nothing.
    void consoleCommandsActAsTheDriverSide() {
        SettingsDict state;
        state.set("currentPageIndex", PlistValue(2));
        state.set("DriverEnable", PlistValue(false));
        QVERIFY(writePlistFileAtomically(state, getUilitiesFilePath()));
        const std::string ownList = "<?xml version=\"1.0\"?><plist><array/></plist>";
        QVERIFY(writeFileAtomically(getSupportDeviceListFilePath(), ownList));
        Sim sim(*roots_);
        QVERIFY(sim.start("--model 259 --dip-byte 0xFF"));  // the highest DIP switch byte too
        state.set("DriverEnable", PlistValue(true));
        state.set("currentDeviceType", PlistValue(259));
        QCOMPARE(readDict(getUilitiesFilePath()), state);
        QCOMPARE(readSmallFile(getSupportDeviceListFilePath(), 4096).value_or(""), ownList);
        QCOMPARE(send(QStringLiteral("1C")), QStringLiteral("03 01 00 00"));
        // The second manual calibration is recorded as the first on this model.
        QCOMPARE(send(QStringLiteral("1F 00 00")), QString());
        QCOMPARE(readDict(getSettingsFilePath(259)).intValue("CalibrationType"), 1);
        // Without the pane's port, a line that notifies it is answered, not fatal.
        QCOMPARE(sim.console(QStringLiteral("page 1")),
                 QStringLiteral("ok: \"preferenceCommend\" absent, code 01 not sent"));
        test::Recorder pane(kPreferencePortName);
        QStringList heard;
        pane.onMessage = [&] {
            const SettingsDict now = readDict(getUilitiesFilePath());
            heard << QStringLiteral("%1/%2%3")
                         .arg(pane.messages.back())
                         .arg(now.intValue("currentDeviceType"))
                         .arg(QChar(now.boolValue("DriverEnable") ? u'+' : u'-'));
        };
        QVERIFY(
            sim.ok(QStringLiteral("disconnect; connect; disconnect; connect 317; driver off; "
                                  "driver on; reload; page 0; page 3; next; refresh; "
                                  "verbose on")));
        QTRY_COMPARE(heard.join(u' '), QStringLiteral("05/0+ 04/259+ 05/0+ 04/317+ 07/317- "
                                                      "06/317+ 06/317+ 00/317+ 03/317+ 08/317+"));
        const auto before = readSmallFile(getUilitiesFilePath(), 1 << 20);
        QVERIFY(readPlistFile(getUilitiesFilePath())->boolValue("RefreshCalibrationType"));
        QVERIFY(readPlistFile(getUilitiesFilePath())->boolValue("VerboseLog"));
        for (const char *line :
             {"page 4",         "page -1",    "page x",        "page",        "driver maybe",
              "verbose",        "connect 0",  "delay -5",      "vanish 0",    "bogus",
              "disconnect now", "reload 1 2", "incomplete -1", "fault led 1", "fault pen 1:1",
              "faults",         "dip 256",    "firmware 12",   "short maybe", "buttons 1 2",
              "flood 0"}) {
            QVERIFY2(sim.console(QString::fromLatin1(line)).startsWith(QStringLiteral("error:")),
                     line);
        }
        QCOMPARE(readSmallFile(getUilitiesFilePath(), 1 << 20), before);
        // Still serving, and nothing reached the pane before this line's message.
        QVERIFY(sim.ok(QStringLiteral("page 2")));
        QTRY_COMPARE(heard.size(), 11);
        QCOMPARE(heard.back(), QStringLiteral("02/317+"));
    }

    // Steps: a console line, "TERM" for the signal, or a range command ("+" answered, "-"
    // failed) whose value counts the commands sent; "range" is where the settings file ends.
    void faultsDisconnectionAndExit() {
        const struct {
            const char *args, *steps;
            int range, exitCode;  // exit code -1: still running
        } rows[] = {
            // Unanswered, yet received and applied.
            {"--never-reply", "-", 1, -1},
            {"--reply-delay 100", "+, delay 1000, -, delay 0, +", 3, -1},
            // The command it vanishes on is not applied, and the port is gone.
            {"--vanish-on 2", "+, -", 1, 3},
            // Once the panel is back, settings apply again.
            {"", "disconnect, connect, +", 1, -1},
            {"", "+, quit", 1, 0},
            {"", "+, TERM", 1, 0},
        };
        for (const auto &row : rows) {
            qInfo("%s: %s", row.args, row.steps);
            roots_ = std::make_unique<test::TempRoots>();
            Sim sim(*roots_);
            QVERIFY(sim.start(row.args));
            QStringList sent;
            for (const QString &step : QString::fromLatin1(row.steps).split(QStringLiteral(", "))) {
                if (step == QLatin1String("+") || step == QLatin1String("-")) {
                    sent << QStringLiteral("01 0%1 00").arg(sent.size() + 1);
                    QCOMPARE(send(sent.back()),
                             step == QLatin1String("+") ? QString() : QStringLiteral("unanswered"));
                } else if (step == QLatin1String("TERM")) {
                    sim.process.terminate();
                } else {
                    QVERIFY2(sim.console(step).startsWith(QStringLiteral("ok:")), qPrintable(step));
                }
            }
            QCOMPARE(sim.log(), sent);
            QCOMPARE(readDict(getSettingsFilePath(317)).intValue("DoubleClickRange"), row.range);
            if (row.exitCode >= 0) {
                QCOMPARE(sim.exitCode(), row.exitCode);
                QCOMPARE(send(QStringLiteral("20")), QStringLiteral("absent"));
            }
        }
    }

    // Reports byte for byte; a step: console lines, or ">" and a command in hex with its answer.
    void hardwareReportsByteForByte() {
        test::writeSmallDeviceList();
        Sim sim(*roots_);
        QVERIFY(sim.start(
            "--faulty-led 1:2 --faulty-sensor 2:* --incomplete-runs 1 --left-out-areas 1"));
        test::Recorder page(kHardwareInfoPortName);
        const struct {
            const char *step, *answer, *reports;
        } rows[] = {
            // Records: area, point, two bytes, LED state << 4 | sensor state, two bytes.
            {">1C", "3D 01 00 00", "01 02 01 00 00 01 00 00"},  // area 1 left out
            {">1C", "3D 01 00 00",
             "01 01 01 00 00 00 00 00 01 02 00 00 10 00 00 02 01 00 00 01 00 00"},
            {"faults clear; fault sensor 1:1; fault led 2:*; incomplete 1", "", ""},
            {">1C", "3D 01 00 00", "01 02 01 00 00 10 00 00"},
            {">1C", "3D 01 00 00",
             "01 01 01 00 00 01 00 00 01 02 00 00 00 00 00 02 01 00 00 10 00 00"},
            {"dip 0x81; firmware 1122334455AA; >1A", "", "00 81"},
            {"flood 5", "", "00 00|06 11 22 33 44 55 AA|18 00 00 01|01|00 04"},
            {"buttons 1 0 2; >1E 01", "", "18 01 00 02"},
            {">1E 00; buttons cycle; >1E 01", "", "18 01 00 00|18 00 01 00"},
        };
        for (const auto &row : rows) {
            const QString step = QString::fromLatin1(row.step);
            const qsizetype before = page.messages.size();
            for (const QString &line : step.split(QStringLiteral("; "))) {
                if (line.startsWith(u'>')) {
                    QCOMPARE(send(line.mid(1)), QLatin1String(row.answer));
                } else {
                    QVERIFY2(sim.console(line).startsWith(QStringLiteral("ok:")), row.step);
                }
            }
            const QString reports = QString::fromLatin1(row.reports);
            const qsizetype count = reports.isEmpty() ? 0 : reports.count(u'|') + 1;
            QTRY_COMPARE(page.messages.mid(before, count).join(u'|'), reports);
        }
        QVERIFY(sim.console(QStringLiteral("status"))
                    .startsWith(QStringLiteral("ok: model 317, connected, 8 commands received, "
                                               "delay 0 ms, answering, vanish on never; 4 "
                                               "self-test runs, ")));
    }
};

QTEST_GUILESS_MAIN(SimTest)
#include "sim_test.moc"
