#pragma once
// A file written in pieces and put in place whole: the bytes go through a buffer into a
// temporary file beside the target, which is flushed to disk and renamed over the target, so
// the target is always either the old file or the whole new one. A file of hundreds of
// megabytes is written this way without ever being held as one string.

#include <string>
#include <string_view>

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

    // Creates the temporary file beside the target; fails when the folder is missing or not
    // writable, naming the target.
    Status Open();
    // Appends bytes; a failure is kept and reported by Commit, later writes are then dropped.
    void Write(std::string_view bytes);
    // Flushes to disk and renames over the target; with a `backupPath` an existing target is
    // kept there first (an older backup is replaced). A new file gets the permissions of the
    // one it replaces. On failure the target is unchanged and the temporary file is gone.
    Status Commit(const std::string& backupPath = {});

private:
    bool Flush();
    Status Fail(const std::string& what);

    std::string path_;
    std::string temp_;
    std::string buffer_;
    int fd_ = -1;
    int error_ = 0;  // errno of the first failed write
    bool committed_ = false;
};

}  // namespace base
