// Import by handle: key lines into parts, the update list, the options and the dialog model.

#include "attbat/import/ImportByHandle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "attbat/frame/CRegistry.h"
#include "attbat/import/CImpExOptDialog.h"
#include "attbat/import/CImportByHandleDialog.h"
#include "attbat/model/PropertyTable.h"
#include "base/Format.h"
#include "base/Text.h"
#include "../export/ExportTestSupport.h"
#include "host/Locations.h"

namespace attbat {
namespace {

const std::string kCurrent = "/work/floor.dxf";

// A settings file of the test's own.
class Settings : public ::testing::Test {
protected:
    testing::TempFolder temp;
    void SetUp() override {
        host::SetSettingsFilePath(temp / "settings.ini");
        CRegistry::SetRoot(CRegistry::Root::CurrentUser, "Orvane");
    }
};
class ImportSettings : public Settings {};
class CImportByHandleDialogTest : public Settings {};
class CImpExOptDialogTest : public Settings {};

ImportKey Parse(std::string_view key, ImportByHandleOptions options = {}, bool expected = true) {
    ImportKey out;
    std::string skip;
    EXPECT_EQ(ParseImportKey(key, options, kCurrent, out, skip), expected) << key;
    return out;
}

TEST(ImportByHandle, AKeyWithPathAndLayoutGivesThePathUpToTheBar) {
    ImportByHandleOptions options;
    options.CurrentDrawingOnly = 0;
    ImportKey key = Parse("/work/other.dxf|Model<2F_MARK>", options);
    EXPECT_EQ(key.DrawingPath, "/work/other.dxf");
    EXPECT_EQ(key.Handle, "2F");
    EXPECT_EQ(key.TagOrProperty, "MARK");
    EXPECT_FALSE(key.IsProperty);
}

TEST(ImportByHandle, AKeyInAnglesOrPlainHasNoPath) {
    ImportKey angled = Parse("<2F_MARK>");
    EXPECT_EQ(angled.DrawingPath, "");
    EXPECT_EQ(angled.Handle, "2F");
    EXPECT_EQ(angled.TagOrProperty, "MARK");
    ImportKey plain = Parse("2F_MARK");
    EXPECT_EQ(plain.DrawingPath, "");
    EXPECT_EQ(plain.Handle, "2F");
}

TEST(ImportByHandle, AColonBeforeTheUnderscoreMakesAProperty) {
    ImportKey property = Parse("2F:Layer_x");
    EXPECT_TRUE(property.IsProperty);
    EXPECT_EQ(property.Handle, "2F");
    EXPECT_EQ(property.TagOrProperty, "Layer_x");
    ImportKey attribute = Parse("2F_A:B");
    EXPECT_FALSE(attribute.IsProperty);
    EXPECT_EQ(attribute.Handle, "2F");
    EXPECT_EQ(attribute.TagOrProperty, "A:B");
}

TEST(ImportByHandle, IgnorePropertyPassesOverPropertyKeys) {
    ImportByHandleOptions options;
    options.IgnoreProperty = 1;
    Parse("2F:Layer", options, false);
    EXPECT_EQ(Parse("2F_A:B", options).TagOrProperty, "A:B");
}

TEST(ImportByHandle, KeysThatDoNotParseArePassedOverInSilence) {
    ImportKey out;
    std::string skip;
    for (const char* key : {"", "_MARK", "2F_", "2F", ":Layer", "<>", "2F:"}) {
        EXPECT_FALSE(ParseImportKey(key, {}, kCurrent, out, skip)) << key;
        EXPECT_EQ(skip, "") << key;
    }
}

TEST(ImportByHandle, AnotherDrawingsKeyIsSkippedWithTheMessageUnderCurrentDrawingOnly) {
    ImportKey out;
    std::string skip;
    EXPECT_FALSE(ParseImportKey("/work/other.dxf<2F_MARK>", {}, kCurrent, out, skip));
    EXPECT_EQ(skip, "\nThe path of the current drawing is '/work/floor.dxf'. Skip the attribute values of "
                    "the drawing '/work/other.dxf'.");
    // The current drawing's own path, in another case, is no other drawing.
    EXPECT_TRUE(ParseImportKey("/WORK/Floor.DXF<2F_MARK>", {}, kCurrent, out, skip));
}

TEST(ImportByHandle, IgnoringDrawingPathsTakesEveryKeyAsOfTheCurrentDrawing) {
    ImportByHandleOptions options;
    options.IgnoreDrawingPath = 1;
    ImportKey key = Parse("/work/other.dxf<2F_MARK>", options);
    EXPECT_EQ(key.DrawingPath, "");
    // Without CurrentDrawingOnly the path box has no effect.
    options.CurrentDrawingOnly = 0;
    EXPECT_EQ(Parse("/work/other.dxf<2F_MARK>", options).DrawingPath, "/work/other.dxf");
}

TEST(ImportByHandle, TheUpdateListHasOneRowPerDrawingAndHandleAndKeepsSkipLinesOnce) {
    ImportMap map = {{"<2F_MARK>", "D01"},
                     {"<2F_WIDTH>", "900"},
                     {"<2f:Layer>", "DOORS"},
                     {"<30_MARK>", ""},
                     {"/a.dxf<31_MARK>", "x"},
                     {"/a.dxf<32_MARK>", "y"},
                     {"nonsense", "z"}};
    std::vector<std::string> skipped;
    AcadBlockRefArray rows = BuildImportList(map, {}, kCurrent, skipped);
    ASSERT_EQ(rows.GetSize(), 2);
    EXPECT_EQ(rows[0].handle, "2F");
    ASSERT_EQ(rows[0].attributes.GetSize(), 3);
    EXPECT_EQ(rows[0].attributes[0].tag, "MARK");
    EXPECT_EQ(rows[0].attributes[0].value, "D01");
    EXPECT_NE(rows[0].attributes[2].kind, 0);  // the layer, by its property bit
    EXPECT_EQ(rows[1].handle, "30");
    EXPECT_EQ(rows[1].attributes[0].value, "");
    ASSERT_EQ(skipped.size(), 1u);
}

TEST(ImportByHandle, TheSameHandleInTwoDrawingsIsTwoRowsEvenWhenTheirKeysFollowEachOther) {
    ImportByHandleOptions options;
    options.CurrentDrawingOnly = 0;
    ImportMap map = {{"/a.dxf<2F_MARK>", "A1"},  {"/a.dxf<2F_WIDTH>", "A2"},
                     {"/b.dxf<2F_MARK>", "B1"},  {"/B.DXF<2f_WIDTH>", "B2"},
                     {"/b.dxf<30_MARK>", "B3"}};
    map.Sort();
    std::vector<std::string> skipped;
    AcadBlockRefArray rows = BuildImportList(map, options, kCurrent, skipped);
    // In key order: "/B.DXF<2f_WIDTH>", "/a.dxf<2F_MARK>", "/a.dxf<2F_WIDTH>", "/b.dxf<2F_MARK>",
    // "/b.dxf<30_MARK>". A drawing and a handle written in another case are the same row, as
    // its first key wrote them.
    ASSERT_EQ(rows.GetSize(), 3);
    EXPECT_EQ(rows[0].dwgFile, "/B.DXF");
    EXPECT_EQ(rows[0].handle, "2f");
    ASSERT_EQ(rows[0].attributes.GetSize(), 2);
    EXPECT_EQ(rows[0].attributes[1].value, "B1");
    EXPECT_EQ(rows[1].dwgFile, "/a.dxf");
    EXPECT_EQ(rows[1].attributes.GetSize(), 2);
    EXPECT_EQ(rows[2].dwgFile, "/b.dxf");
    EXPECT_EQ(rows[2].handle, "30");
}

TEST(ImportByHandle, HandlesWrittenWithLeadingZerosOrBeyondANumberAreRowsOfTheirOwnText) {
    const std::string fourteen(14, 'F');
    ImportMap map = {{"<2F_A>", "1"},         {"<02F_B>", "2"},          {"<2f_C>", "3"},
                     {"<0002F_D>", "4"},      {"<" + fourteen + "_E>", "5"}, {"<G1_F>", "6"},
                     {"<ffffffffffffff_G>", "7"}, {"<g1_H>", "8"}};
    std::vector<std::string> skipped;
    AcadBlockRefArray rows = BuildImportList(map, {}, kCurrent, skipped);
    // A handle in another case is the same row; zeros in front make another text.
    std::map<std::string, std::string> valuesOfRow;
    for (const AcadBlockRef& row : rows) {
        std::string& values = valuesOfRow[base::FoldCase(row.handle)];
        for (const AcadAttribute& value : row.attributes) values += value.value;
    }
    EXPECT_EQ(valuesOfRow, (std::map<std::string, std::string>{{"2f", "13"},
                                                               {"02f", "2"},
                                                               {"0002f", "4"},
                                                               {"ffffffffffffff", "57"},
                                                               {"g1", "68"}}));
}

TEST(ImportByHandle, TheSameHandleInThousandsOfDrawingsIsARowForEach) {
    ImportByHandleOptions options;
    options.CurrentDrawingOnly = 0;
    ImportMap map;
    for (int d = 0; d < 2100; ++d) {
        map.Add(base::Sprintf("/d%d.dxf<2F_MARK>", d), "M");
        map.Add(base::Sprintf("/D%d.DXF<2f_WIDTH>", d), "W");
    }
    std::vector<std::string> skipped;
    AcadBlockRefArray rows = BuildImportList(map, options, kCurrent, skipped);
    // Each drawing's two keys, in either case, make its one row.
    ASSERT_EQ(rows.GetSize(), 2100);
    for (const AcadBlockRef& row : rows) ASSERT_EQ(row.attributes.GetSize(), 2) << row.dwgFile;
}

// Every row a walk of `map`'s rows gives, with the drawings `wanted` takes.
std::vector<AcadBlockRef> Walked(const ImportMap& map, const ImportByHandleOptions& options,
                                 const DrawingFilter& wanted = [](const std::string&) { return true; }) {
    std::vector<std::string> skipped;
    std::vector<AcadBlockRef> rows;
    WalkImportRows(map, options, kCurrent, skipped).walk(wanted, [&](const AcadBlockRef& row) { rows.push_back(row); });
    return rows;
}

void ExpectSameRow(const AcadBlockRef& row, const AcadBlockRef& expected) {
    EXPECT_EQ(row.handle, expected.handle);
    EXPECT_EQ(row.dwgFile, expected.dwgFile);
    ASSERT_EQ(row.attributes.GetSize(), expected.attributes.GetSize());
    for (int a = 0; a < row.attributes.GetSize(); ++a) {
        EXPECT_EQ(row.attributes[a].tag, expected.attributes[a].tag);
        EXPECT_EQ(row.attributes[a].value, expected.attributes[a].value);
        EXPECT_EQ(row.attributes[a].kind, expected.attributes[a].kind);
    }
}

TEST(ImportByHandle, AWalkOfTheRowsGivesOnlyTheRowsOfTheDrawingsItWantsInTheListsOrder) {
    ImportByHandleOptions options;
    options.CurrentDrawingOnly = 0;
    ImportMap map = {{"/a.dxf<2F_MARK>", "A1"},  {"/b.dxf<2F_MARK>", "B1"}, {"/B.DXF<2f_WIDTH>", "B2"},
                     {"/b.dxf<30_MARK>", "B3"}, {"/a.dxf<31_MARK>", "A2"}};
    std::vector<std::string> skipped;
    EXPECT_EQ(WalkImportRows(map, options, kCurrent, skipped).drawings,
              (std::vector<std::string>{"/B.DXF", "/a.dxf", "/b.dxf"}));
    const DrawingFilter onlyB = [](const std::string& file) { return base::EqualNoCase(file, "/b.dxf"); };
    const std::vector<AcadBlockRef> rows = Walked(map, options, onlyB);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].handle, "2f");
    ASSERT_EQ(rows[0].attributes.GetSize(), 2);
    EXPECT_EQ(rows[0].attributes[0].value, "B2");
    EXPECT_EQ(rows[0].attributes[1].value, "B1");
    EXPECT_EQ(rows[1].handle, "30");
    EXPECT_TRUE(Walked(map, options, [](const std::string&) { return false; }).empty());
}

