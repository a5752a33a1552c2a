// The anonymous block of a table: what programs that don't read tables show of it (and what
// AutoCAD itself draws until it lays the table out again). Drawn from the cells: the grid's
// lines and one multi-line text per non-empty text cell.

#include "cad/geometry/Table.h"

#include <algorithm>

#include "cad/Database.h"
#include "cad/Text.h"
#include "cad/geometry/TableStyle.h"

namespace cad {

namespace {

// What AutoCAD's Standard style has when a style or cell says nothing.
constexpr double kDefaultTextHeight = 0.18;
constexpr double kDefaultMargin = 0.06;
// A row is one line of text high with a margin above and below; AutoCAD lays a line out at
// 4/3 of its text height (a 4.5 high text in a row with 1.5 margins makes a 9 high row).
constexpr double kLineFactor = 4.0 / 3.0;

struct Margins {
    double horizontal = kDefaultMargin;
    double vertical = kDefaultMargin;
};

struct CellSpan {
    int columns = 1;
    int rows = 1;
};

}  // namespace

std::vector<double> Table::FittedRowHeights() const {
    std::vector<double> heights = RowHeights();
    const int rows = Rows();
    heights.resize(std::max(0, rows), 0.0);
    Object styleObject = Style();
    TableStyle style(styleObject.GetDatabase(), styleObject.Index());
    const double vertical = styleObject ? style.VerticalMargin() : kDefaultMargin;
    for (int r = 0; r < rows; ++r) {
        double text = RowStyle(r).textHeight;
        if (text <= 0) text = kDefaultTextHeight;
        heights[r] = std::max(heights[r], text * kLineFactor + 2 * vertical);
    }
    return heights;
}

base::Status Table::RegenerateBlock() {
    BlockRecord block = Block();
    // A table that some program wrote without its block has nothing to draw in; the program
    // that shows it lays it out itself.
    if (!block) return base::Status::Ok();
    const int rows = Rows(), columns = Columns();
    std::vector<double> heights = FittedRowHeights();
    std::vector<double> widths = ColumnWidths();
    widths.resize(std::max(0, columns), 0.0);

    // The fitted heights go back into the table, as AutoCAD keeps the heights it laid out.
    {
        const std::size_t end = OwnDataEnd();
        int row = 0;
        for (std::size_t i = TableData(); i < end && CodeAt(i) != 171 && row < rows; ++i)
            if (CodeAt(i) == 141) {
                if (RealAt(i) != heights[row]) SetTagText(i, RealText(heights[row]));
                ++row;
            }
    }

    for (Entity& entity : block.Entities()) entity.Erase();

    Object styleObject = Style();
    TableStyle style(styleObject.GetDatabase(), styleObject.Index());
    Margins margins;
    if (styleObject) margins = {style.HorizontalMargin(), style.VerticalMargin()};

    // Which cell covers each position: a merged cell (175 columns, 176 rows) covers its span.
    std::vector<std::size_t> starts = CellStarts();
    const std::size_t dataEnd = OwnDataEnd();
    std::vector<int> owner(static_cast<std::size_t>(rows) * columns);
    for (std::size_t n = 0; n < owner.size(); ++n) owner[n] = static_cast<int>(n);
    std::vector<CellSpan> spans(owner.size());
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            const std::size_t n = static_cast<std::size_t>(r) * columns + c;
            if (n >= starts.size()) continue;
            CellSpan span;
            bool mergedAway = false;
            const std::size_t end = CellEnd(starts[n], dataEnd);
            for (std::size_t i = starts[n]; i < end && CodeAt(i) != 301; ++i) {
                if (CodeAt(i) == 173) mergedAway = IntAt(i) != 0;
                else if (CodeAt(i) == 175) span.columns = std::max(1, static_cast<int>(IntAt(i)));
                else if (CodeAt(i) == 176) span.rows = std::max(1, static_cast<int>(IntAt(i)));
            }
            if (mergedAway) continue;
            spans[n] = span;
            for (int dr = 0; dr < span.rows && r + dr < rows; ++dr)
                for (int dc = 0; dc < span.columns && c + dc < columns; ++dc)
                    owner[static_cast<std::size_t>(r + dr) * columns + c + dc] = static_cast<int>(n);
        }
    }

    std::vector<double> left(columns + 1, 0.0), top(rows + 1, 0.0);
    for (int c = 0; c < columns; ++c) left[c + 1] = left[c] + widths[c];
    for (int r = 0; r < rows; ++r) top[r + 1] = top[r] - heights[r];

    // Lines between two cells that aren't one merged cell, and the outline.
    auto ownerAt = [&](int r, int c) { return owner[static_cast<std::size_t>(r) * columns + c]; };
    for (int r = 0; r <= rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            if (r > 0 && r < rows && ownerAt(r - 1, c) == ownerAt(r, c)) continue;
            auto line = block.AddLine({left[c], top[r], 0}, {left[c + 1], top[r], 0});
            if (!line) return line.GetStatus();
        }
    }
    for (int c = 0; c <= columns; ++c) {
        for (int r = 0; r < rows; ++r) {
            if (c > 0 && c < columns && ownerAt(r, c - 1) == ownerAt(r, c)) continue;
            auto line = block.AddLine({left[c], top[r], 0}, {left[c], top[r + 1], 0});
            if (!line) return line.GetStatus();
        }
    }

    // One text per cell that shows one, placed by its alignment (1 top left ... 9 bottom right).
    for (int r = 0; r < rows; ++r) {
        const TableCellStyle rowStyle = RowStyle(r);
        for (int c = 0; c < columns; ++c) {
            const std::size_t n = static_cast<std::size_t>(r) * columns + c;
            if (n >= starts.size() || owner[n] != static_cast<int>(n) || IntAt(starts[n]) == 2) continue;
            const std::size_t cellEnd = CellEnd(starts[n], dataEnd);
            const std::string text = CellTextAt(starts[n], cellEnd);
            if (text.empty()) continue;
            const CellSpan span = spans[n];
            const double x0 = left[c], x1 = left[std::min(columns, c + span.columns)];
            const double y0 = top[r], y1 = top[std::min(rows, r + span.rows)];
            TableCellStyle cellStyle = CellStyleAt(rowStyle, starts[n], cellEnd);
            int alignment = cellStyle.alignment >= 1 && cellStyle.alignment <= 9 ? cellStyle.alignment : 5;
            const int across = (alignment - 1) % 3, down = (alignment - 1) / 3;
            const double x = across == 0 ? x0 + margins.horizontal : across == 1 ? (x0 + x1) / 2 : x1 - margins.horizontal;
            const double y = down == 0 ? y0 - margins.vertical : down == 1 ? (y0 + y1) / 2 : y1 + margins.vertical;
            const double height = cellStyle.textHeight > 0 ? cellStyle.textHeight : kDefaultTextHeight;
            TagList tags = {{100, "AcDbMText"}, RealTag(10, x), RealTag(20, y), RealTag(30, 0.0),
                            RealTag(40, height), RealTag(41, std::max(0.0, x1 - x0 - 2 * margins.horizontal)),
                            RealTag(46, 0.0), IntTag(71, alignment), IntTag(72, 5)};
            for (Tag& tag : MTextContentTags(text)) tags.push_back(std::move(tag));
            if (!cellStyle.textStyle.empty() && db_->FindRecord("STYLE", cellStyle.textStyle))
                tags.push_back({7, cellStyle.textStyle});
            tags.push_back(IntTag(73, 1));
            tags.push_back(RealTag(44, 1.0));
            auto mtext = block.AppendEntity("MTEXT", "0", tags);
            if (!mtext) return mtext.GetStatus();
        }
    }
    return base::Status::Ok();
}

}  // namespace cad
