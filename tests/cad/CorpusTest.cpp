// Every drawing of the corpus, written by real CAD programs and libraries: loads, and saves
// unchanged to the very same bytes; the malformed ones say what is wrong and where.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/File.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"

namespace {

std::vector<std::string> CorpusFiles(bool bad) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(VELMAR_CORPUS "/dxf")) {
        std::string name = entry.path().filename().string();
        if (entry.path().extension() != ".dxf") continue;
        if ((name.rfind("bad-", 0) == 0) == bad) files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

TEST(Corpus, EveryFileLoadsAndSavesUnchangedByteForByte) {
    auto files = CorpusFiles(false);
    ASSERT_GE(files.size(), 40u);
    for (const std::string& path : files) {
        SCOPED_TRACE(path);
        auto bytes = base::ReadFile(path);
        ASSERT_TRUE(bytes);
        auto db = cad::Database::FromBytes(*bytes, path);
        ASSERT_TRUE(db) << db.GetStatus().Message();
        EXPECT_FALSE((*db)->IsModified());
        EXPECT_TRUE((*db)->Write() == *bytes);
    }
}

TEST(Corpus, EveryMalformedFileSaysWhatIsWrong) {
    auto files = CorpusFiles(true);
    ASSERT_GE(files.size(), 7u);
    for (const std::string& path : files) {
        SCOPED_TRACE(path);
        auto db = cad::Database::Open(path);
        if (!db) {
            EXPECT_NE(db.GetStatus().Message().find(path), std::string::npos) << db.GetStatus().Message();
            EXPECT_TRUE(db.GetStatus().Message().find("line ") != std::string::npos ||
                        db.GetStatus().Message().find("byte offset") != std::string::npos)
                << db.GetStatus().Message();
        } else {
            // Loaded with repairs: each repair is reported, and the bytes survive an unchanged save.
            EXPECT_FALSE((*db)->Warnings().empty());
            auto bytes = base::ReadFile(path);
            EXPECT_TRUE((*db)->Write() == *bytes);
        }
    }
}

TEST(Corpus, ChangingOneAttributeChangesOnlyThatValue) {
    for (const std::string& path : CorpusFiles(false)) {
        SCOPED_TRACE(path);
        auto db = cad::Database::Open(path);
        ASSERT_TRUE(db);
        cad::Database& d = **db;
        cad::Attribute target;
        for (cad::Object o : d.Objects())
            if (o.Type() == "ATTRIB") {
                target = cad::Attribute(&d, o.Index());
                break;
            }
        if (!target) continue;
        cad::Handle handle = target.GetHandle();
        std::string tag = target.Tag();
        target.SetTextString("Velmar edit \xC3\xA9");
        std::string out = d.Write();
        auto again = cad::Database::FromBytes(out, path + " (saved)");
        ASSERT_TRUE(again) << again.GetStatus().Message();
        cad::Object edited = (*again)->ObjectByHandle(handle);
        ASSERT_TRUE(edited);
        EXPECT_EQ(cad::Attribute(&**again, edited.Index()).TextString(), "Velmar edit \xC3\xA9");
        EXPECT_EQ(cad::Attribute(&**again, edited.Index()).Tag(), tag);
        EXPECT_EQ((*again)->CountsByType(), d.CountsByType());
    }
}

}  // namespace
