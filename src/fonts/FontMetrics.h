#pragma once
// The advance widths of a TrueType or OpenType font (FreeType), for measuring a line of text the
// way a CAD program lays it out: the text height is the height of the font's capitals.

#include <memory>
#include <string>
#include <string_view>

#include "base/Status.h"

namespace fonts {

class FontMetrics {
public:
    // Opens the font file; a failure names the file and FreeType's reason.
    static base::Result<FontMetrics> Open(const std::string& path);

    FontMetrics(FontMetrics&&) noexcept;
    FontMetrics& operator=(FontMetrics&&) noexcept;
    ~FontMetrics();

    // The width of `text` (UTF-8, one line) at text height `height`: the advances of its
    // characters with the font's kerning, scaled so that a capital is `height` high. Characters
    // the font lacks advance as its missing glyph does. 0 for "".
    double TextWidth(std::string_view text, double height) const;
    // The height of the font's capitals in font units (OS/2 table; else the H glyph's, else
    // 70% of the em).
    double CapHeight() const { return capHeight_; }
    // The widest advance of the digits 0-9 in a face `pixelsPerEm` pixels high, rounded to whole
    // pixels as spreadsheet programs count the digit their column widths are made of.
    int MaxDigitPixels(double pixelsPerEm) const;

private:
    struct Face;
    explicit FontMetrics(std::unique_ptr<Face> face);

    std::unique_ptr<Face> face_;
    double capHeight_ = 0;
};

// The widest digit of the font fontconfig gives for `family` (the font itself, else its stand-in)
// at `points`, in whole pixels at 96 dpi: the unit of spreadsheet column widths. The error says
// why there is none: a size that is not positive, no font on the machine at all, or a file that
// FreeType doesn't read.
base::Result<int> MaxDigitWidth(std::string_view family, double points);

}  // namespace fonts
