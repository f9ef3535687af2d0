// The command channel against a simulator that comes, hangs and dies: presence follows the bus
// without a lookup per command; a daemon killed mid-request fails every pending request.
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

}  // namespace

class DaemonPresenceTest : public QObject {
    Q_OBJECT

    test::TempRoots roots_;

  private Q_SLOTS:
    void presenceFollowsTheBusWithoutALookupPerCommand() {
        QVERIFY(!daemonKnown());
        QVERIFY(!SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW)));
        test::Sim sim(roots_);
        QVERIFY(sim.start() && QTest::qWaitFor(daemonKnown, 10000));
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
        QVERIFY(QTest::qWaitFor([] { return !daemonKnown(); }, 5000));
        QVERIFY(!SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW)));
    }
};

QTEST_GUILESS_MAIN(DaemonPresenceTest)
#include "daemon_presence_test.moc"
