#pragma once
// printf-style formatting of the system's own format strings ("%s - %d", "$%s$%d", "%08lx"...)
// with UTF-8 arguments. Widths and precisions of %s count code points.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace base {

// One argument of Sprintf: an integer, a real, a text or a character.
class FormatArg {
public:
    enum class Kind { Integer, Unsigned, Real, Text, Char };

    FormatArg(int v) : kind_(Kind::Integer), integer_(v) {}
    FormatArg(long v) : kind_(Kind::Integer), integer_(v) {}
    FormatArg(long long v) : kind_(Kind::Integer), integer_(v) {}
    FormatArg(unsigned v) : kind_(Kind::Unsigned), integer_(static_cast<std::int64_t>(v)) {}
    FormatArg(unsigned long v) : kind_(Kind::Unsigned), integer_(static_cast<std::int64_t>(v)) {}
    FormatArg(unsigned long long v)
        : kind_(Kind::Unsigned), integer_(static_cast<std::int64_t>(v)) {}
    FormatArg(double v) : kind_(Kind::Real), real_(v) {}
    FormatArg(char v) : kind_(Kind::Char), integer_(static_cast<unsigned char>(v)) {}
    FormatArg(char32_t v) : kind_(Kind::Char), integer_(v) {}
    FormatArg(const char* v) : kind_(Kind::Text), text_(v ? v : "") {}
    FormatArg(const std::string& v) : kind_(Kind::Text), text_(v) {}
    FormatArg(std::string_view v) : kind_(Kind::Text), text_(v) {}

    Kind GetKind() const { return kind_; }
    std::int64_t Integer() const;
    double Real() const;
    std::string_view Text() const { return text_; }

private:
    Kind kind_;
    std::int64_t integer_ = 0;
    double real_ = 0;
    std::string_view text_;
};

// Formats like the C runtime's printf: flags "-+ 0#", width and precision (also "*"), length
// modifiers (h, l, ll, I64) and the conversions d i u o x X c s S e E f g G %. A missing argument
// formats as 0 or "". Arguments of another kind are converted (a text for %d is read as a number).
std::string VSprintf(std::string_view format, std::initializer_list<FormatArg> args);

template <class... Args>
std::string Sprintf(std::string_view format, const Args&... args) {
    return VSprintf(format, {FormatArg(args)...});
}

}  // namespace base
