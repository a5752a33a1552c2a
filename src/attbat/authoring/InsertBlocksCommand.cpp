#include "attbat/authoring/InsertBlocksCommand.h"

#include <cstdlib>

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "arxutils/excel/ExcelServer.h"
#include "attbat/authoring/BlockPasses.h"
#include "attbat/authoring/CInsertBlockDialog.h"
#include "attbat/authoring/DynamicBlockUpdate.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/frame/PointOption.h"
#include "attbat/frame/Refusal.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "cad/Database.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/Ui.h"
#include "tables/CStringTable.h"
#include "tables/CellAddress.h"
#include "tables/InvalidArgument.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;


// A column option's picker index (column - 1); false, refused, for text that is no column.
bool ColumnIndex(const std::string& key, const std::string& text, int& index, Refusal& refusal) {
    const int column = tables::ColumnNumber(base::Trim(text));
    if (column < 1 || column > CInsertBlockDialog::lastPickerNumber) {
        refusal.Fail(base::Sprintf("--%s %s: give column letters from A to YY.", key, text));
        return false;
    }
    index = column - 1;
    return true;
}

// The controls in the order a user meets them in the dialog; what the dialog refuses it says in
// its own box, and the command stops there.
bool SetControls(CInsertBlockDialog& dialog, const ControlValues& values, Refusal& refusal) {
    CInsertBlocksOpt& o = dialog.m_options;
    if (values.Has("workbook") && !dialog.BrowseWorkbook(values.Text("workbook"))) {
        refusal.Fail(base::Sprintf("--workbook %s: no sheet of it could be attached.", values.Text("workbook")));
        return false;
    }
    if (values.Has("worksheet")) o.worksheetName = values.Text("worksheet");
    if (auto on = values.Check("selected-rows")) dialog.SetSelectedRows(*on);
    if (auto on = values.Check("specify-block-name")) o.useBlockName = *on ? 1 : 0;
    if (values.Has("block-name")) {
        o.useBlockName = 1;
        o.blockName = values.Text("block-name");
    }
    if (values.Has("block-name-column") &&
        !ColumnIndex("block-name-column", values.Text("block-name-column"), dialog.m_blockNameColumnIndex, refusal))
        return false;
    if (auto mode = values.Choice("tags-from")) o.tagMode = *mode == 0 ? 0 : 1;
    if (values.Has("header-row")) dialog.m_headerRowText = values.Text("header-row");
    if (values.Has("load-list") && !dialog.OnLoadList(values.Text("load-list"))) return false;
    for (const std::string& pair : values.List("column")) {
        const std::size_t equals = pair.find('=');
        if (equals == std::string::npos) {
            refusal.Fail(base::Sprintf("--column %s: give a column and a tag, such as C=MARK.", pair));
            return false;
        }
        if (!dialog.OnAdd(pair.substr(0, equals), pair.substr(equals + 1))) return false;
    }
    for (const std::string& column : values.List("remove-column")) {
        const int row = dialog.FindRow(column);
        if (row < 0) {
            refusal.Fail(base::Sprintf("--remove-column %s: the list has no column %s.", column, column));
            return false;
        }
        if (!dialog.OnRemove(row)) return false;
    }
    if (values.Has("save-list")) {
        if (!dialog.OnSaveList(values.Text("save-list"))) return false;
        host::Printf("\nColumn list saved as %s.", values.Text("save-list"));
    }
    if (values.Has("drawing-path-column")) {
        const std::string text = values.Text("drawing-path-column");
        int index = -1;
        if (base::EqualNoCase(text, "none") || text.empty()) dialog.m_drawingPathColumnIndex = 0;
        else if (ColumnIndex("drawing-path-column", text, index, refusal)) dialog.m_drawingPathColumnIndex = index + 1;
        else return false;
    }
    if (auto on = values.Check("insertion-point-on-screen")) o.insertionPointOnScreen = *on ? 1 : 0;
    if (auto on = values.Check("block-burst")) o.blockBurst = *on ? 1 : 0;
    if (values.Has("burst-column")) {
        o.useBurstColumn = 1;
        if (!ColumnIndex("burst-column", values.Text("burst-column"), dialog.m_burstColumnIndex, refusal)) return false;
    }
    if (values.Has("block-library")) o.blockLibraryDwg = base::FullPath(values.Text("block-library"));
    return true;
}

