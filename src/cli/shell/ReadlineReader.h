#pragma once
// The terminal as the shell's command line, through GNU Readline: line editing, a history kept
// in a file between sessions, and Tab completion of command names, options and files.

#include <string>

#include "cli/shell/LineReader.h"

namespace attbat {
class CAttBatApp;
}

namespace cli {

class ReadlineReader : public LineReader {
public:
    // Completes against `app`'s commands (not owned); the history is read from `historyFile`
    // and written back at the end ("" keeps none).
    ReadlineReader(const attbat::CAttBatApp& app, std::string historyFile);
    ~ReadlineReader() override;
    ReadlineReader(const ReadlineReader&) = delete;
    ReadlineReader& operator=(const ReadlineReader&) = delete;

    // Ctrl-C abandons the line being typed and asks again; Ctrl-D on an empty line ends.
    std::optional<std::string> ReadLine(std::string_view prompt) override;

private:
    std::string historyFile_;
};

// Where the shell keeps its history: $XDG_STATE_HOME/velmar/history (~/.local/state when
// unset); "" when neither is known.
std::string ShellHistoryFile();

}  // namespace cli
