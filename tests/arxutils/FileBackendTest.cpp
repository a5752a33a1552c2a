// Saving what a command changed: in place and atomically, new workbooks to --output or beside
// the drawing, never over another program's open file or an existing file without --force.
#include "BridgeFixture.h"

#include <filesystem>

#include "tables/CStringTable.h"

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

namespace {

std::string CellText(const std::string& path, int row, int column) {
    auto book = xl::Workbook::Open(path);
    return book ? book.Value()->Sheet(book.Value()->ActiveSheetIndex())->Text(row, column) : "<unreadable>";
}

int FilesIn(const std::string& dir) {
    int n = 0;
    for ([[maybe_unused]] auto& e : std::filesystem::directory_iterator(dir)) ++n;
    return n;
}

}  // namespace

TEST_F(BridgeTest, ChangedWorkbookIsReplacedInPlaceAtomically) {
    std::string path = CopyCorpus("excel2013-notes-26-merges-validation-names.xlsx", "data.xlsx");
    Attach(path);
    ASSERT_TRUE(ExcelUtils::SetCellValue(1, 1, "changed"));
    int before = FilesIn(dir_);
    ASSERT_TRUE(backend_->SaveChanged().IsOk());
    EXPECT_EQ(CellText(path, 1, 1), "changed");
    EXPECT_EQ(FilesIn(dir_), before);  // no temporary file or backup left behind
    EXPECT_EQ(Printed(), "Workbook " + path + " saved.");
    EXPECT_FALSE(backend_->HasChanges());
}

TEST_F(BridgeTest, UnchangedWorkbookIsNotWritten) {
    std::string path = CopyCorpus("excel2013-notes-26-merges-validation-names.xlsx", "data.xlsx");
    std::string before = Bytes(path);
    Attach(path);
    tables::CStringTable table;
    ExcelUtils::ReadCellsSlow(table, "$A$1:$C$3", true);
    ExcelUtils::ActivateSheet(1);
    ASSERT_TRUE(backend_->SaveChanged().IsOk());
    EXPECT_EQ(Bytes(path), before);
    EXPECT_EQ(Printed(), "");
}

TEST_F(BridgeTest, WorkbookHeldOpenByAnotherProgramIsNotWrittenAndTheUserIsOfferedOutput) {
    std::string path = MakeBook("held.xlsx");
    std::string before = Bytes(path);
    ASSERT_TRUE(base::WriteFileAtomic(Path(".~lock.held.xlsx#"), "someone,host,01.01.2026").IsOk());
    Attach(path);
    ASSERT_TRUE(ExcelUtils::SetCellValue(1, 1, "mine"));
    base::Status saved = backend_->SaveChanged();
    ASSERT_FALSE(saved.IsOk());
    EXPECT_NE(saved.Message().find(path + " is open in another program (.~lock.held.xlsx#)"), std::string::npos)
        << saved.Message();
    EXPECT_NE(saved.Message().find("--output"), std::string::npos);
    EXPECT_EQ(Bytes(path), before);
    EXPECT_TRUE(backend_->HasChanges());  // nothing lost: the changes are still there to save elsewhere
}

TEST_F(BridgeTest, ExcelOwnerFileCountsAsALockToo) {
    std::string path = MakeBook("Parts.xlsx");
    ASSERT_TRUE(base::WriteFileAtomic(Path("~$rts.xlsx"), "owner").IsOk());
    Attach(path);
    ASSERT_TRUE(ExcelUtils::SetCellValue(1, 1, "mine"));
    EXPECT_FALSE(backend_->SaveChanged().IsOk());
}

TEST_F(BridgeTest, LockedWorkbookChangesGoToOutputWhenGiven) {
    std::string path = MakeBook("held.xlsx");
    ASSERT_TRUE(base::WriteFileAtomic(Path(".~lock.held.xlsx#"), "x").IsOk());
    excel::FileBackendOptions options;
    options.workbook = path;
    options.output = Path("copy.xlsx");
    Install(options);
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(true));
    ASSERT_TRUE(ExcelUtils::SetCellValue(2, 2, "kept"));
    ASSERT_TRUE(backend_->SaveChanged().IsOk());
    EXPECT_EQ(CellText(Path("copy.xlsx"), 2, 2), "kept");
    EXPECT_EQ(CellText(path, 2, 2), "");
    EXPECT_EQ(Printed(), "Workbook " + path + " saved as " + Path("copy.xlsx") + ".");
}

