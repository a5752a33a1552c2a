// velmar: the command line of Velmar for Linux.

#include <string>
#include <vector>

#include "attbat/commands/AllCommands.h"
#include "attbat/frame/CAttBatApp.h"
#include "base/Memory.h"
#include "cli/CommandLine.h"
#include "cli/DxfTool.h"
#include "cli/WatchTool.h"
#include "cli/XlsxTool.h"
#include "cli/shell/ShellTool.h"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    std::vector<cli::CommandLineTool> tools = {
        {"dxf", "Inspect or resave a DXF drawing", cli::RunDxfTool},
        {"xlsx", "Inspect or resave an .xlsx workbook", cli::RunXlsxTool},
    };
    attbat::CAttBatApp& app = attbat::TheApp();
    // A single command ends the process: what it built is left to the system. The watcher and
    // the shell run many commands in one process and free as they go.
    base::SetEndsWithCommand(true);
    tools.push_back({"watch", "Upload the changes another program saves into a drawing",
                     [&app](const std::vector<std::string>& words) {
                         base::SetEndsWithCommand(false);
                         return cli::RunWatchTool(words, app);
                     },
                     true});
    tools.push_back({"shell", "The host's command line: commands typed one after another, drawings kept open",
                     [&app](const std::vector<std::string>& words) {
                         base::SetEndsWithCommand(false);
                         return cli::RunShellTool(words, app);
                     },
                     true});
    attbat::ImplementAllCommands(app);
    return cli::RunCommandLine(args, app, tools);
}
