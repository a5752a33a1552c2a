#pragma once
// The dialog "Import Attribute Values by Key Attribute": the workbook and sheets, how tags are
// found in the sheet, the blocks and their key attribute, the drawings to update, and the .vlo
// option file. It fills the import's options; "Start" checks and stores them.

#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"
#include "attbat/frame/RegistrySettingsStore.h"
#include "attbat/import/CImportByKeyAttOpt.h"
#include "attbat/model/AcadBlockArray.h"
#include "base/Status.h"

namespace attbat {

class CExtImportDialog {
public:
    static constexpr std::string_view title = "Import Attribute Values by Key Attribute";
    // The title of every box the dialog shows.
    static constexpr std::string_view boxTitle = "Orvane Velmar";
    // The file boxes' filters; drawings are DXF files here.
    static constexpr std::string_view optionFileFilter = "Option Files (*.vlo)|*.vlo|All Files (*.*)|*.*||";
    static constexpr std::string_view optionFileExtension = "vlo";
    static constexpr std::string_view optionFileProposedName = "Untitled";
    static constexpr std::string_view workbookFilter =
        "Microsoft Excel Files(*.xls;*.xlsx)|*.xls;*.xlsx|All Files(*.*)|*.*||";
    static constexpr std::string_view drawingFilter = "Drawing (*.dxf)|*.dxf||";
    // The column picker offers columns 1 to this, and the header row picker rows 1 to this.
    static constexpr int lastPickerNumber = 675;

    // A row of the drawing list: file name, its folder, and the selection.
    struct DrawingRow {
        std::string drawing;
        std::string folder;
        bool selected = false;
    };
    // A row of the column list: the column text and the attribute tag it holds.
    struct ColumnRow {
        std::string column;
        std::string tag;
        bool selected = false;
    };
    // A row of the checked block list.
    struct BlockRow {
        std::string name;
        bool checked = false;
    };

    // The dialog's controls, for every front end.
    static const std::vector<Control>& Controls();
    // The folder of the last drawings added, with its trailing separator, kept for the life of
    // the module; "" at first.
    static std::string& LastDrawingFolder();

    // Fills the pickers and the block list from the current drawing (none: empty of its blocks),
    // loads the settings and ticks the stored blocks, then takes the workbook and sheet of the
    // running spreadsheet, if one is attached, and lets it go.
    void OnInitDialog();

    // "All Worksheets"; false, and nothing changed, while the box is disabled.
    bool SetAllWorksheets(bool on);
    // "Selected Rows Only"; false, and nothing changed, while the box is disabled.
    bool SetSelectedRowsOnly(bool on);
    // 0 "Header Row for Attribute Tags:", 1 "Specify Columns for Attribute Tags"; false for another.
    bool SetAttTagOption(int option);
    // 0 "Current Drawing", 1 "Select Drawings"; false for another. The block list changes only
    // on "Refresh".
    bool SetDrawingOption(int option);
    // Off while "Selected Rows Only" is set.
    bool AllWorksheetsEnabled() const { return m_options.SelectedRowsOnly == 0; }
    // Off while "All Worksheets" is set; so is the sheet field.
    bool SelectedRowsOnlyEnabled() const { return m_options.AllWorksheets == 0; }
    bool WorksheetEnabled() const { return m_options.AllWorksheets == 0; }
    // The header row picker: on in mode 0.
    bool HeaderRowEnabled() const { return m_options.AttTagOption == 0; }
    // The column and tag pickers, "Add", "Remove" and the column list: on in mode 1.
    bool ColumnControlsEnabled() const { return m_options.AttTagOption == 1; }
    // The drawing list with its "Add" and "Remove": on in mode 1.
    bool DrawingListEnabled() const { return m_options.DrawingOption == 1; }
    // "Refresh the block list.": on in mode 1.
    bool RefreshEnabled() const { return m_options.DrawingOption == 1; }

    // "...": the workbook `path` opened as the import opens it; its active sheet fills the sheet
    // field and the spreadsheet is let go. False when no sheet could be attached.
    bool BrowseWorkbook(const std::string& path);

