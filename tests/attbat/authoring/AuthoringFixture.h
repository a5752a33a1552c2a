#pragma once
// The sample drawing made current in a folder of its own, and worksheet rows as the passes get
// them, for the tests of block insertion.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "../frame/FrameFixture.h"
#include "arxutils/ArxUtils.h"
#include "attbat/authoring/BlockPasses.h"
#include "attbat/authoring/CInsertBlocksOpt.h"
#include "attbat/links/ExcelLinkStore.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "host/Document.h"
#include "host/Ui.h"
#include "tables/CStringTable.h"
#include "tables/CellAddress.h"

namespace attbat {

inline const std::string kFloor = std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf";

// Rows of a sheet that start at $A$<firstRow>.
inline tables::CStringTable Rows(const std::vector<std::vector<std::string>>& rows, int firstRow = 1) {
    tables::CStringTable table;
    std::size_t width = 0;
    for (const auto& row : rows) width = std::max(width, row.size());
    table.RangeAddress = "$A$" + std::to_string(firstRow) + ":" +
                         tables::AbsoluteCell(firstRow + static_cast<int>(rows.size()) - 1, static_cast<int>(width));
    for (const auto& row : rows) {
        tables::CStringArrayEx cells;
        for (std::size_t c = 0; c < width; ++c) cells.Add(c < row.size() ? row[c] : std::string());
        table.Add(std::move(cells));
    }
    return table;
}

class AuthoringTest : public FrameTest {
protected:
    void SetUp() override {
        FrameTest::SetUp();
        host::SetCurrentUi(&ui);
        host::DocumentManager::Instance().CloseAll();
        drawing = File("plan.dxf");
        std::filesystem::copy_file(kFloor, drawing);
        auto doc = host::DocumentManager::Instance().OpenCurrent(drawing);
        ASSERT_TRUE(doc) << doc.GetStatus().Message();
        current = doc.Value();
        options.workbookPath = File("rows.xlsx");
        options.worksheetName = "Rows";
        options.blockNameColumn = 1;
        options.tagMode = 0;
        options.tagHeaderRow = 1;
    }
    void TearDown() override {
        host::DocumentManager::Instance().CloseAll();
        host::SetCurrentUi(nullptr);
        FrameTest::TearDown();
    }
    // The references of `db` (the current drawing by default) that were not in the sample.
    std::vector<cad::BlockReference> NewReferences(cad::Database* db = nullptr) {
        if (!db) db = &current->Database();
        std::vector<cad::BlockReference> found;
        for (const cad::Entity& e : db->Select({{0, "INSERT"}})) {
            if (cad::ParseHandle(e.HandleString()) >= 0x14A) found.emplace_back(e.GetDatabase(), e.Index());
        }
        return found;
    }
    std::string RowLink(const cad::BlockReference& reference) {
        std::string text;
        GetXDataString(reference, kRowLinkApp, text);
        return text;
    }
    PassReport Insert(const tables::CStringTable& table, const std::string& selected = {}) {
        PassReport report;
        InsertBlocksFromRows(table, options, selected, settings, report);
        return report;
    }

    std::string drawing;
    host::Document* current = nullptr;
    CInsertBlocksOpt options;
    PassSettings settings;
    host::RecordingUi ui;
};

}  // namespace attbat
