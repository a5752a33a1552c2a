#include "base/File.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "base/AtomicFile.h"

namespace base {

namespace {

std::string ErrnoText() { return std::strerror(errno); }

}  // namespace

Result<std::string> ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    if (!in) return Status::Error("cannot open \"" + path + "\": " + ErrnoText());
    std::string bytes;
    const std::streamoff size = in.tellg();
    if (size > 0) {
        // One buffer of the file's size: a big file is not held twice while it is read.
        bytes.resize(static_cast<std::size_t>(size));
        in.seekg(0);
        in.read(bytes.data(), size);
        bytes.resize(static_cast<std::size_t>(in.gcount()));
    } else {
        // Pipes and files that don't say their size.
        in.seekg(0);
        in.clear();
        std::ostringstream buffer;
        buffer << in.rdbuf();
        bytes = buffer.str();
    }
    if (in.bad()) return Status::Error("cannot read \"" + path + "\": " + ErrnoText());
    return bytes;
}

Status WriteFileAtomic(const std::string& path, std::string_view bytes,
                       const AtomicWriteOptions& options) {
    return WriteFileAtomicInPieces(
        path, [bytes](const std::function<void(std::string_view)>& put) { put(bytes); }, options);
}

Status WriteFileAtomicInPieces(
    const std::string& path,
    const std::function<void(const std::function<void(std::string_view)>& put)>& write,
    const AtomicWriteOptions& options) {
    AtomicFile file(path);
    Status opened = file.Open();
    if (options.removedStale)
        *options.removedStale = file.RemovedStale();
    if (!opened)
        return opened;
    write([&file](std::string_view piece) { file.Write(piece); });
    return file.Commit(options.backupPath);
}

}  // namespace base
