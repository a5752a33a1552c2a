#include "attbat/export/CBlockSourcePage.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

#include "ExportTestSupport.h"
#include "arxutils/ArxUtils.h"
#include "base/File.h"
#include "host/ProgressMeter.h"

namespace attbat {
namespace {

using testing::TempFolder;
using testing::WizardFixture;

TEST(CBlockSourcePage, SavedListLoadsBackThoughEachLineCarriesAnExtraCarriageReturn) {
    WizardFixture f;
    f.Start({});
    TempFolder temp;
    CBlockSourcePage& page = f.wizard.m_blockSourcePage;
    page.AddDrawing("/plans/ground floor.dxf");
    page.AddDrawing("/plans/first.dxf");
    ASSERT_TRUE(page.SaveList(temp / "plans.lst"));
    auto bytes = base::ReadFile(temp / "plans.lst");
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, "/plans/ground floor.dxf\r\r\n/plans/first.dxf\r\r\n");

    tables::CStringArrayEx before = page.m_drawingPaths;
    ASSERT_TRUE(page.LoadList(temp / "plans.lst"));
    EXPECT_EQ(page.m_drawingPaths, before);
    EXPECT_EQ(page.m_drawingsDirty, 1);
}

TEST(CBlockSourcePage, ListWithCrLfAndBlankLinesLoads) {
    EXPECT_EQ(ParseDrawingList("  a.dxf \r\n\r\n\tb.dxf\r\r\nc.dxf"),
              (std::vector<std::string>{"a.dxf", "b.dxf", "c.dxf"}));
}

TEST(CBlockSourcePage, SamePathTwiceStandsOnceButOtherCaseTwiceAndRemoveTakesBothPaths) {
    WizardFixture f;
    f.Start({});
    CBlockSourcePage& page = f.wizard.m_blockSourcePage;
    page.AddDrawing("/p/A.dxf");
    page.AddDrawing("/p/A.dxf");
    EXPECT_EQ(page.m_drawingPaths.GetSize(), 1);
    page.AddDrawing("/p/a.dxf");
    ASSERT_EQ(page.m_drawingPaths.GetSize(), 2);
    ASSERT_EQ(page.m_drawingList.size(), 2u);
    EXPECT_EQ(page.m_drawingList[1].drawing, "a.dxf");
    EXPECT_EQ(page.m_drawingList[1].folder, "/p/");
    page.m_drawingsDirty = 0;
    page.m_drawingList[0].selected = true;
    page.Remove();
    EXPECT_TRUE(page.m_drawingPaths.IsEmpty());
    ASSERT_EQ(page.m_drawingList.size(), 1u);
    EXPECT_EQ(page.m_drawingList[0].drawing, "a.dxf");
    EXPECT_EQ(page.m_drawingsDirty, 1);
}

TEST(CBlockSourcePage, SwitchingToSelectDrawingsClearsCurrentSpaceOnlyForLater) {
    WizardFixture f;
    f.Start({});
    CBlockSourcePage& page = f.wizard.m_blockSourcePage;
    f.wizard.m_filter.currentSpaceOnly = 1;
    page.m_dataSource = 2;
    page.OnSourceChanged();
    EXPECT_EQ(f.wizard.m_filter.currentSpaceOnly, 0);
    EXPECT_FALSE(page.currentSpaceEnabled);
    EXPECT_TRUE(page.listEnabled);
    EXPECT_EQ(f.wizard.m_activeBlocks, &page.m_drawingBlocks);
    page.m_dataSource = 0;
    page.OnSourceChanged();
    EXPECT_EQ(f.wizard.m_filter.currentSpaceOnly, 0);
    EXPECT_TRUE(page.currentSpaceEnabled);
}

TEST(CBlockSourcePage, SelectObjectsResetsTheCountLabel) {
    WizardFixture f;
    f.Start({});
    CBlockSourcePage& page = f.wizard.m_blockSourcePage;
    page.SelectObjects({}, {}, 3);
    EXPECT_EQ(page.CountLabel(), "3");
    page.m_dataSource = 1;
    page.OnSourceChanged();
    EXPECT_EQ(page.CountLabel(), "0");
    EXPECT_TRUE(page.pickEnabled);
    EXPECT_EQ(f.wizard.m_activeBlocks, &page.m_selectedBlocks);
}

TEST(CBlockSourcePage, OnlyMultileadersWithExportBlocksInMLeaderOffGiveAnEmptyCollection) {
    auto& documents = host::DocumentManager::Instance();
    documents.CloseAll();
    auto opened = documents.OpenCurrent(std::string(VELMAR_CORPUS) + "/dxf/gdal-leader-mleader-blockcontent-ac1027.dxf");
    ASSERT_TRUE(opened) << opened.GetStatus().Message();
    // The three multileaders with block content in that drawing.
    std::vector<cad::MLeader> leaders;
    for (const char* handle : {"2D8", "EEB", "EF0"}) {
        cad::Object object = arxutils::HandleToId((*opened)->Database(), handle);
        ASSERT_EQ(object.Type(), "MULTILEADER") << handle;
        leaders.emplace_back(object.GetDatabase(), object.Index());
    }
    for (int setting : {0, 1}) {
        testing::MapSettings settings;
        settings.SetInt("Velmar", "ExportBlocksInMLeader", setting);
        testing::FakeDrawing drawing;
        CScheduleDialog wizard(settings, drawing, true);
        wizard.OnInitDialog();
        CBlockSourcePage& page = wizard.m_blockSourcePage;
        page.SelectObjects({}, leaders, 3);
        EXPECT_EQ(page.m_selectedBlocks.IsEmpty(), setting == 0) << setting;
        EXPECT_EQ(page.CountLabel(), "3");
    }
    documents.CloseAll();
}

TEST(CBlockSourcePage, AddingAFolderWithoutSearchSubfolderTakesOnlyItsOwnFiles) {
    WizardFixture f;
    f.Start({});
    TempFolder temp;
    std::filesystem::create_directories(temp.path / "sub");
    for (const char* name : {"a.dxf", "B.DXF", "notes.txt", "sub/c.dxf"}) std::ofstream(temp / name) << "0\nEOF\n";
    CBlockSourcePage& page = f.wizard.m_blockSourcePage;
    page.SetSearchSubfolder(false);
    page.AddFolder(temp.path.string());
    EXPECT_EQ(page.m_drawingPaths.GetSize(), 2);
    EXPECT_EQ(f.settings.Get("SearchSubfolder"), "0");
    page.SetSearchSubfolder(true);
    page.AddFolder(temp.path.string());
    EXPECT_EQ(page.m_drawingPaths.GetSize(), 3);
}

TEST(CBlockSourcePage, MissingDrawingIsPassedOverWithoutAWord) {
    WizardFixture f;
    f.Start({});
    CBlockSourcePage& page = f.wizard.m_blockSourcePage;
    page.AddDrawing("/no/such/drawing.dxf");
    page.AddDrawing(std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf");
    page.ReadDrawings();
    EXPECT_FALSE(page.m_drawingBlocks.IsEmpty());
    EXPECT_EQ(page.m_drawingsDirty, 0);
}

// The user presses Ctrl-C (the progress dialog's Cancel) while a failed read's box is shown.
class CancellingUi : public host::RecordingUi {
public:
    host::BoxAnswer MessageBox(const host::ShownBox& box) override {
        std::raise(SIGINT);
        return host::RecordingUi::MessageBox(box);
    }
};

TEST(CBlockSourcePage, CancelKeepsTheDrawingsReadSoFarAndASecondNextDoesNotResume) {
    WizardFixture f;
    f.Start({});
    TempFolder temp;
    std::ofstream(temp / "broken.dxf") << "this is no drawing\n";
    CancellingUi ui;
    host::SetCurrentUi(&ui);
    host::ProgressMeter::ResetCancel();
    CBlockSourcePage& page = f.wizard.m_blockSourcePage;
    page.AddDrawing(std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf");
    page.AddDrawing(temp / "broken.dxf");
    page.AddDrawing(std::string(VELMAR_CORPUS) + "/dxf/attribute-ac1032.dxf");
    page.ReadDrawings();
    host::ProgressMeter::ResetCancel();
    host::SetCurrentUi(nullptr);

    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(ui.Shown()[0].title, "Orvane Velmar");
    EXPECT_EQ(ui.Shown()[0].text.rfind("Failed to read " + (temp / "broken.dxf") + ": ", 0), 0u);
    ASSERT_FALSE(page.m_drawingBlocks.IsEmpty());
    for (const AcadBlock& block : page.m_drawingBlocks) {
        EXPECT_NE(block.dwgFile.find("floor.dxf"), std::string::npos) << block.dwgFile;
    }
    EXPECT_EQ(page.m_drawingsDirty, 0);
    int count = page.m_drawingBlocks.GetSize();
    page.ReadDrawings();  // the list is untouched: nothing more is read
    EXPECT_EQ(page.m_drawingBlocks.GetSize(), count);
}

}  // namespace
}  // namespace attbat
