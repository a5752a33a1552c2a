#include "xl/Xml.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "base/Format.h"
#include "base/Text.h"

namespace xl {

namespace {
const unsigned kParseOptions = pugi::parse_default | pugi::parse_declaration | pugi::parse_ws_pcdata_single;

base::Status Check(const pugi::xml_document& doc, const pugi::xml_parse_result& result, std::string_view label) {
    if (!result)
        return base::Status::Error(base::Sprintf("%s: malformed XML at byte %d: %s",
                                                 std::string(label).c_str(),
                                                 static_cast<long>(result.offset),
                                                 result.description()));
    if (!doc.document_element())
        return base::Status::Error(std::string(label) + ": the XML has no root element");
    return base::Status::Ok();
}
}  // namespace

base::Status ParseXml(pugi::xml_document& doc, std::string_view data, std::string_view label) {
    return Check(doc, doc.load_buffer(data.data(), data.size(), kParseOptions), label);
}

base::Status ParseXmlInPlace(pugi::xml_document& doc, std::string& data, std::string_view label) {
    return Check(doc, doc.load_buffer_inplace(data.data(), data.size(), kParseOptions), label);
}

namespace {
struct StringWriter : pugi::xml_writer {
    std::string out;
    void write(const void* data, size_t size) override {
        out.append(static_cast<const char*>(data), size);
    }
};
}  // namespace

std::string SaveXml(const pugi::xml_document& doc) {
    StringWriter w;
    bool hasDecl = doc.first_child().type() == pugi::node_declaration;
    if (!hasDecl) w.out = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n";
    doc.save(w, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    if (hasDecl) {
        // Excel puts a line break after the declaration; pugixml writes none in raw mode.
        std::size_t end = w.out.find("?>");
        if (end != std::string::npos) w.out.insert(end + 2, "\r\n");
    }
    return std::move(w.out);
}

std::string SaveXmlNode(const pugi::xml_node& node) {
    StringWriter w;
    node.print(w, "", pugi::format_raw);
    return std::move(w.out);
}

std::string_view LocalName(const pugi::xml_node& node) {
    std::string_view name = node.name();
    std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

namespace {

// True when an element's name without its prefix is `local`; names are a few characters long,
// so they are walked once rather than measured and searched.
bool HasLocalName(const char* name, std::string_view local) {
    const char* start = name;
    for (const char* p = name; *p; ++p)
        if (*p == ':') {
            start = p + 1;
            break;
        }
    std::size_t i = 0;
    for (; i < local.size(); ++i)
        if (start[i] != local[i]) return false;
    return start[i] == '\0';
}

}  // namespace

pugi::xml_node Child(const pugi::xml_node& node, std::string_view localName) {
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_element && HasLocalName(c.name(), localName)) return c;
    return {};
}

std::string QualifiedLike(const pugi::xml_node& node, std::string_view localName) {
    std::string_view name = node.name();
    std::size_t colon = name.find(':');
    std::string out;
    if (colon != std::string_view::npos) out.assign(name.substr(0, colon + 1));
    out += localName;
    return out;
}

pugi::xml_attribute Attr(const pugi::xml_node& node, std::string_view localName) {
    for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
        std::string_view name = a.name();
        std::size_t colon = name.find(':');
        if ((colon == std::string_view::npos ? name : name.substr(colon + 1)) == localName &&
            name.substr(0, 5) != "xmlns")
            return a;
    }
    return {};
}

namespace {
void CollectText(const pugi::xml_node& node, std::string& out) {
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
        if (c.type() != pugi::node_element) continue;
        std::string_view name = LocalName(c);
        if (name == "t")
            out += c.text().get();
        else if (name == "r")
            CollectText(c, out);
    }
}
}  // namespace

std::string RichText(const pugi::xml_node& item) {
    std::string out;
    CollectText(item, out);
    return UnescapeOoxml(out);
}

namespace {

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

}  // namespace

void AppendEscaped(std::string& out, std::string_view text, bool attr) {
    // Most characters need nothing: the text between two that do is copied in one piece.
    std::size_t copied = 0;
    char control[8];
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        std::string_view with;
        switch (c) {
        case '&': with = "&amp;"; break;
        case '<': with = "&lt;"; break;
        case '>': with = "&gt;"; break;
        case '"': if (attr) with = "&quot;"; break;
        case '\n': if (attr) with = "&#10;"; break;
        case '\r': with = "&#13;"; break;
        case '\t': if (attr) with = "&#9;"; break;
        case '_':
            // A literal "_x0041_" would read back as "A"; escape its underscore.
            if (text.size() - i >= 7 && text[i + 1] == 'x' && text[i + 6] == '_' && IsHexDigit(text[i + 2]) &&
                IsHexDigit(text[i + 3]) && IsHexDigit(text[i + 4]) && IsHexDigit(text[i + 5]))
                with = "_x005F_";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                std::snprintf(control, sizeof control, "_x%04X_", static_cast<int>(c));
                with = std::string_view(control, 7);
            }
        }
        if (with.empty()) continue;
        out.append(text.data() + copied, i - copied);
        out.append(with);
        copied = i + 1;
    }
    out.append(text.data() + copied, text.size() - copied);
}

std::string UnescapeOoxml(std::string_view text) {
    if (text.find("_x") == std::string_view::npos) return std::string(text);
    std::string out;
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == '_' && text.size() - i >= 7 && text[i + 1] == 'x' && text[i + 6] == '_') {
            std::string hex(text.substr(i + 2, 4));
            if (std::strspn(hex.c_str(), "0123456789abcdefABCDEF") == 4) {
                base::AppendUtf8(out, static_cast<char32_t>(std::stoul(hex, nullptr, 16)));
                i += 7;
                continue;
            }
        }
        out += text[i++];
    }
    return out;
}

pugi::xml_node EnsureChild(pugi::xml_node parent, std::string_view local,
                           const std::vector<std::string_view>& order) {
    if (pugi::xml_node n = Child(parent, local)) return n;
    const std::string name = QualifiedLike(parent, local);
    const auto mine = std::find(order.begin(), order.end(), local);
    for (pugi::xml_node c = parent.first_child(); c; c = c.next_sibling()) {
        const auto theirs = std::find(order.begin(), order.end(), LocalName(c));
        if (theirs != order.end() && theirs > mine) return parent.insert_child_before(name.c_str(), c);
    }
    return parent.append_child(name.c_str());
}

}  // namespace xl
