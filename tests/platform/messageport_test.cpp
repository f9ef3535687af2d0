// Message ports on a private bus (ownership, delivery, order, threads) and the daemon channel.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QThread>
#include <QtTest/QtTest>

#include <memory>
#include <thread>
#include <vector>

#include "commands.h"
#include "daemonchannel.h"
#include "messageport.h"

using namespace tavix;

namespace {

const QString kDaemon = QString::fromLatin1(kDaemonPortName);
using HardwareType = std::optional<std::int32_t>;

bool onMainThread() {
    return QThread::currentThread() == QCoreApplication::instance()->thread();
}

QByteArray inverted(QByteArray data) {
    for (char &c : data) {
        c = char(~c);
    }
    return data;
}

// A port that records what arrives and answers with the request's bytes inverted.
struct RecordingPort {
    std::vector<std::pair<qint32, QByteArray>> received;
    bool allOnMainThread = true;
    std::unique_ptr<LocalMessagePort> port;

    bool open(const QString &name) {
        port = LocalMessagePort::create(name, [this](qint32 msgid, const QByteArray &bytes) {
            received.emplace_back(msgid, bytes);
            allOnMainThread = allOnMainThread && onMainThread();
            return inverted(bytes);
        });
        return port != nullptr;
    }
};

// Whether the port's bus name has an owner; "" asks for the number of connections to the bus.
int owners(const QString &port) {
    const QStringList names =
        QDBusConnection::sessionBus().interface()->registeredServiceNames().value();
    return int(port.isEmpty() ? names.filter(QRegularExpression(QStringLiteral("^:"))).size()
                              : names.count(QStringLiteral("io.tavix.MessagePort.") + port));
}

// One request, awaited in the event loop: the reply's bytes, "failed" or "no port".
QByteArray roundTrip(std::optional<RemoteMessagePort> remote, const QByteArray &data) {
    QByteArray outcome;
    if (!remote) {
        return "no port";
    }
    remote->sendRequest(0, data, 1.0, 1.0,
                        [&outcome](const PortReply &r) { outcome = r.ok ? r.reply : "failed"; });
    [[maybe_unused]] const bool done = QTest::qWaitFor([&] { return !outcome.isNull(); });
    return outcome;
}

}  // namespace

class MessagePortTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    // In order, on the main thread, msgid and bytes intact (zero bytes, empty, 64 KiB). A second
    // owner is refused; release frees the name; a stale handle does not follow it.
    void portsDeliverIntactAndInOrderAndOwnTheirName() {
        const QString name = QStringLiteral("preferenceCommend");
        QVERIFY(!RemoteMessagePort::lookup(name));
        RecordingPort first, second;
        QVERIFY(first.open(name));
        QCOMPARE(owners(name), 1);
        QVERIFY(!second.open(name));
        auto stale = RemoteMessagePort::lookup(name);
        QVERIFY(stale && RemoteMessagePort::tracked(name));
        std::vector<std::pair<qint32, QByteArray>> sent = {
            {7, QByteArray()}, {-1, QByteArray("\x00\x01\x00", 3)}, {1, QByteArray(65536, '\xA5')}};
        for (qint32 i = 0; i < 300; ++i) {
            sent.emplace_back(i, QByteArray::number(i));
        }
        std::vector<QByteArray> replies, expected;
        for (const auto &[msgid, data] : sent) {
            expected.push_back(inverted(data));
            stale->sendRequest(msgid, data, 1.0, 1.0, [&](const PortReply &r) {
                replies.push_back(r.ok ? r.reply : QByteArray("failed"));
            });
        }
        QVERIFY(QTest::qWaitFor([&] { return replies.size() == sent.size(); }, 10000));
        QVERIFY(first.received == sent);
        QVERIFY(replies == expected);
        QVERIFY(first.allOnMainThread);
        first.port.reset();
        QVERIFY(!RemoteMessagePort::tracked(name));
        QCOMPARE(owners(name), 0);
        QVERIFY(second.open(name));
        QCOMPARE(roundTrip(stale, "old"), "failed");
        QCOMPARE(roundTrip(RemoteMessagePort::lookup(name), "new"), inverted("new"));
        QVERIFY(second.received == (std::vector<std::pair<qint32, QByteArray>>{{0, "new"}}));
    }

    // One reply per request, on the main thread also for requests sent from a worker thread;
    // none to a dead context, none after the time-out.
    void deferredRepliesArriveOnceOnTheMainThreadAndOnlyToLivingContexts() {
        std::vector<PortResponder> pending;
        auto port = LocalMessagePort::createDeferred(
            QStringLiteral("Later"),
            [&](qint32, const QByteArray &, PortResponder respond) { pending.push_back(respond); });
        auto remote = RemoteMessagePort::lookup(QStringLiteral("Later"));
        QVERIFY(port && remote);
        auto kept = std::make_unique<QObject>(), gone = std::make_unique<QObject>();
        QStringList calls;
        bool allOnMainThread = true;
        const auto note = [&](const char *who) {
            return [&calls, &allOnMainThread, who](const PortReply &r) {
                allOnMainThread = allOnMainThread && onMainThread();
                calls << QString::fromLatin1(who) + ':' +
                             QString::fromLatin1(r.ok ? r.reply : "failed" + r.reply);
            };
        };
        remote->sendRequest(1, "a", 1.0, 1.0, kept.get(), note("kept"));
        remote->sendRequest(2, "b", 1.0, 1.0, gone.get(), note("gone"));
        std::thread([&] { remote->sendRequest(3, "c", 1.0, 1.0, note("worker")); }).join();
        std::thread([&] { remote->sendRequest(4, "d", 0.05, 0.05, note("late")); }).join();
        QVERIFY(QTest::qWaitFor(
            [&] { return pending.size() == 4 && calls.contains("late:failed"); }, 5000));
        gone.reset();
        for (const PortResponder &respond : pending) {
            respond("first");
            respond("second");  // ignored: a request has one reply
        }
        // Replies travel in order: once a later request's reply is here, so are all of theirs.
        remote->sendRequest(5, "e", 1.0, 1.0, note("after"));
        QVERIFY(QTest::qWaitFor([&] { return pending.size() == 5; }, 5000));
        pending.back()("first");
        QVERIFY(QTest::qWaitFor([&] { return calls.contains("after:first"); }, 5000));
        calls.sort();
        QCOMPARE(calls, QStringList({"after:first", "kept:first", "late:failed", "worker:first"}));
        QVERIFY(allOnMainThread);
    }

    // The port goes at once, and so does its own connection to the bus.
    void portDestroyedByItsOwnCallback() {
        const int peers = owners({});
        std::unique_ptr<LocalMessagePort> port;
        port = LocalMessagePort::create(QStringLiteral("SelfDestruct"),
                                        [&](qint32, const QByteArray &) {
                                            port.reset();
                                            return QByteArray("bye");
                                        });
        QCOMPARE(owners({}), peers + 1);
        QCOMPARE(roundTrip(RemoteMessagePort::lookup(QStringLiteral("SelfDestruct")), "x"), "bye");
        QVERIFY(!port);
        QCOMPARE(owners(QStringLiteral("SelfDestruct")), 0);
        QTRY_COMPARE(owners({}), peers);
    }

    // Commands go with msgid 0 and the self-test reply is read as the hardware type; once the
    // daemon falls silent, a command and a self-test fail after both 1 s time-outs.
    void commandsRepliesAndTimeOuts() {
        std::vector<qint32> msgids;
        auto daemon = LocalMessagePort::createDeferred(
            kDaemon, [&](qint32 msgid, const QByteArray &, PortResponder respond) {
                msgids.push_back(msgid);
                if (msgids.size() == 1) {
                    respond(QByteArray("\x3D\x01\0\0", 4));
                }
            });
        QVERIFY(daemon && !SendDataToRemotePort(Bytes{}));
        std::vector<HardwareType> types;
        const auto type = [&](HardwareType t) { types.push_back(t); };
        QVERIFY(sendStartSelfTest(type));
        QVERIFY(QTest::qWaitFor([&] { return !types.empty(); }, 5000));
        QStringList replies;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(
            SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW), [&](bool ok, const QByteArray &) {
                replies << (ok ? QStringLiteral("answered") : QStringLiteral("failed"));
            }));
        QVERIFY(sendStartSelfTest(type));
        QVERIFY(QTest::qWaitFor([&] { return types.size() == 2 && replies.size() == 1; }, 5000));
        // Send plus receive time-out; only loosely bounded above (the wait), for loaded machines.
        QVERIFY2(clock.elapsed() >= 1900, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(replies, QStringList{QStringLiteral("failed")});
        QCOMPARE(types, (std::vector<HardwareType>{317, std::nullopt}));
        QCOMPARE(msgids, std::vector<qint32>(3, 0));
    }
};

QTEST_GUILESS_MAIN(MessagePortTest)
#include "messageport_test.moc"
