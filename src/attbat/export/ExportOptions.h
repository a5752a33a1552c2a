#pragma once
// What an export to a workbook does besides writing the rows: which workbook and sheets, where
// it starts, and the borders, merges and links it adds. Built anew and loaded for each use.

#include <string>

namespace attbat {

class SettingsStore;

struct ExportOptions {
    int applyBorder = 0;      // thin borders around and inside the written range
    int mergeBlockName = 0;   // merge runs of like first-column cells
    int addHyperlink = 0;     // link each drawing path cell to its file
    int workbookOption = 0;   // 0 a new workbook, 1 the active one
    int worksheetOption = 1;  // 0 a sheet for each block, 1 one sheet for all
    int startRow = 1;         // from 1; -1 the row after the last filled one
    std::string startColumn = "A";  // column letters, upper case
};

// Reads the seven values with the present ones as defaults; the start column comes back in
// upper case whatever was stored.
void LoadExportOptions(ExportOptions& options, SettingsStore& store);
// Writes all seven; a failed write is passed over, as the settings store's callers do.
void StoreExportOptions(const ExportOptions& options, SettingsStore& store);

}  // namespace attbat
