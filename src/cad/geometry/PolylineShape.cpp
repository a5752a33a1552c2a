#include "cad/geometry/PolylineShape.h"

#include <cmath>

#include "cad/geometry/Extents3d.h"

namespace cad {

namespace {

constexpr double kTwoPi = 2 * kPi;

double Cross2(Point3 a, Point3 b) { return a.x * b.y - a.y * b.x; }

// True when `angle` lies on the arc, allowing `slack` radians at both ends.
bool OnArc(const BulgeArc& arc, double angle, double slack) {
    double delta = arc.sweep > 0 ? angle - arc.startAngle : arc.startAngle - angle;
    delta = std::fmod(std::fmod(delta, kTwoPi) + kTwoPi, kTwoPi);
    if (delta > kTwoPi - slack) delta -= kTwoPi;
    return delta >= -slack && delta <= std::fabs(arc.sweep) + slack;
}

}  // namespace

bool ArcOfBulge(Point3 a, Point3 b, double bulge, BulgeArc& arc) {
    Point3 chord = b - a;
    if (bulge == 0 || Length(chord) == 0) return false;
    arc.sweep = 4 * std::atan(bulge);
    Point3 left{-chord.y, chord.x, 0};
    arc.center = Midpoint(a, b) + left * ((1 - bulge * bulge) / (4 * bulge));
    arc.center.z = a.z;
    arc.radius = Length(Point3{a.x - arc.center.x, a.y - arc.center.y, 0});
    arc.startAngle = std::atan2(a.y - arc.center.y, a.x - arc.center.x);
    return true;
}

PolylineShape PolylineShape::Of(const LwPolyline& polyline) {
    if (!polyline) return {};
    return PolylineShape(polyline.Points(), polyline.IsClosed(), polyline.Elevation(),
                         polyline.GetDatabase() ? Point3{polyline.GetReal(210, 0), polyline.GetReal(220, 0),
                                                         polyline.GetReal(230, 1)}
                                                : Point3{0, 0, 1});
}

bool PolylineShape::IsClosed(double tol) const {
    if (closed_) return true;
    if (points_.size() < 2) return false;
    const PolylinePoint& a = points_.front();
    const PolylinePoint& b = points_.back();
    return IsEqualTo({a.x, a.y, 0}, {b.x, b.y, 0}, tol);
}

Matrix3d PolylineShape::PlaneToWorld() const {
    return ObjectToWorld(normal_) * Matrix3d::Translation({0, 0, elevation_});
}

Point3 PolylineShape::PointAt(int index) const {
    if (index < 0 || index >= NumVerts()) return {};
    return PlaneToWorld().Apply({points_[index].x, points_[index].y, 0});
}

int PolylineShape::SegmentCount() const {
    int n = NumVerts();
    if (n < 2) return 0;
    return closed_ ? n : n - 1;
}

double PolylineShape::Area() const {
    int n = NumVerts();
    if (n < 2) return 0;
    double twice = 0, arcs = 0;
    for (int i = 0; i < n; ++i) {
        const PolylinePoint& p = points_[i];
        const PolylinePoint& q = points_[(i + 1) % n];
        twice += p.x * q.y - q.x * p.y;
        // The closing segment of an open polyline is straight, whatever the last bulge says.
        BulgeArc arc;
        if ((i + 1 < n || closed_) && ArcOfBulge({p.x, p.y, 0}, {q.x, q.y, 0}, p.bulge, arc))
            arcs += 0.5 * arc.radius * arc.radius * (arc.sweep - std::sin(arc.sweep));
    }
    return std::fabs(twice / 2 + arcs);
}

std::vector<Point3> PolylineShape::IntersectWithRay(Point3 origin, Point3 direction, double tol) const {
    std::vector<Point3> hits;
    Matrix3d toWorld = PlaneToWorld();
    Matrix3d toPlane = toWorld.Inverse();
    Point3 o = toPlane.Apply(origin);
    Point3 d = Normalized(toPlane.ApplyToVector(direction));
    if (d == Point3{}) return hits;
    int n = NumVerts();
    auto vertex = [&](int i) { return Point3{points_[i % n].x, points_[i % n].y, 0}; };

    auto add = [&](Point3 p) {
        p.z = 0;
        for (const Point3& h : hits)
            if (IsEqualTo(h, p, tol)) return;
        hits.push_back(p);
    };

    if (std::fabs(d.z) > tol) {
        // The ray leaves the plane: at most the one point where it passes through.
        double t = -o.z / d.z;
        if (t < -tol) return hits;
        Point3 p = o + d * t;
        p.z = 0;
        for (int i = 0; i < SegmentCount(); ++i) {
            Point3 a = vertex(i), b = vertex(i + 1);
            BulgeArc arc;
            bool on = false;
            if (ArcOfBulge(a, b, points_[i].bulge, arc)) {
                Point3 r = p - arc.center;
                on = std::fabs(Length(r) - arc.radius) <= tol &&
                     OnArc(arc, std::atan2(r.y, r.x), tol / arc.radius);
            } else {
                Point3 e = b - a;
                double len = Length(e);
                double s = len > 0 ? Dot(p - a, e) / (len * len) : 0;
                s = std::fmin(1, std::fmax(0, s));
                on = IsEqualTo(a + e * s, p, tol);
            }
            if (on) {
                add(p);
                break;
            }
        }
    } else if (std::fabs(o.z) <= tol) {
        o.z = 0;
        d.z = 0;
        d = Normalized(d);
        for (int i = 0; i < SegmentCount(); ++i) {
            Point3 a = vertex(i), b = vertex(i + 1);
            BulgeArc arc;
            if (ArcOfBulge(a, b, points_[i].bulge, arc)) {
                Point3 f = o - arc.center;
                double half = Dot(f, d);
                double disc = half * half - (Dot(f, f) - arc.radius * arc.radius);
                // A ray that grazes the circle within the tolerance touches it once.
                if (disc < -2 * arc.radius * tol) continue;
                double root = disc > 0 ? std::sqrt(disc) : 0;
                for (double t : {-half - root, -half + root}) {
                    if (t < -tol) continue;
                    Point3 p = o + d * t;
                    if (OnArc(arc, std::atan2(p.y - arc.center.y, p.x - arc.center.x), tol / arc.radius)) add(p);
                }
            } else {
                Point3 e = b - a;
                double len = Length(e);
                double denom = Cross2(d, e);
                if (len == 0 || std::fabs(denom) <= tol * len) continue;
                double t = Cross2(a - o, e) / denom;
                double s = Cross2(a - o, d) / denom;
                if (t >= -tol && s >= -tol / len && s <= 1 + tol / len) add(a + e * std::fmin(1, std::fmax(0, s)));
            }
        }
    }
    for (Point3& h : hits) h = toWorld.Apply(h);
    return hits;
}

void PolylineShape::AddExtents(Extents3d& extents, const Matrix3d& toWorld) const {
    Matrix3d m = toWorld * PlaneToWorld();
    int n = NumVerts();
    for (int i = 0; i < n; ++i) extents.AddPoint(m.Apply({points_[i].x, points_[i].y, 0}));
    for (int i = 0; i < SegmentCount(); ++i) {
        const PolylinePoint& p = points_[i];
        const PolylinePoint& q = points_[(i + 1) % n];
        BulgeArc arc;
        if (!ArcOfBulge({p.x, p.y, 0}, {q.x, q.y, 0}, p.bulge, arc)) continue;
        double t0 = arc.sweep > 0 ? arc.startAngle : arc.startAngle + arc.sweep;
        extents.AddEllipticArc(m, arc.center, {arc.radius, 0, 0}, {0, arc.radius, 0}, t0, t0 + std::fabs(arc.sweep));
    }
}

}  // namespace cad
