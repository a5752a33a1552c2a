#include "cli/shell/ShellCompletion.h"

#include <gtest/gtest.h>

#include "attbat/frame/CAttBatApp.h"
#include "attbat/numbering/AutoNumberCommand.h"

namespace cli {

namespace {

using Words = std::vector<std::string>;

class ShellCompletionTest : public ::testing::Test {
protected:
    void SetUp() override { attbat::ImplementNumberingCommands(app); }
    attbat::CAttBatApp app;
};

TEST_F(ShellCompletionTest, TheFirstWordCompletesCommandNamesAliasesAndTheShellsOwnWords) {
    EXPECT_EQ(CompleteShellWord(app, {}, "auto").words, (Words{"auto-number"}));
    EXPECT_EQ(CompleteShellWord(app, {}, "velmar_auto").words, (Words{"Velmar_AutoNumber"}));
    EXPECT_EQ(CompleteShellWord(app, {}, "docu").words, (Words{"documents"}));
    const Completion sw = CompleteShellWord(app, {}, "sw");
    EXPECT_EQ(sw.words, (Words{"switch"}));
    EXPECT_FALSE(sw.files);
}

TEST_F(ShellCompletionTest, AfterACommandADashCompletesItsOptionsAndTheGlobalOnes) {
    EXPECT_EQ(CompleteShellWord(app, {"auto-number"}, "--s").words, (Words{"--selection", "--settings", "--sheet", "--spreadsheet"}));
    EXPECT_EQ(CompleteShellWord(app, {"Velmar_AutoNumber"}, "--dr").words, (Words{"--drawing", "--dry-run"}));
}

TEST_F(ShellCompletionTest, AnOptionsValueCompletesItsChoicesOrFiles) {
    EXPECT_TRUE(CompleteShellWord(app, {"auto-number", "--drawing"}, "pl").files);
    EXPECT_TRUE(CompleteShellWord(app, {"open"}, "pl").files);
    EXPECT_TRUE(CompleteShellWord(app, {"auto-number", "--selection"}, "").files);
}

TEST_F(ShellCompletionTest, NothingFitsGivesNoWords) {
    const Completion none = CompleteShellWord(app, {}, "zzz");
    EXPECT_TRUE(none.words.empty());
    EXPECT_FALSE(none.files);
}

}  // namespace

}  // namespace cli
