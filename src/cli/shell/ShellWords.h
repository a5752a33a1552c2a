#pragma once
// The words of a line typed at the shell, as a POSIX shell splits them: blanks separate,
// "double" and 'single' quotes keep blanks, a backslash takes the next character as it is.

#include <string>
#include <string_view>
#include <vector>

namespace cli {

// The words of `line`; an unclosed quote runs to the end of the line.
std::vector<std::string> SplitShellWords(std::string_view line);
// `word` quoted so that SplitShellWords gives it back whole: as it stands when it needs nothing.
std::string QuoteShellWord(std::string_view word);

}  // namespace cli
