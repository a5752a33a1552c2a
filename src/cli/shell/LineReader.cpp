#include "cli/shell/LineReader.h"

#include "host/Console.h"
#include "host/Printer.h"

namespace cli {

std::optional<std::string> ScriptReader::ReadLine(std::string_view prompt) {
    std::optional<std::string> line = host::ReadStandardInputLine();
    if (line) {
        host::CurrentPrinter().FinishLine();
        host::CurrentPrinter().Print(std::string(prompt) + *line + "\n");
    }
    return line;
}

}  // namespace cli
