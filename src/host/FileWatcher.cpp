#include "host/FileWatcher.h"

#include <errno.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include <fmt/format.h>

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

// What is asked of a folder: every way a file of it can be saved or go, and the folder's own end.
constexpr std::uint32_t kFolderEvents = IN_MODIFY | IN_CLOSE_WRITE | IN_CREATE | IN_MOVED_TO |
                                        IN_MOVED_FROM | IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF |
                                        IN_ONLYDIR;

// A file still open for writing holds a burst back at most this many settle times: a program
// that keeps its file open for good must not silence the others.
constexpr int kBusySettles = 20;

int MillisecondsUntil(Clock::duration left) {
    const auto ms = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return static_cast<int>(std::clamp<long long>(ms, 0, 24 * 3600 * 1000));
}

std::string WatchFailure(const std::string& path, const std::string& folder, int error) {
    switch (error) {
    case ENOENT: return fmt::format("Cannot watch \"{}\": the folder \"{}\" does not exist.", path, folder);
    case ENOTDIR: return fmt::format("Cannot watch \"{}\": \"{}\" is not a folder.", path, folder);
    case ENOSPC:
        return fmt::format("Cannot watch \"{}\": the system's limit of watched folders is reached "
                           "(raise fs.inotify.max_user_watches).",
                           path);
    default: return fmt::format("Cannot watch \"{}\" in \"{}\": {}.", path, folder, std::strerror(error));
    }
}

bool Exists(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0;
}

}  // namespace

FileWatcher::FileWatcher(std::chrono::milliseconds settle) : settle_(settle) {
    inotify_ = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (inotify_ < 0) {
        failure_ = base::Status::Error(fmt::format("File watching (inotify) is not available: {}.", std::strerror(errno)));
        return;
    }
    wakeup_ = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (wakeup_ < 0)
        failure_ = base::Status::Error(fmt::format("File watching cannot be interrupted: {}.", std::strerror(errno)));
}

FileWatcher::~FileWatcher() {
    if (wakeup_ >= 0) ::close(wakeup_);
    if (inotify_ >= 0) ::close(inotify_);
}

base::Status FileWatcher::Watch(const std::string& path) {
    if (!failure_) return base::Status::Error(fmt::format("Cannot watch \"{}\": {}", path, failure_.Message()));
    const std::filesystem::path full(path);
    const std::string name = full.filename().string();
    if (name.empty() || name == "." || name == "..")
        return base::Status::Error(fmt::format("Cannot watch \"{}\": it names a folder, not a file.", path));
    std::string folder = full.parent_path().string();
    if (folder.empty()) folder = ".";

    const int watch = ::inotify_add_watch(inotify_, folder.c_str(), kFolderEvents);
    if (watch < 0) return base::Status::Error(WatchFailure(path, folder, errno));
    // inotify gives a folder one watch however often it is named, so "a/x" and "./a/x" meet here.
    if (std::none_of(folders_.begin(), folders_.end(), [&](const Folder& f) { return f.watch == watch; }))
        folders_.push_back({watch, folder});
    const bool known = std::any_of(watched_.begin(), watched_.end(),
                                   [&](const Watched& w) { return w.folder == watch && w.name == name; });
    if (!known) {
        Watched added;
        added.path = path;
        added.name = name;
        added.folder = watch;
        watched_.push_back(std::move(added));
    }
    return base::Status::Ok();
}

void FileWatcher::Interrupt() const noexcept {
    if (wakeup_ < 0) return;
    // Called from signal handlers: write() and nothing else, and errno left as it was.
    const int saved = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wakeup_, &one, sizeof one);
    errno = saved;
}

bool FileWatcher::AnyBusy() const {
    return std::any_of(watched_.begin(), watched_.end(), [](const Watched& w) { return w.busy; });
}

bool FileWatcher::ReadEvents(bool& touched, bool& triggered, std::string& failure) {
    alignas(struct inotify_event) char buffer[16 * 1024];
    for (;;) {
        const ssize_t length = ::read(inotify_, buffer, sizeof buffer);
        if (length < 0) {
            if (errno == EINTR) continue;
            if (errno == EAGAIN) return true;
            failure = fmt::format("Reading the file events failed: {}.", std::strerror(errno));
            return false;
        }
        for (ssize_t at = 0; at < length;) {
            const auto* event = reinterpret_cast<const struct inotify_event*>(buffer + at);
            at += static_cast<ssize_t>(sizeof(struct inotify_event) + event->len);
            const std::uint32_t mask = event->mask;
            if (mask & IN_Q_OVERFLOW) {
                // Events were lost: every watched file is looked at again, and the existence of
                // each decides whether it is told as saved or removed.
                for (Watched& w : watched_) {
                    if (!w.saved && !w.removed && !w.busy) w.order = ++touches_;
                    w.saved = w.removed = true;
                }
                touched = triggered = true;
                continue;
            }
            if (mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED)) {
                const auto folder = std::find_if(folders_.begin(), folders_.end(),
                                                 [&](const Folder& f) { return f.watch == event->wd; });
                if (folder == folders_.end()) continue;
                failure = fmt::format("The watched folder \"{}\" was {}.", folder->path,
                                      (mask & IN_MOVE_SELF) ? "moved" : "removed");
                return false;
            }
            if (event->len == 0) continue;
            const std::string_view name(event->name);  // NUL-padded by the kernel
            for (Watched& w : watched_) {
                if (w.folder != event->wd || w.name != name) continue;
                if (!w.saved && !w.removed && !w.busy) w.order = ++touches_;
                touched = true;
                if (mask & (IN_MODIFY | IN_CREATE)) w.busy = true;
                if (mask & (IN_CLOSE_WRITE | IN_MOVED_TO)) w.busy = false;
                if (mask & (IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE)) {
                    w.saved = true;
                    triggered = true;
                }
                if (mask & (IN_DELETE | IN_MOVED_FROM)) {
                    w.removed = true;
                    w.busy = false;
                    triggered = true;
                }
            }
        }
    }
}

