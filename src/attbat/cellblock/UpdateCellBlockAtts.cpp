#include "attbat/cellblock/UpdateCellBlockAtts.h"

#include <set>

#include "arxutils/ExcelUtils.h"
#include "attbat/cellblock/CAutoCell.h"
#include "attbat/cellblock/CellBlockSource.h"
#include "base/Format.h"
#include "cad/Text.h"
#include "host/Printer.h"
#include "tables/CStringTable.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;

// The workbook opened and its sheet attached as the worksheet, without activating it: reading
// leaves the workbook as it was.
bool AttachSheet(const CellBlockSource& source) {
    if (!ExcelUtils::Application && !ExcelUtils::ConnectToExcel(false) && !ExcelUtils::StartExcel(false)) return false;
    if (!ExcelUtils::OpenWorkbook(source.workbook) || !ExcelUtils::Workbook) return false;
    ExcelUtils::Worksheet = ExcelUtils::Workbook->GetWorksheets()->Item(source.worksheet);
    return ExcelUtils::Worksheet != nullptr;
}

void UpdateReference(const cad::BlockReference& ref, const tables::CStringTable& table, int firstRow, int firstColumn,
                     CellBlockUpdate& update) {
    ++update.references;
    for (cad::Attribute attribute : ref.Attributes()) {
        const std::string tag = attribute.Tag();
        int row = 0, column = 0;
        const std::string address = CellTagAddress(tag);
        const bool parsed = !address.empty() && tables::ParseFirstCell(address, row, column);
        const int r = row - firstRow, c = column - firstColumn;
        if (!parsed || r < 0 || c < 0 || r >= table.GetSize() || c >= table.GetAt(r).GetSize()) {
            host::Printf("\nCannot find the value of %s.", tag);
            ++update.missing;
            continue;
        }
        const std::string text = AttributeText(table.GetAt(r).GetAt(c));
        if (attribute.PlainText() == text) continue;
        attribute.SetValue(text);
        ++update.changed;
    }
}

}  // namespace

CellBlockUpdate UpdateCellBlockAtts(const std::vector<cad::BlockReference>& picked) {
    CellBlockUpdate update;
    host::Printf("\nPreparing for table update...\n");
    std::set<std::string> done;
    for (const cad::BlockReference& ref : picked) {
        cad::BlockRecord block = ref.Block();
        CellBlockSource source;
        if (!block || ReadCellBlockSource(block, source) != CellBlockKind::Valid) continue;
        if (!done.insert(block.HandleString() + "|" + block.Name()).second) continue;
        tables::CStringTable table;
        int firstRow = 0, firstColumn = 0;
        if (!AttachSheet(source) || !tables::ParseFirstCell(source.range, firstRow, firstColumn) ||
            !ExcelUtils::ReadCellsSlow(table, source.range, true)) {
            update.failures.push_back(block.Name());
            host::Printf("\nCannot open %s:%s.", source.workbook, source.worksheet);
            continue;
        }
        ++update.blocks;
        for (const cad::BlockReference& each : block.References()) UpdateReference(each, table, firstRow, firstColumn, update);
    }
    host::Printf("Done!...\n");
    return update;
}

}  // namespace attbat
