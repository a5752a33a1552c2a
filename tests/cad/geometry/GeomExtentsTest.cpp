#include "cad/geometry/GeomExtents.h"

#include <cmath>
#include <filesystem>

#include <gtest/gtest.h>

#include "../Fixtures.h"
#include "GeometryFixtures.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/SymbolRecord.h"
#include "cad/geometry/DrawingExtents.h"

namespace {

using cad::Point3;
using cad::RealTag;
using cad::TagList;
using geotest::ExpectBox;

class GeomExtentsTest : public ::testing::Test {
protected:
    void SetUp() override {
        db = geotest::Rooms();
        ASSERT_TRUE(db);
        ms = db->ModelSpace();
    }
    cad::Extents3d Measure(const cad::Entity& e) {
        auto box = cad::GeomExtents(e);
        EXPECT_TRUE(box) << box.GetStatus().Message();
        return box ? *box : cad::Extents3d();
    }
    cad::Entity Append(std::string_view type, const TagList& data, std::string_view layer = "0") {
        auto e = ms.AppendEntity(type, layer, data);
        EXPECT_TRUE(e) << e.GetStatus().Message();
        return e ? *e : cad::Entity();
    }
    // A block "BOX" holding the line (0,0)-(2,1).
    cad::BlockRecord BoxBlock() {
        auto block = db->CreateBlock("BOX");
        EXPECT_TRUE(block);
        EXPECT_TRUE(block->AddLine({0, 0, 0}, {2, 1, 0}));
        return *block;
    }
    std::unique_ptr<cad::Database> db;
    cad::BlockRecord ms;
};

TEST_F(GeomExtentsTest, Line) {
    ExpectBox(Measure(*ms.AddLine({1, 2, 3}, {4, -5, 6})), {1, -5, 3}, {4, 2, 6});
}

TEST_F(GeomExtentsTest, Point) {
    ExpectBox(Measure(Append("POINT", {{100, "AcDbPoint"}, RealTag(10, 3), RealTag(20, 4), RealTag(30, 5)})),
              {3, 4, 5}, {3, 4, 5});
}

TEST_F(GeomExtentsTest, Circle) { ExpectBox(Measure(*ms.AddCircle({1, 1, 0}, 2)), {-1, -1, 0}, {3, 3, 0}); }

TEST_F(GeomExtentsTest, CircleInObjectCoordinates) {
    // Normal along world x: the circle stands in the y-z plane; its centre (0,0,7) is x = 7.
    cad::Entity c = Append("CIRCLE", {{100, "AcDbCircle"}, RealTag(10, 0), RealTag(20, 0), RealTag(30, 7),
                                      RealTag(40, 2), RealTag(210, 1), RealTag(220, 0), RealTag(230, 0)});
    ExpectBox(Measure(c), {7, -2, -2}, {7, 2, 2});
}

TEST_F(GeomExtentsTest, ArcQuarter) { ExpectBox(Measure(*ms.AddArc({0, 0, 0}, 1, 0, cad::kPi / 2)), {0, 0, 0}, {1, 1, 0}); }

TEST_F(GeomExtentsTest, ArcThroughTopOnly) {
    double h = std::sqrt(0.5);
    ExpectBox(Measure(*ms.AddArc({0, 0, 0}, 1, cad::kPi / 4, 3 * cad::kPi / 4)), {-h, h, 0}, {h, 1, 0});
}

TEST_F(GeomExtentsTest, ArcAcrossZeroDegrees) {
    double a = 10 * cad::kPi / 180;
    ExpectBox(Measure(*ms.AddArc({0, 0, 0}, 1, 2 * cad::kPi - a, a)), {std::cos(a), -std::sin(a), 0},
              {1, std::sin(a), 0});
}

TEST_F(GeomExtentsTest, EllipseRotated) {
    // Major axis (3,4) of length 5, ratio 0.4: minor axis (-1.6, 1.2).
    cad::Entity e = Append("ELLIPSE", {{100, "AcDbEllipse"}, RealTag(10, 0), RealTag(20, 0), RealTag(30, 0),
                                       RealTag(11, 3), RealTag(21, 4), RealTag(31, 0), RealTag(40, 0.4),
                                       RealTag(41, 0), RealTag(42, 2 * cad::kPi)});
    double x = std::sqrt(9 + 1.6 * 1.6), y = std::sqrt(16 + 1.2 * 1.2);
    ExpectBox(Measure(e), {-x, -y, 0}, {x, y, 0});
}

TEST_F(GeomExtentsTest, EllipseHalf) {
    cad::Entity e = Append("ELLIPSE", {{100, "AcDbEllipse"}, RealTag(10, 0), RealTag(20, 0), RealTag(30, 0),
                                       RealTag(11, 2), RealTag(21, 0), RealTag(31, 0), RealTag(40, 0.5),
                                       RealTag(41, 0), RealTag(42, cad::kPi)});
    ExpectBox(Measure(e), {-2, 0, 0}, {2, 1, 0});
}

TEST_F(GeomExtentsTest, LwPolylineWithBulges) {
    auto pl = ms.AddLwPolyline({{-3, 0, 1}, {3, 0, 1}}, true);
    ExpectBox(Measure(*pl), {-3, -3, 0}, {3, 3, 0});
}

TEST_F(GeomExtentsTest, LwPolylineOpenKeepsOnlyItsSegments) {
    // The last bulge of an open polyline draws nothing.
    auto pl = ms.AddLwPolyline({{0, 0, 0}, {2, 0, 1}}, false);
    ExpectBox(Measure(*pl), {0, 0, 0}, {2, 0, 0});
}

TEST_F(GeomExtentsTest, HeavyPolylineWithBulge) {
    cad::Polyline pl(db.get(), Append("POLYLINE", {{100, "AcDb2dPolyline"}, {66, "1"}, RealTag(10, 0), RealTag(20, 0),
                                                   RealTag(30, 0), {70, "0"}})
                                   .Index());
    pl.AppendVertex({0, 0, 0}, 1);
    pl.AppendVertex({2, 0, 0});
    // Bulge 1 from (0,0) to (2,0) turns counter-clockwise through (1,-1).
    ExpectBox(Measure(pl), {0, -1, 0}, {2, 0, 0});
}

TEST_F(GeomExtentsTest, Polyline3dUsesWorldPoints) {
    cad::Polyline pl(db.get(), Append("POLYLINE", {{100, "AcDb3dPolyline"}, {66, "1"}, RealTag(10, 0), RealTag(20, 0),
                                                   RealTag(30, 0), {70, "8"}})
                                   .Index());
    pl.AppendVertex({0, 0, 0});
    pl.AppendVertex({1, 2, 3});
    ExpectBox(Measure(pl), {0, 0, 0}, {1, 2, 3});
}

TEST_F(GeomExtentsTest, SplineIsEvaluatedNotHulled) {
    // A quadratic Bezier through control points (0,0), (1,2), (2,0) peaks at y = 1, not 2.
    cad::Entity s = Append("SPLINE", {{100, "AcDbSpline"}, {70, "8"}, {71, "2"}, {72, "6"}, {73, "3"}, {74, "0"},
                                      RealTag(40, 0), RealTag(40, 0), RealTag(40, 0), RealTag(40, 1), RealTag(40, 1),
                                      RealTag(40, 1), RealTag(10, 0), RealTag(20, 0), RealTag(30, 0), RealTag(10, 1),
                                      RealTag(20, 2), RealTag(30, 0), RealTag(10, 2), RealTag(20, 0), RealTag(30, 0)});
    ExpectBox(Measure(s), {0, 0, 0}, {2, 1, 0});
}

TEST_F(GeomExtentsTest, SolidInObjectCoordinates) {
    cad::Entity s = Append("SOLID", {{100, "AcDbTrace"}, RealTag(10, 0), RealTag(20, 0), RealTag(30, 0), RealTag(11, 1),
                                     RealTag(21, 0), RealTag(31, 0), RealTag(12, 0), RealTag(22, 1), RealTag(32, 0),
                                     RealTag(13, 1), RealTag(23, 1), RealTag(33, 0), RealTag(210, 0), RealTag(220, 0),
                                     RealTag(230, -1)});
    ExpectBox(Measure(s), {-1, 0, 0}, {0, 1, 0});
}

TEST_F(GeomExtentsTest, Face3d) {
    cad::Entity f = Append("3DFACE", {{100, "AcDbFace"}, RealTag(10, 0), RealTag(20, 0), RealTag(30, 0), RealTag(11, 1),
                                      RealTag(21, 0), RealTag(31, 2), RealTag(12, 1), RealTag(22, 1), RealTag(32, 0)});
    ExpectBox(Measure(f), {0, 0, 0}, {1, 1, 2});
}

TEST_F(GeomExtentsTest, HatchByItsBoundaries) {
    cad::Entity h = Append(
        "HATCH", {{100, "AcDbHatch"}, RealTag(10, 0), RealTag(20, 0), RealTag(30, 0), RealTag(210, 0), RealTag(220, 0),
                  RealTag(230, 1), {2, "SOLID"}, {70, "1"}, {71, "0"}, {91, "2"},
                  // A polyline path: a circle of radius 3 in two bulged segments.
                  {92, "3"}, {72, "1"}, {73, "1"}, {93, "2"}, RealTag(10, -3), RealTag(20, 0), RealTag(42, 1),
                  RealTag(10, 3), RealTag(20, 0), RealTag(42, 1), {97, "0"},
                  // An edge path: a line and an upper half circle about (11, 0).
                  {92, "1"}, {93, "2"}, {72, "1"}, RealTag(10, 10), RealTag(20, 0), RealTag(11, 12), RealTag(21, 0),
                  {72, "2"}, RealTag(10, 11), RealTag(20, 0), RealTag(40, 1), RealTag(50, 0), RealTag(51, 180),
                  {73, "1"}, {97, "0"}, {75, "1"}, {76, "1"}, {98, "0"}});
    ExpectBox(Measure(h), {-3, -3, 0}, {12, 3, 0});
}

TEST_F(GeomExtentsTest, TextFromHeightAndCharacterCount) {
    // Two characters of height 2 are 4 wide (one height per character).
    ExpectBox(Measure(*ms.AddText({1, 2, 0}, 2, "AB")), {1, 2, 0}, {5, 4, 0});
}

TEST_F(GeomExtentsTest, TextWidthFactorAndRotation) {
    auto t = ms.AddText({0, 0, 0}, 1, "ABC");
    t->SetRotation(cad::kPi / 2);
    t->SetReal(41, 0.5);
    // 1.5 wide along y, 1 high towards -x.
    ExpectBox(Measure(*t), {-1, 0, 0}, {0, 1.5, 0});
}

TEST_F(GeomExtentsTest, TextJustifiedCentreMiddleAndTopRight) {
    auto t = ms.AddText({0, 0, 0}, 2, "ABCD");
    t->SetHorizontalMode(4);
    t->SetAlignmentPoint({10, 10, 0});
    ExpectBox(Measure(*t), {6, 9, 0}, {14, 11, 0});
    t->SetHorizontalMode(2);
    t->SetVerticalMode(3);
    ExpectBox(Measure(*t), {2, 8, 0}, {10, 10, 0});
}

TEST_F(GeomExtentsTest, TextFitRunsBetweenItsPoints) {
    auto t = ms.AddText({0, 0, 0}, 1, "ABCD");
    t->SetHorizontalMode(5);
    t->SetAlignmentPoint({0, 10, 0});
    ExpectBox(Measure(*t), {-1, 0, 0}, {0, 10, 0});
}

TEST_F(GeomExtentsTest, TextControlCodesCountAsTheirCharacter) {
    EXPECT_EQ(cad::ShownLength("10%%d"), 3);
    EXPECT_EQ(cad::ShownLength("%%uA%%u"), 1);
    EXPECT_EQ(cad::ShownLength("%%137"), 1);
    EXPECT_EQ(cad::ShownLength("Ø2"), 2);
}

TEST_F(GeomExtentsTest, MTextLinesAndAttachment) {
    auto m = ms.AddMText({0, 10, 0}, 1, 0, "AB\\PCDE");
    // Two lines: the second starts 5/3 heights below the first.
    ExpectBox(Measure(*m), {0, 10 - 8.0 / 3, 0}, {3, 10, 0});
    m->SetInt(71, 5);
    ExpectBox(Measure(*m), {-1.5, 10 - 4.0 / 3, 0}, {1.5, 10 + 4.0 / 3, 0});
}

TEST_F(GeomExtentsTest, MTextWrapsAtItsWidth) {
    auto m = ms.AddMText({0, 0, 0}, 1, 4, "ABCDEFGHIJ");
    // Ten characters in a width of 4 take three lines.
    ExpectBox(Measure(*m), {0, -1 - 2 * 5.0 / 3, 0}, {4, 0, 0});
}

TEST_F(GeomExtentsTest, EmptyTextHasNoExtents) {
    auto t = ms.AddText({0, 0, 0}, 1, "  ");
    auto box = cad::GeomExtents(*t);
    ASSERT_FALSE(box);
    EXPECT_NE(box.GetStatus().Message().find("no text"), std::string::npos) << box.GetStatus().Message();
}

TEST_F(GeomExtentsTest, RayHasNoExtents) {
    cad::Entity r = Append("RAY", {{100, "AcDbRay"}, RealTag(10, 0), RealTag(20, 0), RealTag(30, 0), RealTag(11, 1),
                                   RealTag(21, 0), RealTag(31, 0)});
    auto box = cad::GeomExtents(r);
    ASSERT_FALSE(box);
    EXPECT_NE(box.GetStatus().Message().find("RAY"), std::string::npos);
}

TEST_F(GeomExtentsTest, ReferenceWithAttributeFromTheDrawing) {
    // Tag 1 of the rooms drawing: circle of radius 0.5 at (5,4) and the value "1" at (5.6,4),
    // 0.25 high; the attribute definition of the block is not drawn.
    auto refs = db->FindBlock("TAG").References();
    ASSERT_EQ(refs.size(), 4u);
    ExpectBox(Measure(refs[0]), {4.5, 3.5, 0}, {5.85, 4.5, 0});
}

TEST_F(GeomExtentsTest, ReferenceRotatedAndScaled) {
    auto ref = ms.AddBlockReference(BoxBlock(), {10, 10, 0}, {2, 2, 2}, cad::kPi / 2);
    ExpectBox(Measure(*ref), {8, 10, 0}, {10, 14, 0});
}

TEST_F(GeomExtentsTest, ReferenceNested) {
    auto outer = db->CreateBlock("OUTER");
    ASSERT_TRUE(outer->AddBlockReference(BoxBlock(), {1, 0, 0}, {1, 1, 1}, cad::kPi / 2));
    auto top = ms.AddBlockReference(*outer, {0, 0, 0}, {3, 3, 3}, 0);
    ExpectBox(Measure(*top), {0, 0, 0}, {3, 6, 0});
}

TEST_F(GeomExtentsTest, ReferenceMirroredByNegativeScale) {
    auto ref = ms.AddBlockReference(BoxBlock(), {0, 0, 0}, {-1, 1, 1}, 0);
    ExpectBox(Measure(*ref), {-2, 0, 0}, {0, 1, 0});
}

TEST_F(GeomExtentsTest, MInsertCoversAllCopies) {
    auto ref = ms.AddBlockReference(BoxBlock(), {0, 0, 0});
    cad::Entity m = Append("MINSERT", {{100, "AcDbMInsertBlock"}, {2, "BOX"}, RealTag(10, 0), RealTag(20, 0),
                                       RealTag(30, 0), {70, "3"}, {71, "2"}, RealTag(44, 10), RealTag(45, 5)});
    ExpectBox(Measure(m), {0, 0, 0}, {22, 6, 0});
}

TEST_F(GeomExtentsTest, ReferenceSkipsInvisibleAndFrozenKeepsOff) {
    ASSERT_TRUE(db->AddLayer("FROZEN"));
    ASSERT_TRUE(db->AddLayer("OFF"));
    db->FindLayer("FROZEN").SetFrozen(true);
    db->FindLayer("OFF").SetOff(true);
    auto block = db->CreateBlock("LAYERS");
    ASSERT_TRUE(block->AddLine({0, 0, 0}, {100, 100, 0}, "FROZEN"));
    auto hidden = block->AddLine({0, 0, 0}, {-50, -50, 0});
    hidden->SetVisible(false);
    ASSERT_TRUE(block->AddLine({0, 0, 0}, {1, 1, 0}, "OFF"));
    ASSERT_TRUE(block->AddLine({0, 0, 0}, {2, 0, 0}, "0"));
    auto ref = ms.AddBlockReference(*block, {0, 0, 0});
    ExpectBox(Measure(*ref), {0, 0, 0}, {2, 1, 0});
    // Entities on layer 0 take the reference's layer: frozen with it.
    ASSERT_TRUE(ref->SetLayer("FROZEN"));
    ExpectBox(Measure(*ref), {0, 0, 0}, {1, 1, 0});
}

TEST_F(GeomExtentsTest, ReferenceToEmptyBlockHasNoExtents) {
    auto block = db->CreateBlock("EMPTY");
    auto ref = ms.AddBlockReference(*block, {0, 0, 0});
    auto box = cad::GeomExtents(*ref);
    ASSERT_FALSE(box);
    EXPECT_NE(box.GetStatus().Message().find("EMPTY"), std::string::npos) << box.GetStatus().Message();
}

TEST_F(GeomExtentsTest, DimensionThroughItsBlock) {
    auto block = db->CreateBlock("*D7");
    ASSERT_TRUE(block->AddLine({1, 1, 0}, {5, 3, 0}));
    cad::Entity d = Append("DIMENSION", {{100, "AcDbDimension"}, {2, "*D7"}, RealTag(10, 5), RealTag(20, 3),
                                         RealTag(30, 0), {70, "32"}});
    ExpectBox(Measure(d), {1, 1, 0}, {5, 3, 0});
}

TEST(GeomExtents, TableThroughItsBlockInCorpus) {
    auto db = cad::Database::Open(std::string(VELMAR_CORPUS) + "/dxf/acad-table-blockref-ac1032.dxf");
    ASSERT_TRUE(db) << db.GetStatus().Message();
    auto tables = (*db)->Select({{0, "ACAD_TABLE"}});
    ASSERT_EQ(tables.size(), 1u);
    auto box = cad::GeomExtents(tables[0]);
    ASSERT_TRUE(box) << box.GetStatus().Message();
    // The table hangs down and to the right from its insertion point.
    cad::Point3 at{tables[0].GetReal(10), tables[0].GetReal(20), 0};
    EXPECT_NEAR(box->Min().x, at.x, 1e-6);
    EXPECT_NEAR(box->Max().y, at.y, 1e-6);
    EXPECT_GT(box->Max().x, at.x);
    EXPECT_LT(box->Min().y, at.y);
}

TEST(GeomExtents, MultileaderWithBlockContentInCorpus) {
    auto db = cad::Database::Open(std::string(VELMAR_CORPUS) + "/dxf/gdal-leader-mleader-blockcontent-ac1027.dxf");
    ASSERT_TRUE(db) << db.GetStatus().Message();
    cad::Entity leader(db->get(), (*db)->ObjectByHandle(0x2D8).Index());
    ASSERT_EQ(leader.Type(), "MULTILEADER");
    auto box = cad::GeomExtents(leader);
    ASSERT_TRUE(box) << box.GetStatus().Message();
    // The leader line starts at its arrow point and the block sits at (-44, -19).
    EXPECT_NEAR(box->Min().x, -44.81115957534527 - 0.0, 2.0);
    EXPECT_NEAR(box->Min().y, -22.89308511391757, 1e-9);
    EXPECT_LE(box->Min().x, -44.0);
    EXPECT_GE(box->Max().x, -36.12153797590233);
}

TEST(GeomExtents, EveryEntityOfTheCorpusMeasuresOrSaysWhy) {
    for (const char* name : {"acadsharp-sample-ac1032.dxf", "curtainwall-details-mleader-dynblocks-ac1027.dxf",
                             "libredwg-example-ac1015.dxf", "acadsharp-sample-ac1009.dxf"}) {
        auto db = cad::Database::Open(std::string(VELMAR_CORPUS) + "/dxf/" + name);
        ASSERT_TRUE(db) << db.GetStatus().Message();
        int measured = 0;
        for (const cad::Entity& e : (*db)->ModelSpace().Entities()) {
            auto box = cad::GeomExtents(e);
            if (box) {
                ++measured;
                EXPECT_TRUE(std::isfinite(box->Min().x) && std::isfinite(box->Max().y)) << name << " " << e.HandleString();
            } else {
                EXPECT_FALSE(box.GetStatus().Message().empty());
            }
        }
        EXPECT_GT(measured, 0) << name;
    }
}

}  // namespace

