#include "host/Editor.h"

#include <gtest/gtest.h>

#include "host/Console.h"
#include "host/Printer.h"

namespace {

class EditorTest : public ::testing::Test {
protected:
    void SetUp() override { host::CurrentPrinter().Capture(true); }
    void TearDown() override { host::CurrentPrinter().Capture(false); }
    void Answer(std::string_view text) { console.SetAnswers(host::Answers::Parse(text)); }
    std::string Printed() { return host::CurrentPrinter().Captured(); }

    host::Console console;
    host::Editor editor{console};
};

TEST_F(EditorTest, GetKwordGivesTheKeywordAsTheListSpellsIt) {
    Answer("on\n");
    editor.InitGet(host::RSG_NONULL, "ON OFF");
    std::string keyword;
    EXPECT_EQ(editor.GetKword("\nTurn Debug [ON/OFF]. <OFF>:", keyword), host::RTNORM);
    EXPECT_EQ(keyword, "ON");
    EXPECT_EQ(Printed(), "Turn Debug [ON/OFF]. <OFF>:on\n");
}

TEST_F(EditorTest, GetKwordWithoutAnAnswerIsACancel) {
    editor.InitGet(host::RSG_NONULL, "ON OFF");
    std::string keyword;
    EXPECT_EQ(editor.GetKword("\nTurn Debug [ON/OFF]. <OFF>:", keyword), host::RTCAN);
    EXPECT_NE(Printed().find("*Cancel*"), std::string::npos);
}

TEST_F(EditorTest, GetKwordRefusesAnUnknownWordAndAsksAgain) {
    Answer("maybe\nOFF\n");
    editor.InitGet(host::RSG_NONULL, "ON OFF");
    std::string keyword;
    EXPECT_EQ(editor.GetKword("Turn:", keyword), host::RTNORM);
    EXPECT_EQ(keyword, "OFF");
    EXPECT_NE(Printed().find("Invalid option keyword."), std::string::npos);
}

TEST_F(EditorTest, GetKwordEmptyIsNoneUnlessNullIsRefused) {
    Answer("=\n=\nON\n");
    std::string keyword;
    editor.InitGet(0, "ON OFF");
    EXPECT_EQ(editor.GetKword("Turn:", keyword), host::RTNONE);
    editor.InitGet(host::RSG_NONULL, "ON OFF");
    EXPECT_EQ(editor.GetKword("Turn:", keyword), host::RTNORM);
    EXPECT_EQ(keyword, "ON");
}

TEST_F(EditorTest, InitGetHoldsForTheNextCallOnly) {
    Answer("=\n");
    editor.InitGet(host::RSG_NONULL, "ON OFF");
    std::string text;
    EXPECT_EQ(editor.GetString(true, "Name:", text), host::RTNORM);
    std::string keyword;
    Answer("ON\n");
    // The keyword list went with the GetString call.
    EXPECT_EQ(editor.GetKword("Turn:", keyword), host::RTCAN);
}

TEST(EditorKeywords, AbbreviationIsTheLeadingCapitals) {
    EXPECT_EQ(host::Editor::MatchKeyword("Yes No", "y"), "Yes");
    EXPECT_EQ(host::Editor::MatchKeyword("Yes No", "NO"), "No");
    EXPECT_EQ(host::Editor::MatchKeyword("ON OFF", "o"), "");
    EXPECT_EQ(host::Editor::MatchKeyword("ON OFF", "_off"), "OFF");
    EXPECT_EQ(host::Editor::MatchKeyword("ON OFF", "oNn"), "");
}

TEST_F(EditorTest, GetStringStopsAtABlankUnlessBlanksAreAllowed) {
    Answer("two words\ntwo words\n");
    std::string text;
    EXPECT_EQ(editor.GetString(false, "Name:", text), host::RTNORM);
    EXPECT_EQ(text, "two");
    EXPECT_EQ(editor.GetString(true, "Name:", text), host::RTNORM);
    EXPECT_EQ(text, "two words");
}

TEST_F(EditorTest, GetIntRefusesWhatTheFlagsForbid) {
    Answer("abc\n0\n-3\n7\n");
    editor.InitGet(host::RSG_NOZERO | host::RSG_NONEG, "");
    int value = 0;
    EXPECT_EQ(editor.GetInt("Start number:", value), host::RTNORM);
    EXPECT_EQ(value, 7);
    EXPECT_NE(Printed().find("Requires an integer value."), std::string::npos);
    EXPECT_NE(Printed().find("Value must be nonzero."), std::string::npos);
    EXPECT_NE(Printed().find("Value must be positive."), std::string::npos);
}

TEST_F(EditorTest, GetIntGivesKeywordsThroughGetInput) {
    Answer("Reset\n");
    editor.InitGet(0, "Reset");
    int value = 0;
    EXPECT_EQ(editor.GetInt("Start number or [Reset]:", value), host::RTKWORD);
    std::string keyword;
    editor.GetInput(keyword);
    EXPECT_EQ(keyword, "Reset");
}

}  // namespace
