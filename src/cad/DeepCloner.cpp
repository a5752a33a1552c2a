#include "cad/DeepCloner.h"

#include <algorithm>
#include <cassert>
#include <unordered_set>
#include <utility>

#include <fmt/format.h>

#include "base/Text.h"
#include "cad/Database.h"
#include "cad/DrawOrder.h"
#include "cad/GroupCode.h"
#include "cad/SymbolRecord.h"

namespace cad {
namespace {

constexpr std::uint32_t kNone = Database::kNone;
constexpr std::size_t npos = std::string::npos;

// The symbol table `type` names records of, as a view that lives as long as the program; "" for
// other types.
std::string_view SymbolTableOf(std::string_view type) {
    for (std::string_view table :
         {"LAYER", "LTYPE", "STYLE", "DIMSTYLE", "APPID", "UCS", "VIEW", "VPORT"})
        if (type == table)
            return table;
    return {};
}

// The release that brought an entity type; older releases can't read it. 0 for the others.
int ReleaseOfType(std::string_view type) {
    static constexpr std::pair<std::string_view, int> kNewer[] = {{"LWPOLYLINE", 1014},
                                                                  {"HATCH", 1014},
                                                                  {"MLEADER", 1021},
                                                                  {"MULTILEADER", 1021},
                                                                  {"MESH", 1024}};
    for (const auto& [name, release] : kNewer)
        if (type == name)
            return release;
    return 0;
}

bool Either(std::string_view type, std::initializer_list<std::string_view> types) {
    return std::find(types.begin(), types.end(), type) != types.end();
}

// The table a name in the own data of an object of `type` stands for ("BLOCK" for block
// names); "" for a value that names nothing.
std::string_view NamedTable(std::string_view type, int code, bool entity) {
    if (!entity)
        return type == "LAYER" && code == 6 ? "LTYPE" : "";
    switch (code) {
        case 8:
            return "LAYER";
        case 6:
            return "LTYPE";
        case 7:
            return Either(type, {"TEXT", "ATTDEF", "ATTRIB", "MTEXT"}) ? "STYLE" : "";
        case 3:
            return Either(type, {"DIMENSION", "ARC_DIMENSION", "LARGE_RADIAL_DIMENSION", "LEADER",
                                 "TOLERANCE"})
                       ? "DIMSTYLE"
                       : "";
        case 2:
            return Either(type, {"INSERT", "MINSERT", "DIMENSION", "ARC_DIMENSION",
                                 "LARGE_RADIAL_DIMENSION", "ACAD_TABLE"})
                       ? "BLOCK"
                       : "";
        default:
            return "";
    }
}

// The application group a 102 tag opens or closes.
enum class Group : std::uint8_t { None, Reactors, ExtensionDictionary, BlockReferences, Other };

Group GroupOf(std::string_view text) {
    if (text.empty() || text[0] != '{')
        return Group::None;
    if (text == "{ACAD_REACTORS")
        return Group::Reactors;
    if (text == "{ACAD_XDICTIONARY")
        return Group::ExtensionDictionary;
    if (text == "{BLKREFS")
        return Group::BlockReferences;
    return Group::Other;
}

}  // namespace

base::Result<Database*> CloneSource(Database& source, const Database& target,
                                    std::unique_ptr<Database>& upgraded) {
    const bool sourceR12 = source.Release() < 1012, targetR12 = target.Release() < 1012;
    if (sourceR12 == targetR12)
        return &source;
    if (targetR12)
        return base::Status::Error(
            fmt::format("{} is an R12 drawing ({}): it has no place for the block records, owners "
                        "and objects of {} ({}); "
                        "bring it to a newer release first",
                        target.FileName(), target.Version(), source.FileName(), source.Version()));
    auto copy = Database::FromBytes(source.Write(), source.FileName());
    if (!copy)
        return copy.GetStatus();
    base::Status status = (*copy)->UpgradeTo(Database::kNewestRelease);
    if (!status)
        return status;
    upgraded = std::move(*copy);
    return upgraded.get();
}

void KeepPairsOf(Database& source, IdMapping& mapping) {
    std::vector<Handle> foreign;
    for (const auto& [handle, pair] : mapping.Pairs())
        if (source.ObjectByHandle(handle).IsNull())
            foreign.push_back(handle);
    for (Handle h : foreign)
        mapping.Erase(h);
}

struct DeepCloner::Impl {
    enum class Kind : std::uint8_t {
        BlockRecord,
        BlockBegin,
        BlockEnd,
        Entity,
        SubEntity,
        TableRecord,
        Object
    };
    struct Job {
        std::uint32_t source = kNone;
        Handle handle = 0;
        Kind kind = Kind::Entity;
        std::uint32_t block = kNone;  // the planned block an entity goes to
        std::uint32_t owner = kNone;  // the job of a sub-entity's INSERT or POLYLINE
        std::uint32_t entry = kNone;  // the dictionary entry an object becomes
        std::string_view table;       // the table of a record
        bool listed = false;          // one of the copies PlanEntities asked for
        std::uint32_t made = kNone;
    };
    // A block of the target: one the clone makes, or one that entities go to or that stands for a
    // source block.
    struct Planned {
        std::string name;
        bool isNew = false;
        bool renamed = false;
        std::uint32_t recordJob = kNone, beginJob = kNone, endJob = kNone;
        std::uint32_t target = kNone;  // its index among the target's blocks, once it exists
        // Where its next entity goes, once known.
        std::uint32_t last = kNone, parent = kNone;
        SectionKind section = SectionKind::Blocks;
        bool paper = false;
        bool placed = false;
    };
    // A dictionary entry for a copied object: a path below the named object dictionary, or
    // the dictionary the mapping gives for the object's owner.
    struct Entry {
        Handle sourceOwner = 0;
        bool named = false;             // below the named object dictionary by `path`
        std::vector<std::string> path;  // the dictionaries' names from the root down
        std::string name;
        Dictionary dict;
    };

