#pragma once
// The drawing database: a DXF file kept as its bytes plus an index of its objects by handle.
// Unchanged objects are written back from the original bytes; changed and new objects in the
// file's own style (version, encoding, line ends, ASCII or binary).

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/MappedFile.h"
#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/Dictionary.h"
#include "cad/Entity.h"
#include "cad/Object.h"
#include "cad/SymbolRecord.h"
#include "cad/Tag.h"
#include "cad/Tagger.h"
#include "cad/TextCodec.h"
#include "cad/ValueStore.h"
#include "cad/units/UnitSettings.h"

namespace cad {

class FileReader;
class Object;
class Entity;
class BlockRecord;
class Layer;
class SymbolRecord;
class Dictionary;
class DatabaseReactor;
struct UnitSettings;

// Which section of the file an object stands in.
enum class SectionKind : std::uint8_t { None, Header, Classes, Tables, Blocks, Entities, Objects, Other };

// True when two names are the same without regard to case, as base::EqualNoCase says; quick
// for ASCII names of different lengths.
bool SameNameNoCase(std::string_view a, std::string_view b);

// How Database::OpenMapped reads a file.
struct MapOptions {
    // The scan of a big file is shared with a second thread: for a reading that has the machine
    // to itself. Beside other work, such as a workbook being read, one thread does better.
    bool twoThreads = false;
};

// One DXF drawing. Views (Object and the typed views) point into it by index: they stay valid
// as long as the database lives, also across edits; an erased object's view reads as erased.
class Database {
public:
    static constexpr std::uint32_t kNone = 0xFFFFFFFFu;
    // Below this size (ByteSize) a drawing is small: the pages it read can go back to the system
    // freely, since faulting them in again costs little; a bigger one's are held for the work
    // that reads them again, as hundreds of megabytes cost a tenth of a second and more.
    static constexpr std::size_t kSmallFile = std::size_t{64} << 20;

    // Reads a drawing file; a failure says the file, the line or byte offset and the reason.
    static base::Result<std::unique_ptr<Database>> Open(const std::string& path);
    // Reads a drawing file through a map of it instead of a copy: the pages a reading in file
    // order has gone past, those away from the latest lookups by handle and those written by a
    // save are handed back, so the drawing holds little more than its tag index and records.
    // The file must not be written while it is open; Save refuses once it was.
    static base::Result<std::unique_ptr<Database>> OpenMapped(const std::string& path,
                                                             MapOptions options = {});
    // Tells a database read with OpenMapped that a reading in file order has come to record
    // `rec` (an object's Index()): the pages well behind it are handed back, once every few
    // thousand records. Cheap enough to call at every record; does nothing in any other database.
    void HandBackBefore(std::uint32_t rec) const {
        if (mapped_ && (rec >= nextHandBack_ || rec + kHandBackEvery < nextHandBack_)) {
            nextHandBack_ = rec + kHandBackEvery;
            HandBackBytesBefore(stream_.tags.Start(records_[rec].firstTag));
        }
    }
    // Whether Open could read `path` (it exists, is a regular file and may be read), without
    // reading it; a failure says the file and the reason as Open's would.
    static base::Status CanOpen(const std::string& path);
    // Reads a drawing from bytes; `fileName` is used in messages only.
    static base::Result<std::unique_ptr<Database>> FromBytes(std::string bytes, std::string fileName);

    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database();

    // Writes the drawing to `path` through a temporary file; with a `backupPath` the old file
    // is kept there. A failure leaves `path` as it was and says why.
    base::Status Save(const std::string& path, const std::string& backupPath = {}) const;
    // The bytes Save writes: the original bytes when nothing was changed.
    std::string Write() const;
    // True once anything was set, created or erased.
    bool IsModified() const { return modified_; }
    // The size of the DXF read, in bytes.
    std::size_t ByteSize() const { return bytes_.size(); }

