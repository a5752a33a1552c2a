#include "attbat/model/AcadBlockArray.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <set>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "attbat/model/AcadBlockView.h"
#include "attbat/model/PropertyTable.h"
#include "base/Text.h"

namespace attbat {
namespace {

// Adds `text` to `out` unless `seen` holds it already.
void AddDistinct(tables::CStringArrayEx& out, std::unordered_set<std::string>& seen, std::string text,
                 std::string seenKey) {
    if (seen.insert(std::move(seenKey)).second) out.Add(std::move(text));
}

bool IsNamedIn(const AcadBlock& block, const tables::CStringArrayEx& names, bool all) {
    return all || names.FindString(block.name, true) >= 0;
}

}  // namespace

int AcadBlockArray::AddSorted(AcadBlock block) {
    std::vector<AcadBlock> one;
    one.push_back(std::move(block));
    return AddAllSorted(std::move(one)).front();
}

std::vector<int> AcadBlockArray::AddAllSorted(std::vector<AcadBlock> added) {
    // Each block goes before the first block with rows whose first row lies lower. Blocks with
    // rows therefore stand in order of falling height, so that first lower block is always one
    // that lies lower than every block before it: a "low". The lows fall strictly, so the one
    // to go before is found by a search in them, and the blocks are linked into place without
    // moving any; the array is built once at the end.
    const int existing = GetSize();
    const int total = existing + static_cast<int>(added.size());
    std::vector<int> next(static_cast<std::size_t>(total) + 1, -1), prev(next.size(), -1);
    const int head = total;  // a sentinel before the first block
    int tail = head;
    auto linkAfter = [&](int at, int node) {
        next[node] = next[at];
        prev[node] = at;
        if (next[at] >= 0) prev[next[at]] = node;
        next[at] = node;
        if (tail == at) tail = node;
    };
    std::map<double, int, std::greater<>> lows;  // height of its first row -> block
    auto firstRowY = [](const AcadBlock& block, double& y) {
        if (block.refs.IsEmpty()) return false;
        y = block.refs[0].position.y;
        return !std::isnan(y);  // a height that compares with nothing is never lower
    };
    for (int i = 0; i < existing; ++i) {
        linkAfter(tail, i);
        double y = 0;
        if (firstRowY(GetAt(i), y) && (lows.empty() || y < lows.rbegin()->first)) lows.emplace(y, i);
    }
    std::vector<int> nodes(added.size(), -1);
    for (std::size_t k = 0; k < added.size(); ++k) {
        const AcadBlock& block = added[k];
        if (block.isAnonymous && block.name.find('*') != std::string::npos) continue;
        const int node = existing + static_cast<int>(k);
        nodes[k] = node;
        double y = 0;
        if (!firstRowY(block, y)) {
            linkAfter(tail, node);
            continue;
        }
        auto lower = lows.upper_bound(y);  // the first low under y
        const bool isLow = lower == lows.begin() || std::prev(lower)->first > y;
        linkAfter(lower == lows.end() ? tail : prev[lower->second], node);
        if (isLow) lows.emplace_hint(lower, y, node);
    }
    std::vector<AcadBlock> order;
    order.reserve(static_cast<std::size_t>(total));
    std::vector<int> position(static_cast<std::size_t>(total), -1);
    for (int node = next[head]; node >= 0; node = next[node]) {
        position[node] = static_cast<int>(order.size());
        order.push_back(node < existing ? std::move(GetAt(node)) : std::move(added[node - existing]));
    }
    RemoveAll();
    for (AcadBlock& block : order) Add(std::move(block));
    std::vector<int> indices;
    indices.reserve(nodes.size());
    for (int node : nodes) indices.push_back(node < 0 ? -1 : position[node]);
    return indices;
}

AcadBlock* AcadBlockArray::FindByName(std::string_view name) {
    for (AcadBlock& block : *this) {
        if (block.IsNormal() && (name.empty() || base::EqualNoCase(block.name, name))) {
            return &block;
        }
    }
    return nullptr;
}

void AcadBlockArray::FindAllByName(std::string_view name, std::vector<AcadBlock*>& out) {
    for (AcadBlock& block : *this) {
        if (block.IsNormal() && (name.empty() || base::EqualNoCase(block.name, name))) {
            out.push_back(&block);
        }
    }
}

void AcadBlockArray::NamesWithRefs(tables::CStringArrayEx& out, bool onlyWithRefs) const {
    std::unordered_set<std::string> seen;
    for (const AcadBlock& block : *this) {
        if (!block.IsNormal() || (onlyWithRefs && block.refs.IsEmpty())) continue;
        AddDistinct(out, seen, block.name, base::FoldCase(block.name));
    }
}

void AcadBlockArray::AllLayerNames(tables::CStringArrayEx& out) const {
    std::unordered_set<std::string> seen;
    for (const AcadBlock& block : *this) {
        for (const AcadBlockRef& row : block.refs) {
            AddDistinct(out, seen, row.layer.name, base::FoldCase(row.layer.name));
        }
    }
}

void AcadBlockArray::AllTags(tables::CStringArrayEx& out, const tables::CStringArrayEx& names, bool all,
                             bool withProperties) const {
    std::unordered_set<std::string> seen;
    for (const AcadBlock& block : *this) {
        if (!IsNamedIn(block, names, all)) continue;
        for (const AcadAttributeDef& def : block.defs) {
            if (def.kind == 1 && !withProperties) continue;
            AddDistinct(out, seen, def.tag, def.tag);
        }
    }
}

void AcadBlockArray::AllDefTags(AcadAttDefTagArray& out, const tables::CStringArrayEx& names, bool all,
                                bool withProperties) const {
    std::set<std::pair<std::string, int>> seen;
    for (const AcadBlock& block : *this) {
        if (!IsNamedIn(block, names, all)) continue;
        for (const AcadAttributeDef& def : block.defs) {
            if (def.kind == 1 && !withProperties) continue;
            if (seen.insert({def.tag, def.dupIndex}).second) out.Add(AcadAttDefTag(def));
        }
    }
}

void AcadBlockArray::AllColumnNames(tables::CStringArrayEx& out, const tables::CStringArrayEx& names, bool all,
                                    bool withProperties) const {
    std::unordered_set<std::string> seen;
    for (const AcadBlock& block : *this) {
        if (!IsNamedIn(block, names, all)) continue;
        for (const AcadAttributeDef& def : block.defs) {
            if (def.kind == 1 && !withProperties) continue;
            std::string name = def.kind == 0 ? DupName(def.tag, def.dupIndex) : def.tag;
            AddDistinct(out, seen, name, name);
        }
    }
    for (const AcadBlock& block : *this) {
        if (!IsNamedIn(block, names, all)) continue;
        for (const AcadBlockRef& row : block.refs) {
            for (const AcadAttribute& attribute : row.attributes) {
                if (attribute.kind != 0) continue;
                std::string name = attribute.DisplayName();
                AddDistinct(out, seen, name, name);
            }
        }
    }
}

void AcadBlockArray::ValuesOfTag(std::string_view blockName, std::string_view tag,
                                 tables::CStringArrayEx& out) const {
    std::unordered_set<std::string> seen;
    for (const AcadBlock& block : *this) {
        if (!base::EqualNoCase(block.name, blockName)) continue;
        for (const AcadBlockRef& row : block.refs) {
            for (const AcadAttribute& attribute : row.attributes) {
                if (attribute.tag == tag) AddDistinct(out, seen, attribute.value, attribute.value);
            }
        }
    }
}

int AcadBlockArray::CountValue(std::string_view blockName, std::string_view layer,
                               std::string_view tag, std::string_view value,
                               bool excludeCurrentDrawing, std::string_view currentFile) const {
    const bool anyLayer = layer.empty() || base::EqualNoCase(layer, "*All*");
    int count = 0;
    for (const AcadBlock& block : *this) {
        if (!base::EqualNoCase(block.name, blockName)) continue;
        if (excludeCurrentDrawing &&
            (block.dwgFile.empty() || base::EqualNoCase(block.dwgFile, currentFile))) {
            continue;
        }
        if (tag.empty()) {
            count += block.refs.GetSize();
            continue;
        }
        for (const AcadBlockRef& row : block.refs) {
            if (!anyLayer && !base::EqualNoCase(row.layer.name, layer)) continue;
            for (const AcadAttribute& attribute : row.attributes) {
                if (attribute.tag == tag && attribute.value == value) ++count;
            }
        }
    }
    return count;
}

void AcadBlockArray::RemoveFile(std::string_view path) {
    for (int i = GetSize() - 1; i >= 0; --i) {
        if (base::EqualNoCase(GetAt(i).dwgFile, path)) RemoveAt(i);
    }
}

void AcadBlockArray::RemoveMissingTags(const tables::CStringArrayEx& blockNames,
                                       const AcadAttDefTagArray& tags,
                                       AcadAttDefTagArray& out) const {
    // The tags asked about, each marked once a value has it: values are looked through only
    // until every tag has one, which in a schedule is mostly within its first rows.
    using Key = std::pair<std::string_view, int>;
    std::map<Key, bool> hasValue;
    for (const AcadAttDefTag& tag : tags) hasValue.emplace(Key(tag.tag, tag.dupIndex), false);
    std::size_t without = hasValue.size();
    // The references of a block mostly list their values in the same order, so the entry found
    // for a value's place is tried first for the value in that place of the next reference.
    struct Slot {
        Key key;
        bool known = false;      // whether key was looked up
        bool* marked = nullptr;  // null: a tag not asked about
    };
    std::vector<Slot> slots;
    const auto markValues = [&] {
        for (const AcadBlock& block : *this) {
            if (blockNames.FindString(block.name, true) < 0) continue;
            slots.clear();
            for (const AcadBlockRef& row : block.refs) {
                const std::size_t count = static_cast<std::size_t>(row.attributes.GetSize());
                if (slots.size() < count) slots.resize(count);
                for (std::size_t i = 0; i < count; ++i) {
                    const AcadAttribute& attribute = row.attributes[static_cast<int>(i)];
                    if (attribute.value.empty()) continue;
                    Slot& slot = slots[i];
                    const Key key(attribute.tag, attribute.dupIndex);
                    if (!slot.known || slot.key != key) {
                        auto it = hasValue.find(key);
                        slot = {key, true, it == hasValue.end() ? nullptr : &it->second};
                    }
                    if (!slot.marked || *slot.marked) continue;
                    *slot.marked = true;
                    if (--without == 0) return;
                }
            }
        }
    };
    if (without > 0) markValues();
    for (const AcadAttDefTag& tag : tags) {
        if (!hasValue[Key(tag.tag, tag.dupIndex)]) out.Add(tag);
    }
}

void AcadBlockArray::BuildColumns(AcadBlockView& view) const {
    if (view.headerStyle != 0) return;
    std::vector<const AcadBlock*> blocks;
    blocks.reserve(static_cast<std::size_t>(GetSize()));
    for (const AcadBlock& block : *this) blocks.push_back(&block);
    view.columns = view.ColumnsOf(blocks);
}

}  // namespace attbat
