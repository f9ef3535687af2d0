// The daemon command channel against a stand-in daemon port: bytes, replies and time-outs.
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
    // In order, byte for byte with msgid 0, each reply to its own caller; once the daemon falls
    // silent, a command and a self-test fail after both 1 s time-outs.
    void commandsRepliesAndTimeOuts() {
        const std::vector<Bytes> commands = {makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 7),
                                             makeCommand(COMMAND_GET_DIP_SW),
                                             makeCommand(COMMAND_START_SELF_TEST)};
        const QList<QByteArray> answers = {"range", "DIP", QByteArray("\x3D\x01\0\0", 4)};
        std::vector<std::pair<qint32, Bytes>> received;
        auto daemon = LocalMessagePort::createDeferred(
            kDaemon, [&](qint32 msgid, const QByteArray &data, PortResponder respond) {
                received.emplace_back(msgid, Bytes(data.begin(), data.end()));
                if (received.size() <= commands.size()) {
                    respond(answers.value(int(received.size()) - 1));
                }
            });
        QVERIFY(daemon);
        QVERIFY(!SendDataToRemotePort(Bytes{}));
        QStringList replies;
        const auto record = [&](bool ok, const QByteArray &r) {
            replies << (ok ? QString::fromLatin1(r) : QStringLiteral("failed"));
        };
        std::vector<HardwareType> types;
        const auto type = [&](HardwareType t) { types.push_back(t); };
        QVERIFY(SendDataToRemotePort(commands[0], record));
        QVERIFY(SendDataToRemotePort(commands[1]));
        QVERIFY(sendStartSelfTest(type));
        QVERIFY(QTest::qWaitFor([&] { return !types.empty(); }, 5000));
        QCOMPARE(replies, QStringList({"range"}));
        QCOMPARE(types, std::vector<HardwareType>{317});
        QCOMPARE(received.size(), commands.size());
        for (std::size_t i = 0; i < commands.size(); ++i) {
            QCOMPARE(received[i], std::make_pair(qint32(0), commands[i]));
        }
        QElapsedTimer clock;
        clock.start();
        QVERIFY(SendDataToRemotePort(commands[0], record));
        QVERIFY(sendStartSelfTest(type));
        QVERIFY(QTest::qWaitFor([&] { return types.size() == 2 && replies.size() == 2; }, 5000));
        // Send plus receive time-out; only loosely bounded above (the wait), for loaded machines.
        QVERIFY2(clock.elapsed() >= 1900, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(replies.back(), QStringLiteral("failed"));
        QCOMPARE(types.back(), HardwareType());
    }
};

QTEST_GUILESS_MAIN(DaemonChannelTest)
#include "daemonchannel_test.moc"
