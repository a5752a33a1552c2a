#pragma once
// `velmar import-by-handle` (VelmarInByHandle): the import dialog driven from the command line.

namespace attbat {

class CAttBatApp;

// Registers the handler of VelmarInByHandle with the application's command table.
void ImplementImportCommands(CAttBatApp& app);

}  // namespace attbat