void FileWatcher::FinishBurst() {
    std::vector<Watched*> told;
    for (Watched& w : watched_)
        if (w.saved || w.removed) told.push_back(&w);
    std::sort(told.begin(), told.end(), [](const Watched* a, const Watched* b) { return a->order < b->order; });
    // What the file is now decides: deleted and written anew is a save, saved and then deleted is
    // gone.
    for (Watched* w : told)
        ready_.push_back({Exists(w->path) ? WatchOutcome::Saved : WatchOutcome::Removed, w->path, {}});
    for (Watched& w : watched_) w.saved = w.removed = w.busy = false;
}

WatchEvent FileWatcher::Wait(std::chrono::milliseconds timeout) {
    if (!failure_) return {WatchOutcome::Failed, {}, failure_.Message()};
    if (!ready_.empty()) {
        WatchEvent next = std::move(ready_.front());
        ready_.pop_front();
        return next;
    }
    const bool forever = timeout.count() < 0;
    const Clock::time_point deadline = Clock::now() + (forever ? Clock::duration::zero() : timeout);
    // A burst an interruption cut short goes on where it was.
    bool burst = std::any_of(watched_.begin(), watched_.end(), [](const Watched& w) { return w.saved || w.removed; });
    Clock::time_point lastTouch = Clock::now();
    for (;;) {
        const Clock::time_point now = Clock::now();
        int waitMs = -1;
        if (burst) {
            const Clock::duration quiet = now - lastTouch;
            const Clock::duration needed = AnyBusy() ? settle_ * kBusySettles : settle_;
            if (quiet >= needed) {
                FinishBurst();
                burst = false;
                if (!ready_.empty()) return Wait(timeout);
                continue;
            }
            waitMs = MillisecondsUntil(needed - quiet);
        } else if (!forever) {
            if (now >= deadline) return {WatchOutcome::Timeout, {}, {}};
            waitMs = MillisecondsUntil(deadline - now);
        }

        struct pollfd fds[2] = {{inotify_, POLLIN, 0}, {wakeup_, POLLIN, 0}};
        if (::poll(fds, 2, waitMs) < 0) {
            if (errno == EINTR) continue;
            return {WatchOutcome::Failed, {}, fmt::format("Waiting for file events failed: {}.", std::strerror(errno))};
        }
        if (fds[1].revents & POLLIN) {
            std::uint64_t count = 0;
            [[maybe_unused]] const ssize_t read = ::read(wakeup_, &count, sizeof count);
            return {WatchOutcome::Interrupted, {}, {}};
        }
        if (fds[0].revents & POLLIN) {
            bool touched = false, triggered = false;
            std::string why;
            if (!ReadEvents(touched, triggered, why)) {
                // The watch cannot be trusted any more; every later Wait says so too.
                failure_ = base::Status::Error(why);
                return {WatchOutcome::Failed, {}, why};
            }
            if (touched) lastTouch = Clock::now();
            burst = burst || triggered;
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Signals

std::atomic<const FileWatcher*> InterruptOnSignals::current_{nullptr};

InterruptOnSignals::InterruptOnSignals(const FileWatcher& watcher) {
    static_assert(std::atomic<const FileWatcher*>::is_always_lock_free, "a signal handler reads it");
    previous_ = current_.exchange(&watcher);
    struct sigaction action {};
    action.sa_handler = &InterruptOnSignals::OnSignal;
    sigemptyset(&action.sa_mask);
    // Other blocking calls of the program go on; Wait's poll wakes through the eventfd anyway.
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, &oldInt_);
    ::sigaction(SIGTERM, &action, &oldTerm_);
}

InterruptOnSignals::~InterruptOnSignals() {
    ::sigaction(SIGINT, &oldInt_, nullptr);
    ::sigaction(SIGTERM, &oldTerm_, nullptr);
    current_.store(previous_);
}

void InterruptOnSignals::OnSignal(int) {
    if (const FileWatcher* watcher = current_.load()) watcher->Interrupt();
}

}  // namespace host
