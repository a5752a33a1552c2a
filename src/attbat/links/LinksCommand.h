#pragma once
// `velmar links` (Velmar_Links): the dialog "Links" driven by the values of its controls, then
// the drawing's linked workbooks listed.
#include <vector>

#include "attbat/frame/CommandContext.h"

namespace attbat {

// The dialog's controls.
const std::vector<Control>& LinksControls();
// Picks the link given, presses "Update Link" or "Break Link" when asked, sets the two options
// and presses OK. Fails when a button was stopped (cancelled when the user said no); refuses
// a button without a picked link, or a link the drawing doesn't have.
CommandStatus LinksCommand(CommandContext& context);

}  // namespace attbat
