#include "base/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "base/Path.h"

namespace base {
namespace {

// Large enough that a write call costs nothing next to the bytes it moves; pieces at least
// this long skip the buffer.
constexpr std::size_t kBufferSize = 256 * 1024;

bool WriteAll(int fd, std::string_view bytes, int& error) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            error = errno;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

void SyncFolder(const std::string& folder) {
    const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

// Copies `from` to `to` through an AtomicFile, for file systems without hard links.
Status CopyFile(const std::string& from, const std::string& to) {
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return Status::Error("cannot open \"" + from + "\": " + std::strerror(errno));
    AtomicFile out(to);
    Status status = out.Open();
    std::string chunk(kBufferSize, '\0');
    while (status) {
        const ssize_t n = ::read(in, chunk.data(), chunk.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) status = Status::Error("cannot read \"" + from + "\": " + std::strerror(errno));
        if (n <= 0) break;
        out.Write(std::string_view(chunk.data(), static_cast<std::size_t>(n)));
    }
    ::close(in);
    return status ? out.Commit() : status;
}

}  // namespace

AtomicFile::AtomicFile(std::string path) : path_(std::move(path)) {}

AtomicFile::~AtomicFile() {
    if (fd_ >= 0) ::close(fd_);
    if (!temp_.empty() && !committed_) ::unlink(temp_.c_str());
}

Status AtomicFile::Open() {
    const std::string folder = Folder(path_);
    std::string temp = (folder.empty() ? std::string() : folder + "/") + "." + FileName(path_) + ".tmpXXXXXX";
    fd_ = ::mkstemp(temp.data());
    if (fd_ < 0)
        return Status::Error("cannot create a temporary file beside \"" + path_ + "\": " + std::strerror(errno));
    temp_ = std::move(temp);
    struct stat old {};
    ::fchmod(fd_, ::stat(path_.c_str(), &old) == 0 ? (old.st_mode & 07777) : 0644);
    buffer_.reserve(kBufferSize);
    return Status::Ok();
}

bool AtomicFile::Flush() {
    if (error_ == 0 && !buffer_.empty() && !WriteAll(fd_, buffer_, error_)) return false;
    buffer_.clear();
    return error_ == 0;
}

void AtomicFile::Write(std::string_view bytes) {
    if (fd_ < 0 || error_ != 0) return;
    if (buffer_.size() + bytes.size() <= kBufferSize) {
        buffer_.append(bytes);
        return;
    }
    if (!Flush()) return;
    if (bytes.size() >= kBufferSize) WriteAll(fd_, bytes, error_);
    else buffer_.append(bytes);
}

Status AtomicFile::Fail(const std::string& what) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
    if (!temp_.empty()) ::unlink(temp_.c_str());
    temp_.clear();
    return Status::Error(what + " (the original is unchanged)");
}

Status AtomicFile::Commit(const std::string& backupPath) {
    if (fd_ < 0) return Status::Error("cannot write \"" + path_ + "\": the file was not opened");
    if (!Flush() || ::fsync(fd_) != 0)
        return Fail("cannot write \"" + path_ + "\": " + std::strerror(error_ != 0 ? error_ : errno));
    ::close(fd_);
    fd_ = -1;
    struct stat old {};
    if (!backupPath.empty() && ::stat(path_.c_str(), &old) == 0) {
        ::unlink(backupPath.c_str());
        if (::link(path_.c_str(), backupPath.c_str()) != 0) {
            Status copied = CopyFile(path_, backupPath);
            if (!copied) return Fail("cannot keep the backup \"" + backupPath + "\": " + copied.Message());
        }
    }
    if (::rename(temp_.c_str(), path_.c_str()) != 0)
        return Fail("cannot replace \"" + path_ + "\": " + std::strerror(errno));
    committed_ = true;
    SyncFolder(Folder(path_));
    return Status::Ok();
}

}  // namespace base
