// Commands on a DWG drawing read and written through stand-in converters: the "DWG" is the
// sample drawing under another name, and the converters copy it.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "SampleRun.h"
#include "attbat/schedules/ScheduleCommands.h"
#include "base/File.h"

namespace attbat {
namespace {

constexpr const char* copyConverter = "cp {in} {out}";

struct DwgConverterCommandTest : ::testing::Test {
    DwgConverterCommandTest() {
        ImplementScheduleCommands(TheApp());
        std::filesystem::rename(run.drawing, dwg);
        run.drawing = dwg;
        original = Bytes(dwg);
    }
    static std::string Bytes(const std::string& path) {
        auto bytes = base::ReadFile(path);
        return bytes ? bytes.Value() : std::string();
    }
    SampleRun run;
    std::string dwg = run.temp / "floor.dwg";
    std::string original;
};

TEST_F(DwgConverterCommandTest, ReadOnlyCommandsWorkOnTheConvertedDrawing) {
    EXPECT_EQ(run.Run({"--dwg-converter", copyConverter, "export", "--preview"}), 0) << run.Printed();
    EXPECT_NE(run.Printed().find("DESK_SET"), std::string::npos) << run.Printed();
    EXPECT_EQ(run.Run({"--output", run.workbook, "export"}), 0) << run.Printed();
    EXPECT_TRUE(std::filesystem::exists(run.workbook));
    EXPECT_EQ(run.Run({"count-blocks"}), 0) << run.Printed();
    EXPECT_EQ(Bytes(dwg), original);
    EXPECT_FALSE(std::filesystem::exists(run.temp / "floor.bak"));
}

TEST_F(DwgConverterCommandTest, TheConverterIsKeptForLaterRunsAndAnEmptyOneRemovesIt) {
    ASSERT_EQ(run.Run({"--dwg-converter", copyConverter, "export", "--preview"}), 0) << run.Printed();
    EXPECT_EQ(run.Run({"export", "--preview"}), 0) << run.Printed();
    EXPECT_EQ(run.Run({"--dwg-converter", "", "export", "--preview"}), 1);
    EXPECT_NE(run.Printed().find("DWG files can't be read here"), std::string::npos) << run.Printed();
}

TEST_F(DwgConverterCommandTest, ChangingADwgWithoutTheWayBackIsRefusedAndLeavesIt) {
    EXPECT_EQ(run.Run({"--dwg-converter", copyConverter, "find", "AE"}), 1);
    EXPECT_NE(run.Printed().find("no DXF to DWG converter is set"), std::string::npos) << run.Printed();
    EXPECT_EQ(Bytes(dwg), original);
    EXPECT_FALSE(std::filesystem::exists(run.temp / "floor.bak"));
}

TEST_F(DwgConverterCommandTest, ChangingADwgWritesItBackThroughTheReverseConverterKeepingTheOriginal) {
    EXPECT_EQ(run.Run({"--dwg-converter", copyConverter, "--dxf-to-dwg-converter", copyConverter, "find", "AE"}), 0)
        << run.Printed();
    EXPECT_NE(Bytes(dwg), original);
    EXPECT_EQ(Bytes(run.temp / "floor.bak"), original);
}

}  // namespace
}  // namespace attbat
