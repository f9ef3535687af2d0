// The daemon command channel against a stand-in daemon port on a private session bus.
#include <QElapsedTimer>
#include <QtTest/QtTest>

#include <optional>
#include <utility>
#include <vector>

#include "commands.h"
#include "daemonchannel.h"
#include "messageport.h"

using namespace tavix;

const QString kDaemon = QString::fromLatin1(kDaemonPortName);
using HardwareType = std::optional<std::int32_t>;

class DaemonChannelTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    // In order, byte for byte with msgid 0; each reply to its own caller, none to the others.
    void commandsAndRepliesReachTheirEnds() {
        const std::vector<Bytes> commands = {makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 7),
                                             makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 0.5),
                                             makeCommand(COMMAND_GET_DIP_SW),
                                             makeCommand(COMMAND_START_SELF_TEST)};
        const QList<QByteArray> answers = {"range", "speed", "DIP", QByteArray("\x3D\x01\0\0", 4)};
        std::vector<std::pair<qint32, Bytes>> received;
        auto daemon = LocalMessagePort::create(kDaemon, [&](qint32 msgid, const QByteArray &data) {
            received.emplace_back(msgid, Bytes(data.begin(), data.end()));
            return answers.value(int(received.size()) - 1);
        });
        QVERIFY(daemon);
        QVERIFY(!SendDataToRemotePort(Bytes{}));
        QStringList replies;
        const auto record = [&](bool ok, const QByteArray &r) {
            replies << (ok ? QString::fromLatin1(r) : QStringLiteral("failed"));
        };
        std::vector<HardwareType> types;
        QVERIFY(SendDataToRemotePort(commands[0], record));
        QVERIFY(SendDataToRemotePort(commands[1], record));
        QVERIFY(SendDataToRemotePort(commands[2]));
        QVERIFY(sendStartSelfTest([&](HardwareType t) { types.push_back(t); }));
        QVERIFY(QTest::qWaitFor([&] { return !types.empty(); }, 5000));
        QCOMPARE(replies, QStringList({"range", "speed"}));
        QCOMPARE(types, std::vector<HardwareType>{317});
        QCOMPARE(received.size(), commands.size());
        for (std::size_t i = 0; i < commands.size(); ++i) {
            QCOMPARE(received[i], std::make_pair(qint32(0), commands[i]));
        }
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
        QCOMPARE(types, std::vector<HardwareType>{std::nullopt});
    }
};

QTEST_GUILESS_MAIN(DaemonChannelTest)
#include "daemonchannel_test.moc"
