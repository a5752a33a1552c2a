#pragma once
// The `velmar` command line: global options, the command by local name (without regard to case)
// or readable alias, the command's own options, and one run of the module around it (init,
// load-drawing, the command, queued commands, unload). Exit 0 done, 1 failed or cancelled,
// 2 bad usage.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace attbat {

class CAttBatApp;
struct CommandEntry;

// A diagnostic tool reached as `velmar NAME ...` with its words passed on as they are.
struct CommandLineTool {
    std::string name;
    std::string description;
    std::function<int(const std::vector<std::string>&)> run;
};

// Runs one command line (the words after the program name) against `app`.
int RunCommandLine(const std::vector<std::string>& args, CAttBatApp& app,
                   const std::vector<CommandLineTool>& tools = {});

// `velmar --help`: usage and the global options.
std::string UsageText();
// `velmar help`: the commands by group, each with its alias and one line.
std::string CommandListText(const CAttBatApp& app);
// `velmar COMMAND --help`: the command's names, what it does and its options.
std::string CommandHelpText(const CAttBatApp& app, const CommandEntry& entry);
// The alias nearest to a mistyped command name, or "" when none is near.
std::string SuggestCommand(std::string_view typed);
// on/off, yes/no, true/false, 1/0 without regard to case; nullopt for anything else.
std::optional<bool> ParseSwitch(std::string_view text);

}  // namespace attbat
