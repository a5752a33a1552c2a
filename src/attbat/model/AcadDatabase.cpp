#include "attbat/model/AcadDatabase.h"

#include <algorithm>
#include <optional>
#include <set>
#include <span>
#include <unordered_map>

#include "arxutils/ArxUtils.h"
#include "attbat/model/ReferenceFields.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "cad/DynamicBlockReference.h"
#include "cad/BlockRecord.h"
#include "cad/SymbolRecord.h"
#include "cad/units/NearlyEqual.h"
#include "cad/units/UnitSettings.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/WorkingDatabase.h"

namespace attbat {

ObjectId SpaceIdOf(const cad::BlockRecord& space) {
    if (!space) return 0;
    cad::Handle handle = space.GetHandle();
    return handle ? handle : kHandlelessModelSpaceId;
}

namespace {

Point3d ToPoint(cad::Point3 p) { return {p.x, p.y, p.z}; }
Scale3d ToScale(cad::Point3 p) { return {p.x, p.y, p.z}; }

// How many references ahead of its reading a reference is asked for (cad::Object::Prefetch).
constexpr std::size_t kReadAhead = 4;

// A reference as one read of a database sees it: its fields read once, and the block it stands
// in. A drawing may have millions, all held until their rows are made: the block's name is where
// the reference is filed, and the layer is the read's one copy of its state.
struct CachedRef {
    cad::BlockReference ref;
    cad::BlockRecord owner;
    const AcadLayer* layer = nullptr;
    cad::Point3 position;
    cad::Point3 scale;
    double rotation = 0;
    bool visible = true;
};

// What one read of a database looks up again and again: references by block, layer states and
// owner names, each made once.
class ReadCache {
public:
    // Where a reference is kept: its block's list of DirectRefs and its place in it.
    struct Place {
        const std::vector<CachedRef>* refs;
        std::size_t index;
    };

    // Reads the references in the order of the file.
    explicit ReadCache(cad::Database& db) : db_(db) {
        // References of one block mostly follow each other: its list is looked up once a run.
        std::string lastName;
        std::vector<CachedRef>* refs = nullptr;
        for (const cad::BlockRecord& block : db.Blocks()) {
            const std::vector<cad::Entity> entities = block.Entities();
            for (std::size_t i = 0; i < entities.size(); ++i) {
                if (i + kReadAhead < entities.size()) entities[i + kReadAhead].Prefetch(256);
                const cad::Entity& entity = entities[i];
                // A drawing read for these passes gives back its pages behind each of them.
                db.HandBackBefore(entity.Index());
                if (!entity.IsA("INSERT") && !entity.IsA("MINSERT")) continue;
                cad::BlockReference ref(entity.GetDatabase(), entity.Index());
                ReferenceFields fields = ReadReferenceFields(ref);
                if (!refs || fields.blockName != lastName) {
                    lastName = fields.blockName;
                    refs = &refsByBlock_[base::FoldCase(lastName)];
                }
                order_.push_back({refs, refs->size()});
                refs->push_back(CachedRef{ref, ref.OwnerBlock(), &Layer(fields.layerName),
                                          fields.position, fields.scale, fields.rotation,
                                          fields.visible});
            }
        }
    }

    // Every reference in the order they were read, which is the file's.
    const std::vector<Place>& InFileOrder() const { return order_; }

    // The references of `block` that stand directly in a space or block.
    const std::vector<CachedRef>& DirectRefs(const cad::BlockRecord& block) {
        return DirectRefs(base::FoldCase(block.Name()));
    }
    const std::vector<CachedRef>& DirectRefs(const std::string& foldedName) {
        static const std::vector<CachedRef> none;
        auto it = refsByBlock_.find(foldedName);
        return it == refsByBlock_.end() ? none : it->second;
    }

    // How many instances `block` has in the layouts through every level of nesting: one per
    // chain of references from a layout down to it (saturating).
    std::uint64_t Instances(const cad::BlockRecord& block) { return Nesting(block).count; }
    // The layout of each of those instances, in the order of the references; empty when there
    // are more than kMaxScheduleRows.
    const std::vector<ObjectId>& LayoutOwners(const cad::BlockRecord& block) { return Nesting(block).owners; }

    // The state of a layer, read once; it stays in place as long as the cache.
    const AcadLayer& Layer(const std::string& name) {
        auto it = layers_.find(name);
        if (it != layers_.end()) return it->second;
        arxutils::LayerState state;
        arxutils::ReadLayerState(name, state, db_);
        return layers_.try_emplace(name, name, state.frozen, state.off, state.locked).first->second;
    }

    std::string OwnerName(ObjectId id, const cad::BlockRecord& space) {
        auto it = ownerNames_.find(id);
        if (it != ownerNames_.end()) return it->second;
        return ownerNames_.emplace(id, space.Name()).first->second;
    }

