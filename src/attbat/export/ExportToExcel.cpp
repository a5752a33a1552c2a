// The Preview page's export to a workbook: connection, the two worksheet routes, values in one
// array write per slice, then key comments, links, borders and merges cell by cell.

#include <algorithm>
#include <string_view>
#include <vector>

#include "arxutils/AutoWrap.h"
#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "arxutils/excel/ExcelServer.h"
#include "attbat/export/CAttPreviewPage.h"
#include "attbat/export/CScheduleDialog.h"
#include "attbat/model/ScheduleRows.h"
#include "tables/CStringTable.h"
#include "tables/CellAddress.h"
#include "base/Format.h"
#include "base/Text.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

constexpr std::string_view kSupportAddress = "support@orvane.com";
// The message Excel's main window takes to register its workbooks with the object table.
constexpr unsigned kRegisterWorkbooks = 1042;
// Rows of values sent to the worksheet in one array assignment.
constexpr int kStagedRows = 2048;

// Attaches the running instance's active workbook, by the object table and then by the
// workbook windows; appends the reasons of each failure to `failure`.
bool ConnectActiveWorkbook(std::string& failure) {
    excel::ExcelServer& server = excel::CurrentServer();
    std::intptr_t window = server.FindMainWindow("");
    if (window) server.SendToMainWindow(window, kRegisterWorkbooks);
    if (ExcelUtils::ConnectToExcel(true)) return ExcelUtils::EnsureWorkbook();
    failure = ExcelUtils::LastError + "\nGetActiveWorkbook failed.";
    if (!window) {
        failure += "\nCannot find XLMAIN.";
        return false;
    }
    for (const auto& child : server.WorkbookWindows(window)) {
        if (!child) break;
        long id = 0;
        std::vector<excel::Variant> noArguments;
        excel::Variant sheet;
        if (child->GetIDOfName("ActiveSheet", id) != 0 ||
            child->Invoke(id, excel::DISPATCH_PROPERTYGET, noArguments, &sheet) != 0) {
            continue;
        }
        auto* found = sheet.type == excel::VarType::Object ? dynamic_cast<excel::Worksheet*>(sheet.object.get()) : nullptr;
        if (!found) continue;
        try {
            ExcelUtils::Application = found->GetApplication();
            return ExcelUtils::EnsureWorkbook();
        } catch (const excel::AutomationError&) {
        }
    }
    failure += "\nAccessibleObjectFromWorkbookWindow failed.";
    return false;
}

// A row starts a block when its first key cell, or failing that its second, is the mark.
bool StartsBlock(const tables::PackedRow& keys) {
    if (keys.GetSize() > 0 && base::EqualNoCase(keys[0], BlockColumnMark)) return true;
    return keys.GetSize() > 1 && base::EqualNoCase(keys[1], BlockColumnMark);
}

excel::Worksheet& Sheet() {
    if (!ExcelUtils::Worksheet) throw excel::AutomationError(excel::kErrUnspecified, "No active worksheet.");
    return *ExcelUtils::Worksheet;
}

// The row after the last filled one of the active sheet, looking from row 1 down.
int LastFilledRow() {
    std::string address = Sheet().UsedRange()->Address();
    std::size_t colon = address.find(':');
    address = "$A$1:" + (colon == std::string::npos ? address : address.substr(colon + 1));
    tables::CStringTable table;
    ExcelUtils::ReadCellsSlow(table, address, true);
    for (int k = table.GetUpperBound(); k >= 0; --k) {
        const tables::CStringArrayEx& row = table[k];
        if (std::any_of(row.begin(), row.end(), [](const std::string& cell) { return !cell.empty(); })) {
            return k + 2;
        }
    }
    return 1;
}

}  // namespace

