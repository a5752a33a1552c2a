#pragma once
// The one connection to the spreadsheet application for the whole module, and every operation
// on its worksheet: attach, start, open, choose from the running workbooks, read ranges (four
// roads), write staged blocks, queue formats. Every command connects, works and disconnects;
// the state is static and used from one thread.
//
// Failures of the object model are handled per operation: one that the application raised is
// shown (ReportOleError) and the operation gives false; one from an interface below it gives
// false in silence, for the command to show.

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "arxutils/KeyLines.h"
#include "arxutils/excel/ExcelObjects.h"

namespace tables {
class CStringTable;
}
namespace cad {
struct UnitSettings;
}

namespace arxutils {

// A date as days since 1899-12-30; `valid` false when a text could not be read as a date.
struct OleDateTime {
    double days = 0;
    bool valid = false;
};

class ExcelUtils {
public:
    using StringMap = std::map<std::string, std::string>;

    // The connection; empty when not connected.
    static std::unique_ptr<excel::Application> Application;
    static std::unique_ptr<excel::Workbook> Workbook;
    static std::unique_ptr<excel::Worksheet> Worksheet;
    // The leading number of Application.Version; 0 when disconnected.
    static int ExcelVersion;
    // Set when the window walk of VelmarTest found a workbook window.
    static bool WindowFound;
    // Why the last attach failed; the label of the workbook chooser.
    static std::string LastError;

    // Connection.

    // Attaches the running instance and, with a path, opens that workbook in it; true without
    // a workbook too (Workbook and Worksheet stay empty when none is open).
    static bool ConnectToExcel(bool makeVisible, const std::string& workbookPath = {},
                               int updateLinks = excel::kUpdateLinksDefault,
                               int readOnly = excel::kReadOnlyDefault);
    // A new instance; true even when bringing it to the front fails.
    static bool StartExcel(bool makeVisible);
    // Adds a workbook when none is open and attaches the active one; false without instance.
    static bool EnsureWorkbook();
    // Adds a workbook and attaches it; false without instance.
    static bool AddWorkbook();
    // True when Workbook is now that file: an open one of the same full path (any case) is
    // taken; another of the same file name refuses with the application's box.
    static bool OpenWorkbook(const std::string& path, int updateLinks = excel::kUpdateLinksDefault,
                             int readOnly = excel::kReadOnlyDefault);
    // OpenWorkbook, then the sheet by name (false when absent) and the cell selected.
    static bool OpenWorkbookAt(const std::string& path, const std::string& sheetName,
                               const std::string& cellAddress, int updateLinks = excel::kUpdateLinksDefault,
                               int readOnly = excel::kReadOnlyDefault);
    // Releases Worksheet, Workbook, then Application; the workbooks stay open in the instance.
    static void Disconnect();
    // The workbook chooser with `message` as its label; attaches what was chosen.
    static bool ChooseFromRunningObjects(const std::string& message);
    // Appends every display name of the running object table; false when there is no table.
    static bool ListRunningObjects(std::vector<std::string>& names);
    // The attached instance's main window; 0 when none.
    static std::intptr_t FindExcelWindow();
    // Application.Version, starting an instance for the moment (and ending it) when none runs.
    static bool GetExcelVersionText(std::string& out);
    // The diagnostic command: finds the main window, attaches, walks the workbook windows,
    // prints the running objects and their failure lines, runs the chooser, disconnects.
    static void VelmarTest();

    // Reading.

    // Cell by cell into `table` (RangeAddress = address); a hidden row reads as empty strings
    // unless `textOnly`. False only on a failure; a range with a corner below 1 reads nothing.
    static bool ReadCellsSlow(tables::CStringTable& table, const std::string& address, bool textOnly);
    // ReadCellsSlow reading only the rows of `selectedRows` ("$A$2:$C$4,$7"); the other rows
    // are rows of empty strings. `expectedRows` above 0 only reserves room.
    static bool ReadCellsSelected(tables::CStringTable& table, const std::string& address,
                                  const std::string& selectedRows, int expectedRows, bool textOnly);
    // The range in one fetch: numbers as drawing text with trailing zeros dropped; a Boolean,
    // date or error adds no cell at all, so the rest of its row moves left (a lone one fails).
    // RangeAddress stays.
    static bool ReadValues(tables::CStringTable& table, const std::string& address);
    static bool ReadValues(tables::CStringTable& table, const std::string& firstCell, const std::string& lastCell);
    // Each key line of each comment ("_" past the first character; ":" too unless
    // `ignoreProperties`) with its cell's displayed text, added to `lines` (also those read
    // before a comment fails).
    static bool ReadCommentAndText(KeyLines& lines, bool ignoreProperties);
    // Adds the lines of one comment that name an attribute ("_" past the first character) or,
    // unless `ignoreProperties`, a property (":"), each with the text its cell shows; the cell is
    // read once, and not at all when no line qualifies. Throws the object model's error.
    static void AddKeyLines(excel::Comment& comment, KeyLines& lines, bool ignoreProperties);
    // Key comments by "Sheet:$A$1": their text and their cell's value (through ReadValues).
    static bool ReadComments(StringMap& mapComment, StringMap& mapValue);
    // The selection in A1 form ("$A$1:$B$3"); "" without one.
    static std::string SelectionAddress();
    // Activates each worksheet of the active workbook in turn and calls `read`, stopping at the
    // first false, then makes the sheet active before active again; false when a sheet couldn't
    // be activated or read.
    static bool ForEachWorksheet(const std::function<bool()>& read);
    // Appends the names of the active workbook's worksheets.
    static bool WorksheetNames(std::vector<std::string>& names);
    // Shows, activates and attaches the sheet; false when there is none of that name / index.
    static bool ActivateSheet(const std::string& name);
    static bool ActivateSheet(int index);
    // Activates the sheet or adds one of that name.
    static bool AddOrActivateSheet(const std::string& name);
    // A built-in document property as text ("" when the property is empty).
    static bool ReadDocumentProperty(const std::string& name, std::string& value);
    // The present time for a workbook never saved; else its "Last Save Time" (invalid when it
    // can't be read as a date).
    static bool LastSaveTime(excel::Workbook& workbook, OleDateTime& out);
    // Geometry of a cell, in points; 0 on a failure.
    static double RowHeight(int row, int column);
    static double RowTop(int row, int column);
    static double ColumnLeft(int row, int column);
    static double ColumnWidth(int row, int column);

