#include "arxutils/excel/FileBackend.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "arxutils/excel/AutomationError.h"
#include "arxutils/excel/CellEntry.h"
#include "base/Memory.h"
#include "base/Path.h"
#include "base/Text.h"
#include "fonts/FontMetrics.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/Ui.h"
#include "xl/CellRef.h"
#include "xl/NumberFormat.h"
#include "xl/Workbook.h"

namespace arxutils::excel {

namespace {

// Freed memory up to this much goes back to the system when the sheets are let go.
constexpr std::size_t kLittleFreedMemory = std::size_t{64} << 20;

[[noreturn]] void Fail(const std::string& description, std::int32_t code = kErrApplication) {
    throw AutomationError(code, description);
}

// A write the workbook refused (part of an array, a sheet or notes it can't read) fails the
// call with the workbook's reason, as the application refuses it.
void Check(const base::Status& done) {
    if (!done) Fail(done.Message());
}

// Opens a workbook file, first removing (and naming) what an interrupted save left beside it.
base::Result<std::unique_ptr<xl::Workbook>> OpenBookFile(const std::string& path) {
    host::RemoveLeftoversOfInterruptedSaves(path);
    return xl::Workbook::Open(path);
}

// A workbook's full name is its absolute path, as the application reports it; addresses stay.
std::string FullPath(const std::string& path) {
    if (path.find("://") != std::string::npos) return path;
    std::error_code error;
    auto absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.lexically_normal().string();
}

// One workbook of the instance, and the window state the application keeps beside the file.
struct Book {
    std::unique_ptr<xl::Workbook> file;
    std::string fullName;  // the path as opened, or "Book1" for a new one
    bool isNew = false;
    bool fromOptions = false;  // the --workbook one
    bool readOnly = false;
    bool dirty = false;
    std::map<const xl::Worksheet*, std::string> selection;  // "A1:B2,C3"
    std::map<const xl::Worksheet*, std::string> activeCell;
    std::vector<xl::Worksheet*> selectedByCommand;  // their selection is saved with the file
    bool digitMeasured = false;  // the default font's digit sizes the columns
};

}  // namespace

struct FileBackend::State {
    FileBackendOptions options;
    std::function<void(const std::string&)> log;
    bool running = false;
    bool visible = false;
    bool displayAlerts = true;
    bool editDirectlyInCell = true;
    bool interactive = true;
    std::string caption;
    std::vector<std::unique_ptr<Book>> books;
    std::vector<std::unique_ptr<Book>> closed;  // kept so that stale handles stay harmless
    Book* active = nullptr;
    int nextNewNumber = 1;
};

using State = FileBackend::State;
using StatePtr = std::shared_ptr<State>;

namespace {

// Columns count digits of the workbook's default font, measured the first time a width is
// asked for, as the application measures them when it opens the file. Without any font on the
// machine they count the 7-pixel digit of the common defaults, which the session log says once.
void MeasureDigitWidth(State& state, Book& book) {
    if (book.digitMeasured) return;
    book.digitMeasured = true;
    std::string name = book.file->DefaultFontName();
    double size = book.file->DefaultFontSize();
    auto digit = fonts::MaxDigitWidth(name, size);
    if (digit && book.file->SetDigitWidth(digit.Value())) return;
    static bool told = false;
    if (told || !state.log) return;
    told = true;
    std::string why = digit ? base::Sprintf("a digit %d pixels wide", digit.Value()) : digit.GetStatus().Message();
    state.log(base::Sprintf("Column widths count digits of 7 pixels: the default font %s %g of %s can't be "
                            "measured (%s).",
                            name, size, book.fullName, why));
}

// The part of a range that holds anything, so that whole rows and columns cost what is used.
xl::CellRange Clip(xl::Worksheet& sheet, const xl::CellRange& r) {
    if (!WholeRows(r) && !WholeColumns(r)) return r;  // a cell or a block costs what it is
    xl::CellRange used = sheet.UsedRange();
    xl::CellRange out = r;
    if (WholeRows(r)) out.lastColumn = std::max(1, used.lastColumn);
    if (WholeColumns(r)) out.lastRow = std::max(1, used.lastRow);
    return out;
}

// The author of the notes the run adds: the user's name.
std::string_view NoteAuthor() {
    const char* user = std::getenv("USER");
    return user ? user : "";
}

// A saved selection ("A1:B3 D4") in the object model's form ("A1:B3,D4").
std::string SelectionFromFile(std::string text) {
    std::replace(text.begin(), text.end(), ' ', ',');
    return text;
}

// What a value writes into a cell: texts that read as plain numbers are stored as numbers, as
// the program does with what is typed. The text is a view into the value.
xl::CellWrite WriteOf(const Variant& v) {
    double number = 0;
    switch (v.type) {
    case VarType::Empty: return {};
    case VarType::String:
        return !v.text.empty() && IsPlainNumber(v.text, number) ? xl::CellWrite::Number(number)
                                                                : xl::CellWrite::String(v.text);
    case VarType::Number:
    case VarType::Date:
    case VarType::Boolean: return xl::CellWrite::Number(v.number);
    case VarType::Error: return xl::CellWrite::String(v.text);
    case VarType::Array:
    case VarType::Object: break;
    }
    Fail("Type mismatch", kErrTypeMismatch);  // no cell holds an array or an object
}

// Writes values into a row of cells from `firstColumn` on. A value no cell can hold (an array,
// an object) stops the write there, the cells before it written.
void StoreRow(xl::Worksheet& sheet, int row, int firstColumn, std::span<const Variant> values,
              std::vector<xl::CellWrite>& line) {
    line.clear();
    for (const Variant& v : values) {
        if (v.type == VarType::Array || v.type == VarType::Object) {
            Check(sheet.SetRow(row, firstColumn, line));
            Fail("Type mismatch", kErrTypeMismatch);
        }
        line.push_back(WriteOf(v));
    }
    Check(sheet.SetRow(row, firstColumn, line));
}

// `date1904`: the file counts days from 1904 (old Mac files); dates always leave as days from
// 1899-12-30.
Variant ToVariant(xl::CellValue&& value, xl::Worksheet& sheet, int row, int column, bool date1904) {
    switch (value.type) {
    case xl::CellType::Empty: return {};
    case xl::CellType::String: return Variant::String(std::move(value.text));
    case xl::CellType::Boolean: return Variant::Boolean(value.number != 0);
    case xl::CellType::Error: return Variant::Error(std::move(value.text));
    case xl::CellType::Number:
        // Cells shown as dates come out as dates, as the application's Value gives them.
        if (xl::IsDateFormat(sheet.Format(row, column).numberFormat))
            return Variant::Date(value.number + (date1904 ? 1462 : 0));
        return Variant::Number(value.number);
    }
    return {};
}

// Days since 1899-12-30 of an ISO 8601 time ("2024-03-01T10:20:30Z"); false when it isn't one.
bool IsoToOleDate(std::string_view text, double& out) {
    int y = 0, mo = 0, d = 0, h = 0, mi = 0;
    double s = 0;
    std::string t(text);
    int n = std::sscanf(t.c_str(), "%d-%d-%dT%d:%d:%lf", &y, &mo, &d, &h, &mi, &s);
    if (n < 3 || mo < 1 || mo > 12 || d < 1 || d > 31) return false;
    // Days from civil date (proleptic Gregorian), then shifted to the 1899-12-30 epoch.
    int yy = y - (mo <= 2);
    int era = (yy >= 0 ? yy : yy - 399) / 400;
    int yoe = yy - era * 400;
    int doy = (153 * (mo + (mo > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    int doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    long days = static_cast<long>(era) * 146097 + doe - 719468;  // since 1970-01-01
    out = static_cast<double>(days + 25569) + (h * 3600 + mi * 60 + s) / 86400.0;
    return true;
}

// Handles below: each holds the run's state and names its workbook, sheet and cells.

std::unique_ptr<Application> MakeApplication(const StatePtr& state);
std::unique_ptr<Workbook> MakeWorkbook(const StatePtr& state, Book* book);
std::unique_ptr<Worksheet> MakeWorksheet(const StatePtr& state, Book* book, xl::Worksheet* sheet);
std::unique_ptr<Range> MakeRange(const StatePtr& state, Book* book, xl::Worksheet* sheet,
                                 std::vector<xl::CellRange> areas, RangeMode mode = RangeMode::Cells);

void CheckRunning(const State& state) {
    if (!state.running) Fail("The remote server machine does not exist or is unavailable", kErrUnavailable);
}

std::unique_ptr<Worksheet> ActiveSheetOf(const StatePtr& state, Book* book) {
    xl::Workbook& wb = *book->file;
    xl::Worksheet* sheet = wb.Sheet(wb.ActiveSheetIndex());
    if (!sheet) return nullptr;
    return MakeWorksheet(state, book, sheet);
}

std::string SelectionOf(Book& book, xl::Worksheet& sheet) {
    auto it = book.selection.find(&sheet);
    if (it != book.selection.end()) return it->second;
    std::string sel = SelectionFromFile(sheet.Selection());
    return sel.empty() ? "A1" : sel;
}

std::string ActiveCellOf(Book& book, xl::Worksheet& sheet) {
    auto it = book.activeCell.find(&sheet);
    if (it != book.activeCell.end()) return it->second;
    std::string cell = sheet.ActiveCell();
    return cell.empty() ? "A1" : cell;
}

class FileApplication : public Application {
public:
    explicit FileApplication(StatePtr state) : state_(std::move(state)) {}
    std::unique_ptr<Workbooks> GetWorkbooks() override;
    std::unique_ptr<Workbook> ActiveWorkbook() override {
        CheckRunning(*state_);
        return state_->active ? MakeWorkbook(state_, state_->active) : nullptr;
    }
    std::unique_ptr<Worksheet> ActiveSheet() override {
        CheckRunning(*state_);
        return state_->active ? ActiveSheetOf(state_, state_->active) : nullptr;
    }
    std::unique_ptr<Range> ActiveCell() override { return Located(true); }
    std::unique_ptr<Range> Selection() override { return Located(false); }
    std::string Version() override { return "16.0"; }
    bool GetVisible() override { return state_->visible; }
    void SetVisible(bool visible) override { state_->visible = visible; }
    std::string GetCaption() override { return state_->caption.empty() ? "Velmar workbooks" : state_->caption; }
    void SetCaption(std::string_view caption) override { state_->caption = caption; }
    std::intptr_t Hwnd() override { return state_->running ? 1 : 0; }
    bool GetDisplayAlerts() override { return state_->displayAlerts; }
    void SetDisplayAlerts(bool on) override { state_->displayAlerts = on; }
    bool GetEditDirectlyInCell() override { return state_->editDirectlyInCell; }
    void SetEditDirectlyInCell(bool on) override { state_->editDirectlyInCell = on; }
    void SetInteractive(bool on) override { state_->interactive = on; }
    void Quit() override {
        for (auto& book : state_->books) state_->closed.push_back(std::move(book));
        state_->books.clear();
        state_->active = nullptr;
        state_->running = false;
    }

private:
    std::unique_ptr<Range> Located(bool activeCell) {
        CheckRunning(*state_);
        Book* book = state_->active;
        if (!book) return nullptr;
        xl::Worksheet* sheet = book->file->Sheet(book->file->ActiveSheetIndex());
        if (!sheet) return nullptr;
        std::vector<xl::CellRange> areas;
        std::string text = activeCell ? ActiveCellOf(*book, *sheet) : SelectionOf(*book, *sheet);
        if (!ParseAreas(text, areas)) ParseAreas("A1", areas);
        if (activeCell) areas.resize(1);
        return MakeRange(state_, book, sheet, std::move(areas));
    }
    StatePtr state_;
};

class FileWorkbooks : public Workbooks {
public:
    explicit FileWorkbooks(StatePtr state) : state_(std::move(state)) {}
    int Count() override { return static_cast<int>(state_->books.size()); }
    std::unique_ptr<Workbook> Item(int index) override {
        if (index < 1 || index > Count()) Fail("Subscript out of range", kErrBadIndex);
        return MakeWorkbook(state_, state_->books[static_cast<std::size_t>(index - 1)].get());
    }
    std::unique_ptr<Workbook> Add() override {
        CheckRunning(*state_);
        auto book = std::make_unique<Book>();
        book->file = xl::Workbook::Create();
        book->fullName = "Book" + std::to_string(state_->nextNewNumber++);
        book->isNew = true;
        book->dirty = true;  // a new workbook is saved even when left empty
        state_->active = book.get();
        state_->books.push_back(std::move(book));
        return MakeWorkbook(state_, state_->active);
    }
    std::unique_ptr<Workbook> Open(const std::string& fileName, int, int readOnly) override {
        CheckRunning(*state_);
        std::string name = base::FileName(fileName);
        std::string fullName = FullPath(fileName);
        for (auto& book : state_->books) {
            if (base::EqualNoCase(book->fullName, fullName)) {
                state_->active = book.get();
                return MakeWorkbook(state_, book.get());
            }
            if (base::EqualNoCase(base::FileName(book->fullName), name))
                Fail("A document with the name '" + name + "' is already open. You cannot open two "
                     "documents with the same name, even if the documents are in different folders.");
        }
        if (!base::FileExists(fileName))
            Fail("Sorry, we couldn't find " + fileName + ". Is it possible it was moved, renamed or deleted?");
        auto opened = OpenBookFile(fileName);
        if (!opened) Fail(opened.GetStatus().Message());
        auto book = std::make_unique<Book>();
        book->file = std::move(opened.Value());
        book->fullName = fullName;
        book->readOnly = readOnly != 0;
        state_->active = book.get();
        state_->books.push_back(std::move(book));
        return MakeWorkbook(state_, state_->active);
    }

private:
    StatePtr state_;
};

std::unique_ptr<Workbooks> FileApplication::GetWorkbooks() {
    CheckRunning(*state_);
    return std::make_unique<FileWorkbooks>(state_);
}

class FileDocumentProperties : public DocumentProperties {
public:
    FileDocumentProperties(StatePtr state, Book* book) : state_(std::move(state)), book_(book) {}
    Variant Item(std::string_view name) override {
        static const char* const kDates[] = {"Creation Date", "Last Save Time", "Last Print Date"};
        static const char* const kTexts[] = {"Title", "Subject", "Author", "Keywords", "Comments",
                                             "Template", "Last Author", "Revision Number",
                                             "Application Name", "Category", "Format", "Manager",
                                             "Company"};
        for (const char* d : kDates)
            if (base::EqualNoCase(name, d)) {
                double date = 0;
                std::string text = book_->file->DocumentProperty(d);
                if (!IsoToOleDate(text, date)) Fail("Automation error", kErrUnspecified);
                return Variant::Date(date);
            }
        for (const char* t : kTexts)
            if (base::EqualNoCase(name, t)) return Variant::String(book_->file->DocumentProperty(t));
        Fail("Invalid procedure call or argument", kErrInvalidArg);
    }

private:
    StatePtr state_;
    Book* book_;
};

class FileWorksheets : public Worksheets {
public:
    FileWorksheets(StatePtr state, Book* book) : state_(std::move(state)), book_(book) {}
    int Count() override { return book_->file->SheetCount(); }
    std::unique_ptr<Worksheet> Item(int index) override {
        xl::Worksheet* sheet = book_->file->Sheet(index - 1);
        if (!sheet) Fail("Subscript out of range", kErrBadIndex);
        return MakeWorksheet(state_, book_, sheet);
    }
    std::unique_ptr<Worksheet> Item(std::string_view name) override {
        xl::Worksheet* sheet = book_->file->FindSheet(name);
        if (!sheet) Fail("Subscript out of range", kErrBadIndex);
        return MakeWorksheet(state_, book_, sheet);
    }
    std::unique_ptr<Worksheet> Add() override {
        auto added = book_->file->AddSheet("", book_->file->ActiveSheetIndex());
        if (!added) Fail(added.GetStatus().Message());
        book_->dirty = true;
        book_->file->Activate(book_->file->IndexOf(added.Value()));
        return MakeWorksheet(state_, book_, added.Value());
    }

private:
    StatePtr state_;
    Book* book_;
};

class FileWorkbook : public Workbook {
public:
    FileWorkbook(StatePtr state, Book* book) : state_(std::move(state)), book_(book) {}
    std::string Name() override { return base::FileName(book_->fullName); }
    std::string FullName() override { return book_->fullName; }
    std::string Path() override { return book_->isNew ? std::string() : base::Folder(book_->fullName); }
    std::unique_ptr<Application> GetApplication() override { return MakeApplication(state_); }
    std::unique_ptr<Worksheet> ActiveSheet() override { return ActiveSheetOf(state_, book_); }
    std::unique_ptr<Worksheets> GetWorksheets() override { return std::make_unique<FileWorksheets>(state_, book_); }
    std::unique_ptr<DocumentProperties> BuiltinDocumentProperties() override {
        return std::make_unique<FileDocumentProperties>(state_, book_);
    }
    // Cached formula values are what a file holds; the spreadsheet program recalculates them
    // when it next opens the file.
    void RefreshAll() override { book_->file->SetRecalculateOnOpen(true); book_->dirty = true; }
    void Activate() override {
        CheckRunning(*state_);
        state_->active = book_;
    }
    void Close() override {
        CheckRunning(*state_);
        auto& books = state_->books;
        for (auto it = books.begin(); it != books.end(); ++it) {
            if (it->get() != book_) continue;
            // Kept among the closed ones, so that a handle still held stays harmless; its sheets
            // go back, to be read again from the package should such a handle use them.
            book_->dirty = false;
            book_->file->UnloadUnchangedSheets();
            state_->closed.push_back(std::move(*it));
            books.erase(it);
            break;
        }
        if (state_->active == book_) state_->active = books.empty() ? nullptr : books.back().get();
    }

private:
    StatePtr state_;
    Book* book_;
};

class FileWorksheet : public Worksheet {
public:
    FileWorksheet(StatePtr state, Book* book, xl::Worksheet* sheet)
        : state_(std::move(state)), book_(book), sheet_(sheet) {}
    std::string GetName() override { return sheet_->Name(); }
    void SetName(std::string_view name) override {
        if (base::Status s = book_->file->RenameSheet(*sheet_, name); !s)
            Fail("Unable to set the Name property of the Worksheet class");
        book_->dirty = true;
    }
    void SetVisible(int state) override {
        xl::SheetState s = state == 0 ? xl::SheetState::Hidden : state == 2 ? xl::SheetState::VeryHidden : xl::SheetState::Visible;
        if (s == sheet_->State()) return;
        if (!sheet_->SetState(s)) Fail("Unable to set the Visible property of the Worksheet class");
        book_->dirty = true;
    }
    void Activate() override {
        book_->file->Activate(book_->file->IndexOf(sheet_));
        state_->active = book_;
    }
    std::unique_ptr<Application> GetApplication() override { return MakeApplication(state_); }
    std::unique_ptr<Range> GetRange(std::string_view address) override {
        std::vector<xl::CellRange> areas;
        if (!ParseAreas(address, areas)) Fail("Method 'Range' of object '_Worksheet' failed");
        return MakeRange(state_, book_, sheet_, std::move(areas));
    }
    std::unique_ptr<Range> GetRange(std::string_view cell1, std::string_view cell2) override {
        std::vector<xl::CellRange> a, b;
        if (!ParseAreas(cell1, a) || !ParseAreas(cell2, b)) Fail("Method 'Range' of object '_Worksheet' failed");
        xl::CellRange r{std::min(a[0].firstRow, b[0].firstRow), std::min(a[0].firstColumn, b[0].firstColumn),
                        std::max(a[0].lastRow, b[0].lastRow), std::max(a[0].lastColumn, b[0].lastColumn)};
        return MakeRange(state_, book_, sheet_, {r});
    }
    std::unique_ptr<Range> Cells() override {
        return MakeRange(state_, book_, sheet_, {{1, 1, xl::kMaxRow, xl::kMaxColumn}});
    }
    std::unique_ptr<Range> UsedRange() override { return MakeRange(state_, book_, sheet_, {sheet_->UsedRange()}); }
    std::unique_ptr<Comments> GetComments() override;
    std::unique_ptr<Range> Columns() override {
        return MakeRange(state_, book_, sheet_, {{1, 1, xl::kMaxRow, xl::kMaxColumn}}, RangeMode::Columns);
    }
    std::unique_ptr<Range> Rows() override {
        return MakeRange(state_, book_, sheet_, {{1, 1, xl::kMaxRow, xl::kMaxColumn}}, RangeMode::Rows);
    }

private:
    StatePtr state_;
    Book* book_;
    xl::Worksheet* sheet_;
};

class FileComment : public Comment {
public:
    FileComment(StatePtr state, Book* book, xl::Worksheet* sheet, int row, int column)
        : state_(std::move(state)), book_(book), sheet_(sheet), row_(row), column_(column) {}
    std::string Text() override { return std::string(SharedText().View()); }
    base::SharedCounted SharedText() override {
        std::optional<base::SharedCounted> text = sheet_->SharedNoteText(row_, column_);
        if (!text) Fail("Application-defined or object-defined error");
        return *std::move(text);
    }
    std::unique_ptr<Range> Parent() override {
        return MakeRange(state_, book_, sheet_, {{row_, column_, row_, column_}});
    }
    void Delete() override {
        if (sheet_->DeleteNote(row_, column_)) book_->dirty = true;
    }

private:
    StatePtr state_;
    Book* book_;
    xl::Worksheet* sheet_;
    int row_, column_;
};

class FileComments : public Comments {
public:
    FileComments(StatePtr state, Book* book, xl::Worksheet* sheet)
        : state_(std::move(state)), book_(book), sheet_(sheet), cells_(sheet->NoteCells()) {}
    int Count() override { return static_cast<int>(cells_.size()); }
    std::unique_ptr<Comment> Item(int index) override {
        if (index < 1 || index > Count()) Fail("Subscript out of range", kErrBadIndex);
        auto [row, column] = cells_[static_cast<std::size_t>(index - 1)];
        return std::make_unique<FileComment>(state_, book_, sheet_, row, column);
    }

private:
    StatePtr state_;
    Book* book_;
    xl::Worksheet* sheet_;
    std::vector<std::pair<int, int>> cells_;  // the collection is a snapshot of where notes were
};

std::unique_ptr<Comments> FileWorksheet::GetComments() {
    return std::make_unique<FileComments>(state_, book_, sheet_);
}

// Style changes go to every area of a range.
struct Target {
    StatePtr state;
    Book* book;
    xl::Worksheet* sheet;
    std::vector<xl::CellRange> areas;

    void Apply(const xl::StyleChange& change) const {
        for (const xl::CellRange& a : areas) sheet->ApplyFormat(Clip(*sheet, a), change);
        book->dirty = true;
    }
};

class FileFont : public Font {
public:
    explicit FileFont(Target target) : t_(std::move(target)) {}
    void SetBold(bool on) override { xl::StyleChange c; c.bold = on; t_.Apply(c); }
    void SetItalic(bool on) override { xl::StyleChange c; c.italic = on; t_.Apply(c); }
    double Size() override { return t_.sheet->Format(t_.areas[0].firstRow, t_.areas[0].firstColumn).fontSize; }

private:
    Target t_;
};

class FileInterior : public Interior {
public:
    explicit FileInterior(Target target) : t_(std::move(target)) {}
    void SetColorIndex(int index) override {
        if (index != xlColorIndexNone && (index < 1 || index > 56))
            Fail("Unable to set the ColorIndex property of the Interior class");
        xl::StyleChange c;
        c.interiorColorIndex = index == xlColorIndexNone ? 0 : index;
        t_.Apply(c);
    }

private:
    Target t_;
};

// The file's line style for the object model's style and weight.
std::string LineStyleName(int style, int weight) {
    bool medium = weight == xlMedium || weight == xlThick;
    switch (style) {
    case xlLineStyleNone: return "";
    case xlDash: return medium ? "mediumDashed" : "dashed";
    case xlDashDot: return medium ? "mediumDashDot" : "dashDot";
    case xlDashDotDot: return medium ? "mediumDashDotDot" : "dashDotDot";
    case xlDot: return "dotted";
    case xlDouble: return "double";
    case xlSlantDashDot: return "slantDashDot";
    default:
        return weight == xlHairline ? "hair" : weight == xlMedium ? "medium" : weight == xlThick ? "thick" : "thin";
    }
}

class FileBorder : public Border {
public:
    FileBorder(Target target, int edge) : t_(std::move(target)), edge_(edge) {}
    void SetLineStyle(int style) override { style_ = style; Apply(); }
    void SetWeight(int weight) override { weight_ = weight; Apply(); }
    void SetColorIndex(int index) override {
        if (index == xlColorIndexAutomatic || index == xlColorIndexNone) index = 0;
        if (index < 0 || index > 56) Fail("Unable to set the ColorIndex property of the Border class");
        color_ = index;
        Apply();
    }

private:
    void Apply() {
        xl::BorderLine line{LineStyleName(style_, weight_), color_};
        for (const xl::CellRange& area : t_.areas) {
            xl::CellRange a = Clip(*t_.sheet, area);
            switch (edge_) {
            case xlEdgeLeft: t_.sheet->SetBorder(a, xl::BorderEdge::Left, line); break;
            case xlEdgeRight: t_.sheet->SetBorder(a, xl::BorderEdge::Right, line); break;
            case xlEdgeTop: t_.sheet->SetBorder(a, xl::BorderEdge::Top, line); break;
            case xlEdgeBottom: t_.sheet->SetBorder(a, xl::BorderEdge::Bottom, line); break;
            case xlDiagonalDown: t_.sheet->SetBorder(a, xl::BorderEdge::DiagonalDown, line); break;
            case xlDiagonalUp: t_.sheet->SetBorder(a, xl::BorderEdge::DiagonalUp, line); break;
            case xlInsideVertical:
                for (int c = a.firstColumn + 1; c <= a.lastColumn; ++c)
                    t_.sheet->SetBorder({a.firstRow, c, a.lastRow, c}, xl::BorderEdge::Left, line);
                break;
            case xlInsideHorizontal:
                for (int r = a.firstRow + 1; r <= a.lastRow; ++r)
                    t_.sheet->SetBorder({r, a.firstColumn, r, a.lastColumn}, xl::BorderEdge::Top, line);
                break;
            }
        }
        t_.book->dirty = true;
    }
    Target t_;
    int edge_;
    int style_ = xlContinuous;
    int weight_ = xlThin;
    int color_ = 0;
};

class FileBorders : public Borders {
public:
    explicit FileBorders(Target target) : t_(std::move(target)) {}
    std::unique_ptr<Border> Item(int edge) override {
        if (edge < xlDiagonalDown || edge > xlInsideHorizontal) Fail("Unable to get the Item property of the Borders class", kErrBadIndex);
        return std::make_unique<FileBorder>(t_, edge);
    }

private:
    Target t_;
};

class FileHyperlinks : public Hyperlinks {
public:
    explicit FileHyperlinks(Target target) : t_(std::move(target)) {}
    int Count() override {
        int n = 0;
        for (const xl::Hyperlink& link : t_.sheet->Hyperlinks())
            for (const xl::CellRange& a : t_.areas) n += link.range.Intersects(a) ? 1 : 0;
        return n;
    }
    void Add(Range& anchor, std::string_view address) override {
        t_.sheet->AddHyperlink(anchor.Row(), anchor.Column(), address);
        t_.book->dirty = true;
    }
    void Delete() override {
        int n = 0;
        for (const xl::CellRange& a : t_.areas) n += t_.sheet->DeleteHyperlinks(a);
        if (n > 0) t_.book->dirty = true;
    }

private:
    Target t_;
};

int ToExcelHorizontal(xl::HorizontalAlignment a) {
    switch (a) {
    case xl::HorizontalAlignment::General: return xlGeneral;
    case xl::HorizontalAlignment::Left: return xlLeft;
    case xl::HorizontalAlignment::Center: return xlCenter;
    case xl::HorizontalAlignment::Right: return xlRight;
    case xl::HorizontalAlignment::Fill: return xlFill;
    case xl::HorizontalAlignment::Justify: return xlJustify;
    case xl::HorizontalAlignment::CenterContinuous: return xlCenterAcrossSelection;
    case xl::HorizontalAlignment::Distributed: return xlDistributed;
    }
    return xlGeneral;
}

int ToExcelVertical(xl::VerticalAlignment a) {
    switch (a) {
    case xl::VerticalAlignment::Top: return xlTop;
    case xl::VerticalAlignment::Center: return xlCenter;
    case xl::VerticalAlignment::Bottom: return xlBottom;
    case xl::VerticalAlignment::Justify: return xlJustify;
    case xl::VerticalAlignment::Distributed: return xlDistributed;
    }
    return xlBottom;
}

// Moves what a cell holds (value, format, note) to another cell, leaving the source empty.
void MoveCell(xl::Worksheet& sheet, int fromRow, int fromColumn, int toRow, int toColumn) {
    xl::CellValue v = sheet.Value(fromRow, fromColumn);
    switch (v.type) {
    case xl::CellType::Empty: Check(sheet.ClearValue(toRow, toColumn)); break;
    case xl::CellType::String:
    case xl::CellType::Error: Check(sheet.SetString(toRow, toColumn, v.text)); break;
    case xl::CellType::Number:
    case xl::CellType::Boolean: Check(sheet.SetNumber(toRow, toColumn, v.number)); break;
    }
    xl::CellFormat f = sheet.Format(fromRow, fromColumn);
    xl::StyleChange c;
    c.bold = f.bold;
    c.italic = f.italic;
    c.wrap = f.wrap;
    c.horizontal = f.horizontal;
    c.vertical = f.vertical;
    c.interiorColorIndex = f.interiorColorIndex;
    c.numberFormat = f.numberFormat;
    sheet.ApplyFormat({toRow, toColumn, toRow, toColumn}, c);
    if (const xl::Note* note = sheet.NoteAt(fromRow, fromColumn)) {
        xl::Note copy = *note;
        Check(sheet.SetNote(toRow, toColumn, copy.text, copy.author));
        sheet.DeleteNote(fromRow, fromColumn);
    } else {
        sheet.DeleteNote(toRow, toColumn);
    }
    Check(sheet.ClearValue(fromRow, fromColumn));
}

// Cells moved sideways go by value, note and format; a formula, merge or hyperlink in the way
// would not survive that, so such a move is refused instead of losing it.
void CheckMovable(xl::Worksheet& sheet, const xl::CellRange& region) {
    if (!region.IsValid()) return;
    for (const auto& row : sheet.Values(region))
        for (const xl::CellValue& v : row)
            if (!v.formula.empty())
                Fail("Cells with formulas would have to move; insert or delete these cells in the "
                     "spreadsheet program instead.");
    for (const xl::CellRange& merge : sheet.Merges())
        if (merge.Intersects(region))
            Fail("Merged cells would have to move; insert or delete these cells in the spreadsheet "
                 "program instead.");
    for (const xl::Hyperlink& link : sheet.Hyperlinks())
        if (link.range.Intersects(region))
            Fail("Cells with hyperlinks would have to move; insert or delete these cells in the "
                 "spreadsheet program instead.");
}

class FileRange : public Range {
public:
    FileRange(StatePtr state, Book* book, xl::Worksheet* sheet, std::vector<xl::CellRange> areas, RangeMode mode)
        : state_(std::move(state)), book_(book), sheet_(sheet), areas_(std::move(areas)), mode_(mode) {}

    Variant GetValue() override {
        const xl::CellRange& a = First();
        if (a.firstRow == a.lastRow && a.firstColumn == a.lastColumn)
            return ToVariant(sheet_->Value(a.firstRow, a.firstColumn), *sheet_, a.firstRow, a.firstColumn,
                             book_->file->Date1904());
        const bool date1904 = book_->file->Date1904();
        auto values = sheet_->Values(a);
        auto array = std::make_shared<VariantArray>(a.lastRow - a.firstRow + 1, a.lastColumn - a.firstColumn + 1);
        for (int r = 0; r < array->rows; ++r)
            for (int c = 0; c < array->columns; ++c) {
                xl::CellValue& v = values[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)];
                if (v.type != xl::CellType::Empty)
                    array->At(r, c) = ToVariant(std::move(v), *sheet_, a.firstRow + r, a.firstColumn + c, date1904);
            }
        return Variant::Array(std::move(array));
    }
    void SetValue(const Variant& value) override {
        for (const xl::CellRange& area : areas_) {
            if (value.type == VarType::Array) {
                const VariantArray& array = *value.array;
                int rows = std::min(array.rows, area.lastRow - area.firstRow + 1);
                int columns = std::min(array.columns, area.lastColumn - area.firstColumn + 1);
                if (rows < 1 || columns < 1) continue;
                Check(sheet_->PrepareWrite(
                    {area.firstRow, area.firstColumn, area.firstRow + rows - 1, area.firstColumn + columns - 1}));
                std::vector<xl::CellWrite> line;
                const std::span<const Variant> items(array.items);
                for (int r = 0; r < rows; ++r)
                    StoreRow(*sheet_, area.firstRow + r, area.firstColumn,
                             items.subspan(static_cast<std::size_t>(r) * array.columns, columns), line);
            } else {
                xl::CellRange a = Clip(*sheet_, area);
                Check(sheet_->PrepareWrite(a));
                const auto width = static_cast<std::size_t>(a.lastColumn - a.firstColumn + 1);
                const std::vector<xl::CellWrite> line(width, WriteOf(value));
                for (int r = a.firstRow; r <= a.lastRow; ++r)
                    Check(sheet_->SetRow(r, a.firstColumn, line));
            }
        }
        book_->dirty = true;
    }
    std::unique_ptr<Range> Item(int row, int column) override { return Make({ItemArea(First(), mode_, row, column)}); }
    std::vector<std::vector<std::string>> Texts() override {
        const xl::CellRange& a = First();
        auto texts = sheet_->Texts(a);
        if (texts.empty() && a.IsValid()) Fail("Unable to get the Text property of the Range class");
        return texts;
    }
    Variant Text() override {
        const xl::CellRange& a = First();
        std::string first = sheet_->Text(a.firstRow, a.firstColumn);
        if (a.lastRow > a.firstRow || a.lastColumn > a.firstColumn)
            for (const auto& row : sheet_->Texts(Clip(*sheet_, a)))
                for (const std::string& t : row)
                    if (t != first) return {};
        return Variant::String(std::move(first));
    }
    std::string Address(bool rowAbsolute, bool columnAbsolute) override {
        return AreasName(areas_, rowAbsolute, columnAbsolute);
    }
    std::unique_ptr<Range> Resize(int rows, int columns) override { return Make({ResizedArea(First(), rows, columns)}); }
    std::unique_ptr<Worksheet> Parent() override { return MakeWorksheet(state_, book_, sheet_); }
    std::unique_ptr<Range> Find(std::string_view what, Range*, int searchOrder, int searchDirection) override {
        xl::CellRange a = First();
        xl::CellRange used = sheet_->UsedRange();
        a.lastRow = std::min(a.lastRow, used.lastRow);
        a.lastColumn = std::min(a.lastColumn, used.lastColumn);
        if (!a.IsValid()) return nullptr;
        auto values = sheet_->Values(a);
        auto texts = what == "*" ? std::vector<std::vector<std::string>>() : sheet_->Texts(a);
        int r = 0, c = 0;
        auto hit = [&](int row, int column) {
            const xl::CellValue& v = values[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
            return what == "*" ? (v.type != xl::CellType::Empty || !v.formula.empty())
                               : base::EqualNoCase(texts[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)], what);
        };
        if (FindInOrder(a, searchOrder, searchDirection, hit, r, c))
            return Make({{a.firstRow + r, a.firstColumn + c, a.firstRow + r, a.firstColumn + c}});
        return nullptr;
    }
    int Row() override { return First().firstRow; }
    int Column() override { return First().firstColumn; }
    std::unique_ptr<Range> Rows() override { return std::make_unique<FileRange>(state_, book_, sheet_, areas_, RangeMode::Rows); }
    std::unique_ptr<Range> Columns() override { return std::make_unique<FileRange>(state_, book_, sheet_, areas_, RangeMode::Columns); }
    long Count() override { return AreaCount(areas_, mode_); }
    double Height() override {
        double h = 0;
        for (int r = First().firstRow; r <= First().lastRow; ++r) h += sheet_->RowHeight(r);
        return h;
    }
    double Width() override {
        double w = 0;
        MeasureDigitWidth(*state_, *book_);
        for (int c = First().firstColumn; c <= First().lastColumn; ++c) w += sheet_->ColumnWidthPoints(c);
        return w;
    }
    double Top() override { return sheet_->RowTop(First().firstRow); }
    double Left() override {
        MeasureDigitWidth(*state_, *book_);
        return sheet_->ColumnLeft(First().firstColumn);
    }
    int GetHorizontalAlignment() override { return ToExcelHorizontal(sheet_->Format(Row(), Column()).horizontal); }
    void SetHorizontalAlignment(int value) override {
        xl::StyleChange c;
        switch (value) {
        case xlGeneral: c.horizontal = xl::HorizontalAlignment::General; break;
        case xlLeft: c.horizontal = xl::HorizontalAlignment::Left; break;
        case xlCenter: c.horizontal = xl::HorizontalAlignment::Center; break;
        case xlRight: c.horizontal = xl::HorizontalAlignment::Right; break;
        case xlFill: c.horizontal = xl::HorizontalAlignment::Fill; break;
        case xlJustify: c.horizontal = xl::HorizontalAlignment::Justify; break;
        case xlCenterAcrossSelection: c.horizontal = xl::HorizontalAlignment::CenterContinuous; break;
        case xlDistributed: c.horizontal = xl::HorizontalAlignment::Distributed; break;
        default: Fail("Unable to set the HorizontalAlignment property of the Range class");
        }
        Styled().Apply(c);
    }
    int GetVerticalAlignment() override { return ToExcelVertical(sheet_->Format(Row(), Column()).vertical); }
    void SetVerticalAlignment(int value) override {
        xl::StyleChange c;
        switch (value) {
        case xlTop: c.vertical = xl::VerticalAlignment::Top; break;
        case xlCenter: c.vertical = xl::VerticalAlignment::Center; break;
        case xlBottom: c.vertical = xl::VerticalAlignment::Bottom; break;
        case xlJustify: c.vertical = xl::VerticalAlignment::Justify; break;
        case xlDistributed: c.vertical = xl::VerticalAlignment::Distributed; break;
        default: Fail("Unable to set the VerticalAlignment property of the Range class");
        }
        Styled().Apply(c);
    }
    void SetWrapText(bool on) override {
        xl::StyleChange c;
        c.wrap = on;
        Styled().Apply(c);
    }
    std::unique_ptr<Font> GetFont() override { return std::make_unique<FileFont>(Styled()); }
    std::unique_ptr<Interior> GetInterior() override { return std::make_unique<FileInterior>(Styled()); }
    std::unique_ptr<Borders> GetBorders() override { return std::make_unique<FileBorders>(Styled()); }
    void Merge() override {
        for (const xl::CellRange& a : areas_) {
            if (a.firstRow == a.lastRow && a.firstColumn == a.lastColumn) continue;
            // The application keeps only the top-left value of a merge and asks first.
            bool othersFilled = false;
            auto values = sheet_->Values(Clip(*sheet_, a));
            for (std::size_t r = 0; r < values.size(); ++r)
                for (std::size_t c = 0; c < values[r].size(); ++c)
                    if ((r || c) && values[r][c].type != xl::CellType::Empty) othersFilled = true;
            if (othersFilled && state_->displayAlerts &&
                !host::AskYesNo("Merging cells only keeps the upper-left value and discards other values.",
                                "Microsoft Excel", host::BoxIcon::Warning))
                continue;
            if (base::Status s = sheet_->Merge(a); !s) Fail("Merge method of Range class failed");
            book_->dirty = true;
        }
    }
    std::unique_ptr<Range> MergeArea() override { return Make({sheet_->MergeArea(Row(), Column())}); }
    void Select() override {
        book_->selection[sheet_] = AreasName(areas_, false, false);
        book_->activeCell[sheet_] = xl::CellName(Row(), Column());
        if (std::find(book_->selectedByCommand.begin(), book_->selectedByCommand.end(), sheet_) ==
            book_->selectedByCommand.end())
            book_->selectedByCommand.push_back(sheet_);
    }
    void AutoFit() override {
        MeasureDigitWidth(*state_, *book_);
        const xl::CellRange& a = First();
        if (mode_ == RangeMode::Columns || (mode_ == RangeMode::Cells && WholeColumns(a))) {
            xl::CellRange used = sheet_->UsedRange();
            sheet_->AutoFitColumns(a.firstColumn, std::min(a.lastColumn, std::max(used.lastColumn, a.firstColumn)));
        } else if (mode_ == RangeMode::Rows || (mode_ == RangeMode::Cells && WholeRows(a))) {
            xl::CellRange used = sheet_->UsedRange();
            sheet_->AutoFitRows(a.firstRow, std::min(a.lastRow, std::max(used.lastRow, a.firstRow)));
        } else {
            Fail("AutoFit method of Range class failed");
        }
        book_->dirty = true;
    }
    void Insert(int shift) override {
        const xl::CellRange a = First();
        if (WholeColumns(a) || (!WholeRows(a) && shift == xlShiftToRight)) {
            ShiftRight(a);
        } else if (WholeRows(a)) {
            sheet_->InsertRows(a.firstRow, a.lastRow - a.firstRow + 1);
        } else {
            sheet_->InsertCellsDown(a);
        }
        book_->dirty = true;
    }
    void Delete(int shift) override {
        const xl::CellRange a = First();
        if (WholeColumns(a) || (!WholeRows(a) && shift == xlShiftToLeft)) {
            ShiftLeft(a);
        } else if (WholeRows(a)) {
            sheet_->DeleteRows(a.firstRow, a.lastRow - a.firstRow + 1);
        } else {
            sheet_->DeleteCellsUp(a);
        }
        book_->dirty = true;
    }
    std::unique_ptr<Comment> GetComment() override {
        if (!sheet_->NoteAt(Row(), Column())) return nullptr;
        return std::make_unique<FileComment>(state_, book_, sheet_, Row(), Column());
    }
    std::unique_ptr<Comment> AddComment(std::string_view text) override {
        if (sheet_->NoteAt(Row(), Column())) Fail("Application-defined or object-defined error");
        Check(sheet_->SetNote(Row(), Column(), text, NoteAuthor()));
        book_->dirty = true;
        return std::make_unique<FileComment>(state_, book_, sheet_, Row(), Column());
    }
    void SetComments(std::span<const std::string_view> texts, int columns) override {
        const xl::CellRange& a = First();
        const std::string_view author = NoteAuthor();
        for (std::size_t i = 0; i < texts.size(); ++i) {
            if (texts[i].empty()) continue;
            Check(sheet_->SetNote(a.firstRow + static_cast<int>(i / columns), a.firstColumn + static_cast<int>(i % columns),
                                  texts[i], author));
            book_->dirty = true;
        }
    }
    void ClearComments() override {
        int n = 0;
        for (const xl::CellRange& a : areas_) n += sheet_->ClearNotes(a);
        if (n > 0) book_->dirty = true;
    }
    std::unique_ptr<Hyperlinks> GetHyperlinks() override { return std::make_unique<FileHyperlinks>(Styled()); }

private:
    // Sideways moves go cell by cell (value, note, format); the workbook moves rows itself.
    void ShiftRight(const xl::CellRange& a) {
        xl::CellRange used = sheet_->UsedRange();
        int n = a.lastColumn - a.firstColumn + 1;
        int lastRow = std::min(a.lastRow, used.lastRow);
        CheckMovable(*sheet_, {a.firstRow, a.firstColumn, lastRow, used.lastColumn});
        for (int c = used.lastColumn; c >= a.firstColumn; --c)
            for (int r = a.firstRow; r <= lastRow; ++r) MoveCell(*sheet_, r, c, r, c + n);
    }
    void ShiftLeft(const xl::CellRange& a) {
        xl::CellRange used = sheet_->UsedRange();
        int n = a.lastColumn - a.firstColumn + 1;
        int lastRow = std::min(a.lastRow, used.lastRow);
        CheckMovable(*sheet_, {a.firstRow, a.firstColumn, lastRow, used.lastColumn});
        for (int c = a.firstColumn; c <= used.lastColumn; ++c)
            for (int r = a.firstRow; r <= lastRow; ++r) {
                if (c + n <= used.lastColumn) {
                    MoveCell(*sheet_, r, c + n, r, c);
                } else {
                    Check(sheet_->ClearValue(r, c));
                    sheet_->DeleteNote(r, c);
                }
            }
    }
    const xl::CellRange& First() const { return areas_.front(); }
    std::unique_ptr<Range> Make(std::vector<xl::CellRange> areas) {
        return std::make_unique<FileRange>(state_, book_, sheet_, std::move(areas), RangeMode::Cells);
    }
    Target Styled() const { return Target{state_, book_, sheet_, areas_}; }

    StatePtr state_;
    Book* book_;
    xl::Worksheet* sheet_;
    std::vector<xl::CellRange> areas_;
    RangeMode mode_;
};

// The accessible object of a workbook window: what a call by name reaches.
class FileWindow : public Dispatch {
public:
    FileWindow(StatePtr state, Book* book) : state_(std::move(state)), book_(book) {}
    std::int32_t GetIDOfName(std::string_view name, long& id) override {
        if (base::EqualNoCase(name, "ActiveSheet")) id = 307;
        else if (base::EqualNoCase(name, "Application")) id = 148;
        else return Dispatch::GetIDOfName(name, id);
        return 0;
    }
    std::int32_t Invoke(long id, int flags, std::vector<Variant>&, Variant* result) override {
        if (!(flags & DISPATCH_PROPERTYGET) || !result) return kErrException;
        if (id == 307) {
            auto sheet = ActiveSheetOf(state_, book_);
            *result = sheet ? Variant::Object(std::shared_ptr<Dispatch>(std::move(sheet))) : Variant();
            return 0;
        }
        if (id == 148) {
            *result = Variant::Object(std::shared_ptr<Dispatch>(MakeApplication(state_)));
            return 0;
        }
        return kErrUnknownName;
    }

private:
    StatePtr state_;
    Book* book_;
};

std::unique_ptr<Application> MakeApplication(const StatePtr& state) {
    return std::make_unique<FileApplication>(state);
}
std::unique_ptr<Workbook> MakeWorkbook(const StatePtr& state, Book* book) {
    return std::make_unique<FileWorkbook>(state, book);
}
// A sheet whose part can't be read never reads as empty cells: the application would not open
// the workbook at all, so every way into the sheet fails with what is wrong and where. A chart
// sheet truly has no cells and reads empty.
xl::Worksheet* Readable(xl::Worksheet* sheet) {
    if (sheet->Kind() == xl::SheetKind::Chartsheet) return sheet;
    // Asking for the notes first reads the sheet too, with its comments part beside it on a
    // second thread; a sheet that can't be read gives its own error here.
    Check(sheet->LoadNotes());
    Check(sheet->Load());
    for (const std::string& repair : sheet->TakeRepairs()) host::CurrentPrinter().Warn(repair + ".");
    return sheet;
}

std::unique_ptr<Worksheet> MakeWorksheet(const StatePtr& state, Book* book, xl::Worksheet* sheet) {
    return std::make_unique<FileWorksheet>(state, book, Readable(sheet));
}
std::unique_ptr<Range> MakeRange(const StatePtr& state, Book* book, xl::Worksheet* sheet,
                                 std::vector<xl::CellRange> areas, RangeMode mode) {
    return std::make_unique<FileRange>(state, book, Readable(sheet), std::move(areas), mode);
}


// A workbook name beside the drawing that no file has yet: "plan.xlsx", "plan-2.xlsx"...
std::string FreeNameBeside(const std::string& drawingPath, const std::string& fallbackTitle) {
    std::string folder = drawingPath.empty() ? "." : base::Folder(drawingPath);
    if (folder.empty()) folder = ".";
    std::string title = drawingPath.empty() ? fallbackTitle : base::FileTitle(drawingPath);
    for (int n = 1;; ++n) {
        std::string candidate = base::JoinPath(folder, title + (n == 1 ? "" : "-" + std::to_string(n)) + ".xlsx");
        if (!base::FileExists(candidate) && LockFileOf(candidate).empty()) return candidate;
    }
}

}  // namespace

FileBackend::FileBackend() : state_(std::make_shared<State>()) {}
FileBackend::~FileBackend() = default;

base::Result<std::unique_ptr<FileBackend>> FileBackend::Create(const FileBackendOptions& options) {
    std::unique_ptr<FileBackend> backend(new FileBackend());
    State& state = *backend->state_;
    state.options = options;
    if (options.workbook.empty()) return backend;
    if (!base::FileExists(options.workbook))
        return base::Status::Error("The workbook " + options.workbook + " does not exist; give the path of an .xlsx or .xlsm file.");
    auto opened = OpenBookFile(options.workbook);
    if (!opened) return opened.GetStatus();
    auto book = std::make_unique<Book>();
    book->file = std::move(opened.Value());
    book->fullName = FullPath(options.workbook);
    book->fromOptions = true;
    xl::Workbook& wb = *book->file;
    if (!options.sheet.empty()) {
        xl::Worksheet* sheet = wb.FindSheet(options.sheet);
        if (!sheet) return base::Status::Error("The workbook " + options.workbook + " has no sheet named \"" + options.sheet + "\".");
        wb.Activate(wb.IndexOf(sheet));
    }
    xl::Worksheet* active = wb.Sheet(wb.ActiveSheetIndex());
    std::vector<xl::CellRange> areas;
    if (!options.selection.empty()) {
        if (!ParseAreas(options.selection, areas))
            return base::Status::Error("--selection \"" + options.selection + "\" is not a cell address such as B2:D9 or A1,C3.");
        if (active) {
            book->selection[active] = AreasName(areas, false, false);
            book->activeCell[active] = xl::CellName(areas[0].firstRow, areas[0].firstColumn);
        }
    }
    if (!options.activeCell.empty()) {
        int row = 0, column = 0;
        if (!xl::ParseCell(options.activeCell, row, column))
            return base::Status::Error("--active-cell \"" + options.activeCell + "\" is not a cell address such as B2.");
        if (active) {
            book->activeCell[active] = xl::CellName(row, column);
            if (options.selection.empty()) book->selection[active] = xl::CellName(row, column);
        }
    }
    state.running = true;
    state.visible = true;
    state.active = book.get();
    state.books.push_back(std::move(book));
    return backend;
}

std::int32_t FileBackend::GetActiveObject(std::unique_ptr<Application>& application) {
    if (!state_->running) return kErrUnavailable;
    application = MakeApplication(state_);
    return 0;
}

std::unique_ptr<Application> FileBackend::CreateApplication() {
    if (!state_->running) {
        state_->running = true;
        state_->visible = false;
        state_->displayAlerts = true;
        state_->editDirectlyInCell = true;
        state_->interactive = true;
    }
    return MakeApplication(state_);
}

bool FileBackend::RunningObjects(std::vector<std::string>& displayNames) {
    if (!state_->running) return true;
    displayNames.emplace_back(kInstanceMoniker);
    for (const auto& book : state_->books) displayNames.push_back(book->fullName);
    return true;
}

std::unique_ptr<Workbook> FileBackend::GetRunningWorkbook(std::string_view displayName) {
    for (const auto& book : state_->books)
        if (book->fullName == displayName) return MakeWorkbook(state_, book.get());
    return nullptr;
}

std::intptr_t FileBackend::FindMainWindow(std::string_view caption) {
    if (!state_->running) return 0;
    if (!caption.empty() && state_->caption != caption) return 0;
    return 1;
}

void FileBackend::SendToMainWindow(std::intptr_t, unsigned) {}

std::vector<std::shared_ptr<Dispatch>> FileBackend::WorkbookWindows(std::intptr_t window) {
    std::vector<std::shared_ptr<Dispatch>> out;
    if (window == 0 || !state_->running) return out;
    for (const auto& book : state_->books) out.push_back(std::make_shared<FileWindow>(state_, book.get()));
    return out;
}

bool FileBackend::SetForegroundWindow(std::intptr_t window) { return window != 0 && state_->running; }

std::string FileBackend::NoInstanceText(std::int32_t) { return "No workbook is open."; }

std::vector<std::string> LockFilesOf(const std::string& path) {
    std::string folder = base::Folder(path), name = base::FileName(path);
    std::vector<std::string> locks = {base::JoinPath(folder, ".~lock." + name + "#")};
    if (base::Length(name) > 2) locks.push_back(base::JoinPath(folder, "~$" + base::Mid(name, 2)));
    return locks;
}

std::string LockFileOf(const std::string& path) {
    for (const std::string& lock : LockFilesOf(path))
        if (base::FileExists(lock)) return lock;
    return {};
}

std::string FileBackend::ConnectionAdvice() {
    return "Give the workbook with --workbook FILE; an export can also make a new one with "
           "--workbook-mode new.";
}

std::string FileBackend::ChosenInAdvance() { return state_->running ? state_->options.workbook : std::string(); }

bool FileBackend::OffersOnlyANewWorkbook() {
    return state_->options.workbook.empty() && !state_->options.output.empty();
}

void FileBackend::ReleaseUnchangedData() {
    for (const auto& book : state_->books) book->file->UnloadUnchangedSheets();
    // A small workbook's sheets go back to the system as well, so that the drawing's work that
    // follows takes their pages instead of fresh ones beside them; a big one's stay for it.
    base::ReturnFreeMemoryUpTo(kLittleFreedMemory);
}

void FileBackend::SetLog(std::function<void(const std::string&)> log) { state_->log = std::move(log); }

bool FileBackend::HasChanges() const {
    for (const auto& book : state_->books)
        if (book->dirty) return true;
    return false;
}

base::Status FileBackend::SaveChanged() {
    const FileBackendOptions& options = state_->options;
    // --output takes the first new workbook, or else the --workbook one.
    Book* toOutput = nullptr;
    if (!options.output.empty()) {
        for (const auto& book : state_->books)
            if (book->isNew && book->dirty) { toOutput = book.get(); break; }
        if (!toOutput)
            for (const auto& book : state_->books)
                if (book->fromOptions && book->dirty) { toOutput = book.get(); break; }
    }
    std::string problems;
    for (const auto& book : state_->books) {
        if (!book->dirty) continue;
        std::string target;
        if (book.get() == toOutput) target = options.output;
        else if (book->isNew) target = FreeNameBeside(options.drawingPath, base::FileName(book->fullName));
        else target = book->fullName;
        bool inPlace = !book->isNew && target == book->fullName;
        if (book->readOnly && inPlace) {
            problems += "\n" + book->fullName + " was opened read-only; its changes were not saved. Give --output FILE to save them to another file.";
            continue;
        }
        if (!inPlace && base::FileExists(target) && !options.force) {
            problems += "\n" + target + " already exists; nothing was written. Give --force to replace it, or another --output.";
            continue;
        }
        if (std::string lock = LockFileOf(target); !lock.empty()) {
            problems += "\n" + target + " is open in another program (" + base::FileName(lock) +
                        "); nothing was written to it. Close it there and run the command again, or give --output FILE to save the changes to another file.";
            continue;
        }
        // A selection the command made is kept, as saving in the spreadsheet program keeps it.
        for (xl::Worksheet* sheet : book->selectedByCommand) {
            std::vector<xl::CellRange> areas;
            int row = 0, column = 0;
            if (ParseAreas(book->selection[sheet], areas) && xl::ParseCell(book->activeCell[sheet], row, column))
                sheet->Select(areas.front(), row, column);
        }
        host::RemoveLeftoversOfInterruptedSaves(target);
        // What filling the sheets freed goes back before the save takes room for its parts,
        // when it is little, as when the sheets are let go.
        base::ReturnFreeMemoryUpTo(kLittleFreedMemory);
        if (base::Status s = book->file->Save(target); !s) {
            problems += "\n" + s.Message();
            continue;
        }
        book->dirty = false;
        if (book->isNew) {
            book->isNew = false;
            book->fullName = FullPath(target);
            host::Printf("\nNew workbook saved as %s.", target);
        } else if (!inPlace) {
            host::Printf("\nWorkbook %s saved as %s.", book->fullName, target);
        } else {
            host::Printf("\nWorkbook %s saved.", target);
        }
    }
    if (problems.empty()) return base::Status::Ok();
    return base::Status::Error(problems.substr(1));
}

}  // namespace arxutils::excel
