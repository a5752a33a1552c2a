#include "cli/shell/ShellSession.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "attbat/frame/CArxErrLog.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CommandRun.h"
#include "attbat/frame/FrameFixture.h"
#include "attbat/numbering/AutoNumberCommand.h"
#include "attbat/numbering/NumberingState.h"
#include "cad/BlockReference.h"
#include "cad/Text.h"
#include "host/Answers.h"
#include "host/Console.h"
#include "host/Document.h"
#include "host/Ui.h"

namespace cli {

namespace {

const std::string kFloor = std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf";

class ShellSessionTest : public FrameTest {
protected:
    void SetUp() override {
        FrameTest::SetUp();
        attbat::ImplementNumberingCommands(app);
        attbat::TheNumberingState() = attbat::NumberingState();
        first = File("a.dxf");
        second = File("b.dxf");
        std::filesystem::copy_file(kFloor, first);
        std::filesystem::copy_file(kFloor, second);
        setup.drawing = first;
        setup.settings = File("settings.ini");
        setup.log = File("Velmar.log");
        setup.keepDocumentsOpen = true;
        run = std::make_unique<attbat::ModuleRun>(app, setup, ui);
        ASSERT_TRUE(run->OpenDrawing(host::ReadKind::Now));
        session = std::make_unique<ShellSession>(app, *run, GlobalOptions{});
    }
    void TearDown() override {
        session.reset();
        run.reset();
        host::CurrentConsole().SetAnswers({});
        attbat::TheNumberingState() = attbat::NumberingState();
        FrameTest::TearDown();
    }
    void Answer(const std::string& lines) { host::CurrentConsole().SetAnswers(host::Answers::Parse(lines)); }
    host::Document* Current() { return host::DocumentManager::Instance().CurDocument(); }
    std::string DeskNumber(const std::string& handle) {
        cad::Database& db = Current()->Database();
        cad::Object object = db.ObjectByHandle(cad::ParseHandle(handle));
        return cad::BlockReference(object.GetDatabase(), object.Index()).FindAttribute("DESK_NO").PlainText();
    }

