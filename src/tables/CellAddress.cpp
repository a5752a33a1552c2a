#include "tables/CellAddress.h"

#include <algorithm>
#include <climits>

#include "tables/CTextTokenizer.h"
#include "base/Text.h"
#include "host/Ui.h"

namespace tables {
namespace {

char32_t At(const std::u32string& text, std::size_t pos) {
    return pos < text.size() ? text[pos] : U'\0';
}

bool IsLetter(char32_t c) { return (c >= U'A' && c <= U'Z') || (c >= U'a' && c <= U'z'); }
bool IsDigit(char32_t c) { return c >= U'0' && c <= U'9'; }
char32_t UpperAscii(char32_t c) { return c >= U'a' && c <= U'z' ? c - 32 : c; }

// The number at `pos` as the C runtime's atoi reads it: leading blanks, a sign, digits, the rest
// ignored; nothing readable gives 0 and an overflow gives the nearest int.
int ReadNumber(const std::u32string& text, std::size_t pos) {
    while (pos < text.size() && (text[pos] == U' ' || (text[pos] >= U'\t' && text[pos] <= U'\r')))
        ++pos;
    bool negative = false;
    if (pos < text.size() && (text[pos] == U'+' || text[pos] == U'-'))
        negative = text[pos++] == U'-';
    long long value = 0;
    for (; pos < text.size() && IsDigit(text[pos]); ++pos) {
        value = value * 10 + (text[pos] - U'0');
        if (value > static_cast<long long>(INT_MAX) + 1) break;
    }
    if (negative) value = -value;
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

// The cell scan shared by the parsers; `p` is the position of the "$" that starts the cell.
bool ScanCell(const std::u32string& text, std::size_t p, int& row, int& column) {
    const char32_t first = At(text, p + 1);
    if (IsLetter(first)) {
        column = static_cast<int>(first) - 64;
        const char32_t second = At(text, p + 2);
        if (second == U'$') {
            row = ReadNumber(text, p + 3);
            return true;
        }
        if (IsLetter(second)) {
            column = column * 26 - 64 + static_cast<int>(second);
            // p+3 is skipped unread: it is meant to be the "$", so "$XFD$1" reads "$1" as 0.
            row = ReadNumber(text, p + 4);
            return true;
        }
        return false;
    }
    if (IsDigit(first)) row = ReadNumber(text, p + 1);  // "$5": the row is kept, still false
    return false;
}

// A colon at the very start doesn't split a range.
std::size_t RangeColon(std::string_view address) { return address.find(':', 1); }

}  // namespace

std::string ColumnLetters(int column) {
    if (column < 1) return "A";
    std::string letters;
    if (column >= 27) base::AppendUtf8(letters, static_cast<char32_t>(64 + (column - 1) / 26));
    letters += static_cast<char>('A' + (column - 1) % 26);
    return letters;
}

int ColumnNumber(std::string_view text) {
    const std::u32string chars = base::ToCodePoints(text);
    const int number = ReadNumber(chars, 0);
    if (number > 0) return number;
    const char32_t first = At(chars, 0);
    if (!IsLetter(first)) return number;
    const int high = static_cast<int>(UpperAscii(first)) - 64;
    const char32_t second = At(chars, 1);
    if (!IsLetter(second)) return high;
    return high * 26 + (static_cast<int>(UpperAscii(second)) - 64);
}

int ColumnNumber(const char* text) { return text ? ColumnNumber(std::string_view(text)) : 0; }

std::string AbsoluteCell(int row, int column) {
    if (row < 1 || column < 1) {
        host::ShowMessage("The row index and column index should be a positive number.", "Velmar");
        return {};
    }
    return "$" + ColumnLetters(column) + "$" + std::to_string(row);
}

bool ParseFirstCell(std::string_view address, int& row, int& column) {
    const std::u32string text = base::ToCodePoints(address);
    const std::size_t p = text.find(U'$');
    return p != std::u32string::npos && ScanCell(text, p, row, column);
}

bool ParseSecondCell(std::string_view address, int& row, int& column) {
    const std::u32string text = base::ToCodePoints(address);
    const std::size_t colon = text.find(U':');
    if (colon == std::u32string::npos || At(text, colon + 1) != U'$') return false;
    return ScanCell(text, colon + 1, row, column);
}

bool IsCellAddress(std::string_view address) {
    int row = 0;
    int column = 0;
    // Both calls write the same numbers, so only the second cell of a range is judged here.
    if (ParseFirstCell(address, row, column) && ParseSecondCell(address, row, column) &&
        row >= 1 && column > 0)
        return true;
    const std::u32string upper = base::ToCodePoints(base::ToUpper(address));
    const std::size_t p = upper.find(U'$');
    row = 0;
    column = 0;
    return p != std::u32string::npos && ScanCell(upper, p, row, column) && row >= 1 &&
           column >= 1;
}

bool ParseCellUpper(std::string& address, int& row, int& column) {
    address = base::ToUpper(address);
    return ParseFirstCell(address, row, column);
}

bool ParseRowOfCell(std::string_view address, int& row) {
    const std::u32string text = base::ToCodePoints(address);
    const std::size_t p = text.find(U'$');
    if (p == std::u32string::npos) return false;
    if (IsLetter(At(text, p + 1))) {
        const char32_t second = At(text, p + 2);
        if (second == U'$') {
            row = ReadNumber(text, p + 3);
            return true;
        }
        if (IsLetter(second)) {
            row = ReadNumber(text, p + 4);
            return true;
        }
        return false;
    }
    row = ReadNumber(text, p + 1);
    return row > 0;
}

bool ParseRowSpan(std::string_view address, int& firstRow, int& lastRow) {
    if (address.empty()) return false;
    const std::size_t colon = RangeColon(address);
    if (colon != std::string_view::npos)
        return ParseRowOfCell(address.substr(0, colon), firstRow) &&
               ParseRowOfCell(address.substr(colon + 1), lastRow);
    if (!ParseRowOfCell(address, firstRow)) return false;
    lastRow = firstRow;
    return true;
}

bool ParseRowList(std::string_view address, std::vector<int>& rows) {
    rows.clear();
    bool allRead = true;
    CTextTokenizer tokenizer(address, ", ");
    std::string token;
    while (tokenizer.Next(token)) {
        int firstRow = 0;
        int lastRow = 0;
        const std::size_t colon = RangeColon(token);
        if (colon == std::string::npos) {
            if (!ParseRowOfCell(token, firstRow)) {
                allRead = false;
                continue;
            }
            lastRow = firstRow;
        } else {
            const std::string_view right = std::string_view(token).substr(colon + 1);
            if (right.empty() || right.front() != '$' ||
                !ParseRowOfCell(std::string_view(token).substr(0, colon), firstRow) ||
                !ParseRowOfCell(right, lastRow)) {
                allRead = false;
                continue;
            }
        }
        // Rows below 1 are left out, and so are rows past the last one a worksheet has: no
        // selection holds them, and "$1:$2147483647" must not fill the memory.
        for (int row = std::max(firstRow, 1); row <= std::min(lastRow, kLastWorksheetRow); ++row)
            rows.push_back(row);
    }
    return allRead;
}

std::string LeftOfRange(std::string_view address) {
    const std::size_t colon = RangeColon(address);
    return colon == std::string_view::npos ? std::string() : std::string(address.substr(0, colon));
}

std::string RightOfRange(std::string_view address) {
    const std::size_t colon = RangeColon(address);
    return colon == std::string_view::npos ? std::string() : std::string(address.substr(colon + 1));
}

}  // namespace tables
