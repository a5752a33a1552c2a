#include "base/Memory.h"

#include "base/HeapWarmer.h"

#include <malloc.h>

#include <algorithm>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>

namespace base {

namespace {
bool endsWithCommand = false;
// The allocator's own trim threshold, top pad and threshold for blocks of their own mapping
// (which no longer follows the sizes freed once any of them is set).
constexpr int kDefaultPad = 128 * 1024;
constexpr int kDefaultMapped = 128 * 1024;
constexpr int kKeptWhenEnding = 1 << 30;
constexpr int kHeapStepWhenEnding = 16 << 20;
// The allocator's highest threshold: blocks below it come from the heap, whose pages are
// faulted in ahead.
constexpr int kMappedWhenEnding = 32 << 20;
// The allocator's own bound on blocks freed into lists of their own size (128 bytes here).
constexpr int kDefaultFastBlocks = 128;
// The allocator's own bound on the blocks it maps on their own.
constexpr int kDefaultMappedBlocks = 65536;
// The allocator's own bound on its arenas: eight per processor.
int DefaultArenas() {
    return 8 * static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}
}  // namespace

void ReturnFreeMemory() { ::malloc_trim(0); }

bool ReturnFreeMemoryUpTo(std::size_t atMost) {
    if (::mallinfo2().fordblks > atMost) return false;
    ReturnFreeMemory();
    return true;
}

std::uint64_t AvailableMemory() {
    std::ifstream meminfo("/proc/meminfo");
    std::string name;
    std::uint64_t kib = 0;
    while (meminfo >> name >> kib) {
        if (name == "MemAvailable:") return kib * 1024;
        meminfo.ignore(64, '\n');
    }
    return 0;
}

void SetEndsWithCommand(bool ends) {
    endsWithCommand = ends;
    // Such a process keeps what it frees and grows its heap in big steps: a command builds and
    // drops tables of hundreds of megabytes, and pages given back are pages the system must
    // clear again at the next table. (An explicit ReturnFreeMemory still gives them back.)
    // Blocks up to 32 MiB come from the heap, whose new pages a second thread faults in ahead
    // of their first use; the heap grows 16 MiB at a time, so that the pages faulted in and not
    // yet used stay few. Small blocks freed join their free neighbours at once instead of waiting
    // in lists of their own size: a command frees millions of them, and the allocator would
    // otherwise go through them all at the next big block asked for. All threads share one
    // arena: those of a command (scanning, deflating, reading a part) allocate briefly beside
    // the main one, and an arena of their own would keep what they freed out of its reach
    // (about a tenth of an export's peak). The allocator takes the bound once, when a thread
    // first needs an arena; later changes don't move it.
    ::mallopt(M_TRIM_THRESHOLD, ends ? kKeptWhenEnding : kDefaultPad);
    ::mallopt(M_TOP_PAD, ends ? kHeapStepWhenEnding : kDefaultPad);
    ::mallopt(M_MMAP_THRESHOLD, ends ? kMappedWhenEnding : kDefaultMapped);
    ::mallopt(M_MXFAST, ends ? 0 : kDefaultFastBlocks);
    ::mallopt(M_ARENA_MAX, ends ? 1 : DefaultArenas());
    SetHeapWarming(ends);
}

bool EndsWithCommand() { return endsWithCommand; }

std::unique_ptr<char[]> MakeReusedBuffer(std::size_t size) {
    if (!endsWithCommand) return std::unique_ptr<char[]>(new char[size]);
    // Blocks above the allocator's highest threshold are always mapped on their own unless no
    // block may be: that holds while this block alone is made, whether or not it can be.
    struct HeapOnly {
        HeapOnly() { ::mallopt(M_MMAP_MAX, 0); }
        ~HeapOnly() { ::mallopt(M_MMAP_MAX, kDefaultMappedBlocks); }
    };
    static std::mutex oneAtATime;
    std::lock_guard lock(oneAtATime);
    HeapOnly heapOnly;
    return std::unique_ptr<char[]>(new char[size]);
}

}  // namespace base
