#pragma once
// Moving, turning and scaling an entity given as its tags, before its copy is made: what
// ExplodeInto applies to the pieces of a block. Points, directions, sizes, angles and object
// coordinate systems follow the matrix; everything else stays as it is, byte for byte.

#include <string>

#include "base/Status.h"
#include "cad/Object.h"
#include "cad/geometry/Matrix3d.h"

namespace cad {

// Transforms `tags` (type first, handle second, as a copy is made) by `m`, in world coordinates,
// in a drawing of release `release`. A planar entity's new normal is the cross product of the
// images of its x and y axes, so a mirroring `m` turns the plane over (normal (0, 0, -1) for a
// mirror in the xy plane) and angles keep their sense. `container` is the POLYLINE of a VERTEX,
// a null view otherwise. Handles LINE, POINT, RAY, XLINE, 3DFACE, SOLID, TRACE, CIRCLE, ARC,
// ELLIPSE, LWPOLYLINE, POLYLINE and VERTEX (2D, 3D and meshes), SPLINE, TEXT, ATTDEF, ATTRIB,
// MTEXT, HATCH and SEQEND; INSERT is left to TransformBy and only checked. A scale that differs
// within an entity's plane turns a CIRCLE or ARC into an ELLIPSE (R13 and later); it fails,
// leaving `tags` as they were, for arcs and widths of polylines, hatches, multi-line text, text
// it would slant, a nested reference it would skew, and for every other type. The message
// names the entity by the handle of `tags`.
base::Status TransformEntityTags(TagList& tags, const Matrix3d& m, const Object& container,
                                 int release);

}  // namespace cad
