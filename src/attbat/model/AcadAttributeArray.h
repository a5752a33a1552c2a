#pragma once
// The values of one reference, in the order they were read.
#include <string>
#include <string_view>

#include "attbat/model/AcadAttribute.h"
#include "tables/Array.h"

namespace attbat {

class AcadAttributeArray : public tables::Array<AcadAttribute> {
public:
    // First index whose tag equals `tag` (case counts); -1 when none.
    int IndexOfTag(std::string_view tag) const;
    // Value of the element with that tag (case counts) and dupIndex; empty when none.
    std::string Get(std::string_view tag, int dupIndex) const;
    // Makes room for `count` values in all, so a row read value by value grows once; a count
    // at or below the present size changes nothing.
    void Reserve(int count) {
        if (count > 0) Items().reserve(static_cast<std::size_t>(count));
    }
};

}  // namespace attbat
