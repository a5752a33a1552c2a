#include "attbat/export/CAttPreviewPage.h"

#include <gtest/gtest.h>

#include "ExportTestSupport.h"

namespace attbat {
namespace {

using testing::BlockWithRows;
using testing::WizardFixture;

std::vector<std::string> Column(const CAttPreviewPage& page, int position) {
    std::vector<std::string> texts;
    for (int r = 0; r < page.RowCount(); ++r) texts.emplace_back(page.TextAt(r, position));
    return texts;
}

TEST(CAttPreviewPage, NoTickedBlockGivesAnEmptyListWithoutColumns) {
    WizardFixture f;
    f.Start({BlockWithRows("DOOR", {"D1"})});
    f.wizard.GoNext();
    f.wizard.m_attributePage.ClearAll();
    f.wizard.GoNext();
    EXPECT_EQ(f.wizard.m_previewPage.RowCount(), 0);
    EXPECT_EQ(f.wizard.m_previewPage.ColumnCount(), 0);
    // And the export writes nothing: there is not even a connection.
    EXPECT_FALSE(arxutils::ExcelUtils::Application);
}

TEST(CAttPreviewPage, CountColumnChangesTheColumnsAndDraggedOrderIsNotBroughtBack) {
    WizardFixture f;
    AcadBlock door = BlockWithRows("DOOR", {"D1", "D2"});
    door.defs.AddSorted(AcadAttributeDef("WIDTH", "Width", Point3d{5, 0, 0}, 0, 0, 0, 0, 0));
    f.Start({door});
    f.wizard.m_view.unselNoValueAtts = 0;  // WIDTH has no value anywhere
    f.wizard.m_view.showCount = 0;
    f.ToPreview();
    CAttPreviewPage& page = f.wizard.m_previewPage;
    ASSERT_EQ(page.ColumnCount(), 3);  // Block Name, MARK, WIDTH
    page.DragColumn(2, 1);
    EXPECT_EQ(page.ColumnOrder(), (std::vector<int>{0, 2, 1}));
    f.wizard.m_view.showCount = 1;
    page.RefreshPage();
    EXPECT_EQ(page.ColumnCount(), 4);
    EXPECT_EQ(page.ColumnOrder(), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(page.TextAt(0, 1), "Quantity");
}

TEST(CAttPreviewPage, SortingLeavesTheHeaderRowAtTheTop) {
    WizardFixture f;
    f.Start({BlockWithRows("DOOR", {"D2", "D3", "D1"})});
    f.ToPreview();
    CAttPreviewPage& page = f.wizard.m_previewPage;
    int mark = 2;  // Block Name, Quantity, MARK
    ASSERT_EQ(page.TextAt(0, mark), "MARK");
    page.OnHeaderClick(mark);
    EXPECT_EQ(Column(page, mark), (std::vector<std::string>{"MARK", "D1", "D2", "D3"}));
    page.OnHeaderClick(mark);
    EXPECT_EQ(Column(page, mark), (std::vector<std::string>{"MARK", "D3", "D2", "D1"}));
    // A new build sorts again by the same column and direction.
    page.RefreshPage();
    EXPECT_EQ(Column(page, mark), (std::vector<std::string>{"MARK", "D3", "D2", "D1"}));
}

TEST(CAttPreviewPage, ShowHeaderOffKeepsTheStyleValueButDisablesIt) {
    WizardFixture f;
    f.Start({BlockWithRows("DOOR", {"D1"})});
    f.ToPreview();
    CAttPreviewPage& page = f.wizard.m_previewPage;
    page.m_headerStyle = 1;
    f.wizard.m_view.includeHeader = 0;
    page.RefreshPage();
    EXPECT_FALSE(page.headerStyleEnabled);
    EXPECT_EQ(page.m_headerStyle, 1);
    EXPECT_EQ(page.TextAt(0, 2), "D1");  // no header row
}

TEST(CAttPreviewPage, AfterADragTheLettersReadABCFromLeftToRight) {
    WizardFixture f;
    AcadBlock door = BlockWithRows("DOOR", {"D1"});
    door.defs.AddSorted(AcadAttributeDef("WIDTH", "Width", Point3d{5, 0, 0}, 0, 0, 0, 0, 0));
    f.Start({door});
    f.wizard.m_view.unselNoValueAtts = 0;  // WIDTH has no value anywhere
    f.ToPreview();
    CAttPreviewPage& page = f.wizard.m_previewPage;
    page.DragColumn(3, 1);
    EXPECT_EQ(page.ColumnOrder(), (std::vector<int>{0, 3, 1, 2}));
    EXPECT_EQ(page.HeaderAt(0), "A");
    EXPECT_EQ(page.HeaderAt(1), "B");
    EXPECT_EQ(page.HeaderAt(2), "C");
    EXPECT_EQ(page.TextAt(0, 1), "WIDTH");
    // The first column is pinned both ways.
    page.DragColumn(0, 2);
    page.DragColumn(2, 0);
    EXPECT_EQ(page.ColumnOrder(), (std::vector<int>{0, 1, 3, 2}));
}

TEST(CAttPreviewPage, RowsEqualInTheSortColumnAreBothKept) {
    WizardFixture f;
    f.Start({BlockWithRows("DOOR", {"D1", "D2"})});
    f.wizard.m_view.combineItems = 0;
    f.ToPreview();
    CAttPreviewPage& page = f.wizard.m_previewPage;
    page.OnHeaderClick(0);  // every data row reads DOOR
    EXPECT_EQ(page.RowCount(), 3);
    auto marks = Column(page, 2);
    std::sort(marks.begin() + 1, marks.end());
    EXPECT_EQ(marks, (std::vector<std::string>{"MARK", "D1", "D2"}));
}

TEST(CAttPreviewPage, ColumnSortChangeForgetsTheColumnOrder) {
    WizardFixture f;
    AcadBlock door = BlockWithRows("DOOR", {"D1"});
    door.defs.AddSorted(AcadAttributeDef("WIDTH", "Width", Point3d{5, 0, 0}, 0, 0, 0, 0, 0));
    f.Start({door});
    f.wizard.m_view.unselNoValueAtts = 0;  // WIDTH has no value anywhere
    f.ToPreview();
    CAttPreviewPage& page = f.wizard.m_previewPage;
    page.DragColumn(3, 2);
    page.OnColumnSortChanged(1);  // Z -> A
    EXPECT_EQ(page.ColumnOrder(), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(page.TextAt(0, 2), "WIDTH");
}

}  // namespace
}  // namespace attbat
