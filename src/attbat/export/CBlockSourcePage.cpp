#include "attbat/export/CBlockSourcePage.h"

#include <filesystem>

#include "attbat/export/CScheduleDialog.h"
#include "attbat/model/AcadDatabase.h"
#include "base/File.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/Document.h"
#include "host/DwgConverter.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"

namespace attbat {

std::span<const CBlockSourcePage::FilterBox> CBlockSourcePage::FilterBoxes() {
    static constexpr FilterBox boxes[] = {
        {"include-xrefs", "Include Xrefs", &AcadBlockFilter::incXref},
        {"include-nested", "Include nested blocks", &AcadBlockFilter::incNested},
        {"current-space-only", "Current space only", &AcadBlockFilter::currentSpaceOnly},
    };
    return boxes;
}

const std::vector<Control>& CBlockSourcePage::Controls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list = {
            {"source", ControlKind::Choice, "Current Drawing / Select Objects / Select Drawings",
             {"current", "objects", "drawings"}},
            {"objects", ControlKind::List,
             "Select Objects: the picked block references and multileaders, by handle", {}, "HANDLES"},
            {"list", ControlKind::Text, "Load List: the drawing list to read (with --source drawings)", {},
             "FILE.lst"},
            {"save-list", ControlKind::Text, "Save List: writes the drawing list", {}, "FILE.lst"},
            {"add-folder", ControlKind::Text, "Add Folder: every .dxf drawing of the folder", {}, "FOLDER"},
            {"search-subfolder", ControlKind::Check, "Search subfolder"},
            {"block-wildcard", ControlKind::Text, "Block Wildcard Match:", {}, "PATTERN"},
        };
        for (const FilterBox& box : FilterBoxes()) list.push_back({box.key, ControlKind::Check, box.label});
        return list;
    }();
    return controls;
}

void CBlockSourcePage::OnInitDialog() {
    wizard_.m_filter.LoadFromSettings(wizard_.Settings());
    m_searchSubfolder = wizard_.Settings().GetInt(kSettingsSection, "SearchSubfolder", 0);
    m_currentBlocks.RemoveAll();
    currentStatus_ = base::Status::Ok();
    if (host::DocumentManager::Instance().CurDocument()) {
        currentStatus_ = ReadDrawing(m_currentBlocks, "", &wizard_.Settings());
    }
    OnSourceChanged();
}

void CBlockSourcePage::OnSourceChanged() {
    pickEnabled = m_dataSource == 1;
    listEnabled = m_dataSource == 2;
    currentSpaceEnabled = m_dataSource != 2;
    if (m_dataSource == 1) countLabel_ = "0";
    // A list of other drawings has no current space; the flag stays cleared afterwards.
    if (m_dataSource == 2) wizard_.m_filter.currentSpaceOnly = 0;
    wizard_.m_activeBlocks = m_dataSource == 1   ? &m_selectedBlocks
                             : m_dataSource == 2 ? &m_drawingBlocks
                                                 : &m_currentBlocks;
}

void CBlockSourcePage::SelectObjects(const std::vector<cad::BlockReference>& references,
                                     const std::vector<cad::MLeader>& multileaders, long pickedCount) {
    m_selectedBlocks.RemoveAll();
    countLabel_ = base::Sprintf("%ld", pickedCount);
    host::Document* doc = host::DocumentManager::Instance().CurDocument();
    std::string name = doc ? doc->FileName() : std::string();
    ReadSelection(m_selectedBlocks, references, name);
    if (wizard_.Settings().GetInt(kSettingsSection, "ExportBlocksInMLeader", 1) != 0) {
        for (const cad::MLeader& leader : multileaders) ReadOneMLeader(m_selectedBlocks, leader, name);
    }
}

void CBlockSourcePage::AddDrawing(const std::string& path) {
    if (m_drawingPaths.FindString(path, false) >= 0) return;
    m_drawingPaths.Add(path);
    std::string drawing = base::FileName(path);
    m_drawingList.push_back({drawing, path.substr(0, path.size() - drawing.size()), false});
    m_drawingsDirty = 1;
}

void CBlockSourcePage::AddFolder(const std::string& folder) {
    if (folder.empty()) return;
    std::vector<std::string> found;
    CollectDrawings(folder, found);
    for (const std::string& path : found) AddDrawing(path);
}

void CBlockSourcePage::CollectDrawings(const std::string& folder, std::vector<std::string>& out) {
    std::error_code error;
    for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end;
         it.increment(error)) {
        const std::filesystem::path& entry = it->path();
        std::error_code kindError;
        if (it->is_directory(kindError)) {
            // Read for each folder, as the box may change between walks.
            if (wizard_.Settings().GetInt(kSettingsSection, "SearchSubfolder", 0) != 0) {
                CollectDrawings(entry.string(), out);
            }
        } else if (host::IsReadableDrawingName(entry.string())) {
            out.push_back(entry.string());
        }
    }
}

void CBlockSourcePage::Remove() {
    for (int row = static_cast<int>(m_drawingList.size()) - 1; row >= 0; --row) {
        if (!m_drawingList[row].selected) continue;
        std::string path = m_drawingList[row].folder + m_drawingList[row].drawing;
        for (int i = m_drawingPaths.GetUpperBound(); i >= 0; --i) {
            if (base::EqualNoCase(m_drawingPaths[i], path)) m_drawingPaths.RemoveAt(i);
        }
        m_drawingsDirty = 1;
        m_drawingList.erase(m_drawingList.begin() + row);
    }
}

base::Status CBlockSourcePage::LoadList(const std::string& path) {
    m_drawingsDirty = 1;
    m_drawingList.clear();
    m_drawingPaths.RemoveAll();
    auto bytes = base::ReadFile(path);
    if (!bytes) return base::Status::Error("Cannot open the drawing list \"" + path + "\": " +
                                           bytes.GetStatus().Message());
    for (const std::string& line : ParseDrawingList(*bytes)) AddDrawing(line);
    return base::Status::Ok();
}

base::Status CBlockSourcePage::SaveList(const std::string& path) const {
    return base::WriteFileAtomic(path, FormatDrawingList(m_drawingPaths));
}

void CBlockSourcePage::SetSearchSubfolder(bool on) {
    m_searchSubfolder = on ? 1 : 0;
    wizard_.Settings().SetInt(kSettingsSection, "SearchSubfolder", m_searchSubfolder);
}

void CBlockSourcePage::ReadDrawings() {
    if (m_drawingPaths.IsEmpty() || m_drawingsDirty == 0) return;
    m_drawingBlocks.RemoveAll();
    {
        host::ProgressMeter meter("Reading drawings ...", m_drawingPaths.GetSize());
        for (const std::string& path : m_drawingPaths) {
            if (base::FileExists(path)) {
                base::Status status = ReadDrawing(m_drawingBlocks, path, &wizard_.Settings());
                if (!status) {
                    host::ShowMessage(base::Sprintf("Failed to read %s: %s", path, status.Message()),
                                      "Orvane Velmar");
                }
            }
            meter.Step();
            if (host::ProgressMeter::Cancelled()) break;
        }
    }
    m_drawingsDirty = 0;
}

}  // namespace attbat
