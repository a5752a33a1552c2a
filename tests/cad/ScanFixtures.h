#pragma once
// What the tests of the tag scan share: a big generated drawing, a comparison of two scans'
// results and a drawing in a file of its own.

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "Fixtures.h"
#include "base/File.h"
#include "cad/Tagger.h"

namespace cadtest {

// A drawing of `lines` LINE entities with `middle` put in halfway: with many lines, several of
// the scan's look-aheads long.
inline std::string BigDrawing(int lines, const std::string& middle = {}) {
    std::string out = Dxf({{0, "SECTION"}, {2, "ENTITIES"}});
    for (int i = 0; i < lines; ++i) {
        if (i == lines / 2) out += middle;
        out += Dxf({{0, "LINE"}, {5, std::to_string(100 + i)}, {8, "Walls"},
                    {10, std::to_string(i) + ".25"}, {20, "0.0"}, {30, "0.0"}, {11, "1.0"},
                    {21, "2.0"}, {31, "0.0"}});
    }
    return out + Dxf({{0, "ENDSEC"}, {0, "EOF"}});
}

// The same tags, end, notes and form in both scans; `context` says which in a failure.
inline void ExpectSameTags(const cad::TagStream& a, const cad::TagStream& b,
                           const std::string& context = {}) {
    for (std::size_t i = 0; i < std::min(a.tags.Size(), b.tags.Size()); ++i) {
        ASSERT_EQ(a.tags.Start(i), b.tags.Start(i)) << "tag " << i << context;
        ASSERT_EQ(a.tags.Code(i), b.tags.Code(i)) << "tag " << i << context;
    }
    ASSERT_EQ(a.tags.Size(), b.tags.Size()) << context;
    EXPECT_EQ(a.sawEof, b.sawEof);
    EXPECT_EQ(a.notes, b.notes);
    EXPECT_EQ(a.prefix, b.prefix);
    EXPECT_EQ(a.lineEnd, b.lineEnd);
    EXPECT_EQ(a.form, b.form);
}

// `bytes` in a file of its own, removed at the end of the test.
struct TempFile {
    explicit TempFile(const std::string& bytes) {
        char name[] = "/tmp/velmar-scan-XXXXXX";
        const int made = ::mkstemp(name);
        if (made >= 0) ::close(made);
        path = name;
        EXPECT_TRUE(base::WriteFileAtomic(path, bytes));
    }
    ~TempFile() { std::filesystem::remove(path); }
    std::string path;
};

}  // namespace cadtest
