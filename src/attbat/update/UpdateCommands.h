#pragma once
// The update check's command, Velmar_Live_Update.

namespace attbat {

class CAttBatApp;

// Gives the command its work.
void ImplementUpdateCommands(CAttBatApp& app);

}  // namespace attbat
