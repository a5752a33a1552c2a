#pragma once
// Giving memory back to the system between the phases of a long command.

namespace base {

// Hands the pages the allocator keeps free, also those between blocks still in use, back to
// the system. Worth it after a big working set of small blocks was freed and before the next
// one is built; costs about a millisecond per hundred megabytes of heap.
void ReturnFreeMemory();

}  // namespace base
