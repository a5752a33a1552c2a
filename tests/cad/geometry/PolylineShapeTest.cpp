#include "cad/geometry/PolylineShape.h"

#include <cmath>

#include <gtest/gtest.h>

#include "GeometryFixtures.h"
#include "cad/BlockRecord.h"

namespace {

using cad::PolylineShape;
using cad::Point3;
using geotest::ExpectPoint;

PolylineShape Square(bool closed = true) { return PolylineShape({{0, 0}, {10, 0}, {10, 10}, {0, 10}}, closed); }

TEST(PolylineShape, VertexCountAndPoints) {
    PolylineShape s = Square();
    EXPECT_EQ(s.NumVerts(), 4);
    ExpectPoint(s.PointAt(2), {10, 10, 0});
    ExpectPoint(s.PointAt(9), {0, 0, 0});
}

TEST(PolylineShape, PointAtHonoursElevationAndNormal) {
    PolylineShape s({{1, 2}}, false, 5, {0, 0, -1});
    ExpectPoint(s.PointAt(0), {-1, 2, -5});
}

TEST(PolylineShape, ClosedByFlagOrMeetingEnds) {
    EXPECT_TRUE(Square(true).IsClosed());
    EXPECT_FALSE(Square(false).IsClosed());
    PolylineShape meeting({{0, 0}, {10, 0}, {10, 10}, {1e-11, 0}}, false);
    EXPECT_TRUE(meeting.IsClosed());
    EXPECT_FALSE(meeting.IsClosedFlag());
    PolylineShape apart({{0, 0}, {10, 0}, {10, 10}, {1e-3, 0}}, false);
    EXPECT_FALSE(apart.IsClosed());
    EXPECT_TRUE(apart.IsClosed(1e-2));
}

TEST(PolylineShape, AreaIsPositiveWhateverTheDirection) {
    EXPECT_DOUBLE_EQ(Square().Area(), 100);
    PolylineShape clockwise({{0, 10}, {10, 10}, {10, 0}, {0, 0}}, true);
    EXPECT_DOUBLE_EQ(clockwise.Area(), 100);
}

TEST(PolylineShape, OpenPolylineAreaIsMeasuredAsIfClosed) { EXPECT_DOUBLE_EQ(Square(false).Area(), 100); }

TEST(PolylineShape, CircleOfTwoBulgedSegmentsHasAreaPiRSquared) {
    PolylineShape circle({{-3, 0, 1}, {3, 0, 1}}, true);
    EXPECT_NEAR(circle.Area(), cad::kPi * 9, 1e-12);
    PolylineShape clockwise({{-3, 0, -1}, {3, 0, -1}}, true);
    EXPECT_NEAR(clockwise.Area(), cad::kPi * 9, 1e-12);
}

TEST(PolylineShape, BulgesAddOutwardAndTakeInward) {
    // A 2 x 2 square whose top edge bulges out by a half circle of radius 1, then in.
    PolylineShape out({{0, 0}, {2, 0}, {2, 2, 1}, {0, 2}}, true);
    EXPECT_NEAR(out.Area(), 4 + cad::kPi / 2, 1e-12);
    PolylineShape in({{0, 0}, {2, 0}, {2, 2, -1}, {0, 2}}, true);
    EXPECT_NEAR(in.Area(), 4 - cad::kPi / 2, 1e-12);
}

TEST(PolylineShape, LastBulgeOfOpenPolylineIsIgnored) {
    PolylineShape open({{0, 0}, {2, 0}, {2, 2}, {0, 2, 1}}, false);
    EXPECT_DOUBLE_EQ(open.Area(), 4);
}

TEST(PolylineShape, RayFromInsideCrossesOnce) {
    auto hits = Square().IntersectWithRay({5, 5, 0}, {1, 0, 0});
    ASSERT_EQ(hits.size(), 1u);
    ExpectPoint(hits[0], {10, 5, 0});
}

TEST(PolylineShape, RayFromOutsideCrossesTwiceOrNever) {
    EXPECT_EQ(Square().IntersectWithRay({-5, 5, 0}, {1, 0, 0}).size(), 2u);
    EXPECT_EQ(Square().IntersectWithRay({-5, 5, 0}, {-1, 0, 0}).size(), 0u);
}

TEST(PolylineShape, RayThroughAVertexCountsItOnce) {
    auto hits = Square().IntersectWithRay({5, 5, 0}, {1, 1, 0});
    ASSERT_EQ(hits.size(), 1u);
    ExpectPoint(hits[0], {10, 10, 0});
}

TEST(PolylineShape, RayStopsAtItsOrigin) {
    // Bounded on both operands: the edge at x = 0 lies behind the origin.
    EXPECT_EQ(Square().IntersectWithRay({5, 5, 0}, {-1, 0, 0}).size(), 1u);
    // An open polyline has no closing edge to cross.
    EXPECT_EQ(Square(false).IntersectWithRay({5, 5, 0}, {-1, 0, 0}).size(), 0u);
}

TEST(PolylineShape, RayThroughArcSegment) {
    PolylineShape circle({{-3, 0, 1}, {3, 0, 1}}, true);
    auto hits = circle.IntersectWithRay({0, 0, 0}, {0, 1, 0});
    ASSERT_EQ(hits.size(), 1u);
    ExpectPoint(hits[0], {0, 3, 0});
    EXPECT_EQ(circle.IntersectWithRay({0, -10, 0}, {0, 1, 0}).size(), 2u);
}

TEST(PolylineShape, RayTangentToArcCountsOnce) {
    PolylineShape circle({{-3, 0, 1}, {3, 0, 1}}, true);
    auto hits = circle.IntersectWithRay({-10, 3, 0}, {1, 0, 0});
    ASSERT_EQ(hits.size(), 1u);
    ExpectPoint(hits[0], {0, 3, 0}, 1e-6);
}

TEST(PolylineShape, RayMissesTheOtherSideOfAnArc) {
    // Only the upper half circle: a ray downwards from the centre meets nothing.
    PolylineShape half({{3, 0, 1}, {-3, 0}}, false);
    EXPECT_EQ(half.IntersectWithRay({0, 0, 0}, {0, -1, 0}).size(), 0u);
    EXPECT_EQ(half.IntersectWithRay({0, 0, 0}, {0, 1, 0}).size(), 1u);
}

TEST(PolylineShape, RayOutOfThePlaneMeetsItOnceAtMost) {
    auto hits = Square().IntersectWithRay({10, 5, 5}, {0, 0, -1});
    ASSERT_EQ(hits.size(), 1u);
    ExpectPoint(hits[0], {10, 5, 0});
    EXPECT_EQ(Square().IntersectWithRay({5, 5, 5}, {0, 0, -1}).size(), 0u);
    EXPECT_EQ(Square().IntersectWithRay({5, 5, 5}, {1, 0, 0}).size(), 0u);
}

TEST(PolylineShape, ZeroDirectionGivesNothing) { EXPECT_TRUE(Square().IntersectWithRay({5, 5, 0}, {}).empty()); }

TEST(PolylineShape, ReadsAnLwPolylineOfTheDrawing) {
    auto db = geotest::Rooms();
    ASSERT_TRUE(db);
    auto pl = db->ModelSpace().AddLwPolyline({{0, 0}, {4, 0}, {4, 3}}, true);
    ASSERT_TRUE(pl);
    PolylineShape s = PolylineShape::Of(*pl);
    EXPECT_EQ(s.NumVerts(), 3);
    EXPECT_TRUE(s.IsClosedFlag());
    EXPECT_DOUBLE_EQ(s.Area(), 6);
}

}  // namespace
