// The daemon's report bytes decoded into whole structs and back, and the report files' full text.
#include "hardware_reports.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "atomic_file.h"
#include "hardware_report_writer.h"

namespace tavix {
namespace {

using Msg = std::vector<std::uint8_t>;

// Every field of a decoded report, so that a field read from the wrong byte or nibble shows.
std::string describe(const HardwareReport &r) {
    std::string s = "type " + std::to_string(r.type) + " dip ";
    for (int n = 1; n <= 8; ++n) {
        s += static_cast<char>('0' + dipSwitch(r.dipSwitches, n));
    }
    const ChecksumAndVersion &c = r.checksum;
    for (int v : {c.checksumLow, c.checksumHigh, c.verdict, c.versionA, c.versionB, c.versionC,
                  r.buttons.buttonL, r.buttons.button1, r.buttons.button2}) {
        s += " " + std::to_string(v);
    }
    for (const SelfTestRecord &rec : r.records) {
        s += " [" + std::to_string(rec.number) + " " + std::to_string(rec.point) + " s" +
             std::to_string(rec.sensState) + " l" + std::to_string(rec.ledState) + "]";
    }
    return s;
}

// A report that decodes is built again, byte for byte, by the daemon's encoder of its type.
TEST(HardwareReportsTest, ReportsDecodeIntoWholeStructsAndEncodeBack) {
    const struct {
        Msg bytes;
        const char *decoded;  // "" when refused
    } cases[] = {
        // The switch byte is active-low with its nibbles swapped.
        {{REPORT_DIP_SW, 0xF7}, "type 0 dip 10000000 0 0 0 0 0 0 0 0 0"},
        {{REPORT_DIP_SW, 0x7E}, "type 0 dip 00011000 0 0 0 0 0 0 0 0 0"},
        {{REPORT_CHECKSUM_AND_VERSION, 0x34, 0x12, 3, 0x23, 0x01, 'x'},
         "type 6 dip 00000000 52 18 3 35 1 120 0 0 0"},
        {{REPORT_BUTTON_STATE, 1, 2, 3}, "type 24 dip 00000000 0 0 0 0 0 0 1 2 3"},
        // Records of 7 bytes: area, point, two unread bytes, LED state << 4 | sensor state, ...
        {{REPORT_SELF_TEST_RESULT, 2, 9, 0, 0, 0x10, 0, 0, 3, 250, 0, 0, 0x0F, 0, 0},
         "type 1 dip 00000000 0 0 0 0 0 0 0 0 0 [2 9 s0 l1] [3 250 s15 l0]"},
        {{REPORT_SELF_TEST_RESULT}, "type 1 dip 00000000 0 0 0 0 0 0 0 0 0"},
        // Shorter than the layout, or of no known type: refused, never read past the end.
        {{}, ""},
        {{REPORT_DIP_SW}, ""},
        {{REPORT_CHECKSUM_AND_VERSION, 1, 2, 3, 4, 5}, ""},
        {{REPORT_BUTTON_STATE, 1, 2}, ""},
        {{2, 1, 2, 3}, ""},
    };
    for (const auto &c : cases) {
        // Exact-size heap blocks: the sanitizers catch a read past the end.
        const auto report = decodeHardwareReport(c.bytes.data(), c.bytes.size());
        ASSERT_EQ(report ? describe(*report) : "", c.decoded) << c.decoded;
        if (!report) {
            continue;
        }
        const Msg again =
            report->type == REPORT_DIP_SW                 ? encodeDipSwitchReport(c.bytes[1])
            : report->type == REPORT_BUTTON_STATE         ? encodeButtonReport(report->buttons)
            : report->type == REPORT_CHECKSUM_AND_VERSION ? encodeChecksumReport(report->checksum)
                                                          : encodeSelfTestReport(report->records);
        EXPECT_EQ(again, c.bytes) << c.decoded;
    }
}

// Two whole reports, compared with the files under expected/: one with everything and a good
// checksum, one with a bad checksum and nothing else; the HTML's verdict classes decide what a
// reader sees green or red. JSON keeps valid UTF-8 and escapes the rest, stray bytes as Latin-1.
TEST(HardwareReportsTest, ReportFilesHoldEveryFieldInPlace) {
    // Checksum bytes low then high; version bytes A, B, C (model 259 shows B.AA in nibbles).
    // clang-format off
    const HardwareInfoReport full{"2026-11-23T03:10:00Z", 317, "<TX>", "0.8.0.3 & \"1\"",
        ChecksumAndVersion{0x34, 0x12, 0, 0x01, 0x02, 'a'}, dipSwitchValue(0xF7), 3, 2, true,
        false, "de\\sk\n\xC3\xBC \xE2\x82\xAC \xF0\x9F\x98\x80", {"10.0.0.1", "fe80::1"}, true,
        {{1, "Top", 60, 0, 0, Verdict::OK, Verdict::OK},
         {2, "Left", 40, 2, 40, Verdict::Check, Verdict::ALL}},
        {{2, "Left", 7, 1, 0}, {2, "Left", 9, 0, 1}}};
    // clang-format on
    HardwareInfoReport bare;
    bare.modelType = 259;
    bare.firmware = ChecksumAndVersion{0x0F, 0xA0, 1, 0x23, 0x01, 0};
    bare.inputMode = 7;
    // The expected files open in a browser or a JSON viewer as a person would see them.
    const auto expected = [](const char *name) {
        return readSmallFile(std::string(TAVIX_EXPECTED_DIR "/") + name, 1 << 20).value_or("");
    };
    EXPECT_EQ(hardwareReportJson(full), expected("report-full.json"));
    EXPECT_EQ(hardwareReportHtml(full, "UE5H"), expected("report-full.html"));
    EXPECT_EQ(hardwareReportHtml(bare, "UE5H"), expected("report-bare.html"));
    EXPECT_EQ(hardwareReportJson(bare), expected("report-bare.json"));
    EXPECT_EQ(jsonString("\x01\x7F\xFF \xC3(\xC3"), "\"\\u0001\\u007f\\u00ff \\u00c3(\\u00c3\"");
}

}  // namespace
}  // namespace tavix
