#pragma once
// The values of one reference, in the order they were read.
#include <string>
#include <string_view>

#include "attbat/model/AcadAttribute.h"
#include "attbat/tables/Array.h"

namespace attbat {

class AcadAttributeArray : public Array<AcadAttribute> {
public:
    // First index whose tag equals `tag` (case counts); -1 when none.
    int IndexOfTag(std::string_view tag) const;
    // Value of the element with that tag (case counts) and dupIndex; empty when none.
    std::string Get(std::string_view tag, int dupIndex) const;
};

}  // namespace attbat