    // A layout's spaces by their id, so an owner list of ids gives names back.
    void NoteSpace(const cad::BlockRecord& space) { OwnerName(SpaceIdOf(space), space); }

    // Whether a block record is a layout, asked once per record. Most references stand in a
    // few spaces, so the last answer is tried first.
    bool IsLayout(const cad::BlockRecord& record) {
        if (lastLayoutAsked_.first == record) return lastLayoutAsked_.second;
        auto [it, fresh] = layouts_.try_emplace(record.GetHandle(), false);
        if (fresh || !record.GetHandle()) it->second = record.IsLayout();
        lastLayoutAsked_ = {record, it->second};
        return it->second;
    }

private:
    struct Nest {
        std::uint64_t count = 0;
        std::vector<ObjectId> owners;
        bool done = false;  // false while its outer blocks are walked: met again, it is a cycle
    };
    Nest& Nesting(const cad::BlockRecord& block);

    cad::Database& db_;
    std::unordered_map<std::string, std::vector<CachedRef>> refsByBlock_;
    std::vector<Place> order_;
    std::unordered_map<std::string, AcadLayer> layers_;
    std::unordered_map<ObjectId, std::string> ownerNames_;
    std::unordered_map<cad::Handle, bool> layouts_;
    std::pair<cad::BlockRecord, bool> lastLayoutAsked_;
    std::unordered_map<std::string, Nest> nests_;  // by folded block name
    std::set<std::string> cycles_;                  // blocks whose cycle was told
};

// The outer instances of a block are those of the blocks its references stand in, found once
// per block, outermost first, with a stack of its own: a chain of 100,000 blocks is walked in
// linear time, and 20 levels that each insert the next twice cost the million instances they
// have, not the paths to them again and again.
ReadCache::Nest& ReadCache::Nesting(const cad::BlockRecord& block) {
    std::string key = base::FoldCase(block.Name());
    if (auto known = nests_.find(key); known != nests_.end() && known->second.done) return known->second;
    struct Frame {
        cad::BlockRecord record;
        std::string key;
        std::size_t next = 0;
    };
    nests_.try_emplace(key);
    std::vector<Frame> stack;
    stack.push_back({block, key});
    while (!stack.empty()) {
        const std::vector<CachedRef>& refs = DirectRefs(stack.back().key);
        if (stack.back().next < refs.size()) {
            const cad::BlockRecord& owner = refs[stack.back().next++].owner;
            if (!owner || IsLayout(owner)) continue;
            std::string ownerKey = base::FoldCase(owner.Name());
            auto [it, fresh] = nests_.try_emplace(ownerKey);
            if (fresh) {
                stack.push_back({owner, std::move(ownerKey)});
            } else if (!it->second.done && cycles_.insert(ownerKey).second) {
                host::Printf("\nThe block \"%s\" inserts itself through other blocks; its references "
                             "within that chain are left out.", owner.Name());
            }
            continue;
        }
        Nest& nest = nests_[stack.back().key];
        for (const CachedRef& outer : refs) {
            const cad::BlockRecord& owner = outer.owner;
            if (!owner) continue;
            std::uint64_t count = 1;
            const std::vector<ObjectId>* ids = nullptr;
            ObjectId space = 0;
            if (IsLayout(owner)) {
                NoteSpace(owner);
                space = SpaceIdOf(owner);
            } else {
                const Nest& inner = nests_[base::FoldCase(owner.Name())];
                if (!inner.done) continue;  // the cycle's way back in
                count = inner.count;
                ids = &inner.owners;
            }
            nest.count = nest.count > UINT64_MAX - count ? UINT64_MAX : nest.count + count;
            if (nest.count > kMaxScheduleRows) continue;
            if (ids) nest.owners.insert(nest.owners.end(), ids->begin(), ids->end());
            else nest.owners.push_back(space);
        }
        if (nest.count > kMaxScheduleRows) nest.owners = {};
        nest.done = true;
        stack.pop_back();
    }
    return nests_[key];
}

AcadAttributeDef DefinitionOf(const cad::AttributeBase& def, std::string prompt) {
    AcadAttributeDef out(def.Tag(), std::move(prompt), ToPoint(def.Position()), def.IsConstant(),
                         def.IsInvisible(), def.IsPreset(), def.IsVerifiable(), 0);
    return out;
}

void LoadDefinitions(AcadBlock& block, const cad::BlockRecord& record) {
    for (const cad::AttributeDefinition& def : record.AttributeDefinitions()) {
        AcadAttributeDef column = DefinitionOf(def, def.Prompt());
        if (def.IsConstant()) column.defaultValue = def.DefaultValue();
        block.defs.AddSorted(std::move(column));
    }
}

AcadBlock MakeBlock(const cad::BlockRecord& record, std::string_view name, bool isXref) {
    return AcadBlock(std::string(name), record.Name(), record.HasAttributeDefinitions(),
                     record.IsAnonymous(), isXref, record.IsOverlay(), record.IsLayout(),
                     record.IsUnloaded());
}

// base::Trim of `text`, without a copy for the usual value that starts and ends with a
// character no trimming takes (an ASCII one that isn't white space).
std::string Trimmed(std::string text) {
    auto kept = [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x80 && byte != ' ' && (byte < 0x09 || byte > 0x0D);
    };
    if (text.empty() || (kept(text.front()) && kept(text.back()))) return text;
    return base::Trim(text);
}

AcadAttribute AttributeOf(const cad::Attribute& attribute, bool plain) {
    AttributeFields fields = ReadAttributeFields(attribute, plain);
    AcadAttribute out;
    out.tag = std::move(fields.tag);
    out.value = Trimmed(std::move(fields.text));
    out.handle = attribute.GetHandle();
    out.constant = (fields.flags & 2) != 0;
    out.invisible = (fields.flags & 1) != 0;
    return out;
}

// The side of a read that stays the same for all its rows.
struct ReadContext {
    cad::Database& db;
    std::string name;
    const cad::BlockReference* xrefInsert;
    const PolygonList* polygons;
    cad::Matrix3d transform;
    cad::Handle ownerFilter = 0;
    int lunits;
    int aunits;
    ReadCache cache;
    std::set<std::string>* reading;  // files of the xref chain being read, against cycles
};

base::Status ReadXref(AcadBlockArray& blocks, const std::string& path,
                      const std::vector<cad::BlockReference>& inserts, const PolygonList* polygons,
                      std::set<std::string>& reading);

base::Status ReadDatabaseIn(AcadBlockArray& blocks, cad::Database& db, std::string_view name,
                            const cad::BlockReference* xrefInsert, const PolygonList* polygons,
                            std::set<std::string>& reading);

// The dynamic block an anonymous block record was copied from; a null view for any other.
cad::BlockRecord DynamicSourceOf(cad::Database& db, const cad::BlockRecord& record);
// AddDynamicProperties with the reference's dynamic block already found.
void AddDynamicPropertiesFrom(AcadBlock& block, const cad::BlockRecord& source,
                              const cad::BlockReference& reference, AcadBlockRef& row);

// The file an external reference names: its own path, relative to the host drawing's folder
// when not absolute, then its bare name beside the host drawing; a .dwg name is looked for as
// the .dxf drawing of the same name. "" when none exists.
std::string FindXrefFile(const std::string& xrefPath, const std::string& hostFile) {
    std::string path = base::ToNativeSeparators(xrefPath);
    std::string folder = base::Folder(hostFile);
    std::vector<std::string> candidates;
    auto addWithDxf = [&](const std::string& p) {
        candidates.push_back(p);
        if (base::EqualNoCase(base::Extension(p), ".dwg")) candidates.push_back(base::ReplaceExtension(p, ".dxf"));
    };
    addWithDxf(path);
    if (!path.empty() && path[0] != '/') addWithDxf(base::JoinPath(folder, path));
    addWithDxf(base::JoinPath(folder, base::FileName(path)));
    for (const std::string& candidate : candidates)
        if (!candidate.empty() && base::FileExists(candidate) && !base::IsDirectory(candidate)) return candidate;
    return {};
}

base::Status ReadExternalReference(AcadBlockArray& blocks, ReadContext& ctx, const cad::BlockRecord& record) {
    std::vector<cad::BlockReference> inserts;
    for (const CachedRef& insert : ctx.cache.DirectRefs(record)) inserts.push_back(insert.ref);
    std::string path = record.PathName();
    std::string file = record.IsUnloaded() ? std::string() : FindXrefFile(path, ctx.db.FileName());
    if (file.empty()) {
        host::Printf("\nThe Xref \"%s\" is not resolved.", path);
        return base::Status::Ok();
    }
    if (inserts.empty()) return base::Status::Ok();
    return ReadXref(blocks, file, inserts, ctx.polygons, *ctx.reading);
}

// One block's read under way: its rows gather as its references come, in file order.
struct BlockRead {
    AcadBlock block;
    // What is the same for every reference of the block, found once: the dynamic block it was
    // copied from and how many constant values each row gains.
    cad::BlockRecord source;
    int constants = 0;
};

BlockRead StartBlock(ReadContext& ctx, const cad::BlockRecord& record) {
    BlockRead read{MakeBlock(record, ctx.name, ctx.xrefInsert != nullptr), {}, 0};
    LoadDefinitions(read.block, record);
    const std::vector<CachedRef>& direct = ctx.cache.DirectRefs(record);
    if (!direct.empty()) read.source = DynamicSourceOf(ctx.db, ctx.db.FindBlock(record.Name()));
    for (const AcadAttributeDef& def : read.block.defs) read.constants += def.constant && def.kind == 0;
    read.block.refs.Reserve(static_cast<int>(direct.size()));
    return read;
}

// Adds the rows of `cached`, the `index`th of its block's DirectRefs: one, or one per outer
// instance of the block it stands in.
void ReadReference(BlockRead& read, ReadContext& ctx, const CachedRef& cached, std::size_t index) {
    AcadBlock& block = read.block;
    const cad::BlockReference& ref = cached.ref;
    if (ref.IsErased() || !cached.visible) return;
    const cad::BlockRecord& owner = cached.owner;
    if (!owner) return;
    // The layouts the rows stand in: the reference's own, or those of the outer instances.
    ObjectId space = 0;
    std::span<const ObjectId> owners(&space, 1);
    int topLevel = 1;
    if (ctx.cache.IsLayout(owner)) {
        ctx.cache.NoteSpace(owner);
        space = SpaceIdOf(owner);
    } else {
        topLevel = 0;
        owners = ctx.cache.LayoutOwners(owner);
        if (owners.empty()) return;
    }
    double area = ctx.xrefInsert ? OuterArea(ref, &ctx.transform, ctx.ownerFilter, *ctx.polygons)
                                 : OuterArea(ref, nullptr, 0, *ctx.polygons);
    AcadBlockRef row(ctx.name, ToPoint(cached.position), ToScale(cached.scale), *cached.layer,
                     cached.rotation, ref.HandleString(), topLevel, owners[0], ctx.lunits,
                     ctx.aunits, area);
    const std::vector<cad::Attribute> attributes = ref.Attributes();
    row.attributes.Reserve(static_cast<int>(attributes.size()) + read.constants);
    for (const cad::Attribute& attribute : attributes) {
        AcadAttribute value = AttributeOf(attribute, true);
        if (index == 0 && block.defs.IndexOfNoCase(value.tag) < 0)
            block.defs.AddSorted(DefinitionOf(attribute, std::string()));
        row.attributes.Add(std::move(value));
    }
    AddConstantAttributes(row, block.defs);
    AddDynamicPropertiesFrom(block, read.source, ref, row);
    NumberRepeatedTags(row);
    // A nested block counts once per outer instance; the last of its rows takes the values.
    for (std::size_t k = 0; k < owners.size(); ++k) {
        const ObjectId id = owners[k];
        row.ownerId = id;
        row.ownerName = ctx.cache.OwnerName(id, owner);
        if (k + 1 == owners.size()) block.refs.Add(std::move(row));
        else block.refs.Add(row);
    }
}

// The blocks of the database that are read as blocks, their rows made in one pass over the
// references in file order instead of block by block across the file: the drawing's bytes are
// read as they lie, and a drawing read through a map of its file could hand back its pages
// behind the reading.
std::vector<BlockRead> ReadBlocks(ReadContext& ctx);

// The blocks a read of the database gives rows for.
bool IsReadAsBlock(const cad::BlockRecord& record) {
    if (record.IsErased() || record.IsExternalReference()) return false;
    return !(record.IsLayout() || record.IsUnloaded() || record.IsOverlay() ||
             record.Name().find('|') != std::string::npos);
}

// Why a drawing whose nesting gives more rows than any schedule can take is refused; Ok when
// its rows fit. Counted before a row is made.
base::Status CheckRowCount(ReadContext& ctx) {
    std::uint64_t rows = 0, most = 0;
    std::string mostName;
    for (const cad::BlockRecord& record : ctx.db.Blocks()) {
        if (!IsReadAsBlock(record)) continue;
        std::uint64_t blockRows = 0;
        for (const CachedRef& cached : ctx.cache.DirectRefs(record)) {
            if (cached.ref.IsErased() || !cached.visible || !cached.owner) continue;
            std::uint64_t n = ctx.cache.IsLayout(cached.owner) ? 1 : ctx.cache.Instances(cached.owner);
            blockRows = blockRows > UINT64_MAX - n ? UINT64_MAX : blockRows + n;
        }
        rows = rows > UINT64_MAX - blockRows ? UINT64_MAX : rows + blockRows;
        if (blockRows > most) most = blockRows, mostName = record.Name();
    }
    if (rows <= kMaxScheduleRows) return base::Status::Ok();
    auto count = [](std::uint64_t n) {
        return n == UINT64_MAX ? std::string("more than 18446744073709551614") : std::to_string(n);
    };
    return base::Status::Error(base::Sprintf(
        "%s holds blocks nested so deep that its schedule would have %s rows, one for each "
        "instance of a block in a layout through every level of nesting (%s rows of the block "
        "\"%s\"); a schedule takes at most %s. Pick the outer blocks to export, or leave out "
        "the blocks nested in others.",
        ctx.name, count(rows), count(most), mostName, std::to_string(kMaxScheduleRows)));
}

base::Status ReadDatabaseIn(AcadBlockArray& blocks, cad::Database& db, std::string_view name,
                            const cad::BlockReference* xrefInsert, const PolygonList* polygons,
                            std::set<std::string>& reading) {
    std::optional<host::ScopedWorkingDatabase> working;
    if (!xrefInsert) working.emplace(&db);
    PolygonList own;
    cad::UnitSettings units = db.Units();
    ReadContext ctx{db, std::string(name), xrefInsert, polygons ? polygons : &own, {}, 0, units.lunits,
                    units.aunits, ReadCache(db), &reading};
    if (base::Status fits = CheckRowCount(ctx); !fits) return fits;
    if (!polygons && calcOuterPolygon) own = GatherPolygons(&db);
    if (xrefInsert) {
        ctx.transform = cad::BlockTransform(*xrefInsert);
        ctx.ownerFilter = xrefInsert->OwnerHandle();
    }
    // Blocks join the array in runs, as many at a time as the order of the block table allows:
    // an external reference adds its own blocks between them.
    std::vector<BlockRead> reads = ReadBlocks(ctx);
    std::size_t next = 0;
    std::vector<AcadBlock> run;
    for (const cad::BlockRecord& record : db.Blocks()) {
        if (!record.IsErased() && record.IsExternalReference()) {
            blocks.AddAllSorted(std::move(run));
            run.clear();
            if (base::Status xref = ReadExternalReference(blocks, ctx, record); !xref) return xref;
        } else if (IsReadAsBlock(record)) {
            run.push_back(std::move(reads[next++].block));
        }
    }
    blocks.AddAllSorted(std::move(run));
    return base::Status::Ok();
}

std::vector<BlockRead> ReadBlocks(ReadContext& ctx) {
    std::vector<BlockRead> reads;
    // By the blocks' DirectRefs: names that differ in case only share them.
    std::unordered_map<const std::vector<CachedRef>*, std::vector<std::size_t>> readsOf;
    for (const cad::BlockRecord& record : ctx.db.Blocks()) {
        if (!IsReadAsBlock(record)) continue;
        readsOf[&ctx.cache.DirectRefs(record)].push_back(reads.size());
        reads.push_back(StartBlock(ctx, record));
    }
    const std::vector<ReadCache::Place>& order = ctx.cache.InFileOrder();
    static const std::vector<std::size_t> none;
    const std::vector<CachedRef>* lastRefs = nullptr;
    const std::vector<std::size_t>* readers = &none;
    for (std::size_t k = 0; k < order.size(); ++k) {
        if (k + kReadAhead < order.size()) {
            const ReadCache::Place& ahead = order[k + kReadAhead];
            (*ahead.refs)[ahead.index].ref.Prefetch();
        }
        const ReadCache::Place& place = order[k];
        // Behind this pass too: the file's pages come in again, without a copy, as it reaches them.
        ctx.db.HandBackBefore((*place.refs)[place.index].ref.Index());
        if (place.refs != lastRefs) {
            lastRefs = place.refs;
            auto it = readsOf.find(place.refs);
            readers = it == readsOf.end() ? &none : &it->second;
        }
        const CachedRef& cached = (*place.refs)[place.index];
        for (std::size_t r : *readers) ReadReference(reads[r], ctx, cached, place.index);
    }
    // Appending and one stable sort give the order of inserting each row before the first lower one.
    for (BlockRead& done : reads) done.block.refs.SortTopDown();
    return reads;
}

base::Status ReadXref(AcadBlockArray& blocks, const std::string& path,
                      const std::vector<cad::BlockReference>& inserts, const PolygonList* polygons,
                      std::set<std::string>& reading) {
    std::string key = base::FoldCase(path);
    if (!reading.insert(key).second) return base::Status::Ok();  // an xref that refers back to a drawing being read
    base::Status read = base::Status::Ok();
    auto side = host::ReadSideDatabase(path);
    if (side) {
        for (const cad::BlockReference& insert : inserts) {
            read = ReadDatabaseIn(blocks, *side.Value(), path, &insert, polygons, reading);
            if (!read) break;
        }
    } else {
        host::Printf("\nThe Xref \"%s\" is not resolved.", path);
    }
    reading.erase(key);
    return read;
}

}  // namespace

base::Status ReadDatabase(AcadBlockArray& blocks, cad::Database& db, std::string_view name,
                          const cad::BlockReference* xrefInsert, const PolygonList* polygons) {
    std::set<std::string> reading{base::FoldCase(db.FileName())};
    return ReadDatabaseIn(blocks, db, name, xrefInsert, polygons, reading);
}

namespace {

// The drawing a read of `file` works on: the current document for an empty name or its own,
// else the file read on its own into `side`. `name` is what the blocks are said to come from.
base::Result<cad::Database*> DrawingToRead(std::string_view file, std::unique_ptr<cad::Database>& side,
                                           std::string& name) {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (file.empty() || (current && base::EqualNoCase(file, current->FileName()))) {
        if (!current) return base::Status::Error("There is no current drawing to read; give one with --drawing.");
        name = current->FileName();
        return &current->Database();
    }
    auto read = host::ReadSideDatabase(std::string(file));
    if (!read) return read.GetStatus();
    side = std::move(read.Value());
    name = std::string(file);
    return side.get();
}

}  // namespace

base::Status ReadDefinitions(AcadBlockArray& blocks, std::string_view file) {
    std::unique_ptr<cad::Database> side;
    std::string name;
    auto db = DrawingToRead(file, side, name);
    if (!db) return db.GetStatus();
    std::vector<AcadBlock> read;
    for (const cad::BlockRecord& record : db.Value()->Blocks()) {
        AcadBlock block = MakeBlock(record, name, false);
        LoadDefinitions(block, record);
        read.push_back(std::move(block));
    }
    blocks.AddAllSorted(std::move(read));
    return base::Status::Ok();
}

base::Status ReadDrawing(AcadBlockArray& blocks, std::string_view file, SettingsStore* settings) {
    std::unique_ptr<cad::Database> side;
    std::string name;
    auto reached = DrawingToRead(file, side, name);
    if (!reached) return reached.GetStatus();
    cad::Database* db = reached.Value();
    if (base::Status read = ReadDatabase(blocks, *db, name, nullptr, nullptr); !read) return read;
    if (!settings || settings->GetInt(kSettingsSection, "ExportBlocksInMLeader", 1) != 0) {
        host::ScopedWorkingDatabase working(db);
        ReadMLeadersOfDatabase(blocks, *db, name);
    }
    return base::Status::Ok();
}

void ReadMLeadersOfDatabase(AcadBlockArray& blocks, cad::Database& db, std::string_view name) {
    for (const cad::Entity& entity : db.Select({{0, "MULTILEADER"}}))
        ReadOneMLeader(blocks, cad::MLeader(entity.GetDatabase(), entity.Index()), name);
}

base::Status ReadOneMLeader(AcadBlockArray& blocks, const cad::MLeader& leader, std::string_view name) {
    if (leader.ContentType() != cad::MLeaderContentKind::Block)
        return base::Status::Error("603");  // eNotThatKindOfClass: no block content
    cad::BlockRecord content = leader.BlockContent();
    if (!content) return base::Status::Error("603");
    AcadBlock* block = blocks.FindByName(content.Name());
    if (!block) {
        AcadBlock made = MakeBlock(content, name, false);
        LoadDefinitions(made, content);
        blocks.AddSorted(std::move(made));
        block = blocks.FindByName(content.Name());
        if (!block) return base::Status::Error("603");
    }
    cad::Database& db = *leader.GetDatabase();
    arxutils::LayerState state;
    std::string layerName = leader.LayerName();
    arxutils::ReadLayerState(layerName, state, db);
    cad::BlockRecord space = leader.OwnerBlock();
    AcadBlockRef row(std::string(name), ToPoint(leader.BlockPosition()), ToScale(leader.BlockScale()),
                     AcadLayer(layerName, state.frozen, state.off, state.locked), 0.0,
                     leader.HandleString(), 1, SpaceIdOf(space), -1, -1, -1.0,
                     space ? space.Name() : std::string());
    for (const cad::AttributeDefinition& def : content.AttributeDefinitions()) {
        auto value = leader.GetBlockAttributeValue(def);
        if (!value) continue;
        AcadAttribute attribute(def.Tag(), value.Value(), 0);
        attribute.invisible = def.IsInvisible();
        attribute.constant = def.IsConstant();
        row.attributes.Add(std::move(attribute));
    }
    NumberRepeatedTags(row);
    block->refs.AddSorted(std::move(row));
    return base::Status::Ok();
}

namespace {

// A selection read's row: top level, units of the display, values as stored.
void AddRefFromEntity(AcadBlock& block, const cad::BlockReference& ref, bool sorted,
                      std::string_view name) {
    cad::Database& db = *ref.GetDatabase();
    arxutils::LayerState state;
    std::string layerName = ref.LayerName();
    arxutils::ReadLayerState(layerName, state, db);
    double area = calcOuterPolygon ? OuterAreaOf(ref, nullptr, 0) : -1.0;
    cad::BlockRecord space = ref.OwnerBlock();
    AcadBlockRef row(std::string(name), ToPoint(ref.WorldPosition()), ToScale(ref.ScaleFactors()),
                     AcadLayer(layerName, state.frozen, state.off, state.locked), ref.Rotation(),
                     ref.HandleString(), 1, SpaceIdOf(space), -1, -1, area,
                     space ? space.Name() : std::string());
    for (const cad::Attribute& attribute : ref.Attributes()) {
        AcadAttribute value = AttributeOf(attribute, false);
        AcadAttributeDef def = DefinitionOf(attribute, std::string());
        if (!block.defs.FindByTagAndKind(def)) block.defs.AddAppend(std::move(def));
        row.attributes.Add(std::move(value));
    }
    AddConstantAttributes(row, block.defs);
    AddDynamicProperties(block, ref, row);
    NumberRepeatedTags(row);
    if (sorted) block.refs.AddSorted(std::move(row));
    else block.refs.Add(std::move(row));
}

}  // namespace

bool ReferenceRowReader::Read(std::string_view handle, AcadBlockRef& row, bool withOuterArea) {
    const cad::Object object = arxutils::HandleToId(db_, handle);
    const std::string type = object.Type();
    if (type != "INSERT" && type != "MINSERT") return false;
    const cad::BlockReference reference(&db_, object.Index());
    const cad::BlockRecord record = reference.Block();
    auto [it, made] = blocks_.try_emplace(record ? record.Index() : cad::Database::kNone);
    AcadBlock& block = it->second;
    if (made && record) {
        block = MakeBlock(record, name_, false);
        LoadDefinitions(block, record);
    }
    AddRefFromEntity(block, reference, false, name_);
    row = std::move(block.refs[block.refs.GetUpperBound()]);
    block.refs.RemoveAll();
    if (withOuterArea && !calcOuterPolygon) row.outerArea = OuterAreaOf(reference, nullptr, 0);
    return true;
}

namespace {

bool SkippedForSelection(const cad::BlockRecord& record) {
    return !record || record.IsLayout() || record.IsUnloaded() || record.IsOverlay();
}

// Joins a selection's block to one of its name already read, or adds it.
void MergeBlock(AcadBlockArray& blocks, AcadBlock block) {
    AcadBlock* existing = block.isAnonymous ? nullptr : blocks.FindByName(block.name);
    if (!existing) {
        blocks.Add(std::move(block));
        return;
    }
    existing->refs.Append(block.refs);
    for (const AcadAttributeDef& def : block.defs)
        if (!existing->defs.FindByTagAndKind(def)) existing->defs.AddAppend(def);
}

// The blocks of the references directly inside `record`, each with that one reference, handed
// to `add`: a picked block shows the blocks nested in it.
template <class Add>
void ReadDirectlyNested(const cad::BlockRecord& record, std::string_view name, bool fromSelection,
                        Add add) {
    for (const cad::Entity& entity : record.Entities()) {
        if (entity.Type() != "INSERT") continue;
        cad::BlockReference nested(entity.GetDatabase(), entity.Index());
        cad::BlockRecord nestedRecord = nested.Block();
        if (SkippedForSelection(nestedRecord)) continue;
        AcadBlock inner = MakeBlock(nestedRecord, name, false);
        LoadDefinitions(inner, nestedRecord);
        AddRefFromEntity(inner, nested, fromSelection, name);
        add(std::move(inner));
    }
}

}  // namespace

void ReadSelection(AcadBlockArray& blocks, const std::vector<cad::BlockReference>& refs,
                   std::string_view name) {
    for (const cad::BlockReference& ref : refs) {
        if (!ref || ref.IsErased()) continue;
        cad::BlockRecord record = ref.Block();
        if (SkippedForSelection(record)) continue;
        AcadBlock block = MakeBlock(record, name, false);
        LoadDefinitions(block, record);
        AddRefFromEntity(block, ref, false, name);
        MergeBlock(blocks, std::move(block));
        ReadDirectlyNested(record, name, false,
                           [&](AcadBlock inner) { MergeBlock(blocks, std::move(inner)); });
    }
}

void ReadBlocksWithRefs(AcadBlockArray& blocks, const std::vector<cad::BlockRecord>& blockIds,
                        const std::vector<cad::BlockReference>& refIds, std::string_view name) {
    for (const cad::BlockRecord& record : blockIds) {
        if (SkippedForSelection(record)) continue;
        AcadBlock block = MakeBlock(record, name, false);
        LoadDefinitions(block, record);
        for (const cad::BlockReference& ref : refIds)
            if (!ref.IsErased() && ref.Block() == record)
                AddRefFromEntity(block, ref, true, name);
        blocks.AddSorted(std::move(block));
        ReadDirectlyNested(record, name, true,
                           [&](AcadBlock inner) { blocks.AddSorted(std::move(inner)); });
    }
}

cad::BlockRecord DynamicBlockOf(const cad::BlockReference& reference) {
    return reference ? DynamicSourceOf(*reference.GetDatabase(), reference.Block()) : cad::BlockRecord();
}

namespace {

cad::BlockRecord DynamicSourceOf(cad::Database& db, const cad::BlockRecord& record) {
    if (!record) return {};
    // An anonymous copy of a dynamic block names its source in the record's extended data.
    cad::TagList data = record.Record().Xdata("AcDbBlockRepBTag");
    for (const cad::Tag& tag : data) {
        if (tag.code != 1005) continue;
        cad::Handle source = tag.AsHandle();
        for (const cad::BlockRecord& block : db.Blocks())
            if (block.GetHandle() == source) return block;
    }
    return {};
}

}  // namespace

std::vector<DynamicProperty> DynamicPropertiesOf(const cad::BlockReference& reference) {
    std::vector<DynamicProperty> out;
    for (const cad::DynamicBlockProperty& read : cad::DynamicBlockReference(reference).Properties()) {
        DynamicProperty property;
        property.name = read.name;
        switch (read.valueKind) {
        case cad::DynamicValueKind::String: property.type = 1; property.text = read.text; break;
        case cad::DynamicValueKind::Real: property.type = 40; property.real = read.real; break;
        case cad::DynamicValueKind::Int16: property.type = 70; property.integer = static_cast<long>(read.integer); break;
        case cad::DynamicValueKind::Int32: property.type = 90; property.integer = static_cast<long>(read.integer); break;
        case cad::DynamicValueKind::Point: continue;  // no cell shows a point
        }
        switch (read.units) {
        case cad::DynamicUnitsKind::None: property.units = DynamicProperty::Units::None; break;
        case cad::DynamicUnitsKind::Distance: property.units = DynamicProperty::Units::Distance; break;
        case cad::DynamicUnitsKind::Angle: property.units = DynamicProperty::Units::Angle; break;
        case cad::DynamicUnitsKind::Area: property.units = DynamicProperty::Units::Area; break;
        }
        property.readOnly = read.readOnly;
        out.push_back(std::move(property));
    }
    return out;
}

std::string PropertyText(const DynamicProperty& property, int lunits, int aunits, const cad::Database* db) {
    switch (property.type) {
    case 1:
        return property.text;
    case 40:
        if (property.units == DynamicProperty::Units::Angle)
            return arxutils::AngleText(db, property.real, aunits, -1);
        if (property.units == DynamicProperty::Units::Distance) {
            if (lunits == 2 && cad::NearlyEqual(property.real, 0)) return "0";
            return arxutils::DistanceText(db, property.real, lunits, -1);
        }
        if (cad::NearlyEqual(property.real, 0)) return "0";
        return base::Sprintf("%g", property.real);
    case 70:
        return base::Sprintf("%d", static_cast<int>(static_cast<short>(property.integer)));
    case 90:
        return base::Sprintf("%ld", static_cast<long>(static_cast<int>(property.integer)));
    default:
        return {};
    }
}

namespace {

void AddDynamicPropertiesFrom(AcadBlock& block, const cad::BlockRecord& source,
                              const cad::BlockReference& reference, AcadBlockRef& row) {
    if (!source) return;
    for (const DynamicProperty& property : DynamicPropertiesOf(reference)) {
        AcadAttribute value(property.name,
                            PropertyText(property, row.lunits, row.aunits, reference.GetDatabase()), 0);
        value.isDistance = property.units == DynamicProperty::Units::Distance && property.type == 40;
        row.attributes.Add(std::move(value));
        if (block.isAnonymous && !block.defs.FindDynamicOrPropertyByTag(property.name))
            block.defs.AddAppend(AcadAttributeDef(property.name, property.name, {}, property.readOnly,
                                                  property.show, 0, 0, 2));
    }
    if (!block.isAnonymous) return;
    std::string trueName = source.Name();
    if (trueName.find('*') == std::string::npos && !base::EqualNoCase(trueName, block.name)) {
        block.name = trueName;
        block.isAnonymous = 0;
    }
}

}  // namespace

void AddDynamicProperties(AcadBlock& block, const cad::BlockReference& reference, AcadBlockRef& row) {
    AddDynamicPropertiesFrom(block, DynamicBlockOf(reference), reference, row);
}

void NumberRepeatedTags(AcadBlockRef& row) {
    // A reference holds a handful of values: counting the earlier ones of each tag costs less
    // than a map, which only a long row needs.
    constexpr int kShortRow = 32;
    const bool shortRow = row.attributes.GetSize() <= kShortRow;
    std::unordered_map<std::string_view, int> seen;
    for (auto it = row.attributes.begin(); it != row.attributes.end(); ++it) {
        AcadAttribute& attribute = *it;
        if (shortRow) {
            attribute.dupIndex = 0;
            for (auto earlier = row.attributes.begin(); earlier != it; ++earlier)
                attribute.dupIndex += earlier->tag == attribute.tag;
        } else {
            attribute.dupIndex = seen[attribute.tag]++;
        }
    }
}

void AddConstantAttributes(AcadBlockRef& row, const AcadAttributeDefArray& defs) {
    for (const AcadAttributeDef& def : defs) {
        if (!def.constant || def.kind != 0 || row.attributes.IndexOfTag(def.tag) >= 0) continue;
        AcadAttribute value(def.tag, def.defaultValue, 0);
        value.constant = 1;
        row.attributes.Add(std::move(value));
    }
}

}  // namespace attbat
