#pragma once
// The view every typed view builds on: one object of a database, its tags, its extended data
// and its extension dictionary. Cheap to copy; a default-constructed view is null.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "cad/Tag.h"

namespace cad {

class Database;
class Dictionary;

// A view of one object (entity, table record, object of the OBJECTS section, or a structural
// record such as SECTION). Reads of a null or erased view give empty values.
class Object {
public:
    Object() = default;
    Object(Database* db, std::uint32_t index) : db_(db), index_(index) {}

    // False for a null view.
    explicit operator bool() const { return db_ != nullptr; }
    bool IsNull() const { return db_ == nullptr; }
    // True once the object was erased; a null view counts as erased.
    bool IsErased() const;
    // The database the object belongs to; null for a null view.
    Database* GetDatabase() const { return db_; }
    // The position of the object in the database's table; stable for the database's life.
    std::uint32_t Index() const { return index_; }
    bool operator==(const Object& other) const { return db_ == other.db_ && index_ == other.index_; }

    // Asks the processor for the object's first `bytes` bytes as read from the file (and what
    // follows them: a reference's attributes) and for their place in the tag index, so that a
    // read of it a little later finds them in the cache. Only a hint: it changes nothing.
    void Prefetch(std::size_t bytes = 2048) const;

    // The record type: "INSERT", "LAYER", "DICTIONARY"...; "" for a null view.
    std::string Type() const;
    // Whether the record type is `type`, without making its text; false for a null view.
    bool IsA(std::string_view type) const;
    // The object's handle; 0 for a null view and for structural records.
    Handle GetHandle() const;
    // The handle text as AutoCAD shows it ("1F"); "" when there is none.
    std::string HandleString() const;
    // The owner's handle (330 outside the reactor and dictionary groups); 0 when the file has
    // none, as in R12 files.
    Handle OwnerHandle() const;
    // The block reference or polyline a sub-entity (ATTRIB, VERTEX, SEQEND) follows and belongs
    // to, in files of every release; a null view for any other object.
    Object Container() const;
    // The subclass markers (100) in order; empty before R13.
    std::vector<std::string> Subclasses() const;

    // All tags after the type, extended data included, values as text.
    TagList Tags() const;
    // The first value of `code` in the object's own data (not in 102 groups, embedded objects or
    // extended data); `fallback` when missing.
    std::string GetText(int code, std::string_view fallback = {}) const;
    // GetText without a copy where the value needs no decoding (plain ASCII, the usual case);
    // otherwise the text is decoded into `scratch`. The view is valid until the object or
    // `scratch` changes.
    std::string_view GetTextView(int code, std::string& scratch, std::string_view fallback = {}) const;
    double GetReal(int code, double fallback = 0) const;
    long long GetInt(int code, long long fallback = 0) const;
    Handle GetHandleValue(int code) const;
    // True when the object's own data holds `code`.
    bool Has(int code) const;
    // Sets the first value of `code`; when missing it is added at the end of the subclass
    // `subclass` (or of the own data when "" or not found), before extended data.
    void SetText(int code, std::string_view value, std::string_view subclass = {});
    void SetReal(int code, double value, std::string_view subclass = {});
    void SetInt(int code, long long value, std::string_view subclass = {});
    // Removes the first value of `code` from the own data; nothing when missing.
    void Remove(int code);

    // ---- Extended data
    // The applications with extended data on the object, in order.
    std::vector<std::string> XdataApps() const;
    // The extended data of `app` (without regard to case): its 1001 tag and what follows up to
    // the next application; empty when there is none.
    TagList Xdata(std::string_view app) const;
    // Replaces the extended data of `app` with a 1001 tag and `data`, registering the
    // application; empty `data` keeps just the 1001 tag, as AutoCAD does. Fails for an empty name.
    base::Status SetXdata(std::string_view app, const TagList& data);
    // Removes all extended data of `app`; nothing when there is none.
    void DeleteXdata(std::string_view app);

    // ---- Extension dictionary
    // The extension dictionary; a null view when the object has none.
    Dictionary ExtensionDictionary() const;
    // The extension dictionary, made when missing; fails before R13.
    base::Result<Dictionary> GetOrCreateExtensionDictionary();

    // Erases the object with what belongs to it (attributes and SEQEND of a reference, the
    // entries of a dictionary it owns, its extension dictionary). Erasing twice does nothing.
    void Erase();

protected:
    // Tag access for the typed views: index 0 is the type tag.
    std::size_t TagCount() const;
    int CodeAt(std::size_t i) const;
    std::string TextAt(std::size_t i) const;
    double RealAt(std::size_t i) const;
    long long IntAt(std::size_t i) const;
    Handle HandleAt(std::size_t i) const;
    void SetTagText(std::size_t i, std::string value);
    void InsertTag(std::size_t i, Tag tag);
    void EraseTags(std::size_t i, std::size_t count);

    // Index of the first `code` in the own data at or after `from`; npos when missing.
    std::size_t Find(int code, std::size_t from = 1) const;
    // Where the own data ends: the first 1001 or 101 tag, or the tag count.
    std::size_t OwnDataEnd() const;

    Database* db_ = nullptr;
    std::uint32_t index_ = 0xFFFFFFFFu;
};

}  // namespace cad
