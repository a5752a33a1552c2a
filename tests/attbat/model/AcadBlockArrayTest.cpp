#include "attbat/model/AcadBlockArray.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "ModelTestSupport.h"
#include "attbat/model/AcadBlockView.h"
#include "base/Format.h"

namespace attbat {
namespace {

using testing::Att;
using testing::Block;
using testing::Row;

TEST(AcadBlockRef, DefaultsAndValueConstructor) {
    const AcadBlockRef empty;
    EXPECT_EQ(empty.scale.x, 1.0);
    EXPECT_EQ(empty.scale.z, 1.0);
    EXPECT_EQ(empty.topLevel, 1);
    EXPECT_EQ(empty.lunits, -1);
    EXPECT_EQ(empty.aunits, -1);
    EXPECT_EQ(empty.changedMask, 0);
    EXPECT_EQ(empty.outerArea, -1.0);
    const AcadBlockRef row("C:\\a.dwg", Point3d{1, 2, 3}, Scale3d{2, 2, 2},
                           AcadLayer("WALLS", 1, 0, 0), 0.5, "2F3", 0, 0x22, 4, 1, 12.5, "Layout1");
    EXPECT_EQ(row.handle, "2F3");
    EXPECT_EQ(row.layer.name, "WALLS");
    EXPECT_EQ(row.topLevel, 0);
    EXPECT_EQ(row.ownerId, 0x22u);
    EXPECT_EQ(row.ownerName, "Layout1");
    EXPECT_EQ(row.lunits, 4);
    EXPECT_EQ(row.changedMask, 0);
}

TEST(AcadBlockRefArray, ThreeReferencesAtY5_9_5ComeOutAs9Then5FirstThen5Second) {
    AcadBlockRefArray refs;
    refs.AddSorted(Row("A", 5));
    refs.AddSorted(Row("B", 9));
    refs.AddSorted(Row("C", 5));
    ASSERT_EQ(refs.GetSize(), 3);
    EXPECT_EQ(refs[0].handle, "B");
    EXPECT_EQ(refs[1].handle, "A");
    EXPECT_EQ(refs[2].handle, "C");
}

TEST(AcadBlockRefArray, SortTopDownGivesTheOrderOfRepeatedAddSorted) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> ys(0, 20);
    AcadBlockRefArray inserted;
    AcadBlockRefArray sorted;
    for (int i = 0; i < 500; ++i) {
        AcadBlockRef row = Row(std::to_string(i), ys(random));
        row.attributes.Add(AcadAttribute("NO", "value of " + row.handle, 0));
        inserted.AddSorted(row);
        sorted.Add(row);
    }
    sorted.SortTopDown();
    ASSERT_EQ(sorted.GetSize(), inserted.GetSize());
    for (int i = 0; i < sorted.GetSize(); ++i) {
        EXPECT_EQ(sorted[i].handle, inserted[i].handle);
        // Rows move whole along the order's cycles.
        ASSERT_EQ(sorted[i].attributes.GetSize(), 1);
        EXPECT_EQ(sorted[i].attributes[0].value, "value of " + sorted[i].handle);
    }
}

TEST(AcadBlockRefArray, FindByHandleAndFileIgnoresCaseAndScansFromBothEnds) {
    AcadBlockRefArray refs;
    refs.Add(Row("2F3", 0, "C:\\a.dwg"));
    refs.Add(Row("2F4", 0, "C:\\a.dwg"));
    refs.Add(Row("2F3", 0, "C:\\b.dwg"));
    refs.Add(Row("2f3", 0, "c:\\A.DWG"));
    EXPECT_EQ(refs.FindByHandleAndFile("C:\\b.dwg", "2F3"), &refs[2]);
    // Low end first within a step: index 0 before index 3.
    EXPECT_EQ(refs.FindByHandleAndFile("C:\\A.dwg", "2f3"), &refs[0]);
    EXPECT_EQ(refs.FindByHandleAndFile("C:\\a.dwg", "2F4"), &refs[1]);
    EXPECT_EQ(refs.FindByHandleAndFile("C:\\a.dwg", "999"), nullptr);
    EXPECT_EQ(AcadBlockRefArray().FindByHandleAndFile("C:\\a.dwg", "2F3"), nullptr);
}

TEST(AcadBlockRefArray, AddValueCollectsValuesPerRowAndMarksProperties) {
    AcadBlockRefArray list;
    list.AddValue("C:\\a.dwg", "2F3", "DOOR", " D1 ", false);
    list.AddValue("C:\\a.dwg", "2F3", "PosX", "10", true);
    list.AddValue("C:\\b.dwg", "2F3", "DOOR", "D2", false);
    list.AddValue("C:\\b.dwg", "2F3", "", "ignored", false);
    list.AddValue("C:\\a.dwg", "2F3", "Layer", "L", false);
    ASSERT_EQ(list.GetSize(), 2);
    EXPECT_EQ(list[0].dwgFile, "C:\\a.dwg");
    EXPECT_EQ(list[0].handle, "2F3");
    ASSERT_EQ(list[0].attributes.GetSize(), 3);
    EXPECT_EQ(list[0].attributes[0].value, "D1");
    EXPECT_EQ(list[0].attributes[0].kind, 0);
    EXPECT_EQ(list[0].attributes[1].kind, 1);
    EXPECT_EQ(list[0].attributes[2].kind, 0);
    EXPECT_EQ(list[1].attributes.GetSize(), 1);
}

TEST(AcadBlock, StartsWithTheNinePropertyColumnsAndBothFlagsSet) {
    const AcadBlock block;
    ASSERT_EQ(block.defs.GetSize(), 9);
    EXPECT_EQ(block.defs[0].tag, "Position X");
    EXPECT_EQ(block.defs[8].tag, "Outer Polygon Area");
    for (const AcadAttributeDef& def : block.defs) {
        EXPECT_EQ(def.kind, 1);
        EXPECT_EQ(def.prompt, "");
        EXPECT_EQ(def.dupIndex, 0);
    }
    EXPECT_EQ(block.selected, 1);
    EXPECT_EQ(block.listed, 1);
    const AcadBlock named("C:\\a.dwg", "DOOR", 1, 0, 1, 0, 0, 0);
    EXPECT_EQ(named.defs.GetSize(), 9);
    EXPECT_EQ(named.isXref, 1);
    EXPECT_EQ(named.name, "DOOR");
}

TEST(AcadBlockArray, AnAnonymousBlockThatKeptItsAnonymousNameNeverEntersTheArray) {
    AcadBlockArray blocks;
    EXPECT_EQ(blocks.AddSorted(AcadBlock("C:\\a.dwg", "*U12", 1, 1, 0, 0, 0, 0)), -1);
    EXPECT_TRUE(blocks.IsEmpty());
    // A dynamic block's reference read under its real name stays.
    EXPECT_EQ(blocks.AddSorted(AcadBlock("C:\\a.dwg", "DOOR", 1, 1, 0, 0, 0, 0)), 0);
    EXPECT_EQ(blocks.GetSize(), 1);
}

TEST(AcadBlockArray, AddSortedPutsBlocksWithRowsTopDownAndOthersAtTheEnd) {
    AcadBlockArray blocks;
    AcadBlock low = Block("LOW", {});
    low.refs.Add(Row("1", 1));
    AcadBlock high = Block("HIGH", {});
    high.refs.Add(Row("2", 8));
    blocks.AddSorted(Block("EMPTY", {}));
    blocks.AddSorted(low);
    blocks.AddSorted(high);
    blocks.AddSorted(Block("EMPTY2", {}));
    ASSERT_EQ(blocks.GetSize(), 4);
    EXPECT_EQ(blocks[0].name, "EMPTY");
    EXPECT_EQ(blocks[1].name, "HIGH");
    EXPECT_EQ(blocks[2].name, "LOW");
    EXPECT_EQ(blocks[3].name, "EMPTY2");
}

// Inserting each block before the first block with rows whose first row lies lower, one scan
// per block: the rule AddAllSorted must give the result of.
void InsertByScan(std::vector<AcadBlock>& into, AcadBlock block) {
    if (block.isAnonymous && block.name.find('*') != std::string::npos) return;
    std::size_t index = into.size();
    if (!block.refs.IsEmpty()) {
        for (std::size_t i = 0; i < into.size(); ++i) {
            if (!into[i].refs.IsEmpty() && into[i].refs[0].position.y < block.refs[0].position.y) {
                index = i;
                break;
            }
        }
    }
    into.insert(into.begin() + static_cast<std::ptrdiff_t>(index), std::move(block));
}

TEST(AcadBlockArray, AddingManyAtOnceGivesTheOrderOfAddingEachByAScan) {
    std::mt19937 random(11);
    std::uniform_int_distribution<int> ys(-5, 5), kinds(0, 9);
    for (int round = 0; round < 200; ++round) {
        // Any array to start from, not only one built in order.
        AcadBlockArray blocks;
        std::vector<AcadBlock> expected;
        std::vector<AcadBlock> added;
        const int start = round % 7, count = round % 23;
        for (int i = 0; i < start + count; ++i) {
            int kind = kinds(random);
            AcadBlock block = Block((kind == 0 ? "*U" : "B") + std::to_string(i), {});
            block.isAnonymous = kind == 0;
            if (kind == 1) block.refs.Add(Row("n", std::nan("")));
            else if (kind > 3) block.refs.Add(Row("r", ys(random)));
            if (i < start) {
                blocks.Add(block);
                expected.push_back(block);
            } else {
                added.push_back(block);
            }
        }
        for (const AcadBlock& block : added) InsertByScan(expected, block);
        std::vector<int> indices = blocks.AddAllSorted(added);
        ASSERT_EQ(blocks.GetSize(), static_cast<int>(expected.size())) << round;
        for (int i = 0; i < blocks.GetSize(); ++i) EXPECT_EQ(blocks[i].name, expected[i].name) << round;
        for (std::size_t k = 0; k < added.size(); ++k) {
            if (indices[k] < 0) EXPECT_NE(added[k].name.find('*'), std::string::npos);
            else EXPECT_EQ(blocks[indices[k]].name, added[k].name) << round;
        }
    }
}

TEST(AcadBlockArray, FindByNameWithAnEmptyNameReturnsTheFirstNormalBlock) {
    AcadBlockArray blocks;
    blocks.Add(AcadBlock("C:\\a.dwg", "*Model_Space", 0, 0, 0, 0, 1, 0));
    blocks.Add(AcadBlock("C:\\a.dwg", "XREF", 0, 0, 1, 0, 0, 1));
    blocks.Add(AcadBlock("C:\\a.dwg", "Door", 1, 0, 0, 0, 0, 0));
    blocks.Add(AcadBlock("C:\\b.dwg", "DOOR", 1, 0, 0, 0, 0, 0));
    EXPECT_EQ(blocks.FindByName(""), &blocks[2]);
    EXPECT_EQ(blocks.FindByName("door"), &blocks[2]);
    EXPECT_EQ(blocks.FindByName("xref"), nullptr);
    EXPECT_EQ(blocks.FindByName("*model_space"), nullptr);
    std::vector<AcadBlock*> all;
    blocks.FindAllByName("DOOR", all);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[1], &blocks[3]);
}

