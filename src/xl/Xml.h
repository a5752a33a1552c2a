#pragma once
// XML helpers shared by the part modules: parsing set up for round trips, matching elements by
// local name (prefixes differ between writers and between transitional and strict files), and
// escaping for the parts written as text.

#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "base/Status.h"

namespace xl {

// Parses `data` keeping the declaration and white-space-only text such as `<t> </t>`; entity
// declarations are never expanded. The error names `label` and the byte offset.
base::Status ParseXml(pugi::xml_document& doc, std::string_view data, std::string_view label);
// The same, parsing inside `data` (which must outlive the document): no copy of a big part.
base::Status ParseXmlInPlace(pugi::xml_document& doc, std::string& data, std::string_view label);
// The document as raw UTF-8 text, declaration included when it had one.
std::string SaveXml(const pugi::xml_document& doc);

// One element (or other node) as raw XML text, without declaration or indentation.
std::string SaveXmlNode(const pugi::xml_node& node);

// The element name without its prefix ("x:row" -> "row").
std::string_view LocalName(const pugi::xml_node& node);
// The first child element with that local name; empty when there is none.
pugi::xml_node Child(const pugi::xml_node& node, std::string_view localName);
// The prefix of `node` plus `localName`, so that new elements join their parent's namespace.
std::string QualifiedLike(const pugi::xml_node& node, std::string_view localName);
// The child element `local` of `parent`, made when missing and placed before the first sibling
// that comes after it in `order` (the schema's sequence), so the part stays valid.
pugi::xml_node EnsureChild(pugi::xml_node parent, std::string_view local,
                           const std::vector<std::string_view>& order);
// An attribute by local name (`r:id` and `id` in another prefix alike); empty when absent.
pugi::xml_attribute Attr(const pugi::xml_node& node, std::string_view localName);

// The plain text of a string item (<si>, <is>, a comment's <text>): its <t> runs in order,
// phonetic runs left out, _xHHHH_ escapes undone.
std::string RichText(const pugi::xml_node& item);

// Appends `text` escaped for element content, or for a double-quoted attribute when `attr`.
// Characters XML 1.0 can't hold are written as the _xHHHH_ escapes spreadsheet files use.
void AppendEscaped(std::string& out, std::string_view text, bool attr = false);
// Undoes the _xHHHH_ escapes of spreadsheet text; other text is returned unchanged.
std::string UnescapeOoxml(std::string_view text);

}  // namespace xl
