#pragma once
// The evaluation graph of a dynamic block ("ACAD_ENHANCEDBLOCK" in its block record's extension
// dictionary): its parameters, actions and grips by node id.

#include <unordered_map>
#include <vector>

#include "cad/BlockRecord.h"
#include "cad/Object.h"

namespace cad::dynamic {

class EvaluationGraph {
public:
    EvaluationGraph() = default;
    // The graph of `block`; an empty one for a null view, an R12 drawing or a plain block.
    static EvaluationGraph Of(const BlockRecord& block);

    explicit operator bool() const { return static_cast<bool>(graph_); }
    // The graph object itself; a null view for an empty graph.
    const Object& GraphObject() const { return graph_; }
    // The nodes in the graph's order (the order the palette lists the parameters in).
    const std::vector<Object>& Nodes() const { return nodes_; }
    // The node with id `id`; a null view when there is none.
    Object Node(long long id) const;
    // The node id of `node` (its 90); -1 when it has none.
    static long long IdOf(const Object& node) { return node.GetInt(90, -1); }

private:
    Object graph_;
    std::vector<Object> nodes_;
    std::unordered_map<long long, Object> byId_;
};

}  // namespace cad::dynamic
