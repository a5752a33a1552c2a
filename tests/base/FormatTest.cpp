#include "base/Format.h"

#include <gtest/gtest.h>

#include <string>

namespace base {
namespace {

TEST(Sprintf, TextsAndIntegers) {
    EXPECT_EQ(Sprintf("%s - %d", "CAttBatch::ImportByAttHandle", 42),
              "CAttBatch::ImportByAttHandle - 42");
    EXPECT_EQ(Sprintf("%s - Start.", std::string("X")), "X - Start.");
    EXPECT_EQ(Sprintf("%ld items", 7L), "7 items");
    EXPECT_EQ(Sprintf("100%%"), "100%");
}

TEST(Sprintf, CellForms) {
    EXPECT_EQ(Sprintf("%c%c%c%d", '$', 'C', '$', 7), "$C$7");
    EXPECT_EQ(Sprintf("$%s$%d", "AB", 10), "$AB$10");
    EXPECT_EQ(Sprintf("r%dc%d", 0, 3), "r0c3");
}

TEST(Sprintf, HexadecimalWithWidthAndZeros) {
    EXPECT_EQ(Sprintf("%08lx", 0x1A2BUL), "00001a2b");
    EXPECT_EQ(Sprintf("%X", 255), "FF");
    EXPECT_EQ(Sprintf("%x", -1), "ffffffff");
}

TEST(Sprintf, Reals) {
    EXPECT_EQ(Sprintf("%g", 0.5), "0.5");
    EXPECT_EQ(Sprintf("%G", 1e-10), "1E-10");
    EXPECT_EQ(Sprintf("%.3f", 2.0), "2.000");
    EXPECT_EQ(Sprintf("%10.2f|", 3.14159), "      3.14|");
}

TEST(Sprintf, WidthsOfTextCountCodePoints) {
    EXPECT_EQ(Sprintf("[%5s]", "äö"), "[   äö]");
    EXPECT_EQ(Sprintf("[%-5s]", "äö"), "[äö   ]");
    EXPECT_EQ(Sprintf("[%.2s]", "äöü"), "[äö]");
    EXPECT_EQ(Sprintf("[%*d]", 4, 7), "[   7]");
}

TEST(Sprintf, CharacterOfAnyCodePoint) {
    EXPECT_EQ(Sprintf("%c", char32_t(0x20AC)), "€");
    EXPECT_EQ(Sprintf("%c", 65), "A");
}

TEST(Sprintf, MissingArgumentsFormatAsEmptyOrZero) {
    EXPECT_EQ(Sprintf("%s|%d|%g"), "|0|0");
}

TEST(Sprintf, UnknownConversionIsKept) {
    EXPECT_EQ(Sprintf("%q %d", 1), "%q 1");
    EXPECT_EQ(Sprintf("end %"), "end %");
}

}  // namespace
}  // namespace base
