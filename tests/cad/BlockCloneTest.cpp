#include "cad/BlockClone.h"

#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "CloneFixtures.h"
#include "cad/DrawOrder.h"

namespace {

using cad::BlockRecord;
using cad::Entity;
using cad::Handle;
using cadtest::Load;
using clonetest::Types;

Handle MaxHandle(cad::Database& db) {
    Handle max = 0;
    for (const cad::Object& o : db.Objects())
        max = std::max(max, o.GetHandle());
    return max;
}

struct Versions {
    std::string source, target;
};

void PrintTo(const Versions& v, std::ostream* os) {
    *os << v.source << " into " << v.target;
}

class BlockCloneTest : public ::testing::TestWithParam<Versions> {
protected:
    void SetUp() override {
        source = Load(clonetest::Source(GetParam().source), "source.dxf");
        target = Load(clonetest::Target(GetParam().target), "target.dxf");
        ASSERT_TRUE(source && target);
        sourceBytes = source->Write();
        targetBytes = target->Write();
        seedBefore = target->HandleSeed();
        auto copy = cad::CloneBlock(source->FindBlock("Door"), *target, &mapping);
        ASSERT_TRUE(copy) << copy.GetStatus().Message();
        door = *copy;
    }
    Entity EntityOfType(const std::string& type, int nth = 0) {
        for (const Entity& e : door.Entities())
            if (e.Type() == type && nth-- == 0)
                return e;
        return Entity();
    }

