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
// drawing library reads dynamic properties but can't set them yet: a row value that differs from
// the property's present one is said on the command line as not set, never passed over in
// silence. A plain block is left alone.
void ApplyDynamicProperties(cad::BlockReference& reference, const tables::CStringTable& table,
                            const CInsertBlocksOpt& options, int rowIndex, bool update);

}  // namespace attbat
