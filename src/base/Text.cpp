#include "base/Text.h"

#include <utf8proc.h>

namespace base {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsContinuation(unsigned char b) { return (b & 0xC0) == 0x80; }

}  // namespace

char32_t DecodeUtf8(std::string_view text, std::size_t& pos) {
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t n = text.size();
    const unsigned char b0 = s[pos];
    if (b0 < 0x80) {
        ++pos;
        return b0;
    }
    int extra = 0;
    char32_t c = 0;
    char32_t min = 0;
    if ((b0 & 0xE0) == 0xC0) {
        extra = 1, c = b0 & 0x1F, min = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
        extra = 2, c = b0 & 0x0F, min = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
        extra = 3, c = b0 & 0x07, min = 0x10000;
    } else {
        ++pos;
        return kReplacement;
    }
    if (pos + extra >= n) {  // truncated sequence
        ++pos;
        return kReplacement;
    }
    for (int i = 1; i <= extra; ++i) {
        if (!IsContinuation(s[pos + i])) {
            ++pos;
            return kReplacement;
        }
        c = (c << 6) | (s[pos + i] & 0x3F);
    }
    if (c < min || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
        ++pos;
        return kReplacement;
    }
    pos += extra + 1;
    return c;
}

std::u32string ToCodePoints(std::string_view text) {
    std::u32string points;
    points.reserve(text.size());
    for (std::size_t pos = 0; pos < text.size();) points.push_back(DecodeUtf8(text, pos));
    return points;
}

std::string FromCodePoints(std::u32string_view points) {
    std::string text;
    text.reserve(points.size());
    for (char32_t c : points) AppendUtf8(text, c);
    return text;
}

void AppendUtf8(std::string& out, char32_t c) {
    if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = kReplacement;
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

bool IsValidUtf8(std::string_view text) {
    std::size_t pos = 0;
    while (pos < text.size()) {
        const std::size_t before = pos;
        if (DecodeUtf8(text, pos) == kReplacement) {
            // A literal U+FFFD is three bytes; a decoding failure advances by one.
            if (pos - before != 3) return false;
        }
    }
    return true;
}

char32_t FoldCase(char32_t c) {
    if (c < 0x80) return (c >= 'A' && c <= 'Z') ? c + 32 : c;
    if (c == 0x130) return c;  // capital I with dot has no simple folding
    utf8proc_int32_t folded[4];
    utf8proc_int32_t last = 0;
    const auto n = utf8proc_decompose_char(static_cast<utf8proc_int32_t>(c), folded, 4,
                                           UTF8PROC_CASEFOLD, &last);
    if (n == 1) return static_cast<char32_t>(folded[0]);
    // A full folding into several code points (ß -> ss): the simple one is the lower case.
    return static_cast<char32_t>(utf8proc_tolower(static_cast<utf8proc_int32_t>(c)));
}

namespace {

template <class Map>
std::string MapCodePoints(std::string_view text, Map map) {
    std::string out;
    out.reserve(text.size());
    std::size_t pos = 0;
    while (pos < text.size()) {
        const unsigned char b = text[pos];
        if (b < 0x80) {
            out += static_cast<char>(map(b));
            ++pos;
            continue;
        }
        AppendUtf8(out, map(DecodeUtf8(text, pos)));
    }
    return out;
}

}  // namespace

std::string FoldCase(std::string_view text) {
    return MapCodePoints(text, [](char32_t c) { return FoldCase(c); });
}

std::string ToUpper(std::string_view text) {
    return MapCodePoints(text, [](char32_t c) -> char32_t {
        if (c < 0x80) return (c >= 'a' && c <= 'z') ? c - 32 : c;
        return static_cast<char32_t>(utf8proc_toupper(static_cast<utf8proc_int32_t>(c)));
    });
}

std::string ToLower(std::string_view text) {
    return MapCodePoints(text, [](char32_t c) -> char32_t {
        if (c < 0x80) return (c >= 'A' && c <= 'Z') ? c + 32 : c;
        return static_cast<char32_t>(utf8proc_tolower(static_cast<utf8proc_int32_t>(c)));
    });
}

int CompareNoCase(std::string_view a, std::string_view b) {
    std::size_t i = 0;
    std::size_t j = 0;
    // ASCII folds to itself but for A-Z, so runs of it compare byte by byte (paths, tags, keys
    // are mostly ASCII); the first other character goes the general way from where it starts.
    while (i < a.size() && j < b.size()) {
        auto ca = static_cast<unsigned char>(a[i]);
        auto cb = static_cast<unsigned char>(b[j]);
        if ((ca | cb) >= 0x80) break;
        if (ca >= 'A' && ca <= 'Z') ca += 'a' - 'A';
        if (cb >= 'A' && cb <= 'Z') cb += 'a' - 'A';
        if (ca != cb) return ca < cb ? -1 : 1;
        ++i;
        ++j;
    }
    while (i < a.size() && j < b.size()) {
        const char32_t ca = FoldCase(DecodeUtf8(a, i));
        const char32_t cb = FoldCase(DecodeUtf8(b, j));
        if (ca != cb) return ca < cb ? -1 : 1;
    }
    if (i < a.size()) return 1;
    if (j < b.size()) return -1;
    return 0;
}

bool EqualNoCase(std::string_view a, std::string_view b) { return CompareNoCase(a, b) == 0; }

namespace {

// Length in bytes of the prefix of `text` at `pos` that folds to `needle`, or npos.
std::size_t MatchFoldedAt(std::string_view text, std::size_t pos, std::string_view needle) {
    std::size_t i = pos;
    std::size_t j = 0;
    while (j < needle.size()) {
        if (i >= text.size()) return std::string_view::npos;
        if (FoldCase(DecodeUtf8(text, i)) != FoldCase(DecodeUtf8(needle, j)))
            return std::string_view::npos;
    }
    return i - pos;
}

}  // namespace

std::size_t FindNoCase(std::string_view haystack, std::string_view needle, std::size_t from) {
    if (from > haystack.size()) return std::string_view::npos;
    if (needle.empty()) return from;
    std::size_t pos = from;
    while (pos < haystack.size()) {
        if (MatchFoldedAt(haystack, pos, needle) != std::string_view::npos) return pos;
        DecodeUtf8(haystack, pos);
    }
    return std::string_view::npos;
}

bool IsTrimSpace(char32_t c) {
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F ||
           c == 0x205F || c == 0x3000;
}

namespace {

template <class Pred>
std::size_t SkipLeft(std::string_view text, Pred pred) {
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t next = pos;
        if (!pred(DecodeUtf8(text, next))) break;
        pos = next;
    }
    return pos;
}

template <class Pred>
std::size_t SkipRight(std::string_view text, Pred pred) {
    // End of the last code point that doesn't satisfy pred. A last byte below 0x80 is a code
    // point of its own, however the bytes before it decode: most texts end in one that stays.
    if (!text.empty() && static_cast<unsigned char>(text.back()) < 0x80 &&
        !pred(static_cast<char32_t>(text.back())))
        return text.size();
    std::size_t pos = 0;
    std::size_t end = 0;
    while (pos < text.size()) {
        if (!pred(DecodeUtf8(text, pos))) end = pos;
    }
    return end;
}

bool Contains(std::string_view chars, char32_t c) {
    std::size_t pos = 0;
    while (pos < chars.size()) {
        if (DecodeUtf8(chars, pos) == c) return true;
    }
    return false;
}

}  // namespace

