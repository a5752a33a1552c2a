#include "xl/FormulaRefs.h"

#include <cctype>
#include <functional>

#include "base/Text.h"

namespace xl {

int RowShift::Map(int r) const {
    if (insert) return r >= row ? (r + count > kMaxRow ? 0 : r + count) : r;
    if (r < row) return r;
    if (r < row + count) return 0;
    return r - count;
}

bool RowShift::MapArea(int& first, int& last) const {
    if (insert) {
        if (first >= row) first = std::min(first + count, kMaxRow);
        if (last >= row) last = std::min(last + count, kMaxRow);
        return true;
    }
    int d1 = row, d2 = row + count - 1;
    if (first >= d1 && last <= d2) return false;
    int f = first < d1 ? first : (first > d2 ? first - count : d1);
    int l = last < d1 ? last : (last > d2 ? last - count : d1 - 1);
    first = f;
    last = l;
    return true;
}

CellRange RowShift::MapRange(const CellRange& range) const {
    if (range.firstColumn < firstColumn || range.lastColumn > lastColumn) {
        bool touches = range.lastColumn >= firstColumn && range.firstColumn <= lastColumn;
        if (touches && range.lastRow >= row) return range;  // straddles the moved block: keep
        return range;
    }
    CellRange out = range;
    if (!MapArea(out.firstRow, out.lastRow)) return {};
    return out;
}

namespace {

bool IsNameChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' || c == '\\' ||
           static_cast<unsigned char>(c) >= 0x80;
}

// One reference part: $?COL$?ROW, or just a row or a column in row/column ranges.
struct Part {
    bool absCol = false, absRow = false;
    int col = 0, row = 0;
};

// Parses a cell part at `i`; `wantCol`/`wantRow` say which pieces must be present.
bool ParsePart(std::string_view f, std::size_t& i, Part& p, bool wantCol, bool wantRow) {
    std::size_t k = i;
    if (wantCol) {
        if (k < f.size() && f[k] == '$') { p.absCol = true; ++k; }
        std::size_t start = k;
        long col = 0;
        while (k < f.size() && std::isalpha(static_cast<unsigned char>(f[k])) && k - start < 4) {
            col = col * 26 + (std::toupper(static_cast<unsigned char>(f[k])) - 'A' + 1);
            ++k;
        }
        if (k == start || k - start > 3 || col > kMaxColumn) return false;
        p.col = static_cast<int>(col);
    }
    if (wantRow) {
        if (k < f.size() && f[k] == '$') { p.absRow = true; ++k; }
        std::size_t start = k;
        long row = 0;
        while (k < f.size() && std::isdigit(static_cast<unsigned char>(f[k])) && k - start < 8) {
            row = row * 10 + (f[k] - '0');
            ++k;
        }
        if (k == start || row < 1 || row > kMaxRow) return false;
        p.row = static_cast<int>(row);
    }
    i = k;
    return true;
}

std::string PartText(const Part& p, bool col, bool row) {
    std::string out;
    if (col) out += (p.absCol ? "$" : "") + ColumnName(p.col);
    if (row) out += (p.absRow ? "$" : "") + std::to_string(p.row);
    return out;
}

enum class Kind { Cell, Area, Rows, Columns };

// Walks the references of a formula, outside strings, giving each one (with its sheet prefix,
// "" when unqualified) to `edit`, which returns the replacement text or "" to keep it.
std::string Walk(std::string_view f,
                 const std::function<std::string(std::string_view sheet, Kind, Part&, Part&, bool&)>& edit) {
    std::string out;
    std::size_t i = 0;
    while (i < f.size()) {
        char c = f[i];
        if (c == '"') {
            std::size_t end = i + 1;
            while (end < f.size()) {
                if (f[end] == '"') {
                    if (end + 1 < f.size() && f[end + 1] == '"') { end += 2; continue; }
                    break;
                }
                ++end;
            }
            out += f.substr(i, end + 1 - i);
            i = end + 1;
            continue;
        }
        bool boundary = i == 0 || !(IsNameChar(f[i - 1]) || f[i - 1] == '$' || f[i - 1] == ']' || f[i - 1] == '!' || f[i - 1] == '\'');
        if (!boundary) {
            out += c;
            ++i;
            continue;
        }
        // Optional sheet prefix: 'quoted name'! or Name!; external [1]Book refs are left alone.
        std::size_t k = i;
        std::string sheet;
        std::string_view prefixText;
        if (c == '\'') {
            std::size_t end = i + 1;
            while (end < f.size()) {
                if (f[end] == '\'') {
                    if (end + 1 < f.size() && f[end + 1] == '\'') { sheet += '\''; end += 2; continue; }
                    break;
                }
                sheet += f[end++];
            }
            if (end + 1 < f.size() && f[end + 1] == '!') {
                k = end + 2;
            } else {
                out += f.substr(i, end + 1 - i);
                i = end + 1;
                continue;
            }
        } else if (c == '[') {
            std::size_t end = f.find(']', i);
            if (end == std::string_view::npos) end = f.size() - 1;
            out += f.substr(i, end + 1 - i);
            i = end + 1;
            // Whatever follows belongs to another workbook: copy the name and its reference.
            while (i < f.size() && (IsNameChar(f[i]) || f[i] == '!' || f[i] == '$' || f[i] == ':')) out += f[i++];
            continue;
        } else {
            std::size_t end = i;
            while (end < f.size() && IsNameChar(f[end])) ++end;
            if (end < f.size() && f[end] == '!' && end > i) {
                sheet = std::string(f.substr(i, end - i));
                k = end + 1;
            }
        }
        prefixText = f.substr(i, k - i);
        // The reference itself.
        Part a, b;
        Kind kind;
        std::size_t j = k;
        std::size_t save = j;
        bool parsed = false;
        if (ParsePart(f, j, a, true, true)) {
            std::size_t afterFirst = j;
            if (j < f.size() && f[j] == ':' && (++j, ParsePart(f, j, b, true, true))) {
                kind = Kind::Area;
            } else {
                j = afterFirst;
                kind = Kind::Cell;
            }
            parsed = true;
        } else if (j = save, a = Part{}, ParsePart(f, j, a, false, true) && j < f.size() && f[j] == ':' &&
                   (++j, ParsePart(f, j, b, false, true))) {
            kind = Kind::Rows;
            parsed = true;
        } else if (j = save, a = Part{}, b = Part{}, ParsePart(f, j, a, true, false) && j < f.size() && f[j] == ':' &&
                   (++j, ParsePart(f, j, b, true, false))) {
            kind = Kind::Columns;
            parsed = true;
        }
        // A name such as LOG10( or A1B is no reference.
        if (parsed && j < f.size() && (IsNameChar(f[j]) || f[j] == '(' || f[j] == '!')) parsed = false;
        if (!parsed) {
            if (k > i) {
                out += prefixText;
                i = k;
            } else {
                // Copy the whole name so that its tail isn't taken for a reference.
                std::size_t end = i;
                while (end < f.size() && (IsNameChar(f[end]) || f[end] == '$')) ++end;
                if (end == i) end = i + 1;
                out += f.substr(i, end - i);
                i = end;
            }
            continue;
        }
        bool deleted = false;
        std::string replaced = edit(sheet, kind, a, b, deleted);
        if (deleted) {
            out += "#REF!";
        } else if (replaced.empty()) {
            out += f.substr(i, j - i);
        } else {
            out += prefixText;
            out += replaced;
        }
        i = j;
    }
    return out;
}

}  // namespace

