#include "cad/geometry/Table.h"

#include <gtest/gtest.h>

#include "GeometryFixtures.h"
#include "TableFixtures.h"
#include "cad/Database.h"

namespace {

using cad::Table;
using cad::TableRowKind;

using tabletest::Corpus;
using tabletest::FirstTable;

TEST(Table, GridOfAutoCadTable) {
    auto db = Corpus("acad-table-blockref-ac1032.dxf");
    Table t = FirstTable(*db);
    EXPECT_EQ(t.Rows(), 10);
    EXPECT_EQ(t.Columns(), 5);
    ASSERT_EQ(t.RowHeights().size(), 10u);
    EXPECT_DOUBLE_EQ(t.RowHeights()[0], 11);
    EXPECT_DOUBLE_EQ(t.RowHeights()[1], 9);
    ASSERT_EQ(t.ColumnWidths().size(), 5u);
    EXPECT_DOUBLE_EQ(t.ColumnWidths()[4], 40);
    EXPECT_EQ(t.Style().Type(), "TABLESTYLE");
}

TEST(Table, CellTextsOfCellValues) {
    auto db = Corpus("acad-table-blockref-ac1032.dxf");
    Table t = FirstTable(*db);
    EXPECT_EQ(t.CellText(0, 0), "Title");
    EXPECT_EQ(t.CellText(1, 0), "1");
    EXPECT_EQ(t.CellText(1, 1), "10");
    EXPECT_EQ(t.CellText(3, 2), "merge merge merge merge merge merge merge merge");
    EXPECT_EQ(t.CellText(0, 1), "");
    EXPECT_EQ(t.CellText(10, 0), "");
    EXPECT_EQ(t.CellText(0, -1), "");
}

TEST(Table, BlockCell) {
    auto db = Corpus("acad-table-blockref-ac1032.dxf");
    Table t = FirstTable(*db);
    int blocks = 0;
    for (int r = 0; r < t.Rows(); ++r)
        for (int c = 0; c < t.Columns(); ++c)
            if (t.CellType(r, c) == 2) {
                ++blocks;
                ASSERT_TRUE(t.CellBlock(r, c));
                EXPECT_EQ(t.CellBlock(r, c).Name(), "B1");
                EXPECT_EQ(t.CellText(r, c), "");
                EXPECT_FALSE(t.SetCellText(r, c, "x"));
            }
    EXPECT_EQ(blocks, 1);
}

TEST(Table, TitleRowHeaderRowAndDataRowsTakeTheirCellStyles) {
    auto db = Corpus("acad-table-blockref-ac1032.dxf");
    Table t = FirstTable(*db);
    EXPECT_EQ(t.RowType(0), TableRowKind::Title);
    EXPECT_EQ(t.RowType(1), TableRowKind::Header);
    EXPECT_EQ(t.RowType(2), TableRowKind::Data);
    cad::TableCellStyle title = t.CellStyle(0, 0);
    EXPECT_EQ(title.name, "_TITLE");
    EXPECT_EQ(title.textStyle, "Standard");
    EXPECT_DOUBLE_EQ(title.textHeight, 6);
    EXPECT_EQ(title.alignment, 5);
    EXPECT_EQ(t.CellStyle(1, 0).name, "_HEADER");
    EXPECT_DOUBLE_EQ(t.CellStyle(1, 0).textHeight, 4.5);
    EXPECT_EQ(t.CellStyle(2, 0).name, "_DATA");
    EXPECT_EQ(t.CellStyle(2, 0).alignment, 2);
}

TEST(Table, CellOverridesItsStyle) {
    auto db = Corpus("acadsharp-sample-ac1032.dxf");
    Table t = FirstTable(*db);
    EXPECT_EQ(t.Rows(), 7);
    EXPECT_EQ(t.Columns(), 3);
    EXPECT_EQ(t.CellText(0, 0), "Table sample");
    EXPECT_EQ(t.CellText(1, 2), "Text");
    EXPECT_DOUBLE_EQ(t.CellStyle(0, 0).textHeight, 4);
    EXPECT_NEAR(t.CellStyle(2, 1).textHeight, 0.102595, 1e-6);
}

TEST(Table, OlderTableKeepsTextInItsCell) {
    auto db = Corpus("libredwg-example-ac1015.dxf");
    Table t = FirstTable(*db);
    EXPECT_EQ(t.Rows(), 20);
    EXPECT_EQ(t.Columns(), 9);
    EXPECT_EQ(t.CellText(0, 0), "test");
    EXPECT_EQ(t.CellText(2, 0), "xx");
    EXPECT_EQ(t.RowType(0), TableRowKind::Title);
}

TEST(Table, SetCellTextOfCellValueSurvivesSave) {
    auto db = Corpus("acad-table-blockref-ac1032.dxf");
    Table t = FirstTable(*db);
    std::string before = db->Write();
    ASSERT_TRUE(t.SetCellText(0, 0, "Title"));
    EXPECT_EQ(db->Write(), before);
    ASSERT_TRUE(t.SetCellText(2, 1, "Neu ü"));
    auto again = cad::Database::FromBytes(db->Write(), "again.dxf");
    ASSERT_TRUE(again);
    Table reread = FirstTable(**again);
    EXPECT_EQ(reread.CellText(2, 1), "Neu ü");
    EXPECT_EQ(reread.CellText(2, 0), "2");
    EXPECT_EQ(reread.CellText(1, 1), "10");
}

TEST(Table, SetLongCellTextOfOlderTableIsChunked) {
    auto db = Corpus("libredwg-example-ac1015.dxf");
    Table t = FirstTable(*db);
    std::string longText(600, 'a');
    ASSERT_TRUE(t.SetCellText(2, 0, longText));
    EXPECT_EQ(t.CellText(2, 0), longText);
    EXPECT_EQ(t.CellText(3, 0), "xx");
    ASSERT_TRUE(t.SetCellText(2, 0, "short"));
    EXPECT_EQ(t.CellText(2, 0), "short");
    EXPECT_EQ(t.CellText(3, 0), "xx");
    EXPECT_FALSE(t.SetCellText(20, 0, "x"));
}

}  // namespace
