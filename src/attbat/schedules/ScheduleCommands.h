#pragma once
// The small schedules: block counts, attribute definition exchange and point export.

namespace attbat {

class CAttBatApp;

// Gives their commands their work.
void ImplementScheduleCommands(CAttBatApp& app);

}  // namespace attbat
