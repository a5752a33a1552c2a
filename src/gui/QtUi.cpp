#include "gui/QtUi.h"

#include <QApplication>
#include <QInputDialog>
#include <QMessageBox>

namespace gui {

int QtButtonsOf(host::BoxButtons buttons) {
    switch (buttons) {
    case host::BoxButtons::Ok: return QMessageBox::Ok;
    case host::BoxButtons::OkCancel: return QMessageBox::Ok | QMessageBox::Cancel;
    case host::BoxButtons::YesNo: return QMessageBox::Yes | QMessageBox::No;
    case host::BoxButtons::YesNoCancel: return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    }
    return QMessageBox::Ok;
}

int QtIconOf(host::BoxIcon icon) {
    switch (icon) {
    case host::BoxIcon::Information: return QMessageBox::Information;
    case host::BoxIcon::Warning: return QMessageBox::Warning;
    case host::BoxIcon::Error: return QMessageBox::Critical;
    case host::BoxIcon::Question: return QMessageBox::Question;
    }
    return QMessageBox::Information;
}

host::BoxAnswer QtUi::MessageBox(const host::ShownBox& box) {
    QMessageBox message(static_cast<QMessageBox::Icon>(QtIconOf(box.icon)), QString::fromStdString(box.title),
                        QString::fromStdString(box.text),
                        static_cast<QMessageBox::StandardButtons>(QtButtonsOf(box.buttons)), parent_);
    switch (message.exec()) {
    case QMessageBox::Ok: return host::BoxAnswer::Ok;
    case QMessageBox::Yes: return host::BoxAnswer::Yes;
    case QMessageBox::No: return host::BoxAnswer::No;
    default:
        // Closing the box is its Cancel, or No where it has none.
        return box.buttons == host::BoxButtons::YesNo ? host::BoxAnswer::No : host::BoxAnswer::Cancel;
    }
}

std::optional<std::string> QtUi::Ask(std::string_view prompt) {
    QString shown = QString::fromStdString(std::string(prompt)).trimmed();
    bool ok = false;
    const QString answer = QInputDialog::getText(parent_, QStringLiteral("Velmar"), shown, QLineEdit::Normal, {}, &ok);
    if (!ok) return std::nullopt;
    return answer.toStdString();
}

ProgressWindow::~ProgressWindow() { delete dialog_; }

void ProgressWindow::MeterStarted(std::string_view label, long total) {
    delete dialog_;
    dialog_ = new QProgressDialog(QString::fromStdString(std::string(label)), QStringLiteral("Cancel"), 0,
                                  static_cast<int>(std::max(total, 0L)), parent_);
    dialog_->setWindowTitle(QStringLiteral("Velmar"));
    dialog_->setWindowModality(Qt::WindowModal);
    dialog_->setMinimumDuration(400);
    QObject::connect(dialog_, &QProgressDialog::canceled, [] { host::ProgressMeter::RequestCancel(); });
}

void ProgressWindow::MeterMoved(long position, long total) {
    if (!dialog_) return;
    if (total > 0) {
        dialog_->setMaximum(static_cast<int>(total));
        dialog_->setValue(static_cast<int>(position));
    }
    QApplication::processEvents();
    if (dialog_ && dialog_->wasCanceled()) host::ProgressMeter::RequestCancel();
}

void ProgressWindow::MeterEnded() {
    if (!dialog_) return;
    dialog_->reset();
    dialog_->deleteLater();
    dialog_ = nullptr;
}

}  // namespace gui
