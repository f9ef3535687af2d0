// The daemon's report bytes decoded into whole structs and back, and the report files' full text.
#include "hardware_reports.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

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
        {{REPORT_DIP_SW, 0x00}, "type 0 dip 11111111 0 0 0 0 0 0 0 0 0"},
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

// JSON keeps valid UTF-8 and escapes control characters and stray bytes (as Latin-1).
TEST(HardwareReportsTest, JsonStringsAreEscaped) {
    const std::pair<std::string, const char *> cases[] = {
        {"a\\b\n\x01\x7F~\"", "\"a\\\\b\\n\\u0001\\u007f~\\\"\""},
        {"\xC3\xBC \xE2\x82\xAC \xF0\x9F\x98\x80", "\"\xC3\xBC \xE2\x82\xAC \xF0\x9F\x98\x80\""},
        {"\xFF \xC3( \xC3", "\"\\u00ff \\u00c3( \\u00c3\""},
    };
    for (const auto &[in, json] : cases) {
        EXPECT_EQ(jsonString(in), json);
    }
}

// Two whole reports: one with everything and a good checksum, one with a bad checksum and
// nothing else; the HTML's verdict classes decide what a reader sees green or red.
TEST(HardwareReportsTest, ReportFilesHoldEveryFieldInPlace) {
    // Checksum bytes low then high; version bytes A, B, C (model 259 shows B.AA in nibbles).
    // clang-format off
    const HardwareInfoReport full{"2026-11-23T03:10:00Z", 317, "<TX>", "0.8.0.3 & \"1\"",
        ChecksumAndVersion{0x34, 0x12, 0, 0x01, 0x02, 'a'}, dipSwitchValue(0xF7), 3, 2, true,
        false, "desk", {"10.0.0.1", "fe80::1"}, true,
        {{1, "Top", 60, 0, 0, Verdict::OK, Verdict::OK},
         {2, "Left", 40, 2, 40, Verdict::Check, Verdict::ALL}},
        {{2, "Left", 7, 1, 0}, {2, "Left", 9, 0, 1}}};
    // clang-format on
    HardwareInfoReport bare;
    bare.modelType = 259;
    bare.firmware = ChecksumAndVersion{0x0F, 0xA0, 1, 0x23, 0x01, 0};
    bare.inputMode = 7;
    EXPECT_EQ(hardwareReportJson(full), R"({
  "format": 1,
  "time": "2026-11-23T03:10:00Z",
  "modelType": 317,
  "modelName": "<TX>",
  "driverVersion": "0.8.0.3 & \"1\"",
  "firmwareVersion": " 1.02a",
  "checksum": "1234",
  "checksumGood": true,
  "dipSwitches": [1, 0, 0, 0, 0, 0, 0, 0],
  "rotateMode": 3,
  "rotationDegrees": 270,
  "inputMode": 2,
  "inputModeName": "Pen",
  "functionButton1": true,
  "functionButton2": false,
  "computerName": "desk",
  "addresses": ["10.0.0.1", "fe80::1"],
  "selfTest": {
    "areas": [
      {"area": 1, "label": "Top", "tested": 60, "ledFaults": 0, "sensorFaults": 0, "led": "OK", "sensor": "OK"},
      {"area": 2, "label": "Left", "tested": 40, "ledFaults": 2, "sensorFaults": 40, "led": "Check", "sensor": "ALL"}
    ],
    "failedPoints": [
      {"area": 2, "label": "Left", "point": 7, "led": false, "sensor": true},
      {"area": 2, "label": "Left", "point": 9, "led": true, "sensor": false}
    ]
  }
}
)");
    const std::string head =
        "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>Touch panel report</title>\n"
        "<style>body{font-family:sans-serif;margin:2em}table{border-collapse:collapse;margin-"
        "bottom:"
        "1em}td,th{border:1px solid #888;padding:2px 8px;text-align:left}.bad{color:#b00000;font-"
        "weight:bold}.good{color:#006000}</style></head><body>\n<h1>Touch panel report</h1>\n";
    EXPECT_EQ(hardwareReportHtml(full, "UE5H"), head + R"(<p>2026-11-23T03:10:00Z</p>
<table>
<tr><th>Model</th><td>&lt;TX&gt; (317)</td></tr>
<tr><th>Driver version</th><td>0.8.0.3 &amp; &quot;1&quot;</td></tr>
<tr><th>Firmware version</th><td> 1.02a</td></tr>
<tr><th>Checksum</th><td>1234 <span class="good">OK</span></td></tr>
<tr><th>DIP switches 1-8</th><td>10000000</td></tr>
<tr><th>Rotation</th><td>270&deg;</td></tr>
<tr><th>Input mode</th><td>Pen</td></tr>
<tr><th>Function button 1</th><td>on</td></tr>
<tr><th>Function button 2</th><td>off</td></tr>
<tr><th>Computer</th><td>desk</td></tr>
<tr><th>Addresses</th><td>10.0.0.1, fe80::1</td></tr>
</table>
<h2>Self-test</h2>
<p><img alt="Self-test picture of the frame" src="data:image/png;base64,UE5H"></p>
<table><tr><th>Area</th><th>Tested</th><th>LED</th><th>Sensor</th></tr>
<tr><td>Top</td><td>60</td><td class="good">OK</td><td class="good">OK</td></tr>
<tr><td>Left</td><td>40</td><td class="bad">Check</td><td class="bad">ALL</td></tr>
</table>
<table><tr><th>Area</th><th>Point</th><th>LED</th><th>Sensor</th></tr>
<tr><td>Left</td><td>7</td><td></td><td>failed</td></tr>
<tr><td>Left</td><td>9</td><td>failed</td><td></td></tr>
</table>
</body></html>
)");
    EXPECT_EQ(hardwareReportHtml(bare, "UE5H"),
              head +
                  "<p></p>\n<table>\n<tr><th>Model</th><td> (259)</td></tr>\n<tr><th>Driver "
                  "version</th><td></td></tr>\n<tr><th>Firmware version</th><td>1.23</td></tr>\n"
                  "<tr><th>Checksum</th><td>a00f <span class=\"bad\">NG</span></td></tr>\n<tr><th>"
                  "Input mode</th><td>7</td></tr>\n<tr><th>Computer</th><td></td></tr>\n<tr><th>"
                  "Addresses</th><td></td></tr>\n</table>\n<h2>Self-test</h2>\n<p>Not run.</p>\n"
                  "</body></html>\n");
}

}  // namespace
}  // namespace tavix
