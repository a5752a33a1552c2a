#include "host/OrderedWork.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "host/Printer.h"
#include "host/ProgressMeter.h"

namespace host {

namespace {

enum class State { Waiting, Started, Done, Deferred };

struct Item {
    State state = State::Waiting;
    PrintRecording output;
    std::exception_ptr error;
};

// The items, their states and the threads working on them; the threads are joined when it ends.
class Pool {
public:
    Pool(std::size_t count, const OrderedWork& work) : items_(count), work_(work) {}
    ~Pool() { Stop(); }

    void Start(int threads) {
        for (int t = 0; t < threads; ++t) threads_.emplace_back([this] { Work(); });
    }
    void Stop() {
        stop_ = true;
        for (std::thread& thread : threads_) thread.join();
        threads_.clear();
    }
    // Waits until item `index` is done or left to the calling thread; false when it will never
    // be started (the user cancelled).
    bool WaitFor(std::size_t index) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] {
            State state = items_[index].state;
            return state == State::Done || state == State::Deferred ||
                   (state == State::Waiting && working_ == 0 && next_ > index);
        });
        return items_[index].state != State::Waiting;
    }
    Item& At(std::size_t index) { return items_[index]; }

private:
    void Work() {
        for (;;) {
            std::size_t index = 0;
            {
                std::lock_guard lock(mutex_);
                if (stop_ || ProgressMeter::Cancelled()) {
                    // Nothing more is handed out: every item not yet taken stays waiting.
                    next_ = items_.size();
                }
                if (next_ >= items_.size()) {
                    changed_.notify_all();
                    break;
                }
                index = next_++;
                bool deferred = work_.onCallingThread && work_.onCallingThread(index);
                items_[index].state = deferred ? State::Deferred : State::Started;
                if (deferred) {
                    changed_.notify_all();
                    continue;
                }
                ++working_;
            }
            Item& item = items_[index];
            {
                PrintRecording::Scope recording(item.output);
                try {
                    work_.work(index);
                } catch (...) {
                    item.error = std::current_exception();
                }
            }
            std::lock_guard lock(mutex_);
            item.state = State::Done;
            --working_;
            changed_.notify_all();
        }
    }

    std::vector<Item> items_;
    const OrderedWork& work_;
    std::vector<std::thread> threads_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t next_ = 0;
    int working_ = 0;
    std::atomic<bool> stop_{false};
};

}  // namespace

int AvailableThreads() {
    unsigned cores = std::thread::hardware_concurrency();
    return cores == 0 ? 1 : static_cast<int>(cores);
}

std::size_t RunInOrder(std::size_t count, int threads, const OrderedWork& items) {
    std::size_t done = 0;
    if (threads <= 1 || count <= 1) {
        for (; done < count && !ProgressMeter::Cancelled(); ++done) {
            items.work(done);
            if (items.told) items.told(done);
        }
        return done;
    }
    Pool pool(count, items);
    pool.Start(static_cast<int>(std::min<std::size_t>(count, static_cast<std::size_t>(threads))));
    for (; done < count; ++done) {
        if (!pool.WaitFor(done)) break;
        Item& item = pool.At(done);
        if (item.state == State::Deferred) {
            items.work(done);
        } else {
            item.output.Replay(CurrentPrinter());
            if (item.error) {
                pool.Stop();
                std::rethrow_exception(item.error);
            }
        }
        if (items.told) items.told(done);
    }
    return done;
}

}  // namespace host
