#pragma once
// The main window: the open drawings as tabs of drawing views, the command table as menus and a
// toolbar by group, the command line's printer as a console pane with a command line under it,
// and the workbook pane. Each command opens its form; picked objects go with it.

#include <QMainWindow>

#include <map>
#include <memory>
#include <string>

#include "attbat/frame/CommandContext.h"

class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QTabWidget;

namespace attbat {
struct CommandEntry;
}
namespace host {
class Document;
}

namespace gui {

class CommandForm;
class DrawingView;
class GuiSession;
class QtUi;
class ProgressWindow;
class WorkbookPane;
class ScheduleWizard;
class LinksWindow;

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    // Runs commands in `session` (not owned).
    explicit MainWindow(GuiSession& session, QWidget* parent = nullptr);
    ~MainWindow() override;

    // Opens a drawing in a new tab (or shows its tab); false, said in a box, when it can't be read.
    bool OpenDrawing(const std::string& path);
    // Makes `path` the running spreadsheet's workbook and shows it.
    void OpenWorkbook(const std::string& path);
    // The view of the current drawing; null without one.
    DrawingView* CurrentView() const;
    // The form for `entry`, filled with the picked objects and a new workbook's place; the
    // caller shows it or, in tests, sets its fields.
    std::unique_ptr<CommandForm> MakeForm(const attbat::CommandEntry& entry);
    // Runs `entry` with the form's values: the console shows what it printed, the views and the
    // workbook pane what it changed.
    attbat::CommandStatus RunForm(const attbat::CommandEntry& entry, const CommandForm& form);
    // The export's schedule wizard on the current drawing, its source the objects picked in the
    // view when there are any, a new workbook offered beside the drawing; the caller shows it
    // or, in tests, presses its buttons.
    std::unique_ptr<ScheduleWizard> MakeScheduleWizard();
    // The "Links" window over the current drawing; a button that changes the drawing redraws it.
    std::unique_ptr<LinksWindow> MakeLinksWindow();
    // Opens the window of `entry` (the wizard for the export, the Options and Links windows for
    // theirs), else its form, which runs the command on OK.
    void RunCommand(const attbat::CommandEntry& entry);
    // Runs the command with these values as they stand, as the command line does.
    attbat::CommandStatus RunWithValues(const attbat::CommandEntry& entry, attbat::CommandContext& context);

    QPlainTextEdit* Console() const { return console_; }
    WorkbookPane* Workbook() const { return workbook_; }
    QTabWidget* Tabs() const { return tabs_; }
    // Saves the current drawing in place; false, said, when it failed.
    bool SaveCurrent();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void BuildMenus();
    void DrainConsole();
    void RefreshViews();
    void TypedCommand();
    void ShowStatus();
    host::Document* DocumentOf(int tab) const;

    GuiSession& session_;
    QTabWidget* tabs_;
    QPlainTextEdit* console_;
    QLineEdit* commandLine_;
    WorkbookPane* workbook_;
    QLabel* status_;
    std::map<QWidget*, host::Document*> documents_;
    std::unique_ptr<ProgressWindow> progress_;
};

}  // namespace gui
