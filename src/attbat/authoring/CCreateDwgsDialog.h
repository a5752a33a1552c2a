#pragma once
// The dialog "Create Drawings", as a model: a template, an output folder, a block and the
// columns that fill its attributes, gathered to make one drawing for each worksheet row. It
// stands as a dialog only: no command opens it, its list buttons and "..." buttons do nothing,
// and "Start" closes it.
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "attbat/authoring/ColumnList.h"

namespace cad {
class Database;
}

namespace attbat {

// What the dialog gathers.
struct CCreateDwgsOpt {
    std::string workbookPath;        // the active workbook
    std::string worksheetName;       // the active sheet
    std::string startRows = "1";     // one row, or the first and last joined by ":"
    std::string templateDrawing;
    std::string outputFolder;
    std::string blockName;
    std::map<std::string, std::string> columnMap;  // column letters -> tag or dynamic property
};

class CCreateDwgsDialog {
public:
    static constexpr std::string_view title = "Create Drawings";
    static constexpr int lastPickerNumber = 675;

    // The names and tags are the drawing's `db` (null: none).
    explicit CCreateDwgsDialog(cad::Database* db) : db_(db) {}

    // Fills the pickers (columns, the drawing's block names and tags as "Insert / Update Blocks"
    // offers them, the list from the column map), then takes the running spreadsheet's workbook,
    // its sheets and the active one, and lets it go; without one the fields stay empty.
    void OnInitDialog();
    // "Add", "Remove", "Save List", "Load List" and the three "..." buttons: no action.
    void OnAdd() {}
    void OnRemove() {}
    void OnSaveList() {}
    void OnLoadList() {}
    void OnBrowseWorkbook() {}
    void OnBrowseTemplate() {}
    void OnBrowseOutputFolder() {}
    // "Start": closes the dialog (true); nothing is made.
    bool OnStart() { return true; }

    CCreateDwgsOpt m_options;
    std::vector<std::string> m_worksheets;     // the active workbook's sheets
    int m_worksheet = -1;                      // the active one's index
    std::vector<std::string> m_columnChoices;  // "A" to "YY"
    std::vector<std::string> m_blockNames;
    std::vector<std::string> m_tagChoices;
    ColumnPairs m_list;

private:
    cad::Database* db_;
};

}  // namespace attbat
