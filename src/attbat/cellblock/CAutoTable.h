#pragma once
// A rectangle of worksheet cells in drawing units, and its drawing as a block: one attribute
// definition for each cell with text (tag and prompt its address, aligned as the cell), lines
// and polylines for the edges, and a reference of the block with the cells' texts.
//
// The cells come in already scaled: the reader multiplies places and sizes by
// CellUnitsPerPoint() and font sizes by UnitsPerPoint(). Drawing scales the margins and the
// edges' widths (points, as ApplyBorderStyle gives them) itself.

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "attbat/cellblock/CAutoCell.h"
#include "attbat/cellblock/CAutoLine.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"

namespace host {
class ProgressMeter;
}

namespace attbat {

class CAutoTable {
public:
    // A point is 1/0.65 of a unit of cell geometry: what the spreadsheet's points come to
    // beside text heights at the same scale.
    static constexpr double kCellPointFactor = 1.5384615384615383;

    // Drawing units per font point, for font sizes.
    double UnitsPerPoint() const { return drawingUnits / fontPoints; }
    // Drawing units per point of cell geometry.
    double CellUnitsPerPoint() const { return drawingUnits * kCellPointFactor / fontPoints; }
    int RowCount() const { return static_cast<int>(m_rows.size()); }
    // The cells of the first row; 0 without rows.
    int ColumnCount() const { return m_rows.empty() ? 0 : static_cast<int>(m_rows.front().size()); }

    // Makes the block `blockName` in `db` with the texts and the edges, and a reference of it
    // in the current space at `insertionPoint`. A null view when the table is empty or the
    // block can't be made (its name taken or refused); nothing is then left in the drawing.
    // It scales the margins in place: a table draws once.
    cad::BlockRecord DrawAsBlock(cad::Database& db, std::string_view blockName);

    // Centres texts across the selection over the empty cells after them, as the sheet shows
    // them: the text's cell takes the run as its merge area.
    void PrepareCells();
    // An attribute definition for the cell, if it has text and room for it; its extent in x
    // (left, right) goes to `left` and `right` (both 0 when none was made).
    bool MakeCellAttribute(const CAutoCell& cell, cad::BlockRecord& block, double& left, double& right);
    // Removes the edges that the text of the cell at `row`, `column` runs across into its
    // empty, unmerged neighbours.
    void ClearCoveredBorders(int row, int column, double left, double right);
    // The grid lines in collections: every top and left edge, and the right and bottom edges
    // of the last column and row, with the edges on one place resolved to the stronger. The
    // meter, if any, steps with each cell.
    CAutoLineCollections CollectLines(host::ProgressMeter* meter = nullptr) const;

    std::vector<CAutoTableRow> m_rows;
    // Cell address to the text of its attribute definition.
    std::map<std::string, std::string> m_values;

    // Drawing options.
    double marginX = 3.0;
    double marginY = 3.0;
    double fontPoints = 1.0;    // "Excel font points"
    double drawingUnits = 1.0;  // "drawing units = "
    double rotation = 0;
    cad::Point3 scale{1, 1, 1};
    std::string blockLayer;     // "" keeps the current layer
    std::string textLayer;      // "" keeps layer 0
    cad::Point3 insertionPoint;
    // The width of a text at a height, in drawing units; the drawing's STANDARD style measures
    // when none is set.
    std::function<double(std::string_view text, double height)> measure;

    // What the last DrawAsBlock made.
    cad::BlockReference reference;
    int attributeCount = 0;
    int lineCount = 0;
    int polylineCount = 0;

private:
    void PlaceTexts(cad::BlockRecord& block);
    void DrawBorders(cad::BlockRecord& block);
    cad::BlockReference InsertBlock(cad::Database& db, const cad::BlockRecord& block);
};

}  // namespace attbat
