#include "xl/Worksheet.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <future>
#include <limits>
#include <optional>
#include <system_error>
#include <unordered_map>

#include "base/Text.h"
#include "xl/Comments.h"
#include "xl/FormulaRefs.h"
#include "xl/NumberFormat.h"
#include "xl/SharedStrings.h"
#include "xl/Workbook.h"
#include "xl/Xml.h"
#include "xl/XmlScanner.h"

namespace xl {
namespace {

const char kSheetDataMarker[] = "@@velmar-rows-placeholder@@";
const char kRelNs[] = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

// Element order of a worksheet, so that new elements land where readers expect them.
const std::vector<std::string_view> kSheetOrder = {
    "sheetPr", "dimension", "sheetViews", "sheetFormatPr", "cols", "sheetData", "sheetCalcPr",
    "sheetProtection", "protectedRanges", "scenarios", "autoFilter", "sortState",
    "dataConsolidate", "customSheetViews", "mergeCells", "phoneticPr", "conditionalFormatting",
    "dataValidations", "hyperlinks", "printOptions", "pageMargins", "pageSetup", "headerFooter",
    "rowBreaks", "colBreaks", "customProperties", "cellWatches", "ignoredErrors", "smartTags",
    "drawing", "legacyDrawing", "legacyDrawingHF", "drawingHF", "picture", "oleObjects",
    "controls", "webPublishItems", "tableParts", "extLst"};

pugi::xml_node EnsureChild(pugi::xml_node parent, std::string_view local) {
    return xl::EnsureChild(parent, local, kSheetOrder);
}

void SetAttr(pugi::xml_node n, const char* name, const std::string& value) {
    pugi::xml_attribute a = n.attribute(name);
    if (!a) a = n.append_attribute(name);
    a.set_value(value.c_str());
}

std::string FormatDouble(double v) {
    char buf[32];
    auto res = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, res.ptr);
}

// Days since 1899-12-30 of an ISO date ("2016-01-31T10:00:00"), as strict files write dates.
double IsoToSerial(std::string_view iso) {
    int y = 0, m = 0, d = 0, hh = 0, mm = 0;
    double ss = 0;
    std::sscanf(std::string(iso).c_str(), "%d-%d-%dT%d:%d:%lf", &y, &m, &d, &hh, &mm, &ss);
    // Days from civil (proleptic Gregorian).
    y -= m <= 2;
    long era = (y >= 0 ? y : y - 399) / 400;
    long yoe = y - era * 400;
    long doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    long days = era * 146097 + doe - 719468;  // since 1970-01-01
    double serial = days + 25569.0;
    if (serial < 61) serial -= 1;  // before the 1900 leap-year bug day
    return serial + (hh * 3600 + mm * 60 + ss) / 86400.0;
}

// The value of attribute `name` inside raw attribute text (` t="shared" si="0"`); "" if absent.
std::string RawAttr(std::string_view attrs, std::string_view name) {
    std::string key = " " + std::string(name) + "=\"";
    std::size_t at = attrs.find(key);
    if (at == std::string_view::npos) return {};
    std::size_t start = at + key.size();
    std::size_t end = attrs.find('"', start);
    return std::string(attrs.substr(start, end - start));
}

std::string SetRawAttr(std::string attrs, std::string_view name, std::string_view value) {
    std::string key = " " + std::string(name) + "=\"";
    std::size_t at = attrs.find(key);
    if (at == std::string::npos) return attrs;
    std::size_t start = at + key.size();
    std::size_t end = attrs.find('"', start);
    attrs.replace(start, end - start, value);
    return attrs;
}

bool IsXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

}  // namespace

struct Worksheet::Cell {
    // What few cells have lives apart, so that a plain cell stays small.
    struct Extra {
        std::string formula;   // the formula text, unescaped
        std::string fAttrs;    // attributes of <f>, as XML
        std::string inlineXml; // an <is> element, as XML
        std::string attrs;     // other attributes of <c> (cm, vm, ph), as XML
        std::string tail;      // other children (extLst), as XML
        std::string type;      // a t attribute no reader knows, as written
    };
    // The t attribute: n (or none), s, str, inlineStr, b, e, d, or another kept in Extra.
    enum class Kind : std::uint8_t { Number, Shared, Str, Inline, Boolean, Error, Date, Other };
    int column = 0;
    std::uint32_t style = 0;
    Kind kind = Kind::Number;
    bool hasStyle = false;
    bool hasFormula = false;
    std::string value;     // the <v> text as written (a shared string's index)
    std::unique_ptr<Extra> extra;

    void SetType(std::string_view t) {
        kind = t.empty() || t == "n" ? Kind::Number : t == "s" ? Kind::Shared : t == "str" ? Kind::Str
               : t == "inlineStr" ? Kind::Inline : t == "b" ? Kind::Boolean : t == "e" ? Kind::Error
               : t == "d" ? Kind::Date : Kind::Other;
        if (kind == Kind::Other) X().type.assign(t);
    }
    // The t attribute to write; "" for numbers.
    std::string_view Type() const {
        switch (kind) {
        case Kind::Number: return {};
        case Kind::Shared: return "s";
        case Kind::Str: return "str";
        case Kind::Inline: return "inlineStr";
        case Kind::Boolean: return "b";
        case Kind::Error: return "e";
        case Kind::Date: return "d";
        case Kind::Other: return X().type;
        }
        return {};
    }

    // Neither value nor formula: only a style, if anything.
    bool IsBlank() const { return value.empty() && !hasFormula && X().inlineXml.empty(); }
    bool SameContent(const Cell& o) const {
        return kind == o.kind && value == o.value && hasFormula == o.hasFormula &&
               X().formula == o.X().formula && X().inlineXml == o.X().inlineXml;
    }

    Extra& X() {
        if (!extra) extra = std::make_unique<Extra>();
        return *extra;
    }
    const Extra& X() const {
        static const Extra none;
        return extra ? *extra : none;
    }
};

struct Worksheet::Row {
    std::vector<Cell> cells;  // by column
    std::vector<std::pair<std::string, std::string>> attrs;  // without r and spans

    const char* Get(std::string_view name) const {
        for (auto& [k, v] : attrs)
            if (k == name) return v.c_str();
        return nullptr;
    }
    void Set(std::string_view name, std::string value) {
        for (auto& [k, v] : attrs)
            if (k == name) {
                v = std::move(value);
                return;
            }
        attrs.emplace_back(std::string(name), std::move(value));
    }
    void Erase(std::string_view name) {
        std::erase_if(attrs, [&](auto& kv) { return kv.first == name; });
    }
};

struct Worksheet::Data {
    pugi::xml_document doc;
    std::map<int, Row> rows;
    bool notesLoaded = false;
    base::Status notesStatus;       // why the notes could not be read, once notesLoaded
    std::vector<StoredNote> notes;  // sorted by row, column
    // Their texts, and texts they had before; shared with the readers of SharedNoteText.
    std::shared_ptr<base::TextBlocks> noteTexts = std::make_shared<base::TextBlocks>(kNoteTextBlock);
    Note noteAt;                    // what NoteAt() last gave
    std::size_t noteHint = std::size_t(-1);  // where FindNote() last found one
    std::string xml;                   // the sheet part, parsed in place
    std::vector<std::string> authors;  // of the comments part as read
    std::string commentsRoot;          // its root's namespace declarations
    std::string commentsPart;
    std::string vmlPart;
    // Formulas that other cells depend on, found at the first write or formula read after a
    // load or a shift, and kept up to date by the writes.
    std::vector<ArrayFormula> arrays;  // array formulas and data tables
    std::unordered_map<std::string, std::pair<int, int>> sharedMasters;  // si -> row, column
    bool formulasKnown = false;
    std::optional<CellRange> used;  // the used range, until a cell or merge changes
    // The row last looked for: cells are read and written along rows, so most lookups need no
    // search of the map. Map nodes never move; the map is replaced only by a load or a shift.
    int lastRowNo = 0;
    Row* lastRow = nullptr;
    // The sheet's <cols>, once looked for: every new cell asks it for a column style. It is
    // added by SetColumnWidth and never removed; only a load replaces the tree.
    pugi::xml_node cols;
    bool colsKnown = false;
};

Worksheet::Worksheet(Workbook& book, std::string name, std::string part, SheetKind kind)
    : book_(book), name_(std::move(name)), part_(std::move(part)), kind_(kind),
      data_(std::make_unique<Data>()) {}

Worksheet::~Worksheet() = default;

pugi::xml_node Worksheet::Root() { return data_->doc.document_element(); }

pugi::xml_node Worksheet::Cols() {
    if (!data_->colsKnown) {
        data_->cols = Child(Root(), "cols");
        data_->colsKnown = true;
    }
    return data_->cols;
}

void Worksheet::Touch() { changed_ = true; }

void Worksheet::TouchCells() {
    Touch();
    data_->used.reset();
}

base::Status Worksheet::SetState(SheetState state) {
    if (state != SheetState::Visible) {
        int visible = 0;
        for (int i = 0; i < book_.SheetCount(); ++i)
            if (book_.Sheet(i) != this && book_.Sheet(i)->State() == SheetState::Visible) ++visible;
        if (visible == 0) return base::Status::Error("A workbook must keep at least one visible sheet.");
    }
    state_ = state;
    pugi::xml_node node = book_.SheetNode(*this);
    node.remove_attribute("state");
    if (state == SheetState::Hidden) node.append_attribute("state") = "hidden";
    if (state == SheetState::VeryHidden) node.append_attribute("state") = "veryHidden";
    book_.TouchWorkbook();
    return base::Status::Ok();
}

bool Worksheet::Unload() {
    if (IsChanged() || notesChanged_) return false;
    data_ = std::make_unique<Data>();
    loaded_ = false;
    loadStatus_ = base::Status::Ok();
    return true;
}

void Worksheet::KeepOnlyWritten() {
    changed_ = false;
    tabSelectedAsRead_ = tabSelected_;
    Unload();
}

