#include "cad/AttributeSync.h"

#include <cstddef>
#include <vector>

#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/Text.h"
#include "cad/geometry/EntityTransform.h"
#include "cad/geometry/Matrix3d.h"

namespace cad {

namespace {

// An attribute whose record is written anew from a tag list: the only way to place one made in
// block coordinates under its reference without moving it through the reference's other
// attributes.
class RewrittenAttribute : public Object {
public:
    using Object::Object;
    // `tags` after the type, as Tags() gives them.
    void Rewrite(const TagList& tags) {
        EraseTags(1, TagCount() - 1);
        for (std::size_t i = 0; i < tags.size(); ++i) InsertTag(1 + i, tags[i]);
    }
};

// A reference that hands out the new handle of an attribute record of its own.
class SequenceOwner : public BlockReference {
public:
    explicit SequenceOwner(const BlockReference& reference) : BlockReference(reference) {}
    std::string NewAttributeHandle() {
        for (const Tag& tag : SequenceEntityHead("ATTRIB")) {
            if (tag.code == 5) return tag.value;
        }
        return {};
    }
};

// The whole record of an attribute: its type, then Tags().
TagList RecordOf(const Attribute& attribute) {
    TagList tags{{0, "ATTRIB"}};
    TagList rest = attribute.Tags();
    tags.insert(tags.end(), rest.begin(), rest.end());
    return tags;
}

// Makes the attribute of `def` under `reference`: made at the definition's place in block
// coordinates, then carried by the reference's block transform. Where that transform can't
// carry it (text it would slant), it only moves with the insertion point.
Attribute MakeAttribute(BlockReference& reference, const AttributeDefinition& def) {
    const Matrix3d m = BlockTransform(reference);
    Attribute made = reference.AppendAttributeFromDefinition(def);
    if (!made || m.IsIdentity(1e-12)) return made;
    TagList tags = RecordOf(made);
    if (TransformEntityTags(tags, m, Object(), reference.GetDatabase()->Release())) {
        RewrittenAttribute(made.GetDatabase(), made.Index()).Rewrite(TagList(tags.begin() + 1, tags.end()));
        return made;
    }
    made.Erase();
    const Point3 base = reference.Block().BasePoint();
    const Point3 at = reference.WorldPosition();
    return reference.AppendAttributeFromDefinition(def, {at.x - base.x, at.y - base.y, at.z - base.z});
}

// Writes `attribute` again behind the reference's last attribute, with a new handle; the old
// record is erased.
void MoveToEnd(BlockReference& reference, Attribute attribute) {
    TagList tags = RecordOf(attribute);
    for (Tag& tag : tags) {
        if (tag.code == 5) {
            tag.value = SequenceOwner(reference).NewAttributeHandle();
            break;
        }
    }
    attribute.Erase();
    reference.AppendAttributeTags(std::move(tags));
}

// Brings one reference in line with `defs` (the block's non-constant definitions).
void SyncReference(BlockReference& reference, const std::vector<AttributeDefinition>& defs,
                   AttributeSyncReport& report) {
    std::vector<Attribute> attributes = reference.Attributes();
    std::vector<bool> used(attributes.size(), false);
    // The attribute answering each definition: the n-th of its tag for the n-th definition.
    std::vector<int> answer(defs.size(), -1);
    for (std::size_t d = 0; d < defs.size(); ++d) {
        const std::string tag = defs[d].Tag();
        for (std::size_t a = 0; a < attributes.size(); ++a) {
            if (used[a] || attributes[a].Tag() != tag) continue;
            used[a] = true;
            answer[d] = static_cast<int>(a);
            break;
        }
    }
    const AttributeSyncReport before = report;
    for (std::size_t a = 0; a < attributes.size(); ++a) {
        if (used[a]) continue;
        attributes[a].Erase();
        ++report.removed;
    }
    // The kept attributes in the order they stand; those that already follow the definitions'
    // order from the start stay where they are.
    std::vector<int> kept;
    for (std::size_t a = 0; a < attributes.size(); ++a) {
        if (used[a]) kept.push_back(static_cast<int>(a));
    }
    std::size_t inPlace = 0;
    bool appending = false;
    for (std::size_t d = 0; d < defs.size(); ++d) {
        if (!appending && answer[d] >= 0 && inPlace < kept.size() && kept[inPlace] == answer[d]) {
            ++inPlace;
            continue;
        }
        appending = true;
        if (answer[d] >= 0) {
            MoveToEnd(reference, attributes[static_cast<std::size_t>(answer[d])]);
            ++report.moved;
        } else if (MakeAttribute(reference, defs[d])) {
            ++report.added;
        }
    }
    ++report.references;
    if (report.added != before.added || report.removed != before.removed || report.moved != before.moved)
        ++report.changed;
}

}  // namespace

base::Result<AttributeSyncReport> SyncAttributes(const BlockRecord& block) {
    if (!block) return base::Status::Error("no block to synchronise the attributes of");
    std::vector<AttributeDefinition> defs;
    for (const AttributeDefinition& def : block.AttributeDefinitions()) {
        if (!def.IsConstant()) defs.push_back(def);
    }
    AttributeSyncReport report;
    for (BlockReference reference : block.References()) {
        if (reference.IsErased()) continue;
        SyncReference(reference, defs, report);
    }
    return report;
}

}  // namespace cad
