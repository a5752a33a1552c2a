#pragma once
// A wizard over blocks made in memory, and workbooks through the file backend, for the export
// tests.

#include <filesystem>
#include <memory>
#include <string>

#include "../model/ModelTestSupport.h"
#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/ExcelServer.h"
#include "arxutils/excel/FileBackend.h"
#include "attbat/export/CScheduleDialog.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace attbat::testing {

// A wizard with no current drawing; the test puts blocks in the current collection and walks on.
struct WizardFixture {
    MapSettings settings;
    FakeDrawing drawing;
    CScheduleDialog wizard{settings, drawing, true};

    WizardFixture() { host::DocumentManager::Instance().CloseAll(); }
    // Starts the wizard and fills the current drawing's collection with `blocks`.
    void Start(std::initializer_list<AcadBlock> blocks) {
        wizard.OnInitDialog();
        for (const AcadBlock& block : blocks) wizard.m_blockSourcePage.m_currentBlocks.Add(block);
    }
    // Goes to the preview page.
    void ToPreview() {
        while (wizard.m_activePage < 2) wizard.GoNext();
    }
};

// A block with `count` references whose MARK values are given, handles 1A0, 1A1...
inline AcadBlock BlockWithRows(std::string name, std::initializer_list<const char*> marks,
                               std::string file = "C:\\a.dwg") {
    AcadBlock block = Block(std::move(name), {"MARK"}, file);
    int handle = 0x1A0;
    for (const char* mark : marks) {
        AcadBlockRef row = Row(base::Sprintf("%X", handle), 0.0, file);
        row.attributes.Add(Att("MARK", mark, 0, base::Sprintf("%X", handle + 0x100)));
        block.refs.Add(row);
        ++handle;
    }
    return block;
}

// A temporary folder for one test, removed at its end.
struct TempFolder {
    std::filesystem::path path;
    TempFolder() {
        path = std::filesystem::temp_directory_path() /
               ("velmar-export-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove_all(path);
        std::filesystem::create_directories(path);
    }
    ~TempFolder() { std::filesystem::remove_all(path); }
    std::string operator/(const std::string& name) const { return (path / name).string(); }
};

// The file backend of one command: installed on construction, removed on destruction.
struct BackendScope {
    std::unique_ptr<arxutils::excel::FileBackend> backend;
    explicit BackendScope(arxutils::excel::FileBackendOptions options) {
        auto created = arxutils::excel::FileBackend::Create(options);
        EXPECT_TRUE(created) << created.GetStatus().Message();
        if (created) backend = std::move(*created);
        arxutils::excel::SetCurrentServer(backend.get());
    }
    ~BackendScope() {
        arxutils::ExcelUtils::Disconnect();
        arxutils::excel::SetCurrentServer(nullptr);
    }
    base::Status Save() { return backend->SaveChanged(); }
};

}  // namespace attbat::testing
