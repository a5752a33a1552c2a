#include "attbat/export/ExportOptions.h"

#include "attbat/model/SettingsStore.h"
#include "base/Text.h"

namespace attbat {

void LoadExportOptions(ExportOptions& options, SettingsStore& store) {
    options.applyBorder = store.GetInt(kSettingsSection, "ApplyBorder", options.applyBorder);
    options.mergeBlockName = store.GetInt(kSettingsSection, "MergeBlockName", options.mergeBlockName);
    options.addHyperlink =
        store.GetInt(kSettingsSection, "AddHyperlinkToDrawingPath", options.addHyperlink);
    options.workbookOption = store.GetInt(kSettingsSection, "ExportWorkbookOpt", options.workbookOption);
    options.worksheetOption = store.GetInt(kSettingsSection, "WorksheetOpt", options.worksheetOption);
    options.startRow = store.GetInt(kSettingsSection, "ExportStartRow", options.startRow);
    options.startColumn =
        base::ToUpper(store.GetString(kSettingsSection, "ExportStartCol", options.startColumn));
}

void StoreExportOptions(const ExportOptions& options, SettingsStore& store) {
    store.SetInt(kSettingsSection, "ApplyBorder", options.applyBorder);
    store.SetInt(kSettingsSection, "MergeBlockName", options.mergeBlockName);
    store.SetInt(kSettingsSection, "AddHyperlinkToDrawingPath", options.addHyperlink);
    store.SetInt(kSettingsSection, "ExportWorkbookOpt", options.workbookOption);
    store.SetInt(kSettingsSection, "WorksheetOpt", options.worksheetOption);
    store.SetInt(kSettingsSection, "ExportStartRow", options.startRow);
    store.SetString(kSettingsSection, "ExportStartCol", options.startColumn);
}

}  // namespace attbat
