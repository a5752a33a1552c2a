#include "attbat/links/CLinkExternalDataDialog.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "arxutils/AutoWrap.h"
#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "attbat/model/ScheduleRows.h"
#include "base/Format.h"
#include "base/Text.h"
#include "host/Ui.h"
#include "tables/CStringTable.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

// Says `text` in the dialog's box and keeps the dialog open.
bool Refuse(std::string_view text) {
    host::ShowMessage(text, CLinkExternalDataDialog::boxTitle);
    return false;
}

// The letters of columns 1 to `count`, as the pickers list them.
std::vector<std::string> ColumnChoices(int count) {
    std::vector<std::string> letters;
    letters.reserve(static_cast<std::size_t>(std::max(count, 0)));
    for (int column = 1; column <= count; ++column)
        letters.push_back(tables::ColumnLetters(column));
    return letters;
}

// The last row of a used range's address ("$A$1:$F$40" gives 40, "$C$7" gives 7); 0 when it
// can't be read.
int LastRowOf(const std::string& address) {
    std::string last = tables::RightOfRange(address);
    if (last.empty())
        last = address;
    int row = 0, column = 0;
    tables::ParseFirstCell(last, row, column);
    return row;
}

// The sheet of the attached workbook named `name`; null when there is no such sheet.
std::unique_ptr<excel::Worksheet> SheetNamed(const std::string& name) {
    if (!ExcelUtils::Workbook)
        return nullptr;
    try {
        return ExcelUtils::Workbook->GetWorksheets()->Item(name);
    } catch (const excel::AutomationError&) {
        return nullptr;
    }
}

}  // namespace

const std::vector<Control>& CLinkExternalDataDialog::Controls() {
    static const std::vector<Control> controls = {
        {"link-external",
         ControlKind::Text,
         "\"Link External Data\" (the Export menu) instead of exporting: \"...\" of \"Active "
         "Workbook:\", the "
         "workbook to link; it is saved in place",
         {},
         "BOOK"},
        {"external-sheet",
         ControlKind::Text,
         "\"Link External Data\" dialog: Active Worksheet: (the workbook's active sheet unless "
         "given)",
         {},
         "NAME"},
        {"drawing-key-column",
         ControlKind::Text,
         "\"Link External Data\" dialog: Drawing data column: the preview column of the keys (see "
         "--preview)",
         {},
         "LETTER"},
        {"sheet-key-column",
         ControlKind::Text,
         "\"Link External Data\" dialog: External data column: the sheet's column of the same keys",
         {},
         "LETTER"},
        {"ignore-first-row", ControlKind::Check,
         "\"Link External Data\" dialog: Ignore first row of external data"},
        {"case-sensitive", ControlKind::Check,
         "\"Link External Data\" dialog: Case sensitive (kept; keys always compare exactly)"},
    };
    return controls;
}

CLinkExternalDataDialog::CLinkExternalDataDialog(const PreviewList* list,
                                                 const std::vector<tables::PackedRow>* commentTable,
                                                 AcadBlockView view)
    : list_(list), commentTable_(commentTable), view_(std::move(view)) {}

void CLinkExternalDataDialog::OnInitDialog() {
    m_drawingColumns = ColumnChoices(list_ ? std::min(list_->columnCount, lastPickerColumn) : 0);
    m_externalColumns = ColumnChoices(lastPickerColumn);
    m_drawingColumn.clear();
    m_externalColumn.clear();
    workbookPath.clear();
    m_worksheets.clear();
    m_worksheet.clear();
    // The workbook the user has open is the likely one to link.
    try {
        if (ExcelUtils::ConnectToExcel(true) && ExcelUtils::Workbook) {
            workbookPath = ExcelUtils::Workbook->FullName();
            FillWorksheets();
        }
    } catch (const excel::AutomationError&) {
        // Nothing taken over: "..." gives the workbook.
    }
}

