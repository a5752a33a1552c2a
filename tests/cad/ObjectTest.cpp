// What every object has: tags, owners and extended data.
#include "cad/Object.h"

#include <gtest/gtest.h>

#include "Fixtures.h"

namespace {

const char* kWorkbookApp = "999F152C-1E9D-4402-B4E6-01B380A38CD4";

TEST(Object, ExtendedDataIsReadByApplication) {
    auto db = cadtest::Load(cadtest::Dxf({{0, "SECTION"}, {2, "ENTITIES"}, {0, "INSERT"}, {5, "20"}, {8, "0"},
                                          {2, "X"}, {1001, "OTHER"}, {1000, "skip"}, {1001, "999f152c-1e9d-4402-b4e6-01b380a38cd4"},
                                          {1002, "{"}, {1000, "in braces"}, {1002, "}"}, {1000, "C:\\book.xlsx"},
                                          {0, "ENDSEC"}, {0, "EOF"}}));
    ASSERT_TRUE(db);
    cad::Object ref = db->ObjectByHandle(0x20);
    EXPECT_EQ(ref.XdataApps(), (std::vector<std::string>{"OTHER", "999f152c-1e9d-4402-b4e6-01b380a38cd4"}));
    cad::TagList data = ref.Xdata(kWorkbookApp);
    ASSERT_EQ(data.size(), 5u);
    EXPECT_EQ(data[0].code, 1001);
    EXPECT_EQ(data[2].value, "in braces");
    EXPECT_EQ(data[4].value, "C:\\book.xlsx");
    EXPECT_TRUE(ref.Xdata("NONE").empty());
    EXPECT_EQ(ref.GetText(1000, "own data only"), "own data only");
}

TEST(Object, ValuesAreFoundInTheOwnDataOnlyPastApplicationGroups) {
    auto db = cadtest::Load(cadtest::Dxf({{0, "SECTION"}, {2, "OBJECTS"}, {0, "XRECORD"}, {5, "30"},
                                          {102, "{ACAD_REACTORS"}, {330, "A1"}, {102, "}"}, {330, "B2"},
                                          {102, "plain"}, {1, "first"}, {101, "Embedded Object"}, {1, "embedded"},
                                          {0, "XRECORD"}, {5, "31"}, {102, "{OPEN"}, {330, "C3"}, {1001, "APP"},
                                          {330, "D4"}, {0, "ENDSEC"}, {0, "EOF"}}));
    ASSERT_TRUE(db);
    cad::Object first = db->ObjectByHandle(0x30);
    EXPECT_EQ(first.OwnerHandle(), 0xB2u);
    EXPECT_EQ(first.GetText(102), "plain");  // a 102 that opens no group is a value
    EXPECT_EQ(first.GetText(1), "first");
    EXPECT_FALSE(first.Has(101));
    first.SetText(1, "changed");  // the same answers from a changed record
    EXPECT_EQ(first.OwnerHandle(), 0xB2u);
    EXPECT_EQ(first.GetText(1), "changed");
    EXPECT_EQ(first.GetText(102), "plain");
    // A group left open runs to the end of the own data.
    cad::Object second = db->ObjectByHandle(0x31);
    EXPECT_EQ(second.OwnerHandle(), 0u);
    EXPECT_EQ(second.GetText(1001, "none"), "none");
}

TEST(Object, TextViewsNeedNoCopyAndDecodeWhatNeedsIt) {
    auto db = cadtest::Load(cadtest::Dxf({{0, "SECTION"}, {2, "HEADER"}, {9, "$ACADVER"}, {1, "AC1015"},
                                          {9, "$DWGCODEPAGE"}, {3, "ANSI_1252"}, {0, "ENDSEC"},
                                          {0, "SECTION"}, {2, "ENTITIES"}, {0, "TEXT"}, {5, "40"}, {8, " Walls "},
                                          {62, "  5"}, {1, "Stra\\U+00DFe"}, {3, "plain text"}, {0, "ENDSEC"},
                                          {0, "EOF"}}));
    ASSERT_TRUE(db);
    cad::Object text = db->ObjectByHandle(0x40);
    std::string scratch;
    EXPECT_EQ(text.GetTextView(3, scratch), "plain text");
    EXPECT_TRUE(scratch.empty());
    EXPECT_EQ(text.GetTextView(8, scratch), " Walls ");  // text keeps its blanks, as GetText
    EXPECT_EQ(text.GetTextView(62, scratch), "5");       // numbers lose theirs
    EXPECT_EQ(text.GetTextView(1, scratch), "Stra\u00dfe");
    EXPECT_EQ(text.GetTextView(1, scratch), text.GetText(1));
    EXPECT_EQ(text.GetTextView(7, scratch, "Standard"), "Standard");
    text.SetText(3, "new");
    EXPECT_EQ(text.GetTextView(3, scratch), "new");
}

TEST(Object, ExtendedDataIsReplacedAppendedAndDeleted) {
    for (const char* file : {"entities-attribs-ac1009.dxf", "entities-attribs-ac1015.dxf", "acadsharp-sample-ac1018-binary.dxf"}) {
        SCOPED_TRACE(file);
        auto db = cadtest::Corpus(file);
        ASSERT_TRUE(db);
        cad::Entity ref = db->Select({{0, "INSERT"}}).at(0);
        ASSERT_TRUE(ref.SetXdata(kWorkbookApp, {{1000, "a.xlsx"}}));
        ASSERT_TRUE(ref.SetXdata("26B39FF7-A595-4C83-9E44-263A93150487", {{1000, "a.xlsx|Sheet1|4"}}));
        ASSERT_TRUE(ref.SetXdata(kWorkbookApp, {{1000, "b.xlsx"}, {1000, "c.xlsx"}}));
        EXPECT_FALSE(ref.SetXdata("", {{1000, "x"}}));
        EXPECT_TRUE(db->FindRecord("APPID", kWorkbookApp));
        auto again = cadtest::Reload(*db);
        ASSERT_TRUE(again);
        cad::Object read = again->ObjectByHandle(ref.GetHandle());
        EXPECT_EQ(read.Xdata(kWorkbookApp),
                  (cad::TagList{{1001, kWorkbookApp}, {1000, "b.xlsx"}, {1000, "c.xlsx"}}));
        EXPECT_EQ(read.Xdata("26B39FF7-A595-4C83-9E44-263A93150487").at(1).value, "a.xlsx|Sheet1|4");
        read.DeleteXdata(kWorkbookApp);
        EXPECT_TRUE(read.Xdata(kWorkbookApp).empty());
        EXPECT_EQ(read.XdataApps().size(), 1u);
    }
}

TEST(Object, OwnersAndSubclassesFollowTheVersion) {
    auto db = cadtest::Corpus("attribute-ac1032.dxf");
    ASSERT_TRUE(db);
    auto line = db->ModelSpace().AddLine({0, 0, 0}, {1, 0, 0});
    ASSERT_TRUE(line);
    EXPECT_EQ(line->OwnerHandle(), db->ModelSpace().GetHandle());
    EXPECT_EQ(line->Subclasses(), (std::vector<std::string>{"AcDbEntity", "AcDbLine"}));
    auto r12 = cadtest::Load(cadtest::R12Drawing());
    auto old = r12->ModelSpace().AddLine({0, 0, 0}, {1, 0, 0});
    EXPECT_EQ(old->OwnerHandle(), 0u);
    EXPECT_TRUE(old->Subclasses().empty());
}

TEST(Object, ValuesAreSetInTheirSubclass) {
    auto db = cadtest::Corpus("attribute-ac1032.dxf");
    ASSERT_TRUE(db);
    auto line = db->ModelSpace().AddLine({0, 0, 0}, {1, 0, 0});
    line->SetInt(62, 1, "AcDbEntity");
    cad::TagList tags = line->Tags();
    std::size_t color = 0, subclass = 0;
    for (std::size_t i = 0; i < tags.size(); ++i) {
        if (tags[i].code == 62) color = i;
        if (tags[i].code == 100 && tags[i].value == "AcDbLine") subclass = i;
    }
    EXPECT_LT(color, subclass);
    line->Remove(62);
    EXPECT_FALSE(line->Has(62));
}

}  // namespace
