#include "cad/units/TextScanner.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>

namespace cad {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

bool TextScanner::Take(char c) {
    if (AtEnd() || Lower(text_[pos_]) != Lower(c)) return false;
    ++pos_;
    return true;
}

bool TextScanner::Take(std::string_view text) {
    if (text_.substr(pos_, text.size()) != text) return false;
    pos_ += text.size();
    return true;
}

bool TextScanner::SkipSpaces() {
    std::size_t start = pos_;
    while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\t')) ++pos_;
    return pos_ > start;
}

bool TextScanner::ScanReal(double& value) {
    std::size_t start = pos_;
    std::size_t p = pos_;
    std::size_t digits = 0;
    while (p < text_.size() && IsDigit(text_[p])) ++p, ++digits;
    if (p < text_.size() && text_[p] == '.') {
        ++p;
        while (p < text_.size() && IsDigit(text_[p])) ++p, ++digits;
    }
    if (digits == 0) return false;
    // An exponent only counts with digits after it, so "45E" of a bearing stays a letter.
    if (p < text_.size() && (text_[p] == 'e' || text_[p] == 'E')) {
        std::size_t q = p + 1;
        if (q < text_.size() && (text_[q] == '+' || text_[q] == '-')) ++q;
        if (q < text_.size() && IsDigit(text_[q])) {
            while (q < text_.size() && IsDigit(text_[q])) ++q;
            p = q;
        }
    }
    double parsed = 0.0;
    auto [end, ec] = std::from_chars(text_.data() + start, text_.data() + p, parsed);
    if (ec == std::errc::result_out_of_range) {
        // Too small to hold is zero, as the C library reads it; too large is no number.
        parsed = std::strtod(std::string(text_.substr(start, p - start)).c_str(), nullptr);
        if (parsed != 0.0) return false;
    } else if (ec != std::errc() || end != text_.data() + p || !std::isfinite(parsed)) {
        return false;
    }
    value = parsed;
    pos_ = p;
    return true;
}

bool TextScanner::ScanDigits(double& value, bool& integral) {
    std::size_t start = pos_;
    if (!ScanReal(value)) return false;
    integral = true;
    for (std::size_t i = start; i < pos_; ++i) {
        if (!IsDigit(text_[i])) integral = false;
    }
    return true;
}

bool TextScanner::ScanFraction(double& value) {
    std::size_t start = pos_;
    double numerator = 0.0, denominator = 0.0;
    bool integral = false;
    if (ScanDigits(numerator, integral) && integral && Take('/') &&
        ScanDigits(denominator, integral) && integral && denominator != 0.0) {
        value = numerator / denominator;
        return true;
    }
    pos_ = start;
    return false;
}

bool TextScanner::ScanMixed(double& value) {
    std::size_t start = pos_;
    if (ScanFraction(value)) return true;
    double whole = 0.0;
    bool integral = false;
    if (!ScanDigits(whole, integral)) return false;
    if (integral) {
        // A fraction after the whole part, parted by blanks or by one dash as UNITMODE 1 writes.
        std::size_t afterWhole = pos_;
        double fraction = 0.0;
        if ((SkipSpaces() || Take('-')) && ScanFraction(fraction)) {
            value = whole + fraction;
            return true;
        }
        pos_ = afterWhole;
    }
    if (Peek() == '/') {
        pos_ = start;
        return false;
    }
    value = whole;
    return true;
}

}  // namespace cad
