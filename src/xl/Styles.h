#pragma once
// The style sheet (xl/styles.xml): number formats, fonts, fills, borders and cell formats (xf)
// read for display, and new cell formats derived from old ones without duplicates.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"

namespace pugi {
class xml_document;
}

namespace xl {

enum class HorizontalAlignment { General, Left, Center, Right, Fill, Justify, CenterContinuous, Distributed };
enum class VerticalAlignment { Top, Center, Bottom, Justify, Distributed };
// The four edges and the two diagonals of a cell.
enum class BorderEdge { Left, Right, Top, Bottom, DiagonalDown, DiagonalUp };

// A border as the spreadsheet's object model sets it: line style name ("thin", "medium",
// "dashed", "double"..., "" for none) and a palette colour index (0 automatic).
struct BorderLine {
    std::string style;
    int colorIndex = 0;
};

// What a format operation changes; unset members stay as they were.
struct StyleChange {
    std::optional<bool> bold, italic, wrap;
    std::optional<HorizontalAlignment> horizontal;
    std::optional<VerticalAlignment> vertical;
    std::optional<int> interiorColorIndex;  // 1..56, or 0 for no fill
    std::optional<std::pair<BorderEdge, BorderLine>> border;
    std::optional<std::string> numberFormat;
};

// How a cell is formatted, as read from its xf.
struct CellFormat {
    bool bold = false, italic = false, wrap = false;
    HorizontalAlignment horizontal = HorizontalAlignment::General;
    VerticalAlignment vertical = VerticalAlignment::Bottom;
    int interiorColorIndex = 0;  // 0 when no solid palette fill
    std::string numberFormat = "General";
    double fontSize = 11;
    std::string fontName = "Calibri";
};

class Styles {
public:
    Styles();
    ~Styles();
    // Reads the style sheet; an empty `xml` makes the default one of a new workbook.
    base::Status Load(std::string_view xml, std::string_view label);
    // The format code of a cell format; "General" for an unknown index. Valid until the styles
    // change.
    const std::string& NumberFormatCode(std::uint32_t xf) const;
    // Everything a cell format says; defaults for an unknown index. Valid until the styles change.
    const CellFormat& Format(std::uint32_t xf) const;
    // Number of cell formats.
    std::size_t Count() const;
    // The cell format that is `xf` with `change` applied: an existing equal one, or a new one.
    std::uint32_t Derive(std::uint32_t xf, const StyleChange& change);
    // The default font's size and name: the first <font> of the style sheet, the Normal style's,
    // which sizes columns and rows. A style sheet without fonts, or a font that leaves them
    // out, has the spreadsheet program's own default (Calibri 11).
    double DefaultFontSize() const;
    std::string DefaultFontName() const;
    bool IsChanged() const { return changed_; }
    std::string Save() const;

private:
    CellFormat Compute(std::uint32_t xf) const;
    std::unique_ptr<pugi::xml_document> doc_;
    mutable std::vector<CellFormat> cache_;  // by xf, rebuilt after a change
    std::map<std::string, std::uint32_t> xfIndex_;
    bool changed_ = false;
};

// The RGB value of a colour index of the 56-colour palette (1..56); 0 for others.
std::uint32_t PaletteColor(int index);

}  // namespace xl
