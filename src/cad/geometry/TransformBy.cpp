#include "cad/geometry/TransformBy.h"

#include <cmath>

#include "cad/Text.h"

namespace cad {

namespace {

bool Differs(double a, double b) { return std::fabs(a - b) > 1e-12 * std::fmax(1, std::fmax(std::fabs(a), std::fabs(b))); }
bool Differs(Point3 a, Point3 b) { return Differs(a.x, b.x) || Differs(a.y, b.y) || Differs(a.z, b.z); }

// A plane placement: where a planar object stands after `m`, from its world x and y
// directions and a point of it. The normal keeps its side for mirroring transforms.
struct Placement {
    Point3 normal;
    Matrix3d toObject;  // world to the new object coordinates
    Point3 x, y;        // the transformed directions in new object coordinates
};

Placement Place(const Matrix3d& m, Point3 xWorld, Point3 yWorld, double sideSign) {
    Placement p;
    Point3 x = m.ApplyToVector(xWorld), y = m.ApplyToVector(yWorld);
    double det = m.Determinant();
    p.normal = Normalized(Cross(x, y)) * (sideSign * (det < 0 ? -1 : 1));
    if (p.normal == Point3{}) p.normal = {0, 0, 1};
    p.toObject = ObjectToWorld(p.normal).Inverse();
    p.x = p.toObject.ApplyToVector(x);
    p.y = p.toObject.ApplyToVector(y);
    return p;
}

void SetNormal(Entity& e, Point3 normal, std::string_view subclass) {
    Point3 old{e.GetReal(210, 0), e.GetReal(220, 0), e.GetReal(230, 1)};
    if (!Differs(Normalized(old), normal)) return;
    e.SetReal(210, normal.x, subclass);
    e.SetReal(220, normal.y, subclass);
    e.SetReal(230, normal.z, subclass);
}

// The parts of a multi-line attribute that AcDbText does not hold: the alignment point it
// repeats after its own subclass, and its embedded MTEXT (101), whose points are in world
// coordinates.
class MultiLineParts : public Attribute {
public:
    using Attribute::Attribute;

