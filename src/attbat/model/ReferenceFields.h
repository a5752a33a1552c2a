#pragma once
// What the drawing reader takes from a block reference and from each of its attributes, read in
// one pass over the entity's tags instead of one search of the tags per field. The values are
// those the drawing library's views give for the same fields.
#include <string>

#include "cad/BlockReference.h"

namespace attbat {

// The fields of an INSERT or MINSERT the reader needs; defaults are those of a missing tag.
struct ReferenceFields {
    std::string blockName;          // 2; "" when missing
    std::string layerName = "0";    // 8
    cad::Point3 position;           // 10, 20, 30 in world coordinates (by 210, 220, 230)
    cad::Point3 scale{1, 1, 1};     // 41, 42, 43
    double rotation = 0;            // 50, in radians
    bool visible = true;            // 60 is 0 or missing
};

// The fields of an ATTRIB the reader needs.
struct AttributeFields {
    std::string tag;    // 2; "" when missing
    std::string text;   // the plain text or the stored text (1), as asked
    int flags = 0;      // 70
};

// The fields of `reference`; all defaults for a null view.
ReferenceFields ReadReferenceFields(const cad::BlockReference& reference);
// The fields of `attribute`: its plain text (a multi-line attribute's MTEXT without formatting)
// when `plain` is set, else its stored text; all defaults for a null view.
AttributeFields ReadAttributeFields(const cad::Attribute& attribute, bool plain);

}  // namespace attbat
