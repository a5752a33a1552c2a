#pragma once
// The anonymous blocks ("*U") a dynamic block's references show: one per state of the block,
// each a copy of the definition's entities with the actions applied, its block record naming
// the definition (extended data "AcDbBlockRepBTag", handle 1005). A copy no reference shows any
// more stays, as AutoCAD leaves its own (the corpus drawings hold several).

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/dynamic/BlockEvaluation.h"

namespace cad::dynamic {

// The dynamic block an anonymous block was copied from; a null view for any other block.
BlockRecord DefinitionOfCopy(const BlockRecord& block);
// The anonymous copy of `definition` that shows `evaluation`: an existing copy whose entities
// are equal (same types, values within 1e-9, same visibility), `current` first when it is one,
// else a new one under the next free "*U" name. Fails, leaving the drawing as it was, when an
// entity can't be evaluated.
base::Result<BlockRecord> AnonymousCopyOf(const BlockRecord& definition,
                                          const BlockEvaluation& evaluation,
                                          const BlockRecord& current = {});
}  // namespace cad::dynamic
