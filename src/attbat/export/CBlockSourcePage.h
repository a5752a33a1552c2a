#pragma once
// The wizard's "Data Source" page: the current drawing, picked objects or a list of drawing
// files, each with its own block collection, and the drawing list with its .lst file.

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"
#include "attbat/model/AcadBlockArray.h"
#include "attbat/model/AcadBlockFilter.h"
#include "attbat/model/DrawingList.h"
#include "tables/CStringArrayEx.h"
#include "base/Status.h"
#include "cad/BlockReference.h"
#include "cad/geometry/MLeader.h"

namespace attbat {

class Archive;
class CScheduleDialog;

class CBlockSourcePage {
public:
    // One row of the drawing list on screen: file name, its folder, and the selection.
    struct ListRow {
        std::string drawing;
        std::string folder;
        bool selected = false;
    };

    static constexpr std::string_view title = "Data Source";

    // A check box of the wizard's filter on this page.
    struct FilterBox {
        const char* key;
        const char* label;
        int AcadBlockFilter::*member;
    };
    static std::span<const FilterBox> FilterBoxes();
    // The page's controls: the source, the pick, the drawing list's buttons, the filter.
    static const std::vector<Control>& Controls();

    explicit CBlockSourcePage(CScheduleDialog& wizard) : wizard_(wizard) {}

    // Loads the wizard's filter, reads the current drawing once, then OnSourceChanged. A drawing
    // that can't be read leaves its collection empty; the reason stays in CurrentReadStatus.
    void OnInitDialog();
    // Applies m_dataSource: enabled controls, the count label, the current-space flag (cleared
    // for good by the drawing list) and the wizard's active collection.
    void OnSourceChanged();
    // The picked references (and multileaders unless ExportBlocksInMLeader is 0) replace the
    // selected collection; the label counts everything picked.
    void SelectObjects(const std::vector<cad::BlockReference>& references,
                       const std::vector<cad::MLeader>& multileaders, long pickedCount);
    // Adds a path unless it stands in the list already (exact comparison, case included).
    void AddDrawing(const std::string& path);
    // AddDrawing for each drawing CollectDrawings finds in `folder`.
    void AddFolder(const std::string& folder);
    // The drawings of `folder`, entering subfolders only while SearchSubfolder is set; in the
    // order of the walk.
    void CollectDrawings(const std::string& folder, std::vector<std::string>& out);
    // Removes each selected row, with every path equal to it without regard to case.
    void Remove();
    // Replaces the list by a .lst file's lines (trimmed, blank ones skipped); the list is
    // emptied even when the file can't be read.
    base::Status LoadList(const std::string& path);
    // Writes one path per line, each ending in CR CR LF as the Windows program writes it.
    base::Status SaveList(const std::string& path) const;
    // Stores the "Search subfolder" box at once.
    void SetSearchSubfolder(bool on);
    // Reads the listed drawings when the list changed since the last read; a cancel keeps what
    // was read so far until the list changes again.
    void ReadDrawings();
    // The template's source part: the data source and, for the drawing list, its paths; a
    // loaded list counts as changed and is not checked against the disk.
    void SerializeSource(Archive& archive, int version);
    // Where the current drawing's read failed; Ok when it was read (or there is none to read).
    const base::Status& CurrentReadStatus() const { return currentStatus_; }
    // The text of the count label beside the pick button.
    const std::string& CountLabel() const { return countLabel_; }

    int m_dataSource = 0;  // 0 current drawing, 1 picked objects, 2 drawing list
    AcadBlockArray m_selectedBlocks;
    AcadBlockArray m_currentBlocks;
    AcadBlockArray m_drawingBlocks;
    tables::CStringArrayEx m_drawingPaths;   // the full paths behind m_drawingList
    std::vector<ListRow> m_drawingList;
    int m_drawingsDirty = 0;
    int m_searchSubfolder = 0;
    bool pickEnabled = false;        // the pick button
    bool listEnabled = false;        // the list and its buttons
    bool currentSpaceEnabled = true; // "&Current space only"

private:
    CScheduleDialog& wizard_;
    base::Status currentStatus_;
    std::string countLabel_ = "0";
};

}  // namespace attbat
