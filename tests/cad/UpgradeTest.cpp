// Bringing drawings of older releases to the newest one the library writes (AC1032).

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "Fixtures.h"
#include "base/Text.h"
#include "cad/Text.h"

namespace {

using cad::Database;
using cadtest::Dxf;

std::unique_ptr<Database> Read(std::string bytes, std::string name = "test.dxf") {
    auto db = Database::FromBytes(std::move(bytes), std::move(name));
    EXPECT_TRUE(db) << db.GetStatus().Message();
    return db ? std::move(*db) : nullptr;
}

std::unique_ptr<Database> OpenCorpus(const std::string& name) {
    auto db = Database::Open(std::string(VELMAR_CORPUS "/dxf/") + name);
    EXPECT_TRUE(db) << db.GetStatus().Message();
    return db ? std::move(*db) : nullptr;
}

// Upgrades and reads the written bytes back, as a later session would.
std::unique_ptr<Database> UpgradeAndReread(Database& db) {
    base::Status status = db.UpgradeTo(Database::kNewestRelease);
    EXPECT_TRUE(status) << status.Message();
    if (!status) return nullptr;
    return Read(db.Write(), db.FileName());
}

// Record types whose number an upgrade may change: structure, and what a newer drawing must have.
const std::set<std::string> kMadeByUpgrade = {
    "SECTION", "ENDSEC", "TABLE", "ENDTAB", "EOF", "CLASS", "BLOCK", "ENDBLK", "SEQEND", "BLOCK_RECORD",
    "DICTIONARY", "ACDBDICTIONARYWDFLT", "ACDBPLACEHOLDER", "LAYOUT", "MLINESTYLE", "LTYPE", "LAYER",
    "STYLE", "APPID", "DIMSTYLE"};

std::string NewType(const std::string& type) { return type == "3DLINE" ? "LINE" : type; }

// What must survive an upgrade: objects by type, attributes, layers and blocks.
struct Snapshot {
    std::map<std::string, std::size_t> counts;
    std::vector<std::pair<std::string, std::string>> attributes;  // tag, text
    std::set<std::string> layers;
    std::set<std::string> blocks;  // other than model and paper space
    std::set<std::string> appIds, lineTypes, textStyles, dimStyles;
};

Snapshot Take(Database& db) {
    Snapshot s;
    for (const cad::Object& o : db.Objects()) {
        std::string type = NewType(o.Type());
        if (!kMadeByUpgrade.count(type)) ++s.counts[type];
        if (type == "ATTRIB") {
            cad::Attribute a(o.GetDatabase(), o.Index());
            s.attributes.emplace_back(a.Tag(), a.TextString());
        }
    }
    std::sort(s.attributes.begin(), s.attributes.end());
    auto names = [&](std::string_view table) {
        std::set<std::string> out;
        for (const cad::SymbolRecord& r : db.TableRecords(table)) out.insert(base::FoldCase(r.Name()));
        return out;
    };
    s.layers = names("LAYER");
    s.appIds = names("APPID");
    s.lineTypes = names("LTYPE");
    s.textStyles = names("STYLE");
    s.dimStyles = names("DIMSTYLE");
    for (const cad::BlockRecord& b : db.Blocks())
        if (!b.IsLayout()) s.blocks.insert(b.Name());
    return s;
}

// `after` holds `before`, and more only of the names in `allowed`.
void ExpectNames(const std::set<std::string>& before, const std::set<std::string>& after,
                 const std::set<std::string>& allowed, const std::string& what) {
    for (const std::string& n : before) EXPECT_TRUE(after.count(n)) << what << " lost: " << n;
    for (const std::string& n : after)
        EXPECT_TRUE(before.count(n) || allowed.count(n)) << what << " added: " << n;
}

void ExpectSameContent(const Snapshot& a, const Snapshot& b) {
    EXPECT_EQ(a.counts, b.counts);
    EXPECT_EQ(a.attributes, b.attributes);
    ExpectNames(a.layers, b.layers, {"0"}, "layer");
    ExpectNames(a.appIds, b.appIds, {"acad"}, "application");
    ExpectNames(a.lineTypes, b.lineTypes, {"byblock", "bylayer", "continuous"}, "line type");
    ExpectNames(a.textStyles, b.textStyles, {"standard"}, "text style");
    ExpectNames(a.dimStyles, b.dimStyles, {"standard"}, "dimension style");
    EXPECT_EQ(a.blocks, b.blocks);
}

std::vector<std::string> CorpusDrawings() {
    std::vector<std::string> out;
    for (const auto& entry : std::filesystem::directory_iterator(VELMAR_CORPUS "/dxf")) {
        const std::string name = entry.path().filename().string();
        if (entry.path().extension() == ".dxf" && name.rfind("bad-", 0) != 0) out.push_back(name);
    }
    std::sort(out.begin(), out.end());
    return out;
}

// Tags that an R12 object changes on its way up: its handle, its owner, the elevation that
// became z, and the names of arrow blocks that became pointers.
bool ChangesInR12Upgrade(const std::string& type, int code) {
    if (code == 5 || code == 105 || code == 330 || code == 38 || code == 340) return true;
    if (type == "DIMSTYLE" && (code == 6 || code == 7)) return true;
    return false;
}

TEST(Upgrade, EveryCorpusDrawingReadsBackAsAc1032WithTheSameContent) {
    std::size_t upgraded = 0;
    for (const std::string& name : CorpusDrawings()) {
        SCOPED_TRACE(name);
        auto db = OpenCorpus(name);
        if (!db || db->Release() >= Database::kNewestRelease) continue;
        const Snapshot before = Take(*db);
        const std::vector<std::string> warnings = db->Warnings();
        auto after = UpgradeAndReread(*db);
        ASSERT_TRUE(after);
        EXPECT_EQ(after->Version(), "AC1032");
        EXPECT_EQ(after->Release(), 1032);
        // A value the reader had to repair (qcad's "256QSW" colour) is repaired again.
        if (warnings.empty()) {
            EXPECT_TRUE(after->Warnings().empty()) << after->Warnings().front();
        }
        ExpectSameContent(before, Take(*after));
        ++upgraded;
    }
    EXPECT_GE(upgraded, 30u);
}

TEST(Upgrade, EveryObjectKeepsItsHandleTypeAndValues) {
    for (const std::string& name : CorpusDrawings()) {
        SCOPED_TRACE(name);
        auto db = OpenCorpus(name);
        if (!db || db->Release() >= Database::kNewestRelease) continue;
        const bool r12 = db->Release() < 1012;
        const int release = db->Release();
        std::vector<std::tuple<cad::Handle, std::string, cad::TagList>> objects;
        for (const cad::Object& o : db->Objects())
            if (o.GetHandle() != 0) objects.emplace_back(o.GetHandle(), o.Type(), o.Tags());
        auto after = UpgradeAndReread(*db);
        ASSERT_TRUE(after);
        std::size_t differing = 0;
        for (const auto& [handle, type, tags] : objects) {
            cad::Object o = after->ObjectByHandle(handle);
            ASSERT_TRUE(o) << type << " " << cad::HandleText(handle) << " is gone";
            ASSERT_EQ(o.Type(), NewType(type)) << cad::HandleText(handle);
            const cad::TagList now = o.Tags();
            if (!r12) {
                // Newer drawings keep every tag in place, handles aside (an object the file gave
                // none gains one); R13 and R14 spaces and root dictionary gain their layouts.
                auto withoutHandles = [](cad::TagList t) {
                    t.erase(std::remove_if(t.begin(), t.end(), [](const cad::Tag& x) { return x.code == 5 || x.code == 105; }),
                            t.end());
                    return t;
                };
                if (withoutHandles(now) != withoutHandles(tags)) {
                    ++differing;
                    EXPECT_TRUE(release < 1015 && (type == "BLOCK_RECORD" || type == "DICTIONARY"))
                        << type << " " << cad::HandleText(handle) << " changed";
                }
                continue;
            }
            // R12 objects are rearranged under subclass markers: every value is still there.
            std::multiset<std::pair<int, std::string>> have;
            for (const cad::Tag& t : now) have.emplace(t.code, t.value);
            for (const cad::Tag& t : tags) {
                if (ChangesInR12Upgrade(type, t.code)) continue;
                if ((type == "BLOCK") && (t.code == 2 || t.code == 3) && t.value[0] == '$') continue;
                auto it = have.find({t.code, t.value});
                EXPECT_TRUE(it != have.end()) << type << " " << cad::HandleText(handle) << " lost " << t.code
                                              << " \"" << t.value << "\"";
                if (it != have.end()) have.erase(it);
            }
        }
        EXPECT_LE(differing, 4u);
    }
}

TEST(Upgrade, ExtendedDataKeepsItsValues) {
    for (const char* name : {"acadsharp-sample-ac1009.dxf", "blocks-entities-only-no-header.dxf", "libredwg-example-ac1015.dxf"}) {
        SCOPED_TRACE(name);
        auto db = OpenCorpus(name);
        ASSERT_TRUE(db);
        std::map<cad::Handle, cad::TagList> xdata;
        for (const cad::Object& o : db->Objects())
            for (const std::string& app : o.XdataApps()) {
                cad::TagList t = o.Xdata(app);
                xdata[o.GetHandle()].insert(xdata[o.GetHandle()].end(), t.begin(), t.end());
            }
        ASSERT_FALSE(xdata.empty());
        auto after = UpgradeAndReread(*db);
        ASSERT_TRUE(after);
        for (const auto& [handle, tags] : xdata) {
            cad::Object o = after->ObjectByHandle(handle);
            cad::TagList now;
            for (const std::string& app : o.XdataApps()) {
                cad::TagList t = o.Xdata(app);
                now.insert(now.end(), t.begin(), t.end());
            }
            EXPECT_EQ(now, tags) << cad::HandleText(handle);
        }
    }
}

TEST(Upgrade, DrawingAtTheNewestReleaseStaysByteForByte) {
    auto db = OpenCorpus("attribute-ac1032.dxf");
    ASSERT_TRUE(db);
    const std::string before = db->Write();
    EXPECT_TRUE(db->UpgradeTo(1032));
    EXPECT_FALSE(db->IsModified());
    EXPECT_EQ(db->Write(), before);
}

TEST(Upgrade, OlderReleaseIsRefusedAndNothingChanges) {
    auto db = OpenCorpus("attribute-ac1032.dxf");
    ASSERT_TRUE(db);
    base::Status status = db->UpgradeTo(1027);
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("AC1032"), std::string::npos) << status.Message();
    EXPECT_NE(status.Message().find("older"), std::string::npos) << status.Message();
    EXPECT_EQ(db->Version(), "AC1032");

