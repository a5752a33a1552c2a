#include "attbat/frame/CommandLine.h"

#include <algorithm>
#include <cstdio>
#include <exception>

#include "attbat/frame/CArxErrLog.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/frame/CAttBatApp.h"
#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/FileBackend.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/Console.h"
#include "cad/Database.h"
#include "cad/units/UnitSettings.h"
#include "host/Document.h"
#include "host/Locations.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/TerminalUi.h"

namespace attbat {

namespace {

struct GlobalOptionInfo {
    std::string_view name;
    std::string_view valueName;  // "" for a flag
    std::string_view help;
};

constexpr GlobalOptionInfo globalOptions[] = {
    {"drawing", "FILE", "the current drawing (.dxf); saved in place, keeping FILE.bak"},
    {"workbook", "FILE", "the active workbook (.xlsx, .xlsm)"},
    {"sheet", "NAME", "the active sheet of the workbook"},
    {"selection", "RANGE", "the selected range of the sheet, e.g. A2:F40"},
    {"active-cell", "CELL", "the active cell of the sheet, e.g. B3"},
    {"output", "FILE", "where a new workbook or file is written"},
    {"settings", "FILE", "the settings file (default $XDG_CONFIG_HOME/velmar/settings.ini)"},
    {"log", "FILE", "the session log (default $XDG_STATE_HOME/velmar/Velmar.log)"},
    {"answers", "FILE", "answers to prompts and questions, given in advance"},
    {"yes", "", "answer Yes (or OK) to every question"},
    {"no", "", "answer No (or Cancel) to every question"},
    {"json", "", "print one machine-readable summary on standard output"},
    {"quiet", "", "print nothing but warnings and errors"},
    {"debug", "", "turn the session log on for this run"},
    {"force", "", "allow --output to replace an existing file"},
    {"help", "", "show this help (after a command: the command's options)"},
    {"version", "", "show the version"},
};

const GlobalOptionInfo* FindGlobal(std::string_view name) {
    for (const GlobalOptionInfo& option : globalOptions) {
        if (option.name == name) return &option;
    }
    return nullptr;
}

const CommandOption* FindOption(const CommandHandler* handler, std::string_view name) {
    if (!handler) return nullptr;
    for (const CommandOption& option : handler->options) {
        if (option.name == name) return &option;
    }
    return nullptr;
}

void SetGlobal(GlobalOptions& global, std::string_view name, const std::string& value) {
    if (name == "drawing") global.drawing = value;
    else if (name == "workbook") global.workbook = value;
    else if (name == "sheet") global.sheet = value;
    else if (name == "selection") global.selection = value;
    else if (name == "active-cell") global.activeCell = value;
    else if (name == "output") global.output = value;
    else if (name == "settings") global.settings = value;
    else if (name == "log") global.log = value;
    else if (name == "answers") global.answers = value;
    else if (name == "yes") global.yes = true;
    else if (name == "no") global.no = true;
    else if (name == "json") global.json = true;
    else if (name == "quiet") global.quiet = true;
    else if (name == "debug") global.debug = true;
    else if (name == "force") global.force = true;
}

int UsageError(const std::string& message) {
    host::CurrentPrinter().Warn("velmar: " + message);
    return exitUsage;
}

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

// Everything that lives for one run of the program, put back as it was at its end.
class RunScope {
public:
    RunScope(const GlobalOptions& global, host::Console& console)
        : ui_(console) {
        host::SetSettingsFilePath(global.settings);
        CRegistry::StartRun();
        host::SetLogFilePath(global.log);
        host::CurrentPrinter().SetQuiet(global.quiet);
        host::CurrentPrinter().SetToStandardError(global.json);
        host::SetCurrentUi(&ui_);
        host::ProgressMeter::ResetCancel();
        debugOn = 0;
    }
    ~RunScope() {
        CRegistry::StartRun();
        host::CurrentPrinter().FinishLine();
        host::CurrentPrinter().SetQuiet(false);
        host::CurrentPrinter().SetToStandardError(false);
        host::SetCurrentUi(nullptr);
        debugOn = 0;
    }

private:
    host::TerminalUi ui_;
};

int RunGuarded(CAttBatApp& app, const CommandEntry& entry, CommandContext& context) {
    // No exception leaves a command: what escapes one is reported and the command failed.
    try {
        return app.Run(entry, context);
    } catch (const std::exception& error) {
        host::CurrentPrinter().Warn(base::Sprintf("Unexpected error in %s: %s.", entry.localName,
                                                  error.what()));
    } catch (...) {
        host::CurrentPrinter().Warn(base::Sprintf("Unknown Error in %s.", entry.localName));
    }
    return exitFailed;
}

// What was sent to the command line during a command runs after it, as the host would: the
// module's own queue first, then each document's. Host commands such as REGEN have no work here.
void RunQueuedCommands(CAttBatApp& app, const GlobalOptions& global) {
    std::vector<std::string> queued;
    for (std::string next = app.TakeQueuedCommand(); !next.empty(); next = app.TakeQueuedCommand()) {
        queued.push_back(std::move(next));
    }
    for (host::Document* document : host::DocumentManager::Instance().Documents()) {
        for (std::string& text : document->TakeQueued()) queued.push_back(std::move(text));
    }
    for (const std::string& text : queued) {
        const CommandEntry* next = app.FindCommand(base::Trim(text));
        if (!next || !app.Handler(*next)) continue;
        CommandContext queuedContext;
        queuedContext.global = global;
        RunGuarded(app, *next, queuedContext);
    }
}

void PrintJson(const CommandEntry& entry, const CommandContext& context, int status) {
    std::string json = "{\"command\": " + JsonQuote(entry.localName) + ", \"status\": " +
                       JsonQuote(status == exitOk       ? "ok"
                                 : context.Cancelled() ? "cancelled"
                                                       : "failed") +
                       ", \"exit\": " + std::to_string(status);
    for (const auto& [key, value] : context.SummaryFields()) {
        json += ", " + JsonQuote(key) + ": " + value;
    }
    json += "}\n";
    std::fwrite(json.data(), 1, json.size(), stdout);
    std::fflush(stdout);
}

}  // namespace

std::optional<bool> ParseSwitch(std::string_view text) {
    for (std::string_view on : {"on", "yes", "true", "1"}) {
        if (base::EqualNoCase(text, on)) return true;
    }
    for (std::string_view off : {"off", "no", "false", "0"}) {
        if (base::EqualNoCase(text, off)) return false;
    }
    return std::nullopt;
}

std::string SuggestCommand(std::string_view typed) {
    std::string folded = base::FoldCase(typed);
    std::string best;
    std::size_t bestDistance = 0;
    std::vector<const CommandEntry*> entries;
    for (const CommandEntry& entry : CommandTable()) entries.push_back(&entry);
    for (const CommandEntry& entry : DialogTable()) entries.push_back(&entry);
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
        "       velmar dxf|xlsx ...   (diagnostics of drawings and workbooks)\n"
        "\n"
        "Velmar moves block attribute data between DXF drawings and .xlsx workbooks.\n"
        "COMMAND is a command name (VelmarOut, Velmar_Options, ...; any case) or its alias\n"
        "(export, options, ...). 'velmar help' lists the commands, 'velmar COMMAND --help'\n"
        "the options of one.\n"
        "\n"
        "Global options:\n";
    for (const GlobalOptionInfo& option : globalOptions) {
        std::string left = "--" + std::string(option.name);
        if (!option.valueName.empty()) left += " " + std::string(option.valueName);
        text += base::Sprintf("  %-22s %s\n", left, option.help);
    }
    text += "\nExit status: 0 done, 1 failed or cancelled, 2 bad usage.\n";
    return text;
}

std::string CommandListText(const CAttBatApp& app) {
    std::string text = "Commands (name, alias, what it does):\n";
    for (std::string_view group : CommandGroups()) {
        text += "\n" + std::string(group) + "\n";
        for (const CommandEntry& entry : CommandTable()) {
            if (entry.group != group) continue;
            std::string line = base::Sprintf("  %-36s %-22s %s", entry.localName, entry.alias,
                                             entry.description);
            if (!app.Handler(entry)) line += " (not available in this build yet)";
            text += line + "\n";
        }
    }
    text += "\nDialogs\n";
    for (const CommandEntry& entry : DialogTable()) {
        text += base::Sprintf("  %-36s %-22s %s\n", entry.localName, entry.alias, entry.description);
    }
    text += "\nDiagnostics\n";
    text += base::Sprintf("  %-36s %-22s %s\n", "dxf", "", "Inspect or resave a DXF drawing");
    text += base::Sprintf("  %-36s %-22s %s\n", "xlsx", "", "Inspect or resave an .xlsx workbook");
    text += "\n'velmar COMMAND --help' lists the options of a command; 'man velmar' has the rest.\n";
    return text;
}

std::string CommandHelpText(const CAttBatApp& app, const CommandEntry& entry) {
    const CommandHandler* handler = app.Handler(entry);
    std::string text = base::Sprintf("Usage: velmar [global options] %s [options]", entry.alias);
    if (handler && !handler->argumentsUsage.empty()) text += " " + handler->argumentsUsage;
    text += "\n\n" + std::string(entry.description) + ".\n";
    if (IsDialogEntry(entry))
        text += base::Sprintf("Dialog %s (also %s), opened here on its own.\n", entry.localName, entry.alias);
    else
        text += base::Sprintf("Command %s (also %s, %s), group %s.\n", entry.localName,
                              entry.globalName, entry.alias, entry.group);
    if (!handler) {
        text += "\nThis command is not available in this build yet.\n";
        return text;
    }
    if (!handler->options.empty()) {
        text += "\nOptions:\n";
        for (const CommandOption& option : handler->options) {
            std::string left = "--" + option.name;
            if (!option.valueName.empty()) left += " " + option.valueName;
            text += base::Sprintf("  %-34s %s%s\n", left, option.label, option.repeatable ? " (may be repeated)" : "");
        }
    }
    text += "\n'velmar --help' lists the global options.\n";
    return text;
}

int RunCommandLine(const std::vector<std::string>& args, CAttBatApp& app,
                   const std::vector<CommandLineTool>& tools) {
    GlobalOptions global;
    const CommandEntry* entry = nullptr;
    std::string commandWord;
    CommandContext context;
    bool help = false;
    bool onlyWords = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        bool isOption = !onlyWords && arg.size() > 1 && arg[0] == '-';
        if (!isOption) {
            if (commandWord.empty()) {
                commandWord = arg;
                for (const CommandLineTool& tool : tools) {
                    if (tool.name == arg) {
                        return tool.run(std::vector<std::string>(args.begin() + static_cast<long>(i) + 1,
                                                                 args.end()));
                    }
                }
                entry = FindCommandEntry(arg);
                if (!entry) {
                    std::string hint = SuggestCommand(arg);
                    return UsageError("unknown command '" + arg + "'." +
                                      (hint.empty() ? "" : " Did you mean '" + hint + "'?") +
                                      " 'velmar help' lists the commands.");
                }
            } else {
                context.arguments.push_back(arg);
            }
            continue;
        }
        if (arg == "--") {
            onlyWords = true;
            continue;
        }
        if (arg == "-h") {
            help = true;
            continue;
        }
        if (arg.rfind("--", 0) != 0) return UsageError("unknown option '" + arg + "'.");
        std::string name = arg.substr(2);
        std::optional<std::string> value;
        if (std::size_t eq = name.find('='); eq != std::string::npos) {
            value = name.substr(eq + 1);
            name.resize(eq);
        }
        const CommandHandler* handler = entry ? app.Handler(*entry) : nullptr;
        const CommandOption* own = FindOption(handler, name);
        const GlobalOptionInfo* globalOption = own ? nullptr : FindGlobal(name);
        if (!own && !globalOption) {
            if (entry && !handler) continue;  // reported below as not available
            std::string where = entry ? " for " + std::string(entry->alias) +
                                            " (see 'velmar " + std::string(entry->alias) + " --help')"
                                      : " (see 'velmar --help')";
            return UsageError("unknown option '--" + name + "'" + where + ".");
        }
        bool takesValue = own ? !own->valueName.empty() : !globalOption->valueName.empty();
        if (takesValue && !value) {
            if (i + 1 >= args.size()) return UsageError("option '--" + name + "' needs a value.");
            value = args[++i];
        }
        if (!takesValue && value) return UsageError("option '--" + name + "' takes no value.");
        if (own) {
            std::string& stored = context.options[name];
            const bool again = own->repeatable && !stored.empty();
            stored = again ? stored + "," + value.value_or("1") : value.value_or("1");
        } else if (name == "help") {
            help = true;
        } else if (name == "version") {
            host::CurrentPrinter().Print("velmar 9.72\n");
            return exitOk;
        } else {
            SetGlobal(global, name, value ? *value : std::string());
        }
    }
    if (help) {
        host::CurrentPrinter().Print(entry ? CommandHelpText(app, *entry) : UsageText());
        return exitOk;
    }
    if (!entry) {
        host::CurrentPrinter().Warn(
            "Usage: velmar [global options] COMMAND [options]\n"
            "velmar: no command given. 'velmar help' lists the commands, 'velmar --help' the "
            "global options.");
        return exitUsage;
    }
    if (global.yes && global.no) return UsageError("--yes and --no contradict each other.");

