#include "cad/units/DistanceText.h"

#include "cad/units/NearlyEqual.h"
#include "cad/units/ScopedDimzin.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <ostream>
#include <string>

namespace cad {
namespace {

struct ToTextCase {
    double value;
    int units;
    int precision;
    int dimzin;
    int unitmode;
    const char* text;
};

std::ostream& operator<<(std::ostream& out, const ToTextCase& c) {
    return out << c.value << " units " << c.units << " precision " << c.precision << " dimzin "
               << c.dimzin << " unitmode " << c.unitmode << " -> " << c.text;
}

class DistanceToText : public testing::TestWithParam<ToTextCase> {};

TEST_P(DistanceToText, GivesTheHostText) {
    const ToTextCase& c = GetParam();
    UnitSettings settings;
    settings.dimzin = c.dimzin;
    settings.unitmode = c.unitmode;
    auto text = DistanceText(c.value, c.units, c.precision, settings);
    ASSERT_TRUE(text.IsOk()) << text.GetStatus().Message();
    EXPECT_EQ(*text, c.text);
}

// The reference pages' own examples, 17.5 in every mode at DIMZIN 0 and with UNITMODE 1.
INSTANTIATE_TEST_SUITE_P(DocumentedExamples, DistanceToText, testing::Values(
    ToTextCase{17.5, 1, 4, 0, 0, "1.7500E+01"},
    ToTextCase{17.5, 2, 2, 0, 0, "17.50"},
    ToTextCase{17.5, 3, 2, 0, 0, "1'-5.50\""},
    ToTextCase{17.5, 4, 2, 0, 0, "1'-5 1/2\""},
    ToTextCase{17.5, 5, 2, 0, 0, "17 1/2"},
    ToTextCase{17.5, 1, 4, 0, 1, "1.7500E+01"},
    ToTextCase{17.5, 2, 2, 0, 1, "17.50"},
    ToTextCase{17.5, 3, 2, 0, 1, "1'5.50\""},
    ToTextCase{17.5, 4, 2, 0, 1, "1'5-1/2\""},
    ToTextCase{17.5, 5, 2, 0, 1, "17-1/2"},
    ToTextCase{0.5, 2, 4, 4, 0, ".5000"},
    ToTextCase{12.5, 2, 4, 8, 0, "12.5"},
    ToTextCase{0.5, 2, 4, 12, 0, ".5"}));

INSTANTIATE_TEST_SUITE_P(Scientific, DistanceToText, testing::Values(
    ToTextCase{0.0, 1, 4, 0, 0, "0.0000E+00"},
    ToTextCase{-17.5, 1, 2, 0, 0, "-1.75E+01"},
    ToTextCase{0.00012345, 1, 2, 0, 0, "1.23E-04"},
    ToTextCase{0.00012355, 1, 2, 0, 0, "1.24E-04"},
    ToTextCase{9.999, 1, 2, 0, 0, "1.00E+01"},
    ToTextCase{1e100, 1, 2, 0, 0, "1.00E+100"},
    ToTextCase{1e-300, 1, 1, 0, 0, "1.0E-300"},
    ToTextCase{5e-324, 1, 1, 0, 0, "5.0E-324"},
    ToTextCase{123456.0, 1, 0, 0, 0, "1E+05"},
    ToTextCase{17.5, 1, 4, 8, 0, "1.75E+01"},
    ToTextCase{10.0, 1, 4, 8, 0, "1E+01"},
    ToTextCase{1.25, 1, 1, 0, 0, "1.3E+00"},
    ToTextCase{-1.25, 1, 1, 0, 0, "-1.3E+00"}));

INSTANTIATE_TEST_SUITE_P(Decimal, DistanceToText, testing::Values(
    ToTextCase{1234.5678, 2, 2, 0, 0, "1234.57"},
    ToTextCase{-1234.5678, 2, 2, 0, 0, "-1234.57"},
    ToTextCase{0.125, 2, 2, 0, 0, "0.13"},
    ToTextCase{-0.125, 2, 2, 0, 0, "-0.13"},
    ToTextCase{2.675, 2, 2, 0, 0, "2.68"},
    ToTextCase{1.005, 2, 2, 0, 0, "1.01"},
    ToTextCase{0.5, 2, 0, 0, 0, "1"},
    ToTextCase{1.5, 2, 0, 0, 0, "2"},
    ToTextCase{2.5, 2, 0, 0, 0, "3"},
    ToTextCase{-2.5, 2, 0, 0, 0, "-3"},
    ToTextCase{0.4, 2, 0, 0, 0, "0"},
    ToTextCase{99.995, 2, 2, 0, 0, "100.00"},
    ToTextCase{1e20, 2, 2, 0, 0, "100000000000000000000.00"},
    ToTextCase{1e-10, 2, 4, 0, 0, "0.0000"},
    ToTextCase{-1e-10, 2, 4, 0, 0, "0.0000"},
    ToTextCase{-0.0, 2, 4, 0, 0, "0.0000"},
    ToTextCase{123456789.123, 2, 3, 0, 0, "123456789.123"},
    ToTextCase{0.30000000000000004, 2, 16, 0, 0, "0.3000000000000000"},
    ToTextCase{1.0 / 3.0, 2, 8, 0, 0, "0.33333333"},
    ToTextCase{2.0 / 3.0, 2, 8, 0, 0, "0.66666667"},
    ToTextCase{5.0, 2, 0, 0, 0, "5"},
    ToTextCase{5.0, 2, 4, 8, 0, "5"},
    ToTextCase{5.1, 2, 4, 8, 0, "5.1"},
    ToTextCase{0.05, 2, 4, 8, 0, "0.05"},
    ToTextCase{0.05, 2, 4, 12, 0, ".05"},
    ToTextCase{-0.5, 2, 4, 4, 0, "-.5000"},
    ToTextCase{-0.5, 2, 4, 12, 0, "-.5"},
    ToTextCase{10.0, 2, 4, 12, 0, "10"},
    ToTextCase{100.5, 2, 4, 12, 0, "100.5"},
    ToTextCase{0.00001, 2, 4, 12, 0, "0"},
    ToTextCase{0.0, 2, 4, 4, 0, ".0000"},
    ToTextCase{0.5, 2, 4, 3, 0, "0.5000"},
    ToTextCase{0.5, 2, 4, 1, 1, "0.5000"},
    ToTextCase{12.5, 2, 2, 8, 0, "12.5"},
    ToTextCase{12.5, 2, 2, 0, 0, "12.50"}));

INSTANTIATE_TEST_SUITE_P(Engineering, DistanceToText, testing::Values(
    ToTextCase{6.0, 3, 2, 0, 0, "6.00\""},
    ToTextCase{6.0, 3, 2, 1, 0, "0'-6.00\""},
    ToTextCase{6.0, 3, 2, 2, 0, "0'-6.00\""},
    ToTextCase{6.0, 3, 2, 3, 0, "6.00\""},
    ToTextCase{24.0, 3, 2, 0, 0, "2'"},
    ToTextCase{24.0, 3, 2, 1, 0, "2'-0.00\""},
    ToTextCase{24.0, 3, 2, 2, 0, "2'"},
    ToTextCase{24.0, 3, 2, 3, 0, "2'-0.00\""},
    ToTextCase{0.0, 3, 2, 0, 0, "0.00\""},
    ToTextCase{0.0, 3, 2, 1, 0, "0'-0.00\""},
    ToTextCase{0.0, 3, 2, 2, 0, "0'"},
    ToTextCase{0.0, 3, 2, 3, 0, "0.00\""},
    ToTextCase{143.999, 3, 2, 0, 0, "12'"},
    ToTextCase{143.999, 3, 2, 1, 0, "12'-0.00\""},
    ToTextCase{-17.5, 3, 2, 0, 0, "-1'-5.50\""},
    ToTextCase{17.5, 3, 0, 0, 0, "1'-6\""},
    ToTextCase{17.25, 3, 1, 0, 0, "1'-5.3\""},
    ToTextCase{17.5, 3, 2, 8, 0, "1'-5.5\""},
    ToTextCase{12.5, 3, 2, 4, 0, "1'-.50\""},
    ToTextCase{24.0, 3, 2, 9, 0, "2'-0\""},
    ToTextCase{1200.75, 3, 2, 0, 0, "100'-0.75\""},
    ToTextCase{1200.75, 3, 2, 0, 1, "100'0.75\""},
    ToTextCase{-0.001, 3, 2, 1, 0, "0'-0.00\""},
    ToTextCase{1e20, 3, 2, 0, 0, "8333333333333333000'-4.00\""}));

INSTANTIATE_TEST_SUITE_P(Architectural, DistanceToText, testing::Values(
    ToTextCase{17.5, 4, 0, 0, 0, "1'-6\""},
    ToTextCase{17.4, 4, 0, 0, 0, "1'-5\""},
    ToTextCase{0.5, 4, 2, 0, 0, "1/2\""},
    ToTextCase{0.5, 4, 2, 1, 0, "0'-0 1/2\""},
    ToTextCase{12.5, 4, 2, 0, 0, "1'-0 1/2\""},
    ToTextCase{12.5, 4, 2, 0, 1, "1'0-1/2\""},
    ToTextCase{36.0, 4, 4, 0, 0, "3'"},
    ToTextCase{36.0, 4, 4, 1, 0, "3'-0\""},
    ToTextCase{36.0, 4, 4, 2, 0, "3'"},
    ToTextCase{36.0, 4, 4, 3, 0, "3'-0\""},
    ToTextCase{5.0, 4, 4, 0, 0, "5\""},
    ToTextCase{5.0, 4, 4, 2, 0, "0'-5\""},
    ToTextCase{0.0, 4, 4, 0, 0, "0\""},
    ToTextCase{0.0, 4, 4, 1, 0, "0'-0\""},
    ToTextCase{0.0, 4, 4, 2, 0, "0'"},
    ToTextCase{17.0625, 4, 4, 0, 0, "1'-5 1/16\""},
    ToTextCase{17.0625, 4, 3, 0, 0, "1'-5 1/8\""},
    ToTextCase{17.0625, 4, 8, 0, 0, "1'-5 1/16\""},
    ToTextCase{17.00390625, 4, 8, 0, 0, "1'-5 1/256\""},
    ToTextCase{17.00390625, 4, 10, 0, 0, "1'-5 1/256\""},
    ToTextCase{143.99, 4, 2, 0, 0, "12'"},
    ToTextCase{143.8, 4, 2, 0, 0, "11'-11 3/4\""},
    ToTextCase{-17.5, 4, 2, 0, 0, "-1'-5 1/2\""},
    ToTextCase{100.25, 4, 2, 0, 0, "8'-4 1/4\""},
    ToTextCase{0.75, 4, 2, 3, 0, "3/4\""},
    ToTextCase{-0.01, 4, 2, 0, 0, "0\""}));

INSTANTIATE_TEST_SUITE_P(Fractional, DistanceToText, testing::Values(
    ToTextCase{0.5, 5, 2, 0, 0, "1/2"},
    ToTextCase{0.75, 5, 1, 0, 0, "1"},
    ToTextCase{3.0, 5, 4, 0, 0, "3"},
    ToTextCase{-17.5, 5, 2, 0, 0, "-17 1/2"},
    ToTextCase{-17.5, 5, 2, 0, 1, "-17-1/2"},
    ToTextCase{0.0, 5, 4, 0, 0, "0"},
    ToTextCase{1.0 / 3.0, 5, 4, 0, 0, "5/16"},
    ToTextCase{2.875, 5, 3, 0, 0, "2 7/8"},
    ToTextCase{2.875, 5, 2, 0, 0, "3"},
    ToTextCase{-0.01, 5, 2, 0, 0, "0"},
    ToTextCase{1e20, 5, 4, 0, 0, "100000000000000000000"}));

TEST(DistanceText, MinusOneTakesTheDrawingsUnitsAndPrecision) {
    UnitSettings settings;
    EXPECT_EQ(*DistanceText(17.5, -1, -1, settings), "17.5000");
    settings.lunits = 4;
    settings.luprec = 1;
    EXPECT_EQ(*DistanceText(17.5, -1, -1, settings), "1'-5 1/2\"");
    EXPECT_EQ(*DistanceText(17.5, 2, -1, settings), "17.5");
    EXPECT_EQ(*DistanceText(17.5, -1, 0, settings), "1'-6\"");
}

TEST(DistanceText, TwelveFiftyReadsBackAsTwelvePointFiveWithDimzinEight) {
    UnitSettings settings;
    settings.luprec = 2;
    {
        ScopedDimzin trailing(settings, 8);
        EXPECT_EQ(*DistanceText(12.50, 2, -1, settings), "12.5");
    }
    EXPECT_EQ(*DistanceText(12.50, 2, -1, settings), "12.50");
}

TEST(DistanceText, ZeroCoordinateInDecimalUnitsShowsZeroWithTrailingZerosDropped) {
    UnitSettings settings;
    settings.dimzin = 8;
    EXPECT_EQ(*DistanceText(0.0, 2, -1, settings), "0");
    EXPECT_EQ(*DistanceText(-0.0, 2, -1, settings), "0");
    settings.dimzin = 0;
    EXPECT_EQ(*DistanceText(0.0, 2, -1, settings), "0.0000");
}

TEST(DistanceText, RefusesUnknownUnitsPrecisionsAndNonNumbers) {
    UnitSettings settings;
    for (int units : {0, 6, -2}) EXPECT_FALSE(DistanceText(1.0, units, 2, settings).IsOk());
    EXPECT_FALSE(DistanceText(1.0, 2, 17, settings).IsOk());
    EXPECT_FALSE(DistanceText(1.0, 2, -2, settings).IsOk());
    EXPECT_FALSE(DistanceText(std::nan(""), 2, 2, settings).IsOk());
    EXPECT_FALSE(DistanceText(std::numeric_limits<double>::infinity(), 4, 2, settings).IsOk());
    settings.lunits = 9;
    auto text = DistanceText(1.0, -1, 2, settings);
    ASSERT_FALSE(text.IsOk());
    EXPECT_NE(text.GetStatus().Message().find('9'), std::string::npos);
}

struct FromTextCase {
    const char* text;
    int units;
    double value;
};

std::ostream& operator<<(std::ostream& out, const FromTextCase& c) {
    return out << '"' << c.text << "\" units " << c.units << " -> " << c.value;
}

class TextToDistanceReads : public testing::TestWithParam<FromTextCase> {};

TEST_P(TextToDistanceReads, TheHostForms) {
    const FromTextCase& c = GetParam();
    auto value = TextToDistance(c.text, c.units, UnitSettings());
    ASSERT_TRUE(value.IsOk()) << value.GetStatus().Message();
    EXPECT_DOUBLE_EQ(*value, c.value);
}

INSTANTIATE_TEST_SUITE_P(DocumentedExamples, TextToDistanceReads, testing::Values(
    FromTextCase{"1.7500E+01", 1, 17.5},
    FromTextCase{"17.50", 2, 17.5},
    FromTextCase{"1'-5.50\"", 3, 17.5},
    FromTextCase{"1'-5 1/2\"", 4, 17.5},
    FromTextCase{"17 1/2", 5, 17.5},
    FromTextCase{"1.75E+01", 1, 17.5},
    FromTextCase{"17.5", 2, 17.5}));

INSTANTIATE_TEST_SUITE_P(Numbers, TextToDistanceReads, testing::Values(
    FromTextCase{"1.50", 2, 1.5},
    FromTextCase{"1.75e1", 2, 17.5},
    FromTextCase{"-17.5", 2, -17.5},
    FromTextCase{"+17.5", 2, 17.5},
    FromTextCase{".5", 2, 0.5},
    FromTextCase{"5.", 2, 5.0},
    FromTextCase{"  12.5  ", 2, 12.5},
    FromTextCase{"\t12.5", 1, 12.5},
    FromTextCase{"17-1/2", 5, 17.5},
    FromTextCase{"35/2", 5, 17.5},
    FromTextCase{"1/2", 2, 0.5},
    FromTextCase{"-17 1/2", 5, -17.5},
    FromTextCase{"1E-3", 1, 0.001},
    FromTextCase{"100000000000000000000", 2, 1e20},
    FromTextCase{"0", 2, 0.0},
    FromTextCase{"1e-400", 2, 0.0}));

INSTANTIATE_TEST_SUITE_P(FeetAndInches, TextToDistanceReads, testing::Values(
    FromTextCase{"1'5-1/2\"", 4, 17.5},
    FromTextCase{"1'5.50\"", 3, 17.5},
    FromTextCase{"1'-5 1/2\"", 3, 17.5},
    FromTextCase{"1'-5.5\"", 4, 17.5},
    FromTextCase{"1'", 4, 12.0},
    FromTextCase{"1.5'", 4, 18.0},
    FromTextCase{"5.5\"", 4, 5.5},
    FromTextCase{"5 1/2\"", 4, 5.5},
    FromTextCase{"17.5", 4, 17.5},
    FromTextCase{"1'-5", 4, 17.0},
    FromTextCase{"1' 5\"", 4, 17.0},
    FromTextCase{"1' - 5\"", 3, 17.0},
    FromTextCase{"-1'-5 1/2\"", 4, -17.5},
    FromTextCase{"2'", 3, 24.0},
    FromTextCase{"0'-0 1/2\"", 4, 0.5},
    FromTextCase{"1.7500E+01", 3, 17.5},
    FromTextCase{"1'-0.50\"", 3, 12.5},
    FromTextCase{"100'-0.75\"", 3, 1200.75},
    FromTextCase{"1/2\"", 4, 0.5}));

TEST(TextToDistance, ACellShowingOnePointFiftyEqualsOnePointFive) {
    auto value = TextToDistance("1.50", -1, UnitSettings());
    ASSERT_TRUE(value.IsOk());
    EXPECT_TRUE(NearlyEqual(*value, 1.5));
}

TEST(TextToDistance, MinusOneReadsInTheDrawingsUnits) {
    UnitSettings settings;
    settings.lunits = 4;
    EXPECT_DOUBLE_EQ(*TextToDistance("1'-5 1/2\"", -1, settings), 17.5);
    settings.lunits = 2;
    EXPECT_FALSE(TextToDistance("1'-5 1/2\"", -1, settings).IsOk());
}

class TextToDistanceRefuses : public testing::TestWithParam<FromTextCase> {};

TEST_P(TextToDistanceRefuses, WhatIsNotADistance) {
    const FromTextCase& c = GetParam();
    auto value = TextToDistance(c.text, c.units, UnitSettings());
    ASSERT_FALSE(value.IsOk()) << *value;
    EXPECT_NE(value.GetStatus().Message().find("is not a distance"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Failures, TextToDistanceRefuses, testing::Values(
    FromTextCase{"", 2, 0}, FromTextCase{"   ", 2, 0}, FromTextCase{"abc", 2, 0},
    FromTextCase{"1.5x", 2, 0}, FromTextCase{"1'-5", 2, 0}, FromTextCase{"5\"", 2, 0},
    FromTextCase{"1'", 5, 0}, FromTextCase{"1/0", 5, 0}, FromTextCase{"1.5/2", 5, 0},
    FromTextCase{"1 2", 2, 0}, FromTextCase{"--5", 2, 0}, FromTextCase{"1e400", 2, 0},
    FromTextCase{"inf", 2, 0}, FromTextCase{"nan", 2, 0}, FromTextCase{".", 2, 0},
    FromTextCase{"1'-", 4, 0}, FromTextCase{"1'-5\"x", 4, 0}, FromTextCase{"1'2'", 4, 0},
    FromTextCase{"12,5", 2, 0}, FromTextCase{"0x10", 2, 0}, FromTextCase{"1e", 2, 0},
    FromTextCase{"-", 2, 0}, FromTextCase{"\"", 4, 0}, FromTextCase{"5\"\"", 4, 0}));

// Whatever a cell holds, reading it never crashes and never gives a number that isn't finite.
TEST(TextToDistance, AnyTextGivesAFiniteNumberOrAFailure) {
    std::mt19937 random(4);
    const std::string alphabet = "0123456789.-+/'\" eE dDrgNSWx\t";
    for (int i = 0; i < 20000; ++i) {
        std::string text;
        int length = static_cast<int>(random() % 12);
        for (int j = 0; j < length; ++j) text += alphabet[random() % alphabet.size()];
        for (int units = 1; units <= 5; ++units) {
            auto value = TextToDistance(text, units, UnitSettings());
            if (!value.IsOk()) continue;
            EXPECT_TRUE(std::isfinite(*value)) << text;
        }
    }
}

TEST(TextToDistance, RefusesUnknownUnits) {
    EXPECT_FALSE(TextToDistance("1", 0, UnitSettings()).IsOk());
    EXPECT_FALSE(TextToDistance("1", 6, UnitSettings()).IsOk());
}

TEST(TextToDistance, TheFailureSaysWhereReadingStopped) {
    auto value = TextToDistance("12.5m", 2, UnitSettings());
    ASSERT_FALSE(value.IsOk());
    EXPECT_EQ(value.GetStatus().Message(),
              "\"12.5m\" is not a distance in decimal units (stopped at character 5)");
}

// Text -> number -> text gives the same text in every mode, and the number lies within half a
// step of the precision from the value that made the text.
TEST(DistanceRoundTrip, TextNumberTextHoldsInEveryModeAndPrecision) {
    const double values[] = {0.0, 0.5, 1.0 / 3.0, 17.5, -17.5, 143.999, 1234.5678, -0.0625,
                             98765.4321, 1e-7, 3.0 / 16.0};
    int checked = 0;
    for (int unitmode : {0, 1}) {
        for (int dimzin : {0, 1, 2, 3, 8, 12, 15}) {
            UnitSettings settings;
            settings.dimzin = dimzin;
            settings.unitmode = unitmode;
            for (int units = 1; units <= 5; ++units) {
                for (int precision : {0, 1, 2, 4, 6, 8}) {
                    for (double value : values) {
                        std::string text = *DistanceText(value, units, precision, settings);
                        auto back = TextToDistance(text, units, settings);
                        ASSERT_TRUE(back.IsOk()) << text << ": " << back.GetStatus().Message();
                        double step = units >= 4 ? std::ldexp(1.0, -precision)
                                                 : std::pow(10.0, -precision);
                        if (units == 1) step *= std::pow(10.0, std::floor(std::log10(
                                                                std::fabs(value) + 1e-300)));
                        EXPECT_LE(std::fabs(*back - value), step / 2 + 1e-12)
                            << text << " from " << value;
                        EXPECT_EQ(*DistanceText(*back, units, precision, settings), text);
                        ++checked;
                    }
                }
            }
        }
    }
    EXPECT_EQ(checked, 2 * 7 * 5 * 6 * 11);
}

}  // namespace
}  // namespace cad
