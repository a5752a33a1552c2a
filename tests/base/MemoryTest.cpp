#include "base/Memory.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "base/HeapWarmer.h"

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

// Pages of [begin, begin + bytes) the system holds for the process.
std::size_t ResidentPages(const char* begin, std::size_t bytes) {
    const std::uintptr_t page = ::sysconf(_SC_PAGESIZE);
    const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(begin) & ~(page - 1);
    const std::uintptr_t end = reinterpret_cast<std::uintptr_t>(begin) + bytes;
    std::vector<unsigned char> resident((end - first + page - 1) / page);
    if (::mincore(reinterpret_cast<void*>(first), end - first, resident.data()) != 0) return 0;
    std::size_t count = 0;
    for (unsigned char r : resident) count += r & 1;
    return count;
}

// Takes blocks of `bytes` from the heap until one starts `past` bytes beyond the heap's end as
// it was; gives them all, the last one last.
std::vector<char*> BlocksPast(std::size_t bytes, std::uintptr_t past) {
    const std::uintptr_t page = ::sysconf(_SC_PAGESIZE);
    const std::uintptr_t oldEnd = (reinterpret_cast<std::uintptr_t>(::sbrk(0)) + page - 1) & ~(page - 1);
    std::vector<char*> blocks;
    while (blocks.size() < 64 && (blocks.empty() || reinterpret_cast<std::uintptr_t>(blocks.back()) < oldEnd + past))
        blocks.push_back(static_cast<char*>(std::malloc(bytes)));
    return blocks;
}

