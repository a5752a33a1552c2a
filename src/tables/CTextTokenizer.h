#pragma once
// Cuts a text into fields at any of a set of delimiter characters; comment texts are cut into
// lines with it.
#include <bitset>
#include <cstddef>
#include <string>
#include <string_view>

namespace tables {

class CTextTokenizer {
public:
    // Each code point of `delimiters` sets the bit of its low 8 bits, so U+010A splits wherever
    // "\n" does: comment texts have always been cut that way.
    CTextTokenizer(std::string_view text, std::string_view delimiters);

    // Empties `out`, skips delimiters and gives the next non-empty field; false at the end of
    // the text (two delimiters in a row never give an empty field).
    bool Next(std::string& out);

private:
    bool IsDelimiterAt(std::size_t pos, std::size_t& next) const;

    std::string text_;
    std::size_t position_ = 0;
    std::bitset<256> delimiters_;
};

}  // namespace tables
