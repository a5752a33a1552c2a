#pragma once
// Copying a block definition from one drawing into another with everything it needs, as a CAD
// host's wblockCloneObjects of a block record into the target's block table does with
// duplicate records ignored.

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/IdMapping.h"

namespace cad {

class Database;

// Copies block `source` into `target`: its block record, BLOCK and ENDBLK, every entity with its
// attributes, vertices and SEQEND, extension dictionaries and what they own, extended data (its
// applications registered), its draw order, and what they name that the target lacks: layers,
// text styles, line types, dimension styles, nested blocks (by the same rules), named objects.
// Every copy gets a new handle from the target's $HANDSEED, and every handle inside the copies
// is translated through one mapping, given back in `mapping` when not null (see DeepCloner.h for
// what each kind of handle does). A record the target has by name, without regard to case,
// stands for the source's. Text is re-encoded for the target. The source is never changed.
// A block of that name in the target is returned as it is, nothing copied; an anonymous block
// (*U, *D...) of another drawing is always copied, under the next free name of its kind. An R12 source is copied
// into a newer target through a copy brought to the newest release (the mapping keeps only the
// source's own handles). Fails, leaving the target as it was, for a null view, a layout, a
// newer source and an R12 target, and entity types the target's release lacks (LWPOLYLINE and
// HATCH before R14, MLEADER before 2007...).
base::Result<BlockRecord> CloneBlock(const BlockRecord& source, Database& target,
                                     IdMapping* mapping = nullptr);

}  // namespace cad
