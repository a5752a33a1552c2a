#pragma once
// The commands of block authoring.

namespace attbat {

class CAttBatApp;

// Gives VelmarInsertBlocks, Velmar_AddNewAtts and Velmar_UpdateParamsInDynamicBlocks their work.
void ImplementAuthoringCommands(CAttBatApp& app);

}  // namespace attbat
