// Which hostile property lists the guard refuses and why, at the edges of its limits.
#include "plist_guard.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "settings_store.h"

namespace tavix {
namespace {

using V = PlistGuardVerdict;

std::string repeat(std::string_view piece, std::size_t times) {
    std::string out;
    out.reserve(piece.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        out += piece;
    }
    return out;
}

// A property list whose root dictionary holds the key "k" with the given value markup.
std::string plist(const std::string &value, const std::string &prolog = {}) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + prolog +
           "<plist version=\"1.0\"><dict><key>k</key>" + value + "</dict></plist>";
}

// Arrays nested `depth` deep inside the root dictionary (which is one more container).
std::string nested(std::size_t depth) {
    return repeat("<array>", depth) + "<true/>" + repeat("</array>", depth);
}

// A binary property list with the given objects (already encoded) and root 0, refs of 1 byte.
std::string binaryPlist(const std::vector<std::string> &objects) {
    std::string out = "bplist00";
    std::vector<std::uint8_t> offsets;
    for (const auto &o : objects) {
        offsets.push_back(static_cast<std::uint8_t>(out.size()));
        out += o;
    }
    const std::size_t table = out.size();
    for (auto o : offsets) {
        out += static_cast<char>(o);
    }
    std::string trailer(32, '\0');
    trailer[6] = 1;  // offset size
    trailer[7] = 1;  // ref size
    trailer[15] = static_cast<char>(objects.size());
    trailer[31] = static_cast<char>(table);
    return out + trailer;
}

TEST(PlistGuardTest, HostileFilesAreRefusedForTheRightReason) {
    const std::size_t limit = kMaxPlistDepth;
    // Binary: object 0 is the dict {"k": object 2}, object 1 the key "k".
    const std::string key = "\x51k", dict("\xD1\x01\x02", 3);
    // The dict refers to object 3, one past the table, i.e. the trailer's first byte.
    std::string shortTable = binaryPlist({std::string("\xD1\x01\x03", 3), key, "\x09"});
    shortTable[shortTable.size() - 32] = 13;
    shortTable[shortTable.size() - 17] = 4;
    // Chains of n one-element arrays below the root dict, and a doubling graph (two-element
    // arrays) whose tree form explodes. The binary walk counts the innermost value as a level
    // too, so its limit falls one container short of XML's.
    const auto chain = [&](int n, char marker) {
        std::vector<std::string> objects{dict, key};
        for (int i = 3; i < 3 + n; ++i) {
            objects.push_back(std::string(1, marker) + std::string(marker & 0x0F, char(i)));
        }
        objects.push_back("\x09");
        return binaryPlist(objects);
    };
    // A good binary list with one trailer byte changed: 6 offset size, 23 root (low byte).
    const auto trailer = [&](int at, char value) {
        std::string bytes = binaryPlist({dict, key, "\x09"});
        bytes[bytes.size() - 32 + at] = value;
        return bytes;
    };
    struct Case {
        const char *label;
        std::string bytes;
        V verdict;
    };
    const Case cases[] = {
        {"plain file with a DOCTYPE",
         plist("<integer>1</integer>",
               "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
               "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">"),
         V::Accept},
        {"nesting at the limit", plist(nested(limit - 1)), V::Accept},
        {"one level past the limit", plist(nested(limit)), V::TooDeep},
        {"empty or closed containers do not nest",
         plist("<array>" + repeat("<array/><dict></dict>", 5000) + "</array>"), V::Accept},
        {"closing tags hidden in a comment",
         plist("<!--" + repeat("</array>", 150'000) + "-->" + nested(150'000)), V::TooDeep},
        {"closing tags hidden in CDATA",
         plist("<string><![CDATA[" + repeat("</array>", 200) + "]]></string>" + nested(200)),
         V::TooDeep},
        {"DOCTYPE with an internal subset",
         plist(nested(2), "<!DOCTYPE plist [<!ENTITY e \"x\">]>"), V::Malformed},
        {"quoted '>' inside a tag", plist("<array a=\">\"></array>"), V::Malformed},
        {"unterminated comment", plist("<!-- " + nested(2)), V::Malformed},
        {"unterminated tag", "<plist><dict><key>k</key><array", V::Malformed},
        {"nothing at all", "", V::Empty},
        {"NUL byte in a string", plist(std::string("<string>a\0</string>", 18)), V::Malformed},
        {"closing tag with nothing open", "<plist></array><array></plist>", V::Malformed},
        {"binary", binaryPlist({dict, key, "\x09"}), V::Accept},
        {"binary self-referencing array", binaryPlist({dict, key, "\xA1\x02"}), V::Malformed},
        {"binary reference out of range", binaryPlist({std::string("\xD1\x01\x09", 3), key}),
         V::Malformed},
        {"binary count past the table", binaryPlist({dict, key, "\xAE\x02"}), V::Malformed},
        {"binary key that is not a string",
         binaryPlist({std::string("\xD1\x02\x01", 3), key, "\x09"}), V::Malformed},
        {"binary UTF-16 lone surrogate", binaryPlist({dict, key, std::string("\x61\xD8\x00", 3)}),
         V::Malformed},
        {"binary key also a value", binaryPlist({std::string("\xD1\x01\x01", 3), key}),
         V::Malformed},
        {"binary 8-bit text above ASCII", binaryPlist({dict, key, "\x51\xE9"}), V::Malformed},
        {"binary count in a following integer",
         binaryPlist({dict, key, "\xAF\x10\x01\x03", "\x09"}), V::Accept},
        {"binary UTF-16 text", binaryPlist({dict, key, std::string("\x61\x00\xE9", 3)}), V::Accept},
        {"binary offset table shorter than the count", shortTable, V::Malformed},
        {"binary header only", "bplist00", V::Malformed},
        // Each way a count that follows its marker can be wrong, for containers and strings.
        {"binary count not an integer", binaryPlist({dict, key, "\xAF\x20\x01"}), V::Malformed},
        {"binary count 16 bytes wide", binaryPlist({dict, key, "\xAF\x14\x01"}), V::Malformed},
        {"binary count past the objects", binaryPlist({dict, key, "\xAF\x12\x01"}), V::Malformed},
        {"binary string count not an integer", binaryPlist({dict, key, "\x5F\x20\x01"}),
         V::Malformed},
        {"binary string longer than the objects",
         binaryPlist({dict, key,
                      "\x5F\x10\x40"
                      "a"}),
         V::Malformed},
        {"binary offset table inside the objects", trailer(31, 8), V::Malformed},
        {"binary offset size 0", trailer(6, 0), V::Malformed},
        {"binary root one past the last object", trailer(23, 3), V::Malformed},
        {"binary nesting at the limit", chain(limit - 2, '\xA1'), V::Accept},
        {"binary one level past the limit", chain(limit - 1, '\xA1'), V::TooDeep},
        {"binary doubling graph", chain(40, '\xA2'), V::Malformed},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(checkPlistBytes(c.bytes), c.verdict) << c.label;
        // What the guard accepts here is a well-formed list; what it refuses the store refuses.
        EXPECT_EQ(parsePlist(c.bytes).has_value(), c.verdict == V::Accept) << c.label;
    }
}

}  // namespace
}  // namespace tavix