TEST_F(BridgeTest, NewWorkbookIsSavedToOutput) {
    excel::FileBackendOptions options;
    options.output = Path("schedule.xlsx");
    options.drawingPath = Path("plan.dxf");
    Install(options);
    ASSERT_FALSE(ExcelUtils::ConnectToExcel(true));
    ASSERT_TRUE(ExcelUtils::StartExcel(true));
    ASSERT_TRUE(ExcelUtils::AddWorkbook());
    ASSERT_TRUE(ExcelUtils::CreateStagingArray(1, 2));
    ExcelUtils::PutStagedCell("Tag", 0, 0);
    ExcelUtils::PutStagedCell("42", 0, 1);
    ExcelUtils::FlushStaging("A1", false, false);
    ASSERT_TRUE(backend_->SaveChanged().IsOk());
    EXPECT_EQ(CellText(Path("schedule.xlsx"), 1, 1), "Tag");
    EXPECT_EQ(CellText(Path("schedule.xlsx"), 1, 2), "42");
    EXPECT_EQ(Printed(), "New workbook saved as " + Path("schedule.xlsx") + ".");
}

TEST_F(BridgeTest, NewWorkbookNeverReplacesAnExistingOutputWithoutForce) {
    std::string existing = MakeBook("schedule.xlsx", [](xl::Worksheet& s) { s.SetString(1, 1, "precious"); });
    excel::FileBackendOptions options;
    options.output = existing;
    Install(options);
    ASSERT_TRUE(ExcelUtils::StartExcel(true));
    ASSERT_TRUE(ExcelUtils::AddWorkbook());
    ExcelUtils::SetCellValue(1, 1, "new");
    base::Status saved = backend_->SaveChanged();
    ASSERT_FALSE(saved.IsOk());
    EXPECT_EQ(saved.Message(), existing + " already exists; nothing was written. Give --force to replace it, or another --output.");
    EXPECT_EQ(CellText(existing, 1, 1), "precious");
}

TEST_F(BridgeTest, NewWorkbookReplacesAnExistingOutputWithForce) {
    std::string existing = MakeBook("schedule.xlsx", [](xl::Worksheet& s) { s.SetString(1, 1, "old"); });
    excel::FileBackendOptions options;
    options.output = existing;
    options.force = true;
    Install(options);
    ASSERT_TRUE(ExcelUtils::StartExcel(true));
    ASSERT_TRUE(ExcelUtils::AddWorkbook());
    ExcelUtils::SetCellValue(1, 1, "new");
    ASSERT_TRUE(backend_->SaveChanged().IsOk());
    EXPECT_EQ(CellText(existing, 1, 1), "new");
}

TEST_F(BridgeTest, NewWorkbookWithoutOutputGoesToAFreeNameBesideTheDrawing) {
    MakeBook("plan.xlsx");
    excel::FileBackendOptions options;
    options.drawingPath = Path("plan.dxf");
    Install(options);
    ASSERT_TRUE(ExcelUtils::StartExcel(true));
    ASSERT_TRUE(ExcelUtils::AddWorkbook());
    ExcelUtils::SetCellValue(1, 1, "first");
    ASSERT_TRUE(ExcelUtils::AddWorkbook());
    ExcelUtils::SetCellValue(1, 1, "second");
    ASSERT_TRUE(backend_->SaveChanged().IsOk());
    EXPECT_EQ(CellText(Path("plan-2.xlsx"), 1, 1), "first");
    EXPECT_EQ(CellText(Path("plan-3.xlsx"), 1, 1), "second");
    EXPECT_EQ(Printed(), "New workbook saved as " + Path("plan-2.xlsx") + ".\nNew workbook saved as " +
                             Path("plan-3.xlsx") + ".");
    EXPECT_EQ(CellText(Path("plan.xlsx"), 1, 1), "");
}

TEST_F(BridgeTest, ReadOnlyWorkbookIsNotSavedInPlace) {
    std::string first = MakeBook("a.xlsx");
    std::string second = MakeBook("b.xlsx");
    Attach(first);
    ASSERT_TRUE(ExcelUtils::OpenWorkbook(second, 1, 1));
    ASSERT_TRUE(ExcelUtils::ActivateSheet(1));
    ExcelUtils::SetCellValue(1, 1, "x");
    base::Status saved = backend_->SaveChanged();
    ASSERT_FALSE(saved.IsOk());
    EXPECT_NE(saved.Message().find(second + " was opened read-only"), std::string::npos);
}

