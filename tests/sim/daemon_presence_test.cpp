// The command channel as the simulated daemon comes, hangs and dies: presence, no waits, failures.
#include <QtTest/QtTest>

#include <signal.h>

#include <optional>

#include "commands.h"
#include "daemonchannel.h"
#include "sim_support.h"

using namespace tavix;

class DaemonPresenceTest : public QObject {
    Q_OBJECT

    test::TempRoots roots_;
    static bool known() { return RemoteMessagePort::tracked(kDaemonPortName).has_value(); }

  private Q_SLOTS:
    void presenceFollowsTheBusWithoutALookupPerCommand() {
        QVERIFY(!known() && !SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW)));
        test::Sim sim(roots_);
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
};

QTEST_GUILESS_MAIN(DaemonPresenceTest)
#include "daemon_presence_test.moc"
