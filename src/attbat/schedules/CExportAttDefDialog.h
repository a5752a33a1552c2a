#pragma once
// The dialog "Export Attribute Definition" of Velmar_ExportAttDefs, as a model: the loose
// attribute definitions of the current drawing or of listed drawings, the tags to export, the
// columns and where they go; and the export itself, each cell with a comment naming the
// drawing and the definition so that Velmar_importAttDefs can bring edits back.
#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"
#include "attbat/model/AcadAttributeDefArray.h"
#include "attbat/schedules/DrawingListRows.h"
#include "tables/CStringArrayEx.h"

namespace cad {
class Database;
}

namespace attbat {

// The drawing and the handle of a definition read for the exchange, kept in the two spare
// texts of its record.
const std::string& DrawingOf(const AcadAttributeDef& def);
const std::string& HandleOf(const AcadAttributeDef& def);

class CExportAttDefDialog {
public:
    static constexpr std::string_view title = "Export Attribute Definition";
    // Where the nine settings are kept.
    static constexpr std::string_view settingsSection = "Velmar\\AttributeDefinition";
    // The source, the list and its buttons, the tag list, the columns and the destination.
    static const std::vector<Control>& Controls();

    // One row of the sheet and its comments, as the export writes them.
    struct SheetRows {
        std::vector<std::string> titles;
        std::vector<std::vector<std::string>> values;    // header row first when there is one
        std::vector<std::vector<std::string>> comments;  // the same shape; "" for none
    };

    // Loads the settings, reads the current drawing's definitions, then OnSourceChanged.
    void OnInitDialog();
    // Either radio button: the list and its buttons enabled for "Select Drawings", FillTags.
    void OnSourceChanged();
    // The tag list anew, every tag ticked, from the source's definitions; old ticks go.
    void FillTags();
    // The loose definitions (model and paper space, not inside blocks) of `db`, read as drawing
    // `path` (the current document's name when empty).
    void ReadAttributeDefinitions(cad::Database& db, const std::string& path);
    // A listed drawing: passed over when listed already (exact comparison); the current
    // drawing is read as it stands; another is read from its file, and one that can't be read
    // says "Failed to read %s: %s" and stays out of the list (false).
    bool AddDrawing(const std::string& path);
    // "Add" with the chosen files: AddDrawing for each; false at the first that fails.
    bool AddPaths(const std::vector<std::string>& paths);
    // "Remove": the selected rows, with their drawings' definitions; then FillTags.
    void Remove();
    // "Load List": the list emptied, then AddDrawing for each line of the file.
    base::Status LoadList(const std::string& path);
    base::Status SaveList(const std::string& path) const { return m_drawingList.Save(path); }
    // Ticks or unticks a listed tag (exact comparison); false when it isn't listed.
    bool SetTick(std::string_view tag, bool on);
    // "Export to Excel" (OK): the start fields put right, the ticked tags gathered and the nine
    // settings stored.
    void OnOK();
    // The rows the export writes: no column gives none.
    SheetRows BuildRows() const;
    // The export after OK: a new workbook or the active one, the rows from the start cell, then a
    // comment on each cell that has one (a cell with a comment already stops it there with the
    // spreadsheet's error). False when it didn't finish (a message said why).
    bool ExportToExcel();

    int m_dataSource = 0;      // "Current Drawing" (0), "Select Drawings" (1)
    int m_attDefTag = 1;       // "Tag"
    int m_attDefPrompt = 1;    // "Prompt"
    int m_attDefValue = 1;     // "Default Value"
    int m_workbookOpt = 0;     // "New Workbook" (0), "Active Workbook" (1)
    std::string m_startColumn = "A";  // "Start Column:"
    int m_startRow = 1;        // "Start Row:"
    int m_exportDwgName = 1;   // "Drawing Name"
    int m_exportHeader = 1;    // "Header"

    DrawingListRows m_drawingList;          // "Drawing", "Folder"; its paths are m_drawingPaths
    tables::CStringArrayEx m_tagList;       // "Attribute Definition Tag:"
    std::vector<bool> m_tagChecks;          // its ticks
    tables::CStringArrayEx m_selectedTags;  // the ticked tags, filled on OK
    AcadAttributeDefArray m_currentDefs;
    AcadAttributeDefArray m_drawingDefs;
    bool listEnabled = false;               // the list, "Add", "Remove", "Load List", "Save List"

private:
    // Appends `def` unless the array holds that drawing's definition already.
    static void AddOnce(AcadAttributeDefArray& defs, const AcadAttributeDef& def);
    std::string currentFile_;
};

}  // namespace attbat
