#include "supportlists.h"

#include <plist/plist.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>

#include "paths.h"

namespace tavix {

namespace {

using PlistPtr = std::unique_ptr<void, void (*)(plist_t)>;

// libplist parses recursively; the lists nest three levels, so anything much deeper is refused
// before it reaches the parser. Binary lists are bounded by their size instead.
constexpr int kMaxXmlNesting = 16;
constexpr std::size_t kMaxBinarySize = 64 * 1024;

bool xmlNestingWithin(const std::string &bytes, int limit) {
    int depth = 0;
    for (std::size_t pos = bytes.find('<'); pos != std::string::npos;
         pos = bytes.find('<', pos + 1)) {
        const bool closing = bytes.compare(pos + 1, 1, "/") == 0;
        const std::size_t name = closing ? pos + 2 : pos + 1;
        const bool container =
            bytes.compare(name, 4, "dict") == 0 || bytes.compare(name, 5, "array") == 0;
        if (!container) {
            continue;
        }
        const std::size_t end = bytes.find('>', name);
        if (end != std::string::npos && bytes[end - 1] == '/') {
            continue;  // <array/>
        }
        depth += closing ? -1 : 1;
        if (depth > limit) {
            return false;
        }
    }
    return true;
}

PlistPtr readArrayRoot(const std::string &path) {
    PlistPtr none(nullptr, plist_free);
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return none;
    }
    std::string bytes;
    bytes.resize(kMaxSupportListSize + 1);
    in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(in.gcount()));
    if (bytes.empty() || bytes.size() > kMaxSupportListSize) {
        return none;
    }
    const auto size = static_cast<std::uint32_t>(bytes.size());
    const bool binary = plist_is_binary(bytes.data(), size) != 0;
    if (binary ? bytes.size() > kMaxBinarySize : !xmlNestingWithin(bytes, kMaxXmlNesting)) {
        return none;
    }
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), size, &root);
    PlistPtr owned(root, plist_free);
    if (root == nullptr || plist_get_node_type(root) != PLIST_ARRAY) {
        return none;
    }
    return owned;
}

std::int64_t integerOf(plist_t node) {
    std::uint64_t value = 0;
    if (node != nullptr && plist_get_node_type(node) == PLIST_UINT) {
        plist_get_uint_val(node, &value);
    }
    return static_cast<std::int64_t>(value);
}

}  // namespace

std::optional<std::vector<DeviceListEntry>> readDeviceList(const std::string &path) {
    const PlistPtr root = readArrayRoot(path);
    if (!root) {
        return std::nullopt;
    }
    std::vector<DeviceListEntry> entries;
    for (std::uint32_t i = 0; i < plist_array_get_size(root.get()); ++i) {
        plist_t item = plist_array_get_item(root.get(), i);
        if (plist_get_node_type(item) != PLIST_DICT) {
            continue;
        }
        DeviceListEntry entry;
        entry.modelType = integerOf(plist_dict_get_item(item, "ModelType"));
        plist_t display = plist_dict_get_item(item, "Display");
        if (display != nullptr && plist_get_node_type(display) == PLIST_DICT) {
            entry.manufacturerID = integerOf(plist_dict_get_item(display, "ManufacturerID"));
            plist_t products = plist_dict_get_item(display, "ProductID");
            if (products != nullptr && plist_get_node_type(products) == PLIST_ARRAY) {
                for (std::uint32_t j = 0; j < plist_array_get_size(products); ++j) {
                    entry.productIDs.push_back(integerOf(plist_array_get_item(products, j)));
                }
            }
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

std::optional<std::vector<std::string>> readResolutionList(const std::string &path) {
    const PlistPtr root = readArrayRoot(path);
    if (!root) {
        return std::nullopt;
    }
    std::vector<std::string> resolutions;
    for (std::uint32_t i = 0; i < plist_array_get_size(root.get()); ++i) {
        plist_t item = plist_array_get_item(root.get(), i);
        if (plist_get_node_type(item) != PLIST_STRING) {
            continue;
        }
        char *text = nullptr;
        plist_get_string_val(item, &text);
        resolutions.emplace_back(text != nullptr ? text : "");
        std::free(text);
    }
    return resolutions;
}

bool matchDeviceAndDisplay(std::uint16_t modelType, const DisplayInfo &display) {
    // This one display model is never the touch panel's, whatever the device list says.
    constexpr std::uint32_t kExcludedDisplayModel = 0x717;
    if (display.model == kExcludedDisplayModel) {
        return false;
    }
    const auto entries = readDeviceList(getSupportDeviceListFilePath());
    if (!entries || entries->empty()) {
        return false;
    }
    bool result = false;
    // No early exit: every entry is visited, and a later one never clears a match.
    for (const DeviceListEntry &entry : *entries) {
        if (static_cast<std::uint16_t>(entry.modelType) != modelType) {
            continue;
        }
        const bool manufacturer =
            display.vendor == kDisplayVendorIDUnknown ||
            static_cast<std::uint32_t>(entry.manufacturerID) == display.vendor;
        if (!manufacturer) {
            continue;
        }
        for (const std::int64_t product : entry.productIDs) {
            if (static_cast<std::uint32_t>(product) == display.model) {
                result = true;
                break;
            }
        }
    }
    return result;
}

}  // namespace tavix
