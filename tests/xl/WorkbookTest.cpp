#include "xl/Workbook.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <sys/resource.h>

#include <cerrno>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>

#include "base/AtomicFile.h"
#include "base/File.h"
#include "base/Memory.h"
#include "xl/Package.h"
#include "xl/SharedStrings.h"
#include "xl/Zip.h"

namespace {

std::string Corpus(const std::string& name) { return std::string(VELMAR_CORPUS) + "/xlsx/" + name; }

std::string TempPath(const std::string& name) {
    auto dir = std::filesystem::temp_directory_path() / "velmar_xl_test";
    std::filesystem::create_directories(dir);
    return (dir / name).string();
}

std::unique_ptr<xl::Workbook> Reopen(xl::Workbook& book) {
    auto image = book.SaveImage();
    EXPECT_TRUE(image.IsOk()) << image.GetStatus().Message();
    auto again = xl::Workbook::OpenImage(*image, "saved");
    EXPECT_TRUE(again.IsOk()) << again.GetStatus().Message();
    return std::move(*again);
}

TEST(Workbook, NewWorkbookHasSheet1AndSavesAndReopens) {
    auto book = xl::Workbook::Create();
    ASSERT_EQ(book->SheetCount(), 1);
    EXPECT_EQ(book->Sheet(0)->Name(), "Sheet1");
    book->Sheet(0)->SetString(1, 1, "Tag");
    book->Sheet(0)->SetNumber(2, 1, 12.5);
    auto again = Reopen(*book);
    EXPECT_EQ(again->Sheet(0)->Text(1, 1), "Tag");
    EXPECT_EQ(again->Sheet(0)->Text(2, 1), "12.5");
    EXPECT_EQ(again->Sheet(0)->Value(2, 1).type, xl::CellType::Number);
}

// A workbook of two sheets at `path`, saved by us.
void WriteTwoSheets(const std::string& path) {
    auto book = xl::Workbook::Create();
    book->Sheet(0)->SetString(1, 1, "Tag");
    ASSERT_TRUE(book->AddSheet("Second").IsOk());
    book->Sheet(1)->SetString(1, 1, "kept");
    ASSERT_TRUE(book->Save(path).IsOk());
}

TEST(Workbook, AMappedWorkbookIsSavedInPlaceAndSavedAgain) {
    const std::string path = TempPath("mapped-in-place.xlsx");
    WriteTwoSheets(path);
    auto book = xl::Workbook::OpenMapped(path);
    ASSERT_TRUE(book.IsOk()) << book.GetStatus().Message();
    ASSERT_TRUE((*book)->Sheet(0)->SetString(2, 1, "first").IsOk());
    ASSERT_TRUE((*book)->Save(path).IsOk());
    ASSERT_TRUE((*book)->Sheet(0)->SetString(3, 1, "second").IsOk());
    ASSERT_TRUE((*book)->Save(path).IsOk());
    auto again = xl::Workbook::Open(path);
    ASSERT_TRUE(again.IsOk()) << again.GetStatus().Message();
    EXPECT_EQ((*again)->Sheet(0)->Text(2, 1), "first");
    EXPECT_EQ((*again)->Sheet(0)->Text(3, 1), "second");
    EXPECT_EQ((*again)->Sheet(1)->Text(1, 1), "kept");
}

TEST(Workbook, AMappedWorkbookThatAnotherProgramChangedMeanwhileIsNotSaved) {
    const std::string path = TempPath("mapped-changed.xlsx");
    const std::string target = TempPath("mapped-changed-copy.xlsx");
    std::filesystem::remove(target);
    WriteTwoSheets(path);
    auto book = xl::Workbook::OpenMapped(path);
    ASSERT_TRUE(book.IsOk()) << book.GetStatus().Message();
    ASSERT_TRUE((*book)->Sheet(0)->SetString(2, 1, "edit").IsOk());
    // Another program writes to the file where it is: its unchanged parts can't be copied now.
    std::ofstream(path, std::ios::binary | std::ios::app) << "appended";
    const base::Status saved = (*book)->Save(target);
    ASSERT_FALSE(saved.IsOk());
    EXPECT_NE(saved.Message().find(path + ": the file changed on disk while it was open"),
              std::string::npos)
        << saved.Message();
    EXPECT_FALSE(std::filesystem::exists(target));
    EXPECT_FALSE((*book)->SaveImage().IsOk());
    // A sheet not read yet is not read from it either.
    const base::Status read = (*book)->Sheet(1)->Load();
    ASSERT_FALSE(read.IsOk());
    EXPECT_NE(read.Message().find("changed on disk"), std::string::npos) << read.Message();
}

// A workbook of two sheets and a note, its parts written (SaveImage), and that image.
std::unique_ptr<xl::Workbook> WrittenBook(std::string& image) {
    auto book = xl::Workbook::Create();
    book->Sheet(0)->SetString(1, 1, "Tag");
    book->Sheet(0)->SetNote(1, 1, "plan.dxf<1F_TAG>", "me");
    EXPECT_TRUE(book->AddSheet("Second").IsOk());
    book->Sheet(1)->SetString(1, 1, "kept");
    auto saved = book->SaveImage();
    EXPECT_TRUE(saved.IsOk()) << saved.GetStatus().Message();
    image = saved ? *saved : std::string();
    return book;
}

std::string FileBytes(const std::string& path) {
    auto bytes = base::ReadFile(path);
    EXPECT_TRUE(bytes.IsOk()) << bytes.GetStatus().Message();
    return bytes ? *bytes : std::string();
}

TEST(Package, AnArchiveWrittenToItsFileAsItIsMadeIsTheOneBuiltInMemoryAndIsReadFromThere) {
    const std::string path = TempPath("streamed.xlsx");
    std::filesystem::remove(path);
    std::string image;
    auto book = WrittenBook(image);
    xl::Package& package = book->GetPackage();
    ASSERT_TRUE(package.SaveToFile(path, {}).IsOk());
    EXPECT_EQ(FileBytes(path), image);
    // The parts now come from the file: a sheet not read yet reads, and a later save keeps them.
    book->UnloadUnchangedSheets();
    EXPECT_EQ(book->Sheet(1)->Text(1, 1), "kept");
    ASSERT_TRUE(book->Sheet(0)->SetString(2, 1, "later").IsOk());
    const std::string second = TempPath("streamed-again.xlsx");
    ASSERT_TRUE(book->Save(second).IsOk());
    auto again = xl::Workbook::Open(second);
    ASSERT_TRUE(again.IsOk()) << again.GetStatus().Message();
    EXPECT_EQ((*again)->Sheet(0)->Text(1, 1), "Tag");
    EXPECT_EQ((*again)->Sheet(0)->Text(2, 1), "later");
    EXPECT_EQ((*again)->Sheet(1)->Text(1, 1), "kept");
    ASSERT_EQ((*again)->Sheet(0)->Notes().size(), 1u);
    EXPECT_EQ((*again)->Sheet(0)->Notes()[0].text, "plan.dxf<1F_TAG>");
}

TEST(Package, AFailedWriteToTheFileLeavesTheFileAndThePackageAsTheyWere) {
    const std::string path = TempPath("streamed-failed.xlsx");
    {
        std::ofstream(path, std::ios::binary) << "before";
    }
    std::string image;
    auto book = WrittenBook(image);
    xl::Package& package = book->GetPackage();
    base::InjectAtomicFileFailure(base::AtomicFileStep::Write, ENOSPC);
    const base::Status failed = package.SaveToFile(path, {});
    base::InjectAtomicFileFailure(base::AtomicFileStep::Write, 0);
    EXPECT_FALSE(failed.IsOk());
    EXPECT_EQ(FileBytes(path), "before");
    // Nothing was let go: the next save writes the whole archive.
    ASSERT_TRUE(package.SaveToFile(path, {}).IsOk());
    EXPECT_EQ(FileBytes(path), image);
}

TEST(Workbook, AnUnchangedSheetUnloadsAndReadsItsCellsAndNotesAgain) {
    auto book = xl::Workbook::Create();
    book->Sheet(0)->SetString(1, 1, "Tag");
    book->Sheet(0)->SetNote(1, 1, "plan.dxf<1F_TAG>", "me");
    auto again = Reopen(*book);
    xl::Worksheet* sheet = again->Sheet(0);
    ASSERT_EQ(sheet->NoteCells().size(), 1u);
    EXPECT_EQ(again->UnloadUnchangedSheets(), 1);
    EXPECT_EQ(sheet->Text(1, 1), "Tag");
    ASSERT_NE(sheet->NoteAt(1, 1), nullptr);
    EXPECT_EQ(sheet->NoteAt(1, 1)->text, "plan.dxf<1F_TAG>");
    EXPECT_EQ(sheet->NoteCells(), (std::vector<std::pair<int, int>>{{1, 1}}));
}

TEST(Workbook, ASharedNoteTextStaysReadableAfterItsSheetAndWorkbookAreGone) {
    auto book = xl::Workbook::Create();
    book->Sheet(0)->SetNote(1, 1, "plan.dxf<1F_TAG>", "me");
    book->Sheet(0)->SetNote(2, 1, "", "me");
    auto again = Reopen(*book);
    xl::Worksheet* sheet = again->Sheet(0);
    std::optional<base::SharedCounted> text = sheet->SharedNoteText(1, 1);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->View(), "plan.dxf<1F_TAG>");
    ASSERT_TRUE(sheet->SharedNoteText(2, 1));
    EXPECT_EQ(sheet->SharedNoteText(2, 1)->View(), "");
    EXPECT_FALSE(sheet->SharedNoteText(3, 1));
    EXPECT_EQ(again->UnloadUnchangedSheets(), 1);
    again.reset();
    EXPECT_EQ(text->View(), "plan.dxf<1F_TAG>");
}

TEST(Workbook, NotesAskedForFirstReadTheSheetWithThem) {
    auto book = xl::Workbook::Create();
    book->Sheet(0)->SetString(1, 1, "Tag");
    book->Sheet(0)->SetNote(1, 1, "plan.dxf<1F_TAG>", "me");
    auto again = Reopen(*book);
    xl::Worksheet* sheet = again->Sheet(0);
    ASSERT_TRUE(sheet->LoadNotes().IsOk());
    EXPECT_TRUE(sheet->Load().IsOk());
    EXPECT_EQ(sheet->Text(1, 1), "Tag");
    ASSERT_TRUE(sheet->NoteText(1, 1));
    EXPECT_EQ(*sheet->NoteText(1, 1), "plan.dxf<1F_TAG>");
}

