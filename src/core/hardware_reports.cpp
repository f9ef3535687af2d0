#include "hardware_reports.h"

#include <cstdio>

namespace tavix {

std::vector<SelfTestRecord> decodeSelfTestRecords(const std::uint8_t *data, std::size_t size) {
    std::vector<SelfTestRecord> records;
    if (data == nullptr || size < kSelfTestRecordSize) {
        return records;
    }
    const std::size_t count = size / kSelfTestRecordSize;
    records.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        // The record's last byte is past the end of a message of exactly 7n bytes; it is not
        // read, and neither is anything beyond offset 4.
        const std::uint8_t *r = data + kSelfTestRecordSize * i + 1;
        SelfTestRecord record;
        record.number = r[0];
        record.point = r[1];
        record.sensState = r[4] & 0x0F;
        record.ledState = (r[4] >> 4) & 0x0F;
        records.push_back(record);
    }
    return records;
}

std::optional<HardwareReport> decodeHardwareReport(const std::uint8_t *data, std::size_t size) {
    if (data == nullptr || size == 0) {
        return std::nullopt;
    }
    HardwareReport report;
    switch (data[0]) {
        case REPORT_DIP_SW:
            if (size < kDipSwitchReportSize) {
                return std::nullopt;
            }
            report.type = REPORT_DIP_SW;
            report.dipSwitches = dipSwitchValue(data[1]);
            return report;
        case REPORT_SELF_TEST_RESULT:
            report.type = REPORT_SELF_TEST_RESULT;
            report.records = decodeSelfTestRecords(data, size);
            return report;
        case REPORT_CHECKSUM_AND_VERSION:
            if (size < kChecksumReportSize) {
                return std::nullopt;
            }
            report.type = REPORT_CHECKSUM_AND_VERSION;
            report.checksum = {data[1], data[2], data[3], data[4], data[5], data[6]};
            return report;
        case REPORT_BUTTON_STATE:
            if (size < kButtonReportSize) {
                return std::nullopt;
            }
            report.type = REPORT_BUTTON_STATE;
            report.buttons = {data[1], data[2], data[3]};
            return report;
        default:
            return std::nullopt;
    }
}

int dipSwitchValue(std::uint8_t reportByte) {
    const unsigned inverted = static_cast<std::uint8_t>(~reportByte);
    return static_cast<int>(((inverted & 0x0Fu) << 4) | ((inverted >> 4) & 0x0Fu));
}

int dipSwitch(int value, int n) {
    return (value >> (8 - n)) & 1;
}

std::string formatFirmwareVersion(std::int32_t modelType, const ChecksumAndVersion &info) {
    char text[32];
    const unsigned a = info.versionA;
    const unsigned b = info.versionB;
    if (modelType == 259) {
        std::snprintf(text, sizeof text, "%u.%u%u", b & 0x0Fu, a >> 4, a & 0x0Fu);
    } else {
        std::snprintf(text, sizeof text, "%2x.%02x%c", a, b, static_cast<char>(info.versionC));
    }
    return text;  // a version byte C of 0 ends the text there
}

std::string formatChecksum(const ChecksumAndVersion &info) {
    char text[8];
    std::snprintf(text, sizeof text, "%02x%02x", static_cast<unsigned>(info.checksumHigh),
                  static_cast<unsigned>(info.checksumLow));
    return text;
}

std::vector<std::uint8_t> encodeDipSwitchReport(std::uint8_t reportByte) {
    return {REPORT_DIP_SW, reportByte};
}

std::vector<std::uint8_t> encodeChecksumReport(const ChecksumAndVersion &info) {
    return {REPORT_CHECKSUM_AND_VERSION,
            info.checksumLow,
            info.checksumHigh,
            info.verdict,
            info.versionA,
            info.versionB,
            info.versionC};
}

std::vector<std::uint8_t> encodeButtonReport(const ButtonState &state) {
    return {REPORT_BUTTON_STATE, state.buttonL, state.button1, state.button2};
}

std::vector<std::uint8_t> encodeSelfTestReport(const std::vector<SelfTestRecord> &records) {
    std::vector<std::uint8_t> bytes(1 + kSelfTestRecordSize * records.size(), 0);
    bytes[0] = REPORT_SELF_TEST_RESULT;
    for (std::size_t i = 0; i < records.size(); ++i) {
        std::uint8_t *r = bytes.data() + 1 + kSelfTestRecordSize * i;
        r[0] = records[i].number;
        r[1] = records[i].point;
        r[4] = static_cast<std::uint8_t>(((records[i].ledState & 0x0F) << 4) |
                                         (records[i].sensState & 0x0F));
    }
    return bytes;
}

}  // namespace tavix
