#pragma once
// One worksheet cell as the cell block sees it: address, merge area, text, size and place in
// drawing units (y growing downwards from the first cell), text height, alignment and edges.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "attbat/cellblock/CAutoBorder.h"

namespace attbat {

class CAutoCell {
public:
    // True when the cell lies in a merge area ("mergeAddress" differs from "address").
    bool IsMerged() const { return mergeAddress != address; }

    std::string address;       // "$B$3"
    std::string mergeAddress;  // the merge area's address; the address itself when unmerged
    std::string text;          // what the cell shows
    double height = 0;
    double width = 0;
    double mergeWidth = 0;     // of the merge area; the cell's own when unmerged
    double mergeHeight = 0;
    double x = 0;              // left and top, from the first cell of the range
    double y = 0;
    double fontSize = 0;       // the text height
    std::int32_t hAlign = -4131;  // xlLeft
    std::int32_t vAlign = -4107;  // xlBottom
    CAutoBorders borders;
};

using CAutoTableRow = std::vector<CAutoCell>;

// The text an attribute takes from a cell: trimmed, its lines (a wrapped cell's) joined by a
// blank, since an attribute holds one line.
std::string AttributeText(std::string_view cellText);

}  // namespace attbat
