#pragma once
// The options of `velmar` that come before or after any command: the stand-ins of the host's
// current document and of the running spreadsheet's workbook and selection, and the run's
// settings, log, answers and output form.

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "attbat/frame/CommandRun.h"

namespace cli {

// Empty texts and false flags when not given.
struct GlobalOptions {
    std::string drawing;     // the current document
    std::string workbook;    // the running spreadsheet's active workbook
    std::string sheet;       // its active sheet
    std::string selection;   // its selected range
    std::string activeCell;  // its active cell
    std::string output;      // where a new workbook or file goes
    std::string settings;    // the settings file
    std::string log;         // the session log
    std::string answers;     // the answers file
    std::optional<std::string> dwgConverter;       // DWG -> DXF command, kept
    std::optional<std::string> dxfToDwgConverter;  // DXF -> DWG command, kept
    std::optional<std::string> spreadsheet;        // "file" or "calc", kept
    std::optional<std::string> calcConnect;        // where Calc accepts connections, kept
    bool calcStart = false;
    bool yes = false;
    bool no = false;
    bool json = false;
    bool quiet = false;
    bool debug = false;
    bool force = false;
};

// One global option: `--name VALUE`, or a flag when `valueName` is empty.
struct GlobalOptionInfo {
    std::string_view name;
    std::string_view valueName;
    std::string_view help;
};

// Every global option in the order `velmar --help` lists them, --help and --version included.
std::span<const GlobalOptionInfo> GlobalOptionTable();
// The global option named `name`; null when there is none.
const GlobalOptionInfo* FindGlobalOption(std::string_view name);
// Stores a global option's value (a flag's is ignored); --help and --version are not stored.
void SetGlobalOption(GlobalOptions& global, std::string_view name, const std::string& value);
// An option word "--name" or "--name=value" split: the name without its dashes, the value when
// the word holds one.
struct OptionWord {
    std::string name;
    std::optional<std::string> value;
};
OptionWord SplitOptionWord(std::string_view word);

// The run of a command as the global options describe it.
attbat::RunSetup MakeRunSetup(const GlobalOptions& global);

}  // namespace cli
