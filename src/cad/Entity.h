#pragma once
// Entities: what every entity has (layer, visibility, the space or block it lives in), and a
// point type for the geometry of the typed views.

#include <string>

#include "base/Status.h"
#include "cad/Object.h"

namespace cad {

class BlockRecord;

// A point or vector in world or object coordinates.
struct Point3 {
    double x = 0, y = 0, z = 0;
    bool operator==(const Point3&) const = default;
};

// Any entity; unknown types are kept whole and offer what all entities share.
class Entity : public Object {
public:
    using Object::Object;

    // The layer name (8); "0" when missing, as AutoCAD reads it.
    std::string LayerName() const { return GetText(8, "0"); }
    // Moves the entity to an existing layer; fails when the drawing has no such layer.
    base::Status SetLayer(std::string_view layer);
    // False when the entity is invisible (60 = 1).
    bool IsVisible() const { return GetInt(60, 0) == 0; }
    void SetVisible(bool visible);
    // The colour number (62); 256 (BYLAYER) when missing.
    int Color() const { return static_cast<int>(GetInt(62, 256)); }
    // True for entities of paper space (67 = 1).
    bool IsInPaperSpace() const { return GetInt(67, 0) == 1; }
    // The block record that holds the entity (model space, a paper space or a block); for an
    // attribute or vertex the block of its reference or polyline.
    BlockRecord OwnerBlock() const;

protected:
    // Reads a point from `code`, code + 10, code + 20; missing coordinates are 0.
    Point3 GetPoint(int code, Point3 fallback = {}) const;
    // Sets a point; a 2D point (no z in the file) gets its z only when it is not 0.
    void SetPoint(int code, Point3 p, std::string_view subclass = {});
    // The common head of a new entity of `type` owned by this one (an ATTRIB of a reference, a
    // VERTEX of a polyline): type, new handle, owner, subclass, paper space flag and layer.
    TagList SequenceEntityHead(std::string_view type);
    // Appends `tags` (begun by SequenceEntityHead) after the last entity of this entity's
    // sequence, adding the closing SEQEND when there is none yet; returns the new record.
    std::uint32_t AppendToSequence(TagList tags);
};

}  // namespace cad
