#include "cli/CommandLine.h"

#include <cstdio>
#include <optional>

#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CommandRun.h"
#include "cli/ControlOptions.h"
#include "cli/ExitCodes.h"
#include "cli/GlobalOptions.h"
#include "cli/HelpCommand.h"
#include "cli/HelpTexts.h"
#include "host/Answers.h"
#include "host/Console.h"
#include "host/Printer.h"
#include "host/TerminalUi.h"

namespace cli {

namespace {

using attbat::CommandContext;
using attbat::CommandEntry;
using attbat::CommandHandler;

int UsageError(const std::string& message) {
    host::CurrentPrinter().Warn("velmar: " + message);
    return exitUsage;
}

// The command that "cell-block WORD" names; "" for a word it doesn't know.
std::string CellBlockCommand(std::string_view word) {
    if (word == "create" || word == "update" || word == "upload") return std::string(word) + "-cell-block";
    if (word == "info") return "cell-block-info";
    return {};
}

}  // namespace

void PrintJson(const CommandEntry& entry, const CommandContext& context, int status) {
    std::string json = "{\"command\": " + attbat::JsonQuote(entry.localName) +
                       ", \"status\": " +
                       attbat::JsonQuote(status == exitOk       ? "ok"
                                         : context.Cancelled() ? "cancelled"
                                                               : "failed") +
                       ", \"exit\": " + std::to_string(status);
    for (const auto& [key, value] : context.SummaryFields()) {
        json += ", " + attbat::JsonQuote(key) + ": " + value;
    }
    json += "}\n";
    std::fwrite(json.data(), 1, json.size(), stdout);
    std::fflush(stdout);
}

int SetUpConsole(const GlobalOptions& global) {
    host::Console& console = host::CurrentConsole();
    console.SetInteractive(host::Console::DetectTerminal());
    console.SetPreset(global.yes ? host::Preset::Yes : global.no ? host::Preset::No : host::Preset::None);
    console.SetAnswers({});
    if (!global.answers.empty()) {
        auto answers = host::Answers::Load(global.answers);
        if (!answers) return UsageError(answers.GetStatus().Message());
        console.SetAnswers(std::move(*answers));
    }
    return exitOk;
}

std::optional<int> ParseCommandLine(const std::vector<std::string>& args, attbat::CAttBatApp& app,
                                    const std::vector<CommandLineTool>& tools, CommandRequest& request) {
    GlobalOptions& global = request.global;
    const CommandEntry*& entry = request.entry;
    CommandContext& context = request.context;
    bool onlyWords = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        bool isOption = !onlyWords && arg.size() > 1 && arg[0] == '-';
        if (!isOption) {
            if (!entry) {
                for (const CommandLineTool& tool : tools) {
                    if (tool.name != arg) continue;
                    std::vector<std::string> words(args.begin() + static_cast<long>(i) + 1, args.end());
                    if (tool.takesGlobalOptions) words.insert(words.begin(), args.begin(), args.begin() + static_cast<long>(i));
                    return tool.run(words);
                }
                entry = attbat::FindCommandEntry(arg);
                // "cell-block create|update|info|upload" names the cell block commands by group.
                if (!entry && arg == "cell-block" && i + 1 < args.size()) {
                    entry = attbat::FindCommandEntry(CellBlockCommand(args[i + 1]));
                    if (entry) ++i;
                }
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
            request.help = true;
            continue;
        }
        if (arg.rfind("--", 0) != 0) return UsageError("unknown option '" + arg + "'.");
        auto [name, value] = SplitOptionWord(arg);
        const CommandHandler* handler = entry ? app.Handler(*entry) : nullptr;
        const attbat::Control* own = handler ? attbat::FindControl(handler->controls, name) : nullptr;
        const GlobalOptionInfo* globalOption = own ? nullptr : FindGlobalOption(name);
        if (!own && !globalOption) {
            if (entry && !handler) continue;  // reported below as not available
            std::string where = entry ? " for " + std::string(entry->alias) +
                                            " (see 'velmar " + std::string(entry->alias) + " --help')"
                                      : " (see 'velmar --help')";
            return UsageError("unknown option '--" + name + "'" + where + ".");
        }
        bool takesValue = own ? own->kind != attbat::ControlKind::Button : !globalOption->valueName.empty();
        if (takesValue && !value) {
            if (i + 1 >= args.size()) return UsageError("option '--" + name + "' needs a value.");
            value = args[++i];
        }
        if (!takesValue && value) return UsageError("option '--" + name + "' takes no value.");
        if (own) {
            std::string refused = SetControlOption(context.values, *own, value.value_or(""));
            if (!refused.empty()) {
                host::CurrentPrinter().Warn("velmar " + std::string(entry->alias) + ": " + refused);
                return exitUsage;
            }
        } else if (name == "help") {
            request.help = true;
        } else if (name == "version") {
            host::CurrentPrinter().Print("velmar 9.72\n");
            return exitOk;
        } else {
            SetGlobalOption(global, name, value ? *value : std::string());
        }
    }
    return std::nullopt;
}

int RunCommandLine(const std::vector<std::string>& args, attbat::CAttBatApp& app,
                   const std::vector<CommandLineTool>& tools) {
    ImplementHelpCommand(app);
    CommandRequest request;
    if (std::optional<int> done = ParseCommandLine(args, app, tools, request)) return *done;
    const GlobalOptions& global = request.global;
    const CommandEntry* entry = request.entry;
    CommandContext& context = request.context;
    if (request.help) {
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
    if (global.spreadsheet && *global.spreadsheet != "file" && *global.spreadsheet != "calc")
        return UsageError("--spreadsheet takes file or calc, not \"" + *global.spreadsheet + "\".");
    if (int console = SetUpConsole(global); console != exitOk) return console;
    context.reportAsJson = global.json;

    host::TerminalUi ui(host::CurrentConsole());
    int status = ExitCode(attbat::RunCommand(app, *entry, context, MakeRunSetup(global), ui));
    if (global.json) PrintJson(*entry, context, status);
    return status;
}

}  // namespace cli
