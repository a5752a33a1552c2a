#include "host/Program.h"

#include <gtest/gtest.h>

namespace {

TEST(ProgramTest, FindInPathGivesTheFullPathOrNothing) {
    std::string sh = host::FindInPath("sh");
    ASSERT_FALSE(sh.empty());
    EXPECT_EQ(sh.front(), '/');
    EXPECT_EQ(host::FindInPath("no-such-program-velmar"), "");
}

TEST(ProgramTest, RunProgramTellsTheExitStatus) {
    host::ProgramEnd end = host::RunProgram("/bin/sh", {"-c", "exit 3"});
    EXPECT_TRUE(end.started);
    EXPECT_TRUE(end.exited);
    EXPECT_EQ(end.status, 3);
    EXPECT_FALSE(end.Succeeded());
    EXPECT_TRUE(host::RunProgram("/bin/sh", {"-c", "true"}).Succeeded());
}

TEST(ProgramTest, RunProgramTellsAProgramEndedByASignal) {
    host::ProgramEnd end = host::RunProgram("/bin/sh", {"-c", "kill -9 $$"});
    EXPECT_TRUE(end.started);
    EXPECT_FALSE(end.exited);
    EXPECT_FALSE(end.Succeeded());
}

TEST(ProgramTest, AProgramThatIsNotThereIsNotStarted) {
    EXPECT_FALSE(host::RunProgram("/nonexistent/velmar-tool", {}).started);
}

}  // namespace
