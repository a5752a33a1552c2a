// The database as a whole: header variables, handles, saving.
#include "cad/Database.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "Fixtures.h"
#include "base/File.h"
#include "cad/units/UnitSettings.h"

namespace {

TEST(Database, ReadsAndSetsHeaderVariablesWithoutRegardToCase) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    EXPECT_EQ(db->HeaderText("$acadver"), "AC1009");
    EXPECT_EQ(db->HeaderInt("$LUNITS"), 4);
    EXPECT_EQ(db->HeaderInt("$MISSING", 42), 42);
    EXPECT_TRUE(db->SetHeader("$LUNITS", {{70, "2"}}));
    EXPECT_TRUE(db->SetHeader("$CLAYER", {{8, "Walls"}}));
    EXPECT_TRUE(db->SetHeader("$INSBASE", {{10, "1.0"}, {20, "2.0"}, {30, "0.0"}}));
    EXPECT_FALSE(db->SetHeader("", {{70, "1"}}));
    auto again = cadtest::Reload(*db);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->HeaderInt("$LUNITS"), 2);
    EXPECT_EQ(again->HeaderText("$CLAYER"), "Walls");
    EXPECT_EQ(again->Header("$INSBASE").size(), 3u);
    EXPECT_EQ(again->Header("$INSBASE")[1].Real(), 2.0);
}

TEST(Database, UnitsComeFromTheHeaderWithDefaults) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::UnitSettings units = db->Units();
    EXPECT_EQ(units.lunits, 4);
    EXPECT_EQ(units.luprec, 4);
    EXPECT_EQ(units.aunits, 0);
    db->SetHeader("$ANGBASE", {{50, "90.0"}});
    EXPECT_NEAR(db->Units().angbase, 3.14159265358979 / 2, 1e-12);
}

TEST(Database, FilesWithoutHandlesGetThemInFileOrderTheSameEveryTime) {
    auto a = cadtest::Load(cadtest::R12Drawing());
    auto b = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(a && b);
    auto ea = a->ModelSpace().Entities();
    auto eb = b->ModelSpace().Entities();
    ASSERT_EQ(ea.size(), 2u);
    EXPECT_NE(ea[0].GetHandle(), 0u);
    EXPECT_LT(ea[0].GetHandle(), ea[1].GetHandle());
    EXPECT_EQ(ea[1].GetHandle(), eb[1].GetHandle());
    EXPECT_TRUE(a->ObjectByHandle(ea[1].GetHandle()) == ea[1]);
}

TEST(Database, AChangedValueLeavesADrawingWithoutHandlesWithoutThem) {
    // Handles given on reading follow file order, which a changed value leaves as it was: the
    // next reading gives the same ones, so the file keeps its own form.
    std::string text = cadtest::R12Drawing();
    auto db = cadtest::Load(text);
    ASSERT_TRUE(db);
    cad::Handle line = db->ModelSpace().Entities()[0].GetHandle();
    db->ModelSpace().Entities()[0].SetText(8, "Doors");
    std::string expected = text;
    expected.replace(expected.find("Walls\n10"), 5, "Doors");
    EXPECT_EQ(db->Write(), expected);
    auto again = cadtest::Reload(*db);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->HeaderInt("$HANDLING"), 0);
    EXPECT_EQ(again->ModelSpace().Entities()[0].GetHandle(), line);
    EXPECT_EQ(again->ObjectByHandle(line).GetText(8), "Doors");
}

TEST(Database, AssignedHandlesAreWrittenOnceARecordIsAddedOrErased) {
    for (bool add : {true, false}) {
        SCOPED_TRACE(add ? "added" : "erased");
        std::string text = cadtest::R12Drawing();
        auto db = cadtest::Load(text);
        ASSERT_TRUE(db);
        EXPECT_EQ(db->Write(), text);
        auto entities = db->ModelSpace().Entities();
        cad::Handle insert = entities[1].GetHandle();
        if (add) ASSERT_TRUE(db->ModelSpace().AddLine({0, 0, 0}, {1, 1, 0}));
        else entities[0].Erase();
        auto again = cadtest::Reload(*db);
        ASSERT_TRUE(again);
        EXPECT_TRUE(again->Warnings().empty());
        cad::Object found = again->ObjectByHandle(insert);
        ASSERT_TRUE(found);
        EXPECT_EQ(found.Type(), "INSERT");
        EXPECT_EQ(again->HeaderInt("$HANDLING"), 1);
        EXPECT_GT(cad::ParseHandle(again->HeaderText("$HANDSEED")), insert);
    }
}

