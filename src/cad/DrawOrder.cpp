#include "cad/DrawOrder.h"

#include <algorithm>
#include <unordered_map>

#include "cad/Dictionary.h"

namespace cad {

std::vector<std::pair<Handle, Handle>> DrawOrderPairs(const BlockRecord& block) {
    std::vector<std::pair<Handle, Handle>> pairs;
    Object table = block.Record().ExtensionDictionary().Get("ACAD_SORTENTS");
    if (!table || table.Type() != "SORTENTSTABLE")
        return pairs;
    // After the subclass marker and the block's handle come (331 entity, 5 sort handle) pairs;
    // the first 5 of the object is its own handle.
    bool inTable = false;
    Handle entity = 0;
    for (const Tag& t : table.Tags()) {
        if (t.code == 1001)
            break;
        if (t.code == 100)
            inTable = t.value == "AcDbSortentsTable";
        if (!inTable)
            continue;
        if (t.code == 331)
            entity = t.AsHandle();
        else if (t.code == 5 && entity != 0)
            pairs.emplace_back(std::exchange(entity, 0), t.AsHandle());
    }
    return pairs;
}

std::vector<Entity> EntitiesInDrawOrder(const BlockRecord& block) {
    std::vector<Entity> entities = block.Entities();
    const std::vector<std::pair<Handle, Handle>> pairs = DrawOrderPairs(block);
    if (pairs.empty())
        return entities;
    std::unordered_map<Handle, Handle> sortHandle(pairs.begin(), pairs.end());
    std::vector<std::pair<Handle, Entity>> keyed;
    keyed.reserve(entities.size());
    for (const Entity& e : entities) {
        auto it = sortHandle.find(e.GetHandle());
        keyed.emplace_back(it == sortHandle.end() ? e.GetHandle() : it->second, e);
    }
    std::stable_sort(keyed.begin(), keyed.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (std::size_t k = 0; k < keyed.size(); ++k)
        entities[k] = keyed[k].second;
    return entities;
}

}  // namespace cad
