#include "attbat/model/OuterPolygon.h"

#include "cad/Curves.h"
#include "cad/geometry/GeomExtents.h"

namespace attbat {

int calcOuterPolygon = 0;

PolygonList GatherPolygons(cad::Database* db) {
    PolygonList out;
    if (!db) return out;
    cad::TagList filter{{-4, "<or"}, {0, "LWPOLYLINE"}, {0, "POLYLINE"}, {-4, "or>"}};
    for (const cad::Entity& entity : db->Select(filter)) {
        OuterPolygonCandidate candidate;
        candidate.owner = entity.OwnerHandle();
        candidate.isLwPolyline = entity.Type() == "LWPOLYLINE";
        if (candidate.isLwPolyline) {
            candidate.shape = cad::PolylineShape::Of(cad::LwPolyline(entity.GetDatabase(), entity.Index()));
            candidate.shape.AddExtents(candidate.extents);
        }
        out.push_back(std::move(candidate));
    }
    return out;
}

namespace {

// An odd number of cuts by a ray from `center` says it lies inside. The ray aims at the middle
// of the first edge, so it cannot run exactly through a vertex.
bool Surrounds(const cad::PolylineShape& shape, cad::Point3 center) {
    cad::Point3 first = shape.PointAt(0);
    for (int i = 1; i < shape.NumVerts(); ++i) {
        cad::Point3 next = shape.PointAt(i);
        if (cad::Length(next - first) <= cad::kGeomTolerance) continue;
        cad::Point3 direction = cad::Normalized(cad::Midpoint(first, next) - center);
        if (cad::Length(direction) == 0) return false;
        return shape.IntersectWithRay(center, direction).size() % 2 == 1;
    }
    return false;
}

}  // namespace

double OuterArea(const cad::BlockReference& reference, const cad::Matrix3d* transform,
                 cad::Handle ownerFilter, const PolygonList& polygons) {
    double best = -1.0;
    if (!calcOuterPolygon || !reference || polygons.empty()) return best;
    auto extents = cad::GeomExtents(reference);
    if (!extents) return best;
    cad::Extents3d box = extents.Value();
    if (transform) box.TransformBy(*transform);
    cad::Point3 center = box.Center();
    cad::Handle space = ownerFilter ? ownerFilter : reference.OwnerHandle();
    for (const OuterPolygonCandidate& polygon : polygons) {
        if (!polygon.isLwPolyline || polygon.owner != space) continue;
        if (polygon.shape.NumVerts() <= 2 || !polygon.shape.IsClosed()) continue;
        if (!polygon.extents.IsValid()) continue;
        cad::Point3 lo = polygon.extents.Min(), hi = polygon.extents.Max();
        if (center.x < lo.x || center.x > hi.x || center.y < lo.y || center.y > hi.y) continue;
        if (!Surrounds(polygon.shape, center)) continue;
        double area = polygon.shape.Area();
        if (best < -1e-5) best = area;
        else if (best - area > 1e-5) best = area;
    }
    return best;
}

double OuterAreaOf(const cad::BlockReference& reference, const cad::Matrix3d* transform,
                   cad::Handle ownerFilter) {
    if (!calcOuterPolygon || !reference) return -1.0;
    return OuterArea(reference, transform, ownerFilter, GatherPolygons(reference.GetDatabase()));
}

}  // namespace attbat
