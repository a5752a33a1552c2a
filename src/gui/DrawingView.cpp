#include "gui/DrawingView.h"

#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

#include "cad/Database.h"


namespace gui {

namespace {

// Clicks move less than this many pixels; more is a drag.
constexpr int kDragPixels = 4;
// How far from an entity a click still picks it, in pixels.
constexpr double kPickPixels = 4;

QTransform Mapping(QPointF center, double scale, QSizeF size) {
    return QTransform::fromTranslate(-center.x(), -center.y()) * QTransform::fromScale(scale, -scale) *
           QTransform::fromTranslate(size.width() / 2, size.height() / 2);
}

// The centre and scale that show `extents` whole in `size`, with a margin of 3 %.
void Fit(const QRectF& extents, QSizeF size, QPointF& center, double& scale) {
    center = extents.center();
    const double w = std::max(extents.width(), 1e-9), h = std::max(extents.height(), 1e-9);
    scale = std::min(size.width() / w, size.height() / h) * 0.97;
    if (!std::isfinite(scale) || scale <= 0) scale = 1;
}

}  // namespace

DrawingView::DrawingView(cad::Database& db, QWidget* parent)
    : QWidget(parent), scene_(std::make_unique<DrawingScene>(db)), space_(db.ModelSpace()) {
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setAutoFillBackground(false);
    setMinimumSize(200, 150);
    selected_.assign(scene_->Items().size(), 0);
}

DrawingView::~DrawingView() = default;

void DrawingView::Rebuild(cad::Database& db) {
    const std::vector<std::string> handles = SelectedHandles();
    // A space is known by its place in the drawing's table, which a new reading keeps.
    cad::BlockRecord space(&db, space_.Index());
    if (!space_ || space.IsErased() || !space.IsLayout()) space = db.ModelSpace();
    space_ = space;
    scene_ = std::make_unique<DrawingScene>(db, space_);
    selected_.assign(scene_->Items().size(), 0);
    order_.clear();
    for (const std::string& text : handles) {
        const long i = scene_->Find(cad::ParseHandle(text));
        if (i >= 0 && !selected_[i]) {
            selected_[i] = 1;
            order_.push_back(static_cast<std::size_t>(i));
        }
    }
    update();
    emit SelectionChanged();
}

void DrawingView::ShowSpace(const cad::BlockRecord& space) {
    space_ = space;
    scene_ = std::make_unique<DrawingScene>(*space.GetDatabase(), space);
    selected_.assign(scene_->Items().size(), 0);
    order_.clear();
    fitted_ = false;
    ZoomExtents();
    update();
    emit SelectionChanged();
}

void DrawingView::ZoomExtents() {
    if (scene_->Extents().isNull()) return;
    Fit(scene_->Extents(), size(), center_, scale_);
    fitted_ = true;
    update();
}

void DrawingView::ZoomBy(double factor) {
    scale_ *= factor;
    update();
}

void DrawingView::PanBy(double dxFraction, double dyFraction) {
    center_ += QPointF(dxFraction * width() / scale_, dyFraction * height() / scale_);
    update();
}

bool DrawingView::ZoomToHandle(const std::string& handle) {
    const cad::Handle value = cad::ParseHandle(handle);
    const long i = value ? scene_->Find(value) : -1;
    if (i < 0) return false;
    const QRectF b = scene_->Items()[i].bounds;
    const double room = std::max({b.width(), b.height(), 1e-6}) * 2;
    Fit(b.adjusted(-room, -room, room, room), size(), center_, scale_);
    fitted_ = true;
    Select({static_cast<std::size_t>(i)}, true);
    return true;
}

QTransform DrawingView::WorldToDevice() const { return Mapping(center_, scale_, size()); }

std::vector<std::string> DrawingView::SelectedHandles() const {
    std::vector<std::string> handles;
    for (std::size_t i : order_) handles.push_back(cad::HandleText(scene_->Items()[i].handle));
    return handles;
}

void DrawingView::ClearSelection() {
    std::fill(selected_.begin(), selected_.end(), 0);
    order_.clear();
    update();
    emit SelectionChanged();
}

void DrawingView::Select(const std::vector<std::size_t>& items, bool replace) {
    if (replace) {
        std::fill(selected_.begin(), selected_.end(), 0);
        order_.clear();
    }
    for (std::size_t i : items) {
        if (selected_[i]) continue;
        selected_[i] = 1;
        order_.push_back(i);
    }
    update();
    emit SelectionChanged();
}

void DrawingView::PickAt(QPoint devicePoint, bool replace) {
    const QPointF world = WorldToDevice().inverted().map(QPointF(devicePoint));
    const long i = scene_->Pick(world, kPickPixels / scale_);
    if (i < 0) {
        if (replace) ClearSelection();
        return;
    }
    Select({static_cast<std::size_t>(i)}, replace);
}

void DrawingView::SelectRect(QRect deviceRect, bool crossing, bool replace) {
    const QRectF world = WorldToDevice().inverted().mapRect(QRectF(deviceRect.normalized()));
    Select(scene_->SelectWindow(world, crossing), replace);
}

QImage DrawingView::Render(const DrawingScene& scene, QSize size, const std::vector<char>& selected) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QPointF center;
    double scale = 1;
    if (!scene.Extents().isNull()) {
        Fit(scene.Extents(), size, center, scale);
        const QTransform toDevice = Mapping(center, scale, size);
        scene.Paint(painter, toDevice, toDevice.inverted().mapRect(QRectF(QPointF(0, 0), QSizeF(size))), selected);
    }
    return image;
}

