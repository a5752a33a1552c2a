#pragma once
// The user's side of a run: answers given in advance (--answers), a preset answer to questions
// (--yes, --no), and the terminal when there is one. Prompts and message boxes ask here.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "host/Answers.h"

namespace host {

enum class Preset { None, Yes, No };

// Where answers come from, in this order: the answers file, the terminal.
class Console {
public:
    // True when standard input and standard error are both terminals.
    static bool DetectTerminal();

    void SetAnswers(Answers answers) { answers_ = std::move(answers); }
    void SetPreset(Preset preset) { preset_ = preset; }
    Preset GetPreset() const { return preset_; }
    // Whether the terminal may be asked; off in tests and when input is not a terminal.
    void SetInteractive(bool interactive) { interactive_ = interactive; }
    bool Interactive() const { return interactive_ || static_cast<bool>(asker_); }
    // A front end with its own windows asks there instead of on the terminal, which makes the
    // console interactive; nullopt from it is a cancel. An empty function puts the terminal back.
    using Asker = std::function<std::optional<std::string>(std::string_view prompt)>;
    void SetAsker(Asker asker) { asker_ = std::move(asker); }
    // Input is a script read from standard input (a file or a pipe): its lines answer the
    // prompts, and each prompt stands with its answer on the command line as a typed one would.
    void SetScripted(bool scripted) { scripted_ = scripted; }

    // A line for `prompt`: from the answers file, else typed on the terminal (the prompt is shown
    // on standard error); nullopt when neither can answer (end of input and Ctrl-C are a cancel).
    std::optional<std::string> ReadAnswer(std::string_view prompt);
    // An answer for `prompt` from the answers file only.
    std::optional<std::string> PresetAnswer(std::string_view prompt) { return answers_.Take(prompt); }
    // Asks the terminal only; nullopt when not interactive, at the end of input or on Ctrl-C.
    std::optional<std::string> AskTerminal(std::string_view prompt);

private:
    Answers answers_;
    Preset preset_ = Preset::None;
    bool interactive_ = false;
    bool scripted_ = false;
    Asker asker_;
};

// One line of standard input, read byte by byte so that nothing after it is taken from the
// stream; nullopt at its end or on Ctrl-C. A script's reader and the prompts share the stream.
std::optional<std::string> ReadStandardInputLine();

// The console of this run; not interactive until the program says so.
Console& CurrentConsole();

}  // namespace host