    void Transform(const Matrix3d& m, const Matrix3d& toNew, double stretchX, double stretchY) {
        std::size_t n = TagCount();
        bool attributeData = false, embedded = false;
        for (std::size_t i = 1; i < n; ++i) {
            int code = CodeAt(i);
            if (code == 100) attributeData = TextAt(i) == "AcDbAttribute" || TextAt(i) == "AcDbAttributeDefinition";
            if (code == 101) embedded = true;
            if (code == 1001) break;
            if (!attributeData && !embedded) continue;
            if (code == 11 && !embedded) SetPointAt(i, toNew.Apply(PointAt(i)));
            else if (embedded && code == 10) SetPointAt(i, m.Apply(PointAt(i)));
            else if (embedded && code == 11) SetPointAt(i, Normalized(m.ApplyToVector(PointAt(i))));
            else if (embedded && (code == 40 || code == 46)) SetRealAt(i, RealAt(i) * stretchY);
            else if (embedded && code == 41) SetRealAt(i, RealAt(i) * stretchX);
        }
    }

private:
    Point3 PointAt(std::size_t i) const {
        Point3 p{RealAt(i), 0, 0};
        if (i + 1 < TagCount() && CodeAt(i + 1) == CodeAt(i) + 10) p.y = RealAt(i + 1);
        if (i + 2 < TagCount() && CodeAt(i + 2) == CodeAt(i) + 20) p.z = RealAt(i + 2);
        return p;
    }
    void SetRealAt(std::size_t i, double value) {
        if (Differs(value, RealAt(i))) SetTagText(i, RealText(value));
    }
    void SetPointAt(std::size_t i, Point3 p) {
        SetRealAt(i, p.x);
        if (i + 1 < TagCount() && CodeAt(i + 1) == CodeAt(i) + 10) SetRealAt(i + 1, p.y);
        if (i + 2 < TagCount() && CodeAt(i + 2) == CodeAt(i) + 20) SetRealAt(i + 2, p.z);
    }
};

}  // namespace

void TransformAttribute(Attribute& a, const Matrix3d& m) {
    Point3 oldNormal{a.GetReal(210, 0), a.GetReal(220, 0), a.GetReal(230, 1)};
    Matrix3d ocs = ObjectToWorld(oldNormal);
    double angle = a.Rotation();
    Point3 xWorld = ocs.ApplyToVector({std::cos(angle), std::sin(angle), 0});
    Point3 yWorld = ocs.ApplyToVector({-std::sin(angle), std::cos(angle), 0});
    Placement p = Place(m, xWorld, yWorld, 1);
    Matrix3d toNew = p.toObject * m * ocs;

    Point3 position = toNew.Apply(a.Position());
    bool aligned = a.Has(11);
    Point3 alignment = aligned ? toNew.Apply(a.AlignmentPoint()) : Point3{};
    double stretchX = Length(p.x), stretchY = Length(p.y);
    double height = a.Height() * stretchY;
    double widthFactor = a.GetReal(41, 1) * (stretchY > 0 ? stretchX / stretchY : 1);
    double rotation = std::atan2(p.x.y, p.x.x);

    if (a.IsMTextAttribute()) MultiLineParts(a.GetDatabase(), a.Index()).Transform(m, toNew, stretchX, stretchY);
    SetNormal(a, p.normal, "AcDbText");
    if (Differs(position, a.Position())) a.SetPosition(position);
    if (aligned && Differs(alignment, a.AlignmentPoint())) a.SetAlignmentPoint(alignment);
    if (Differs(height, a.Height())) a.SetHeight(height);
    if (Differs(widthFactor, a.GetReal(41, 1))) a.SetReal(41, widthFactor, "AcDbText");
    if (Differs(std::remainder(rotation - a.Rotation(), 2 * kPi), 0)) a.SetRotation(rotation < 0 ? rotation + 2 * kPi : rotation);
}

base::Status TransformBy(BlockReference& reference, const Matrix3d& m) {
    if (!reference) return base::Status::Error("no block reference to transform");
    if (m.IsIdentity(1e-12)) return base::Status::Ok();
    if (std::fabs(m.Determinant()) < 1e-300)
        return base::Status::Error("block reference " + reference.HandleString() +
                                   " cannot be transformed by a matrix that collapses it");

    Point3 scale = reference.ScaleFactors();
    double rotation = reference.Rotation();
    Matrix3d ocs = ObjectToWorld(reference.Normal());
    Point3 xWorld = ocs.ApplyToVector({std::cos(rotation) * scale.x, std::sin(rotation) * scale.x, 0});
    Point3 yWorld = ocs.ApplyToVector({-std::sin(rotation) * scale.y, std::cos(rotation) * scale.y, 0});
    Point3 zWorld = ocs.ApplyToVector({0, 0, scale.z});
    // The normal of a reference mirrored by its own scales points the same way as before.
    double side = scale.x * scale.y < 0 ? -1 : 1;
    Placement p = Place(m, xWorld, yWorld, side);

    // Keep the sign of the x scale: a mirrored block stays mirrored in x, not turned over.
    double signX = scale.x < 0 ? -1 : 1;
    Point3 xDir = p.x * signX;
    double newRotation = std::atan2(xDir.y, xDir.x);
    double c = std::cos(newRotation), s = std::sin(newRotation);
    Point3 newScale{Length(p.x) * signX, -s * p.y.x + c * p.y.y, Dot(p.toObject.ApplyToVector(m.ApplyToVector(zWorld)), {0, 0, 1})};
    Point3 position = p.toObject.Apply(m.Apply(ocs.Apply(reference.Position())));

    SetNormal(reference, p.normal, "AcDbBlockReference");
    if (Differs(position, reference.Position())) reference.SetPosition(position);
    if (Differs(newScale, scale)) reference.SetScaleFactors(newScale);
    if (Differs(std::remainder(newRotation - rotation, 2 * kPi), 0))
        reference.SetRotation(newRotation < 0 ? newRotation + 2 * kPi : newRotation);

    for (Attribute& attribute : reference.Attributes()) TransformAttribute(attribute, m);
    return base::Status::Ok();
}

}  // namespace cad
