#pragma once
// UpdateCellAttsToExcel: a cell block's attribute texts written back to the cells their tags
// name, in the workbook and sheet the block came from.

#include <string>
#include <vector>

#include "cad/BlockReference.h"

namespace attbat {

// One cell written (or, in a dry run, that would be).
struct CellWrite {
    std::string address;
    std::string before;
    std::string after;
};

// Asks the user first; writes nothing unless Yes. False, with the system's line, when the
// reference is no cell block ("Invalid Cell Block." box), its workbook is missing ("\nCannot
// find %s."), the answer isn't Yes, or the workbook or sheet can't be opened ("\nCannot open
// %s:%s."). With `write` off the cells are only compared. Throws the object model's error.
bool UpdateCellAttsToExcel(const cad::BlockReference& ref, bool write, std::vector<CellWrite>& writes);

}  // namespace attbat
