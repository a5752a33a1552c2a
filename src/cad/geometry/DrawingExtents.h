#pragma once
// The extents of a whole space and the header's record of them ($EXTMIN, $EXTMAX), as
// AcDbDatabase::updateExt keeps them.

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/Database.h"
#include "cad/geometry/Extents3d.h"

namespace cad {

// The extents of everything drawn in `space` (model space, a paper space or a block):
// invisible entities, entities on frozen layers and entities without geometry are left out,
// those on layers that are off count, as AutoCAD's zoom to extents has it. Empty when nothing
// is drawn.
Extents3d SpaceExtents(const BlockRecord& space);

// Sets $EXTMIN and $EXTMAX to the model space extents (updateExt). A drawing with nothing
// drawn gets AutoCAD's empty extents (1e20 as minimum, -1e20 as maximum). Values that are
// already right are not rewritten.
base::Status UpdateExtents(Database& db);

}  // namespace cad
