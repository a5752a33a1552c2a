#include "cli/shell/ReadlineReader.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include <readline/history.h>
#include <readline/readline.h>

#include "cli/shell/ShellCompletion.h"
#include "cli/shell/ShellWords.h"

namespace cli {

namespace {

const attbat::CAttBatApp* completingApp = nullptr;
std::vector<std::string> candidates;
volatile std::sig_atomic_t interrupted = 0;

void OnInterrupt(int) { interrupted = 1; }

// Readline's read was interrupted: Ctrl-C throws the typed line away.
int AfterSignal() {
    if (interrupted) {
        interrupted = 0;
        rl_replace_line("", 0);
        rl_done = 1;
        std::fputs("^C", rl_outstream ? rl_outstream : stdout);
    }
    return 0;
}

char* NextCandidate(const char*, int state) {
    static std::size_t next = 0;
    if (state == 0) next = 0;
    return next < candidates.size() ? strdup(candidates[next++].c_str()) : nullptr;
}

char** Complete(const char* text, int start, int) {
    const std::vector<std::string> before = SplitShellWords(std::string_view(rl_line_buffer, static_cast<std::size_t>(start)));
    const Completion completion = CompleteShellWord(*completingApp, before, text);
    if (completion.files) return nullptr;  // readline's own file name completion
    rl_attempted_completion_over = 1;
    candidates = completion.words;
    return rl_completion_matches(text, NextCandidate);
}

}  // namespace

std::string ShellHistoryFile() {
    std::filesystem::path folder;
    if (const char* state = std::getenv("XDG_STATE_HOME"); state && *state) folder = state;
    else if (const char* home = std::getenv("HOME"); home && *home) folder = std::filesystem::path(home) / ".local/state";
    else return {};
    return (folder / "velmar" / "history").string();
}

ReadlineReader::ReadlineReader(const attbat::CAttBatApp& app, std::string historyFile)
    : historyFile_(std::move(historyFile)) {
    completingApp = &app;
    rl_readline_name = "velmar";
    rl_attempted_completion_function = Complete;
    rl_variable_bind("completion-ignore-case", "on");  // as command names are matched
    rl_catch_signals = 0;
    rl_signal_event_hook = AfterSignal;
    using_history();
    if (!historyFile_.empty()) read_history(historyFile_.c_str());
}

ReadlineReader::~ReadlineReader() {
    if (!historyFile_.empty()) {
        std::error_code ignored;
        std::filesystem::create_directories(std::filesystem::path(historyFile_).parent_path(), ignored);
        write_history(historyFile_.c_str());
        history_truncate_file(historyFile_.c_str(), 1000);
    }
    completingApp = nullptr;
}

std::optional<std::string> ReadlineReader::ReadLine(std::string_view prompt) {
    struct sigaction action {}, previous {};
    action.sa_handler = OnInterrupt;
    sigemptyset(&action.sa_mask);  // no SA_RESTART: readline must hear of Ctrl-C
    sigaction(SIGINT, &action, &previous);
    const std::string shown(prompt);
    char* typed = readline(shown.c_str());
    sigaction(SIGINT, &previous, nullptr);
    if (!typed) return std::nullopt;
    std::string line = typed;
    std::free(typed);
    if (line.find_first_not_of(" \t") != std::string::npos) add_history(line.c_str());
    return line;
}

}  // namespace cli
