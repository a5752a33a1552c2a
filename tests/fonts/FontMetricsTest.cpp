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

}  // namespace
