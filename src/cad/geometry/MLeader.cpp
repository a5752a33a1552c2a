#include "cad/geometry/MLeader.h"

#include "cad/Database.h"

namespace cad {

std::size_t MLeader::ContextEnd() const {
    std::size_t end = OwnDataEnd();
    int level = 0;
    for (std::size_t i = 1; i < end; ++i) {
        int code = CodeAt(i);
        if (code == 300 && TextAt(i) == "CONTEXT_DATA{") level = 1;
        else if (level == 1 && code == 301) return i;
    }
    return 0;
}

std::size_t MLeader::FindInContext(int code) const {
    std::size_t end = ContextEnd();
    int depth = 0;  // leaders and leader lines nest inside the context
    for (std::size_t i = 1; i < end; ++i) {
        int c = CodeAt(i);
        if ((c == 302 || c == 304) && !TextAt(i).empty() && TextAt(i).back() == '{') ++depth;
        else if (c == 303 || c == 305) --depth;
        else if (depth == 0 && c == code) return i;
    }
    return std::string::npos;
}

std::size_t MLeader::FindAfterContext(int code) const {
    std::size_t end = OwnDataEnd();
    for (std::size_t i = ContextEnd() + 1; i < end; ++i)
        if (CodeAt(i) == code) return i;
    return std::string::npos;
}

Point3 MLeader::PointAt(std::size_t i, Point3 fallback) const {
    if (i == std::string::npos) return fallback;
    Point3 p{RealAt(i), 0, 0};
    if (i + 1 < TagCount() && CodeAt(i + 1) == CodeAt(i) + 10) p.y = RealAt(i + 1);
    if (i + 2 < TagCount() && CodeAt(i + 2) == CodeAt(i) + 20) p.z = RealAt(i + 2);
    return p;
}

MLeaderContentKind MLeader::ContentType() const {
    std::size_t i = FindAfterContext(172);
    if (i == std::string::npos) return MLeaderContentKind::None;
    long long kind = IntAt(i);
    return kind >= 0 && kind <= 3 ? static_cast<MLeaderContentKind>(kind) : MLeaderContentKind::None;
}

BlockRecord MLeader::BlockContent() const {
    if (!db_ || ContentType() != MLeaderContentKind::Block) return {};
    std::size_t i = FindAfterContext(344);
    Handle handle = i == std::string::npos ? 0 : HandleAt(i);
    if (!handle) return {};
    for (const BlockRecord& block : db_->Blocks())
        if (block.GetHandle() == handle && !block.IsErased()) return block;
    return {};
}

Point3 MLeader::BlockPosition() const { return PointAt(FindInContext(15), {}); }

Point3 MLeader::BlockScale() const {
    std::size_t i = FindInContext(16);
    return i != std::string::npos ? PointAt(i, {1, 1, 1}) : PointAt(FindAfterContext(10), {1, 1, 1});
}

double MLeader::BlockRotation() const {
    std::size_t i = FindInContext(46);
    return i == std::string::npos ? 0 : RealAt(i);
}

Point3 MLeader::BlockNormal() const { return PointAt(FindInContext(14), {0, 0, 1}); }

std::vector<MLeader::AttributeValue> MLeader::BlockAttributeValues() const {
    std::vector<AttributeValue> out;
    // Without context data the owner (330) would read as a value.
    if (ContextEnd() == 0) return out;
    std::size_t end = OwnDataEnd();
    // After the context, each value is a group 330 (definition), 177, 44, 302.
    for (std::size_t i = ContextEnd() + 1; i < end; ++i) {
        if (CodeAt(i) != 330) continue;
        AttributeValue value;
        value.definition = HandleAt(i);
        for (std::size_t j = i + 1; j < end && CodeAt(j) != 330; ++j) {
            int code = CodeAt(j);
            if (code == 177) value.index = static_cast<int>(IntAt(j));
            else if (code == 44) value.width = RealAt(j);
            else if (code == 302) {
                value.value = TextAt(j);
                break;
            } else break;
        }
        out.push_back(value);
    }
    return out;
}

base::Result<int> MLeader::DefinitionIndex(const AttributeDefinition& definition) const {
    BlockRecord block = BlockContent();
    if (!block) return base::Status::Error("multileader " + HandleString() + " has no block content");
    int index = 0;
    for (const AttributeDefinition& def : block.AttributeDefinitions()) {
        ++index;
        if (def.GetHandle() == definition.GetHandle()) return index;
    }
    return base::Status::Error("attribute definition " + definition.HandleString() + " is not one of block \"" +
                               block.Name() + "\" of multileader " + HandleString());
}

base::Result<std::string> MLeader::GetBlockAttributeValue(const AttributeDefinition& definition) const {
    auto index = DefinitionIndex(definition);
    if (!index) return index.GetStatus();
    for (const AttributeValue& value : BlockAttributeValues())
        if (value.definition == definition.GetHandle()) return value.value;
    return definition.DefaultValue();
}

base::Status MLeader::SetBlockAttributeValue(const AttributeDefinition& definition, std::string_view value) {
    auto index = DefinitionIndex(definition);
    if (!index) return index.GetStatus();
    if (ContextEnd() == 0) return base::Status::Error("multileader " + HandleString() + " has no context data");
    std::size_t end = OwnDataEnd();
    std::size_t insertAt = std::string::npos;
    for (std::size_t i = ContextEnd() + 1; i < end; ++i) {
        int code = CodeAt(i);
        if (code == 330 && HandleAt(i) == definition.GetHandle()) {
            for (std::size_t j = i + 1; j < end && j <= i + 3; ++j) {
                if (CodeAt(j) != 302) continue;
                if (TextAt(j) != value) SetTagText(j, std::string(value));
                return base::Status::Ok();
            }
            InsertTag(i + 1, Tag{302, std::string(value)});
            return base::Status::Ok();
        }
        // New values go after the last one, or after the annotative flag (293) that precedes them.
        if ((code == 302 && insertAt != std::string::npos) || code == 293) insertAt = i + 1;
        if (code == 330 && insertAt == std::string::npos) insertAt = i;
    }
    if (insertAt == std::string::npos) insertAt = end;
    InsertTag(insertAt, Tag{330, definition.HandleString()});
    InsertTag(insertAt + 1, IntTag(177, *index));
    InsertTag(insertAt + 2, RealTag(44, 0));
    InsertTag(insertAt + 3, Tag{302, std::string(value)});
    return base::Status::Ok();
}

}  // namespace cad
