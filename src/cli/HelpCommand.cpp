#include "cli/HelpCommand.h"

#include "attbat/frame/CAttBatApp.h"
#include "cli/HelpTexts.h"
#include "host/Printer.h"

namespace cli {

namespace {

attbat::CommandStatus Help(const attbat::CAttBatApp& app, attbat::CommandContext& context) {
    if (context.arguments.size() > 1) {
        host::CurrentPrinter().Warn("velmar: help takes at most one command name.");
        return attbat::CommandStatus::BadInput;
    }
    if (context.arguments.empty()) {
        host::CurrentPrinter().Print(CommandListText(app));
        return attbat::CommandStatus::Done;
    }
    const attbat::CommandEntry* entry = attbat::FindCommandEntry(context.arguments.front());
    if (!entry) {
        std::string hint = SuggestCommand(context.arguments.front());
        host::CurrentPrinter().Warn("velmar: unknown command '" + context.arguments.front() + "'." +
                                    (hint.empty() ? "" : " Did you mean '" + hint + "'?"));
        return attbat::CommandStatus::BadInput;
    }
    host::CurrentPrinter().Print(CommandHelpText(app, *entry));
    return attbat::CommandStatus::Done;
}

}  // namespace

void ImplementHelpCommand(attbat::CAttBatApp& app) {
    app.Implement("Velmar_Help", {{}, "[COMMAND]", [&app](attbat::CommandContext& context) {
                      return Help(app, context);
                  }});
}

}  // namespace cli
