#pragma once
// One sheet of a workbook: its cells, notes, formats, merges, hyperlinks, columns and rows.
// The sheet part is read on first use; only sheets that were changed are written again.
// A Worksheet belongs to its Workbook and stays valid as long as the workbook lives.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Status.h"
#include "base/TextBlocks.h"
#include "xl/CellRef.h"
#include "xl/Styles.h"

namespace pugi {
class xml_document;
class xml_node;
}

namespace xl {

class DeflateStream;
class Workbook;
class XmlScanner;
struct RowShift;
struct StoredNote;

enum class SheetState { Visible, Hidden, VeryHidden };
enum class SheetKind { Worksheet, Chartsheet, Dialogsheet, Macrosheet };
enum class CellType { Empty, Number, String, Boolean, Error };

// A cell's value: a formula cell gives its cached value and its formula.
struct CellValue {
    CellType type = CellType::Empty;
    double number = 0;        // numbers; booleans as 0 or 1
    std::string text;         // strings, and error texts such as "#N/A"
    std::string formula;      // without the leading "="; "" when the cell has none
};

// A note (legacy comment) and the cell it belongs to.
struct Note {
    int row = 0, column = 0;
    std::string author;
    std::string text;         // plain text; runs of a rich note joined
};

// A cell's new value, for writing a row of cells at once (Worksheet::SetRow): a number, a
// string (an empty one empties the cell) or nothing (the cell is emptied, its style kept).
struct CellWrite {
    enum class Kind : std::uint8_t { Empty, Number, String };
    Kind kind = Kind::Empty;
    double number = 0;
    std::string_view text;

    static CellWrite Number(double value) { return {Kind::Number, value, {}}; }
    static CellWrite String(std::string_view value) { return {Kind::String, 0, value}; }
    // Whether the cell is left with a value.
    bool HasValue() const {
        return kind == Kind::Number || (kind == Kind::String && !text.empty());
    }
};

// One hyperlink cell range and where it points.
struct Hyperlink {
    CellRange range;
    std::string target;       // file path or URL; "" for a link inside the workbook
    std::string location;     // the place inside the workbook ("Sheet2!A1"), or ""
};

class Worksheet {
public:
    ~Worksheet();
    Worksheet(const Worksheet&) = delete;
    Worksheet& operator=(const Worksheet&) = delete;

    // The tab name.
    const std::string& Name() const { return name_; }
    SheetKind Kind() const { return kind_; }
    SheetState State() const { return state_; }
    // The part that holds the sheet ("xl/worksheets/sheet1.xml").
    const std::string& PartName() const { return part_; }
    // Hides or shows the sheet; hiding the last visible sheet is refused.
    base::Status SetState(SheetState state);
    // Why the sheet part could not be read; Ok once read (an unread sheet is read here).
    base::Status Load();

    // Every reader below gives nothing (Empty, "", no rows) for a sheet that can't be read, so
    // call Load() first and stop on its error: it names the part, the cell and what is wrong.
    //
    // The value of a cell; Empty outside the used cells. A cell sharing another's formula gives
    // that formula as it reads from the cell.
    CellValue Value(int row, int column);
    // What the cell shows: its value through its number format ("" for empty cells).
    std::string Text(int row, int column);
    // The writers below refuse, with nothing changed, what the spreadsheet program refuses or
    // what would lose data: a sheet that Load() can't read, a cell outside the sheet, a cell of
    // an array formula or data table of several cells (see PrepareWrite). A shared formula whose
    // first cell is written moves to the next cell of its range, so the others keep it.
    //
    // Writes a string (shared, deduplicated); the cell keeps its style, loses its formula; an
    // empty string empties the cell. Also refused while the shared-string table can't be read.
    base::Status SetString(int row, int column, std::string_view text);
    // Writes a number; the cell keeps its style, loses its formula.
    base::Status SetNumber(int row, int column, double value);
    // Writes a formula (without "="); the cached value is dropped, so the program computes it.
    base::Status SetFormula(int row, int column, std::string_view formula);
    // Empties a cell's value but keeps its style.
    base::Status ClearValue(int row, int column);
    // Writes cells of a row from `firstColumn` on, one value each, as SetNumber, SetString and
    // ClearValue would one by one, and refused as they are, with nothing changed.
    base::Status SetRow(int row, int firstColumn, std::span<const CellWrite> values);
    // Readies a range to be written cell by cell: refused ("cannot change part of an array")
    // when it covers part of an array formula or data table; the array formulas and data tables
    // it covers whole go, and shared formulas starting inside it move to their first cell outside
    // it. Call it before writing a block that may hold a whole array; single writes call it for
    // their own cell.
    base::Status PrepareWrite(const CellRange& range);
    // Values of a rectangle, row by row, in one pass; it holds rows x columns entries, so ask
    // for the filled part (LastFilledRow/Column), not a whole-sheet range.
    std::vector<std::vector<CellValue>> Values(const CellRange& range);
    // Displayed texts of a rectangle, row by row.
    std::vector<std::vector<std::string>> Texts(const CellRange& range);
    // The used range as the spreadsheet computes it: cells with values or formats, merges;
    // A1:A1 for an empty sheet.
    CellRange UsedRange();
    // The last row / column holding a value or formula (what Find("*") from the end gives); 0
    // for a sheet without values.
    int LastFilledRow();
    int LastFilledColumn();

