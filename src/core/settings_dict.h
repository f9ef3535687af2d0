// The in-memory form of a settings property list: string keys in file order, each holding an
// integer, boolean, real, string, or any other property-list value kept as it was read.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tavix {

// A value of another kind (array, dictionary, data, date) that the pane does not interpret but
// must keep when it rewrites a file. Immutable, so copies share it.
class OpaqueValue {
  public:
    OpaqueValue() = default;
    // Takes ownership of a libplist node.
    explicit OpaqueValue(void *plistNode);
    const void *node() const { return node_.get(); }
    bool operator==(const OpaqueValue &other) const;

  private:
    std::shared_ptr<void> node_;
};

class PlistValue {
  public:
    using Storage = std::variant<std::int64_t, bool, double, std::string, OpaqueValue>;

    PlistValue() : value_(std::int64_t{0}) {}
    PlistValue(int v) : value_(std::int64_t{v}) {}
    PlistValue(long v) : value_(std::int64_t{v}) {}
    PlistValue(long long v) : value_(std::int64_t{v}) {}
    PlistValue(bool v) : value_(v) {}
    PlistValue(double v) : value_(v) {}
    PlistValue(const char *v) : value_(std::string(v)) {}
    PlistValue(std::string v) : value_(std::move(v)) {}
    PlistValue(OpaqueValue v) : value_(std::move(v)) {}

    bool isInteger() const { return std::holds_alternative<std::int64_t>(value_); }
    bool isBool() const { return std::holds_alternative<bool>(value_); }
    bool isReal() const { return std::holds_alternative<double>(value_); }
    bool isString() const { return std::holds_alternative<std::string>(value_); }
    bool isNumber() const { return isInteger() || isBool() || isReal(); }

    // Numeric conversion: any number converts (true is 1, reals are truncated toward zero and
    // saturate at the integer range, NaN is 0); anything that is not a number reads as 0.
    std::int64_t toInt() const;
    double toDouble() const;
    bool toBool() const;
    // The string held, or "" for any other kind.
    std::string toString() const;

    const Storage &storage() const { return value_; }
    bool operator==(const PlistValue &other) const { return value_ == other.value_; }

  private:
    Storage value_;
};

class SettingsDict {
  public:
    using Entry = std::pair<std::string, PlistValue>;

    bool empty() const { return entries_.empty(); }
    std::size_t size() const { return entries_.size(); }
    bool contains(const std::string &key) const { return find(key) != nullptr; }
    const PlistValue *find(const std::string &key) const;

    // Replaces the value in place when the key exists, else appends the key at the end.
    void set(const std::string &key, PlistValue value);
    bool remove(const std::string &key);

    // Lookups of a missing key read as 0, false, 0.0 or "".
    std::int64_t intValue(const std::string &key) const;
    bool boolValue(const std::string &key) const;
    double doubleValue(const std::string &key) const;
    std::string stringValue(const std::string &key) const;

    std::vector<std::string> keys() const;
    const std::vector<Entry> &entries() const { return entries_; }
    bool operator==(const SettingsDict &other) const { return entries_ == other.entries_; }

  private:
    std::vector<Entry> entries_;
};

}  // namespace tavix
