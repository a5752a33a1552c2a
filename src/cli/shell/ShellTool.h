#pragma once
// `velmar shell`: the host's command line. Commands typed by local name or alias with their
// options, the drawings of the session open between them; from the terminal with line editing,
// history and completion, or from a script on standard input for batch use.

#include <string>
#include <vector>

namespace attbat {
class CAttBatApp;
}

namespace cli {

std::string ShellUsageText();
// Runs a session with `args` (the global options, and a drawing to open first); the exit status
// is 0 when every command succeeded.
int RunShellTool(const std::vector<std::string>& args, attbat::CAttBatApp& app);

}  // namespace cli
