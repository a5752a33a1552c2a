// Symbol tables: layers, application ids, viewports, records added.
#include "cad/SymbolRecord.h"

#include <gtest/gtest.h>

#include "Fixtures.h"

namespace {

TEST(SymbolRecord, LayersAreFoundWithoutRegardToCase) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::Layer walls = db->FindLayer("WALLS");
    ASSERT_TRUE(walls);
    EXPECT_EQ(walls.Name(), "Walls");
    EXPECT_TRUE(walls.IsFrozen());
    EXPECT_TRUE(walls.IsOff());
    EXPECT_TRUE(walls.IsLocked());
    EXPECT_EQ(walls.Color(), 3);
    EXPECT_FALSE(db->FindLayer("Doors"));
    cad::Layer zero = db->FindLayer("0");
    EXPECT_FALSE(zero.IsFrozen() || zero.IsOff() || zero.IsLocked());
}

TEST(SymbolRecord, LayerStatesCanBeSet) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::Layer walls = db->FindLayer("Walls");
    walls.SetFrozen(false);
    walls.SetOff(false);
    walls.SetLocked(false);
    auto again = cadtest::Reload(*db);
    cad::Layer read = again->FindLayer("Walls");
    EXPECT_FALSE(read.IsFrozen() || read.IsOff() || read.IsLocked());
    EXPECT_EQ(read.Color(), 3);
}

TEST(SymbolRecord, AddedLayersReadBackInEveryVersion) {
    for (const char* file : {"entities-attribs-ac1009.dxf", "entities-attribs-ac1015.dxf", "attribute-ac1032.dxf"}) {
        SCOPED_TRACE(file);
        auto db = cadtest::Corpus(file);
        ASSERT_TRUE(db);
        std::size_t before = db->TableRecords("LAYER").size();
        auto layer = db->AddLayer("Velmar Tags");
        ASSERT_TRUE(layer);
        auto same = db->AddLayer("VELMAR TAGS");
        EXPECT_TRUE(*same == *layer);
        auto again = cadtest::Reload(*db);
        ASSERT_TRUE(again);
        EXPECT_EQ(again->TableRecords("LAYER").size(), before + 1);
        cad::Layer read = again->FindLayer("velmar tags");
        ASSERT_TRUE(read);
        EXPECT_EQ(read.Color(), 7);
        if (db->Release() >= 1012) {
            EXPECT_EQ(read.OwnerHandle(), again->TableRecords("LAYER").front().OwnerHandle());
            EXPECT_EQ(read.Subclasses(), (std::vector<std::string>{"AcDbSymbolTableRecord", "AcDbLayerTableRecord"}));
        }
    }
}

TEST(SymbolRecord, ApplicationsAreRegisteredOnce) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    std::size_t before = db->TableRecords("APPID").size();
    EXPECT_TRUE(db->RegisterApp("999F152C-1E9D-4402-B4E6-01B380A38CD4"));
    EXPECT_TRUE(db->RegisterApp("999f152c-1e9d-4402-b4e6-01b380a38cd4"));
    EXPECT_EQ(db->TableRecords("APPID").size(), before + 1);
    EXPECT_FALSE(db->RegisterApp(""));
}

TEST(SymbolRecord, TheActiveViewportCanBeMovedAndZoomed) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    cad::Viewport vp(db.get(), db->ActiveViewport().Index());
    ASSERT_TRUE(db->ActiveViewport());
    vp.SetCenter(100, 200);
    vp.SetHeight(50);
    vp.SetHeight(-1);
    auto again = cadtest::Reload(*db);
    cad::Viewport read(again.get(), again->ActiveViewport().Index());
    EXPECT_EQ(read.CenterX(), 100);
    EXPECT_EQ(read.CenterY(), 200);
    EXPECT_EQ(read.Height(), 50);
}

TEST(SymbolRecord, TextStylesAndLineTypesAreListed) {
    auto db = cadtest::Corpus("entities-attribs-ac1015.dxf");
    ASSERT_TRUE(db);
    EXPECT_TRUE(db->FindRecord("STYLE", "standard"));
    EXPECT_TRUE(db->FindRecord("LTYPE", "Continuous"));
    EXPECT_TRUE(db->TableRecords("NOPE").empty());
}

}  // namespace
