#pragma once
// Velmar_ExportPoints on the command line: the lines and polylines picked (by handle, or all of
// them), the dialog "Export Points" set from the options, its preview shown and exported.
#include <vector>

#include "attbat/frame/CommandContext.h"

namespace attbat {

// The dialog's controls, the pick and --dry-run.
const std::vector<Control>& ExportPointsControls();
CommandStatus ExportPointsCommand(CommandContext& context);

}  // namespace attbat
