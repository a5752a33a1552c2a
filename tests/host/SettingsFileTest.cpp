#include "host/SettingsFile.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

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

std::uint32_t IntegerIn(const host::SettingsData& data, std::string_view section,
                        std::string_view name) {
    const host::SettingValue* value = data.Find(section, name);
    return value ? value->integer : 0xFFFFFFFFu;
}

ino_t InodeOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0);
    return info.st_ino;
}

TEST(SettingsFile, ConcurrentRunsLoseNoneOfEachOthersWrites) {
    // Each run stores every value it knows after each change, the others' as it read them at
    // its start, as the options dialog stores all its controls; only what it changed may land.
    TempFolder folder;
    const std::string path = folder.File("settings.ini");
    constexpr int kRuns = 4;
    constexpr int kWrites = 100;
    constexpr int kNames = 10;
    auto name = [](int run, int n) {
        return "Run" + std::to_string(run) + "Value" + std::to_string(n);
    };
    {
        host::SettingsFile start(path);
        for (int run = 0; run < kRuns; ++run)
            for (int n = 0; n < kNames; ++n)
                start.Set("Velmar", name(run, n), host::SettingValue::Integer(0));
        ASSERT_TRUE(start.Save());
    }
    int go[2];
    ASSERT_EQ(::pipe(go), 0);
    std::vector<pid_t> children;
    for (int run = 0; run < kRuns; ++run) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(go[1]);
            host::SettingsFile file(path);
            // The dialog's controls: the values as read at the start, then as this run sets them.
            host::SettingsData controls = file.Read();
            char c;
            if (::read(go[0], &c, 1) != 0)
                ::_exit(3);  // all start together when the pipe closes
            for (int k = 1; k <= kWrites; ++k) {
                controls.Set("Velmar", name(run, k % kNames), host::SettingValue::Integer(k));
                for (const auto& section : controls.Sections())
                    for (const auto& [valueName, value] : section.values)
                        file.Set(section.name, valueName, value);
                if (!file.Save())
                    ::_exit(4);
            }
            ::_exit(0);
        }
        children.push_back(child);
    }
    ::close(go[0]);
    ::close(go[1]);
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }
    const host::SettingsData data = host::SettingsFile(path).Read();
    for (int run = 0; run < kRuns; ++run) {
        for (int n = 0; n < kNames; ++n) {
            // The last k below kWrites with k % kNames == n.
            const int last = kWrites - ((kWrites - n) % kNames);
            EXPECT_EQ(IntegerIn(data, "Velmar", name(run, n)), static_cast<std::uint32_t>(last))
                << name(run, n);
        }
    }
}

TEST(SettingsFile, SaveKeepsWhatAnotherRunWroteSinceThisRunRead) {
    TempFolder folder;
    const std::string path = folder.File("settings.ini");
    std::ofstream(path) << "[Velmar]\n\"A\"=dword:00000001\n\"B\"=dword:00000001\n\"C\"=\"c\"\n";
    host::SettingsFile ours(path);
    ASSERT_EQ(IntegerIn(ours.Read(), "Velmar", "B"), 1u);
    ASSERT_TRUE(host::SettingsFile(path).Update([](host::SettingsData& data) {
        data.Set("Velmar", "B", host::SettingValue::Integer(2));
        data.Set("Velmar", "D", host::SettingValue::Text("new"));
        return true;
    }));
    ours.Set("Velmar", "A", host::SettingValue::Integer(5));
    ours.Set("Velmar", "B", host::SettingValue::Integer(1));  // as this run read it: no change
    EXPECT_TRUE(ours.DeleteValue("Velmar", "C"));
    EXPECT_FALSE(ours.DeleteValue("Velmar", "D"));  // this run never saw it
    ASSERT_TRUE(ours.Save());
    EXPECT_FALSE(ours.HasChanges());
    const host::SettingsData data = host::SettingsFile(path).Read();
    EXPECT_EQ(IntegerIn(data, "Velmar", "A"), 5u);
    EXPECT_EQ(IntegerIn(data, "Velmar", "B"), 2u);
    EXPECT_EQ(data.Find("Velmar", "C"), nullptr);
    ASSERT_NE(data.Find("Velmar", "D"), nullptr);
    EXPECT_EQ(data.Find("Velmar", "D")->data, "new");
}

