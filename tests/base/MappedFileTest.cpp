// Files read through a map: the same bytes as a copy, also once pages are handed back, and a
// file written by another program while it is mapped is found out.
#include "base/MappedFile.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "base/File.h"

namespace {

std::string Folder(const std::string& name) {
    std::string folder = ::testing::TempDir() + "/base-mapped-" + name;
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    return folder;
}

base::Result<base::MappedFile> MapFile(const std::string& path) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_GE(fd, 0) << path;
    return base::MappedFile::Map(fd, path);
}

// Bytes that differ from page to page, so that a page read from the wrong place shows.
std::string Pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>('a' + (i / 4093 + i) % 26);
    return bytes;
}

TEST(MappedFile, HoldsTheBytesOfTheFile) {
    std::string path = Folder("same") + "/plan.dxf";
    std::string bytes = Pattern(3 * 1024 * 1024 + 17);
    ASSERT_TRUE(base::WriteFileAtomic(path, bytes));
    auto mapped = MapFile(path);
    ASSERT_TRUE(mapped) << mapped.GetStatus().Message();
    EXPECT_TRUE(mapped->Bytes() == bytes);
}

TEST(MappedFile, PagesHandedBackReadTheSameAgain) {
    std::string path = Folder("handed") + "/plan.dxf";
    std::string bytes = Pattern(1024 * 1024 + 5);
    ASSERT_TRUE(base::WriteFileAtomic(path, bytes));
    auto mapped = MapFile(path);
    ASSERT_TRUE(mapped);
    // Ends inside pages, on pages, past the end and an empty range.
    mapped->HandBack(100, 70000);
    mapped->HandBack(4096, 8192);
    mapped->HandBack(500000, bytes.size() + 100);
    mapped->HandBack(9000, 9000);
    EXPECT_TRUE(mapped->Bytes() == bytes);
    mapped->HandBack(0, bytes.size());
    EXPECT_TRUE(mapped->Bytes() == bytes);
}

TEST(MappedFile, AnEmptyFileHasNoBytes) {
    std::string path = Folder("empty") + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, ""));
    auto mapped = MapFile(path);
    ASSERT_TRUE(mapped) << mapped.GetStatus().Message();
    EXPECT_TRUE(mapped->Bytes().empty());
    mapped->HandBack(0, 10);
    EXPECT_TRUE(mapped->CheckUnchanged());
}

TEST(MappedFile, AFileWrittenInPlaceWhileMappedIsFoundOut) {
    std::string path = Folder("written") + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, Pattern(10000)));
    auto mapped = MapFile(path);
    ASSERT_TRUE(mapped);
    EXPECT_TRUE(mapped->CheckUnchanged());
    // Another program writes into the file without changing its size.
    int fd = ::open(path.c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::pwrite(fd, "zz", 2, 10), 2);
    const struct timespec times[2] = {{0, UTIME_OMIT}, {1000, 0}};  // a time unlike the one read
    ASSERT_EQ(::futimens(fd, times), 0);
    ::close(fd);
    base::Status status = mapped->CheckUnchanged();
    ASSERT_FALSE(status);
    EXPECT_EQ(status.Message(), path + ": the file changed on disk while it was open");
}

TEST(MappedFile, AFileThatGrewWhileMappedIsFoundOut) {
    std::string path = Folder("grew") + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, Pattern(10000)));
    auto mapped = MapFile(path);
    ASSERT_TRUE(mapped);
    struct stat before {};
    ASSERT_EQ(::stat(path.c_str(), &before), 0);
    int fd = ::open(path.c_str(), O_WRONLY | O_APPEND);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::write(fd, "more", 4), 4);
    const struct timespec times[2] = {{0, UTIME_OMIT}, before.st_mtim};  // the time as it was
    ASSERT_EQ(::futimens(fd, times), 0);
    ::close(fd);
    EXPECT_FALSE(mapped->CheckUnchanged());
}

TEST(MappedFile, AFileReplacedUnderItsNameLeavesTheMapAsItWas) {
    std::string path = Folder("replaced") + "/plan.dxf";
    std::string bytes = Pattern(20000);
    ASSERT_TRUE(base::WriteFileAtomic(path, bytes));
    auto mapped = MapFile(path);
    ASSERT_TRUE(mapped);
    ASSERT_TRUE(base::WriteFileAtomic(path, "another drawing"));
    EXPECT_TRUE(mapped->Bytes() == bytes);
    EXPECT_TRUE(mapped->CheckUnchanged());
}

TEST(MappedFile, MovedMapsKeepTheirBytes) {
    std::string path = Folder("moved") + "/plan.dxf";
    std::string bytes = Pattern(5000);
    ASSERT_TRUE(base::WriteFileAtomic(path, bytes));
    auto mapped = MapFile(path);
    ASSERT_TRUE(mapped);
    base::MappedFile moved = std::move(*mapped);
    EXPECT_TRUE(moved.Bytes() == bytes);
    EXPECT_TRUE(moved.CheckUnchanged());
}

TEST(MappedFileDeathTest, AFileCutShortWhileMappedStopsWithALineNamingIt) {
    std::string path = Folder("cut") + "/plan.dxf";
    std::string bytes = Pattern(5 * 4096);
    ASSERT_TRUE(base::WriteFileAtomic(path, bytes));
    auto mapped = MapFile(path);
    ASSERT_TRUE(mapped);
    ASSERT_EQ(::truncate(path.c_str(), 4096), 0);
    EXPECT_EQ(mapped->Bytes()[10], bytes[10]);
    const volatile char* last = mapped->Bytes().data() + bytes.size() - 1;
    EXPECT_EXIT((void)*last, ::testing::ExitedWithCode(1),
                "plan\\.dxf: the file was cut short on disk while it was open; stopped before saving");
}

TEST(MappedFileDeathTest, ABusErrorOutsideTheMapsIsLeftAsItWas) {
    std::string path = Folder("other") + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, Pattern(4096)));
    auto mapped = MapFile(path);
    ASSERT_TRUE(mapped);
    EXPECT_EXIT(::raise(SIGBUS), ::testing::KilledBySignal(SIGBUS), "");
}

}  // namespace