    host::Console& console = host::CurrentConsole();
    console.SetInteractive(host::Console::DetectTerminal());
    console.SetPreset(global.yes ? host::Preset::Yes : global.no ? host::Preset::No : host::Preset::None);
    console.SetAnswers({});
    if (!global.answers.empty()) {
        auto answers = host::Answers::Load(global.answers);
        if (!answers) return UsageError(answers.GetStatus().Message());
        console.SetAnswers(std::move(*answers));
    }
    context.global = global;

    RunScope scope(global, console);
    app.EntryPoint(kInitAppMsg, nullptr);
    if (global.debug) {
        debugOn = 1;
        if (!ErrLog().IsOpen() && !ErrLog().Open()) {
            host::ShowMessage("Failed to create the log file.", "Velmar");
        }
    }
    host::DocumentManager& documents = host::DocumentManager::Instance();
    documents.CloseAll();
    if (!global.drawing.empty()) {
        const CommandHandler* handler = app.Handler(*entry);
        const host::ReadKind when = handler && handler->readsDrawingOnFirstUse
                                        ? host::ReadKind::OnFirstUse
                                        : host::ReadKind::Now;
        auto opened = documents.OpenCurrent(global.drawing, when);
        if (!opened) {
            host::CurrentPrinter().Warn(opened.GetStatus().Message());
            app.EntryPoint(kUnloadAppMsg, nullptr);
            return exitFailed;
        }
    }
    // The spreadsheet side of the run: the --workbook file stands for the running instance, and
    // numbers in cells are read with the current drawing's units (asked for when a number is).
    if (host::Document* current = documents.CurDocument()) {
        arxutils::ExcelUtils::SetDrawingUnitsSource([current] { return current->Units(); });
    } else {
        arxutils::ExcelUtils::SetDrawingUnits(nullptr);
    }
    auto workbooks = arxutils::excel::FileBackend::Create(
        {global.workbook, global.sheet, global.selection, global.activeCell, global.output,
         global.force, global.drawing});
    if (!workbooks) {
        host::CurrentPrinter().Warn(workbooks.GetStatus().Message());
        arxutils::ExcelUtils::SetDrawingUnits(nullptr);
        app.EntryPoint(kUnloadAppMsg, nullptr);
        return exitFailed;
    }
    arxutils::excel::SetCurrentServer(workbooks->get());
    app.EntryPoint(kLoadDwgMsg, nullptr);
    int status = RunGuarded(app, *entry, context);
    RunQueuedCommands(app, global);
    // Workbooks are written only when the command succeeded: a half-done export must not replace
    // the user's file. Their lock files and --force are respected by SaveChanged.
    bool allSaved = true;
    if ((*workbooks)->HasChanges()) {
        if (status == exitOk) {
            if (base::Status saved = (*workbooks)->SaveChanged(); !saved) {
                host::CurrentPrinter().Warn(saved.Message());
                context.Summary("error", saved.Message());
                status = exitFailed;
                allSaved = false;
            }
        } else {
            host::CurrentPrinter().Warn(
                "The workbook changes of the unfinished command were not saved; the files are as "
                "they were.");
            allSaved = false;
        }
    }
    arxutils::excel::SetCurrentServer(nullptr);
    arxutils::ExcelUtils::SetDrawingUnits(nullptr);
    // The host saves what a command changed; unchanged drawings aren't written.
    const CommandHandler* handler = app.Handler(*entry);
    const host::BackupMode backup =
        handler && handler->changesViewOnly ? host::BackupMode::KeepExisting : host::BackupMode::Replace;
    if (base::Status saved = documents.SaveAll(backup); !saved) {
        host::CurrentPrinter().Warn(saved.Message());
        context.Summary("error", saved.Message());
        status = exitFailed;
        allSaved = false;
    }
    // Success lines that waited for these saves are told now, or never.
    host::CurrentPrinter().ReleaseHeld(allSaved);
    documents.CloseAll();
    app.EntryPoint(kUnloadAppMsg, nullptr);
    host::CurrentPrinter().FinishLine();
    if (global.json) PrintJson(*entry, context, status);
    return status;
}

}  // namespace attbat
