#include "cad/geometry/Explode.h"

#include <cmath>

#include <fmt/format.h>

#include "base/Text.h"
#include "cad/Curves.h"
#include "cad/Database.h"
#include "cad/DeepCloner.h"
#include "cad/geometry/EntityTransform.h"
#include "cad/geometry/Matrix3d.h"
#include "cad/geometry/TransformBy.h"

namespace cad {
namespace {

// What a piece takes from the reference: its layer for layer "0", its colour, line type and
// line weight for BYBLOCK.
struct Inherited {
    std::string layer, color, trueColor, linetype, lineweight;
};

void TakeFromReference(TagList& tags, const Inherited& from) {
    for (std::size_t i = 1; i < tags.size() && tags[i].code != 1001 && tags[i].code != 101; ++i) {
        Tag& t = tags[i];
        if (t.code == 102 && !t.value.empty() && t.value[0] == '{') {
            while (++i < tags.size() && tags[i].code != 102) {
            }
            continue;
        }
        if (t.code == 8 && t.value == "0") {
            t.value = from.layer;
        } else if (t.code == 62 && t.Int() == 0) {
            t.value = from.color;
            if (!from.trueColor.empty())
                tags.insert(tags.begin() + static_cast<std::ptrdiff_t>(++i),
                            Tag{420, from.trueColor});
        } else if (t.code == 6 && base::EqualNoCase(t.value, "BYBLOCK")) {
            t.value = from.linetype;
        } else if (t.code == 370 && t.Int() == -2) {
            t.value = from.lineweight;
        }
    }
}

}  // namespace

base::Result<std::vector<Entity>> ExplodeInto(const BlockReference& reference, BlockRecord space,
                                              bool withAttributeDefinitions) {
    if (!reference || reference.IsErased())
        return base::Status::Error("no block reference to explode");
    const std::string what = fmt::format("{} {}", reference.Type(), reference.HandleString());
    auto refuse = [&what](std::string_view why) {
        return base::Status::Error(fmt::format("{} cannot be exploded: {}", what, why));
    };
    if (reference.IsMInsert())
        return refuse("a MINSERT stands for its block in rows and columns");
    const BlockRecord block = reference.Block();
    if (!block)
        return refuse(fmt::format("the drawing has no block \"{}\"", reference.BlockName()));
    if (block.IsExternalReference())
        return refuse(fmt::format("block \"{}\" is an external reference", block.Name()));
    if (block.Record().GetInt(280, 1) == 0)
        return refuse(fmt::format("block \"{}\" is marked as not explodable", block.Name()));
    // LibreCAD writes a z scale of 0 for flat blocks, which still show: it reads as 1.
    Point3 scale = reference.ScaleFactors();
    if (scale.z == 0)
        scale.z = 1;
    const Matrix3d m = BlockTransform(reference.Position(), scale, reference.Rotation(),
                                      reference.Normal(), block.BasePoint());
    if (std::fabs(m.Determinant()) < 1e-300)
        return refuse("a scale factor of 0 collapses it");
    Database& db = *reference.GetDatabase();
    if (!space)
        space = reference.OwnerBlock();
    if (!space || space.GetDatabase() != &db)
        return refuse("the pieces need a space of the same drawing");

    // Every piece is tried on its own tags first, so that a refusal changes nothing.
    std::vector<Entity> pieces;
    for (const Entity& e : block.Entities()) {
        const std::string type = e.Type();
        if (type == "ATTDEF" && !withAttributeDefinitions)
            continue;
        auto check = [&](const Entity& entity, const Object& container) {
            TagList tags = entity.Tags();
            tags.insert(tags.begin(), Tag{0, entity.Type()});
            return TransformEntityTags(tags, m, container, db.Release());
        };
        base::Status status = check(e, Object());
        if (status && type == "POLYLINE")
            for (const Vertex& v : Polyline(&db, e.Index()).Vertices())
                if (status)
                    status = check(v, e);
        if (!status)
            return refuse(status.Message());
        pieces.push_back(e);
    }

    const Inherited inherited{reference.LayerName(), reference.GetText(62, "256"),
                              reference.GetText(420), reference.GetText(6, "BYLAYER"),
                              reference.GetText(370, "-1")};
    IdMapping mapping;
    if (block.Record() && space.GetHandle())
        mapping.Assign(block.GetHandle(), space.GetHandle(), false);
    DeepCloner cloner(db, db, mapping);
    cloner.PlanEntities(pieces);
    cloner.SetEntityEdit(
        [&m, &inherited, release = db.Release()](const Entity& source, TagList& tags) {
            TransformEntityTags(tags, m, source.Container(), release);  // tried above
            TakeFromReference(tags, inherited);
        });
    base::Status status = cloner.Run(space);
    if (!status)
        return refuse(status.Message());
    std::vector<Entity> copies = cloner.Copies();
    for (const Entity& copy : copies) {
        if (copy.Type() != "INSERT")
            continue;
        BlockReference nested(copy.GetDatabase(), copy.Index());
        TransformBy(nested, m);
    }
    return copies;
}

}  // namespace cad