    // Writing.

    // A rows x columns staging array of empty texts; false if either is below 1.
    static bool CreateStagingArray(int rows, int columns);
    // Zero-based; a cell outside the array is dropped in silence.
    static void PutStagedCell(std::string_view value, int row, int column);
    // Sends the array in one assignment from `topLeftAddress` and destroys it. True when there
    // was nothing to send, false otherwise (callers ignore it).
    static bool FlushStaging(const std::string& topLeftAddress, bool clearComments, bool deleteHyperlinks);
    // One cell through Cells.Item.
    static bool SetCellValue(int row, int column, const std::string& value);
    // Replaces the comment of a cell.
    static bool SetComment(const std::string& address, const std::string& text);

    // Queue a cell or rectangle; false if a number is below 1. AddFont without flags queues
    // nothing and gives true.
    static bool AddFont(int firstRow, int firstColumn, int lastRow, int lastColumn, bool bold, bool italic);
    static bool AddHorizontal(int firstRow, int firstColumn, int lastRow, int lastColumn, int value);
    static bool AddVertical(int firstRow, int firstColumn, int lastRow, int lastColumn, int value);
    static bool AddInterior(int firstRow, int firstColumn, int lastRow, int lastColumn, int colourIndex);
    static bool AddWrap(int firstRow, int firstColumn, int lastRow, int lastColumn);
    // Apply and empty a queue, 20 addresses to a call.
    static bool ApplyFonts();
    static bool ApplyHorizontal();
    static bool ApplyVertical();
    static bool ApplyInterior();
    static bool ApplyWrap();
    // The pieces a queue is sent in: at every 20th comma the text so far, then the tail.
    static std::vector<std::string> AddressBatches(const std::string& list);
    // At once, on one address.
    static bool SetFont(const std::string& address, bool bold, bool italic);
    static bool SetHorizontal(const std::string& address, int value);
    static bool SetVertical(const std::string& address, int value);
    static bool SetInterior(const std::string& address, int colourIndex);
    static bool SetWrap(const std::string& address);
    // Weight, line style and (unless -4105, automatic) colour of one edge; always false.
    static bool SetBorder(const std::string& address, int edge, int weight, int lineStyle, int colourIndex);
    // Merges with the application's alerts off; false if a number is below 1.
    static bool MergeRange(int firstRow, int firstColumn, int lastRow, int lastColumn);
    static bool AutoFitColumn(int column);
    static bool AutoFitColumns(const std::string& address);
    static bool AutoFitUsedColumns();
    static bool AutoFitRows(const std::string& address);
    static bool AutoFitUsedRows();
    // Inserts a cell at row, column, moving the others by `shift` (xlShiftDown, xlShiftToRight).
    static bool InsertAt(int row, int column, int shift);
    // Deletes the rows in the order given (each delete moves the rows below up) and prints a
    // line for each.
    static bool DeleteRows(const std::vector<long>& rows);
    static bool SetEditDirectlyInCell(bool flag);
    // Writes "r%dc%d" into each cell; without a worksheet it says so.
    static bool FillTestPattern(int rows, int columns);

    // The drawing settings numbers are read with; null puts the defaults of a new drawing back.
    static void SetDrawingUnits(cad::UnitSettings* units);
    // The same, asked of `source` when a number is first read, so a drawing read on first use
    // is not read for a command that reads no numbers.
    static void SetDrawingUnitsSource(std::function<cad::UnitSettings()> source);

    // The pending format queues.
    static std::string PendingBold, PendingItalic, PendingWrap;
    static std::map<int, std::string> PendingHorizontal, PendingVertical, PendingInterior;
};

// Brackets a long write: DisplayAlerts and EditDirectlyInCell are read and cleared and
// Interactive cleared; at the end EditDirectlyInCell is restored, Interactive set and
// DisplayAlerts restored, in that order, on every road out. Does nothing without Application.
class ScopedExcelWriting {
public:
    ScopedExcelWriting();
    ~ScopedExcelWriting();
    ScopedExcelWriting(const ScopedExcelWriting&) = delete;
    ScopedExcelWriting& operator=(const ScopedExcelWriting&) = delete;

private:
    bool active_ = false;
    bool displayAlerts_ = true;
    bool editDirectlyInCell_ = true;
};

}  // namespace arxutils
