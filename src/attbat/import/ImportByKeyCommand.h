#pragma once
// The import by key attribute (VelmarInByVal) as a command: its dialog set from the values given
// to its controls, "Start", then the import, or in a dry run the list of what it would change.

#include <vector>

#include "attbat/frame/CommandContext.h"

namespace attbat {

// The dialog's controls, then the dry run and the number of drawings worked on at once.
const std::vector<Control>& ImportByKeyControls();
// Runs the command; the words after it are drawings for the drawing list.
CommandStatus ImportByKeyValue(CommandContext& context);

}  // namespace attbat
