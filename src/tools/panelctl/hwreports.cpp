#include "hwreports.h"

#include <plist/plist.h>

#include <memory>
#include <set>

#include "atomic_file.h"
#include "paths.h"
#include "settings_store.h"

namespace tavix::panelctl {
namespace {

struct PlistFree {
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistFree>;

std::int64_t intItem(plist_t dict, const char *key) {
    plist_t node = plist_dict_get_item(dict, key);
    if (node == nullptr) {
        return 0;
    }
    if (plist_get_node_type(node) == PLIST_UINT) {
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return static_cast<std::int64_t>(value);
    }
    return 0;
}

QString stringItem(plist_t dict, const char *key) {
    plist_t node = plist_dict_get_item(dict, key);
    if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) {
        return {};
    }
    char *text = nullptr;
    plist_get_string_val(node, &text);
    QString result = QString::fromUtf8(text);
    free(text);
    return result;
}

std::uint8_t byteAt(const QByteArray &data, qsizetype i) {
    return static_cast<std::uint8_t>(data.at(i));
}

}  // namespace

std::optional<std::array<int, 8>> decodeDipSwitches(const QByteArray &report) {
    if (report.size() < 2) {
        return std::nullopt;
    }
    const unsigned inverted = ~unsigned{byteAt(report, 1)} & 0xFFu;
    const unsigned v = ((inverted & 0x0Fu) << 4) | ((inverted >> 4) & 0x0Fu);
    std::array<int, 8> switches{};
    for (int n = 1; n <= 8; ++n) {
        switches[static_cast<std::size_t>(n - 1)] = static_cast<int>((v >> (8 - n)) & 1u);
    }
    return switches;
}

std::optional<FirmwareInfo> decodeFirmware(const QByteArray &report, std::int32_t modelType) {
    if (report.size() < 7) {
        return std::nullopt;
    }
    const unsigned a = byteAt(report, 4), b = byteAt(report, 5), c = byteAt(report, 6);
    FirmwareInfo info;
    info.version = modelType == 259 ? QString::asprintf("%u.%u%u", b & 0x0Fu, a >> 4, a & 0x0Fu)
                                    : QString::asprintf("%2x.%02x%c", a, b, static_cast<char>(c));
    info.checksum = QString::asprintf("%02x%02x", byteAt(report, 2), byteAt(report, 1));
    info.checksumGood = byteAt(report, 3) == 0;
    return info;
}

std::vector<SelfTestRecord> decodeSelfTestRecords(const QByteArray &report) {
    std::vector<SelfTestRecord> records;
    const qsizetype count = report.size() < 7 ? 0 : report.size() / 7;
    for (qsizetype i = 0; i < count; ++i) {
        const qsizetype at = 7 * i + 1;
        if (at + 4 >= report.size()) {
            break;  // the state byte of the last record is not in the message
        }
        const std::uint8_t state = byteAt(report, at + 4);
        records.push_back(SelfTestRecord{byteAt(report, at), byteAt(report, at + 1),
                                         (state & 0x0F) == 1, (state >> 4) == 1});
    }
    return records;
}

std::optional<DeviceEntry> findDevice(std::int32_t modelType) {
    const std::optional<std::string> bytes =
        readSmallFile(getSupportDeviceListFilePath(), kMaxPlistFileSize);
    if (!bytes || bytes->empty()) {
        return std::nullopt;
    }
    plist_t raw = nullptr;
    plist_from_memory(bytes->data(), static_cast<std::uint32_t>(bytes->size()), &raw);
    const PlistPtr root(raw);
    if (!root || plist_get_node_type(root.get()) != PLIST_ARRAY) {
        return std::nullopt;
    }
    const std::uint32_t count = plist_array_get_size(root.get());
    for (std::uint32_t i = 0; i < count; ++i) {
        plist_t entry = plist_array_get_item(root.get(), i);
        if (plist_get_node_type(entry) != PLIST_DICT || intItem(entry, "ModelType") != modelType) {
            continue;
        }
        DeviceEntry device;
        device.name = stringItem(entry, "Name");
        plist_t areas = plist_dict_get_item(entry, "LEDSensorArray");
        if (areas != nullptr && plist_get_node_type(areas) == PLIST_ARRAY) {
            for (std::uint32_t k = 0; k < plist_array_get_size(areas); ++k) {
                plist_t area = plist_array_get_item(areas, k);
                if (plist_get_node_type(area) == PLIST_DICT) {
                    device.areas.push_back(AreaDefinition{
                        stringItem(area, "Area"), static_cast<int>(intItem(area, "Point"))});
                } else {
                    device.areas.push_back(AreaDefinition{});
                }
            }
        }
        return device;
    }
    return std::nullopt;
}

const char *verdictName(Verdict verdict) {
    switch (verdict) {
        case Verdict::OK:
            return "OK";
        case Verdict::Check:
            return "check";
        case Verdict::All:
            return "all failed";
    }
    return "";
}

SelfTestResult judgeSelfTest(const std::vector<SelfTestRecord> &records,
                             const std::vector<AreaDefinition> &layout) {
    SelfTestResult result;
    const auto verdict = [](int faults, int tested) {
        return faults == 0 ? Verdict::OK : (faults == tested ? Verdict::All : Verdict::Check);
    };
    const auto label = [&](int area) {
        return area >= 1 && area <= static_cast<int>(layout.size())
                   ? layout[static_cast<std::size_t>(area - 1)].label
                   : QString();
    };
    int current = 1, tested = 0, ledFaults = 0, sensorFaults = 0;
    const auto close = [&] {
        result.areas.push_back(AreaSummary{label(current), tested, verdict(ledFaults, tested),
                                           verdict(sensorFaults, tested)});
    };
    std::set<int> seen;
    for (const SelfTestRecord &r : records) {
        if (r.area < 1 || r.area > static_cast<int>(layout.size()) ||
            r.point > layout[static_cast<std::size_t>(r.area - 1)].points) {
            continue;
        }
        if (r.area != current) {
            close();
            current = r.area;
            tested = ledFaults = sensorFaults = 0;
        }
        seen.insert(r.area);
        ++tested;
        if (r.ledFault || r.sensorFault) {
            result.faults.push_back(r);
            ledFaults += r.ledFault ? 1 : 0;
            sensorFaults += r.sensorFault ? 1 : 0;
        }
    }
    close();
    result.missingAreas = static_cast<int>(layout.size()) - static_cast<int>(seen.size());
    return result;
}

}  // namespace tavix::panelctl
