#include "host/Answers.h"

#include <gtest/gtest.h>

#include <fstream>

#include "TempFolder.h"

namespace {

TEST(Answers, PlainLinesAnswerInOrder) {
    host::Answers answers = host::Answers::Parse("ON\nyes\n");
    EXPECT_EQ(answers.Take("\nTurn Debug [ON/OFF]. <OFF>:"), "ON");
    EXPECT_EQ(answers.Take("Anything"), "yes");
    EXPECT_EQ(answers.Take("Anything"), std::nullopt);
    EXPECT_TRUE(answers.Exhausted());
}

TEST(Answers, KeyedLineAnswersThePromptItBegins) {
    host::Answers answers = host::Answers::Parse("positional\nturn debug = OFF\n");
    EXPECT_EQ(answers.Take("\nTurn Debug [ON/OFF]. <ON>:"), "OFF");
    EXPECT_EQ(answers.Take("\nTurn Debug [ON/OFF]. <OFF>:"), "positional");
}

TEST(Answers, EachLineAnswersOnce) {
    host::Answers answers = host::Answers::Parse("Name = A\nName = B\n");
    EXPECT_EQ(answers.Take("Name:"), "A");
    EXPECT_EQ(answers.Take("Name:"), "B");
    EXPECT_EQ(answers.Take("Name:"), std::nullopt);
}

TEST(Answers, CommentsAndBlankLinesArePassedOver) {
    host::Answers answers = host::Answers::Parse("# answers for the debug prompt\n\n   \nON\n");
    EXPECT_EQ(answers.Take("x"), "ON");
    EXPECT_TRUE(answers.Exhausted());
}

TEST(Answers, EqualsAloneIsAnEmptyAnswerAndEqualsFirstKeepsTheRest) {
    host::Answers answers = host::Answers::Parse("=\n= a = b\n");
    EXPECT_EQ(answers.Take("x"), "");
    EXPECT_EQ(answers.Take("x"), "a = b");
}

TEST(Answers, EqualsInsideAWordIsNoKey) {
    host::Answers answers = host::Answers::Parse("A=1\n");
    EXPECT_EQ(answers.Take("x"), "A=1");
}

TEST(Answers, WindowsLineEndsAreRead) {
    host::Answers answers = host::Answers::Parse("ON\r\nOFF\r\n");
    EXPECT_EQ(answers.Take("x"), "ON");
    EXPECT_EQ(answers.Take("x"), "OFF");
}

TEST(Answers, LoadNamesAMissingFile) {
    TempFolder folder;
    auto answers = host::Answers::Load(folder.File("none.txt"));
    ASSERT_FALSE(answers);
    EXPECT_NE(answers.GetStatus().Message().find("none.txt"), std::string::npos);
    std::ofstream(folder.File("a.txt")) << "OFF\n";
    auto loaded = host::Answers::Load(folder.File("a.txt"));
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->Take("x"), "OFF");
}

}  // namespace