    auto r2000 = OpenCorpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(r2000);
    EXPECT_FALSE(r2000->UpgradeTo(1014));
    EXPECT_FALSE(r2000->IsModified());
}

TEST(Upgrade, ReleaseOtherThanTheNewestIsRefused) {
    auto db = Read(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    base::Status status = db->UpgradeTo(1027);
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("AC1032 only"), std::string::npos) << status.Message();
    EXPECT_EQ(db->Release(), 1009);
}

TEST(Upgrade, CodePageTextsComeOutAsTheSameUnicodeInUtf8) {
    for (const char* name : {"cyrillic-uescape-ac1015.dxf", "r12-uescape-greek-umlaut.dxf", "qcad-dxflib-assorted-8bit-ac1015.dxf",
                             "libredwg-example-ac1015.dxf", "gdal-utf8-bytes-in-ac1018.dxf"}) {
        SCOPED_TRACE(name);
        auto db = OpenCorpus(name);
        ASSERT_TRUE(db);
        const std::string codePage = db->HeaderText("$DWGCODEPAGE");
        const int release = db->Release();
        // Every text of every object, by handle.
        auto textsOf = [](const cad::Object& o) {
            std::vector<std::string> out;
            for (const cad::Tag& t : o.Tags())
                if (cad::KindOfCode(t.code) == cad::ValueKind::Text) out.push_back(t.value);
            return out;
        };
        std::map<cad::Handle, std::vector<std::string>> texts;
        bool nonAscii = false;
        for (const cad::Object& o : db->Objects()) {
            if (o.GetHandle() == 0) continue;
            texts[o.GetHandle()] = textsOf(o);
            for (const std::string& t : texts[o.GetHandle()])
                for (unsigned char c : t) nonAscii = nonAscii || c >= 0x80;
        }
        ASSERT_TRUE(nonAscii) << "the drawing should hold texts beyond ASCII";
        auto after = UpgradeAndReread(*db);
        ASSERT_TRUE(after);
        EXPECT_TRUE(after->Codec().IsUtf8());
        EXPECT_EQ(after->HeaderText("$DWGCODEPAGE"), codePage.empty() ? "ANSI_1252" : codePage);
        for (const auto& [handle, text] : texts) {
            cad::Object o = after->ObjectByHandle(handle);
            std::vector<std::string> now = textsOf(o), before = text;
            // R12 objects gain subclass markers, which are texts too.
            if (release < 1012) {
                now.erase(std::remove_if(now.begin(), now.end(), [](const std::string& t) { return t.rfind("AcDb", 0) == 0; }),
                          now.end());
                before.erase(std::remove_if(before.begin(), before.end(), [](const std::string& t) { return t.empty(); }),
                             before.end());
                now.erase(std::remove_if(now.begin(), now.end(), [](const std::string& t) { return t.empty(); }), now.end());
                std::sort(now.begin(), now.end());
                std::sort(before.begin(), before.end());
            }
            if (o.Type() == "BLOCK" && o.GetText(2).front() == '*') continue;  // $MODEL_SPACE renamed
            EXPECT_EQ(now, before) << o.Type() << " " << cad::HandleText(handle);
        }
        const std::string bytes = db->Write();
        EXPECT_TRUE(base::IsValidUtf8(bytes));
    }
}

