#include "cad/BlockRecord.h"

#include <algorithm>
#include <unordered_map>

#include "base/Text.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"

namespace cad {

namespace {
constexpr double kDegree = 3.14159265358979323846 / 180.0;
}

bool BlockRecord::IsErased() const { return !db_ || db_->blocks_[index_].erased; }

std::string BlockRecord::Name() const {
    if (!db_) return {};
    const auto& info = db_->blocks_[index_];
    if (info.record != Database::kNone) return Object(db_, info.record).GetText(2);
    if (info.begin != Database::kNone) return Object(db_, info.begin).GetText(2);
    return db_->Release() < 1012 ? "$MODEL_SPACE" : "*Model_Space";
}

Handle BlockRecord::GetHandle() const {
    if (Object record = Record()) return record.GetHandle();
    return BlockBegin().GetHandle();
}

Object BlockRecord::Record() const {
    if (!db_ || db_->blocks_[index_].record == Database::kNone) return Object();
    return Object(db_, db_->blocks_[index_].record);
}

Entity BlockRecord::BlockBegin() const {
    if (!db_ || db_->blocks_[index_].begin == Database::kNone) return Entity();
    return Entity(db_, db_->blocks_[index_].begin);
}

int BlockRecord::Flags() const { return static_cast<int>(BlockBegin().GetInt(70, 0)); }

bool BlockRecord::HasAttributeDefinitions() const {
    return (Flags() & 2) != 0 || !AttributeDefinitions().empty();
}

bool BlockRecord::IsModelSpace() const {
    if (!db_) return false;
    const auto& info = db_->blocks_[index_];
    if (info.record == Database::kNone && info.begin == Database::kNone) return true;
    std::string scratch;
    std::string_view name = db_->BlockNameView(index_, scratch);
    return SameNameNoCase(name, "*Model_Space") || SameNameNoCase(name, "$MODEL_SPACE");
}

bool BlockRecord::IsPaperSpace() const {
    std::string name = Name();
    return base::FindNoCase(name, "*Paper_Space") == 0 || base::EqualNoCase(name, "$PAPER_SPACE");
}

bool BlockRecord::IsLayout() const {
    if (IsModelSpace() || IsPaperSpace()) return true;
    return Record().GetHandleValue(340) != 0;
}

std::string BlockRecord::PathName() const { return BlockBegin().GetText(1); }

Point3 BlockRecord::BasePoint() const {
    Entity begin = BlockBegin();
    return {begin.GetReal(10, 0), begin.GetReal(20, 0), begin.GetReal(30, 0)};
}

std::string BlockRecord::LayoutName() const {
    if (!db_) return {};
    Object layout = db_->ObjectByHandle(Record().GetHandleValue(340));
    if (layout && layout.Type() == "LAYOUT") {
        // The plot settings come first with a 1 of their own; the name is the AcDbLayout one.
        bool inLayout = false;
        for (const Tag& t : layout.Tags()) {
            if (t.code == 100) inLayout = t.value == "AcDbLayout";
            else if (inLayout && t.code == 1) return t.value;
        }
    }
    if (IsModelSpace()) return "Model";
    return IsPaperSpace() ? "Layout1" : std::string();
}

std::vector<Entity> BlockRecord::Entities() const {
    std::vector<Entity> out;
    if (!db_) return out;
    const Database& db = *db_;
    const auto& records = db.records_;
    const auto& info = db.blocks_[index_];
    bool model = IsModelSpace();
    bool activePaper = !model && (base::EqualNoCase(Name(), "*Paper_Space") || base::EqualNoCase(Name(), "$PAPER_SPACE"));
    if (model || activePaper) {
        // The active spaces keep their entities in the ENTITIES section, told apart by 67.
        std::uint32_t section = db.SectionRecord(SectionKind::Entities);
        if (section != Database::kNone) {
            for (std::uint32_t k = records[section].next; k != Database::kNone; k = records[k].next) {
                if (records[k].parent != section) continue;
                if (db.TypeIs(k, "ENDSEC")) break;
                Entity e(db_, k);
                if (e.IsInPaperSpace() == activePaper) out.push_back(e);
            }
        }
    }
    if (info.begin != Database::kNone) {
        for (std::uint32_t k = records[info.begin].next; k != Database::kNone && k != info.end; k = records[k].next)
            if (records[k].parent == info.begin) out.emplace_back(db_, k);
    }
    return out;
}

std::vector<AttributeDefinition> BlockRecord::AttributeDefinitions() const {
    std::vector<AttributeDefinition> out;
    for (const Entity& e : Entities())
        if (e.Type() == "ATTDEF") out.emplace_back(e.GetDatabase(), e.Index());
    return out;
}

std::vector<BlockReference> BlockRecord::References() const {
    std::vector<BlockReference> out;
    if (!db_) return out;
    std::string name = Name();
    std::string scratch;
    const auto& records = db_->records_;
    for (std::uint32_t k = db_->first_; k != Database::kNone; k = records[k].next) {
        if (records[k].section != SectionKind::Entities && records[k].section != SectionKind::Blocks) continue;
        if (!db_->TypeIs(k, "INSERT") && !db_->TypeIs(k, "MINSERT")) continue;
        BlockReference ref(db_, k);
        if (SameNameNoCase(ref.GetTextView(2, scratch), name)) out.push_back(ref);
    }
    return out;
}

std::vector<BlockReference> BlockRecord::AllReferences() const {
    std::vector<BlockReference> out;
    if (!db_) return out;
    Database& db = *db_;
    const auto& records = db.records_;
    // The references grouped by the block they name, in one pass, then a walk up through the
    // blocks that hold them: a chain of thousands of blocks stays one pass.
    std::unordered_map<std::uint32_t, std::uint32_t> blockOfBegin;
    for (std::uint32_t b = 0; b < db.blocks_.size(); ++b)
        if (!db.blocks_[b].erased && db.blocks_[b].begin != Database::kNone)
            blockOfBegin.emplace(db.blocks_[b].begin, b);
    std::vector<std::vector<std::uint32_t>> naming(db.blocks_.size());
    std::string scratch;
    for (std::uint32_t k = db.first_; k != Database::kNone; k = records[k].next) {
        if (records[k].section != SectionKind::Entities && records[k].section != SectionKind::Blocks) continue;
        if (!db.TypeIs(k, "INSERT") && !db.TypeIs(k, "MINSERT")) continue;
        BlockRecord named = db.FindBlock(Entity(db_, k).GetTextView(2, scratch));
        if (named) naming[named.index_].push_back(k);
    }
    std::vector<bool> seen(db.blocks_.size(), false);
    seen[index_] = true;
    std::vector<std::uint32_t> pending{index_};
    while (!pending.empty()) {
        const std::uint32_t block = pending.back();
        pending.pop_back();
        for (std::uint32_t k : naming[block]) {
            out.emplace_back(db_, k);
            auto holder = blockOfBegin.find(records[k].parent);
            if (holder == blockOfBegin.end() || seen[holder->second]) continue;
            seen[holder->second] = true;
            if (!BlockRecord(db_, holder->second).IsLayout()) pending.push_back(holder->second);
        }
    }
    std::sort(out.begin(), out.end(), [](const BlockReference& a, const BlockReference& b) { return a.Index() < b.Index(); });
    return out;
}

base::Result<Entity> BlockRecord::AppendEntity(std::string_view type, std::string_view layer, const TagList& data) {
    if (!db_ || IsErased()) return base::Status::Error("no block to add the entity to");
    Database& db = *db_;
    const auto& info = db.blocks_[index_];
    bool model = IsModelSpace();
    bool activePaper = !model && (base::EqualNoCase(Name(), "*Paper_Space") || base::EqualNoCase(Name(), "$PAPER_SPACE"));
    std::uint32_t after = Database::kNone;
    std::uint32_t parent = Database::kNone;
    SectionKind section = SectionKind::Blocks;
    if (model || activePaper) {
        std::uint32_t sec = db.EnsureSection(SectionKind::Entities);
        after = db.records_[db.SectionEnd(sec)].prev;
        parent = sec;
        section = SectionKind::Entities;
    } else {
        if (info.begin == Database::kNone || info.end == Database::kNone)
            return base::Status::Error("block \"" + Name() + "\" has no BLOCK/ENDBLK to hold entities");
        after = db.records_[info.end].prev;
        parent = info.begin;
    }
    bool r13 = db.Release() >= 1012;
    TagList tags = {{0, std::string(type)}, {5, HandleText(db.NextHandle())}};
    if (r13) {
        tags.push_back({330, HandleText(GetHandle())});
        tags.push_back({100, "AcDbEntity"});
    }
    if (activePaper) tags.push_back({67, "1"});
    tags.push_back({8, std::string(layer.empty() ? "0" : layer)});
    for (const Tag& t : data)
        if (r13 || t.code != 100) tags.push_back(t);
    std::uint32_t rec = db.NewRecord(std::move(tags), after, section, parent);
    return Entity(db_, rec);
}

namespace {
void AddPoint(TagList& tags, int code, Point3 p) {
    tags.push_back(RealTag(code, p.x));
    tags.push_back(RealTag(code + 10, p.y));
    tags.push_back(RealTag(code + 20, p.z));
}
}  // namespace

base::Result<Line> BlockRecord::AddLine(Point3 start, Point3 end, std::string_view layer) {
    TagList tags = {{100, "AcDbLine"}};
    AddPoint(tags, 10, start);
    AddPoint(tags, 11, end);
    auto e = AppendEntity("LINE", layer, tags);
    if (!e) return e.GetStatus();
    return Line(e->GetDatabase(), e->Index());
}

base::Result<Circle> BlockRecord::AddCircle(Point3 center, double radius, std::string_view layer) {
    TagList tags = {{100, "AcDbCircle"}};
    AddPoint(tags, 10, center);
    tags.push_back(RealTag(40, radius));
    auto e = AppendEntity("CIRCLE", layer, tags);
    if (!e) return e.GetStatus();
    return Circle(e->GetDatabase(), e->Index());
}

base::Result<Arc> BlockRecord::AddArc(Point3 center, double radius, double startAngle, double endAngle,
                                      std::string_view layer) {
    TagList tags = {{100, "AcDbCircle"}};
    AddPoint(tags, 10, center);
    tags.push_back(RealTag(40, radius));
    tags.push_back({100, "AcDbArc"});
    tags.push_back(RealTag(50, startAngle / kDegree));
    tags.push_back(RealTag(51, endAngle / kDegree));
    auto e = AppendEntity("ARC", layer, tags);
    if (!e) return e.GetStatus();
    return Arc(e->GetDatabase(), e->Index());
}

base::Result<Text> BlockRecord::AddText(Point3 position, double height, std::string_view text, std::string_view layer) {
    TagList tags = {{100, "AcDbText"}};
    AddPoint(tags, 10, position);
    tags.push_back(RealTag(40, height));
    tags.push_back({1, std::string(text)});
    tags.push_back({100, "AcDbText"});
    auto e = AppendEntity("TEXT", layer, tags);
    if (!e) return e.GetStatus();
    return Text(e->GetDatabase(), e->Index());
}

base::Result<MText> BlockRecord::AddMText(Point3 position, double height, double width, std::string_view contents,
                                          std::string_view layer) {
    if (db_ && db_->Release() < 1012) return base::Status::Error("MTEXT needs a drawing of release 13 or later");
    TagList tags = {{100, "AcDbMText"}};
    AddPoint(tags, 10, position);
    tags.push_back(RealTag(40, height));
    tags.push_back(RealTag(41, width));
    tags.push_back({71, "1"});
    tags.push_back({72, "5"});
    for (Tag& t : MTextContentTags(contents)) tags.push_back(std::move(t));
    auto e = AppendEntity("MTEXT", layer, tags);
    if (!e) return e.GetStatus();
    return MText(e->GetDatabase(), e->Index());
}

base::Result<LwPolyline> BlockRecord::AddLwPolyline(const std::vector<PolylinePoint>& points, bool closed,
                                                    std::string_view layer) {
    if (db_ && db_->Release() < 1014) return base::Status::Error("LWPOLYLINE needs a drawing of release 14 or later");
    TagList tags = {{100, "AcDbPolyline"}, IntTag(90, static_cast<long long>(points.size())), IntTag(70, closed ? 1 : 0)};
    auto e = AppendEntity("LWPOLYLINE", layer, tags);
    if (!e) return e.GetStatus();
    LwPolyline pl(e->GetDatabase(), e->Index());
    pl.SetPoints(points);
    return pl;
}

base::Result<BlockReference> BlockRecord::AddBlockReference(const BlockRecord& block, Point3 position, Point3 scale,
                                                            double rotation, std::string_view layer) {
    if (!block || block.IsErased()) return base::Status::Error("no block to refer to");
    if (block == *this) return base::Status::Error("a block cannot hold a reference to itself");
    TagList tags = {{100, "AcDbBlockReference"}, {2, block.Name()}};
    AddPoint(tags, 10, position);
    if (scale.x != 1) tags.push_back(RealTag(41, scale.x));
    if (scale.y != 1) tags.push_back(RealTag(42, scale.y));
    if (scale.z != 1) tags.push_back(RealTag(43, scale.z));
    if (rotation != 0) tags.push_back(RealTag(50, rotation / kDegree));
    auto e = AppendEntity("INSERT", layer, tags);
    if (!e) return e.GetStatus();
    BlockReference ref(e->GetDatabase(), e->Index());
    Point3 base = block.BasePoint();
    for (const AttributeDefinition& def : block.AttributeDefinitions()) {
        if (def.IsConstant()) continue;
        Point3 p = def.Position();
        Point3 at{position.x + (p.x - base.x) * scale.x, position.y + (p.y - base.y) * scale.y,
                  position.z + (p.z - base.z) * scale.z};
        Attribute a = ref.AppendAttribute(def.Tag(), def.DefaultValue(), at, def.Height() * scale.y, def.Flags() & ~2);
        std::string style = def.GetText(7);
        if (!style.empty()) a.SetStyleName(style);
    }
    return ref;
}

base::Result<AttributeDefinition> BlockRecord::AddAttributeDefinition(std::string_view tag, std::string_view prompt,
                                                                       std::string_view defaultValue, Point3 position,
                                                                       double height, int flags,
                                                                       std::string_view layer) {
    if (tag.empty()) return base::Status::Error("an attribute definition needs a tag");
    TagList tags = {{100, "AcDbText"}};
    AddPoint(tags, 10, position);
    tags.push_back(RealTag(40, height));
    tags.push_back({1, std::string(defaultValue)});
    tags.push_back({100, "AcDbAttributeDefinition"});
    tags.push_back({3, std::string(prompt)});
    tags.push_back({2, std::string(tag)});
    tags.push_back(IntTag(70, flags));
    auto e = AppendEntity("ATTDEF", layer, tags);
    if (!e) return e.GetStatus();
    Entity begin = BlockBegin();
    if (begin && (begin.GetInt(70, 0) & 2) == 0) begin.SetInt(70, begin.GetInt(70, 0) | 2, "AcDbBlockBegin");
    return AttributeDefinition(e->GetDatabase(), e->Index());
}

}  // namespace cad
