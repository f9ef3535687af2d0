// The command channel against a real simulator process that comes, goes, hangs or dies: the
// daemon's presence follows the bus's announcements without a lookup per command, and a daemon
// that hangs or dies mid-request never blocks or crashes the caller.
#include <QProcess>
#include <QTimer>
#include <QtTest/QtTest>

#include <signal.h>

#include <memory>
#include <optional>

#include "commands.h"
#include "daemonchannel.h"
#include "messageport.h"
#include "test_support.h"

using namespace tavix;

namespace {

const QString kDaemon = QString::fromLatin1(kDaemonPortName);

bool daemonKnown() {
    return RemoteMessagePort::tracked(kDaemon).has_value();
}

// A simulator process, started with `args`, waited for until the bus has announced its port.
struct SimProcess {
    QProcess process;

    bool start(const QStringList &args = {}) {
        process.start(QStringLiteral(TAVIX_PANEL_SIM), QStringList{"--quiet"} + args);
        return process.waitForStarted(5000) && QTest::qWaitFor(daemonKnown, 10000);
    }
    void signal(int sig) const { ::kill(static_cast<pid_t>(process.processId()), sig); }
    ~SimProcess() {
        if (process.state() != QProcess::NotRunning) {
            signal(SIGCONT);
            process.kill();
            process.waitForFinished(5000);
        }
    }
};

// GetNameOwner calls (the lookup a command must not need) that dbus-monitor has seen so far.
int lookupsSeen(QProcess &monitor) {
    monitor.waitForReadyRead(200);
    static QByteArray seen;
    seen += monitor.readAll();
    return static_cast<int>(seen.count("GetNameOwner"));
}

}  // namespace

class DaemonPresenceTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<test::TempRoots> roots_;

  private Q_SLOTS:
    void init() { roots_ = std::make_unique<test::TempRoots>(); }
    void cleanup() { roots_.reset(); }

    // Absent: nothing sent. Present: every command arrives, none costs a lookup. Gone: nothing
    // sent again, once the bus has said so.
    void presenceFollowsTheBusWithoutALookupPerCommand() {
        QVERIFY(!daemonKnown());
        QVERIFY(!SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW)));
        SimProcess sim;
        QVERIFY(sim.start());
        QProcess monitor;
        monitor.start(QStringLiteral("dbus-monitor"), {"--session", "--profile"});
        QVERIFY(monitor.waitForStarted(5000) && monitor.waitForReadyRead(5000));
        const int lookupsBefore = lookupsSeen(monitor);
        int answered = 0;
        for (int i = 0; i < 20; ++i) {
            // A command the simulator answers without a report: its own lookup of the report
            // port would show on the bus too.
            QVERIFY(SendDataToRemotePort(makeCommandU8(COMMAND_SET_MOUSE_ACTION, 0),
                                         [&](bool ok, const QByteArray &) { answered += ok; }));
        }
        QVERIFY(QTest::qWaitFor([&] { return answered == 20; }, 10000));
        QCOMPARE(lookupsSeen(monitor), lookupsBefore);
        monitor.kill();
        monitor.waitForFinished(5000);

        sim.process.kill();
        sim.process.waitForFinished(5000);
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
        SimProcess sim;
        QVERIFY(sim.start());
        sim.signal(SIGSTOP);
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
        QTest::qWait(300);
        QVERIFY2(ticks > 20, "the event loop stood still while calls were pending");
        sim.signal(SIGKILL);
        QVERIFY(QTest::qWaitFor([&] { return failed == 50 && heard.has_value(); }, 5000));
        QCOMPARE(*heard, std::optional<std::int32_t>());
        QVERIFY(QTest::qWaitFor([] { return !daemonKnown(); }, 5000));
    }
};

QTEST_GUILESS_MAIN(DaemonPresenceTest)
#include "daemon_presence_test.moc"
