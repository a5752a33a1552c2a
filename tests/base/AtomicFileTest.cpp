// Files written in pieces and put in place whole, with a backup of what they replace.
#include "base/AtomicFile.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "base/File.h"

namespace {

std::string Folder(const std::string& name) {
    std::string folder = ::testing::TempDir() + "/base-atomic-" + name;
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    return folder;
}

std::size_t EntriesIn(const std::string& folder) {
    std::size_t n = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++n;
    return n;
}

TEST(AtomicFile, PiecesOfEverySizeArriveInOrder) {
    std::string folder = Folder("pieces");
    std::string expected;
    base::AtomicFile file(folder + "/out.dxf");
    ASSERT_TRUE(file.Open());
    for (std::size_t size : {0u, 1u, 100u, 300000u, 7u, 262144u, 262143u, 5u, 1000000u, 3u}) {
        std::string piece(size, static_cast<char>('a' + size % 26));
        expected += piece;
        file.Write(piece);
    }
    ASSERT_TRUE(file.Commit());
    EXPECT_TRUE(*base::ReadFile(folder + "/out.dxf") == expected);
    EXPECT_EQ(EntriesIn(folder), 1u);
}

TEST(AtomicFile, KeepsTheOldFileAsBackupAndItsPermissions) {
    std::string folder = Folder("backup");
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    ::chmod(path.c_str(), 0600);
    base::AtomicFile file(path);
    ASSERT_TRUE(file.Open());
    file.Write("new");
    ASSERT_TRUE(file.Commit(folder + "/plan.bak"));
    EXPECT_EQ(*base::ReadFile(path), "new");
    EXPECT_EQ(*base::ReadFile(folder + "/plan.bak"), "old");
    struct stat info {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST(AtomicFile, AnUncommittedFileLeavesTheTargetAndNoTrace) {
    std::string folder = Folder("abandon");
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    {
        base::AtomicFile file(path);
        ASSERT_TRUE(file.Open());
        file.Write("half of it");
    }
    EXPECT_EQ(*base::ReadFile(path), "old");
    EXPECT_EQ(EntriesIn(folder), 1u);
}

TEST(AtomicFile, AMissingFolderIsReportedWithTheTarget) {
    base::AtomicFile file("/nonexistent-folder/plan.dxf");
    base::Status status = file.Open();
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("/nonexistent-folder/plan.dxf"), std::string::npos);
    EXPECT_FALSE(file.Commit());
}

TEST(AtomicFile, AFailedWriteIsReportedAtCommitAndTheTargetStays) {
    // A file size limit makes the writes fail part way, as a full disk would.
    std::string folder = Folder("full");
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "old"));
    base::AtomicFile file(path);
    ASSERT_TRUE(file.Open());
    struct rlimit old {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
    auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = old;
    small.rlim_cur = 100000;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    file.Write(std::string(1000000, 'x'));
    file.Write("more");
    base::Status status = file.Commit();
    ::setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("cannot write"), std::string::npos) << status.Message();
    EXPECT_NE(status.Message().find("the original is unchanged"), std::string::npos);
    EXPECT_EQ(*base::ReadFile(path), "old");
    EXPECT_EQ(EntriesIn(folder), 1u);
}

TEST(AtomicFile, AFailedRenameIsReportedAndTheTemporaryFileRemoved) {
    // A folder stands where the file should go: the rename fails, whoever runs the test.
    std::string folder = Folder("rename");
    std::string path = folder + "/plan.dxf";
    std::filesystem::create_directories(path + "/inside");
    base::AtomicFile file(path);
    ASSERT_TRUE(file.Open());
    file.Write("new");
    base::Status status = file.Commit();
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("cannot replace"), std::string::npos) << status.Message();
    EXPECT_TRUE(std::filesystem::is_directory(path + "/inside"));
    EXPECT_EQ(EntriesIn(folder), 1u);
}

}  // namespace
