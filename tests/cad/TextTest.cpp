// Text, attributes, attribute definitions and multi-line text.
#include "cad/Text.h"

#include <gtest/gtest.h>

#include "Fixtures.h"

namespace {

TEST(Text, AttributeDefinitionFieldsAreRead) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::AttributeDefinition def = db->FindBlock("Door").AttributeDefinitions().at(0);
    EXPECT_EQ(def.Tag(), "NUMBER");
    EXPECT_EQ(def.Prompt(), "Door number");
    EXPECT_EQ(def.DefaultValue(), "D1");
    EXPECT_EQ(def.Position(), (cad::Point3{0.5, 0.5, 0}));
    EXPECT_EQ(def.AlignmentPoint(), def.Position());
    EXPECT_EQ(def.Height(), 0.2);
    EXPECT_EQ(def.StyleName(), "STANDARD");
    EXPECT_EQ(def.HorizontalMode(), 0);
    EXPECT_EQ(def.VerticalMode(), 0);
    EXPECT_FALSE(def.IsConstant() || def.IsInvisible() || def.IsVerifiable() || def.IsPreset());
    EXPECT_FALSE(def.IsMTextAttribute());
}

TEST(Text, AttributeFlagsAreRead) {
    auto db = cadtest::Load(cadtest::Dxf({{0, "SECTION"}, {2, "ENTITIES"}, {0, "ATTDEF"}, {8, "0"}, {1, "x"},
                                          {2, "T"}, {3, "P"}, {70, "15"}, {72, "1"}, {74, "2"}, {0, "ENDSEC"},
                                          {0, "EOF"}}));
    ASSERT_TRUE(db);
    cad::AttributeDefinition def(db.get(), db->ModelSpace().Entities()[0].Index());
    EXPECT_TRUE(def.IsInvisible() && def.IsConstant() && def.IsVerifiable() && def.IsPreset());
    EXPECT_EQ(def.HorizontalMode(), 1);
    EXPECT_EQ(def.VerticalMode(), 2);
    EXPECT_TRUE(def.UsesAlignmentPoint());
    def.SetInvisible(false);
    EXPECT_EQ(def.Flags(), 14);
}

TEST(Text, MultiLineAttributesGiveTheirPlainText) {
    auto db = cadtest::Corpus("acadsharp-sample-ac1032.dxf");
    ASSERT_TRUE(db);
    cad::Attribute multi;
    for (const cad::Object& o : db->Objects())
        if (o.Type() == "ATTRIB" && cad::Attribute(db.get(), o.Index()).Tag() == "MULTI_LINE_ATT")
            multi = cad::Attribute(db.get(), o.Index());
    ASSERT_TRUE(multi);
    EXPECT_TRUE(multi.IsMTextAttribute());
    EXPECT_EQ(multi.MTextContents(), "my multi line text for the attrrib");
    EXPECT_EQ(multi.PlainText(), "my multi line text for the attrrib");
    multi.SetValue("first\nsecond");
    EXPECT_EQ(multi.MTextContents(), "first\\Psecond");
    EXPECT_EQ(multi.PlainText(), "first\nsecond");
    auto again = cadtest::Reload(*db);
    cad::Attribute read(again.get(), again->ObjectByHandle(multi.GetHandle()).Index());
    EXPECT_EQ(read.PlainText(), "first\nsecond");
    EXPECT_EQ(read.Tag(), "MULTI_LINE_ATT");
}

TEST(Text, MTextPlainTextDropsFormatting) {
    EXPECT_EQ(cad::MTextPlainText("{\\fArial|b1;Bold} text\\Pnext"), "Bold text\nnext");
    EXPECT_EQ(cad::MTextPlainText("\\A1;1\\S1^2;\" pipe"), "11/2\" pipe");
    EXPECT_EQ(cad::MTextPlainText("a\\\\b\\{c\\}"), "a\\b{c}");
    EXPECT_EQ(cad::MTextPlainText("\\LUnder\\l \\C1;red\\~x"), "Under red x");
    EXPECT_EQ(cad::MTextPlainText("line^Jbreak"), "line\nbreak");
}

TEST(Text, MTextContentsAreSplitIntoChunks) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    std::string longText(600, 'x');
    longText += "\xC3\xA9";
    auto mtext = db->ModelSpace().AddMText({0, 0, 0}, 2.5, 100, longText);
    ASSERT_TRUE(mtext);
    EXPECT_EQ(mtext->Contents(), longText);
    auto tags = cad::MTextContentTags(longText);
    ASSERT_EQ(tags.size(), 3u);
    EXPECT_EQ(tags[0].code, 3);
    EXPECT_EQ(tags[2].code, 1);
    auto again = cadtest::Reload(*db);
    cad::MText read(again.get(), again->ObjectByHandle(mtext->GetHandle()).Index());
    EXPECT_EQ(read.Contents(), longText);
    read.SetContents("short");
    EXPECT_EQ(read.PlainText(), "short");
    EXPECT_FALSE(cadtest::Load(cadtest::R12Drawing())->ModelSpace().AddMText({0, 0, 0}, 1, 1, "x"));
}

TEST(Text, TextValuesAreSetInEveryVersion) {
    for (const char* file : {"entities-attribs-ac1009.dxf", "entities-attribs-ac1015.dxf", "attribute-ac1032.dxf",
                             "acadsharp-sample-ac1018-binary.dxf"}) {
        SCOPED_TRACE(file);
        auto db = cadtest::Corpus(file);
        ASSERT_TRUE(db);
        cad::Attribute att;
        for (const cad::Object& o : db->Objects())
            if (o.Type() == "ATTRIB") {
                att = cad::Attribute(db.get(), o.Index());
                break;
            }
        ASSERT_TRUE(att);
        att.SetTextString("New value");
        att.SetHeight(0.75);
        att.SetRotation(0);
        auto again = cadtest::Reload(*db);
        ASSERT_TRUE(again);
        cad::Attribute read(again.get(), again->ObjectByHandle(att.GetHandle()).Index());
        EXPECT_EQ(read.TextString(), "New value");
        EXPECT_EQ(read.Height(), 0.75);
        EXPECT_EQ(read.Rotation(), 0);
        EXPECT_EQ(read.Tag(), att.Tag());
    }
}

TEST(Text, AnUnchangedValueWritesNothing) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::Attribute att(db.get(), db->Select({{0, "INSERT"}})[0].Index());
    att = cad::BlockReference(db.get(), att.Index()).Attributes()[0];
    att.SetTextString("D-101");
    att.SetHeight(0.4);
    EXPECT_FALSE(db->IsModified());
}

}  // namespace
