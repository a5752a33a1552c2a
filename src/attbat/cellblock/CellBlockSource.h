#pragma once
// Where a cell block's values come from, kept on its block definition as extended data:
// "AutoCellBlock" with the workbook, the worksheet and the range, as this system writes it, or
// "CellBlock2" with five strings (workbook, two values kept but unused, worksheet, range).
// And the cell addresses its attribute tags are.

#include <string>
#include <string_view>

#include "cad/BlockRecord.h"

namespace attbat {

inline constexpr std::string_view kCellBlockApp = "AutoCellBlock";
inline constexpr std::string_view kCellBlock2App = "CellBlock2";

struct CellBlockSource {
    std::string workbook;   // the workbook's full path
    std::string worksheet;
    std::string range;      // "$B$2:$D$5"; may be "" in a record of this system
    std::string second;     // "CellBlock2" only
    std::string third;
    bool fromCellBlock2 = false;
};

enum class CellBlockKind {
    None,     // neither record: not a cell block
    Invalid,  // a record without the strings it needs: "Invalid Cell Block."
    Valid,
};

// Reads the record of `block`, "CellBlock2" before "AutoCellBlock".
CellBlockKind ReadCellBlockSource(const cad::BlockRecord& block, CellBlockSource& source);
// Writes the "AutoCellBlock" record: the workbook replacing what was there, then the worksheet
// and the range (left out when empty) added. False when the block can't hold it.
bool WriteCellBlockSource(const cad::BlockRecord& block, const CellBlockSource& source);

// The absolute address an attribute tag stands for: "$B$3" as it is, or "B3" (letters, then
// digits) in that form; "" for any other tag.
std::string CellTagAddress(std::string_view tag);

}  // namespace attbat
