#include "attbat/model/AcadDatabase.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "ReaderFixture.h"
#include "attbat/model/AcadBlockFilter.h"
#include "attbat/model/AcadBlockView.h"
#include "attbat/model/CadDrawingContext.h"
#include "attbat/model/ScheduleRows.h"
#include "base/File.h"
#include "base/Path.h"
#include "host/Document.h"

namespace {

using attbat::AcadBlock;
using attbat::AcadBlockArray;

AcadBlock* Find(AcadBlockArray& blocks, const std::string& name) {
    for (AcadBlock& block : blocks)
        if (block.name == name) return &block;
    return nullptr;
}

class AcadDatabaseTest : public ReaderTest {
protected:
    AcadBlockArray Read(const std::string& file, int mleaders = 1) {
        AcadBlockArray blocks;
        MapSettings settings;
        settings.ints["ExportBlocksInMLeader"] = mleaders;
        base::Status status = attbat::ReadDrawing(blocks, file, &settings);
        EXPECT_TRUE(status.IsOk()) << status.Message();
        return blocks;
    }
};

// A drawing of `levels` blocks B0 .. Bn, each inserting the next `fan` times, the last with an
// attribute definition, and B0 inserted once in model space.
std::string NestedDrawing(int levels, int fan) {
    std::string dxf = "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n9\n$HANDSEED\n5\nFFFFFF\n0\nENDSEC\n"
                      "0\nSECTION\n2\nBLOCKS\n";
    int handle = 0x100;
    auto next = [&handle] { return fmt::format("{:X}", ++handle); };
    for (int i = 0; i < levels; ++i) {
        dxf += fmt::format("0\nBLOCK\n5\n{}\n8\n0\n2\nB{}\n70\n{}\n10\n0\n20\n0\n30\n0\n3\nB{}\n", next(), i,
                           i + 1 == levels ? 2 : 0, i);
        for (int k = 0; i + 1 < levels && k < fan; ++k)
            dxf += fmt::format("0\nINSERT\n5\n{}\n8\n0\n2\nB{}\n10\n{}\n20\n0\n30\n0\n", next(), i + 1, k);
        if (i + 1 == levels)
            dxf += fmt::format("0\nATTDEF\n5\n{}\n8\n0\n10\n0\n20\n0\n30\n0\n40\n1\n1\nx\n3\nTag?\n2\nTAG\n70\n0\n", next());
        dxf += fmt::format("0\nENDBLK\n5\n{}\n8\n0\n", next());
    }
    dxf += fmt::format("0\nENDSEC\n0\nSECTION\n2\nENTITIES\n0\nINSERT\n5\n{}\n8\n0\n2\nB0\n10\n0\n20\n0\n30\n0\n"
                       "0\nENDSEC\n0\nEOF\n", next());
    return dxf;
}

TEST_F(AcadDatabaseTest, DeepNestingGivesOneRowPerOuterInstanceInTimeOfTheRows) {
    std::string path = File("fan.dxf");
    ASSERT_TRUE(base::WriteFileAtomic(path, NestedDrawing(12, 2)));
    AcadBlockArray blocks = Read(path);
    AcadBlock* last = Find(blocks, "B11");
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->refs.GetSize(), 1 << 11);
    AcadBlock* first = Find(blocks, "B1");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->refs.GetSize(), 2);
}

TEST_F(AcadDatabaseTest, ALongChainOfBlocksIsReadWithOneRowPerBlock) {
    std::string path = File("chain.dxf");
    ASSERT_TRUE(base::WriteFileAtomic(path, NestedDrawing(5000, 1)));
    AcadBlockArray blocks = Read(path);
    AcadBlock* last = Find(blocks, "B4999");
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->refs.GetSize(), 1);
}

