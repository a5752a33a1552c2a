#pragma once
// Faulting in a command's heap ahead of its use, on a core of its own.

namespace base {

// Whether a thread of its own asks the system for the pages of the heap's top as soon as the
// allocator takes them from the system, so that the thread that allocates finds them ready
// instead of waiting while the system clears each on first touch: a command that builds
// gigabytes of tables spends up to half its time so. The pages are asked for a few megabytes at
// a time, in address order, which is the order the allocator hands out its top in; what they
// hold is never changed. The first 64 MiB the heap grows by after `on` are left to their users:
// a small command doesn't pay for pages it wouldn't use. The thread starts at the first call
// with `on` and sleeps while off.
// Does nothing where the system can't fault pages in on request (Linux before 5.14).
void SetHeapWarming(bool on);

// Whether the warming thread runs and is on; for tests.
bool HeapWarming();

}  // namespace base
