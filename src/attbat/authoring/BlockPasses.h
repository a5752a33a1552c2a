#pragma once
// The two passes of "Insert / Update Blocks": one new block reference for each worksheet row,
// in the current drawing, another open drawing or a drawing file the row names; and the update
// of the references an earlier insertion tagged with their source row. Every fault of a row is
// a line on the command line and the next row follows; nothing is rolled back.
#include <optional>
#include <string>
#include <vector>

#include "cad/Entity.h"

namespace tables {
class CStringTable;
}

namespace attbat {

class CInsertBlocksOpt;

// What the front end adds to the dialog's options.
struct PassSettings {
    // Where "Specify insertion point On-screen" puts a reference of the current drawing; none
    // leaves it where the row placed it.
    std::optional<cad::Point3> insertionPoint;
    // Folders searched for a drawing of a missing block's name, after the current drawing's own.
    std::vector<std::string> searchPath;
    // Drawing files are read and changed but not saved.
    bool dryRun = false;
};

// What a pass did, for the summary.
struct PassReport {
    int inserted = 0;   // references left whole, with their row link
    int burst = 0;      // references burst into texts and entities
    int updated = 0;    // references the update pass brought in line
    int rowsFailed = 0;
    std::vector<std::string> drawingsSaved;  // side drawings written
};

// One reference per row of `table` (see the command's description for the steps); side
// drawings are read once and saved once, in their own version with a backup, after all rows.
void InsertBlocksFromRows(const tables::CStringTable& table, const CInsertBlocksOpt& options,
                          const std::string& selectedRows, const PassSettings& settings, PassReport& report);
// Brings the references of the working drawing whose row link names this workbook and sheet
// (the workbook by file name only) back in line with their rows: position, attributes and
// dynamic properties. A link row above the table's first row is an InvalidArgument thrown.
void UpdateBlocksFromRows(const tables::CStringTable& table, const CInsertBlocksOpt& options,
                          const std::string& selectedRows, PassReport& report);

}  // namespace attbat
