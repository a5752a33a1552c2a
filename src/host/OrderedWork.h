#pragma once
// A list of independent items worked on by several threads and told in list order: what each
// item prints is recorded on its thread and replayed on the calling thread in the items' order,
// so the command line reads exactly as if one thread had done them one after another. Ctrl-C
// (ProgressMeter::Cancelled) stops the handing out of items; an item begun is finished.

#include <cstddef>
#include <functional>

namespace host {

struct OrderedWork {
    // The work of item `index`; it may run on any thread and must not share state with others.
    std::function<void(std::size_t index)> work;
    // Items that must run on the calling thread (an open document, a prompt); none when unset.
    std::function<bool(std::size_t index)> onCallingThread;
    // Called on the calling thread once an item's output was told, for a progress meter.
    std::function<void(std::size_t index)> told;
};

// The threads worth using: the machine's cores, at least one.
int AvailableThreads();

// Runs `work` for items 0 to count - 1 on up to `threads` threads (one: all on the calling thread,
// in order) and tells their output in order. Gives the number of items done, all of them unless
// the user cancelled. An exception of an item's work is thrown on the calling thread when that
// item's turn comes, after the other threads stopped.
std::size_t RunInOrder(std::size_t count, int threads, const OrderedWork& items);

}  // namespace host
