#include "cad/geometry/TableStyle.h"

#include "cad/Database.h"
#include "cad/Dictionary.h"
#include "cad/SymbolRecord.h"
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

base::Result<TableStyle> TableStyle::AddStandard(Database& db) {
    if (db.Release() < 1021)
        return base::Status::Error(db.FileName() + " is a drawing of version " + db.Version() +
                                   "; table styles are made in drawings of AutoCAD 2007 (AC1021) or later");
    Dictionary root = db.NamedObjects();
    if (!root) return base::Status::Error(db.FileName() + " has no named object dictionary");
    auto styles = root.GetOrAddDictionary("ACAD_TABLESTYLE");
    if (!styles) return styles.GetStatus();
    if (Object existing = styles->Get("Standard"); existing && existing.Type() == "TABLESTYLE")
        return TableStyle(&db, existing.Index());
    // AutoCAD's new drawings: text 0.18 (4.5 metric) in data and header rows, 0.25 (6) in the
    // title, margins 0.06 (1.5); data top centre, title and header middle centre.
    const bool metric = db.HeaderInt("$MEASUREMENT", 0) == 1;
    const double margin = metric ? 1.5 : 0.06;
    const double text = metric ? 4.5 : 0.18, title = metric ? 6.0 : 0.25;
    std::string textStyle = "Standard";
    if (!db.FindRecord("STYLE", textStyle)) {
        std::vector<SymbolRecord> all = db.TableRecords("STYLE");
        if (!all.empty()) textStyle = all.front().Name();
    }
    const Handle owner = styles->GetHandle();
    TagList tags = {{0, "TABLESTYLE"}, {5, HandleText(db.NextHandle())}, {102, "{ACAD_REACTORS"},
                    {330, HandleText(owner)}, {102, "}"}, {330, HandleText(owner)}, {100, "AcDbTableStyle"},
                    {3, "Standard"}, IntTag(70, 0), IntTag(71, 0), RealTag(40, margin), RealTag(41, margin),
                    IntTag(280, 0), IntTag(281, 0)};
    for (auto [height, alignment] : {std::pair{text, 2}, std::pair{title, 5}, std::pair{text, 5}}) {
        TagList section = {{7, textStyle}, RealTag(140, height), IntTag(170, alignment), IntTag(62, 0),
                           IntTag(63, 257), IntTag(283, 0), IntTag(90, 4), IntTag(91, 0), {1, ""}};
        for (int edge = 0; edge < 6; ++edge) {
            section.push_back(IntTag(274 + edge, -2));
            section.push_back(IntTag(284 + edge, 1));
            section.push_back(IntTag(64 + edge, 0));
        }
        tags.insert(tags.end(), section.begin(), section.end());
    }
    std::uint32_t section = db.EnsureSection(SectionKind::Objects);
    std::uint32_t end = db.SectionEnd(section);
    TableStyle style(&db, db.NewRecord(tags, db.records_[end].prev, SectionKind::Objects, section));
    styles->SetAt("Standard", style);
    return style;
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
