// The reports the driver daemon sends on the pane's port "HardwareInfoFromDaemon": one message
// each, a type byte first. Decoding checks every length before it reads a byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavix {

// The port the reports arrive on.
inline constexpr char kHardwareInfoPortName[] = "HardwareInfoFromDaemon";

enum ReportType : std::uint8_t {
    REPORT_DIP_SW = 0,
    REPORT_SELF_TEST_RESULT = 1,
    REPORT_CHECKSUM_AND_VERSION = 6,
    REPORT_BUTTON_STATE = 24,
};

// Bytes of a record in a self-test report, and of each fixed-layout report with its type byte.
inline constexpr std::size_t kSelfTestRecordSize = 7;
inline constexpr std::size_t kDipSwitchReportSize = 2;
inline constexpr std::size_t kChecksumReportSize = 7;
inline constexpr std::size_t kButtonReportSize = 4;

// One tested point: a state of 1 is a fault, anything else is good.
struct SelfTestRecord {
    std::uint8_t number = 0;  // area, 1-based
    std::uint8_t point = 0;
    std::uint8_t sensState = 0;  // low nibble of the state byte
    std::uint8_t ledState = 0;   // high nibble
    bool operator==(const SelfTestRecord &) const = default;
};

struct ChecksumAndVersion {
    std::uint8_t checksumLow = 0;
    std::uint8_t checksumHigh = 0;
    std::uint8_t verdict = 0;  // 0 good, anything else bad
    std::uint8_t versionA = 0;
    std::uint8_t versionB = 0;
    std::uint8_t versionC = 0;  // a character
};

struct ButtonState {
    std::uint8_t buttonL = 0;
    std::uint8_t button1 = 0;
    std::uint8_t button2 = 0;
};

struct HardwareReport {
    ReportType type = REPORT_DIP_SW;
    int dipSwitches = 0;                  // REPORT_DIP_SW: bit 7 is switch 1 ... bit 0 is switch 8
    ChecksumAndVersion checksum;          // REPORT_CHECKSUM_AND_VERSION
    ButtonState buttons;                  // REPORT_BUTTON_STATE
    std::vector<SelfTestRecord> records;  // REPORT_SELF_TEST_RESULT (may be none)
};

// nullopt for an empty message, an unknown type, or a DIP-switch, checksum or button report
// shorter than its layout. A self-test report of any length decodes (into 0 or more records).
std::optional<HardwareReport> decodeHardwareReport(const std::uint8_t *data, std::size_t size);

// floor(size / 7) records; record i spans bytes 7i + 1 to 7i + 7 of the message, of which the
// area (offset 0), the point (1) and the state byte (4) are read.
std::vector<SelfTestRecord> decodeSelfTestRecords(const std::uint8_t *data, std::size_t size);

// The switch byte arrives active-low with its nibbles swapped.
int dipSwitchValue(std::uint8_t reportByte);
// "0" or "1" for switch n (1..8) of a value from dipSwitchValue.
int dipSwitch(int value, int n);

// Model 259 shows three decimal digits from the low nibbles ("1.23"); every other model shows
// "%2x.%02x%c" of the three version bytes.
std::string formatFirmwareVersion(std::int32_t modelType, const ChecksumAndVersion &info);
// Four lower-case hexadecimal digits, high byte first.
std::string formatChecksum(const ChecksumAndVersion &info);

// The message bytes of each report, as the daemon builds them.
std::vector<std::uint8_t> encodeDipSwitchReport(std::uint8_t reportByte);
std::vector<std::uint8_t> encodeChecksumReport(const ChecksumAndVersion &info);
std::vector<std::uint8_t> encodeButtonReport(const ButtonState &state);
std::vector<std::uint8_t> encodeSelfTestReport(const std::vector<SelfTestRecord> &records);

}  // namespace tavix
