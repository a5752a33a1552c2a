#pragma once
// What the actions of a dynamic block do to its entities when its parameters go from the
// definition's defaults to other states: moves, stretches, rotations and scales worked out once,
// then applied to each entity's tags as its copy is made. Other actions (polar stretch, array,
// flip: no drawing we have holds one to check against) fail as soon as a parameter they follow
// changes.
//
// The definition's entities show the definition's default state; every action works on them
// by the difference between a parameter's state and its default (a move by the displacement of
// its point, a rotation by the change of angle, a scale by the ratio of distances), in the
// order of the graph. Visibility parameters hide the entities of their set that the state
// doesn't list. Lookup actions set parameters, not geometry, and are left to the caller.

#include <unordered_map>
#include <vector>

#include "base/Status.h"
#include "cad/Entity.h"
#include "cad/dynamic/EvaluationGraph.h"
#include "cad/dynamic/ParameterState.h"
#include "cad/dynamic/StretchTags.h"
#include "cad/geometry/Matrix3d.h"

namespace cad::dynamic {

class BlockEvaluation {
public:
    // Works out the actions of `graph` for the parameters going from `defaults` to `states`;
    // an action whose parameters don't change does nothing. Fails naming the first action that
    // would change something and can't be evaluated (its kind, or a connection it names that
    // isn't known).
    static base::Result<BlockEvaluation> Evaluate(const EvaluationGraph& graph,
                                                  const StateMap& defaults, const StateMap& states);

    // Applies what the actions do to the entity `source` of the definition to `tags`, its tags
    // (type first): the entity of a VERTEX, ATTRIB or SEQEND is its container's. Fails, naming
    // the entity, when a transform can't be applied to its type.
    base::Status Apply(const Entity& source, TagList& tags, int release) const;
    // True when nothing changes any entity.
    bool IsIdentity() const { return ops_.empty() && visibility_.empty(); }

private:
    struct Op {
        bool stretch = false;
        Matrix3d matrix;      // when not a stretch
        std::size_t frame = 0;  // index into frames_, for a stretch
        Point3 delta;
    };
    std::unordered_map<Handle, std::vector<Op>> ops_;
    std::unordered_map<Handle, bool> visibility_;
    std::vector<StretchFrame> frames_;

    friend class ActionEvaluator;
};

}  // namespace cad::dynamic
