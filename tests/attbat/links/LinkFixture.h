#pragma once
// Drawings whose references are linked to workbooks of key comments, for the tests of the link
// update and the dialog "Links"; and a spreadsheet server that counts how often it was reached.

#include "UploadFixture.h"
#include "arxutils/excel/AutomationError.h"
#include "attbat/links/ExcelLinkStore.h"
#include "host/Ui.h"

namespace attbat {

// Forwards to the server it wraps and counts the attaches and starts; refuses to start one when
// told to.
class CountingServer : public excel::ExcelServer {
public:
    explicit CountingServer(excel::ExcelServer& inner) : inner_(inner) {}
    std::int32_t GetActiveObject(std::unique_ptr<excel::Application>& application) override {
        ++reached;
        return inner_.GetActiveObject(application);
    }
    std::unique_ptr<excel::Application> CreateApplication() override {
        ++reached;
        if (refuseToStart) throw excel::AutomationError(excel::kErrUnavailable, "no instance");
        return inner_.CreateApplication();
    }
    bool RunningObjects(std::vector<std::string>& names) override { return inner_.RunningObjects(names); }
    std::unique_ptr<excel::Workbook> GetRunningWorkbook(std::string_view name) override {
        return inner_.GetRunningWorkbook(name);
    }
    std::intptr_t FindMainWindow(std::string_view caption) override { return inner_.FindMainWindow(caption); }
    void SendToMainWindow(std::intptr_t window, unsigned message) override {
        inner_.SendToMainWindow(window, message);
    }
    std::vector<std::shared_ptr<excel::Dispatch>> WorkbookWindows(std::intptr_t window) override {
        return inner_.WorkbookWindows(window);
    }
    bool SetForegroundWindow(std::intptr_t window) override { return inner_.SetForegroundWindow(window); }

    int reached = 0;
    bool refuseToStart = false;

private:
    excel::ExcelServer& inner_;
};

class LinkTest : public UploadTest {
protected:
    void SetUp() override {
        UploadTest::SetUp();
        host::SetCurrentUi(&ui);
    }
    void TearDown() override {
        host::SetCurrentUi(nullptr);
        UploadTest::TearDown();
    }
    // Links the references `handles` of the current drawing to `workbook`.
    void Link(const std::vector<std::string>& handles, const std::string& workbook) {
        for (const std::string& handle : handles) {
            ASSERT_TRUE(SetXDataString(Reference(handle), kWorkbookLinkApp, workbook, false));
        }
    }
    // What was printed, with the success lines that wait for the saves told as after a good one.
    std::string Told() {
        host::CurrentPrinter().ReleaseHeld(true);
        return Printed();
    }
    std::string Attribute(const std::string& handle, const std::string& tag) {
        return Reference(handle).FindAttribute(tag).TextString();
    }
    // Saves the current drawing and opens it again, unchanged.
    void Reopen() {
        ASSERT_TRUE(current->Save());
        std::filesystem::remove(File("folder/plan.bak"));
        host::DocumentManager::Instance().CloseAll();
        auto doc = host::DocumentManager::Instance().OpenCurrent(drawing);
        ASSERT_TRUE(doc) << doc.GetStatus().Message();
        current = doc.Value();
    }
    // No spreadsheet runs: the workbooks are only files.
    void NoInstance() {
        backend.reset();
        backend = std::make_unique<testing::BackendScope>(excel::FileBackendOptions{});
    }

    host::RecordingUi ui;
};

}  // namespace attbat
