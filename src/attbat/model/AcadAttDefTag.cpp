#include "attbat/model/AcadAttDefTag.h"

#include "attbat/model/AcadAttributeDef.h"
#include "attbat/model/Archive.h"
#include "attbat/model/PropertyTable.h"

namespace attbat {

AcadAttDefTag::AcadAttDefTag(const AcadAttributeDef& def)
    : tag(def.tag), dupIndex(def.dupIndex), kind(def.kind) {}

std::string AcadAttDefTag::DisplayName() const { return DupName(tag, dupIndex); }

void AcadAttDefTag::Serialize(Archive& archive) {
    archive.String(tag);
    archive.Int32(dupIndex);
}

}  // namespace attbat
