#pragma once
// Block references (INSERT, MINSERT) with their attributes and SEQEND.

#include <string>
#include <vector>

#include "cad/Entity.h"
#include "cad/Text.h"

namespace cad {

// An INSERT or MINSERT. Rotation in radians (the file keeps degrees).
class BlockReference : public Entity {
public:
    using Entity::Entity;

    // The name of the referenced block (2).
    std::string BlockName() const { return GetText(2); }
    // The referenced block; a null view when the drawing lacks it.
    BlockRecord Block() const;
    // The insertion point (10), in the reference's object coordinates.
    Point3 Position() const { return GetPoint(10); }
    void SetPosition(Point3 p) { SetPoint(10, p, "AcDbBlockReference"); }
    // The insertion point in world coordinates (those of the space or block holding it): the
    // same as Position() unless the extrusion direction isn't (0, 0, 1).
    Point3 WorldPosition() const;
    void SetWorldPosition(Point3 p);
    // The scale factors (41, 42, 43); 1 where missing.
    Point3 ScaleFactors() const;
    void SetScaleFactors(Point3 scale);
    // The rotation in radians; 0 when missing.
    double Rotation() const;
    void SetRotation(double radians);
    // The extrusion direction (210); (0, 0, 1) when missing.
    Point3 Normal() const { return GetPoint(210, Point3{0, 0, 1}); }
    // True for a MINSERT.
    bool IsMInsert() const { return Type() == "MINSERT"; }

    // The attributes in order; empty when there are none.
    std::vector<Attribute> Attributes() const;
    // The first attribute whose tag equals `tag` exactly; a null view when none does.
    Attribute FindAttribute(std::string_view tag) const;
    // Adds an attribute after the last one (making the SEQEND when it is the first).
    Attribute AppendAttribute(std::string_view tag, std::string_view value, Point3 position,
                              double height, int flags = 0);
    // Adds an attribute made from `def` as the definition stands in its block: its layer and
    // other properties, text, placement, justification and style, its tag and flags, the
    // default value as the text; the prompt, the definition's extension dictionary, reactors
    // and extended data stay behind. Its place is the definition's own moved by `offset` (world
    // coordinates): with the reference's position less its block's base point, that is its
    // place under a reference without scale or rotation; under any other, it sits right once the
    // reference's block transform is applied to it (see TransformBy). A null view when either
    // is null.
    Attribute AppendAttributeFromDefinition(const AttributeDefinition& def, Point3 offset = {});
    // Appends an ATTRIB of `tags` (its whole record, type, handle and owner included) after the
    // last attribute, and marks the reference as having some.
    Attribute AppendAttributeTags(TagList tags);
};

}  // namespace cad
