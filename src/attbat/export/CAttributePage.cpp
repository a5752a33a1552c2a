#include "attbat/export/CAttributePage.h"

#include <algorithm>

#include "attbat/export/CScheduleDialog.h"
#include "attbat/model/DrawingContext.h"
#include "attbat/model/ScheduleRows.h"
#include "attbat/model/SettingsStore.h"
#include "base/Text.h"

namespace attbat {

namespace {

// A block shows in the list when it has attribute definitions of its own (properties don't
// count) and references, as far as the two display options ask for them.
bool InView(const AcadBlock& block, int withAttributesOnly, int inUseOnly) {
    bool hasAttributes = std::any_of(block.defs.begin(), block.defs.end(),
                                     [](const AcadAttributeDef& def) { return def.kind != 1; });
    return (withAttributesOnly == 0 || hasAttributes) && (inUseOnly == 0 || !block.refs.IsEmpty());
}

}  // namespace

void CAttributePage::OnInitDialog(bool showOuterPolygon) {
    wizard_.m_view.LoadFromSettings(wizard_.Settings());
    m_areaUnit = std::clamp(wizard_.m_view.areaUnit, 0, 3);
    m_linearUnits = wizard_.Drawing().LinearUnits();
    UpdateAreaUnitEnabled();
    outerPolygonVisible = showOuterPolygon;
}

void CAttributePage::UpdateAreaUnitEnabled() {
    // Square inches and feet only mean something in engineering and architectural units.
    areaUnitEnabled = wizard_.m_view.showOuterArea != 0 && (m_linearUnits == 3 || m_linearUnits == 4);
}

void CAttributePage::SetOuterPolygonArea(bool on) {
    wizard_.m_view.showOuterArea = on ? 1 : 0;
    UpdateAreaUnitEnabled();
}

void CAttributePage::RefreshPage() {
    m_blockList.clear();
    AcadBlockArray* blocks = wizard_.m_activeBlocks;
    if (!blocks) return;
    for (AcadBlock& block : *blocks) {
        block.listed = InView(block, m_withAttributesOnly, m_inUseOnly) ? 1 : 0;
        if (!block.listed || !BlockPassesFilter(block, wizard_.m_filter)) {
            block.selected = 0;
            continue;
        }
        auto row = std::find_if(m_blockList.begin(), m_blockList.end(),
                                [&](const ListRow& r) { return r.name == block.name; });
        if (row != m_blockList.end()) continue;  // the first drawing's block decides the tick
        bool checked = block.selected != 0 && m_restoredUnchecked.FindString(block.name, false) < 0;
        m_blockList.push_back({block.name, checked});
    }
    if (m_sortAscending) SortList();
    m_restoredUnchecked.RemoveAll();
}

void CAttributePage::SortList() {
    std::stable_sort(m_blockList.begin(), m_blockList.end(), [](const ListRow& a, const ListRow& b) {
        return base::CompareNoCase(a.name, b.name) < 0;
    });
}

void CAttributePage::CollectPage() {
    wizard_.m_view.areaUnit = m_areaUnit;
    if (wizard_.m_activeBlocks) {
        for (const ListRow& row : m_blockList) {
            std::vector<AcadBlock*> same;
            wizard_.m_activeBlocks->FindAllByName(row.name, same);
            for (AcadBlock* block : same) block->selected = row.checked ? 1 : 0;
        }
    }
    wizard_.m_view.SaveAreaUnit(wizard_.Settings());
}

void CAttributePage::GetTickedBlocks(tables::CStringArrayEx& names) const {
    if (!wizard_.m_activeBlocks) return;
    tables::CStringArrayEx ticked;
    for (const ListRow& row : m_blockList) {
        if (row.checked) ticked.Add(row.name);
    }
    for (const AcadBlock& block : *wizard_.m_activeBlocks) {
        if (ticked.FindString(block.name, false) >= 0 && names.FindString(block.name, false) < 0) {
            names.Add(block.name);
        }
    }
}

void CAttributePage::SelectAll() {
    for (ListRow& row : m_blockList) row.checked = true;
}

void CAttributePage::ClearAll() {
    for (ListRow& row : m_blockList) row.checked = false;
}

void CAttributePage::SetWithAttributesOnly(bool on) {
    m_withAttributesOnly = on ? 1 : 0;
    RefreshPage();
}

void CAttributePage::SetInUseOnly(bool on) {
    m_inUseOnly = on ? 1 : 0;
    RefreshPage();
}

void CAttributePage::OnHeaderClick() {
    m_sortAscending = m_sortAscending ? 0 : 1;
    // With the flag off every pair compares equal, which leaves the order as it stands.
    if (m_sortAscending) SortList();
}

bool CAttributePage::Tick(std::string_view name, bool checked) {
    bool found = false;
    for (ListRow& row : m_blockList) {
        if (base::EqualNoCase(row.name, name)) {
            row.checked = checked;
            found = true;
        }
    }
    return found;
}

std::span<const CAttributePage::ViewBox> CAttributePage::ViewBoxes() {
    static constexpr ViewBox boxes[] = {
        {"position-x", "Position X", &AcadBlockView::showPosX},
        {"position-y", "Position Y", &AcadBlockView::showPosY},
        {"position-z", "Position Z", &AcadBlockView::showPosZ},
        {"scale-x", "Scale X", &AcadBlockView::showScaleX},
        {"scale-y", "Scale Y", &AcadBlockView::showScaleY},
        {"scale-z", "Scale Z", &AcadBlockView::showScaleZ},
        {"rotation", "Rotation", &AcadBlockView::showRotation},
        {"layer", "Layer", &AcadBlockView::showLayer},
        {"attribute", "Attribute", &AcadBlockView::showAtts},
        {"count-column", "Count column", &AcadBlockView::showCount},
        {"drawing-column", "the drawing column first (\"DWG File\", or \"Handle\")", &AcadBlockView::showName},
        {"prompt-as-header", "Show prompt as header", &AcadBlockView::promptAsHeader},
        {"combine", "Combine identical items", &AcadBlockView::combineItems},
        {"show-header", "Show header", &AcadBlockView::includeHeader},
    };
    return boxes;
}

const std::vector<Control>& CAttributePage::Controls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list = {
            {"attributes-only", ControlKind::Check, "Display blocks with attributes only"},
            {"in-use-only", ControlKind::Check, "Display blocks currently in-use only"},
            {"tick", ControlKind::List, "blocks to tick: names or wildcards, comma separated (\"*\": Select All)",
             {}, "NAMES", true},
            {"untick", ControlKind::List, "blocks to untick (\"*\": Clear All)", {}, "NAMES", true},
        };
        for (const ViewBox& box : ViewBoxes()) list.push_back({box.key, ControlKind::Check, box.label});
        list.push_back({"outer-polygon-area", ControlKind::Check, "Outer Polygon Area"});
        list.push_back({"area-unit", ControlKind::Choice, "the unit of the area", {"unitless", "sq.in.", "sq.ft.", "sq.m"}});
        return list;
    }();
    return controls;
}

}  // namespace attbat
