// A drawing scanned while it is read: the same tags and messages as a scan of the whole file,
// wherever the pieces end, and a reading that falls short said as such.
#include "cad/FileReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include <gtest/gtest.h>

#include "ScanFixtures.h"
#include "base/File.h"
#include "cad/Database.h"
#include "cad/Tagger.h"

namespace {

using cadtest::BigDrawing;
using cadtest::ExpectSameTags;
using cadtest::TempFile;

// A scan of `bytes` given out in exactly the pieces it asks for, as a reader that is never ahead
// would: pieces then end anywhere, inside lines too.
base::Status ScanInPieces(const std::string& bytes, cad::TagStream& out, int* asked = nullptr) {
    return cad::ScanTags(bytes, "big.dxf", out, [&](std::size_t want) {
        if (asked) ++*asked;
        return std::min(want, bytes.size());
    });
}

TEST(FileReader, AScanThatFollowsTheReadingFindsTheTagsOfAWholeScan) {
    const std::string bytes = BigDrawing(200000);
    ASSERT_GT(bytes.size(), std::size_t{12} << 20);
    cad::TagStream whole, pieces;
    ASSERT_TRUE(cad::ScanTags(bytes, "big.dxf", whole));
    int asked = 0;
    ASSERT_TRUE(ScanInPieces(bytes, pieces, &asked));
    EXPECT_GT(asked, 3);
    ExpectSameTags(whole, pieces);
}

TEST(FileReader, ATagLongerThanTheLookAheadIsReadWhole) {
    const std::string huge(9 << 20, 'x');
    const std::string bytes = BigDrawing(1000, cadtest::Dxf({{0, "TEXT"}, {5, "FFFF"}, {1, huge}}));
    cad::TagStream whole, pieces;
    ASSERT_TRUE(cad::ScanTags(bytes, "big.dxf", whole));
    ASSERT_TRUE(ScanInPieces(bytes, pieces));
    ExpectSameTags(whole, pieces);
}

TEST(FileReader, AMalformedTagPastTheFirstPieceIsSaidAsAWholeScanSaysIt) {
    const std::string bytes = BigDrawing(200000, "  12x\nvalue\n");
    cad::TagStream whole, pieces;
    base::Status a = cad::ScanTags(bytes, "big.dxf", whole);
    base::Status b = ScanInPieces(bytes, pieces);
    ASSERT_FALSE(a);
    EXPECT_NE(a.Message().find("invalid group code \"12x\""), std::string::npos) << a.Message();
    EXPECT_EQ(a.Message(), b.Message());
}

TEST(FileReader, TrailingBlankLinesAfterAPieceEndAreNotATag) {
    std::string bytes = BigDrawing(200000);
    bytes.resize(bytes.size() - std::string("0\nEOF\n").size());
    bytes += std::string(6 << 20, '\n');
    cad::TagStream whole, pieces;
    ASSERT_TRUE(cad::ScanTags(bytes, "big.dxf", whole));
    ASSERT_TRUE(ScanInPieces(bytes, pieces));
    ExpectSameTags(whole, pieces);
}

TEST(FileReader, AScanWhoseReadingFallsShortStopsAndSaysSo) {
    const std::string bytes = BigDrawing(200000);
    cad::TagStream out;
    base::Status status = cad::ScanTags(bytes, "big.dxf", out, [&](std::size_t want) {
        return std::min(want, std::size_t{6} << 20);  // nothing after six megabytes
    });
    ASSERT_FALSE(status);
    EXPECT_EQ(status.Message(), "big.dxf: the file could not be read to its end");
}

TEST(FileReader, ReadsAFileWholeOnItsOwnThread) {
    const std::string bytes = BigDrawing(50000);
    TempFile file(bytes);
    cad::FileReader reader(::open(file.path.c_str(), O_RDONLY), file.path, bytes.size());
    EXPECT_EQ(reader.WaitFor(bytes.size()), bytes.size());
    ASSERT_TRUE(reader.Finish());
    EXPECT_EQ(reader.Bytes(), bytes);
    auto buffer = reader.TakeBuffer();
    EXPECT_EQ(std::string_view(buffer.get(), bytes.size()), bytes);
}

TEST(FileReader, AFileThatGotShorterWhileReadIsAFailureNamingIt) {
    TempFile file(BigDrawing(1000));
    const std::size_t claimed = std::filesystem::file_size(file.path) + 100;
    cad::FileReader reader(::open(file.path.c_str(), O_RDONLY), file.path, claimed);
    EXPECT_LT(reader.WaitFor(claimed), claimed);
    base::Status status = reader.Finish();
    ASSERT_FALSE(status);
    EXPECT_EQ(status.Message(), file.path + ": cannot read: the file got shorter while it was read");
}

TEST(FileReader, ADrawingOpenedWhileReadIsTheFileByteForByte) {
    const std::string bytes = BigDrawing(100000);
    TempFile file(bytes);
    auto db = cad::Database::Open(file.path);
    ASSERT_TRUE(db) << db.GetStatus().Message();
    EXPECT_EQ((*db)->ModelSpace().Entities().size(), 100000u);
    EXPECT_EQ((*db)->Write(), bytes);
    auto given = cad::Database::FromBytes(bytes, file.path);
    ASSERT_TRUE(given);
    EXPECT_EQ((*given)->CountsByType(), (*db)->CountsByType());
}

TEST(FileReader, AMalformedDrawingOpenedWhileReadSaysTheLineAndStopsTheReading) {
    const std::string bytes = cadtest::Dxf({{0, "SECTION"}, {2, "ENTITIES"}}) + "abc\nvalue\n" + BigDrawing(100000);
    TempFile file(bytes);
    auto db = cad::Database::Open(file.path);
    ASSERT_FALSE(db);
    EXPECT_EQ(db.GetStatus().Message(), file.path + ": line 5: invalid group code \"abc\"");
}

}  // namespace
