// The link store: the drawing link in the named object dictionary and the two reference links
// as extended data, on the sample drawing.

#include "attbat/links/ExcelLinkStore.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "../export/ExportTestSupport.h"
#include "base/File.h"
#include "base/Path.h"
#include "cad/Dictionary.h"
#include "cad/Entity.h"

namespace attbat {
namespace {

const std::string kSample = std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf";

std::unique_ptr<cad::Database> Sample() {
    auto db = cad::Database::Open(kSample);
    EXPECT_TRUE(db) << db.GetStatus().Message();
    return db ? std::move(*db) : nullptr;
}

// The first block reference of the drawing.
cad::Entity FirstInsert(cad::Database& db) {
    std::vector<cad::Entity> inserts = db.Select({{0, "INSERT"}});
    EXPECT_FALSE(inserts.empty());
    return inserts.front();
}

int CountCode(const cad::TagList& tags, int code) {
    int n = 0;
    for (const cad::Tag& tag : tags) n += tag.code == code;
    return n;
}

TEST(ExcelLinkStore, SavingTheDrawingLinkTwiceLeavesOneRecordHoldingTheLastPath) {
    auto db = Sample();
    ASSERT_TRUE(SaveLinkToDrawing(db.get(), "C:\\first.xlsx"));
    ASSERT_TRUE(SaveLinkToDrawing(db.get(), "C:\\second.xlsx"));
    std::string link;
    ASSERT_TRUE(ReadLinkFromDrawing(db.get(), link));
    EXPECT_EQ(link, "C:\\second.xlsx");
    cad::Object dictionary = db->NamedObjects().Get(kLinkDictionary);
    ASSERT_TRUE(dictionary);
    auto entries = cad::Dictionary(dictionary.GetDatabase(), dictionary.Index()).Entries();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries.front().first, kLinkRecord);
    // Exactly one live xrecord holds a link path.
    int records = 0;
    for (auto& [name, handle] : entries) records += name == kLinkRecord;
    EXPECT_EQ(records, 1);
}

TEST(ExcelLinkStore, ADrawingWithoutTheDictionaryReadsAsNoLinkAndDeletingDoesNothing) {
    auto db = Sample();
    std::string link = "kept";
    EXPECT_FALSE(ReadLinkFromDrawing(db.get(), link));
    EXPECT_EQ(link, "kept");
    std::string before = db->Write();
    EXPECT_TRUE(DeleteLinkFromDrawing(db.get()));
    EXPECT_EQ(db->Write(), before);
}

TEST(ExcelLinkStore, AnXrecordWhoseFirstBufferIsNotGroup1ReadsAsAnEmptyPathWithResultTrue) {
    auto db = Sample();
    auto dictionary = db->NamedObjects().GetOrAddDictionary(kLinkDictionary);
    ASSERT_TRUE(dictionary);
    ASSERT_TRUE(dictionary->SetXrecord(kLinkRecord, {{70, "3"}, {1, "C:\\late.xlsx"}}));
    std::string link;
    EXPECT_TRUE(ReadLinkFromDrawing(db.get(), link));
    EXPECT_EQ(link, "");
}

TEST(ExcelLinkStore, DeletingTheDrawingLinkRemovesDictionaryAndRecord) {
    auto db = Sample();
    ASSERT_TRUE(SaveLinkToDrawing(db.get(), "C:\\book.xlsx"));
    EXPECT_TRUE(DeleteLinkFromDrawing(db.get()));
    EXPECT_FALSE(db->NamedObjects().Has(kLinkDictionary));
    std::string link;
    EXPECT_FALSE(ReadLinkFromDrawing(db.get(), link));
}

TEST(ExcelLinkStore, ANullDatabaseGivesFalse) {
    std::string link;
    EXPECT_FALSE(SaveLinkToDrawing(static_cast<cad::Database*>(nullptr), "C:\\a.xlsx"));
    EXPECT_FALSE(ReadLinkFromDrawing(static_cast<cad::Database*>(nullptr), link));
    EXPECT_FALSE(DeleteLinkFromDrawing(static_cast<cad::Database*>(nullptr)));
}

TEST(ExcelLinkStore, TheLinkByPathIsSavedInPlaceWithABackupAndReadBack) {
    testing::TempFolder temp;
    std::string drawing = temp / "floor.dxf";
    std::filesystem::copy_file(kSample, drawing);
    ASSERT_TRUE(SaveLinkToDrawing(drawing, "C:\\book.xlsx"));
    EXPECT_TRUE(base::FileExists(temp / "floor.bak"));
    std::string link;
    ASSERT_TRUE(ReadLinkFromDrawing(drawing, link));
    EXPECT_EQ(link, "C:\\book.xlsx");
    ASSERT_TRUE(DeleteLinkFromDrawing(drawing));
    link.clear();
    EXPECT_TRUE(ReadLinkFromDrawing(drawing, link));
    EXPECT_EQ(link, "");
}

TEST(ExcelLinkStore, TheLinkByPathRefusesAMissingDrawingOrAnEmptyWorkbook) {
    host::CurrentPrinter().Capture(true);
    host::CurrentPrinter().ClearCaptured();
    EXPECT_FALSE(SaveLinkToDrawing(std::string("/nowhere/none.dxf"), "C:\\a.xlsx"));
    EXPECT_FALSE(SaveLinkToDrawing(kSample, ""));
    std::string link;
    EXPECT_FALSE(ReadLinkFromDrawing(std::string("/nowhere/none.dxf"), link));
    std::string printed = host::CurrentPrinter().Captured();
    host::CurrentPrinter().Capture(false);
    EXPECT_NE(printed.find("CAttBatch::SaveLinkToDrawing: Invalid drawing file."), std::string::npos);
    EXPECT_NE(printed.find("CAttBatch::SaveLinkToDrawing: Invalid Excel file."), std::string::npos);
    EXPECT_NE(printed.find("CAttBatch::ReadLinkFromDrawing: Invalid drawing file."), std::string::npos);
}

TEST(ExcelLinkStore, ExtendedDataInsideA1002BracePairIsNotTakenAsTheLink) {
    auto db = Sample();
    cad::Entity ref = FirstInsert(*db);
    ASSERT_TRUE(ref.SetXdata(kWorkbookLinkApp, {{1002, "{"}, {1000, "inner"}, {1002, "}"}, {1000, "C:\\outer.xlsx"}}));
    std::string link;
    ASSERT_TRUE(GetXDataString(ref, kWorkbookLinkApp, link));
    EXPECT_EQ(link, "C:\\outer.xlsx");
    ASSERT_TRUE(ref.SetXdata(kWorkbookLinkApp, {{1002, "{"}, {1000, "inner"}, {1002, "}"}}));
    EXPECT_FALSE(GetXDataString(ref, kWorkbookLinkApp, link));
    EXPECT_EQ(link, "");
}

TEST(ExcelLinkStore, ReplacingALinkOnAReferenceLeavesExactlyOne1000Buffer) {
    auto db = Sample();
    cad::Entity ref = FirstInsert(*db);
    ASSERT_TRUE(SetXDataString(ref, kRowLinkApp, "C:\\a.xlsx|Sheet1|2", false));
    ASSERT_TRUE(SetXDataString(ref, kRowLinkApp, "C:\\b.xlsx|Sheet1|3", false));
    cad::TagList data = ref.Xdata(kRowLinkApp);
    EXPECT_EQ(CountCode(data, 1000), 1);
    EXPECT_EQ(CountCode(data, 1001), 1);
    std::string link;
    ASSERT_TRUE(GetXDataString(ref, kRowLinkApp, link));
    EXPECT_EQ(link, "C:\\b.xlsx|Sheet1|3");
}

TEST(ExcelLinkStore, AppendingAddsATextOnceWithoutRegardToCase) {
    auto db = Sample();
    cad::Entity ref = FirstInsert(*db);
    ASSERT_TRUE(SetXDataString(ref, kWorkbookLinkApp, "C:\\a.xlsx", true));
    ASSERT_TRUE(SetXDataString(ref, kWorkbookLinkApp, "C:\\B.xlsx", true));
    ASSERT_TRUE(SetXDataString(ref, kWorkbookLinkApp, "c:\\A.XLSX", true));
    std::vector<std::string> texts;
    ASSERT_TRUE(GetXDataStrings(ref, kWorkbookLinkApp, texts));
    EXPECT_EQ(texts, (std::vector<std::string>{"C:\\a.xlsx", "C:\\B.xlsx"}));
}

TEST(ExcelLinkStore, SetRefusesANullObjectOrAnEmptyApplication) {
    auto db = Sample();
    EXPECT_FALSE(SetXDataString(cad::Object(), kWorkbookLinkApp, "x", false));
    EXPECT_FALSE(SetXDataString(FirstInsert(*db), "", "x", false));
    EXPECT_FALSE(DeleteXData(cad::Object(), kWorkbookLinkApp));
}

TEST(ExcelLinkStore, DeleteRemovesTheApplicationsDataOnly) {
    auto db = Sample();
    cad::Entity ref = FirstInsert(*db);
    ASSERT_TRUE(SetXDataString(ref, kWorkbookLinkApp, "C:\\a.xlsx", false));
    ASSERT_TRUE(SetXDataString(ref, kRowLinkApp, "C:\\a.xlsx|S|2", false));
    ASSERT_TRUE(DeleteXData(ref, kWorkbookLinkApp));
    EXPECT_TRUE(ref.Xdata(kWorkbookLinkApp).empty());
    EXPECT_FALSE(ref.Xdata(kRowLinkApp).empty());
}

TEST(ExcelLinkStore, LinkedWorkbooksListPathsDifferingInCaseApartAndSkipEmptyLinks) {
    auto db = Sample();
    std::vector<cad::Entity> inserts = db->Select({{0, "INSERT"}});
    ASSERT_GE(inserts.size(), 4u);
    SetXDataString(inserts[0], kWorkbookLinkApp, "C:\\a.xlsx", false);
    SetXDataString(inserts[1], kWorkbookLinkApp, "C:\\A.xlsx", false);
    SetXDataString(inserts[2], kWorkbookLinkApp, "C:\\a.xlsx", false);
    SetXDataString(inserts[3], kWorkbookLinkApp, "", false);
    std::vector<std::string> books;
    ASSERT_TRUE(GetLinkedWorkbooks(*db, books));
    EXPECT_EQ(books, (std::vector<std::string>{"C:\\a.xlsx", "C:\\A.xlsx"}));

    std::vector<cad::Object> refs;
    ASSERT_TRUE(GetLinkedReferences(*db, refs, "c:\\A.XLSX"));
    EXPECT_EQ(refs.size(), 3u);
    refs.clear();
    ASSERT_TRUE(GetLinkedReferences(*db, refs));
    EXPECT_EQ(refs.size(), 3u);
    refs.clear();
    EXPECT_FALSE(GetLinkedReferences(*db, refs, "C:\\other.xlsx"));
}

TEST(ExcelLinkStore, LinksSurviveSavingAndReading) {
    auto db = Sample();
    cad::Entity ref = FirstInsert(*db);
    std::string handle = ref.HandleString();
    ASSERT_TRUE(SetXDataString(ref, kWorkbookLinkApp, "C:\\a.xlsx", false));
    ASSERT_TRUE(SaveLinkToDrawing(db.get(), "C:\\a.xlsx"));
    auto again = cad::Database::FromBytes(db->Write(), "again.dxf");
    ASSERT_TRUE(again) << again.GetStatus().Message();
    std::string link;
    ASSERT_TRUE(ReadLinkFromDrawing(again->get(), link));
    EXPECT_EQ(link, "C:\\a.xlsx");
    std::vector<std::string> books;
    ASSERT_TRUE(GetLinkedWorkbooks(**again, books));
    EXPECT_EQ(books, (std::vector<std::string>{"C:\\a.xlsx"}));
}

}  // namespace
}  // namespace attbat
