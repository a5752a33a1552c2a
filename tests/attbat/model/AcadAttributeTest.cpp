#include "attbat/model/AcadAttribute.h"

#include <gtest/gtest.h>

#include "attbat/model/AcadAttributeArray.h"
#include "attbat/model/AcadAttDefTag.h"
#include "attbat/model/AcadBlockView.h"
#include "attbat/model/AcadAttributeDef.h"
#include "attbat/model/AcadAttributeDefArray.h"
#include "attbat/model/AcadLayer.h"

namespace attbat {
namespace {

TEST(AcadAttribute, ValueWithBlanksAroundItIsStoredWithoutThem) {
    const AcadAttribute attribute("DOOR", "  D-12 \t", 0);
    EXPECT_EQ(attribute.value, "D-12");
    EXPECT_EQ(attribute.tag, "DOOR");
    EXPECT_EQ(attribute.kind, 0);
    EXPECT_EQ(attribute.dupIndex, 0);
    EXPECT_EQ(attribute.handle, 0u);
    EXPECT_EQ(attribute.HandleText(), "");
    EXPECT_EQ(attribute.constant, 0);
}

TEST(AcadAttribute, HandleIsWrittenInUpperCaseHexadecimal) {
    AcadAttribute attribute("DOOR", "D-12", 0);
    attribute.handle = 0x2f5;
    EXPECT_EQ(attribute.HandleText(), "2F5");
}

TEST(AcadAttribute, DefaultHasEmptyTextsAndZeroNumbers) {
    const AcadAttribute attribute;
    EXPECT_EQ(attribute.tag, "");
    EXPECT_EQ(attribute.value, "");
    EXPECT_EQ(attribute.kind, 0);
    EXPECT_EQ(attribute.isDistance, 0);
    EXPECT_EQ(attribute.invisible, 0);
}

TEST(AcadAttribute, LaterAttributeOfItsTagHasTheDupName) {
    AcadAttribute attribute("DOOR", "x", 0);
    EXPECT_EQ(attribute.DisplayName(), "DOOR");
    attribute.dupIndex = 2;
    EXPECT_EQ(attribute.DisplayName(), "DOOR_Dup(2)");
}

TEST(AcadAttributeArray, IndexOfTagAndGetCompareTagsWithCase) {
    AcadAttributeArray attributes;
    attributes.Add(AcadAttribute("door", "lower", 0));
    attributes.Add(AcadAttribute("DOOR", "first", 0));
    AcadAttribute second("DOOR", "second", 0);
    second.dupIndex = 1;
    attributes.Add(second);
    EXPECT_EQ(attributes.IndexOfTag("DOOR"), 1);
    EXPECT_EQ(attributes.IndexOfTag("Door"), -1);
    EXPECT_EQ(attributes.Get("DOOR", 1), "second");
    EXPECT_EQ(attributes.Get("DOOR", 0), "first");
    EXPECT_EQ(attributes.Get("DOOR", 2), "");
}

TEST(AcadAttributeDef, TwoAttributesOfOneTagHaveDupIndexZeroAndOneAndTheSecondColumnCarriesTheDupForm) {
    AcadAttributeDefArray defs;
    defs.AddAppend(AcadAttributeDef("DOOR", "Door", {}, 0, 0, 0, 0, 0));
    defs.AddAppend(AcadAttributeDef("DOOR", "Door", {}, 0, 0, 0, 0, 0));
    ASSERT_EQ(defs.GetSize(), 2);
    EXPECT_EQ(defs[0].dupIndex, 0);
    EXPECT_EQ(defs[1].dupIndex, 1);
    const AcadBlockView view;
    EXPECT_EQ(ColumnName(view, defs[0]), "DOOR");
    EXPECT_EQ(ColumnName(view, defs[1]), "DOOR_Dup(1)");
}

TEST(AcadAttributeDef, TagsThatDifferOnlyInCaseAreDifferentForDuplicatesYetIndexOfNoCaseFindsTheFirst) {
    AcadAttributeDefArray defs;
    defs.AddAppend(AcadAttributeDef("Door", "", {}, 0, 0, 0, 0, 0));
    defs.AddAppend(AcadAttributeDef("DOOR", "", {}, 0, 0, 0, 0, 0));
    EXPECT_EQ(defs[0].dupIndex, 0);
    EXPECT_EQ(defs[1].dupIndex, 0);
    EXPECT_EQ(defs.IndexOfNoCase("door"), 0);
    EXPECT_EQ(defs.IndexOfNoCase("DOOR"), 0);
    EXPECT_EQ(defs.IndexOfNoCase(""), -1);
    EXPECT_EQ(defs.IndexOfNoCase("WINDOW"), -1);
}

TEST(AcadAttributeDef, WithPromptAsHeaderATagWithAnEmptyPromptHasAnEmptyColumnName) {
    AcadBlockView view;
    view.promptAsHeader = 1;
    AcadAttributeDef noPrompt("DOOR", "", {}, 0, 0, 0, 0, 0);
    noPrompt.dupIndex = 1;  // the prompt wins over the dup form too
    EXPECT_EQ(ColumnName(view, noPrompt), "");
    EXPECT_EQ(ColumnName(view, AcadAttributeDef("DOOR", "Door type", {}, 0, 0, 0, 0, 0)),
              "Door type");
    // Properties keep their names.
    EXPECT_EQ(ColumnName(view, AcadAttributeDef("Layer", "", {}, 0, 0, 0, 0, 1)), "Layer");
}

TEST(AcadAttributeDef, OuterAreaColumnNameCarriesTheAreaUnit) {
    AcadBlockView view;
    const AcadAttributeDef area("Outer Polygon Area", "", {}, 0, 0, 0, 0, 1);
    EXPECT_EQ(ColumnName(view, area), "Outer Polygon Area");
    view.areaUnit = 1;
    EXPECT_EQ(ColumnName(view, area), "Outer Polygon Area [sq.in.]");
    view.areaUnit = 2;
    EXPECT_EQ(ColumnName(view, area), "Outer Polygon Area [sq.ft.]");
    view.areaUnit = 3;
    EXPECT_EQ(ColumnName(view, area), "Outer Polygon Area [sq.m]");
    view.areaUnit = 4;
    EXPECT_EQ(ColumnName(view, area), "Outer Polygon Area");
    view.areaUnit = 2;
    EXPECT_EQ(ColumnName(view, AcadAttributeDef("outer polygon AREA", "", {}, 0, 0, 0, 0, 1)),
              "Outer Polygon Area [sq.ft.]");
}

TEST(AcadAttributeDef, ConstructorsSetLayerZeroAndFlagsInOrder) {
    const AcadAttributeDef def("SPEED", "SPEED", Point3d{1, 2, 3}, 1, 1, 0, 1, 2);
    EXPECT_EQ(def.constant, 1);
    EXPECT_EQ(def.invisible, 1);
    EXPECT_EQ(def.preset, 0);
    EXPECT_EQ(def.verifiable, 1);
    EXPECT_EQ(def.kind, 2);
    EXPECT_EQ(def.position.z, 3);
    EXPECT_EQ(def.layer, "0");
    EXPECT_EQ(def.height, 0.0);
    EXPECT_EQ(AcadAttributeDef().layer, "0");
}

TEST(AcadAttributeDef, SetFieldKnowsThreeNamesWithoutCase) {
    AcadAttributeDef def;
    def.SetField("TAG", "T");
    def.SetField("prompt", "P");
    def.SetField("defaultvalue", "V");
    def.SetField("Layer", "ignored");
    EXPECT_EQ(def.tag, "T");
    EXPECT_EQ(def.prompt, "P");
    EXPECT_EQ(def.defaultValue, "V");
    EXPECT_EQ(def.layer, "0");
}

TEST(AcadAttributeDefArray, FindersCompareTagsWithCaseAndLookAtKind) {
    AcadAttributeDefArray defs;
    defs.AddAppend(AcadAttributeDef("Width", "", {}, 0, 0, 0, 0, 0));
    defs.AddAppend(AcadAttributeDef("Width", "Width", {}, 0, 0, 0, 0, 2));
    defs.AddAppend(AcadAttributeDef("Layer", "", {}, 0, 0, 0, 0, 1));
    const AcadAttributeDef* found = defs.FindByTagAndKind(AcadAttributeDef("Width", "", {}, 0, 0, 0, 0, 2));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found, &defs[1]);
    EXPECT_EQ(defs.FindByTagAndKind(AcadAttributeDef("width", "", {}, 0, 0, 0, 0, 2)), nullptr);
    EXPECT_EQ(defs.FindDynamicOrPropertyByTag("Width"), &defs[1]);
    EXPECT_EQ(defs.FindDynamicOrPropertyByTag("Layer"), &defs[2]);
    EXPECT_EQ(defs.FindDynamicOrPropertyByTag("Height"), nullptr);
    EXPECT_EQ(defs.CountNonProperties(), 2);
}

TEST(AcadAttributeDefArray, PromptOfLooksAtTagAndDupIndex) {
    AcadAttributeDefArray defs;
    defs.AddAppend(AcadAttributeDef("NO", "First", {}, 0, 0, 0, 0, 0));
    defs.AddAppend(AcadAttributeDef("NO", "Second", {}, 0, 0, 0, 0, 0));
    EXPECT_EQ(defs.PromptOf("NO", 1), "Second");
    EXPECT_EQ(defs.PromptOf("NO", 2), "");
}

TEST(AcadAttributeDefArray, AddSortedPutsColumnsInLeftToRightOrderEqualXBehind) {
    AcadAttributeDefArray defs;
    defs.AddSorted(AcadAttributeDef("C", "", Point3d{5, 0, 0}, 0, 0, 0, 0, 0));
    defs.AddSorted(AcadAttributeDef("A", "", Point3d{1, 0, 0}, 0, 0, 0, 0, 0));
    defs.AddSorted(AcadAttributeDef("B", "", Point3d{5, 0, 0}, 0, 0, 0, 0, 0));
    defs.AddSorted(AcadAttributeDef("A", "", Point3d{9, 0, 0}, 0, 0, 0, 0, 0));
    ASSERT_EQ(defs.GetSize(), 4);
    EXPECT_EQ(defs[0].tag, "A");
    EXPECT_EQ(defs[1].tag, "C");
    EXPECT_EQ(defs[2].tag, "B");
    EXPECT_EQ(defs[3].tag, "A");
    EXPECT_EQ(defs[3].dupIndex, 1);
}

TEST(AcadAttributeDefArray, InsertAtNumbersDuplicatesToo) {
    AcadAttributeDefArray defs;
    defs.AddAppend(AcadAttributeDef("X", "", {}, 0, 0, 0, 0, 0));
    defs.InsertAt(0, AcadAttributeDef("X", "", {}, 0, 0, 0, 0, 0));
    EXPECT_EQ(defs[0].dupIndex, 1);
    EXPECT_EQ(defs[1].dupIndex, 0);
}

TEST(AcadAttDefTag, DisplayNameAndConstructionFromADefinition) {
    AcadAttributeDef def("DOOR", "", {}, 0, 0, 0, 0, 2);
    def.dupIndex = 1;
    const AcadAttDefTag tag(def);
    EXPECT_EQ(tag.tag, "DOOR");
    EXPECT_EQ(tag.dupIndex, 1);
    EXPECT_EQ(tag.kind, 2);
    EXPECT_EQ(tag.DisplayName(), "DOOR_Dup(1)");
    EXPECT_EQ(AcadAttDefTag("W", 0, 0).DisplayName(), "W");
}

TEST(AcadLayer, DefaultIsUnnamedAndAllFlagsOff) {
    const AcadLayer layer;
    EXPECT_EQ(layer.name, "");
    EXPECT_EQ(layer.frozen + layer.off + layer.locked, 0);
}

}  // namespace
}  // namespace attbat
