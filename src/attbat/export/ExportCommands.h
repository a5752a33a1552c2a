#pragma once
// `velmar export` (VelmarOut): the schedule wizard driven from the command line.

namespace attbat {

class CAttBatApp;

// Registers the handler of VelmarOut with the application's command table.
void ImplementExportCommands(CAttBatApp& app);

}  // namespace attbat
