#include "cli/HelpCommand.h"

#include "attbat/frame/CAttBatApp.h"
#include "cli/HelpTexts.h"
#include "base/Path.h"
#include "host/AddressOpener.h"
#include "host/Locations.h"
#include "host/Printer.h"

namespace cli {

namespace {

// The manual page installed with the program (share/man/man1 beside its bin folder), else the
// page by name wherever man finds it.
std::string ManualPage() {
    std::string bin = base::Folder(host::ProgramFile());
    std::string folder = base::JoinPath(base::Folder(bin), "share/man/man1");
    for (const char* name : {"velmar.1", "velmar.1.gz"}) {
        std::string file = base::JoinPath(folder, name);
        if (!bin.empty() && base::FileExists(file)) return file;
    }
    return "velmar";
}

attbat::CommandStatus Help(const attbat::CAttBatApp& app, attbat::CommandContext& context) {
    if (context.values.Pressed("manual")) {
        if (!context.arguments.empty()) {
            host::CurrentPrinter().Warn("velmar: help --manual takes no command name.");
            return attbat::CommandStatus::BadInput;
        }
        std::string page = ManualPage();
        context.Summary("manual", page);
        return host::ShowManualPage(page) ? attbat::CommandStatus::Done : attbat::CommandStatus::Failed;
    }
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
    app.Implement("Velmar_Help", {{{"manual", attbat::ControlKind::Button,
                                    "show the manual page (the help file), as 'man velmar' does"}},
                                  "[COMMAND]", [&app](attbat::CommandContext& context) {
                      return Help(app, context);
                  }});
}

}  // namespace cli
