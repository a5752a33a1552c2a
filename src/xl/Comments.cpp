#include "xl/Comments.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <map>

#include "xl/Xml.h"
#include "xl/XmlScanner.h"

namespace xl {

namespace {

using Token = XmlScanner::Token;

// True when raw root attributes declare the default namespace.
bool DeclaresDefaultNamespace(std::string_view attrs) {
    for (std::size_t at = attrs.find("xmlns"); at != std::string_view::npos; at = attrs.find("xmlns", at + 5)) {
        std::size_t after = at + 5;
        while (after < attrs.size() && attrs[after] == ' ') ++after;
        bool startsName = at == 0 || attrs[at - 1] == ' ' || attrs[at - 1] == '\t' || attrs[at - 1] == '\r' || attrs[at - 1] == '\n';
        if (startsName && after < attrs.size() && attrs[after] == '=') return true;
    }
    return false;
}

// An unprefixed <comment> element of a part, cut around its ref attribute so that it can be
// written again under another cell.
struct CommentElement {
    int row = 0, column = 0;
    std::string_view head;  // attributes before ref
    std::string_view tail;  // from after ref to the end of the element
};

// Every unprefixed <comment> of the part with a readable ref, by cell; empty for a part that
// can't be read (its notes are then written from their plain text).
std::vector<CommentElement> CommentElements(std::string_view xml) {
    std::vector<CommentElement> out;
    XmlScanner x(xml);
    CommentElement current;
    bool open = false;
    std::string ref;
    for (Token t = x.Next(); t != Token::End; t = x.Next()) {
        if (t == Token::Error) return {};
        if (t == Token::StartElement && x.Depth() == 2 && x.Name() == "comment") {
            std::size_t begin = 0, end = 0;
            open = x.AttributeSpan("ref", begin, end) && x.Attribute("ref", ref) &&
                   ParseCell(ref, current.row, current.column);
            if (!open) continue;
            std::string_view attrs = x.RawAttributes();
            current.head = attrs.substr(0, begin);
            while (!current.head.empty() && (current.head.back() == ' ' || current.head.back() == '\t' ||
                                              current.head.back() == '\r' || current.head.back() == '\n'))
                current.head.remove_suffix(1);
            current.tail = xml.substr(static_cast<std::size_t>(attrs.data() - xml.data()) + end);
        } else if (t == Token::EndElement && x.Depth() == 2 && open) {
            open = false;
            std::size_t from = static_cast<std::size_t>(current.tail.data() - xml.data());
            current.tail = xml.substr(from, x.TokenEnd() - from);
            out.push_back(current);
        }
    }
    std::stable_sort(out.begin(), out.end(), [](const CommentElement& a, const CommentElement& b) {
        return a.row != b.row ? a.row < b.row : a.column < b.column;
    });
    return out;
}

}  // namespace

std::uint32_t AuthorIndex(std::vector<std::string>& authors, std::string_view author) {
    for (std::size_t i = 0; i < authors.size(); ++i)
        if (authors[i] == author) return static_cast<std::uint32_t>(i);
    authors.emplace_back(author);
    return static_cast<std::uint32_t>(authors.size() - 1);
}

base::Result<NotesPart> ReadNotes(std::string_view xml, std::string_view label) {
    // Counted first, so that a part with a note on every cell is held once, not doubled.
    std::size_t count = 0;
    for (std::size_t at = xml.find("comment "); at != std::string_view::npos; at = xml.find("comment ", at + 8)) ++count;
    XmlScanner x(xml);
    return ReadNotes(x, count, label);
}

base::Result<NotesPart> ReadNotes(XmlScanner& x, std::size_t expectedNotes, std::string_view label) {
    NotesPart part;
    Token t = x.Next();
    while (t == Token::Text) t = x.Next();
    if (t != Token::StartElement) return base::Status::Error(std::string(label) + ": " + x.Error());
    std::string_view rootAttrs = x.RawAttributes();
    if (!rootAttrs.empty() && rootAttrs.front() != ' ') part.rootAttributes = " ";
    part.rootAttributes += rootAttrs;
    while (!part.rootAttributes.empty() && (part.rootAttributes.back() == ' ' || part.rootAttributes.back() == '\n' ||
                                            part.rootAttributes.back() == '\r' || part.rootAttributes.back() == '\t'))
        part.rootAttributes.pop_back();
    // Kept comments are unprefixed, so the root must declare the default namespace.
    if (!DeclaresDefaultNamespace(rootAttrs))
        part.rootAttributes += " xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"";
    // Where the scanner is: which list at depth 1, a note or author at depth 2, the note's <text>
    // at 3, a run at 4; text is taken from <t> at 4 (or 5 inside a run) and from <author>.
    enum class In { Nothing, Authors, CommentList } list = In::Nothing;
    bool inNote = false, inText = false, inRun = false;
    std::size_t captureDepth = 0;  // depth of the element whose text is taken; 0 for none
    std::string* capture = nullptr;
    std::vector<StoredNote> notes;
    std::vector<std::size_t> authorOf;  // the authorId of each note as read
    notes.reserve(expectedNotes);
    authorOf.reserve(expectedNotes);
    StoredNote note;
    bool noteOk = false;
    std::string value, author, text;
    std::size_t unknownAuthor = static_cast<std::size_t>(-1);
    while ((t = x.Next()) != Token::End) {
        if (t == Token::Error) return base::Status::Error(std::string(label) + ": " + x.Error());
        std::size_t depth = x.Depth();
        if (t == Token::Text) {
            if (capture && depth == captureDepth + 1) x.AppendText(*capture);
            continue;
        }
        std::string_view name = x.LocalName();
        if (t == Token::StartElement) {
            if (depth == 1) {
                list = name == "authors" ? In::Authors : name == "commentList" ? In::CommentList : In::Nothing;
            } else if (depth == 2 && list == In::Authors && name == "author") {
                author.clear();
                capture = &author;
                captureDepth = 2;
            } else if (depth == 2 && list == In::CommentList && name == "comment") {
                inNote = true;
                note = StoredNote();
                text.clear();
                noteOk = x.Attribute("ref", value) && ParseCell(value, note.row, note.column);
                std::size_t id = 0;
                if (x.Attribute("authorId", value)) id = std::strtoul(value.c_str(), nullptr, 10);
                authorOf.push_back(id);
            } else if (depth == 3 && inNote && name == "text") {
                inText = true;
            } else if (depth == 4 && inText && name == "r") {
                inRun = true;
            } else if ((depth == 4 && inText && name == "t") || (depth == 5 && inRun && name == "t")) {
                capture = &text;
                captureDepth = depth;
            }
            continue;
        }
        // An element ends.
        if (capture && depth == captureDepth) {
            capture = nullptr;
            captureDepth = 0;
            if (depth == 2 && list == In::Authors) part.authors.push_back(std::move(author));
        } else if (depth == 5) {
        } else if (depth == 4) {
            inRun = false;
        } else if (depth == 3) {
            inText = false;
        } else if (depth == 2 && inNote) {
            inNote = false;
            if (noteOk) {
                if (text.find("_x") != std::string::npos) text = UnescapeOoxml(text);
                note.text = part.texts.KeepCounted(text);
                note.originalRow = note.row;
                note.originalColumn = note.column;
                notes.push_back(std::move(note));
            } else {
                authorOf.pop_back();
            }
        } else if (depth == 1) {
            list = In::Nothing;
        }
    }
    for (std::size_t i = 0; i < notes.size(); ++i) {
        std::size_t id = authorOf[i];
        if (id >= part.authors.size() || (unknownAuthor != static_cast<std::size_t>(-1) && id == unknownAuthor)) {
            if (unknownAuthor == static_cast<std::size_t>(-1)) {
                unknownAuthor = part.authors.size();
                for (std::size_t a = 0; a < part.authors.size(); ++a)
                    if (part.authors[a].empty()) unknownAuthor = a;
                if (unknownAuthor == part.authors.size()) part.authors.emplace_back();
            }
            id = unknownAuthor;
        }
        notes[i].author = static_cast<std::uint32_t>(id);
    }
    part.notes = std::move(notes);
    return part;
}

void WriteComments(DeflateStream& stream, std::string_view rootAttributes, const std::vector<std::string>& authors,
                   const std::vector<StoredNote>& notes, std::string_view originalPart) {
    bool anyKept = false;
    for (const StoredNote& n : notes) anyKept = anyKept || (!n.changed && n.originalRow);
    std::vector<CommentElement> originals = anyKept ? CommentElements(originalPart) : std::vector<CommentElement>();
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
    char number[16];
    for (const StoredNote& n : notes) {
        stream.MaybeFlush();
        out += "<comment ref=\"";
        AppendCellName(out, n.row, n.column);
        out += '"';
        if (!n.changed && n.originalRow) {
            auto it = std::lower_bound(originals.begin(), originals.end(), std::make_pair(n.originalRow, n.originalColumn),
                                       [](const CommentElement& e, std::pair<int, int> rc) {
                                           return std::make_pair(e.row, e.column) < rc;
                                       });
            if (it != originals.end() && it->row == n.originalRow && it->column == n.originalColumn) {
                out += it->head;
                out += it->tail;
                continue;
            }
        }
        out += " authorId=\"";
        out.append(number, std::to_chars(number, number + sizeof number, n.author).ptr);
        out += "\"><text><t xml:space=\"preserve\">";
        AppendEscaped(out, n.Text());
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
    // By the (0-based) cell they show; views into `original`, which holds them all.
    std::map<std::pair<int, int>, std::string_view> noteShapes;
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
                if (r >= 0 && c >= 0) noteShapes.emplace(std::make_pair(r, c), element);
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
        const StoredNote& n = stored;
        int r = n.row - 1, c = n.column - 1;
        auto shape = stored.originalRow ? noteShapes.find({stored.originalRow - 1, stored.originalColumn - 1}) : noteShapes.end();
        if (shape != noteShapes.end()) {
            const int rows = n.row - stored.originalRow, columns = n.column - stored.originalColumn;
            if (rows == 0 && columns == 0)
                out += shape->second;
            else
                out += MoveShape(std::string(shape->second), rows, columns);
            noteShapes.erase(shape);
            continue;
        }
        // A new shape: constant text around six numbers.
        static constexpr std::string_view kShapeStart = "<v:shape id=\"_x0000_s";
        static constexpr std::string_view kShapeBody =
            "\" type=\"#_x0000_t202\" style='position:absolute;margin-left:59.25pt;margin-top:1.5pt;"
            "width:108pt;height:59.25pt;z-index:1;visibility:hidden' fillcolor=\"#ffffe1\" o:insetmode=\"auto\">"
            "<v:fill color2=\"#ffffe1\"/><v:shadow on=\"t\" color=\"black\" obscured=\"t\"/>"
            "<v:path o:connecttype=\"none\"/><v:textbox style='mso-direction-alt:auto'>"
            "<div style='text-align:left'></div></v:textbox><x:ClientData ObjectType=\"Note\">"
            "<x:MoveWithCells/><x:SizeWithCells/><x:Anchor>";
        static constexpr std::string_view kAnchorEnd = "</x:Anchor><x:AutoFill>False</x:AutoFill><x:Row>";
        static constexpr std::string_view kRowEnd = "</x:Row><x:Column>";
        static constexpr std::string_view kShapeEnd = "</x:Column></x:ClientData></v:shape>";
        char number[24];
        auto put = [&](long v) { out.append(number, std::to_chars(number, number + sizeof number, v).ptr); };
        out += kShapeStart;
        put(id++);
        out += kShapeBody;
        put(c + 1);
        out += ", 15, ";
        put(r > 0 ? r - 1 : 0);
        out += ", 10, ";
        put(c + 3);
        out += ", 15, ";
        put(r + 3);
        out += ", 4";
        out += kAnchorEnd;
        put(r);
        out += kRowEnd;
        put(c);
        out += kShapeEnd;
    }
    out += "</xml>";
}

}  // namespace xl