void CAttPreviewPage::ExportRowsToActiveSheet(int first, int rowCount, ExportOptions& options) {
    const int columns = std::min(columnCount_, kMaxColumns);
    if (rowCount < 1 || columns < 1) return;
    if (options.startRow < 0) options.startRow = LastFilledRow();
    // A schedule that can't end on the sheet is refused before any cell is written, rather than
    // failing at the first slice past the last row.
    if (static_cast<long long>(options.startRow) + rowCount - 1 > tables::kLastWorksheetRow)
        throw excel::AutomationError(
            excel::kErrApplication,
            base::Sprintf("The %d rows of the schedule from row %d would go past the worksheet's last "
                          "row, %d. Export fewer blocks, or each block to its own sheet.",
                          rowCount, options.startRow, tables::kLastWorksheetRow));
    const int startColumn = std::max(1, tables::ColumnNumber(options.startColumn));
    const std::string columnLetters = tables::ColumnLetters(startColumn);
    // The values go in slices of rows, so that a big schedule is never staged twice over in
    // memory; the cells end up the same as with one array.
    for (int done = 0; done < rowCount; done += kStagedRows) {
        const int slice = std::min(kStagedRows, rowCount - done);
        ExcelUtils::CreateStagingArray(slice, columns);
        for (int r = 0; r < slice; ++r) {
            for (int p = 0; p < columns; ++p) ExcelUtils::PutStagedCell(TextAt(first + done + r, p), r, p);
        }
        ExcelUtils::FlushStaging(base::Sprintf("$%s$%d", columnLetters, options.startRow + done), true, true);
    }
    Sheet().UsedRange()->Columns()->AutoFit();
    Sheet().UsedRange()->Rows()->AutoFit();

    if (options.applyBorder) {
        std::string lastCell = tables::AbsoluteCell(options.startRow + rowCount - 1, startColumn + columns - 1);
        auto borders = Sheet().GetRange(base::Sprintf("$%s$%d:%s", columnLetters, options.startRow, lastCell))->GetBorders();
        std::vector<int> edges = {excel::xlEdgeLeft, excel::xlEdgeTop, excel::xlEdgeRight, excel::xlEdgeBottom};
        if (rowCount > 1) edges.push_back(excel::xlInsideHorizontal);
        if (columns > 1) edges.push_back(excel::xlInsideVertical);
        for (int edge : edges) {
            auto border = borders->Item(edge);
            border->SetWeight(excel::xlThin);
            border->SetLineStyle(excel::xlContinuous);
        }
    }

    {
        host::ProgressMeter meter("Exporting the data ...", static_cast<long>(columnCount_) * rowCount + 1);
        auto cells = Sheet().Cells();
        // Each cell's key becomes its note, in slices of rows as the values went.
        std::vector<std::string_view> notes;
        for (int done = 0; done < rowCount; done += kStagedRows) {
            const int slice = std::min(kStagedRows, rowCount - done);
            notes.assign(static_cast<std::size_t>(slice) * columns, std::string_view());
            for (int s = 0; s < slice; ++s) {
                const int r = done + s;
                const tables::PackedRow& keys = m_commentTable.at(m_rows.at(first + r).itemData);
                for (int p = 0; p < columns; ++p) {
                    int column = columnOrder_[p];
                    if (column >= keys.GetSize()) continue;
                    const std::string_view key = keys[column];
                    if (key.empty() || base::EqualNoCase(key, BlockColumnMark)) continue;
                    if (options.addHyperlink && base::EqualNoCase(key, CurrentDrawingMark)) {
                        auto cell = cells->Item(options.startRow + r, startColumn + p);
                        excel::Variant text = cell->Text();
                        cell->GetHyperlinks()->Add(*cell, text.type == excel::VarType::String ? text.text : std::string());
                    }
                    notes[static_cast<std::size_t>(s) * columns + p] = key;
                    meter.SetPosition(static_cast<long>(r) * columnCount_ + p);
                }
            }
            cells->Item(options.startRow + done, startColumn)->SetComments(notes, columns);
        }
    }

    if (options.mergeBlockName) {
        std::string previous;
        int runStart = 0;
        for (int i = 0; i < rowCount; ++i) {
            const std::string_view text = CellOf(m_rows.at(first + i).texts, 0);
            const bool last = i == rowCount - 1;
            if (base::EqualNoCase(text, previous) && !last) continue;
            if (i > runStart + 1) {
                int lastRow = options.startRow + (last ? i : i - 1);
                auto range = Sheet().GetRange(tables::AbsoluteCell(options.startRow + runStart, startColumn),
                                              tables::AbsoluteCell(lastRow, startColumn));
                range->Merge();
                range->SetVerticalAlignment(excel::xlCenter);
            }
            previous = text;
            runStart = i;
        }
    }
}

