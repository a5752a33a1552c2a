// The set of changed references' handles: texts compared with case, whatever their form.

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "attbat/frame/HandleSet.h"

namespace {

using attbat::HandleSet;

// Upper-case hexadecimal without leading zeros, as drawings write handles.
std::string Hex(unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, "%X", value);
    return text;
}

TEST(HandleSet, AHandleIsAddedOnce) {
    HandleSet set;
    EXPECT_TRUE(set.Insert("2F"));
    EXPECT_FALSE(set.Insert("2F"));
    EXPECT_TRUE(set.Contains("2F"));
    EXPECT_FALSE(set.Contains("30"));
}

TEST(HandleSet, TextsThatNameTheSameNumberDifferently) {
    HandleSet set;
    ASSERT_TRUE(set.Insert("2F"));
    // Compared with case, as texts: neither a lower-case nor a zero-led form is the same.
    EXPECT_FALSE(set.Contains("2f"));
    EXPECT_FALSE(set.Contains("02F"));
    EXPECT_TRUE(set.Insert("2f"));
    EXPECT_TRUE(set.Insert("02F"));
    EXPECT_FALSE(set.Insert("2f"));
    EXPECT_TRUE(set.Contains("2f"));
    EXPECT_TRUE(set.Contains("02F"));
}

TEST(HandleSet, TextsThatAreNoHandles) {
    HandleSet set;
    EXPECT_TRUE(set.Insert(""));
    EXPECT_TRUE(set.Insert("G1"));
    EXPECT_TRUE(set.Insert("FFFFFFFFFFFFFFFF"));  // sixteen digits: kept as text
    EXPECT_FALSE(set.Insert("FFFFFFFFFFFFFFFF"));
    EXPECT_TRUE(set.Contains(""));
    EXPECT_TRUE(set.Contains("G1"));
    EXPECT_FALSE(set.Contains("FFFFFFFFFFFFFFF"));
    EXPECT_TRUE(set.Insert("0"));
    EXPECT_TRUE(set.Contains("0"));
    EXPECT_FALSE(set.Contains("00"));
}

TEST(HandleSet, HoldsADrawingsWorthOfHandles) {
    HandleSet set;
    for (unsigned h = 1; h <= 300000; h += 3) ASSERT_TRUE(set.Insert(Hex(h)));
    for (unsigned h = 1; h <= 300000; ++h) ASSERT_EQ(set.Contains(Hex(h)), h % 3 == 1) << h;
    for (unsigned h = 1; h <= 300000; h += 3) ASSERT_FALSE(set.Insert(Hex(h)));
}

TEST(HandleSet, ClearEmptiesIt) {
    HandleSet set;
    set.Insert("2F");
    set.Insert("x");
    set.Clear();
    EXPECT_FALSE(set.Contains("2F"));
    EXPECT_FALSE(set.Contains("x"));
    EXPECT_TRUE(set.Insert("2F"));
}

}  // namespace
