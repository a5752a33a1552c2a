#pragma once
// `velmar refresh-table`: the wizard's "Update AutoCAD Table" for a table picked by its handle, or
// for every table of the drawing that the export made.

#include <vector>

#include "attbat/frame/Control.h"

namespace attbat {

class CAttBatApp;

// The command's controls: --table HANDLE.
const std::vector<Control>& RefreshTableControls();
// Registers the refresh with the application's command table.
void ImplementRefreshTableCommand(CAttBatApp& app);

}  // namespace attbat
