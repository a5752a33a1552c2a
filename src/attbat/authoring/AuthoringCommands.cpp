#include "attbat/authoring/AuthoringCommands.h"

#include "attbat/authoring/AddNewAttsCommand.h"
#include "attbat/authoring/DynamicBlockUpdate.h"
#include "attbat/authoring/InsertBlocksCommand.h"
#include "attbat/frame/CAttBatApp.h"

namespace attbat {

void ImplementAuthoringCommands(CAttBatApp& app) {
    app.Implement("VelmarInsertBlocks", {InsertBlocksControls(), "", InsertBlocksCommand});
    app.Implement("Velmar_AddNewAtts", {AddNewAttsControls(), "", AddNewAttsCommand});
    app.Implement("Velmar_UpdateParamsInDynamicBlocks", {{}, "", UpdateParamsInDynamicBlocksCommand});
}

}  // namespace attbat