    std::unique_ptr<cad::Database> source, target;
    std::string sourceBytes, targetBytes;
    Handle seedBefore = 0;
    cad::IdMapping mapping;
    BlockRecord door;
};

TEST_P(BlockCloneTest, CopiesTheEntitiesInOrderWithTheirGeometry) {
    EXPECT_EQ(door.Name(), "Door");
    EXPECT_EQ(door, target->FindBlock("door"));
    EXPECT_EQ(Types(door.Entities()),
              (std::vector<std::string>{"LINE", "TEXT", "INSERT", "INSERT", "CIRCLE"}));
    EXPECT_EQ(door.BasePoint(), (cad::Point3{1, 2, 0}));
    cad::Line line(target.get(), EntityOfType("LINE").Index());
    EXPECT_EQ(line.Start(), (cad::Point3{1, 2, 0}));
    EXPECT_EQ(line.End(), (cad::Point3{3, 2, 0}));
    cad::BlockReference knob(target.get(), EntityOfType("INSERT").Index());
    ASSERT_EQ(knob.Attributes().size(), 1u);
    EXPECT_EQ(knob.Attributes()[0].TextString(), "brass");
    EXPECT_EQ(knob.Attributes()[0].OwnerHandle(), knob.GetHandle());
    for (const Entity& e : door.Entities())
        EXPECT_EQ(e.OwnerHandle(), door.GetHandle()) << e.Type();
    EXPECT_EQ(door.BlockBegin().OwnerHandle(), door.GetHandle());
}

TEST_P(BlockCloneTest, ALayerOfTheSameNameWithoutRegardToCaseIsUsedAsItIs) {
    EXPECT_EQ(target->TableRecords("LAYER").size(), 2u);
    EXPECT_FALSE(target->FindLayer("Unused"));
    EXPECT_EQ(EntityOfType("LINE").LayerName(), "Walls");
    EXPECT_EQ(target->FindLayer("Walls").Color(), 1);  // the target's own
    EXPECT_EQ(mapping.Lookup(0x11), target->FindLayer("WALLS").GetHandle());
    EXPECT_FALSE(mapping.IsCloned(0x11));
}

TEST_P(BlockCloneTest, LineTypesTextStylesAndApplicationsTheTargetLacksComeAlong) {
    cad::SymbolRecord dashed = target->FindRecord("LTYPE", "DASHED");
    ASSERT_TRUE(dashed);
    EXPECT_EQ(dashed.GetText(3), "__ __");
    // The complex line type's shape file style comes with it, matched by file, not by name.
    cad::Object shapes = target->ObjectByHandle(dashed.GetHandleValue(340));
    ASSERT_TRUE(shapes);
    EXPECT_EQ(shapes.Type(), "STYLE");
    EXPECT_EQ(shapes.GetText(3), "ltypeshp.shx");
    EXPECT_EQ(shapes.OwnerHandle(), 0x3u);  // the target's STYLE table
    EXPECT_EQ(dashed.OwnerHandle(), 0x5u);  // its LTYPE table
    cad::SymbolRecord fancy = target->FindRecord("STYLE", "Fancy");
    ASSERT_TRUE(fancy);
    EXPECT_EQ(fancy.GetText(3), "romans.shx");
    EXPECT_EQ(fancy.OwnerHandle(), 0x3u);
    EXPECT_EQ(target->TableRecords("STYLE").size(), 3u);
    EXPECT_EQ(target->ObjectByHandle(0x3).GetInt(70), 3);  // the table counts them
    EXPECT_TRUE(target->FindRecord("APPID", "VELMAR_TEST"));
}

TEST_P(BlockCloneTest, AnExistingNestedBlockIsUsedAndAnAnonymousOneCopiedUnderANewName) {
    BlockRecord knob = target->FindBlock("Knob");
    EXPECT_EQ(knob.Name(), "KNOB");
    EXPECT_EQ(Types(knob.Entities()), std::vector<std::string>{"LINE"});
    EXPECT_EQ(cad::BlockReference(target.get(), EntityOfType("INSERT", 0).Index()).Block(), knob);
    cad::BlockReference anonymous(target.get(), EntityOfType("INSERT", 1).Index());
    EXPECT_EQ(anonymous.BlockName(), "*U2");
    ASSERT_TRUE(anonymous.Block());
    EXPECT_EQ(anonymous.Block().BlockBegin().GetText(3), "*U2");
    EXPECT_EQ(Types(anonymous.Block().Entities()), std::vector<std::string>{"LINE"});
    EXPECT_EQ(cad::Line(target.get(), anonymous.Block().Entities()[0].Index()).End(),
              (cad::Point3{0, 1, 0}));
    EXPECT_EQ(Types(target->FindBlock("*U1").Entities()),
              std::vector<std::string>{"LINE"});  // the target's own
}

TEST_P(BlockCloneTest, EveryHandleInsideTheCopiesIsTranslated) {
    Entity line = EntityOfType("LINE");
    Entity circle = EntityOfType("CIRCLE");
    // Extended data names the copied LINE; the reactor naming a group that stayed behind goes.
    cad::TagList xdata = circle.Xdata("VELMAR_TEST");
    ASSERT_EQ(xdata.size(), 3u);
    EXPECT_EQ(xdata[2], (cad::Tag{1005, line.HandleString()}));
    for (const cad::Tag& t : circle.Tags())
        EXPECT_NE(t.value, "{ACAD_REACTORS");
    // The extension dictionary and what it owns are copies, owned by the copies.
    cad::Dictionary dict = circle.ExtensionDictionary();
    ASSERT_TRUE(dict);
    EXPECT_EQ(dict.OwnerHandle(), circle.GetHandle());
    cad::Object xrecord = dict.Get("DATA");
    ASSERT_TRUE(xrecord);
    EXPECT_TRUE(mapping.IsCloned(0x63));
    EXPECT_EQ(mapping.Lookup(0x63), xrecord.GetHandle());
    EXPECT_EQ(xrecord.OwnerHandle(), dict.GetHandle());
    cad::TagList data = cad::Xrecord(target.get(), xrecord.Index()).Data();
    // A hard pointer at a layer names the target's; a soft one at what stayed behind reads 0;
    // arbitrary handles (320-329) stay as they are.
    EXPECT_EQ(data, (cad::TagList{{1, "hello"},
                                  {340, target->FindLayer("WALLS").HandleString()},
                                  {330, "0"},
                                  {320, "99"}}));
}

TEST_P(BlockCloneTest, NamedObjectsTheTargetLacksComeAlongIntoItsDictionaries) {
    cad::Dictionary materials(target.get(), target->NamedObjects().Get("ACAD_MATERIAL").Index());
    ASSERT_TRUE(materials);
    EXPECT_EQ(materials.OwnerHandle(), target->NamedObjects().GetHandle());
    cad::Object wood = materials.Get("Wood");
    ASSERT_TRUE(wood);
    EXPECT_EQ(wood.GetText(2), "oak");
    EXPECT_EQ(wood.OwnerHandle(), materials.GetHandle());
    EXPECT_EQ(EntityOfType("LINE").GetHandleValue(347), wood.GetHandle());
    EXPECT_EQ(target->NamedObjects().Entries().size(), 2u);
}

TEST_P(BlockCloneTest, DrawOrderIsCarriedWithItsHandlesTranslated) {
    EXPECT_EQ(Types(cad::EntitiesInDrawOrder(source->FindBlock("Door"))),
              (std::vector<std::string>{"CIRCLE", "TEXT", "INSERT", "INSERT", "LINE"}));
    EXPECT_EQ(Types(cad::EntitiesInDrawOrder(door)),
              (std::vector<std::string>{"CIRCLE", "TEXT", "INSERT", "INSERT", "LINE"}));
    const Handle line = EntityOfType("LINE").GetHandle(),
                 circle = EntityOfType("CIRCLE").GetHandle();
    EXPECT_EQ(cad::DrawOrderPairs(door),
              (std::vector<std::pair<Handle, Handle>>{{line, circle}, {circle, line}}));
    cad::Object table = door.Record().ExtensionDictionary().Get("ACAD_SORTENTS");
    EXPECT_EQ(table.GetHandleValue(330), door.Record().ExtensionDictionary().GetHandle());
}

TEST_P(BlockCloneTest, NewHandlesAreUniqueAndBelowTheHandleSeed) {
    std::set<Handle> seen;
    for (const cad::Object& o : target->Objects()) {
        if (!o.GetHandle())
            continue;
        EXPECT_TRUE(seen.insert(o.GetHandle()).second) << o.HandleString();
    }
    EXPECT_GT(target->HandleSeed(), MaxHandle(*target));
    EXPECT_EQ(cad::ParseHandle(target->HeaderText("$HANDSEED")), target->HandleSeed());
    for (const auto& [from, pair] : mapping.Pairs()) {
        if (pair.cloned) {
            EXPECT_GE(pair.target, seedBefore) << cad::HandleText(from);
        }
    }
}

TEST_P(BlockCloneTest, TheSourceIsUnchangedByteForByte) {
    EXPECT_FALSE(source->IsModified());
    EXPECT_EQ(source->Write(), sourceBytes);
}

TEST_P(BlockCloneTest, TheTargetReadsBackWithTheBlock) {
    auto back = cadtest::Reload(*target);
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->Warnings().empty()) << back->Warnings().front();
    BlockRecord copy = back->FindBlock("Door");
    ASSERT_TRUE(copy);
    EXPECT_EQ(Types(copy.Entities()),
              (std::vector<std::string>{"LINE", "TEXT", "INSERT", "INSERT", "CIRCLE"}));
    EXPECT_EQ(copy.GetHandle(), door.GetHandle());
    EXPECT_TRUE(back->FindBlock("*U2"));
}

