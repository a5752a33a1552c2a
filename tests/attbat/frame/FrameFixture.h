#pragma once
// A settings file and a log of their own for each test, with the store's root set, and the
// printer captured.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "attbat/frame/CArxErrLog.h"
#include "attbat/frame/CRegistry.h"
#include "host/Locations.h"
#include "host/Printer.h"

class FrameTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "velmar-frame-XXXXXX").string();
        folder_ = mkdtemp(pattern.data()) ? pattern : std::string();
        ASSERT_FALSE(folder_.empty());
        host::SetSettingsFilePath(File("settings.ini"));
        host::SetLogFilePath(File("Velmar.log"));
        attbat::CRegistry::SetRoot(attbat::CRegistry::Root::CurrentUser, "Orvane");
        attbat::CRegistry::StartRun();
        host::CurrentPrinter().Capture(true);
    }
    void TearDown() override {
        attbat::ErrLog().Close();
        attbat::debugOn = 0;
        host::CurrentPrinter().ReleaseHeld(false);  // a test may leave lines waiting for a save
        host::CurrentPrinter().Capture(false);
        attbat::CRegistry::SetRoot(attbat::CRegistry::Root::CurrentUser, "");
        host::SetSettingsFilePath("");
        host::SetLogFilePath("");
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    std::string File(const std::string& name) const { return folder_ + "/" + name; }
    static std::string Slurp(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }
    std::string Printed() const { return host::CurrentPrinter().Captured(); }
    std::string Warnings() const { return host::CurrentPrinter().CapturedWarnings(); }

private:
    std::string folder_;
};
