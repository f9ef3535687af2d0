// Checks that keep hostile property-list files away from the plist library. libplist 2.2
// parses and serialises recursively and expands objects that a binary list shares into copies,
// so a file's size and shape are checked before the library sees a byte of it. Every check runs
// in one pass over the bytes, without recursion, in memory proportional to the file at most.
#pragma once

#include <cstddef>
#include <string_view>

namespace tavix {

// Files larger than this, or nested deeper than kMaxPlistDepth containers, are refused before
// parsing and count as unreadable.
inline constexpr std::size_t kMaxPlistFileSize = 4 * 1024 * 1024;
inline constexpr int kMaxPlistDepth = 64;

enum class PlistGuardVerdict {
    Accept,
    Empty,
    TooLarge,
    TooDeep,    // more than kMaxPlistDepth containers inside one another
    Malformed,  // unbalanced or unterminated markup, a bad binary table, a cycle, ...
};

// XML: counts <dict> and <array> nesting outside comments, CDATA sections, processing
// instructions and the DOCTYPE; a closing tag with nothing open, or markup left unterminated,
// is malformed, and so is a NUL byte anywhere. No size limit is applied here.
PlistGuardVerdict checkXmlPlistNesting(std::string_view bytes, int maxDepth = kMaxPlistDepth);

// Binary ("bplist"): walks the object graph from the root without recursion, refusing
// references out of range, cycles, nesting deeper than maxDepth, keys that are not ASCII
// strings, objects that serve as key and value, strings with NUL or broken UTF-16, and graphs
// whose expansion into a tree holds more than a million nodes.
PlistGuardVerdict checkBinaryPlist(std::string_view bytes, int maxDepth = kMaxPlistDepth);

// The whole guard: size first, then the check for the file's format.
PlistGuardVerdict checkPlistBytes(std::string_view bytes);

}  // namespace tavix
