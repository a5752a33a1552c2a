#include "cli/CommandLine.h"
#include "cli/ControlOptions.h"
#include "cli/ExitCodes.h"
#include "cli/HelpTexts.h"

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "attbat/frame/FrameFixture.h"
#include "attbat/frame/CAttBatApp.h"
#include "base/Path.h"
#include "host/AddressOpener.h"
#include "host/Document.h"

namespace {

using namespace attbat;
using namespace cli;

class CommandLineTest : public FrameTest {
protected:
    void SetUp() override {
        FrameTest::SetUp();
        host::SetAddressOpener([this](const std::string& address) {
            opened.push_back(address);
            return true;
        });
    }
    void TearDown() override {
        host::SetAddressOpener({});
        FrameTest::TearDown();
    }
    // Runs velmar with its own settings file and log.
    int Run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--settings", File("settings.ini"), "--log", File("Velmar.log")});
        return RunCommandLine(args, app);
    }

    CAttBatApp app;
    std::vector<std::string> opened;
};

TEST_F(CommandLineTest, CommandNamesAreFoundWithoutRegardToCase) {
    EXPECT_EQ(Run({"VELMAR_OPTIONS"}), exitOk);
    EXPECT_EQ(Run({"velmar_options"}), exitOk);
    EXPECT_EQ(Run({"_Velmar_Options"}), exitOk);
}

TEST_F(CommandLineTest, AliasesRunTheirCommand) {
    EXPECT_EQ(Run({"options"}), exitOk);
    EXPECT_NE(Printed().find("Export blocks in MLeaders"), std::string::npos);
}

TEST_F(CommandLineTest, AnUnknownCommandIsBadUsageWithAHint) {
    EXPECT_EQ(Run({"expotr"}), exitUsage);
    EXPECT_NE(Warnings().find("unknown command 'expotr'. Did you mean 'export'?"), std::string::npos);
    EXPECT_NE(Warnings().find("velmar help"), std::string::npos);
}

TEST_F(CommandLineTest, AFarOffNameGetsNoGuess) {
    EXPECT_EQ(Run({"zzzzzzzzzzzzzz"}), exitUsage);
    EXPECT_EQ(Warnings().find("Did you mean"), std::string::npos);
}

TEST_F(CommandLineTest, AnUnknownOptionIsBadUsage) {
    EXPECT_EQ(Run({"options", "--colour", "red"}), exitUsage);
    EXPECT_NE(Warnings().find("unknown option '--colour' for options"), std::string::npos);
    EXPECT_EQ(Run({"--frobnicate", "options"}), exitUsage);
}

TEST_F(CommandLineTest, AMissingCommandIsBadUsage) {
    EXPECT_EQ(RunCommandLine({}, app), exitUsage);
    EXPECT_NE(Warnings().find("Usage: velmar"), std::string::npos);
    EXPECT_EQ(RunCommandLine({"--quiet"}, app), exitUsage);
}

TEST_F(CommandLineTest, HelpAndVersionSucceed) {
    EXPECT_EQ(RunCommandLine({"--help"}, app), exitOk);
    EXPECT_NE(Printed().find("--answers FILE"), std::string::npos);
    EXPECT_EQ(RunCommandLine({"--version"}, app), exitOk);
    EXPECT_NE(Printed().find("velmar 9.72\n"), std::string::npos);
    EXPECT_EQ(RunCommandLine({"options", "--help"}, app), exitOk);
    EXPECT_NE(Printed().find("\"Update drawing paths in Excel.\" (Upload to Excel)"), std::string::npos);
    EXPECT_EQ(RunCommandLine({"export", "-h"}, app), exitOk);
    EXPECT_NE(Printed().find("not available in this build yet"), std::string::npos);
}

TEST_F(CommandLineTest, ACommandNotYetInThisBuildIsListedButFails) {
    EXPECT_EQ(Run({"export", "--some-option", "x"}), exitFailed);
    EXPECT_NE(Warnings().find("is not available in this build yet"), std::string::npos);
    EXPECT_NE(CommandListText(app).find("VelmarOut"), std::string::npos);
}

TEST_F(CommandLineTest, YesAndNoTogetherAreBadUsage) {
    EXPECT_EQ(Run({"--yes", "--no", "about"}), exitUsage);
}

TEST_F(CommandLineTest, AMissingAnswersFileIsBadUsage) {
    EXPECT_EQ(Run({"--answers", File("none.txt"), "debug"}), exitUsage);
}

