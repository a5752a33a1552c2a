// Lines, circles, arcs and polylines.
#include "cad/Curves.h"

#include <cmath>

#include <gtest/gtest.h>

#include "Fixtures.h"

namespace {

TEST(Curves, LinesCirclesAndArcsAreReadAndMade) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    auto line = db->ModelSpace().AddLine({1, 2, 0}, {3, 4, 5}, "0");
    auto circle = db->ModelSpace().AddCircle({1, 1, 0}, 2.5);
    auto arc = db->ModelSpace().AddArc({0, 0, 0}, 1, 0, std::acos(-1) / 2);
    ASSERT_TRUE(line && circle && arc);
    auto again = cadtest::Reload(*db);
    cad::Line l(again.get(), again->ObjectByHandle(line->GetHandle()).Index());
    EXPECT_EQ(l.Start(), (cad::Point3{1, 2, 0}));
    EXPECT_EQ(l.End(), (cad::Point3{3, 4, 5}));
    cad::Circle c(again.get(), again->ObjectByHandle(circle->GetHandle()).Index());
    EXPECT_EQ(c.Radius(), 2.5);
    cad::Arc a(again.get(), again->ObjectByHandle(arc->GetHandle()).Index());
    EXPECT_NEAR(a.EndAngle(), std::acos(-1) / 2, 1e-12);
    EXPECT_EQ(a.Subclasses(), (std::vector<std::string>{"AcDbEntity", "AcDbCircle", "AcDbArc"}));
    l.SetEnd({9, 9, 0});
    EXPECT_EQ(l.End(), (cad::Point3{9, 9, 0}));
}

TEST(Curves, LightweightPolylinesKeepTheirVertices) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    std::vector<cad::PolylinePoint> points = {{0, 0, 0, 0, 0}, {10, 0, 0.5, 0, 0}, {10, 10, 0, 1, 2}};
    auto pl = db->ModelSpace().AddLwPolyline(points, true, "0");
    ASSERT_TRUE(pl);
    auto again = cadtest::Reload(*db);
    cad::LwPolyline read(again.get(), again->ObjectByHandle(pl->GetHandle()).Index());
    EXPECT_EQ(read.Points(), points);
    EXPECT_TRUE(read.IsClosed());
    EXPECT_EQ(read.GetInt(90), 3);
    read.SetPoints({{1, 1, 0, 0, 0}, {2, 2, 0, 0, 0}});
    read.SetClosed(false);
    EXPECT_EQ(read.Points().size(), 2u);
    EXPECT_FALSE(read.IsClosed());
    EXPECT_EQ(read.GetInt(90), 2);
}

TEST(Curves, OldPolylinesListTheirVertices) {
    auto db = cadtest::Corpus("entities-attribs-ac1009.dxf");
    ASSERT_TRUE(db);
    cad::Polyline pl;
    for (const cad::Entity& e : db->ModelSpace().Entities())
        if (e.Type() == "POLYLINE") pl = cad::Polyline(db.get(), e.Index());
    ASSERT_TRUE(pl);
    std::size_t count = pl.Vertices().size();
    EXPECT_GT(count, 0u);
    EXPECT_EQ(pl.Vertices()[0].Location().x, 5.0);
    pl.AppendVertex({7, 7, 0});
    auto again = cadtest::Reload(*db);
    cad::Polyline read(again.get(), again->ObjectByHandle(pl.GetHandle()).Index());
    EXPECT_EQ(read.Vertices().size(), count + 1);
    EXPECT_EQ(read.Vertices().back().Location(), (cad::Point3{7, 7, 0}));
}

}  // namespace
