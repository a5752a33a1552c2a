#include "cad/Database.h"

#include "cad/DatabaseReactor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <functional>
#include <map>
#include <utility>

#include <fmt/format.h>

#include "base/AtomicFile.h"
#include "base/Hex.h"
#include "base/Text.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/Dictionary.h"
#include "cad/FileReader.h"
#include "cad/GroupCode.h"
#include "cad/Object.h"
#include "cad/SymbolRecord.h"
#include "cad/units/UnitSettings.h"

namespace cad {
namespace {

std::string_view TrimBlanks(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\r')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) s.remove_suffix(1);
    return s;
}

SectionKind SectionOf(std::string_view name) {
    if (name == "HEADER") return SectionKind::Header;
    if (name == "CLASSES") return SectionKind::Classes;
    if (name == "TABLES") return SectionKind::Tables;
    if (name == "BLOCKS") return SectionKind::Blocks;
    if (name == "ENTITIES") return SectionKind::Entities;
    if (name == "OBJECTS") return SectionKind::Objects;
    return SectionKind::Other;
}

const char* SectionName(SectionKind kind) {
    switch (kind) {
        case SectionKind::Header: return "HEADER";
        case SectionKind::Classes: return "CLASSES";
        case SectionKind::Tables: return "TABLES";
        case SectionKind::Blocks: return "BLOCKS";
        case SectionKind::Entities: return "ENTITIES";
        case SectionKind::Objects: return "OBJECTS";
        default: return "";
    }
}

// A binary integer in the width it was written in, whatever its group code says.
long long ReadBinaryInt(std::string_view raw) {
    switch (raw.size()) {
        case 1: return static_cast<unsigned char>(raw[0]);
        case 2: { std::int16_t v; std::memcpy(&v, raw.data(), 2); return v; }
        case 4: { std::int32_t v; std::memcpy(&v, raw.data(), 4); return v; }
        case 8: { std::int64_t v; std::memcpy(&v, raw.data(), 8); return v; }
        default: return 0;
    }
}

template <class T>
T ReadLe(std::string_view raw) {
    T v{};
    if (raw.size() >= sizeof(T)) std::memcpy(&v, raw.data(), sizeof(T));
    return v;
}

template <class T>
void AppendLe(std::string& out, T v) {
    char b[sizeof(T)];
    std::memcpy(b, &v, sizeof(T));
    out.append(b, sizeof(T));
}

// Binary chunks (310) are hexadecimal text in ASCII files.
using base::BytesOfHex;
using base::HexOf;

}  // namespace

Database::~Database() = default;

namespace {

// Opens a drawing file for reading; `size` is its length. The caller closes the descriptor.
base::Result<int> OpenDrawingFile(const std::string& path, std::size_t& size) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return base::Status::Error(fmt::format("{}: cannot open: {}", path, std::strerror(errno)));
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        return base::Status::Error(fmt::format("{}: not a regular file", path));
    }
    size = static_cast<std::size_t>(info.st_size);
    return fd;
}

}  // namespace

base::Status Database::CanOpen(const std::string& path) {
    std::size_t size = 0;
    auto opened = OpenDrawingFile(path, size);
    if (!opened) return opened.GetStatus();
    ::close(*opened);
    return base::Status::Ok();
}

base::Result<std::unique_ptr<Database>> Database::Open(const std::string& path) {
    std::size_t size = 0;
    auto opened = OpenDrawingFile(path, size);
    if (!opened) return opened.GetStatus();
    // The file is read on another thread while this one scans what is in.
    FileReader reader(*opened, path, size);
    std::unique_ptr<Database> db(new Database());
    db->bytes_ = reader.Bytes();
    db->fileName_ = path;
    return Loaded(std::move(db), &reader);
}

base::Result<std::unique_ptr<Database>> Database::OpenMapped(const std::string& path,
                                                             MapOptions options) {
    std::size_t size = 0;
    auto opened = OpenDrawingFile(path, size);
    if (!opened) return opened.GetStatus();
    auto mapped = base::MappedFile::Map(*opened, path);
    if (!mapped) return mapped.GetStatus();
    std::unique_ptr<Database> db(new Database());
    db->mapped_.emplace(std::move(*mapped));
    db->bytes_ = db->mapped_->Bytes();
    db->fileName_ = path;
    db->readingMargin_ = std::clamp(db->bytes_.size() / 16, kLeastReadingMargin, kHandBackMargin);
    auto loaded = Loaded(std::move(db), nullptr, options.twoThreads);
    // What loading read last (the header, the tables) is read again when asked for.
    if (loaded) (*loaded)->mapped_->HandBack(0, (*loaded)->bytes_.size());
    return loaded;
}

base::Result<std::unique_ptr<Database>> Database::FromBytes(std::string bytes, std::string fileName) {
    std::unique_ptr<Database> db(new Database());
    db->givenBytes_ = std::make_unique<std::string>(std::move(bytes));
    db->bytes_ = *db->givenBytes_;
    db->fileName_ = std::move(fileName);
    return Loaded(std::move(db));
}

base::Result<std::unique_ptr<Database>> Database::Loaded(std::unique_ptr<Database> db,
                                                         FileReader* reader, bool twoThreads) {
    base::Status status = db->Load(reader, twoThreads);
    if (!status) return status;
    db->units_ = db->ReadUnits();
    return db;
}

void Database::HandBackBytesBefore(std::size_t offset, std::size_t& handedBack,
                                   std::size_t margin) const {
    if (!mapped_) return;
    if (offset < handedBack) handedBack = 0;
    if (offset < handedBack + margin + std::min(margin, kHandBackStep)) return;
    mapped_->HandBack(handedBack, offset - margin);
    handedBack = offset - margin;
}

void Database::LookedUp(std::uint32_t rec) const {
    const std::size_t at = stream_.tags.Start(records_[rec].firstTag);
    lookedFrom_ = std::min(lookedFrom_, at);
    lookedTo_ = std::max(lookedTo_, at);
    // Rows grouped by block pass over the file again and again: a big file's lookups keep what
    // they read for a few thousand of them, since faulting hundreds of megabytes in again
    // costs more than holding them; a small file's keep a few margins of it.
    const bool letGo = bytes_.size() < kSmallFile
                           ? lookedTo_ - lookedFrom_ >= kLookupSpanInMargins * readingMargin_
                           : ++lookups_ % kHandBackEvery == 0;
    if (!letGo) return;
    lookedFrom_ = lookedTo_ = at;
    handedBack_ = at > readingMargin_ ? at - readingMargin_ : 0;
    mapped_->HandBack(0, handedBack_);
    mapped_->HandBack(at + readingMargin_, bytes_.size());
}

// ---------------------------------------------------------------------------------------------
// Reading

base::Status Database::Load(FileReader* reader, bool twoThreads) {
    WaitForBytes waitFor;
    ScanSplit split;
    if (reader) {
        // The reading takes the second processor.
        waitFor = [reader](std::size_t want) { return reader->WaitFor(want); };
    } else if (mapped_) {
        // All is in; asked for more as it goes, a scan says how far it has come, and what it
        // has gone past goes back. Each scan hands back behind itself from a mark of its own:
        // the first from the file's start, the second from its first look on (what is before
        // that is the first's).
        // A scan asks for bytes up to kScanAhead past its place and never reads what it has
        // gone past again: it keeps only kScanMargin behind its place.
        const std::size_t scanMargin = kScanAhead + kScanMargin;
        auto handingBack = [this, scanMargin](std::optional<std::size_t> mark) {
            return [this, mark, scanMargin](std::size_t want) mutable {
                if (!mark) mark = want;
                HandBackBytesBefore(want, *mark, scanMargin);
                return std::min(want, bytes_.size());
            };
        };
        waitFor = handingBack(0);
        split.tailWaitFor = handingBack(std::nullopt);
    }
    const ScanSplit* shared = twoThreads && mapped_ ? &split : nullptr;
    base::Status status = ScanTags(bytes_, fileName_, stream_, waitFor, shared);
    if (reader) {
        // A reading that fell short says why, before what the scan made of it; a failed scan
        // stops the reading. Once whole, the buffer is the database's.
        base::Status read = reader->Finish(!status);
        if (!read) return read;
        if (status) fileBytes_ = reader->TakeBuffer();
    }
    if (!status) return status;
    if (bytes_.find_first_not_of(" \t\r\n\x1a") == std::string::npos)
        return base::Status::Error(fmt::format("{}: the file is empty", fileName_));
    if (stream_.Count() == 0)
        return base::Status::Error(fmt::format("{}: the file holds no DXF tags", fileName_));
    if (stream_.form == DxfForm::Ascii) {
        if (stream_.lineEnd == '\r') {
            eol_ = "\r";
        } else {
            std::size_t nl = bytes_.find('\n');
            if (nl != std::string::npos && nl > 0 && bytes_[nl - 1] == '\r') eol_ = "\r\n";
        }
        // Only a code below 100 shows whether codes are right-aligned: Pro/ENGINEER starts with a
        // 999 comment and pads the codes after it.
        std::size_t first = 0;
        while (first + 1 < stream_.Count() && stream_.tags.Code(first) >= 100) ++first;
        paddedCodes_ = bytes_[stream_.tags.Start(first)] == ' ';
    }
    warnings_ = stream_.notes;
    IndexRecords();
    if (!warnings_.empty() && warnings_.back().rfind("!", 0) == 0) {
        std::string message = warnings_.back().substr(1);
        return base::Status::Error(message);
    }
    std::string version = HeaderText("$ACADVER");
    if (version.size() == 6 && (version.rfind("AC", 0) == 0)) {
        int number = 0;
        std::from_chars(version.data() + 2, version.data() + 6, number);
        if (number > 0) release_ = number;
    }
    codec_ = release_ >= 1021 ? TextCodec() : TextCodec::ForCodePage(HeaderText("$DWGCODEPAGE"));
    AssignMissingHandles();
    IndexBlocks();
    if (!stream_.sawEof) warnings_.push_back(fmt::format("{}: the file has no EOF record", fileName_));
    std::size_t tail = stream_.tags.Start(stream_.Count());
    if (bytes_.find_first_not_of(" \t\r\n\x1a", tail) != std::string::npos) {
        std::string at = stream_.form == DxfForm::Ascii
                             ? fmt::format("line {}", LineOfOffset(bytes_, tail, stream_.lineEnd))
                             : fmt::format("byte offset {}", tail);
        warnings_.push_back(fmt::format("{}: {}: {} bytes after EOF are kept but not read", fileName_, at,
                                        bytes_.size() - tail));
    }
    ReportBlockCycles();
    return base::Status::Ok();
}

