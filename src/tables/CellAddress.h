#pragma once
// The A1 address codec every worksheet address passes through. Rows and columns count from 1.
// It knows one- and two-letter columns only, and its parsers are fixed-offset scanners of the
// absolute form "$A$1", not a grammar; the callers rely on exactly these answers, odd ones
// included, so they stand as they are.
#include <string>
#include <string_view>
#include <vector>

namespace tables {

// The last row of a worksheet.
inline constexpr int kLastWorksheetRow = 1048576;

// "A".."Z", "AA".."ZZ"; a column below 1 gives "A". There is no third letter: 703 gives "[A"
// (the column pickers offer 1 to 675, which keeps such columns out).
std::string ColumnLetters(int column);

// A decimal number (leading blanks and sign as the C runtime's atoi) above 0 is the column
// itself; otherwise one or two letters without regard to case ("ab" is 28, "ABC" is 28 too);
// text that starts with no letter gives that non-positive number ("" gives 0, "-2" gives -2).
int ColumnNumber(std::string_view text);
// A null text gives 0.
int ColumnNumber(const char* text);

// "$C$7"; a row or column below 1 shows "The row index and column index should be a positive
// number." and gives "".
std::string AbsoluteCell(int row, int column);

// Reads the cell before the colon of "$AB$10:$AC$11" as it stands: lower-case letters are not
// folded ("$a$1" is column 33) and a third letter goes wrong ("$XFD$1" is true with row 0).
// The digit form "$5" writes the row and gives false.
bool ParseFirstCell(std::string_view address, int& row, int& column);
// The same scan behind the first colon, which "$" must follow at once ("$A$1:B2" gives false).
bool ParseSecondCell(std::string_view address, int& row, int& column);
// True for a valid absolute cell or range, letters of either case; "$5" gives false.
bool IsCellAddress(std::string_view address);
// Upper-cases `address` in place, then reads its first cell.
bool ParseCellUpper(std::string& address, int& row, int& column);
// Reads only the row of one cell, "$A$3" or the entire-row form "$3" (which must be above 0).
bool ParseRowOfCell(std::string_view address, int& row);
// Reads one cell or a two-cell range; one cell gives lastRow == firstRow; "" gives false.
bool ParseRowSpan(std::string_view address, int& firstRow, int& lastRow);
// Reads a selection address ("$A$2:$C$4,$A$7" or "$3:$5") into its rows in the order met,
// duplicates kept; rows below 1 or past 1,048,576 and reversed ranges are left out. "" gives no
// rows and true; a token that can't be read is left out and makes the result false.
bool ParseRowList(std::string_view address, std::vector<int>& rows);
// The text before the first colon past the first character, or "" without one.
std::string LeftOfRange(std::string_view address);
// The text behind the first colon past the first character, or "" without one.
std::string RightOfRange(std::string_view address);

}  // namespace tables