TEST(Workbook, NoteTextFindsNotesInAnyOrderAndNoneWhereACellHasNone) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* sheet = book->Sheet(0);
    sheet->SetNote(1, 1, "a");
    sheet->SetNote(1, 3, "b");
    sheet->SetNote(2, 2, "c");
    auto again = Reopen(*book);
    sheet = again->Sheet(0);
    ASSERT_TRUE(sheet->NoteText(1, 1));
    EXPECT_EQ(*sheet->NoteText(1, 1), "a");
    EXPECT_EQ(*sheet->NoteText(1, 3), "b");
    EXPECT_EQ(*sheet->NoteText(2, 2), "c");
    EXPECT_EQ(*sheet->NoteText(1, 1), "a");  // back to the first
    EXPECT_FALSE(sheet->NoteText(1, 2));
    EXPECT_FALSE(sheet->NoteText(3, 1));
    // A note added before the one last found moves the others; they are still found.
    EXPECT_EQ(*sheet->NoteText(1, 3), "b");
    ASSERT_TRUE(sheet->SetNote(1, 2, "new").IsOk());
    EXPECT_EQ(*sheet->NoteText(2, 2), "c");
    EXPECT_EQ(*sheet->NoteText(1, 2), "new");
    EXPECT_EQ(*sheet->NoteText(1, 3), "b");
}

TEST(Workbook, ColumnsAddedAfterCellsWereWrittenAreSeen) {
    // A written cell looked for the sheet's columns when there were none yet.
    auto book = xl::Workbook::Create();
    xl::Worksheet* sheet = book->Sheet(0);
    ASSERT_TRUE(sheet->SetString(1, 1, "Tag").IsOk());
    const double before = sheet->ColumnWidth(2);
    sheet->SetColumnWidth(2, 20);
    EXPECT_NE(sheet->ColumnWidth(2), before);
    EXPECT_NEAR(sheet->ColumnWidth(2), 20, 0.5);
    ASSERT_TRUE(sheet->SetString(1, 2, "more").IsOk());
    auto again = Reopen(*book);
    EXPECT_NEAR(again->Sheet(0)->ColumnWidth(2), 20, 0.5);
    EXPECT_EQ(again->Sheet(0)->Text(1, 2), "more");
}

TEST(Workbook, AChangedSheetIsNotUnloaded) {
    auto again = [] {
        auto book = xl::Workbook::Create();
        book->Sheet(0)->SetString(1, 1, "Tag");
        return Reopen(*book);
    }();
    xl::Worksheet* sheet = again->Sheet(0);
    sheet->SetString(2, 1, "new");
    EXPECT_FALSE(sheet->Unload());
    EXPECT_EQ(again->UnloadUnchangedSheets(), 0);
    EXPECT_EQ(sheet->Text(2, 1), "new");
}

// A saved workbook of three sheets, each with a value, the first active with its tab selected.
std::unique_ptr<xl::Workbook> ThreeSheets() {
    auto book = xl::Workbook::Create();
    EXPECT_TRUE(book->AddSheet("B", 1));
    EXPECT_TRUE(book->AddSheet("C", 2));
    for (int i = 0; i < 3; ++i) book->Sheet(i)->SetNumber(1, 1, i);
    book->Activate(1);
    book->Activate(0);
    return Reopen(*book);
}

TEST(Workbook, GoingThroughTheSheetsAndBackToTheFirstChangesNoSheetAndEachUnloads) {
    auto book = ThreeSheets();
    for (int i : {1, 2, 0}) book->Activate(i);
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(book->Sheet(i)->IsChanged()) << "sheet " << i;
    EXPECT_EQ(book->UnloadUnchangedSheets(), 3);
    // Read again, each is as it was; going on through them doesn't change that.
    book->Activate(2);
    book->Activate(0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(book->Sheet(i)->Text(1, 1), std::to_string(i));
    EXPECT_EQ(book->UnloadUnchangedSheets(), 3);
}

TEST(Workbook, ASheetLeftActiveIsAChangeOfItAndOfTheOneBeforeAndItIsSaved) {
    auto book = ThreeSheets();
    book->Activate(1);
    book->Activate(2);
    EXPECT_TRUE(book->Sheet(0)->IsChanged());   // no longer selected
    EXPECT_FALSE(book->Sheet(1)->IsChanged());  // selected and deselected again
    EXPECT_TRUE(book->Sheet(2)->IsChanged());
    EXPECT_EQ(book->UnloadUnchangedSheets(), 1);
    auto again = Reopen(*book);
    EXPECT_EQ(again->ActiveSheetIndex(), 2);
    // Saved as left: there and back again changes none.
    again->Activate(0);
    again->Activate(2);
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(again->Sheet(i)->IsChanged()) << "sheet " << i;
    for (int i = 0; i < 3; ++i) EXPECT_EQ(again->Sheet(i)->Text(1, 1), std::to_string(i));
}

TEST(Workbook, SharedStringsAreDeduplicated) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    s->SetString(1, 1, "same");
    s->SetString(2, 1, "same");
    s->SetString(3, 1, "other");
    auto image = book->SaveImage();
    auto pkg = xl::Package::Open(*image, "x");
    auto sst = pkg->Read("xl/sharedStrings.xml");
    ASSERT_TRUE(sst.IsOk());
    EXPECT_NE(sst->find("uniqueCount=\"2\""), std::string::npos) << *sst;
}

TEST(Workbook, AStringTableIsReadWithoutATreeOfItsItems) {
    // 400,000 short items, 10.8 MB of text: as a tree, its nodes alone took over 60 MB.
    std::string xml = "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">";
    for (int i = 0; i < 400000; ++i) xml += "<si><t>item " + std::to_string(100000 + i) + "</t></si>";
    xml += "<si><r><rPr><b/></rPr><t>ri</t></r><r><t>ch</t></r><rPh><t>phonetic</t></rPh></si></sst>";
    struct rusage before {};
    getrusage(RUSAGE_SELF, &before);
    xl::SharedStrings strings;
    ASSERT_TRUE(strings.Load(std::move(xml), "book.xlsx: xl/sharedStrings.xml"));
    struct rusage after {};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 40 * 1024);
    ASSERT_EQ(strings.Size(), 400001u);
    EXPECT_EQ(strings.Text(0), "item 100000");
    EXPECT_EQ(strings.Text(399999), "item 499999");
    EXPECT_EQ(strings.Text(400000), "rich");
    EXPECT_EQ(strings.Add("item 100007"), 7u);
    EXPECT_EQ(strings.Add("rich"), 400001u);  // a rich item stands for no plain string
}

TEST(Workbook, AddSheetGivesDefaultNamesAndPositions) {
    auto book = xl::Workbook::Create();
    auto s2 = book->AddSheet();
    ASSERT_TRUE(s2.IsOk());
    EXPECT_EQ((*s2)->Name(), "Sheet2");
    auto first = book->AddSheet("Front", 0);
    ASSERT_TRUE(first.IsOk());
    EXPECT_EQ(book->Sheet(0)->Name(), "Front");
    EXPECT_FALSE(book->AddSheet("sheet1").IsOk());
    auto again = Reopen(*book);
    ASSERT_EQ(again->SheetCount(), 3);
    EXPECT_EQ(again->Sheet(0)->Name(), "Front");
    EXPECT_EQ(again->Sheet(2)->Name(), "Sheet2");
}

TEST(Workbook, SheetNameRulesAreChecked) {
    EXPECT_TRUE(xl::Workbook::CheckSheetName("Data 2024").IsOk());
    EXPECT_FALSE(xl::Workbook::CheckSheetName("").IsOk());
    EXPECT_FALSE(xl::Workbook::CheckSheetName("a/b").IsOk());
    EXPECT_FALSE(xl::Workbook::CheckSheetName("a[1]").IsOk());
    EXPECT_FALSE(xl::Workbook::CheckSheetName("'quoted").IsOk());
    EXPECT_FALSE(xl::Workbook::CheckSheetName("history").IsOk());
    EXPECT_FALSE(xl::Workbook::CheckSheetName(std::string(32, 'x')).IsOk());
    EXPECT_TRUE(xl::Workbook::CheckSheetName(std::string(31, 'x')).IsOk());
}

TEST(Workbook, RenameAndActivateSurviveSave) {
    auto book = xl::Workbook::Create();
    (void)book->AddSheet();
    ASSERT_TRUE(book->RenameSheet(*book->Sheet(1), "Blocks").IsOk());
    EXPECT_FALSE(book->RenameSheet(*book->Sheet(1), "SHEET1").IsOk());
    book->Activate(1);
    auto again = Reopen(*book);
    EXPECT_EQ(again->Sheet(1)->Name(), "Blocks");
    EXPECT_EQ(again->ActiveSheetIndex(), 1);
}

TEST(Workbook, HiddingTheLastVisibleSheetIsRefused) {
    auto book = xl::Workbook::Create();
    EXPECT_FALSE(book->Sheet(0)->SetState(xl::SheetState::Hidden).IsOk());
    (void)book->AddSheet();
    EXPECT_TRUE(book->Sheet(0)->SetState(xl::SheetState::VeryHidden).IsOk());
    auto again = Reopen(*book);
    EXPECT_EQ(again->Sheet(0)->State(), xl::SheetState::VeryHidden);
}

TEST(Workbook, StrictSheetStatesAreRead) {
    auto book = xl::Workbook::Open(Corpus("excel2013-strict-sheets-hidden-veryhidden.xlsx"));
    ASSERT_TRUE(book.IsOk()) << book.GetStatus().Message();
    int hidden = 0, veryHidden = 0;
    for (int i = 0; i < (*book)->SheetCount(); ++i) {
        hidden += (*book)->Sheet(i)->State() == xl::SheetState::Hidden;
        veryHidden += (*book)->Sheet(i)->State() == xl::SheetState::VeryHidden;
    }
    EXPECT_EQ(hidden, 1);
    EXPECT_EQ(veryHidden, 1);
}

