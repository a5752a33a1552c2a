#pragma once
// The schedule wizard behind "velmar export": three pages in one window, the filter and the
// view they share, and the collection of the chosen data source.

#include <cstdint>
#include <string>
#include <string_view>

#include "attbat/export/CAttPreviewPage.h"
#include "attbat/export/CAttributePage.h"
#include "attbat/export/CBlockSourcePage.h"
#include "attbat/model/AcadBlockFilter.h"
#include "attbat/model/AcadBlockView.h"
#include "base/Status.h"

namespace cad {
class Table;
}

namespace attbat {

class AcadBlockArray;
class Archive;
class DrawingContext;
class SettingsStore;

class CScheduleDialog {
public:
    static constexpr std::string_view resourceTitle = "Schedule";
    // What a template stream begins with, and the key of its record on a table.
    static constexpr std::string_view templateSignature = "D947AC3F-6E41-49e9-8CB6-A508362E9A4C";
    // The wizard's controls page by page, the "Attributes", "Export Options" and "Link External
    // Data" dialogs in the places their buttons have, then the template buttons.
    static const std::vector<Control>& Controls();

    // `drawing` is the working drawing's context (no drawing: an empty one); both outlive the
    // wizard. `showOuterPolygon` is the switch VelmarOut read from CalOuterPolygon.
    CScheduleDialog(SettingsStore& settings, const DrawingContext& drawing, bool showOuterPolygon);
    CScheduleDialog(const CScheduleDialog&) = delete;
    CScheduleDialog& operator=(const CScheduleDialog&) = delete;

    // Creates the pages in the order that matters: the attribute page loads the view, then the
    // source page loads the filter and reads the current drawing, once per wizard.
    void OnInitDialog();
    // Leaves page 0 storing the filter (and reading a drawing list), then moves on; nothing
    // past page 2.
    void GoNext();
    // Moves back one page, storing and reading nothing; nothing before page 0.
    void GoBack();
    // Shows the active page with its title, collecting the attribute page and building the
    // preview as the page needs.
    void ShowCurrentPage();

    // Gives back the memory of the references read for the rows, once the rows are built and only
    // written from now on; the blocks keep their names and definitions. The preview can't be
    // built again after it.
    void ReleaseReferences();

    // Writes the whole wizard state to a .vlt file (version 4) after taking the pages' controls.
    base::Status SaveTemplate(const std::string& path);
    // Reads a .vlt file and replays "Next" up to its page; a bad file shows "Invalid Velmar
    // template file: N." and leaves the wizard as far as it got. False when nothing was loaded.
    bool LoadTemplate(const std::string& path);
    // Reads the template stream stored on `table` and replays "Next" up to its page. 0 when the
    // table has no stream (none made by the wizard); a bad signature or version shows "Invalid
    // Velmar template data: N." and gives 0 as well.
    int LoadTemplateFromTable(const cad::Table& table);
    // "Update AutoCAD Table" on a table already picked: loads its template and refills it from
    // the drawings as they are now. False, with the host's message shown, when the table holds
    // no template.
    bool UpdateTable(cad::Table& table);
    // The stream of a template, in either direction; loading returns false on a bad signature,
    // version or stream, with the number of the message in `failure`.
    bool SerializeTemplate(Archive& archive, int& failure);

    SettingsStore& Settings() { return settings_; }
    const DrawingContext& Drawing() const { return drawing_; }

    std::string title{resourceTitle};
    bool backEnabled = true;
    bool nextEnabled = true;

    std::uint32_t m_activePage = 0;
    CBlockSourcePage m_blockSourcePage;
    CAttributePage m_attributePage;
    CAttPreviewPage m_previewPage;
    AcadBlockFilter m_filter;
    AcadBlockView m_view;
    AcadBlockArray* m_activeBlocks = nullptr;

private:
    void UpdateButtons();

    SettingsStore& settings_;
    const DrawingContext& drawing_;
    bool showOuterPolygon_;
};

}  // namespace attbat
