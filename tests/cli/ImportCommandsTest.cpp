// `velmar import-by-handle` end to end: workbooks with key comments (made by the export command
// or by hand), imported into copies of the sample drawing.

#include "attbat/import/ImportCommands.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "attbat/export/ExportTestSupport.h"
#include "arxutils/ArxUtils.h"
#include "attbat/export/ExportCommands.h"
#include "attbat/frame/CAttBatApp.h"
#include "cli/CommandLine.h"
#include "cli/ExitCodes.h"
#include "attbat/import/CImpExOptDialog.h"
#include "attbat/import/CImportByHandleDialog.h"
#include "attbat/links/ExcelLinkStore.h"
#include "base/File.h"
#include "base/Path.h"
#include "cad/BlockReference.h"
#include "cad/Text.h"
#include "xl/Package.h"
#include "attbat/model/DrawingWriter.h"

namespace attbat {
namespace {

using cli::RunCommandLine;
using cli::exitOk;
using cli::exitFailed;
using cli::exitUsage;

using arxutils::ExcelUtils;
using testing::TempFolder;
namespace excel = arxutils::excel;

const std::string kSample = std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf";

struct Cell {
    const char* address;
    std::string value;
    std::string comment;
};

struct ImportFixture {
    TempFolder temp;
    std::string settings = temp / "settings.ini";
    std::string drawing = Copy("floor.dxf");
    std::string workbook = temp / "floor.xlsx";

