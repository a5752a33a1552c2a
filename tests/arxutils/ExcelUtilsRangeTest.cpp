// Reading and writing cells through ExcelUtils: the four reading roads, the staging array, the
// format queues and the other worksheet operations, on real workbook files. TEST_P cases run
// against the file backend here and against a headless soffice in test_arxutils_bridge_calc.
#include "BridgeFixture.h"

#include <cstdio>
#include <cstdlib>

#include "tables/CStringTable.h"
#include "cad/units/UnitSettings.h"
#include "xl/CellRef.h"
#include "xl/NumberFormat.h"
#include "xl/Package.h"

using arxutils::ExcelUtils;
using arxutils::KeyLines;
namespace excel = arxutils::excel;

namespace {

std::vector<std::vector<std::string>> Rows(const tables::CStringTable& table) {
    std::vector<std::vector<std::string>> out;
    for (const auto& row : table) out.emplace_back(row.begin(), row.end());
    return out;
}

using Grid = std::vector<std::vector<std::string>>;

}  // namespace

// Reading.

TEST_P(BackendTest, ReadValuesOnOneEmptyCellGivesOneRowWithOneEmptyString) {
    Attach(MakeBook("a.xlsx"));
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadValues(table, "$D$9"));
    EXPECT_EQ(Rows(table), (Grid{{""}}));
    EXPECT_EQ(table.RangeAddress, "");
}

TEST_P(BackendTest, RowWithTrueInItsSecondCellComesOutOneCellShorter) {
    Attach(CopyData("typed-cells.xlsx"));
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadValues(table, "$A$1", "$C$3"));
    EXPECT_EQ(Rows(table), (Grid{{"a1", "12.5", "c1"}, {"a2", "c2"}, {"a3", "7", "c3"}}));
}

TEST_P(BackendTest, ReadValuesDropsErrorsAndDatesTooSoTheirRowsShift) {
    Attach(CopyData("typed-cells.xlsx"));
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadValues(table, "A4:C5"));
    EXPECT_EQ(Rows(table), (Grid{{"a4", "c4"}, {"a5", "c5"}}));
}

TEST_P(BackendTest, ReadValuesSuppressesTrailingZerosOnlyForItsOwnLength) {
    cad::UnitSettings units;
    units.luprec = 4;
    units.dimzin = 0;
    ExcelUtils::SetDrawingUnits(&units);
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetNumber(1, 1, 12.5);
        s.SetNumber(1, 2, 3);
        s.SetNumber(1, 3, 0.123456);
    }));
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadValues(table, "A1:C1"));
    ExcelUtils::SetDrawingUnits(nullptr);
    EXPECT_EQ(Rows(table), (Grid{{"12.5", "3", "0.1235"}}));
    EXPECT_EQ(units.dimzin, 0);
}

TEST_P(BackendTest, UnitsAreAskedOfTheirSourceOnceAndOnlyWhenValuesAreRead) {
    int asked = 0;
    ExcelUtils::SetDrawingUnitsSource([&asked] {
        ++asked;
        cad::UnitSettings units;
        units.luprec = 2;
        return units;
    });
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) { s.SetNumber(1, 1, 3.14159); }));
    EXPECT_EQ(asked, 0);
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadValues(table, "A1"));
    ASSERT_TRUE(ExcelUtils::ReadValues(table, "A1"));
    ExcelUtils::SetDrawingUnits(nullptr);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(Rows(table), (Grid{{"3.14"}, {"3.14"}}));
}

TEST_P(BackendTest, ReadValuesRestoresDimzinWhenTheReadFails) {
    cad::UnitSettings units;
    units.dimzin = 3;
    ExcelUtils::SetDrawingUnits(&units);
    Attach(MakeBook("a.xlsx"));
    tables::CStringTable table;
    EXPECT_FALSE(ExcelUtils::ReadValues(table, "not an address"));
    ExcelUtils::SetDrawingUnits(nullptr);
    EXPECT_EQ(units.dimzin, 3);
    EXPECT_EQ(LastBox(), "Method 'Range' of object '_Worksheet' failed");
}

TEST_P(BackendTest, ReadValuesOfAWholeCorpusSheetKeepsItsShape) {
    std::string path = CopyCorpus("excel2013-notes-26-merges-validation-names.xlsx");
    Attach(path);
    auto file = xl::Workbook::Open(path);
    ASSERT_TRUE(file);
    xl::Worksheet& sheet = *file.Value()->Sheet(file.Value()->ActiveSheetIndex());
    xl::CellRange used = sheet.UsedRange();
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadValues(table, xl::RangeName(used, true)));
    ASSERT_EQ(table.GetSize(), used.lastRow - used.firstRow + 1);
    auto values = sheet.Values(used);
    for (int r = 0; r < table.GetSize(); ++r) {
        // Every cell but Booleans, errors and dates gives one string.
        int expected = 0;
        for (int c = 0; c < static_cast<int>(values[static_cast<std::size_t>(r)].size()); ++c) {
            const xl::CellValue& v = values[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)];
            bool date = v.type == xl::CellType::Number &&
                        xl::IsDateFormat(sheet.Format(used.firstRow + r, used.firstColumn + c).numberFormat);
            if (v.type != xl::CellType::Boolean && v.type != xl::CellType::Error && !date) ++expected;
        }
        EXPECT_EQ(table[r].GetSize(), expected) << "row " << r;
    }
}

