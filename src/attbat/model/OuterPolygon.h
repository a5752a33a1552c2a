#pragma once
// The smallest closed lightweight polyline around a block reference, whose area a row shows as
// its "Outer Polygon Area". Works only while the global switch is on.
#include <vector>

#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/geometry/Extents3d.h"
#include "cad/geometry/Matrix3d.h"
#include "cad/geometry/PolylineShape.h"

namespace attbat {

// The global switch (CalOuterPolygon of the export); 0 at start, nothing is measured while 0.
extern int calcOuterPolygon;

// One candidate polygon: its space, its shape and extents, read once per drawing read.
struct OuterPolygonCandidate {
    cad::Handle owner = 0;
    bool isLwPolyline = false;  // old-style polylines are gathered but never count
    cad::PolylineShape shape;
    cad::Extents3d extents;
};
using PolygonList = std::vector<OuterPolygonCandidate>;

// Every LWPOLYLINE and POLYLINE of model and paper space, in database order; empty for a null
// database.
PolygonList GatherPolygons(cad::Database* db);
// The area of the smallest polygon of `polygons` around `reference`'s centre, in the space
// `ownerFilter` (the reference's own space when 0); `transform` (may be null) carries the
// reference's extents into the polygons' coordinates. -1.0 when the switch is off, the
// reference is null, the list is empty or none surrounds it; an equal area keeps the first.
double OuterArea(const cad::BlockReference& reference, const cad::Matrix3d* transform,
                 cad::Handle ownerFilter, const PolygonList& polygons);
// The same for a caller without a list: gathers the polygons of the reference's drawing first.
double OuterAreaOf(const cad::BlockReference& reference, const cad::Matrix3d* transform,
                   cad::Handle ownerFilter);

}  // namespace attbat
