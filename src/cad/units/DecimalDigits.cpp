#include "cad/units/DecimalDigits.h"

#include <charconv>
#include <cmath>

namespace cad {

DecimalDigits::DecimalDigits(double value) {
    value = std::fabs(value);
    if (value == 0.0) return;
    // Shortest round-trip form, "d.ddde+XX": at most 17 digits.
    char text[40];
    auto [end, ec] = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
    (void)ec;
    const char* p = text;
    for (; p < end && *p != 'e'; ++p) {
        if (*p != '.') digits_[count_++] = *p;
    }
    int exponent = 0;
    if (p < end) {
        ++p;
        bool negative = *p == '-';
        if (*p == '-' || *p == '+') ++p;
        std::from_chars(p, end, exponent);
        if (negative) exponent = -exponent;
    }
    pointPos_ = exponent + 1;
    while (count_ > 0 && digits_[count_ - 1] == '0') --count_;
}

void DecimalDigits::RoundAt(int decimals) {
    int keep = pointPos_ + decimals;
    if (keep >= count_) return;
    if (keep < 0) {
        count_ = 0;
        return;
    }
    bool up = digits_[keep] >= '5';
    count_ = keep;
    if (up) {
        int i = count_ - 1;
        while (i >= 0 && digits_[i] == '9') --i;
        if (i < 0) {
            digits_[0] = '1';
            count_ = 1;
            ++pointPos_;
        } else {
            ++digits_[i];
            count_ = i + 1;
        }
    }
    while (count_ > 0 && digits_[count_ - 1] == '0') --count_;
}

void DecimalDigits::RoundToSignificant(int significant) {
    if (count_ == 0) return;
    RoundAt((significant < 1 ? 1 : significant) - pointPos_);
}

bool DecimalDigits::operator==(const DecimalDigits& other) const {
    if (count_ != other.count_ || (count_ != 0 && pointPos_ != other.pointPos_)) return false;
    for (int i = 0; i < count_; ++i) {
        if (digits_[i] != other.digits_[i]) return false;
    }
    return true;
}

void DecimalDigits::AppendFixed(std::string& out, int decimals) const {
    // One append of a stack buffer: this is the hot path of every decimal distance.
    int integerDigits = pointPos_ > 0 && count_ > 0 ? pointPos_ : 1;
    std::size_t length = static_cast<std::size_t>(integerDigits) + (decimals > 0 ? decimals + 1 : 0);
    char local[64];
    std::string heap;
    char* text = local;
    if (length > sizeof local) {
        heap.resize(length);
        text = heap.data();
    }
    char* p = text;
    if (count_ == 0 || pointPos_ <= 0) {
        *p++ = '0';
    } else {
        for (int i = 0; i < pointPos_; ++i) *p++ = Digit(i);
    }
    if (decimals > 0) {
        *p++ = '.';
        for (int j = 0; j < decimals; ++j) *p++ = Digit(pointPos_ + j);
    }
    out.append(text, length);
}

std::optional<std::uint64_t> DecimalDigits::Scaled(int decimals) const {
    int length = pointPos_ + decimals;
    if (length > 18) return std::nullopt;
    std::uint64_t scaled = 0;
    for (int i = 0; i < length; ++i) scaled = scaled * 10 + static_cast<unsigned>(Digit(i) - '0');
    return scaled;
}

std::optional<std::uint64_t> RoundScaled(double value, int decimals) {
    // Fast road: unless value * 10^decimals lies within a few units in the last place of a half,
    // rounding the double itself decides as rounding its shortest text would.
    static constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                         1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    double magnitude = std::fabs(value);
    if (decimals >= 0 && decimals <= 15) {
        double scaled = magnitude * kPowers[decimals];
        if (scaled < 4.0e15) {
            double whole = std::floor(scaled);
            double fraction = scaled - whole;
            if (std::fabs(fraction - 0.5) > scaled * 0x1p-49 + 0x1p-1000) {
                return static_cast<std::uint64_t>(whole) + (fraction > 0.5 ? 1 : 0);
            }
        }
    }
    DecimalDigits digits(value);
    digits.RoundAt(decimals);
    return digits.Scaled(decimals);
}

std::uint64_t PowerOfTen(int exponent) {
    std::uint64_t power = 1;
    while (exponent-- > 0) power *= 10;
    return power;
}

void AppendScaled(std::string& out, std::uint64_t scaled, int decimals) {
    char digits[24];
    auto [end, ec] = std::to_chars(digits, digits + sizeof digits, scaled);
    (void)ec;
    int length = static_cast<int>(end - digits);
    char text[48];
    char* p = text;
    if (length <= decimals) {
        *p++ = '0';
    } else {
        for (int i = 0; i < length - decimals; ++i) *p++ = digits[i];
    }
    if (decimals > 0) {
        *p++ = '.';
        for (int i = length - decimals; i < length; ++i) *p++ = i < 0 ? '0' : digits[i];
    }
    out.append(text, static_cast<std::size_t>(p - text));
}

void SuppressZeros(std::string& text, std::size_t from, int dimzin) {
    std::size_t point = text.find('.', from);
    if (point == std::string::npos) return;
    if (dimzin & 8) {
        std::size_t end = text.size();
        while (end > point + 1 && text[end - 1] == '0') --end;
        if (end == point + 1) --end;
        text.resize(end);
    }
    // The zero goes only when digits follow the point: a bare 0 stays "0".
    if ((dimzin & 4) && point == from + 1 && text[from] == '0' && text.size() > point + 1) {
        text.erase(from, 1);
    }
}

}  // namespace cad
