#include "base/File.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "base/Path.h"

namespace base {
namespace {

class FileTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/velmar-file-XXXXXX";
        folder_ = ::mkdtemp(pattern);
    }
    void TearDown() override { std::system(("rm -rf '" + folder_ + "'").c_str()); }
    std::string folder_;
};

TEST_F(FileTest, WriteThenReadBack) {
    const std::string path = folder_ + "/a.txt";
    ASSERT_TRUE(WriteFileAtomic(path, std::string("x\0y", 3)));
    auto bytes = ReadFile(path);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, std::string("x\0y", 3));
}

TEST_F(FileTest, ReplaceKeepsBackupOfTheOldFile) {
    const std::string path = folder_ + "/d.dxf";
    ASSERT_TRUE(WriteFileAtomic(path, "old"));
    ASSERT_TRUE(WriteFileAtomic(path, "new", {folder_ + "/d.bak"}));
    EXPECT_EQ(*ReadFile(path), "new");
    EXPECT_EQ(*ReadFile(folder_ + "/d.bak"), "old");
    ASSERT_TRUE(WriteFileAtomic(path, "newer", {folder_ + "/d.bak"}));
    EXPECT_EQ(*ReadFile(folder_ + "/d.bak"), "new");
}

TEST_F(FileTest, KeepsPermissionsOfTheReplacedFile) {
    const std::string path = folder_ + "/p.txt";
    ASSERT_TRUE(WriteFileAtomic(path, "1"));
    ::chmod(path.c_str(), 0600);
    ASSERT_TRUE(WriteFileAtomic(path, "2"));
    struct stat st {};
    ::stat(path.c_str(), &st);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
}

TEST_F(FileTest, FailedWriteLeavesTargetAndNoTemporaryFile) {
    const std::string path = folder_ + "/missing-folder/x.txt";
    const Status status = WriteFileAtomic(path, "x");
    EXPECT_FALSE(status);
    EXPECT_NE(status.Message().find("missing-folder"), std::string::npos);
}

TEST_F(FileTest, MissingFileSaysWhich) {
    auto bytes = ReadFile(folder_ + "/nope.dxf");
    ASSERT_FALSE(bytes);
    EXPECT_NE(bytes.GetStatus().Message().find("nope.dxf"), std::string::npos);
}

TEST_F(FileTest, ExistenceTests) {
    EXPECT_TRUE(IsDirectory(folder_));
    EXPECT_FALSE(FileExists(folder_));
    ASSERT_TRUE(WriteFileAtomic(folder_ + "/f", ""));
    EXPECT_TRUE(FileExists(folder_ + "/f"));
}

}  // namespace
}  // namespace base
