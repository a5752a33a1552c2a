#pragma once
// Where the shell's command lines come from: a script on standard input (a file or a pipe), or
// the terminal through GNU Readline.

#include <optional>
#include <string>
#include <string_view>

namespace cli {

class LineReader {
public:
    virtual ~LineReader() = default;
    // The next line after showing `prompt`; nullopt at the end of input.
    virtual std::optional<std::string> ReadLine(std::string_view prompt) = 0;
};

// Lines of a script on standard input, each shown after the prompt on the command line as if
// typed. Read byte by byte, so that the prompts of a command take the lines that follow it.
class ScriptReader : public LineReader {
public:
    std::optional<std::string> ReadLine(std::string_view prompt) override;
};

}  // namespace cli
