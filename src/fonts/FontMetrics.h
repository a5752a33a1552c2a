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

private:
    struct Face;
    explicit FontMetrics(std::unique_ptr<Face> face);

    std::unique_ptr<Face> face_;
    double capHeight_ = 0;
};

}  // namespace fonts
