#include "base/Format.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/Text.h"

namespace base {

std::int64_t FormatArg::Integer() const {
    switch (kind_) {
        case Kind::Real:
            return static_cast<std::int64_t>(real_);
        case Kind::Text:
            return std::strtoll(std::string(text_).c_str(), nullptr, 10);
        default:
            return integer_;
    }
}

double FormatArg::Real() const {
    switch (kind_) {
        case Kind::Real:
            return real_;
        case Kind::Text:
            return std::strtod(std::string(text_).c_str(), nullptr);
        case Kind::Unsigned:
            return static_cast<double>(static_cast<std::uint64_t>(integer_));
        default:
            return static_cast<double>(integer_);
    }
}

namespace {

struct Spec {
    bool leftAlign = false;
    std::string flags;
    int width = 0;
    int precision = -1;
    char conversion = 0;
};

class ArgCursor {
public:
    ArgCursor(const FormatArg* begin, const FormatArg* end) : it_(begin), end_(end) {}
    const FormatArg* Next() { return it_ == end_ ? nullptr : it_++; }
    int NextInt() {
        const FormatArg* arg = Next();
        return arg ? static_cast<int>(arg->Integer()) : 0;
    }

private:
    const FormatArg* it_;
    const FormatArg* end_;
};

// Pads `body` to the width, in code points.
void AppendPadded(std::string& out, const std::string& body, const Spec& spec) {
    const std::size_t length = Length(body);
    const std::size_t pad = spec.width > 0 && static_cast<std::size_t>(spec.width) > length
                                ? static_cast<std::size_t>(spec.width) - length
                                : 0;
    if (!spec.leftAlign) out.append(pad, ' ');
    out += body;
    if (spec.leftAlign) out.append(pad, ' ');
}

// Numbers go through the C runtime with the same flags, width and precision.
std::string FormatNumber(const Spec& spec, const FormatArg* arg) {
    std::string cspec = "%" + spec.flags;
    if (spec.leftAlign) cspec += '-';
    if (spec.width > 0) cspec += std::to_string(spec.width);
    if (spec.precision >= 0) cspec += "." + std::to_string(spec.precision);
    char buffer[512];
    switch (spec.conversion) {
        case 'd':
        case 'i': {
            cspec += "lld";
            std::snprintf(buffer, sizeof buffer, cspec.c_str(),
                          static_cast<long long>(arg ? arg->Integer() : 0));
            break;
        }
        case 'u':
        case 'o':
        case 'x':
        case 'X': {
            cspec += "ll";
            cspec += spec.conversion;
            auto value = static_cast<unsigned long long>(arg ? arg->Integer() : 0);
            // A negative int shown in hexadecimal is its 32-bit pattern, as the C runtime gives it.
            if (arg && arg->GetKind() == FormatArg::Kind::Integer && arg->Integer() < 0 &&
                arg->Integer() >= INT32_MIN) {
                value &= 0xFFFFFFFFull;
            }
            std::snprintf(buffer, sizeof buffer, cspec.c_str(), value);
            break;
        }
        default: {
            cspec += spec.conversion;
            if (spec.precision > 100) return {};
            std::snprintf(buffer, sizeof buffer, cspec.c_str(), arg ? arg->Real() : 0.0);
            break;
        }
    }
    return buffer;
}

}  // namespace

std::string VSprintf(std::string_view format, std::initializer_list<FormatArg> args) {
    std::string out;
    out.reserve(format.size() + 16);
    ArgCursor cursor(args.begin(), args.end());
    std::size_t i = 0;
    while (i < format.size()) {
        const char c = format[i++];
        if (c != '%') {
            out += c;
            continue;
        }
        if (i >= format.size()) {
            out += '%';
            break;
        }
        Spec spec;
        for (; i < format.size(); ++i) {
            const char f = format[i];
            if (f == '-') {
                spec.leftAlign = true;
            } else if (f == '+' || f == ' ' || f == '0' || f == '#') {
                spec.flags += f;
            } else {
                break;
            }
        }
        if (i < format.size() && format[i] == '*') {
            spec.width = cursor.NextInt();
            if (spec.width < 0) spec.leftAlign = true, spec.width = -spec.width;
            ++i;
        } else {
            while (i < format.size() && format[i] >= '0' && format[i] <= '9')
                spec.width = spec.width * 10 + (format[i++] - '0');
        }
        if (i < format.size() && format[i] == '.') {
            ++i;
            spec.precision = 0;
            if (i < format.size() && format[i] == '*') {
                spec.precision = cursor.NextInt();
                ++i;
            } else {
                while (i < format.size() && format[i] >= '0' && format[i] <= '9')
                    spec.precision = spec.precision * 10 + (format[i++] - '0');
            }
        }
        // Length modifiers change nothing here: every argument carries its own type.
        while (i < format.size() && (format[i] == 'h' || format[i] == 'l' || format[i] == 'L' ||
                                     format[i] == 'w')) {
            ++i;
        }
        if (format.substr(i, 3) == "I64") i += 3;
        if (i >= format.size()) break;
        spec.conversion = format[i++];
        switch (spec.conversion) {
            case '%':
                out += '%';
                break;
            case 's':
            case 'S': {
                const FormatArg* arg = cursor.Next();
                std::string text = arg ? std::string(arg->Text()) : std::string();
                if (arg && arg->GetKind() != FormatArg::Kind::Text) {
                    text = arg->GetKind() == FormatArg::Kind::Real ? std::to_string(arg->Real())
                                                                   : std::to_string(arg->Integer());
                }
                if (spec.precision >= 0) text = Left(text, spec.precision);
                AppendPadded(out, text, spec);
                break;
            }
            case 'c':
            case 'C': {
                const FormatArg* arg = cursor.Next();
                std::string text;
                if (arg && arg->GetKind() == FormatArg::Kind::Text) {
                    text = Left(arg->Text(), 1);
                } else if (arg) {
                    AppendUtf8(text, static_cast<char32_t>(arg->Integer()));
                }
                AppendPadded(out, text, spec);
                break;
            }
            case 'd':
            case 'i':
            case 'u':
            case 'o':
            case 'x':
            case 'X':
            case 'e':
            case 'E':
            case 'f':
            case 'F':
            case 'g':
            case 'G':
                out += FormatNumber(spec, cursor.Next());
                break;
            default:
                // An unknown conversion is kept as it stands.
                out += '%';
                out += spec.conversion;
                break;
        }
    }
    return out;
}

}  // namespace base
