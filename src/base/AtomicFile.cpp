#include "base/AtomicFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>
#include <random>
#include <set>
#include <utility>

#include "base/Path.h"

namespace base {
namespace {

// Large enough that a write call costs nothing next to the bytes it moves; pieces at least
// this long skip the buffer.
constexpr std::size_t kBufferSize = 256 * 1024;
// How much is written between two hints to start writing it to disk.
constexpr std::uint64_t kWriteBackStep = std::uint64_t{16} << 20;

// A leftover that nobody holds is removed once its writer is gone, or after this long even when
// its pid runs again (pids are reused).
constexpr std::time_t kStaleAfterSeconds = 60 * 60;

constexpr std::string_view kTempMarker = ".velmar-tmp.";

std::array<std::atomic<int>, 6> injected{};

// The error a test asked the step to fail with, once; 0 for none.
int TakeInjected(AtomicFileStep step) {
    return injected[static_cast<std::size_t>(step)].exchange(0);
}

// Runs a system call that reports failure by a negative result, unless a test made it fail.
template <class Call>
int Checked(AtomicFileStep step, Call call) {
    if (int error = TakeInjected(step)) {
        errno = error;
        return -1;
    }
    return call();
}

bool WriteAll(int fd, std::string_view bytes, int& error) {
    while (!bytes.empty()) {
        const ssize_t n = Checked(AtomicFileStep::Write, [&] {
            return static_cast<int>(
                ::write(fd, bytes.data(), std::min<std::size_t>(bytes.size(), 1 << 30)));
        });
        if (n < 0) {
            if (errno == EINTR) continue;
            error = errno;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

// Makes the rename durable. File systems that can't sync a folder say EINVAL; that is no
// failure of ours.
int SyncFolder(const std::string& folder) {
    const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return 0;
    int error = ::fsync(fd) != 0 && errno != EINVAL ? errno : 0;
    ::close(fd);
    return error;
}

std::string Quoted(const std::string& path) {
    return "\"" + path + "\"";
}

std::string FolderOf(const std::string& path) {
    const std::string folder = Folder(path);
    return folder.empty() ? "." : folder;
}

std::string TempPrefix(const std::string& target) {
    return "." + FileName(target) + std::string(kTempMarker);
}

// The pid in ".NAME.velmar-tmp.PID.RANDOM", or 0 when `name` is no temporary of the prefix.
pid_t PidOfTemporary(std::string_view name, std::string_view prefix) {
    if (name.substr(0, prefix.size()) != prefix)
        return 0;
    name.remove_prefix(prefix.size());
    const std::size_t dot = name.find('.');
    if (dot == 0 || dot == std::string_view::npos || dot + 1 == name.size())
        return 0;
    long long pid = 0;
    for (char c : name.substr(0, dot)) {
        if (c < '0' || c > '9' || pid > 1000000000)
            return 0;
        pid = pid * 10 + (c - '0');
    }
    return static_cast<pid_t>(pid);
}

bool ProcessRuns(pid_t pid) {
    return ::kill(pid, 0) == 0 || errno == EPERM;
}

// Gives the new file the owner, group and mode of the one it replaces. Only root may give a file
// away; an ordinary user's file then stays the user's, in the old group when the user is in it.
void CopyAttributes(int fd, const struct stat& old) {
    if (::fchown(fd, old.st_uid, old.st_gid) != 0)
        ::fchown(fd, static_cast<uid_t>(-1), old.st_gid);
    // After fchown: a change of owner clears the set-id bits, which the old mode restores.
    ::fchmod(fd, old.st_mode & 07777);
}

std::string RandomSuffix() {
    static constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    std::random_device device;
    std::string suffix;
    for (int i = 0; i < 8; ++i)
        suffix.push_back(kDigits[device() % 36]);
    return suffix;
}

}  // namespace

void InjectAtomicFileFailure(AtomicFileStep step, int error) {
    injected[static_cast<std::size_t>(step)] = error;
}

bool IsReadOnlyForUs(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        return false;
    // Root passes every access check, yet a file whose owner took away all its write bits was
    // meant to stay as it is.
    if (::geteuid() == 0)
        return (info.st_mode & 0222) == 0;
    return ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0 && errno == EACCES;
}

namespace {

// The folders swept while a FolderSweepOnce lives.
struct SweptFolders {
    std::mutex mutex;
    int scopes = 0;
    std::set<std::string> folders;
};

SweptFolders& Swept() {
    static SweptFolders swept;
    return swept;
}

// The pid of a temporary file of any target (".NAME.velmar-tmp.PID.RANDOM"), or 0.
pid_t PidOfAnyTemporary(std::string_view name) {
    const std::size_t marker = name.find(kTempMarker, 1);
    if (name.empty() || name.front() != '.' || marker == std::string_view::npos) return 0;
    return PidOfTemporary(name, name.substr(0, marker + kTempMarker.size()));
}

}  // namespace

FolderSweepOnce::FolderSweepOnce() {
    std::lock_guard lock(Swept().mutex);
    ++Swept().scopes;
}

FolderSweepOnce::~FolderSweepOnce() {
    std::lock_guard lock(Swept().mutex);
    if (--Swept().scopes == 0) Swept().folders.clear();
}

std::vector<std::string> RemoveStaleTemporaries(const std::string& target) {
    std::vector<std::string> removed;
    const std::string folder = FolderOf(target);
    const std::string prefix = TempPrefix(target);
    bool everyTarget = false;
    {
        std::lock_guard lock(Swept().mutex);
        if (Swept().scopes > 0) {
            if (!Swept().folders.insert(folder).second) return removed;
            everyTarget = true;
        }
    }
    DIR* dir = ::opendir(folder.c_str());
    if (!dir)
        return removed;
    const int dirFd = ::dirfd(dir);
    const std::time_t now = std::time(nullptr);
    while (const dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        const pid_t pid = everyTarget ? PidOfAnyTemporary(name) : PidOfTemporary(name, prefix);
        if (pid <= 0)
            continue;
        const int fd =
            ::openat(dirFd, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0)
            continue;
        struct stat held {};
        struct stat named {};
        // A lock that can be taken means the writer is gone: it holds its lock until it ends.
        // A writer that has just made its file and not yet locked it is still running, so its
        // pid keeps it safe.
        const bool stale = ::fstat(fd, &held) == 0 && S_ISREG(held.st_mode) &&
                           ::flock(fd, LOCK_EX | LOCK_NB) == 0 &&
                           (!ProcessRuns(pid) || now - held.st_mtime > kStaleAfterSeconds);
        // Under the lock, and only if the name still means the file that was checked.
        if (stale && ::fstatat(dirFd, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
            named.st_dev == held.st_dev && named.st_ino == held.st_ino &&
            ::unlinkat(dirFd, name.c_str(), 0) == 0) {
            removed.push_back(Folder(target).empty() ? name : JoinPath(Folder(target), name));
        }
        ::close(fd);
    }
    ::closedir(dir);
    return removed;
}

AtomicFile::AtomicFile(std::string path) : path_(std::move(path)) {}

AtomicFile::~AtomicFile() {
    if (!temp_.empty() && !committed_) ::unlink(temp_.c_str());
    if (fd_ >= 0)
        ::close(fd_);
}

Status AtomicFile::Open() {
    return OpenWithAttributesOf(path_, true);
}

Status AtomicFile::OpenWithAttributesOf(const std::string& model, bool refuseReadOnly) {
    struct stat old {};
    const bool exists = ::stat(model.c_str(), &old) == 0;
    const bool replaces = exists && S_ISREG(old.st_mode);
    // A device or a pipe would be replaced by a plain file, /dev/null included when root saves.
    if (refuseReadOnly && exists && !replaces && !S_ISDIR(old.st_mode))
        return Status::Error("Cannot save " + path_ +
                             ": it is not a regular file; save under another name.");
    if (refuseReadOnly && replaces && IsReadOnlyForUs(path_)) {
        char mode[16];
        std::snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(old.st_mode & 07777));
        return Status::Error("Cannot save " + path_ + ": the file is read-only (mode " + mode +
                             "); make it writable or save under another name.");
    }
    removedStale_ = RemoveStaleTemporaries(path_);
    const std::string folder = Folder(path_);
    const std::string base = (folder.empty() ? std::string() : folder + "/") + TempPrefix(path_) +
                             std::to_string(::getpid()) + ".";
    int error = 0;
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::string temp = base + RandomSuffix();
        fd_ = Checked(AtomicFileStep::Create, [&] {
            return ::open(temp.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        });
        if (fd_ >= 0) {
            temp_ = std::move(temp);
            break;
        }
        error = errno;
        if (error != EEXIST)
            break;
    }
    if (fd_ < 0)
        return Status::Error("cannot create a temporary file beside " + Quoted(path_) + ": " +
                             std::strerror(error));
    // Held until the file is renamed or removed; nobody else has it yet, so this doesn't wait.
    while (::flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
    }
    if (replaces)
        CopyAttributes(fd_, old);
    buffer_.reserve(kBufferSize);
    return Status::Ok();
}

bool AtomicFile::Flush() {
    if (error_ == 0 && !buffer_.empty() && !WriteOut(buffer_)) return false;
    buffer_.clear();
    return error_ == 0;
}

bool AtomicFile::WriteOut(std::string_view bytes) {
    if (!WriteAll(fd_, bytes, error_)) return false;
    written_ += bytes.size();
    if (written_ - handedToDisk_ >= kWriteBackStep) {
        // The system starts writing what is written so far, so that the sync of Commit finds
        // little left to wait for; only a hint, Commit's sync is what counts.
        ::sync_file_range(fd_, static_cast<off_t>(handedToDisk_), static_cast<off_t>(written_ - handedToDisk_),
                          SYNC_FILE_RANGE_WRITE);
        handedToDisk_ = written_;
    }
    return true;
}

void AtomicFile::Write(std::string_view bytes) {
    if (fd_ < 0 || error_ != 0) return;
    if (buffer_.size() + bytes.size() <= kBufferSize) {
        buffer_.append(bytes);
        return;
    }
    if (!Flush()) return;
    if (bytes.size() >= kBufferSize) WriteOut(bytes);
    else buffer_.append(bytes);
}

Status AtomicFile::Fail(const std::string& what) {
    if (!temp_.empty())
        ::unlink(temp_.c_str());
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
    temp_.clear();
    return Status::Error(what + " (the original is unchanged)");
}

Status AtomicFile::CopyWithAttributes(const std::string& from, const std::string& to) {
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return Status::Error("cannot open " + Quoted(from) + ": " + std::strerror(errno));
    AtomicFile out(to);
    // The backup is ours to replace, whatever its mode; it takes the old file's attributes.
    Status status = out.OpenWithAttributesOf(from, false);
    std::string chunk(kBufferSize, '\0');
    while (status) {
        const ssize_t n = ::read(in, chunk.data(), chunk.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            status = Status::Error("cannot read " + Quoted(from) + ": " + std::strerror(errno));
        if (n <= 0)
            break;
        out.Write(std::string_view(chunk.data(), static_cast<std::size_t>(n)));
    }
    ::close(in);
    return status ? out.Commit() : status;
}

Status AtomicFile::Commit(const std::string& backupPath) {
    if (fd_ < 0)
        return Status::Error("cannot write " + Quoted(path_) + ": the file was not opened");
    if (!Flush() || Checked(AtomicFileStep::Sync, [&] { return ::fsync(fd_); }) != 0)
        return Fail("cannot write " + Quoted(path_) + ": " +
                    std::strerror(error_ != 0 ? error_ : errno));
    struct stat old {};
    if (!backupPath.empty() && ::stat(path_.c_str(), &old) == 0) {
        // A hard link is the old file itself, owner and mode included; a copy where there are no
        // links (or the link fails) is given them.
        ::unlink(backupPath.c_str());
        if (Checked(AtomicFileStep::Backup,
                    [&] { return ::link(path_.c_str(), backupPath.c_str()); }) != 0) {
            Status copied = CopyWithAttributes(path_, backupPath);
            if (!copied)
                return Fail("cannot keep the backup " + Quoted(backupPath) + ": " +
                            copied.Message());
        }
    }
    // Closed before the rename so that a failure a network file system reports only on close
    // leaves the target alone. That gives up the lock, but the pid in the name still runs.
    const int closed = Checked(AtomicFileStep::Close, [&] { return ::close(fd_); });
    fd_ = -1;
    if (closed != 0 && errno != EINTR)
        return Fail("cannot write " + Quoted(path_) + ": " + std::strerror(errno));
    if (Checked(AtomicFileStep::Rename, [&] { return ::rename(temp_.c_str(), path_.c_str()); }) !=
        0)
        return Fail("cannot replace " + Quoted(path_) + ": " + std::strerror(errno));
    committed_ = true;
    if (int error = SyncFolder(Folder(path_)))
        return Status::Error("cannot flush the folder of " + Quoted(path_) +
                             " to disk: " + std::strerror(error) +
                             " (the new file is in place but may not survive a power loss)");
    return Status::Ok();
}

}  // namespace base
