#pragma once
// What every backend of the object model reads the same way: addresses as the application
// takes them, and how a text written into a cell is entered.

#include <string>
#include <string_view>
#include <vector>

#include "xl/CellRef.h"

namespace arxutils::excel {

// True for a range of whole rows ("3:5").
bool WholeRows(const xl::CellRange& r);
// True for a range of whole columns ("C:D").
bool WholeColumns(const xl::CellRange& r);
// One area of an address: "B3", "$B$3:C9", "3:5", "$C:$D"; false for anything else.
bool ParseArea(std::string_view text, xl::CellRange& out);
// The areas of "A1,B2:B9" in their order; false when one of them is not an area.
bool ParseAreas(std::string_view text, std::vector<xl::CellRange>& areas);
// The A1 form of areas, joined by ","; the flags put the dollars in.
std::string AreasName(const std::vector<xl::CellRange>& areas, bool rowAbs, bool colAbs);
// A text the user would want to add up is stored as a number: a plain number whose General
// display gives back the very text. False for anything else, which stays the text it is.
bool IsPlainNumber(std::string_view text, double& value);

}  // namespace arxutils::excel
