#pragma once
// Dynamic block properties of a reference set from a worksheet row.
#include <string>
#include <vector>

#include "cad/BlockReference.h"

namespace tables {
class CStringTable;
}

namespace attbat {

class CInsertBlocksOpt;

// Whether `reference` shows a dynamic block (its block, or the block its anonymous copy was made
// from, carries the definition's evaluation graph).
bool IsDynamicBlockReference(const cad::BlockReference& reference);
// The dynamic properties of `reference` that the row names (by the options' tag mode, header
// row and column map), set from the row's texts by the property's value type: a text when it
// differs without regard to case, an angle when the drawing's angular units read it as another
// value, another real when its "%g" text differs (then read in the drawing's units, else as
// the number the text starts with), an integer when its decimal text differs. A property the
// drawing library can't set is said on the command line and the next one follows. With
// `update`, a reference whose dynamic block holds a dimension joins DynamicBlockUpdateList.
// A plain block is left alone.
void ApplyDynamicProperties(cad::BlockReference& reference, const tables::CStringTable& table,
                            const CInsertBlocksOpt& options, int rowIndex, bool update);

}  // namespace attbat
