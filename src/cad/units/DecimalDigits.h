#pragma once
// Decimal digits of a real, rounded the way the CAD host rounds what it prints: half away from
// zero on the shortest decimal text that reads back as the same double, so 0.125 and 2.675 show
// as 0.13 and 2.68 although their binary values lie just below the half.

#include <cstdint>
#include <optional>
#include <string>

namespace cad {

// |value| as digits d1..dn with the decimal point after pointPos digits (negative: zeros first).
// No leading zeros; count 0 means the number is zero.
class DecimalDigits {
public:
    // The shortest digits of |value|; value must be finite.
    explicit DecimalDigits(double value);

    // Rounds half away from zero to `decimals` places after the point (negative: to tens...).
    void RoundAt(int decimals);
    // Rounds to `significant` digits (at least 1); zero stays zero.
    void RoundToSignificant(int significant);

    bool IsZero() const { return count_ == 0; }
    int PointPos() const { return pointPos_; }
    // Digit i counted from the first significant one; '0' past either end.
    char Digit(int i) const { return i >= 0 && i < count_ ? digits_[i] : '0'; }

    // Same digits at the same place: the same rounded number.
    bool operator==(const DecimalDigits& other) const;

    // Appends "int.frac" with exactly `decimals` places ("0" before the point when below 1).
    void AppendFixed(std::string& out, int decimals) const;
    // The digits as an integer scaled by 10^decimals, or nothing when that exceeds 18 digits.
    std::optional<std::uint64_t> Scaled(int decimals) const;

private:
    char digits_[32];
    int count_ = 0;
    int pointPos_ = 0;
};

// Rounds |value| half away from zero to `decimals` places and gives it times 10^decimals, or
// nothing when it has more than 18 digits.
std::optional<std::uint64_t> RoundScaled(double value, int decimals);

// 10^exponent for exponent 0..19.
std::uint64_t PowerOfTen(int exponent);

// Appends an integer scaled by 10^decimals as "int.frac" with exactly `decimals` places.
void AppendScaled(std::string& out, std::uint64_t scaled, int decimals);

// Drops zeros from the decimal number that starts at `from` in text as $DIMZIN asks: 8 trailing
// zeros (and a bare point), 4 the zero before the point. A lone "0" always stays.
void SuppressZeros(std::string& text, std::size_t from, int dimzin);

}  // namespace cad
