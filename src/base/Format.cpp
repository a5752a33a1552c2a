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

struct Directive {
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
void AppendPadded(std::string& out, const std::string& body, const Directive& directive) {
    const std::size_t length = Length(body);
    const std::size_t pad = directive.width > 0 && static_cast<std::size_t>(directive.width) > length
                                ? static_cast<std::size_t>(directive.width) - length
                                : 0;
    if (!directive.leftAlign) out.append(pad, ' ');
    out += body;
    if (directive.leftAlign) out.append(pad, ' ');
}

// Numbers go through the C runtime with the same flags, width and precision.
std::string FormatNumber(const Directive& directive, const FormatArg* arg) {
    std::string cFormat = "%" + directive.flags;
    if (directive.leftAlign) cFormat += '-';
    if (directive.width > 0) cFormat += std::to_string(directive.width);
    if (directive.precision >= 0) cFormat += "." + std::to_string(directive.precision);
    char buffer[512];
    switch (directive.conversion) {
        case 'd':
        case 'i': {
            cFormat += "lld";
            std::snprintf(buffer, sizeof buffer, cFormat.c_str(),
                          static_cast<long long>(arg ? arg->Integer() : 0));
            break;
        }
        case 'u':
        case 'o':
        case 'x':
        case 'X': {
            cFormat += "ll";
            cFormat += directive.conversion;
            auto value = static_cast<unsigned long long>(arg ? arg->Integer() : 0);
            // A negative int shown in hexadecimal is its 32-bit pattern, as the C runtime gives it.
            if (arg && arg->GetKind() == FormatArg::Kind::Integer && arg->Integer() < 0 &&
                arg->Integer() >= INT32_MIN) {
                value &= 0xFFFFFFFFull;
            }
            std::snprintf(buffer, sizeof buffer, cFormat.c_str(), value);
            break;
        }
        default: {
            cFormat += directive.conversion;
            if (directive.precision > 100) return {};
            std::snprintf(buffer, sizeof buffer, cFormat.c_str(), arg ? arg->Real() : 0.0);
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
        Directive directive;
        for (; i < format.size(); ++i) {
            const char f = format[i];
            if (f == '-') {
                directive.leftAlign = true;
            } else if (f == '+' || f == ' ' || f == '0' || f == '#') {
                directive.flags += f;
            } else {
                break;
            }
        }
        if (i < format.size() && format[i] == '*') {
            directive.width = cursor.NextInt();
            if (directive.width < 0) directive.leftAlign = true, directive.width = -directive.width;
            ++i;
        } else {
            while (i < format.size() && format[i] >= '0' && format[i] <= '9')
                directive.width = directive.width * 10 + (format[i++] - '0');
        }
        if (i < format.size() && format[i] == '.') {
            ++i;
            directive.precision = 0;
            if (i < format.size() && format[i] == '*') {
                directive.precision = cursor.NextInt();
                ++i;
            } else {
                while (i < format.size() && format[i] >= '0' && format[i] <= '9')
                    directive.precision = directive.precision * 10 + (format[i++] - '0');
            }
        }
        // Length modifiers change nothing here: every argument carries its own type.
        while (i < format.size() && (format[i] == 'h' || format[i] == 'l' || format[i] == 'L' ||
                                     format[i] == 'w')) {
            ++i;
        }
        if (format.substr(i, 3) == "I64") i += 3;
        if (i >= format.size()) break;
        directive.conversion = format[i++];
        switch (directive.conversion) {
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
                if (directive.precision >= 0) text = Left(text, directive.precision);
                AppendPadded(out, text, directive);
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
                AppendPadded(out, text, directive);
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
                out += FormatNumber(directive, cursor.Next());
                break;
            default:
                // An unknown conversion is kept as it stands.
                out += '%';
                out += directive.conversion;
                break;
        }
    }
    return out;
}

}  // namespace base
