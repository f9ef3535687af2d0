#include "settings_dict.h"

#include <plist/plist.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace tavix {

OpaqueValue::OpaqueValue(void *plistNode)
    : node_(plistNode, [](void *node) { plist_free(static_cast<plist_t>(node)); }) {}

bool OpaqueValue::operator==(const OpaqueValue &other) const {
    if (node_ == other.node_) {
        return true;
    }
    if (!node_ || !other.node_) {
        return false;
    }
    // Compare by serialised form: the library's own comparison does not descend into containers.
    auto xml = [](const void *node) {
        char *text = nullptr;
        std::uint32_t length = 0;
        plist_to_xml(static_cast<plist_t>(const_cast<void *>(node)), &text, &length);
        std::string result = text ? std::string(text, length) : std::string();
        plist_to_xml_free(text);
        return result;
    };
    return xml(node_.get()) == xml(other.node_.get());
}

std::int64_t PlistValue::toInt() const {
    if (const auto *i = std::get_if<std::int64_t>(&value_)) {
        return *i;
    }
    if (const auto *b = std::get_if<bool>(&value_)) {
        return *b ? 1 : 0;
    }
    if (const auto *d = std::get_if<double>(&value_)) {
        if (std::isnan(*d)) {
            return 0;
        }
        constexpr double kMax = 9223372036854775807.0;  // rounds to 2^63
        if (*d >= kMax) {
            return std::numeric_limits<std::int64_t>::max();
        }
        if (*d <= -kMax) {
            return std::numeric_limits<std::int64_t>::min();
        }
        return static_cast<std::int64_t>(*d);
    }
    return 0;
}

bool PlistValue::toBool() const {
    if (const auto *d = std::get_if<double>(&value_)) {
        return *d != 0.0 && !std::isnan(*d);
    }
    return toInt() != 0;
}

double PlistValue::toDouble() const {
    if (const auto *d = std::get_if<double>(&value_)) {
        return *d;
    }
    return static_cast<double>(toInt());
}

std::string PlistValue::toString() const {
    if (const auto *s = std::get_if<std::string>(&value_)) {
        return *s;
    }
    return {};
}

const PlistValue *SettingsDict::find(const std::string &key) const {
    auto it = std::find_if(entries_.begin(), entries_.end(),
                           [&](const Entry &e) { return e.first == key; });
    return it == entries_.end() ? nullptr : &it->second;
}

void SettingsDict::set(const std::string &key, PlistValue value) {
    auto it = std::find_if(entries_.begin(), entries_.end(),
                           [&](const Entry &e) { return e.first == key; });
    if (it != entries_.end()) {
        it->second = std::move(value);
    } else {
        entries_.emplace_back(key, std::move(value));
    }
}

bool SettingsDict::remove(const std::string &key) {
    auto it = std::find_if(entries_.begin(), entries_.end(),
                           [&](const Entry &e) { return e.first == key; });
    if (it == entries_.end()) {
        return false;
    }
    entries_.erase(it);
    return true;
}

std::int64_t SettingsDict::intValue(const std::string &key) const {
    const PlistValue *v = find(key);
    return v ? v->toInt() : 0;
}

bool SettingsDict::boolValue(const std::string &key) const {
    const PlistValue *v = find(key);
    return v ? v->toBool() : false;
}

double SettingsDict::doubleValue(const std::string &key) const {
    const PlistValue *v = find(key);
    return v ? v->toDouble() : 0.0;
}

std::string SettingsDict::stringValue(const std::string &key) const {
    const PlistValue *v = find(key);
    return v ? v->toString() : std::string();
}

std::vector<std::string> SettingsDict::keys() const {
    std::vector<std::string> result;
    result.reserve(entries_.size());
    for (const auto &e : entries_) {
        result.push_back(e.first);
    }
    return result;
}

}  // namespace tavix
