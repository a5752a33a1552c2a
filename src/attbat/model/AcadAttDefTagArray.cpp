#include "attbat/model/AcadAttDefTagArray.h"

#include "attbat/model/AcadAttributeDef.h"
#include "attbat/model/Archive.h"

namespace attbat {

int AcadAttDefTagArray::IndexOf(std::string_view tag, int dupIndex) const {
    for (int i = 0; i < GetSize(); ++i) {
        const AcadAttDefTag& item = GetAt(i);
        if (item.tag == tag && item.dupIndex == dupIndex) return i;
    }
    return -1;
}

int AcadAttDefTagArray::IndexOf(const AcadAttributeDef& def) const {
    return IndexOf(def.tag, def.dupIndex);
}

void AcadAttDefTagArray::Serialize(Archive& archive) {
    int count = GetSize();
    archive.Int32(count);
    if (archive.IsStoring()) {
        for (AcadAttDefTag& item : *this) item.Serialize(archive);
        return;
    }
    RemoveAll();
    if (count < 0) {
        archive.Fail("negative tag count");
        return;
    }
    for (int i = 0; i < count && archive.Ok(); ++i) {
        AcadAttDefTag item;
        item.Serialize(archive);
        if (archive.Ok()) Add(std::move(item));
    }
}

}  // namespace attbat
