#pragma once
// The dialog "Export Block Count" of Velmar_CountBlocks, as a model: the drawings to count over,
// the four combo boxes, and the two buttons that put a count into the running spreadsheet. The
// cell keeps the number as its value and the count formula as its comment, so that "Update
// Results in Active Workbook" can count again later.
#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"
#include "attbat/model/AcadBlockArray.h"
#include "attbat/schedules/DrawingListRows.h"
#include "tables/CStringArrayEx.h"

namespace attbat {

class CCountBlockDialog {
public:
    static constexpr std::string_view title = "Export Block Count";
    // The list, its four buttons, "Include Current Drawing", the combo boxes and the two buttons.
    static const std::vector<Control>& Controls();

    // One cell "Update Results in Active Workbook" reached: its sheet and address, what it
    // showed, and the count its comment gives.
    struct Result {
        std::string sheet;
        std::string address;
        std::string before;
        std::string after;
    };

    // Reads IncludeCurrentDrawing and, when it is on, the current drawing (now and only now);
    // then FillCombos. A current drawing that can't be read leaves its collection empty.
    void OnInitDialog();
    // "Include Current Drawing": stores the setting at once; nothing is read or refilled.
    void OnIncludeCurrent(bool on);
    // "Add" with the chosen files: each new, existing path joins the list (others are passed
    // over without a word), then every path of the list is read again. A drawing that fails to
    // read shows "Failed to read %s: %s" and ends the action there (false), buttons disabled.
    bool AddPaths(const std::vector<std::string>& paths);
    // "Remove": the selected rows and their drawings' blocks go; then FillCombos.
    void Remove();
    // "Load List": the list emptied, then the file's lines as "Add" takes them.
    base::Status LoadList(const std::string& path);
    // "Save List".
    base::Status SaveList(const std::string& path) const { return m_drawingList.Save(path); }
    // The block names and layers (with "*All*" last) of both collections, first seen first; the
    // current drawing's only while m_includeCurrent is on.
    void FillCombos();
    // Dropping down "Attribute Tag:": the tags of the named block; none without a block name.
    void OnDropDownTag();
    // Dropping down "Value:": the values of the tag in the block; none without both.
    void OnDropDownValue();
    // "Insert Function to Excel Active Cell": the formula of the four texts as the active cell's
    // comment (an old comment replaced) and its count as the cell's value. With `write` false
    // nothing is written and `result` still tells what would be. False when it stopped (a
    // message said why).
    bool InsertFormula(bool write, Result& result);
    // "Update Results in Active Workbook": every comment of every sheet counted again into its
    // cell, a comment that is no formula giving "0". Each cell reached is appended to `results`;
    // with `write` false nothing is written.
    bool UpdateResults(bool write, std::vector<Result>& results);
    // The count a formula text gives, as decimal text; "0" for any other text.
    std::string EvaluateFormula(std::string_view text) const;

    DrawingListRows m_drawingList;      // "Drawing", "Folder"
    AcadBlockArray m_currentBlocks;
    AcadBlockArray m_drawingBlocks;
    int m_includeCurrent = 1;           // "Include Current Drawing"
    std::string m_blockName;            // "Block Name:"
    std::string m_layer;                // "Layer:"
    std::string m_tag;                  // "Attribute Tag:"
    std::string m_value;                // "Value:"
    tables::CStringArrayEx m_blockNames;  // the drop-down lists of the four combo boxes
    tables::CStringArrayEx m_layers;
    tables::CStringArrayEx m_tags;
    tables::CStringArrayEx m_values;
    bool buttonsEnabled = true;         // the six buttons that start work

private:
    // Reads every listed drawing into m_drawingBlocks, replacing what an earlier read of it left.
    bool ReadListedDrawings();
    // The two collections the combo boxes draw from, in order.
    std::vector<const AcadBlockArray*> Sources() const;
    std::string currentFile_;
};

}  // namespace attbat
