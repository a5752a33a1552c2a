#pragma once
// How wide a text of a table's text style is, as the host's text style extents give it: the
// width in drawing units of a style with a fixed height, 0 for a style without one (the height
// then comes from each cell, so the style alone can't tell), and 0 for an empty text.
//
// TrueType and OpenType fonts are measured by their own advances, found through the system's
// font configuration (a font missing here is measured by the one it substitutes, as a CAD
// program without the font would draw it). SHX fonts have no metrics on this system: their
// characters are taken as kStandInAdvance of the height wide.

#include <memory>
#include <string>
#include <string_view>

namespace cad {
class Database;
}

namespace fonts {
class FontMetrics;
}

namespace attbat {

class TableTextExtents {
public:
    // The text style `styleName` of `db`; a style the drawing lacks measures everything as 0.
    TableTextExtents(cad::Database& db, std::string_view styleName);
    ~TableTextExtents();

    // The extent in x of `text` at the style's fixed height and width factor; 0 without a fixed
    // height or for "".
    double Width(std::string_view text) const;
    // The extent in x of `text` at `height` (a style's fixed height aside) and the style's
    // width factor; 0 for "" or a height not above 0.
    double WidthAt(std::string_view text, double height) const;
    // The style's fixed height (40); 0 when it has none.
    double FixedHeight() const { return fixedHeight_; }
    // The font file measured; "" when the stand-in measures (SHX fonts, no font found).
    const std::string& MeasuredFont() const { return fontPath_; }

    // The mean advance of the host's SHX fonts, as a part of the text height: txt.shx and
    // simplex.shx advance about 6 units on a body whose capitals stand 9 high (2/3), of which
    // the extents leave out the spacing after the last character.
    static constexpr double kStandInAdvance = 0.6;

private:
    double fixedHeight_ = 0;
    double widthFactor_ = 1;
    std::string fontPath_;
    std::unique_ptr<fonts::FontMetrics> metrics_;
};

}  // namespace attbat
