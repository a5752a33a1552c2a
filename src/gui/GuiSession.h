#pragma once
// One run of the module for the desktop program: the drawings the user opened are the host's
// documents, kept open between commands and saved when the user says so; the workbook chosen is
// the running spreadsheet's; commands run one after another in the run, as the host's command
// line has them, and what they print is kept for the console pane.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "attbat/frame/CommandContext.h"
#include "attbat/frame/CommandRun.h"
#include "base/Status.h"

namespace attbat {
class CAttBatApp;
struct CommandEntry;
}  // namespace attbat

namespace host {
class Document;
class Ui;
}  // namespace host

namespace gui {

// What the command line printed: its lines and its warnings, apart.
struct Printed {
    std::string text;
    std::string warnings;
};

class GuiSession {
public:
    // Starts the run (init) with `ui` for its boxes (both not owned). The printer is captured for
    // the console from here on.
    GuiSession(attbat::CAttBatApp& app, host::Ui& ui, attbat::RunSetup setup = {});
    ~GuiSession();
    GuiSession(const GuiSession&) = delete;
    GuiSession& operator=(const GuiSession&) = delete;

    // Opens `path` (or finds it open) as the current drawing and sends the drawing load.
    base::Result<host::Document*> OpenDrawing(const std::string& path);
    // Makes an open drawing current.
    void MakeCurrent(host::Document* document);
    host::Document* Current() const;
    // Closes a drawing without saving (the caller asked the user).
    void Close(host::Document* document);
    // Saves a drawing in place with its backup.
    base::Status Save(host::Document* document);
    // True when the drawing changed since it was read or saved.
    static bool IsChanged(const host::Document& document);

    // The running spreadsheet's workbook; "" for none. Commands that make a new workbook write it
    // to the output file (replacing it: the user chose it in a save dialog).
    void SetWorkbook(const std::string& path);
    const std::string& Workbook() const { return setup_.workbooks.workbook; }
    void SetOutput(const std::string& path);
    const std::string& Output() const { return setup_.workbooks.output; }
    // The sheet and cell selection given to the spreadsheet ("" keeps the file's).
    void SetSheet(const std::string& sheet) { setup_.workbooks.sheet = sheet; }
    void SetCellSelection(const std::string& selection) { setup_.workbooks.selection = selection; }

    // Runs `entry` with `context` on the current drawing, then what it queued; how it ended.
    attbat::CommandStatus Run(const attbat::CommandEntry& entry, attbat::CommandContext& context);
    // Runs the command named `name` (local, global name or alias) with `values`.
    attbat::CommandStatus Run(const std::string& name, const attbat::ControlValues& values = {});
    // Runs `work` on the current drawing as a command runs, with the running spreadsheet's
    // workbooks open around it (a window that does a command's work itself); its answer.
    bool RunWork(const std::function<bool()>& work);
    // What was printed since the last call, taken.
    Printed TakePrinted();

    attbat::CAttBatApp& App() { return app_; }

private:
    void ApplyWorkbooks();

    attbat::CAttBatApp& app_;
    attbat::RunSetup setup_;
    std::unique_ptr<attbat::ModuleRun> run_;
};

}  // namespace gui
