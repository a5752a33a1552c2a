#include "attbat/model/CadDrawingContext.h"

#include "ReaderFixture.h"
#include "attbat/model/AcadDatabase.h"
#include "host/WorkingDatabase.h"

namespace {

class CadDrawingContextTest : public ReaderTest {};

TEST_F(CadDrawingContextTest, WithoutADrawingThereIsNoSpaceAndANewDrawingsUnits) {
    attbat::CadDrawingContext context;
    EXPECT_EQ(context.CurrentSpaceId(), 0u);
    EXPECT_EQ(context.LinearUnits(), 2);
    EXPECT_EQ(context.DistanceText(1.5, -1, -1), "1.5000");
}

TEST_F(CadDrawingContextTest, CurrentSpaceIsTheOneRowsCountIn) {
    auto doc = host::DocumentManager::Instance().OpenCurrent(Copy(ReaderData("nested.dxf")));
    ASSERT_TRUE(doc);
    attbat::CadDrawingContext context;
    attbat::AcadBlockArray blocks;
    ASSERT_TRUE(attbat::ReadDrawing(blocks, "", nullptr).IsOk());
    const attbat::AcadBlock* outer = blocks.FindByName("OUTER");
    ASSERT_NE(outer, nullptr);
    ASSERT_FALSE(outer->refs.IsEmpty());
    EXPECT_EQ(context.CurrentSpaceId(), outer->refs[0].ownerId);
    EXPECT_EQ(context.AngleText(0, 0, 0), "0");
}

TEST_F(CadDrawingContextTest, FollowsTheWorkingDatabase) {
    auto side = host::ReadSideDatabase(ReaderData("writer.dxf"));
    ASSERT_TRUE(side);
    attbat::CadDrawingContext context;
    host::ScopedWorkingDatabase working(side.Value().get());
    EXPECT_NE(context.CurrentSpaceId(), 0u);
    EXPECT_EQ(context.DistanceText(1.5, -1, -1), "1.5");
}

}  // namespace
