// The dialog "Insert / Update Blocks": its checks in order, the column list with its .c2a file,
// and the options it stores.

#include "attbat/authoring/CInsertBlockDialog.h"

#include <fstream>

#include "AuthoringFixture.h"
#include "attbat/authoring/CCreateDwgsDialog.h"
#include "attbat/authoring/ColumnList.h"
#include "../export/ExportTestSupport.h"
#include "arxutils/ExcelUtils.h"
#include "base/File.h"

namespace attbat {
namespace {

class InsertDialogTest : public AuthoringTest {
protected:
    // The dialog opened on the current drawing, its fields filled so that every check passes.
    CInsertBlockDialog Opened() {
        CInsertBlockDialog dialog(&current->Database());
        dialog.OnInitDialog();
        std::ofstream(File("rows.xlsx")) << "x";
        dialog.m_options.workbookPath = File("rows.xlsx");
        dialog.m_options.worksheetName = "Rows";
        dialog.m_blockNameColumnIndex = 0;
        dialog.m_options.tagMode = 1;
        return dialog;
    }
    std::string LastBox() const { return ui.Shown().empty() ? std::string() : ui.Shown().back().text; }
};

TEST_F(InsertDialogTest, ThePickersOfferTheDrawingsBlocksAndTagsThenThePositions) {
    CInsertBlockDialog dialog = Opened();
    EXPECT_EQ(dialog.m_columnChoices.size(), 675u);
    EXPECT_EQ(dialog.m_columnChoices.back(), "YY");
    EXPECT_NE(std::find(dialog.m_blockNames.begin(), dialog.m_blockNames.end(), "DOOR"), dialog.m_blockNames.end());
    for (const std::string& name : dialog.m_blockNames) EXPECT_NE(name.front(), '*');
    ASSERT_GE(dialog.m_tagChoices.size(), 3u);
    EXPECT_EQ(dialog.m_tagChoices[dialog.m_tagChoices.size() - 3], "Position X");
    EXPECT_EQ(std::count(dialog.m_tagChoices.begin(), dialog.m_tagChoices.end(), "MARK"), 1);
}

TEST_F(InsertDialogTest, TheChecksComeInTheirOrder) {
    CInsertBlockDialog dialog = Opened();
    dialog.m_options.workbookPath = " ";
    EXPECT_FALSE(dialog.Validate());
    EXPECT_EQ(LastBox(), "Invalid workbook.");
    dialog.m_options.workbookPath = File("nowhere.xlsx");
    EXPECT_FALSE(dialog.Validate());
    EXPECT_EQ(LastBox(), "Please save the workbook first.");
    dialog.m_options.workbookPath = "https://example.org/rows.xlsx";
    dialog.m_options.worksheetName = "";
    EXPECT_FALSE(dialog.Validate());
    EXPECT_EQ(LastBox(), "Invalid worksheet.");
    dialog.m_options.worksheetName = "Rows";
    dialog.m_options.tagMode = 0;
    dialog.m_headerRowText = "0";
    EXPECT_FALSE(dialog.Validate());
    EXPECT_EQ(LastBox(), "Header Row is invalid.");
    dialog.m_headerRowText = "1";
    dialog.m_options.useBlockName = 1;
    EXPECT_FALSE(dialog.Validate());
    EXPECT_EQ(LastBox(), "Invalid block name.");
    dialog.m_options.useBlockName = 0;
    dialog.m_blockNameColumnIndex = -1;
    EXPECT_FALSE(dialog.Validate());
    EXPECT_EQ(LastBox(), "Invalid block name column.");
    dialog.m_blockNameColumnIndex = 0;
    dialog.m_options.blockLibraryDwg = File("library.dxf");
    EXPECT_FALSE(dialog.Validate());
    EXPECT_EQ(LastBox(), "Can't find the block library dwg: " + File("library.dxf"));
    std::ofstream(File("library.dwg")) << "x";
    dialog.m_options.blockLibraryDwg = File("library.dwg");
    EXPECT_FALSE(dialog.Validate());
    EXPECT_EQ(LastBox(), "Invalid block library dwg path.");
    EXPECT_EQ(ui.Shown().back().title, "Orvane Velmar");
    dialog.m_options.blockLibraryDwg = kFloor;
    EXPECT_TRUE(dialog.Validate());
}

TEST_F(InsertDialogTest, ThePickersBecomeTheOptionsColumnsAndUpdateSetsItsMode) {
    CInsertBlockDialog dialog = Opened();
    dialog.m_blockNameColumnIndex = 2;
    dialog.m_drawingPathColumnIndex = 4;
    dialog.m_burstColumnIndex = 5;
    ASSERT_TRUE(dialog.OnUpdateBlocks());
    EXPECT_EQ(dialog.m_options.blockNameColumn, 3);
    EXPECT_EQ(dialog.m_options.drawingPathColumn, 4);
    EXPECT_EQ(dialog.m_options.burstColumn, 6);
    EXPECT_EQ(dialog.m_options.updateMode, 1);
}

TEST_F(InsertDialogTest, AddRefusesAnEmptyTagABadColumnAndAColumnTwice) {
    CInsertBlockDialog dialog = Opened();
    EXPECT_FALSE(dialog.OnAdd("C", ""));
    EXPECT_EQ(LastBox(), "Attribute tag is invalid.");
    EXPECT_FALSE(dialog.OnAdd(" - ", "MARK"));
    EXPECT_EQ(LastBox(), "Column is invalid.");
    EXPECT_TRUE(dialog.OnAdd(" C ", "MARK"));
    EXPECT_FALSE(dialog.OnAdd("C", "WIDTH"));
    EXPECT_EQ(LastBox(), "Column C already exists.");
    EXPECT_EQ(dialog.m_list, (ColumnPairs{{"C", "MARK"}}));
    EXPECT_EQ(dialog.m_options.columnMap.at("C"), "MARK");
}

TEST_F(InsertDialogTest, RemoveAsksFirst) {
    CInsertBlockDialog dialog = Opened();
    dialog.OnAdd("C", "MARK");
    ui.QueueAnswer(host::BoxAnswer::No);
    EXPECT_FALSE(dialog.OnRemove(0));
    EXPECT_EQ(LastBox(), "Are you sure you want to remove the select item?");
    EXPECT_TRUE(dialog.OnRemove(0));
    EXPECT_TRUE(dialog.m_list.empty());
    EXPECT_TRUE(dialog.m_options.columnMap.empty());
}

TEST_F(InsertDialogTest, OkStoresTheOptionsAndTheColumnMapAndTheNextOpeningRestoresThem) {
    CInsertBlockDialog dialog = Opened();
    dialog.OnAdd("D", "MARK");
    dialog.OnAdd("B", "Position X");
    dialog.m_options.tagMode = 0;
    dialog.m_headerRowText = "4";
    dialog.m_blockNameColumnIndex = 2;
    dialog.m_options.insertionPointOnScreen = 1;
    ASSERT_TRUE(dialog.OnInsertBlocks());
    CInsertBlockDialog again(&current->Database());
    again.OnInitDialog();
    EXPECT_EQ(again.m_options.tagMode, 0);
    EXPECT_EQ(again.m_headerRowText, "4");
    EXPECT_EQ(again.m_blockNameColumnIndex, 2);
    EXPECT_EQ(again.m_options.insertionPointOnScreen, 1);
    EXPECT_EQ(again.m_options.columnMap.size(), 2u);
    EXPECT_EQ(again.m_list.size(), 2u);
    // Cancel stores nothing: a dialog left without OK changes no setting.
    again.m_options.tagMode = 1;
    CInsertBlockDialog third(&current->Database());
    third.OnInitDialog();
    EXPECT_EQ(third.m_options.tagMode, 0);
}

TEST(ColumnListFile, EachLineIsColumnColonTagEndingInTwoCarriageReturnsAndALineFeed) {
    EXPECT_EQ(ColumnListBytes({{"C", "MARK"}, {"AB", "Position X"}}), "C:MARK\r\r\nAB:Position X\r\r\n");
}

TEST(ColumnListFile, ALineWithAFurtherColonKeepsEverythingBehindTheFirstAsTheTag) {
    ColumnPairs list;
    std::map<std::string, std::string> map;
    ReadColumnList("C:TAG:WITH:COLONS \r\r\n", list, map);
    EXPECT_EQ(list, (ColumnPairs{{"C", "TAG:WITH:COLONS"}}));
}

TEST(ColumnListFile, AKeyThatOccursTwiceKeepsItsFirstLine) {
    ColumnPairs list;
    std::map<std::string, std::string> map;
    ReadColumnList("C:FIRST\r\r\nD:OTHER\r\nC:SECOND\n", list, map);
    EXPECT_EQ(list, (ColumnPairs{{"C", "FIRST"}, {"D", "OTHER"}}));
    EXPECT_EQ(map.at("C"), "FIRST");
}

TEST(ColumnListFile, LinesWithoutAColumnOrTagAreSkippedAndKeysStayAsWritten) {
    ColumnPairs list;
    std::map<std::string, std::string> map;
    ReadColumnList(":TAG\r\nnocolon\r\n\r\nC:\r\n  c :lower\r\n", list, map);
    EXPECT_EQ(list, (ColumnPairs{{"c ", "lower"}}));
}

TEST_F(InsertDialogTest, SaveListAndLoadListGoThroughTheFileAndAMissingFileChangesNothing) {
    CInsertBlockDialog dialog = Opened();
    dialog.OnAdd("C", "MARK");
    dialog.OnAdd("B", "Position X");
    ASSERT_TRUE(dialog.OnSaveList(File("cols.c2a")));
    EXPECT_EQ(base::ReadFile(File("cols.c2a")).Value(), "C:MARK\r\r\nB:Position X\r\r\n");
    CInsertBlockDialog other = Opened();
    other.OnAdd("Z", "KEEP");
    EXPECT_FALSE(other.OnLoadList(File("none.c2a")));
    EXPECT_EQ(other.m_list, (ColumnPairs{{"Z", "KEEP"}}));
    ASSERT_TRUE(other.OnLoadList(File("cols.c2a")));
    EXPECT_EQ(other.m_list, (ColumnPairs{{"C", "MARK"}, {"B", "Position X"}}));
    EXPECT_EQ(other.m_options.columnMap.size(), 2u);
}

}  // namespace
}  // namespace attbat

