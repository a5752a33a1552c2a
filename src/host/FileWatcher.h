#pragma once
// Tells when files that another program writes were saved or went away: inotify on the files'
// folders, so a save that writes a temporary file and renames it over the target is seen as well
// as a rewrite in place. The several events of one save come out as one.

#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "base/Status.h"

namespace host {

// What FileWatcher::Wait saw.
enum class WatchOutcome {
    Saved,        // a watched file was written and closed, moved or created in its place
    Removed,      // a watched file was deleted or moved away and is not back
    Timeout,      // nothing happened to a watched file before the time was up
    Interrupted,  // Interrupt() was called (Ctrl-C, or another thread)
    Failed,       // the watch itself broke (a watched folder went away, a read failed)
};

// One result of Wait: the outcome and, for Saved and Removed, the path as it was given to Watch.
struct WatchEvent {
    WatchOutcome outcome = WatchOutcome::Timeout;
    std::string path;     // "" unless Saved or Removed
    std::string message;  // why, for Failed; "" otherwise
};

// Watches a few files, each through its folder. Not copyable; one thread waits at a time,
// while Interrupt() may come from any thread or a signal handler.
class FileWatcher {
public:
    static constexpr std::chrono::milliseconds kDefaultSettle{50};

    // `settle` is how long the watched files must stay quiet before the events seen are told:
    // a save is many events (truncate, writes, close; or temporary file, rename) and should
    // be one result.
    explicit FileWatcher(std::chrono::milliseconds settle = kDefaultSettle);
    FileWatcher(const FileWatcher&) = delete;
    FileWatcher& operator=(const FileWatcher&) = delete;
    ~FileWatcher();

    // Starts watching `path`, which need not exist yet (a lock file that may come and go);
    // its folder must. A failure names the path and the reason. Watching a path twice is
    // the same as once.
    base::Status Watch(const std::string& path);

    // Blocks until a watched file was saved or removed (each such file is one event, the
    // others of the same burst come from the next calls without waiting), the timeout passes
    // (a negative timeout waits for ever) or Interrupt() is called. An Interrupt() made while
    // nobody waited is told by the next Wait. A file still open for writing holds its burst
    // back up to 20 settle times. When the system lost events, every watched file is told, as
    // Saved when it exists and Removed when it doesn't.
    WatchEvent Wait(std::chrono::milliseconds timeout);

    // Wakes Wait with Interrupted. Safe in a signal handler and from any thread.
    void Interrupt() const noexcept;

private:
    struct Watched {
        std::string path;    // as given
        std::string name;    // its file name in its folder
        int folder = -1;     // the inotify watch of the folder
        bool saved = false;  // written, created or moved here in the present burst
        bool removed = false;
        bool busy = false;   // open for writing: modified or created and not closed yet
        std::uint64_t order = 0;  // when first touched in the present burst
    };
    struct Folder {
        int watch = -1;
        std::string path;
    };

    // Takes in what inotify has; false when a watched folder is gone (the reason in `failure`).
    bool ReadEvents(bool& touched, bool& triggered, std::string& failure);
    // Turns the present burst into events, in the order the files were first touched.
    void FinishBurst();
    bool AnyBusy() const;

    std::chrono::milliseconds settle_;
    int inotify_ = -1;
    int wakeup_ = -1;  // an eventfd that Interrupt() writes to
    base::Status failure_;
    std::vector<Folder> folders_;
    std::vector<Watched> watched_;
    std::deque<WatchEvent> ready_;
    std::uint64_t touches_ = 0;
};

// While it lives, SIGINT and SIGTERM interrupt `watcher` instead of ending the program, so a
// watch stopped with Ctrl-C ends cleanly; the handlers before it come back when it goes. One at
// a time: a second one stands in for the first until it goes.
class InterruptOnSignals {
public:
    explicit InterruptOnSignals(const FileWatcher& watcher);
    InterruptOnSignals(const InterruptOnSignals&) = delete;
    InterruptOnSignals& operator=(const InterruptOnSignals&) = delete;
    ~InterruptOnSignals();

private:
    static void OnSignal(int signal);
    static std::atomic<const FileWatcher*> current_;

    const FileWatcher* previous_ = nullptr;
    struct sigaction oldInt_ {};
    struct sigaction oldTerm_ {};
};

}  // namespace host
