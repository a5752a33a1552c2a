#include "attbat/model/OuterPolygon.h"

#include "ReaderFixture.h"
#include "attbat/model/AcadDatabase.h"

namespace {

using attbat::AcadBlockArray;

class OuterPolygonTest : public ReaderTest {
protected:
    ~OuterPolygonTest() override { attbat::calcOuterPolygon = 0; }
    // Area of the ROOMTAG row whose NAME is `name`.
    double AreaOf(const AcadBlockArray& blocks, const std::string& name) {
        for (const auto& block : blocks)
            for (const auto& row : block.refs)
                if (row.attributes.Get("NAME", 0) == name) return row.outerArea;
        ADD_FAILURE() << "no row " << name;
        return 0;
    }
    AcadBlockArray Read() {
        AcadBlockArray blocks;
        EXPECT_TRUE(attbat::ReadDrawing(blocks, ReaderData("polygons.dxf"), nullptr).IsOk());
        return blocks;
    }
};

TEST_F(OuterPolygonTest, TwoNestedRoomsReportTheInnerOnesArea) {
    attbat::calcOuterPolygon = 1;
    EXPECT_NEAR(AreaOf(Read(), "inner"), 1600.0, 1e-9);
}

TEST_F(OuterPolygonTest, PolygonInAnotherLayoutNeverCounts) {
    attbat::calcOuterPolygon = 1;
    EXPECT_EQ(AreaOf(Read(), "alone"), -1.0);
}

TEST_F(OuterPolygonTest, OpenPolylineWhoseEndsMeetCounts) {
    attbat::calcOuterPolygon = 1;
    EXPECT_NEAR(AreaOf(Read(), "open"), 200.0, 1e-9);
}

TEST_F(OuterPolygonTest, WithTheSwitchOffTheAreaIsMinusOne) {
    attbat::calcOuterPolygon = 0;
    AcadBlockArray blocks = Read();
    EXPECT_EQ(AreaOf(blocks, "inner"), -1.0);
    EXPECT_EQ(AreaOf(blocks, "open"), -1.0);
}

TEST_F(OuterPolygonTest, OuterAreaOfGathersForItself) {
    auto db = host::ReadSideDatabase(ReaderData("polygons.dxf"));
    ASSERT_TRUE(db);
    auto refs = db.Value()->FindBlock("ROOMTAG").References();
    ASSERT_FALSE(refs.empty());
    EXPECT_EQ(attbat::OuterAreaOf(refs[0], nullptr, 0), -1.0);
    attbat::calcOuterPolygon = 1;
    EXPECT_NEAR(attbat::OuterAreaOf(refs[0], nullptr, 0), 1600.0, 1e-9);
    EXPECT_EQ(attbat::OuterArea(refs[0], nullptr, 0, {}), -1.0);
}

}  // namespace
