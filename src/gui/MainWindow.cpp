#include "gui/MainWindow.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QStatusBar>
#include <QTabWidget>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <filesystem>

#include "attbat/export/ExportCommands.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CommandTable.h"
#include "base/Text.h"
#include "cad/Database.h"
#include "gui/CommandForm.h"
#include "gui/DrawingView.h"
#include "gui/ScheduleWizard.h"
#include "gui/SettingsWindows.h"
#include "gui/GuiSession.h"
#include "gui/QtUi.h"
#include "gui/WorkbookPane.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"

namespace gui {

namespace {

QString Q(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<int>(text.size())); }

// The words of a command's menu item: its readable name and what it does.
QString MenuText(const attbat::CommandEntry& entry) {
    return Q(entry.alias) + QStringLiteral("  (") + Q(entry.localName) + QStringLiteral(")");
}

}  // namespace

MainWindow::MainWindow(GuiSession& session, QWidget* parent) : QMainWindow(parent), session_(session) {
    setWindowTitle(QStringLiteral("Velmar"));
    tabs_ = new QTabWidget;
    tabs_->setDocumentMode(true);
    tabs_->setTabsClosable(true);
    setCentralWidget(tabs_);
    connect(tabs_, &QTabWidget::currentChanged, this, [this](int index) {
        if (host::Document* doc = DocumentOf(index)) session_.MakeCurrent(doc);
        ShowStatus();
    });
    connect(tabs_, &QTabWidget::tabCloseRequested, this, [this](int index) {
        host::Document* doc = DocumentOf(index);
        if (!doc) return;
        if (GuiSession::IsChanged(*doc)) {
            const auto answer = QMessageBox::question(
                this, QStringLiteral("Velmar"), QStringLiteral("Save changes to %1?").arg(Q(doc->FileName())),
                QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
            if (answer == QMessageBox::Cancel) return;
            if (answer == QMessageBox::Yes && !session_.Save(doc)) return;
        }
        QWidget* page = tabs_->widget(index);
        documents_.erase(page);
        tabs_->removeTab(index);
        session_.Close(doc);
        delete page;
        if (host::Document* next = DocumentOf(tabs_->currentIndex())) session_.MakeCurrent(next);
    });

    console_ = new QPlainTextEdit;
    console_->setReadOnly(true);
    console_->setObjectName(QStringLiteral("console"));
    console_->setFont(QFont(QStringLiteral("DejaVu Sans Mono"), 9));
    commandLine_ = new QLineEdit;
    commandLine_->setPlaceholderText(QStringLiteral("Command:"));
    connect(commandLine_, &QLineEdit::returnPressed, this, &MainWindow::TypedCommand);
    auto* consoleBox = new QWidget;
    auto* consoleLayout = new QVBoxLayout(consoleBox);
    consoleLayout->setContentsMargins(0, 0, 0, 0);
    consoleLayout->addWidget(console_);
    consoleLayout->addWidget(commandLine_);
    auto* consoleDock = new QDockWidget(QStringLiteral("Command line"));
    consoleDock->setObjectName(QStringLiteral("consoleDock"));
    consoleDock->setWidget(consoleBox);
    addDockWidget(Qt::BottomDockWidgetArea, consoleDock);

    workbook_ = new WorkbookPane;
    auto* workbookDock = new QDockWidget(QStringLiteral("Workbook"));
    workbookDock->setObjectName(QStringLiteral("workbookDock"));
    workbookDock->setWidget(workbook_);
    addDockWidget(Qt::RightDockWidgetArea, workbookDock);

    status_ = new QLabel;
    statusBar()->addPermanentWidget(status_);
    progress_ = std::make_unique<ProgressWindow>(this);
    host::ProgressMeter::SetObserver(progress_.get());
    BuildMenus();
    resize(1280, 800);
    DrainConsole();
}

MainWindow::~MainWindow() { host::ProgressMeter::SetObserver(nullptr); }

void MainWindow::BuildMenus() {
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    file->addAction(QStringLiteral("&Open Drawing..."), QKeySequence::Open, this, [this] {
        const QStringList paths = QFileDialog::getOpenFileNames(this, QStringLiteral("Open Drawing"), {},
                                                                QStringLiteral("Drawing (*.dxf);;All files (*)"));
        for (const QString& path : paths) OpenDrawing(path.toStdString());
    });
    file->addAction(QStringLiteral("Open &Workbook..."), this, [this] {
        const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Open Workbook"), {},
                                                          QStringLiteral("Workbook (*.xlsx *.xlsm)"));
        if (!path.isEmpty()) OpenWorkbook(path.toStdString());
    });
    file->addAction(QStringLiteral("&Save Drawing"), QKeySequence::Save, this, [this] { SaveCurrent(); });
    file->addSeparator();
    file->addAction(QStringLiteral("&Quit"), QKeySequence::Quit, this, &QWidget::close);

    QMenu* view = menuBar()->addMenu(QStringLiteral("&View"));
    view->addAction(QStringLiteral("Zoom &Extents"), QKeySequence(Qt::Key_Home), this, [this] {
        if (DrawingView* v = CurrentView()) v->ZoomExtents();
    });
    view->addAction(QStringLiteral("Zoom &In"), QKeySequence::ZoomIn, this, [this] {
        if (DrawingView* v = CurrentView()) v->ZoomBy(1.25);
    });
    view->addAction(QStringLiteral("Zoom &Out"), QKeySequence::ZoomOut, this, [this] {
        if (DrawingView* v = CurrentView()) v->ZoomBy(0.8);
    });
    view->addAction(QStringLiteral("&Clear Selection"), this, [this] {
        if (DrawingView* v = CurrentView()) v->ClearSelection();
    });
    QMenu* layers = view->addMenu(QStringLiteral("&Layers"));
    connect(layers, &QMenu::aboutToShow, this, [this, layers] {
        layers->clear();
        DrawingView* v = CurrentView();
        if (!v) return;
        for (const SceneLayer& layer : v->Scene().Layers()) {
            QAction* action = layers->addAction(Q(layer.name));
            action->setCheckable(true);
            action->setChecked(layer.visible);
            const std::string name = layer.name;
            connect(action, &QAction::toggled, this, [v, name](bool on) {
                v->Scene().SetLayerVisible(name, on);
                v->update();
            });
        }
    });

    QMenu* spaces = view->addMenu(QStringLiteral("L&ayouts"));
    connect(spaces, &QMenu::aboutToShow, this, [this, spaces] {
        spaces->clear();
        DrawingView* v = CurrentView();
        if (!v || !v->Space()) return;
        for (const cad::BlockRecord& block : v->Space().GetDatabase()->Blocks()) {
            if (!block.IsLayout()) continue;
            QAction* action = spaces->addAction(Q(block.LayoutName().empty() ? block.Name() : block.LayoutName()));
            action->setCheckable(true);
            action->setChecked(block == v->Space());
            connect(action, &QAction::triggered, this, [v, block] { v->ShowSpace(block); });
        }
    });

    QToolBar* tools = addToolBar(QStringLiteral("Commands"));
    tools->setObjectName(QStringLiteral("commands"));
    tools->addAction(QStringLiteral("Open"), this, [file] { file->actions().front()->trigger(); });
    tools->addAction(QStringLiteral("Extents"), this, [this] {
        if (DrawingView* v = CurrentView()) v->ZoomExtents();
    });
    tools->addSeparator();
    for (std::string_view group : attbat::CommandGroups()) {
        QMenu* menu = menuBar()->addMenu(Q(group));
        for (const attbat::CommandEntry& entry : attbat::CommandTable()) {
            if (entry.group != group) continue;
            QAction* action = menu->addAction(MenuText(entry));
            action->setToolTip(Q(entry.description));
            action->setStatusTip(Q(entry.description));
            action->setObjectName(Q(entry.localName));
            const attbat::CommandEntry* e = &entry;
            connect(action, &QAction::triggered, this, [this, e] { RunCommand(*e); });
        }
        // The toolbar has a button per group that opens the group's commands.
        auto* button = new QToolButton;
        button->setText(Q(group));
        button->setMenu(menu);
        button->setPopupMode(QToolButton::InstantPopup);
        tools->addWidget(button);
    }
}

