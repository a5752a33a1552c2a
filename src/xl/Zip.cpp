#include "xl/Zip.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>
#include <zlib.h>

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "base/Format.h"

namespace xl {
namespace {

constexpr std::uint32_t kLocalSig = 0x04034b50;
constexpr std::uint32_t kCentralSig = 0x02014b50;
constexpr std::uint32_t kEndSig = 0x06054b50;
constexpr std::uint32_t kEnd64Sig = 0x06064b50;
constexpr std::uint32_t kLocator64Sig = 0x07064b50;
constexpr std::uint32_t k32Max = 0xFFFFFFFFu;

// Little-endian reads that never run past the image: out-of-range reads give 0 and set `bad`.
struct Cursor {
    std::string_view data;
    std::uint64_t pos = 0;
    bool bad = false;

    std::uint64_t Get(int bytes) {
        if (pos > data.size() || data.size() - pos < static_cast<std::uint64_t>(bytes)) {
            bad = true;
            return 0;
        }
        std::uint64_t v = 0;
        for (int i = bytes - 1; i >= 0; --i) v = (v << 8) | static_cast<unsigned char>(data[pos + i]);
        pos += bytes;
        return v;
    }
    std::uint16_t U16() { return static_cast<std::uint16_t>(Get(2)); }
    std::uint32_t U32() { return static_cast<std::uint32_t>(Get(4)); }
    std::uint64_t U64() { return Get(8); }
    std::string_view Bytes(std::uint64_t n) {
        if (pos > data.size() || data.size() - pos < n) {
            bad = true;
            return {};
        }
        std::string_view v = data.substr(pos, n);
        pos += n;
        return v;
    }
};

void Put(std::string& out, std::uint64_t v, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

// Zip64 extra field (id 1): values present only for the fields that hold 0xFFFFFFFF.
void ApplyZip64Extra(std::string_view extra, ZipEntry& e, std::uint64_t* localOffset) {
    Cursor c{extra};
    while (!c.bad && c.data.size() - c.pos >= 4) {
        std::uint16_t id = c.U16();
        std::uint16_t len = c.U16();
        std::string_view body = c.Bytes(len);
        if (c.bad || id != 1) continue;
        Cursor b{body};
        if (e.size == k32Max) e.size = b.U64();
        if (e.compressedSize == k32Max && !b.bad) e.compressedSize = b.U64();
        if (localOffset && *localOffset == k32Max && !b.bad) *localOffset = b.U64();
    }
}

bool IsCompoundFile(std::string_view image) {
    static const char kMagic[] = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
    return image.size() >= 8 && std::memcmp(image.data(), kMagic, 8) == 0;
}

// Password-protected workbooks are OLE compound files holding a stream named "EncryptedPackage".
bool HoldsEncryptedPackage(std::string_view image) {
    std::string name;
    for (char c : std::string_view("EncryptedPackage")) {
        name.push_back(c);
        name.push_back('\0');
    }
    return image.find(name) != std::string_view::npos;
}

}  // namespace

// One raw deflate stream for `text` that the next chunk's stream can follow (or that ends the
// data when `last`); `dictionary` is the text just before it.
std::string DeflateChunk(std::string_view text, std::string_view dictionary, int level, bool last);

// Compresses a stream chunk by chunk, pigz-style: each chunk is its own deflate run primed with
// the window of the one before, ending on a byte boundary, so the pieces join into one stream and
// their CRCs combine. A worker thread takes chunks while the caller produces the next one.
class ChunkDeflater {
public:
    explicit ChunkDeflater(int level);
    ~ChunkDeflater();
    ChunkDeflater(const ChunkDeflater&) = delete;
    ChunkDeflater& operator=(const ChunkDeflater&) = delete;
    // Queues the next chunk: `owned` when not empty, else `text`, which must outlive Finish().
    void Submit(std::string_view text, std::string owned, bool last);
    // Waits for every chunk and gives the joined stream; call after the `last` chunk.
    DeflatedData Finish();
    // An emptied text buffer of a chunk already compressed, to fill again; "" when none.
    std::string Spare() {
        spare_.clear();
        return std::move(spare_);
    }

private:
    struct Job;
    void Run(Job& job);
    void Work();
    void Append(const Job& job);

