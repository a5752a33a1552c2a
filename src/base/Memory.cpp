#include "base/Memory.h"

#include <malloc.h>

#include <fstream>
#include <string>

namespace base {

namespace {
bool endsWithCommand = false;
}

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

void SetEndsWithCommand(bool ends) { endsWithCommand = ends; }

bool EndsWithCommand() { return endsWithCommand; }

}  // namespace base
