// The export from the Preview page into workbooks of the file backend, read back through the
// same object model after the command's save.

#include <gtest/gtest.h>

#include <algorithm>

#include "ExportTestSupport.h"
#include "attbat/model/ScheduleRows.h"

namespace attbat {
namespace {

using arxutils::ExcelUtils;
using testing::BackendScope;
using testing::BlockWithRows;
using testing::TempFolder;
using testing::WizardFixture;
namespace excel = arxutils::excel;

// A saved workbook opened again as the running instance's active workbook.
struct SavedWorkbook {
    BackendScope scope;
    explicit SavedWorkbook(const std::string& path) : scope(Options(path)) {
        EXPECT_TRUE(ExcelUtils::ConnectToExcel(false));
    }
    static excel::FileBackendOptions Options(const std::string& path) {
        excel::FileBackendOptions options;
        options.workbook = path;
        return options;
    }
    int SheetCount() { return ExcelUtils::Workbook->GetWorksheets()->Count(); }
    std::unique_ptr<excel::Worksheet> Sheet(int index) { return ExcelUtils::Workbook->GetWorksheets()->Item(index); }
    static std::string Text(excel::Worksheet& sheet, const char* cell) {
        excel::Variant text = sheet.GetRange(cell)->Text();
        return text.text;
    }
    static std::string Note(excel::Worksheet& sheet, const char* cell) {
        auto comment = sheet.GetRange(cell)->GetComment();
        return comment ? comment->Text() : std::string("(none)");
    }
};

// A workbook with values in B3:C7 of its first sheet and a note on A2, saved at `path`.
void MakeFilledWorkbook(const std::string& path, int sheets = 1) {
    excel::FileBackendOptions options;
    options.output = path;
    BackendScope scope(options);
    ASSERT_TRUE(ExcelUtils::StartExcel(false));
    ASSERT_TRUE(ExcelUtils::AddWorkbook());
    auto worksheets = ExcelUtils::Workbook->GetWorksheets();
    while (worksheets->Count() < sheets) worksheets->Add();
    auto first = worksheets->Item(1);
    first->Activate();
    for (int row = 3; row <= 7; ++row) {
        first->GetRange(base::Sprintf("B%d", row))->SetValue(excel::Variant::String("old"));
        first->GetRange(base::Sprintf("C%d", row))->SetValue(excel::Variant::Number(row));
    }
    first->GetRange("A2")->AddComment("an old note");
    ASSERT_TRUE(scope.Save());
}

struct ExportFixture : WizardFixture {
    TempFolder temp;
    std::string output = temp / "out.xlsx";

