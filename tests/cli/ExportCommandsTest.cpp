// `velmar export` end to end: the sample drawing through the command line into a workbook.

#include "attbat/export/ExportCommands.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "attbat/export/ExportTestSupport.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CRegistry.h"
#include "cli/CommandLine.h"
#include "cli/ExitCodes.h"
#include "base/File.h"
#include "base/Path.h"

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

struct CommandFixture {
    TempFolder temp;
    std::string settings = temp / "settings.ini";
    std::string output = temp / "floor.xlsx";

    CommandFixture() { ImplementExportCommands(TheApp()); }
    ~CommandFixture() {
        host::DocumentManager::Instance().CloseAll();
        host::CurrentPrinter().Capture(false);
    }
    int Run(std::vector<std::string> commandArgs) {
        std::vector<std::string> args = {"--settings", settings, "--drawing", kSample, "--output", output, "export"};
        args.insert(args.end(), commandArgs.begin(), commandArgs.end());
        host::CurrentPrinter().Capture(true);
        host::CurrentPrinter().ClearCaptured();
        return RunCommandLine(args, TheApp());
    }
};

TEST(ExportCommands, SampleDrawingLandsInANewWorkbookWithKeyComments) {
    CommandFixture f;
    ASSERT_EQ(f.Run({"--count-column", "on", "--block-wildcard", "DOOR"}), exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    EXPECT_NE(host::CurrentPrinter().Captured().find("Successfully export the data."), std::string::npos);
    ASSERT_TRUE(base::FileExists(f.output));

    excel::FileBackendOptions options;
    options.workbook = f.output;
    testing::BackendScope scope(options);
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    excel::Worksheet& sheet = *ExcelUtils::Worksheet;
    EXPECT_EQ(sheet.GetRange("A1")->Text().text, "Block Name");
    EXPECT_EQ(sheet.GetRange("B1")->Text().text, "Quantity");
    // Five doors; D01 has the handle its MARK comment names.
    int doors = 0;
    for (int row = 2; row < 20; ++row) doors += sheet.GetRange(base::Sprintf("A%d", row))->Text().text == "DOOR";
    EXPECT_EQ(doors, 5);
    bool foundD01 = false;
    for (int row = 2; row < 7; ++row) {
        if (sheet.GetRange(base::Sprintf("C%d", row))->Text().text != "D01") continue;
        auto note = sheet.GetRange(base::Sprintf("C%d", row))->GetComment();
        ASSERT_TRUE(note);
        EXPECT_EQ(note->Text().rfind(kSample + "<", 0), 0u) << note->Text();
        EXPECT_NE(note->Text().find("_MARK>"), std::string::npos) << note->Text();
        foundD01 = true;
    }
    EXPECT_TRUE(foundD01);
}

TEST(ExportCommands, OptionsGivenAreStoredAsTheDialogsOkWould) {
    CommandFixture f;
    ASSERT_EQ(f.Run({"--preview", "--start-row", "last", "--start-column", "c", "--border", "on",
                     "--include-xrefs", "off"}),
              exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ExportStartRow", 0), -1);
    EXPECT_EQ(CRegistry::GetString("Velmar", "ExportStartCol", ""), "C");
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ApplyBorder", 0), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "FilterIncXref", 1), 0);
    EXPECT_FALSE(base::FileExists(f.output));  // a preview writes no workbook
}

TEST(ExportCommands, SuccessLineComesOnlyAfterTheWorkbookWasSaved) {
    CommandFixture f;
    f.output = f.temp / "missing-folder/floor.xlsx";
    EXPECT_EQ(f.Run({"--block-wildcard", "DOOR"}), exitFailed);
    EXPECT_EQ(host::CurrentPrinter().Captured().find("Successfully export the data."), std::string::npos)
        << host::CurrentPrinter().Captured();
    EXPECT_NE(host::CurrentPrinter().CapturedWarnings().find("missing-folder"), std::string::npos)
        << host::CurrentPrinter().CapturedWarnings();
}

TEST(ExportCommands, ASchedulePastTheSheetsLastRowIsRefusedBeforeAnyCellIsWritten) {
    CommandFixture f;
    EXPECT_EQ(f.Run({"--start-row", "1048570"}), exitFailed);
    std::string said = host::CurrentPrinter().Captured() + host::CurrentPrinter().CapturedWarnings();
    EXPECT_NE(said.find("from row 1048570 would go past the worksheet's last row, 1048576."), std::string::npos)
        << said;
    EXPECT_EQ(said.find("Method 'Range'"), std::string::npos) << said;
    EXPECT_EQ(said.find("Successfully export the data."), std::string::npos) << said;
    EXPECT_FALSE(base::FileExists(f.output));
}

TEST(ExportCommands, OutputAloneMeansANewWorkbookWhateverModeIsStored) {
    CommandFixture f;
    // A run that stores the active-workbook mode, then one that names only an output file.
    ASSERT_EQ(f.Run({"--preview", "--workbook-mode", "active"}), exitOk);
    ASSERT_EQ(CRegistry::GetInt("Velmar", "ExportWorkbookOpt", 0), 1);
    ASSERT_EQ(f.Run({"--block-wildcard", "DOOR"}), exitOk) << host::CurrentPrinter().CapturedWarnings();
    EXPECT_TRUE(base::FileExists(f.output));
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ExportWorkbookOpt", 0), 1);  // the stored choice stays
}

TEST(ExportCommands, ActiveModeWithoutWorkbookSaysWhichOptionGivesOne) {
    CommandFixture f;
    EXPECT_EQ(f.Run({"--block-wildcard", "DOOR", "--workbook-mode", "active"}), exitFailed);
    std::string said = host::CurrentPrinter().Captured() + host::CurrentPrinter().CapturedWarnings();
    EXPECT_NE(said.find("Cannot get the active workbook. Please open a workbook first."), std::string::npos) << said;
    EXPECT_NE(said.find("--workbook FILE"), std::string::npos) << said;
    EXPECT_NE(said.find("--workbook-mode new"), std::string::npos) << said;
    for (const char* platformOnly : {"XLMAIN", "{00024500", "800401E3"}) {
        EXPECT_EQ(said.find(platformOnly), std::string::npos) << said;
    }
    EXPECT_FALSE(base::FileExists(f.output));
}

TEST(ExportCommands, AReadOnlyWorkbookIsNotReplacedNorWrittenElsewhere) {
    CommandFixture f;
    ASSERT_EQ(f.Run({"--block-wildcard", "DOOR"}), exitOk) << host::CurrentPrinter().CapturedWarnings();
    const std::string before = *base::ReadFile(f.output);
    namespace fs = std::filesystem;
    fs::permissions(f.output, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    host::CurrentPrinter().ClearCaptured();
    EXPECT_EQ(RunCommandLine({"--settings", f.settings, "--drawing", kSample, "--workbook", f.output, "export",
                              "--workbook-mode", "active", "--start-row", "last"},
                             TheApp()),
              exitFailed);
    EXPECT_NE(host::CurrentPrinter().CapturedWarnings().find("read-only"), std::string::npos)
        << host::CurrentPrinter().CapturedWarnings();
    EXPECT_EQ(host::CurrentPrinter().Captured().find("Successfully export the data."), std::string::npos);
    EXPECT_TRUE(*base::ReadFile(f.output) == before) << "the read-only workbook was replaced";
    int files = 0;
    for (const auto& entry : fs::directory_iterator(std::string(f.temp / ""))) files += entry.path().extension() == ".xlsx";
    EXPECT_EQ(files, 1);  // no new workbook beside it
}

TEST(ExportCommands, PreviewPrintsColumnLettersAsHeaders) {
    CommandFixture f;
    ASSERT_EQ(f.Run({"--preview", "--tick", "*", "--untick", "TITLEBLOCK,ROOMTAG,EQUIPMENT,DESK_SET,CHAIR,DOOR"}), exitOk);
    const std::string& text = host::CurrentPrinter().Captured();
    EXPECT_EQ(text.rfind("A ", 0), 0u) << text;
    EXPECT_NE(text.find("W03"), std::string::npos);
    EXPECT_EQ(text.find("D01"), std::string::npos);
}

TEST(ExportCommands, SavedTemplateGivesTheSamePreviewWhenLoaded) {
    CommandFixture f;
    std::string vlt = f.temp / "doors.vlt";
    ASSERT_EQ(f.Run({"--preview", "--tick", "*", "--untick", "TITLEBLOCK,ROOMTAG,EQUIPMENT,DESK_SET,CHAIR,WINDOW",
                     "--column-sort", "z-a", "--row-sort", "C:desc", "--save-template", vlt}),
              exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    std::string first = host::CurrentPrinter().Captured();
    first = first.substr(first.find('A'));
    ASSERT_NE(first.find("D05"), std::string::npos);
    ASSERT_EQ(f.Run({"--preview", "--template", vlt}), exitOk) << host::CurrentPrinter().CapturedWarnings();
    EXPECT_EQ(host::CurrentPrinter().Captured(), first);
}

TEST(ExportCommands, PickedObjectsByHandleAreTheOnlyRows) {
    CommandFixture f;
    // The references of doors D02 and D03 in the sample.
    ASSERT_EQ(f.Run({"--preview", "--source", "objects", "--objects", "E5,EC"}), exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    const std::string& text = host::CurrentPrinter().Captured();
    EXPECT_NE(text.find("D02"), std::string::npos) << text;
    EXPECT_NE(text.find("D03"), std::string::npos) << text;
    EXPECT_EQ(text.find("D01"), std::string::npos) << text;
    EXPECT_EQ(text.find("W01"), std::string::npos) << text;
    EXPECT_EQ(f.Run({"--preview", "--objects", "2"}), exitUsage);
}

TEST(ExportCommands, BadChoiceIsAUsageErrorNamingTheChoices) {
    CommandFixture f;
    EXPECT_EQ(f.Run({"--sheets", "many"}), exitUsage);
    EXPECT_NE(host::CurrentPrinter().CapturedWarnings().find("--sheets takes one of each, one, not 'many'"),
              std::string::npos);
}

// Every block of the sample but DOOR unticked on the attribute page.
const std::vector<std::string> kDoorsOnly = {"--preview", "--untick", "TITLEBLOCK,ROOMTAG,EQUIPMENT,DESK_SET,CHAIR,WINDOW"};

std::vector<std::string> With(std::vector<std::string> args, std::initializer_list<std::string> more) {
    args.insert(args.end(), more.begin(), more.end());
    return args;
}

// The schedule's header row as the preview prints it.
std::string HeaderLine(const std::string& printed) {
    std::size_t at = printed.find("Block Name");
    if (at == std::string::npos) return {};
    std::size_t start = printed.rfind('\n', at);
    start = start == std::string::npos ? 0 : start + 1;
    return printed.substr(start, printed.find('\n', at) - start);
}

TEST(ExportCommands, UntickedTagsLeaveTheScheduleThroughTheAttributesDialog) {
    CommandFixture f;
    ASSERT_EQ(f.Run(With(kDoorsOnly, {"--untick-tag", "FIRE_RATING, NOTE*"})), exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    std::string header = HeaderLine(host::CurrentPrinter().Captured());
    EXPECT_NE(header.find("MARK"), std::string::npos) << header;
    EXPECT_NE(header.find("WIDTH"), std::string::npos) << header;
    EXPECT_EQ(header.find("FIRE_RATING"), std::string::npos) << header;
    EXPECT_EQ(header.find("NOTE"), std::string::npos) << header;
    // OK stored the two boxes as they stood.
    EXPECT_EQ(CRegistry::GetInt("Velmar", "UnSelNoValueAtts", -1), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "SelectDynProperties", -1), 1);

    // The unticked tags live in the wizard (and its templates), not in the settings.
    ASSERT_EQ(f.Run(kDoorsOnly), exitOk);
    EXPECT_NE(HeaderLine(host::CurrentPrinter().Captured()).find("FIRE_RATING"), std::string::npos);
}

TEST(ExportCommands, ClearAllTagsThenTickTagKeepsOnlyThatTag) {
    CommandFixture f;
    ASSERT_EQ(f.Run(With(kDoorsOnly, {"--clear-all-tags", "--tick-tag", "mark"})), exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    std::string header = HeaderLine(host::CurrentPrinter().Captured());
    EXPECT_NE(header.find("MARK"), std::string::npos) << header;
    EXPECT_EQ(header.find("WIDTH"), std::string::npos) << header;
    EXPECT_EQ(header.find("NOTE"), std::string::npos) << header;
}

TEST(ExportCommands, RemoveAttributesWithNoValueOffIsStoredAndListsEmptyTags) {
    CommandFixture f;
    const std::vector<std::string> equipment = {"--preview", "--untick", "TITLEBLOCK,ROOMTAG,DOOR,DESK_SET,CHAIR,WINDOW"};
    ASSERT_EQ(f.Run(equipment), exitOk);
    EXPECT_EQ(HeaderLine(host::CurrentPrinter().Captured()).find("MAKER"), std::string::npos);

    ASSERT_EQ(f.Run(With(equipment, {"--remove-attributes-with-no-value", "off"})), exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    EXPECT_NE(HeaderLine(host::CurrentPrinter().Captured()).find("MAKER"), std::string::npos);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "UnSelNoValueAtts", -1), 0);

    // A later run without the option starts from the stored box.
    ASSERT_EQ(f.Run(equipment), exitOk);
    EXPECT_NE(HeaderLine(host::CurrentPrinter().Captured()).find("MAKER"), std::string::npos);
}

TEST(ExportCommands, OlderAttributesOptionNamesStillWork) {
    CommandFixture f;
    ASSERT_EQ(f.Run(With(kDoorsOnly, {"--leave-out-tags", "WIDTH", "--remove-no-value", "off"})), exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    std::string header = HeaderLine(host::CurrentPrinter().Captured());
    EXPECT_EQ(header.find("WIDTH"), std::string::npos) << header;
    EXPECT_NE(header.find("FIRE_RATING"), std::string::npos) << header;
    EXPECT_EQ(CRegistry::GetInt("Velmar", "UnSelNoValueAtts", -1), 0);
}

TEST(ExportCommands, LeaveOutTagsTicksEveryOtherTagOfALoadedTemplate) {
    CommandFixture f;
    std::string vlt = f.temp / "doors.vlt";
    ASSERT_EQ(f.Run(With(kDoorsOnly, {"--untick-tag", "MARK", "--save-template", vlt})), exitOk)
        << host::CurrentPrinter().CapturedWarnings();
    ASSERT_EQ(HeaderLine(host::CurrentPrinter().Captured()).find("MARK"), std::string::npos);

    ASSERT_EQ(f.Run({"--preview", "--template", vlt}), exitOk);
    EXPECT_EQ(HeaderLine(host::CurrentPrinter().Captured()).find("MARK"), std::string::npos);
    ASSERT_EQ(f.Run({"--preview", "--template", vlt, "--untick-tag", "WIDTH"}), exitOk);
    std::string header = HeaderLine(host::CurrentPrinter().Captured());
    EXPECT_EQ(header.find("MARK"), std::string::npos) << header;
    EXPECT_EQ(header.find("WIDTH"), std::string::npos) << header;
    ASSERT_EQ(f.Run({"--preview", "--template", vlt, "--leave-out-tags", "WIDTH"}), exitOk);
    header = HeaderLine(host::CurrentPrinter().Captured());
    EXPECT_NE(header.find("MARK"), std::string::npos) << header;
    EXPECT_EQ(header.find("WIDTH"), std::string::npos) << header;
}

TEST(ExportCommands, UnknownTagIsAUsageErrorListingTheDialogsTags) {
    CommandFixture f;
    EXPECT_EQ(f.Run(With(kDoorsOnly, {"--untick-tag", "COLOUR"})), exitUsage);
    const std::string& warning = host::CurrentPrinter().CapturedWarnings();
    EXPECT_NE(warning.find("no tag of the ticked blocks is 'COLOUR'"), std::string::npos) << warning;
    EXPECT_NE(warning.find("MARK, WIDTH, FIRE_RATING, NOTE, NOTE_Dup(1)"), std::string::npos) << warning;
    // Nothing was stored: the dialog was never closed with OK.
    EXPECT_EQ(CRegistry::GetInt("Velmar", "UnSelNoValueAtts", -1), -1);
}

TEST(ExportCommands, TagWithoutValueGetsANoteAndTheRunGoesOn) {
    CommandFixture f;
    ASSERT_EQ(f.Run({"--preview", "--untick", "TITLEBLOCK,ROOMTAG,DOOR,DESK_SET,CHAIR,WINDOW",
                     "--untick-tag", "MAKER"}),
              exitOk);
    EXPECT_NE(host::CurrentPrinter().CapturedWarnings().find("--untick-tag MAKER: no reference gives it a value"),
              std::string::npos)
        << host::CurrentPrinter().CapturedWarnings();
}

TEST(ExportCommands, HelpNamesTheAttributesDialogOptionsByTheirLabels) {
    CommandFixture f;
    ASSERT_EQ(f.Run({"--help"}), exitOk);
    const std::string& help = host::CurrentPrinter().Captured();
    for (const char* text : {"--remove-attributes-with-no-value on|off", "Remove attributes with no value.",
                             "--dynamic-properties on|off", "Dynamic Properties", "--clear-all-tags",
                             "Clear All", "--untick-tag TAGS", "--tick-tag TAGS", "--leave-out-tags TAGS",
                             "--remove-no-value on|off"}) {
        EXPECT_NE(help.find(text), std::string::npos) << text;
    }
}

}  // namespace
}  // namespace attbat
