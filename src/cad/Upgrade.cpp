// Database::UpgradeTo: a drawing read in an older release, written as the newest one.
//
// The drawing is taken apart into records of UTF-8 tags, brought to the newer structure where
// it differs, written out whole in the file's own form and read back. R13 to 2013 drawings
// have the modern structure already and change in their header and text encoding only; R12
// drawings get what R13 brought: handles everywhere, owners, subclass markers, the block
// record table, layouts and the OBJECTS section.

#include "cad/Database.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <optional>

#include <fmt/format.h>

#include "base/Text.h"
#include "cad/GroupCode.h"
#include "cad/SymbolRecord.h"

namespace cad {
namespace {

constexpr std::size_t npos = std::string::npos;

// One record on its way into the new file: its tags, the 0 tag first, values as UTF-8 text
// (numbers as the file wrote them).
struct Rec {
    TagList tags;
    Handle handle = 0;
    std::uint32_t source = Database::kNone;  // the record read, for messages
    bool handleMissing = false;              // the file gave it none, or a bad one

    const std::string& Type() const { return tags.front().value; }
};

// A section: its SECTION record (the header's variables are tags of it), what it holds and
// its ENDSEC.
struct Section {
    std::string name;
    Rec begin;
    std::vector<Rec> body;
    Rec end;
};

struct Drawing {
    std::vector<Rec> leading;  // comments before the first section
    std::vector<Section> sections;
    std::vector<Rec> trailing;  // EOF
};

Rec MakeRec(TagList tags, Handle handle = 0) {
    Rec r;
    r.tags = std::move(tags);
    r.handle = handle;
    return r;
}

// Where the own data of a record ends: the first 1001 (extended data) or the end.
std::size_t OwnEnd(const TagList& tags) {
    for (std::size_t i = 1; i < tags.size(); ++i)
        if (tags[i].code == 1001) return i;
    return tags.size();
}

// The first `code` in the own data at or after `from`, outside application groups.
std::size_t FindOwn(const TagList& tags, int code, std::size_t from = 1) {
    const std::size_t end = OwnEnd(tags);
    for (std::size_t i = 1; i < end; ++i) {
        if (tags[i].code == 102 && !tags[i].value.empty() && tags[i].value[0] == '{') {
            while (++i < end && tags[i].code != 102) {
            }
            continue;
        }
        if (i >= from && tags[i].code == code) return i;
    }
    return npos;
}

std::string GetOwn(const TagList& tags, int code, std::string_view fallback = {}) {
    std::size_t i = FindOwn(tags, code);
    return i == npos ? std::string(fallback) : tags[i].value;
}

// True for a record in the form R13 brought: it has subclass markers.
bool HasSubclasses(const TagList& tags) { return FindOwn(tags, 100) != npos; }

int HandleCodeOf(std::string_view type) { return type == "DIMSTYLE" ? 105 : 5; }

// Puts `handle` into the record's own handle tag, adding one after the type when missing.
void SetHandleTag(Rec& r) {
    const int code = HandleCodeOf(r.Type());
    const std::size_t at = FindOwn(r.tags, code), marker = FindOwn(r.tags, 100);
    if (at != npos && (marker == npos || at < marker))
        r.tags[at].value = HandleText(r.handle);
    else
        r.tags.insert(r.tags.begin() + 1, Tag{code, HandleText(r.handle)});
}

// Sets the owner (330 before the first subclass marker, outside application groups), adding
// it after the handle and the application groups when missing.
void SetOwnerTag(Rec& r, Handle owner) {
    const std::size_t firstMarker = FindOwn(r.tags, 100);
    const std::size_t limit = firstMarker == npos ? OwnEnd(r.tags) : firstMarker;
    std::size_t at = FindOwn(r.tags, 330);
    if (at != npos && at < limit) {
        r.tags[at].value = HandleText(owner);
        return;
    }
    // After the handle and any application groups that follow it.
    std::size_t pos = 1;
    while (pos < limit && (r.tags[pos].code == 5 || r.tags[pos].code == 105)) ++pos;
    while (pos < limit && r.tags[pos].code == 102 && !r.tags[pos].value.empty() && r.tags[pos].value[0] == '{') {
        while (++pos < limit && r.tags[pos].code != 102) {
        }
        if (pos < limit) ++pos;
    }
    r.tags.insert(r.tags.begin() + static_cast<std::ptrdiff_t>(pos), Tag{330, HandleText(owner)});
}

// ---- Header variables, kept as tags of the HEADER's SECTION record

std::size_t HeaderVar(const TagList& h, std::string_view name) {
    for (std::size_t i = 0; i < h.size(); ++i)
        if (h[i].code == 9 && base::EqualNoCase(h[i].value, name)) return i;
    return npos;
}

std::size_t HeaderVarEnd(const TagList& h, std::size_t at) {
    std::size_t k = at + 1;
    while (k < h.size() && h[k].code != 9) ++k;
    return k;
}

void RemoveHeaderVar(TagList& h, std::string_view name) {
    std::size_t at = HeaderVar(h, name);
    if (at == npos) return;
    h.erase(h.begin() + static_cast<std::ptrdiff_t>(at), h.begin() + static_cast<std::ptrdiff_t>(HeaderVarEnd(h, at)));
}

// Sets a header variable; a missing one goes after `after` (or at the end).
void SetHeaderVar(TagList& h, std::string_view name, const TagList& values, std::string_view after = {}) {
    std::size_t at = HeaderVar(h, name);
    TagList tags{Tag{9, std::string(name)}};
    tags.insert(tags.end(), values.begin(), values.end());
    if (at != npos) {
        std::size_t end = HeaderVarEnd(h, at);
        h.erase(h.begin() + static_cast<std::ptrdiff_t>(at), h.begin() + static_cast<std::ptrdiff_t>(end));
        h.insert(h.begin() + static_cast<std::ptrdiff_t>(at), tags.begin(), tags.end());
        return;
    }
    std::size_t pos = h.size();
    if (!after.empty()) {
        std::size_t a = HeaderVar(h, after);
        if (a != npos) pos = HeaderVarEnd(h, a);
    }
    h.insert(h.begin() + static_cast<std::ptrdiff_t>(pos), tags.begin(), tags.end());
}

// The code page the header names; AutoCAD's default when it names none.
std::string CodePageOf(const TagList& header) {
    std::size_t at = HeaderVar(header, "$DWGCODEPAGE");
    if (at != npos && at + 1 < header.size() && header[at + 1].code == 3 && !header[at + 1].value.empty())
        return header[at + 1].value;
    return "ANSI_1252";
}

// Brings $ACADVER, $DWGCODEPAGE and $HANDSEED to the new release.
void UpgradeHeader(TagList& header, int release, Handle seed) {
    SetHeaderVar(header, "$ACADVER", {Tag{1, fmt::format("AC{}", release)}});
    // The maintenance version is a 16-bit integer up to 2004 and a 32-bit one since.
    std::size_t maintenance = HeaderVar(header, "$ACADMAINTVER");
    if (maintenance != npos && maintenance + 1 < header.size() && header[maintenance + 1].code == 70)
        header[maintenance + 1].code = 90;
    // From 2007 on texts are UTF-8 whatever the code page says; the page stays the drawing's.
    SetHeaderVar(header, "$DWGCODEPAGE", {Tag{3, CodePageOf(header)}}, "$ACADVER");
    // R12 could switch handles off; from R13 on every object has one.
    RemoveHeaderVar(header, "$HANDLING");
    SetHeaderVar(header, "$HANDSEED", {Tag{5, HandleText(seed)}}, "$DWGCODEPAGE");
}

// ---- R12 structure

// Codes of the common entity data (AcDbEntity) among those of an R12 entity.
bool IsEntityCommon(int code) {
    switch (code) {
        case 6: case 8: case 48: case 60: case 62: case 67: case 284: case 347: case 370: case 380:
        case 390: case 420: case 430: case 440:
            return true;
        default:
            return false;
    }
}

// A point's codes (10..18, 20..28, 30..38) by the code of its x.
int PointBase(int code) { return code >= 10 && code <= 39 ? 10 + code % 10 : code; }

// One subclass of an entity's data and the codes that go in it; the first data subclass takes
// what no other names.
struct Subclass {
    std::string marker;
    std::vector<int> codes;  // point codes by their x code; {-1} for one that holds none
};

// How an R12 entity is written in the newer releases: its type and subclasses after AcDbEntity.
struct EntityForm {
    std::vector<Subclass> subclasses;
    std::string type;  // the type it is written as
};

bool InCodes(const std::vector<int>& codes, int code) {
    return std::find(codes.begin(), codes.end(), PointBase(code)) != codes.end();
}

// The block of model space or of a paper space layout.
bool IsLayoutBlock(const std::string& name) {
    return base::EqualNoCase(name, "*Model_Space") || base::FoldCase(name).rfind("*paper_space", 0) == 0;
}

// The flags of a record (70), 0 when missing.
int FlagsOf(const TagList& tags) {
    std::size_t i = FindOwn(tags, 70);
    return i == npos ? 0 : static_cast<int>(tags[i].Int());
}

class StructureUpgrade {
public:
    using Where = std::function<std::string(std::uint32_t)>;
    StructureUpgrade(Drawing& drawing, Handle seed, Where where)
        : d_(drawing), seed_(seed), where_(std::move(where)) {}