base::Status Worksheet::Load() {
    if (loaded_) return loadStatus_;
    loaded_ = true;
    auto fail = [&](base::Status st) {
        loadStatus_ = std::move(st);
        data_->rows.clear();
        data_->lastRow = nullptr;
        data_->doc.reset();
        data_->doc.append_child("worksheet");
        data_->colsKnown = false;
        return loadStatus_;
    };
    if (kind_ != SheetKind::Worksheet && kind_ != SheetKind::Macrosheet && kind_ != SheetKind::Dialogsheet)
        return fail(base::Status::Error(book_.GetPackage().Label() + ": " + name_ + " is a chart sheet, it has no cells"));
    if (part_.empty())
        return fail(base::Status::Error(
            book_.GetPackage().Label() + ": " + book_.workbookPart_ + " names sheet \"" + name_ +
            "\" by relationship \"" + relId_ + "\", which " +
            Package::RelsPartName(book_.workbookPart_) + " does not have"));
    auto reader = book_.GetPackage().OpenPart(part_);
    if (!reader) return fail(base::Status::Error(reader.GetStatus().Message() + " (sheet \"" + name_ + "\")"));
    std::string label = book_.GetPackage().Label() + ": " + part_;
    auto damaged = [&] { return fail(base::Status::Error(reader->GetStatus().Message() + " (sheet \"" + name_ + "\")")); };
    // Damaged data shows as malformed XML too; the damage is what is reported.
    auto failRead = [&](base::Status st) { return reader->CheckRest() ? fail(std::move(st)) : damaged(); };
    // The rows are read straight from the text as it is inflated, in one pass; only what
    // surrounds them (views, columns, merges...) is kept, to become a tree, so a big sheet never
    // exists whole.
    {
        XmlScanner x([&](std::string& out) { return reader->Next(out); });
        std::size_t tailFrom = 0;  // where the text kept after the rows starts
        data_->xml.clear();
        x.Hold(0);
        XmlScanner::Token t = x.Next();
        for (; t != XmlScanner::Token::End && t != XmlScanner::Token::Error; t = x.Next()) {
            if (t == XmlScanner::Token::StartElement && x.Depth() == 1 && x.LocalName() == "sheetData" &&
                tailFrom == 0) {
                data_->xml.assign(x.Span(0, x.TokenEnd()));
                x.Release();
                if (base::Status st = ReadRows(x, label); !st) return failRead(st);
                tailFrom = x.TokenBegin();
                x.Hold(tailFrom);
            }
        }
        if (t == XmlScanner::Token::Error) return failRead(base::Status::Error(label + ": " + x.Error()));
        if (!reader->GetStatus()) return damaged();
        data_->xml.append(x.Span(tailFrom, x.TokenEnd()));
    }
    if (base::Status st = ParseXmlInPlace(data_->doc, data_->xml, label); !st) return fail(st);
    data_->colsKnown = false;
    std::string_view root = LocalName(Root());
    if (root != "worksheet" && root != "macrosheet" && root != "dialogsheet")
        return fail(base::Status::Error(label + ": the part holds <" + std::string(Root().name()) +
                                        ">, not a worksheet"));
    // The sheet's notes, links and drawings hang on its relationships; a save must not replace
    // damaged ones with the few it adds.
    if (std::string relsError = book_.GetPackage().RelsError(part_); !relsError.empty())
        return fail(base::Status::Error(relsError));
    pugi::xml_node sheetData = Child(Root(), "sheetData");
    while (sheetData.first_child()) sheetData.remove_child(sheetData.first_child());
    if (!sheetData) sheetData = EnsureChild(Root(), "sheetData");
    loadStatus_ = base::Status::Ok();
    return loadStatus_;
}

base::Status Worksheet::ReadRows(XmlScanner& x, const std::string& label) {
    using Token = XmlScanner::Token;
    int lastRow = 0, lastCol = 0;
    Row* row = nullptr;        // the row being read
    std::vector<Cell> cells;   // the cells of the current row, moved into it at its end
    Cell cell;
    bool inCell = false;
    // Inside a cell: the child being read, where its text goes, and where raw children start.
    std::string* capture = nullptr;
    std::size_t captureDepth = 0;
    std::size_t childBegin = 0;
    enum class CellChild { None, Value, Formula, Inline, Other } child = CellChild::None;
    bool inRun = false;
    bool plainInline = false;  // an <is> with one plain <t>, written again from the value alone
    bool sawT = false;
    std::string_view name;
    std::string value;
    // A reference that can't be read is an error: read by its prefix or skipped, a cell would
    // land elsewhere or vanish, and an import would blank what it held.
    auto badRef = [&](std::string_view what) {
        return base::Status::Error(label + ", row " + std::to_string(lastRow) + ": " +
                                   std::string(what));
    };
    // Values are checked as each cell is read, so nothing later sees one that can't be read:
    // a number read by its prefix or a string index outside the table would give a wrong value
    // or an empty one. The string table is read at the first cell that needs it.
    const SharedStrings* strings = nullptr;
    auto checkValue = [&](const Cell& c) -> base::Status {
        auto where = [&] { return label + ", cell " + CellName(lastRow, c.column); };
        // The readers below skip white space around the digits, as pretty-printed files have it.
        std::string_view v = c.value;
        while (!v.empty() && IsXmlSpace(v.front())) v.remove_prefix(1);
        while (!v.empty() && IsXmlSpace(v.back())) v.remove_suffix(1);
        if (c.kind == Cell::Kind::Number) {
            if (v.size() > 1 && v.front() == '+') v.remove_prefix(1);
            double number = 0;
            auto [end, ec] = std::from_chars(v.data(), v.data() + v.size(), number);
            if (end != v.data() + v.size() ||
                (ec != std::errc() && ec != std::errc::result_out_of_range) || v.empty())
                return base::Status::Error(where() + ": the number \"" + c.value +
                                           "\" can't be read");
            return base::Status::Ok();
        }
        if (c.kind == Cell::Kind::Boolean) {
            if (v == "0" || v == "1" || base::EqualNoCase(v, "true") ||
                base::EqualNoCase(v, "false"))
                return base::Status::Ok();
            return base::Status::Error(where() + ": the boolean \"" + c.value +
                                       "\" is neither 0 nor 1");
        }
        if (!strings) {
            if (base::Status st = book_.LoadStrings(); !st)
                return base::Status::Error(st.Message() + " (read for " + part_ + ", cell " +
                                           CellName(lastRow, c.column) + ")");
            if (!book_.HasStringsPart())
                return base::Status::Error(
                    where() + ": shared string " + c.value +
                    " does not exist (the workbook has no shared-string table)");
            strings = &book_.Strings();
        }
        std::uint64_t index = 0;
        auto [end, ec] = std::from_chars(v.data(), v.data() + v.size(), index);
        if (ec != std::errc() || end != v.data() + v.size() || v.empty())
            return base::Status::Error(where() + ": the shared-string index \"" + c.value +
                                       "\" is not a number");
        if (index >= strings->Size())
            return base::Status::Error(where() + ": shared string " + c.value +
                                       " does not exist (the table has " +
                                       std::to_string(strings->Size()) + ")");
        return base::Status::Ok();
    };
    while (true) {
        Token t = x.Next();
        if (t == Token::Error) return base::Status::Error(label + ": " + x.Error());
        if (t == Token::End) return base::Status::Ok();
        std::size_t depth = x.Depth();
        if (t == Token::Text) {
            if (capture && depth == captureDepth + 1) x.AppendText(*capture);
            continue;
        }
        if (t == Token::EndElement) {
            if (depth == 1) return base::Status::Ok();  // </sheetData>
            if (depth == 2) {
                if (row) {
                    if (row->cells.empty()) row->cells.reserve(cells.size());
                    for (Cell& c : cells) {
                        // Rows out of order or repeated: keep the cells sorted. A cell given
                        // twice keeps the one that holds something (a .NET generator writes an
                        // empty cell before the real one); two that hold different things are
                        // an error, as either would silently hide the other.
                        if (row->cells.empty() || row->cells.back().column < c.column) {
                            row->cells.push_back(std::move(c));
                            continue;
                        }
                        auto it = std::lower_bound(row->cells.begin(), row->cells.end(), c.column,
                                                   [](const Cell& a, int col) { return a.column < col; });
                        if (it == row->cells.end() || it->column != c.column) {
                            row->cells.insert(it, std::move(c));
                        } else if (it->IsBlank() || it->SameContent(c)) {
                            *it = std::move(c);
                        } else if (!c.IsBlank()) {
                            return base::Status::Error(label + ", cell " + CellName(lastRow, c.column) +
                                                       ": the cell is given twice with different contents");
                        }
                    }
                }
                cells.clear();
                row = nullptr;
            } else if (depth == 3 && inCell) {
                inCell = false;
                if (!cell.value.empty() &&
                    (cell.kind == Cell::Kind::Number || cell.kind == Cell::Kind::Boolean ||
                     cell.kind == Cell::Kind::Shared))
                    if (base::Status st = checkValue(cell); !st) return st;
                cells.push_back(std::move(cell));
            } else if (depth == 4 && inCell) {
                std::string_view raw = x.Span(childBegin, x.TokenEnd());
                if (child == CellChild::Inline) {
                    if (!plainInline) cell.X().inlineXml.assign(raw);
                    if (cell.value.find("_x") != std::string::npos) cell.value = UnescapeOoxml(cell.value);
                } else if (child == CellChild::Other) {
                    cell.X().tail.append(raw);
                }
                x.Release();
                child = CellChild::None;
                capture = nullptr;
            } else if (depth == 5 && child == CellChild::Inline) {
                inRun = false;
                capture = nullptr;
            } else if (depth == 6 && child == CellChild::Inline) {
                capture = nullptr;
            }
            continue;
        }
        // An element starts.
        std::string_view local = x.LocalName();
        if (depth == 2) {
            if (local != "row") continue;
            // Rows and cells without r follow the previous ones, as some generators write them.
            int rowNo = lastRow + 1;
            if (x.Attribute("r", value) && !ParseRowNumber(value, rowNo))
                return badRef("the row number \"" + value + "\" is not one from 1 to " +
                              std::to_string(kMaxRow));
            if (rowNo > kMaxRow)
                return badRef("the next row would be beyond the last row of a sheet");
            lastRow = rowNo;
            row = &data_->rows[rowNo];
            lastCol = row->cells.empty() ? 0 : row->cells.back().column;
            for (std::size_t pos = 0; x.NextAttribute(pos, name, value);)
                if (name != "r" && name != "spans") row->Set(name, value);
        } else if (depth == 3) {
            if (!row || local != "c") continue;
            cell = Cell();
            cell.column = lastCol + 1;
            for (std::size_t pos = 0; x.NextAttribute(pos, name, value);) {
                if (name == "r") {
                    int rr = 0;
                    if (!ParseCellName(value, rr, cell.column))
                        return badRef("the cell reference \"" + value +
                                      "\" is not a cell of the sheet");
                    if (rr != lastRow)
                        return badRef("the cell reference \"" + value + "\" names another row");
                    if (value[0] >= 'a' && value[0] <= 'z' && repairs_.empty())
                        repairs_.push_back(label + ": cell references in lower case (\"" + value +
                                           "\") are read as the cells they name, as spreadsheet "
                                           "programs read them");
                } else if (name == "s") {
                    cell.style = static_cast<std::uint32_t>(std::strtoul(value.c_str(), nullptr, 10));
                    cell.hasStyle = true;
                } else if (name == "t") {
                    cell.SetType(value);
                } else {
                    std::string& attrs = cell.X().attrs;
                    attrs += ' ';
                    attrs += name;
                    attrs += "=\"";
                    AppendEscaped(attrs, value, true);
                    attrs += '"';
                }
            }
            if (cell.column > kMaxColumn)
                return badRef("the next cell would be beyond the last column of a sheet");
            lastCol = cell.column;
            inCell = true;
        } else if (depth == 4 && inCell) {
            childBegin = x.TokenBegin();
            x.Hold(childBegin);
            if (local == "v") {
                child = CellChild::Value;
                cell.value.clear();
                capture = &cell.value;
                captureDepth = 4;
            } else if (local == "f") {
                child = CellChild::Formula;
                cell.hasFormula = true;
                Cell::Extra& e = cell.X();
                e.formula.clear();
                for (std::size_t pos = 0; x.NextAttribute(pos, name, value);) {
                    e.fAttrs += ' ';
                    e.fAttrs += name;
                    e.fAttrs += "=\"";
                    AppendEscaped(e.fAttrs, value, true);
                    e.fAttrs += '"';
                }
                capture = &e.formula;
                captureDepth = 4;
            } else if (local == "is") {
                child = CellChild::Inline;
                cell.value.clear();
                plainInline = x.RawAttributes().find_first_not_of(" \t\r\n") == std::string_view::npos;
                sawT = false;
            } else {
                child = CellChild::Other;
            }
        } else if (child == CellChild::Inline && depth == 5) {
            if (local == "t") {
                std::size_t pos = 0;
                bool onlySpace = !x.NextAttribute(pos, name, value) || (name == "xml:space" && !x.NextAttribute(pos, name, value));
                plainInline = plainInline && !sawT && onlySpace;
                sawT = true;
                capture = &cell.value;
                captureDepth = 5;
            } else {
                plainInline = false;
                inRun = inRun || local == "r";
            }
        } else if (child == CellChild::Inline && depth >= 6) {
            plainInline = false;
            if (depth == 6 && inRun && local == "t") {
                capture = &cell.value;
                captureDepth = 6;
            }
        }
    }
}