TEST_P(BlockCloneTest, UnchangedObjectsOfTheTargetKeepTheirBytes) {
    auto before = clonetest::RecordsByHandle(targetBytes);
    auto after = clonetest::RecordsByHandle(target->Write());
    // The tables that got records count them anew; the root dictionary got ACAD_MATERIAL.
    const std::set<std::string> changed{"5", "3", "9", "1", "C"};
    for (const auto& [handle, bytes] : before) {
        ASSERT_TRUE(after.count(handle)) << handle;
        if (!changed.count(handle)) {
            EXPECT_EQ(after[handle], bytes) << handle;
        }
    }
    EXPECT_EQ(after["2"], before["2"]);  // no layer was added
}

TEST_P(BlockCloneTest, TextIsReEncodedForTheTarget) {
    EXPECT_EQ(cad::Text(target.get(), EntityOfType("TEXT").Index()).TextString(),
              "T\xC3\xBCr \xD0\x96");
    const std::string written = target->Write();
    const bool utf8 = GetParam().target >= "AC1021";
    EXPECT_NE(written.find(utf8 ? "T\xC3\xBCr \xD0\x96" : "T\xFCr \\U+0416"), std::string::npos);
    EXPECT_EQ(target->FindRecord("STYLE", "Fancy").Name(), "Fancy");
}

