// A drawing scanned in two parts on two threads: the same tags, notes and messages as one scan,
// wherever the second part is asked to start, in every line-end form, while the file is still
// being read, and for every drawing of the corpus.
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>

#include <gtest/gtest.h>

#include "ScanFixtures.h"
#include "base/File.h"
#include "cad/Database.h"
#include "cad/FileReader.h"
#include "cad/Tagger.h"

namespace {

using cadtest::BigDrawing;
using cadtest::TempFile;

std::string WithLineEnds(std::string bytes, const std::string& eol) {
    std::string out;
    for (char c : bytes) {
        if (c == '\n') out += eol;
        else out += c;
    }
    return out;
}

const cad::ScanSplit* const kNoSplit = nullptr;

// A split of any buffer, its second part from the first record at or after `at`.
cad::ScanSplit SplitAt(std::size_t at, cad::WaitForBytes tailWaitFor = {}) {
    return cad::ScanSplit{std::move(tailWaitFor), 0, at};
}

void ExpectSame(const cad::TagStream& a, const cad::TagStream& b, std::size_t at) {
    cadtest::ExpectSameTags(a, b, ", split at " + std::to_string(at));
}

// Scans `bytes` once and split at every `step`th byte (inside lines too), expecting the same
// status and, where it succeeds, the same tags.
void ExpectEverySplitLikeOneScan(const std::string& bytes, std::size_t step) {
    cad::TagStream one;
    const base::Status expected = cad::ScanTags(bytes, "d.dxf", one, {}, kNoSplit);
    for (std::size_t at = 1; at < bytes.size(); at += step) {
        cad::TagStream split;
        const cad::ScanSplit splitAt = SplitAt(at);
        const base::Status status = cad::ScanTags(bytes, "d.dxf", split, {}, &splitAt);
        ASSERT_EQ(status.IsOk(), expected.IsOk()) << "split at " << at << ": " << status.Message();
        if (!expected) {
            ASSERT_EQ(status.Message(), expected.Message()) << "split at " << at;
            continue;
        }
        ExpectSame(one, split, at);
    }
}

}  // namespace

TEST(SplitScan, FindsTheTagsOfOneScanWhereverTheSecondPartStarts) {
    ExpectEverySplitLikeOneScan(BigDrawing(40), 7);
}

TEST(SplitScan, ReadsCrlfAndCrOnlyLineEndsAsOneScanDoes) {
    ExpectEverySplitLikeOneScan(WithLineEnds(BigDrawing(30), "\r\n"), 5);
    ExpectEverySplitLikeOneScan(WithLineEnds(BigDrawing(30), "\r"), 5);
}

TEST(SplitScan, ReadsPaddedAndUnpaddedGroupCodesAsOneScanDoes) {
    std::string bytes = BigDrawing(30);
    // Codes as some writers leave them: left-aligned, with blanks after, zero-padded.
    std::string loose;
    for (std::size_t p = 0; p < bytes.size();) {
        std::size_t nl = bytes.find('\n', p);
        std::string line = bytes.substr(p, nl - p);
        if (line == "  0") line = "0  ";
        else if (line == " 10") line = "010";
        loose += line + "\n";
        p = nl + 1;
    }
    ExpectEverySplitLikeOneScan(loose, 5);
}

TEST(SplitScan, AFailureInTheSecondPartSaysTheLineOneScanSays) {
    const std::string bytes = BigDrawing(40, cadtest::Dxf({{0, "LINE"}, {10, "abc"}}));
    cad::TagStream one;
    const base::Status expected = cad::ScanTags(bytes, "d.dxf", one, {}, kNoSplit);
    ASSERT_FALSE(expected);
    EXPECT_NE(expected.Message().find("value \"abc\" of group code 10 is not a number"),
              std::string::npos);
    ExpectEverySplitLikeOneScan(bytes, 11);
}

TEST(SplitScan, ANoteInTheSecondPartHasTheLineOneScanGives) {
    const std::string bytes = BigDrawing(40, cadtest::Dxf({{0, "LINE"}, {10, "1.5mm"}}));
    cad::TagStream one;
    ASSERT_TRUE(cad::ScanTags(bytes, "d.dxf", one, {}, kNoSplit));
    ASSERT_EQ(one.notes.size(), 1u);
    ExpectEverySplitLikeOneScan(bytes, 11);
}

TEST(SplitScan, BytesAfterEofAndAFileWithoutEofAreReadAsOneScanReadsThem) {
    ExpectEverySplitLikeOneScan(BigDrawing(20) + "trash after the end\nof the drawing\n\x1a", 3);
    std::string noEof = BigDrawing(20);
    noEof.resize(noEof.size() - std::string("  0\nEOF\n").size());
    ExpectEverySplitLikeOneScan(noEof, 3);
    ExpectEverySplitLikeOneScan(noEof + "\n\n\n", 3);
}

TEST(SplitScan, AGuessedRecordStartThatIsNoTagIsPassedOverAndTheFileSaidWrongAsOneScanSaysIt) {
    // A value "0" before a line of capitals looks like a record's start to the second part; the
    // first part arrives past it, and the scan goes on to the bad code line.
    const std::string bytes = BigDrawing(20, "  1\n0\nABC\nvalue\n");
    cad::TagStream one;
    const base::Status expected = cad::ScanTags(bytes, "d.dxf", one, {}, kNoSplit);
    ASSERT_FALSE(expected);
    EXPECT_NE(expected.Message().find("invalid group code \"ABC\""), std::string::npos)
        << expected.Message();
    ExpectEverySplitLikeOneScan(bytes, 3);
}