    // "Add" of the drawing list: a path listed already (exactly) is passed over; each other one
    // is read, and one that can't be (a .dwg among them) is said in a box and left out. The
    // blocks of those read join the block list in mode 1. The list is stored at once.
    void AddDrawings(const std::vector<std::string>& paths);
    // "Remove" of the drawing list: asks, then removes the rows given (indices into
    // m_drawingList) with their blocks; false when nothing was removed. Stored at once.
    bool RemoveDrawings(const std::vector<int>& rows);
    // The row of the drawing list that holds `path` exactly; -1 when none.
    int FindDrawingRow(std::string_view path) const;
    // Replaces the drawing list with the paths of a .lst file (each once), taken as the stored
    // list is: "Refresh" reads their blocks. The list stays as it was when the file can't be
    // read.
    base::Status LoadDrawingList(const std::string& path);

    // "Add" of the column list: the pair of a column (trimmed) and the tag it holds; a refusal
    // says why in a box and gives false. Stored at once.
    bool AddColumn(std::string column, const std::string& tag);
    // "Remove" of the column list: asks, then removes the rows given (indices into
    // m_columnList); false when nothing was removed. Stored at once.
    bool RemoveColumns(const std::vector<int>& rows);
    // The row of the column list whose column is `column` exactly; -1 when none.
    int FindColumnRow(std::string_view column) const;

    // "Refresh the block list.": reads each listed drawing that exists again, under a meter that
    // Ctrl-C cancels (what was read so far stands), then refills the block list.
    void RefreshBlockList();
    // Ticks or unticks the rows whose names match any of `patterns` (a name or a wildcard
    // pattern, without regard to case); gives how many rows matched.
    int TickBlocks(const std::vector<std::string>& patterns, bool checked);
    // Names of blocks of listed drawings not read yet, as a user who knows them types them (the
    // list shows those blocks only after "Refresh"): each one missing joins the block list,
    // ticked when BlockNames names it.
    void AddBlockNames(const std::vector<std::string>& names);
    // The ticked block names, in list order.
    std::vector<std::string> CheckedBlocks() const;
    // The key tag picker's list as it opens: the tags of the ticked blocks of the current drawing
    // (mode 0) or of the drawings read (mode 1), then "DWG File". Also kept in m_keyTagChoices.
    const std::vector<std::string>& KeyTagChoices();

    // The checks of "Start" and of saving, in order; the first failure is said in a box and
    // gives false. Gathers the ticked blocks into BlockNames and, in mode 1, sets KeyColumn.
    bool Validate();
    // "Start": Validate, then the settings are stored; true closes the dialog.
    bool OnStart();
    // "Save Settings to File": Validate, then the magic and the options, written atomically; a
    // write failure is said in a box. False when nothing was written.
    bool SaveOptionFile(const std::string& path);
    // "Load Settings from File": a file that can't be read, or isn't a whole option file, is
    // said in a box and changes nothing; otherwise the lists are refilled (in mode 1 the listed
    // drawings are read again) and the ticks set from BlockNames. The check boxes keep their
    // state.
    bool LoadOptionFile(const std::string& path);

    // Where the current drawing's read failed; Ok when it was read or there is none.
    const base::Status& CurrentReadStatus() const { return currentStatus_; }

    CImportByKeyAttOpt m_options;            // the fields, the checks and both radio groups
    std::vector<std::string> m_columnChoices;  // "A" to "YY"
    std::vector<std::string> m_attTagChoices;  // the current drawing's tags, then "DWG File"
    std::vector<std::string> m_keyTagChoices;  // as KeyTagChoices last filled it
    std::vector<BlockRow> m_blockList;
    std::vector<ColumnRow> m_columnList;       // mirrors m_options.ColumnToTag
    std::vector<DrawingRow> m_drawingList;     // mirrors m_options.Drawings, row for row
    AcadBlockArray m_currentBlocks;            // the current drawing, read once at the start
    AcadBlockArray m_drawingBlocks;            // the listed drawings, as last read
    int m_readers = 0;                         // drawings "Refresh" reads at once; 0: one per core

private:
    // Rebuilds the block list: rows that stay keep their ticks, new rows are ticked when
    // BlockNames names them; with `fromBlockNames` every row takes its tick from BlockNames.
    void FillBlockList(bool fromBlockNames);
    void FillColumnList();
    void FillDrawingList();
    // Reads each listed drawing that exists into m_drawingBlocks, afresh, under the meter.
    void ReadListedDrawings();
    // Reads one drawing into m_drawingBlocks; a failure is said in a box.
    bool ReadListedDrawing(const std::string& path);

    RegistrySettingsStore settings_;
    base::Status currentStatus_;
};

}  // namespace attbat
