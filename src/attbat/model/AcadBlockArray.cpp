#include "attbat/model/AcadBlockArray.h"

#include <algorithm>
#include <set>
#include <unordered_set>
#include <utility>

#include "attbat/model/AcadBlockView.h"
#include "attbat/model/PropertyTable.h"
#include "base/Text.h"

namespace attbat {
namespace {

// Adds `text` to `out` unless `seen` holds it already.
void AddDistinct(CStringArrayEx& out, std::unordered_set<std::string>& seen, std::string text,
                 std::string seenKey) {
    if (seen.insert(std::move(seenKey)).second) out.Add(std::move(text));
}

bool IsNamedIn(const AcadBlock& block, const CStringArrayEx& names, bool all) {
    return all || names.FindString(block.name, true) >= 0;
}

}  // namespace

int AcadBlockArray::AddSorted(AcadBlock block) {
    if (block.isAnonymous && block.name.find('*') != std::string::npos) return -1;
    int index = GetSize();
    if (!block.refs.IsEmpty()) {
        const double y = block.refs[0].position.y;
        for (int i = 0; i < GetSize(); ++i) {
            const AcadBlock& other = GetAt(i);
            if (!other.refs.IsEmpty() && other.refs[0].position.y < y) {
                index = i;
                break;
            }
        }
    }
    // Appended and turned into place, so the block is moved rather than copied.
    Add(std::move(block));
    std::rotate(begin() + index, end() - 1, end());
    return index;
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

void AcadBlockArray::NamesWithRefs(CStringArrayEx& out, bool onlyWithRefs) const {
    std::unordered_set<std::string> seen;
    for (const AcadBlock& block : *this) {
        if (!block.IsNormal() || (onlyWithRefs && block.refs.IsEmpty())) continue;
        AddDistinct(out, seen, block.name, base::FoldCase(block.name));
    }
}

void AcadBlockArray::AllLayerNames(CStringArrayEx& out) const {
    std::unordered_set<std::string> seen;
    for (const AcadBlock& block : *this) {
        for (const AcadBlockRef& row : block.refs) {
            AddDistinct(out, seen, row.layer.name, base::FoldCase(row.layer.name));
        }
    }
}

void AcadBlockArray::AllTags(CStringArrayEx& out, const CStringArrayEx& names, bool all,
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

void AcadBlockArray::AllDefTags(AcadAttDefTagArray& out, const CStringArrayEx& names, bool all,
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

void AcadBlockArray::AllColumnNames(CStringArrayEx& out, const CStringArrayEx& names, bool all,
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
                                 CStringArrayEx& out) const {
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
    const bool anyLayer = layer.empty() || layer == "*All*";
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
            if (!anyLayer && row.layer.name != layer) continue;
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

void AcadBlockArray::RemoveMissingTags(const CStringArrayEx& blockNames,
                                       const AcadAttDefTagArray& tags,
                                       AcadAttDefTagArray& out) const {
    std::set<std::pair<std::string, int>> withValue;
    for (const AcadBlock& block : *this) {
        if (blockNames.FindString(block.name, true) < 0) continue;
        for (const AcadBlockRef& row : block.refs) {
            for (const AcadAttribute& attribute : row.attributes) {
                if (!attribute.value.empty()) withValue.insert({attribute.tag, attribute.dupIndex});
            }
        }
    }
    for (const AcadAttDefTag& tag : tags) {
        if (withValue.count({tag.tag, tag.dupIndex}) == 0) out.Add(tag);
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
