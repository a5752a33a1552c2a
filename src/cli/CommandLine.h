#pragma once
// The `velmar` command line: global options, the command by local name (without regard to case)
// or readable alias, the command's options read by its controls' kinds, the prompts' console and
// answers, then one run of the module around the command. Exit 0 done, 1 failed or cancelled,
// 2 bad usage.

#include <functional>
#include <string>
#include <vector>

namespace attbat {
class CAttBatApp;
}

namespace cli {

// A diagnostic tool reached as `velmar NAME ...` with its words passed on as they are.
struct CommandLineTool {
    std::string name;
    std::string description;
    std::function<int(const std::vector<std::string>&)> run;
    // The tool takes the global options too: it gets every word but its name, also those before it.
    bool takesGlobalOptions = false;
};

// Runs one command line (the words after the program name) against `app`, whose Velmar_Help
// becomes the command line's own.
int RunCommandLine(const std::vector<std::string>& args, attbat::CAttBatApp& app,
                   const std::vector<CommandLineTool>& tools = {});

}  // namespace cli