TEST_P(BackendTest, ReadCellsSlowWithTextOnlyFalseOnAHiddenRowGivesEmptyStringsOfFullWidth) {
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) {
        for (int r = 1; r <= 3; ++r)
            for (int c = 1; c <= 3; ++c) s.SetString(r, c, "r" + std::to_string(r) + "c" + std::to_string(c));
        s.SetRowHidden(2, true);
    }));
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadCellsSlow(table, "$A$1:$C$3", false));
    EXPECT_EQ(table.RangeAddress, "$A$1:$C$3");
    EXPECT_EQ(Rows(table), (Grid{{"r1c1", "r1c2", "r1c3"}, {"", "", ""}, {"r3c1", "r3c2", "r3c3"}}));
    tables::CStringTable textOnly;
    ASSERT_TRUE(ExcelUtils::ReadCellsSlow(textOnly, "$A$1:$C$3", true));
    EXPECT_EQ(Rows(textOnly)[1], (std::vector<std::string>{"r2c1", "r2c2", "r2c3"}));
}

TEST_P(BackendTest, ReadCellsSlowOnCorpusHiddenRowsReadsThemEmpty) {
    Attach(CopyCorpus("excel2016-strict-note-hidden-rows-validation.xlsx"));
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadCellsSlow(table, "$C$38:$E$40", false));
    ASSERT_EQ(table.GetSize(), 3);
    EXPECT_EQ(Rows(table)[1], (std::vector<std::string>{"", "", ""}));
    EXPECT_EQ(Rows(table)[2], (std::vector<std::string>{"", "", ""}));
}

TEST_P(BackendTest, ReadCellsSlowGivesDisplayedTextsTrimmed) {
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetString(1, 1, "  padded  ");
        s.SetNumber(1, 2, 0.5);
        s.ApplyFormat({1, 2, 1, 2}, [] { xl::StyleChange c; c.numberFormat = "0.00%"; return c; }());
    }));
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadCellsSlow(table, "$A$1:$B$1", true));
    EXPECT_EQ(Rows(table), (Grid{{"padded", "50.00%"}}));
    tables::CStringTable single;
    ASSERT_TRUE(ExcelUtils::ReadCellsSlow(single, "$A$1", false));
    EXPECT_EQ(Rows(single), (Grid{{"padded"}}));
}

TEST_P(BackendTest, ReadCellsSlowWithACornerBelowOneReadsNothingAndSucceeds) {
    Attach(MakeBook("a.xlsx"));
    tables::CStringTable table;
    EXPECT_TRUE(ExcelUtils::ReadCellsSlow(table, "$A$0:$B$2", true));
    EXPECT_EQ(table.GetSize(), 0);
}

TEST_P(BackendTest, ReadCellsSelectedReadsOnlyTheListedRows) {
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) {
        for (int r = 1; r <= 5; ++r) {
            s.SetString(r, 1, "a" + std::to_string(r));
            s.SetString(r, 2, "b" + std::to_string(r));
        }
    }));
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadCellsSelected(table, "$A$1:$B$5", "$A$2:$B$3, $5", 5, true));
    EXPECT_EQ(Rows(table), (Grid{{"", ""}, {"a2", "b2"}, {"a3", "b3"}, {"", ""}, {"a5", "b5"}}));
    tables::CStringTable all;
    ASSERT_TRUE(ExcelUtils::ReadCellsSelected(all, "$A$1:$B$2", "", 0, true));
    EXPECT_EQ(Rows(all), (Grid{{"a1", "b1"}, {"a2", "b2"}}));
}

TEST_P(BackendTest, ReadCommentAndTextMapsKeyLinesToTheirCellText) {
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetString(2, 2, "Valve");
        s.SetNote(2, 2, "plan.dwg_1F_NAME\nplan.dwg_1F:Layer\nplain note");
        s.SetNumber(3, 3, 4);
        s.SetNote(3, 3, "x:y");
    }));
    KeyLines map;
    ASSERT_TRUE(ExcelUtils::ReadCommentAndText(map, false));
    EXPECT_EQ(map, (KeyLines{{"plan.dwg_1F_NAME", "Valve"}, {"plan.dwg_1F:Layer", "Valve"}, {"x:y", "4"}}));
    KeyLines withoutProperties;
    ASSERT_TRUE(ExcelUtils::ReadCommentAndText(withoutProperties, true));
    EXPECT_EQ(withoutProperties.size(), 2u);
    EXPECT_FALSE(withoutProperties.Find("x:y"));
}

TEST_P(BackendTest, KeyLinesReadFromNotesStayReadableAfterTheWorkbookIsLetGo) {
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetString(2, 2, "Valve");
        s.SetNote(2, 2, "plan.dwg_1F_NAME");
        s.SetString(3, 2, "Pump");
        s.SetNote(3, 2, "plan.dwg_20_NAME\nplan.dwg_20:Layer");
    }));
    KeyLines map;
    ASSERT_TRUE(ExcelUtils::ReadCommentAndText(map, false));
    ExcelUtils::Disconnect();
    arxutils::excel::SetCurrentServer(nullptr);
    backend_.reset();
    EXPECT_EQ(map, (KeyLines{{"plan.dwg_1F_NAME", "Valve"}, {"plan.dwg_20_NAME", "Pump"}, {"plan.dwg_20:Layer", "Pump"}}));
}

TEST_P(BackendTest, ReadCommentAndTextReadsEveryNoteOfACorpusSheet) {
    std::string path = CopyCorpus("excel2007-notes-2049-across-3-sheets.xlsx");
    Attach(path);
    auto notes = ExcelUtils::Worksheet->GetComments();
    EXPECT_GT(notes->Count(), 0);
    KeyLines map;
    EXPECT_TRUE(ExcelUtils::ReadCommentAndText(map, false));
    EXPECT_TRUE(ui_.Shown().empty());
}

