#pragma once
// The dialog "Create Attributes From Excel" of CreateAttsFromExcel, as a model: the running
// spreadsheet's workbook, sheet and selection (read-only), the block's name and layer, the
// text height scale and the text layer. OK checks them, redefines a block of the same name when
// the user agrees, makes the layers and stores the scale.
#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"

namespace cad {
class Database;
}

namespace attbat {

class CCreateAttributesFromExcelDialog {
public:
    static constexpr std::string_view title = "Create Attributes From Excel";
    static const std::vector<Control>& Controls();

    // The layers of `db`, the current drawing, which OK may change.
    explicit CCreateAttributesFromExcelDialog(cad::Database& db) : db_(db) {}

    // Fills the layer lists (the current layer chosen for the block), the scale from the
    // settings and the range from the spreadsheet.
    void OnInitDialog();
    // "Get Range": the attached spreadsheet's workbook, sheet and selection again; the fields
    // are emptied when nothing is attached.
    void OnGetRange();
    // Checks the fields in order, each refusal a box; a block of the name is redefined (its
    // references erased) only when the user says Yes. Then makes the missing layers and stores
    // the scale (unless `store` is off, for a dry run). False stays in the dialog.
    bool OnOK(bool store = true);

    // Drawing units and font points of the scale, once OK has read them.
    double Units() const { return units_; }
    double Points() const { return points_; }

    std::string m_workbook;    // "Workbook:"
    std::string m_worksheet;   // "Worksheet:"
    std::string m_selection;   // "Selection:"
    std::string m_blockName;   // "Block Name:"
    std::string m_blockLayer;  // "Insert Block on Layer:"
    std::string m_drawingUnits;  // "Text Height Scale:" ... "drawing units = "
    std::string m_fontPoints;    // ... "Excel font points"
    std::string m_textLayer;   // "Text Layer:"
    std::vector<std::string> m_layers;  // the choices of both layer combos
    int m_erasedReferences = 0;         // references erased by a redefinition

private:
    bool Refuse(std::string_view text);

    cad::Database& db_;
    double units_ = 0;
    double points_ = 0;
};

// True for a name the drawing takes for a block or a layer: not empty, at most 255 characters,
// no control characters and none of < > / \ " : ; ? * | , = `.
bool IsValidSymbolName(std::string_view name);

}  // namespace attbat
