#include "cad/Text.h"

#include <cmath>
#include <numbers>

#include "cad/Database.h"

namespace cad {

namespace {
constexpr double kDegree = std::numbers::pi / 180.0;
}

void Text::SetTextString(std::string_view text) { SetText(1, text, "AcDbText"); }

double Text::Rotation() const { return GetReal(50, 0) * kDegree; }

void Text::SetRotation(double radians) {
    double degrees = radians / kDegree;
    if (std::fabs(GetReal(50, 0) - degrees) < 1e-12) return;
    SetReal(50, degrees, "AcDbText");
}

int Text::VerticalCode() const {
    std::string type = Type();
    return type == "ATTRIB" || type == "ATTDEF" ? 74 : 73;
}

void Text::SetVerticalMode(int mode) {
    int code = VerticalCode();
    SetInt(code, mode, code == 74 ? (Type() == "ATTRIB" ? "AcDbAttribute" : "AcDbAttributeDefinition") : "AcDbText");
}

std::string AttributeBase::SubclassName() const {
    return Type() == "ATTRIB" ? "AcDbAttribute" : "AcDbAttributeDefinition";
}

void AttributeBase::SetFlag(int bit, bool on) {
    int flags = Flags();
    SetInt(70, on ? (flags | bit) : (flags & ~bit), SubclassName());
}

bool AttributeBase::IsMTextAttribute() const {
    if (!db_) return false;
    std::size_t n = TagCount();
    for (std::size_t i = 1; i < n; ++i) {
        int code = CodeAt(i);
        if (code == 1001) return false;
        if (code == 101) return true;
    }
    return false;
}


std::string AttributeBase::MTextContents() const {
    if (!db_ || !IsMTextAttribute()) return {};
    std::size_t n = TagCount();
    std::string out;
    bool inside = false;
    for (std::size_t i = 1; i < n; ++i) {
        int code = CodeAt(i);
        if (code == 1001) break;
        if (code == 101) inside = true;
        if (!inside) continue;
        if (code == 3) out += TextAt(i);
        if (code == 1) {
            out += TextAt(i);
            break;
        }
    }
    return out;
}

std::string AttributeBase::PlainText() const {
    return IsMTextAttribute() ? MTextPlainText(MTextContents()) : TextString();
}

void AttributeBase::SetValue(std::string_view text) {
    if (!db_) return;
    if (!IsMTextAttribute()) {
        SetTextString(text);
        return;
    }
    std::string contents;
    for (char c : text) {
        if (c == '\n') contents += "\\P";
        else contents += c;
    }
    if (MTextContents() == contents) return;
    SetTextString(contents);
    // The embedded MTEXT's 3 chunks and 1 tag follow the 101 marker.
    std::size_t begin = std::string::npos, end = std::string::npos;
    bool inside = false;
    for (std::size_t i = 1; i < TagCount(); ++i) {
        int code = CodeAt(i);
        if (code == 1001) break;
        if (code == 101) inside = true;
        if (!inside || (code != 3 && code != 1)) continue;
        if (begin == std::string::npos) begin = i;
        end = i + 1;
        if (code == 1) break;
    }
    if (begin == std::string::npos) return;
    EraseTags(begin, end - begin);
    TagList tags = MTextContentTags(contents);
    for (std::size_t k = 0; k < tags.size(); ++k) InsertTag(begin + k, tags[k]);
}

std::string MText::Contents() const {
    if (!db_) return {};
    std::string out;
    std::size_t end = OwnDataEnd();
    std::string last;
    for (std::size_t i = 1; i < end; ++i) {
        int code = CodeAt(i);
        if (code == 3) out += TextAt(i);
        else if (code == 1) last = TextAt(i);
    }
    return out + last;
}

void MText::SetContents(std::string_view contents) {
    if (!db_ || Contents() == contents) return;
    std::size_t end = OwnDataEnd();
    std::size_t at = std::string::npos;
    for (std::size_t i = end; i-- > 1;) {
        int code = CodeAt(i);
        if (code == 3 || code == 1) {
            at = i;
            EraseTags(i, 1);
        }
    }
    if (at == std::string::npos) at = OwnDataEnd();
    TagList tags = MTextContentTags(contents);
    for (std::size_t k = 0; k < tags.size(); ++k) InsertTag(at + k, tags[k]);
}

std::string MText::PlainText() const { return MTextPlainText(Contents()); }

TagList MTextContentTags(std::string_view contents) {
    TagList tags;
    while (contents.size() > 250) {
        std::size_t cut = 250;
        while (cut > 0 && (static_cast<unsigned char>(contents[cut]) & 0xC0) == 0x80) --cut;
        tags.push_back({3, std::string(contents.substr(0, cut))});
        contents.remove_prefix(cut);
    }
    tags.push_back({1, std::string(contents)});
    return tags;
}

std::string MTextPlainText(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    std::size_t i = 0;
    while (i < s.size()) {
        char c = s[i];
        if (c == '{' || c == '}') {
            ++i;
            continue;
        }
        if (c == '^' && i + 1 < s.size()) {
            char n = s[i + 1];
            if (n == 'J' || n == 'M') out += '\n';
            else if (n == 'I') out += '\t';
            else if (n == ' ') out += '^';
            else out += n;
            i += 2;
            continue;
        }
        if (c != '\\' || i + 1 >= s.size()) {
            out += c;
            ++i;
            continue;
        }
        char code = s[i + 1];
        i += 2;
        switch (code) {
            case 'P': case 'N': out += '\n'; break;
            case '~': out += ' '; break;
            case '\\': case '{': case '}': out += code; break;
            case 'L': case 'l': case 'O': case 'o': case 'K': case 'k': break;
            case 'S': {
                // A stacked fraction "\S1^2;" or "\S1#2;" reads "1/2".
                std::size_t end = s.find(';', i);
                std::string_view stack = s.substr(i, end == std::string_view::npos ? std::string_view::npos : end - i);
                for (char k : stack) out += (k == '^' || k == '#') ? '/' : k;
                i = end == std::string_view::npos ? s.size() : end + 1;
                break;
            }
            case 'A': case 'C': case 'c': case 'F': case 'f': case 'H': case 'h': case 'Q': case 'q':
            case 'T': case 't': case 'W': case 'w': case 'p': case 'X': {
                std::size_t end = s.find(';', i);
                i = end == std::string_view::npos ? s.size() : end + 1;
                break;
            }
            default: out += '\\'; out += code; break;
        }
    }
    return out;
}

}  // namespace cad
