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
// The dynamic properties of `reference` that the row names, set from the row's texts. The
// drawing library reads no dynamic properties yet: for a dynamic block, every value the row
// holds under a name that is no attribute tag of the reference and no position, scale or layer
// header is said on the command line as not set, never passed over in silence. A plain block
// is left alone.
void ApplyDynamicProperties(cad::BlockReference& reference, const tables::CStringTable& table,
                            const CInsertBlocksOpt& options, int rowIndex, bool update);

}  // namespace attbat
