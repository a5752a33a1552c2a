#pragma once
// The dialog "Options" of Velmar_Options, as a model: four check boxes kept in section
// "Velmar". Opening reads them, OK writes all four, Cancel writes nothing.

#include <span>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"

namespace attbat {

class COptionsDialog {
public:
    // A check box with its group box.
    struct OptionBox {
        std::string_view key;
        std::string_view group;
        std::string_view label;
        bool COptionsDialog::*member;
    };
    static std::span<const OptionBox> OptionBoxes();
    // The four boxes as controls; each label names its group.
    static const std::vector<Control>& Controls();

    // "Export blocks in MLeaders" checked, the others not, until OnInitDialog reads the store.
    COptionsDialog() = default;

    // Reads the four values with the constructor's states as defaults.
    void OnInitDialog();
    // Writes all four with SetInt; false when one couldn't be written.
    bool OnOK();
    // Writes nothing.
    void OnCancel() {}

    // "Export Attribute" group.
    bool m_exportBlocksInMLeader = true;
    bool m_calOuterPolygon = false;
    // "Upload to Excel" group.
    bool m_updateDrawingPathsInExcel = false;
    bool m_autoUploadToActiveWorkbook = false;

    // The box's title.
    static constexpr std::string_view title = "Options";
};

}  // namespace attbat