    Impl(Database& s, Database& t, IdMapping& m)
        : src(s), tgt(t), map(m), seedAtStart(t.handSeed_) {}

    Database& src;
    Database& tgt;
    IdMapping& map;
    const Handle seedAtStart;
    std::vector<Job> jobs;
    std::size_t scanned = 0;
    std::vector<Planned> blocks;
    std::unordered_map<Handle, std::uint32_t> plannedOf;  // source block handle -> planned block
    std::vector<Entry> entries;
    std::unordered_map<std::string_view, std::unordered_map<std::string, Handle>> targetNames;
    std::unordered_map<std::string_view, std::unordered_map<std::string, std::uint32_t>>
        sourceNames;
    std::unordered_map<std::string, long long> nextAnonymous;        // by prefix: "*U", "*D"...
    std::unordered_map<std::uint32_t, std::uint32_t> blockOfRecord;  // source BLOCK_RECORD -> block
    std::vector<std::string> apps;     // applications the source names without an APPID record
    std::vector<Handle> assigned;      // source handles this plan added to the mapping
    std::uint32_t spaceBlock = kNone;  // the planned block of PlanEntities
    std::string error;
    EntityEdit edit;

    // ---- Planning

    void Assign(Handle source, Handle target, bool cloned) {
        if (!map.Contains(source))
            assigned.push_back(source);
        map.Assign(source, target, cloned);
    }

    void Fail(std::string message) {
        if (error.empty())
            error = std::move(message);
    }

    std::uint32_t AddJob(std::uint32_t rec, Kind kind) {
        const Handle handle = tgt.handSeed_++;
        if (const Handle own = src.records_[rec].handle)
            Assign(own, handle, true);
        if (kind == Kind::Entity || kind == Kind::SubEntity) {
            const std::string type = src.TypeOf(rec);
            if (ReleaseOfType(type) > tgt.Release())
                Fail(fmt::format("{} {} cannot go into {}: {} drawings have no {} entities", type,
                                 HandleText(src.records_[rec].handle), tgt.FileName(),
                                 tgt.Version(), type));
        }
        Job job;
        job.source = rec;
        job.handle = handle;
        job.kind = kind;
        jobs.push_back(job);
        return static_cast<std::uint32_t>(jobs.size() - 1);
    }

    std::uint32_t PlanEntity(std::uint32_t rec, std::uint32_t block) {
        const std::uint32_t job = AddJob(rec, Kind::Entity);
        jobs[job].block = block;
        const auto& records = src.records_;
        for (std::uint32_t k = records[rec].next; k != kNone && records[k].parent == rec;
             k = records[k].next) {
            const std::uint32_t sub = AddJob(k, Kind::SubEntity);
            jobs[sub].block = block;
            jobs[sub].owner = job;
        }
        return job;
    }

    std::uint32_t AddPlanned(Planned planned, Handle sourceKey) {
        blocks.push_back(std::move(planned));
        const auto index = static_cast<std::uint32_t>(blocks.size() - 1);
        if (sourceKey)
            plannedOf.emplace(sourceKey, index);
        return index;
    }

    // A new name for an anonymous block: its prefix ("*U" of "*U12") and the next number no
    // target block of that prefix has.
    std::string AnonymousName(std::string_view name) {
        std::size_t digits = name.size();
        while (digits > 1 && name[digits - 1] >= '0' && name[digits - 1] <= '9')
            --digits;
        std::string prefix = base::FoldCase(name.substr(0, digits));
        auto [it, fresh] = nextAnonymous.emplace(prefix, 1);
        if (fresh) {
            for (const BlockRecord& b : tgt.Blocks()) {
                const std::string folded = base::FoldCase(b.Name());
                if (folded.size() <= prefix.size() || folded.compare(0, prefix.size(), prefix) != 0)
                    continue;
                long long n = 0;
                bool number = true;
                for (std::size_t k = prefix.size(); k < folded.size() && number; ++k) {
                    number = folded[k] >= '0' && folded[k] <= '9' && n < 1'000'000'000'000LL;
                    n = n * 10 + (folded[k] - '0');
                }
                if (number)
                    it->second = std::max(it->second, n + 1);
            }
        }
        return std::string(name.substr(0, digits)) + std::to_string(it->second++);
    }

