#include "cad/geometry/EntityTransform.h"

#include <cmath>

#include <fmt/format.h>

namespace cad {
namespace {

constexpr std::size_t npos = std::string::npos;
constexpr double kDegree = kPi / 180;
constexpr double kTwoPi = 2 * kPi;

bool Near(double a, double b, double scale) {
    return std::fabs(a - b) <= 1e-9 * std::fmax(1, scale);
}

// The own data of an entity's tags (up to an embedded object or extended data), read and
// written in place; application groups ({ACAD_REACTORS ...}) are passed over.
class OwnTags {
public:
    explicit OwnTags(TagList& tags) : t_(tags) {}

    std::size_t End() const {
        for (std::size_t i = 1; i < t_.size(); ++i)
            if (t_[i].code == 1001 || t_[i].code == 101)
                return i;
        return t_.size();
    }
    int CodeAt(std::size_t i) const { return t_[i].code; }
    double RealAt(std::size_t i) const { return t_[i].Real(); }
    std::size_t Find(int code, std::size_t from = 1) const {
        const std::size_t end = End();
        for (std::size_t i = 1; i < end; ++i) {
            if (t_[i].code == 102 && !t_[i].value.empty() && t_[i].value[0] == '{') {
                while (++i < end && t_[i].code != 102) {
                }
                continue;
            }
            if (i >= from && t_[i].code == code)
                return i;
        }
        return npos;
    }
    bool Has(int code) const { return Find(code) != npos; }
    double Real(int code, double fallback) const {
        const std::size_t i = Find(code);
        return i == npos ? fallback : t_[i].Real();
    }
    long long Int(int code, long long fallback) const {
        const std::size_t i = Find(code);
        return i == npos ? fallback : t_[i].Int();
    }
    // The point whose x is at `i`; y and z right behind it, 0 when missing.
    Point3 PointAt(std::size_t i) const {
        Point3 p{t_[i].Real(), 0, 0};
        if (i + 1 < t_.size() && t_[i + 1].code == t_[i].code + 10)
            p.y = t_[i + 1].Real();
        if (i + 2 < t_.size() && t_[i + 2].code == t_[i].code + 20)
            p.z = t_[i + 2].Real();
        return p;
    }
    Point3 Point(int code, Point3 fallback) const {
        const std::size_t i = Find(code);
        return i == npos ? fallback : PointAt(i);
    }
    void SetRealAt(std::size_t i, double value) { t_[i].value = RealText(value); }
    // Sets the point whose x is at `i`: y right behind it, z too when it was written or isn't 0.
    // Returns the number of tags it added.
    std::size_t SetPointAt(std::size_t i, Point3 p) {
        const int code = t_[i].code;
        std::size_t added = 0;
        SetRealAt(i, p.x);
        if (i + 1 < t_.size() && t_[i + 1].code == code + 10) {
            SetRealAt(i + 1, p.y);
        } else {
            t_.insert(t_.begin() + static_cast<std::ptrdiff_t>(i + 1), RealTag(code + 10, p.y));
            ++added;
        }
        if (i + 2 < t_.size() && t_[i + 2].code == code + 20) {
            SetRealAt(i + 2, p.z);
        } else if (p.z != 0) {
            t_.insert(t_.begin() + static_cast<std::ptrdiff_t>(i + 2), RealTag(code + 20, p.z));
            ++added;
        }
        return added;
    }
    // Sets the first `code`, adding it at the end of subclass `subclass` (of the own data when
    // the tags have no such marker) when missing.
    void SetReal(int code, double value, std::string_view subclass) {
        const std::size_t i = Find(code);
        if (i != npos)
            SetRealAt(i, value);
        else
            t_.insert(t_.begin() + static_cast<std::ptrdiff_t>(SubclassEnd(subclass)),
                      RealTag(code, value));
    }
    void SetPoint(int code, Point3 p, std::string_view subclass) {
        if (const std::size_t i = Find(code); i != npos) {
            SetPointAt(i, p);
            return;
        }
        const auto at = t_.begin() + static_cast<std::ptrdiff_t>(SubclassEnd(subclass));
        t_.insert(at, {RealTag(code, p.x), RealTag(code + 10, p.y), RealTag(code + 20, p.z)});
    }
    void Scale(int code, double factor) {
        if (const std::size_t i = Find(code); i != npos)
            SetRealAt(i, t_[i].Real() * factor);
    }
    void Remove(int code) {
        if (const std::size_t i = Find(code); i != npos)
            t_.erase(t_.begin() + static_cast<std::ptrdiff_t>(i));
    }

private:
    std::size_t SubclassEnd(std::string_view subclass) const {
        const std::size_t end = End();
        for (std::size_t i = 1; i < end; ++i) {
            if (t_[i].code != 100 || t_[i].value != subclass)
                continue;
            std::size_t k = i + 1;
            while (k < end && t_[k].code != 100)
                ++k;
            return k;
        }
        return end;
    }

