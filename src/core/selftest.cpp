#include "selftest.h"

#include <plist/plist.h>

#include <cctype>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "atomic_file.h"

namespace tavix {
namespace {

struct PlistFree {
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistFree>;

// libplist parses recursively: the nesting of containers is checked before it sees the text.
bool nestingWithinLimit(const std::string &bytes) {
    int depth = 0;
    std::size_t pos = 0;
    while ((pos = bytes.find('<', pos)) != std::string::npos) {
        ++pos;
        const bool closing = pos < bytes.size() && bytes[pos] == '/';
        const std::size_t start = closing ? pos + 1 : pos;
        std::size_t end = start;
        while (end < bytes.size() && std::isalpha(static_cast<unsigned char>(bytes[end]))) {
            ++end;
        }
        const std::string_view name(bytes.data() + start, end - start);
        if (name != "dict" && name != "array") {
            continue;
        }
        const std::size_t close = bytes.find('>', end);
        if (close == std::string::npos) {
            return true;  // unterminated: the parser refuses it
        }
        if (closing) {
            --depth;
        } else if (bytes[close - 1] != '/' && ++depth > kMaxDeviceListDepth) {
            return false;
        }
        pos = close;
    }
    return true;
}

std::int64_t integerOf(plist_t node) {
    if (node == nullptr) {
        return 0;
    }
    switch (plist_get_node_type(node)) {
        case PLIST_UINT: {
            std::uint64_t u = 0;
            plist_get_uint_val(node, &u);
            return static_cast<std::int64_t>(u);
        }
        case PLIST_REAL: {
            double d = 0;
            plist_get_real_val(node, &d);
            return d != d || d > 9.2e18 || d < -9.2e18 ? 0 : static_cast<std::int64_t>(d);
        }
        case PLIST_BOOLEAN: {
            std::uint8_t b = 0;
            plist_get_bool_val(node, &b);
            return b ? 1 : 0;
        }
        default:
            return 0;
    }
}

std::string stringOf(plist_t node) {
    if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) {
        return {};
    }
    char *s = nullptr;
    plist_get_string_val(node, &s);
    std::string out = s ? s : "";
    std::free(s);
    return out;
}

plist_t item(plist_t dict, const char *key) {
    return plist_dict_get_item(dict, key);
}

}  // namespace

std::optional<std::vector<DeviceEntry>> parseDeviceList(const std::string &bytes) {
    if (bytes.empty() || bytes.size() > kMaxDeviceListSize || bytes.rfind("bplist", 0) == 0 ||
        !nestingWithinLimit(bytes)) {
        return std::nullopt;
    }
    plist_t raw = nullptr;
    plist_from_xml(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &raw);
    PlistPtr root(raw);
    if (!root || plist_get_node_type(root.get()) != PLIST_ARRAY) {
        return std::nullopt;
    }
    std::vector<DeviceEntry> list;
    const std::uint32_t count = plist_array_get_size(root.get());
    for (std::uint32_t i = 0; i < count; ++i) {
        plist_t dict = plist_array_get_item(root.get(), i);
        if (dict == nullptr || plist_get_node_type(dict) != PLIST_DICT) {
            continue;
        }
        DeviceEntry entry;
        entry.modelType = integerOf(item(dict, kModelType));
        entry.name = stringOf(item(dict, kName));
        plist_t areas = item(dict, kLEDSensorArray);
        if (areas != nullptr && plist_get_node_type(areas) == PLIST_ARRAY) {
            entry.hasLEDSensorArray = true;
            const std::uint32_t n = plist_array_get_size(areas);
            for (std::uint32_t k = 0; k < n; ++k) {
                plist_t area = plist_array_get_item(areas, k);
                AreaDefinition def;
                if (area != nullptr && plist_get_node_type(area) == PLIST_DICT) {
                    def.label = stringOf(item(area, kArea));
                    def.pointCount = integerOf(item(area, kPointCount));
                    def.index = integerOf(item(area, kIndex));
                }
                entry.areas.push_back(std::move(def));
            }
        }
        list.push_back(std::move(entry));
    }
    return list;
}

std::optional<std::vector<DeviceEntry>> readDeviceList(const std::string &path) {
    std::optional<std::string> bytes = readSmallFile(path, kMaxDeviceListSize);
    if (!bytes) {
        return std::nullopt;
    }
    return parseDeviceList(*bytes);
}

const DeviceEntry *findDeviceEntry(const std::vector<DeviceEntry> &list, std::int64_t modelType) {
    for (const DeviceEntry &entry : list) {
        if (entry.modelType == modelType) {
            return &entry;
        }
    }
    return nullptr;
}

int countAreaRuns(const std::vector<SelfTestRecord> &records) {
    int count = 0;
    std::uint8_t previous = 0;
    for (const SelfTestRecord &r : records) {
        if (r.number != previous) {
            ++count;
            previous = r.number;
        }
    }
    return count;
}

bool needRestartTestSelf(const std::vector<SelfTestRecord> &records, const DeviceEntry *entry) {
    return entry != nullptr &&
           static_cast<std::size_t>(countAreaRuns(records)) < entry->areas.size();
}

const char *verdictKey(Verdict verdict) {
    switch (verdict) {
        case Verdict::ALL:
            return "selfTest.ALL";
        case Verdict::Check:
            return "selfTest.Check";
        case Verdict::OK:
            break;
    }
    return "selfTest.OK";
}

const char *verdictName(Verdict verdict) {
    switch (verdict) {
        case Verdict::ALL:
            return "ALL";
        case Verdict::Check:
            return "Check";
        case Verdict::OK:
            break;
    }
    return "OK";
}

namespace {

Verdict verdictOf(int faults, int tested) {
    if (faults == 0) {
        return Verdict::OK;
    }
    return faults == tested ? Verdict::ALL : Verdict::Check;
}

}  // namespace

SelfTestJudgement judgeSelfTest(const std::vector<SelfTestRecord> &records,
                                const DeviceEntry &entry) {
    SelfTestJudgement out;
    const std::vector<AreaDefinition> &areas = entry.areas;
    if (areas.empty()) {
        return out;  // no area 1 to report on
    }
    int a = 1;
    int tested = 0;
    int ledFaults = 0;
    int sensorFaults = 0;
    const auto closeArea = [&] {
        AreaSummary row;
        row.area = a;
        row.label = areas[static_cast<std::size_t>(a - 1)].label;
        row.tested = tested;
        row.ledFaults = ledFaults;
        row.sensorFaults = sensorFaults;
        row.led = verdictOf(ledFaults, tested);
        row.sensor = verdictOf(sensorFaults, tested);
        out.summaries.push_back(std::move(row));
    };
    for (const SelfTestRecord &r : records) {
        if (r.number == 0 || r.number > areas.size()) {
            continue;  // no area definition for it
        }
        const AreaDefinition &def = areas[r.number - 1u];
        if (r.point > def.pointCount) {
            continue;
        }
        if (r.number != a) {
            closeArea();
            a = r.number;
            tested = ledFaults = sensorFaults = 0;
        }
        ++tested;
        const bool sensFault = r.sensState == 1;
        const bool ledFault = r.ledState == 1;
        if (sensFault || ledFault) {
            out.errors.push_back({a, def.label, r.point, r.sensState, r.ledState});
            sensorFaults += sensFault ? 1 : 0;
            ledFaults += ledFault ? 1 : 0;
        }
    }
    closeArea();
    return out;
}

}  // namespace tavix
