#include "settings_store.h"

#include <plist/plist.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "atomic_file.h"
#include "paths.h"

namespace tavix {
namespace {

// libplist 2.2 parses and serialises recursively, and expands objects that a binary plist
// shares into copies, so the shape of a file is checked before the library sees it.

bool xmlNestingWithinLimit(const std::string &bytes) {
    int depth = 0;
    std::size_t pos = 0;
    while ((pos = bytes.find('<', pos)) != std::string::npos) {
        ++pos;
        bool closing = pos < bytes.size() && bytes[pos] == '/';
        std::size_t nameStart = closing ? pos + 1 : pos;
        std::size_t nameEnd = nameStart;
        while (nameEnd < bytes.size() && std::isalpha(static_cast<unsigned char>(bytes[nameEnd]))) {
            ++nameEnd;
        }
        std::string_view name(bytes.data() + nameStart, nameEnd - nameStart);
        if (name != "dict" && name != "array") {
            continue;
        }
        std::size_t close = bytes.find('>', nameEnd);
        if (close == std::string::npos) {
            return true;  // unterminated tag: the parser rejects it
        }
        bool selfClosing = close > nameEnd && bytes[close - 1] == '/';
        if (closing) {
            --depth;
        } else if (!selfClosing && ++depth > kMaxPlistDepth) {
            return false;
        }
        pos = close;
    }
    return true;
}

// Binary property lists: walk the object graph from the root without recursion deeper than the
// limit, refusing references out of range, cycles, nesting deeper than the limit, and graphs
// whose expansion into a tree would hold more nodes than a file of the size cap could.
class BinaryPlistCheck {
  public:
    explicit BinaryPlistCheck(const std::string &bytes) : data_(bytes) {}

    bool ok() {
        constexpr std::size_t kHeader = 8, kTrailer = 32;
        if (data_.size() < kHeader + kTrailer) {
            return false;
        }
        const std::size_t trailer = data_.size() - kTrailer;
        offsetSize_ = byte(trailer + 6);
        refSize_ = byte(trailer + 7);
        std::uint64_t count = bigEndian(trailer + 8, 8);
        std::uint64_t root = bigEndian(trailer + 16, 8);
        tableOffset_ = bigEndian(trailer + 24, 8);
        if (offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 || refSize_ > 8 || count == 0 ||
            count > data_.size() || root >= count || tableOffset_ < kHeader ||
            tableOffset_ > trailer || (trailer - tableOffset_) / offsetSize_ < count) {
            return false;
        }
        objectCount_ = count;
        state_.assign(count, kUnvisited);
        roles_.assign(count, 0);
        roles_[root] = kValueRole;
        depth_.assign(count, 0);
        nodes_.assign(count, 0);
        return visit(root, 1) && depth_[root] <= static_cast<std::uint64_t>(kMaxPlistDepth);
    }

  private:
    static constexpr std::uint8_t kUnvisited = 0, kActive = 1, kDone = 2;
    static constexpr std::uint8_t kKeyRole = 1, kValueRole = 2;
    static constexpr std::uint64_t kMaxNodes = 1u << 20;

    std::uint8_t byte(std::size_t at) const { return static_cast<std::uint8_t>(data_[at]); }

    std::uint64_t bigEndian(std::size_t at, std::size_t width) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < width; ++i) {
            value = (value << 8) | byte(at + i);
        }
        return value;
    }

    // The element count of the object at offset (from its marker, or the integer that follows
    // it) and where its contents start.
    bool readCount(std::uint64_t offset, std::uint64_t &count, std::uint64_t &start) const {
        count = byte(offset) & 0x0F;
        start = offset + 1;
        if (count != 0x0F) {
            return true;
        }
        if (start >= tableOffset_ || (byte(start) >> 4) != 0x1 || (byte(start) & 0x0F) > 3) {
            return false;
        }
        std::size_t width = std::size_t{1} << (byte(start) & 0x03);
        if (start + 1 + width > tableOffset_) {
            return false;
        }
        count = bigEndian(start + 1, width);
        start += 1 + width;
        return true;
    }