void CLinkExternalDataDialog::FillWorksheets() {
    m_worksheets.clear();
    m_worksheet.clear();
    if (!ExcelUtils::Workbook)
        return;
    ExcelUtils::WorksheetNames(m_worksheets);
    if (!ExcelUtils::Worksheet)
        ExcelUtils::Worksheet = ExcelUtils::Workbook->ActiveSheet();
    if (ExcelUtils::Worksheet)
        m_worksheet = ExcelUtils::Worksheet->GetName();
}

bool CLinkExternalDataDialog::Browse(const std::string& path) {
    workbookPath = path;
    m_worksheets.clear();
    m_worksheet.clear();
    try {
        if (!ExcelUtils::Application && !ExcelUtils::ConnectToExcel(true) &&
            !ExcelUtils::StartExcel(true)) {
            return Refuse("Failed to get an instance of Excel!");
        }
        // A file that can't be opened has been said by the open itself.
        if (!ExcelUtils::OpenWorkbook(path))
            return false;
        ExcelUtils::Worksheet = ExcelUtils::Workbook->ActiveSheet();
        FillWorksheets();
    } catch (const excel::AutomationError& error) {
        arxutils::ReportOleError(error.Code(), error.Description());
        return false;
    }
    return !m_worksheets.empty();
}

void CLinkExternalDataDialog::OnCancel() {
    ExcelUtils::Disconnect();
}

bool CLinkExternalDataDialog::DrawingKeys(int column, std::vector<std::string>& keys) const {
    const bool header = view_.includeHeader != 0;
    keys.assign(list_->rows.size(), std::string());
    // Views into `keys`, which keeps its size from here on.
    std::unordered_set<std::string_view> seen;
    seen.reserve(keys.size());
    for (std::size_t r = 0; r < keys.size(); ++r) {
        if (header && r == 0)
            continue;
        const tables::PackedRow* texts = list_->rows[r].texts;
        if (!texts || column >= texts->GetSize())
            continue;
        keys[r] = base::Trim((*texts)[column]);
        if (!keys[r].empty() && !seen.insert(keys[r]).second) {
            return Refuse("The data column in the drawing data does not contain unique values.");
        }
    }
    return true;
}

bool CLinkExternalDataDialog::ExternalKeys(int column, std::vector<std::string>& keys) {
    const int lastRow = LastRowOf(ExcelUtils::Worksheet->UsedRange()->Address());
    if (lastRow < 1)
        return Refuse("Invalid max row in the external data.");
    const std::string letters = tables::ColumnLetters(column + 1);
    const std::string address =
        base::Sprintf(ignoreFirstRow ? "$%s$2:$%s$%d" : "$%s$1:$%s$%d", letters, letters, lastRow);
    tables::CStringTable table;
    // A failed read has been said by the read itself.
    if (!ExcelUtils::ReadCellsSlow(table, address, true))
        return false;
    keys.clear();
    keys.reserve(static_cast<std::size_t>(table.GetSize()));
    std::unordered_set<std::string_view> seen;
    seen.reserve(keys.capacity());
    for (const tables::CStringArrayEx& row : table) {
        if (row.GetSize() != 1)
            return Refuse("Invalid external data.");
        keys.push_back(base::Trim(row[0]));
        if (!keys.back().empty() && !seen.insert(keys.back()).second) {
            return Refuse("The data column in the external data does not contain unique values.");
        }
    }
    return true;
}

bool CLinkExternalDataDialog::WriteComments(int drawingColumn, int externalColumn,
                                            const std::vector<int>& sheetRows) {
    const bool header = view_.includeHeader != 0;
    const std::string letters = tables::ColumnLetters(externalColumn + 1);
    try {
        for (std::size_t r = 0; r < sheetRows.size(); ++r) {
            if ((header && r == 0) || sheetRows[r] == 0)
                continue;
            // The comments follow the rows through a sort by the list's item data.
            const int commentRow = list_->rows[r].commentRow;
            if (commentRow < 0 || static_cast<std::size_t>(commentRow) >= commentTable_->size())
                continue;
            const tables::PackedRow& comments =
                (*commentTable_)[static_cast<std::size_t>(commentRow)];
            if (drawingColumn >= comments.GetSize())
                continue;
            const std::string_view comment = comments[drawingColumn];
            if (comment.empty() || base::EqualNoCase(comment, BlockColumnMark))
                continue;
            // A cell that has a comment already refuses another, which ends the loop.
            ExcelUtils::Worksheet->GetRange(base::Sprintf("$%s$%d", letters, sheetRows[r]))
                ->AddComment(comment);
            ++written_;
        }
    } catch (const excel::AutomationError& error) {
        arxutils::ReportOleError(error.Code(), error.Description());
        return false;
    }
    return true;
}

