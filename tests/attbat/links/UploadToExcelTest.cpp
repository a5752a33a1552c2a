// The upload from the drawing to the workbook: which key comments count, how cells compare,
// what is written, and the rows of references that are gone.

#include "attbat/links/UploadToExcel.h"

#include "UploadFixture.h"
#include "attbat/frame/AsdkDataManager.h"
#include "attbat/frame/CAttBatApp.h"
#include "host/EditorReactor.h"

namespace attbat {
namespace {

TEST_F(UploadTest, ACommentFromAnotherDrawingFileOfAnotherNameIsPassedOver) {
    CRegistry::SetInt("Velmar", "UpdateDrawingPathsInExcel", 1);
    Book({{"A2", "WRONG", File("folder/other.dxf") + "<DE_MARK>"},
          {"B2", "WRONG", File("elsewhere/other.dxf") + "<DE_MARK>"}});
    UploadMaps maps = Parse();
    EXPECT_EQ(maps.comments.size(), 2u);
    EXPECT_TRUE(maps.changes.empty());
    EXPECT_TRUE(maps.commentChanges.empty());
}

TEST_F(UploadTest, TheSameDrawingUnderAnotherFolderRewritesTheCommentAndStillComparesTheValue) {
    CRegistry::SetInt("Velmar", "UpdateDrawingPathsInExcel", 1);
    const std::string old = File("moved-from/plan.dxf");
    Book({{"A2", "WRONG", old + "<DE_MARK>\n" + old + "<E5_MARK>"}});
    UploadMaps maps = Parse(false, true);
    EXPECT_EQ(maps.commentChanges["Doors:$A$2"], drawing + "<DE_MARK>\n" + drawing + "<E5_MARK>");
    EXPECT_EQ(maps.changes["Doors:$A$2"], "D01");
    EXPECT_EQ(Value("A2"), "D01");
    EXPECT_EQ(ExcelUtils::Worksheet->GetRange("A2")->GetComment()->Text(), drawing + "<DE_MARK>\n" + drawing + "<E5_MARK>");
}

TEST_F(UploadTest, WithTheSettingOffTheMovedDrawingsCommentIsPassedOverEntirely) {
    const std::string old = File("moved-from/plan.dxf");
    Book({{"A2", "WRONG", old + "<DE_MARK>"}});
    UploadMaps maps = Parse(false, true);
    EXPECT_TRUE(maps.changes.empty());
    EXPECT_TRUE(maps.commentChanges.empty());
    EXPECT_EQ(Value("A2"), "WRONG");
}

TEST_F(UploadTest, ATextAttributeThatDiffersOnlyInCaseIsWritten) {
    Book({{"A2", "d01", Key("<DE_MARK>")}, {"B2", "D02", Key("<E5_MARK>")}});
    UploadMaps maps = Parse(false, true);
    EXPECT_EQ(maps.changes.size(), 1u);
    EXPECT_EQ(Value("A2"), "D01");
    EXPECT_EQ(Value("B2"), "D02");
}

TEST_F(UploadTest, ACellShowing150ForANumericValueOf15IsNotChanged) {
    // The reference's X of 3 reads "3" in floor.dxf's units.
    Book({{"A2", "3.00", Key("<DE:PosX>")},
          {"B2", "1.000", Key("<DE:ScaleX>")},
          {"C2", "3.5", Key("<E5:PosY>")}});
    UploadMaps maps = Parse();
    EXPECT_EQ(maps.changes.count("Doors:$A$2"), 0u);
    EXPECT_EQ(maps.changes.count("Doors:$B$2"), 0u);
    ASSERT_EQ(maps.changes.count("Doors:$C$2"), 1u);
    EXPECT_EQ(maps.changes["Doors:$C$2"], "2");
}

TEST_F(UploadTest, APropertysTextThatIsNoNumberComparesAsText) {
    Book({{"A2", "a-door", Key("<DE:Layer>")}, {"B2", "three", Key("<DE:PosX>")}});
    UploadMaps maps = Parse();
    EXPECT_EQ(maps.changes["Doors:$A$2"], "A-DOOR");
    EXPECT_EQ(maps.changes["Doors:$B$2"], "3");
}

TEST_F(UploadTest, LaterAttributesOfATagGoByTheirHandleOrTheirNumber) {
    Book({{"A2", "x", Key("<DE_NOTE>")}, {"B2", "x", Key("<DE_NOTE(E4)>")}, {"C2", "x", Key("<E5_NOTE_Dup(1)>")}});
    UploadMaps maps = Parse();
    EXPECT_EQ(maps.changes["Doors:$A$2"], "Closer");
    EXPECT_EQ(maps.changes["Doors:$B$2"], "Kick plate");
    EXPECT_EQ(maps.changes["Doors:$C$2"], "Hold-open");
}

TEST_F(UploadTest, CommentsThatAreNoKeysAreNotRead) {
    Book({{"A2", "x", "a note of the user"}, {"B2", "x", "<DE_MARK>"}, {"C2", "x", Key("DE_MARK")}});
    UploadMaps maps = Parse();
    // "<DE_MARK>" has its "<" at the start, and the last names no drawing: none is a key.
    EXPECT_TRUE(maps.comments.empty());
    EXPECT_TRUE(maps.changes.empty());
}

TEST_F(UploadTest, AReferenceErasedFromTheDrawingOffersItsRowForDeletion) {
    Book({{"A2", "D01", Key("<DE_MARK>")}, {"B2", "900", Key("<DE_WIDTH>")},
          {"A3", "D02", Key("<E5_MARK>")}, {"A4", "D03", Key("<EC_MARK>")}});
    Reference("EC").Erase();
    Reference("DE").Erase();
    UploadMaps maps = Parse();
    EXPECT_EQ(maps.deletedRows, (std::vector<long>{2, 4}));
    EXPECT_TRUE(maps.changes.empty());
}

TEST_F(UploadTest, ADrawingPathCellWithNoHyperlinkGetsThePathAsItsValueAndNoNewHyperlink) {
    CRegistry::SetInt("Velmar", "UpdateDrawingPathsInExcel", 1);
    Book({{"A2", "C:\\old\\plan.dwg", "Velmar_CurrentDrawing"}});
    UploadMaps maps = Parse(false, true);
    ASSERT_EQ(maps.commentChanges.count("Doors:$A$2"), 1u);
    EXPECT_EQ(Value("A2"), drawing);
    EXPECT_EQ(ExcelUtils::Worksheet->GetRange("A2")->GetHyperlinks()->Count(), 0);
    EXPECT_EQ(ExcelUtils::Worksheet->GetRange("A2")->GetComment()->Text(), "Velmar_CurrentDrawing");
}

TEST_F(UploadTest, ADrawingPathCellWithAHyperlinkGetsALinkToTheCurrentDrawing) {
    CRegistry::SetInt("Velmar", "UpdateDrawingPathsInExcel", 1);
    Book({{"A2", "C:\\old\\plan.dwg", "velmar_currentdrawing"}});
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    auto cell = ExcelUtils::Worksheet->GetRange("A2");
    cell->GetHyperlinks()->Add(*cell, "C:\\old\\plan.dwg");
    Parse(false, true);
    EXPECT_EQ(Value("A2"), drawing);
    EXPECT_EQ(ExcelUtils::Worksheet->GetRange("A2")->GetHyperlinks()->Count(), 1);
}

TEST_F(UploadTest, WithTheSettingOffADrawingPathCellStaysAsItIs) {
    Book({{"A2", "C:\\old\\plan.dwg", "Velmar_CurrentDrawing"}});
    UploadMaps maps = Parse(false, true);
    EXPECT_TRUE(maps.commentChanges.empty());
    EXPECT_EQ(Value("A2"), "C:\\old\\plan.dwg");
}

class RemoveRowsTest : public UploadTest {
protected:
    void SetUp() override {
        UploadTest::SetUp();
        Book({{"A1", "one"}, {"A2", "two"}, {"A3", "three"}, {"A4", "four"}, {"A5", "five"}, {"A6", "six"}});
        ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    }
};

TEST_F(RemoveRowsTest, RowsAreDeletedInTheOrderFoundWithoutRenumbering) {
    // Row 2 goes first; "4" then names the row as it stands after that, which held "five".
    RemoveDeletedRows({2, 4}, "Yes");
    EXPECT_EQ(Value("A1"), "one");
    EXPECT_EQ(Value("A2"), "three");
    EXPECT_EQ(Value("A3"), "four");
    EXPECT_EQ(Value("A4"), "six");
    EXPECT_NE(Printed().find("Do you want to remove the rows (2, 4) containing the deleted blocks?[Yes/No]<Yes>:"),
              std::string::npos);
    EXPECT_NE(Printed().find("\nDelete the row 2 successfully.\nDelete the row 4 successfully."), std::string::npos)
        << Printed();
}

TEST_F(RemoveRowsTest, AnAnswerOfNoLeavesTheRows) {
    RemoveDeletedRows({2}, "No");
    EXPECT_EQ(Value("A2"), "two");
}

TEST_F(RemoveRowsTest, NobodyAnsweringIsACancelAndLeavesTheRows) {
    RemoveDeletedRows({2});
    EXPECT_EQ(Value("A2"), "two");
}

TEST_F(RemoveRowsTest, AnEmptyListAsksNothing) {
    RemoveDeletedRows({});
    EXPECT_EQ(Printed().find("Do you want"), std::string::npos);
}

// The automatic road, with the module loaded as the host has it.
class AutoUploadTest : public UploadTest {
protected:
    void SetUp() override {
        UploadTest::SetUp();
        app.EntryPoint(kInitAppMsg, nullptr);
        app.SetAutoUpload(AutoUpload);
    }
    void TearDown() override {
        app.EntryPoint(kUnloadAppMsg, nullptr);
        app.SetAutoUpload(nullptr);
        UploadTest::TearDown();
    }
    CAttBatApp& app = TheApp();
};

TEST_F(AutoUploadTest, WithTheSettingOffNothingIsUploadedAndTheScanIsForgotten) {
    Book({{"A2", "WRONG", Key("<DE_MARK>")}});
    app.editorReactor->uploadPrepared = 1;
    EXPECT_EQ(AutoUpload(1), 1);
    EXPECT_EQ(app.editorReactor->uploadPrepared, 0);
    EXPECT_EQ(Value("A2"), "WRONG");
}

TEST_F(AutoUploadTest, TheFirstUploadLooksAtEveryReferenceAndLaterOnesOnlyAtTheChangedOnes) {
    CRegistry::SetInt("Velmar", "AutoUploadToActiveWorkbook", 1);
    Book({{"A2", "WRONG", Key("<DE_MARK>")}, {"A3", "D02", Key("<E5_MARK>")}});
    host::TheEditorEvents().CommandEnded("_MOVE");  // nothing changed, but the first one scans all
    EXPECT_EQ(Value("A2"), "D01");
    EXPECT_EQ(app.editorReactor->uploadPrepared, 1);
    EXPECT_NE(Printed().find("\nUploading the modified attributes and properties to book.xlsx automatically."),
              std::string::npos);

    ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    ExcelUtils::Worksheet->GetRange("A2")->SetValue(excel::Variant::String("EDITED IN THE SHEET"));
    SetAttribute("E5", "MARK", "D02-NEW");
    host::TheEditorEvents().CommandEnded("_ATTEDIT");
    EXPECT_EQ(Value("A3"), "D02-NEW");
    EXPECT_EQ(Value("A2"), "EDITED IN THE SHEET");  // DE didn't change: its cell isn't looked at
    EXPECT_TRUE(DataManager().docData(current).modifiedHandles.IsEmpty());
}

TEST_F(AutoUploadTest, AnErasedReferenceIsNeitherAskedAboutNorRemovedAutomatically) {
    CRegistry::SetInt("Velmar", "AutoUploadToActiveWorkbook", 1);
    Book({{"A2", "D01", Key("<DE_MARK>")}, {"A3", "D02", Key("<E5_MARK>")}});
    Reference("DE").Erase();
    host::TheEditorEvents().CommandEnded("_ERASE");
    EXPECT_EQ(LastAutoUpload().deletedRows, std::vector<long>{2});
    EXPECT_EQ(Value("A2"), "D01");
    EXPECT_EQ(Printed().find("Do you want"), std::string::npos);
}

TEST_F(AutoUploadTest, WithoutAWorkbookItSaysSoAndTheEditGoesOn) {
    CRegistry::SetInt("Velmar", "AutoUploadToActiveWorkbook", 1);
    const int result = AutoUpload(1);
    EXPECT_EQ(result, 0) << Printed() << Warnings();
    EXPECT_NE(Printed().find("Can't upload the modified attributes to the active workbook. Please start Excel "
                             "and open the exported workbook first."),
              std::string::npos);
}

}  // namespace
}  // namespace attbat
