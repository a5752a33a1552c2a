#include "host/Console.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "host/Editor.h"
#include "host/Printer.h"

namespace host {

namespace {

// Standard input is a pipe holding `text` for the test's life, as for `velmar shell < script`.
class ConsoleScriptTest : public ::testing::Test {
protected:
    void Feed(const std::string& text) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        ASSERT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
        close(ends[1]);
        savedInput_ = dup(STDIN_FILENO);
        dup2(ends[0], STDIN_FILENO);
        close(ends[0]);
    }
    void SetUp() override {
        CurrentPrinter().Capture(true);
        console.SetInteractive(true);
        console.SetScripted(true);
    }
    void TearDown() override {
        if (savedInput_ >= 0) {
            dup2(savedInput_, STDIN_FILENO);
            close(savedInput_);
        }
        CurrentPrinter().Capture(false);
    }
    Console console;

private:
    int savedInput_ = -1;
};

TEST_F(ConsoleScriptTest, AScriptsNextLineAnswersThePromptAndStandsAfterIt) {
    Feed("12D,130\nrest\n");
    EXPECT_EQ(console.AskTerminal("\nSelect text or block references:"), "12D,130");
    EXPECT_EQ(CurrentPrinter().Captured(), "Select text or block references:12D,130\n");
    // Only the one line was taken from the stream: the next reader gets the rest.
    EXPECT_EQ(ReadStandardInputLine(), "rest");
}

TEST_F(ConsoleScriptTest, TheEndOfTheScriptIsACancel) {
    Feed("");
    Editor editor(console);
    std::string typed;
    EXPECT_EQ(editor.GetString(false, "\nSpecify starting number <1>:", typed), RTCAN);
    EXPECT_EQ(CurrentPrinter().Captured(), "Specify starting number <1>:*Cancel*\n");
}

TEST_F(ConsoleScriptTest, AnEmptyLineIsEnter) {
    Feed("\n");
    Editor editor(console);
    std::string keyword;
    editor.InitGet(0, "X Y Select-order");
    EXPECT_EQ(editor.GetKword("\nSort selected objects by [X/Y/Select-order]<Select-order>:", keyword), RTNONE);
}

}  // namespace

}  // namespace host
