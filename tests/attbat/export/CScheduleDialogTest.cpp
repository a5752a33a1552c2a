#include "attbat/export/CScheduleDialog.h"

#include <gtest/gtest.h>

#include "ExportTestSupport.h"

namespace attbat {
namespace {

using testing::BlockWithRows;
using testing::WizardFixture;

TEST(CScheduleDialog, StartsOnDataSourceWithBackDisabled) {
    WizardFixture f;
    f.Start({});
    EXPECT_EQ(f.wizard.m_activePage, 0u);
    EXPECT_EQ(f.wizard.title, "Data Source");
    EXPECT_FALSE(f.wizard.backEnabled);
    EXPECT_TRUE(f.wizard.nextEnabled);
    EXPECT_EQ(f.wizard.m_activeBlocks, &f.wizard.m_blockSourcePage.m_currentBlocks);
}

TEST(CScheduleDialog, NextOnSelectDrawingsWithEmptyListReadsNothingAndMovesOn) {
    WizardFixture f;
    f.Start({BlockWithRows("DOOR", {"D1"})});
    f.wizard.m_blockSourcePage.m_dataSource = 2;
    f.wizard.m_blockSourcePage.OnSourceChanged();
    f.wizard.GoNext();
    EXPECT_EQ(f.wizard.m_activePage, 1u);
    EXPECT_EQ(f.wizard.title, "Attribute");
    EXPECT_TRUE(f.wizard.m_attributePage.m_blockList.empty());
}

TEST(CScheduleDialog, BackFromPreviewKeepsTheTicks) {
    WizardFixture f;
    f.Start({BlockWithRows("DOOR", {"D1"}), BlockWithRows("WINDOW", {"W1"})});
    f.wizard.GoNext();
    ASSERT_TRUE(f.wizard.m_attributePage.Tick("WINDOW", false));
    f.wizard.GoNext();
    f.wizard.GoBack();
    EXPECT_EQ(f.wizard.title, "Attribute");
    ASSERT_EQ(f.wizard.m_attributePage.m_blockList.size(), 2u);
    for (const auto& row : f.wizard.m_attributePage.m_blockList) {
        EXPECT_EQ(row.checked, row.name == "DOOR") << row.name;
    }
}

TEST(CScheduleDialog, NextDisabledOnPreviewAndBackOnDataSource) {
    WizardFixture f;
    f.Start({BlockWithRows("DOOR", {"D1"})});
    f.ToPreview();
    EXPECT_EQ(f.wizard.title, "Preview");
    EXPECT_FALSE(f.wizard.nextEnabled);
    EXPECT_TRUE(f.wizard.backEnabled);
    f.wizard.GoNext();  // nothing past the last page
    EXPECT_EQ(f.wizard.m_activePage, 2u);
    f.wizard.GoBack();
    f.wizard.GoBack();
    EXPECT_FALSE(f.wizard.backEnabled);
    EXPECT_TRUE(f.wizard.nextEnabled);
}

TEST(CScheduleDialog, SecondNextWithUnchangedListReadsNoDrawingAgain) {
    WizardFixture f;
    f.Start({});
    CBlockSourcePage& page = f.wizard.m_blockSourcePage;
    page.m_dataSource = 2;
    page.OnSourceChanged();
    page.AddDrawing(std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf");
    f.wizard.GoNext();
    ASSERT_FALSE(page.m_drawingBlocks.IsEmpty());
    EXPECT_EQ(page.m_drawingsDirty, 0);
    // A block added by hand would vanish if the drawings were read again.
    page.m_drawingBlocks.Add(testing::BlockWithRows("MARKER", {"M"}));
    int count = page.m_drawingBlocks.GetSize();
    f.wizard.GoBack();
    f.wizard.GoNext();
    EXPECT_EQ(page.m_drawingBlocks.GetSize(), count);
}

TEST(CScheduleDialog, FilterIsStoredOnlyWhenDataSourceIsLeftByNext) {
    WizardFixture f;
    f.Start({});
    f.wizard.m_filter.incXref = 0;
    EXPECT_FALSE(f.settings.Has("FilterIncXref"));  // "Close" now would store nothing
    f.wizard.GoNext();
    ASSERT_TRUE(f.settings.Has("FilterIncXref"));
    EXPECT_EQ(f.settings.Get("FilterIncXref"), "0");
    // Going back and closing from page 0 keeps what was stored.
    f.wizard.m_filter.incXref = 1;
    f.wizard.GoBack();
    EXPECT_EQ(f.settings.Get("FilterIncXref"), "0");
}

}  // namespace
}  // namespace attbat
