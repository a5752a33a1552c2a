// The tag layer and the reader: every form of DXF file, and malformed input of every kind.
#include "cad/Tagger.h"
#include "cad/Tag.h"

#include <random>

#include <gtest/gtest.h>

#include "Fixtures.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"

namespace {

using cadtest::Dxf;

std::string Message(const std::string& bytes) {
    auto db = cad::Database::FromBytes(bytes, "bad.dxf");
    return db ? std::string() : db.GetStatus().Message();
}

TEST(Tagger, AHandleIsWrittenInUpperCaseHexadecimalWithoutLeadingZeros) {
    EXPECT_EQ(cad::HandleText(0), "0");
    EXPECT_EQ(cad::HandleText(0x2F), "2F");
    EXPECT_EQ(cad::HandleText(0x10), "10");
    EXPECT_EQ(cad::HandleText(0xABCDEF0123456789ull), "ABCDEF0123456789");
    EXPECT_EQ(cad::HandleText(~cad::Handle{0}), "FFFFFFFFFFFFFFFF");
    for (cad::Handle h = 1; h < (cad::Handle{1} << 62); h = h * 3 + 7)
        EXPECT_EQ(cad::ParseHandle(cad::HandleText(h)), h);
}

TEST(Tagger, ReadsLfAndCrlfLineEndsAlike) {
    for (const char* eol : {"\n", "\r\n"}) {
        auto db = cadtest::Load(cadtest::R12Drawing(eol));
        ASSERT_TRUE(db);
        EXPECT_EQ(db->HeaderText("$ACADVER"), "AC1009");
        EXPECT_EQ(db->ModelSpace().Entities().size(), 2u);
    }
}

TEST(Tagger, ReadsCrOnlyLineEndsLikeLfAndSavesThemUnchanged) {
    // Old Mac programs end every line with a lone CR.
    const std::string text = cadtest::R12Drawing("\r");
    auto db = cadtest::Load(text);
    ASSERT_TRUE(db);
    auto lf = cadtest::Load(cadtest::R12Drawing("\n"));
    ASSERT_TRUE(lf);
    EXPECT_EQ(db->HeaderText("$ACADVER"), "AC1009");
    EXPECT_EQ(db->CountsByType(), lf->CountsByType());
    auto entities = db->ModelSpace().Entities();
    ASSERT_EQ(entities.size(), 2u);
    EXPECT_EQ(entities[0].GetText(8), "Walls");
    EXPECT_EQ(entities[0].GetReal(11), 5.0);
    cad::BlockReference ref(db.get(), entities[1].Index());
    ASSERT_EQ(ref.Attributes().size(), 1u);
    EXPECT_EQ(ref.Attributes()[0].TextString(), "D-101");
    EXPECT_EQ(db->Write(), text);
}

TEST(Tagger, AChangedCrOnlyDrawingKeepsItsLineEnds) {
    auto db = cadtest::Load(cadtest::R12Drawing("\r"));
    ASSERT_TRUE(db);
    cad::BlockReference ref(db.get(), db->ModelSpace().Entities()[1].Index());
    ref.Attributes()[0].SetTextString("D-102");
    ASSERT_TRUE(db->CreateBlock("Window"));  // new records too
    const std::string written = db->Write();
    EXPECT_EQ(written.find('\n'), std::string::npos);
    auto again = cadtest::Load(written);
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->FindBlock("Window"));
    cad::BlockReference read(again.get(), again->ModelSpace().Entities()[1].Index());
    EXPECT_EQ(read.Attributes()[0].TextString(), "D-102");
}

TEST(TaggerMalformed, ACrOnlyFileSaysTheLineOfWhatIsWrong) {
    std::string m = Message("0\rSECTION\r2\rENTITIES\r0\rLINE\r10\rwide\r0\rENDSEC\r0\rEOF\r");
    EXPECT_NE(m.find("bad.dxf: line 8"), std::string::npos) << m;
}

TEST(Tagger, ReadsGroupCodesWithAndWithoutPaddingAndTrailingBlanks) {
    std::string text = "  0\nSECTION\n  2  \nENTITIES\n  0\nLINE\n   8\nA\n 10\n 1.5 \n0\nENDSEC\n0\nEOF\n";
    auto db = cadtest::Load(text);
    ASSERT_TRUE(db);
    auto entities = db->ModelSpace().Entities();
    ASSERT_EQ(entities.size(), 1u);
    EXPECT_EQ(entities[0].LayerName(), "A");
    EXPECT_EQ(entities[0].GetReal(10), 1.5);
    EXPECT_EQ(db->Write(), text);
}

