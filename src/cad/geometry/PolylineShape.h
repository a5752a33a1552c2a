#pragma once
// The plane geometry of a lightweight polyline: vertices with bulges in the polyline's own
// coordinate system, what AutoCAD's AcDbPolyline answers about it (vertex count, closed test,
// points, area) and where a ray cuts it.

#include <vector>

#include "cad/Curves.h"
#include "cad/geometry/Matrix3d.h"

namespace cad {

class Extents3d;

// A polyline as plain values; copying it from an LWPOLYLINE reads the entity once.
class PolylineShape {
public:
    PolylineShape() = default;
    // A shape from its vertices; the normal need not have length 1.
    PolylineShape(std::vector<PolylinePoint> points, bool closed, double elevation = 0, Point3 normal = {0, 0, 1})
        : points_(std::move(points)), closed_(closed), elevation_(elevation), normal_(normal) {}
    // The shape of an LWPOLYLINE; an empty shape for a null view.
    static PolylineShape Of(const LwPolyline& polyline);

    // The number of vertices.
    int NumVerts() const { return static_cast<int>(points_.size()); }
    // True when the closed flag is set (AcDbPolyline::isClosed).
    bool IsClosedFlag() const { return closed_; }
    // True when the flag is set or the first and last of at least two vertices lie within `tol`.
    bool IsClosed(double tol = kGeomTolerance) const;
    // The vertex `index` in world coordinates; the origin for an index out of range.
    Point3 PointAt(int index) const;
    // The vertices in the polyline's plane (x, y) with their bulges; empty for an empty shape.
    const std::vector<PolylinePoint>& Points() const { return points_; }
    // The plane: its height along the normal (0 when not given) and its normal ((0, 0, 1) for 2D).
    double Elevation() const { return elevation_; }
    Point3 Normal() const { return normal_; }

    // The enclosed area as AutoCAD's getArea gives it: always positive, bulged segments
    // included, an open polyline measured as if closed by a straight segment.
    double Area() const;
    // The points where the ray from `origin` along `direction` (world coordinates) meets the
    // polyline, both bounded: the ray from its origin on, each segment between its ends. A
    // point shared by two segments (a vertex) or touched twice (a tangent) counts once; a
    // segment lying along the ray touches without crossing and gives no point. A zero
    // direction gives nothing.
    std::vector<Point3> IntersectWithRay(Point3 origin, Point3 direction, double tol = kGeomTolerance) const;
    // Adds the exact extents of every segment (arcs through their extreme points) after
    // `toWorld`, which is applied after the polyline's own plane transform.
    void AddExtents(Extents3d& extents, const Matrix3d& toWorld = {}) const;

private:
    // The number of segments: n - 1 when open, n when closed by the flag.
    int SegmentCount() const;
    Matrix3d PlaneToWorld() const;

    std::vector<PolylinePoint> points_;
    bool closed_ = false;
    double elevation_ = 0;
    Point3 normal_{0, 0, 1};
};

// The arc of a bulged segment from `a` to `b` in the plane: its centre, radius and the start
// angle and signed sweep (counter-clockwise positive). False for a bulge of 0 or equal ends.
struct BulgeArc {
    Point3 center;
    double radius = 0;
    double startAngle = 0;
    double sweep = 0;
};
bool ArcOfBulge(Point3 a, Point3 b, double bulge, BulgeArc& arc);

}  // namespace cad