bool MainWindow::OpenDrawing(const std::string& path) {
    for (const auto& [page, doc] : documents_) {
        if (doc->FileName() == std::filesystem::absolute(path).string() || doc->FileName() == path) {
            tabs_->setCurrentWidget(page);
            return true;
        }
    }
    base::Result<host::Document*> opened = session_.OpenDrawing(path);
    DrainConsole();
    if (!opened) {
        QMessageBox::warning(this, QStringLiteral("Velmar"), Q(opened.GetStatus().Message()));
        return false;
    }
    host::Document* doc = *opened;
    auto* view = new DrawingView(doc->Database());
    connect(view, &DrawingView::CursorMoved, this, [this](double x, double y) {
        statusBar()->showMessage(QStringLiteral("%1, %2").arg(x, 0, 'f', 4).arg(y, 0, 'f', 4));
    });
    connect(view, &DrawingView::SelectionChanged, this, &MainWindow::ShowStatus);
    documents_[view] = doc;
    const int index = tabs_->addTab(view, QFileInfo(Q(path)).fileName());
    tabs_->setTabToolTip(index, Q(doc->FileName()));
    tabs_->setCurrentIndex(index);
    session_.MakeCurrent(doc);
    ShowStatus();
    return true;
}

void MainWindow::OpenWorkbook(const std::string& path) {
    session_.SetWorkbook(path);
    workbook_->ShowWorkbook(path);
}

