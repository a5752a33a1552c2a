#include "cad/units/DecimalDigits.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

namespace cad {
namespace {

std::string Fixed(double value, int decimals) {
    DecimalDigits digits(value);
    digits.RoundAt(decimals);
    std::string text;
    digits.AppendFixed(text, decimals);
    return text;
}

std::string Suppressed(std::string text, int dimzin) {
    SuppressZeros(text, 0, dimzin);
    return text;
}

TEST(DecimalDigits, RoundsHalfAwayFromZeroOnTheShortestText) {
    EXPECT_EQ(Fixed(0.125, 2), "0.13");
    EXPECT_EQ(Fixed(2.675, 2), "2.68");
    EXPECT_EQ(Fixed(1.005, 2), "1.01");
    EXPECT_EQ(Fixed(1.0049999, 2), "1.00");
    EXPECT_EQ(Fixed(-2.5, 0), "3");
}

TEST(DecimalDigits, CarriesThroughNines) {
    EXPECT_EQ(Fixed(9.999, 2), "10.00");
    EXPECT_EQ(Fixed(0.9999, 3), "1.000");
    EXPECT_EQ(Fixed(0.6, 0), "1");
}

TEST(DecimalDigits, RoundsAwayEverythingBelowTheLastPlace) {
    EXPECT_EQ(Fixed(0.0004, 3), "0.000");
    EXPECT_EQ(Fixed(1e-300, 16), "0.0000000000000000");
    EXPECT_TRUE([] { DecimalDigits d(0.0004); d.RoundAt(3); return d.IsZero(); }());
}

TEST(DecimalDigits, PadsLargeNumbersWithZeros) {
    EXPECT_EQ(Fixed(1e20, 1), "100000000000000000000.0");
    EXPECT_EQ(Fixed(123.0, 0), "123");
}

TEST(DecimalDigits, ScaledStopsBeyondEighteenDigits) {
    EXPECT_EQ(RoundScaled(17.5, 2).value(), 1750u);
    EXPECT_EQ(RoundScaled(0.125, 2).value(), 13u);
    EXPECT_EQ(RoundScaled(0.0, 4).value(), 0u);
    EXPECT_FALSE(RoundScaled(1e20, 0).has_value());
    EXPECT_FALSE(RoundScaled(1e10, 9).has_value());
}

// RoundScaled decides most values from the double itself; it must agree with rounding the
// shortest text everywhere, near halves above all.
TEST(DecimalDigits, RoundScaledAgreesWithRoundingTheShortestText) {
    std::mt19937_64 random(20261121);
    std::uniform_real_distribution<double> mantissa(0.0, 1.0);
    std::uniform_int_distribution<int> exponent(-8, 14);
    int checked = 0;
    for (int i = 0; i < 200000; ++i) {
        double value = mantissa(random) * std::pow(10.0, exponent(random));
        int decimals = i % 9;
        if (i % 3 == 0) {
            // Halves at the rounding place, as typed decimals are: x.xx5.
            double step = std::pow(10.0, -decimals);
            value = (std::floor(value / step) + 0.5) * step;
        }
        DecimalDigits digits(value);
        digits.RoundAt(decimals);
        auto slow = digits.Scaled(decimals);
        auto fast = RoundScaled(value, decimals);
        if (!slow) continue;
        ASSERT_TRUE(fast.has_value()) << value;
        ASSERT_EQ(*fast, *slow) << value << " at " << decimals;
        ++checked;
    }
    EXPECT_GT(checked, 150000);
}

TEST(DecimalDigits, AppendScaledWritesExactlyTheGivenPlaces) {
    std::string text;
    AppendScaled(text, 550, 2);
    EXPECT_EQ(text, "5.50");
    text.clear();
    AppendScaled(text, 5, 3);
    EXPECT_EQ(text, "0.005");
    text.clear();
    AppendScaled(text, 42, 0);
    EXPECT_EQ(text, "42");
}

TEST(SuppressZeros, DropsTrailingAndLeadingZerosAsDimzinAsks) {
    EXPECT_EQ(Suppressed("12.5000", 8), "12.5");
    EXPECT_EQ(Suppressed("12.0000", 8), "12");
    EXPECT_EQ(Suppressed("0.5000", 4), ".5000");
    EXPECT_EQ(Suppressed("0.5000", 12), ".5");
    EXPECT_EQ(Suppressed("0.0000", 12), "0");
    EXPECT_EQ(Suppressed("0", 12), "0");
    EXPECT_EQ(Suppressed("100", 8), "100");
    EXPECT_EQ(Suppressed("10.50", 3), "10.50");
}

TEST(SuppressZeros, LeavesTextBeforeTheNumberAlone) {
    std::string text = "-0.50";
    SuppressZeros(text, 1, 12);
    EXPECT_EQ(text, "-.5");
}

}  // namespace
}  // namespace cad