    // The newest release Write can produce: 1032 (AC1032, AutoCAD 2018).
    static constexpr int kNewestRelease = 1032;
    // Brings the drawing to `release` (only kNewestRelease), from any release it was read in:
    // $ACADVER, text in UTF-8, and for R12 the structure R13 brought (handles, owners, subclass
    // markers, block records, layouts, the OBJECTS section). Every object, value, handle and
    // extended data stays; the form (ASCII or binary) and line ends stay. Nothing happens when
    // the drawing is at `release` already; an older release is refused, as is an R12 entity
    // that has no faithful newer form (the message names it and its line). On success every
    // view taken before is invalid; on failure the drawing is as it was.
    base::Status UpgradeTo(int release);

    // The name the database was read from.
    const std::string& FileName() const { return fileName_; }
    // $ACADVER, "AC1009" when the file has no header (AutoCAD reads such files as R12).
    std::string Version() const;
    // The release number of the version: 1009 for "AC1009", 1032 for "AC1032".
    int Release() const { return release_; }
    // ASCII, binary R12 or binary R13+.
    DxfForm Form() const { return stream_.form; }
    // The text encoding of the file.
    const TextCodec& Codec() const { return codec_; }
    // What was repaired while reading (duplicate handles, a missing EOF...), each with where.
    const std::vector<std::string>& Warnings() const { return warnings_; }

    // ---- Objects and handles
    // The object with `handle`; a null view when there is none or it was erased.
    Object ObjectByHandle(Handle handle);
    // Every live object in file order, structural records (SECTION, TABLE...) included.
    std::vector<Object> Objects();
    // Counts of live objects by record type ("LINE", "INSERT", "LAYER"...), in name order.
    std::vector<std::pair<std::string, std::size_t>> CountsByType() const;
    // The next handle to give out; always above every handle in the drawing.
    Handle HandleSeed() const { return handSeed_; }

    // ---- Header variables
    // The tags of a header variable such as "$ACADVER" (name without regard to case); empty
    // when the header lacks it.
    TagList Header(std::string_view name) const;
    // The first value of a header variable as text; `fallback` when it is missing.
    std::string HeaderText(std::string_view name, std::string_view fallback = {}) const;
    // The first value of a header variable as a real; `fallback` when it is missing.
    double HeaderReal(std::string_view name, double fallback = 0) const;
    // The first value of a header variable as an integer; `fallback` when it is missing.
    long long HeaderInt(std::string_view name, long long fallback = 0) const;
    // Sets a header variable, adding it at the end of the header when missing; a file without
    // a header section gets one. Fails for an empty name or no values.
    base::Status SetHeader(std::string_view name, const TagList& values);
    // The unit settings ($LUNITS, $LUPREC, $AUNITS, $AUPREC, $ANGBASE, $ANGDIR, $DIMZIN,
    // $UNITMODE) with a new drawing's defaults for what the header lacks; $ANGBASE is kept in
    // degrees in the file like every group 50 and comes out in radians.
    // Read once with the drawing and again when SetHeader changes one of them, so that every
    // number text of a schedule doesn't search the header.
    const UnitSettings& Units() const { return units_; }

    // ---- Symbol tables ("LAYER", "STYLE", "LTYPE", "APPID", "VIEW", "VPORT", "BLOCK_RECORD"...)
    // The records of a table in file order; empty when the table is missing.
    std::vector<SymbolRecord> TableRecords(std::string_view table);
    // The record named `name` (without regard to case); a null view when there is none.
    SymbolRecord FindRecord(std::string_view table, std::string_view name);
    // Adds a record with the given data tags (name and flags are set here); returns the
    // existing one when the name is taken. Fails when the table is missing and cannot be made.
    base::Result<SymbolRecord> AddRecord(std::string_view table, std::string_view name,
                                         const TagList& data = {});
    // The layer named `name`; a null view when there is none.
    Layer FindLayer(std::string_view name);
    // The layer named `name`, made on colour 7 and CONTINUOUS when missing.
    base::Result<Layer> AddLayer(std::string_view name);
    // Registers an application name for extended data; nothing happens when it exists.
    base::Status RegisterApp(std::string_view name);
    // The active viewport ("*ACTIVE" VPORT); a null view when there is none.
    SymbolRecord ActiveViewport();

