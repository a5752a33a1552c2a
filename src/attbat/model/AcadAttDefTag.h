#pragma once
// One chosen column across blocks: a tag with its duplicate number (and kind, which is never
// stored in a template).
#include <string>
#include <utility>

namespace attbat {

class Archive;
class AcadAttributeDef;

class AcadAttDefTag {
public:
    // An empty tag, dupIndex and kind 0.
    AcadAttDefTag() = default;
    // Any tag, even an empty one, is kept as given.
    AcadAttDefTag(std::string tag, int dupIndex, int kind)
        : tag(std::move(tag)), dupIndex(dupIndex), kind(kind) {}
    // Tag, dupIndex and kind of a definition.
    explicit AcadAttDefTag(const AcadAttributeDef& def);

    // The column name: the tag, or "%s_Dup(%d)" from dupIndex 1 on.
    std::string DisplayName() const;
    // Tag, then dupIndex as a 32-bit integer; kind is neither written nor read.
    void Serialize(Archive& archive);

    std::string tag;
    int dupIndex = 0;
    int kind = 0;
};

}  // namespace attbat
