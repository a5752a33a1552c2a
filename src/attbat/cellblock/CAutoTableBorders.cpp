// The edges of a cell block: grid lines gathered by grid row and column, joined where they
// go on in the same style, and drawn as lines, or as polylines where they have a width.
#include <algorithm>
#include <cmath>

#include "attbat/cellblock/CAutoTable.h"
#include "base/Text.h"
#include "cad/Curves.h"
#include "cad/Tag.h"
#include "host/ProgressMeter.h"

namespace attbat {

namespace {

constexpr double kTolerance = 1e-5;

// A wide run of joined edges.
struct WideRun {
    std::vector<cad::PolylinePoint> points;
    double width = 0;
    std::string lineType;
};

bool Touch(const cad::PolylinePoint& a, const cad::PolylinePoint& b) {
    return std::abs(a.x - b.x) <= kTolerance && std::abs(a.y - b.y) <= kTolerance;
}

// Puts `from` onto the end of `to` when they touch at an end; false when they don't.
bool Join(WideRun& to, WideRun& from) {
    if (std::abs(to.width - from.width) > kTolerance || !base::EqualNoCase(to.lineType, from.lineType)) return false;
    auto& a = to.points;
    auto& b = from.points;
    if (Touch(a.front(), b.front()) || Touch(a.front(), b.back())) std::reverse(a.begin(), a.end());
    if (Touch(a.back(), b.back())) std::reverse(b.begin(), b.end());
    if (!Touch(a.back(), b.front())) return false;
    a.insert(a.end(), b.begin() + 1, b.end());
    return true;
}

// Joins runs that touch at their ends until none do.
void JoinRuns(std::vector<WideRun>& runs) {
    for (bool joined = true; joined;) {
        joined = false;
        for (std::size_t i = 0; i < runs.size() && !joined; ++i) {
            for (std::size_t k = i + 1; k < runs.size() && !joined; ++k) {
                if (!Join(runs[i], runs[k])) continue;
                runs.erase(runs.begin() + static_cast<long>(k));
                joined = true;
            }
        }
    }
}

// A line type the drawing lacks gets a record of its name (drawn solid until its pattern is
// loaded), so that the edge keeps its name and the drawing stays valid.
void EnsureLineType(cad::Database& db, const std::string& name) {
    if (base::EqualNoCase(name, "CONTINUOUS") || db.FindRecord("LTYPE", name)) return;
    db.AddRecord("LTYPE", name,
                 {{100, "AcDbLinetypeTableRecord"}, {3, ""}, {72, "65"}, {73, "0"}, cad::RealTag(40, 0)});
}

void SetLineType(cad::Entity entity, const std::string& name) {
    if (!base::EqualNoCase(name, "CONTINUOUS")) entity.SetText(6, name, "AcDbEntity");
}

}  // namespace

CAutoLineCollections CAutoTable::CollectLines(host::ProgressMeter* meter) const {
    const int rows = RowCount(), columns = ColumnCount();
    // A column of copies past the last one, whose left edges are the last column's right
    // edges, and a row of copies below the last one in the same way: then every grid line is
    // some cell's top or left edge.
    std::vector<CAutoTableRow> grid = m_rows;
    for (CAutoTableRow& row : grid) {
        row.resize(columns);
        CAutoCell copy = row.back();
        copy.x += copy.width;
        copy.borders.Left() = copy.borders.Right();
        row.push_back(copy);
    }
    CAutoTableRow lastRow = grid.back();
    for (CAutoCell& copy : lastRow) {
        copy.y += copy.height;
        copy.borders.Top() = copy.borders.Bottom();
    }
    grid.push_back(lastRow);

    CAutoLineCollections collections(static_cast<std::size_t>(rows + 1 + columns + 1));
    const CAutoBorder none{};
    for (int r = 0; r <= rows; ++r) {
        for (int c = 0; c <= columns; ++c) {
            const CAutoCell& cell = grid[r][c];
            if (c < columns) {
                const CAutoBorder& edge = StrongerBorder(cell.borders.Top(), r > 0 ? grid[r - 1][c].borders.Bottom() : none);
                if (!edge.lineType.empty()) {
                    CAutoLine line;
                    line.start = {cell.x, -cell.y, 0};
                    line.end = {cell.x + cell.width, -cell.y, 0};
                    line.gridStart = {double(c), double(r), 0};
                    line.gridEnd = {double(c + 1), double(r), 0};
                    line.lineType = edge.lineType;
                    line.style = edge.lineStyle;
                    line.width = edge.lineWidth;
                    collections[r].AddLine(line);
                }
            }
            if (r < rows) {
                const CAutoBorder& edge = StrongerBorder(cell.borders.Left(), c > 0 ? grid[r][c - 1].borders.Right() : none);
                if (!edge.lineType.empty()) {
                    CAutoLine line;
                    line.start = {cell.x, -cell.y, 0};
                    line.end = {cell.x, -cell.y - cell.height, 0};
                    line.gridStart = {double(c), double(r), 0};
                    line.gridEnd = {double(c), double(r + 1), 0};
                    line.lineType = edge.lineType;
                    line.style = edge.lineStyle;
                    line.width = edge.lineWidth;
                    collections[rows + 1 + c].AddLine(line);
                }
            }
            if (meter && r < rows && c < columns) meter->Step();
        }
    }
    return collections;
}

void CAutoTable::DrawBorders(cad::BlockRecord& block) {
    host::ProgressMeter meter("Drawing the borders:", RowCount() * ColumnCount());
    cad::Database& db = *block.GetDatabase();
    // Edge widths are points, like the cell sizes.
    const double widthFactor = CellUnitsPerPoint();
    std::vector<WideRun> wide;
    for (const CAutoLineCollection& collection : CollectLines(&meter)) {
        for (const CAutoLine& line : collection.lines) {
            EnsureLineType(db, line.lineType);
            if (line.width > kTolerance) {
                const double width = line.width * widthFactor;
                wide.push_back({{{line.start.x, line.start.y, 0, width, width}, {line.end.x, line.end.y, 0, width, width}},
                                width,
                                line.lineType});
                continue;
            }
            auto made = block.AddLine(line.start, line.end);
            if (!made) continue;
            SetLineType(*made, line.lineType);
            ++lineCount;
        }
    }
    JoinRuns(wide);
    // Wide edges come last, over the thin ones, as the top of the draw order.
    for (const WideRun& run : wide) {
        auto made = block.AddLwPolyline(run.points, false);
        if (!made) continue;
        SetLineType(*made, run.lineType);
        made->SetReal(43, run.width, "AcDbPolyline");
        ++polylineCount;
    }
}

}  // namespace attbat
