#include "cad/units/TextScanner.h"

#include <gtest/gtest.h>

namespace cad {
namespace {

TEST(TextScanner, ScanRealReadsDecimalAndScientificForms) {
    for (auto [text, expected] : {std::pair{"12", 12.0}, {"12.5", 12.5}, {".5", 0.5}, {"5.", 5.0},
                                  {"1.75E+01", 17.5}, {"2e-3", 0.002}}) {
        TextScanner scanner(text);
        double value = 0.0;
        ASSERT_TRUE(scanner.ScanReal(value)) << text;
        EXPECT_DOUBLE_EQ(value, expected) << text;
        EXPECT_TRUE(scanner.AtEnd()) << text;
    }
}

TEST(TextScanner, AnExponentNeedsDigitsSoABearingLetterStays) {
    TextScanner scanner("45E");
    double value = 0.0;
    ASSERT_TRUE(scanner.ScanReal(value));
    EXPECT_EQ(value, 45.0);
    EXPECT_EQ(scanner.Peek(), 'E');
}

TEST(TextScanner, FailedScansLeaveThePositionAlone) {
    for (const char* text : {".", "", "-1", "inf", "nan", "x1", "1e999"}) {
        TextScanner scanner(text);
        double value = 7.0;
        EXPECT_FALSE(scanner.ScanReal(value)) << text;
        EXPECT_EQ(scanner.Position(), 0u) << text;
        EXPECT_EQ(value, 7.0) << text;
    }
}

TEST(TextScanner, ScanMixedReadsFractionsAndMixedNumbers) {
    for (auto [text, expected] : {std::pair{"35/2", 17.5}, {"17 1/2", 17.5}, {"17-1/2", 17.5},
                                  {"17  3/4", 17.75}, {"1/256", 1.0 / 256}, {"3", 3.0}}) {
        TextScanner scanner(text);
        double value = 0.0;
        ASSERT_TRUE(scanner.ScanMixed(value)) << text;
        EXPECT_DOUBLE_EQ(value, expected) << text;
        EXPECT_TRUE(scanner.AtEnd()) << text;
    }
}

TEST(TextScanner, ScanMixedStopsBeforeWhatIsNotAFraction) {
    TextScanner scanner("5-x");
    double value = 0.0;
    ASSERT_TRUE(scanner.ScanMixed(value));
    EXPECT_EQ(value, 5.0);
    EXPECT_EQ(scanner.Peek(), '-');
    for (const char* text : {"1/0", "1.5/2", "1/2.5", "/2"}) {
        TextScanner bad(text);
        EXPECT_FALSE(bad.ScanMixed(value)) << text;
        EXPECT_EQ(bad.Position(), 0u) << text;
    }
}

TEST(TextScanner, TakeMatchesLettersWithoutRegardToCase) {
    TextScanner scanner("dR\u00B0");
    EXPECT_TRUE(scanner.Take('D'));
    EXPECT_TRUE(scanner.Take('r'));
    EXPECT_FALSE(scanner.Take('d'));
    EXPECT_TRUE(scanner.Take("\u00B0"));
    EXPECT_TRUE(scanner.AtEnd());
    EXPECT_EQ(scanner.Peek(), '\0');
}

}  // namespace
}  // namespace cad