TEST_F(CommandLineTest, GlobalOptionsMayFollowTheCommand) {
    EXPECT_EQ(Run({"about", "--quiet"}), exitOk);
    EXPECT_EQ(Printed().find("Version"), std::string::npos);
}

TEST_F(CommandLineTest, OptionsStoresTheGivenCheckBoxesAsOkWould) {
    EXPECT_EQ(Run({"options", "--calc-outer-polygon", "on", "--auto-upload=yes"}), exitOk);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "CalOuterPolygon", -1), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "AutoUploadToActiveWorkbook", -1), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ExportBlocksInMLeader", -1), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "UpdateDrawingPathsInExcel", -1), 0);
}

TEST_F(CommandLineTest, OptionsWithoutAnOptionShowsTheStoredValuesAndWritesNothing) {
    EXPECT_EQ(Run({"options"}), exitOk);
    EXPECT_FALSE(base::FileExists(File("settings.ini")));
    EXPECT_NE(Printed().find("[x] Export blocks in MLeaders"), std::string::npos);
    EXPECT_NE(Printed().find("[ ] Calculate outer polygon of block reference."), std::string::npos);
}

TEST_F(CommandLineTest, OptionsRefusesAValueThatIsNoSwitch) {
    EXPECT_EQ(Run({"options", "--auto-upload", "maybe"}), exitUsage);
    EXPECT_FALSE(base::FileExists(File("settings.ini")));
}

TEST_F(CommandLineTest, DebugOnOpensTheLogForThisRun) {
    EXPECT_EQ(Run({"debug", "on"}), exitOk);
    std::string log = Slurp(File("Velmar.log"));
    EXPECT_EQ(log.rfind("Product: Velmar.\r\nVersion 9.72.\r\nSession start: ", 0), 0u);
    EXPECT_NE(log.find("Session end: "), std::string::npos);
    EXPECT_EQ(debugOn, 0);  // memory only: the run is over
}

TEST_F(CommandLineTest, DebugPromptIsAnsweredFromTheAnswersFile) {
    std::ofstream(File("answers.txt")) << "Turn Debug = maybe\nON\n";
    EXPECT_EQ(Run({"--answers", File("answers.txt"), "Velmar_Debug"}), exitOk);
    EXPECT_NE(Printed().find("Turn Debug [ON/OFF]. <OFF>:maybe\n"), std::string::npos);
    EXPECT_NE(Printed().find("Invalid option keyword."), std::string::npos);
    EXPECT_TRUE(base::FileExists(File("Velmar.log")));
}

TEST_F(CommandLineTest, DebugPromptWithoutAnAnswerIsACancelThatKeepsTheLogOff) {
    EXPECT_EQ(Run({"debug"}), exitFailed);
    EXPECT_FALSE(base::FileExists(File("Velmar.log")));
}

TEST_F(CommandLineTest, DebugOffKeepsTheLogShut) {
    EXPECT_EQ(Run({"debug", "OFF"}), exitOk);
    EXPECT_FALSE(base::FileExists(File("Velmar.log")));
    EXPECT_EQ(Run({"debug", "sideways"}), exitUsage);
}

TEST_F(CommandLineTest, GlobalDebugTurnsTheLogOnForOneRun) {
    EXPECT_EQ(Run({"--debug", "about"}), exitOk);
    EXPECT_NE(Slurp(File("Velmar.log")).find("Session start"), std::string::npos);
}

TEST_F(CommandLineTest, AboutShowsTheProductAndVersion) {
    EXPECT_EQ(Run({"about"}), exitOk);
    EXPECT_NE(Printed().find("About: Velmar\nVersion 9.72"), std::string::npos);
}

TEST_F(CommandLineTest, WebPagesOpenTheirAddressesWithTheQueryKeys) {
    EXPECT_EQ(Run({"faq"}), exitOk);
    EXPECT_EQ(Run({"whats-new"}), exitOk);
    EXPECT_EQ(Run({"Velmar_Demo"}), exitOk);
    ASSERT_EQ(opened.size(), 3u);
    EXPECT_EQ(opened[0], "https://www.orvane.com/redirect?page=faq&product=velmar");
    EXPECT_EQ(opened[1], "https://www.orvane.com/redirect?page=whatsnew&product=velmar");
    EXPECT_EQ(opened[2], "https://www.orvane.com/redirect?page=demo&product=velmar");
}

