// Selection of the entities of the spaces by an AutoCAD filter list.
#include <set>

#include "base/Text.h"
#include "base/Wildcard.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/GroupCode.h"

namespace cad {

namespace {

struct FilterNode {
    enum class Kind { Leaf, And, Or, Not, Xor } kind = Kind::Leaf;
    Tag tag;
    std::string op;                 // relational operator of a leaf; "" is equality
    std::vector<std::string> apps;  // -3: application name patterns
    std::vector<FilterNode> children;
};

// Reads nodes until `closing` ("" for the end of the list); false on an unbalanced list.
bool ParseNodes(const TagList& f, std::size_t& pos, std::string_view closing, std::vector<FilterNode>& out) {
    while (pos < f.size()) {
        const Tag& t = f[pos];
        if (t.code == -4) {
            std::string v = base::ToLower(base::Trim(t.value));
            if (!closing.empty() && v == closing) {
                ++pos;
                return true;
            }
            if (v == "<and" || v == "<or" || v == "<not" || v == "<xor") {
                FilterNode node;
                node.kind = v == "<and" ? FilterNode::Kind::And
                          : v == "<or"  ? FilterNode::Kind::Or
                          : v == "<not" ? FilterNode::Kind::Not
                                        : FilterNode::Kind::Xor;
                ++pos;
                if (!ParseNodes(f, pos, v.substr(1) + ">", node.children)) return false;
                if (node.kind == FilterNode::Kind::Not && node.children.size() != 1) return false;
                if (node.kind == FilterNode::Kind::Xor && node.children.size() != 2) return false;
                out.push_back(std::move(node));
                continue;
            }
            static const char* const relational[] = {"=", "!=", "/=", "<>", "<", "<=", ">", ">=", "*"};
            bool isRelational = false;
            for (const char* op : relational) isRelational = isRelational || v == op;
            if (isRelational) {
                // A relational test applies to the tag that follows.
                if (pos + 1 >= f.size()) return false;
                FilterNode node;
                node.op = v;
                node.tag = f[pos + 1];
                pos += 2;
                out.push_back(std::move(node));
                continue;
            }
            return false;
        }
        FilterNode node;
        node.tag = t;
        ++pos;
        if (t.code == -3) {
            while (pos < f.size() && f[pos].code == 1001) node.apps.push_back(f[pos++].value);
        }
        out.push_back(std::move(node));
    }
    return closing.empty();
}

bool Compare(double a, double b, std::string_view op) {
    if (op.empty() || op == "=") return a == b;
    if (op == "!=" || op == "/=" || op == "<>") return a != b;
    if (op == "<") return a < b;
    if (op == "<=") return a <= b;
    if (op == ">") return a > b;
    if (op == ">=") return a >= b;
    return op == "*";
}

bool MatchLeaf(const Entity& e, const FilterNode& n) {
    const Tag& t = n.tag;
    if (t.code == -3) {
        std::vector<std::string> apps = e.XdataApps();
        for (const std::string& pattern : n.apps) {
            bool any = false;
            for (const std::string& app : apps) any = any || base::WcMatch(app, pattern, true);
            if (!any) return false;
        }
        return true;
    }
    if (n.op == "*") return true;
    if (t.code == 0) return base::WcMatch(e.Type(), t.value, true);
    if (t.code == 8) return base::WcMatch(e.LayerName(), t.value, true);
    if (t.code == 2 && (e.Type() == "INSERT" || e.Type() == "MINSERT"))
        return base::WcMatch(BlockReference(e.GetDatabase(), e.Index()).BlockName(), t.value, true);
    ValueKind kind = KindOfCode(t.code);
    if (kind == ValueKind::Text) return e.Has(t.code) && base::WcMatch(e.GetText(t.code), t.value, true);
    if (kind == ValueKind::Handle) return e.GetHandleValue(t.code) == t.AsHandle();
    // Numbers missing from an entity read as their defaults: colour BYLAYER, everything else 0.
    double fallback = t.code == 62 ? 256 : 0;
    return Compare(e.GetReal(t.code, fallback), t.Real(), n.op);
}

bool Match(const Entity& e, const FilterNode& n) {
    switch (n.kind) {
        case FilterNode::Kind::Leaf: return MatchLeaf(e, n);
        case FilterNode::Kind::And:
            for (const FilterNode& c : n.children)
                if (!Match(e, c)) return false;
            return true;
        case FilterNode::Kind::Or:
            for (const FilterNode& c : n.children)
                if (Match(e, c)) return true;
            return false;
        case FilterNode::Kind::Not: return !Match(e, n.children.front());
        case FilterNode::Kind::Xor: return Match(e, n.children[0]) != Match(e, n.children[1]);
    }
    return false;
}

}  // namespace

std::vector<Entity> Database::Select(const TagList& filter) {
    std::vector<Entity> out;
    FilterNode root;
    root.kind = FilterNode::Kind::And;
    std::size_t pos = 0;
    if (!ParseNodes(filter, pos, "", root.children)) return out;
    // The spaces: the ENTITIES section and the blocks of the other layouts.
    std::set<std::uint32_t> containers;
    std::uint32_t section = SectionRecord(SectionKind::Entities);
    if (section != kNone) containers.insert(section);
    for (const BlockRecord& block : Blocks())
        if (block.IsLayout() && blocks_[block.index_].begin != kNone) containers.insert(blocks_[block.index_].begin);
    for (std::uint32_t k = first_; k != kNone; k = records_[k].next) {
        const Record& r = records_[k];
        if (r.parent == kNone || !containers.count(r.parent)) continue;
        if (TypeIs(k, "ENDSEC") || TypeIs(k, "ENDBLK")) continue;
        Entity e(this, k);
        if (Match(e, root)) out.push_back(e);
    }
    return out;
}

}  // namespace cad
