// The insertion and update passes: one reference a row, where its drawing is, what it takes from
// the row, and the update of earlier insertions.

#include "attbat/authoring/BlockPasses.h"

#include "AuthoringFixture.h"
#include "attbat/authoring/RowValues.h"
#include "base/File.h"
#include "cad/DynamicBlockReference.h"
#include "host/Printer.h"
#include "tables/InvalidArgument.h"

namespace attbat {
namespace {

const std::vector<std::string> kHeader = {"Block", "Position X", "Position Y", "MARK", "Layer", "Scale X", "Scale Y",
                                          "Scale Z", "Drawing"};

TEST_F(AuthoringTest, EachRowBecomesAReferenceWithItsPlacementValuesAndRowLink) {
    PassReport report = Insert(Rows({kHeader, {"DOOR", "100", "200.5", "D10", "A-WALL", "2", "2", "2"},
                                     {"WINDOW", "10", "20", "W10"}}));
    EXPECT_EQ(report.inserted, 2);
    std::vector<cad::BlockReference> made = NewReferences();
    ASSERT_EQ(made.size(), 2u);
    EXPECT_EQ(made[0].BlockName(), "DOOR");
    EXPECT_EQ(made[0].Position(), (cad::Point3{100, 200.5, 0}));
    EXPECT_EQ(made[0].ScaleFactors(), (cad::Point3{2, 2, 2}));
    EXPECT_EQ(made[0].Rotation(), 0);
    EXPECT_EQ(made[0].LayerName(), "A-WALL");
    EXPECT_EQ(made[0].FindAttribute("MARK").TextString(), "D10");
    // A tag the row doesn't name keeps the definition's default.
    EXPECT_EQ(made[0].FindAttribute("WIDTH").TextString(), "");
    EXPECT_NEAR(made[0].FindAttribute("MARK").Position().y, 200.5 - 2 * 0.3, 1e-9);
    EXPECT_EQ(RowLink(made[0]), File("rows.xlsx") + "|Rows|2");
    EXPECT_EQ(RowLink(made[1]), File("rows.xlsx") + "|Rows|3");
    host::CurrentPrinter().ReleaseHeld(true);
    EXPECT_NE(Printed().find("Insert block DOOR successfully."), std::string::npos);
}

TEST_F(AuthoringTest, ARowsSuccessLineWaitsForTheSaveAndAFailedSaveTellsNone) {
    Insert(Rows({kHeader, {"DOOR", "100", "200"}}));
    EXPECT_EQ(Printed().find("successfully"), std::string::npos);
    host::CurrentPrinter().ReleaseHeld(false);
    EXPECT_EQ(Printed().find("successfully"), std::string::npos);
}

TEST_F(AuthoringTest, TheRotationHeaderIsReadAndLeftWithoutEffect) {
    Insert(Rows({{"Block", "Rotation"}, {"DOOR", "90"}}));
    ASSERT_EQ(NewReferences().size(), 1u);
    EXPECT_EQ(NewReferences()[0].Rotation(), 0);
}

TEST_F(AuthoringTest, ARowWhoseBlockNameCellIsEmptyReportsTheCellsAddressAndInsertsNothing) {
    PassReport report = Insert(Rows({kHeader, {"", "1", "2", "X"}}));
    EXPECT_NE(Printed().find("The block name in the cell $A$2 is empty."), std::string::npos) << Printed();
    EXPECT_TRUE(NewReferences().empty());
    EXPECT_EQ(report.rowsFailed, 1);
}

TEST_F(AuthoringTest, AMissingBlockOrLayerIsSaidAndTheRowGoesOnOrStops) {
    Insert(Rows({kHeader, {"NOSUCH", "1", "2"}, {"DOOR", "1", "2", "D1", "NOLAYER"}}));
    EXPECT_NE(Printed().find("Cannot find block NOSUCH."), std::string::npos) << Printed();
    EXPECT_NE(Printed().find("Cannot find the layer NOLAYER."), std::string::npos);
    ASSERT_EQ(NewReferences().size(), 1u);
    EXPECT_EQ(NewReferences()[0].LayerName(), current->Database().HeaderText("$CLAYER", "0"));
}

TEST_F(AuthoringTest, TheBlockNameColumnMustLieInTheRow) {
    options.blockNameColumn = 20;
    Insert(Rows({kHeader, {"DOOR"}}));
    EXPECT_NE(Printed().find("Invalid block name column."), std::string::npos);
    EXPECT_TRUE(NewReferences().empty());
}

TEST_F(AuthoringTest, AFixedBlockNameServesEveryRow) {
    options.useBlockName = 1;
    options.blockName = "WINDOW";
    Insert(Rows({kHeader, {"DOOR", "1"}, {"", "2"}}));
    ASSERT_EQ(NewReferences().size(), 2u);
    EXPECT_EQ(NewReferences()[1].BlockName(), "WINDOW");
}

TEST_F(AuthoringTest, SelectedRowsLimitTheRowsCountedFromTheTable) {
    Insert(Rows({kHeader, {"DOOR", "1"}, {"DOOR", "2"}, {"DOOR", "3"}}), "$A$2,$A$4");
    std::vector<cad::BlockReference> made = NewReferences();
    ASSERT_EQ(made.size(), 2u);
    EXPECT_EQ(made[0].Position().x, 1);
    EXPECT_EQ(made[1].Position().x, 3);
}

TEST_F(AuthoringTest, ColumnsOfTheMapGiveTheValuesInColumnMode) {
    options.tagMode = 1;
    options.columnMap = {{"B", "Position X"}, {"C", "MARK"}, {"Z", "WIDTH"}};
    Insert(Rows({{"DOOR", "5", "D77", "ignored"}}));
    ASSERT_EQ(NewReferences().size(), 1u);
    EXPECT_EQ(NewReferences()[0].Position().x, 5);
    EXPECT_EQ(NewReferences()[0].FindAttribute("MARK").TextString(), "D77");
}

TEST_F(AuthoringTest, ColumnLettersInTheMapThatArentInTheTableGiveNoValueAndTheAttributeKeepsItsDefault) {
    options.tagMode = 1;
    options.columnMap = {{"Z", "MARK"}};
    std::string value = "unchanged";
    tables::CStringTable table = Rows({{"DOOR", "5"}});
    EXPECT_FALSE(GetRowValueByName(table, 1, 0, options.columnMap, "MARK", 0, value));
    Insert(table);
    ASSERT_EQ(NewReferences().size(), 1u);
    EXPECT_EQ(NewReferences()[0].FindAttribute("MARK").TextString(), "");
}

TEST_F(AuthoringTest, ATagInTheHeaderRowInAnotherCaseStillMatchesInHeaderModeButNotInColumnMode) {
    tables::CStringTable table = Rows({{"Block", "mark"}, {"DOOR", "D5"}});
    std::string value;
    EXPECT_TRUE(GetRowValueByName(table, 0, 1, {}, "MARK", 1, value));
    EXPECT_EQ(value, "D5");
    EXPECT_FALSE(GetRowValueByName(table, 1, 1, {{"B", "mark"}}, "MARK", 1, value));
    EXPECT_TRUE(GetRowValueByName(table, 1, 1, {{"B", "MARK"}}, "MARK", 1, value));
}

TEST_F(AuthoringTest, AnEmptyScaleCellKeepsTheScaleOfOne) {
    Insert(Rows({kHeader, {"DOOR", "1", "2", "D1", "", ""}}));
    ASSERT_EQ(NewReferences().size(), 1u);
    EXPECT_EQ(NewReferences()[0].ScaleFactors(), (cad::Point3{1, 1, 1}));
}

class SideDrawingTest : public AuthoringTest {
protected:
    void SetUp() override {
        AuthoringTest::SetUp();
        options.drawingPathColumn = 9;
        other = File("other.dxf");
        std::filesystem::copy_file(kFloor, other);
    }
    std::string other;
};

TEST_F(SideDrawingTest, TwoRowsNamingTheSameSideDrawingReadItOnceAndSaveItOnce) {
    const std::string original = base::ReadFile(other).Value();
    PassReport report = Insert(Rows({kHeader, {"DOOR", "1", "1", "S1", "", "", "", "", other},
                                     {"DOOR", "2", "2", "S2", "", "", "", "", other}}));
    EXPECT_EQ(report.drawingsSaved, std::vector<std::string>{other});
    // One save: the backup is the file as it was before the pass.
    EXPECT_TRUE(base::ReadFile(File("other.bak")).Value() == original);
    auto db = cad::Database::Open(other);
    ASSERT_TRUE(db);
    std::vector<cad::BlockReference> made = NewReferences(db->get());
    ASSERT_EQ(made.size(), 2u);
    EXPECT_EQ(made[1].FindAttribute("MARK").TextString(), "S2");
    EXPECT_TRUE(NewReferences().empty());
    host::CurrentPrinter().ReleaseHeld(true);
    EXPECT_NE(Printed().find("Insert block DOOR to " + other + " successfully."), std::string::npos) << Printed();
}

TEST_F(SideDrawingTest, AnEmptyDrawingPathCellLeavesTheRowInThePrecedingRowsDrawing) {
    Insert(Rows({kHeader, {"DOOR", "1", "1", "S1", "", "", "", "", other}, {"DOOR", "2", "2", "S2"}}));
    auto db = cad::Database::Open(other);
    ASSERT_TRUE(db);
    EXPECT_EQ(NewReferences(db->get()).size(), 2u);
    EXPECT_TRUE(NewReferences().empty());
}

TEST_F(SideDrawingTest, AMissingDrawingIsSaidAndItsRowSkipped) {
    Insert(Rows({kHeader, {"DOOR", "1", "1", "S1", "", "", "", "", File("gone.dxf")}, {"DOOR", "2"}}));
    EXPECT_NE(Printed().find("Cannot find " + File("gone.dxf") + "."), std::string::npos);
    EXPECT_EQ(NewReferences().size(), 1u);
}

TEST_F(SideDrawingTest, ADryRunSavesNoSideDrawing) {
    settings.dryRun = true;
    const std::string original = base::ReadFile(other).Value();
    Insert(Rows({kHeader, {"DOOR", "1", "1", "S1", "", "", "", "", other}}));
    EXPECT_TRUE(base::ReadFile(other).Value() == original);
    EXPECT_FALSE(std::filesystem::exists(File("other.bak")));
}

class UpdatePassTest : public AuthoringTest {
protected:
    void SetUp() override {
        AuthoringTest::SetUp();
        Insert(Rows({kHeader, {"DOOR", "1", "1", "D1"}, {"DOOR", "2", "2", "D2"}, {"WINDOW", "3", "3", "W3"}}));
        ASSERT_EQ(NewReferences().size(), 3u);
    }
    PassReport Update(const tables::CStringTable& table, const std::string& selected = {}) {
        PassReport report;
        UpdateBlocksFromRows(table, options, selected, report);
        return report;
    }
};

TEST_F(UpdatePassTest, ChangedRowsMoveAndChangeTheirReferencesAndNothingElse) {
    const cad::Point3 markBefore = NewReferences()[1].FindAttribute("MARK").Position();
    PassReport report = Update(Rows({kHeader, {"DOOR", "1", "1", "D1"}, {"DOOR", "20", "2", "D2-NEW", "A-WALL", "5"},
                                     {"WINDOW", "3", "3", "W3"}}));
    EXPECT_EQ(report.updated, 3);
    std::vector<cad::BlockReference> made = NewReferences();
    EXPECT_EQ(made[1].Position(), (cad::Point3{20, 2, 0}));
    EXPECT_EQ(made[1].FindAttribute("MARK").TextString(), "D2-NEW");
    EXPECT_NEAR(made[1].FindAttribute("MARK").Position().x, markBefore.x + 18, 1e-9);
    // Scale and layer of existing references are not this pass's to change.
    EXPECT_EQ(made[1].ScaleFactors(), (cad::Point3{1, 1, 1}));
    EXPECT_NE(made[1].LayerName(), "A-WALL");
    EXPECT_EQ(made[0].Position(), (cad::Point3{1, 1, 0}));
}

TEST_F(UpdatePassTest, UpdateOfAReferenceLinkedToAWorkbookOfTheSameFileNameInAnotherFolderSucceeds) {
    options.workbookPath = File("elsewhere/ROWS.xlsx");
    options.worksheetName = "rows";
    EXPECT_EQ(Update(Rows({kHeader, {"DOOR", "9", "1", "D1"}})).updated, 1);
    EXPECT_EQ(NewReferences()[0].Position().x, 9);
}

TEST_F(UpdatePassTest, AnotherWorkbookSheetOrBlockIsPassedOver) {
    options.workbookPath = File("other.xlsx");
    EXPECT_EQ(Update(Rows({kHeader, {"DOOR", "9", "1", "D1"}})).updated, 0);
    options.workbookPath = File("rows.xlsx");
    EXPECT_EQ(Update(Rows({kHeader, {"WINDOW", "9", "1", "D1"}, {"DOOR", "8"}})).updated, 1);
    EXPECT_EQ(NewReferences()[0].Position().x, 1);
}

TEST_F(UpdatePassTest, ARowSpanLimitsTheReferencesUpdated) {
    EXPECT_EQ(Update(Rows({kHeader, {"DOOR", "9"}, {"DOOR", "9"}, {"WINDOW", "9"}}), "$A$3:$D$4").updated, 2);
    EXPECT_EQ(NewReferences()[0].Position().x, 1);
    EXPECT_EQ(NewReferences()[1].Position().x, 9);
}

TEST_F(UpdatePassTest, ALinkRowAboveTheTablesFirstRowEndsTheCommand) {
    EXPECT_THROW(Update(Rows({kHeader, {"DOOR", "9"}}, 3)), tables::InvalidArgument);
}

}  // namespace
}  // namespace attbat

