#include "attbat/frame/RunSettings.h"

#include "FrameFixture.h"
#include "attbat/frame/CRegistry.h"

namespace {

using attbat::ChooseSpreadsheet;
using attbat::CRegistry;

class RunSettingsTest : public FrameTest {};

TEST_F(RunSettingsTest, WorkbookFilesAreTheSpreadsheetUntilSomethingElseIsChosen) {
    auto choice = ChooseSpreadsheet(std::nullopt, std::nullopt);
    ASSERT_TRUE(choice);
    EXPECT_FALSE(choice->live);
    EXPECT_EQ(choice->connection, "");
}

TEST_F(RunSettingsTest, AGivenSpreadsheetAndConnectionAreKeptForLaterRuns) {
    ASSERT_TRUE(ChooseSpreadsheet(std::string("calc"), std::string("pipe,name=velmar")));
    EXPECT_EQ(CRegistry::GetString("Velmar", "Spreadsheet", ""), "calc");
    CRegistry::StartRun();
    auto later = ChooseSpreadsheet(std::nullopt, std::nullopt);
    ASSERT_TRUE(later);
    EXPECT_TRUE(later->live);
    EXPECT_EQ(later->connection, "pipe,name=velmar");
    auto back = ChooseSpreadsheet(std::string("file"), std::nullopt);
    ASSERT_TRUE(back);
    EXPECT_FALSE(back->live);
    EXPECT_EQ(back->connection, "pipe,name=velmar");
}

TEST_F(RunSettingsTest, AnUnknownStoredSpreadsheetIsRefusedNamingTheSetting) {
    ASSERT_TRUE(CRegistry::SetString("Velmar", "Spreadsheet", "excel"));
    auto choice = ChooseSpreadsheet(std::nullopt, std::nullopt);
    ASSERT_FALSE(choice);
    EXPECT_NE(choice.GetStatus().Message().find("\"excel\""), std::string::npos);
    EXPECT_NE(choice.GetStatus().Message().find("Spreadsheet"), std::string::npos);
}

}  // namespace
