#pragma once
// The draw order of a block or space: the sort handles of its draw-order table (the
// SORTENTSTABLE under ACAD_SORTENTS in the block record's extension dictionary).

#include <utility>
#include <vector>

#include "cad/BlockRecord.h"

namespace cad {

// The (entity, sort handle) pairs of the draw-order table of `block`, in table order; empty when
// it has none (R12 files, most blocks) or for a null view.
std::vector<std::pair<Handle, Handle>> DrawOrderPairs(const BlockRecord& block);

// The entities of `block` in the order they are drawn: by sort handle, an entity the table
// doesn't name by its own handle, equal keys in file order; file order when there is no table.
std::vector<Entity> EntitiesInDrawOrder(const BlockRecord& block);

}  // namespace cad