TEST(Tagger, KeepsCommentsAndReadsAroundThem) {
    std::string text = "999\nmade by hand\n0\nSECTION\n2\nENTITIES\n0\nCIRCLE\n999\ninside\n8\n0\n40\n2.0\n0\nENDSEC\n0\nEOF\n";
    auto db = cadtest::Load(text);
    ASSERT_TRUE(db);
    auto entities = db->ModelSpace().Entities();
    ASSERT_EQ(entities.size(), 1u);
    EXPECT_EQ(entities[0].GetReal(40), 2.0);
    EXPECT_EQ(db->Write(), text);
}

TEST(Tagger, ReadsAFileWithoutEofAndSaysSo) {
    std::string text = "0\nSECTION\n2\nENTITIES\n0\nPOINT\n8\n0\n0\nENDSEC\n";
    auto db = cadtest::Load(text);
    ASSERT_TRUE(db);
    EXPECT_EQ(db->Write(), text);
    ASSERT_FALSE(db->Warnings().empty());
    EXPECT_NE(db->Warnings().front().find("no EOF"), std::string::npos);
}

TEST(Tagger, ReadsTheLastLineWithoutALineEnd) {
    auto db = cadtest::Load("0\nSECTION\n2\nENTITIES\n0\nENDSEC\n0\nEOF");
    ASSERT_TRUE(db);
    EXPECT_TRUE(db->Warnings().empty());
}

TEST(Tagger, KeepsADosEndMarkAfterEof) {
    std::string text = "0\r\nSECTION\r\n2\r\nENTITIES\r\n0\r\nENDSEC\r\n0\r\nEOF\r\n\x1a";
    auto db = cadtest::Load(text);
    ASSERT_TRUE(db);
    EXPECT_EQ(db->Write(), text);
}

// Binary DXF, built tag by tag in either code width.
std::string Binary(bool twoByte, const std::vector<std::pair<int, std::string>>& tags) {
    std::string out("AutoCAD Binary DXF\r\n\x1a\0", 22);
    for (const auto& [code, value] : tags) {
        if (twoByte) {
            out += static_cast<char>(code & 0xFF);
            out += static_cast<char>(code >> 8);
        } else if (code < 255) {
            out += static_cast<char>(code);
        } else {
            out += static_cast<char>(255);
            out += static_cast<char>(code & 0xFF);
            out += static_cast<char>(code >> 8);
        }
        cad::ValueKind kind = cad::KindOfCode(code);
        if (kind == cad::ValueKind::Double) {
            double v = std::stod(value);
            out.append(reinterpret_cast<const char*>(&v), 8);
        } else if (kind == cad::ValueKind::Int16) {
            std::int16_t v = static_cast<std::int16_t>(std::stoi(value));
            out.append(reinterpret_cast<const char*>(&v), 2);
        } else {
            out += value;
            out += '\0';
        }
    }
    return out;
}

TEST(Tagger, ReadsBinaryR12AndR13FormsAndSavesThemUnchanged) {
    for (bool twoByte : {false, true}) {
        std::string bytes = Binary(twoByte, {{0, "SECTION"}, {2, "ENTITIES"}, {0, "CIRCLE"}, {5, "2A"}, {8, "Pipes"},
                                             {10, "1.25"}, {20, "2.5"}, {40, "3.0"}, {62, "5"}, {1001, "APP"},
                                             {0, "ENDSEC"}, {0, "EOF"}});
        auto db = cadtest::Load(bytes);
        ASSERT_TRUE(db);
        EXPECT_EQ(db->Form(), twoByte ? cad::DxfForm::Binary : cad::DxfForm::BinaryR12);
        cad::Object circle = db->ObjectByHandle(0x2A);
        ASSERT_TRUE(circle);
        EXPECT_EQ(circle.GetText(8), "Pipes");
        EXPECT_EQ(circle.GetReal(20), 2.5);
        EXPECT_EQ(circle.GetInt(62), 5);
        EXPECT_EQ(circle.XdataApps(), std::vector<std::string>{"APP"});
        EXPECT_EQ(db->Write(), bytes);
        // A changed value is written in the binary form of its code.
        circle.SetReal(40, 4.5);
        auto again = cadtest::Reload(*db);
        ASSERT_TRUE(again);
        EXPECT_EQ(again->ObjectByHandle(0x2A).GetReal(40), 4.5);
        EXPECT_EQ(again->ObjectByHandle(0x2A).GetText(8), "Pipes");
    }
}

