#pragma once
// A forward-only reader of XML text for the big parts that are read once and thrown away (a
// comments part with a note on every cell): no tree is built, names and texts are views into the
// text, and element nesting is checked so that a damaged part is still reported as one.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace xl {

class XmlScanner {
public:
    enum class Token { StartElement, EndElement, Text, End, Error };

    // `text` must outlive the scanner; every view it gives points into it. A UTF-8 byte order
    // mark is passed over.
    explicit XmlScanner(std::string_view text) : text_(text) {
        if (text_.substr(0, 3) == "\xEF\xBB\xBF") pos_ = 3;
    }

    // Makes UTF-16 text (known by its byte order mark or its first '<') UTF-8 in place, as
    // some tools write parts; other text is left alone.
    static void MakeUtf8(std::string& text);

    // The next element start, element end or run of character data (CDATA included);
    // declarations, comments, processing instructions and the DOCTYPE are passed over. A
    // self-closing element gives its start and then its end. End after the root element closes;
    // Error (with Error()) on anything not well formed, and from then on.
    Token Next();

    // Qualified name of the current start or end element ("x:comment").
    std::string_view Name() const { return name_; }
    // The name without its prefix ("comment").
    std::string_view LocalName() const;
    // Raw text between the name and the closing '>' or "/>" of the current start element.
    std::string_view RawAttributes() const { return attributes_; }
    // The decoded value of an attribute of the current start element matched by local name
    // (namespace declarations never match); false when it has none.
    bool Attribute(std::string_view localName, std::string& value) const;
    // The attributes of the current start element one at a time: start with `pos` 0; gives the
    // qualified name and the decoded value, false after the last.
    bool NextAttribute(std::size_t& pos, std::string_view& name, std::string& value) const;
    // Where the attribute `localName` starts (at its name) and ends (after its closing quote)
    // inside RawAttributes(); false when absent.
    bool AttributeSpan(std::string_view localName, std::size_t& begin, std::size_t& end) const;
    // Appends the current character data decoded: entities and character references resolved,
    // line ends made "\n"; CDATA as it stands. Unknown entities are kept as written.
    void AppendText(std::string& out) const;
    // Elements open around the current token; the root's start is at depth 0.
    std::size_t Depth() const { return open_.size() - (token_ == Token::StartElement ? 1 : 0); }
    // Byte offsets of the current token in the text: its '<' (or first character) and one past
    // its end.
    std::size_t TokenBegin() const { return begin_; }
    std::size_t TokenEnd() const { return pos_; }
    // The whole text being read.
    std::string_view Text() const { return text_; }
    // What is wrong, with its byte offset, once Next() gave Error.
    const std::string& Error() const { return error_; }

private:
    Token Fail(std::size_t at, std::string_view what);
    bool ParseAttributes(std::string_view raw);

    std::string_view text_;
    std::size_t pos_ = 0;
    std::size_t begin_ = 0;
    Token token_ = Token::End;
    std::string_view name_;
    std::string_view attributes_;
    std::string_view data_;
    bool cdata_ = false;
    bool pendingEnd_ = false;
    bool rootSeen_ = false;
    std::vector<std::string_view> open_;
    std::string error_;
};

}  // namespace xl
