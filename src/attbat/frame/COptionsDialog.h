#pragma once
// The dialog "Options" of Velmar_Options, as a model: four check boxes kept in section
// "Velmar". Opening reads them, OK writes all four, Cancel writes nothing.

#include <string_view>

namespace attbat {

class COptionsDialog {
public:
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