TEST_F(BridgeTest, AClosedWorkbookDropsItsChangesAndTheOneOpenedBeforeBecomesActive) {
    std::string first = MakeBook("a.xlsx");
    std::string second = MakeBook("b.xlsx");
    Attach(first);
    ASSERT_TRUE(ExcelUtils::OpenWorkbook(second));
    ASSERT_TRUE(ExcelUtils::ActivateSheet(1));
    ExcelUtils::SetCellValue(1, 1, "dropped");
    EXPECT_EQ(ExcelUtils::Application->ActiveWorkbook()->FullName(), second);
    ExcelUtils::Workbook->Close();
    EXPECT_EQ(ExcelUtils::Application->GetWorkbooks()->Count(), 1);
    EXPECT_EQ(ExcelUtils::Application->ActiveWorkbook()->FullName(), first);
    EXPECT_FALSE(backend_->HasChanges());
    ASSERT_TRUE(backend_->SaveChanged());
    EXPECT_EQ(CellText(second, 1, 1), "");
}

TEST_F(BridgeTest, ActivatingAWorkbookMakesItTheActiveOne) {
    std::string first = MakeBook("a.xlsx");
    std::string second = MakeBook("b.xlsx");
    Attach(first);
    auto firstBook = ExcelUtils::Application->ActiveWorkbook();
    ASSERT_TRUE(ExcelUtils::OpenWorkbook(second));
    EXPECT_EQ(ExcelUtils::Application->ActiveWorkbook()->FullName(), second);
    firstBook->Activate();
    EXPECT_EQ(ExcelUtils::Application->ActiveWorkbook()->FullName(), first);
}

TEST_F(BridgeTest, EverySaveKeepsWhatTheBridgeDoesNotTouch) {
    std::string path = CopyCorpus("excel2010-macro-139-notes-charts-merges.xlsm", "macro.xlsm");
    auto original = xl::Workbook::Open(path);
    ASSERT_TRUE(original);
    std::vector<std::string> parts = original.Value()->GetPackage().PartNames();
    Attach(path);
    ASSERT_TRUE(ExcelUtils::SetComment("$Z$100", "added"));
    ASSERT_TRUE(backend_->SaveChanged().IsOk());
    auto saved = xl::Workbook::Open(path);
    ASSERT_TRUE(saved);
    for (const std::string& part : parts) {
        // The sheet, its notes and what lists them change; the save time is stamped as any save does.
        bool touched = part.find("comments") != std::string::npos || part.find("vml") != std::string::npos ||
                       part.find("worksheets/") != std::string::npos || part.find("core.xml") != std::string::npos ||
                       part.find("Content_Types") != std::string::npos;
        if (!touched) {
            EXPECT_EQ(saved.Value()->GetPackage().Read(part).Value(), original.Value()->GetPackage().Read(part).Value())
                << part;
        }
    }
}

TEST_F(BridgeTest, MissingWorkbookOptionIsRefusedWithItsPath) {
    excel::FileBackendOptions options;
    options.workbook = Path("absent.xlsx");
    auto created = excel::FileBackend::Create(options);
    ASSERT_FALSE(created);
    EXPECT_NE(created.GetStatus().Message().find(Path("absent.xlsx")), std::string::npos);
}

TEST_F(BridgeTest, BadSelectionOptionIsRefused) {
    excel::FileBackendOptions options;
    options.workbook = MakeBook("a.xlsx");
    options.selection = "here";
    EXPECT_FALSE(excel::FileBackend::Create(options));
    options.selection.clear();
    options.activeCell = "B";
    EXPECT_FALSE(excel::FileBackend::Create(options));
}

TEST_F(BridgeTest, SelectionMadeByTheCommandIsSavedWithTheChangedWorkbook) {
    std::string path = MakeBook("a.xlsx");
    Attach(path);
    ExcelUtils::Worksheet->GetRange("C7:D9")->Select();
    ASSERT_TRUE(ExcelUtils::SetCellValue(1, 1, "x"));
    ASSERT_TRUE(backend_->SaveChanged().IsOk());
    auto file = xl::Workbook::Open(path);
    ASSERT_TRUE(file);
    EXPECT_EQ(file.Value()->Sheet(0)->Selection(), "C7:D9");
    EXPECT_EQ(file.Value()->Sheet(0)->ActiveCell(), "C7");
}
