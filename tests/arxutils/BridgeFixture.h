#pragma once
// A temporary folder, a recording Ui, a captured printer and an installed file backend for the
// bridge tests; everything is put back after each test.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "arxutils/CExcelROTDialog.h"
#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/FileBackend.h"
#include "base/File.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"
#include "xl/Workbook.h"

class BridgeTest : public ::testing::Test {
protected:
    void SetUp() override {
        namespace fs = std::filesystem;
        std::string name = std::string("velmar-bridge-") +
                           ::testing::UnitTest::GetInstance()->current_test_info()->name() + "-" +
                           std::to_string(::getpid());
        dir_ = (fs::temp_directory_path() / name).string();
        fs::remove_all(dir_);
        fs::create_directories(dir_);
        host::SetCurrentUi(&ui_);
        host::CurrentPrinter().Capture(true);
        host::CurrentPrinter().ClearCaptured();
        host::ProgressMeter::SetVisible(false);
    }
    void TearDown() override {
        arxutils::ExcelUtils::Disconnect();
        arxutils::ExcelUtils::LastError.clear();
        arxutils::ExcelUtils::SetDrawingUnits(nullptr);
        arxutils::excel::SetCurrentServer(nullptr);
        arxutils::CExcelROTDialog::SetRunner(nullptr);
        host::SetCurrentUi(nullptr);
        host::CurrentPrinter().Capture(false);
        backend_.reset();
        std::filesystem::remove_all(dir_);
    }

    std::string Path(const std::string& name) const { return dir_ + "/" + name; }

    // A copy of a corpus workbook in the temporary folder.
    std::string CopyCorpus(const std::string& name, const std::string& as = {}) {
        std::string target = Path(as.empty() ? name : as);
        std::filesystem::create_directories(std::filesystem::path(target).parent_path());
        std::filesystem::copy_file(std::string(VELMAR_CORPUS) + "/xlsx/" + name, target);
        return target;
    }
    std::string CopyData(const std::string& name) {
        std::string target = Path(name);
        std::filesystem::copy_file(std::string(VELMAR_TEST_DATA) + "/arxutils/" + name, target);
        return target;
    }
    // A new workbook file written through the workbook library.
    std::string MakeBook(const std::string& name, const std::function<void(xl::Worksheet&)>& fill = {}) {
        auto book = xl::Workbook::Create();
        if (fill) fill(*book->Sheet(0));
        std::string target = Path(name);
        std::filesystem::create_directories(std::filesystem::path(target).parent_path());
        EXPECT_TRUE(book->Save(target).IsOk());
        return target;
    }

    void Install(const arxutils::excel::FileBackendOptions& options) {
        auto created = arxutils::excel::FileBackend::Create(options);
        ASSERT_TRUE(created.IsOk()) << created.GetStatus().Message();
        backend_ = std::move(created.Value());
        arxutils::excel::SetCurrentServer(backend_.get());
    }
    // Installs --workbook `path` and connects to it.
    void Attach(const std::string& path) {
        arxutils::excel::FileBackendOptions options;
        options.workbook = path;
        options.drawingPath = Path("plan.dxf");
        Install(options);
        ASSERT_TRUE(arxutils::ExcelUtils::ConnectToExcel(true));
        ASSERT_TRUE(arxutils::ExcelUtils::Worksheet);
    }
    std::string Printed() const { return host::CurrentPrinter().Captured(); }
    std::string LastBox() const { return ui_.Shown().empty() ? std::string() : ui_.Shown().back().text; }
    static std::string Bytes(const std::string& path) {
        auto r = base::ReadFile(path);
        return r ? r.Value() : std::string();
    }

    std::string dir_;
    host::RecordingUi ui_;
    std::unique_ptr<arxutils::excel::FileBackend> backend_;
};