TEST(Database, RecordsOfOtherSectionsAreGivenNoHandle) {
    // AutoCAD's ACDSDATA records, classes and the preview image have no handles; a change
    // elsewhere leaves them so.
    std::string text = cadtest::Dxf({{0, "SECTION"}, {2, "HEADER"}, {9, "$ACADVER"}, {1, "AC1027"},
                                     {9, "$HANDSEED"}, {5, "30"}, {0, "ENDSEC"},
                                     {0, "SECTION"}, {2, "CLASSES"}, {0, "CLASS"}, {1, "ACDBDICTIONARYWDFLT"},
                                     {2, "AcDbDictionaryWithDefault"}, {3, "ObjectDBX Classes"}, {90, "0"},
                                     {91, "1"}, {280, "0"}, {281, "0"}, {0, "ENDSEC"},
                                     {0, "SECTION"}, {2, "ENTITIES"},
                                     {0, "LINE"}, {5, "20"}, {8, "0"}, {10, "0"}, {20, "0"}, {30, "0"},
                                     {11, "1"}, {21, "1"}, {31, "0"}, {0, "ENDSEC"},
                                     {0, "SECTION"}, {2, "THUMBNAILIMAGE"}, {90, "4"}, {310, "424D0000"},
                                     {0, "ENDSEC"},
                                     {0, "SECTION"}, {2, "ACDSDATA"}, {70, "2"}, {71, "3"},
                                     {0, "ACDSSCHEMA"}, {90, "0"}, {1, "AcDb3DSolid_ASM_Data"}, {2, "AcDbDs::ID"},
                                     {280, "10"}, {91, "8"},
                                     {0, "ACDSRECORD"}, {90, "0"}, {2, "AcDbDs::ID"}, {280, "10"}, {320, "20"},
                                     {0, "ENDSEC"}, {0, "EOF"}});
    auto db = cadtest::Load(text);
    ASSERT_TRUE(db);
    EXPECT_EQ(db->HandleSeed(), 0x30u);
    db->ObjectByHandle(0x20).SetText(8, "A");
    std::string expected = text;
    expected.replace(expected.find("0\n10\n"), 1, "A");
    EXPECT_EQ(db->Write(), expected);
    for (const cad::Object& o : db->Objects()) {
        if (o.Type() != "LINE") {
            EXPECT_EQ(o.GetHandle(), 0u) << o.Type();
        }
    }
}

TEST(Database, NewHandlesComeFromTheSeedWhichStaysAboveAll) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    cad::Handle seed = db->HandleSeed();
    auto line = db->ModelSpace().AddLine({0, 0, 0}, {1, 1, 0});
    ASSERT_TRUE(line);
    EXPECT_EQ(line->GetHandle(), seed);
    EXPECT_EQ(db->HandleSeed(), seed + 1);
    EXPECT_EQ(cad::ParseHandle(db->HeaderText("$HANDSEED")), seed + 1);
    cad::Handle highest = 0;
    for (const cad::Object& o : db->Objects()) highest = std::max(highest, o.GetHandle());
    EXPECT_GT(db->HandleSeed(), highest);
}

TEST(Database, UnchangedSaveIsByteIdentical) {
    std::string text = cadtest::R12Drawing("\r\n");
    auto db = cadtest::Load(text);
    ASSERT_TRUE(db);
    EXPECT_FALSE(db->IsModified());
    EXPECT_EQ(db->Write(), text);
}

TEST(Database, ChangedObjectsAreWrittenInTheFilesOwnStyle) {
    std::string text = cadtest::R12Drawing("\r\n");
    auto db = cadtest::Load(text);
    ASSERT_TRUE(db);
    db->ModelSpace().Entities()[0].SetReal(11, 7.5);
    std::string out = db->Write();
    EXPECT_NE(out.find("11\r\n7.5\r\n"), std::string::npos);
    EXPECT_EQ(out.find("\n11\n"), std::string::npos);
    // Unchanged values of the changed object keep their text.
    EXPECT_NE(out.find("21\r\n5.0\r\n"), std::string::npos);
}

