#include "xl/Styles.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "xl/NumberFormat.h"
#include "xl/Xml.h"

namespace xl {
namespace {

const char kDefaultStyles[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
    "<styleSheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
    "<fonts count=\"1\"><font><sz val=\"11\"/><color theme=\"1\"/><name val=\"Calibri\"/>"
    "<family val=\"2\"/><scheme val=\"minor\"/></font></fonts>"
    "<fills count=\"2\"><fill><patternFill patternType=\"none\"/></fill>"
    "<fill><patternFill patternType=\"gray125\"/></fill></fills>"
    "<borders count=\"1\"><border><left/><right/><top/><bottom/><diagonal/></border></borders>"
    "<cellStyleXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/></cellStyleXfs>"
    "<cellXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"/></cellXfs>"
    "<cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/></cellStyles>"
    "<dxfs count=\"0\"/><tableStyles count=\"0\" defaultTableStyle=\"TableStyleMedium2\" "
    "defaultPivotStyle=\"PivotStyleLight16\"/></styleSheet>";

// Excel's default palette, indexes 1..56 (8..63 in the file's indexed colours).
const std::uint32_t kPalette[56] = {
    0x000000, 0xFFFFFF, 0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00, 0xFF00FF, 0x00FFFF,
    0x800000, 0x008000, 0x000080, 0x808000, 0x800080, 0x008080, 0xC0C0C0, 0x808080,
    0x9999FF, 0x993366, 0xFFFFCC, 0xCCFFFF, 0x660066, 0xFF8080, 0x0066CC, 0xCCCCFF,
    0x000080, 0xFF00FF, 0xFFFF00, 0x00FFFF, 0x800080, 0x800000, 0x008080, 0x0000FF,
    0x00CCFF, 0xCCFFFF, 0xCCFFCC, 0xFFFF99, 0x99CCFF, 0xFF99CC, 0xCC99FF, 0xFFCC99,
    0x3366FF, 0x33CCCC, 0x99CC00, 0xFFCC00, 0xFF9900, 0xFF6600, 0x666699, 0x969696,
    0x003366, 0x339966, 0x003300, 0x333300, 0x993300, 0x993366, 0x333399, 0x333333};

const char* const kHorizontal[] = {"general", "left", "center", "right", "fill", "justify", "centerContinuous", "distributed"};
const char* const kVertical[] = {"top", "center", "bottom", "justify", "distributed"};
const char* const kEdges[] = {"left", "right", "top", "bottom", "diagonal", "diagonal"};

std::vector<pugi::xml_node> Items(const pugi::xml_node& list, std::string_view local) {
    std::vector<pugi::xml_node> out;
    for (pugi::xml_node n = list.first_child(); n; n = n.next_sibling())
        if (n.type() == pugi::node_element && LocalName(n) == local) out.push_back(n);
    return out;
}

// Finds `item` among the children of `list` or appends it, keeping the count attribute right.
std::uint32_t Intern(pugi::xml_node list, const pugi::xml_node& item, std::string_view local) {
    std::string wanted = SaveXmlNode(item);
    std::vector<pugi::xml_node> items = Items(list, local);
    for (std::size_t i = 0; i < items.size(); ++i)
        if (SaveXmlNode(items[i]) == wanted) return static_cast<std::uint32_t>(i);
    list.append_copy(item);
    if (pugi::xml_attribute count = list.attribute("count")) count.set_value(items.size() + 1);
    return static_cast<std::uint32_t>(items.size());
}


const std::vector<std::string_view> kFontOrder = {"b", "i", "strike", "condense", "extend", "outline", "shadow", "u", "vertAlign", "sz", "color", "name", "family", "charset", "scheme"};
const std::vector<std::string_view> kXfOrder = {"alignment", "protection", "extLst"};
const std::vector<std::string_view> kSheetOrder = {"numFmts", "fonts", "fills", "borders", "cellStyleXfs", "cellXfs", "cellStyles", "dxfs", "tableStyles", "colors", "extLst"};
const std::vector<std::string_view> kBorderOrder = {"start", "left", "end", "right", "top", "bottom", "diagonal", "vertical", "horizontal"};

int IndexOfColor(const pugi::xml_node& color) {
    if (!color) return 0;
    if (pugi::xml_attribute idx = color.attribute("indexed")) {
        int i = idx.as_int();
        return i >= 8 && i < 64 ? i - 7 : 0;
    }
    if (pugi::xml_attribute rgb = color.attribute("rgb")) {
        std::uint32_t v = static_cast<std::uint32_t>(std::strtoul(rgb.value(), nullptr, 16)) & 0xFFFFFF;
        for (int i = 0; i < 56; ++i)
            if (kPalette[i] == v) return i + 1;
    }
    return 0;
}

}  // namespace

std::uint32_t PaletteColor(int index) { return index >= 1 && index <= 56 ? kPalette[index - 1] : 0; }

Styles::Styles() : doc_(std::make_unique<pugi::xml_document>()) {}
Styles::~Styles() = default;

base::Status Styles::Load(std::string_view xml, std::string_view label) {
    if (xml.empty()) return ParseXml(*doc_, kDefaultStyles, "styles");
    return ParseXml(*doc_, xml, label);
}

const std::string& Styles::NumberFormatCode(std::uint32_t xf) const { return Format(xf).numberFormat; }

std::size_t Styles::Count() const {
    return Items(Child(doc_->document_element(), "cellXfs"), "xf").size();
}

const CellFormat& Styles::Format(std::uint32_t xfIndex) const {
    if (cache_.empty()) {
        std::size_t n = Count();
        cache_.reserve(n + 1);
        for (std::size_t i = 0; i <= n; ++i) cache_.push_back(Compute(static_cast<std::uint32_t>(i)));
    }
    return cache_[std::min<std::size_t>(xfIndex, cache_.size() - 1)];
}

CellFormat Styles::Compute(std::uint32_t xfIndex) const {
    CellFormat f;
    pugi::xml_node root = doc_->document_element();
    std::vector<pugi::xml_node> fonts = Items(Child(root, "fonts"), "font");
    auto applyFont = [&](const pugi::xml_node& font) {
        if (!font) return;
        pugi::xml_node b = Child(font, "b"), i = Child(font, "i");
        f.bold = b && Attr(b, "val").as_bool(true);
        f.italic = i && Attr(i, "val").as_bool(true);
        if (pugi::xml_node sz = Child(font, "sz")) f.fontSize = Attr(sz, "val").as_double(11);
        if (pugi::xml_node name = Child(font, "name")) f.fontName = Attr(name, "val").value();
    };
    if (!fonts.empty()) applyFont(fonts[0]);
    std::vector<pugi::xml_node> xfs = Items(Child(root, "cellXfs"), "xf");
    if (xfIndex >= xfs.size()) return f;
    pugi::xml_node xf = xfs[xfIndex];
    std::uint32_t fontId = xf.attribute("fontId").as_uint();
    if (fontId < fonts.size()) applyFont(fonts[fontId]);
    int numFmtId = xf.attribute("numFmtId").as_int();
    f.numberFormat = BuiltinFormatCode(numFmtId);
    for (pugi::xml_node nf : Items(Child(root, "numFmts"), "numFmt"))
        if (nf.attribute("numFmtId").as_int() == numFmtId) f.numberFormat = nf.attribute("formatCode").value();
    if (f.numberFormat.empty()) f.numberFormat = "General";
    if (pugi::xml_node al = Child(xf, "alignment")) {
        f.wrap = al.attribute("wrapText").as_bool();
        std::string_view h = al.attribute("horizontal").value();
        for (int i = 0; i < 8; ++i)
            if (h == kHorizontal[i]) f.horizontal = static_cast<HorizontalAlignment>(i);
        std::string_view v = al.attribute("vertical").value();
        for (int i = 0; i < 5; ++i)
            if (v == kVertical[i]) f.vertical = static_cast<VerticalAlignment>(i);
    }
    std::vector<pugi::xml_node> fills = Items(Child(root, "fills"), "fill");
    std::uint32_t fillId = xf.attribute("fillId").as_uint();
    if (fillId < fills.size()) {
        pugi::xml_node pf = Child(fills[fillId], "patternFill");
        if (std::string_view(pf.attribute("patternType").value()) == "solid")
            f.interiorColorIndex = IndexOfColor(Child(pf, "fgColor"));
    }
    return f;
}

double Styles::DefaultFontSize() const {
    pugi::xml_node font = Child(Child(doc_->document_element(), "fonts"), "font");
    double size = Attr(Child(font, "sz"), "val").as_double(0);
    return size > 0 ? size : CellFormat().fontSize;
}

std::string Styles::DefaultFontName() const {
    pugi::xml_node font = Child(Child(doc_->document_element(), "fonts"), "font");
    std::string name = Attr(Child(font, "name"), "val").value();
    return name.empty() ? CellFormat().fontName : name;
}

std::uint32_t Styles::Derive(std::uint32_t xfIndex, const StyleChange& change) {
    pugi::xml_node root = doc_->document_element();
    pugi::xml_node cellXfs = EnsureChild(root, "cellXfs", kSheetOrder);
    std::vector<pugi::xml_node> xfs = Items(cellXfs, "xf");
    pugi::xml_document scratch;
    pugi::xml_node xf = xfIndex < xfs.size() ? scratch.append_copy(xfs[xfIndex])
                                             : scratch.append_child(QualifiedLike(cellXfs, "xf").c_str());
    auto setAttr = [](pugi::xml_node n, const char* name, const std::string& v) {
        pugi::xml_attribute a = n.attribute(name);
        if (!a) a = n.append_attribute(name);
        a.set_value(v.c_str());
    };
    if (change.bold || change.italic) {
        pugi::xml_node fonts = EnsureChild(root, "fonts", kSheetOrder);
        std::vector<pugi::xml_node> list = Items(fonts, "font");
        pugi::xml_document fs;
        std::uint32_t fontId = xf.attribute("fontId").as_uint();
        pugi::xml_node font = fontId < list.size() ? fs.append_copy(list[fontId])
                                                   : fs.append_child(QualifiedLike(fonts, "font").c_str());
        auto flag = [&](std::string_view local, bool on) {
            pugi::xml_node n = Child(font, local);
            if (n) font.remove_child(n);
            if (on) EnsureChild(font, local, kFontOrder);
        };
        if (change.bold) flag("b", *change.bold);
        if (change.italic) flag("i", *change.italic);
        setAttr(xf, "fontId", std::to_string(Intern(fonts, font, "font")));
        setAttr(xf, "applyFont", "1");
    }
    if (change.interiorColorIndex) {
        pugi::xml_node fills = EnsureChild(root, "fills", kSheetOrder);
        pugi::xml_document fs;
        pugi::xml_node fill = fs.append_child(QualifiedLike(fills, "fill").c_str());
        pugi::xml_node pf = fill.append_child(QualifiedLike(fills, "patternFill").c_str());
        int ci = *change.interiorColorIndex;
        if (ci >= 1 && ci <= 56) {
            pf.append_attribute("patternType") = "solid";
            char rgb[16];
            std::snprintf(rgb, sizeof rgb, "FF%06X", kPalette[ci - 1]);
            pf.append_child(QualifiedLike(fills, "fgColor").c_str()).append_attribute("rgb") = rgb;
            pf.append_child(QualifiedLike(fills, "bgColor").c_str()).append_attribute("indexed") = 64;
        } else {
            pf.append_attribute("patternType") = "none";
        }
        setAttr(xf, "fillId", std::to_string(Intern(fills, fill, "fill")));
        setAttr(xf, "applyFill", "1");
    }
    if (change.border) {
        pugi::xml_node borders = EnsureChild(root, "borders", kSheetOrder);
        std::vector<pugi::xml_node> list = Items(borders, "border");
        pugi::xml_document bs;
        std::uint32_t borderId = xf.attribute("borderId").as_uint();
        pugi::xml_node border = borderId < list.size() ? bs.append_copy(list[borderId])
                                                       : bs.append_child(QualifiedLike(borders, "border").c_str());
        auto [edge, line] = *change.border;
        const char* edgeName = kEdges[static_cast<int>(edge)];
        pugi::xml_node e = EnsureChild(border, edgeName, kBorderOrder);
        e.remove_children();
        e.remove_attribute("style");
        if (!line.style.empty()) {
            e.append_attribute("style") = line.style.c_str();
            pugi::xml_node color = e.append_child(QualifiedLike(borders, "color").c_str());
            if (line.colorIndex >= 1 && line.colorIndex <= 56) color.append_attribute("indexed") = line.colorIndex + 7;
            else color.append_attribute("auto") = 1;
        }
        if (edge == BorderEdge::DiagonalDown) setAttr(border, "diagonalDown", line.style.empty() ? "0" : "1");
        if (edge == BorderEdge::DiagonalUp) setAttr(border, "diagonalUp", line.style.empty() ? "0" : "1");
        setAttr(xf, "borderId", std::to_string(Intern(borders, border, "border")));
        setAttr(xf, "applyBorder", "1");
    }
    if (change.wrap || change.horizontal || change.vertical) {
        pugi::xml_node al = EnsureChild(xf, "alignment", kXfOrder);
        if (change.wrap) {
            al.remove_attribute("wrapText");
            if (*change.wrap) al.append_attribute("wrapText") = 1;
        }
        if (change.horizontal) {
            al.remove_attribute("horizontal");
            if (*change.horizontal != HorizontalAlignment::General)
                al.append_attribute("horizontal") = kHorizontal[static_cast<int>(*change.horizontal)];
        }
        if (change.vertical) {
            al.remove_attribute("vertical");
            if (*change.vertical != VerticalAlignment::Bottom)
                al.append_attribute("vertical") = kVertical[static_cast<int>(*change.vertical)];
        }
        setAttr(xf, "applyAlignment", "1");
    }
    if (change.numberFormat) {
        int id = -1;
        for (int i = 0; i < 50 && id < 0; ++i)
            if (!BuiltinFormatCode(i).empty() && BuiltinFormatCode(i) == *change.numberFormat) id = i;
        pugi::xml_node numFmts = EnsureChild(root, "numFmts", kSheetOrder);
        int maxId = 163;
        for (pugi::xml_node nf : Items(numFmts, "numFmt")) {
            if (id < 0 && *change.numberFormat == nf.attribute("formatCode").value()) id = nf.attribute("numFmtId").as_int();
            maxId = std::max(maxId, nf.attribute("numFmtId").as_int());
        }
        if (id < 0) {
            id = maxId + 1;
            pugi::xml_node nf = numFmts.append_child(QualifiedLike(numFmts, "numFmt").c_str());
            nf.append_attribute("numFmtId") = id;
            nf.append_attribute("formatCode") = change.numberFormat->c_str();
        }
        numFmts.remove_attribute("count");
        numFmts.prepend_attribute("count") = Items(numFmts, "numFmt").size();
        if (Items(numFmts, "numFmt").empty()) root.remove_child(numFmts);
        setAttr(xf, "numFmtId", std::to_string(id));
        setAttr(xf, "applyNumberFormat", "1");
    }
    std::string key = SaveXmlNode(xf);
    if (xfIndex_.empty())
        for (std::size_t i = xfs.size(); i-- > 0;) xfIndex_[SaveXmlNode(xfs[i])] = static_cast<std::uint32_t>(i);
    auto it = xfIndex_.find(key);
    if (it != xfIndex_.end()) return it->second;
    cellXfs.append_copy(xf);
    cache_.clear();
    std::uint32_t id = static_cast<std::uint32_t>(xfs.size());
    if (pugi::xml_attribute count = cellXfs.attribute("count")) count.set_value(id + 1);
    xfIndex_[key] = id;
    changed_ = true;
    return id;
}

std::string Styles::Save() const { return SaveXml(*doc_); }

}  // namespace xl
