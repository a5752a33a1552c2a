#include "attbat/frame/CRegistry.h"

#include <sys/wait.h>
#include <unistd.h>

#include <set>

#include "FrameFixture.h"
#include "base/Path.h"
#include "host/SettingsFile.h"

namespace {

using attbat::CRegistry;

class CRegistryTest : public FrameTest {};

TEST_F(CRegistryTest, NothingWorksBeforeSetRoot) {
    CRegistry::SetRoot(CRegistry::Root::CurrentUser, "");
    EXPECT_FALSE(CRegistry::SetInt("Velmar", "A", 5));
    EXPECT_EQ(CRegistry::GetInt("Velmar", "A", 9), 9);
    EXPECT_EQ(CRegistry::GetString("Velmar", "B", "def"), "def");
    EXPECT_FALSE(CRegistry::ParentExists());
    EXPECT_FALSE(base::FileExists(File("settings.ini")));
    CRegistry::SetRoot(CRegistry::Root::CurrentUser, "Orvane");
    EXPECT_TRUE(CRegistry::SetInt("Velmar", "A", 5));
    EXPECT_EQ(CRegistry::GetInt("Velmar", "A", 9), 5);
    EXPECT_TRUE(CRegistry::ParentExists());
}

TEST_F(CRegistryTest, StoringAValueAsTheRunReadItKeepsWhatAnotherRunWroteMeanwhile) {
    ASSERT_TRUE(CRegistry::SetInt("Velmar", "AutoUploadToActiveWorkbook", 0));
    CRegistry::StartRun();
    // This run reads both check boxes, as the Options dialog does when it opens...
    int autoUpload = CRegistry::GetInt("Velmar", "AutoUploadToActiveWorkbook", 0);
    int polygon = CRegistry::GetInt("Velmar", "CalOuterPolygon", 0);
    // ...another run turns one on...
    host::SettingsFile other(File("settings.ini"));
    other.Set("Velmar", "AutoUploadToActiveWorkbook", host::SettingValue::Integer(1));
    ASSERT_TRUE(other.Save());
    // ...and this run's OK stores every box, one of them changed.
    EXPECT_TRUE(CRegistry::SetInt("Velmar", "AutoUploadToActiveWorkbook", autoUpload));
    EXPECT_TRUE(CRegistry::SetInt("Velmar", "CalOuterPolygon", polygon + 1));
    CRegistry::StartRun();
    EXPECT_EQ(CRegistry::GetInt("Velmar", "AutoUploadToActiveWorkbook", -1), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "CalOuterPolygon", -1), 1);
}

TEST_F(CRegistryTest, ReadsGiveTheDefaultWhenTheValueIsMissing) {
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ClearCacheInterval", 5), 5);
    EXPECT_EQ(CRegistry::GetString("Velmar", "StartColumn", "A"), "A");
    EXPECT_EQ(CRegistry::GetBinary("Velmar", "Template"), std::nullopt);
}

TEST_F(CRegistryTest, ValuesKeepTheirTypes) {
    ASSERT_TRUE(CRegistry::SetInt("Velmar", "ExportStartRow", -2));
    ASSERT_TRUE(CRegistry::SetString("Velmar", "ExportStartCol", "AB"));
    ASSERT_TRUE(CRegistry::SetBinary("Velmar", "Blob", std::string("\x00\x01\x02\x03\x04", 5)));
    EXPECT_EQ(CRegistry::GetInt("velmar", "exportstartrow", 0), -2);
    EXPECT_EQ(CRegistry::GetString("Velmar", "ExportStartCol", ""), "AB");
    EXPECT_EQ(CRegistry::GetBinary("Velmar", "Blob"), std::string("\x00\x01\x02\x03\x04", 5));
}

