#include "attbat/export/CSelectAttributeDialog.h"

#include <utility>

#include "attbat/export/CScheduleDialog.h"
#include "attbat/model/AcadBlockArray.h"
#include "attbat/model/AcadBlockView.h"
#include "attbat/model/SettingsStore.h"
#include "base/Wildcard.h"

namespace attbat {

void CollectTickedTags(const AcadBlockArray& blocks, const tables::CStringArrayEx& names,
                       AcadAttDefTagArray& allTags, AcadAttDefTagArray& noValueTags) {
    blocks.AllDefTags(allTags, names, false, false);
    blocks.RemoveMissingTags(names, allTags, noValueTags);
}

CSelectAttributeDialog::CSelectAttributeDialog(CScheduleDialog& wizard)
    : CSelectAttributeDialog(wizard.m_view, wizard.Settings(), {}, {}) {
    if (!wizard.m_activeBlocks) return;
    tables::CStringArrayEx names;
    wizard.m_attributePage.GetTickedBlocks(names);
    CollectTickedTags(*wizard.m_activeBlocks, names, allTags_, noValueTags_);
}

CSelectAttributeDialog::CSelectAttributeDialog(AcadBlockView& view, SettingsStore& store,
                                               AcadAttDefTagArray allTags,
                                               AcadAttDefTagArray noValueTags)
    : view_(view), store_(store), allTags_(std::move(allTags)), noValueTags_(std::move(noValueTags)) {}

void CSelectAttributeDialog::OnInitDialog() {
    m_removeNoValue = view_.unselNoValueAtts;
    m_dynamicProperties = view_.selectDynProperties;
    Fill();
}

void CSelectAttributeDialog::Fill() {
    // The boxes are bound to the view, so a click reaches it even if the dialog is cancelled.
    view_.unselNoValueAtts = m_removeNoValue;
    view_.selectDynProperties = m_dynamicProperties;
    m_tagList.clear();
    for (const AcadAttDefTag& tag : allTags_) {
        if (m_removeNoValue && noValueTags_.IndexOf(tag.tag, tag.dupIndex) >= 0) continue;
        if (!m_dynamicProperties && tag.kind == 2) continue;
        bool checked = view_.unselectedTags.IndexOf(tag.tag, tag.dupIndex) < 0;
        m_tagList.push_back({tag, tag.DisplayName(), checked});
    }
}

void CSelectAttributeDialog::SetRemoveNoValue(bool on) {
    m_removeNoValue = on ? 1 : 0;
    Fill();
}

void CSelectAttributeDialog::SetDynamicProperties(bool on) {
    m_dynamicProperties = on ? 1 : 0;
    Fill();
}

void CSelectAttributeDialog::ClearAll() {
    for (ListRow& row : m_tagList) row.checked = false;
}

int CSelectAttributeDialog::Tick(std::string_view tag, bool checked) {
    int hits = 0;
    for (ListRow& row : m_tagList) {
        if (row.text == tag) row.checked = checked, ++hits;
    }
    if (hits > 0) return hits;
    // Tags such as "NO." or "#" are wildcard characters too; the exact text wins above.
    for (ListRow& row : m_tagList) {
        if (base::WcMatch(row.text, tag, true)) row.checked = checked, ++hits;
    }
    return hits;
}

void CSelectAttributeDialog::OnOK() {
    view_.unselNoValueAtts = m_removeNoValue;
    view_.selectDynProperties = m_dynamicProperties;
    view_.unselectedTags.RemoveAll();
    for (const ListRow& row : m_tagList) {
        if (!row.checked) view_.unselectedTags.Add(row.tag);
    }
    store_.SetInt(kSettingsSection, "UnSelNoValueAtts", view_.unselNoValueAtts);
    store_.SetInt(kSettingsSection, "SelectDynProperties", view_.selectDynProperties);
}

const std::vector<Control>& CSelectAttributeDialog::Controls() {
    static const std::vector<Control> controls = {
        {"remove-attributes-with-no-value", ControlKind::Check,
         "\"Attributes\" dialog (the \"...\" button): Remove attributes with no value."},
        {"dynamic-properties", ControlKind::Check, "\"Attributes\" dialog: Dynamic Properties"},
        {"clear-all-tags", ControlKind::Button, "\"Attributes\" dialog: Clear All (unticks every tag)"},
        {"tick-tag", ControlKind::List,
         "\"Attributes\" dialog: tags to tick, as listed (MARK, MARK_Dup(1)) or wildcards, comma separated", {},
         "TAGS", true},
        {"untick-tag", ControlKind::List,
         "\"Attributes\" dialog: tags to untick, the same way; the schedule leaves them out", {}, "TAGS", true},
        {"leave-out-tags", ControlKind::List,
         "\"Attributes\" dialog: unticks these tags and ticks every other one", {}, "TAGS", true},
        {"remove-no-value", ControlKind::Check, "the same as --remove-attributes-with-no-value"},
    };
    return controls;
}

}  // namespace attbat