    TagList& t_;
};

Point3 NormalOf(const OwnTags& tags) {
    return tags.Point(210, {0, 0, 1});
}

// Sets the normal, leaving the default one unwritten when the entity didn't write it.
void SetNormal(OwnTags& tags, Point3 normal, std::string_view subclass) {
    if (!tags.Has(210) && IsEqualTo(normal, {0, 0, 1}, 1e-12))
        return;
    tags.SetPoint(210, normal, subclass);
}

// Where a plane stands after `m`: its new normal (the cross product of the images of its axes),
// the map from old to new object coordinates and what it does within the plane.
struct PlaneImage {
    Point3 normal;
    Matrix3d toNew;
    Point3 x, y;                // the images of the old axes, in new object coordinates
    double scale = 1;           // the length of x
    double rotation = 0;        // the angle of x, radians
    double thicknessScale = 1;  // what becomes of a length along the old normal, along the new
    bool uniform = true;        // x and y of one length and at right angles
};

PlaneImage ImageOfPlane(const Matrix3d& m, Point3 normal) {
    PlaneImage p;
    const Matrix3d ocs = ObjectToWorld(normal);
    const Point3 x = m.ApplyToVector(ocs.Column(0)), y = m.ApplyToVector(ocs.Column(1));
    p.normal = Normalized(Cross(x, y));
    if (p.normal == Point3{})
        p.normal = {0, 0, 1};
    p.toNew = ObjectToWorld(p.normal).Inverse() * m * ocs;
    p.x = p.toNew.ApplyToVector({1, 0, 0});
    p.y = p.toNew.ApplyToVector({0, 1, 0});
    p.scale = Length(p.x);
    p.rotation = std::atan2(p.x.y, p.x.x);
    p.thicknessScale = p.toNew.ApplyToVector({0, 0, 1}).z;
    const double lx = Length(p.x), ly = Length(p.y);
    p.uniform =
        Near(lx, ly, std::fmax(lx, ly)) && std::fabs(Dot(p.x, p.y)) <= 1e-9 * std::fmax(1, lx * ly);
    return p;
}

// An angle in degrees of `direction` in the plane, in [0, 360).
double Degrees(Point3 direction) {
    double a = std::atan2(direction.y, direction.x) / kDegree;
    if (a < 0)
        a += 360;
    return a >= 360 ? a - 360 : a;
}

double Wrap(double radians) {
    double a = std::fmod(radians, kTwoPi);
    return a < 0 ? a + kTwoPi : a;
}

std::string Name(const TagList& tags) {
    const std::string handle =
        tags.size() > 1 && (tags[1].code == 5 || tags[1].code == 105) ? tags[1].value : "";
    return handle.empty() ? tags[0].value : tags[0].value + " " + handle;
}

base::Status Refuse(const TagList& tags, std::string_view why) {
    return base::Status::Error(fmt::format("{} {}", Name(tags), why));
}

constexpr std::string_view kUneven = "would be scaled unevenly within its plane";

// ---- Entities in world coordinates

void TransformExtrusion(OwnTags& tags, const Matrix3d& m, std::string_view subclass) {
    if (!tags.Has(210) && !tags.Has(39))
        return;
    const Point3 image = m.ApplyToVector(Normalized(NormalOf(tags)));
    const double length = Length(image);
    if (length == 0)
        return;
    tags.Scale(39, length);
    SetNormal(tags, image * (1 / length), subclass);
}

// Every `code` point of the own data (repeated ones too), as points or as directions.
void TransformEach(OwnTags& tags, int code, const Matrix3d& m, bool direction) {
    for (std::size_t i = 1, end = tags.End(); i < end; ++i) {
        if (tags.CodeAt(i) != code)
            continue;
        const Point3 p = tags.PointAt(i);
        end += tags.SetPointAt(i, direction ? m.ApplyToVector(p) : m.Apply(p));
    }
}

base::Status TransformWorldEntity(const std::string& type, OwnTags& tags, const Matrix3d& m) {
    if (type == "LINE") {
        TransformEach(tags, 10, m, false);
        TransformEach(tags, 11, m, false);
        TransformExtrusion(tags, m, "AcDbLine");
    } else if (type == "POINT") {
        TransformEach(tags, 10, m, false);
        TransformExtrusion(tags, m, "AcDbPoint");
    } else if (type == "RAY" || type == "XLINE") {
        TransformEach(tags, 10, m, false);
        if (const std::size_t i = tags.Find(11); i != npos)
            tags.SetPointAt(i, Normalized(m.ApplyToVector(tags.PointAt(i))));
    } else {  // 3DFACE
        for (int code : {10, 11, 12, 13})
            TransformEach(tags, code, m, false);
    }
    return base::Status::Ok();
}

// ---- Circles, arcs and ellipses

// An ellipse as ELLIPSE keeps it: centre and major axis in world coordinates, the ratio of the
// axes and the parameters, from the image of center + cos t u + sin t v for t in [t0, t1].
struct EllipseImage {
    Point3 center, major, normal;
    double ratio = 1, start = 0, end = kTwoPi;
};

bool EllipseOf(Point3 center, Point3 u, Point3 v, double t0, double t1, bool full,
               EllipseImage& e) {
    const double uu = Dot(u, u), vv = Dot(v, v), uv = Dot(u, v);
    // The parameter where the conjugate diameters u, v give the longest axis.
    const double shift = 0.5 * std::atan2(2 * uv, uu - vv);
    const Point3 major = u * std::cos(shift) + v * std::sin(shift);
    const Point3 minor = v * std::cos(shift) - u * std::sin(shift);
    const double length = Length(major);
    e.normal = Normalized(Cross(u, v));
    if (length == 0 || e.normal == Point3{})
        return false;
    e.center = center;
    e.major = major;
    e.ratio = std::fmin(1, Length(minor) / length);
    e.start = full ? 0 : Wrap(t0 - shift);
    e.end = full ? kTwoPi : Wrap(t1 - shift);
    return true;
}

// Replaces the subclass data of a circle, arc or ellipse by that of an ELLIPSE.
void WriteEllipse(TagList& tags, const EllipseImage& e) {
    OwnTags own(tags);
    const std::size_t end = own.End();
    std::size_t data = 1;
    while (data < end && !(tags[data].code == 100 && tags[data].value != "AcDbEntity"))
        ++data;
    TagList out(tags.begin(), tags.begin() + static_cast<std::ptrdiff_t>(data));
    out[0].value = "ELLIPSE";
    out.push_back({100, "AcDbEllipse"});
    for (auto [code, p] :
         {std::pair{10, e.center}, std::pair{11, e.major}, std::pair{210, e.normal}}) {
        out.push_back(RealTag(code, p.x));
        out.push_back(RealTag(code + 10, p.y));
        out.push_back(RealTag(code + 20, p.z));
    }
    out.push_back(RealTag(40, e.ratio));
    out.push_back(RealTag(41, e.start));
    out.push_back(RealTag(42, e.end));
    out.insert(out.end(), tags.begin() + static_cast<std::ptrdiff_t>(end), tags.end());
    tags = std::move(out);
}

base::Status TransformCircle(const std::string& type, TagList& tags, OwnTags& own,
                             const Matrix3d& m, int release) {
    const Point3 normal = NormalOf(own);
    const PlaneImage plane = ImageOfPlane(m, normal);
    const Point3 center = own.Point(10, {});
    const double radius = own.Real(40, 0);
    const bool arc = type == "ARC";
    const double start = arc ? own.Real(50, 0) * kDegree : 0,
                 end = arc ? own.Real(51, 360) * kDegree : kTwoPi;
    if (plane.uniform) {
        own.SetPoint(10, plane.toNew.Apply(center), "AcDbCircle");
        own.Scale(40, plane.scale);
        own.Scale(39, plane.thicknessScale);
        SetNormal(own, plane.normal, "AcDbCircle");
        if (arc) {
            own.SetReal(50,
                        Degrees(plane.toNew.ApplyToVector({std::cos(start), std::sin(start), 0})),
                        "AcDbArc");
            own.SetReal(51, Degrees(plane.toNew.ApplyToVector({std::cos(end), std::sin(end), 0})),
                        "AcDbArc");
        }
        return base::Status::Ok();
    }
    if (release < 1012)
        return Refuse(tags, "would become an ELLIPSE, which R12 drawings lack");
    const Matrix3d ocs = ObjectToWorld(normal);
    EllipseImage e;
    if (!EllipseOf(m.Apply(ocs.Apply(center)), m.ApplyToVector(ocs.Column(0) * radius),
                   m.ApplyToVector(ocs.Column(1) * radius), start, end, !arc, e))
        return Refuse(tags, "would collapse");
    WriteEllipse(tags, e);
    return base::Status::Ok();
}

base::Status TransformEllipse(TagList& tags, OwnTags& own, const Matrix3d& m) {
    const Point3 normal = Normalized(NormalOf(own));
    const Point3 major = own.Point(11, {1, 0, 0});
    const Point3 minor = Cross(normal, major) * own.Real(40, 1);
    const double start = own.Real(41, 0), end = own.Real(42, kTwoPi);
    const bool full = Near(std::fabs(end - start), kTwoPi, kTwoPi);
    EllipseImage e;
    if (!EllipseOf(m.Apply(own.Point(10, {})), m.ApplyToVector(major), m.ApplyToVector(minor),
                   start, end, full, e))
        return Refuse(tags, "would collapse");
    own.SetPoint(10, e.center, "AcDbEllipse");
    own.SetPoint(11, e.major, "AcDbEllipse");
    own.SetPoint(210, e.normal, "AcDbEllipse");
    own.SetReal(40, e.ratio, "AcDbEllipse");
    own.SetReal(41, e.start, "AcDbEllipse");
    own.SetReal(42, e.end, "AcDbEllipse");
    return base::Status::Ok();
}

// ---- Polylines

base::Status TransformLwPolyline(TagList& tags, OwnTags& own, const Matrix3d& m) {
    const PlaneImage plane = ImageOfPlane(m, NormalOf(own));
    const double elevation = own.Real(38, 0);
    const std::size_t end = own.End();
    if (!plane.uniform)
        for (std::size_t i = 1; i < end; ++i)
            if ((own.CodeAt(i) == 42 || own.CodeAt(i) == 40 || own.CodeAt(i) == 41 ||
                 own.CodeAt(i) == 43) &&
                own.RealAt(i) != 0)
                return Refuse(tags, fmt::format("has arcs or widths and {}", kUneven));
    for (std::size_t i = 1; i < end; ++i) {
        const int code = own.CodeAt(i);
        if (code == 10 && i + 1 < end && own.CodeAt(i + 1) == 20) {
            const Point3 p = plane.toNew.Apply({own.RealAt(i), own.RealAt(i + 1), elevation});
            own.SetRealAt(i, p.x);
            own.SetRealAt(i + 1, p.y);
        } else if (code == 40 || code == 41 || code == 43) {
            own.SetRealAt(i, own.RealAt(i) * plane.scale);
        } else if (code == 39) {
            own.SetRealAt(i, own.RealAt(i) * plane.thicknessScale);
        }
    }
    const double newElevation = plane.toNew.Apply({0, 0, elevation}).z;
    if (own.Has(38)) {
        own.SetReal(38, newElevation, "AcDbPolyline");
    } else if (newElevation != 0) {
        // The elevation goes before the vertices, where AutoCAD writes it.
        const std::size_t first = own.Find(10);
        tags.insert(tags.begin() + static_cast<std::ptrdiff_t>(first != npos ? first : own.End()),
                    RealTag(38, newElevation));
    }
    SetNormal(own, plane.normal, "AcDbPolyline");
    return base::Status::Ok();
}

bool IsPlanarPolyline(long long flags) {
    return (flags & (8 | 16 | 64)) == 0;
}

// The POLYLINE itself: its elevation point, normal and default widths.
base::Status TransformPolyline(TagList& tags, OwnTags& own, const Matrix3d& m) {
    if (!IsPlanarPolyline(own.Int(70, 0)))
        return base::Status::Ok();  // its vertices are in world coordinates
    const PlaneImage plane = ImageOfPlane(m, NormalOf(own));
    if (!plane.uniform && (own.Real(40, 0) != 0 || own.Real(41, 0) != 0))
        return Refuse(tags, fmt::format("has widths and {}", kUneven));
    const Point3 elevationPoint = own.Point(10, {});
    own.SetPoint(
        10, {elevationPoint.x, elevationPoint.y, plane.toNew.Apply({0, 0, elevationPoint.z}).z},
        "AcDb2dPolyline");
    own.Scale(40, plane.scale);
    own.Scale(41, plane.scale);
    own.Scale(39, plane.thicknessScale);
    SetNormal(own, plane.normal, "AcDb2dPolyline");
    return base::Status::Ok();
}

base::Status TransformVertex(TagList& tags, OwnTags& own, const Matrix3d& m,
                             const Object& polyline) {
    const std::size_t at = own.Find(10);
    if (!polyline || !IsPlanarPolyline(polyline.GetInt(70, 0))) {
        if (at != npos)
            own.SetPointAt(at, m.Apply(own.PointAt(at)));
        return base::Status::Ok();
    }
    const Point3 normal{polyline.GetReal(210, 0), polyline.GetReal(220, 0),
                        polyline.GetReal(230, 1)};
    const PlaneImage plane = ImageOfPlane(m, normal);
    if (!plane.uniform && (own.Real(42, 0) != 0 || own.Real(40, 0) != 0 || own.Real(41, 0) != 0))
        return Refuse(tags, fmt::format("is a vertex with an arc or widths that {}", kUneven));
    if (at != npos) {
        const Point3 p = own.PointAt(at);
        const Point3 q = plane.toNew.Apply({p.x, p.y, polyline.GetReal(30, 0)});
        own.SetPointAt(at, {q.x, q.y, at + 2 < tags.size() && tags[at + 2].code == 30 ? q.z : 0});
    }
    own.Scale(40, plane.scale);
    own.Scale(41, plane.scale);
    if (const std::size_t i = own.Find(50); i != npos) {
        const double a = own.RealAt(i) * kDegree;
        own.SetRealAt(i, Degrees(plane.toNew.ApplyToVector({std::cos(a), std::sin(a), 0})));
    }
    return base::Status::Ok();
}

base::Status TransformSpline(OwnTags& own, const Matrix3d& m) {
    if (own.Has(210))
        own.SetPoint(210, ImageOfPlane(m, NormalOf(own)).normal, "AcDbSpline");
    TransformEach(own, 10, m, false);
    TransformEach(own, 11, m, false);
    TransformEach(own, 12, m, true);
    TransformEach(own, 13, m, true);
    return base::Status::Ok();
}

// ---- Planar entities in object coordinates

base::Status TransformSolid(OwnTags& own, const Matrix3d& m, std::string_view subclass) {
    const PlaneImage plane = ImageOfPlane(m, NormalOf(own));
    for (int code : {10, 11, 12, 13})
        if (const std::size_t i = own.Find(code); i != npos)
            own.SetPointAt(i, plane.toNew.Apply(own.PointAt(i)));
    own.Scale(39, plane.thicknessScale);
    SetNormal(own, plane.normal, subclass);
    return base::Status::Ok();
}

// The embedded MTEXT of a multi-line attribute or definition: its points are in world
// coordinates, its sizes follow the text.
void TransformEmbeddedText(TagList& tags, const Matrix3d& m, double scale) {
    bool embedded = false;
    for (std::size_t i = 1; i < tags.size() && tags[i].code != 1001; ++i) {
        embedded = embedded || tags[i].code == 101;
        if (!embedded)
            continue;
        OwnTags all(tags);
        const int code = tags[i].code;
        if (code == 10)
            all.SetPointAt(i, m.Apply(all.PointAt(i)));
        else if (code == 11)
            all.SetPointAt(i, Normalized(m.ApplyToVector(all.PointAt(i))));
        else if (code == 40 || code == 41 || code == 46)
            all.SetRealAt(i, tags[i].Real() * scale);
    }
}

base::Status TransformText(TagList& tags, OwnTags& own, const Matrix3d& m) {
    const PlaneImage plane = ImageOfPlane(m, NormalOf(own));
    const double rotation = own.Real(50, 0) * kDegree;
    const Point3 x = plane.toNew.ApplyToVector({std::cos(rotation), std::sin(rotation), 0});
    const Point3 y = plane.toNew.ApplyToVector({-std::sin(rotation), std::cos(rotation), 0});
    const double sx = Length(x), sy = Length(y);
    if (std::fabs(Dot(x, y)) > 1e-9 * std::fmax(1, sx * sy))
        return Refuse(tags, "would be slanted");
    const bool multiLine = own.End() < tags.size() && tags[own.End()].code == 101;
    if (multiLine && !Near(sx, sy, std::fmax(sx, sy)))
        return Refuse(tags, fmt::format("is multi-line text that {}", kUneven));
    if (multiLine)
        TransformEmbeddedText(tags, m, sy);
    const std::string_view subclass = "AcDbText";
    own.SetPoint(10, plane.toNew.Apply(own.Point(10, {})), subclass);
    if (const std::size_t i = own.Find(11); i != npos)
        own.SetPointAt(i, plane.toNew.Apply(own.PointAt(i)));
    own.Scale(40, sy);
    const bool stretched = !Near(sx, sy, std::fmax(sx, sy));
    if (stretched)
        own.SetReal(41, own.Real(41, 1) * sx / sy, subclass);
    if (const std::size_t i = own.Find(51); i != npos && stretched)
        own.SetRealAt(i, std::atan(std::tan(own.RealAt(i) * kDegree) * sx / sy) / kDegree);
    const double newRotation = Degrees(x);
    if (own.Has(50) || newRotation != 0)
        own.SetReal(50, newRotation, subclass);
    own.Scale(39, plane.thicknessScale);
    SetNormal(own, plane.normal, subclass);
    return base::Status::Ok();
}

base::Status TransformMText(TagList& tags, OwnTags& own, const Matrix3d& m) {
    const Point3 normal = Normalized(NormalOf(own));
    Point3 direction = own.Point(11, {});
    if (Length(direction) == 0) {
        const double rotation = own.Real(50, 0) * kDegree;
        direction =
            ObjectToWorld(normal).ApplyToVector({std::cos(rotation), std::sin(rotation), 0});
    }
    direction = Normalized(direction);
    const Point3 x = m.ApplyToVector(direction), y = m.ApplyToVector(Cross(normal, direction));
    const double sx = Length(x), sy = Length(y);
    if (std::fabs(Dot(x, y)) > 1e-9 * std::fmax(1, sx * sy) || !Near(sx, sy, std::fmax(sx, sy)))
        return Refuse(tags, fmt::format("is multi-line text that {}", kUneven));
    const Point3 newNormal = Normalized(Cross(x, y));
    own.SetPoint(10, m.Apply(own.Point(10, {})), "AcDbMText");
    own.SetPoint(11, Normalized(x), "AcDbMText");
    for (int code : {40, 41, 42, 43, 46, 48, 49})
        own.Scale(code, sx);
    if (const std::size_t i = own.Find(50); i != npos && (own.Find(75) == npos || i < own.Find(75)))
        own.SetRealAt(i, Degrees(ObjectToWorld(newNormal).Inverse().ApplyToVector(x)));
    SetNormal(own, newNormal, "AcDbMText");
    return base::Status::Ok();
}

// ---- Hatches

// Walks the boundary paths, pattern and seeds of a HATCH in order, moving every point and
// direction of its plane with `plane`; false when the data doesn't follow the format.
class HatchWalk {
public:
    HatchWalk(TagList& tags, OwnTags& own, const PlaneImage& plane, double elevation)
        : tags_(tags), own_(own), plane_(plane), elevation_(elevation), end_(own.End()) {}

