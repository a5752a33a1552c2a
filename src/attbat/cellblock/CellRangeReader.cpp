#include "attbat/cellblock/CellRangeReader.h"

#include "arxutils/excel/ExcelObjects.h"
#include "attbat/cellblock/CAutoTable.h"
#include "host/ProgressMeter.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

namespace excel = arxutils::excel;

// A merge area hides the grid inside it: the edges between its cells are not drawn.
void ClearMergedEdges(CAutoCell& cell, int row, int column) {
    if (!cell.IsMerged()) return;
    int firstRow = 0, firstColumn = 0, lastRow = 0, lastColumn = 0;
    if (!tables::ParseFirstCell(cell.mergeAddress, firstRow, firstColumn) ||
        !tables::ParseSecondCell(cell.mergeAddress, lastRow, lastColumn))
        return;
    if (row > firstRow) cell.borders.Top().lineType.clear();
    if (row < lastRow) cell.borders.Bottom().lineType.clear();
    if (column > firstColumn) cell.borders.Left().lineType.clear();
    if (column < lastColumn) cell.borders.Right().lineType.clear();
}

}  // namespace

bool ReadCellRange(excel::Worksheet& sheet, const std::string& address, CAutoTable& table) {
    int firstRow = 0, firstColumn = 0;
    if (!tables::ParseFirstCell(address, firstRow, firstColumn) || firstRow < 1 || firstColumn < 1) return false;
    int lastRow = firstRow, lastColumn = firstColumn;
    if (address.find(':') != std::string::npos &&
        (!tables::ParseSecondCell(address, lastRow, lastColumn) || lastRow < firstRow || lastColumn < firstColumn))
        return false;
    const double length = table.CellUnitsPerPoint(), textFactor = table.UnitsPerPoint();
    host::ProgressMeter meter("Reading Excel data ...",
                              static_cast<long>(lastRow - firstRow + 1) * (lastColumn - firstColumn + 1) + 1);
    table.m_rows.clear();
    double originLeft = 0, originTop = 0;
    for (int r = firstRow; r <= lastRow; ++r) {
        CAutoTableRow& row = table.m_rows.emplace_back();
        for (int c = firstColumn; c <= lastColumn; ++c) {
            auto range = sheet.GetRange(tables::AbsoluteCell(r, c));
            if (r == firstRow && c == firstColumn) {
                originLeft = range->Left();
                originTop = range->Top();
            }
            CAutoCell& cell = row.emplace_back();
            cell.address = range->Address();
            cell.text = range->Text().text;
            cell.x = (range->Left() - originLeft) * length;
            cell.y = (range->Top() - originTop) * length;
            cell.width = range->Width() * length;
            cell.height = range->Height() * length;
            cell.hAlign = range->GetHorizontalAlignment();
            cell.vAlign = range->GetVerticalAlignment();
            cell.fontSize = range->GetFont()->Size() * textFactor;
            auto merge = range->MergeArea();
            cell.mergeAddress = merge->Address();
            cell.mergeWidth = merge->Width() * length;
            cell.mergeHeight = merge->Height() * length;
            for (CAutoBorder* edge : {&cell.borders.Top(), &cell.borders.Bottom(), &cell.borders.Left(),
                                      &cell.borders.Right()})
                ApplyBorderStyle(*edge);
            ClearMergedEdges(cell, r, c);
            meter.Step();
        }
    }
    return true;
}

}  // namespace attbat
