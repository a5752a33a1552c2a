#pragma once
// The dialog "Link External Data" of the preview page's Export menu: ties a worksheet that this
// system didn't write to the drawing. The user names a column of the preview list and a column
// of the sheet holding the same keys; each drawing row's key comment then goes on the sheet cell
// of its key, and the sheet works with the import and the upload as an exported one does.
// Works on the spreadsheet connection: the running workbook at opening, or the one "..." opens.

#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"
#include "attbat/model/AcadBlockView.h"
#include "tables/PackedRow.h"

namespace attbat {

class CLinkExternalDataDialog {
public:
    // The wizard's preview list as the dialog reads it. It points into the page's rows, which
    // outlive the modal dialog and must not be built anew while it is open.
    struct PreviewList {
        struct Row {
            // The row's texts by column as built; a row shorter than the list reads empty past
            // its end.
            const tables::PackedRow* texts = nullptr;
            // The row of the comment table that belongs to it (the list's item data), which a
            // row sort moves away from the row's place in the list.
            int commentRow = 0;
        };
        std::vector<Row> rows;         // in list order
        std::vector<int> columnOrder;  // for each display position, the column as built
        int columnCount = 0;
    };

    static constexpr std::string_view title = "Link External Data";
    // The title of every box the dialog shows.
    static constexpr std::string_view boxTitle = "Velmar";
    // The filter of the "..." file box.
    static constexpr std::string_view workbookFilter =
        "Microsoft Excel Files(*.xls;*.xlsx)|*.xls;*.xlsx|All Files(*.*)|*.*||";
    // The column pickers offer columns 1 to this (A to YY).
    static constexpr int lastPickerColumn = 675;
    // The check of the drawing data column counts at most this many list columns.
    static constexpr int maxListColumns = 1023;

    // The dialog's controls, for every front end; "link-external" stands for the menu item and
    // the workbook "..." opens.
    static const std::vector<Control>& Controls();

    // `list` and `commentTable` may be null, which OK refuses; given, they outlive the dialog.
    // `view` is a copy of the wizard's: with its header on, list row 0 is left out everywhere.
    CLinkExternalDataDialog(const PreviewList* list,
                            const std::vector<tables::PackedRow>* commentTable,
                            AcadBlockView view);

    // Fills the column pickers (the drawing's up to the list's columns, at most 675) and, when a
    // spreadsheet runs with a workbook open, takes over its path and sheets, the active one
    // chosen. Nothing attached leaves the workbook fields empty.
    void OnInitDialog();
    // "..." with the file `path` chosen: opens it in the running spreadsheet (started when none
    // runs) and fills the sheet list anew, its active sheet chosen. A file that can't be opened
    // is said in a box and leaves the sheet list empty; false then.
    bool Browse(const std::string& path);
    // OK: the checks in order, each failure said in a box with the dialog staying open; the
    // keys matched; the keys of no sheet row asked about (No stays open, nothing written); then
    // the comments written and the success told once the workbook is saved. True when the
    // dialog closes, which a missing comment table and a comment that can't be added also do.
    bool OnOK();
    // Cancel: lets the spreadsheet go; nothing is written.
    void OnCancel();

    // The last OK wrote every comment it meant to.
    bool Linked() const { return linked_; }
    // The last OK stayed open because the question about unmatched keys was answered No.
    bool Declined() const { return declined_; }
    // Rows of the last OK whose key was found on the sheet (empty keys never are).
    int Matched() const { return matched_; }
    // Non-empty keys of the last OK found on no sheet row, in list order.
    const std::vector<std::string>& UnmatchedKeys() const { return unmatched_; }
    // Comments the last OK added to the sheet, those before a failure included.
    int CommentsWritten() const { return written_; }

    std::string workbookPath;                    // "Active Workbook:" (read-only)
    std::vector<std::string> m_worksheets;       // "Active Worksheet:" choices, by name
    std::string m_worksheet;                     // "Active Worksheet:"; "" for none
    std::vector<std::string> m_drawingColumns;   // "Drawing data column:" choices
    std::string m_drawingColumn;                 // its text; "" for none
    std::vector<std::string> m_externalColumns;  // "External data column:" choices
    std::string m_externalColumn;                // its text; "" for none
    int caseSensitive = 0;   // "Case sensitive": kept, though every comparison here is exact
    int ignoreFirstRow = 0;  // "Ignore first row of external data"

private:
    // The sheet list from the attached workbook, its active sheet chosen.
    void FillWorksheets();
    // The keys of the drawing data column by list row, or false after the box.
    bool DrawingKeys(int column, std::vector<std::string>& keys) const;
    // The keys of the external data column by sheet row read, or false after the box.
    bool ExternalKeys(int column, std::vector<std::string>& keys);
    // Writes the comments of the matched rows; false after an automation failure's box.
    bool WriteComments(int drawingColumn, int externalColumn, const std::vector<int>& sheetRows);

    const PreviewList* list_;
    const std::vector<tables::PackedRow>* commentTable_;
    AcadBlockView view_;
    bool linked_ = false;
    bool declined_ = false;
    int matched_ = 0;
    std::vector<std::string> unmatched_;
    int written_ = 0;
};

}  // namespace attbat
