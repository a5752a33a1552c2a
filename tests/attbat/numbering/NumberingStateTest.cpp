#include "attbat/numbering/NumberingState.h"

#include <gtest/gtest.h>

namespace attbat {

namespace {

// The numbers a start text gives with `increment`, the start itself first.
std::vector<std::string> Numbers(const std::string& start, short increment, int count) {
    NumberingState state;
    state.SplitStart(start);
    state.numberIncrement = increment;
    std::vector<std::string> numbers = {state.Current()};
    while (static_cast<int>(numbers.size()) < count) {
        state.Advance();
        numbers.push_back(state.Current());
    }
    return numbers;
}

TEST(NumberingStateTest, StartA12GivesPrefixAAndNumber12ThenA13) {
    NumberingState state;
    state.SplitStart("A12");
    EXPECT_EQ(state.numberPrefix, "A");
    EXPECT_EQ(state.numberText, "12");
    EXPECT_EQ(Numbers("A12", 1, 3), (std::vector<std::string>{"A12", "A13", "A14"}));
}

TEST(NumberingStateTest, StartABGivesABThenAC) {
    EXPECT_EQ(Numbers("AB", 1, 3), (std::vector<std::string>{"AB", "AC", "AD"}));
}

TEST(NumberingStateTest, LowerCaseLettersRunOnInLowerCase) {
    EXPECT_EQ(Numbers("ab", 1, 3), (std::vector<std::string>{"ab", "ac", "ad"}));
    EXPECT_EQ(Numbers("z", 1, 2), (std::vector<std::string>{"z", "aa"}));
}

TEST(NumberingStateTest, Start007Increment5Gives012And017) {
    EXPECT_EQ(Numbers("007", 5, 3), (std::vector<std::string>{"007", "012", "017"}));
}

TEST(NumberingStateTest, DigitsKeepTheirWidthAndGrowPastIt) {
    EXPECT_EQ(Numbers("099", 1, 2), (std::vector<std::string>{"099", "100"}));
    EXPECT_EQ(Numbers("999", 1, 2), (std::vector<std::string>{"999", "1000"}));
}

TEST(NumberingStateTest, ANegativeIncrementOnDigitsGivesAMinusSignCountedInTheWidth) {
    EXPECT_EQ(Numbers("005", -10, 2), (std::vector<std::string>{"005", "-05"}));
    EXPECT_EQ(Numbers("3", -5, 2), (std::vector<std::string>{"3", "-2"}));
}

TEST(NumberingStateTest, ANumberStartingWithASignRestartsAtOne) {
    NumberingState state;
    state.numberPrefix = "P";
    state.numberText = "-05";
    state.Advance();
    EXPECT_EQ(state.Current(), "1");
}

TEST(NumberingStateTest, LeadingLettersRunOneTooFarAtMultiplesOf26) {
    EXPECT_EQ(Numbers("AY", 1, 2), (std::vector<std::string>{"AY", "BZ"}));
    EXPECT_EQ(Numbers("Z", 1, 2), (std::vector<std::string>{"Z", "AA"}));
}

TEST(NumberingStateTest, TheNextNumberIsReadFromTheLettersWrittenSoBZIsFollowedByCA) {
    // BZ reads back as 2 * 26 + 26 = 78, not as the 52 it was made from.
    EXPECT_EQ(Numbers("AY", 1, 3), (std::vector<std::string>{"AY", "BZ", "CA"}));
}

TEST(NumberingStateTest, AStartNotEndingInADigitKeepsThePrefix) {
    NumberingState state;
    state.SplitStart("R12");
    state.SplitStart("AB");
    EXPECT_EQ(state.numberPrefix, "R");
    EXPECT_EQ(state.Current(), "RAB");
}

TEST(NumberingStateTest, AStartIsTrimmed) {
    NumberingState state;
    state.SplitStart("  K7 ");
    EXPECT_EQ(state.Current(), "K7");
}

TEST(NumberingStateTest, AnEmptyNumberAdvancesToOne) {
    NumberingState state;
    state.numberPrefix = "X";
    state.Advance();
    EXPECT_EQ(state.Current(), "1");
}

TEST(NumberingStateTest, ARunInAnotherDrawingRestartsTheNumberAndForgetsTheBlock) {
    NumberingState state;
    state.StartDrawing("/a/Plan.dxf");
    state.numberText = "7";
    state.numberIncrement = 3;
    state.lastBlockName = "DOOR";
    state.StartDrawing("/A/plan.DXF");
    EXPECT_EQ(state.numberText, "7");
    state.StartDrawing("/a/other.dxf");
    EXPECT_EQ(state.Current(), "");
    EXPECT_EQ(state.numberIncrement, 1);
    EXPECT_EQ(state.lastBlockName, "");
    EXPECT_EQ(state.lastDrawingPath, "/a/other.dxf");
}

TEST(NumberingStateTest, LettersAndDigitsOfOtherScriptsCount) {
    EXPECT_TRUE(IsAllLettersOrDigits("Bü12"));
    EXPECT_FALSE(IsAllLettersOrDigits("A-12"));
    EXPECT_FALSE(IsAllLettersOrDigits("A 1"));
}

}  // namespace

}  // namespace attbat
