#include "attbat/model/AcadAttributeDefArray.h"

#include "base/Text.h"

namespace attbat {

const AcadAttributeDef* AcadAttributeDefArray::FindByTagAndKind(
    const AcadAttributeDef& def) const {
    for (const AcadAttributeDef& item : *this) {
        if (item.tag == def.tag && item.kind == def.kind) return &item;
    }
    return nullptr;
}

const AcadAttributeDef* AcadAttributeDefArray::FindDynamicOrPropertyByTag(
    std::string_view tag) const {
    for (const AcadAttributeDef& item : *this) {
        if (item.tag == tag && item.kind != 0) return &item;
    }
    return nullptr;
}

int AcadAttributeDefArray::IndexOfNoCase(std::string_view tag) const {
    if (tag.empty()) return -1;
    for (int i = 0; i < GetSize(); ++i) {
        if (base::EqualNoCase(GetAt(i).tag, tag)) return i;
    }
    return -1;
}

int AcadAttributeDefArray::CountNonProperties() const {
    int count = 0;
    for (const AcadAttributeDef& item : *this) count += item.kind != 1 ? 1 : 0;
    return count;
}

std::string_view AcadAttributeDefArray::PromptOf(std::string_view tag, int dupIndex) const {
    for (const AcadAttributeDef& item : *this) {
        if (item.tag == tag && item.dupIndex == dupIndex) return item.prompt;
    }
    return {};
}

void AcadAttributeDefArray::Number(AcadAttributeDef& def) const {
    for (const AcadAttributeDef& item : *this) {
        if (item.tag == def.tag) ++def.dupIndex;
    }
}

int AcadAttributeDefArray::AddAppend(AcadAttributeDef def) {
    Number(def);
    return Add(std::move(def));
}

int AcadAttributeDefArray::AddSorted(AcadAttributeDef def) {
    Number(def);
    int index = 0;
    while (index < GetSize() && !(GetAt(index).position.x > def.position.x)) ++index;
    tables::Array<AcadAttributeDef>::InsertAt(index, def);
    return index;
}

void AcadAttributeDefArray::InsertAt(int index, AcadAttributeDef def) {
    Number(def);
    tables::Array<AcadAttributeDef>::InsertAt(index, def);
}

}  // namespace attbat