    bool Run(std::size_t from) {
        i_ = from;
        while (i_ < end_ && tags_[i_].code != 91)
            ++i_;
        long long paths = 0;
        if (!Count(91, paths))
            return false;
        for (long long p = 0; p < paths; ++p)
            if (!Path())
                return false;
        // Pattern, seeds and gradient: each value says what it is.
        long long lines = 0, seeds = 0;
        for (; i_ < end_; ++i_) {
            const int code = tags_[i_].code;
            if (code == 52 || code == 53)
                SetDegrees(i_, tags_[i_].Real() + plane_.rotation / kDegree);
            else if (code == 41 || code == 49)
                own_.SetRealAt(i_, tags_[i_].Real() * plane_.scale);
            else if (code == 43 && lines > 0)
                Move(i_, 44, false);
            else if (code == 45 && lines > 0)
                Move(i_, 46, true);
            else if (code == 78)
                lines = tags_[i_].Int();
            else if (code == 98)
                seeds = tags_[i_].Int();
            else if (code == 10 && seeds > 0)
                Move(i_, 20, false);
            else if (code == 460)
                own_.SetRealAt(i_, tags_[i_].Real() + plane_.rotation);
        }
        return true;
    }

private:
    bool At(int code) const { return i_ < end_ && tags_[i_].code == code; }
    bool Count(int code, long long& n) {
        if (!At(code))
            return false;
        n = tags_[i_++].Int();
        return n >= 0;
    }
    void SetDegrees(std::size_t i, double degrees) {
        own_.SetRealAt(i, std::fmod(std::fmod(degrees, 360) + 360, 360));
    }
    // A point (x at `i`, y at `i` + 1 with code `yCode`) of the hatch's plane, or a direction.
    void Move(std::size_t i, int yCode, bool direction) {
        if (i + 1 >= end_ || tags_[i + 1].code != yCode)
            return;
        const Point3 p{tags_[i].Real(), tags_[i + 1].Real(), direction ? 0 : elevation_};
        const Point3 moved = direction ? plane_.toNew.ApplyToVector(p) : plane_.toNew.Apply(p);
        own_.SetRealAt(i, moved.x);
        own_.SetRealAt(i + 1, moved.y);
    }
    // Moves the point or direction that comes next, `code` and `code` + 10; false when it doesn't.
    bool Take(int code, bool direction = false) {
        if (!At(code) || i_ + 1 >= end_ || tags_[i_ + 1].code != code + 10)
            return false;
        Move(i_, code + 10, direction);
        i_ += 2;
        return true;
    }
    void Skip(int code) {
        if (At(code))
            ++i_;
    }
    bool Path() {
        long long flags = 0, count = 0;
        if (!Count(92, flags))
            return false;
        if (flags & 2) {
            Skip(72);
            Skip(73);
            if (!Count(93, count))
                return false;
            for (long long v = 0; v < count; ++v) {
                if (!Take(10))
                    return false;
                Skip(42);
            }
        } else {
            if (!Count(93, count))
                return false;
            for (long long e = 0; e < count; ++e)
                if (!Edge())
                    return false;
        }
        long long sources = 0;
        if (At(97) && !Count(97, sources))
            return false;
        for (long long s = 0; s < sources; ++s)
            Skip(330);
        return true;
    }
    bool Edge() {
        long long type = 0;
        if (!Count(72, type))
            return false;
        switch (type) {
            case 1:
                return Take(10) && Take(11);
            case 2: {
                if (!Take(10) || !At(40))
                    return false;
                own_.SetRealAt(i_, tags_[i_].Real() * plane_.scale);
                ++i_;
                // Clockwise arcs keep their angles as 360 minus the angle: they turn the other way.
                std::size_t start = i_;
                Skip(50);
                Skip(51);
                const bool ccw = !At(73) || tags_[i_].Int() != 0;
                const double turn = plane_.rotation / kDegree * (ccw ? 1 : -1);
                for (std::size_t k = start; k < i_; ++k)
                    SetDegrees(k, tags_[k].Real() + turn);
                Skip(73);
                return true;
            }
            case 3:
                // A similarity keeps the ellipse's parameters: centre and major axis move.
                if (!Take(10) || !Take(11, true))
                    return false;
                Skip(40);
                Skip(50);
                Skip(51);
                Skip(73);
                return true;
            case 4: {
                long long knots = 0, controls = 0, fits = 0;
                Skip(94);
                Skip(73);
                Skip(74);
                if (!Count(95, knots) || !Count(96, controls))
                    return false;
                for (long long k = 0; k < knots; ++k)
                    Skip(40);
                for (long long c = 0; c < controls; ++c) {
                    if (!Take(10))
                        return false;
                    Skip(42);
                }
                if (At(97) && !Count(97, fits))
                    return false;
                for (long long f = 0; f < fits; ++f)
                    if (!Take(11))
                        return false;
                if (At(12) && !Take(12, true))
                    return false;
                if (At(13) && !Take(13, true))
                    return false;
                return true;
            }
            default:
                return false;
        }
    }

