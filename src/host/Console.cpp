#include "host/Console.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include "host/Printer.h"

namespace host {

bool Console::DetectTerminal() { return isatty(STDIN_FILENO) && isatty(STDERR_FILENO); }

std::optional<std::string> Console::ReadAnswer(std::string_view prompt) {
    if (auto answer = answers_.Take(prompt)) return answer;
    return AskTerminal(prompt);
}

namespace {

volatile std::sig_atomic_t interrupted = 0;

void OnInterrupt(int) { interrupted = 1; }

// One line typed on standard input; nullopt at its end or when Ctrl-C interrupts the typing,
// which at a prompt is the host's Esc: a cancel, not the end of the program.
std::optional<std::string> ReadTypedLine() {
    struct sigaction action {}, previous {};
    action.sa_handler = OnInterrupt;
    sigemptyset(&action.sa_mask);  // no SA_RESTART: the read must return on Ctrl-C
    sigaction(SIGINT, &action, &previous);
    interrupted = 0;
    std::string line;
    bool done = false;
    while (!done) {
        char c = 0;
        ssize_t n = ::read(STDIN_FILENO, &c, 1);
        if (n == 1) {
            if (c == '\n') break;
            line.push_back(c);
            continue;
        }
        if (n < 0 && errno == EINTR && !interrupted) continue;
        done = true;
    }
    sigaction(SIGINT, &previous, nullptr);
    if (done) return std::nullopt;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

}  // namespace

std::optional<std::string> ReadStandardInputLine() { return ReadTypedLine(); }

std::optional<std::string> Console::AskTerminal(std::string_view prompt) {
    if (asker_) {
        // The prompt stands on the command line with what was answered, as a typed one would.
        std::optional<std::string> line = asker_(prompt);
        CurrentPrinter().Print(prompt);
        CurrentPrinter().Print((line ? *line : std::string("*Cancel*")) + "\n");
        return line;
    }
    if (!interactive_) return std::nullopt;
    if (scripted_) {
        std::optional<std::string> line = ReadTypedLine();
        CurrentPrinter().Print(prompt);
        CurrentPrinter().Print((line ? *line : std::string("*Cancel*")) + "\n");
        return line;
    }
    // What was printed so far must stand before the question does.
    CurrentPrinter().FinishLine();
    std::string_view shown = prompt;
    while (!shown.empty() && shown.front() == '\n') shown.remove_prefix(1);
    std::fwrite(shown.data(), 1, shown.size(), stderr);
    if (shown.empty() || shown.back() != ' ') std::fputc(' ', stderr);
    std::fflush(stderr);
    std::optional<std::string> line = ReadTypedLine();
    if (!line) {
        std::fputs("*Cancel*\n", stderr);
        std::fflush(stderr);
    }
    return line;
}

Console& CurrentConsole() {
    static Console console;
    return console;
}

}  // namespace host