TEST(AcadBlockArray, NamesLayersAndTagsAreDistinctInOrderOfFirstSight) {
    AcadBlockArray blocks;
    AcadBlock door = Block("DOOR", {"NO", "TYPE", "NO"});
    AcadBlockRef row = Row("1");
    row.layer.name = "WALLS";
    row.attributes.Add(Att("NO", "1"));
    row.attributes.Add(Att("EXTRA", "e"));
    door.refs.Add(row);
    blocks.Add(door);
    blocks.Add(Block("Window", {"NO", "W"}));
    AcadBlock second = Block("door", {"TYPE"}, "C:\\b.dwg");
    AcadBlockRef other = Row("2", 0, "C:\\b.dwg");
    other.layer.name = "walls";
    second.refs.Add(other);
    blocks.Add(second);

    tables::CStringArrayEx names;
    blocks.NamesWithRefs(names, false);
    EXPECT_EQ(names, (tables::CStringArrayEx{"DOOR", "Window"}));
    names.RemoveAll();
    blocks.NamesWithRefs(names, true);
    EXPECT_EQ(names, (tables::CStringArrayEx{"DOOR"}));

    tables::CStringArrayEx layers;
    blocks.AllLayerNames(layers);
    EXPECT_EQ(layers, (tables::CStringArrayEx{"WALLS"}));

    tables::CStringArrayEx tags;
    blocks.AllTags(tags, tables::CStringArrayEx{"door"}, false, false);
    EXPECT_EQ(tags, (tables::CStringArrayEx{"NO", "TYPE"}));
    tags.RemoveAll();
    blocks.AllTags(tags, {}, true, false);
    EXPECT_EQ(tags, (tables::CStringArrayEx{"NO", "TYPE", "W"}));
    tags.RemoveAll();
    blocks.AllTags(tags, tables::CStringArrayEx{"Window"}, false, true);
    EXPECT_EQ(tags.GetSize(), 11);

    AcadAttDefTagArray defTags;
    blocks.AllDefTags(defTags, tables::CStringArrayEx{"DOOR"}, false, false);
    ASSERT_EQ(defTags.GetSize(), 3);
    EXPECT_EQ(defTags[2].tag, "NO");
    EXPECT_EQ(defTags[2].dupIndex, 1);

    tables::CStringArrayEx columns;
    blocks.AllColumnNames(columns, tables::CStringArrayEx{"DOOR"}, false, false);
    EXPECT_EQ(columns, (tables::CStringArrayEx{"NO", "TYPE", "NO_Dup(1)", "EXTRA"}));
}

