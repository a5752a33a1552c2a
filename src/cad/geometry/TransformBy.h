#pragma once
// Moving, turning and scaling a block reference by one matrix, its attributes with it
// (AcDbBlockReference::transformBy).

#include "base/Status.h"
#include "cad/BlockReference.h"
#include "cad/geometry/Matrix3d.h"

namespace cad {

// Applies `m` (world coordinates) to `reference`: afterwards its block transform is `m` times
// the old one, expressed again as position, scale factors, rotation and normal, with the sign
// of the x scale kept. Its attributes move, turn and scale with it (height and width factor
// follow the stretch of their text directions); a mirroring `m` keeps their text readable.
// A transform within 1e-12 of the identity changes nothing, not a byte; values that come out
// equal are not rewritten. Fails for a null reference and a singular `m`.
base::Status TransformBy(BlockReference& reference, const Matrix3d& m);
// Applies `m` to one attribute as TransformBy does to each of a reference's: position,
// alignment point, height, width factor, rotation and normal follow it; values that come out
// equal are not rewritten.
void TransformAttribute(Attribute& attribute, const Matrix3d& m);

}  // namespace cad