TEST_F(AcadDatabaseTest, NestingOfBillionsOfRowsIsRefusedBeforeAnyRowIsMade) {
    std::string path = File("deep.dxf");
    ASSERT_TRUE(base::WriteFileAtomic(path, NestedDrawing(64, 2)));
    AcadBlockArray blocks;
    base::Status status = attbat::ReadDrawing(blocks, path, nullptr);
    ASSERT_FALSE(status.IsOk());
    EXPECT_NE(status.Message().find("more than 18446744073709551614 rows"), std::string::npos) << status.Message();
    EXPECT_NE(status.Message().find("\"B63\""), std::string::npos) << status.Message();
    EXPECT_EQ(blocks.GetSize(), 0);
}

TEST_F(AcadDatabaseTest, JustOverTheRowLimitIsRefusedWithTheCount) {
    std::string path = File("over.dxf");
    ASSERT_TRUE(base::WriteFileAtomic(path, NestedDrawing(24, 2)));  // 2^23 rows of B23 alone
    AcadBlockArray blocks;
    base::Status status = attbat::ReadDrawing(blocks, path, nullptr);
    ASSERT_FALSE(status.IsOk());
    EXPECT_NE(status.Message().find("8388608 rows of the block \"B23\""), std::string::npos) << status.Message();
}

TEST_F(AcadDatabaseTest, BlocksInsertingEachOtherAreToldAndNotFollowed) {
    AcadBlockArray blocks = Read(std::string(VELMAR_CORPUS) + "/dxf/bad-insert-recursive-pair.dxf");
    EXPECT_NE(Printed().find("inserts itself through other blocks"), std::string::npos) << Printed();
}

TEST_F(AcadDatabaseTest, BlockInsertedInNoLayoutHasNoRowsAndKeepsDefinitions) {
    AcadBlockArray blocks = Read(ReaderData("nested.dxf"));
    AcadBlock* unused = Find(blocks, "UNUSED");
    ASSERT_NE(unused, nullptr);
    EXPECT_TRUE(unused->refs.IsEmpty());
    EXPECT_GE(unused->defs.IndexOfNoCase("NOTE"), 0);
    // A block held only by a block that is inserted nowhere has no rows either.
    AcadBlock* lonely = Find(blocks, "LONELY");
    ASSERT_NE(lonely, nullptr);
    EXPECT_TRUE(lonely->refs.IsEmpty());
}

TEST_F(AcadDatabaseTest, BlockNestedInABlockInsertedTwiceGivesTwoRowsWithTheSameHandleAndOwner) {
    AcadBlockArray blocks = Read(ReaderData("nested.dxf"));
    AcadBlock* inner = Find(blocks, "INNER");
    ASSERT_NE(inner, nullptr);
    ASSERT_EQ(inner->refs.GetSize(), 2);
    EXPECT_EQ(inner->refs[0].handle, inner->refs[1].handle);
    EXPECT_EQ(inner->refs[0].ownerId, inner->refs[1].ownerId);
    EXPECT_EQ(inner->refs[0].topLevel, 0);
    EXPECT_EQ(inner->refs[0].ownerName, "*Model_Space");
    EXPECT_EQ(inner->refs[0].attributes.Get("TAG", 0), "nested");
    AcadBlock* outer = Find(blocks, "OUTER");
    ASSERT_NE(outer, nullptr);
    ASSERT_EQ(outer->refs.GetSize(), 2);
    // Rows run from the top of the drawing down.
    EXPECT_GT(outer->refs[0].position.y, outer->refs[1].position.y);
    EXPECT_EQ(outer->refs[0].topLevel, 1);
}

TEST_F(AcadDatabaseTest, ConstantAttributeComesFromItsDefinition) {
    AcadBlockArray blocks = Read(ReaderData("nested.dxf"));
    AcadBlock* inner = Find(blocks, "INNER");
    ASSERT_NE(inner, nullptr);
    ASSERT_FALSE(inner->refs.IsEmpty());
    const auto& attributes = inner->refs[0].attributes;
    int kind = attributes.IndexOfTag("KIND");
    ASSERT_GE(kind, 0);
    EXPECT_EQ(attributes[kind].value, "FIXED");
    EXPECT_EQ(attributes[kind].constant, 1);
    EXPECT_EQ(inner->defs.PromptOf("TAG", attributes[attributes.IndexOfTag("TAG")].dupIndex),
              "Tag?");
}

