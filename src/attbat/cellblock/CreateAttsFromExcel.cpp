#include "attbat/cellblock/CreateAttsFromExcel.h"

#include "arxutils/ExcelUtils.h"
#include "attbat/cellblock/CAutoTable.h"
#include "attbat/cellblock/CCreateAttributesFromExcelDialog.h"
#include "attbat/cellblock/CellBlockSource.h"
#include "attbat/cellblock/CellRangeReader.h"
#include "host/Ui.h"

namespace attbat {

bool CreateAttsFromExcel(cad::Database& db, CCreateAttributesFromExcelDialog& dialog,
                         const std::optional<cad::Point3>& insertionPoint, CAutoTable& table) {
    using arxutils::ExcelUtils;
    dialog.OnGetRange();
    table.drawingUnits = dialog.Units();
    table.fontPoints = dialog.Points();
    table.blockLayer = dialog.m_blockLayer;
    table.textLayer = dialog.m_textLayer;
    if (insertionPoint) table.insertionPoint = *insertionPoint;
    if (!ExcelUtils::Worksheet || !ReadCellRange(*ExcelUtils::Worksheet, dialog.m_selection, table)) {
        host::ShowMessage("Please start Excel and select a range first.", "Velmar");
        return false;
    }
    cad::BlockRecord block = table.DrawAsBlock(db, dialog.m_blockName);
    if (!block) return false;
    CellBlockSource source;
    source.workbook = dialog.m_workbook;
    source.worksheet = dialog.m_worksheet;
    source.range = dialog.m_selection;
    return WriteCellBlockSource(block, source);
}

}  // namespace attbat
