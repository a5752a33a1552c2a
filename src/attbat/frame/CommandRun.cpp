#include "attbat/frame/CommandRun.h"

#include <exception>

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/ExcelServer.h"
#include "attbat/frame/CArxErrLog.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CRegistry.h"
#include "base/Format.h"
#include "base/Text.h"
#include "host/Document.h"
#include "host/Locations.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"

namespace attbat {

namespace {

// Everything that lives for one run of the program, put back as it was at its end.
class RunScope {
public:
    RunScope(const RunSetup& setup, host::Ui& ui) {
        host::SetSettingsFilePath(setup.settings);
        CRegistry::StartRun();
        host::SetLogFilePath(setup.log);
        host::CurrentPrinter().SetQuiet(setup.quiet);
        host::CurrentPrinter().SetToStandardError(setup.printToStandardError);
        host::SetCurrentUi(&ui);
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
};

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

// What was sent to the command line during a command runs after it, as the host would: the
// module's own queue first, then each document's. Host commands such as REGEN have no work here.
void RunQueuedCommands(CAttBatApp& app, const CommandContext& context) {
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
        queuedContext.reportAsJson = context.reportAsJson;
        RunGuarded(app, *next, queuedContext);
    }
}

// The end of the run: what was left to save is saved. Workbooks are written only when the
// command succeeded: a half-done export must not replace the user's file. Their lock files and
// --force are respected by SaveChanged.
CommandStatus SaveChanges(CAttBatApp& app, const CommandEntry& entry, CommandContext& context,
                          arxutils::excel::FileBackend& workbooks, CommandStatus status) {
    bool allSaved = true;
    if (workbooks.HasChanges()) {
        if (status == CommandStatus::Done) {
            if (base::Status saved = workbooks.SaveChanged(); !saved) {
                host::CurrentPrinter().Warn(saved.Message());
                context.Summary("error", saved.Message());
                status = CommandStatus::Failed;
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
    const CommandHandler* handler = app.Handler(entry);
    const host::BackupMode backup =
        handler && handler->changesViewOnly ? host::BackupMode::KeepExisting : host::BackupMode::Replace;
    if (base::Status saved = host::DocumentManager::Instance().SaveAll(backup); !saved) {
        host::CurrentPrinter().Warn(saved.Message());
        context.Summary("error", saved.Message());
        status = CommandStatus::Failed;
        allSaved = false;
    }
    // Success lines that waited for these saves are told now, or never.
    host::CurrentPrinter().ReleaseHeld(allSaved);
    return status;
}

}  // namespace

CommandStatus RunCommand(CAttBatApp& app, const CommandEntry& entry, CommandContext& context,
                         const RunSetup& setup, host::Ui& ui) {
    RunScope scope(setup, ui);
    app.uploadAtLoad = setup.uploadAtLoad;
    app.EntryPoint(kInitAppMsg, nullptr);
    if (setup.debug) {
        debugOn = 1;
        if (!ErrLog().IsOpen() && !ErrLog().Open()) {
            host::ShowMessage("Failed to create the log file.", "Velmar");
        }
    }
    host::DocumentManager& documents = host::DocumentManager::Instance();
    documents.CloseAll();
    const CommandHandler* handler = app.Handler(entry);
    if (!setup.drawing.empty()) {
        const host::ReadKind when = handler && handler->readsDrawingOnFirstUse
                                        ? host::ReadKind::OnFirstUse
                                        : host::ReadKind::Now;
        auto opened = documents.OpenCurrent(setup.drawing, when);
        if (!opened) {
            host::CurrentPrinter().Warn(opened.GetStatus().Message());
            app.EntryPoint(kUnloadAppMsg, nullptr);
            return CommandStatus::Failed;
        }
    }
    // The spreadsheet side of the run: the workbook given stands for the running instance, and
    // numbers in cells are read with the current drawing's units (asked for when a number is).
    if (host::Document* current = documents.CurDocument()) {
        arxutils::ExcelUtils::SetDrawingUnitsSource([current] { return current->Units(); });
    } else {
        arxutils::ExcelUtils::SetDrawingUnits(nullptr);
    }
    arxutils::excel::FileBackendOptions workbookOptions = setup.workbooks;
    workbookOptions.drawingPath = setup.drawing;
    auto workbooks = arxutils::excel::FileBackend::Create(workbookOptions);
    if (!workbooks) {
        host::CurrentPrinter().Warn(workbooks.GetStatus().Message());
        arxutils::ExcelUtils::SetDrawingUnits(nullptr);
        app.EntryPoint(kUnloadAppMsg, nullptr);
        return CommandStatus::Failed;
    }
    arxutils::excel::SetCurrentServer(workbooks->get());
    app.EntryPoint(kLoadDwgMsg, nullptr);
    CommandStatus status = RunGuarded(app, entry, context);
    RunQueuedCommands(app, context);
    status = SaveChanges(app, entry, context, **workbooks, status);
    documents.CloseAll();
    app.EntryPoint(kUnloadAppMsg, nullptr);
    host::CurrentPrinter().FinishLine();
    return status;
}

}  // namespace attbat
