#include "cad/AttributeSync.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "Fixtures.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/Text.h"
#include "cad/geometry/Matrix3d.h"

namespace {

using cad::Point3;

constexpr double kPi = 3.14159265358979323846;

std::vector<std::string> Tags(const cad::BlockReference& reference) {
    std::vector<std::string> tags;
    for (const cad::Attribute& a : reference.Attributes()) tags.push_back(a.Tag());
    return tags;
}

// A block VALVE with base point (1, 2, 0) and definitions A and B, and two references: one plain,
// one moved, turned a quarter and scaled by 2.
class AttributeSyncTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        db = cadtest::Corpus(GetParam());
        ASSERT_TRUE(db);
        auto made = db->CreateBlock("VALVE", 1, 2, 0);
        ASSERT_TRUE(made);
        block = *made;
        ASSERT_TRUE(block.AddLine({0, 0, 0}, {1, 0, 0}));
        ASSERT_TRUE(block.AddAttributeDefinition("A", "First", "a0", {1, 3, 0}, 0.25));
        ASSERT_TRUE(block.AddAttributeDefinition("B", "Second", "b0", {2, 3, 0}, 0.25));
        auto one = db->ModelSpace().AddBlockReference(block, {10, 10, 0});
        auto two = db->ModelSpace().AddBlockReference(block, {20, 5, 0}, {2, 2, 2}, kPi / 2);
        ASSERT_TRUE(one && two);
        plain = *one;
        turned = *two;
        plain.FindAttribute("A").SetValue("kept");
    }
    std::unique_ptr<cad::Database> db;
    cad::BlockRecord block;
    cad::BlockReference plain, turned;
};

TEST_P(AttributeSyncTest, AMissingAttributeIsAddedAtTheDefinitionsPlaceUnderEachReferencesTransform) {
    ASSERT_TRUE(block.AddAttributeDefinition("C", "Third", "c0", {4, 2, 0}, 0.5));
    auto report = cad::SyncAttributes(block);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->references, 2);
    EXPECT_EQ(report->added, 2);
    for (const cad::BlockReference& reference : {plain, turned}) {
        cad::Attribute c = reference.FindAttribute("C");
        ASSERT_TRUE(c);
        EXPECT_EQ(c.TextString(), "c0");
        const Point3 want = cad::BlockTransform(reference).Apply({4, 2, 0});
        EXPECT_NEAR(c.Position().x, want.x, 1e-9);
        EXPECT_NEAR(c.Position().y, want.y, 1e-9);
        EXPECT_NEAR(c.Position().z, want.z, 1e-9);
    }
    // (4, 2) is (3, 0) from the base point: 6 along the turned x axis, which points up.
    EXPECT_NEAR(turned.FindAttribute("C").Position().x, 20, 1e-9);
    EXPECT_NEAR(turned.FindAttribute("C").Position().y, 11, 1e-9);
    EXPECT_NEAR(turned.FindAttribute("C").Height(), 1.0, 1e-9);
    EXPECT_NEAR(std::remainder(turned.FindAttribute("C").Rotation() - kPi / 2, 2 * kPi), 0, 1e-9);
}

TEST_P(AttributeSyncTest, TheAttributeOfARemovedDefinitionIsDeleted) {
    block.AttributeDefinitions()[0].Erase();
    auto report = cad::SyncAttributes(block);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->removed, 2);
    EXPECT_EQ(Tags(plain), std::vector<std::string>{"B"});
    EXPECT_EQ(Tags(turned), std::vector<std::string>{"B"});
}

TEST_P(AttributeSyncTest, ExistingValuesAreKept) {
    ASSERT_TRUE(block.AddAttributeDefinition("C", "Third", "c0", {4, 2, 0}, 0.5));
    const std::string handle = plain.FindAttribute("A").HandleString();
    ASSERT_TRUE(cad::SyncAttributes(block));
    EXPECT_EQ(plain.FindAttribute("A").TextString(), "kept");
    EXPECT_EQ(plain.FindAttribute("A").HandleString(), handle);
    EXPECT_EQ(plain.FindAttribute("B").TextString(), "b0");
}

TEST_P(AttributeSyncTest, TheOrderIsTheDefinitions) {
    // A definition before B: B stands behind it and keeps its value.
    plain.FindAttribute("B").SetValue("b-kept");
    auto defs = block.AttributeDefinitions();
    ASSERT_TRUE(block.AddAttributeDefinition("N", "New", "n0", {0, 0, 0}, 0.25));
    defs[1].Erase();
    ASSERT_TRUE(block.AddAttributeDefinition("B", "Second", "b0", {2, 3, 0}, 0.25));
    auto report = cad::SyncAttributes(block);
    ASSERT_TRUE(report);
    EXPECT_EQ(Tags(plain), (std::vector<std::string>{"A", "N", "B"}));
    EXPECT_EQ(Tags(turned), (std::vector<std::string>{"A", "N", "B"}));
    EXPECT_EQ(plain.FindAttribute("B").TextString(), "b-kept");
    EXPECT_EQ(report->moved, 2);
    EXPECT_EQ(report->added, 2);
}

TEST_P(AttributeSyncTest, AConstantDefinitionIsNeverCopied) {
    ASSERT_TRUE(block.AddAttributeDefinition("MAKER", "", "Acme", {0, 0, 0}, 0.25, 2));
    auto report = cad::SyncAttributes(block);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->added, 0);
    EXPECT_FALSE(plain.FindAttribute("MAKER"));
    EXPECT_EQ(Tags(plain), (std::vector<std::string>{"A", "B"}));
}

TEST_P(AttributeSyncTest, AReferenceInLineIsNotTouched) {
    const std::string before = db->Write();
    auto report = cad::SyncAttributes(block);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->changed, 0);
    EXPECT_EQ(db->Write(), before);
}

TEST_P(AttributeSyncTest, NestedReferencesAreBroughtInLineToo) {
    auto outer = db->CreateBlock("SKID");
    ASSERT_TRUE(outer);
    auto nested = outer->AddBlockReference(block, {3, 0, 0});
    ASSERT_TRUE(nested);
    ASSERT_TRUE(block.AddAttributeDefinition("C", "Third", "c0", {4, 2, 0}, 0.5));
    ASSERT_TRUE(cad::SyncAttributes(block));
    EXPECT_EQ(Tags(*nested), (std::vector<std::string>{"A", "B", "C"}));
}

TEST_P(AttributeSyncTest, TheResultReadsBackAsSaved) {
    ASSERT_TRUE(block.AddAttributeDefinition("C", "Third", "c0", {4, 2, 0}, 0.5));
    block.AttributeDefinitions()[0].Erase();
    ASSERT_TRUE(cad::SyncAttributes(block));
    auto again = cadtest::Reload(*db);
    ASSERT_TRUE(again);
    cad::BlockRecord valve = again->FindBlock("VALVE");
    ASSERT_TRUE(valve);
    auto references = valve.References();
    ASSERT_EQ(references.size(), 2u);
    for (const cad::BlockReference& reference : references) EXPECT_EQ(Tags(reference), (std::vector<std::string>{"B", "C"}));
}

INSTANTIATE_TEST_SUITE_P(Versions, AttributeSyncTest,
                         ::testing::Values("entities-attribs-ac1009.dxf", "entities-attribs-ac1015.dxf",
                                           "attribute-ac1032.dxf"));

TEST(AttributeSync, ANullBlockFails) { EXPECT_FALSE(cad::SyncAttributes(cad::BlockRecord())); }

}  // namespace
