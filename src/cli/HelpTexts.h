#pragma once
// What `velmar` says about itself: the usage with the global options, the commands by group, a
// command's options from its dialogs' controls, and the command meant by a mistyped name.

#include <string>
#include <string_view>

namespace attbat {
class CAttBatApp;
struct CommandEntry;
}

namespace cli {

// `velmar --help`: usage and the global options.
std::string UsageText();
// `velmar help`: the commands by group, each with its alias and one line.
std::string CommandListText(const attbat::CAttBatApp& app);
// `velmar COMMAND --help`: the command's names, what it does and its options.
std::string CommandHelpText(const attbat::CAttBatApp& app, const attbat::CommandEntry& entry);
// The alias nearest to a mistyped command name, or "" when none is near.
std::string SuggestCommand(std::string_view typed);

}  // namespace cli
