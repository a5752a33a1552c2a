#pragma once
// Multileaders (MULTILEADER): what they hold as content, and the attribute values of a
// block content, read and set by attribute definition (AcDbMLeader).

#include <string>
#include <vector>

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/Entity.h"
#include "cad/Text.h"

namespace cad {

// What a multileader shows at the end of its leaders (172).
enum class MLeaderContentKind { None = 0, Block = 1, MText = 2, Tolerance = 3 };

// A MULTILEADER. Its content placement lives in the context data; reads of a multileader
// without one give the defaults said below.
class MLeader : public Entity {
public:
    using Entity::Entity;

    // One attribute value of a block content: the definition it fills and the text.
    struct AttributeValue {
        Handle definition = 0;
        int index = 0;
        double width = 0;
        std::string value;
    };

    // The content type (172); None when missing.
    MLeaderContentKind ContentType() const;
    // The block of a block content (344); a null view for other content or a missing block.
    BlockRecord BlockContent() const;
    // The block's position in world coordinates (15 of the context); the origin when missing.
    Point3 BlockPosition() const;
    // The block's scale factors (16 of the context, else 10 of the entity); 1 where missing.
    Point3 BlockScale() const;
    // The block's rotation in radians (46 of the context); 0 when missing.
    double BlockRotation() const;
    // The block's normal (14 of the context); (0, 0, 1) when missing.
    Point3 BlockNormal() const;

    // The attribute values the multileader stores, in file order; empty for other content.
    std::vector<AttributeValue> BlockAttributeValues() const;
    // The value shown for `definition` (getBlockAttributeValue): the stored one, or the
    // definition's default when the multileader stores none. Fails when the definition is not
    // one of the content block's.
    base::Result<std::string> GetBlockAttributeValue(const AttributeDefinition& definition) const;
    // Stores `value` for `definition` (setBlockAttributeValue), adding the entry when missing;
    // an equal value writes nothing. Fails when the multileader has no block content or the
    // definition is not one of its block's.
    base::Status SetBlockAttributeValue(const AttributeDefinition& definition, std::string_view value);

private:
    // The index of the tag that closes the context data (301 "}"); 0 when there is none.
    std::size_t ContextEnd() const;
    // The index of the first `code` at the context's own level (not inside a leader); npos
    // when missing.
    std::size_t FindInContext(int code) const;
    // The index of the first `code` after the context data; npos when missing.
    std::size_t FindAfterContext(int code) const;
    Point3 PointAt(std::size_t i, Point3 fallback) const;
    // Checks that `definition` belongs to the content block; its 1-based place there.
    base::Result<int> DefinitionIndex(const AttributeDefinition& definition) const;
};

}  // namespace cad
