#pragma once
// A drawing made current and a workbook of key comments attached as the running one, for the
// tests of the upload and the watch.

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "../export/ExportTestSupport.h"
#include "../frame/FrameFixture.h"
#include "arxutils/ArxUtils.h"
#include "arxutils/ExcelUtils.h"
#include "attbat/links/UploadToExcel.h"
#include "cad/BlockReference.h"
#include "cad/Text.h"
#include "host/Document.h"

namespace attbat {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

inline const std::string kSample = std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf";

// One cell of a workbook made for a test: its value and its comment ("" for none).
struct Cell {
    std::string address;
    std::string value;
    std::string comment = {};  // none when left out
};

class UploadTest : public FrameTest {
protected:
    void SetUp() override {
        FrameTest::SetUp();
        host::DocumentManager::Instance().CloseAll();
        std::filesystem::create_directories(File("folder"));
        drawing = File("folder/plan.dxf");
        std::filesystem::copy_file(kSample, drawing);
        auto doc = host::DocumentManager::Instance().OpenCurrent(drawing);
        ASSERT_TRUE(doc) << doc.GetStatus().Message();
        current = doc.Value();
    }
    void TearDown() override {
        backend.reset();
        host::DocumentManager::Instance().CloseAll();
        FrameTest::TearDown();
    }

    // Writes a workbook of `cells` on one sheet named "Doors" and attaches it as the running one.
    void Book(const std::vector<Cell>& cells) {
        book = File("book.xlsx");
        {
            excel::FileBackendOptions made;
            made.output = book;
            made.force = true;
            testing::BackendScope scope(made);
            ASSERT_TRUE(ExcelUtils::StartExcel(false) && ExcelUtils::AddWorkbook());
            ExcelUtils::Worksheet->SetName("Doors");
            for (const Cell& cell : cells) {
                ExcelUtils::Worksheet->GetRange(cell.address)->SetValue(excel::Variant::String(cell.value));
                if (!cell.comment.empty()) ExcelUtils::SetComment(cell.address, cell.comment);
            }
            ExcelUtils::Disconnect();
            ASSERT_TRUE(scope.Save());
        }
        Attach();
    }
    void Attach() {
        backend.reset();
        excel::FileBackendOptions attach;
        attach.workbook = book;
        backend = std::make_unique<testing::BackendScope>(attach);
    }
    // Reads and compares as the command does; with `write` the changes go to the workbook.
    UploadMaps Parse(bool automatic = false, bool write = false) {
        UploadMaps maps;
        EXPECT_TRUE(ExcelUtils::ConnectToExcel(false));
        EXPECT_TRUE(ReadAllSheets(maps));
        ParseUpload(maps, automatic);
        if (write) UploadChanges(maps.changes, maps.commentChanges);
        return maps;
    }
    // The text a cell of the attached workbook shows.
    std::string Value(const std::string& address) {
        EXPECT_TRUE(ExcelUtils::ConnectToExcel(false));
        return ExcelUtils::Worksheet->GetRange(address)->Text().text;
    }
    std::string Key(const std::string& rest) const { return drawing + rest; }
    cad::BlockReference Reference(const std::string& handle) {
        cad::Object object = arxutils::HandleToId(current->Database(), handle);
        return cad::BlockReference(object.GetDatabase(), object.Index());
    }
    void SetAttribute(const std::string& handle, const std::string& tag, const std::string& value) {
        Reference(handle).FindAttribute(tag).SetValue(value);
    }

    std::string drawing;
    std::string book;
    host::Document* current = nullptr;
    std::unique_ptr<testing::BackendScope> backend;
};

}  // namespace attbat