TEST_F(CommandLineTest, WebAddressesComeFromTheSettings) {
    CRegistry::SetString("Velmar", "WebsiteAddress", "https://intranet.example/velmar");
    EXPECT_EQ(Run({"website"}), exitOk);
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_EQ(opened[0], "https://intranet.example/velmar");
}

TEST_F(CommandLineTest, WithoutAnOpenerTheAddressIsPrinted) {
    host::SetAddressOpener([](const std::string&) { return false; });
    EXPECT_EQ(Run({"support"}), exitOk);
    EXPECT_NE(Printed().find("Open this address in your browser: mailto:support@orvane.com"),
              std::string::npos);
}

TEST_F(CommandLineTest, HelpListsTheCommandsByGroup) {
    EXPECT_EQ(Run({"help"}), exitOk);
    std::string text = Printed();
    std::size_t velmar = text.find("\nVelmar\n"), cell = text.find("\nCellBlock\n"),
                orvane = text.find("\nOrvane\n");
    ASSERT_NE(velmar, std::string::npos);
    EXPECT_LT(velmar, cell);
    EXPECT_LT(cell, orvane);
    EXPECT_LT(text.find("VelmarInByHandle"), cell);
    EXPECT_GT(text.find("GetCellBlockInfo"), cell);
    EXPECT_EQ(Run({"help", "options"}), exitOk);
    EXPECT_NE(Printed().find("--calc-outer-polygon on|off"), std::string::npos);
    EXPECT_EQ(Run({"help", "nosuch"}), exitUsage);
}

TEST_F(CommandLineTest, LoadMenuSaysThereIsNoMenuHere) {
    EXPECT_EQ(Run({"load-menu"}), exitOk);
    EXPECT_NE(Printed().find("Failed to load the menu and toolbar of Velmar."), std::string::npos);
    EXPECT_NE(Printed().find("There is no menu on Linux"), std::string::npos);
}

TEST_F(CommandLineTest, ToolsGetTheirWordsAsTheyAre) {
    std::vector<std::string> seen;
    std::vector<CommandLineTool> tools = {
        {"dxf", "", [&](const std::vector<std::string>& words) {
             seen = words;
             return 3;
         }}};
    EXPECT_EQ(RunCommandLine({"dxf", "info", "--x", "a.dxf"}, app, tools), 3);
    EXPECT_EQ(seen, (std::vector<std::string>{"info", "--x", "a.dxf"}));
}

TEST(ParseSwitch, ReadsTheUsualWordsWithoutCase) {
    EXPECT_EQ(ParseSwitch("ON"), true);
    EXPECT_EQ(ParseSwitch("no"), false);
    EXPECT_EQ(ParseSwitch("1"), true);
    EXPECT_EQ(ParseSwitch("maybe"), std::nullopt);
}

TEST(JsonQuote, EscapesWhatJsonNeeds) {
    EXPECT_EQ(JsonQuote("a\"b\\c\n\x01"), "\"a\\\"b\\\\c\\n\\u0001\"");
}

}  // namespace

