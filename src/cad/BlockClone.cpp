#include "cad/BlockClone.h"

#include <memory>

#include <fmt/format.h>

#include "cad/Database.h"
#include "cad/DeepCloner.h"

namespace cad {

base::Result<BlockRecord> CloneBlock(const BlockRecord& source, Database& target,
                                     IdMapping* mapping) {
    if (!source || source.IsErased())
        return base::Status::Error("no block to clone");
    Database& sourceDb = *source.GetDatabase();
    const std::string name = source.Name();
    if (source.IsLayout())
        return base::Status::Error(
            fmt::format("\"{}\" of {} is a layout, not a block: it cannot be cloned", name,
                        sourceDb.FileName()));
    IdMapping local;
    IdMapping& map = mapping ? *mapping : local;
    // Duplicate records are ignored: the target's block of that name stands.
    if (name.front() != '*') {
        if (BlockRecord existing = target.FindBlock(name)) {
            if (source.GetHandle() && existing.GetHandle())
                map.Assign(source.GetHandle(), existing.GetHandle(), false);
            return existing;
        }
    }
    std::unique_ptr<Database> upgraded;
    auto from = CloneSource(sourceDb, target, upgraded);
    if (!from)
        return from.GetStatus();
    const BlockRecord block = upgraded ? upgraded->FindBlock(name) : source;
    DeepCloner cloner(**from, target, map);
    cloner.PlanBlock(block);
    base::Status status = cloner.Run();
    if (!status)
        return status;
    if (upgraded)
        KeepPairsOf(sourceDb, map);
    BlockRecord copy = cloner.TargetBlock(block);
    if (!copy)
        return base::Status::Error(
            fmt::format("block \"{}\" could not be cloned into {}", name, target.FileName()));
    return copy;
}

}  // namespace cad
