// The hardware report: what the Hardware information page knows about the panel, written as
// JSON (for programs) and as a printable HTML page (for people). The pane and the command-line
// tool write the same layout.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hardware_reports.h"
#include "selftest.h"

namespace tavix {

inline constexpr int kHardwareReportFormat = 1;

struct HardwareInfoReport {
    std::string time;  // ISO 8601, UTC ("2026-11-23T03:10:00Z")
    std::int32_t modelType = 0;
    std::string modelName;
    std::string driverVersion;
    std::optional<ChecksumAndVersion> firmware;  // absent until the panel reported it
    std::optional<int> dipSwitches;              // bit 7 is switch 1
    std::optional<std::int64_t> rotateMode;      // angle = mode * 90
    std::optional<std::int64_t> inputMode;       // 0 standard, 1 hand-writing, 2 pen
    std::optional<bool> functionButton1;
    std::optional<bool> functionButton2;
    std::string computerName;
    std::vector<std::string> addresses;
    bool selfTestJudged = false;  // false: no self-test result yet
    std::vector<AreaSummary> areas;
    std::vector<ErrorRow> failedPoints;
};

// "Standard", "HandWrite", "Pen"; nullptr for any other mode.
const char *inputModeName(std::int64_t mode);

std::string hardwareReportJson(const HardwareInfoReport &report);
// pngBase64: the self-test picture, embedded when not empty.
std::string hardwareReportHtml(const HardwareInfoReport &report, const std::string &pngBase64);

// JSON string literal with quotes; control characters and non-UTF-8 bytes are escaped.
std::string jsonString(const std::string &text);
std::string htmlEscape(const std::string &text);

}  // namespace tavix
