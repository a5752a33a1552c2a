// The commands of the frame itself: Velmar_Options, Velmar_Debug, Velmar_About, the web pages,
// Velmar_Help and Velmar_LoadMenu.

#include <optional>

#include "attbat/frame/CArxErrLog.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/COptionsDialog.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/frame/FindEntByHandle.h"
#include "arxutils/ExcelUtils.h"
#include "attbat/frame/CommandLine.h"
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

// The option of each check box of the Options dialog.
struct OptionBox {
    std::string_view option;
    std::string_view group;
    std::string_view label;
    bool COptionsDialog::*member;
};

constexpr OptionBox optionBoxes[] = {
    {"export-blocks-in-mleaders", "Export Attribute", "Export blocks in MLeaders",
     &COptionsDialog::m_exportBlocksInMLeader},
    {"calc-outer-polygon", "Export Attribute", "Calculate outer polygon of block reference.",
     &COptionsDialog::m_calOuterPolygon},
    {"update-drawing-paths", "Upload to Excel", "Update drawing paths in Excel.",
     &COptionsDialog::m_updateDrawingPathsInExcel},
    {"auto-upload", "Upload to Excel",
     "Upload to Excel automatically when attributes are modified in AutoCAD.",
     &COptionsDialog::m_autoUploadToActiveWorkbook},
};

int Options(CommandContext& context) {
    COptionsDialog dialog;
    dialog.OnInitDialog();
    bool changed = false;
    for (const OptionBox& box : optionBoxes) {
        if (!context.Has(box.option)) continue;
        std::optional<bool> state = ParseSwitch(context.Get(box.option));
        if (!state) {
            host::CurrentPrinter().Warn(base::Sprintf(
                "velmar: --%s takes on or off, not '%s'.", box.option, context.Get(box.option)));
            return exitUsage;
        }
        dialog.*box.member = *state;
        changed = true;
    }
    if (!context.arguments.empty()) {
        host::CurrentPrinter().Warn("velmar: options takes no words; see 'velmar options --help'.");
        return exitUsage;
    }
    if (changed && !dialog.OnOK()) {
        host::CurrentPrinter().Warn(base::Sprintf(
            "The options could not be saved in \"%s\".", host::SettingsFilePath()));
        return exitFailed;
    }
    host::Printf("\n%s", COptionsDialog::title);
    std::string_view group;
    for (const OptionBox& box : optionBoxes) {
        if (box.group != group) {
            group = box.group;
            host::Printf("\n  %s", group);
        }
        bool checked = dialog.*box.member;
        host::Printf("\n    [%s] %s  (--%s)", checked ? "x" : " ", box.label, box.option);
        context.SummaryBool(box.option, checked);
    }
    host::Printf("\nSettings file: %s", host::SettingsFilePath());
    if (changed) host::Printf("\nSaved.");
    context.Summary("settings", host::SettingsFilePath());
    return exitOk;
}

int Debug(CommandContext& context) {
    if (context.arguments.size() > 1) {
        host::CurrentPrinter().Warn("velmar: debug takes one word, on or off.");
        return exitUsage;
    }
    constexpr std::string_view keywords = "ON OFF";
    std::optional<std::string> given;
    if (!context.arguments.empty()) {
        given = host::Editor::MatchKeyword(keywords, context.arguments.front());
        if (given->empty()) {
            host::CurrentPrinter().Warn(base::Sprintf("velmar: debug takes on or off, not '%s'.",
                                                      context.arguments.front()));
            return exitUsage;
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
                return exitOk;
            }
            debugOn = 1;
            break;
        }
        if (result == host::RTCAN) {
            if (!debugOn) {
                context.MarkCancelled();
                return exitFailed;
            }
            break;
        }
    }
    context.SummaryBool("debug", true);
    if (!ErrLog().IsOpen() && !ErrLog().Open()) {
        host::ShowMessage("Failed to create the log file.", "Velmar");
        return exitFailed;
    }
    // The switch lives in memory: say where the log goes and for how long.
    host::Printf("\nThe log is on for this run: %s", CArxErrLog::LogFilePath());
    context.Summary("log", CArxErrLog::LogFilePath());
    return exitOk;
}

