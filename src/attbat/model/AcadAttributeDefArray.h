#pragma once
// The columns of one block, with the duplicate numbering kept right on every insertion.
#include <string>
#include <string_view>

#include "attbat/model/AcadAttributeDef.h"
#include "tables/Array.h"

namespace attbat {

class AcadAttributeDefArray : public tables::Array<AcadAttributeDef> {
public:
    // First element with an equal tag (case counts) and an equal kind; null when none.
    const AcadAttributeDef* FindByTagAndKind(const AcadAttributeDef& def) const;
    // First element with an equal tag (case counts) whose kind isn't 0; null when none.
    const AcadAttributeDef* FindDynamicOrPropertyByTag(std::string_view tag) const;
    // Index by tag without regard to case; -1 for an empty tag or none.
    int IndexOfNoCase(std::string_view tag) const;
    // Number of elements whose kind isn't 1 (attributes and dynamic properties).
    int CountNonProperties() const;
    // Prompt of the element with that tag (case counts) and dupIndex; empty when none.
    std::string_view PromptOf(std::string_view tag, int dupIndex) const;
    // Raises def.dupIndex by one for each element of the same tag, then appends; returns the index.
    int AddAppend(AcadAttributeDef def);
    // Numbers like AddAppend, then inserts before the first element with a greater x, so that
    // columns follow the block's left-to-right order; equal x goes behind.
    int AddSorted(AcadAttributeDef def);
    // Numbers like AddAppend, then inserts at `index` (past the end grows; negative raises).
    void InsertAt(int index, AcadAttributeDef def);

private:
    // Raises def.dupIndex by one for each element of the same tag (case counts).
    void Number(AcadAttributeDef& def) const;
};

}  // namespace attbat
