#include "xl/XmlScanner.h"

#include <cstring>

#include "base/Format.h"
#include "base/Text.h"

namespace xl {
namespace {

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool IsAllSpace(std::string_view s) {
    for (char c : s)
        if (!IsSpace(c)) return false;
    return true;
}

// The character an entity or character reference stands for ("amp", "#10", "#x1F600"); 0 when
// it is none we know.
char32_t EntityValue(std::string_view name) {
    if (name == "amp") return '&';
    if (name == "lt") return '<';
    if (name == "gt") return '>';
    if (name == "quot") return '"';
    if (name == "apos") return '\'';
    if (name.size() < 2 || name[0] != '#') return 0;
    bool hex = name[1] == 'x';
    std::string_view digits = name.substr(hex ? 2 : 1);
    if (digits.empty() || digits.size() > 8) return 0;
    char32_t v = 0;
    for (char c : digits) {
        int d = c >= '0' && c <= '9' ? c - '0'
                : hex && c >= 'a' && c <= 'f' ? c - 'a' + 10
                : hex && c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
        if (d < 0) return 0;
        v = v * (hex ? 16 : 10) + static_cast<char32_t>(d);
    }
    return v > 0 && v <= 0x10FFFF ? v : 0;
}

// Decodes character data or an attribute value; attribute values get their white space made
// spaces, as XML normalises them.
void AppendDecoded(std::string& out, std::string_view raw, bool attribute) {
    // Decoding never lengthens, so one reservation fits and a text read in one run is exact.
    out.reserve(out.size() + raw.size());
    std::size_t pos = 0;
    while (pos < raw.size()) {
        std::size_t at = pos;
        while (at < raw.size() && raw[at] != '&' && raw[at] != '\r' && !(attribute && (raw[at] == '\n' || raw[at] == '\t')))
            ++at;
        out.append(raw.data() + pos, at - pos);
        if (at == raw.size()) break;
        char c = raw[at];
        pos = at + 1;
        if (c == '\r') {
            if (pos < raw.size() && raw[pos] == '\n') ++pos;
            out += attribute ? ' ' : '\n';
        } else if (c != '&') {
            out += ' ';
        } else {
            std::size_t semi = raw.find(';', pos);
            char32_t v = semi != std::string_view::npos && semi - pos <= 10 ? EntityValue(raw.substr(pos, semi - pos)) : 0;
            if (v) {
                base::AppendUtf8(out, v);
                pos = semi + 1;
            } else {
                out += '&';
            }
        }
    }
}

// Calls `f(name, nameBegin, value, end)` for each attribute of raw attribute text until it
// returns true; false when the text is not a list of name="value" pairs.
template <typename F>
bool ForEachAttribute(std::string_view raw, F f) {
    std::size_t pos = 0;
    while (true) {
        while (pos < raw.size() && IsSpace(raw[pos])) ++pos;
        if (pos == raw.size()) return true;
        std::size_t nameBegin = pos;
        while (pos < raw.size() && !IsSpace(raw[pos]) && raw[pos] != '=') ++pos;
        std::string_view name = raw.substr(nameBegin, pos - nameBegin);
        while (pos < raw.size() && IsSpace(raw[pos])) ++pos;
        if (name.empty() || pos == raw.size() || raw[pos] != '=') return false;
        ++pos;
        while (pos < raw.size() && IsSpace(raw[pos])) ++pos;
        if (pos == raw.size() || (raw[pos] != '"' && raw[pos] != '\'')) return false;
        char quote = raw[pos++];
        std::size_t close = raw.find(quote, pos);
        if (close == std::string_view::npos) return false;
        std::string_view value = raw.substr(pos, close - pos);
        if (value.find('<') != std::string_view::npos) return false;
        pos = close + 1;
        if (f(name, nameBegin, value, pos)) return true;
        if (pos < raw.size() && !IsSpace(raw[pos])) return false;
    }
}

// A character no name may hold; looked for one by one, as names are a few characters long.
bool HasNameBreak(std::string_view name) {
    for (char c : name)
        if (c == '<' || c == '&' || c == '"' || c == '\'' || c == '=') return true;
    return false;
}

// A qualified name without its prefix; names are a few characters long, so they are walked
// rather than searched.
std::string_view WithoutPrefix(std::string_view name) {
    for (std::size_t i = 0; i < name.size(); ++i)
        if (name[i] == ':') return name.substr(i + 1);
    return name;
}

bool MatchesLocal(std::string_view name, std::string_view local) {
    if (name.substr(0, 5) == "xmlns") return false;
    return WithoutPrefix(name) == local;
}

// Whether text starts as UTF-16 does (with its byte order mark or its first '<'): 'l' little
// endian, 'b' big endian, 0 neither.
char Utf16Order(std::string_view text) {
    if (text.size() < 2) return 0;
    auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if ((byte(0) == 0xFF && byte(1) == 0xFE) || (byte(0) == '<' && byte(1) == 0)) return 'l';
    if ((byte(0) == 0xFE && byte(1) == 0xFF) || (byte(0) == 0 && byte(1) == '<')) return 'b';
    return 0;
}

}  // namespace

void XmlScanner::MakeUtf8(std::string& text) {
    const char order = Utf16Order(text);
    if (!order) return;
    const bool little = order == 'l';
    auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    std::string out;
    out.reserve(text.size() / 2 + 16);
    std::size_t i = byte(0) == '<' || byte(1) == '<' ? 0 : 2;
    auto unit = [&](std::size_t at) -> char32_t {
        return little ? byte(at) | (byte(at + 1) << 8) : (byte(at) << 8) | byte(at + 1);
    };
    for (; i + 1 < text.size(); i += 2) {
        char32_t c = unit(i);
        if (c >= 0xD800 && c < 0xDC00 && i + 3 < text.size()) {
            char32_t low = unit(i + 2);
            if (low >= 0xDC00 && low < 0xE000) {
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                i += 2;
            }
        }
        base::AppendUtf8(out, c);
    }
    text = std::move(out);
}

std::string_view XmlScanner::LocalName() const { return WithoutPrefix(name_); }

XmlScanner::Token XmlScanner::Fail(std::size_t at, std::string_view what) {
    error_ = base::Sprintf("malformed XML at byte %d: %s", static_cast<long>(base_ + at), std::string(what).c_str());
    token_ = Token::Error;
    return token_;
}

bool XmlScanner::ParseAttributes(std::string_view raw) {
    return ForEachAttribute(raw, [](std::string_view, std::size_t, std::string_view, std::size_t) { return false; });
}

bool XmlScanner::Attribute(std::string_view localName, std::string& value) const {
    bool found = false;
    ForEachAttribute(attributes_, [&](std::string_view name, std::size_t, std::string_view raw, std::size_t) {
        if (!MatchesLocal(name, localName)) return false;
        value.clear();
        AppendDecoded(value, raw, true);
        found = true;
        return true;
    });
    return found;
}

bool XmlScanner::NextAttribute(std::size_t& pos, std::string_view& name, std::string& value) const {
    if (pos >= attributes_.size()) return false;
    bool found = false;
    std::size_t from = pos;
    ForEachAttribute(attributes_.substr(from), [&](std::string_view n, std::size_t, std::string_view raw, std::size_t after) {
        name = n;
        value.clear();
        AppendDecoded(value, raw, true);
        pos = from + after;
        found = true;
        return true;
    });
    if (!found) pos = attributes_.size();
    return found;
}

bool XmlScanner::AttributeSpan(std::string_view localName, std::size_t& begin, std::size_t& end) const {
    bool found = false;
    ForEachAttribute(attributes_, [&](std::string_view name, std::size_t nameBegin, std::string_view, std::size_t after) {
        if (!MatchesLocal(name, localName)) return false;
        begin = nameBegin;
        end = after;
        found = true;
        return true;
    });
    return found;
}

void XmlScanner::AppendText(std::string& out) const {
    if (token_ != Token::Text) return;
    if (cdata_) out.append(data_);
    else AppendDecoded(out, data_, false);
}

void XmlScanner::Refill() {
    const bool first = base_ == 0 && window_.empty();
    std::size_t drop = begin_;
    if (held_ != kNothingHeld) drop = std::min(drop, held_ - base_);
    window_.erase(0, drop);
    base_ += drop;
    begin_ -= drop;
    pos_ -= drop;
    // At least as much is added as is kept, so that a token longer than many pieces is searched
    // again only each time the text in hand has doubled.
    const std::size_t want = 2 * window_.size() + 1;
    while (!drained_ && (window_.size() < want || (first && window_.size() < 3))) drained_ = !source_(window_);
    if (first) {
        if (Utf16Order(window_)) {
            // UTF-16: read whole, as its pieces may split a character.
            while (!drained_) drained_ = !source_(window_);
            MakeUtf8(window_);
        }
        if (std::string_view(window_).substr(0, 3) == "\xEF\xBB\xBF") begin_ = pos_ = 3;
    }
    text_ = window_;
}

XmlScanner::Token XmlScanner::Next() {
    if (token_ == Token::Error) return token_;
    if (pendingEnd_) {
        pendingEnd_ = false;
        begin_ = pos_;
        openNames_.resize(openStarts_.back());
        openStarts_.pop_back();
        return token_ = Token::EndElement;
    }
    Token token;
    while (!Scan(token)) Refill();
    return token;
}

bool XmlScanner::Scan(Token& token) {
    auto done = [&](Token t) {
        token = t;
        return true;
    };
    while (true) {
        begin_ = pos_;
        if (pos_ >= text_.size()) {
            if (MoreToCome()) return false;
            if (!openStarts_.empty()) return done(Fail(pos_, "the element <" + std::string(OpenName()) + "> is not closed"));
            if (!rootSeen_) return done(Fail(pos_, "there is no root element"));
            return done(token_ = Token::End);
        }
        if (text_[pos_] != '<') {
            std::size_t lt = text_.find('<', pos_);
            if (lt == std::string_view::npos) {
                if (MoreToCome()) return false;
                lt = text_.size();
            }
            std::string_view run = text_.substr(pos_, lt - pos_);
            if (openStarts_.empty()) {
                if (!IsAllSpace(run)) return done(Fail(pos_, "text outside the root element"));
                pos_ = lt;
                continue;
            }
            data_ = run;
            cdata_ = false;
            pos_ = lt;
            return done(token_ = Token::Text);
        }
        // The longest opening told apart below is "<![CDATA[".
        if (text_.size() - pos_ < 9 && MoreToCome()) return false;
        // Most tags are start tags: the others are told by their second character.
        const char second = pos_ + 1 < text_.size() ? text_[pos_ + 1] : '\0';
        if (second == '!' || second == '?' || second == '/') {
            std::string_view rest = text_.substr(pos_);
            // What is not closed in the text in hand may be closed in the next piece.
            auto unclosed = [&](std::string_view what) { return MoreToCome() ? false : done(Fail(pos_, what)); };
            if (rest.substr(0, 4) == "<!--") {
                std::size_t end = text_.find("-->", pos_ + 4);
                if (end == std::string_view::npos) return unclosed("a comment is not closed");
                pos_ = end + 3;
                continue;
            }
            if (rest.substr(0, 9) == "<![CDATA[") {
                std::size_t end = text_.find("]]>", pos_ + 9);
                if (end == std::string_view::npos) return unclosed("a CDATA section is not closed");
                if (openStarts_.empty()) return done(Fail(pos_, "CDATA outside the root element"));
                data_ = text_.substr(pos_ + 9, end - pos_ - 9);
                cdata_ = true;
                pos_ = end + 3;
                return done(token_ = Token::Text);
            }
            if (rest.substr(0, 2) == "<?") {
                std::size_t end = text_.find("?>", pos_ + 2);
                if (end == std::string_view::npos) return unclosed("a processing instruction is not closed");
                pos_ = end + 2;
                continue;
            }
            if (rest.substr(0, 2) == "<!") {
                // A DOCTYPE, possibly with an internal subset in brackets; its entities stay unexpanded.
                std::size_t p = pos_ + 2;
                int brackets = 0;
                while (p < text_.size() && (text_[p] != '>' || brackets > 0)) {
                    if (text_[p] == '[') ++brackets;
                    else if (text_[p] == ']') --brackets;
                    ++p;
                }
                if (p >= text_.size()) return unclosed("a declaration is not closed");
                pos_ = p + 1;
                continue;
            }
            if (rest.substr(0, 2) == "</") {
                std::size_t gt = text_.find('>', pos_ + 2);
                if (gt == std::string_view::npos) return unclosed("an end tag is not closed");
                std::string_view name = text_.substr(pos_ + 2, gt - pos_ - 2);
                while (!name.empty() && IsSpace(name.back())) name.remove_suffix(1);
                if (openStarts_.empty() || OpenName() != name)
                    return done(Fail(pos_, "the end tag </" + std::string(name) + "> does not match " +
                                               (openStarts_.empty() ? std::string("any open element")
                                                                    : "<" + std::string(OpenName()) + ">")));
                name_ = name;
                openNames_.resize(openStarts_.back());
                openStarts_.pop_back();
                pos_ = gt + 1;
                return done(token_ = Token::EndElement);
            }
        }
        std::size_t p = pos_ + 1;
        while (p < text_.size() && !IsSpace(text_[p]) && text_[p] != '/' && text_[p] != '>') ++p;
        if (p == text_.size() && MoreToCome()) return false;
        std::string_view name = text_.substr(pos_ + 1, p - pos_ - 1);
        if (name.empty() || HasNameBreak(name)) return done(Fail(pos_, "a tag has no valid name"));
        if (openStarts_.empty() && rootSeen_) return done(Fail(pos_, "a second root element <" + std::string(name) + ">"));
        // The tag ends at the first '>' outside a quoted value.
        std::size_t gt = p;
        char quote = 0;
        while (gt < text_.size() && (quote || text_[gt] != '>')) {
            char c = text_[gt];
            if (quote ? c == quote : (c == '"' || c == '\'')) quote = quote ? 0 : c;
            ++gt;
        }
        if (gt >= text_.size()) {
            if (MoreToCome()) return false;
            return done(Fail(pos_, "the tag <" + std::string(name) + "> is not closed"));
        }
        std::string_view attrs = text_.substr(p, gt - p);
        bool selfClosing = !attrs.empty() && attrs.back() == '/';
        if (selfClosing) attrs.remove_suffix(1);
        if (!ParseAttributes(attrs)) return done(Fail(pos_, "the attributes of <" + std::string(name) + "> are malformed"));
        name_ = name;
        attributes_ = attrs;
        openStarts_.push_back(openNames_.size());
        openNames_ += name;
        rootSeen_ = true;
        pendingEnd_ = selfClosing;
        pos_ = gt + 1;
        return done(token_ = Token::StartElement);
    }
}

}  // namespace xl
