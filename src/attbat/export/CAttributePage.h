#pragma once
// The wizard's "Attribute" page: the blocks of the active collection with a tick each, the two
// display options, and the categories bound to the wizard's view.

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/Control.h"
#include "attbat/model/AcadBlockView.h"
#include "tables/CStringArrayEx.h"

namespace attbat {

class Archive;
class CScheduleDialog;

class CAttributePage {
public:
    // One row of the block list: the name (also its item data) and its tick.
    struct ListRow {
        std::string name;
        bool checked = false;
    };

    static constexpr std::string_view title = "Attribute";
    // The unit combo box's entries, index = the view's area unit.
    static constexpr std::string_view areaUnits[] = {"Unitless", "sq.in.", "sq.ft.", "sq.m"};

    // A check box of the wizard's view: this page's categories and the preview page's boxes,
    // which show the same view.
    struct ViewBox {
        const char* key;
        const char* label;
        int AcadBlockView::*member;
    };
    static std::span<const ViewBox> ViewBoxes();
    // The page's controls: the two display options, the ticks of the block list, the view's
    // boxes, the outer polygon and its unit.
    static const std::vector<Control>& Controls();

    explicit CAttributePage(CScheduleDialog& wizard) : wizard_(wizard) {}

    // Loads the whole view from the settings, reads LUNITS, decides the unit box and whether
    // the outer polygon controls show at all (the process-wide switch).
    void OnInitDialog(bool showOuterPolygon);
    // Rebuilds the list from the active collection: one row per name that passes the display
    // options and the filter; blocks that don't pass lose their `selected` flag.
    void RefreshPage();
    // Takes the ticks into every block of the row's name; stores AreaUnit when above 0.
    void CollectPage();
    // The ticked names, in collection order whatever the list's order.
    void GetTickedBlocks(tables::CStringArrayEx& names) const;
    // Ticks or unticks every row.
    void SelectAll();
    void ClearAll();
    // The display options' boxes: take the value and rebuild.
    void SetWithAttributesOnly(bool on);
    void SetInUseOnly(bool on);
    // "Outer Polygon Area" clicked: the view field, then the unit box by the LUNITS rule.
    void SetOuterPolygonArea(bool on);
    // A click on the header: flips the sort flag and sorts with it, so every second click sorts
    // and descending order never happens.
    void OnHeaderClick();
    // The template's attribute part: the two display options and the unticked names, which
    // a load keeps for the next RefreshPage only.
    void SerializeAttributePage(Archive& archive, int version);
    // Ticks (or unticks) the row of `name`, without regard to case; false when no row has it.
    bool Tick(std::string_view name, bool checked);

    std::vector<ListRow> m_blockList;
    int m_areaUnit = 0;
    int m_withAttributesOnly = 1;
    int m_inUseOnly = 1;
    tables::CStringArrayEx m_restoredUnchecked;  // names a loaded template leaves unticked; used once
    int m_sortAscending = 1;
    int m_linearUnits = 2;
    bool areaUnitEnabled = false;        // the unit combo box
    bool outerPolygonVisible = false;    // the area box and the unit box together

private:
    void SortList();
    void UpdateAreaUnitEnabled();

    CScheduleDialog& wizard_;
};

}  // namespace attbat