    // The target block that stands for `block`, planned as a copy when `clone` allows and the
    // target has none of its name; its handle (the BLOCK's in R12), 0 when there is none.
    Handle ResolveBlock(const BlockRecord& block, bool clone) {
        const Handle key = block.GetHandle();
        if (key && map.Contains(key))
            return map.Lookup(key);
        const std::string name = block.Name();
        if (&src == &tgt) {
            // Within one drawing every block is its own match, anonymous ones too: copies of
            // references show the same block.
            Planned same;
            same.name = name;
            same.target = block.Index();
            AddPlanned(std::move(same), key);
            if (key)
                Assign(key, key, false);
            return key;
        }
        if (block.IsLayout()) {
            // Layouts are never copied: a pointer at one means the target's of that name.
            BlockRecord layout = block.IsModelSpace() ? tgt.ModelSpace() : tgt.FindBlock(name);
            if (key && layout && layout.GetHandle())
                Assign(key, layout.GetHandle(), false);
            return layout ? layout.GetHandle() : 0;
        }
        const bool anonymous = !name.empty() && name[0] == '*';
        if (!anonymous) {
            if (BlockRecord existing = tgt.FindBlock(name)) {
                if (key)
                    Assign(key, existing.GetHandle(), false);
                const auto& from = src.blocks_[block.Index()];
                const auto& to = tgt.blocks_[existing.Index()];
                if (from.begin != kNone && to.begin != kNone)
                    Assign(src.records_[from.begin].handle, tgt.records_[to.begin].handle, false);
                if (from.end != kNone && to.end != kNone)
                    Assign(src.records_[from.end].handle, tgt.records_[to.end].handle, false);
                Planned matched;
                matched.name = existing.Name();
                matched.target = existing.Index();
                AddPlanned(std::move(matched), key);
                return existing.GetHandle();
            }
        }
        if (!clone)
            return 0;
        const auto& info = src.blocks_[block.Index()];
        const bool withRecord = tgt.Release() >= 1012;
        if (info.begin == kNone || info.end == kNone || (withRecord && info.record == kNone)) {
            Fail(fmt::format(
                "block \"{}\" of {} cannot be copied: it has no {}", name, src.FileName(),
                info.record == kNone && withRecord ? "block record" : "BLOCK and ENDBLK"));
            return 0;
        }
        Planned planned;
        planned.name = anonymous ? AnonymousName(name) : name;
        planned.renamed = planned.name != name;
        planned.isNew = true;
        const std::uint32_t index = AddPlanned(std::move(planned), key);
        if (withRecord) {
            blocks[index].recordJob = AddJob(info.record, Kind::BlockRecord);
            jobs[blocks[index].recordJob].table = "BLOCK_RECORD";
            jobs[blocks[index].recordJob].block = index;
        }
        blocks[index].beginJob = AddJob(info.begin, Kind::BlockBegin);
        blocks[index].endJob = AddJob(info.end, Kind::BlockEnd);
        jobs[blocks[index].beginJob].block = jobs[blocks[index].endJob].block = index;
        for (const Entity& e : block.Entities())
            PlanEntity(e.Index(), index);
        return jobs[withRecord ? blocks[index].recordJob : blocks[index].beginJob].handle;
    }

    BlockRecord SourceBlockOfRecord(std::uint32_t rec) {
        if (blockOfRecord.empty())
            for (std::uint32_t b = 0; b < src.blocks_.size(); ++b)
                if (!src.blocks_[b].erased && src.blocks_[b].record != kNone)
                    blockOfRecord.emplace(src.blocks_[b].record, b);
        auto it = blockOfRecord.find(rec);
        return it == blockOfRecord.end() ? BlockRecord() : BlockRecord(&src, it->second);
    }

    // Records are matched by name; shape-file STYLE records have none and go by their file.
    static std::string SymbolKey(Database& db, std::uint32_t rec, std::string_view table) {
        Object record(&db, rec);
        std::string name = record.GetText(2);
        if (name.empty() && table == "STYLE")
            return "\x01" + base::FoldCase(record.GetText(3));
        return base::FoldCase(name);
    }

    std::unordered_map<std::string, Handle>& TargetNames(std::string_view table) {
        auto [it, fresh] = targetNames.try_emplace(table);
        if (fresh)
            for (const SymbolRecord& r : tgt.TableRecords(table))
                it->second.emplace(SymbolKey(tgt, r.Index(), table), r.GetHandle());
        return it->second;
    }

    std::unordered_map<std::string, std::uint32_t>& SourceNames(std::string_view table) {
        auto [it, fresh] = sourceNames.try_emplace(table);
        if (fresh)
            for (const SymbolRecord& r : src.TableRecords(table))
                it->second.emplace(SymbolKey(src, r.Index(), table), r.Index());
        return it->second;
    }

    Handle ResolveSymbol(std::string_view table, std::uint32_t rec, bool clone) {
        auto& names = TargetNames(table);
        const std::string key = SymbolKey(src, rec, table);
        const Handle handle = src.records_[rec].handle;
        if (auto it = names.find(key); it != names.end()) {
            Assign(handle, it->second, false);
            return it->second;
        }
        if (!clone)
            return 0;
        const std::uint32_t job = AddJob(rec, Kind::TableRecord);
        jobs[job].table = table;
        names.emplace(key, jobs[job].handle);
        return jobs[job].handle;
    }

