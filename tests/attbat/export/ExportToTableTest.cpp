// The export to a native table of the current drawing, its refill, and the template stream
// hung on the table.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "ExportTestSupport.h"
#include "attbat/export/TableTextExtents.h"
#include "base/File.h"
#include "base/Hex.h"
#include "cad/Dictionary.h"
#include "cad/Database.h"
#include "cad/SymbolRecord.h"
#include "cad/geometry/Table.h"
#include "cad/geometry/TableStyle.h"
#include "host/Answers.h"
#include "host/Console.h"

namespace attbat {
namespace {

using testing::BlockWithRows;
using testing::TempFolder;
using testing::WizardFixture;

// The wizard over in-memory blocks, with an AutoCAD drawing (Standard table style: text 4.5
// high in data and header rows, 1.5 margins) as the current drawing for the table.
struct TableFixture : WizardFixture {
    TempFolder temp;
    host::RecordingUi ui;
    cad::Database* db = nullptr;

    TableFixture() {
        host::SetCurrentUi(&ui);
        std::string path = temp / "plan.dxf";
        std::filesystem::copy_file(std::string(VELMAR_CORPUS) + "/dxf/acad-table-blockref-ac1032.dxf", path);
        auto doc = host::DocumentManager::Instance().OpenCurrent(path);
        EXPECT_TRUE(doc) << doc.GetStatus().Message();
        if (doc) db = &doc.Value()->Database();
    }
    ~TableFixture() {
        host::SetCurrentUi(nullptr);
        host::CurrentConsole().SetAnswers(host::Answers::Parse(""));
        host::DocumentManager::Instance().CloseAll();
    }
    // The preview of `blocks` alone (the drawing's own blocks unticked).
    void Preview(std::initializer_list<AcadBlock> blocks) {
        Start(blocks);
        wizard.GoNext();
        std::vector<std::string> names;
        for (const AcadBlock& block : blocks) names.push_back(block.name);
        for (auto& row : wizard.m_attributePage.m_blockList)
            row.checked = std::find(names.begin(), names.end(), row.name) != names.end();
        wizard.GoNext();
    }
    // Answers the title prompt with `title` and exports; the table made, or a null view.
    cad::Table Export(const std::string& title) {
        // "=" alone is an empty answer: Enter at the prompt.
        host::CurrentConsole().SetAnswers(host::Answers::Parse("= " + title + "\n"));
        if (!wizard.m_previewPage.ExportToTable()) return {};
        cad::Object made = db->ObjectByHandle(cad::ParseHandle(wizard.m_previewPage.m_tableHandle));
        return cad::Table(made.GetDatabase(), made.Index());
    }
    std::size_t Tables() { return db->Select({{0, "ACAD_TABLE"}}).size(); }
};

// The position of the column whose texts are all empty; -1 when none is.
int EmptyColumn(const CAttPreviewPage& page) {
    for (int c = 0; c < page.ColumnCount(); ++c) {
        bool empty = true;
        for (int r = 0; r < page.RowCount(); ++r) empty = empty && page.TextAt(r, c).empty();
        if (empty) return c;
    }
    return -1;
}

TEST(ExportToTable, TitledTableHoldsTheTitleAndEveryListRowInListOrder) {
    TableFixture f;
    f.Preview({BlockWithRows("DOOR", {"D1", "D2"})});
    CAttPreviewPage& page = f.wizard.m_previewPage;
    std::size_t before = f.Tables();
    cad::Table table = f.Export("Door schedule");
    ASSERT_TRUE(table) << page.m_tableFailure;
    EXPECT_EQ(f.Tables(), before + 1);
    EXPECT_EQ(table.Rows(), page.RowCount() + 1);
    EXPECT_EQ(table.Columns(), page.ColumnCount());
    EXPECT_EQ(table.CellText(0, 0), "Door schedule");
    EXPECT_EQ(table.CellStyle(0, 0).name, "_TITLE");
    for (int r = 0; r < page.RowCount(); ++r)
        for (int c = 0; c < page.ColumnCount(); ++c) EXPECT_EQ(table.CellText(r + 1, c), page.TextAt(r, c));
    // Made where it was made: the origin.
    EXPECT_DOUBLE_EQ(table.Position().x, 0);
    EXPECT_EQ(table.Style().GetHandle(), cad::TableStyle::Current(*f.db).GetHandle());
}

TEST(ExportToTable, EmptyTitleGivesNoTitleRowAndTheUpdateStartsAtRowZero) {
    TableFixture f;
    f.Preview({BlockWithRows("DOOR", {"D1", "D2"})});
    CAttPreviewPage& page = f.wizard.m_previewPage;
    cad::Table table = f.Export("");
    ASSERT_TRUE(table) << page.m_tableFailure;
    EXPECT_EQ(table.Rows(), page.RowCount());
    EXPECT_EQ(table.CellText(0, 0), page.TextAt(0, 0));
    EXPECT_NE(table.CellStyle(0, 0).name, "_TITLE");
    // The refill finds no title row: the list's first row lands in row 0.
    table.SetCellText(0, 0, "changed");
    page.WriteRowsToTable(table);
    EXPECT_EQ(table.CellText(0, 0), page.TextAt(0, 0));
    EXPECT_EQ(table.Rows(), page.RowCount());
}

TEST(ExportToTable, TitleOfMoreThan259CharactersEndsTheExportAsIfCancelled) {
    TableFixture f;
    f.Preview({BlockWithRows("DOOR", {"D1"})});
    std::size_t before = f.Tables();
    EXPECT_FALSE(f.Export(std::string(260, 'T')));
    EXPECT_EQ(f.Tables(), before);
    EXPECT_TRUE(f.wizard.m_previewPage.m_tableFailure.empty());
    EXPECT_TRUE(f.Export(std::string(259, 'T')));
    EXPECT_EQ(f.Tables(), before + 1);
}

TEST(ExportToTable, CancelAtTheTitleMakesNothing) {
    TableFixture f;
    f.Preview({BlockWithRows("DOOR", {"D1"})});
    std::size_t before = f.Tables();
    host::CurrentConsole().SetAnswers(host::Answers::Parse(""));
    EXPECT_FALSE(f.wizard.m_previewPage.ExportToTable());
    EXPECT_EQ(f.Tables(), before);
}

TEST(ExportToTable, ColumnEmptyInAllRowsGetsTwiceTheHeaderHeightPlusTheSpacing) {
    TableFixture f;
    AcadBlock door = BlockWithRows("DOOR", {"", ""});
    f.wizard.m_view.includeHeader = 0;
    f.wizard.m_view.unselNoValueAtts = 0;
    f.Preview({door});
    int empty = EmptyColumn(f.wizard.m_previewPage);
    ASSERT_GE(empty, 0);
    cad::Table table = f.Export("T");
    ASSERT_TRUE(table);
    EXPECT_DOUBLE_EQ(table.ColumnWidths()[empty], 2 * 4.5 + 1.5);
}

TEST(ExportToTable, TextStyleOfFixedHeightGivesWidthsFromTheRealExtents) {
    TableFixture f;
    cad::SymbolRecord standard = f.db->FindRecord("STYLE", "Standard");
    ASSERT_TRUE(standard);
    standard.SetReal(40, 2.5);
    f.Preview({BlockWithRows("DOOR", {"D1", "A much longer mark"})});
    CAttPreviewPage& page = f.wizard.m_previewPage;
    cad::Table table = f.Export("T");
    ASSERT_TRUE(table);
    TableTextExtents extents(*f.db, "Standard");
    // arial.ttf, or the font this system draws it with: measured by its own advances.
    EXPECT_FALSE(extents.MeasuredFont().empty());
    for (int c = 0; c < page.ColumnCount(); ++c) {
        double widest = 0;
        for (int r = 0; r < page.RowCount(); ++r) widest = std::max(widest, extents.Width(page.TextAt(r, c)));
        // Not (characters + 2) times the row heights: the style's own height measures.
        EXPECT_DOUBLE_EQ(table.ColumnWidths()[c], widest + 1.5) << c;
    }
}

TEST(ExportToTable, ColumnsDraggedOnThePreviewLandInTheShownOrder) {
    TableFixture f;
    AcadBlock door = BlockWithRows("DOOR", {"D1"});
    f.Preview({door});
    CAttPreviewPage& page = f.wizard.m_previewPage;
    ASSERT_GE(page.ColumnCount(), 3);
    std::vector<int> order = page.ColumnOrder();
    std::swap(order[1], order[2]);
    ASSERT_TRUE(page.SetColumnOrder(order));
    cad::Table table = f.Export("");
    ASSERT_TRUE(table);
    for (int r = 0; r < page.RowCount(); ++r)
        for (int c = 0; c < page.ColumnCount(); ++c) EXPECT_EQ(table.CellText(r, c), page.TextAt(r, c));
    EXPECT_EQ(table.CellText(0, 1), CAttPreviewPage::CellOf(page.m_rows[0].texts, order[1]));
}

TEST(ExportToTable, ShapeFontIsMeasuredByTheStandIn) {
    TableFixture f;
    cad::SymbolRecord standard = f.db->FindRecord("STYLE", "Standard");
    standard.SetReal(40, 2);
    standard.SetText(3, "simplex.shx");
    TableTextExtents extents(*f.db, "Standard");
    EXPECT_TRUE(extents.MeasuredFont().empty());
    EXPECT_DOUBLE_EQ(extents.Width("ABCD"), 4 * 2 * TableTextExtents::kStandInAdvance);
    standard.SetReal(40, 0);
    EXPECT_EQ(TableTextExtents(*f.db, "Standard").Width("ABCD"), 0);
}

TEST(ExportToTable, DrawingWithoutATableStyleGetsAutoCadsStandardOne) {
    TableFixture f;
    std::string path = f.temp / "plain.dxf";
    std::filesystem::copy_file(std::string(VELMAR_CORPUS) + "/dxf/gdal-additional-entities-long-line-ac1027.dxf", path);
    auto doc = host::DocumentManager::Instance().OpenCurrent(path);
    ASSERT_TRUE(doc);
    f.db = &doc.Value()->Database();
    ASSERT_FALSE(cad::TableStyle::Current(*f.db));
    f.Preview({BlockWithRows("DOOR", {"D1"})});
    // Cancelled at the title: the drawing stays as it was, without a style.
    host::CurrentConsole().SetAnswers(host::Answers::Parse(""));
    EXPECT_FALSE(f.wizard.m_previewPage.ExportToTable());
    EXPECT_FALSE(cad::TableStyle::Current(*f.db));
    EXPECT_FALSE(f.db->IsModified());
    cad::Table table = f.Export("T");
    ASSERT_TRUE(table) << f.wizard.m_previewPage.m_tableFailure;
    EXPECT_EQ(cad::TableStyle::Current(*f.db).Name(), "Standard");
    EXPECT_EQ(table.Style().GetHandle(), cad::TableStyle::Current(*f.db).GetHandle());
}

TEST(ExportToTable, EmptyListMakesNoTable) {
    TableFixture f;
    f.Preview({});
    std::size_t before = f.Tables();
    EXPECT_FALSE(f.Export("T"));
    EXPECT_EQ(f.Tables(), before);
}

TEST(ExportToTable, InsertionPointPlacesTheTable) {
    TableFixture f;
    f.Preview({BlockWithRows("DOOR", {"D1"})});
    f.wizard.m_previewPage.m_tableInsertionPoint = cad::Point3{100, 50, 0};
    cad::Table table = f.Export("T");
    ASSERT_TRUE(table);
    EXPECT_DOUBLE_EQ(table.Position().x, 100);
    EXPECT_DOUBLE_EQ(table.Position().y, 50);
}

TEST(TableTemplate, StreamOfAWholeNumberOfChunksEndsInAnEmptyChunk) {
    std::vector<std::string> chunks = CAttPreviewPage::TemplateChunks(std::string(254, 'x'));
    ASSERT_EQ(chunks.size(), 3u);
    EXPECT_EQ(chunks[0].size(), 127u);
    EXPECT_EQ(chunks[1].size(), 127u);
    EXPECT_TRUE(chunks[2].empty());
    chunks = CAttPreviewPage::TemplateChunks(std::string(130, 'x'));
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[1].size(), 3u);
    EXPECT_EQ(CAttPreviewPage::TemplateChunks("").size(), 1u);
}

TEST(TableTemplate, StreamOnTheTableIsTheTemplateFileByteForByte) {
    TableFixture f;
    f.Preview({BlockWithRows("DOOR", {"D1", "D2"})});
    cad::Table table = f.Export("T");
    ASSERT_TRUE(table);
    std::string file = f.temp / "t.vlt";
    ASSERT_TRUE(f.wizard.SaveTemplate(file));
    cad::Object entry = table.ExtensionDictionary().Get(CScheduleDialog::templateSignature);
    ASSERT_EQ(entry.Type(), "XRECORD");
    std::string stream;
    for (const cad::Tag& tag : cad::Xrecord(entry.GetDatabase(), entry.Index()).Data()) {
        ASSERT_EQ(tag.code, 310);
        stream += base::BytesOfHex(tag.value);
    }
    auto bytes = base::ReadFile(file);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(stream, *bytes);
}

TEST(TableTemplate, TableMadeByTheWizardLoadsItsTemplateBack) {
    TableFixture f;
    f.Preview({BlockWithRows("DOOR", {"D1", "D2"})});
    f.wizard.m_previewPage.OnHeaderClick(1);
    cad::Table table = f.Export("T");
    ASSERT_TRUE(table);
    CScheduleDialog& wizard = f.wizard;
    wizard.m_previewPage.m_sortColumn = -1;
    wizard.m_previewPage.m_sortDirection = 0;
    EXPECT_EQ(wizard.LoadTemplateFromTable(table), 1);
    EXPECT_EQ(wizard.m_previewPage.m_sortColumn, 1);
    EXPECT_EQ(wizard.m_previewPage.m_sortDirection, 1);
    EXPECT_EQ(wizard.m_activePage, 2u);
    EXPECT_TRUE(f.ui.Shown().empty());
}

TEST(TableTemplate, TableFromAnotherProgramCantLoadTheAttributeTemplateInformation) {
    TableFixture f;
    f.Preview({BlockWithRows("DOOR", {"D1"})});
    auto found = f.db->Select({{0, "ACAD_TABLE"}});
    ASSERT_FALSE(found.empty());
    cad::Table table(f.db, found[0].Index());
    std::string before = table.CellText(1, 0);
    EXPECT_EQ(f.wizard.LoadTemplateFromTable(table), 0);
    EXPECT_FALSE(f.wizard.UpdateTable(table));
    ASSERT_EQ(f.ui.Shown().size(), 1u);
    EXPECT_EQ(f.ui.Shown()[0].text, "Can't load the attribute template information.");
    EXPECT_EQ(f.ui.Shown()[0].title, "Orvane Velmar");
    EXPECT_EQ(table.CellText(1, 0), before);
}

TEST(TableTemplate, BadSignatureOnATableTellsInvalidTemplateData) {
    TableFixture f;
    f.Preview({BlockWithRows("DOOR", {"D1"})});
    cad::Table table = f.Export("T");
    ASSERT_TRUE(table);
    auto dictionary = table.GetOrCreateExtensionDictionary();
    ASSERT_TRUE(dictionary);
    ASSERT_TRUE(dictionary->SetXrecord(CScheduleDialog::templateSignature, {{310, base::HexOf("not a stream")}}));
    EXPECT_EQ(f.wizard.LoadTemplateFromTable(table), 0);
    ASSERT_EQ(f.ui.Shown().size(), 1u);
    EXPECT_EQ(f.ui.Shown()[0].text, "Invalid Velmar template data: 1.");
}

}  // namespace
}  // namespace attbat