    ImportFixture() {
        ImplementExportCommands(TheApp());
        ImplementImportCommands(TheApp());
    }
    ~ImportFixture() {
        host::DocumentManager::Instance().CloseAll();
        host::CurrentPrinter().Capture(false);
    }
    // A copy of the sample under `name` in the test's folder.
    std::string Copy(const std::string& name) {
        std::string path = temp / name;
        std::filesystem::copy_file(kSample, path);
        return path;
    }
    int Run(std::vector<std::string> commandArgs, const std::string& current = {}) {
        std::vector<std::string> args = {"--settings", settings, "--drawing", current.empty() ? drawing : current};
        args.insert(args.end(), commandArgs.begin(), commandArgs.end());
        host::CurrentPrinter().Capture(true);
        host::CurrentPrinter().ClearCaptured();
        int code = RunCommandLine(args, TheApp());
        host::DocumentManager::Instance().CloseAll();
        return code;
    }
    int Import(std::vector<std::string> options = {}, const std::string& current = {}) {
        std::vector<std::string> args = {"--workbook", workbook, "import-by-handle"};
        args.insert(args.end(), options.begin(), options.end());
        return Run(args, current);
    }
    std::string Printed() const { return host::CurrentPrinter().Captured(); }
    // A workbook of one sheet (or more) with these cells and comments.
    void MakeWorkbook(std::initializer_list<Cell> cells, std::initializer_list<Cell> secondSheet = {}) {
        excel::FileBackendOptions options;
        options.output = workbook;
        options.force = true;
        testing::BackendScope scope(options);
        ASSERT_TRUE(ExcelUtils::StartExcel(false));
        ASSERT_TRUE(ExcelUtils::AddWorkbook());
        auto sheets = ExcelUtils::Workbook->GetWorksheets();
        if (secondSheet.size() && sheets->Count() < 2) sheets->Add();
        auto fill = [&](excel::Worksheet& sheet, std::initializer_list<Cell> list) {
            for (const Cell& cell : list) {
                sheet.GetRange(cell.address)->SetValue(excel::Variant::String(cell.value));
                if (!cell.comment.empty()) sheet.GetRange(cell.address)->AddComment(cell.comment);
            }
        };
        fill(*sheets->Item(1), cells);
        if (secondSheet.size()) fill(*sheets->Item(2), secondSheet);
        sheets->Item(1)->Activate();
        base::Status saved = scope.Save();
        ASSERT_TRUE(saved) << saved.Message();
    }
};

std::string Bytes(const std::string& path) {
    auto bytes = base::ReadFile(path);
    return bytes ? *bytes : std::string();
}

// The text of attribute `tag` on the reference `handle` of the drawing file.
std::string AttText(const std::string& path, const std::string& handle, const std::string& tag) {
    auto db = cad::Database::Open(path);
    if (!db) return "(unreadable)";
    cad::Object object = arxutils::HandleToId(**db, handle);
    if (!object) return "(no reference)";
    cad::BlockReference ref(object.GetDatabase(), object.Index());
    cad::Attribute att = ref.FindAttribute(tag);
    return att ? att.TextString() : std::string("(no attribute)");
}

// The sample with these attribute texts set as the writer sets them: the bytes an import of
// exactly these values must give.
std::string Expected(const std::string& path, std::initializer_list<std::pair<const char*, const char*>> marks) {
    auto db = cad::Database::Open(path);
    EXPECT_TRUE(db);
    for (auto [handle, value] : marks) {
        AcadBlockRef row;
        row.handle = handle;
        row.attributes.Add(AcadAttribute("MARK", value, 0));
        EXPECT_TRUE(WriteTo(row, **db, -1, -1));
    }
    return (*db)->Write();
}

TEST(ImportCommands, ExportedSampleWithTwoCellsChangedUpdatesExactlyThoseAttributes) {
    ImportFixture f;
    ASSERT_EQ(f.Run({"--output", f.workbook, "export", "--block-wildcard", "DOOR"}), exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    const std::string original = Bytes(f.drawing);
    // Change the MARK cells of two doors.
    std::vector<std::string> changed;
    {
        excel::FileBackendOptions options;
        options.workbook = f.workbook;
        testing::BackendScope scope(options);
        ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
        auto comments = ExcelUtils::Worksheet->GetComments();
        for (int i = 1; i <= comments->Count() && changed.size() < 2; ++i) {
            auto comment = comments->Item(i);
            std::string text = comment->Text();
            std::size_t lt = text.find('<'), mark = text.find("_MARK>");
            if (lt == std::string::npos || mark == std::string::npos) continue;
            changed.push_back(text.substr(lt + 1, mark - lt - 1));
            comment->Parent()->SetValue(excel::Variant::String("NEW" + std::to_string(changed.size())));
        }
        ASSERT_EQ(changed.size(), 2u);
        ASSERT_TRUE(scope.Save());
    }
    ASSERT_EQ(f.Import(), exitOk) << host::CurrentPrinter().CapturedWarnings();
    EXPECT_NE(f.Printed().find("Successfully read the data of " + f.workbook + "."), std::string::npos) << f.Printed();
    EXPECT_NE(f.Printed().find("Successfully update " + f.drawing + "."), std::string::npos) << f.Printed();
    EXPECT_EQ(AttText(f.drawing, changed[0], "MARK"), "NEW1");
    EXPECT_EQ(AttText(f.drawing, changed[1], "MARK"), "NEW2");
    // Every object but the two attributes is as it was: the file is the sample with just these
    // two texts set.
    std::filesystem::copy_file(kSample, f.temp / "reference.dxf");
    EXPECT_EQ(Bytes(f.drawing), Expected(f.temp / "reference.dxf", {{changed[0].c_str(), "NEW1"}, {changed[1].c_str(), "NEW2"}}));
    EXPECT_EQ(Bytes(base::JoinPath(base::Folder(f.drawing), "floor.bak")), original);

    // A second import changes nothing and leaves the file alone.
    const std::string after = Bytes(f.drawing);
    auto stamp = std::filesystem::last_write_time(f.drawing);
    ASSERT_EQ(f.Import(), exitOk);
    EXPECT_EQ(Bytes(f.drawing), after);
    EXPECT_EQ(std::filesystem::last_write_time(f.drawing), stamp);
}

TEST(ImportCommands, DryRunListsEveryChangeWithOldAndNewValuesAndWritesNothing) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "X01", f.drawing + "<DE_MARK>"},
                    {"A2", "1000", f.drawing + "<E5_WIDTH>"},
                    {"A3", "D03", f.drawing + "<EC_MARK>"}});
    const std::string original = Bytes(f.drawing);
    ASSERT_EQ(f.Import({"--dry-run"}), exitOk) << host::CurrentPrinter().CapturedWarnings();
    EXPECT_NE(f.Printed().find(f.drawing + " DE MARK: 'D01' -> 'X01'"), std::string::npos) << f.Printed();
    // Values that are already there are no change.
    EXPECT_EQ(f.Printed().find("E5 WIDTH"), std::string::npos) << f.Printed();
    EXPECT_EQ(f.Printed().find("EC MARK"), std::string::npos) << f.Printed();
    EXPECT_NE(f.Printed().find("1 change(s); nothing was written."), std::string::npos) << f.Printed();
    EXPECT_EQ(Bytes(f.drawing), original);
    EXPECT_FALSE(base::FileExists(f.temp / "floor.bak"));
}

