#include "cad/DrawOrder.h"

#include <gtest/gtest.h>

#include "CloneFixtures.h"

namespace {

using clonetest::Types;

TEST(DrawOrder, SortHandlesOrderTheEntities) {
    auto db = cadtest::Load(clonetest::Source("AC1032"));
    cad::BlockRecord door = db->FindBlock("Door");
    EXPECT_EQ(cad::DrawOrderPairs(door),
              (std::vector<std::pair<cad::Handle, cad::Handle>>{{0x32, 0x38}, {0x38, 0x32}}));
    EXPECT_EQ(Types(cad::EntitiesInDrawOrder(door)),
              (std::vector<std::string>{"CIRCLE", "TEXT", "INSERT", "INSERT", "LINE"}));
    EXPECT_EQ(Types(cad::EntitiesInDrawOrder(db->ModelSpace())),
              (std::vector<std::string>{"LINE", "INSERT"}));
}

TEST(DrawOrder, WithoutATableTheFileOrderIsTheDrawOrder) {
    auto db = cadtest::Load(clonetest::Source("AC1032"));
    EXPECT_TRUE(cad::DrawOrderPairs(db->FindBlock("Knob")).empty());
    EXPECT_EQ(Types(cad::EntitiesInDrawOrder(db->FindBlock("Knob"))),
              (std::vector<std::string>{"CIRCLE", "ATTDEF"}));
    auto r12 = cadtest::Load(cadtest::R12Drawing());
    EXPECT_EQ(Types(cad::EntitiesInDrawOrder(r12->ModelSpace())),
              (std::vector<std::string>{"LINE", "INSERT"}));
    EXPECT_TRUE(cad::EntitiesInDrawOrder(cad::BlockRecord()).empty());
}

}  // namespace
