#pragma once
// What Tab offers at the shell: command names (local names and aliases) and the shell's own
// words as the first word; after a command its options, its controls' and the global ones; after
// an option its choices (on|off, a choice's words); file names everywhere else.

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace attbat {
class CAttBatApp;
}

namespace cli {

// The shell's own words, in the order its help lists them.
std::span<const std::string_view> ShellWordsOwn();

struct Completion {
    std::vector<std::string> words;  // the candidates that begin with the typed part, sorted
    bool files = false;              // file names are what fits here
};

// The candidates for `partial`, the word under the cursor, after the words `before` it.
// Commands and options match without regard to case.
Completion CompleteShellWord(const attbat::CAttBatApp& app, const std::vector<std::string>& before,
                             std::string_view partial);

}  // namespace cli