namespace {

TEST_F(GeomExtentsTest, MultilineByItsVertices) {
    cad::Entity m = Append("MLINE", {{100, "AcDbMline"}, {2, "STANDARD"}, RealTag(40, 1), {70, "0"}, {71, "1"},
                                     {72, "2"}, {73, "2"}, RealTag(10, 0), RealTag(20, 0), RealTag(30, 0),
                                     RealTag(11, 0), RealTag(21, 0), RealTag(31, 0), RealTag(12, 1), RealTag(22, 0),
                                     RealTag(32, 0), RealTag(13, 0), RealTag(23, 1), RealTag(33, 0),
                                     RealTag(11, 4), RealTag(21, 3), RealTag(31, 0), RealTag(12, 1), RealTag(22, 0),
                                     RealTag(32, 0), RealTag(13, 0), RealTag(23, 1), RealTag(33, 0)});
    ExpectBox(Measure(m), {0, 0, 0}, {4, 3, 0});
}

TEST_F(GeomExtentsTest, DimensionWithoutBlockSaysSo) {
    cad::Entity d = Append("DIMENSION", {{100, "AcDbDimension"}, RealTag(10, 5), RealTag(20, 3), RealTag(30, 0)});
    auto box = cad::GeomExtents(d);
    ASSERT_FALSE(box);
    EXPECT_NE(box.GetStatus().Message().find("no block"), std::string::npos) << box.GetStatus().Message();
}

}  // namespace