TEST_F(AcadDatabaseTest, InvisibleReferenceIsAbsent) {
    AcadBlockArray blocks = Read(ReaderData("nested.dxf"));
    AcadBlock* vis = Find(blocks, "VIS");
    ASSERT_NE(vis, nullptr);
    ASSERT_EQ(vis->refs.GetSize(), 1);
    EXPECT_EQ(vis->refs[0].attributes.Get("ID", 0), "shown");
}

TEST_F(AcadDatabaseTest, AnonymousBlockThatIsNotDynamicIsDroppedAtAddSorted) {
    AcadBlockArray blocks = Read(ReaderData("nested.dxf"));
    for (const AcadBlock& block : blocks) EXPECT_EQ(block.name.find('*'), std::string::npos) << block.name;
}

TEST_F(AcadDatabaseTest, MultiLineAttributeValueHasNoFormattingCodesWhenReadWhole) {
    AcadBlockArray blocks = Read(ReaderData("nested.dxf"));
    AcadBlock* note = Find(blocks, "NOTE");
    ASSERT_NE(note, nullptr);
    ASSERT_EQ(note->refs.GetSize(), 1);
    EXPECT_EQ(note->refs[0].attributes.Get("BODY", 0), "First line\nSecond line");
}

TEST_F(AcadDatabaseTest, RepeatedTagsAreNumberedAndTakeTheirOwnPrompts) {
    AcadBlockArray blocks = Read(ReaderData("nested.dxf"));
    AcadBlock* dup = Find(blocks, "DUP");
    ASSERT_NE(dup, nullptr);
    ASSERT_EQ(dup->refs.GetSize(), 1);
    const auto& attributes = dup->refs[0].attributes;
    ASSERT_EQ(attributes.GetSize(), 2);
    EXPECT_EQ(attributes[1].dupIndex, 1);
    EXPECT_EQ(dup->defs.PromptOf(attributes[0].tag, attributes[0].dupIndex), "first A");
    EXPECT_EQ(dup->defs.PromptOf(attributes[1].tag, attributes[1].dupIndex), "second A");
    EXPECT_EQ(attributes.Get("A", 1), "two");
}

TEST_F(AcadDatabaseTest, UnderPromptAsHeaderRepeatedTagsAreColumnsOfTheirOwnPrompts) {
    AcadBlockArray blocks = Read(ReaderData("nested.dxf"));
    attbat::AcadBlockView view;
    view.promptAsHeader = 1;
    view.showName = 0;
    view.showCount = 0;
    view.headerStyle = 1;  // the block's own columns
    attbat::RowTable rows;
    attbat::RowTable keys;
    attbat::BuildRows(blocks, rows, keys, view, attbat::AcadBlockFilter(), {"DUP"},
                      attbat::CadDrawingContext());
    ASSERT_EQ(rows.GetSize(), 2);
    EXPECT_EQ(rows[0], (tables::CStringArrayEx{"Block Name", "first A", "second A"}));
    EXPECT_EQ(rows[1], (tables::CStringArrayEx{"DUP", "one", "two"}));
}

TEST_F(AcadDatabaseTest, BlockThatCameWithAnXrefIsReadThroughTheXrefUnderItsPlainName) {
    AcadBlockArray blocks = Read(ReaderData("xref_host.dxf"));
    for (const AcadBlock& block : blocks) EXPECT_EQ(block.name.find('|'), std::string::npos) << block.name;
    AcadBlock* door = Find(blocks, "DOOR");
    ASSERT_NE(door, nullptr);
    ASSERT_EQ(door->refs.GetSize(), 1);
    EXPECT_EQ(door->isXref, 1);
    EXPECT_EQ(base::FileName(door->refs[0].dwgFile), "xref_child.dxf");
    EXPECT_EQ(door->refs[0].attributes.Get("NUMBER", 0), "D1");
}