TEST_P(BlockCloneTest, TheClassesOfCopiedObjectsComeAlong) {
    std::vector<std::string> classes;
    for (const cad::Object& o : target->Objects())
        if (o.Type() == "CLASS")
            classes.push_back(o.GetText(1));
    EXPECT_EQ(classes, (std::vector<std::string>{"MATERIAL", "SORTENTSTABLE"}));
    auto back = cadtest::Reload(*target);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->Objects()[0].Type(), "SECTION");
}

TEST_P(BlockCloneTest, TheMappingHoldsEveryCopyAndEveryMatch) {
    EXPECT_EQ(mapping.Lookup(0x30), door.GetHandle());
    EXPECT_TRUE(mapping.IsCloned(0x30));
    EXPECT_EQ(mapping.Lookup(0x31), door.BlockBegin().GetHandle());
    for (Handle h : {0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x38, 0x3A, 0x50, 0x52, 0x60, 0x61, 0x62,
                     0x63, 0x90, 0x17, 0x19, 0x1A, 0x1C})
        EXPECT_TRUE(mapping.IsCloned(h)) << cad::HandleText(h);
    EXPECT_EQ(mapping.Lookup(0x40), target->FindBlock("KNOB").GetHandle());
    EXPECT_FALSE(mapping.IsCloned(0x40));
    EXPECT_FALSE(mapping.Contains(0x42));  // the source's Knob stands for nothing in the target
    EXPECT_FALSE(mapping.Contains(0x70));  // the group stayed behind
    for (const auto& [from, pair] : mapping.Pairs()) {
        if (pair.target) {
            EXPECT_TRUE(target->ObjectByHandle(pair.target)) << cad::HandleText(from);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Releases, BlockCloneTest,
    ::testing::Values(Versions{"AC1015", "AC1015"}, Versions{"AC1015", "AC1032"},
                      Versions{"AC1032", "AC1015"}, Versions{"AC1032", "AC1032"},
                      Versions{"AC1027", "AC1018"}),
    [](const auto& info) { return info.param.source + "_into_" + info.param.target; });

TEST(BlockClone, ABlockOfThatNameInTheTargetIsReturnedAndNothingCopied) {
    auto source = Load(clonetest::Source("AC1032"));
    auto target = Load(clonetest::Target("AC1032"));
    const std::string before = target->Write();
    cad::IdMapping mapping;
    auto knob = cad::CloneBlock(source->FindBlock("Knob"), *target, &mapping);
    ASSERT_TRUE(knob) << knob.GetStatus().Message();
    EXPECT_EQ(knob->Name(), "KNOB");
    EXPECT_FALSE(target->IsModified());
    EXPECT_EQ(target->Write(), before);
    EXPECT_EQ(mapping.Lookup(0x40), knob->GetHandle());
    EXPECT_FALSE(mapping.IsCloned(0x40));
}

TEST(BlockClone, CloningTwiceGivesTheFirstCopy) {
    auto source = Load(clonetest::Source("AC1032"));
    auto target = Load(clonetest::Target("AC1032"));
    auto first = cad::CloneBlock(source->FindBlock("Door"), *target);
    ASSERT_TRUE(first);
    const std::string once = target->Write();
    auto second = cad::CloneBlock(source->FindBlock("Door"), *target);
    ASSERT_TRUE(second);
    EXPECT_EQ(*first, *second);
    EXPECT_EQ(target->Write(), once);
}

TEST(BlockClone, AnAnonymousBlockIsAlwaysCopiedUnderTheNextFreeName) {
    auto source = Load(clonetest::Source("AC1032"));
    auto target = Load(clonetest::Target("AC1032"));
    auto first = cad::CloneBlock(source->FindBlock("*U1"), *target);
    auto second = cad::CloneBlock(source->FindBlock("*U1"), *target);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->Name(), "*U2");
    EXPECT_EQ(second->Name(), "*U3");
    EXPECT_TRUE(first->IsAnonymous());
}

TEST(BlockClone, LayoutsAndNullViewsAreRefused) {
    auto source = Load(clonetest::Source("AC1032"));
    auto target = Load(clonetest::Target("AC1032"));
    auto model = cad::CloneBlock(source->ModelSpace(), *target);
    ASSERT_FALSE(model);
    EXPECT_NE(model.GetStatus().Message().find("*Model_Space"), std::string::npos);
    EXPECT_FALSE(cad::CloneBlock(BlockRecord(), *target));
    EXPECT_FALSE(target->IsModified());
}

TEST(BlockClone, R12IntoR12CopiesTheBlockWithItsLayer) {
    auto source = Load(cadtest::R12Drawing());
    auto target = Load(cadtest::NestedBlocks(2, 1));
    const std::string sourceBytes = source->Write();
    auto door = cad::CloneBlock(source->FindBlock("Door"), *target);
    ASSERT_TRUE(door) << door.GetStatus().Message();
    EXPECT_EQ(Types(door->Entities()), (std::vector<std::string>{"LINE", "ATTDEF"}));
    EXPECT_FALSE(door->Record());
    EXPECT_EQ(source->Write(), sourceBytes);
    auto back = cadtest::Reload(*target);
    ASSERT_TRUE(back);
    ASSERT_TRUE(back->FindBlock("Door"));
    EXPECT_EQ(back->FindBlock("Door").AttributeDefinitions()[0].Tag(), "NUMBER");
    EXPECT_EQ(back->Version(), "AC1009");
}

TEST(BlockClone, R12IntoANewerDrawingGoesThroughAnUpgradedCopy) {
    auto source = Load(cadtest::R12Drawing());
    auto target = Load(clonetest::Target("AC1015"));
    const std::string sourceBytes = source->Write();
    cad::IdMapping mapping;
    auto door = cad::CloneBlock(source->FindBlock("Door"), *target, &mapping);
    ASSERT_TRUE(door) << door.GetStatus().Message();
    ASSERT_TRUE(door->Record());
    EXPECT_EQ(Types(door->Entities()), (std::vector<std::string>{"LINE", "ATTDEF"}));
    for (const Entity& e : door->Entities()) {
        EXPECT_EQ(e.OwnerHandle(), door->GetHandle());
        EXPECT_EQ(e.Subclasses().front(), "AcDbEntity");
    }
    EXPECT_EQ(source->Write(), sourceBytes);
    // Only the source's own handles are in the mapping: the BLOCK and its entities.
    EXPECT_EQ(mapping.Lookup(source->FindBlock("Door").GetHandle()),
              door->BlockBegin().GetHandle());
    for (const auto& [from, pair] : mapping.Pairs())
        EXPECT_TRUE(source->ObjectByHandle(from)) << cad::HandleText(from);
    EXPECT_EQ(target->Version(), "AC1015");
    EXPECT_TRUE(cadtest::Reload(*target)->FindBlock("Door"));
}

TEST(BlockClone, ANewerBlockIsRefusedByAnR12DrawingWhichStaysAsItWas) {
    auto source = Load(clonetest::Source("AC1015"));
    auto target = Load(cadtest::R12Drawing(), "r12.dxf");
    const std::string before = target->Write();
    auto door = cad::CloneBlock(source->FindBlock("Knob"), *target);
    ASSERT_FALSE(door);
    EXPECT_NE(door.GetStatus().Message().find("r12.dxf is an R12 drawing"), std::string::npos)
        << door.GetStatus().Message();
    EXPECT_FALSE(target->IsModified());
    EXPECT_EQ(target->Write(), before);
}

TEST(BlockClone, EntityTypesTheTargetReleaseLacksAreRefusedWithNothingChanged) {
    auto source = Load(clonetest::Source("AC1032"));
    ASSERT_TRUE(source->FindBlock("*U1").AddLwPolyline({{0, 0}, {1, 0}}, false));
    auto target = Load(clonetest::Target("AC1012"), "r13.dxf");
    const std::string before = target->Write();
    const Handle seed = target->HandleSeed();
    cad::IdMapping mapping;
    auto door = cad::CloneBlock(source->FindBlock("Door"), *target, &mapping);
    ASSERT_FALSE(door);
    EXPECT_NE(door.GetStatus().Message().find("LWPOLYLINE"), std::string::npos)
        << door.GetStatus().Message();
    EXPECT_NE(door.GetStatus().Message().find("AC1012"), std::string::npos);
    EXPECT_FALSE(target->IsModified());
    EXPECT_EQ(target->Write(), before);
    EXPECT_EQ(target->HandleSeed(), seed);
    EXPECT_EQ(mapping.Size(), 0u);
}

// ---- Drawings written by other programs

TEST(BlockClone, CorpusBlockCarriesGeometryLayersStylesLineTypesAndNestedBlocks) {
    auto source = cadtest::Corpus("arch-plan-attribs-ac1018.dxf");
    auto target = cadtest::Corpus("qcad-flange-attribs-ac1027.dxf");
    ASSERT_TRUE(source && target);
    const std::string sourceBytes = source->Write();
    const std::string targetBytes = target->Write();
    BlockRecord legend = source->FindBlock("LEGEND");
    auto copy = cad::CloneBlock(legend, *target);
    ASSERT_TRUE(copy) << copy.GetStatus().Message();
    std::vector<Entity> from = legend.Entities(), to = copy->Entities();
    ASSERT_EQ(Types(to), Types(from));
    std::set<std::string> nested;
    for (std::size_t k = 0; k < from.size(); ++k) {
        EXPECT_EQ(to[k].LayerName(), from[k].LayerName());
        EXPECT_TRUE(target->FindLayer(to[k].LayerName())) << to[k].LayerName();
        for (int code : {10, 20, 11, 21, 40})
            EXPECT_EQ(to[k].GetReal(code), from[k].GetReal(code)) << k;
        if (from[k].Type() == "TEXT") {
            EXPECT_TRUE(target->FindRecord("STYLE", to[k].GetText(7, "STANDARD")));
        }
        if (from[k].Type() == "LEADER") {
            EXPECT_TRUE(target->FindRecord("DIMSTYLE", to[k].GetText(3)));
        }
        if (from[k].Type() == "INSERT")
            nested.insert(from[k].GetText(2));
    }
    ASSERT_FALSE(nested.empty());
    for (const std::string& name : nested) {
        ASSERT_TRUE(target->FindBlock(name)) << name;
        EXPECT_EQ(Types(target->FindBlock(name).Entities()),
                  Types(source->FindBlock(name).Entities()))
            << name;
    }
    EXPECT_EQ(source->Write(), sourceBytes);
    // Every record of the target stands as it was, but the tables that got records, the root
    // dictionary and the header's handle seed.
    auto before = clonetest::RecordsByHandle(targetBytes);
    auto after = clonetest::RecordsByHandle(target->Write());
    std::size_t changed = 0;
    for (const auto& [handle, bytes] : before) {
        ASSERT_TRUE(after.count(handle)) << handle;
        if (after[handle] == bytes)
            continue;
        ++changed;
        const std::string type = target->ObjectByHandle(cad::ParseHandle(handle)).Type();
        EXPECT_TRUE(type == "TABLE" || type == "DICTIONARY") << handle << " " << type;
    }
    EXPECT_LE(changed, 8u);
    auto back = cadtest::Reload(*target);
    ASSERT_TRUE(back);
    ASSERT_TRUE(back->FindBlock("LEGEND"));
    EXPECT_EQ(back->FindBlock("LEGEND").Entities().size(), from.size());
    EXPECT_GT(back->HandleSeed(), MaxHandle(*back) - 1);
}

TEST(BlockClone, CorpusBlockIntoAnOlderDrawingOfAnotherEncoding) {
    auto source = cadtest::Corpus("librecad-arch-library-ac1021.dxf");
    auto target = cadtest::Corpus("arch-plan-attribs-ac1018.dxf");
    ASSERT_TRUE(source && target);
    auto bed = cad::CloneBlock(source->FindBlock("DOUBLE BED"), *target);
    ASSERT_TRUE(bed) << bed.GetStatus().Message();
    EXPECT_EQ(Types(bed->Entities()), Types(source->FindBlock("DOUBLE BED").Entities()));
    EXPECT_TRUE(target->FindLayer(bed->Entities()[0].LayerName()));
    auto back = cadtest::Reload(*target);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->FindBlock("DOUBLE BED").Entities().size(), bed->Entities().size());
}

}  // namespace
