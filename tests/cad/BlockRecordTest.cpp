// Block records: spaces, definitions, flags, references, creation and erasure.
#include "cad/BlockRecord.h"

#include <gtest/gtest.h>

#include "Fixtures.h"

namespace {

TEST(BlockRecord, R12FilesHaveAVirtualModelSpaceAndTheirBlocks) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::BlockRecord model = db->ModelSpace();
    ASSERT_TRUE(model);
    EXPECT_TRUE(model.IsModelSpace());
    EXPECT_TRUE(model.IsLayout());
    cad::BlockRecord door = db->FindBlock("DOOR");
    ASSERT_TRUE(door);
    EXPECT_EQ(door.Name(), "Door");
    EXPECT_TRUE(door.HasAttributeDefinitions());
    EXPECT_FALSE(door.IsLayout() || door.IsAnonymous() || door.IsExternalReference());
    ASSERT_EQ(door.Entities().size(), 2u);
    ASSERT_EQ(door.AttributeDefinitions().size(), 1u);
    EXPECT_EQ(door.AttributeDefinitions()[0].Prompt(), "Door number");
    EXPECT_EQ(door.References().size(), 1u);
}

TEST(BlockRecord, LayoutsAreModelSpaceAndEveryPaperSpace) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    std::vector<std::string> layouts;
    for (const cad::BlockRecord& b : db->Blocks())
        if (b.IsLayout()) layouts.push_back(b.LayoutName());
    EXPECT_EQ(layouts, (std::vector<std::string>{"Model", "Layout1", "Layout2"}));
    EXPECT_TRUE(db->PaperSpace().IsPaperSpace());
    EXPECT_EQ(db->ModelSpace().Entities().size(), 13u);
}

TEST(BlockRecord, BoundXrefBlocksKeepTheirPath) {
    auto db = cadtest::Corpus("floorplan-bound-xrefs-attribs-ac1018.dxf");
    ASSERT_TRUE(db);
    bool withPath = false;
    for (const cad::BlockRecord& b : db->Blocks()) withPath = withPath || !b.PathName().empty();
    EXPECT_TRUE(withPath);
}

TEST(BlockRecord, ReferencesThroughNestingAreFound) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    auto inner = db->CreateBlock("Inner");
    auto outer = db->CreateBlock("Outer");
    ASSERT_TRUE(inner && outer);
    ASSERT_TRUE(inner->AddCircle({0, 0, 0}, 1));
    ASSERT_TRUE(outer->AddBlockReference(*inner, {1, 0, 0}));
    ASSERT_TRUE(db->ModelSpace().AddBlockReference(*outer, {5, 5, 0}));
    ASSERT_TRUE(db->ModelSpace().AddBlockReference(*outer, {9, 5, 0}));
    EXPECT_EQ(inner->References().size(), 1u);
    EXPECT_EQ(inner->AllReferences().size(), 3u);
    EXPECT_EQ(outer->AllReferences().size(), 2u);
    EXPECT_FALSE(outer->AddBlockReference(*outer, {0, 0, 0}));
}

TEST(BlockRecord, CreatedBlocksReadBackInEveryVersion) {
    for (const char* file : {"entities-attribs-ac1009.dxf", "entities-attribs-ac1015.dxf", "attribute-ac1032.dxf"}) {
        SCOPED_TRACE(file);
        auto db = cadtest::Corpus(file);
        ASSERT_TRUE(db);
        auto block = db->CreateBlock("Valve", 1, 2, 0);
        ASSERT_TRUE(block);
        EXPECT_FALSE(db->CreateBlock("VALVE"));
        EXPECT_FALSE(db->CreateBlock(""));
        ASSERT_TRUE(block->AddLine({0, 0, 0}, {1, 0, 0}));
        ASSERT_TRUE(block->AddAttributeDefinition("TAG", "Valve tag", "V-1", {0, 1, 0}, 0.25));
        ASSERT_TRUE(db->ModelSpace().AddBlockReference(*block, {10, 10, 0}, {2, 2, 2}, 0));
        auto again = cadtest::Reload(*db);
        ASSERT_TRUE(again);
        EXPECT_TRUE(again->Warnings().empty()) << again->Warnings().front();
        cad::BlockRecord read = again->FindBlock("Valve");
        ASSERT_TRUE(read);
        EXPECT_TRUE(read.HasAttributeDefinitions());
        EXPECT_EQ(read.BasePoint(), (cad::Point3{1, 2, 0}));
        EXPECT_EQ(read.Entities().size(), 2u);
        auto refs = read.References();
        ASSERT_EQ(refs.size(), 1u);
        auto atts = refs[0].Attributes();
        ASSERT_EQ(atts.size(), 1u);
        EXPECT_EQ(atts[0].Tag(), "TAG");
        EXPECT_EQ(atts[0].TextString(), "V-1");
        EXPECT_EQ(atts[0].Position(), (cad::Point3{8, 8, 0}));
        if (again->Release() >= 1012) {
            EXPECT_EQ(read.Record().Type(), "BLOCK_RECORD");
        }
    }
}