TEST_F(AcadDatabaseTest, UnresolvedXrefPrintsItsLineAndTheReadGoesOn) {
    AcadBlockArray blocks = Read(ReaderData("xref_host.dxf"));
    EXPECT_NE(Printed().find("The Xref \"missing.dwg\" is not resolved."), std::string::npos) << Printed();
    EXPECT_NE(Find(blocks, "DOOR"), nullptr);
}

TEST_F(AcadDatabaseTest, MultileaderWithBlockContentGivesARowWhenSwitchedOn) {
    AcadBlockArray on = Read(ReaderData("mleader.dxf"), 1);
    AcadBlock* bubble = Find(on, "BUBBLE");
    ASSERT_NE(bubble, nullptr);
    ASSERT_EQ(bubble->refs.GetSize(), 1);
    EXPECT_EQ(bubble->refs[0].attributes.Get("NUM", 0), "42");
    EXPECT_EQ(bubble->refs[0].lunits, -1);
    AcadBlockArray off = Read(ReaderData("mleader.dxf"), 0);
    AcadBlock* none = Find(off, "BUBBLE");
    ASSERT_NE(none, nullptr);
    EXPECT_TRUE(none->refs.IsEmpty());
}

TEST_F(AcadDatabaseTest, MultileaderWithTextContentIsRefused) {
    auto db = host::ReadSideDatabase(ReaderData("mleader.dxf"));
    ASSERT_TRUE(db);
    AcadBlockArray blocks;
    int refused = 0;
    for (const cad::Entity& e : db.Value()->Select({{0, "MULTILEADER"}})) {
        cad::MLeader leader(e.GetDatabase(), e.Index());
        if (leader.ContentType() != cad::MLeaderContentKind::Block) {
            EXPECT_FALSE(attbat::ReadOneMLeader(blocks, leader, "x").IsOk());
            ++refused;
        }
    }
    EXPECT_EQ(refused, 1);
}

TEST_F(AcadDatabaseTest, CurrentDocumentIsReadForAnEmptyNameOrItsOwnName) {
    std::string path = Copy(ReaderData("nested.dxf"));
    ASSERT_TRUE(host::DocumentManager::Instance().OpenCurrent(path));
    AcadBlockArray blocks = Read("");
    ASSERT_NE(Find(blocks, "OUTER"), nullptr);
    EXPECT_EQ(Find(blocks, "OUTER")->refs[0].dwgFile, path);
    AcadBlockArray again;
    std::string upper = base::Folder(path) + "/NESTED.DXF";
    EXPECT_TRUE(attbat::ReadDrawing(again, upper, nullptr).IsOk());
    EXPECT_EQ(again.GetSize(), blocks.GetSize());
}

TEST_F(AcadDatabaseTest, UnreadableFileSaysWhy) {
    AcadBlockArray blocks;
    base::Status status = attbat::ReadDrawing(blocks, "/nonexistent/plan.dxf", nullptr);
    EXPECT_FALSE(status.IsOk());
    EXPECT_FALSE(status.Message().empty());
}

TEST_F(AcadDatabaseTest, SelectionReadGivesTopLevelRowsWithoutUnits) {
    auto db = host::ReadSideDatabase(ReaderData("nested.dxf"));
    ASSERT_TRUE(db);
    cad::BlockRecord outer = db.Value()->FindBlock("OUTER");
    auto refs = outer.References();
    ASSERT_EQ(refs.size(), 2u);
    AcadBlockArray blocks;
    attbat::ReadSelection(blocks, refs, "sel.dxf");
    AcadBlock* block = Find(blocks, "OUTER");
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->refs.GetSize(), 2);
    EXPECT_EQ(block->refs[0].lunits, -1);
    AcadBlock* inner = Find(blocks, "INNER");
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->refs.GetSize(), 2);
}