namespace attbat {
namespace {

const std::string kLibrary = std::string(VELMAR_CORPUS) + "/dxf/librecad-arch-library-ac1021.dxf";

TEST_F(AuthoringTest, AMissingBlockComesFromTheLibraryDrawingWithItsGeometry) {
    options.blockLibraryDwg = kLibrary;
    Insert(Rows({kHeader, {"SOFA", "10", "20"}, {"SOFA", "30", "20"}}));
    cad::BlockRecord sofa = current->Database().FindBlock("SOFA");
    ASSERT_TRUE(sofa);
    EXPECT_EQ(sofa.Entities().size(), 17u);
    EXPECT_EQ(NewReferences().size(), 2u);
    // Read once: the second row finds the block the first brought in.
    EXPECT_EQ(Printed().find("Can't"), std::string::npos) << Printed();
}

TEST_F(AuthoringTest, ABlockNeitherInTheDrawingNorInTheLibraryIsADrawingOfItsNameOnTheSearchPath) {
    std::filesystem::create_directories(File("blocks"));
    std::filesystem::copy_file(kFloor, File("blocks/PLAN_STAMP.dxf"));
    options.blockLibraryDwg = kLibrary;
    Insert(Rows({kHeader, {"PLAN_STAMP", "5", "5"}}));
    EXPECT_NE(Printed().find("Cannot find block PLAN_STAMP."), std::string::npos);
    settings.searchPath = {File("blocks")};
    Insert(Rows({kHeader, {"PLAN_STAMP", "5", "5"}}));
    cad::BlockRecord stamp = current->Database().FindBlock("PLAN_STAMP");
    ASSERT_TRUE(stamp);
    EXPECT_EQ(stamp.Entities().size(), current->Database().ModelSpace().Entities().size() - 1);
    ASSERT_EQ(NewReferences().size(), 1u);
}

TEST_F(AuthoringTest, ADrawingOfTheBlocksNameBesideTheDrawingIsFoundFirst) {
    std::filesystem::copy_file(kFloor, File("BESIDE.dxf"));
    Insert(Rows({kHeader, {"BESIDE", "5", "5"}}));
    EXPECT_TRUE(current->Database().FindBlock("BESIDE"));
}

TEST_F(AuthoringTest, BlockBurstWithNoBurstColumnBurstsEveryReferenceThatHasAttributeDefinitions) {
    options.blockBurst = 1;
    options.blockLibraryDwg = kLibrary;
    const std::size_t before = current->Database().ModelSpace().Entities().size();
    PassReport report = Insert(Rows({kHeader, {"DOOR", "100", "200", "D10"}, {"SOFA", "10", "20"}}));
    EXPECT_EQ(report.burst, 1);
    std::vector<cad::BlockReference> made = NewReferences();
    // The sofa has no definitions: it stays a reference, and gets no row link.
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(made[0].BlockName(), "SOFA");
    EXPECT_EQ(RowLink(made[0]), "");
    // The door's pieces and a text for each of its attributes, where the reference showed them.
    bool found = false;
    for (const cad::Entity& e : current->Database().ModelSpace().Entities()) {
        if (e.Type() != "TEXT") continue;
        cad::Text text(e.GetDatabase(), e.Index());
        if (text.TextString() == "D10") {
            found = true;
            EXPECT_NEAR(text.Position().x, 100, 1e-9);
            EXPECT_NEAR(text.Position().y, 199.7, 1e-9);
        }
    }
    EXPECT_TRUE(found);
    EXPECT_GT(current->Database().ModelSpace().Entities().size(), before + 1);
}

TEST_F(AuthoringTest, ABurstColumnCellOfYesInAnyCaseBurstsAndOneDoesNot) {
    options.blockBurst = 1;
    options.useBurstColumn = 1;
    options.burstColumn = 4;
    PassReport report = Insert(Rows({{"Block", "Position X", "Position Y", "Burst"},
                                     {"DOOR", "1", "1", " yEs "},
                                     {"DOOR", "2", "2", "1"},
                                     {"DOOR", "3", "3", "TRUE"}}));
    EXPECT_EQ(report.burst, 2);
    ASSERT_EQ(NewReferences().size(), 1u);
    EXPECT_EQ(NewReferences()[0].Position().x, 2);
    EXPECT_EQ(RowLink(NewReferences()[0]), File("rows.xlsx") + "|Rows|3");
}

}  // namespace
}  // namespace attbat

