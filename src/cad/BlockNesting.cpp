#include "cad/BlockNesting.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include <fmt/format.h>

#include "cad/Database.h"

namespace cad {
namespace {

constexpr std::uint32_t kNoEntry = 0xFFFFFFFFu;

// An edge of the block graph: `to` is drawn inside `from`; `reference` for INSERT and MINSERT,
// false for the blocks that dimensions and tables are drawn with.
struct Edge {
    std::uint32_t from;
    std::uint32_t to;
    bool reference;
};

std::string CycleMessage(const std::vector<std::string>& names) {
    if (names.size() == 1) return fmt::format("block \"{}\" refers to itself", names[0]);
    constexpr std::size_t kShown = 5;
    std::string list;
    for (std::size_t i = 0; i < names.size() && i < kShown; ++i)
        list += fmt::format("{}\"{}\"", i == 0 ? "" : ", ", names[i]);
    if (names.size() > kShown) list += fmt::format(" and {} more", names.size() - kShown);
    return fmt::format("blocks {} refer to one another in a cycle", list);
}

}  // namespace

BlockNesting::BlockNesting(Database& db) {
    const auto& records = db.records_;
    const std::uint32_t n = static_cast<std::uint32_t>(db.blocks_.size());
    entryOf_.assign(n, kNoEntry);
    std::unordered_map<std::uint32_t, std::uint32_t> blockOfBegin;
    for (std::uint32_t b = 0; b < n; ++b) {
        if (db.blocks_[b].erased) continue;
        entryOf_[b] = static_cast<std::uint32_t>(entries_.size());
        entries_.push_back(Entry{BlockRecord(&db, b)});
        if (db.blocks_[b].begin != Database::kNone) blockOfBegin.emplace(db.blocks_[b].begin, b);
    }
    const BlockRecord model = db.ModelSpace(), paper = db.PaperSpace();

    // One pass over the records: the entities of each block, and who draws which block.
    std::vector<std::uint64_t> ownEntities(n, 0);
    std::vector<Edge> edges;
    std::string scratch;
    for (std::uint32_t k = db.first_; k != Database::kNone; k = records[k].next) {
        db.HandBackBefore(k);
        const auto& r = records[k];
        if (r.section != SectionKind::Blocks && r.section != SectionKind::Entities) continue;
        if (r.parent == Database::kNone) continue;
        std::uint32_t owner = kNoEntry;
        if (auto it = blockOfBegin.find(r.parent); it != blockOfBegin.end()) {
            if (db.TypeIs(k, "ENDBLK")) continue;
            owner = it->second;
            ++ownEntities[owner];
        } else if (!db.TypeIs(r.parent, "SECTION") || r.section != SectionKind::Entities) {
            continue;  // attributes, vertices and the BLOCK records themselves
        }
        const bool reference = db.TypeIs(k, "INSERT") || db.TypeIs(k, "MINSERT");
        if (!reference && !db.TypeIs(k, "DIMENSION") && !db.TypeIs(k, "ARC_DIMENSION") &&
            !db.TypeIs(k, "LARGE_RADIAL_DIMENSION") && !db.TypeIs(k, "ACAD_TABLE"))
            continue;
        Entity e(&db, k);
        const BlockRecord drawn = db.FindBlock(e.GetTextView(2, scratch));
        if (!drawn) continue;
        if (reference) ++entries_[entryOf_[drawn.Index()]].references;
        if (owner == kNoEntry) {
            const BlockRecord space = e.IsInPaperSpace() ? paper : model;
            if (!space) continue;
            owner = space.Index();
        }
        edges.push_back({owner, drawn.Index(), reference});
    }

    // The edges by the block that draws them.
    std::vector<std::uint32_t> first(n + 1, 0);
    for (const Edge& edge : edges) ++first[edge.from + 1];
    for (std::uint32_t b = 0; b < n; ++b) first[b + 1] += first[b];
    std::vector<Edge> out(edges.size());
    {
        std::vector<std::uint32_t> fill(first.begin(), first.end() - 1);
        for (const Edge& edge : edges) out[fill[edge.from]++] = edge;
    }

    // One depth-first walk, without recursion (a chain of blocks can be as long as the file),
    // from the layouts first: it finds the strongly connected components (Tarjan's) and the
    // edges back to a block on the walk's path. Without those the graph has no cycle, and the
    // order in which blocks are finished is one in which every block comes after those it draws.
    constexpr std::uint32_t kUnseen = 0xFFFFFFFFu;
    std::vector<std::uint32_t> order(n, kUnseen), low(n, 0), component(n, kUnseen);
    std::vector<bool> onStack(n, false), onPath(n, false), back(out.size(), false);
    std::vector<std::uint32_t> stack, emitted;  // emitted: blocks, component by component
    std::vector<std::uint32_t> componentStart;  // where each component begins in `emitted`
    std::vector<std::uint32_t> finished;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> calls;  // block, next edge
    std::uint32_t counter = 0;
    std::vector<std::uint32_t> roots;
    for (const Entry& entry : entries_)
        if (entry.block.IsLayout()) roots.push_back(entry.block.Index());
    for (const Entry& entry : entries_)
        if (!entry.block.IsLayout()) roots.push_back(entry.block.Index());
    for (std::uint32_t root : roots) {
        if (order[root] != kUnseen) continue;
        auto enter = [&](std::uint32_t v) {
            order[v] = low[v] = counter++;
            stack.push_back(v);
            onStack[v] = onPath[v] = true;
            calls.push_back({v, first[v]});
        };
        enter(root);
        while (!calls.empty()) {
            const std::uint32_t v = calls.back().first;
            const std::uint32_t e = calls.back().second;
            if (e < first[v + 1]) {
                ++calls.back().second;
                const std::uint32_t w = out[e].to;
                back[e] = onPath[w];
                if (order[w] == kUnseen) enter(w);
                else if (onStack[w]) low[v] = std::min(low[v], order[w]);
                continue;
            }
            calls.pop_back();
            onPath[v] = false;
            finished.push_back(v);
            if (!calls.empty()) low[calls.back().first] = std::min(low[calls.back().first], low[v]);
            if (low[v] != order[v]) continue;
            const std::uint32_t id = static_cast<std::uint32_t>(componentStart.size());
            componentStart.push_back(static_cast<std::uint32_t>(emitted.size()));
            std::uint32_t w;
            do {
                w = stack.back();
                stack.pop_back();
                onStack[w] = false;
                component[w] = id;
                emitted.push_back(w);
            } while (w != v);
        }
    }
    componentStart.push_back(static_cast<std::uint32_t>(emitted.size()));
    const std::uint32_t components = static_cast<std::uint32_t>(componentStart.size() - 1);

    // Cycles: components of more than one block, or a block that draws itself.
    for (std::uint32_t c = 0; c < components; ++c) {
        const std::uint32_t begin = componentStart[c], end = componentStart[c + 1];
        bool cyclic = end - begin > 1;
        for (std::uint32_t e = first[emitted[begin]]; !cyclic && e < first[emitted[begin] + 1]; ++e)
            cyclic = out[e].to == emitted[begin];
        if (!cyclic) continue;
        std::vector<std::string> names;
        // In block order, so that the message does not depend on the walk.
        std::vector<std::uint32_t> members(emitted.begin() + begin, emitted.begin() + end);
        std::sort(members.begin(), members.end());
        for (std::uint32_t b : members) {
            entries_[entryOf_[b]].inCycle = true;
            if (names.size() <= 5) names.push_back(entries_[entryOf_[b]].block.Name());
        }
        if (members.size() > names.size()) names.resize(members.size());
        cycles_.push_back(CycleMessage(names));
    }

    // Entities drawn per reference, from the blocks that draw nothing else upwards; an edge
    // that closes a cycle is not followed.
    for (std::uint32_t b : finished) {
        std::uint64_t total = ownEntities[b];
        for (std::uint32_t e = first[b]; e < first[b + 1]; ++e)
            if (!back[e]) total = SaturatingAdd(total, entries_[entryOf_[out[e].to]].expandedEntities);
        entries_[entryOf_[b]].expandedEntities = total;
    }
    // Instances from the layouts downwards: the same order the other way round.
    for (const Entry& entry : entries_)
        if (entry.block.IsLayout()) entries_[entryOf_[entry.block.Index()]].instances = 1;
    for (auto it = finished.rbegin(); it != finished.rend(); ++it) {
        const std::uint32_t b = *it;
        const std::uint64_t times = entries_[entryOf_[b]].instances;
        if (times == 0) continue;
        for (std::uint32_t e = first[b]; e < first[b + 1]; ++e) {
            if (!out[e].reference || back[e]) continue;
            std::uint64_t& target = entries_[entryOf_[out[e].to]].instances;
            target = SaturatingAdd(target, times);
        }
    }
    for (const Entry& entry : entries_)
        if (!entry.block.IsLayout()) expandedReferences_ = SaturatingAdd(expandedReferences_, entry.instances);
}

const BlockNesting::Entry& BlockNesting::Of(const BlockRecord& block) const {
    if (!block || block.Index() >= entryOf_.size() || entryOf_[block.Index()] == kNoEntry) return none_;
    return entries_[entryOf_[block.Index()]];
}

}  // namespace cad
