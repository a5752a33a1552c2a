// Text in and out of the file's encoding.
#include "cad/TextCodec.h"

#include <gtest/gtest.h>

#include "Fixtures.h"
#include "cad/Text.h"

namespace {

TEST(TextCodec, Utf8FilesPassTextThrough) {
    cad::TextCodec codec;
    EXPECT_TRUE(codec.IsUtf8());
    EXPECT_EQ(codec.Decode("Stra\xC3\x9F" "e"), "Stra\xC3\x9F" "e");
    EXPECT_EQ(codec.Encode("\xE4\xB8\xAD"), "\xE4\xB8\xAD");
}

TEST(TextCodec, SingleBytePagesDecodeAndEncode) {
    struct Case { const char* page; std::string bytes; std::string utf8; };
    std::vector<Case> cases = {
        {"ANSI_1252", "\xE9", "\xC3\xA9"},       {"ANSI_1251", "\xC4", "\xD0\x94"},
        {"ANSI_1250", "\x8A", "\xC5\xA0"},       {"ANSI_1253", "\xC1", "\xCE\x91"},
        {"ANSI_1254", "\xF0", "\xC4\x9F"},       {"ANSI_1255", "\xE0", "\xD7\x90"},
        {"ANSI_1256", "\xC7", "\xD8\xA7"},       {"ANSI_1257", "\xC0", "\xC4\x84"},
        {"ANSI_1258", "\xC3", "\xC4\x82"},       {"ANSI_874", "\xA1", "\xE0\xB8\x81"},
        {"dos850", "\x82", "\xC3\xA9"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.page);
        cad::TextCodec codec = cad::TextCodec::ForCodePage(c.page);
        EXPECT_EQ(codec.Decode(c.bytes), c.utf8);
        EXPECT_EQ(codec.Encode(c.utf8), c.bytes);
    }
}

TEST(TextCodec, MultiBytePagesGoThroughIconv) {
    struct Case { const char* page; std::string bytes; std::string utf8; };
    std::vector<Case> cases = {
        {"ANSI_932", "\x93\xFA\x96\x7B", "\xE6\x97\xA5\xE6\x9C\xAC"},  // 日本
        {"ANSI_936", "\xD6\xD0", "\xE4\xB8\xAD"},                      // 中
        {"ANSI_949", "\xC7\xD1", "\xED\x95\x9C"},                      // 한
        {"ANSI_950", "\xA4\xA4", "\xE4\xB8\xAD"},                      // 中
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.page);
        cad::TextCodec codec = cad::TextCodec::ForCodePage(c.page);
        EXPECT_EQ(codec.Decode("A" + c.bytes + "B"), "A" + c.utf8 + "B");
        EXPECT_EQ(codec.Encode("A" + c.utf8 + "B"), "A" + c.bytes + "B");
    }
}

TEST(TextCodec, UnknownPageFallsBackToAnsi1252) {
    EXPECT_EQ(cad::TextCodec::ForCodePage("NOPE").Name(), "CP1252");
    EXPECT_EQ(cad::TextCodec::ForCodePage("").Name(), "CP1252");
}

TEST(TextCodec, UEscapesAreReadInEveryEncoding) {
    EXPECT_EQ(cad::TextCodec().Decode("\\U+00E9t\\u+00e9"), "\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(cad::TextCodec::ForCodePage("ANSI_1252").Decode("x\\U+0394y"), "x\xCE\x94y");
    // Malformed escapes stay as written.
    EXPECT_EQ(cad::TextCodec().Decode("\\U+12G4 \\U+1"), "\\U+12G4 \\U+1");
    // A surrogate pair is one character beyond the basic plane.
    EXPECT_EQ(cad::DecodeEscapes("\\U+D83D\\U+DE00"), "\xF0\x9F\x98\x80");
}

TEST(TextCodec, MEscapesAreReadInTheirCodePage) {
    EXPECT_EQ(cad::DecodeEscapes("\\M+193FA"), "\xE6\x97\xA5");  // 日 in Shift-JIS
    EXPECT_EQ(cad::DecodeEscapes("\\M+5D6D0"), "\xE4\xB8\xAD");  // 中 in GB2312
    EXPECT_EQ(cad::DecodeEscapes("\\M+9FFFF"), "\\M+9FFFF");
}

TEST(TextCodec, CharactersThePageLacksAreWrittenAsUEscapes) {
    cad::TextCodec codec = cad::TextCodec::ForCodePage("ANSI_1252");
    EXPECT_EQ(codec.Encode("\xCE\x94=\xC3\xA9"), "\\U+0394=\xE9");
    EXPECT_EQ(codec.Encode("\xF0\x9F\x98\x80"), "\\U+D83D\\U+DE00");
    cad::TextCodec sjis = cad::TextCodec::ForCodePage("ANSI_932");
    EXPECT_EQ(sjis.Encode("\xD0\x94"), "\x84\x44");  // Cyrillic is in Shift-JIS
    EXPECT_EQ(sjis.Encode("\xC4\x9F"), "\\U+011F");
}

TEST(TextCodec, CorpusFilesDecodeTheirCodePages) {
    auto cyrillic = cadtest::Corpus("gdal-cyrillic-ansi1251-ac1032.dxf");
    ASSERT_TRUE(cyrillic);
    EXPECT_TRUE(cyrillic->Codec().IsUtf8());  // AC1032 is UTF-8 whatever the page says
    auto uescape = cadtest::Corpus("cyrillic-uescape-ac1015.dxf");
    ASSERT_TRUE(uescape);
    bool cyrillicSeen = false;
    for (const cad::Object& o : uescape->Objects()) {
        if (o.Type() != "DICTIONARY") continue;
        for (const cad::Tag& t : o.Tags()) {
            if (t.code != 3) continue;
            cyrillicSeen = cyrillicSeen || t.value == "\xD0\x90\xD0\xBD\xD0\xBD\xD0\xBE\xD1\x82\xD0\xB0\xD1\x82\xD0\xB8\xD0\xB2\xD0\xBD\xD1\x8B\xD0\xB9";
            EXPECT_EQ(t.value.find("\\U+"), std::string::npos) << t.value;
        }
    }
    EXPECT_TRUE(cyrillicSeen);
}

TEST(TextCodec, TextWrittenToA1252FileReadsBackTheSame) {
    auto db = cadtest::Load(cadtest::R12Drawing());
    ASSERT_TRUE(db);
    cad::Text line(db.get(), db->ModelSpace().AddText({0, 0, 0}, 1, "\xC3\xA9t\xC3\xA9 \xCE\x94 \xE4\xB8\xAD")->Index());
    std::string out = db->Write();
    EXPECT_NE(out.find("\xE9t\xE9 \\U+0394 \\U+4E2D"), std::string::npos);
    auto again = cadtest::Load(out);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->ModelSpace().Entities().back().GetText(1), "\xC3\xA9t\xC3\xA9 \xCE\x94 \xE4\xB8\xAD");
}

}  // namespace