TEST(SplitScan, TextsOfZeroBesideCapitalsAreReadAsOneScanReadsThem) {
    std::string middle;
    for (int i = 0; i < 20; ++i)
        middle += cadtest::Dxf({{0, "TEXT"}, {1, "0"}, {7, "STANDARD"}, {1, "0"}});
    ExpectEverySplitLikeOneScan(BigDrawing(10, middle), 3);
}

TEST(SplitScan, AReadingThatFallsShortIsSaidAsOneScanSaysIt) {
    const std::string bytes = BigDrawing(160000);
    const cad::WaitForBytes shortReading = [&](std::size_t want) {
        return std::min(want, std::size_t{6} << 20);  // nothing after six megabytes
    };
    for (std::size_t at : {std::size_t{1} << 20, std::size_t{7} << 20}) {
        cad::TagStream split;
        const cad::ScanSplit splitAt = SplitAt(at, shortReading);
        const base::Status status = cad::ScanTags(bytes, "d.dxf", split, shortReading, &splitAt);
        ASSERT_FALSE(status);
        EXPECT_EQ(status.Message(), "d.dxf: the file could not be read to its end");
    }
}

TEST(SplitScan, FollowsAReadingOnBothThreads) {
    const std::string bytes = BigDrawing(160000);
    ASSERT_GT(bytes.size(), std::size_t{8} << 20);
    const TempFile file(bytes);
    const char* name = file.path.c_str();
    cad::TagStream one;
    ASSERT_TRUE(cad::ScanTags(bytes, "d.dxf", one, {}, kNoSplit));
    const std::size_t size = bytes.size();
    for (std::size_t at : {std::size_t{1}, size / 3, size / 2, size - 100}) {
        cad::FileReader reader(::open(name, O_RDONLY), name, bytes.size());
        const cad::WaitForBytes waitFor = [&](std::size_t want) { return reader.WaitFor(want); };
        cad::TagStream split;
        const cad::ScanSplit splitAt = SplitAt(at, waitFor);
        ASSERT_TRUE(cad::ScanTags(reader.Bytes(), "d.dxf", split, waitFor, &splitAt));
        ASSERT_TRUE(reader.Finish());
        ExpectSame(one, split, at);
    }
}

TEST(SplitScan, ABufferFromTheSizeGivenIsSplitAtItsMiddleAndScannedAsOneScanWould) {
    const std::string bytes = BigDrawing(160000, cadtest::Dxf({{0, "LINE"}, {10, "2.5 "}}));
    const cad::ScanSplit split;
    ASSERT_GE(bytes.size(), split.from);
    cad::TagStream one, two;
    ASSERT_TRUE(cad::ScanTags(bytes, "d.dxf", one, {}, kNoSplit));
    ASSERT_TRUE(cad::ScanTags(bytes, "d.dxf", two, {}, &split));
    ExpectSame(one, two, bytes.size() / 2);
}

TEST(SplitScan, AMappedDrawingReadOnTwoThreadsHoldsWhatOneThreadReads) {
    const std::string bytes = BigDrawing(160000, cadtest::Dxf({{0, "LINE"}, {10, "2.5x"}}));
    const TempFile file(bytes);
    const char* name = file.path.c_str();
    auto one = cad::Database::OpenMapped(name);
    auto two = cad::Database::OpenMapped(name, {.twoThreads = true});
    ASSERT_TRUE(one);
    ASSERT_TRUE(two);
    EXPECT_EQ((*one)->Warnings(), (*two)->Warnings());
    ASSERT_EQ((*two)->Warnings().size(), 1u);
    EXPECT_EQ((*one)->Select({{0, "LINE"}}).size(), (*two)->Select({{0, "LINE"}}).size());
    EXPECT_EQ((*two)->Select({{0, "LINE"}}).size(), 160001u);
}

TEST(SplitScan, EveryDrawingOfTheCorpusScansAsOneScanDoes) {
    for (const auto& entry : std::filesystem::directory_iterator(VELMAR_CORPUS "/dxf")) {
        if (entry.path().extension() != ".dxf") continue;
        auto bytes = base::ReadFile(entry.path().string());
        ASSERT_TRUE(bytes) << entry.path();
        SCOPED_TRACE(entry.path().filename().string());
        const std::string& text = *bytes;
        ExpectEverySplitLikeOneScan(text, std::max<std::size_t>(1, text.size() / 23));
    }
}

TEST(SplitScan, AMappedDrawingScannedOnTwoThreadsReadsInFileOrderAndSavesAsACopy) {
    const std::string bytes = BigDrawing(160000);
    const TempFile file(bytes);
    const char* name = file.path.c_str();
    auto copied = cad::Database::Open(name);
    auto mapped = cad::Database::OpenMapped(name, {.twoThreads = true});
    ASSERT_TRUE(copied);
    ASSERT_TRUE(mapped);
    const auto lines = (*mapped)->Select({{0, "LINE"}});
    ASSERT_EQ(lines.size(), 160000u);
    // A reading in file order hands back behind it; what it passed reads the same again.
    for (const cad::Entity& line : lines) (*mapped)->HandBackBefore(line.Index());
    EXPECT_EQ((*mapped)->Select({{0, "LINE"}}).size(), (*copied)->Select({{0, "LINE"}}).size());
    const std::string out = std::string(name) + ".out.dxf";
    ASSERT_TRUE((*mapped)->Save(out, ""));
    auto written = base::ReadFile(out);
    ASSERT_TRUE(written);
    EXPECT_TRUE(*written == bytes);
    std::filesystem::remove(out);
}
