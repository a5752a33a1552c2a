#pragma once
// The commands of block authoring.

namespace attbat {

class CAttBatApp;

// Gives VelmarInsertBlocks its work.
void ImplementAuthoringCommands(CAttBatApp& app);

}  // namespace attbat
