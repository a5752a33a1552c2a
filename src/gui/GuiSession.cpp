#include "gui/GuiSession.h"

#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CommandTable.h"
#include "base/Text.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"

namespace gui {

GuiSession::GuiSession(attbat::CAttBatApp& app, host::Ui& ui, attbat::RunSetup setup)
    : app_(app), setup_(std::move(setup)) {
    // Drawings stay open between commands and are saved on the user's word, as in the host.
    setup_.keepDocumentsOpen = true;
    setup_.uploadAtLoad = true;
    setup_.workbooks.force = true;
    host::CurrentPrinter().Capture(true);
    run_ = std::make_unique<attbat::ModuleRun>(app_, setup_, ui);
}

GuiSession::~GuiSession() {
    run_.reset();
    host::CurrentPrinter().Capture(false);
}

base::Result<host::Document*> GuiSession::OpenDrawing(const std::string& path) {
    base::Result<host::Document*> opened = host::DocumentManager::Instance().OpenCurrent(path);
    if (!opened) return opened;
    ApplyWorkbooks();
    attbat::LoadDrawingInSession(*run_);
    return opened;
}

void GuiSession::MakeCurrent(host::Document* document) {
    host::DocumentManager::Instance().SetCurrent(document);
    ApplyWorkbooks();
    run_->UseCurrentDocument();
}

host::Document* GuiSession::Current() const { return host::DocumentManager::Instance().CurDocument(); }

void GuiSession::Close(host::Document* document) { host::DocumentManager::Instance().Close(document); }

base::Status GuiSession::Save(host::Document* document) { return document->Save(host::BackupMode::Replace); }

bool GuiSession::IsChanged(const host::Document& document) {
    return !document.IsReleased() && const_cast<host::Document&>(document).Database().IsModified();
}

void GuiSession::SetWorkbook(const std::string& path) {
    setup_.workbooks.workbook = path;
    ApplyWorkbooks();
}

void GuiSession::SetOutput(const std::string& path) {
    setup_.workbooks.output = path;
    ApplyWorkbooks();
}

void GuiSession::ApplyWorkbooks() {
    host::Document* current = Current();
    setup_.workbooks.drawingPath = current ? current->FileName() : std::string();
    run_->SetWorkbooks(setup_.workbooks);
}

attbat::CommandStatus GuiSession::Run(const attbat::CommandEntry& entry, attbat::CommandContext& context) {
    ApplyWorkbooks();
    attbat::CommandStatus status = attbat::RunCommandInSession(*run_, entry, context);
    host::CurrentPrinter().FinishLine();
    // What the command sent to the command line runs after it, one command a line; host
    // commands such as REGEN have no work here.
    for (const std::string& text : attbat::TakeQueuedCommands(app_)) {
        for (const std::string& command : base::SplitTrimmed(text, '\n')) {
            const attbat::CommandEntry* queued = app_.FindCommand(command);
            if (!queued) continue;
            host::CurrentPrinter().Print("\nCommand: " + command + "\n");
            attbat::CommandContext next;
            attbat::RunCommandInSession(*run_, *queued, next);
            host::CurrentPrinter().FinishLine();
        }
    }
    return status;
}

bool GuiSession::RunWork(const std::function<bool()>& work) {
    ApplyWorkbooks();
    run_->UseCurrentDocument();
    host::ProgressMeter::ResetCancel();
    attbat::CommandContext context;
    bool done = false;
    run_->WithWorkbooks(
        [&] {
            done = work();
            return done ? attbat::CommandStatus::Done : attbat::CommandStatus::Failed;
        },
        context);
    host::CurrentPrinter().FinishLine();
    return done;
}

attbat::CommandStatus GuiSession::Run(const std::string& name, const attbat::ControlValues& values) {
    const attbat::CommandEntry* entry = app_.FindCommand(name);
    if (!entry) {
        host::CurrentPrinter().Warn("Unknown command \"" + name + "\".");
        return attbat::CommandStatus::BadInput;
    }
    attbat::CommandContext context;
    context.values = values;
    return Run(*entry, context);
}

Printed GuiSession::TakePrinted() {
    host::Printer& printer = host::CurrentPrinter();
    Printed printed{printer.Captured(), printer.CapturedWarnings()};
    printer.ClearCaptured();
    return printed;
}

}  // namespace gui
