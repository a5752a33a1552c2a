#pragma once
// One run of the module around a command, as the host gives it: the settings file, the log and
// the printer set for the run, init, the current drawing opened, the run's workbooks set up as
// the running spreadsheet, load-drawing, the command, the commands it queued, the workbooks
// saved when it succeeded, the drawings it changed saved, unload. Every front end runs a command
// through here, so that each behaves as the host would.

#include <string>

#include "arxutils/excel/FileBackend.h"
#include "attbat/frame/CommandContext.h"

namespace host {
class Ui;
}

namespace attbat {

class CAttBatApp;
struct CommandEntry;

struct RunSetup {
    std::string drawing;   // the current document; "" for none
    // The running spreadsheet's workbooks; their drawing path is the current document.
    arxutils::excel::FileBackendOptions workbooks;
    std::string settings;  // the settings file; "" for the default
    std::string log;       // the session log; "" for the default
    bool quiet = false;    // print nothing but warnings and errors
    // The printer writes to standard error, which leaves standard output to a report.
    bool printToStandardError = false;
    bool debug = false;    // the session log on for this run
    // The drawing's load uploads as the host's does (see CAttBatApp::uploadAtLoad): only for a
    // run that keeps the drawing open across edits, never for one command.
    bool uploadAtLoad = false;
};

// Runs `entry` with `context` as one run of the module; message boxes and prompts go to `ui`.
// No exception leaves it: what escapes the command is reported and the command failed.
CommandStatus RunCommand(CAttBatApp& app, const CommandEntry& entry, CommandContext& context,
                         const RunSetup& setup, host::Ui& ui);

}  // namespace attbat
