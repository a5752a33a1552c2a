#include "cad/geometry/TransformBy.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "GeometryFixtures.h"
#include "cad/BlockRecord.h"
#include "cad/Database.h"

namespace {

using cad::Matrix3d;
using cad::Point3;
using geotest::ExpectPoint;

class TransformByTest : public ::testing::Test {
protected:
    void SetUp() override {
        db = geotest::Rooms();
        ASSERT_TRUE(db);
        auto refs = db->FindBlock("TAG").References();
        ASSERT_EQ(refs.size(), 4u);
        tag = refs[0];  // at (5,4), attribute "1" at (5.6,4), 0.25 high
    }
    void ExpectSameTransform(const Matrix3d& a, const Matrix3d& b) {
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 4; ++c) EXPECT_NEAR(a.At(r, c), b.At(r, c), 1e-9) << r << "," << c;
    }
    std::unique_ptr<cad::Database> db;
    cad::BlockReference tag;
};

TEST_F(TransformByTest, IdentityLeavesEveryByteAlone) {
    std::string before = db->Write();
    ASSERT_TRUE(cad::TransformBy(tag, Matrix3d()));
    ASSERT_TRUE(cad::TransformBy(tag, Matrix3d::Rotation(0, {0, 0, 1}, tag.Position()) * Matrix3d::Scaling(1)));
    EXPECT_FALSE(db->IsModified());
    EXPECT_EQ(db->Write(), before);
}

TEST_F(TransformByTest, RotationAboutNormalThroughPositionTurnsReferenceAndAttributes) {
    ASSERT_TRUE(cad::TransformBy(tag, Matrix3d::Rotation(cad::kPi / 2, tag.Normal(), tag.Position())));
    ExpectPoint(tag.Position(), {5, 4, 0});
    EXPECT_NEAR(tag.Rotation(), cad::kPi / 2, 1e-12);
    ExpectPoint(tag.ScaleFactors(), {1, 1, 1});
    cad::Attribute a = tag.FindAttribute("NO");
    ExpectPoint(a.Position(), {5, 4.6, 0});
    EXPECT_NEAR(a.Rotation(), cad::kPi / 2, 1e-12);
    EXPECT_DOUBLE_EQ(a.Height(), 0.25);
}

TEST_F(TransformByTest, ScaleXOfTwoOnScaleThreeGivesSixAndMovesAwayFromOrigin) {
    auto ref = db->ModelSpace().AddBlockReference(db->FindBlock("TAG"), {2, 1, 0}, {3, 3, 3});
    ASSERT_TRUE(ref);
    ASSERT_TRUE(cad::TransformBy(*ref, Matrix3d::Scaling(2)));
    ExpectPoint(ref->ScaleFactors(), {6, 6, 6});
    ExpectPoint(ref->Position(), {4, 2, 0});
}

TEST_F(TransformByTest, ScalingScalesAttributeHeights) {
    ASSERT_TRUE(cad::TransformBy(tag, Matrix3d::Scaling(2, tag.Position())));
    cad::Attribute a = tag.FindAttribute("NO");
    EXPECT_DOUBLE_EQ(a.Height(), 0.5);
    ExpectPoint(a.Position(), {6.2, 4, 0});
    EXPECT_DOUBLE_EQ(a.GetReal(41, 1), 1);
}

TEST_F(TransformByTest, TranslationMovesAttributesAlong) {
    ASSERT_TRUE(cad::TransformBy(tag, Matrix3d::Translation({10, -1, 0})));
    ExpectPoint(tag.Position(), {15, 3, 0});
    ExpectPoint(tag.FindAttribute("NO").Position(), {15.6, 3, 0});
    EXPECT_DOUBLE_EQ(tag.Rotation(), 0);
}

TEST_F(TransformByTest, RotationScalingTranslationInOneMatrix) {
    Matrix3d before = cad::BlockTransform(tag);
    Matrix3d m = Matrix3d::Translation({1, 2, 0}) * Matrix3d::Scaling(3) *
                 Matrix3d::Rotation(cad::kPi / 6, tag.Normal(), tag.Position());
    ASSERT_TRUE(cad::TransformBy(tag, m));
    ExpectSameTransform(cad::BlockTransform(tag), m * before);
    EXPECT_NEAR(tag.Rotation(), cad::kPi / 6, 1e-12);
    ExpectPoint(tag.ScaleFactors(), {3, 3, 3});
}

TEST_F(TransformByTest, TransformsRoundTrip) {
    Point3 position = tag.Position();
    Point3 attribute = tag.FindAttribute("NO").Position();
    Matrix3d m = Matrix3d::Translation({7, -3, 2}) * Matrix3d::Rotation(1.1, {0, 0, 1}, {1, 1, 0}) *
                 Matrix3d::Scaling(0.5, {3, 3, 0});
    ASSERT_TRUE(cad::TransformBy(tag, m));
    ASSERT_TRUE(cad::TransformBy(tag, m.Inverse()));
    ExpectPoint(tag.Position(), position);
    ExpectPoint(tag.FindAttribute("NO").Position(), attribute);
    ExpectPoint(tag.ScaleFactors(), {1, 1, 1});
    EXPECT_NEAR(std::remainder(tag.Rotation(), 2 * cad::kPi), 0, 1e-12);
    EXPECT_NEAR(tag.FindAttribute("NO").Height(), 0.25, 1e-12);
}

