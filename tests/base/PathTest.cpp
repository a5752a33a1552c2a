#include "base/Path.h"

#include <gtest/gtest.h>

namespace base {
namespace {

TEST(Path, WindowsAndPosixSeparators) {
    EXPECT_EQ(FileName("C:\\Projects\\P-2041\\E-101 Power.dwg"), "E-101 Power.dwg");
    EXPECT_EQ(FileName("/home/u/plan.dxf"), "plan.dxf");
    EXPECT_EQ(Folder("C:\\Projects\\a.dwg"), "C:\\Projects");
    EXPECT_EQ(Folder("/a.dxf"), "/");
    EXPECT_EQ(Folder("a.dxf"), "");
    EXPECT_EQ(FileName("dir/"), "");
}

TEST(Path, ExtensionsAndTitles) {
    EXPECT_EQ(Extension("x/plan.v2.DXF"), ".DXF");
    EXPECT_EQ(Extension("x.d/plan"), "");
    EXPECT_EQ(Extension(".profile"), "");
    EXPECT_EQ(FileTitle("C:\\a\\E-101.dwg"), "E-101");
    EXPECT_EQ(ReplaceExtension("a/b.dwg", ".dxf"), "a/b.dxf");
    EXPECT_EQ(ReplaceExtension("a.d/b", ".bak"), "a.d/b.bak");
}

TEST(Path, JoinKeepsTheFoldersSeparator) {
    EXPECT_EQ(JoinPath("C:\\x", "a.dwg"), "C:\\x\\a.dwg");
    EXPECT_EQ(JoinPath("/tmp", "a.dxf"), "/tmp/a.dxf");
    EXPECT_EQ(JoinPath("/tmp/", "a.dxf"), "/tmp/a.dxf");
    EXPECT_EQ(JoinPath("", "a.dxf"), "a.dxf");
    EXPECT_EQ(ToNativeSeparators("C:\\x\\y"), "C:/x/y");
}

}  // namespace
}  // namespace base