TEST_P(BackendTest, ReadCommentsKeepsKeyCommentsWithTheirCellValues) {
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetString(1, 1, "Tag");
        s.SetNote(1, 1, "Velmar_CurrentDrawing");
        s.SetNumber(2, 3, 12.5);
        s.SetNote(2, 3, "plan.dxf<1F>_NAME");
        s.SetString(3, 2, "ignored");
        s.SetNote(3, 2, "just a note");
    }));
    ExcelUtils::StringMap comments, values;
    ASSERT_TRUE(ExcelUtils::ReadComments(comments, values));
    EXPECT_EQ(comments, (ExcelUtils::StringMap{{"Sheet1:$A$1", "Velmar_CurrentDrawing"},
                                                {"Sheet1:$C$2", "plan.dxf<1F>_NAME"}}));
    EXPECT_EQ(values, (ExcelUtils::StringMap{{"Sheet1:$A$1", "Tag"}, {"Sheet1:$C$2", "12.5"}}));
}

TEST_F(BridgeTest, SelectionAddressComesFromTheSelectionOption) {
    excel::FileBackendOptions options;
    options.workbook = MakeBook("a.xlsx");
    options.selection = "b2:d9";
    Install(options);
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(true));
    EXPECT_EQ(ExcelUtils::SelectionAddress(), "$B$2:$D$9");
    EXPECT_EQ(ExcelUtils::Application->ActiveCell()->Address(), "$B$2");
}

TEST_P(BackendTest, SelectionAddressComesFromTheSavedViewOfACorpusFile) {
    // The view is split; its active pane (bottom left) has L1008 selected.
    Attach(CopyCorpus("excel2013-formulas-bools-errors-merges.xlsx"));
    EXPECT_EQ(ExcelUtils::SelectionAddress(), "$L$1008");
    EXPECT_EQ(ExcelUtils::Application->ActiveCell()->Address(), "$L$1008");
}

TEST_F(BridgeTest, SelectionAddressIsEmptyWithoutApplication) {
    EXPECT_EQ(ExcelUtils::SelectionAddress(), "");
}

TEST_P(BackendTest, SheetsAreListedActivatedAndAdded) {
    Attach(CopyCorpus("excel2011mac-notes-stress-5-sheets.xlsx"));
    std::vector<std::string> names;
    ASSERT_TRUE(ExcelUtils::WorksheetNames(names));
    ASSERT_EQ(names.size(), 5u);
    ASSERT_TRUE(ExcelUtils::ActivateSheet(names[2]));
    EXPECT_EQ(ExcelUtils::Worksheet->GetName(), names[2]);
    EXPECT_EQ(ExcelUtils::Application->ActiveSheet()->GetName(), names[2]);
    ASSERT_TRUE(ExcelUtils::ActivateSheet(4));
    EXPECT_EQ(ExcelUtils::Worksheet->GetName(), names[3]);
    EXPECT_FALSE(ExcelUtils::ActivateSheet("No such sheet"));
    EXPECT_FALSE(ExcelUtils::ActivateSheet(9));
    ASSERT_TRUE(ExcelUtils::AddOrActivateSheet("Schedule"));
    EXPECT_EQ(ExcelUtils::Worksheet->GetName(), "Schedule");
    names.clear();
    ExcelUtils::WorksheetNames(names);
    EXPECT_EQ(names.size(), 6u);
    ASSERT_TRUE(ExcelUtils::AddOrActivateSheet("schedule"));
    EXPECT_EQ(ExcelUtils::Worksheet->GetName(), "Schedule");
    EXPECT_TRUE(ui_.Shown().empty());
}

TEST_P(BackendTest, DocumentPropertiesAndLastSaveTimeOfACorpusFile) {
    std::string path = CopyCorpus("excel2013-notes-26-merges-validation-names.xlsx");
    Attach(path);
    auto file = xl::Workbook::Open(path);
    ASSERT_TRUE(file);
    std::string author;
    ASSERT_TRUE(ExcelUtils::ReadDocumentProperty("Last Author", author));
    EXPECT_EQ(author, file.Value()->DocumentProperty("Last Author"));
    arxutils::OleDateTime saved;
    ASSERT_TRUE(ExcelUtils::LastSaveTime(*ExcelUtils::Workbook, saved));
    std::string iso = file.Value()->DocumentProperty("Last Save Time");
    ASSERT_FALSE(iso.empty());
    EXPECT_TRUE(saved.valid);
    int year = std::stoi(iso.substr(0, 4));
    EXPECT_NEAR(saved.days, (year - 1900) * 365.25 + 2, 400);
    std::string text;
    ASSERT_TRUE(ExcelUtils::ReadDocumentProperty("Last Save Time", text));
    EXPECT_EQ(text.substr(0, 10), iso.substr(0, 10));
}

TEST_P(BackendTest, LastSaveTimeOfANewWorkbookIsNow) {
    InstallEmpty();
    ASSERT_TRUE(ExcelUtils::StartExcel(false));
    ASSERT_TRUE(ExcelUtils::AddWorkbook());
    arxutils::OleDateTime when;
    ASSERT_TRUE(ExcelUtils::LastSaveTime(*ExcelUtils::Workbook, when));
    EXPECT_TRUE(when.valid);
    double now = static_cast<double>(std::time(nullptr)) / 86400.0 + 25569.0;
    EXPECT_NEAR(when.days, now, 1.0);
}

TEST_P(BackendTest, CellGeometryComesFromTheSheet) {
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetRowHeight(2, 30);
        s.SetColumnWidth(2, 20);
    }));
    EXPECT_DOUBLE_EQ(ExcelUtils::RowHeight(2, 1), 30);
    EXPECT_DOUBLE_EQ(ExcelUtils::RowTop(3, 1), ExcelUtils::RowTop(2, 1) + 30);
    EXPECT_GT(ExcelUtils::ColumnWidth(1, 2), ExcelUtils::ColumnWidth(1, 1));
    EXPECT_DOUBLE_EQ(ExcelUtils::ColumnLeft(1, 3), ExcelUtils::ColumnLeft(1, 2) + ExcelUtils::ColumnWidth(1, 2));
}