host::Document* MainWindow::DocumentOf(int tab) const {
    auto found = documents_.find(tabs_->widget(tab));
    return found == documents_.end() ? nullptr : found->second;
}

DrawingView* MainWindow::CurrentView() const { return qobject_cast<DrawingView*>(tabs_->currentWidget()); }

std::unique_ptr<CommandForm> MainWindow::MakeForm(const attbat::CommandEntry& entry) {
    const attbat::CommandHandler* handler = session_.App().Handler(entry);
    static const std::vector<attbat::Control> none;
    auto form = std::make_unique<CommandForm>(entry, handler ? handler->controls : none,
                                              handler ? handler->argumentsUsage : std::string(), this);
    if (DrawingView* view = CurrentView()) form->SetPicked(view->SelectedHandles());
    // With a workbook open, a command that changes it saves it in place; without one, a new
    // workbook goes beside the drawing unless the user says otherwise.
    if (session_.Workbook().empty()) {
        if (!session_.Output().empty()) {
            form->SetOutput(session_.Output());
        } else if (host::Document* doc = session_.Current()) {
            form->SetOutput(std::filesystem::path(doc->FileName()).replace_extension(".xlsx").string());
        }
    }
    CommandForm* raw = form.get();
    form->SetPreviewRunner([this, raw, &entry](const attbat::ControlValues& values) {
        attbat::CommandContext context;
        context.values = values;
        context.values.Press("preview");
        attbat::SetPreviewViewer([raw](const attbat::CAttPreviewPage& page) { raw->ShowPreview(page); });
        session_.SetOutput(raw->Output());
        session_.Run(entry, context);
        attbat::SetPreviewViewer({});
        DrainConsole();
    });
    return form;
}

attbat::CommandStatus MainWindow::RunWithValues(const attbat::CommandEntry& entry, attbat::CommandContext& context) {
    host::CurrentPrinter().Print("\nCommand: " + std::string(entry.localName) + "\n");
    const attbat::CommandStatus status = session_.Run(entry, context);
    DrainConsole();
    // Find by handle shows what it found.
    if (entry.alias == "find" && !context.arguments.empty()) {
        if (DrawingView* view = CurrentView()) view->ZoomToHandle(context.arguments.front());
    }
    RefreshViews();
    if (!session_.Workbook().empty()) {
        workbook_->ShowWorkbook(session_.Workbook());
    } else if (!session_.Output().empty() && std::filesystem::exists(session_.Output())) {
        workbook_->ShowWorkbook(session_.Output());
    }
    return status;
}

attbat::CommandStatus MainWindow::RunForm(const attbat::CommandEntry& entry, const CommandForm& form) {
    attbat::CommandContext context;
    context.values = form.Values();
    context.arguments = form.Arguments();
    session_.SetOutput(form.Output());
    return RunWithValues(entry, context);
}

std::unique_ptr<ScheduleWizard> MainWindow::MakeScheduleWizard() {
    host::Document* doc = session_.Current();
    auto wizard = std::make_unique<ScheduleWizard>(doc ? &doc->Database() : nullptr, this);
    if (DrawingView* view = CurrentView(); view && doc) wizard->SetPicked(doc->Database(), view->SelectedHandles());
    if (session_.Workbook().empty()) {
        if (!session_.Output().empty()) {
            wizard->SetOutput(session_.Output());
        } else if (doc) {
            wizard->SetOutput(std::filesystem::path(doc->FileName()).replace_extension(".xlsx").string());
        }
    }
    ScheduleWizard* raw = wizard.get();
    wizard->SetExportRunner([this, raw](const std::function<bool()>& work) {
        host::CurrentPrinter().Print("\nCommand: VelmarOut\n");
        session_.SetOutput(raw->Output());
        const bool done = session_.RunWork(work);
        DrainConsole();
        RefreshViews();
        if (!session_.Workbook().empty()) {
            workbook_->ShowWorkbook(session_.Workbook());
        } else if (!session_.Output().empty() && std::filesystem::exists(session_.Output())) {
            workbook_->ShowWorkbook(session_.Output());
        }
        return done;
    });
    return wizard;
}

