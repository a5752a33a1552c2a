#include "attbat/authoring/RowValues.h"

#include "attbat/frame/CRegistry.h"
#include "tables/CStringTable.h"

namespace attbat {

InsertHeaders InsertHeaders::Load() {
    constexpr std::string_view section = "Velmar";
    InsertHeaders h;
    h.posX = CRegistry::GetString(section, "PosXHeader", h.posX);
    h.posY = CRegistry::GetString(section, "PosYHeader", h.posY);
    h.posZ = CRegistry::GetString(section, "PosZHeader", h.posZ);
    h.scaleX = CRegistry::GetString(section, "ScaleXHeader", h.scaleX);
    h.scaleY = CRegistry::GetString(section, "ScaleYHeader", h.scaleY);
    h.scaleZ = CRegistry::GetString(section, "ScaleZHeader", h.scaleZ);
    h.layer = CRegistry::GetString(section, "LayerHeader", h.layer);
    h.rotation = CRegistry::GetString(section, "RotationHeader", h.rotation);
    return h;
}

bool GetRowValueByName(const tables::CStringTable& table, int tagMode, int headerRow,
                       const std::map<std::string, std::string>& columnMap, std::string_view name,
                       int rowIndex, std::string& result) {
    // The same lookup serves the import by key attribute.
    return tables::CStringTable::GetCellForTag(table, tagMode == 1, headerRow, columnMap, name, rowIndex, result);
}

}  // namespace attbat
