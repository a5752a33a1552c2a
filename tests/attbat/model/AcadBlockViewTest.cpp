#include "attbat/model/AcadBlockView.h"

#include <gtest/gtest.h>

#include "ModelTestSupport.h"
#include <random>

#include "attbat/model/AcadBlockArray.h"
#include "attbat/model/AcadBlockFilter.h"
#include "attbat/model/Archive.h"

namespace attbat {
namespace {

using testing::Block;
using testing::MapSettings;

TEST(AcadBlockView, DefaultsAreThoseOfAFreshWizard) {
    const AcadBlockView view;
    EXPECT_EQ(view.showPosX + view.showPosY + view.showPosZ + view.showScaleX + view.showScaleY +
                  view.showScaleZ + view.showRotation + view.showLayer + view.spare,
              0);
    EXPECT_EQ(view.showAtts, 1);
    EXPECT_EQ(view.showOuterArea, 0);
    EXPECT_EQ(view.areaUnit, 0);
    EXPECT_EQ(view.showOuterLength, 0);
    EXPECT_EQ(view.combineItems, 1);
    EXPECT_EQ(view.includeHeader, 1);
    EXPECT_EQ(view.showName, 0);
    EXPECT_EQ(view.promptAsHeader, 0);
    EXPECT_EQ(view.showCount, 1);
    EXPECT_EQ(view.unselNoValueAtts, 1);
    EXPECT_EQ(view.selectDynProperties, 1);
    EXPECT_EQ(view.headerStyle, 0);
    EXPECT_EQ(view.columnSort, 2);
    EXPECT_EQ(view.identityColumn, 0);
    EXPECT_EQ(view.schemaVersion, 4);
}

TEST(AcadBlockView, SettingsUseTheirValueNames) {
    MapSettings store;
    AcadBlockView view;
    view.showPosX = 1;
    view.showLayer = 1;
    view.areaUnit = 2;
    view.headerStyle = 1;
    view.columnSort = 0;
    view.identityColumn = 2;  // not persisted
    view.SaveToSettings(store);
    EXPECT_EQ(store.values.size(), 21u);
    EXPECT_EQ(store.Get("BviewInsX"), "1");
    EXPECT_EQ(store.Get("BviewInsY"), "0");
    EXPECT_EQ(store.Get("BviewLayer"), "1");
    EXPECT_EQ(store.Get("BviewAtt"), "1");
    EXPECT_EQ(store.Get("AreaUnit"), "2");
    EXPECT_EQ(store.Get("BviewCombItem"), "1");
    EXPECT_EQ(store.Get("BviewIncHeader"), "1");
    EXPECT_EQ(store.Get("BviewHeaderStyle"), "1");
    EXPECT_EQ(store.Get("AttColumnSort"), "0");
    EXPECT_EQ(store.Get("ShowCount"), "1");
    EXPECT_EQ(store.Get("ShowName"), "0");
    EXPECT_EQ(store.Get("PromptAsHeader"), "0");
    EXPECT_EQ(store.Get("UnSelNoValueAtts"), "1");
    EXPECT_EQ(store.Get("SelectDynProperties"), "1");
    for (const char* name : {"BviewInsZ", "BviewScaleX", "BviewScaleY", "BviewScaleZ",
                             "BviewRotation", "BviewOuterArea", "BviewOuterLength"}) {
        EXPECT_EQ(store.Get(name), "0") << name;
    }
    AcadBlockView loaded;
    loaded.LoadFromSettings(store);
    EXPECT_EQ(loaded.showPosX, 1);
    EXPECT_EQ(loaded.showLayer, 1);
    EXPECT_EQ(loaded.areaUnit, 2);
    EXPECT_EQ(loaded.headerStyle, 1);
    EXPECT_EQ(loaded.columnSort, 0);
    EXPECT_EQ(loaded.identityColumn, 0);
}

TEST(AcadBlockView, LoadingKeepsTheMemberWhereTheStoreHoldsNothing) {
    MapSettings store;
    store.SetInt("Velmar", "ShowCount", 0);
    AcadBlockView view;
    view.combineItems = 0;
    view.LoadFromSettings(store);
    EXPECT_EQ(view.showCount, 0);
    EXPECT_EQ(view.combineItems, 0);
    EXPECT_EQ(view.columnSort, 2);
}

TEST(AcadBlockView, AreaUnitZeroIsNeverWrittenBySaveAreaUnit) {
    MapSettings store;
    AcadBlockView view;
    view.areaUnit = 0;
    view.SaveAreaUnit(store);
    EXPECT_FALSE(store.Has("AreaUnit"));
    view.areaUnit = 3;
    view.SaveAreaUnit(store);
    EXPECT_EQ(store.Get("AreaUnit"), "3");
    view.areaUnit = 0;
    view.SaveAreaUnit(store);
    EXPECT_EQ(store.Get("AreaUnit"), "3");
    EXPECT_EQ(store.values.size(), 1u);
}

AcadBlockView SampleView() {
    AcadBlockView view;
    view.showPosX = 1;
    view.showPosZ = 1;
    view.showScaleY = 1;
    view.showRotation = 1;
    view.showAtts = 0;
    view.includeHeader = 0;
    view.showCount = 0;
    view.showName = 1;
    view.combineItems = 0;
    view.headerStyle = 1;
    view.columnSort = 1;
    view.unselectedTags.Add(AcadAttDefTag("DOOR", 1, 0));
    view.unselectedTags.Add(AcadAttDefTag("Nöte", 0, 0));
    view.showOuterArea = 1;
    view.showOuterLength = 1;
    view.areaUnit = 3;
    view.promptAsHeader = 1;
    return view;
}

TEST(AcadBlockView, SerializeWritesFifteenIntegersTheTagsAndTheFourLaterMembers) {
    AcadBlockView view = SampleView();
    Archive archive = Archive::ForStoring();
    view.Serialize(archive);
    const std::string& bytes = archive.Bytes();
    // 15 integers, a 32-bit count, "DOOR" (4 + 8 bytes) and 1, "Nöte" (4 + 8) and 0, 4 integers.
    ASSERT_EQ(bytes.size(), 60u + 4u + 12u + 4u + 12u + 4u + 16u);
    EXPECT_EQ(bytes.substr(56, 8), std::string("\x01\0\0\0\x02\0\0\0", 8));  // columnSort, count
    EXPECT_EQ(bytes.substr(64, 4), std::string("\xFF\xFE\xFF\x04", 4));
    EXPECT_EQ(bytes.substr(bytes.size() - 16),
              std::string("\1\0\0\0\1\0\0\0\3\0\0\0\1\0\0\0", 16));
}

TEST(AcadBlockView, SerializeRoundTrips) {
    AcadBlockView view = SampleView();
    Archive archive = Archive::ForStoring();
    view.Serialize(archive);
    AcadBlockView back;
    Archive reader = Archive::ForLoading(archive.Bytes());
    back.Serialize(reader);
    ASSERT_TRUE(reader.Ok()) << reader.Error();
    EXPECT_EQ(reader.Position(), archive.Bytes().size());
    for (int AcadBlockView::*member :
         {&AcadBlockView::showPosX, &AcadBlockView::showPosY, &AcadBlockView::showPosZ,
          &AcadBlockView::showScaleX, &AcadBlockView::showScaleY, &AcadBlockView::showScaleZ,
          &AcadBlockView::showRotation, &AcadBlockView::showLayer, &AcadBlockView::showAtts,
          &AcadBlockView::includeHeader, &AcadBlockView::showCount, &AcadBlockView::showName,
          &AcadBlockView::combineItems, &AcadBlockView::headerStyle, &AcadBlockView::columnSort,
          &AcadBlockView::showOuterArea, &AcadBlockView::showOuterLength,
          &AcadBlockView::areaUnit, &AcadBlockView::promptAsHeader}) {
        EXPECT_EQ(back.*member, view.*member);
    }
    ASSERT_EQ(back.unselectedTags.GetSize(), 2);
    EXPECT_EQ(back.unselectedTags[0].tag, "DOOR");
    EXPECT_EQ(back.unselectedTags[0].dupIndex, 1);
    EXPECT_EQ(back.unselectedTags[1].tag, "Nöte");
}

TEST(AcadBlockView, ATemplateOfVersion1LeavesTheFourLaterMembersAtTheirDefaults) {
    AcadBlockView view = SampleView();
    Archive archive = Archive::ForStoring();
    view.Serialize(archive);
    // A version 1 stream ends before the four later members.
    const std::string version1 = archive.Bytes().substr(0, archive.Bytes().size() - 16);
    AcadBlockView back;
    back.schemaVersion = 1;
    Archive reader = Archive::ForLoading(version1);
    back.Serialize(reader);
    ASSERT_TRUE(reader.Ok()) << reader.Error();
    EXPECT_EQ(reader.Position(), version1.size());
    EXPECT_EQ(back.showName, 1);
    EXPECT_EQ(back.unselectedTags.GetSize(), 2);
    EXPECT_EQ(back.showOuterArea, 0);
    EXPECT_EQ(back.showOuterLength, 0);
    EXPECT_EQ(back.areaUnit, 0);
    EXPECT_EQ(back.promptAsHeader, 0);
}

TEST(AcadBlockView, ADamagedViewStreamFails) {
    AcadBlockView view = SampleView();
    Archive archive = Archive::ForStoring();
    view.Serialize(archive);
    AcadBlockView back;
    const std::string damaged = archive.Bytes().substr(0, 70);
    Archive reader = Archive::ForLoading(damaged);
    back.Serialize(reader);
    EXPECT_FALSE(reader.Ok());
}

TEST(AcadBlockView, EveryTruncationOfAFilterAndViewStreamFailsCleanly) {
    AcadBlockFilter filter;
    filter.blockPattern = "DOOR*";
    filter.names = tables::CStringArrayEx{"DOOR", "WINDOW"};
    AcadBlockView view = SampleView();
    Archive archive = Archive::ForStoring();
    filter.Serialize(archive);
    view.Serialize(archive);
    const std::string& bytes = archive.Bytes();
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        AcadBlockFilter filterBack;
        AcadBlockView viewBack;
        Archive reader = Archive::ForLoading(std::string_view(bytes).substr(0, size));
        filterBack.Serialize(reader);
        viewBack.Serialize(reader);
        EXPECT_FALSE(reader.Ok()) << size;
    }
}

TEST(AcadBlockView, RandomBytesNeverCrashTheReader) {
    std::mt19937 random(5);
    std::uniform_int_distribution<int> byte(0, 255);
    for (int round = 0; round < 2000; ++round) {
        std::string bytes(static_cast<std::size_t>(byte(random)), '\0');
        for (char& c : bytes) c = static_cast<char>(byte(random) < 64 ? 0xFF : byte(random));
        AcadBlockFilter filter;
        AcadBlockView view;
        Archive reader = Archive::ForLoading(bytes);
        filter.Serialize(reader);
        view.Serialize(reader);
        EXPECT_LE(reader.Position(), bytes.size());
    }
}

TEST(AcadBlockView, IsColumnOnFollowsThePropertyFlagsByLongName) {
    AcadBlockView view;
    const AcadBlock block;
    for (const AcadAttributeDef& def : block.defs) EXPECT_FALSE(view.IsColumnOn(def)) << def.tag;
    view.showScaleZ = 1;
    view.showOuterArea = 1;
    EXPECT_TRUE(view.IsColumnOn(block.defs[5]));
    EXPECT_TRUE(view.IsColumnOn(block.defs[8]));
    EXPECT_TRUE(view.IsColumnOn(AcadAttributeDef("scale z", "", {}, 0, 0, 0, 0, 1)));
    EXPECT_FALSE(view.IsColumnOn(AcadAttributeDef("Outer Polygon Length", "", {}, 0, 0, 0, 0, 1)));
}

TEST(AcadBlockView, IsColumnOnForAttributesAndDynamicProperties) {
    AcadBlockView view;
    AcadAttributeDef door("DOOR", "", {}, 0, 0, 0, 0, 0);
    const AcadAttributeDef width("Width", "Width", {}, 0, 1, 0, 0, 2);
    EXPECT_TRUE(view.IsColumnOn(door));
    EXPECT_TRUE(view.IsColumnOn(width));
    view.selectDynProperties = 0;
    EXPECT_FALSE(view.IsColumnOn(width));
    EXPECT_TRUE(view.IsColumnOn(door));
    view.unselectedTags.Add(AcadAttDefTag("DOOR", 1, 0));
    EXPECT_TRUE(view.IsColumnOn(door));
    door.dupIndex = 1;
    EXPECT_FALSE(view.IsColumnOn(door));
    view.noValueTags.Add(AcadAttDefTag("NOTE", 0, 0));
    EXPECT_FALSE(view.IsColumnOn(AcadAttributeDef("NOTE", "", {}, 0, 0, 0, 0, 0)));
    view.showAtts = 0;
    EXPECT_FALSE(view.IsColumnOn(AcadAttributeDef("TYPE", "", {}, 0, 0, 0, 0, 0)));
}

TEST(AcadBlockView, BuildColumnsTakesSelectedListedBlocksDistinctAndSorted) {
    AcadBlockArray blocks;
    blocks.Add(Block("DOOR", {"b", "A", "c"}));
    blocks.Add(Block("WINDOW", {"A", "d"}));
    AcadBlock unticked = Block("LAMP", {"z"});
    unticked.selected = 0;
    blocks.Add(unticked);
    AcadBlock unlisted = Block("CHAIR", {"y"});
    unlisted.listed = 0;
    blocks.Add(unlisted);
    AcadBlockView view;
    view.showLayer = 1;
    blocks.BuildColumns(view);
    EXPECT_EQ(view.columns, (tables::CStringArrayEx{"Layer", "b", "A", "c", "d"}));
    view.columnSort = 0;
    blocks.BuildColumns(view);
    EXPECT_EQ(view.columns, (tables::CStringArrayEx{"A", "b", "c", "d", "Layer"}));
    view.columnSort = 1;
    blocks.BuildColumns(view);
    EXPECT_EQ(view.columns, (tables::CStringArrayEx{"Layer", "d", "c", "b", "A"}));
    view.headerStyle = 1;
    view.columns = tables::CStringArrayEx{"kept"};
    blocks.BuildColumns(view);
    EXPECT_EQ(view.columns, (tables::CStringArrayEx{"kept"}));
}

TEST(AcadBlockView, BuildColumnsDropsEmptyPromptColumnsUnderPromptAsHeader) {
    AcadBlockArray blocks;
    AcadBlock door = Block("DOOR", {"NO"});
    door.defs.AddAppend(AcadAttributeDef("NOTE", "", Point3d{9, 0, 0}, 0, 0, 0, 0, 0));
    blocks.Add(door);
    AcadBlockView view;
    view.promptAsHeader = 1;
    blocks.BuildColumns(view);
    EXPECT_EQ(view.columns, (tables::CStringArrayEx{"Prompt NO"}));
}

}  // namespace
}  // namespace attbat