TEST(Tagger, IndexKeepsEveryStartAcrossGroupsOfAnySpan) {
    // Starts far apart make a group keep full-width starts; the others stay narrow.
    cad::TagIndex index;
    std::vector<std::uint32_t> starts;
    std::uint32_t at = 0;
    for (int i = 0; i < 300; ++i) {
        starts.push_back(at);
        index.Push(at, i % 1072);
        at += (i >= 70 && i < 140) ? 40000 : 7;
    }
    ASSERT_EQ(index.Size(), starts.size());
    for (std::size_t i = 0; i < starts.size(); ++i) {
        EXPECT_EQ(index.Start(i), starts[i]) << i;
        EXPECT_EQ(index.Code(i), static_cast<int>(i % 1072));
    }
}

TEST(Tagger, ReadsHugeValuesAndBinaryChunksAndSavesThemUnchanged) {
    std::string big(100000, 'x');
    std::string text = Dxf({{0, "SECTION"}, {2, "OBJECTS"}, {0, "XRECORD"}, {5, "1F"}, {1, big}, {1, "after"},
                            {0, "ENDSEC"}, {0, "EOF"}});
    auto db = cadtest::Load(text);
    ASSERT_TRUE(db);
    EXPECT_EQ(db->ObjectByHandle(0x1F).GetText(1), big);
    EXPECT_EQ(db->Write(), text);
    std::string binary = Binary(true, {{0, "SECTION"}, {2, "OBJECTS"}, {0, "XRECORD"}, {5, "1F"}, {1, big},
                                       {1, "after"}, {0, "ENDSEC"}, {0, "EOF"}});
    auto fromBinary = cadtest::Load(binary);
    ASSERT_TRUE(fromBinary);
    EXPECT_EQ(fromBinary->ObjectByHandle(0x1F).GetText(1), big);
    EXPECT_EQ(fromBinary->Write(), binary);
}

TEST(Tagger, ReadsBinaryFilesWithLongTextsAndEveryWidth) {
    // Enough tags for many groups of the index, in both binary forms.
    for (bool twoByte : {false, true}) {
        std::vector<std::pair<int, std::string>> tags = {{0, "SECTION"}, {2, "ENTITIES"}};
        for (int i = 1; i <= 500; ++i) {
            tags.push_back({0, "POINT"});
            tags.push_back({5, cad::HandleText(0x100 + i)});
            tags.push_back({8, i % 7 == 0 ? std::string(3000, 'L') : "0"});
            tags.push_back({10, std::to_string(i) + ".5"});
            tags.push_back({62, std::to_string(i % 256)});
        }
        tags.push_back({0, "ENDSEC"});
        tags.push_back({0, "EOF"});
        std::string bytes = Binary(twoByte, tags);
        auto db = cadtest::Load(bytes);
        ASSERT_TRUE(db);
        for (int i = 1; i <= 500; ++i) {
            cad::Object point = db->ObjectByHandle(0x100 + i);
            ASSERT_TRUE(point) << i;
            EXPECT_EQ(point.GetReal(10), i + 0.5);
            EXPECT_EQ(point.GetInt(62), i % 256);
            EXPECT_EQ(point.GetText(8).size(), i % 7 == 0 ? 3000u : 1u);
        }
        EXPECT_EQ(db->Write(), bytes);
    }
}

