#pragma once
// The wizard's "Preview" page: the schedule table built from the wizard's filter, view and
// active collection, shown with spreadsheet column letters, shaped by the user (column order,
// row sort) and exported from here.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "attbat/export/ExportOptions.h"
#include "attbat/frame/Control.h"
#include "attbat/links/CLinkExternalDataDialog.h"
#include "base/Status.h"
#include "cad/Entity.h"
#include "tables/CStringArrayEx.h"
#include "tables/PackedRow.h"

namespace cad {
class Table;
}

namespace attbat {

class Archive;
class CScheduleDialog;

class CAttPreviewPage {
public:
    // One row of the list: its texts by column as built and, as item data, its row of the
    // comment table.
    struct ListRow {
        tables::PackedRow texts;
        int itemData = 0;
    };

    static constexpr std::string_view title = "Preview";
    // At most this many columns take part in a drag and in an export.
    static constexpr int kMaxColumns = 1024;
    // The page's controls: the three combo boxes, the column order and the sort by a header.
    static const std::vector<Control>& Controls();

    explicit CAttPreviewPage(CScheduleDialog& wizard) : wizard_(wizard) {}

    // Selects index 0, 0 and 2 in the three combo boxes, which replace the stored header style
    // and column sort at the first build.
    void OnInitDialog();
    // Builds the table anew; a column order from a template or the present one comes back when
    // the number of columns still fits, and an active row sort sorts again.
    void RefreshPage();
    // "Column sort:" changed: nothing for the same index, else a build that forgets the order.
    void OnColumnSortChanged(int index);
    // A header dragged from display position `from` to `to`; the first column stays pinned.
    void DragColumn(int from, int to);
    // A click on the header of column `column` (as built): a new column sorts ascending, the
    // same one flips the direction.
    void OnHeaderClick(int column);
    // Sorts the rows by m_sortColumn; the row at the top stays there.
    void SortRows();
    // The whole export to a workbook, with its failures shown; the wizard stays open. False
    // when nothing was exported.
    bool ExportToExcel();
    // Writes list rows [first, first + rowCount) to the active sheet; may set options.startRow
    // (the last filled row, found once). Throws the object model's error.
    void ExportRowsToActiveSheet(int first, int rowCount, ExportOptions& options);
    // Empties list rows [first, end) and their keys under m_releaseRowsOnceWritten.
    void ReleaseWrittenRows(int first, int end);

    // "Export to AutoCAD Table": the list as a new table of the current drawing with its
    // current table style (AutoCAD's Standard one, made, when it has none), a title row when the title asked for isn't empty, the wizard's state
    // hung on it, placed at m_tableInsertionPoint (else left at the origin). False when nothing
    // was made: an empty list, a cancelled or too long title, a failed append
    // (the reason in m_tableFailure where there is one to tell).
    bool ExportToTable();
    // Refills `table` with the list: from row 1 when row 0 is a title row, else from row 0;
    // columns and widths stay.
    void WriteRowsToTable(cad::Table& table);
    // Stores the wizard's template stream (version 4) on `table`, in its extension dictionary.
    base::Status WriteTemplateToTable(cad::Table& table);
    // A stream as the chain of binary chunks (310) it is kept in on a table: 127 bytes each but
    // the last, which is shorter and empty for a stream of whole chunks.
    static std::vector<std::string> TemplateChunks(std::string_view stream);

    // The template's preview part: the display order (version 3 on) and the row sort (version 4
    // on); a load also shows the view's header style and column sort in the combo boxes.
    void SerializePreviewPage(Archive& archive, int version);

    // The list's state.
    int ColumnCount() const { return columnCount_; }
    int RowCount() const { return static_cast<int>(m_rows.size()); }
    // The display order: for each position, the column as built.
    const std::vector<int>& ColumnOrder() const { return columnOrder_; }
    // The header text of the column shown at `position`: A, B, C... from left to right.
    std::string HeaderAt(int position) const;
    // The text of a list row at a display position.
    std::string_view TextAt(int row, int position) const;
    // The cell of a row by column; empty past the row's own width (rows are as wide as their
    // group).
    static std::string_view CellOf(const tables::PackedRow& row, int column);
    // Sets the display order (column indexes by position); false when it isn't a permutation
    // keeping column 0 first.
    bool SetColumnOrder(const std::vector<int>& order);
    // The list as "Link External Data" is handed it; it points into the rows, so it is good
    // until the next build or sort.
    CLinkExternalDataDialog::PreviewList LinkList() const;

    int m_drawingColumnKind = 0;  // "Drawing Path", "Drawing With Layout", "Block Ref Handle"
    int m_headerStyle = 0;        // "Header for all blocks", "Header per block"
    int m_columnSort = 2;         // "A -> Z", "Z -> A", "None"
    std::vector<ListRow> m_rows;  // the list's rows in list order
    std::vector<tables::PackedRow> m_commentTable;  // the keys, as built
    int m_keepColumnOrder = 0;
    int m_sortRestored = 0;
    int m_sortColumn = -1;
    int m_sortDirection = 0;
    std::vector<int> m_savedColumnOrder;  // from a template, used at the next build
    bool headerStyleEnabled = true;
    bool drawingKindEnabled = false;
    // The workbook choice of this export only, whatever is stored (a run that names just an
    // output file means a new workbook); -1 keeps the stored choice.
    int m_workbookOptionForRun = -1;
    // For a run that ends with the export: each sheet's rows give back their texts and keys once
    // the sheet is written, so the workbook is built and saved in their room. The rows stay,
    // empty.
    bool m_releaseRowsOnceWritten = false;
    // Where the user placed a new table (the drag's point); none leaves it where it was made.
    std::optional<cad::Point3> m_tableInsertionPoint;
    // The handle of the last table made, and why the last ExportToTable made none.
    std::string m_tableHandle;
    std::string m_tableFailure;

private:
    CScheduleDialog& wizard_;
    int columnCount_ = 0;
    std::vector<int> columnOrder_;
};

}  // namespace attbat
