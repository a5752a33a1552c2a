#pragma once
// The dialog "Import" of the import by handle: which sheets to read, the key rules, the
// workbook attached. Works on the spreadsheet connection the command made.
#include <string>
#include <vector>

#include "attbat/frame/Control.h"
#include "attbat/import/ImportByHandle.h"

namespace attbat {

class CImportByHandleDialog {
public:
    // The dialog's controls: the sheets, the start cell, the four boxes and the ">" menu.
    static const std::vector<Control>& Controls();

    // Loads the settings and fills the workbook fields and list from the connection; the list
    // is empty when no workbook is attached.
    void OnInitDialog();
    // The ">" menu: attaches the listed workbook `index` and its active sheet; false for an
    // index out of range or a workbook that is gone. Choosing the present one changes nothing.
    bool ChooseWorkbook(int index);
    // "Update the current drawing only": switching it off clears and disables the path box.
    void SetCurrentDrawingOnly(bool on);
    // Whether "Ignore the drawing paths of the attribute values" can be ticked.
    bool IgnoreDrawingPathEnabled() const { return m_options.CurrentDrawingOnly != 0; }
    // OK: a start column that is no column becomes "A", a start row below 1 becomes 1, and the
    // settings are stored.
    void OnOK();

    ImportByHandleOptions m_options;
    std::string m_workbook;               // Workbook.FullName
    std::string m_worksheet;              // Worksheet.Name
    std::vector<std::string> m_workbooks;  // the attached one first, at most 99
};

}  // namespace attbat