    // ---- Blocks
    // Every block record in file order: model space, paper spaces and blocks.
    std::vector<BlockRecord> Blocks();
    // The block record named `name` (without regard to case); a null view when there is none.
    BlockRecord FindBlock(std::string_view name);
    // Model space ("*Model_Space", "$MODEL_SPACE" in R12 files); always present.
    BlockRecord ModelSpace();
    // The active paper space; a null view in files that have none.
    BlockRecord PaperSpace();
    // Makes an empty block definition; fails when the name is empty or taken.
    base::Result<BlockRecord> CreateBlock(std::string_view name, double baseX = 0, double baseY = 0,
                                          double baseZ = 0);
    // Erases a block definition, its entities and every reference to it; model and paper space
    // cannot be erased.
    base::Status EraseBlock(BlockRecord block);

    // ---- Objects section
    // The root dictionary of the OBJECTS section; a null view in files without one (R12).
    Dictionary NamedObjects();

    // ---- Selection
    // Every entity of model and paper space that passes `filter` (AutoCAD's filter lists: 0 type
    // with wildcards and commas, 2 block name, 8 layer, -3 with 1001 applications, -4 groups
    // "<or" "<and" "<not" "<xor"), in database order. An unbalanced group selects nothing.
    std::vector<Entity> Select(const TagList& filter);

    // ---- Reactors
    // Adds a reactor (not owned) told of every change from now on; adding one twice does
    // nothing.
    void AddReactor(DatabaseReactor* reactor);
    void RemoveReactor(DatabaseReactor* reactor);
    // Tells the reactors that `object` changed without an edit of this database: the drawing's
    // file was changed by another program and read anew.
    void NotifyModified(const Object& object);

private:
    friend class Object;
    friend class Entity;
    friend class BlockRecord;
    friend class SymbolRecord;
    friend class Dictionary;
    friend class Xrecord;
    friend class Layer;
    friend class BlockReference;
    friend class Polyline;
    friend class BlockNesting;
    friend class AttributeTemplate;
    friend class DeepCloner;
    friend class TableStyle;

    // One record of the file: a 0 tag and the tags up to the next 0 tag. Kept at 32 bytes: a
    // drawing has one per entity and attribute.
    struct Record {
        std::uint32_t firstTag = 0;   // first original tag; its count follows from the next record
        std::uint32_t prev = kNone;   // neighbours in file order
        Handle handle = 0;
        std::uint32_t next = kNone;
        std::uint32_t owned = kNone;  // index into owned_ once the record was changed
        std::uint32_t parent = kNone; // BLOCK of a block entity, INSERT/POLYLINE of a sub-entity,
                                      // TABLE of a table record, SECTION otherwise
        SectionKind section = SectionKind::None;
        bool erased : 1 = false;
        bool handleAssigned : 1 = false;  // the handle was given here; written once anything changes
        std::uint16_t type = kNoType;     // the record type as read, an index into typeNames_
    };
    static constexpr std::uint16_t kNoType = 0xFFFFu;
    // A tag of a changed record in 8 bytes: an original tag, or a new value kept in
    // newValues_. An import may change every attribute of a drawing.
    static constexpr std::uint32_t kNewValue = 0x80000000u;  // tags stay below: 2 bytes at least
    struct OwnedTag {
        int code;
        std::uint32_t ref;  // the original tag's index, or kNewValue | its number in newValues_
        bool IsOriginal() const { return (ref & kNewValue) == 0; }
    };
    // A block: its BLOCK_RECORD (R13+), its BLOCK and ENDBLK; model space of R12 files and
    // the active spaces keep their entities in the ENTITIES section instead.
    struct BlockInfo {
        std::uint32_t record = kNone;
        std::uint32_t begin = kNone;
        std::uint32_t end = kNone;
        bool erased = false;
    };