Worksheet::Row* Worksheet::FindRow(int row) {
    if (data_->lastRow && data_->lastRowNo == row) return data_->lastRow;
    // A row past the last, as when rows are written in order, needs no search.
    if (data_->rows.empty() || data_->rows.rbegin()->first < row) return nullptr;
    auto r = data_->rows.find(row);
    if (r == data_->rows.end()) return nullptr;
    data_->lastRowNo = row;
    data_->lastRow = &r->second;
    return data_->lastRow;
}

Worksheet::Cell* Worksheet::FindCell(int row, int column) {
    if (!Load()) return nullptr;
    Row* r = FindRow(row);
    if (!r) return nullptr;
    auto& cells = r->cells;
    auto it = std::lower_bound(cells.begin(), cells.end(), column,
                               [](const Cell& a, int col) { return a.column < col; });
    return it != cells.end() && it->column == column ? &*it : nullptr;
}

Worksheet::Row& Worksheet::MakeRow(int row) {
    if (Row* found = FindRow(row)) return *found;
    // Rows are mostly made in order: a row past the last is placed without a search.
    auto& rows = data_->rows;
    auto at = rows.empty() || rows.rbegin()->first < row ? rows.try_emplace(rows.end(), row)
                                                          : rows.try_emplace(row).first;
    if (at != rows.begin() && std::next(at) == rows.end()) {
        // Rows written in order: the one before is complete, so it gives back its spare room.
        std::vector<Cell>& before = std::prev(at)->second.cells;
        if (before.capacity() > before.size()) before.shrink_to_fit();
    }
    data_->lastRowNo = row;
    data_->lastRow = &at->second;
    return at->second;
}

Worksheet::Cell Worksheet::NewCell(const Row& row, int column) {
    Cell cell;
    cell.column = column;
    if (const char* s = row.Get("s"); s && row.Get("customFormat")) {
        cell.style = static_cast<std::uint32_t>(std::atoi(s));
        cell.hasStyle = true;
    } else {
        for (pugi::xml_node c = Child(Cols(), "col"); c; c = c.next_sibling())
            if (Attr(c, "min").as_int() <= column && column <= Attr(c, "max").as_int() && Attr(c, "style")) {
                cell.style = Attr(c, "style").as_uint();
                cell.hasStyle = true;
            }
    }
    return cell;
}

Worksheet::Cell& Worksheet::MakeCell(int row, int column) {
    (void)Load();
    TouchCells();
    Row& r = MakeRow(row);
    auto it = std::lower_bound(r.cells.begin(), r.cells.end(), column,
                               [](const Cell& a, int col) { return a.column < col; });
    if (it != r.cells.end() && it->column == column) return *it;
    return *r.cells.insert(it, NewCell(r, column));
}

CellValue Worksheet::ValueOf(const Cell& c) const {
    CellValue v;
    v.formula = c.X().formula;
    if (c.kind == Cell::Kind::Shared) {
        v.type = CellType::String;
        char* end = nullptr;
        unsigned long idx = std::strtoul(c.value.c_str(), &end, 10);
        v.text = c.value.empty() ? "" : book_.strings_ ? book_.strings_->Text(idx) : "";
    } else if (c.kind == Cell::Kind::Str || c.kind == Cell::Kind::Inline) {
        v.type = CellType::String;
        v.text = c.kind == Cell::Kind::Str ? UnescapeOoxml(c.value) : c.value;
    } else if (c.kind == Cell::Kind::Boolean) {
        v.type = CellType::Boolean;
        v.number = c.value == "1" || base::EqualNoCase(c.value, "true") ? 1 : 0;
    } else if (c.kind == Cell::Kind::Error) {
        v.type = CellType::Error;
        v.text = c.value;
    } else if (c.kind == Cell::Kind::Date) {
        v.type = CellType::Number;
        v.number = IsoToSerial(c.value);
    } else if (!c.value.empty()) {
        v.type = CellType::Number;
        v.number = std::strtod(c.value.c_str(), nullptr);
    }
    return v;
}

CellValue Worksheet::Value(int row, int column) {
    if (Cell* c = FindCell(row, column)) {
        if (c->kind == Cell::Kind::Shared) book_.Strings();
        CellValue v = ValueOf(*c);
        if (v.formula.empty() && c->hasFormula) v.formula = FormulaOf(row, *c);
        return v;
    }
    return {};
}

std::string Worksheet::TextOf(const Cell& c) const {
    // Strings, the commonest cells, are formatted straight from the text they keep (inline
    // strings are unescaped as they are read).
    if (c.kind == Cell::Kind::Shared && !c.value.empty() && book_.strings_)
        return FormatText(book_.strings_->Text(std::strtoul(c.value.c_str(), nullptr, 10)),
                          book_.styles_->NumberFormatCode(c.style));
    if (c.kind == Cell::Kind::Inline) return FormatText(c.value, book_.styles_->NumberFormatCode(c.style));
    CellValue v = ValueOf(c);
    switch (v.type) {
    case CellType::Empty: return {};
    case CellType::Boolean: return v.number != 0 ? "TRUE" : "FALSE";
    case CellType::Error: return v.text;
    case CellType::String: return FormatText(v.text, book_.styles_->NumberFormatCode(c.style));
    case CellType::Number: return FormatNumber(v.number, book_.styles_->NumberFormatCode(c.style), book_.Date1904());
    }
    return {};
}

std::string Worksheet::Text(int row, int column) {
    Cell* c = FindCell(row, column);
    if (!c) return {};
    book_.Strings();
    book_.GetStyles();
    return TextOf(*c);
}

base::Status Worksheet::SetString(int row, int column, std::string_view text) {
    const CellWrite value = CellWrite::String(text);
    return SetRow(row, column, {&value, 1});
}

base::Status Worksheet::SetNumber(int row, int column, double value) {
    const CellWrite number = CellWrite::Number(value);
    return SetRow(row, column, {&number, 1});
}

base::Status Worksheet::SetFormula(int row, int column, std::string_view formula) {
    if (base::Status st = PrepareWrite({row, column, row, column}); !st) return st;
    Cell& c = MakeCell(row, column);
    c.kind = Cell::Kind::Number;
    c.value.clear();
    c.extra.reset();
    c.X().formula = std::string(formula);
    c.hasFormula = true;
    book_.SetRecalculateOnOpen(true);
    return base::Status::Ok();
}

base::Status Worksheet::ClearValue(int row, int column) {
    const CellWrite nothing;
    return SetRow(row, column, {&nothing, 1});
}

base::Status Worksheet::SetRow(int row, int firstColumn, std::span<const CellWrite> values) {
    if (values.empty()) return base::Status::Ok();
    const int lastColumn = firstColumn + static_cast<int>(values.size()) - 1;
    const auto kept = static_cast<std::size_t>(
        std::count_if(values.begin(), values.end(), [](const CellWrite& v) { return v.HasValue(); }));
    // A table that can't be read takes no new strings: a save would write it over the old one.
    const bool strings = std::any_of(values.begin(), values.end(), [](const CellWrite& v) {
        return v.kind == CellWrite::Kind::String && v.HasValue();
    });
    if (strings)
        if (base::Status st = book_.LoadStrings(); !st) return st;
    if (base::Status st = PrepareWrite({row, firstColumn, row, lastColumn}); !st) return st;
    Row* r = FindRow(row);
    if (!r) {
        if (kept == 0) return base::Status::Ok();  // nothing to empty, nothing to make
        r = &MakeRow(row);
    }
    std::vector<Cell>& cells = r->cells;
    auto first = std::lower_bound(cells.begin(), cells.end(), firstColumn,
                                  [](const Cell& a, int col) { return a.column < col; });
    std::size_t at = static_cast<std::size_t>(first - cells.begin());
    if (at == cells.size()) cells.reserve(cells.size() + kept);  // cells added after the row's last
    // Cells before `at` lie left of the column written; the row's cells stay in column order.
    bool changed = false;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const int column = firstColumn + static_cast<int>(i);
        const CellWrite& v = values[i];
        const bool found = at < cells.size() && cells[at].column == column;
        if (!v.HasValue()) {
            if (!found) continue;
            Cell cleared;
            cleared.column = column;
            cleared.style = cells[at].style;
            cleared.hasStyle = cells[at].hasStyle;
            cells[at++] = std::move(cleared);
            changed = true;
            continue;
        }
        if (!found)
            cells.insert(cells.begin() + static_cast<std::ptrdiff_t>(at), NewCell(*r, column));
        Cell& c = cells[at++];
        if (v.kind == CellWrite::Kind::Number) {
            c.kind = Cell::Kind::Number;
            c.value = std::isfinite(v.number) ? FormatDouble(v.number) : "0";
        } else {
            c.kind = Cell::Kind::Shared;
            c.value = std::to_string(book_.Strings().Add(v.text));
        }
        c.hasFormula = false;
        c.extra.reset();
        changed = true;
    }
    if (changed) TouchCells();
    return base::Status::Ok();
}

namespace {

bool Covers(const CellRange& outer, const CellRange& inner) {
    return outer.Contains(inner.firstRow, inner.firstColumn) &&
           outer.Contains(inner.lastRow, inner.lastColumn);
}

bool IsSharedFormula(const std::string& fAttrs) { return RawAttr(fAttrs, "t") == "shared"; }

// The cell that holds a shared formula's text and the range of cells sharing it; the others
// have neither (some generators repeat the text in every cell, which changes nothing).
bool IsSharedMaster(const std::string& formula, const std::string& fAttrs) {
    return !formula.empty() && IsSharedFormula(fAttrs) && !RawAttr(fAttrs, "ref").empty();
}

}  // namespace

