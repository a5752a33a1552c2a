#pragma once
// The host's user side in windows: message boxes as Qt message boxes with the system's titles and
// texts, the editor's prompts as input dialogs, and the status-bar meter as a progress dialog
// whose Cancel is the command's cancel.

#include <QPointer>
#include <QProgressDialog>

#include <optional>
#include <string>
#include <string_view>

#include "host/ProgressMeter.h"
#include "host/Ui.h"

class QWidget;

namespace gui {

// The standard buttons and icon of a box, as the host's box has them.
int QtButtonsOf(host::BoxButtons buttons);
int QtIconOf(host::BoxIcon icon);

class QtUi : public host::Ui {
public:
    // Boxes are shown over `parent` (may be null).
    explicit QtUi(QWidget* parent = nullptr) : parent_(parent) {}
    host::BoxAnswer MessageBox(const host::ShownBox& box) override;
    // An editor prompt: the answer typed, nullopt when the user cancelled.
    std::optional<std::string> Ask(std::string_view prompt);
    void SetParent(QWidget* parent) { parent_ = parent; }

private:
    QWidget* parent_;
};

// The outermost meter of a command as a modal progress dialog; the events of the window are
// served at each step so that Cancel can be pressed while the work runs.
class ProgressWindow : public host::ProgressObserver {
public:
    explicit ProgressWindow(QWidget* parent = nullptr) : parent_(parent) {}
    ~ProgressWindow() override;
    void MeterStarted(std::string_view label, long total) override;
    void MeterMoved(long position, long total) override;
    void MeterEnded() override;
    // The dialog while a meter runs; null otherwise.
    QProgressDialog* Dialog() const { return dialog_; }

private:
    QWidget* parent_;
    QPointer<QProgressDialog> dialog_;
};

}  // namespace gui