TEST(Tagger, ANumberOfOddWidthIsKeptUnchangedAndWrittenInItsCodesWidthOnceTheDrawingChanges) {
    // Group 31 stored in two bytes, not eight, found by what follows it; records without
    // handles get theirs written once the drawing changes, and then the eight bytes after the
    // odd number would end in a sensible group code too.
    const std::string bytes(
        "AutoCAD Binary DXF\r\n\x1a\x00"
        "\x00" "SECTION\x00\x1f\x00\x00\x01\x00\x00\x00\x00\xff\xff\x11,\x00\x00" "ENDSEC\x00"
        "\x00" "SECTION\x00\x02" "ENTITIES\x00\x00" "INSERT\x00\x00" "ATTRIB\x00\x00" "ENDSEC\x00",
        95);
    auto db = cadtest::Load(bytes);
    ASSERT_TRUE(db);
    EXPECT_EQ(db->Write(), bytes);
    std::size_t attributes = 0;
    for (const cad::Entity& e : db->ModelSpace().Entities())
        if (e.Type() == "INSERT")
            for (cad::Attribute a : cad::BlockReference(db.get(), e.Index()).Attributes()) {
                a.SetValue("x");
                ++attributes;
            }
    ASSERT_EQ(attributes, 1u);
    auto again = cad::Database::FromBytes(db->Write(), "saved.dxf");
    ASSERT_TRUE(again) << again.GetStatus().Message();
    EXPECT_EQ((*again)->Write(), db->Write());
}

TEST(TaggerMalformed, OddLineCountSaysTheLine) {
    std::string m = Message("0\nSECTION\n2\nENTITIES\n0\nENDSEC\n0");
    EXPECT_NE(m.find("bad.dxf: line 7"), std::string::npos) << m;
    EXPECT_NE(m.find("has no value"), std::string::npos) << m;
}

TEST(TaggerMalformed, BadGroupCodeSaysTheLineAndTheText) {
    std::string m = Message("0\nSECTION\n2\nENTITIES\nxx\nLINE\n0\nENDSEC\n0\nEOF\n");
    EXPECT_NE(m.find("line 5: invalid group code \"xx\""), std::string::npos) << m;
}

TEST(TaggerMalformed, HugeGroupCodeIsOutOfRange) {
    std::string m = Message("0\nSECTION\n2\nENTITIES\n99999999999\nLINE\n0\nENDSEC\n0\nEOF\n");
    EXPECT_NE(m.find("line 5"), std::string::npos) << m;
    m = Message("0\nSECTION\n2\nENTITIES\n5000\nLINE\n0\nENDSEC\n0\nEOF\n");
    EXPECT_NE(m.find("line 5: group code 5000 is out of range"), std::string::npos) << m;
}

TEST(TaggerMalformed, ValueOfTheWrongTypeSaysTheValueLine) {
    std::string m = Message("0\nSECTION\n2\nENTITIES\n0\nLINE\n10\nleft\n0\nENDSEC\n0\nEOF\n");
    EXPECT_NE(m.find("line 8: value \"left\" of group code 10 is not a number"), std::string::npos) << m;
}

TEST(TaggerMalformed, HugeNumbersAreReadNotTrusted) {
    auto db = cadtest::Load("0\nSECTION\n2\nENTITIES\n0\nLINE\n10\n1e999999\n62\n99999999999999999999\n0\nENDSEC\n0\nEOF\n");
    ASSERT_TRUE(db);
    auto line = db->ModelSpace().Entities().at(0);
    EXPECT_EQ(line.GetReal(10), 0.0);  // out of range reads as 0 rather than infinity
    (void)line.GetInt(62);
}

TEST(TaggerMalformed, UnterminatedSectionSaysWhichSection) {
    std::string m = Message("0\nSECTION\n2\nENTITIES\n0\nLINE\n8\n0\n");
    EXPECT_NE(m.find("ends inside the ENTITIES section"), std::string::npos) << m;
    m = Message("0\nSECTION\n2\nTABLES\n0\nSECTION\n2\nENTITIES\n0\nENDSEC\n0\nEOF\n");
    EXPECT_NE(m.find("line 5: a new section starts before the TABLES section ends"), std::string::npos) << m;
}

TEST(TaggerMalformed, UnterminatedSequenceSaysWhere) {
    std::string m = Message(Dxf({{0, "SECTION"}, {2, "ENTITIES"}, {0, "POLYLINE"}, {8, "0"}, {66, "1"},
                                 {0, "VERTEX"}, {8, "0"}, {0, "LINE"}, {8, "0"}, {0, "ENDSEC"}, {0, "EOF"}}));
    EXPECT_NE(m.find("line 15: the POLYLINE at bad.dxf: line 5 has no SEQEND"), std::string::npos) << m;
    m = Message(Dxf({{0, "SECTION"}, {2, "BLOCKS"}, {0, "BLOCK"}, {2, "A"}, {0, "LINE"}, {0, "ENDSEC"}, {0, "EOF"}}));
    EXPECT_NE(m.find("has no ENDBLK"), std::string::npos) << m;
}

