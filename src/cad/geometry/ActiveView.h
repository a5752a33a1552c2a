#pragma once
// The view a drawing opens with: the model space "*ACTIVE" viewport, set from a centre and a
// size as acedSetCurrentView does with a fresh view record.

#include "base/Status.h"
#include "cad/Database.h"
#include "cad/geometry/Extents3d.h"

namespace cad {

// Looks straight down on the world plane centred on `center` (x, y), `height` high and
// `width` wide: sets the active viewport's centre, height and aspect ratio, and makes its
// direction (0, 0, 1), its target the origin and its twist 0, as a fresh view has them. The
// header's $VIEWCTR and $VIEWSIZE follow when the file has them. A height of 0 or less keeps the
// present height and a width of 0 or less the present aspect ratio, as AutoCAD refuses views
// without size. Values that are already right are not rewritten. Fails when the drawing has no
// active viewport.
base::Status SetActiveView(Database& db, Point3 center, double width, double height);
// The view of `extents` without margin: its middle, width and height. Fails for empty extents.
base::Status SetActiveView(Database& db, const Extents3d& extents);

}  // namespace cad
