#include "attbat/cellblock/CAutoTable.h"

#include <cmath>

#include "arxutils/ArxUtils.h"
#include "arxutils/excel/ExcelObjects.h"
#include "attbat/export/TableTextExtents.h"
#include "base/Format.h"
#include "base/Text.h"
#include "cad/Tag.h"
#include "cad/Text.h"

namespace attbat {

namespace {

namespace excel = arxutils::excel;

constexpr double kTolerance = 1e-5;

// Horizontal modes (72) and vertical modes (74) of a text placed by its alignment point.
constexpr int kLeft = 0, kCentre = 1, kRight = 2;
constexpr int kBottom = 1, kMiddle = 2, kTop = 3;

bool HasText(const CAutoCell& cell) { return !base::Trim(cell.text).empty(); }

}  // namespace

cad::BlockRecord CAutoTable::DrawAsBlock(cad::Database& db, std::string_view blockName) {
    attributeCount = lineCount = polylineCount = 0;
    reference = {};
    if (RowCount() == 0 || ColumnCount() == 0) return {};
    const double factor = CellUnitsPerPoint();
    marginX *= factor;
    marginY *= factor;
    PrepareCells();
    auto block = db.CreateBlock(blockName);
    if (!block) return {};
    if (!measure) {
        auto extents = std::make_shared<TableTextExtents>(db, "STANDARD");
        measure = [extents](std::string_view text, double height) { return extents->WidthAt(text, height); };
    }
    PlaceTexts(*block);
    DrawBorders(*block);
    reference = InsertBlock(db, *block);
    return *block;
}

void CAutoTable::PrepareCells() {
    for (CAutoTableRow& row : m_rows) {
        std::string pattern;
        for (const CAutoCell& cell : row) {
            const bool across = !cell.IsMerged() && cell.hAlign == excel::xlCenterAcrossSelection;
            pattern += across ? (HasText(cell) ? 'A' : 'B') : 'C';
        }
        for (std::size_t i = 0; i < row.size(); ++i)
            if (pattern[i] == 'A') row[i].hAlign = excel::xlCenter;
        for (std::size_t i = 0; i + 1 < pattern.size(); ++i) {
            if (pattern[i] != 'A' || pattern[i + 1] != 'B') continue;
            std::size_t last = i + 1;
            while (last + 1 < pattern.size() && pattern[last + 1] == 'B') ++last;
            CAutoCell& first = row[i];
            first.mergeAddress = base::Sprintf("%s:%s", first.address, row[last].address);
            first.mergeWidth = 0;
            for (std::size_t k = i; k <= last; ++k) first.mergeWidth += row[k].width;
        }
    }
}

bool CAutoTable::MakeCellAttribute(const CAutoCell& cell, cad::BlockRecord& block, double& left, double& right) {
    left = right = 0;
    const std::string text = AttributeText(cell.text);
    if (text.empty() || marginX > cell.mergeWidth || marginY > cell.mergeHeight) return false;
    m_values[cell.address] = text;
    auto def = block.AddAttributeDefinition(cell.address, cell.address, text, {}, cell.fontSize, 0,
                                            textLayer.empty() ? "0" : textLayer);
    if (!def) return false;
    cad::Point3 at{cell.x, -cell.y, 0};
    int horizontal = kLeft;
    if (cell.hAlign == excel::xlRight) {
        horizontal = kRight;
        at.x += cell.mergeWidth - marginX;
    } else if (cell.hAlign == excel::xlCenter) {
        horizontal = kCentre;
        at.x += cell.mergeWidth / 2;
    } else {
        at.x += marginX;
    }
    int vertical = kTop;
    if (cell.vAlign == excel::xlCenter) {
        vertical = kMiddle;
        at.y -= cell.mergeHeight / 2;
    } else if (cell.vAlign == excel::xlBottom) {
        vertical = kBottom;
        at.y -= cell.mergeHeight - marginY;
    } else {
        at.y -= marginY;
    }
    def->SetHorizontalMode(horizontal);
    def->SetVerticalMode(vertical);
    def->SetAlignmentPoint(at);
    // The insertion point is what the host computes from the alignment point; readers that
    // don't justify texts place them by it.
    const double width = measure ? measure(text, cell.fontSize) : 0;
    left = horizontal == kLeft ? at.x : horizontal == kCentre ? at.x - width / 2 : at.x - width;
    right = left + width;
    const double baseline = vertical == kTop ? at.y - cell.fontSize : vertical == kMiddle ? at.y - cell.fontSize / 2 : at.y;
    def->SetPosition({left, baseline, 0});
    ++attributeCount;
    return true;
}

void CAutoTable::ClearCoveredBorders(int row, int column, double left, double right) {
    if (right - left <= kTolerance) return;
    CAutoTableRow& cells = m_rows[row];
    const auto covered = [](const CAutoCell& cell) { return !HasText(cell) && !cell.IsMerged(); };
    for (int k = column - 1; k >= 0 && covered(cells[k]) && left < cells[k + 1].x - kTolerance; --k) {
        cells[k].borders.Right().lineType.clear();
        cells[k + 1].borders.Left().lineType.clear();
    }
    const int columns = static_cast<int>(cells.size());
    for (int k = column + 1; k < columns && covered(cells[k]) && right > cells[k].x + kTolerance; ++k) {
        cells[k - 1].borders.Right().lineType.clear();
        cells[k].borders.Left().lineType.clear();
    }
}

void CAutoTable::PlaceTexts(cad::BlockRecord& block) {
    for (int r = 0; r < RowCount(); ++r) {
        for (int c = 0; c < static_cast<int>(m_rows[r].size()); ++c) {
            double left = 0, right = 0;
            if (MakeCellAttribute(m_rows[r][c], block, left, right)) ClearCoveredBorders(r, c, left, right);
        }
    }
}

cad::BlockReference CAutoTable::InsertBlock(cad::Database& db, const cad::BlockRecord& block) {
    cad::TagList tags = {{100, "AcDbBlockReference"}, {2, block.Name()}, cad::RealTag(10, insertionPoint.x),
                         cad::RealTag(20, insertionPoint.y), cad::RealTag(30, insertionPoint.z)};
    if (scale.x != 1) tags.push_back(cad::RealTag(41, scale.x));
    if (scale.y != 1) tags.push_back(cad::RealTag(42, scale.y));
    if (scale.z != 1) tags.push_back(cad::RealTag(43, scale.z));
    if (rotation != 0) tags.push_back(cad::RealTag(50, rotation * 180 / M_PI));
    const std::string layer = blockLayer.empty() ? db.HeaderText("$CLAYER", "0") : blockLayer;
    cad::Entity insert = arxutils::AddToSpace(db, "INSERT", layer, tags);
    if (!insert) return {};
    cad::BlockReference ref(insert.GetDatabase(), insert.Index());
    for (const cad::AttributeDefinition& def : block.AttributeDefinitions()) {
        if (def.IsConstant()) continue;
        cad::Attribute attribute = ref.AppendAttributeFromDefinition(def, insertionPoint);
        auto value = m_values.find(def.Tag());
        if (attribute && value != m_values.end()) attribute.SetValue(value->second);
    }
    return ref;
}

}  // namespace attbat
