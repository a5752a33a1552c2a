#pragma once
// Corpus drawings of dynamic blocks as bytes, and variants of them with another parameter kind,
// for the tests of reading and setting dynamic properties.

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Fixtures.h"
#include "base/File.h"

namespace cadtest {

inline std::string CorpusBytes(const std::string& name) {
    auto bytes = base::ReadFile(std::string(VELMAR_CORPUS) + "/dxf/" + name);
    EXPECT_TRUE(bytes) << name;
    return bytes ? *bytes : std::string();
}

// `text` with `from` replaced by `to`, which must occur exactly once.
inline std::string ReplaceOnce(std::string text, const std::string& from, const std::string& to) {
    std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at == std::string::npos)
        return text;
    EXPECT_EQ(text.find(from, at + 1), std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

// The lookup drawing with its linear parameter turned into another two-point parameter of
// `type` and `subclass` whose own data starts with `labels` (these parameters are in no drawing
// of the corpus).
inline std::unique_ptr<cad::Database> LookupDrawingWith(const std::string& type, const std::string& subclass,
                                                       const std::string& labels) {
    std::string bytes = CorpusBytes("dynblock-lookup-ac1032.dxf");
    bytes = ReplaceOnce(bytes, "  0\nBLOCKLINEARPARAMETER\n  5\n601\n",
                        "  0\n" + type + "\n  5\n601\n");
    bytes = ReplaceOnce(
        bytes,
        "100\nAcDbBlockLinearParameter\n305\nmy_distance_label\n306\nMy Distance1 description\n",
        "100\n" + subclass + "\n" + labels);
    return Load(bytes, "lookup-variant.dxf");
}

}  // namespace cadtest
