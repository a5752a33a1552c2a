#pragma once
// One run of the module around a command, as the host gives it: the settings file, the log and
// the printer set for the run, init, the current drawing opened, the run's workbooks set up as
// the running spreadsheet, load-drawing, the command, the commands it queued, the workbooks
// saved when it succeeded, the drawings it changed saved, unload. Every front end runs a command
// through here, so that each behaves as the host would. A front end that serves many events in
// one run (velmar watch) uses the same steps through ModuleRun.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arxutils/excel/FileBackend.h"
#include "attbat/frame/CommandContext.h"
#include "base/Status.h"
#include "host/Document.h"

namespace host {
class Ui;
}

namespace attbat {

class CAttBatApp;
struct CommandEntry;

// Makes the server of a running spreadsheet program at `connection` ("" for its default), which
// may start the program when `start` is set and makes the document, sheet and selection that
// `workbooks` names the active ones; null, after a warning saying why, when the backend can't be
// had (a module that can't be loaded).
using LiveServerFactory = std::function<std::unique_ptr<arxutils::excel::ExcelServer>(
    const std::string& connection, bool start, const arxutils::excel::FileBackendOptions& workbooks)>;

struct RunSetup {
    std::string drawing;   // the current document; "" for none
    // The running spreadsheet's workbooks; their drawing path is the current document.
    arxutils::excel::FileBackendOptions workbooks;
    // The spreadsheet the run talks to: "file" (the workbook files above) or "calc" (a running
    // LibreOffice Calc), stored as a setting; unset for the stored one.
    std::optional<std::string> spreadsheet;
    // Where the running Calc accepts connections, stored as a setting; unset for the stored one.
    std::optional<std::string> calcConnection;
    bool calcStart = false;        // start a Calc there when none answers
    LiveServerFactory liveServer;  // empty where this program has no live backend
    std::string settings;  // the settings file; "" for the default
    std::string log;       // the session log; "" for the default
    bool quiet = false;    // print nothing but warnings and errors
    // The printer writes to standard error, which leaves standard output to a report.
    bool printToStandardError = false;
    bool debug = false;    // the session log on for this run
    // The drawing's load uploads as the host's does (see CAttBatApp::uploadAtLoad): only for a
    // run that keeps the drawing open across edits, never for one command.
    bool uploadAtLoad = false;
    // The DWG-to-DXF and DXF-to-DWG converters given for the run (stored as settings); unset
    // for the stored ones, "" to remove one.
    std::optional<std::string> dwgConverter;
    std::optional<std::string> dxfToDwgConverter;
    // The documents stay open, and unsaved, after each command: a session of many commands (the
    // shell) saves them when the user says so.
    bool keepDocumentsOpen = false;
};

// The module loaded for one run: settings, log, printer and prompts set for its life, init at
// its start; the documents closed and unload at its end.
class ModuleRun {
public:
    ModuleRun(CAttBatApp& app, const RunSetup& setup, host::Ui& ui);
    ~ModuleRun();
    ModuleRun(const ModuleRun&) = delete;
    ModuleRun& operator=(const ModuleRun&) = delete;

    // Opens the setup's drawing as the current document (nothing without one); numbers in cells
    // are read with its units from then on.
    base::Status OpenDrawing(host::ReadKind when);
    // Numbers in cells are read with the current document's units: called again when another
    // document became current.
    void UseCurrentDocument();
    // The run's workbooks from now on (a command of a session may name others).
    void SetWorkbooks(const arxutils::excel::FileBackendOptions& workbooks) { setup_.workbooks = workbooks; }
    // Runs `work` with the run's workbooks as the running spreadsheet, then saves: the
    // workbooks only when `work` succeeded (a half-done export must not replace the user's
    // file), the changed drawings with `backup`. Success lines held for these saves are told
    // once all succeeded. A failed save fails the result and is said, also in `context`.
    CommandStatus WithWorkbooks(const std::function<CommandStatus()>& work, CommandContext& context,
                                host::BackupMode backup = host::BackupMode::Replace);

    CAttBatApp& App() { return app_; }

private:
    struct Scope;
    CAttBatApp& app_;
    RunSetup setup_;
    std::unique_ptr<Scope> scope_;
};

// What was sent to the command line since it was last asked, to run after the present command:
// the module's own queue first, then each document's; the queues are left empty.
std::vector<std::string> TakeQueuedCommands(CAttBatApp& app);

// Runs `entry` inside `run`, a session of many commands: the current document as it stands, kept
// open and unsaved when the run's setup says so; what the command queued stays queued for the
// session to run after it. No exception leaves it.
CommandStatus RunCommandInSession(ModuleRun& run, const CommandEntry& entry, CommandContext& context);
// The host's load-drawing for the current document inside `run`, as when a user opens a drawing.
void LoadDrawingInSession(ModuleRun& run);

// Runs `entry` with `context` as one run of the module; message boxes and prompts go to `ui`.
// No exception leaves it: what escapes the command is reported and the command failed.
CommandStatus RunCommand(CAttBatApp& app, const CommandEntry& entry, CommandContext& context,
                         const RunSetup& setup, host::Ui& ui);

}  // namespace attbat
