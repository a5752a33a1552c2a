#pragma once
// Message boxes and Yes/No questions. On a terminal they are asked; otherwise they are answered
// in advance (--yes, --no, an answers file). The box's title and text stand as the caller gives
// them.

#include <string>
#include <string_view>
#include <vector>

namespace host {

enum class BoxButtons { Ok, OkCancel, YesNo, YesNoCancel };
enum class BoxIcon { Information, Warning, Error, Question };
enum class BoxAnswer { Ok, Cancel, Yes, No };

// One message box as it was shown, for logs and tests.
struct ShownBox {
    std::string text;
    std::string title;
    BoxButtons buttons = BoxButtons::Ok;
    BoxIcon icon = BoxIcon::Information;
};

// The user's side of message boxes; the program installs one for each run.
class Ui {
public:
    virtual ~Ui() = default;
    // Shows the box and returns the button pressed; a box that can't be answered gives Cancel
    // (or No when the box has no Cancel).
    virtual BoxAnswer MessageBox(const ShownBox& box) = 0;
};

// A Ui that shows nothing: it records every box and answers from a queue, then with the default
// (Ok for Ok boxes, Yes for questions unless told otherwise). The Ui of a run until another is set.
class RecordingUi : public Ui {
public:
    BoxAnswer MessageBox(const ShownBox& box) override;
    // Answers to give, in order, before falling back on the default.
    void QueueAnswer(BoxAnswer answer) { answers_.push_back(answer); }
    void SetDefaultAnswer(BoxAnswer answer) { defaultAnswer_ = answer; }
    const std::vector<ShownBox>& Shown() const { return shown_; }
    void Clear() { shown_.clear(); }

private:
    std::vector<ShownBox> shown_;
    std::vector<BoxAnswer> answers_;
    std::size_t next_ = 0;
    BoxAnswer defaultAnswer_ = BoxAnswer::Yes;
};

// The Ui of this run; never null.
Ui& CurrentUi();
// Installs `ui` (not owned; null puts the built-in RecordingUi back).
void SetCurrentUi(Ui* ui);

// An information box with an OK button.
void ShowMessage(std::string_view text, std::string_view title = "Velmar",
                 BoxIcon icon = BoxIcon::Information);
// An information box that tells of a success depending on the saves at the end of the command
// (a workbook written then): shown once they succeeded, never when one failed, like the
// printer's held lines and in order with them.
void ShowMessageOnceSaved(std::string_view text, std::string_view title = "Velmar");
// A Yes/No question; true for Yes.
bool AskYesNo(std::string_view text, std::string_view title = "Velmar",
              BoxIcon icon = BoxIcon::Question);

}  // namespace host
