#include "xl/NumberFormat.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "base/Text.h"

namespace xl {
namespace {

std::string StripZeros(std::string s) {
    if (s.find('.') == std::string::npos) return s;
    while (!s.empty() && s.back() == '0') s.pop_back();
    if (!s.empty() && s.back() == '.') s.pop_back();
    return s;
}

// Sections of a code split at ';' outside quotes, escapes and brackets.
std::vector<std::string> SplitSections(std::string_view code) {
    std::vector<std::string> out(1);
    bool quoted = false, bracket = false;
    for (std::size_t i = 0; i < code.size(); ++i) {
        char c = code[i];
        if (quoted) {
            if (c == '"') quoted = false;
        } else if (c == '"') {
            quoted = true;
        } else if (c == '\\' && i + 1 < code.size()) {
            out.back() += c;
            c = code[++i];
        } else if (c == '[') {
            bracket = true;
        } else if (c == ']') {
            bracket = false;
        } else if (c == ';' && !bracket) {
            out.emplace_back();
            continue;
        }
        out.back() += c;
    }
    return out;
}

enum class Tok { Literal, Digit, Dot, Comma, Percent, Exp, Slash, Date, AmPm, At, General, Elapsed };
struct Token {
    Tok kind;
    std::string text;  // literal text, placeholder char, date code, exponent sign
};

struct Section {
    std::vector<Token> tokens;
    bool hasCondition = false;
    char op[3] = {0, 0, 0};
    double operand = 0;
    bool isDate = false;
};

bool Matches(double v, const Section& s) {
    std::string_view op = s.op;
    if (op == "<") return v < s.operand;
    if (op == "<=") return v <= s.operand;
    if (op == ">") return v > s.operand;
    if (op == ">=") return v >= s.operand;
    if (op == "=") return v == s.operand;
    if (op == "<>") return v != s.operand;
    return true;
}

Section Parse(std::string_view s) {
    Section sec;
    auto lit = [&](std::string_view t) {
        if (!sec.tokens.empty() && sec.tokens.back().kind == Tok::Literal) sec.tokens.back().text += t;
        else sec.tokens.push_back({Tok::Literal, std::string(t)});
    };
    for (std::size_t i = 0; i < s.size();) {
        char c = s[i];
        char lower = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (c == '"') {
            std::size_t end = s.find('"', i + 1);
            if (end == std::string_view::npos) end = s.size();
            lit(s.substr(i + 1, end - i - 1));
            i = end + 1;
        } else if (c == '\\' && i + 1 < s.size()) {
            std::size_t p = i + 1;
            base::DecodeUtf8(s, p);
            lit(s.substr(i + 1, p - i - 1));
            i = p;
        } else if (c == '_' && i + 1 < s.size()) {
            lit(" ");  // room for a character: one space stands for it in text
            std::size_t p = i + 1;
            base::DecodeUtf8(s, p);
            i = p;
        } else if (c == '*' && i + 1 < s.size()) {
            std::size_t p = i + 1;  // fill characters repeat to the cell width; a text has none
            base::DecodeUtf8(s, p);
            i = p;
        } else if (c == '[') {
            std::size_t end = s.find(']', i);
            if (end == std::string_view::npos) end = s.size();
            std::string_view in = s.substr(i + 1, end - i - 1);
            i = end + 1;
            if (!in.empty() && (in[0] == '<' || in[0] == '>' || in[0] == '=')) {
                std::size_t n = (in.size() > 1 && (in[1] == '=' || in[1] == '>')) ? 2 : 1;
                sec.hasCondition = true;
                sec.op[0] = in[0];
                if (n == 2) sec.op[1] = in[1];
                sec.operand = std::strtod(std::string(in.substr(n)).c_str(), nullptr);
            } else if (!in.empty() && in[0] == '$') {
                std::string_view symbol = in.substr(1, in.find('-') == std::string_view::npos ? std::string_view::npos : in.find('-') - 1);
                lit(symbol);
            } else if (!in.empty()) {
                char k = static_cast<char>(std::tolower(static_cast<unsigned char>(in[0])));
                if ((k == 'h' || k == 'm' || k == 's') && in.find_first_not_of(in[0]) == std::string_view::npos) {
                    sec.tokens.push_back({Tok::Elapsed, std::string(in)});
                    sec.isDate = true;
                }
                // Colours and other bracketed switches don't show.
            }
        } else if (c == '0' || c == '#' || c == '?') {
            sec.tokens.push_back({Tok::Digit, std::string(1, c)});
            ++i;
        } else if (c == '.') {
            // In a time, the digits after the seconds are fractions of a second.
            if (sec.isDate && i + 1 < s.size() && s[i + 1] == '0') {
                std::size_t n = i + 1;
                while (n < s.size() && s[n] == '0') ++n;
                sec.tokens.push_back({Tok::Date, "." + std::string(s.substr(i + 1, n - i - 1))});
                i = n;
            } else {
                sec.tokens.push_back({Tok::Dot, "."});
                ++i;
            }
        } else if (c == ',') {
            sec.tokens.push_back({Tok::Comma, ","});
            ++i;
        } else if (c == '%') {
            sec.tokens.push_back({Tok::Percent, "%"});
            ++i;
        } else if ((c == 'E' || c == 'e') && i + 1 < s.size() && (s[i + 1] == '+' || s[i + 1] == '-')) {
            sec.tokens.push_back({Tok::Exp, std::string(1, s[i + 1])});
            i += 2;
        } else if (c == '/') {
            sec.tokens.push_back({Tok::Slash, "/"});
            ++i;
        } else if (c == '@') {
            sec.tokens.push_back({Tok::At, "@"});
            ++i;
        } else if (base::EqualNoCase(s.substr(i, 7), "General")) {
            sec.tokens.push_back({Tok::General, ""});
            i += 7;
        } else if (base::EqualNoCase(s.substr(i, 5), "AM/PM")) {
            sec.tokens.push_back({Tok::AmPm, std::string(s.substr(i, 5))});
            sec.isDate = true;
            i += 5;
        } else if (base::EqualNoCase(s.substr(i, 3), "A/P")) {
            sec.tokens.push_back({Tok::AmPm, std::string(s.substr(i, 3))});
            sec.isDate = true;
            i += 3;
        } else if (lower == 'y' || lower == 'm' || lower == 'd' || lower == 'h' || lower == 's' ||
                   (lower == 'e' && !sec.isDate)) {
            std::size_t n = i;
            while (n < s.size() && std::tolower(static_cast<unsigned char>(s[n])) == lower) ++n;
            std::string code(n - i, lower == 'e' ? 'y' : lower);
            if (lower == 'e') code = "yyyy";
            sec.tokens.push_back({Tok::Date, code});
            sec.isDate = true;
            i = n;
        } else {
            std::size_t p = i;
            base::DecodeUtf8(s, p);
            lit(s.substr(i, p - i));
            i = p;
        }
    }
    // "m" right after hours or right before seconds means minutes.
    for (std::size_t k = 0; k < sec.tokens.size(); ++k) {
        Token& t = sec.tokens[k];
        if (t.kind != Tok::Date || t.text[0] != 'm' || t.text.size() > 2) continue;
        for (std::size_t b = k; b-- > 0;) {
            if (sec.tokens[b].kind == Tok::Date || sec.tokens[b].kind == Tok::Elapsed) {
                char p = static_cast<char>(std::tolower(static_cast<unsigned char>(sec.tokens[b].text[0])));
                if (p == 'h') t.text = t.text.size() == 1 ? "M" : "MM";
                break;
            }
        }
        for (std::size_t a = k + 1; a < sec.tokens.size(); ++a) {
            if (sec.tokens[a].kind == Tok::Date || sec.tokens[a].kind == Tok::Elapsed) {
                char p = static_cast<char>(std::tolower(static_cast<unsigned char>(sec.tokens[a].text[0])));
                if (p == 's') t.text = t.text.size() == 1 ? "M" : "MM";
                break;
            }
        }
    }
    return sec;
}

const char* const kMonths[] = {"January", "February", "March", "April", "May", "June", "July",
                               "August", "September", "October", "November", "December"};
const char* const kDays[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

std::string FormatDate(double value, const Section& sec, bool date1904) {
    int fracDigits = 0;
    bool ampm = false;
    for (const Token& t : sec.tokens) {
        if (t.kind == Tok::Date && t.text[0] == '.') fracDigits = static_cast<int>(t.text.size()) - 1;
        if (t.kind == Tok::AmPm) ampm = true;
    }
    double scale = std::pow(10.0, fracDigits);
    double totalUnits = std::round(value * 86400.0 * scale);  // in 1/scale seconds
    long long days = static_cast<long long>(std::floor(totalUnits / (86400.0 * scale)));
    double inDay = totalUnits - days * 86400.0 * scale;
    long long secs = static_cast<long long>(inDay / scale);
    long long frac = static_cast<long long>(inDay - secs * scale);
    int hour = static_cast<int>(secs / 3600), minute = static_cast<int>(secs / 60 % 60), second = static_cast<int>(secs % 60);
    long long serial = days + (date1904 ? 1462 : 0);
    int y, mo, d, weekday;
    if (!date1904 && serial == 0) {
        y = 1900, mo = 1, d = 0, weekday = 6;
    } else if (!date1904 && serial == 60) {
        y = 1900, mo = 2, d = 29, weekday = 3;  // the leap day Lotus 1-2-3 invented
    } else {
        long long z = serial - 25569 + (!date1904 && serial < 60 ? 1 : 0);  // days since 1970-01-01
        weekday = static_cast<int>(((z % 7) + 11) % 7);
        z += 719468;
        long long era = (z >= 0 ? z : z - 146096) / 146097;
        long long doe = z - era * 146097;
        long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
        long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
        long long mp = (5 * doy + 2) / 153;
        d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
        mo = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
        y = static_cast<int>(yoe + era * 400 + (mo <= 2));
        if (!date1904 && serial < 60) weekday = static_cast<int>((serial - 1 + 7 * 1000) % 7);
    }
    std::string out;
    char buf[32];
    for (const Token& t : sec.tokens) {
        switch (t.kind) {
        case Tok::Literal: out += t.text; break;
        case Tok::Digit: out += t.text == "0" ? "0" : ""; break;
        case Tok::Dot: out += "."; break;
        case Tok::Comma: out += ","; break;
        case Tok::Percent: out += "%"; break;
        case Tok::Slash: out += "/"; break;
        case Tok::Elapsed: {
            char k = static_cast<char>(std::tolower(static_cast<unsigned char>(t.text[0])));
            long long v = k == 'h' ? static_cast<long long>(std::floor(totalUnits / scale / 3600))
                        : k == 'm' ? static_cast<long long>(std::floor(totalUnits / scale / 60))
                                   : static_cast<long long>(std::floor(totalUnits / scale));
            std::snprintf(buf, sizeof buf, "%0*lld", static_cast<int>(t.text.size()), v);
            out += buf;
            break;
        }
        case Tok::AmPm:
            if (t.text.size() == 5) out += hour < 12 ? "AM" : "PM";
            else out += hour < 12 ? (t.text[0] == 'a' ? "a" : "A") : (t.text[0] == 'a' ? "p" : "P");
            break;
        case Tok::Date: {
            const std::string& c = t.text;
            if (c[0] == '.') {
                std::snprintf(buf, sizeof buf, ".%0*lld", fracDigits, frac);
                out += buf;
            } else if (c[0] == 'y') {
                std::snprintf(buf, sizeof buf, c.size() <= 2 ? "%02d" : "%04d", c.size() <= 2 ? y % 100 : y);
                out += buf;
            } else if (c[0] == 'm') {
                if (c.size() == 1) out += std::to_string(mo);
                else if (c.size() == 2) { std::snprintf(buf, sizeof buf, "%02d", mo); out += buf; }
                else if (c.size() == 3) out += std::string(kMonths[mo - 1]).substr(0, 3);
                else if (c.size() == 5) out += kMonths[mo - 1][0];
                else out += kMonths[mo - 1];
            } else if (c[0] == 'M') {
                std::snprintf(buf, sizeof buf, c.size() == 1 ? "%d" : "%02d", minute);
                out += buf;
            } else if (c[0] == 'd') {
                if (c.size() == 1) out += std::to_string(d);
                else if (c.size() == 2) { std::snprintf(buf, sizeof buf, "%02d", d); out += buf; }
                else if (c.size() == 3) out += std::string(kDays[weekday]).substr(0, 3);
                else out += kDays[weekday];
            } else if (c[0] == 'h') {
                int h = ampm ? (hour % 12 == 0 ? 12 : hour % 12) : hour;
                std::snprintf(buf, sizeof buf, c.size() == 1 ? "%d" : "%02d", h);
                out += buf;
            } else if (c[0] == 's') {
                std::snprintf(buf, sizeof buf, c.size() == 1 ? "%d" : "%02d", second);
                out += buf;
            }
            break;
        }
        default: break;
        }
    }
    return out;
}

// Best fraction of `x` (0 <= x < 1) with a denominator of at most `maxDen`; a larger
// denominator is taken only when it is closer by more than 1e-12. The closest fraction is a
// convergent of the continued fraction of x or the last semiconvergent within the bound, so a
// format such as "# ??/?????????" costs a few steps, not a billion trials. The candidates come
// in order of growing denominators.
void Approximate(double x, long long maxDen, long long& num, long long& den) {
    num = 0, den = 1;
    double best = x;
    auto consider = [&](long long p, long long q) {
        double err = std::fabs(x - static_cast<double>(p) / static_cast<double>(q));
        if (err < best - 1e-12) best = err, num = p, den = q;
    };
    long long p0 = 0, q0 = 1, p1 = 1, q1 = 0;  // the two convergents before the next
    double rest = x;
    for (int step = 0; step < 64; ++step) {
        const double a = std::floor(rest);
        if (q1 != 0 && a > static_cast<double>((maxDen - q0) / q1)) {
            const long long t = (maxDen - q0) / q1;
            if (t > 0) consider(t * p1 + p0, t * q1 + q0);
            break;
        }
        const long long ai = static_cast<long long>(a);
        const long long p2 = ai * p1 + p0, q2 = ai * q1 + q0;
        consider(p2, q2);
        p0 = p1, q0 = q1, p1 = p2, q1 = q2;
        if (rest - a < 1e-15) break;
        rest = 1 / (rest - a);
    }
}

std::string Group(const std::string& digits) {
    std::string out;
    int n = static_cast<int>(digits.size());
    for (int i = 0; i < n; ++i) {
        out += digits[i];
        if ((n - 1 - i) % 3 == 0 && i != n - 1) out += ',';
    }
    return out;
}

// Fills integer placeholders (right-aligned) with digits; extra digits go to the first one.
std::vector<std::string> FillInteger(const std::string& digits, const std::vector<char>& holders) {
    std::vector<std::string> out(holders.size());
    int di = static_cast<int>(digits.size()) - 1;
    for (int h = static_cast<int>(holders.size()) - 1; h >= 0; --h) {
        if (di >= 0) out[h] = std::string(1, digits[di--]);
        else out[h] = holders[h] == '0' ? "0" : holders[h] == '?' ? " " : "";
    }
    if (di >= 0 && !holders.empty()) out[0] = digits.substr(0, di + 1) + out[0];
    return out;
}

std::string FormatNumberSection(double v, const Section& sec, bool date1904) {
    if (sec.isDate) {
        if (v < 0 || v > 2958465.99999) return "";
        return FormatDate(v, sec, date1904);
    }
    const auto& toks = sec.tokens;
    // Scaling: each % multiplies by 100, each comma after the last digit divides by 1000.
    int firstDigit = -1, dot = -1, exp = -1, slash = -1;
    bool grouping = false;
    for (int i = 0; i < static_cast<int>(toks.size()); ++i) {
        if (toks[i].kind == Tok::Digit) {
            if (firstDigit < 0) firstDigit = i;
        }
        if (toks[i].kind == Tok::Dot && dot < 0 && exp < 0) dot = i;
        if (toks[i].kind == Tok::Exp) exp = i;
        if (toks[i].kind == Tok::Slash) slash = i;
        if (toks[i].kind == Tok::Percent) v *= 100;
    }
    for (int i = 0; i < static_cast<int>(toks.size()); ++i) {
        if (toks[i].kind != Tok::Comma) continue;
        bool digitBefore = false, digitAfter = false;
        for (int k = i - 1; k >= 0 && !digitBefore; --k) digitBefore = toks[k].kind == Tok::Digit;
        for (int k = i + 1; k < static_cast<int>(toks.size()); ++k) {
            if (toks[k].kind == Tok::Digit) { digitAfter = true; break; }
            if (toks[k].kind == Tok::Dot) break;
        }
        if (digitBefore && digitAfter && (dot < 0 || i < dot)) grouping = true;
        else if (digitBefore && !digitAfter) v /= 1000;
    }
    bool hasGeneral = false;
    for (const Token& t : toks) hasGeneral = hasGeneral || t.kind == Tok::General;
    if (firstDigit < 0) {
        std::string out;
        bool textOnly = false;
        for (const Token& t : toks) textOnly = textOnly || t.kind == Tok::At;
        // A number in a text-formatted cell shows as General.
        if (textOnly) return FormatGeneral(v);
        for (const Token& t : toks) {
            if (t.kind == Tok::Literal) out += t.text;
            else if (t.kind == Tok::General) out += FormatGeneral(v);
            else if (t.kind != Tok::Comma) out += t.text;
        }
        return out;
    }
    (void)hasGeneral;
    std::vector<std::string> shown(toks.size());
    if (slash >= 0) {
        // Fraction: [integer] numerator/denominator; the denominator is placeholders or digits.
        int numStart = slash, denEnd = slash;
        while (numStart > 0 && toks[numStart - 1].kind == Tok::Digit) --numStart;
        std::string denDigits;
        int denCount = 0;
        for (int k = slash + 1; k < static_cast<int>(toks.size()); ++k) {
            if (toks[k].kind == Tok::Digit) { ++denCount; denEnd = k; continue; }
            if (toks[k].kind == Tok::Literal && std::isdigit(static_cast<unsigned char>(toks[k].text[0]))) {
                std::size_t n = toks[k].text.find_first_not_of("0123456789");
                denDigits = toks[k].text.substr(0, n);
                denEnd = k;
            }
            break;
        }
        bool mixed = false;
        for (int k = 0; k < numStart; ++k) mixed = mixed || toks[k].kind == Tok::Digit;
        double whole = mixed ? std::floor(v) : 0;
        double rest = v - whole;
        long long num, den;
        if (!denDigits.empty()) {
            den = std::atoll(denDigits.c_str());
            num = std::llround(rest * den);
        } else {
            // Denominators of more than 15 digits are beyond what a double tells apart.
            const int digits = std::clamp(denCount, 1, 15);
            Approximate(rest, static_cast<long long>(std::pow(10, digits)) - 1, num, den);
        }
        if (mixed && num == den) { whole += 1; num = 0; }
        std::string out;
        std::vector<char> intHolders;
        for (int k = 0; k < numStart; ++k)
            if (toks[k].kind == Tok::Digit) intHolders.push_back(toks[k].text[0]);
        std::string wholeDigits = whole == 0 ? "" : std::to_string(static_cast<long long>(whole));
        std::vector<std::string> ints = FillInteger(wholeDigits, intHolders);
        if (mixed && whole == 0 && num == 0 && !intHolders.empty()) ints.back() = "0";
        std::size_t ih = 0;
        bool blankFraction = mixed && num == 0;
        for (int k = 0; k < static_cast<int>(toks.size()); ++k) {
            const Token& t = toks[k];
            if (k < numStart) {
                out += t.kind == Tok::Digit ? ints[ih++] : (t.kind == Tok::Literal ? t.text : "");
            } else if (k == numStart) {
                if (blankFraction) {
                    int width = (slash - numStart) + 1 + std::max<int>(denCount, static_cast<int>(denDigits.size()));
                    out += std::string(width, ' ');
                } else {
                    std::string n = std::to_string(num);
                    int holders = slash - numStart;
                    if (static_cast<int>(n.size()) < holders) n = std::string(holders - n.size(), ' ') + n;
                    out += n + "/";
                    std::string dd = std::to_string(den);
                    if (denDigits.empty() && static_cast<int>(dd.size()) < denCount) dd += std::string(denCount - dd.size(), ' ');
                    out += dd;
                }
            } else if (k > denEnd) {
                out += t.kind == Tok::Literal ? t.text : "";
            } else if (k == denEnd && !denDigits.empty() && t.kind == Tok::Literal) {
                out += t.text.substr(denDigits.size());
            }
        }
        // A mixed fraction of a whole number with only '#' before it shows nothing there.
        return out;
    }
    int exponent = 0;
    std::vector<char> intHolders, fracHolders, expHolders;
    int intEnd = dot >= 0 ? dot : (exp >= 0 ? exp : static_cast<int>(toks.size()));
    for (int k = 0; k < static_cast<int>(toks.size()); ++k) {
        if (toks[k].kind != Tok::Digit) continue;
        if (exp >= 0 && k > exp) expHolders.push_back(toks[k].text[0]);
        else if (k < intEnd) intHolders.push_back(toks[k].text[0]);
        else fracHolders.push_back(toks[k].text[0]);
    }
    if (exp >= 0 && v != 0) {
        int e = static_cast<int>(std::floor(std::log10(v)));
        int n = std::max<int>(1, static_cast<int>(intHolders.size()));
        bool engineering = n > 1 && intHolders.front() == '#';
        exponent = engineering ? static_cast<int>(std::floor(static_cast<double>(e) / n)) * n : e - (n - 1);
        v /= std::pow(10.0, exponent);
        // Rounding may carry into another digit: 9.99E+00 with one decimal is 1.0E+01.
        double scale = std::pow(10.0, fracHolders.size());
        if (std::round(v * scale) / scale >= std::pow(10.0, engineering ? n : n)) {
            v /= 10;
            ++exponent;
        }
    }
    int decimals = static_cast<int>(fracHolders.size());
    char buf[400];
    // Half away from zero on the 15 significant digits the program keeps (1.005 -> 1.01).
    std::snprintf(buf, sizeof buf, "%.15g", v);
    double scaled = std::strtod(buf, nullptr) * std::pow(10.0, decimals);
    double rounded = std::floor(scaled + 0.5 + 1e-9) / std::pow(10.0, decimals);
    std::snprintf(buf, sizeof buf, "%.*f", decimals, rounded);
    std::string fixed = buf;
    std::size_t point = fixed.find('.');
    std::string intDigits = fixed.substr(0, point);
    std::string fracDigits = point == std::string::npos ? "" : fixed.substr(point + 1);
    if (intDigits == "0") intDigits.clear();
    if (grouping) intDigits = Group(intDigits);
    std::vector<std::string> ints = FillInteger(intDigits, intHolders);
    // Trailing zeros of optional decimals vanish ('#') or turn into spaces ('?').
    std::vector<std::string> fracs(fracHolders.size());
    int lastKept = -1;
    for (int k = 0; k < decimals; ++k)
        if (fracDigits[k] != '0' || fracHolders[k] == '0') lastKept = k;
    for (int k = 0; k < decimals; ++k)
        fracs[k] = k <= lastKept ? std::string(1, fracDigits[k]) : fracHolders[k] == '?' ? " " : "";
    std::string expDigits = std::to_string(std::abs(exponent));
    std::vector<std::string> exps = FillInteger(expDigits, expHolders);
    std::string out;
    std::size_t ii = 0, fi = 0, ei = 0;
    for (int k = 0; k < static_cast<int>(toks.size()); ++k) {
        const Token& t = toks[k];
        switch (t.kind) {
        case Tok::Digit:
            if (exp >= 0 && k > exp) out += exps[ei++];
            else if (k < intEnd) out += ints[ii++];
            else out += fracs[fi++];
            break;
        case Tok::Dot: out += "."; break;
        case Tok::Comma: break;
        case Tok::Percent: out += "%"; break;
        case Tok::Exp: out += "E"; out += exponent < 0 ? "-" : (t.text == "+" ? "+" : ""); break;
        case Tok::Literal: out += t.text; break;
        case Tok::General: out += FormatGeneral(v); break;
        default: out += t.text; break;
        }
    }
    return out;
}

}  // namespace

std::string BuiltinFormatCode(int id) {
    switch (id) {
    case 0: return "General";
    case 1: return "0";
    case 2: return "0.00";
    case 3: return "#,##0";
    case 4: return "#,##0.00";
    case 5: return "$#,##0_);($#,##0)";
    case 6: return "$#,##0_);[Red]($#,##0)";
    case 7: return "$#,##0.00_);($#,##0.00)";
    case 8: return "$#,##0.00_);[Red]($#,##0.00)";
    case 9: return "0%";
    case 10: return "0.00%";
    case 11: return "0.00E+00";
    case 12: return "# ?/?";
    case 13: return "# ?\?/??";
    case 14: return "m/d/yyyy";
    case 15: return "d-mmm-yy";
    case 16: return "d-mmm";
    case 17: return "mmm-yy";
    case 18: return "h:mm AM/PM";
    case 19: return "h:mm:ss AM/PM";
    case 20: return "h:mm";
    case 21: return "h:mm:ss";
    case 22: return "m/d/yyyy h:mm";
    case 37: return "#,##0 ;(#,##0)";
    case 38: return "#,##0 ;[Red](#,##0)";
    case 39: return "#,##0.00;(#,##0.00)";
    case 40: return "#,##0.00;[Red](#,##0.00)";
    case 41: return "_(* #,##0_);_(* \\(#,##0\\);_(* \"-\"_);_(@_)";
    case 42: return "_(\"$\"* #,##0_);_(\"$\"* \\(#,##0\\);_(\"$\"* \"-\"_);_(@_)";
    case 43: return "_(* #,##0.00_);_(* \\(#,##0.00\\);_(* \"-\"??_);_(@_)";
    case 44: return "_(\"$\"* #,##0.00_);_(\"$\"* \\(#,##0.00\\);_(\"$\"* \"-\"??_);_(@_)";
    case 45: return "mm:ss";
    case 46: return "[h]:mm:ss";
    case 47: return "mm:ss.0";
    case 48: return "##0.0E+0";
    case 49: return "@";
    default: return {};
    }
}

std::string FormatGeneral(double value) {
    if (value == 0 || !std::isfinite(value)) return "0";
    double a = std::fabs(value);
    if (a < 1e11 && value == std::trunc(value)) {
        // Whole numbers of up to 11 digits show as they are, the commonest case by far.
        char digits[24];
        return std::string(digits, std::to_chars(digits, digits + sizeof digits, static_cast<long long>(value)).ptr);
    }
    std::string sign = value < 0 ? "-" : "";
    int e = static_cast<int>(std::floor(std::log10(a)));
    auto scientific = [&]() {
        char buf[64];
        std::snprintf(buf, sizeof buf, "%.5E", a);
        std::string s = buf;
        std::size_t ep = s.find('E');
        std::string mant = StripZeros(s.substr(0, ep));
        int ex = std::atoi(s.c_str() + ep + 1);
        std::snprintf(buf, sizeof buf, "E%c%02d", ex < 0 ? '-' : '+', std::abs(ex));
        return sign + mant + buf;
    };
    if (e >= 11) return scientific();
    // A cell of standard width shows 11 characters: the decimals get what the integer leaves.
    int intLen = e >= 0 ? e + 1 : 1;
    int decimals = std::max(0, 11 - intLen - 1);
    char buf[64];
    // The digits of printf's "%.*f", by the conversion the standard defines as its equal.
    std::string fixed =
        StripZeros(std::string(buf, std::to_chars(buf, buf + sizeof buf, a, std::chars_format::fixed, decimals).ptr));
    if (e < -4) {
        // Tiny values switch to scientific unless they fit exactly.
        if (fixed == "0" || std::fabs(std::strtod(fixed.c_str(), nullptr) - a) > a * 1e-9) return scientific();
    }
    if (fixed.size() > 11 && fixed.find('.') != std::string::npos) fixed = StripZeros(fixed.substr(0, 11));
    return sign + fixed;
}

bool IsDateFormat(std::string_view code) {
    for (const std::string& s : SplitSections(code))
        if (Parse(s).isDate) return true;
    return false;
}

std::string FormatNumber(double value, std::string_view code, bool date1904) {
    if (code.empty() || base::EqualNoCase(code, "General")) return FormatGeneral(value);
    std::vector<std::string> raw = SplitSections(code);
    std::vector<Section> sections;
    for (const std::string& s : raw) sections.push_back(Parse(s));
    // A text section (with @) is not for numbers.
    while (sections.size() > 1) {
        bool text = false;
        for (const Token& t : sections.back().tokens) text = text || t.kind == Tok::At;
        if (!text && sections.size() < 4) break;
        sections.pop_back();
    }
    const Section* chosen = &sections[0];
    bool useAbs = false;
    bool conditional = sections[0].hasCondition || (sections.size() > 1 && sections[1].hasCondition);
    if (conditional) {
        if (Matches(value, sections[0])) chosen = &sections[0];
        else if (sections.size() > 1 && (sections[1].hasCondition ? Matches(value, sections[1]) : true)) chosen = &sections[1];
        else if (sections.size() > 2) chosen = &sections[2];
        else if (sections.size() > 1 && sections[1].hasCondition) return std::string(11, '#');
        // A conditional section shows the magnitude; the condition carries the sign.
        useAbs = value < 0 && (chosen != &sections[0] || sections[0].hasCondition) && chosen->hasCondition;
        if (!chosen->hasCondition && value < 0 && chosen == &sections[1] ) useAbs = true;
    } else if (value < 0 && sections.size() > 1) {
        chosen = &sections[1];
        useAbs = true;
    } else if (value == 0 && sections.size() > 2) {
        chosen = &sections[2];
    }
    double v = useAbs ? std::fabs(value) : value;
    if (chosen->isDate) {
        if (v < 0 || v > 2958465.99999) return std::string(11, '#');
        return FormatNumberSection(v, *chosen, date1904);
    }
    std::string out = FormatNumberSection(std::fabs(v), *chosen, date1904);
    if (v < 0) {
        // No minus on a value that rounds to zero in this format.
        bool nonZero = out.find_first_of("123456789") != std::string::npos;
        if (nonZero) out = "-" + out;
    }
    return out;
}

std::string FormatText(std::string_view text, std::string_view code) {
    // Only a text section (one with @, or the fourth) changes how text shows.
    if (code.find('@') == std::string_view::npos && code.find(';') == std::string_view::npos)
        return std::string(text);
    std::vector<std::string> raw = SplitSections(code);
    const std::string* textSection = nullptr;
    if (raw.size() >= 4) textSection = &raw[3];
    else
        for (const std::string& s : raw)
            if (s.find('@') != std::string::npos) textSection = &s;
    if (!textSection) return std::string(text);
    Section sec = Parse(*textSection);
    std::string out;
    for (const Token& t : sec.tokens) {
        if (t.kind == Tok::At) out += text;
        else if (t.kind == Tok::Literal) out += t.text;
    }
    return out;
}

}  // namespace xl
