#include "attbat/schedules/CountFormula.h"

#include <gtest/gtest.h>

namespace attbat {

TEST(CountFormula, AnEmptyTagWritesBlockCount) {
    EXPECT_EQ(CountFormulaText({"CHAIR", "Walls", "", "red"}), "BlockCount(CHAIR,Walls)");
}

TEST(CountFormula, ATagWritesAttCount) {
    EXPECT_EQ(CountFormulaText({"CHAIR", "", "COLOR", "red"}), "AttCount(CHAIR,,COLOR,red)");
}

TEST(CountFormula, ReadsTheArgumentsTrimmed) {
    auto f = ParseCountFormula("AttCount( CHAIR , *All* ,COLOR, red )");
    ASSERT_TRUE(f);
    EXPECT_EQ(f->blockName, "CHAIR");
    EXPECT_EQ(f->layer, "*All*");
    EXPECT_EQ(f->tag, "COLOR");
    EXPECT_EQ(f->value, "red");
}

TEST(CountFormula, AnEmptyLayerStaysAPiece) {
    auto f = ParseCountFormula("AttCount(CHAIR,,COLOR,red)");
    ASSERT_TRUE(f);
    EXPECT_EQ(f->layer, "");
    EXPECT_EQ(f->tag, "COLOR");
}

TEST(CountFormula, AValueWithACommaIsCutAtTheComma) {
    auto f = ParseCountFormula(CountFormulaText({"CHAIR", "", "COLOR", "red,blue"}));
    ASSERT_TRUE(f);
    EXPECT_EQ(f->value, "red");
}

TEST(CountFormula, TheLastCharacterIsDroppedWhateverItIs) {
    auto f = ParseCountFormula("BlockCount(CHAIR,Walls]");
    ASSERT_TRUE(f);
    EXPECT_EQ(f->layer, "Walls");
    EXPECT_EQ(ParseCountFormula("BlockCount(")->blockName, "");
}

TEST(CountFormula, TheKeywordMustOpenTheText) {
    EXPECT_FALSE(ParseCountFormula("Count: AttCount(CHAIR,,COLOR,red)"));
    EXPECT_FALSE(ParseCountFormula("blockcount(CHAIR,Walls)"));
    EXPECT_FALSE(ParseCountFormula(""));
}

}  // namespace attbat
