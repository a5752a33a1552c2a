#include "cad/geometry/Explode.h"

#include <cmath>

#include <gtest/gtest.h>

#include "GeometryFixtures.h"
#include "cad/BlockRecord.h"
#include "cad/Database.h"
#include "cad/geometry/Matrix3d.h"

namespace {

using cad::BlockReference;
using cad::Entity;
using cad::Point3;
using geotest::ExpectPoint;

constexpr double kQuarter = cad::kPi / 2;

Point3 NormalOf(const Entity& e) {
    return {e.GetReal(210, 0), e.GetReal(220, 0), e.GetReal(230, 1)};
}

// A point of an arc or circle of `e` at `angle` (radians), in world coordinates.
Point3 OnCircle(const Entity& e, double angle) {
    cad::Circle c(e.GetDatabase(), e.Index());
    Point3 p = c.Center() + Point3{std::cos(angle), std::sin(angle), 0} * c.Radius();
    return cad::ObjectToWorld(NormalOf(e)).Apply(p);
}

// A point of an ELLIPSE at parameter `t`, in world coordinates.
Point3 OnEllipse(const Entity& e, double t) {
    Point3 center{e.GetReal(10), e.GetReal(20), e.GetReal(30)};
    Point3 major{e.GetReal(11), e.GetReal(21), e.GetReal(31)};
    Point3 minor = cad::Cross(cad::Normalized(NormalOf(e)), major) * e.GetReal(40);
    return center + major * std::cos(t) + minor * std::sin(t);
}

// The tags of a point: x at `code`, y and z 10 and 20 codes after it.
cad::TagList XYZ(int code, Point3 p) {
    return {cad::RealTag(code, p.x), cad::RealTag(code + 10, p.y), cad::RealTag(code + 20, p.z)};
}

// The tags of `parts` one after the other.
cad::TagList Join(std::initializer_list<cad::TagList> parts) {
    cad::TagList out;
    for (const cad::TagList& part : parts)
        out.insert(out.end(), part.begin(), part.end());
    return out;
}

// The parts block is based at (1, 1): what stands at (1, 1) in it lands on the insertion point.
class ExplodeTest : public ::testing::Test {
protected:
    void SetUp() override {
        db = geotest::Rooms();
        ASSERT_TRUE(db);
        ASSERT_TRUE(db->AddLayer("Walls"));
        ASSERT_TRUE(db->AddLayer("Doors"));
        auto made = db->CreateBlock("Parts", 1, 1, 0);
        ASSERT_TRUE(made);
        parts = *made;
    }
    BlockReference Insert(Point3 at, Point3 scale = {1, 1, 1}, double rotation = 0,
                          std::string_view layer = "Doors") {
        auto ref = db->ModelSpace().AddBlockReference(parts, at, scale, rotation, layer);
        EXPECT_TRUE(ref) << ref.GetStatus().Message();
        return *ref;
    }
    std::vector<Entity> Explode(const BlockReference& ref) {
        auto pieces = cad::ExplodeInto(ref);
        EXPECT_TRUE(pieces) << pieces.GetStatus().Message();
        return pieces ? *pieces : std::vector<Entity>();
    }
    Entity Add(std::string_view type, const cad::TagList& data, std::string_view layer = "0") {
        auto e = parts.AppendEntity(type, layer, data);
        EXPECT_TRUE(e) << e.GetStatus().Message();
        return *e;
    }
    std::unique_ptr<cad::Database> db;
    cad::BlockRecord parts;
};

TEST_F(ExplodeTest, TranslationMovesPiecesByTheInsertionPointLessTheBasePoint) {
    ASSERT_TRUE(parts.AddLine({1, 1, 0}, {2, 1, 0}));
    ASSERT_TRUE(parts.AddCircle({2, 2, 0}, 0.5));
    Add("POINT", Join({{{100, "AcDbPoint"}}, XYZ(10, {1, 2, 0})}));
    auto pieces = Explode(Insert({10, 20, 0}));
    ASSERT_EQ(pieces.size(), 3u);
    cad::Line line(db.get(), pieces[0].Index());
    ExpectPoint(line.Start(), {10, 20, 0});
    ExpectPoint(line.End(), {11, 20, 0});
    ExpectPoint(cad::Circle(db.get(), pieces[1].Index()).Center(), {11, 21, 0});
    EXPECT_DOUBLE_EQ(cad::Circle(db.get(), pieces[1].Index()).Radius(), 0.5);
    ExpectPoint({pieces[2].GetReal(10), pieces[2].GetReal(20), pieces[2].GetReal(30)}, {10, 21, 0});
}

TEST_F(ExplodeTest, RotationTurnsPiecesAboutTheInsertionPoint) {
    ASSERT_TRUE(parts.AddLine({1, 1, 0}, {2, 1, 0}));
    ASSERT_TRUE(parts.AddArc({2, 1, 0}, 1, 0, kQuarter));
    ASSERT_TRUE(parts.AddText({2, 1, 0}, 0.25, "A"));
    auto pieces = Explode(Insert({10, 20, 0}, {1, 1, 1}, kQuarter));
    ASSERT_EQ(pieces.size(), 3u);
    cad::Line line(db.get(), pieces[0].Index());
    ExpectPoint(line.Start(), {10, 20, 0});
    ExpectPoint(line.End(), {10, 21, 0});
    cad::Arc arc(db.get(), pieces[1].Index());
    ExpectPoint(arc.Center(), {10, 21, 0});
    EXPECT_NEAR(arc.StartAngle(), kQuarter, 1e-12);
    EXPECT_NEAR(arc.EndAngle(), 2 * kQuarter, 1e-12);
    cad::Text text(db.get(), pieces[2].Index());
    ExpectPoint(text.Position(), {10, 21, 0});
    EXPECT_NEAR(text.Rotation(), kQuarter, 1e-12);
    EXPECT_DOUBLE_EQ(text.Height(), 0.25);
}

TEST_F(ExplodeTest, UniformScaleScalesSizesAndWidths) {
    ASSERT_TRUE(parts.AddCircle({2, 2, 0}, 0.5));
    ASSERT_TRUE(parts.AddText({1, 1, 0}, 0.25, "A"));
    auto polyline = parts.AddLwPolyline({{1, 1, 0.5, 0.1, 0.1}, {2, 1, 0, 0, 0}}, false);
    ASSERT_TRUE(polyline);
    auto pieces = Explode(Insert({10, 20, 0}, {2, 2, 2}));
    ASSERT_EQ(pieces.size(), 3u);
    cad::Circle circle(db.get(), pieces[0].Index());
    ExpectPoint(circle.Center(), {12, 22, 0});
    EXPECT_DOUBLE_EQ(circle.Radius(), 1);
    EXPECT_DOUBLE_EQ(cad::Text(db.get(), pieces[1].Index()).Height(), 0.5);
    auto points = cad::LwPolyline(db.get(), pieces[2].Index()).Points();
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points[0], (cad::PolylinePoint{10, 20, 0.5, 0.2, 0.2}));
    EXPECT_EQ(points[1], (cad::PolylinePoint{12, 20, 0, 0, 0}));
}

