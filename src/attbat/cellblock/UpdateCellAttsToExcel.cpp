#include "attbat/cellblock/UpdateCellAttsToExcel.h"

#include <filesystem>

#include "arxutils/ExcelUtils.h"
#include "attbat/cellblock/CAutoCell.h"
#include "attbat/cellblock/CellBlockSource.h"
#include "cad/Text.h"
#include "host/Printer.h"
#include "host/Ui.h"
#include "tables/CellAddress.h"

namespace attbat {

using arxutils::ExcelUtils;

bool UpdateCellAttsToExcel(const cad::BlockReference& ref, bool write, std::vector<CellWrite>& writes) {
    CellBlockSource source;
    if (!ref || ReadCellBlockSource(ref.Block(), source) != CellBlockKind::Valid) {
        host::ShowMessage("Invalid Cell Block.", "Velmar");
        return false;
    }
    std::error_code error;
    if (!std::filesystem::is_regular_file(source.workbook, error)) {
        host::Printf("\nCannot find %s.", source.workbook);
        return false;
    }
    if (!host::AskYesNo("Updating Excel takes attributes from AutoCAD and over-writes cell values in Excel. Are you "
                        "sure you want to continue?",
                        "Velmar"))
        return false;
    bool opened = (ExcelUtils::Application || ExcelUtils::ConnectToExcel(false) || ExcelUtils::StartExcel(false)) &&
                  ExcelUtils::OpenWorkbook(source.workbook) && ExcelUtils::Workbook;
    auto sheet = opened ? ExcelUtils::Workbook->GetWorksheets()->Item(source.worksheet) : nullptr;
    if (!sheet) {
        host::Printf("\nCannot open %s:%s.", source.workbook, source.worksheet);
        return false;
    }
    for (const cad::Attribute& attribute : ref.Attributes()) {
        const std::string address = CellTagAddress(attribute.Tag());
        int row = 0, column = 0;
        if (address.empty() || !tables::ParseFirstCell(address, row, column) || row < 1 || column < 1) continue;
        auto cell = sheet->Cells()->Item(row, column);
        CellWrite change{address, cell->Text().text, attribute.PlainText()};
        // A cell whose text the attribute holds as made (trimmed, lines joined) keeps its own.
        if (AttributeText(change.before) == change.after) continue;
        if (write) cell->SetValue(arxutils::excel::Variant::String(change.after));
        writes.push_back(std::move(change));
    }
    return true;
}

}  // namespace attbat
