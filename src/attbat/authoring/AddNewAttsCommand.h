#pragma once
// Velmar_AddNewAtts on the command line: the attribute rows of the running spreadsheet's active
// sheet added to the blocks named, then the references synchronised.
#include <vector>

#include "attbat/frame/CommandContext.h"

namespace attbat {

// The dialog's controls and --dry-run.
const std::vector<Control>& AddNewAttsControls();
// Without a block it shows the rows read and the blocks offered; with blocks it adds and saves.
CommandStatus AddNewAttsCommand(CommandContext& context);

}  // namespace attbat
