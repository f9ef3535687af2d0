#include "settings_store.h"

#include <plist/plist.h>
#include <sys/stat.h>

#include <cstdlib>
#include <memory>
#include <type_traits>
#include <variant>

#include "atomic_file.h"
#include "paths.h"
#include "plist_guard.h"

namespace tavix {
namespace {

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
    if (checkPlistBytes(bytes) != PlistGuardVerdict::Accept) {
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
        // Someone faster (the driver side, another of our processes) keeps what they wrote.
        createFileExclusively(path, serializePlist(defaults));
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

bool updatePlistFile(const std::string &path, const std::function<bool(SettingsDict &)> &change) {
    FileUpdateLock lock(path);
    SettingsDict current;
    if (pathExists(path)) {
        std::optional<SettingsDict> existing = readPlistFile(path);
        if (!existing) {
            return false;
        }
        current = std::move(*existing);
    }
    if (!change(current)) {
        return true;
    }
    return writePlistFileAtomically(current, path);
}

bool saveSettingItemsToPlist(const SettingsDict &items, const std::string &path) {
    return updatePlistFile(path, [&items](SettingsDict &current) {
        for (const auto &[key, value] : items.entries()) {
            current.set(key, value);
        }
        return true;
    });
}

bool saveItemToInfoPlist(const PlistValue &value, const std::string &key) {
    SettingsDict item;
    item.set(key, value);
    return saveSettingItemsToPlist(item, getUilitiesFilePath());
}

}  // namespace tavix
