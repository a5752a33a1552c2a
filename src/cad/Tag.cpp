#include "cad/Tag.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

#include <fmt/format.h>

namespace cad {

std::string HandleText(Handle handle) {
    // By hand rather than through a format: a read of the references makes one for each.
    char digits[16];
    char* const end = digits + sizeof digits;
    char* first = end;
    do {
        *--first = "0123456789ABCDEF"[handle & 0xF];
        handle >>= 4;
    } while (handle != 0);
    return std::string(first, end);
}

Handle ParseHandle(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r'))
        text.remove_suffix(1);
    if (text.empty() || text.size() > 16) return 0;
    Handle value = 0;
    auto r = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (r.ec != std::errc() || r.ptr != text.data() + text.size()) return 0;
    return value;
}

std::string RealText(double value) {
    if (!std::isfinite(value)) return "0.0";
    std::string text = fmt::format("{}", value);
    if (text.find_first_of(".e") == std::string::npos) text += ".0";
    return text;
}

double Tag::Real() const {
    std::string_view s = value;
    while (!s.empty() && (s.front() == ' ' || s.front() == '+')) s.remove_prefix(1);
    double v = 0;
    auto r = std::from_chars(s.data(), s.data() + s.size(), v);
    return r.ec == std::errc() ? v : 0.0;
}

long long Tag::Int() const {
    std::string_view s = value;
    while (!s.empty() && (s.front() == ' ' || s.front() == '+')) s.remove_prefix(1);
    long long v = 0;
    auto r = std::from_chars(s.data(), s.data() + s.size(), v);
    if (r.ec == std::errc()) return v;
    return static_cast<long long>(Real());
}

}  // namespace cad
