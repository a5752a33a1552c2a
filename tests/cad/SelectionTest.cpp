// Selection of the entities of the spaces by filter lists.
#include <gtest/gtest.h>

#include "Fixtures.h"

namespace {

std::vector<std::string> Types(const std::vector<cad::Entity>& entities) {
    std::vector<std::string> out;
    for (const cad::Entity& e : entities) out.push_back(e.Type());
    return out;
}

std::unique_ptr<cad::Database> Drawing() {
    return cadtest::Load(cadtest::Dxf(
        {{0, "SECTION"}, {2, "ENTITIES"},
         {0, "LINE"}, {8, "Walls"}, {62, "1"},
         {0, "INSERT"}, {8, "Doors"}, {2, "Door-A"}, {1001, "999F152C-1E9D-4402-B4E6-01B380A38CD4"}, {1000, "x"},
         {0, "CIRCLE"}, {8, "Walls"}, {40, "2.0"},
         {0, "INSERT"}, {8, "Walls"}, {2, "Window"},
         {0, "TEXT"}, {8, "Doors"}, {67, "1"}, {1, "paper"},
         {0, "ENDSEC"}, {0, "EOF"}}));
}

TEST(Selection, TypesWithWildcardsAndCommas) {
    auto db = Drawing();
    EXPECT_EQ(Types(db->Select({{0, "INSERT"}})), (std::vector<std::string>{"INSERT", "INSERT"}));
    EXPECT_EQ(Types(db->Select({{0, "line,circle"}})), (std::vector<std::string>{"LINE", "CIRCLE"}));
    EXPECT_EQ(db->Select({{0, "*"}}).size(), 5u);
    EXPECT_EQ(Types(db->Select({{0, "~INSERT"}})), (std::vector<std::string>{"LINE", "CIRCLE", "TEXT"}));
}

TEST(Selection, BlockNameLayerAndApplication) {
    auto db = Drawing();
    EXPECT_EQ(db->Select({{0, "INSERT"}, {2, "door*"}}).size(), 1u);
    EXPECT_EQ(db->Select({{8, "WALLS"}}).size(), 3u);
    auto linked = db->Select({{0, "INSERT"}, {-3, ""}, {1001, "999F152C-1E9D-4402-B4E6-01B380A38CD4"}});
    ASSERT_EQ(linked.size(), 1u);
    EXPECT_EQ(linked[0].GetText(2), "Door-A");
}

TEST(Selection, GroupsOrAndNot) {
    auto db = Drawing();
    auto selected = db->Select({{-4, "<or"}, {0, "CIRCLE"}, {-4, "<and"}, {0, "INSERT"}, {8, "Doors"}, {-4, "and>"},
                                {-4, "or>"}});
    EXPECT_EQ(Types(selected), (std::vector<std::string>{"INSERT", "CIRCLE"}));
    EXPECT_EQ(Types(db->Select({{8, "Walls"}, {-4, "<not"}, {0, "INSERT"}, {-4, "not>"}})),
              (std::vector<std::string>{"LINE", "CIRCLE"}));
    EXPECT_EQ(db->Select({{-4, "<xor"}, {8, "Walls"}, {0, "INSERT"}, {-4, "xor>"}}).size(), 3u);
}

TEST(Selection, RelationalTestsOnNumbers) {
    auto db = Drawing();
    EXPECT_EQ(Types(db->Select({{-4, ">"}, {40, "1.5"}})), (std::vector<std::string>{"CIRCLE"}));
    EXPECT_EQ(db->Select({{62, "1"}}).size(), 1u);
    EXPECT_EQ(db->Select({{62, "256"}}).size(), 4u);  // missing colour is BYLAYER
}

TEST(Selection, UnbalancedGroupsSelectNothing) {
    auto db = Drawing();
    EXPECT_TRUE(db->Select({{-4, "<or"}, {0, "LINE"}}).empty());
    EXPECT_TRUE(db->Select({{-4, "or>"}}).empty());
    EXPECT_TRUE(db->Select({{-4, "<not"}, {0, "LINE"}, {0, "CIRCLE"}, {-4, "not>"}}).empty());
}

TEST(Selection, PaperSpaceLayoutsAreIncludedInDatabaseOrder) {
    auto db = cadtest::Corpus("ezdxf-192-inserts-576-attribs-ac1018.dxf");
    ASSERT_TRUE(db);
    auto all = db->Select({});
    for (std::size_t i = 1; i < all.size(); ++i) EXPECT_LT(all[i - 1].Index(), all[i].Index());
    auto drawing = Drawing();
    EXPECT_EQ(Types(drawing->Select({{0, "TEXT"}})), (std::vector<std::string>{"TEXT"}));
}

}  // namespace
