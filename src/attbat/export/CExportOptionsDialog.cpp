#include "attbat/export/CExportOptionsDialog.h"

#include <cstdlib>

#include "tables/CellAddress.h"
#include "base/Text.h"

namespace attbat {

void CExportOptionsDialog::OnInitDialog() {
    m_options = ExportOptions{};
    LoadExportOptions(m_options, store_);
    m_startColumn = m_options.startColumn;
    m_startRowText = m_options.startRow > 0 ? std::to_string(m_options.startRow) : std::string(lastFilledRow);
}

void CExportOptionsDialog::OnOK() {
    m_options.startColumn = base::ToUpper(m_startColumn);
    // A number typed as the column names it by letters, which the cell addresses need.
    int column = tables::ColumnNumber(m_options.startColumn);
    m_options.startColumn = column < 1 ? std::string("A") : tables::ColumnLetters(column);
    if (base::EqualNoCase(m_startRowText, lastFilledRow)) {
        m_options.startRow = -1;
    } else {
        // As the C runtime converts a decimal text: leading digits count, the rest is ignored.
        long row = std::strtol(m_startRowText.c_str(), nullptr, 10);
        m_options.startRow = row < 1 ? 1 : static_cast<int>(row);
    }
    StoreExportOptions(m_options, store_);
}

const std::vector<Control>& CExportOptionsDialog::Controls() {
    static const std::vector<Control> controls = {
        {"workbook-mode", ControlKind::Choice, "Create new workbook / Use active workbook", {"new", "active"}},
        {"sheets", ControlKind::Choice, "One sheet for each block / One sheet for all blocks", {"each", "one"}},
        {"start-column", ControlKind::Text, "Start column:", {}, "LETTERS"},
        {"start-row", ControlKind::Text, "Start row: (\"last\": Last Filled Row)", {}, "N|last"},
        {"border", ControlKind::Check, "Apply border"},
        {"merge", ControlKind::Check, "Merge block name cell"},
        {"hyperlink", ControlKind::Check, "Add Hyperlink to drawing name"},
    };
    return controls;
}

}  // namespace attbat