// The update list of `map`, and every row a walk of it gives, are what parsing each key and
// adding its value to an empty list gives, with and without the properties.
void ExpectTheListOfEachKeyParsed(const ImportMap& map) {
    for (int ignoreProperty = 0; ignoreProperty < 2; ++ignoreProperty) {
        ImportByHandleOptions options;
        options.IgnoreProperty = ignoreProperty;
        AcadBlockRefArray expected;
        std::vector<std::string> expectedSkips;
        for (const auto& [text, value] : map) {
            ImportKey key;
            std::string skip;
            if (ParseImportKey(text, options, kCurrent, key, skip))
                expected.AddValue(key.DrawingPath, key.Handle, key.TagOrProperty, value, key.IsProperty);
            else if (!skip.empty() && std::find(expectedSkips.begin(), expectedSkips.end(), skip) == expectedSkips.end())
                expectedSkips.push_back(skip);
        }
        std::vector<std::string> skipped;
        AcadBlockRefArray rows = BuildImportList(map, options, kCurrent, skipped);
        EXPECT_EQ(skipped, expectedSkips);
        ASSERT_EQ(rows.GetSize(), expected.GetSize());
        for (int i = 0; i < rows.GetSize(); ++i) ExpectSameRow(rows[i], expected[i]);
        const std::vector<AcadBlockRef> walked = Walked(map, options);
        ASSERT_EQ(walked.size(), static_cast<std::size_t>(expected.GetSize()));
        for (int i = 0; i < expected.GetSize(); ++i) ExpectSameRow(walked[static_cast<std::size_t>(i)], expected[i]);
    }
}