TEST(Workbook, WritingKeepsTheCellStyle) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    xl::StyleChange bold;
    bold.bold = true;
    s->ApplyFormat({1, 1, 1, 1}, bold);
    s->SetString(1, 1, "x");
    auto again = Reopen(*book);
    EXPECT_TRUE(again->Sheet(0)->Format(1, 1).bold);
    EXPECT_EQ(again->Sheet(0)->Text(1, 1), "x");
}

TEST(Workbook, StylesAreDeduplicated) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    xl::StyleChange change;
    change.italic = true;
    change.wrap = true;
    change.horizontal = xl::HorizontalAlignment::Center;
    change.interiorColorIndex = 6;
    s->ApplyFormat({1, 1, 3, 3}, change);
    s->ApplyFormat({5, 5, 5, 5}, change);
    auto again = Reopen(*book);
    xl::CellFormat f = again->Sheet(0)->Format(5, 5);
    EXPECT_TRUE(f.italic);
    EXPECT_TRUE(f.wrap);
    EXPECT_EQ(f.horizontal, xl::HorizontalAlignment::Center);
    EXPECT_EQ(f.interiorColorIndex, 6);
    auto pkg = xl::Package::Open(*again->SaveImage(), "x");
    std::string styles = *pkg->Read("xl/styles.xml");
    EXPECT_NE(styles.find("<cellXfs count=\"2\">"), std::string::npos) << styles;
}

TEST(Workbook, NotesAreAddedReadAndDeleted) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    s->SetNote(2, 3, "key:1A\nline 2", "velmar");
    s->SetNote(1, 1, "first");
    auto again = Reopen(*book);
    std::vector<xl::Note> notes = again->Sheet(0)->Notes();
    ASSERT_EQ(notes.size(), 2u);
    EXPECT_EQ(notes[0].row, 1);
    EXPECT_EQ(notes[1].text, "key:1A\nline 2");
    EXPECT_EQ(notes[1].author, "velmar");
    EXPECT_TRUE(again->Sheet(0)->DeleteNote(1, 1));
    EXPECT_FALSE(again->Sheet(0)->DeleteNote(1, 1));
    auto third = Reopen(*again);
    EXPECT_EQ(third->Sheet(0)->Notes().size(), 1u);
    auto pkg = xl::Package::Open(*third->SaveImage(), "x");
    std::string vml = *pkg->Read("xl/drawings/vmlDrawing1.vml");
    EXPECT_NE(vml.find("<x:Row>1</x:Row><x:Column>2</x:Column>"), std::string::npos);
}

TEST(Workbook, NoteEditKeepsOtherVmlShapes) {
    auto book = xl::Workbook::Open(Corpus("excel2013-note-and-button-shared-vml.xlsx"));
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = (*book)->Sheet(0);
    ASSERT_EQ(s->Notes().size(), 1u);
    s->SetNote(10, 10, "added");
    auto again = Reopen(**book);
    EXPECT_EQ(again->Sheet(0)->Notes().size(), 2u);
    std::string vmlPart;
    for (const std::string& p : again->GetPackage().PartNames())
        if (p.find(".vml") != std::string::npos) vmlPart = p;
    std::string vml = *again->GetPackage().Read(vmlPart);
    EXPECT_NE(vml.find("ObjectType=\"Button\""), std::string::npos);
}

TEST(Workbook, ThreadedCommentsAreReadThroughTheirNotesAndKept) {
    auto book = xl::Workbook::Open(Corpus("excel2016mac-threaded-plus-note.xlsx"));
    ASSERT_TRUE(book.IsOk());
    EXPECT_EQ((*book)->Sheet(0)->Notes().size(), 2u);
    (*book)->Sheet(0)->SetString(20, 1, "edit");
    (*book)->Sheet(0)->SetNote(20, 2, "new note");
    auto again = Reopen(**book);
    bool threaded = false;
    for (const std::string& p : again->GetPackage().PartNames())
        threaded = threaded || p.find("threadedComment") != std::string::npos;
    EXPECT_TRUE(threaded);
    EXPECT_EQ(again->Sheet(0)->Notes().size(), 3u);
}

TEST(Workbook, MergesAndMergeArea) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    ASSERT_TRUE(s->Merge({1, 1, 2, 3}).IsOk());
    EXPECT_FALSE(s->Merge({2, 2, 4, 4}).IsOk());
    auto again = Reopen(*book);
    EXPECT_EQ(again->Sheet(0)->MergeArea(2, 2), (xl::CellRange{1, 1, 2, 3}));
    EXPECT_EQ(again->Sheet(0)->MergeArea(5, 5), (xl::CellRange{5, 5, 5, 5}));
}

TEST(Workbook, ColumnWidthsCountDigitsOfTheMeasuredFont) {
    auto book = xl::Workbook::Create();
    EXPECT_EQ(book->DefaultFontName(), "Calibri");
    EXPECT_DOUBLE_EQ(book->DefaultFontSize(), 11);
    EXPECT_DOUBLE_EQ(book->DigitWidth(), 7);
    xl::Worksheet* s = book->Sheet(0);
    s->SetColumnWidth(2, 9.14);  // stored as 9.8515625 digits of 7 pixels with the padding
    ASSERT_TRUE(book->SetDigitWidth(8));
    // The default column: 8 digits of 8 pixels and 5 of padding, 69 pixels, rounded up to 72
    // (whole 8 pixels); 67 pixels without the padding are 8.375 digits, shown as 8.38.
    EXPECT_DOUBLE_EQ(s->ColumnWidth(1), 8.38);
    EXPECT_DOUBLE_EQ(s->ColumnWidthPoints(1), 54);
    // The stored 9.8515625 digits span 78.81 pixels of 8; without the padding 9.23 digits,
    // whose 73.84 pixels and the padding round to 79 (59.25 points).
    EXPECT_DOUBLE_EQ(s->ColumnWidth(2), 9.23);
    EXPECT_DOUBLE_EQ(s->ColumnWidthPoints(2), 59.25);
    EXPECT_DOUBLE_EQ(s->ColumnLeft(3), 54 + 59.25);
    // Setting a width stores it in digits of the measured font.
    s->SetColumnWidth(4, 20);
    EXPECT_DOUBLE_EQ(s->ColumnWidth(4), 20);
    EXPECT_DOUBLE_EQ(s->ColumnWidthPoints(4), (20 * 8 + 5) * 0.75);
}

TEST(Workbook, DefaultColumnIsItsBaseDigitsAndPaddingInWholeEightPixels) {
    auto made = xl::Workbook::Create()->SaveImage();
    ASSERT_TRUE(made);
    auto book = xl::Workbook::OpenImage(*made, "made");
    ASSERT_TRUE(book);
    xl::Package& package = book.Value()->GetPackage();
    std::string sheet = package.Read("xl/worksheets/sheet1.xml").Value();
    std::size_t at = sheet.find("<sheetFormatPr ");
    ASSERT_NE(at, std::string::npos) << sheet;
    sheet.insert(at + 15, R"(baseColWidth="10" )");
    package.Write("xl/worksheets/sheet1.xml", sheet);
    xl::Worksheet* s = book.Value()->Sheet(0);
    // 10 digits of 7 pixels and 5 of padding are 75 pixels, rounded up to 80: 10.71 digits.
    EXPECT_DOUBLE_EQ(s->ColumnWidth(1), 10.71);
    EXPECT_DOUBLE_EQ(s->ColumnWidthPoints(1), 60);
    // Of 9 pixels: 95, rounded up to 96 (72 points).
    ASSERT_TRUE(book.Value()->SetDigitWidth(9));
    EXPECT_DOUBLE_EQ(s->ColumnWidthPoints(1), 72);
}

TEST(Workbook, DigitWidthBelowAPixelIsRefused) {
    auto book = xl::Workbook::Create();
    base::Status refused = book->SetDigitWidth(0);
    ASSERT_FALSE(refused);
    EXPECT_NE(refused.Message().find("digit width"), std::string::npos) << refused.Message();
    EXPECT_FALSE(book->SetDigitWidth(std::nan("")));
    EXPECT_DOUBLE_EQ(book->DigitWidth(), 7);
}

TEST(Workbook, HyperlinksAreAddedCountedAndDeleted) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    s->AddHyperlink(1, 1, "https://example.com/a");
    s->AddHyperlink(2, 1, "C:\\drawings\\plan.dwg");
    auto again = Reopen(*book);
    auto links = again->Sheet(0)->Hyperlinks();
    ASSERT_EQ(links.size(), 2u);
    EXPECT_EQ(links[1].target, "file:///C:/drawings/plan.dwg");
    EXPECT_EQ(again->Sheet(0)->DeleteHyperlinks({2, 1, 5, 5}), 1);
    EXPECT_EQ(Reopen(*again)->Sheet(0)->Hyperlinks().size(), 1u);
}

TEST(Workbook, ColumnWidthsRowHeightsAndOffsets) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    EXPECT_DOUBLE_EQ(s->ColumnWidth(1), 8.43);
    EXPECT_DOUBLE_EQ(s->ColumnWidthPoints(1), 48);
    EXPECT_DOUBLE_EQ(s->ColumnLeft(3), 96);
    s->SetColumnWidth(2, 20);
    s->SetRowHeight(3, 30);
    s->SetRowHidden(4, true);
    auto again = Reopen(*book);
    xl::Worksheet* t = again->Sheet(0);
    EXPECT_NEAR(t->ColumnWidth(2), 20, 0.01);
    EXPECT_DOUBLE_EQ(t->RowHeight(3), 30);
    EXPECT_TRUE(t->IsRowHidden(4));
    EXPECT_DOUBLE_EQ(t->RowTop(5), 15 + 15 + 30);
}

TEST(Workbook, AutoFitWidensForLongText) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    s->SetString(1, 1, "A rather long text for one column");
    s->SetString(1, 2, "x");
    s->AutoFitColumns(1, 3);
    EXPECT_GT(s->ColumnWidth(1), 25);
    EXPECT_LT(s->ColumnWidth(2), 3);
    EXPECT_DOUBLE_EQ(s->ColumnWidth(3), 8.43);
}

