#include "host/Locations.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

// Sets an environment variable for one test and puts the old value back.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : name_(name) {
        const char* old = std::getenv(name);
        had_ = old != nullptr;
        if (had_) old_ = old;
        if (value) setenv(name, value, 1); else unsetenv(name);
    }
    ~ScopedEnv() {
        if (had_) setenv(name_, old_.c_str(), 1); else unsetenv(name_);
    }

private:
    const char* name_;
    bool had_ = false;
    std::string old_;
};

TEST(Locations, SettingsFollowXdgConfigHome) {
    ScopedEnv config("XDG_CONFIG_HOME", "/cfg");
    EXPECT_EQ(host::SettingsFilePath(), "/cfg/velmar/settings.ini");
}

TEST(Locations, RelativeXdgFolderFallsBackOnHome) {
    ScopedEnv config("XDG_CONFIG_HOME", "relative");
    ScopedEnv state("XDG_STATE_HOME", nullptr);
    ScopedEnv home("HOME", "/home/u");
    EXPECT_EQ(host::SettingsFilePath(), "/home/u/.config/velmar/settings.ini");
    EXPECT_EQ(host::LogFilePath(), "/home/u/.local/state/velmar/Velmar.log");
}

TEST(Locations, NoFolderKnownGivesEmpty) {
    ScopedEnv state("XDG_STATE_HOME", nullptr);
    ScopedEnv home("HOME", nullptr);
    EXPECT_EQ(host::LogFilePath(), "");
}

TEST(Locations, OverridesWinUntilCleared) {
    ScopedEnv state("XDG_STATE_HOME", "/state");
    host::SetLogFilePath("/tmp/my.log");
    host::SetSettingsFilePath("/tmp/my.ini");
    EXPECT_EQ(host::LogFilePath(), "/tmp/my.log");
    EXPECT_EQ(host::SettingsFilePath(), "/tmp/my.ini");
    host::SetLogFilePath("");
    host::SetSettingsFilePath("");
    EXPECT_EQ(host::LogFilePath(), "/state/velmar/Velmar.log");
}

}  // namespace
