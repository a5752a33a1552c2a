#pragma once
// Axis-aligned extents in world coordinates, grown by points and by exact elliptical arcs.

#include "cad/geometry/Matrix3d.h"

namespace cad {

// A box that starts empty; AcDbExtents in AutoCAD's API.
class Extents3d {
public:
    Extents3d() = default;
    // The box around two corners given in any order.
    Extents3d(Point3 a, Point3 b) { AddPoint(a); AddPoint(b); }

    // False until a point was added.
    bool IsValid() const { return valid_; }
    // The corners; the origin while the box is empty.
    Point3 Min() const { return min_; }
    Point3 Max() const { return max_; }
    // The middle of the box; the origin when empty.
    Point3 Center() const { return Midpoint(min_, max_); }
    // Width, height and depth; zeros for an empty box or a single point.
    Point3 Size() const { return max_ - min_; }

    // Grows the box to hold `p`; the first point makes a box of no size.
    void AddPoint(Point3 p);
    // Grows by another box; an empty one changes nothing.
    void AddExtents(const Extents3d& other);
    // Grows by the points `center + u cos t + v sin t` for t from `t0` to `t1` (t1 >= t0; a span
    // of 2 pi or more is the whole ellipse), everything taken through `m` first. Exact: an
    // affine image of an elliptical arc is one, so its extreme points are found directly.
    void AddEllipticArc(const Matrix3d& m, Point3 center, Point3 u, Point3 v, double t0, double t1);
    // The box of this box's eight corners after `m` (AcDbExtents::transformBy); empty stays empty.
    void TransformBy(const Matrix3d& m);
    bool operator==(const Extents3d&) const = default;

private:
    Point3 min_, max_;
    bool valid_ = false;
};

}  // namespace cad