TEST(Workbook, AutoFitMeasuresRepeatedLinesFormatsAndFonts) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    for (int r = 1; r <= 5; ++r) s->SetString(r, 1, "abc");
    s->SetString(6, 1, "abcdefgh");
    s->SetString(1, 2, "abcdefgh");
    s->SetString(1, 3, "ab\nabcdefgh\nabc");
    s->SetString(1, 4, "abcdefgh");
    s->SetString(1, 5, "abcdefgh");
    s->SetNumber(1, 6, 123456789);
    s->SetString(1, 7, "123456789");
    xl::StyleChange units;
    units.numberFormat = "@\" units long\"";
    s->ApplyFormat({1, 4, 1, 4}, units);
    xl::StyleChange bold;
    bold.bold = true;
    s->ApplyFormat({1, 5, 1, 5}, bold);
    s->AutoFitColumns(1, 7);
    EXPECT_DOUBLE_EQ(s->ColumnWidth(1), s->ColumnWidth(2));
    EXPECT_DOUBLE_EQ(s->ColumnWidth(3), s->ColumnWidth(2));
    EXPECT_GT(s->ColumnWidth(4), s->ColumnWidth(2) + 5);
    EXPECT_GT(s->ColumnWidth(5), s->ColumnWidth(2));
    EXPECT_DOUBLE_EQ(s->ColumnWidth(6), s->ColumnWidth(7));
}

TEST(Workbook, UsedRangeAndLastFilledCells) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    EXPECT_EQ(s->UsedRange(), (xl::CellRange{1, 1, 1, 1}));
    EXPECT_EQ(s->LastFilledRow(), 0);
    s->SetString(3, 2, "a");
    s->SetNumber(5, 4, 1);
    xl::StyleChange bold;
    bold.bold = true;
    s->ApplyFormat({8, 6, 8, 6}, bold);
    EXPECT_EQ(s->UsedRange(), (xl::CellRange{3, 2, 8, 6}));
    EXPECT_EQ(s->LastFilledRow(), 5);
    EXPECT_EQ(s->LastFilledColumn(), 4);
}

TEST(Workbook, TheUsedRangeAskedOnceFollowsEveryLaterChangeOfCellsAndMerges) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    s->SetString(2, 2, "a");
    EXPECT_EQ(s->UsedRange(), (xl::CellRange{2, 2, 2, 2}));
    s->SetNumber(4, 5, 1);
    EXPECT_EQ(s->UsedRange(), (xl::CellRange{2, 2, 4, 5}));
    s->SetColumnWidth(9, 20);  // a column's width is not a used cell
    EXPECT_EQ(s->UsedRange(), (xl::CellRange{2, 2, 4, 5}));
    ASSERT_TRUE(s->Merge({6, 1, 7, 3}));
    EXPECT_EQ(s->UsedRange(), (xl::CellRange{2, 1, 7, 5}));
    s->DeleteRows(6, 2);
    EXPECT_EQ(s->UsedRange(), (xl::CellRange{2, 2, 4, 5}));
    s->InsertRows(1, 3);
    EXPECT_EQ(s->UsedRange(), (xl::CellRange{5, 2, 7, 5}));
    ASSERT_TRUE(s->ClearValue(7, 5));
    EXPECT_EQ(s->UsedRange(), (xl::CellRange{5, 2, 5, 2}));
    ASSERT_TRUE(s->SetString(5, 2, ""));
    EXPECT_EQ(s->UsedRange(), (xl::CellRange{1, 1, 1, 1}));
}

TEST(Workbook, ReadsARectangleInOneCall) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    s->SetString(1, 1, "a");
    s->SetNumber(2, 2, 3);
    auto texts = s->Texts({1, 1, 2, 3});
    ASSERT_EQ(texts.size(), 2u);
    ASSERT_EQ(texts[0].size(), 3u);
    EXPECT_EQ(texts[0][0], "a");
    EXPECT_EQ(texts[1][1], "3");
    EXPECT_EQ(texts[1][2], "");
}

TEST(Workbook, SelectionAndActiveCellAreSaved) {
    auto book = xl::Workbook::Create();
    book->Sheet(0)->Select({2, 2, 4, 3}, 3, 2);
    auto again = Reopen(*book);
    EXPECT_EQ(again->Sheet(0)->Selection(), "B2:C4");
    EXPECT_EQ(again->Sheet(0)->ActiveCell(), "B3");
}

TEST(Workbook, DocumentPropertiesAndRecalcFlag) {
    auto book = xl::Workbook::Open(Corpus("excel2013-formulas-bools-errors-merges.xlsx"));
    ASSERT_TRUE(book.IsOk());
    EXPECT_EQ((*book)->DocumentProperty("Application Name"), "Microsoft Excel");
    EXPECT_FALSE((*book)->DocumentProperty("Last Save Time").empty());
    (*book)->SetRecalculateOnOpen(true);
    EXPECT_TRUE((*book)->SetDocumentProperty("Title", "Schedule"));
    auto again = Reopen(**book);
    EXPECT_EQ(again->DocumentProperty("Title"), "Schedule");
    std::string wb = *again->GetPackage().Read("xl/workbook.xml");
    EXPECT_NE(wb.find("fullCalcOnLoad=\"1\""), std::string::npos);
}

TEST(Workbook, SaveRefusesWhenALockFileIsBeside) {
    auto book = xl::Workbook::Create();
    std::string path = TempPath("locked.xlsx");
    std::string lock = TempPath(".~lock.locked.xlsx#");
    std::ofstream(lock) << "user";
    base::Status st = book->Save(path);
    EXPECT_FALSE(st.IsOk());
    EXPECT_NE(st.Message().find("open in another program"), std::string::npos);
    std::filesystem::remove(lock);
    std::ofstream(TempPath("~$locked.xlsx")) << "user";
    EXPECT_FALSE(book->Save(path).IsOk());
    std::filesystem::remove(TempPath("~$locked.xlsx"));
    EXPECT_TRUE(book->Save(path).IsOk());
    EXPECT_TRUE(xl::Workbook::Open(path).IsOk());
}

TEST(Workbook, SaveKeepsABackupWhenAsked) {
    auto book = xl::Workbook::Create();
    std::string path = TempPath("backup.xlsx");
    ASSERT_TRUE(book->Save(path).IsOk());
    book->Sheet(0)->SetString(1, 1, "second");
    ASSERT_TRUE(book->Save(path, {TempPath("backup.bak")}).IsOk());
    auto old = xl::Workbook::Open(TempPath("backup.bak"));
    ASSERT_TRUE(old.IsOk());
    EXPECT_EQ((*old)->Sheet(0)->Text(1, 1), "");
}

TEST(Workbook, CellTypesAreRead) {
    auto book = xl::Workbook::Open(Corpus("libreoffice73-formulas-bools-errors.xlsx"));
    ASSERT_TRUE(book.IsOk());
    bool sawBool = false, sawError = false, sawFormula = false;
    xl::Worksheet* s = (*book)->Sheet(0);
    xl::CellRange used = s->UsedRange();
    for (auto& row : s->Values(used))
        for (auto& v : row) {
            sawBool = sawBool || v.type == xl::CellType::Boolean;
            sawError = sawError || v.type == xl::CellType::Error;
            sawFormula = sawFormula || !v.formula.empty();
        }
    EXPECT_TRUE(sawBool);
    EXPECT_TRUE(sawError);
    EXPECT_TRUE(sawFormula);
}

TEST(Workbook, InlineStringsAndRowsWithoutReferencesAreRead) {
    auto book = xl::Workbook::Open(Corpus("bad-no-row-cell-refs-inline-strings.xlsx"));
    ASSERT_TRUE(book.IsOk()) << book.GetStatus().Message();
    xl::Worksheet* s = (*book)->Sheet(0);
    EXPECT_GT(s->LastFilledRow(), 10);
    EXPECT_FALSE(s->Text(1, 1).empty());
}

TEST(Workbook, LowercaseCellReferencesAreRead) {
    auto book = xl::Workbook::Open(Corpus("bad-lowercase-cell-refs.xlsx"));
    ASSERT_TRUE(book.IsOk()) << book.GetStatus().Message();
    EXPECT_FALSE((*book)->Sheet(0)->Text(1, 1).empty());
}

}  // namespace

namespace {

TEST(Workbook, DeletedRowsMoveEverythingBelowUp) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    (void)book->AddSheet("Other");
    s->SetString(2, 1, "gone");
    s->SetString(3, 1, "stays");
    s->SetNote(3, 1, "key");
    s->SetNote(2, 2, "deleted note");
    ASSERT_TRUE(s->Merge({3, 2, 4, 3}).IsOk());
    s->AddHyperlink(3, 4, "https://example.com");
    s->SetRowHeight(3, 33);
    auto again = Reopen(*book);
    xl::Worksheet* t = again->Sheet(0);
    t->DeleteRows(2, 1);
    auto third = Reopen(*again);
    xl::Worksheet* u = third->Sheet(0);
    EXPECT_EQ(u->Text(2, 1), "stays");
    EXPECT_EQ(u->Text(3, 1), "");
    ASSERT_EQ(u->Notes().size(), 1u);
    EXPECT_EQ(u->Notes()[0].row, 2);
    EXPECT_EQ(u->MergeArea(2, 2), (xl::CellRange{2, 2, 3, 3}));
    ASSERT_EQ(u->Hyperlinks().size(), 1u);
    EXPECT_EQ(u->Hyperlinks()[0].range, (xl::CellRange{2, 4, 2, 4}));
    EXPECT_DOUBLE_EQ(u->RowHeight(2), 33);
}

TEST(Workbook, InsertedRowsMoveFormulasAndCellsDown) {
    auto book = xl::Workbook::Open(std::string(VELMAR_CORPUS) + "/xlsx/excel2013-strict-note-merge-formulas.xlsx");
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = (*book)->Sheet(0);
    xl::CellRange used{1, 1, s->LastFilledRow(), s->LastFilledColumn()};
    auto before = s->Values(used);
    std::size_t notes = s->Notes().size();
    s->InsertRows(1, 2);
    auto again = Reopen(**book);
    xl::Worksheet* t = again->Sheet(0);
    EXPECT_EQ(t->LastFilledRow(), used.lastRow + 2);
    auto after = t->Values({3, 1, used.lastRow + 2, used.lastColumn});
    for (std::size_t r = 0; r < before.size(); ++r)
        for (std::size_t c = 0; c < before[r].size(); ++c) {
            EXPECT_EQ(after[r][c].type, before[r][c].type);
            EXPECT_EQ(after[r][c].text, before[r][c].text);
        }
    EXPECT_EQ(t->Notes().size(), notes);
}

