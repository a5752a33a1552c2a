#include "cad/ValueStore.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cad {
namespace {

TEST(ValueStore, EveryValueReadsBackAfterTheStoreHasGrownOverManyBlocksAndPages) {
    ValueStore store;
    std::vector<std::uint32_t> ids;
    // 200,000 values of up to 40 bytes: several pages of slots and several blocks of text.
    for (int i = 0; i < 200000; ++i) ids.push_back(store.Add(std::string(i % 41, 'a' + i % 26) + std::to_string(i), i));
    for (int i = 0; i < 200000; ++i) {
        ASSERT_EQ(store.Value(ids[i]), std::string(i % 41, 'a' + i % 26) + std::to_string(i)) << i;
        ASSERT_EQ(store.Replaced(ids[i]), static_cast<std::uint32_t>(i));
    }
}

TEST(ValueStore, AnEmptyValueIsEmpty) {
    ValueStore store;
    const auto id = store.Add("", 7);
    EXPECT_EQ(store.Value(id), "");
    store.Set(id, "now something");
    EXPECT_EQ(store.Value(id), "now something");
    store.Set(id, "");
    EXPECT_EQ(store.Value(id), "");
}

TEST(ValueStore, AValueLongerThanABlockIsKeptWhole) {
    ValueStore store;
    const auto before = store.Add("before", 0);
    const std::string huge(3 << 20, 'x');
    const auto id = store.Add(huge, 0);
    const auto after = store.Add("after", 0);
    EXPECT_EQ(store.Value(id), huge);
    EXPECT_EQ(store.Value(before), "before");
    EXPECT_EQ(store.Value(after), "after");
}

TEST(ValueStore, SettingAValueChangesItAloneAndAShorterOneTakesItsPlace) {
    ValueStore store;
    const auto a = store.Add("first", 1);
    const auto b = store.Add("second", 2);
    store.Set(a, "a much longer first value");
    EXPECT_EQ(store.Value(a), "a much longer first value");
    EXPECT_EQ(store.Value(b), "second");
    const char* place = store.Value(b).data();
    store.Set(b, "2nd");
    EXPECT_EQ(store.Value(b), "2nd");
    EXPECT_EQ(store.Value(b).data(), place);
    EXPECT_EQ(store.Value(a), "a much longer first value");
    EXPECT_EQ(store.Replaced(a), 1u);
    EXPECT_EQ(store.Replaced(b), 2u);
}

}  // namespace
}  // namespace cad