namespace {

TEST_F(GeomExtentsTest, AttributeDefinitionShowsItsTagAloneAndItsValueWhenConstant) {
    auto alone = ms.AddAttributeDefinition("NUMBER", "No?", "D1", {0, 0, 0}, 1);
    ExpectBox(Measure(*alone), {0, 0, 0}, {6, 1, 0});
    auto block = db->CreateBlock("CONST");
    ASSERT_TRUE(block->AddAttributeDefinition("KIND", "Kind?", "AB", {1, 0, 0}, 1, 2));
    ASSERT_TRUE(block->AddAttributeDefinition("HIDDEN", "Hidden?", "XYZ", {1, 5, 0}, 1, 0));
    auto ref = ms.AddBlockReference(*block, {10, 0, 0});
    // The constant value "AB" is drawn at (11,0); the other definition only through the
    // attribute the reference got, "XYZ" at (11,5).
    ExpectBox(Measure(*ref), {11, 0, 0}, {14, 6, 0});
    ref->FindAttribute("HIDDEN").SetInvisible(true);
    ExpectBox(Measure(*ref), {11, 0, 0}, {13, 1, 0});
}

}  // namespace

namespace {

TEST_F(GeomExtentsTest, TextAlignedScalesItsHeightToTheRun) {
    auto t = ms.AddText({0, 0, 0}, 1, "ABCD");
    t->SetHorizontalMode(3);
    t->SetAlignmentPoint({8, 0, 0});
    // Four characters over a run of 8 are 2 wide each, so 2 high.
    ExpectBox(Measure(*t), {0, 0, 0}, {8, 2, 0});
}

}  // namespace

