#pragma once
// An attribute definition turned into the attribute a new reference gets from it, once, so that
// many references of one block are given their attributes without reading the definition again.
#include <cstddef>
#include <vector>

#include "cad/Tag.h"
#include "cad/Text.h"

namespace cad {

class BlockReference;

class AttributeTemplate {
public:
    // The attribute `def` makes (see BlockReference::AppendAttributeFromDefinition); an empty
    // template for a null definition.
    explicit AttributeTemplate(const AttributeDefinition& def);

    explicit operator bool() const { return !tags_.empty(); }

    // Appends the attribute to `reference`, moved by `offset` (world coordinates); a null view
    // for an empty template or a null reference. The reference must be of the definition's
    // drawing.
    Attribute AppendTo(BlockReference& reference, Point3 offset = {}) const;

private:
    TagList tags_;                   // the record's tags after its type, handle and owner
    std::vector<std::size_t> points_;  // the insertion and alignment coordinates among them
    std::vector<double> values_;       // their values, in the same order
    Point3 normal_{0, 0, 1};
};

}  // namespace cad