// --insertion-point X,Y[,Z]; false, refused, for anything else.
bool InsertionPoint(const ControlValues& values, PassSettings& settings, Refusal& refusal) {
    return ReadPointOption(values, "insertion-point", settings.insertionPoint, refusal);
}

// The folders a block drawing is looked for in: --search-path, then the stored support path;
// each colon-separated.
std::vector<std::string> SearchPath(const ControlValues& values) {
    std::vector<std::string> folders;
    for (const std::string& list : {values.Text("search-path"),
                                    CRegistry::GetString("Velmar", "SupportFileSearchPath", "")}) {
        std::size_t start = 0;
        while (start <= list.size()) {
            std::size_t colon = list.find(':', start);
            std::string folder = list.substr(start, colon == std::string::npos ? std::string::npos : colon - start);
            if (!folder.empty()) folders.push_back(folder);
            if (colon == std::string::npos) break;
            start = colon + 1;
        }
    }
    return folders;
}

// The right-most column the rows need: the block name column's letters, or "B" with a fixed
// name, and in tag mode 1 any longer (or, as long, greater) column of the map.
std::string RightMostColumn(const CInsertBlocksOpt& o) {
    std::string right = o.useBlockName ? "B" : tables::ColumnLetters(o.blockNameColumn);
    if (o.tagMode != 1) return right;
    for (const auto& [column, tag] : o.columnMap) {
        if (column.size() > right.size() || (column.size() == right.size() && base::CompareNoCase(column, right) > 0))
            right = column;
    }
    return right;
}

// Attaches the workbook and its sheet and reads the rows the passes need; false when the
// command ends there (said where the system says it).
bool ReadRows(const CInsertBlocksOpt& o, const std::string& selectedRows, tables::CStringTable& table) {
    if (!ExcelUtils::ConnectToExcel(true, o.workbookPath) || !ExcelUtils::Workbook) {
        if (!ExcelUtils::StartExcel(true) || !ExcelUtils::OpenWorkbook(o.workbookPath)) return false;
    }
    if (!ExcelUtils::ActivateSheet(o.worksheetName)) {
        host::CurrentPrinter().Warn(
            base::Sprintf("velmar insert-blocks: the workbook %s has no sheet \"%s\".", o.workbookPath, o.worksheetName));
        return false;
    }
    std::string address = ExcelUtils::Worksheet->UsedRange()->Address();
    if (address.find(':', 1) == std::string::npos) {
        host::Printf("\nInvalid used range: %s.", address);
        return false;
    }
    if (o.tagMode == 1) {
        int lastRow = 0, lastColumn = 0;
        tables::ParseSecondCell(address, lastRow, lastColumn);
        if (lastRow > 0) address = base::Sprintf("$A$1:$%s$%d", RightMostColumn(o), lastRow);
    }
    return ExcelUtils::ReadCellsSelected(table, address, selectedRows, o.tagHeaderRow, true);
}

