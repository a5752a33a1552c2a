#include "cad/Object.h"

#include <functional>

#include "base/Text.h"
#include "cad/Database.h"
#include "cad/Dictionary.h"

namespace cad {

bool Object::IsErased() const { return !db_ || db_->records_[index_].erased; }

std::string Object::Type() const { return db_ ? db_->TypeOf(index_) : std::string(); }

bool Object::IsA(std::string_view type) const { return db_ && db_->TypeIs(index_, type); }

Handle Object::GetHandle() const { return db_ ? db_->records_[index_].handle : 0; }

std::string Object::HandleString() const {
    Handle h = GetHandle();
    return h ? HandleText(h) : std::string();
}

std::size_t Object::OwnDataEnd() const { return db_ ? db_->OwnDataEnd(index_) : 0; }

std::size_t Object::Find(int code, std::size_t from) const {
    return db_ ? db_->FindInOwnData(index_, code, from) : std::string::npos;
}

Handle Object::OwnerHandle() const { return GetHandleValue(330); }

Object Object::Container() const {
    if (!db_) return {};
    const std::uint32_t parent = db_->records_[index_].parent;
    if (parent == Database::kNone) return {};
    const std::string type = db_->TypeOf(parent);
    if (type != "INSERT" && type != "MINSERT" && type != "POLYLINE") return {};
    return Object(db_, parent);
}

std::vector<std::string> Object::Subclasses() const {
    std::vector<std::string> out;
    if (!db_) return out;
    std::size_t end = OwnDataEnd();
    for (std::size_t i = 1; i < end; ++i)
        if (db_->CodeAt(index_, i) == 100) out.push_back(db_->TextAt(index_, i));
    return out;
}

TagList Object::Tags() const { return db_ ? db_->TagsOf(index_) : TagList(); }

std::string_view Object::GetTextView(int code, std::string& scratch, std::string_view fallback) const {
    std::size_t i = Find(code);
    return i == std::string::npos ? fallback : db_->TextViewAt(index_, i, scratch);
}

std::string Object::GetText(int code, std::string_view fallback) const {
    std::size_t i = Find(code);
    return i == std::string::npos ? std::string(fallback) : db_->TextAt(index_, i);
}

double Object::GetReal(int code, double fallback) const {
    std::size_t i = Find(code);
    return i == std::string::npos ? fallback : db_->RealAt(index_, i);
}

long long Object::GetInt(int code, long long fallback) const {
    std::size_t i = Find(code);
    return i == std::string::npos ? fallback : db_->IntAt(index_, i);
}

Handle Object::GetHandleValue(int code) const {
    std::size_t i = Find(code);
    return i == std::string::npos ? 0 : db_->HandleAt(index_, i);
}

bool Object::Has(int code) const { return Find(code) != std::string::npos; }

void Object::SetText(int code, std::string_view value, std::string_view subclass) {
    if (!db_) return;
    std::size_t i = Find(code);
    if (i != std::string::npos) {
        db_->SetTagAt(index_, i, std::string(value));
        return;
    }
    std::size_t end = OwnDataEnd();
    std::size_t at = end;
    if (!subclass.empty()) {
        for (std::size_t k = 1; k < end; ++k) {
            if (db_->CodeAt(index_, k) != 100 || db_->TextAt(index_, k) != subclass) continue;
            at = k + 1;
            while (at < end && db_->CodeAt(index_, at) != 100) ++at;
            break;
        }
    }
    db_->InsertTagAt(index_, at, Tag{code, std::string(value)});
}

void Object::SetReal(int code, double value, std::string_view subclass) {
    // An equal value keeps its original text, however the file wrote it.
    std::size_t i = Find(code);
    if (i != std::string::npos && db_->RealAt(index_, i) == value) return;
    SetText(code, RealText(value), subclass);
}

void Object::SetInt(int code, long long value, std::string_view subclass) {
    std::size_t i = Find(code);
    if (i != std::string::npos && db_->IntAt(index_, i) == value) return;
    SetText(code, std::to_string(value), subclass);
}

void Object::Remove(int code) {
    std::size_t i = Find(code);
    if (i != std::string::npos) db_->EraseTagsAt(index_, i, 1);
}

std::size_t Object::TagCount() const { return db_ ? db_->TagCount(index_) : 0; }
void Object::Prefetch(std::size_t bytes) const {
    if (db_) db_->Prefetch(index_, bytes);
}

int Object::CodeAt(std::size_t i) const { return db_->CodeAt(index_, i); }
std::string Object::TextAt(std::size_t i) const { return db_->TextAt(index_, i); }
double Object::RealAt(std::size_t i) const { return db_->RealAt(index_, i); }
long long Object::IntAt(std::size_t i) const { return db_->IntAt(index_, i); }
Handle Object::HandleAt(std::size_t i) const { return db_->HandleAt(index_, i); }
void Object::SetTagText(std::size_t i, std::string value) { db_->SetTagAt(index_, i, std::move(value)); }
void Object::InsertTag(std::size_t i, Tag tag) { db_->InsertTagAt(index_, i, std::move(tag)); }
void Object::EraseTags(std::size_t i, std::size_t count) { db_->EraseTagsAt(index_, i, count); }

// ---- Extended data

std::vector<std::string> Object::XdataApps() const {
    std::vector<std::string> out;
    if (!db_) return out;
    std::size_t n = db_->TagCount(index_);
    for (std::size_t i = 1; i < n; ++i)
        if (db_->CodeAt(index_, i) == 1001) out.push_back(db_->TextAt(index_, i));
    return out;
}

namespace {

// The range [begin, end) of the extended data of `app` in a record; begin == end when none.
std::pair<std::size_t, std::size_t> XdataRange(const Database& db, std::size_t count,
                                               const std::function<int(std::size_t)>& codeAt,
                                               const std::function<std::string(std::size_t)>& textAt,
                                               std::string_view app) {
    (void)db;
    for (std::size_t i = 1; i < count; ++i) {
        if (codeAt(i) != 1001 || !base::EqualNoCase(textAt(i), app)) continue;
        std::size_t end = i + 1;
        while (end < count && codeAt(end) != 1001) ++end;
        return {i, end};
    }
    return {count, count};
}

}  // namespace

TagList Object::Xdata(std::string_view app) const {
    TagList out;
    if (!db_) return out;
    std::size_t n = db_->TagCount(index_);
    auto [b, e] = XdataRange(
        *db_, n, [this](std::size_t i) { return db_->CodeAt(index_, i); },
        [this](std::size_t i) { return db_->TextAt(index_, i); }, app);
    for (std::size_t i = b; i < e; ++i) out.push_back({db_->CodeAt(index_, i), db_->TextAt(index_, i)});
    return out;
}

base::Status Object::SetXdata(std::string_view app, const TagList& data) {
    if (!db_) return base::Status::Error("no object to set extended data on");
    if (app.empty()) return base::Status::Error("extended data needs an application name");
    base::Status status = db_->RegisterApp(app);
    if (!status) return status;
    std::size_t n = db_->TagCount(index_);
    auto [b, e] = XdataRange(
        *db_, n, [this](std::size_t i) { return db_->CodeAt(index_, i); },
        [this](std::size_t i) { return db_->TextAt(index_, i); }, app);
    std::string appName = b < e ? db_->TextAt(index_, b) : std::string(app);
    if (b < e) {
        // Same shape and values: nothing to write.
        TagList old;
        for (std::size_t i = b + 1; i < e; ++i) old.push_back({db_->CodeAt(index_, i), db_->TextAt(index_, i)});
        if (old == data) return base::Status::Ok();
        db_->EraseTagsAt(index_, b, e - b);
    }
    db_->InsertTagAt(index_, b, Tag{1001, appName});
    for (std::size_t k = 0; k < data.size(); ++k) db_->InsertTagAt(index_, b + 1 + k, data[k]);
    return base::Status::Ok();
}

void Object::DeleteXdata(std::string_view app) {
    if (!db_) return;
    std::size_t n = db_->TagCount(index_);
    auto [b, e] = XdataRange(
        *db_, n, [this](std::size_t i) { return db_->CodeAt(index_, i); },
        [this](std::size_t i) { return db_->TextAt(index_, i); }, app);
    if (b < e) db_->EraseTagsAt(index_, b, e - b);
}

// ---- Extension dictionary

Dictionary Object::ExtensionDictionary() const {
    if (!db_) return Dictionary();
    std::size_t end = OwnDataEnd();
    for (std::size_t i = 1; i + 1 < end; ++i) {
        if (db_->CodeAt(index_, i) != 102 || db_->TextAt(index_, i) != "{ACAD_XDICTIONARY") continue;
        if (db_->CodeAt(index_, i + 1) != 360) break;
        Object dict = db_->ObjectByHandle(db_->HandleAt(index_, i + 1));
        return dict && dict.Type() == "DICTIONARY" ? Dictionary(db_, dict.Index()) : Dictionary();
    }
    return Dictionary();
}

base::Result<Dictionary> Object::GetOrCreateExtensionDictionary() {
    if (!db_) return base::Status::Error("no object for an extension dictionary");
    if (Dictionary existing = ExtensionDictionary()) return existing;
    if (db_->Release() < 1012)
        return base::Status::Error("extension dictionaries need a drawing of release 13 or later");
    if (!GetHandle()) return base::Status::Error("an object without a handle cannot own a dictionary");
    auto made = Dictionary::Create(*db_, GetHandle(), true);
    if (!made) return made.GetStatus();
    // The group goes after the handle and the reactors, before the owner, as AutoCAD writes it.
    std::size_t end = OwnDataEnd();
    std::size_t at = 1;
    while (at < end && (db_->CodeAt(index_, at) == 5 || db_->CodeAt(index_, at) == 105)) ++at;
    if (at < end && db_->CodeAt(index_, at) == 102 && db_->TextAt(index_, at) == "{ACAD_REACTORS") {
        while (at < end && !(db_->CodeAt(index_, at) == 102 && db_->TextAt(index_, at) == "}")) ++at;
        ++at;
    }
    db_->InsertTagAt(index_, at, Tag{102, "{ACAD_XDICTIONARY"});
    db_->InsertTagAt(index_, at + 1, Tag{360, made->HandleString()});
    db_->InsertTagAt(index_, at + 2, Tag{102, "}"});
    return *made;
}

void Object::Erase() {
    if (!db_ || IsErased()) return;
    Database& db = *db_;
    // What belongs to the object goes with it: attributes, vertices and SEQEND follow it.
    for (std::uint32_t k = db.records_[index_].next; k != Database::kNone && db.records_[k].parent == index_;) {
        std::uint32_t next = db.records_[k].next;
        db.EraseRecord(k);
        k = next;
    }
    if (Type() == "DICTIONARY") {
        Dictionary dict(db_, index_);
        for (const auto& entry : dict.Entries()) {
            Object owned = db.ObjectByHandle(entry.second);
            if (owned && owned.OwnerHandle() == GetHandle()) owned.Erase();
        }
    }
    if (Dictionary ext = ExtensionDictionary()) ext.Erase();
    // A dictionary entry that names the object would point nowhere.
    Object owner = db.ObjectByHandle(OwnerHandle());
    if (owner && owner.Type() == "DICTIONARY" && owner.Index() != index_)
        Dictionary(db_, owner.Index()).RemoveHandle(GetHandle());
    db.EraseRecord(index_);
}

}  // namespace cad
