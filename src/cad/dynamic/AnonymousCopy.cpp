#include "cad/dynamic/AnonymousCopy.h"

#include <cmath>
#include <string>
#include <vector>

#include "cad/Database.h"
#include "cad/DeepCloner.h"
#include "cad/GroupCode.h"
#include "cad/IdMapping.h"

namespace cad::dynamic {

namespace {

constexpr std::string_view kRepApp = "AcDbBlockRepBTag";

// An entity's tags as a copy compares them: type first, without its handle, owner, reactors,
// extension dictionary and whatever else points at other objects.
TagList Comparable(TagList tags) {
    TagList out;
    bool inGroup = false;
    for (Tag& tag : tags) {
        if (tag.code == 102) {
            inGroup = !tag.value.empty() && tag.value[0] == '{';
            continue;
        }
        if (inGroup || tag.code == 5 || IsPointerCode(tag.code) || tag.code == 1005)
            continue;
        out.push_back(std::move(tag));
    }
    return out;
}

bool SameValues(const TagList& a, const TagList& b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i].code != b[i].code)
            return false;
        if (KindOfCode(a[i].code) == ValueKind::Double) {
            const double x = a[i].Real(), y = b[i].Real();
            if (std::fabs(x - y) > 1e-9 * std::max(1.0, std::fabs(x)))
                return false;
        } else if (a[i].value != b[i].value) {
            return false;
        }
    }
    return true;
}

TagList WithType(const Entity& entity) {
    TagList tags = entity.Tags();
    tags.insert(tags.begin(), Tag{0, entity.Type()});
    return tags;
}

// The next "*U" name no block has.
std::string FreeAnonymousName(Database& db) {
    long long highest = 0;
    for (const BlockRecord& block : db.Blocks()) {
        const std::string name = block.Name();
        if (name.size() > 2 && (name[1] == 'U' || name[1] == 'u') && name[0] == '*')
            highest = std::max(highest, std::atoll(name.c_str() + 2));
    }
    for (long long n = highest + 1;; ++n) {
        std::string name = "*U" + std::to_string(n);
        if (!db.FindBlock(name))
            return name;
    }
}

}  // namespace

BlockRecord DefinitionOfCopy(const BlockRecord& block) {
    if (!block || !block.IsAnonymous())
        return {};
    Object record = block.Record();
    if (!record)
        return {};
    for (const Tag& tag : record.Xdata(kRepApp)) {
        if (tag.code != 1005)
            continue;
        Database& db = *block.GetDatabase();
        Object named = db.ObjectByHandle(tag.AsHandle());
        if (!named || named.Type() != "BLOCK_RECORD")
            return {};
        BlockRecord definition = db.FindBlock(named.GetText(2));
        return definition && definition.GetHandle() == tag.AsHandle() ? definition : BlockRecord();
    }
    return {};
}

base::Result<BlockRecord> AnonymousCopyOf(const BlockRecord& definition,
                                          const BlockEvaluation& evaluation,
                                          const BlockRecord& current) {
    if (!definition)
        return base::Status::Error("no dynamic block");
    Database& db = *definition.GetDatabase();
    const int release = db.Release();
    const std::vector<Entity> entities = definition.Entities();
    std::vector<TagList> wanted;
    for (const Entity& entity : entities) {
        TagList tags = WithType(entity);
        if (base::Status status = evaluation.Apply(entity, tags, release); !status)
            return status;
        wanted.push_back(Comparable(std::move(tags)));
    }

    std::vector<BlockRecord> candidates;
    if (current)
        candidates.push_back(current);
    for (const BlockRecord& block : db.Blocks())
        candidates.push_back(block);
    for (const BlockRecord& block : candidates) {
        if (block.IsErased() || !(DefinitionOfCopy(block) == definition))
            continue;
        const std::vector<Entity> shown = block.Entities();
        if (shown.size() != wanted.size())
            continue;
        bool same = true;
        for (std::size_t i = 0; same && i < shown.size(); ++i)
            same = SameValues(Comparable(WithType(shown[i])), wanted[i]);
        if (same)
            return block;
    }

    const Point3 base = definition.BasePoint();
    auto made = db.CreateBlock(FreeAnonymousName(db), base.x, base.y, base.z);
    if (!made)
        return made;
    BlockRecord copy = *made;
    if (Object record = copy.Record()) {
        if (base::Status status =
                record.SetXdata(kRepApp, {IntTag(1070, 1), Tag{1005, HandleText(definition.GetHandle())}});
            !status) {
            db.EraseBlock(copy);
            return status;
        }
    }
    IdMapping mapping;
    mapping.Assign(definition.GetHandle(), copy.GetHandle(), false);
    DeepCloner cloner(db, db, mapping);
    cloner.PlanEntities(entities);
    cloner.SetEntityEdit([&evaluation, release](const Entity& source, TagList& tags) {
        evaluation.Apply(source, tags, release);  // tried above
    });
    if (base::Status status = cloner.Run(copy); !status) {
        db.EraseBlock(copy);
        return status;
    }
    return copy;
}

}  // namespace cad::dynamic
