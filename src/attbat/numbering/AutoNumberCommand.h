#pragma once
// Velmar_AutoNumber: running numbers into an attribute of block references and into texts, on
// the command line alone.

#include <vector>

#include "attbat/frame/CommandContext.h"

namespace attbat {

class CAttBatApp;

// --selection (the first selection, before the prompt) and --dry-run.
const std::vector<Control>& AutoNumberControls();
CommandStatus AutoNumberCommand(CommandContext& context);
// Gives Velmar_AutoNumber its work.
void ImplementNumberingCommands(CAttBatApp& app);

}  // namespace attbat
