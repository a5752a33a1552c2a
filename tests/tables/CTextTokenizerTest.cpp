#include "tables/CTextTokenizer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tables {
namespace {

std::vector<std::string> Fields(std::string_view text, std::string_view delimiters) {
    CTextTokenizer tokenizer(text, delimiters);
    std::vector<std::string> fields;
    std::string field;
    while (tokenizer.Next(field)) fields.push_back(field);
    EXPECT_EQ(field, "");  // the last, failing call empties it too
    return fields;
}

TEST(CTextTokenizer, LeadingAndTrailingDelimitersGiveOneFieldThenFalse) {
    CTextTokenizer tokenizer("\n\nab\n", "\n");
    std::string field = "old";
    EXPECT_TRUE(tokenizer.Next(field));
    EXPECT_EQ(field, "ab");
    EXPECT_FALSE(tokenizer.Next(field));
    EXPECT_EQ(field, "");
    EXPECT_FALSE(tokenizer.Next(field));
}

TEST(CTextTokenizer, DelimitersInARowNeverGiveAnEmptyField) {
    EXPECT_EQ(Fields("a,,b, ,c", ", "), (std::vector<std::string>{"a", "b", "c"}));
}

TEST(CTextTokenizer, EmptyTextAndTextOfDelimitersOnlyGiveNothing) {
    EXPECT_TRUE(Fields("", "\n").empty());
    EXPECT_TRUE(Fields("\n\n\n", "\n").empty());
}

TEST(CTextTokenizer, WithoutDelimitersTheWholeTextIsOneField) {
    EXPECT_EQ(Fields("a b", ""), (std::vector<std::string>{"a b"}));
}

TEST(CTextTokenizer, ACharacterWhoseLowByteEqualsADelimiterAlsoSplits) {
    // U+010A has the low byte of "\n"; U+4E2C the low byte of ",".
    EXPECT_EQ(Fields("a\xC4\x8A" "b", "\n"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(Fields("x\xE4\xB8\xAC" "y", ","), (std::vector<std::string>{"x", "y"}));
}

TEST(CTextTokenizer, AWideDelimiterSetsTheBitOfItsLowByte) {
    // A delimiter U+010A splits at a plain "\n" as well.
    EXPECT_EQ(Fields("a\nb", "\xC4\x8A"), (std::vector<std::string>{"a", "b"}));
}

TEST(CTextTokenizer, MultiByteCharactersWithOtherLowBytesStayWhole) {
    EXPECT_EQ(Fields("größe\nhöhe", "\n"), (std::vector<std::string>{"größe", "höhe"}));
}

}  // namespace
}  // namespace tables
