// The import by key attribute: sheets read as the import reads them, and drawings updated by the
// value of a key attribute, over the current drawing and over drawing lists.

#include "attbat/import/ImportByKey.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "../export/ExportTestSupport.h"
#include "ImportTestSupport.h"
#include "arxutils/ExcelUtils.h"
#include "base/File.h"
#include "base/Path.h"
#include "cad/geometry/MLeader.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace attbat {
namespace {

using arxutils::ExcelUtils;
using testing::AttText;
namespace excel = arxutils::excel;

const std::string kSample = std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf";
const std::string kFixtures = std::string(VELMAR_SOURCE_DIR) + "/tests/data/import/";

// A drawing, a workbook attached as the running one, and the options of a header-row import of
// the doors by MARK, ready to be changed by each test.
struct KeyImport {
    testing::TempFolder temp;
    std::string drawing = Copy(kSample, "plan.dxf");
    CImportByKeyAttOpt options;
    std::unique_ptr<testing::BackendScope> backend;
    KeyImportReport report;

    KeyImport() {
        host::DocumentManager::Instance().CloseAll();
        host::CurrentPrinter().Capture(true);
        options.AttTagOption = 0;
        options.HeaderRow = 1;
        options.KeyTag = "MARK";
        options.BlockNames = "DOOR;";
    }
    ~KeyImport() {
        backend.reset();
        host::DocumentManager::Instance().CloseAll();
        host::CurrentPrinter().Capture(false);
    }
    std::string Copy(const std::string& from, const std::string& name) {
        std::string path = temp / name;
        std::filesystem::copy_file(from, path, std::filesystem::copy_options::overwrite_existing);
        return path;
    }
    // Attaches a fixture workbook with `sheet` active.
    void Book(const std::string& name, const std::string& sheet, const std::string& selection = {}) {
        excel::FileBackendOptions attach;
        attach.workbook = Copy(kFixtures + name, name);
        attach.sheet = sheet;
        attach.selection = selection;
        backend = std::make_unique<testing::BackendScope>(attach);
        options.Workbook = attach.workbook;
        options.Worksheet = sheet;
    }
    void OpenCurrent() { ASSERT_TRUE(host::DocumentManager::Instance().OpenCurrent(drawing)); }
    bool Run(bool dryRun = false, int threads = 1) {
        report = {};
        host::CurrentPrinter().ClearCaptured();
        return ImportByKeyAttribute(options, {dryRun, threads}, report);
    }
    // The text of an attribute of the current document, in memory.
    std::string Current(const std::string& handle, const std::string& tag) {
        host::Document* current = host::DocumentManager::Instance().CurDocument();
        cad::Object object = arxutils::HandleToId(current->Database(), handle);
        return cad::BlockReference(object.GetDatabase(), object.Index()).FindAttribute(tag).TextString();
    }
    std::string Printed() const { return host::CurrentPrinter().Captured(); }
    // Reads the active sheet as the import does.
    tables::CStringTable Read() {
        tables::CStringTable table;
        EXPECT_TRUE(ExcelUtils::ConnectToExcel(false));
        EXPECT_TRUE(ReadKeySheet(options, table)) << Printed();
        ExcelUtils::Disconnect();
        return table;
    }
};

TEST(ImportByKey, ASheetWhoseUsedRangeIsOneCellEndsTheWorkWithInvalidUsedRange) {
    KeyImport f;
    f.Book("single-cell.xlsx", "Sheet");
    f.OpenCurrent();
    EXPECT_FALSE(f.Run());
    EXPECT_EQ(f.Printed(), "Invalid used range: $A$1.");
    EXPECT_FALSE(host::DocumentManager::Instance().CurDocument()->Database().IsModified());
}

TEST(ImportByKey, AUsedAreaOf300RowsIsReadToItsLastFilledRowAndAFifthMore) {
    KeyImport f;
    f.Book("long-formatted.xlsx", "Doors");
    tables::CStringTable table = f.Read();
    // The last value stands in row 50: rows to 60 are read, the formatted rest to 300 isn't, and
    // the 130 formatted columns shrink to the two filled ones and a fifth.
    EXPECT_EQ(table.RangeAddress, "$A$1:$B$60");
    EXPECT_EQ(table.GetSize(), 60);
    f.OpenCurrent();
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(f.Current("E5", "WIDTH"), "902");  // the row behind the gap
    EXPECT_EQ(f.Current("DE", "WIDTH"), "901");
}

TEST(ImportByKey, ATableStartsAtA1WhateverTheUsedRange) {
    KeyImport f;
    f.Book("offset.xlsx", "Sheet");
    tables::CStringTable table = f.Read();
    EXPECT_EQ(table.RangeAddress, "$A$1:$C$4");
    f.options.HeaderRow = 3;
    f.OpenCurrent();
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(f.Current("FA", "WIDTH"), "905");
}

TEST(ImportByKey, AllWorksheetsWithSelectedRowsOnlyRunsWithoutAFilter) {
    KeyImport f;
    f.Book("doors.xlsx", "Doors", "A3:D3");  // only D03's row is selected
    f.options.SelectedRowsOnly = 1;
    f.options.AllWorksheets = 1;
    f.OpenCurrent();
    ASSERT_TRUE(f.Run()) << f.Printed();
    EXPECT_EQ(f.Current("DE", "WIDTH"), "950");  // d01's row, not selected, was used
    EXPECT_EQ(f.Current("EC", "FIRE_RATING"), "EI90");
}

TEST(ImportByKey, SelectedRowsOnlyUsesOnlyTheSelectedRows) {
    KeyImport f;
    f.Book("doors.xlsx", "Doors", "A3:D3");
    f.options.SelectedRowsOnly = 1;
    f.OpenCurrent();
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(f.Current("DE", "WIDTH"), "900");
    EXPECT_EQ(f.Current("EC", "FIRE_RATING"), "EI90");
}

TEST(ImportByKey, OneSelectedCellIsNoFilter) {
    KeyImport f;
    f.Book("doors.xlsx", "Doors", "A3");
    f.options.SelectedRowsOnly = 1;
    f.OpenCurrent();
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(f.Current("DE", "WIDTH"), "950");
}

TEST(ImportByKey, TheKeyAttributesOwnValueIsNeverWritten) {
    KeyImport f;
    f.Book("doors.xlsx", "Doors");
    f.OpenCurrent();
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(f.Current("DE", "MARK"), "D01");  // the row's key is "d01"
    EXPECT_EQ(f.Current("DE", "WIDTH"), "950");
    EXPECT_EQ(f.Printed(), "Successfully import Doors.\nSuccessfully import the attribute values.");
}

TEST(ImportByKey, WithoutWildcardsAKeyMatchesWithoutRegardToCaseButTheTagCountsCase) {
    KeyImport f;
    f.Book("doors.xlsx", "Doors");
    f.OpenCurrent();
    f.options.KeyTag = "mark";  // no attribute is tagged so: no reference has a key
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(f.Current("DE", "WIDTH"), "900");
    f.options.KeyTag = "MARK";
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(f.Current("DE", "WIDTH"), "950");  // "d01" matched "D01"
}

TEST(ImportByKey, AWildcardCellMatchesTheKeyValuesItCovers) {
    KeyImport f;
    f.Book("doors.xlsx", "Windows");
    f.OpenCurrent();
    f.options.BlockNames = "WINDOW;";
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(f.Current("101", "GLAZING"), "Double");  // "W0*" is only text without wildcards
    f.options.UseWildcardInKeyAttTag = 1;
    ASSERT_TRUE(f.Run());
    for (const char* handle : {"101", "106", "10B", "110"}) EXPECT_EQ(f.Current(handle, "GLAZING"), "Triple");
}

TEST(ImportByKey, SeveralReferencesWithTheSameKeyAllTakeTheSameRow) {
    KeyImport f;
    f.Book("doors.xlsx", "Ratings");
    f.OpenCurrent();
    f.options.KeyTag = "FIRE_RATING";
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(f.Current("DE", "WIDTH"), "1111");
    EXPECT_EQ(f.Current("E5", "WIDTH"), "1111");
    EXPECT_EQ(f.Current("F3", "WIDTH"), "1200");  // EI60
}

TEST(ImportByKey, SpecifiedColumnsTakeTheKeyFromItsColumnAndEachTagFromItsOwn) {
    KeyImport f;
    f.Book("doors.xlsx", "Columns");
    f.OpenCurrent();
    f.options.AttTagOption = 1;
    f.options.ColumnToTag = {{"C", "MARK"}, {"A", "FIRE_RATING"}};
    f.options.KeyColumn = 3;
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(f.Current("E5", "FIRE_RATING"), "EI120");
    EXPECT_EQ(f.Current("F3", "FIRE_RATING"), "EI15");
    EXPECT_EQ(f.Current("DE", "FIRE_RATING"), "EI30");
}

TEST(ImportByKey, AnUnchangedValueWritesNothingAndAFileStaysAsItWas) {
    KeyImport f;
    f.Book("doors.xlsx", "Ratings");
    f.options.KeyTag = "FIRE_RATING";
    f.options.BlockNames = "WINDOW;";  // windows have no FIRE_RATING: nothing matches
    f.options.DrawingOption = 1;
    f.options.Drawings.Add(f.drawing);
    const std::string before = *base::ReadFile(f.drawing);
    auto stamp = std::filesystem::last_write_time(f.drawing);
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(*base::ReadFile(f.drawing), before);
    EXPECT_EQ(std::filesystem::last_write_time(f.drawing), stamp);
    EXPECT_FALSE(base::FileExists(f.temp / "plan.bak"));
    EXPECT_NE(f.Printed().find("Successfully update " + f.drawing + "."), std::string::npos);
}

TEST(ImportByKey, AFileOfTheListIsWrittenWithABackupAndToldOnce) {
    KeyImport f;
    f.Book("doors.xlsx", "Doors");
    f.options.DrawingOption = 1;
    f.options.Drawings.Add(f.drawing);
    f.options.Drawings.Add(f.temp / "gone.dxf");
    const std::string before = *base::ReadFile(f.drawing);
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(AttText(f.drawing, "DE", "WIDTH"), "950");
    EXPECT_EQ(*base::ReadFile(f.temp / "plan.bak"), before);
    EXPECT_EQ(f.Printed(), "Successfully update " + f.drawing + ".\nCannot find " + (f.temp / "gone.dxf") +
                               ".\nSuccessfully import the attribute values.");
}

TEST(ImportByKey, ADrawingListOnSeveralThreadsTellsAndWritesWhatOneThreadDoes) {
    std::string oneThread;
    std::vector<std::string> written;
    for (int threads : {1, 3}) {
        KeyImport f;
        f.Book("doors.xlsx", "Doors");
        f.options.DrawingOption = 1;
        for (int i = 0; i < 8; ++i) {
            f.options.Drawings.Add(i == 5 ? f.temp / "missing.dxf" : f.Copy(kSample, base::Sprintf("d%d.dxf", i)));
        }
        ASSERT_TRUE(f.Run(false, threads));
        std::string printed = f.Printed();
        // The folders differ between the two runs; the words don't.
        for (std::size_t at; (at = printed.find(f.temp.path.string())) != std::string::npos;)
            printed.replace(at, f.temp.path.string().size(), "@");
        if (threads == 1) {
            oneThread = printed;
            for (int i = 0; i < 8; ++i) {
                if (i != 5) written.push_back(*base::ReadFile(f.temp / base::Sprintf("d%d.dxf", i)));
            }
        } else {
            EXPECT_EQ(printed, oneThread);
            std::size_t n = 0;
            for (int i = 0; i < 8; ++i) {
                if (i != 5) {
                    EXPECT_EQ(*base::ReadFile(f.temp / base::Sprintf("d%d.dxf", i)), written[n++]);
                }
            }
        }
    }
    EXPECT_NE(oneThread.find("Cannot find @/missing.dxf."), std::string::npos) << oneThread;
}

TEST(ImportByKey, ADryRunListsTheChangesAndTheRowsThatMatchedNothingAndWritesNothing) {
    KeyImport f;
    f.Book("doors.xlsx", "Doors");
    f.options.DrawingOption = 1;
    f.options.Drawings.Add(f.drawing);
    const std::string before = *base::ReadFile(f.drawing);
    ASSERT_TRUE(f.Run(true));
    EXPECT_EQ(*base::ReadFile(f.drawing), before);
    EXPECT_EQ(f.Printed(), "");
    // DE: WIDTH, FIRE_RATING and both NOTEs; EC: FIRE_RATING, and the NOTE the empty cell empties.
    ASSERT_EQ(f.report.changes.size(), 6u);
    EXPECT_EQ(f.report.changes[0].handle, "DE");
    EXPECT_EQ(f.report.changes[0].field, "WIDTH");
    EXPECT_EQ(f.report.changes[0].oldValue, "900");
    EXPECT_EQ(f.report.changes[0].newValue, "950");
    EXPECT_EQ(f.report.unmatchedRows, std::vector<std::string>{"Doors: row 4"});
}

TEST(ImportByKey, AKeyColumnMissingFromTheHeaderRowIsSaidAndTheDrawingLeftAlone) {
    KeyImport f;
    f.Book("doors.xlsx", "Doors");
    f.OpenCurrent();
    f.options.KeyTag = "ASSET_ID";
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(f.Printed(), "Cannot find the column of the key attribute in the header row.\n"
                           "Successfully import Doors.\nSuccessfully import the attribute values.");
    EXPECT_FALSE(host::DocumentManager::Instance().CurDocument()->Database().IsModified());
}

TEST(ImportByKey, DwgFileKeysPickTheReferencesOfEachLayout) {
    KeyImport f;
    f.Book("by-drawing.xlsx", "Sheet");
    f.options.KeyTag = "DWG File";
    f.options.BlockNames = "TITLEBLOCK;";
    f.OpenCurrent();
    ASSERT_TRUE(f.Run()) << f.Printed();
    EXPECT_EQ(f.Current("13D", "SHEET"), "Sheet one");
    EXPECT_EQ(f.Current("142", "SHEET"), "Sheet two");
    EXPECT_EQ(f.Current("13D", "PROJECT"), "Harbour Office");
}

TEST(ImportByKey, DwgFileKeysWithoutTheDrawingColumnAreSaid) {
    KeyImport f;
    f.Book("doors.xlsx", "Doors");
    f.options.KeyTag = "DWG File";
    f.OpenCurrent();
    ASSERT_TRUE(f.Run());
    EXPECT_EQ(f.Printed().substr(0, 51), "Cannot find the dwg file column in the header row.\n");
}

TEST(ImportByKey, MultileadersTakeTheirBlocksAttributeValuesByKey) {
    KeyImport f;
    f.drawing = f.Copy(kFixtures + "leaders.dxf", "leaders.dxf");
    f.Book("leaders.xlsx", "Sheet");
    f.options.KeyTag = "ID";
    f.options.BlockNames = "TAGBOX;";
    f.options.DrawingOption = 1;
    f.options.Drawings.Add(f.drawing);
    ASSERT_TRUE(f.Run()) << f.Printed();
    auto db = cad::Database::Open(f.drawing);
    ASSERT_TRUE(db);
    std::vector<std::string> labels;
    for (const cad::Entity& entity : (*db)->Select({{0, "MULTILEADER"}})) {
        cad::MLeader leader(entity.GetDatabase(), entity.Index());
        for (const cad::AttributeDefinition& definition : leader.BlockContent().AttributeDefinitions()) {
            if (definition.Tag() == "LABEL") labels.push_back(leader.GetBlockAttributeValue(definition).Value());
        }
    }
    EXPECT_EQ(labels, (std::vector<std::string>{"new one", "new two", "stays"}));
}

TEST(ImportByKey, SaveAsCurrentDwgVersionBringsAnOldFileToTheNewestReleaseButNeverTheCurrentDocument) {
    KeyImport f;
    f.Book("doors.xlsx", "Doors");
    std::string old = f.Copy(kFixtures + "doors-r2000.dxf", "old.dxf");
    f.options.SaveAsCurrentDwgVersion = 1;
    f.options.DrawingOption = 1;
    f.drawing = f.Copy(kFixtures + "doors-r2000.dxf", "current.dxf");
    f.options.Drawings.Add(old);
    f.options.Drawings.Add(f.drawing);
    f.OpenCurrent();  // also on the list, as the current document
    const std::string current = *base::ReadFile(f.drawing);
    ASSERT_TRUE(f.Run()) << f.Printed();
    auto upgraded = cad::Database::Open(old);
    ASSERT_TRUE(upgraded);
    EXPECT_EQ((*upgraded)->Version(), "AC1032");
    const std::string first = (*upgraded)->Select({{0, "INSERT"}}).front().HandleString();
    EXPECT_EQ(AttText(old, first, "WIDTH"), "950");
    // The current document is changed in memory, in its own release, and saved by the host.
    EXPECT_EQ(*base::ReadFile(f.drawing), current);
    EXPECT_EQ(host::DocumentManager::Instance().CurDocument()->Database().Version(), "AC1015");
    EXPECT_EQ(f.Current(first, "WIDTH"), "950");
}

TEST(ImportByKey, DrawingsThatCannotBeReadOrSavedAreToldAndCountedAndTheOthersGoOn) {
    KeyImport f;
    f.Book("doors.xlsx", "Doors");
    std::string locked = f.Copy(kSample, "locked.dxf");
    std::filesystem::permissions(locked, std::filesystem::perms::owner_read | std::filesystem::perms::group_read |
                                             std::filesystem::perms::others_read);
    std::string broken = f.temp / "broken.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(broken, "garbage\n"));
    const std::string lockedBytes = *base::ReadFile(locked);
    f.options.DrawingOption = 1;
    for (const std::string& path : {locked, broken, f.drawing}) f.options.Drawings.Add(path);
    ASSERT_TRUE(f.Run(false, 2));
    EXPECT_EQ(f.report.failedDrawings, 2);
    EXPECT_EQ(*base::ReadFile(locked), lockedBytes);
    EXPECT_EQ(AttText(f.drawing, "DE", "WIDTH"), "950");
    // The line ends in one period, however the failure's own text ends.
    EXPECT_NE(f.Printed().find("Failed to save " + locked + ": "), std::string::npos) << f.Printed();
    EXPECT_NE(f.Printed().find("Failed to open " + broken + ": "), std::string::npos) << f.Printed();
    EXPECT_EQ(f.Printed().find(".."), std::string::npos) << f.Printed();
}

TEST(ImportByKey, ASheetThatIsNotThereEndsTheWorkWithoutASuccessLineAndIsNamed) {
    KeyImport f;
    f.Book("doors.xlsx", "Doors");
    f.OpenCurrent();
    f.options.Worksheet = "Nope";
    EXPECT_FALSE(f.Run());
    EXPECT_EQ(f.report.missingSheet, "Nope");
    EXPECT_EQ(f.Printed(), "");
}

}  // namespace
}  // namespace attbat
