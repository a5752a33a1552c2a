#pragma once
// A file read into a buffer of its size on another thread, so that a scan of its bytes can
// follow the reading instead of waiting for the whole file.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "base/Status.h"

namespace cad {

class FileReader {
public:
    // Starts reading `size` bytes from the open descriptor `fd`, which the reader closes;
    // `path` names the file in messages.
    FileReader(int fd, std::string path, std::size_t size);
    // Stops a reading that hasn't ended and waits for it.
    ~FileReader();
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;

    // The whole buffer; only the bytes WaitFor has counted are in.
    std::string_view Bytes() const { return {buffer_.get(), size_}; }
    // Returns once at least `want` bytes (or all) are in, or the reading ended short; the bytes
    // that are in.
    std::size_t WaitFor(std::size_t want);
    // Waits for the reading's end, first stopping it with `stop`; why it fell short, if it did
    // (a stopped reading did not).
    base::Status Finish(bool stop = false);
    // The buffer, after a Finish that succeeded without a stop.
    std::unique_ptr<char[]> TakeBuffer() { return std::move(buffer_); }

private:
    void Read();

    static constexpr std::uint64_t kEnded = std::uint64_t{1} << 63;

    int fd_;
    std::string path_;
    std::size_t size_;
    // Left uninitialised: the reading writes every byte of it. In a process that ends with its
    // command, its pages hold the next tables once the drawing is let go (base::MakeReusedBuffer).
    std::unique_ptr<char[]> buffer_;
    // Bytes in, with kEnded set once the reading ended; the reader's failure is written to
    // `failure_` before kEnded is.
    std::atomic<std::uint64_t> progress_{0};
    std::atomic<bool> stop_{false};
    base::Status failure_ = base::Status::Ok();
    std::thread thread_;
};

}  // namespace cad