void DrawingView::paintEvent(QPaintEvent*) {
    if (!fitted_) {
        Fit(scene_->Extents().isNull() ? QRectF(0, 0, 100, 100) : scene_->Extents(), size(), center_, scale_);
        fitted_ = true;
    }
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    painter.setRenderHint(QPainter::Antialiasing);
    const QTransform toDevice = WorldToDevice();
    const QRectF visible = toDevice.inverted().mapRect(QRectF(rect()));
    lastPainted_ = scene_->Paint(painter, toDevice, visible, selected_);
    if (dragging_) {
        // A window is drawn solid and blue, a crossing dashed and green, as CAD programs do.
        const bool crossing = dragTo_.x() < pressAt_.x();
        const QColor color = crossing ? QColor(40, 160, 60) : QColor(40, 90, 220);
        QColor fill = color;
        fill.setAlpha(40);
        painter.setPen(QPen(color, 1, crossing ? Qt::DashLine : Qt::SolidLine));
        painter.setBrush(fill);
        painter.drawRect(QRect(pressAt_, dragTo_).normalized());
    }
}

void DrawingView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // The first size the view gets shows the whole drawing.
    if (!fitted_ && !scene_->Extents().isNull()) {
        Fit(scene_->Extents(), size(), center_, scale_);
        fitted_ = true;
    }
    update();
}

void DrawingView::wheelEvent(QWheelEvent* event) {
    const QPointF at = event->position();
    const QPointF before = WorldToDevice().inverted().map(at);
    const double factor = std::pow(1.2, event->angleDelta().y() / 120.0);
    scale_ *= factor;
    // The point under the cursor stays under it.
    const QPointF after = WorldToDevice().inverted().map(at);
    center_ += before - after;
    update();
}

void DrawingView::mousePressEvent(QMouseEvent* event) {
    pressAt_ = dragTo_ = event->position().toPoint();
    panning_ = event->button() == Qt::MiddleButton ||
               (event->button() == Qt::LeftButton && (event->modifiers() & Qt::ShiftModifier));
    dragging_ = false;
}

void DrawingView::mouseMoveEvent(QMouseEvent* event) {
    const QPoint at = event->position().toPoint();
    const QPointF world = WorldToDevice().inverted().map(QPointF(at));
    emit CursorMoved(world.x(), world.y());
    if (panning_) {
        const QPoint delta = at - dragTo_;
        center_ -= QPointF(delta.x() / scale_, -delta.y() / scale_);
        dragTo_ = at;
        update();
        return;
    }
    if (event->buttons() & Qt::LeftButton) {
        dragTo_ = at;
        dragging_ = (dragTo_ - pressAt_).manhattanLength() > kDragPixels;
        update();
    }
}

void DrawingView::mouseReleaseEvent(QMouseEvent* event) {
    if (panning_) {
        panning_ = false;
        return;
    }
    if (event->button() != Qt::LeftButton) return;
    const bool replace = !(event->modifiers() & Qt::ControlModifier);
    if (dragging_) {
        dragging_ = false;
        SelectRect(QRect(pressAt_, event->position().toPoint()), event->position().x() < pressAt_.x(), replace);
    } else {
        PickAt(event->position().toPoint(), replace);
    }
}

void DrawingView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::MiddleButton) ZoomExtents();
}

void DrawingView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Escape: ClearSelection(); break;
    case Qt::Key_Plus: case Qt::Key_Equal: ZoomBy(1.25); break;
    case Qt::Key_Minus: ZoomBy(0.8); break;
    case Qt::Key_Left: PanBy(-0.1, 0); break;
    case Qt::Key_Right: PanBy(0.1, 0); break;
    case Qt::Key_Up: PanBy(0, 0.1); break;
    case Qt::Key_Down: PanBy(0, -0.1); break;
    case Qt::Key_Home: ZoomExtents(); break;
    default: QWidget::keyPressEvent(event);
    }
}

}  // namespace gui
