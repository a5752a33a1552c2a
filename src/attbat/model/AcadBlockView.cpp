#include "attbat/model/AcadBlockView.h"

#include <algorithm>
#include <unordered_set>

#include "attbat/model/AcadBlock.h"
#include "attbat/model/Archive.h"
#include "attbat/model/PropertyTable.h"
#include "attbat/model/SettingsStore.h"
#include "base/Format.h"
#include "base/Text.h"

namespace attbat {
namespace {

// Value names of the persisted integer members, in one place for loading and saving.
struct Persisted {
    const char* name;
    int AcadBlockView::*member;
};

constexpr Persisted kPersisted[] = {
    {"BviewInsX", &AcadBlockView::showPosX},
    {"BviewInsY", &AcadBlockView::showPosY},
    {"BviewInsZ", &AcadBlockView::showPosZ},
    {"BviewScaleX", &AcadBlockView::showScaleX},
    {"BviewScaleY", &AcadBlockView::showScaleY},
    {"BviewScaleZ", &AcadBlockView::showScaleZ},
    {"BviewRotation", &AcadBlockView::showRotation},
    {"BviewLayer", &AcadBlockView::showLayer},
    {"BviewAtt", &AcadBlockView::showAtts},
    {"BviewOuterArea", &AcadBlockView::showOuterArea},
    {"AreaUnit", &AcadBlockView::areaUnit},
    {"BviewOuterLength", &AcadBlockView::showOuterLength},
    {"BviewCombItem", &AcadBlockView::combineItems},
    {"BviewIncHeader", &AcadBlockView::includeHeader},
    {"ShowName", &AcadBlockView::showName},
    {"PromptAsHeader", &AcadBlockView::promptAsHeader},
    {"ShowCount", &AcadBlockView::showCount},
    {"UnSelNoValueAtts", &AcadBlockView::unselNoValueAtts},
    {"SelectDynProperties", &AcadBlockView::selectDynProperties},
    {"BviewHeaderStyle", &AcadBlockView::headerStyle},
    {"AttColumnSort", &AcadBlockView::columnSort},
};

constexpr const char* kAreaNameForms[] = {"%s [sq.in.]", "%s [sq.ft.]", "%s [sq.m]"};

}  // namespace

void AcadBlockView::LoadFromSettings(SettingsStore& store) {
    for (const Persisted& value : kPersisted) {
        this->*value.member = store.GetInt(kSettingsSection, value.name, this->*value.member);
    }
}

void AcadBlockView::SaveToSettings(SettingsStore& store) const {
    for (const Persisted& value : kPersisted) {
        store.SetInt(kSettingsSection, value.name, this->*value.member);
    }
}

void AcadBlockView::SaveAreaUnit(SettingsStore& store) const {
    if (areaUnit < 1) return;
    store.SetInt(kSettingsSection, "AreaUnit", areaUnit);
}

void AcadBlockView::Serialize(Archive& archive) {
    for (int* member : {&showPosX, &showPosY, &showPosZ, &showScaleX, &showScaleY, &showScaleZ,
                        &showRotation, &showLayer, &showAtts, &includeHeader, &showCount,
                        &showName, &combineItems, &headerStyle, &columnSort}) {
        archive.Int32(*member);
    }
    unselectedTags.Serialize(archive);
    if (archive.IsStoring() || schemaVersion >= 2) {
        for (int* member : {&showOuterArea, &showOuterLength, &areaUnit, &promptAsHeader}) {
            archive.Int32(*member);
        }
    }
}

bool AcadBlockView::IsColumnOn(const AcadAttributeDef& def) const {
    if (def.kind == 1) {
        const int flags[] = {showPosX,   showPosY,   showPosZ,     showScaleX,   showScaleY,
                             showScaleZ, showRotation, showLayer, showOuterArea};
        const AcadAttributeArray& table = PropertyTable();
        for (int i = 0; i < table.GetSize(); ++i) {
            if (base::EqualNoCase(def.tag, table[i].tag)) return flags[i] != 0;
        }
        return false;
    }
    if (def.kind == 2 && selectDynProperties == 0) return false;
    if (showAtts == 0) return false;
    if (unselectedTags.IndexOf(def) >= 0 || noValueTags.IndexOf(def) >= 0) return false;
    return true;
}

tables::CStringArrayEx AcadBlockView::ColumnsOf(const std::vector<const AcadBlock*>& blocks) const {
    tables::CStringArrayEx columns;
    std::unordered_set<std::string> seen;
    for (const AcadBlock* block : blocks) {
        if (!block->selected || !block->listed) continue;
        for (const AcadAttributeDef& def : block->defs) {
            if (!IsColumnOn(def)) continue;
            std::string name = ColumnName(*this, def);
            if (name.empty() || !seen.insert(name).second) continue;
            columns.Add(std::move(name));
        }
    }
    SortColumns(columns, columnSort);
    return columns;
}

std::string ColumnName(const AcadBlockView& view, const AcadAttributeDef& def) {
    if (def.kind == 0 && view.promptAsHeader) return def.prompt;
    if (def.kind == 1 && view.areaUnit >= 1 && view.areaUnit <= 3 &&
        base::EqualNoCase(def.tag, kOuterAreaName)) {
        return base::Sprintf(kAreaNameForms[view.areaUnit - 1], kOuterAreaName);
    }
    return def.kind == 0 ? DupName(def.tag, def.dupIndex) : def.tag;
}

void SortColumns(tables::CStringArrayEx& columns, int columnSort) {
    if (columnSort == 0) {
        columns.SortNoCase();
    } else if (columnSort == 1) {
        std::stable_sort(columns.begin(), columns.end(), [](const std::string& a,
                                                            const std::string& b) {
            return base::CompareNoCase(a, b) > 0;
        });
    }
}

}  // namespace attbat
