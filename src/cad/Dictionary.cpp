#include "cad/Dictionary.h"

#include "base/Text.h"
#include "cad/Database.h"

namespace cad {

namespace {

// The OBJECTS tags every new object starts with: type, handle, the owner as reactor and owner.
TagList ObjectHead(std::string_view type, Handle handle, Handle owner) {
    TagList tags = {{0, std::string(type)}, {5, HandleText(handle)}};
    if (owner) {
        tags.push_back({102, "{ACAD_REACTORS"});
        tags.push_back({330, HandleText(owner)});
        tags.push_back({102, "}"});
    }
    tags.push_back({330, HandleText(owner)});
    return tags;
}

}  // namespace

base::Result<Dictionary> Dictionary::Create(Database& db, Handle owner, bool hardOwner) {
    if (db.Release() < 1012) return base::Status::Error("dictionaries need a drawing of release 13 or later");
    std::uint32_t section = db.EnsureSection(SectionKind::Objects);
    std::uint32_t end = db.SectionEnd(section);
    TagList tags = ObjectHead("DICTIONARY", db.NextHandle(), owner);
    tags.push_back({100, "AcDbDictionary"});
    if (hardOwner) tags.push_back({280, "1"});
    tags.push_back({281, "1"});
    std::uint32_t rec = db.NewRecord(tags, db.records_[end].prev, SectionKind::Objects, section);
    return Dictionary(&db, rec);
}

std::vector<std::pair<std::string, Handle>> Dictionary::Entries() const {
    std::vector<std::pair<std::string, Handle>> out;
    if (!db_) return out;
    std::size_t end = OwnDataEnd();
    for (std::size_t i = 1; i + 1 < end; ++i) {
        if (CodeAt(i) != 3) continue;
        int next = CodeAt(i + 1);
        if (next == 350 || next == 360) out.emplace_back(TextAt(i), HandleAt(i + 1));
    }
    return out;
}

std::size_t Dictionary::EntryTag(std::string_view name) const {
    if (!db_) return std::string::npos;
    std::size_t end = OwnDataEnd();
    for (std::size_t i = 1; i + 1 < end; ++i)
        if (CodeAt(i) == 3 && base::EqualNoCase(TextAt(i), name)) return i;
    return std::string::npos;
}

Object Dictionary::Get(std::string_view name) const {
    std::size_t i = EntryTag(name);
    if (i == std::string::npos) return Object();
    return db_->ObjectByHandle(HandleAt(i + 1));
}

bool Dictionary::Has(std::string_view name) const { return EntryTag(name) != std::string::npos; }

void Dictionary::SetAt(std::string_view name, Object object) {
    if (!db_ || !object) return;
    std::size_t i = EntryTag(name);
    if (i != std::string::npos) {
        Object old = db_->ObjectByHandle(HandleAt(i + 1));
        if (old == object) return;
        SetTagText(i + 1, object.HandleString());
        if (old && old.OwnerHandle() == GetHandle()) old.Erase();
        return;
    }
    int code = GetInt(280, 0) == 1 ? 360 : 350;
    std::size_t end = OwnDataEnd();
    InsertTag(end, Tag{3, std::string(name)});
    InsertTag(end + 1, Tag{code, object.HandleString()});
}

bool Dictionary::Remove(std::string_view name) {
    std::size_t i = EntryTag(name);
    if (i == std::string::npos) return false;
    Object old = db_->ObjectByHandle(HandleAt(i + 1));
    EraseTags(i, 2);
    if (old && old.OwnerHandle() == GetHandle()) old.Erase();
    return true;
}

void Dictionary::RemoveHandle(Handle handle) {
    if (!db_) return;
    for (std::size_t i = 1; i + 1 < OwnDataEnd();) {
        if (CodeAt(i) == 3 && HandleAt(i + 1) == handle &&
            (CodeAt(i + 1) == 350 || CodeAt(i + 1) == 360))
            EraseTags(i, 2);
        else
            ++i;
    }
}

base::Result<Dictionary> Dictionary::GetOrAddDictionary(std::string_view name) {
    if (!db_) return base::Status::Error("no dictionary");
    Object existing = Get(name);
    if (existing) {
        if (existing.Type() != "DICTIONARY")
            return base::Status::Error("entry \"" + std::string(name) + "\" is not a dictionary");
        return Dictionary(db_, existing.Index());
    }
    auto made = Create(*db_, GetHandle());
    if (!made) return made;
    SetAt(name, *made);
    return made;
}

base::Result<Xrecord> Dictionary::SetXrecord(std::string_view name, const TagList& data) {
    if (!db_) return base::Status::Error("no dictionary");
    std::uint32_t section = db_->EnsureSection(SectionKind::Objects);
    std::uint32_t end = db_->SectionEnd(section);
    TagList tags = ObjectHead("XRECORD", db_->NextHandle(), GetHandle());
    tags.push_back({100, "AcDbXrecord"});
    tags.push_back({280, "1"});
    tags.insert(tags.end(), data.begin(), data.end());
    Xrecord record(db_, db_->NewRecord(tags, db_->records_[end].prev, SectionKind::Objects, section));
    SetAt(name, record);
    return record;
}

base::Result<Object> Dictionary::SetObject(std::string_view name, std::string_view type, const TagList& data) {
    if (!db_) return base::Status::Error("no dictionary");
    std::uint32_t section = db_->EnsureSection(SectionKind::Objects);
    std::uint32_t end = db_->SectionEnd(section);
    TagList tags = ObjectHead(type, db_->NextHandle(), GetHandle());
    tags.insert(tags.end(), data.begin(), data.end());
    Object object(db_, db_->NewRecord(tags, db_->records_[end].prev, SectionKind::Objects, section));
    SetAt(name, object);
    return object;
}

std::size_t Xrecord::DataStart() const {
    const std::size_t n = TagCount();
    std::size_t i = 1;
    while (i < n && !(CodeAt(i) == 100 && TextAt(i) == "AcDbXrecord")) ++i;
    if (i == n) i = 1;
    else ++i;
    if (i < n && CodeAt(i) == 280) ++i;
    return i;
}

TagList Xrecord::Data() const {
    TagList out;
    if (!db_) return out;
    const std::size_t n = TagCount();
    for (std::size_t i = DataStart(); i < n; ++i) out.push_back({CodeAt(i), TextAt(i)});
    return out;
}

void Xrecord::SetData(const TagList& data) {
    if (!db_ || Data() == data) return;
    const std::size_t n = TagCount();
    const std::size_t i = DataStart();
    EraseTags(i, n - i);
    for (std::size_t k = 0; k < data.size(); ++k) InsertTag(i + k, data[k]);
}

}  // namespace cad