TEST_F(ExplodeTest, NonUniformScaleTurnsCirclesAndArcsIntoEllipses) {
    ASSERT_TRUE(parts.AddCircle({2, 2, 0}, 0.5));
    ASSERT_TRUE(parts.AddArc({2, 1, 0}, 1, 0, kQuarter));
    ASSERT_TRUE(parts.AddLwPolyline({{1, 1}, {2, 2}}, false));
    auto pieces = Explode(Insert({10, 20, 0}, {2, 1, 1}));
    ASSERT_EQ(pieces.size(), 3u);
    ASSERT_EQ(pieces[0].Type(), "ELLIPSE");
    EXPECT_EQ(pieces[0].Subclasses(), (std::vector<std::string>{"AcDbEntity", "AcDbEllipse"}));
    ExpectPoint({pieces[0].GetReal(10), pieces[0].GetReal(20), pieces[0].GetReal(30)}, {12, 21, 0});
    EXPECT_NEAR(std::fabs(pieces[0].GetReal(11)), 1, 1e-12);
    EXPECT_NEAR(pieces[0].GetReal(40), 0.5, 1e-12);
    EXPECT_DOUBLE_EQ(pieces[0].GetReal(42) - pieces[0].GetReal(41), 2 * cad::kPi);
    ASSERT_EQ(pieces[1].Type(), "ELLIPSE");
    // The arc from (3,1) to (2,2) runs from (14,20) to (12,21) through the scaled quarter.
    ExpectPoint(OnEllipse(pieces[1], pieces[1].GetReal(41)), {14, 20, 0});
    ExpectPoint(OnEllipse(pieces[1], pieces[1].GetReal(42)), {12, 21, 0});
    ExpectPoint(OnEllipse(pieces[1], (pieces[1].GetReal(41) + pieces[1].GetReal(42)) / 2),
                {12 + 2 * std::cos(cad::kPi / 4), 20 + std::sin(cad::kPi / 4), 0});
    auto points = cad::LwPolyline(db.get(), pieces[2].Index()).Points();
    EXPECT_EQ(points[1], (cad::PolylinePoint{12, 21}));
}

