#pragma once
// Velmar_Help (`velmar help [COMMAND]`): the commands, or the options of one, as the command line
// reaches them.

namespace attbat {
class CAttBatApp;
}

namespace cli {

// Gives Velmar_Help of `app` its work.
void ImplementHelpCommand(attbat::CAttBatApp& app);

}  // namespace cli
