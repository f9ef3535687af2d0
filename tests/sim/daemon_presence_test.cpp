// The command channel against a real simulator process that comes, goes, hangs or dies: the
// daemon's presence follows the bus's announcements without a lookup per command, and a daemon
// that hangs or dies mid-request never blocks or crashes the caller.
#include <QTimer>
#include <QtTest/QtTest>

#include <signal.h>

#include <optional>

#include "commands.h"
#include "daemonchannel.h"
#include "sim_support.h"

using namespace tavix;

namespace {

bool daemonKnown() {
    return RemoteMessagePort::tracked(QString::fromLatin1(kDaemonPortName)).has_value();
}

// Starts a simulator and waits until the bus has announced its port.
bool startSim(test::Sim &sim) {
    return sim.start() && QTest::qWaitFor(daemonKnown, 10000);
}

}  // namespace

class DaemonPresenceTest : public QObject {
    Q_OBJECT

    test::TempRoots roots_;

  private Q_SLOTS:
    // Absent: nothing sent. Present: every command arrives, none costs a lookup. Gone: nothing
    // sent again, once the bus has said so.
    void presenceFollowsTheBusWithoutALookupPerCommand() {
        QVERIFY(!daemonKnown());
        QVERIFY(!SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW)));
        test::Sim sim(roots_);
        QVERIFY(startSim(sim));
        QProcess monitor;
        monitor.start(QStringLiteral("dbus-monitor"), {"--session", "--profile"});
        QVERIFY(monitor.waitForStarted(5000) && monitor.waitForReadyRead(5000));
        // GetNameOwner calls: the lookup a command must not need.
        QByteArray seen;
        const auto lookupsSeen = [&] {
            monitor.waitForReadyRead(200);
            seen += monitor.readAll();
            return seen.count("GetNameOwner");
        };
        const qsizetype lookupsBefore = lookupsSeen();
        int answered = 0;
        for (int i = 0; i < 20; ++i) {
            // A command the simulator answers without a report: its own lookup of the report
            // port would show on the bus too.
            QVERIFY(SendDataToRemotePort(makeCommandU8(COMMAND_SET_MOUSE_ACTION, 0),
                                         [&](bool ok, const QByteArray &) { answered += ok; }));
        }
        QVERIFY(QTest::qWaitFor([&] { return answered == 20; }, 10000));
        QCOMPARE(lookupsSeen(), lookupsBefore);
        monitor.kill();
        monitor.waitForFinished(5000);

        sim.process().kill();
        QVERIFY(sim.process().waitForFinished(5000));
        QVERIFY(QTest::qWaitFor([] { return !daemonKnown(); }, 10000));
        int outcomes = 0;
        QVERIFY(!SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW),
                                      [&](bool, const QByteArray &) { ++outcomes; }));
        QTest::qWait(50);
        QCOMPARE(outcomes, 0);
    }

    // A stopped daemon: sends return at once, the event loop keeps turning while the calls
    // wait; killed then, in the middle of a self-test, it leaves every requester told of the
    // failure and nothing crashed.
    void hungThenKilledDaemonNeverBlocksOrCrashesTheCaller() {
        test::Sim sim(roots_);
        QVERIFY(startSim(sim));
        const auto pid = static_cast<pid_t>(sim.process().processId());
        ::kill(pid, SIGSTOP);
        int ticks = 0, failed = 0;
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
        QTRY_VERIFY2(ticks > 20, "the event loop stood still while calls were pending");
        QCOMPARE(failed, 0);  // still pending
        ::kill(pid, SIGKILL);
        QVERIFY(QTest::qWaitFor([&] { return failed == 50 && heard.has_value(); }, 5000));
        QCOMPARE(*heard, std::optional<std::int32_t>());
        QVERIFY(QTest::qWaitFor([] { return !daemonKnown(); }, 5000));
    }
};

QTEST_GUILESS_MAIN(DaemonPresenceTest)
#include "daemon_presence_test.moc"