    // A name in an object's data: the record or block it names comes along unless the target
    // has one of that name.
    void NeedName(std::string_view table, std::string_view name) {
        if (name.empty())
            return;
        if (table == "BLOCK") {
            if (BlockRecord block = src.FindBlock(name))
                ResolveBlock(block, true);
            return;
        }
        auto& sources = SourceNames(table);
        auto it = sources.find(base::FoldCase(name));
        if (it == sources.end())
            return;  // the source lacks it too: the name stays as it is
        if (!map.Contains(src.records_[it->second].handle))
            ResolveSymbol(table, it->second, true);
    }

    void NeedApp(std::string_view name) {
        auto& sources = SourceNames("APPID");
        auto it = sources.find(base::FoldCase(name));
        if (it != sources.end()) {
            if (!map.Contains(src.records_[it->second].handle))
                ResolveSymbol("APPID", it->second, true);
            return;
        }
        if (!TargetNames("APPID").count(base::FoldCase(name)) &&
            std::find(apps.begin(), apps.end(), name) == apps.end())
            apps.emplace_back(name);
    }

    static std::string EntryName(const Dictionary& dict, Handle handle) {
        for (const auto& [name, h] : dict.Entries())
            if (h == handle)
                return name;
        return {};
    }

    static bool IsDictionary(const Object& o) {
        const std::string type = o.Type();
        return type == "DICTIONARY" || type == "ACDBDICTIONARYWDFLT";
    }

    // The entry names from the named object dictionary down to `rec`, for an object that hangs
    // below it by dictionaries only (materials, styles, plot style names...).
    bool NamedPath(std::uint32_t rec, std::vector<std::string>& path) {
        const Handle root = src.NamedObjects().GetHandle();
        if (!root)
            return false;
        Object cur(&src, rec);
        for (int depth = 0; depth < 32; ++depth) {
            Object owner = src.ObjectByHandle(cur.OwnerHandle());
            if (!owner || !IsDictionary(owner))
                return false;
            std::string name = EntryName(Dictionary(&src, owner.Index()), cur.GetHandle());
            if (name.empty())
                return false;
            path.insert(path.begin(), std::move(name));
            if (owner.GetHandle() == root)
                return true;
            cur = owner;
        }
        return false;
    }

    Handle ResolveNamed(std::uint32_t rec, bool clone) {
        std::vector<std::string> path;
        if (!NamedPath(rec, path))
            return 0;
        Object found = tgt.NamedObjects();
        for (std::size_t k = 0; k < path.size() && found; ++k)
            found = Dictionary(&tgt, found.Index()).Get(path[k]);
        const Handle handle = src.records_[rec].handle;
        if (found) {
            Assign(handle, found.GetHandle(), false);
            return found.GetHandle();
        }
        if (!clone)
            return 0;
        Entry entry;
        entry.sourceOwner = Object(&src, rec).OwnerHandle();
        entry.named = true;
        entry.name = path.back();
        path.pop_back();
        entry.path = std::move(path);
        entries.push_back(std::move(entry));
        const std::uint32_t job = AddJob(rec, Kind::Object);
        jobs[job].entry = static_cast<std::uint32_t>(entries.size() - 1);
        return jobs[job].handle;
    }

    // An object pointed at whose owner (or its owner's owner...) comes along: it belongs to the
    // copy, so it comes along with the owners between.
    bool PlanUnderClonedOwner(std::uint32_t rec) {
        std::vector<std::uint32_t> chain{rec};
        Object cur(&src, rec);
        for (int depth = 0;; ++depth) {
            const Handle owner = cur.OwnerHandle();
            if (!owner || depth == 32)
                return false;
            if (map.IsCloned(owner))
                break;
            if (map.Contains(owner))
                return false;
            const std::uint32_t r = src.Lookup(owner);
            if (r == kNone || src.records_[r].section != SectionKind::Objects)
                return false;
            chain.push_back(r);
            cur = Object(&src, r);
        }
        for (std::size_t k = chain.size(); k-- > 0;)
            if (!map.Contains(src.records_[chain[k]].handle))
                AddJob(chain[k], Kind::Object);
        return true;
    }

    // What the target has, or gets with `clone`, for the source object `rec`; 0 for nothing.
    Handle Resolve(std::uint32_t rec, bool clone) {
        const Handle handle = src.records_[rec].handle;
        if (map.Contains(handle))
            return map.Lookup(handle);
        const std::string type = src.TypeOf(rec);
        switch (src.records_[rec].section) {
            case SectionKind::Tables: {
                if (type == "BLOCK_RECORD") {
                    BlockRecord block = SourceBlockOfRecord(rec);
                    return block ? ResolveBlock(block, clone) : 0;
                }
                if (std::string_view table = SymbolTableOf(type); !table.empty())
                    return ResolveSymbol(table, rec, clone);
                if (type == "TABLE") {
                    const std::uint32_t table = tgt.FindTable(Object(&src, rec).GetText(2));
                    if (table == kNone || !tgt.records_[table].handle)
                        return 0;
                    Assign(handle, tgt.records_[table].handle, false);
                    return tgt.records_[table].handle;
                }
                return 0;
            }
            case SectionKind::Blocks:
            case SectionKind::Entities: {
                BlockRecord block;
                if (type == "BLOCK" || type == "ENDBLK") {
                    const std::uint32_t b =
                        src.BlockOfBegin(type == "BLOCK" ? rec : src.records_[rec].parent);
                    if (b != kNone)
                        block = BlockRecord(&src, b);
                } else {
                    block = Entity(&src, rec).OwnerBlock();
                }
                // An entity comes along with its block; one of a layout or of a block the
                // target has by name has nothing to stand for it.
                if (block && !block.IsLayout())
                    ResolveBlock(block, clone);
                return map.Lookup(handle);
            }
            case SectionKind::Objects: {
                if (Handle named = ResolveNamed(rec, clone))
                    return named;
                if (clone && PlanUnderClonedOwner(rec))
                    return map.Lookup(handle);
                return 0;
            }
            default:
                return 0;
        }
    }