CommandStatus RunInsertBlocks(CommandContext& context) {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    Refusal refusal("velmar insert-blocks: ");
    if (!current) {
        refusal.Fail("give the drawing to insert into with --drawing FILE.");
        return CommandStatus::BadInput;
    }
    if (!current->Load()) {
        refusal.Fail(current->LoadStatus().Message());
        return CommandStatus::Failed;
    }
    CInsertBlockDialog dialog(&current->Database());
    dialog.OnInitDialog();
    PassSettings settings;
    if (!SetControls(dialog, context.values, refusal) || !InsertionPoint(context.values, settings, refusal))
        return refusal.ok ? CommandStatus::Failed : CommandStatus::BadInput;
    const bool update = context.values.Pressed("update");
    if (!(update ? dialog.OnUpdateBlocks() : dialog.OnInsertBlocks())) {
        context.Summary("error", "the dialog's values were refused");
        return CommandStatus::Failed;
    }
    const CInsertBlocksOpt& o = dialog.m_options;
    const std::string selectedRows = o.selectedRowsOnly ? o.selectedRows : std::string();
    tables::CStringTable table;
    const bool read = ReadRows(o, selectedRows, table);
    // Everything needed is in the table: the workbook is let go before the drawings are touched.
    ExcelUtils::Disconnect();
    arxutils::excel::CurrentServer().ReleaseUnchangedData();
    if (!read) {
        context.Summary("error", "the sheet couldn't be read");
        return CommandStatus::Failed;
    }
    settings.searchPath = SearchPath(context.values);
    settings.dryRun = context.values.Pressed("dry-run");
    PassReport report;
    if (o.updateMode == 0) {
        InsertBlocksFromRows(table, o, selectedRows, settings, report);
    } else {
        UpdateBlocksFromRows(table, o, selectedRows, report);
        if (!DynamicBlockUpdateList().empty()) current->SendStringToExecute("Velmar_UpdateParamsInDynamicBlocks\n");
        if (!settings.dryRun) host::PrintfOnceSaved("\nUpdate the blocks successfully.");
    }
    if (settings.dryRun) {
        // What the passes did to open drawings is dropped; side drawings were never saved.
        for (host::Document* doc : host::DocumentManager::Instance().Documents()) {
            if (doc->Database().IsModified()) doc->Reload();
        }
        host::Printf("\nNothing was written (dry run).");
    }
    context.Summary("rows", static_cast<long long>(table.GetSize()));
    context.Summary("inserted", report.inserted);
    context.Summary("burst", report.burst);
    context.Summary("updated", report.updated);
    context.Summary("rowsFailed", report.rowsFailed);
    context.SummaryBool("written", !settings.dryRun);
    return CommandStatus::Done;
}

}  // namespace

const std::vector<Control>& InsertBlocksControls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list = CInsertBlockDialog::Controls();
        list.push_back({"update", ControlKind::Button,
                        "\"Update inserted blocks\" instead of \"Insert blocks\": bring the references an insertion "
                        "made from this sheet back in line with their rows"});
        list.push_back({"insertion-point", ControlKind::Text,
                        "where \"Specify insertion point On-screen\" moves each reference inserted into the current "
                        "drawing (without it they stay where their rows put them)",
                        {}, "X,Y[,Z]"});
        list.push_back({"search-path", ControlKind::Text,
                        "folders, colon-separated, where a drawing named after a missing block is looked for (after "
                        "the drawing's own folder; then the stored SupportFileSearchPath)",
                        {}, "DIRS"});
        list.push_back({"dry-run", ControlKind::Button,
                        "do everything but write: the lines say what would be inserted or updated"});
        return list;
    }();
    return controls;
}

CommandStatus InsertBlocksCommand(CommandContext& context) {
    if (!context.arguments.empty()) {
        host::CurrentPrinter().Warn("velmar: insert-blocks takes no words; see 'velmar insert-blocks --help'.");
        return CommandStatus::BadInput;
    }
    try {
        return RunInsertBlocks(context);
    } catch (const arxutils::excel::AutomationError& e) {
        host::ShowMessage(e.Description(), "Velmar");
    } catch (const tables::InvalidArgument& e) {
        host::CurrentPrinter().Warn(base::Sprintf("velmar insert-blocks: %s; the command ended there.", e.what()));
    }
    ExcelUtils::Disconnect();
    context.Summary("error", "the command failed");
    return CommandStatus::Failed;
}

}  // namespace attbat