void Worksheet::IndexFormulas() {
    if (data_->formulasKnown) return;
    data_->arrays.clear();
    data_->sharedMasters.clear();
    for (auto& [rowNo, row] : data_->rows)
        for (const Cell& c : row.cells) {
            if (!c.hasFormula || !c.extra) continue;
            std::string t = RawAttr(c.extra->fAttrs, "t");
            if (t == "shared" && IsSharedMaster(c.extra->formula, c.extra->fAttrs)) {
                data_->sharedMasters[RawAttr(c.extra->fAttrs, "si")] = {rowNo, c.column};
            } else if (t == "array" || t == "dataTable") {
                CellRange r = ParseRange(RawAttr(c.extra->fAttrs, "ref"));
                if (!r.IsValid()) r = {rowNo, c.column, rowNo, c.column};
                data_->arrays.push_back(ArrayFormula{r, rowNo, c.column, t == "dataTable"});
            }
        }
    data_->formulasKnown = true;
}

std::string Worksheet::FormulaOf(int row, const Cell& c) {
    if (!c.hasFormula || !c.extra || !c.extra->formula.empty() || !IsSharedFormula(c.extra->fAttrs))
        return c.X().formula;
    IndexFormulas();
    auto it = data_->sharedMasters.find(RawAttr(c.extra->fAttrs, "si"));
    if (it == data_->sharedMasters.end()) return {};
    auto [masterRow, masterColumn] = it->second;
    const Cell* master = FindCell(masterRow, masterColumn);
    return master ? TranslateFormula(master->X().formula, row - masterRow, c.column - masterColumn)
                  : std::string();
}

base::Status Worksheet::PrepareWrite(const CellRange& range) {
    if (base::Status st = Load(); !st) return st;
    // Called for every cell written: the message is made only when there is one to give.
    auto label = [&] { return book_.GetPackage().Label() + ": " + part_; };
    if (!range.IsValid() || range.lastRow > kMaxRow || range.lastColumn > kMaxColumn)
        return base::Status::Error(label() + ": cannot write outside the sheet (row " +
                                   std::to_string(range.firstRow) + ", column " +
                                   std::to_string(range.firstColumn) + ")");
    // Everything is checked before anything changes, so a refused write leaves the sheet as it was.
    IndexFormulas();
    // Most sheets have neither arrays nor shared formulas: their writes cost no search of rows.
    if (data_->arrays.empty() && data_->sharedMasters.empty()) return base::Status::Ok();
    for (const ArrayFormula& a : data_->arrays)
        if (a.range.Intersects(range) && !Covers(range, a.range))
            return base::Status::Error(label() + ": cannot change part of " +
                                       (a.dataTable ? "a data table" : "an array") + " (" +
                                       RangeName(a.range) + "); write all of its cells or none");
    std::erase_if(data_->arrays, [&](const ArrayFormula& a) {
        if (!Covers(range, a.range)) return false;
        if (Cell* master = FindCell(a.row, a.column)) DropFormula(*master);
        return true;
    });
    for (auto it = data_->rows.lower_bound(range.firstRow);
         it != data_->rows.end() && it->first <= range.lastRow; ++it) {
        std::vector<Cell>& cells = it->second.cells;
        auto c = std::lower_bound(cells.begin(), cells.end(), range.firstColumn,
                                  [](const Cell& a, int col) { return a.column < col; });
        for (; c != cells.end() && c->column <= range.lastColumn; ++c)
            if (c->hasFormula && c->extra && IsSharedMaster(c->extra->formula, c->extra->fAttrs))
                MoveSharedMaster(it->first, *c, range);
    }
    return base::Status::Ok();
}

void Worksheet::DropFormula(Cell& cell) {
    // The cached value stays as the cell's constant until the caller writes over it.
    cell.hasFormula = false;
    if (cell.extra) {
        cell.extra->formula.clear();
        cell.extra->fAttrs.clear();
    }
    TouchCells();
}

void Worksheet::MoveSharedMaster(int masterRow, Cell& master, const CellRange& written) {
    const std::string si = RawAttr(master.X().fAttrs, "si");
    const CellRange ref = ParseRange(RawAttr(master.X().fAttrs, "ref"));
    auto isFollower = [&](const Cell& c) {
        return c.hasFormula && c.extra && IsSharedFormula(c.extra->fAttrs) &&
               !IsSharedMaster(c.extra->formula, c.extra->fAttrs) &&
               RawAttr(c.extra->fAttrs, "si") == si;
    };
    // The first cell of the group that stays, in row-major order, as the program picks it.
    int newRow = 0;
    Cell* next = nullptr;
    for (auto it = data_->rows.lower_bound(ref.firstRow);
         !next && ref.IsValid() && it != data_->rows.end() && it->first <= ref.lastRow; ++it) {
        std::vector<Cell>& cells = it->second.cells;
        auto c = std::lower_bound(cells.begin(), cells.end(), ref.firstColumn,
                                  [](const Cell& a, int col) { return a.column < col; });
        for (; c != cells.end() && c->column <= ref.lastColumn; ++c)
            if (!written.Contains(it->first, c->column) && isFollower(*c)) {
                next = &*c;
                newRow = it->first;
                break;
            }
    }
    if (next) {
        const int rows = newRow - masterRow, columns = next->column - master.column;
        // The cells still in the group lie from the new master on: below it in the whole width of
        // the range, or right of it in its last row. A new master inside the width would leave
        // cells left of it outside any rectangle it starts, so such a group is written out cell by
        // cell instead.
        CellRange shrunk;
        if (next->column == ref.firstColumn)
            shrunk = {newRow, ref.firstColumn, ref.lastRow, ref.lastColumn};
        else if (newRow == ref.lastRow)
            shrunk = {newRow, next->column, ref.lastRow, ref.lastColumn};
        if (shrunk.IsValid()) {
            next->X().formula = TranslateFormula(master.X().formula, rows, columns);
            next->X().fAttrs = SetRawAttr(master.X().fAttrs, "ref", RangeName(shrunk));
            data_->sharedMasters[si] = {newRow, next->column};
            DropFormula(master);
            return;
        }
        for (auto it = data_->rows.lower_bound(newRow);
             it != data_->rows.end() && it->first <= ref.lastRow; ++it)
            for (Cell& c : it->second.cells)
                if (ref.Contains(it->first, c.column) && isFollower(c)) {
                    c.X().formula = TranslateFormula(master.X().formula, it->first - masterRow,
                                                     c.column - master.column);
                    c.X().fAttrs.clear();
                }
    }
    data_->sharedMasters.erase(si);
    DropFormula(master);
}

std::vector<std::vector<CellValue>> Worksheet::Values(const CellRange& range) {
    std::vector<std::vector<CellValue>> out;
    if (!range.IsValid() || !Load()) return out;
    book_.Strings();
    out.assign(range.lastRow - range.firstRow + 1,
               std::vector<CellValue>(range.lastColumn - range.firstColumn + 1));
    for (auto it = data_->rows.lower_bound(range.firstRow); it != data_->rows.end() && it->first <= range.lastRow; ++it)
        for (const Cell& c : it->second.cells)
            if (c.column >= range.firstColumn && c.column <= range.lastColumn) {
                CellValue& v = out[it->first - range.firstRow][c.column - range.firstColumn];
                v = ValueOf(c);
                if (v.formula.empty() && c.hasFormula) v.formula = FormulaOf(it->first, c);
            }
    return out;
}

std::vector<std::vector<std::string>> Worksheet::Texts(const CellRange& range) {
    std::vector<std::vector<std::string>> out;
    if (!range.IsValid() || !Load()) return out;
    book_.Strings();
    book_.GetStyles();
    out.assign(range.lastRow - range.firstRow + 1,
               std::vector<std::string>(range.lastColumn - range.firstColumn + 1));
    for (auto it = data_->rows.lower_bound(range.firstRow); it != data_->rows.end() && it->first <= range.lastRow; ++it)
        for (const Cell& c : it->second.cells)
            if (c.column >= range.firstColumn && c.column <= range.lastColumn)
                out[it->first - range.firstRow][c.column - range.firstColumn] = TextOf(c);
    return out;
}

CellRange Worksheet::UsedRange() {
    if (!Load()) return CellRange{1, 1, 1, 1};
    if (!data_->used) data_->used = FindUsedRange();
    return *data_->used;
}

CellRange Worksheet::FindUsedRange() {
    CellRange r;
    auto add = [&](int row, int col) {
        if (!r.IsValid()) {
            r = {row, col, row, col};
            return;
        }
        r.firstRow = std::min(r.firstRow, row);
        r.lastRow = std::max(r.lastRow, row);
        r.firstColumn = std::min(r.firstColumn, col);
        r.lastColumn = std::max(r.lastColumn, col);
    };
    for (auto& [rowNo, row] : data_->rows)
        for (const Cell& c : row.cells)
            if (!c.value.empty() || c.hasFormula || c.hasStyle) add(rowNo, c.column);
    for (const CellRange& m : Merges()) {
        add(m.firstRow, m.firstColumn);
        add(m.lastRow, m.lastColumn);
    }
    return r.IsValid() ? r : CellRange{1, 1, 1, 1};
}

int Worksheet::LastFilledRow() {
    if (!Load()) return 0;
    for (auto it = data_->rows.rbegin(); it != data_->rows.rend(); ++it)
        for (const Cell& c : it->second.cells)
            if (!c.value.empty() || c.hasFormula) return it->first;
    return 0;
}

int Worksheet::LastFilledColumn() {
    int last = 0;
    if (!Load()) return 0;
    for (auto& [rowNo, row] : data_->rows)
        for (const Cell& c : row.cells)
            if (!c.value.empty() || c.hasFormula) last = std::max(last, c.column);
    return last;
}

namespace {

// The notes of a comments part, read on their own so that it can be done beside the sheet.
base::Result<NotesPart> ReadNotesPart(const Package& pkg, const std::string& name) {
    // The part is scanned as it is inflated, so its text is never held whole.
    auto reader = pkg.OpenPart(name);
    if (!reader) return reader.GetStatus();
    XmlScanner x([&](std::string& out) { return reader->Next(out); });
    // A note's element takes well over 48 bytes, so room for that many is enough; the room the
    // notes don't take is never touched, so it costs no memory.
    auto part = ReadNotes(x, static_cast<std::size_t>(reader->Size() / 48), pkg.Label() + ": " + name);
    // Damaged data shows as malformed XML too; the damage is what is reported.
    if (!part && !reader->CheckRest()) return reader->GetStatus();
    if (!reader->GetStatus()) return reader->GetStatus();
    return part;
}

}  // namespace

