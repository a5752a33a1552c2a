#include "xl/Zip.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <memory>
#include <string>

namespace {

// Text like a generated part: repetitive, but not one repeated byte, so matches cross chunks.
std::string PartText(std::size_t size) {
    std::string text;
    text.reserve(size + 64);
    for (int i = 0; text.size() < size; ++i)
        text += "<c r=\"A" + std::to_string(i) + "\" t=\"s\"><v>" + std::to_string(i * 7919 % 100003) + "</v></c>";
    text.resize(size);
    return text;
}

// Writes one entry and reads it back through the reader, which checks size and CRC.
std::string RoundTrip(const std::string& name, const std::string& text) {
    xl::ZipWriter writer;
    writer.Add(name, text);
    auto zip = xl::ZipReader::Open(writer.Finish(), "test.zip");
    EXPECT_TRUE(zip) << zip.GetStatus().Message();
    if (!zip || zip->Entries().size() != 1) return "<no entry>";
    auto data = zip->Extract(zip->Entries()[0], 1ull << 32);
    EXPECT_TRUE(data) << data.GetStatus().Message();
    return data ? *data : "<no data>";
}

std::string StreamRoundTrip(const std::string& text, std::size_t piece) {
    xl::DeflateStream stream;
    for (std::size_t at = 0; at < text.size(); at += piece) {
        stream.Buffer().append(text, at, piece);
        stream.MaybeFlush();
    }
    xl::DeflatedData packed = stream.Finish();
    EXPECT_EQ(packed.size, text.size());
    xl::ZipWriter writer;
    writer.AddDeflated("part.xml", packed);
    auto zip = xl::ZipReader::Open(writer.Finish(), "test.zip");
    EXPECT_TRUE(zip) << zip.GetStatus().Message();
    if (!zip) return "<no zip>";
    auto data = zip->Extract(zip->Entries()[0], 1ull << 32);
    EXPECT_TRUE(data) << data.GetStatus().Message();
    EXPECT_EQ(xl::Inflate(packed), text);
    return data ? *data : "<no data>";
}

TEST(ZipWriter, MultiChunkPartRoundTripsWithItsCrc) {
    std::string text = PartText(3 * xl::kDeflateChunk + 12345);
    EXPECT_EQ(RoundTrip("xl/worksheets/sheet1.xml", text), text);
}

TEST(ZipWriter, ExactlyChunkSizedPartsRoundTrip) {
    for (std::size_t size : {xl::kDeflateChunk - 1, xl::kDeflateChunk, xl::kDeflateChunk + 1,
                             2 * xl::kDeflateChunk}) {
        std::string text = PartText(size);
        EXPECT_EQ(RoundTrip("part.xml", text), text) << size;
    }
}

TEST(ZipWriter, AnArchiveHandedOutPieceByPieceIsTheOneBuiltInMemory) {
    const std::string big = PartText(2 * xl::kDeflateChunk + 7);
    xl::DeflateStream stream;
    stream.Buffer() = PartText(5000);
    const xl::DeflatedData packed = stream.Finish();
    const auto fill = [&](xl::ZipWriter& writer) {
        writer.Add("[Content_Types].xml", "<Types/>");
        writer.Add("empty.xml", "");
        writer.Add("xl/worksheets/sheet1.xml", big);
        writer.AddDeflated("xl/comments1.xml", packed);
    };
    xl::ZipWriter inMemory;
    fill(inMemory);
    const std::string image = inMemory.Finish();
    std::string handed;
    int pieces = 0;
    xl::ZipWriter streamed([&](std::string_view piece) {
        handed += piece;
        ++pieces;
    });
    fill(streamed);
    EXPECT_EQ(streamed.Finish(), "");
    EXPECT_GT(pieces, 4);
    EXPECT_EQ(handed, image);
    auto zip = xl::ZipReader::Open(handed, "streamed.zip");
    ASSERT_TRUE(zip) << zip.GetStatus().Message();
    ASSERT_EQ(zip->Entries().size(), 4u);
    auto sheet = zip->Extract(zip->Entries()[2], 1ull << 32);
    ASSERT_TRUE(sheet);
    EXPECT_EQ(*sheet, big);
}

TEST(ZipWriter, EmptyPartIsStored) {
    xl::ZipWriter writer;
    writer.Add("empty.xml", "");
    auto zip = xl::ZipReader::Open(writer.Finish(), "test.zip");
    ASSERT_TRUE(zip);
    ASSERT_EQ(zip->Entries().size(), 1u);
    EXPECT_EQ(zip->Entries()[0].method, 0);
    auto data = zip->Extract(zip->Entries()[0], 100);
    ASSERT_TRUE(data);
    EXPECT_EQ(*data, "");
}

TEST(ZipWriter, ChunkedPartIsSmallerThanItsText) {
    std::string text = PartText(4 * xl::kDeflateChunk);
    xl::ZipWriter writer;
    writer.Add("part.xml", text);
    EXPECT_LT(writer.Finish().size(), text.size() / 3);
}

TEST(DeflateStream, MultiChunkStreamRoundTripsWithItsCrc) {
    std::string text = PartText(5 * xl::kDeflateChunk + 999);
    EXPECT_EQ(StreamRoundTrip(text, 4096), text);
}

TEST(DeflateStream, EmptyStreamGivesEmptyPart) {
    xl::DeflateStream stream;
    xl::DeflatedData packed = stream.Finish();
    EXPECT_EQ(packed.size, 0u);
    EXPECT_EQ(packed.crc, 0u);
    EXPECT_EQ(xl::Inflate(packed), "");
    EXPECT_EQ(StreamRoundTrip("", 1), "");
}

TEST(DeflateStream, ExactlyChunkSizedStreamEndsWithAnEmptyChunk) {
    // The buffer is handed over when it holds a chunk, so Finish() compresses nothing more.
    std::string text = PartText(xl::kDeflateChunk);
    EXPECT_EQ(StreamRoundTrip(text, xl::kDeflateChunk), text);
    std::string two = PartText(2 * xl::kDeflateChunk);
    EXPECT_EQ(StreamRoundTrip(two, xl::kDeflateChunk), two);
}

TEST(DeflateStream, StreamAbandonedBeforeFinishEndsCleanly) {
    auto stream = std::make_unique<xl::DeflateStream>();
    for (int i = 0; i < 4; ++i) {
        stream->Buffer() += PartText(xl::kDeflateChunk);
        stream->MaybeFlush();
    }
    stream.reset();
    SUCCEED();
}

}  // namespace

