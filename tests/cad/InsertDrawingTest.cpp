#include "cad/InsertDrawing.h"

#include <gtest/gtest.h>

#include "CloneFixtures.h"
#include "cad/BlockClone.h"
#include "cad/DrawOrder.h"

namespace {

using cad::BlockRecord;
using cad::Entity;
using cadtest::Load;
using clonetest::Types;

class InsertDrawingTest : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        source = Load(clonetest::Source(GetParam()), "source.dxf");
        target = Load(clonetest::Target("AC1027"), "target.dxf");
        ASSERT_TRUE(source && target);
        sourceBytes = source->Write();
        auto block = cad::InsertDrawingAsBlock(*source, *target, "Plan", &mapping);
        ASSERT_TRUE(block) << block.GetStatus().Message();
        plan = *block;
    }
    std::unique_ptr<cad::Database> source, target;
    std::string sourceBytes;
    cad::IdMapping mapping;
    BlockRecord plan;
};

TEST_P(InsertDrawingTest, TheModelSpaceBecomesABlockBasedAtTheInsertionBase) {
    EXPECT_EQ(plan.Name(), "Plan");
    EXPECT_EQ(plan.BasePoint(), (cad::Point3{5, 6, 0}));
    EXPECT_EQ(Types(plan.Entities()), (std::vector<std::string>{"INSERT", "LINE"}));
    for (const Entity& e : plan.Entities())
        EXPECT_EQ(e.OwnerHandle(), plan.GetHandle());
    cad::BlockReference door(target.get(), plan.Entities()[0].Index());
    EXPECT_EQ(door.Position(), (cad::Point3{10, 0, 0}));
    EXPECT_EQ(door.LayerName(), "Walls");
    EXPECT_TRUE(target->ModelSpace().Entities().size() == 1u);  // the target's own line only
}

TEST_P(InsertDrawingTest, WhatTheEntitiesNeedComesAlongAsForACloneOfABlock) {
    BlockRecord door = target->FindBlock("Door");
    ASSERT_TRUE(door);
    EXPECT_EQ(Types(door.Entities()),
              (std::vector<std::string>{"LINE", "TEXT", "INSERT", "INSERT", "CIRCLE"}));
    EXPECT_TRUE(target->FindRecord("LTYPE", "DASHED"));
    EXPECT_TRUE(target->FindRecord("STYLE", "Fancy"));
    EXPECT_TRUE(target->FindBlock("*U2"));
    EXPECT_EQ(target->TableRecords("LAYER").size(), 2u);
    EXPECT_EQ(mapping.Lookup(0x1F), plan.GetHandle());  // the model space stands for the new block
    EXPECT_TRUE(mapping.IsCloned(0x30));
}

TEST_P(InsertDrawingTest, TheDrawOrderOfTheModelSpaceComesAlong) {
    EXPECT_EQ(Types(cad::EntitiesInDrawOrder(source->ModelSpace())),
              (std::vector<std::string>{"LINE", "INSERT"}));
    EXPECT_EQ(Types(cad::EntitiesInDrawOrder(plan)), (std::vector<std::string>{"LINE", "INSERT"}));
    cad::Dictionary dict = plan.Record().ExtensionDictionary();
    ASSERT_TRUE(dict);
    cad::Object table = dict.Get("ACAD_SORTENTS");
    ASSERT_TRUE(table);
    EXPECT_EQ(table.OwnerHandle(), dict.GetHandle());
    EXPECT_EQ(dict.OwnerHandle(), plan.GetHandle());
}

TEST_P(InsertDrawingTest, TheSourceStaysAndTheTargetReadsBack) {
    EXPECT_FALSE(source->IsModified());
    EXPECT_EQ(source->Write(), sourceBytes);
    auto back = cadtest::Reload(*target);
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->Warnings().empty());
    ASSERT_TRUE(back->FindBlock("Plan"));
    EXPECT_EQ(Types(back->FindBlock("Plan").Entities()),
              (std::vector<std::string>{"INSERT", "LINE"}));
    EXPECT_EQ(cad::ParseHandle(back->HeaderText("$HANDSEED")), target->HandleSeed());
}

INSTANTIATE_TEST_SUITE_P(Releases, InsertDrawingTest, ::testing::Values("AC1015", "AC1032"));

