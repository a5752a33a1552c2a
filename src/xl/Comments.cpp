#include "xl/Comments.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cstdlib>
#include <map>

#include "xl/Xml.h"

namespace xl {

base::Result<NotesPart> ReadNotes(std::string xml, std::string_view label, bool keepXml) {
    pugi::xml_document doc;
    if (base::Status st = ParseXmlInPlace(doc, xml, label); !st) return st;
    pugi::xml_node root = doc.document_element();
    NotesPart part;
    bool defaultNs = false;
    for (pugi::xml_attribute a = root.first_attribute(); a; a = a.next_attribute()) {
        std::string_view name = a.name();
        defaultNs = defaultNs || name == "xmlns";
        part.rootAttributes += " ";
        part.rootAttributes += name;
        part.rootAttributes += "=\"";
        AppendEscaped(part.rootAttributes, a.value(), true);
        part.rootAttributes += "\"";
    }
    // Kept comments are unprefixed, so the root must declare the default namespace.
    if (!defaultNs) part.rootAttributes += " xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"";
    for (pugi::xml_node a = Child(root, "authors").first_child(); a; a = a.next_sibling())
        if (LocalName(a) == "author") part.authors.push_back(a.text().get());
    for (pugi::xml_node c = Child(root, "commentList").first_child(); c; c = c.next_sibling()) {
        if (LocalName(c) != "comment") continue;
        StoredNote n;
        if (!ParseCell(Attr(c, "ref").value(), n.note.row, n.note.column)) continue;
        n.originalRow = n.note.row;
        n.originalColumn = n.note.column;
        std::size_t author = Attr(c, "authorId").as_uint();
        if (author < part.authors.size()) n.note.author = part.authors[author];
        n.note.text = RichText(Child(c, "text"));
        // Prefixed elements would lose their namespace outside their part; those are rewritten.
        if (keepXml && std::string_view(c.name()).find(':') == std::string_view::npos) {
            pugi::xml_document scratch;
            pugi::xml_node copy = scratch.append_copy(c);
            copy.remove_attribute("ref");
            struct W : pugi::xml_writer {
                std::string s;
                void write(const void* d, size_t size) override { s.append(static_cast<const char*>(d), size); }
            } w;
            copy.print(w, "", pugi::format_raw);
            n.commentXml = std::move(w.s);
        }
        part.notes.push_back(std::move(n));
    }
    return part;
}

void WriteComments(DeflateStream& stream, std::string_view rootAttributes, std::vector<std::string> authors,
                   const std::vector<StoredNote>& notes) {
    std::map<std::string, int> authorIds;
    for (std::size_t i = 0; i < authors.size(); ++i) authorIds.emplace(authors[i], static_cast<int>(i));
    for (const StoredNote& n : notes)
        if (!authorIds.count(n.note.author)) {
            authorIds.emplace(n.note.author, static_cast<int>(authors.size()));
            authors.push_back(n.note.author);
        }
    std::string& out = stream.Buffer();
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n<comments";
    out += rootAttributes.empty() ? " xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\""
                                  : rootAttributes;
    out += "><authors>";
    for (const std::string& a : authors) {
        out += "<author>";
        AppendEscaped(out, a);
        out += "</author>";
    }
    out += "</authors><commentList>";
    for (const StoredNote& stored : notes) {
        stream.MaybeFlush();
        const Note& n = stored.note;
        if (!stored.changed && !stored.commentXml.empty()) {
            out += "<comment ref=\"";
            out += CellName(n.row, n.column);
            out += '"';
            out.append(stored.commentXml, std::string_view("<comment").size());
            continue;
        }
        out += "<comment ref=\"";
        out += CellName(n.row, n.column);
        out += "\" authorId=\"";
        out += std::to_string(authorIds[n.author]);
        out += "\"><text><t xml:space=\"preserve\">";
        AppendEscaped(out, n.text);
        out += "</t></text></comment>";
    }
    out += "</commentList></comments>";
}

namespace {

// Finds the end of the element that starts at `start` named `tag` (such as "v:shape"),
// counting nested elements of the same name; npos when it never closes.
std::size_t ElementEnd(std::string_view text, std::size_t start, std::string_view tag) {
    std::size_t depth = 0;
    std::size_t pos = start;
    while (pos < text.size()) {
        std::size_t lt = text.find('<', pos);
        if (lt == std::string_view::npos) return lt;
        std::size_t gt = text.find('>', lt);
        if (gt == std::string_view::npos) return gt;
        std::string_view t = text.substr(lt + 1, gt - lt - 1);
        bool closing = !t.empty() && t[0] == '/';
        std::string_view name = t.substr(closing ? 1 : 0);
        name = name.substr(0, name.find_first_of(" \t\r\n/"));
        if (name == tag) {
            if (closing) {
                if (--depth == 0) return gt + 1;
            } else if (t.back() != '/') {
                ++depth;
            } else if (depth == 0) {
                return gt + 1;
            }
        }
        pos = gt + 1;
    }
    return std::string_view::npos;
}

// The number inside <tag>...</tag> of a shape; -1 when absent.
int TagNumber(std::string_view shape, std::string_view tag) {
    std::size_t at = shape.find("<" + std::string(tag) + ">");
    if (at == std::string_view::npos) return -1;
    return std::atoi(std::string(shape.substr(at + tag.size() + 2, 12)).c_str());
}

// A note shape moved by whole rows and columns: its cell and the rows of its anchor.
std::string MoveShape(std::string shape, int rows, int columns) {
    if (rows == 0 && columns == 0) return shape;
    auto replaceTag = [&](std::string_view tag, int delta) {
        std::string open = "<" + std::string(tag) + ">";
        std::size_t at = shape.find(open);
        if (at == std::string::npos) return;
        std::size_t start = at + open.size();
        std::size_t end = shape.find('<', start);
        int v = std::atoi(shape.c_str() + start) + delta;
        shape.replace(start, end - start, std::to_string(std::max(0, v)));
    };
    replaceTag("x:Row", rows);
    replaceTag("x:Column", columns);
    std::size_t at = shape.find("<x:Anchor>");
    if (at != std::string::npos) {
        std::size_t start = at + 10;
        std::size_t end = shape.find('<', start);
        std::string anchor = shape.substr(start, end - start);
        std::vector<int> v;
        for (std::size_t pos = 0; pos <= anchor.size();) {
            std::size_t comma = anchor.find(',', pos);
            if (comma == std::string::npos) comma = anchor.size();
            v.push_back(std::atoi(anchor.c_str() + pos));
            pos = comma + 1;
        }
        if (v.size() == 8) {
            v[0] = std::max(0, v[0] + columns), v[4] = std::max(0, v[4] + columns);
            v[2] = std::max(0, v[2] + rows), v[6] = std::max(0, v[6] + rows);
            std::string text;
            for (std::size_t i = 0; i < 8; ++i) text += (i ? ", " : "") + std::to_string(v[i]);
            shape.replace(start, end - start, text);
        }
    }
    return shape;
}

bool IsNoteShape(std::string_view shape) {
    std::size_t cd = shape.find("ObjectType=");
    return cd != std::string_view::npos && shape.substr(cd + 12, 4) == "Note";
}

}  // namespace

void WriteVml(DeflateStream& stream, std::string_view original, const std::vector<StoredNote>& notes,
              int shapeBase) {
    std::string kept;
    bool hasNoteType = false;
    std::map<std::pair<int, int>, std::string> noteShapes;  // by the (0-based) cell they show
    long maxId = shapeBase;
    std::string head =
        "<xml xmlns:v=\"urn:schemas-microsoft-com:vml\"\r\n xmlns:o=\"urn:schemas-microsoft-com:office:office\"\r\n"
        " xmlns:x=\"urn:schemas-microsoft-com:office:excel\">\r\n";
    if (!original.empty()) {
        // VML is not always well-formed XML (Excel writes <br> without closing it), so shapes
        // are cut out as text.
        std::size_t rootEnd = original.find('>', original.find("<xml"));
        if (rootEnd != std::string_view::npos) head = std::string(original.substr(0, rootEnd + 1));
        std::size_t pos = rootEnd == std::string_view::npos ? 0 : rootEnd + 1;
        while (true) {
            std::size_t lt = original.find('<', pos);
            if (lt == std::string_view::npos) break;
            std::string_view rest = original.substr(lt + 1);
            std::string_view name = rest.substr(0, rest.find_first_of(" \t\r\n/>"));
            if (name == "/xml") break;
            std::size_t end = ElementEnd(original, lt, name);
            if (end == std::string_view::npos) break;
            std::string_view element = original.substr(lt, end - lt);
            if (name == "v:shapetype" && element.find("_x0000_t202") != std::string_view::npos)
                hasNoteType = true;
            if (name == "v:shape") {
                std::size_t idAt = element.find("_x0000_s");
                if (idAt != std::string_view::npos) maxId = std::max(maxId, std::atol(std::string(element.substr(idAt + 8, 12)).c_str()));
            }
            if (name == "v:shape" && IsNoteShape(element)) {
                int r = TagNumber(element, "x:Row"), c = TagNumber(element, "x:Column");
                if (r >= 0 && c >= 0) noteShapes.emplace(std::make_pair(r, c), std::string(element));
            } else {
                kept += element;
                kept += "\r\n";
            }
            pos = end;
        }
    } else {
        kept += "<o:shapelayout v:ext=\"edit\">\r\n  <o:idmap v:ext=\"edit\" data=\"" +
                std::to_string(shapeBase / 1024) + "\"/>\r\n </o:shapelayout>";
    }
    std::string& out = stream.Buffer();
    out += head;
    out += kept;
    if (!hasNoteType)
        out += "<v:shapetype id=\"_x0000_t202\" coordsize=\"21600,21600\" o:spt=\"202\"\r\n"
               "  path=\"m,l,21600r21600,l21600,xe\">\r\n  <v:stroke joinstyle=\"miter\"/>\r\n"
               "  <v:path gradientshapeok=\"t\" o:connecttype=\"rect\"/>\r\n </v:shapetype>";
    long id = maxId + 1;
    for (const StoredNote& stored : notes) {
        stream.MaybeFlush();
        const Note& n = stored.note;
        int r = n.row - 1, c = n.column - 1;
        auto shape = stored.originalRow ? noteShapes.find({stored.originalRow - 1, stored.originalColumn - 1}) : noteShapes.end();
        if (shape != noteShapes.end()) {
            out += MoveShape(shape->second, n.row - stored.originalRow, n.column - stored.originalColumn);
            noteShapes.erase(shape);
            continue;
        }
        out += "<v:shape id=\"_x0000_s";
        out += std::to_string(id++);
        out += "\" type=\"#_x0000_t202\" style='position:absolute;margin-left:59.25pt;margin-top:1.5pt;"
               "width:108pt;height:59.25pt;z-index:1;visibility:hidden' fillcolor=\"#ffffe1\" o:insetmode=\"auto\">"
               "<v:fill color2=\"#ffffe1\"/><v:shadow on=\"t\" color=\"black\" obscured=\"t\"/>"
               "<v:path o:connecttype=\"none\"/><v:textbox style='mso-direction-alt:auto'>"
               "<div style='text-align:left'></div></v:textbox><x:ClientData ObjectType=\"Note\">"
               "<x:MoveWithCells/><x:SizeWithCells/><x:Anchor>";
        out += std::to_string(c + 1) + ", 15, " + std::to_string(r > 0 ? r - 1 : 0) + ", 10, " +
               std::to_string(c + 3) + ", 15, " + std::to_string(r + 3) + ", 4";
        out += "</x:Anchor><x:AutoFill>False</x:AutoFill><x:Row>";
        out += std::to_string(r);
        out += "</x:Row><x:Column>";
        out += std::to_string(c);
        out += "</x:Column></x:ClientData></v:shape>";
    }
    out += "</xml>";
}

}  // namespace xl