namespace attbat {
namespace {

TEST_F(AuthoringTest, CreateDrawingsOpensWithThePickersAndTheRunningWorkbookAndStartOnlyCloses) {
    testing::BackendScope made([&] {
        arxutils::excel::FileBackendOptions o;
        o.output = File("book.xlsx");
        return o;
    }());
    ASSERT_TRUE(arxutils::ExcelUtils::StartExcel(false) && arxutils::ExcelUtils::AddWorkbook());
    arxutils::ExcelUtils::Worksheet->SetName("First");
    ASSERT_TRUE(arxutils::ExcelUtils::AddOrActivateSheet("Second"));
    arxutils::ExcelUtils::Disconnect();
    CCreateDwgsDialog dialog(&current->Database());
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_options.startRows, "1");
    // A sheet added goes before the active one, as the spreadsheet adds it.
    EXPECT_EQ(dialog.m_worksheets, (std::vector<std::string>{"Second", "First"}));
    EXPECT_EQ(dialog.m_worksheet, 0);
    EXPECT_EQ(dialog.m_options.worksheetName, "Second");
    EXPECT_EQ(dialog.m_columnChoices.size(), 675u);
    EXPECT_NE(std::find(dialog.m_blockNames.begin(), dialog.m_blockNames.end(), "DOOR"), dialog.m_blockNames.end());
    dialog.OnAdd();
    EXPECT_TRUE(dialog.m_list.empty());
    EXPECT_TRUE(dialog.OnStart());
    EXPECT_FALSE(std::filesystem::exists(dialog.m_options.outputFolder));
}

TEST_F(AuthoringTest, CreateDrawingsWithoutASpreadsheetLeavesItsFieldsEmpty) {
    CCreateDwgsDialog dialog(&current->Database());
    dialog.OnInitDialog();
    EXPECT_TRUE(dialog.m_options.workbookPath.empty());
    EXPECT_TRUE(dialog.m_worksheets.empty());
    EXPECT_EQ(dialog.m_worksheet, -1);
}

}  // namespace
}  // namespace attbat
