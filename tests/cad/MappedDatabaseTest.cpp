// Drawings read through a map of their file: the same drawing as one read into a copy, also
// when the pages behind the reading were handed back, and never saved once another program
// wrote the file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "base/File.h"
#include "cad/BlockNesting.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "Fixtures.h"

namespace {

std::string Folder(const std::string& name) {
    std::string folder = ::testing::TempDir() + "/cad-mapped-" + name;
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    return folder;
}

// The small drawing with `count` more references in model space, each with an attribute whose
// value is long enough that the file spans many pages of the map: some 30 MB for 60,000.
std::string LargeDrawing(int count) {
    std::string text = cadtest::R12Drawing();
    const std::string entities = "2\nENTITIES\n";
    std::string more;
    const std::string filler(360, 'x');
    for (int i = 0; i < count; ++i) {
        more += cadtest::Dxf({{0, "INSERT"}, {8, "0"}, {66, "1"}, {2, "Door"}, {10, std::to_string(i)},
                              {20, "0.0"}, {30, "0.0"}, {0, "ATTRIB"}, {8, "0"}, {10, "0.5"}, {20, "0.5"},
                              {30, "0.0"}, {40, "0.2"}, {1, "D-" + std::to_string(i) + filler},
                              {2, "NUMBER"}, {70, "0"}, {0, "SEQEND"}, {8, "0"}});
    }
    text.insert(text.find(entities) + entities.size(), more);
    return text;
}

// Writes `bytes` a page at a time, so that the system caches the file, and maps it, in pages: a
// file written at once may be cached in blocks of up to 2 MiB, mapped whole at a touch.
void WritePageByPage(const std::string& path, const std::string& bytes) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::setvbuf(file, nullptr, _IONBF, 0);
    for (std::size_t at = 0; at < bytes.size(); at += 4096) {
        const std::size_t page = std::min<std::size_t>(4096, bytes.size() - at);
        ASSERT_EQ(std::fwrite(bytes.data() + at, 1, page, file), page);
    }
    ASSERT_EQ(std::fclose(file), 0);
}

// The large drawing written into a folder of its own and read through a map of it.
struct LargeMapped {
    std::string folder;
    std::string path;
    std::string bytes;
    std::unique_ptr<cad::Database> db;
};

LargeMapped OpenLargeMapped(const std::string& name, int count = 60000, bool pageByPage = false) {
    LargeMapped large{Folder(name), {}, LargeDrawing(count), nullptr};
    large.path = large.folder + "/plan.dxf";
    if (pageByPage)
        WritePageByPage(large.path, large.bytes);
    else
        EXPECT_TRUE(base::WriteFileAtomic(large.path, large.bytes));
    auto mapped = cad::Database::OpenMapped(large.path);
    EXPECT_TRUE(mapped) << mapped.GetStatus().Message();
    if (mapped) large.db = std::move(*mapped);
    return large;
}

