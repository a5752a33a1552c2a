#include "tables/CellAddress.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/Ui.h"

namespace tables {
namespace {

TEST(CellAddress, ColumnLettersOneAndTwoLettersAndNoThird) {
    EXPECT_EQ(ColumnLetters(0), "A");
    EXPECT_EQ(ColumnLetters(-5), "A");
    EXPECT_EQ(ColumnLetters(1), "A");
    EXPECT_EQ(ColumnLetters(26), "Z");
    EXPECT_EQ(ColumnLetters(27), "AA");
    EXPECT_EQ(ColumnLetters(52), "AZ");
    EXPECT_EQ(ColumnLetters(53), "BA");
    EXPECT_EQ(ColumnLetters(675), "YY");
    EXPECT_EQ(ColumnLetters(702), "ZZ");
    EXPECT_EQ(ColumnLetters(703), "[A");
}

TEST(CellAddress, ColumnNumberReadsNumbersThenOneOrTwoLetters) {
    EXPECT_EQ(ColumnNumber("AB"), 28);
    EXPECT_EQ(ColumnNumber("ab"), 28);
    EXPECT_EQ(ColumnNumber("3"), 3);
    EXPECT_EQ(ColumnNumber(""), 0);
    EXPECT_EQ(ColumnNumber("ABC"), 28);
    EXPECT_EQ(ColumnNumber("-2"), -2);
    EXPECT_EQ(ColumnNumber(static_cast<const char*>(nullptr)), 0);
}

TEST(CellAddress, ColumnNumberFollowsTheRuntimeNumberReading) {
    EXPECT_EQ(ColumnNumber("  12"), 12);   // leading blanks as atoi takes them
    EXPECT_EQ(ColumnNumber("+7x"), 7);     // a sign, and the rest ignored
    EXPECT_EQ(ColumnNumber("0"), 0);       // not above 0, and no letter first
    EXPECT_EQ(ColumnNumber(" A"), 0);      // the letter test looks at the first character
    EXPECT_EQ(ColumnNumber("z"), 26);
    EXPECT_EQ(ColumnNumber("C3"), 3);      // a second character that is no letter
    EXPECT_EQ(ColumnNumber("zz"), 702);
    EXPECT_EQ(ColumnNumber("99999999999"), 2147483647);
}

TEST(CellAddress, ColumnNumberUndoesColumnLetters) {
    for (int column = 1; column <= 702; ++column)
        EXPECT_EQ(ColumnNumber(ColumnLetters(column)), column) << column;
}

class AbsoluteCellTest : public ::testing::Test {
protected:
    void SetUp() override { host::SetCurrentUi(&ui_); }
    void TearDown() override { host::SetCurrentUi(nullptr); }
    host::RecordingUi ui_;
};

TEST_F(AbsoluteCellTest, OneAndTwoLetterColumns) {
    EXPECT_EQ(AbsoluteCell(7, 3), "$C$7");
    EXPECT_EQ(AbsoluteCell(10, 28), "$AB$10");
    EXPECT_EQ(AbsoluteCell(1048576, 702), "$ZZ$1048576");
    EXPECT_TRUE(ui_.Shown().empty());
}

TEST_F(AbsoluteCellTest, RowOrColumnBelowOneShowsTheBoxAndGivesEmpty) {
    EXPECT_EQ(AbsoluteCell(0, 3), "");
    ASSERT_EQ(ui_.Shown().size(), 1u);
    EXPECT_EQ(ui_.Shown()[0].text, "The row index and column index should be a positive number.");
    EXPECT_EQ(ui_.Shown()[0].title, "Velmar");
    EXPECT_EQ(ui_.Shown()[0].icon, host::BoxIcon::Information);
    EXPECT_EQ(ui_.Shown()[0].buttons, host::BoxButtons::Ok);
    EXPECT_EQ(AbsoluteCell(3, 0), "");
    EXPECT_EQ(AbsoluteCell(-1, -1), "");
    EXPECT_EQ(ui_.Shown().size(), 3u);
}

TEST(CellAddress, ParseFirstAndSecondCellOfARange) {
    int row = 0;
    int column = 0;
    EXPECT_TRUE(ParseFirstCell("$AB$10:$AC$11", row, column));
    EXPECT_EQ(row, 10);
    EXPECT_EQ(column, 28);
    EXPECT_TRUE(ParseSecondCell("$AB$10:$AC$11", row, column));
    EXPECT_EQ(row, 11);
    EXPECT_EQ(column, 29);
}

TEST(CellAddress, ParseFirstCellDoesNotFoldLowerCase) {
    int row = 0;
    int column = 0;
    EXPECT_TRUE(ParseFirstCell("$a$1", row, column));
    EXPECT_EQ(row, 1);
    EXPECT_EQ(column, 33);
}

TEST(CellAddress, ParseFirstCellTakesTwoLettersOfAThreeLetterColumnAndReadsRowZero) {
    int row = -1;
    int column = -1;
    EXPECT_TRUE(ParseFirstCell("$XFD$1", row, column));
    EXPECT_EQ(row, 0);
    EXPECT_EQ(column, 24 * 26 + 6);
}

TEST(CellAddress, ParseFirstCellFailures) {
    int row = -1;
    int column = -1;
    EXPECT_FALSE(ParseFirstCell("", row, column));
    EXPECT_FALSE(ParseFirstCell("A1", row, column));
    EXPECT_EQ(row, -1);
    EXPECT_EQ(column, -1);
    // A letter followed by neither "$" nor a letter: false, the column stays written.
    EXPECT_FALSE(ParseFirstCell("$C7", row, column));
    EXPECT_EQ(column, 3);
    EXPECT_EQ(row, -1);
    // The digit form writes the row and is still false; the column is untouched.
    column = -1;
    EXPECT_FALSE(ParseFirstCell("$5:$9", row, column));
    EXPECT_EQ(row, 5);
    EXPECT_EQ(column, -1);
    row = -1;
    EXPECT_FALSE(ParseFirstCell("$", row, column));
    EXPECT_FALSE(ParseFirstCell("$-", row, column));
    EXPECT_EQ(row, -1);
    EXPECT_EQ(column, -1);
}

TEST(CellAddress, ParseFirstCellStartsAtTheFirstDollar) {
    int row = 0;
    int column = 0;
    EXPECT_TRUE(ParseFirstCell("Sheet1!$D$4", row, column));
    EXPECT_EQ(row, 4);
    EXPECT_EQ(column, 4);
}

TEST(CellAddress, ParseSecondCellNeedsADollarRightAfterTheColon) {
    int row = -1;
    int column = -1;
    EXPECT_FALSE(ParseSecondCell("$A$1:B2", row, column));
    EXPECT_FALSE(ParseSecondCell("$A$1", row, column));
    EXPECT_EQ(row, -1);
    EXPECT_EQ(column, -1);
    EXPECT_TRUE(ParseSecondCell("$A$1:$B$2", row, column));
    EXPECT_EQ(row, 2);
    EXPECT_EQ(column, 2);
}

TEST(CellAddress, IsCellAddressAcceptsCellsAndRangesOfEitherCase) {
    EXPECT_TRUE(IsCellAddress("$A$1"));
    EXPECT_TRUE(IsCellAddress("$a$1"));
    EXPECT_TRUE(IsCellAddress("$AB$10:$AC$11"));
    EXPECT_TRUE(IsCellAddress("$ab$10:$ac$11"));
    EXPECT_TRUE(IsCellAddress("$ZZ$1048576"));
}

TEST(CellAddress, IsCellAddressRejects) {
    EXPECT_FALSE(IsCellAddress(""));
    EXPECT_FALSE(IsCellAddress("A1"));
    EXPECT_FALSE(IsCellAddress("$5"));
    EXPECT_FALSE(IsCellAddress("$3:$5"));
    EXPECT_FALSE(IsCellAddress("$A$0"));
    EXPECT_FALSE(IsCellAddress("$XFD$1"));  // row 0 in the two-letter scan
    EXPECT_FALSE(IsCellAddress("$A1"));
    EXPECT_FALSE(IsCellAddress("$1A$1"));
}

TEST(CellAddress, IsCellAddressJudgesARangeByItsSecondCellOrElseItsFirst) {
    // The second cell fails, so the first one decides.
    EXPECT_TRUE(IsCellAddress("$A$1:B2"));
    EXPECT_TRUE(IsCellAddress("$A$1:$B$0"));
    EXPECT_FALSE(IsCellAddress("$A$0:$B$0"));
}

TEST(CellAddress, ParseCellUpperUpperCasesInPlace) {
    std::string address = "$ab$10:$ac$11";
    int row = 0;
    int column = 0;
    EXPECT_TRUE(ParseCellUpper(address, row, column));
    EXPECT_EQ(address, "$AB$10:$AC$11");
    EXPECT_EQ(row, 10);
    EXPECT_EQ(column, 28);
}

TEST(CellAddress, ParseRowOfCellReadsLettersOrTheEntireRowForm) {
    int row = -1;
    EXPECT_TRUE(ParseRowOfCell("$C$7", row));
    EXPECT_EQ(row, 7);
    EXPECT_TRUE(ParseRowOfCell("$AB$12", row));
    EXPECT_EQ(row, 12);
    EXPECT_TRUE(ParseRowOfCell("$3", row));
    EXPECT_EQ(row, 3);
    EXPECT_TRUE(ParseRowOfCell("$A$0", row));  // the letter forms don't judge the row
    EXPECT_EQ(row, 0);
}

TEST(CellAddress, ParseRowOfCellFailures) {
    int row = -1;
    EXPECT_FALSE(ParseRowOfCell("", row));
    EXPECT_FALSE(ParseRowOfCell("C7", row));
    EXPECT_FALSE(ParseRowOfCell("$C7", row));
    EXPECT_FALSE(ParseRowOfCell("$0", row));
    EXPECT_FALSE(ParseRowOfCell("$", row));
}

TEST(CellAddress, ParseRowSpanOfACellAndOfARange) {
    int first = 0;
    int last = 0;
    EXPECT_TRUE(ParseRowSpan("$B$4", first, last));
    EXPECT_EQ(first, 4);
    EXPECT_EQ(last, 4);
    EXPECT_TRUE(ParseRowSpan("$A$2:$C$9", first, last));
    EXPECT_EQ(first, 2);
    EXPECT_EQ(last, 9);
    EXPECT_TRUE(ParseRowSpan("$3:$5", first, last));
    EXPECT_EQ(first, 3);
    EXPECT_EQ(last, 5);
    EXPECT_FALSE(ParseRowSpan("", first, last));
    EXPECT_FALSE(ParseRowSpan("$A$2:C9", first, last));
    EXPECT_FALSE(ParseRowSpan("C9", first, last));
}

TEST(CellAddress, ParseRowListOfRangesAndCells) {
    std::vector<int> rows;
    EXPECT_TRUE(ParseRowList("$A$2:$C$4,$A$7", rows));
    EXPECT_EQ(rows, (std::vector<int>{2, 3, 4, 7}));
}

TEST(CellAddress, ParseRowListOfEmptyTextIsEmptyAndTrue) {
    std::vector<int> rows{9};
    EXPECT_TRUE(ParseRowList("", rows));
    EXPECT_TRUE(rows.empty());
}

TEST(CellAddress, ParseRowListKeepsOrderAndDuplicatesAndTakesEntireRows) {
    std::vector<int> rows;
    EXPECT_TRUE(ParseRowList("$3:$5 $A$4, $B$1:$B$2", rows));
    EXPECT_EQ(rows, (std::vector<int>{3, 4, 5, 4, 1, 2}));
}

TEST(CellAddress, ParseRowListLeavesOutRowsBelowOneAndReversedRanges) {
    std::vector<int> rows;
    EXPECT_TRUE(ParseRowList("$A$0,$A$5:$A$3,$A$-2:$A$1,$B$6", rows));
    EXPECT_EQ(rows, (std::vector<int>{1, 6}));
}

TEST(CellAddress, ParseRowListStopsAtTheLastWorksheetRow) {
    std::vector<int> rows;
    EXPECT_TRUE(ParseRowList("$1048575:$2147483647", rows));
    EXPECT_EQ(rows, (std::vector<int>{1048575, 1048576}));
    EXPECT_TRUE(ParseRowList("$A$1048577", rows));
    EXPECT_TRUE(rows.empty());
}

TEST(CellAddress, ParseRowListNeedsADollarRightAfterTheColon) {
    std::vector<int> rows;
    EXPECT_FALSE(ParseRowList("$A$2:C4,$A$7,junk", rows));
    EXPECT_EQ(rows, (std::vector<int>{7}));
}

TEST(CellAddress, LeftAndRightOfRangeSplitAtTheFirstColon) {
    EXPECT_EQ(LeftOfRange("$A$1:$B$2"), "$A$1");
    EXPECT_EQ(RightOfRange("$A$1:$B$2"), "$B$2");
    EXPECT_EQ(RightOfRange("$A$1:$B$2:$C$3"), "$B$2:$C$3");
    EXPECT_EQ(LeftOfRange("$A$1"), "");
    EXPECT_EQ(RightOfRange("$A$1"), "");
    EXPECT_EQ(LeftOfRange(":$A$1"), "");
    EXPECT_EQ(RightOfRange(":$A$1"), "");
    EXPECT_EQ(LeftOfRange(""), "");
}

}  // namespace
}  // namespace tables
