#pragma once
// Exploding a block reference into the entities of its block, placed where the reference shows
// them, as a CAD host's explode of a reference does.

#include <vector>

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"

namespace cad {

// Copies the entities of the block `reference` names into `space` (the reference's own space
// when null) and returns the copies in block order, each carried by the reference's block
// transform (insertion point, scale factors, rotation, normal, block base point) as
// TransformEntityTags carries it: a scale that differs within a circle's or arc's plane makes it
// an ELLIPSE. As the host does, a piece on layer "0" takes the reference's layer, and BYBLOCK
// colour, line type and line weight take the reference's; everything else of a piece stays,
// extension dictionaries and extended data copied with it. A nested reference stays one,
// transformed (TransformBy). The reference's own attributes are no pieces (turn them into text
// apart); attribute definitions are left out unless `withAttributeDefinitions`. The reference
// itself stays: to explode it, erase it after a success,
//     if (auto pieces = ExplodeInto(reference)) reference.Erase();
// Fails, changing nothing, for a null reference, a MINSERT, a missing block, an external
// reference, a block that is not explodable, an x or y scale of 0 (a z scale of 0, which LibreCAD
// writes for flat blocks, reads as 1), a space of another drawing, and a piece that cannot
// follow the transform (types it doesn't handle; arcs and widths of polylines and hatches under a
// scale that differs within their plane...): the message names the reference and the piece.
base::Result<std::vector<Entity>> ExplodeInto(const BlockReference& reference,
                                              BlockRecord space = {},
                                              bool withAttributeDefinitions = false);

}  // namespace cad