    // Why the sheet's notes can't be read (its comments part damaged or missing, or the sheet
    // itself unreadable); Ok when they were read or there are none. The readers below give no
    // notes then, and SetNote refuses. A sheet not read yet is read too, its comments part on a
    // second thread meanwhile.
    base::Status LoadNotes();
    // Every note with its cell, in row then column order.
    std::vector<Note> Notes();
    // The cells (row, column) of every note in the same order, without copying their texts.
    std::vector<std::pair<int, int>> NoteCells();
    // The note of a cell, or nullptr; the note stays valid until the next NoteAt() call.
    const Note* NoteAt(int row, int column);
    // The plain text of a cell's note without copying it, or none when the cell has none; the
    // view stays valid while the notes are held (until a load). Asked in note order, each costs
    // constant time.
    std::optional<std::string_view> NoteText(int row, int column);
    // The same text with a share in the blocks that hold it, so that it stays readable after
    // the sheet lets its notes go (a load, an unload, the workbook closed).
    std::optional<base::SharedCounted> SharedNoteText(int row, int column);
    // Adds or replaces the note of a cell; refused while the notes can't be read.
    base::Status SetNote(int row, int column, std::string_view text, std::string_view author = "");
    // Deletes the note of a cell; false when it had none.
    bool DeleteNote(int row, int column);
    // Deletes the notes in a range; gives how many there were.
    int ClearNotes(const CellRange& range);

    // The format of a cell.
    CellFormat Format(int row, int column);
    // Applies a format change to every cell of a range (empty cells get a styled entry).
    void ApplyFormat(const CellRange& range, const StyleChange& change);
    // Sets one edge of the range's outline (or every cell's edge for inside edges).
    void SetBorder(const CellRange& range, BorderEdge edge, const BorderLine& line);

    // Merges a range (values outside its top-left cell are kept as the file had them);
    // refuses a range that overlaps another merge.
    base::Status Merge(const CellRange& range);
    // The merged range holding the cell, or the cell itself.
    CellRange MergeArea(int row, int column);
    std::vector<CellRange> Merges();

    // Adds a hyperlink on a cell to a URL or file path (a path is made a file link).
    void AddHyperlink(int row, int column, std::string_view target);
    std::vector<Hyperlink> Hyperlinks();
    // Removes the hyperlinks that intersect a range; gives how many.
    int DeleteHyperlinks(const CellRange& range);

    // Column width in characters of the default font; the sheet default when not set.
    double ColumnWidth(int column);
    void SetColumnWidth(int column, double width);
    // Sets the widths of columns from the texts they show (as AutoFit does); empty columns stay.
    void AutoFitColumns(int firstColumn, int lastColumn);
    // Row height in points; 0 for a hidden row.
    double RowHeight(int row);
    void SetRowHeight(int row, double points);
    bool IsRowHidden(int row);
    void SetRowHidden(int row, bool hidden);
    // Grows rows to fit wrapped texts and drops custom heights of the others.
    void AutoFitRows(int firstRow, int lastRow);
    // Distance of a column's left edge / a row's top edge from A1, in points.
    double ColumnLeft(int column);
    double RowTop(int row);
    // A column's width in points.
    double ColumnWidthPoints(int column);