// An R2000 drawing in `codePage` with one text as the file holds it.
std::string R2000Text(const std::string& codePage, const std::string& raw) {
    return Dxf({{0, "SECTION"}, {2, "HEADER"}, {9, "$ACADVER"}, {1, "AC1015"}, {9, "$DWGCODEPAGE"}, {3, codePage},
                {9, "$HANDSEED"}, {5, "30"}, {0, "ENDSEC"},
                {0, "SECTION"}, {2, "ENTITIES"},
                {0, "TEXT"}, {5, "20"}, {100, "AcDbEntity"}, {8, "0"}, {100, "AcDbText"}, {10, "0.0"}, {20, "0.0"},
                {30, "0.0"}, {40, "1.0"}, {1, raw}, {100, "AcDbText"},
                {0, "ENDSEC"}, {0, "EOF"}});
}

TEST(Upgrade, ChineseJapaneseAndCyrillicCodePagesBecomeUtf8) {
    struct Case {
        const char* codePage;
        std::string raw;   // as the file holds it
        std::string utf8;  // what it reads as
    };
    const Case cases[] = {
        {"ANSI_936", "\xD6\xD0\xCE\xC4 \\U+56FE", "\u4E2D\u6587 \u56FE"},
        {"dos932", "\x93\xFA\x96\x7B", "\u65E5\u672C"},
        {"ANSI_1251", "\xCF\xF0\xE8\xE2\xE5\xF2", "\u041F\u0440\u0438\u0432\u0435\u0442"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.codePage);
        auto db = Read(R2000Text(c.codePage, c.raw));
        ASSERT_TRUE(db);
        ASSERT_EQ(db->ObjectByHandle(0x20).GetText(1), c.utf8);
        auto after = UpgradeAndReread(*db);
        ASSERT_TRUE(after);
        EXPECT_EQ(after->ObjectByHandle(0x20).GetText(1), c.utf8);
        EXPECT_EQ(after->HeaderText("$DWGCODEPAGE"), c.codePage);
        EXPECT_NE(db->Write().find("\n" + c.utf8 + "\n"), std::string::npos);
    }
}

