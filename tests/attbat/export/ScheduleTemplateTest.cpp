// Schedule templates in .vlt files: written by us and read back, and streams built by hand in
// each version the Windows program has written.

#include <gtest/gtest.h>

#include "ExportTestSupport.h"
#include "attbat/model/Archive.h"
#include "base/File.h"

namespace attbat {
namespace {

using testing::BlockWithRows;
using testing::TempFolder;
using testing::WizardFixture;

// A stream as the Windows program writes it, field by field, for `version`.
std::string HandBuiltStream(int version, int page, int dataSource, const tables::CStringArrayEx& paths,
                            const tables::CStringArrayEx& unticked, std::vector<std::uint16_t> order,
                            int sortColumn, int sortDirection, std::string signature =
                                "D947AC3F-6E41-49e9-8CB6-A508362E9A4C") {
    Archive a = Archive::ForStoring();
    a.String(signature);
    a.Int32(version);
    a.Int32(page);
    int one = 1, zero = 0;
    for (int i = 0; i < 6; ++i) a.Int32(i == 5 ? zero : one);  // filter flags
    std::string pattern;
    a.String(pattern);
    tables::CStringArrayEx names;
    a.StringArray(names);
    int view[15] = {1, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 0, 2};  // X, Layer, Att, header, count
    for (int& v : view) a.Int32(v);
    a.Int32(zero);  // no unticked tags
    if (version >= 2) {
        for (int i = 0; i < 4; ++i) a.Int32(zero);
    }
    a.Int32(dataSource);
    tables::CStringArrayEx pathsCopy = paths;
    if (dataSource == 2) a.StringArray(pathsCopy);
    a.Int32(one);
    a.Int32(one);
    tables::CStringArrayEx untickedCopy = unticked;
    a.StringArray(untickedCopy);
    if (version >= 3) a.WordArray(order);
    if (version >= 4) {
        a.Int32(sortColumn);
        a.Int32(sortDirection);
    }
    return a.Bytes();
}

struct TemplateFixture : WizardFixture {
    TempFolder temp;
    host::RecordingUi ui;
    TemplateFixture() { host::SetCurrentUi(&ui); }
    ~TemplateFixture() { host::SetCurrentUi(nullptr); }
    std::string Write(const std::string& bytes) {
        std::string path = temp / "t.vlt";
        EXPECT_TRUE(base::WriteFileAtomic(path, bytes));
        return path;
    }
};

TEST(ScheduleTemplate, WrittenTemplateReadsBackToTheSameWizardState) {
    TemplateFixture f;
    AcadBlock door = BlockWithRows("DOOR", {"D2", "D1"});
    door.defs.AddSorted(AcadAttributeDef("WIDTH", "Width", Point3d{5, 0, 0}, 0, 0, 0, 0, 0));
    f.Start({door, BlockWithRows("WINDOW", {"W1"})});
    f.wizard.m_view.unselNoValueAtts = 0;
    f.wizard.m_view.showLayer = 1;
    f.wizard.m_filter.blockPattern = "D*,W*";
    f.wizard.GoNext();
    f.wizard.m_attributePage.Tick("WINDOW", false);
    f.wizard.GoNext();
    CAttPreviewPage& page = f.wizard.m_previewPage;
    page.DragColumn(3, 1);
    page.OnHeaderClick(2);
    std::string path = f.temp / "state.vlt";
    ASSERT_TRUE(f.wizard.SaveTemplate(path));
    const std::vector<int> order = page.ColumnOrder();

    WizardFixture other;
    other.Start({door, BlockWithRows("WINDOW", {"W1"})});
    other.wizard.m_view.unselNoValueAtts = 0;  // not part of the stream
    ASSERT_TRUE(other.wizard.LoadTemplate(path));
    EXPECT_EQ(other.wizard.m_activePage, 2u);
    EXPECT_EQ(other.wizard.m_filter.blockPattern, "D*,W*");
    EXPECT_EQ(other.wizard.m_view.showLayer, 1);
    EXPECT_EQ(other.wizard.m_previewPage.ColumnOrder(), order);
    EXPECT_EQ(other.wizard.m_previewPage.m_sortColumn, 2);
    EXPECT_EQ(other.wizard.m_previewPage.m_sortDirection, 1);
    for (const auto& row : other.wizard.m_attributePage.m_blockList) EXPECT_EQ(row.checked, row.name == "DOOR");
    // Saved again, the state gives the very same bytes.
    std::string again = f.temp / "again.vlt";
    ASSERT_TRUE(other.wizard.SaveTemplate(again));
    EXPECT_EQ(*base::ReadFile(again), *base::ReadFile(path));
}

TEST(ScheduleTemplate, SavedOnAttributePageLoadsToThatPageAndOnPreviewRunsNextTwice) {
    for (int page : {1, 2}) {
        TemplateFixture f;
        f.Start({BlockWithRows("DOOR", {"D1"})});
        ASSERT_TRUE(f.wizard.LoadTemplate(f.Write(HandBuiltStream(4, page, 0, {}, {}, {}, -1, 0))));
        EXPECT_EQ(f.wizard.m_activePage, static_cast<unsigned>(page));
        EXPECT_EQ(f.wizard.nextEnabled, page != 2);
        EXPECT_TRUE(f.wizard.backEnabled);
    }
}

TEST(ScheduleTemplate, HandBuiltStreamOfEachVersionLoads) {
    for (int version = 1; version <= 4; ++version) {
        TemplateFixture f;
        f.Start({BlockWithRows("DOOR", {"D1", "D2"})});
        f.wizard.m_view.showOuterArea = 1;  // versions below 2 leave these four alone
        ASSERT_TRUE(f.wizard.LoadTemplate(f.Write(HandBuiltStream(version, 2, 0, {}, {}, {0, 3, 2, 1}, 3, -1))))
            << version;
        CAttPreviewPage& page = f.wizard.m_previewPage;
        EXPECT_EQ(f.wizard.m_view.showPosX, 1) << version;
        EXPECT_EQ(f.wizard.m_view.showOuterArea, version >= 2 ? 0 : 1) << version;
        // Block Name, Quantity, Position X, Layer and MARK: the four-column order doesn't fit.
        EXPECT_EQ(page.ColumnOrder()[1], 1) << version;
        EXPECT_EQ(page.m_sortColumn, version >= 4 ? 3 : -1) << version;
        EXPECT_TRUE(f.ui.Shown().empty()) << version;
    }
}

TEST(ScheduleTemplate, ColumnOrderOfTheRightCountIsBroughtBack) {
    TemplateFixture f;
    f.Start({BlockWithRows("DOOR", {"D1"})});
    // Block Name, Quantity, Position X, Layer, MARK.
    ASSERT_TRUE(f.wizard.LoadTemplate(f.Write(HandBuiltStream(3, 2, 0, {}, {}, {0, 4, 3, 2, 1}, 0, 0))));
    EXPECT_EQ(f.wizard.m_previewPage.ColumnOrder(), (std::vector<int>{0, 4, 3, 2, 1}));
    EXPECT_EQ(f.wizard.m_previewPage.TextAt(0, 1), "MARK");
}

TEST(ScheduleTemplate, SelectedObjectsSourceLoadsWithAnEmptySelection) {
    TemplateFixture f;
    f.Start({BlockWithRows("DOOR", {"D1"})});
    ASSERT_TRUE(f.wizard.LoadTemplate(f.Write(HandBuiltStream(4, 2, 1, {}, {}, {}, -1, 0))));
    EXPECT_EQ(f.wizard.m_activeBlocks, &f.wizard.m_blockSourcePage.m_selectedBlocks);
    EXPECT_TRUE(f.wizard.m_activeBlocks->IsEmpty());
    EXPECT_EQ(f.wizard.m_previewPage.RowCount(), 0);
}

TEST(ScheduleTemplate, DrawingThatHasGoneIsSkippedWithoutAMessage) {
    TemplateFixture f;
    f.Start({});
    std::string sample = std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf";
    ASSERT_TRUE(f.wizard.LoadTemplate(f.Write(HandBuiltStream(4, 1, 2, {"/gone/away.dxf", sample}, {}, {}, -1, 0))));
    EXPECT_TRUE(f.ui.Shown().empty());
    EXPECT_EQ(f.wizard.m_blockSourcePage.m_drawingPaths.GetSize(), 2);
    EXPECT_FALSE(f.wizard.m_blockSourcePage.m_drawingBlocks.IsEmpty());
}

TEST(ScheduleTemplate, UntickedNamesThatNoLongerExistDoNothingAndNewBlocksComeUpTicked) {
    TemplateFixture f;
    f.Start({BlockWithRows("DOOR", {"D1"}), BlockWithRows("WINDOW", {"W1"})});
    ASSERT_TRUE(f.wizard.LoadTemplate(f.Write(HandBuiltStream(4, 1, 0, {}, {"GONE", "WINDOW"}, {}, -1, 0))));
    ASSERT_EQ(f.wizard.m_attributePage.m_blockList.size(), 2u);
    for (const auto& row : f.wizard.m_attributePage.m_blockList) EXPECT_EQ(row.checked, row.name == "DOOR");
    EXPECT_TRUE(f.wizard.m_attributePage.m_restoredUnchecked.IsEmpty());  // used once
}

TEST(ScheduleTemplate, BadSignatureVersionOrStreamTellWhich) {
    struct Case {
        std::string bytes;
        const char* message;
    };
    std::string good = HandBuiltStream(4, 1, 0, {}, {}, {}, -1, 0);
    for (const Case& c : {Case{HandBuiltStream(4, 1, 0, {}, {}, {}, -1, 0, "not a template"), "Invalid Velmar template file: 1."},
                          Case{HandBuiltStream(0, 1, 0, {}, {}, {}, -1, 0), "Invalid Velmar template file: 2."},
                          Case{good.substr(0, good.size() - 6), "Invalid Velmar template file: 3."}}) {
        TemplateFixture f;
        f.Start({});
        EXPECT_FALSE(f.wizard.LoadTemplate(f.Write(c.bytes)));
        ASSERT_EQ(f.ui.Shown().size(), 1u);
        EXPECT_EQ(f.ui.Shown()[0].text, c.message);
        EXPECT_EQ(f.ui.Shown()[0].title, "Velmar");
    }
}

TEST(ScheduleTemplate, LaterVersionIsReadAsTheLatestKnown) {
    TemplateFixture f;
    f.Start({BlockWithRows("DOOR", {"D1"})});
    ASSERT_TRUE(f.wizard.LoadTemplate(f.Write(HandBuiltStream(7, 2, 0, {}, {}, {}, 2, -1))));
    EXPECT_EQ(f.wizard.m_previewPage.m_sortDirection, -1);
}

}  // namespace
}  // namespace attbat
