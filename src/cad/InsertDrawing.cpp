#include "cad/InsertDrawing.h"

#include <memory>

#include <fmt/format.h>

#include "cad/Database.h"
#include "cad/DeepCloner.h"

namespace cad {

base::Result<BlockRecord> InsertDrawingAsBlock(const Database& source, Database& target,
                                               std::string_view blockName, IdMapping* mapping) {
    if (blockName.empty())
        return base::Status::Error("a drawing inserted as a block needs a block name");
    if (target.FindBlock(blockName))
        return base::Status::Error(
            fmt::format("{} has a block \"{}\" already; choose another name for {}",
                        target.FileName(), blockName, source.FileName()));
    // Only read: the views of the source need a database they could write through.
    Database& sourceDb = const_cast<Database&>(source);
    std::unique_ptr<Database> upgraded;
    auto from = CloneSource(sourceDb, target, upgraded);
    if (!from)
        return from.GetStatus();
    Database& db = **from;
    IdMapping local;
    IdMapping& map = mapping ? *mapping : local;

    // The model space and its extension dictionary stand for the new block and its dictionary,
    // which are made only once the plan has passed its checks.
    BlockRecord model = db.ModelSpace();
    const Handle modelKey = model.GetHandle();
    Object sortents = model.Record().ExtensionDictionary().Get("ACAD_SORTENTS");
    const Handle dictKey = sortents ? sortents.OwnerHandle() : 0;
    const bool hadModel = map.Contains(modelKey), hadDict = map.Contains(dictKey);
    if (modelKey && !hadModel)
        map.Assign(modelKey, 0, false);
    if (dictKey && !hadDict)
        map.Assign(dictKey, 0, false);

    DeepCloner cloner(db, target, map);
    cloner.PlanEntities(model.Entities());
    if (sortents)
        cloner.PlanObjectInto(sortents, "ACAD_SORTENTS");
    base::Status status = cloner.Check();
    if (!status) {
        if (modelKey && !hadModel)
            map.Erase(modelKey);
        if (dictKey && !hadDict)
            map.Erase(dictKey);
        return status;
    }

    TagList insbase = db.Header("$INSBASE");
    Point3 base;
    for (const Tag& t : insbase) {
        if (t.code == 10)
            base.x = t.Real();
        else if (t.code == 20)
            base.y = t.Real();
        else if (t.code == 30)
            base.z = t.Real();
    }
    auto block = target.CreateBlock(blockName, base.x, base.y, base.z);
    if (!block)
        return block.GetStatus();
    if (modelKey)
        map.Assign(modelKey, block->GetHandle(), false);
    if (dictKey) {
        auto dict = block->Record().GetOrCreateExtensionDictionary();
        if (dict)
            map.Assign(dictKey, dict->GetHandle(), false);
    }
    cloner.Make(*block);
    if (upgraded)
        KeepPairsOf(sourceDb, map);
    return *block;
}

}  // namespace cad
