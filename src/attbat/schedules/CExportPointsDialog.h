#pragma once
// The dialog "Export Points" of Velmar_ExportPoints, as a model: the picked lines and polylines,
// a preview with one row per curve and one column per point, each point a text of coordinates
// joined by the separator, and the export of that table to a worksheet.
#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"
#include "cad/Entity.h"

namespace cad {
class Database;
struct Point3;
}

namespace attbat {

class CExportPointsDialog {
public:
    static constexpr std::string_view title = "Export Points";
    // The two start fields' limits, by the dialog's own range check.
    static constexpr int minStartRow = 1;
    static constexpr int maxStartRow = 10000;
    // The most columns the export takes from the list.
    static constexpr int maxColumns = 1024;
    // The separator, the three check boxes, the start cell and the workbook choice.
    static const std::vector<Control>& Controls();

    // `db` is the drawing the entities come from; `entityIds` the selection, in its order.
    CExportPointsDialog(cad::Database& db, std::vector<cad::Entity> entityIds)
        : m_entityIds(std::move(entityIds)), db_(db) {}

    // A point as the list shows it: each coordinate by the drawing's own units and precision;
    // x and y each followed by the separator, z without one, so that with Z off the text ends
    // in a separator.
    static std::string FormatPoint(const cad::Database& db, const cad::Point3& point, std::string_view separator,
                                   bool useX, bool useY, bool useZ);

    // Reads the seven settings and fills the list.
    void OnInitDialog();
    // The list anew: a row per entity (a line's two points, a lightweight polyline's vertices
    // with z 0, nothing for any other), columns "Pt%ld" added as the widest row needs (never
    // removed), and the rows up to the first one that has no point.
    void FillList();
    // The check boxes "X", "Y", "Z": each refills the list.
    void OnCheckX(bool on);
    void OnCheckY(bool on);
    void OnCheckZ(bool on);
    // A change of the separator field; an emptied field keeps the list as it is.
    void OnSeparatorChanged(std::string_view text);
    // "Start row:" through the dialog's range check: a value outside 1 to 10,000 shows the
    // standard message and is refused (false).
    bool SetStartRow(int row);
    // "Export to Excel": the list to a new workbook, or to the active one (a new one when none
    // runs), from the start cell; the settings are stored whatever happens, and the dialog stays
    // open. False when the values were refused or the export failed (a message said why).
    bool OnExport();

    std::vector<cad::Entity> m_entityIds;  // the selection
    std::string m_separator = ",";   // "Separator:"
    int m_showX = 1;                 // "X"
    int m_showY = 1;                 // "Y"
    int m_showZ = 1;                 // "Z"
    int m_startRow = 1;              // "Start row:"
    std::string m_startColumn = "A"; // "Start column:"
    int m_workbookOption = 0;        // "Create new workbook" (0), "Use active workbook" (1)
    std::vector<std::string> m_columns;            // the list's columns
    std::vector<std::vector<std::string>> m_rows;  // its rows: item text, then the subitems
    bool controlsEnabled = true;

private:
    void StoreSettings() const;
    cad::Database& db_;
};

}  // namespace attbat