TEST_F(CRegistryTest, GetIntOfAValueOfTheWrongTypeTakesTheDataWhenTheReadSucceeds) {
    // A one-character text is 4 bytes with its terminator: it fits and reads as its code.
    CRegistry::SetString("Velmar", "OneChar", "5");
    EXPECT_EQ(CRegistry::GetInt("Velmar", "OneChar", -1), 0x35);
    CRegistry::SetString("Velmar", "Empty", "");
    EXPECT_EQ(CRegistry::GetInt("Velmar", "Empty", -1), 0);
    CRegistry::SetBinary("Velmar", "TwoBytes", "\x01\x02");
    EXPECT_EQ(CRegistry::GetInt("Velmar", "TwoBytes", -1), 0x0201);
    // Longer data fails the read: the default.
    CRegistry::SetString("Velmar", "Long", "12");
    EXPECT_EQ(CRegistry::GetInt("Velmar", "Long", -1), -1);
}

TEST_F(CRegistryTest, GetStringOfAnIntegerReadsItsBytesAsText) {
    CRegistry::SetInt("Velmar", "Number", 0x41);
    EXPECT_EQ(CRegistry::GetString("Velmar", "Number", "def"), "A");
}

TEST_F(CRegistryTest, SetStringWithAnEmptyTextWritesAnEmptyValueUnlikeANullText) {
    ASSERT_TRUE(CRegistry::SetString("Velmar", "BlockLibraryDwgPath", "/lib/blocks.dxf"));
    ASSERT_TRUE(CRegistry::SetString("Velmar", "BlockLibraryDwgPath", ""));
    EXPECT_EQ(CRegistry::GetString("Velmar", "BlockLibraryDwgPath", "default"), "");
    ASSERT_TRUE(CRegistry::SetString("Velmar", "BlockLibraryDwgPath", std::nullopt));
    EXPECT_EQ(CRegistry::GetString("Velmar", "BlockLibraryDwgPath", "default"), "default");
}

TEST_F(CRegistryTest, SetStringWithoutANameDeletesTheWholeSection) {
    CRegistry::SetString("Velmar\\Col2TagMap", "A", "TAG1");
    CRegistry::SetString("Velmar\\Col2TagMap", "B", "TAG2");
    CRegistry::SetInt("Velmar", "Kept", 1);
    ASSERT_TRUE(CRegistry::SetString("Velmar\\Col2TagMap", std::nullopt, std::nullopt));
    EXPECT_EQ(CRegistry::GetString("Velmar\\Col2TagMap", "A", "gone"), "gone");
    EXPECT_EQ(CRegistry::GetInt("Velmar", "Kept", 0), 1);
}

TEST_F(CRegistryTest, ADrawingListEntryStoredAsANameWithAnEmptyTextReadsBackAsThatName) {
    CRegistry::SetString("Velmar\\DrawingList", "/work/a.dxf", "");
    CRegistry::SetString("Velmar\\DrawingList", "entry2", "/work/b.dxf");
    EXPECT_EQ(CRegistry::GetList("DrawingList"),
              (std::vector<std::string>{"/work/a.dxf", "/work/b.dxf"}));
}

TEST_F(CRegistryTest, SavingAListRewritesTheSubsection) {
    CRegistry::SetList("DrawingList", {"C:\\old.dwg", "/x/y.dxf"});
    CRegistry::SetList("DrawingList", {"/a.dxf"});
    EXPECT_EQ(CRegistry::GetList("DrawingList"), (std::vector<std::string>{"/a.dxf"}));
}

TEST_F(CRegistryTest, MapsRoundTripUpToTheShorterArray) {
    CRegistry::SetMap("InsBlockCol2TagMap", {"A", "B", "C"}, {"TAG1", "TAG2"});
    std::vector<std::string> keys, values;
    CRegistry::GetMap("InsBlockCol2TagMap", keys, values);
    EXPECT_EQ(keys, (std::vector<std::string>{"A", "B"}));
    EXPECT_EQ(values, (std::vector<std::string>{"TAG1", "TAG2"}));
}