std::string ShiftFormula(std::string_view formula, const RowShift& shift, std::string_view sheetName, bool onSheet) {
    return Walk(formula, [&](std::string_view sheet, Kind kind, Part& a, Part& b, bool& deleted) -> std::string {
        bool mine = sheet.empty() ? onSheet : base::EqualNoCase(sheet, sheetName);
        if (!mine || kind == Kind::Columns) return {};
        if (kind == Kind::Cell) {
            if (a.col < shift.firstColumn || a.col > shift.lastColumn) return {};
            int r = shift.Map(a.row);
            if (r == 0) {
                deleted = true;
                return {};
            }
            a.row = r;
            return PartText(a, true, true);
        }
        int c1 = kind == Kind::Rows ? 1 : a.col, c2 = kind == Kind::Rows ? kMaxColumn : b.col;
        if (c1 < shift.firstColumn || c2 > shift.lastColumn) return {};
        int first = std::min(a.row, b.row), last = std::max(a.row, b.row);
        if (!shift.MapArea(first, last)) {
            deleted = true;
            return {};
        }
        a.row = first;
        b.row = last;
        bool cols = kind == Kind::Area;
        return PartText(a, cols, true) + ":" + PartText(b, cols, true);
    });
}

std::string QuoteSheetName(std::string_view name) {
    bool plain = !name.empty() && !std::isdigit(static_cast<unsigned char>(name[0]));
    for (char c : name) plain = plain && (std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' || static_cast<unsigned char>(c) >= 0x80);
    // A name that reads as a cell (A1, R1C1) must be quoted too.
    int r, c;
    if (plain && ParseCell(name, r, c)) plain = false;
    if (plain) return std::string(name);
    std::string out = "'";
    for (char ch : name) {
        out += ch;
        if (ch == '\'') out += '\'';
    }
    return out + "'";
}

std::string RenameSheetInFormula(std::string_view f, std::string_view from, std::string_view to) {
    std::string out;
    std::size_t i = 0;
    while (i < f.size()) {
        char c = f[i];
        if (c == '"') {
            std::size_t end = i + 1;
            while (end < f.size() && !(f[end] == '"' && (end + 1 >= f.size() || f[end + 1] != '"'))) end += f[end] == '"' ? 2 : 1;
            out += f.substr(i, end + 1 - i);
            i = end + 1;
            continue;
        }
        bool boundary = i == 0 || !(IsNameChar(f[i - 1]) || f[i - 1] == ']');
        if (boundary && c == '\'') {
            std::string name;
            std::size_t end = i + 1;
            while (end < f.size()) {
                if (f[end] == '\'') {
                    if (end + 1 < f.size() && f[end + 1] == '\'') { name += '\''; end += 2; continue; }
                    break;
                }
                name += f[end++];
            }
            if (end + 1 < f.size() && f[end + 1] == '!' && base::EqualNoCase(name, from)) out += QuoteSheetName(to);
            else out += f.substr(i, std::min(end + 1, f.size()) - i);
            i = end + 1;
            continue;
        }
        if (boundary && IsNameChar(c)) {
            std::size_t end = i;
            while (end < f.size() && IsNameChar(f[end])) ++end;
            std::string_view name = f.substr(i, end - i);
            if (end < f.size() && f[end] == '!' && base::EqualNoCase(name, from)) out += QuoteSheetName(to);
            else out += name;
            i = end;
            continue;
        }
        out += c;
        ++i;
    }
    return out;
}

std::string TranslateFormula(std::string_view formula, int rows, int columns) {
    return Walk(formula, [&](std::string_view, Kind kind, Part& a, Part& b, bool& deleted) -> std::string {
        auto move = [&](Part& p, bool col, bool row) {
            if (col && !p.absCol) p.col += columns;
            if (row && !p.absRow) p.row += rows;
            if ((col && (p.col < 1 || p.col > kMaxColumn)) || (row && (p.row < 1 || p.row > kMaxRow))) deleted = true;
        };
        bool col = kind != Kind::Rows, row = kind != Kind::Columns;
        move(a, col, row);
        if (kind != Kind::Cell) move(b, col, row);
        if (deleted) return {};
        std::string out = PartText(a, col, row);
        if (kind != Kind::Cell) out += ":" + PartText(b, col, row);
        return out;
    });
}

}  // namespace xl
