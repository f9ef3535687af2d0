#include "device_list.h"

#include <plist/plist.h>

#include <cstdlib>
#include <memory>

#include "atomic_file.h"
#include "plist_guard.h"

namespace tavix {
namespace {

struct PlistFree {
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistFree>;

// The root array of a list file, or null. The plist guard sees the bytes before the library.
PlistPtr parseArrayRoot(const std::string &bytes) {
    if (checkPlistBytes(bytes) != PlistGuardVerdict::Accept) {
        return nullptr;
    }
    plist_t raw = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &raw);
    PlistPtr root(raw);
    if (!root || plist_get_node_type(root.get()) != PLIST_ARRAY) {
        return nullptr;
    }
    return root;
}

PlistPtr readArrayRoot(const std::string &path) {
    const std::optional<std::string> bytes = readSmallFile(path, kMaxPlistFileSize);
    return bytes ? parseArrayRoot(*bytes) : nullptr;
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

DeviceEntry entryOf(plist_t dict) {
    DeviceEntry entry;
    entry.modelType = integerOf(item(dict, kModelType));
    entry.name = stringOf(item(dict, kName));
    plist_t display = item(dict, "Display");
    if (display != nullptr && plist_get_node_type(display) == PLIST_DICT) {
        entry.manufacturerID = integerOf(item(display, "ManufacturerID"));
        plist_t products = item(display, "ProductID");
        if (products != nullptr && plist_get_node_type(products) == PLIST_ARRAY) {
            for (std::uint32_t j = 0; j < plist_array_get_size(products); ++j) {
                entry.productIDs.push_back(integerOf(plist_array_get_item(products, j)));
            }
        }
    }
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
    return entry;
}

std::optional<std::vector<DeviceEntry>> entriesOf(const PlistPtr &root) {
    if (!root) {
        return std::nullopt;
    }
    std::vector<DeviceEntry> list;
    const std::uint32_t count = plist_array_get_size(root.get());
    for (std::uint32_t i = 0; i < count; ++i) {
        plist_t dict = plist_array_get_item(root.get(), i);
        if (dict != nullptr && plist_get_node_type(dict) == PLIST_DICT) {
            list.push_back(entryOf(dict));
        }
    }
    return list;
}

}  // namespace

std::optional<std::vector<DeviceEntry>> parseDeviceList(const std::string &bytes) {
    return entriesOf(parseArrayRoot(bytes));
}

std::optional<std::vector<DeviceEntry>> readDeviceList(const std::string &path) {
    return entriesOf(readArrayRoot(path));
}

std::optional<std::vector<std::string>> readResolutionList(const std::string &path) {
    const PlistPtr root = readArrayRoot(path);
    if (!root) {
        return std::nullopt;
    }
    std::vector<std::string> resolutions;
    for (std::uint32_t i = 0; i < plist_array_get_size(root.get()); ++i) {
        plist_t node = plist_array_get_item(root.get(), i);
        if (plist_get_node_type(node) == PLIST_STRING) {
            resolutions.push_back(stringOf(node));
        }
    }
    return resolutions;
}

const DeviceEntry *findDeviceEntry(const std::vector<DeviceEntry> &list, std::int64_t modelType) {
    for (const DeviceEntry &entry : list) {
        if (entry.modelType == modelType) {
            return &entry;
        }
    }
    return nullptr;
}

}  // namespace tavix
