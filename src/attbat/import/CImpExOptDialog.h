#pragma once
// The dialog "Options" of the import and upload: the header texts that name the position,
// layer and scale columns of a worksheet.
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"

namespace attbat {

class CImpExOptDialog {
public:
    static constexpr std::string_view title = "Options";

    // An edit box with its label.
    struct HeaderField {
        const char* key;
        const char* label;
        std::string CImpExOptDialog::*member;
    };
    static std::span<const HeaderField> HeaderFields();
    // The seven edit boxes as controls.
    static const std::vector<Control>& Controls();

    // Loads the seven texts; each scale text defaults to the loaded position text of its axis,
    // so a first run shows "Position X" under "Scale X Header:" (kept as it is on purpose).
    void OnInitDialog();
    // Stores all seven as they stand.
    void OnOK() const;

    std::string m_posXHeader = "Position X";
    std::string m_posYHeader = "Position Y";
    std::string m_posZHeader = "Position Z";
    std::string m_layerHeader;
    std::string m_scaleXHeader;
    std::string m_scaleYHeader;
    std::string m_scaleZHeader;
};

}  // namespace attbat