TEST(Database, SaveKeepsABackupAndReplacesAtomically) {
    std::string folder = ::testing::TempDir() + "/cad-save";
    std::filesystem::create_directories(folder);
    std::string path = folder + "/plan.dxf";
    std::string text = cadtest::R12Drawing();
    ASSERT_TRUE(base::WriteFileAtomic(path, text));
    auto db = cad::Database::Open(path);
    ASSERT_TRUE(db);
    (*db)->SetHeader("$LUNITS", {{70, "2"}});
    ASSERT_TRUE((*db)->Save(path, folder + "/plan.bak"));
    EXPECT_EQ(*base::ReadFile(folder + "/plan.bak"), text);
    EXPECT_EQ(*base::ReadFile(path), (*db)->Write());
}

TEST(Database, CanOpenChecksTheFileWithoutReadingItAndSaysWhyAsOpenWould) {
    std::string folder = ::testing::TempDir() + "/cad-can-open";
    std::filesystem::create_directories(folder);
    std::string path = folder + "/plan.dxf";
    ASSERT_TRUE(base::WriteFileAtomic(path, "not a drawing at all"));
    // Only Open finds out what the bytes are.
    EXPECT_TRUE(cad::Database::CanOpen(path));
    EXPECT_FALSE(cad::Database::Open(path));
    base::Status missing = cad::Database::CanOpen(folder + "/gone.dxf");
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.Message(), cad::Database::Open(folder + "/gone.dxf").GetStatus().Message());
    EXPECT_NE(missing.Message().find("gone.dxf: cannot open"), std::string::npos);
    base::Status folderGiven = cad::Database::CanOpen(folder);
    ASSERT_FALSE(folderGiven);
    EXPECT_NE(folderGiven.Message().find("not a regular file"), std::string::npos);
}

TEST(Database, AFailedSaveLeavesTheTargetAndSaysWhy) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    base::Status status = db->Save("/nonexistent-folder/plan.dxf");
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("/nonexistent-folder/plan.dxf"), std::string::npos);
}

TEST(Database, HandlesOfAddedObjectsAreFoundAndErasedOnesAreNot) {
    auto db = cadtest::Corpus("acadsharp-sample-ac1032.dxf");
    ASSERT_TRUE(db);
    std::vector<std::pair<cad::Handle, std::string>> before;
    for (const cad::Object& o : db->Objects())
        if (o.GetHandle()) before.push_back({o.GetHandle(), o.Type()});
    ASSERT_FALSE(before.empty());
    // Enough new records to make the index grow several times.
    std::vector<cad::Handle> added;
    for (int i = 0; i < 3000; ++i) {
        auto layer = db->AddLayer("L" + std::to_string(i));
        ASSERT_TRUE(layer);
        added.push_back(layer->GetHandle());
    }
    for (std::size_t i = 0; i < added.size(); ++i) {
        cad::Object found = db->ObjectByHandle(added[i]);
        ASSERT_TRUE(found) << i;
        EXPECT_EQ(found.GetText(2), "L" + std::to_string(i));
    }
    for (const auto& [handle, type] : before) {
        cad::Object found = db->ObjectByHandle(handle);
        ASSERT_TRUE(found) << cad::HandleText(handle);
        EXPECT_EQ(found.Type(), type);
    }
    db->ObjectByHandle(added[10]).Erase();
    EXPECT_FALSE(db->ObjectByHandle(added[10]));
    EXPECT_TRUE(db->ObjectByHandle(added[11]));
    EXPECT_FALSE(db->ObjectByHandle(0));
    EXPECT_FALSE(db->ObjectByHandle(db->HandleSeed() + 100));
    auto again = cadtest::Reload(*db);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->ObjectByHandle(added[2999]).GetText(2), "L2999");
    EXPECT_FALSE(again->ObjectByHandle(added[10]));
}

// Saves through a file and reads the file back.
std::string SavedBytes(const cad::Database& db, const std::string& name) {
    std::string folder = ::testing::TempDir() + "/cad-stream";
    std::filesystem::create_directories(folder);
    std::string path = folder + "/" + name;
    base::Status status = db.Save(path);
    EXPECT_TRUE(status) << status.Message();
    auto bytes = base::ReadFile(path);
    return bytes ? *bytes : std::string();
}

