#include "cad/units/AngleText.h"

#include "cad/units/DecimalDigits.h"
#include "cad/units/TextScanner.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace cad {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kTurn = 2.0 * std::numbers::pi;
constexpr int kMaxPrecision = 16;
constexpr int kMaxDmsPrecision = 8;

double Normalize(double angle) {
    double reduced = std::fmod(angle, kTurn);
    if (reduced < 0) reduced += kTurn;
    return reduced >= kTurn ? 0.0 : reduced;
}

// A decimal angle in degrees, grads or radians; turn is the full circle in that measure.
void AppendDecimalAngle(std::string& out, double value, double turn, int precision, int dimzin) {
    DecimalDigits digits(value);
    digits.RoundAt(precision);
    DecimalDigits fullTurn(turn);
    fullTurn.RoundAt(precision);
    if (digits == fullTurn) digits = DecimalDigits(0.0);
    std::size_t from = out.size();
    digits.AppendFixed(out, precision);
    SuppressZeros(out, from, dimzin);
}

// Degrees rounded at the d/m/s precision: the count of the smallest unit shown.
struct DmsRounding {
    int level = 0;           // 0 degrees, 1 minutes, 2 seconds
    int decimals = 0;        // places of the seconds
    std::uint64_t perDegree = 1;
};

DmsRounding DmsFor(int precision) {
    precision = std::min(precision, kMaxDmsPrecision);
    DmsRounding rounding;
    if (precision >= 1) {
        rounding.level = 1;
        rounding.perDegree = 60;
    }
    if (precision >= 3) {
        rounding.level = 2;
        rounding.perDegree = 3600;
    }
    if (precision >= 5) {
        rounding.decimals = precision - 4;
        rounding.perDegree = 3600 * PowerOfTen(rounding.decimals);
    }
    return rounding;
}

std::uint64_t RoundDms(double degrees, const DmsRounding& rounding) {
    double units = degrees * (rounding.level == 0 ? 1.0 : rounding.level == 1 ? 60.0 : 3600.0);
    return RoundScaled(units, rounding.decimals).value_or(0);
}

void AppendDms(std::string& out, std::uint64_t count, const DmsRounding& rounding, int dimzin) {
    out += std::to_string(count / rounding.perDegree);
    out += 'd';
    if (rounding.level == 0) return;
    std::uint64_t rest = count % rounding.perDegree;
    std::uint64_t perMinute = rounding.perDegree / 60;
    out += std::to_string(rest / perMinute);
    out += '\'';
    if (rounding.level == 1) return;
    std::size_t from = out.size();
    AppendScaled(out, rest % perMinute, rounding.decimals);
    SuppressZeros(out, from, dimzin);
    out += '"';
}

void AppendBearing(std::string& out, double degrees, int precision, const UnitSettings& settings) {
    // Quadrants counter-clockwise from east: N..E, N..W, S..W, S..E, with the bearing angle
    // measured from north or south.
    static constexpr char kFrom[] = {'N', 'N', 'S', 'S'};
    static constexpr char kTo[] = {'E', 'W', 'W', 'E'};
    int quadrant = std::min(static_cast<int>(degrees / 90.0), 3);
    double bearing = quadrant == 0 ? 90.0 - degrees
                     : quadrant == 1 ? degrees - 90.0
                     : quadrant == 2 ? 270.0 - degrees
                                     : degrees - 270.0;
    DmsRounding rounding = DmsFor(precision);
    std::uint64_t count = RoundDms(bearing, rounding);
    if (count == 0) {
        out += kFrom[quadrant];
        return;
    }
    if (count >= 90 * rounding.perDegree) {
        out += kTo[quadrant];
        return;
    }
    const char* space = settings.unitmode == 0 ? " " : "";
    out += kFrom[quadrant];
    out += space;
    AppendDms(out, count, rounding, settings.dimzin);
    out += space;
    out += kTo[quadrant];
}

const char* UnitsName(int units) {
    switch (units) {
        case 0: return "degrees";
        case 1: return "degrees/minutes/seconds";
        case 2: return "grads";
        case 3: return "radians";
        case 4: return "surveyor's units";
    }
    return "unknown units";
}

bool IsDigitOrPoint(char c) { return (c >= '0' && c <= '9') || c == '.'; }

// Degrees, minutes and seconds after a number that was followed by one of d ° ' ".
bool ScanDmsRest(TextScanner& scanner, double first, double& degrees) {
    degrees = first;
    bool hadDegrees = scanner.Take('d') || scanner.Take("\u00B0");
    bool minutesAllowed = hadDegrees;
    if (!hadDegrees) {
        if (scanner.Take('\'')) {
            degrees = first / 60.0;
        } else if (scanner.Take('"')) {
            degrees = first / 3600.0;
            return true;
        } else {
            return false;
        }
    }
    // Optional further parts, each a number with its mark; blanks may part them.
    for (int part = minutesAllowed ? 0 : 1; part < 2; ++part) {
        std::size_t before = scanner.Position();
        scanner.SkipSpaces();
        double number = 0.0;
        if (!IsDigitOrPoint(scanner.Peek()) || !scanner.ScanReal(number)) {
            scanner.SetPosition(before);
            return true;
        }
        if (part == 0 && scanner.Take('\'')) {
            degrees += number / 60.0;
        } else if (scanner.Take('"')) {
            degrees += number / 3600.0;
            return true;
        } else {
            scanner.SetPosition(before);
            return true;
        }
    }
    return true;
}

