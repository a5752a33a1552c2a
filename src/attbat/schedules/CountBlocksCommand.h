#pragma once
// Velmar_CountBlocks on the command line: the dialog "Export Block Count" set from the options,
// its buttons pressed in a user's order.
#include <vector>

#include "attbat/frame/CommandContext.h"

namespace attbat {

// The dialog's controls and --dry-run.
const std::vector<Control>& CountBlocksControls();
// Without a button it shows the list and the combo boxes' choices; with one it counts into the
// running spreadsheet's active cell or recounts its comments.
CommandStatus CountBlocksCommand(CommandContext& context);

}  // namespace attbat
