#pragma once
// The command table filled: every subsystem's commands registered with the application, as the
// module does when it loads. The front ends call it once before they run anything.

namespace attbat {

class CAttBatApp;

void ImplementAllCommands(CAttBatApp& app);

}  // namespace attbat