std::string Database::Version() const {
    std::string version = HeaderText("$ACADVER");
    return version.empty() ? "AC1009" : version;
}

void Database::IndexRecords() {
    const std::size_t count = stream_.Count();
    const TagIndex& tags = stream_.tags;
    // One record per 0 tag (and one for comments before the first), sized exactly with a little
    // room for what a command adds, so that a first edit does not double the table.
    std::size_t recordCount = count > 0 && tags.Code(0) != 0 ? 1 : 0;
    for (std::size_t k = 0; k < count; ++k) recordCount += tags.Code(k) == 0;
    records_.reserve(recordCount + recordCount / 64 + 16);
    auto where = [&](std::uint32_t tagIndex) {
        std::size_t offset = stream_.tags.Start(tagIndex);
        return stream_.form == DxfForm::Ascii
                   ? fmt::format("{}: line {}", fileName_, LineOfOffset(bytes_, offset, stream_.lineEnd))
                   : fmt::format("{}: byte offset {}", fileName_, offset);
    };
    auto fatal = [&](std::string message) { warnings_.push_back("!" + message); };

    SectionKind section = SectionKind::None;
    std::uint32_t sectionRec = kNone, tableRec = kNone, blockRec = kNone, seqOwner = kNone;
    bool seqIsInsert = false;
    std::uint16_t lastType = kNoType;
    // The bytes of a record are asked for a few records ahead of its reading: they were scanned
    // long ago and are no longer in the cache.
    std::size_t ahead = 0;
    auto fetchAhead = [&] {
        while (++ahead < count && tags.Code(ahead) != 0) {}
        if (ahead < count) __builtin_prefetch(bytes_.data() + stream_.tags.Start(ahead));
    };
    for (int k = 0; k < 8; ++k) fetchAhead();
    std::size_t i = 0;
    while (i < count) {
        fetchAhead();
        std::size_t j = i + 1;
        while (j < count && tags.Code(j) != 0) ++j;
        Record rec;
        rec.firstTag = static_cast<std::uint32_t>(i);
        const std::uint32_t tagCount = static_cast<std::uint32_t>(j - i);
        std::uint32_t index = static_cast<std::uint32_t>(records_.size());
        rec.prev = index == 0 ? kNone : index - 1;
        records_.push_back(rec);
        HandBackBefore(index);
        i = j;
        if (tags.Code(rec.firstTag) != 0) continue;  // comments before the first record

        std::string_view type = TrimBlanks(RawValue(bytes_, stream_, rec.firstTag));
        Record& r = records_.back();
        r.type = lastType = InternType(type, lastType);
        const RecordRole role = r.type != kNoType ? typeRoles_[r.type] : RoleOfType(type);
        if (role == RecordRole::Section) {
            if (section != SectionKind::None) {
                fatal(fmt::format("{}: a new section starts before the {} section ends (no ENDSEC)",
                                  where(r.firstTag), SectionName(section)));
                return;
            }
            std::string_view name;
            if (tagCount > 1 && tags.Code(r.firstTag + 1) == 2)
                name = TrimBlanks(RawValue(bytes_, stream_, r.firstTag + 1));
            section = SectionOf(name);
            sectionRec = index;
            r.section = section;
            continue;
        }
        if (role == RecordRole::Eof) {
            if (section != SectionKind::None) {
                fatal(fmt::format("{}: the file ends inside the {} section (no ENDSEC)", where(r.firstTag),
                                  SectionName(section)));
                return;
            }
            continue;
        }
        if (section == SectionKind::None) {
            fatal(fmt::format("{}: \"{}\" stands outside any section", where(r.firstTag),
                              std::string(type.substr(0, 40))));
            return;
        }
        r.section = section;
        r.parent = sectionRec;
        if (role == RecordRole::EndSec) {
            if (blockRec != kNone) {
                fatal(fmt::format("{}: the block that starts at {} has no ENDBLK", where(r.firstTag),
                                  where(records_[blockRec].firstTag)));
                return;
            }
            section = SectionKind::None;
            tableRec = seqOwner = kNone;
            continue;
        }
        // Handles: 5, or 105 on DIMSTYLE records, in the object's own data.
        int handleCode = role == RecordRole::DimStyle ? 105 : 5;
        if (section != SectionKind::Header && section != SectionKind::Classes) {
            for (std::uint32_t k = r.firstTag + 1; k < r.firstTag + tagCount; ++k) {
                int code = tags.Code(k);
                if (code == handleCode || (code == 5 && handleCode == 105)) {
                    r.handle = ParseHandle(RawValue(bytes_, stream_, k));
                    if (r.handle == 0)
                        warnings_.push_back(fmt::format("{}: {} has an empty or invalid handle; it gets a new one",
                                                        where(k), std::string(type)));
                    if (code == handleCode) break;
                }
                if (code == 1001 || code == 100) break;
            }
        }
        if (section == SectionKind::Tables) {
            if (role == RecordRole::Table) {
                tableRec = index;
            } else if (role == RecordRole::EndTab) {
                r.parent = tableRec;
                tableRec = kNone;
            } else if (tableRec != kNone) {
                r.parent = tableRec;
            }
            continue;
        }
        if (section != SectionKind::Blocks && section != SectionKind::Entities) continue;
        if (role == RecordRole::Block) {
            if (blockRec != kNone) {
                fatal(fmt::format("{}: a block starts inside the block that starts at {} (no ENDBLK)",
                                  where(r.firstTag), where(records_[blockRec].firstTag)));
                return;
            }
            blockRec = index;
            seqOwner = kNone;
            continue;
        }
        if (role == RecordRole::EndBlk) {
            r.parent = blockRec;
            blockRec = kNone;
            seqOwner = kNone;
            continue;
        }
        std::uint32_t container = blockRec != kNone ? blockRec : sectionRec;
        bool attrib = role == RecordRole::Attrib, vertex = role == RecordRole::Vertex, seqend = role == RecordRole::SeqEnd;
        if (seqOwner != kNone && ((attrib && seqIsInsert) || (vertex && !seqIsInsert) || seqend)) {
            r.parent = seqOwner;
            if (seqend) seqOwner = kNone;
            continue;
        }
        if (seqOwner != kNone && !seqIsInsert) {
            fatal(fmt::format("{}: the POLYLINE at {} has no SEQEND", where(r.firstTag),
                              where(records_[seqOwner].firstTag)));
            return;
        }
        r.parent = container;
        seqOwner = kNone;
        if (role == RecordRole::Polyline || role == RecordRole::Insert) {
            seqOwner = index;
            seqIsInsert = role == RecordRole::Insert;
        }
    }
    if (section != SectionKind::None) {
        // A file cut off in its last section: AutoCAD refuses it, so do we.
        fatal(fmt::format("{}: the file ends inside the {} section (no ENDSEC)",
                          where(static_cast<std::uint32_t>(count - 1)), SectionName(section)));
        return;
    }
    for (std::uint32_t k = 0; k + 1 < records_.size(); ++k) records_[k].next = k + 1;
    originalRecords_ = static_cast<std::uint32_t>(records_.size());
    first_ = records_.empty() ? kNone : 0;
    last_ = records_.empty() ? kNone : static_cast<std::uint32_t>(records_.size() - 1);
}

