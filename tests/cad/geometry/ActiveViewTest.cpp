#include "cad/geometry/ActiveView.h"

#include <gtest/gtest.h>

#include "GeometryFixtures.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/SymbolRecord.h"
#include "cad/geometry/GeomExtents.h"

namespace {

cad::Viewport Active(cad::Database& db) {
    cad::SymbolRecord r = db.ActiveViewport();
    return cad::Viewport(r.GetDatabase(), r.Index());
}

TEST(ActiveView, ZoomsOnTheExtentsOfAnEntity) {
    auto db = geotest::Rooms();
    ASSERT_TRUE(db);
    auto tag = db->FindBlock("TAG").References()[0];
    auto box = cad::GeomExtents(tag);
    ASSERT_TRUE(box);
    ASSERT_TRUE(cad::SetActiveView(*db, *box));
    auto again = cad::Database::FromBytes(db->Write(), "again.dxf");
    ASSERT_TRUE(again);
    cad::Viewport view = Active(**again);
    EXPECT_DOUBLE_EQ(view.CenterX(), 5.175);
    EXPECT_DOUBLE_EQ(view.CenterY(), 4);
    EXPECT_DOUBLE_EQ(view.Height(), 1);
    EXPECT_DOUBLE_EQ(view.GetReal(41), 1.35);
    EXPECT_DOUBLE_EQ(view.GetReal(36), 1);
    EXPECT_DOUBLE_EQ(view.GetReal(51), 0);
}

TEST(ActiveView, PointLikeEntityKeepsHeightAndAspect) {
    auto db = geotest::Rooms();
    ASSERT_TRUE(db);
    double height = Active(*db).Height(), aspect = Active(*db).GetReal(41, 1);
    ASSERT_TRUE(cad::SetActiveView(*db, cad::Extents3d({3, 4, 0}, {3, 4, 0})));
    EXPECT_DOUBLE_EQ(Active(*db).CenterX(), 3);
    EXPECT_DOUBLE_EQ(Active(*db).CenterY(), 4);
    EXPECT_DOUBLE_EQ(Active(*db).Height(), height);
    EXPECT_DOUBLE_EQ(Active(*db).GetReal(41, 1), aspect);
}

TEST(ActiveView, SameViewWritesNothing) {
    auto db = geotest::Rooms();
    ASSERT_TRUE(db);
    cad::Viewport view = Active(*db);
    double x = view.CenterX(), y = view.CenterY(), h = view.Height(), w = view.GetReal(41, 1) * h;
    std::string before = db->Write();
    ASSERT_TRUE(cad::SetActiveView(*db, {x, y, 0}, w, h));
    EXPECT_EQ(db->Write(), before);
}

TEST(ActiveView, EmptyExtentsFail) {
    auto db = geotest::Rooms();
    ASSERT_TRUE(db);
    EXPECT_FALSE(cad::SetActiveView(*db, cad::Extents3d()));
}

TEST(ActiveView, R12HeaderFollows) {
    auto db = cad::Database::Open(std::string(VELMAR_CORPUS) + "/dxf/entities-attribs-ac1009.dxf");
    ASSERT_TRUE(db) << db.GetStatus().Message();
    if (!(*db)->ActiveViewport()) GTEST_SKIP() << "no active viewport in this file";
    ASSERT_TRUE(cad::SetActiveView(**db, {10, 20, 0}, 8, 4));
    if (!(*db)->Header("$VIEWCTR").empty()) {
        EXPECT_DOUBLE_EQ((*db)->Header("$VIEWCTR")[0].Real(), 10);
        EXPECT_DOUBLE_EQ((*db)->Header("$VIEWCTR")[1].Real(), 20);
    }
    EXPECT_DOUBLE_EQ(Active(**db).Height(), 4);
}

}  // namespace
