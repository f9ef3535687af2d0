// The daemon command channel against a daemon port on a private session bus.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <QtTest/QtTest>

#include <memory>
#include <optional>
#include <vector>

#include "commands.h"
#include "daemonchannel.h"
#include "messageport.h"
#include "test_support.h"

using namespace tavix;

namespace {

struct Received {
    qint32 msgid;
    QByteArray data;
};

// Stands in for the daemon: records every command and answers with a settable reply.
struct FakeDaemon {
    std::vector<Received> received;
    QByteArray reply;
    std::unique_ptr<LocalMessagePort> port;

    bool start() {
        port = LocalMessagePort::create(QString::fromLatin1(kDaemonPortName),
                                        [this](qint32 msgid, const QByteArray &data) {
                                            received.push_back({msgid, data});
                                            return reply;
                                        });
        return port != nullptr;
    }
};

}  // namespace

class DaemonChannelTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<test::TempRoots> roots_;

  private Q_SLOTS:
    void initTestCase() { roots_ = std::make_unique<test::TempRoots>(); }

    // Every command of the table, as the daemon receives it on the bus.
    void everyCommandArrivesByteForByte_data() {
        QTest::addColumn<Bytes>("command");
        QTest::addColumn<QString>("expected");
        auto row = [](const char *name, Bytes bytes, const char *hex) {
            QTest::newRow(name) << bytes << QString::fromLatin1(hex);
        };
        row("1 range 32", makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 32), "01 20 00");
        row("1 range 70000", makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 70000), "01 70 11");
        row("2 speed 0.5", makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 0.5),
            "02 00 00 00 00 00 00 E0 3F");
        row("2 speed 0.25", makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 0.25),
            "02 00 00 00 00 00 00 D0 3F");
        row("8 swipe", makeCommandU16(COMMAND_SET_TWO_FINGER_SWIPE, 1), "08 01 00");
        row("9 rotation", makeCommandU16(COMMAND_SET_TWO_FINGER_ROTATION, 0), "09 00 00");
        row("11 pinch", makeCommandU16(COMMAND_SET_TWO_FINGER_PINCH, 1), "0B 01 00");
        row("13 button 1", makeCommandU16(COMMAND_SET_FUNCTION_BUTTON_1, 1), "0D 01 00");
        row("14 button 2", makeCommandU16(COMMAND_SET_FUNCTION_BUTTON_2, 0), "0E 00 00");
        row("15 input mode", makeCommandU16(COMMAND_SET_INPUT_MODE, 2), "0F 02 00");
        row("16 resolution notice", makeCommandU16(COMMAND_SET_RESOLUTION_NOTICE, 1), "10 01 00");
        row("17 eraser", makeCommandU16(COMMAND_SET_ERASER_AREA_MODE, 0), "11 00 00");
        row("18 calibration type", makeCommandU16(COMMAND_SET_CALIBRATION_TYPE, 1), "12 01 00");
        row("19 simple setting", makeCommandU16(COMMAND_SET_SIMPLE_SETTING_TYPE, 65538),
            "13 02 00");
        row("21 rotate", makeCommandU16(COMMAND_SET_ROTATE_MODE, 3), "15 03 00");
        row("23 advance", makeCommandU16(COMMAND_START_ADVANCE_CALIBRATION, 0), "17 00 00");
        row("24 hot key", makeCommandU8(COMMAND_SET_CALIBRATION_HOT_KEY, 'C'), "18 43");
        row("25 simple hot key", makeCommandU8(COMMAND_SET_SIMPLE_SETTING_HOT_KEY, 'S'), "19 53");
        row("26 DIP", makeCommand(COMMAND_GET_DIP_SW), "1A");
        row("27 checksum", makeCommand(COMMAND_GET_CHECKSUM_AND_VERSION), "1B");
        row("28 self-test", makeCommand(COMMAND_START_SELF_TEST), "1C");
        row("29 mouse action", makeCommandU8(COMMAND_SET_MOUSE_ACTION, 1), "1D 01");
        row("30 mouse info", makeCommandU8(COMMAND_SHOW_MOUSE_INFO, 1), "1E 01");
        row("31 advance 2", makeCommandU16(COMMAND_START_ADVANCE_CALIBRATION_2, 0), "1F 00 00");
        row("32 stop", makeCommand(COMMAND_STOP_CHECK), "20");
    }
    void everyCommandArrivesByteForByte() {
        QFETCH(Bytes, command);
        QFETCH(QString, expected);
        FakeDaemon daemon;
        QVERIFY(daemon.start());
        std::optional<bool> ok;
        QVERIFY(SendDataToRemotePort(command, [&](bool sent, const QByteArray &) { ok = sent; }));
        QVERIFY(QTest::qWaitFor([&] { return ok.has_value(); }, 5000));
        QVERIFY(*ok);
        QCOMPARE(daemon.received.size(), size_t{1});
        QCOMPARE(daemon.received[0].msgid, 0);
        QCOMPARE(test::hexBytes(daemon.received[0].data), expected);
    }

    void absentDaemonGetsNothingAndNothingIsReported() {
        int outcomes = 0;
        QVERIFY(!SendDataToRemotePort(makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 32),
                                      [&](bool, const QByteArray &) { ++outcomes; }));
        QVERIFY(!SendDataToRemotePort(makeCommand(COMMAND_STOP_CHECK)));
        int hardwareCalls = 0;
        QVERIFY(!sendStartSelfTest([&](std::optional<std::int32_t>) { ++hardwareCalls; }));
        // A daemon that starts afterwards receives nothing: no command was kept for later.
        FakeDaemon daemon;
        QVERIFY(daemon.start());
        QTest::qWait(100);
        QCOMPARE(outcomes, 0);
        QCOMPARE(hardwareCalls, 0);
        QVERIFY(daemon.received.empty());
    }

    void emptyCommandIsIgnored() {
        FakeDaemon daemon;
        QVERIFY(daemon.start());
        int outcomes = 0;
        QVERIFY(!SendDataToRemotePort(Bytes{}, [&](bool, const QByteArray &) { ++outcomes; }));
        // A later real command is the first thing the daemon sees.
        std::optional<bool> ok;
        QVERIFY(SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW),
                                     [&](bool sent, const QByteArray &) { ok = sent; }));
        QVERIFY(QTest::qWaitFor([&] { return ok.has_value(); }, 5000));
        QCOMPARE(outcomes, 0);
        QCOMPARE(daemon.received.size(), size_t{1});
        QCOMPARE(test::hexBytes(daemon.received[0].data), QStringLiteral("1A"));
    }

    void commandsKeepTheirOrder() {
        FakeDaemon daemon;
        QVERIFY(daemon.start());
        std::vector<Bytes> sent;
        for (int range = 0; range < 100; ++range) {
            sent.push_back(makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, range));
            QVERIFY(SendDataToRemotePort(sent.back()));
        }
        QVERIFY(QTest::qWaitFor([&] { return daemon.received.size() == sent.size(); }, 10000));
        for (size_t i = 0; i < sent.size(); ++i) {
            const QByteArray expected(reinterpret_cast<const char *>(sent[i].data()),
                                      static_cast<qsizetype>(sent[i].size()));
            QCOMPARE(daemon.received[i].data, expected);
        }
    }

    void selfTestReadsTheHardwareTypeFromTheReply_data() {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("hasType");
        QTest::addColumn<int>("type");
        QTest::newRow("317") << QByteArray("\x3D\x01\x00\x00", 4) << true << 317;
        QTest::newRow("259 with trailing bytes")
            << QByteArray("\x03\x01\x00\x00\xFF\xFF", 6) << true << 259;
        QTest::newRow("negative") << QByteArray("\xFE\xFF\xFF\xFF", 4) << true << -2;
        QTest::newRow("three bytes") << QByteArray("\x3D\x01\x00", 3) << false << 0;
        QTest::newRow("empty") << QByteArray() << false << 0;
    }
    void selfTestReadsTheHardwareTypeFromTheReply() {
        QFETCH(QByteArray, reply);
        QFETCH(bool, hasType);
        QFETCH(int, type);
        FakeDaemon daemon;
        daemon.reply = reply;
        QVERIFY(daemon.start());
        int calls = 0;
        std::optional<std::int32_t> hardwareType;
        QVERIFY(sendStartSelfTest([&](std::optional<std::int32_t> t) {
            ++calls;
            hardwareType = t;
        }));
        QVERIFY(QTest::qWaitFor([&] { return calls > 0; }, 5000));
        QCOMPARE(calls, 1);
        QCOMPARE(hardwareType.has_value(), hasType);
        if (hasType) {
            QCOMPARE(*hardwareType, type);
        }
        QCOMPARE(daemon.received.size(), size_t{1});
        QCOMPARE(test::hexBytes(daemon.received[0].data), QStringLiteral("1C"));
    }

    void selfTestWithAMuteDaemonReportsNoType() {
        auto daemon = LocalMessagePort::createDeferred(
            QString::fromLatin1(kDaemonPortName), [](qint32, const QByteArray &, PortResponder) {});
        QVERIFY(daemon);
        int calls = 0;
        std::optional<std::int32_t> hardwareType = 1;
        QVERIFY(sendStartSelfTest([&](std::optional<std::int32_t> t) {
            ++calls;
            hardwareType = t;
        }));
        QVERIFY(QTest::qWaitFor([&] { return calls > 0; }, 5000));
        QCOMPARE(calls, 1);
        QVERIFY(!hardwareType.has_value());
    }

    // The daemon never answers: the caller's event loop keeps turning, and the failure is
    // reported once the two one-second time-outs have run out.
    void silentDaemonNeverBlocksTheCaller() {
        auto daemon = LocalMessagePort::createDeferred(
            QString::fromLatin1(kDaemonPortName), [](qint32, const QByteArray &, PortResponder) {});
        QVERIFY(daemon);
        int ticks = 0;
        QTimer ticker;
        QObject::connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
        ticker.start(10);
        std::optional<bool> ok;
        int ticksAtOutcome = -1;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(SendDataToRemotePort(makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 0.5),
                                     [&](bool sent, const QByteArray &) {
                                         ok = sent;
                                         ticksAtOutcome = ticks;
                                     }));
        QCOMPARE(ticks, 0);  // returned without running the event loop
        QVERIFY(QTest::qWaitFor([&] { return ok.has_value(); }, 5000));
        QVERIFY(!*ok);
        QVERIFY2(ticksAtOutcome > 0, "the caller's event loop stood still during the send");
        QVERIFY(clock.elapsed() < 5000);
    }
};

QTEST_GUILESS_MAIN(DaemonChannelTest)
#include "daemonchannel_test.moc"
