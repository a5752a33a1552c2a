#pragma once
// A forward-only reader of XML text for the big parts that are read once and thrown away (a
// comments part with a note on every cell): no tree is built, names and texts are views into the
// text, and element nesting is checked so that a damaged part is still reported as one. The text
// is given whole or read a piece at a time, so that a big part is never held whole.

#include <cstddef>
#include <functional>
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
    // Appends the next piece of the text to its argument; false when there is no more.
    using Source = std::function<bool(std::string&)>;
    // Reads the text a piece at a time from `source`, holding only the piece being read (and what
    // is held, see Hold()); every view then holds until the next call of Next(). Text in UTF-16
    // is read whole and made UTF-8.
    explicit XmlScanner(Source source) : source_(std::move(source)) {}

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
    std::size_t Depth() const { return openStarts_.size() - (token_ == Token::StartElement ? 1 : 0); }
    // Byte offsets of the current token in the whole text: its '<' (or first character) and one
    // past its end.
    std::size_t TokenBegin() const { return base_ + begin_; }
    std::size_t TokenEnd() const { return base_ + pos_; }
    // Keeps the text from offset `from` on (at or before the current token) until Release(), so
    // that Span() can give it when the text is read in pieces.
    void Hold(std::size_t from) { held_ = from; }
    void Release() { held_ = kNothingHeld; }
    // The text from offset `from` to `to`; with a text read in pieces, `from` must be held or
    // inside the current token.
    std::string_view Span(std::size_t from, std::size_t to) const { return text_.substr(from - base_, to - from); }
    // What is wrong, with its byte offset, once Next() gave Error.
    const std::string& Error() const { return error_; }

private:
    static constexpr std::size_t kNothingHeld = static_cast<std::size_t>(-1);

    Token Fail(std::size_t at, std::string_view what);
    bool ParseAttributes(std::string_view raw);
    // The next token, or false when the text in hand ends inside it and more is to come.
    bool Scan(Token& token);
    // True when a source has more text to give.
    bool MoreToCome() const { return source_ && !drained_; }
    // Drops the text before the current token (or what is held) and appends the next piece.
    void Refill();
    std::string_view OpenName() const {
        return std::string_view(openNames_).substr(openStarts_.empty() ? 0 : openStarts_.back());
    }

    Source source_;
    std::string window_;            // the text in hand when it is read in pieces
    std::size_t base_ = 0;          // offset of text_ in the whole text
    std::size_t held_ = kNothingHeld;
    bool drained_ = false;
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
    // The names of the open elements, one after the other, and where each starts: they outlive
    // the pieces of text they were read from.
    std::string openNames_;
    std::vector<std::size_t> openStarts_;
    std::string error_;
};

}  // namespace xl
