#include "attbat/import/CImportByHandleDialog.h"

#include "arxutils/ExcelUtils.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;

// The menu holds no more workbooks than this.
constexpr int kMaxMenuWorkbooks = 99;

}  // namespace

void CImportByHandleDialog::OnInitDialog() {
    m_options = ImportByHandleOptions{};
    m_options.LoadSettings();
    m_workbooks.clear();
    m_workbook = ExcelUtils::Workbook ? ExcelUtils::Workbook->FullName() : std::string();
    m_worksheet = ExcelUtils::Worksheet ? ExcelUtils::Worksheet->GetName() : std::string();
    if (!m_workbook.empty()) m_workbooks.push_back(m_workbook);
    if (!ExcelUtils::Application) return;
    auto books = ExcelUtils::Application->GetWorkbooks();
    if (!books) return;
    for (int i = 1; i <= books->Count() && static_cast<int>(m_workbooks.size()) < kMaxMenuWorkbooks; ++i) {
        auto book = books->Item(i);
        if (!book) continue;
        std::string name = book->FullName();
        if (name != m_workbook) m_workbooks.push_back(name);
    }
}

bool CImportByHandleDialog::ChooseWorkbook(int index) {
    if (index < 0 || index >= static_cast<int>(m_workbooks.size())) return false;
    const std::string& name = m_workbooks[index];
    if (name == m_workbook) return true;
    if (!ExcelUtils::Application) return false;
    auto books = ExcelUtils::Application->GetWorkbooks();
    if (!books) return false;
    for (int i = 1; i <= books->Count(); ++i) {
        auto book = books->Item(i);
        if (!book || book->FullName() != name) continue;
        auto sheet = book->ActiveSheet();
        if (!sheet) return false;
        m_workbook = name;
        m_worksheet = sheet->GetName();
        ExcelUtils::Workbook = std::move(book);
        ExcelUtils::Worksheet = std::move(sheet);
        return true;
    }
    return false;
}

void CImportByHandleDialog::SetCurrentDrawingOnly(bool on) {
    m_options.CurrentDrawingOnly = on ? 1 : 0;
    if (!on) m_options.IgnoreDrawingPath = 0;
}

void CImportByHandleDialog::OnOK() {
    if (tables::ColumnNumber(m_options.StartColumn) < 1) m_options.StartColumn = std::string("A");
    if (m_options.StartRow < 1) m_options.StartRow = 1;
    if (!m_options.CurrentDrawingOnly) m_options.IgnoreDrawingPath = 0;
    m_options.SaveSettings();
}

const std::vector<Control>& CImportByHandleDialog::Controls() {
    static const std::vector<Control> controls = {
        {"sheets", ControlKind::Choice, "Active sheet only / Entire workbook", {"active", "all"}},
        {"start-column", ControlKind::Text, "Start Column:", {}, "LETTERS"},
        {"start-row", ControlKind::Text, "Start Row:", {}, "N"},
        {"ignore-property", ControlKind::Check, "Ignore property"},
        {"current-drawing-only", ControlKind::Check, "Update the current drawing only"},
        {"ignore-drawing-path", ControlKind::Check, "Ignore the drawing paths of the attribute values"},
        {"save-link", ControlKind::Check, "Save the link of the Excel file to the drawing."},
        {"choose-workbook", ControlKind::Text, "\">\": the open workbook to read, by full path or file name", {},
         "NAME"},
    };
    return controls;
}

}  // namespace attbat
