#include "cad/units/DistanceText.h"

#include "cad/units/DecimalDigits.h"
#include "cad/units/TextScanner.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>

namespace cad {
namespace {

constexpr int kMaxPrecision = 16;
constexpr int kMaxFractionPrecision = 8;

const char* UnitsName(int units) {
    switch (units) {
        case 1: return "scientific";
        case 2: return "decimal";
        case 3: return "engineering";
        case 4: return "architectural";
        case 5: return "fractional";
    }
    return "unknown";
}

void AppendScientific(std::string& out, double value, int precision, int dimzin) {
    DecimalDigits digits(value);
    digits.RoundToSignificant(precision + 1);
    int exponent = digits.IsZero() ? 0 : digits.PointPos() - 1;
    if (value < 0 && !digits.IsZero()) out += '-';
    std::size_t from = out.size();
    out += digits.IsZero() ? '0' : digits.Digit(0);
    if (precision > 0) {
        out += '.';
        for (int i = 1; i <= precision; ++i) out += digits.Digit(i);
    }
    SuppressZeros(out, from, dimzin);
    out += 'E';
    out += exponent < 0 ? '-' : '+';
    int magnitude = exponent < 0 ? -exponent : exponent;
    if (magnitude < 10) out += '0';
    out += std::to_string(magnitude);
}

void AppendDecimal(std::string& out, double value, int precision, int dimzin) {
    auto scaled = RoundScaled(value, precision);
    DecimalDigits digits(0.0);
    if (!scaled) {
        digits = DecimalDigits(value);
        digits.RoundAt(precision);
    }
    bool zero = scaled ? *scaled == 0 : digits.IsZero();
    if (value < 0 && !zero) out += '-';
    std::size_t from = out.size();
    if (scaled) {
        AppendScaled(out, *scaled, precision);
    } else {
        digits.AppendFixed(out, precision);
    }
    SuppressZeros(out, from, dimzin);
}

// Feet and inches after rounding: the inches text is without its mark.
struct FeetInches {
    std::string feet;
    std::string inches;
    bool feetZero = false;
    bool inchesZero = false;
};

// Joins feet and inches the way $DIMZIN 0-3 wants them: 0 drops zero feet and zero inches,
// 1 keeps both, 2 drops zero inches, 3 drops zero feet. Something always shows.
bool FeetShown(bool feetZero, int dimzin) {
    int zin = dimzin & 3;
    return !(feetZero && (zin == 0 || zin == 3));
}

void AppendFeetInches(std::string& out, bool negative, const FeetInches& parts,
                      const UnitSettings& settings) {
    int zin = settings.dimzin & 3;
    bool showFeet = FeetShown(parts.feetZero, settings.dimzin);
    bool showInches = !(parts.inchesZero && (zin == 0 || zin == 2));
    if (!showFeet && !showInches) showInches = true;
    if (negative && !(parts.feetZero && parts.inchesZero)) out += '-';
    if (showFeet) {
        out += parts.feet;
        out += '\'';
        if (showInches && settings.unitmode == 0) out += '-';
    }
    if (showInches) {
        out += parts.inches;
        out += '"';
    }
}

// Feet and inches of a magnitude whose scaled count of places would pass 18 digits.
FeetInches HugeFeetInches(double magnitude, int decimals) {
    FeetInches parts;
    double inches = std::fmod(magnitude, 12.0);
    double feet = (magnitude - inches) / 12.0;
    DecimalDigits rounded(inches);
    rounded.RoundAt(decimals);
    if (rounded.PointPos() == 2 && rounded.Digit(0) == '1' && rounded.Digit(1) >= '2') {
        feet += 1.0;
        rounded = DecimalDigits(0.0);
    }
    DecimalDigits(feet).AppendFixed(parts.feet, 0);
    rounded.AppendFixed(parts.inches, decimals);
    parts.feetZero = feet == 0.0;
    parts.inchesZero = rounded.IsZero();
    return parts;
}

void AppendEngineering(std::string& out, double value, int precision,
                       const UnitSettings& settings) {
    double magnitude = std::fabs(value);
    FeetInches parts;
    if (auto scaled = RoundScaled(magnitude, precision)) {
        std::uint64_t unit = PowerOfTen(precision);
        std::uint64_t feet = *scaled / (12 * unit);
        std::uint64_t inches = *scaled % (12 * unit);
        parts.feet = std::to_string(feet);
        AppendScaled(parts.inches, inches, precision);
        parts.feetZero = feet == 0;
        parts.inchesZero = inches == 0;
    } else {
        parts = HugeFeetInches(magnitude, precision);
    }
    SuppressZeros(parts.inches, 0, settings.dimzin);
    AppendFeetInches(out, value < 0, parts, settings);
}

// Whole units and a reduced fraction of 1/2^precision, rounded half away from zero; the
// multiplication by a power of two is exact, so this rounding is on the value itself.
struct Fraction {
    double whole = 0.0;
    std::uint64_t numerator = 0;
    std::uint64_t denominator = 1;
};

Fraction ToFraction(double magnitude, int precision) {
    Fraction fraction;
    std::uint64_t denominator = std::uint64_t{1} << precision;
    double scaled = std::round(std::ldexp(magnitude, precision));
    if (scaled >= 9.0e15) {
        fraction.whole = std::round(magnitude);
        return fraction;
    }
    auto units = static_cast<std::uint64_t>(scaled);
    fraction.whole = static_cast<double>(units / denominator);
    std::uint64_t numerator = units % denominator;
    if (numerator != 0) {
        std::uint64_t divisor = std::gcd(numerator, denominator);
        fraction.numerator = numerator / divisor;
        fraction.denominator = denominator / divisor;
    }
    return fraction;
}

void AppendFraction(std::string& out, const Fraction& fraction, bool dropZeroWhole,
                    const UnitSettings& settings) {
    bool hasFraction = fraction.numerator != 0;
    if (!(hasFraction && dropZeroWhole && fraction.whole == 0.0)) {
        DecimalDigits(fraction.whole).AppendFixed(out, 0);
        if (hasFraction) out += settings.unitmode == 0 ? ' ' : '-';
    }
    if (hasFraction) {
        out += std::to_string(fraction.numerator);
        out += '/';
        out += std::to_string(fraction.denominator);
    }
}

void AppendArchitectural(std::string& out, double value, int precision,
                         const UnitSettings& settings) {
    double magnitude = std::fabs(value);
    Fraction total = ToFraction(magnitude, precision);
    double feet = std::floor(total.whole / 12.0);
    Fraction inches = total;
    inches.whole = total.whole - feet * 12.0;
    FeetInches parts;
    DecimalDigits(feet).AppendFixed(parts.feet, 0);
    parts.feetZero = feet == 0.0;
    parts.inchesZero = inches.whole == 0.0 && inches.numerator == 0;
    // "0 1/2" only beside shown feet: 1'-0 1/2", but 1/2" alone.
    AppendFraction(parts.inches, inches, !FeetShown(parts.feetZero, settings.dimzin), settings);
    AppendFeetInches(out, value < 0, parts, settings);
}

void AppendFractional(std::string& out, double value, int precision,
                      const UnitSettings& settings) {
    Fraction fraction = ToFraction(std::fabs(value), precision);
    if (value < 0 && (fraction.whole != 0.0 || fraction.numerator != 0)) out += '-';
    AppendFraction(out, fraction, true, settings);
}

base::Status SyntaxError(std::string_view text, int units, std::size_t position) {
    return base::Status::Error("\"" + std::string(text) + "\" is not a distance in " +
                               UnitsName(units) + " units (stopped at character " +
                               std::to_string(position + 1) + ")");
}

}  // namespace

base::Result<std::string> DistanceText(double value, int units, int precision,
                                       const UnitSettings& settings) {
    if (units == -1) units = settings.lunits;
    if (precision == -1) precision = settings.luprec;
    if (units < 1 || units > 5) {
        return base::Status::Error("linear units " + std::to_string(units) +
                                   " are none of 1 to 5");
    }
    if (precision < 0 || precision > kMaxPrecision) {
        return base::Status::Error("precision " + std::to_string(precision) +
                                   " is outside 0 to 16");
    }
    if (!std::isfinite(value)) return base::Status::Error("the distance is not a finite number");
    std::string text;
    switch (units) {
        case 1: AppendScientific(text, value, precision, settings.dimzin); break;
        case 2: AppendDecimal(text, value, precision, settings.dimzin); break;
        case 3: AppendEngineering(text, value, precision, settings); break;
        case 4:
            AppendArchitectural(text, value, std::min(precision, kMaxFractionPrecision), settings);
            break;
        case 5:
            AppendFractional(text, value, std::min(precision, kMaxFractionPrecision), settings);
            break;
    }
    return text;
}

base::Result<double> TextToDistance(std::string_view text, int units,
                                    const UnitSettings& settings) {
    if (units == -1) units = settings.lunits;
    if (units < 1 || units > 5) {
        return base::Status::Error("linear units " + std::to_string(units) +
                                   " are none of 1 to 5");
    }
    TextScanner scanner(text);
    scanner.SkipSpaces();
    double sign = 1.0;
    if (scanner.Take('-')) {
        sign = -1.0;
    } else {
        scanner.Take('+');
    }
    double first = 0.0;
    if (!scanner.ScanMixed(first)) return SyntaxError(text, units, scanner.Position());
    double distance = first;
    if (units == 3 || units == 4) {
        if (scanner.Take('\'')) {
            // Feet, then maybe inches after a dash or blanks: 1'-5", 1'5", 1' 5 1/2".
            distance = first * 12.0;
            std::size_t afterFeet = scanner.Position();
            scanner.SkipSpaces();
            bool dash = scanner.Take('-');
            scanner.SkipSpaces();
            double inches = 0.0;
            if (scanner.ScanMixed(inches)) {
                distance += inches;
                scanner.Take('"');
            } else if (dash) {
                return SyntaxError(text, units, scanner.Position());
            } else {
                scanner.SetPosition(afterFeet);
            }
        } else {
            scanner.Take('"');
        }
    }
    scanner.SkipSpaces();
    if (!scanner.AtEnd()) return SyntaxError(text, units, scanner.Position());
    if (!std::isfinite(distance)) return SyntaxError(text, units, 0);
    return sign * distance;
}

}  // namespace cad
