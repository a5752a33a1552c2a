#pragma once
// A drawing of tests/data/schedules made current in a folder of its own, message boxes recorded,
// and workbooks made for a test and attached as the running spreadsheet.

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "../export/ExportTestSupport.h"
#include "../frame/FrameFixture.h"
#include "arxutils/ExcelUtils.h"
#include "host/Document.h"
#include "host/Ui.h"

namespace attbat {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

inline std::string ScheduleData(const std::string& name) {
    return std::string(VELMAR_TEST_DATA) + "/schedules/" + name;
}

// One cell of a workbook made for a test: sheet, address, value and comment ("" for none).
struct SheetCell {
    std::string sheet;
    std::string address;
    std::string value;
    std::string comment;
};

class ScheduleTest : public FrameTest {
protected:
    void SetUp() override {
        FrameTest::SetUp();
        host::SetCurrentUi(&ui);
        host::DocumentManager::Instance().CloseAll();
    }
    void TearDown() override {
        backend.reset();
        host::DocumentManager::Instance().CloseAll();
        host::SetCurrentUi(nullptr);
        FrameTest::TearDown();
    }
    // Copies a drawing of the test data into the test's folder (as `as`) and makes it current.
    std::string OpenCurrent(const std::string& name, const std::string& as = {}) {
        const std::string path = Copy(name, as);
        auto doc = host::DocumentManager::Instance().OpenCurrent(path);
        EXPECT_TRUE(doc) << doc.GetStatus().Message();
        current = doc ? doc.Value() : nullptr;
        return path;
    }
    std::string Copy(const std::string& name, const std::string& as = {}) {
        const std::string path = File(as.empty() ? name : as);
        std::filesystem::copy_file(ScheduleData(name), path, std::filesystem::copy_options::overwrite_existing);
        return path;
    }
    // Writes book.xlsx with `cells` (sheets made in order of first sight) and attaches it with
    // `activeCell` active on its first sheet.
    void Book(const std::vector<SheetCell>& cells, const std::string& activeCell = "A1") {
        book = File("book.xlsx");
        {
            excel::FileBackendOptions made;
            made.output = book;
            made.force = true;
            testing::BackendScope scope(made);
            ASSERT_TRUE(ExcelUtils::StartExcel(false) && ExcelUtils::AddWorkbook());
            std::vector<std::string> sheets;
            for (const SheetCell& cell : cells) {
                if (std::find(sheets.begin(), sheets.end(), cell.sheet) != sheets.end()) continue;
                if (sheets.empty()) ExcelUtils::Worksheet->SetName(cell.sheet);
                else ASSERT_TRUE(ExcelUtils::AddOrActivateSheet(cell.sheet));
                sheets.push_back(cell.sheet);
            }
            for (const SheetCell& cell : cells) {
                ASSERT_TRUE(ExcelUtils::ActivateSheet(cell.sheet));
                if (!cell.value.empty())
                    ExcelUtils::Worksheet->GetRange(cell.address)->SetValue(excel::Variant::String(cell.value));
                if (!cell.comment.empty()) ExcelUtils::SetComment(cell.address, cell.comment);
            }
            if (!sheets.empty()) {
                ASSERT_TRUE(ExcelUtils::ActivateSheet(sheets.front()));
            }
            ExcelUtils::Disconnect();
            ASSERT_TRUE(scope.Save());
        }
        Attach(activeCell);
    }
    void Attach(const std::string& activeCell = {}) {
        backend.reset();
        excel::FileBackendOptions attach;
        attach.workbook = book;
        attach.activeCell = activeCell;
        backend = std::make_unique<testing::BackendScope>(attach);
    }
    // What a cell of the attached workbook shows, and its comment ("" for none).
    std::string Value(const std::string& sheet, const std::string& address) {
        EXPECT_TRUE(ExcelUtils::ConnectToExcel(false));
        EXPECT_TRUE(ExcelUtils::ActivateSheet(sheet));
        std::string text = ExcelUtils::Worksheet->GetRange(address)->Text().text;
        ExcelUtils::Disconnect();
        return text;
    }
    std::string Comment(const std::string& sheet, const std::string& address) {
        EXPECT_TRUE(ExcelUtils::ConnectToExcel(false));
        EXPECT_TRUE(ExcelUtils::ActivateSheet(sheet));
        auto comment = ExcelUtils::Worksheet->GetRange(address)->GetComment();
        std::string text = comment ? comment->Text() : std::string();
        ExcelUtils::Disconnect();
        return text;
    }
    // The texts of the message boxes shown so far.
    std::vector<std::string> Boxes() const {
        std::vector<std::string> texts;
        for (const host::ShownBox& box : ui.Shown()) texts.push_back(box.text);
        return texts;
    }

    host::RecordingUi ui;
    host::Document* current = nullptr;
    std::string book;
    std::unique_ptr<testing::BackendScope> backend;
};

}  // namespace attbat
