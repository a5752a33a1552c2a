#include "attbat/export/CScheduleDialog.h"

#include "attbat/export/CExportOptionsDialog.h"
#include "attbat/export/CSelectAttributeDialog.h"
#include "attbat/links/CLinkExternalDataDialog.h"

namespace attbat {

CScheduleDialog::CScheduleDialog(SettingsStore& settings, const DrawingContext& drawing,
                                 bool showOuterPolygon)
    : m_blockSourcePage(*this), m_attributePage(*this), m_previewPage(*this),
      settings_(settings), drawing_(drawing), showOuterPolygon_(showOuterPolygon) {}

void CScheduleDialog::OnInitDialog() {
    m_activePage = 0;
    m_attributePage.OnInitDialog(showOuterPolygon_);
    m_previewPage.OnInitDialog();
    m_blockSourcePage.OnInitDialog();
    UpdateButtons();
    title = CBlockSourcePage::title;
}

void CScheduleDialog::GoNext() {
    if (m_activePage >= 2) return;
    if (m_activePage == 0) {
        m_filter.SaveToSettings(settings_);
        if (m_blockSourcePage.m_dataSource == 2) m_blockSourcePage.ReadDrawings();
    }
    ++m_activePage;
    UpdateButtons();
    ShowCurrentPage();
}

void CScheduleDialog::GoBack() {
    if (m_activePage == 0) return;
    --m_activePage;
    UpdateButtons();
    ShowCurrentPage();
}

void CScheduleDialog::ShowCurrentPage() {
    switch (m_activePage) {
    case 0:
        title = CBlockSourcePage::title;
        m_attributePage.CollectPage();
        break;
    case 1:
        title = CAttributePage::title;
        m_attributePage.RefreshPage();
        break;
    default:
        title = CAttPreviewPage::title;
        m_attributePage.CollectPage();
        m_previewPage.RefreshPage();
        break;
    }
}

void CScheduleDialog::ReleaseReferences() {
    if (!m_activeBlocks) return;
    for (AcadBlock& block : *m_activeBlocks) block.refs = AcadBlockRefArray();
}

void CScheduleDialog::UpdateButtons() {
    nextEnabled = m_activePage != 2;
    backEnabled = m_activePage != 0;
}

const std::vector<Control>& CScheduleDialog::Controls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list = CBlockSourcePage::Controls();
        Append(list, CAttributePage::Controls());
        Append(list, CSelectAttributeDialog::Controls());
        Append(list, CAttPreviewPage::Controls());
        Append(list, CExportOptionsDialog::Controls());
        Append(list, CLinkExternalDataDialog::Controls());
        Append(list, {
            {"template", ControlKind::Text, "Load Template: the wizard state to start from", {}, "FILE.vlt"},
            {"save-template", ControlKind::Text, "Save Template: the wizard state as set by the options", {},
             "FILE.vlt"},
        });
        return list;
    }();
    return controls;
}

}  // namespace attbat
