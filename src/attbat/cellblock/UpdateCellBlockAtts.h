#pragma once
// UpdateCellBlockAtts: the attributes of cell blocks take the texts their cells show now.

#include <string>
#include <vector>

#include "cad/BlockReference.h"

namespace attbat {

// What an update did.
struct CellBlockUpdate {
    int blocks = 0;      // cell blocks whose ranges were read
    int references = 0;  // references of them looked at
    int changed = 0;     // attributes whose text changed
    int missing = 0;     // attributes whose tag names no cell of the range
    std::vector<std::string> failures;  // the blocks whose workbook or sheet couldn't be read
};

// For each cell block among `picked` (once per block), opens its workbook and sheet, reads its
// range as text and sets the attributes of every reference of the block from the cells their
// tags name. Prints "\nPreparing for table update...\n" first, "\nCannot find the value of
// %s." for a tag outside the range, "Done!...\n" at the end. Throws the object model's error.
CellBlockUpdate UpdateCellBlockAtts(const std::vector<cad::BlockReference>& picked);

}  // namespace attbat
