#pragma once
// Dynamic blocks: whether a reference's block is dynamic, the block behind the anonymous copy it
// points at, the properties a CAD program's property palette shows for it, and setting them
// (the evaluation is in cad/dynamic/).
//
// A dynamic block keeps its parameters in the evaluation graph of its block record (extension
// dictionary, "ACAD_ENHANCEDBLOCK"). A reference whose state differs from the definition points
// at an anonymous "*U" copy; the copy's record names the dynamic block (extended data
// "AcDbBlockRepBTag", handle 1005) and the reference keeps its state in its extension dictionary
// ("AcDbBlockRepresentation" / "AcDbRepData" names the block, "AppDataCache" /
// "ACAD_ENHANCEDBLOCKDATA" holds one xrecord per parameter, keyed by the parameter's node id in
// the graph). None of this is in the DXF reference; what follows is read off drawings AutoCAD
// wrote (2013 and 2018), and each xrecord starts with two 1071 and two 70 values whose meaning
// is not needed here.
//
// What is read, and from where (the reference's own data first, else the definition's default):
// - visibility: the state names (allowed values) and the current state, a string; the default
//   is the first state of the list, the one CAD programs give a new reference.
// - lookup: the current value, a string, and the values of its column in the lookup table; no
//   default (AutoCAD computes it from the other parameters), so a reference without its own
//   value leaves the property out. Read-only unless its column allows reverse lookup.
// - linear: the distance between base and end point; rotation: the angle of the end point
//   from the base angle, in radians in [0, 2 pi); point: the position's X and Y.
// - XY: the end point less the base point, X and Y; polar: their distance and the angle from the
//   block's X axis. Both are read as linear and rotation are (every two-point parameter seen
//   keeps its base and end point first). No drawing we have holds one: their labels are
//   assumed in 305 and 307 (linear, rotation and flip keep their first label in 305), the
//   element name standing in when those are empty.
// - flip: 0 or 1 with the two state labels as allowed values, but only from the definition: no
//   drawing we have shows where a reference keeps its flip state, so a reference with data of
//   its own leaves it out rather than guess.
// Alignment, base point and constraint parameters, and any parameter hidden from the palette
// (280 = 0), show nothing.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/Entity.h"
#include "cad/Tag.h"

namespace cad {

// How a property's value is typed, as the palette types it.
enum class DynamicValueKind { String, Real, Int16, Int32, Point };

// What a real value measures; angles are in radians.
enum class DynamicUnitsKind { None, Distance, Angle, Area };

// One property of a dynamic block reference.
struct DynamicBlockProperty {
    // The name the palette shows (the parameter's label; a point's label with " X" or " Y").
    std::string name;
    DynamicValueKind valueKind = DynamicValueKind::String;
    DynamicUnitsKind units = DynamicUnitsKind::None;
    // The value: `text` for strings, `real` for reals, `integer` for integers, `point` for points.
    std::string text;
    double real = 0;
    long long integer = 0;
    Point3 point;
    // The values it may take (visibility states, a lookup column, flip state labels); empty when
    // it takes any value of its type.
    std::vector<std::string> allowedValues;
    bool readOnly = false;
    // The parameter's object type ("BLOCKLINEARPARAMETER") and handle in the definition.
    std::string parameterType;
    Handle parameter = 0;
    // True when the value is the reference's own, false when it is the definition's default.
    bool fromReference = false;
};

// A value for a property: `text` for strings, `real` for reals, `integer` for integers.
struct DynamicValue {
    DynamicValueKind kind = DynamicValueKind::String;
    std::string text;
    double real = 0;
    long long integer = 0;

    static DynamicValue Text(std::string value) { return {DynamicValueKind::String, std::move(value), 0, 0}; }
    static DynamicValue Real(double value) { return {DynamicValueKind::Real, {}, value, 0}; }
    static DynamicValue Integer(long long value) { return {DynamicValueKind::Int32, {}, 0, value}; }
};

// A view of a block reference as a dynamic block reference. Cheap to copy; valid as long as the
// reference's database lives.
class DynamicBlockReference {
public:
    explicit DynamicBlockReference(BlockReference reference) : reference_(reference) {}

    // The reference viewed; may be null.
    const BlockReference& Reference() const { return reference_; }
    // True when the reference's true block has an evaluation graph; false for a null view, an R12
    // drawing or a block that merely keeps a dynamic block's name or GUID.
    bool IsDynamic() const { return static_cast<bool>(DynamicBlock()); }
    // The dynamic block definition behind the reference: the one its representation data names,
    // else the one its anonymous block's record names, else its own block; a null view when none
    // of them has an evaluation graph.
    BlockRecord DynamicBlock() const;
    // The properties in the order of the definition's graph; empty when the reference isn't
    // dynamic. A property whose value can't be read with confidence is left out.
    std::vector<DynamicBlockProperty> Properties() const;
    // The property named `name` (exactly, as Properties names it); nothing when there is none.
    std::optional<DynamicBlockProperty> Property(std::string_view name) const;

    // Sets the property `name` (as Properties names it) to `value`, as the palette would: the
    // actions that depend on it are evaluated on the definition's entities, the reference then
    // shows an anonymous copy of the block with the result (an existing, equal one when there
    // is one; the copy it showed stays, as AutoCAD leaves them) and keeps the new values in its
    // representation data, and its attributes follow their definitions. Visibility, lookup,
    // linear, polar, point, XY and rotation parameters can be set, through move, stretch,
    // rotate, scale and lookup actions; a flip parameter, whose state no drawing we have shows
    // a reference keeping, can't. Fails, changing nothing, for a missing or read-only property,
    // a value of another type, a state or lookup row the block doesn't have, a parameter or
    // action of another kind, and an entity an action can't transform; the message names the
    // property and the parameter's kind.
    base::Status SetValue(std::string_view name, const DynamicValue& value);

    // True when `block` has an evaluation graph ("ACAD_ENHANCEDBLOCK" in its extension
    // dictionary); false for a null view and in R12 drawings.
    static bool IsDynamicBlock(const BlockRecord& block);

private:
    BlockReference reference_;
};

}  // namespace cad
