#include "arxutils/ArxUtils.h"

#include <gtest/gtest.h>

#include "arxutils/CProgressDlg.h"
#include "cad/BlockReference.h"
#include "host/Printer.h"

namespace {

class ArxUtilsTest : public ::testing::Test {
protected:
    void SetUp() override {
        host::CurrentPrinter().Capture(true);
        host::CurrentPrinter().ClearCaptured();
        auto read = cad::Database::Open(std::string(VELMAR_TEST_DATA) + "/reader/writer.dxf");
        ASSERT_TRUE(read);
        db = std::move(read.Value());
    }
    void TearDown() override { host::CurrentPrinter().Capture(false); }
    std::string Printed() { return host::CurrentPrinter().Captured(); }
    std::unique_ptr<cad::Database> db;
};

TEST_F(ArxUtilsTest, NumberTextsFollowTheDrawingsUnitsAndRefuseQuietly) {
    // The drawing drops trailing zeros ($DIMZIN 8); without a drawing a new one's settings hold.
    EXPECT_EQ(arxutils::DistanceText(db.get(), 12.5), "12.5");
    EXPECT_EQ(arxutils::DistanceText(nullptr, 12.5), "12.5000");
    EXPECT_EQ(arxutils::DistanceText(db.get(), 12.5, 2, 1), "12.5");
    EXPECT_EQ(arxutils::DistanceText(db.get(), 1, 9, -1), "");
    EXPECT_EQ(arxutils::AngleText(db.get(), 3.14159265358979 / 2, 0, 0), "90");
}

TEST_F(ArxUtilsTest, UnreadableDistancePrintsItsLineAndGivesZero) {
    EXPECT_DOUBLE_EQ(arxutils::TextToDistance(db.get(), "12.5"), 12.5);
    EXPECT_DOUBLE_EQ(arxutils::TextToDistance(db.get(), "twelve"), 0);
    EXPECT_NE(Printed().find("Failed to convert the distance: -5001"), std::string::npos);
}

TEST_F(ArxUtilsTest, NearlyEqualWithinOneMillionth) {
    EXPECT_TRUE(arxutils::NearlyEqual(1.0, 1.0000009));
    EXPECT_FALSE(arxutils::NearlyEqual(1.0, 1.000002));
}

TEST_F(ArxUtilsTest, HandlesOwnersAndLayers) {
    auto refs = db->FindBlock("EQUIP").References();
    ASSERT_FALSE(refs.empty());
    cad::Object found = arxutils::HandleToId(*db, refs[0].HandleString());
    EXPECT_EQ(found.Type(), "INSERT");
    EXPECT_FALSE(arxutils::HandleToId(*db, "not a handle"));
    EXPECT_FALSE(arxutils::HandleToId(*db, ""));
    EXPECT_EQ(arxutils::OwnerNameOf(*db, refs[0].OwnerHandle()), "*Model_Space");
    EXPECT_EQ(arxutils::OwnerNameOf(*db, 0), "");
    EXPECT_EQ(arxutils::LayerNameOf(refs[0]), "0");
    arxutils::LayerState state;
    EXPECT_TRUE(arxutils::ReadLayerState("0", state, *db));
    EXPECT_FALSE(state.frozen || state.off || state.locked);
    EXPECT_FALSE(arxutils::ReadLayerState("NO SUCH LAYER", state, *db));
    EXPECT_EQ(arxutils::AttDefIdsOf(db->FindBlock("EQUIP")).size(), 2u);
    EXPECT_TRUE(arxutils::AttDefIdsOf({}).empty());
    EXPECT_TRUE(arxutils::NamedObjectId("BLOCK_RECORD", "equip", *db));
    EXPECT_FALSE(arxutils::NamedObjectId("LAYER", "nothing", *db));
}

TEST_F(ArxUtilsTest, ExtendedDataReplacesOrAppendsWithoutRepeatingAText) {
    cad::Object ref = db->FindBlock("EQUIP").References()[0];
    EXPECT_FALSE(arxutils::SetXdata(ref, "", "x", false));
    EXPECT_FALSE(arxutils::SetXdata({}, "APP", "x", false));
    EXPECT_TRUE(arxutils::SetXdata(ref, "APP", "one", false));
    EXPECT_TRUE(arxutils::SetXdata(ref, "APP", "two", true));
    EXPECT_TRUE(arxutils::SetXdata(ref, "APP", "TWO", true));
    EXPECT_EQ(arxutils::GetXdata(ref, "APP"), (std::vector<std::string>{"one", "two"}));
    EXPECT_TRUE(arxutils::SetXdata(ref, "APP", "three", false));
    EXPECT_EQ(arxutils::GetXdata(ref, "APP"), (std::vector<std::string>{"three"}));
    EXPECT_TRUE(arxutils::DeleteXdata(ref, "APP"));
    EXPECT_TRUE(arxutils::GetXdata(ref, "APP").empty());
    ref.Erase();
    EXPECT_FALSE(arxutils::SetXdata(ref, "APP", "x", false));
    EXPECT_NE(Printed().find("acdbOpenEntity failed in setXdata function"), std::string::npos);
}

TEST_F(ArxUtilsTest, AddToSpaceAppendsToTheCurrentSpace) {
    cad::Entity line = arxutils::AddToSpace(*db, "LINE", "0",
                                            {{100, "AcDbLine"}, {10, "0"}, {20, "0"}, {30, "0"},
                                             {11, "1"}, {21, "1"}, {31, "0"}});
    ASSERT_TRUE(line);
    EXPECT_EQ(line.OwnerBlock().Name(), "*Model_Space");
}

TEST_F(ArxUtilsTest, FieldLinkNamesTheObject) {
    cad::Object ref = db->FindBlock("EQUIP").References()[0];
    std::string code = arxutils::FieldLinkOf(ref);
    EXPECT_EQ(code.rfind("%<\\_ObjId ", 0), 0u);
    EXPECT_EQ(code.substr(code.size() - 2), ">%");
    EXPECT_EQ(arxutils::FieldLinkOf({}), "");
    EXPECT_NE(Printed().find("ERROR: Could not translate handle"), std::string::npos);
}

TEST_F(ArxUtilsTest, UnicodeEscapesTurnIntoCharactersAndBack) {
    EXPECT_EQ(arxutils::DecodeUnicodeEscapes("\\U+041F\\u+0440"), "Пр");
    EXPECT_EQ(arxutils::DecodeUnicodeEscapes("a\\U+zz"), "a\\U+zz");
    EXPECT_EQ(arxutils::EncodeUnicodeEscapes("aé"), "a\\U+e9");
    EXPECT_EQ(arxutils::DecodeUnicodeEscapes(arxutils::EncodeUnicodeEscapes("Пр")), "Пр");
}

TEST(CProgressDlg, ASecondShowWhileTheWindowExistsDoesNotMakeASecondWindow) {
    arxutils::ShowProgress();
    arxutils::CProgressDlg* first = arxutils::ProgressDialog();
    ASSERT_NE(first, nullptr);
    arxutils::SetProgressPos(40);
    arxutils::ShowProgress();
    EXPECT_EQ(arxutils::ProgressDialog(), first);
    EXPECT_EQ(first->Pos(), 40);
    arxutils::CloseProgress();
    EXPECT_EQ(arxutils::ProgressDialog(), nullptr);
}

TEST(CProgressDlg, FreeOperationsDoNothingWithoutAWindow) {
    arxutils::CloseProgress();
    arxutils::SetProgressPos(5);
    arxutils::SetProgressText("x");
    EXPECT_EQ(arxutils::CheckProgressCancel(), -1);
}

TEST(CProgressDlg, PercentKeepsAHundredAndWrapsBeyond) {
    arxutils::CProgressDlg dlg;
    EXPECT_EQ(dlg.Lower(), 0);
    EXPECT_EQ(dlg.Upper(), 100);
    EXPECT_EQ(dlg.Step(), 10);
    dlg.StepIt();
    EXPECT_EQ(dlg.PercentText(), "10%");
    dlg.SetPos(100);
    EXPECT_EQ(dlg.Percent(), 100);
    dlg.SetPos(150);
    EXPECT_EQ(dlg.Percent(), 50);
    dlg.SetRange(10, 10);
    EXPECT_EQ(dlg.Percent(), 0);
}

TEST(CProgressDlg, CancelIsReportedOnceByTheCheck) {
    arxutils::ShowProgress();
    arxutils::ProgressDialog()->OnCancel();
    EXPECT_EQ(arxutils::CheckProgressCancel(), 1);
    EXPECT_EQ(arxutils::CheckProgressCancel(), 0);
    arxutils::CloseProgress();
}

}  // namespace