TEST(InsertDrawing, ANameTheTargetHasIsRefusedNamingIt) {
    auto source = Load(clonetest::Source("AC1032"));
    auto target = Load(clonetest::Target("AC1032"), "target.dxf");
    const std::string before = target->Write();
    auto block = cad::InsertDrawingAsBlock(*source, *target, "knob");
    ASSERT_FALSE(block);
    EXPECT_NE(block.GetStatus().Message().find("\"knob\""), std::string::npos)
        << block.GetStatus().Message();
    EXPECT_NE(block.GetStatus().Message().find("target.dxf"), std::string::npos);
    EXPECT_FALSE(cad::InsertDrawingAsBlock(*source, *target, ""));
    EXPECT_FALSE(target->IsModified());
    EXPECT_EQ(target->Write(), before);
}

TEST(InsertDrawing, ARefusedPlanLeavesTheTargetAsItWas) {
    auto source = Load(clonetest::Source("AC1032"));
    ASSERT_TRUE(source->ModelSpace().AddLwPolyline({{0, 0}, {1, 1}}, false));
    auto target = Load(clonetest::Target("AC1012"));
    const std::string before = target->Write();
    cad::IdMapping mapping;
    auto block = cad::InsertDrawingAsBlock(*source, *target, "Plan", &mapping);
    ASSERT_FALSE(block);
    EXPECT_NE(block.GetStatus().Message().find("LWPOLYLINE"), std::string::npos);
    EXPECT_FALSE(target->IsModified());
    EXPECT_EQ(target->Write(), before);
    EXPECT_EQ(mapping.Size(), 0u);
    EXPECT_FALSE(target->FindBlock("Plan"));
}

TEST(InsertDrawing, AnR12DrawingGoesIntoAnR12Drawing) {
    auto source = Load(cadtest::R12Drawing());
    auto target = Load(cadtest::NestedBlocks(2, 1));
    auto block = cad::InsertDrawingAsBlock(*source, *target, "Site");
    ASSERT_TRUE(block) << block.GetStatus().Message();
    EXPECT_EQ(Types(block->Entities()), (std::vector<std::string>{"LINE", "INSERT"}));
    EXPECT_TRUE(target->FindBlock("Door"));
    EXPECT_TRUE(target->FindLayer("Walls"));
    auto back = cadtest::Reload(*target);
    ASSERT_TRUE(back);
    ASSERT_TRUE(back->FindBlock("Site"));
    cad::BlockReference door(back.get(), back->FindBlock("Site").Entities()[1].Index());
    ASSERT_EQ(door.Attributes().size(), 1u);
    EXPECT_EQ(door.Attributes()[0].TextString(), "D-101");
}

TEST(InsertDrawing, AnR12DrawingGoesIntoANewerDrawing) {
    auto source = Load(cadtest::R12Drawing());
    auto target = Load(clonetest::Target("AC1032"));
    auto block = cad::InsertDrawingAsBlock(*source, *target, "Site");
    ASSERT_TRUE(block) << block.GetStatus().Message();
    EXPECT_EQ(Types(block->Entities()), (std::vector<std::string>{"LINE", "INSERT"}));
    for (const Entity& e : block->Entities())
        EXPECT_EQ(e.OwnerHandle(), block->GetHandle());
    EXPECT_TRUE(target->FindLayer("Walls"));
    EXPECT_TRUE(cadtest::Reload(*target)->FindBlock("Site"));
}

TEST(InsertDrawing, CorpusDrawingIntoAnother) {
    auto source = cadtest::Corpus("librecad-arch-library-ac1021.dxf");
    auto target = cadtest::Corpus("qcad-flange-attribs-ac1027.dxf");
    ASSERT_TRUE(source && target);
    const std::string sourceBytes = source->Write();
    auto block = cad::InsertDrawingAsBlock(*source, *target, "Library");
    ASSERT_TRUE(block) << block.GetStatus().Message();
    EXPECT_EQ(Types(block->Entities()), Types(source->ModelSpace().Entities()));
    for (const Entity& e : block->Entities()) {
        ASSERT_TRUE(cad::BlockReference(target.get(), e.Index()).Block()) << e.GetText(2);
    }
    EXPECT_EQ(source->Write(), sourceBytes);
    auto back = cadtest::Reload(*target);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->FindBlock("Library").Entities().size(), source->ModelSpace().Entities().size());
    EXPECT_TRUE(back->FindBlock("DOUBLE BED"));
}

}  // namespace