    // Brings an R12 drawing to the structure of the newer releases.
    base::Status Run();
    // Gives an R13 or R14 drawing the layouts that came with 2000.
    base::Status RunLayouts();
    Handle Seed() const { return seed_; }

private:
    struct Table {
        std::string name;
        Rec head;
        std::vector<Rec> records;
        Rec end;
    };
    struct Block {
        std::string name;
        Rec begin;
        std::vector<Rec> entities;
        Rec end;
        Handle record = 0;  // its BLOCK_RECORD
    };

    Handle NewHandle() { return seed_++; }
    void GiveHandle(Rec& r) {
        if (r.handle == 0) r.handle = NewHandle();
    }
    std::string WhereOf(const Rec& r) const {
        return r.source == Database::kNone ? std::string("a record made here") : where_(r.source);
    }
    Section* Find(std::string_view name);
    Section& Ensure(std::string_view name);
    base::Status ReadTables(Section& tables);
    base::Status ReadBlocks(Section& blocks);
    Table& EnsureTable(std::string_view name);
    Rec* FindRecord(Table& table, std::string_view name);
    void AddRecord(Table& table, TagList data, bool atFront = false);
    void SetUpBlockRecords();
    base::Status SetUpObjects();
    Rec& AddObject(TagList tags, Handle owner);
    Rec* ObjectByHandle(Handle h);
    Rec* DictionaryEntry(Rec& dictionary, std::string_view name);
    void AddEntry(Rec& dictionary, std::string_view name, Handle h);
    Rec& EnsureDictionary(Rec& parent, std::string_view name, std::string_view type = "DICTIONARY");
    Handle EnsureLayout(const std::string& blockName, Handle blockRecord, std::size_t& paperCount);
    base::Status ConvertTables();
    base::Status ConvertTableRecord(Rec& r, const Table& table);
    base::Status ConvertEntities(std::vector<Rec>& entities, const std::function<Handle(const Rec&)>& ownerOf);
    base::Status ConvertEntity(Rec& r, Handle owner, const Rec* sequenceOwner);
    base::Status ConvertViewport(TagList& data, const Rec& r);
    void EnsureClasses();
    void SortSections();

