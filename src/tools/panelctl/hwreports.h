// The daemon's hardware reports as the command line shows them: DIP switches, firmware version
// and checksum, and the LED and sensor self-test judged against the model's area layout.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace tavix::panelctl {

inline constexpr char kHardwarePortName[] = "HardwareInfoFromDaemon";

enum ReportType : std::uint8_t {
    REPORT_DIP_SW = 0,
    REPORT_SELF_TEST_RESULT = 1,
    REPORT_CHECKSUM_AND_VERSION = 6,
    REPORT_BUTTON_STATE = 24,
};

// Switch 1 first; nullopt for a report shorter than 2 bytes. The report byte is active-low
// with its nibbles swapped.
std::optional<std::array<int, 8>> decodeDipSwitches(const QByteArray &report);

struct FirmwareInfo {
    QString version;
    QString checksum;  // four lower-case hex digits, high byte first
    bool checksumGood = false;
};
// nullopt for a report shorter than 7 bytes. Model 259 writes its version as three digits.
std::optional<FirmwareInfo> decodeFirmware(const QByteArray &report, std::int32_t modelType);

struct SelfTestRecord {
    int area = 0;  // 1-based
    int point = 0;
    bool sensorFault = false;
    bool ledFault = false;
};
// The 7-byte records from byte 1 on; a message shorter than 7 bytes carries none.
std::vector<SelfTestRecord> decodeSelfTestRecords(const QByteArray &report);

// One area of a model's layout ("LEDSensorArray" in the device list).
struct AreaDefinition {
    QString label;
    int points = 0;
};

struct DeviceEntry {
    QString name;
    std::vector<AreaDefinition> areas;
};
// The first entry of DeviceList.plist whose "ModelType" equals the model; nullopt when the
// file cannot be read or has none.
std::optional<DeviceEntry> findDevice(std::int32_t modelType);

enum class Verdict { OK, Check, All };
const char *verdictName(Verdict verdict);

struct AreaSummary {
    QString label;
    int tested = 0;
    Verdict led = Verdict::OK;
    Verdict sensor = Verdict::OK;
};
struct SelfTestResult {
    std::vector<AreaSummary> areas;
    std::vector<SelfTestRecord> faults;  // points with an LED or sensor fault
    int missingAreas = 0;                // areas of the layout without any record
};
// One summary per run of equal area numbers; records for areas outside the layout, and points
// beyond an area's point count, are skipped.
SelfTestResult judgeSelfTest(const std::vector<SelfTestRecord> &records,
                             const std::vector<AreaDefinition> &layout);

}  // namespace tavix::panelctl
