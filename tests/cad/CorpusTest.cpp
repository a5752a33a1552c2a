// Every drawing of the corpus, written by real CAD programs and libraries: loads, and saves
// unchanged to the very same bytes; the malformed ones say what is wrong and where.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/File.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/Text.h"

namespace {

// The lines of an ASCII drawing, each with its line end.
std::vector<std::string_view> LinesOf(std::string_view bytes) {
    std::vector<std::string_view> lines;
    while (!bytes.empty()) {
        std::size_t end = bytes.find('\n');
        end = end == std::string_view::npos ? bytes.size() : end + 1;
        lines.push_back(bytes.substr(0, end));
        bytes.remove_prefix(end);
    }
    return lines;
}

// Every object of a drawing as its type and tags, values as read: how two binary drawings
// are compared, since a number can be written in another width and mean the same.
std::vector<std::pair<std::string, cad::TagList>> TagListsOf(cad::Database& db) {
    std::vector<std::pair<std::string, cad::TagList>> out;
    for (const cad::Object& o : db.Objects()) out.emplace_back(o.Type(), o.Tags());
    return out;
}

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

TEST(Corpus, ChangingOneValueChangesOnlyItsLineAndGivesNoRecordANewHandle) {
    // The value of the first attribute of each drawing is changed, or that of its first text
    // when it has no attribute, or else the layer of its first entity (or object with a layer).
    std::vector<std::string> files = CorpusFiles(false);
    for (const std::string& bad : CorpusFiles(true)) files.push_back(bad);
    int edited = 0;
    for (const std::string& path : files) {
        SCOPED_TRACE(path);
        auto original = base::ReadFile(path);
        ASSERT_TRUE(original);
        auto db = cad::Database::FromBytes(*original, path);
        if (!db) {
            // Only malformed drawings are refused, and they say where.
            EXPECT_NE(path.find("/bad-"), std::string::npos) << db.GetStatus().Message();
            const std::string& message = db.GetStatus().Message();
            EXPECT_NE(message.find(path), std::string::npos) << message;
            EXPECT_TRUE(message.find("line ") != std::string::npos || message.find("byte offset") != std::string::npos)
                << message;
            continue;
        }
        cad::Database& d = **db;
        cad::Object target;
        for (const char* type : {"ATTRIB", "TEXT"}) {
            for (cad::Object o : d.Objects())
                if (o.Type() == type) {
                    target = o;
                    break;
                }
            if (target) break;
        }
        if (!target) {
            for (const cad::BlockRecord& block : d.Blocks()) {
                for (const cad::Entity& e : block.Entities())
                    if (e.Has(8)) {
                        target = e;
                        break;
                    }
                if (target) break;
            }
        }
        // A drawing whose entities stand in no listed block: the first object with a layer.
        for (cad::Object o : d.Objects())
            if (!target && o.Has(8)) target = o;
        ASSERT_TRUE(target) << "no entity to change";
        ++edited;
        const std::string seed = d.HeaderText("$HANDSEED");
        const std::string value = "Velmar edit " + std::to_string(edited);
        auto before = TagListsOf(d);
        if (target.Type() == "ATTRIB") cad::Attribute(&d, target.Index()).SetTextString(value);
        else if (target.Type() == "TEXT") cad::Text(&d, target.Index()).SetTextString(value);
        else cad::Entity(&d, target.Index()).SetText(8, value);
        const std::string saved = d.Write();
        auto again = cad::Database::FromBytes(saved, path + " (saved)");
        ASSERT_TRUE(again) << again.GetStatus().Message();
        EXPECT_EQ((*again)->HeaderText("$HANDSEED"), seed);
        if (d.Form() == cad::DxfForm::Ascii) {
            auto a = LinesOf(*original), b = LinesOf(saved);
            // A changed drawing that lacked its EOF record gets one.
            bool eofAdded = !(*original).empty() && (*original).find("EOF") == std::string::npos;
            ASSERT_EQ(b.size(), a.size() + (eofAdded ? 2 : 0));
            std::vector<std::size_t> differ;
            for (std::size_t i = 0; i < a.size(); ++i)
                if (a[i] != b[i]) differ.push_back(i);
            ASSERT_EQ(differ.size(), 1u);
            EXPECT_EQ(b[differ[0]].substr(0, value.size()), value) << "line " << differ[0] + 1;
        } else {
            auto after = TagListsOf(**again);
            ASSERT_EQ(after.size(), before.size());
            int differ = 0;
            for (std::size_t i = 0; i < before.size(); ++i) {
                EXPECT_EQ(after[i].first, before[i].first);
                ASSERT_EQ(after[i].second.size(), before[i].second.size()) << before[i].first << " " << i;
                for (std::size_t t = 0; t < before[i].second.size(); ++t) {
                    const cad::Tag &x = before[i].second[t], &y = after[i].second[t];
                    if (x.code == y.code && x.value == y.value) continue;
                    ++differ;
                    EXPECT_EQ(y.value, value);
                }
            }
            EXPECT_EQ(differ, 1);
        }
    }
    EXPECT_GE(edited, 55);
}

}  // namespace
