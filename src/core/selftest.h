// The touch-sensor self-test as data: the self-test layout of each model in the device list, and
// the judging of the records the daemon sends back. Pure functions, so that the pane, the
// command-line tool and the simulator judge alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hardware_reports.h"

namespace tavix {

// Keys of the device list's entries and of their "LEDSensorArray" elements.
inline constexpr char kModelType[] = "ModelType";
inline constexpr char kName[] = "Name";
inline constexpr char kLEDSensorArray[] = "LEDSensorArray";
inline constexpr char kArea[] = "Area";
inline constexpr char kPointCount[] = "Point";
inline constexpr char kIndex[] = "Index";

// Element n - 1 of "LEDSensorArray" describes area number n.
struct AreaDefinition {
    std::string label;            // "Area", shown as it is
    std::int64_t pointCount = 0;  // "Point": records with a greater point number are ignored
    std::int64_t index = 0;       // "Index"
};

struct DeviceEntry {
    std::int64_t modelType = 0;
    std::string name;
    bool hasLEDSensorArray = false;
    std::vector<AreaDefinition> areas;
};

// Device lists larger than this, or nested deeper than kMaxDeviceListDepth, are refused.
inline constexpr std::size_t kMaxDeviceListSize = 4 * 1024 * 1024;
inline constexpr int kMaxDeviceListDepth = 32;

// The entries of a device list (an XML property list whose root is an array of dictionaries);
// elements that are not dictionaries are skipped. nullopt when the file is missing, too large,
// too deep or not such a list.
std::optional<std::vector<DeviceEntry>> readDeviceList(const std::string &path);
std::optional<std::vector<DeviceEntry>> parseDeviceList(const std::string &bytes);

// The first entry whose "ModelType" equals the model type, or nullptr.
const DeviceEntry *findDeviceEntry(const std::vector<DeviceEntry> &list, std::int64_t modelType);

// The number of runs of equal area numbers, a leading run of area 0 not counted.
int countAreaRuns(const std::vector<SelfTestRecord> &records);

// Whether the records miss areas of the model: fewer runs than the model has areas. False
// without an entry.
bool needRestartTestSelf(const std::vector<SelfTestRecord> &records, const DeviceEntry *entry);

enum class Verdict { OK, ALL, Check };
// "selfTest.OK", "selfTest.ALL", "selfTest.Check": the string-table ids of the verdicts.
const char *verdictKey(Verdict verdict);
// "OK", "ALL", "Check": the verdict as a report writes it.
const char *verdictName(Verdict verdict);

struct AreaSummary {
    int area = 0;  // area number, 1-based
    std::string label;
    int tested = 0;
    int ledFaults = 0;
    int sensorFaults = 0;
    Verdict led = Verdict::OK;
    Verdict sensor = Verdict::OK;
};

struct ErrorRow {
    int area = 0;
    std::string label;
    std::uint8_t point = 0;
    std::uint8_t sensState = 0;
    std::uint8_t ledState = 0;
};

struct SelfTestJudgement {
    std::vector<AreaSummary> summaries;  // one per run of an area, starting with area 1
    std::vector<ErrorRow> errors;        // one per failed point
};

// Walks the records in order: records of an area number 0 or beyond the model's areas, and
// records whose point exceeds their area's "Point", are skipped; every change of area closes a
// summary row, and the last area gets one at the end (area 1 when nothing was recorded). A
// verdict is OK without faults, ALL when every tested point failed, else Check.
SelfTestJudgement judgeSelfTest(const std::vector<SelfTestRecord> &records,
                                const DeviceEntry &entry);

}  // namespace tavix
