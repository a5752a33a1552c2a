#pragma once
// The module's command table: every command with its group, global and local names, flags, and
// the readable alias and one-line description the command line shows.

#include <span>
#include <string_view>

namespace attbat {

// Command flags of the host.
constexpr int ACRX_CMD_MODAL = 0;
constexpr int ACRX_CMD_SESSION = 0x200000;

struct CommandEntry {
    std::string_view group;
    std::string_view globalName;
    std::string_view localName;
    int flags;
    std::string_view alias;        // the readable name on the command line
    std::string_view otherAlias;   // a second readable name, or ""
    std::string_view description;  // one line for `velmar help`
};

// All 30 commands in table order.
std::span<const CommandEntry> CommandTable();
// Dialogs reachable on the command line on their own (the host opens them from other dialogs);
// never registered with the host.
std::span<const CommandEntry> DialogTable();
// True for an entry of DialogTable().
bool IsDialogEntry(const CommandEntry& entry);
// The entry of either table whose local name, global name or alias is `name` (without regard to
// case); null when none is.
const CommandEntry* FindCommandEntry(std::string_view name);
// The groups in the order `velmar help` shows them.
std::span<const std::string_view> CommandGroups();

}  // namespace attbat