// Whether all of [begin, begin + bytes) comes to be held for the process within ten seconds.
bool BecomesResident(const char* begin, std::size_t bytes) {
    const std::size_t pages = bytes / ::sysconf(_SC_PAGESIZE);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (ResidentPages(begin, bytes) < pages && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    return ResidentPages(begin, bytes) >= pages;
}

TEST_F(MemoryTest, TheHeapsNewPagesPastItsFirstGrowthAreFaultedInBeforeTheirFirstUseWhenTheProcessEndsWithItsCommand) {
    base::SetEndsWithCommand(true);
    if (!base::HeapWarming()) GTEST_SKIP() << "this system can't fault pages in on request";
    // Blocks below the mapping threshold come from the heap, which grows for them: the one
    // past the first 64 MiB is faulted in though nothing touched it.
    constexpr std::size_t kBytes = 24 << 20;
    std::vector<char*> blocks = BlocksPast(kBytes, std::uintptr_t{100} << 20);
    ASSERT_FALSE(blocks.empty());
    ASSERT_NE(blocks.back(), nullptr);
    EXPECT_TRUE(BecomesResident(blocks.back(), kBytes)) << "nothing touched the block, yet its pages must be in";
    for (char* b : blocks) std::free(b);
}

TEST_F(MemoryTest, TheFirstGrowthOfTheHeapIsLeftToItsUsers) {
    // In a process of its own, whose heap no other test grew and faulted in before.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            base::SetEndsWithCommand(true);
            if (!base::HeapWarming()) std::exit(0);  // nothing faulted in ahead at all
            constexpr std::size_t kBytes = 24 << 20;
            std::vector<char*> blocks = BlocksPast(kBytes, std::uintptr_t{8} << 20);
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            const std::size_t resident = ResidentPages(blocks.back(), kBytes);
            std::fprintf(stderr, "%zu pages resident\n", resident);
            std::exit(resident < kBytes / ::sysconf(_SC_PAGESIZE) / 2 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST_F(MemoryTest, FaultingInTheHeapAheadKeepsWhatItsPagesHold) {
    base::SetEndsWithCommand(true);
    // Blocks written while the heap grows under them, past its first growth, read back as
    // written.
    constexpr int kBlocks = 192;
    std::vector<char*> blocks;
    for (int i = 0; i < kBlocks; ++i) {
        char* block = static_cast<char*>(std::malloc(1 << 20));
        ASSERT_NE(block, nullptr);
        std::memset(block, 'a' + i % 26, 1 << 20);
        blocks.push_back(block);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    for (int i = 0; i < kBlocks; ++i) {
        for (int k = 0; k < (1 << 20); k += 4093) ASSERT_EQ(blocks[i][k], 'a' + i % 26) << "block " << i;
        std::free(blocks[i]);
    }
}

TEST_F(MemoryTest, SmallBlocksFreedWhenTheProcessEndsWithItsCommandJoinTheHeapsFreeSpaceAtOnce) {
    // Bytes of freed small blocks waiting in lists of their own size, after 200 are freed: the
    // first seven of a size go to the thread's own cache either way.
    auto waiting = [] {
        std::vector<void*> blocks(200);
        for (void*& block : blocks) block = std::malloc(48);
        for (void* block : blocks) std::free(block);
        return ::mallinfo2().fsmblks;
    };
    EXPECT_GT(waiting(), 0u);
    base::SetEndsWithCommand(true);
    EXPECT_EQ(waiting(), 0u);
    base::SetEndsWithCommand(false);
    EXPECT_GT(waiting(), 0u);
}

// Whether the page that starts at or after `address` is in memory.
bool PageResident(const char* address) {
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    const std::uintptr_t start = (at + page - 1) / page * page;
    unsigned char in = 0;
    EXPECT_EQ(::mincore(reinterpret_cast<void*>(start), page, &in), 0);
    return (in & 1) != 0;
}

TEST_F(MemoryTest, FreedMemoryGoesBackOnlyWhenThereIsAtMostAsMuchAsAsked) {
    // Every other one of 64 blocks of 64 KiB (below the size mapped on its own) freed: their
    // neighbours keep them apart, so that the heap holds 2 MiB free between blocks in use.
    constexpr std::size_t kBlock = 64 * 1024;
    std::vector<char*> blocks(64);
    for (char*& block : blocks) {
        block = static_cast<char*>(std::malloc(kBlock));
        std::memset(block, 1, kBlock);
    }
    for (std::size_t i = 0; i < blocks.size(); i += 2) std::free(blocks[i]);
    // A page well inside the freed block, clear of the allocator's own words at its start.
    const char* freed = blocks[blocks.size() / 2] + kBlock / 2;
    const std::size_t free = ::mallinfo2().fordblks;
    ASSERT_GE(free, std::size_t{2} << 20);
    EXPECT_FALSE(base::ReturnFreeMemoryUpTo(free / 2));
    EXPECT_EQ(::mallinfo2().fordblks, free);
    EXPECT_TRUE(PageResident(freed));
    EXPECT_TRUE(base::ReturnFreeMemoryUpTo(free + (std::size_t{1} << 30)));
    EXPECT_FALSE(PageResident(freed));
    for (std::size_t i = 1; i < blocks.size(); i += 2) std::free(blocks[i]);
}

// Whether a block lies in the heap, below its end, rather than in a mapping of its own.
bool InTheHeap(const char* block, std::size_t size) {
    return reinterpret_cast<std::uintptr_t>(block) + size <= reinterpret_cast<std::uintptr_t>(::sbrk(0));
}

TEST_F(MemoryTest, ABigBufferComesFromTheHeapOnlyWhenTheProcessEndsWithItsCommand) {
    constexpr std::size_t kBig = std::size_t{40} << 20;  // above the allocator's highest threshold
    // What earlier tests freed at the heap's end could hold the block: it goes back first, as a
    // fresh process has none (with one arena, the blocks of their threads are freed there too).
    base::ReturnFreeMemory();
    EXPECT_FALSE(InTheHeap(base::MakeReusedBuffer(kBig).get(), kBig));
    base::SetEndsWithCommand(true);
    auto buffer = base::MakeReusedBuffer(kBig);
    EXPECT_TRUE(InTheHeap(buffer.get(), kBig));
    // Its freed pages hold what comes next; other big blocks are still mapped on their own.
    const char* freed = buffer.get();
    buffer.reset();
    auto next = std::make_unique<char[]>(kBig / 2);
    EXPECT_TRUE(InTheHeap(next.get(), kBig / 2));
    EXPECT_GE(next.get(), freed);
    EXPECT_LT(next.get(), freed + kBig);
    auto mapped = std::make_unique<char[]>(kBig);
    EXPECT_FALSE(InTheHeap(mapped.get(), kBig));
}

TEST_F(MemoryTest, TheHeapIsNotFaultedInAheadForAProcessThatGoesOnAfterItsCommand) {
    base::SetEndsWithCommand(true);
    base::SetEndsWithCommand(false);
    EXPECT_FALSE(base::HeapWarming());
}

}  // namespace