// An unsigned angle in radians; bareUnits says what a number without a mark measures.
bool ScanAngle(TextScanner& scanner, int bareUnits, double& radians) {
    double number = 0.0;
    if (!scanner.ScanReal(number)) return false;
    double degrees = 0.0;
    if (ScanDmsRest(scanner, number, degrees)) {
        radians = degrees * kPi / 180.0;
    } else if (scanner.Take('g')) {
        radians = number * kPi / 200.0;
    } else if (scanner.Take('r')) {
        radians = number;
    } else if (bareUnits == 2) {
        radians = number * kPi / 200.0;
    } else if (bareUnits == 3) {
        radians = number;
    } else {
        radians = number * kPi / 180.0;
    }
    return true;
}

bool IsLetter(char c, char upper) { return c == upper || c == upper - 'A' + 'a'; }

base::Status SyntaxError(std::string_view text, int units, std::size_t position) {
    return base::Status::Error("\"" + std::string(text) + "\" is not an angle in " +
                               UnitsName(units) + " (stopped at character " +
                               std::to_string(position + 1) + ")");
}

}  // namespace

base::Result<std::string> AngleText(double angle, int units, int precision,
                                    const UnitSettings& settings) {
    if (units == -1) units = settings.aunits;
    if (precision == -1) precision = settings.auprec;
    if (units < 0 || units > 4) {
        return base::Status::Error("angular units " + std::to_string(units) +
                                   " are none of 0 to 4");
    }
    if (precision < 0 || precision > kMaxPrecision) {
        return base::Status::Error("precision " + std::to_string(precision) +
                                   " is outside 0 to 16");
    }
    if (!std::isfinite(angle)) return base::Status::Error("the angle is not a finite number");
    double radians = Normalize(angle);
    double degrees = radians * 180.0 / kPi;
    std::string text;
    switch (units) {
        case 0: AppendDecimalAngle(text, degrees, 360.0, precision, settings.dimzin); break;
        case 1: {
            DmsRounding rounding = DmsFor(precision);
            std::uint64_t count = RoundDms(degrees, rounding);
            if (count >= 360 * rounding.perDegree) count = 0;
            AppendDms(text, count, rounding, settings.dimzin);
            break;
        }
        case 2:
            AppendDecimalAngle(text, radians * 200.0 / kPi, 400.0, precision, settings.dimzin);
            text += 'g';
            break;
        case 3:
            AppendDecimalAngle(text, radians, kTurn, precision, settings.dimzin);
            text += 'r';
            break;
        case 4: AppendBearing(text, degrees, precision, settings); break;
    }
    return text;
}

base::Result<double> TextToAngle(std::string_view text, int units, const UnitSettings& settings) {
    if (units == -1) units = settings.aunits;
    if (units < 0 || units > 4) {
        return base::Status::Error("angular units " + std::to_string(units) +
                                   " are none of 0 to 4");
    }
    TextScanner scanner(text);
    scanner.SkipSpaces();
    double radians = 0.0;
    char first = scanner.Peek();
    if (IsLetter(first, 'N') || IsLetter(first, 'S')) {
        bool north = IsLetter(first, 'N');
        scanner.SetPosition(scanner.Position() + 1);
        scanner.SkipSpaces();
        if (scanner.AtEnd()) {
            radians = north ? kPi / 2.0 : 1.5 * kPi;
        } else {
            double bearing = 0.0;
            if (!ScanAngle(scanner, 0, bearing)) return SyntaxError(text, units, scanner.Position());
            scanner.SkipSpaces();
            bool east = IsLetter(scanner.Peek(), 'E');
            if (!east && !IsLetter(scanner.Peek(), 'W')) {
                return SyntaxError(text, units, scanner.Position());
            }
            if (bearing > kPi / 2.0 + 1e-12) return SyntaxError(text, units, scanner.Position());
            scanner.SetPosition(scanner.Position() + 1);
            double axis = north ? kPi / 2.0 : 1.5 * kPi;
            // Toward east turns clockwise from north and counter-clockwise from south.
            radians = axis + ((north == east) ? -bearing : bearing);
        }
    } else if (IsLetter(first, 'E') || IsLetter(first, 'W')) {
        scanner.SetPosition(scanner.Position() + 1);
        radians = IsLetter(first, 'E') ? 0.0 : kPi;
    } else {
        double sign = 1.0;
        if (scanner.Take('-')) {
            sign = -1.0;
        } else {
            scanner.Take('+');
        }
        if (!ScanAngle(scanner, units, radians)) {
            return SyntaxError(text, units, scanner.Position());
        }
        radians *= sign;
    }
    scanner.SkipSpaces();
    if (!scanner.AtEnd()) return SyntaxError(text, units, scanner.Position());
    if (!std::isfinite(radians)) return SyntaxError(text, units, 0);
    return Normalize(radians);
}

double AngleFromBase(double absoluteAngle, const UnitSettings& settings) {
    double turned = absoluteAngle - settings.angbase;
    return Normalize(settings.angdir == 0 ? turned : -turned);
}

double AbsoluteAngle(double baseAngle, const UnitSettings& settings) {
    return Normalize(settings.angbase + (settings.angdir == 0 ? baseAngle : -baseAngle));
}

}  // namespace cad
