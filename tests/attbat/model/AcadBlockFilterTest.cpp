#include "attbat/model/AcadBlockFilter.h"

#include <gtest/gtest.h>

#include "ModelTestSupport.h"
#include "attbat/model/Archive.h"
#include "attbat/model/ScheduleRows.h"

namespace attbat {
namespace {

using testing::FakeDrawing;
using testing::MapSettings;
using testing::Row;

TEST(AcadBlockFilter, DefaultsLetEverythingPass) {
    const AcadBlockFilter filter;
    EXPECT_TRUE(filter.names.IsEmpty());
    EXPECT_EQ(filter.blockPattern, "");
    EXPECT_EQ(filter.incXref, 1);
    EXPECT_EQ(filter.incNested, 1);
    EXPECT_EQ(filter.currentSpaceOnly, 0);
    EXPECT_EQ(filter.incFrozen, 1);
    EXPECT_EQ(filter.incLocked, 1);
    EXPECT_EQ(filter.incOff, 1);
}

TEST(AcadBlockFilter, SettingsUseTheirValueNamesAndTrimThePattern) {
    MapSettings store;
    AcadBlockFilter filter;
    filter.blockPattern = "  DOOR*  ";
    filter.incXref = 0;
    filter.incNested = 0;
    filter.currentSpaceOnly = 1;
    filter.incFrozen = 0;  // not persisted
    filter.SaveToSettings(store);
    EXPECT_EQ(store.values.size(), 4u);
    EXPECT_EQ(store.Get("FilterBlocks"), "DOOR*");
    EXPECT_EQ(store.Get("FilterIncXref"), "0");
    EXPECT_EQ(store.Get("FilterIncNestedBlock"), "0");
    EXPECT_EQ(store.Get("FilterModelSpaceOnly"), "1");
    AcadBlockFilter loaded;
    loaded.LoadFromSettings(store);
    EXPECT_EQ(loaded.blockPattern, "DOOR*");
    EXPECT_EQ(loaded.incXref, 0);
    EXPECT_EQ(loaded.incNested, 0);
    EXPECT_EQ(loaded.currentSpaceOnly, 1);
    EXPECT_EQ(loaded.incFrozen, 1);
}

TEST(AcadBlockFilter, LoadingFromAnEmptyStoreKeepsTheMembers) {
    MapSettings store;
    AcadBlockFilter filter;
    filter.incXref = 0;
    filter.blockPattern = "W*";
    filter.LoadFromSettings(store);
    EXPECT_EQ(filter.incXref, 0);
    EXPECT_EQ(filter.blockPattern, "W*");
}

TEST(AcadBlockFilter, SerializeWritesTheTemplateOrder) {
    AcadBlockFilter filter;
    filter.incFrozen = 0;
    filter.incLocked = 2;
    filter.incNested = 3;
    filter.incOff = 4;
    filter.incXref = 5;
    filter.currentSpaceOnly = 6;
    filter.blockPattern = "D*";
    filter.names = tables::CStringArrayEx{"DOOR"};
    Archive archive = Archive::ForStoring();
    filter.Serialize(archive);
    const std::string expected =
        std::string("\0\0\0\0\2\0\0\0\3\0\0\0\4\0\0\0\5\0\0\0\6\0\0\0", 24) +
        std::string("\xFF\xFE\xFF\x02" "D\0*\0", 8) +
        std::string("\x01\x00\xFF\xFE\xFF\x04" "D\0O\0O\0R\0", 14);
    EXPECT_EQ(archive.Bytes(), expected);
}

TEST(AcadBlockFilter, SerializeRoundTrips) {
    AcadBlockFilter filter;
    filter.incFrozen = 0;
    filter.incOff = 0;
    filter.incXref = 0;
    filter.currentSpaceOnly = 1;
    filter.blockPattern = "DOOR*,WIN?";
    filter.names = tables::CStringArrayEx{"DOOR", "Fenêtre"};
    Archive archive = Archive::ForStoring();
    filter.Serialize(archive);
    AcadBlockFilter back;
    Archive reader = Archive::ForLoading(archive.Bytes());
    back.Serialize(reader);
    ASSERT_TRUE(reader.Ok()) << reader.Error();
    EXPECT_EQ(reader.Position(), archive.Bytes().size());
    EXPECT_EQ(back.incFrozen, 0);
    EXPECT_EQ(back.incLocked, 1);
    EXPECT_EQ(back.incNested, 1);
    EXPECT_EQ(back.incOff, 0);
    EXPECT_EQ(back.incXref, 0);
    EXPECT_EQ(back.currentSpaceOnly, 1);
    EXPECT_EQ(back.blockPattern, filter.blockPattern);
    EXPECT_EQ(back.names, filter.names);
}

TEST(AcadBlockFilter, FilterModelSpaceOnlyInAPaperSpaceTabKeepsTheReferencesOfThatTab) {
    FakeDrawing drawing;
    drawing.currentSpace = 0x42;  // a layout is current
    AcadBlockFilter filter;
    filter.currentSpaceOnly = 1;
    AcadBlockRef onLayout = Row("1");
    onLayout.ownerId = 0x42;
    AcadBlockRef inModel = Row("2");
    inModel.ownerId = 0x1F;
    EXPECT_TRUE(RowPassesFilter(onLayout, {}, filter, drawing));
    EXPECT_FALSE(RowPassesFilter(inModel, {}, filter, drawing));
    filter.currentSpaceOnly = 0;
    EXPECT_TRUE(RowPassesFilter(inModel, {}, filter, drawing));
}

TEST(AcadBlockFilter, RowFilterDropsNestedRowsAndLayerStates) {
    const FakeDrawing drawing;
    AcadBlockFilter filter;
    AcadBlockRef row = Row("1");
    row.topLevel = 0;
    EXPECT_TRUE(RowPassesFilter(row, {}, filter, drawing));
    filter.incNested = 0;
    EXPECT_FALSE(RowPassesFilter(row, {}, filter, drawing));
    row.topLevel = 1;
    for (int AcadLayer::*state : {&AcadLayer::frozen, &AcadLayer::locked, &AcadLayer::off}) {
        AcadBlockRef onLayer = row;
        onLayer.layer.*state = 1;
        AcadBlockFilter strict;
        EXPECT_TRUE(RowPassesFilter(onLayer, {}, strict, drawing));
        strict.incFrozen = strict.incLocked = strict.incOff = 0;
        EXPECT_FALSE(RowPassesFilter(onLayer, {}, strict, drawing));
    }
}

TEST(AcadBlockFilter, RowFilterWithALayerListPassesOnlyThoseLayers) {
    const FakeDrawing drawing;
    const AcadBlockFilter filter;
    AcadBlockRef row = Row("1");
    row.layer.name = "Walls";
    EXPECT_TRUE(RowPassesFilter(row, tables::CStringArrayEx{"DOORS", "WALLS"}, filter, drawing));
    EXPECT_FALSE(RowPassesFilter(row, tables::CStringArrayEx{"DOORS"}, filter, drawing));
}

TEST(AcadBlockFilter, BlockFilterMatchesTheTrimmedPatternWithoutCaseAndDropsXrefs) {
    AcadBlockFilter filter;
    AcadBlock door("C:\\a.dwg", "Door-12", 1, 0, 0, 0, 0, 0);
    EXPECT_TRUE(BlockPassesFilter(door, filter));
    filter.blockPattern = "  door-##  ";
    EXPECT_TRUE(BlockPassesFilter(door, filter));
    filter.blockPattern = "WIN*";
    EXPECT_FALSE(BlockPassesFilter(door, filter));
    filter.blockPattern = "   ";
    door.isXref = 1;
    EXPECT_TRUE(BlockPassesFilter(door, filter));
    filter.incXref = 0;
    EXPECT_FALSE(BlockPassesFilter(door, filter));
}

}  // namespace
}  // namespace attbat