    void PlanPointer(Handle h, PointerKind kind, Handle self) {
        if (h == 0 || map.Contains(h))
            return;
        const std::uint32_t rec = src.Lookup(h);
        if (rec == kNone)
            return;  // a pointer to nothing stays one: it reads as 0 in the copy
        const bool owner = kind == PointerKind::SoftOwner || kind == PointerKind::HardOwner;
        if (owner && src.records_[rec].section == SectionKind::Objects &&
            Object(&src, rec).OwnerHandle() == self) {
            AddJob(rec, Kind::Object);
            return;
        }
        if (kind == PointerKind::HardPointer || kind == PointerKind::HardOwner)
            Resolve(rec, true);
    }

    // The index of the object's own handle: the first 5 (105 on DIMSTYLE records) before any
    // subclass marker or extended data; npos when the file gave it none.
    static std::size_t OwnHandleIndex(const Database& db, std::uint32_t rec, bool dimstyle) {
        const int code = dimstyle ? 105 : 5;
        const std::size_t n = db.TagCount(rec);
        for (std::size_t i = 1; i < n; ++i) {
            const int c = db.CodeAt(rec, i);
            if (c == code)
                return i;
            if (c == 100 || c == 1001)
                break;
        }
        return npos;
    }

    static bool IsEntityJob(Kind kind) {
        return kind == Kind::Entity || kind == Kind::SubEntity || kind == Kind::BlockBegin ||
               kind == Kind::BlockEnd;
    }

    void Scan(std::uint32_t jobIndex) {
        const std::uint32_t rec = jobs[jobIndex].source;
        const bool entity = IsEntityJob(jobs[jobIndex].kind);
        const Handle self = src.records_[rec].handle;
        const std::string type = src.TypeOf(rec);
        const std::size_t n = src.TagCount(rec);
        const std::size_t own = OwnHandleIndex(src, rec, type == "DIMSTYLE");
        Group group = Group::None;
        bool embedded = false;
        std::string scratch;
        for (std::size_t i = 1; i < n; ++i) {
            const int code = src.CodeAt(rec, i);
            if (i == own)
                continue;
            if (code == 1001) {
                NeedApp(src.TextViewAt(rec, i, scratch));
                continue;
            }
            if (code >= 1000)
                continue;  // extended data: its 1005 is a soft pointer
            if (code == 102) {
                group = GroupOf(src.TextViewAt(rec, i, scratch));
                continue;
            }
            if (code == 101)
                embedded = true;
            const PointerKind kind = PointerKindOfCode(code);
            if (kind != PointerKind::None) {
                if (group != Group::Reactors && group != Group::BlockReferences)
                    PlanPointer(src.HandleAt(rec, i), kind, self);
                continue;
            }
            if (group != Group::None || embedded)
                continue;
            const std::string_view table = NamedTable(type, code, entity);
            if (!table.empty())
                NeedName(table, src.TextViewAt(rec, i, scratch));
        }
    }

    // ---- Making

    // A soft pointer: the copy or the target's record of that name, else 0 (itself within one
    // drawing).
    Handle TranslateSoft(Handle h) {
        if (h == 0)
            return 0;
        if (map.Contains(h))
            return map.Lookup(h);
        if (&src == &tgt)
            return h;  // within one drawing what stayed behind is still there
        const std::uint32_t rec = src.Lookup(h);
        return rec == kNone ? 0 : Resolve(rec, false);
    }

    // The name a block name in the source becomes: its new name when an anonymous block was
    // copied, else as it stands.
    std::string_view TargetBlockName(std::string_view name) {
        BlockRecord block = src.FindBlock(name);
        if (!block)
            return name;
        auto it = plannedOf.find(block.GetHandle());
        return it != plannedOf.end() && blocks[it->second].renamed
                   ? std::string_view(blocks[it->second].name)
                   : name;
    }

    // The (331 entity, 5 sort handle) pairs of a copied draw-order table: the entities that came
    // along, in the order the source draws them.
    TagList SortPairs(Handle sourceBlockRecord) {
        TagList out;
        const std::uint32_t rec = src.Lookup(sourceBlockRecord);
        BlockRecord block = rec == kNone ? BlockRecord() : SourceBlockOfRecord(rec);
        if (!block)
            return out;
        std::vector<Handle> copies;
        for (const Entity& e : EntitiesInDrawOrder(block))
            if (map.IsCloned(e.GetHandle()))
                copies.push_back(map.Lookup(e.GetHandle()));
        std::vector<Handle> sorted = copies;
        std::sort(sorted.begin(), sorted.end());
        std::unordered_map<Handle, Handle> sortHandle;
        for (std::size_t k = 0; k < copies.size(); ++k)
            sortHandle.emplace(copies[k], sorted[k]);
        std::unordered_set<Handle> written;
        auto write = [&](Handle copy) {
            out.push_back({331, HandleText(copy)});
            out.push_back({5, HandleText(sortHandle[copy])});
            written.insert(copy);
        };
        for (const auto& [entity, sort] : DrawOrderPairs(block))
            if (map.IsCloned(entity))
                write(map.Lookup(entity));
        for (Handle copy : copies)
            if (!written.count(copy) && sortHandle[copy] != copy)
                write(copy);
        return out;
    }

