#include "attbat/authoring/CInsertBlockDialog.h"

#include <set>

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "cad/BlockRecord.h"
#include "cad/Database.h"
#include "host/Ui.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;

bool Refuse(std::string_view text) {
    host::ShowMessage(text, CInsertBlockDialog::boxTitle);
    return false;
}

// Blocks a user can insert: not layouts, references to other drawings or anonymous blocks.
bool Insertable(const cad::BlockRecord& block) {
    return !block.IsLayout() && !block.IsFromExternalReference() && !block.IsAnonymous();
}

}  // namespace

const std::vector<Control>& CInsertBlockDialog::Controls() {
    static const std::vector<Control> controls = {
        {"workbook", ControlKind::Text, "Workbook: (opened with \"...\")", {}, "FILE"},
        {"worksheet", ControlKind::Text, "Worksheet:", {}, "NAME"},
        {"selected-rows", ControlKind::Check, "Selected Rows"},
        {"block-name-column", ControlKind::Text, "Block Name Column:", {}, "COLUMN"},
        {"specify-block-name", ControlKind::Check, "Specify a block name"},
        {"block-name", ControlKind::Text, "Block Name: (turns \"Specify a block name\" on)", {}, "NAME"},
        {"tags-from", ControlKind::Choice,
         "Header Row for Attribute Tag: / Specify Columns for Attribute Tags / Dynamic Properties",
         {"header-row", "columns"}},
        {"header-row", ControlKind::Text, "Header Row for Attribute Tag: the row number (1 to 675)", {}, "N"},
        {"column", ControlKind::List,
         "Column: / Attribute Tag / Dynamic Property: / Add: a column and what it holds, e.g. C=MARK", {},
         "COLUMN=TAG", true},
        {"remove-column", ControlKind::List, "Remove: columns to take off the list", {}, "COLUMNS", true},
        {"load-list", ControlKind::Text, "Load List: the list from a column list file", {}, "FILE.c2a"},
        {"save-list", ControlKind::Text, "Save List: the list to a column list file", {}, "FILE.c2a"},
        {"drawing-path-column", ControlKind::Text,
         "Drawing Path Column: (\"none\" for none) Use this opt to insert blocks to mulitple drawings.", {},
         "COLUMN"},
        {"insertion-point-on-screen", ControlKind::Check, "Specify insertion point On-screen"},
        {"block-burst", ControlKind::Check, "Block Burst"},
        {"burst-column", ControlKind::Text, "Burst Column: (turns its check box on)", {}, "COLUMN"},
        {"block-library", ControlKind::Text, "Block Library Dwg:", {}, "FILE.dxf"},
    };
    return controls;
}

void CInsertBlockDialog::FillPickers() {
    m_columnChoices.clear();
    for (int column = 1; column <= lastPickerNumber; ++column) m_columnChoices.push_back(tables::ColumnLetters(column));
    m_blockNames.clear();
    m_tagChoices.clear();
    if (db_) {
        std::set<std::string> seen;
        for (const cad::BlockRecord& block : db_->Blocks()) {
            if (!Insertable(block)) continue;
            m_blockNames.push_back(block.Name());
            for (const cad::AttributeDefinition& def : block.AttributeDefinitions()) {
                if (!def.IsConstant() && seen.insert(def.Tag()).second) m_tagChoices.push_back(def.Tag());
            }
        }
    }
    // The fixed names, whatever the header settings say.
    for (const char* header : {"Position X", "Position Y", "Position Z"}) m_tagChoices.push_back(header);
}

void CInsertBlockDialog::OnInitDialog() {
    FillPickers();
    m_options = CInsertBlocksOpt{};
    m_options.LoadSettings();
    m_blockNameColumnIndex = m_options.blockNameColumn > 0 ? m_options.blockNameColumn - 1 : -1;
    m_headerRowText = m_options.tagHeaderRow > 0 ? std::to_string(m_options.tagHeaderRow) : std::string();
    m_drawingPathColumnIndex = 0;
    m_burstColumnIndex = -1;
    m_list.assign(m_options.columnMap.begin(), m_options.columnMap.end());

    try {
        if (ExcelUtils::ConnectToExcel(true, {}, 1, 0)) {
            if (ExcelUtils::Workbook) m_options.workbookPath = ExcelUtils::Workbook->FullName();
            if (ExcelUtils::Worksheet) m_options.worksheetName = ExcelUtils::Worksheet->GetName();
            if (m_options.selectedRowsOnly) m_options.selectedRows = ExcelUtils::SelectionAddress();
        }
    } catch (const arxutils::excel::AutomationError&) {
        // Nothing attached: the fields stay empty for the user to fill.
    }
    ExcelUtils::Disconnect();
}

