#include "cad/GroupCode.h"

#include <gtest/gtest.h>

namespace {

using cad::PointerKind;
using cad::PointerKindOfCode;

TEST(GroupCode, PointerKindsFollowTheRangesOfTheFormat) {
    EXPECT_EQ(PointerKindOfCode(320), PointerKind::Arbitrary);
    EXPECT_EQ(PointerKindOfCode(329), PointerKind::Arbitrary);
    EXPECT_EQ(PointerKindOfCode(330), PointerKind::SoftPointer);
    EXPECT_EQ(PointerKindOfCode(331), PointerKind::SoftPointer);
    EXPECT_EQ(PointerKindOfCode(340), PointerKind::HardPointer);
    EXPECT_EQ(PointerKindOfCode(347), PointerKind::HardPointer);
    EXPECT_EQ(PointerKindOfCode(350), PointerKind::SoftOwner);
    EXPECT_EQ(PointerKindOfCode(360), PointerKind::HardOwner);
    EXPECT_EQ(PointerKindOfCode(369), PointerKind::HardOwner);
    EXPECT_EQ(PointerKindOfCode(390), PointerKind::HardPointer);
    EXPECT_EQ(PointerKindOfCode(480), PointerKind::HardPointer);
    EXPECT_EQ(PointerKindOfCode(481), PointerKind::HardPointer);
    EXPECT_EQ(PointerKindOfCode(1005), PointerKind::SoftPointer);
}

TEST(GroupCode, TheObjectsOwnHandleAndOtherCodesAreNoPointers) {
    for (int code : {0, 5, 105, 310, 319, 370, 389, 400, 482, 1004, 1006, -1})
        EXPECT_EQ(PointerKindOfCode(code), PointerKind::None) << code;
    EXPECT_FALSE(cad::IsPointerCode(5));
    EXPECT_TRUE(cad::IsPointerCode(320));
    EXPECT_TRUE(cad::IsPointerCode(1005));
}

}  // namespace
