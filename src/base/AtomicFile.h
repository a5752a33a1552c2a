#pragma once
// A file written in pieces and put in place whole: the bytes go through a buffer into a
// temporary file beside the target, which is flushed to disk and renamed over the target, so
// the target is always either the old file or the whole new one. A file of hundreds of
// megabytes is written this way without ever being held as one string.
//
// The temporary file is named ".NAME.velmar-tmp.PID.RANDOM" and held under an advisory lock
// (flock) while it is written, so that a later run can tell the leftover of a killed save from
// one still being written, and remove it.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"

namespace base {

class AtomicFile {
public:
    // Nothing is created before Open.
    explicit AtomicFile(std::string path);
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    // Removes the temporary file unless Commit put it in place.
    ~AtomicFile();

    // Removes the leftovers of interrupted saves of the same target, then creates the temporary
    // file beside it. Fails, naming the target, when the folder is missing or not writable, or
    // when the target is read-only (see IsReadOnlyForUs) or a device or pipe: a save never
    // replaces a file that an in-place write would not be allowed to change.
    Status Open();
    // Appends bytes; a failure is kept and reported by Commit, later writes are then dropped.
    void Write(std::string_view bytes);
    // Flushes to disk and renames over the target; with a `backupPath` an existing target is
    // kept there first (an older backup is replaced), with the target's owner and mode. The new
    // file gets the owner, group and mode of the one it replaces where the system allows it. On
    // failure the target is unchanged and the temporary file is gone.
    Status Commit(const std::string& backupPath = {});

    // The leftover temporary files that Open removed; empty when there were none. The caller
    // says so to the user, as this library never prints.
    const std::vector<std::string>& RemovedStale() const { return removedStale_; }

private:
    Status OpenWithAttributesOf(const std::string& model, bool refuseReadOnly);
    bool Flush();
    // Writes `bytes` to the temporary file; false (and the error kept) on failure.
    bool WriteOut(std::string_view bytes);
    Status Fail(const std::string& what);
    static Status CopyWithAttributes(const std::string& from, const std::string& to);

    std::string path_;
    std::string temp_;
    std::string buffer_;
    std::vector<std::string> removedStale_;
    int fd_ = -1;
    int error_ = 0;  // errno of the first failed write
    std::uint64_t written_ = 0;       // bytes written to the temporary file
    std::uint64_t handedToDisk_ = 0;  // of those, how many the system was told to write out
    bool committed_ = false;
};

// While one lives (on any thread), RemoveStaleTemporaries sweeps each folder once, for the
// leftovers of every file in it, and then passes over the folders it swept: a command that reads
// and saves a thousand drawings of one folder lists it once, not three thousand times.
// Leftovers that appear meanwhile wait for the next run.
class FolderSweepOnce {
public:
    FolderSweepOnce();
    ~FolderSweepOnce();
    FolderSweepOnce(const FolderSweepOnce&) = delete;
    FolderSweepOnce& operator=(const FolderSweepOnce&) = delete;
};

// Removes the temporary files that interrupted saves of `target` left beside it: those no
// process holds (their lock can be taken) whose writer no longer runs or that are older than an
// hour. Returns their paths; empty when there were none. Safe while another program saves the
// same target, and usable when a file is opened.
std::vector<std::string> RemoveStaleTemporaries(const std::string& target);

// True when a save over `path` must be refused because the file is read-only: for an ordinary
// user, when the user may not write it in place (access(W_OK)); for root, who may write
// anything, when the file has no write bit at all, as editors ask before overwriting such a
// file. False for a missing file.
bool IsReadOnlyForUs(const std::string& path);

// The steps of a save where a test can make the system call fail.
enum class AtomicFileStep { Create, Write, Sync, Backup, Rename, Close };

// Makes the next `step` of any AtomicFile fail with `error` (an errno value) as if the system
// had reported it, once; 0 clears it. Only tests call this: it checks failures that a healthy
// disk never gives.
void InjectAtomicFileFailure(AtomicFileStep step, int error);

}  // namespace base
