#include "cad/units/ScopedDimzin.h"

#include "cad/units/DistanceText.h"
#include "cad/units/NearlyEqual.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

namespace cad {
namespace {

TEST(ScopedDimzin, SetsTheValueForItsScopeAndPutsTheOldOneBack) {
    UnitSettings settings;
    settings.dimzin = 3;
    {
        ScopedDimzin guard(settings, 8);
        EXPECT_EQ(settings.dimzin, 8);
        EXPECT_EQ(guard.Saved(), 3);
    }
    EXPECT_EQ(settings.dimzin, 3);
}

TEST(ScopedDimzin, IsPutBackWhenAnExceptionLeavesTheScope) {
    UnitSettings settings;
    try {
        ScopedDimzin guard(settings, 8);
        throw std::runtime_error("read failed midway");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(settings.dimzin, 0);
}

TEST(ScopedDimzin, IsPutBackOnAnEarlyReturn) {
    UnitSettings settings;
    auto read = [&settings](bool fail) {
        ScopedDimzin guard(settings, 8);
        if (fail) return std::string();
        return *DistanceText(12.5, 2, -1, settings);
    };
    EXPECT_EQ(read(true), "");
    EXPECT_EQ(settings.dimzin, 0);
    EXPECT_EQ(read(false), "12.5");
    EXPECT_EQ(settings.dimzin, 0);
}

TEST(ScopedDimzin, NestedGuardsUnwindInOrder) {
    UnitSettings settings;
    {
        ScopedDimzin outer(settings, 8);
        {
            ScopedDimzin inner(settings, 12);
            EXPECT_EQ(settings.dimzin, 12);
        }
        EXPECT_EQ(settings.dimzin, 8);
    }
    EXPECT_EQ(settings.dimzin, 0);
}

TEST(UnitSettings, DefaultsAreThoseOfANewDrawing) {
    UnitSettings settings;
    EXPECT_EQ(settings.lunits, 2);
    EXPECT_EQ(settings.luprec, 4);
    EXPECT_EQ(settings.aunits, 0);
    EXPECT_EQ(settings.auprec, 0);
    EXPECT_EQ(settings.angbase, 0.0);
    EXPECT_EQ(settings.angdir, 0);
    EXPECT_EQ(settings.dimzin, 0);
    EXPECT_EQ(settings.unitmode, 0);
}

TEST(NearlyEqual, CountsNumbersAtMostOneMillionthApartAsEqual) {
    EXPECT_TRUE(NearlyEqual(1.5, 1.5));
    EXPECT_TRUE(NearlyEqual(1.5, 1.5 + 0.9e-6));
    EXPECT_TRUE(NearlyEqual(1.5 + 0.9e-6, 1.5));
    EXPECT_TRUE(NearlyEqual(0.0, -1e-6));
    EXPECT_FALSE(NearlyEqual(1.5, 1.5 + 1.1e-6));
    EXPECT_FALSE(NearlyEqual(-1.5, 1.5));
    EXPECT_FALSE(NearlyEqual(std::nan(""), std::nan("")));
}

}  // namespace
}  // namespace cad
