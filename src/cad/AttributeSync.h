#pragma once
// Bringing the references of a block in line with its attribute definitions, as the host's
// ATTSYNC does after definitions were added or removed.

#include "base/Status.h"
#include "cad/BlockRecord.h"

namespace cad {

// What one synchronisation changed, over all references of the block.
struct AttributeSyncReport {
    int references = 0;  // references looked at
    int changed = 0;     // references with at least one change
    int added = 0;       // attributes made from definitions
    int removed = 0;     // attributes whose definition is gone (or is constant)
    int moved = 0;       // attributes kept but put back in the definitions' order
};

// Every reference of `block` (nested ones included) gets one attribute per non-constant
// definition, in the definitions' order: an attribute it has keeps its value, placement and
// handle (the n-th attribute of a tag answers the n-th definition of that tag, exact case);
// a missing one is made from its definition at the definition's place under the reference's
// block transform, holding the default value; one without a definition is erased. Attributes
// already in order are not touched; one that must move behind a new one is written again
// there, with a new handle. Fails only for a null block.
base::Result<AttributeSyncReport> SyncAttributes(const BlockRecord& block);

}  // namespace cad
