#include "base/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "base/Path.h"

namespace base {

namespace {

std::string ErrnoText() { return std::strerror(errno); }

bool WriteAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

void SyncFolder(const std::string& folder) {
    const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

}  // namespace

Result<std::string> ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return Status::Error("cannot open \"" + path + "\": " + ErrnoText());
    std::ostringstream buffer;
    buffer << in.rdbuf();
    if (in.bad()) return Status::Error("cannot read \"" + path + "\": " + ErrnoText());
    return buffer.str();
}

Status WriteFileAtomic(const std::string& path, std::string_view bytes,
                       const AtomicWriteOptions& options) {
    const std::string folder = Folder(path);
    std::string temp = (folder.empty() ? std::string() : folder + "/") + "." + FileName(path) +
                       ".tmpXXXXXX";
    const int fd = ::mkstemp(temp.data());
    if (fd < 0) {
        return Status::Error("cannot create a temporary file beside \"" + path +
                             "\": " + ErrnoText());
    }
    struct stat old {};
    const bool exists = ::stat(path.c_str(), &old) == 0;
    ::fchmod(fd, exists ? (old.st_mode & 07777) : 0644);
    if (!WriteAll(fd, bytes) || ::fsync(fd) != 0) {
        const std::string reason = ErrnoText();
        ::close(fd);
        ::unlink(temp.c_str());
        return Status::Error("cannot write \"" + path + "\": " + reason +
                             " (the original is unchanged)");
    }
    ::close(fd);
    if (exists && !options.backupPath.empty()) {
        ::unlink(options.backupPath.c_str());
        if (::link(path.c_str(), options.backupPath.c_str()) != 0) {
            // File systems without hard links: copy instead.
            auto original = ReadFile(path);
            Status copied = original ? WriteFileAtomic(options.backupPath, *original)
                                     : original.GetStatus();
            if (!copied) {
                ::unlink(temp.c_str());
                return Status::Error("cannot keep the backup \"" + options.backupPath +
                                     "\": " + copied.Message() + " (the original is unchanged)");
            }
        }
    }
    if (::rename(temp.c_str(), path.c_str()) != 0) {
        const std::string reason = ErrnoText();
        ::unlink(temp.c_str());
        return Status::Error("cannot replace \"" + path + "\": " + reason +
                             " (the original is unchanged)");
    }
    SyncFolder(folder);
    return Status::Ok();
}

}  // namespace base
