#include "attbat/authoring/AddNewAttsDialog.h"

#include <gtest/gtest.h>

#include "../export/ExportTestSupport.h"
#include "AuthoringFixture.h"
#include "arxutils/ExcelUtils.h"
#include "cad/BlockRecord.h"
#include "cad/Text.h"

namespace attbat {

namespace {

class AddNewAttsTest : public AuthoringTest {
protected:
    cad::Database& Db() { return current->Database(); }
    std::vector<std::string> DefinitionTags(const std::string& block) {
        std::vector<std::string> tags;
        for (const cad::AttributeDefinition& def : Db().FindBlock(block).AttributeDefinitions()) tags.push_back(def.Tag());
        return tags;
    }
    cad::AttributeDefinition Definition(const std::string& block, const std::string& tag) {
        for (const cad::AttributeDefinition& def : Db().FindBlock(block).AttributeDefinitions())
            if (def.Tag() == tag) return def;
        return cad::AttributeDefinition();
    }
    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const host::ShownBox& box : ui.Shown()) texts.push_back(box.text);
        return texts;
    }
};

const std::vector<std::string> kHeader = {"X", "Y", "Z", "Height", "Layer", "Style", "Tag", "Prompt"};

TEST_F(AddNewAttsTest, AWorksheetWithoutAHeaderRowAddsAllItsRows) {
    CNewAttsToBlocksDlg dialog(Db());
    dialog.OnInitDialog();
    dialog.FillFromTable(Rows({{"1", "2", "0", "0.25", "A-DOOR", "Standard", "COST", "Cost"},
                               {"1", "3", "0", "0.25", "0", "Standard", "SUPPLIER", "Supplier"}}));
    EXPECT_EQ(dialog.m_list.size(), 2u);
    ASSERT_EQ(dialog.m_attributeDefs.GetSize(), 2);
    ASSERT_TRUE(dialog.Check("DOOR"));
    CNewAttsToBlocksDlg::Report report;
    ASSERT_TRUE(dialog.OnOK(report));
    EXPECT_EQ(report.added, 2);
    const std::vector<std::string> tags = DefinitionTags("DOOR");
    EXPECT_EQ(tags.back(), "SUPPLIER");
    cad::AttributeDefinition cost = Definition("DOOR", "COST");
    ASSERT_TRUE(cost);
    EXPECT_TRUE(cost.IsInvisible());
    EXPECT_EQ(cost.Prompt(), "Cost");
    EXPECT_EQ(cost.DefaultValue(), "");
    EXPECT_EQ(cost.LayerName(), "A-DOOR");
    EXPECT_DOUBLE_EQ(cost.Position().y, 2);
    EXPECT_DOUBLE_EQ(cost.Height(), 0.25);
    // Every door now has both, empty.
    for (const cad::BlockReference& door : Db().FindBlock("DOOR").References()) {
        ASSERT_TRUE(door.FindAttribute("COST"));
        EXPECT_EQ(door.FindAttribute("SUPPLIER").TextString(), "");
    }
}

TEST_F(AddNewAttsTest, AHeaderRowIsPassedOver) {
    CNewAttsToBlocksDlg dialog(Db());
    dialog.FillFromTable(Rows({kHeader, {"1", "2", "0", "0.25", "0", "", "COST", "Cost"}}));
    EXPECT_EQ(dialog.m_list.size(), 1u);
    EXPECT_EQ(dialog.m_attributeDefs.GetSize(), 1);
    // Only the first row can be a header.
    dialog.FillFromTable(Rows({{"1", "2", "0", "0.25", "0", "", "COST", "Cost"}, kHeader}));
    EXPECT_EQ(dialog.m_list.size(), 2u);
}

TEST_F(AddNewAttsTest, ARowWithoutATagIsListedAndAddsNothing) {
    CNewAttsToBlocksDlg dialog(Db());
    dialog.OnInitDialog();
    dialog.FillFromTable(Rows({{"1", "2", "0", "0.25", "0", "", "", "No tag"}}));
    ASSERT_EQ(dialog.m_list.size(), 1u);
    EXPECT_EQ(dialog.m_list[0].prompt, "No tag");
    EXPECT_EQ(dialog.m_list[0].position, arxutils::DistanceText(&Db(), 1) + ", " + arxutils::DistanceText(&Db(), 2) +
                                            ", " + arxutils::DistanceText(&Db(), 0));
    EXPECT_TRUE(dialog.m_attributeDefs.IsEmpty());
    const std::vector<std::string> before = DefinitionTags("WINDOW");
    ASSERT_TRUE(dialog.Check("WINDOW"));
    CNewAttsToBlocksDlg::Report report;
    ASSERT_TRUE(dialog.OnOK(report));
    EXPECT_EQ(report.added, 0);
    EXPECT_EQ(DefinitionTags("WINDOW"), before);
}

