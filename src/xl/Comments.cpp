#include "xl/Comments.h"

#include <pugixml.hpp>

#include <map>

#include "xl/Xml.h"

namespace xl {

base::Result<std::vector<Note>> ReadNotes(std::string_view xml, std::string_view label) {
    pugi::xml_document doc;
    if (base::Status st = ParseXml(doc, xml, label); !st) return st;
    pugi::xml_node root = doc.document_element();
    std::vector<std::string> authors;
    for (pugi::xml_node a = Child(root, "authors").first_child(); a; a = a.next_sibling())
        if (LocalName(a) == "author") authors.push_back(a.text().get());
    std::vector<Note> notes;
    for (pugi::xml_node c = Child(root, "commentList").first_child(); c; c = c.next_sibling()) {
        if (LocalName(c) != "comment") continue;
        Note n;
        if (!ParseCell(Attr(c, "ref").value(), n.row, n.column)) continue;
        std::size_t author = Attr(c, "authorId").as_uint();
        if (author < authors.size()) n.author = authors[author];
        n.text = RichText(Child(c, "text"));
        notes.push_back(std::move(n));
    }
    return notes;
}

std::string WriteComments(const std::vector<Note>& notes) {
    std::map<std::string, int> authorIds;
    std::string authors;
    for (const Note& n : notes) {
        if (authorIds.count(n.author)) continue;
        authorIds.emplace(n.author, static_cast<int>(authorIds.size()));
        authors += "<author>";
        AppendEscaped(authors, n.author);
        authors += "</author>";
    }
    std::string out;
    std::size_t textBytes = 0;
    for (const Note& n : notes) textBytes += n.text.size();
    out.reserve(textBytes + notes.size() * 90 + authors.size() + 300);
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
           "<comments xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><authors>";
    out += authors;
    out += "</authors><commentList>";
    for (const Note& n : notes) {
        out += "<comment ref=\"";
        out += CellName(n.row, n.column);
        out += "\" authorId=\"";
        out += std::to_string(authorIds[n.author]);
        out += "\"><text><t xml:space=\"preserve\">";
        AppendEscaped(out, n.text);
        out += "</t></text></comment>";
    }
    out += "</commentList></comments>";
    return out;
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

bool IsNoteShape(std::string_view shape) {
    std::size_t cd = shape.find("ObjectType=");
    return cd != std::string_view::npos && shape.substr(cd + 12, 4) == "Note";
}

}  // namespace

std::string WriteVml(std::string_view original, const std::vector<Note>& notes, int shapeBase) {
    std::string kept;
    bool hasNoteType = false;
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
            if (!(name == "v:shape" && IsNoteShape(element))) {
                kept += element;
                kept += "\r\n";
            }
            pos = end;
        }
    } else {
        kept += "<o:shapelayout v:ext=\"edit\">\r\n  <o:idmap v:ext=\"edit\" data=\"" +
                std::to_string(shapeBase / 1024) + "\"/>\r\n </o:shapelayout>";
    }
    std::string out = head;
    out += kept;
    if (!hasNoteType)
        out += "<v:shapetype id=\"_x0000_t202\" coordsize=\"21600,21600\" o:spt=\"202\"\r\n"
               "  path=\"m,l,21600r21600,l21600,xe\">\r\n  <v:stroke joinstyle=\"miter\"/>\r\n"
               "  <v:path gradientshapeok=\"t\" o:connecttype=\"rect\"/>\r\n </v:shapetype>";
    out.reserve(out.size() + notes.size() * 560 + 16);
    int id = shapeBase + 1;
    for (const Note& n : notes) {
        int r = n.row - 1, c = n.column - 1;
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
    return out;
}

}  // namespace xl
