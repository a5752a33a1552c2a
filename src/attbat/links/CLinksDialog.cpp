#include "attbat/links/CLinksDialog.h"

#include "attbat/frame/CRegistry.h"
#include "attbat/links/ExcelLinkStore.h"
#include "base/Path.h"
#include "base/Text.h"
#include "cad/Database.h"
#include "host/Ui.h"

namespace attbat {

namespace {

constexpr std::string_view kSection = "Velmar";

}  // namespace

const std::vector<Control>& CLinksDialog::Controls() {
    static const std::vector<Control> controls = {
        {"link", ControlKind::Text,
         "the linked workbook picked in the list (\"Manage Links\"): its path, or its file name",
         {}, "WORKBOOK"},
        {"excel-workbook", ControlKind::Text, "\"Excel Workbook:\", the file a link is changed to",
         {}, "FILE"},
        {"update-link", ControlKind::Button,
         "\"Update Link\": link the picked workbook's references to --excel-workbook instead"},
        {"break-link", ControlKind::Button,
         "\"Break Link\": remove the picked workbook's link from every reference"},
        {"auto-update", ControlKind::Check,
         "\"Update the linked attribute values automatically when opening the drawing.\" "
         "(Auto-Update Options)"},
        {"ignore-properties", ControlKind::Check,
         "\"Ignore the properties when updating the linked attribute values automatically.\" "
         "(Auto-Update Options)"},
    };
    return controls;
}

void CLinksDialog::OnInitDialog() {
    m_links.clear();
    if (db_) GetLinkedWorkbooks(*db_, m_links);
    m_selected = -1;
    m_autoUpdate = CRegistry::GetInt(kSection, "AutoUpdateAtt", 0) != 0;
    m_ignoreProperties = CRegistry::GetInt(kSection, "AutoUpdateIgnoreProp", 1) != 0;
}

void CLinksDialog::OnSelectLink(int index) {
    if (index < 0 || index >= static_cast<int>(m_links.size())) {
        m_selected = -1;
        return;
    }
    m_selected = index;
    m_workbook = m_links[static_cast<std::size_t>(index)];
}

void CLinksDialog::OnBrowse(const std::string& path) { m_workbook = base::FullPath(path); }

CLinksDialog::Result CLinksDialog::OnUpdateLink() {
    Result result;
    if (m_workbook.empty() || !base::FileExists(m_workbook)) {
        host::ShowMessage("Invalid workbook path.", "Velmar");
        return result;
    }
    if (!host::AskYesNo("Are you sure you want to change the linked Excel file.", "Velmar")) {
        result.declined = true;
        return result;
    }
    if (m_selected < 0 || !db_) return result;
    const std::string old = m_links[static_cast<std::size_t>(m_selected)];
    if (base::EqualNoCase(old, m_workbook)) return result;
    std::vector<cad::Object> references;
    GetLinkedReferences(*db_, references, old);
    for (cad::Object& reference : references) {
        if (SetXDataString(reference, kWorkbookLinkApp, m_workbook, false)) ++result.references;
    }
    m_links.erase(m_links.begin() + m_selected);
    m_selected = -1;
    bool listed = false;
    for (const std::string& link : m_links) listed = listed || link == m_workbook;
    if (!listed) m_links.push_back(m_workbook);
    result.done = true;
    return result;
}

CLinksDialog::Result CLinksDialog::OnBreakLink() {
    Result result;
    if (!host::AskYesNo("Are you sure you want to delete this link.", "Velmar")) {
        result.declined = true;
        return result;
    }
    if (m_selected < 0 || !db_ || m_links[static_cast<std::size_t>(m_selected)].empty()) return result;
    std::vector<cad::Object> references;
    GetLinkedReferences(*db_, references, m_links[static_cast<std::size_t>(m_selected)]);
    for (cad::Object& reference : references) {
        if (DeleteXData(reference, kWorkbookLinkApp)) ++result.references;
    }
    m_links.erase(m_links.begin() + m_selected);
    m_selected = -1;
    result.done = true;
    return result;
}

bool CLinksDialog::OnOK() {
    bool ok = CRegistry::SetInt(kSection, "AutoUpdateAtt", m_autoUpdate ? 1 : 0);
    return CRegistry::SetInt(kSection, "AutoUpdateIgnoreProp", m_ignoreProperties ? 1 : 0) && ok;
}

}  // namespace attbat