TEST_F(AddNewAttsTest, AddingTwiceAddsNothingTheSecondTimeAndTheSyncStillRuns) {
    CNewAttsToBlocksDlg dialog(Db());
    dialog.OnInitDialog();
    dialog.FillFromTable(Rows({{"0", "0", "0", "0.2", "0", "", "COST", "Cost"}}));
    ASSERT_TRUE(dialog.Check("WINDOW"));
    CNewAttsToBlocksDlg::Report first, second;
    ASSERT_TRUE(dialog.OnOK(first));
    EXPECT_EQ(first.added, 1);
    // An attribute lost since is brought back by the synchronisation alone.
    cad::BlockReference window = Db().FindBlock("WINDOW").References().front();
    window.FindAttribute("COST").Erase();
    ASSERT_TRUE(dialog.OnOK(second));
    EXPECT_EQ(second.added, 0);
    EXPECT_EQ(second.passedOver, 1);
    EXPECT_EQ(second.attributesAdded, 1);
    EXPECT_TRUE(window.FindAttribute("COST"));
    EXPECT_EQ(DefinitionTags("WINDOW").size(), 4u);
}

TEST_F(AddNewAttsTest, FilterAbShowsABCAndNotXABAndStarAbShowsXAB) {
    ASSERT_TRUE(Db().CreateBlock("ABC"));
    ASSERT_TRUE(Db().CreateBlock("XAB"));
    CNewAttsToBlocksDlg dialog(Db());
    dialog.OnInitDialog();
    EXPECT_GE(dialog.m_blockList.FindString("DOOR", false), 0);
    dialog.OnFilterChanged("ab");
    EXPECT_EQ(dialog.m_blockList.GetSize(), 1);
    EXPECT_EQ(dialog.m_blockList[0], "ABC");
    dialog.OnFilterChanged("*ab");
    EXPECT_GE(dialog.m_blockList.FindString("XAB", false), 0);
    EXPECT_GE(dialog.m_blockList.FindString("ABC", false), 0);
    EXPECT_FALSE(dialog.Check("DOOR"));
}

TEST_F(AddNewAttsTest, TheListOffersNoLayoutsOrAnonymousBlocks) {
    CNewAttsToBlocksDlg dialog(Db());
    dialog.OnInitDialog();
    for (const std::string& name : dialog.m_blockList) EXPECT_NE(name.front(), '*') << name;
}

TEST_F(AddNewAttsTest, TextStyleNamesNotInTheDrawingArePassedOverWithNoMessage) {
    CNewAttsToBlocksDlg dialog(Db());
    dialog.OnInitDialog();
    dialog.FillFromTable(Rows({{"0", "0", "0", "0.2", "NO-SUCH-LAYER", "NoSuchStyle", "COST", "Cost"}}));
    ASSERT_TRUE(dialog.Check("DOOR"));
    CNewAttsToBlocksDlg::Report report;
    ASSERT_TRUE(dialog.OnOK(report));
    EXPECT_EQ(report.added, 1);
    cad::AttributeDefinition cost = Definition("DOOR", "COST");
    ASSERT_TRUE(cost);
    EXPECT_NE(cost.GetText(7), "NoSuchStyle");
    // A layer the drawing lacks leaves the definition on the drawing's current layer.
    EXPECT_EQ(cost.LayerName(), Db().HeaderText("$CLAYER", "0"));
    EXPECT_TRUE(Texts().empty());
}

TEST_F(AddNewAttsTest, NoTickedBlockSaysSoAndStays) {
    CNewAttsToBlocksDlg dialog(Db());
    dialog.OnInitDialog();
    dialog.FillFromTable(Rows({{"0", "0", "0", "0.2", "0", "", "COST", "Cost"}}));
    CNewAttsToBlocksDlg::Report report;
    EXPECT_FALSE(dialog.OnOK(report));
    EXPECT_EQ(Texts(), std::vector<std::string>{"Please select a block first."});
    EXPECT_EQ(ui.Shown()[0].title, "Orvane Velmar");
}

TEST_F(AddNewAttsTest, ASheetWithAOneCellUsedRangeSaysSo) {
    arxutils::excel::FileBackendOptions made;
    made.output = File("new.xlsx");
    testing::BackendScope scope(made);
    CNewAttsToBlocksDlg dialog(Db());
    EXPECT_FALSE(dialog.OnGetAttributes());
    EXPECT_EQ(Texts(), std::vector<std::string>{"\nInvalid used range: $A$1."});
}

}  // namespace

}  // namespace attbat
