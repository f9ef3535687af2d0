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
        process.start(QStringLiteral(TAVIX_PANEL_SIM),
                      QStringList{QStringLiteral("--quiet")} + args);
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

// dbus-monitor on the test's bus, counting GetNameOwner calls (the lookup a command must not
// need).
struct BusMonitor {
    QProcess process;
    bool start() {
        process.start(QStringLiteral("dbus-monitor"),
                      {QStringLiteral("--session"), QStringLiteral("--profile")});
        return process.waitForStarted(5000) &&
               QTest::qWaitFor([this] { return process.bytesAvailable() > 0; }, 5000);
    }
    int lookups() {
        process.waitForReadyRead(200);
        buffer_ += process.readAll();
        return static_cast<int>(buffer_.count("GetNameOwner"));
    }
    ~BusMonitor() {
        process.kill();
        process.waitForFinished(5000);
    }

  private:
    QByteArray buffer_;
};

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
        BusMonitor monitor;
        QVERIFY(monitor.start());
        const int lookupsBefore = monitor.lookups();
        int answered = 0;
        for (int i = 0; i < 20; ++i) {
            QVERIFY(SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW),
                                         [&](bool ok, const QByteArray &) { answered += ok; }));
        }
        QVERIFY(QTest::qWaitFor([&] { return answered == 20; }, 10000));
        QCOMPARE(monitor.lookups(), lookupsBefore);

        sim.process.kill();
        sim.process.waitForFinished(5000);
        QVERIFY(QTest::qWaitFor([] { return !daemonKnown(); }, 10000));
        int outcomes = 0;
        QVERIFY(!SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW),
                                      [&](bool, const QByteArray &) { ++outcomes; }));
        QTest::qWait(50);
        QCOMPARE(outcomes, 0);
    }

    // A stopped daemon: sends return at once, the event loop keeps turning, and every pending
    // call ends by its time-out instead of piling up.
    void hungDaemonNeverBlocksTheCaller() {
        SimProcess sim;
        QVERIFY(sim.start());
        sim.signal(SIGSTOP);
        int ticks = 0;
        QTimer ticker;
        QObject::connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
        ticker.start(5);
        constexpr int kSends = 50;
        int failed = 0, succeeded = 0, ticksAtFirstOutcome = -1;
        for (int i = 0; i < kSends; ++i) {
            QVERIFY(SendDataToRemotePort(makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 32 + i),
                                         [&](bool ok, const QByteArray &) {
                                             (ok ? succeeded : failed) += 1;
                                             if (ticksAtFirstOutcome < 0) {
                                                 ticksAtFirstOutcome = ticks;
                                             }
                                         }));
        }
        QCOMPARE(ticks, 0);  // every send returned without waiting
        QVERIFY(QTest::qWaitFor([&] { return failed + succeeded == kSends; }, 10000));
        QCOMPARE(failed, kSends);
        QVERIFY2(ticksAtFirstOutcome > 20, "the event loop stood still while calls were pending");
    }

    // A daemon killed while a self-test request waits for its answer: the requester hears of
    // the failure, a requester that is gone hears nothing, and nothing crashes.
    void daemonKilledDuringASelfTest() {
        SimProcess sim;
        QVERIFY(sim.start({QStringLiteral("--never-reply")}));
        std::optional<std::optional<std::int32_t>> heard;
        int heardByGone = 0;
        auto page = std::make_unique<QObject>();
        auto gonePage = std::make_unique<QObject>();
        QVERIFY(sendStartSelfTest(page.get(), [&](std::optional<std::int32_t> t) { heard = t; }));
        QVERIFY(
            sendStartSelfTest(gonePage.get(), [&](std::optional<std::int32_t>) { ++heardByGone; }));
        QTest::qWait(100);
        gonePage.reset();
        sim.signal(SIGKILL);
        QVERIFY(QTest::qWaitFor([&] { return heard.has_value(); }, 5000));
        QCOMPARE(*heard, std::optional<std::int32_t>());
        QTest::qWait(100);
        QCOMPARE(heardByGone, 0);
        QVERIFY(QTest::qWaitFor([] { return !daemonKnown(); }, 5000));
    }
};

QTEST_GUILESS_MAIN(DaemonPresenceTest)
#include "daemon_presence_test.moc"