TEST_F(ExplodeTest, NonUniformScaleRefusesArcsOfPolylinesAndChangesNothing) {
    ASSERT_TRUE(parts.AddLine({1, 1, 0}, {2, 1, 0}));
    auto polyline = parts.AddLwPolyline({{1, 1, 1}, {2, 1}}, false);
    ASSERT_TRUE(polyline);
    BlockReference ref = Insert({10, 20, 0}, {2, 1, 1});
    const std::string before = db->Write();
    const cad::Handle seed = db->HandleSeed();
    auto pieces = cad::ExplodeInto(ref);
    ASSERT_FALSE(pieces);
    const std::string& message = pieces.GetStatus().Message();
    EXPECT_NE(message.find("INSERT " + ref.HandleString()), std::string::npos) << message;
    EXPECT_NE(message.find("LWPOLYLINE " + polyline->HandleString()), std::string::npos) << message;
    EXPECT_EQ(db->Write(), before);
    EXPECT_EQ(db->HandleSeed(), seed);
}

TEST_F(ExplodeTest, NonUniformScaleWidensUprightTextAndRefusesToSlantTurnedText) {
    auto text = parts.AddText({2, 1, 0}, 0.25, "A");
    ASSERT_TRUE(text);
    auto pieces = Explode(Insert({10, 20, 0}, {2, 1, 1}));
    ASSERT_EQ(pieces.size(), 1u);
    cad::Text wide(db.get(), pieces[0].Index());
    ExpectPoint(wide.Position(), {12, 20, 0});
    EXPECT_DOUBLE_EQ(wide.Height(), 0.25);
    EXPECT_DOUBLE_EQ(wide.GetReal(41), 2);
    text->SetRotation(cad::kPi / 4);
    auto refused = cad::ExplodeInto(Insert({10, 20, 0}, {2, 1, 1}));
    ASSERT_FALSE(refused);
    EXPECT_NE(refused.GetStatus().Message().find("slanted"), std::string::npos);
}

TEST_F(ExplodeTest, MirroredScaleTurnsPlanesOverAndKeepsTheShapes) {
    ASSERT_TRUE(parts.AddArc({2, 1, 0}, 1, 0, kQuarter));
    ASSERT_TRUE(parts.AddText({2, 1, 0}, 0.25, "A"));
    ASSERT_TRUE(parts.AddLwPolyline({{1, 1, 1}, {3, 1}}, false));
    auto pieces = Explode(Insert({10, 20, 0}, {-1, 1, 1}));
    ASSERT_EQ(pieces.size(), 3u);
    // The arc from (3,1) to (2,2) about (2,1) lands from (8,20) to (9,21) about (9,20), its plane
    // turned over, its angles still counter-clockwise about its normal.
    ExpectPoint(NormalOf(pieces[0]), {0, 0, -1});
    cad::Arc arc(db.get(), pieces[0].Index());
    ExpectPoint(cad::ObjectToWorld(NormalOf(pieces[0])).Apply(arc.Center()), {9, 20, 0});
    ExpectPoint(OnCircle(pieces[0], arc.StartAngle()), {8, 20, 0});
    ExpectPoint(OnCircle(pieces[0], arc.EndAngle()), {9, 21, 0});
    cad::Text text(db.get(), pieces[1].Index());
    ExpectPoint(NormalOf(pieces[1]), {0, 0, -1});
    ExpectPoint(cad::ObjectToWorld(NormalOf(pieces[1])).Apply(text.Position()), {9, 20, 0});
    // The polyline keeps its bulge in its turned plane: its arc still bulges the same way.
    cad::LwPolyline polyline(db.get(), pieces[2].Index());
    ExpectPoint(NormalOf(pieces[2]), {0, 0, -1});
    EXPECT_DOUBLE_EQ(polyline.Points()[0].bulge, 1);
    cad::Matrix3d toWorld = cad::ObjectToWorld({0, 0, -1});
    ExpectPoint(toWorld.Apply({polyline.Points()[1].x, polyline.Points()[1].y, 0}), {8, 20, 0});
}