TEST_F(TransformByTest, TurningOutOfThePlaneSetsTheNormal) {
    Matrix3d before = cad::BlockTransform(tag);
    Matrix3d m = Matrix3d::Rotation(cad::kPi / 2, {1, 0, 0});
    ASSERT_TRUE(cad::TransformBy(tag, m));
    ExpectPoint(tag.Normal(), {0, -1, 0});
    ExpectSameTransform(cad::BlockTransform(tag), m * before);
}

TEST_F(TransformByTest, MirroredReferenceKeepsItsNegativeXScale) {
    auto ref = db->ModelSpace().AddBlockReference(db->FindBlock("TAG"), {0, 0, 0}, {-1, 1, 1});
    Matrix3d before = cad::BlockTransform(*ref);
    Matrix3d m = Matrix3d::Rotation(cad::kPi / 2, {0, 0, 1});
    ASSERT_TRUE(cad::TransformBy(*ref, m));
    ExpectPoint(ref->ScaleFactors(), {-1, 1, 1});
    EXPECT_NEAR(ref->Rotation(), cad::kPi / 2, 1e-12);
    ExpectSameTransform(cad::BlockTransform(*ref), m * before);
}

TEST_F(TransformByTest, MirrorMatrixKeepsTheBlockGeometry) {
    Matrix3d before = cad::BlockTransform(tag);
    Matrix3d mirror = Matrix3d::Scaling(Point3{-1, 1, 1});
    ASSERT_TRUE(cad::TransformBy(tag, mirror));
    ExpectSameTransform(cad::BlockTransform(tag), mirror * before);
}

TEST_F(TransformByTest, SingularMatrixFails) {
    std::string before = db->Write();
    EXPECT_FALSE(cad::TransformBy(tag, Matrix3d::Scaling(0)));
    EXPECT_EQ(db->Write(), before);
}

TEST_F(TransformByTest, ChangesSurviveSaveAndReload) {
    ASSERT_TRUE(cad::TransformBy(tag, Matrix3d::Rotation(cad::kPi, {0, 0, 1}, {0, 0, 0})));
    auto again = cad::Database::FromBytes(db->Write(), "again.dxf");
    ASSERT_TRUE(again);
    cad::BlockReference ref((*again).get(), (*again)->ObjectByHandle(tag.GetHandle()).Index());
    ExpectPoint(ref.Position(), {-5, -4, 0});
    EXPECT_NEAR(ref.Rotation(), cad::kPi, 1e-12);
    ExpectPoint(ref.FindAttribute("NO").Position(), {-5.6, -4, 0});
}

}  // namespace

namespace {

TEST(TransformBy, MultiLineAttributeMovesItsEmbeddedText) {
    auto opened = cad::Database::Open(std::string(VELMAR_CORPUS) + "/dxf/acadsharp-sample-ac1032.dxf");
    ASSERT_TRUE(opened) << opened.GetStatus().Message();
    cad::Database& db = **opened;
    cad::Attribute attribute(&db, db.ObjectByHandle(0x79D).Index());
    ASSERT_TRUE(attribute.IsMTextAttribute());
    cad::BlockReference ref(&db, db.ObjectByHandle(0x79C).Index());
    ASSERT_EQ(ref.Type(), "INSERT");
    ASSERT_TRUE(cad::TransformBy(ref, Matrix3d::Translation({10, 0, 0}) * Matrix3d::Scaling(2, {977.2814835151885, 28.7508142234822, 0})));
    // The embedded text sat at the alignment point; it stays there, moved by 10, twice as high.
    cad::TagList tags = attribute.Tags();
    auto embedded = std::find(tags.begin(), tags.end(), cad::Tag{101, "Embedded Object"});
    ASSERT_NE(embedded, tags.end());
    EXPECT_NEAR((embedded + 1)->Real(), 987.2814835151885, 1e-9);
    EXPECT_NEAR((embedded + 2)->Real(), 28.7508142234822, 1e-9);
    EXPECT_NEAR((embedded + 4)->Real(), 2 * 1.720654456209621, 1e-12);
    ExpectPoint(attribute.AlignmentPoint(), {987.2814835151885, 28.7508142234822, 0});
    EXPECT_NEAR(attribute.Height(), 2 * 1.720654456209621, 1e-12);
    // The alignment point the attribute repeats for its multi-line form follows too.
    int seen = 0;
    for (std::size_t i = 0; i < tags.size(); ++i) {
        if (tags[i].code == 11 && ++seen == 2) {
            EXPECT_NEAR(tags[i].Real(), 987.2814835151885, 1e-9);
        }
    }
    EXPECT_EQ(seen, 2);
}

}  // namespace
