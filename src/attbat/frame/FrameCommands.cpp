// The commands of the frame itself: Velmar_Options, Velmar_Debug, Velmar_About, the web pages,
// Velmar_Test, Velmar_FindEntByHandle and Velmar_LoadMenu. Velmar_Help is the front end's: it
// knows how its commands are reached.

#include <optional>

#include "attbat/frame/CArxErrLog.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/COptionsDialog.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/frame/FindEntByHandle.h"
#include "arxutils/ExcelUtils.h"
#include "attbat/frame/MenuLoader.h"
#include "base/Format.h"
#include "base/Text.h"
#include "host/AddressOpener.h"
#include "host/Editor.h"
#include "host/Locations.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace attbat {

namespace {

constexpr std::string_view section = "Velmar";

CommandStatus Options(CommandContext& context) {
    COptionsDialog dialog;
    dialog.OnInitDialog();
    bool changed = false;
    for (const COptionsDialog::OptionBox& box : COptionsDialog::OptionBoxes()) {
        if (auto on = context.values.Check(box.key)) {
            dialog.*box.member = *on;
            changed = true;
        }
    }
    if (!context.arguments.empty()) {
        host::CurrentPrinter().Warn("velmar: options takes no words; see 'velmar options --help'.");
        return CommandStatus::BadInput;
    }
    if (changed && !dialog.OnOK()) {
        host::CurrentPrinter().Warn(base::Sprintf(
            "The options could not be saved in \"%s\".", host::SettingsFilePath()));
        return CommandStatus::Failed;
    }
    host::Printf("\n%s", COptionsDialog::title);
    std::string_view group;
    for (const COptionsDialog::OptionBox& box : COptionsDialog::OptionBoxes()) {
        if (box.group != group) {
            group = box.group;
            host::Printf("\n  %s", group);
        }
        bool checked = dialog.*box.member;
        host::Printf("\n    [%s] %s  (--%s)", checked ? "x" : " ", box.label, box.key);
        context.SummaryBool(box.key, checked);
    }
    host::Printf("\nSettings file: %s", host::SettingsFilePath());
    if (changed) host::Printf("\nSaved.");
    context.Summary("settings", host::SettingsFilePath());
    return CommandStatus::Done;
}

CommandStatus Debug(CommandContext& context) {
    if (context.arguments.size() > 1) {
        host::CurrentPrinter().Warn("velmar: debug takes one word, on or off.");
        return CommandStatus::BadInput;
    }
    constexpr std::string_view keywords = "ON OFF";
    std::optional<std::string> given;
    if (!context.arguments.empty()) {
        given = host::Editor::MatchKeyword(keywords, context.arguments.front());
        if (given->empty()) {
            host::CurrentPrinter().Warn(base::Sprintf("velmar: debug takes on or off, not '%s'.",
                                                      context.arguments.front()));
            return CommandStatus::BadInput;
        }
    }
    host::Editor& editor = host::CurrentEditor();
    for (;;) {
        std::string keyword;
        int result = host::RTNORM;
        if (given) {
            keyword = *given;
        } else {
            editor.InitGet(host::RSG_NONULL, keywords);
            result = editor.GetKword(
                base::Sprintf("\nTurn Debug [ON/OFF]. <%s>:", debugOn ? "ON" : "OFF"), keyword);
        }
        if (result == host::RTNORM) {
            if (!base::EqualNoCase(keyword, "ON")) {
                debugOn = 0;
                context.SummaryBool("debug", false);
                return CommandStatus::Done;
            }
            debugOn = 1;
            break;
        }
        if (result == host::RTCAN) {
            if (!debugOn) {
                context.MarkCancelled();
                return CommandStatus::Failed;
            }
            break;
        }
    }
    context.SummaryBool("debug", true);
    if (!ErrLog().IsOpen() && !ErrLog().Open()) {
        host::ShowMessage("Failed to create the log file.", "Velmar");
        return CommandStatus::Failed;
    }
    // The switch lives in memory: say where the log goes and for how long.
    host::Printf("\nThe log is on for this run: %s", CArxErrLog::LogFilePath());
    context.Summary("log", CArxErrLog::LogFilePath());
    return CommandStatus::Done;
}

CommandStatus About(CommandContext&) {
    host::ShowMessage("Velmar\nVersion 9.72", "About");
    return CommandStatus::Done;
}

CommandStatus OpenPage(CommandContext& context, std::string_view page) {
    std::string address =
        CRegistry::GetString(section, "RedirectAddress", "https://www.orvane.com/redirect") +
        base::Sprintf("?page=%s&product=velmar", page);
    host::OpenAddress(address);
    context.Summary("address", address);
    return CommandStatus::Done;
}

CommandStatus Website(CommandContext& context) {
    std::string address = CRegistry::GetString(section, "WebsiteAddress", "https://www.orvane.com/");
    host::OpenAddress(address);
    context.Summary("address", address);
    return CommandStatus::Done;
}

CommandStatus Support(CommandContext& context) {
    std::string address =
        CRegistry::GetString(section, "SupportAddress", "mailto:support@orvane.com") +
        "?subject=Velmar%209.72";
    host::OpenAddress(address);
    context.Summary("address", address);
    return CommandStatus::Done;
}

CommandStatus LoadMenuCommand(const CAttBatApp& app) {
    MenuHost* menus = app.GetMenuHost();
    NoMenuHost none;
    LoadMenu(menus ? *menus : none);
    if (!menus) {
        host::Printf("\nThere is no menu on Linux: run the commands as \"velmar COMMAND\" "
                     "(\"velmar help\" lists them).");
    }
    return CommandStatus::Done;
}

}  // namespace

void ImplementFrameCommands(CAttBatApp& app) {
    app.Implement("Velmar_Options", {COptionsDialog::Controls(), "", Options});
    app.Implement("Velmar_Debug", {{}, "[on|off]", Debug});
    app.Implement("Velmar_About", {{}, "", About});
    app.Implement("Velmar_Website", {{}, "", Website});
    app.Implement("Velmar_Support", {{}, "", Support});
    app.Implement("Velmar_Faq", {{}, "", [](CommandContext& c) { return OpenPage(c, "faq"); }});
    app.Implement("Velmar_New", {{}, "", [](CommandContext& c) { return OpenPage(c, "whatsnew"); }});
    app.Implement("Velmar_Demo", {{}, "", [](CommandContext& c) { return OpenPage(c, "demo"); }});
    app.Implement("Velmar_Test", {{}, "", [](CommandContext&) {
                      arxutils::ExcelUtils::VelmarTest();
                      return CommandStatus::Done;
                  }});
    app.Implement("Velmar_FindEntByHandle", {{}, "[HANDLE]", [](CommandContext& c) {
                      if (c.arguments.size() > 1) {
                          host::CurrentPrinter().Warn("velmar find: give one handle, such as 2F4 or <2F4_TAG>.");
                          return CommandStatus::BadInput;
                      }
                      int shown = c.arguments.size() == 1 ? FindEntByHandle(c.arguments.front())
                                                          : Velmar_FindEntByHandle(host::CurrentEditor());
                      return shown == 0 ? CommandStatus::Done : CommandStatus::Failed;
                  },
                  false, true});
    app.Implement("Velmar_LoadMenu",
                  {{}, "", [&app](CommandContext&) { return LoadMenuCommand(app); }});
}

}  // namespace attbat
