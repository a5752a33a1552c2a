#include "attbat/frame/CommandRun.h"

#include <exception>

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/ExcelServer.h"
#include "attbat/frame/CArxErrLog.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/frame/DwgConverterSettings.h"
#include "attbat/frame/RunSettings.h"
#include "base/Format.h"
#include "base/Memory.h"
#include "base/Text.h"
#include "host/Document.h"
#include "host/Locations.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"

namespace attbat {

// Everything that lives for one run of the program, put back as it was at its end.
struct ModuleRun::Scope {
    Scope(const RunSetup& setup, host::Ui& ui) {
        host::SetSettingsFilePath(setup.settings);
        CRegistry::StartRun();
        host::SetLogFilePath(setup.log);
        host::CurrentPrinter().SetQuiet(setup.quiet);
        host::CurrentPrinter().SetToStandardError(setup.printToStandardError);
        host::SetCurrentUi(&ui);
        host::ProgressMeter::ResetCancel();
        debugOn = 0;
    }
    ~Scope() {
        CRegistry::StartRun();
        host::CurrentPrinter().FinishLine();
        host::CurrentPrinter().SetQuiet(false);
        host::CurrentPrinter().SetToStandardError(false);
        host::SetCurrentUi(nullptr);
        debugOn = 0;
    }
};

ModuleRun::ModuleRun(CAttBatApp& app, const RunSetup& setup, host::Ui& ui)
    : app_(app), setup_(setup), scope_(std::make_unique<Scope>(setup, ui)) {
    app_.uploadAtLoad = setup.uploadAtLoad;
    app_.updateAtLoad = true;
    app_.EntryPoint(kInitAppMsg, nullptr);
    UseDwgConverters(setup.dwgConverter, setup.dxfToDwgConverter);
    if (setup.debug) {
        debugOn = 1;
        if (!ErrLog().IsOpen() && !ErrLog().Open()) {
            host::ShowMessage("Failed to create the log file.", "Velmar");
        }
    }
    host::DocumentManager::Instance().CloseAll();
}

ModuleRun::~ModuleRun() {
    host::DocumentManager::Instance().CloseAll();
    arxutils::ExcelUtils::SetDrawingUnits(nullptr);
    app_.EntryPoint(kUnloadAppMsg, nullptr);
    ForgetDwgConverters();
    host::CurrentPrinter().FinishLine();
}

base::Status ModuleRun::OpenDrawing(host::ReadKind when) {
    host::DocumentManager& documents = host::DocumentManager::Instance();
    if (!setup_.drawing.empty()) {
        auto opened = documents.OpenCurrent(setup_.drawing, when);
        if (!opened) return opened.GetStatus();
    }
    UseCurrentDocument();
    return base::Status::Ok();
}

void ModuleRun::UseCurrentDocument() {
    // Numbers in cells are read with the current drawing's units (asked for when a number is).
    if (host::Document* current = host::DocumentManager::Instance().CurDocument()) {
        arxutils::ExcelUtils::SetDrawingUnitsSource([current] { return current->Units(); });
    } else {
        arxutils::ExcelUtils::SetDrawingUnits(nullptr);
    }
}

CommandStatus ModuleRun::WithWorkbooks(const std::function<CommandStatus()>& work, CommandContext& context,
                                       host::BackupMode backup) {
    auto choice = ChooseSpreadsheet(setup_.spreadsheet, setup_.calcConnection);
    if (!choice) {
        host::CurrentPrinter().Warn(choice.GetStatus().Message());
        return CommandStatus::Failed;
    }
    CommandStatus status = CommandStatus::Done;
    bool allSaved = true;
    auto fail = [&](const std::string& message) {
        host::CurrentPrinter().Warn(message);
        context.Summary("error", message);
        status = CommandStatus::Failed;
        allSaved = false;
    };
    if (choice->live) {
        // The running Calc keeps its documents open and unsaved: the user saves them there.
        if (!setup_.liveServer) {
            host::CurrentPrinter().Warn(
                "This velmar was built without the LibreOffice Calc backend (libreoffice-dev was "
                "missing); use --spreadsheet file.");
            return CommandStatus::Failed;
        }
        std::unique_ptr<arxutils::excel::ExcelServer> live = setup_.liveServer(choice->connection, setup_.calcStart, setup_.workbooks);
        if (!live) return CommandStatus::Failed;  // the factory said why
        arxutils::excel::SetCurrentServer(live.get());
        status = work();
        arxutils::excel::SetCurrentServer(nullptr);
    } else {
        // The workbook given stands for the running instance.
        arxutils::excel::FileBackendOptions options = setup_.workbooks;
        const host::Document* current = host::DocumentManager::Instance().CurDocument();
        options.drawingPath = current ? current->FileName() : setup_.drawing;
        auto workbooks = arxutils::excel::FileBackend::Create(options);
        if (!workbooks) {
            host::CurrentPrinter().Warn(workbooks.GetStatus().Message());
            return CommandStatus::Failed;
        }
        (*workbooks)->SetLog([](const std::string& line) { ErrLog().Write("%s", line); });
        arxutils::excel::SetCurrentServer(workbooks->get());
        status = work();
        if ((*workbooks)->HasChanges()) {
            if (status != CommandStatus::Done) {
                host::CurrentPrinter().Warn(
                    "The workbook changes of the unfinished command were not saved; the files are as "
                    "they were.");
                allSaved = false;
            } else if (base::Status saved = (*workbooks)->SaveChanged(); !saved) {
                fail(saved.Message());
            }
        }
        arxutils::excel::SetCurrentServer(nullptr);
        base::Dispose(std::move(*workbooks));
    }
    // The host saves what a command changed; unchanged drawings aren't written.
    if (!setup_.keepDocumentsOpen) {
        if (base::Status saved = host::DocumentManager::Instance().SaveAll(backup); !saved) fail(saved.Message());
    }
    // Success lines that waited for these saves are told now, or never.
    host::CurrentPrinter().ReleaseHeld(allSaved);
    return status;
}

namespace {

CommandStatus RunGuarded(CAttBatApp& app, const CommandEntry& entry, CommandContext& context) {
    try {
        return app.Run(entry, context);
    } catch (const std::exception& error) {
        host::CurrentPrinter().Warn(base::Sprintf("Unexpected error in %s: %s.", entry.localName,
                                                  error.what()));
    } catch (...) {
        host::CurrentPrinter().Warn(base::Sprintf("Unknown Error in %s.", entry.localName));
    }
    return CommandStatus::Failed;
}

// What was sent to the command line during a command runs after it, as the host would. Host
// commands such as REGEN have no work here.
void RunQueuedCommands(CAttBatApp& app, const CommandContext& context) {
    for (const std::string& text : TakeQueuedCommands(app)) {
        const CommandEntry* next = app.FindCommand(base::Trim(text));
        if (!next || !app.Handler(*next)) continue;
        CommandContext queuedContext;
        queuedContext.reportAsJson = context.reportAsJson;
        RunGuarded(app, *next, queuedContext);
    }
}

}  // namespace

std::vector<std::string> TakeQueuedCommands(CAttBatApp& app) {
    std::vector<std::string> queued;
    for (std::string next = app.TakeQueuedCommand(); !next.empty(); next = app.TakeQueuedCommand()) {
        queued.push_back(std::move(next));
    }
    for (host::Document* document : host::DocumentManager::Instance().Documents()) {
        for (std::string& text : document->TakeQueued()) queued.push_back(std::move(text));
    }
    return queued;
}

CommandStatus RunCommandInSession(ModuleRun& run, const CommandEntry& entry, CommandContext& context) {
    run.UseCurrentDocument();
    // A Ctrl-C that cancelled an earlier command of the session doesn't cancel this one.
    host::ProgressMeter::ResetCancel();
    const CommandHandler* handler = run.App().Handler(entry);
    const host::BackupMode backup =
        handler && handler->changesViewOnly ? host::BackupMode::KeepExisting : host::BackupMode::Replace;
    return run.WithWorkbooks([&] { return RunGuarded(run.App(), entry, context); }, context, backup);
}

void LoadDrawingInSession(ModuleRun& run) {
    run.UseCurrentDocument();
    CommandContext context;
    run.WithWorkbooks(
        [&] {
            run.App().EntryPoint(kLoadDwgMsg, nullptr);
            return CommandStatus::Done;
        },
        context);
}

CommandStatus RunCommand(CAttBatApp& app, const CommandEntry& entry, CommandContext& context,
                         const RunSetup& setup, host::Ui& ui) {
    ModuleRun run(app, setup, ui);
    const CommandHandler* handler = app.Handler(entry);
    host::ReadKind when = host::ReadKind::Now;
    if (handler && handler->readsDrawingOnFirstUse) when = host::ReadKind::Ahead;
    else if (handler && handler->readsDrawingInFileOrder) when = host::ReadKind::InFileOrder;
    if (base::Status opened = run.OpenDrawing(when); !opened) {
        host::CurrentPrinter().Warn(opened.Message());
        return CommandStatus::Failed;
    }
    // A command that changes only the view keeps an existing backup: it may be the only copy from
    // before an import.
    const host::BackupMode backup =
        handler && handler->changesViewOnly ? host::BackupMode::KeepExisting : host::BackupMode::Replace;
    return run.WithWorkbooks(
        [&] {
            app.EntryPoint(kLoadDwgMsg, nullptr);
            CommandStatus status = RunGuarded(app, entry, context);
            RunQueuedCommands(app, context);
            return status;
        },
        context, backup);
}

}  // namespace attbat
