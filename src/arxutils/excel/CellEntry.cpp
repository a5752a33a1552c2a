#include "arxutils/excel/CellEntry.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "arxutils/excel/AutomationError.h"
#include "arxutils/excel/ExcelObjects.h"
#include "xl/NumberFormat.h"

namespace arxutils::excel {

bool WholeRows(const xl::CellRange& r) { return r.firstColumn == 1 && r.lastColumn == xl::kMaxColumn; }
bool WholeColumns(const xl::CellRange& r) { return r.firstRow == 1 && r.lastRow == xl::kMaxRow; }

bool ParseArea(std::string_view text, xl::CellRange& out) {
    text = std::string_view(text.data(), text.size());
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    if (text.empty()) return false;
    out = xl::ParseRange(text);
    if (out.IsValid()) return true;
    std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return false;
    auto strip = [](std::string_view s) {
        if (!s.empty() && s.front() == '$') s.remove_prefix(1);
        return s;
    };
    std::string_view a = strip(text.substr(0, colon)), b = strip(text.substr(colon + 1));
    auto number = [](std::string_view s, int& n) {
        auto [p, ec] = std::from_chars(s.data(), s.data() + s.size(), n);
        return ec == std::errc() && p == s.data() + s.size() && n >= 1 && n <= xl::kMaxRow;
    };
    int r1 = 0, r2 = 0;
    if (number(a, r1) && number(b, r2)) {
        out = {std::min(r1, r2), 1, std::max(r1, r2), xl::kMaxColumn};
        return true;
    }
    int c1 = 0, c2 = 0, row = 0;
    if (xl::ParseCell(std::string(a) + "1", row, c1) && xl::ParseCell(std::string(b) + "1", row, c2)) {
        out = {1, std::min(c1, c2), xl::kMaxRow, std::max(c1, c2)};
        return true;
    }
    return false;
}

bool ParseAreas(std::string_view text, std::vector<xl::CellRange>& areas) {
    areas.clear();
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t comma = text.find(',', start);
        if (comma == std::string_view::npos) comma = text.size();
        xl::CellRange area;
        if (!ParseArea(text.substr(start, comma - start), area)) return false;
        areas.push_back(area);
        start = comma + 1;
    }
    return !areas.empty();
}

std::string AreasName(const std::vector<xl::CellRange>& areas, bool rowAbs, bool colAbs) {
    std::string out;
    for (const xl::CellRange& a : areas) {
        if (!out.empty()) out += ',';
        auto cell = [&](int row, int column) {
            return (colAbs ? "$" : "") + xl::ColumnName(column) + (rowAbs ? "$" : "") + std::to_string(row);
        };
        if (WholeRows(a)) {
            out += (rowAbs ? "$" : "") + std::to_string(a.firstRow) + ":" + (rowAbs ? "$" : "") + std::to_string(a.lastRow);
        } else if (WholeColumns(a)) {
            out += (colAbs ? "$" : "") + xl::ColumnName(a.firstColumn) + ":" + (colAbs ? "$" : "") + xl::ColumnName(a.lastColumn);
        } else {
            out += cell(a.firstRow, a.firstColumn);
            if (a.lastRow != a.firstRow || a.lastColumn != a.firstColumn) out += ":" + cell(a.lastRow, a.lastColumn);
        }
    }
    return out;
}

bool IsPlainNumber(std::string_view text, double& value) {
    if (text.empty() || text.size() > 32) return false;
    char c = text.front();
    if (!(c == '-' || c == '.' || (c >= '0' && c <= '9'))) return false;
    auto [p, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || p != text.data() + text.size() || !std::isfinite(value)) return false;
    return xl::FormatGeneral(value) == text;
}

xl::CellRange ItemArea(const xl::CellRange& a, RangeMode mode, int row, int column) {
    auto fail = [] { throw AutomationError(kErrApplication, "Unable to get the Item property of the Range class"); };
    if (mode == RangeMode::Rows) {
        int r = a.firstRow + row - 1;
        if (r < 1 || r > xl::kMaxRow) fail();
        return {r, a.firstColumn, r, a.lastColumn};
    }
    if (mode == RangeMode::Columns) {
        int c = a.firstColumn + row - 1;
        if (c < 1 || c > xl::kMaxColumn) fail();
        return {a.firstRow, c, a.lastRow, c};
    }
    int r = a.firstRow + row - 1, c = a.firstColumn + column - 1;
    if (r < 1 || r > xl::kMaxRow || c < 1 || c > xl::kMaxColumn) fail();
    return {r, c, r, c};
}

xl::CellRange ResizedArea(const xl::CellRange& a, int rows, int columns) {
    xl::CellRange r{a.firstRow, a.firstColumn, a.firstRow + rows - 1, a.firstColumn + columns - 1};
    if (rows < 1 || columns < 1 || r.lastRow > xl::kMaxRow || r.lastColumn > xl::kMaxColumn)
        throw AutomationError(kErrApplication, "Application-defined or object-defined error");
    return r;
}

long AreaCount(const std::vector<xl::CellRange>& areas, RangeMode mode) {
    const xl::CellRange& first = areas.front();
    if (mode == RangeMode::Rows) return first.lastRow - first.firstRow + 1;
    if (mode == RangeMode::Columns) return first.lastColumn - first.firstColumn + 1;
    long n = 0;
    for (const xl::CellRange& a : areas)
        n += static_cast<long>(a.lastRow - a.firstRow + 1) * (a.lastColumn - a.firstColumn + 1);
    return n;
}

bool FindInOrder(const xl::CellRange& a, int searchOrder, int searchDirection,
                 const std::function<bool(int row, int column)>& hit, int& foundRow, int& foundColumn) {
    int rows = a.lastRow - a.firstRow + 1, columns = a.lastColumn - a.firstColumn + 1;
    long total = static_cast<long>(rows) * columns;
    for (long i = 0; i < total; ++i) {
        long k = searchDirection == xlPrevious ? total - 1 - i : i;
        int r = searchOrder == xlByColumns ? static_cast<int>(k % rows) : static_cast<int>(k / columns);
        int c = searchOrder == xlByColumns ? static_cast<int>(k / rows) : static_cast<int>(k % columns);
        if (hit(r, c)) {
            foundRow = r;
            foundColumn = c;
            return true;
        }
    }
    return false;
}

}  // namespace arxutils::excel
