#pragma once
// What a command gets from the front end that started it: the values given to its dialogs'
// controls, the words after it, and a summary it fills for a machine-readable report. The
// current document and the running workbook are the host's and the spreadsheet's, set up around
// the command by its run.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"
#include "attbat/frame/ControlValues.h"

namespace attbat {

// The run of one command.
class CommandContext {
public:
    // The values given to the controls the command declared.
    ControlValues values;
    // Words after the command: drawings, a handle, a keyword.
    std::vector<std::string> arguments;
    // The front end wants what the command answers (a preview, a list of changes) as JSON on
    // standard output, ahead of the summary.
    bool reportAsJson = false;

    // Adds a field to the summary; a text is quoted, a number is not.
    void Summary(std::string_view key, std::string_view text);
    void Summary(std::string_view key, long long number);
    void SummaryBool(std::string_view key, bool value);
    // A field whose value is JSON already (a list, an object), taken as it stands.
    void SummaryJson(std::string_view key, std::string json);
    // Says that the user cancelled, so that the summary tells it from a failure.
    void MarkCancelled() { cancelled_ = true; }
    bool Cancelled() const { return cancelled_; }
    // The summary's fields as JSON members ("key": value), in the order added.
    const std::vector<std::pair<std::string, std::string>>& SummaryFields() const { return summary_; }

private:
    std::vector<std::pair<std::string, std::string>> summary_;
    bool cancelled_ = false;
};

// How a command ended: done, failed or cancelled, or refused what it was given (a value its
// dialog wouldn't take, words it doesn't know) before doing anything.
enum class CommandStatus { Done, Failed, BadInput };

// A command: the controls of its dialogs, a usage text of its words, and the function that does
// the work.
struct CommandHandler {
    std::vector<Control> controls;
    std::string argumentsUsage;  // e.g. "[on|off]"; "" when it takes no words
    std::function<CommandStatus(CommandContext&)> run;
    // The command reads a workbook before it uses the current drawing: the drawing is read on
    // another thread meanwhile (host::ReadKind::Ahead). Such a command checks the document's
    // load status itself.
    bool readsDrawingOnFirstUse = false;
    // The command changes only how the drawing is viewed: its save keeps an existing backup,
    // which may be the only copy from before an import.
    bool changesViewOnly = false;
    // The command reads the drawing's records in file order, a pass or two, and then lets it go
    // (host::ReadKind::InFileOrder).
    bool readsDrawingInFileOrder = false;
};

// A JSON string literal of `text`.
std::string JsonQuote(std::string_view text);

}  // namespace attbat
