// velmar-gui: the desktop program of Velmar for Linux.

#include <QApplication>
#include <QStringList>

#include "attbat/commands/AllCommands.h"
#include "attbat/frame/CAttBatApp.h"
#include "gui/GuiSession.h"
#include "gui/MainWindow.h"
#include "gui/QtUi.h"
#include "host/Console.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Velmar"));
    attbat::CAttBatApp& app = attbat::TheApp();
    attbat::ImplementAllCommands(app);
    gui::QtUi ui;
    // Prompts of the commands are asked in a dialog, never on a terminal.
    host::CurrentConsole().SetAsker([&ui](std::string_view prompt) { return ui.Ask(prompt); });
    int status = 0;
    {
        gui::GuiSession session(app, ui);
        gui::MainWindow window(session);
        ui.SetParent(&window);
        // Drawings given on the command line open in tabs; a workbook (.xlsx) becomes the
        // running spreadsheet's.
        const QStringList args = QApplication::arguments().mid(1);
        for (const QString& arg : args) {
            if (arg.endsWith(QStringLiteral(".xlsx"), Qt::CaseInsensitive) ||
                arg.endsWith(QStringLiteral(".xlsm"), Qt::CaseInsensitive)) {
                window.OpenWorkbook(arg.toStdString());
            } else {
                window.OpenDrawing(arg.toStdString());
            }
        }
        window.show();
        status = QApplication::exec();
        ui.SetParent(nullptr);
    }
    host::CurrentConsole().SetAsker({});
    return status;
}