// The bytes of `path`'s map that the process holds, from the system's account of its maps; 0
// when it is not mapped, which is a failure unless `unmappedAllowed`.
std::size_t ResidentBytesOfMap(const std::string& path, bool unmappedAllowed = false) {
    std::ifstream in("/proc/self/smaps");  // its size is not known before it is read
    std::string maps((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::size_t at = maps.find(std::filesystem::canonical(path).string() + "\n");
    if (at == std::string::npos) {
        EXPECT_TRUE(unmappedAllowed) << path << " is not mapped";
        return 0;
    }
    std::size_t rss = maps.find("\nRss:", at);
    return std::stoul(maps.substr(rss + 5)) * 1024;  // given in kB
}

std::vector<cad::BlockReference> References(cad::Database& db) {
    std::vector<cad::BlockReference> refs;
    for (const cad::Entity& e : db.ModelSpace().Entities())
        if (e.Type() == "INSERT") refs.emplace_back(&db, e.Index());
    return refs;
}

// Changes the first, a middle and the last reference's attribute, as an import would.
void Edit(cad::Database& db) {
    auto refs = References(db);
    ASSERT_GE(refs.size(), 3u);
    for (std::size_t k : {std::size_t{0}, refs.size() / 2, refs.size() - 1})
        refs[k].Attributes()[0].SetTextString("edited " + std::to_string(k));
}

std::vector<std::string> CorpusFiles() {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(VELMAR_CORPUS "/dxf"))
        if (entry.path().extension() == ".dxf") files.push_back(entry.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

TEST(MappedDatabase, EveryCorpusDrawingReadsAsFromACopy) {
    auto files = CorpusFiles();
    ASSERT_GE(files.size(), 47u);
    for (const std::string& path : files) {
        SCOPED_TRACE(path);
        auto copied = cad::Database::Open(path);
        auto mapped = cad::Database::OpenMapped(path);
        ASSERT_EQ(bool(copied), bool(mapped));
        if (!copied) {
            EXPECT_EQ(mapped.GetStatus().Message(), copied.GetStatus().Message());
            continue;
        }
        EXPECT_EQ((*mapped)->Warnings(), (*copied)->Warnings());
        const std::string bytes = *base::ReadFile(path);
        EXPECT_TRUE((*mapped)->Write() == bytes);
        EXPECT_EQ((*mapped)->ByteSize(), bytes.size());
        EXPECT_EQ((*copied)->ByteSize(), bytes.size());
    }
}

TEST(MappedDatabase, ALargeDrawingReadsTheSameOnceItsPagesAreHandedBack) {
    LargeMapped large = OpenLargeMapped("large");
    ASSERT_TRUE(large.db);
    ASSERT_GT(large.bytes.size(), std::size_t{24} << 20);  // past the margin kept behind the reading
    // Once loaded, the drawing holds its index, not the file.
    EXPECT_LT(ResidentBytesOfMap(large.path), large.bytes.size() / 8);
    // Written out, it hands back what it wrote.
    EXPECT_TRUE(large.db->Write() == large.bytes);
    EXPECT_LT(ResidentBytesOfMap(large.path), large.bytes.size() / 8);

    // Counted, edited and saved as the same drawing read into a copy.
    auto copied = cad::Database::Open(large.path);
    ASSERT_TRUE(copied);
    cad::BlockNesting mappedNesting(*large.db);
    cad::BlockNesting copiedNesting(**copied);
    ASSERT_EQ(mappedNesting.Entries().size(), copiedNesting.Entries().size());
    for (std::size_t k = 0; k < mappedNesting.Entries().size(); ++k) {
        EXPECT_EQ(mappedNesting.Entries()[k].references, copiedNesting.Entries()[k].references);
        EXPECT_EQ(mappedNesting.Entries()[k].instances, copiedNesting.Entries()[k].instances);
    }
    Edit(*large.db);
    Edit(**copied);
    ASSERT_TRUE(large.db->Save(large.folder + "/mapped.dxf"));
    ASSERT_TRUE((*copied)->Save(large.folder + "/copied.dxf"));
    EXPECT_TRUE(*base::ReadFile(large.folder + "/mapped.dxf") == *base::ReadFile(large.folder + "/copied.dxf"));
    EXPECT_NE(*base::ReadFile(large.folder + "/mapped.dxf"), large.bytes);
}

// Reads every reference's attribute in file order, telling the drawing where the reading is;
// the length of the texts read. Each reference spans three records: it is told at every third.
std::size_t ReadInFileOrder(cad::Database& db) {
    std::size_t length = 0;
    for (const cad::BlockReference& ref : References(db)) {
        db.HandBackBefore(ref.Index());
        length += ref.Attributes()[0].TextString().size();
    }
    return length;
}

TEST(MappedDatabase, AReadingInFileOrderHoldsOnlyThePagesNearIt) {
    LargeMapped large = OpenLargeMapped("in-order");
    ASSERT_TRUE(large.db);
    std::size_t length = ReadInFileOrder(*large.db);
    EXPECT_GT(length, std::size_t{60000} * 360);
    EXPECT_LT(ResidentBytesOfMap(large.path), large.bytes.size() / 2);
    // Without telling the drawing, the pages read stay.
    for (const cad::BlockReference& ref : References(*large.db)) length += ref.Attributes()[0].TextString().size();
    EXPECT_GT(ResidentBytesOfMap(large.path), large.bytes.size() / 2);
}

TEST(MappedDatabase, AReadingInFileOrderHoldsItsMarginAndAtMostAStepMore) {
    LargeMapped large = OpenLargeMapped("in-steps", 60000, true);
    ASSERT_TRUE(large.db);
    // A sixteenth of the file behind the reading, and pages handed back a mebibyte at a time;
    // the records read between two calls that hand back (a few hundred kilobytes) come on top.
    const std::size_t margin = large.bytes.size() / 16;
    std::size_t most = 0, k = 0;
    for (const cad::BlockReference& ref : References(*large.db)) {
        large.db->HandBackBefore(ref.Index());
        ref.Attributes()[0].TextString();
        if (++k % 100 == 0) most = std::max(most, ResidentBytesOfMap(large.path));
    }
    EXPECT_GT(most, margin);
    EXPECT_LT(most, margin + (std::size_t{7} << 18));
}

TEST(MappedDatabase, ATwoThreadScanHoldsLittleBehindEitherThread) {
    const std::string path = Folder("scan") + "/plan.dxf";
    const std::string bytes = LargeDrawing(60000);
    WritePageByPage(path, bytes);
    // Sampled from beside the loading, from before the file is mapped until it is read.
    std::atomic<bool> loaded{false};
    std::size_t most = 0;
    std::thread sampler([&] {
        while (!loaded) {
            most = std::max(most, ResidentBytesOfMap(path, true));
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });
    cad::MapOptions options;
    options.twoThreads = true;
    auto db = cad::Database::OpenMapped(path, options);
    loaded = true;
    sampler.join();
    ASSERT_TRUE(db) << db.GetStatus().Message();
    // Each thread's look ahead (4 MiB, read as it goes), 256 KiB behind its place and less than
    // a step (1 MiB) not yet handed back; with a sixteenth of the file (1.8 MB) kept behind
    // each instead, the most held was 11.6 to 12 MB.
    EXPECT_GT(most, std::size_t{4} << 20);
    EXPECT_LT(most, 2 * ((std::size_t{4} << 20) + (std::size_t{5} << 18)));
}

TEST(MappedDatabase, ASmallDrawingReadInFileOrderHoldsASixteenthOfItselfBehindTheReading) {
    // Some 8 MB: below the 8 MiB margin kept behind a reading of a large file twice over, so
    // that a margin of that size would keep all of it.
    LargeMapped small = OpenLargeMapped("small-in-order", 16000);
    ASSERT_TRUE(small.db);
    ASSERT_LT(small.bytes.size(), std::size_t{16} << 20);
    EXPECT_GT(ReadInFileOrder(*small.db), std::size_t{16000} * 360);
    EXPECT_LT(ResidentBytesOfMap(small.path), small.bytes.size() / 4);
}

TEST(MappedDatabase, LookupsByHandleInAnyOrderHoldOnlyPartOfTheFile) {
    LargeMapped large = OpenLargeMapped("by-handle");
    ASSERT_TRUE(large.db);
    // Read in file order without a word to the drawing, the file's pages are held.
    std::vector<cad::Handle> handles;
    std::size_t length = 0;
    for (const cad::BlockReference& ref : References(*large.db)) {
        handles.push_back(ref.GetHandle());
        length += ref.Attributes()[0].TextString().size();
    }
    EXPECT_GT(ResidentBytesOfMap(large.path), large.bytes.size() / 2);
    // Then last to first, as rows sorted the other way come.
    length = 0;
    for (auto handle = handles.rbegin(); handle != handles.rend(); ++handle) {
        cad::BlockReference ref(large.db.get(), large.db->ObjectByHandle(*handle).Index());
        length += ref.Attributes()[0].TextString().size();
    }
    EXPECT_GT(length, std::size_t{60000} * 360);
    EXPECT_LT(ResidentBytesOfMap(large.path), large.bytes.size() / 2);
}

TEST(MappedDatabase, LookupsThatPassOverTheFileAgainAndAgainHoldAFewMarginsOfIt) {
    // As rows grouped by block come: each group's references lie all over the file, in file
    // order, and the groups pass over it one after the other.
    LargeMapped large = OpenLargeMapped("passes", 60000, true);
    ASSERT_TRUE(large.db);
    std::vector<cad::Handle> handles;
    for (const cad::BlockReference& ref : References(*large.db)) handles.push_back(ref.GetHandle());
    constexpr std::size_t kGroups = 24;
    const std::size_t margin = large.bytes.size() / 16;
    std::size_t most = 0, length = 0, k = 0;
    for (std::size_t group = 0; group < kGroups; ++group)
        for (std::size_t i = group; i < handles.size(); i += kGroups) {
            cad::BlockReference ref(large.db.get(), large.db->ObjectByHandle(handles[i]).Index());
            length += ref.Attributes()[0].TextString().size();
            if (++k % 50 == 0) most = std::max(most, ResidentBytesOfMap(large.path));
        }
    EXPECT_GT(length, std::size_t{60000} * 360);
    // Four margins apart at most between hand backs, and one kept around the last lookup.
    EXPECT_LT(most, 6 * margin);
}

TEST(MappedDatabase, SavingHandsBackWhatItWrote) {
    LargeMapped large = OpenLargeMapped("saved");
    ASSERT_TRUE(large.db);
    auto copied = cad::Database::Open(large.path);
    ASSERT_TRUE(copied);
    // Edits all over the file break what is written into many short runs.
    auto mappedRefs = References(*large.db);
    auto copiedRefs = References(**copied);
    ASSERT_EQ(mappedRefs.size(), copiedRefs.size());
    for (std::size_t k = 0; k < mappedRefs.size(); k += 10) {
        mappedRefs[k].Attributes()[0].SetTextString("edited " + std::to_string(k));
        copiedRefs[k].Attributes()[0].SetTextString("edited " + std::to_string(k));
    }
    EXPECT_GT(ResidentBytesOfMap(large.path), large.bytes.size() / 2);
    ASSERT_TRUE(large.db->Save(large.folder + "/saved.dxf"));
    EXPECT_LT(ResidentBytesOfMap(large.path), large.bytes.size() / 8);
    EXPECT_TRUE(*base::ReadFile(large.folder + "/saved.dxf") == (*copied)->Write());
}

TEST(MappedDatabase, ADrawingWhoseFileWasWrittenByAnotherProgramIsNotSaved) {
    std::string folder = Folder("written");
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, LargeDrawing(3)));
    auto db = cad::Database::OpenMapped(path);
    ASSERT_TRUE(db);
    Edit(**db);
    // Another program writes into the file in place, its size unchanged.
    int fd = ::open(path.c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::pwrite(fd, "0\nLINE", 6, 0), 6);
    const struct timespec times[2] = {{0, UTIME_OMIT}, {1000, 0}};
    ASSERT_EQ(::futimens(fd, times), 0);
    ::close(fd);
    std::string written = *base::ReadFile(path);

    base::Status status = (*db)->Save(path, folder + "/plan.bak");
    ASSERT_FALSE(status);
    EXPECT_EQ(status.Message(), path + ": the file changed on disk while it was open");
    EXPECT_EQ(*base::ReadFile(path), written);
    EXPECT_FALSE(std::filesystem::exists(folder + "/plan.bak"));
    // Nor under another name, and nothing is left behind.
    EXPECT_FALSE((*db)->Save(folder + "/other.dxf"));
    EXPECT_FALSE(std::filesystem::exists(folder + "/other.dxf"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
}

TEST(MappedDatabase, ADrawingReplacedUnderItsNameIsSavedFromWhatWasRead) {
    std::string folder = Folder("replaced");
    std::string path = folder + "/plan.dxf";
    std::string text = cadtest::R12Drawing();
    ASSERT_TRUE(base::WriteFileAtomic(path, text));
    auto db = cad::Database::OpenMapped(path);
    ASSERT_TRUE(db);
    ASSERT_TRUE(base::WriteFileAtomic(path, "0\nEOF\n"));
    ASSERT_TRUE((*db)->Save(folder + "/out.dxf"));
    EXPECT_EQ(*base::ReadFile(folder + "/out.dxf"), text);
}

TEST(MappedDatabase, AnEmptyOrMissingFileSaysWhatOpenSays) {
    std::string folder = Folder("empty");
    ASSERT_TRUE(base::WriteFileAtomic(folder + "/empty.dxf", ""));
    for (const std::string& path : {folder + "/empty.dxf", folder + "/gone.dxf", folder}) {
        SCOPED_TRACE(path);
        auto copied = cad::Database::Open(path);
        auto mapped = cad::Database::OpenMapped(path);
        ASSERT_FALSE(copied);
        ASSERT_FALSE(mapped);
        EXPECT_EQ(mapped.GetStatus().Message(), copied.GetStatus().Message());
    }
}

}  // namespace
