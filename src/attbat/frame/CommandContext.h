#pragma once
// What a command gets from the run that started it: the global options (the stand-ins of the
// host's current document, running workbook and selection), its own options, and a summary it
// fills for --json.

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace attbat {

// The global options of `velmar`; empty texts and false flags when not given.
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
    bool yes = false;
    bool no = false;
    bool json = false;
    bool quiet = false;
    bool debug = false;
    bool force = false;
};

// One option of a command: `--name VALUE`, or a flag when `valueName` is empty.
struct CommandOption {
    std::string name;
    std::string valueName;
    std::string label;  // the dialog's own label of the control, or what the option does
    // A list option: given more than once, its values are joined with commas. Any other option
    // given twice keeps the last value.
    bool repeatable = false;
};

// The run of one command.
class CommandContext {
public:
    GlobalOptions global;
    // Options given, by name; a flag holds "1". Only names the command declared.
    std::map<std::string, std::string> options;
    // Words after the command that are no option.
    std::vector<std::string> arguments;

    bool Has(std::string_view name) const { return options.count(std::string(name)) != 0; }
    // The option's value, `def` when not given.
    std::string Get(std::string_view name, std::string_view def = {}) const;
    // Adds a field to the --json summary; a text is quoted, a number is not.
    void Summary(std::string_view key, std::string_view text);
    void Summary(std::string_view key, long long number);
    void SummaryBool(std::string_view key, bool value);
    // Says that the user cancelled, so that the summary tells it from a failure.
    void MarkCancelled() { cancelled_ = true; }
    bool Cancelled() const { return cancelled_; }
    // The summary's fields as JSON members ("key": value), in the order added.
    const std::vector<std::pair<std::string, std::string>>& SummaryFields() const { return summary_; }

private:
    std::vector<std::pair<std::string, std::string>> summary_;
    bool cancelled_ = false;
};

// Exit status of a command: 0 done, 1 failed or cancelled, 2 bad usage.
constexpr int exitOk = 0;
constexpr int exitFailed = 1;
constexpr int exitUsage = 2;

// How a command runs from the command line: its options, a usage text of its other words, and
// the function that does the work.
struct CommandHandler {
    std::vector<CommandOption> options;
    std::string argumentsUsage;  // e.g. "[on|off]"; "" when it takes no words
    std::function<int(CommandContext&)> run;
    // The current drawing is read when the command first uses it, not before it starts; such a
    // command checks the document's load status itself.
    bool readsDrawingOnFirstUse = false;
    // The command changes only how the drawing is viewed: its save keeps an existing backup,
    // which may be the only copy from before an import.
    bool changesViewOnly = false;
};

// A JSON string literal of `text`.
std::string JsonQuote(std::string_view text);

}  // namespace attbat