TEST_F(BridgeTest, ColumnsCountDigitsOfTheWorkbooksDefaultFont) {
    // Calibri 11 (Carlito here) has a 7-pixel digit: the default column is 64 pixels, 48 points.
    Attach(MakeBook("calibri.xlsx"));
    EXPECT_DOUBLE_EQ(ExcelUtils::ColumnWidth(1, 1), 48);
    ExcelUtils::Disconnect();
    // Arial 14 (Liberation Sans) has a 10-pixel digit: 8 digits and 5 pixels of padding are 85
    // pixels, rounded up to whole 8 pixels 88, 66 points.
    std::string path = MakeBook("arial.xlsx");
    {
        auto book = xl::Workbook::Open(path);
        ASSERT_TRUE(book) << book.GetStatus().Message();
        xl::Package& package = book.Value()->GetPackage();
        std::string styles = package.Read("xl/styles.xml").Value();
        std::size_t at = styles.find(R"(<sz val="11"/>)");
        ASSERT_NE(at, std::string::npos) << styles;
        styles.replace(at, 14, R"(<sz val="14"/>)");
        at = styles.find(R"(<name val="Calibri"/>)");
        ASSERT_NE(at, std::string::npos) << styles;
        styles.replace(at, 21, R"(<name val="Arial"/>)");
        package.Write("xl/styles.xml", styles);
        ASSERT_TRUE(book.Value()->Save(path));
    }
    Attach(path);
    EXPECT_DOUBLE_EQ(ExcelUtils::ColumnWidth(1, 1), 66);
    EXPECT_DOUBLE_EQ(ExcelUtils::ColumnLeft(1, 3), 132);
}

TEST_F(BridgeTest, WithoutAnyFontColumnsCountSevenPixelDigitsAndTheLogSaysSoOnce) {
    // Fontconfig reads its configuration once a process: the check runs in a fresh one whose
    // configuration knows no font at all.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto run = [this] {
        std::string config = Path("no-fonts.conf");
        ASSERT_TRUE(base::WriteFileAtomic(config, "<?xml version=\"1.0\"?>\n<fontconfig></fontconfig>\n"));
        ::setenv("FONTCONFIG_FILE", config.c_str(), 1);
        std::vector<std::string> logged;
        auto measure = [&](const std::string& name) {
            Attach(MakeBook(name));
            backend_->SetLog([&](const std::string& line) { logged.push_back(line); });
            return ExcelUtils::ColumnWidth(1, 1);
        };
        double first = measure("first.xlsx"), second = measure("second.xlsx");
        for (const std::string& line : logged) std::fprintf(stderr, "%s\n", line.c_str());
        std::exit(first == 48 && second == 48 && logged.size() == 1 ? 0 : 1);
    };
    EXPECT_EXIT(run(), ::testing::ExitedWithCode(0),
                "^Column widths count digits of 7 pixels: the default font Calibri 11 of .*first.xlsx can't be measured "
                "\\(fontconfig finds no font at all for Calibri\\)\\.\n$");
}

// Writing.

TEST_P(BackendTest, PutStagedCellPastTheUpperBoundWritesNothingAndRaisesNothing) {
    std::string path = MakeBook("a.xlsx");
    Attach(path);
    ASSERT_TRUE(ExcelUtils::CreateStagingArray(2, 2));
    ExcelUtils::PutStagedCell("in", 1, 1);
    ExcelUtils::PutStagedCell("past", 2, 0);
    ExcelUtils::PutStagedCell("past", 0, 2);
    ExcelUtils::PutStagedCell("before", -1, 0);
    EXPECT_FALSE(ExcelUtils::FlushStaging("$B$2", false, false));
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadValues(table, "$A$1:$D$4"));
    EXPECT_EQ(Rows(table), (Grid{{"", "", "", ""}, {"", "", "", ""}, {"", "", "in", ""}, {"", "", "", ""}}));
    EXPECT_TRUE(ui_.Shown().empty());
}

TEST_F(BridgeTest, CreateStagingArrayRefusesEmptySizes) {
    EXPECT_FALSE(ExcelUtils::CreateStagingArray(0, 3));
    EXPECT_FALSE(ExcelUtils::CreateStagingArray(3, 0));
    EXPECT_TRUE(ExcelUtils::FlushStaging("A1", false, false));  // nothing staged
}

TEST_F(BridgeTest, AnArrayHoldingAnObjectWritesTheCellsBeforeItAndRaisesTypeMismatch) {
    std::string path = MakeBook("a.xlsx");
    Attach(path);
    using arxutils::excel::Variant;
    auto array = std::make_shared<arxutils::excel::VariantArray>(2, 3);
    array->At(0, 0) = Variant::String("first");
    array->At(0, 1) = Variant::Number(2);
    array->At(1, 0) = Variant::String("kept");
    array->At(1, 1) = Variant::Object(nullptr);
    array->At(1, 2) = Variant::String("never");
    try {
        ExcelUtils::Worksheet->GetRange("B2:D3")->SetValue(Variant::Array(array));
        ADD_FAILURE() << "an object was written into a cell";
    } catch (const arxutils::excel::AutomationError& e) {
        EXPECT_EQ(e.Description(), "Type mismatch");
    }
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadValues(table, "$B$2:$D$3"));
    EXPECT_EQ(Rows(table), (Grid{{"first", "2", ""}, {"kept", "", ""}}));
}

