#pragma once
// The export (VelmarOut): the schedule wizard set from the values given to its controls.

#include <functional>
#include <vector>

#include "attbat/frame/Control.h"

namespace attbat {

class CAttBatApp;
class CAttPreviewPage;

// The export's controls: the wizard's, then the preview button, which prints the table instead
// of exporting it.
const std::vector<Control>& ExportControls();
// A front end that shows the preview in a grid of its own takes the page here, when the preview
// button is pressed, instead of the printed table; an empty function prints again.
void SetPreviewViewer(std::function<void(const CAttPreviewPage&)> viewer);
// Registers the export with the application's command table.
void ImplementExportCommands(CAttBatApp& app);

}  // namespace attbat
