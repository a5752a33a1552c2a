#pragma once
// A temporary folder, a recording Ui, a captured printer and an installed file backend for the
// bridge tests; everything is put back after each test. BackendTest runs the same test against
// the file backend (test_arxutils) and against a headless soffice (test_arxutils_bridge_calc,
// built with VELMAR_BRIDGE_CALC).

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "arxutils/CExcelROTDialog.h"
#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "arxutils/excel/FileBackend.h"
#include "base/File.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"
#include "xl/Workbook.h"

#ifdef VELMAR_BRIDGE_CALC
#include "calc/HeadlessOffice.h"
#endif

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

enum class BackendKind { File, Calc };

inline std::string BackendName(const ::testing::TestParamInfo<BackendKind>& info) {
    return info.param == BackendKind::File ? "File" : "Calc";
}

class BackendTest : public BridgeTest, public ::testing::WithParamInterface<BackendKind> {
protected:
    void SetUp() override {
        BridgeTest::SetUp();
        if (!IsCalc()) return;
#ifdef VELMAR_BRIDGE_CALC
        if (!velmar_test::HeadlessOffice::Installed()) GTEST_SKIP() << "LibreOffice is not installed";
        ASSERT_FALSE(velmar_test::HeadlessOffice::Connection().empty()) << "the headless soffice did not start";
#else
        GTEST_SKIP() << "built without the Calc backend";
#endif
    }
    void TearDown() override {
#ifdef VELMAR_BRIDGE_CALC
        // Every test leaves the office without documents for the next one.
        if (calc_) {
            try {
                auto application = calc_->CreateApplication();
                auto books = application->GetWorkbooks();
                while (books->Count() > 0) books->Item(1)->Close();
            } catch (const arxutils::excel::AutomationError&) {
            }
        }
        BridgeTest::TearDown();
        calc_.reset();
#else
        BridgeTest::TearDown();
#endif
    }

    bool IsCalc() const { return GetParam() == BackendKind::Calc; }

    // The backend with no workbook named: the file backend of the run, or the running soffice.
    void InstallEmpty() {
        if (!IsCalc()) return Install({});
#ifdef VELMAR_BRIDGE_CALC
        calc_ = arxutils::calc::CalcBackend::Create(
            velmar_test::ConnectTo(velmar_test::HeadlessOffice::Connection()));
        arxutils::excel::SetCurrentServer(calc_.get());
#endif
    }
    // The workbook at `path` attached: named by --workbook, or opened in the running soffice.
    void Attach(const std::string& path) {
        if (!IsCalc()) return BridgeTest::Attach(path);
        InstallEmpty();
        ASSERT_TRUE(arxutils::ExcelUtils::ConnectToExcel(true, path)) << arxutils::ExcelUtils::LastError;
        ASSERT_TRUE(arxutils::ExcelUtils::Worksheet);
    }
    // A file holding what the backend holds of the workbook at `path` now: the file itself,
    // saved, or a copy stored by Calc.
    std::string Saved(const std::string& path) {
        if (!IsCalc()) {
            EXPECT_TRUE(backend_->SaveChanged().IsOk());
            return path;
        }
#ifdef VELMAR_BRIDGE_CALC
        std::string copy = path + ".stored.xlsx";
        calc_->StoreActiveCopy(copy);
        return copy;
#else
        return path;
#endif
    }

#ifdef VELMAR_BRIDGE_CALC
    std::unique_ptr<arxutils::calc::CalcBackend> calc_;
#endif
};

