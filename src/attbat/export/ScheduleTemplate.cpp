// Schedule templates: the whole wizard state in the archive stream the Windows program writes,
// kept in .vlt files.

#include <algorithm>

#include "attbat/export/CScheduleDialog.h"
#include "attbat/model/Archive.h"
#include "base/File.h"
#include "base/Format.h"
#include "base/Text.h"
#include "host/Ui.h"

namespace attbat {

namespace {

constexpr std::string_view kSignature = CScheduleDialog::templateSignature;
constexpr int kTemplateVersion = 4;

}  // namespace

void CBlockSourcePage::SerializeSource(Archive& archive, int /*version*/) {
    archive.Int32(m_dataSource);
    if (m_dataSource == 2) {
        tables::CStringArrayEx paths = m_drawingPaths;
        archive.StringArray(paths);
        if (!archive.IsStoring() && archive.Ok()) {
            m_drawingsDirty = 1;
            m_drawingPaths.RemoveAll();
            m_drawingList.clear();
            for (const std::string& path : paths) AddDrawing(path);
        }
    }
    if (!archive.IsStoring()) OnSourceChanged();
}

void CAttributePage::SerializeAttributePage(Archive& archive, int /*version*/) {
    archive.Int32(m_withAttributesOnly);
    archive.Int32(m_inUseOnly);
    tables::CStringArrayEx unticked;
    for (const ListRow& row : m_blockList) {
        if (!row.checked) unticked.Add(row.name);
    }
    archive.StringArray(unticked);
    if (!archive.IsStoring()) m_restoredUnchecked = unticked;
}

void CAttPreviewPage::SerializePreviewPage(Archive& archive, int version) {
    if (archive.IsStoring() || version >= 3) {
        std::vector<std::uint16_t> order(columnOrder_.begin(), columnOrder_.end());
        archive.WordArray(order);
        if (!archive.IsStoring()) m_savedColumnOrder.assign(order.begin(), order.end());
    }
    if (archive.IsStoring() || version >= 4) {
        archive.Int32(m_sortColumn);
        archive.Int32(m_sortDirection);
    }
    if (!archive.IsStoring()) {
        m_headerStyle = wizard_.m_view.headerStyle;
        m_columnSort = wizard_.m_view.columnSort;
        headerStyleEnabled = wizard_.m_view.includeHeader != 0;
    }
}

bool CScheduleDialog::SerializeTemplate(Archive& archive, int& failure) {
    std::string signature(kSignature);
    archive.String(signature);
    if (!archive.IsStoring() && (!archive.Ok() || !base::EqualNoCase(signature, kSignature))) {
        failure = 1;
        return false;
    }
    int version = kTemplateVersion;
    archive.Int32(version);
    if (!archive.IsStoring() && (!archive.Ok() || version <= 0)) {
        failure = 2;
        return false;
    }
    // A later version is read as the latest one known; its additions would come after these.
    version = std::min(version, kTemplateVersion);
    int page = static_cast<int>(m_activePage);
    archive.Int32(page);
    m_filter.Serialize(archive);
    m_view.schemaVersion = version;
    m_view.Serialize(archive);
    m_blockSourcePage.SerializeSource(archive, version);
    m_attributePage.SerializeAttributePage(archive, version);
    m_previewPage.SerializePreviewPage(archive, version);
    if (!archive.Ok()) {
        failure = 3;
        return false;
    }
    if (!archive.IsStoring()) {
        // The template takes effect the ordinary way: drawings read, pages refilled.
        m_activePage = 0;
        UpdateButtons();
        ShowCurrentPage();
        while (static_cast<int>(m_activePage) < std::min(page, 2)) GoNext();
    }
    return true;
}

base::Status CScheduleDialog::SaveTemplate(const std::string& path) {
    m_attributePage.CollectPage();
    Archive archive = Archive::ForStoring();
    int failure = 0;
    SerializeTemplate(archive, failure);
    return base::WriteFileAtomic(path, archive.Bytes());
}

bool CScheduleDialog::LoadTemplate(const std::string& path) {
    auto bytes = base::ReadFile(path);
    if (!bytes) {
        host::ShowMessage(bytes.GetStatus().Message(), "Velmar");
        return false;
    }
    Archive archive = Archive::ForLoading(*bytes);
    int failure = 0;
    if (!SerializeTemplate(archive, failure)) {
        host::ShowMessage(base::Sprintf("Invalid Velmar template file: %d.", failure), "Velmar");
        return false;
    }
    return true;
}

}  // namespace attbat
