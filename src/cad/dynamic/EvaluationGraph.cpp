#include "cad/dynamic/EvaluationGraph.h"

#include "cad/Database.h"
#include "cad/Dictionary.h"

namespace cad::dynamic {

EvaluationGraph EvaluationGraph::Of(const BlockRecord& block) {
    EvaluationGraph out;
    if (!block)
        return out;
    Object record = block.Record();
    if (!record)
        return out;
    Dictionary xdict = record.ExtensionDictionary();
    if (!xdict)
        return out;
    Object graph = xdict.Get("ACAD_ENHANCEDBLOCK");
    if (!graph || graph.Type() != "ACAD_EVALUATION_GRAPH")
        return out;
    out.graph_ = graph;
    Database& db = *graph.GetDatabase();
    bool inGroup = false;  // 102 groups (reactors, extension dictionary) hold no nodes
    for (const Tag& tag : graph.Tags()) {
        if (tag.code == 1001)
            break;
        if (tag.code == 102)
            inGroup = !tag.value.empty() && tag.value[0] == '{';
        if (inGroup || tag.code != 360)
            continue;
        Object node = db.ObjectByHandle(tag.AsHandle());
        if (!node)
            continue;
        out.nodes_.push_back(node);
        out.byId_.emplace(IdOf(node), node);
    }
    return out;
}

Object EvaluationGraph::Node(long long id) const {
    auto it = byId_.find(id);
    return it == byId_.end() ? Object() : it->second;
}

}  // namespace cad::dynamic