TEST_P(BackendTest, FlushStagingStoresPlainNumbersAsNumbersAndEverythingElseAsText) {
    std::string path = MakeBook("a.xlsx");
    Attach(path);
    const std::vector<std::string> texts = {"12.5", "007", "1e5", "-3", "=SUM(A1)", "2024-01-02", "", "Valve"};
    ASSERT_TRUE(ExcelUtils::CreateStagingArray(1, static_cast<int>(texts.size())));
    for (int c = 0; c < static_cast<int>(texts.size()); ++c) ExcelUtils::PutStagedCell(texts[static_cast<std::size_t>(c)], 0, c);
    ExcelUtils::FlushStaging("A1", false, false);
    auto file = xl::Workbook::Open(Saved(path));
    ASSERT_TRUE(file);
    xl::Worksheet& s = *file.Value()->Sheet(0);
    EXPECT_EQ(s.Value(1, 1).type, xl::CellType::Number);
    EXPECT_EQ(s.Value(1, 1).number, 12.5);
    EXPECT_EQ(s.Value(1, 2).type, xl::CellType::String);
    EXPECT_EQ(s.Value(1, 2).text, "007");
    EXPECT_EQ(s.Value(1, 3).type, xl::CellType::String);
    EXPECT_EQ(s.Value(1, 4).type, xl::CellType::Number);
    EXPECT_EQ(s.Value(1, 5).text, "=SUM(A1)");
    EXPECT_TRUE(s.Value(1, 5).formula.empty());
    EXPECT_EQ(s.Value(1, 6).text, "2024-01-02");
    EXPECT_EQ(s.Value(1, 7).type, xl::CellType::Empty);
    EXPECT_EQ(s.Value(1, 8).text, "Valve");
}

TEST_P(BackendTest, FlushStagingClearsCommentsAndHyperlinksOfTheBlockOnly) {
    std::string path = MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetNote(1, 1, "old key");
        s.SetNote(5, 5, "outside");
        s.AddHyperlink(1, 2, "https://example.com");
    });
    Attach(path);
    ASSERT_TRUE(ExcelUtils::CreateStagingArray(2, 2));
    ExcelUtils::PutStagedCell("x", 0, 0);
    ExcelUtils::FlushStaging("A1", true, true);
    auto file = xl::Workbook::Open(Saved(path));
    ASSERT_TRUE(file);
    xl::Worksheet& s = *file.Value()->Sheet(0);
    EXPECT_EQ(s.NoteAt(1, 1), nullptr);
    ASSERT_NE(s.NoteAt(5, 5), nullptr);
    EXPECT_TRUE(s.Hyperlinks().empty());
}

TEST_P(BackendTest, SetCellValueAndSetCommentWriteOneCell) {
    std::string path = MakeBook("a.xlsx", [](xl::Worksheet& s) { s.SetNote(2, 2, "old"); });
    Attach(path);
    ASSERT_TRUE(ExcelUtils::SetCellValue(2, 2, "value"));
    ASSERT_TRUE(ExcelUtils::SetComment("$B$2", "new key"));
    ASSERT_TRUE(ExcelUtils::SetComment("C3", "fresh"));
    auto comment = ExcelUtils::Worksheet->GetRange("B2")->GetComment();
    ASSERT_TRUE(comment);
    EXPECT_EQ(comment->Text(), "new key");
    EXPECT_EQ(ExcelUtils::Worksheet->GetComments()->Count(), 2);
    EXPECT_EQ(ExcelUtils::Worksheet->GetRange("B2")->Text().text, "value");
}

TEST_P(BackendTest, NotesSetAtOnceReplaceTheCellsOwnAndEmptyTextsLeaveTheirCellsAlone) {
    std::string path = MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetNote(2, 2, "old key of B2");
        s.SetNote(2, 3, "old key of C2");
        s.SetNote(9, 9, "key of I9");
    });
    Attach(path);
    const std::vector<std::string_view> notes = {"new key of B2", "", "key of D2",  //
                                                 "key of B3", "", ""};
    ExcelUtils::Worksheet->GetRange("B2")->SetComments(notes, 3);
    auto text = [](const char* cell) {
        auto comment = ExcelUtils::Worksheet->GetRange(cell)->GetComment();
        return comment ? comment->Text() : std::string("<none>");
    };
    EXPECT_EQ(text("B2"), "new key of B2");
    EXPECT_EQ(text("C2"), "old key of C2");
    EXPECT_EQ(text("D2"), "key of D2");
    EXPECT_EQ(text("B3"), "key of B3");
    EXPECT_EQ(text("C3"), "<none>");
    EXPECT_EQ(text("I9"), "key of I9");
    EXPECT_EQ(ExcelUtils::Worksheet->GetComments()->Count(), 5);
}

TEST_P(BackendTest, WritingValuesKeepsTheCommentsOfTheCells) {
    std::string path = MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetString(2, 2, "old");
        s.SetNote(2, 2, "key of B2");
        s.SetNote(3, 3, "key of C3");
    });
    Attach(path);
    ASSERT_TRUE(ExcelUtils::SetCellValue(2, 2, "new"));
    ASSERT_TRUE(ExcelUtils::CreateStagingArray(2, 2));
    ExcelUtils::PutStagedCell("block", 1, 1);
    ExcelUtils::FlushStaging("B2", false, false);
    auto file = xl::Workbook::Open(Saved(path));
    ASSERT_TRUE(file);
    xl::Worksheet& s = *file.Value()->Sheet(0);
    EXPECT_EQ(s.Value(2, 2).text, "");
    EXPECT_EQ(s.Value(3, 3).text, "block");
    ASSERT_NE(s.NoteAt(2, 2), nullptr);
    ASSERT_NE(s.NoteAt(3, 3), nullptr);
    EXPECT_EQ(ExcelUtils::Worksheet->GetRange("B2")->GetComment()->Text(), "key of B2");
    EXPECT_EQ(ExcelUtils::Worksheet->GetRange("C3")->GetComment()->Text(), "key of C3");
}