TEST(Upgrade, CyrillicEscapesBecomeUtf8Characters) {
    auto db = OpenCorpus("cyrillic-uescape-ac1015.dxf");
    ASSERT_TRUE(db);
    ASSERT_TRUE(db->UpgradeTo(1032));
    const std::string bytes = db->Write();
    EXPECT_EQ(bytes.find("\\U+04"), std::string::npos);
    // Cyrillic letters in UTF-8 lead with 0xD0 or 0xD1.
    EXPECT_NE(bytes.find('\xD0'), std::string::npos);
}

TEST(Upgrade, R12WithoutHandlesGetsHandlesAndASeedAboveThem) {
    auto db = Read(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    auto after = UpgradeAndReread(*db);
    ASSERT_TRUE(after);
    cad::Handle highest = 0;
    for (const cad::Object& o : after->Objects()) {
        const std::string type = o.Type();
        if (type == "SECTION" || type == "ENDSEC" || type == "ENDTAB" || type == "EOF" || type == "CLASS") continue;
        const int code = type == "DIMSTYLE" ? 105 : 5;
        EXPECT_TRUE(o.Has(code)) << type << " has no handle in the file";
        highest = std::max(highest, o.GetHandle());
    }
    EXPECT_GT(cad::ParseHandle(after->HeaderText("$HANDSEED")), highest);
    EXPECT_TRUE(after->Header("$HANDLING").empty());
    EXPECT_EQ(after->HeaderText("$DWGCODEPAGE"), "ANSI_1252");
}

TEST(Upgrade, R12ObjectsGetOwnersAndSubclassMarkers) {
    auto db = Read(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    auto after = UpgradeAndReread(*db);
    ASSERT_TRUE(after);
    cad::BlockRecord model = after->ModelSpace();
    ASSERT_TRUE(model);
    EXPECT_EQ(model.Name(), "*Model_Space");
    EXPECT_EQ(model.LayoutName(), "Model");
    EXPECT_TRUE(after->PaperSpace());
    EXPECT_EQ(after->PaperSpace().Name(), "*Paper_Space");
    cad::BlockRecord door = after->FindBlock("Door");
    ASSERT_TRUE(door);
    ASSERT_TRUE(door.Record());
    EXPECT_EQ(door.BlockBegin().OwnerHandle(), door.GetHandle());

    std::map<std::string, cad::Object> byType;
    for (const cad::Object& o : after->Objects()) byType.emplace(o.Type(), o);
    auto markers = [&](const char* type) { return byType.at(type).Subclasses(); };
    using V = std::vector<std::string>;
    EXPECT_EQ(markers("LINE"), (V{"AcDbEntity", "AcDbLine"}));
    EXPECT_EQ(markers("INSERT"), (V{"AcDbEntity", "AcDbBlockReference"}));
    EXPECT_EQ(markers("ATTRIB"), (V{"AcDbEntity", "AcDbText", "AcDbAttribute"}));
    EXPECT_EQ(markers("ATTDEF"), (V{"AcDbEntity", "AcDbText", "AcDbAttributeDefinition"}));
    EXPECT_EQ(markers("SEQEND"), (V{"AcDbEntity"}));
    EXPECT_EQ(markers("BLOCK"), (V{"AcDbEntity", "AcDbBlockBegin"}));
    EXPECT_EQ(markers("ENDBLK"), (V{"AcDbEntity", "AcDbBlockEnd"}));
    EXPECT_EQ(markers("LAYER"), (V{"AcDbSymbolTableRecord", "AcDbLayerTableRecord"}));
    EXPECT_EQ(markers("BLOCK_RECORD"), (V{"AcDbSymbolTableRecord", "AcDbBlockTableRecord"}));
    EXPECT_EQ(markers("TABLE"), (V{"AcDbSymbolTable"}));

    const cad::Object& insert = byType.at("INSERT");
    EXPECT_EQ(insert.OwnerHandle(), model.GetHandle());
    EXPECT_EQ(byType.at("ATTRIB").OwnerHandle(), insert.GetHandle());
    EXPECT_EQ(byType.at("SEQEND").OwnerHandle(), insert.GetHandle());
    EXPECT_EQ(byType.at("ATTRIB").GetText(1), "D-101");
    // A layer points at its table, the table at nothing.
    const cad::Object& layer = byType.at("LAYER");
    EXPECT_EQ(after->ObjectByHandle(layer.OwnerHandle()).Type(), "TABLE");
    EXPECT_TRUE(after->FindLayer("Walls"));
    EXPECT_EQ(after->FindLayer("Walls").GetInt(70), 5);
    EXPECT_EQ(after->FindLayer("Walls").GetInt(62), -3);

    cad::Dictionary root = after->NamedObjects();
    ASSERT_TRUE(root);
    for (const char* entry : {"ACAD_GROUP", "ACAD_LAYOUT", "ACAD_MLINESTYLE", "ACAD_PLOTSETTINGS", "ACAD_PLOTSTYLENAME"})
        EXPECT_TRUE(root.Get(entry)) << entry;
    for (const char* ltype : {"ByBlock", "ByLayer", "Continuous"}) EXPECT_TRUE(after->FindRecord("LTYPE", ltype)) << ltype;
    EXPECT_TRUE(after->FindRecord("STYLE", "Standard"));
    EXPECT_TRUE(after->FindRecord("DIMSTYLE", "Standard"));
    EXPECT_TRUE(after->FindRecord("VPORT", "*Active").IsNull());  // nothing the drawing did not have
}

TEST(Upgrade, NumbersKeepTheTextTheFileWroteThem) {
    std::string dxf = cadtest::R12Drawing();
    const std::string line = "11\n5.0\n21\n5.0\n";
    ASSERT_NE(dxf.find(line), std::string::npos);
    dxf.replace(dxf.find(line), line.size(), "11\n5.000000\n21\n  5.0\n");
    auto db = Read(dxf);
    ASSERT_TRUE(db);
    ASSERT_TRUE(db->UpgradeTo(1032));
    EXPECT_NE(db->Write().find("\n5.000000\n"), std::string::npos);
}

TEST(Upgrade, KeepsLineEndsAndBinaryForm) {
    auto crlf = Read(cadtest::R12Drawing("\r\n"));
    ASSERT_TRUE(crlf);
    ASSERT_TRUE(crlf->UpgradeTo(1032));
    const std::string bytes = crlf->Write();
    EXPECT_NE(bytes.find("AC1032\r\n"), std::string::npos);
    EXPECT_EQ(bytes.find("\n\n"), std::string::npos);

    for (const char* name : {"binary-r12.dxf", "acadsharp-sample-ac1009-binary.dxf", "binary-r2000.dxf"}) {
        SCOPED_TRACE(name);
        auto db = OpenCorpus(name);
        ASSERT_TRUE(db);
        auto after = UpgradeAndReread(*db);
        ASSERT_TRUE(after);
        EXPECT_EQ(after->Form(), cad::DxfForm::Binary);
        EXPECT_EQ(after->Version(), "AC1032");
    }
}

TEST(Upgrade, ElevationOfOldEntitiesBecomesTheirZ) {
    auto db = Read(Dxf({{0, "SECTION"}, {2, "ENTITIES"}, {0, "LINE"}, {8, "0"}, {38, "2.5"}, {10, "1.0"}, {20, "1.0"},
                        {11, "3.0"}, {21, "4.0"}, {0, "ENDSEC"}, {0, "EOF"}}));
    ASSERT_TRUE(db);
    auto after = UpgradeAndReread(*db);
    ASSERT_TRUE(after);
    for (const cad::Object& o : after->Objects()) {
        if (o.Type() != "LINE") continue;
        EXPECT_EQ(o.GetText(30), "2.5");
        EXPECT_EQ(o.GetText(31), "2.5");
        EXPECT_FALSE(o.Has(38));
    }
}

TEST(Upgrade, EntityWithoutANewerFormFailsNamingItAndItsLine) {
    const std::string dxf = Dxf({{0, "SECTION"}, {2, "ENTITIES"}, {0, "LINE"}, {8, "0"}, {10, "0.0"}, {20, "0.0"},
                                 {11, "1.0"}, {21, "1.0"}, {0, "OLDTHING"}, {8, "0"}, {10, "0.0"},
                                 {0, "ENDSEC"}, {0, "EOF"}});
    auto db = Read(dxf, "old.dxf");
    ASSERT_TRUE(db);
    base::Status status = db->UpgradeTo(1032);
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("OLDTHING"), std::string::npos) << status.Message();
    EXPECT_NE(status.Message().find("old.dxf: line 17"), std::string::npos) << status.Message();
    // The drawing is as it was.
    EXPECT_EQ(db->Release(), 1009);
    EXPECT_EQ(db->Write(), dxf);
}

TEST(Upgrade, PolyfaceMeshVerticesAndFacesGetTheirOwnSubclasses) {
    auto db = Read(Dxf({{0, "SECTION"}, {2, "ENTITIES"}, {0, "POLYLINE"}, {8, "0"}, {66, "1"}, {70, "64"},
                        {71, "3"}, {72, "1"},
                        {0, "VERTEX"}, {8, "0"}, {10, "0.0"}, {20, "0.0"}, {30, "0.0"}, {70, "192"},
                        {0, "VERTEX"}, {8, "0"}, {10, "1.0"}, {20, "0.0"}, {30, "0.0"}, {70, "192"},
                        {0, "VERTEX"}, {8, "0"}, {10, "0.0"}, {20, "1.0"}, {30, "0.0"}, {70, "192"},
                        {0, "VERTEX"}, {8, "0"}, {10, "0.0"}, {20, "0.0"}, {30, "0.0"}, {70, "128"},
                        {71, "1"}, {72, "2"}, {73, "3"},
                        {0, "SEQEND"}, {8, "0"}, {0, "ENDSEC"}, {0, "EOF"}}));
    ASSERT_TRUE(db);
    auto after = UpgradeAndReread(*db);
    ASSERT_TRUE(after);
    std::vector<std::string> last;
    for (const cad::Object& o : after->Objects()) {
        std::vector<std::string> markers = o.Subclasses();
        if (o.Type() == "POLYLINE") {
            EXPECT_EQ(markers.back(), "AcDbPolyFaceMesh");
        }
        if (o.Type() == "VERTEX") last.push_back(markers.back());
    }
    EXPECT_EQ(last, (std::vector<std::string>{"AcDbPolyFaceMeshVertex", "AcDbPolyFaceMeshVertex",
                                              "AcDbPolyFaceMeshVertex", "AcDbFaceRecord"}));
}

TEST(Upgrade, DimensionsGetTheSubclassOfTheirKind) {
    auto db = OpenCorpus("entities-attribs-ac1009.dxf");
    ASSERT_TRUE(db);
    auto after = UpgradeAndReread(*db);
    ASSERT_TRUE(after);
    bool seen = false;
    for (const cad::Object& o : after->Objects()) {
        if (o.Type() != "DIMENSION") continue;
        seen = true;
        // An aligned dimension (type 1), as R12 wrote it.
        EXPECT_EQ(o.GetInt(70) & 7, 1);
        EXPECT_EQ(o.Subclasses(), (std::vector<std::string>{"AcDbEntity", "AcDbDimension", "AcDbAlignedDimension"}));
        EXPECT_TRUE(o.Has(13));
        EXPECT_TRUE(after->FindBlock(o.GetText(2)));
    }
    EXPECT_TRUE(seen);
}

TEST(Upgrade, R12ViewportTakesItsViewFromItsExtendedData) {
    auto db = OpenCorpus("acadsharp-sample-ac1009.dxf");
    ASSERT_TRUE(db);
    auto after = UpgradeAndReread(*db);
    ASSERT_TRUE(after);
    cad::Object viewport = after->ObjectByHandle(0x26B);
    ASSERT_TRUE(viewport);
    EXPECT_EQ(viewport.Type(), "VIEWPORT");
    EXPECT_EQ(viewport.OwnerHandle(), after->PaperSpace().GetHandle());
    EXPECT_DOUBLE_EQ(viewport.GetReal(45), 9.1088709677419342);  // view height
    EXPECT_DOUBLE_EQ(viewport.GetReal(12), 6.0);                 // view centre
    EXPECT_DOUBLE_EQ(viewport.GetReal(22), 4.5);
    EXPECT_DOUBLE_EQ(viewport.GetReal(36), 1.0);                 // view direction
    EXPECT_EQ(viewport.GetInt(69), 2);
    EXPECT_FALSE(viewport.Xdata("ACAD").empty());
}

TEST(Upgrade, R12SpacesNamedWithDollarsBecomeTheNewerSpaces) {
    auto db = OpenCorpus("acadsharp-sample-ac1009.dxf");
    ASSERT_TRUE(db);
    ASSERT_TRUE(db->FindBlock("$MODEL_SPACE"));
    auto after = UpgradeAndReread(*db);
    ASSERT_TRUE(after);
    EXPECT_FALSE(after->FindBlock("$MODEL_SPACE"));
    EXPECT_FALSE(after->FindBlock("$PAPER_SPACE"));
    EXPECT_EQ(after->ModelSpace().Name(), "*Model_Space");
    EXPECT_EQ(after->PaperSpace().Name(), "*Paper_Space");
    EXPECT_EQ(after->PaperSpace().LayoutName(), "Layout1");
}

TEST(Upgrade, HeaderlessDrawingGetsAHeader) {
    for (const char* name : {"gdal-attrib-no-header.dxf", "blocks-entities-only-no-header.dxf", "mleader-no-header.dxf"}) {
        SCOPED_TRACE(name);
        auto db = OpenCorpus(name);
        ASSERT_TRUE(db);
        auto after = UpgradeAndReread(*db);
        ASSERT_TRUE(after);
        EXPECT_EQ(after->HeaderText("$ACADVER"), "AC1032");
        EXPECT_GT(cad::ParseHandle(after->HeaderText("$HANDSEED")), 0u);
        for (const cad::Object& o : after->Objects()) {
            if (o.Type() == "ATTRIB") {
                EXPECT_EQ(after->ObjectByHandle(o.OwnerHandle()).Type(), "INSERT");
            }
        }
    }
}

TEST(Upgrade, UpgradedDrawingCanBeEditedAndSavedAgain) {
    auto db = Read(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    ASSERT_TRUE(db->UpgradeTo(1032));
    EXPECT_TRUE(db->IsModified());
    EXPECT_EQ(db->Release(), 1032);
    auto layer = db->AddLayer("Added");
    ASSERT_TRUE(layer);
    EXPECT_EQ(layer->Subclasses(), (std::vector<std::string>{"AcDbSymbolTableRecord", "AcDbLayerTableRecord"}));
    auto after = Read(db->Write());
    ASSERT_TRUE(after);
    EXPECT_TRUE(after->FindLayer("Added"));
    EXPECT_GT(after->HandleSeed(), layer->GetHandle());
}

}  // namespace

namespace {

TEST(Upgrade, MalformedDrawingsThatLoadUpgradeOrSayWhy) {
    std::size_t tried = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VELMAR_CORPUS "/dxf")) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("bad-", 0) != 0) continue;
        SCOPED_TRACE(name);
        auto db = Database::Open(entry.path().string());
        if (!db || (*db)->Release() >= Database::kNewestRelease) continue;
        ++tried;
        const std::string before = (*db)->Write();
        base::Status status = (*db)->UpgradeTo(Database::kNewestRelease);
        if (!status) {
            EXPECT_FALSE(status.Message().empty());
            EXPECT_EQ((*db)->Write(), before);
            continue;
        }
        auto again = Database::FromBytes((*db)->Write(), name);
        ASSERT_TRUE(again) << again.GetStatus().Message();
        EXPECT_EQ((*again)->Version(), "AC1032");
    }
    EXPECT_GE(tried, 3u);
}

}  // namespace