base::Status Worksheet::LoadNotes() {
    if (data_->notesLoaded) return data_->notesStatus;
    data_->notesLoaded = true;
    // Notes that can't be read are an error, never none: a note added then would be saved in a
    // new comments part over the old one.
    auto fail = [&](base::Status st) { return data_->notesStatus = std::move(st); };
    Package& pkg = book_.GetPackage();
    std::string commentsPart = part_.empty() ? std::string() : pkg.TargetOf(part_, "comments");
    const bool commentsExist = !commentsPart.empty() && pkg.Has(commentsPart);
    if (commentsExist) commentsPart = pkg.Find(commentsPart);
    // A sheet not read yet is read here while its comments part is read on a second thread: the
    // two are separate parts, and reading the sheet only reads the package, never changes it.
    std::future<base::Result<NotesPart>> early;
    if (!loaded_ && commentsExist) {
        try {
            early = std::async(std::launch::async, ReadNotesPart, std::cref(pkg), commentsPart);
        } catch (const std::system_error&) {
            // No thread to be had: the part is read below, after the sheet.
        }
    }
    base::Status loaded = Load();
    std::optional<base::Result<NotesPart>> part;
    if (early.valid()) part = early.get();
    if (!loaded) return fail(loaded);
    data_->commentsPart = commentsPart;
    if (!data_->commentsPart.empty() && !commentsExist)
        return fail(base::Status::Error(pkg.Label() + ": the comments part " + data_->commentsPart +
                                        " of " + part_ + " is missing"));
    // The notes' drawing is the one named by legacyDrawing, not the header/footer one.
    std::string id = Attr(Child(Root(), "legacyDrawing"), "id").value();
    for (const Relationship& r : pkg.Relationships(part_))
        if (r.id == id && !r.external) data_->vmlPart = pkg.Has(r.target) ? pkg.Find(r.target) : "";
    if (data_->commentsPart.empty()) return data_->notesStatus;
    if (!part) part = ReadNotesPart(pkg, data_->commentsPart);
    if (!*part) return fail(part->GetStatus());
    NotesPart& read = **part;
    data_->notes = std::move(read.notes);
    data_->noteTexts = std::make_shared<base::TextBlocks>(std::move(read.texts));
    data_->authors = std::move(read.authors);
    data_->commentsRoot = std::move(read.rootAttributes);
    auto byCell = [](const StoredNote& a, const StoredNote& b) {
        return a.row != b.row ? a.row < b.row : a.column < b.column;
    };
    if (!std::is_sorted(data_->notes.begin(), data_->notes.end(), byCell))
        std::stable_sort(data_->notes.begin(), data_->notes.end(), byCell);
    return data_->notesStatus;
}

std::vector<Note> Worksheet::Notes() {
    LoadNotes();
    std::vector<Note> out;
    out.reserve(data_->notes.size());
    for (const StoredNote& n : data_->notes) out.push_back(Note{n.row, n.column, data_->authors[n.author], std::string(n.Text())});
    return out;
}

std::vector<std::pair<int, int>> Worksheet::NoteCells() {
    LoadNotes();
    std::vector<std::pair<int, int>> out;
    out.reserve(data_->notes.size());
    for (const StoredNote& n : data_->notes) out.emplace_back(n.row, n.column);
    return out;
}

namespace {

// The first stored note at or after (row, column); notes are kept sorted by row, then column, so
// a sheet with a note on every cell is still searched in log time.
std::vector<StoredNote>::iterator FirstNoteFrom(std::vector<StoredNote>& notes, int row,
                                                int column) {
    return std::lower_bound(notes.begin(), notes.end(), std::make_pair(row, column),
                            [](const StoredNote& n, std::pair<int, int> rc) {
                                return std::make_pair(n.row, n.column) < rc;
                            });
}

}  // namespace

const StoredNote* Worksheet::FindNote(int row, int column) {
    LoadNotes();
    std::vector<StoredNote>& notes = data_->notes;
    auto at = [&](std::size_t i) {
        return i < notes.size() && notes[i].row == row && notes[i].column == column;
    };
    // Notes are mostly asked for in their order: the one after the last found is tried first.
    std::size_t i = data_->noteHint + 1;
    if (!at(i)) {
        i = static_cast<std::size_t>(FirstNoteFrom(notes, row, column) - notes.begin());
        if (!at(i)) return nullptr;
    }
    data_->noteHint = i;
    return &notes[i];
}

const Note* Worksheet::NoteAt(int row, int column) {
    const StoredNote* note = FindNote(row, column);
    if (!note) return nullptr;
    data_->noteAt = Note{row, column, data_->authors[note->author], std::string(note->Text())};
    return &data_->noteAt;
}

std::optional<std::string_view> Worksheet::NoteText(int row, int column) {
    const StoredNote* note = FindNote(row, column);
    if (!note) return std::nullopt;
    return note->Text();
}

std::optional<base::SharedCounted> Worksheet::SharedNoteText(int row, int column) {
    const StoredNote* note = FindNote(row, column);
    if (!note) return std::nullopt;
    return base::SharedCounted{note->text, data_->noteTexts};
}

base::Status Worksheet::SetNote(int row, int column, std::string_view text,
                                std::string_view author) {
    if (base::Status st = LoadNotes(); !st) return st;
    notesChanged_ = true;
    // Notes are mostly added in order: one after the last needs no search.
    std::vector<StoredNote>& notes = data_->notes;
    auto it = notes.empty() || std::make_pair(notes.back().row, notes.back().column) < std::make_pair(row, column)
                  ? notes.end()
                  : FirstNoteFrom(notes, row, column);
    std::uint32_t authorId = AuthorIndex(data_->authors, author);
    if (it != data_->notes.end() && it->row == row && it->column == column) {
        it->text = data_->noteTexts->KeepCounted(text);
        it->author = authorId;
        it->changed = true;
        return base::Status::Ok();
    }
    if (it == data_->notes.end() && data_->notes.size() == data_->notes.capacity()) {
        // Notes are mostly added in order, one per cell: grow by half, not double.
        data_->notes.reserve(data_->notes.size() + data_->notes.size() / 2 + 16);
        it = data_->notes.end();
    }
    StoredNote added;
    added.row = row;
    added.column = column;
    added.author = authorId;
    added.changed = true;
    added.text = data_->noteTexts->KeepCounted(text);
    data_->notes.insert(it, std::move(added));
    return base::Status::Ok();
}

bool Worksheet::DeleteNote(int row, int column) {
    return ClearNotes(CellRange{row, column, row, column}) > 0;
}

int Worksheet::ClearNotes(const CellRange& range) {
    LoadNotes();
    // Notes all before the range's first cell, as while a sheet is filled in order, are none of it.
    const std::vector<StoredNote>& notes = data_->notes;
    if (notes.empty() ||
        std::make_pair(notes.back().row, notes.back().column) < std::make_pair(range.firstRow, range.firstColumn))
        return 0;
    // Only the rows of the range are visited.
    auto first = FirstNoteFrom(data_->notes, range.firstRow, range.firstColumn);
    auto last = range.lastRow == std::numeric_limits<int>::max()
                    ? data_->notes.end()
                    : FirstNoteFrom(data_->notes, range.lastRow + 1, std::numeric_limits<int>::min());
    if (last < first) last = first;
    auto kept = std::remove_if(first, last, [&](const StoredNote& n) {
        return range.Contains(n.row, n.column);
    });
    const int removed = static_cast<int>(last - kept);
    data_->notes.erase(kept, last);
    if (removed) notesChanged_ = true;
    return removed;
}

std::size_t Worksheet::NoteCount() const { return data_ ? data_->notes.size() : 0; }

base::Status Worksheet::SaveNotes(const std::function<base::Status()>& meanwhile) {
    Package& pkg = book_.GetPackage();
    if (base::Status st = LoadNotes(); !st) return st;
    std::string originalVml;
    // The drawing keeps the notes' shapes and others (buttons); one that can't be read is not
    // replaced by a drawing of the notes alone.
    if (!data_->vmlPart.empty()) {
        auto vml = pkg.Read(data_->vmlPart);
        if (!vml) return vml.GetStatus();
        originalVml = std::move(*vml);
    }
    if (data_->commentsPart.empty()) {
        if (data_->notes.empty()) return meanwhile();
        for (int n = 1;; ++n) {
            std::string name = "xl/comments" + std::to_string(n) + ".xml";
            if (!pkg.Has(name)) {
                data_->commentsPart = name;
                break;
            }
        }
        pkg.AddRelationship(part_, std::string(kRelNs) + "/comments", data_->commentsPart);
        pkg.SetContentType(data_->commentsPart,
                           "application/vnd.openxmlformats-officedocument.spreadsheetml.comments+xml");
    }
    if (data_->vmlPart.empty()) {
        for (int n = 1;; ++n) {
            std::string name = "xl/drawings/vmlDrawing" + std::to_string(n) + ".vml";
            if (!pkg.Has(name)) {
                data_->vmlPart = name;
                break;
            }
        }
        std::string id = pkg.AddRelationship(part_, std::string(kRelNs) + "/vmlDrawing", data_->vmlPart);
        pkg.EnsureDefaultContentType("vml", "application/vnd.openxmlformats-officedocument.vmlDrawing");
        pugi::xml_node ld = EnsureChild(Root(), "legacyDrawing");
        ld.remove_attributes();
        bool declared = false;
        for (pugi::xml_attribute a = Root().first_attribute(); a; a = a.next_attribute())
            declared = declared || std::string_view(a.name()) == "xmlns:r";
        if (!declared) Root().append_attribute("xmlns:r") = kRelNs;
        ld.append_attribute("r:id") = id.c_str();
        Touch();
    }
    int base = 1024 * (book_.IndexOf(this) + 1);
    if (std::size_t at = originalVml.find("data=\""); at != std::string::npos)
        base = 1024 * std::atoi(originalVml.c_str() + at + 6);
    // Untouched notes are written from their elements as the part has them now.
    std::string current;
    if (pkg.Has(data_->commentsPart)) {
        bool wanted = false;
        for (const StoredNote& n : data_->notes) wanted = wanted || (!n.changed && n.originalRow);
        if (wanted)
            if (auto xml = pkg.Read(data_->commentsPart)) {
                current = std::move(*xml);
                XmlScanner::MakeUtf8(current);
            }
    }
    // The drawing is made on a second thread while the comments part, and then what the caller
    // does meanwhile, are made here: the notes are only read until the drawing is done. Each
    // part is finished as soon as it is written, so that its buffers and its compressing thread
    // are let go before the next part's are taken.
    DeflatedData commentsData, vmlData;
    auto makeVml = [&] {
        DeflateStream vml;
        WriteVml(vml, originalVml, data_->notes, base);
        originalVml = std::string();
        vmlData = vml.Finish();
    };
    std::future<void> drawing;
    try {
        drawing = std::async(std::launch::async, makeVml);
    } catch (const std::system_error&) {
        makeVml();  // no thread to be had
    }
    {
        DeflateStream comments;
        WriteComments(comments, data_->commentsRoot, data_->authors, data_->notes, current);
        current = std::string();
        commentsData = comments.Finish();
    }
    const base::Status during = meanwhile();
    if (drawing.valid()) drawing.get();
    pkg.Write(data_->commentsPart, std::move(commentsData));
    pkg.Write(data_->vmlPart, std::move(vmlData));
    // What was written is now what the parts hold.
    for (StoredNote& n : data_->notes) {
        n.originalRow = n.row;
        n.originalColumn = n.column;
        n.changed = false;
    }
    notesChanged_ = false;
    return during;
}