    Database() = default;
    // Takes over a drawing read anew, as UpgradeTo does.
    Database& operator=(Database&&) = default;
    // Indexes bytes_; with a `reader` they are still being read, and the scan follows it. A
    // mapped file's scan is shared with a second thread when asked (`twoThreads`).
    base::Status Load(FileReader* reader = nullptr, bool twoThreads = false);
    // Load, then the unit settings; the database, or why it can't be read.
    static base::Result<std::unique_ptr<Database>> Loaded(std::unique_ptr<Database> db,
                                                         FileReader* reader = nullptr,
                                                         bool twoThreads = false);
    // In a mapped database, hands back the pages of the file before `offset` less `margin`
    // that a reading in file order has gone past, kHandBackStep at a time (`margin` if less);
    // an offset below the last one starts a new reading from the file's start. `handedBack`
    // marks how far the reading has handed back: the database's own mark, or a second scan's.
    void HandBackBytesBefore(std::size_t offset, std::size_t& handedBack, std::size_t margin) const;
    void HandBackBytesBefore(std::size_t offset) const {
        HandBackBytesBefore(offset, handedBack_, readingMargin_);
    }
    // In a mapped database, tells that a lookup by handle reads record `rec`. Lookups come in
    // any order: once those since the last hand back have read pages far enough apart, every
    // page but those within a margin of `rec` is let go, whatever its place.
    void LookedUp(std::uint32_t rec) const;
    void IndexRecords();
    void IndexBlocks();
    void AssignMissingHandles();
    void ReportBlockCycles();

    // Tag access of a record, original or changed.
    std::size_t TagCount(std::uint32_t rec) const;
    std::uint32_t OriginalTagCount(std::uint32_t rec) const;
    int CodeAt(std::uint32_t rec, std::size_t i) const;
    std::string TextAt(std::uint32_t rec, std::size_t i) const;      // decoded UTF-8
    // The text of a tag without a copy when it needs no decoding (plain ASCII without escapes, or
    // a value set here); otherwise decoded into `scratch`. Valid until the tag or `scratch` changes.
    std::string_view TextViewAt(std::uint32_t rec, std::size_t i, std::string& scratch) const;
    std::string_view RawAt(std::uint32_t rec, std::size_t i) const;  // only for original tags
    void Prefetch(std::uint32_t rec, std::size_t bytes) const;
    double RealAt(std::uint32_t rec, std::size_t i) const;
    long long IntAt(std::uint32_t rec, std::size_t i) const;
    Handle HandleAt(std::uint32_t rec, std::size_t i) const;
    bool IsOriginal(std::uint32_t rec, std::size_t i) const;
    std::string TypeOf(std::uint32_t rec) const;
    bool TypeIs(std::uint32_t rec, std::string_view type) const;
    // Object::Find and Object::OwnDataEnd of a record.
    std::size_t FindInOwnData(std::uint32_t rec, int code, std::size_t from) const;
    std::size_t OwnDataEnd(std::uint32_t rec) const;
    TagList TagsOf(std::uint32_t rec) const;

