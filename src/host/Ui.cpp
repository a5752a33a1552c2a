#include "host/Ui.h"

#include "host/Printer.h"

namespace host {

BoxAnswer RecordingUi::MessageBox(const ShownBox& box) {
    shown_.push_back(box);
    if (next_ < answers_.size()) return answers_[next_++];
    if (box.buttons == BoxButtons::Ok) return BoxAnswer::Ok;
    if (box.buttons == BoxButtons::OkCancel) {
        return defaultAnswer_ == BoxAnswer::Yes ? BoxAnswer::Ok : BoxAnswer::Cancel;
    }
    return defaultAnswer_;
}

namespace {

RecordingUi& BuiltInUi() {
    static RecordingUi ui;
    return ui;
}

Ui* current = nullptr;

}  // namespace

Ui& CurrentUi() { return current ? *current : BuiltInUi(); }

void SetCurrentUi(Ui* ui) { current = ui; }

void ShowMessage(std::string_view text, std::string_view title, BoxIcon icon) {
    CurrentUi().MessageBox({std::string(text), std::string(title), BoxButtons::Ok, icon});
}

void ShowMessageOnceSaved(std::string_view text, std::string_view title) {
    CurrentPrinter().HoldAction(
        [box = std::string(text), caption = std::string(title)] { ShowMessage(box, caption); });
}

bool AskYesNo(std::string_view text, std::string_view title, BoxIcon icon) {
    return CurrentUi().MessageBox({std::string(text), std::string(title), BoxButtons::YesNo,
                                   icon}) == BoxAnswer::Yes;
}

}  // namespace host
