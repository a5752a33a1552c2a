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
    if (count_ == 0 || pointPos_ <= 0) {
        out += '0';
    } else {
        for (int i = 0; i < pointPos_; ++i) out += Digit(i);
    }
    if (decimals <= 0) return;
    out += '.';
    for (int j = 0; j < decimals; ++j) out += Digit(pointPos_ + j);
}

std::optional<std::uint64_t> DecimalDigits::Scaled(int decimals) const {
    int length = pointPos_ + decimals;
    if (length > 18) return std::nullopt;
    std::uint64_t scaled = 0;
    for (int i = 0; i < length; ++i) scaled = scaled * 10 + static_cast<unsigned>(Digit(i) - '0');
    return scaled;
}

std::optional<std::uint64_t> RoundScaled(double value, int decimals) {
    DecimalDigits digits(value);
    digits.RoundAt(decimals);
    return digits.Scaled(decimals);
}

void AppendScaled(std::string& out, std::uint64_t scaled, int decimals) {
    char text[24];
    auto [end, ec] = std::to_chars(text, text + sizeof text, scaled);
    (void)ec;
    int length = static_cast<int>(end - text);
    if (length <= decimals) {
        out += '0';
    } else {
        out.append(text, length - decimals);
    }
    if (decimals <= 0) return;
    out += '.';
    for (int i = length - decimals; i < length; ++i) out += i < 0 ? '0' : text[i];
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
