#pragma once
// The running number of auto numbering: the present number with its prefix and increment, the
// block and drawing last numbered. It lasts as long as the module, so that a later run on the
// same block goes on where the last one ended, and one in another drawing starts afresh.

#include <string>
#include <string_view>

namespace attbat {

struct NumberingState {
    std::string numberText;        // the present number, digits or letters; "" before the first
    std::string numberPrefix;      // text ahead of the number
    short numberIncrement = 1;
    std::string lastBlockName;     // the block last numbered
    std::string lastDrawingPath;   // the drawing of the last run

    // The number as written: prefix and number.
    std::string Current() const { return numberPrefix + numberText; }
    // Empties number and prefix and sets the increment to 1: the next advance starts at "1".
    void Restart();
    // Number "1" without a prefix, increment 1: the start a new block or a first text offers.
    void StartAtOne();
    // A run in `path`: another drawing than the last one (without regard to case) forgets the
    // block and restarts the number; the first run ever only takes the path over.
    void StartDrawing(std::string_view path);
    // Takes a start text the user typed: trailing digits are the number and what stands ahead is
    // the prefix; a text not ending in a digit is the number as a whole, the prefix kept as it was.
    void SplitStart(std::string_view text);
    // The next number: digits keep their width (a minus sign counts in it); letters count with
    // A as 1 and Z as 26, running on one letter too far at each multiple of 26 above 26, and stay
    // lower case when they were. A number that doesn't start with a letter or digit restarts at 1.
    void Advance();
};

// The numbering state of this module, kept between runs of the command.
NumberingState& TheNumberingState();

// True for a letter or digit of any script, as the C library's iswalnum says under UTF-8.
bool IsLetterOrDigit(char32_t c);
// True when every character of `text` is a letter or digit; true for "".
bool IsAllLettersOrDigits(std::string_view text);

}  // namespace attbat
