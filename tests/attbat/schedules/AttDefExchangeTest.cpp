#include <gtest/gtest.h>

#include "ScheduleFixture.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/schedules/AttDefImport.h"
#include "attbat/schedules/AttDefKey.h"
#include "attbat/schedules/CExportAttDefDialog.h"
#include "cad/Database.h"
#include "cad/Text.h"

namespace attbat {

namespace {

class AttDefExchangeTest : public ScheduleTest {
protected:
    void SetUp() override {
        ScheduleTest::SetUp();
        // The shared comment reader passes only lines with "_" behind their first character.
        drawing = OpenCurrent("attdefs.dxf", "plan_1.dxf");
    }
    // Exports to a new workbook (book.xlsx), saved, and attaches it.
    void Export(CExportAttDefDialog& dialog) {
        book = File("book.xlsx");
        {
            excel::FileBackendOptions made;
            made.output = book;
            made.force = true;
            testing::BackendScope scope(made);
            ASSERT_TRUE(dialog.ExportToExcel());
            ASSERT_TRUE(scope.Save());
        }
        Attach();
    }
    cad::AttributeDefinition Definition(const std::string& handle) {
        for (const cad::Entity& e : current->Database().Select({{0, "ATTDEF"}}))
            if (e.HandleString() == handle) return cad::AttributeDefinition(e.GetDatabase(), e.Index());
        return cad::AttributeDefinition();
    }
    std::string drawing;
};

TEST(AttDefKey, CommentsNameTheDrawingTheHandleAndTheField) {
    EXPECT_EQ(AttDefComment("C:\\A\\plan_1.dwg", "2F", AttDefField::Tag), "C:\\A\\plan_1.dwg<2F.Tag>");
    EXPECT_EQ(AttDefComment("d", "2F", AttDefField::Prompt), "d<2F.Prompt>");
    EXPECT_EQ(AttDefComment("d", "2F", AttDefField::DefaultValue), "d<2F.DefaultValue>");
    AttDefKey key;
    ASSERT_TRUE(ParseAttDefKey("C:\\A\\plan_1.dwg<2F.Prompt>", key));
    EXPECT_EQ(key.drawing, "C:\\A\\plan_1.dwg");
    EXPECT_EQ(key.handle, "2F");
    EXPECT_EQ(key.field, "Prompt");
    ASSERT_TRUE(ParseAttDefKey("<2F.Tag>", key));
    EXPECT_EQ(key.drawing, "");
    EXPECT_EQ(key.handle, "2F");
    EXPECT_FALSE(ParseAttDefKey("d<2F.>", key));
    EXPECT_FALSE(ParseAttDefKey("d<.Tag>", key));
    EXPECT_FALSE(ParseAttDefKey("d<2F>", key));
    EXPECT_FALSE(ParseAttDefKey("", key));
}

TEST_F(AttDefExchangeTest, TheLooseDefinitionsAreListedAndThoseInsideBlocksAreNot) {
    CExportAttDefDialog dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_tagList.GetSize(), 3);
    EXPECT_LT(dialog.m_tagList.FindString("INSIDE", false), 0);
    ASSERT_EQ(dialog.m_currentDefs.GetSize(), 3);
    EXPECT_EQ(dialog.m_currentDefs[0].defaultValue, "101");
    EXPECT_EQ(DrawingOf(dialog.m_currentDefs[0]), drawing);
    EXPECT_FALSE(HandleOf(dialog.m_currentDefs[0]).empty());
}

TEST_F(AttDefExchangeTest, ADrawingWithItsDefinitionsOnlyInsideBlocksShowsAnEmptyTagList) {
    host::DocumentManager::Instance().CloseAll();
    OpenCurrent("blockdefs.dxf", "only_blocks.dxf");
    CExportAttDefDialog dialog;
    dialog.OnInitDialog();
    EXPECT_TRUE(dialog.m_tagList.IsEmpty());
    dialog.OnOK();
    EXPECT_EQ(dialog.BuildRows().values.size(), 1u);  // the header alone
}

TEST_F(AttDefExchangeTest, WithDrawingNameOffAndOnlyPromptTheSheetHasOneColumnWithTheKeysAllTheSame) {
    CExportAttDefDialog dialog;
    dialog.OnInitDialog();
    dialog.m_exportDwgName = 0;
    dialog.m_attDefTag = 0;
    dialog.m_attDefValue = 0;
    dialog.m_exportHeader = 0;
    dialog.OnOK();
    Export(dialog);
    EXPECT_EQ(Value("Sheet1", "A1"), "Room number");
    EXPECT_EQ(Value("Sheet1", "B1"), "");
    const std::string handle = HandleOf(dialog.m_currentDefs[0]);
    EXPECT_EQ(Comment("Sheet1", "A1"), drawing + "<" + handle + ".Prompt>");
    EXPECT_EQ(Comment("Sheet1", "A3"), drawing + "<" + HandleOf(dialog.m_currentDefs[2]) + ".Prompt>");
}

TEST_F(AttDefExchangeTest, TheExportWritesTitlesRowsAndCommentsFromTheStartCell) {
    CExportAttDefDialog dialog;
    dialog.OnInitDialog();
    dialog.m_startColumn = "C";
    dialog.m_startRow = 3;
    ASSERT_TRUE(dialog.SetTick("AREA", false));
    dialog.OnOK();
    Export(dialog);
    EXPECT_EQ(Value("Sheet1", "C3"), "Drawing");
    EXPECT_EQ(Value("Sheet1", "F3"), "Default Value");
    EXPECT_EQ(Comment("Sheet1", "C3"), "");
    EXPECT_EQ(Value("Sheet1", "C4"), drawing);
    EXPECT_EQ(Comment("Sheet1", "C4"), "");
    EXPECT_EQ(Value("Sheet1", "D5"), "ROOM_NAME");
    EXPECT_EQ(Value("Sheet1", "F4"), "101");
    EXPECT_EQ(Comment("Sheet1", "F4"), drawing + "<" + HandleOf(dialog.m_currentDefs[0]) + ".DefaultValue>");
    EXPECT_EQ(Value("Sheet1", "D6"), "");  // AREA was left unticked
}

TEST_F(AttDefExchangeTest, OKPutsTheStartFieldsRightAndStoresTheNineSettings) {
    CExportAttDefDialog dialog;
    dialog.OnInitDialog();
    dialog.m_startColumn = "#";
    dialog.m_startRow = 0;
    dialog.m_attDefValue = 0;
    dialog.m_workbookOpt = 1;
    dialog.OnOK();
    EXPECT_EQ(dialog.m_startColumn, "A");
    EXPECT_EQ(dialog.m_startRow, 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar\\AttributeDefinition", "AttDefValue", 1), 0);
    EXPECT_EQ(CRegistry::GetInt("Velmar\\AttributeDefinition", "WorkbookOpt", 0), 1);
    EXPECT_EQ(CRegistry::GetString("Velmar\\AttributeDefinition", "StartColumn", "x"), "A");
    CExportAttDefDialog again;
    again.OnInitDialog();
    EXPECT_EQ(again.m_attDefValue, 0);
}

TEST_F(AttDefExchangeTest, NoColumnExportsNothing) {
    CExportAttDefDialog dialog;
    dialog.OnInitDialog();
    dialog.m_exportDwgName = dialog.m_attDefTag = dialog.m_attDefPrompt = dialog.m_attDefValue = 0;
    dialog.OnOK();
    EXPECT_TRUE(dialog.BuildRows().titles.empty());
    EXPECT_TRUE(dialog.ExportToExcel());
    EXPECT_TRUE(Boxes().empty());
}

TEST_F(AttDefExchangeTest, TheCurrentDrawingAddedToTheListCountsOnceOnly) {
    CExportAttDefDialog dialog;
    dialog.OnInitDialog();
    dialog.m_dataSource = 1;
    dialog.OnSourceChanged();
    ASSERT_TRUE(dialog.AddDrawing(drawing));
    ASSERT_TRUE(dialog.AddDrawing(drawing));
    EXPECT_EQ(dialog.m_drawingList.Paths().GetSize(), 1);
    EXPECT_EQ(dialog.m_drawingDefs.GetSize(), 3);
    dialog.OnOK();
    EXPECT_EQ(dialog.BuildRows().values.size(), 4u);
    // The same when the source was the list from the start.
    CRegistry::SetInt("Velmar\\AttributeDefinition", "DataSource", 1);
    CExportAttDefDialog listed;
    listed.OnInitDialog();
    ASSERT_TRUE(listed.AddDrawing(drawing));
    EXPECT_EQ(listed.m_drawingDefs.GetSize(), 3);
}

TEST_F(AttDefExchangeTest, ListedDrawingsAddTheirDefinitionsAndRemoveTakesThemAway) {
    const std::string other = Copy("attdefs.dxf", "other_plan.dxf");
    CExportAttDefDialog dialog;
    dialog.OnInitDialog();
    dialog.m_dataSource = 1;
    dialog.OnSourceChanged();
    EXPECT_TRUE(dialog.m_tagList.IsEmpty());
    ASSERT_TRUE(dialog.AddDrawing(other));
    EXPECT_EQ(dialog.m_drawingDefs.GetSize(), 3);
    EXPECT_EQ(DrawingOf(dialog.m_drawingDefs[0]), other);
    EXPECT_EQ(dialog.m_tagList.GetSize(), 3);
    EXPECT_FALSE(dialog.AddDrawing(File("nothing.dxf")));
    EXPECT_EQ(dialog.m_drawingList.Paths().GetSize(), 1);
    EXPECT_NE(Printed().find("Failed to read " + File("nothing.dxf") + ": "), std::string::npos) << Printed();
    ASSERT_TRUE(dialog.m_drawingList.Select(other));
    dialog.Remove();
    EXPECT_TRUE(dialog.m_drawingDefs.IsEmpty());
    EXPECT_TRUE(dialog.m_tagList.IsEmpty());
}

TEST_F(AttDefExchangeTest, AnEditedPromptComesBackAndAnEmptiedCellChangesNothing) {
    CExportAttDefDialog dialog;
    dialog.OnInitDialog();
    dialog.OnOK();
    Export(dialog);
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    ExcelUtils::Worksheet->GetRange("C2")->SetValue(excel::Variant::String("Room no."));
    ExcelUtils::Worksheet->GetRange("D3")->SetValue(excel::Variant::String(""));
    ExcelUtils::Worksheet->GetRange("B4")->SetValue(excel::Variant::String(""));
    ExcelUtils::Disconnect();
    std::vector<AttDefChange> changes;
    bool declined = true;
    ASSERT_TRUE(ImportAttDefsByHandle(true, changes, declined));
    EXPECT_FALSE(declined);
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].field, "Prompt");
    const std::string first = HandleOf(dialog.m_currentDefs[0]);
    EXPECT_EQ(Definition(first).Prompt(), "Room no.");
    EXPECT_EQ(Definition(HandleOf(dialog.m_currentDefs[1])).DefaultValue(), "Office");
    EXPECT_EQ(Definition(HandleOf(dialog.m_currentDefs[2])).Tag(), "AREA");
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(ui.Shown()[0].text, "Are you sure you want to import the attribute definitions from " + book + "[Sheet1]?");
    EXPECT_EQ(ui.Shown()[0].title, "Orvane Velmar");
}

