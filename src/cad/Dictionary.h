#pragma once
// Dictionaries of the OBJECTS section (the named object dictionary, extension dictionaries) and
// the xrecords they hold.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Status.h"
#include "cad/Object.h"

namespace cad {

class Xrecord;

// A DICTIONARY object: names (compared without regard to case, as AutoCAD does) that point at
// objects. Entries the dictionary owns go with it when it is erased or the entry is removed.
class Dictionary : public Object {
public:
    using Object::Object;

    // Makes an empty dictionary owned by `owner`; `hardOwner` marks entries as hard-owned (360).
    // Fails before R13, where there is no OBJECTS section.
    static base::Result<Dictionary> Create(Database& db, Handle owner, bool hardOwner = false);

    // The entries in order as (name, handle).
    std::vector<std::pair<std::string, Handle>> Entries() const;
    // The object under `name`; a null view when the name is missing or points nowhere.
    Object Get(std::string_view name) const;
    // True when `name` is an entry.
    bool Has(std::string_view name) const;
    // Points `name` at `object`, replacing an older entry (whose object is erased when this
    // dictionary owns it).
    void SetAt(std::string_view name, Object object);
    // Removes `name` and erases its object when this dictionary owns it; false when missing.
    bool Remove(std::string_view name);
    // Removes every entry that points at `handle` without erasing anything.
    void RemoveHandle(Handle handle);

    // The dictionary under `name`, made when missing; fails when the name holds another type.
    base::Result<Dictionary> GetOrAddDictionary(std::string_view name);
    // A new xrecord with `data` under `name`, replacing an older entry.
    base::Result<Xrecord> SetXrecord(std::string_view name, const TagList& data);
    // A new object of `type` under `name`, its `data` (subclass markers included) after the
    // common head, replacing an older entry; for the objects no typed view makes.
    base::Result<Object> SetObject(std::string_view name, std::string_view type, const TagList& data);

private:
    std::size_t EntryTag(std::string_view name) const;
};

// An XRECORD: a free chain of tags (any codes, binary 310 chunks included).
class Xrecord : public Object {
public:
    using Object::Object;

    // The data after the cloning flag (280); empty for an empty record.
    TagList Data() const;
    // Replaces the data; the cloning flag stays.
    void SetData(const TagList& data);

private:
    // Index of the first data tag: after the AcDbXrecord marker (the first tag after the type
    // when there is none) and its cloning flag.
    std::size_t DataStart() const;
};

}  // namespace cad
