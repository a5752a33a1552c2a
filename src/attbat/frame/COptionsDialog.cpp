#include "attbat/frame/COptionsDialog.h"

#include "attbat/frame/CRegistry.h"

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

}  // namespace attbat
