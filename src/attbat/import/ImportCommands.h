#pragma once
// The import by handle (VelmarInByHandle) and the import's "Options" dialog on its own, each set
// from the values given to its controls.

#include <vector>

#include "attbat/frame/Control.h"

namespace attbat {

class CAttBatApp;

// The import's controls: the dialog's, then the dry run, which lists the changes and writes
// nothing.
const std::vector<Control>& ImportByHandleControls();
// Registers the import by handle, the import by key attribute and the "Options" dialog with the
// application's command table.
void ImplementImportCommands(CAttBatApp& app);

}  // namespace attbat