void Database::AssignMissingHandles() {
    RehashHandles(records_.size() + records_.size() / 3 + 1);
    Handle maxHandle = 0;
    for (const Record& r : records_) maxHandle = std::max(maxHandle, r.handle);
    Handle seed = ParseHandle(HeaderText("$HANDSEED"));
    handSeed_ = std::max<Handle>(seed, maxHandle + 1);
    bool r12 = release_ < 1012;
    for (std::uint32_t k = 0; k < records_.size(); ++k) {
        Record& r = records_[k];
        if (r.section == SectionKind::None || r.section == SectionKind::Header ||
            r.section == SectionKind::Classes || stream_.tags.Code(r.firstTag) != 0)
            continue;
        // Records of other sections (ACDSDATA, THUMBNAILIMAGE...) are not objects: they keep
        // a handle they came with, and are never given one.
        if (r.section == SectionKind::Other && r.handle == 0) continue;
        if (r.handle != 0) {
            if (IndexHandle(r.handle, k, true)) continue;
            warnings_.push_back(fmt::format("{}: handle {} is used twice; the second {} gets handle {}",
                                            fileName_, HandleText(r.handle), TypeOf(k), HandleText(handSeed_)));
        } else {
            std::string type = TypeOf(k);
            if (type == "SECTION" || type == "ENDSEC" || type == "ENDTAB" || (r12 && type == "TABLE"))
                continue;
        }
        // Files without handles get them in file order, so the same file gets the same keys.
        r.handle = handSeed_++;
        r.handleAssigned = true;
        handlesWereAssigned_ = true;
        IndexHandle(r.handle, k);
    }
}

void Database::IndexBlocks() {
    std::map<std::string, std::uint32_t> blockByName;  // folded name -> BLOCK record
    std::vector<std::uint32_t> blockOrder;
    for (std::uint32_t k = 0; k < records_.size(); ++k) {
        if (records_[k].section != SectionKind::Blocks || !TypeIs(k, "BLOCK")) continue;
        std::string name = Object(this, k).GetText(2);
        if (name.empty()) {
            warnings_.push_back(fmt::format("{}: a BLOCK without a name (handle {}) is kept but not listed",
                                            fileName_, HandleText(records_[k].handle)));
            continue;
        }
        blockByName.emplace(base::FoldCase(name), k);
        blockOrder.push_back(k);
    }
    auto endOf = [this](std::uint32_t begin) {
        for (std::uint32_t k = records_[begin].next; k != kNone; k = records_[k].next)
            if (TypeIs(k, "ENDBLK")) return k;
        return kNone;
    };
    std::vector<bool> used(records_.size(), false);
    std::uint32_t table = FindTable("BLOCK_RECORD");
    if (table != kNone) {
        for (std::uint32_t k = records_[table].next; k != kNone && records_[k].parent == table; k = records_[k].next) {
            if (!TypeIs(k, "BLOCK_RECORD")) continue;
            BlockInfo info;
            info.record = k;
            auto it = blockByName.find(base::FoldCase(Object(this, k).GetText(2)));
            if (it != blockByName.end()) {
                info.begin = it->second;
                info.end = endOf(it->second);
                used[it->second] = true;
            }
            blocks_.push_back(info);
        }
    }
    for (std::uint32_t begin : blockOrder) {
        if (used[begin]) continue;
        if (table != kNone)
            warnings_.push_back(fmt::format("{}: block \"{}\" has no BLOCK_RECORD", fileName_,
                                            Object(this, begin).GetText(2)));
        blocks_.push_back({kNone, begin, endOf(begin), false});
    }
    // R12 files and files without blocks have no model space record: a virtual one stands for
    // the ENTITIES section.
    if (FindBlock("*Model_Space").IsNull() && FindBlock("$MODEL_SPACE").IsNull())
        blocks_.insert(blocks_.begin(), BlockInfo{});
    ++blockNamesChanges_;
}