    int level_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::unique_ptr<Job>> jobs_;  // submitted and not yet appended, in order
    std::string window_;                     // the last 32 KB of the latest chunk
    std::thread worker_;
    bool workerFailed_ = false;
    bool stop_ = false;
    DeflatedData out_;
    std::string spare_;
};

base::Result<ZipReader> ZipReader::Open(std::string image, std::string_view label) {
    ZipReader zip;
    zip.image_ = std::move(image);
    if (base::Status read = zip.ReadDirectory(label); !read) return read;
    return zip;
}

base::Result<ZipReader> ZipReader::Open(base::MappedFile mapped, std::string_view label) {
    ZipReader zip;
    zip.mapped_.emplace(std::move(mapped));
    if (base::Status read = zip.ReadDirectory(label); !read) return read;
    // The pages of the directory go back; those of a part are mapped when it is read.
    zip.HandBack(0, zip.Image().size());
    return zip;
}

base::Status ZipReader::ReadDirectory(std::string_view label) {
    label_ = std::string(label);
    const std::string_view data = Image();
    if (IsCompoundFile(data)) {
        if (HoldsEncryptedPackage(data))
            return base::Status::Error(label_ +
                                       ": the workbook is encrypted (password-protected); open it "
                                       "in its program, remove the password and save it again");
        return base::Status::Error(label_ +
                                   ": this is a binary (OLE compound) file such as an old .xls, "
                                   "not an .xlsx package");
    }
    if (data.size() < 22 || data.substr(0, 2) != "PK")
        return base::Status::Error(label_ + ": not a zip package (.xlsx files are zip archives)");

    // The end record sits in the last 22 bytes plus at most a 65535-byte comment.
    std::uint64_t endPos = std::string_view::npos;
    std::uint64_t lowest = data.size() > 22 + 65535 ? data.size() - 22 - 65535 : 0;
    for (std::uint64_t p = data.size() - 22 + 1; p-- > lowest;) {
        Cursor c{data, p};
        if (c.U32() == kEndSig) {
            endPos = p;
            break;
        }
    }
    bool directoryOk = false;
    if (endPos != std::string_view::npos) {
        Cursor c{data, endPos + 4};
        c.U16();
        c.U16();
        c.U16();
        std::uint64_t count = c.U16();
        std::uint64_t cdSize = c.U32();
        std::uint64_t cdOffset = c.U32();
        if (endPos >= 20) {
            Cursor loc{data, endPos - 20};
            if (loc.U32() == kLocator64Sig) {
                loc.U32();
                std::uint64_t end64 = loc.U64();
                Cursor e{data, end64};
                if (e.U32() == kEnd64Sig) {
                    e.U64();
                    e.U16();
                    e.U16();
                    e.U32();
                    e.U32();
                    e.U64();
                    count = e.U64();
                    cdSize = e.U64();
                    cdOffset = e.U64();
                }
            }
        }
        // Each central record is at least 46 bytes, which bounds what a lying count can cost.
        directoryOk = cdOffset <= data.size() && cdSize <= data.size() - cdOffset &&
                      count <= cdSize / 46;
        Cursor cd{data, cdOffset};
        std::vector<ZipEntry> entries;
        entries.reserve(directoryOk ? count : 0);
        for (std::uint64_t i = 0; directoryOk && i < count; ++i) {
            if (cd.U32() != kCentralSig) {
                directoryOk = false;
                break;
            }
            ZipEntry e;
            cd.U16();
            cd.U16();
            e.flags = cd.U16();
            e.method = cd.U16();
            e.dosTime = cd.U32();
            e.crc = cd.U32();
            e.compressedSize = cd.U32();
            e.size = cd.U32();
            std::uint16_t nameLen = cd.U16();
            std::uint16_t extraLen = cd.U16();
            std::uint16_t commentLen = cd.U16();
            cd.U16();
            cd.U16();
            cd.U32();
            std::uint64_t localOffset = cd.U32();
            e.name = std::string(cd.Bytes(nameLen));
            ApplyZip64Extra(cd.Bytes(extraLen), e, &localOffset);
            cd.Bytes(commentLen);
            Cursor local{data, localOffset};
            if (cd.bad || local.U32() != kLocalSig) {
                directoryOk = false;
                break;
            }
            local.pos += 22;
            std::uint16_t localName = local.U16();
            std::uint16_t localExtra = local.U16();
            e.dataOffset = local.pos + localName + localExtra;
            if (local.bad || e.dataOffset > data.size() ||
                e.compressedSize > data.size() - e.dataOffset) {
                directoryOk = false;
                break;
            }
            entries.push_back(std::move(e));
        }
        if (directoryOk) entries_ = std::move(entries);
    }
    if (!directoryOk) {
        // Recovery as other readers do it: walk the local headers from the start.
        Cursor c{data};
        while (c.U32() == kLocalSig) {
            ZipEntry e;
            c.U16();
            e.flags = c.U16();
            e.method = c.U16();
            e.dosTime = c.U32();
            e.crc = c.U32();
            e.compressedSize = c.U32();
            e.size = c.U32();
            std::uint16_t nameLen = c.U16();
            std::uint16_t extraLen = c.U16();
            e.name = std::string(c.Bytes(nameLen));
            ApplyZip64Extra(c.Bytes(extraLen), e, nullptr);
            e.dataOffset = c.pos;
            // Sizes deferred to a data descriptor can't be walked over safely; stop there.
            if (c.bad || (e.flags & 8) || c.Bytes(e.compressedSize).size() != e.compressedSize ||
                c.bad)
                break;
            entries_.push_back(std::move(e));
        }
        if (entries_.empty())
            return base::Status::Error(label_ +
                                       ": the zip archive is damaged (no readable central "
                                       "directory or entries)");
    }
    return base::Status::Ok();
}

struct EntryInflater::State {
    inflate_state z;
};

EntryInflater::EntryInflater(std::string_view raw, const ZipEntry& entry) : raw_(raw), entry_(entry) {
    if (entry_.method != 8) return;
    state_ = std::make_unique<State>();
    isal_inflate_init(&state_->z);
}

EntryInflater::~EntryInflater() = default;

std::size_t EntryInflater::InflateInto(char* to, std::size_t room) {
    if (entry_.method != 8) {
        std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(room, raw_.size() - inDone_));
        std::memcpy(to, raw_.data() + inDone_, n);
        inDone_ += n;
        streamEnded_ = inDone_ == raw_.size();
        return n;
    }
    inflate_state& z = state_->z;
    std::size_t made = 0;
    while (made < room && !streamEnded_) {
        // Fed in pieces so that sizes above 4 GB don't overflow the 32-bit counters.
        // The inflater may still hold input taken earlier, so running out is told by its output.
        if (z.avail_in == 0 && inDone_ < raw_.size()) {
            z.next_in = reinterpret_cast<std::uint8_t*>(const_cast<char*>(raw_.data() + inDone_));
            z.avail_in = static_cast<std::uint32_t>(std::min<std::uint64_t>(raw_.size() - inDone_, 1u << 30));
            inDone_ += z.avail_in;
        }
        const auto chunk = static_cast<std::uint32_t>(std::min<std::size_t>(room - made, 1u << 30));
        z.next_out = reinterpret_cast<std::uint8_t*>(to + made);
        z.avail_out = chunk;
        const int rc = isal_inflate(&z);
        const std::size_t produced = chunk - z.avail_out;
        made += produced;
        if (rc != ISAL_DECOMP_OK) {
            error_ = "the compressed data is damaged";
            break;
        }
        streamEnded_ = z.block_state == ISAL_BLOCK_FINISH;
        if (produced == 0 && z.avail_in == 0 && inDone_ == raw_.size()) break;  // the input ran out
    }
    return made;
}

void EntryInflater::Finish() {
    if (!error_.empty()) return;
    if (outDone_ < entry_.size)
        error_ = base::Sprintf("the compressed data is damaged (it ends after %s of the %s bytes its header declares)",
                               std::to_string(outDone_).c_str(), std::to_string(entry_.size).c_str());
    else if (!streamEnded_)
        error_ = "the compressed data is damaged";
    else if (crc_ != entry_.crc)
        error_ = "CRC mismatch, the data is damaged";
    else
        finished_ = true;
}

bool EntryInflater::Next(std::string& out, std::size_t most) {
    if (finished_ || !error_.empty()) return false;
    const std::size_t at = out.size();
    const auto room = static_cast<std::size_t>(std::min<std::uint64_t>(most, entry_.size - outDone_));
    out.resize(at + room);
    const std::size_t made = InflateInto(out.data() + at, room);
    out.resize(at + made);
    for (std::size_t done = 0; done < made;) {
        const auto chunk = static_cast<std::uint32_t>(std::min<std::size_t>(made - done, 1u << 30));
        crc_ = crc32_gzip_refl(crc_, reinterpret_cast<const std::uint8_t*>(out.data() + at + done), chunk);
        done += chunk;
    }
    outDone_ += made;
    // Every declared byte is out: the stream must end here, not go on past its claim.
    char spare;
    if (error_.empty() && outDone_ == entry_.size && !streamEnded_ && InflateInto(&spare, 1))
        error_ = "inflates to more bytes than its header declares (possible zip bomb)";
    if (streamEnded_ || made < room || !error_.empty()) Finish();
    return error_.empty() && (made > 0 || !finished_);
}

std::string_view ZipReader::RawData(const ZipEntry& entry) const {
    const std::string_view image = Image();
    if (entry.dataOffset > image.size() || entry.compressedSize > image.size() - entry.dataOffset)
        return {};
    return image.substr(entry.dataOffset, entry.compressedSize);
}

void ZipReader::HandBack(const ZipEntry& entry) const {
    const std::string_view raw = RawData(entry);
    if (!raw.empty()) HandBack(entry.dataOffset, entry.dataOffset + raw.size());
}

void ZipReader::HandBack(std::uint64_t begin, std::uint64_t end) const {
    if (mapped_) mapped_->HandBack(begin, end);
}

base::Status ZipReader::CheckUnchanged() const {
    return mapped_ ? mapped_->CheckUnchanged() : base::Status::Ok();
}

base::Status ZipReader::CheckEntry(const ZipEntry& entry, std::uint64_t limit) const {
    // A mapped file another program wrote to meanwhile is said to be so, not read as damaged.
    if (base::Status st = CheckUnchanged(); !st) return st;
    auto fail = [&](const std::string& why) {
        return base::Status::Error(label_ + ": part " + entry.name + ": " + why);
    };
    if (entry.flags & 1) return fail("the zip entry is encrypted");
    if (entry.size > limit)
        return fail(base::Sprintf("declares %s bytes, more than the %s allowed for one part",
                                  std::to_string(entry.size).c_str(),
                                  std::to_string(limit).c_str()));
    if (RawData(entry).size() != entry.compressedSize) return fail("the compressed data runs past the file end");
    if (entry.method == 0 && entry.size != entry.compressedSize) return fail("stored entry with inconsistent sizes");
    if (entry.method != 0 && entry.method != 8)
        return fail(base::Sprintf("unsupported compression method %d", entry.method));
    return base::Status::Ok();
}

base::Result<std::string> ZipReader::Extract(const ZipEntry& entry, std::uint64_t limit) const {
    if (base::Status st = CheckEntry(entry, limit); !st) return st;
    EntryInflater in(RawData(entry), entry);
    // The buffer grows as the bytes come: a header that claims a gigabyte costs nothing until
    // they really do. The first guess allows XML's usual ratios, so a part is rarely copied as
    // it grows.
    std::string out;
    out.reserve(std::min<std::uint64_t>(entry.size, std::max<std::uint64_t>(entry.compressedSize * 128, 1u << 16)));
    while (in.Next(out, std::max<std::size_t>(out.capacity() - out.size(), 1u << 16))) {
    }
    HandBack(entry);
    if (!in.Error().empty()) return base::Status::Error(label_ + ": part " + entry.name + ": " + in.Error());
    return out;
}

void ZipWriter::AddLocal(ZipEntry e, std::string_view compressed) {
    e.flags &= ~std::uint16_t(8);  // sizes are known, so no data descriptor follows
    bool big = e.size >= k32Max || e.compressedSize >= k32Max;
    std::uint64_t offset = Offset();
    Put(out_, kLocalSig, 4);
    Put(out_, big ? 45 : 20, 2);
    Put(out_, e.flags, 2);
    Put(out_, e.method, 2);
    Put(out_, e.dosTime, 4);
    Put(out_, e.crc, 4);
    Put(out_, big ? k32Max : e.compressedSize, 4);
    Put(out_, big ? k32Max : e.size, 4);
    Put(out_, e.name.size(), 2);
    Put(out_, big ? 20 : 0, 2);
    out_ += e.name;
    if (big) {
        Put(out_, 1, 2);
        Put(out_, 16, 2);
        Put(out_, e.size, 8);
        Put(out_, e.compressedSize, 8);
    }
    Write(compressed);
    e.dataOffset = offset;
    central_.push_back(std::move(e));
}

void ZipWriter::Write(std::string_view bytes) {
    if (!sink_) {
        out_ += bytes;
        return;
    }
    Emit();
    sink_(bytes);
    emitted_ += bytes.size();
}

void ZipWriter::Emit() {
    if (!sink_ || out_.empty()) return;
    sink_(out_);
    emitted_ += out_.size();
    out_.clear();
}

void ZipWriter::AddRaw(const ZipEntry& entry, std::string_view compressed) {
    ZipEntry e = entry;
    e.compressedSize = compressed.size();
    AddLocal(std::move(e), compressed);
}

void ZipWriter::Add(std::string_view name, std::string_view data) {
    if (data.size() > kDeflateChunk) {
        AddDeflated(name, Deflate(data));
        return;
    }
    ZipEntry e;
    e.name = std::string(name);
    e.size = data.size();
    e.dosTime = (0x21u << 16);  // 1980-01-01 00:00, as Excel stamps its parts
    e.flags = 0x800;            // names are UTF-8
    e.crc = crc32_gzip_refl(0, reinterpret_cast<const std::uint8_t*>(data.data()), data.size());
    if (data.empty()) {
        AddLocal(std::move(e), {});
        return;
    }
    e.method = 8;
    std::string packed = DeflateChunk(data, {}, 6, true);
    e.compressedSize = packed.size();
    AddLocal(std::move(e), packed);
}

DeflatedData Deflate(std::string_view text) {
    // Big generated parts are repetitive and compress well at the fastest level; their chunks
    // are shared between two threads.
    ChunkDeflater deflater(1);
    if (text.empty()) deflater.Submit({}, {}, true);
    for (std::size_t at = 0; at < text.size(); at += kDeflateChunk)
        deflater.Submit(text.substr(at, kDeflateChunk), {}, at + kDeflateChunk >= text.size());
    return deflater.Finish();
}

std::string Inflate(const DeflatedData& data) {
    ZipEntry entry;
    entry.method = 8;
    entry.crc = data.crc;
    entry.size = data.size;
    entry.compressedSize = data.compressed.size();
    EntryInflater in(data.compressed, entry);
    std::string out;
    out.reserve(data.size);
    while (in.Next(out, std::max<std::size_t>(data.size - out.size(), 1))) {
    }
    out.resize(data.size);
    return out;
}

std::string DeflateChunk(std::string_view text, std::string_view dictionary, int level, bool last) {
    // Each thread compresses through its own buffers, kept between chunks, so a chunk costs
    // neither fresh pages nor zero-filling; the result is copied out at its size. ISA-L's fast
    // levels compress XML as tightly as zlib's low ones at several times the speed; level 3 is
    // kept for callers that ask zlib's upper levels.
    const bool tight = level >= 6;
    thread_local std::vector<std::uint8_t> levelBuffer;
    thread_local std::vector<std::uint8_t> scratch;
    const std::size_t levelSize = tight ? ISAL_DEF_LVL3_DEFAULT : ISAL_DEF_LVL1_DEFAULT;
    if (levelBuffer.size() < levelSize) levelBuffer.resize(levelSize);
    // Compressed XML is a few percent of its text: a small window of output is drained as often
    // as it fills.
    if (scratch.empty()) scratch.resize(64 * 1024);

    isal_zstream z;
    isal_deflate_init(&z);
    z.level = tight ? 3 : 1;
    z.level_buf = levelBuffer.data();
    z.level_buf_size = static_cast<std::uint32_t>(levelSize);
    if (!dictionary.empty())
        isal_deflate_set_dict(&z, reinterpret_cast<std::uint8_t*>(const_cast<char*>(dictionary.data())),
                              static_cast<std::uint32_t>(dictionary.size()));
    // A sync flush ends on a byte boundary without the final-block bit, so the next chunk's
    // stream can simply follow it.
    z.flush = last ? NO_FLUSH : SYNC_FLUSH;
    z.end_of_stream = last ? 1 : 0;
    z.next_in = reinterpret_cast<std::uint8_t*>(const_cast<char*>(text.data()));
    z.avail_in = static_cast<std::uint32_t>(text.size());
    std::string out;
    do {
        z.next_out = scratch.data();
        z.avail_out = static_cast<std::uint32_t>(scratch.size());
        if (isal_deflate(&z) != COMP_OK) break;
        out.append(reinterpret_cast<const char*>(scratch.data()), scratch.size() - z.avail_out);
    } while (z.avail_in > 0 || z.avail_out == 0 || (last && z.internal_state.state != ZSTATE_END));
    return out;
}

// One chunk of a stream: its text (owned, or a view into the caller's data), the window it may
// refer back to, and its compressed bytes once done.
struct ChunkDeflater::Job {
    std::string owned;
    std::string_view text;
    std::string dictionary;
    bool last = false;
    bool taken = false;
    bool done = false;
    std::string packed;
    std::uint32_t crc = 0;
};

ChunkDeflater::ChunkDeflater(int level) : level_(level) {}

ChunkDeflater::~ChunkDeflater() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    wake_.notify_all();
    if (worker_.joinable()) worker_.join();
}

