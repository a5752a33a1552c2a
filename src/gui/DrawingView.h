#pragma once
// The drawing view: one space of a drawing painted from its scene, panned with the middle
// button (or Shift and the left one), zoomed with the wheel about the cursor, picked with a
// click and selected with a window (dragged to the right: what lies wholly inside) or a crossing
// (dragged to the left: what it touches). The selection, by handle, is what commands are given.

#include <QWidget>

#include <memory>
#include <string>
#include <vector>

#include "gui/DrawingScene.h"

namespace gui {

class DrawingView : public QWidget {
    Q_OBJECT
public:
    // Shows `db` (not owned; it must outlive the view or be replaced with Rebuild first).
    explicit DrawingView(cad::Database& db, QWidget* parent = nullptr);
    ~DrawingView() override;

    const DrawingScene& Scene() const { return *scene_; }
    DrawingScene& Scene() { return *scene_; }
    // Reads the drawing again after a command changed it, keeping the space shown, the view and
    // the selection of the handles that are still there.
    void Rebuild(cad::Database& db);
    // Shows another space of the drawing (model space or a layout's paper space), whole.
    void ShowSpace(const cad::BlockRecord& space);
    // The space shown.
    const cad::BlockRecord& Space() const { return space_; }

    // The whole drawing in the window, with a small margin.
    void ZoomExtents();
    // Zooms by `factor` (> 1 closer) about the window's centre.
    void ZoomBy(double factor);
    // Moves the view by a fraction of the window (0.5 = half a window to the right).
    void PanBy(double dxFraction, double dyFraction);
    // Centres `handle` with some room round it and selects it alone; false when the space has
    // no such entity.
    bool ZoomToHandle(const std::string& handle);

    // The selected entities' handles in the order they were picked.
    std::vector<std::string> SelectedHandles() const;
    void ClearSelection();
    // Selects what a click at `devicePoint` hits (adding to the selection unless `replace`).
    void PickAt(QPoint devicePoint, bool replace);
    // Window (crossing false) or crossing selection over a rectangle of the window.
    void SelectRect(QRect deviceRect, bool crossing, bool replace);

    // World to window.
    QTransform WorldToDevice() const;
    // How many items the last paint drew.
    std::size_t LastPainted() const { return lastPainted_; }
    // Renders the view into an image of `size` at zoom extents, as the view would show it.
    static QImage Render(const DrawingScene& scene, QSize size, const std::vector<char>& selected = {});

signals:
    void SelectionChanged();
    // The world position under the cursor, for the status bar.
    void CursorMoved(double x, double y);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void Select(const std::vector<std::size_t>& items, bool replace);

    std::unique_ptr<DrawingScene> scene_;
    cad::BlockRecord space_;
    QPointF center_;
    double scale_ = 1;  // pixels per drawing unit
    bool fitted_ = false;
    std::vector<char> selected_;
    std::vector<std::size_t> order_;  // selected items in the order picked
    QPoint pressAt_;
    QPoint dragTo_;
    bool dragging_ = false;
    bool panning_ = false;
    std::size_t lastPainted_ = 0;
};

}  // namespace gui