TEST_P(BackendTest, TwentyOneQueuedAddressesGoOutInTwoCallsOfTwentyAndOne) {
    Attach(MakeBook("a.xlsx"));
    for (int r = 1; r <= 21; ++r) ASSERT_TRUE(ExcelUtils::AddFont(r, 1, r, r == 21 ? 2 : 1, true, false));
    auto batches = ExcelUtils::AddressBatches(ExcelUtils::PendingBold);
    ASSERT_EQ(batches.size(), 2u);
    EXPECT_EQ(std::count(batches[0].begin(), batches[0].end(), ','), 19);
    EXPECT_EQ(batches[0].substr(0, 10), "$A$1,$A$2,");
    EXPECT_EQ(batches[1], "$A$21:$B$21");
    ASSERT_TRUE(ExcelUtils::ApplyFonts());
    EXPECT_TRUE(ExcelUtils::PendingBold.empty());
    auto file = xl::Workbook::Open(Saved(Path("a.xlsx")));
    xl::Worksheet& s = *file.Value()->Sheet(0);
    for (int r = 1; r <= 21; ++r) EXPECT_TRUE(s.Format(r, 1).bold) << r;
    EXPECT_TRUE(s.Format(21, 2).bold);
    EXPECT_FALSE(s.Format(20, 2).bold);
    EXPECT_FALSE(s.Format(22, 1).bold);
}

TEST_F(BridgeTest, AddressBatchesSplitAtEveryTwentiethComma) {
    std::string list;
    for (int i = 1; i <= 40; ++i) list += (i > 1 ? "," : "") + std::string("$A$") + std::to_string(i);
    auto batches = ExcelUtils::AddressBatches(list);
    ASSERT_EQ(batches.size(), 2u);
    EXPECT_EQ(batches[1].substr(0, 6), "$A$21,");
    EXPECT_TRUE(ExcelUtils::AddressBatches("").empty());
    EXPECT_EQ(ExcelUtils::AddressBatches("$A$1"), (std::vector<std::string>{"$A$1"}));
}

TEST_F(BridgeTest, QueuesRefuseNumbersBelowOneAndAddFontWithoutFlagsQueuesNothing) {
    EXPECT_FALSE(ExcelUtils::AddFont(0, 1, 1, 1, true, false));
    EXPECT_FALSE(ExcelUtils::AddHorizontal(1, 0, 1, 1, excel::xlCenter));
    EXPECT_FALSE(ExcelUtils::AddVertical(1, 1, -1, 1, excel::xlTop));
    EXPECT_FALSE(ExcelUtils::AddInterior(1, 1, 1, 0, 6));
    EXPECT_FALSE(ExcelUtils::AddWrap(0, 0, 0, 0));
    EXPECT_TRUE(ExcelUtils::AddFont(1, 1, 1, 1, false, false));
    EXPECT_TRUE(ExcelUtils::PendingBold.empty());
    EXPECT_TRUE(ExcelUtils::PendingItalic.empty());
}

TEST_P(BackendTest, KeyedQueuesApplyEachKeyAndEmptyTheirMaps) {
    std::string path = MakeBook("a.xlsx");
    Attach(path);
    ASSERT_TRUE(ExcelUtils::AddHorizontal(1, 1, 1, 1, excel::xlCenter));
    ASSERT_TRUE(ExcelUtils::AddHorizontal(2, 1, 2, 2, excel::xlRight));
    ASSERT_TRUE(ExcelUtils::AddVertical(1, 1, 1, 1, excel::xlTop));
    ASSERT_TRUE(ExcelUtils::AddInterior(3, 1, 3, 1, 6));
    ASSERT_TRUE(ExcelUtils::AddWrap(4, 1, 4, 1));
    ASSERT_TRUE(ExcelUtils::AddFont(5, 1, 5, 1, false, true));
    EXPECT_EQ(ExcelUtils::PendingHorizontal[excel::xlRight], "$A$2:$B$2");
    ASSERT_TRUE(ExcelUtils::ApplyHorizontal());
    ASSERT_TRUE(ExcelUtils::ApplyVertical());
    ASSERT_TRUE(ExcelUtils::ApplyInterior());
    ASSERT_TRUE(ExcelUtils::ApplyWrap());
    ASSERT_TRUE(ExcelUtils::ApplyFonts());
    EXPECT_TRUE(ExcelUtils::PendingHorizontal.empty());
    EXPECT_TRUE(ExcelUtils::PendingInterior.empty());
    auto file = xl::Workbook::Open(Saved(path));
    xl::Worksheet& s = *file.Value()->Sheet(0);
    EXPECT_EQ(s.Format(1, 1).horizontal, xl::HorizontalAlignment::Center);
    EXPECT_EQ(s.Format(1, 1).vertical, xl::VerticalAlignment::Top);
    EXPECT_EQ(s.Format(2, 2).horizontal, xl::HorizontalAlignment::Right);
    EXPECT_EQ(s.Format(3, 1).interiorColorIndex, 6);
    EXPECT_TRUE(s.Format(4, 1).wrap);
    EXPECT_TRUE(s.Format(5, 1).italic);
    EXPECT_FALSE(s.Format(5, 1).bold);
}

TEST_P(BackendTest, SetFormatsAtOnceOnOneAddress) {
    std::string path = MakeBook("a.xlsx");
    Attach(path);
    ASSERT_TRUE(ExcelUtils::SetFont("A1:B1", true, true));
    ASSERT_TRUE(ExcelUtils::SetHorizontal("C1", excel::xlLeft));
    ASSERT_TRUE(ExcelUtils::SetVertical("C1", excel::xlCenter));
    ASSERT_TRUE(ExcelUtils::SetInterior("D1", 3));
    ASSERT_TRUE(ExcelUtils::SetWrap("E1"));
    EXPECT_FALSE(ExcelUtils::SetInterior("D1", 99));  // the application refuses the index
    EXPECT_EQ(LastBox(), "Unable to set the ColorIndex property of the Interior class");
    auto file = xl::Workbook::Open(Saved(path));
    xl::Worksheet& s = *file.Value()->Sheet(0);
    EXPECT_TRUE(s.Format(1, 2).bold && s.Format(1, 2).italic);
    EXPECT_EQ(s.Format(1, 3).horizontal, xl::HorizontalAlignment::Left);
    EXPECT_EQ(s.Format(1, 3).vertical, xl::VerticalAlignment::Center);
    EXPECT_EQ(s.Format(1, 4).interiorColorIndex, 3);
    EXPECT_TRUE(s.Format(1, 5).wrap);
}

