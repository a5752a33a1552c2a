#pragma once
// A drawing made current in a folder of its own, message boxes recorded and answered, and a
// workbook made for the test attached as the running spreadsheet with a selection.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "../schedules/ScheduleFixture.h"
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

// The fixture of the schedules, with a drawing of their test data as the current one.
class CellBlockTest : public ScheduleTest {
protected:
    void SetUp() override {
        ScheduleTest::SetUp();
        OpenCurrent("chairs.dxf", "plan.dxf");
        ASSERT_TRUE(current);
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
        AttachSelection(selection);
    }
    void AttachSelection(const std::string& selection) {
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
    CAutoTable table;
};

}  // namespace attbat