CellFormat Worksheet::Format(int row, int column) {
    Cell* c = FindCell(row, column);
    return book_.GetStyles().Format(c ? c->style : 0);
}

void Worksheet::ApplyFormat(const CellRange& range, const StyleChange& change) {
    if (!range.IsValid() || !Load()) return;
    Styles& styles = book_.GetStyles();
    std::map<std::uint32_t, std::uint32_t> derived;
    for (int r = range.firstRow; r <= range.lastRow; ++r)
        for (int c = range.firstColumn; c <= range.lastColumn; ++c) {
            Cell& cell = MakeCell(r, c);
            auto it = derived.find(cell.style);
            if (it == derived.end()) it = derived.emplace(cell.style, styles.Derive(cell.style, change)).first;
            cell.style = it->second;
            cell.hasStyle = true;
        }
}

void Worksheet::SetBorder(const CellRange& range, BorderEdge edge, const BorderLine& line) {
    StyleChange change;
    change.border = std::make_pair(edge, line);
    CellRange target = range;
    // Outline edges touch only the cells on that side of the range.
    switch (edge) {
    case BorderEdge::Left: target.lastColumn = range.firstColumn; break;
    case BorderEdge::Right: target.firstColumn = range.lastColumn; break;
    case BorderEdge::Top: target.lastRow = range.firstRow; break;
    case BorderEdge::Bottom: target.firstRow = range.lastRow; break;
    default: break;
    }
    ApplyFormat(target, change);
}

std::vector<CellRange> Worksheet::Merges() {
    std::vector<CellRange> out;
    if (!Load()) return out;
    for (pugi::xml_node m = Child(Root(), "mergeCells").first_child(); m; m = m.next_sibling())
        if (LocalName(m) == "mergeCell")
            if (CellRange r = ParseRange(Attr(m, "ref").value()); r.IsValid()) out.push_back(r);
    return out;
}

base::Status Worksheet::Merge(const CellRange& range) {
    if (!range.IsValid()) return base::Status::Error("invalid range to merge");
    if (base::Status st = Load(); !st) return st;
    for (const CellRange& m : Merges())
        if (m.Intersects(range)) {
            if (m == range) return base::Status::Ok();
            return base::Status::Error("The range " + RangeName(range) + " overlaps the merged range " + RangeName(m) + ".");
        }
    if (range.firstRow == range.lastRow && range.firstColumn == range.lastColumn) return base::Status::Ok();
    pugi::xml_node list = EnsureChild(Root(), "mergeCells");
    pugi::xml_node m = list.append_child(QualifiedLike(list, "mergeCell").c_str());
    m.append_attribute("ref") = RangeName(range).c_str();
    SetAttr(list, "count", std::to_string(Merges().size()));
    TouchCells();
    return base::Status::Ok();
}

CellRange Worksheet::MergeArea(int row, int column) {
    for (const CellRange& m : Merges())
        if (m.Contains(row, column)) return m;
    return CellRange{row, column, row, column};
}

std::vector<Hyperlink> Worksheet::Hyperlinks() {
    std::vector<Hyperlink> out;
    if (!Load()) return out;
    std::vector<Relationship> rels = book_.GetPackage().Relationships(part_);
    for (pugi::xml_node h = Child(Root(), "hyperlinks").first_child(); h; h = h.next_sibling()) {
        if (LocalName(h) != "hyperlink") continue;
        Hyperlink link;
        link.range = ParseRange(Attr(h, "ref").value());
        link.location = Attr(h, "location").value();
        std::string id = Attr(h, "id").value();
        for (const Relationship& r : rels)
            if (!id.empty() && r.id == id) link.target = r.target;
        out.push_back(std::move(link));
    }
    return out;
}

void Worksheet::AddHyperlink(int row, int column, std::string_view target) {
    if (!Load()) return;
    std::string uri(target);
    bool isUrl = uri.find("://") != std::string::npos || base::EqualNoCase(base::Left(uri, 7), "mailto:");
    if (!isUrl) {
        // A path becomes a file link, as the program stores links to documents.
        for (char& ch : uri)
            if (ch == '\\') ch = '/';
        if (uri.size() > 1 && uri[1] == ':') uri = "file:///" + uri;
        else if (!uri.empty() && uri[0] == '/' && (uri.size() < 2 || uri[1] != '/')) uri = "file://" + uri;
        else if (uri.rfind("//", 0) == 0) uri = "file:" + uri;
    }
    DeleteHyperlinks(CellRange{row, column, row, column});
    std::string id = book_.GetPackage().AddRelationship(part_, std::string(kRelNs) + "/hyperlink", uri, true);
    pugi::xml_node list = EnsureChild(Root(), "hyperlinks");
    pugi::xml_node h = list.append_child(QualifiedLike(list, "hyperlink").c_str());
    h.append_attribute("ref") = CellName(row, column).c_str();
    bool declared = false;
    for (pugi::xml_attribute a = Root().first_attribute(); a; a = a.next_attribute())
        declared = declared || std::string_view(a.name()) == "xmlns:r";
    if (!declared) Root().append_attribute("xmlns:r") = kRelNs;
    h.append_attribute("r:id") = id.c_str();
    Touch();
}

int Worksheet::DeleteHyperlinks(const CellRange& range) {
    if (!Load()) return 0;
    pugi::xml_node list = Child(Root(), "hyperlinks");
    int removed = 0;
    for (pugi::xml_node h = list.first_child(); h;) {
        pugi::xml_node next = h.next_sibling();
        if (LocalName(h) == "hyperlink" && ParseRange(Attr(h, "ref").value()).Intersects(range)) {
            if (std::string id = Attr(h, "id").value(); !id.empty())
                book_.GetPackage().RemoveRelationship(part_, id);
            list.remove_child(h);
            ++removed;
        }
        h = next;
    }
    if (list && !Child(list, "hyperlink")) Root().remove_child(list);
    if (removed) Touch();
    return removed;
}

namespace {
// A stored width (digits with 5 pixels of padding) as the program shows it: without the padding,
// to two places.
double ShownWidth(double stored, double digit) {
    double chars = std::trunc((stored * digit - 5) / digit * 100 + 0.5) / 100;
    return chars < 0 ? 0 : chars;
}
// The width of a column the sheet gives none: `base` digits and the padding, rounded up to
// whole 8 pixels as the program does.
double DefaultWidth(double base, double digit) {
    double pixels = std::ceil((base * digit + 5) / 8) * 8;
    return ShownWidth(pixels / digit, digit);
}
}  // namespace

double Worksheet::ColumnWidth(int column) {
    double digit = book_.DigitWidth();
    if (!Load()) return DefaultWidth(8, digit);
    for (pugi::xml_node c = Child(Cols(), "col"); c; c = c.next_sibling())
        if (Attr(c, "min").as_int() <= column && column <= Attr(c, "max").as_int()) {
            if (Attr(c, "hidden").as_bool()) return 0;
            if (Attr(c, "width")) return ShownWidth(Attr(c, "width").as_double(), digit);
        }
    pugi::xml_node fmt = Child(Root(), "sheetFormatPr");
    if (Attr(fmt, "defaultColWidth")) return ShownWidth(Attr(fmt, "defaultColWidth").as_double(), digit);
    return DefaultWidth(Attr(fmt, "baseColWidth").as_double(8), digit);
}

void Worksheet::SetColumnWidth(int column, double width) {
    if (!Load() || column < 1 || column > kMaxColumn) return;
    pugi::xml_node cols = EnsureChild(Root(), "cols");
    data_->cols = cols;
    data_->colsKnown = true;
    double digit = book_.DigitWidth();
    double stored = std::trunc((width * digit + 5) / digit * 256) / 256;
    // Split a <col> span around the column so that only it changes.
    for (pugi::xml_node c = Child(cols, "col"); c; c = c.next_sibling()) {
        int lo = Attr(c, "min").as_int(), hi = Attr(c, "max").as_int();
        if (column < lo || column > hi) continue;
        if (lo < column) {
            pugi::xml_node before = cols.insert_copy_before(c, c);
            SetAttr(before, "max", std::to_string(column - 1));
        }
        if (hi > column) {
            pugi::xml_node after = cols.insert_copy_after(c, c);
            SetAttr(after, "min", std::to_string(column + 1));
        }
        SetAttr(c, "min", std::to_string(column));
        SetAttr(c, "max", std::to_string(column));
        SetAttr(c, "width", FormatDouble(stored));
        SetAttr(c, "customWidth", "1");
        Touch();
        return;
    }
    pugi::xml_node at;
    for (pugi::xml_node c = Child(cols, "col"); c; c = c.next_sibling())
        if (Attr(c, "min").as_int() > column) {
            at = c;
            break;
        }
    std::string name = QualifiedLike(cols, "col");
    pugi::xml_node c = at ? cols.insert_child_before(name.c_str(), at) : cols.append_child(name.c_str());
    c.append_attribute("min") = column;
    c.append_attribute("max") = column;
    c.append_attribute("width") = FormatDouble(stored).c_str();
    c.append_attribute("customWidth") = 1;
    Touch();
}

namespace {
// Width of a text in pixels of the default 11-point font, character by character (Calibri's
// advance widths at 96 dpi; wide scripts count double).
double TextPixels(std::string_view text, double fontSize, bool bold) {
    double px = 0;
    for (std::size_t pos = 0; pos < text.size();) {
        char32_t ch = base::DecodeUtf8(text, pos);
        double w;
        if (ch == 'i' || ch == 'l' || ch == 'j' || ch == '\'' || ch == '|' || ch == '!' || ch == '.' || ch == ',' || ch == ':' || ch == ';') w = 3;
        else if (ch == 'f' || ch == 't' || ch == 'r' || ch == 'I' || ch == ' ' || ch == '(' || ch == ')' || ch == '-' || ch == '[' || ch == ']') w = 4;
        else if (ch == 'm' || ch == 'w' || ch == 'M' || ch == 'W' || ch == '@' || ch == '%') w = 11;
        else if (ch >= 'A' && ch <= 'Z') w = 8;
        else if (ch >= 0x1100) w = 14;
        else w = 7;
        px += w;
    }
    return px * fontSize / 11 * (bold ? 1.05 : 1.0);
}
}  // namespace

