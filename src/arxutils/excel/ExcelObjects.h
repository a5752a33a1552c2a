#pragma once
// The spreadsheet application's object model as the bridge uses it: Application, Workbooks,
// Workbook, Worksheets, Worksheet, Range, Comments, Comment, Font, Interior, Borders, Border,
// Hyperlinks and the built-in document properties. Abstract: a backend (the workbook files of
// the run, or a live spreadsheet program) stands behind it, and nothing above knows which.
//
// Every member may throw AutomationError. An object result is a handle of its own; "Nothing"
// is a null pointer. Rows and columns count from 1, as in the application.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "arxutils/excel/Variant.h"
#include "base/TextBlocks.h"

namespace arxutils::excel {

class Application;
class Workbooks;
class Workbook;
class Worksheets;
class Worksheet;
class Range;
class Comments;
class Comment;
class Font;
class Interior;
class Borders;
class Border;
class Hyperlinks;
class DocumentProperties;

// Constants of the calls.
constexpr int xlA1 = 1;                     // Range.Address reference style
constexpr int xlByRows = 1;                 // Range.Find search order
constexpr int xlByColumns = 2;
constexpr int xlNext = 1;                   // Range.Find search direction
constexpr int xlPrevious = 2;
constexpr int xlColorIndexAutomatic = -4105;  // Border.ColorIndex left automatic, not sent
constexpr int xlColorIndexNone = -4142;
constexpr int xlNone = -4142;
constexpr int xlGeneral = 1;                // alignments
constexpr int xlLeft = -4131;
constexpr int xlCenter = -4108;
constexpr int xlRight = -4152;
constexpr int xlFill = 5;
constexpr int xlJustify = -4130;
constexpr int xlCenterAcrossSelection = 7;
constexpr int xlDistributed = -4117;
constexpr int xlTop = -4160;
constexpr int xlBottom = -4107;
constexpr int xlDiagonalDown = 5;           // Borders.Item edges
constexpr int xlDiagonalUp = 6;
constexpr int xlEdgeLeft = 7;
constexpr int xlEdgeTop = 8;
constexpr int xlEdgeBottom = 9;
constexpr int xlEdgeRight = 10;
constexpr int xlInsideVertical = 11;
constexpr int xlInsideHorizontal = 12;
constexpr int xlContinuous = 1;             // Border.LineStyle
constexpr int xlDash = -4115;
constexpr int xlDashDot = 4;
constexpr int xlDashDotDot = 5;
constexpr int xlDot = -4118;
constexpr int xlDouble = -4119;
constexpr int xlSlantDashDot = 13;
constexpr int xlLineStyleNone = -4142;
constexpr int xlHairline = 1;               // Border.Weight
constexpr int xlThin = 2;
constexpr int xlMedium = -4138;
constexpr int xlThick = 4;
constexpr int xlShiftDown = -4121;          // Range.Insert / Delete
constexpr int xlShiftToRight = -4161;
constexpr int xlShiftUp = -4162;
constexpr int xlShiftToLeft = -4159;
constexpr int kUpdateLinksDefault = 1;      // Workbooks.Open
constexpr int kReadOnlyDefault = 0;

// Invocation kinds of the call by name.
constexpr int DISPATCH_METHOD = 1;
constexpr int DISPATCH_PROPERTYGET = 2;
constexpr int DISPATCH_PROPERTYPUT = 4;

// What every object of the model is: something that can also be called by member name.
class Dispatch {
public:
    virtual ~Dispatch() = default;
    // The member id of `name` (without regard to case); kErrUnknownName when there is none.
    virtual std::int32_t GetIDOfName(std::string_view name, long& id);
    // Calls member `id`; a failure code instead of an exception, as a raw dispatch call gives.
    virtual std::int32_t Invoke(long id, int flags, std::vector<Variant>& args, Variant* result);
};

class Application : public Dispatch {
public:
    virtual std::unique_ptr<Workbooks> GetWorkbooks() = 0;
    // Nothing when no workbook is open.
    virtual std::unique_ptr<Workbook> ActiveWorkbook() = 0;
    // Nothing when no workbook is open.
    virtual std::unique_ptr<Worksheet> ActiveSheet() = 0;
    // Nothing when no workbook is open.
    virtual std::unique_ptr<Range> ActiveCell() = 0;
    // The selected cells of the active sheet; Nothing when no workbook is open.
    virtual std::unique_ptr<Range> Selection() = 0;
    // "16.0" and the like.
    virtual std::string Version() = 0;
    virtual bool GetVisible() = 0;
    virtual void SetVisible(bool visible) = 0;
    virtual std::string GetCaption() = 0;
    // An empty caption puts the application's own back.
    virtual void SetCaption(std::string_view caption) = 0;
    // The main window; 0 when the application has none.
    virtual std::intptr_t Hwnd() = 0;
    virtual bool GetDisplayAlerts() = 0;
    virtual void SetDisplayAlerts(bool on) = 0;
    virtual bool GetEditDirectlyInCell() = 0;
    virtual void SetEditDirectlyInCell(bool on) = 0;
    virtual void SetInteractive(bool on) = 0;
    // Ends the instance; its workbooks close without saving.
    virtual void Quit() = 0;
};

class Workbooks : public Dispatch {
public:
    virtual int Count() = 0;
    // From 1; kErrBadIndex outside.
    virtual std::unique_ptr<Workbook> Item(int index) = 0;
    // A new empty workbook, which becomes the active one.
    virtual std::unique_ptr<Workbook> Add() = 0;
    // Opens a file or address as given (no rewriting of "https://" paths); it becomes the
    // active workbook. Fails with the application's text when the file can't be opened.
    virtual std::unique_ptr<Workbook> Open(const std::string& fileName, int updateLinks, int readOnly) = 0;
};

class Workbook : public Dispatch {
public:
    // "Book1.xlsx", or "Book1" for a workbook never saved.
    virtual std::string Name() = 0;
    // The path with the name; just the name for a workbook never saved.
    virtual std::string FullName() = 0;
    // The folder; "" for a workbook never saved.
    virtual std::string Path() = 0;
    virtual std::unique_ptr<Application> GetApplication() = 0;
    // Nothing for a workbook without worksheets.
    virtual std::unique_ptr<Worksheet> ActiveSheet() = 0;
    virtual std::unique_ptr<Worksheets> GetWorksheets() = 0;
    virtual std::unique_ptr<DocumentProperties> BuiltinDocumentProperties() = 0;
    virtual void RefreshAll() = 0;
    // Makes this the active workbook of its instance.
    virtual void Activate() = 0;
    // Closes the workbook without saving it (SaveChanges:=False): its changes are dropped. The
    // workbook that was opened before it becomes the active one (Nothing when none is left);
    // this object and the sheets and ranges taken from it must not be used afterwards.
    virtual void Close() = 0;
};

// The built-in document properties ("Title", "Author", "Last Save Time"...).
class DocumentProperties : public Dispatch {
public:
    // The value of the property `name`: a date for the date properties, otherwise text; an
    // unset property fails as the application's does.
    virtual Variant Item(std::string_view name) = 0;
};

class Worksheets : public Dispatch {
public:
    virtual int Count() = 0;
    // From 1; kErrBadIndex outside.
    virtual std::unique_ptr<Worksheet> Item(int index) = 0;
    // By name without regard to case; kErrBadIndex when there is none.
    virtual std::unique_ptr<Worksheet> Item(std::string_view name) = 0;
    // A new worksheet before the active one, which it becomes.
    virtual std::unique_ptr<Worksheet> Add() = 0;
};

class Worksheet : public Dispatch {
public:
    virtual std::string GetName() = 0;
    // Fails for a name the application refuses (taken, too long, ":\/?*[]").
    virtual void SetName(std::string_view name) = 0;
    // -1 visible, 0 hidden, 2 very hidden.
    virtual void SetVisible(int state) = 0;
    virtual void Activate() = 0;
    virtual std::unique_ptr<Application> GetApplication() = 0;
    // "A1", "$A$1:$C$9", "A1,B2:B9", "3:5", "C:D"; the application's failure otherwise.
    virtual std::unique_ptr<Range> GetRange(std::string_view address) = 0;
    // The rectangle spanned by two cells.
    virtual std::unique_ptr<Range> GetRange(std::string_view cell1, std::string_view cell2) = 0;
    // Every cell of the sheet; Item(row, column) picks one.
    virtual std::unique_ptr<Range> Cells() = 0;
    virtual std::unique_ptr<Range> UsedRange() = 0;
    virtual std::unique_ptr<Comments> GetComments() = 0;
    // Every column / row of the sheet; Item(n) picks one.
    virtual std::unique_ptr<Range> Columns() = 0;
    virtual std::unique_ptr<Range> Rows() = 0;
};

class Range : public Dispatch {
public:
    // The default member: one cell's value, or an array for more than one cell (the first
    // area's).
    virtual Variant GetValue() = 0;
    // A single value fills every cell; an array fills from the top-left cell, as far as both go.
    // A text is stored as the application's cell entry takes it.
    virtual void SetValue(const Variant& value) = 0;
    // The cell at `row`, `column` from the range's top-left (both from 1); for a range of rows
    // or columns, Item(n) is the n-th row or column.
    virtual std::unique_ptr<Range> Item(int row, int column = 1) = 0;
    // Item as a property put: the value of the cell at `row`, `column` from the top-left.
    virtual void SetItem(int row, int column, const Variant& value) { Item(row, column)->SetValue(value); }
    // What the cell shows; Empty when the cells of the range show different texts.
    virtual Variant Text() = 0;
    // What each cell of the first area shows, row by row: the Text of every cell read at once.
    virtual std::vector<std::vector<std::string>> Texts();
    // A1 form, "$A$1:$B$2" (areas joined by ","); the flags drop the dollars.
    virtual std::string Address(bool rowAbsolute = true, bool columnAbsolute = true) = 0;
    virtual std::unique_ptr<Range> Resize(int rows, int columns) = 0;
    // The worksheet of the range.
    virtual std::unique_ptr<Worksheet> Parent() = 0;
    // The first cell whose content matches `what` ("*" for any content) in the given order and
    // direction, starting after `after` (Nothing: the range's first cell); Nothing if none.
    virtual std::unique_ptr<Range> Find(std::string_view what, Range* after, int searchOrder,
                                        int searchDirection) = 0;
    virtual int Row() = 0;
    virtual int Column() = 0;
    virtual std::unique_ptr<Range> Rows() = 0;
    virtual std::unique_ptr<Range> Columns() = 0;
    // Cells, or rows / columns for a range got through Rows / Columns.
    virtual long Count() = 0;
    // Points; a hidden row counts 0.
    virtual double Height() = 0;
    virtual double Width() = 0;
    virtual double Top() = 0;
    virtual double Left() = 0;
    virtual int GetHorizontalAlignment() = 0;
    virtual void SetHorizontalAlignment(int value) = 0;
    virtual int GetVerticalAlignment() = 0;
    virtual void SetVerticalAlignment(int value) = 0;
    virtual void SetWrapText(bool on) = 0;
    virtual std::unique_ptr<Font> GetFont() = 0;
    virtual std::unique_ptr<Interior> GetInterior() = 0;
    virtual std::unique_ptr<Borders> GetBorders() = 0;
    // Merges each area; the application asks before dropping values unless DisplayAlerts is off.
    virtual void Merge() = 0;
    virtual std::unique_ptr<Range> MergeArea() = 0;
    virtual void Select() = 0;
    // Only on whole rows or columns (Rows / Columns of a range), as in the application.
    virtual void AutoFit() = 0;
    // Inserts cells of the range's size, moving the others down or right.
    virtual void Insert(int shift) = 0;
    // Deletes the cells; whole rows move the rows below up.
    virtual void Delete(int shift = xlShiftUp) = 0;
    // The note of the top-left cell; Nothing when it has none.
    virtual std::unique_ptr<Comment> GetComment() = 0;
    // Fails when the cell already has a note.
    virtual std::unique_ptr<Comment> AddComment(std::string_view text) = 0;
    virtual void ClearComments() = 0;
    // Gives the cells from the top-left one, row by row with `columns` to a row, the notes in
    // `texts`, each in place of any note its cell had; an empty text leaves its cell as it is.
    // The notes of a whole schedule in one call; the default goes cell by cell.
    virtual void SetComments(std::span<const std::string_view> texts, int columns);
    virtual std::unique_ptr<Hyperlinks> GetHyperlinks() = 0;
};

class Comments : public Dispatch {
public:
    virtual int Count() = 0;
    // From 1, in the sheet's order; kErrBadIndex outside.
    virtual std::unique_ptr<Comment> Item(int index) = 0;
};

class Comment : public Dispatch {
public:
    virtual std::string Text() = 0;
    // The same text where the backend holds it, shared instead of copied; a null holder when the
    // backend holds none to share (Text() then gives a copy).
    virtual base::SharedCounted SharedText() { return {}; }
    // The cell the note belongs to.
    virtual std::unique_ptr<Range> Parent() = 0;
    virtual void Delete() = 0;
};

class Font : public Dispatch {
public:
    virtual void SetBold(bool on) = 0;
    virtual void SetItalic(bool on) = 0;
    // The size of the top-left cell's font in points.
    virtual double Size() = 0;
};

class Interior : public Dispatch {
public:
    // 1..56 of the palette; xlColorIndexNone removes the fill.
    virtual void SetColorIndex(int index) = 0;
};

class Borders : public Dispatch {
public:
    // xlEdgeLeft ... xlInsideHorizontal, xlDiagonalDown, xlDiagonalUp; kErrBadIndex otherwise.
    virtual std::unique_ptr<Border> Item(int edge) = 0;
};

class Border : public Dispatch {
public:
    virtual void SetLineStyle(int style) = 0;
    virtual void SetWeight(int weight) = 0;
    virtual void SetColorIndex(int index) = 0;
};

class Hyperlinks : public Dispatch {
public:
    // The links on cells of the range.
    virtual int Count() = 0;
    // A link on `anchor` to a file path or address.
    virtual void Add(Range& anchor, std::string_view address) = 0;
    // Deletes the links of the range (the text and format of the cells stay).
    virtual void Delete() = 0;
};

}  // namespace arxutils::excel