    // Runs the export with a new workbook (or `workbook` as the active one) and saves it.
    bool Export(const std::string& workbook = {}) {
        excel::FileBackendOptions options;
        options.workbook = workbook;
        options.output = workbook.empty() ? output : std::string();
        BackendScope scope(options);
        bool done = wizard.m_previewPage.ExportToExcel();
        base::Status saved = scope.Save();
        EXPECT_TRUE(saved) << saved.Message();
        return done;
    }
};

TEST(ExportToExcel, OneSheetForAllBlocksWritesValuesAndKeyComments) {
    ExportFixture f;
    f.Start({BlockWithRows("DOOR", {"D1", "D2"})});
    f.ToPreview();
    ASSERT_TRUE(f.Export());
    SavedWorkbook book(f.output);
    auto sheet = book.Sheet(1);
    EXPECT_EQ(SavedWorkbook::Text(*sheet, "A1"), "Block Name");
    EXPECT_EQ(SavedWorkbook::Text(*sheet, "C2"), "D1");
    EXPECT_EQ(SavedWorkbook::Note(*sheet, "C2"), f.wizard.m_previewPage.m_commentTable[1][2]);
    EXPECT_NE(SavedWorkbook::Note(*sheet, "C2").find("1A0"), std::string::npos);
    EXPECT_EQ(SavedWorkbook::Note(*sheet, "A1"), "(none)");  // the block mark is never written
}

TEST(ExportToExcel, NewWorkbookWithSheetPerBlockAddsExactlyTheMissingSheets) {
    ExportFixture f;
    f.settings.SetInt("Velmar", "WorksheetOpt", 0);
    f.Start({BlockWithRows("DOOR", {"D1"}), BlockWithRows("WINDOW", {"W1"}), BlockWithRows("DESK", {"K1"}),
             BlockWithRows("CHAIR", {"C1"})});
    f.wizard.m_view.headerStyle = 1;
    f.ToPreview();
    f.wizard.m_previewPage.m_headerStyle = 1;
    f.wizard.m_previewPage.RefreshPage();
    ASSERT_TRUE(f.Export());
    SavedWorkbook book(f.output);
    ASSERT_EQ(book.SheetCount(), 4);
    const char* names[] = {"DOOR", "WINDOW", "DESK", "CHAIR"};
    const char* marks[] = {"D1", "W1", "K1", "C1"};
    for (int i = 0; i < 4; ++i) {
        auto sheet = book.Sheet(i + 1);
        EXPECT_EQ(sheet->GetName(), names[i]);
        EXPECT_EQ(SavedWorkbook::Text(*sheet, "A1"), "Block Name");
        EXPECT_EQ(SavedWorkbook::Text(*sheet, "C2"), marks[i]);
        EXPECT_EQ(SavedWorkbook::Text(*sheet, "C3"), "");
    }
}

// Each sheet of the saved workbook `path`: its name, then "text|note" of each of `cells`.
std::vector<std::string> SheetCells(const std::string& path, std::initializer_list<const char*> cells) {
    SavedWorkbook book(path);
    std::vector<std::string> out;
    for (int i = 1; i <= book.SheetCount(); ++i) {
        auto sheet = book.Sheet(i);
        out.push_back(sheet->GetName());
        for (const char* cell : cells)
            out.push_back(SavedWorkbook::Text(*sheet, cell) + "|" + SavedWorkbook::Note(*sheet, cell));
    }
    return out;
}

TEST(ExportToExcel, WithTheReferencesReleasedAfterTheRowsTheSheetPerBlockExportWritesTheSame) {
    auto exportSheets = [](bool release) {
        ExportFixture f;
        f.settings.SetInt("Velmar", "WorksheetOpt", 0);
        f.Start({BlockWithRows("DOOR", {"D1", "D2"}), BlockWithRows("WINDOW", {"W1"})});
        f.ToPreview();
        if (release) f.wizard.ReleaseReferences();
        EXPECT_TRUE(f.Export());
        const std::vector<std::string> cells = SheetCells(f.output, {"A1", "C2", "C3"});
        if (release) {
            EXPECT_EQ(f.wizard.m_activeBlocks->GetSize(), 2);  // the blocks stay, without references
            for (const AcadBlock& block : *f.wizard.m_activeBlocks) EXPECT_EQ(block.refs.GetSize(), 0);
        }
        return cells;
    };
    const std::vector<std::string> kept = exportSheets(false);
    ASSERT_EQ(kept.size(), 8u);
    EXPECT_EQ(kept[0], "DOOR");
    EXPECT_EQ(kept[4], "WINDOW");
    EXPECT_EQ(exportSheets(true), kept);
}

TEST(ExportToExcel, RowsReleasedOnceTheirSheetIsWrittenGiveTheSameWorkbookOnOneSheetOrOnePerBlock) {
    for (int worksheetOption : {0, 1}) {
        auto exportRows = [&](bool release) {
            ExportFixture f;
            f.settings.SetInt("Velmar", "WorksheetOpt", worksheetOption);
            f.Start({BlockWithRows("DOOR", {"D1", "D2"}), BlockWithRows("WINDOW", {"W1"})});
            f.ToPreview();
            CAttPreviewPage& preview = f.wizard.m_previewPage;
            const int rows = preview.RowCount();
            preview.m_releaseRowsOnceWritten = release;
            EXPECT_TRUE(f.Export());
            const std::vector<std::string> cells = SheetCells(f.output, {"A1", "A2", "C2", "C3", "C4", "C5"});
            // The rows stay, empty when released.
            EXPECT_EQ(preview.RowCount(), rows);
            for (int r = 0; r < rows; ++r) {
                const CAttPreviewPage::ListRow& row = preview.m_rows[static_cast<std::size_t>(r)];
                EXPECT_EQ(row.texts.GetSize() == 0, release);
                EXPECT_EQ(preview.m_commentTable[row.itemData].GetSize() == 0, release);
            }
            return cells;
        };
        const std::vector<std::string> kept = exportRows(false);
        const auto holdsD2 = [](const std::string& cell) { return cell.find("D2") != std::string::npos; };
        EXPECT_TRUE(std::any_of(kept.begin(), kept.end(), holdsD2));
        EXPECT_EQ(exportRows(true), kept) << "worksheet option " << worksheetOption;
    }
}

TEST(ExportToExcel, NamesAlikeInTheirFirst31CharactersGiveANumberedSecondSheet) {
    ExportFixture f;
    f.settings.SetInt("Velmar", "WorksheetOpt", 0);
    const std::string stem = "MECHANICAL_EQUIPMENT_SCHEDULE_TAG";  // 33 characters
    f.Start({BlockWithRows(stem + "_A", {"1"}), BlockWithRows(stem + "_B", {"2"})});
    f.ToPreview();
    ASSERT_TRUE(f.Export());
    SavedWorkbook book(f.output);
    ASSERT_GE(book.SheetCount(), 2);
    EXPECT_EQ(book.Sheet(1)->GetName(), stem.substr(0, 31));
    EXPECT_EQ(book.Sheet(2)->GetName(), stem.substr(0, 26) + "(1)");
}

TEST(ExportToExcel, LastFilledRowOnAnEmptySheetStartsAtRowOne) {
    ExportFixture f;
    f.settings.SetInt("Velmar", "ExportStartRow", -1);
    f.Start({BlockWithRows("DOOR", {"D1"})});
    f.ToPreview();
    ASSERT_TRUE(f.Export());
    SavedWorkbook book(f.output);
    EXPECT_EQ(SavedWorkbook::Text(*book.Sheet(1), "A1"), "Block Name");
}

TEST(ExportToExcel, LastFilledRowAfterDataEndingInRowSevenStartsAtRowEightThoughTheUsedRangeStartsLower) {
    ExportFixture f;
    std::string existing = f.temp / "filled.xlsx";
    MakeFilledWorkbook(existing);
    f.settings.SetInt("Velmar", "ExportStartRow", -1);
    f.settings.SetInt("Velmar", "ExportWorkbookOpt", 1);
    f.settings.SetString("Velmar", "ExportStartCol", "b");
    f.Start({BlockWithRows("DOOR", {"D1"})});
    f.ToPreview();
    ASSERT_TRUE(f.Export(existing));
    SavedWorkbook book(existing);
    auto sheet = book.Sheet(1);
    EXPECT_EQ(SavedWorkbook::Text(*sheet, "B7"), "old");
    EXPECT_EQ(SavedWorkbook::Text(*sheet, "B8"), "Block Name");
    EXPECT_EQ(SavedWorkbook::Text(*sheet, "D9"), "D1");
    EXPECT_EQ(SavedWorkbook::Note(*sheet, "A2"), "an old note");  // outside the write, untouched
}

TEST(ExportToExcel, LastFilledRowFoundOnTheFirstSheetServesAllSheets) {
    ExportFixture f;
    std::string existing = f.temp / "filled.xlsx";
    MakeFilledWorkbook(existing, 2);
    f.settings.SetInt("Velmar", "ExportStartRow", -1);
    f.settings.SetInt("Velmar", "ExportWorkbookOpt", 1);
    f.settings.SetInt("Velmar", "WorksheetOpt", 0);
    f.Start({BlockWithRows("DOOR", {"D1"}), BlockWithRows("WINDOW", {"W1"})});
    f.ToPreview();
    ASSERT_TRUE(f.Export(existing));
    SavedWorkbook book(existing);
    auto filled = book.Sheet(1);
    auto empty = book.Sheet(2);
    EXPECT_EQ(SavedWorkbook::Text(*filled, "B7"), "old");
    EXPECT_EQ(SavedWorkbook::Text(*filled, "A8"), "Block Name");
    EXPECT_EQ(SavedWorkbook::Text(*filled, "C9"), "D1");
    // The second sheet was empty, yet its rows start where the first sheet's ended. With one
    // header for all blocks, the second block's slice is its data row alone.
    EXPECT_EQ(SavedWorkbook::Text(*empty, "A1"), "");
    EXPECT_EQ(SavedWorkbook::Text(*empty, "A8"), "WINDOW");
    EXPECT_EQ(SavedWorkbook::Text(*empty, "C8"), "W1");
}

TEST(ExportToExcel, CellWithEmptyKeyGetsNoCommentAndItsOldOneGoesByTheWrite) {
    ExportFixture f;
    std::string existing = f.temp / "filled.xlsx";
    MakeFilledWorkbook(existing);
    f.settings.SetInt("Velmar", "ExportWorkbookOpt", 1);
    f.Start({BlockWithRows("DOOR", {"D1"})});
    f.ToPreview();
    // Row 2 of the list is the data row; its Quantity cell (B) carries no key.
    ASSERT_EQ(f.wizard.m_previewPage.m_commentTable[1][1], "");
    f.settings.SetInt("Velmar", "ExportStartRow", 1);
    ASSERT_TRUE(f.Export(existing));
    SavedWorkbook book(existing);
    auto sheet = book.Sheet(1);
    EXPECT_EQ(SavedWorkbook::Text(*sheet, "B2"), "1");
    EXPECT_EQ(SavedWorkbook::Note(*sheet, "B2"), "(none)");
    EXPECT_EQ(SavedWorkbook::Note(*sheet, "A2"), "(none)");  // the write cleared the old note
}

TEST(ExportToExcel, DraggedColumnsAreExportedInTheirNewOrderWithTheirComments) {
    ExportFixture f;
    f.Start({BlockWithRows("DOOR", {"D1"})});
    f.ToPreview();
    f.wizard.m_previewPage.DragColumn(2, 1);  // MARK before Quantity
    ASSERT_TRUE(f.Export());
    SavedWorkbook book(f.output);
    auto sheet = book.Sheet(1);
    EXPECT_EQ(SavedWorkbook::Text(*sheet, "B1"), "MARK");
    EXPECT_EQ(SavedWorkbook::Text(*sheet, "B2"), "D1");
    EXPECT_EQ(SavedWorkbook::Note(*sheet, "B2"), f.wizard.m_previewPage.m_commentTable[1][2]);
    EXPECT_EQ(SavedWorkbook::Text(*sheet, "C2"), "1");
}

TEST(ExportToExcel, WithASortActiveCommentsFollowTheirRows) {
    ExportFixture f;
    f.Start({BlockWithRows("DOOR", {"D2", "D1"})});
    f.ToPreview();
    CAttPreviewPage& page = f.wizard.m_previewPage;
    std::string keyOfD1(page.m_commentTable[2][2]);
    ASSERT_EQ(page.TextAt(2, 2), "D1");
    page.OnHeaderClick(2);
    ASSERT_EQ(page.TextAt(1, 2), "D1");
    ASSERT_TRUE(f.Export());
    SavedWorkbook book(f.output);
    auto sheet = book.Sheet(1);
    EXPECT_EQ(SavedWorkbook::Text(*sheet, "C2"), "D1");
    EXPECT_EQ(SavedWorkbook::Note(*sheet, "C2"), keyOfD1);
}

TEST(ExportToExcel, BorderMergeAndHyperlinkWhereAsked) {
    ExportFixture f;
    f.settings.SetInt("Velmar", "ApplyBorder", 1);
    f.settings.SetInt("Velmar", "MergeBlockName", 1);
    f.settings.SetInt("Velmar", "AddHyperlinkToDrawingPath", 1);
    f.Start({BlockWithRows("DOOR", {"D1", "D2", "D3"})});
    f.wizard.m_view.showName = 1;
    f.ToPreview();
    ASSERT_EQ(f.wizard.m_previewPage.TextAt(1, 0), "C:\\a.dwg");
    ASSERT_TRUE(f.Export());
    SavedWorkbook book(f.output);
    auto sheet = book.Sheet(1);
    // Rows 2-4 share the drawing: the last row joins the run before it.
    EXPECT_EQ(sheet->GetRange("A2")->MergeArea()->Address(), "$A$2:$A$4");
    EXPECT_EQ(SavedWorkbook::Note(*sheet, "A2"), CurrentDrawingMark);
}

TEST(ExportToExcel, ActiveWorkbookWithoutOneTellsTheUserAndWritesNothing) {
    ExportFixture f;
    f.settings.SetInt("Velmar", "ExportWorkbookOpt", 1);
    f.Start({BlockWithRows("DOOR", {"D1"})});
    f.ToPreview();
    host::RecordingUi ui;
    host::SetCurrentUi(&ui);
    excel::FileBackendOptions options;
    {
        BackendScope scope(options);
        EXPECT_FALSE(f.wizard.m_previewPage.ExportToExcel());
    }
    host::SetCurrentUi(nullptr);
    ASSERT_FALSE(ui.Shown().empty());
    EXPECT_EQ(ui.Shown().back().title, "Velmar");
    EXPECT_EQ(ui.Shown().back().text.rfind("Cannot get the active workbook. Please open a workbook first. \n\n", 0), 0u);
}

}  // namespace
}  // namespace attbat
