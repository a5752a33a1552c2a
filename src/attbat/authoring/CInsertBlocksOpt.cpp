#include "attbat/authoring/CInsertBlocksOpt.h"

#include "attbat/frame/CRegistry.h"

namespace attbat {

namespace {

constexpr std::string_view kSection = "Velmar";
constexpr std::string_view kColumnMap = "InsBlockCol2TagMap";

}  // namespace

void CInsertBlocksOpt::LoadSettings() {
    blockLibraryDwg = CRegistry::GetString(kSection, "BlockLibraryDwgPath", blockLibraryDwg);
    tagMode = CRegistry::GetInt(kSection, "InsBlockAttTagOpt", tagMode);
    blockNameColumn = CRegistry::GetInt(kSection, "InsBlockNameCol", blockNameColumn);
    tagHeaderRow = CRegistry::GetInt(kSection, "InsBlockTagHeaderRow", tagHeaderRow);
    selectedRowsOnly = CRegistry::GetInt(kSection, "InsBlockSelRangeOnly", selectedRowsOnly);
    insertionPointOnScreen = CRegistry::GetInt(kSection, "SpecifyInsPtOnScreen", insertionPointOnScreen);
    columnMap = CRegistry::GetMap(kColumnMap);
}

bool CInsertBlocksOpt::SaveSettings() const {
    bool ok = CRegistry::SetString(kSection, "BlockLibraryDwgPath", blockLibraryDwg);
    ok &= CRegistry::SetInt(kSection, "InsBlockAttTagOpt", tagMode);
    ok &= CRegistry::SetInt(kSection, "InsBlockNameCol", blockNameColumn);
    ok &= CRegistry::SetInt(kSection, "InsBlockTagHeaderRow", tagHeaderRow);
    ok &= CRegistry::SetInt(kSection, "InsBlockSelRangeOnly", selectedRowsOnly);
    ok &= CRegistry::SetInt(kSection, "SpecifyInsPtOnScreen", insertionPointOnScreen);
    ok &= CRegistry::SetMap(kColumnMap, columnMap);
    return ok;
}

}  // namespace attbat
