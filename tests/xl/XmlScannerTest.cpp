#include "xl/XmlScanner.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Token = xl::XmlScanner::Token;

// The tokens of a text as short strings: "<a>" start, "</a>" end, "'text'" character data.
std::string Tokens(std::string_view text) {
    xl::XmlScanner x(text);
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
    xl::XmlScanner::MakeUtf8(utf16le);
    EXPECT_EQ(Tokens(utf16le), "<a>0'\u00E9\U0001F600'</a>0");
    std::string plain = "<a/>";
    xl::XmlScanner::MakeUtf8(plain);
    EXPECT_EQ(plain, "<a/>");
}

}  // namespace
