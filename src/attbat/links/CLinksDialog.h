#pragma once
// The dialog "Links" of Velmar_Links, as a model: the workbooks the current drawing's references
// are linked to, "Update Link" and "Break Link" on the picked one, and the two options of the
// automatic update, kept in section "Velmar". The buttons change the drawing at once; OK stores
// the options and Cancel doesn't, but leaves what the buttons did.
#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"

namespace cad {
class Database;
}

namespace attbat {

class CLinksDialog {
public:
    static constexpr std::string_view title = "Links";
    // The browse box of the workbook field.
    static constexpr std::string_view fileFilter =
        "Microsoft Excel Files(*.xls;*.xlsx)|*.xls;*.xlsx|All Files(*.*)|*.*||";
    static constexpr std::string_view defaultFile = "*.xls;*.xlsx";
    // The list, the workbook field, the two buttons and the two check boxes.
    static const std::vector<Control>& Controls();

    // What a button did: done with the number of references changed, or stopped (and then
    // whether because the user said no).
    struct Result {
        bool done = false;
        bool declined = false;
        int references = 0;
    };

    // The links of `db`, the drawing of the current document; null shows an empty list.
    explicit CLinksDialog(cad::Database* db) : db_(db) {}

    // Fills the list from the drawing and reads the two options (AutoUpdateAtt off and
    // AutoUpdateIgnoreProp on by default).
    void OnInitDialog();
    // Picks line `index` and copies it to the workbook field; -1 picks none.
    void OnSelectLink(int index);
    // The workbook chosen with "...": its full path goes to the workbook field.
    void OnBrowse(const std::string& path);
    // "Update Link": links the picked workbook's references to the workbook field's file instead.
    // An empty field or a file that doesn't exist says "Invalid workbook path."; then the
    // question; no pick, or a field equal to the pick without regard to case, does nothing.
    Result OnUpdateLink();
    // "Break Link": after the question, removes the picked workbook's link from every reference
    // linked to it and its line from the list; without a pick nothing happens.
    Result OnBreakLink();
    // Stores the two options; false when one couldn't be written.
    bool OnOK();
    // Stores nothing; what the buttons did stays.
    void OnCancel() {}

    std::vector<std::string> m_links;  // the list box, in the order the drawing holds them
    int m_selected = -1;
    std::string m_workbook;            // "Excel Workbook:"
    bool m_autoUpdate = false;         // "Update the linked attribute values automatically..."
    bool m_ignoreProperties = true;    // "Ignore the properties when updating..."

private:
    cad::Database* db_;
};

}  // namespace attbat