TEST(ImportCommands, WithCurrentDrawingOnlyAndIgnoreDrawingPathASheetOfAnotherFileUpdatesTheCurrentOne) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "X01", "C:\\elsewhere\\floor.dwg<DE_MARK>"}});
    ASSERT_EQ(f.Import({"--ignore-drawing-path", "on"}), exitOk) << host::CurrentPrinter().CapturedWarnings();
    EXPECT_EQ(AttText(f.drawing, "DE", "MARK"), "X01");
}

TEST(ImportCommands, AnotherDrawingsValuesAreSkippedWithOneMessageUnderCurrentDrawingOnly) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "X01", "C:\\elsewhere\\floor.dwg<DE_MARK>"},
                    {"A2", "X02", "C:\\elsewhere\\floor.dwg<E5_MARK>"}});
    const std::string original = Bytes(f.drawing);
    ASSERT_EQ(f.Import(), exitOk);
    std::string line = "The path of the current drawing is '" + f.drawing +
                       "'. Skip the attribute values of the drawing 'C:\\elsewhere\\floor.dwg'.";
    std::size_t first = f.Printed().find(line);
    EXPECT_NE(first, std::string::npos) << f.Printed();
    EXPECT_EQ(f.Printed().find(line, first + 1), std::string::npos);
    EXPECT_EQ(Bytes(f.drawing), original);
}

TEST(ImportCommands, WithCurrentDrawingOnlyOffKeysNamingSeveralDrawingsUpdateEachSavedOnceWithABackup) {
    ImportFixture f;
    std::string b = f.Copy("b.dxf"), c = f.Copy("c.dxf");
    f.MakeWorkbook({{"A1", "A01", f.drawing + "<DE_MARK>"},
                    {"A2", "B01", b + "<DE_MARK>"},
                    {"A3", "B02", b + "<E5_MARK>"},
                    {"A4", "C01", c + "|Model<DE_MARK>"},
                    {"A5", "C02", c + "<E5_MARK>"}});
    ASSERT_EQ(f.Import({"--current-drawing-only", "off"}), exitOk) << host::CurrentPrinter().CapturedWarnings();
    EXPECT_EQ(AttText(f.drawing, "DE", "MARK"), "A01");
    EXPECT_EQ(AttText(b, "DE", "MARK"), "B01");
    EXPECT_EQ(AttText(b, "E5", "MARK"), "B02");
    EXPECT_EQ(AttText(c, "DE", "MARK"), "C01");
    EXPECT_EQ(AttText(c, "E5", "MARK"), "C02");
    // Saved once: the backup is the untouched sample, not a half-written state.
    const std::string sample = Bytes(kSample);
    EXPECT_EQ(Bytes(f.temp / "b.bak"), sample);
    EXPECT_EQ(Bytes(f.temp / "c.bak"), sample);
    EXPECT_EQ(Bytes(f.temp / "floor.bak"), sample);
    EXPECT_NE(f.Printed().find("Successfully update " + b + "."), std::string::npos) << f.Printed();
    EXPECT_NE(f.Printed().find("Successfully update " + c + "."), std::string::npos) << f.Printed();
}

TEST(ImportCommands, AMissingDrawingIsReportedAndTheOthersGoOn) {
    ImportFixture f;
    std::string b = f.Copy("b.dxf");
    std::string missing = f.temp / "gone.dxf";
    f.MakeWorkbook({{"A1", "G01", missing + "<DE_MARK>"}, {"A2", "B01", b + "<DE_MARK>"}});
    ASSERT_EQ(f.Import({"--current-drawing-only", "off"}), exitOk);
    EXPECT_NE(f.Printed().find("Cannot find " + missing + "."), std::string::npos) << f.Printed();
    EXPECT_EQ(AttText(b, "DE", "MARK"), "B01");
    EXPECT_FALSE(base::FileExists(missing));
}