TEST_F(ExplodeTest, AnObjectCoordinateSystemCarriesPiecesIntoItsPlane) {
    ASSERT_TRUE(parts.AddLine({1, 1, 0}, {2, 1, 0}));
    ASSERT_TRUE(parts.AddCircle({2, 2, 0}, 0.5));
    BlockReference ref = Insert({0, 0, 0});
    ref.SetReal(210, 1, "AcDbBlockReference");
    ref.SetReal(220, 0, "AcDbBlockReference");
    ref.SetReal(230, 0, "AcDbBlockReference");
    auto pieces = Explode(ref);
    ASSERT_EQ(pieces.size(), 2u);
    // The object x axis of (1,0,0) is world y, its y axis world z.
    cad::Line line(db.get(), pieces[0].Index());
    ExpectPoint(line.Start(), {0, 0, 0});
    ExpectPoint(line.End(), {0, 1, 0});
    ExpectPoint(NormalOf(pieces[1]), {1, 0, 0});
    ExpectPoint(
        cad::ObjectToWorld({1, 0, 0}).Apply(cad::Circle(db.get(), pieces[1].Index()).Center()),
        {0, 1, 1});
    ExpectPoint(OnCircle(pieces[1], 0), {0, 1.5, 1});
}

TEST_F(ExplodeTest, LayerZeroAndByBlockTakeTheReferencesProperties) {
    Add("LINE", Join({{{62, "0"}, {6, "BYBLOCK"}, {370, "-2"}, {100, "AcDbLine"}},
                      XYZ(10, {1, 1, 0}),
                      XYZ(11, {2, 1, 0})}));
    Add("LINE", Join({{{62, "1"}, {100, "AcDbLine"}}, XYZ(10, {1, 1, 0}), XYZ(11, {2, 1, 0})}),
        "Walls");
    BlockReference ref = Insert({0, 0, 0}, {1, 1, 1}, 0, "Doors");
    ref.SetInt(62, 5, "AcDbEntity");
    ref.SetText(6, "Continuous", "AcDbEntity");
    ref.SetInt(370, 50, "AcDbEntity");
    auto pieces = Explode(ref);
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_EQ(pieces[0].LayerName(), "Doors");
    EXPECT_EQ(pieces[0].Color(), 5);
    EXPECT_EQ(pieces[0].GetText(6), "Continuous");
    EXPECT_EQ(pieces[0].GetInt(370), 50);
    EXPECT_EQ(pieces[1].LayerName(), "Walls");
    EXPECT_EQ(pieces[1].Color(), 1);
}

TEST_F(ExplodeTest, AttributeDefinitionsAreLeftOutUnlessAskedForAndAttributesAreNoPieces) {
    ASSERT_TRUE(parts.AddLine({1, 1, 0}, {2, 1, 0}));
    ASSERT_TRUE(parts.AddAttributeDefinition("NO", "Number", "1", {2, 1, 0}, 0.25));
    BlockReference ref = Insert({10, 20, 0});
    ASSERT_EQ(ref.Attributes().size(), 1u);
    auto pieces = Explode(ref);
    ASSERT_EQ(pieces.size(), 1u);
    EXPECT_EQ(pieces[0].Type(), "LINE");
    auto withDefinitions = cad::ExplodeInto(ref, {}, true);
    ASSERT_TRUE(withDefinitions);
    ASSERT_EQ(withDefinitions->size(), 2u);
    cad::AttributeDefinition def(db.get(), (*withDefinitions)[1].Index());
    EXPECT_EQ(def.Tag(), "NO");
    ExpectPoint(def.Position(), {11, 20, 0});
}

