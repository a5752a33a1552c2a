#pragma once
// Velmar_ExportAttDefs and Velmar_importAttDefs on the command line.
#include <vector>

#include "attbat/frame/CommandContext.h"

namespace attbat {

// The dialog's controls and --dry-run.
const std::vector<Control>& ExportAttDefsControls();
// Sets the dialog from the options, presses OK and exports; --dry-run shows the rows instead.
CommandStatus ExportAttDefsCommand(CommandContext& context);
// --dry-run.
const std::vector<Control>& ImportAttDefsControls();
// Reads the active sheet's definition comments and writes them to their drawings.
CommandStatus ImportAttDefsCommand(CommandContext& context);

}  // namespace attbat