TEST(ImportCommands, ACommentWithSeveralLinesGivesSeveralKeysWithTheOneCellValue) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "SAME", f.drawing + "<DE_MARK>\n" + f.drawing + "<E5_MARK>"}});
    ASSERT_EQ(f.Import(), exitOk) << host::CurrentPrinter().CapturedWarnings();
    EXPECT_EQ(AttText(f.drawing, "DE", "MARK"), "SAME");
    EXPECT_EQ(AttText(f.drawing, "E5", "MARK"), "SAME");
}

TEST(ImportCommands, ACellEmptiedByTheUserWritesTheAttributeEmpty) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "", f.drawing + "<DE_MARK>"}});
    ASSERT_EQ(f.Import(), exitOk) << host::CurrentPrinter().CapturedWarnings();
    EXPECT_EQ(AttText(f.drawing, "DE", "MARK"), "");
}

TEST(ImportCommands, ASheetWithoutCommentsReadsNothingAndWritesNothingWithOnlyTheSuccessLines) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "plain", ""}});
    const std::string original = Bytes(f.drawing);
    ASSERT_EQ(f.Import(), exitOk);
    EXPECT_EQ(Bytes(f.drawing), original);
    EXPECT_FALSE(base::FileExists(f.temp / "floor.bak"));
    EXPECT_EQ(f.Printed(), "Successfully read the data of " + f.workbook + ".\n")
        << f.Printed();
}

TEST(ImportCommands, TheEntireWorkbookReadsEverySheetTheActiveOneOnlyItself) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "S1", f.drawing + "<DE_MARK>"}}, {{"A1", "S2", f.drawing + "<E5_MARK>"}});
    ASSERT_EQ(f.Import(), exitOk);
    EXPECT_EQ(AttText(f.drawing, "DE", "MARK"), "S1");
    EXPECT_EQ(AttText(f.drawing, "E5", "MARK"), "D02");
    ASSERT_EQ(f.Import({"--sheets", "all"}), exitOk);
    EXPECT_EQ(AttText(f.drawing, "E5", "MARK"), "S2");
}