TEST_F(ExplodeTest, NestedReferencesStayReferencesTransformed) {
    auto inner = db->CreateBlock("Inner");
    ASSERT_TRUE(inner);
    ASSERT_TRUE(inner->AddLine({0, 0, 0}, {1, 0, 0}));
    ASSERT_TRUE(parts.AddBlockReference(*inner, {2, 1, 0}));
    auto pieces = Explode(Insert({10, 20, 0}, {2, 2, 2}, kQuarter));
    ASSERT_EQ(pieces.size(), 1u);
    ASSERT_EQ(pieces[0].Type(), "INSERT");
    BlockReference nested(db.get(), pieces[0].Index());
    EXPECT_EQ(nested.Block(), *inner);
    ExpectPoint(nested.Position(), {10, 22, 0});
    EXPECT_NEAR(nested.Rotation(), kQuarter, 1e-12);
    ExpectPoint(nested.ScaleFactors(), {2, 2, 2});
}

TEST_F(ExplodeTest, PiecesKeepNamingWhatStaysInTheDrawing) {
    auto anonymous = db->CreateBlock("*U7");
    ASSERT_TRUE(anonymous);
    ASSERT_TRUE(anonymous->AddLine({0, 0, 0}, {1, 0, 0}));
    ASSERT_TRUE(parts.AddBlockReference(*anonymous, {1, 1, 0}));
    auto outside = db->ModelSpace().AddLine({0, 0, 0}, {5, 5, 0});
    ASSERT_TRUE(outside);
    auto line = parts.AddLine({1, 1, 0}, {2, 1, 0});
    ASSERT_TRUE(line);
    ASSERT_TRUE(line->SetXdata("VELMAR_TEST", {{1005, outside->HandleString()}}));
    const std::size_t blocks = db->Blocks().size();
    auto pieces = Explode(Insert({10, 20, 0}));
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_EQ(BlockReference(db.get(), pieces[0].Index()).Block(), *anonymous);
    EXPECT_EQ(db->Blocks().size(), blocks);
    EXPECT_EQ(pieces[1].Xdata("VELMAR_TEST"),
              (cad::TagList{{1001, "VELMAR_TEST"}, {1005, outside->HandleString()}}));
}

TEST_F(ExplodeTest, PolylineVerticesFollowInTheirPlaneOrInTheWorld) {
    auto flat =
        Add("POLYLINE", Join({{{100, "AcDb2dPolyline"}, {66, "1"}}, XYZ(10, {}), {{70, "0"}}}));
    cad::Polyline(db.get(), flat.Index()).AppendVertex({1, 1, 0});
    cad::Polyline(db.get(), flat.Index()).AppendVertex({2, 1, 0}, 0.5);
    auto spatial =
        Add("POLYLINE", Join({{{100, "AcDb3dPolyline"}, {66, "1"}}, XYZ(10, {}), {{70, "8"}}}));
    cad::Polyline(db.get(), spatial.Index()).AppendVertex({1, 1, 3});
    auto pieces = Explode(Insert({10, 20, 0}, {1, 1, 1}, kQuarter));
    ASSERT_EQ(pieces.size(), 2u);
    auto vertices = cad::Polyline(db.get(), pieces[0].Index()).Vertices();
    ASSERT_EQ(vertices.size(), 2u);
    ExpectPoint(vertices[0].Location(), {10, 20, 0});
    ExpectPoint(vertices[1].Location(), {10, 21, 0});
    EXPECT_DOUBLE_EQ(vertices[1].Bulge(), 0.5);
    EXPECT_EQ(vertices[0].OwnerHandle(), pieces[0].GetHandle());
    auto points = cad::Polyline(db.get(), pieces[1].Index()).Vertices();
    ASSERT_EQ(points.size(), 1u);
    ExpectPoint(points[0].Location(), {10, 20, 3});
}

