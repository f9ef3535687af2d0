// The daemon command channel against a daemon port on a private session bus.
#include <QElapsedTimer>
#include <QtTest/QtTest>

#include <optional>
#include <utility>
#include <vector>

#include "commands.h"
#include "daemonchannel.h"
#include "messageport.h"
#include "test_support.h"

using namespace tavix;

const QString kDaemon = QString::fromLatin1(kDaemonPortName);
using HardwareType = std::optional<std::int32_t>;

class DaemonChannelTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    // In order, byte for byte, replies to their callers; nothing kept while the daemon is absent.
    void commandsReachOnlyAPresentDaemon() {
        int outcomes = 0;
        const auto count = [&](bool, const QByteArray &) { ++outcomes; };
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!SendDataToRemotePort(makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 32), count));
        QVERIFY(!sendStartSelfTest([&](HardwareType) { ++outcomes; }));
        QVERIFY2(clock.elapsed() < 1000, "the caller waited for an absent daemon");
        // The daemon records every command (msgid, bytes) and answers with the next reply.
        const QList<QByteArray> answers = {"range", "speed", "DIP",
                                           QByteArray("\x3D\x01\x00\x00", 4)};
        std::vector<std::pair<qint32, QByteArray>> received;
        auto daemon = LocalMessagePort::create(kDaemon, [&](qint32 msgid, const QByteArray &data) {
            received.emplace_back(msgid, data);
            return answers.value(int(received.size()) - 1);
        });
        QVERIFY(daemon);
        QVERIFY(!SendDataToRemotePort(Bytes{}, count));
        QStringList replies;
        const auto record = [&](bool ok, const QByteArray &r) {
            replies << (ok ? QString::fromLatin1(r) : QStringLiteral("failed"));
        };
        std::vector<HardwareType> types;
        QVERIFY(
            SendDataToRemotePort(makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 70000), record));
        QVERIFY(
            SendDataToRemotePort(makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 0.5), record));
        QVERIFY(SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW)));
        QVERIFY(sendStartSelfTest([&](HardwareType t) { types.push_back(t); }));
        QVERIFY(QTest::qWaitFor([&] { return !types.empty(); }, 5000));
        QCOMPARE(outcomes, 0);
        QCOMPARE(replies, QStringList({"range", "speed"}));
        QCOMPARE(types, std::vector<HardwareType>{317});
        QStringList bytes;
        for (const auto &[msgid, data] : received) {
            QCOMPARE(msgid, 0);
            bytes << test::hexBytes(data);
        }
        QCOMPARE(bytes, QStringList({"01 70 11", "02 00 00 00 00 00 00 E0 3F", "1A", "1C"}));
    }

    // Command and self-test fail after both 1 s time-outs.
    void silentDaemonFailsAfterTheTimeOuts() {
        auto daemon = LocalMessagePort::createDeferred(
            kDaemon, [](qint32, const QByteArray &, PortResponder) {});
        QVERIFY(daemon);
        std::optional<bool> ok;
        std::vector<HardwareType> types;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(SendDataToRemotePort(makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 0.5),
                                     [&](bool sent, const QByteArray &) { ok = sent; }));
        QVERIFY(sendStartSelfTest([&](HardwareType t) { types.push_back(t); }));
        QVERIFY(QTest::qWaitFor([&] { return ok.has_value() && !types.empty(); }, 5000));
        const qint64 elapsed = clock.elapsed();
        QVERIFY(!*ok);
        // Send plus receive time-out; only loosely bounded above (the wait), for loaded machines.
        QVERIFY2(elapsed >= 1900, qPrintable(QString::number(elapsed)));
        QCOMPARE(types.size(), size_t{1});
        QVERIFY(!types[0].has_value());
    }
};

QTEST_GUILESS_MAIN(DaemonChannelTest)
#include "daemonchannel_test.moc"
