// The options of the import by key attribute: their settings and their .vlo file, byte for byte.

#include "attbat/import/CImportByKeyAttOpt.h"

#include <gtest/gtest.h>

#include "../frame/FrameFixture.h"
#include "attbat/frame/CRegistry.h"

namespace attbat {
namespace {

class CImportByKeyAttOptTest : public FrameTest {};

// A string as the archive writes it: the tag FF FE FF, a one-byte length, UTF-16LE text.
std::string Wide(std::string_view ascii) {
    std::string out("\xFF\xFE\xFF", 3);
    out += static_cast<char>(ascii.size());
    for (char c : ascii) {
        out += c;
        out += '\0';
    }
    return out;
}

// A string without the tag: a one-byte length and single-byte text.
std::string Narrow(std::string_view bytes) { return static_cast<char>(bytes.size()) + std::string(bytes); }

std::string Int32(std::uint32_t value) {
    std::string out;
    for (int i = 0; i < 4; ++i) out += static_cast<char>(value >> (8 * i));
    return out;
}

std::string Count16(std::uint16_t value) {
    return std::string{static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
}

CImportByKeyAttOpt Sample() {
    CImportByKeyAttOpt options;
    options.Workbook = "/data/rooms.xlsx";
    options.Worksheet = "Doors";
    options.BlockNames = "DOOR;WINDOW;";
    options.KeyTag = "MARK";
    options.AttTagOption = 1;
    options.DrawingOption = 1;
    options.KeyColumn = 3;
    options.HeaderRow = 2;
    options.Reserved = 1;
    options.Drawings = {"/plans/a.dxf", "/plans/b.dxf"};
    options.ColumnToTag = {{"C", "MARK"}, {"D", "WIDTH"}, {"AA", "NOTE"}};
    return options;
}

void ExpectSameFileFields(const CImportByKeyAttOpt& a, const CImportByKeyAttOpt& b) {
    EXPECT_EQ(a.Workbook, b.Workbook);
    EXPECT_EQ(a.Worksheet, b.Worksheet);
    EXPECT_EQ(a.BlockNames, b.BlockNames);
    EXPECT_EQ(a.KeyTag, b.KeyTag);
    EXPECT_EQ(a.AttTagOption, b.AttTagOption);
    EXPECT_EQ(a.DrawingOption, b.DrawingOption);
    EXPECT_EQ(a.KeyColumn, b.KeyColumn);
    EXPECT_EQ(a.HeaderRow, b.HeaderRow);
    EXPECT_EQ(a.Reserved, b.Reserved);
    EXPECT_EQ(std::vector<std::string>(a.Drawings.begin(), a.Drawings.end()),
              std::vector<std::string>(b.Drawings.begin(), b.Drawings.end()));
    EXPECT_EQ(a.ColumnToTag, b.ColumnToTag);
}

void ExpectSameChecks(const CImportByKeyAttOpt& a, const CImportByKeyAttOpt& b) {
    EXPECT_EQ(a.AllWorksheets, b.AllWorksheets);
    EXPECT_EQ(a.SelectedRowsOnly, b.SelectedRowsOnly);
    EXPECT_EQ(a.UseWildcardInKeyAttTag, b.UseWildcardInKeyAttTag);
    EXPECT_EQ(a.SaveAsCurrentDwgVersion, b.SaveAsCurrentDwgVersion);
    EXPECT_EQ(a.IgnoreDwgFolder, b.IgnoreDwgFolder);
}

TEST(CImportByKeyAttOpt, StartsWithTheDocumentedDefaults) {
    CImportByKeyAttOpt options;
    EXPECT_EQ(options.AttTagOption, 1);
    EXPECT_EQ(options.DrawingOption, 0);
    EXPECT_EQ(options.KeyColumn, 0);
    EXPECT_EQ(options.HeaderRow, 0);
    EXPECT_EQ(options.Reserved, 1);
    EXPECT_EQ(options.AllWorksheets + options.SelectedRowsOnly + options.UseWildcardInKeyAttTag +
                  options.SaveAsCurrentDwgVersion + options.IgnoreDwgFolder,
              0);
    EXPECT_TRUE(options.Drawings.IsEmpty());
    EXPECT_TRUE(options.ColumnToTag.empty());
}

TEST(CImportByKeyAttOpt, AFileWeWroteLoadsBackToTheSameObject) {
    CImportByKeyAttOpt written = Sample();
    written.Workbook = "/données/Raum ü €.xlsx";  // beyond Latin-1, through UTF-16
    std::string bytes = written.OptionFileBytes();
    CImportByKeyAttOpt loaded;
    ASSERT_TRUE(loaded.LoadOptionFile(bytes)) << loaded.LoadOptionFile(bytes).Message();
    ExpectSameFileFields(loaded, written);
    EXPECT_EQ(loaded.OptionFileBytes(), bytes);
}

TEST(CImportByKeyAttOpt, ASmallFileHasTheExactByteLayout) {
    CImportByKeyAttOpt options;
    options.Reserved = 1;
    options.AttTagOption = 0;
    options.DrawingOption = 1;
    options.KeyColumn = 0x0302;
    options.HeaderRow = 2;
    options.BlockNames = "D;";
    options.KeyTag = "K";
    options.Workbook = "w.xlsx";
    options.Worksheet = "S";
    options.Drawings = {"a.dxf"};
    // Map order: "A" before "B", whatever order they were put in.
    options.ColumnToTag["B"] = "T2";
    options.ColumnToTag["A"] = "T1";
    options.UseWildcardInKeyAttTag = 1;  // a check box: not in the file
    const std::string expected = Wide("67AB44D6-1738-4071-B21D-872AC377593A") +  //
                                 Int32(1) + Int32(0) + Int32(1) + Int32(0x0302) + Int32(2) +  //
                                 Wide("D;") + Wide("K") + Wide("w.xlsx") + Wide("S") +        //
                                 Count16(1) + Wide("a.dxf") +                                 //
                                 Count16(2) + Wide("A") + Wide("T1") + Wide("B") + Wide("T2");
    EXPECT_EQ(options.OptionFileBytes(), expected);
    EXPECT_EQ(expected.substr(0, 5), std::string("\xFF\xFE\xFF\x24\x36", 5));
}

TEST(CImportByKeyAttOpt, AnEmptyObjectWritesEmptyStringsAndZeroCounts) {
    CImportByKeyAttOpt options;
    const std::string tail = options.OptionFileBytes().substr(Wide(CImportByKeyAttOpt::magic).size());
    EXPECT_EQ(tail, Int32(1) + Int32(1) + Int32(0) + Int32(0) + Int32(0) + std::string("\xFF\xFE\xFF\x00", 4) +
                        std::string("\xFF\xFE\xFF\x00", 4) + std::string("\xFF\xFE\xFF\x00", 4) +
                        std::string("\xFF\xFE\xFF\x00", 4) + Count16(0) + Count16(0));
}

TEST(CImportByKeyAttOpt, A300CharacterPathIsStoredWithTheTagThenFfAndA16BitLength) {
    const std::string path = "/" + std::string(299, 'p');
    CImportByKeyAttOpt options;
    options.Drawings = {path};
    const std::string bytes = options.OptionFileBytes();
    const std::string stored = std::string("\xFF\xFE\xFF\xFF\x2C\x01", 6);
    const std::size_t at = bytes.find(stored);
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(bytes.substr(at - 2, 2), Count16(1));  // the drawings' count just before it
    EXPECT_EQ(bytes.size() - (at + stored.size()), 600u + 2u);  // the text, then the map's count

    // The same, built by hand, loads.
    std::string text;
    for (char c : path) text += std::string{c, '\0'};
    const std::string hand = Wide(CImportByKeyAttOpt::magic) + Int32(1) + Int32(1) + Int32(0) + Int32(0) +
                             Int32(0) + Wide("") + Wide("") + Wide("") + Wide("") + Count16(1) + stored + text +
                             Count16(0);
    CImportByKeyAttOpt loaded;
    ASSERT_TRUE(loaded.LoadOptionFile(hand));
    ASSERT_EQ(loaded.Drawings.GetSize(), 1);
    EXPECT_EQ(loaded.Drawings[0], path);
    EXPECT_EQ(hand, bytes);
}

TEST(CImportByKeyAttOpt, AnUntaggedEightBitStringFromAnotherProgramReads) {
    // Single-byte strings in the Windows code page, as an older writer leaves them.
    const std::string bytes = Narrow("67ab44d6-1738-4071-b21d-872ac377593a") + Int32(1) + Int32(0) + Int32(0) +
                              Int32(0) + Int32(4) + Narrow("DOOR;") + Narrow("MARK") + Narrow("C:\\caf\xE9.xlsx") +
                              Narrow("Feuil\x80") + Count16(1) + Narrow("C:\\a.dwg") + Count16(1) + Narrow("C") +
                              Wide("MARK");
    CImportByKeyAttOpt loaded;
    ASSERT_TRUE(loaded.LoadOptionFile(bytes)) << loaded.LoadOptionFile(bytes).Message();
    EXPECT_EQ(loaded.Workbook, "C:\\café.xlsx");
    EXPECT_EQ(loaded.Worksheet, "Feuil€");
    EXPECT_EQ(loaded.BlockNames, "DOOR;");
    EXPECT_EQ(loaded.HeaderRow, 4);
    EXPECT_EQ(loaded.AttTagOption, 0);
    ASSERT_EQ(loaded.Drawings.GetSize(), 1);
    EXPECT_EQ(loaded.Drawings[0], "C:\\a.dwg");
    EXPECT_EQ(loaded.ColumnToTag, (std::map<std::string, std::string>{{"C", "MARK"}}));
}

TEST(CImportByKeyAttOpt, TheMagicIsComparedWithoutRegardToCase) {
    CImportByKeyAttOpt options = Sample();
    std::string bytes = options.OptionFileBytes();
    std::string lower = Wide("67ab44d6-1738-4071-b21d-872ac377593a");
    bytes.replace(0, lower.size(), lower);
    CImportByKeyAttOpt loaded;
    EXPECT_TRUE(loaded.LoadOptionFile(bytes));
    EXPECT_EQ(loaded.KeyTag, "MARK");
}

TEST(CImportByKeyAttOpt, AFileFromAnotherProgramFailsTheMagicTestAndChangesNothing) {
    CImportByKeyAttOpt options = Sample();
    const CImportByKeyAttOpt before = options;
    // A schedule template: a good archive string, but the other signature.
    std::string otherFile = Wide("D947AC3F-6E41-49e9-8CB6-A508362E9A4C") + Int32(4) + Int32(0);
    base::Status status = options.LoadOptionFile(otherFile);
    EXPECT_FALSE(status);
    EXPECT_EQ(status.Message(), "Invalid Velmar option file: 1.");
    ExpectSameFileFields(options, before);
    // A text file whose first byte, read as a length, still lies within the file.
    std::string text = "Column,Tag\n" + std::string(200, 'x');
    status = options.LoadOptionFile(text);
    EXPECT_EQ(status.Message(), "Invalid Velmar option file: 1.");
    ExpectSameFileFields(options, before);
}

TEST(CImportByKeyAttOpt, ATruncatedFileIsRefusedAtEveryLengthAndChangesNothing) {
    const std::string whole = Sample().OptionFileBytes();
    const std::size_t magicSize = Wide(CImportByKeyAttOpt::magic).size();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        CImportByKeyAttOpt options;
        options.KeyTag = "before";
        options.ColumnToTag = {{"Z", "OLD"}};
        options.Drawings = {"/old.dxf"};
        options.HeaderRow = 9;
        options.AllWorksheets = 1;
        const CImportByKeyAttOpt before = options;
        base::Status status = options.LoadOptionFile(std::string_view(whole).substr(0, length));
        ASSERT_FALSE(status) << length;
        EXPECT_EQ(status.Message(), "Invalid Velmar option file: 3.") << length << " of " << magicSize;
        ExpectSameFileFields(options, before);
        ExpectSameChecks(options, before);
    }
}

TEST(CImportByKeyAttOpt, GarbageAfterTheMagicIsRefusedAsDamage) {
    const std::string magic = Wide(CImportByKeyAttOpt::magic);
    const std::vector<std::string> rests = {
        std::string(20, '\xFF'),                                                   // lengths that never end
        Int32(1) + Int32(1) + Int32(0) + Int32(0) + Int32(0) + "\xFF\xFE\xFF\xFF\xFE\xFF",  // tag twice
        Int32(1) + Int32(1) + Int32(0) + Int32(0) + Int32(0) + Wide("") + Wide("") + Wide("") + Wide("") +
            Count16(0xFFFE),                                                        // a count past the end
        Int32(1) + Int32(1) + Int32(0) + Int32(0) + Int32(0) + std::string("\xFF\xFE\xFF\x40", 4) + "ab",
    };
    for (const std::string& rest : rests) {
        CImportByKeyAttOpt options = Sample();
        const CImportByKeyAttOpt before = options;
        base::Status status = options.LoadOptionFile(magic + rest);
        EXPECT_EQ(status.Message(), "Invalid Velmar option file: 3.");
        ExpectSameFileFields(options, before);
    }
}

TEST(CImportByKeyAttOpt, RandomBytesAreRefusedWithOneOfTheTwoMessagesAndChangeNothing) {
    std::uint32_t seed = 12345;
    for (int round = 0; round < 500; ++round) {
        std::string bytes;
        const std::size_t size = round % 97;
        for (std::size_t i = 0; i < size; ++i) {
            seed = seed * 1103515245u + 12345u;
            bytes += static_cast<char>(seed >> 16);
        }
        CImportByKeyAttOpt options = Sample();
        const CImportByKeyAttOpt before = options;
        base::Status status = options.LoadOptionFile(bytes);
        ASSERT_FALSE(status) << round;
        EXPECT_TRUE(status.Message() == "Invalid Velmar option file: 1." ||
                    status.Message() == "Invalid Velmar option file: 3.")
            << status.Message();
        ExpectSameFileFields(options, before);
    }
}

TEST(CImportByKeyAttOpt, ASavedFileHoldsNoCheckBoxAndTheyKeepTheirStateOnLoad) {
    CImportByKeyAttOpt written = Sample();
    written.AllWorksheets = 1;
    written.SelectedRowsOnly = 1;
    written.UseWildcardInKeyAttTag = 1;
    written.SaveAsCurrentDwgVersion = 1;
    written.IgnoreDwgFolder = 1;
    CImportByKeyAttOpt plain = Sample();
    EXPECT_EQ(written.OptionFileBytes(), plain.OptionFileBytes());

    CImportByKeyAttOpt loaded;
    loaded.SelectedRowsOnly = 1;
    loaded.SaveAsCurrentDwgVersion = 1;
    ASSERT_TRUE(loaded.LoadOptionFile(written.OptionFileBytes()));
    EXPECT_EQ(loaded.AllWorksheets, 0);
    EXPECT_EQ(loaded.SelectedRowsOnly, 1);
    EXPECT_EQ(loaded.UseWildcardInKeyAttTag, 0);
    EXPECT_EQ(loaded.SaveAsCurrentDwgVersion, 1);
    EXPECT_EQ(loaded.IgnoreDwgFolder, 0);
}

TEST(CImportByKeyAttOpt, KeyColumnSavedAsZeroInHeaderModeLoadsBackAsZero) {
    CImportByKeyAttOpt written = Sample();
    written.AttTagOption = 0;
    written.KeyColumn = 0;
    CImportByKeyAttOpt loaded;
    loaded.KeyColumn = 7;
    ASSERT_TRUE(loaded.LoadOptionFile(written.OptionFileBytes()));
    EXPECT_EQ(loaded.AttTagOption, 0);
    EXPECT_EQ(loaded.KeyColumn, 0);
}

TEST(CImportByKeyAttOpt, LoadingReplacesTheColumnMapAndTheDrawingList) {
    CImportByKeyAttOpt loaded;
    loaded.ColumnToTag = {{"Z", "OLD"}, {"C", "OLD"}};
    loaded.Drawings = {"/old.dxf"};
    ASSERT_TRUE(loaded.LoadOptionFile(Sample().OptionFileBytes()));
    EXPECT_EQ(loaded.ColumnToTag, Sample().ColumnToTag);
    ASSERT_EQ(loaded.Drawings.GetSize(), 2);
    EXPECT_EQ(loaded.Drawings[0], "/plans/a.dxf");
}

TEST(CImportByKeyAttOpt, BytesAfterTheObjectAreLeftUnread) {
    CImportByKeyAttOpt loaded;
    EXPECT_TRUE(loaded.LoadOptionFile(Sample().OptionFileBytes() + "trailing"));
    EXPECT_EQ(loaded.KeyTag, "MARK");
}

tables::CStringArrayEx Names(std::string blockNames) {
    CImportByKeyAttOpt options;
    options.BlockNames = std::move(blockNames);
    tables::CStringArrayEx out;
    options.BlockNameList(out);
    return out;
}

TEST(CImportByKeyAttOpt, BlockNameListTrimsSemicolonsAndBlanksOffBothEndsAndSkipsEmptyPieces) {
    EXPECT_EQ(Names("DOOR;WINDOW;"), (tables::CStringArrayEx{"DOOR", "WINDOW"}));
    EXPECT_EQ(Names(" ;;DOOR;;WINDOW ; "), (tables::CStringArrayEx{"DOOR", "WINDOW"}));
    // Only the ends are trimmed: blanks inside stay with their piece.
    EXPECT_EQ(Names("A; B ;C"), (tables::CStringArrayEx{"A", " B ", "C"}));
    EXPECT_TRUE(Names("").IsEmpty());
    EXPECT_TRUE(Names(" ; ; ").IsEmpty());
}

TEST(CImportByKeyAttOpt, BlockNameListAppendsToWhatIsThere) {
    CImportByKeyAttOpt options;
    options.BlockNames = "B;";
    tables::CStringArrayEx out{"A"};
    options.BlockNameList(out);
    EXPECT_EQ(out, (tables::CStringArrayEx{"A", "B"}));
}

TEST_F(CImportByKeyAttOptTest, SettingsGoUnderTheirValueNamesAndComeBack) {
    CImportByKeyAttOpt saved = Sample();
    saved.AttTagOption = 0;
    saved.UseWildcardInKeyAttTag = 1;
    saved.SaveAsCurrentDwgVersion = 1;
    saved.IgnoreDwgFolder = 1;
    ASSERT_TRUE(saved.SaveSettings());
    EXPECT_EQ(CRegistry::GetString("Velmar", "ExtImportBlockName", ""), "DOOR;WINDOW;");
    EXPECT_EQ(CRegistry::GetString("Velmar", "ExtImportKeyAttTag", ""), "MARK");
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ExtImportAttTagOpt", -1), 0);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ExtImportDrawingOpt", -1), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "UseWildcardInKeyAttTag", -1), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "SaveAsCurrentDwgVersion", -1), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "IgnoreDwgFolder", -1), 1);
    EXPECT_EQ(CRegistry::GetList("DrawingList"), (std::vector<std::string>{"/plans/a.dxf", "/plans/b.dxf"}));
    std::vector<std::string> columns, tags;
    CRegistry::GetMap("Col2TagMap", columns, tags);
    ASSERT_EQ(columns.size(), 3u);
    // Workbook, sheet, key column, header row and the two sheet boxes aren't settings.
    for (const char* name : {"Workbook", "Worksheet", "KeyColumn", "HeaderRow", "AllWorksheets", "SelectedRowsOnly"}) {
        EXPECT_EQ(CRegistry::GetString("Velmar", name, "none"), "none") << name;
    }

    CImportByKeyAttOpt loaded;
    loaded.LoadSettings();
    EXPECT_EQ(loaded.BlockNames, saved.BlockNames);
    EXPECT_EQ(loaded.KeyTag, saved.KeyTag);
    EXPECT_EQ(loaded.AttTagOption, 0);
    EXPECT_EQ(loaded.DrawingOption, 1);
    EXPECT_EQ(loaded.UseWildcardInKeyAttTag, 1);
    EXPECT_EQ(loaded.SaveAsCurrentDwgVersion, 1);
    EXPECT_EQ(loaded.IgnoreDwgFolder, 1);
    EXPECT_EQ(loaded.Drawings, saved.Drawings);
    EXPECT_EQ(loaded.ColumnToTag, saved.ColumnToTag);
    EXPECT_EQ(loaded.Workbook, "");
    EXPECT_EQ(loaded.KeyColumn, 0);
}