bool CLinkExternalDataDialog::OnOK() {
    linked_ = false;
    declined_ = false;
    matched_ = 0;
    unmatched_.clear();
    written_ = 0;

    if (m_worksheet.empty())
        return Refuse("Invalid worksheet.");
    if (m_drawingColumn.empty())
        return Refuse("Drawing data column is empty.");
    const int position = tables::ColumnNumber(m_drawingColumn) - 1;
    // Without a list its columns can't be counted; that is refused below as no drawing data.
    if (position < 0 || (list_ && position >= std::min(list_->columnCount, maxListColumns))) {
        return Refuse("Invalid drawing data column.");
    }
    if (m_externalColumn.empty())
        return Refuse("External data column is empty.");
    const int externalColumn = tables::ColumnNumber(m_externalColumn) - 1;
    if (externalColumn < 0)
        return Refuse("Invalid external data column.");
    if (!list_)
        return Refuse("Invalid drawing data.");

    // The letter names a position on screen; the user may have dragged the columns.
    const int drawingColumn = position < static_cast<int>(list_->columnOrder.size())
                                  ? list_->columnOrder[position]
                                  : position;
    std::vector<std::string> drawingKeys;
    if (!DrawingKeys(drawingColumn, drawingKeys))
        return false;

    std::vector<std::string> externalKeys;
    try {
        std::unique_ptr<excel::Worksheet> sheet = SheetNamed(m_worksheet);
        if (!sheet)
            return Refuse("Invalid worksheet.");
        // Attached, not activated: linking changes nothing of the workbook but the comments.
        ExcelUtils::Worksheet = std::move(sheet);
        if (!ExternalKeys(externalColumn, externalKeys))
            return false;
    } catch (const excel::AutomationError& error) {
        arxutils::ReportOleError(error.Code(), error.Description());
        return false;
    }

    std::unordered_map<std::string_view, int> sheetIndex;
    sheetIndex.reserve(externalKeys.size());
    for (std::size_t i = 0; i < externalKeys.size(); ++i) {
        if (!externalKeys[i].empty())
            sheetIndex.emplace(externalKeys[i], static_cast<int>(i));
    }
    // The found index + 1 is the sheet row without "Ignore first row"; with it the comment
    // lands one row above its key, as the original dialog placed it.
    const bool header = view_.includeHeader != 0;
    std::vector<int> sheetRows(drawingKeys.size(), 0);
    for (std::size_t r = 0; r < drawingKeys.size(); ++r) {
        if ((header && r == 0) || drawingKeys[r].empty())
            continue;
        auto found = sheetIndex.find(drawingKeys[r]);
        if (found == sheetIndex.end()) {
            unmatched_.push_back(drawingKeys[r]);
            continue;
        }
        sheetRows[r] = found->second + 1;
        ++matched_;
    }

    if (!unmatched_.empty()) {
        std::string question =
            "The following data cannot be matched. Do you want to link the other data?\n";
        for (const std::string& key : unmatched_)
            question += key + "\n";
        if (!host::AskYesNo(question, boxTitle)) {
            declined_ = true;
            return false;
        }
    }

    if (!commentTable_) {
        host::ShowMessage("Invalid commend table.", boxTitle);
        ExcelUtils::Disconnect();
        return true;
    }
    linked_ = WriteComments(drawingColumn, externalColumn, sheetRows);
    // The workbook is written when the command ends; the success waits for that save.
    if (linked_)
        host::ShowMessageOnceSaved("Link the external data successfully.", boxTitle);
    ExcelUtils::Disconnect();
    return true;
}

}  // namespace attbat
