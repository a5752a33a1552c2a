#pragma once
// One session of the shell: command lines run one after another in one run of the module, so
// that what the module keeps (numbering, the dynamic block list, the link cache, the log switch,
// the handles waiting for the upload) lasts from command to command, and the drawings stay open
// until the user saves or closes them. What a command sends to the command line runs after it.

#include <string>
#include <vector>

#include "cli/GlobalOptions.h"
#include "cli/shell/ShellDocuments.h"

namespace attbat {
class CAttBatApp;
class ModuleRun;
}  // namespace attbat

namespace cli {

class ShellSession {
public:
    // Runs in `run` of `app` (both not owned); `session` holds the options the shell was started
    // with, which every command has unless it gives its own.
    ShellSession(attbat::CAttBatApp& app, attbat::ModuleRun& run, const GlobalOptions& session);

    // Runs one typed line; false when it ends the session (exit, quit).
    bool RunLine(const std::string& line);
    // At the end: each changed drawing is asked about, and saved on Yes.
    void Finish();
    // 0 when every command succeeded; else the status of the first that didn't.
    int ExitStatus() const { return status_; }
    ShellDocuments& Documents() { return documents_; }

private:
    void RunCommandWords(const std::vector<std::string>& words);
    // The prompts' answers for one command: its --answers, --yes or --no, else the session's. A
    // command's own answers file is dropped after it, with what is left of the session's.
    bool SetUpConsoleFor(const GlobalOptions& command);
    void RunQueued();
    void Note(bool ok) { Note(ok ? 0 : 1); }
    void Note(int status) { if (status_ == 0) status_ = status; }

    attbat::CAttBatApp& app_;
    attbat::ModuleRun& run_;
    GlobalOptions session_;
    ShellDocuments documents_;
    int status_ = 0;
};

// The shell's own words, for `help`.
std::string ShellHelpText();

}  // namespace cli
