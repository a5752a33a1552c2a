#pragma once
// `velmar upload` (Velmar_UploadToExcel) and the automatic upload the editor reactor runs.
#include <vector>

#include "attbat/frame/Control.h"

namespace attbat {

class CAttBatApp;

// The upload's controls: the stored path option, the answer to the row question, and a dry run.
const std::vector<Control>& UploadControls();
// Gives Velmar_UploadToExcel its work and the module its automatic upload.
void ImplementLinkCommands(CAttBatApp& app);

}  // namespace attbat
