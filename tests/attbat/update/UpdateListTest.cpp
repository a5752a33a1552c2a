#include "attbat/update/UpdateList.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using attbat::FindListedVersion;
using attbat::IsNewerVersion;
using attbat::UpdateKey;

TEST(UpdateListTest, KeyNamesProductMajorVersionAndProgram) {
    EXPECT_EQ(UpdateKey("AutoCAD", 25), "ACAD*25*Velmar:");
    EXPECT_EQ(UpdateKey("Unknown CAD", 25), "ACAD*25*Velmar:");
    EXPECT_EQ(UpdateKey("AutoCAD LT", 25), "ACADLT*25*Velmar:");
}

TEST(UpdateListTest, NineEightIsNotNewerThanNineSeventyTwoForThePartsAreIntegers) {
    EXPECT_FALSE(IsNewerVersion("9.72", "9.8"));
    EXPECT_TRUE(IsNewerVersion("9.8", "9.72"));
}

TEST(UpdateListTest, TheLongerVersionsTailIsNotLookedAt) {
    EXPECT_FALSE(IsNewerVersion("9.72", "9.72.1"));
    EXPECT_FALSE(IsNewerVersion("9.72.1", "9.72"));
}

TEST(UpdateListTest, TheFirstDifferingPartDecides) {
    EXPECT_TRUE(IsNewerVersion("9.72", "9.73"));
    EXPECT_TRUE(IsNewerVersion("9.72", "10.0"));
    EXPECT_FALSE(IsNewerVersion("9.72", "9.72"));
    EXPECT_FALSE(IsNewerVersion("9.72", "8.99"));
    // A part that isn't a number counts as 0, as atoi takes it.
    EXPECT_FALSE(IsNewerVersion("9.72", "beta"));
    EXPECT_TRUE(IsNewerVersion("9.72", "9.100beta"));
}

TEST(UpdateListTest, KeyIsSearchedWithoutRegardToCase) {
    std::string list = "ACAD*24*VELMAR: 9.50\r\nacad*25*VeLmAr: 9.80\r\n";
    EXPECT_EQ(FindListedVersion(list, "ACAD*25*Velmar:"), "9.80");
}

TEST(UpdateListTest, KeyIsFoundAnywhereInTheLineAndTheValueIsTheLinesTail) {
    // The value is as many characters from the end as the line has beyond the key: behind a
    // prefix, part of the key comes along.
    EXPECT_EQ(FindListedVersion("new: ACAD*25*Velmar: 10.1\n", "ACAD*25*Velmar:"), "lmar: 10.1");
    EXPECT_EQ(FindListedVersion("ACAD*25*Velmar:   10.1   \n", "ACAD*25*Velmar:"), "10.1");
}

TEST(UpdateListTest, NoLineOrAnEmptyValueGivesTheLocalVersion) {
    EXPECT_EQ(FindListedVersion("ACAD*24*Velmar: 10.0\n", "ACAD*25*Velmar:"), "9.72");
    EXPECT_EQ(FindListedVersion("ACAD*25*Velmar:   \n", "ACAD*25*Velmar:"), "9.72");
    EXPECT_EQ(FindListedVersion("", "ACAD*25*Velmar:"), "9.72");
}

TEST(UpdateListTest, LinesAreReadInPiecesOf259Characters) {
    // The key past the 259th character of a line stands at the start of the next piece.
    std::string line = std::string(259, 'x') + "ACAD*25*Velmar: 9.90";
    EXPECT_EQ(FindListedVersion(line, "ACAD*25*Velmar:"), "9.90");
    // A key cut by the piece's end is not found.
    std::string cut = std::string(250, 'x') + "ACAD*25*Velmar: 9.90";
    EXPECT_EQ(FindListedVersion(cut, "ACAD*25*Velmar:"), "9.72");
}

}  // namespace
