// Feeds arbitrary bytes to the property-list reader: it must refuse or parse, never crash.
// Whatever it parses must write out as a file that reads back with the same top-level keys and
// values, and from then on every write and read must be stable.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "settings_store.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::string bytes(reinterpret_cast<const char *>(data), size);
    std::optional<tavix::SettingsDict> dict = tavix::parsePlist(bytes);
    if (!dict) {
        return 0;
    }
    const std::string written = tavix::serializePlist(*dict);
    std::optional<tavix::SettingsDict> again = tavix::parsePlist(written);
    if (!again || again->keys() != dict->keys()) {
        std::abort();
    }
    for (const auto &[key, value] : dict->entries()) {
        if (!value.isNumber() && !value.isString()) {
            continue;  // nested containers may hold duplicate keys, which a rewrite folds
        }
        const tavix::PlistValue *other = again->find(key);
        if (other == nullptr ||
            !(*other == value || (value.isReal() && value.toDouble() != value.toDouble()))) {
            std::abort();
        }
    }
    const std::string rewritten = tavix::serializePlist(*again);
    std::optional<tavix::SettingsDict> third = tavix::parsePlist(rewritten);
    if (!third || tavix::serializePlist(*third) != rewritten) {
        std::abort();
    }
    return 0;
}
