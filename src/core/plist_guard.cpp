#include "plist_guard.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace tavix {
namespace {

bool startsWith(std::string_view s, std::size_t pos, std::string_view prefix) {
    return s.substr(pos, prefix.size()) == prefix;
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Where the markup that starts at pos ends (the index of its '>'), or npos when it is
// unterminated or ambiguous: quoted text holding '<' or '>' (a parser that ignores the quotes
// would see markup there that this scan skips), a '<' before the end, or, when subsets are not
// allowed, a '[' (a DOCTYPE internal subset, which no property list has).
std::size_t markupEnd(std::string_view s, std::size_t pos) {
    for (std::size_t p = pos; p < s.size(); ++p) {
        const char c = s[p];
        if (c == '"' || c == '\'') {
            const std::size_t close = s.find(c, p + 1);
            if (close == std::string_view::npos ||
                s.substr(p + 1, close - p - 1).find_first_of("<>") != std::string_view::npos) {
                return std::string_view::npos;
            }
            p = close;
        } else if (c == '>') {
            return p;
        } else if (c == '<' || c == '[') {
            return std::string_view::npos;
        }
    }
    return std::string_view::npos;
}

// Binary property lists: walk the object graph from the root, recursing no deeper than the
// limit, refusing references out of range, cycles, nesting deeper than the limit, and graphs
// whose expansion into a tree would hold more nodes than a file of the size cap could.
class BinaryPlistCheck {
  public:
    BinaryPlistCheck(std::string_view bytes, int maxDepth) : data_(bytes), maxDepth_(maxDepth) {}

    PlistGuardVerdict verdict() {
        if (!walk()) {
            return tooDeep_ ? PlistGuardVerdict::TooDeep : PlistGuardVerdict::Malformed;
        }
        return PlistGuardVerdict::Accept;
    }

  private:
    bool walk() {
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
        if (!visit(root, 1)) {
            return false;
        }
        tooDeep_ = depth_[root] > static_cast<std::uint64_t>(maxDepth_);
        return !tooDeep_;
    }

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
        if (level > maxDepth_) {
            tooDeep_ = true;
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

    std::string_view data_;
    int maxDepth_;
    bool tooDeep_ = false;
    std::size_t offsetSize_ = 0, refSize_ = 0;
    std::uint64_t tableOffset_ = 0, objectCount_ = 0;
    std::vector<std::uint8_t> state_, roles_;
    std::vector<std::uint64_t> depth_, nodes_;
};

}  // namespace

PlistGuardVerdict checkXmlPlistNesting(std::string_view s, int maxDepth) {
    constexpr auto npos = std::string_view::npos;
    // XML has no NUL character; the library's parser keeps the length of text that holds one
    // but copies it as a C string, and writes past the copy when serialising it.
    if (s.find('\0') != npos) {
        return PlistGuardVerdict::Malformed;
    }
    int depth = 0;
    std::size_t pos = 0;
    while ((pos = s.find('<', pos)) != npos) {
        // Text that is not markup: what it holds is never counted.
        std::string_view opener, closer;
        if (startsWith(s, pos, "<!--")) {
            opener = "<!--", closer = "-->";
        } else if (startsWith(s, pos, "<![CDATA[")) {
            opener = "<![CDATA[", closer = "]]>";
        } else if (startsWith(s, pos, "<?")) {
            opener = "<?", closer = "?>";
        }
        if (!opener.empty()) {
            const std::size_t end = s.find(closer, pos + opener.size());
            if (end == npos) {
                return PlistGuardVerdict::Malformed;
            }
            pos = end + closer.size();
            continue;
        }
        // A declaration (DOCTYPE and the like) or an element tag.
        const std::size_t end = markupEnd(s, pos + 1);
        if (end == npos) {
            return PlistGuardVerdict::Malformed;
        }
        std::size_t p = pos + 1;
        const bool declaration = p < s.size() && s[p] == '!';
        const bool closing = p < s.size() && s[p] == '/';
        p += closing ? 1 : 0;
        std::size_t nameEnd = p;
        while (nameEnd < end && !isSpace(s[nameEnd]) && s[nameEnd] != '/') {
            ++nameEnd;
        }
        const std::string_view name = s.substr(p, nameEnd - p);
        pos = end + 1;
        if (declaration) {
            continue;
        }
        // Opening tags count when they merely start like a container; closing ones only when
        // they name one exactly, so that odd spellings can only make the count higher.
        if (closing) {
            if (name == "dict" || name == "array") {
                if (depth == 0) {
                    return PlistGuardVerdict::Malformed;
                }
                --depth;
            }
        } else if ((startsWith(name, 0, "dict") || startsWith(name, 0, "array")) &&
                   s[end - 1] != '/' && ++depth > maxDepth) {
            return PlistGuardVerdict::TooDeep;
        }
    }
    return PlistGuardVerdict::Accept;
}

PlistGuardVerdict checkBinaryPlist(std::string_view bytes, int maxDepth) {
    return BinaryPlistCheck(bytes, maxDepth).verdict();
}

PlistGuardVerdict checkPlistBytes(std::string_view bytes) {
    if (bytes.empty()) {
        return PlistGuardVerdict::Empty;
    }
    if (bytes.size() > kMaxPlistFileSize) {
        return PlistGuardVerdict::TooLarge;
    }
    return startsWith(bytes, 0, "bplist") ? checkBinaryPlist(bytes) : checkXmlPlistNesting(bytes);
}

}  // namespace tavix
