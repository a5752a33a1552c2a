#pragma once
// Native tables (ACAD_TABLE): their grid, cell texts and blocks, and the cell style each row
// takes from the table style (title, header, data), read from the table's own cell data.

#include <string>
#include <vector>

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/Entity.h"

namespace cad {

// The kind of a row as the table style sees it.
enum class TableRowKind { Title, Header, Data };

// The look of a cell: its style's name ("_TITLE", "_HEADER", "_DATA") and what the table
// style or the cell itself sets.
struct TableCellStyle {
    std::string name;
    std::string textStyle;   // "Standard" when nothing says otherwise
    double textHeight = 0;   // 0 when nothing says
    int alignment = 0;       // 1 top left ... 9 bottom right; 0 when nothing says
};

// An ACAD_TABLE. Cells are counted from 0, row by row. Reads outside the grid give empty
// values; the view reads the entity each time, so it follows edits.
class Table : public Entity {
public:
    using Entity::Entity;

    // The number of rows (91) and columns (92) of the table's own data; 0 when missing.
    int Rows() const;
    int Columns() const;
    // The row heights (141) and column widths (142) in order.
    std::vector<double> RowHeights() const;
    std::vector<double> ColumnWidths() const;
    // The table style (342); a null view when missing.
    Object Style() const;

    // Title for the first row unless the style or the table suppresses titles, header for
    // the next unless headers are suppressed, data otherwise.
    TableRowKind RowType(int row) const;
    // The style of the cell's row with the cell's own text style, height and alignment.
    TableCellStyle CellStyle(int row, int column) const;
    // 1 for a text cell, 2 for a block cell; 0 outside the grid.
    int CellType(int row, int column) const;
    // The cell's text with its formatting codes; "" for block cells and outside the grid.
    std::string CellText(int row, int column) const;
    // The cell's text without formatting codes.
    std::string CellPlainText(int row, int column) const;
    // The block of a block cell; a null view otherwise.
    BlockRecord CellBlock(int row, int column) const;
    // Sets a text cell's text (what the table shows is redrawn by the program that opens it
    // next); an equal text writes nothing. Fails outside the grid and for block cells.
    base::Status SetCellText(int row, int column, std::string_view text);

private:
    // Where the table's own subclass starts (100 "AcDbTable"); 1 when there is none.
    std::size_t TableData() const;
    std::size_t FindInTable(int code) const;
    // The index of the cell's first tag (171) and of the tag after its last; false outside.
    bool CellRange(int row, int column, std::size_t& begin, std::size_t& end) const;
    // The index of the tag holding the cell's text (302 of a cell value, else 1); npos when none.
    std::size_t CellTextTag(std::size_t begin, std::size_t end) const;
};

}  // namespace cad
