#include "cad/units/AngleText.h"

#include "cad/units/ScopedDimzin.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <ostream>
#include <string>

namespace cad {
namespace {

constexpr double kPi = std::numbers::pi;

constexpr double Deg(double degrees) { return degrees * kPi / 180.0; }

struct ToTextCase {
    double radians;
    int units;
    int precision;
    int dimzin;
    int unitmode;
    const char* text;
};

std::ostream& operator<<(std::ostream& out, const ToTextCase& c) {
    return out << c.radians << " rad units " << c.units << " precision " << c.precision
               << " dimzin " << c.dimzin << " unitmode " << c.unitmode << " -> " << c.text;
}

class AngleToText : public testing::TestWithParam<ToTextCase> {};

TEST_P(AngleToText, GivesTheHostText) {
    const ToTextCase& c = GetParam();
    UnitSettings settings;
    settings.dimzin = c.dimzin;
    settings.unitmode = c.unitmode;
    auto text = AngleText(c.radians, c.units, c.precision, settings);
    ASSERT_TRUE(text.IsOk()) << text.GetStatus().Message();
    EXPECT_EQ(*text, c.text);
}

INSTANTIATE_TEST_SUITE_P(DocumentedExamples, AngleToText, testing::Values(
    ToTextCase{0.785398, 0, 4, 0, 0, "45.0000"},
    ToTextCase{-0.785398, 0, 4, 0, 0, "315.0000"},
    ToTextCase{-0.785398, 4, 0, 0, 0, "S 45d E"},
    ToTextCase{0.785398, 4, 0, 0, 0, "N 45d E"},
    ToTextCase{0.785398, 4, 0, 0, 1, "N45dE"},
    ToTextCase{kPi, 0, 0, 0, 0, "180"},
    ToTextCase{kPi, 0, 4, 0, 0, "180.0000"},
    ToTextCase{kPi, 1, 4, 0, 0, "180d0'0\""},
    ToTextCase{kPi, 3, 4, 0, 0, "3.1416r"},
    ToTextCase{kPi, 4, 2, 0, 0, "W"}));

INSTANTIATE_TEST_SUITE_P(DecimalDegrees, AngleToText, testing::Values(
    ToTextCase{0.0, 0, 4, 0, 0, "0.0000"},
    ToTextCase{2 * kPi, 0, 4, 0, 0, "0.0000"},
    ToTextCase{-2 * kPi, 0, 4, 0, 0, "0.0000"},
    ToTextCase{3.5 * kPi, 0, 4, 0, 0, "270.0000"},
    ToTextCase{Deg(359.99999), 0, 4, 0, 0, "0.0000"},
    ToTextCase{Deg(359.99999), 0, 6, 0, 0, "359.999990"},
    ToTextCase{Deg(10.25), 0, 2, 0, 0, "10.25"},
    ToTextCase{Deg(10.25), 0, 4, 8, 0, "10.25"},
    ToTextCase{Deg(0.5), 0, 4, 4, 0, ".5000"},
    ToTextCase{Deg(0.5), 0, 4, 12, 0, ".5"},
    ToTextCase{Deg(45.123456), 0, 6, 0, 0, "45.123456"},
    ToTextCase{Deg(90), 0, 0, 8, 0, "90"},
    ToTextCase{Deg(-30), 0, 1, 0, 0, "330.0"},
    ToTextCase{Deg(720 + 30), 0, 1, 0, 0, "30.0"}));

INSTANTIATE_TEST_SUITE_P(DegreesMinutesSeconds, AngleToText, testing::Values(
    ToTextCase{Deg(45.5), 1, 2, 0, 0, "45d30'"},
    ToTextCase{Deg(45.5), 1, 4, 0, 0, "45d30'0\""},
    ToTextCase{Deg(45 + 30 / 60.0 + 15 / 3600.0), 1, 0, 0, 0, "46d"},
    ToTextCase{Deg(45 + 30 / 60.0 + 15 / 3600.0), 1, 1, 0, 0, "45d30'"},
    ToTextCase{Deg(45 + 30 / 60.0 + 15 / 3600.0), 1, 3, 0, 0, "45d30'15\""},
    ToTextCase{Deg(45 + 30 / 60.0 + 15 / 3600.0), 1, 4, 0, 0, "45d30'15\""},
    ToTextCase{Deg(45 + 30 / 60.0 + 15 / 3600.0), 1, 6, 0, 0, "45d30'15.00\""},
    ToTextCase{Deg(45 + 30 / 60.0 + 15 / 3600.0), 1, 8, 0, 0, "45d30'15.0000\""},
    ToTextCase{Deg(45 + 30 / 60.0 + 15 / 3600.0), 1, 8, 8, 0, "45d30'15\""},
    ToTextCase{Deg(45 + 30 / 60.0 + 15.5 / 3600.0), 1, 8, 8, 0, "45d30'15.5\""},
    ToTextCase{Deg(45 + 30 / 60.0 + 15 / 3600.0), 1, 12, 0, 0, "45d30'15.0000\""},
    ToTextCase{Deg(359 + 59 / 60.0 + 59.9 / 3600.0), 1, 4, 0, 0, "0d0'0\""},
    ToTextCase{Deg(10 + 59 / 60.0 + 59.7 / 3600.0), 1, 4, 0, 0, "11d0'0\""},
    ToTextCase{0.0, 1, 0, 0, 0, "0d"}));

INSTANTIATE_TEST_SUITE_P(GradsAndRadians, AngleToText, testing::Values(
    ToTextCase{kPi / 2, 2, 4, 0, 0, "100.0000g"},
    ToTextCase{kPi / 4, 2, 2, 0, 0, "50.00g"},
    ToTextCase{kPi / 2, 2, 0, 0, 0, "100g"},
    ToTextCase{Deg(0.45), 2, 4, 12, 0, ".5g"},
    ToTextCase{Deg(-90), 2, 1, 0, 0, "300.0g"},
    ToTextCase{0.5, 3, 4, 0, 0, "0.5000r"},
    ToTextCase{0.5, 3, 4, 12, 0, ".5r"},
    ToTextCase{1.0, 3, 4, 8, 0, "1r"},
    ToTextCase{-1.0, 3, 4, 0, 0, "5.2832r"},
    ToTextCase{2 * kPi - 1e-9, 3, 4, 0, 0, "0.0000r"},
    ToTextCase{1.23456789, 3, 8, 0, 0, "1.23456789r"}));

INSTANTIATE_TEST_SUITE_P(SurveyorsUnits, AngleToText, testing::Values(
    ToTextCase{Deg(30), 4, 0, 0, 0, "N 60d E"},
    ToTextCase{Deg(120), 4, 0, 0, 0, "N 30d W"},
    ToTextCase{Deg(200), 4, 0, 0, 0, "S 70d W"},
    ToTextCase{Deg(300), 4, 0, 0, 0, "S 30d E"},
    ToTextCase{Deg(90), 4, 4, 0, 0, "N"},
    ToTextCase{0.0, 4, 4, 0, 0, "E"},
    ToTextCase{Deg(180), 4, 4, 0, 0, "W"},
    ToTextCase{Deg(270), 4, 4, 0, 0, "S"},
    ToTextCase{Deg(30.5), 4, 4, 0, 0, "N 59d30'0\" E"},
    ToTextCase{Deg(30.5), 4, 4, 0, 1, "N59d30'0\"E"},
    ToTextCase{Deg(30.5), 4, 2, 0, 1, "N59d30'E"},
    ToTextCase{Deg(89.9999), 4, 0, 0, 0, "N"},
    ToTextCase{Deg(0.00001), 4, 4, 0, 0, "E"},
    ToTextCase{Deg(225.25), 4, 6, 0, 0, "S 44d45'0.00\" W"},
    ToTextCase{Deg(225.25), 4, 6, 8, 0, "S 44d45'0\" W"},
    ToTextCase{Deg(-45), 4, 0, 0, 1, "S45dE"}));

TEST(AngleText, MinusOneTakesTheDrawingsUnitsAndPrecision) {
    UnitSettings settings;
    EXPECT_EQ(*AngleText(kPi / 4, -1, -1, settings), "45");
    settings.aunits = 1;
    settings.auprec = 4;
    EXPECT_EQ(*AngleText(kPi / 4, -1, -1, settings), "45d0'0\"");
    EXPECT_EQ(*AngleText(kPi / 4, 3, -1, settings), "0.7854r");
}

TEST(AngleText, NeitherAngbaseNorAngdirChangesTheText) {
    UnitSettings settings;
    settings.angbase = kPi / 2;
    settings.angdir = 1;
    EXPECT_EQ(*AngleText(0.0, 0, 0, settings), "0");
    EXPECT_EQ(*AngleText(kPi / 4, 4, 0, settings), "N 45d E");
    EXPECT_DOUBLE_EQ(*TextToAngle("90", 0, settings), kPi / 2);
}

TEST(AngleText, RefusesUnknownUnitsPrecisionsAndNonNumbers) {
    UnitSettings settings;
    for (int units : {5, -2}) EXPECT_FALSE(AngleText(1.0, units, 2, settings).IsOk());
    EXPECT_FALSE(AngleText(1.0, 0, 17, settings).IsOk());
    EXPECT_FALSE(AngleText(1.0, 0, -3, settings).IsOk());
    EXPECT_FALSE(AngleText(std::nan(""), 0, 2, settings).IsOk());
    EXPECT_FALSE(AngleText(-std::numeric_limits<double>::infinity(), 4, 2, settings).IsOk());
}

struct FromTextCase {
    const char* text;
    int units;
    double degrees;
};

std::ostream& operator<<(std::ostream& out, const FromTextCase& c) {
    return out << '"' << c.text << "\" units " << c.units << " -> " << c.degrees << " degrees";
}

class TextToAngleReads : public testing::TestWithParam<FromTextCase> {};

TEST_P(TextToAngleReads, TheHostForms) {
    const FromTextCase& c = GetParam();
    auto radians = TextToAngle(c.text, c.units, UnitSettings());
    ASSERT_TRUE(radians.IsOk()) << radians.GetStatus().Message();
    EXPECT_NEAR(*radians, Deg(c.degrees), 1e-12);
}

INSTANTIATE_TEST_SUITE_P(DocumentedExamples, TextToAngleReads, testing::Values(
    FromTextCase{"45.0000", 0, 45.0},
    // 45 radians, reduced by seven turns: 1.0177.
    FromTextCase{"45.0000", 3, (45.0 - 14 * kPi) * 180.0 / kPi},
    FromTextCase{"45", 0, 45.0},
    FromTextCase{"45d0' 0\"", 1, 45.0},
    FromTextCase{"50", 2, 45.0},
    FromTextCase{"31", 0, 31.0}));

INSTANTIATE_TEST_SUITE_P(MarkedForms, TextToAngleReads, testing::Values(
    FromTextCase{"45d", 0, 45.0},
    FromTextCase{"45D", 0, 45.0},
    FromTextCase{"45d30'15\"", 1, 45 + 30 / 60.0 + 15 / 3600.0},
    FromTextCase{"45d30'15.5\"", 1, 45 + 30 / 60.0 + 15.5 / 3600.0},
    FromTextCase{"45\u00B030'", 0, 45.5},
    FromTextCase{"30'", 1, 0.5},
    FromTextCase{"0d30'", 1, 0.5},
    FromTextCase{"36\"", 1, 0.01},
    FromTextCase{"45d 30' 15\"", 1, 45 + 30 / 60.0 + 15 / 3600.0},
    FromTextCase{"-45", 0, 315.0},
    FromTextCase{"-45d30'", 1, 314.5},
    FromTextCase{"+45", 0, 45.0},
    FromTextCase{"50g", 0, 45.0},
    FromTextCase{"100g", 2, 90.0},
    FromTextCase{"100", 2, 90.0},
    FromTextCase{"45d", 2, 45.0},
    FromTextCase{"360", 0, 0.0},
    FromTextCase{"-90", 0, 270.0},
    FromTextCase{"180d0'0\"", 1, 180.0},
    FromTextCase{"  45  ", 0, 45.0},
    FromTextCase{"1e1", 0, 10.0},
    FromTextCase{"45", 4, 45.0},
    FromTextCase{"45", 1, 45.0}));

TEST(TextToAngle, RadiansAreTakenAsTheyStand) {
    EXPECT_DOUBLE_EQ(*TextToAngle("1.5r", 0, UnitSettings()), 1.5);
    EXPECT_DOUBLE_EQ(*TextToAngle("3.1416r", 3, UnitSettings()), 3.1416);
    EXPECT_DOUBLE_EQ(*TextToAngle("1.2", 3, UnitSettings()), 1.2);
    EXPECT_DOUBLE_EQ(*TextToAngle("1.2R", 1, UnitSettings()), 1.2);
}

INSTANTIATE_TEST_SUITE_P(Bearings, TextToAngleReads, testing::Values(
    FromTextCase{"N 45d E", 4, 45.0},
    FromTextCase{"N45dE", 4, 45.0},
    FromTextCase{"S 45d E", 4, 315.0},
    FromTextCase{"S45dW", 4, 225.0},
    FromTextCase{"N 45d W", 4, 135.0},
    FromTextCase{"N", 4, 90.0},
    FromTextCase{"S", 4, 270.0},
    FromTextCase{"E", 4, 0.0},
    FromTextCase{"W", 4, 180.0},
    FromTextCase{"n 45d30' e", 4, 44.5},
    FromTextCase{"N 45 E", 0, 45.0},
    FromTextCase{"N 0d E", 4, 90.0},
    FromTextCase{"N 90d E", 4, 0.0},
    FromTextCase{"S 44d45'0.00\" W", 4, 225.25},
    FromTextCase{"N59d30'0\"E", 4, 30.5},
    FromTextCase{" S 30d E ", 2, 300.0}));

TEST(TextToAngle, AngularTextIsReadInTheDrawingsAngularUnits) {
    UnitSettings settings;
    settings.aunits = 2;
    EXPECT_NEAR(*TextToAngle("100", -1, settings), kPi / 2, 1e-15);
    settings.aunits = 3;
    EXPECT_DOUBLE_EQ(*TextToAngle("1", -1, settings), 1.0);
    settings.aunits = 0;
    EXPECT_NEAR(*TextToAngle("1", -1, settings), Deg(1), 1e-15);
}

class TextToAngleRefuses : public testing::TestWithParam<FromTextCase> {};

TEST_P(TextToAngleRefuses, WhatIsNotAnAngle) {
    const FromTextCase& c = GetParam();
    auto radians = TextToAngle(c.text, c.units, UnitSettings());
    ASSERT_FALSE(radians.IsOk()) << *radians;
    EXPECT_NE(radians.GetStatus().Message().find("is not an angle"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Failures, TextToAngleRefuses, testing::Values(
    FromTextCase{"", 0, 0}, FromTextCase{"abc", 0, 0}, FromTextCase{"45x", 0, 0},
    FromTextCase{"N 95d E", 4, 0}, FromTextCase{"N 45d", 4, 0}, FromTextCase{"N 45d Q", 4, 0},
    FromTextCase{"45d30'15\"x", 1, 0}, FromTextCase{"d", 1, 0}, FromTextCase{"'", 1, 0},
    FromTextCase{"NE", 4, 0}, FromTextCase{"-N 45d E", 4, 0}, FromTextCase{"45 30", 0, 0},
    FromTextCase{"45g30'", 2, 0}, FromTextCase{"1/2", 0, 0}, FromTextCase{"1e999", 0, 0},
    FromTextCase{"nan", 0, 0}, FromTextCase{"Ex", 4, 0}, FromTextCase{"N -45d E", 4, 0}));

TEST(TextToAngle, AnyTextGivesAnAngleOfOneTurnOrAFailure) {
    std::mt19937 random(7);
    const std::string alphabet = "0123456789.-+'\" eEdDrRgGnNsSwW\xC2\xB0x\t";
    for (int i = 0; i < 20000; ++i) {
        std::string text;
        int length = static_cast<int>(random() % 12);
        for (int j = 0; j < length; ++j) text += alphabet[random() % alphabet.size()];
        for (int units = 0; units <= 4; ++units) {
            auto radians = TextToAngle(text, units, UnitSettings());
            if (!radians.IsOk()) continue;
            EXPECT_GE(*radians, 0.0) << text;
            EXPECT_LT(*radians, 2 * kPi) << text;
        }
    }
}

TEST(TextToAngle, RefusesUnknownUnits) {
    EXPECT_FALSE(TextToAngle("1", 5, UnitSettings()).IsOk());
    EXPECT_FALSE(TextToAngle("1", -3, UnitSettings()).IsOk());
}

TEST(TextToAngle, TheFailureSaysWhereReadingStopped) {
    auto radians = TextToAngle("N 95d E", 4, UnitSettings());
    ASSERT_FALSE(radians.IsOk());
    EXPECT_EQ(radians.GetStatus().Message(),
              "\"N 95d E\" is not an angle in surveyor's units (stopped at character 7)");
}

TEST(AngleRoundTrip, TextNumberTextHoldsInEveryModeAndPrecision) {
    const double degrees[] = {0.0, 0.25, 30.0, 45.5, 89.999, 90.0, 135.123456, 180.0, 222.2,
                              270.0, 300.75, 359.9};
    int checked = 0;
    for (int unitmode : {0, 1}) {
        for (int dimzin : {0, 8, 12}) {
            UnitSettings settings;
            settings.dimzin = dimzin;
            settings.unitmode = unitmode;
            for (int units = 0; units <= 4; ++units) {
                for (int precision : {0, 1, 2, 3, 4, 5, 8}) {
                    for (double angle : degrees) {
                        std::string text = *AngleText(Deg(angle), units, precision, settings);
                        auto back = TextToAngle(text, units, settings);
                        ASSERT_TRUE(back.IsOk()) << text << ": " << back.GetStatus().Message();
                        EXPECT_EQ(*AngleText(*back, units, precision, settings), text)
                            << "from " << angle << " degrees";
                        ++checked;
                    }
                }
            }
        }
    }
    EXPECT_EQ(checked, 2 * 3 * 5 * 7 * 12);
}

TEST(AngleFromBase, MeasuresFromAngbaseInTheAngdirSense) {
    UnitSettings settings;
    settings.angbase = kPi / 2;
    EXPECT_NEAR(AngleFromBase(kPi, settings), kPi / 2, 1e-15);
    EXPECT_NEAR(AngleFromBase(0.0, settings), 1.5 * kPi, 1e-15);
    settings.angdir = 1;
    EXPECT_NEAR(AngleFromBase(0.0, settings), kPi / 2, 1e-15);
    EXPECT_NEAR(AngleFromBase(kPi, settings), 1.5 * kPi, 1e-15);
    EXPECT_NEAR(AbsoluteAngle(kPi / 2, settings), 0.0, 1e-15);
    for (double angle : {0.0, 0.3, 2.0, 4.0, 6.0}) {
        for (int angdir : {0, 1}) {
            settings.angdir = angdir;
            EXPECT_NEAR(AbsoluteAngle(AngleFromBase(angle, settings), settings), angle, 1e-12);
        }
    }
}

TEST(AngleFromBase, DefaultsLeaveAnglesAsTheyAre) {
    UnitSettings settings;
    EXPECT_DOUBLE_EQ(AngleFromBase(1.25, settings), 1.25);
    EXPECT_DOUBLE_EQ(AbsoluteAngle(1.25, settings), 1.25);
    EXPECT_NEAR(AbsoluteAngle(-kPi / 2, settings), 1.5 * kPi, 1e-15);
}

}  // namespace
}  // namespace cad
