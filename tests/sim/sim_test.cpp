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

    // A second simulator finds the port owned, writes nothing and leaves the first serving.
    void startAnnouncesThePanelAndCreatesItsFiles() {
        Sim sim(*roots_);
        QVERIFY(sim.start());
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
        for (const char *line : {"disconnect", "connect", "disconnect", "connect 317", "driver off",
                                 "driver on", "reload", "page 0", "page 3", "next"}) {
            const qsizetype n = heard.size();  // each heard before the file changes again
            QVERIFY(sim.ok(QString::fromLatin1(line)));
            QTRY_COMPARE(heard.size(), n + 1);
        }
        QVERIFY(sim.ok(QStringLiteral("refresh; verbose on")));
        QCOMPARE(heard.join(u' '), QStringLiteral("05/0+ 04/259+ 05/0+ 04/317+ 07/317- 06/317+ "
                                                  "06/317+ 00/317+ 03/317+ 08/317+"));
        const auto before = readSmallFile(getUilitiesFilePath(), 1 << 20);
        QVERIFY(readPlistFile(getUilitiesFilePath())->boolValue("RefreshCalibrationType"));
        QVERIFY(readPlistFile(getUilitiesFilePath())->boolValue("VerboseLog"));
        for (const char *line : {"page 4", "driver maybe", "verbose", "connect 0"}) {
            QVERIFY2(!sim.ok(QString::fromLatin1(line)), line);
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

    // Console sessions and the reports they make, compared whole with tests/sim/expected/
    // console.txt (its opening comment says how it reads; TAVIX_UPDATE_EXPECTED=1 rewrites it).
    void consoleTranscript() {
        const QString file = QStringLiteral(TAVIX_EXPECTED_DIR "/console.txt");
        const QStringList expected =
            QString::fromStdString(readSmallFile(file.toStdString(), 1 << 20).value_or(""))
                .split(u'\n');
        QStringList actual;
        std::unique_ptr<Sim> sim;
        std::unique_ptr<test::Recorder> page;
        qsizetype heard = 0;
        const auto reports = [&](qsizetype upTo) {  // what the page heard since the last look
            for (; page && heard < upTo; ++heard) {
                actual << QStringLiteral("@ ") + page->messages[heard];
            }
        };
        for (qsizetype i = 0; i < expected.size(); ++i) {
            const QString &line = expected[i], rest = line.mid(2);
            if (line.startsWith(u'@') && page) {  // waits for as many as the file shows here
                qsizetype n = 1;
                while (i + n < expected.size() && expected[i + n].startsWith(u'@')) {
                    ++n;
                }
                [[maybe_unused]] const bool all =
                    QTest::qWaitFor([&] { return page->messages.size() >= heard + n; }, 2000);
                i += n - 1;
                reports(std::min(heard + n, page->messages.size()));
                continue;
            }
            if (page && (line.startsWith(u'$') || line.startsWith(u'>'))) {
                reports(page->messages.size());  // none unless the file shows them
            }
            if (line.startsWith(QStringLiteral("! "))) {  // a new simulator on fresh files
                page.reset();
                sim.reset();
                roots_ = std::make_unique<test::TempRoots>();
                test::writeSmallDeviceList();
                sim = std::make_unique<Sim>(*roots_);
                QVERIFY2(sim->start(qPrintable(rest)), qPrintable(line));
                page = std::make_unique<test::Recorder>(kHardwareInfoPortName);
                heard = 0;
                actual << line;
            } else if (line.startsWith(QStringLiteral("$ ")) && sim) {
                actual << line << sim->console(rest).split(u'\n');
            } else if (line.startsWith(QStringLiteral("> ")) && sim) {
                const QString reply = send(rest);
                actual << line
                       << QStringLiteral("< ") + (reply.isEmpty() ? QStringLiteral("-") : reply);
            } else if (line.startsWith(u'#') || line.isEmpty()) {
                actual << line;
            }
        }
        if (qEnvironmentVariableIsSet("TAVIX_UPDATE_EXPECTED")) {
            QVERIFY(writeFileAtomically(file.toStdString(), actual.join(u'\n').toStdString()));
        }
        for (qsizetype i = 0; i < std::max(expected.size(), actual.size()); ++i) {
            QVERIFY2(expected.value(i) == actual.value(i),
                     qPrintable(QStringLiteral("line %1: %2").arg(i + 1).arg(actual.value(i))));
        }
    }
};

QTEST_GUILESS_MAIN(SimTest)
#include "sim_test.moc"
