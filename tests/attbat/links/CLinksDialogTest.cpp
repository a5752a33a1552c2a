// The dialog "Links": the list of the drawing's linked workbooks, "Update Link" and "Break Link"
// with their questions, and the two options of the automatic update.

#include "attbat/links/CLinksDialog.h"

#include <algorithm>
#include <fstream>

#include "LinkFixture.h"

namespace attbat {
namespace {

class LinksDialogTest : public LinkTest {
protected:
    void SetUp() override {
        LinkTest::SetUp();
        first = File("first.xlsx");
        second = File("second.xlsx");
        // Any bytes will do: the buttons only ask whether the file is there.
        for (const std::string& path : {first, second}) std::ofstream(path) << "x";
        Link({"DE", "E5"}, first);
        Link({"EC"}, second);
    }
    std::string LinkOf(const std::string& handle) {
        std::string path;
        GetXDataString(Reference(handle), kWorkbookLinkApp, path);
        return path;
    }

    std::string first, second;
};

TEST_F(LinksDialogTest, TheListHoldsEachLinkedWorkbookOnceInTheDrawingsOrder) {
    CLinksDialog dialog(&current->Database());
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_links, (std::vector<std::string>{first, second}));
    EXPECT_FALSE(dialog.m_autoUpdate);
    EXPECT_TRUE(dialog.m_ignoreProperties);
}

TEST_F(LinksDialogTest, PickingALineCopiesItToTheWorkbookField) {
    CLinksDialog dialog(&current->Database());
    dialog.OnInitDialog();
    dialog.OnSelectLink(1);
    EXPECT_EQ(dialog.m_workbook, second);
}

TEST_F(LinksDialogTest, UpdateLinkMovesEveryReferenceOfThePickedWorkbookToTheNewFile) {
    const std::string moved = File("moved.xlsx");
    std::ofstream(moved) << "x";
    CLinksDialog dialog(&current->Database());
    dialog.OnInitDialog();
    dialog.OnSelectLink(0);
    dialog.OnBrowse(moved);
    CLinksDialog::Result result = dialog.OnUpdateLink();
    EXPECT_TRUE(result.done);
    EXPECT_EQ(result.references, 2);
    EXPECT_EQ(LinkOf("DE"), moved);
    EXPECT_EQ(LinkOf("E5"), moved);
    EXPECT_EQ(LinkOf("EC"), second);
    EXPECT_EQ(dialog.m_links, (std::vector<std::string>{second, moved}));
    EXPECT_EQ(ui.Shown().back().text, "Are you sure you want to change the linked Excel file.");
    EXPECT_EQ(ui.Shown().back().title, "Velmar");
}

TEST_F(LinksDialogTest, UpdateLinkToAPathAlreadyInTheListDoesNotAddASecondLine) {
    CLinksDialog dialog(&current->Database());
    dialog.OnInitDialog();
    dialog.OnSelectLink(0);
    dialog.OnBrowse(second);
    EXPECT_TRUE(dialog.OnUpdateLink().done);
    EXPECT_EQ(dialog.m_links, (std::vector<std::string>{second}));
    EXPECT_EQ(LinkOf("DE"), second);
}

TEST_F(LinksDialogTest, UpdateLinkToAFileThatIsNotThereSaysInvalidWorkbookPath) {
    CLinksDialog dialog(&current->Database());
    dialog.OnInitDialog();
    dialog.OnSelectLink(0);
    dialog.OnBrowse(File("nowhere.xlsx"));
    EXPECT_FALSE(dialog.OnUpdateLink().done);
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(ui.Shown()[0].text, "Invalid workbook path.");
    EXPECT_EQ(LinkOf("DE"), first);
}

TEST_F(LinksDialogTest, UpdateLinkToTheSamePathWithoutRegardToCaseChangesNothing) {
    const std::string upper = File("FIRST.xlsx");
    std::ofstream(upper) << "x";
    CLinksDialog dialog(&current->Database());
    dialog.OnInitDialog();
    dialog.OnSelectLink(0);
    dialog.OnBrowse(upper);
    EXPECT_FALSE(dialog.OnUpdateLink().done);
    EXPECT_EQ(LinkOf("DE"), first);
    EXPECT_EQ(dialog.m_links.size(), 2u);
}

TEST_F(LinksDialogTest, AnsweringNoToUpdateLinkChangesNothing) {
    ui.QueueAnswer(host::BoxAnswer::No);
    CLinksDialog dialog(&current->Database());
    dialog.OnInitDialog();
    dialog.OnSelectLink(0);
    dialog.OnBrowse(second);
    CLinksDialog::Result result = dialog.OnUpdateLink();
    EXPECT_FALSE(result.done);
    EXPECT_TRUE(result.declined);
    EXPECT_EQ(LinkOf("DE"), first);
}

TEST_F(LinksDialogTest, BreakLinkRemovesTheLinkFromEveryReferenceAndItsLine) {
    CLinksDialog dialog(&current->Database());
    dialog.OnInitDialog();
    dialog.OnSelectLink(0);
    CLinksDialog::Result result = dialog.OnBreakLink();
    EXPECT_TRUE(result.done);
    EXPECT_EQ(result.references, 2);
    EXPECT_EQ(LinkOf("DE"), "");
    EXPECT_EQ(LinkOf("E5"), "");
    EXPECT_EQ(LinkOf("EC"), second);
    EXPECT_EQ(dialog.m_links, (std::vector<std::string>{second}));
    EXPECT_EQ(ui.Shown().back().text, "Are you sure you want to delete this link.");
    std::vector<std::string> apps = Reference("DE").XdataApps();
    EXPECT_EQ(std::count(apps.begin(), apps.end(), std::string(kWorkbookLinkApp)), 0);
}

TEST_F(LinksDialogTest, AnsweringNoToBreakLinkOrPickingNothingBreaksNothing) {
    ui.QueueAnswer(host::BoxAnswer::No);
    CLinksDialog dialog(&current->Database());
    dialog.OnInitDialog();
    dialog.OnSelectLink(0);
    EXPECT_TRUE(dialog.OnBreakLink().declined);
    dialog.OnSelectLink(-1);
    EXPECT_FALSE(dialog.OnBreakLink().done);
    EXPECT_EQ(LinkOf("DE"), first);
    EXPECT_EQ(dialog.m_links.size(), 2u);
}

TEST_F(LinksDialogTest, OkStoresTheTwoOptionsAndCancelStoresNothing) {
    CLinksDialog dialog(&current->Database());
    dialog.OnInitDialog();
    dialog.m_autoUpdate = true;
    dialog.m_ignoreProperties = false;
    dialog.OnCancel();
    EXPECT_EQ(CRegistry::GetInt("Velmar", "AutoUpdateAtt", 0), 0);
    EXPECT_TRUE(dialog.OnOK());
    EXPECT_EQ(CRegistry::GetInt("Velmar", "AutoUpdateAtt", 0), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "AutoUpdateIgnoreProp", 1), 0);
    CLinksDialog again(&current->Database());
    again.OnInitDialog();
    EXPECT_TRUE(again.m_autoUpdate);
    EXPECT_FALSE(again.m_ignoreProperties);
}

}  // namespace
}  // namespace attbat