void ChunkDeflater::Run(Job& job) {
    job.crc = crc32_gzip_refl(0, reinterpret_cast<const std::uint8_t*>(job.text.data()), job.text.size());
    job.packed = DeflateChunk(job.text, job.dictionary, level_, job.last);
}

void ChunkDeflater::Work() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        Job* next = nullptr;
        for (auto& job : jobs_)
            if (!job->taken) {
                next = job.get();
                break;
            }
        if (!next) {
            if (stop_) return;
            wake_.wait(lock);
            continue;
        }
        next->taken = true;
        lock.unlock();
        Run(*next);
        lock.lock();
        next->done = true;
        wake_.notify_all();
    }
}

void ChunkDeflater::Submit(std::string_view text, std::string owned, bool last) {
    auto job = std::make_unique<Job>();
    job->owned = std::move(owned);
    job->text = job->owned.empty() ? text : std::string_view(job->owned);
    job->last = last;
    // The window of the previous chunk keeps matches across the seam, as one stream would.
    job->dictionary = std::move(window_);
    std::size_t keep = std::min<std::size_t>(job->text.size(), 32768);
    window_.assign(job->text.substr(job->text.size() - keep));
    if (last && jobs_.empty() && out_.compressed.empty()) {
        // A part of one chunk needs no second thread.
        Run(*job);
        Append(*job);
        return;
    }
    if (!worker_.joinable() && !workerFailed_) {
        try {
            worker_ = std::thread([this] { Work(); });
        } catch (const std::system_error&) {
            workerFailed_ = true;  // no thread to be had: everything is compressed here
        }
    }
    std::unique_lock<std::mutex> lock(mutex_);
    jobs_.push_back(std::move(job));
    wake_.notify_all();
    // At most one chunk waits; beyond that the caller compresses one itself, so memory stays
    // bounded and both cores work.
    while (true) {
        std::size_t waiting = 0;
        Job* free = nullptr;
        for (auto& j : jobs_)
            if (!j->done) {
                ++waiting;
                if (!j->taken && !free) free = j.get();
            }
        if (waiting <= (workerFailed_ ? 0u : 1u)) break;
        if (free) {
            free->taken = true;
            lock.unlock();
            Run(*free);
            lock.lock();
            free->done = true;
            wake_.notify_all();
        } else {
            wake_.wait(lock);
        }
    }
    while (!jobs_.empty() && jobs_.front()->done) {
        Append(*jobs_.front());
        if (jobs_.front()->owned.capacity() > spare_.capacity()) spare_ = std::move(jobs_.front()->owned);
        jobs_.pop_front();
    }
}

