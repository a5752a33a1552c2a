#include "xl/FormulaRefs.h"

#include <gtest/gtest.h>

namespace {

xl::RowShift Insert(int row, int count) { return xl::RowShift{row, count, true, 1, xl::kMaxColumn}; }
xl::RowShift Delete(int row, int count) { return xl::RowShift{row, count, false, 1, xl::kMaxColumn}; }

TEST(FormulaRefs, InsertedRowsMoveReferencesBelow) {
    EXPECT_EQ(xl::ShiftFormula("A1+A5", Insert(3, 2), "S", true), "A1+A7");
    EXPECT_EQ(xl::ShiftFormula("SUM($B$2:B10)", Insert(5, 1), "S", true), "SUM($B$2:B11)");
    EXPECT_EQ(xl::ShiftFormula("SUM(3:4)", Insert(1, 1), "S", true), "SUM(4:5)");
    EXPECT_EQ(xl::ShiftFormula("SUM(A:A)", Insert(1, 1), "S", true), "SUM(A:A)");
}

TEST(FormulaRefs, DeletedReferenceBecomesRefError) {
    EXPECT_EQ(xl::ShiftFormula("A3*2", Delete(3, 1), "S", true), "#REF!*2");
    EXPECT_EQ(xl::ShiftFormula("A4*2", Delete(3, 1), "S", true), "A3*2");
    EXPECT_EQ(xl::ShiftFormula("SUM(A2:A5)", Delete(3, 2), "S", true), "SUM(A2:A3)");
    EXPECT_EQ(xl::ShiftFormula("SUM(A3:A4)", Delete(3, 2), "S", true), "SUM(#REF!)");
    EXPECT_EQ(xl::ShiftFormula("S!A3", Delete(3, 1), "S", false), "#REF!");
}

TEST(FormulaRefs, OnlyReferencesToTheSheetMove) {
    EXPECT_EQ(xl::ShiftFormula("Other!A5+A5", Insert(1, 1), "S", true), "Other!A5+A6");
    EXPECT_EQ(xl::ShiftFormula("'My Sheet'!A5+A5", Insert(1, 1), "my sheet", false), "'My Sheet'!A6+A5");
    EXPECT_EQ(xl::ShiftFormula("[1]S!A5", Insert(1, 1), "S", false), "[1]S!A5");
}

TEST(FormulaRefs, StringsFunctionsAndNamesAreNotReferences) {
    EXPECT_EQ(xl::ShiftFormula("\"A5\"&A5", Insert(1, 1), "S", true), "\"A5\"&A6");
    EXPECT_EQ(xl::ShiftFormula("LOG10(A5)", Insert(1, 1), "S", true), "LOG10(A6)");
    EXPECT_EQ(xl::ShiftFormula("ABC5X+Total", Insert(1, 1), "S", true), "ABC5X+Total");
}

TEST(FormulaRefs, PartialColumnsMoveOnlyTheirReferences) {
    xl::RowShift s{2, 1, true, 2, 3};
    EXPECT_EQ(xl::ShiftFormula("A5+B5+D5", s, "S", true), "A5+B6+D5");
}

TEST(FormulaRefs, SharedFormulasTranslateRelativeReferences) {
    EXPECT_EQ(xl::TranslateFormula("A1+$B$1+B$1+$C1", 2, 1), "B3+$B$1+C$1+$C3");
    EXPECT_EQ(xl::TranslateFormula("SUM(A1:A3)", 1, 0), "SUM(A2:A4)");
}

}  // namespace

namespace {

TEST(FormulaRefs, RenamedSheetPrefixesFollow) {
    EXPECT_EQ(xl::RenameSheetInFormula("Data!A1+data!B2+Other!C3", "DATA", "New"), "New!A1+New!B2+Other!C3");
    EXPECT_EQ(xl::RenameSheetInFormula("'My Data'!A1", "my data", "Blocks 2"), "'Blocks 2'!A1");
    EXPECT_EQ(xl::RenameSheetInFormula("\"Data!A1\"&Data!A1", "Data", "X"), "\"Data!A1\"&X!A1");
    EXPECT_EQ(xl::RenameSheetInFormula("MyData!A1", "Data", "X"), "MyData!A1");
    EXPECT_EQ(xl::QuoteSheetName("A1"), "'A1'");
    EXPECT_EQ(xl::QuoteSheetName("It's"), "'It''s'");
}

}  // namespace
