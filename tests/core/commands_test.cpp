// The exact bytes of every command the pane sends, and how the driver side reads them back.
#include "commands.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
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

// The payload edges (16-bit truncation, sign, byte order, all eight bytes of a double), and
// decoding reads back what the builders wrote.
TEST(CommandsTest, BuildersProduceTheExactBytesAndDecodeReadsThemBack) {
    const struct {
        Bytes bytes;
        const char *expected;
        int width;
        double value;  // the decoded integer or real
    } cases[] = {
        {makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, 65536), "01 00 00", 2, 0},
        {makeCommandU16(COMMAND_SET_DOUBLE_CLICK_RANGE, -1), "01 FF FF", 2, 65535},
        {makeCommandU16(COMMAND_SET_ROTATE_MODE, 0x0102), "15 02 01", 2, 0x0102},
        {makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, 0.1), "02 9A 99 99 99 99 99 B9 3F", 8,
         0.1},
        {makeCommandDouble(COMMAND_SET_DOUBLE_CLICK_SPEED, -0.0), "02 00 00 00 00 00 00 00 80", 8,
         -0.0},
        {makeCommandU8(COMMAND_SET_CALIBRATION_HOT_KEY, 'C'), "18 43", 1, 'C'},
        {makeCommand(COMMAND_STOP_CHECK), "20", 0, 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(hex(c.bytes), c.expected);
        const auto decoded = decodeCommand(c.bytes);
        ASSERT_TRUE(decoded) << c.expected;
        EXPECT_EQ(decoded->code, c.bytes[0]);
        EXPECT_EQ(decoded->payloadWidth, c.width) << c.expected;
        const double value = c.width == 8 ? decoded->real : decoded->integer;
        EXPECT_EQ(value, c.value) << c.expected;
        EXPECT_EQ(std::signbit(value), std::signbit(c.value)) << c.expected;
    }
    // A payload of another width, or an unknown code, is refused.
    for (const Bytes &bad : {Bytes{0x01, 0x20}, Bytes{0x20, 0x00}, Bytes{0x03}, Bytes{}}) {
        EXPECT_FALSE(decodeCommand(bad)) << hex(bad);
    }
}

TEST(CommandsTest, HardwareTypeIsTheFirstFourReplyBytes) {
    const struct {
        Bytes reply;
        std::optional<std::int32_t> expected;
    } cases[] = {
        {{0x03, 0x01, 0x00, 0x00, 0xAA, 0xBB}, 259},
        {{0x00, 0x00, 0x00, 0x80}, INT32_MIN},
        {{0x3D, 0x01, 0x00}, std::nullopt},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(decodeHardwareType(c.reply.data(), c.reply.size()), c.expected) << hex(c.reply);
    }
}

}  // namespace
}  // namespace tavix