TEST_F(CImportByKeyAttOptTest, SavingEmptiesBothSubsectionsBeforeWriting) {
    CRegistry::SetString("Velmar\\DrawingList", std::string_view("/gone.dxf"), std::string_view(""));
    CRegistry::SetString("Velmar\\Col2TagMap", std::string_view("Q"), std::string_view("GONE"));
    CImportByKeyAttOpt saved;
    saved.Drawings = {"/kept.dxf"};
    saved.ColumnToTag = {{"B", "KEPT"}};
    ASSERT_TRUE(saved.SaveSettings());
    EXPECT_EQ(CRegistry::GetList("DrawingList"), std::vector<std::string>{"/kept.dxf"});
    std::vector<std::string> columns, tags;
    CRegistry::GetMap("Col2TagMap", columns, tags);
    EXPECT_EQ(columns, std::vector<std::string>{"B"});
    EXPECT_EQ(tags, std::vector<std::string>{"KEPT"});

    // Empty lists leave empty subsections.
    CImportByKeyAttOpt empty;
    ASSERT_TRUE(empty.SaveSettings());
    EXPECT_TRUE(CRegistry::GetList("DrawingList").empty());
    columns.clear();
    tags.clear();
    CRegistry::GetMap("Col2TagMap", columns, tags);
    EXPECT_TRUE(columns.empty());
}