TEST_F(AcadDatabaseTest, PropertyTextFollowsTheValueType) {
    attbat::DynamicProperty p;
    p.type = 40;
    p.units = attbat::DynamicProperty::Units::Distance;
    p.real = 0;
    EXPECT_EQ(attbat::PropertyText(p, 2, 0, nullptr), "0");
    p.real = 12.5;
    EXPECT_EQ(attbat::PropertyText(p, 2, 0, nullptr), "12.5000");
    p.units = attbat::DynamicProperty::Units::None;
    EXPECT_EQ(attbat::PropertyText(p, 2, 0, nullptr), "12.5");
    p.type = 70;
    p.integer = 7;
    EXPECT_EQ(attbat::PropertyText(p, 2, 0, nullptr), "7");
    p.type = 1;
    p.text = "Open";
    EXPECT_EQ(attbat::PropertyText(p, 2, 0, nullptr), "Open");
    p.type = 5;
    EXPECT_EQ(attbat::PropertyText(p, 2, 0, nullptr), "");
}

TEST_F(AcadDatabaseTest, AnonymousCopyOfADynamicBlockLandsUnderItsTrueName) {
    AcadBlockArray blocks = Read(std::string(VELMAR_CORPUS) + "/dxf/dynblock-visibility-ac1032.dxf");
    bool sawCopy = false;
    for (const AcadBlock& block : blocks) {
        EXPECT_EQ(block.name.find('*'), std::string::npos);
        if (!block.refs.IsEmpty()) sawCopy = true;
    }
    EXPECT_TRUE(sawCopy);
}

TEST_F(AcadDatabaseTest, EachReferenceOfADynamicBlockCarriesTheStateTheHostLeftIt) {
    AcadBlockArray blocks = Read(std::string(VELMAR_CORPUS) + "/dxf/dynblock-visibility-ac1032.dxf");
    std::vector<std::string> states;
    for (const AcadBlock& block : blocks) {
        if (block.name != "block_visibility_parameter") continue;
        for (const auto& row : block.refs) {
            for (const auto& value : row.attributes)
                if (value.tag == "Test visibility") states.push_back(value.value);
        }
    }
    std::sort(states.begin(), states.end());
    EXPECT_EQ(states, (std::vector<std::string>{"HideAll", "ShowAll", "VisibilityState0", "VisibilityState1"}));
}

TEST_F(AcadDatabaseTest, EveryCorpusDrawingReadsOrSaysWhy) {
    int read = 0;
    for (const auto& entry : std::filesystem::directory_iterator(std::string(VELMAR_CORPUS) + "/dxf")) {
        if (entry.path().extension() != ".dxf") continue;
        AcadBlockArray blocks;
        base::Status status = attbat::ReadDrawing(blocks, entry.path().string(), nullptr);
        if (status.IsOk()) ++read;
        else EXPECT_FALSE(status.Message().empty()) << entry.path();
        for (const AcadBlock& block : blocks)
            for (const auto& row : block.refs) EXPECT_FALSE(row.handle.empty() && block.name.empty());
    }
    EXPECT_GT(read, 40);
}

}  // namespace

namespace {

TEST(ReadBlocksWithRefs, KeepsOnlyTheListedReferencesAndAddsTheNestedBlocks) {
    auto db = host::ReadSideDatabase(ReaderData("nested.dxf"));
    ASSERT_TRUE(db);
    cad::BlockRecord outer = db.Value()->FindBlock("OUTER");
    auto refs = outer.References();
    ASSERT_EQ(refs.size(), 2u);
    attbat::AcadBlockArray blocks;
    attbat::ReadBlocksWithRefs(blocks, {outer}, {refs[1]}, "x.dxf");
    attbat::AcadBlock* block = blocks.FindByName("OUTER");
    ASSERT_NE(block, nullptr);
    ASSERT_EQ(block->refs.GetSize(), 1);
    EXPECT_EQ(block->refs[0].handle, refs[1].HandleString());
    attbat::AcadBlock* inner = blocks.FindByName("INNER");
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->refs.GetSize(), 1);
    EXPECT_EQ(inner->refs[0].attributes.Get("TAG", 0), "nested");
}

}  // namespace
