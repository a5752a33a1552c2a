#include "base/Wildcard.h"

#include <utf8proc.h>

#include <vector>

#include "base/Text.h"

namespace base {

namespace {

using CodePoints = std::u32string;

bool IsLetter(char32_t c) {
    const auto category = utf8proc_category(static_cast<utf8proc_int32_t>(c));
    return category >= UTF8PROC_CATEGORY_LU && category <= UTF8PROC_CATEGORY_LO;
}

bool IsDigit(char32_t c) { return c >= '0' && c <= '9'; }

class Matcher {
public:
    Matcher(const CodePoints& text, bool ignoreCase) : text_(text), ignoreCase_(ignoreCase) {}

    // Matches one alternative (no top-level commas) against the whole text.
    bool Match(const CodePoints& pattern, std::size_t begin, std::size_t end) const {
        if (begin < end && pattern[begin] == '~' && end - begin > 1) {
            return !MatchFrom(pattern, begin + 1, end, 0);
        }
        return MatchFrom(pattern, begin, end, 0);
    }

private:
    char32_t Fold(char32_t c) const { return ignoreCase_ ? FoldCase(c) : c; }

    // Length of the pattern element at `p` (one character, an escape or a bracket set).
    std::size_t ElementEnd(const CodePoints& pattern, std::size_t p, std::size_t end) const {
        if (pattern[p] == '`' && p + 1 < end) return p + 2;
        if (pattern[p] == '[') {
            std::size_t q = p + 1;
            if (q < end && pattern[q] == '~') ++q;
            if (q < end && pattern[q] == ']') ++q;  // a leading ']' is literal
            while (q < end && pattern[q] != ']') q += (pattern[q] == '`' && q + 1 < end) ? 2 : 1;
            return q < end ? q + 1 : p + 1;  // an unclosed '[' is a literal
        }
        return p + 1;
    }

    bool ElementMatches(const CodePoints& pattern, std::size_t p, std::size_t elementEnd,
                        char32_t c) const {
        const char32_t e = pattern[p];
        if (elementEnd - p == 2 && e == '`') return Fold(pattern[p + 1]) == Fold(c);
        if (e == '[' && elementEnd - p > 1) return SetMatches(pattern, p + 1, elementEnd - 1, c);
        switch (e) {
            case '#':
                return IsDigit(c);
            case '@':
                return IsLetter(c);
            case '.':
                return !IsDigit(c) && !IsLetter(c);
            case '?':
                return true;
            default:
                return Fold(e) == Fold(c);
        }
    }

    bool SetMatches(const CodePoints& pattern, std::size_t q, std::size_t end, char32_t c) const {
        bool negate = false;
        if (q < end && pattern[q] == '~') negate = true, ++q;
        const char32_t fc = Fold(c);
        bool found = false;
        while (q < end && !found) {
            char32_t low = pattern[q];
            if (low == '`' && q + 1 < end) low = pattern[++q];
            ++q;
            if (q + 1 < end && pattern[q] == '-') {
                char32_t high = pattern[q + 1];
                q += 2;
                found = (c >= low && c <= high) || (fc >= Fold(low) && fc <= Fold(high));
            } else {
                found = Fold(low) == fc;
            }
        }
        return found != negate;
    }

    // Iterative match with backtracking to the last star: linear for the usual patterns.
    bool MatchFrom(const CodePoints& pattern, std::size_t p, std::size_t end, std::size_t t) const {
        std::size_t starP = end + 1;
        std::size_t starT = 0;
        while (t < text_.size()) {
            if (p < end && pattern[p] == '*') {
                starP = ++p;
                starT = t;
                continue;
            }
            if (p < end) {
                const std::size_t next = ElementEnd(pattern, p, end);
                if (ElementMatches(pattern, p, next, text_[t])) {
                    p = next;
                    ++t;
                    continue;
                }
            }
            if (starP == end + 1) return false;
            p = starP;
            t = ++starT;
        }
        while (p < end && pattern[p] == '*') ++p;
        return p == end;
    }

    const CodePoints& text_;
    bool ignoreCase_;
};

}  // namespace

bool WcMatch(std::string_view text, std::string_view pattern, bool ignoreCase) {
    const CodePoints t = ToCodePoints(text);
    const CodePoints p = ToCodePoints(pattern);
    const Matcher matcher(t, ignoreCase);
    // Split at commas that are neither escaped nor inside brackets.
    std::size_t begin = 0;
    bool inSet = false;
    for (std::size_t i = 0; i <= p.size(); ++i) {
        if (i < p.size()) {
            if (p[i] == '`') {
                ++i;
                continue;
            }
            if (p[i] == '[' && !inSet) inSet = true;
            else if (p[i] == ']' && inSet) inSet = false;
            if (p[i] != ',' || inSet) continue;
        }
        if (matcher.Match(p, begin, i)) return true;
        begin = i + 1;
    }
    return false;
}

}  // namespace base