TEST_F(ExplodeTest, EllipsesSplinesSolidsTextAndHatchesFollowARotation) {
    using cad::RealTag;
    Add("ELLIPSE", Join({{{100, "AcDbEllipse"}},
                         XYZ(10, {2, 1, 0}),
                         XYZ(11, {1, 0, 0}),
                         {RealTag(40, 0.5), RealTag(41, 0), RealTag(42, 2 * cad::kPi)}}));
    Add("SPLINE",
        Join({{{100, "AcDbSpline"}, {70, "8"}, {71, "1"}, {72, "4"}, {73, "2"}, {74, "0"}},
              {RealTag(40, 0), RealTag(40, 0), RealTag(40, 1), RealTag(40, 1)},
              XYZ(10, {1, 1, 0}),
              XYZ(10, {2, 1, 0})}));
    Add("SOLID", Join({{{100, "AcDbTrace"}},
                       XYZ(10, {1, 1, 0}),
                       XYZ(11, {2, 1, 0}),
                       XYZ(12, {1, 2, 0}),
                       XYZ(13, {2, 2, 0})}));
    ASSERT_TRUE(parts.AddMText({2, 1, 0}, 0.25, 0, "A"));
    // One boundary of a line and a half circle about (1,1), and a seed at (2,2).
    Add("HATCH",
        Join({{{100, "AcDbHatch"}},
              XYZ(10, {}),
              XYZ(210, {0, 0, 1}),
              {{2, "SOLID"}, {70, "1"}, {71, "0"}, {91, "1"}, {92, "1"}, {93, "2"}},
              {{72, "1"}, RealTag(10, 1), RealTag(20, 1), RealTag(11, 2), RealTag(21, 1)},
              {{72, "2"},
               RealTag(10, 1),
               RealTag(20, 1),
               RealTag(40, 1),
               RealTag(50, 0),
               RealTag(51, 180),
               {73, "1"}},
              {{97, "0"}, {75, "0"}, {76, "1"}, {98, "1"}, RealTag(10, 2), RealTag(20, 2)}}));
    auto pieces = Explode(Insert({10, 20, 0}, {1, 1, 1}, kQuarter));
    ASSERT_EQ(pieces.size(), 5u);
    ExpectPoint(OnEllipse(pieces[0], 0), {10, 22, 0});
    cad::TagList spline = pieces[1].Tags();
    std::vector<double> xs, ys;
    for (const cad::Tag& t : spline) {
        if (t.code == 10)
            xs.push_back(t.Real());
        if (t.code == 20)
            ys.push_back(t.Real());
    }
    EXPECT_EQ(xs, (std::vector<double>{10, 10}));
    EXPECT_EQ(ys, (std::vector<double>{20, 21}));
    ExpectPoint({pieces[2].GetReal(13), pieces[2].GetReal(23), pieces[2].GetReal(33)}, {9, 21, 0});
    cad::MText mtext(db.get(), pieces[3].Index());
    ExpectPoint(mtext.Position(), {10, 21, 0});
    ExpectPoint({pieces[3].GetReal(11), pieces[3].GetReal(21), pieces[3].GetReal(31)}, {0, 1, 0});
    std::vector<double> hatch;
    for (const cad::Tag& t : pieces[4].Tags())
        if (t.code == 10 || t.code == 20 || t.code == 11 || t.code == 21 || t.code == 40 ||
            t.code == 50 || t.code == 51)
            hatch.push_back(t.Real());
    // Elevation point, the line edge, the arc edge (centre, radius, angles) and the seed.
    const std::vector<double> expected{0, 0, 10, 20, 10, 21, 10, 20, 1, 90, 270, 9, 21};
    ASSERT_EQ(hatch.size(), expected.size());
    for (std::size_t k = 0; k < expected.size(); ++k)
        EXPECT_NEAR(hatch[k], expected[k], 1e-12) << k;
}

TEST_F(ExplodeTest, MInsertsExternalReferencesAndBlocksNotExplodableAreRefused) {
    ASSERT_TRUE(parts.AddLine({1, 1, 0}, {2, 1, 0}));
    BlockReference ref = Insert({10, 20, 0});
    parts.Record().SetInt(280, 0);
    auto refused = cad::ExplodeInto(ref);
    ASSERT_FALSE(refused);
    EXPECT_NE(refused.GetStatus().Message().find("not explodable"), std::string::npos);
    parts.Record().SetInt(280, 1);
    ASSERT_TRUE(cad::ExplodeInto(ref));
    auto minsert = db->ModelSpace().AppendEntity(
        "MINSERT", "0",
        {{100, "AcDbBlockReference"}, {2, "Parts"}, {10, "0"}, {20, "0"}, {70, "2"}, {44, "1.0"}});
    ASSERT_TRUE(minsert);
    auto multiple = cad::ExplodeInto(BlockReference(db.get(), minsert->Index()));
    ASSERT_FALSE(multiple);
    EXPECT_NE(multiple.GetStatus().Message().find("MINSERT"), std::string::npos);
    EXPECT_FALSE(cad::ExplodeInto(BlockReference()));
}