    // Editing of a record's tags.
    // Notes a change of values; TouchRecords one of records added or erased.
    void Touch();
    void TouchRecords();
    // Tells the reactors that record `rec` changed; nothing when there are none.
    void NotifyModified(std::uint32_t rec);
    // Notes that `rec` changes, for the block name index when it is a BLOCK or BLOCK_RECORD.
    void NoteBlockChange(std::uint32_t rec);
    // `replaces` is the original tag a new value stands for, kNone for an added tag.
    OwnedTag NewTag(int code, std::string_view value, std::uint32_t replaces = kNone);
    std::string_view NewValue(const OwnedTag& tag) const { return newValues_.Value(tag.ref & ~kNewValue); }
    std::vector<OwnedTag>& Own(std::uint32_t rec);
    void SetTagAt(std::uint32_t rec, std::size_t i, std::string value);
    void InsertTagAt(std::uint32_t rec, std::size_t i, Tag tag);
    void EraseTagsAt(std::uint32_t rec, std::size_t i, std::size_t count);
    std::uint32_t NewRecord(TagList tags, std::uint32_t after, SectionKind section,
                            std::uint32_t parent);
    void Unlink(std::uint32_t rec);
    void EraseRecord(std::uint32_t rec);
    Handle NextHandle();
    // The live record with `handle`; kNone when there is none or it was erased.
    std::uint32_t Lookup(Handle handle) const;
    // Points `handle` at `rec`, replacing what it pointed at; with `onlyNew` an existing handle
    // is left alone and false returned.
    bool IndexHandle(Handle handle, std::uint32_t rec, bool onlyNew = false);
    void RehashHandles(std::size_t slots);
    std::uint16_t InternType(std::string_view type, std::uint16_t hint);
    // What a record type means to the indexing of records; Other for most.
    enum class RecordRole : std::uint8_t {
        Other, Section, EndSec, Eof, Table, EndTab, Block, EndBlk, Attrib, Vertex, SeqEnd, Polyline, Insert, DimStyle
    };
    static RecordRole RoleOfType(std::string_view type);

    // The name of block `block` as BlockRecord::Name gives it, without a copy where it can.
    std::string_view BlockNameView(std::uint32_t block, std::string& scratch);
    void RefreshBlockIndex();
    // The block whose BLOCK record is `begin`; kNone when there is none or it was erased.
    std::uint32_t BlockOfBegin(std::uint32_t begin);
    std::uint32_t SectionRecord(SectionKind kind) const;
    std::uint32_t SectionEnd(std::uint32_t sectionRec) const;
    std::uint32_t EnsureSection(SectionKind kind);
    std::uint32_t FindTable(std::string_view table) const;
    // The TABLE record of `table`, made (with its ENDTAB) when missing.
    std::uint32_t EnsureTable(std::string_view table);
    // The last record of table `t`; `t` itself when the table is empty.
    std::uint32_t LastInTable(std::uint32_t t) const;
    // Keeps the count of table `t` (a hint to readers) no lower than the records it has.
    void RaiseTableCount(std::uint32_t t, std::string_view table);
    std::uint32_t HeaderTagIndex(std::string_view name) const;
    void SyncHandSeed();
    // The unit settings as the header has them now.
    UnitSettings ReadUnits() const;

    // Writing: WriteTo hands the file's bytes to `out(std::string_view)` piece by piece.
    template <class Out>
    void WriteTo(Out&& out) const;
    void WriteRecord(std::string& out, std::uint32_t rec) const;
    bool WriteReplacedTag(std::string& out, const OwnedTag& tag) const;
    void WriteTag(std::string& out, int code, std::string_view text) const;
    static void AppendTag(std::string& out, int code, std::string_view text, DxfForm form,
                          const TextCodec& codec, const char* eol, bool paddedCodes);
    // Where record `rec` starts, for messages: the file and the line or byte offset.
    std::string WhereIs(std::uint32_t rec) const;
    void AppendOriginalTags(std::string& out, std::uint32_t from, std::uint32_t count) const;
    bool HasOddWidth(std::uint32_t tag) const;
    bool NeedsNewWidths(std::uint32_t rec) const;

