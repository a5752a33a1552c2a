#include "attbat/model/ReferenceSnapshot.h"

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"

namespace {

using attbat::ReferenceSnapshot;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Handles = std::vector<std::string>;

std::string Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// The schedule drawing (see scripts/make_watch_drawings.py), in the layout of an older writer.
const std::string kSchedule = std::string(VELMAR_TEST_DATA) + "/watch/schedule.dxf";
// The same drawing as ezdxf saved it again.
const std::string kScheduleByEzdxf = std::string(VELMAR_TEST_DATA) + "/watch/schedule-ezdxf.dxf";

std::unique_ptr<cad::Database> Load(std::string bytes, const std::string& name = "test.dxf") {
    auto db = cad::Database::FromBytes(std::move(bytes), name);
    EXPECT_TRUE(db) << db.GetStatus().Message();
    return db ? std::move(*db) : nullptr;
}

std::unique_ptr<cad::Database> Open(const std::string& path) { return Load(Slurp(path), path); }

// The drawing as another reading would see it after a save.
std::unique_ptr<cad::Database> Reread(const cad::Database& db) { return Load(db.Write()); }

// The reference whose attribute `tag` reads `value`.
cad::BlockReference ReferenceWith(cad::Database& db, const std::string& value) {
    for (const cad::Object& object : db.Objects()) {
        if (object.Type() != "INSERT") continue;
        const cad::BlockReference reference(&db, object.Index());
        for (const cad::Attribute& attribute : reference.Attributes())
            if (attribute.TextString() == value || attribute.PlainText().rfind(value, 0) == 0) return reference;
    }
    ADD_FAILURE() << "no reference with " << value;
    return {};
}

class ReferenceSnapshotTest : public ::testing::Test {
protected:
    void SetUp() override {
        db = Open(kSchedule);
        ASSERT_TRUE(db);
        before = ReferenceSnapshot::Take(*db);
    }

    // What a new reading of the drawing, as changed in memory, tells against `before`.
    Handles ChangedAfterSave() {
        auto again = Reread(*db);
        return again ? ReferenceSnapshot::Take(*again).ChangedSince(before) : Handles{"unreadable"};
    }

