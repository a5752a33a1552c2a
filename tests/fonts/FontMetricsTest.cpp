#include "fonts/FontMetrics.h"

#include <gtest/gtest.h>

#include "fonts/FontFile.h"

namespace {

// DejaVu Sans comes with the build's packages (fonts-dejavu-core).
std::string DejaVu() { return fonts::FindFontFile("DejaVuSans.ttf"); }

TEST(FontFile, FamilyNameFindsItsFile) {
    std::string file = DejaVu();
    ASSERT_FALSE(file.empty());
    EXPECT_NE(file.find("DejaVuSans"), std::string::npos) << file;
    EXPECT_TRUE(fonts::FontFileMatches("DejaVuSans.ttf", file));
    EXPECT_TRUE(fonts::FontFileMatches("DejaVu Sans", file));
}

TEST(FontFile, PathOfAFileIsTakenAsItStands) {
    std::string file = DejaVu();
    ASSERT_FALSE(file.empty());
    EXPECT_EQ(fonts::FindFontFile(file), file);
}

TEST(FontFile, MissingFontGetsAStandInThatSaysSo) {
    std::string file = fonts::FindFontFile("nosuchfont-velmar.ttf");
    ASSERT_FALSE(file.empty());
    EXPECT_FALSE(fonts::FontFileMatches("nosuchfont-velmar.ttf", file));
}

TEST(FontMetrics, WidthGrowsWithTheTextAndScalesWithTheHeight) {
    auto metrics = fonts::FontMetrics::Open(DejaVu());
    ASSERT_TRUE(metrics) << metrics.GetStatus().Message();
    EXPECT_EQ(metrics->TextWidth("", 2.5), 0);
    double one = metrics->TextWidth("W", 1);
    EXPECT_GT(one, 0.5);
    EXPECT_LT(one, 2);
    EXPECT_GT(metrics->TextWidth("WWW", 1), 2.9 * one);
    EXPECT_DOUBLE_EQ(metrics->TextWidth("Door", 5), 5 * metrics->TextWidth("Door", 1));
    // A narrow letter is narrower than a wide one: real advances, not a mean.
    EXPECT_LT(metrics->TextWidth("iiii", 1), metrics->TextWidth("MMMM", 1));
    // DejaVu Sans: capitals 1493 of a 2048 em; "H" advances 1540 units.
    EXPECT_NEAR(metrics->CapHeight(), 1493, 1);
    EXPECT_NEAR(metrics->TextWidth("H", 1), 1540.0 / 1493.0, 1e-9);
}

TEST(FontMetrics, FileThatIsNoFontIsRefusedWithItsName) {
    auto metrics = fonts::FontMetrics::Open("/etc/hostname");
    ASSERT_FALSE(metrics);
    EXPECT_NE(metrics.GetStatus().Message().find("/etc/hostname"), std::string::npos);
}

TEST(FontMetrics, WidestDigitIsRoundedToWholePixels) {
    auto metrics = fonts::FontMetrics::Open(DejaVu());
    ASSERT_TRUE(metrics) << metrics.GetStatus().Message();
    // DejaVu Sans: every digit advances 1303 units of a 2048 em; at 16 pixels an em that is
    // 10.18 pixels, at 11 pixels 7.00, at 22 pixels 14.0 (13.997).
    EXPECT_EQ(metrics->MaxDigitPixels(16), 10);
    EXPECT_EQ(metrics->MaxDigitPixels(11), 7);
    EXPECT_EQ(metrics->MaxDigitPixels(22), 14);
}

// The fonts metric-compatible with the spreadsheet defaults come from install-deps.sh.
void ExpectStandIn(const std::string& family, const std::string& file) {
    std::string found = fonts::FindFontFile(family);
    ASSERT_NE(found.find(file), std::string::npos)
        << family << " should be " << file << " here (scripts/install-deps.sh), fontconfig gives " << found;
}

TEST(MaxDigitWidth, CommonWorkbookDefaultsMeasureSevenPixels) {
    ExpectStandIn("Calibri", "Carlito");
    ExpectStandIn("Arial", "LiberationSans");
    // Carlito's digits advance 1038 of 2048: 7.43 pixels at 11 points (14.67 pixels an em);
    // Liberation Sans's 1139 of 2048: 7.42 pixels at 10 points (13.33 an em).
    EXPECT_EQ(fonts::MaxDigitWidth("Calibri", 11).Value(), 7);
    EXPECT_EQ(fonts::MaxDigitWidth("Arial", 10).Value(), 7);
}

TEST(MaxDigitWidth, LargerSizesMeasureTheirOwnDigit) {
    ExpectStandIn("Calibri", "Carlito");
    ExpectStandIn("Arial", "LiberationSans");
    // Calibri 20: 26.67 pixels an em, 1038 / 2048 of it is 13.52, so 14. Arial 14: 18.67
    // pixels an em, 1139 / 2048 of it is 10.38, so 10.
    EXPECT_EQ(fonts::MaxDigitWidth("Calibri", 20).Value(), 14);
    EXPECT_EQ(fonts::MaxDigitWidth("Arial", 14).Value(), 10);
}

TEST(MaxDigitWidth, TheWidestOfDigitsOfDifferentWidthsCounts) {
    ExpectStandIn("Cambria", "Caladea");
    // Caladea's digits differ: "0" advances 517 of a 1000 em, "1" only 362. At 11 points (14.67
    // pixels an em) the "0" is 7.58 pixels, so 8; the "1" would give 5.
    EXPECT_EQ(fonts::MaxDigitWidth("Cambria", 11).Value(), 8);
}

TEST(MaxDigitWidth, SizeThatIsNotPositiveIsRefused) {
    auto none = fonts::MaxDigitWidth("Calibri", 0);
    ASSERT_FALSE(none);
    EXPECT_NE(none.GetStatus().Message().find("Calibri"), std::string::npos);
    EXPECT_FALSE(fonts::MaxDigitWidth("Calibri", -3));
}

}  // namespace