    TagList& tags_;
    OwnTags& own_;
    const PlaneImage& plane_;
    const double elevation_;
    const std::size_t end_;
    std::size_t i_ = 0;
};

base::Status TransformHatch(TagList& tags, OwnTags& own, const Matrix3d& m) {
    const PlaneImage plane = ImageOfPlane(m, NormalOf(own));
    if (!plane.uniform)
        return Refuse(tags, kUneven);
    const std::size_t marker = own.Find(100, 1);
    std::size_t data = marker;
    while (data != npos && tags[data].value != "AcDbHatch")
        data = own.Find(100, data + 1);
    if (data == npos)
        return Refuse(tags, "has no hatch data");
    const std::size_t elevationAt = own.Find(10, data);
    const double elevation = elevationAt != npos ? own.PointAt(elevationAt).z : 0;
    TagList original = tags;
    HatchWalk walk(tags, own, plane, elevation);
    if (!walk.Run(data + 1)) {
        tags = std::move(original);
        return Refuse(tags, "has boundary data that could not be read");
    }
    if (elevationAt != npos) {
        const Point3 p = own.PointAt(elevationAt);
        own.SetPointAt(elevationAt, {p.x, p.y, plane.toNew.Apply({0, 0, elevation}).z});
    }
    SetNormal(own, plane.normal, "AcDbHatch");
    return base::Status::Ok();
}

// A nested reference stays one: its axes must stay at right angles after `m`.
base::Status CheckReference(const TagList& tags, OwnTags& own, const Matrix3d& m) {
    const Point3 scale{own.Real(41, 1), own.Real(42, 1), own.Real(43, 1)};
    const Matrix3d frame = BlockTransform({}, scale, own.Real(50, 0) * kDegree, NormalOf(own), {});
    const Point3 x = m.ApplyToVector(frame.Column(0)), y = m.ApplyToVector(frame.Column(1)),
                 z = m.ApplyToVector(frame.Column(2));
    auto square = [](Point3 a, Point3 b) {
        return std::fabs(Dot(a, b)) <= 1e-9 * std::fmax(1, Length(a) * Length(b));
    };
    if (!square(x, y) || !square(y, z) || !square(x, z))
        return Refuse(tags, "is a nested block reference that would be skewed");
    return base::Status::Ok();
}

}  // namespace

base::Status TransformEntityTags(TagList& tags, const Matrix3d& m, const Object& container,
                                 int release) {
    if (tags.empty())
        return base::Status::Error("no entity to transform");
    const std::string type = tags[0].value;
    OwnTags own(tags);
    if (type == "LINE" || type == "POINT" || type == "RAY" || type == "XLINE" || type == "3DFACE")
        return TransformWorldEntity(type, own, m);
    if (type == "CIRCLE" || type == "ARC")
        return TransformCircle(type, tags, own, m, release);
    if (type == "ELLIPSE")
        return TransformEllipse(tags, own, m);
    if (type == "LWPOLYLINE")
        return TransformLwPolyline(tags, own, m);
    if (type == "POLYLINE")
        return TransformPolyline(tags, own, m);
    if (type == "VERTEX")
        return TransformVertex(tags, own, m, container);
    if (type == "SPLINE")
        return TransformSpline(own, m);
    if (type == "SOLID" || type == "TRACE")
        return TransformSolid(own, m, "AcDbTrace");
    if (type == "TEXT" || type == "ATTDEF" || type == "ATTRIB") {
        // The attributes of a nested reference move with it (TransformBy).
        if (type == "ATTRIB" && container)
            return base::Status::Ok();
        return TransformText(tags, own, m);
    }
    if (type == "MTEXT")
        return TransformMText(tags, own, m);
    if (type == "HATCH")
        return TransformHatch(tags, own, m);
    if (type == "INSERT")
        return CheckReference(tags, own, m);
    if (type == "SEQEND")
        return base::Status::Ok();
    return Refuse(tags, "is of a type that cannot be transformed here");
}

}  // namespace cad