void ChunkDeflater::Append(const Job& job) {
    out_.crc = out_.size ? static_cast<std::uint32_t>(crc32_combine(out_.crc, job.crc, static_cast<z_off_t>(job.text.size())))
                         : job.crc;
    out_.size += job.text.size();
    out_.compressed += job.packed;
}

DeflatedData ChunkDeflater::Finish() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!jobs_.empty()) {
        Job& front = *jobs_.front();
        if (!front.done && !front.taken) {
            front.taken = true;
            lock.unlock();
            Run(front);
            lock.lock();
            front.done = true;
        }
        if (!front.done) {
            wake_.wait(lock);
            continue;
        }
        Append(front);
        jobs_.pop_front();
    }
    // The stream is held until the package is saved; it keeps no spare room meanwhile.
    out_.compressed.shrink_to_fit();
    return std::move(out_);
}

DeflateStream::DeflateStream(int level) : deflater_(std::make_unique<ChunkDeflater>(level)) {}

DeflateStream::~DeflateStream() = default;

void DeflateStream::Flush(bool finish) {
    std::string text;
    text.swap(buffer_);
    deflater_->Submit({}, std::move(text), finish);
    if (!finish) {
        buffer_ = deflater_->Spare();
        buffer_.reserve(kDeflateChunk + kDeflateChunk / 8);
    }
}

