#include "tables/CStringTable.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>

namespace tables {
namespace {

CStringTable MakeTable(std::string rangeAddress, std::initializer_list<CStringArrayEx> rows) {
    CStringTable table;
    table.RangeAddress = std::move(rangeAddress);
    for (const CStringArrayEx& row : rows) table.Add(row);
    return table;
}

// A worksheet read from B3: headers in row 3, columns B..D.
CStringTable Schedule() {
    return MakeTable("$B$3:$D$6", {{"TAG", "Width", "Depth"},
                                   {"D-01", "900", "40"},
                                   {"D-02", "1000", "40"},
                                   {"W-01", "1200", "200"}});
}

TEST(CStringTable, StartsEmptyWithoutAddressAndKeepsRowsOfDifferentLengths) {
    CStringTable table;
    EXPECT_EQ(table.GetSize(), 0);
    EXPECT_EQ(table.RangeAddress, "");
    table.Add(CStringArrayEx{"a", "b", "c"});
    table.Add(CStringArrayEx{"d"});
    EXPECT_EQ(table[0].GetSize(), 3);
    EXPECT_EQ(table[1].GetSize(), 1);
    EXPECT_THROW(table.GetAt(2), InvalidArgument);
    EXPECT_THROW(table.GetAt(-1), InvalidArgument);
    EXPECT_THROW(table[1].GetAt(1), InvalidArgument);
}

TEST(CStringTable, AddedRowsAreCopiesOfTheirSource) {
    CStringTable table;
    CStringArrayEx row{"a"};
    table.SetSize(table.GetSize() + 1);  // how rows are appended: grow, then copy in
    table[table.GetUpperBound()].Copy(row);
    row.SetAt(0, "b");
    EXPECT_EQ(table[0][0], "a");
    CStringTable copy = table;
    copy[0].SetAt(0, "c");
    EXPECT_EQ(table[0][0], "a");
}

TEST(CStringTable, FindHeaderColumnCountsFromOneWithoutCase) {
    const CStringTable table = Schedule();
    EXPECT_EQ(CStringTable::FindHeaderColumn(table, 1, "width"), 2);
    EXPECT_EQ(CStringTable::FindHeaderColumn(table, 1, "TAG"), 1);
    EXPECT_EQ(CStringTable::FindHeaderColumn(table, 1, "Height"), -1);
    EXPECT_EQ(CStringTable::FindHeaderColumn(table, 2, "D-01"), 1);
}

TEST(CStringTable, FindHeaderColumnWithRowZeroGivesMinusOne) {
    const CStringTable table = Schedule();
    EXPECT_EQ(CStringTable::FindHeaderColumn(table, 0, "TAG"), -1);
    EXPECT_EQ(CStringTable::FindHeaderColumn(table, -3, "TAG"), -1);
    EXPECT_EQ(CStringTable::FindHeaderColumn(CStringTable(), 0, "TAG"), -1);
}

TEST(CStringTable, FindHeaderColumnOnePastTheLastRowRaises) {
    const CStringTable table = Schedule();
    EXPECT_NO_THROW(CStringTable::FindHeaderColumn(table, 4, "TAG"));
    EXPECT_THROW(CStringTable::FindHeaderColumn(table, 5, "TAG"), InvalidArgument);
    EXPECT_THROW(CStringTable::FindHeaderColumn(CStringTable(), 1, "TAG"), InvalidArgument);
}

TEST(CStringTable, FindKeyRowTakesWorksheetColumnsAndComparesWithoutCase) {
    const CStringTable table = Schedule();
    EXPECT_EQ(CStringTable::FindKeyRow(table, 2, "d-02", false), 2);  // column B is index 0
    EXPECT_EQ(CStringTable::FindKeyRow(table, 3, "1200", false), 3);
    EXPECT_EQ(CStringTable::FindKeyRow(table, 4, "40", false), 1);     // the first match wins
    EXPECT_EQ(CStringTable::FindKeyRow(table, 2, "tag", false), 0);    // the header row counts
    EXPECT_EQ(CStringTable::FindKeyRow(table, 2, "X-99", false), -1);
}

TEST(CStringTable, FindKeyRowWithWildcardsTheCellIsThePattern) {
    CStringTable table = MakeTable("$A$1", {{"Key"}, {"A*"}});
    EXPECT_EQ(CStringTable::FindKeyRow(table, 1, "ABC", true), 1);
    EXPECT_EQ(CStringTable::FindKeyRow(table, 1, "abc", true), 1);
    EXPECT_EQ(CStringTable::FindKeyRow(table, 1, "ABC", false), -1);

    table = MakeTable("$A$1", {{"Key"}, {"ABC"}});
    EXPECT_EQ(CStringTable::FindKeyRow(table, 1, "A*", true), -1);
    table = MakeTable("$A$1", {{"Key"}, {"A*"}});
    EXPECT_EQ(CStringTable::FindKeyRow(table, 1, "A*", true), 1);  // equal as text
}

TEST(CStringTable, FindKeyRowRaisesAtAShortRowEvenIfALaterRowMatches) {
    const CStringTable table = MakeTable(
        "$A$1", {{"TAG", "NO"}, {"a", "1"}, {"b", "2"}, {"c"}, {"d", "4"}});
    EXPECT_EQ(CStringTable::FindKeyRow(table, 2, "2", false), 2);  // found before the short row
    EXPECT_THROW(CStringTable::FindKeyRow(table, 2, "4", false), InvalidArgument);
    EXPECT_THROW(CStringTable::FindKeyRow(table, 2, "4", true), InvalidArgument);
}

// The index must give what a scan gives: the same row, -1, or the same exception.
void ExpectIndexAnswersAsTheScan(const CStringTable& table, int column, std::initializer_list<const char*> values) {
    const KeyRowIndex index(table, column);
    for (const char* value : values) {
        int scanned = -2;
        bool scanThrew = false;
        try {
            scanned = CStringTable::FindKeyRow(table, column, value, false);
        } catch (const InvalidArgument&) {
            scanThrew = true;
        }
        if (scanThrew) {
            EXPECT_THROW(index.Find(value), InvalidArgument) << value;
        } else {
            EXPECT_EQ(index.Find(value), scanned) << value;
        }
    }
}

TEST(CStringTable, AKeyRowIndexAnswersAsTheScanDoes) {
    const CStringTable schedule = Schedule();
    for (int column : {0, 1, 2, 3, 4, 5}) {
        ExpectIndexAnswersAsTheScan(schedule, column, {"d-02", "D-02", "1200", "40", "tag", "X-99", ""});
    }
    const CStringTable accents = MakeTable("$A$1", {{"CL\u00C9"}, {"\u00C9tage"}, {"\u00E9TAGE"}, {"stra\u00DFe"}});
    ExpectIndexAnswersAsTheScan(accents, 1, {"\u00E9tage", "\u00C9TAGE", "STRASSE", "stra\u00DFe", "cl\u00E9"});
    const CStringTable shortRow = MakeTable("$A$1", {{"TAG", "NO"}, {"a", "1"}, {"b", "2"}, {"c"}, {"d", "4"}});
    ExpectIndexAnswersAsTheScan(shortRow, 2, {"2", "1", "4", "NO", "none"});
    ExpectIndexAnswersAsTheScan(CStringTable(), 1, {"a"});
}

TEST(CStringTable, FindKeyRowGivesMinusOneForEmptyTableBadAddressOrColumnOutsideRowZero) {
    EXPECT_EQ(CStringTable::FindKeyRow(CStringTable(), 1, "a", false), -1);
    CStringTable table = Schedule();
    EXPECT_EQ(CStringTable::FindKeyRow(table, 1, "D-01", false), -1);  // left of the table
    EXPECT_EQ(CStringTable::FindKeyRow(table, 5, "D-01", false), -1);  // right of row 0
    table.RangeAddress = "";
    EXPECT_EQ(CStringTable::FindKeyRow(table, 2, "D-01", false), -1);
    table.RangeAddress = "B3:D6";
    EXPECT_EQ(CStringTable::FindKeyRow(table, 2, "D-01", false), -1);
    table.RangeAddress = "$B$0:$D$6";
    EXPECT_EQ(CStringTable::FindKeyRow(table, 2, "D-01", false), -1);
    table.RangeAddress = "$XFD$1";  // reads as row 0
    EXPECT_EQ(CStringTable::FindKeyRow(table, 630, "D-01", false), -1);
}

TEST(CStringTable, GetCellForTagByHeaderRow) {
    const CStringTable table = Schedule();
    const CStringTable::ColumnTagMap none;
    std::string out;
    EXPECT_TRUE(CStringTable::GetCellForTag(table, false, 3, none, "width", 2, out));
    EXPECT_EQ(out, "1000");
    EXPECT_TRUE(CStringTable::GetCellForTag(table, false, 3, none, "DEPTH", 3, out));
    EXPECT_EQ(out, "200");
    // A header row further down: the worksheet row minus the table's first row.
    EXPECT_TRUE(CStringTable::GetCellForTag(table, false, 4, none, "900", 3, out));
    EXPECT_EQ(out, "1200");
}

TEST(CStringTable, GetCellForTagByHeaderRowFalseCases) {
    const CStringTable table = Schedule();
    const CStringTable::ColumnTagMap none;
    std::string out = "kept";
    EXPECT_FALSE(CStringTable::GetCellForTag(table, false, 3, none, "Height", 1, out));
    EXPECT_FALSE(CStringTable::GetCellForTag(table, false, 2, none, "TAG", 1, out));  // above
    EXPECT_FALSE(CStringTable::GetCellForTag(table, false, 7, none, "TAG", 1, out));  // below
    EXPECT_FALSE(CStringTable::GetCellForTag(table, false, 3, none, "TAG", 4, out));
    EXPECT_FALSE(CStringTable::GetCellForTag(table, false, 3, none, "TAG", -1, out));
    EXPECT_FALSE(CStringTable::GetCellForTag(CStringTable(), false, 3, none, "TAG", 0, out));
    CStringTable noAddress = table;
    noAddress.RangeAddress = "B3";
    EXPECT_FALSE(CStringTable::GetCellForTag(noAddress, false, 3, none, "TAG", 1, out));
    EXPECT_EQ(out, "kept");
}

TEST(CStringTable, GetCellForTagBySpecifiedColumnsMatchesTheTagWithCase) {
    const CStringTable table = Schedule();
    const CStringTable::ColumnTagMap columns{{"C", "WIDTH"}, {"4", "DEPTH"}};
    std::string out;
    EXPECT_TRUE(CStringTable::GetCellForTag(table, true, 0, columns, "WIDTH", 1, out));
    EXPECT_EQ(out, "900");
    EXPECT_TRUE(CStringTable::GetCellForTag(table, true, 0, columns, "DEPTH", 3, out));
    EXPECT_EQ(out, "200");
    out = "kept";
    EXPECT_FALSE(CStringTable::GetCellForTag(table, true, 0, columns, "width", 1, out));
    EXPECT_FALSE(CStringTable::GetCellForTag(table, true, 0, columns, "TAG", 1, out));
    EXPECT_EQ(out, "kept");
}

TEST(CStringTable, GetCellForTagBySpecifiedColumnsTheLastEntryOfTheWalkStands) {
    const CStringTable table = Schedule();
    const CStringTable::ColumnTagMap columns{{"B", "W"}, {"C", "W"}};
    std::string out;
    EXPECT_TRUE(CStringTable::GetCellForTag(table, true, 0, columns, "W", 1, out));
    EXPECT_EQ(out, "900");
}

TEST(CStringTable, GetCellForTagBySpecifiedColumnsOutsideRowZeroGivesFalse) {
    const CStringTable table = Schedule();
    const CStringTable::ColumnTagMap columns{{"A", "LEFT"}, {"E", "RIGHT"}, {"", "NONE"}};
    std::string out;
    EXPECT_FALSE(CStringTable::GetCellForTag(table, true, 0, columns, "LEFT", 1, out));
    EXPECT_FALSE(CStringTable::GetCellForTag(table, true, 0, columns, "RIGHT", 1, out));
    EXPECT_FALSE(CStringTable::GetCellForTag(table, true, 0, columns, "NONE", 1, out));
}

TEST(CStringTable, GetCellForTagRaisesForARowTooShort) {
    const CStringTable table = MakeTable("$A$1", {{"TAG", "NO"}, {"a"}});
    std::string out;
    EXPECT_THROW(CStringTable::GetCellForTag(table, false, 1, {}, "NO", 1, out), InvalidArgument);
    EXPECT_THROW(CStringTable::GetCellForTag(table, true, 0, {{"B", "NO"}}, "NO", 1, out),
                 InvalidArgument);
}

// Stands in for the drawing: block records by handle, some of them layouts.
class FakeLayouts : public LayoutNameSource {
public:
    std::optional<std::string> LayoutNameOf(std::string_view handle) const override {
        const auto found = layouts_.find(std::string(handle));
        if (found == layouts_.end()) return std::nullopt;
        return found->second;
    }
    std::map<std::string, std::string> layouts_{{"1F", "Model"}, {"3A", "Sheet 1"}};
};

TEST(CStringTable, FindRowByDrawingMatchesTheFileNameWithOrWithoutExtension) {
    const FakeLayouts layouts;
    const CStringTable table =
        MakeTable("$A$2", {{"Drawing", "Block"}, {"other.dxf", "X"}, {"PLAN", "Y"}});
    EXPECT_EQ(CStringTable::FindRowByDrawing(table, 1, 2, "/work/Plan.dxf", "Y", "1F", layouts),
              2);
    EXPECT_EQ(CStringTable::FindRowByDrawing(table, 1, 2, "C:\\dwg\\Other.DXF", "", "99",
                                             layouts),
              1);
    EXPECT_EQ(CStringTable::FindRowByDrawing(table, 1, 2, "/work/plan2.dxf", "Y", "1F", layouts),
              -1);
}

TEST(CStringTable, FindRowByDrawingWithALayoutInTheCellMatchesOnlyThatLayout) {
    const FakeLayouts layouts;
    const CStringTable table = MakeTable(
        "$A$1", {{"plan|Model"}, {"plan.dxf|sheet 1"}, {"plan"}});
    EXPECT_EQ(CStringTable::FindRowByDrawing(table, 1, 0, "/p/plan.dxf", "", "1F", layouts), 0);
    EXPECT_EQ(CStringTable::FindRowByDrawing(table, 1, 0, "/p/plan.dxf", "", "3A", layouts), 1);
}

TEST(CStringTable, FindRowByDrawingWithoutAKnownLayoutTakesCellsAsBareNames) {
    const FakeLayouts layouts;
    const CStringTable table = MakeTable("$A$1", {{"plan|Model"}, {"plan"}});
    // The owner is no layout: the "|" cell is compared as a whole and doesn't match.
    EXPECT_EQ(CStringTable::FindRowByDrawing(table, 1, 0, "/p/plan.dxf", "", "77", layouts), 1);
    // A "|" in the first character doesn't make a layout cell.
    const CStringTable leading = MakeTable("$A$1", {{"|Model"}});
    EXPECT_EQ(CStringTable::FindRowByDrawing(leading, 1, 0, "/p/plan.dxf", "", "1F", layouts),
              -1);
}

TEST(CStringTable, FindRowByDrawingIgnoresTheBlockNameAndItsColumn) {
    const FakeLayouts layouts;
    const CStringTable table = MakeTable("$A$1", {{"plan", "DOOR"}});
    EXPECT_EQ(CStringTable::FindRowByDrawing(table, 1, 2, "plan.dxf", "WINDOW", "1F", layouts), 0);
    EXPECT_EQ(CStringTable::FindRowByDrawing(table, 1, 99, "plan.dxf", "", "1F", layouts), 0);
}

TEST(CStringTable, FindRowByDrawingFailsLikeFindKeyRow) {
    const FakeLayouts layouts;
    EXPECT_EQ(CStringTable::FindRowByDrawing(CStringTable(), 1, 0, "a.dxf", "", "1F", layouts), -1);
    CStringTable table = MakeTable("$B$1", {{"a", "b"}, {"a"}, {"c", "d"}});
    EXPECT_EQ(CStringTable::FindRowByDrawing(table, 1, 0, "a.dxf", "", "1F", layouts), -1);
    EXPECT_EQ(CStringTable::FindRowByDrawing(table, 4, 0, "a.dxf", "", "1F", layouts), -1);
    EXPECT_THROW(CStringTable::FindRowByDrawing(table, 3, 0, "d.dxf", "", "1F", layouts),
                 InvalidArgument);
    table.RangeAddress = "";
    EXPECT_EQ(CStringTable::FindRowByDrawing(table, 2, 0, "a.dxf", "", "1F", layouts), -1);
}

}  // namespace
}  // namespace tables
