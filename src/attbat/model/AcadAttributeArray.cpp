#include "attbat/model/AcadAttributeArray.h"

namespace attbat {

int AcadAttributeArray::IndexOfTag(std::string_view tag) const {
    for (int i = 0; i < GetSize(); ++i) {
        if (GetAt(i).tag == tag) return i;
    }
    return -1;
}

std::string AcadAttributeArray::Get(std::string_view tag, int dupIndex) const {
    for (const AcadAttribute& attribute : *this) {
        if (attribute.tag == tag && attribute.dupIndex == dupIndex) return attribute.value;
    }
    return {};
}

}  // namespace attbat
