// Dictionaries, xrecords and extension dictionaries.
#include "cad/Dictionary.h"

#include <gtest/gtest.h>

#include "Fixtures.h"

namespace {

TEST(Dictionary, TheNamedObjectDictionaryListsItsEntries) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    cad::Dictionary nod = db->NamedObjects();
    ASSERT_TRUE(nod);
    EXPECT_TRUE(nod.Has("acad_layout"));
    EXPECT_EQ(nod.Get("ACAD_LAYOUT").Type(), "DICTIONARY");
    EXPECT_FALSE(nod.Get("ORVANE_VELMAR"));
    EXPECT_FALSE(cadtest::Load(cadtest::R12Drawing())->NamedObjects());
}

TEST(Dictionary, XrecordsKeepAnyChainIncludingBinaryChunks) {
    for (const char* file : {"entities-attribs-ac1015.dxf", "attribute-ac1032.dxf", "acadsharp-sample-ac1018-binary.dxf"}) {
        SCOPED_TRACE(file);
        auto db = cadtest::Corpus(file);
        ASSERT_TRUE(db);
        auto mine = db->NamedObjects().GetOrAddDictionary("ORVANE_VELMAR");
        ASSERT_TRUE(mine);
        std::string chunk(300, 'A');  // 150 bytes: more than one 310 tag holds
        cad::TagList data = {{1, "C:\\Work\\Plan \xC3\xA9.xlsx"}, {70, "3"}, {40, "2.5"}, {310, chunk}, {1005, "1F"}};
        auto record = mine->SetXrecord("EXCEL_LINK", data);
        ASSERT_TRUE(record);
        auto again = cadtest::Reload(*db);
        ASSERT_TRUE(again);
        cad::Object dict = again->NamedObjects().Get("orvane_velmar");
        ASSERT_TRUE(dict);
        cad::Object rec = cad::Dictionary(again.get(), dict.Index()).Get("EXCEL_LINK");
        ASSERT_TRUE(rec);
        EXPECT_EQ(rec.Type(), "XRECORD");
        EXPECT_EQ(rec.OwnerHandle(), dict.GetHandle());
        cad::TagList read = cad::Xrecord(again.get(), rec.Index()).Data();
        ASSERT_EQ(read.size(), 6u);  // the chunk comes back in two tags
        EXPECT_EQ(read[0].value, data[0].value);
        EXPECT_EQ(read[1].Int(), 3);
        EXPECT_EQ(read[2].Real(), 2.5);
        EXPECT_EQ(read[3].value + read[4].value, chunk);
        EXPECT_EQ(read[5].AsHandle(), 0x1Fu);
    }
}

TEST(Dictionary, ReplacingAnEntryErasesTheOwnedObject) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    auto mine = db->NamedObjects().GetOrAddDictionary("ORVANE_VELMAR");
    auto first = mine->SetXrecord("EXCEL_LINK", {{1, "a.xlsx"}});
    auto second = mine->SetXrecord("excel_link", {{1, "b.xlsx"}});
    EXPECT_TRUE(first->IsErased());
    EXPECT_EQ(mine->Entries().size(), 1u);
    EXPECT_EQ(cad::Xrecord(db.get(), mine->Get("EXCEL_LINK").Index()).Data()[0].value, "b.xlsx");
    second->SetData({{1, "c.xlsx"}});
    EXPECT_EQ(second->Data(), (cad::TagList{{1, "c.xlsx"}}));
}

TEST(Dictionary, RemovingAnEntryTakesItsObjectsAlong) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    auto mine = db->NamedObjects().GetOrAddDictionary("ORVANE_VELMAR");
    auto record = mine->SetXrecord("EXCEL_LINK", {{1, "a.xlsx"}});
    EXPECT_TRUE(db->NamedObjects().Remove("ORVANE_VELMAR"));
    EXPECT_FALSE(db->NamedObjects().Remove("ORVANE_VELMAR"));
    EXPECT_TRUE(mine->IsErased());
    EXPECT_TRUE(record->IsErased());
    auto again = cadtest::Reload(*db);
    for (const auto& [type, count] : again->CountsByType()) EXPECT_NE(type, "XRECORD");
}

TEST(Dictionary, ExtensionDictionariesAreMadeOnDemand) {
    auto db = cadtest::Corpus("attribute-ac1032.dxf");
    ASSERT_TRUE(db);
    cad::Entity target = db->ModelSpace().Entities().at(0);
    EXPECT_FALSE(target.ExtensionDictionary());
    auto ext = target.GetOrCreateExtensionDictionary();
    ASSERT_TRUE(ext);
    auto same = target.GetOrCreateExtensionDictionary();
    EXPECT_TRUE(*same == *ext);
    ASSERT_TRUE(ext->SetXrecord("DATA", {{1, "x"}}));
    auto again = cadtest::Reload(*db);
    cad::Object read = again->ObjectByHandle(target.GetHandle());
    cad::Dictionary readExt = read.ExtensionDictionary();
    ASSERT_TRUE(readExt);
    EXPECT_EQ(readExt.OwnerHandle(), target.GetHandle());
    EXPECT_TRUE(readExt.Get("DATA"));
    EXPECT_FALSE(cadtest::Load(cadtest::R12Drawing())->ModelSpace().Entities()[0].GetOrCreateExtensionDictionary());
}

}  // namespace
