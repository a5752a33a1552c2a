#pragma once
// A1 references: cells and rectangles, rows and columns counted from 1.

#include <string>
#include <string_view>

namespace xl {

constexpr int kMaxRow = 1048576;
constexpr int kMaxColumn = 16384;

// A rectangle of cells; `IsValid` is false for the empty default.
struct CellRange {
    int firstRow = 0, firstColumn = 0, lastRow = 0, lastColumn = 0;

    bool IsValid() const { return firstRow >= 1 && firstColumn >= 1 && lastRow >= firstRow && lastColumn >= firstColumn; }
    bool Contains(int row, int column) const {
        return row >= firstRow && row <= lastRow && column >= firstColumn && column <= lastColumn;
    }
    bool Intersects(const CellRange& o) const {
        return firstRow <= o.lastRow && o.firstRow <= lastRow && firstColumn <= o.lastColumn &&
               o.firstColumn <= lastColumn;
    }
    bool operator==(const CellRange&) const = default;
};

// "A", "Z", "AA"... for 1, 26, 27; "" outside 1..16384.
std::string ColumnName(int column);
// "B3" (or "$B$3" when `absolute`).
std::string CellName(int row, int column, bool absolute = false);
// Appends "B3" to `out` without a temporary, for writers of many cells; a column outside
// 1..16384 gives no letters.
void AppendCellName(std::string& out, int row, int column);
// "A1:B2", or "A1" for a single cell; absolute adds the dollars.
std::string RangeName(const CellRange& range, bool absolute = false);
// Parses "B3", "$b$3"; false for anything else (trailing text included) or out of the sheet.
bool ParseCell(std::string_view text, int& row, int& column);
// Parses a cell as the `r` attribute of sheet XML names it: "B3" without dollars and nothing
// around it. Lower-case letters are read as the same cell, as LibreOffice reads them.
bool ParseCellName(std::string_view text, int& row, int& column);
// Parses a row number as the `r` attribute of a row gives it: digits only, 1 to kMaxRow.
bool ParseRowNumber(std::string_view text, int& row);
// Parses "A1:C3", "A1", "$A$1:$C$3" (corners put in order); an invalid range on failure.
CellRange ParseRange(std::string_view text);

}  // namespace xl
