#pragma once
// A reference's attributes following the attribute definitions they were made from when a
// dynamic block changes state: an action that moves, turns or scales a definition moves the
// reference's attribute of that tag alike, and a visibility state that hides a definition hides
// the attribute.

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/dynamic/BlockEvaluation.h"

namespace cad::dynamic {

// Moves and shows or hides the attributes of `reference` as the attribute definitions of
// `definition` with their tags go from what `before` makes of them to what `after` makes of
// them; an attribute whose definition no action touches stays as it is, byte for byte.
void FollowAttributes(BlockReference& reference, const BlockRecord& definition,
                      const BlockEvaluation& before, const BlockEvaluation& after);

}  // namespace cad::dynamic
