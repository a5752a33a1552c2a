#pragma once
// `velmar insert-blocks` (VelmarInsertBlocks): the dialog "Insert / Update Blocks" driven by the
// values of its controls, the sheet read, and the insertion or update pass.
#include <vector>

#include "attbat/frame/CommandContext.h"

namespace attbat {

// The dialog's controls, then the command's own: --update, --insertion-point, --search-path,
// --dry-run.
const std::vector<Control>& InsertBlocksControls();
CommandStatus InsertBlocksCommand(CommandContext& context);

}  // namespace attbat