TEST(ImportByHandle, TheUpdateListIsWhatParsingEachKeyAndAddingItsValueGives) {
    std::mt19937 random(3);
    std::uniform_int_distribution<int> pick(0, 40);
    ImportMap map;
    for (int i = 0; i < 4000; ++i) {
        const int n = pick(random);
        const std::string path = n % 4 == 0 ? "" : n % 4 == 1 ? " /work/FLOOR.dxf" : n % 4 == 2 ? kCurrent : "/b.dxf";
        const std::string handle = n % 2 ? base::Sprintf("%x", n) : base::Sprintf("%X", n);
        const std::string key = i % 97 == 0   ? "nonsense"
                                : i % 5 == 0  ? base::Sprintf("%s<%s:Layer>", path, handle)
                                              : base::Sprintf("%s<%s_T%d>", path, handle, i % 6);
        map.Add(key, base::Sprintf(" %d ", i));
    }
    map.Sort();
    ExpectTheListOfEachKeyParsed(map);
}

TEST(ImportByHandle, TheUpdateListOfAWorkbooksWorthOfKeysIsWhatParsingEachKeyGives) {
    // Enough keys for the list to be filled in two parts. In key order a handle's properties
    // ("2F:") and attributes ("2F_") have the keys of longer handles ("2FA_") between them, and
    // a handle written in both cases is one row whose keys lie far apart.
    ImportMap map;
    for (int n = 0x100; n < 0x100 + 16000; ++n) {
        const std::string handle = n % 1000 == 0 ? base::Sprintf("%x", n) : base::Sprintf("%X", n);
        map.Add(base::Sprintf("%s<%s:Layer>", kCurrent, handle), base::Sprintf("L%d", n));
        for (int t = 0; t < 4; ++t) map.Add(base::Sprintf("%s<%s_TAG%d>", kCurrent, handle, t), base::Sprintf(" %d ", n + t));
        if (n % 1000 == 0) map.Add(base::Sprintf("%s<%X_LATE>", kCurrent, n), "late");
    }
    map.Sort();
    ASSERT_GE(map.size(), 70000u);
    ExpectTheListOfEachKeyParsed(map);
}

