#pragma once
// Import by handle: the cell comments an export left name a drawing, a reference and a tag or
// property; each is paired with its cell's displayed text and written back to that reference.
#include <string>
#include <string_view>
#include <vector>

#include "arxutils/ExcelUtils.h"
#include "attbat/model/AcadBlockRefArray.h"
#include "attbat/model/DrawingWriter.h"

namespace attbat {

// The choices of the import dialog; all but CurrentDrawingOnly persist under "Velmar".
struct ImportByHandleOptions {
    int WorksheetOption = 0;      // 0 active sheet only, 1 entire workbook
    int StartRow = 1;             // kept for the dialog; the import doesn't read it
    std::string StartColumn = "A";
    int IgnoreProperty = 0;
    int CurrentDrawingOnly = 1;   // never stored: each dialog starts with it set
    int IgnoreDrawingPath = 0;
    int SaveExcelLink = 0;

    // Reads the stored values, the present fields as defaults.
    void LoadSettings();
    // Stores every field but CurrentDrawingOnly.
    void SaveSettings() const;
};

// The parts of one key line.
struct ImportKey {
    std::string DrawingPath;  // empty: the current drawing
    std::string Handle;
    std::string TagOrProperty;
    bool IsProperty = false;
};

// One value the import writes (or would write), for --dry-run and the summary.
struct ImportChange {
    std::string drawing;
    std::string handle;
    std::string field;     // attribute tag or property name
    std::string oldValue;
    std::string newValue;
};

// Key lines with their cells' texts, in key order.
using ImportMap = arxutils::KeyLines;

// Parses one key line against the current drawing's path. False when the key gives no handle
// and tag, or names another drawing under CurrentDrawingOnly; then `skipMessage` holds the
// line to print (empty for a key that simply doesn't parse).
bool ParseImportKey(std::string_view key, const ImportByHandleOptions& options,
                    std::string_view currentPath, ImportKey& out, std::string& skipMessage);
// The update list of a map: one row per drawing and handle, values added in map order. Skip
// lines are appended to `skipped` once each.
AcadBlockRefArray BuildImportList(const ImportMap& map, const ImportByHandleOptions& options,
                                  std::string_view currentPath, std::vector<std::string>& skipped);
// The rows of the same list as the writer walks them, each made from the map when its last key
// is read, so that a walk holds few rows at a time; the map and options outlive the walk.
RowWalk WalkImportRows(const ImportMap& map, const ImportByHandleOptions& options,
                       std::string_view currentPath, std::vector<std::string>& skipped);
// The values of `rows` that differ from what the drawings hold, with the old text; rows whose
// drawing can't be read (said in the writer's words) or whose handle names no reference are
// left out.
std::vector<ImportChange> ListImportChanges(const AcadBlockRefArray& rows);
// Turns the map into updates and writes them (the writer prints its lines); `linkPath`, when
// not null, is stored as the workbook link on every reference written. With `printSkipped`
// the kept skip lines are printed before the writing. The rows are made from the map one at a
// time as they are written, never all held; the map goes once the writing is done.
void ApplyImportMap(ImportMap map, const ImportByHandleOptions& options, const std::string* linkPath,
                    bool printSkipped);

}  // namespace attbat
