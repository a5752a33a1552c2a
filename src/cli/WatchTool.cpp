#include "cli/WatchTool.h"

#include <optional>

#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/COptionsDialog.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/frame/CommandRun.h"
#include "attbat/links/DrawingWatch.h"
#include "arxutils/excel/FileBackend.h"
#include "base/Path.h"
#include "cli/ExitCodes.h"
#include "cli/GlobalOptions.h"
#include "host/Console.h"
#include "host/FileWatcher.h"
#include "host/Printer.h"
#include "host/TerminalUi.h"

namespace cli {

namespace {

int Refuse(const std::string& message) {
    host::CurrentPrinter().Warn("velmar watch: " + message);
    return exitUsage;
}

}  // namespace

std::string WatchUsageText() {
    return "Usage: velmar [global options] watch --drawing FILE --workbook BOOK [--auto-upload on|off]\n"
           "\n"
           "Watch a drawing that another program edits: after each save, the references whose\n"
           "attributes or properties changed are uploaded to the workbook's cells (the automatic\n"
           "upload), until Ctrl-C. The drawing is never written. A workbook open in another\n"
           "program is written when it is closed there.\n"
           "\n"
           "Options:\n"
           "  --auto-upload on|off               \"Upload to Excel automatically when attributes are modified in\n"
           "                                     AutoCAD.\" (Options, stored); the watch needs it on\n"
           "\n"
           "'velmar --help' lists the global options.\n";
}

int RunWatchTool(const std::vector<std::string>& args, attbat::CAttBatApp& app) {
    GlobalOptions global;
    std::optional<bool> autoUpload;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string name = args[i];
        if (name == "--help" || name == "-h") {
            host::CurrentPrinter().Print(WatchUsageText());
            return exitOk;
        }
        if (name.rfind("--", 0) != 0) return Refuse("takes no words ('" + name + "'); see 'velmar watch --help'.");
        OptionWord word = SplitOptionWord(name);
        name = word.name;
        std::optional<std::string> value = word.value;
        const GlobalOptionInfo* option = FindGlobalOption(name);
        const bool takesValue = name == "auto-upload" || (option && !option->valueName.empty());
        if (!option && name != "auto-upload") return Refuse("unknown option '--" + name + "'; see 'velmar watch --help'.");
        if (takesValue && !value) {
            if (i + 1 >= args.size()) return Refuse("option '--" + name + "' needs a value.");
            value = args[++i];
        }
        if (name == "auto-upload") {
            if (*value != "on" && *value != "off") return Refuse("--auto-upload takes on or off, not '" + *value + "'.");
            autoUpload = *value == "on";
        } else {
            SetGlobalOption(global, name, value.value_or(""));
        }
    }
    if (global.drawing.empty() || global.workbook.empty()) {
        return Refuse("give the drawing to watch with --drawing FILE and its workbook with --workbook BOOK.");
    }
    attbat::RunSetup setup = MakeRunSetup(global);
    setup.uploadAtLoad = true;
    host::Console& console = host::CurrentConsole();
    console.SetInteractive(false);
    host::TerminalUi ui(console);
    attbat::ModuleRun run(app, setup, ui);
    if (autoUpload) {
        attbat::COptionsDialog options;
        options.OnInitDialog();
        options.m_autoUploadToActiveWorkbook = *autoUpload;
        options.OnOK();
    }
    if (attbat::CRegistry::GetInt("Velmar", "AutoUploadToActiveWorkbook", 0) == 0) {
        host::CurrentPrinter().Warn(
            "velmar watch: the automatic upload is off (Options: \"Upload to Excel automatically when "
            "attributes are modified in AutoCAD.\"); turn it on with --auto-upload on.");
        return exitFailed;
    }
    if (attbat::CRegistry::GetInt("Velmar", "AutoUpdateAtt", 0) != 0) {
        host::Printf("\nThe linked workbooks' values are not brought into %s: the watch never writes the drawing.",
                     base::FileName(global.drawing));
    }
    host::FileWatcher watcher;
    if (base::Status watched = watcher.Watch(global.drawing); !watched) {
        host::CurrentPrinter().Warn(watched.Message());
        return exitFailed;
    }
    for (const std::string& lock : arxutils::excel::LockFilesOf(global.workbook)) watcher.Watch(lock);
    host::InterruptOnSignals interrupt(watcher);
    attbat::DrawingWatch watch(run, global.drawing, global.workbook);
    if (!watch.Start()) return exitFailed;
    return ExitCode(watch.Run(watcher));
}

}  // namespace cli
