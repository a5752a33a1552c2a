#pragma once
// The export (VelmarOut): the schedule wizard set from the values given to its controls.

#include <vector>

#include "attbat/frame/Control.h"

namespace attbat {

class CAttBatApp;

// The export's controls: the wizard's, then the preview button, which prints the table instead
// of exporting it.
const std::vector<Control>& ExportControls();
// Registers the export with the application's command table.
void ImplementExportCommands(CAttBatApp& app);

}  // namespace attbat
