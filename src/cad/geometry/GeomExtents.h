#pragma once
// The geometric extents of entities in world coordinates (AcDbEntity::getGeomExtents).
//
// Text has no font here: every shown character is taken as wide as the text is high, times its
// width factor (kTextCharWidth), which never makes a box smaller than the usual CAD fonts draw.
// The box runs from the baseline to the cap height; descenders and oblique angles are left out.
// Splines are evaluated, not hulled: their extents are those of 32 points per knot span.
// Polyline widths and line weights add nothing.

#include <string_view>
#include <vector>

#include "base/Status.h"
#include "cad/Entity.h"
#include "cad/geometry/Extents3d.h"

namespace cad {

// The estimated width of one character, in text heights.
inline constexpr double kTextCharWidth = 1.0;

// The extents of `entity` in world coordinates. Block references go through their block
// (visible attributes included, nested references composed, attribute definitions other than
// constant ones left out, invisible entities and entities on frozen layers left out, those on
// layers that are off kept, as AutoCAD's extents do); dimensions and tables through their
// anonymous blocks; multileaders by their leader lines, content block and text. An entity
// without geometry (an empty text, an unbounded ray, a block without anything drawn, a type
// that has no geometry here) fails with a message naming its handle and type.
base::Result<Extents3d> GeomExtents(const Entity& entity);

// GeomExtents of each of `entities`, in order, measuring each block they share once: measuring
// every reference of a drawing one by one costs the blocks below them every time.
std::vector<base::Result<Extents3d>> GeomExtentsOfEach(const std::vector<Entity>& entities);

// The number of characters a text shows: control codes such as %%d count as the one
// character they draw, %%u and %%o as none.
int ShownLength(std::string_view text);

}  // namespace cad
