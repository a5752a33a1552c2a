// The smallest closed polyline around a block reference, worked out with the geometry layer's
// operations (extents, polyline closed test, vertices, ray cuts, area) on a drawing made for it.
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "GeometryFixtures.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/geometry/GeomExtents.h"
#include "cad/geometry/PolylineShape.h"

namespace {

using cad::Point3;

// The smallest area of a lightweight polyline of the reference's space around the centre of
// its extents; -1 when there is none.
double OuterArea(const cad::BlockReference& ref, const std::vector<cad::Entity>& polygons) {
    double best = -1.0;
    auto box = cad::GeomExtents(ref);
    if (!box) return best;
    Point3 c = box->Center();
    for (const cad::Entity& e : polygons) {
        if (e.Type() != "LWPOLYLINE") continue;
        if (!(e.OwnerBlock() == ref.OwnerBlock())) continue;
        cad::PolylineShape shape = cad::PolylineShape::Of(cad::LwPolyline(e.GetDatabase(), e.Index()));
        if (shape.NumVerts() <= 2 || !shape.IsClosed()) continue;
        auto extents = cad::GeomExtents(e);
        if (!extents || c.x < extents->Min().x || c.x > extents->Max().x || c.y < extents->Min().y ||
            c.y > extents->Max().y)
            continue;
        Point3 v0 = shape.PointAt(0);
        int k = 1;
        while (k < shape.NumVerts() && cad::IsEqualTo(shape.PointAt(k), v0)) ++k;
        if (k == shape.NumVerts()) continue;
        Point3 direction = cad::Normalized(cad::Midpoint(v0, shape.PointAt(k)) - c);
        if (direction == Point3{}) continue;
        if (shape.IntersectWithRay(c, direction).size() % 2 == 0) continue;
        double area = shape.Area();
        if (best < -1e-5 || best - area > 1e-5) best = area;
    }
    return best;
}

class OuterPolygonTest : public ::testing::Test {
protected:
    void SetUp() override {
        db = geotest::Rooms();
        ASSERT_TRUE(db);
        polygons = db->Select({{-4, "<or"}, {0, "LWPOLYLINE"}, {0, "POLYLINE"}, {-4, "or>"}});
        for (const cad::BlockReference& ref : db->FindBlock("TAG").References())
            tags[ref.FindAttribute("NO").TextString()] = ref;
    }
    std::unique_ptr<cad::Database> db;
    std::vector<cad::Entity> polygons;
    std::map<std::string, cad::BlockReference> tags;
};

TEST_F(OuterPolygonTest, TheDrawingHoldsRoomsInBothSpaces) {
    EXPECT_EQ(polygons.size(), 6u);
    EXPECT_EQ(tags.size(), 4u);
}

TEST_F(OuterPolygonTest, TwoNestedRoomsGiveTheInnerArea) { EXPECT_DOUBLE_EQ(OuterArea(tags["1"], polygons), 24); }

TEST_F(OuterPolygonTest, PolygonInAnotherLayoutNeverCounts) {
    // The paper space room (area 1) lies right around tag 1's place.
    int paper = 0;
    for (const cad::Entity& e : polygons)
        if (e.OwnerBlock().IsPaperSpace()) ++paper;
    EXPECT_EQ(paper, 1);
    EXPECT_DOUBLE_EQ(OuterArea(tags["1"], polygons), 24);
}

TEST_F(OuterPolygonTest, OpenPolylineWithMeetingEndsCounts) {
    // Without it the outer room (200) would be the answer.
    EXPECT_DOUBLE_EQ(OuterArea(tags["2"], polygons), 24);
}

TEST_F(OuterPolygonTest, RoundRoomOfTwoBulgedSegmentsHasTooFewVertices) {
    EXPECT_DOUBLE_EQ(OuterArea(tags["3"], polygons), -1.0);
}

TEST_F(OuterPolygonTest, RoundRoomOfFourArcsGivesPiRSquared) {
    // The ray from the tag's centre aims at the middle of the first chord and crosses the
    // first arc once.
    EXPECT_NEAR(OuterArea(tags["4"], polygons), cad::kPi * 9, 1e-9);
}

TEST_F(OuterPolygonTest, NoRoomGivesMinusOne) {
    auto ref = db->ModelSpace().AddBlockReference(db->FindBlock("TAG"), {100, 100, 0});
    ASSERT_TRUE(ref);
    EXPECT_DOUBLE_EQ(OuterArea(*ref, polygons), -1.0);
}

}  // namespace
