#pragma once
// The host's status-bar meter: a bar on standard error while it is a terminal, nothing
// otherwise. Ctrl-C while a meter runs is the progress dialog's Cancel: the work sees
// Cancelled() and stops at its next step instead of the program being killed.

#include <string>
#include <string_view>

namespace host {

// Who else watches the outermost meter (a progress dialog); not owned. Told of every change of
// the shown percentage, and once more when the meter ends.
class ProgressObserver {
public:
    virtual ~ProgressObserver() = default;
    virtual void MeterStarted(std::string_view label, long total) = 0;
    virtual void MeterMoved(long position, long total) = 0;
    virtual void MeterEnded() = 0;
};

// One meter from construction to destruction; meters don't nest (an inner one only counts).
class ProgressMeter {
public:
    // `total` of 0 or less shows no bar, only the label.
    ProgressMeter(std::string_view label, long total);
    ~ProgressMeter();
    ProgressMeter(const ProgressMeter&) = delete;
    ProgressMeter& operator=(const ProgressMeter&) = delete;

    // Moves the bar to `position` (clamped to 0..total); redraws only when the shown percentage
    // changes, so calling it per row costs nothing.
    void SetPosition(long position);
    void Step() { SetPosition(position_ + 1); }
    // True once the user pressed Ctrl-C while a meter was running.
    static bool Cancelled();
    // Clears the cancel, for the next operation of the same run.
    static void ResetCancel();
    // The progress dialog's Cancel: the running work sees Cancelled() as after Ctrl-C.
    static void RequestCancel();
    // Installs `observer` (null removes it); meters report to it whether or not they draw.
    static void SetObserver(ProgressObserver* observer);
    // Whether meters draw; off when standard error is not a terminal, and in tests.
    static void SetVisible(bool visible);

private:
    void Draw();

    std::string label_;
    long total_;
    long position_ = 0;
    int shownPercent_ = -1;
    bool outermost_ = false;
};

}  // namespace host