TEST(TaggerMalformed, TruncatedBinaryFileSaysTheByteOffset) {
    std::string bytes = Binary(true, {{0, "SECTION"}, {2, "ENTITIES"}, {0, "LINE"}, {10, "1.0"}});
    std::string m = Message(bytes.substr(0, bytes.size() - 3));
    EXPECT_NE(m.find("bad.dxf: byte offset 50: the file ends inside the value of group code 10"), std::string::npos) << m;
    m = Message(bytes.substr(0, 30));
    EXPECT_NE(m.find("has no end"), std::string::npos) << m;
}

TEST(TaggerMalformed, BinaryGarbageGivesAStatusAndNeverHangs) {
    std::mt19937 random(7);
    std::string valid = Binary(true, {{0, "SECTION"}, {2, "ENTITIES"}, {0, "CIRCLE"}, {8, "0"}, {40, "1.0"},
                                      {0, "ENDSEC"}, {0, "EOF"}});
    for (int round = 0; round < 2000; ++round) {
        std::string bytes = valid;
        for (int k = 0; k < 4; ++k) bytes[22 + random() % (bytes.size() - 22)] = static_cast<char>(random());
        auto db = cad::Database::FromBytes(bytes, "garbage.dxf");
        if (!db) EXPECT_NE(db.GetStatus().Message().find("garbage.dxf"), std::string::npos);
        else (void)(*db)->Write();
    }
}

TEST(TaggerMalformed, TextGarbageGivesAStatusAndNeverHangs) {
    std::mt19937 random(11);
    std::string valid = cadtest::R12Drawing();
    for (int round = 0; round < 300; ++round) {
        std::string bytes = valid.substr(0, random() % valid.size());
        for (int k = 0; k < 3 && !bytes.empty(); ++k) bytes[random() % bytes.size()] = static_cast<char>(random());
        auto db = cad::Database::FromBytes(bytes, "garbage.dxf");
        if (db) {
            EXPECT_EQ((*db)->Write(), bytes);
        }
    }
}

TEST(TaggerMalformed, EmptyFileAndNonDxfSayWhat) {
    EXPECT_NE(Message("").find("bad.dxf: the file is empty"), std::string::npos);
    EXPECT_NE(Message("\n\n").find("the file is empty"), std::string::npos);
    EXPECT_NE(Message("PK\x03\x04 this is a zip").find("bad.dxf: line 1: invalid group code"), std::string::npos);
}

TEST(TaggerMalformed, OpenNamesAMissingFile) {
    auto db = cad::Database::Open("/nonexistent/drawing.dxf");
    ASSERT_FALSE(db);
    EXPECT_NE(db.GetStatus().Message().find("/nonexistent/drawing.dxf"), std::string::npos);
}

TEST(TaggerMalformed, RecursiveBlocksAreReported) {
    auto db = cadtest::Corpus("bad-insert-recursive-pair.dxf");
    ASSERT_TRUE(db);
    bool found = false;
    for (const auto& w : db->Warnings()) found = found || w.find("refers to itself") != std::string::npos;
    EXPECT_TRUE(found);
}

TEST(TaggerMalformed, DuplicateHandlesGetNewOnesAndAreReported) {
    auto db = cadtest::Load(Dxf({{0, "SECTION"}, {2, "ENTITIES"}, {0, "POINT"}, {5, "10"}, {8, "A"},
                                  {0, "POINT"}, {5, "10"}, {8, "B"}, {0, "ENDSEC"}, {0, "EOF"}}));
    ASSERT_TRUE(db);
    ASSERT_EQ(db->Warnings().size(), 1u);
    EXPECT_NE(db->Warnings()[0].find("handle 10 is used twice"), std::string::npos);
    auto points = db->ModelSpace().Entities();
    ASSERT_EQ(points.size(), 2u);
    EXPECT_NE(points[0].GetHandle(), points[1].GetHandle());
    EXPECT_GT(db->HandleSeed(), points[1].GetHandle());
}

}  // namespace