TEST(ImportCommands, ExportedSampleWithAPositionAndALayerChangedMovesAndRelayersExactlyThose) {
    ImportFixture f;
    ASSERT_EQ(f.Run({"--output", f.workbook, "export", "--block-wildcard", "DOOR", "--position-x", "on",
                     "--layer", "on"}),
              exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    // The first door's X cell and the second door's layer cell, by their keys.
    std::string moved, relayered;
    {
        excel::FileBackendOptions options;
        options.workbook = f.workbook;
        testing::BackendScope scope(options);
        ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
        auto comments = ExcelUtils::Worksheet->GetComments();
        for (int i = 1; i <= comments->Count(); ++i) {
            auto comment = comments->Item(i);
            std::string text = comment->Text();
            std::size_t lt = text.find('<'), colon = text.find(':', lt);
            if (lt == std::string::npos || colon == std::string::npos) continue;
            std::string handle = text.substr(lt + 1, colon - lt - 1);
            if (moved.empty() && text.ends_with(":PosX>")) {
                moved = handle;
                comment->Parent()->SetValue(excel::Variant::Number(1000.25));
            } else if (relayered.empty() && handle != moved && text.ends_with(":Layer>")) {
                relayered = handle;
                comment->Parent()->SetValue(excel::Variant::String("0"));
            }
        }
        ASSERT_FALSE(moved.empty());
        ASSERT_FALSE(relayered.empty());
        ASSERT_TRUE(scope.Save());
    }
    ASSERT_EQ(f.Import(), exitOk) << host::CurrentPrinter().CapturedWarnings();
    // The file is the sample with just these two properties set, as the writer sets them.
    std::filesystem::copy_file(kSample, f.temp / "reference.dxf");
    auto expected = cad::Database::Open(f.temp / "reference.dxf");
    ASSERT_TRUE(expected);
    AcadBlockRef move, layer;
    move.handle = moved;
    move.attributes.Add(AcadAttribute("Position X", "1000.25", 1));
    layer.handle = relayered;
    layer.attributes.Add(AcadAttribute("Layer", "0", 128));
    ASSERT_TRUE(WriteTo(move, **expected, -1, -1));
    ASSERT_TRUE(WriteTo(layer, **expected, -1, -1));
    EXPECT_EQ(Bytes(f.drawing), (*expected)->Write());
    auto db = cad::Database::Open(f.drawing);
    ASSERT_TRUE(db);
    cad::Object ref = arxutils::HandleToId(**db, moved);
    EXPECT_DOUBLE_EQ(cad::BlockReference(ref.GetDatabase(), ref.Index()).WorldPosition().x, 1000.25);
    ref = arxutils::HandleToId(**db, relayered);
    EXPECT_EQ(arxutils::LayerNameOf(cad::Entity(ref.GetDatabase(), ref.Index())), "0");

    // A second import changes nothing and leaves the file alone.
    const std::string after = Bytes(f.drawing);
    auto stamp = std::filesystem::last_write_time(f.drawing);
    ASSERT_EQ(f.Import(), exitOk);
    EXPECT_EQ(Bytes(f.drawing), after);
    EXPECT_EQ(std::filesystem::last_write_time(f.drawing), stamp);
}

TEST(ImportCommands, PropertiesAreWrittenUnlessIgnored) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "0", f.drawing + "<DE:Layer>"}});
    ASSERT_EQ(f.Import({"--ignore-property", "on"}), exitOk);
    auto db = cad::Database::Open(f.drawing);
    ASSERT_TRUE(db);
    EXPECT_NE(arxutils::LayerNameOf(cad::Entity(arxutils::HandleToId(**db, "DE").GetDatabase(),
                                                arxutils::HandleToId(**db, "DE").Index())), "0");
    // The box is remembered: the next run starts with it ticked.
    ASSERT_EQ(f.Import({"--ignore-property", "off"}), exitOk);
    auto again = cad::Database::Open(f.drawing);
    ASSERT_TRUE(again);
    cad::Object ref = arxutils::HandleToId(**again, "DE");
    EXPECT_EQ(arxutils::LayerNameOf(cad::Entity(ref.GetDatabase(), ref.Index())), "0")
        << f.Printed() << host::CurrentPrinter().CapturedWarnings();
}

TEST(ImportCommands, SavingTheExcelLinkWritesItOnEveryUpdatedReference) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "X01", f.drawing + "<DE_MARK>"}, {"A2", "X02", f.drawing + "<E5_MARK>"}});
    ASSERT_EQ(f.Import({"--save-link", "on"}), exitOk);
    auto db = cad::Database::Open(f.drawing);
    ASSERT_TRUE(db);
    std::vector<cad::Object> refs;
    ASSERT_TRUE(GetLinkedReferences(**db, refs, f.workbook));
    EXPECT_EQ(refs.size(), 2u);
}

TEST(ImportCommands, BadOptionsAreUsageErrors) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "X01", f.drawing + "<DE_MARK>"}});
    EXPECT_EQ(f.Import({"--sheets", "some"}), exitUsage);
    EXPECT_EQ(f.Import({"--save-link", "maybe"}), exitUsage);
    EXPECT_EQ(f.Import({"--current-drawing-only", "off", "--ignore-drawing-path", "on"}), exitUsage);
    EXPECT_EQ(AttText(f.drawing, "DE", "MARK"), "D01");
}

}  // namespace
}  // namespace attbat

namespace attbat {
namespace {

TEST(ImportCommands, JsonGivesTheListOfChangesAndTheSummary) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "X\"1", f.drawing + "<DE_MARK>"}, {"A2", "D02", f.drawing + "<E5_MARK>"}});
    ::testing::internal::CaptureStdout();
    int code = f.Run({"--json", "--workbook", f.workbook, "import-by-handle", "--dry-run"});
    std::string out = ::testing::internal::GetCapturedStdout();
    ASSERT_EQ(code, exitOk);
    EXPECT_NE(out.find("{\"changes\": [{\"drawing\": " + JsonQuote(f.drawing) +
                       ", \"handle\": \"DE\", \"field\": \"MARK\", \"old\": \"D01\", \"new\": \"X\\\"1\"}]}"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("\"changes\": 1"), std::string::npos) << out;
    EXPECT_EQ(AttText(f.drawing, "DE", "MARK"), "D01");
}