DeflatedData DeflateStream::Finish() {
    Flush(true);
    buffer_ = std::string();
    DeflatedData out = deflater_->Finish();
    deflater_.reset();  // its thread and spare buffer are not needed any more
    return out;
}

void ZipWriter::AddDeflated(std::string_view name, const DeflatedData& data) {
    ZipEntry e;
    e.name = std::string(name);
    e.size = data.size;
    e.crc = data.crc;
    e.method = 8;
    e.dosTime = (0x21u << 16);
    e.flags = 0x800;
    e.compressedSize = data.compressed.size();
    AddLocal(std::move(e), data.compressed);
}

std::string ZipWriter::Finish() {
    std::uint64_t cdOffset = Offset();
    for (const ZipEntry& e : central_) {
        bool bigSize = e.size >= k32Max || e.compressedSize >= k32Max;
        bool bigOffset = e.dataOffset >= k32Max;
        std::string extra;
        if (bigSize || bigOffset) {
            std::string body;
            if (bigSize) {
                Put(body, e.size, 8);
                Put(body, e.compressedSize, 8);
            }
            if (bigOffset) Put(body, e.dataOffset, 8);
            Put(extra, 1, 2);
            Put(extra, body.size(), 2);
            extra += body;
        }
        Put(out_, kCentralSig, 4);
        Put(out_, extra.empty() ? 20 : 45, 2);
        Put(out_, extra.empty() ? 20 : 45, 2);
        Put(out_, e.flags, 2);
        Put(out_, e.method, 2);
        Put(out_, e.dosTime, 4);
        Put(out_, e.crc, 4);
        Put(out_, bigSize ? k32Max : e.compressedSize, 4);
        Put(out_, bigSize ? k32Max : e.size, 4);
        Put(out_, e.name.size(), 2);
        Put(out_, extra.size(), 2);
        Put(out_, 0, 2);
        Put(out_, 0, 2);
        Put(out_, 0, 2);
        Put(out_, 0, 4);
        Put(out_, bigOffset ? k32Max : e.dataOffset, 4);
        out_ += e.name;
        out_ += extra;
    }
    std::uint64_t cdSize = Offset() - cdOffset;
    std::uint64_t count = central_.size();
    if (count >= 0xFFFF || cdOffset >= k32Max || cdSize >= k32Max) {
        std::uint64_t end64 = Offset();
        Put(out_, kEnd64Sig, 4);
        Put(out_, 44, 8);
        Put(out_, 45, 2);
        Put(out_, 45, 2);
        Put(out_, 0, 4);
        Put(out_, 0, 4);
        Put(out_, count, 8);
        Put(out_, count, 8);
        Put(out_, cdSize, 8);
        Put(out_, cdOffset, 8);
        Put(out_, kLocator64Sig, 4);
        Put(out_, 0, 4);
        Put(out_, end64, 8);
        Put(out_, 1, 4);
    }
    Put(out_, kEndSig, 4);
    Put(out_, 0, 2);
    Put(out_, 0, 2);
    Put(out_, std::min<std::uint64_t>(count, 0xFFFF), 2);
    Put(out_, std::min<std::uint64_t>(count, 0xFFFF), 2);
    Put(out_, std::min<std::uint64_t>(cdSize, k32Max), 4);
    Put(out_, std::min<std::uint64_t>(cdOffset, k32Max), 4);
    Put(out_, 0, 2);
    central_.clear();
    Emit();
    emitted_ = 0;
    return std::move(out_);
}

}  // namespace xl