TEST(AcadBlockArray, ValuesOfTagAreDistinct) {
    AcadBlockArray blocks;
    AcadBlock door = Block("DOOR", {"TYPE"});
    for (const char* value : {"A", "B", "A", "a"}) {
        AcadBlockRef row = Row(value);
        row.attributes.Add(Att("TYPE", value));
        door.refs.Add(row);
    }
    blocks.Add(door);
    tables::CStringArrayEx values;
    blocks.ValuesOfTag("door", "TYPE", values);
    EXPECT_EQ(values, (tables::CStringArrayEx{"A", "B", "a"}));
}

TEST(AcadBlockArray, CountValueCountsRowsOrMatchingValuesByLayer) {
    AcadBlockArray blocks;
    AcadBlock here = Block("DOOR", {"TYPE"}, "C:\\a.dwg");
    AcadBlock there = Block("DOOR", {"TYPE"}, "C:\\b.dwg");
    for (auto [layer, value] : {std::pair{"A", "X"}, {"A", "x"}, {"B", "X"}}) {
        AcadBlockRef row = Row("1");
        row.layer.name = layer;
        row.attributes.Add(Att("TYPE", value));
        here.refs.Add(row);
        there.refs.Add(row);
    }
    blocks.Add(here);
    blocks.Add(there);
    blocks.Add(Block("DOOR", {"TYPE"}, ""));
    EXPECT_EQ(blocks.CountValue("door", "B", "", "", false, "C:\\a.dwg"), 6);
    EXPECT_EQ(blocks.CountValue("DOOR", "*All*", "TYPE", "X", false, ""), 4);
    EXPECT_EQ(blocks.CountValue("DOOR", "", "TYPE", "X", false, ""), 4);
    EXPECT_EQ(blocks.CountValue("DOOR", "A", "TYPE", "X", false, ""), 2);
    EXPECT_EQ(blocks.CountValue("DOOR", "A", "type", "X", false, ""), 0);
    EXPECT_EQ(blocks.CountValue("DOOR", "*All*", "TYPE", "X", true, "c:\\A.dwg"), 2);
    EXPECT_EQ(blocks.CountValue("DOOR", "*All*", "", "", true, "C:\\a.dwg"), 3);
}

