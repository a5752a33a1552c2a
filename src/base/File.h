#pragma once
// Reading whole files and replacing files atomically.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"

namespace base {

// The bytes of a file; a status naming the file and the reason when it can't be read.
Result<std::string> ReadFile(const std::string& path);

struct AtomicWriteOptions {
    // When not empty and the target exists, the old target is kept under this name (an older
    // backup is replaced).
    std::string backupPath;
    // When set, receives the leftover temporary files of interrupted saves of the same target
    // that were removed first (see RemoveStaleTemporaries), for the caller to mention.
    std::vector<std::string>* removedStale = nullptr;
};

// Writes `bytes` to a temporary file in the target's folder, flushes it to disk and renames it
// over the target, so the target is either the old file or the whole new one, never a part.
// A new file gets the owner, group and mode of the one it replaces; a read-only target is refused
// (see AtomicFile::Open).
Status WriteFileAtomic(const std::string& path, std::string_view bytes,
                       const AtomicWriteOptions& options = {});
// The same with the bytes given piece by piece, in order: `write` hands each to the function it
// gets, and the target is replaced only once `write` is done and every piece went in.
Status WriteFileAtomicInPieces(
    const std::string& path,
    const std::function<void(const std::function<void(std::string_view)>& put)>& write,
    const AtomicWriteOptions& options = {});

}  // namespace base