namespace {

// The extents of the one reference in model space of a drawing of nested blocks.
base::Result<cad::Extents3d> MeasureTop(cad::Database& db) {
    auto entities = db.ModelSpace().Entities();
    EXPECT_EQ(entities.size(), 1u);
    if (entities.empty()) return base::Status::Error("model space is empty");
    return cad::GeomExtents(entities[0]);
}

TEST(GeomExtentsNesting, TwentyLevelsThatInsertTwiceAreMeasuredBlockByBlock) {
    // A million lines when expanded; each block is measured once.
    auto db = cadtest::Load(cadtest::NestedBlocks(20, 2));
    ASSERT_TRUE(db);
    auto box = MeasureTop(*db);
    ASSERT_TRUE(box) << box.GetStatus().Message();
    ExpectBox(*box, {0, 19, 0}, {20, 20, 0});
}

TEST(GeomExtentsNesting, SixtyFourLevelsThatInsertTwiceAreMeasured) {
    auto db = cadtest::Load(cadtest::NestedBlocks(64, 2));
    ASSERT_TRUE(db);
    auto box = MeasureTop(*db);
    ASSERT_TRUE(box) << box.GetStatus().Message();
    ExpectBox(*box, {0, 63, 0}, {64, 64, 0});
}

TEST(GeomExtentsNesting, AChainOfFourThousandBlocksIsMeasured) {
    auto db = cadtest::Load(cadtest::NestedBlocks(4000, 1));
    ASSERT_TRUE(db);
    auto box = MeasureTop(*db);
    ASSERT_TRUE(box) << box.GetStatus().Message();
    ExpectBox(*box, {0, 3999, 0}, {1, 4000, 0});
    // Every block of the chain, each measured on its own.
    for (int level : {1, 2000, 3998}) {
        cad::BlockRecord block = db->FindBlock("B" + std::to_string(level));
        auto refs = block.References();
        ASSERT_EQ(refs.size(), 1u);
        auto inner = cad::GeomExtents(refs[0]);
        ASSERT_TRUE(inner) << inner.GetStatus().Message();
        ExpectBox(*inner, {0, 4000.0 - level, 0}, {1, 4001.0 - level, 0});
    }
}

TEST(GeomExtentsNesting, AReferenceThatClosesACycleIsNotFollowed) {
    // B2 inserts B0 again: its line counts, the way back does not.
    auto db = cadtest::Load(cadtest::NestedBlocks(3, 1, true));
    ASSERT_TRUE(db);
    auto box = MeasureTop(*db);
    ASSERT_TRUE(box) << box.GetStatus().Message();
    ExpectBox(*box, {0, 2, 0}, {1, 3, 0});
    // Also when the walk measures each block once.
    auto deep = cadtest::Load(cadtest::NestedBlocks(40, 2, true));
    ASSERT_TRUE(deep);
    auto deepBox = MeasureTop(*deep);
    ASSERT_TRUE(deepBox) << deepBox.GetStatus().Message();
    ExpectBox(*deepBox, {0, 39, 0}, {40, 40, 0});
}

TEST(GeomExtentsNesting, ABlockThatOnlyInsertsItselfSaysSo) {
    auto db = cadtest::Load(cadtest::Dxf({{0, "SECTION"}, {2, "BLOCKS"},
                                          {0, "BLOCK"}, {8, "0"}, {2, "LOOP"}, {70, "0"}, {10, "0"}, {20, "0"},
                                          {30, "0"},
                                          {0, "INSERT"}, {8, "0"}, {2, "LOOP"}, {10, "1"}, {20, "0"}, {30, "0"},
                                          {0, "ENDBLK"}, {8, "0"}, {0, "ENDSEC"},
                                          {0, "SECTION"}, {2, "ENTITIES"},
                                          {0, "INSERT"}, {8, "0"}, {2, "LOOP"}, {10, "0"}, {20, "0"}, {30, "0"},
                                          {0, "ENDSEC"}, {0, "EOF"}}));
    ASSERT_TRUE(db);
    auto box = MeasureTop(*db);
    ASSERT_FALSE(box);
    const std::string message = box.GetStatus().Message();
    EXPECT_NE(message.find("\"LOOP\" refers to itself"), std::string::npos) << message;
}

TEST_F(GeomExtentsTest, ATurnedReferenceKeepsATightBox) {
    // A circle's box turned by 45 degrees would be larger than the turned circle's.
    auto block = db->CreateBlock("RING");
    ASSERT_TRUE(block);
    ASSERT_TRUE(block->AddCircle({2, 0, 0}, 1));
    auto ref = ms.AddBlockReference(*block, {0, 0, 0}, {1, 1, 1}, cad::kPi / 4);
    ASSERT_TRUE(ref);
    const double c = std::sqrt(2.0);
    ExpectBox(Measure(*ref), {c - 1, c - 1, 0}, {c + 1, c + 1, 0});
}

}  // namespace

