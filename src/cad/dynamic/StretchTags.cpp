#include "cad/dynamic/StretchTags.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "cad/geometry/EntityTransform.h"
#include "cad/geometry/Matrix3d.h"

namespace cad::dynamic {

namespace {

constexpr double kOnEdge = 1e-9;

double DistanceToSegment(Point3 p, Point3 a, Point3 b) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double len2 = dx * dx + dy * dy;
    double t = len2 > 0 ? ((p.x - a.x) * dx + (p.y - a.y) * dy) / len2 : 0;
    t = std::clamp(t, 0.0, 1.0);
    return std::hypot(p.x - (a.x + t * dx), p.y - (a.y + t * dy));
}

// The index of the tag with `code` after `from` (the y of an x), or tags.size().
std::size_t Next(const TagList& tags, std::size_t from, int code) {
    return from + 1 < tags.size() && tags[from + 1].code == code ? from + 1 : tags.size();
}

// Moves the point whose x is at `i` (y next) when it lies inside.
void StretchPointAt(TagList& tags, std::size_t i, const StretchFrame& frame, Point3 delta) {
    const std::size_t y = Next(tags, i, tags[i].code + 10);
    if (y == tags.size())
        return;
    const Point3 p{tags[i].Real(), tags[y].Real(), 0};
    if (!frame.Contains(p))
        return;
    tags[i] = RealTag(tags[i].code, p.x + delta.x);
    tags[y] = RealTag(tags[y].code, p.y + delta.y);
    const std::size_t z = Next(tags, y, tags[i].code + 20);
    if (z != tags.size())
        tags[z] = RealTag(tags[z].code, tags[z].Real() + delta.z);
}

// The position of the first tag of `code` after the subclass marker `subclass`.
std::size_t FindIn(const TagList& tags, int code, std::string_view subclass) {
    bool inside = subclass.empty();
    for (std::size_t i = 1; i < tags.size(); ++i) {
        if (tags[i].code == 100)
            inside = tags[i].value == subclass || (inside && subclass.empty());
        else if (inside && tags[i].code == code)
            return i;
    }
    return tags.size();
}

// A HATCH's boundary and seed points, from its path count on; an ellipse edge's 11 is its axis,
// not a point, and stays.
void StretchHatch(TagList& tags, const StretchFrame& frame, Point3 delta) {
    std::size_t i = FindIn(tags, 91, "AcDbHatch");
    long long edgeType = 0;
    for (; i < tags.size(); ++i) {
        const int code = tags[i].code;
        if (code == 72)
            edgeType = tags[i].Int();
        else if (code == 92)
            edgeType = 0;
        else if (code == 10 || (code == 11 && edgeType != 3))
            StretchPointAt(tags, i, frame, delta);
        else if (code == 1001)
            break;
    }
}

base::Status MoveWhole(TagList& tags, int code, std::string_view subclass,
                       const StretchFrame& frame, Point3 delta, int release) {
    const std::size_t i = FindIn(tags, code, subclass);
    const std::size_t y = i < tags.size() ? Next(tags, i, code + 10) : tags.size();
    if (y == tags.size())
        return base::Status::Ok();
    if (!frame.Contains(Point3{tags[i].Real(), tags[y].Real(), 0}))
        return base::Status::Ok();
    return TransformEntityTags(tags, Matrix3d::Translation(delta), Object(), release);
}

}  // namespace

StretchFrame::StretchFrame(std::vector<Point3> corners) {
    if (corners.size() == 2) {
        const Point3 a = corners[0], b = corners[1];
        polygon_ = {a, Point3{b.x, a.y, 0}, b, Point3{a.x, b.y, 0}};
    } else {
        polygon_ = std::move(corners);
    }
}

bool StretchFrame::Contains(Point3 p) const {
    const std::size_t n = polygon_.size();
    if (n < 3)
        return false;
    bool inside = false;
    for (std::size_t i = 0, j = n - 1; i < n; j = i++) {
        const Point3 a = polygon_[i], b = polygon_[j];
        if (DistanceToSegment(p, a, b) <= kOnEdge)
            return true;
        if ((a.y > p.y) != (b.y > p.y) && p.x < (b.x - a.x) * (p.y - a.y) / (b.y - a.y) + a.x)
            inside = !inside;
    }
    return inside;
}

base::Status StretchEntityTags(TagList& tags, const StretchFrame& frame, Point3 delta,
                               int release) {
    if (tags.empty())
        return base::Status::Error("no entity to stretch");
    const std::string type = tags[0].value;
    if (type == "LINE") {
        for (int code : {10, 11}) {
            const std::size_t i = FindIn(tags, code, "AcDbLine");
            if (i < tags.size())
                StretchPointAt(tags, i, frame, delta);
        }
        return base::Status::Ok();
    }
    if (type == "LWPOLYLINE" || type == "VERTEX") {
        for (std::size_t i = 1; i < tags.size(); ++i) {
            if (tags[i].code == 1001)
                break;
            if (tags[i].code == 10)
                StretchPointAt(tags, i, frame, delta);
        }
        return base::Status::Ok();
    }
    if (type == "HATCH") {
        StretchHatch(tags, frame, delta);
        return base::Status::Ok();
    }
    if (type == "CIRCLE" || type == "ARC")
        return MoveWhole(tags, 10, "AcDbCircle", frame, delta, release);
    if (type == "ELLIPSE")
        return MoveWhole(tags, 10, "AcDbEllipse", frame, delta, release);
    if (type == "POINT")
        return MoveWhole(tags, 10, "AcDbPoint", frame, delta, release);
    if (type == "MTEXT")
        return MoveWhole(tags, 10, "AcDbMText", frame, delta, release);
    if (type == "TEXT" || type == "ATTDEF" || type == "ATTRIB")
        return MoveWhole(tags, 10, "AcDbText", frame, delta, release);
    if (type == "INSERT")
        return MoveWhole(tags, 10, "AcDbBlockReference", frame, delta, release);
    if (type == "POLYLINE" || type == "SEQEND")
        return base::Status::Ok();  // their vertices carry the points
    std::string handle;
    for (const Tag& tag : tags)
        if (tag.code == 5)
            handle = tag.value;
    return base::Status::Error("a stretch can't move the points of " + type + " " + handle);
}

}  // namespace cad::dynamic
