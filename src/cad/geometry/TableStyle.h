#pragma once
// Table styles (TABLESTYLE): the text heights, text styles, alignments and cell margins that a
// table's rows take when the table itself says nothing, and which style a drawing has current.

#include <string>

#include "base/Status.h"

#include "cad/Object.h"

namespace cad {

class Database;
enum class TableRowKind;

// A TABLESTYLE object. Its three cell sections stand in the order AutoCAD writes them: data,
// title, header; a section missing from the file reads as AutoCAD's metric defaults.
class TableStyle : public Object {
public:
    using Object::Object;

    // The drawing's current table style: the CTABLESTYLE drawing variable (AutoCAD keeps it in
    // the variable dictionary from 2007 on), else "Standard", else the first style; a null view
    // when the drawing has no table style at all.
    static TableStyle Current(Database& db);
    // Makes the "Standard" table style AutoCAD gives every new drawing, metric or imperial by
    // $MEASUREMENT, in the ACAD_TABLESTYLE dictionary (made when missing); returns the one there
    // when it exists. Fails before AutoCAD 2007 (AC1021), whose drawings get no tables here.
    static base::Result<TableStyle> AddStandard(Database& db);

    // The style's name (3).
    std::string Name() const { return GetText(3); }
    // The text height of a row kind (140 of its section); 0 when the style doesn't say.
    double TextHeight(TableRowKind kind) const;
    // The text style name of a row kind (7 of its section); "Standard" when missing.
    std::string TextStyleName(TableRowKind kind) const;
    // The alignment of a row kind (170: 1 top left ... 9 bottom right); 0 when missing.
    int Alignment(TableRowKind kind) const;
    // The horizontal (40) and vertical (41) cell margins.
    double HorizontalMargin() const { return GetReal(40, 0.06); }
    double VerticalMargin() const { return GetReal(41, 0.06); }
    // True when the style leaves out the title row (280) or the header row (281).
    bool SuppressesTitle() const;
    bool SuppressesHeader() const;

private:
    // The value of `code` in the section of `kind`; "" when the section or the code is missing.
    std::string SectionValue(TableRowKind kind, int code) const;
};

}  // namespace cad