TEST(AcadBlockArray, RemoveFileDropsEveryBlockOfThatDrawing) {
    AcadBlockArray blocks;
    blocks.Add(Block("A", {}, "C:\\a.dwg"));
    blocks.Add(Block("B", {}, "C:\\b.dwg"));
    blocks.Add(Block("C", {}, "C:\\A.DWG"));
    blocks.RemoveFile("C:\\a.dwg");
    ASSERT_EQ(blocks.GetSize(), 1);
    EXPECT_EQ(blocks[0].name, "B");
}

TEST(AcadBlockArray, RemoveMissingTagsKeepsTagsWithoutAnyValue) {
    AcadBlockArray blocks;
    AcadBlock door = Block("DOOR", {"NO", "TYPE", "NOTE"});
    AcadBlockRef row = Row("1");
    row.attributes.Add(Att("NO", "1"));
    row.attributes.Add(Att("TYPE", ""));
    door.refs.Add(row);
    blocks.Add(door);
    AcadBlock window = Block("WINDOW", {"NOTE"});
    AcadBlockRef windowRow = Row("2");
    windowRow.attributes.Add(Att("NOTE", "n"));
    window.refs.Add(windowRow);
    blocks.Add(window);
    AcadAttDefTagArray tags;
    blocks.AllDefTags(tags, tables::CStringArrayEx{"DOOR"}, false, false);
    AcadAttDefTagArray missing;
    blocks.RemoveMissingTags(tables::CStringArrayEx{"door"}, tags, missing);
    ASSERT_EQ(missing.GetSize(), 2);
    EXPECT_EQ(missing[0].tag, "TYPE");
    EXPECT_EQ(missing[1].tag, "NOTE");
}

