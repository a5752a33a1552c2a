#include "attbat/import/CImpExOptDialog.h"

#include "attbat/frame/CRegistry.h"

namespace attbat {

namespace {

constexpr std::string_view kSection = "Velmar";

}  // namespace

void CImpExOptDialog::OnInitDialog() {
    m_posXHeader = CRegistry::GetString(kSection, "PosXHeader", "Position X");
    m_posYHeader = CRegistry::GetString(kSection, "PosYHeader", "Position Y");
    m_posZHeader = CRegistry::GetString(kSection, "PosZHeader", "Position Z");
    m_layerHeader = CRegistry::GetString(kSection, "LayerHeader", "Layer");
    m_scaleXHeader = CRegistry::GetString(kSection, "ScaleXHeader", m_posXHeader);
    m_scaleYHeader = CRegistry::GetString(kSection, "ScaleYHeader", m_posYHeader);
    m_scaleZHeader = CRegistry::GetString(kSection, "ScaleZHeader", m_posZHeader);
}

void CImpExOptDialog::OnOK() const {
    CRegistry::SetString(kSection, "PosXHeader", m_posXHeader);
    CRegistry::SetString(kSection, "PosYHeader", m_posYHeader);
    CRegistry::SetString(kSection, "PosZHeader", m_posZHeader);
    CRegistry::SetString(kSection, "LayerHeader", m_layerHeader);
    CRegistry::SetString(kSection, "ScaleXHeader", m_scaleXHeader);
    CRegistry::SetString(kSection, "ScaleYHeader", m_scaleYHeader);
    CRegistry::SetString(kSection, "ScaleZHeader", m_scaleZHeader);
}

std::span<const CImpExOptDialog::HeaderField> CImpExOptDialog::HeaderFields() {
    static constexpr HeaderField fields[] = {
        {"position-x-header", "Position X Header:", &CImpExOptDialog::m_posXHeader},
        {"position-y-header", "Position Y Header:", &CImpExOptDialog::m_posYHeader},
        {"position-z-header", "Position Z Header:", &CImpExOptDialog::m_posZHeader},
        {"layer-header", "Layer Header:", &CImpExOptDialog::m_layerHeader},
        {"scale-x-header", "Scale X Header:", &CImpExOptDialog::m_scaleXHeader},
        {"scale-y-header", "Scale Y Header:", &CImpExOptDialog::m_scaleYHeader},
        {"scale-z-header", "Scale Z Header:", &CImpExOptDialog::m_scaleZHeader},
    };
    return fields;
}

const std::vector<Control>& CImpExOptDialog::Controls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list;
        for (const HeaderField& field : HeaderFields()) {
            list.push_back({field.key, ControlKind::Text, field.label, {}, "TEXT"});
        }
        return list;
    }();
    return controls;
}

}  // namespace attbat
