// `velmar export --link-external` end to end: the sample drawing's doors tied to a workbook that
// another program wrote, through the preview page's "Link External Data", and the linked sheet
// then read back by the import by handle.

#include <gtest/gtest.h>

#include <filesystem>

#include "arxutils/ArxUtils.h"
#include "attbat/export/ExportCommands.h"
#include "attbat/export/ExportTestSupport.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/import/ImportCommands.h"
#include "base/File.h"
#include "cad/BlockReference.h"
#include "cad/Text.h"
#include "cli/CommandLine.h"
#include "cli/ExitCodes.h"

namespace attbat {
namespace {

using arxutils::ExcelUtils;
using cli::exitFailed;
using cli::exitOk;
using cli::exitUsage;
using testing::TempFolder;
namespace excel = arxutils::excel;

struct Cell {
    const char* address;
    std::string value;
    std::string comment = {};
};

// The sample's doors as the preview shows them with --block-wildcard DOOR: their marks stand in
// column C, and DE, E5, EC, F3 and FA are the references that hold D01 to D05.
struct LinkFixture {
    TempFolder temp;
    std::string settings = temp / "settings.ini";
    std::string drawing = temp / "floor.dxf";
    std::string workbook = temp / "doors.xlsx";

    LinkFixture() {
        std::filesystem::copy_file(std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf", drawing);
        ImplementExportCommands(TheApp());
        ImplementImportCommands(TheApp());
        // A supplier's door list: a header, the marks in column A in an order of its own, a
        // note of its own and a second sheet.
        MakeWorkbook({{"A1", "Door"},
                      {"B1", "Supplier"},
                      {"A2", "D02"},
                      {"B2", "Bolt", "checked"},
                      {"A3", "D01"},
                      {"B3", "Acme"},
                      {"A4", "D05"},
                      {"A5", "D04"},
                      {"A6", "D03"}},
                     {{"A1", "Cover"}});
    }
    ~LinkFixture() {
        host::DocumentManager::Instance().CloseAll();
        host::CurrentPrinter().Capture(false);
    }
    int Run(std::vector<std::string> words) {
        std::vector<std::string> args = {"--settings", settings, "--drawing", drawing};
        args.insert(args.end(), words.begin(), words.end());
        host::CurrentPrinter().Capture(true);
        host::CurrentPrinter().ClearCaptured();
        int code = cli::RunCommandLine(args, TheApp());
        host::DocumentManager::Instance().CloseAll();
        return code;
    }
    // The export pressing "Link External Data" over the doors, with `more` options.
    int Link(std::vector<std::string> more = {}) {
        std::vector<std::string> args = {
            "export", "--block-wildcard",     "DOOR", "--link-external",
            workbook, "--drawing-key-column", "C",    "--sheet-key-column",
            "A"};
        args.insert(args.begin(), more.begin(), more.end());
        return Run(args);
    }
    std::string Printed() const { return host::CurrentPrinter().Captured(); }
    std::string Warnings() const { return host::CurrentPrinter().CapturedWarnings(); }
    std::string Said() const { return Printed() + Warnings(); }

    // A workbook with these cells (and comments) on sheet "Doors", the other list on "Cover".
    void MakeWorkbook(std::initializer_list<Cell> doors, std::initializer_list<Cell> cover) {
        host::CurrentPrinter().Capture(true);
        excel::FileBackendOptions options;
        options.output = workbook;
        options.force = true;
        testing::BackendScope scope(options);
        ASSERT_TRUE(ExcelUtils::StartExcel(false));
        ASSERT_TRUE(ExcelUtils::AddWorkbook());
        auto sheets = ExcelUtils::Workbook->GetWorksheets();
        sheets->Item(1)->SetName("Doors");
        sheets->Add();
        sheets->Item(1)->SetName("Cover");
        auto fill = [&](excel::Worksheet& sheet, std::initializer_list<Cell> list) {
            for (const Cell& cell : list) {
                sheet.GetRange(cell.address)->SetValue(excel::Variant::String(cell.value));
                if (!cell.comment.empty())
                    sheet.GetRange(cell.address)->AddComment(cell.comment);
            }
        };
        fill(*sheets->Item("Doors"), doors);
        fill(*sheets->Item("Cover"), cover);
        sheets->Item("Doors")->Activate();
        base::Status saved = scope.Save();
        ASSERT_TRUE(saved) << saved.Message();
    }
    // The comment of a cell of the workbook on disk; "" for none.
    std::string CommentAt(const std::string& address, const std::string& sheet = "Doors") {
        excel::FileBackendOptions options;
        options.workbook = workbook;
        testing::BackendScope scope(options);
        EXPECT_TRUE(ExcelUtils::ConnectToExcel(false));
        auto note =
            ExcelUtils::Workbook->GetWorksheets()->Item(sheet)->GetRange(address)->GetComment();
        return note ? note->Text() : std::string();
    }
    // Another program changes a cell of the workbook and saves it.
    void SetCell(const std::string& address, const std::string& value) {
        excel::FileBackendOptions options;
        options.workbook = workbook;
        testing::BackendScope scope(options);
        ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
        ExcelUtils::Workbook->GetWorksheets()->Item("Doors")->GetRange(address)->SetValue(
            excel::Variant::String(value));
        ASSERT_TRUE(scope.Save());
    }
    std::string Key(const std::string& handle) const { return drawing + "<" + handle + "_MARK>"; }
    std::string Mark(const std::string& handle) {
        auto db = cad::Database::Open(drawing);
        EXPECT_TRUE(db);
        cad::Object object = arxutils::HandleToId(**db, handle);
        return cad::BlockReference(object.GetDatabase(), object.Index())
            .FindAttribute("MARK")
            .PlainText();
    }
    std::string Bytes(const std::string& path) const {
        auto bytes = base::ReadFile(path);
        return bytes ? *bytes : std::string();
    }
};

TEST(ExportLinkExternal, EachDoorsKeyGoesOnTheCellOfItsMarkAndTheWorkbookIsSavedInPlace) {
    LinkFixture f;
    ASSERT_EQ(f.Link(), exitOk) << f.Said();
    EXPECT_EQ(f.CommentAt("A2"), f.Key("E5"));
    EXPECT_EQ(f.CommentAt("A3"), f.Key("DE"));
    EXPECT_EQ(f.CommentAt("A4"), f.Key("FA"));
    EXPECT_EQ(f.CommentAt("A5"), f.Key("F3"));
    EXPECT_EQ(f.CommentAt("A6"), f.Key("EC"));
    EXPECT_EQ(f.CommentAt("A1"), "");
    EXPECT_EQ(f.CommentAt("B2"), "checked");
    EXPECT_EQ(f.CommentAt("B3"), "");
    // The success comes after the save, and nothing was exported.
    const std::string& printed = f.Printed();
    std::size_t saved = printed.find("Workbook " + f.workbook + " saved.");
    std::size_t linked = printed.find("Velmar: Link the external data successfully.");
    ASSERT_NE(saved, std::string::npos) << printed;
    ASSERT_NE(linked, std::string::npos) << printed;
    EXPECT_LT(saved, linked);
    EXPECT_EQ(printed.find("Successfully export the data."), std::string::npos) << printed;
    int books = 0;
    for (const auto& entry : std::filesystem::directory_iterator(f.temp.path))
        books += entry.path().extension() == ".xlsx";
    EXPECT_EQ(books, 1);
}

TEST(ExportLinkExternal, TheLinkedSheetThenImportsByHandle) {
    LinkFixture f;
    ASSERT_EQ(f.Link(), exitOk) << f.Said();
    f.SetCell("A6", "D03-A");
    ASSERT_EQ(f.Mark("EC"), "D03");
    ASSERT_EQ(f.Run({"--workbook", f.workbook, "import-by-handle", "--sheets", "active"}), exitOk)
        << f.Said();
    EXPECT_EQ(f.Mark("EC"), "D03-A");
    EXPECT_EQ(f.Mark("DE"), "D01");
    EXPECT_EQ(f.Mark("E5"), "D02");
}

TEST(ExportLinkExternal, AnotherSheetIsChosenByName) {
    LinkFixture f;
    f.MakeWorkbook({{"A1", "Door"}}, {{"C7", "D04"}});
    ASSERT_EQ(f.Run({"--yes", "export", "--block-wildcard", "DOOR", "--link-external", f.workbook,
                     "--external-sheet", "cover", "--drawing-key-column", "c", "--sheet-key-column",
                     "c"}),
              exitOk)
        << f.Said();
    EXPECT_EQ(f.CommentAt("C7", "Cover"), f.Key("F3"));
}

TEST(ExportLinkExternal, IgnoringTheFirstRowPutsTheCommentsOneRowHigher) {
    LinkFixture f;
    f.MakeWorkbook(
        {{"A1", "Door"}, {"A2", "D02"}, {"A3", "D01"}, {"A4", "D05"}, {"A5", "D04"}, {"A6", "D03"}},
        {});
    ASSERT_EQ(f.Run({"export", "--block-wildcard", "DOOR", "--link-external", f.workbook,
                     "--drawing-key-column", "C", "--sheet-key-column", "A", "--ignore-first-row",
                     "on", "--case-sensitive", "on"}),
              exitOk)
        << f.Said();
    EXPECT_EQ(f.CommentAt("A1"), f.Key("E5"));
    EXPECT_EQ(f.CommentAt("A5"), f.Key("EC"));
    EXPECT_EQ(f.CommentAt("A6"), "");
}

TEST(ExportLinkExternal, UnmatchedKeysAnsweredNoWriteNothingAndCountAsCancelled) {
    LinkFixture f;
    f.MakeWorkbook({{"A1", "D01"}, {"A2", "D02"}}, {});
    const std::string before = f.Bytes(f.workbook);
    ::testing::internal::CaptureStdout();
    int code = f.Link({"--no", "--json"});
    std::string out = ::testing::internal::GetCapturedStdout();
    ASSERT_EQ(code, exitFailed) << f.Said();
    EXPECT_NE(out.find("\"status\": \"cancelled\""), std::string::npos) << out;
    EXPECT_NE(out.find("\"comments\": 0"), std::string::npos) << out;
    EXPECT_EQ(f.Bytes(f.workbook), before);
    EXPECT_NE(
        f.Said().find("The following data cannot be matched. Do you want to link the other data?"),
        std::string::npos)
        << f.Said();
    EXPECT_EQ(f.Said().find("Link the external data successfully."), std::string::npos);
}

TEST(ExportLinkExternal, UnmatchedKeysAnsweredYesLinkTheOthers) {
    LinkFixture f;
    f.MakeWorkbook({{"A1", "D01"}, {"A2", "D02"}}, {});
    ASSERT_EQ(f.Link({"--yes"}), exitOk) << f.Said();
    EXPECT_EQ(f.CommentAt("A1"), f.Key("DE"));
    EXPECT_EQ(f.CommentAt("A2"), f.Key("E5"));
}

TEST(ExportLinkExternal, JsonSummaryGivesTheMatchedTheUnmatchedAndTheComments) {
    LinkFixture f;
    f.MakeWorkbook({{"A1", "D01"}, {"A2", "D02"}, {"A3", "D07"}}, {});
    ::testing::internal::CaptureStdout();
    int code = f.Link({"--yes", "--json"});
    std::string out = ::testing::internal::GetCapturedStdout();
    ASSERT_EQ(code, exitOk) << f.Said();
    EXPECT_NE(out.find("\"status\": \"ok\""), std::string::npos) << out;
    EXPECT_NE(out.find("\"matched\": 2"), std::string::npos) << out;
    EXPECT_NE(out.find("\"unmatched\": [\"D03\", \"D05\", \"D04\"]"), std::string::npos) << out;
    EXPECT_NE(out.find("\"comments\": 2"), std::string::npos) << out;
    EXPECT_NE(out.find("\"linked\": true"), std::string::npos) << out;
}

TEST(ExportLinkExternal, ACellWithACommentEndsTheLinkAndNothingIsSaved) {
    LinkFixture f;
    ASSERT_EQ(f.Link(), exitOk) << f.Said();
    const std::string before = f.Bytes(f.workbook);
    EXPECT_EQ(f.Link(), exitFailed);
    EXPECT_NE(f.Said().find("Application-defined or object-defined error"), std::string::npos)
        << f.Said();
    EXPECT_EQ(f.Said().find("Link the external data successfully."), std::string::npos) << f.Said();
    EXPECT_EQ(f.Bytes(f.workbook), before);
}

TEST(ExportLinkExternal, SuccessIsNotToldWhenTheWorkbookCouldNotBeSaved) {
    LinkFixture f;
    // Another program has the workbook open: its lock file stands beside it.
    ASSERT_TRUE(base::WriteFileAtomic(f.temp / ".~lock.doors.xlsx#", "x"));
    const std::string before = f.Bytes(f.workbook);
    EXPECT_EQ(f.Link(), exitFailed);
    EXPECT_NE(f.Warnings().find("is open in another program"), std::string::npos) << f.Warnings();
    EXPECT_EQ(f.Said().find("Link the external data successfully."), std::string::npos) << f.Said();
    EXPECT_EQ(f.Bytes(f.workbook), before);
}

TEST(ExportLinkExternal, ACheckOfTheDialogThatFailsExitsOne) {
    LinkFixture f;
    f.MakeWorkbook({{"A1", "D01"}, {"A2", "D01"}}, {});
    const std::string before = f.Bytes(f.workbook);
    EXPECT_EQ(f.Link(), exitFailed);
    EXPECT_NE(f.Said().find(
                  "Velmar: The data column in the external data does not contain unique values."),
              std::string::npos)
        << f.Said();
    EXPECT_EQ(f.Bytes(f.workbook), before);
}

TEST(ExportLinkExternal, AWorkbookThatIsNotThereExitsOne) {
    LinkFixture f;
    std::filesystem::remove(f.workbook);
    EXPECT_EQ(f.Link(), exitFailed);
    EXPECT_NE(f.Said().find("doors.xlsx"), std::string::npos) << f.Said();
}

TEST(ExportLinkExternal, ItsControlsWithoutTheMenuItemAreBadUsage) {
    LinkFixture f;
    for (const char* option : {"--drawing-key-column", "--sheet-key-column", "--external-sheet"}) {
        EXPECT_EQ(f.Run({"export", "--block-wildcard", "DOOR", option, "C"}), exitUsage) << option;
        EXPECT_NE(f.Warnings().find("--link-external BOOK"), std::string::npos) << f.Warnings();
    }
    EXPECT_EQ(f.Run({"export", "--ignore-first-row", "on"}), exitUsage);
}

TEST(ExportLinkExternal, MissingKeyColumnsAreBadUsage) {
    LinkFixture f;
    EXPECT_EQ(f.Run({"export", "--block-wildcard", "DOOR", "--link-external", f.workbook,
                     "--drawing-key-column", "C"}),
              exitUsage);
    EXPECT_NE(f.Warnings().find("--sheet-key-column LETTER"), std::string::npos) << f.Warnings();
}

TEST(ExportLinkExternal, LettersThatAreNoColumnAreBadUsage) {
    LinkFixture f;
    const std::string before = f.Bytes(f.workbook);
    for (const char* letters : {"A1", "AAA", "3", "YZ", "-"}) {
        EXPECT_EQ(f.Run({"export", "--block-wildcard", "DOOR", "--link-external", f.workbook,
                         "--drawing-key-column", "C", "--sheet-key-column", letters}),
                  exitUsage)
            << letters;
    }
    EXPECT_NE(f.Warnings().find("give its letters, A to YY"), std::string::npos) << f.Warnings();
    // The preview of the doors has columns A to G.
    EXPECT_EQ(f.Run({"export", "--block-wildcard", "DOOR", "--link-external", f.workbook,
                     "--drawing-key-column", "H", "--sheet-key-column", "A"}),
              exitUsage);
    EXPECT_NE(f.Warnings().find("the preview has columns A to G"), std::string::npos)
        << f.Warnings();
    EXPECT_EQ(f.Bytes(f.workbook), before);
}

TEST(ExportLinkExternal, ASheetTheWorkbookDoesNotHoldIsBadUsage) {
    LinkFixture f;
    EXPECT_EQ(f.Run({"export", "--block-wildcard", "DOOR", "--link-external", f.workbook,
                     "--external-sheet", "Windows", "--drawing-key-column", "C",
                     "--sheet-key-column", "A"}),
              exitUsage);
    EXPECT_NE(f.Warnings().find("its sheets are \"Cover\", \"Doors\""), std::string::npos)
        << f.Warnings();
}

TEST(ExportLinkExternal, PreviewAndLinkTogetherAreBadUsage) {
    LinkFixture f;
    EXPECT_EQ(f.Run({"export", "--preview", "--link-external", f.workbook, "--drawing-key-column",
                     "C", "--sheet-key-column", "A"}),
              exitUsage);
}

}  // namespace
}  // namespace attbat
