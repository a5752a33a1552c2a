#pragma once
// `velmar upload` (Velmar_UploadToExcel).
#include <vector>

#include "attbat/frame/CommandContext.h"

namespace attbat {

// The upload's controls: the stored path option, the answer to the row question, and a dry run.
const std::vector<Control>& UploadControls();
// Asks, compares the workbook's key comments with the current drawing and writes the cells that
// differ; --dry-run only tells them.
CommandStatus UploadToExcelCommand(CommandContext& context);

}  // namespace attbat
