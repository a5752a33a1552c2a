#pragma once
// The references whose dynamic blocks hold dimensions, gathered by the update pass, and
// Velmar_UpdateParamsInDynamicBlocks, which the pass queues to bring them up to date once the
// dialog command has ended.
#include <vector>

#include "attbat/frame/CommandContext.h"
#include "cad/BlockReference.h"

namespace attbat {

// A reference by its drawing and handle: the drawing may have been closed before the list is
// worked, and then the entry names nothing.
struct DynamicBlockUpdateEntry {
    const cad::Database* db = nullptr;
    cad::Handle handle = 0;
};

// The module-wide list, growing until the command empties it (one thread: unguarded).
std::vector<DynamicBlockUpdateEntry>& DynamicBlockUpdateList();
// Adds `reference` to the list.
void AddToDynamicBlockUpdateList(const cad::BlockReference& reference);

// Velmar_UpdateParamsInDynamicBlocks: marks every entity of the block each listed reference
// shows as changed (an entry whose drawing is no longer open is passed over), empties the list
// and queues "REGEN\n" on the current document. Prints nothing.
CommandStatus UpdateParamsInDynamicBlocksCommand(CommandContext& context);

}  // namespace attbat
