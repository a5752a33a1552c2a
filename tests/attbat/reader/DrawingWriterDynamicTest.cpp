// The import's writer setting dynamic block properties: a row's tag that names no attribute of
// the reference names a dynamic property.
#include "attbat/model/DrawingWriter.h"

#include <numbers>

#include "ReaderFixture.h"
#include "cad/BlockReference.h"
#include "cad/DynamicBlockReference.h"
#include "cad/Text.h"

namespace {

using attbat::AcadAttribute;
using attbat::AcadBlockRef;

class DrawingWriterDynamicTest : public ReaderTest {
protected:
    cad::Database& Open(const std::string& name) {
        auto read = host::ReadSideDatabase(Copy(std::string(VELMAR_CORPUS) + "/dxf/" + name));
        EXPECT_TRUE(read);
        db = std::move(read.Value());
        return *db;
    }
    cad::BlockReference Reference(std::string_view handle) {
        cad::Object o = db->ObjectByHandle(cad::ParseHandle(handle));
        return cad::BlockReference(o.GetDatabase(), o.Index());
    }
    // The property `name` of `ref`; the test fails (and goes no further) when there is none.
    static cad::DynamicBlockProperty Property(const cad::BlockReference& ref, std::string_view name) {
        return cad::DynamicBlockReference(ref).Property(name).value();
    }
    bool Write(std::string_view handle, const std::string& tag, const std::string& value) {
        AcadBlockRef row;
        row.handle = std::string(handle);
        row.attributes.Add(AcadAttribute(tag, value, 0));
        return attbat::WriteTo(row, *db, -1, -1, &trace);
    }
    std::unique_ptr<cad::Database> db;
    attbat::WriteTrace trace;
};

TEST_F(DrawingWriterDynamicTest, ATagNamingAVisibilityPropertyWithoutRegardToCaseSetsIt) {
    Open("dynblock-visibility-ac1032.dxf");
    EXPECT_TRUE(Write("252", "test VISIBILITY", "hideall"));
    EXPECT_EQ(Property(Reference("252"), "Test visibility").text, "HideAll");
    EXPECT_EQ(Reference("252").BlockName(), "*U18");
    EXPECT_EQ(trace.dynamicWrites, 1);
}

TEST_F(DrawingWriterDynamicTest, ADistanceEqualToThePresentOneWritesNothingAndAnotherStretchesTheBlock) {
    cad::Database& d = Open("dynblock-lookup-ac1032.dxf");
    EXPECT_TRUE(Write("254", "my_distance_label", "8.000"));
    EXPECT_FALSE(d.IsModified());
    EXPECT_TRUE(Write("254", "my_distance_label", "6.5"));
    EXPECT_DOUBLE_EQ(Property(Reference("254"), "my_distance_label").real, 6.5);
    EXPECT_EQ(trace.dynamicWrites, 1);
}

TEST_F(DrawingWriterDynamicTest, AnAngleIsComparedByItsTextAndReadInTheDrawingsUnits) {
    cad::Database& d = Open("curtainwall-details-mleader-dynblocks-ac1027.dxf");
    EXPECT_TRUE(Write("2204", "Angle", "315"));  // degrees: what it is
    EXPECT_FALSE(d.IsModified());
    EXPECT_TRUE(Write("2204", "Angle", "90"));
    EXPECT_NEAR(Property(Reference("2204"), "Angle").real, std::numbers::pi / 2, 1e-9);
}

TEST_F(DrawingWriterDynamicTest, ATagMatchingBothAnAttributeAndADynamicPropertySetsTheAttributeOnly) {
    Open("curtainwall-details-mleader-dynblocks-ac1027.dxf");
    cad::BlockReference ref = Reference("2204");
    ASSERT_FALSE(ref.Attributes().empty());
    cad::Attribute attribute = ref.Attributes().front();
    attribute.SetTag("Angle");
    EXPECT_TRUE(Write("2204", "Angle", "90"));
    EXPECT_EQ(ref.Attributes().front().TextString(), "90");
    EXPECT_NEAR(Property(ref, "Angle").real, 7 * std::numbers::pi / 4, 1e-9);
    EXPECT_EQ(trace.dynamicWrites, 0);
}

TEST_F(DrawingWriterDynamicTest, AValueTheBlockCantTakeIsSaidAndNothingChanges) {
    cad::Database& d = Open("dynblock-visibility-ac1032.dxf");
    const std::string before = d.Write();
    EXPECT_TRUE(Write("252", "Test visibility", "Open"));
    EXPECT_NE(Printed().find("\"Open\" is not one of its values"), std::string::npos) << Printed();
    EXPECT_TRUE(d.Write() == before);
}

}  // namespace
