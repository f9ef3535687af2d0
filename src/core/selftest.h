// The touch-sensor self-test as data: the self-test layout of each model in the device list, and
// the judging of the records the daemon sends back. Pure functions, so that the pane, the
// command-line tool and the simulator judge alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "device_list.h"
#include "hardware_reports.h"

namespace tavix {

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
