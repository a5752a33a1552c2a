#pragma once
// Native tables (ACAD_TABLE): their grid, cell texts and blocks, and the cell style each row
// takes from the table style (title, header, data), read from the table's own cell data; new
// tables, and the anonymous block of lines and texts that programs without tables show.

#include <string>
#include <vector>

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/Entity.h"

namespace cad {

class TableStyle;

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

// The tags of a cell value holding `text` as AutoCAD writes them from 2007 on, between
// "301 CELL_VALUE" and "304 ACVALUE_END": a string value, or an empty value for "".
TagList TableCellValueTags(std::string_view text);

// One cell's new text, for writing many at once.
struct TableCellText {
    int row = 0;
    int column = 0;
    std::string text;
};

// An ACAD_TABLE. Cells are counted from 0, row by row. Reads outside the grid give empty
// values; the view reads the entity each time, so it follows edits. Every edit of the cells
// or the grid draws the table's block anew, so the block always shows what the cells hold.
class Table : public Entity {
public:
    using Entity::Entity;

    // Makes a table of text cells in `space` at `position` with `style`, one column for each of
    // `columnWidths`, its row heights from the style's text heights, holding `texts` (cells
    // outside the grid are passed over, the others stay empty), with a new anonymous block
    // ("*T<n>"). With `titleRow` the first row is one cell across all columns. Fails before
    // AutoCAD 2007 (AC1021), whose tables keep their cells in another form, and for an empty grid.
    static base::Result<Table> Create(BlockRecord space, const TableStyle& style, int rows,
                                      const std::vector<double>& columnWidths, Point3 position, bool titleRow,
                                      const std::vector<TableCellText>& texts = {});

    // The number of rows (91) and columns (92) of the table's own data; 0 when missing.
    int Rows() const;
    int Columns() const;
    // The row heights (141) and column widths (142) in order.
    std::vector<double> RowHeights() const;
    std::vector<double> ColumnWidths() const;
    // The table style (342); a null view when missing.
    Object Style() const;
    // The insertion point (10): the table's upper left corner.
    Point3 Position() const { return GetPoint(10); }
    // Moves the table; its block's content is relative to this point and stays as it is.
    void SetPosition(Point3 position) { SetPoint(10, position, "AcDbBlockReference"); }
    // The anonymous block that draws the table (2); a null view when missing.
    BlockRecord Block() const;

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
    // True for a cell that a merged neighbour covers (173); its text isn't shown.
    bool IsMergedAway(int row, int column) const;
    // Sets a text cell's text and draws the block anew; an equal text writes nothing. Fails
    // outside the grid and for block cells.
    base::Status SetCellText(int row, int column, std::string_view text);
    // Sets many cells and draws the block once; stops at the first cell that fails.
    base::Status SetCellTexts(const std::vector<TableCellText>& cells);
    // Empties the text cells of the range (inclusive, clipped to the grid) and draws the block.
    void ClearCells(int firstRow, int firstColumn, int lastRow, int lastColumn);
    // Sets the width of a column (142) and draws the block; fails outside the grid or for a
    // width that isn't positive.
    base::Status SetColumnWidth(int column, double width);
    // Sets the number of rows: rows beyond it go, new rows are empty text cells like the last
    // row's; draws the block. Fails for fewer than 1 row.
    base::Status SetRowCount(int rows);
    // Removes `count` rows from `first` on; fails when that leaves no row or leaves the grid.
    base::Status DeleteRows(int first, int count);
    // Marks the table as having no title row (its own 280 override), as a table whose title
    // row was deleted has: its first row then takes the header's style.
    void SuppressTitle();
    // Draws the anonymous block anew from the cells: the grid's lines (none inside a merged
    // cell) and one multi-line text per non-empty text cell, placed by its alignment inside its
    // cell; row heights grow to fit one line of their text height. A table without a block
    // has nothing drawn.
    base::Status RegenerateBlock();

private:
    // The index of each cell's first tag (171), row by row; fewer when the data is short.
    std::vector<std::size_t> CellStarts() const;
    // The tag after a cell's last one; `dataEnd` is OwnDataEnd(), found here when not given
    // (loops over the cells give it: finding it reads the whole entity).
    std::size_t CellEnd(std::size_t begin, std::size_t dataEnd = std::string::npos) const;
    // Writes a cell's text without drawing the block.
    base::Status WriteCellText(std::size_t begin, std::size_t end, int row, int column, std::string_view text);
    // The style of a row's kind as its table style gives it.
    TableCellStyle RowStyle(int row) const;
    // `style` with the overrides of the cell whose tags are [begin, end).
    TableCellStyle CellStyleAt(TableCellStyle style, std::size_t begin, std::size_t end) const;
    // The text of the cell whose tags are [begin, end).
    std::string CellTextAt(std::size_t begin, std::size_t end) const;
    // The heights of the rows as the block draws them (141, grown to fit their text).
    std::vector<double> FittedRowHeights() const;
    // Where the table's own subclass starts (100 "AcDbTable"); 1 when there is none.
    std::size_t TableData() const;
    std::size_t FindInTable(int code) const;
    // The index of the cell's first tag (171) and of the tag after its last; false outside.
    bool CellRange(int row, int column, std::size_t& begin, std::size_t& end) const;
    // The index of the tag holding the cell's text (302 of a cell value, else 1); npos when none.
    std::size_t CellTextTag(std::size_t begin, std::size_t end) const;
};

}  // namespace cad
