// The Preview page's export to a native table of the current drawing, and the refill of an
// existing one: widths from the measured texts of the current table style, a title row only
// when a title was given, the wizard's state stored on the table for its refresh.

#include <algorithm>

#include "arxutils/ArxUtils.h"
#include "attbat/export/CAttPreviewPage.h"
#include "attbat/export/CScheduleDialog.h"
#include "attbat/export/TableTextExtents.h"
#include "base/Text.h"
#include "cad/Database.h"
#include "cad/geometry/Table.h"
#include "cad/geometry/TableStyle.h"
#include "host/Document.h"
#include "host/Editor.h"

namespace attbat {

namespace {

// The host's title buffer holds 260 characters with its terminator.
constexpr std::size_t kMaxTitleLength = 259;

}  // namespace

bool CAttPreviewPage::ExportToTable() {
    m_tableFailure.clear();
    m_tableHandle.clear();
    if (columnCount_ == 0 || m_rows.empty()) return false;
    host::Document* document = host::DocumentManager::Instance().CurDocument();
    if (!document) {
        m_tableFailure = "there is no current drawing to put the table in";
        return false;
    }
    cad::Database& db = document->Database();
    cad::TableStyle style = cad::TableStyle::Current(db);

    std::string title;
    if (host::CurrentEditor().GetString(true, "\nEnter the title of the table:", title) != host::RTNORM) return false;
    if (base::Length(title) > kMaxTitleLength) return false;

    if (!style) {
        // Every drawing AutoCAD makes has its Standard table style; drawings other programs
        // wrote often have none, and get AutoCAD's, once the user has gone on past the title.
        auto standard = cad::TableStyle::AddStandard(db);
        if (!standard) {
            m_tableFailure = standard.GetStatus().Message();
            return false;
        }
        style = *standard;
    }
    const double dataHeight = style.TextHeight(cad::TableRowKind::Data);
    const double headerHeight = style.TextHeight(cad::TableRowKind::Header);
    const double spacing = style.HorizontalMargin();
    TableTextExtents extents(db, style.TextStyleName(cad::TableRowKind::Data));

    // Widths by display position: the widest text of the column, or (characters + 2) times the
    // row's text height where the style measures nothing, and the spacing once.
    const int columns = std::min(columnCount_, kMaxColumns);
    const int rows = RowCount();
    std::vector<double> widths(columns, 0.0);
    for (int c = 0; c < columns; ++c) {
        double widest = 0;
        for (int r = 0; r < rows; ++r) {
            const std::string_view text = TextAt(r, c);
            double width = extents.Width(text);
            if (width == 0)
                width = (static_cast<double>(base::Length(text)) + 2) * (r == 0 ? headerHeight : dataHeight);
            widest = std::max(widest, width);
        }
        widths[c] = widest + spacing;
    }

    std::vector<cad::TableCellText> cells;
    cells.reserve(static_cast<std::size_t>(rows) * columns + 1);
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c) cells.push_back({r + 1, c, std::string(TextAt(r, c))});
    if (!title.empty()) cells.push_back({0, 0, title});
    auto made = cad::Table::Create(arxutils::CurrentSpace(db), style, rows + 1, widths, {0, 0, 0}, true, cells);
    if (!made) {
        m_tableFailure = made.GetStatus().Message();
        return false;
    }
    cad::Table table = *made;
    base::Status written = base::Status::Ok();
    if (written && title.empty()) {
        // Without its title row the table's first row is the header, drawn as one.
        table.SuppressTitle();
        written = table.DeleteRows(0, 1);
    }
    if (written) written = WriteTemplateToTable(table);
    if (!written) {
        m_tableFailure = written.Message();
        cad::BlockRecord block = table.Block();
        table.Erase();
        if (block) db.EraseBlock(block);
        return false;
    }
    if (m_tableInsertionPoint) table.SetPosition(*m_tableInsertionPoint);
    m_tableHandle = table.HandleString();
    return true;
}

void CAttPreviewPage::WriteRowsToTable(cad::Table& table) {
    const bool titled = base::EqualNoCase(table.CellStyle(0, 0).name, "_TITLE");
    const int first = titled ? 1 : 0;
    const int rows = RowCount();
    const int columns = std::min(columnCount_, kMaxColumns);
    table.ClearCells(first, 0, table.Rows() - 1, columns - 1);
    if (first + rows > 0) table.SetRowCount(first + rows);
    if (rows == 0) return;
    // A table narrower than the list takes the columns it has.
    const int fits = std::min(columns, table.Columns());
    std::vector<cad::TableCellText> cells;
    cells.reserve(static_cast<std::size_t>(rows) * fits);
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < fits; ++c) cells.push_back({r + first, c, std::string(TextAt(r, c))});
    table.SetCellTexts(cells);
}

}  // namespace attbat
