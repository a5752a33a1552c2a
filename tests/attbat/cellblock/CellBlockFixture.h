#pragma once
// The sample drawing made current in a folder of its own, message boxes recorded and answered,
// and a workbook made for the test attached as the running spreadsheet with a selection.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "../export/ExportTestSupport.h"
#include "../frame/FrameFixture.h"
#include "arxutils/ExcelUtils.h"
#include "attbat/cellblock/CAutoTable.h"
#include "attbat/cellblock/CCreateAttributesFromExcelDialog.h"
#include "attbat/cellblock/CreateAttsFromExcel.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "host/Document.h"
#include "host/Ui.h"
#include "xl/Workbook.h"
#include "xl/Worksheet.h"

namespace attbat {

class CellBlockTest : public FrameTest {
protected:
    void SetUp() override {
        FrameTest::SetUp();
        host::SetCurrentUi(&ui);
        host::DocumentManager::Instance().CloseAll();
        drawing = File("plan.dxf");
        std::filesystem::copy_file(std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf", drawing);
        auto doc = host::DocumentManager::Instance().OpenCurrent(drawing);
        ASSERT_TRUE(doc) << doc.GetStatus().Message();
        current = doc.Value();
    }
    void TearDown() override {
        backend.reset();
        host::DocumentManager::Instance().CloseAll();
        host::SetCurrentUi(nullptr);
        FrameTest::TearDown();
    }
    cad::Database& Db() { return current->Database(); }

    // Writes book.xlsx with a sheet "Data" filled by `fill` and attaches it with `selection`.
    void Book(const std::function<void(xl::Worksheet&)>& fill, const std::string& selection) {
        book = File("book.xlsx");
        auto workbook = xl::Workbook::Create();
        xl::Worksheet& sheet = *workbook->Sheet(0);
        ASSERT_TRUE(workbook->RenameSheet(sheet, "Data"));
        fill(sheet);
        ASSERT_TRUE(workbook->Save(book));
        Attach(selection);
    }
    void Attach(const std::string& selection) {
        backend.reset();
        arxutils::excel::FileBackendOptions attach;
        attach.workbook = book;
        attach.selection = selection;
        backend = std::make_unique<testing::BackendScope>(attach);
    }
    // Creates the cell block `name` from the attached selection at the given scale; false when
    // the dialog refused or nothing was made.
    bool Create(const std::string& name, const std::string& units = "1", const std::string& points = "1") {
        table = CAutoTable();
        EXPECT_TRUE(arxutils::ExcelUtils::ConnectToExcel(false));
        CCreateAttributesFromExcelDialog dialog(Db());
        dialog.OnInitDialog();
        dialog.m_blockName = name;
        dialog.m_drawingUnits = units;
        dialog.m_fontPoints = points;
        const bool made = dialog.OnOK() && CreateAttsFromExcel(Db(), dialog, std::nullopt, table);
        arxutils::ExcelUtils::Disconnect();
        return made;
    }
    // The attribute definitions of a block by tag.
    std::vector<cad::AttributeDefinition> Definitions(const std::string& name) {
        return Db().FindBlock(name).AttributeDefinitions();
    }
    std::vector<std::string> Boxes() const {
        std::vector<std::string> texts;
        for (const host::ShownBox& box : ui.Shown()) texts.push_back(box.text);
        return texts;
    }

    host::RecordingUi ui;
    host::Document* current = nullptr;
    std::string drawing;
    std::string book;
    CAutoTable table;
    std::unique_ptr<testing::BackendScope> backend;
};

}  // namespace attbat