void CAttPreviewPage::ReleaseWrittenRows(int first, int end) {
    if (!m_releaseRowsOnceWritten) return;
    for (int r = first; r < end; ++r) {
        ListRow& row = m_rows.at(static_cast<std::size_t>(r));
        row.texts = tables::PackedRow();
        m_commentTable.at(row.itemData) = tables::PackedRow();
    }
}

bool CAttPreviewPage::ExportToExcel() {
    ExportOptions options;
    LoadExportOptions(options, wizard_.Settings());
    if (m_workbookOptionForRun >= 0) options.workbookOption = m_workbookOptionForRun;
    if (options.workbookOption == 0) {
        if (!ExcelUtils::StartExcel(true) || !ExcelUtils::AddWorkbook()) {
            ExcelUtils::Disconnect();
            return false;
        }
    } else {
        std::string failure;
        if (!ConnectActiveWorkbook(failure)) {
            std::vector<std::string> names;
            ExcelUtils::ListRunningObjects(names);
            for (const std::string& name : names) failure += "\n" + name;
            // Where the platform has advice, the window routes' reasons mean nothing to the user.
            std::string advice = excel::CurrentServer().ConnectionAdvice();
            host::ShowMessage(
                "Cannot get the active workbook. Please open a workbook first. \n\nIf you have opened a "
                "workbook, please send a screenshot of this dialog to " +
                    std::string(kSupportAddress) + ".\n" + (advice.empty() ? failure : advice),
                "Velmar");
            ExcelUtils::Disconnect();
            return false;
        }
    }

    bool done = false;
    {
        arxutils::ScopedExcelWriting writing;
        try {
            if (options.worksheetOption == 1) {
                ExportRowsToActiveSheet(0, RowCount(), options);
                ReleaseWrittenRows(0, RowCount());
            } else {
                tables::CStringArrayEx names;
                wizard_.m_attributePage.GetTickedBlocks(names);
                auto sheets = ExcelUtils::Workbook->GetWorksheets();
                if (sheets->Count() < names.GetSize()) {
                    // One call for all missing sheets, as the application's Add(Count) does.
                    for (int n = names.GetSize() - sheets->Count(); n > 0; --n) sheets->Add();
                }
                tables::CStringArrayEx used;
                for (int i = 0; i < names.GetSize(); ++i) {
                    std::string name = base::Left(names[i], 31);
                    if (used.FindString(name, false) >= 0) {
                        int length = static_cast<int>(base::Length(name));
                        name = base::Sprintf("%s(%ld)", base::Left(name, std::max(0, length - 5)), static_cast<long>(i));
                    } else {
                        used.Add(name);
                    }
                    sheets->Item(i + 1)->SetName(name);
                }
                int sheetNumber = 1;
                int sliceStart = 0;
                auto exportSlice = [&](int end) {
                    ExcelUtils::Worksheet = sheets->Item(sheetNumber++);
                    ExcelUtils::Worksheet->Activate();
                    ExportRowsToActiveSheet(sliceStart, end - sliceStart, options);
                    ReleaseWrittenRows(sliceStart, end);
                    sliceStart = end;
                };
                for (int row = 1; row < RowCount(); ++row) {
                    if (StartsBlock(m_commentTable.at(m_rows[row].itemData))) exportSlice(row);
                }
                if (RowCount() > 0) exportSlice(RowCount());
            }
            done = true;
        } catch (const excel::AutomationError& error) {
            arxutils::ReportOleError(error.Code(), error.Description());
        } catch (const std::exception&) {
            // Anything else ends the export without a word; the sheet stays as far as written.
        }
    }
    // The workbook is written when the command ends; the line waits for that save.
    if (done) host::PrintfOnceSaved("\nSuccessfully export the data.");
    ExcelUtils::Disconnect();
    return done;
}

}  // namespace attbat
