#include "attbat/commands/AllCommands.h"

#include "attbat/authoring/AuthoringCommands.h"
#include "attbat/cellblock/CellBlockCommands.h"
#include "attbat/export/ExportCommands.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/import/ImportCommands.h"
#include "attbat/links/LinkCommands.h"
#include "attbat/numbering/AutoNumberCommand.h"
#include "attbat/schedules/ScheduleCommands.h"
#include "attbat/update/UpdateCommands.h"

namespace attbat {

void ImplementAllCommands(CAttBatApp& app) {
    ImplementExportCommands(app);
    ImplementImportCommands(app);
    ImplementLinkCommands(app);
    ImplementAuthoringCommands(app);
    ImplementScheduleCommands(app);
    ImplementUpdateCommands(app);
    ImplementCellBlockCommands(app);
    ImplementNumberingCommands(app);
}

}  // namespace attbat
