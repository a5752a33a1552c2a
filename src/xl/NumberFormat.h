#pragma once
// The displayed text of a cell value through a number format, as a spreadsheet shows it:
// General, the built-in formats and custom format codes.

#include <string>
#include <string_view>

namespace xl {

// The format code of a built-in number format id (the en-US forms); "" for an unknown id.
std::string BuiltinFormatCode(int id);
// `value` through `code` ("General", "0.00", "[Red]#,##0;(#,##0)", "yyyy-mm-dd"...). Dates
// count from 1900-01-00 (with the 1900 leap-year bug) or from 1904-01-01 when `date1904`.
// A value a date format can't show (negative, too large) gives a row of "#".
std::string FormatNumber(double value, std::string_view code, bool date1904 = false);
// A text through the text section of `code` (the 4th, or an `@` section); the text itself when
// the code has none.
std::string FormatText(std::string_view text, std::string_view code);
// General as a cell shows it: up to 11 significant digits, scientific when too long.
std::string FormatGeneral(double value);
// True when the code shows dates or times (so cells with it hold dates).
bool IsDateFormat(std::string_view code);

}  // namespace xl
