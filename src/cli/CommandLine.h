#pragma once
// The `velmar` command line: global options, the command by local name (without regard to case)
// or readable alias, the command's options read by its controls' kinds, the prompts' console and
// answers, then one run of the module around the command. Exit 0 done, 1 failed or cancelled,
// 2 bad usage.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "attbat/frame/CommandContext.h"
#include "cli/GlobalOptions.h"

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

// What the words of one command line ask for, before anything runs.
struct CommandRequest {
    GlobalOptions global;
    const attbat::CommandEntry* entry = nullptr;  // null when no command was named
    attbat::CommandContext context;
    bool help = false;
};

// Reads the words of one command line into `request`: nullopt when it is ready (a command to run,
// help to show), else the exit status of what was done already (a tool ran, --version) or of a
// usage error, which was said.
std::optional<int> ParseCommandLine(const std::vector<std::string>& args, attbat::CAttBatApp& app,
                                    const std::vector<CommandLineTool>& tools, CommandRequest& request);
// The console answers prompts from the terminal, from --yes or --no, or from the answers file;
// exitOk, or the usage error that was said.
int SetUpConsole(const GlobalOptions& global);
// One machine-readable summary of a command's run on standard output.
void PrintJson(const attbat::CommandEntry& entry, const attbat::CommandContext& context, int status);

// Runs one command line (the words after the program name) against `app`, whose Velmar_Help
// becomes the command line's own.
int RunCommandLine(const std::vector<std::string>& args, attbat::CAttBatApp& app,
                   const std::vector<CommandLineTool>& tools = {});

}  // namespace cli
