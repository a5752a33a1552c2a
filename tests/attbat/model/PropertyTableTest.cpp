#include "attbat/model/PropertyTable.h"

#include <gtest/gtest.h>

namespace attbat {
namespace {

TEST(PropertyTable, HoldsTheNinePropertiesInBitOrder) {
    const AcadAttributeArray& table = PropertyTable();
    ASSERT_EQ(table.GetSize(), 9);
    const char* longNames[] = {"Position X", "Position Y", "Position Z", "Scale X", "Scale Y",
                               "Scale Z", "Rotation", "Layer", "Outer Polygon Area"};
    const char* shortKeys[] = {"PosX", "PosY", "PosZ", "ScaleX", "ScaleY", "ScaleZ",
                               "Rotation", "Layer", "OPArea"};
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(table[i].tag, longNames[i]);
        EXPECT_EQ(table[i].value, shortKeys[i]);
        EXPECT_EQ(table[i].kind, 1 << i);
    }
    EXPECT_EQ(&PropertyTable(), &table);
}

TEST(PropertyTable, BitOfAShortKeyIgnoresCaseAndIsZeroForAnAttribute) {
    EXPECT_EQ(PropertyBitOf("posy"), 2);
    EXPECT_EQ(PropertyBitOf("ROTATION"), 64);
    EXPECT_EQ(PropertyBitOf("OPArea"), 256);
    EXPECT_EQ(PropertyBitOf("Scale Z"), 32);
    EXPECT_EQ(PropertyBitOf("OPLength"), 0);
    EXPECT_EQ(PropertyBitOf("DOOR"), 0);
    EXPECT_EQ(ShortKeyOf("position x"), "PosX");
    EXPECT_EQ(ShortKeyOf("DOOR"), "");
}

TEST(PropertyTable, AreaShortKeyFormsAndTheirReverse) {
    EXPECT_EQ(AreaShortKey(0), "OPArea");
    EXPECT_EQ(AreaShortKey(1), "OPArea.sq.in.");
    EXPECT_EQ(AreaShortKey(2), "OPArea.sq.ft.");
    EXPECT_EQ(AreaShortKey(3), "OPArea.sq.m");
    EXPECT_EQ(AreaShortKey(7), "OPArea");
    EXPECT_EQ(AreaUnitOfShortKey("oparea.SQ.IN."), 1);
    EXPECT_EQ(AreaUnitOfShortKey("OPArea.sq.ft."), 2);
    EXPECT_EQ(AreaUnitOfShortKey("OPArea.sq.m"), 3);
    EXPECT_EQ(AreaUnitOfShortKey("OPArea"), 0);
    EXPECT_EQ(AreaUnitOfShortKey("OPArea.sq.yd."), 0);
}

TEST(PropertyTable, DupNameFromIndexOneOn) {
    EXPECT_EQ(DupName("TAG", 0), "TAG");
    EXPECT_EQ(DupName("TAG", 1), "TAG_Dup(1)");
    EXPECT_EQ(DupName("TAG", 12), "TAG_Dup(12)");
}

}  // namespace
}  // namespace attbat
