#pragma once
// The lines of a cell block's grid: each one an edge run between two points, with its place
// in the grid (row and column of its ends) so that runs along one grid line join up.

#include <cstdint>
#include <string>
#include <vector>

#include "cad/Entity.h"

namespace attbat {

class CAutoBorder;

class CAutoLine {
public:
    // True when the line runs neither along x nor along y.
    bool IsDiagonal() const;
    double Length() const;

    cad::Point3 start;
    cad::Point3 end;
    cad::Point3 gridStart;  // x column, y row of the grid point at the start
    cad::Point3 gridEnd;
    std::string lineType = "CONTINUOUS";
    std::int32_t style = 1;
    double width = 0;
};

// The lines of one grid row or grid column, in order.
class CAutoLineCollection {
public:
    // Puts a line in: dropped when it has no length; extends the last line when it goes on
    // from it along the same grid line in the same type, style and width; appended otherwise.
    void AddLine(const CAutoLine& line);

    std::vector<CAutoLine> lines;
};

// One collection for each grid row, then one for each grid column.
using CAutoLineCollections = std::vector<CAutoLineCollection>;

// Of two edges on the same place of the grid, the one to draw: the other when one has no line;
// else a double edge over a single one, a wider one over a narrower one, a continuous one over
// a broken one of equal width; the first at a tie.
const CAutoBorder& StrongerBorder(const CAutoBorder& first, const CAutoBorder& second);

}  // namespace attbat