TEST_F(ExplodeTest, ExplodingAndErasingLeavesThePiecesInTheReferencesSpace) {
    ASSERT_TRUE(parts.AddLine({1, 1, 0}, {2, 1, 0}));
    auto ref = db->PaperSpace().AddBlockReference(parts, {10, 20, 0});
    ASSERT_TRUE(ref);
    const std::size_t before = db->PaperSpace().Entities().size();
    auto pieces = cad::ExplodeInto(*ref);
    ASSERT_TRUE(pieces);
    ref->Erase();
    ASSERT_EQ(pieces->size(), 1u);
    EXPECT_TRUE((*pieces)[0].IsInPaperSpace());
    EXPECT_EQ((*pieces)[0].OwnerBlock(), db->PaperSpace());
    EXPECT_EQ((*pieces)[0].OwnerHandle(), db->PaperSpace().GetHandle());
    EXPECT_EQ(db->PaperSpace().Entities().size(), before);
    auto reread = cad::Database::FromBytes(db->Write(), "exploded.dxf");
    ASSERT_TRUE(reread);
    std::vector<Entity> entities = (*reread)->PaperSpace().Entities();
    ASSERT_EQ(entities.back().Type(), "LINE");
    ExpectPoint(cad::Line(reread->get(), entities.back().Index()).End(), {11, 20, 0});
}

TEST(ExplodeR12, AnR12DrawingExplodesIntoItsEntitiesSectionAndHasNoEllipses) {
    // A block "B" of a circle, referenced once at (5,5) and once scaled (2,1).
    std::string dxf;
    for (const char* line :
         {"0",  "SECTION", "2",  "HEADER", "9",  "$ACADVER", "1",  "AC1009",  "0",  "ENDSEC",
          "0",  "SECTION", "2",  "BLOCKS", "0",  "BLOCK",    "8",  "0",       "2",  "B",
          "70", "0",       "10", "0.0",    "20", "0.0",      "30", "0.0",     "0",  "CIRCLE",
          "8",  "0",       "10", "1.0",    "20", "0.0",      "30", "0.0",     "40", "1.0",
          "0",  "ENDBLK",  "8",  "0",      "0",  "ENDSEC",   "0",  "SECTION", "2",  "ENTITIES",
          "0",  "INSERT",  "8",  "Doors",  "2",  "B",        "10", "5.0",     "20", "5.0",
          "30", "0.0",     "0",  "INSERT", "8",  "0",        "2",  "B",       "10", "0.0",
          "20", "0.0",     "30", "0.0",    "41", "2.0",      "42", "1.0",     "0",  "ENDSEC",
          "0",  "EOF"}) {
        dxf += line;
        dxf += "\n";
    }
    auto db = cad::Database::FromBytes(dxf, "r12.dxf");
    ASSERT_TRUE(db) << db.GetStatus().Message();
    std::vector<Entity> model = (*db)->ModelSpace().Entities();
    ASSERT_EQ(model.size(), 2u);
    auto pieces = cad::ExplodeInto(BlockReference(db->get(), model[0].Index()));
    ASSERT_TRUE(pieces) << pieces.GetStatus().Message();
    ASSERT_EQ(pieces->size(), 1u);
    ExpectPoint(cad::Circle(db->get(), (*pieces)[0].Index()).Center(), {6, 5, 0});
    EXPECT_EQ((*pieces)[0].LayerName(), "Doors");
    EXPECT_EQ((*db)->ModelSpace().Entities().size(), 3u);
    const std::string before = (*db)->Write();
    auto uneven = cad::ExplodeInto(BlockReference(db->get(), model[1].Index()));
    ASSERT_FALSE(uneven);
    EXPECT_NE(uneven.GetStatus().Message().find("R12"), std::string::npos)
        << uneven.GetStatus().Message();
    EXPECT_EQ((*db)->Write(), before);
}

}  // namespace
