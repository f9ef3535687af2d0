#include "commands.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>

namespace tavix {
namespace {

std::string hex(const Bytes &bytes) {
    std::string out;
    char buf[4];
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(buf, sizeof buf, i ? " %02X" : "%02X", bytes[i]);
        out += buf;
    }
    return out;
}

struct BuildCase {
    const char *label;
    Bytes bytes;
    const char *expected;
};

TEST(CommandsTest, BuildersProduceTheExactBytes) {
    const BuildCase cases[] = {
        {"range 32", makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 32), "01 20 00"},
        {"range 70000 keeps the low 16 bits (4464)",
         makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 70000), "01 70 11"},
        {"range 65535", makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 65535), "01 FF FF"},
        {"range 65536 wraps to 0", makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 65536),
         "01 00 00"},
        {"range -1", makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, -1), "01 FF FF"},
        {"speed 0.5", makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 0.5),
         "02 00 00 00 00 00 00 E0 3F"},
        {"speed 0.0", makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 0.0),
         "02 00 00 00 00 00 00 00 00"},
        {"speed 1.0", makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 1.0),
         "02 00 00 00 00 00 00 F0 3F"},
        {"speed 0.1", makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 0.1),
         "02 9A 99 99 99 99 99 B9 3F"},
        {"speed -2.0", makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, -2.0),
         "02 00 00 00 00 00 00 00 C0"},
        {"swipe on", makeCommandU16(COMMAND_SET_TWO_FINGER_SWIPE, 1), "08 01 00"},
        {"rotation off", makeCommandU16(COMMAND_SET_TWO_FINGER_ROTATION, 0), "09 00 00"},
        {"pinch on", makeCommandU16(COMMAND_SET_TWO_FINGER_PINCH, 1), "0B 01 00"},
        {"function button 1", makeCommandU16(COMMAND_SET_FUNCTION_BUTTON_1, 1), "0D 01 00"},
        {"function button 2", makeCommandU16(COMMAND_SET_FUNCTION_BUTTON_2, 0), "0E 00 00"},
        {"input mode 3", makeCommandU16(COMMAND_SET_INPUT_MODE, 3), "0F 03 00"},
        {"resolution notice", makeCommandU16(COMMAND_SET_RESOLUTION_NOTICE, 1), "10 01 00"},
        {"eraser area", makeCommandU16(COMMAND_SET_ERASER_AREA_MODE, 1), "11 01 00"},
        {"calibration type 1", makeCommandU16(COMMAND_SET_CALIBRATION_TYPE, 1), "12 01 00"},
        {"simple setting 2", makeCommandU16(COMMAND_SET_SIMPLE_SETTING_TYPE, 2), "13 02 00"},
        {"rotate mode 0x0102", makeCommandU16(COMMAND_SET_ROTATE_MODE, 0x0102), "15 02 01"},
        {"advance calibration", makeCommandU16(COMMAND_START_ADVANCE_CALIBRATION, 0), "17 00 00"},
        {"calibration hot key C", makeCommandU8(COMMAND_SET_CALIBRATION_HOT_KEY, 'C'), "18 43"},
        {"simple hot key S", makeCommandU8(COMMAND_SET_SIMPLE_SETTING_HOT_KEY, 'S'), "19 53"},
        {"DIP switches", makeCommand(COMMAND_GET_DIP_SW), "1A"},
        {"checksum and version", makeCommand(COMMAND_GET_CHECKSUM_AND_VERSION), "1B"},
        {"self-test", makeCommand(COMMAND_START_SELF_TEST), "1C"},
        {"mouse action off", makeCommandU8(COMMAND_SET_MOUSE_ACTION, 1), "1D 01"},
        {"mouse info", makeCommandU8(COMMAND_SHOW_MOUSE_INFO, 0), "1E 00"},
        {"advance calibration 2", makeCommandU16(COMMAND_START_ADVANCE_CALIBRATION_2, 0),
         "1F 00 00"},
        {"stop check", makeCommand(COMMAND_STOP_CHECK), "20"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(hex(c.bytes), c.expected) << c.label;
    }
}

