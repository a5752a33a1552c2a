#pragma once
// The state of one parameter of a dynamic block: what a reference keeps for it in its
// representation data, or the definition's default.
//
// A reference keeps one xrecord per parameter, named by the parameter's node id, under
// "AcDbBlockRepresentation" / "AppDataCache" / "ACAD_ENHANCEDBLOCKDATA" of its extension
// dictionary. AutoCAD begins every record with two 1071 and two 70 values (the same for every
// reference of a parameter type); the state follows them: points (10/20/30) and strings (1),
// two-point parameters their base and end point first, one-point parameters their position,
// visibility and lookup parameters their value as the first string.

#include <map>
#include <string>
#include <vector>

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/Dictionary.h"
#include "cad/Entity.h"

namespace cad::dynamic {

struct ParameterState {
    bool present = false;  // read from the reference, not the definition's default
    std::vector<Point3> points;
    std::vector<std::string> strings;
    // The state's own tags as read (head included), kept so that a write changes only values.
    TagList data;
};

// States by node id.
using StateMap = std::map<long long, ParameterState>;

// The state an xrecord holds; not present for a null view or another type.
ParameterState ReadParameterState(const Object& object);
// The tags of an xrecord holding `state`: its read tags with points and strings replaced in
// order and the rest appended; for a new state the head AutoCAD writes (its two 1071 values
// unknown and left out) and the values.
TagList StateData(const ParameterState& state);

// The reference's "AcDbBlockRepresentation" dictionary; a null view when it has none.
Dictionary RepresentationOf(const BlockReference& reference);
// The reference's states by node id ("ACAD_ENHANCEDBLOCKDATA"); a null view when it keeps none.
Dictionary StatesOf(const BlockReference& reference);
// Writes `states` into the reference's representation data, made when missing, naming
// `dynamicBlock` as the block it shows; states not given stay as they are.
base::Status WriteStates(BlockReference& reference, const BlockRecord& dynamicBlock,
                         const StateMap& states);

}  // namespace cad::dynamic