std::string TrimLeft(std::string_view text) {
    return std::string(text.substr(SkipLeft(text, IsTrimSpace)));
}

std::string TrimRight(std::string_view text) {
    return std::string(text.substr(0, SkipRight(text, IsTrimSpace)));
}

std::string Trim(std::string_view text) {
    // One string made, not one per end: the import trims every value it reads.
    const std::string_view right = text.substr(0, SkipRight(text, IsTrimSpace));
    return std::string(right.substr(SkipLeft(right, IsTrimSpace)));
}

std::string TrimLeft(std::string_view text, std::string_view chars) {
    return std::string(text.substr(SkipLeft(text, [&](char32_t c) { return Contains(chars, c); })));
}

std::string TrimRight(std::string_view text, std::string_view chars) {
    return std::string(
        text.substr(0, SkipRight(text, [&](char32_t c) { return Contains(chars, c); })));
}

std::string Trim(std::string_view text, std::string_view chars) {
    return TrimLeft(TrimRight(text, chars), chars);
}

std::vector<std::string> SplitTrimmed(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = text.find(separator, start);
        if (end == std::string_view::npos) end = text.size();
        std::string piece = Trim(text.substr(start, end - start));
        if (!piece.empty()) pieces.push_back(std::move(piece));
        start = end + 1;
    }
    return pieces;
}

std::size_t Length(std::string_view text) {
    std::size_t count = 0;
    for (const char ch : text) {
        if (!IsContinuation(static_cast<unsigned char>(ch))) ++count;
    }
    return count;
}

std::size_t ByteOffset(std::string_view text, std::size_t index) {
    std::size_t pos = 0;
    while (index > 0 && pos < text.size()) {
        DecodeUtf8(text, pos);
        --index;
    }
    return pos;
}

std::string Left(std::string_view text, long count) {
    if (count <= 0) return {};
    return std::string(text.substr(0, ByteOffset(text, static_cast<std::size_t>(count))));
}

std::string Right(std::string_view text, long count) {
    if (count <= 0) return {};
    const std::size_t length = Length(text);
    if (static_cast<std::size_t>(count) >= length) return std::string(text);
    return std::string(text.substr(ByteOffset(text, length - count)));
}

std::string Mid(std::string_view text, long first, long count) {
    if (first < 0) first = 0;
    const std::size_t begin = ByteOffset(text, static_cast<std::size_t>(first));
    if (count < 0) return std::string(text.substr(begin));
    const std::string_view rest = text.substr(begin);
    return std::string(rest.substr(0, ByteOffset(rest, static_cast<std::size_t>(count))));
}

}  // namespace base

namespace base {

std::string Replace(std::string_view text, std::string_view from, std::string_view to) {
    if (from.empty()) return std::string(text);
    std::string out;
    std::size_t at = 0;
    for (std::size_t hit = text.find(from); hit != std::string_view::npos; hit = text.find(from, at)) {
        out.append(text.substr(at, hit - at)).append(to);
        at = hit + from.size();
    }
    out.append(text.substr(at));
    return out;
}

}  // namespace base