    TagList Translate(const Job& job) {
        const std::uint32_t rec = job.source;
        const std::string type = src.TypeOf(rec);
        const bool dimstyle = type == "DIMSTYLE";
        const std::size_t n = src.TagCount(rec);
        const std::size_t own = OwnHandleIndex(src, rec, dimstyle);
        const bool entity = IsEntityJob(job.kind);
        const bool renamedBlock = (job.kind == Kind::BlockRecord || job.kind == Kind::BlockBegin) &&
                                  blocks[job.block].renamed;
        const bool sortents = type == "SORTENTSTABLE";
        TagList out;
        out.reserve(n + 2);
        out.push_back({0, type});
        if (own == npos)
            out.push_back({dimstyle ? 105 : 5, HandleText(job.handle)});
        Group group = Group::None;
        std::size_t groupStart = 0;
        bool xdata = false, embedded = false, sortData = false, pairsWritten = false;
        std::string scratch;
        for (std::size_t i = 1; i < n; ++i) {
            const int code = src.CodeAt(rec, i);
            if (i == own) {
                out.push_back({code, HandleText(job.handle)});
                continue;
            }
            xdata = xdata || code == 1001;
            if (xdata) {
                if (code == 1005)
                    out.push_back({code, HandleText(TranslateSoft(src.HandleAt(rec, i)))});
                else
                    out.push_back({code, std::string(src.TextViewAt(rec, i, scratch))});
                continue;
            }
            if (code == 102) {
                const std::string_view text = src.TextViewAt(rec, i, scratch);
                const Group opened = GroupOf(text);
                if (opened == Group::None && group != Group::None && out.size() == groupStart + 1) {
                    out.pop_back();  // a group left empty goes
                    group = Group::None;
                    continue;
                }
                group = opened;
                groupStart = out.size();
                out.push_back({code, std::string(text)});
                continue;
            }
            embedded = embedded || code == 101;
            if (sortData && !embedded && (code == 331 || code == 5))
                continue;
            const PointerKind kind = PointerKindOfCode(code);
            if (kind != PointerKind::None && kind != PointerKind::Arbitrary) {
                const Handle h = src.HandleAt(rec, i);
                if (group == Group::Reactors || group == Group::BlockReferences) {
                    if (map.Contains(h) && map.Lookup(h))
                        out.push_back({code, HandleText(map.Lookup(h))});
                    continue;
                }
                out.push_back({code, HandleText(TranslateSoft(h))});
                if (sortents && code == 330 && sortData && !pairsWritten) {
                    for (Tag& t : SortPairs(h))
                        out.push_back(std::move(t));
                    pairsWritten = true;
                }
                continue;
            }
            std::string_view text = src.TextViewAt(rec, i, scratch);
            if (sortents && code == 100)
                sortData = text == "AcDbSortentsTable";
            if (group == Group::None && !embedded) {
                if (renamedBlock && (code == 2 || (code == 3 && job.kind == Kind::BlockBegin)))
                    text = blocks[job.block].name;
                else if (entity && code == 2 && NamedTable(type, code, true) == "BLOCK")
                    text = TargetBlockName(text);
            }
            out.push_back({code, std::string(text)});
        }
        return out;
    }

    // Entities of paper space carry 67 = 1; those of model space and blocks don't.
    static void SetSpaceFlag(TagList& tags, bool paper) {
        std::size_t at = npos, entityData = npos;
        for (std::size_t i = 1; i < tags.size() && tags[i].code != 1001 && tags[i].code != 101;
             ++i) {
            if (tags[i].code == 67)
                at = i;
            if (tags[i].code == 100 && tags[i].value == "AcDbEntity")
                entityData = i + 1;
        }
        if (paper) {
            if (at != npos)
                tags[at].value = "1";
            else
                tags.insert(
                    tags.begin() + static_cast<std::ptrdiff_t>(entityData != npos ? entityData : 2),
                    Tag{67, "1"});
        } else if (at != npos && tags[at].value != "0") {
            tags.erase(tags.begin() + static_cast<std::ptrdiff_t>(at));
        }
    }

    void Place(Planned& p) {
        if (p.placed)
            return;
        p.placed = true;
        BlockRecord space(&tgt, p.target);
        p.paper = space.IsPaperSpace();
        const std::string name = space.Name();
        const bool active = space.IsModelSpace() || base::EqualNoCase(name, "*Paper_Space") ||
                            base::EqualNoCase(name, "$PAPER_SPACE");
        if (active) {
            // The active spaces keep their entities in the ENTITIES section.
            const std::uint32_t section = tgt.EnsureSection(SectionKind::Entities);
            p.section = SectionKind::Entities;
            p.parent = section;
            p.last = tgt.records_[tgt.SectionEnd(section)].prev;
        } else {
            const auto& info = tgt.blocks_[p.target];
            p.section = SectionKind::Blocks;
            p.parent = info.begin;
            p.last = tgt.records_[info.end].prev;
        }
    }

