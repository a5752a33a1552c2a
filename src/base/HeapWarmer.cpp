#include "base/HeapWarmer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace base {

namespace {

// Pages asked for in one call: small enough that the allocating thread rarely waits for a
// whole call, big enough that the calls cost nothing next to the clearing.
constexpr std::uintptr_t kStep = 4 << 20;
constexpr std::uintptr_t kPage = 4096;
// The heap a command grows first is left to be faulted in as it is used: a small command gains
// nothing from a second thread, and the pages asked for ahead and never used would be its own.
constexpr std::uintptr_t kLeftAsUsed = std::uintptr_t{64} << 20;
// How long the thread sleeps when the heap hasn't grown: from a tenth of a millisecond, doubled
// while it stays so, up to five.
constexpr auto kFirstNap = std::chrono::microseconds(100);
constexpr auto kLongestNap = std::chrono::microseconds(5000);

// The thread lives as long as the process, and so does what it shares: never destroyed, so that
// the process's end never waits for a sleeping thread.
struct Shared {
    std::mutex mutex;
    std::condition_variable turnedOn;
    bool on = false;
    bool started = false;
    std::uintptr_t from = 0;  // the heap's end when warming was last turned on
    std::atomic<bool> available{true};
};

Shared& State() {
    static Shared* state = new Shared;
    return *state;
}

// The heap's end as the allocator last set it. The allocator moves it under its own lock, so
// this read may see the end just before a move; the next look sees the move.
std::uintptr_t HeapEnd() { return reinterpret_cast<std::uintptr_t>(::sbrk(0)); }

void Warm() {
    Shared& state = State();
    std::uintptr_t warmed = 0;  // the pages below are faulted in, or left to their users
    std::uintptr_t from = 0;
    auto nap = kFirstNap;
    for (;;) {
        {
            std::unique_lock lock(state.mutex);
            state.turnedOn.wait(lock, [&] { return state.on; });
            // Turned on again: what grew while off was touched by its users.
            if (state.from != from) {
                from = state.from;
                warmed = from + kLeftAsUsed;
            }
        }
        // A heap trimmed below `warmed` grows back over pages left to their users.
        const std::uintptr_t end = HeapEnd();
        if (end > warmed) {
            const std::uintptr_t stop = std::min(end, warmed + kStep);
            if (::madvise(reinterpret_cast<void*>(warmed), stop - warmed, MADV_POPULATE_WRITE) != 0 &&
                errno == EINVAL) {
                state.available = false;  // a system without the request
                return;
            }
            // A failure for want of memory or a range trimmed meanwhile leaves the pages to be
            // faulted in by their users, as without this thread.
            warmed = stop;
            nap = kFirstNap;
            continue;
        }
        std::this_thread::sleep_for(nap);
        nap = std::min(nap * 2, kLongestNap);
    }
}

}  // namespace

void SetHeapWarming(bool on) {
    Shared& state = State();
    std::lock_guard lock(state.mutex);
    if (on && !state.on) state.from = HeapEnd() & ~(kPage - 1);
    state.on = on;
    if (on && !state.started) {
        state.started = true;
        std::thread(Warm).detach();
    }
    state.turnedOn.notify_all();
}

bool HeapWarming() {
    Shared& state = State();
    std::lock_guard lock(state.mutex);
    return state.started && state.on && state.available;
}

}  // namespace base
