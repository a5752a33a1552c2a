#pragma once
// The choices of "Insert / Update Blocks": which workbook, sheet and rows, where the block name,
// the drawing path and the burst flag of a row stand, how attribute tags and dynamic properties
// are found (a header row, or columns given one by one), and where missing blocks come from.
// The dialog fills it; the insertion and update passes read it.
#include <map>
#include <string>

namespace attbat {

class CInsertBlocksOpt {
public:
    virtual ~CInsertBlocksOpt() = default;

    std::string workbookPath;
    std::string worksheetName;
    std::string selectedRows;           // the spreadsheet's selection text, "$A$3:$C$9, $A$12"
    std::string blockLibraryDwg;        // BlockLibraryDwgPath
    std::string blockName;              // the one block of every row with "Specify a block name"
    int tagMode = 1;                    // InsBlockAttTagOpt: 0 header row, 1 column map
    int blockNameColumn = 0;            // InsBlockNameCol: 1-based (A is 1)
    int drawingPathColumn = -1;         // 1-based; 0 for none
    int tagHeaderRow = 0;               // InsBlockTagHeaderRow: 1-based
    int reserved = 1;                   // set, never read
    int updateMode = 0;                 // 1: "Update inserted blocks" closed the dialog
    int burstColumn = -1;               // 1-based
    int selectedRowsOnly = 0;           // InsBlockSelRangeOnly: "Selected Rows"
    int insertionPointOnScreen = 0;     // SpecifyInsPtOnScreen
    int blockBurst = 0;                 // "Block Burst"
    int useBurstColumn = 0;             // "Burst Column:"
    int useBlockName = 0;               // "Specify a block name"
    // Column letters -> attribute tag or dynamic property (InsBlockCol2TagMap).
    std::map<std::string, std::string> columnMap;

    // Reads the stored values with the present fields as defaults; the column map replaces the
    // present one.
    void LoadSettings();
    // Writes them; the column map's subsection is emptied first. False when one couldn't be
    // written.
    bool SaveSettings() const;
};

}  // namespace attbat