TEST_P(BackendTest, SetBorderAlwaysGivesFalseAndSetsTheEdge) {
    std::string path = MakeBook("a.xlsx");
    Attach(path);
    EXPECT_FALSE(ExcelUtils::SetBorder("A1:C3", excel::xlEdgeBottom, excel::xlMedium, excel::xlContinuous,
                                       excel::xlColorIndexAutomatic));
    EXPECT_FALSE(ExcelUtils::SetBorder("A1:C3", excel::xlInsideVertical, excel::xlThin, excel::xlDash, 3));
    EXPECT_TRUE(ui_.Shown().empty());
    if (!IsCalc()) {
        EXPECT_TRUE(backend_->HasChanges());
    }
    auto bytes = xl::Workbook::Open(Saved(path));
    ASSERT_TRUE(bytes);
    auto image = bytes.Value()->GetPackage().Read("xl/styles.xml");
    ASSERT_TRUE(image);
    EXPECT_NE(image.Value().find("medium"), std::string::npos);
    EXPECT_NE(image.Value().find("dashed"), std::string::npos);
}

TEST_P(BackendTest, MergeRangeTurnsAlertsOffAndPutsThemBack) {
    std::string path = MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetString(1, 1, "keep");
        s.SetString(1, 2, "dropped when merged");
    });
    Attach(path);
    ASSERT_TRUE(ExcelUtils::Application->GetDisplayAlerts());
    EXPECT_FALSE(ExcelUtils::MergeRange(0, 1, 1, 2));
    ASSERT_TRUE(ExcelUtils::MergeRange(1, 1, 1, 2));
    EXPECT_TRUE(ui_.Shown().empty());  // no question while alerts are off
    EXPECT_TRUE(ExcelUtils::Application->GetDisplayAlerts());
    EXPECT_EQ(ExcelUtils::Worksheet->GetRange("B1")->MergeArea()->Address(), "$A$1:$B$1");
}

TEST_F(BridgeTest, MergeWithAlertsOnAsksBeforeDroppingValues) {
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetString(1, 1, "keep");
        s.SetString(1, 2, "other");
    }));
    ui_.QueueAnswer(host::BoxAnswer::No);
    ExcelUtils::Worksheet->GetRange("A1:B1")->Merge();
    ASSERT_EQ(ui_.Shown().size(), 1u);
    EXPECT_EQ(ExcelUtils::Worksheet->GetRange("B1")->MergeArea()->Address(), "$B$1");
}

TEST_P(BackendTest, AutoFitWidensColumnsToTheirTextsAndFitsRows) {
    std::string path = MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetString(1, 1, "a rather long text for one column");
        s.SetString(1, 2, "short");
        s.SetString(2, 3, "wrapped\ntext\nover lines");
        s.ApplyFormat({2, 3, 2, 3}, [] { xl::StyleChange c; c.wrap = true; return c; }());
    });
    Attach(path);
    double before = ExcelUtils::ColumnWidth(1, 1);
    ASSERT_TRUE(ExcelUtils::AutoFitColumn(1));
    EXPECT_GT(ExcelUtils::ColumnWidth(1, 1), before);
    ASSERT_TRUE(ExcelUtils::AutoFitColumns("B1:B3"));
    ASSERT_TRUE(ExcelUtils::AutoFitUsedColumns());
    double row = ExcelUtils::RowHeight(2, 1);
    ASSERT_TRUE(ExcelUtils::AutoFitRows("A2:C2"));
    ASSERT_TRUE(ExcelUtils::AutoFitUsedRows());
    EXPECT_GT(ExcelUtils::RowHeight(2, 1), row);
    EXPECT_FALSE(ExcelUtils::SetFont("", true, false));
}

TEST_P(BackendTest, DeleteRowsDeletesInTheOrderGivenAndSaysSoForEach) {
    std::string path = MakeBook("a.xlsx", [](xl::Worksheet& s) {
        for (int r = 1; r <= 6; ++r) s.SetString(r, 1, "row" + std::to_string(r));
        s.SetNote(4, 1, "note of row 4");
    });
    Attach(path);
    // Rows move up as they go: deleting 2 then 2 removes the old rows 2 and 3.
    ASSERT_TRUE(ExcelUtils::DeleteRows({2, 2}));
    EXPECT_EQ(Printed(), "Delete the row 2 successfully.\nDelete the row 2 successfully.");
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadCellsSlow(table, "$A$1:$A$6", true));
    EXPECT_EQ(Rows(table), (Grid{{"row1"}, {"row4"}, {"row5"}, {"row6"}, {""}, {""}}));
    auto moved = ExcelUtils::Worksheet->GetRange("A2")->GetComment();
    ASSERT_TRUE(moved);
    EXPECT_EQ(moved->Text(), "note of row 4");
}

TEST_P(BackendTest, InsertAtMovesCellsDownOrRight) {
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetString(1, 1, "a1");
        s.SetString(2, 1, "a2");
        s.SetString(1, 2, "b1");
    }));
    ASSERT_TRUE(ExcelUtils::InsertAt(1, 1, excel::xlShiftDown));
    ASSERT_TRUE(ExcelUtils::InsertAt(1, 2, excel::xlShiftToRight));
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadCellsSlow(table, "$A$1:$C$3", true));
    EXPECT_EQ(Rows(table), (Grid{{"", "", "b1"}, {"a1", "", ""}, {"a2", "", ""}}));
}

