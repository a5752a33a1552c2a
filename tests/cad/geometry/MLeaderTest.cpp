#include "cad/geometry/MLeader.h"

#include <gtest/gtest.h>

#include "GeometryFixtures.h"
#include "cad/Database.h"
#include "cad/geometry/GeomExtents.h"

namespace {

using cad::MLeader;
using cad::MLeaderContentKind;
using geotest::ExpectPoint;

// The GDAL test drawing: three multileaders with block "myblock", whose one attribute
// definition (ED6, tag SITSABOVE) holds "Apples%%p" on leader 2D8 and "" on EEB and EF0.
class MLeaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto opened = cad::Database::Open(std::string(VELMAR_CORPUS) + "/dxf/gdal-leader-mleader-blockcontent-ac1027.dxf");
        ASSERT_TRUE(opened) << opened.GetStatus().Message();
        db = std::move(*opened);
        original = db->Write();
    }
    MLeader ByHandle(cad::Handle h) { return MLeader(db.get(), db->ObjectByHandle(h).Index()); }
    cad::AttributeDefinition Definition() {
        return cad::AttributeDefinition(db.get(), db->ObjectByHandle(0xED6).Index());
    }
    std::unique_ptr<cad::Database> db;
    std::string original;
};

TEST_F(MLeaderTest, BlockContentFromCorpus) {
    MLeader m = ByHandle(0x2D8);
    EXPECT_EQ(m.ContentType(), MLeaderContentKind::Block);
    ASSERT_TRUE(m.BlockContent());
    EXPECT_EQ(m.BlockContent().Name(), "myblock");
    ExpectPoint(m.BlockPosition(), {-44, -19, 0});
    ExpectPoint(m.BlockScale(), {2, 2, 2}, 1e-12);
    EXPECT_DOUBLE_EQ(m.BlockRotation(), 0.174532925199433);
    ExpectPoint(m.BlockNormal(), {0, 0, 1});
}

TEST_F(MLeaderTest, MTextContentHasNoBlock) {
    int mtext = 0;
    for (const cad::Entity& e : db->Select({{0, "MULTILEADER"}})) {
        MLeader m(db.get(), e.Index());
        if (m.ContentType() != MLeaderContentKind::MText) continue;
        ++mtext;
        EXPECT_FALSE(m.BlockContent());
        EXPECT_FALSE(m.SetBlockAttributeValue(Definition(), "x"));
    }
    EXPECT_EQ(mtext, 5);
    EXPECT_EQ(ByHandle(0x1C69).ContentType(), MLeaderContentKind::None);
    EXPECT_FALSE(ByHandle(0x1C69).BlockContent());
    EXPECT_EQ(db->Write(), original);
}

TEST_F(MLeaderTest, AttributeValuesByDefinition) {
    auto values = ByHandle(0x2D8).BlockAttributeValues();
    ASSERT_EQ(values.size(), 1u);
    EXPECT_EQ(values[0].definition, 0xED6u);
    EXPECT_EQ(values[0].index, 1);
    EXPECT_EQ(values[0].value, "Apples%%p");
    auto value = ByHandle(0x2D8).GetBlockAttributeValue(Definition());
    ASSERT_TRUE(value) << value.GetStatus().Message();
    EXPECT_EQ(*value, "Apples%%p");
    EXPECT_EQ(*ByHandle(0xEEB).GetBlockAttributeValue(Definition()), "");
}

TEST_F(MLeaderTest, SetValueWritesOnlyThatValue) {
    MLeader m = ByHandle(0x2D8);
    ASSERT_TRUE(m.SetBlockAttributeValue(Definition(), "Pears ±"));
    auto again = cad::Database::FromBytes(db->Write(), "again.dxf");
    ASSERT_TRUE(again);
    MLeader reread((*again).get(), (*again)->ObjectByHandle(0x2D8).Index());
    cad::AttributeDefinition def((*again).get(), (*again)->ObjectByHandle(0xED6).Index());
    EXPECT_EQ(*reread.GetBlockAttributeValue(def), "Pears ±");
    MLeader other((*again).get(), (*again)->ObjectByHandle(0xEEB).Index());
    EXPECT_EQ(*other.GetBlockAttributeValue(def), "");
    // Everything else stays as it was: only the one line differs.
    std::string written = db->Write();
    EXPECT_EQ(written.size(), original.size() - std::string("Apples%%p").size() + std::string("Pears ±").size());
}

TEST_F(MLeaderTest, EqualValueWritesNothing) {
    ASSERT_TRUE(ByHandle(0x2D8).SetBlockAttributeValue(Definition(), "Apples%%p"));
    EXPECT_FALSE(db->IsModified());
    EXPECT_EQ(db->Write(), original);
}

TEST_F(MLeaderTest, DefinitionOfAnotherBlockIsRefused) {
    auto block = db->CreateBlock("OTHER");
    auto def = block->AddAttributeDefinition("X", "X?", "", {0, 0, 0}, 1);
    ASSERT_TRUE(def);
    auto value = ByHandle(0x2D8).GetBlockAttributeValue(*def);
    ASSERT_FALSE(value);
    EXPECT_NE(value.GetStatus().Message().find("myblock"), std::string::npos) << value.GetStatus().Message();
    EXPECT_FALSE(ByHandle(0x2D8).SetBlockAttributeValue(*def, "v"));
}

TEST_F(MLeaderTest, MissingValueReadsDefaultAndIsAddedOnSet) {
    auto def = db->FindBlock("myblock").AddAttributeDefinition("SECOND", "Second?", "DEF", {0, 0, 0}, 1);
    ASSERT_TRUE(def);
    MLeader m = ByHandle(0xEEB);
    EXPECT_EQ(*m.GetBlockAttributeValue(*def), "DEF");
    ASSERT_TRUE(m.SetBlockAttributeValue(*def, "given"));
    EXPECT_EQ(*m.GetBlockAttributeValue(*def), "given");
    auto values = m.BlockAttributeValues();
    ASSERT_EQ(values.size(), 2u);
    EXPECT_EQ(values[1].definition, def->GetHandle());
    EXPECT_EQ(values[1].index, 2);
    EXPECT_EQ(*m.GetBlockAttributeValue(Definition()), "");
}

TEST(MLeader, ContentTypesOfReferenceDrawing) {
    auto db = cad::Database::Open(std::string(VELMAR_CORPUS) + "/dxf/acadsharp-sample-ac1032.dxf");
    ASSERT_TRUE(db) << db.GetStatus().Message();
    int block = 0, text = 0, measured = 0;
    for (const cad::Entity& e : (*db)->Select({{0, "MULTILEADER"}})) {
        MLeader m(db->get(), e.Index());
        if (m.ContentType() == MLeaderContentKind::Block) {
            ++block;
            EXPECT_TRUE(m.BlockContent()) << e.HandleString();
        }
        if (m.ContentType() == MLeaderContentKind::MText) ++text;
        if (cad::GeomExtents(e)) ++measured;
    }
    EXPECT_GT(block + text, 0);
    EXPECT_EQ(measured, block + text);
}

}  // namespace
