#include "cli/shell/ShellTool.h"

#include <unistd.h>

#include <memory>
#include <optional>

#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CommandRun.h"
#include "cli/CommandLine.h"
#include "cli/ExitCodes.h"
#include "cli/GlobalOptions.h"
#include "cli/HelpCommand.h"
#include "cli/shell/ReadlineReader.h"
#include "cli/shell/ShellSession.h"
#include "host/Console.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/TerminalUi.h"

namespace cli {

namespace {

int Refuse(const std::string& message) {
    host::CurrentPrinter().Warn("velmar shell: " + message);
    return exitUsage;
}

}  // namespace

std::string ShellUsageText() {
    return "Usage: velmar [global options] shell [--drawing FILE] [--workbook BOOK] [FILE.dxf]\n"
           "\n"
           "The command line of the CAD host: commands typed by name or alias with their options,\n"
           "one a line, in one session. Drawings stay open between commands and are saved when\n"
           "you say so ('save', or Yes at the end); the numbering, the dynamic block list, the link\n"
           "cache, the log switch and the handles waiting for the upload last the whole session.\n"
           "On a terminal: line editing, history and Tab completion. From a file or a pipe\n"
           "('velmar shell < script'): each line is a command, or the answer to the prompt before it.\n"
           "\n" +
           ShellHelpText() + "\n'velmar --help' lists the global options.\n";
}

int RunShellTool(const std::vector<std::string>& args, attbat::CAttBatApp& app) {
    GlobalOptions global;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string name = args[i];
        if (name == "--help" || name == "-h") {
            host::CurrentPrinter().Print(ShellUsageText());
            return exitOk;
        }
        if (name.rfind("--", 0) != 0) {
            if (!global.drawing.empty()) return Refuse("takes one drawing to open first ('" + name + "'); open others with 'open'.");
            global.drawing = name;
            continue;
        }
        OptionWord word = SplitOptionWord(name);
        name = word.name;
        std::optional<std::string> value = word.value;
        const GlobalOptionInfo* option = FindGlobalOption(name);
        if (!option || name == "version") return Refuse("unknown option '--" + name + "'; see 'velmar shell --help'.");
        if (!option->valueName.empty() && !value) {
            if (i + 1 >= args.size()) return Refuse("option '--" + name + "' needs a value.");
            value = args[++i];
        }
        SetGlobalOption(global, name, value.value_or(""));
    }
    if (global.yes && global.no) return Refuse("--yes and --no contradict each other.");

    ImplementHelpCommand(app);
    // On a terminal lines are typed; from a file or a pipe the lines after a command answer its
    // prompts, as a script does in the host.
    const bool script = !isatty(STDIN_FILENO);
    if (int console = SetUpConsole(global); console != exitOk) return console;
    host::Console& console = host::CurrentConsole();
    console.SetInteractive(true);
    console.SetScripted(script);
    host::TerminalUi ui(console);

    attbat::RunSetup setup = MakeRunSetup(global);
    setup.keepDocumentsOpen = true;
    setup.uploadAtLoad = true;
    int status = exitOk;
    {
        attbat::ModuleRun run(app, setup, ui);
        if (base::Status opened = run.OpenDrawing(host::ReadKind::Now); !opened) {
            host::CurrentPrinter().Warn(opened.Message());
            return exitFailed;
        }
        if (host::DocumentManager::Instance().CurDocument()) attbat::LoadDrawingInSession(run);
        ShellSession session(app, run, global);
        std::unique_ptr<LineReader> reader;
        if (script) reader = std::make_unique<ScriptReader>();
        else reader = std::make_unique<ReadlineReader>(app, ShellHistoryFile());
        while (std::optional<std::string> line = reader->ReadLine("Command: ")) {
            if (!session.RunLine(*line)) break;
        }
        host::CurrentPrinter().FinishLine();
        session.Finish();
        status = session.ExitStatus();
    }
    console.SetScripted(false);
    return status;
}

}  // namespace cli
