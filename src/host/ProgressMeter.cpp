#include "host/ProgressMeter.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>

namespace host {

namespace {

// Set by the signal handler and read by work on any thread: a lock-free atomic is safe for both.
std::atomic<int> cancelRequested{0};
static_assert(std::atomic<int>::is_always_lock_free);
int openMeters = 0;
int visibility = -1;  // unknown until first asked
struct sigaction previousAction;
ProgressObserver* observer = nullptr;

void OnInterrupt(int) { cancelRequested = 1; }

bool Visible() {
    if (visibility < 0) visibility = isatty(STDERR_FILENO) ? 1 : 0;
    return visibility == 1;
}

}  // namespace

ProgressMeter::ProgressMeter(std::string_view label, long total)
    : label_(label), total_(total) {
    if (openMeters++ == 0) {
        outermost_ = true;
        struct sigaction action {};
        action.sa_handler = OnInterrupt;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &previousAction);
        if (observer) observer->MeterStarted(label_, total_);
    }
    Draw();
}

ProgressMeter::~ProgressMeter() {
    if (outermost_) {
        sigaction(SIGINT, &previousAction, nullptr);
        if (observer) observer->MeterEnded();
        if (Visible()) {
            std::fputs("\r\033[K", stderr);
            std::fflush(stderr);
        }
    }
    --openMeters;
}

void ProgressMeter::SetPosition(long position) {
    position_ = std::clamp(position, 0L, std::max(total_, 0L));
    Draw();
}

void ProgressMeter::Draw() {
    if (!outermost_) return;
    int percent = total_ > 0 ? static_cast<int>(position_ * 100 / total_) : 0;
    if (percent == shownPercent_) return;
    shownPercent_ = percent;
    if (observer) observer->MeterMoved(position_, total_);
    if (!Visible()) return;
    constexpr int width = 30;
    std::string bar(static_cast<std::size_t>(percent * width / 100), '#');
    bar.resize(width, '.');
    if (total_ > 0) {
        std::fprintf(stderr, "\r%s [%s] %3d%%", label_.c_str(), bar.c_str(), percent);
    } else {
        std::fprintf(stderr, "\r%s", label_.c_str());
    }
    std::fflush(stderr);
}

bool ProgressMeter::Cancelled() { return cancelRequested != 0; }

void ProgressMeter::RequestCancel() { cancelRequested = 1; }

void ProgressMeter::SetObserver(ProgressObserver* newObserver) { observer = newObserver; }

void ProgressMeter::ResetCancel() { cancelRequested = 0; }

void ProgressMeter::SetVisible(bool visible) { visibility = visible ? 1 : 0; }

}  // namespace host