TEST_F(ImportSettings, TheOptionsLoadAndStoreUnderTheirValueNamesButCurrentDrawingOnly) {
    CRegistry::SetInt("Velmar", "ImportWorksheetOpt", 1);
    CRegistry::SetInt("Velmar", "ImportStartRow", 7);
    CRegistry::SetString("Velmar", "ImportStartCol", "C");
    CRegistry::SetInt("Velmar", "IgnoreProp", 1);
    CRegistry::SetInt("Velmar", "IgnoreDrawingPath", 1);
    CRegistry::SetInt("Velmar", "SaveExcelLink", 1);
    ImportByHandleOptions options;
    options.CurrentDrawingOnly = 0;
    options.LoadSettings();
    EXPECT_EQ(options.WorksheetOption, 1);
    EXPECT_EQ(options.StartRow, 7);
    EXPECT_EQ(options.StartColumn, "C");
    EXPECT_EQ(options.IgnoreProperty, 1);
    EXPECT_EQ(options.IgnoreDrawingPath, 1);
    EXPECT_EQ(options.SaveExcelLink, 1);
    EXPECT_EQ(options.CurrentDrawingOnly, 0);
    options = ImportByHandleOptions{};
    options.SaveSettings();
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ImportWorksheetOpt", -1), 0);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ImportStartRow", -1), 1);
    EXPECT_EQ(CRegistry::GetString("Velmar", "ImportStartCol", ""), "A");
    EXPECT_EQ(CRegistry::GetInt("Velmar", "SaveExcelLink", -1), 0);
}

