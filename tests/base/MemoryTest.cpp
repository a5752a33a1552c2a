#include "base/Memory.h"

#include <gtest/gtest.h>

namespace {

struct Counted {
    explicit Counted(int& deleted) : deleted(deleted) {}
    ~Counted() { ++deleted; }
    int& deleted;
};

class MemoryTest : public ::testing::Test {
protected:
    void TearDown() override { base::SetEndsWithCommand(false); }
};

TEST_F(MemoryTest, ADisposableIsDeletedWhileTheProcessGoesOnAfterItsCommand) {
    int deleted = 0;
    { auto object = base::MakeDisposable<Counted>(deleted); }
    base::Dispose(std::make_unique<Counted>(deleted));
    EXPECT_EQ(deleted, 2);
}

TEST_F(MemoryTest, ADisposableIsLeftToTheSystemWhenTheProcessEndsWithItsCommand) {
    base::SetEndsWithCommand(true);
    int deleted = 0;
    auto disposable = base::MakeDisposable<Counted>(deleted);
    auto owned = std::make_unique<Counted>(deleted);
    Counted* left[] = {disposable.get(), owned.get()};
    disposable.reset();
    base::Dispose(std::move(owned));
    EXPECT_EQ(deleted, 0);
    for (Counted* object : left) delete object;  // the test's process goes on
}

TEST(Memory, TheSystemsAvailableMemoryIsReadFromItsOwnAccount) {
    // Linux always says; a machine that runs these tests has at least a few megabytes to give.
    EXPECT_GT(base::AvailableMemory(), std::uint64_t{4} << 20);
}

}  // namespace
