#include "cad/geometry/Extents3d.h"

#include <algorithm>

namespace cad {

void Extents3d::AddPoint(Point3 p) {
    if (!valid_) {
        min_ = max_ = p;
        valid_ = true;
        return;
    }
    min_ = {std::min(min_.x, p.x), std::min(min_.y, p.y), std::min(min_.z, p.z)};
    max_ = {std::max(max_.x, p.x), std::max(max_.y, p.y), std::max(max_.z, p.z)};
}

void Extents3d::AddExtents(const Extents3d& other) {
    if (!other.valid_) return;
    AddPoint(other.min_);
    AddPoint(other.max_);
}

void Extents3d::AddEllipticArc(const Matrix3d& m, Point3 center, Point3 u, Point3 v, double t0, double t1) {
    Point3 c = m.Apply(center);
    Point3 mu = m.ApplyToVector(u), mv = m.ApplyToVector(v);
    auto at = [&](double t) { return c + mu * std::cos(t) + mv * std::sin(t); };
    AddPoint(at(t0));
    AddPoint(at(t1));
    constexpr double kTwoPi = 2 * kPi;
    bool whole = t1 - t0 >= kTwoPi - 1e-12;
    // Each coordinate is extreme where its derivative -u sin t + v cos t vanishes.
    const double us[3] = {mu.x, mu.y, mu.z}, vs[3] = {mv.x, mv.y, mv.z};
    for (int k = 0; k < 3; ++k) {
        if (us[k] == 0 && vs[k] == 0) continue;
        double base = std::atan2(vs[k], us[k]);
        for (double t : {base, base + kPi}) {
            if (whole) {
                AddPoint(at(t));
                continue;
            }
            // The first angle of this family at or after t0.
            double s = t0 + std::fmod(std::fmod(t - t0, kTwoPi) + kTwoPi, kTwoPi);
            if (s <= t1) AddPoint(at(s));
        }
    }
}

void Extents3d::TransformBy(const Matrix3d& m) {
    if (!valid_) return;
    Point3 lo = min_, hi = max_;
    valid_ = false;
    for (int i = 0; i < 8; ++i)
        AddPoint(m.Apply({(i & 1) ? hi.x : lo.x, (i & 2) ? hi.y : lo.y, (i & 4) ? hi.z : lo.z}));
}

}  // namespace cad
