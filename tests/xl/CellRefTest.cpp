#include "xl/CellRef.h"

#include <gtest/gtest.h>

namespace {

bool Parses(std::string_view text) {
    int row = 0, column = 0;
    return xl::ParseCell(text, row, column);
}

TEST(CellRefTest, CellsWithDollarsAndEitherCaseParse) {
    int row = 0, column = 0;
    ASSERT_TRUE(xl::ParseCell("$b$3", row, column));
    EXPECT_EQ(row, 3);
    EXPECT_EQ(column, 2);
    ASSERT_TRUE(xl::ParseCell("XFD1048576", row, column));
    EXPECT_EQ(row, 1048576);
    EXPECT_EQ(column, 16384);
}

TEST(CellRefTest, TrailingOrLeadingTextAndCellsOutsideTheSheetAreRefused) {
    for (const char* text :
         {"A1x", "A1:B2", "A1 ", " A1", "A1$", "$$A1", "A$$1", "A", "1", "", "A0", "XFE1",
          "A1048577", "AAAA1", "A+1", "A-1", "A12345678", "\xC3\x80" "1"})
        EXPECT_FALSE(Parses(text)) << text;
}

TEST(CellRefTest, SheetXmlNamesRefuseDollarsButReadLowerCase) {
    int row = 0, column = 0;
    EXPECT_FALSE(xl::ParseCellName("$A$1", row, column));
    EXPECT_FALSE(xl::ParseCellName("A1:A2", row, column));
    ASSERT_TRUE(xl::ParseCellName("ab12", row, column));
    EXPECT_EQ(row, 12);
    EXPECT_EQ(column, 28);
}

TEST(CellRefTest, RowNumbersAreDigitsOnlyWithinTheSheet) {
    int row = 0;
    ASSERT_TRUE(xl::ParseRowNumber("1048576", row));
    EXPECT_EQ(row, 1048576);
    for (const char* text : {"0", "1048577", "2x", " 2", "+2", "-2", "", "99999999999"})
        EXPECT_FALSE(xl::ParseRowNumber(text, row)) << text;
}

TEST(CellRefTest, RangesRefuseExtraParts) {
    EXPECT_TRUE(xl::ParseRange("B2:A1").IsValid());
    EXPECT_EQ(xl::ParseRange("B2:A1"), (xl::CellRange{1, 1, 2, 2}));
    for (const char* text : {"A1:", ":A1", "A1:B2:C3", "A1:B2 ", "A1::B2"})
        EXPECT_FALSE(xl::ParseRange(text).IsValid()) << text;
}

}  // namespace
