#include "attbat/schedules/ScheduleCommands.h"

#include "attbat/frame/CAttBatApp.h"
#include "attbat/schedules/AttDefCommands.h"
#include "attbat/schedules/CountBlocksCommand.h"
#include "attbat/schedules/ExportPointsCommand.h"

namespace attbat {

void ImplementScheduleCommands(CAttBatApp& app) {
    app.Implement("Velmar_CountBlocks", {CountBlocksControls(), "", CountBlocksCommand});
    app.Implement("Velmar_ExportAttDefs", {ExportAttDefsControls(), "", ExportAttDefsCommand});
    app.Implement("Velmar_importAttDefs", {ImportAttDefsControls(), "", ImportAttDefsCommand});
    app.Implement("Velmar_ExportPoints", {ExportPointsControls(), "", ExportPointsCommand});
}

}  // namespace attbat
