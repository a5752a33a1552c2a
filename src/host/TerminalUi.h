#pragma once
// Message boxes of a command-line run: the box is printed (title, then text), and a question is
// answered from the answers file, then --yes/--no, then the terminal. A question nobody can
// answer is a cancel.

#include <optional>
#include <string_view>

#include "host/Ui.h"

namespace host {

class Console;

// The Ui the `velmar` program installs.
class TerminalUi : public Ui {
public:
    // Answers come from `console` (not owned; must outlive the Ui).
    explicit TerminalUi(Console& console) : console_(console) {}
    // Information boxes go to standard output (silenced by --quiet), warnings and errors to
    // standard error; an Ok box is never asked, it is shown.
    BoxAnswer MessageBox(const ShownBox& box) override;

private:
    Console& console_;
};

// Reads a typed answer to a box: yes/no/ok/cancel and their first letters, without regard to
// case; nullopt for anything else or an answer the box has no button for.
std::optional<BoxAnswer> ParseBoxAnswer(std::string_view text, BoxButtons buttons);

}  // namespace host
