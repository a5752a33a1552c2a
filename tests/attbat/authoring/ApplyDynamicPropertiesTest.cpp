// Dynamic block properties set from worksheet rows, and the list and command that bring blocks
// with dimensions up to date after the update pass.
#include "attbat/authoring/ApplyDynamicProperties.h"

#include <filesystem>
#include <numbers>
#include <string>

#include "AuthoringFixture.h"
#include "attbat/authoring/DynamicBlockUpdate.h"
#include "attbat/frame/CommandContext.h"
#include "cad/DynamicBlockReference.h"

namespace attbat {
namespace {

class DynamicPropertiesTest : public AuthoringTest {
protected:
    void SetUp() override {
        AuthoringTest::SetUp();
        DynamicBlockUpdateList().clear();
    }
    void TearDown() override {
        DynamicBlockUpdateList().clear();
        AuthoringTest::TearDown();
    }
    // Makes corpus drawing `name` the current one.
    cad::Database& OpenCorpus(const std::string& name) {
        host::DocumentManager::Instance().CloseAll();
        const std::string path = File(name);
        std::filesystem::copy_file(std::string(VELMAR_CORPUS) + "/dxf/" + name, path);
        auto doc = host::DocumentManager::Instance().OpenCurrent(path);
        EXPECT_TRUE(doc) << doc.GetStatus().Message();
        current = doc.Value();
        host::CurrentPrinter().ClearCaptured();
        return current->Database();
    }
    cad::BlockReference Reference(std::string_view handle) {
        cad::Object o = current->Database().ObjectByHandle(cad::ParseHandle(handle));
        return cad::BlockReference(o.GetDatabase(), o.Index());
    }
    // The property `name` of `ref`; the test fails (and goes no further) when there is none.
    static cad::DynamicBlockProperty Property(const cad::BlockReference& ref, std::string_view name) {
        return cad::DynamicBlockReference(ref).Property(name).value();
    }
    // The second row of a sheet whose header row names the properties.
    void Apply(cad::BlockReference ref, const std::vector<std::string>& header, const std::vector<std::string>& row,
               bool update = false) {
        ApplyDynamicProperties(ref, Rows({header, row}), options, 1, update);
    }
};

TEST_F(DynamicPropertiesTest, APlainBlocksReferenceIsLeftAloneAndNoIdIsRecorded) {
    cad::Database& db = current->Database();
    cad::BlockReference door;
    for (const cad::Entity& e : db.Select({{0, "INSERT"}})) door = cad::BlockReference(e.GetDatabase(), e.Index());
    ASSERT_TRUE(door);
    const std::string before = db.Write();
    Apply(door, {"Block", "Test visibility"}, {"DOOR", "HideAll"}, true);
    EXPECT_TRUE(db.Write() == before);
    EXPECT_TRUE(DynamicBlockUpdateList().empty());
    EXPECT_EQ(Printed(), "");
}

TEST_F(DynamicPropertiesTest, AVisibilityStateFromTheRowIsSetAndShown) {
    OpenCorpus("dynblock-visibility-ac1032.dxf");
    cad::BlockReference ref = Reference("252");
    Apply(ref, {"Block", "Test visibility"}, {"block_visibility_parameter", "hideall"});
    EXPECT_EQ(Property(ref, "Test visibility").text, "HideAll");
    EXPECT_EQ(ref.BlockName(), "*U18");
    EXPECT_EQ(Printed(), "");
}

TEST_F(DynamicPropertiesTest, APropertyTextOf150AgainstAValueOf15IsAssignedAndTheValueDoesntChange) {
    cad::Database& db = OpenCorpus("dynblock-lookup-ac1032.dxf");
    cad::BlockReference ref = Reference("254");
    ASSERT_TRUE(cad::DynamicBlockReference(ref).SetValue("my_distance_label", cad::DynamicValue::Real(1.5)));
    const std::string before = db.Write();
    Apply(ref, {"Block", "my_distance_label"}, {"My_Look_Block", "1.50"});
    EXPECT_DOUBLE_EQ(Property(ref, "my_distance_label").real, 1.5);
    EXPECT_TRUE(db.Write() == before);
    // A text that reads as another value is assigned.
    Apply(ref, {"Block", "my_distance_label"}, {"My_Look_Block", "2.25"});
    EXPECT_DOUBLE_EQ(Property(ref, "my_distance_label").real, 2.25);
}

TEST_F(DynamicPropertiesTest, AngularTextIsReadInTheDrawingsAngularUnits) {
    cad::Database& db = OpenCorpus("curtainwall-details-mleader-dynblocks-ac1027.dxf");
    cad::BlockReference ref = Reference("2204");
    // Degrees, the drawing's own units.
    Apply(ref, {"Block", "Angle"}, {"Section Callout", "90"});
    EXPECT_NEAR(Property(ref, "Angle").real, std::numbers::pi / 2, 1e-9);
    // Radians.
    ASSERT_TRUE(db.SetHeader("$AUNITS", {{70, "3"}}));
    Apply(ref, {"Block", "Angle"}, {"Section Callout", "3.14159265358979r"});
    EXPECT_NEAR(Property(ref, "Angle").real, std::numbers::pi, 1e-9);
}

TEST_F(DynamicPropertiesTest, APropertyWhoseNameMatchesNoColumnKeepsItsValue) {
    cad::Database& db = OpenCorpus("dynblock-lookup-ac1032.dxf");
    cad::BlockReference ref = Reference("254");
    const std::string before = db.Write();
    Apply(ref, {"Block", "Width", "Visibility"}, {"My_Look_Block", "12", "Open"});
    EXPECT_DOUBLE_EQ(Property(ref, "my_distance_label").real, 8.0);
    EXPECT_TRUE(db.Write() == before);
}

TEST_F(DynamicPropertiesTest, AValueTheBlockCantTakeIsSaidAndTheNextPropertyIsSet) {
    OpenCorpus("dynblock-lookup-ac1032.dxf");
    cad::BlockReference ref = Reference("254");
    Apply(ref, {"Block", "Lookup Label Name", "my_distance_label"}, {"My_Look_Block", "Size 7", "4"});
    EXPECT_NE(Printed().find("\"Size 7\" is not one of its values"), std::string::npos) << Printed();
    EXPECT_DOUBLE_EQ(Property(ref, "my_distance_label").real, 4.0);
}

TEST_F(DynamicPropertiesTest, TheUpdatePassRecordsAReferenceWhoseDynamicBlockHoldsADimension) {
    cad::Database& db = OpenCorpus("dynblock-visibility-ac1032.dxf");
    cad::BlockReference ref = Reference("252");
    Apply(ref, {"Block", "Test visibility"}, {"block_visibility_parameter", "HideAll"}, true);
    EXPECT_TRUE(DynamicBlockUpdateList().empty());  // no dimension in the block
    cad::BlockRecord definition = db.FindBlock("block_visibility_parameter");
    ASSERT_TRUE(definition.AppendEntity("DIMENSION", "0", {{100, "AcDbDimension"}, {2, "*D1"}}));
    Apply(ref, {"Block", "Test visibility"}, {"block_visibility_parameter", "ShowAll"}, true);
    ASSERT_EQ(DynamicBlockUpdateList().size(), 1u);
    EXPECT_EQ(DynamicBlockUpdateList()[0].handle, ref.GetHandle());
    // Only the update pass records it.
    Apply(ref, {"Block", "Test visibility"}, {"block_visibility_parameter", "HideAll"}, false);
    EXPECT_EQ(DynamicBlockUpdateList().size(), 1u);

    CommandContext context;
    EXPECT_EQ(UpdateParamsInDynamicBlocksCommand(context), CommandStatus::Done);
    EXPECT_TRUE(DynamicBlockUpdateList().empty());
    EXPECT_EQ(current->Queued(), (std::vector<std::string>{"REGEN\n"}));
}

TEST_F(DynamicPropertiesTest, WithNothingInTheListTheCommandOnlyRegenerates) {
    cad::Database& db = OpenCorpus("dynblock-visibility-ac1032.dxf");
    const std::string before = db.Write();
    CommandContext context;
    EXPECT_EQ(UpdateParamsInDynamicBlocksCommand(context), CommandStatus::Done);
    EXPECT_EQ(current->Queued(), (std::vector<std::string>{"REGEN\n"}));
    EXPECT_TRUE(db.Write() == before);
    EXPECT_EQ(Printed(), "");
}

TEST_F(DynamicPropertiesTest, AnEntryOfAClosedDrawingIsPassedOver) {
    OpenCorpus("dynblock-visibility-ac1032.dxf");
    AddToDynamicBlockUpdateList(Reference("252"));
    OpenCorpus("dynblock-lookup-ac1032.dxf");  // closes the first
    CommandContext context;
    EXPECT_EQ(UpdateParamsInDynamicBlocksCommand(context), CommandStatus::Done);
    EXPECT_TRUE(DynamicBlockUpdateList().empty());
    EXPECT_EQ(current->Queued(), (std::vector<std::string>{"REGEN\n"}));
}

}  // namespace
}  // namespace attbat
