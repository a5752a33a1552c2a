#include "tables/CDataTable.h"

#include <gtest/gtest.h>

namespace tables {
namespace {

TEST(CDataTable, EmptyTableHasSizeZeroAndReadingARowRaises) {
    CDataTable table;
    EXPECT_EQ(table.GetSize(), 0);
    EXPECT_THROW(table.GetAt(0), InvalidArgument);
    EXPECT_THROW(table.GetAt(-1), InvalidArgument);
}

TEST(CDataTable, RowsOfDifferentLengthsAreKeptWithoutPadding) {
    CDataTable table;
    table.SetSize(table.GetSize() + 1);
    table[0].Copy(CStringArrayEx{"HANDLE", "TAG", "VALUE"});
    table.SetSize(table.GetSize() + 1);
    table[1].Copy(CStringArrayEx{"1F"});
    table.Add(CStringArrayEx{});
    EXPECT_EQ(table.GetSize(), 3);
    EXPECT_EQ(table[0].GetSize(), 3);
    EXPECT_EQ(table[1].GetSize(), 1);
    EXPECT_EQ(table[2].GetSize(), 0);
    EXPECT_THROW(table[1].GetAt(1), InvalidArgument);
}

TEST(CDataTable, ARowGivenItsWidthFirstTakesCellsByIndex) {
    CStringArrayEx row;
    row.SetSize(3);
    row.SetAt(2, "last");
    row.SetAt(0, "first");
    CDataTable table;
    table.Add(row);
    EXPECT_EQ(table[0][0], "first");
    EXPECT_EQ(table[0][1], "");
    EXPECT_EQ(table[0][2], "last");
}

TEST(CDataTable, RemoveAllEmptiesTheTable) {
    CDataTable table;
    table.Add(CStringArrayEx{"a"});
    table.RemoveAll();
    EXPECT_EQ(table.GetSize(), 0);
    EXPECT_THROW(table.GetAt(0), InvalidArgument);
}

}  // namespace
}  // namespace tables
