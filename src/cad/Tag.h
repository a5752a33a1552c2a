#pragma once
// A tag as the API hands it out: a group code and its value as text, the way an ASCII DXF
// file shows it (numbers in their text form, binary chunks in hexadecimal), always UTF-8.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cad {

// A 64-bit object handle; 0 means none.
using Handle = std::uint64_t;

// A handle in upper-case hexadecimal without leading zeros; "0" for 0.
std::string HandleText(Handle handle);
// Reads a hexadecimal handle; 0 for empty text, text that is not hexadecimal or longer than 16
// digits.
Handle ParseHandle(std::string_view text);

// A number in the shortest text that reads back the same, always with a decimal point or an
// exponent ("1.0", "0.25", "1e-09"), as DXF readers expect of a real.
std::string RealText(double value);

// One group code with its value.
struct Tag {
    int code = 0;
    std::string value;

    // The value as a real; 0 when it is not a number.
    double Real() const;
    // The value as an integer; 0 when it is not a number, reals are truncated.
    long long Int() const;
    // The value as a handle; 0 when it is not hexadecimal.
    Handle AsHandle() const { return ParseHandle(value); }
    bool operator==(const Tag& other) const = default;
};

// A tag list such as a result-buffer chain or a filter.
using TagList = std::vector<Tag>;

// Makes a real tag with the real's text form.
inline Tag RealTag(int code, double value) { return Tag{code, RealText(value)}; }
// Makes an integer tag.
inline Tag IntTag(int code, long long value) { return Tag{code, std::to_string(value)}; }

}  // namespace cad
