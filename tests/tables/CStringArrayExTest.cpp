#include "tables/CStringArrayEx.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tables {
namespace {

std::vector<std::string> Items(const CStringArrayEx& array) {
    return std::vector<std::string>(array.begin(), array.end());
}

TEST(CStringArrayEx, FindStringWithDuplicatesTestsLowIndexFirst) {
    const CStringArrayEx array{"a", "b", "a"};
    EXPECT_EQ(array.FindString("a", false), 0);
}

TEST(CStringArrayEx, FindStringScansFromBothEndsAndFindsTheLastBeforeTheMiddle) {
    const CStringArrayEx array{"x", "a", "b", "a"};
    EXPECT_EQ(array.FindString("a", false), 3);
}

TEST(CStringArrayEx, FindStringOnEmptyArrayGivesMinusOne) {
    EXPECT_EQ(CStringArrayEx().FindString("", true), -1);
    EXPECT_EQ(CStringArrayEx().FindString("a", false), -1);
}

TEST(CStringArrayEx, FindStringFindsTheMiddleElementOfAnOddArray) {
    const CStringArrayEx array{"a", "b", "c", "d", "e"};
    EXPECT_EQ(array.FindString("c", false), 2);
    EXPECT_EQ(array.FindString("d", false), 3);
    EXPECT_EQ(array.FindString("f", false), -1);
}

TEST(CStringArrayEx, FindStringIgnoresCaseOnlyWhenAsked) {
    const CStringArrayEx array{"Tag", "ÄRGER", "x"};
    EXPECT_EQ(array.FindString("tag", false), -1);
    EXPECT_EQ(array.FindString("tag", true), 0);
    EXPECT_EQ(array.FindString("ärger", true), 1);
    EXPECT_EQ(array.FindString("ärger", false), -1);
}

TEST(CStringArrayEx, SwapIfGreaterSwapsOnlyWhenTheFirstIsGreaterWithoutCase) {
    CStringArrayEx array{"b", "A", "a"};
    EXPECT_TRUE(array.SwapIfGreater(0));
    EXPECT_EQ(Items(array), (std::vector<std::string>{"A", "b", "a"}));
    EXPECT_TRUE(array.SwapIfGreater(1));
    EXPECT_EQ(Items(array), (std::vector<std::string>{"A", "a", "b"}));
    EXPECT_FALSE(array.SwapIfGreater(0));  // "A" and "a" are equal without case
    EXPECT_EQ(Items(array), (std::vector<std::string>{"A", "a", "b"}));
}

TEST(CStringArrayEx, SwapIfGreaterOutsideTheArrayRaises) {
    CStringArrayEx array{"b", "a"};
    EXPECT_THROW(array.SwapIfGreater(1), InvalidArgument);
    EXPECT_THROW(array.SwapIfGreater(-1), InvalidArgument);
    EXPECT_THROW(array.SwapIfGreater(2), InvalidArgument);
    EXPECT_THROW(CStringArrayEx().SwapIfGreater(0), InvalidArgument);
    EXPECT_EQ(Items(array), (std::vector<std::string>{"b", "a"}));
}

TEST(CStringArrayEx, SortNoCaseOrdersWithoutRegardToCase) {
    CStringArrayEx array{"delta", "Bravo", "alpha", "Charlie", "ölf", "Zulu"};
    array.SortNoCase();
    EXPECT_EQ(Items(array),
              (std::vector<std::string>{"alpha", "Bravo", "Charlie", "delta", "Zulu", "ölf"}));
}

TEST(CStringArrayEx, SortNoCaseKeepsTheOrderOfElementsEqualWithoutCase) {
    CStringArrayEx array{"b", "A", "B", "a", "c", "b"};
    array.SortNoCase();
    EXPECT_EQ(Items(array), (std::vector<std::string>{"A", "a", "b", "B", "b", "c"}));
}

TEST(CStringArrayEx, SortNoCaseGivesTheSameOrderAsRepeatedNeighbourSwaps) {
    const CStringArrayEx original{"k", "B", "a", "K", "b", "A", "", "k", "Ä", "ä", "z"};
    CStringArrayEx bySwaps = original;
    for (bool swapped = true; swapped;) {
        swapped = false;
        for (int i = 0; i + 1 < bySwaps.GetSize(); ++i) swapped |= bySwaps.SwapIfGreater(i);
    }
    CStringArrayEx sorted = original;
    sorted.SortNoCase();
    EXPECT_EQ(Items(sorted), Items(bySwaps));
}

TEST(CStringArrayEx, SortNoCaseLeavesShortArraysAlone) {
    CStringArrayEx empty;
    empty.SortNoCase();
    EXPECT_EQ(empty.GetSize(), 0);
    CStringArrayEx one{"x"};
    one.SortNoCase();
    EXPECT_EQ(Items(one), (std::vector<std::string>{"x"}));
}

TEST(CStringArrayEx, GetAtOutsideTheArrayRaisesIncludingMinusOne) {
    CStringArrayEx array{"a", "b"};
    EXPECT_EQ(array.GetAt(1), "b");
    EXPECT_THROW(array.GetAt(-1), InvalidArgument);
    EXPECT_THROW(array.GetAt(2), InvalidArgument);
    EXPECT_THROW(array[2], InvalidArgument);
    EXPECT_THROW(CStringArrayEx().GetAt(0), InvalidArgument);
    EXPECT_THROW(array.GetAt(-1), std::invalid_argument);  // catchable as the standard type
}

TEST(CStringArrayEx, SetAtNeverGrowsButSetAtGrowDoes) {
    CStringArrayEx array;
    EXPECT_THROW(array.SetAt(0, "a"), InvalidArgument);
    array.SetAtGrow(array.GetSize(), "a");  // how rows are appended
    array.SetAtGrow(3, "d");
    EXPECT_EQ(Items(array), (std::vector<std::string>{"a", "", "", "d"}));
    array.SetAt(1, "b");
    EXPECT_EQ(array[1], "b");
    EXPECT_THROW(array.SetAtGrow(-1, "x"), InvalidArgument);
}

TEST(CStringArrayEx, AddInsertAtRemoveAtKeepOrder) {
    CStringArrayEx array;
    EXPECT_EQ(array.Add("a"), 0);
    EXPECT_EQ(array.Add("c"), 1);
    array.InsertAt(1, "b");
    array.InsertAt(5, "f");  // past the end grows with empty strings first
    EXPECT_EQ(Items(array), (std::vector<std::string>{"a", "b", "c", "", "", "f"}));
    array.InsertAt(0, "z", 2);
    EXPECT_EQ(array.GetSize(), 8);
    array.RemoveAt(0, 2);
    array.RemoveAt(3, 2);
    EXPECT_EQ(Items(array), (std::vector<std::string>{"a", "b", "c", "f"}));
    EXPECT_THROW(array.RemoveAt(3, 2), InvalidArgument);
    EXPECT_THROW(array.RemoveAt(-1), InvalidArgument);
    EXPECT_THROW(array.InsertAt(-1, "x"), InvalidArgument);
    EXPECT_EQ(array.GetUpperBound(), 3);
    array.RemoveAll();
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(array.GetUpperBound(), -1);
}

TEST(CStringArrayEx, SetSizeTruncatesOrPadsWithEmptyStrings) {
    CStringArrayEx array{"a", "b", "c"};
    array.SetSize(2);
    EXPECT_EQ(Items(array), (std::vector<std::string>{"a", "b"}));
    array.SetSize(4);
    EXPECT_EQ(Items(array), (std::vector<std::string>{"a", "b", "", ""}));
    EXPECT_THROW(array.SetSize(-1), InvalidArgument);
}

TEST(CStringArrayEx, CopyAndCopyConstructionCopyAllStrings) {
    CStringArrayEx source{"a", "b"};
    CStringArrayEx copy(source);
    CStringArrayEx assigned{"x", "y", "z"};
    assigned.Copy(source);
    source.SetAt(0, "changed");
    EXPECT_EQ(Items(copy), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(Items(assigned), (std::vector<std::string>{"a", "b"}));
    assigned.Copy(assigned);
    EXPECT_EQ(Items(assigned), (std::vector<std::string>{"a", "b"}));
}

TEST(CStringArrayEx, AppendAddsAllElementsEvenOfItself) {
    CStringArrayEx array{"a", "b"};
    EXPECT_EQ(array.Append(CStringArrayEx{"c"}), 2);
    EXPECT_EQ(array.Append(array), 3);
    EXPECT_EQ(Items(array), (std::vector<std::string>{"a", "b", "c", "a", "b", "c"}));
}

TEST(CStringArrayEx, IterationVisitsElementsInOrderAndCanChangeThem) {
    CStringArrayEx array{"a", "b"};
    for (std::string& item : array) item += "!";
    std::string all;
    for (const std::string& item : array) all += item;
    EXPECT_EQ(all, "a!b!");
}

}  // namespace
}  // namespace tables