TEST(Workbook, CellsInsertedAndDeletedInColumnsOnly) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    s->SetString(1, 1, "a1");
    s->SetString(1, 2, "b1");
    s->SetString(2, 2, "b2");
    s->InsertCellsDown({1, 2, 1, 2});
    EXPECT_EQ(s->Text(1, 1), "a1");
    EXPECT_EQ(s->Text(1, 2), "");
    EXPECT_EQ(s->Text(2, 2), "b1");
    EXPECT_EQ(s->Text(3, 2), "b2");
    s->DeleteCellsUp({1, 2, 2, 2});
    EXPECT_EQ(s->Text(1, 2), "b2");
    EXPECT_EQ(s->Text(1, 1), "a1");
}

TEST(Workbook, SharedFormulasSurviveDeletingTheirFirstCell) {
    auto book = xl::Workbook::Open(std::string(VELMAR_CORPUS) + "/xlsx/excel2011mac-notes-stress-5-sheets.xlsx");
    ASSERT_TRUE(book.IsOk());
    xl::Worksheet* s = nullptr;
    int row = 0, col = 0;
    for (int i = 0; i < (*book)->SheetCount() && !s; ++i) {
        xl::Worksheet* w = (*book)->Sheet(i);
        for (int r = 1; r <= w->LastFilledRow() && !s; ++r)
            for (int c = 1; c <= w->LastFilledColumn() && !s; ++c)
                if (!w->Value(r, c).formula.empty() && !w->Value(r + 1, c).formula.empty() &&
                    w->Value(r + 1, c).formula.empty() == false) {
                    s = w, row = r, col = c;
                }
    }
    ASSERT_NE(s, nullptr);
    s->DeleteRows(row, 1);
    EXPECT_FALSE(s->Value(row, col).formula.empty());
}

}  // namespace

namespace {

TEST(Workbook, UntouchedNotesKeepTheirShapesAndRichText) {
    auto book = xl::Workbook::Open(std::string(VELMAR_CORPUS) + "/xlsx/excel2011mac-notes-stress-5-sheets.xlsx");
    ASSERT_TRUE(book.IsOk());
    int visibleBefore = 0;
    for (const std::string& p : (*book)->GetPackage().PartNames())
        if (p.find(".vml") != std::string::npos) {
            std::string vml = *(*book)->GetPackage().Read(p);
            for (std::size_t at = vml.find("<x:Visible"); at != std::string::npos; at = vml.find("<x:Visible", at + 1)) ++visibleBefore;
        }
    ASSERT_GT(visibleBefore, 0);
    for (int i = 0; i < (*book)->SheetCount(); ++i) {
        xl::Worksheet* s = (*book)->Sheet(i);
        if (s->Notes().empty()) continue;
        s->SetNote(s->LastFilledRow() + 5, 1, "added");
        s->InsertRows(1, 1);
    }
    auto again = Reopen(**book);
    int visibleAfter = 0;
    for (const std::string& p : again->GetPackage().PartNames())
        if (p.find(".vml") != std::string::npos) {
            std::string vml = *again->GetPackage().Read(p);
            for (std::size_t at = vml.find("<x:Visible"); at != std::string::npos; at = vml.find("<x:Visible", at + 1)) ++visibleAfter;
        }
    EXPECT_EQ(visibleAfter, visibleBefore);
}

TEST(Workbook, NotesMoveWithTheirShapesWhenRowsAreInserted) {
    auto book = xl::Workbook::Create();
    book->Sheet(0)->SetNote(3, 2, "moving");
    auto again = Reopen(*book);
    again->Sheet(0)->InsertRows(2, 4);
    auto third = Reopen(*again);
    ASSERT_EQ(third->Sheet(0)->Notes().size(), 1u);
    EXPECT_EQ(third->Sheet(0)->Notes()[0].row, 7);
    std::string vml = *third->GetPackage().Read("xl/drawings/vmlDrawing1.vml");
    EXPECT_NE(vml.find("<x:Row>6</x:Row>"), std::string::npos);
}

}  // namespace

namespace {

TEST(Workbook, RenamingASheetUpdatesFormulasAndNames) {
    auto book = xl::Workbook::Create();
    (void)book->AddSheet("Data");
    book->Sheet(0)->SetFormula(1, 1, "Data!A1*2");
    book->Sheet(1)->SetFormula(1, 1, "SUM(data!B1:B3)+Sheet1!A1");
    ASSERT_TRUE(book->RenameSheet(*book->Sheet(1), "Block Data").IsOk());
    auto again = Reopen(*book);
    EXPECT_EQ(again->Sheet(0)->Value(1, 1).formula, "'Block Data'!A1*2");
    EXPECT_EQ(again->Sheet(1)->Value(1, 1).formula, "SUM('Block Data'!B1:B3)+Sheet1!A1");
}

}  // namespace

namespace {

TEST(Workbook, AddingASheetBeforeTheActiveOneKeepsItActive) {
    auto book = xl::Workbook::Create();
    (void)book->AddSheet("First", 0);
    EXPECT_EQ(book->ActiveSheetIndex(), 1);
    auto again = Reopen(*book);
    EXPECT_EQ(again->ActiveSheetIndex(), 1);
    EXPECT_EQ(again->Sheet(again->ActiveSheetIndex())->Name(), "Sheet1");
}

TEST(Workbook, WritingAnEmptyStringEmptiesTheCell) {
    auto book = xl::Workbook::Create();
    book->Sheet(0)->SetString(1, 1, "x");
    book->Sheet(0)->SetString(1, 1, "");
    EXPECT_EQ(book->Sheet(0)->Value(1, 1).type, xl::CellType::Empty);
    EXPECT_EQ(book->Sheet(0)->LastFilledRow(), 0);
}

}  // namespace

namespace {

// A new workbook whose first sheet is `sheetXml`, read when first used.
std::unique_ptr<xl::Workbook> BookWithSheet(const std::string& sheetXml) {
    auto book = xl::Workbook::Create();
    book->GetPackage().Write("xl/worksheets/sheet1.xml", sheetXml);
    return book;
}

TEST(Workbook, InlineStringsReadWithoutTheirElementsAndWrittenBack) {
    auto book = BookWithSheet(
        "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>"
        "<row r=\"1\" ht=\"20\" customHeight=\"1\"><c r=\"A1\" t=\"inlineStr\"><is><t>/p/d.dxf&lt;2A_TAG&gt;</t></is></c>"
        "<c r=\"B1\" t=\"inlineStr\"><is><t xml:space=\"preserve\"> padded </t></is></c>"
        "<c r=\"C1\" t=\"inlineStr\"><is><r><rPr><b/></rPr><t>bo</t></r><r><t>ld</t></r></is></c>"
        "<c r=\"D1\" t=\"inlineStr\"><is><t>_x0041_</t></is></c>"
        "<c r=\"E1\" s=\"0\"><f>1+1</f><v>2</v></c><c r=\"F1\" t=\"inlineStr\"><is><t></t></is></c></row>"
        "</sheetData></worksheet>");
    xl::Worksheet* s = book->Sheet(0);
    EXPECT_EQ(s->Text(1, 1), "/p/d.dxf<2A_TAG>");
    EXPECT_EQ(s->Text(1, 2), " padded ");
    EXPECT_EQ(s->Text(1, 3), "bold");
    EXPECT_EQ(s->Text(1, 4), "A");
    EXPECT_EQ(s->Value(1, 5).formula, "1+1");
    EXPECT_EQ(s->RowHeight(1), 20);
    s->SetNumber(2, 1, 7);
    auto again = Reopen(*book);
    xl::Worksheet* t = again->Sheet(0);
    EXPECT_EQ(t->Text(1, 1), "/p/d.dxf<2A_TAG>");
    EXPECT_EQ(t->Text(1, 2), " padded ");
    EXPECT_EQ(t->Text(1, 3), "bold");
    EXPECT_EQ(t->Text(1, 4), "A");
    EXPECT_EQ(t->Value(1, 6).type, xl::CellType::String);
    EXPECT_EQ(t->Text(2, 1), "7");
    auto xml = again->GetPackage().Read("xl/worksheets/sheet1.xml");
    ASSERT_TRUE(xml);
    EXPECT_NE(xml->find("<is><r><rPr><b/></rPr><t>bo</t></r><r><t>ld</t></r></is>"), std::string::npos) << *xml;
}

TEST(Workbook, CellTypesAreWrittenBackAsRead) {
    auto book = BookWithSheet(
        "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData><row r=\"1\">"
        "<c r=\"A1\" t=\"b\"><v>1</v></c><c r=\"B1\" t=\"e\"><v>#N/A</v></c><c r=\"C1\" t=\"str\"><f>\"x\"</f><v>x</v></c>"
        "<c r=\"D1\" t=\"n\"><v>1.5E-3</v></c><c r=\"E1\" t=\"custom\"><v>7</v></c></row></sheetData></worksheet>");
    book->Sheet(0)->SetNumber(2, 1, 1);
    auto again = Reopen(*book);
    auto xml = again->GetPackage().Read("xl/worksheets/sheet1.xml");
    ASSERT_TRUE(xml);
    EXPECT_NE(xml->find("<c r=\"A1\" t=\"b\"><v>1</v></c><c r=\"B1\" t=\"e\"><v>#N/A</v></c>"
                        "<c r=\"C1\" t=\"str\"><f>\"x\"</f><v>x</v></c><c r=\"D1\"><v>1.5E-3</v></c>"
                        "<c r=\"E1\" t=\"custom\"><v>7</v></c>"),
              std::string::npos) << *xml;
    EXPECT_EQ(again->Sheet(0)->Text(1, 1), "TRUE");
    EXPECT_EQ(again->Sheet(0)->Text(1, 2), "#N/A");
    EXPECT_EQ(again->Sheet(0)->Text(1, 3), "x");
}

TEST(Workbook, SavedWorkbookReadsItsPartsFromTheFileImageAndSavesAgain) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    for (int r = 1; r <= 3000; ++r) {
        s->SetString(r, 1, "row " + std::to_string(r));
        s->SetNote(r, 1, "/p/d.dxf<" + std::to_string(r) + "_TAG>");
    }
    std::string path = TempPath("saved_twice.xlsx");
    ASSERT_TRUE(book->Save(path));
    EXPECT_FALSE(book->GetPackage().IsChanged("xl/worksheets/sheet1.xml"));
    auto sheetXml = book->GetPackage().Read("xl/worksheets/sheet1.xml");
    ASSERT_TRUE(sheetXml);
    EXPECT_NE(sheetXml->find("<c r=\"A3000\" t=\"s\">"), std::string::npos);
    s->SetString(3001, 1, "added after saving");
    s->SetNote(2, 1, "changed after saving");
    ASSERT_TRUE(book->Save(path));
    auto again = xl::Workbook::Open(path);
    ASSERT_TRUE(again) << again.GetStatus().Message();
    xl::Worksheet* t = (*again)->Sheet(0);
    EXPECT_EQ(t->Text(3000, 1), "row 3000");
    EXPECT_EQ(t->Text(3001, 1), "added after saving");
    EXPECT_EQ(t->Notes().size(), 3000u);
    ASSERT_NE(t->NoteAt(1, 1), nullptr);
    EXPECT_EQ(t->NoteAt(1, 1)->text, "/p/d.dxf<1_TAG>");
    EXPECT_EQ(t->NoteAt(2, 1)->text, "changed after saving");
}

