#include "arxutils/excel/CellEntry.h"

#include <algorithm>
#include <charconv>
#include <cmath>

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

}  // namespace arxutils::excel
