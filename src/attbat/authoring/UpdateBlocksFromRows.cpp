// The update pass: references an insertion tagged with their source row, brought back in line
// with the worksheet.

#include <cstdlib>

#include "arxutils/ArxUtils.h"
#include "attbat/authoring/ApplyDynamicProperties.h"
#include "attbat/authoring/BlockPasses.h"
#include "attbat/authoring/PassSupport.h"
#include "attbat/model/AcadDatabase.h"
#include "attbat/links/ExcelLinkStore.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/geometry/Matrix3d.h"
#include "cad/geometry/TransformBy.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/WorkingDatabase.h"
#include "tables/InvalidArgument.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

// The parts of a row link "workbook|sheet|row"; false when it isn't one.
struct RowLink {
    std::string workbook, sheet;
    int row = 0;
};

bool ParseRowLink(const std::string& text, RowLink& link) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t bar = text.find('|'); ; bar = text.find('|', start)) {
        parts.push_back(text.substr(start, bar == std::string::npos ? std::string::npos : bar - start));
        if (bar == std::string::npos) break;
        start = bar + 1;
    }
    if (parts.size() < 2) return false;
    link.workbook = parts[0];
    link.sheet = parts[1];
    link.row = parts.size() > 2 ? std::atoi(parts[2].c_str()) : 0;
    return !link.workbook.empty() && !link.sheet.empty() && link.row >= 1;
}

}  // namespace

void UpdateBlocksFromRows(const tables::CStringTable& table, const CInsertBlocksOpt& options,
                          const std::string& selectedRows, PassReport& report) {
    if (table.IsEmpty()) return;
    RowReader rows(table, options);
    if (!rows.CheckBlockNameColumn()) return;
    const InsertHeaders& h = rows.Headers();
    if (rows.FirstRow() < 1) host::Printf("\nError: failed to get the min row from the data table.");
    int firstLimit = 0, lastLimit = 0;
    const bool limited = selectedRows.find(':', 1) != std::string::npos;
    if (limited) {
        tables::ParseRowOfCell(tables::LeftOfRange(selectedRows), firstLimit);
        tables::ParseRowOfCell(tables::RightOfRange(selectedRows), lastLimit);
    }
    cad::Database* db = host::WorkingDatabase();
    if (!db) return;
    const std::vector<cad::Entity> inserts = db->Select({{0, "INSERT"}});
    if (inserts.empty()) return;
    // The file name of a link's workbook is what counts: a moved workbook still matches.
    const std::string workbookName = base::FileName(options.workbookPath);
    host::ProgressMeter meter("Updating blocks...", static_cast<long>(inserts.size()));
    std::string text, cell;
    for (const cad::Entity& entity : inserts) {
        meter.Step();
        if (host::ProgressMeter::Cancelled()) break;
        cad::BlockReference reference(entity.GetDatabase(), entity.Index());
        RowLink link;
        if (!GetXDataString(reference, kRowLinkApp, text) || base::Trim(text).empty()) continue;
        if (!ParseRowLink(base::Trim(text), link)) continue;
        if (!base::EqualNoCase(base::FileName(link.workbook), workbookName)) continue;
        if (!base::EqualNoCase(link.sheet, options.worksheetName)) continue;
        const int i = link.row - rows.FirstRow();
        if (i >= table.GetSize()) continue;
        if (limited && (link.row < firstLimit || link.row > lastLimit)) continue;
        if (options.tagMode == 0 && link.row == options.tagHeaderRow - rows.FirstRow()) continue;
        if (i < 0) {
            // The host's table refuses the index and the command ends there.
            throw tables::InvalidArgument(base::Sprintf(
                "the row link of %s names sheet row %d, above the table's first row %d", reference.HandleString(),
                link.row, rows.FirstRow()));
        }
        const std::string blockName = rows.BlockName(i);
        cad::BlockRecord block = db->FindBlock(blockName);
        if (!block) continue;
        if (!(reference.Block() == block) && !(DynamicBlockOf(reference) == block)) continue;

        const cad::Point3 present = reference.WorldPosition();
        cad::Point3 move{0, 0, 0};
        const double from[] = {present.x, present.y, present.z};
        double* offsets[] = {&move.x, &move.y, &move.z};
        const std::string* positionHeaders[] = {&h.posX, &h.posY, &h.posZ};
        for (int k = 0; k < 3; ++k) {
            if (rows.Value(i, *positionHeaders[k], cell)) *offsets[k] = arxutils::TextToDistance(db, cell, -1) - from[k];
        }
        cad::TransformBy(reference, cad::Matrix3d::Translation(move));
        ApplyDynamicProperties(reference, table, options, i, true);
        for (cad::Attribute& attribute : reference.Attributes()) {
            if (rows.Value(i, attribute.Tag(), cell) && attribute.TextString() != cell) attribute.SetValue(cell);
        }
        ++report.updated;
    }
}

}  // namespace attbat