namespace attbat {
namespace {

TEST_F(AuthoringTest, InsertedDynamicBlocksTakeTheVisibilityStatesOfTheirRows) {
    Insert(Rows({{"Block", "Test visibility"}, {"DOOR", "HideAll"}}));
    EXPECT_EQ(Printed().find("dynamic property"), std::string::npos);
    host::DocumentManager::Instance().CloseAll();
    const std::string dynamic = File("dynamic.dxf");
    std::filesystem::copy_file(std::string(VELMAR_CORPUS) + "/dxf/dynblock-visibility-ac1032.dxf", dynamic);
    auto doc = host::DocumentManager::Instance().OpenCurrent(dynamic);
    ASSERT_TRUE(doc);
    current = doc.Value();
    host::CurrentPrinter().ClearCaptured();
    Insert(Rows({{"Block", "Test visibility"},
                 {"block_visibility_parameter", "HideAll"},
                 {"block_visibility_parameter", "visibilitystate0"}}));
    EXPECT_EQ(Printed().find("dynamic property"), std::string::npos) << Printed();
    std::vector<std::string> states;
    for (const cad::Entity& e : current->Database().Select({{0, "INSERT"}})) {
        cad::DynamicBlockReference ref(cad::BlockReference(e.GetDatabase(), e.Index()));
        if (ref.Reference().GetHandle() < 0x378) continue;  // the drawing's own references
        states.push_back(ref.Properties().at(0).text);
    }
    // The second row asks for the state a new reference has already: it keeps the definition.
    EXPECT_EQ(states, (std::vector<std::string>{"HideAll", "VisibilityState0"}));
}

}  // namespace
}  // namespace attbat