    // Strings must lie inside the object area and hold no NUL (the library asserts on one);
    // UTF-16 text must also be well formed.
    bool stringIsClean(std::uint64_t offset, std::uint8_t type) const {
        std::uint64_t count = 0, start = 0;
        if (!readCount(offset, count, start)) {
            return false;
        }
        const std::uint64_t unit = type == 0x6 ? 2 : 1;
        if (count > tableOffset_ || (tableOffset_ - start) / unit < count) {
            return false;
        }
        bool expectLow = false;
        for (std::uint64_t i = 0; i < count; ++i) {
            std::uint64_t c = bigEndian(start + i * unit, unit);
            bool high = unit == 2 && c >= 0xD800 && c <= 0xDBFF;
            bool low = unit == 2 && c >= 0xDC00 && c <= 0xDFFF;
            if (c == 0 || (unit == 1 && c >= 0x80) || low != expectLow || (expectLow && high)) {
                return false;
            }
            expectLow = high;
        }
        return !expectLow;
    }

    // Dictionary keys must be ASCII strings (every key this system uses is), and an object
    // serving as a key must serve as nothing else: the library asserts on a key that is not a
    // string or whose UTF-16 text it cannot convert, so such files are refused.
    bool isString(std::uint64_t object) const {
        std::uint64_t offset = bigEndian(tableOffset_ + object * offsetSize_, offsetSize_);
        if (offset < 8 || offset >= tableOffset_) {
            return false;
        }
        std::uint8_t type = byte(offset) >> 4;
        return type == 0x5;
    }

    bool visit(std::uint64_t object, int level) {
        if (level > kMaxPlistDepth) {
            return false;
        }
        if (state_[object] == kDone) {
            return true;
        }
        if (state_[object] == kActive) {
            return false;  // a cycle
        }
        state_[object] = kActive;
        std::uint64_t offset = bigEndian(tableOffset_ + object * offsetSize_, offsetSize_);
        if (offset < 8 || offset >= tableOffset_) {
            return false;
        }
        std::uint8_t marker = byte(offset);
        std::uint8_t type = marker >> 4;
        std::uint64_t depth = 0, nodes = 1;
        if (type == 0x5 || type == 0x6) {
            if (!stringIsClean(offset, type)) {
                return false;
            }
        } else if (type == 0xA || type == 0xB || type == 0xC || type == 0xD) {
            std::uint64_t count = 0, refs = 0;
            if (!readCount(offset, count, refs)) {
                return false;
            }
            std::uint64_t refCount = type == 0xD ? count * 2 : count;
            if (count > tableOffset_ || (tableOffset_ - refs) / refSize_ < refCount) {
                return false;
            }
            for (std::uint64_t i = 0; i < refCount; ++i) {
                std::uint64_t child = bigEndian(refs + i * refSize_, refSize_);
                if (child >= objectCount_) {
                    return false;
                }
                const bool isKey = type == 0xD && i < count;
                roles_[child] |= isKey ? kKeyRole : kValueRole;
                if ((isKey && !isString(child)) || roles_[child] == (kKeyRole | kValueRole) ||
                    !visit(child, level + 1)) {
                    return false;
                }
                depth = std::max(depth, depth_[child]);
                nodes += nodes_[child];
                if (nodes > kMaxNodes) {
                    return false;
                }
            }
            ++depth;
        }
        depth_[object] = depth;
        nodes_[object] = nodes;
        state_[object] = kDone;
        return true;
    }

    const std::string &data_;
    std::size_t offsetSize_ = 0, refSize_ = 0;
    std::uint64_t tableOffset_ = 0, objectCount_ = 0;
    std::vector<std::uint8_t> state_, roles_;
    std::vector<std::uint64_t> depth_, nodes_;
};

bool isBinaryPlist(const std::string &bytes) {
    return bytes.compare(0, 6, "bplist") == 0;
}

struct PlistDeleter {
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

PlistValue toValue(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t b = 0;
            plist_get_bool_val(node, &b);
            return PlistValue(b != 0);
        }
        case PLIST_UINT: {
            std::uint64_t u = 0;
            plist_get_uint_val(node, &u);
            return PlistValue(static_cast<long long>(u));
        }
        case PLIST_REAL: {
            double d = 0;
            plist_get_real_val(node, &d);
            return PlistValue(d);
        }
        case PLIST_STRING: {
            char *s = nullptr;
            plist_get_string_val(node, &s);
            PlistValue value(std::string(s ? s : ""));
            std::free(s);
            return value;
        }
        default:
            return PlistValue(OpaqueValue(plist_copy(node)));
    }
}

plist_t toNode(const PlistValue &value) {
    return std::visit(
        [](const auto &v) -> plist_t {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::int64_t>) {
                return plist_new_uint(static_cast<std::uint64_t>(v));
            } else if constexpr (std::is_same_v<T, bool>) {
                return plist_new_bool(v ? 1 : 0);
            } else if constexpr (std::is_same_v<T, double>) {
                return plist_new_real(v);
            } else if constexpr (std::is_same_v<T, std::string>) {
                return plist_new_string(v.c_str());
            } else {
                return v.node() ? plist_copy(const_cast<void *>(v.node())) : plist_new_dict();
            }
        },
        value.storage());
}

}  // namespace

