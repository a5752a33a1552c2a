#include "cad/geometry/TableStyle.h"

#include "cad/Database.h"
#include "cad/Dictionary.h"
#include "cad/geometry/Table.h"

namespace cad {

namespace {

// AutoCAD writes the cell sections as data, title, header, each opened by its text style (7).
int SectionOf(TableRowKind kind) {
    switch (kind) {
        case TableRowKind::Data: return 0;
        case TableRowKind::Title: return 1;
        case TableRowKind::Header: return 2;
    }
    return 0;
}

}  // namespace

TableStyle TableStyle::Current(Database& db) {
    Dictionary root = db.NamedObjects();
    if (!root) return {};
    Object stylesObject = root.Get("ACAD_TABLESTYLE");
    if (!stylesObject || stylesObject.Type() != "DICTIONARY") return {};
    Dictionary styles(&db, stylesObject.Index());
    std::string name = db.HeaderText("$CTABLESTYLE");
    if (Object vars = root.Get("AcDbVariableDictionary"); vars && vars.Type() == "DICTIONARY") {
        Object var = Dictionary(vars.GetDatabase(), vars.Index()).Get("CTABLESTYLE");
        if (var) name = var.GetText(1, name);
    }
    for (const std::string& wanted : {name, std::string("Standard")}) {
        if (wanted.empty()) continue;
        Object style = styles.Get(wanted);
        if (style && style.Type() == "TABLESTYLE") return TableStyle(style.GetDatabase(), style.Index());
    }
    for (const auto& entry : styles.Entries()) {
        Object style = db.ObjectByHandle(entry.second);
        if (style && style.Type() == "TABLESTYLE") return TableStyle(style.GetDatabase(), style.Index());
    }
    return {};
}

std::string TableStyle::SectionValue(TableRowKind kind, int code) const {
    const int wanted = SectionOf(kind);
    const std::size_t end = OwnDataEnd();
    int section = -1;
    for (std::size_t i = 1; i < end; ++i) {
        if (CodeAt(i) == 7) ++section;
        if (section > wanted) break;
        if (section == wanted && CodeAt(i) == code) return TextAt(i);
    }
    return {};
}

double TableStyle::TextHeight(TableRowKind kind) const {
    std::string text = SectionValue(kind, 140);
    return text.empty() ? 0 : Tag{140, text}.Real();
}

std::string TableStyle::TextStyleName(TableRowKind kind) const {
    std::string name = SectionValue(kind, 7);
    return name.empty() ? "Standard" : name;
}

int TableStyle::Alignment(TableRowKind kind) const {
    std::string text = SectionValue(kind, 170);
    return text.empty() ? 0 : static_cast<int>(Tag{170, text}.Int());
}

bool TableStyle::SuppressesTitle() const {
    // A 280 before the name (3) is the style's version; the flag follows the margins.
    std::size_t name = Find(3);
    std::size_t i = Find(280, name == std::string::npos ? 1 : name);
    return i != std::string::npos && IntAt(i) != 0;
}

bool TableStyle::SuppressesHeader() const {
    std::size_t i = Find(281);
    return i != std::string::npos && IntAt(i) != 0;
}

}  // namespace cad
