#include "base/Wildcard.h"

#include <gtest/gtest.h>

namespace base {
namespace {

TEST(WcMatch, StarAndQuestionMark) {
    EXPECT_TRUE(WcMatch("ABC", "A*", false));
    EXPECT_TRUE(WcMatch("A", "A*", false));
    EXPECT_TRUE(WcMatch("ABC", "*C", false));
    EXPECT_TRUE(WcMatch("ABC", "A?C", false));
    EXPECT_FALSE(WcMatch("AC", "A?C", false));
    EXPECT_TRUE(WcMatch("", "*", false));
    EXPECT_FALSE(WcMatch("", "?", false));
    EXPECT_TRUE(WcMatch("DOOR-12-LEFT", "*-*-*", false));
}

TEST(WcMatch, DigitLetterAndOther) {
    EXPECT_TRUE(WcMatch("A1", "@#", false));
    EXPECT_FALSE(WcMatch("AA", "@#", false));
    EXPECT_TRUE(WcMatch("Ä7", "@#", false));
    EXPECT_TRUE(WcMatch("A-1", "@.#", false));
    EXPECT_FALSE(WcMatch("AB1", "@.#", false));
}

TEST(WcMatch, CaseOnlyWhenAsked) {
    EXPECT_FALSE(WcMatch("abc", "ABC", false));
    EXPECT_TRUE(WcMatch("abc", "ABC", true));
    EXPECT_TRUE(WcMatch("tür", "T?R", true));
}

TEST(WcMatch, TildeAtStartNegates) {
    EXPECT_TRUE(WcMatch("WALL", "~DOOR*", false));
    EXPECT_FALSE(WcMatch("DOOR1", "~DOOR*", false));
    EXPECT_TRUE(WcMatch("~", "~", false));  // a lone tilde is literal
}

TEST(WcMatch, BracketSetsRangesAndNegatedSets) {
    EXPECT_TRUE(WcMatch("B", "[ABC]", false));
    EXPECT_FALSE(WcMatch("D", "[ABC]", false));
    EXPECT_TRUE(WcMatch("D", "[~ABC]", false));
    EXPECT_TRUE(WcMatch("5", "[0-9]", false));
    EXPECT_TRUE(WcMatch("x", "[A-Z]", true));
    EXPECT_FALSE(WcMatch("x", "[A-Z]", false));
    EXPECT_TRUE(WcMatch("]", "[]]", false));
}

TEST(WcMatch, BackquoteEscapes) {
    EXPECT_TRUE(WcMatch("A*B", "A`*B", false));
    EXPECT_FALSE(WcMatch("AxB", "A`*B", false));
    EXPECT_TRUE(WcMatch("A,B", "A`,B", false));
    EXPECT_TRUE(WcMatch("#", "`#", false));
}

TEST(WcMatch, CommaSeparatesAlternatives) {
    EXPECT_TRUE(WcMatch("LINE", "ARC,LINE,CIRCLE", false));
    EXPECT_FALSE(WcMatch("POINT", "ARC,LINE,CIRCLE", false));
    EXPECT_FALSE(WcMatch("A,", "[,]", false));
    EXPECT_TRUE(WcMatch(",", "[,]", false));
}

TEST(WcMatch, ManyStarsStayFast) {
    const std::string text(2000, 'a');
    EXPECT_FALSE(WcMatch(text, "*a*a*a*a*a*a*a*b", false));
}

}  // namespace
}  // namespace base
