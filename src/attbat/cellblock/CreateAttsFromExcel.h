#pragma once
// CreateAttsFromExcel after its dialog's OK: the selection of the attached spreadsheet read
// into a table, drawn as a block in the current drawing with a reference of it, and the
// block's source record written.

#include <optional>

#include "cad/Entity.h"

namespace cad {
class Database;
}

namespace attbat {

class CAutoTable;
class CCreateAttributesFromExcelDialog;

// Takes the workbook, sheet and selection from the spreadsheet again, reads the selection and
// makes the block named in the dialog, its reference at `insertionPoint` (the origin without
// one). False when nothing was made: the selection isn't cells ("Please start Excel and select a
// range first."), or the block couldn't be made. Throws the object model's error.
bool CreateAttsFromExcel(cad::Database& db, CCreateAttributesFromExcelDialog& dialog,
                         const std::optional<cad::Point3>& insertionPoint, CAutoTable& table);

}  // namespace attbat
