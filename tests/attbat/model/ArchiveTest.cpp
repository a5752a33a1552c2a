#include "attbat/model/Archive.h"

#include <gtest/gtest.h>

#include "tables/CStringArrayEx.h"

namespace attbat {
namespace {

std::string Hex(const std::string& bytes) {
    static const char digits[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : bytes) {
        if (!out.empty()) out += ' ';
        out += digits[c >> 4];
        out += digits[c & 15];
    }
    return out;
}

TEST(Archive, IntegersAreFourBytesLittleEndian) {
    Archive archive = Archive::ForStoring();
    int value = -2;
    archive.Int32(value);
    value = 0x01020304;
    archive.Int32(value);
    EXPECT_EQ(Hex(archive.Bytes()), "FE FF FF FF 04 03 02 01");
}

TEST(Archive, TheTemplateSignatureIsTaggedWithLength36) {
    Archive archive = Archive::ForStoring();
    std::string signature = "D947AC3F-6E41-49e9-8CB6-A508362E9A4C";
    archive.String(signature);
    ASSERT_EQ(archive.Bytes().size(), 4u + 72u);
    EXPECT_EQ(Hex(archive.Bytes().substr(0, 6)), "FF FE FF 24 44 00");
}

TEST(Archive, StringLengthsUseOneThreeOrSevenBytes) {
    for (auto [length, head] : {std::pair<std::size_t, std::string>{254, "FF FE FF FE"},
                                {255, "FF FE FF FF FF 00"},
                                {65533, "FF FE FF FF FD FF"},
                                {65534, "FF FE FF FF FF FF FE FF 00 00"}}) {
        Archive archive = Archive::ForStoring();
        std::string text(length, 'a');
        archive.String(text);
        EXPECT_EQ(Hex(archive.Bytes().substr(0, (head.size() + 1) / 3)), head) << length;
        Archive reader = Archive::ForLoading(archive.Bytes());
        std::string back;
        reader.String(back);
        EXPECT_TRUE(reader.Ok()) << reader.Error();
        EXPECT_EQ(back, text);
    }
}

TEST(Archive, StringsRoundTripAsUtf16IncludingSurrogatePairs) {
    Archive archive = Archive::ForStoring();
    std::string text = "T\xC3\xBCr \xE2\x82\xAC \xF0\x9F\x9A\xAA";  // "Tür € 🚪"
    archive.String(text);
    EXPECT_EQ(Hex(archive.Bytes()),
              "FF FE FF 08 54 00 FC 00 72 00 20 00 AC 20 20 00 3D D8 AA DE");
    Archive reader = Archive::ForLoading(archive.Bytes());
    std::string back;
    reader.String(back);
    EXPECT_EQ(back, text);
}

TEST(Archive, UntaggedStringsAreReadAsWindows1252) {
    const std::string bytes("\x04" "A\x80\xE9" "B", 5);
    Archive reader = Archive::ForLoading(bytes);
    std::string back;
    reader.String(back);
    EXPECT_TRUE(reader.Ok());
    EXPECT_EQ(back, "A\xE2\x82\xAC\xC3\xA9" "B");
}

TEST(Archive, CountsEscapeAtFFFF) {
    Archive archive = Archive::ForStoring();
    std::uint64_t small = 3;
    std::uint64_t large = 0x10000;
    archive.Count(small);
    archive.Count(large);
    EXPECT_EQ(Hex(archive.Bytes()), "03 00 FF FF 00 00 01 00");
}

TEST(Archive, StringArraysRoundTrip) {
    tables::CStringArrayEx names{"DOOR", "", "WINDOW"};
    Archive archive = Archive::ForStoring();
    archive.StringArray(names);
    EXPECT_EQ(Hex(archive.Bytes().substr(0, 6)), "03 00 FF FE FF 04");
    tables::CStringArrayEx back{"stale"};
    Archive reader = Archive::ForLoading(archive.Bytes());
    reader.StringArray(back);
    EXPECT_TRUE(reader.Ok());
    EXPECT_EQ(back, names);
}

TEST(Archive, WordArraysRoundTrip) {
    std::vector<std::uint16_t> order{2, 0, 0x1234};
    Archive archive = Archive::ForStoring();
    archive.WordArray(order);
    EXPECT_EQ(Hex(archive.Bytes()), "03 00 02 00 00 00 34 12");
    std::vector<std::uint16_t> back{9};
    Archive reader = Archive::ForLoading(archive.Bytes());
    reader.WordArray(back);
    EXPECT_TRUE(reader.Ok());
    EXPECT_EQ(back, order);
}

TEST(Archive, AShortStreamFailsWithItsOffsetAndLaterReadsGiveZeros) {
    const std::string bytes("\x01\x00\x00\x00\x02\x00", 6);
    Archive reader = Archive::ForLoading(bytes);
    int first = 0;
    int second = 7;
    int third = 7;
    reader.Int32(first);
    reader.Int32(second);
    reader.Int32(third);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 0);
    EXPECT_EQ(third, 0);
    EXPECT_FALSE(reader.Ok());
    EXPECT_EQ(reader.Error(), "unexpected end of the archive at byte offset 4");
}

TEST(Archive, AHugeCountOrLengthInADamagedStreamFailsWithoutAllocating) {
    const std::string count("\xFF\xFF\xFF\xFF\xFF\x7F", 6);
    Archive reader = Archive::ForLoading(count);
    tables::CStringArrayEx names;
    reader.StringArray(names);
    EXPECT_FALSE(reader.Ok());
    EXPECT_TRUE(names.IsEmpty());

    const std::string length("\xFF\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F", 10);
    Archive stringReader = Archive::ForLoading(length);
    std::string text;
    stringReader.String(text);
    EXPECT_FALSE(stringReader.Ok());
    EXPECT_EQ(text, "");
}

}  // namespace
}  // namespace attbat
