#include "xl/CellRef.h"

#include <algorithm>
#include <charconv>

namespace xl {

std::string ColumnName(int column) {
    if (column < 1 || column > kMaxColumn) return {};
    std::string out;
    while (column > 0) {
        int rem = (column - 1) % 26;
        out.insert(out.begin(), static_cast<char>('A' + rem));
        column = (column - 1) / 26;
    }
    return out;
}

std::string CellName(int row, int column, bool absolute) {
    std::string out;
    if (absolute) out += '$';
    out += ColumnName(column);
    if (absolute) out += '$';
    out += std::to_string(row);
    return out;
}

void AppendCellName(std::string& out, int row, int column) {
    char letters[4];
    int n = 0;
    if (column >= 1 && column <= kMaxColumn)
        for (int c = column; c > 0; c = (c - 1) / 26) letters[n++] = static_cast<char>('A' + (c - 1) % 26);
    while (n > 0) out += letters[--n];
    char digits[16];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, row).ptr);
}

std::string RangeName(const CellRange& range, bool absolute) {
    std::string out = CellName(range.firstRow, range.firstColumn, absolute);
    if (range.lastRow != range.firstRow || range.lastColumn != range.firstColumn)
        out += ":" + CellName(range.lastRow, range.lastColumn, absolute);
    return out;
}

namespace {

bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Digits only from `i` to the end, as a number from 1 to kMaxRow.
bool ParseRowDigits(std::string_view text, std::size_t i, int& row) {
    long r = 0;
    std::size_t digits = 0;
    for (; i < text.size(); ++i) {
        if (!IsDigit(text[i]) || ++digits > 7) return false;
        r = r * 10 + (text[i] - '0');
    }
    if (digits == 0 || r < 1 || r > kMaxRow) return false;
    row = static_cast<int>(r);
    return true;
}

// One parser for both forms, so that they differ only in the dollars.
bool ParseCellText(std::string_view text, bool dollars, int& row, int& column) {
    std::size_t i = 0;
    if (dollars && i < text.size() && text[i] == '$') ++i;
    long col = 0;
    std::size_t letters = 0;
    for (; i < text.size() && IsLetter(text[i]); ++i) {
        if (++letters > 3) return false;
        col = col * 26 + ((text[i] & ~0x20) - 'A' + 1);
    }
    if (letters == 0 || col > kMaxColumn) return false;
    if (dollars && i < text.size() && text[i] == '$') ++i;
    int r = 0;
    if (!ParseRowDigits(text, i, r)) return false;
    row = r;
    column = static_cast<int>(col);
    return true;
}

}  // namespace

bool ParseCell(std::string_view text, int& row, int& column) {
    return ParseCellText(text, true, row, column);
}

bool ParseCellName(std::string_view text, int& row, int& column) {
    return ParseCellText(text, false, row, column);
}

bool ParseRowNumber(std::string_view text, int& row) { return ParseRowDigits(text, 0, row); }

CellRange ParseRange(std::string_view text) {
    CellRange r;
    std::size_t colon = text.find(':');
    std::string_view a = text.substr(0, colon);
    std::string_view b = colon == std::string_view::npos ? a : text.substr(colon + 1);
    if (!ParseCell(a, r.firstRow, r.firstColumn) || !ParseCell(b, r.lastRow, r.lastColumn)) return {};
    if (r.firstRow > r.lastRow) std::swap(r.firstRow, r.lastRow);
    if (r.firstColumn > r.lastColumn) std::swap(r.firstColumn, r.lastColumn);
    return r;
}

}  // namespace xl
