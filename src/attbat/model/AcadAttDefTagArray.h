#pragma once
// A list of chosen columns, such as the ones a user switched off.
#include <string_view>

#include "attbat/model/AcadAttDefTag.h"
#include "tables/Array.h"

namespace attbat {

class AcadAttributeDef;
class Archive;

class AcadAttDefTagArray : public tables::Array<AcadAttDefTag> {
public:
    // Index of the element with an equal tag (case counts) and dupIndex; -1 when none.
    int IndexOf(std::string_view tag, int dupIndex) const;
    // The same with the definition's tag and dupIndex.
    int IndexOf(const AcadAttributeDef& def) const;
    // A 32-bit count, then each element's own Serialize; loading replaces the content, and a
    // negative count, like a short stream, fails the archive.
    void Serialize(Archive& archive);
};

}  // namespace attbat
