#include "host/TerminalUi.h"

#include <gtest/gtest.h>

#include "host/Console.h"
#include "host/Printer.h"

namespace {

class TerminalUiTest : public ::testing::Test {
protected:
    void SetUp() override { host::CurrentPrinter().Capture(true); }
    void TearDown() override { host::CurrentPrinter().Capture(false); }
    host::BoxAnswer Ask(host::BoxButtons buttons) {
        return ui.MessageBox({"Save the drawing?", "Velmar", buttons, host::BoxIcon::Question});
    }
    host::Console console;
    host::TerminalUi ui{console};
};

TEST_F(TerminalUiTest, OkBoxIsShownWithItsTitle) {
    EXPECT_EQ(ui.MessageBox({"Done.", "Velmar", host::BoxButtons::Ok, host::BoxIcon::Information}),
              host::BoxAnswer::Ok);
    EXPECT_EQ(host::CurrentPrinter().Captured(), "Velmar: Done.\n");
}

TEST_F(TerminalUiTest, UnansweredQuestionIsACancelOrANo) {
    EXPECT_EQ(Ask(host::BoxButtons::YesNoCancel), host::BoxAnswer::Cancel);
    EXPECT_EQ(Ask(host::BoxButtons::YesNo), host::BoxAnswer::No);
    EXPECT_EQ(Ask(host::BoxButtons::OkCancel), host::BoxAnswer::Cancel);
}

TEST_F(TerminalUiTest, PresetYesAndNoAnswerEveryQuestion) {
    console.SetPreset(host::Preset::Yes);
    EXPECT_EQ(Ask(host::BoxButtons::YesNo), host::BoxAnswer::Yes);
    EXPECT_EQ(Ask(host::BoxButtons::OkCancel), host::BoxAnswer::Ok);
    console.SetPreset(host::Preset::No);
    EXPECT_EQ(Ask(host::BoxButtons::YesNoCancel), host::BoxAnswer::No);
    EXPECT_EQ(Ask(host::BoxButtons::OkCancel), host::BoxAnswer::Cancel);
}

TEST_F(TerminalUiTest, AnswersFileComesBeforeThePreset) {
    console.SetPreset(host::Preset::Yes);
    console.SetAnswers(host::Answers::Parse("Save the drawing = no\n"));
    EXPECT_EQ(Ask(host::BoxButtons::YesNo), host::BoxAnswer::No);
    EXPECT_EQ(Ask(host::BoxButtons::YesNo), host::BoxAnswer::Yes);
}

TEST(ParseBoxAnswer, AcceptsWordsAndFirstLettersForButtonsTheBoxHas) {
    EXPECT_EQ(host::ParseBoxAnswer("Y", host::BoxButtons::YesNo), host::BoxAnswer::Yes);
    EXPECT_EQ(host::ParseBoxAnswer(" cancel ", host::BoxButtons::YesNoCancel),
              host::BoxAnswer::Cancel);
    EXPECT_EQ(host::ParseBoxAnswer("cancel", host::BoxButtons::YesNo), std::nullopt);
    EXPECT_EQ(host::ParseBoxAnswer("perhaps", host::BoxButtons::YesNo), std::nullopt);
}

}  // namespace
