#include "base/MappedFile.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
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
    if (data_) ::munmap(const_cast<char*>(data_), size_);
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