TEST_F(AttDefExchangeTest, NoAnswerYesChangesNothing) {
    CExportAttDefDialog dialog;
    dialog.OnInitDialog();
    dialog.OnOK();
    Export(dialog);
    ui.SetDefaultAnswer(host::BoxAnswer::No);
    std::vector<AttDefChange> changes;
    bool declined = false;
    EXPECT_FALSE(ImportAttDefsByHandle(true, changes, declined));
    EXPECT_TRUE(declined);
}

TEST_F(AttDefExchangeTest, NoWorkbookSaysToOpenTheExportedOne) {
    std::vector<AttDefChange> changes;
    bool declined = false;
    EXPECT_FALSE(ImportAttDefsByHandle(true, changes, declined));
    EXPECT_EQ(Boxes(), std::vector<std::string>{"Please start Excel and open the exported workbook first."});
}

TEST_F(AttDefExchangeTest, ACommentWithAnUnderscoreInItsPathReachesTheImportAndOneWithoutDoesnt) {
    Book({{"Defs", "A1", "x", "C:\\A\\plan_1.dwg<2F.Prompt>"}, {"Defs", "A2", "y", "C:\\A\\plan1.dwg<2F.Prompt>"}});
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    arxutils::KeyLines map;
    ASSERT_TRUE(ExcelUtils::ReadCommentAndText(map, true));
    ExcelUtils::Disconnect();
    const AcadAttributeDefArray records = BuildAttDefUpdates(map);
    ASSERT_EQ(records.GetSize(), 1);
    EXPECT_EQ(DrawingOf(records[0]), "C:\\A\\plan_1.dwg");
    EXPECT_EQ(records[0].prompt, "x");
}