namespace {

using namespace attbat;
using namespace cli;

class CommandLineProcessTest : public CommandLineTest {};

TEST_F(CommandLineProcessTest, ADwgDrawingIsRefusedWithWhatToDo) {
    EXPECT_EQ(Run({"--drawing", "C:\\plans\\Plan.DWG", "about"}), exitFailed);
    EXPECT_NE(Warnings().find("DXF"), std::string::npos);
}

TEST_F(CommandLineProcessTest, AMissingDrawingFailsTheRunBeforeTheCommand) {
    EXPECT_EQ(Run({"--drawing", File("none.dxf"), "about"}), exitFailed);
    EXPECT_NE(Warnings().find("none.dxf"), std::string::npos);
    EXPECT_EQ(Printed().find("Version 9.72"), std::string::npos);
}

TEST_F(CommandLineProcessTest, TheDrawingIsCurrentDuringTheCommandAndAnUnchangedOneIsNotWritten) {
    std::string drawing = File("plan.dxf");
    std::ofstream(drawing, std::ios::binary) << "  0\nSECTION\n  2\nENTITIES\n  0\nENDSEC\n  0\nEOF\n";
    std::string seen;
    app.Implement("Velmar_Links", {{}, "", [&seen](CommandContext&) {
                                       host::Document* current =
                                           host::DocumentManager::Instance().CurDocument();
                                       seen = current ? current->FileName() : "none";
                                       current->SendStringToExecute("Velmar_About\n");
                                       return CommandStatus::Done;
                                   }});
    EXPECT_EQ(Run({"--drawing", drawing, "links"}), exitOk) << Warnings();
    EXPECT_NE(seen.find("plan.dxf"), std::string::npos);
    EXPECT_NE(Printed().find("Version 9.72"), std::string::npos);  // the queued command ran
    EXPECT_FALSE(base::FileExists(File("plan.bak")));
    EXPECT_EQ(host::DocumentManager::Instance().CurDocument(), nullptr);
}

TEST_F(CommandLineProcessTest, AListOptionGivenTwiceJoinsItsValuesAnyOtherKeepsTheLast) {
    std::string names, row;
    app.Implement("Velmar_Links", {{{"name", ControlKind::List, "names", {}, "NAMES", true},
                                    {"row", ControlKind::Text, "row", {}, "N"}},
                                   "",
                                   [&](CommandContext& context) {
                                       for (const std::string& name : context.values.List("name")) {
                                           names += (names.empty() ? "" : ",") + name;
                                       }
                                       row = context.values.Text("row");
                                       return CommandStatus::Done;
                                   }});
    EXPECT_EQ(Run({"links", "--name", "A", "--row", "1", "--name=B,C", "--row", "2"}), exitOk) << Warnings();
    EXPECT_EQ(names, "A,B,C");
    EXPECT_EQ(row, "2");
}

TEST_F(CommandLineProcessTest, TwoVelmarRunsAtOnceLoseNoWrite) {
    constexpr int rounds = 15;
    pid_t children[2];
    for (int w = 0; w < 2; ++w) {
        children[w] = fork();
        ASSERT_GE(children[w], 0);
        if (children[w] == 0) {
            int failures = 0;
            for (int i = 0; i < rounds; ++i) {
                if (w == 0) {
                    failures += Run({"--quiet", "options", "--calc-outer-polygon",
                                     i % 2 ? "on" : "off"}) != exitOk;
                } else {
                    failures += !CRegistry::SetString("Velmar\\DrawingList",
                                                      "/plans/" + std::to_string(i) + ".dxf", "");
                }
            }
            _exit(failures);
        }
    }
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    EXPECT_EQ(CRegistry::GetList("DrawingList").size(), static_cast<std::size_t>(rounds));
    EXPECT_EQ(CRegistry::GetInt("Velmar", "CalOuterPolygon", -1), (rounds - 1) % 2);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "AutoUploadToActiveWorkbook", -1), 0);
}

TEST_F(CommandLineProcessTest, FindTakesTheHandleAsItsArgumentAndKeepsTheBackupOfTheLastImport) {
    std::string drawing = File("plan.dxf");
    std::filesystem::copy_file(std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf", drawing);
    std::ofstream(File("plan.bak"), std::ios::binary) << "the drawing before the last import";
    const std::string before = Slurp(drawing);
    ASSERT_EQ(Run({"--drawing", drawing, "find", "<C6_MARK>"}), exitOk) << Warnings();
    EXPECT_NE(Printed().find("Type: INSERT"), std::string::npos) << Printed();
    EXPECT_NE(Slurp(drawing), before);  // the view is on the reference now
    EXPECT_EQ(Slurp(File("plan.bak")), "the drawing before the last import");
    EXPECT_EQ(Run({"--drawing", drawing, "find", "C6", "C7"}), exitUsage);
}

TEST_F(CommandLineProcessTest, FindMakesABackupWhereThereIsNone) {
    std::string drawing = File("plan.dxf");
    std::filesystem::copy_file(std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf", drawing);
    const std::string before = Slurp(drawing);
    ASSERT_EQ(Run({"--drawing", drawing, "find", "C6"}), exitOk) << Warnings();
    EXPECT_EQ(Slurp(File("plan.bak")), before);
}

TEST_F(CommandLineProcessTest, ADamagedSettingsFileIsReportedAndTheRunGoesOn) {
    std::ofstream(File("settings.ini")) << "this is no settings file\n";
    EXPECT_EQ(Run({"options", "--auto-upload", "on"}), exitOk);
    EXPECT_NE(Warnings().find("is damaged"), std::string::npos);
    EXPECT_EQ(Slurp(File("settings.ini.damaged")), "this is no settings file\n");
    EXPECT_EQ(CRegistry::GetInt("Velmar", "AutoUploadToActiveWorkbook", 0), 1);
}

}  // namespace
