#include "attbat/authoring/CCreateDwgsDialog.h"

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "attbat/authoring/CInsertBlockDialog.h"
#include "tables/CellAddress.h"

namespace attbat {

using arxutils::ExcelUtils;

void CCreateDwgsDialog::OnInitDialog() {
    // The pickers are those of "Insert / Update Blocks"; its own options are left alone.
    CInsertBlockDialog pickers(db_);
    pickers.FillPickers();
    m_columnChoices = std::move(pickers.m_columnChoices);
    m_blockNames = std::move(pickers.m_blockNames);
    m_tagChoices = std::move(pickers.m_tagChoices);
    m_list.assign(m_options.columnMap.begin(), m_options.columnMap.end());
    m_worksheets.clear();
    m_worksheet = -1;
    try {
        if (ExcelUtils::ConnectToExcel(true, {}, 1, 0) && ExcelUtils::Workbook) {
            m_options.workbookPath = ExcelUtils::Workbook->FullName();
            ExcelUtils::WorksheetNames(m_worksheets);
            if (ExcelUtils::Worksheet) {
                m_options.worksheetName = ExcelUtils::Worksheet->GetName();
                for (std::size_t i = 0; i < m_worksheets.size(); ++i) {
                    if (m_worksheets[i] == m_options.worksheetName) m_worksheet = static_cast<int>(i);
                }
            }
        }
    } catch (const arxutils::excel::AutomationError&) {
        // Nothing attached: the fields stay empty.
    }
    ExcelUtils::Disconnect();
}

}  // namespace attbat