TEST(Database, SaveWritesExactlyTheBytesOfWrite) {
    // Unchanged, changed in the middle, with handles given on reading, with bytes after EOF.
    std::string text = cadtest::R12Drawing("\r\n") + "\x1a";
    auto db = cadtest::Load(text);
    ASSERT_TRUE(db);
    EXPECT_EQ(SavedBytes(*db, "unchanged.dxf"), text);
    db->ModelSpace().Entities()[0].SetReal(11, 7.5);
    std::string written = db->Write();
    EXPECT_NE(written, text);
    EXPECT_EQ(SavedBytes(*db, "changed.dxf"), written);
    ASSERT_TRUE(db->CreateBlock("Window"));
    EXPECT_EQ(SavedBytes(*db, "added.dxf"), db->Write());
}

TEST(Database, SaveOfEveryCorpusDrawingEqualsWriteChangedOrNot) {
    for (const char* name : {"acadsharp-sample-ac1032.dxf", "acadsharp-sample-ac1009-binary.dxf",
                             "binary-r2000.dxf", "entities-attribs-ac1003-dos-eof.dxf", "bad-r12-trash-beyond-eof.dxf"}) {
        SCOPED_TRACE(name);
        auto db = cadtest::Corpus(name);
        ASSERT_TRUE(db);
        auto original = base::ReadFile(std::string(VELMAR_CORPUS) + "/dxf/" + name);
        ASSERT_TRUE(original);
        EXPECT_TRUE(SavedBytes(*db, name) == *original);
        int changed = 0;
        for (cad::Object o : db->Objects())
            if (o.Type() == "LAYER" || (o.Type() == "LINE" && ++changed % 2 == 0)) o.SetText(8, "Moved");
        EXPECT_TRUE(SavedBytes(*db, name) == db->Write());
    }
}

TEST(Database, AFailedSaveLeavesNoTemporaryFileBehind) {
    std::string folder = ::testing::TempDir() + "/cad-save-fail";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder + "/plan.dxf");  // a folder where the file should go
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    base::Status status = db->Save(folder + "/plan.dxf");
    ASSERT_FALSE(status);
    EXPECT_NE(status.Message().find("plan.dxf"), std::string::npos);
    std::size_t entries = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++entries;
    EXPECT_EQ(entries, 1u);
}

TEST(Database, ValuesSetAgainInsertedAndErasedWriteTheLastState) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::Entity line = db->ModelSpace().Entities()[0];
    line.SetText(8, "First");
    line.SetText(8, "Second");
    line.SetReal(11, 2.5);
    line.SetText(6, "DASHED");
    line.Remove(31);
    EXPECT_EQ(line.GetText(8), "Second");
    auto again = cadtest::Reload(*db);
    ASSERT_TRUE(again);
    cad::Entity back = again->ModelSpace().Entities()[0];
    EXPECT_EQ(back.GetText(8), "Second");
    EXPECT_EQ(back.GetReal(11), 2.5);
    EXPECT_EQ(back.GetText(6), "DASHED");
    EXPECT_FALSE(back.Has(31));
    EXPECT_EQ(back.GetReal(21), 5.0);
}

TEST(Database, CountsObjectsByType) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    auto counts = db->CountsByType();
    auto find = [&](const std::string& type) {
        for (auto& [t, n] : counts)
            if (t == type) return n;
        return std::size_t{0};
    };
    EXPECT_EQ(find("LINE"), 2u);
    EXPECT_EQ(find("ATTRIB"), 1u);
    EXPECT_EQ(find("SECTION"), 4u);
}

TEST(Database, ErasedObjectsAreGoneFromTheIndexAndTheFile) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::Entity line = db->ModelSpace().Entities()[0];
    cad::Handle handle = line.GetHandle();
    line.Erase();
    EXPECT_TRUE(line.IsErased());
    EXPECT_FALSE(db->ObjectByHandle(handle));
    auto again = cadtest::Reload(*db);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->ModelSpace().Entities().size(), 1u);
}

}  // namespace
