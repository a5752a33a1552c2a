#include "attbat/model/AcadBlockFilter.h"

#include "attbat/model/Archive.h"
#include "attbat/model/SettingsStore.h"
#include "base/Text.h"

namespace attbat {

void AcadBlockFilter::LoadFromSettings(SettingsStore& store) {
    blockPattern = store.GetString(kSettingsSection, "FilterBlocks", blockPattern);
    incXref = store.GetInt(kSettingsSection, "FilterIncXref", incXref);
    incNested = store.GetInt(kSettingsSection, "FilterIncNestedBlock", incNested);
    currentSpaceOnly = store.GetInt(kSettingsSection, "FilterModelSpaceOnly", currentSpaceOnly);
}

void AcadBlockFilter::SaveToSettings(SettingsStore& store) const {
    store.SetString(kSettingsSection, "FilterBlocks", base::Trim(blockPattern));
    store.SetInt(kSettingsSection, "FilterIncXref", incXref);
    store.SetInt(kSettingsSection, "FilterIncNestedBlock", incNested);
    store.SetInt(kSettingsSection, "FilterModelSpaceOnly", currentSpaceOnly);
}

void AcadBlockFilter::Serialize(Archive& archive) {
    archive.Int32(incFrozen);
    archive.Int32(incLocked);
    archive.Int32(incNested);
    archive.Int32(incOff);
    archive.Int32(incXref);
    archive.Int32(currentSpaceOnly);
    archive.String(blockPattern);
    archive.StringArray(names);
}

}  // namespace attbat