TEST(AcadBlockArray, RemoveMissingTagsTakesAValueOfAnyRowOfAnyChosenBlockAndTellsDuplicatesApart) {
    AcadBlockArray blocks;
    AcadBlock door = Block("DOOR", {"NO", "TYPE"});
    for (int i = 0; i < 50; ++i) {
        AcadBlockRef row = Row(std::to_string(i + 10));
        row.attributes.Add(Att("NO", std::to_string(i)));
        row.attributes.Add(Att("NO", "", 1));
        row.attributes.Add(Att("TYPE", ""));
        door.refs.Add(row);
    }
    blocks.Add(door);
    // A value of a block not chosen counts for nothing; the last row of a chosen one counts.
    AcadBlock window = Block("WINDOW", {"TYPE"});
    AcadBlockRef windowRow = Row("2");
    windowRow.attributes.Add(Att("NO", "", 1));
    windowRow.attributes.Add(Att("TYPE", "W"));
    window.refs.Add(windowRow);
    blocks.Add(window);
    AcadBlock gate = Block("GATE", {"NO"});
    gate.refs.Add(Row("3"));
    AcadBlockRef last = Row("4");
    last.attributes.Add(Att("NO", "9", 1));
    gate.refs.Add(last);
    blocks.Add(gate);
    AcadAttDefTagArray tags;
    tags.Add(AcadAttDefTag("NO", 0, 0));
    tags.Add(AcadAttDefTag("NO", 1, 0));
    tags.Add(AcadAttDefTag("TYPE", 0, 0));
    AcadAttDefTagArray missing;
    blocks.RemoveMissingTags(tables::CStringArrayEx{"DOOR"}, tags, missing);
    ASSERT_EQ(missing.GetSize(), 2);
    EXPECT_EQ(missing[0].tag, "NO");
    EXPECT_EQ(missing[0].dupIndex, 1);
    EXPECT_EQ(missing[1].tag, "TYPE");
    missing.RemoveAll();
    blocks.RemoveMissingTags(tables::CStringArrayEx{"Door", "gate"}, tags, missing);
    ASSERT_EQ(missing.GetSize(), 1);
    EXPECT_EQ(missing[0].tag, "TYPE");
}

TEST(AcadBlockArray, RemoveMissingTagsFindsValuesWhateverPlaceEachReferenceGivesThem) {
    AcadBlockArray blocks;
    AcadBlock door = Block("DOOR", {"NO", "TYPE", "NOTE"});
    AcadBlockRef first = Row("1");
    first.attributes.Add(Att("NO", "1"));
    first.attributes.Add(Att("TYPE", ""));
    door.refs.Add(first);
    // The same places hold other tags here, and one more value than before.
    AcadBlockRef second = Row("2");
    second.attributes.Add(Att("TYPE", "T"));
    second.attributes.Add(Att("NO", ""));
    second.attributes.Add(Att("OTHER", "x"));
    door.refs.Add(second);
    AcadBlockRef third = Row("3");
    third.attributes.Add(Att("NO", "3"));
    third.attributes.Add(Att("NOTE", ""));
    door.refs.Add(third);
    blocks.Add(door);
    AcadAttDefTagArray tags;
    tags.Add(AcadAttDefTag("NO", 0, 0));
    tags.Add(AcadAttDefTag("TYPE", 0, 0));
    tags.Add(AcadAttDefTag("NOTE", 0, 0));
    AcadAttDefTagArray missing;
    blocks.RemoveMissingTags(tables::CStringArrayEx{"DOOR"}, tags, missing);
    ASSERT_EQ(missing.GetSize(), 1);
    EXPECT_EQ(missing[0].tag, "NOTE");
}

}  // namespace
}  // namespace attbat