bool CInsertBlockDialog::BrowseWorkbook(const std::string& path) {
    m_options.workbookPath = path;
    bool attached = false;
    try {
        if (!ExcelUtils::ConnectToExcel(true, path, 1, 0) && ExcelUtils::StartExcel(true)) {
            ExcelUtils::OpenWorkbook(path, 1, 0);
        }
        if (ExcelUtils::Workbook) {
            m_options.workbookPath = ExcelUtils::Workbook->FullName();
            ExcelUtils::Worksheet = ExcelUtils::Workbook->ActiveSheet();
        }
        if (ExcelUtils::Worksheet) {
            m_options.worksheetName = ExcelUtils::Worksheet->GetName();
            attached = true;
        }
    } catch (const arxutils::excel::AutomationError& error) {
        host::ShowMessage(error.Description(), "Velmar");
    }
    ExcelUtils::Disconnect();
    return attached;
}

void CInsertBlockDialog::SetSelectedRows(bool on) {
    m_options.selectedRowsOnly = on ? 1 : 0;
    if (!on) {
        m_options.selectedRows.clear();
        return;
    }
    try {
        if (ExcelUtils::ConnectToExcel(true, {}, 1, 0)) {
            if (ExcelUtils::Workbook) m_options.workbookPath = ExcelUtils::Workbook->FullName();
            if (ExcelUtils::Worksheet) m_options.worksheetName = ExcelUtils::Worksheet->GetName();
            m_options.selectedRows = ExcelUtils::SelectionAddress();
        }
    } catch (const arxutils::excel::AutomationError& error) {
        host::ShowMessage(error.Description(), "Velmar");
    }
    ExcelUtils::Disconnect();
}

bool CInsertBlockDialog::OnAdd(std::string column, const std::string& tag) {
    if (tag.empty()) return Refuse("Attribute tag is invalid.");
    column = base::Trim(column);
    if (tables::ColumnNumber(column) < 1) return Refuse("Column is invalid.");
    if (m_options.columnMap.count(column)) return Refuse(base::Sprintf("Column %s already exists.", column));
    m_options.columnMap[column] = tag;
    m_list.emplace_back(column, tag);
    return true;
}

bool CInsertBlockDialog::OnRemove(int row) {
    if (row < 0 || row >= static_cast<int>(m_list.size())) return false;
    if (!host::AskYesNo("Are you sure you want to remove the select item?", "Velmar")) return false;
    m_options.columnMap.erase(m_list[static_cast<std::size_t>(row)].first);
    m_list.erase(m_list.begin() + row);
    return true;
}

int CInsertBlockDialog::FindRow(std::string_view column) const {
    for (std::size_t row = 0; row < m_list.size(); ++row) {
        if (m_list[row].first == column) return static_cast<int>(row);
    }
    return -1;
}

bool CInsertBlockDialog::OnSaveList(const std::string& path) const { return SaveColumnList(path, m_list); }

bool CInsertBlockDialog::OnLoadList(const std::string& path) {
    return LoadColumnList(path, m_list, m_options.columnMap);
}

bool CInsertBlockDialog::Validate() {
    CInsertBlocksOpt& o = m_options;
    o.workbookPath = base::Trim(o.workbookPath);
    if (o.workbookPath.empty()) return Refuse("Invalid workbook.");
    if (o.workbookPath.find("https://") == std::string::npos && !base::FileExists(o.workbookPath))
        return Refuse("Please save the workbook first.");
    o.worksheetName = base::Trim(o.worksheetName);
    if (o.worksheetName.empty()) return Refuse("Invalid worksheet.");
    if (o.tagMode == 0) {
        const int row = std::atoi(m_headerRowText.c_str());
        if (row < 1) return Refuse("Header Row is invalid.");
        o.tagHeaderRow = row;
    }
    if (o.useBlockName) {
        if (o.blockName.empty()) return Refuse("Invalid block name.");
    } else {
        if (m_blockNameColumnIndex < 0) return Refuse("Invalid block name column.");
        o.blockNameColumn = m_blockNameColumnIndex + 1;
    }
    o.drawingPathColumn = m_drawingPathColumnIndex;
    o.burstColumn = m_burstColumnIndex + 1;
    o.blockLibraryDwg = base::Trim(o.blockLibraryDwg);
    if (!o.blockLibraryDwg.empty()) {
        if (!base::FileExists(o.blockLibraryDwg))
            return Refuse(base::Sprintf("Can't find the block library dwg: %s", o.blockLibraryDwg));
        // Drawings are DXF files here; a .dwg can't be read.
        if (!base::EqualNoCase(base::Extension(o.blockLibraryDwg), ".dxf")) return Refuse("Invalid block library dwg path.");
    }
    return true;
}

bool CInsertBlockDialog::OnInsertBlocks() {
    if (!Validate()) return false;
    m_options.SaveSettings();
    return true;
}

bool CInsertBlockDialog::OnUpdateBlocks() {
    if (!Validate()) return false;
    m_options.SaveSettings();
    m_options.updateMode = 1;
    return true;
}

}  // namespace attbat
