#include "base/Text.h"

#include <gtest/gtest.h>

namespace base {
namespace {

TEST(Text, CompareNoCaseOrdersAsciiRunsAndWhatFollowsThemAlike) {
    EXPECT_EQ(CompareNoCase("C:/Plans/Floor Ä.dxf", "c:/plans/FLOOR ä.DXF"), 0);
    EXPECT_LT(CompareNoCase("a", "B"), 0);
    EXPECT_GT(CompareNoCase("Z", "a"), 0);
    EXPECT_LT(CompareNoCase("plan x", "PLAN É"), 0);
    EXPECT_GT(CompareNoCase("plan é1", "PLAN É"), 0);
    EXPECT_LT(CompareNoCase("plan", "plan é"), 0);
    EXPECT_FALSE(EqualNoCase("Straße", "STRASSE"));  // simple folding, as before
}

TEST(Text, CompareNoCaseFoldsAsciiAndBeyond) {
    EXPECT_EQ(CompareNoCase("Door", "DOOR"), 0);
    EXPECT_EQ(CompareNoCase("Äpfel", "äPFEL"), 0);
    EXPECT_EQ(CompareNoCase("ΣΟΦΙΑ", "σοφια"), 0);
    EXPECT_EQ(CompareNoCase("ДВЕРЬ", "дверь"), 0);
    EXPECT_LT(CompareNoCase("a", "B"), 0);
    EXPECT_GT(CompareNoCase("b", "A"), 0);
    EXPECT_LT(CompareNoCase("ab", "abc"), 0);
}

TEST(Text, CompareNoCaseOrdersUnderscoreBeforeLettersLikeLowerCase) {
    // Folding goes to lower case, so '_' (0x5F) sorts before letters.
    EXPECT_LT(CompareNoCase("_X", "A"), 0);
}

TEST(Text, FinalSigmaAndMicroFoldToTheirSimpleForms) {
    EXPECT_TRUE(EqualNoCase("ς", "σ"));
    EXPECT_TRUE(EqualNoCase("µ", "μ"));
    EXPECT_FALSE(EqualNoCase("ß", "ss"));
}

TEST(Text, FindNoCaseGivesByteOffset) {
    EXPECT_EQ(FindNoCase("Tür TÜR", "tür", 1), 5u);
    EXPECT_EQ(FindNoCase("abc", "X"), std::string_view::npos);
    EXPECT_EQ(FindNoCase("abc", ""), 0u);
    EXPECT_EQ(FindNoCase("abc", "", 9), std::string_view::npos);
}

TEST(Text, TrimRemovesUnicodeSpaces) {
    EXPECT_EQ(Trim(" \t\r\n x y \u00A0\u3000"), "x y");
    EXPECT_EQ(TrimLeft("  a "), "a ");
    EXPECT_EQ(TrimRight("  a "), "  a");
    EXPECT_EQ(Trim("   "), "");
}

TEST(Text, TrimEndsAtALastAsciiCharacterWhateverComesBefore) {
    EXPECT_EQ(Trim("\u2003x\u3000y"), "x\u3000y");
    EXPECT_EQ(TrimRight("\xC3" "b"), "\xC3" "b");      // a lead byte without its continuation
    EXPECT_EQ(TrimRight("\xE2\x80" "b"), "\xE2\x80" "b");
    EXPECT_EQ(TrimRight("\xE2\x80\x83"), "");          // a lone em space
    EXPECT_EQ(Trim("a\t", "\t"), "a");
    EXPECT_EQ(TrimRight("a1", "0"), "a1");
}

TEST(Text, TrimGivenCharacters) {
    EXPECT_EQ(Trim("<<a>>", "<>"), "a");
    EXPECT_EQ(Trim("«a»", "«»"), "a");
    EXPECT_EQ(TrimLeft("00120", "0"), "120");
    EXPECT_EQ(TrimRight("1.500", "0"), "1.5");
}

TEST(Text, SlicesCountCodePoints) {
    const std::string text = "Größe€x";
    EXPECT_EQ(Length(text), 7u);
    EXPECT_EQ(Left(text, 3), "Grö");
    EXPECT_EQ(Right(text, 2), "€x");
    EXPECT_EQ(Mid(text, 2, 3), "öße");
    EXPECT_EQ(Mid(text, 5), "€x");
    EXPECT_EQ(Left(text, 0), "");
    EXPECT_EQ(Left(text, 99), text);
    EXPECT_EQ(Right(text, 99), text);
    EXPECT_EQ(Mid(text, -3, 2), "Gr");
    EXPECT_EQ(Mid(text, 20, 2), "");
}

TEST(Text, UpperAndLowerCase) {
    EXPECT_EQ(ToUpper("abc ä"), "ABC Ä");
    EXPECT_EQ(ToLower("ABC Ä"), "abc ä");
}

TEST(Text, MalformedUtf8DecodesAsReplacementAndAdvances) {
    const std::string bad = "a\xC3(b\xE2\x82";
    std::size_t pos = 0;
    EXPECT_EQ(DecodeUtf8(bad, pos), U'a');
    EXPECT_EQ(DecodeUtf8(bad, pos), 0xFFFDu);
    EXPECT_EQ(pos, 2u);
    EXPECT_EQ(DecodeUtf8(bad, pos), U'(');
    EXPECT_EQ(DecodeUtf8(bad, pos), U'b');
    EXPECT_EQ(DecodeUtf8(bad, pos), 0xFFFDu);  // truncated three-byte sequence
    EXPECT_FALSE(IsValidUtf8(bad));
    EXPECT_TRUE(IsValidUtf8("ok €\uFFFD"));
    EXPECT_FALSE(IsValidUtf8("\xC0\x80"));  // overlong form of NUL
}

TEST(Text, AppendUtf8RoundTrips) {
    std::string out;
    for (char32_t c : {U'A', U'é', U'€', U'𝄞'}) AppendUtf8(out, c);
    EXPECT_EQ(out, "Aé€𝄞");
    std::string bad;
    AppendUtf8(bad, 0xD800);
    EXPECT_EQ(bad, "\uFFFD");
}

}  // namespace
TEST(SplitTrimmed, GivesTrimmedPiecesAndLeavesOutEmptyOnes) {
    EXPECT_EQ(base::SplitTrimmed(" A , ,B,", ','), (std::vector<std::string>{"A", "B"}));
    EXPECT_EQ(base::SplitTrimmed("x\r\r\ny\r\n\r\n", '\n'), (std::vector<std::string>{"x", "y"}));
    EXPECT_TRUE(base::SplitTrimmed("", ',').empty());
}

}  // namespace base

TEST(Replace, EveryOccurrenceWithCaseLeftToRight) {
    EXPECT_EQ(base::Replace("/a/x.dxf<1_T>\n/a/x.dxf<2_T>", "/a/x.dxf", "/b/x.dxf"),
              "/b/x.dxf<1_T>\n/b/x.dxf<2_T>");
    EXPECT_EQ(base::Replace("aaa", "aa", "b"), "ba");
    EXPECT_EQ(base::Replace("Path", "path", "x"), "Path");
    EXPECT_EQ(base::Replace("abc", "", "x"), "abc");
}
