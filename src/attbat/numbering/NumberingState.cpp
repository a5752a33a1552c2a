#include "attbat/numbering/NumberingState.h"

#include <clocale>
#include <cmath>
#include <cwctype>
#include <locale.h>

#include "base/Format.h"
#include "base/Text.h"

namespace attbat {

namespace {

bool IsDigit(char32_t c) { return c >= U'0' && c <= U'9'; }

// Letters for a count: the last one A + (n - 1) mod 26, those ahead the letters of n / 26. At
// n = 52, 78, ... the leading letters are one too far (BZ, not AZ); numbers the users have
// written so stay as they are.
std::string Letters(long long n) {
    const char last = static_cast<char>('A' + ((n - 1) % 26 + 26) % 26);
    return (n > 26 ? Letters(n / 26) : std::string()) + last;
}

}  // namespace

void NumberingState::Restart() {
    numberText.clear();
    numberPrefix.clear();
    numberIncrement = 1;
}

void NumberingState::StartAtOne() {
    numberText.assign(1, '1');
    numberPrefix.clear();
    numberIncrement = 1;
}

void NumberingState::StartDrawing(std::string_view path) {
    if (!lastDrawingPath.empty() && !base::EqualNoCase(lastDrawingPath, path)) {
        lastBlockName.clear();
        Restart();
    }
    lastDrawingPath = std::string(path);
}

void NumberingState::SplitStart(std::string_view text) {
    const std::u32string points = base::ToCodePoints(base::Trim(text));
    if (points.empty() || !IsDigit(points.back())) {
        numberText = base::FromCodePoints(points);
        return;
    }
    std::size_t first = points.size();
    while (first > 0 && IsDigit(points[first - 1])) --first;
    numberPrefix = base::FromCodePoints(points.substr(0, first));
    numberText = base::FromCodePoints(points.substr(first));
}

void NumberingState::Advance() {
    const std::u32string points = base::ToCodePoints(numberText);
    if (points.empty() || !IsLetterOrDigit(points.front())) {
        numberText.assign(1, '1');
        numberPrefix.clear();
        return;
    }
    if (IsDigit(points.back())) {
        // The leading digits count, as _wtoi reads them; the width is the text's.
        long long value = 0;
        for (char32_t c : points) {
            if (!IsDigit(c)) break;
            value = value * 10 + (c - U'0');
        }
        const std::string format = base::Sprintf("%%0%dd", static_cast<int>(points.size()));
        numberText = base::Sprintf(format, static_cast<int>(value) + numberIncrement);
        return;
    }
    const std::u32string upper = base::ToCodePoints(base::ToUpper(numberText));
    long long n = 0;
    for (std::size_t i = 0; i < upper.size(); ++i) {
        const double place = std::pow(26.0, static_cast<double>(upper.size() - i - 1));
        n += std::llround((static_cast<double>(upper[i]) - 64) * place);
    }
    std::string next = Letters(n + numberIncrement);
    numberText = points.front() > U'Z' ? base::ToLower(next) : next;
}

NumberingState& TheNumberingState() {
    static NumberingState state;
    return state;
}

bool IsLetterOrDigit(char32_t c) {
    if (c < 0x80) return (c >= U'0' && c <= U'9') || (c >= U'A' && c <= U'Z') || (c >= U'a' && c <= U'z');
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
    return utf8 && iswalnum_l(static_cast<wint_t>(c), utf8);
}

bool IsAllLettersOrDigits(std::string_view text) {
    for (std::size_t pos = 0; pos < text.size();) {
        if (!IsLetterOrDigit(base::DecodeUtf8(text, pos))) return false;
    }
    return true;
}

}  // namespace attbat