TEST_P(BackendTest, WriterBracketPutsApplicationSettingsBackInOrder) {
    Attach(MakeBook("a.xlsx"));
    ExcelUtils::Application->SetEditDirectlyInCell(true);
    {
        arxutils::ScopedExcelWriting writing;
        EXPECT_FALSE(ExcelUtils::Application->GetDisplayAlerts());
        EXPECT_FALSE(ExcelUtils::Application->GetEditDirectlyInCell());
        ASSERT_TRUE(ExcelUtils::SetEditDirectlyInCell(false));
    }
    EXPECT_TRUE(ExcelUtils::Application->GetDisplayAlerts());
    EXPECT_TRUE(ExcelUtils::Application->GetEditDirectlyInCell());
}

TEST_P(BackendTest, FillTestPatternWritesRowAndColumnIntoEachCell) {
    EXPECT_FALSE(ExcelUtils::FillTestPattern(2, 2));
    EXPECT_EQ(LastBox(), "Please specific a worksheet.");
    Attach(MakeBook("a.xlsx"));
    ASSERT_TRUE(ExcelUtils::FillTestPattern(2, 3));
    tables::CStringTable table;
    ASSERT_TRUE(ExcelUtils::ReadValues(table, "A1:C2"));
    EXPECT_EQ(Rows(table), (Grid{{"r1c1", "r1c2", "r1c3"}, {"r2c1", "r2c2", "r2c3"}}));
}

TEST_P(BackendTest, OperationsWithoutWorksheetReportAndGiveFalse) {
    InstallEmpty();
    tables::CStringTable table;
    EXPECT_FALSE(ExcelUtils::ReadValues(table, "A1"));
    EXPECT_EQ(LastBox(), "No worksheet is attached.");
    KeyLines map;
    EXPECT_FALSE(ExcelUtils::ReadCommentAndText(map, false));
    EXPECT_EQ(LastBox(), "Unknown error in ReadCommentAndText");
}

TEST_P(BackendTest, DeleteRowsMovesFormulasUpWithTheirRows) {
    std::string path = CopyCorpus("libreoffice73-formulas-bools-errors.xlsx");
    Attach(path);
    ASSERT_TRUE(ExcelUtils::DeleteRows({1}));
    EXPECT_EQ(Printed(), "Delete the row 1 successfully.");
    auto file = xl::Workbook::Open(Saved(path));
    ASSERT_TRUE(file);
    xl::CellValue first = file.Value()->Sheet(0)->Value(1, 1);
    EXPECT_EQ(first.formula, "(2 < 4)");
    EXPECT_EQ(first.type, xl::CellType::Boolean);
}

TEST_P(BackendTest, InsertAtRefusesToMoveMergedCellsSideways) {
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetString(1, 3, "merged");
        ASSERT_TRUE(s.Merge({1, 3, 2, 4}));
    }));
    EXPECT_FALSE(ExcelUtils::InsertAt(1, 1, excel::xlShiftToRight));
    EXPECT_EQ(LastBox(), "Merged cells would have to move; insert or delete these cells in the spreadsheet "
                         "program instead.");
    EXPECT_TRUE(ExcelUtils::InsertAt(3, 1, excel::xlShiftToRight));  // nothing merged in row 3
}

TEST_P(BackendTest, ReadValuesOfALoneBooleanCellFailsAsANonArray) {
    Attach(CopyData("typed-cells.xlsx"));
    tables::CStringTable table;
    EXPECT_FALSE(ExcelUtils::ReadValues(table, "B2"));
    EXPECT_EQ(table.GetSize(), 0);
    EXPECT_EQ(LastBox(), "The parameter is incorrect.");
    tables::CStringTable number;
    ASSERT_TRUE(ExcelUtils::ReadValues(number, "B1"));
    EXPECT_EQ(Rows(number), (Grid{{"12.5"}}));
}

TEST_P(BackendTest, FindAnyContentFromTheEndGivesTheLastFilledRowAndColumn) {
    Attach(MakeBook("a.xlsx", [](xl::Worksheet& s) {
        s.SetString(2, 5, "far right");
        s.SetString(7, 2, "last row");
        s.ApplyFormat({20, 1, 20, 1}, [] { xl::StyleChange c; c.bold = true; return c; }());  // format only
    }));
    auto cells = ExcelUtils::Worksheet->Cells();
    auto byRows = cells->Find("*", nullptr, excel::xlByRows, excel::xlPrevious);
    ASSERT_TRUE(byRows);
    EXPECT_EQ(byRows->Address(), "$B$7");
    auto byColumns = cells->Find("*", nullptr, excel::xlByColumns, excel::xlPrevious);
    ASSERT_TRUE(byColumns);
    EXPECT_EQ(byColumns->Address(), "$E$2");
    auto text = cells->Find("LAST ROW", nullptr, excel::xlByRows, excel::xlNext);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->Row(), 7);
    EXPECT_FALSE(cells->Find("absent", nullptr, excel::xlByRows, excel::xlNext));
    cells->SetItem(9, 9, excel::Variant::String("via item"));
    EXPECT_EQ(cells->Find("*", nullptr, excel::xlByRows, excel::xlPrevious)->Address(), "$I$9");
}

TEST_P(BackendTest, DatesOfA1904WorkbookComeOutCountedFrom1899) {
    // B5 holds 45000 shown as a date: counted from 1904 that is 45000 + 1462 days from 1899-12-30.
    Attach(CopyData("typed-cells-1904.xlsx"));
    excel::Variant date = ExcelUtils::Worksheet->GetRange("B5")->GetValue();
    EXPECT_EQ(date.type, excel::VarType::Date);
    EXPECT_EQ(date.number, 45000 + 1462);
    ExcelUtils::Disconnect();
    excel::SetCurrentServer(nullptr);
    Attach(CopyData("typed-cells.xlsx"));
    EXPECT_EQ(ExcelUtils::Worksheet->GetRange("B5")->GetValue().number, 45000);
}
