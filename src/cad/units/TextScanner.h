#pragma once
// A cursor over a number text as users type them: reals, scientific notation and fractions.

#include <cstddef>
#include <string_view>

namespace cad {

// Reads pieces of a distance or angle text from left to right; every Scan* leaves the position
// where it was when it fails.
class TextScanner {
public:
    explicit TextScanner(std::string_view text) : text_(text) {}

    std::size_t Position() const { return pos_; }
    void SetPosition(std::size_t pos) { pos_ = pos; }
    bool AtEnd() const { return pos_ >= text_.size(); }
    // The next byte, or 0 at the end.
    char Peek() const { return pos_ < text_.size() ? text_[pos_] : '\0'; }
    // Takes c (ASCII letters without regard to case) when it is next.
    bool Take(char c);
    // Takes the UTF-8 text when it is next.
    bool Take(std::string_view text);
    // Skips blanks and tabs; true when there were any.
    bool SkipSpaces();

    // An unsigned real: "12", "12.5", ".5", "5.", "1.75E+01". Fails on "inf", "nan", "." and "".
    bool ScanReal(double& value);
    // An unsigned real, or a fraction "35/2", or a mixed number "17 1/2" or "17-1/2".
    bool ScanMixed(double& value);

private:
    // Digits only, as a real (may be very large); false when there are none.
    bool ScanDigits(double& value, bool& integral);
    // "a/b" with digits only and b not zero.
    bool ScanFraction(double& value);

    std::string_view text_;
    std::size_t pos_ = 0;
};

}  // namespace cad
