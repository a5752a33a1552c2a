#include "cli/HelpTexts.h"

#include <algorithm>
#include <vector>

#include "attbat/frame/CAttBatApp.h"
#include "base/Format.h"
#include "base/Text.h"
#include "cli/GlobalOptions.h"

namespace cli {

namespace {

using attbat::CommandEntry;

std::size_t EditDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            std::size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] != b[j - 1])});
            diagonal = above;
        }
    }
    return row[b.size()];
}

}  // namespace

std::string SuggestCommand(std::string_view typed) {
    std::string folded = base::FoldCase(typed);
    std::string best;
    std::size_t bestDistance = 0;
    std::vector<const CommandEntry*> entries;
    for (const CommandEntry& entry : attbat::CommandTable()) entries.push_back(&entry);
    for (const CommandEntry& entry : attbat::DialogTable()) entries.push_back(&entry);
    for (const CommandEntry* entry : entries) {
        for (std::string_view name : {entry->alias, entry->localName}) {
            std::size_t distance = EditDistance(folded, base::FoldCase(name));
            if (best.empty() || distance < bestDistance) {
                best = std::string(entry->alias);
                bestDistance = distance;
            }
        }
    }
    // Near means a slip of the fingers, not another word.
    return bestDistance <= std::max<std::size_t>(2, folded.size() / 4) ? best : std::string();
}

std::string UsageText() {
    std::string text =
        "Usage: velmar [global options] COMMAND [options]\n"
        "       velmar [global options] watch   (upload what another program saves into a drawing)\n"
        "       velmar [global options] shell   (commands typed one after another, drawings kept open)\n"
        "       velmar dxf|xlsx ...   (diagnostics of drawings and workbooks)\n"
        "\n"
        "Velmar moves block attribute data between DXF drawings and .xlsx workbooks.\n"
        "COMMAND is a command name (VelmarOut, Velmar_Options, ...; any case) or its alias\n"
        "(export, options, ...). 'velmar help' lists the commands, 'velmar COMMAND --help'\n"
        "the options of one.\n"
        "\n"
        "Global options:\n";
    for (const GlobalOptionInfo& option : GlobalOptionTable()) {
        std::string left = "--" + std::string(option.name);
        if (!option.valueName.empty()) left += " " + std::string(option.valueName);
        text += base::Sprintf("  %-22s %s\n", left, option.help);
    }
    text += "\nExit status: 0 done, 1 failed or cancelled, 2 bad usage.\n";
    return text;
}

std::string CommandListText(const attbat::CAttBatApp& app) {
    std::string text = "Commands (name, alias, what it does):\n";
    for (std::string_view group : attbat::CommandGroups()) {
        text += "\n" + std::string(group) + "\n";
        for (const CommandEntry& entry : attbat::CommandTable()) {
            if (entry.group != group) continue;
            std::string line = base::Sprintf("  %-36s %-22s %s", entry.localName, entry.alias,
                                             entry.description);
            if (!app.Handler(entry)) line += " (not available in this build yet)";
            text += line + "\n";
        }
    }
    text += "\nDialogs\n";
    for (const CommandEntry& entry : attbat::DialogTable()) {
        text += base::Sprintf("  %-36s %-22s %s\n", entry.localName, entry.alias, entry.description);
    }
    text += "\nWatching\n";
    text += base::Sprintf("  %-36s %-22s %s\n", "watch", "",
                          "Upload the changes another program saves into a drawing, until Ctrl-C");
    text += "\nSession\n";
    text += base::Sprintf("  %-36s %-22s %s\n", "shell", "",
                          "The host's command line: commands typed one after another, drawings kept open");
    text += "\nDiagnostics\n";
    text += base::Sprintf("  %-36s %-22s %s\n", "dxf", "", "Inspect or resave a DXF drawing");
    text += base::Sprintf("  %-36s %-22s %s\n", "xlsx", "", "Inspect or resave an .xlsx workbook");
    text += "\n'velmar COMMAND --help' lists the options of a command; 'man velmar' has the rest.\n";
    return text;
}

std::string CommandHelpText(const attbat::CAttBatApp& app, const CommandEntry& entry) {
    const attbat::CommandHandler* handler = app.Handler(entry);
    std::string text = base::Sprintf("Usage: velmar [global options] %s [options]", entry.alias);
    if (handler && !handler->argumentsUsage.empty()) text += " " + handler->argumentsUsage;
    text += "\n\n" + std::string(entry.description) + ".\n";
    if (attbat::IsDialogEntry(entry))
        text += base::Sprintf("Dialog %s (also %s), opened here on its own.\n", entry.localName, entry.alias);
    else
        text += base::Sprintf("Command %s (also %s, %s), group %s.\n", entry.localName,
                              entry.globalName, entry.alias, entry.group);
    if (!handler) {
        text += "\nThis command is not available in this build yet.\n";
        return text;
    }
    if (!handler->controls.empty()) {
        text += "\nOptions:\n";
        for (const attbat::Control& control : handler->controls) {
            std::string left = "--" + control.key;
            if (std::string value = attbat::ValueName(control); !value.empty()) left += " " + value;
            text += base::Sprintf("  %-34s %s%s\n", left, control.label, control.repeatable ? " (may be repeated)" : "");
        }
    }
    text += "\n'velmar --help' lists the global options.\n";
    return text;
}

}  // namespace cli