TEST(ImportCommands, AnUnreadableDrawingGivesItsFailureLineAndStaysUntouched) {
    ImportFixture f;
    std::string b = f.Copy("b.dxf");
    std::string broken = f.temp / "broken.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(broken, "0\nSECTION\n2\nENTITIES\n0\nINSERT\n5\n"));
    const std::string brokenBytes = Bytes(broken);
    f.MakeWorkbook({{"A1", "X01", broken + "<DE_MARK>"}, {"A2", "B01", b + "<DE_MARK>"}});
    ASSERT_EQ(f.Import({"--current-drawing-only", "off"}), exitOk);
    EXPECT_NE(f.Printed().find("Failed to open " + broken + ": "), std::string::npos) << f.Printed();
    EXPECT_EQ(Bytes(broken), brokenBytes);
    EXPECT_EQ(AttText(b, "DE", "MARK"), "B01");
}

TEST(ImportCommands, AMalformedCurrentDrawingIsFoundAfterTheWorkbookIsReadAndStaysUntouched) {
    ImportFixture f;
    const std::string bytes = "0\nSECTION\n2\nENTITIES\n0\nINSERT\n5\n";
    std::string broken = f.temp / "broken.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(broken, bytes));
    f.MakeWorkbook({{"A1", "X01", "<DE_MARK>"}});
    // The writer, and the listing in its words, pass it over as any drawing that fails to open.
    for (const char* option : {"--dry-run", "--save-link=off"}) {
        EXPECT_EQ(f.Import({option}, broken), exitFailed) << option;
        EXPECT_NE(f.Printed().find("Successfully read the data of"), std::string::npos) << f.Printed();
        EXPECT_NE(f.Printed().find("Failed to open " + broken + ": "), std::string::npos) << f.Printed();
        EXPECT_EQ(Bytes(broken), bytes);
        EXPECT_FALSE(std::filesystem::exists(f.temp / "broken.bak"));
    }
}

// The workbook file with one part's bytes replaced as `edit` gives them.
void EditPart(const std::string& workbook, const std::string& part,
              const std::function<std::string(std::string)>& edit) {
    auto package = xl::Package::Open(Bytes(workbook), workbook);
    ASSERT_TRUE(package) << package.GetStatus().Message();
    auto text = package->Read(part);
    ASSERT_TRUE(text) << text.GetStatus().Message();
    package->Write(part, edit(*text));
    ASSERT_TRUE(base::WriteFileAtomic(workbook, package->Save()));
}

// What a damaged workbook must give: the command fails naming the part, before any drawing is
// touched, and no success is told.
void ExpectRefusedNamingThePart(ImportFixture& f, const std::string& part) {
    const std::string before = Bytes(f.drawing);
    EXPECT_EQ(f.Import(), exitFailed);
    std::string said = f.Printed() + host::CurrentPrinter().CapturedWarnings();
    EXPECT_NE(said.find(part), std::string::npos) << said;
    EXPECT_EQ(said.find("Successfully"), std::string::npos) << said;
    EXPECT_TRUE(Bytes(f.drawing) == before) << "the drawing was changed";
    EXPECT_FALSE(std::filesystem::exists(base::ReplaceExtension(f.drawing, ".bak")));
}

TEST(ImportCommands, AnUnreadableSheetStopsTheImportBeforeAnythingIsWritten) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "X01", "<DE_MARK>"}});
    EditPart(f.workbook, "xl/worksheets/sheet1.xml", [](std::string xml) {
        return xml.substr(0, xml.size() / 2);  // cut off in the middle
    });
    ExpectRefusedNamingThePart(f, "xl/worksheets/sheet1.xml");
}