TEST_F(CImportByHandleDialogTest, EachDialogStartsWithCurrentDrawingOnlySet) {
    CImportByHandleDialog dialog;
    dialog.m_options.CurrentDrawingOnly = 0;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_options.CurrentDrawingOnly, 1);
    EXPECT_TRUE(dialog.IgnoreDrawingPathEnabled());
}

TEST_F(CImportByHandleDialogTest, SwitchingCurrentDrawingOnlyOffClearsTheDrawingPathBox) {
    CImportByHandleDialog dialog;
    dialog.OnInitDialog();
    dialog.m_options.IgnoreDrawingPath = 1;
    dialog.SetCurrentDrawingOnly(false);
    EXPECT_EQ(dialog.m_options.IgnoreDrawingPath, 0);
    EXPECT_FALSE(dialog.IgnoreDrawingPathEnabled());
}

TEST_F(CImportByHandleDialogTest, OkMendsABadStartColumnAndRowAndStoresThem) {
    CImportByHandleDialog dialog;
    dialog.OnInitDialog();
    dialog.m_options.StartColumn = "-2";
    dialog.m_options.StartRow = 0;
    dialog.OnOK();
    EXPECT_EQ(dialog.m_options.StartColumn, "A");
    EXPECT_EQ(dialog.m_options.StartRow, 1);
    EXPECT_EQ(CRegistry::GetString("Velmar", "ImportStartCol", ""), "A");
    dialog.m_options.StartColumn = "d";
    dialog.m_options.StartRow = 4;
    dialog.OnOK();
    EXPECT_EQ(CRegistry::GetString("Velmar", "ImportStartCol", ""), "d");
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ImportStartRow", 0), 4);
}

TEST_F(CImportByHandleDialogTest, WithoutAConnectionTheWorkbookListIsEmpty) {
    CImportByHandleDialog dialog;
    dialog.OnInitDialog();
    EXPECT_TRUE(dialog.m_workbooks.empty());
    EXPECT_FALSE(dialog.ChooseWorkbook(0));
}

TEST_F(CImpExOptDialogTest, AFirstRunShowsThePositionTextsUnderTheScaleFields) {
    CImpExOptDialog dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_posXHeader, "Position X");
    EXPECT_EQ(dialog.m_posYHeader, "Position Y");
    EXPECT_EQ(dialog.m_posZHeader, "Position Z");
    EXPECT_EQ(dialog.m_layerHeader, "Layer");  // the long name of the layer property
    EXPECT_EQ(dialog.m_scaleXHeader, "Position X");
    EXPECT_EQ(dialog.m_scaleYHeader, "Position Y");
    EXPECT_EQ(dialog.m_scaleZHeader, "Position Z");
}

TEST_F(CImpExOptDialogTest, ScaleFieldsDefaultToTheLoadedPositionTextsAndOkStoresAllSeven) {
    CRegistry::SetString("Velmar", "PosXHeader", "X");
    CRegistry::SetString("Velmar", "ScaleYHeader", "SY");
    CImpExOptDialog dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_scaleXHeader, "X");
    EXPECT_EQ(dialog.m_scaleYHeader, "SY");
    EXPECT_EQ(dialog.m_scaleZHeader, "Position Z");
    dialog.m_layerHeader = "Layer";
    dialog.OnOK();
    for (const char* name : {"PosXHeader", "PosYHeader", "PosZHeader", "LayerHeader", "ScaleXHeader",
                             "ScaleYHeader", "ScaleZHeader"}) {
        EXPECT_NE(CRegistry::GetString("Velmar", name, "(none)"), "(none)") << name;
    }
    EXPECT_EQ(CRegistry::GetString("Velmar", "ScaleXHeader", ""), "X");
    EXPECT_EQ(CRegistry::GetString("Velmar", "LayerHeader", ""), "Layer");
}

}  // namespace
}  // namespace attbat

namespace attbat {
namespace {

TEST(ImportByHandle, TheDrawingPathIsTrimmedBeforeItIsCompared) {
    ImportKey out;
    std::string skip;
    EXPECT_TRUE(ParseImportKey("  /work/floor.dxf\xC2\xA0<2F_MARK>", {}, kCurrent, out, skip)) << skip;
    EXPECT_EQ(out.DrawingPath, "/work/floor.dxf");
    EXPECT_EQ(out.Handle, "2F");
}

}  // namespace
}  // namespace attbat
