#pragma once
// The `state` word of the shell: what the module keeps between commands, as it stands now.

namespace cli {

// Prints the numbering state, the dynamic block update list, the link data cache, the session
// log switch and each open drawing's handles waiting for the upload.
void PrintModuleState();

}  // namespace cli