// A process that ends with its command lets each sheet go once written: what it asks of a
// sheet after the save is read back from the sheet's new parts.
class WorkbookEndingWithItsCommand : public ::testing::Test {
protected:
    void SetUp() override { base::SetEndsWithCommand(true); }
    void TearDown() override { base::SetEndsWithCommand(false); }
};

TEST_F(WorkbookEndingWithItsCommand, SheetsLetGoOnceWrittenReadBackFromTheirNewPartsAndSaveAgain) {
    auto book = xl::Workbook::Create();
    ASSERT_TRUE(book->AddSheet("Second").IsOk());
    for (int r = 1; r <= 2000; ++r) {
        book->Sheet(0)->SetString(r, 1, "row " + std::to_string(r));
        book->Sheet(0)->SetNote(r, 1, "/p/d.dxf<" + std::to_string(r) + "_TAG>");
        book->Sheet(1)->SetNumber(r, 2, r * 0.5);
    }
    book->Activate(1);
    std::string path = TempPath("let_go.xlsx");
    ASSERT_TRUE(book->Save(path));
    EXPECT_FALSE(book->GetPackage().IsChanged("xl/worksheets/sheet1.xml"));
    EXPECT_FALSE(book->Sheet(0)->IsChanged());
    EXPECT_FALSE(book->Sheet(1)->IsChanged());
    // Read again, as written.
    EXPECT_EQ(book->Sheet(0)->Text(2000, 1), "row 2000");
    ASSERT_NE(book->Sheet(0)->NoteAt(7, 1), nullptr);
    EXPECT_EQ(book->Sheet(0)->NoteAt(7, 1)->text, "/p/d.dxf<7_TAG>");
    EXPECT_EQ(book->Sheet(1)->Text(3, 2), "1.5");
    EXPECT_FALSE(book->Sheet(1)->IsChanged()) << "reading the sheet again is no change";
    // A change after the save is written by the next one, beside what the first wrote.
    book->Sheet(1)->SetString(2001, 2, "added after saving");
    ASSERT_TRUE(book->Save(path));
    auto again = xl::Workbook::Open(path);
    ASSERT_TRUE(again) << again.GetStatus().Message();
    xl::Worksheet* first = (*again)->Sheet(0);
    xl::Worksheet* second = (*again)->Sheet(1);
    EXPECT_EQ(first->Text(1, 1), "row 1");
    EXPECT_EQ(first->Notes().size(), 2000u);
    EXPECT_EQ(second->Text(2000, 2), "1000");
    EXPECT_EQ(second->Text(2001, 2), "added after saving");
    EXPECT_EQ((*again)->ActiveSheetIndex(), 1);
}

TEST(Workbook, DamagedSheetTextIsAnErrorNamingThePart) {
    auto book = BookWithSheet("<worksheet><sheetData><row r=\"1\"><c r=\"A1\"><v>1</v></row></sheetData></worksheet>");
    base::Status st = book->Sheet(0)->Load();
    ASSERT_FALSE(st);
    EXPECT_NE(st.Message().find("xl/worksheets/sheet1.xml: malformed XML at byte "), std::string::npos) << st.Message();
    EXPECT_EQ(book->Sheet(0)->Text(1, 1), "");
}

}  // namespace