    // Inserts `count` rows before `row`; everything below moves down (values, styles, merges,
    // notes, hyperlinks, and formula references in every sheet). Rows pushed past the last
    // sheet row are lost.
    void InsertRows(int row, int count);
    // Deletes `count` rows from `row`; everything below moves up, references to them become #REF!.
    void DeleteRows(int row, int count);
    // Inserts cells at a range, moving the cells below in its columns down.
    void InsertCellsDown(const CellRange& range);
    // Deletes the cells of a range, moving the cells below in its columns up.
    void DeleteCellsUp(const CellRange& range);

    // The saved selection ("A1:B3 D4") and active cell ("A1") of the sheet's first view.
    std::string Selection();
    std::string ActiveCell();
    void Select(const CellRange& range, int activeRow, int activeColumn);

    // True when the sheet was changed since opening. A tab selected and deselected again, as by
    // going through the sheets, is no change.
    bool IsChanged() const { return changed_ || tabSelected_ != tabSelectedAsRead_; }
    // Gives back the memory of an unchanged sheet's cells and notes; they are read again from
    // the package on their next use. False (and nothing done) for a changed sheet.
    bool Unload();
    // What reading the sheet repaired as spreadsheet programs repair it on opening (cell
    // references in lower case), each said once: the list is handed out and emptied.
    std::vector<std::string> TakeRepairs() { return std::move(repairs_); }

private:
    friend class Workbook;
    struct Cell;
    struct Row;
    struct Data;
    struct ArrayFormula {
        CellRange range;
        int row, column;  // the cell holding the formula
        bool dataTable;
    };
    Worksheet(Workbook& book, std::string name, std::string part, SheetKind kind);
    Row* FindRow(int row);
    Cell* FindCell(int row, int column);
    Cell& MakeCell(int row, int column);
    Row& MakeRow(int row);
    // An empty cell as the program makes it in a row: with the row's style, else the column's.
    Cell NewCell(const Row& row, int column);
    CellValue ValueOf(const Cell& cell) const;
    const StoredNote* FindNote(int row, int column);
    std::string TextOf(const Cell& cell) const;
    void Touch();
    // Touch for a change of cells or merges, which the used range follows.
    void TouchCells();
    CellRange FindUsedRange();
    void IndexFormulas();
    std::string FormulaOf(int row, const Cell& cell);
    void DropFormula(Cell& cell);
    void MoveSharedMaster(int masterRow, Cell& master, const CellRange& written);
    void SetTabSelected(bool selected);
    pugi::xml_node Root();
    // The <cols> element, or an empty node when the sheet has none.
    pugi::xml_node Cols();
    base::Status ReadRows(XmlScanner& scanner, const std::string& label);
    base::Status SaveTo(DeflateStream& sheetXml);
    // The notes held; 0 when the sheet isn't loaded.
    std::size_t NoteCount() const;
    // Writes the notes' parts. `meanwhile` runs once on this thread while the notes' drawing is
    // made on another (or on its own when there are no notes to write), unless the notes fail
    // before; its status is the result once the notes are written.
    base::Status SaveNotes(const std::function<base::Status()>& meanwhile);
    // Once the sheet and its notes are written to the package, takes the parts for what the
    // sheet is, as if just read from them, and gives back the memory of its cells and notes.
    void KeepOnlyWritten();
    void Shift(const RowShift& shift);
    void Unshare();
    void RenameInFormulas(std::string_view from, std::string_view to);

    Workbook& book_;
    std::string name_;
    std::string part_;
    std::string relId_;
    SheetKind kind_;
    SheetState state_ = SheetState::Visible;
    bool loaded_ = false;
    bool changed_ = false;
    // The tab's selection as the sheet was read and as it is now, known once it was set; an
    // unloaded sheet is read again as it was, so they stay known.
    bool tabKnown_ = false;
    bool tabSelectedAsRead_ = false;
    bool tabSelected_ = false;
    std::vector<std::string> repairs_;
    bool notesChanged_ = false;
    base::Status loadStatus_;
    std::unique_ptr<Data> data_;
};

}  // namespace xl
