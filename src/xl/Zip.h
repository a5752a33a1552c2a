#pragma once
// The zip container of a package: reading entries from a file image and writing a new archive
// in which unchanged entries are copied as their compressed bytes.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/MappedFile.h"
#include "base/Status.h"

namespace xl {

// One member of an archive as its central directory (or, when that is broken, its local header)
// describes it.
struct ZipEntry {
    std::string name;               // as stored; may use '\' when a Windows tool zipped it
    std::uint16_t method = 0;       // 0 stored, 8 deflated; others are reported on extraction
    std::uint16_t flags = 0;        // bit 0 set means encrypted
    std::uint32_t crc = 0;
    std::uint64_t compressedSize = 0;
    std::uint64_t size = 0;
    std::uint64_t dataOffset = 0;   // offset of the compressed bytes in the image
    std::uint32_t dosTime = 0;      // DOS time in the low half, DOS date in the high half
};

// Read-only view of a zip image held in memory or mapped from its file; entries point into the
// image it owns.
class ZipReader {
public:
    // Parses the central directory (zip64 included); a broken directory falls back to the local
    // headers. `label` names the file in messages. Fails on anything that is not a zip.
    static base::Result<ZipReader> Open(std::string image, std::string_view label);
    // The same over a file's map: the pages of an entry are held only while it is read, and are
    // mapped again from the system's cache when it is read again.
    static base::Result<ZipReader> Open(base::MappedFile mapped, std::string_view label);

    // Every entry in archive order; directory entries ("name/") included.
    const std::vector<ZipEntry>& Entries() const { return entries_; }
    // The compressed bytes of an entry; empty when the entry runs past the image.
    std::string_view RawData(const ZipEntry& entry) const;
    // Uncompressed bytes, refusing more than `limit` bytes (zip bombs) and reporting a bad CRC.
    base::Result<std::string> Extract(const ZipEntry& entry, std::uint64_t limit) const;
    // What is wrong with an entry before any of it is read (the mapped file changed, encrypted,
    // above `limit`, running past the file, an unknown method) as an error naming it; ok when it
    // can be read.
    base::Status CheckEntry(const ZipEntry& entry, std::uint64_t limit) const;
    // The file name used in messages.
    const std::string& Label() const { return label_; }
    // Gives the pages of an entry's compressed bytes back when the image is a file's map.
    void HandBack(const ZipEntry& entry) const;
    // Ok while a mapped file is as it was when opened (always for an image in memory): another
    // program's writes would show in the map.
    base::Status CheckUnchanged() const;

private:
    ZipReader() = default;
    base::Status ReadDirectory(std::string_view label);
    void HandBack(std::uint64_t begin, std::uint64_t end) const;
    std::string_view Image() const { return mapped_ ? mapped_->Bytes() : std::string_view(image_); }
    std::string image_;
    std::optional<base::MappedFile> mapped_;
    std::string label_;
    std::vector<ZipEntry> entries_;
};

// The uncompressed bytes of one entry a piece at a time, so that a big part can be scanned
// without ever being held whole. The checks are those of a whole extraction: no byte beyond the
// size the entry declares (a zip bomb is refused as it starts to overflow), all of those bytes,
// and the CRC once the last piece is read.
class EntryInflater {
public:
    // `raw` is the entry's compressed (or stored) bytes and must outlive the inflater.
    EntryInflater(std::string_view raw, const ZipEntry& entry);
    ~EntryInflater();
    EntryInflater(const EntryInflater&) = delete;
    EntryInflater& operator=(const EntryInflater&) = delete;
    // Appends up to `most` more bytes to `out`; false once nothing more comes, at the end of the
    // entry or because it is damaged (Error() tells which).
    bool Next(std::string& out, std::size_t most);
    // What is wrong with the entry's data; "" while nothing is.
    const std::string& Error() const { return error_; }
    // True when every byte was read and checked.
    bool Finished() const { return finished_; }

private:
    // Inflates (or copies) at most `room` bytes to `to`; gives how many came.
    std::size_t InflateInto(char* to, std::size_t room);
    // At the end of the data: checks that every declared byte came and the CRC.
    void Finish();

