// Work shared out over threads and told in the order of its items.

#include "host/OrderedWork.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "host/Printer.h"
#include "host/ProgressMeter.h"

namespace host {
namespace {

struct CapturedPrinter {
    CapturedPrinter() { CurrentPrinter().Capture(true); }
    ~CapturedPrinter() { CurrentPrinter().Capture(false); }
};

// Each item prints two lines and a warning, and the later items finish first.
OrderedWork Chatty(std::size_t count, std::vector<std::size_t>* toldOrder = nullptr) {
    OrderedWork work;
    work.work = [count](std::size_t i) {
        std::this_thread::sleep_for(std::chrono::microseconds(200 * (count - i)));
        Printf("\nitem %d starts", static_cast<int>(i));
        CurrentPrinter().Warn(base::Sprintf("warning of %d", static_cast<int>(i)));
        Printf("\nitem %d ends", static_cast<int>(i));
    };
    if (toldOrder) work.told = [toldOrder](std::size_t i) { toldOrder->push_back(i); };
    return work;
}

TEST(OrderedWork, SeveralThreadsTellExactlyWhatOneThreadTells) {
    CapturedPrinter capture;
    RunInOrder(40, 1, Chatty(40));
    const std::string printed = CurrentPrinter().Captured();
    const std::string warned = CurrentPrinter().CapturedWarnings();
    CurrentPrinter().Capture(true);  // afresh, at the start of a line
    std::vector<std::size_t> told;
    EXPECT_EQ(RunInOrder(40, 4, Chatty(40, &told)), 40u);
    EXPECT_EQ(CurrentPrinter().Captured(), printed);
    EXPECT_EQ(CurrentPrinter().CapturedWarnings(), warned);
    for (std::size_t i = 0; i < told.size(); ++i) EXPECT_EQ(told[i], i);
}

TEST(OrderedWork, ItemsOfTheCallingThreadRunThereInTheirTurn) {
    CapturedPrinter capture;
    const std::thread::id caller = std::this_thread::get_id();
    std::vector<std::thread::id> ranOn(10);
    OrderedWork work;
    work.work = [&](std::size_t i) {
        ranOn[i] = std::this_thread::get_id();
        Printf("%d ", static_cast<int>(i));
    };
    work.onCallingThread = [](std::size_t i) { return i % 3 == 0; };
    EXPECT_EQ(RunInOrder(10, 3, work), 10u);
    EXPECT_EQ(CurrentPrinter().Captured(), "0 1 2 3 4 5 6 7 8 9 ");
    for (std::size_t i = 0; i < 10; i += 3) EXPECT_EQ(ranOn[i], caller);
}

TEST(OrderedWork, ACancelStopsHandingOutItemsAndFinishesThoseBegun) {
    CapturedPrinter capture;
    std::atomic<int> finished{0};
    OrderedWork work;
    work.work = [&](std::size_t i) {
        if (i == 5) std::raise(SIGINT);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        ++finished;
        Printf("%d ", static_cast<int>(i));
    };
    std::size_t done = 0;
    {
        ProgressMeter meter("Working...", 100);  // Ctrl-C cancels while a meter runs
        done = RunInOrder(100, 2, work);
    }
    ProgressMeter::ResetCancel();
    EXPECT_LT(done, 100u);
    EXPECT_GE(done, 6u);
    // Every item begun was finished and told; none after the last told one ran.
    EXPECT_EQ(finished.load(), static_cast<int>(done));
}

TEST(OrderedWork, AnItemsExceptionReachesTheCallingThreadInItsTurn) {
    CapturedPrinter capture;
    OrderedWork work;
    work.work = [](std::size_t i) {
        if (i == 7) throw std::runtime_error("item 7 broke");
        Printf("%d ", static_cast<int>(i));
    };
    EXPECT_THROW(RunInOrder(20, 2, work), std::runtime_error);
    EXPECT_EQ(CurrentPrinter().Captured().substr(0, 14), "0 1 2 3 4 5 6 ");
}

}  // namespace
}  // namespace host
