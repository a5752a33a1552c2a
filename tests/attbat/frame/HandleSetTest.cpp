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

// `text` goes in once: a second insertion finds it.
void ExpectKeptOnce(HandleSet& set, const std::string& text) {
    EXPECT_FALSE(set.Contains(text)) << text;
    EXPECT_TRUE(set.Insert(text)) << text;
    EXPECT_FALSE(set.Insert(text)) << text;
    EXPECT_TRUE(set.Contains(text)) << text;
}

TEST(HandleSet, AHandleIsAddedOnce) {
    HandleSet set;
    ExpectKeptOnce(set, "2F");
    EXPECT_FALSE(set.Contains("30"));
}

TEST(HandleSet, TextsThatNameTheSameNumberDifferently) {
    HandleSet set;
    ExpectKeptOnce(set, "2F");
    // Compared with case, as texts: neither a lower-case nor a zero-led form is the same.
    ExpectKeptOnce(set, "2f");
    ExpectKeptOnce(set, "02F");
}

TEST(HandleSet, TextsThatAreNoHandles) {
    HandleSet set;
    // Sixteen digits are kept as text.
    for (const char* text : {"", "G1", "FFFFFFFFFFFFFFFF", "0"}) ExpectKeptOnce(set, text);
    EXPECT_FALSE(set.Contains("FFFFFFFFFFFFFFF"));
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
