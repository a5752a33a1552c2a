#include "base/TextBlocks.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace base {
namespace {

TEST(TextBlocks, KeptTextsStayWhileManyMoreAreKept) {
    TextBlocks blocks(64);
    std::vector<std::string_view> kept;
    for (int i = 0; i < 1000; ++i) kept.push_back(blocks.Keep("text " + std::to_string(i)));
    for (std::size_t i = 0; i < kept.size(); ++i) EXPECT_EQ(kept[i], "text " + std::to_string(i));
}

TEST(TextBlocks, ATextLongerThanABlockIsKeptWhole) {
    TextBlocks blocks(16);
    const std::string_view small = blocks.Keep("small");
    const std::string longer(1000, 'x');
    EXPECT_EQ(blocks.Keep(longer), longer);
    EXPECT_EQ(blocks.Keep("after"), "after");
    EXPECT_EQ(small, "small");
}

TEST(TextBlocks, AnEmptyTextIsAnEmptyView) {
    TextBlocks blocks(16);
    EXPECT_TRUE(blocks.Keep("").empty());
}

TEST(TextBlocks, ACountedTextIsReadBackFromItsFirstByteWhateverItsLength) {
    TextBlocks blocks(64);
    std::vector<std::pair<const char*, std::string>> kept;
    for (std::size_t size : {1u, 2u, 127u, 128u, 129u, 300u, 16383u, 16384u, 2100000u}) {
        std::string text(size, 'a');
        text.back() = 'z';
        kept.emplace_back(blocks.KeepCounted(text), text);
    }
    for (const auto& [at, text] : kept) EXPECT_EQ(TextBlocks::Counted(at), text) << text.size();
    EXPECT_EQ(blocks.KeepCounted(""), nullptr);
    EXPECT_TRUE(TextBlocks::Counted(nullptr).empty());
}

TEST(TextBlocks, AMovedHolderKeepsItsTextsAndTheOneMovedFromStartsAfresh) {
    TextBlocks first(64);
    const std::string_view kept = first.Keep("kept");
    TextBlocks second(std::move(first));
    EXPECT_EQ(kept, "kept");
    // The block moved away is not written into by the holder left behind.
    EXPECT_EQ(first.Keep("new"), "new");
    EXPECT_EQ(second.Keep("more"), "more");
    EXPECT_EQ(kept, "kept");
    TextBlocks third(8);
    third = std::move(second);
    EXPECT_EQ(kept, "kept");
    EXPECT_EQ(third.Keep("third"), "third");
}

}  // namespace
}  // namespace base
