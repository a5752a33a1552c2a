#pragma once
// Shared by the reader and writer tests: the drawings made for them, a settings map and a
// captured command line.
#include <filesystem>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "attbat/model/AcadBlockArray.h"
#include "attbat/model/SettingsStore.h"
#include "host/Document.h"
#include "host/Printer.h"

inline std::string ReaderData(const std::string& name) {
    return std::string(VELMAR_TEST_DATA) + "/reader/" + name;
}

class MapSettings : public attbat::SettingsStore {
public:
    int GetInt(std::string_view, std::string_view name, int defaultValue) override {
        auto it = ints.find(std::string(name));
        return it == ints.end() ? defaultValue : it->second;
    }
    std::string GetString(std::string_view, std::string_view, std::string_view defaultValue) override {
        return std::string(defaultValue);
    }
    bool SetInt(std::string_view, std::string_view name, int value) override {
        ints[std::string(name)] = value;
        return true;
    }
    bool SetString(std::string_view, std::string_view, std::string_view) override { return true; }
    std::map<std::string, int> ints;
};

// Captures the command line and closes every document at the end of each test.
class ReaderTest : public ::testing::Test {
protected:
    ReaderTest() {
        host::CurrentPrinter().Capture(true);
        host::CurrentPrinter().ClearCaptured();
    }
    ~ReaderTest() override {
        host::CurrentPrinter().Capture(false);
        host::DocumentManager::Instance().CloseAll();
    }
    std::string Printed() const { return host::CurrentPrinter().Captured(); }
    // A copy of a test drawing in a fresh folder, so that writes leave the originals alone.
    std::string Copy(const std::string& name) {
        std::string target = File(std::filesystem::path(name).filename().string());
        std::filesystem::copy_file(name, target, std::filesystem::copy_options::overwrite_existing);
        return target;
    }
    // A path in the test's own fresh folder.
    std::string File(const std::string& name) {
        if (folder_.empty()) {
            std::string pattern = (std::filesystem::temp_directory_path() / "velmar-reader-XXXXXX").string();
            folder_ = mkdtemp(pattern.data()) ? pattern : std::string();
        }
        return folder_ + "/" + name;
    }
    void TearDown() override {
        std::error_code ignored;
        if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
    }
    std::string folder_;
};
