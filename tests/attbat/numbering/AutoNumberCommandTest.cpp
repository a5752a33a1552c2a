#include "attbat/numbering/AutoNumberCommand.h"

#include <gtest/gtest.h>

#include "NumberingFixture.h"

namespace attbat {

namespace {

class AutoNumberCommandTest : public NumberingTest {
protected:
    CommandStatus Run(const std::string& selection, bool dryRun = false) {
        context = CommandContext();
        context.values.SetText("selection", selection);
        if (dryRun) context.values.Press("dry-run");
        return AutoNumberCommand(context);
    }
    std::string Field(const std::string& key) const {
        for (const auto& [name, value] : context.SummaryFields()) {
            if (name == key) return value;
        }
        return {};
    }
    CommandContext context;
};

TEST_F(AutoNumberCommandTest, TheNumberGoesOnInTheNextRunOnTheSameBlock) {
    Answer("Select-order\n=\n=\n=\n");
    ASSERT_EQ(Run("12D,130"), CommandStatus::Done);
    EXPECT_EQ(Value("130", "DESK_NO"), "2");
    // A new run starts where the last ended: the default is the number after it.
    Answer("=\n=\n=\n");
    ASSERT_EQ(Run("133"), CommandStatus::Done);
    EXPECT_NE(Printed().find("Specify starting number <3>:"), std::string::npos);
    EXPECT_EQ(Value("133", "DESK_NO"), "3");
    EXPECT_EQ(Field("number"), "\"3\"");
    EXPECT_EQ(Field("block"), "\"DESK_SET\"");
    EXPECT_EQ(Field("numbered"), "1");
}

TEST_F(AutoNumberCommandTest, ADryRunLeavesTheDrawingAndTheNumberAsTheyWere) {
    Answer("Select-order\n=\n=\n=\n");
    ASSERT_EQ(Run("12D,130", true), CommandStatus::Done);
    EXPECT_EQ(Value("12D", "DESK_NO"), "DK-01");
    EXPECT_FALSE(Db().IsModified());
    EXPECT_EQ(Field("numbered"), "2");
    EXPECT_EQ(Field("values"), "[{\"handle\": \"12D\", \"text\": \"1\"}, {\"handle\": \"130\", \"text\": \"2\"}]");
    EXPECT_EQ(TheNumberingState().numberText, "");
    EXPECT_NE(Printed().find("Nothing was written (dry run)."), std::string::npos);
}

TEST_F(AutoNumberCommandTest, ARunInAnotherDrawingStartsAtOne) {
    Answer("=\n7\n=\n");
    ASSERT_EQ(Run("12D"), CommandStatus::Done);
    EXPECT_EQ(TheNumberingState().numberIncrement, 7);
    const std::string other = File("other.dxf");
    std::filesystem::copy_file(kFloor, other);
    ASSERT_TRUE(host::DocumentManager::Instance().OpenCurrent(other));
    current = host::DocumentManager::Instance().CurDocument();
    Answer("=\n=\n=\n");
    ASSERT_EQ(Run("12D"), CommandStatus::Done);
    EXPECT_EQ(Value("12D", "DESK_NO"), "1");
    EXPECT_NE(Printed().find("Specify starting number <1>:"), std::string::npos);
}

TEST_F(AutoNumberCommandTest, WithoutADrawingTheCommandSaysWhatToGive) {
    host::DocumentManager::Instance().CloseAll();
    EXPECT_EQ(Run("12D"), CommandStatus::BadInput);
    EXPECT_NE(Warnings().find("give the drawing to number in with --drawing FILE.dxf"), std::string::npos);
}

TEST_F(AutoNumberCommandTest, ASelectionOfNothingEndsTheCommandQuietly) {
    EXPECT_EQ(Run("type=TEXT"), CommandStatus::Done);
    EXPECT_EQ(Field("numbered"), "0");
    EXPECT_FALSE(Db().IsModified());
    EXPECT_NE(Printed().find("No text or block reference matches 'type=TEXT'."), std::string::npos);
}

}  // namespace

}  // namespace attbat