bool pathExists(const std::string &path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}

std::optional<SettingsDict> parsePlist(const std::string &bytes) {
    if (bytes.empty() || bytes.size() > kMaxPlistFileSize) {
        return std::nullopt;
    }
    if (isBinaryPlist(bytes) ? !BinaryPlistCheck(bytes).ok() : !xmlNestingWithinLimit(bytes)) {
        return std::nullopt;
    }
    plist_t raw = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &raw);
    PlistPtr root(raw);
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT) {
        return std::nullopt;
    }
    SettingsDict dict;
    plist_dict_iter it = nullptr;
    plist_dict_new_iter(root.get(), &it);
    for (;;) {
        char *key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(root.get(), it, &key, &value);
        if (value == nullptr) {
            std::free(key);
            break;
        }
        if (key != nullptr) {
            dict.set(key, toValue(value));
        }
        std::free(key);
    }
    std::free(it);
    return dict;
}

std::optional<SettingsDict> readPlistFile(const std::string &path) {
    std::optional<std::string> bytes = readSmallFile(path, kMaxPlistFileSize);
    if (!bytes) {
        return std::nullopt;
    }
    return parsePlist(*bytes);
}

std::string serializePlist(const SettingsDict &dict) {
    PlistPtr root(plist_new_dict());
    for (const auto &[key, value] : dict.entries()) {
        plist_dict_set_item(root.get(), key.c_str(), toNode(value));
    }
    char *xml = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(root.get(), &xml, &length);
    std::string result = xml ? std::string(xml, length) : std::string();
    plist_to_xml_free(xml);
    return result;
}

bool writePlistFileAtomically(const SettingsDict &dict, const std::string &path) {
    std::string xml = serializePlist(dict);
    return !xml.empty() && writeFileAtomically(path, xml);
}

SettingsDict utilitiesDefaults() {
    SettingsDict d;
    d.set("currentPageIndex", 0);
    d.set("isShowStatuMenu", true);
    d.set("DriverEnable", true);
    d.set("currentDeviceType", 0);
    d.set("VerboseLog", false);
    return d;
}

SettingsDict settingItemsDefaults() {
    SettingsDict d;
    d.set("CalibrationHotKey", "C");
    d.set("SimpleHotKey", "S");
    d.set("CalibrationType", 0);
    d.set("InputMode", 0);
    d.set("SimpleCalibrationType", 0);
    d.set("DoubleClickRange", 32);
    d.set("DoubleClickRate", 0.5);
    d.set("RotateMode", 0);
    d.set("RotateMode", false);  // stored twice on purpose: the file holds the boolean
    d.set("DriverVersion", "0.8.0.3");
    d.set("EraserAreaMode", true);
    d.set("FounctionButton1", true);
    d.set("FounctionButton2", true);
    d.set("ShowResolutionNotice", true);
    d.set("TwoFingerSwipe", true);
    d.set("TwoFingerPinch", true);
    d.set("TwoFingerRotation", true);
    return d;
}

namespace {

SettingsDict readCreatingWithDefaults(const std::string &path, const SettingsDict &defaults) {
    if (!pathExists(path)) {
        writePlistFileAtomically(defaults, path);
    }
    return readPlistFile(path).value_or(SettingsDict());
}

}  // namespace

SettingsDict readUtilitiesDictionary() {
    return readCreatingWithDefaults(getUilitiesFilePath(), utilitiesDefaults());
}

SettingsDict readSettingItemsFromPlist(const std::string &path) {
    return readCreatingWithDefaults(path, settingItemsDefaults());
}

bool saveSettingItemsToPlist(const SettingsDict &items, const std::string &path) {
    SettingsDict merged;
    if (pathExists(path)) {
        std::optional<SettingsDict> existing = readPlistFile(path);
        if (!existing) {
            return false;
        }
        merged = std::move(*existing);
    }
    for (const auto &[key, value] : items.entries()) {
        merged.set(key, value);
    }
    return writePlistFileAtomically(merged, path);
}

bool saveItemToInfoPlist(const PlistValue &value, const std::string &key) {
    SettingsDict item;
    item.set(key, value);
    return saveSettingItemsToPlist(item, getUilitiesFilePath());
}

}  // namespace tavix
