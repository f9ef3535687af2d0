// The daemon command channel against a daemon port on a private session bus.
#include <QElapsedTimer>
#include <QTimer>
#include <QtTest/QtTest>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "commands.h"
#include "daemonchannel.h"
#include "messageport.h"
#include "test_support.h"

using namespace tavix;

namespace {

const QString kDaemon = QString::fromLatin1(kDaemonPortName);
using HardwareType = std::optional<std::int32_t>;

// Stands in for the daemon: records every command (msgid, bytes) and answers with `reply`.
struct FakeDaemon {
    std::vector<std::pair<qint32, QByteArray>> received;
    QByteArray reply;
    std::unique_ptr<LocalMessagePort> port =
        LocalMessagePort::create(kDaemon, [this](qint32 msgid, const QByteArray &data) {
            received.emplace_back(msgid, data);
            return reply;
        });
};

}  // namespace

class DaemonChannelTest : public QObject {
    Q_OBJECT

  private:
    std::unique_ptr<test::TempRoots> roots_;

  private Q_SLOTS:
    void initTestCase() { roots_ = std::make_unique<test::TempRoots>(); }

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
        QVERIFY(daemon.port);
        std::optional<bool> ok;
        QVERIFY(SendDataToRemotePort(command, [&](bool sent, const QByteArray &) { ok = sent; }));
        QVERIFY(QTest::qWaitFor([&] { return ok.has_value(); }, 5000));
        QVERIFY(*ok);
        QCOMPARE(daemon.received.size(), size_t{1});
        QCOMPARE(daemon.received[0].first, 0);
        QCOMPARE(test::hexBytes(daemon.received[0].second), expected);
    }

    // Nothing is sent, kept for later or reported while the daemon is absent, and an empty
    // command is never sent.
    void absentDaemonAndEmptyCommandSendNothing() {
        int outcomes = 0;
        const auto count = [&](bool, const QByteArray &) { ++outcomes; };
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!SendDataToRemotePort(makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 32), count));
        QVERIFY(!sendStartSelfTest([&](HardwareType) { ++outcomes; }));
        QVERIFY2(clock.elapsed() < 1000, "the caller waited for an absent daemon");
        FakeDaemon daemon;
        QVERIFY(daemon.port);
        QVERIFY(!SendDataToRemotePort(Bytes{}, count));
        QVERIFY(SendDataToRemotePort(makeCommand(COMMAND_GET_DIP_SW)));
        QVERIFY(QTest::qWaitFor([&] { return !daemon.received.empty(); }, 5000));
        QTest::qWait(50);
        QCOMPARE(outcomes, 0);
        QCOMPARE(daemon.received.size(), size_t{1});
        QCOMPARE(test::hexBytes(daemon.received[0].second), QStringLiteral("1A"));
    }

    // A reply shorter than four bytes counts as a failed send.
    void selfTestReadsTheHardwareTypeFromTheReply() {
        FakeDaemon daemon;
        QVERIFY(daemon.port);
        std::vector<HardwareType> calls;
        for (const QByteArray &reply :
             {QByteArray("\x3D\x01\x00\x00", 4), QByteArray("\x3D\x01\x00", 3), QByteArray()}) {
            daemon.reply = reply;
            const size_t before = calls.size();
            QVERIFY(sendStartSelfTest([&](HardwareType t) { calls.push_back(t); }));
            QVERIFY(QTest::qWaitFor([&] { return calls.size() > before; }, 5000));
        }
        QTest::qWait(50);
        QCOMPARE(calls, (std::vector<HardwareType>{317, std::nullopt, std::nullopt}));
        QCOMPARE(daemon.received.size(), size_t{3});
        for (const auto &[msgid, data] : daemon.received) {
            QCOMPARE(test::hexBytes(data), QStringLiteral("1C"));
        }
    }

    // The daemon never answers: the caller's event loop keeps turning, and both a command and
    // a self-test fail once the two one-second time-outs have run out.
    void silentDaemonNeverBlocksTheCaller() {
        auto daemon = LocalMessagePort::createDeferred(
            kDaemon, [](qint32, const QByteArray &, PortResponder) {});
        QVERIFY(daemon);
        int ticks = 0;
        QTimer ticker;
        QObject::connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
        ticker.start(10);
        std::optional<bool> ok;
        int ticksAtOutcome = -1;
        std::vector<HardwareType> types;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(SendDataToRemotePort(makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 0.5),
                                     [&](bool sent, const QByteArray &) {
                                         ok = sent;
                                         ticksAtOutcome = ticks;
                                     }));
        QVERIFY(sendStartSelfTest([&](HardwareType t) { types.push_back(t); }));
        QCOMPARE(ticks, 0);  // both returned without running the event loop
        QVERIFY(QTest::qWaitFor([&] { return ok.has_value() && !types.empty(); }, 5000));
        const qint64 elapsed = clock.elapsed();
        QVERIFY(!*ok);
        QVERIFY2(ticksAtOutcome > 0, "the caller's event loop stood still during the send");
        // The time-out is the send plus the receive time-out; the wait above bounds it from above
        // loosely, so that a loaded machine does not fail the run.
        QVERIFY2(elapsed >= 1900, qPrintable(QString::number(elapsed)));
        QCOMPARE(types.size(), size_t{1});
        QVERIFY(!types[0].has_value());
    }
};

QTEST_GUILESS_MAIN(DaemonChannelTest)
#include "daemonchannel_test.moc"