int About(CommandContext&) {
    host::ShowMessage("Velmar\nVersion 9.72", "About");
    return exitOk;
}

int OpenPage(CommandContext& context, std::string_view page) {
    std::string address =
        CRegistry::GetString(section, "RedirectAddress", "https://www.orvane.com/redirect") +
        base::Sprintf("?page=%s&product=velmar", page);
    host::OpenAddress(address);
    context.Summary("address", address);
    return exitOk;
}

int Website(CommandContext& context) {
    std::string address = CRegistry::GetString(section, "WebsiteAddress", "https://www.orvane.com/");
    host::OpenAddress(address);
    context.Summary("address", address);
    return exitOk;
}

int Support(CommandContext& context) {
    std::string address =
        CRegistry::GetString(section, "SupportAddress", "mailto:support@orvane.com") +
        "?subject=Velmar%209.72";
    host::OpenAddress(address);
    context.Summary("address", address);
    return exitOk;
}

int Help(const CAttBatApp& app, CommandContext& context) {
    if (context.arguments.size() > 1) {
        host::CurrentPrinter().Warn("velmar: help takes at most one command name.");
        return exitUsage;
    }
    if (context.arguments.empty()) {
        host::CurrentPrinter().Print(CommandListText(app));
        return exitOk;
    }
    const CommandEntry* entry = FindCommandEntry(context.arguments.front());
    if (!entry) {
        std::string hint = SuggestCommand(context.arguments.front());
        host::CurrentPrinter().Warn("velmar: unknown command '" + context.arguments.front() + "'." +
                                    (hint.empty() ? "" : " Did you mean '" + hint + "'?"));
        return exitUsage;
    }
    host::CurrentPrinter().Print(CommandHelpText(app, *entry));
    return exitOk;
}

int LoadMenuCommand(const CAttBatApp& app) {
    MenuHost* menus = app.GetMenuHost();
    NoMenuHost none;
    LoadMenu(menus ? *menus : none);
    if (!menus) {
        host::Printf("\nThere is no menu on Linux: run the commands as \"velmar COMMAND\" "
                     "(\"velmar help\" lists them).");
    }
    return exitOk;
}

CommandOption Switch(const OptionBox& box) {
    return {std::string(box.option), "on|off",
            base::Sprintf("\"%s\" (%s)", box.label, box.group)};
}

}  // namespace

void ImplementFrameCommands(CAttBatApp& app) {
    std::vector<CommandOption> boxes;
    for (const OptionBox& box : optionBoxes) boxes.push_back(Switch(box));
    app.Implement("Velmar_Options", {boxes, "", Options});
    app.Implement("Velmar_Debug", {{}, "[on|off]", Debug});
    app.Implement("Velmar_About", {{}, "", About});
    app.Implement("Velmar_Website", {{}, "", Website});
    app.Implement("Velmar_Support", {{}, "", Support});
    app.Implement("Velmar_Faq", {{}, "", [](CommandContext& c) { return OpenPage(c, "faq"); }});
    app.Implement("Velmar_New", {{}, "", [](CommandContext& c) { return OpenPage(c, "whatsnew"); }});
    app.Implement("Velmar_Demo", {{}, "", [](CommandContext& c) { return OpenPage(c, "demo"); }});
    app.Implement("Velmar_Help",
                  {{}, "[COMMAND]", [&app](CommandContext& c) { return Help(app, c); }});
    app.Implement("Velmar_Test", {{}, "", [](CommandContext&) {
                      arxutils::ExcelUtils::VelmarTest();
                      return exitOk;
                  }});
    app.Implement("Velmar_FindEntByHandle", {{}, "[HANDLE]", [](CommandContext& c) {
                      if (c.arguments.size() > 1) {
                          host::CurrentPrinter().Warn("velmar find: give one handle, such as 2F4 or <2F4_TAG>.");
                          return exitUsage;
                      }
                      if (c.arguments.size() == 1) return FindEntByHandle(c.arguments.front());
                      return Velmar_FindEntByHandle(host::CurrentEditor());
                  },
                  false, true});
    app.Implement("Velmar_LoadMenu",
                  {{}, "", [&app](CommandContext&) { return LoadMenuCommand(app); }});
}

}  // namespace attbat
