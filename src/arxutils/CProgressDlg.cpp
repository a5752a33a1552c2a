#include "arxutils/CProgressDlg.h"

#include <cstdint>

#include "base/Format.h"
#include "host/ProgressMeter.h"

namespace arxutils {

CProgressDlg::CProgressDlg() { Restart(); }

CProgressDlg::~CProgressDlg() = default;

void CProgressDlg::Restart() {
    meter_.reset();
    meter_ = std::make_unique<host::ProgressMeter>(text_, static_cast<long>(upper_) - lower_);
    meter_->SetPosition(static_cast<long>(position_) - lower_);
}

void CProgressDlg::SetRange(int lower, int upper) {
    lower_ = static_cast<std::int16_t>(lower);
    upper_ = static_cast<std::int16_t>(upper);
    Restart();
}

void CProgressDlg::SetText(std::string_view text) {
    text_ = std::string(text);
    Restart();
}

void CProgressDlg::SetPos(int position) {
    position_ = position;
    meter_->SetPosition(static_cast<long>(position_) - lower_);
}

bool CProgressDlg::CheckCancelButton() {
    // Ctrl-C on the terminal is this window's Cancel.
    if (host::ProgressMeter::Cancelled()) {
        host::ProgressMeter::ResetCancel();
        cancelled_ = true;
    }
    bool was = cancelled_;
    cancelled_ = false;
    return was;
}

int CProgressDlg::Percent() const {
    if (upper_ == lower_) return 0;
    int percent = (position_ - lower_) * 100 / (upper_ - lower_);
    return percent == 100 ? 100 : percent % 100;
}

std::string CProgressDlg::PercentText() const { return base::Sprintf("%d%c", Percent(), '%'); }

namespace {
std::unique_ptr<CProgressDlg> instance;
}  // namespace

CProgressDlg* ProgressDialog() { return instance.get(); }

void ShowProgress() {
    if (!instance) instance = std::make_unique<CProgressDlg>();
}

void CloseProgress() { instance.reset(); }

void SetProgressRange(int lower, int upper) {
    if (instance) instance->SetRange(lower, upper);
}

void SetProgressText(std::string_view text) {
    if (instance) instance->SetText(text);
}

void SetProgressStep(int step) {
    if (instance) instance->SetStep(step);
}

void SetProgressPos(int position) {
    if (instance) instance->SetPos(position);
}

void OffsetProgressPos(int offset) {
    if (instance) instance->OffsetPos(offset);
}

int CheckProgressCancel() {
    if (!instance) return -1;
    return instance->CheckCancelButton() ? 1 : 0;
}

}  // namespace arxutils
