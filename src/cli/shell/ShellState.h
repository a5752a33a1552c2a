#pragma once
// The `state` word of the shell: what the module keeps between commands, as it stands now.

namespace attbat {
class CAttBatApp;
}

namespace cli {

// Prints the numbering state, the dynamic block update list, the link data cache, the session
// log switch, whether `app`'s upload took in all references yet, and each open drawing's handles
// waiting for the upload.
void PrintModuleState(const attbat::CAttBatApp& app);

}  // namespace cli
