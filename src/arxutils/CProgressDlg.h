#pragma once
// The small progress window two long dialogs share, as a model over the host's progress meter:
// a range, a step, a position, a message line, a percentage text and a Cancel flag (Ctrl-C on
// the terminal). One instance for the whole program, made on demand.
#include <memory>
#include <string>
#include <string_view>

namespace host {
class ProgressMeter;
}

namespace arxutils {

class CProgressDlg {
public:
    CProgressDlg();
    ~CProgressDlg();
    CProgressDlg(const CProgressDlg&) = delete;
    CProgressDlg& operator=(const CProgressDlg&) = delete;

    // Bounds are 16-bit values, as the bar keeps them.
    void SetRange(int lower, int upper);
    void SetText(std::string_view text);
    void SetStep(int step) { step_ = step; }
    // Moves the bar; the meter redraws only when its shown percentage changes.
    void SetPos(int position);
    void OffsetPos(int offset) { SetPos(position_ + offset); }
    void StepIt() { SetPos(position_ + step_); }
    // Whether Cancel was pressed since the last check; the flag is cleared.
    bool CheckCancelButton();
    // The Cancel button: sets the flag, nothing more; the caller reads it and decides.
    void OnCancel() { cancelled_ = true; }
    // (position - lower) * 100 / (upper - lower); 100 is kept, others are taken modulo 100; 0
    // for an empty range.
    int Percent() const;
    // The percentage as the window shows it: "%d%c" with '%'.
    std::string PercentText() const;

    int Lower() const { return lower_; }
    int Upper() const { return upper_; }
    int Step() const { return step_; }
    int Pos() const { return position_; }
    const std::string& Text() const { return text_; }

private:
    void Restart();
    std::unique_ptr<host::ProgressMeter> meter_;
    std::string text_;
    int lower_ = 0;
    int upper_ = 100;
    int step_ = 10;
    int position_ = 0;
    bool cancelled_ = false;
};

// The program's instance; null until ShowProgress.
CProgressDlg* ProgressDialog();
// Makes the instance when there is none (range 0 to 100, step 10, position 0); a second call
// only shows the one there is.
void ShowProgress();
// Ends the window and deletes the instance; nothing when there is none.
void CloseProgress();
// The free operations: nothing happens without an instance.
void SetProgressRange(int lower, int upper);
void SetProgressText(std::string_view text);
void SetProgressStep(int step);
void SetProgressPos(int position);
void OffsetProgressPos(int offset);
// -1 without an instance; else 1 when Cancel was pressed since the last check, 0 when not.
int CheckProgressCancel();

}  // namespace arxutils