    void ResolveEntries() {
        for (Entry& entry : entries) {
            if (!entry.named) {
                Object owner = tgt.ObjectByHandle(map.Lookup(entry.sourceOwner));
                if (owner)
                    entry.dict = Dictionary(&tgt, owner.Index());
                continue;
            }
            Dictionary dict = tgt.NamedObjects();
            for (const std::string& name : entry.path) {
                if (!dict)
                    break;
                Object next = dict.Get(name);
                if (next) {
                    dict = Dictionary(&tgt, next.Index());
                } else {
                    auto made = dict.GetOrAddDictionary(name);
                    dict = made ? *made : Dictionary();
                }
            }
            entry.dict = dict;
            if (dict)
                Assign(entry.sourceOwner, dict.GetHandle(), false);
        }
    }

    // The CLASS records of a section, by the record type they define.
    static std::unordered_map<std::string, std::uint32_t> ClassesOf(Database& db) {
        std::unordered_map<std::string, std::uint32_t> out;
        const std::uint32_t section = db.SectionRecord(SectionKind::Classes);
        if (section == kNone)
            return out;
        for (std::uint32_t k = db.records_[section].next; k != kNone && !db.TypeIs(k, "ENDSEC");
             k = db.records_[k].next)
            if (db.TypeIs(k, "CLASS"))
                out.emplace(Object(&db, k).GetText(1), k);
        return out;
    }

    // Objects of a type that a CLASS record defines need that record in the target too: readers
    // that meet a type without one skip the object.
    void CopyClasses() {
        if (src.Release() < 1012 || &src == &tgt)
            return;
        const auto sourceClasses = ClassesOf(src);
        if (sourceClasses.empty())
            return;
        auto targetClasses = ClassesOf(tgt);
        std::uint32_t section = kNone, last = kNone;
        for (const Job& job : jobs) {
            const std::string type = src.TypeOf(job.source);
            auto it = sourceClasses.find(type);
            if (it == sourceClasses.end() || !targetClasses.emplace(type, kNone).second)
                continue;
            if (section == kNone) {
                section = tgt.EnsureSection(SectionKind::Classes);
                last = tgt.records_[tgt.SectionEnd(section)].prev;
            }
            TagList tags = src.TagsOf(it->second);
            tags.insert(tags.begin(), Tag{0, "CLASS"});
            last = tgt.NewRecord(tags, last, SectionKind::Classes, section);
        }
    }