    attbat::CAttBatApp app;
    attbat::RunSetup setup;
    host::RecordingUi ui;
    std::unique_ptr<attbat::ModuleRun> run;
    std::unique_ptr<ShellSession> session;
    std::string first, second;
};

TEST_F(ShellSessionTest, ACommandsChangesStayInTheOpenDrawingUntilSave) {
    Answer("=\n=\n=\n");
    ASSERT_TRUE(session->RunLine("auto-number --selection 12D"));
    EXPECT_EQ(DeskNumber("12D"), "1");
    EXPECT_TRUE(IsChanged(*Current()));
    EXPECT_EQ(Slurp(first), Slurp(kFloor));
    ASSERT_TRUE(session->RunLine("save"));
    EXPECT_NE(Slurp(first), Slurp(kFloor));
    EXPECT_EQ(Slurp(host::BackupPathOf(first)), Slurp(kFloor));
    EXPECT_FALSE(IsChanged(*Current()));
    EXPECT_EQ(DeskNumber("12D"), "1");
    EXPECT_EQ(session->ExitStatus(), 0);
}

TEST_F(ShellSessionTest, TheNumberingAndTheLogSwitchLastBetweenCommands) {
    Answer("=\n=\n=\n");
    session->RunLine("auto-number --selection 12D");
    session->RunLine("debug on");
    Answer("=\n=\n=\n");
    session->RunLine("auto-number --selection 130");
    EXPECT_NE(Printed().find("Specify starting number <2>:"), std::string::npos);
    EXPECT_EQ(DeskNumber("130"), "2");
    session->RunLine("state");
    EXPECT_NE(Printed().find("Numbering: number \"2\" (prefix \"\"), increment 1, last block \"DESK_SET\""),
              std::string::npos);
    EXPECT_NE(Printed().find("Session log: on"), std::string::npos);
    EXPECT_EQ(attbat::debugOn, 1);
}

TEST_F(ShellSessionTest, OpenSwitchAndCloseWorkOnTheOpenDrawings) {
    ASSERT_TRUE(session->RunLine("open " + second));
    EXPECT_EQ(Current()->FileName(), second);
    session->RunLine("documents");
    EXPECT_NE(Printed().find("  1 " + first + "\n* 2 " + second), std::string::npos);
    session->RunLine("switch a.dxf");
    EXPECT_EQ(Current()->FileName(), first);
    session->RunLine("close 2");
    EXPECT_EQ(host::DocumentManager::Instance().Documents().size(), 1u);
    EXPECT_EQ(Current()->FileName(), first);
    EXPECT_EQ(session->ExitStatus(), 0);
    session->RunLine("switch 2");
    EXPECT_NE(Warnings().find("there is no drawing 2; 'documents' lists them."), std::string::npos);
    EXPECT_EQ(session->ExitStatus(), 1);
}

TEST_F(ShellSessionTest, ClosingTheCurrentDrawingMakesAnotherCurrent) {
    session->RunLine("open " + second);
    session->RunLine("close");
    ASSERT_NE(Current(), nullptr);
    EXPECT_EQ(Current()->FileName(), first);
}

TEST_F(ShellSessionTest, AChangedDrawingIsAskedAboutBeforeItIsClosed) {
    Answer("=\n=\n=\n");
    session->RunLine("auto-number --selection 12D");
    ui.QueueAnswer(host::BoxAnswer::Yes);
    session->RunLine("close");
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(ui.Shown()[0].text, "Save changes to " + first + "?");
    EXPECT_NE(Slurp(first), Slurp(kFloor));
    EXPECT_EQ(Current(), nullptr);
}

TEST_F(ShellSessionTest, NoAtTheEndLeavesTheFileAsItWas) {
    Answer("=\n=\n=\n");
    session->RunLine("auto-number --selection 12D");
    ui.QueueAnswer(host::BoxAnswer::No);
    session->Finish();
    EXPECT_EQ(Slurp(first), Slurp(kFloor));
    EXPECT_NE(Warnings().find("the changes to " + first + " were not saved"), std::string::npos);
    EXPECT_EQ(session->ExitStatus(), 0);
}

TEST_F(ShellSessionTest, ACommandSentToTheCommandLineRunsAfterThePresentOne) {
    std::vector<std::string> order;
    app.Implement("Velmar_Links", {{}, "", [&](attbat::CommandContext&) {
                                       order.push_back("links");
                                       Current()->SendStringToExecute("Velmar_UpdateParamsInDynamicBlocks\nREGEN\n");
                                       order.push_back("links ends");
                                       return attbat::CommandStatus::Done;
                                   }});
    app.Implement("Velmar_UpdateParamsInDynamicBlocks", {{}, "", [&](attbat::CommandContext&) {
                                                              order.push_back("update");
                                                              return attbat::CommandStatus::Done;
                                                          }});
    session->RunLine("links");
    EXPECT_EQ(order, (std::vector<std::string>{"links", "links ends", "update"}));
    EXPECT_NE(Printed().find("Command: Velmar_UpdateParamsInDynamicBlocks"), std::string::npos);
    EXPECT_TRUE(Current()->Queued().empty());
}

TEST_F(ShellSessionTest, ADrawingOnACommandLineBecomesCurrent) {
    Answer("=\n=\n=\n");
    session->RunLine("auto-number --drawing " + second + " --selection 12D");
    EXPECT_EQ(Current()->FileName(), second);
    EXPECT_EQ(DeskNumber("12D"), "1");
    EXPECT_EQ(host::DocumentManager::Instance().Documents().size(), 2u);
}

TEST_F(ShellSessionTest, ACommandsOwnAnswersFileAnswersItsPrompts) {
    const std::string answers = File("answers.txt");
    {
        std::ofstream out(answers);
        out << "Specify starting number = D7\n=\n=\n";
    }
    session->RunLine("auto-number --answers " + answers + " --selection 12D");
    EXPECT_EQ(DeskNumber("12D"), "D7");
    EXPECT_EQ(session->ExitStatus(), 0);
}

TEST_F(ShellSessionTest, SettingsOnACommandLineAreRefusedWithWhatToDo) {
    session->RunLine("options --settings other.ini");
    EXPECT_NE(Warnings().find("give --settings and --log when starting the shell"), std::string::npos);
    EXPECT_EQ(session->ExitStatus(), 2);
}

TEST_F(ShellSessionTest, BlankLinesCommentsAndExit) {
    EXPECT_TRUE(session->RunLine("   "));
    EXPECT_TRUE(session->RunLine("# a comment"));
    EXPECT_FALSE(session->RunLine("exit"));
    EXPECT_FALSE(session->RunLine("QUIT"));
    EXPECT_EQ(session->ExitStatus(), 0);
}

}  // namespace

}  // namespace cli