    std::string fileName_;
    // The file's bytes, in a buffer read for them, a string handed over (each on the heap, so
    // that bytes_ stays valid when the database is moved) or a map of the file.
    std::unique_ptr<char[]> fileBytes_;
    std::unique_ptr<std::string> givenBytes_;
    std::optional<base::MappedFile> mapped_;
    mutable std::size_t handedBack_ = 0;  // the mapped file's pages before it are handed back
    static constexpr std::uint32_t kHandBackEvery = 4096;
    // Pages just gone past may still be read: a record's neighbours. A reading of records keeps
    // a sixteenth of a small file behind it, at least 1 MiB, so that such a file isn't held
    // whole by its margins. The scan, which reads nothing twice, keeps only kScanMargin behind
    // its place (its hand back counts from the furthest byte it asked for, kScanAhead further).
    static constexpr std::size_t kHandBackMargin = std::size_t{8} << 20;
    static constexpr std::size_t kLeastReadingMargin = std::size_t{1} << 20;
    static constexpr std::size_t kScanMargin = std::size_t{256} << 10;
    // What a reading hands back at a time, at most: the pages it holds are its margin and less
    // than this.
    static constexpr std::size_t kHandBackStep = std::size_t{1} << 20;
    // Lookups by handle in a file smaller than kSmallFile hold the pages of at most this many
    // margins apart before they hand back: a few hand backs per pass over the file, whichever
    // way they go; in a bigger one they hand back every kHandBackEvery lookups.
    static constexpr std::size_t kLookupSpanInMargins = 4;
    std::size_t readingMargin_ = kHandBackMargin;
    mutable std::uint32_t nextHandBack_ = 0;  // the record whose reading hands back next
    // The bytes lookups by handle read since their last hand back lie between these.
    mutable std::size_t lookedFrom_ = 0, lookedTo_ = 0;
    mutable std::uint32_t lookups_ = 0;  // by handle, in a mapped database
    std::string_view bytes_;
    TagStream stream_;
    TextCodec codec_;
    std::vector<Record> records_;
    std::vector<std::vector<OwnedTag>> owned_;
    ValueStore newValues_;  // with the original tag each replaced, or kNone
    std::vector<BlockInfo> blocks_;
    // Blocks by folded name, the first of a name winning; rebuilt when blockNamesAt_ falls
    // behind blockNamesChanges_.
    std::unordered_map<std::string, std::uint32_t> blockNames_;
    std::unordered_map<std::uint32_t, std::uint32_t> blockOfBegin_;  // BLOCK record -> block
    std::uint64_t blockNamesChanges_ = 0;
    std::uint64_t blockNamesAt_ = 0;
    std::uint32_t originalRecords_ = 0;   // records read from the file come first
    std::vector<std::string> typeNames_;  // record types as read, in order of first sight
    std::vector<RecordRole> typeRoles_;   // the role of each of typeNames_
    // Records by handle, open addressing with linear probing: kNone marks a free slot, and the
    // handle is the record's own, so a slot costs 4 bytes.
    std::vector<std::uint32_t> handleSlots_;
    std::size_t handleCount_ = 0;
    std::vector<std::string> warnings_;
    std::vector<DatabaseReactor*> reactors_;
    UnitSettings units_;
    std::uint32_t first_ = kNone;
    std::uint32_t last_ = kNone;
    Handle handSeed_ = 1;
    // Lookups kept between calls, each checked before use (see SectionEnd, HeaderTagIndex).
    mutable std::unordered_map<std::uint32_t, std::uint32_t> sectionEnds_;
    mutable std::map<std::string, std::uint32_t, std::less<>> headerIndex_;
    int release_ = 1009;
    bool modified_ = false;
    bool handlesWereAssigned_ = false;
    bool recordsChanged_ = false;         // a record was added or erased
    // Line end and group code style of the file, for what is written new.
    const char* eol_ = "\n";
    bool paddedCodes_ = true;
};

// Asked for every tag a typed view looks at, so kept in the header.
inline std::uint32_t Database::OriginalTagCount(std::uint32_t rec) const {
    // Records read from the file cover the tags one after the other.
    if (rec >= originalRecords_) return 0;
    const std::uint32_t end = rec + 1 < originalRecords_ ? records_[rec + 1].firstTag
                                                         : static_cast<std::uint32_t>(stream_.Count());
    return end - records_[rec].firstTag;
}

inline std::size_t Database::TagCount(std::uint32_t rec) const {
    const Record& r = records_[rec];
    return r.owned != kNone ? owned_[r.owned].size() : OriginalTagCount(rec);
}

inline int Database::CodeAt(std::uint32_t rec, std::size_t i) const {
    const Record& r = records_[rec];
    return r.owned != kNone ? owned_[r.owned][i].code : stream_.tags.Code(r.firstTag + i);
}

}  // namespace cad
