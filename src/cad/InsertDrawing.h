#pragma once
// Inserting a whole drawing as a block of another, as a CAD host's insert of a database under a
// block name does.

#include <string_view>

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/IdMapping.h"

namespace cad {

class Database;

// Makes block `blockName` in `target` holding copies of the model-space entities of `source`
// (paper space stays behind), its base point the source's $INSBASE, with the model space's draw
// order and everything the entities need copied as CloneBlock copies it (same rules, same
// mapping, given back in `mapping` when not null; the source's model space maps to the new
// block). The source is never changed. Fails, leaving the target as it was, for an empty name,
// a name the target has already (the message names it), and what CloneBlock refuses.
base::Result<BlockRecord> InsertDrawingAsBlock(const Database& source, Database& target,
                                               std::string_view blockName,
                                               IdMapping* mapping = nullptr);

}  // namespace cad