TEST_F(AttDefExchangeTest, RecordsGatherByDrawingAndHandleWithoutRegardToCase) {
    const AcadAttributeDefArray records = BuildAttDefUpdates({{"C:\\A\\p_1.dwg<2f.Tag>", "T"},
                                                              {"c:\\a\\P_1.DWG<2F.prompt>", "P"},
                                                              {"C:\\A\\p_1.dwg<2F.Other>", "O"},
                                                              {"C:\\A\\p_1.dwg<30.DefaultValue>", "D"}});
    ASSERT_EQ(records.GetSize(), 2);
    EXPECT_EQ(records[0].tag, "T");
    EXPECT_EQ(records[0].prompt, "P");
    EXPECT_EQ(records[1].defaultValue, "D");
}

TEST_F(AttDefExchangeTest, ADryRunListsTheChangesAndWritesNothing) {
    const std::string handle = "2F";
    ASSERT_TRUE(Definition(handle));
    AcadAttributeDefArray records = BuildAttDefUpdates({{drawing + "<" + handle + ".Prompt>", "Changed"}});
    const std::vector<AttDefChange> changes = WriteAttDefUpdates(records, false);
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].after, "Changed");
    EXPECT_EQ(Definition(handle).Prompt(), "Room number");
    EXPECT_FALSE(current->Database().IsModified());
}

}  // namespace

}  // namespace attbat
