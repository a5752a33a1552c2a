// Block references with their attributes.
#include "cad/BlockReference.h"

#include <cmath>

#include <gtest/gtest.h>

#include "Fixtures.h"
#include "cad/AttributeTemplate.h"
#include "cad/BlockRecord.h"
#include "cad/geometry/Matrix3d.h"
#include "cad/geometry/TransformBy.h"

namespace {

cad::BlockReference FirstInsert(cad::Database& db) {
    for (const cad::Entity& e : db.ModelSpace().Entities())
        if (e.Type() == "INSERT") return cad::BlockReference(&db, e.Index());
    return cad::BlockReference();
}

TEST(BlockReference, ReadsPlacementAndAttributes) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::BlockReference ref = FirstInsert(*db);
    ASSERT_TRUE(ref);
    EXPECT_EQ(ref.BlockName(), "Door");
    EXPECT_TRUE(ref.Block() == db->FindBlock("Door"));
    EXPECT_EQ(ref.Position(), (cad::Point3{10, 20, 0}));
    EXPECT_EQ(ref.ScaleFactors(), (cad::Point3{2, 2, 2}));
    EXPECT_NEAR(ref.Rotation(), std::acos(-1) / 2, 1e-12);
    EXPECT_EQ(ref.Normal(), (cad::Point3{0, 0, 1}));
    auto atts = ref.Attributes();
    ASSERT_EQ(atts.size(), 1u);
    EXPECT_EQ(atts[0].Tag(), "NUMBER");
    EXPECT_EQ(atts[0].TextString(), "D-101");
    EXPECT_TRUE(ref.FindAttribute("NUMBER") == atts[0]);
    EXPECT_FALSE(ref.FindAttribute("number"));
    EXPECT_TRUE(atts[0].OwnerBlock() == db->ModelSpace());
}

TEST(BlockReference, SetsPlacementAndLayer) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::BlockReference ref = FirstInsert(*db);
    ref.SetPosition({1, 2, 3});
    ref.SetScaleFactors({3, 3, 3});
    ref.SetRotation(0);
    EXPECT_TRUE(ref.SetLayer("walls"));
    EXPECT_FALSE(ref.SetLayer("No such layer"));
    auto again = cadtest::Reload(*db);
    cad::BlockReference read = FirstInsert(*again);
    EXPECT_EQ(read.Position(), (cad::Point3{1, 2, 3}));
    EXPECT_EQ(read.ScaleFactors(), (cad::Point3{3, 3, 3}));
    EXPECT_EQ(read.Rotation(), 0);
    EXPECT_EQ(read.LayerName(), "Walls");
}

TEST(BlockReference, TheWorldPositionFollowsTheExtrusionAndIsTheStoredPointOtherwise) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::BlockReference ref = FirstInsert(*db);
    ASSERT_TRUE(ref);
    EXPECT_EQ(ref.WorldPosition(), ref.Position());
    ref.SetWorldPosition({0.1, 0.2, 0.3});
    EXPECT_EQ(ref.Position(), (cad::Point3{0.1, 0.2, 0.3}));
    // Seen from below, x and z turn over.
    auto mirrored = cadtest::Load(
        "0\nSECTION\n2\nENTITIES\n0\nINSERT\n5\n2A\n8\n0\n2\nDOOR\n"
        "10\n0.1\n20\n0.2\n30\n0.3\n210\n0\n220\n0\n230\n-1\n0\nENDSEC\n0\nEOF\n");
    ASSERT_TRUE(mirrored);
    cad::BlockReference below = FirstInsert(*mirrored);
    ASSERT_TRUE(below);
    EXPECT_EQ(below.WorldPosition(), (cad::Point3{-0.1, 0.2, -0.3}));
    below.SetWorldPosition({5, 6, 7});
    EXPECT_EQ(below.Position(), (cad::Point3{-5, 6, -7}));
    EXPECT_EQ(below.WorldPosition(), (cad::Point3{5, 6, 7}));
}

TEST(BlockReference, AttributesAreAppendedBeforeTheSeqend) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    auto block = db->CreateBlock("Plain");
    ASSERT_TRUE(block);
    auto ref = db->ModelSpace().AddBlockReference(*block, {0, 0, 0});
    ASSERT_TRUE(ref);
    EXPECT_TRUE(ref->Attributes().empty());
    ref->AppendAttribute("A", "1", {0, 0, 0}, 1);
    ref->AppendAttribute("B", "2", {0, 1, 0}, 1);
    auto again = cadtest::Reload(*db);
    ASSERT_TRUE(again);
    auto refs = again->FindBlock("Plain").References();
    ASSERT_EQ(refs.size(), 1u);
    EXPECT_EQ(refs[0].GetInt(66), 1);
    auto atts = refs[0].Attributes();
    ASSERT_EQ(atts.size(), 2u);
    EXPECT_EQ(atts[0].Tag(), "A");
    EXPECT_EQ(atts[1].TextString(), "2");
    EXPECT_EQ(atts[1].OwnerHandle(), refs[0].GetHandle());
}

TEST(BlockReference, ErasingAReferenceErasesItsAttributesAndSeqend) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::BlockReference ref = FirstInsert(*db);
    cad::Attribute att = ref.Attributes()[0];
    ref.Erase();
    EXPECT_TRUE(att.IsErased());
    auto again = cadtest::Reload(*db);
    for (const auto& [type, count] : again->CountsByType()) {
        EXPECT_NE(type, "INSERT");
        EXPECT_NE(type, "ATTRIB");
        EXPECT_NE(type, "SEQEND");
    }
}

