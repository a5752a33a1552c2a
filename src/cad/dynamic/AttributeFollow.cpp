#include "cad/dynamic/AttributeFollow.h"

#include <cmath>
#include <string>

#include "cad/Database.h"
#include "cad/Text.h"
#include "cad/dynamic/GraphTags.h"
#include "cad/geometry/Matrix3d.h"
#include "cad/geometry/TransformBy.h"

namespace cad::dynamic {

namespace {

// Where an evaluated attribute definition stands: the point its text hangs on (the alignment
// point of aligned text), its rotation (radians), height and visibility.
struct Placing {
    Point3 point;
    double rotation = 0;
    double height = 1;
    bool visible = true;
};

Placing PlacingOf(const TagList& tags) {
    Placing out;
    TagList text = Section(tags, "AcDbText");
    const Tag* horizontal = FindTag(text, 72);
    const TagList own = Section(tags, "AcDbAttributeDefinition");
    const Tag* vertical = FindTag(own, 74);
    const bool aligned = (horizontal && horizontal->Int() != 0) || (vertical && vertical->Int() != 0);
    if (!(aligned && PointOf(text, 11, out.point)))
        PointOf(text, 10, out.point);
    if (const Tag* rotation = FindTag(text, 50))
        out.rotation = rotation->Real() * std::acos(-1.0) / 180;
    if (const Tag* height = FindTag(text, 40))
        out.height = height->Real();
    const TagList entity = Section(tags, "AcDbEntity");
    const Tag* hidden = FindTag(entity, 60);
    out.visible = !hidden || hidden->Int() == 0;
    return out;
}

Placing Evaluated(const Entity& definition, const BlockEvaluation& evaluation, int release) {
    TagList tags = definition.Tags();
    tags.insert(tags.begin(), Tag{0, definition.Type()});
    evaluation.Apply(definition, tags, release);  // already applied once to make the block
    return PlacingOf(tags);
}

}  // namespace

void FollowAttributes(BlockReference& reference, const BlockRecord& definition,
                      const BlockEvaluation& before, const BlockEvaluation& after) {
    std::vector<Attribute> attributes = reference.Attributes();
    if (attributes.empty())
        return;
    const int release = reference.GetDatabase()->Release();
    const Matrix3d block = BlockTransform(reference);
    const Matrix3d toBlock = block.Inverse();
    for (const AttributeDefinition& def : definition.AttributeDefinitions()) {
        const Placing was = Evaluated(def, before, release);
        const Placing is = Evaluated(def, after, release);
        for (Attribute& attribute : attributes) {
            if (attribute.Tag() != def.Tag())
                continue;
            const double k = was.height > 0 ? is.height / was.height : 1.0;
            const Matrix3d inBlock = Matrix3d::Translation(is.point) *
                                     Matrix3d::Rotation(is.rotation - was.rotation, Point3{0, 0, 1}) *
                                     Matrix3d::Scaling(k) * Matrix3d::Translation(-was.point);
            if (!inBlock.IsIdentity())
                TransformAttribute(attribute, block * inBlock * toBlock);
            if (was.visible != is.visible && attribute.IsVisible() != is.visible)
                attribute.SetVisible(is.visible);
            break;
        }
    }
}

}  // namespace cad::dynamic
