#include "attbat/frame/RegistrySettingsStore.h"

#include "FrameFixture.h"

namespace {

class RegistrySettingsStoreTest : public FrameTest {};

TEST_F(RegistrySettingsStoreTest, TheModelsOptionsLandInTheSettingsFile) {
    attbat::RegistrySettingsStore store;
    attbat::SettingsStore& settings = store;
    EXPECT_EQ(settings.GetInt(attbat::kSettingsSection, "BviewInsX", 1), 1);
    ASSERT_TRUE(settings.SetInt(attbat::kSettingsSection, "BviewInsX", 0));
    ASSERT_TRUE(settings.SetString(attbat::kSettingsSection, "FilterBlocks", ""));
    EXPECT_EQ(attbat::CRegistry::GetInt("Velmar", "BviewInsX", 1), 0);
    EXPECT_EQ(settings.GetString(attbat::kSettingsSection, "FilterBlocks", "*"), "");
    EXPECT_NE(Slurp(File("settings.ini")).find("\"FilterBlocks\"=\"\""), std::string::npos);
}

}  // namespace