TEST(BlockRecord, ErasingABlockErasesItsReferences) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    EXPECT_TRUE(db->EraseBlock(db->FindBlock("Door")));
    EXPECT_FALSE(db->FindBlock("Door"));
    EXPECT_FALSE(db->EraseBlock(db->ModelSpace()));
    auto again = cadtest::Reload(*db);
    ASSERT_TRUE(again);
    EXPECT_FALSE(again->FindBlock("Door"));
    auto entities = again->ModelSpace().Entities();
    ASSERT_EQ(entities.size(), 1u);
    EXPECT_EQ(entities[0].Type(), "LINE");
    for (const auto& [type, count] : again->CountsByType()) {
        EXPECT_NE(type, "ATTRIB");
        EXPECT_NE(type, "SEQEND");
    }
}

TEST(BlockRecord, EntitiesGoToAnyBlockOrSpace) {
    auto db = cadtest::Corpus("attribute-ac1032.dxf");
    ASSERT_TRUE(db);
    std::size_t paper = db->PaperSpace().Entities().size();
    auto text = db->PaperSpace().AddText({1, 1, 0}, 2.5, "Title");
    ASSERT_TRUE(text);
    EXPECT_TRUE(text->IsInPaperSpace());
    EXPECT_TRUE(text->OwnerBlock() == db->PaperSpace());
    auto again = cadtest::Reload(*db);
    EXPECT_EQ(again->PaperSpace().Entities().size(), paper + 1);
}

}  // namespace

namespace {

TEST(BlockRecord, EveryReferenceOfALongChainFindsItsBlockAndItsHolder) {
    // Twenty thousand blocks, each inserting the next: each lookup goes straight to its block.
    constexpr int kLevels = 20000;
    auto db = cadtest::Load(cadtest::NestedBlocks(kLevels, 1));
    ASSERT_TRUE(db);
    int checked = 0;
    for (int level = 1; level < kLevels; ++level) {
        cad::BlockRecord block = db->FindBlock("b" + std::to_string(level));
        ASSERT_TRUE(block);
        cad::Entity ref = db->FindBlock("B" + std::to_string(level - 1)).Entities()[0];
        ASSERT_EQ(cad::BlockReference(db.get(), ref.Index()).Block(), block);
        ASSERT_EQ(ref.OwnerBlock().Name(), "B" + std::to_string(level - 1));
        ++checked;
    }
    EXPECT_EQ(checked, kLevels - 1);
    EXPECT_EQ(db->ModelSpace().Entities()[0].OwnerBlock(), db->ModelSpace());
}

TEST(BlockRecord, ABlockMadeOrRenamedIsFoundByItsNewName) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    ASSERT_FALSE(db->FindBlock("Made"));
    auto made = db->CreateBlock("Made");
    ASSERT_TRUE(made);
    EXPECT_EQ(db->FindBlock("MADE"), *made);
    made->Record().SetText(2, "Renamed");
    made->BlockBegin().SetText(2, "Renamed");
    EXPECT_FALSE(db->FindBlock("Made"));
    EXPECT_EQ(db->FindBlock("renamed"), *made);
    ASSERT_TRUE(db->EraseBlock(*made));
    EXPECT_FALSE(db->FindBlock("Renamed"));
}

}  // namespace
