#include "base/MappedFile.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <utility>

#include <fmt/format.h>

namespace base {

namespace {

bool SameTime(const std::timespec& a, const std::timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

std::size_t PageSize() {
    static const std::size_t size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return size;
}

// A file cut short by another program while it is mapped: reading a page past its new end
// raises SIGBUS. The maps alive are kept where the signal's handler can find the one faulted in
// without allocating or locking, each with the line that says so, ready to be written.
struct LiveMap {
    std::atomic<const char*> data{nullptr};
    std::size_t size = 0;
    char line[1024] = {};
};
constexpr int kLiveMaps = 64;
LiveMap liveMaps[kLiveMaps];
struct sigaction earlierAction {};

void OnBusError(int signal, siginfo_t* info, void* context) {
    const char* at = static_cast<const char*>(info->si_addr);
    for (LiveMap& map : liveMaps) {
        const char* data = map.data.load(std::memory_order_acquire);
        if (data && at >= data && at < data + map.size) {
            // What was being saved from the map is not committed: the process ends first.
            [[maybe_unused]] ssize_t written = ::write(STDERR_FILENO, map.line, std::strlen(map.line));
            ::_exit(1);
        }
    }
    // Not a map of ours: the signal is the earlier handler's, raised again for it. A faulting
    // access is also retried, and faults again if the raised signal let it come to that.
    ::sigaction(signal, &earlierAction, nullptr);
    ::raise(signal);
    (void)context;
}

void WatchForBusErrors() {
    static std::once_flag installed;
    std::call_once(installed, [] {
        struct sigaction action {};
        action.sa_sigaction = OnBusError;
        action.sa_flags = SA_SIGINFO;
        sigemptyset(&action.sa_mask);
        ::sigaction(SIGBUS, &action, &earlierAction);
    });
}

// Adds a map to those the handler knows; one more than it has room for faults as it would
// without the handler.
void AddLiveMap(const char* data, std::size_t size, const std::string& path) {
    WatchForBusErrors();
    static std::mutex adding;
    std::lock_guard<std::mutex> lock(adding);
    for (LiveMap& map : liveMaps) {
        if (map.data.load(std::memory_order_relaxed)) continue;
        map.size = size;
        const auto written = fmt::format_to_n(
            map.line, sizeof map.line - 1,
            "{}: the file was cut short on disk while it was open; stopped before saving anything more from it.\n",
            path);
        *written.out = '\0';
        map.data.store(data, std::memory_order_release);
        return;
    }
}

void RemoveLiveMap(const char* data) {
    for (LiveMap& map : liveMaps) {
        const char* expected = data;
        if (map.data.compare_exchange_strong(expected, nullptr)) return;
    }
}

}  // namespace

Result<MappedFile> MappedFile::Map(int fd, std::string path) {
    MappedFile file;
    file.fd_ = fd;
    file.path_ = std::move(path);
    struct stat info {};
    if (::fstat(fd, &info) != 0)
        return Status::Error(fmt::format("{}: cannot read: {}", file.path_, std::strerror(errno)));
    file.modified_ = info.st_mtim;
    const auto size = static_cast<std::size_t>(info.st_size);
    if (size == 0) return file;  // nothing to map
    void* data = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (data == MAP_FAILED)
        return Status::Error(fmt::format("{}: cannot read: {}", file.path_, std::strerror(errno)));
    file.data_ = static_cast<const char*>(data);
    file.size_ = size;
    AddLiveMap(file.data_, size, file.path_);
    return file;
}

MappedFile::MappedFile(MappedFile&& other) noexcept { *this = std::move(other); }

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
    if (this != &other) {
        Release();
        fd_ = std::exchange(other.fd_, -1);
        data_ = std::exchange(other.data_, nullptr);
        size_ = std::exchange(other.size_, 0);
        path_ = std::move(other.path_);
        modified_ = other.modified_;
    }
    return *this;
}

MappedFile::~MappedFile() { Release(); }

void MappedFile::Release() {
    if (data_) {
        RemoveLiveMap(data_);
        ::munmap(const_cast<char*>(data_), size_);
    }
    if (fd_ >= 0) ::close(fd_);
    data_ = nullptr;
    fd_ = -1;
}

void MappedFile::HandBack(std::size_t begin, std::size_t end) const {
    const std::size_t page = PageSize();
    const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(data_);
    // The map starts on a page; its last page is handed back only when `end` reaches the end.
    const std::size_t first = (begin + page - 1) / page * page;
    const std::size_t last = end >= size_ ? size_ : end / page * page;
    if (!data_ || first >= last) return;
    ::madvise(reinterpret_cast<void*>(base + first), last - first, MADV_DONTNEED);
}

Status MappedFile::CheckUnchanged() const {
    struct stat now {};
    if (fd_ >= 0 && ::fstat(fd_, &now) == 0 && static_cast<std::size_t>(now.st_size) == size_ &&
        SameTime(now.st_mtim, modified_))
        return Status::Ok();
    return Status::Error(fmt::format("{}: the file changed on disk while it was open", path_));
}

}  // namespace base