void Worksheet::AutoFitColumns(int firstColumn, int lastColumn) {
    if (!Load()) return;
    const SharedStrings& strings = book_.Strings();
    Styles& styles = book_.GetStyles();
    // What a style does to widths, worked out once per style rather than once per cell.
    struct StyleWidth {
        double fontSize = 11;
        bool bold = false;
        bool textAsIs = true;    // its format shows a text unchanged (no text section)
    };
    std::map<std::uint32_t, StyleWidth> styleWidths;
    auto styleWidth = [&](std::uint32_t style) -> const StyleWidth& {
        auto it = styleWidths.find(style);
        if (it != styleWidths.end()) return it->second;
        CellFormat f = styles.Format(style);
        StyleWidth w;
        w.fontSize = f.fontSize;
        w.bold = f.bold;
        w.textAsIs = FormatText("\x01", f.numberFormat) == "\x01";
        return styleWidths.emplace(style, w).first->second;
    };
    // Widest line of a text in pixels of the default font.
    auto linePixels = [](std::string_view text) {
        double px = 0;
        for (std::size_t start = 0; start <= text.size();) {
            std::size_t nl = text.find('\n', start);
            if (nl == std::string_view::npos) nl = text.size();
            px = std::max(px, TextPixels(text.substr(start, nl - start), 11, false));
            start = nl + 1;
        }
        return px;
    };
    // Shared strings repeat down a column: each is measured once. Only the widths of this
    // sheet's strings are written: a workbook of many sheets has many more.
    const std::size_t stringCount = strings.Size();
    std::unique_ptr<float[]> sharedPixels(new float[stringCount]);
    std::vector<bool> measured(stringCount);
    std::vector<double> widest(static_cast<std::size_t>(kMaxColumn) + 1, -1.0);  // -1: no text
    std::vector<CellRange> merges = Merges();
    for (auto& [rowNo, row] : data_->rows) {
        if (const char* h = row.Get("hidden"); h && std::string_view(h) == "1") continue;
        for (const Cell& c : row.cells) {
            if (c.column < firstColumn || c.column > lastColumn || c.value.empty()) continue;
            bool merged = false;
            for (const CellRange& m : merges) merged = merged || m.Contains(rowNo, c.column);
            if (merged) continue;  // merged cells don't size their columns
            const StyleWidth& sw = styleWidth(c.style);
            double px;
            std::size_t index = 0;
            if (c.kind == Cell::Kind::Shared && sw.textAsIs && !c.hasFormula &&
                std::from_chars(c.value.data(), c.value.data() + c.value.size(), index).ec == std::errc() &&
                index < stringCount) {
                if (!measured[index]) {
                    sharedPixels[index] = static_cast<float>(linePixels(strings.Text(index)));
                    measured[index] = true;
                }
                px = sharedPixels[index];
            } else {
                px = linePixels(TextOf(c));
            }
            widest[c.column] = std::max(widest[c.column], px * sw.fontSize / 11 * (sw.bold ? 1.05 : 1.0));
        }
    }
    for (int col = std::max(1, firstColumn); col <= std::min(lastColumn, kMaxColumn); ++col)
        if (widest[col] >= 0) SetColumnWidth(col, std::min(255.0, std::ceil(widest[col] + 2) / book_.DigitWidth()));
}

double Worksheet::RowHeight(int row) {
    if (!Load()) return 15;
    auto it = data_->rows.find(row);
    if (it != data_->rows.end()) {
        if (const char* h = it->second.Get("hidden"); h && (std::string_view(h) == "1" || std::string_view(h) == "true")) return 0;
        if (const char* ht = it->second.Get("ht")) return std::atof(ht);
    }
    pugi::xml_node fmt = Child(Root(), "sheetFormatPr");
    if (Attr(fmt, "zeroHeight").as_bool()) return 0;
    return Attr(fmt, "defaultRowHeight").as_double(15);
}

void Worksheet::SetRowHeight(int row, double points) {
    if (!Load()) return;
    Row& r = data_->rows[row];
    r.Set("ht", FormatDouble(points));
    r.Set("customHeight", "1");
    Touch();
}

bool Worksheet::IsRowHidden(int row) { return RowHeight(row) == 0; }

void Worksheet::SetRowHidden(int row, bool hidden) {
    if (!Load()) return;
    Row& r = data_->rows[row];
    if (hidden) r.Set("hidden", "1");
    else r.Erase("hidden");
    Touch();
}

void Worksheet::AutoFitRows(int firstRow, int lastRow) {
    if (!Load()) return;
    Styles& styles = book_.GetStyles();
    book_.Strings();
    double base = styles.DefaultFontSize() * 15.0 / 11.0;
    for (auto it = data_->rows.lower_bound(firstRow); it != data_->rows.end() && it->first <= lastRow; ++it) {
        int lines = 1;
        for (const Cell& c : it->second.cells) {
            const CellFormat& f = styles.Format(c.style);
            if (!f.wrap) continue;
            std::string text = TextOf(c);
            double width = ColumnWidth(c.column) * book_.DigitWidth() + 5;
            int n = 0;
            std::size_t start = 0;
            while (start <= text.size()) {
                std::size_t nl = text.find('\n', start);
                if (nl == std::string::npos) nl = text.size();
                double px = TextPixels(std::string_view(text).substr(start, nl - start), f.fontSize, f.bold);
                n += std::max(1, static_cast<int>(std::ceil(px / std::max(width, 1.0))));
                start = nl + 1;
            }
            lines = std::max(lines, n);
        }
        Row& r = it->second;
        if (lines > 1) {
            r.Set("ht", FormatDouble(lines * base));
            r.Set("customHeight", "1");
        } else {
            r.Erase("ht");
            r.Erase("customHeight");
        }
        Touch();
    }
}

double Worksheet::ColumnWidthPoints(int column) {
    double chars = ColumnWidth(column);
    if (chars == 0) return 0;
    // Pixels of the default font's digits plus 5 of padding, at 96 dpi.
    return std::trunc(chars * book_.DigitWidth() + 5 + 0.5) * 0.75;
}

double Worksheet::ColumnLeft(int column) {
    double left = 0;
    for (int c = 1; c < column && c <= kMaxColumn; ++c) left += ColumnWidthPoints(c);
    return left;
}

double Worksheet::RowTop(int row) {
    if (!Load()) return 0;
    double defaultHeight = RowHeight(0);
    double top = 0;
    int counted = 0;
    for (auto& [rowNo, r] : data_->rows) {
        if (rowNo >= row) break;
        top += RowHeight(rowNo);
        ++counted;
    }
    return top + (std::max(0, row - 1) - counted) * defaultHeight;
}

std::string Worksheet::Selection() {
    if (!Load()) return "A1";
    pugi::xml_node view = Child(Child(Root(), "sheetViews"), "sheetView");
    pugi::xml_node sel;
    // With panes the active pane's selection counts; otherwise the first one.
    std::string pane = Attr(Child(view, "pane"), "activePane").value();
    for (pugi::xml_node s = view.first_child(); s; s = s.next_sibling())
        if (LocalName(s) == "selection" && (!sel || pane == Attr(s, "pane").value())) sel = s;
    std::string sqref = Attr(sel, "sqref").value();
    return sqref.empty() ? ActiveCell() : sqref;
}

std::string Worksheet::ActiveCell() {
    if (!Load()) return "A1";
    pugi::xml_node view = Child(Child(Root(), "sheetViews"), "sheetView");
    std::string pane = Attr(Child(view, "pane"), "activePane").value();
    std::string active;
    for (pugi::xml_node s = view.first_child(); s; s = s.next_sibling())
        if (LocalName(s) == "selection" && (active.empty() || pane == Attr(s, "pane").value()))
            active = Attr(s, "activeCell").value();
    return active.empty() ? "A1" : active;
}

void Worksheet::Select(const CellRange& range, int activeRow, int activeColumn) {
    if (!Load() || !range.IsValid()) return;
    pugi::xml_node views = EnsureChild(Root(), "sheetViews");
    pugi::xml_node view = Child(views, "sheetView");
    if (!view) {
        view = views.append_child(QualifiedLike(views, "sheetView").c_str());
        view.append_attribute("workbookViewId") = 0;
    }
    std::string pane = Attr(Child(view, "pane"), "activePane").value();
    pugi::xml_node sel;
    for (pugi::xml_node s = view.first_child(); s; s = s.next_sibling())
        if (LocalName(s) == "selection" && (!sel || pane == Attr(s, "pane").value())) sel = s;
    if (!sel) sel = view.append_child(QualifiedLike(view, "selection").c_str());
    SetAttr(sel, "activeCell", CellName(activeRow, activeColumn));
    SetAttr(sel, "sqref", RangeName(range));
    Touch();
}

void Worksheet::SetTabSelected(bool selected) {
    // A tab known to be as asked needs no reading of the sheet: going through the sheets of a
    // workbook doesn't read them all at each step.
    if (tabKnown_ && tabSelected_ == selected) return;
    if (!Load()) return;
    pugi::xml_node view = Child(Child(Root(), "sheetViews"), "sheetView");
    const bool now = view && view.attribute("tabSelected").as_bool();
    if (!tabKnown_) {
        tabKnown_ = true;
        tabSelectedAsRead_ = tabSelected_ = now;
    }
    if (now == selected) return;
    if (!view) {
        view = EnsureChild(Root(), "sheetViews").append_child(QualifiedLike(Root(), "sheetView").c_str());
        view.append_attribute("workbookViewId") = 0;
    }
    view.remove_attribute("tabSelected");
    if (selected) view.prepend_attribute("tabSelected") = 1;
    tabSelected_ = selected;
}

