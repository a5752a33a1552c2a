#include "attbat/model/ScheduleRows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "ModelTestSupport.h"
#include "attbat/model/AcadBlockArray.h"
#include "attbat/model/AcadBlockFilter.h"
#include "attbat/model/AcadBlockView.h"
#include "base/Text.h"

namespace attbat {
namespace {

using testing::Att;
using testing::Block;
using testing::Defs;
using testing::FakeDrawing;
using testing::Row;

const std::string kMark(BlockColumnMark);
const std::string kDrawingMark(CurrentDrawingMark);

// Cell texts and keys of one row, for short expectations.
struct Cell {
    std::string value;
    std::string key;
    bool found = false;
};

Cell CellOf(const AcadBlockRef& row, std::string_view column, const AcadBlockView& view = {},
            const FakeDrawing& drawing = {}, const AcadAttributeDefArray& defs = {}) {
    Cell cell;
    cell.found = CellText(row, defs, column, cell.value, cell.key, view, drawing);
    return cell;
}

AcadBlockRef DoorRow() {
    AcadBlockRef row = Row("2F3");
    row.position = Point3d{12.5, 0.0, -3.0};
    row.scale = Scale3d{1.0, 0.5, 1e-7};
    row.rotation = 1.5;
    row.aunits = 3;
    row.layer.name = "DOORS";
    row.attributes.Add(Att("DOOR", "D1", 0, "2F5"));
    row.attributes.Add(Att("DOOR", "D2", 1, "2F4"));
    AcadAttribute noHandle = Att("DOOR", "D3", 2);
    row.attributes.Add(noHandle);
    AcadAttribute fixed = Att("MAKER", "Orvane", 0, "2F6");
    fixed.constant = 1;
    row.attributes.Add(fixed);
    return row;
}

// The definitions of DoorRow's block: the third DOOR has none, so no prompt.
AcadAttributeDefArray DoorDefs() {
    return Defs({{"DOOR", "Door"}, {"DOOR", "Door 2"}, {"MAKER", "Maker"}});
}

TEST(CellText, FirstAttributeOfItsTagHasTheTagKey) {
    const Cell cell = CellOf(DoorRow(), "DOOR");
    EXPECT_TRUE(cell.found);
    EXPECT_EQ(cell.value, "D1");
    EXPECT_EQ(cell.key, "C:\\a.dwg<2F3_DOOR>");
}

TEST(CellText, LaterAttributeWithItsHandleHasTheHandleInTheKey) {
    const Cell cell = CellOf(DoorRow(), "DOOR_Dup(1)");
    EXPECT_EQ(cell.value, "D2");
    EXPECT_EQ(cell.key, "C:\\a.dwg<2F3_DOOR(2F4)>");
}

TEST(CellText, LaterAttributeWithoutAHandleHasTheDupNameInTheKey) {
    const Cell cell = CellOf(DoorRow(), "DOOR_Dup(2)");
    EXPECT_EQ(cell.value, "D3");
    EXPECT_EQ(cell.key, "C:\\a.dwg<2F3_DOOR_Dup(2)>");
}

TEST(CellText, PromptAsHeaderMatchesByPromptAndKeysTheLaterAttributeByItsHandle) {
    AcadBlockView view;
    view.promptAsHeader = 1;
    const Cell later = CellOf(DoorRow(), "Door 2", view, {}, DoorDefs());
    EXPECT_EQ(later.value, "D2");
    EXPECT_EQ(later.key, "C:\\a.dwg<2F3_DOOR(2F4)>");
    const Cell first = CellOf(DoorRow(), "Door", view, {}, DoorDefs());
    EXPECT_EQ(first.key, "C:\\a.dwg<2F3_DOOR>");
    EXPECT_FALSE(CellOf(DoorRow(), "DOOR", view, {}, DoorDefs()).found);
    EXPECT_FALSE(CellOf(DoorRow(), "door 2", view, {}, DoorDefs()).found);
}

TEST(CellText, AConstantAttributesValueShowsButItsKeyCellIsEmpty) {
    const Cell cell = CellOf(DoorRow(), "MAKER");
    EXPECT_TRUE(cell.found);
    EXPECT_EQ(cell.value, "Orvane");
    EXPECT_EQ(cell.key, "");
}

TEST(CellText, AnUnknownColumnGivesNothing) {
    const Cell cell = CellOf(DoorRow(), "door");
    EXPECT_FALSE(cell.found);
    EXPECT_EQ(cell.value, "");
    EXPECT_EQ(cell.key, "");
}

TEST(CellText, PositionsUseTheRowsUnitsAndShowAnExactZeroAsZeroInDecimalUnits) {
    FakeDrawing drawing;
    const AcadBlockRef row = DoorRow();
    const Cell x = CellOf(row, "position x", {}, drawing);
    EXPECT_EQ(x.value, "D[-1,-1]12.5");
    EXPECT_EQ(x.key, "C:\\a.dwg<2F3:PosX>");
    EXPECT_EQ(CellOf(row, "Position Y", {}, drawing).value, "0");
    EXPECT_EQ(CellOf(row, "Position Y", {}, drawing).key, "C:\\a.dwg<2F3:PosY>");
    EXPECT_EQ(CellOf(row, "Position Z", {}, drawing).key, "C:\\a.dwg<2F3:PosZ>");
    drawing.lunits = 4;
    EXPECT_EQ(CellOf(row, "Position Y", {}, drawing).value, "D[-1,-1]0");
}

TEST(CellText, ScalesUseTheGForm) {
    const AcadBlockRef row = DoorRow();
    EXPECT_EQ(CellOf(row, "Scale X").value, "1");
    EXPECT_EQ(CellOf(row, "Scale X").key, "C:\\a.dwg<2F3:ScaleX>");
    EXPECT_EQ(CellOf(row, "SCALE Y").value, "0.5");
    EXPECT_EQ(CellOf(row, "Scale Z").value, "1E-07");
    EXPECT_EQ(CellOf(row, "Scale Z").key, "C:\\a.dwg<2F3:ScaleZ>");
}

TEST(CellText, RotationUsesTheRowsAngleUnitsAndLayerItsName) {
    const AcadBlockRef row = DoorRow();
    EXPECT_EQ(CellOf(row, "Rotation").value, "A[3,-1]1.5");
    EXPECT_EQ(CellOf(row, "Rotation").key, "C:\\a.dwg<2F3:Rotation>");
    EXPECT_EQ(CellOf(row, "layer").value, "DOORS");
    EXPECT_EQ(CellOf(row, "layer").key, "C:\\a.dwg<2F3:Layer>");
}

TEST(CellText, AreaZeroOrMinusOneGivesNAInAnyUnit) {
    for (double area : {0.0, -1.0, 0.000009}) {
        for (int unit = 0; unit <= 4; ++unit) {
            AcadBlockRef row = DoorRow();
            row.outerArea = area;
            AcadBlockView view;
            view.areaUnit = unit;
            EXPECT_EQ(CellOf(row, "Outer Polygon Area", view).value, "N.A.") << area << unit;
        }
    }
}

TEST(CellText, AreaTextsAndKeysFollowTheAreaUnit) {
    AcadBlockRef row = DoorRow();
    row.outerArea = 288.0;
    AcadBlockView view;
    Cell cell = CellOf(row, "Outer Polygon Area", view);
    EXPECT_EQ(cell.value, "288.00");
    EXPECT_EQ(cell.key, "C:\\a.dwg<2F3:OPArea>");
    view.areaUnit = 1;
    cell = CellOf(row, "Outer Polygon Area [sq.in.]", view);
    EXPECT_EQ(cell.value, "D[2,2]288");
    EXPECT_EQ(cell.key, "C:\\a.dwg<2F3:OPArea.sq.in.>");
    view.areaUnit = 2;
    cell = CellOf(row, "Outer Polygon Area [sq.ft.]", view);
    EXPECT_EQ(cell.value, "D[2,4]2");
    EXPECT_EQ(cell.key, "C:\\a.dwg<2F3:OPArea.sq.ft.>");
    view.areaUnit = 3;
    row.outerArea = 10000.0;
    cell = CellOf(row, "Outer Polygon Area [sq.m]", view);
    EXPECT_EQ(cell.value, "D[2,4]6.4516");
    EXPECT_EQ(cell.key, "C:\\a.dwg<2F3:OPArea.sq.m>");
}

TEST(CellText, WithNoValueTagsAnEmptyValueIsPassedOver) {
    AcadBlockRef row = Row("1");
    row.attributes.Add(Att("A", ""));
    row.attributes.Add(Att("B", "b"));
    const AcadAttributeDefArray defs = Defs({{"A", "Same"}, {"B", "Same"}});
    AcadBlockView view;
    view.promptAsHeader = 1;
    EXPECT_EQ(CellOf(row, "Same", view, {}, defs).value, "");
    EXPECT_EQ(CellOf(row, "Same", view, {}, defs).key, "C:\\a.dwg<1_A>");
    view.noValueTags.Add(AcadAttDefTag("X", 0, 0));
    EXPECT_EQ(CellOf(row, "Same", view, {}, defs).value, "b");
    EXPECT_EQ(CellOf(row, "Same", view, {}, defs).key, "C:\\a.dwg<1_B>");
}

TEST(CellTextByKey, PropertiesByShortKeyWithTheAreaUnitFromTheSuffix) {
    const FakeDrawing drawing;
    AcadBlockRef row = DoorRow();
    row.outerArea = 144.0;
    std::string value;
    std::string key;
    bool isDistance = true;
    EXPECT_TRUE(CellTextByKey(row, "posx", value, key, {}, true, isDistance, drawing));
    EXPECT_EQ(value, "D[-1,-1]12.5");
    EXPECT_EQ(key, "C:\\a.dwg<2F3:PosX>");
    EXPECT_FALSE(isDistance);
    EXPECT_TRUE(CellTextByKey(row, "OPArea.sq.ft.", value, key, {}, true, isDistance, drawing));
    EXPECT_EQ(value, "D[2,4]1");
    EXPECT_EQ(key, "C:\\a.dwg<2F3:OPArea.sq.ft.>");
    EXPECT_TRUE(CellTextByKey(row, "ScaleY", value, key, {}, true, isDistance, drawing));
    EXPECT_EQ(value, "0.5");
    // Without properties only the layer stands beside the attributes.
    EXPECT_FALSE(CellTextByKey(row, "PosX", value, key, {}, false, isDistance, drawing));
    EXPECT_EQ(value, "");
    EXPECT_TRUE(CellTextByKey(row, "Layer", value, key, {}, false, isDistance, drawing));
    EXPECT_EQ(value, "DOORS");
}

TEST(CellTextByKey, AttributesMatchByTagAloneAndReportDistances) {
    const FakeDrawing drawing;
    AcadBlockRef row = DoorRow();
    AcadAttribute width = Att("Width", "1200");
    width.isDistance = 1;
    row.attributes.Add(width);
    std::string value;
    std::string key;
    bool isDistance = false;
    EXPECT_TRUE(CellTextByKey(row, "DOOR", value, key, {}, false, isDistance, drawing));
    EXPECT_EQ(value, "D1");
    EXPECT_EQ(key, "C:\\a.dwg<2F3_DOOR>");
    EXPECT_FALSE(isDistance);
    EXPECT_TRUE(CellTextByKey(row, "Width", value, key, {}, true, isDistance, drawing));
    EXPECT_EQ(value, "1200");
    EXPECT_TRUE(isDistance);
    EXPECT_TRUE(CellTextByKey(row, "MAKER", value, key, {}, false, isDistance, drawing));
    EXPECT_EQ(key, "");
}

TEST(ParseKeyCell, AnAttributeKeyCutsAtTheFirstUnderscore) {
    tables::CStringArrayEx handles;
    std::string tag;
    int kind = -1;
    EXPECT_TRUE(ParseKeyCell("2F3_DOOR", handles, tag, kind));
    EXPECT_EQ(handles, (tables::CStringArrayEx{"2F3"}));
    EXPECT_EQ(tag, "DOOR");
    EXPECT_EQ(kind, 0);
}

TEST(ParseKeyCell, AnAttributeTagThatHoldsAnUnderscoreParsesCorrectly) {
    tables::CStringArrayEx handles;
    std::string tag;
    int kind = -1;
    EXPECT_TRUE(ParseKeyCell("2F3_DOOR_NO_Dup(1)", handles, tag, kind));
    EXPECT_EQ(handles, (tables::CStringArrayEx{"2F3"}));
    EXPECT_EQ(tag, "DOOR_NO_Dup(1)");
    EXPECT_EQ(kind, 0);
}

TEST(ParseKeyCell, AnAttributeTagThatHoldsAColonStaysAnAttribute) {
    tables::CStringArrayEx handles;
    std::string tag;
    int kind = -1;
    EXPECT_TRUE(ParseKeyCell("2F3_A:PosX", handles, tag, kind));
    EXPECT_EQ(tag, "A:PosX");
    EXPECT_EQ(kind, 0);
}

TEST(ParseKeyCell, APropertyKeyCutsAtTheColonAndGivesTheBit) {
    tables::CStringArrayEx handles;
    std::string tag;
    int kind = 0;
    EXPECT_TRUE(ParseKeyCell("2F3:PosX", handles, tag, kind));
    EXPECT_EQ(tag, "PosX");
    EXPECT_EQ(kind, 1);
    EXPECT_TRUE(ParseKeyCell("2F3:layer", handles, tag, kind));
    EXPECT_EQ(kind, 128);
    EXPECT_TRUE(ParseKeyCell("2F3:OPArea", handles, tag, kind));
    EXPECT_EQ(kind, 256);
    EXPECT_EQ(handles, (tables::CStringArrayEx{"2F3"}));
}

TEST(ParseKeyCell, MergedHandlesAreAddedOnceWithoutRegardToCase) {
    tables::CStringArrayEx handles{"2f9"};
    std::string tag;
    int kind = 0;
    EXPECT_TRUE(ParseKeyCell("2F3||2F9|2f3|A0_DOOR", handles, tag, kind));
    EXPECT_EQ(handles, (tables::CStringArrayEx{"2f9", "2F3", "A0"}));
}

TEST(ParseKeyCell, AnEmptyHalfMeansNoKey) {
    for (const char* cell : {"", "2F3_", "_DOOR", ":PosX", "2F3:", "DOOR", "_DOOR:"}) {
        tables::CStringArrayEx handles;
        std::string tag = "before";
        int kind = 7;
        EXPECT_FALSE(ParseKeyCell(cell, handles, tag, kind)) << cell;
        EXPECT_TRUE(handles.IsEmpty()) << cell;
    }
    // An underscore at the very start is no cut, so a colon further on is.
    tables::CStringArrayEx handles;
    std::string tag;
    int kind = 0;
    EXPECT_TRUE(ParseKeyCell("_1:Rotation", handles, tag, kind));
    EXPECT_EQ(handles, (tables::CStringArrayEx{"_1"}));
    EXPECT_EQ(kind, 64);
}

TEST(SplitPair, CutsAtTheSeparatorOrGivesTheWholeToTheSecondField) {
    std::string first = "old";
    std::string second = "old";
    SplitPair("Sheet1%}.{%A1", first, second);
    EXPECT_EQ(first, "Sheet1");
    EXPECT_EQ(second, "A1");
    first = "kept";
    SplitPair("A1", first, second);
    EXPECT_EQ(first, "kept");
    EXPECT_EQ(second, "A1");
    SplitPair("%}.{%", first, second);
    EXPECT_EQ(first, "");
    EXPECT_EQ(second, "");
}

TEST(ScheduleLiterals, AreTheSystemsOwn) {
    EXPECT_EQ(HeaderHandle, "Handle");
    EXPECT_EQ(HeaderDwgFile, "DWG File");
    EXPECT_EQ(HeaderBlockName, "Block Name");
    EXPECT_EQ(HeaderQuantity, "Quantity");
    EXPECT_EQ(BlockColumnMark, "089153E6-B97A-470c-8974-E302E7F9BFF2");
    EXPECT_EQ(CurrentDrawingMark, "Velmar_CurrentDrawing");
    EXPECT_EQ(Separator, "%}.{%");
}

// A drawing with two DOOR rows that are equal but for case and handle, one other DOOR row and
// one WINDOW row.
AcadBlockArray SampleBlocks() {
    AcadBlockArray blocks;
    AcadBlock door = Block("DOOR", {"NO", "TYPE"});
    const char* values[][2] = {{"1", "A"}, {"1", "a"}, {"2", "B"}};
    int handle = 0x100;
    for (const auto& pair : values) {
        AcadBlockRef row = Row(base::Sprintf("%X", handle++));
        row.attributes.Add(Att("NO", pair[0], 0, base::Sprintf("%X", handle++)));
        row.attributes.Add(Att("TYPE", pair[1], 0, base::Sprintf("%X", handle++)));
        door.refs.Add(row);
    }
    blocks.Add(door);
    AcadBlock window = Block("WINDOW", {"W"});
    AcadBlockRef row = Row("200");
    row.attributes.Add(Att("W", "w1", 0, "201"));
    window.refs.Add(row);
    blocks.Add(window);
    return blocks;
}

struct Tables {
    RowTable rows;
    RowTable keys;
};

Tables Build(AcadBlockArray& blocks, AcadBlockView& view, const AcadBlockFilter& filter = {},
             const tables::CStringArrayEx& names = tables::CStringArrayEx{"DOOR", "WINDOW"}) {
    Tables tables;
    const FakeDrawing drawing;
    BuildRows(blocks, tables.rows, tables.keys, view, filter, names, drawing);
    EXPECT_EQ(tables.rows.GetSize(), tables.keys.GetSize());
    for (int i = 0; i < tables.rows.GetSize(); ++i) {
        EXPECT_EQ(tables.rows[i].GetSize(), tables.keys[i].GetSize()) << i;
    }
    return tables;
}

TEST(BuildRows, WithAWidthToFillRowsComeTrimmedAndTheWidthIsTheWidestRowsBeforeThat) {
    for (int combine = 0; combine < 2; ++combine) {
        for (int headerStyle = 0; headerStyle < 2; ++headerStyle) {
            for (int includeHeader = 0; includeHeader < 2; ++includeHeader) {
                AcadBlockArray blocks = SampleBlocks();
                AcadBlockView view;
                view.combineItems = combine;
                view.headerStyle = headerStyle;
                view.includeHeader = includeHeader;
                AcadBlockView copy = view;
                const Tables full = Build(blocks, view);
                Tables trimmed;
                int width = 0;
                const FakeDrawing drawing;
                BuildRows(blocks, trimmed.rows, trimmed.keys, copy, {}, tables::CStringArrayEx{"DOOR", "WINDOW"},
                          drawing, &width);
                int widest = 0;
                for (const tables::CStringArrayEx& row : full.rows) widest = std::max(widest, row.GetSize());
                EXPECT_EQ(width, widest);
                ASSERT_EQ(trimmed.rows.GetSize(), full.rows.GetSize());
                for (int r = 0; r < full.rows.GetSize(); ++r) {
                    tables::CStringArrayEx row = full.rows[r];
                    tables::CStringArrayEx keys = full.keys[r];
                    TrimTrailingEmpty(row);
                    TrimTrailingEmpty(keys);
                    EXPECT_EQ(trimmed.rows[r], row) << r;
                    EXPECT_EQ(trimmed.keys[r], keys) << r;
                }
            }
        }
    }
}

// A sink that keeps what it is given as string rows.
class CollectingSink : public RowSink {
public:
    void TakeRows(RowTable& rows, RowTable& keys) override {
        EXPECT_EQ(rows.GetSize(), keys.GetSize());
        for (int i = 0; i < rows.GetSize(); ++i) {
            taken.rows.Add(rows[i]);
            taken.keys.Add(keys[i]);
        }
    }
    void TakeRow(const tables::CStringArrayEx& values, int valueCount,
                 const tables::CStringArrayEx& keys, int keyCount) override {
        taken.rows.Add(First(values, valueCount));
        taken.keys.Add(First(keys, keyCount));
    }

