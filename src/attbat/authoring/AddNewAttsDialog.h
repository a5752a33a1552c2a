#pragma once
// The dialog "Add new attribute definations to blocks" of Velmar_AddNewAtts, as a model: the
// attribute definitions listed on the active worksheet, and the blocks of the current drawing
// they are added to, invisible, before every block's references are synchronised with their
// definitions.
#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"
#include "attbat/model/AcadAttributeDefArray.h"
#include "tables/CStringArrayEx.h"

namespace cad {
class Database;
}
namespace tables {
class CStringTable;
}

namespace attbat {

class CNewAttsToBlocksDlg {
public:
    static constexpr std::string_view title = "Add new attribute definations to blocks";
    // The worksheet button and its range check, the block filter and list.
    static const std::vector<Control>& Controls();

    // One line of the list: "Position", "Text Height", "Layer", "Text Style", "Tag", "Prompt".
    struct ListRow {
        std::string position;
        std::string height;
        std::string layer;
        std::string textStyle;
        std::string tag;
        std::string prompt;
    };

    // What OK added and synchronised.
    struct Report {
        int added = 0;           // definitions added
        int passedOver = 0;      // definitions whose tag the block already had
        int references = 0;      // references looked at by the synchronisation
        int changedReferences = 0;
        int attributesAdded = 0;
        int attributesRemoved = 0;
        std::vector<std::string> lines;  // one per definition added: block and tag
    };

    // The blocks of `db`, the current drawing.
    explicit CNewAttsToBlocksDlg(cad::Database& db) : db_(db) {}

    // Fills the block list with the whole drawing's names.
    void OnInitDialog();
    // "Get Attributes from Active Worksheet": attaches the running spreadsheet and reads its
    // selection (with "Use Selected Range") or used range; false when nothing was read (an
    // unattached spreadsheet ends quietly; a used range of one cell says so).
    bool OnGetAttributes();
    // Fills the list and the array from a range read as text: one row an attribute, a header
    // row (a first row with a cell "X") passed over, a row without a tag listed but not kept.
    void FillFromTable(const tables::CStringTable& table);
    // "Filter:": the block list again, the names matching "%s*" without regard to case.
    void OnFilterChanged(std::string_view filter);
    // Ticks the listed block `name` (without regard to case); false when it isn't listed.
    bool Check(std::string_view name);
    // OK: each definition added, invisible, to each ticked block that lacks its tag; then every
    // block's references synchronised. No ticked block says "Please select a block first." and
    // stays (false).
    bool OnOK(Report& report);

    int useSelectedRange = 0;             // "Use Selected Range"
    std::vector<ListRow> m_list;          // the list of the worksheet's rows
    AcadAttributeDefArray m_attributeDefs;  // the rows that have a tag
    tables::CStringArrayEx m_allBlockNames;
    std::string m_filter;                 // "Filter:"
    tables::CStringArrayEx m_blockList;   // the check list box, filtered
    std::vector<bool> m_checks;           // its ticks
    tables::CStringArrayEx m_selectedBlocks;  // the ticked names, gathered on OK

private:
    cad::Database& db_;
};

}  // namespace attbat
