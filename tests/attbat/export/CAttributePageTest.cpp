#include "attbat/export/CAttributePage.h"

#include <gtest/gtest.h>

#include "ExportTestSupport.h"

namespace attbat {
namespace {

using testing::Block;
using testing::BlockWithRows;
using testing::WizardFixture;

std::vector<std::string> Names(const CAttributePage& page) {
    std::vector<std::string> names;
    for (const auto& row : page.m_blockList) names.push_back(row.name);
    return names;
}

TEST(CAttributePage, BothDisplayOptionsOffListEveryBlockThatPassesTheFilter) {
    WizardFixture f;
    AcadBlock bare("C:\\a.dwg", "FRAME", 0, 0, 0, 0, 0, 0);  // no attributes, no references
    f.Start({BlockWithRows("DOOR", {"D1"}), Block("UNUSED", {"TAG"}), bare});
    f.wizard.GoNext();
    EXPECT_EQ(Names(f.wizard.m_attributePage), (std::vector<std::string>{"DOOR"}));
    f.wizard.m_attributePage.SetWithAttributesOnly(false);
    f.wizard.m_attributePage.SetInUseOnly(false);
    EXPECT_EQ(Names(f.wizard.m_attributePage), (std::vector<std::string>{"DOOR", "FRAME", "UNUSED"}));
}

TEST(CAttributePage, BlockOfTwoDrawingsGivesOneRowAndUntickingUnticksBoth) {
    WizardFixture f;
    f.Start({BlockWithRows("DOOR", {"D1"}, "C:\\a.dwg"), BlockWithRows("DOOR", {"D2"}, "C:\\b.dwg")});
    f.wizard.GoNext();
    ASSERT_EQ(Names(f.wizard.m_attributePage), (std::vector<std::string>{"DOOR"}));
    f.wizard.m_attributePage.Tick("DOOR", false);
    f.wizard.m_attributePage.CollectPage();
    for (const AcadBlock& block : f.wizard.m_blockSourcePage.m_currentBlocks) EXPECT_EQ(block.selected, 0);
}

TEST(CAttributePage, WildcardMatchingNothingGivesEmptyListAndPreviewWithoutRows) {
    WizardFixture f;
    f.Start({BlockWithRows("DOOR", {"D1"})});
    f.wizard.m_filter.blockPattern = "WIN*";
    f.ToPreview();
    EXPECT_TRUE(f.wizard.m_attributePage.m_blockList.empty());
    EXPECT_EQ(f.wizard.m_previewPage.RowCount(), 0);
}

TEST(CAttributePage, UnitBoxStaysDisabledWithDecimalUnits) {
    WizardFixture f;
    f.drawing.lunits = 2;
    f.Start({});
    f.wizard.m_attributePage.SetOuterPolygonArea(true);
    EXPECT_FALSE(f.wizard.m_attributePage.areaUnitEnabled);
    f.wizard.m_attributePage.SetOuterPolygonArea(false);
    EXPECT_FALSE(f.wizard.m_attributePage.areaUnitEnabled);

    WizardFixture architectural;
    architectural.drawing.lunits = 4;
    architectural.Start({});
    architectural.wizard.m_attributePage.SetOuterPolygonArea(true);
    EXPECT_TRUE(architectural.wizard.m_attributePage.areaUnitEnabled);
}

TEST(CAttributePage, UnitlessAfterStoredSquareMetresLastsOnlyForThisWizard) {
    WizardFixture f;
    f.settings.SetInt("Velmar", "AreaUnit", 3);
    f.Start({BlockWithRows("DOOR", {"D1"})});
    EXPECT_EQ(f.wizard.m_attributePage.m_areaUnit, 3);
    f.wizard.GoNext();
    f.wizard.m_attributePage.m_areaUnit = 0;
    f.wizard.GoNext();
    EXPECT_EQ(f.wizard.m_view.areaUnit, 0);
    EXPECT_EQ(f.settings.Get("AreaUnit"), "3");

    testing::FakeDrawing drawing;
    CScheduleDialog next(f.settings, drawing, true);
    next.OnInitDialog();
    EXPECT_EQ(next.m_attributePage.m_areaUnit, 3);
}

TEST(CAttributePage, TickedBlocksComeInCollectionOrderWhateverTheListOrder) {
    WizardFixture f;
    f.Start({BlockWithRows("WINDOW", {"W1"}), BlockWithRows("DOOR", {"D1"})});
    f.wizard.GoNext();
    EXPECT_EQ(Names(f.wizard.m_attributePage), (std::vector<std::string>{"DOOR", "WINDOW"}));
    tables::CStringArrayEx ticked;
    f.wizard.m_attributePage.GetTickedBlocks(ticked);
    EXPECT_EQ(ticked, (tables::CStringArrayEx{"WINDOW", "DOOR"}));
}

TEST(CAttributePage, EverySecondHeaderClickSortsAndNeverDescending) {
    WizardFixture f;
    f.Start({BlockWithRows("b", {"1"}), BlockWithRows("A", {"2"})});
    f.wizard.GoNext();
    CAttributePage& page = f.wizard.m_attributePage;
    std::swap(page.m_blockList[0], page.m_blockList[1]);
    page.OnHeaderClick();  // flag off: the order stands
    EXPECT_EQ(Names(page), (std::vector<std::string>{"b", "A"}));
    page.OnHeaderClick();
    EXPECT_EQ(Names(page), (std::vector<std::string>{"A", "b"}));
}

}  // namespace
}  // namespace attbat