TEST(CommandsTest, PayloadWidthOfEveryCode) {
    // Every code the pane sends, with its payload width; all other codes are unknown.
    const std::pair<int, int> known[] = {
        {1, 2},  {2, 8},  {8, 2},  {9, 2},  {11, 2}, {13, 2}, {14, 2}, {15, 2},
        {16, 2}, {17, 2}, {18, 2}, {19, 2}, {21, 2}, {23, 2}, {24, 1}, {25, 1},
        {26, 0}, {27, 0}, {28, 0}, {29, 1}, {30, 1}, {31, 2}, {32, 0},
    };
    for (int code = 0; code <= 255; ++code) {
        int expected = -1;
        for (const auto &[k, width] : known) {
            if (k == code) {
                expected = width;
            }
        }
        EXPECT_EQ(commandPayloadWidth(static_cast<std::uint8_t>(code)), expected)
            << "code " << code;
        EXPECT_EQ(commandName(static_cast<std::uint8_t>(code)) != nullptr, expected >= 0)
            << "code " << code;
    }
    EXPECT_STREQ(commandName(COMMAND_START_SELF_TEST), "COMMAND_START_SELF_TEST");
    EXPECT_STREQ(commandName(31), "COMMAND_START_ADVANCE_CALIBRATION_2");
}

TEST(CommandsTest, DecodeReadsBackWhatTheBuildersWrote) {
    auto range = decodeCommand(makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 70000));
    ASSERT_TRUE(range);
    EXPECT_EQ(range->code, COMMAND_SET_DOUBLE_CLICK_RANGE);
    EXPECT_EQ(range->payloadWidth, 2);
    EXPECT_EQ(range->integer, 4464);

    for (double v :
         {0.5, 0.449999988079071, 0.0, -0.0, 1e300, std::numeric_limits<double>::denorm_min()}) {
        auto speed = decodeCommand(makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, v));
        ASSERT_TRUE(speed);
        EXPECT_EQ(speed->payloadWidth, 8);
        EXPECT_EQ(std::signbit(speed->real), std::signbit(v));
        EXPECT_EQ(speed->real, v);
    }

    auto key = decodeCommand(makeCommandU8(COMMAND_SET_SIMPLE_SETTING_HOT_KEY, 'S'));
    ASSERT_TRUE(key);
    EXPECT_EQ(key->payloadWidth, 1);
    EXPECT_EQ(key->integer, 'S');

    auto selfTest = decodeCommand(makeCommand(COMMAND_START_SELF_TEST));
    ASSERT_TRUE(selfTest);
    EXPECT_EQ(selfTest->code, COMMAND_START_SELF_TEST);
    EXPECT_EQ(selfTest->payloadWidth, 0);
}

TEST(CommandsTest, DecodeRefusesMalformedMessages) {
    struct Case {
        const char *label;
        Bytes bytes;
    };
    const Case cases[] = {
        {"empty", {}},
        {"range without payload", {0x01}},
        {"range one byte short", {0x01, 0x20}},
        {"range one byte long", {0x01, 0x20, 0x00, 0x00}},
        {"speed one byte short", {0x02, 0, 0, 0, 0, 0, 0, 0xE0}},
        {"self-test with a payload", {0x1C, 0x00}},
        {"hot key without payload", {0x18}},
        {"unknown code 0", {0x00}},
        {"unknown code 3 with a 2-byte payload", {0x03, 0x01, 0x00}},
        {"unknown code 33", {0x21}},
        {"unknown code 255", {0xFF, 0x00, 0x00}},
    };
    for (const auto &c : cases) {
        EXPECT_FALSE(decodeCommand(c.bytes)) << c.label;
    }
    EXPECT_FALSE(decodeCommand(nullptr, 3));
}

TEST(CommandsTest, HardwareTypeIsTheFirstFourReplyBytes) {
    struct Case {
        const char *label;
        Bytes reply;
        std::optional<std::int32_t> expected;
    };
    const Case cases[] = {
        {"317", {0x3D, 0x01, 0x00, 0x00}, 317},
        {"259, longer reply", {0x03, 0x01, 0x00, 0x00, 0xAA, 0xBB}, 259},
        {"high byte last", {0x00, 0x00, 0x00, 0x01}, 0x01000000},
        {"negative", {0xFF, 0xFF, 0xFF, 0xFF}, -1},
        {"most negative", {0x00, 0x00, 0x00, 0x80}, INT32_MIN},
        {"three bytes", {0x3D, 0x01, 0x00}, std::nullopt},
        {"empty", {}, std::nullopt},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(decodeHardwareType(c.reply.data(), c.reply.size()), c.expected) << c.label;
    }
    EXPECT_EQ(decodeHardwareType(nullptr, 4), std::nullopt);
}

TEST(CommandsDeathTest, BuilderWithTheWrongWidthIsCaughtInDebugBuilds) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEBUG_DEATH(makeCommandU16(COMMAND_START_SELF_TEST, 1), "payload width");
    EXPECT_DEBUG_DEATH(makeCommand(COMMAND_SET_DOUBLE_CLICK_RANGE), "payload width");
}

}  // namespace
}  // namespace tavix
