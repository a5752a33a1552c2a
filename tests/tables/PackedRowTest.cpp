#include "tables/PackedRow.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace tables {
namespace {

TEST(PackedRow, GivesEachCellAsItWasEmptyOnesAndLongOnesIncluded) {
    const std::string longText(300, 'x');
    const PackedRow row(CStringArrayEx{"a", "", longText, "\xC3\xA9t\xC3\xA9", ""});
    ASSERT_EQ(row.GetSize(), 5);
    EXPECT_EQ(row[0], "a");
    EXPECT_EQ(row[1], "");
    EXPECT_EQ(row[2], longText);
    EXPECT_EQ(row[3], "\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(row[4], "");
}

TEST(PackedRow, TakesTheFirstCellsAskedForAndAllOfThemPastTheirNumber) {
    const CStringArrayEx cells{"a", "bb", "", "d"};
    const PackedRow two(cells, 2);
    ASSERT_EQ(two.GetSize(), 2);
    EXPECT_EQ(two[1], "bb");
    EXPECT_EQ(two[3], "");
    EXPECT_EQ(PackedRow(cells, 0).GetSize(), 0);
    EXPECT_EQ(PackedRow(cells, 9).GetSize(), 4);
    EXPECT_EQ(PackedRow(cells, -1)[3], "d");
}

TEST(PackedRow, ReadsEmptyOutsideItsCells) {
    const PackedRow row(CStringArrayEx{"a", "b"});
    EXPECT_EQ(row[2], "");
    EXPECT_EQ(row[1000], "");
    EXPECT_EQ(row[-1], "");
}

TEST(PackedRow, ARowOfNoCellsHasNoneAndReadsEmpty) {
    const PackedRow made;
    const PackedRow fromNothing{CStringArrayEx{}};
    EXPECT_EQ(made.GetSize(), 0);
    EXPECT_EQ(fromNothing.GetSize(), 0);
    EXPECT_EQ(made[0], "");
}

TEST(PackedRow, ARowOfEmptyCellsKeepsTheirCount) {
    const PackedRow row(CStringArrayEx{"", "", ""});
    EXPECT_EQ(row.GetSize(), 3);
    EXPECT_EQ(row[2], "");
}

TEST(PackedRow, ACopyHoldsItsOwnTextsAndAMoveLeavesNoCells) {
    PackedRow original(CStringArrayEx{"door", "D01"});
    PackedRow copy = original;
    original = PackedRow(CStringArrayEx{"window"});
    EXPECT_EQ(copy.GetSize(), 2);
    EXPECT_EQ(copy[1], "D01");
    PackedRow moved = std::move(copy);
    EXPECT_EQ(moved[0], "door");
    EXPECT_EQ(copy.GetSize(), 0);  // NOLINT(bugprone-use-after-move): a moved row is empty
    copy = moved;
    EXPECT_EQ(copy[0], "door");
    copy = PackedRow();
    EXPECT_EQ(copy.GetSize(), 0);
}

}  // namespace
}  // namespace tables
