#include "cad/geometry/Matrix3d.h"

#include <gtest/gtest.h>

#include "GeometryFixtures.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"

namespace {

using cad::Matrix3d;
using cad::Point3;
using geotest::ExpectPoint;

TEST(Matrix3d, IdentityByDefault) {
    EXPECT_TRUE(Matrix3d().IsIdentity());
    ExpectPoint(Matrix3d().Apply({1, 2, 3}), {1, 2, 3});
}

TEST(Matrix3d, RotationAboutAPointKeepsThePoint) {
    Matrix3d r = Matrix3d::Rotation(cad::kPi / 2, {0, 0, 1}, {1, 1, 0});
    ExpectPoint(r.Apply({1, 1, 0}), {1, 1, 0});
    ExpectPoint(r.Apply({2, 1, 0}), {1, 2, 0});
}

TEST(Matrix3d, ScalingAboutAPoint) {
    ExpectPoint(Matrix3d::Scaling(2, {1, 1, 1}).Apply({2, 3, 1}), {3, 5, 1});
}

TEST(Matrix3d, ProductAppliesRightOperandFirst) {
    Matrix3d m = Matrix3d::Translation({10, 0, 0}) * Matrix3d::Scaling(2);
    ExpectPoint(m.Apply({1, 1, 1}), {12, 2, 2});
}

TEST(Matrix3d, InverseRoundTrips) {
    Matrix3d m = Matrix3d::Translation({3, -4, 5}) * Matrix3d::Rotation(0.7, {1, 2, 3}) * Matrix3d::Scaling({2, 3, 4});
    EXPECT_TRUE((m * m.Inverse()).IsIdentity(1e-12));
    EXPECT_TRUE((m.Inverse() * m).IsIdentity(1e-12));
    EXPECT_NEAR(m.Determinant(), 24, 1e-9);
}

TEST(Matrix3d, ArbitraryAxisOfWorldZIsWorldX) {
    ExpectPoint(cad::ArbitraryXAxis({0, 0, 1}), {1, 0, 0});
    EXPECT_TRUE(cad::ObjectToWorld({0, 0, 1}).IsIdentity());
}

TEST(Matrix3d, ArbitraryAxisOfNegativeZMirrorsX) {
    // A normal of (0, 0, -1) is what mirrored 2D entities carry: x runs the other way.
    ExpectPoint(cad::ArbitraryXAxis({0, 0, -1}), {-1, 0, 0});
    ExpectPoint(cad::ObjectToWorld({0, 0, -1}).Apply({1, 2, 3}), {-1, 2, -3});
}

TEST(Matrix3d, ArbitraryAxisAwayFromZUsesWorldZ) {
    // Normal along world x: Ax = Wz x N = (0, 1, 0), Ay = N x Ax = (0, 0, 1).
    ExpectPoint(cad::ArbitraryXAxis({5, 0, 0}), {0, 1, 0});
    ExpectPoint(cad::ObjectToWorld({1, 0, 0}).Apply({1, 2, 3}), {3, 1, 2});
}

TEST(Matrix3d, BlockTransformOrder) {
    // Base point first, then scale, rotation, position.
    Matrix3d m = cad::BlockTransform({10, 20, 0}, {2, 3, 1}, cad::kPi / 2, {0, 0, 1}, {1, 1, 0});
    ExpectPoint(m.Apply({1, 1, 0}), {10, 20, 0});
    ExpectPoint(m.Apply({2, 1, 0}), {10, 22, 0});
    ExpectPoint(m.Apply({1, 2, 0}), {7, 20, 0});
}

TEST(Matrix3d, BlockTransformOfReferenceInDrawing) {
    auto db = geotest::Rooms();
    ASSERT_TRUE(db);
    auto block = db->CreateBlock("B", 1, 0, 0);
    ASSERT_TRUE(block);
    auto ref = db->ModelSpace().AddBlockReference(*block, {5, 5, 0}, {2, 2, 2}, cad::kPi);
    ASSERT_TRUE(ref);
    ExpectPoint(cad::BlockTransform(*ref).Apply({2, 0, 0}), {3, 5, 0});
}

TEST(Matrix3d, NestedReferencesCompose) {
    auto db = geotest::Rooms();
    ASSERT_TRUE(db);
    auto inner = db->CreateBlock("INNER");
    auto outer = db->CreateBlock("OUTER");
    ASSERT_TRUE(inner && outer);
    auto nested = outer->AddBlockReference(*inner, {1, 0, 0}, {1, 1, 1}, cad::kPi / 2);
    auto top = db->ModelSpace().AddBlockReference(*outer, {10, 0, 0}, {3, 3, 3}, 0);
    ASSERT_TRUE(nested && top);
    Matrix3d m = cad::BlockTransform(*top) * cad::BlockTransform(*nested);
    // (1, 0) in INNER turns to (0, 1), moves to (1, 1) in OUTER, scales to (3, 3), lands at (13, 3).
    ExpectPoint(m.Apply({1, 0, 0}), {13, 3, 0});
}

}  // namespace