    std::unique_ptr<cad::Database> db;
    ReferenceSnapshot before;
};

TEST_F(ReferenceSnapshotTest, EveryReferenceOfEverySpaceAndBlockIsRead) {
    // Two pumps, two valves and a skid in model space, a valve in the skid, one in paper space.
    EXPECT_EQ(before.Size(), 7u);
    const cad::BlockReference nested = ReferenceWith(*db, "V-SKID");
    const cad::BlockReference paper = ReferenceWith(*db, "V-PAPER");
    EXPECT_NE(before.FingerprintOf(nested.GetHandle()), 0u);
    EXPECT_NE(before.FingerprintOf(paper.GetHandle()), 0u);
    EXPECT_EQ(before.FingerprintOf(0xFFFFFF), 0u);
}

TEST_F(ReferenceSnapshotTest, UnchangedRereadHasNoChanges) {
    auto again = Open(kSchedule);
    ASSERT_TRUE(again);
    const ReferenceSnapshot after = ReferenceSnapshot::Take(*again);
    EXPECT_THAT(after.ChangedSince(before), IsEmpty());
    EXPECT_THAT(after.Removed(before), IsEmpty());
}

TEST_F(ReferenceSnapshotTest, SameDrawingInAnotherProgramsLayoutHasNoChanges) {
    auto rewritten = Open(kScheduleByEzdxf);
    ASSERT_TRUE(rewritten);
    ASSERT_NE(Slurp(kSchedule), Slurp(kScheduleByEzdxf));
    const ReferenceSnapshot after = ReferenceSnapshot::Take(*rewritten);
    EXPECT_EQ(after.Size(), before.Size());
    EXPECT_THAT(after.ChangedSince(before), IsEmpty());
    EXPECT_THAT(after.Removed(before), IsEmpty());
}

TEST_F(ReferenceSnapshotTest, AttributeValueChangeFlagsItsReference) {
    const cad::BlockReference pump = ReferenceWith(*db, "P-102");
    pump.FindAttribute("FLOW").SetValue("9");
    EXPECT_THAT(ChangedAfterSave(), ElementsAre(pump.HandleString()));
}

TEST_F(ReferenceSnapshotTest, MultiLineAttributeChangeFlagsItsReference) {
    const cad::BlockReference valve = ReferenceWith(*db, "V-202");
    valve.FindAttribute("TAG").SetValue("V-203\nspare");
    EXPECT_THAT(ChangedAfterSave(), ElementsAre(valve.HandleString()));
}

TEST_F(ReferenceSnapshotTest, LayerChangeFlagsItsReference) {
    cad::BlockReference pump = ReferenceWith(*db, "P-101");
    ASSERT_TRUE(pump.SetLayer("SPARE"));
    EXPECT_THAT(ChangedAfterSave(), ElementsAre(pump.HandleString()));
}

TEST_F(ReferenceSnapshotTest, PositionChangeFlagsItsReference) {
    cad::BlockReference pump = ReferenceWith(*db, "P-101");
    pump.SetPosition({10.5, 20.5, 0});
    EXPECT_THAT(ChangedAfterSave(), ElementsAre(pump.HandleString()));
}

TEST_F(ReferenceSnapshotTest, ScaleAndRotationChangesFlagTheirReferences) {
    cad::BlockReference first = ReferenceWith(*db, "P-101");
    cad::BlockReference second = ReferenceWith(*db, "P-102");
    first.SetRotation(0);
    second.SetScaleFactors({2, 2, 3});
    EXPECT_THAT(ChangedAfterSave(), ElementsAre(first.HandleString(), second.HandleString()));
}

TEST_F(ReferenceSnapshotTest, ExtendedDataChangeFlagsItsReference) {
    cad::BlockReference pump = ReferenceWith(*db, "P-102");
    ASSERT_TRUE(pump.SetXdata("VELMAR", {{1000, "pump 2"}}));
    EXPECT_THAT(ChangedAfterSave(), ElementsAre(pump.HandleString()));
}

TEST_F(ReferenceSnapshotTest, ExtensionDictionaryChangeFlagsItsReference) {
    cad::BlockReference valve = ReferenceWith(*db, "V-201");
    ASSERT_TRUE(valve.ExtensionDictionary());
    ASSERT_TRUE(valve.ExtensionDictionary().SetXrecord("VELMAR_NOTE", {{1, "not checked"}}));
    EXPECT_THAT(ChangedAfterSave(), ElementsAre(valve.HandleString()));
}

TEST_F(ReferenceSnapshotTest, NestedReferenceInsideABlockIsTracked) {
    const cad::BlockReference nested = ReferenceWith(*db, "V-SKID");
    ASSERT_FALSE(nested.OwnerBlock().IsLayout());
    nested.FindAttribute("TAG").SetValue("V-SKID-2");
    EXPECT_THAT(ChangedAfterSave(), ElementsAre(nested.HandleString()));
}

TEST_F(ReferenceSnapshotTest, NewReferenceIsReportedAsChangedAfterTheOthers) {
    auto added = db->ModelSpace().AddBlockReference(db->FindBlock("PUMP"), {70, 20, 0});
    ASSERT_TRUE(added) << added.GetStatus().Message();
    auto again = Reread(*db);
    ASSERT_TRUE(again);
    const ReferenceSnapshot after = ReferenceSnapshot::Take(*again);
    EXPECT_THAT(after.ChangedSince(before), ElementsAre(added->HandleString()));
    EXPECT_THAT(after.Removed(before), IsEmpty());
}

TEST_F(ReferenceSnapshotTest, DeletedReferenceIsRemovedNotChanged) {
    cad::BlockReference pump = ReferenceWith(*db, "P-101");
    const std::string handle = pump.HandleString();
    pump.Erase();
    auto again = Reread(*db);
    ASSERT_TRUE(again);
    const ReferenceSnapshot after = ReferenceSnapshot::Take(*again);
    EXPECT_THAT(after.ChangedSince(before), IsEmpty());
    EXPECT_THAT(after.Removed(before), ElementsAre(handle));
}

TEST_F(ReferenceSnapshotTest, ChangesAreToldInDrawingOrder) {
    const cad::BlockReference paper = ReferenceWith(*db, "V-PAPER");
    const cad::BlockReference nested = ReferenceWith(*db, "V-SKID");
    const cad::BlockReference pump = ReferenceWith(*db, "P-101");
    paper.FindAttribute("TAG").SetValue("x");
    pump.FindAttribute("TAG").SetValue("x");
    nested.FindAttribute("TAG").SetValue("x");
    // The nested one stands in the BLOCKS section, before the others.
    std::vector<std::string> inOrder;
    for (const cad::Object& object : db->Objects())
        if (object == nested || object == paper || object == pump) inOrder.push_back(object.HandleString());
    ASSERT_EQ(inOrder.size(), 3u);
    EXPECT_EQ(ChangedAfterSave(), inOrder);
}

// A small R12 drawing with one reference; `position`, `scale` and the extra tags in the
// text forms asked.
std::string R12Drawing(const std::string& x, const std::string& scale, const std::string& extra) {
    std::string out;
    auto tag = [&](int code, const std::string& value) { out += std::to_string(code) + "\n" + value + "\n"; };
    for (const auto& [code, value] : std::vector<std::pair<int, std::string>>{
             {0, "SECTION"}, {2, "HEADER"}, {9, "$ACADVER"}, {1, "AC1009"}, {9, "$HANDLING"}, {70, "1"},
             {9, "$HANDSEED"}, {5, "100"}, {0, "ENDSEC"}, {0, "SECTION"}, {2, "BLOCKS"},
             {0, "BLOCK"}, {5, "20"}, {8, "0"}, {2, "Door"}, {70, "2"}, {10, "0.0"}, {20, "0.0"}, {30, "0.0"},
             {3, "Door"}, {0, "ATTDEF"}, {5, "21"}, {8, "0"}, {10, "0.0"}, {20, "0.0"}, {30, "0.0"},
             {40, "0.2"}, {1, ""}, {3, "Number"}, {2, "NUMBER"}, {70, "0"}, {0, "ENDBLK"}, {5, "22"},
             {8, "0"}, {0, "ENDSEC"}, {0, "SECTION"}, {2, "ENTITIES"}, {0, "INSERT"}, {5, "30"}, {8, "0"},
             {66, "1"}, {2, "Door"}})
        tag(code, value);
    tag(10, x);
    tag(20, "20.0");
    out += extra;
    tag(41, scale);
    for (const auto& [code, value] : std::vector<std::pair<int, std::string>>{
             {0, "ATTRIB"}, {5, "31"}, {8, "0"}, {10, "11.0"}, {20, "21.0"}, {30, "0.0"}, {40, "0.4"},
             {1, "D-101"}, {2, "NUMBER"}, {70, "0"}, {0, "SEQEND"}, {5, "32"}, {8, "0"}, {0, "ENDSEC"},
             {0, "EOF"}})
        tag(code, value);
    return out;
}

TEST(ReferenceSnapshot, NumbersCountByValueNotByHowTheyAreWritten) {
    auto plain = Load(R12Drawing("10.0", "1.0", ""));
    auto other = Load(R12Drawing("+1.000000E+01", "1", "30\n0\n43\n1.0\n"));
    auto moved = Load(R12Drawing("10.000001", "1.0", ""));
    ASSERT_TRUE(plain && other && moved);
    const ReferenceSnapshot before = ReferenceSnapshot::Take(*plain);
    ASSERT_EQ(before.Size(), 1u);
    EXPECT_THAT(ReferenceSnapshot::Take(*other).ChangedSince(before), IsEmpty());
    EXPECT_THAT(ReferenceSnapshot::Take(*moved).ChangedSince(before), ElementsAre("30"));
}

TEST(ReferenceSnapshot, EmptyDrawingHasNoReferences) {
    auto db = Load("0\nSECTION\n2\nENTITIES\n0\nENDSEC\n0\nEOF\n");
    ASSERT_TRUE(db);
    const ReferenceSnapshot snapshot = ReferenceSnapshot::Take(*db);
    EXPECT_EQ(snapshot.Size(), 0u);
    EXPECT_THAT(snapshot.ChangedSince(ReferenceSnapshot()), IsEmpty());
    EXPECT_THAT(ReferenceSnapshot().Removed(snapshot), IsEmpty());
}

}  // namespace