    std::string_view raw_;
    ZipEntry entry_;
    struct State;
    std::unique_ptr<State> state_;
    std::uint64_t inDone_ = 0;   // compressed bytes handed to the inflater
    std::uint64_t outDone_ = 0;  // bytes given out
    std::uint32_t crc_ = 0;
    bool streamEnded_ = false;
    bool finished_ = false;
    std::string error_;
};

// Compressed bytes of one part with what its zip entry needs.
struct DeflatedData {
    std::string compressed;
    std::uint32_t crc = 0;
    std::uint64_t size = 0;
};

// The text of deflated data again (for a part read back before it is saved).
std::string Inflate(const DeflatedData& data);

// Text above this size is deflated in chunks of this size, each chunk on whichever of two threads
// is free, and the pieces joined into one stream; a part of at most this size is one chunk.
constexpr std::size_t kDeflateChunk = std::size_t(1) << 20;

class ChunkDeflater;

// Deflates text at the fastest level, in parallel chunks when it is bigger than one.
DeflatedData Deflate(std::string_view text);

// Deflates text as it is written, so that a big generated part never exists uncompressed in
// full: append to Buffer(), call MaybeFlush() now and then, and Finish() at the end. Chunks are
// compressed on a second thread while the caller goes on writing.
class DeflateStream {
public:
    // `level` in zlib's terms: below 6 the fastest compression, 6 and above a tighter, slower one.
    explicit DeflateStream(int level = 1);
    ~DeflateStream();
    DeflateStream(const DeflateStream&) = delete;
    DeflateStream& operator=(const DeflateStream&) = delete;
    // The text not yet compressed.
    std::string& Buffer() { return buffer_; }
    // Hands the buffer over for compression once it holds a chunk; not after Finish().
    void MaybeFlush() {
        if (buffer_.size() >= kDeflateChunk) Flush(false);
    }
    // Compresses what is left and gives the result; the stream is spent afterwards.
    DeflatedData Finish();

private:
    void Flush(bool finish);
    std::unique_ptr<ChunkDeflater> deflater_;
    std::string buffer_;
};

// Builds an archive in memory, or hands it out piece by piece as it is made; zip64 records are
// written only when sizes or counts need them.
class ZipWriter {
public:
    // An archive built in memory, which Finish gives.
    ZipWriter() = default;
    // An archive handed to `sink` piece by piece, in order, as it is made: a part's compressed
    // bytes are handed as they are, never copied. Finish gives "".
    explicit ZipWriter(std::function<void(std::string_view)> sink) : sink_(std::move(sink)) {}

    // Copies an entry's compressed bytes as they are, keeping method, CRC and time.
    void AddRaw(const ZipEntry& entry, std::string_view compressed);
    // Adds an entry compressed by a DeflateStream.
    void AddDeflated(std::string_view name, const DeflatedData& data);
    // Deflates `data` under `name`, in parallel chunks when it is bigger than one; an empty
    // `data` is stored.
    void Add(std::string_view name, std::string_view data);
    // Makes room for an archive of about `bytes`, so a big one is not copied as it grows.
    void Reserve(std::uint64_t bytes) { out_.reserve(bytes); }
    // The whole archive (or "" when handed to a sink); the writer is empty afterwards.
    std::string Finish();

private:
    void AddLocal(ZipEntry entry, std::string_view compressed);
    // Where the next byte of the archive goes.
    std::uint64_t Offset() const { return emitted_ + out_.size(); }
    // Hands `bytes` to the sink, or keeps them.
    void Write(std::string_view bytes);
    // Hands what is kept to the sink.
    void Emit();
    std::function<void(std::string_view)> sink_;
    std::uint64_t emitted_ = 0;  // bytes handed to the sink
    std::string out_;
    std::vector<ZipEntry> central_;  // dataOffset holds the local header offset here
};

}  // namespace xl
