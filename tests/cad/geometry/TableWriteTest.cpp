// New tables, the edits of their grid, the block drawn from the cells, and table styles.

#include <gtest/gtest.h>

#include "TableFixtures.h"
#include "cad/Database.h"
#include "cad/Text.h"
#include "cad/geometry/Table.h"
#include "cad/geometry/TableStyle.h"

namespace {

using cad::Table;
using cad::TableRowKind;

using tabletest::Corpus;
using tabletest::FirstTable;

std::unique_ptr<cad::Database> Reread(const cad::Database& db) {
    auto again = cad::Database::FromBytes(db.Write(), "again.dxf");
    EXPECT_TRUE(again) << again.GetStatus().Message();
    return again ? std::move(*again) : nullptr;
}

struct BlockTexts {
    std::vector<cad::MText> texts;
    int lines = 0;
};

BlockTexts Drawn(const Table& table) {
    BlockTexts out;
    for (const cad::Entity& e : table.Block().Entities()) {
        if (e.Type() == "MTEXT") out.texts.emplace_back(e.GetDatabase(), e.Index());
        if (e.Type() == "LINE") ++out.lines;
    }
    return out;
}

// The text of the block drawn inside the cell's rectangle, `span` columns wide (block
// coordinates: the table's upper left corner at 0,0, rows going down).
std::string TextInCell(const Table& table, int row, int column, int span = 1) {
    std::vector<double> widths = table.ColumnWidths(), heights = table.RowHeights();
    double x0 = 0, y0 = 0;
    for (int c = 0; c < column; ++c) x0 += widths[c];
    for (int r = 0; r < row; ++r) y0 -= heights[r];
    for (const cad::MText& text : Drawn(table).texts) {
        cad::Point3 p = text.Position();
        double x1 = x0;
        for (int c = column; c < column + span; ++c) x1 += widths[c];
        if (p.x > x0 && p.x < x1 && p.y < y0 && p.y > y0 - heights[row]) return text.PlainText();
    }
    return "<none>";
}

TEST(TableStyle, CurrentStyleOfAnAutoCadDrawingComesFromItsVariable) {
    auto db = Corpus("acad-table-blockref-ac1032.dxf");
    cad::TableStyle style = cad::TableStyle::Current(*db);
    ASSERT_TRUE(style);
    EXPECT_EQ(style.Name(), "Standard");
    EXPECT_DOUBLE_EQ(style.TextHeight(TableRowKind::Data), 4.5);
    EXPECT_DOUBLE_EQ(style.TextHeight(TableRowKind::Title), 6);
    EXPECT_DOUBLE_EQ(style.TextHeight(TableRowKind::Header), 4.5);
    EXPECT_EQ(style.TextStyleName(TableRowKind::Data), "Standard");
    EXPECT_EQ(style.Alignment(TableRowKind::Data), 2);
    EXPECT_DOUBLE_EQ(style.HorizontalMargin(), 1.5);
    EXPECT_FALSE(style.SuppressesTitle());
}

TEST(TableStyle, DrawingWithoutTableStylesHasNoCurrentOne) {
    auto db = Corpus("entities-attribs-ac1015.dxf");
    EXPECT_FALSE(cad::TableStyle::Current(*db));
}

TEST(TableStyle, DrawingWithoutTableStylesGetsAutoCadsStandardOne) {
    auto db = Corpus("gdal-additional-entities-long-line-ac1027.dxf");
    ASSERT_FALSE(cad::TableStyle::Current(*db));
    auto made = cad::TableStyle::AddStandard(*db);
    ASSERT_TRUE(made) << made.GetStatus().Message();
    auto again = Reread(*db);
    cad::TableStyle style = cad::TableStyle::Current(*again);
    ASSERT_TRUE(style);
    EXPECT_EQ(style.Name(), "Standard");
    const bool metric = again->HeaderInt("$MEASUREMENT", 0) == 1;
    EXPECT_DOUBLE_EQ(style.TextHeight(TableRowKind::Data), metric ? 4.5 : 0.18);
    EXPECT_DOUBLE_EQ(style.TextHeight(TableRowKind::Title), metric ? 6 : 0.25);
    EXPECT_EQ(style.Alignment(TableRowKind::Data), 2);
    EXPECT_EQ(style.Alignment(TableRowKind::Header), 5);
    EXPECT_DOUBLE_EQ(style.HorizontalMargin(), metric ? 1.5 : 0.06);
    // A second call finds it.
    auto twice = cad::TableStyle::AddStandard(*again);
    ASSERT_TRUE(twice);
    EXPECT_EQ(twice->GetHandle(), style.GetHandle());
}

TEST(TableWrite, NewTableReadsBackCellForCellWithOneTextPerCellInsideItsRectangle) {
    auto db = Corpus("acad-table-blockref-ac1032.dxf");
    cad::TableStyle style = cad::TableStyle::Current(*db);
    auto made = Table::Create(db->ModelSpace(), style, 3, {30, 50}, {10, 20, 0}, true);
    ASSERT_TRUE(made) << made.GetStatus().Message();
    ASSERT_TRUE(made->SetCellTexts({{0, 0, "Doors"}, {1, 0, "MARK"}, {1, 1, "WIDTH"}, {2, 0, "D1"}}));
    std::string handle = made->HandleString();

    auto again = Reread(*db);
    Table table(again.get(), again->ObjectByHandle(cad::ParseHandle(handle)).Index());
    EXPECT_EQ(table.Rows(), 3);
    EXPECT_EQ(table.Columns(), 2);
    EXPECT_EQ(table.CellText(0, 0), "Doors");
    EXPECT_EQ(table.CellText(1, 1), "WIDTH");
    EXPECT_EQ(table.CellText(2, 0), "D1");
    EXPECT_EQ(table.CellText(2, 1), "");
    EXPECT_TRUE(table.IsMergedAway(0, 1));
    EXPECT_EQ(table.RowType(0), TableRowKind::Title);
    EXPECT_EQ(table.Style().GetHandle(), style.GetHandle());
    cad::Point3 at = table.Position();
    EXPECT_DOUBLE_EQ(at.x, 10);
    EXPECT_DOUBLE_EQ(at.y, 20);
    ASSERT_TRUE(table.Block());
    EXPECT_EQ(table.Block().Name().substr(0, 2), "*T");
    EXPECT_NE(table.Block().Name(), "*T2");  // the drawing's own table has *T2
    BlockTexts drawn = Drawn(table);
    EXPECT_EQ(drawn.texts.size(), 4u);
    EXPECT_EQ(TextInCell(table, 0, 0, 2), "Doors");
    EXPECT_EQ(TextInCell(table, 1, 1), "WIDTH");
    EXPECT_EQ(TextInCell(table, 2, 0), "D1");
    // Rows fit one line: 6 high title and 4.5 high data with 1.5 margins, as AutoCAD lays them.
    EXPECT_DOUBLE_EQ(table.RowHeights()[0], 11);
    EXPECT_DOUBLE_EQ(table.RowHeights()[2], 9);
}

TEST(TableWrite, MergedTitleHasNoLineInsideIt) {
    auto db = Corpus("acad-table-blockref-ac1032.dxf");
    auto made = Table::Create(db->ModelSpace(), cad::TableStyle::Current(*db), 2, {10, 10, 10}, {}, true);
    ASSERT_TRUE(made);
    // Horizontal: 3 rows of 3 segments; vertical: the title row 2 edges, the other row 4.
    EXPECT_EQ(Drawn(*made).lines, 9 + 2 + 4);
}

TEST(TableWrite, TablesNeedAutoCad2007OrLater) {
    auto db = Corpus("libredwg-example-ac1015.dxf");
    Table old = FirstTable(*db);
    cad::TableStyle style(db.get(), old.Style().Index());
    auto made = Table::Create(db->ModelSpace(), style, 2, {10}, {}, false);
    ASSERT_FALSE(made);
    EXPECT_NE(made.GetStatus().Message().find("AC1021"), std::string::npos) << made.GetStatus().Message();
}

TEST(TableWrite, CellEditOfAnAutoCadTableRedrawsItsBlockWithTheNewText) {
    auto db = Corpus("acad-table-blockref-ac1032.dxf");
    Table t = FirstTable(*db);
    ASSERT_TRUE(t.SetCellText(2, 1, "Neu"));
    auto again = Reread(*db);
    Table reread = FirstTable(*again);
    EXPECT_EQ(reread.CellText(2, 1), "Neu");
    EXPECT_EQ(reread.CellText(0, 0), "Title");
    EXPECT_EQ(reread.CellText(3, 2), "merge merge merge merge merge merge merge merge");
    EXPECT_EQ(TextInCell(reread, 2, 1), "Neu");
    EXPECT_EQ(TextInCell(reread, 0, 0, 5), "Title");
    EXPECT_EQ(TextInCell(reread, 1, 0), "1");
    // The block cell's block reference is drawn no more; every text cell that shows one is.
    int shown = 0;
    for (int r = 0; r < reread.Rows(); ++r)
        for (int c = 0; c < reread.Columns(); ++c)
            if (!reread.IsMergedAway(r, c) && !reread.CellText(r, c).empty()) ++shown;
    EXPECT_EQ(Drawn(reread).texts.size(), static_cast<std::size_t>(shown));
}

TEST(TableWrite, RowsAddedAreEmptyAndRowsDeletedGo) {
    auto db = Corpus("acad-table-blockref-ac1032.dxf");
    auto made = Table::Create(db->ModelSpace(), cad::TableStyle::Current(*db), 3, {20, 20}, {}, true);
    ASSERT_TRUE(made);
    Table t = *made;
    ASSERT_TRUE(t.SetCellTexts({{0, 0, "T"}, {1, 0, "a"}, {2, 0, "b"}, {2, 1, "c"}}));
    ASSERT_TRUE(t.SetRowCount(5));
    EXPECT_EQ(t.Rows(), 5);
    EXPECT_EQ(t.RowHeights().size(), 5u);
    EXPECT_EQ(t.CellText(2, 1), "c");
    EXPECT_EQ(t.CellText(4, 1), "");
    ASSERT_TRUE(t.SetCellText(4, 1, "e"));
    ASSERT_TRUE(t.DeleteRows(0, 1));
    EXPECT_EQ(t.Rows(), 4);
    EXPECT_EQ(t.CellText(0, 0), "a");
    EXPECT_EQ(t.CellText(3, 1), "e");
    ASSERT_TRUE(t.SetRowCount(2));
    EXPECT_EQ(t.CellText(1, 1), "c");
    EXPECT_EQ(t.CellText(3, 1), "");
    EXPECT_FALSE(t.DeleteRows(0, 2));
    EXPECT_FALSE(t.SetRowCount(0));
    t.ClearCells(0, 0, 5, 5);
    EXPECT_EQ(t.CellText(1, 1), "");
    EXPECT_TRUE(Drawn(t).texts.empty());
    ASSERT_TRUE(t.SetColumnWidth(1, 33));
    EXPECT_DOUBLE_EQ(t.ColumnWidths()[1], 33);
    EXPECT_FALSE(t.SetColumnWidth(2, 10));
}

TEST(TableWrite, ManyCellsAtOnceAreWrittenInOnePassAndReadBack) {
    auto db = Corpus("acad-table-blockref-ac1032.dxf");
    auto made = Table::Create(db->ModelSpace(), cad::TableStyle::Current(*db), 60, {20, 20, 20}, {}, false,
                              {{0, 0, "first"}, {59, 2, "last"}});
    ASSERT_TRUE(made);
    Table t = *made;
    EXPECT_EQ(t.CellText(0, 0), "first");
    EXPECT_EQ(t.CellText(59, 2), "last");
    std::vector<cad::TableCellText> cells;
    for (int r = 0; r < 60; ++r)
        for (int c = 0; c < 3; ++c) cells.push_back({r, c, r % 2 ? "" : std::to_string(r) + "/" + std::to_string(c)});
    ASSERT_TRUE(t.SetCellTexts(cells));
    auto again = Reread(*db);
    Table reread(again.get(), again->ObjectByHandle(t.GetHandle()).Index());
    EXPECT_EQ(reread.CellText(0, 0), "0/0");
    EXPECT_EQ(reread.CellText(58, 2), "58/2");
    EXPECT_EQ(reread.CellText(59, 2), "");
    EXPECT_EQ(reread.CellText(1, 1), "");
    EXPECT_EQ(Drawn(reread).texts.size(), 90u);
    EXPECT_EQ(TextInCell(reread, 58, 1), "58/1");
    // A cell outside the grid refuses the whole change.
    cells.push_back({60, 0, "x"});
    cells[0].text = "changed";
    EXPECT_FALSE(t.SetCellTexts(cells));
    EXPECT_EQ(t.CellText(0, 0), "0/0");
}

TEST(TableWrite, TitleSuppressedMakesTheFirstRowAHeader) {
    auto db = Corpus("acad-table-blockref-ac1032.dxf");
    auto made = Table::Create(db->ModelSpace(), cad::TableStyle::Current(*db), 3, {20}, {}, true);
    ASSERT_TRUE(made);
    ASSERT_TRUE(made->DeleteRows(0, 1));
    made->SuppressTitle();
    EXPECT_EQ(made->RowType(0), TableRowKind::Header);
    EXPECT_EQ(made->CellStyle(0, 0).name, "_HEADER");
    EXPECT_EQ(made->RowType(1), TableRowKind::Data);
}

}  // namespace
