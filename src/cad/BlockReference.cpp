#include "cad/BlockReference.h"

#include <cmath>
#include <numbers>

#include "cad/AttributeTemplate.h"
#include "cad/BlockRecord.h"
#include "cad/Database.h"
#include "cad/geometry/Matrix3d.h"

namespace cad {

namespace {
constexpr double kDegree = std::numbers::pi / 180.0;
}

BlockRecord BlockReference::Block() const {
    std::string scratch;
    return db_ ? db_->FindBlock(GetTextView(2, scratch)) : BlockRecord();
}

// The usual normal is passed over, so the coordinates go through untouched.
Point3 BlockReference::WorldPosition() const {
    const Point3 normal = Normal();
    return normal == Point3{0, 0, 1} ? Position() : ObjectToWorld(normal).Apply(Position());
}

void BlockReference::SetWorldPosition(Point3 p) {
    const Point3 normal = Normal();
    SetPosition(normal == Point3{0, 0, 1} ? p : ObjectToWorld(normal).Inverse().Apply(p));
}

Point3 BlockReference::ScaleFactors() const { return {GetReal(41, 1), GetReal(42, 1), GetReal(43, 1)}; }

void BlockReference::SetScaleFactors(Point3 scale) {
    SetReal(41, scale.x, "AcDbBlockReference");
    SetReal(42, scale.y, "AcDbBlockReference");
    SetReal(43, scale.z, "AcDbBlockReference");
}

double BlockReference::Rotation() const { return GetReal(50, 0) * kDegree; }

void BlockReference::SetRotation(double radians) {
    double degrees = radians / kDegree;
    if (std::fabs(GetReal(50, 0) - degrees) < 1e-12) return;
    SetReal(50, degrees, "AcDbBlockReference");
}

std::vector<Attribute> BlockReference::Attributes() const {
    std::vector<Attribute> out;
    if (!db_) return out;
    const auto& records = db_->records_;
    for (std::uint32_t k = records[index_].next; k != Database::kNone && records[k].parent == index_; k = records[k].next)
        if (db_->TypeIs(k, "ATTRIB")) out.emplace_back(db_, k);
    return out;
}

Attribute BlockReference::FindAttribute(std::string_view tag) const {
    for (const Attribute& a : Attributes())
        if (a.Tag() == tag) return a;
    return Attribute();
}

Attribute BlockReference::AppendAttribute(std::string_view tag, std::string_view value, Point3 position,
                                          double height, int flags) {
    if (!db_) return Attribute();
    const bool r13 = db_->Release() >= 1012;
    TagList tags = SequenceEntityHead("ATTRIB");
    if (r13) tags.push_back({100, "AcDbText"});
    tags.push_back(RealTag(10, position.x));
    tags.push_back(RealTag(20, position.y));
    tags.push_back(RealTag(30, position.z));
    tags.push_back(RealTag(40, height));
    tags.push_back({1, std::string(value)});
    if (r13) tags.push_back({100, "AcDbAttribute"});
    tags.push_back({2, std::string(tag)});
    tags.push_back(IntTag(70, flags));
    return AppendAttributeTags(tags);
}

Attribute BlockReference::AppendAttributeFromDefinition(const AttributeDefinition& def, Point3 offset) {
    return AttributeTemplate(def).AppendTo(*this, offset);
}

Attribute BlockReference::AppendAttributeTags(TagList tags) {
    const std::uint32_t rec = AppendToSequence(std::move(tags));
    if (GetInt(66, 0) != 1) {
        // The flag stands right after the subclass marker, before the block name.
        std::size_t at = Find(2);
        if (Has(66)) SetInt(66, 1);
        else InsertTag(at == std::string::npos ? OwnDataEnd() : at, Tag{66, "1"});
    }
    return Attribute(db_, rec);
}

}  // namespace cad
