#include "host/SettingsFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "TempFolder.h"
#include "base/Path.h"
#include "host/Printer.h"

namespace {

std::string Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

TEST(SettingsData, SerializeAndParseGiveBackTheSameData) {
    host::SettingsData data;
    data.Set("Velmar", "CalOuterPolygon", host::SettingValue::Integer(1));
    data.Set("Velmar", "FilterBlocks", host::SettingValue::Text("A*,\"B\" \\ C\nD"));
    data.Set("Velmar\\DrawingList", "C:\\work\\a.dwg", host::SettingValue::Text(""));
    data.Set("Velmar", "Template", host::SettingValue::Binary(std::string("\x00\xff\x10", 3)));
    data.AddSection("Velmar\\Empty");
    auto parsed = host::SettingsData::Parse(data.Serialize());
    ASSERT_TRUE(parsed) << parsed.GetStatus().Message();
    EXPECT_EQ(parsed->Serialize(), data.Serialize());
    EXPECT_EQ(*parsed->Find("velmar", "filterblocks"), host::SettingValue::Text("A*,\"B\" \\ C\nD"));
    EXPECT_EQ(parsed->Find("Velmar", "Template")->data, std::string("\x00\xff\x10", 3));
    EXPECT_NE(parsed->FindSection("VELMAR\\EMPTY"), nullptr);
}

TEST(SettingsData, ReadsTheRegSyntaxAsWrittenByHand) {
    auto parsed = host::SettingsData::Parse(
        "; comment\r\n[Velmar]\r\n\"ExportStartRow\"=dword:a\r\n\"StartColumn\"=\"B\"\r\n");
    ASSERT_TRUE(parsed) << parsed.GetStatus().Message();
    EXPECT_EQ(parsed->Find("Velmar", "ExportStartRow")->integer, 10u);
    EXPECT_EQ(parsed->Find("Velmar", "StartColumn")->data, "B");
}

TEST(SettingsData, DamageIsReportedWithItsLine) {
    auto parsed = host::SettingsData::Parse("[Velmar]\n\"A\"=dword:1\nrubbish\n");
    ASSERT_FALSE(parsed);
    EXPECT_NE(parsed.GetStatus().Message().find("line 3"), std::string::npos);
    EXPECT_FALSE(host::SettingsData::Parse("\"A\"=dword:1\n"));
    EXPECT_FALSE(host::SettingsData::Parse("[Velmar]\n\"A\"=dword:123456789\n"));
    EXPECT_FALSE(host::SettingsData::Parse("[Velmar]\n\"A\"=hex:1\n"));
    EXPECT_FALSE(host::SettingsData::Parse("[Velmar]\n\"A\"=\"open\n"));
    EXPECT_FALSE(host::SettingsData::Parse("[Velmar]\n\"A\"=\"\xff\"\n"));
}

TEST(SettingsData, AnyBytesParseOrFailWithoutHarm) {
    const std::string valid =
        "[Velmar]\n\"A\"=dword:00000001\n\"B\"=\"t\\\\x\"\n\"C\"=hex:01,02\n[Velmar\\Sub]\n";
    ASSERT_TRUE(host::SettingsData::Parse(valid));
    unsigned seed = 12345;
    auto next = [&seed] { return seed = seed * 1103515245u + 12345u; };
    for (int round = 0; round < 3000; ++round) {
        std::string text = valid;
        for (int edits = 1 + next() % 4; edits > 0; --edits) {
            std::size_t at = next() % (text.size() + 1);
            switch (next() % 3) {
            case 0: text.insert(at, 1, static_cast<char>(next() >> 8)); break;
            case 1: if (at < text.size()) text.erase(at, 1); break;
            default: if (at < text.size()) text[at] = static_cast<char>(next() >> 8); break;
            }
        }
        auto parsed = host::SettingsData::Parse(text);
        if (parsed) {
            // Whatever parses writes out as something that parses to the same.
            auto again = host::SettingsData::Parse(parsed->Serialize());
            ASSERT_TRUE(again);
            EXPECT_EQ(again->Serialize(), parsed->Serialize());
        } else {
            EXPECT_FALSE(parsed.GetStatus().Message().empty());
        }
    }
}

TEST(SettingsData, NamesCompareWithoutCaseBeyondAscii) {
    host::SettingsData data;
    data.Set("Velmar\\Größe", "Ärger", host::SettingValue::Integer(1));
    EXPECT_NE(data.Find("VELMAR\\GRÖẞE", "ärger"), nullptr);
    EXPECT_NE(data.Find("velmar\\größe", "ÄRGER"), nullptr);
}

TEST(SettingsData, DeleteSectionTakesItsSubsectionsAlong) {
    host::SettingsData data;
    data.Set("Velmar", "A", host::SettingValue::Integer(1));
    data.Set("Velmar\\DrawingList", "x", host::SettingValue::Text(""));
    data.Set("Velmar\\DrawingList\\Deep", "y", host::SettingValue::Text(""));
    data.Set("Velmar2", "B", host::SettingValue::Integer(2));
    EXPECT_TRUE(data.DeleteSection("velmar\\drawinglist"));
    EXPECT_EQ(data.FindSection("Velmar\\DrawingList\\Deep"), nullptr);
    EXPECT_NE(data.FindSection("Velmar"), nullptr);
    EXPECT_NE(data.FindSection("Velmar2"), nullptr);
    EXPECT_FALSE(data.DeleteSection("Velmar\\DrawingList"));
}

TEST(SettingsData, SubsectionsAreDirectChildrenSortedWithoutCase) {
    host::SettingsData data;
    data.AddSection("Velmar\\b");
    data.AddSection("Velmar\\A\\deep");
    data.AddSection("Velmar\\C");
    data.AddSection("Velmarx");
    EXPECT_EQ(data.Subsections("Velmar"), (std::vector<std::string>{"A", "b", "C"}));
}

TEST(SettingsData, ExistingValueKeepsItsPlace) {
    host::SettingsData data;
    data.Set("S", "first", host::SettingValue::Integer(1));
    data.Set("S", "second", host::SettingValue::Integer(2));
    data.Set("S", "FIRST", host::SettingValue::Integer(3));
    ASSERT_EQ(data.FindSection("S")->values.size(), 2u);
    EXPECT_EQ(data.FindSection("S")->values[0].second.integer, 3u);
}

TEST(SettingValue, RegistryBytesAreThoseOfTheRegistry) {
    EXPECT_EQ(host::SettingValue::Integer(0x01020304).RegistryBytes(), "\x04\x03\x02\x01");
    EXPECT_EQ(host::SettingValue::Text("A").RegistryBytes(), std::string("A\0\0\0", 4));
    EXPECT_EQ(host::SettingValue::Text("\xF0\x9F\x98\x80").RegistryBytes(),
              std::string("\x3D\xD8\x00\xDE\0\0", 6));
}

TEST(SettingsFile, MissingFileReadsEmptyAndUpdateMakesItsFolder) {
    TempFolder folder;
    host::SettingsFile file(folder.File("sub/dir/settings.ini"));
    EXPECT_TRUE(file.Read().Sections().empty());
    ASSERT_TRUE(file.Update([](host::SettingsData& data) {
        data.Set("Velmar", "A", host::SettingValue::Integer(7));
        return true;
    }));
    EXPECT_EQ(file.Read().Find("Velmar", "A")->integer, 7u);
}

TEST(SettingsFile, ChangesMadeByAnotherWriterAreSeen) {
    TempFolder folder;
    std::string path = folder.File("settings.ini");
    host::SettingsFile file(path);
    ASSERT_TRUE(file.Update([](host::SettingsData& data) {
        data.Set("Velmar", "A", host::SettingValue::Integer(1));
        return true;
    }));
    EXPECT_EQ(file.Read().Find("Velmar", "A")->integer, 1u);
    std::ofstream(path) << "[Velmar]\n\"A\"=dword:00000002\n\"Longer\"=\"so the size differs\"\n";
    EXPECT_EQ(file.Read().Find("Velmar", "A")->integer, 2u);
}

TEST(SettingsFile, DamagedFileIsKeptAsideReportedOnceAndReadAsEmpty) {
    TempFolder folder;
    std::string path = folder.File("settings.ini");
    const std::string damaged = "[Velmar]\n\"A\"=dword:1\n\x01\x02 garbage\n";
    std::ofstream(path, std::ios::binary) << damaged;
    host::Printer& printer = host::CurrentPrinter();
    printer.Capture(true);
    host::SettingsFile file(path);
    EXPECT_TRUE(file.Read().Sections().empty());
    EXPECT_FALSE(base::FileExists(path));
    EXPECT_EQ(Slurp(path + ".damaged"), damaged);
    std::string warnings = printer.CapturedWarnings();
    EXPECT_NE(warnings.find("damaged"), std::string::npos);
    EXPECT_NE(warnings.find(path + ".damaged"), std::string::npos);

    // A second damage of the same file keeps the first one and says nothing more.
    std::ofstream(path, std::ios::binary) << damaged;
    ASSERT_TRUE(file.Update([](host::SettingsData& data) {
        data.Set("Velmar", "B", host::SettingValue::Integer(2));
        return true;
    }));
    EXPECT_EQ(Slurp(path + ".damaged"), damaged);
    EXPECT_EQ(Slurp(path + ".damaged.2"), damaged);
    EXPECT_EQ(printer.CapturedWarnings(), warnings);
    EXPECT_EQ(file.Read().Find("Velmar", "A"), nullptr);
    EXPECT_EQ(file.Read().Find("Velmar", "B")->integer, 2u);
    printer.Capture(false);
}

TEST(SettingsFile, UpdateThatChangesNothingWritesNothing) {
    TempFolder folder;
    host::SettingsFile file(folder.File("settings.ini"));
    ASSERT_TRUE(file.Update([](host::SettingsData&) { return false; }));
    EXPECT_FALSE(base::FileExists(folder.File("settings.ini")));
}

}  // namespace
