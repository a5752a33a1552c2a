// Makes the pictures of docs/gui/: the main steps of a round trip through the desktop program,
// each the window as a user sees it. Not a test; run it after the window changed:
//
//     QT_QPA_PLATFORM=offscreen build/tests/gui/gui_doc_screenshots docs/gui

#include <QApplication>
#include <QDir>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>

#include <filesystem>
#include <memory>
#include <string>

#include "../host/TempFolder.h"
#include "attbat/commands/AllCommands.h"
#include "attbat/frame/CAttBatApp.h"
#include "gui/CommandForm.h"
#include "gui/DrawingView.h"
#include "gui/GuiSession.h"
#include "gui/MainWindow.h"
#include "gui/ScheduleWizard.h"
#include "gui/WorkbookPane.h"
#include "host/Console.h"
#include "host/Document.h"
#include "host/Ui.h"
#include "xl/Workbook.h"
#include "xl/Worksheet.h"

namespace {

void Save(QWidget& widget, const QString& folder, const char* name) {
    QApplication::processEvents();
    widget.grab().save(QDir(folder).filePath(QString::fromLatin1(name)));
}

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("docs/gui");
    QDir().mkpath(folder);
    TempFolder temp;
    const std::string drawing = temp.File("floor.dxf");
    std::filesystem::copy_file(VELMAR_SOURCE_DIR "/examples/floor.dxf", drawing);
    attbat::CAttBatApp& app = attbat::TheApp();
    attbat::ImplementAllCommands(app);
    host::RecordingUi ui;
    attbat::RunSetup setup;
    setup.settings = temp.File("settings.ini");
    setup.log = temp.File("Velmar.log");
    {
        gui::GuiSession session(app, ui, setup);
        gui::MainWindow window(session);
        window.resize(1400, 860);
        window.show();
        window.OpenDrawing(drawing);
        Save(window, folder, "1-open-drawing.png");

        // Two desks picked, with a crossing over the first room.
        gui::DrawingView* view = window.CurrentView();
        for (const char* handle : {"12D", "130"}) {
            const long i = view->Scene().Find(cad::ParseHandle(handle));
            if (i >= 0) view->PickAt(view->WorldToDevice().map(view->Scene().Items()[i].bounds.center()).toPoint(), false);
        }
        Save(window, folder, "2-picked-selection.png");
        view->ClearSelection();

        // The export's wizard, page by page, then Finish.
        std::unique_ptr<gui::ScheduleWizard> wizard = window.MakeScheduleWizard();
        wizard->SetOutput(temp.File("floor.xlsx"));
        wizard->show();
        Save(*wizard, folder, "3a-export-wizard-data-source.png");
        wizard->Next();
        Save(*wizard, folder, "3b-export-wizard-attributes.png");
        wizard->Next();
        wizard->PreviewGrid()->horizontalHeader()->moveSection(2, 1);
        Save(*wizard, folder, "3-export-wizard-preview.png");
        wizard->Finish();
        wizard.reset();
        Save(window, folder, "4-exported-workbook.png");

        // An edit in the workbook, then the import by handle.
        {
            auto book = xl::Workbook::Open(temp.File("floor.xlsx"));
            xl::Worksheet* sheet = (*book)->Sheet((*book)->ActiveSheetIndex());
            sheet->Load();
            sheet->LoadNotes();
            for (const xl::Note& note : sheet->Notes()) {
                if (note.text.find("DESK_NO") == std::string::npos || note.row < 2) continue;
                sheet->SetString(note.row, note.column, "D-100");
                break;
            }
            (*book)->Save(temp.File("floor.xlsx"));
        }
        window.OpenWorkbook(temp.File("floor.xlsx"));
        const attbat::CommandEntry* importEntry = app.FindCommand("import-by-handle");
        std::unique_ptr<gui::CommandForm> importForm = window.MakeForm(*importEntry);
        importForm->show();
        Save(*importForm, folder, "5-import-by-handle-form.png");
        window.RunForm(*importEntry, *importForm);
        importForm.reset();
        Save(window, folder, "6-imported.png");
        host::DocumentManager::Instance().CloseAll();
    }
    return 0;
}
