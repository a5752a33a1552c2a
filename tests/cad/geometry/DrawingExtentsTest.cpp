#include "cad/geometry/DrawingExtents.h"

#include <cmath>

#include <gtest/gtest.h>

#include "GeometryFixtures.h"
#include "cad/SymbolRecord.h"

namespace {

using geotest::ExpectBox;

TEST(DrawingExtents, ModelSpaceOfTheRooms) {
    auto db = geotest::Rooms();
    ASSERT_TRUE(db);
    // The rooms reach from (0,0) to (43,10); the tags' values stay inside.
    ExpectBox(cad::SpaceExtents(db->ModelSpace()), {0, 0, 0}, {43, 10, 0});
}

TEST(DrawingExtents, FrozenAndInvisibleLeftOutOffKept) {
    auto db = geotest::Rooms();
    ASSERT_TRUE(db);
    ASSERT_TRUE(db->AddLayer("FROZEN"));
    ASSERT_TRUE(db->AddLayer("OFF"));
    db->FindLayer("FROZEN").SetFrozen(true);
    db->FindLayer("OFF").SetOff(true);
    ASSERT_TRUE(db->ModelSpace().AddLine({0, 0, 0}, {100, 0, 0}, "FROZEN"));
    auto hidden = db->ModelSpace().AddLine({0, 0, 0}, {0, -100, 0});
    hidden->SetVisible(false);
    ASSERT_TRUE(db->ModelSpace().AddLine({0, 0, 0}, {0, 50, 0}, "OFF"));
    ExpectBox(cad::SpaceExtents(db->ModelSpace()), {0, 0, 0}, {43, 50, 0});
}

TEST(DrawingExtents, PaperSpaceHasItsOwn) {
    auto db = geotest::Rooms();
    ASSERT_TRUE(db);
    cad::BlockRecord layout;
    for (const cad::BlockRecord& b : db->Blocks())
        if (b.IsPaperSpace() && !b.Entities().empty()) layout = b;
    ASSERT_TRUE(layout);
    ExpectBox(cad::SpaceExtents(layout), {4.5, 3.5, 0}, {5.5, 4.5, 0});
}

TEST(DrawingExtents, UpdateWritesHeaderOnce) {
    auto db = geotest::Rooms();
    ASSERT_TRUE(db);
    ASSERT_TRUE(cad::UpdateExtents(*db));
    cad::TagList lo = db->Header("$EXTMIN"), hi = db->Header("$EXTMAX");
    ASSERT_EQ(lo.size(), 3u);
    ASSERT_EQ(hi.size(), 3u);
    EXPECT_DOUBLE_EQ(lo[0].Real(), 0);
    EXPECT_DOUBLE_EQ(hi[0].Real(), 43);
    EXPECT_DOUBLE_EQ(hi[1].Real(), 10);
    std::string once = db->Write();
    ASSERT_TRUE(cad::UpdateExtents(*db));
    EXPECT_EQ(db->Write(), once);
}

TEST(DrawingExtents, EmptyDrawingGetsEmptyExtents) {
    auto db = geotest::Rooms();
    ASSERT_TRUE(db);
    for (cad::Entity e : db->ModelSpace().Entities()) e.Erase();
    EXPECT_FALSE(cad::SpaceExtents(db->ModelSpace()).IsValid());
    ASSERT_TRUE(cad::UpdateExtents(*db));
    EXPECT_DOUBLE_EQ(db->Header("$EXTMIN")[0].Real(), 1e20);
    EXPECT_DOUBLE_EQ(db->Header("$EXTMAX")[0].Real(), -1e20);
}

TEST(Extents3d, TransformByTakesTheEightCorners) {
    cad::Extents3d box({0, 0, 0}, {2, 2, 0});
    box.TransformBy(cad::Matrix3d::Rotation(cad::kPi / 4, {0, 0, 1}));
    double r = std::sqrt(2.0);
    ExpectBox(box, {-r, 0, 0}, {r, 2 * r, 0});
    cad::Extents3d empty;
    empty.TransformBy(cad::Matrix3d::Translation({1, 1, 1}));
    EXPECT_FALSE(empty.IsValid());
}

TEST(Extents3d, EllipticArcThroughTransform) {
    // A unit quarter circle scaled by 2 in x is a quarter ellipse.
    cad::Extents3d box;
    box.AddEllipticArc(cad::Matrix3d::Scaling(cad::Point3{2, 1, 1}), {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, 0, cad::kPi / 2);
    ExpectBox(box, {0, 0, 0}, {2, 1, 0});
}

}  // namespace
