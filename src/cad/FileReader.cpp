#include "cad/FileReader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>

#include "base/Memory.h"

namespace cad {

namespace {
// Read in pieces of this size: each piece read is handed to the scan at once.
constexpr std::size_t kPiece = std::size_t{4} << 20;
}  // namespace

FileReader::FileReader(int fd, std::string path, std::size_t size)
    : fd_(fd),
      path_(std::move(path)),
      size_(size),
      buffer_(base::MakeReusedBuffer(std::max<std::size_t>(size, 1))) {
    thread_ = std::thread([this] { Read(); });
}

FileReader::~FileReader() {
    stop_.store(true, std::memory_order_relaxed);
    if (thread_.joinable()) thread_.join();
}

void FileReader::Read() {
    std::size_t done = 0;
    while (done < size_ && !stop_.load(std::memory_order_relaxed)) {
        ssize_t n = ::read(fd_, buffer_.get() + done, std::min(kPiece, size_ - done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            std::string reason = n < 0 ? std::strerror(errno) : "the file got shorter while it was read";
            failure_ = base::Status::Error(fmt::format("{}: cannot read: {}", path_, reason));
            break;
        }
        done += static_cast<std::size_t>(n);
        progress_.store(done, std::memory_order_release);
        progress_.notify_all();
    }
    ::close(fd_);
    progress_.store(done | kEnded, std::memory_order_release);
    progress_.notify_all();
}

std::size_t FileReader::WaitFor(std::size_t want) {
    want = std::min(want, size_);
    for (;;) {
        const std::uint64_t progress = progress_.load(std::memory_order_acquire);
        const std::size_t in = static_cast<std::size_t>(progress & ~kEnded);
        if (in >= want || (progress & kEnded)) return in;
        progress_.wait(progress, std::memory_order_acquire);
    }
}

base::Status FileReader::Finish(bool stop) {
    if (stop) stop_.store(true, std::memory_order_relaxed);
    if (thread_.joinable()) thread_.join();
    return failure_;
}

}  // namespace cad