void Database::ReportBlockCycles() {
    // A block that holds a reference to itself, directly or through others, cannot be drawn;
    // AutoCAD refuses to make one, so a file that has one is reported.
    std::vector<BlockRecord> blocks = Blocks();
    std::map<std::string, std::size_t> byName;
    for (std::size_t b = 0; b < blocks.size(); ++b) byName.emplace(base::FoldCase(blocks[b].Name()), b);
    std::vector<std::vector<std::size_t>> refers(blocks.size());
    for (std::size_t b = 0; b < blocks.size(); ++b) {
        if (blocks[b].IsLayout()) continue;
        for (const Entity& e : blocks[b].Entities()) {
            if (e.Type() != "INSERT" && e.Type() != "MINSERT") continue;
            auto it = byName.find(base::FoldCase(e.GetText(2)));
            if (it != byName.end()) refers[b].push_back(it->second);
        }
    }
    std::vector<int> state(blocks.size(), 0);  // 0 new, 1 on the path, 2 done
    for (std::size_t root = 0; root < blocks.size(); ++root) {
        if (state[root] != 0) continue;
        std::vector<std::pair<std::size_t, std::size_t>> path{{root, 0}};  // block, next edge
        state[root] = 1;
        while (!path.empty()) {
            auto& [b, edge] = path.back();
            if (edge == refers[b].size()) {
                state[b] = 2;
                path.pop_back();
                continue;
            }
            std::size_t next = refers[b][edge++];
            if (state[next] == 1) {
                warnings_.push_back(fmt::format("{}: block \"{}\" refers to itself through \"{}\"", fileName_,
                                                blocks[next].Name(), blocks[b].Name()));
            } else if (state[next] == 0) {
                state[next] = 1;
                path.push_back({next, 0});
            }
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Tag access

namespace {

// The first `code` in [from, n) of a record's own data, which ends at the first 1001 (extended
// data) or 101 (embedded object); application groups ({ACAD_REACTORS ... }) hold pointers that are
// not the object's own and are skipped. `opensGroup(i)` says whether the 102 at i starts one.
template <class CodeOf, class OpensGroup>
std::size_t FindOwnCode(CodeOf codeOf, OpensGroup opensGroup, std::size_t n, int code, std::size_t from) {
    constexpr std::size_t npos = std::string::npos;
    for (std::size_t i = 1; i < from && i < n; ++i) {
        const int c = codeOf(i);
        if (c == 1001 || c == 101) return npos;
    }
    for (std::size_t i = from; i < n; ++i) {
        int c = codeOf(i);
        if (c == 1001 || c == 101) return npos;
        if (c == 102 && opensGroup(i)) {
            while (++i < n) {
                c = codeOf(i);
                if (c == 1001 || c == 101) return npos;
                if (c == 102) break;
            }
            continue;
        }
        if (c == code) return i;
    }
    return npos;
}

// True when file text reads as it stands: ASCII without \U+ or \M+ escapes.
bool NeedsNoDecoding(std::string_view raw) {
    for (char c : raw)
        if (static_cast<unsigned char>(c) >= 0x80 || c == '\\') return false;
    return true;
}

}  // namespace

std::size_t Database::FindInOwnData(std::uint32_t rec, int code, std::size_t from) const {
    auto opensGroup = [this, rec](std::size_t i) {
        std::string_view raw = IsOriginal(rec, i) ? RawAt(rec, i) : std::string_view();
        if (!raw.empty() && raw[0] != '\\') return raw[0] == '{';
        std::string text = TextAt(rec, i);
        return !text.empty() && text[0] == '{';
    };
    const Record& r = records_[rec];
    if (r.owned == kNone) {
        const TagIndex& tags = stream_.tags;
        const std::size_t first = r.firstTag;
        return FindOwnCode([&tags, first](std::size_t i) { return tags.Code(first + i); }, opensGroup,
                           OriginalTagCount(rec), code, from);
    }
    const auto& owned = owned_[r.owned];
    return FindOwnCode([&owned](std::size_t i) { return owned[i].code; }, opensGroup, owned.size(), code, from);
}

std::size_t Database::OwnDataEnd(std::uint32_t rec) const {
    const std::size_t n = TagCount(rec);
    for (std::size_t i = 1; i < n; ++i) {
        const int code = CodeAt(rec, i);
        if (code == 1001 || code == 101) return i;
    }
    return n;
}

bool Database::IsOriginal(std::uint32_t rec, std::size_t i) const {
    const Record& r = records_[rec];
    return r.owned == kNone || owned_[r.owned][i].IsOriginal();
}

std::string_view Database::RawAt(std::uint32_t rec, std::size_t i) const {
    const Record& r = records_[rec];
    std::uint32_t tag = r.owned != kNone ? owned_[r.owned][i].ref : r.firstTag + static_cast<std::uint32_t>(i);
    return RawValue(bytes_, stream_, tag);
}

void Database::Prefetch(std::uint32_t rec, std::size_t bytes) const {
    const Record& r = records_[rec];
    if (r.owned != kNone || r.firstTag >= stream_.tags.Size()) return;
    // At most one tag per 16 bytes of an ASCII file, as drawings go.
    stream_.tags.Prefetch(r.firstTag, bytes / 16 + 1);
    const std::size_t start = stream_.tags.Start(r.firstTag);
    const std::size_t end = std::min(bytes_.size(), start + bytes);
    for (std::size_t at = start; at < end; at += 64) __builtin_prefetch(bytes_.data() + at);
}

std::string_view Database::TextViewAt(std::uint32_t rec, std::size_t i, std::string& scratch) const {
    const Record& r = records_[rec];
    if (r.owned != kNone && !owned_[r.owned][i].IsOriginal()) return NewValue(owned_[r.owned][i]);
    const ValueKind kind = KindOfCode(CodeAt(rec, i));
    const std::string_view raw = RawAt(rec, i);
    if (kind == ValueKind::Text && NeedsNoDecoding(raw)) return raw;
    if (kind != ValueKind::Text && stream_.form == DxfForm::Ascii) return TrimBlanks(raw);
    if (kind == ValueKind::Handle) return raw;
    scratch = TextAt(rec, i);
    return scratch;
}

std::string Database::TextAt(std::uint32_t rec, std::size_t i) const {
    const Record& r = records_[rec];
    if (r.owned != kNone && !owned_[r.owned][i].IsOriginal()) return std::string(NewValue(owned_[r.owned][i]));
    int code = CodeAt(rec, i);
    std::string_view raw = RawAt(rec, i);
    ValueKind kind = KindOfCode(code);
    if (stream_.form == DxfForm::Ascii) {
        if (kind == ValueKind::Text) return codec_.Decode(raw);
        return std::string(TrimBlanks(raw));
    }
    switch (kind) {
        case ValueKind::Text: return codec_.Decode(raw);
        case ValueKind::Handle: return std::string(raw);
        case ValueKind::Double: return RealText(ReadLe<double>(raw));
        case ValueKind::Int16:
        case ValueKind::Int32:
        case ValueKind::Int64:
        case ValueKind::Bool: return std::to_string(ReadBinaryInt(raw));
        case ValueKind::Binary: return HexOf(raw);
    }
    return {};
}

double Database::RealAt(std::uint32_t rec, std::size_t i) const {
    if (stream_.form != DxfForm::Ascii && IsOriginal(rec, i) && KindOfCode(CodeAt(rec, i)) == ValueKind::Double)
        return ReadLe<double>(RawAt(rec, i));
    if (IsOriginal(rec, i) && stream_.form == DxfForm::Ascii) {
        std::string_view s = TrimBlanks(RawAt(rec, i));
        if (!s.empty() && s.front() == '+') s.remove_prefix(1);
        double v = 0;
        std::from_chars(s.data(), s.data() + s.size(), v);
        return v;
    }
    return Tag{0, TextAt(rec, i)}.Real();
}

long long Database::IntAt(std::uint32_t rec, std::size_t i) const {
    if (IsOriginal(rec, i) && stream_.form == DxfForm::Ascii) {
        std::string_view s = TrimBlanks(RawAt(rec, i));
        if (!s.empty() && s.front() == '+') s.remove_prefix(1);
        long long v = 0;
        auto res = std::from_chars(s.data(), s.data() + s.size(), v);
        if (res.ec == std::errc() && res.ptr == s.data() + s.size()) return v;
    }
    return Tag{0, TextAt(rec, i)}.Int();
}

Handle Database::HandleAt(std::uint32_t rec, std::size_t i) const {
    if (IsOriginal(rec, i)) return ParseHandle(RawAt(rec, i));
    return ParseHandle(TextAt(rec, i));
}

std::string Database::TypeOf(std::uint32_t rec) const {
    const Record& r = records_[rec];
    if (r.owned == kNone && r.type != kNoType) return typeNames_[r.type];
    if (TagCount(rec) == 0 || CodeAt(rec, 0) != 0) return {};
    if (IsOriginal(rec, 0)) return std::string(TrimBlanks(RawAt(rec, 0)));
    return TextAt(rec, 0);
}

bool Database::TypeIs(std::uint32_t rec, std::string_view type) const {
    const Record& r = records_[rec];
    if (r.owned == kNone && r.type != kNoType) return typeNames_[r.type] == type;
    if (TagCount(rec) == 0 || CodeAt(rec, 0) != 0) return false;
    if (IsOriginal(rec, 0)) return TrimBlanks(RawAt(rec, 0)) == type;
    return NewValue(owned_[r.owned][0]) == type;
}

TagList Database::TagsOf(std::uint32_t rec) const {
    TagList out;
    std::size_t n = TagCount(rec);
    out.reserve(n);
    for (std::size_t i = 1; i < n; ++i) out.push_back({CodeAt(rec, i), TextAt(rec, i)});
    return out;
}

// ---------------------------------------------------------------------------------------------
// Editing

void Database::Touch() { modified_ = true; }

void Database::AddReactor(DatabaseReactor* reactor) {
    if (reactor && std::find(reactors_.begin(), reactors_.end(), reactor) == reactors_.end()) {
        reactors_.push_back(reactor);
    }
}

void Database::RemoveReactor(DatabaseReactor* reactor) {
    std::erase(reactors_, reactor);
}

void Database::NotifyModified(const Object& object) {
    if (object.GetDatabase() == this) NotifyModified(object.Index());
}

void Database::NotifyModified(std::uint32_t rec) {
    if (reactors_.empty()) return;
    const Object object(this, rec);
    // A lone reactor is told straight; several through a copy, since one may remove itself
    // while being told.
    if (reactors_.size() == 1) return reactors_.front()->ObjectModified(*this, object);
    for (DatabaseReactor* reactor : std::vector<DatabaseReactor*>(reactors_)) {
        reactor->ObjectModified(*this, object);
    }
}

void Database::TouchRecords() {
    Touch();
    if (recordsChanged_) return;
    recordsChanged_ = true;
    // Handles given while reading follow file order, so they only last while no record is added
    // or erased: from then on they go into the file, and the header must say it has handles. A
    // changed value alone leaves the file without them.
    if (handlesWereAssigned_) SyncHandSeed();
}

std::vector<Database::OwnedTag>& Database::Own(std::uint32_t rec) {
    Touch();
    NoteBlockChange(rec);
    Record& r = records_[rec];
    if (r.owned == kNone) {
        std::vector<OwnedTag> tags;
        const std::uint32_t count = OriginalTagCount(rec);
        tags.reserve(count);
        for (std::uint32_t k = 0; k < count; ++k) tags.push_back({stream_.tags.Code(r.firstTag + k), r.firstTag + k});
        r.owned = static_cast<std::uint32_t>(owned_.size());
        owned_.push_back(std::move(tags));
    }
    return owned_[records_[rec].owned];
}

void Database::SetTagAt(std::uint32_t rec, std::size_t i, std::string value) {
    if (IsOriginal(rec, i) && TextAt(rec, i) == value) return;  // unchanged values keep their bytes
    OwnedTag& tag = Own(rec)[i];
    if (tag.IsOriginal()) tag = NewTag(tag.code, std::move(value), tag.ref);
    else newValues_.Set(tag.ref & ~kNewValue, value);
    NotifyModified(rec);
}

Database::OwnedTag Database::NewTag(int code, std::string_view value, std::uint32_t replaces) {
    return OwnedTag{code, kNewValue | newValues_.Add(value, replaces)};
}

void Database::InsertTagAt(std::uint32_t rec, std::size_t i, Tag tag) {
    auto& tags = Own(rec);
    tags.insert(tags.begin() + static_cast<std::ptrdiff_t>(std::min(i, tags.size())),
                NewTag(tag.code, tag.value));
    NotifyModified(rec);
}

void Database::EraseTagsAt(std::uint32_t rec, std::size_t i, std::size_t count) {
    auto& tags = Own(rec);
    tags.erase(tags.begin() + static_cast<std::ptrdiff_t>(i), tags.begin() + static_cast<std::ptrdiff_t>(i + count));
    NotifyModified(rec);
}

std::uint32_t Database::NewRecord(TagList tags, std::uint32_t after, SectionKind section, std::uint32_t parent) {
    TouchRecords();
    Record r;
    r.section = section;
    r.parent = parent;
    r.owned = static_cast<std::uint32_t>(owned_.size());
    for (const Tag& t : tags) {
        if (t.code == 5 || t.code == 105) {
            r.handle = ParseHandle(t.value);
            break;
        }
    }
    std::vector<OwnedTag> owned;
    owned.reserve(tags.size());
    for (Tag& t : tags) owned.push_back(NewTag(t.code, t.value));
    owned_.push_back(std::move(owned));
    std::uint32_t index = static_cast<std::uint32_t>(records_.size());
    records_.push_back(r);
    NoteBlockChange(index);
    if (records_.back().handle) IndexHandle(records_.back().handle, index);
    // Link after `after`, or at the front when it is kNone.
    Record& n = records_[index];
    n.prev = after;
    n.next = after == kNone ? first_ : records_[after].next;
    if (n.next != kNone) records_[n.next].prev = index;
    else last_ = index;
    if (after != kNone) records_[after].next = index;
    else first_ = index;
    return index;
}

void Database::Unlink(std::uint32_t rec) {
    Record& r = records_[rec];
    if (r.prev != kNone) records_[r.prev].next = r.next;
    else first_ = r.next;
    if (r.next != kNone) records_[r.next].prev = r.prev;
    else last_ = r.prev;
    r.prev = r.next = kNone;
}

void Database::EraseRecord(std::uint32_t rec) {
    Record& r = records_[rec];
    if (r.erased) return;
    TouchRecords();
    NoteBlockChange(rec);
    Unlink(rec);
    r.erased = true;
    // The handle stays in the index; lookups skip erased records.
    NotifyModified(rec);
}

Handle Database::NextHandle() {
    Handle h = handSeed_++;
    SyncHandSeed();
    return h;
}

void Database::SyncHandSeed() {
    if (const std::uint32_t at = HeaderTagIndex("$HANDSEED"); at != kNone) {
        // Every new object comes here: the seed's one tag is set in place where it has one.
        const std::uint32_t rec = SectionRecord(SectionKind::Header);
        const std::size_t n = TagCount(rec);
        if (at + 1 < n && CodeAt(rec, at + 1) == 5 && (at + 2 == n || CodeAt(rec, at + 2) == 9))
            SetTagAt(rec, at + 1, HandleText(handSeed_));
        else
            SetHeader("$HANDSEED", {Tag{5, HandleText(handSeed_)}});
    }
    // Handles given on reading only mean something to readers once the header says so.
    if (handlesWereAssigned_ && HeaderTagIndex("$HANDLING") != kNone && HeaderInt("$HANDLING") == 0) {
        SetHeader("$HANDLING", {Tag{70, "1"}});
        if (HeaderTagIndex("$HANDSEED") == kNone) SetHeader("$HANDSEED", {Tag{5, HandleText(handSeed_)}});
    }
}

namespace {

// Fibonacci hashing spreads the consecutive handles of a drawing evenly over the slots.
inline std::size_t HandleSlot(Handle handle, std::size_t mask) {
    return static_cast<std::size_t>((handle * 0x9E3779B97F4A7C15ull) >> 32) & mask;
}

}  // namespace

std::uint32_t Database::Lookup(Handle handle) const {
    if (handle == 0 || handleSlots_.empty()) return kNone;
    const std::size_t mask = handleSlots_.size() - 1;
    for (std::size_t s = HandleSlot(handle, mask);; s = (s + 1) & mask) {
        std::uint32_t rec = handleSlots_[s];
        if (rec == kNone) return kNone;
        if (records_[rec].handle == handle) return records_[rec].erased ? kNone : rec;
    }
}

bool Database::IndexHandle(Handle handle, std::uint32_t rec, bool onlyNew) {
    // At most three quarters full, so that probes stay short.
    if ((handleCount_ + 1) * 4 > handleSlots_.size() * 3) RehashHandles((handleCount_ + 1) * 2);
    const std::size_t mask = handleSlots_.size() - 1;
    for (std::size_t s = HandleSlot(handle, mask);; s = (s + 1) & mask) {
        std::uint32_t& slot = handleSlots_[s];
        if (slot == kNone) {
            slot = rec;
            ++handleCount_;
            return true;
        }
        if (records_[slot].handle == handle) {
            if (onlyNew) return false;
            slot = rec;
            return true;
        }
    }
}

void Database::RehashHandles(std::size_t slots) {
    std::size_t size = 16;
    while (size < slots) size *= 2;
    std::vector<std::uint32_t> old = std::exchange(handleSlots_, std::vector<std::uint32_t>(size, kNone));
    const std::size_t mask = size - 1;
    for (std::uint32_t rec : old) {
        if (rec == kNone) continue;
        std::size_t s = HandleSlot(records_[rec].handle, mask);
        while (handleSlots_[s] != kNone) s = (s + 1) & mask;
        handleSlots_[s] = rec;
    }
}

Database::RecordRole Database::RoleOfType(std::string_view type) {
    static const std::pair<std::string_view, RecordRole> kRoles[] = {
        {"SECTION", RecordRole::Section}, {"ENDSEC", RecordRole::EndSec},     {"EOF", RecordRole::Eof},
        {"TABLE", RecordRole::Table},     {"ENDTAB", RecordRole::EndTab},     {"BLOCK", RecordRole::Block},
        {"ENDBLK", RecordRole::EndBlk},   {"ATTRIB", RecordRole::Attrib},     {"VERTEX", RecordRole::Vertex},
        {"SEQEND", RecordRole::SeqEnd},   {"POLYLINE", RecordRole::Polyline}, {"INSERT", RecordRole::Insert},
        {"MINSERT", RecordRole::Insert},  {"DIMSTYLE", RecordRole::DimStyle}};
    for (const auto& [name, role] : kRoles)
        if (name == type) return role;
    return RecordRole::Other;
}

std::uint16_t Database::InternType(std::string_view type, std::uint16_t hint) {
    // A drawing has a few dozen record types, mostly in runs (ATTRIB after ATTRIB).
    if (hint < typeNames_.size() && typeNames_[hint] == type) return hint;
    for (std::size_t t = 0; t < typeNames_.size(); ++t)
        if (typeNames_[t] == type) return static_cast<std::uint16_t>(t);
    if (typeNames_.size() >= kNoType) return kNoType;
    typeNames_.emplace_back(type);
    typeRoles_.push_back(RoleOfType(type));
    return static_cast<std::uint16_t>(typeNames_.size() - 1);
}

// ---------------------------------------------------------------------------------------------
// Objects

Object Database::ObjectByHandle(Handle handle) {
    std::uint32_t rec = Lookup(handle);
    if (rec == kNone || records_[rec].erased) return Object();
    if (mapped_) LookedUp(rec);
    return Object(this, rec);
}

std::vector<Object> Database::Objects() {
    std::vector<Object> out;
    for (std::uint32_t k = first_; k != kNone; k = records_[k].next)
        if (TagCount(k) > 0 && CodeAt(k, 0) == 0) out.emplace_back(this, k);
    return out;
}

std::vector<std::pair<std::string, std::size_t>> Database::CountsByType() const {
    // Records read as they are counted by their type's number, the others by name.
    std::vector<std::size_t> byType(typeNames_.size(), 0);
    std::map<std::string, std::size_t> counts;
    for (std::uint32_t k = first_; k != kNone; k = records_[k].next) {
        const Record& r = records_[k];
        if (r.owned == kNone && r.type != kNoType) {
            ++byType[r.type];
        } else if (std::string type = TypeOf(k); !type.empty()) {
            ++counts[type];
        }
    }
    for (std::size_t t = 0; t < byType.size(); ++t)
        if (byType[t] > 0 && !typeNames_[t].empty()) counts[typeNames_[t]] += byType[t];
    return {counts.begin(), counts.end()};
}

// ---------------------------------------------------------------------------------------------
// Sections and header

std::uint32_t Database::SectionRecord(SectionKind kind) const {
    for (std::uint32_t k = first_; k != kNone; k = records_[k].next)
        if (records_[k].section == kind && records_[k].parent == kNone && TypeIs(k, "SECTION")) return k;
    return kNone;
}

std::uint32_t Database::SectionEnd(std::uint32_t sectionRec) const {
    // Entities appended one by one each ask for the end of their section: the last answer is
    // kept while it still is the ENDSEC of that section.
    auto known = sectionEnds_.find(sectionRec);
    if (known != sectionEnds_.end() && known->second < records_.size() &&
        records_[known->second].parent == sectionRec && TypeIs(known->second, "ENDSEC"))
        return known->second;
    for (std::uint32_t k = records_[sectionRec].next; k != kNone; k = records_[k].next) {
        if (TypeIs(k, "ENDSEC")) {
            sectionEnds_[sectionRec] = k;
            return k;
        }
    }
    return kNone;
}

std::uint32_t Database::EnsureSection(SectionKind kind) {
    std::uint32_t rec = SectionRecord(kind);
    if (rec != kNone) return rec;
    // Sections go in their fixed order; the new one follows the last section that comes before it.
    std::uint32_t after = kNone;
    for (std::uint32_t k = first_; k != kNone; k = records_[k].next) {
        if (TypeIs(k, "EOF")) break;
        if (TypeIs(k, "ENDSEC") && records_[k].section < kind) after = k;
        if (TypeIs(k, "ENDSEC") && records_[k].section > kind) break;
        if (k == first_ && TagCount(k) > 0 && CodeAt(k, 0) != 0) after = k;  // leading comments
    }
    std::uint32_t section = NewRecord({{0, "SECTION"}, {2, SectionName(kind)}}, after, kind, kNone);
    NewRecord({{0, "ENDSEC"}}, section, kind, section);
    return section;
}

std::uint32_t Database::HeaderTagIndex(std::string_view name) const {
    std::uint32_t rec = SectionRecord(SectionKind::Header);
    if (rec == kNone) return kNone;
    const std::size_t n = TagCount(rec);
    auto isName = [&](std::size_t i) {
        if (CodeAt(rec, i) != 9) return false;
        std::string_view raw = IsOriginal(rec, i) ? TrimBlanks(RawAt(rec, i)) : std::string_view();
        return IsOriginal(rec, i) ? base::EqualNoCase(raw, name) : base::EqualNoCase(TextAt(rec, i), name);
    };
    // A new handle writes $HANDSEED each time: where a variable was found is kept, and checked
    // before it is trusted, since variables added earlier in the header move those behind them.
    auto known = headerIndex_.find(name);
    if (known != headerIndex_.end() && known->second < n && isName(known->second)) return known->second;
    for (std::size_t i = 2; i < n; ++i) {
        if (!isName(i)) continue;
        headerIndex_.insert_or_assign(std::string(name), static_cast<std::uint32_t>(i));
        return static_cast<std::uint32_t>(i);
    }
    return kNone;
}

TagList Database::Header(std::string_view name) const {
    TagList out;
    std::uint32_t i = HeaderTagIndex(name);
    if (i == kNone) return out;
    std::uint32_t rec = SectionRecord(SectionKind::Header);
    for (std::size_t k = i + 1; k < TagCount(rec) && CodeAt(rec, k) != 9; ++k)
        out.push_back({CodeAt(rec, k), TextAt(rec, k)});
    return out;
}

std::string Database::HeaderText(std::string_view name, std::string_view fallback) const {
    TagList values = Header(name);
    return values.empty() ? std::string(fallback) : values.front().value;
}

double Database::HeaderReal(std::string_view name, double fallback) const {
    TagList values = Header(name);
    return values.empty() ? fallback : values.front().Real();
}

long long Database::HeaderInt(std::string_view name, long long fallback) const {
    TagList values = Header(name);
    return values.empty() ? fallback : values.front().Int();
}

base::Status Database::SetHeader(std::string_view name, const TagList& values) {
    if (name.empty() || values.empty())
        return base::Status::Error("a header variable needs a name and a value");
    // The units follow their variables; the handle seed, set at every new object, costs nothing.
    struct UnitsAfter {
        Database& db;
        bool unit;
        ~UnitsAfter() {
            if (unit) db.units_ = db.ReadUnits();
        }
    } after{*this, false};
    for (std::string_view variable : {"$LUNITS", "$LUPREC", "$AUNITS", "$AUPREC", "$ANGBASE", "$ANGDIR",
                                      "$DIMZIN", "$UNITMODE"}) {
        after.unit = after.unit || SameNameNoCase(name, variable);
    }
    std::uint32_t rec = EnsureSection(SectionKind::Header);
    std::uint32_t at = HeaderTagIndex(name);
    if (at == kNone) {
        std::size_t end = TagCount(rec);
        InsertTagAt(rec, end, Tag{9, std::string(name)});
        for (std::size_t k = 0; k < values.size(); ++k) InsertTagAt(rec, end + 1 + k, values[k]);
        return base::Status::Ok();
    }
    std::size_t k = at + 1;
    std::size_t old = 0;
    while (k + old < TagCount(rec) && CodeAt(rec, k + old) != 9) ++old;
    bool sameShape = old == values.size();
    for (std::size_t v = 0; sameShape && v < old; ++v) sameShape = CodeAt(rec, k + v) == values[v].code;
    if (sameShape) {
        for (std::size_t v = 0; v < old; ++v) SetTagAt(rec, k + v, values[v].value);
        return base::Status::Ok();
    }
    EraseTagsAt(rec, k, old);
    for (std::size_t v = 0; v < values.size(); ++v) InsertTagAt(rec, k + v, values[v]);
    return base::Status::Ok();
}

UnitSettings Database::ReadUnits() const {
    UnitSettings units;
    units.lunits = static_cast<int>(HeaderInt("$LUNITS", units.lunits));
    units.luprec = static_cast<int>(HeaderInt("$LUPREC", units.luprec));
    units.aunits = static_cast<int>(HeaderInt("$AUNITS", units.aunits));
    units.auprec = static_cast<int>(HeaderInt("$AUPREC", units.auprec));
    units.angbase = HeaderReal("$ANGBASE", 0) * 3.14159265358979323846 / 180.0;
    units.angdir = static_cast<int>(HeaderInt("$ANGDIR", units.angdir));
    units.dimzin = static_cast<int>(HeaderInt("$DIMZIN", units.dimzin));
    units.unitmode = static_cast<int>(HeaderInt("$UNITMODE", units.unitmode));
    return units;
}

// ---------------------------------------------------------------------------------------------
// Writing

void Database::WriteTag(std::string& out, int code, std::string_view text) const {
    AppendTag(out, code, text, stream_.form, codec_, eol_, paddedCodes_);
}

namespace {

// A group code as ASCII DXF writes it, right-aligned in three places when `padded`; the codes
// of a drawing are few, so their texts are made once.
void AppendGroupCode(std::string& out, int code, bool padded) {
    constexpr int kCached = 1100;
    static const std::vector<std::string> texts[2] = {
        [] {
            std::vector<std::string> t;
            for (int c = 0; c < kCached; ++c) t.push_back(fmt::format("{}", c));
            return t;
        }(),
        [] {
            std::vector<std::string> t;
            for (int c = 0; c < kCached; ++c) t.push_back(fmt::format("{:>3}", c));
            return t;
        }()};
    if (code >= 0 && code < kCached) {
        out += texts[padded ? 1 : 0][static_cast<std::size_t>(code)];
    } else if (padded) {
        fmt::format_to(std::back_inserter(out), "{:>3}", code);
    } else {
        fmt::format_to(std::back_inserter(out), "{}", code);
    }
}

}  // namespace

void Database::AppendTag(std::string& out, int code, std::string_view text, DxfForm form,
                         const TextCodec& codec, const char* eol, bool paddedCodes) {
    ValueKind kind = KindOfCode(code);
    if (kind == ValueKind::Binary && text.size() > 254) {
        // AutoCAD keeps binary chunks at 127 bytes; longer data goes in several tags.
        for (std::size_t p = 0; p < text.size(); p += 254)
            AppendTag(out, code, text.substr(p, 254), form, codec, eol, paddedCodes);
        return;
    }
    if (form == DxfForm::Ascii) {
        AppendGroupCode(out, code, paddedCodes);
        out += eol;
        if (kind == ValueKind::Text) codec.EncodeTo(out, text);
        else out.append(text);
        out += eol;
        return;
    }
    if (form == DxfForm::Binary) {
        AppendLe<std::int16_t>(out, static_cast<std::int16_t>(code));
    } else if (code < 255) {
        out += static_cast<char>(code);
    } else {
        out += static_cast<char>(255);
        AppendLe<std::int16_t>(out, static_cast<std::int16_t>(code));
    }
    Tag tag{code, std::string(text)};
    switch (kind) {
        case ValueKind::Text: codec.EncodeTo(out, text); out += '\0'; break;
        case ValueKind::Handle: out.append(text); out += '\0'; break;
        case ValueKind::Double: AppendLe<double>(out, tag.Real()); break;
        case ValueKind::Int16: AppendLe<std::int16_t>(out, static_cast<std::int16_t>(tag.Int())); break;
        case ValueKind::Int32: AppendLe<std::int32_t>(out, static_cast<std::int32_t>(tag.Int())); break;
        case ValueKind::Int64: AppendLe<std::int64_t>(out, tag.Int()); break;
        case ValueKind::Bool: out += static_cast<char>(tag.Int() != 0); break;
        case ValueKind::Binary: {
            std::string bytes = BytesOfHex(text);
            out += static_cast<char>(bytes.size());
            out += bytes;
            break;
        }
    }
}

std::string Database::WhereIs(std::uint32_t rec) const {
    if (rec >= originalRecords_) return fileName_;
    const std::size_t offset = stream_.tags.Start(records_[rec].firstTag);
    return stream_.form == DxfForm::Ascii
               ? fmt::format("{}: line {}", fileName_, LineOfOffset(bytes_, offset, stream_.lineEnd))
               : fmt::format("{}: byte offset {}", fileName_, offset);
}

// True for a binary number stored in another width than its code's, as some writers store them
// (the reader took the width after which a sensible group code follows).
bool Database::HasOddWidth(std::uint32_t tag) const {
    std::size_t width = 0;
    switch (KindOfCode(stream_.tags.Code(tag))) {
        case ValueKind::Double:
        case ValueKind::Int64: width = 8; break;
        case ValueKind::Int32: width = 4; break;
        case ValueKind::Int16: width = 2; break;
        case ValueKind::Bool: width = 1; break;
        default: return false;
    }
    return RawValue(bytes_, stream_, tag).size() != width;
}

// True for an unchanged record of a changed drawing that holds a number of odd width.
bool Database::NeedsNewWidths(std::uint32_t rec) const {
    if (!modified_ || stream_.oddWidths == 0) return false;
    const std::uint32_t first = records_[rec].firstTag, count = OriginalTagCount(rec);
    for (std::uint32_t t = first; t < first + count; ++t)
        if (HasOddWidth(t)) return true;
    return false;
}

// Appends tags [from, from + count) as they were read. In a changed drawing a number of odd
// width is written in its code's own width, with the value read from it: its width was guessed
// from what followed it, and what follows may be written differently now.
void Database::AppendOriginalTags(std::string& out, std::uint32_t from, std::uint32_t count) const {
    const auto& tags = stream_.tags;
    std::uint32_t run = from;
    for (std::uint32_t t = from; modified_ && stream_.oddWidths > 0 && t < from + count; ++t) {
        if (!HasOddWidth(t)) continue;
        out.append(bytes_, tags.Start(run), tags.Start(t) - tags.Start(run));
        std::string_view raw = RawValue(bytes_, stream_, t);
        const int code = tags.Code(t);
        WriteTag(out, code, KindOfCode(code) == ValueKind::Double ? RealText(ReadLe<double>(raw))
                                                                  : std::to_string(ReadBinaryInt(raw)));
        run = t + 1;
    }
    out.append(bytes_, tags.Start(run), tags.Start(from + count) - tags.Start(run));
}

// A new value of an ASCII tag goes between the code line and the line end it had: writers
// that align some codes and not others (AutoCAD R13 files edited by other programs) keep their
// lines as they were.
bool Database::WriteReplacedTag(std::string& out, const OwnedTag& tag) const {
    if (stream_.form != DxfForm::Ascii) return false;
    const std::uint32_t original = newValues_.Replaced(tag.ref & ~kNewValue);
    if (original == kNone || stream_.tags.Code(original) != tag.code) return false;
    const std::string_view raw = RawValue(bytes_, stream_, original);
    const std::size_t valueStart = static_cast<std::size_t>(raw.data() - bytes_.data());
    const std::size_t valueEnd = valueStart + raw.size(), tagEnd = stream_.tags.Start(original + 1);
    // The last tag of a file may end without a line end.
    if (valueEnd == tagEnd) return false;
    const std::uint32_t start = stream_.tags.Start(original);
    out.append(bytes_, start, valueStart - start);
    if (KindOfCode(tag.code) == ValueKind::Text) codec_.EncodeTo(out, NewValue(tag));
    else out += NewValue(tag);
    out.append(bytes_, valueEnd, tagEnd - valueEnd);
    return true;
}

void Database::WriteRecord(std::string& out, std::uint32_t rec) const {
    const Record& r = records_[rec];
    auto span = [&](std::uint32_t tag, std::uint32_t count) { AppendOriginalTags(out, tag, count); };
    if (r.owned == kNone) {
        const std::uint32_t count = OriginalTagCount(rec);
        if (r.handleAssigned && recordsChanged_ && count > 0) {
            span(r.firstTag, 1);
            WriteTag(out, TypeIs(rec, "DIMSTYLE") ? 105 : 5, HandleText(r.handle));
            span(r.firstTag + 1, count - 1);
        } else {
            span(r.firstTag, count);
        }
        return;
    }
    const auto& owned = owned_[r.owned];
    for (std::size_t i = 0; i < owned.size(); ++i) {
        const OwnedTag& t = owned[i];
        if (t.IsOriginal()) span(t.ref, 1);
        else if (!WriteReplacedTag(out, t)) WriteTag(out, t.code, NewValue(t));
        if (i == 0 && r.handleAssigned && recordsChanged_)
            WriteTag(out, TypeIs(rec, "DIMSTYLE") ? 105 : 5, HandleText(r.handle));
    }
}

template <class Out>
void Database::WriteTo(Out&& out) const {
    // Unchanged records that follow each other in the buffer go out as one run of its bytes,
    // so an unchanged drawing is a single piece; changed records are made in a scratch string.
    const std::string_view bytes = bytes_;
    const TagIndex& tags = stream_.tags;
    std::size_t runStart = 0, runEnd = stream_.prefix;
    // A mapped drawing goes out a mebibyte at a time, handing back what was written right
    // behind the writing: only a record moved elsewhere reads the bytes of another place, and
    // their pages then come in again.
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    std::size_t handedBack = 0;
    auto handBack = [&](std::size_t before) {
        if (!mapped_ || before < handedBack + kPiece) return;
        mapped_->HandBack(handedBack, before);
        handedBack = before;
    };
    auto flush = [&] {
        while (mapped_ && runEnd - runStart > kPiece) {
            out(bytes.substr(runStart, kPiece));
            runStart += kPiece;
            handBack(runStart);
        }
        if (runEnd > runStart) {
            out(bytes.substr(runStart, runEnd - runStart));
            handBack(runEnd);
        }
        runStart = runEnd = 0;
    };
    std::string scratch;
    bool eofWritten = false;
    for (std::uint32_t k = first_; k != kNone; k = records_[k].next) {
        const Record& r = records_[k];
        const std::uint32_t count = r.owned == kNone ? OriginalTagCount(k) : 0;
        if (r.owned == kNone && !(r.handleAssigned && recordsChanged_ && count > 0) && !NeedsNewWidths(k)) {
            const std::size_t from = tags.Start(r.firstTag);
            if (from != runEnd) {
                flush();
                runStart = from;
            }
            runEnd = tags.Start(r.firstTag + count);
        } else {
            flush();
            scratch.clear();
            WriteRecord(scratch, k);
            out(std::string_view(scratch));
        }
        eofWritten = eofWritten || TypeIs(k, "EOF");
    }
    // A changed drawing gets the EOF record other readers insist on.
    if (modified_ && !eofWritten) {
        flush();
        scratch.clear();
        WriteTag(scratch, 0, "EOF");
        out(std::string_view(scratch));
    }
    const std::size_t tail = tags.Start(stream_.Count());
    if (tail != runEnd) flush();
    if (runEnd == 0) runStart = tail;
    runEnd = bytes.size();
    flush();
    // Nothing written is read again for the writing.
    if (mapped_) {
        mapped_->HandBack(0, bytes.size());
        handedBack_ = 0;
    }
}

std::string Database::Write() const {
    std::string out;
    out.reserve(bytes_.size() + (modified_ ? bytes_.size() / 16 + 64 : 0));
    WriteTo([&out](std::string_view piece) { out.append(piece); });
    return out;
}

base::Status Database::Save(const std::string& path, const std::string& backupPath) const {
    base::AtomicFile file(path);
    base::Status status = file.Open();
    if (status) {
        WriteTo([&file](std::string_view piece) { file.Write(piece); });
        // Another program's writes to a mapped file may show in what was written from it.
        if (mapped_) status = mapped_->CheckUnchanged();
        if (status) status = file.Commit(backupPath);
    }
    return status;  // the file's messages name the path already
}

// ---------------------------------------------------------------------------------------------
// Symbol tables

std::uint32_t Database::FindTable(std::string_view table) const {
    for (std::uint32_t k = first_; k != kNone; k = records_[k].next) {
        if (records_[k].section != SectionKind::Tables || !TypeIs(k, "TABLE")) continue;
        if (Object(const_cast<Database*>(this), k).GetText(2) == table) return k;
    }
    return kNone;
}

std::vector<SymbolRecord> Database::TableRecords(std::string_view table) {
    std::vector<SymbolRecord> out;
    std::uint32_t t = FindTable(table);
    if (t == kNone) return out;
    for (std::uint32_t k = records_[t].next; k != kNone && records_[k].parent == t; k = records_[k].next)
        if (!TypeIs(k, "ENDTAB")) out.emplace_back(this, k);
    return out;
}

SymbolRecord Database::FindRecord(std::string_view table, std::string_view name) {
    for (const SymbolRecord& r : TableRecords(table))
        if (base::EqualNoCase(r.Name(), name)) return r;
    return SymbolRecord();
}

std::uint32_t Database::EnsureTable(std::string_view table) {
    std::uint32_t t = FindTable(table);
    if (t != kNone) return t;
    std::uint32_t section = EnsureSection(SectionKind::Tables);
    std::uint32_t end = SectionEnd(section);
    TagList head = {{0, "TABLE"}, {2, std::string(table)}};
    if (release_ >= 1012) {
        head.push_back({5, HandleText(NextHandle())});
        head.push_back({330, "0"});
        head.push_back({100, "AcDbSymbolTable"});
    }
    head.push_back({70, "0"});
    t = NewRecord(head, records_[end].prev, SectionKind::Tables, section);
    NewRecord({{0, "ENDTAB"}}, t, SectionKind::Tables, t);
    return t;
}

std::uint32_t Database::LastInTable(std::uint32_t t) const {
    std::uint32_t last = t;
    while (records_[last].next != kNone && records_[records_[last].next].parent == t) last = records_[last].next;
    return TypeIs(last, "ENDTAB") ? records_[last].prev : last;
}

void Database::RaiseTableCount(std::uint32_t t, std::string_view table) {
    // The table's count is a hint to readers; keep it no lower than the records it has.
    Object tableObject(this, t);
    long long count = static_cast<long long>(TableRecords(table).size());
    if (tableObject.GetInt(70, 0) < count) tableObject.SetInt(70, count);
}

base::Result<SymbolRecord> Database::AddRecord(std::string_view table, std::string_view name, const TagList& data) {
    if (name.empty()) return base::Status::Error(fmt::format("a {} record needs a name", table));
    if (SymbolRecord existing = FindRecord(table, name)) return existing;
    bool r13 = release_ >= 1012;
    std::uint32_t t = EnsureTable(table);
    TagList tags = {{0, std::string(table)}, {table == "DIMSTYLE" ? 105 : 5, HandleText(NextHandle())}};
    if (r13) {
        tags.push_back({330, Object(this, t).HandleString()});
        tags.push_back({100, "AcDbSymbolTableRecord"});
        tags.push_back({100, std::string(TableRecordSubclass(table))});
    }
    tags.push_back({2, std::string(name)});
    if (table != "BLOCK_RECORD") tags.push_back({70, "0"});
    tags.insert(tags.end(), data.begin(), data.end());
    std::uint32_t rec = NewRecord(tags, LastInTable(t), SectionKind::Tables, t);
    RaiseTableCount(t, table);
    return SymbolRecord(this, rec);
}

Layer Database::FindLayer(std::string_view name) {
    SymbolRecord r = FindRecord("LAYER", name);
    return r ? Layer(this, r.Index()) : Layer();
}

base::Result<Layer> Database::AddLayer(std::string_view name) {
    TagList data = {{62, "7"}, {6, "CONTINUOUS"}};
    if (release_ >= 1015) {
        data.push_back({370, "-3"});
        // AutoCAD expects every layer to name its plot style (and material from 2007 on); a new
        // layer takes those of layer 0.
        if (Layer zero = FindLayer("0")) {
            for (int code : {390, 347})
                if (Handle h = zero.GetHandleValue(code)) data.push_back({code, HandleText(h)});
        }
    }
    auto r = AddRecord("LAYER", name, data);
    if (!r) return r.GetStatus();
    return Layer(this, r->Index());
}

base::Status Database::RegisterApp(std::string_view name) {
    auto r = AddRecord("APPID", name);
    return r ? base::Status::Ok() : r.GetStatus();
}

SymbolRecord Database::ActiveViewport() { return FindRecord("VPORT", "*ACTIVE"); }

// ---------------------------------------------------------------------------------------------
// Blocks

std::vector<BlockRecord> Database::Blocks() {
    std::vector<BlockRecord> out;
    for (std::uint32_t b = 0; b < blocks_.size(); ++b)
        if (!blocks_[b].erased) out.emplace_back(this, b);
    return out;
}

std::string_view Database::BlockNameView(std::uint32_t block, std::string& scratch) {
    const BlockInfo& info = blocks_[block];
    const std::uint32_t rec = info.record != kNone ? info.record : info.begin;
    if (rec != kNone) return Object(this, rec).GetTextView(2, scratch);
    return release_ < 1012 ? "$MODEL_SPACE" : "*Model_Space";
}

bool SameNameNoCase(std::string_view a, std::string_view b) {
    // ASCII names of different lengths never match; a reader asks this for every reference.
    auto ascii = [](std::string_view s) {
        for (char c : s)
            if (static_cast<unsigned char>(c) >= 0x80) return false;
        return true;
    };
    if (a.size() != b.size() && ascii(a) && ascii(b)) return false;
    return base::EqualNoCase(a, b);
}

BlockRecord Database::FindBlock(std::string_view name) {
    // Every reference asks this, so names are looked up in an index made when first needed
    // and again after a block was made, erased or renamed.
    RefreshBlockIndex();
    auto it = blockNames_.find(base::FoldCase(name));
    if (it == blockNames_.end() || blocks_[it->second].erased) return BlockRecord();
    return BlockRecord(this, it->second);
}

void Database::RefreshBlockIndex() {
    if (blockNamesAt_ == blockNamesChanges_ && !blockNames_.empty()) return;
    std::string scratch;
    blockNames_.clear();
    blockNames_.reserve(blocks_.size());
    blockOfBegin_.clear();
    blockOfBegin_.reserve(blocks_.size());
    for (std::uint32_t b = 0; b < blocks_.size(); ++b) {
        if (blocks_[b].erased) continue;
        blockNames_.emplace(base::FoldCase(BlockNameView(b, scratch)), b);
        if (blocks_[b].begin != kNone) blockOfBegin_.emplace(blocks_[b].begin, b);
    }
    blockNamesAt_ = blockNamesChanges_;
}

std::uint32_t Database::BlockOfBegin(std::uint32_t begin) {
    RefreshBlockIndex();
    auto it = blockOfBegin_.find(begin);
    return it == blockOfBegin_.end() ? kNone : it->second;
}

void Database::NoteBlockChange(std::uint32_t rec) {
    // Asked for every value set, so a record read from the file is told by its type as read.
    const std::uint16_t type = records_[rec].type;
    const bool block = type != kNoType ? typeNames_[type] == "BLOCK_RECORD" || typeNames_[type] == "BLOCK"
                                       : TypeIs(rec, "BLOCK_RECORD") || TypeIs(rec, "BLOCK");
    if (block) ++blockNamesChanges_;
}

BlockRecord Database::ModelSpace() {
    for (std::uint32_t b = 0; b < blocks_.size(); ++b)
        if (BlockRecord(this, b).IsModelSpace()) return BlockRecord(this, b);
    return BlockRecord();
}

BlockRecord Database::PaperSpace() {
    BlockRecord block = FindBlock("*Paper_Space");
    return block ? block : FindBlock("$PAPER_SPACE");
}

base::Result<BlockRecord> Database::CreateBlock(std::string_view name, double baseX, double baseY, double baseZ) {
    if (name.empty()) return base::Status::Error("a block needs a name");
    if (FindBlock(name)) return base::Status::Error(fmt::format("block \"{}\" exists already", name));
    BlockInfo info;
    bool r13 = release_ >= 1012;
    Handle owner = 0;
    if (r13) {
        auto record = AddRecord("BLOCK_RECORD", name, {{340, "0"}});
        if (!record) return record.GetStatus();
        info.record = record->Index();
        owner = record->GetHandle();
    }
    std::uint32_t section = EnsureSection(SectionKind::Blocks);
    std::uint32_t end = SectionEnd(section);
    TagList begin = {{0, "BLOCK"}, {5, HandleText(NextHandle())}};
    if (r13) {
        begin.push_back({330, HandleText(owner)});
        begin.push_back({100, "AcDbEntity"});
    }
    begin.push_back({8, "0"});
    if (r13) begin.push_back({100, "AcDbBlockBegin"});
    begin.push_back({2, std::string(name)});
    begin.push_back({70, name.front() == '*' ? "1" : "0"});
    begin.push_back(RealTag(10, baseX));
    begin.push_back(RealTag(20, baseY));
    begin.push_back(RealTag(30, baseZ));
    begin.push_back({3, std::string(name)});
    begin.push_back({1, ""});
    info.begin = NewRecord(begin, records_[end].prev, SectionKind::Blocks, section);
    TagList finish = {{0, "ENDBLK"}, {5, HandleText(NextHandle())}};
    if (r13) {
        finish.push_back({330, HandleText(owner)});
        finish.push_back({100, "AcDbEntity"});
    }
    finish.push_back({8, "0"});
    if (r13) finish.push_back({100, "AcDbBlockEnd"});
    info.end = NewRecord(finish, info.begin, SectionKind::Blocks, info.begin);
    blocks_.push_back(info);
    ++blockNamesChanges_;
    return BlockRecord(this, static_cast<std::uint32_t>(blocks_.size() - 1));
}

base::Status Database::EraseBlock(BlockRecord block) {
    if (!block || block.IsErased()) return base::Status::Error("no block to erase");
    if (block.IsLayout()) return base::Status::Error(fmt::format("\"{}\" is a layout and cannot be erased", block.Name()));
    for (BlockReference& ref : block.References()) ref.Erase();
    BlockInfo& info = blocks_[block.index_];
    if (info.begin != kNone) {
        std::uint32_t k = info.begin;
        while (k != kNone) {
            std::uint32_t next = records_[k].next;
            bool last = k == info.end;
            EraseRecord(k);
            if (last) break;
            k = next;
        }
    }
    if (info.record != kNone) Object(this, info.record).Erase();
    info.erased = true;
    TouchRecords();
    ++blockNamesChanges_;
    return base::Status::Ok();
}

Dictionary Database::NamedObjects() {
    std::uint32_t section = SectionRecord(SectionKind::Objects);
    if (section == kNone) return Dictionary();
    for (std::uint32_t k = records_[section].next; k != kNone; k = records_[k].next) {
        if (TypeIs(k, "ENDSEC")) break;
        if (TypeIs(k, "DICTIONARY")) return Dictionary(this, k);  // the root comes first
    }
    return Dictionary();
}

}  // namespace cad
