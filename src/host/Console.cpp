#include "host/Console.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "host/Printer.h"

namespace host {

bool Console::DetectTerminal() { return isatty(STDIN_FILENO) && isatty(STDERR_FILENO); }

std::optional<std::string> Console::ReadAnswer(std::string_view prompt) {
    if (auto answer = answers_.Take(prompt)) return answer;
    return AskTerminal(prompt);
}

std::optional<std::string> Console::AskTerminal(std::string_view prompt) {
    if (!interactive_) return std::nullopt;
    // What was printed so far must stand before the question does.
    CurrentPrinter().FinishLine();
    std::string_view shown = prompt;
    while (!shown.empty() && shown.front() == '\n') shown.remove_prefix(1);
    std::fwrite(shown.data(), 1, shown.size(), stderr);
    if (shown.empty() || shown.back() != ' ') std::fputc(' ', stderr);
    std::fflush(stderr);
    std::string line;
    if (!std::getline(std::cin, line)) {
        std::fputc('\n', stderr);
        return std::nullopt;
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

Console& CurrentConsole() {
    static Console console;
    return console;
}

}  // namespace host
