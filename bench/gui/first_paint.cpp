// How long the desktop program takes from opening a drawing to its first paint, and how long a
// paint takes while panning: the drawing is read, its scene built, the window shown and painted.
//
//     bench_gui_first_paint DRAWING.dxf [ROUNDS]
//
// Prints one line per phase (milliseconds), the best of ROUNDS runs (3 by default) for the
// opening, then the paints at zoom extents and zoomed in to a twentieth of the drawing.

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "attbat/commands/AllCommands.h"
#include "attbat/frame/CAttBatApp.h"
#include "cad/Database.h"
#include "gui/DrawingScene.h"
#include "gui/DrawingView.h"
#include "gui/GuiSession.h"
#include "gui/MainWindow.h"
#include "host/Document.h"
#include "host/Ui.h"

namespace {

// Paints `view` now and returns the milliseconds it took.
double PaintOnce(gui::DrawingView& view) {
    QElapsedTimer timer;
    timer.start();
    view.repaint();
    return timer.nsecsElapsed() / 1e6;
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_gui_first_paint DRAWING.dxf [ROUNDS]\n");
        return 2;
    }
    const std::string drawing = argv[1];
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 3;
    attbat::CAttBatApp& app = attbat::TheApp();
    attbat::ImplementAllCommands(app);
    host::RecordingUi ui;
    attbat::RunSetup setup;
    // Settings of its own, so that the user's stay as they are.
    setup.settings = QDir::temp().filePath(QStringLiteral("velmar-bench-gui-settings.ini")).toStdString();
    // The phases apart: reading the drawing, and building the view's scene of it.
    double readMs = 0, sceneMs = 0;
    {
        QElapsedTimer timer;
        timer.start();
        auto db = cad::Database::Open(drawing);
        if (!db) {
            std::fprintf(stderr, "%s\n", db.GetStatus().Message().c_str());
            return 1;
        }
        readMs = timer.nsecsElapsed() / 1e6;
        timer.restart();
        const gui::DrawingScene scene(**db);
        sceneMs = timer.nsecsElapsed() / 1e6;
    }
    std::vector<double> firstPaint;
    double paintExtents = 0, paintZoomed = 0;
    std::size_t items = 0, paintedExtents = 0, paintedZoomed = 0;
    for (int round = 0; round < rounds; ++round) {
        gui::GuiSession session(app, ui, setup);
        gui::MainWindow window(session);
        window.resize(1600, 1000);
        QElapsedTimer timer;
        timer.start();
        if (!window.OpenDrawing(drawing)) {
            std::fprintf(stderr, "cannot open %s\n", drawing.c_str());
            return 1;
        }
        window.show();
        gui::DrawingView* view = window.CurrentView();
        // The first paint is done when the view has painted something.
        while (view->LastPainted() == 0) QApplication::processEvents(QEventLoop::AllEvents, 5);
        firstPaint.push_back(timer.nsecsElapsed() / 1e6);
        items = view->Scene().Items().size();
        if (round == rounds - 1) {
            double total = 0;
            for (int i = 0; i < 10; ++i) {
                view->PanBy(0.01, 0);
                total += PaintOnce(*view);
            }
            paintExtents = total / 10;
            paintedExtents = view->LastPainted();
            view->ZoomExtents();
            view->ZoomBy(20);
            total = 0;
            for (int i = 0; i < 10; ++i) {
                view->PanBy(0.05, 0.02);
                total += PaintOnce(*view);
            }
            paintZoomed = total / 10;
            paintedZoomed = view->LastPainted();
        }
        host::DocumentManager::Instance().CloseAll();
    }
    std::sort(firstPaint.begin(), firstPaint.end());
    std::printf("drawing: %s (%zu items in model space)\n", drawing.c_str(), items);
    std::printf("reading the drawing: %.0f ms; building its scene: %.0f ms\n", readMs, sceneMs);
    std::printf("open to first paint: best %.0f ms, worst %.0f ms over %d rounds\n", firstPaint.front(),
                firstPaint.back(), rounds);
    std::printf("paint while panning at extents: %.1f ms (%zu items drawn)\n", paintExtents, paintedExtents);
    std::printf("paint while panning zoomed in 20x: %.1f ms (%zu items drawn)\n", paintZoomed, paintedZoomed);
    return 0;
}
