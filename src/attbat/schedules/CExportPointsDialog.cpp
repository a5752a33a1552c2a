#include "attbat/schedules/CExportPointsDialog.h"

#include <algorithm>

#include "arxutils/ArxUtils.h"
#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "attbat/frame/CRegistry.h"
#include "base/Format.h"
#include "cad/Curves.h"
#include "cad/Database.h"
#include "host/Ui.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

constexpr std::string_view kSection = "Velmar";

// The vertices of one entity as the list takes them; none for a class it doesn't know, which
// includes the old-style POLYLINE the selection lets through.
std::vector<cad::Point3> PointsOf(const cad::Entity& entity) {
    const std::string type = entity.Type();
    if (type == "LINE") {
        const cad::Line line(entity.GetDatabase(), entity.Index());
        return {line.Start(), line.End()};
    }
    std::vector<cad::Point3> points;
    if (type == "LWPOLYLINE") {
        for (const cad::PolylinePoint& p : cad::LwPolyline(entity.GetDatabase(), entity.Index()).Points())
            points.push_back({p.x, p.y, 0});
    }
    return points;
}

// Brackets the export: the dialog's controls disabled during it, enabled on every road out.
class DisabledControls {
public:
    explicit DisabledControls(bool& enabled) : enabled_(enabled) { enabled_ = false; }
    ~DisabledControls() { enabled_ = true; }

private:
    bool& enabled_;
};

}  // namespace

const std::vector<Control>& CExportPointsDialog::Controls() {
    static const std::vector<Control> controls = {
        {"separator", ControlKind::Text, "\"Separator:\"", {}, "TEXT"},
        {"x", ControlKind::Check, "\"X\""},
        {"y", ControlKind::Check, "\"Y\""},
        {"z", ControlKind::Check, "\"Z\""},
        {"start-row", ControlKind::Text, "\"Start row:\" (1 to 10000)", {}, "N"},
        {"start-column", ControlKind::Text, "\"Start column:\"", {}, "LETTERS"},
        {"workbook-option", ControlKind::Choice, "\"Create new workbook\" or \"Use active workbook\"",
         {"new", "active"}},
    };
    return controls;
}

std::string CExportPointsDialog::FormatPoint(const cad::Database& db, const cad::Point3& point,
                                             std::string_view separator, bool useX, bool useY, bool useZ) {
    std::string text;
    if (useX) text += arxutils::DistanceText(&db, point.x) + std::string(separator);
    if (useY) text += arxutils::DistanceText(&db, point.y) + std::string(separator);
    if (useZ) text += arxutils::DistanceText(&db, point.z);
    return text;
}

void CExportPointsDialog::OnInitDialog() {
    m_separator = CRegistry::GetString(kSection, "ExportPointSeparator", ",");
    m_showX = CRegistry::GetInt(kSection, "ExportPointX", 1);
    m_showY = CRegistry::GetInt(kSection, "ExportPointY", 1);
    m_showZ = CRegistry::GetInt(kSection, "ExportPointZ", 1);
    m_startRow = CRegistry::GetInt(kSection, "ExportPointStartRow", 1);
    m_startColumn = CRegistry::GetString(kSection, "ExportPointStartCol", "A");
    m_workbookOption = CRegistry::GetInt(kSection, "ExportPointWkOpt", 0);
    FillList();
}

void CExportPointsDialog::FillList() {
    const std::string separator = m_separator.empty() ? std::string(",") : m_separator;
    std::vector<std::vector<std::string>> table;
    std::size_t width = 0;
    for (const cad::Entity& entity : m_entityIds) {
        std::vector<std::string> row;
        if (entity && !entity.IsErased()) {
            for (const cad::Point3& point : PointsOf(entity))
                row.push_back(FormatPoint(db_, point, separator, m_showX, m_showY, m_showZ));
        }
        width = std::max(width, row.size());
        table.push_back(std::move(row));
    }
    for (std::size_t c = m_columns.size(); c < width; ++c) m_columns.push_back(base::Sprintf("Pt%ld", static_cast<long>(c + 1)));
    m_rows.clear();
    for (std::vector<std::string>& row : table) {
        // An empty row ends the list, and with it every row behind it.
        if (row.empty()) break;
        m_rows.push_back(std::move(row));
    }
}

void CExportPointsDialog::OnCheckX(bool on) {
    m_showX = on ? 1 : 0;
    FillList();
}

void CExportPointsDialog::OnCheckY(bool on) {
    m_showY = on ? 1 : 0;
    FillList();
}

void CExportPointsDialog::OnCheckZ(bool on) {
    m_showZ = on ? 1 : 0;
    FillList();
}

void CExportPointsDialog::OnSeparatorChanged(std::string_view text) {
    m_separator = std::string(text);
    if (!m_separator.empty()) FillList();
}

bool CExportPointsDialog::SetStartRow(int row) {
    if (row < minStartRow || row > maxStartRow) {
        // The dialog framework's own words for its range check.
        host::ShowMessage(base::Sprintf("Please enter an integer between %d and %d.", minStartRow, maxStartRow),
                          "Velmar", host::BoxIcon::Warning);
        return false;
    }
    m_startRow = row;
    return true;
}

void CExportPointsDialog::StoreSettings() const {
    CRegistry::SetString(kSection, "ExportPointSeparator", m_separator);
    CRegistry::SetInt(kSection, "ExportPointX", m_showX);
    CRegistry::SetInt(kSection, "ExportPointY", m_showY);
    CRegistry::SetInt(kSection, "ExportPointZ", m_showZ);
    CRegistry::SetInt(kSection, "ExportPointStartRow", m_startRow);
    CRegistry::SetString(kSection, "ExportPointStartCol", m_startColumn);
    CRegistry::SetInt(kSection, "ExportPointWkOpt", m_workbookOption);
}

bool CExportPointsDialog::OnExport() {
    if (m_startRow < minStartRow || m_startRow > maxStartRow) return SetStartRow(m_startRow);
    DisabledControls disabled(controlsEnabled);
    bool attached = m_workbookOption != 0 && ExcelUtils::ConnectToExcel(true) && ExcelUtils::Workbook;
    if (!attached) {
        // An active workbook that isn't there leads to a new one, without a word.
        ExcelUtils::Disconnect();
        attached = ExcelUtils::StartExcel(true) && ExcelUtils::AddWorkbook();
    }
    bool done = false;
    if (attached && ExcelUtils::Worksheet) {
        try {
            {
                arxutils::ScopedExcelWriting writing;
                const int columns = std::min(static_cast<int>(m_columns.size()), maxColumns);
                const int rows = static_cast<int>(m_rows.size());
                if (ExcelUtils::CreateStagingArray(rows, columns)) {
                    for (int r = 0; r < rows; ++r) {
                        const int filled = std::min(static_cast<int>(m_rows[r].size()), columns);
                        for (int c = 0; c < filled; ++c) ExcelUtils::PutStagedCell(m_rows[r][c], r, c);
                    }
                    ExcelUtils::FlushStaging(base::Sprintf("$%s$%d", m_startColumn, m_startRow), false, false);
                }
                ExcelUtils::AutoFitUsedColumns();
            }
            host::ShowMessageOnceSaved("\nSuccessfully export the points.", "Velmar");
            done = true;
        } catch (const excel::AutomationError& e) {
            host::ShowMessage(e.Description(), "Velmar");
        }
    }
    StoreSettings();
    ExcelUtils::Disconnect();
    return done;
}

}  // namespace attbat
