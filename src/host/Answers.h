#pragma once
// Answers given in advance for prompts and questions (`--answers FILE`). One answer per line,
// used in order; or `prompt text = answer`, used for the first prompt that begins with that text
// (without regard to case). Each line answers once. Blank lines and lines starting with '#' are
// passed over; a line "=" alone is an empty answer (Enter), "= text" a positional answer that may
// itself hold " = ".

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"

namespace host {

// A parsed answers file, consumed as prompts come.
class Answers {
public:
    // Parses the text of an answers file; never fails (every line is some answer).
    static Answers Parse(std::string_view text);
    // Reads and parses `path`; an error naming the file when it can't be read.
    static base::Result<Answers> Load(const std::string& path);

    // The answer for `prompt`: the first unused keyed line whose key begins the prompt (leading
    // line ends and blanks of the prompt ignored), else the next unused positional line; nullopt
    // when none is left.
    std::optional<std::string> Take(std::string_view prompt);
    // True when no line is left unused.
    bool Exhausted() const;

private:
    struct Line {
        std::string key;  // empty for a positional answer
        std::string answer;
        bool used = false;
    };
    std::vector<Line> lines_;
};

}  // namespace host
