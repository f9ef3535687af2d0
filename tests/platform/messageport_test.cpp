// Message ports on a private session bus: naming, ownership, delivery, order, threads.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QThread>
#include <QTimer>
#include <QtTest/QtTest>

#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "messageport.h"
#include "test_support.h"

using namespace tavix;

namespace {

struct Received {
    qint32 msgid;
    QByteArray data;
    bool onMainThread;
};

// A port that records what arrives and answers with a fixed reply.
struct RecordingPort {
    std::vector<Received> received;
    QByteArray reply;
    std::unique_ptr<LocalMessagePort> port;

    bool open(const QString &name) {
        port = LocalMessagePort::create(name, [this](qint32 msgid, const QByteArray &data) {
            received.push_back(
                {msgid, data, QThread::currentThread() == QCoreApplication::instance()->thread()});
            return reply;
        });
        return port != nullptr;
    }
};

bool nameHasOwner(const QString &port) {
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(
        QStringLiteral("io.tavix.MessagePort.") + port);
}

// Sends one request and waits (turning the event loop) for its outcome.
std::optional<PortReply> roundTrip(const QString &port, qint32 msgid, const QByteArray &data,
                                   double timeout = 1.0) {
    auto remote = RemoteMessagePort::lookup(port);
    if (!remote) {
        return std::nullopt;
    }
    std::optional<PortReply> outcome;
    remote->sendRequest(msgid, data, timeout, timeout,
                        [&outcome](const PortReply &r) { outcome = r; });
    if (!QTest::qWaitFor([&] { return outcome.has_value(); }, 10000)) {
        return std::nullopt;
    }
    return outcome;
}

}  // namespace

class MessagePortTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<test::TempRoots> roots_;

  private Q_SLOTS:
    void initTestCase() {
        roots_ = std::make_unique<test::TempRoots>();
        QVERIFY2(QDBusConnection::sessionBus().isConnected(), "the test needs a session bus");
    }

    void lookupFindsOnlyOwnedNames() {
        QVERIFY(!RemoteMessagePort::lookup(QStringLiteral("NobodyHere")));
        RecordingPort port;
        QVERIFY(port.open(QStringLiteral("Somebody")));
        QVERIFY(nameHasOwner(QStringLiteral("Somebody")));
        auto remote = RemoteMessagePort::lookup(QStringLiteral("Somebody"));
        QVERIFY(remote);
        QCOMPARE(remote->name(), QStringLiteral("Somebody"));
        QCOMPARE(port.port->name(), QStringLiteral("Somebody"));
        // A name that merely shares a prefix is another port.
        QVERIFY(!RemoteMessagePort::lookup(QStringLiteral("Some")));
    }

    void requestAndReplyBytesArriveIntact_data() {
        QTest::addColumn<qint32>("msgid");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QByteArray>("reply");
        QTest::newRow("one byte") << 0 << QByteArray("\x05", 1) << QByteArray();
        QTest::newRow("empty request") << 7 << QByteArray() << QByteArray("x");
        QTest::newRow("zero bytes inside")
            << -1 << QByteArray("\x00\x01\x00", 3) << QByteArray("\x00\x00\x00\x00", 4);
        QTest::newRow("msgid SBQT") << 0x53425154 << QByteArray("SBQT") << QByteArray("SBQT");
        QTest::newRow("64 KiB") << 1 << QByteArray(65536, '\xA5') << QByteArray(65536, '\x5A');
    }
    void requestAndReplyBytesArriveIntact() {
        QFETCH(qint32, msgid);
        QFETCH(QByteArray, data);
        QFETCH(QByteArray, reply);
        RecordingPort port;
        port.reply = reply;
        QVERIFY(port.open(QStringLiteral("Echo")));
        auto outcome = roundTrip(QStringLiteral("Echo"), msgid, data);
        QVERIFY(outcome);
        QVERIFY(outcome->ok);
        QCOMPARE(outcome->reply, reply);
        QCOMPARE(port.received.size(), size_t{1});
        QCOMPARE(port.received[0].msgid, msgid);
        QCOMPARE(port.received[0].data, data);
        QVERIFY(port.received[0].onMainThread);
    }

    void portWithoutCallbackRepliesEmpty() {
        auto port = LocalMessagePort::create(QStringLiteral("Silent"), PortCallback());
        QVERIFY(port);
        auto outcome = roundTrip(QStringLiteral("Silent"), 0, QByteArray("\x01", 1));
        QVERIFY(outcome);
        QVERIFY(outcome->ok);
        QVERIFY(outcome->reply.isEmpty());
    }

    void nameOwnedElsewhereIsNotTaken() {
        RecordingPort first;
        QVERIFY(first.open(QStringLiteral("preferenceCommend")));
        RecordingPort second;
        QVERIFY(!second.open(QStringLiteral("preferenceCommend")));
        // The owner is untouched by the failed attempt and keeps serving.
        auto outcome = roundTrip(QStringLiteral("preferenceCommend"), 0, QByteArray("\x02", 1));
        QVERIFY(outcome && outcome->ok);
        QCOMPARE(first.received.size(), size_t{1});
        QVERIFY(second.received.empty());
    }

    void releaseGivesTheNameBack() {
        RecordingPort port;
        QVERIFY(port.open(QStringLiteral("HardwareInfoFromDaemon")));
        port.port.reset();
        QVERIFY(!nameHasOwner(QStringLiteral("HardwareInfoFromDaemon")));
        QVERIFY(!RemoteMessagePort::lookup(QStringLiteral("HardwareInfoFromDaemon")));
        RecordingPort again;
        QVERIFY(again.open(QStringLiteral("HardwareInfoFromDaemon")));
        auto outcome = roundTrip(QStringLiteral("HardwareInfoFromDaemon"), 0, QByteArray("\x18"));
        QVERIFY(outcome && outcome->ok);
        QCOMPARE(again.received.size(), size_t{1});
    }

    void twoPortsInOneProcessEachGetTheirOwnRequests() {
        RecordingPort a, b;
        a.reply = "a";
        b.reply = "b";
        QVERIFY(a.open(QStringLiteral("PortA")));
        QVERIFY(b.open(QStringLiteral("PortB")));
        auto toA = roundTrip(QStringLiteral("PortA"), 1, "to a");
        auto toB = roundTrip(QStringLiteral("PortB"), 2, "to b");
        QVERIFY(toA && toB);
        QCOMPARE(toA->reply, QByteArray("a"));
        QCOMPARE(toB->reply, QByteArray("b"));
        QCOMPARE(a.received.size(), size_t{1});
        QCOMPARE(a.received[0].data, QByteArray("to a"));
        QCOMPARE(b.received.size(), size_t{1});
        QCOMPARE(b.received[0].data, QByteArray("to b"));
    }

    void requestsKeepTheirOrder() {
        RecordingPort port;
        QVERIFY(port.open(QStringLiteral("Ordered")));
        auto remote = RemoteMessagePort::lookup(QStringLiteral("Ordered"));
        QVERIFY(remote);
        constexpr int kCount = 300;
        std::vector<qint32> replyOrder;
        for (qint32 i = 0; i < kCount; ++i) {
            remote->sendRequest(i, QByteArray::number(i), 1.0, 1.0,
                                [&replyOrder, i](const PortReply &r) {
                                    if (r.ok) {
                                        replyOrder.push_back(i);
                                    }
                                });
        }
        QVERIFY(QTest::qWaitFor([&] { return replyOrder.size() == size_t{kCount}; }, 10000));
        QCOMPARE(port.received.size(), size_t{kCount});
        for (qint32 i = 0; i < kCount; ++i) {
            QCOMPARE(port.received[static_cast<size_t>(i)].msgid, i);
            QCOMPARE(port.received[static_cast<size_t>(i)].data, QByteArray::number(i));
            QCOMPARE(replyOrder[static_cast<size_t>(i)], i);
        }
    }

    void replyOfARequestFromAWorkerThreadRunsOnTheMainThread() {
        RecordingPort port;
        port.reply = "done";
        QVERIFY(port.open(QStringLiteral("Threaded")));
        std::optional<PortReply> outcome;
        bool callbackOnMain = false;
        std::thread worker([&] {
            auto remote = RemoteMessagePort::lookup(QStringLiteral("Threaded"));
            if (remote) {
                remote->sendRequest(3, "from worker", 1.0, 1.0, [&](const PortReply &r) {
                    callbackOnMain =
                        QThread::currentThread() == QCoreApplication::instance()->thread();
                    outcome = r;
                });
            }
        });
        worker.join();
        QVERIFY(QTest::qWaitFor([&] { return outcome.has_value(); }, 10000));
        QVERIFY(outcome->ok);
        QCOMPARE(outcome->reply, QByteArray("done"));
        QVERIFY(callbackOnMain);
        QCOMPARE(port.received.size(), size_t{1});
        QVERIFY(port.received[0].onMainThread);
    }

    void deferredReplyArrivesLaterAndOnlyOnce() {
        PortResponder kept;
        auto port = LocalMessagePort::createDeferred(
            QStringLiteral("Later"),
            [&kept](qint32, const QByteArray &, PortResponder respond) { kept = respond; });
        QVERIFY(port);
        auto remote = RemoteMessagePort::lookup(QStringLiteral("Later"));
        QVERIFY(remote);
        int outcomes = 0;
        PortReply last;
        remote->sendRequest(0, "q", 1.0, 1.0, [&](const PortReply &r) {
            ++outcomes;
            last = r;
        });
        QVERIFY(QTest::qWaitFor([&] { return bool(kept); }, 5000));
        QCOMPARE(outcomes, 0);
        kept("first");
        kept("second");  // ignored: a request has one reply
        QVERIFY(QTest::qWaitFor([&] { return outcomes > 0; }, 5000));
        QTest::qWait(50);
        QCOMPARE(outcomes, 1);
        QVERIFY(last.ok);
        QCOMPARE(last.reply, QByteArray("first"));
    }

    void unansweredRequestFailsAtItsTimeoutWithoutBlocking() {
        auto port = LocalMessagePort::createDeferred(
            QStringLiteral("Mute"), [](qint32, const QByteArray &, PortResponder) {});
        QVERIFY(port);
        auto remote = RemoteMessagePort::lookup(QStringLiteral("Mute"));
        QVERIFY(remote);
        int ticks = 0;
        QTimer ticker;
        QObject::connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
        ticker.start(5);
        std::optional<PortReply> outcome;
        int ticksAtOutcome = -1;
        QElapsedTimer clock;
        clock.start();
        remote->sendRequest(0, "q", 0.1, 0.1, [&](const PortReply &r) {
            outcome = r;
            ticksAtOutcome = ticks;
        });
        QCOMPARE(ticks, 0);  // sendRequest returned before the event loop ran at all
        QVERIFY(QTest::qWaitFor([&] { return outcome.has_value(); }, 5000));
        QVERIFY(!outcome->ok);
        QVERIFY(outcome->reply.isEmpty());
        QVERIFY2(ticksAtOutcome > 0, "the event loop did not turn while the request was pending");
        QVERIFY(clock.elapsed() < 5000);
    }

    void portDestroyedByItsOwnCallback() {
        std::unique_ptr<LocalMessagePort> port;
        int calls = 0;
        port = LocalMessagePort::create(QStringLiteral("SelfDestruct"),
                                        [&](qint32, const QByteArray &) {
                                            ++calls;
                                            port.reset();
                                            return QByteArray("bye");
                                        });
        QVERIFY(port);
        auto remote = RemoteMessagePort::lookup(QStringLiteral("SelfDestruct"));
        QVERIFY(remote);
        std::optional<PortReply> outcome;
        remote->sendRequest(0, "x", 1.0, 1.0, [&](const PortReply &r) { outcome = r; });
        QVERIFY(QTest::qWaitFor([&] { return outcome.has_value(); }, 10000));
        QCOMPARE(calls, 1);
        QVERIFY(!port);
        QVERIFY(!nameHasOwner(QStringLiteral("SelfDestruct")));
        // A request after the release finds no port at all.
        QVERIFY(!RemoteMessagePort::lookup(QStringLiteral("SelfDestruct")));
    }

    void remoteHandleDoesNotFollowANewOwner() {
        auto first = std::make_unique<RecordingPort>();
        QVERIFY(first->open(QStringLiteral("Reborn")));
        auto stale = RemoteMessagePort::lookup(QStringLiteral("Reborn"));
        QVERIFY(stale);
        first.reset();
        RecordingPort second;
        QVERIFY(second.open(QStringLiteral("Reborn")));
        std::optional<PortReply> outcome;
        stale->sendRequest(0, "old", 1.0, 1.0, [&](const PortReply &r) { outcome = r; });
        QVERIFY(QTest::qWaitFor([&] { return outcome.has_value(); }, 10000));
        QVERIFY(!outcome->ok);
        QVERIFY(second.received.empty());
        auto fresh = roundTrip(QStringLiteral("Reborn"), 0, "new");
        QVERIFY(fresh && fresh->ok);
        QCOMPARE(second.received.size(), size_t{1});
    }

    void portOnADisconnectedBusIsNotCreated() {
        QDBusConnection dead(QStringLiteral("no-such-connection"));
        QVERIFY(!dead.isConnected());
        QVERIFY(!LocalMessagePort::create(QStringLiteral("Nowhere"), PortCallback(), dead));
        QVERIFY(!RemoteMessagePort::lookup(QStringLiteral("Nowhere"), dead));
    }
};

QTEST_GUILESS_MAIN(MessagePortTest)
#include "messageport_test.moc"