TEST(SettingsFile, UnsavedChangesAreReadBackAndAValueSetBackIsStoredAsSet) {
    TempFolder folder;
    const std::string path = folder.File("settings.ini");
    std::ofstream(path) << "[Velmar]\n\"A\"=dword:00000001\n[Velmar\\List]\n\"x\"=\"\"\n";
    host::SettingsFile file(path);
    file.Set("Velmar", "A", host::SettingValue::Integer(2));
    EXPECT_TRUE(file.DeleteSection("Velmar\\List"));
    EXPECT_EQ(IntegerIn(file.Read(), "Velmar", "A"), 2u);
    EXPECT_EQ(file.Read().FindSection("Velmar\\List"), nullptr);
    EXPECT_EQ(IntegerIn(host::SettingsFile(path).Read(), "Velmar", "A"), 1u);
    // Back to what the file had, after a change of this run's own: the user's last word is kept.
    file.Set("Velmar", "A", host::SettingValue::Integer(1));
    EXPECT_TRUE(file.HasChanges());
    ASSERT_TRUE(host::SettingsFile(path).Update([](host::SettingsData& data) {
        data.Set("Velmar", "A", host::SettingValue::Integer(9));
        return true;
    }));
    ASSERT_TRUE(file.Save());
    const host::SettingsData data = host::SettingsFile(path).Read();
    EXPECT_EQ(IntegerIn(data, "Velmar", "A"), 1u);
    EXPECT_EQ(data.FindSection("Velmar\\List"), nullptr);
}

TEST(SettingsFile, SettingEveryValueAsItWasReadWritesNothing) {
    TempFolder folder;
    const std::string path = folder.File("settings.ini");
    std::ofstream(path) << "[Velmar]\n\"A\"=dword:00000001\n\"B\"=\"text\"\n";
    const ino_t before = InodeOf(path);
    host::SettingsFile file(path);
    file.Set("Velmar", "a", host::SettingValue::Integer(1));
    file.Set("VELMAR", "B", host::SettingValue::Text("text"));
    file.AddSection("Velmar");
    EXPECT_FALSE(file.HasChanges());
    ASSERT_TRUE(file.Save());
    EXPECT_EQ(InodeOf(path), before);
}

TEST(SettingsFile, AFailedSaveKeepsTheChangesForTheNextTry) {
    TempFolder folder;
    const std::string path = folder.File("settings.ini");
    std::ofstream(path) << "[Velmar]\n\"A\"=dword:00000001\n";
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    host::SettingsFile file(path);
    file.Set("Velmar", "A", host::SettingValue::Integer(3));
    base::Status saved = file.Save();
    ASSERT_FALSE(saved);
    EXPECT_NE(saved.Message().find("read-only"), std::string::npos) << saved.Message();
    EXPECT_TRUE(file.HasChanges());
    EXPECT_EQ(IntegerIn(host::SettingsFile(path).Read(), "Velmar", "A"), 1u);
    ASSERT_EQ(::chmod(path.c_str(), 0644), 0);
    ASSERT_TRUE(file.Save());
    EXPECT_EQ(IntegerIn(host::SettingsFile(path).Read(), "Velmar", "A"), 3u);
}

TEST(SettingsFile, ASaveRemovesTheLeftoverOfAnInterruptedOneAndSaysSo) {
    TempFolder folder;
    const std::string path = folder.File("settings.ini");
    const pid_t ended = ::fork();
    if (ended == 0)
        ::_exit(0);
    ::waitpid(ended, nullptr, 0);
    const std::string leftover =
        folder.File(".settings.ini.velmar-tmp." + std::to_string(ended) + ".a1b2c3d4");
    std::ofstream(leftover) << "[Velmar]\n";
    host::Printer& printer = host::CurrentPrinter();
    printer.Capture(true);
    printer.ClearCaptured();
    host::SettingsFile file(path);
    file.Set("Velmar", "A", host::SettingValue::Integer(1));
    ASSERT_TRUE(file.Save());
    EXPECT_EQ(printer.CapturedWarnings(),
              "Removed a leftover temporary file from an interrupted save: " + leftover + "\n");
    printer.Capture(false);
    EXPECT_FALSE(base::FileExists(leftover));
}

}  // namespace