namespace {

TEST(GeomExtentsOfEach, GivesWhatMeasuringOneByOneGivesForEveryCorpusDrawing) {
    int compared = 0;
    for (const auto& file : std::filesystem::directory_iterator(std::string(VELMAR_CORPUS) + "/dxf")) {
        if (file.path().extension() != ".dxf") continue;
        auto db = cad::Database::Open(file.path().string());
        if (!db) continue;
        SCOPED_TRACE(file.path().filename().string());
        for (const cad::BlockRecord& space : (*db)->Blocks()) {
            if (!space.IsLayout()) continue;
            std::vector<cad::Entity> entities = space.Entities();
            auto together = cad::GeomExtentsOfEach(entities);
            ASSERT_EQ(together.size(), entities.size());
            for (std::size_t i = 0; i < entities.size(); ++i) {
                auto alone = cad::GeomExtents(entities[i]);
                ASSERT_EQ(static_cast<bool>(together[i]), static_cast<bool>(alone)) << entities[i].HandleString();
                if (alone) {
                    ExpectBox(*together[i], alone->Min(), alone->Max());
                    ++compared;
                } else {
                    EXPECT_EQ(together[i].GetStatus().Message(), alone.GetStatus().Message());
                }
            }
        }
    }
    EXPECT_GT(compared, 1000);
}

TEST(GeomExtentsOfEach, ManyReferencesToALongChainMeasureItOnce) {
    // Two thousand references in model space to a chain of two thousand blocks.
    std::string text = cadtest::NestedBlocks(2000, 1);
    const std::string reference = "0\nINSERT\n8\n0\n2\nB0\n10\n0\n20\n0\n30\n0\n";
    std::string many;
    for (int i = 0; i < 2000; ++i) many += reference;
    const std::size_t at = text.rfind(reference);
    ASSERT_NE(at, std::string::npos);
    text.insert(at, many);
    auto db = cadtest::Load(text);
    ASSERT_TRUE(db);
    auto boxes = cad::GeomExtentsOfEach(db->ModelSpace().Entities());
    ASSERT_EQ(boxes.size(), 2001u);
    for (const auto& box : boxes) {
        ASSERT_TRUE(box) << box.GetStatus().Message();
        ExpectBox(*box, {0, 1999, 0}, {1, 2000, 0});
    }
    ExpectBox(cad::SpaceExtents(db->ModelSpace()), {0, 1999, 0}, {1, 2000, 0});
}

}  // namespace