TEST_F(CRegistryTest, EnumerateListsTextValuesOnlyOrSubkeys) {
    CRegistry::SetString("Velmar\\Col2TagMap", "A", "TAG1");
    CRegistry::SetInt("Velmar\\Col2TagMap", "Number", 3);
    CRegistry::SetString("Velmar\\DrawingList", "x", "");
    std::vector<std::string> names, values;
    CRegistry::Enumerate(CRegistry::Root::CurrentUser, "Software\\Orvane\\Velmar\\Col2TagMap",
                         false, names, values);
    EXPECT_EQ(names, (std::vector<std::string>{"A"}));
    EXPECT_EQ(values, (std::vector<std::string>{"TAG1"}));
    names.clear();
    CRegistry::Enumerate(CRegistry::Root::CurrentUser, "SOFTWARE\\Orvane\\Velmar", true, names,
                         values);
    EXPECT_EQ(names, (std::vector<std::string>{"Col2TagMap", "DrawingList"}));
}

TEST_F(CRegistryTest, EnumerateOfAKeyThatWontOpenLeavesTheArraysAsTheyWere) {
    std::vector<std::string> names{"kept"}, values{"too"};
    CRegistry::Enumerate(CRegistry::Root::CurrentUser, "Software\\Orvane\\Velmar\\Missing", false,
                         names, values);
    CRegistry::Enumerate(CRegistry::Root::CurrentUser, "Software\\Other\\Velmar", true, names,
                         values);
    EXPECT_EQ(names, (std::vector<std::string>{"kept"}));
    EXPECT_EQ(values, (std::vector<std::string>{"too"}));
}

TEST_F(CRegistryTest, DeleteValueAndSection) {
    CRegistry::SetInt("Velmar", "A", 1);
    CRegistry::SetInt("Velmar\\Sub", "B", 2);
    EXPECT_TRUE(CRegistry::DeleteValue("Velmar", "a"));
    EXPECT_EQ(CRegistry::GetInt("Velmar", "A", 0), 0);
    EXPECT_TRUE(CRegistry::DeleteSection("Velmar\\Sub"));
    EXPECT_EQ(CRegistry::GetInt("Velmar\\Sub", "B", 0), 0);
}

TEST_F(CRegistryTest, TwoProcessesWritingAtOnceLoseNoWrite) {
    constexpr int perWriter = 40;
    pid_t children[2];
    for (int w = 0; w < 2; ++w) {
        children[w] = fork();
        ASSERT_GE(children[w], 0);
        if (children[w] == 0) {
            bool ok = true;
            for (int i = 0; i < perWriter; ++i) {
                ok = CRegistry::SetInt("Velmar", "W" + std::to_string(w) + "_" + std::to_string(i), i) && ok;
            }
            _exit(ok ? 0 : 1);
        }
    }
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    for (int w = 0; w < 2; ++w) {
        for (int i = 0; i < perWriter; ++i) {
            EXPECT_EQ(CRegistry::GetInt("Velmar", "W" + std::to_string(w) + "_" + std::to_string(i), -1), i);
        }
    }
}

TEST_F(CRegistryTest, ADamagedSettingsFileIsKeptBesideItAndReadAsEmpty) {
    const std::string damaged = "[Velmar]\n\"CalOuterPolygon\"=dword:1\n<<<conflict>>>\n";
    std::ofstream(File("settings.ini"), std::ios::binary) << damaged;
    EXPECT_EQ(CRegistry::GetInt("Velmar", "CalOuterPolygon", 0), 0);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "CalOuterPolygon", 0), 0);
    EXPECT_EQ(Slurp(File("settings.ini.damaged")), damaged);
    EXPECT_TRUE(CRegistry::SetInt("Velmar", "CalOuterPolygon", 1));
    EXPECT_EQ(CRegistry::GetInt("Velmar", "CalOuterPolygon", 0), 1);
    EXPECT_EQ(Slurp(File("settings.ini.damaged")), damaged);
    EXPECT_NE(Warnings().find("damaged"), std::string::npos);
}

}  // namespace