    Tables taken;

private:
    static tables::CStringArrayEx First(const tables::CStringArrayEx& cells, int count) {
        tables::CStringArrayEx first;
        for (int c = 0; c < count; ++c) first.Add(cells[c]);
        return first;
    }
};

TEST(BuildRows, WithASinkTheRowsGoToItInTheTablesOrderAndTheTablesStayEmpty) {
    for (int combine = 0; combine < 2; ++combine) {
        for (int headerStyle = 0; headerStyle < 2; ++headerStyle) {
            for (int includeHeader = 0; includeHeader < 2; ++includeHeader) {
                AcadBlockArray blocks = SampleBlocks();
                blocks.Add(Block("GATE", {"G"}));  // no references: its header goes again
                const tables::CStringArrayEx names{"DOOR", "GATE", "WINDOW"};
                AcadBlockView view;
                view.combineItems = combine;
                view.headerStyle = headerStyle;
                view.includeHeader = includeHeader;
                AcadBlockView copy = view;
                const FakeDrawing drawing;
                Tables expected;
                int expectedWidth = 0;
                BuildRows(blocks, expected.rows, expected.keys, view, {}, names, drawing,
                          &expectedWidth);
                Tables left;
                CollectingSink sink;
                int width = 0;
                BuildRows(blocks, left.rows, left.keys, copy, {}, names, drawing, &width, &sink);
                EXPECT_TRUE(left.rows.IsEmpty());
                EXPECT_TRUE(left.keys.IsEmpty());
                EXPECT_EQ(width, expectedWidth);
                ASSERT_EQ(sink.taken.rows.GetSize(), expected.rows.GetSize());
                for (int r = 0; r < expected.rows.GetSize(); ++r) {
                    EXPECT_EQ(sink.taken.rows[r], expected.rows[r]) << r;
                    EXPECT_EQ(sink.taken.keys[r], expected.keys[r]) << r;
                }
            }
        }
    }
}

TEST(BuildRows, HeaderStyleZeroWritesOneHeaderOverTheWholeTable) {
    AcadBlockArray blocks = SampleBlocks();
    AcadBlockView view;
    view.combineItems = 0;
    const Tables t = Build(blocks, view);
    ASSERT_EQ(t.rows.GetSize(), 5);
    EXPECT_EQ(t.rows[0], (tables::CStringArrayEx{"Block Name", "Quantity", "NO", "TYPE", "W"}));
    EXPECT_EQ(t.keys[0], (tables::CStringArrayEx{kMark, "", "", "", ""}));
    EXPECT_EQ(t.rows[1], (tables::CStringArrayEx{"DOOR", "1", "1", "A", ""}));
    EXPECT_EQ(t.keys[1], (tables::CStringArrayEx{"", "", "C:\\a.dwg<100_NO>", "C:\\a.dwg<100_TYPE>", ""}));
    EXPECT_EQ(t.rows[4], (tables::CStringArrayEx{"WINDOW", "1", "", "", "w1"}));
    // The second group has no header, so its first data row marks where it starts.
    EXPECT_EQ(t.keys[4], (tables::CStringArrayEx{kMark, "", "", "", "C:\\a.dwg<200_W>"}));
}

TEST(BuildRows, RowsThatListTheirValuesInAnotherOrderFillTheSameColumns) {
    AcadBlockArray blocks;
    AcadBlock door = Block("DOOR", {"NO", "TYPE"});
    const std::vector<std::vector<std::pair<const char*, const char*>>> values = {
        {{"NO", "1"}, {"TYPE", "A"}}, {{"TYPE", "B"}, {"NO", "2"}}, {{"TYPE", "C"}},
        {{"X", "9"}, {"NO", "4"}},    {{"NO", "5"}, {"TYPE", "E"}}};
    int handle = 0x100;
    for (const auto& list : values) {
        AcadBlockRef row = Row(base::Sprintf("%X", handle++));
        for (const auto& [tag, value] : list) row.attributes.Add(Att(tag, value));
        door.refs.Add(row);
    }
    blocks.Add(door);
    AcadBlockView view;
    view.combineItems = 0;
    const Tables t = Build(blocks, view, {}, tables::CStringArrayEx{"DOOR"});
    ASSERT_EQ(t.rows.GetSize(), 6);
    EXPECT_EQ(t.rows[0], (tables::CStringArrayEx{"Block Name", "Quantity", "NO", "TYPE"}));
    const std::vector<tables::CStringArrayEx> expected = {
        {"DOOR", "1", "1", "A"}, {"DOOR", "1", "2", "B"}, {"DOOR", "1", "", "C"},
        {"DOOR", "1", "4", ""},  {"DOOR", "1", "5", "E"}};
    for (int r = 0; r < 5; ++r) {
        tables::CStringArrayEx row = t.rows[r + 1];
        row.SetSize(4);
        EXPECT_EQ(row, expected[static_cast<std::size_t>(r)]) << r;
    }
    EXPECT_EQ(t.keys[2][2], "C:\\a.dwg<101_NO>");
    EXPECT_EQ(t.keys[2][3], "C:\\a.dwg<101_TYPE>");
}

TEST(BuildRows, HeaderStyleOneWritesAHeaderAndOwnColumnsForEachBlock) {
    AcadBlockArray blocks = SampleBlocks();
    AcadBlockView view;
    view.headerStyle = 1;
    view.combineItems = 0;
    const Tables t = Build(blocks, view);
    ASSERT_EQ(t.rows.GetSize(), 6);
    EXPECT_EQ(t.rows[0], (tables::CStringArrayEx{"Block Name", "Quantity", "NO", "TYPE"}));
    EXPECT_EQ(t.keys[0], (tables::CStringArrayEx{kMark, "", "", ""}));
    EXPECT_EQ(t.keys[1][0], "");
    EXPECT_EQ(t.rows[4], (tables::CStringArrayEx{"Block Name", "Quantity", "W"}));
    EXPECT_EQ(t.keys[4], (tables::CStringArrayEx{kMark, "", ""}));
    EXPECT_EQ(t.rows[5], (tables::CStringArrayEx{"WINDOW", "1", "w1"}));
    EXPECT_EQ(t.keys[5][0], "");
    EXPECT_TRUE(view.columns.IsEmpty());
}

TEST(BuildRows, WithIncludeHeaderOffTheFirstDataRowOfEachGroupHoldsTheMark) {
    AcadBlockArray blocks = SampleBlocks();
    for (int headerStyle : {0, 1}) {
        AcadBlockView view;
        view.includeHeader = 0;
        view.headerStyle = headerStyle;
        view.combineItems = 0;
        const Tables t = Build(blocks, view);
        ASSERT_EQ(t.rows.GetSize(), 4) << headerStyle;
        EXPECT_EQ(t.rows[0][0], "DOOR");
        EXPECT_EQ(t.keys[0][0], kMark);
        EXPECT_EQ(t.keys[1][0], "");
        EXPECT_EQ(t.keys[2][0], "");
        EXPECT_EQ(t.keys[3][0], kMark);
    }
}

TEST(BuildRows, WithAHeaderTheMarkStandsInTheBlockColumnOfTheHeaderRow) {
    AcadBlockArray blocks = SampleBlocks();
    AcadBlockView view;
    view.showName = 1;
    view.combineItems = 0;
    const Tables t = Build(blocks, view, {}, tables::CStringArrayEx{"DOOR"});
    EXPECT_EQ(t.rows[0], (tables::CStringArrayEx{"DWG File", "Block Name", "Quantity", "NO", "TYPE", "W"}));
    EXPECT_EQ(t.keys[0], (tables::CStringArrayEx{"", kMark, "", "", "", ""}));
    for (int i = 1; i < t.keys.GetSize(); ++i) EXPECT_EQ(t.keys[i][1], "");
}

TEST(BuildRows, TwoEqualRowsWithCombineItemsGiveOneRowWithCountTwoAndTwoLineKeys) {
    AcadBlockArray blocks = SampleBlocks();
    AcadBlockView view;
    const Tables t = Build(blocks, view, {}, tables::CStringArrayEx{"DOOR"});
    ASSERT_EQ(t.rows.GetSize(), 3);
    // The first row's texts stand, "A" and "a" being equal without case.
    EXPECT_EQ(t.rows[1], (tables::CStringArrayEx{"DOOR", "2", "1", "A", ""}));
    EXPECT_EQ(t.keys[1], (tables::CStringArrayEx{"", "", "C:\\a.dwg<100_NO>\nC:\\a.dwg<103_NO>",
                                         "C:\\a.dwg<100_TYPE>\nC:\\a.dwg<103_TYPE>", ""}));
    EXPECT_EQ(t.rows[2], (tables::CStringArrayEx{"DOOR", "1", "2", "B", ""}));
}

TEST(BuildRows, CombineItemsCountsEveryEqualRowAndLeavesLoneRowsAtOne) {
    AcadBlockArray blocks;
    AcadBlock door = Block("DOOR", {"NO"});
    for (const char* value : {"x", "y", "X", "z", "x", "Y"}) {
        AcadBlockRef row = Row(value);
        row.attributes.Add(Att("NO", value));
        door.refs.Add(row);
    }
    blocks.Add(door);
    AcadBlockView view;
    view.includeHeader = 0;
    Tables t = Build(blocks, view, {}, tables::CStringArrayEx{"DOOR"});
    ASSERT_EQ(t.rows.GetSize(), 3);
    EXPECT_EQ(t.rows[0], (tables::CStringArrayEx{"DOOR", "3", "x"}));
    EXPECT_EQ(t.rows[1], (tables::CStringArrayEx{"DOOR", "2", "y"}));
    EXPECT_EQ(t.rows[2], (tables::CStringArrayEx{"DOOR", "1", "z"}));
    EXPECT_EQ(t.keys[0], (tables::CStringArrayEx{kMark, "", "C:\\a.dwg<x_NO>\nC:\\a.dwg<X_NO>\nC:\\a.dwg<x_NO>"}));
    view.combineItems = 0;
    t = Build(blocks, view, {}, tables::CStringArrayEx{"DOOR"});
    EXPECT_EQ(t.rows.GetSize(), 6);
    view.combineItems = 1;
    view.showCount = 0;
    t = Build(blocks, view, {}, tables::CStringArrayEx{"DOOR"});
    ASSERT_EQ(t.rows.GetSize(), 3);
    EXPECT_EQ(t.rows[0], (tables::CStringArrayEx{"DOOR", "x"}));
}

TEST(BuildRows, IdentityColumnKindZeroShowsThePathAndMarksTheDrawing) {
    AcadBlockArray blocks = SampleBlocks();
    AcadBlockView view;
    view.showName = 1;
    const Tables t = Build(blocks, view, {}, tables::CStringArrayEx{"WINDOW"});
    EXPECT_EQ(t.rows[0][0], "DWG File");
    EXPECT_EQ(t.rows[1][0], "C:\\a.dwg");
    EXPECT_EQ(t.keys[1][0], kDrawingMark);
    EXPECT_EQ(t.rows[1][2], "1");
}

TEST(BuildRows, IdentityColumnKindOneAddsAStrokeAndTheLayoutName) {
    AcadBlockArray blocks = SampleBlocks();
    blocks[1].refs[0].ownerName = "Layout1";
    AcadBlockRef nameless = blocks[1].refs[0];
    nameless.ownerName = "";
    blocks[1].refs.Add(nameless);
    AcadBlockView view;
    view.showName = 1;
    view.identityColumn = 1;
    const Tables t = Build(blocks, view, {}, tables::CStringArrayEx{"WINDOW"});
    ASSERT_EQ(t.rows.GetSize(), 3);
    EXPECT_EQ(t.rows[1][0], "C:\\a.dwg|Layout1");
    EXPECT_EQ(t.keys[1][0], kDrawingMark);
    EXPECT_EQ(t.rows[2][0], "C:\\a.dwg");
}

TEST(BuildRows, IdentityColumnKindTwoShowsHandlesAndNeverMerges) {
    AcadBlockArray blocks = SampleBlocks();
    AcadBlockView view;
    view.showName = 1;
    view.identityColumn = 2;
    const Tables t = Build(blocks, view, {}, tables::CStringArrayEx{"DOOR"});
    ASSERT_EQ(t.rows.GetSize(), 4);
    EXPECT_EQ(t.rows[0][0], "Handle");
    EXPECT_EQ(t.rows[1][0], "100");
    EXPECT_EQ(t.keys[1][0], "");
    EXPECT_EQ(t.rows[2][0], "103");
    EXPECT_EQ(t.rows[2][2], "1");
}

TEST(BuildRows, FileIdentityMergesOnlyWithinOneFileAndJoinsTheDrawingMarks) {
    AcadBlockArray blocks = SampleBlocks();
    AcadBlock other = blocks[0];
    other.dwgFile = "C:\\b.dwg";
    for (AcadBlockRef& row : other.refs) row.dwgFile = "C:\\b.dwg";
    blocks.Add(other);
    AcadBlockView view;
    view.showName = 1;
    const Tables t = Build(blocks, view, {}, tables::CStringArrayEx{"DOOR"});
    ASSERT_EQ(t.rows.GetSize(), 5);
    EXPECT_EQ(t.rows[1][0], "C:\\a.dwg");
    EXPECT_EQ(t.rows[1][2], "2");
    EXPECT_EQ(t.keys[1][0], kDrawingMark + "\n" + kDrawingMark);
    EXPECT_EQ(t.rows[3][0], "C:\\b.dwg");
    EXPECT_EQ(t.rows[3][2], "2");
}

TEST(BuildRows, AHeaderOfABlockWithoutPassingRowsIsRemoved) {
    AcadBlockArray blocks = SampleBlocks();
    blocks[1].refs[0].layer.frozen = 1;
    AcadBlockFilter filter;
    filter.incFrozen = 0;
    AcadBlockView view;
    view.headerStyle = 1;
    Tables t = Build(blocks, view, filter);
    ASSERT_EQ(t.rows.GetSize(), 3);
    EXPECT_EQ(t.rows[2][0], "DOOR");
    // With one header for all, the header stays even over no rows.
    view.headerStyle = 0;
    t = Build(blocks, view, filter, tables::CStringArrayEx{"WINDOW"});
    ASSERT_EQ(t.rows.GetSize(), 1);
    EXPECT_EQ(t.rows[0][0], "Block Name");
}

TEST(BuildRows, AnEmptyNameGathersEveryNormalBlockAndFiltersApply) {
    AcadBlockArray blocks = SampleBlocks();
    blocks[1].isXref = 1;
    blocks.Add(AcadBlock("C:\\a.dwg", "*Paper_Space", 0, 0, 0, 0, 1, 0));
    blocks[2].refs.Add(Row("300"));
    AcadBlockFilter filter;
    filter.incXref = 0;
    AcadBlockView view;
    view.combineItems = 0;
    Tables t = Build(blocks, view, filter, tables::CStringArrayEx{""});
    ASSERT_EQ(t.rows.GetSize(), 4);
    blocks.layers = tables::CStringArrayEx{"none"};
    t = Build(blocks, view, {}, tables::CStringArrayEx{"DOOR", "NOSUCH"});
    ASSERT_EQ(t.rows.GetSize(), 1);
}

// The merge as first described: every row against every later row, removing matches in place.
void QuadraticMerge(RowTable& rows, RowTable& keys, int first, int countCell) {
    for (int i = first; i < rows.GetSize(); ++i) {
        int count = 1;
        for (int j = i + 1; j < rows.GetSize();) {
            bool same = rows[i].GetSize() == rows[j].GetSize();
            for (int c = 0; same && c < rows[i].GetSize(); ++c) {
                same = base::EqualNoCase(rows[i][c], rows[j][c]);
            }
            if (!same) {
                ++j;
                continue;
            }
            for (int c = 0; c < keys[i].GetSize(); ++c) {
                if (!keys[i][c].empty() && !keys[j][c].empty()) {
                    keys[i][c] = keys[i][c] + "\n" + keys[j][c];
                }
            }
            rows.RemoveAt(j);
            keys.RemoveAt(j);
            ++count;
        }
        if (rows[i].GetSize() > 1) rows[i][countCell] = std::to_string(count);
    }
}

TEST(BuildRows, MergingGivesTheSameTablesAsComparingEveryPairOfRows) {
    std::mt19937 random(11);
    std::uniform_int_distribution<int> pick(0, 3);
    const char* texts[] = {"a", "A", "b", ""};
    AcadBlockArray blocks;
    AcadBlock door = Block("DOOR", {"P", "Q"});
    for (int i = 0; i < 300; ++i) {
        AcadBlockRef row = Row(base::Sprintf("%X", 0x1000 + i));
        row.attributes.Add(Att("P", texts[pick(random)], 0, "A1"));
        if (pick(random) != 0) row.attributes.Add(Att("Q", texts[pick(random)], 0, "A2"));
        door.refs.Add(row);
    }
    blocks.Add(door);
    AcadBlockView view;
    view.combineItems = 0;
    Tables expected = Build(blocks, view, {}, tables::CStringArrayEx{"DOOR"});
    QuadraticMerge(expected.rows, expected.keys, 1, 1);
    view.combineItems = 1;
    const Tables merged = Build(blocks, view, {}, tables::CStringArrayEx{"DOOR"});
    ASSERT_EQ(merged.rows.GetSize(), expected.rows.GetSize());
    for (int i = 0; i < merged.rows.GetSize(); ++i) {
        EXPECT_EQ(merged.rows[i], expected.rows[i]) << i;
        EXPECT_EQ(merged.keys[i], expected.keys[i]) << i;
    }
}

TEST(AddGroup, AnEmptyGroupAddsNothing) {
    const AcadBlockArray blocks;
    RowTable rows;
    RowTable keys;
    bool firstHeader = true;
    AddGroup(blocks, rows, keys, AcadBlockView(), AcadBlockFilter(), {}, firstHeader,
             FakeDrawing());
    EXPECT_TRUE(rows.IsEmpty());
    EXPECT_TRUE(keys.IsEmpty());
    EXPECT_TRUE(firstHeader);
}

// One group of DoorRow under `columns` (header style 0, no header, no identity or count column).
tables::CStringArrayEx GroupCells(const tables::CStringArrayEx& columns, AcadBlockView view, tables::CStringArrayEx* keys) {
    AcadBlock block = Block("DOOR", {});
    block.defs = DoorDefs();
    block.refs.Add(DoorRow());
    AcadBlockArray blocks;
    blocks.Add(block);
    view.columns = columns;
    view.includeHeader = 0;
    view.showCount = 0;
    RowTable rows;
    RowTable keyRows;
    bool firstHeader = true;
    AddGroup(blocks, rows, keyRows, view, AcadBlockFilter(), {&blocks[0]}, firstHeader,
             FakeDrawing());
    EXPECT_EQ(rows.GetSize(), 1);
    if (rows.GetSize() != 1) return {};
    *keys = keyRows[0];
    return rows[0];
}

TEST(AddGroup, EachCellIsTheCellTextOfItsColumn) {
    for (const int promptAsHeader : {0, 1}) {
        AcadBlockView view;
        view.promptAsHeader = promptAsHeader;
        const tables::CStringArrayEx columns{"DOOR_Dup(2)", "Layer", "MAKER", "Door 2", "DOOR",
                                     "DOOR_Dup(1)", "Maker", "NONE", "Door", "Position X"};
        tables::CStringArrayEx keys;
        const tables::CStringArrayEx cells = GroupCells(columns, view, &keys);
        ASSERT_EQ(cells.GetSize(), columns.GetSize() + 1);
        for (int c = 0; c < columns.GetSize(); ++c) {
            const Cell expected = CellOf(DoorRow(), columns[c], view, {}, DoorDefs());
            EXPECT_EQ(cells[c + 1], expected.value) << columns[c] << " " << promptAsHeader;
            EXPECT_EQ(keys[c + 1], expected.key) << columns[c] << " " << promptAsHeader;
        }
    }
}

TEST(AddGroup, AColumnNamedTwiceShowsTheSameValueInBoth) {
    tables::CStringArrayEx keys;
    const tables::CStringArrayEx cells = GroupCells({"DOOR", "MAKER", "DOOR"}, AcadBlockView(), &keys);
    ASSERT_EQ(cells.GetSize(), 4);
    EXPECT_EQ(cells[1], "D1");
    EXPECT_EQ(cells[3], "D1");
    EXPECT_EQ(keys[1], "C:\\a.dwg<2F3_DOOR>");
    EXPECT_EQ(keys[3], "C:\\a.dwg<2F3_DOOR>");
    EXPECT_EQ(cells[2], "Orvane");
    EXPECT_EQ(keys[2], "");
}

TEST(AddGroup, UnderPromptAsHeaderTheFirstValueWithThePromptTakesTheColumn) {
    AcadBlockView view;
    view.promptAsHeader = 1;
    tables::CStringArrayEx keys;
    const tables::CStringArrayEx cells = GroupCells({"Door", ""}, view, &keys);
    ASSERT_EQ(cells.GetSize(), 3);
    EXPECT_EQ(cells[1], "D1");
    // The attribute without a prompt answers to the column without a name.
    EXPECT_EQ(cells[2], "D3");
    EXPECT_EQ(keys[2], "C:\\a.dwg<2F3_DOOR_Dup(2)>");
}

}  // namespace
}  // namespace attbat