TEST(ImportCommands, ASharedStringIndexOutOfRangeStopsTheImportNamingTheCell) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "X01", "<DE_MARK>"}});
    EditPart(f.workbook, "xl/worksheets/sheet1.xml", [](std::string xml) {
        std::size_t at = xml.find("t=\"s\"><v>");
        EXPECT_NE(at, std::string::npos) << xml;
        std::size_t value = at + 9, end = xml.find("</v>", value);
        return xml.replace(value, end - value, "4294967295");
    });
    ExpectRefusedNamingThePart(f, "xl/worksheets/sheet1.xml");
    EXPECT_NE((f.Printed() + host::CurrentPrinter().CapturedWarnings()).find("A1"), std::string::npos);
}

TEST(ImportCommands, AMissingSharedStringPartStopsTheImport) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "X01", "<DE_MARK>"}});
    {
        auto package = xl::Package::Open(Bytes(f.workbook), f.workbook);
        ASSERT_TRUE(package);
        package->Remove("xl/sharedStrings.xml");
        ASSERT_TRUE(base::WriteFileAtomic(f.workbook, package->Save()));
    }
    ExpectRefusedNamingThePart(f, "sharedStrings.xml");
}

TEST(ImportCommands, AReadOnlyDrawingIsNotReplacedAndNoSuccessIsTold) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "X01", "<DE_MARK>"}});
    const std::string before = Bytes(f.drawing);
    std::filesystem::permissions(f.drawing, std::filesystem::perms::owner_read | std::filesystem::perms::group_read |
                                                std::filesystem::perms::others_read);
    EXPECT_EQ(f.Import(), exitFailed);
    EXPECT_EQ(f.Printed().find("Successfully update"), std::string::npos) << f.Printed();
    EXPECT_NE(host::CurrentPrinter().CapturedWarnings().find("read-only"), std::string::npos)
        << host::CurrentPrinter().CapturedWarnings();
    EXPECT_TRUE(Bytes(f.drawing) == before) << "the read-only drawing was replaced";
    EXPECT_EQ(std::filesystem::status(f.drawing).permissions() & std::filesystem::perms::all,
              std::filesystem::perms::owner_read | std::filesystem::perms::group_read | std::filesystem::perms::others_read);
}

TEST(ImportCommands, DryRunSaysWhichDrawingsItCannotFindOrOpenAsTheImportWould) {
    ImportFixture f;
    std::string missing = f.temp / "gone.dxf", broken = f.temp / "broken.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(broken, "not a drawing"));
    f.MakeWorkbook({{"A1", "G01", missing + "<DE_MARK>"},
                    {"A2", "G02", missing + "<E5_MARK>"},
                    {"A3", "X01", broken + "<DE_MARK>"}});
    ASSERT_EQ(f.Import({"--current-drawing-only", "off", "--dry-run"}), exitOk);
    const std::string listed = f.Printed();
    EXPECT_NE(listed.find("\nCannot find " + missing + "."), std::string::npos) << listed;
    EXPECT_EQ(listed.find("Cannot find", listed.find("Cannot find") + 1), std::string::npos) << listed;
    EXPECT_NE(listed.find("\nFailed to open " + broken + ": "), std::string::npos) << listed;
    EXPECT_NE(listed.find("0 change(s); nothing was written."), std::string::npos) << listed;
}

TEST(ImportCommands, TheCurrentDrawingIsNotReadWhenNoKeyNamesIt) {
    ImportFixture f;
    std::string b = f.Copy("b.dxf");
    std::string broken = f.temp / "broken.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(broken, "not a drawing"));
    f.MakeWorkbook({{"A1", "B01", b + "<DE_MARK>"}});
    ASSERT_EQ(f.Import({"--current-drawing-only", "off"}, broken), exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    EXPECT_EQ(AttText(b, "DE", "MARK"), "B01");
    EXPECT_EQ(Bytes(broken), "not a drawing");
}

}  // namespace
}  // namespace attbat