base::Status Worksheet::SaveTo(DeflateStream& stream) {
    if (base::Status st = Load(); !st) return st;
    pugi::xml_node sheetData = EnsureChild(Root(), "sheetData");
    sheetData.append_child(pugi::node_pcdata).set_value(kSheetDataMarker);
    CellRange used = UsedRange();
    if (pugi::xml_node dim = Child(Root(), "dimension")) SetAttr(dim, "ref", RangeName(used));
    std::string xml = SaveXml(data_->doc);
    sheetData.remove_child(sheetData.first_child());
    std::size_t marker = xml.find(kSheetDataMarker);
    if (marker == std::string::npos)
        return base::Status::Error(book_.GetPackage().Label() + ": " + part_ +
                                   ": could not place the rows when writing");
    // The rows go straight into the compressor; the sheet's text never exists whole.
    std::string& rows = stream.Buffer();
    rows.append(xml, 0, marker);
    const std::string cellPrefix = QualifiedLike(sheetData, "");
    const std::string rowOpen = '<' + cellPrefix + "row r=\"";
    const std::string rowClose = "</" + cellPrefix + "row>";
    const std::string cOpen = '<' + cellPrefix + "c r=\"";
    const std::string cClose = "</" + cellPrefix + "c>";
    const std::string vOpen = '<' + cellPrefix + "v>";
    const std::string vClose = "</" + cellPrefix + "v>";
    char number[24];
    auto appendNumber = [&](auto n) { rows.append(number, std::to_chars(number, number + sizeof number, n).ptr); };
    for (auto& [rowNo, row] : data_->rows) {
        if (row.cells.empty() && row.attrs.empty()) continue;
        stream.MaybeFlush();
        rows += rowOpen;
        appendNumber(rowNo);
        rows += '"';
        for (auto& [k, v] : row.attrs) {
            rows += ' ';
            rows += k;
            rows += "=\"";
            AppendEscaped(rows, v, true);
            rows += '"';
        }
        if (row.cells.empty()) {
            rows += "/>";
            continue;
        }
        rows += '>';
        for (const Cell& c : row.cells) {
            rows += cOpen;
            AppendCellName(rows, rowNo, c.column);
            rows += '"';
            if (c.hasStyle) {
                rows += " s=\"";
                appendNumber(c.style);
                rows += '"';
            }
            if (c.kind != Cell::Kind::Number) {
                rows += " t=\"";
                rows += c.Type();
                rows += '"';
            }
            const Cell::Extra& x = c.X();
            rows += x.attrs;
            bool inlineText = c.kind == Cell::Kind::Inline;
            if (!c.hasFormula && c.value.empty() && !inlineText && x.inlineXml.empty() && x.tail.empty()) {
                rows += "/>";
                continue;
            }
            rows += '>';
            if (c.hasFormula) {
                rows += '<' + cellPrefix + 'f' + x.fAttrs;
                if (x.formula.empty()) {
                    rows += "/>";
                } else {
                    rows += '>';
                    AppendEscaped(rows, x.formula);
                    rows += "</" + cellPrefix + "f>";
                }
            }
            if (!x.inlineXml.empty()) {
                rows += x.inlineXml;
            } else if (inlineText) {
                // A plain inline string, read without its element: written again the same way.
                bool keepSpace = !c.value.empty() && (std::isspace(static_cast<unsigned char>(c.value.front())) ||
                                                      std::isspace(static_cast<unsigned char>(c.value.back())));
                rows += '<' + cellPrefix + "is><" + cellPrefix + 't';
                if (keepSpace) rows += " xml:space=\"preserve\"";
                rows += '>';
                AppendEscaped(rows, c.value);
                rows += "</" + cellPrefix + "t></" + cellPrefix + "is>";
            } else if (!c.value.empty()) {
                rows += vOpen;
                AppendEscaped(rows, c.value);
                rows += vClose;
            }
            rows += x.tail;
            rows += cClose;
        }
        rows += rowClose;
    }
    rows.append(xml, marker + std::string_view(kSheetDataMarker).size(), std::string::npos);
    return base::Status::Ok();
}

}  // namespace xl

namespace xl {
namespace {

// Space-separated ranges (sqref) after a shift; "" when every one of them is gone.
std::string MapSqref(std::string_view sqref, const RowShift& shift) {
    std::string out;
    std::size_t pos = 0;
    while (pos < sqref.size()) {
        std::size_t end = sqref.find(' ', pos);
        if (end == std::string_view::npos) end = sqref.size();
        CellRange r = ParseRange(sqref.substr(pos, end - pos));
        if (r.IsValid()) {
            CellRange m = shift.MapRange(r);
            if (m.IsValid()) out += (out.empty() ? "" : " ") + RangeName(m);
        }
        pos = end + 1;
    }
    return out;
}

}  // namespace

void Worksheet::Unshare() {
    struct Master {
        int row, column;
        std::string formula;
    };
    std::map<std::string, Master> masters;
    for (auto& [rowNo, row] : data_->rows)
        for (Cell& c : row.cells)
            if (c.hasFormula && RawAttr(c.X().fAttrs, "t") == "shared" && !c.X().formula.empty())
                masters[RawAttr(c.X().fAttrs, "si")] = Master{rowNo, c.column, c.X().formula};
    if (masters.empty()) return;
    // Shared formulas are written out cell by cell, so that a moved or deleted master cell
    // can't leave its followers without a formula.
    for (auto& [rowNo, row] : data_->rows)
        for (Cell& c : row.cells) {
            if (!c.hasFormula || RawAttr(c.X().fAttrs, "t") != "shared") continue;
            auto it = masters.find(RawAttr(c.X().fAttrs, "si"));
            if (it != masters.end() && c.X().formula.empty())
                c.X().formula = TranslateFormula(it->second.formula, rowNo - it->second.row, c.column - it->second.column);
            c.X().fAttrs.clear();
        }
    data_->formulasKnown = false;
}

void Worksheet::Shift(const RowShift& shift) {
    if (!Load() || shift.count <= 0) return;
    LoadNotes();
    Unshare();
    bool wholeRows = shift.firstColumn == 1 && shift.lastColumn == kMaxColumn;
    std::map<int, Row> moved;
    if (wholeRows) {
        for (auto& [rowNo, row] : data_->rows)
            if (int to = shift.Map(rowNo)) moved[to] = std::move(row);
    } else {
        std::map<int, std::vector<Cell>> cellsTo;
        for (auto& [rowNo, row] : data_->rows) {
            std::vector<Cell> keep;
            for (Cell& c : row.cells) {
                if (c.column < shift.firstColumn || c.column > shift.lastColumn) {
                    keep.push_back(std::move(c));
                } else if (int to = shift.Map(rowNo)) {
                    cellsTo[to].push_back(std::move(c));
                }
            }
            row.cells = std::move(keep);
            moved[rowNo] = std::move(row);
        }
        for (auto& [to, cells] : cellsTo) {
            Row& row = moved[to];
            for (Cell& c : cells) row.cells.push_back(std::move(c));
            std::sort(row.cells.begin(), row.cells.end(), [](const Cell& a, const Cell& b) { return a.column < b.column; });
        }
    }
    data_->rows = std::move(moved);
    data_->lastRow = nullptr;
    data_->formulasKnown = false;
    // Formula references, here and in every sheet that names this one.
    for (auto& [rowNo, row] : data_->rows)
        for (Cell& c : row.cells) {
            if (!c.hasFormula) continue;
            if (!c.X().formula.empty()) c.X().formula = ShiftFormula(c.X().formula, shift, name_, true);
            if (std::string ref = RawAttr(c.X().fAttrs, "ref"); !ref.empty()) {
                CellRange r = shift.MapRange(ParseRange(ref));
                c.X().fAttrs = SetRawAttr(c.X().fAttrs, "ref", r.IsValid() ? RangeName(r) : CellName(rowNo, c.column));
            }
        }
    for (int i = 0; i < book_.SheetCount(); ++i) {
        Worksheet* other = book_.Sheet(i);
        if (other == this || other->Kind() != SheetKind::Worksheet || !other->Load()) continue;
        bool touched = false;
        for (auto& [rowNo, row] : other->data_->rows)
            for (Cell& c : row.cells) {
                if (!c.hasFormula || c.X().formula.empty() || base::FindNoCase(c.X().formula, name_) == std::string::npos) continue;
                std::string shifted = ShiftFormula(c.X().formula, shift, name_, false);
                if (shifted != c.X().formula) {
                    if (RawAttr(c.X().fAttrs, "t") == "shared") other->Unshare();
                    c.X().formula = std::move(shifted);
                    touched = true;
                }
            }
        if (touched) other->Touch();
    }
    pugi::xml_node names = Child(book_.workbookXml_->document_element(), "definedNames");
    for (pugi::xml_node n = names.first_child(); n; n = n.next_sibling()) {
        std::string text = n.text().get();
        std::string shifted = ShiftFormula(text, shift, name_, false);
        if (shifted != text) {
            n.text().set(shifted.c_str());
            book_.TouchWorkbook();
        }
    }
    // Merges, hyperlinks, conditional formats and validations by their ranges.
    auto mapList = [&](std::string_view listName, std::string_view itemName, std::string_view attr) {
        pugi::xml_node list = Child(Root(), listName);
        for (pugi::xml_node item = list.first_child(); item;) {
            pugi::xml_node next = item.next_sibling();
            if (LocalName(item) == itemName) {
                std::string mapped = MapSqref(Attr(item, attr).value(), shift);
                if (mapped.empty()) {
                    if (std::string id = Attr(item, "id").value(); !id.empty() && itemName == "hyperlink")
                        book_.GetPackage().RemoveRelationship(part_, id);
                    list.remove_child(item);
                } else {
                    Attr(item, attr).set_value(mapped.c_str());
                }
            }
            item = next;
        }
        if (list && !Child(list, itemName)) Root().remove_child(list);
        else if (pugi::xml_attribute count = list.attribute("count")) {
            int n = 0;
            for (pugi::xml_node item = list.first_child(); item; item = item.next_sibling()) n += LocalName(item) == itemName;
            count.set_value(n);
        }
    };
    mapList("mergeCells", "mergeCell", "ref");
    mapList("hyperlinks", "hyperlink", "ref");
    mapList("dataValidations", "dataValidation", "sqref");
    for (pugi::xml_node cf = Child(Root(), "conditionalFormatting"); cf;) {
        pugi::xml_node next = cf.next_sibling();
        if (LocalName(cf) == "conditionalFormatting") {
            std::string mapped = MapSqref(Attr(cf, "sqref").value(), shift);
            if (mapped.empty()) Root().remove_child(cf);
            else Attr(cf, "sqref").set_value(mapped.c_str());
        }
        cf = next;
    }
    std::vector<StoredNote> notes;
    for (StoredNote& n : data_->notes) {
        if (n.column >= shift.firstColumn && n.column <= shift.lastColumn) {
            n.row = shift.Map(n.row);
            if (n.row == 0) continue;
        }
        notes.push_back(std::move(n));
    }
    std::stable_sort(notes.begin(), notes.end(), [](const StoredNote& a, const StoredNote& b) {
        return a.row != b.row ? a.row < b.row : a.column < b.column;
    });
    if (!data_->notes.empty()) notesChanged_ = true;
    data_->notes = std::move(notes);
    // Cached results of moved formulas are stale until the program calculates again.
    book_.SetRecalculateOnOpen(true);
    TouchCells();
}

void Worksheet::RenameInFormulas(std::string_view from, std::string_view to) {
    if (kind_ != SheetKind::Worksheet || !Load()) return;
    for (auto& [rowNo, row] : data_->rows)
        for (Cell& c : row.cells) {
            if (!c.hasFormula || c.X().formula.empty() || base::FindNoCase(c.X().formula, from) == std::string::npos) continue;
            std::string renamed = RenameSheetInFormula(c.X().formula, from, to);
            if (renamed != c.X().formula) {
                c.X().formula = std::move(renamed);
                Touch();
            }
        }
}

void Worksheet::InsertRows(int row, int count) {
    if (row < 1 || row > kMaxRow) return;
    Shift(RowShift{row, count, true, 1, kMaxColumn});
}

void Worksheet::DeleteRows(int row, int count) {
    if (row < 1 || row > kMaxRow) return;
    Shift(RowShift{row, std::min(count, kMaxRow - row + 1), false, 1, kMaxColumn});
}

void Worksheet::InsertCellsDown(const CellRange& range) {
    if (!range.IsValid()) return;
    Shift(RowShift{range.firstRow, range.lastRow - range.firstRow + 1, true, range.firstColumn, range.lastColumn});
}

void Worksheet::DeleteCellsUp(const CellRange& range) {
    if (!range.IsValid()) return;
    Shift(RowShift{range.firstRow, range.lastRow - range.firstRow + 1, false, range.firstColumn, range.lastColumn});
}

}  // namespace xl
