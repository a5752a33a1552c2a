#include "cli/shell/ShellSession.h"

#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CommandRun.h"
#include "base/Text.h"
#include "cli/CommandLine.h"
#include "cli/ExitCodes.h"
#include "cli/HelpTexts.h"
#include "cli/shell/ShellState.h"
#include "cli/shell/ShellWords.h"
#include "host/Answers.h"
#include "host/Console.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace cli {

std::string ShellHelpText() {
    return "The shell's own words:\n"
           "  open FILE.dxf...       open drawings; the last becomes the current one\n"
           "  close [N|FILE]         close a drawing (the current one), asking to save changes\n"
           "  documents              list the open drawings (* current)\n"
           "  switch N|FILE          make another open drawing current\n"
           "  save [N|FILE|all]      save a drawing (the current one) in place, keeping FILE.bak\n"
           "  state                  show what the module keeps between commands\n"
           "  help [COMMAND]         this list and the commands, or a command's options\n"
           "  exit, quit             end the session, asking to save changed drawings\n"
           "Any other line is a command with its options, as 'velmar COMMAND ...' takes them.\n";
}

ShellSession::ShellSession(attbat::CAttBatApp& app, attbat::ModuleRun& run, const GlobalOptions& session)
    : app_(app), run_(run), session_(session), documents_(run) {
    documents_.Adopt(host::DocumentManager::Instance().CurDocument());
}

bool ShellSession::RunLine(const std::string& line) {
    const std::vector<std::string> words = SplitShellWords(line);
    if (words.empty() || words.front().front() == '#') return true;
    const std::string first = base::FoldCase(words.front());
    const std::vector<std::string> rest(words.begin() + 1, words.end());
    if (first == "exit" || first == "quit") return false;
    if (first == "open") Note(documents_.Open(rest));
    else if (first == "close") Note(documents_.Close(rest));
    else if (first == "documents") documents_.List();
    else if (first == "switch") Note(documents_.Switch(rest));
    else if (first == "save") Note(documents_.Save(rest));
    else if (first == "state") PrintModuleState(app_);
    else {
        if (first == "help" && rest.empty()) host::CurrentPrinter().Print(ShellHelpText() + "\n");
        RunCommandWords(words);
    }
    host::CurrentPrinter().FinishLine();
    RunQueued();
    return true;
}

bool ShellSession::SetUpConsoleFor(const GlobalOptions& command) {
    host::Console& console = host::CurrentConsole();
    if (command.yes && command.no) {
        host::CurrentPrinter().Warn("velmar: --yes and --no contradict each other.");
        return false;
    }
    const bool yes = command.yes || (!command.no && session_.yes);
    const bool no = command.no || (!command.yes && session_.no);
    console.SetPreset(yes ? host::Preset::Yes : no ? host::Preset::No : host::Preset::None);
    if (command.answers != session_.answers) {
        auto answers = host::Answers::Load(command.answers);
        if (!answers) {
            host::CurrentPrinter().Warn("velmar: " + answers.GetStatus().Message());
            return false;
        }
        console.SetAnswers(std::move(*answers));
    }
    return true;
}

void ShellSession::RunCommandWords(const std::vector<std::string>& words) {
    CommandRequest request;
    request.global = session_;
    request.global.drawing.clear();
    if (std::optional<int> done = ParseCommandLine(words, app_, {}, request)) {
        Note(*done);
        return;
    }
    if (request.help) {
        host::CurrentPrinter().Print(request.entry ? CommandHelpText(app_, *request.entry) : UsageText());
        return;
    }
    if (!request.entry) {
        host::CurrentPrinter().Warn("velmar shell: no command given; 'help' lists the commands.");
        Note(exitUsage);
        return;
    }
    const GlobalOptions& global = request.global;
    if (global.settings != session_.settings || global.log != session_.log) {
        host::CurrentPrinter().Warn("velmar shell: the settings file and the session log are the whole session's; "
                                    "give --settings and --log when starting the shell.");
        Note(exitUsage);
        return;
    }
    // --drawing on a command makes that drawing current, opened when it isn't, as the host's
    // window list would.
    if (!global.drawing.empty() && !documents_.Open({global.drawing})) {
        Note(exitFailed);
        return;
    }
    if (!SetUpConsoleFor(global)) {
        Note(exitUsage);
        return;
    }
    request.context.reportAsJson = global.json;
    host::CurrentPrinter().SetQuiet(global.quiet);
    run_.SetWorkbooks(MakeRunSetup(global).workbooks);
    const int status = ExitCode(attbat::RunCommandInSession(run_, *request.entry, request.context));
    host::CurrentPrinter().SetQuiet(session_.quiet);
    // A command's own answers are its alone.
    if (global.answers != session_.answers) host::CurrentConsole().SetAnswers({});
    if (global.json) PrintJson(*request.entry, request.context, status);
    Note(status);
}

void ShellSession::RunQueued() {
    for (const std::string& text : attbat::TakeQueuedCommands(app_)) {
        // A string sent to the command line holds one command a line; host commands such as
        // REGEN have no work here.
        for (const std::string& command : base::SplitTrimmed(text, '\n')) {
            if (!app_.FindCommand(command)) continue;
            host::CurrentPrinter().Print("\nCommand: " + command + "\n");
            RunLine(command);
        }
    }
}

void ShellSession::Finish() { Note(documents_.AskToSaveAll()); }

}  // namespace cli
