#pragma once
// The table of a dynamic block's lookup action: rows of texts, one column per parameter it
// reads or sets.

#include <string>
#include <vector>

#include "cad/Object.h"

namespace cad::dynamic {

struct LookupTable {
    // One column: the parameter's node id, what it connects to ("lookupString" for a lookup or
    // visibility parameter's value, "UpdatedDistance", "UpdatedX"... for the others), the label
    // shown when no row matches, and whether the palette may pick a row through it (reverse
    // lookup). Undocumented: 281 is 1 on the columns of lookup parameters and 0 on those of the
    // parameters a row sets in every table AutoCAD wrote that we have, and is taken as that flag.
    struct Column {
        long long node = -1;
        std::string connection;
        std::string customLabel;
        bool reverse = false;
    };
    std::vector<Column> columns;
    // Row by row, one text per column.
    std::vector<std::vector<std::string>> rows;

    // The table of `action` (a BLOCKLOOKUPACTION); empty for another object or a damaged table.
    static LookupTable Read(const Object& action);
    // The index of the column of parameter `node`; -1 when there is none.
    int ColumnOf(long long node) const;
};

}  // namespace cad::dynamic