TEST(BlockReference, EveryCorpusReferenceListsItsAttributesInOrder) {
    auto db = cadtest::Corpus("ezdxf-192-inserts-576-attribs-ac1018.dxf");
    ASSERT_TRUE(db);
    std::size_t inserts = 0, attribs = 0;
    for (const cad::Entity& e : db->Select({{0, "INSERT"}})) {
        ++inserts;
        attribs += cad::BlockReference(db.get(), e.Index()).Attributes().size();
    }
    EXPECT_EQ(inserts, 192u);
    EXPECT_EQ(attribs, 576u);
}

}  // namespace

namespace {

// A new reference of `blockName` at the block's base point, with an attribute from each
// non-constant definition.
cad::BlockReference ReferenceFromDefinitions(cad::Database& db, const std::string& blockName) {
    cad::BlockRecord block = db.FindBlock(blockName);
    auto made = db.ModelSpace().AddBlockReference(block, block.BasePoint());
    if (!made) return cad::BlockReference();
    cad::BlockReference ref = made.Value();
    for (cad::Attribute& a : ref.Attributes()) a.Erase();
    for (const cad::AttributeDefinition& def : block.AttributeDefinitions())
        if (!def.IsConstant()) ref.AppendAttributeFromDefinition(def);
    return ref;
}

TEST(BlockReference, AnAttributeFromADefinitionTakesItsPropertiesButNotItsPrompt) {
    auto db = cad::Database::Open(std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf");
    ASSERT_TRUE(db);
    cad::BlockReference ref = ReferenceFromDefinitions(**db, "DOOR");
    std::vector<cad::AttributeDefinition> defs = (*db)->FindBlock("DOOR").AttributeDefinitions();
    std::vector<cad::Attribute> atts = ref.Attributes();
    ASSERT_EQ(atts.size(), defs.size());
    for (std::size_t i = 0; i < atts.size(); ++i) {
        EXPECT_EQ(atts[i].Type(), "ATTRIB");
        EXPECT_EQ(atts[i].Tag(), defs[i].Tag());
        EXPECT_EQ(atts[i].TextString(), defs[i].DefaultValue());
        EXPECT_EQ(atts[i].Position(), defs[i].Position());
        EXPECT_EQ(atts[i].Height(), defs[i].Height());
        EXPECT_EQ(atts[i].LayerName(), defs[i].LayerName());
        EXPECT_EQ(atts[i].GetText(7), defs[i].GetText(7));
        EXPECT_EQ(atts[i].GetText(3), "");
        EXPECT_TRUE(atts[i].OwnerBlock() == (*db)->ModelSpace());
    }
    auto again = cadtest::Reload(**db);
    ASSERT_TRUE(again);
    cad::BlockReference read(again.get(), again->ObjectByHandle(ref.GetHandle()).Index());
    EXPECT_EQ(read.Attributes().size(), defs.size());
    EXPECT_EQ(read.GetInt(66, 0), 1);
}

TEST(BlockReference, AnAttributeFromADefinitionFollowsTheReferencesTransform) {
    auto db = cadtest::Corpus("entities-attribs-ac1009.dxf");
    ASSERT_TRUE(db);
    std::string name;
    for (const cad::BlockRecord& block : db->Blocks())
        if (name.empty() && !block.IsLayout() && block.HasAttributeDefinitions()) name = block.Name();
    ASSERT_FALSE(name.empty());
    cad::BlockReference ref = ReferenceFromDefinitions(*db, name);
    ASSERT_TRUE(ref);
    const cad::Point3 base = db->FindBlock(name).BasePoint();
    cad::Matrix3d m = cad::Matrix3d::Translation({100 - base.x, 50 - base.y, 0}) * cad::Matrix3d::Scaling(2, base);
    ASSERT_TRUE(cad::TransformBy(ref, m));
    std::vector<cad::AttributeDefinition> defs = db->FindBlock(name).AttributeDefinitions();
    std::size_t i = 0;
    for (const cad::Attribute& a : ref.Attributes()) {
        while (defs[i].IsConstant()) ++i;
        const cad::Point3 want = m.Apply(defs[i].Position());
        EXPECT_NEAR(a.Position().x, want.x, 1e-9);
        EXPECT_NEAR(a.Position().y, want.y, 1e-9);
        EXPECT_NEAR(a.Height(), defs[i].Height() * 2, 1e-9);
        ++i;
    }
}

}  // namespace

namespace {

TEST(BlockReference, AnAttributeMovedByAnOffsetHasItsPointsMovedAndNothingElse) {
    auto db = cad::Database::Open(std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf");
    ASSERT_TRUE(db);
    cad::BlockRecord block = (*db)->FindBlock("DOOR");
    auto made = (*db)->ModelSpace().AddBlockReference(block, {100, 50, 0});
    ASSERT_TRUE(made);
    cad::BlockReference ref = made.Value();
    for (cad::Attribute& a : ref.Attributes()) a.Erase();
    const cad::AttributeDefinition def = block.AttributeDefinitions().front();
    cad::AttributeTemplate once(def);
    cad::Attribute first = once.AppendTo(ref, {100, 50, 0});
    cad::Attribute second = ref.AppendAttributeFromDefinition(def, {100, 50, 0});
    for (const cad::Attribute& a : {first, second}) {
        EXPECT_EQ(a.Position(), (cad::Point3{def.Position().x + 100, def.Position().y + 50, def.Position().z}));
        EXPECT_EQ(a.Height(), def.Height());
        EXPECT_EQ(a.TextString(), def.DefaultValue());
    }
    EXPECT_NE(first.GetHandle(), second.GetHandle());
    EXPECT_EQ(ref.Attributes().size(), 2u);
}

}  // namespace
