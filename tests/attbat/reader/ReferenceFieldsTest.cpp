#include "attbat/model/ReferenceFields.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cad/Database.h"

namespace {

using attbat::ReadAttributeFields;
using attbat::ReadReferenceFields;

// Every reference and attribute of a drawing read both ways: field by field through the drawing
// library's views, and in one pass.
void ExpectSameAsViews(cad::Database& db) {
    int references = 0;
    for (const cad::Entity& entity : db.Select({{0, "INSERT"}})) {
        cad::BlockReference ref(entity.GetDatabase(), entity.Index());
        const attbat::ReferenceFields fields = ReadReferenceFields(ref);
        EXPECT_EQ(fields.blockName, ref.BlockName()) << ref.HandleString();
        EXPECT_EQ(fields.layerName, ref.LayerName()) << ref.HandleString();
        EXPECT_EQ(fields.position, ref.WorldPosition()) << ref.HandleString();
        EXPECT_EQ(fields.scale, ref.ScaleFactors()) << ref.HandleString();
        EXPECT_EQ(fields.rotation, ref.Rotation()) << ref.HandleString();
        EXPECT_EQ(fields.visible, ref.IsVisible()) << ref.HandleString();
        for (const cad::Attribute& attribute : ref.Attributes()) {
            const attbat::AttributeFields plain = ReadAttributeFields(attribute, true);
            EXPECT_EQ(plain.tag, attribute.Tag()) << attribute.HandleString();
            EXPECT_EQ(plain.text, attribute.PlainText()) << attribute.HandleString();
            EXPECT_EQ(plain.flags, attribute.Flags()) << attribute.HandleString();
            EXPECT_EQ(ReadAttributeFields(attribute, false).text, attribute.TextString())
                << attribute.HandleString();
        }
        ++references;
    }
    EXPECT_GT(references, 0);
}

std::unique_ptr<cad::Database> Load(const std::string& text) {
    auto db = cad::Database::FromBytes(text, "fields.dxf");
    EXPECT_TRUE(db) << db.GetStatus().Message();
    return db ? std::move(db.Value()) : nullptr;
}

// A reference whose reactor group holds codes of its own fields, with extended data after them,
// and a multi-line attribute whose MTEXT carries formatting.
const char* const kDrawing =
    "0\nSECTION\n2\nENTITIES\n"
    "0\nINSERT\n5\n2A\n102\n{ACAD_REACTORS\n2\nNOT_THIS\n8\nNOR_THIS\n102\n}\n"
    "8\nDOORS\n66\n1\n2\nDOOR\n10\n1.5\n20\n2.5\n30\n3.5\n42\n2\n50\n90\n"
    "1001\nAPP\n1000\nignored\n"
    "0\nATTRIB\n5\n2B\n8\n0\n10\n0\n20\n0\n40\n1\n1\n  padded  \n2\nNUMBER\n70\n9\n"
    "0\nATTRIB\n5\n2C\n8\n0\n10\n0\n20\n0\n40\n1\n1\nfirst line\n2\nNOTE\n70\n0\n"
    "101\nEmbedded Object\n10\n0\n20\n0\n3\n{\\fArial|b1;first}\\P\n1\nsecond line\n"
    "0\nSEQEND\n5\n2D\n"
    "0\nINSERT\n5\n2E\n2\nBARE\n60\n1\n"
    "0\nENDSEC\n0\nEOF\n";

TEST(ReferenceFields, FieldsAreTheViewsFieldsForEveryCorpusReference) {
    for (const char* name : {"arch-plan-attribs-ac1018.dxf", "attribute-ac1032.dxf",
                             "entities-attribs-ac1009.dxf", "ezdxf-minsert-attribs-ac1027.dxf",
                             "libredwg-gh209-attribs-ac1024.dxf", "acadsharp-sample-ac1009-binary.dxf",
                             "curtainwall-details-mleader-dynblocks-ac1027.dxf",
                             "floorplan-bound-xrefs-attribs-ac1018.dxf",
                             "ezdxf-192-inserts-576-attribs-ac1018.dxf"}) {
        SCOPED_TRACE(name);
        auto db = cad::Database::Open(std::string(VELMAR_CORPUS) + "/dxf/" + name);
        ASSERT_TRUE(db) << db.GetStatus().Message();
        ExpectSameAsViews(*db.Value());
    }
}

TEST(ReferenceFields, ApplicationGroupsAndExtendedDataAreNotTheReferencesOwn) {
    auto db = Load(kDrawing);
    ASSERT_TRUE(db);
    ExpectSameAsViews(*db);
    auto refs = db->Select({{0, "INSERT"}});
    ASSERT_EQ(refs.size(), 2u);
    const attbat::ReferenceFields fields =
        ReadReferenceFields(cad::BlockReference(refs[0].GetDatabase(), refs[0].Index()));
    EXPECT_EQ(fields.blockName, "DOOR");
    EXPECT_EQ(fields.layerName, "DOORS");
    EXPECT_EQ(fields.position, (cad::Point3{1.5, 2.5, 3.5}));
    EXPECT_EQ(fields.scale, (cad::Point3{1, 2, 1}));
    EXPECT_TRUE(fields.visible);
}

TEST(ReferenceFields, ThePositionOfAMirroredReferenceIsInWorldCoordinates) {
    auto db = Load("0\nSECTION\n2\nENTITIES\n"
                   "0\nINSERT\n5\n2A\n2\nDOOR\n10\n1.5\n20\n2.5\n30\n3.5\n210\n0\n220\n0\n230\n-1\n"
                   "0\nENDSEC\n0\nEOF\n");
    ASSERT_TRUE(db);
    ExpectSameAsViews(*db);
    auto refs = db->Select({{0, "INSERT"}});
    ASSERT_EQ(refs.size(), 1u);
    const attbat::ReferenceFields fields =
        ReadReferenceFields(cad::BlockReference(refs[0].GetDatabase(), refs[0].Index()));
    EXPECT_EQ(fields.position, (cad::Point3{-1.5, 2.5, -3.5}));
}

TEST(ReferenceFields, MissingTagsGiveTheViewsDefaults) {
    auto db = Load(kDrawing);
    ASSERT_TRUE(db);
    auto refs = db->Select({{0, "INSERT"}});
    ASSERT_EQ(refs.size(), 2u);
    const attbat::ReferenceFields fields =
        ReadReferenceFields(cad::BlockReference(refs[1].GetDatabase(), refs[1].Index()));
    EXPECT_EQ(fields.blockName, "BARE");
    EXPECT_EQ(fields.layerName, "0");
    EXPECT_EQ(fields.position, (cad::Point3{0, 0, 0}));
    EXPECT_EQ(fields.scale, (cad::Point3{1, 1, 1}));
    EXPECT_EQ(fields.rotation, 0.0);
    EXPECT_FALSE(fields.visible);
}

TEST(ReferenceFields, MultiLineAttributeReadsPlainOrStored) {
    auto db = Load(kDrawing);
    ASSERT_TRUE(db);
    auto refs = db->Select({{0, "INSERT"}});
    ASSERT_FALSE(refs.empty());
    const auto attributes = cad::BlockReference(refs[0].GetDatabase(), refs[0].Index()).Attributes();
    ASSERT_EQ(attributes.size(), 2u);
    const attbat::AttributeFields padded = ReadAttributeFields(attributes[0], true);
    EXPECT_EQ(padded.tag, "NUMBER");
    EXPECT_EQ(padded.text, "  padded  ");  // trimming is the row's business
    EXPECT_EQ(padded.flags, 9);
    EXPECT_EQ(ReadAttributeFields(attributes[1], true).text, "first\nsecond line");
    EXPECT_EQ(ReadAttributeFields(attributes[1], false).text, "first line");
}

TEST(ReferenceFields, NullViewsGiveDefaults) {
    const attbat::ReferenceFields fields = ReadReferenceFields(cad::BlockReference());
    EXPECT_EQ(fields.blockName, "");
    EXPECT_EQ(fields.layerName, "0");
    EXPECT_TRUE(fields.visible);
    const attbat::AttributeFields attribute = ReadAttributeFields(cad::Attribute(), true);
    EXPECT_EQ(attribute.tag, "");
    EXPECT_EQ(attribute.text, "");
    EXPECT_EQ(attribute.flags, 0);
}

}  // namespace