std::unique_ptr<LinksWindow> MainWindow::MakeLinksWindow() {
    host::Document* doc = session_.Current();
    auto window = std::make_unique<LinksWindow>(doc ? &doc->Database() : nullptr, this);
    connect(window.get(), &LinksWindow::DrawingChanged, this, [this] {
        RefreshViews();
        DrainConsole();
    });
    return window;
}

void MainWindow::RunCommand(const attbat::CommandEntry& entry) {
    if (entry.alias == "export") {
        std::unique_ptr<ScheduleWizard> wizard = MakeScheduleWizard();
        wizard->exec();
        return;
    }
    if (entry.alias == "options") {
        OptionsWindow window(this);
        window.exec();
        return;
    }
    if (entry.alias == "links") {
        std::unique_ptr<LinksWindow> window = MakeLinksWindow();
        window->exec();
        return;
    }
    std::unique_ptr<CommandForm> form = MakeForm(entry);
    if (form->exec() != QDialog::Accepted) return;
    RunForm(entry, *form);
}

void MainWindow::TypedCommand() {
    const std::string line = commandLine_->text().trimmed().toStdString();
    commandLine_->clear();
    if (line.empty()) return;
    const std::vector<std::string> words = base::SplitTrimmed(line, ' ');
    const attbat::CommandEntry* entry = session_.App().FindCommand(words.front());
    if (!entry) {
        host::CurrentPrinter().Print("\nUnknown command \"" + words.front() + "\".  Press F1 for help.\n");
        DrainConsole();
        return;
    }
    if (words.size() == 1) {
        RunCommand(*entry);
        return;
    }
    // Words after the name go to the command as the command line's would.
    attbat::CommandContext context;
    context.arguments.assign(words.begin() + 1, words.end());
    RunWithValues(*entry, context);
}

void MainWindow::DrainConsole() {
    const Printed printed = session_.TakePrinted();
    if (!printed.text.empty()) {
        console_->moveCursor(QTextCursor::End);
        console_->insertPlainText(QString::fromStdString(printed.text));
    }
    if (!printed.warnings.empty()) {
        console_->moveCursor(QTextCursor::End);
        console_->appendHtml(QStringLiteral("<span style='color:#b00000'>%1</span>")
                                 .arg(QString::fromStdString(printed.warnings).toHtmlEscaped()));
        console_->appendPlainText(QString());
    }
    console_->moveCursor(QTextCursor::End);
}

void MainWindow::RefreshViews() {
    for (auto& [page, doc] : documents_) {
        if (doc->IsReleased()) continue;
        if (auto* view = qobject_cast<DrawingView*>(page)) view->Rebuild(doc->Database());
    }
    for (int i = 0; i < tabs_->count(); ++i) {
        host::Document* doc = DocumentOf(i);
        if (!doc) continue;
        const QString name = QFileInfo(Q(doc->FileName())).fileName();
        tabs_->setTabText(i, GuiSession::IsChanged(*doc) ? name + QStringLiteral(" *") : name);
    }
}

void MainWindow::ShowStatus() {
    DrawingView* view = CurrentView();
    if (!view) {
        status_->clear();
        return;
    }
    status_->setText(QStringLiteral("%1 objects, %2 selected")
                         .arg(view->Scene().Items().size())
                         .arg(view->SelectedHandles().size()));
}

bool MainWindow::SaveCurrent() {
    host::Document* doc = session_.Current();
    if (!doc) return false;
    const base::Status saved = session_.Save(doc);
    if (!saved) {
        QMessageBox::warning(this, QStringLiteral("Velmar"), Q(saved.Message()));
        return false;
    }
    RefreshViews();
    statusBar()->showMessage(QStringLiteral("Saved %1").arg(Q(doc->FileName())), 4000);
    return true;
}

void MainWindow::closeEvent(QCloseEvent* event) {
    for (auto& [page, doc] : documents_) {
        if (!GuiSession::IsChanged(*doc)) continue;
        const auto answer = QMessageBox::question(
            this, QStringLiteral("Velmar"), QStringLiteral("Save changes to %1?").arg(Q(doc->FileName())),
            QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
        if (answer == QMessageBox::Cancel) {
            event->ignore();
            return;
        }
        if (answer == QMessageBox::Yes && !session_.Save(doc)) {
            event->ignore();
            return;
        }
    }
    event->accept();
}

}  // namespace gui
