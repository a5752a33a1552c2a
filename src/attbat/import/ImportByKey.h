#pragma once
// Import by key attribute: each chosen worksheet is read into a table once, then every drawing
// is walked; the references of the chosen blocks find their row by the value of the key
// attribute (or by the drawing itself, with the key "DWG File") and take their other
// attributes' values from it. No earlier export is needed: any sheet with a key column will do.

#include <string>
#include <vector>

#include "attbat/import/CImportByKeyAttOpt.h"
#include "attbat/import/ImportByHandle.h"
#include "tables/CStringTable.h"

namespace attbat {

// What one drawing's update found: each value it wrote (or, in a dry run, would write) and the
// table rows whose key matched a reference or multileader.
struct DrawingKeyResult {
    // Whether `changes` is filled: a long list of drawings keeps its changes only when they are
    // to be shown.
    bool listChanges = true;
    std::vector<ImportChange> changes;
    std::vector<int> matchedRows;
    bool failed = false;  // the drawing couldn't be read or saved (its line says why)
};

// Writes `table` into one drawing: the current one for an empty path or its file name, an open
// document's, or a file read, written and saved here (in its version, or in the newest with
// SaveAsCurrentDwgVersion, keeping a backup). `selectedRows` ("$A$2:$C$4,$7") limits the rows
// used; empty uses them all. Everything is told on the command line; a dry run writes and saves
// nothing and tells no success. Safe to run for different files on different threads.
void UpdateDrawingByKey(const std::string& drawingPath, const tables::CStringTable& table,
                        const std::string& selectedRows, const CImportByKeyAttOpt& options,
                        bool dryRun, DrawingKeyResult& result);

// Reads the attached active sheet into `table` as the import reads it: from $A$1, the values as
// shown, down to the last row of the used area, or of its filled part and a fifth more when the
// used area has 300 rows or more (formatting alone widens it), and across to the widest column of
// the column map, else likewise (120 columns). False after the line that tells why the work
// ends: "Invalid used range: %s." for a used area of one cell.
bool ReadKeySheet(const CImportByKeyAttOpt& options, tables::CStringTable& table);

// How the import runs beyond its options.
struct KeyImportRun {
    bool dryRun = false;
    int threads = 1;           // threads for the drawing list
    bool listChanges = true;   // the report lists each change (a dry run always does)
};

// What the import did, for a dry run's listing and the summary.
struct KeyImportReport {
    std::vector<ImportChange> changes;  // in the order the drawings were told, when listed
    // "Sheet: row N" for each row of a sheet whose key matched nothing in any drawing.
    std::vector<std::string> unmatchedRows;
    int drawings = 0;                   // drawings walked
    int failedDrawings = 0;             // of those, the ones that couldn't be read or saved
    std::string missingSheet;           // the sheet that could not be activated, when one ended the work
    bool finished = false;              // every sheet was done
};

// The import of `options` as the command runs it after its dialog: sheets outside, drawings
// inside, every line told; false when the work ended early (no workbook, a sheet that can't be
// read, a cancel).
bool ImportByKeyAttribute(CImportByKeyAttOpt options, const KeyImportRun& run, KeyImportReport& report);

}  // namespace attbat