    void Make(std::vector<Entity>& copies) {
        ResolveEntries();
        std::vector<TagList> tags(jobs.size());
        for (std::size_t j = 0; j < jobs.size(); ++j) {
            const Job& job = jobs[j];
            tags[j] = Translate(job);
            if (job.kind != Kind::Entity && job.kind != Kind::SubEntity)
                continue;
            Planned& p = blocks[job.block];
            if (!p.isNew)
                Place(p);
            SetSpaceFlag(tags[j], p.paper);
            if (edit)
                edit(Entity(&src, job.source), tags[j]);
        }

        // Table records, the records of new blocks among them, at the end of their tables.
        std::unordered_map<std::string_view, std::pair<std::uint32_t, std::uint32_t>>
            tables;  // table, last
        for (std::size_t j = 0; j < jobs.size(); ++j) {
            Job& job = jobs[j];
            if (job.kind != Kind::TableRecord && job.kind != Kind::BlockRecord)
                continue;
            auto [it, fresh] = tables.try_emplace(job.table);
            if (fresh) {
                it->second.first = tgt.EnsureTable(job.table);
                it->second.second = tgt.LastInTable(it->second.first);
            }
            job.made =
                tgt.NewRecord(tags[j], it->second.second, SectionKind::Tables, it->second.first);
            it->second.second = job.made;
        }

        // New blocks at the end of the BLOCKS section.
        std::uint32_t blocksSection = kNone, blocksEnd = kNone;
        for (Planned& p : blocks) {
            if (!p.isNew)
                continue;
            if (blocksSection == kNone) {
                blocksSection = tgt.EnsureSection(SectionKind::Blocks);
                blocksEnd = tgt.SectionEnd(blocksSection);
            }
            Job& begin = jobs[p.beginJob];
            Job& end = jobs[p.endJob];
            begin.made = tgt.NewRecord(tags[p.beginJob], tgt.records_[blocksEnd].prev,
                                       SectionKind::Blocks, blocksSection);
            end.made = tgt.NewRecord(tags[p.endJob], begin.made, SectionKind::Blocks, begin.made);
            const std::uint32_t record = p.recordJob != kNone ? jobs[p.recordJob].made : kNone;
            tgt.blocks_.push_back(Database::BlockInfo{record, begin.made, end.made, false});
            ++tgt.blockNamesChanges_;
            p.target = static_cast<std::uint32_t>(tgt.blocks_.size() - 1);
            p.section = SectionKind::Blocks;
            p.parent = p.last = begin.made;
            p.placed = true;
        }

        // Entities in order, each sub-entity right after its owner's.
        for (std::size_t j = 0; j < jobs.size(); ++j) {
            Job& job = jobs[j];
            if (job.kind != Kind::Entity && job.kind != Kind::SubEntity)
                continue;
            Planned& p = blocks[job.block];
            const std::uint32_t parent = job.kind == Kind::Entity ? p.parent : jobs[job.owner].made;
            job.made = tgt.NewRecord(tags[j], p.last, p.section, parent);
            p.last = job.made;
            if (job.listed)
                copies.emplace_back(&tgt, job.made);
        }

        // Objects at the end of the OBJECTS section, entered in their dictionaries.
        std::uint32_t objectsSection = kNone, objectsEnd = kNone;
        for (std::size_t j = 0; j < jobs.size(); ++j) {
            Job& job = jobs[j];
            if (job.kind != Kind::Object)
                continue;
            if (objectsSection == kNone) {
                objectsSection = tgt.EnsureSection(SectionKind::Objects);
                objectsEnd = tgt.SectionEnd(objectsSection);
            }
            job.made = tgt.NewRecord(tags[j], tgt.records_[objectsEnd].prev, SectionKind::Objects,
                                     objectsSection);
            if (job.entry != kNone && entries[job.entry].dict)
                entries[job.entry].dict.SetAt(entries[job.entry].name, Object(&tgt, job.made));
        }

        CopyClasses();
        for (const std::string& app : apps)
            tgt.RegisterApp(app);
        for (const auto& [table, at] : tables)
            tgt.RaiseTableCount(at.first, table);
        tgt.SyncHandSeed();
    }
};

DeepCloner::DeepCloner(Database& source, Database& target, IdMapping& mapping)
    : impl_(std::make_unique<Impl>(source, target, mapping)) {}

DeepCloner::~DeepCloner() = default;

void DeepCloner::PlanBlock(const BlockRecord& block) {
    if (!block || block.GetDatabase() != &impl_->src)
        return impl_->Fail("no block to copy");
    if (block.IsLayout())
        return impl_->Fail(
            fmt::format("\"{}\" is a layout, not a block: it cannot be copied", block.Name()));
    impl_->ResolveBlock(block, true);
}

void DeepCloner::PlanEntities(const std::vector<Entity>& entities) {
    Impl& impl = *impl_;
    if (impl.spaceBlock == kNone)
        impl.spaceBlock = impl.AddPlanned(Impl::Planned{}, 0);
    for (const Entity& e : entities)
        impl.jobs[impl.PlanEntity(e.Index(), impl.spaceBlock)].listed = true;
}

void DeepCloner::PlanObjectInto(const Object& object, std::string_view name) {
    Impl::Entry entry;
    entry.sourceOwner = object.OwnerHandle();
    entry.name = std::string(name);
    impl_->entries.push_back(std::move(entry));
    const std::uint32_t job = impl_->AddJob(object.Index(), Impl::Kind::Object);
    impl_->jobs[job].entry = static_cast<std::uint32_t>(impl_->entries.size() - 1);
}

void DeepCloner::SetEntityEdit(EntityEdit edit) {
    impl_->edit = std::move(edit);
}

base::Status DeepCloner::Check() {
    Impl& impl = *impl_;
    if (impl.src.Release() >= 1012 && impl.tgt.Release() < 1012)
        impl.Fail(fmt::format("{} ({}) cannot take objects of {} ({}): R12 has no place for them",
                              impl.tgt.FileName(), impl.tgt.Version(), impl.src.FileName(),
                              impl.src.Version()));
    while (impl.error.empty() && impl.scanned < impl.jobs.size())
        impl.Scan(static_cast<std::uint32_t>(impl.scanned++));
    if (impl.error.empty())
        return base::Status::Ok();
    impl.tgt.handSeed_ = impl.seedAtStart;
    for (Handle h : impl.assigned)
        impl.map.Erase(h);
    impl.assigned.clear();
    impl.jobs.clear();
    return base::Status::Error(impl.error);
}

void DeepCloner::Make(const BlockRecord& space) {
    Impl& impl = *impl_;
    if (impl.spaceBlock != kNone) {
        assert(space && space.GetDatabase() == &impl.tgt &&
               "copies of entities need a space of the target");
        impl.blocks[impl.spaceBlock].target = space.Index();
    }
    impl.Make(copies_);
}

base::Status DeepCloner::Run(const BlockRecord& space) {
    base::Status status = Check();
    if (status)
        Make(space);
    return status;
}

BlockRecord DeepCloner::TargetBlock(const BlockRecord& block) const {
    const Impl& impl = *impl_;
    if (auto it = impl.plannedOf.find(block.GetHandle()); it != impl.plannedOf.end())
        return impl.blocks[it->second].target == kNone
                   ? BlockRecord()
                   : BlockRecord(&impl.tgt, impl.blocks[it->second].target);
    // A block the mapping had before this cloner: the target block of its record or BLOCK.
    const std::uint32_t rec = impl.tgt.Lookup(impl.map.Lookup(block.GetHandle()));
    if (rec == kNone)
        return BlockRecord();
    for (std::uint32_t b = 0; b < impl.tgt.blocks_.size(); ++b) {
        const auto& info = impl.tgt.blocks_[b];
        if (!info.erased && (info.record == rec || info.begin == rec))
            return BlockRecord(&impl.tgt, b);
    }
    return BlockRecord();
}

}  // namespace cad
