#include "attbat/frame/COptionsDialog.h"

#include "attbat/frame/CRegistry.h"
#include "base/Format.h"

namespace attbat {

namespace {

constexpr std::string_view section = "Velmar";

bool ReadFlag(std::string_view name, bool def) {
    return CRegistry::GetInt(section, name, def ? 1 : 0) != 0;
}

}  // namespace

void COptionsDialog::OnInitDialog() {
    m_exportBlocksInMLeader = ReadFlag("ExportBlocksInMLeader", m_exportBlocksInMLeader);
    m_calOuterPolygon = ReadFlag("CalOuterPolygon", m_calOuterPolygon);
    m_updateDrawingPathsInExcel = ReadFlag("UpdateDrawingPathsInExcel", m_updateDrawingPathsInExcel);
    m_autoUploadToActiveWorkbook =
        ReadFlag("AutoUploadToActiveWorkbook", m_autoUploadToActiveWorkbook);
}

bool COptionsDialog::OnOK() {
    bool ok = CRegistry::SetInt(section, "ExportBlocksInMLeader", m_exportBlocksInMLeader ? 1 : 0);
    ok = CRegistry::SetInt(section, "CalOuterPolygon", m_calOuterPolygon ? 1 : 0) && ok;
    ok = CRegistry::SetInt(section, "UpdateDrawingPathsInExcel", m_updateDrawingPathsInExcel ? 1 : 0) &&
         ok;
    ok = CRegistry::SetInt(section, "AutoUploadToActiveWorkbook",
                           m_autoUploadToActiveWorkbook ? 1 : 0) &&
         ok;
    return ok;
}

std::span<const COptionsDialog::OptionBox> COptionsDialog::OptionBoxes() {
    static constexpr OptionBox boxes[] = {
        {"export-blocks-in-mleaders", "Export Attribute", "Export blocks in MLeaders",
         &COptionsDialog::m_exportBlocksInMLeader},
        {"calc-outer-polygon", "Export Attribute", "Calculate outer polygon of block reference.",
         &COptionsDialog::m_calOuterPolygon},
        {"update-drawing-paths", "Upload to Excel", "Update drawing paths in Excel.",
         &COptionsDialog::m_updateDrawingPathsInExcel},
        {"auto-upload", "Upload to Excel",
         "Upload to Excel automatically when attributes are modified in AutoCAD.",
         &COptionsDialog::m_autoUploadToActiveWorkbook},
    };
    return boxes;
}

const std::vector<Control>& COptionsDialog::Controls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list;
        for (const OptionBox& box : OptionBoxes()) {
            list.push_back({std::string(box.key), ControlKind::Check,
                            base::Sprintf("\"%s\" (%s)", box.label, box.group)});
        }
        return list;
    }();
    return controls;
}

}  // namespace attbat