namespace attbat {
namespace {

TEST(ImportCommands, DryRunShowsPropertiesInTheExportsFormAndOnlyWhenTheyChange) {
    ImportFixture f;
    ASSERT_EQ(f.Run({"--output", f.workbook, "export", "--block-wildcard", "DOOR", "--position-x", "on",
                     "--scale-x", "on", "--rotation", "on", "--layer", "on"}),
              exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    // Straight back: an untouched export is no change at all.
    ASSERT_EQ(f.Import({"--dry-run"}), exitOk) << host::CurrentPrinter().CapturedWarnings();
    EXPECT_NE(f.Printed().find("\n0 change(s); nothing was written."), std::string::npos) << f.Printed();
    // A layer the drawing lacks is no change either; "0" is.
    f.MakeWorkbook({{"A1", "NOSUCHLAYER", f.drawing + "<DE:Layer>"}, {"A2", "0", f.drawing + "<E5:Layer>"}});
    ASSERT_EQ(f.Import({"--dry-run"}), exitOk);
    EXPECT_NE(f.Printed().find(f.drawing + " E5 Layer: 'A-DOOR' -> '0'"), std::string::npos) << f.Printed();
    EXPECT_NE(f.Printed().find("1 change(s); nothing was written."), std::string::npos) << f.Printed();
}

}  // namespace
}  // namespace attbat

namespace attbat {
namespace {

TEST(ImportCommands, TheDialogShowsTheAttachedWorkbookAndSheetFirstInItsList) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "X01", f.drawing + "<DE_MARK>"}});
    excel::FileBackendOptions options;
    options.workbook = f.workbook;
    testing::BackendScope scope(options);
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(true, {}, 1, 0));
    CImportByHandleDialog dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_workbook, f.workbook);
    EXPECT_EQ(dialog.m_worksheet, ExcelUtils::Worksheet->GetName());
    ASSERT_FALSE(dialog.m_workbooks.empty());
    EXPECT_EQ(dialog.m_workbooks.front(), f.workbook);
    // Choosing the present one changes nothing.
    EXPECT_TRUE(dialog.ChooseWorkbook(0));
    EXPECT_EQ(dialog.m_workbook, f.workbook);
    EXPECT_FALSE(dialog.ChooseWorkbook(static_cast<int>(dialog.m_workbooks.size())));
}

TEST(ImportCommands, AnOpenWorkbookIsChosenByItsFileNameAndAnUnknownOneRefused) {
    ImportFixture f;
    f.MakeWorkbook({{"A1", "X01", f.drawing + "<DE_MARK>"}});
    EXPECT_EQ(f.Import({"--choose-workbook", "nothere.xlsx"}), exitUsage);
    EXPECT_EQ(AttText(f.drawing, "DE", "MARK"), "D01");
    ASSERT_EQ(f.Import({"--choose-workbook", "FLOOR.xlsx"}), exitOk) << host::CurrentPrinter().CapturedWarnings();
    EXPECT_EQ(AttText(f.drawing, "DE", "MARK"), "X01");
}

TEST(ImportCommands, ImportOptionsStoresTheGivenHeaderTextsAndTheRestAsTheDialogLoadedThem) {
    ImportFixture f;
    ASSERT_EQ(RunCommandLine({"--settings", f.settings, "import-options", "--layer-header", "Layer name"}, TheApp()),
              exitOk);
    CImpExOptDialog dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_layerHeader, "Layer name");
    EXPECT_EQ(dialog.m_posXHeader, "Position X");
    // OK stored the scale fields with their first-run defaults, the position texts.
    EXPECT_EQ(dialog.m_scaleXHeader, "Position X");
    EXPECT_EQ(dialog.m_scaleZHeader, "Position Z");
    EXPECT_NE(Bytes(f.settings).find("\"ScaleYHeader\"=\"Position Y\""), std::string::npos);
}

TEST(ImportCommands, ImportOptionsIsReachedByTheDialogsNameAndRefusesWords) {
    ImportFixture f;
    EXPECT_EQ(RunCommandLine({"--settings", f.settings, "CImpExOptDialog", "--scale-x-header", "Scale X"}, TheApp()),
              exitOk);
    CImpExOptDialog dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_scaleXHeader, "Scale X");
    EXPECT_EQ(RunCommandLine({"--settings", f.settings, "import-options", "extra"}, TheApp()), exitUsage);
}

}  // namespace
}  // namespace attbat