namespace {

// A2:A60 hold 1..59; B2:B60 share one formula, written once in B2 as spreadsheet programs do.
std::unique_ptr<xl::Workbook> BookWithSharedColumn() {
    std::string rows = "<row r=\"1\"><c r=\"A1\"><v>100</v></c></row>";
    for (int r = 2; r <= 60; ++r) {
        std::string n = std::to_string(r);
        rows += "<row r=\"" + n + "\"><c r=\"A" + n + "\"><v>" + std::to_string(r - 1) +
                "</v></c><c r=\"B" + n + "\">";
        rows += r == 2 ? "<f t=\"shared\" ref=\"B2:B60\" si=\"0\">A2*2+$A$1</f>"
                       : "<f t=\"shared\" si=\"0\"/>";
        rows += "<v>" + std::to_string((r - 1) * 2 + 100) + "</v></c></row>";
    }
    return BookWithSheet(
        "<worksheet "
        "xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>" +
        rows + "</sheetData></worksheet>");
}

std::size_t Count(const std::string& text, const std::string& what) {
    std::size_t n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

// The sheet part as saved.
std::string SavedSheet(xl::Workbook& book) {
    auto again = Reopen(book);
    auto xml = again->GetPackage().Read("xl/worksheets/sheet1.xml");
    EXPECT_TRUE(xml.IsOk());
    return xml ? *xml : std::string();
}

TEST(Workbook, RowsAndNotesSpanningManyPiecesOfTheirPartsAreReadWholeAndKept) {
    // Parts in a file are scanned a piece at a time as they are inflated: rich inline strings,
    // other children of cells and notes cross the ends of the pieces.
    const int rows = 20000;
    // Widths for 12,000 columns, some 600 KB before the rows: what surrounds them is kept too.
    std::string sheet = "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><cols>";
    for (int c = 1; c <= 12000; ++c)
        sheet += "<col min=\"" + std::to_string(c) + "\" max=\"" + std::to_string(c) + "\" width=\"" +
                 std::to_string(10 + c % 7) + "\" customWidth=\"1\"/>";
    sheet += "</cols><sheetData>";
    for (int r = 1; r <= rows; ++r) {
        const std::string n = std::to_string(r);
        sheet += "<row r=\"" + n + "\"><c r=\"A" + n + "\" t=\"inlineStr\"><is><r><rPr><b/></rPr><t>bo</t></r><r><t>ld " +
                 n + "</t></r></is></c><c r=\"B" + n + "\"><v>" + n + "</v><extLst><ext uri=\"u" + n + "\"/></extLst></c></row>";
    }
    sheet += "</sheetData><pageMargins left=\"0.7\" right=\"0.7\" top=\"0.75\" bottom=\"0.75\" header=\"0.3\" footer=\"0.3\"/></worksheet>";
    auto book = BookWithSheet(sheet);
    for (int r = 1; r <= rows; ++r) ASSERT_TRUE(book->Sheet(0)->SetNote(r, 1, "/p/d.dxf<" + std::to_string(r) + "_TAG>"));
    auto again = Reopen(*book);
    ASSERT_GT(again->GetPackage().PartSize("xl/worksheets/sheet1.xml"), 4 * xl::PartReader::kPiece);
    ASSERT_GT(again->GetPackage().PartSize("xl/comments1.xml"), 4 * xl::PartReader::kPiece);
    xl::Worksheet* s = again->Sheet(0);
    const std::vector<xl::Note> notes = s->Notes();
    ASSERT_EQ(notes.size(), static_cast<std::size_t>(rows));
    for (int r = 1; r <= rows; ++r) {
        ASSERT_EQ(s->Text(r, 1), "bold " + std::to_string(r));
        ASSERT_EQ(s->Text(r, 2), std::to_string(r));
        ASSERT_EQ(notes[r - 1].text, "/p/d.dxf<" + std::to_string(r) + "_TAG>");
    }
    EXPECT_EQ(s->ColumnWidth(11999), book->Sheet(0)->ColumnWidth(11999));
    EXPECT_NE(s->ColumnWidth(11999), s->ColumnWidth(11998));
    ASSERT_TRUE(s->SetNumber(rows + 1, 1, 7));
    const std::string saved = SavedSheet(*again);
    EXPECT_NE(saved.find("<col min=\"12000\" max=\"12000\" width=\"12\" customWidth=\"1\"/></cols>"), std::string::npos);
    EXPECT_EQ(Count(saved, "<is><r><rPr><b/></rPr><t>bo</t></r>"), static_cast<std::size_t>(rows));
    EXPECT_EQ(Count(saved, "\"/></extLst></c>"), static_cast<std::size_t>(rows));
    EXPECT_NE(saved.find("<extLst><ext uri=\"u" + std::to_string(rows) + "\"/></extLst>"), std::string::npos);
    EXPECT_NE(saved.find("<pageMargins left=\"0.7\""), std::string::npos);
}

TEST(Workbook, ASheetOfManyNotesIsWrittenBesideTheirDrawingAndReadsBackTheSame) {
    // From 200,000 notes a sheet's cells are made while the notes' drawing is made on another
    // thread; the parts and their order are those of a sheet of few notes.
    const auto fill = [](xl::Worksheet& sheet, int rows) {
        for (int r = 1; r <= rows; ++r) {
            ASSERT_TRUE(sheet.SetString(r, 1, "value " + std::to_string(r)));
            ASSERT_TRUE(sheet.SetNote(r, 1, "/p/d.dxf<" + std::to_string(r) + "_TAG>"));
        }
    };
    const int rows = 200000;
    auto many = xl::Workbook::Create();
    fill(*many->Sheet(0), rows);
    auto few = xl::Workbook::Create();
    fill(*few->Sheet(0), 3);
    auto again = Reopen(*many);
    EXPECT_EQ(again->GetPackage().PartNames(), Reopen(*few)->GetPackage().PartNames());
    xl::Worksheet* s = again->Sheet(0);
    const std::vector<xl::Note> notes = s->Notes();
    ASSERT_EQ(notes.size(), static_cast<std::size_t>(rows));
    for (int r = 1; r <= rows; r += 997) {
        ASSERT_EQ(s->Text(r, 1), "value " + std::to_string(r));
        ASSERT_EQ(notes[r - 1].row, r);
        ASSERT_EQ(notes[r - 1].text, "/p/d.dxf<" + std::to_string(r) + "_TAG>");
    }
    EXPECT_EQ(s->Text(rows, 1), "value " + std::to_string(rows));
    EXPECT_EQ(notes.back().text, "/p/d.dxf<" + std::to_string(rows) + "_TAG>");
}

TEST(Workbook, OverwritingTheFirstCellOfASharedFormulaMovesItToTheNextCell) {
    const std::pair<const char*, std::function<base::Status(xl::Worksheet&)>> writers[] = {
        {"SetString", [](xl::Worksheet& s) { return s.SetString(2, 2, "text"); }},
        {"SetNumber", [](xl::Worksheet& s) { return s.SetNumber(2, 2, 7); }},
        {"SetFormula", [](xl::Worksheet& s) { return s.SetFormula(2, 2, "A1"); }},
        {"ClearValue", [](xl::Worksheet& s) { return s.ClearValue(2, 2); }},
    };
    for (auto& [name, write] : writers) {
        SCOPED_TRACE(name);
        auto book = BookWithSharedColumn();
        xl::Worksheet* s = book->Sheet(0);
        ASSERT_TRUE(write(*s).IsOk());
        EXPECT_EQ(s->Value(3, 2).formula, "A3*2+$A$1");
        std::string xml = SavedSheet(*book);
        EXPECT_NE(xml.find("<c r=\"B3\"><f t=\"shared\" ref=\"B3:B60\" si=\"0\">A3*2+$A$1</f>"),
                  std::string::npos)
            << xml.substr(0, 2000);
        EXPECT_EQ(Count(xml, "si=\"0\""), 58u);
    }
}

TEST(Workbook, FiftySharedFormulasBelowAWrittenRangeSurvive) {
    auto book = BookWithSharedColumn();
    xl::Worksheet* s = book->Sheet(0);
    ASSERT_TRUE(s->PrepareWrite({2, 1, 10, 2}).IsOk());
    for (int r = 2; r <= 10; ++r) {
        ASSERT_TRUE(s->SetString(r, 1, "tag" + std::to_string(r)).IsOk());
        ASSERT_TRUE(s->SetNumber(r, 2, r).IsOk());
    }
    EXPECT_EQ(s->Value(11, 2).formula, "A11*2+$A$1");
    auto values = s->Values({2, 2, 60, 2});
    for (int r = 2; r <= 60; ++r)
        EXPECT_EQ(values[r - 2][0].formula, r <= 10 ? "" : "A" + std::to_string(r) + "*2+$A$1")
            << r;
    std::string xml = SavedSheet(*book);
    EXPECT_NE(xml.find("<c r=\"B11\"><f t=\"shared\" ref=\"B11:B60\" si=\"0\">A11*2+$A$1</f>"),
              std::string::npos);
    EXPECT_EQ(Count(xml, "si=\"0\""), 50u);
    EXPECT_EQ(Count(xml, "<f"), 50u);
}

TEST(Workbook, OverwritingAFollowerOfASharedFormulaKeepsTheOthers) {
    auto book = BookWithSharedColumn();
    ASSERT_TRUE(book->Sheet(0)->SetNumber(3, 2, 1).IsOk());
    std::string xml = SavedSheet(*book);
    EXPECT_NE(xml.find("ref=\"B2:B60\" si=\"0\">A2*2+$A$1</f>"), std::string::npos);
    EXPECT_EQ(Count(xml, "si=\"0\""), 58u);
}

TEST(Workbook, SharedFormulaOfSeveralColumnsIsWrittenOutWhenItsFirstCellGoes) {
    auto book = BookWithSheet(
        "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>"
        "<row r=\"2\"><c r=\"B2\"><f t=\"shared\" ref=\"B2:C3\" si=\"4\">A2+1</f><v>1</v></c><c "
        "r=\"C2\"><f t=\"shared\" si=\"4\"/><v>2</v></c></row>"
        "<row r=\"3\"><c r=\"B3\"><f t=\"shared\" si=\"4\"/><v>1</v></c><c r=\"C3\"><f "
        "t=\"shared\" si=\"4\"/><v>2</v></c></row>"
        "</sheetData></worksheet>");
    xl::Worksheet* s = book->Sheet(0);
    ASSERT_TRUE(s->SetNumber(2, 2, 0).IsOk());
    EXPECT_EQ(s->Value(2, 3).formula, "B2+1");
    EXPECT_EQ(s->Value(3, 2).formula, "A3+1");
    EXPECT_EQ(s->Value(3, 3).formula, "B3+1");
    std::string xml = SavedSheet(*book);
    EXPECT_EQ(Count(xml, "t=\"shared\""), 0u);
}

TEST(Workbook, SharedFormulasSurviveDeletingTheirFirstRowOrCell) {
    for (bool wholeRow : {true, false}) {
        SCOPED_TRACE(wholeRow ? "row" : "cells");
        auto book = BookWithSharedColumn();
        xl::Worksheet* s = book->Sheet(0);
        if (wholeRow)
            s->DeleteRows(2, 1);
        else
            s->DeleteCellsUp({2, 2, 2, 2});
        auto again = Reopen(*book);
        xl::Worksheet* t = again->Sheet(0);
        for (int r = 2; r <= 59; ++r) {
            std::string a = "A" + std::to_string(wholeRow ? r : r + 1);
            EXPECT_EQ(t->Value(r, 2).formula, a + "*2+$A$1") << r;
        }
    }
}

TEST(Workbook, WritingPartOfAnArrayOrDataTableIsRefused) {
    auto book = BookWithSheet(
        "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>"
        "<row r=\"2\"><c r=\"B2\"><f t=\"array\" ref=\"B2:B3\">A2:A3*2</f><v>2</v></c>"
        "<c r=\"C2\"><f t=\"dataTable\" ref=\"C2:D3\" dt2D=\"0\" dtr=\"0\" "
        "r1=\"A1\"/><v>5</v></c></row>"
        "<row r=\"3\"><c r=\"B3\"><v>4</v></c><c r=\"C3\"><v>6</v></c></row>"
        "<row r=\"5\"><c r=\"B5\"><f t=\"array\" ref=\"B5\">SUM(A2:A3)</f><v>3</v></c></row>"
        "</sheetData></worksheet>");
    xl::Worksheet* s = book->Sheet(0);
    base::Status st = s->SetNumber(3, 2, 1);
    ASSERT_FALSE(st.IsOk());
    EXPECT_NE(st.Message().find("xl/worksheets/sheet1.xml: cannot change part of an array (B2:B3)"),
              std::string::npos)
        << st.Message();
    st = s->ClearValue(2, 2);
    EXPECT_FALSE(st.IsOk());
    st = s->SetString(3, 4, "x");
    ASSERT_FALSE(st.IsOk());
    EXPECT_NE(st.Message().find("cannot change part of a data table (C2:D3)"), std::string::npos)
        << st.Message();
    EXPECT_FALSE(s->PrepareWrite({1, 1, 2, 4}).IsOk());
    EXPECT_FALSE(s->IsChanged());
    EXPECT_EQ(s->Value(2, 2).formula, "A2:A3*2");
    // A single-cell array goes with its cell; a whole array goes when its whole range is written.
    EXPECT_TRUE(s->SetNumber(5, 2, 9).IsOk());
    ASSERT_TRUE(s->PrepareWrite({2, 2, 3, 4}).IsOk());
    EXPECT_TRUE(s->SetNumber(3, 2, 1).IsOk());
    EXPECT_TRUE(s->ClearValue(3, 4).IsOk());
    std::string xml = SavedSheet(*book);
    EXPECT_EQ(Count(xml, "<f"), 0u) << xml;
}

TEST(Workbook, ARowWrittenAtOnceIsWhatItsCellsWrittenOneByOneMake) {
    const std::vector<xl::CellWrite> values = {
        xl::CellWrite::String("Tag"), xl::CellWrite::Number(2.5), {},
        xl::CellWrite::String(""),    xl::CellWrite::Number(7),   xl::CellWrite::String("Tag")};
    auto byRow = xl::Workbook::Create();
    auto byCell = xl::Workbook::Create();
    for (xl::Workbook* book : {byRow.get(), byCell.get()}) {
        xl::StyleChange bold;
        bold.bold = true;
        book->Sheet(0)->ApplyFormat({4, 4, 4, 4}, bold);  // an empty cell with a style of its own
        book->Sheet(0)->SetString(4, 1, "left of it");
        book->Sheet(0)->SetString(4, 5, "emptied");
        book->Sheet(0)->SetString(4, 9, "right of it");
    }
    ASSERT_TRUE(byRow->Sheet(0)->SetRow(4, 2, values).IsOk());
    ASSERT_TRUE(byRow->Sheet(0)->SetRow(2, 2, values).IsOk());  // a row before the last
    for (int row : {4, 2})
        for (std::size_t i = 0; i < values.size(); ++i) {
            const int column = 2 + static_cast<int>(i);
            const xl::CellWrite& v = values[i];
            xl::Worksheet& s = *byCell->Sheet(0);
            ASSERT_TRUE((v.kind == xl::CellWrite::Kind::Number ? s.SetNumber(row, column, v.number)
                         : v.kind == xl::CellWrite::Kind::String ? s.SetString(row, column, v.text)
                                                                 : s.ClearValue(row, column))
                            .IsOk());
        }
    const std::string written = SavedSheet(*byRow);
    EXPECT_EQ(written, SavedSheet(*byCell));
    EXPECT_NE(written.find("<row r=\"2\""), std::string::npos) << written;
    EXPECT_LT(written.find("<row r=\"2\""), written.find("<row r=\"4\"")) << written;
    auto again = Reopen(*byRow);
    xl::Worksheet* s = again->Sheet(0);
    EXPECT_EQ(s->Text(4, 1), "left of it");
    EXPECT_EQ(s->Text(4, 2), "Tag");
    EXPECT_EQ(s->Value(4, 3).number, 2.5);
    EXPECT_EQ(s->Value(4, 4).type, xl::CellType::Empty);
    EXPECT_TRUE(s->Format(4, 4).bold);
    EXPECT_EQ(s->Value(4, 5).type, xl::CellType::Empty);
    EXPECT_EQ(s->Value(4, 6).number, 7);
    EXPECT_EQ(s->Text(4, 7), "Tag");
    EXPECT_EQ(s->Text(4, 9), "right of it");
}

TEST(Workbook, ARowOfNothingWrittenWhereNoCellsAreMakesNoRowAndNoChange) {
    auto book = xl::Workbook::Create();
    xl::Worksheet* s = book->Sheet(0);
    const std::vector<xl::CellWrite> nothing = {{}, xl::CellWrite::String(""), {}};
    auto unchanged = Reopen(*book);
    ASSERT_TRUE(unchanged->Sheet(0)->SetRow(3, 1, nothing).IsOk());
    EXPECT_FALSE(unchanged->Sheet(0)->IsChanged());
    ASSERT_TRUE(s->SetRow(3, 1, nothing).IsOk());
    s->SetString(1, 1, "x");
    EXPECT_EQ(SavedSheet(*book).find("<row r=\"3\""), std::string::npos);
}

TEST(Workbook, ARowWrittenOverPartOfAnArrayIsRefusedWithNothingWritten) {
    auto book = BookWithSheet(
        "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>"
        "<row r=\"2\"><c r=\"B2\"><f t=\"array\" ref=\"B2:C3\">A2:A3*2</f><v>2</v></c></row>"
        "</sheetData></worksheet>");
    xl::Worksheet* s = book->Sheet(0);
    const std::vector<xl::CellWrite> values = {xl::CellWrite::String("new"),
                                               xl::CellWrite::Number(1)};
    base::Status st = s->SetRow(3, 1, values);
    ASSERT_FALSE(st.IsOk());
    EXPECT_NE(st.Message().find("cannot change part of an array (B2:C3)"), std::string::npos)
        << st.Message();
    EXPECT_FALSE(s->IsChanged());
    EXPECT_EQ(s->Value(3, 1).type, xl::CellType::Empty);
    // Its second cell would be past the sheet's last column.
    EXPECT_FALSE(s->SetRow(1, xl::kMaxColumn, values).IsOk());
}

}  // namespace

namespace {

TEST(Workbook, AWorkbookWithoutSharedStringsGetsANewTableWithItsRelationshipAndType) {
    auto book = xl::Workbook::Open(Corpus("excel2013-no-shared-strings.xlsx"));
    ASSERT_TRUE(book.IsOk()) << book.GetStatus().Message();
    xl::Worksheet* s = (*book)->Sheet(0);
    ASSERT_TRUE(s->Load().IsOk()) << s->Load().Message();
    int row = s->LastFilledRow() + 1;
    ASSERT_TRUE(s->SetString(row, 1, "velmar text").IsOk());
    auto again = Reopen(**book);
    xl::Package& pkg = again->GetPackage();
    EXPECT_EQ(pkg.TargetOf("xl/workbook.xml", "sharedStrings"), "xl/sharedStrings.xml");
    EXPECT_EQ(pkg.ContentType("xl/sharedStrings.xml"),
              "application/vnd.openxmlformats-officedocument.spreadsheetml.sharedStrings+xml");
    ASSERT_TRUE(again->Sheet(0)->Load().IsOk());
    EXPECT_EQ(again->Sheet(0)->Text(row, 1), "velmar text");
}

}  // namespace

namespace {

TEST(Workbook, CellsSharingAFormulaReadItAsItReadsFromThem) {
    auto book = BookWithSharedColumn();
    xl::Worksheet* s = book->Sheet(0);
    EXPECT_EQ(s->Value(2, 2).formula, "A2*2+$A$1");
    EXPECT_EQ(s->Value(5, 2).formula, "A5*2+$A$1");
    EXPECT_EQ(s->Values({60, 2, 60, 2})[0][0].formula, "A60*2+$A$1");
    ASSERT_TRUE(s->ClearValue(2, 2).IsOk());
    EXPECT_EQ(s->Value(2, 2).formula, "");
    EXPECT_EQ(s->Value(5, 2).formula, "A5*2+$A$1");
}

}  // namespace

namespace {

TEST(Workbook, SharedFormulaTextRepeatedInEveryCellStillMovesToTheNextCell) {
    // Some generators write the formula into every cell of the group as well.
    auto book = BookWithSheet(
        "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData>"
        "<row r=\"2\"><c r=\"B2\"><f t=\"shared\" ref=\"B2:B4\" si=\"0\">A2</f><v>0</v></c></row>"
        "<row r=\"3\"><c r=\"B3\"><f t=\"shared\" si=\"0\">A3</f><v>0</v></c></row>"
        "<row r=\"4\"><c r=\"B4\"><f t=\"shared\" si=\"0\"/><v>0</v></c></row>"
        "</sheetData></worksheet>");
    xl::Worksheet* s = book->Sheet(0);
    ASSERT_TRUE(s->SetNumber(2, 2, 1).IsOk());
    EXPECT_EQ(s->Value(4, 2).formula, "A4");
    std::string xml = SavedSheet(*book);
    EXPECT_NE(xml.find("<c r=\"B3\"><f t=\"shared\" ref=\"B3:B4\" si=\"0\">A3</f>"),
              std::string::npos)
        << xml;
}

}  // namespace

namespace {

TEST(SharedStringsTable, AnItemReadTwiceStandsForItsTextByItsFirstPlainCopy) {
    xl::SharedStrings table;
    const std::string read =
        "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
        "<si><r><t>A</t></r></si><si><t>B</t></si><si><t>A</t></si><si><t>B</t></si><si><t></t></si></sst>";
    ASSERT_TRUE(table.Load(read, "book.xlsx: xl/sharedStrings.xml"));
    EXPECT_EQ(table.Add("A"), 2u);  // the rich item 0 reads "A" too, but isn't plain
    EXPECT_EQ(table.Add("B"), 1u);
    EXPECT_EQ(table.Add(""), 4u);
    EXPECT_FALSE(table.IsChanged());
    EXPECT_EQ(table.Add("C"), 5u);
    EXPECT_TRUE(table.IsChanged());
}

TEST(SharedStringsTable, ManyTextsKeepTheirNumbersAsTheIndexGrows) {
    xl::SharedStrings table;
    ASSERT_TRUE(table.Load("<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"/>", "t"));
    constexpr std::uint32_t kCount = 200000;
    for (std::uint32_t i = 0; i < kCount; ++i) ASSERT_EQ(table.Add("text " + std::to_string(i)), i);
    for (std::uint32_t i = 0; i < kCount; i += 997) EXPECT_EQ(table.Add("text " + std::to_string(i)), i);
    EXPECT_EQ(table.Size(), kCount);
    EXPECT_EQ(table.Text(123456), "text 123456");
}

TEST(SharedStringsTable, ItemsWithSomethingToDecodeGiveTheirDecodedTextsAndOthersTheirOwn) {
    xl::SharedStrings table;
    const std::string read =
        "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
        "<si><t>plain text of forty characters or more, 0</t></si>"
        "<si><t>A &amp; B</t></si>"
        "<si><t>line_x000D_end</t></si>"
        "<si><t>one\r\ntwo</t></si>"
        "<si><t><![CDATA[<kept>]]></t></si>"
        "<si><t>be<![CDATA[fore]]> after</t></si>"
        "<si><r><t>ri</t></r><r><t>ch</t></r></si>"
        "<si><t xml:space=\"preserve\">  spaced  </t></si>"
        "<si><t>snake_x_case</t></si>"
        "<si><t/></si></sst>";
    ASSERT_TRUE(table.Load(read, "book.xlsx: xl/sharedStrings.xml"));
    const std::vector<std::string> expected = {"plain text of forty characters or more, 0",
                                               "A & B", "line\rend", "one\ntwo", "<kept>",
                                               "before after", "rich", "  spaced  ",
                                               "snake_x_case", ""};
    ASSERT_EQ(table.Size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(table.Text(i), expected[i]) << i;
    EXPECT_EQ(table.Text(expected.size()), "");
    EXPECT_EQ(table.Save(), read);
}

TEST(SharedStringsTable, ItemsThatReadAsTheyStandCostNoCopyOfTheirText) {
    // 200,000 items of 41 characters: as strings of their own they took 16 MB beside the table.
    std::string xml = "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">";
    constexpr int kCount = 200000;
    for (int i = 0; i < kCount; ++i)
        xml += "<si><t>an item text long enough for a heap, " + std::to_string(100000 + i) +
               "</t></si>";
    xml += "</sst>";
    const auto inUse = [] {
        const struct mallinfo2 info = mallinfo2();
        return info.uordblks + info.hblkhd;
    };
    xl::SharedStrings table;
    const std::size_t before = inUse();
    ASSERT_TRUE(table.Load(std::move(xml), "book.xlsx: xl/sharedStrings.xml"));
    EXPECT_LT(inUse() - before, 8u << 20);
    ASSERT_EQ(table.Size(), static_cast<std::size_t>(kCount));
    EXPECT_EQ(table.Text(kCount - 1), "an item text long enough for a heap, 299999");
    EXPECT_EQ(table.Add("an item text long enough for a heap, 100007"), 7u);
}

TEST(SharedStringsTable, ATableThatClosesItselfTakesNewStringsWithItsPrefix) {
    xl::SharedStrings table;
    const std::string empty = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?><x:sst "
                              "xmlns:x=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" />";
    ASSERT_TRUE(table.Load(empty, "book.xlsx: xl/sharedStrings.xml"));
    EXPECT_EQ(table.Add("Block Name"), 0u);
    std::string saved = table.Save();
    EXPECT_NE(saved.find("<x:si><x:t>Block Name</x:t></x:si></x:sst>"), std::string::npos) << saved;
    xl::SharedStrings again;
    ASSERT_TRUE(again.Load(saved, "again"));
    ASSERT_EQ(again.Size(), 1u);
    EXPECT_EQ(again.Text(0), "Block Name");
}

}  // namespace
