#include "cad/Entity.h"

#include "cad/BlockRecord.h"
#include "cad/Database.h"
#include "cad/SymbolRecord.h"

namespace cad {

base::Status Entity::SetLayer(std::string_view layer) {
    if (!db_) return base::Status::Error("no entity");
    Layer found = db_->FindLayer(layer);
    if (!found) return base::Status::Error("the drawing has no layer \"" + std::string(layer) + "\"");
    if (LayerName() != found.Name()) SetText(8, found.Name(), "AcDbEntity");
    return base::Status::Ok();
}

void Entity::SetVisible(bool visible) {
    if (visible == IsVisible()) return;
    if (visible) Remove(60);
    else SetInt(60, 1, "AcDbEntity");
}

BlockRecord Entity::OwnerBlock() const {
    if (!db_) return BlockRecord();
    std::uint32_t rec = index_;
    const auto& records = db_->records_;
    // Sub-entities belong to the block of their reference or polyline.
    while (records[rec].parent != Database::kNone && records[records[rec].parent].section == records[rec].section &&
           !db_->TypeIs(records[rec].parent, "BLOCK") && !db_->TypeIs(records[rec].parent, "SECTION"))
        rec = records[rec].parent;
    std::uint32_t parent = records[rec].parent;
    if (parent != Database::kNone && db_->TypeIs(parent, "BLOCK")) {
        const std::uint32_t block = db_->BlockOfBegin(parent);
        return block == Database::kNone ? BlockRecord() : BlockRecord(db_, block);
    }
    return Entity(db_, rec).IsInPaperSpace() ? db_->PaperSpace() : db_->ModelSpace();
}

Point3 Entity::GetPoint(int code, Point3 fallback) const {
    std::size_t i = Find(code);
    if (i == std::string::npos) return fallback;
    Point3 p{RealAt(i), 0, 0};
    // The coordinates follow each other; look right behind first, then anywhere.
    std::size_t n = TagCount();
    if (i + 1 < n && CodeAt(i + 1) == code + 10) p.y = RealAt(i + 1);
    else p.y = GetReal(code + 10, 0);
    if (i + 2 < n && CodeAt(i + 2) == code + 20) p.z = RealAt(i + 2);
    else p.z = GetReal(code + 20, 0);
    return p;
}

void Entity::SetPoint(int code, Point3 p, std::string_view subclass) {
    if (!db_) return;
    if (!Has(code)) {
        SetReal(code, p.x, subclass);
        SetReal(code + 10, p.y, subclass);
        if (p.z != 0) SetReal(code + 20, p.z, subclass);
        return;
    }
    SetReal(code, p.x, subclass);
    // Keep the y and z right behind x when they are new.
    std::size_t i = Find(code);
    if (Has(code + 10)) SetReal(code + 10, p.y);
    else InsertTag(i + 1, RealTag(code + 10, p.y));
    if (Has(code + 20)) SetReal(code + 20, p.z);
    else if (p.z != 0) InsertTag(Find(code + 10) + 1, RealTag(code + 20, p.z));
}

TagList Entity::SequenceEntityHead(std::string_view type) {
    Database& db = *db_;
    TagList tags = {{0, std::string(type)}, {5, HandleText(db.NextHandle())}};
    if (db.Release() >= 1012) {
        tags.push_back({330, HandleString()});
        tags.push_back({100, "AcDbEntity"});
    }
    if (IsInPaperSpace()) tags.push_back({67, "1"});
    tags.push_back({8, LayerName()});
    return tags;
}

std::uint32_t Entity::AppendToSequence(TagList tags) {
    Database& db = *db_;
    std::uint32_t last = index_;
    std::uint32_t seqend = Database::kNone;
    for (std::uint32_t k = db.records_[index_].next;
         k != Database::kNone && db.records_[k].parent == index_; k = db.records_[k].next) {
        if (db.TypeIs(k, "SEQEND")) seqend = k;
        else last = k;
    }
    const SectionKind section = db.records_[index_].section;
    const std::uint32_t rec = db.NewRecord(std::move(tags), last, section, index_);
    if (seqend == Database::kNone) db.NewRecord(SequenceEntityHead("SEQEND"), rec, section, index_);
    return rec;
}

}  // namespace cad