TEST_F(CImportByKeyAttOptTest, LoadingSettingsKeepsThePresentFieldsWhereNothingIsStored) {
    CImportByKeyAttOpt options;
    options.KeyTag = "TAG";
    options.AttTagOption = 0;
    options.DrawingOption = 1;
    options.IgnoreDwgFolder = 1;
    options.LoadSettings();
    EXPECT_EQ(options.KeyTag, "TAG");
    EXPECT_EQ(options.AttTagOption, 0);
    EXPECT_EQ(options.DrawingOption, 1);
    EXPECT_EQ(options.IgnoreDwgFolder, 1);
}

TEST_F(CImportByKeyAttOptTest, ADrawingListEntryWithATextReadsAsThatText) {
    CRegistry::SetString("Velmar\\DrawingList", std::string_view("/by-name.dxf"), std::string_view(""));
    CRegistry::SetString("Velmar\\DrawingList", std::string_view("entry"), std::string_view("/by-text.dxf"));
    CImportByKeyAttOpt options;
    options.LoadSettings();
    EXPECT_EQ(options.Drawings, (tables::CStringArrayEx{"/by-name.dxf", "/by-text.dxf"}));
}

TEST_F(CImportByKeyAttOptTest, TheListsAreWrittenThroughOnTheirOwn) {
    CImportByKeyAttOpt options;
    options.KeyTag = "NOT-YET";
    options.Drawings = {"/one.dxf"};
    options.ColumnToTag = {{"A", "X"}};
    ASSERT_TRUE(options.SaveDrawings());
    ASSERT_TRUE(options.SaveColumnToTag());
    EXPECT_EQ(CRegistry::GetList("DrawingList"), std::vector<std::string>{"/one.dxf"});
    std::vector<std::string> columns, tags;
    CRegistry::GetMap("Col2TagMap", columns, tags);
    EXPECT_EQ(columns, std::vector<std::string>{"A"});
    EXPECT_EQ(CRegistry::GetString("Velmar", "ExtImportKeyAttTag", "none"), "none");
}

}  // namespace
}  // namespace attbat
