#pragma once
// The dialog "Insert / Update Blocks", as a model: where each row's block name, drawing and
// burst flag stand, how tags and dynamic properties are found (a header row, or a list of
// columns kept in the settings and in .c2a files), the insertion point and the block library.
// "Insert blocks" and "Update inserted blocks" check the fields, store the options and close it.
#include <string>
#include <string_view>
#include <vector>

#include "attbat/authoring/CInsertBlocksOpt.h"
#include "attbat/authoring/ColumnList.h"
#include "attbat/frame/Control.h"

namespace cad {
class Database;
}

namespace attbat {

class CInsertBlockDialog {
public:
    static constexpr std::string_view title = "Insert / Update Blocks";
    // The title of the boxes the dialog shows.
    static constexpr std::string_view boxTitle = "Orvane Velmar";
    static constexpr std::string_view workbookFilter =
        "Microsoft Excel Files(*.xls;*.xlsx;*.xlsm)|*.xls;*.xlsx;*.xlsm|All Files(*.*)|*.*||";
    // Block libraries are DXF drawings here.
    static constexpr std::string_view libraryFilter = "Drawing (*.dxf)|*.dxf|All Files(*.*)|*.*||";
    static constexpr std::string_view supportPathNote =
        "If you have external block dwgs, please add the folder to Support File Search Path.";
    static constexpr std::string_view drawingPathNote = "Use this opt to insert blocks to mulitple drawings. ";
    // Column pickers offer columns 1 to this (A to YY), the header row picker rows 1 to this.
    static constexpr int lastPickerNumber = 675;

    // The dialog's controls, for every front end.
    static const std::vector<Control>& Controls();

    // The names and tags are the drawing's `db` (null: none).
    explicit CInsertBlockDialog(cad::Database* db) : db_(db) {}

    // Fills the column, block name and tag pickers from the drawing.
    void FillPickers();
    // Fills the pickers, loads the options, restores the block name column and header row
    // pickers, fills the list from the column map, and takes the running spreadsheet's workbook
    // and sheet (and selection, with "Selected Rows"), if any.
    void OnInitDialog();
    // "...": opens `path` in the spreadsheet; its active sheet fills the sheet field. False when
    // no sheet could be attached.
    bool BrowseWorkbook(const std::string& path);
    // "Selected Rows": set asks the spreadsheet for its workbook, sheet and selection; cleared
    // empties the selection text.
    void SetSelectedRows(bool on);
    // "Add": the pair of a column (trimmed) and its tag or dynamic property; a refusal says why
    // in a box and gives false.
    bool OnAdd(std::string column, const std::string& tag);
    // "Remove": asks, then removes list row `row`; false when nothing was removed.
    bool OnRemove(int row);
    // The list row whose column is `column` exactly; -1 when none.
    int FindRow(std::string_view column) const;
    // "Save List" / "Load List": the list as a .c2a file; a failure is said in a box.
    bool OnSaveList(const std::string& path) const;
    bool OnLoadList(const std::string& path);
    // The checks of both buttons, in order; the first fault is said in a box and gives false.
    // Copies the pickers into the options.
    bool Validate();
    // "Insert blocks": Validate, store the options; true closes the dialog.
    bool OnInsertBlocks();
    // "Update inserted blocks": the same, and the options' update mode set.
    bool OnUpdateBlocks();

    // Whether the pickers of the two tag modes and of the burst column are enabled.
    bool HeaderRowEnabled() const { return m_options.tagMode == 0; }
    bool ColumnListEnabled() const { return m_options.tagMode == 1; }
    bool BurstColumnEnabled() const { return m_options.blockBurst && m_options.useBurstColumn; }

    CInsertBlocksOpt m_options;
    ColumnPairs m_list;                         // mirrors m_options.columnMap, in list order
    std::vector<std::string> m_columnChoices;   // "A" to "YY"
    std::vector<std::string> m_blockNames;      // the drawing's blocks but layouts, xrefs, anonymous
    std::vector<std::string> m_tagChoices;      // their non-constant tags, then "Position X/Y/Z"
    int m_blockNameColumnIndex = -1;            // picker index: column - 1
    std::string m_headerRowText;                // the header row picker's text
    int m_drawingPathColumnIndex = 0;           // 0: none, else the column
    int m_burstColumnIndex = -1;                // picker index: column - 1

private:
    cad::Database* db_;
};

}  // namespace attbat
