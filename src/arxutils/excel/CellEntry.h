#pragma once
// What every backend of the object model reads the same way: addresses as the application
// takes them, and how a text written into a cell is entered.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "xl/CellRef.h"

namespace arxutils::excel {

// True for a range of whole rows ("3:5").
bool WholeRows(const xl::CellRange& r);
// True for a range of whole columns ("C:D").
bool WholeColumns(const xl::CellRange& r);
// One area of an address: "B3", "$B$3:C9", "3:5", "$C:$D"; false for anything else.
bool ParseArea(std::string_view text, xl::CellRange& out);
// The areas of "A1,B2:B9" in their order; false when one of them is not an area.
bool ParseAreas(std::string_view text, std::vector<xl::CellRange>& areas);
// The A1 form of areas, joined by ","; the flags put the dollars in.
std::string AreasName(const std::vector<xl::CellRange>& areas, bool rowAbs, bool colAbs);
// A text the user would want to add up is stored as a number: a plain number whose General
// display gives back the very text. False for anything else, which stays the text it is.
bool IsPlainNumber(std::string_view text, double& value);

// What a range stands for: its cells, or its rows or columns (Range.Rows, Range.Columns).
enum class RangeMode { Cells, Rows, Columns };

// The area of Item(row, column) of a range whose first area is `first`: the n-th row or column
// for a range of rows or columns, else the cell at the offset from the top-left (both from 1,
// and it may lie outside). Throws the application's AutomationError outside the sheet.
xl::CellRange ItemArea(const xl::CellRange& first, RangeMode mode, int row, int column);
// Resize: `rows` by `columns` from the top-left of `first`; the application's error outside.
xl::CellRange ResizedArea(const xl::CellRange& first, int rows, int columns);
// Count: rows or columns of the first area for a range of rows or columns, else every cell.
long AreaCount(const std::vector<xl::CellRange>& areas, RangeMode mode);
// The first cell of `area` (offsets from 0) for which `hit` is true, visited by rows or by
// columns (xlByRows, xlByColumns), forwards or from the end (xlNext, xlPrevious); false if none.
bool FindInOrder(const xl::CellRange& area, int searchOrder, int searchDirection,
                 const std::function<bool(int row, int column)>& hit, int& foundRow, int& foundColumn);

}  // namespace arxutils::excel
