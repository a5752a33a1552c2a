#pragma once
// A range of a worksheet read into a CAutoTable: each cell's address, text, place and size
// (times the table's CellUnitsPerPoint), text height (times UnitsPerPoint), alignment, merge
// area and edges.

#include <string>

namespace arxutils::excel {
class Worksheet;
}

namespace attbat {

class CAutoTable;

// Reads `address` ("$B$2:$D$5", or one cell) of `sheet` row by row into `table`, the first
// cell being the origin. The edges come out continuous and thin, as the sheet's grid shows,
// except those inside a merge area. False, with nothing read, when the address isn't a cell or
// a range of cells. Throws the object model's error.
bool ReadCellRange(arxutils::excel::Worksheet& sheet, const std::string& address, CAutoTable& table);

}  // namespace attbat