namespace {

// The largest resident set of this process so far, in KiB.
long PeakResidentKiB() {
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST(ZipReader, DeclaredSizeIsNotAllocatedBeforeTheDataComes) {
    // A small entry whose headers claim 1 GiB, just within the part limit: the bytes never come,
    // so neither may the memory.
    xl::ZipWriter w;
    w.Add("xl/worksheets/sheet1.xml", PartText(5000));
    std::string zip = w.Finish();
    auto patch = [&](std::size_t at) {
        for (int i = 0; i < 4; ++i)
            zip[at + i] = static_cast<char>((std::uint32_t(1) << 30) >> (8 * i));
    };
    patch(22);                                            // the local header's size
    patch(zip.rfind(std::string("PK\x01\x02", 4)) + 24);  // the central directory's
    auto reader = xl::ZipReader::Open(zip, "claims.xlsx");
    ASSERT_TRUE(reader.IsOk()) << reader.GetStatus().Message();
    ASSERT_EQ(reader->Entries()[0].size, std::uint64_t(1) << 30);
    long before = PeakResidentKiB();
    auto data = reader->Extract(reader->Entries()[0], std::uint64_t(1) << 30);
    EXPECT_LT(PeakResidentKiB() - before, 64 * 1024);
    ASSERT_FALSE(data.IsOk());
    EXPECT_NE(data.GetStatus().Message().find("xl/worksheets/sheet1.xml"), std::string::npos)
        << data.GetStatus().Message();
    EXPECT_NE(data.GetStatus().Message().find("ends after 5000 of the 1073741824 bytes"),
              std::string::npos)
        << data.GetStatus().Message();
}

// One entry of `text` deflated (or stored), read back a piece at a time; `error` gets what the
// inflater reports.
std::string InPieces(const std::string& text, std::size_t piece, std::string& error, bool stored = false,
                     std::uint64_t declaredSize = 0) {
    xl::ZipWriter writer;
    if (stored) {
        xl::ZipEntry entry;
        entry.name = "part.xml";
        entry.size = text.size();
        entry.crc = xl::Deflate(text).crc;
        writer.AddRaw(entry, text);
    } else {
        writer.Add("part.xml", text);
    }
    auto zip = xl::ZipReader::Open(writer.Finish(), "test.zip");
    EXPECT_TRUE(zip) << zip.GetStatus().Message();
    if (!zip) return "<no zip>";
    xl::ZipEntry entry = zip->Entries()[0];
    if (declaredSize) entry.size = declaredSize;
    xl::EntryInflater in(zip->RawData(entry), entry);
    std::string out;
    for (std::size_t before = 0; in.Next(out, piece); before = out.size()) EXPECT_LE(out.size() - before, piece);
    error = in.Error();
    EXPECT_EQ(in.Finished(), error.empty());
    return out;
}

TEST(EntryInflater, AnEntryReadInPiecesIsTheWholeEntry) {
    const std::string text = PartText(3u << 20);
    for (std::size_t piece : {std::size_t(1000), std::size_t(1) << 18, std::size_t(4) << 20}) {
        SCOPED_TRACE(piece);
        std::string error;
        EXPECT_EQ(InPieces(text, piece, error), text);
        EXPECT_EQ(error, "");
        EXPECT_EQ(InPieces(text, piece, error, true), text);
        EXPECT_EQ(error, "");
    }
    std::string error;
    EXPECT_EQ(InPieces("", 1000, error), "");
    EXPECT_EQ(error, "");
}

TEST(EntryInflater, AnEntryGoingPastItsDeclaredSizeIsRefusedAsItOverflows) {
    const std::string text = PartText(1u << 20);
    std::string error;
    std::string out = InPieces(text, 1u << 16, error, false, 300000);
    EXPECT_NE(error.find("possible zip bomb"), std::string::npos) << error;
    EXPECT_LE(out.size(), 300000u);
}

TEST(EntryInflater, AnEntryEndingBeforeItsDeclaredSizeIsDamaged) {
    std::string error;
    InPieces(PartText(100000), 4096, error, false, 200000);
    EXPECT_NE(error.find("ends after 100000 of the 200000 bytes"), std::string::npos) << error;
}

TEST(ZipReader, PartsBiggerThanTheFirstGuessGrowToTheirSize) {
    // Highly compressible text inflates far beyond four times its compressed size.
    std::string text(3u << 20, 'x');
    EXPECT_EQ(RoundTrip("big.xml", text), text);
}

}  // namespace
