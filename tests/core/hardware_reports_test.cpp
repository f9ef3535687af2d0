#include "hardware_reports.h"

#include "hardware_report_writer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tavix {
namespace {

using Msg = std::vector<std::uint8_t>;

TEST(HardwareReportsTest, DipSwitchByteIsActiveLowWithSwappedNibbles) {
    const struct {
        std::uint8_t reportByte;
        const char *shown;  // DIPSW1_ .. DIPSW8_
    } cases[] = {
        {0xFF, "00000000"},
        {0xF7, "10000000"},
        {0xFE, "00010000"},
        {0x00, "11111111"},
    };
    for (const auto &c : cases) {
        const auto report = decodeHardwareReport(Msg{REPORT_DIP_SW, c.reportByte}.data(), 2);
        ASSERT_TRUE(report) << int(c.reportByte);
        std::string shown;
        for (int n = 1; n <= 8; ++n) {
            shown += static_cast<char>('0' + dipSwitch(report->dipSwitches, n));
        }
        EXPECT_EQ(shown, c.shown) << int(c.reportByte);
    }
}

// From the report bytes: checksum low, high, verdict, version major, minor, suffix.
TEST(HardwareReportsTest, VersionAndChecksumTexts) {
    const struct {
        std::int32_t model;
        Msg bytes;
        const char *version;
        const char *checksum;
    } cases[] = {
        {259, {0x34, 0x12, 0, 0x23, 0x01, 'x'}, "1.23", "1234"},
        {317, {0xCD, 0xAB, 0, 0x01, 0x02, 'a'}, " 1.02a", "abcd"},
        {317, {0, 0, 0, 0x01, 0x02, 0}, " 1.02", "0000"},
    };
    for (auto c : cases) {
        c.bytes.insert(c.bytes.begin(), REPORT_CHECKSUM_AND_VERSION);
        const auto report = decodeHardwareReport(c.bytes.data(), c.bytes.size());
        ASSERT_TRUE(report);
        EXPECT_EQ(formatFirmwareVersion(c.model, report->checksum), c.version);
        EXPECT_EQ(formatChecksum(report->checksum), c.checksum);
        EXPECT_EQ(report->checksum.verdict, c.bytes[3]);
    }
}

// Each type against its length: shorter than its layout is refused, never read past the end.
TEST(HardwareReportsTest, LengthsAndTypes) {
    const struct {
        Msg bytes;
        bool decoded;
    } cases[] = {
        {{}, false},
        {{REPORT_CHECKSUM_AND_VERSION, 1, 2, 3, 4, 5}, false},
        {{REPORT_CHECKSUM_AND_VERSION, 1, 2, 3, 4, 5, 6}, true},
        {{2, 1, 2, 3}, false},
    };
    for (const auto &c : cases) {
        // Exact-size heap blocks: the sanitizers catch a read past the end.
        const auto report = decodeHardwareReport(c.bytes.data(), c.bytes.size());
        ASSERT_EQ(report.has_value(), c.decoded) << "length " << c.bytes.size();
    }
}

TEST(HardwareReportsTest, ReportTextsAreEscaped) {
    const struct {
        std::string in;
        const char *json;
        const char *html;
    } cases[] = {
        {"Top \"1\"", "\"Top \\\"1\\\"\"", "Top &quot;1&quot;"},
        {"a\\b\n\x01", "\"a\\\\b\\n\\u0001\"", "a\\b\n\x01"},
        {"Ecke \xC3\xBC", "\"Ecke \xC3\xBC\"", "Ecke \xC3\xBC"},
        {"bad \xFF<", "\"bad \\u00ff<\"", "bad \xFF&lt;"},
        {"cut \xC3", "\"cut \\u00c3\"", "cut \xC3"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(jsonString(c.in), c.json);
        EXPECT_EQ(htmlEscape(c.in), c.html);
    }
    HardwareInfoReport report;
    report.modelName = "<TX>";
    report.addresses = {"10.0.0.1", "fe80::1"};
    EXPECT_NE(hardwareReportJson(report).find(
                  "\"addresses\": [\"10.0.0.1\", \"fe80::1\"],\n  \"selfTest\": null\n}"),
              std::string::npos);
    EXPECT_NE(hardwareReportHtml(report, "").find("&lt;TX&gt;"), std::string::npos);
}

}  // namespace
}  // namespace tavix
