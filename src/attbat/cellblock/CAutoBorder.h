#pragma once
// One edge of a worksheet cell as the cell block draws it, and the six edges of a cell.

#include <array>
#include <cstdint>
#include <string>

namespace attbat {

// The drawing's name for the spreadsheet's double border: a line type of that name is made in
// the drawing when the first double edge is drawn.
inline constexpr const char* kDoubleLineType = "DOUBLE";

class CAutoBorder {
public:
    std::string lineType;             // the drawing's line type name; "" draws no line here
    std::uint64_t color = 0xFFFFFF;   // the edge's colour
    double lineWidth = 0.0;           // constant width of the line; 0 draws a plain line
    std::int32_t lineStyle = 1;       // the spreadsheet's line style (xlContinuous...)
    std::int32_t weight = 2;          // the spreadsheet's weight (xlThin...)
    std::int32_t flag = 0;
};

// The edges of a cell: two that take no part in the drawing, then top, bottom, left, right.
class CAutoBorders {
public:
    CAutoBorder& Top() { return items[2]; }
    CAutoBorder& Bottom() { return items[3]; }
    CAutoBorder& Left() { return items[4]; }
    CAutoBorder& Right() { return items[5]; }
    const CAutoBorder& Top() const { return items[2]; }
    const CAutoBorder& Bottom() const { return items[3]; }
    const CAutoBorder& Left() const { return items[4]; }
    const CAutoBorder& Right() const { return items[5]; }

    std::array<CAutoBorder, 6> items;
};

// Sets the line type from the line style (a style without a line type of its own leaves it as
// it was) and the width from the weight: 1.5 medium, 2.25 thick, 0 otherwise, in points.
void ApplyBorderStyle(CAutoBorder& border);

}  // namespace attbat
