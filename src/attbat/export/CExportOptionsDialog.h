#pragma once
// The "Export Options" dialog of the schedule wizard, without its window: the controls' states
// and its buttons.

#include <string>
#include <string_view>
#include <vector>

#include "attbat/export/ExportOptions.h"
#include "attbat/frame/Control.h"

namespace attbat {

class SettingsStore;

class CExportOptionsDialog {
public:
    static constexpr std::string_view title = "Export Options";
    // The single list entry of the start row's combo box.
    static constexpr std::string_view lastFilledRow = "Last Filled Row";
    // The dialog's controls: the two radio groups, the start cell and the three boxes.
    static const std::vector<Control>& Controls();

    explicit CExportOptionsDialog(SettingsStore& store) : store_(store) {}

    // Loads the record; a start row of 0 or below shows as "Last Filled Row".
    void OnInitDialog();
    // Takes the controls, repairs them (a start column that is no column becomes "A", a row
    // text under 1 becomes 1, "Last Filled Row" in any case becomes -1), stores all; no message.
    void OnOK();

    ExportOptions m_options;      // the radio pairs and check boxes
    std::string m_startColumn;    // "Start column:"
    std::string m_startRowText;   // the edit field of "Start row:"

private:
    SettingsStore& store_;
};

}  // namespace attbat
