#include "xl/XmlScanner.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <string>

namespace {

using Token = xl::XmlScanner::Token;

// The tokens of a scanner as short strings: "<a>" start, "</a>" end, "'text'" character data.
std::string TokensOf(xl::XmlScanner& x) {
    std::string out;
    for (Token t = x.Next(); t != Token::End; t = x.Next()) {
        if (t == Token::Error) return out + "error: " + x.Error();
        if (t == Token::StartElement) out += "<" + std::string(x.Name()) + ">" + std::to_string(x.Depth());
        if (t == Token::EndElement) out += "</" + std::string(x.Name()) + ">" + std::to_string(x.Depth());
        if (t == Token::Text) {
            std::string s;
            x.AppendText(s);
            out += "'" + s + "'";
        }
    }
    return out;
}

std::string Tokens(std::string_view text) {
    xl::XmlScanner x(text);
    return TokensOf(x);
}

// A source giving `text` in pieces of `piece` bytes.
xl::XmlScanner::Source InPieces(std::string text, std::size_t piece) {
    return [text = std::move(text), piece, at = std::size_t(0)](std::string& out) mutable {
        if (at >= text.size()) return false;
        out.append(text, at, piece);
        at += piece;
        return true;
    };
}

std::string TokensInPieces(const std::string& text, std::size_t piece) {
    xl::XmlScanner x(InPieces(text, piece));
    return TokensOf(x);
}

TEST(XmlScanner, ElementsTextAndDepths) {
    EXPECT_EQ(Tokens("<?xml version=\"1.0\"?>\r\n<a><!-- c --><b x='1'/>t<c>&lt;<![CDATA[&]]></c></a>\n"),
              "<a>0<b>1</b>1't'<c>1'<''&'</c>1</a>0");
}

TEST(XmlScanner, AttributesAreDecodedAndMatchedByLocalName) {
    xl::XmlScanner x("<c xmlns:r=\"u\" r:id=\"rId1\" r='A&amp;1' t = \"s\"/>");
    ASSERT_EQ(x.Next(), Token::StartElement);
    std::string v;
    ASSERT_TRUE(x.Attribute("id", v));
    EXPECT_EQ(v, "rId1");
    ASSERT_TRUE(x.Attribute("t", v));
    EXPECT_EQ(v, "s");
    EXPECT_FALSE(x.Attribute("xmlns", v));
    std::size_t pos = 0;
    std::string_view name;
    std::string all;
    while (x.NextAttribute(pos, name, v)) all += std::string(name) + "=" + v + ";";
    EXPECT_EQ(all, "xmlns:r=u;r:id=rId1;r=A&1;t=s;");
    std::size_t begin = 0, end = 0;
    ASSERT_TRUE(x.AttributeSpan("t", begin, end));
    EXPECT_EQ(x.RawAttributes().substr(begin, end - begin), "t = \"s\"");
    EXPECT_EQ(x.Next(), Token::EndElement);
    EXPECT_EQ(x.Next(), Token::End);
}

TEST(XmlScanner, MalformedTextIsAnErrorWithItsOffset) {
    EXPECT_EQ(Tokens("<a><b></a>"), "<a>0<b>1error: malformed XML at byte 6: the end tag </a> does not match <b>");
    EXPECT_EQ(Tokens("<a>"), "<a>0error: malformed XML at byte 3: the element <a> is not closed");
    EXPECT_NE(Tokens("<a x=1/>").find("error: malformed XML at byte 0"), std::string::npos);
    EXPECT_NE(Tokens("").find("no root element"), std::string::npos);
    EXPECT_NE(Tokens("<a/><b/>").find("second root"), std::string::npos);
    EXPECT_NE(Tokens("<a><![CDATA[x</a>").find("CDATA"), std::string::npos);
}

TEST(XmlScanner, DoctypeEntitiesStayUnexpanded) {
    EXPECT_EQ(Tokens("<!DOCTYPE a [<!ENTITY b \"bbbb\">]><a>&b;</a>"), "<a>0'&b;'</a>0");
}

TEST(XmlScanner, ByteOrderMarksAndUtf16AreRead) {
    EXPECT_EQ(Tokens("\xEF\xBB\xBF<a>x</a>"), "<a>0'x'</a>0");
    std::string utf16le("\xFF\xFE", 2);
    for (char16_t c : std::u16string(u"<a>\u00E9\U0001F600</a>")) {
        utf16le += static_cast<char>(c & 0xFF);
        utf16le += static_cast<char>(c >> 8);
    }
    EXPECT_EQ(TokensInPieces(utf16le, 1), "<a>0'\u00E9\U0001F600'</a>0");
    xl::XmlScanner::MakeUtf8(utf16le);
    EXPECT_EQ(Tokens(utf16le), "<a>0'\u00E9\U0001F600'</a>0");
    std::string plain = "<a/>";
    xl::XmlScanner::MakeUtf8(plain);
    EXPECT_EQ(plain, "<a/>");
}

TEST(XmlScanner, TextReadInPiecesGivesTheTokensAndErrorsOfTheWholeText) {
    const std::string texts[] = {
        "<?xml version=\"1.0\"?>\r\n<a><!-- c --><b x='1'/>t<c>&lt;<![CDATA[&]]></c></a>\n",
        "<!DOCTYPE a [<!ENTITY b \"bbbb\">]><a>&b;</a>",
        "\xEF\xBB\xBF<a>x</a>",
        "<comments xmlns=\"m\"><authors><author>a &amp; b</author></authors><commentList>"
        "<comment ref=\"A1\" authorId=\"0\"><text><r><rPr><b/></rPr><t xml:space=\"preserve\">one\r\ntwo</t></r>"
        "</text></comment></commentList></comments>  <!-- after -->  ",
        "<a><b></a>", "<a>", "<a x=1/>", "", "<a/><b/>", "<a><![CDATA[x</a>", "<a>text", "<a><!-- open</a>",
        "<a><?pi open</a>", "<a></a>trailing", "<a><b c=\"&lt;\">",
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        const std::string whole = Tokens(text);
        for (std::size_t piece : {1, 2, 3, 5, 8, 13, 64})
            EXPECT_EQ(TokensInPieces(text, piece), whole) << "in pieces of " << piece;
    }
}

TEST(XmlScanner, HeldTextStaysWhileLaterPiecesAreRead) {
    const std::string text = "<a><b x=\"1\">some <i>text</i> here</b><c/></a>";
    xl::XmlScanner x(InPieces(text, 1));
    std::size_t from = 0;
    std::string_view held;
    for (Token t = x.Next(); t != Token::End && t != Token::Error; t = x.Next()) {
        if (t == Token::StartElement && x.Name() == "b") {
            from = x.TokenBegin();
            x.Hold(from);
        } else if (t == Token::EndElement && x.Name() == "b") {
            held = x.Span(from, x.TokenEnd());
            EXPECT_EQ(held, "<b x=\"1\">some <i>text</i> here</b>");
            x.Release();
        }
    }
    EXPECT_EQ(from, 3u);
    EXPECT_FALSE(held.empty());
}

TEST(XmlScanner, ATextRunLongerThanManyPiecesIsReadOnceOver) {
    // 64 MiB of text in one run, given a kilobyte at a time: searched again from its start at
    // each piece, its end would take some two terabytes of searching to find.
    const std::string run(std::size_t(64) << 20, 'x');
    xl::XmlScanner x(InPieces("<a>" + run + "</a>", 1024));
    ASSERT_EQ(x.Next(), Token::StartElement);
    ASSERT_EQ(x.Next(), Token::Text);
    std::string text;
    x.AppendText(text);
    EXPECT_EQ(text.size(), run.size());
    EXPECT_EQ(x.Next(), Token::EndElement);
    EXPECT_EQ(x.Next(), Token::End);
}

TEST(XmlScanner, TextReadInPiecesIsNeverHeldWhole) {
    // 64 MiB of elements made as they are asked for: the scanner holds one piece at a time.
    const std::size_t total = std::size_t(64) << 20;
    std::size_t made = 0;
    bool opened = false, closed = false;
    xl::XmlScanner x([&](std::string& out) {
        if (closed) return false;
        if (!opened) {
            out += "<list>";
            opened = true;
        }
        for (std::size_t start = made; made - start < (std::size_t(1) << 18) && made < total; made += 24)
            out += "<item n=\"12345\">v</item>";
        if (made >= total) {
            out += "</list>";
            closed = true;
        }
        return true;
    });
    struct rusage before {};
    getrusage(RUSAGE_SELF, &before);
    std::size_t items = 0;
    Token t = x.Next();
    for (; t != Token::End && t != Token::Error; t = x.Next())
        if (t == Token::StartElement && x.Depth() == 1) ++items;
    struct rusage after {};
    getrusage(RUSAGE_SELF, &after);
    ASSERT_EQ(t, Token::End) << x.Error();
    EXPECT_EQ(items, (total + 23) / 24);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 16 * 1024);
}

}  // namespace
