#include "attbat/schedules/CExportPointsDialog.h"

#include <gtest/gtest.h>

#include "ScheduleFixture.h"
#include "arxutils/ArxUtils.h"
#include "attbat/frame/CRegistry.h"
#include "cad/Database.h"

namespace attbat {

namespace {

class ExportPointsTest : public ScheduleTest {
protected:
    void SetUp() override {
        ScheduleTest::SetUp();
        OpenCurrent("points.dxf");
        for (const cad::Entity& e : Db().Select({{0, "LINE,LWPOLYLINE,POLYLINE"}})) all.push_back(e);
        ASSERT_EQ(all.size(), 4u);  // line, lightweight polyline, old-style polyline, line
    }
    cad::Database& Db() { return current->Database(); }
    std::string D(double value) { return arxutils::DistanceText(&Db(), value); }
    std::vector<cad::Entity> Pick(std::initializer_list<int> which) {
        std::vector<cad::Entity> picked;
        for (int i : which) picked.push_back(all[static_cast<std::size_t>(i)]);
        return picked;
    }
    std::vector<cad::Entity> all;
};

TEST_F(ExportPointsTest, ALineGivesXYAndZJoinedBySeparatorTwiceAndWithYAndZOffXAndOneSeparator) {
    CExportPointsDialog dialog(Db(), Pick({0}));
    dialog.OnInitDialog();
    ASSERT_EQ(dialog.m_rows.size(), 1u);
    EXPECT_EQ(dialog.m_rows[0], (std::vector<std::string>{D(1) + "," + D(2) + "," + D(3),
                                                           D(4.5) + "," + D(5.25) + "," + D(6)}));
    dialog.OnCheckY(false);
    dialog.OnCheckZ(false);
    EXPECT_EQ(dialog.m_rows[0], (std::vector<std::string>{D(1) + ",", D(4.5) + ","}));
}

TEST_F(ExportPointsTest, FormatPointLeavesTheSeparatorWhenZIsOff) {
    EXPECT_EQ(CExportPointsDialog::FormatPoint(Db(), {1, 2, 3}, " ", true, true, false), D(1) + " " + D(2) + " ");
    EXPECT_EQ(CExportPointsDialog::FormatPoint(Db(), {1, 2, 3}, ";", false, false, true), D(3));
}

TEST_F(ExportPointsTest, AFiveVertexPolylineNextToALineGivesFiveColumnsAndTheLineTwoCells) {
    CExportPointsDialog dialog(Db(), Pick({0, 1}));
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_columns, (std::vector<std::string>{"Pt1", "Pt2", "Pt3", "Pt4", "Pt5"}));
    ASSERT_EQ(dialog.m_rows.size(), 2u);
    EXPECT_EQ(dialog.m_rows[0].size(), 2u);
    ASSERT_EQ(dialog.m_rows[1].size(), 5u);
    // Vertices in the polyline's plane: its elevation and bulges don't show, nor does closing it.
    EXPECT_EQ(dialog.m_rows[1][0], D(0) + "," + D(0) + "," + D(0));
    EXPECT_EQ(dialog.m_rows[1][3], D(5) + "," + D(15) + "," + D(0));
}

TEST_F(ExportPointsTest, TypingASemicolonRefillsTheListAtOnceAndAnEmptiedFieldKeepsTheOldList) {
    CExportPointsDialog dialog(Db(), Pick({0}));
    dialog.OnInitDialog();
    dialog.OnSeparatorChanged(";");
    EXPECT_EQ(dialog.m_rows[0][0], D(1) + ";" + D(2) + ";" + D(3));
    dialog.OnSeparatorChanged("");
    EXPECT_EQ(dialog.m_rows[0][0], D(1) + ";" + D(2) + ";" + D(3));
    // A refill with the field empty falls back on ",".
    dialog.FillList();
    EXPECT_EQ(dialog.m_rows[0][0], D(1) + "," + D(2) + "," + D(3));
}

TEST_F(ExportPointsTest, AnOldStylePolylineGivesNothingAndEveryRowBelowItGoesMissing) {
    CExportPointsDialog dialog(Db(), Pick({0, 2, 1, 3}));
    dialog.OnInitDialog();
    ASSERT_EQ(dialog.m_rows.size(), 1u);
    EXPECT_EQ(dialog.m_rows[0].size(), 2u);
    // The columns still follow the widest row of the table.
    EXPECT_EQ(dialog.m_columns.size(), 5u);
}

TEST_F(ExportPointsTest, ColumnsAreNeverRemoved) {
    CExportPointsDialog dialog(Db(), Pick({1}));
    dialog.OnInitDialog();
    dialog.m_entityIds = Pick({0});
    dialog.FillList();
    EXPECT_EQ(dialog.m_columns.size(), 5u);
}

TEST_F(ExportPointsTest, StartRow10001IsRefusedWithTheStandardMessage) {
    CExportPointsDialog dialog(Db(), Pick({0}));
    dialog.OnInitDialog();
    EXPECT_FALSE(dialog.SetStartRow(10001));
    EXPECT_EQ(dialog.m_startRow, 1);
    EXPECT_TRUE(dialog.SetStartRow(10000));
    EXPECT_FALSE(dialog.SetStartRow(0));
    EXPECT_EQ(Boxes(), (std::vector<std::string>{"Please enter an integer between 1 and 10000.",
                                                 "Please enter an integer between 1 and 10000."}));
}

TEST_F(ExportPointsTest, AnActiveWorkbookThatIsntThereLeadsToANewWorkbookWithoutAMessage) {
    book = File("points.xlsx");
    {
        excel::FileBackendOptions made;
        made.output = book;
        testing::BackendScope scope(made);
        CExportPointsDialog dialog(Db(), Pick({0, 1}));
        dialog.OnInitDialog();
        dialog.m_workbookOption = 1;
        dialog.m_startColumn = "B";
        ASSERT_TRUE(dialog.SetStartRow(3));
        ASSERT_TRUE(dialog.OnExport());
        EXPECT_TRUE(dialog.controlsEnabled);
        ASSERT_TRUE(scope.Save());
    }
    EXPECT_TRUE(Boxes().empty());
    Attach();
    EXPECT_EQ(Value("Sheet1", "B3"), D(1) + "," + D(2) + "," + D(3));
    EXPECT_EQ(Value("Sheet1", "F4"), D(0) + "," + D(10) + "," + D(0));
    EXPECT_EQ(Value("Sheet1", "D3"), "");
    // The settings are stored by the export.
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ExportPointWkOpt", 0), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ExportPointStartRow", 1), 3);
    EXPECT_EQ(CRegistry::GetString("Velmar", "ExportPointStartCol", "A"), "B");
}

TEST_F(ExportPointsTest, TheStoredSettingsOpenTheNextDialog) {
    CRegistry::SetString("Velmar", "ExportPointSeparator", " ");
    CRegistry::SetInt("Velmar", "ExportPointZ", 0);
    CExportPointsDialog dialog(Db(), Pick({0}));
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_rows[0][0], D(1) + " " + D(2) + " ");
}

}  // namespace

}  // namespace attbat
