#include "xl/Comments.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdio>
#include <string>

namespace {

const char kHead[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
    "<comments xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">";

xl::NotesPart Read(const std::string& body) {
    auto part = xl::ReadNotes(kHead + body + "</comments>", "book.xlsx: xl/comments1.xml");
    EXPECT_TRUE(part) << part.GetStatus().Message();
    return part ? std::move(*part) : xl::NotesPart();
}

std::string Written(const xl::NotesPart& part, std::string_view original) {
    xl::DeflateStream stream;
    xl::WriteComments(stream, part.rootAttributes, part.authors, part.notes, original);
    return xl::Inflate(stream.Finish());
}

TEST(Comments, RichRunsAreJoinedAndPhoneticRunsLeftOut) {
    xl::NotesPart part = Read(
        "<authors><author>Ann</author></authors><commentList>"
        "<comment ref=\"B3\" authorId=\"0\"><text><r><rPr><b/></rPr><t>Ann:</t></r>"
        "<r><t xml:space=\"preserve\">\nkey</t></r><rPh sb=\"0\" eb=\"1\"><t>x</t></rPh></text></comment>"
        "</commentList>");
    ASSERT_EQ(part.notes.size(), 1u);
    EXPECT_EQ(part.notes[0].row, 3);
    EXPECT_EQ(part.notes[0].column, 2);
    EXPECT_EQ(part.notes[0].Text(), "Ann:\nkey");
}

TEST(Comments, EntitiesAndCharacterReferencesAreDecoded) {
    xl::NotesPart part = Read(
        "<authors><author>A &amp; B</author></authors><commentList>"
        "<comment ref=\"A1\" authorId=\"0\"><text><t>/p/d.dxf&lt;2A0_TAG&gt; &quot;&apos; &#65;&#x42;&#x20AC; &unknown; _x0041_"
        "<![CDATA[<raw>]]></t></text></comment></commentList>");
    ASSERT_EQ(part.notes.size(), 1u);
    EXPECT_EQ(part.authors[0], "A & B");
    EXPECT_EQ(part.notes[0].Text(), "/p/d.dxf<2A0_TAG> \"' AB\u20AC &unknown; A<raw>");
}

TEST(Comments, SpacePreservedAndLineEndsNormalised) {
    xl::NotesPart part = Read(
        "<authors><author></author></authors><commentList>"
        "<comment ref=\"A1\" authorId=\"0\"><text><t xml:space=\"preserve\">  two  </t></text></comment>"
        "<comment ref=\"A2\" authorId=\"0\"><text><t> </t></text></comment>"
        "<comment ref=\"A3\" authorId=\"0\"><text><t>a\r\nb\rc</t></text></comment></commentList>");
    ASSERT_EQ(part.notes.size(), 3u);
    EXPECT_EQ(part.notes[0].Text(), "  two  ");
    EXPECT_EQ(part.notes[1].Text(), " ");
    EXPECT_EQ(part.notes[2].Text(), "a\nb\nc");
}

TEST(Comments, AuthorsAreIndexedAndUnknownIdsGetAnEmptyAuthor) {
    xl::NotesPart part = Read(
        "<authors><author>Ann</author><author>Bo</author></authors><commentList>"
        "<comment ref=\"A1\" authorId=\"1\"><text><t>x</t></text></comment>"
        "<comment ref=\"A2\"><text><t>y</t></text></comment>"
        "<comment ref=\"A3\" authorId=\"7\"><text><t>z</t></text></comment>"
        "<comment ref=\"bad\" authorId=\"0\"><text><t>skipped</t></text></comment></commentList>");
    ASSERT_EQ(part.notes.size(), 3u);
    EXPECT_EQ(part.authors.size(), 3u);
    EXPECT_EQ(part.notes[0].author, 1u);
    EXPECT_EQ(part.notes[1].author, 0u);
    EXPECT_EQ(part.authors[part.notes[2].author], "");
    std::vector<std::string> authors = part.authors;
    EXPECT_EQ(xl::AuthorIndex(authors, "Bo"), 1u);
    EXPECT_EQ(xl::AuthorIndex(authors, "Cy"), 3u);
}

TEST(Comments, PrefixedPartsAreRead) {
    auto part = xl::ReadNotes(
        "<x:comments xmlns:x=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><x:authors><x:author>A</x:author>"
        "</x:authors><x:commentList><x:comment ref=\"C2\" authorId=\"0\"><x:text><x:t>hi</x:t></x:text></x:comment>"
        "</x:commentList></x:comments>",
        "p");
    ASSERT_TRUE(part);
    ASSERT_EQ(part->notes.size(), 1u);
    EXPECT_EQ(part->notes[0].Text(), "hi");
    EXPECT_NE(part->rootAttributes.find(" xmlns=\""), std::string::npos);
}

TEST(Comments, MalformedPartGivesAnErrorNamingThePart) {
    for (const char* bad : {"<comments><commentList><comment ref=\"A1\"><text><t>x</text></comment></commentList></comments>",
                            "<comments><authors><author>A</author></authors>",
                            "<comments a=b></comments>", "", "just text", "<comments></comments><second/>",
                            "<comments><!-- open"}) {
        auto part = xl::ReadNotes(bad, "book.xlsx: xl/comments1.xml");
        ASSERT_FALSE(part) << bad;
        EXPECT_NE(part.GetStatus().Message().find("book.xlsx: xl/comments1.xml: malformed XML at byte "), std::string::npos)
            << part.GetStatus().Message();
    }
}

TEST(Comments, UntouchedNotesAreWrittenFromTheirElementsUnderTheirNewCell) {
    std::string original = std::string(kHead) +
        "<authors><author>Ann</author></authors><commentList>"
        "<comment authorId=\"0\" ref=\"B2\" shapeId=\"0\"><text><r><rPr><b/></rPr><t>bold</t></r></text></comment>"
        "<comment ref=\"C3\" authorId=\"0\"><text><t>plain</t></text></comment>"
        "</commentList></comments>";
    auto part = xl::ReadNotes(original, "p");
    ASSERT_TRUE(part);
    part->notes[0].row = 5;
    part->notes[1].text = part->texts.KeepCounted("changed & new");
    part->notes[1].changed = true;
    std::string out = Written(*part, original);
    EXPECT_NE(out.find("<comment ref=\"B5\" authorId=\"0\" shapeId=\"0\"><text><r><rPr><b/></rPr><t>bold</t></r></text></comment>"),
              std::string::npos) << out;
    EXPECT_NE(out.find("<comment ref=\"C3\" authorId=\"0\"><text><t xml:space=\"preserve\">changed &amp; new</t></text></comment>"),
              std::string::npos) << out;
    auto again = xl::ReadNotes(out, "again");
    ASSERT_TRUE(again);
    EXPECT_EQ(again->notes[0].Text(), "bold");
    EXPECT_EQ(again->notes[1].Text(), "changed & new");
}

TEST(Comments, APartWithANoteOnEveryCellIsHeldInLittleMoreThanItsTexts) {
    // 500,000 notes of 22 bytes, as an export leaves them. A note with its text in a string of
    // its own took 56 bytes and an allocation of 32; with its text in the part's blocks it takes
    // 32 and the text's 23, with 8 more for its author id while the part is read (63 measured).
    constexpr std::size_t kCount = 500000;
    // Made in room of its own size, so that the notes can't take memory it gave back.
    std::string xml;
    xml.reserve(kCount * 100);
    xml += kHead;
    xml += "<authors><author></author></authors><commentList>";
    char note[160];
    for (std::size_t i = 0; i < kCount; ++i) {
        std::snprintf(note, sizeof note,
                      "<comment ref=\"D%zu\" authorId=\"0\"><text><t>/p/plan.dxf&lt;%05zX_TAG&gt;</t></text></comment>",
                      i + 1, i);
        xml += note;
    }
    xml += "</commentList></comments>";
    struct rusage before {};
    getrusage(RUSAGE_SELF, &before);
    auto part = xl::ReadNotes(xml, "p");
    struct rusage after {};
    getrusage(RUSAGE_SELF, &after);
    ASSERT_TRUE(part);
    ASSERT_EQ(part->notes.size(), kCount);
    EXPECT_EQ(part->notes[kCount - 1].Text(), "/p/plan.dxf<7A11F_TAG>");
    EXPECT_EQ(part->notes[kCount - 1].row, static_cast<int>(kCount));
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, static_cast<long>(kCount * 80 / 1024));
}

TEST(Comments, NoteMissingFromTheOriginalIsWrittenFromItsText) {
    xl::NotesPart part;
    part.authors = {""};
    xl::StoredNote n;
    n.row = n.originalRow = 1;
    n.column = n.originalColumn = 1;
    n.text = part.texts.KeepCounted("<k>");
    part.notes.push_back(n);
    std::string out = Written(part, "");
    EXPECT_NE(out.find("<comment ref=\"A1\" authorId=\"0\"><text><t xml:space=\"preserve\">&lt;k&gt;</t></text></comment>"),
              std::string::npos) << out;
}

}  // namespace