    Drawing& d_;
    Handle seed_;
    Where where_;
    std::vector<Table> tables_;
    std::vector<Block> blocks_;
    std::vector<Rec> objects_;
    Handle root_ = 0;
    Handle layoutDictionary_ = 0;
    Handle plotStyleNormal_ = 0;
    std::map<std::string, Handle> blockRecordByName_;  // folded name
    std::map<std::string, Handle> layerByName_;        // folded name
};

Section* StructureUpgrade::Find(std::string_view name) {
    for (Section& s : d_.sections)
        if (s.name == name) return &s;
    return nullptr;
}

Section& StructureUpgrade::Ensure(std::string_view name) {
    if (Section* s = Find(name)) return *s;
    Section s;
    s.name = std::string(name);
    s.begin = MakeRec({{0, "SECTION"}, {2, std::string(name)}});
    s.end = MakeRec({{0, "ENDSEC"}});
    d_.sections.push_back(std::move(s));
    return d_.sections.back();
}

base::Status StructureUpgrade::ReadTables(Section& section) {
    Table* current = nullptr;
    for (Rec& r : section.body) {
        if (r.Type() == "TABLE") {
            Table t;
            t.name = GetOwn(r.tags, 2);
            t.head = std::move(r);
            tables_.push_back(std::move(t));
            current = &tables_.back();
        } else if (r.Type() == "ENDTAB") {
            if (current == nullptr) return base::Status::Error(fmt::format("{}: ENDTAB without a TABLE", WhereOf(r)));
            current->end = std::move(r);
            current = nullptr;
        } else {
            if (current == nullptr)
                return base::Status::Error(fmt::format("{}: {} stands outside a table", WhereOf(r), r.Type()));
            current->records.push_back(std::move(r));
        }
    }
    for (Table& t : tables_)
        if (t.end.tags.empty()) t.end = MakeRec({{0, "ENDTAB"}});
    section.body.clear();
    return base::Status::Ok();
}

base::Status StructureUpgrade::ReadBlocks(Section& section) {
    Block* current = nullptr;
    for (Rec& r : section.body) {
        if (r.Type() == "BLOCK") {
            Block b;
            b.name = GetOwn(r.tags, 2);
            b.begin = std::move(r);
            blocks_.push_back(std::move(b));
            current = &blocks_.back();
        } else if (r.Type() == "ENDBLK") {
            if (current == nullptr) return base::Status::Error(fmt::format("{}: ENDBLK without a BLOCK", WhereOf(r)));
            current->end = std::move(r);
            current = nullptr;
        } else {
            if (current == nullptr)
                return base::Status::Error(fmt::format("{}: {} stands outside a block", WhereOf(r), r.Type()));
            current->entities.push_back(std::move(r));
        }
    }
    if (current != nullptr)
        return base::Status::Error(fmt::format("{}: the block has no ENDBLK", WhereOf(current->begin)));
    section.body.clear();
    return base::Status::Ok();
}

StructureUpgrade::Table& StructureUpgrade::EnsureTable(std::string_view name) {
    for (Table& t : tables_)
        if (t.name == name) return t;
    Table t;
    t.name = std::string(name);
    t.head = MakeRec({{0, "TABLE"}, {2, std::string(name)}, {70, "0"}});
    t.end = MakeRec({{0, "ENDTAB"}});
    tables_.push_back(std::move(t));
    return tables_.back();
}

Rec* StructureUpgrade::FindRecord(Table& table, std::string_view name) {
    for (Rec& r : table.records)
        if (base::EqualNoCase(GetOwn(r.tags, 2), name)) return &r;
    return nullptr;
}

// Adds a record in R12 form; ConvertTables brings it up with the rest.
void StructureUpgrade::AddRecord(Table& table, TagList data, bool atFront) {
    Rec r = MakeRec(std::move(data), NewHandle());
    if (atFront) table.records.insert(table.records.begin(), std::move(r));
    else table.records.push_back(std::move(r));
}

void StructureUpgrade::SetUpBlockRecords() {
    // R12 names the two spaces $MODEL_SPACE and $PAPER_SPACE where it lists them at all.
    auto rename = [](Block& b, const std::string& name) {
        b.name = name;
        for (std::size_t i = 1; i < OwnEnd(b.begin.tags); ++i)
            if (b.begin.tags[i].code == 2 || b.begin.tags[i].code == 3) b.begin.tags[i].value = name;
    };
    bool model = false, paper = false;
    for (Block& b : blocks_) {
        if (base::EqualNoCase(b.name, "$MODEL_SPACE") || base::EqualNoCase(b.name, "*Model_Space")) {
            rename(b, "*Model_Space");
            model = true;
        } else if (base::EqualNoCase(b.name, "$PAPER_SPACE") || base::EqualNoCase(b.name, "*Paper_Space")) {
            rename(b, "*Paper_Space");
            paper = true;
        }
    }
    auto make = [this](const std::string& name) {
        Block b;
        b.name = name;
        b.begin = MakeRec({{0, "BLOCK"}, {8, "0"}, {2, name}, {70, "0"}, {10, "0.0"}, {20, "0.0"}, {30, "0.0"},
                           {3, name}, {1, ""}},
                          NewHandle());
        b.end = MakeRec({{0, "ENDBLK"}, {8, "0"}}, NewHandle());
        return b;
    };
    if (!paper) blocks_.insert(blocks_.begin(), make("*Paper_Space"));
    if (!model) blocks_.insert(blocks_.begin(), make("*Model_Space"));
    // The two spaces lead, as in every newer drawing.
    std::stable_partition(blocks_.begin(), blocks_.end(), [](const Block& b) {
        return b.name == "*Model_Space" || b.name == "*Paper_Space";
    });
    if (blocks_.size() > 1 && blocks_[0].name == "*Paper_Space") std::swap(blocks_[0], blocks_[1]);

    // Records the file has (some R12 writers add the table) are kept; the rest are made.
    Table& table = EnsureTable("BLOCK_RECORD");
    std::vector<Rec> existing = std::move(table.records);
    table.records.clear();
    std::vector<bool> used(existing.size(), false);
    for (Block& b : blocks_) {
        GiveHandle(b.begin);
        GiveHandle(b.end);
        std::size_t found = npos;
        for (std::size_t k = 0; k < existing.size() && found == npos; ++k)
            if (!used[k] && base::EqualNoCase(GetOwn(existing[k].tags, 2), b.name)) found = k;
        if (found != npos) {
            used[found] = true;
            table.records.push_back(std::move(existing[found]));
        } else {
            table.records.push_back(MakeRec({{0, "BLOCK_RECORD"}, {2, b.name}}));
        }
        Rec& rec = table.records.back();
        GiveHandle(rec);
        b.record = rec.handle;
        blockRecordByName_.emplace(base::FoldCase(b.name), rec.handle);
    }
    for (std::size_t k = 0; k < existing.size(); ++k)
        if (!used[k]) {
            GiveHandle(existing[k]);
            table.records.push_back(std::move(existing[k]));
        }
}

Rec* StructureUpgrade::ObjectByHandle(Handle h) {
    if (h == 0) return nullptr;
    for (Rec& r : objects_)
        if (r.handle == h) return &r;
    return nullptr;
}

Rec& StructureUpgrade::AddObject(TagList tags, Handle owner) {
    Rec r = MakeRec(std::move(tags), NewHandle());
    r.tags.insert(r.tags.begin() + 1, Tag{5, HandleText(r.handle)});
    r.tags.insert(r.tags.begin() + 2, Tag{330, HandleText(owner)});
    objects_.push_back(std::move(r));
    return objects_.back();
}

Rec* StructureUpgrade::DictionaryEntry(Rec& dictionary, std::string_view name) {
    const TagList& t = dictionary.tags;
    for (std::size_t i = 1; i + 1 < OwnEnd(t); ++i)
        if (t[i].code == 3 && base::EqualNoCase(t[i].value, name) && (t[i + 1].code == 350 || t[i + 1].code == 360))
            return ObjectByHandle(t[i + 1].AsHandle());
    return nullptr;
}

void StructureUpgrade::AddEntry(Rec& dictionary, std::string_view name, Handle h) {
    TagList& t = dictionary.tags;
    // After the last entry, or after the AcDbDictionary marker and its flags.
    std::size_t pos = npos;
    for (std::size_t i = 1; i < OwnEnd(t); ++i)
        if ((t[i].code == 350 || t[i].code == 360) && i > 0 && t[i - 1].code == 3) pos = i + 1;
    if (pos == npos) {
        for (std::size_t i = 1; i < OwnEnd(t); ++i)
            if (t[i].code == 100 && t[i].value == "AcDbDictionary") {
                pos = i + 1;
                while (pos < OwnEnd(t) && (t[pos].code == 280 || t[pos].code == 281)) ++pos;
                break;
            }
    }
    if (pos == npos) pos = OwnEnd(t);
    t.insert(t.begin() + static_cast<std::ptrdiff_t>(pos), {Tag{3, std::string(name)}, Tag{350, HandleText(h)}});
}

Rec& StructureUpgrade::EnsureDictionary(Rec& parent, std::string_view name, std::string_view type) {
    if (Rec* found = DictionaryEntry(parent, name)) return *found;
    const Handle parentHandle = parent.handle;
    Rec& made = AddObject({{0, std::string(type)}, {100, "AcDbDictionary"}, {281, "1"}}, parentHandle);
    const Handle h = made.handle;
    // `parent` may have moved as objects_ grew.
    AddEntry(*ObjectByHandle(parentHandle), name, h);
    return *ObjectByHandle(h);
}

// The layout of a model or paper space block, made when the file has none for it.
Handle StructureUpgrade::EnsureLayout(const std::string& blockName, Handle blockRecord, std::size_t& paperCount) {
    Table& table = EnsureTable("BLOCK_RECORD");
    Rec* record = nullptr;
    for (Rec& r : table.records)
        if (r.handle == blockRecord) record = &r;
    Handle layout = record ? ParseHandle(GetOwn(record->tags, 340)) : 0;
    Rec* existing = ObjectByHandle(layout);
    if (existing != nullptr && existing->Type() == "LAYOUT") {
        // The layout points back at its block record after its AcDbLayout marker.
        TagList& t = existing->tags;
        std::size_t marker = npos;
        for (std::size_t i = 1; i < OwnEnd(t); ++i)
            if (t[i].code == 100 && t[i].value == "AcDbLayout") marker = i;
        if (marker != npos) {
            std::size_t at = FindOwn(t, 330, marker);
            if (at != npos) t[at].value = HandleText(blockRecord);
            else t.insert(t.begin() + static_cast<std::ptrdiff_t>(OwnEnd(t)), Tag{330, HandleText(blockRecord)});
        }
        return layout;
    }
    const bool model = base::EqualNoCase(blockName, "*Model_Space");
    std::string name = model ? "Model" : fmt::format("Layout{}", ++paperCount);
    Rec& dictionary = *ObjectByHandle(layoutDictionary_);
    while (DictionaryEntry(dictionary, name) != nullptr) name = fmt::format("Layout{}", ++paperCount);
    // Limits and extents as the header gives them for the space.
    auto header = Find("HEADER");
    auto point = [&](std::string_view var, double x, double y, double z) {
        std::array<std::string, 3> v{RealText(x), RealText(y), RealText(z)};
        if (header != nullptr) {
            const TagList& h = header->begin.tags;
            std::size_t at = HeaderVar(h, var);
            if (at != npos)
                for (std::size_t k = at + 1; k < HeaderVarEnd(h, at); ++k)
                    if (h[k].code >= 10 && h[k].code <= 30 && h[k].code % 10 == 0) v[h[k].code / 10 - 1] = h[k].value;
        }
        return v;
    };
    auto limMin = point(model ? "$LIMMIN" : "$PLIMMIN", 0, 0, 0);
    auto limMax = point(model ? "$LIMMAX" : "$PLIMMAX", 12, 9, 0);
    auto extMin = point(model ? "$EXTMIN" : "$PEXTMIN", 1e20, 1e20, 1e20);
    auto extMax = point(model ? "$EXTMAX" : "$PEXTMAX", -1e20, -1e20, -1e20);
    TagList tags = {{0, "LAYOUT"}, {100, "AcDbPlotSettings"}, {1, ""}, {2, "none_device"}, {4, ""}, {6, ""},
                    {40, "0.0"}, {41, "0.0"}, {42, "0.0"}, {43, "0.0"}, {44, "0.0"}, {45, "0.0"}, {46, "0.0"},
                    {47, "0.0"}, {48, "0.0"}, {49, "0.0"}, {140, "0.0"}, {141, "0.0"}, {142, "1.0"},
                    {143, "1.0"}, {70, model ? "1712" : "688"}, {72, "0"}, {73, "0"}, {74, model ? "0" : "5"},
                    {7, ""}, {75, model ? "0" : "16"}, {147, "1.0"}, {148, "0.0"}, {149, "0.0"},
                    {100, "AcDbLayout"}, {1, name}, {70, "1"}, {71, model ? "0" : std::to_string(paperCount)},
                    {10, limMin[0]}, {20, limMin[1]}, {11, limMax[0]}, {21, limMax[1]},
                    {12, "0.0"}, {22, "0.0"}, {32, "0.0"},
                    {14, extMin[0]}, {24, extMin[1]}, {34, extMin[2]},
                    {15, extMax[0]}, {25, extMax[1]}, {35, extMax[2]},
                    {146, "0.0"}, {13, "0.0"}, {23, "0.0"}, {33, "0.0"}, {16, "1.0"}, {26, "0.0"}, {36, "0.0"},
                    {17, "0.0"}, {27, "1.0"}, {37, "0.0"}, {76, "0"}, {330, HandleText(blockRecord)}};
    Rec& made = AddObject(std::move(tags), layoutDictionary_);
    const Handle h = made.handle;
    AddEntry(*ObjectByHandle(layoutDictionary_), name, h);
    if (record != nullptr) {
        std::size_t at = FindOwn(record->tags, 340);
        if (at != npos) record->tags[at].value = HandleText(h);
        else record->tags.insert(record->tags.begin() + static_cast<std::ptrdiff_t>(OwnEnd(record->tags)),
                                 Tag{340, HandleText(h)});
    }
    return h;
}

base::Status StructureUpgrade::SetUpObjects() {
    if (Section* s = Find("OBJECTS")) {
        objects_ = std::move(s->body);
        s->body.clear();
    }
    for (Rec& r : objects_) {
        GiveHandle(r);
        SetHandleTag(r);
    }
    // Objects an R12 writer put there may lack their owners: a dictionary owns its entries.
    std::map<Handle, Handle> ownerOf;
    for (const Rec& r : objects_) {
        if (r.Type() != "DICTIONARY" && r.Type() != "ACDBDICTIONARYWDFLT") continue;
        for (std::size_t i = 1; i + 1 < OwnEnd(r.tags); ++i)
            if (r.tags[i].code == 3 && (r.tags[i + 1].code == 350 || r.tags[i + 1].code == 360))
                ownerOf.emplace(r.tags[i + 1].AsHandle(), r.handle);
    }
    if (objects_.empty() || objects_.front().Type() != "DICTIONARY") {
        Rec root = MakeRec({{0, "DICTIONARY"}, {100, "AcDbDictionary"}, {281, "1"}}, NewHandle());
        root.tags.insert(root.tags.begin() + 1, Tag{5, HandleText(root.handle)});
        root.tags.insert(root.tags.begin() + 2, Tag{330, "0"});
        objects_.insert(objects_.begin(), std::move(root));
    }
    root_ = objects_.front().handle;
    for (Rec& r : objects_) {
        const std::size_t marker = FindOwn(r.tags, 100);
        const std::size_t owner = FindOwn(r.tags, 330);
        if (owner != npos && (marker == npos || owner < marker)) continue;
        auto it = ownerOf.find(r.handle);
        SetOwnerTag(r, r.handle == root_ || it == ownerOf.end() ? 0 : it->second);
    }
    // What every newer drawing's root dictionary holds.
    EnsureDictionary(*ObjectByHandle(root_), "ACAD_GROUP");
    layoutDictionary_ = EnsureDictionary(*ObjectByHandle(root_), "ACAD_LAYOUT").handle;
    Rec& mlineStyles = EnsureDictionary(*ObjectByHandle(root_), "ACAD_MLINESTYLE");
    if (DictionaryEntry(mlineStyles, "Standard") == nullptr) {
        const Handle dict = mlineStyles.handle;
        Rec& style = AddObject({{0, "MLINESTYLE"}, {100, "AcDbMlineStyle"}, {2, "Standard"}, {70, "0"}, {3, ""},
                                {62, "256"}, {51, "90.0"}, {52, "90.0"}, {71, "2"}, {49, "0.5"}, {62, "256"},
                                {6, "BYLAYER"}, {49, "-0.5"}, {62, "256"}, {6, "BYLAYER"}},
                               dict);
        const Handle h = style.handle;
        AddEntry(*ObjectByHandle(dict), "Standard", h);
    }
    EnsureDictionary(*ObjectByHandle(root_), "ACAD_PLOTSETTINGS");
    Rec* plotStyles = DictionaryEntry(*ObjectByHandle(root_), "ACAD_PLOTSTYLENAME");
    if (plotStyles == nullptr) {
        const Handle placeholder = NewHandle();
        Rec& made = AddObject({{0, "ACDBDICTIONARYWDFLT"}, {100, "AcDbDictionary"}, {281, "1"},
                               {3, "Normal"}, {350, HandleText(placeholder)},
                               {100, "AcDbDictionaryWithDefault"}, {340, HandleText(placeholder)}},
                              root_);
        const Handle dict = made.handle;
        AddEntry(*ObjectByHandle(root_), "ACAD_PLOTSTYLENAME", dict);
        Rec normal = MakeRec({{0, "ACDBPLACEHOLDER"}, {5, HandleText(placeholder)}, {330, HandleText(dict)}},
                             placeholder);
        objects_.push_back(std::move(normal));
        plotStyleNormal_ = placeholder;
    } else if (Rec* normal = DictionaryEntry(*plotStyles, "Normal")) {
        plotStyleNormal_ = normal->handle;
    } else {
        const Handle dict = plotStyles->handle;
        Rec& made = AddObject({{0, "ACDBPLACEHOLDER"}}, dict);
        plotStyleNormal_ = made.handle;
        AddEntry(*ObjectByHandle(dict), "Normal", plotStyleNormal_);
    }
    std::size_t paperCount = 0;
    for (Block& b : blocks_)
        if (IsLayoutBlock(b.name)) EnsureLayout(b.name, b.record, paperCount);
    return base::Status::Ok();
}

base::Status StructureUpgrade::RunLayouts() {
    Section* tables = Find("TABLES");
    Section* objects = Find("OBJECTS");
    if (tables == nullptr || objects == nullptr) return base::Status::Ok();
    base::Status st = ReadTables(*tables);
    if (!st) return st;
    objects_ = std::move(objects->body);
    objects->body.clear();
    if (!objects_.empty() && objects_.front().Type() == "DICTIONARY") {
        root_ = objects_.front().handle;
        if (DictionaryEntry(objects_.front(), "ACAD_LAYOUT") == nullptr) {
            layoutDictionary_ = EnsureDictionary(objects_.front(), "ACAD_LAYOUT").handle;
            std::size_t paperCount = 0;
            std::vector<std::pair<std::string, Handle>> spaces;
            for (const Rec& r : EnsureTable("BLOCK_RECORD").records)
                if (IsLayoutBlock(GetOwn(r.tags, 2))) spaces.emplace_back(GetOwn(r.tags, 2), r.handle);
            for (const auto& [name, handle] : spaces) EnsureLayout(name, handle, paperCount);
            EnsureClasses();
        }
    }
    tables = Find("TABLES");
    for (Table& t : tables_) {
        tables->body.push_back(std::move(t.head));
        for (Rec& r : t.records) tables->body.push_back(std::move(r));
        tables->body.push_back(std::move(t.end));
    }
    Find("OBJECTS")->body = std::move(objects_);
    SortSections();
    return base::Status::Ok();
}

// ---- Tables

base::Status StructureUpgrade::ConvertTableRecord(Rec& r, const Table& table) {
    GiveHandle(r);
    if (HasSubclasses(r.tags)) {
        SetHandleTag(r);
        SetOwnerTag(r, table.head.handle);
        return base::Status::Ok();
    }
    const std::string_view subclass = TableRecordSubclass(table.name);
    if (subclass.empty() || r.Type() != table.name)
        return base::Status::Error(fmt::format("{}: a {} record in the {} table has no newer form", WhereOf(r),
                                               r.Type(), table.name));
    const int handleCode = HandleCodeOf(r.Type());
    const std::size_t end = OwnEnd(r.tags);
    TagList out = {r.tags[0], {handleCode, HandleText(r.handle)}, {330, HandleText(table.head.handle)},
                   {100, "AcDbSymbolTableRecord"}, {100, std::string(subclass)}};
    for (std::size_t i = 1; i < end; ++i) {
        const Tag& t = r.tags[i];
        if (t.code == handleCode || t.code == 330) continue;
        if (table.name == "DIMSTYLE" && (t.code == 5 || t.code == 6 || t.code == 7)) {
            // R12 names the arrow blocks; newer releases point at their block records. A built-in
            // arrow (BOXBLANK, DOT...) has no block until AutoCAD draws one, so its name stays
            // in the code the reference keeps for it.
            if (t.value.empty()) continue;
            auto it = blockRecordByName_.find(base::FoldCase(t.value));
            if (it == blockRecordByName_.end()) out.push_back(t);
            else out.push_back({t.code == 5 ? 342 : t.code == 6 ? 343 : 344, HandleText(it->second)});
            continue;
        }
        if (table.name == "BLOCK_RECORD" && t.code == 340) continue;  // set below
        out.push_back(t);
        // R13 follows each dash of a line type with the kind of its element; R12 had only dashes.
        if (table.name == "LTYPE" && t.code == 49 && !(i + 1 < end && r.tags[i + 1].code == 74))
            out.push_back({74, "0"});
    }
    if (table.name == "LAYER" && FindOwn(r.tags, 390) == npos && plotStyleNormal_ != 0)
        out.push_back({390, HandleText(plotStyleNormal_)});
    if (table.name == "BLOCK_RECORD") {
        std::string layout = GetOwn(r.tags, 340, "0");
        // The layout was set up before; one that points nowhere is dropped.
        if (ObjectByHandle(ParseHandle(layout)) == nullptr) layout = "0";
        out.push_back({340, layout});
    }
    out.insert(out.end(), r.tags.begin() + static_cast<std::ptrdiff_t>(end), r.tags.end());
    r.tags = std::move(out);
    return base::Status::Ok();
}

base::Status StructureUpgrade::ConvertTables() {
    // Entries every newer drawing has; R12 took them for granted.
    Table& ltypes = EnsureTable("LTYPE");
    if (!FindRecord(ltypes, "Continuous"))
        AddRecord(ltypes, {{0, "LTYPE"}, {2, "Continuous"}, {70, "0"}, {3, "Solid line"}, {72, "65"}, {73, "0"}, {40, "0.0"}}, true);
    if (!FindRecord(ltypes, "ByLayer"))
        AddRecord(ltypes, {{0, "LTYPE"}, {2, "ByLayer"}, {70, "0"}, {3, ""}, {72, "65"}, {73, "0"}, {40, "0.0"}}, true);
    if (!FindRecord(ltypes, "ByBlock"))
        AddRecord(ltypes, {{0, "LTYPE"}, {2, "ByBlock"}, {70, "0"}, {3, ""}, {72, "65"}, {73, "0"}, {40, "0.0"}}, true);
    Table& layers = EnsureTable("LAYER");
    if (!FindRecord(layers, "0"))
        AddRecord(layers, {{0, "LAYER"}, {2, "0"}, {70, "0"}, {62, "7"}, {6, "Continuous"}}, true);
    Table& styles = EnsureTable("STYLE");
    if (!FindRecord(styles, "Standard"))
        AddRecord(styles, {{0, "STYLE"}, {2, "Standard"}, {70, "0"}, {40, "0.0"}, {41, "1.0"}, {50, "0.0"}, {71, "0"},
                           {42, "0.2"}, {3, "txt"}, {4, ""}}, true);
    EnsureTable("VIEW");
    EnsureTable("UCS");
    Table& apps = EnsureTable("APPID");
    if (!FindRecord(apps, "ACAD")) AddRecord(apps, {{0, "APPID"}, {2, "ACAD"}, {70, "0"}}, true);
    Table& dimstyles = EnsureTable("DIMSTYLE");
    if (!FindRecord(dimstyles, "Standard")) AddRecord(dimstyles, {{0, "DIMSTYLE"}, {2, "Standard"}, {70, "0"}}, true);
    EnsureTable("VPORT");
    // The order AutoCAD writes them in; tables it does not know come last.
    static const std::vector<std::string> order = {"VPORT", "LTYPE", "LAYER", "STYLE", "VIEW",
                                                   "UCS",   "APPID", "DIMSTYLE", "BLOCK_RECORD"};
    std::stable_sort(tables_.begin(), tables_.end(), [](const Table& a, const Table& b) {
        auto rank = [](const std::string& n) {
            auto it = std::find(order.begin(), order.end(), n);
            return static_cast<std::size_t>(it - order.begin());
        };
        return rank(a.name) < rank(b.name);
    });
    for (Table& t : tables_) {
        GiveHandle(t.head);
        if (!HasSubclasses(t.head.tags)) {
            const std::size_t end = OwnEnd(t.head.tags);
            TagList out = {t.head.tags[0], {2, t.name}, {5, HandleText(t.head.handle)}, {330, "0"},
                           {100, "AcDbSymbolTable"}, {70, std::to_string(t.records.size())}};
            if (t.name == "DIMSTYLE") out.push_back({100, "AcDbDimStyleTable"});
            for (std::size_t i = 1; i < end; ++i) {
                const int c = t.head.tags[i].code;
                if (c != 2 && c != 5 && c != 70 && c != 330) out.push_back(t.head.tags[i]);
            }
            out.insert(out.end(), t.head.tags.begin() + static_cast<std::ptrdiff_t>(end), t.head.tags.end());
            t.head.tags = std::move(out);
        } else {
            SetHandleTag(t.head);
            SetOwnerTag(t.head, 0);
        }
        for (Rec& r : t.records) {
            base::Status s = ConvertTableRecord(r, t);
            if (!s) return s;
        }
        if (t.name == "LAYER")
            for (const Rec& r : t.records) layerByName_.emplace(base::FoldCase(GetOwn(r.tags, 2)), r.handle);
    }
    return base::Status::Ok();
}

// ---- Entities

// The subclasses of an R12 entity in the newer form; nullopt for a type without one.
std::optional<EntityForm> FormOf(const Rec& r, const Rec* sequenceOwner) {
    const std::string& type = r.Type();
    auto one = [&](const char* marker) { return EntityForm{{Subclass{marker, {}}}, type}; };
    if (type == "LINE") return one("AcDbLine");
    // Release 10's 3D line is a line since Release 11.
    if (type == "3DLINE") return EntityForm{{Subclass{"AcDbLine", {}}}, "LINE"};
    if (type == "POINT") return one("AcDbPoint");
    if (type == "CIRCLE") return one("AcDbCircle");
    if (type == "ARC") return EntityForm{{Subclass{"AcDbCircle", {}}, Subclass{"AcDbArc", {50, 51}}}, type};
    if (type == "TRACE" || type == "SOLID") return one("AcDbTrace");
    if (type == "3DFACE") return one("AcDbFace");
    if (type == "SHAPE") return one("AcDbShape");
    if (type == "TEXT") return EntityForm{{Subclass{"AcDbText", {}}, Subclass{"AcDbText", {73}}}, type};
    if (type == "ATTDEF")
        return EntityForm{{Subclass{"AcDbText", {}}, Subclass{"AcDbAttributeDefinition", {3, 2, 70, 73, 74, 280}}}, type};
    if (type == "ATTRIB") return EntityForm{{Subclass{"AcDbText", {}}, Subclass{"AcDbAttribute", {2, 70, 73, 74, 280}}}, type};
    if (type == "INSERT") {
        const bool grid = GetOwn(r.tags, 70, "0") != "0" && Tag{0, GetOwn(r.tags, 70)}.Int() > 1;
        const bool rows = Tag{0, GetOwn(r.tags, 71, "0")}.Int() > 1;
        return one(grid || rows ? "AcDbMInsertBlock" : "AcDbBlockReference");
    }
    if (type == "POLYLINE") {
        const int flags = FlagsOf(r.tags);
        return one(flags & 64 ? "AcDbPolyFaceMesh" : flags & 16 ? "AcDbPolygonMesh" : flags & 8 ? "AcDb3dPolyline"
                                                                                             : "AcDb2dPolyline");
    }
    if (type == "VERTEX") {
        const int flags = FlagsOf(r.tags);
        // The polyline says what its vertices are; some writers leave the vertex flags out.
        const int owner = sequenceOwner != nullptr && sequenceOwner->Type() == "POLYLINE" ? FlagsOf(sequenceOwner->tags)
                                                                                          : -1;
        const bool polyface = owner >= 0 ? (owner & 64) != 0 : (flags & 128) != 0;
        const bool mesh = owner >= 0 ? (owner & 16) != 0 : (flags & 64) != 0 && !(flags & 128);
        const bool poly3d = owner >= 0 ? (owner & 8) != 0 : (flags & 32) != 0;
        if (polyface && !(flags & 64)) return one("AcDbFaceRecord");
        const char* marker = polyface ? "AcDbPolyFaceMeshVertex" : mesh ? "AcDbPolygonMeshVertex"
                                                               : poly3d ? "AcDb3dPolylineVertex" : "AcDb2dVertex";
        return EntityForm{{Subclass{"AcDbVertex", {-1}}, Subclass{marker, {}}}, type};
    }
    if (type == "SEQEND") return EntityForm{{}, type};
    if (type == "BLOCK") return one("AcDbBlockBegin");
    if (type == "ENDBLK") return EntityForm{{Subclass{"AcDbBlockEnd", {-1}}}, type};
    if (type == "VIEWPORT") return one("AcDbViewport");
    if (type == "DIMENSION") {
        Subclass common{"AcDbDimension", {}};
        switch (FlagsOf(r.tags) & 7) {
            case 0:
                return EntityForm{{common, Subclass{"AcDbAlignedDimension", {13, 14, 50}}, Subclass{"AcDbRotatedDimension", {52}}}, type};
            case 1: return EntityForm{{common, Subclass{"AcDbAlignedDimension", {13, 14, 50, 52}}}, type};
            case 2: return EntityForm{{common, Subclass{"AcDb2LineAngularDimension", {13, 14, 15, 16}}}, type};
            case 3: return EntityForm{{common, Subclass{"AcDbDiametricDimension", {15, 40}}}, type};
            case 4: return EntityForm{{common, Subclass{"AcDbRadialDimension", {15, 40}}}, type};
            case 5: return EntityForm{{common, Subclass{"AcDb3PointAngularDimension", {13, 14, 15}}}, type};
            case 6: return EntityForm{{common, Subclass{"AcDbOrdinateDimension", {13, 14}}}, type};
            default: return std::nullopt;
        }
    }
    return std::nullopt;
}

// The view data R12 keeps in a viewport's extended data (ACAD, "MVIEW"), as the codes of the
// newer viewport. Nothing when the data is not there or not in that form.
TagList ViewportDataFromXdata(const TagList& tags, const std::map<std::string, Handle>& layers, std::string& missing) {
    std::size_t i = OwnEnd(tags);
    while (i < tags.size() && !(tags[i].code == 1001 && tags[i].value == "ACAD")) ++i;
    if (i + 2 >= tags.size() || tags[i + 1].code != 1000 || tags[i + 1].value != "MVIEW" || tags[i + 2].code != 1002)
        return {};
    static const int expected[] = {1070, 1010, 1020, 1030, 1010, 1020, 1030, 1040, 1040, 1040, 1040, 1040, 1040,
                                   1040, 1070, 1070, 1070, 1070, 1070, 1070, 1070, 1070, 1040, 1040, 1040, 1040,
                                   1040, 1040, 1040, 1070};
    constexpr std::size_t count = sizeof(expected) / sizeof(expected[0]);
    const std::size_t first = i + 3;
    if (first + count > tags.size()) return {};
    for (std::size_t k = 0; k < count; ++k)
        if (tags[first + k].code != expected[k]) return {};
    auto v = [&](std::size_t k) { return tags[first + k].value; };
    auto n = [&](std::size_t k) { return static_cast<int>(tags[first + k].Int()); };
    auto degrees = [&](std::size_t k) { return RealText(tags[first + k].Real() * 180.0 / 3.14159265358979323846); };
    const int viewMode = n(14), ucsIcon = n(17), isoPair = n(21);
    int status = viewMode & 31;
    if (ucsIcon & 1) status |= 32;
    if (ucsIcon & 2) status |= 64;
    if (n(16)) status |= 128;    // fast zoom
    if (n(18)) status |= 256;    // snap
    if (n(19)) status |= 512;    // grid
    if (n(20)) status |= 1024;   // isometric snap style
    if (n(29)) status |= 2048;   // hidden in plot
    if (isoPair == 1) status |= 4096;
    if (isoPair == 2) status |= 8192;
    TagList out = {{12, v(9)},  {22, v(10)}, {13, v(23)}, {23, v(24)}, {14, v(25)}, {24, v(26)},
                   {15, v(27)}, {25, v(28)}, {16, v(4)},  {26, v(5)},  {36, v(6)},  {17, v(1)},
                   {27, v(2)},  {37, v(3)},  {42, v(11)}, {43, v(12)}, {44, v(13)}, {45, v(8)},
                   {50, degrees(22)}, {51, degrees(7)}, {72, v(15)}};
    // Frozen layers by name in R12, by handle since.
    for (std::size_t k = first + count; k < tags.size() && tags[k].code != 1001; ++k) {
        if (tags[k].code != 1003) continue;
        auto it = layers.find(base::FoldCase(tags[k].value));
        if (it == layers.end()) {
            missing = tags[k].value;
            return {};
        }
        out.push_back({331, HandleText(it->second)});
    }
    out.push_back({90, std::to_string(status)});
    out.push_back({1, ""});
    out.push_back({281, "0"});
    out.push_back({71, "0"});
    out.push_back({74, (ucsIcon & 2) ? "1" : "0"});
    return out;
}

base::Status StructureUpgrade::ConvertViewport(TagList& data, const Rec& r) {
    std::string missing;
    TagList view = ViewportDataFromXdata(r.tags, layerByName_, missing);
    if (!missing.empty())
        return base::Status::Error(fmt::format("{}: the VIEWPORT freezes layer \"{}\", which the drawing lacks",
                                               WhereOf(r), missing));
    data.insert(data.end(), view.begin(), view.end());
    return base::Status::Ok();
}

base::Status StructureUpgrade::ConvertEntity(Rec& r, Handle owner, const Rec* sequenceOwner) {
    GiveHandle(r);
    if (HasSubclasses(r.tags)) {
        SetHandleTag(r);
        SetOwnerTag(r, owner);
        return base::Status::Ok();
    }
    std::optional<EntityForm> form = FormOf(r, sequenceOwner);
    if (!form)
        return base::Status::Error(fmt::format("{}: a {} of this release has no faithful form in the newer one",
                                               WhereOf(r), r.Type()));
    const std::size_t end = OwnEnd(r.tags);
    TagList common, rest;
    std::string elevation;
    for (std::size_t i = 1; i < end; ++i) {
        const Tag& t = r.tags[i];
        if (t.code == 5 || t.code == 330) continue;
        // Before Release 11 an entity's elevation stood apart; since, it is the z of its points.
        if (t.code == 38 && r.Type() != "POLYLINE" && r.Type() != "VERTEX") {
            elevation = t.value;
            continue;
        }
        (IsEntityCommon(t.code) ? common : rest).push_back(t);
    }
    if (!elevation.empty()) {
        TagList withZ;
        for (std::size_t k = 0; k < rest.size(); ++k) {
            withZ.push_back(rest[k]);
            const int c = rest[k].code;
            if (c >= 20 && c <= 28 && !(k + 1 < rest.size() && rest[k + 1].code == c + 10))
                withZ.push_back({c + 10, elevation});
        }
        rest = std::move(withZ);
    }
    if (FindOwn(r.tags, 8) == npos) common.insert(common.begin(), Tag{8, "0"});
    TagList out = {{0, form->type}, {5, HandleText(r.handle)}, {330, HandleText(owner)}, {100, "AcDbEntity"}};
    out.insert(out.end(), common.begin(), common.end());
    std::vector<TagList> data(form->subclasses.size());
    for (const Tag& t : rest) {
        std::size_t into = 0;
        for (std::size_t p = 1; p < form->subclasses.size(); ++p)
            if (InCodes(form->subclasses[p].codes, t.code)) into = p;
        // A part that takes no codes (AcDbVertex) hands them on to the next one.
        while (into + 1 < form->subclasses.size() && form->subclasses[into].codes == std::vector<int>{-1}) ++into;
        if (!data.empty()) data[into].push_back(t);
    }
    if (data.empty() && !rest.empty())
        return base::Status::Error(fmt::format("{}: the {} holds data that has no place in the newer form",
                                               WhereOf(r), r.Type()));
    if (r.Type() == "VIEWPORT") {
        base::Status s = ConvertViewport(data[0], r);
        if (!s) return s;
    }
    for (std::size_t p = 0; p < data.size(); ++p) {
        out.push_back({100, form->subclasses[p].marker});
        out.insert(out.end(), data[p].begin(), data[p].end());
    }
    out.insert(out.end(), r.tags.begin() + static_cast<std::ptrdiff_t>(end), r.tags.end());
    r.tags = std::move(out);
    return base::Status::Ok();
}

base::Status StructureUpgrade::ConvertEntities(std::vector<Rec>& entities,
                                               const std::function<Handle(const Rec&)>& ownerOf) {
    std::vector<Rec> out;
    out.reserve(entities.size());
    std::optional<Rec> sequence;  // the INSERT or POLYLINE whose attributes or vertices follow
    bool sequenceHasItems = false;
    auto closeSequence = [&]() {
        // Newer releases insist on the SEQEND that some R12 writers leave out.
        if (sequence && sequenceHasItems) {
            Rec end = MakeRec({{0, "SEQEND"}, {8, GetOwn(sequence->tags, 8, "0")}}, NewHandle());
            end.tags = {{0, "SEQEND"}, {5, HandleText(end.handle)}, {330, HandleText(sequence->handle)},
                        {100, "AcDbEntity"}, {8, GetOwn(sequence->tags, 8, "0")}};
            out.push_back(std::move(end));
        }
        sequence.reset();
        sequenceHasItems = false;
    };
    for (Rec& r : entities) {
        const std::string type = r.Type();
        const bool item = type == "ATTRIB" || type == "VERTEX";
        if (sequence && !item && type != "SEQEND") closeSequence();
        Handle owner = ownerOf(r);
        const Rec* seqOwner = nullptr;
        if (sequence && (item || type == "SEQEND")) {
            owner = sequence->handle;
            seqOwner = &*sequence;
        }
        base::Status s = ConvertEntity(r, owner, seqOwner);
        if (!s) return s;
        if (type == "SEQEND") {
            sequence.reset();
            sequenceHasItems = false;
        } else if (item) {
            sequenceHasItems = sequence.has_value();
        } else if (type == "POLYLINE" || (type == "INSERT" && GetOwn(r.tags, 66, "0") != "0" &&
                                          Tag{0, GetOwn(r.tags, 66)}.Int() != 0)) {
            sequence = r;
            sequenceHasItems = false;
        }
        out.push_back(std::move(r));
    }
    closeSequence();
    entities = std::move(out);
    return base::Status::Ok();
}

// The classes of the objects a converted R12 drawing holds.
void StructureUpgrade::EnsureClasses() {
    struct Known {
        const char* dxfName;
        const char* className;
    };
    static const Known known[] = {{"ACDBDICTIONARYWDFLT", "AcDbDictionaryWithDefault"},
                                  {"ACDBPLACEHOLDER", "AcDbPlaceHolder"},
                                  {"LAYOUT", "AcDbLayout"},
                                  {"DICTIONARYVAR", "AcDbDictionaryVar"}};
    Section& classes = Ensure("CLASSES");
    for (const Known& k : known) {
        std::size_t count = 0;
        for (const Rec& r : objects_) count += r.Type() == k.dxfName;
        if (count == 0) continue;
        bool have = false;
        for (const Rec& c : classes.body) have = have || GetOwn(c.tags, 1) == k.dxfName;
        if (have) continue;
        classes.body.push_back(MakeRec({{0, "CLASS"}, {1, k.dxfName}, {2, k.className}, {3, "ObjectDBX Classes"},
                                        {90, "0"}, {91, std::to_string(count)}, {280, "0"}, {281, "0"}}));
    }
}

base::Status StructureUpgrade::Run() {
    // Sections that appear twice are read as one.
    std::vector<Section> merged;
    for (Section& s : d_.sections) {
        auto it = std::find_if(merged.begin(), merged.end(), [&](const Section& m) { return m.name == s.name; });
        if (it == merged.end() || s.name == "HEADER") merged.push_back(std::move(s));
        else it->body.insert(it->body.end(), std::make_move_iterator(s.body.begin()), std::make_move_iterator(s.body.end()));
    }
    d_.sections = std::move(merged);
    Ensure("HEADER");
    if (Section* s = Find("TABLES")) {
        base::Status st = ReadTables(*s);
        if (!st) return st;
    }
    if (Section* s = Find("BLOCKS")) {
        base::Status st = ReadBlocks(*s);
        if (!st) return st;
    }
    SetUpBlockRecords();
    base::Status st = SetUpObjects();
    if (!st) return st;
    st = ConvertTables();
    if (!st) return st;

    for (Block& b : blocks_) {
        const Handle record = b.record;
        st = ConvertEntity(b.begin, record, nullptr);
        if (!st) return st;
        st = ConvertEntities(b.entities, [record](const Rec&) { return record; });
        if (!st) return st;
        if (b.end.tags.empty()) b.end = MakeRec({{0, "ENDBLK"}, {8, "0"}}, NewHandle());
        st = ConvertEntity(b.end, record, nullptr);
        if (!st) return st;
    }
    const Handle model = blockRecordByName_[base::FoldCase("*Model_Space")];
    const Handle paper = blockRecordByName_[base::FoldCase("*Paper_Space")];
    if (Section* s = Find("ENTITIES")) {
        st = ConvertEntities(s->body, [model, paper](const Rec& r) {
            return GetOwn(r.tags, 67, "0") != "0" && Tag{0, GetOwn(r.tags, 67)}.Int() != 0 ? paper : model;
        });
        if (!st) return st;
    }
    EnsureClasses();

    // Put everything back in the order of a newer drawing.
    Section& tables = Ensure("TABLES");
    for (Table& t : tables_) {
        tables.body.push_back(std::move(t.head));
        for (Rec& r : t.records) tables.body.push_back(std::move(r));
        tables.body.push_back(std::move(t.end));
    }
    Section& blocks = Ensure("BLOCKS");
    for (Block& b : blocks_) {
        blocks.body.push_back(std::move(b.begin));
        for (Rec& r : b.entities) blocks.body.push_back(std::move(r));
        blocks.body.push_back(std::move(b.end));
    }
    Ensure("ENTITIES");
    Ensure("OBJECTS").body = std::move(objects_);
    SortSections();
    return base::Status::Ok();
}

// Sections in the order of a newer drawing; others (THUMBNAILIMAGE...) after them, as they came.
void StructureUpgrade::SortSections() {
    static const std::vector<std::string> order = {"HEADER", "CLASSES", "TABLES", "BLOCKS", "ENTITIES", "OBJECTS"};
    std::stable_sort(d_.sections.begin(), d_.sections.end(), [](const Section& a, const Section& b) {
        auto rank = [](const std::string& n) {
            return static_cast<std::size_t>(std::find(order.begin(), order.end(), n) - order.begin());
        };
        return rank(a.name) < rank(b.name);
    });
}

}  // namespace

base::Status Database::UpgradeTo(int release) {
    if (release == release_) return base::Status::Ok();
    if (release < release_)
        return base::Status::Error(fmt::format("{}: the drawing is release AC{} and cannot be saved as the older "
                                               "AC{}",
                                               fileName_, release_, release));
    if (release != kNewestRelease)
        return base::Status::Error(fmt::format("{}: drawings can be brought to AC{} only, not AC{}", fileName_,
                                               kNewestRelease, release));

    // Values go over as the file wrote them (numbers of an ASCII file with their padding, texts
    // of a UTF-8 file with their escapes); only texts in a code page are read in it, escapes
    // resolved, and the numbers of a binary file are read in their width.
    const bool sameText = codec_.IsUtf8();
    const bool ascii = stream_.form == DxfForm::Ascii;
    Drawing drawing;
    Section* section = nullptr;
    for (std::uint32_t k = first_; k != kNone; k = records_[k].next) {
        Rec r;
        r.source = k;
        r.handle = records_[k].handle;
        r.handleMissing = records_[k].handleAssigned;
        const std::size_t n = TagCount(k);
        r.tags.reserve(n);
        for (std::size_t i = 0; i < n; ++i) {
            const int code = CodeAt(k, i);
            if (i == 0 && code == 0) r.tags.push_back({0, TypeOf(k)});
            else if (IsOriginal(k, i) && (KindOfCode(code) == ValueKind::Text ? sameText : ascii))
                r.tags.push_back({code, std::string(RawAt(k, i))});
            else r.tags.push_back({code, TextAt(k, i)});
        }
        if (r.tags.empty()) continue;
        if (r.tags[0].code != 0) {
            (section ? section->body : drawing.leading).push_back(std::move(r));
            continue;
        }
        const std::string type = r.Type();
        if (type == "SECTION") {
            Section s;
            s.name = GetOwn(r.tags, 2);
            s.begin = std::move(r);
            drawing.sections.push_back(std::move(s));
            section = &drawing.sections.back();
        } else if (type == "ENDSEC" && section != nullptr) {
            section->end = std::move(r);
            section = nullptr;
        } else if (type == "EOF") {
            drawing.trailing.push_back(std::move(r));
        } else if (section != nullptr) {
            section->body.push_back(std::move(r));
        } else {
            drawing.leading.push_back(std::move(r));
        }
    }

    Handle seed = handSeed_;
    if (release_ < 1012) {
        StructureUpgrade upgrade(drawing, seed, [this](std::uint32_t rec) { return WhereIs(rec); });
        base::Status status = upgrade.Run();
        if (!status) return status;
        seed = upgrade.Seed();
    } else {
        // Objects the file gave no handle, or a handle used twice, get theirs into the file.
        for (Section& s : drawing.sections)
            for (Rec& r : s.body)
                if (r.handleMissing && r.handle != 0) SetHandleTag(r);
        if (release_ < 1015) {
            StructureUpgrade upgrade(drawing, seed, [this](std::uint32_t rec) { return WhereIs(rec); });
            base::Status status = upgrade.RunLayouts();
            if (!status) return status;
            seed = upgrade.Seed();
        }
    }
    auto header = std::find_if(drawing.sections.begin(), drawing.sections.end(),
                               [](const Section& s) { return s.name == "HEADER"; });
    if (header == drawing.sections.end()) {
        Section s;
        s.name = "HEADER";
        s.begin = MakeRec({{0, "SECTION"}, {2, "HEADER"}});
        s.end = MakeRec({{0, "ENDSEC"}});
        drawing.sections.insert(drawing.sections.begin(), std::move(s));
        header = drawing.sections.begin();
    }
    UpgradeHeader(header->begin.tags, release, seed);
    if (drawing.trailing.empty()) drawing.trailing.push_back(MakeRec({{0, "EOF"}}));

    // Binary R12 files number their codes in one byte; the newer binary form takes two.
    const DxfForm form = stream_.form == DxfForm::Ascii ? DxfForm::Ascii : DxfForm::Binary;
    const TextCodec utf8;
    std::string out;
    out.reserve(bytes_.size() + bytes_.size() / 4 + 4096);
    if (form == DxfForm::Binary) out.append("AutoCAD Binary DXF\r\n\x1a\0", 22);
    else out.append(bytes_, 0, stream_.prefix);
    auto emit = [&](const Rec& r) {
        for (const Tag& t : r.tags) AppendTag(out, t.code, t.value, form, utf8, eol_, paddedCodes_);
    };
    for (const Rec& r : drawing.leading) emit(r);
    for (const Section& s : drawing.sections) {
        emit(s.begin);
        for (const Rec& r : s.body) emit(r);
        emit(s.end.tags.empty() ? MakeRec({{0, "ENDSEC"}}) : s.end);
    }
    for (const Rec& r : drawing.trailing) emit(r);

    auto upgraded = FromBytes(std::move(out), fileName_);
    if (!upgraded)
        return base::Status::Error(fmt::format("{}: the drawing as AC{} does not read back: {}", fileName_, release,
                                               upgraded.GetStatus().Message()));
    if ((*upgraded)->Release() != release)
        return base::Status::Error(fmt::format("{}: the drawing as AC{} reads back as {}", fileName_, release,
                                               (*upgraded)->Version()));
    std::vector<std::string> warnings = std::move(warnings_);
    *this = std::move(**upgraded);
    warnings_ = std::move(warnings);
    modified_ = true;
    return base::Status::Ok();
}

}  // namespace cad
