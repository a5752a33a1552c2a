#pragma once
// A file read through a map of it instead of a copy: its bytes stay in the system's cache of the
// file, shared and given up under memory pressure, and the pages a reading has gone past can be
// handed back so that the process no longer holds them. A file cut short by another program
// while it is mapped ends the process when a page past its new end is read, with a line on
// the standard error that names the file (exit status 1) instead of a bus error: nothing read
// from it is saved anywhere after that.

#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>

#include "base/Status.h"

namespace base {

class MappedFile {
public:
    // Maps the whole regular file open as `fd`; the map owns the descriptor from then on, also
    // when mapping fails. `path` names the file in messages.
    static Result<MappedFile> Map(int fd, std::string path);

    MappedFile(MappedFile&& other) noexcept;
    MappedFile& operator=(MappedFile&& other) noexcept;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile();

    std::string_view Bytes() const { return {data_, size_}; }
    // Hands back the whole pages between `begin` and `end`: reading them again maps them again
    // from the system's cache, at the cost of a page fault each.
    void HandBack(std::size_t begin, std::size_t end) const;
    // Ok while the mapped file keeps its size and time of last write. The map may show another
    // program's writes to the file in the pages not yet read or handed back, so nothing read
    // from it is to be written anywhere once this fails. A file renamed or replaced under its
    // name is no change: the map holds the file it was made of.
    Status CheckUnchanged() const;

private:
    MappedFile() = default;
    void Release();

    int fd_ = -1;
    const char* data_ = nullptr;
    std::size_t size_ = 0;
    std::string path_;
    std::timespec modified_{};
};

}  // namespace base
