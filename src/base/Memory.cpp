#include "base/Memory.h"

#include <malloc.h>

#include <fstream>
#include <string>

namespace base {

namespace {
bool endsWithCommand = false;
// The allocator's own trim threshold and top pad.
constexpr int kDefaultPad = 128 * 1024;
constexpr int kKeptWhenEnding = 1 << 30;
constexpr int kHeapStepWhenEnding = 256 << 20;
}  // namespace

void ReturnFreeMemory() { ::malloc_trim(0); }

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
    ::mallopt(M_TRIM_THRESHOLD, ends ? kKeptWhenEnding : kDefaultPad);
    ::mallopt(M_TOP_PAD, ends ? kHeapStepWhenEnding : kDefaultPad);
}

bool EndsWithCommand() { return endsWithCommand; }

}  // namespace base
