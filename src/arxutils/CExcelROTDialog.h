#pragma once
// The workbook chooser, "Workbooks in Running Object Table": a model without UI. Its list holds
// the workbooks of the running object table that have a spreadsheet file name.

#include <functional>
#include <string>
#include <vector>

namespace arxutils {

class CExcelROTDialog {
public:
    static constexpr const char* kTitle = "Workbooks in Running Object Table";
    static constexpr const char* kPrompt = "Please select the workbook you want to import:";
    enum Result { IDOK = 1, IDCANCEL = 2 };

    // The label; grows with what the table walk finds.
    std::string m_Message;
    // The chosen workbook's display name; "" until OK.
    std::string m_MonikerName;
    // The listed display names, and the selected one (-1 for none).
    std::vector<std::string> m_List;
    int m_Selected = -1;

    // Walks the table and fills the list; false when the list stays empty, after showing why
    // (the dialog then closes as cancelled).
    bool OnInitDialog();
    // Takes the selection; with none it says "Please select a workbook." and gives false (the
    // dialog stays open).
    bool OnOK();
    // True for a name the list takes: 5 characters or more, not starting with "!", ".xls"
    // within its last five characters (so ".xlsb" and "a.xls " pass too).
    static bool IsListedName(const std::string& displayName);

    // Runs the dialog: OnInitDialog, then the runner (the user), IDOK or IDCANCEL.
    Result DoModal();
    // Who answers the dialog: by default the workbook named before the command when it is
    // listed, else the terminal (the listed names, numbered, and a prompt for a number or name);
    // tests and the desktop front end install their own.
    using Runner = std::function<Result(CExcelROTDialog&)>;
    static void SetRunner(Runner runner);
};

}  // namespace arxutils
