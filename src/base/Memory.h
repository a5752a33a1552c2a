#pragma once
// Giving memory back to the system between the phases of a long command, and leaving it to the
// system when the process ends with the command.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace base {

// Hands the pages the allocator keeps free, also those between blocks still in use, back to
// the system. Worth it after a big working set of small blocks was freed and before the next
// one is built; costs about a millisecond per hundred megabytes of heap.
void ReturnFreeMemory();
// ReturnFreeMemory when the allocator keeps at most `atMost` bytes free, its unused top
// included: pages given back are faulted in again as the next tables take them, which costs
// nothing for a few megabytes and a tenth of a second for hundreds. True when it gave them back.
bool ReturnFreeMemoryUpTo(std::size_t atMost);

// The memory the system can give without swapping (MemAvailable), in bytes; 0 when it doesn't
// say.
std::uint64_t AvailableMemory();

// Whether the process ends when its command ends. Then what the command built is left to the
// system, which takes a process's memory back at once, instead of being freed block by block (a
// tenth of a big export's time); the allocator keeps freed memory for the command's next tables
// instead of giving it back (ReturnFreeMemory still does), and the heap's new pages are faulted
// in ahead on a second thread (SetHeapWarming). Off unless the program's entry says so: the
// shell, the watcher and the tests run many commands in one process.
void SetEndsWithCommand(bool ends);
bool EndsWithCommand();

// Room of `size` bytes, left uninitialised, for a big table that the command lets go before it
// builds its next ones. In a process that ends with its command it is taken from the heap
// instead of a mapping of its own: once freed, its pages, already faulted in, hold the next
// tables instead of going back to the system to be cleared again at their first touch.
std::unique_ptr<char[]> MakeReusedBuffer(std::size_t size);

// Deletes an object, or leaves it to the process's end when the process ends with its command.
// Only for objects whose destruction gives back memory and does nothing else.
struct DisposeDelete {
    template <class T>
    void operator()(T* object) const {
        if (!EndsWithCommand()) delete object;
    }
};
template <class T>
using Disposable = std::unique_ptr<T, DisposeDelete>;

template <class T, class... Args>
Disposable<T> MakeDisposable(Args&&... args) {
    return Disposable<T>(new T(std::forward<Args>(args)...));
}

template <class T>
void Dispose(std::unique_ptr<T> object) {
    Disposable<T>(object.release());
}

}  // namespace base
