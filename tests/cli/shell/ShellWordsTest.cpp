#include "cli/shell/ShellWords.h"

#include <gtest/gtest.h>

namespace cli {

namespace {

using Words = std::vector<std::string>;

TEST(ShellWordsTest, BlanksSeparateWords) {
    EXPECT_EQ(SplitShellWords("  auto-number   --selection 1F0,2A4 "), (Words{"auto-number", "--selection", "1F0,2A4"}));
    EXPECT_TRUE(SplitShellWords(" \t ").empty());
}

TEST(ShellWordsTest, QuotesKeepBlanksAndMayBeEmpty) {
    EXPECT_EQ(SplitShellWords("open \"my plan.dxf\" 'b c.dxf' \"\""), (Words{"open", "my plan.dxf", "b c.dxf", ""}));
    EXPECT_EQ(SplitShellWords("--selection=\"block=DOOR layer=A\""), (Words{"--selection=block=DOOR layer=A"}));
}

TEST(ShellWordsTest, ABackslashTakesTheNextCharacter) {
    EXPECT_EQ(SplitShellWords("open my\\ plan.dxf \"a\\\"b\""), (Words{"open", "my plan.dxf", "a\"b"}));
}

TEST(ShellWordsTest, AnUnclosedQuoteRunsToTheEnd) {
    EXPECT_EQ(SplitShellWords("open 'my plan"), (Words{"open", "my plan"}));
}

TEST(ShellWordsTest, QuotingGivesTheWordBack) {
    for (const std::string word : {"plain", "my plan.dxf", "it's", "", "a\\b"}) {
        EXPECT_EQ(SplitShellWords("x " + QuoteShellWord(word)), (Words{"x", word})) << word;
    }
}

}  // namespace

}  // namespace cli
