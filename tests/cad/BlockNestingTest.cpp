// Block nesting: references per block, instances through every level, cycles; all in one pass
// however the blocks nest.
#include "cad/BlockNesting.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "Fixtures.h"

namespace {

using cad::BlockNesting;

const BlockNesting::Entry& Of(const BlockNesting& nesting, cad::Database& db, int level) {
    return nesting.Of(db.FindBlock("B" + std::to_string(level)));
}

TEST(BlockNesting, InstancesDoubleOnEveryLevelThatInsertsTwice) {
    auto db = cadtest::Load(cadtest::NestedBlocks(20, 2));
    ASSERT_TRUE(db);
    BlockNesting nesting(*db);
    EXPECT_TRUE(nesting.Cycles().empty());
    EXPECT_EQ(nesting.Of(db->ModelSpace()).instances, 1u);
    EXPECT_EQ(Of(nesting, *db, 0).references, 1u);
    EXPECT_EQ(Of(nesting, *db, 0).instances, 1u);
    std::uint64_t entities = 1;  // the line of the last block
    for (int level = 19; level >= 1; --level) {
        SCOPED_TRACE(level);
        EXPECT_EQ(Of(nesting, *db, level).references, 2u);
        EXPECT_EQ(Of(nesting, *db, level).instances, std::uint64_t{1} << level);
        EXPECT_EQ(Of(nesting, *db, level).expandedEntities, entities);
        EXPECT_FALSE(Of(nesting, *db, level).inCycle);
        entities = 2 + 2 * entities;
    }
    EXPECT_EQ(Of(nesting, *db, 0).expandedEntities, entities);
    EXPECT_EQ(nesting.ExpandedReferences(), (std::uint64_t{1} << 20) - 1);
    EXPECT_EQ(nesting.Entries().size(), db->Blocks().size());
}

TEST(BlockNesting, CountsBeyondSixtyFourBitsSaturate) {
    auto db = cadtest::Load(cadtest::NestedBlocks(70, 2));
    ASSERT_TRUE(db);
    BlockNesting nesting(*db);
    EXPECT_EQ(Of(nesting, *db, 63).instances, std::uint64_t{1} << 63);
    EXPECT_EQ(Of(nesting, *db, 64).instances, BlockNesting::kSaturated);
    EXPECT_EQ(Of(nesting, *db, 69).instances, BlockNesting::kSaturated);
    EXPECT_EQ(Of(nesting, *db, 0).expandedEntities, BlockNesting::kSaturated);
    EXPECT_EQ(Of(nesting, *db, 69).expandedEntities, 1u);
    EXPECT_EQ(nesting.ExpandedReferences(), BlockNesting::kSaturated);
}

TEST(BlockNesting, AChainOfAHundredThousandBlocksIsCountedInOnePass) {
    constexpr int kLevels = 100000;
    auto db = cadtest::Load(cadtest::NestedBlocks(kLevels, 1));
    ASSERT_TRUE(db);
    BlockNesting nesting(*db);
    EXPECT_TRUE(nesting.Cycles().empty());
    EXPECT_EQ(Of(nesting, *db, kLevels - 1).instances, 1u);
    EXPECT_EQ(Of(nesting, *db, kLevels - 1).references, 1u);
    EXPECT_EQ(Of(nesting, *db, 0).expandedEntities, static_cast<std::uint64_t>(kLevels));
    EXPECT_EQ(nesting.ExpandedReferences(), static_cast<std::uint64_t>(kLevels));
    // Every reference above the last block, found through the blocks that hold them.
    EXPECT_EQ(db->FindBlock("B" + std::to_string(kLevels - 1)).AllReferences().size(),
              static_cast<std::size_t>(kLevels));
}

TEST(BlockNesting, ACycleIsReportedAndNotFollowed) {
    auto db = cadtest::Load(cadtest::NestedBlocks(3, 1, true));
    ASSERT_TRUE(db);
    BlockNesting nesting(*db);
    ASSERT_EQ(nesting.Cycles().size(), 1u);
    EXPECT_EQ(nesting.Cycles()[0], "blocks \"B0\", \"B1\", \"B2\" refer to one another in a cycle");
    for (int level = 0; level < 3; ++level) {
        SCOPED_TRACE(level);
        EXPECT_TRUE(Of(nesting, *db, level).inCycle);
        // Walked from model space, the reference back to B0 is the one not followed.
        EXPECT_EQ(Of(nesting, *db, level).instances, 1u);
    }
    EXPECT_EQ(Of(nesting, *db, 0).references, 2u);
    EXPECT_EQ(Of(nesting, *db, 2).expandedEntities, 2u);
    EXPECT_EQ(Of(nesting, *db, 0).expandedEntities, 4u);
    EXPECT_FALSE(nesting.Of(db->ModelSpace()).inCycle);
    // The reader says so too.
    bool warned = false;
    for (const std::string& w : db->Warnings()) warned = warned || w.find("refers to itself") != std::string::npos;
    EXPECT_TRUE(warned);
}

TEST(BlockNesting, ABlockThatInsertsItselfIsACycleOfOne) {
    auto db = cadtest::Load(cadtest::NestedBlocks(1, 1, true));
    ASSERT_TRUE(db);
    BlockNesting nesting(*db);
    ASSERT_EQ(nesting.Cycles().size(), 1u);
    EXPECT_EQ(nesting.Cycles()[0], "block \"B0\" refers to itself");
    EXPECT_EQ(Of(nesting, *db, 0).instances, 1u);
    EXPECT_EQ(Of(nesting, *db, 0).references, 2u);
}

TEST(BlockNesting, TheRecursivePairOfTheCorpusIsACycle) {
    auto db = cadtest::Corpus("bad-insert-recursive-pair.dxf");
    ASSERT_TRUE(db);
    BlockNesting nesting(*db);
    ASSERT_EQ(nesting.Cycles().size(), 1u);
    EXPECT_NE(nesting.Cycles()[0].find("refer"), std::string::npos);
}

TEST(BlockNesting, ReferencesAgreeWithEachBlocksOwnListInEveryCorpusDrawing) {
    for (const auto& entry : std::filesystem::directory_iterator(VELMAR_CORPUS "/dxf")) {
        if (entry.path().extension() != ".dxf") continue;
        auto db = cad::Database::Open(entry.path().string());
        if (!db) continue;
        SCOPED_TRACE(entry.path().filename().string());
        BlockNesting nesting(**db);
        ASSERT_EQ(nesting.Entries().size(), (*db)->Blocks().size());
        for (const BlockNesting::Entry& e : nesting.Entries()) {
            EXPECT_EQ(e.references, e.block.References().size()) << e.block.Name();
            if (e.block.IsLayout()) {
                EXPECT_EQ(e.instances, 1u) << e.block.Name();
            } else if (!e.inCycle) {
                EXPECT_GE(e.expandedEntities, e.block.Entities().size()) << e.block.Name();
            }
        }
    }
}

TEST(BlockNesting, ANullBlockHasAnEntryOfZeros) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    BlockNesting nesting(*db);
    EXPECT_EQ(nesting.Of(cad::BlockRecord()).instances, 0u);
    EXPECT_EQ(nesting.Of(db->FindBlock("Door")).instances, 1u);
    EXPECT_EQ(nesting.ExpandedReferences(), 1u);
}

TEST(BlockNesting, CrOnlyNestedDrawingsReadLikeOthers) {
    auto db = cadtest::Load(cadtest::NestedBlocks(5, 2, false, "\r"));
    ASSERT_TRUE(db);
    EXPECT_EQ(BlockNesting(*db).ExpandedReferences(), 31u);
}

}  // namespace
