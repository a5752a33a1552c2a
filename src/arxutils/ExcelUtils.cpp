#include "arxutils/ExcelUtils.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>

#include "arxutils/AutoWrap.h"
#include "arxutils/CExcelROTDialog.h"
#include "arxutils/excel/AutomationError.h"
#include "arxutils/excel/ExcelServer.h"
#include "tables/CStringTable.h"
#include "tables/CellAddress.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "cad/units/DistanceText.h"
#include "cad/units/ScopedDimzin.h"
#include "cad/units/UnitSettings.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"

namespace arxutils {

using namespace excel;

std::unique_ptr<excel::Application> ExcelUtils::Application;
std::unique_ptr<excel::Workbook> ExcelUtils::Workbook;
std::unique_ptr<excel::Worksheet> ExcelUtils::Worksheet;
int ExcelUtils::ExcelVersion = 0;
bool ExcelUtils::WindowFound = false;
std::string ExcelUtils::LastError;
std::string ExcelUtils::PendingBold, ExcelUtils::PendingItalic, ExcelUtils::PendingWrap;
std::map<int, std::string> ExcelUtils::PendingHorizontal, ExcelUtils::PendingVertical, ExcelUtils::PendingInterior;

namespace {

std::shared_ptr<VariantArray> staging;
cad::UnitSettings defaultUnits;
cad::UnitSettings* drawingUnits = &defaultUnits;
std::function<cad::UnitSettings()> unitsSource;  // asked once, when a number is first read
cad::UnitSettings sourcedUnits;

// The units numbers from cells are read with.
cad::UnitSettings& DrawingUnits() {
    if (unitsSource) {
        sourcedUnits = unitsSource();
        unitsSource = nullptr;
        drawingUnits = &sourcedUnits;
    }
    return *drawingUnits;
}

constexpr int kBatchAddresses = 20;

// The handler every operation runs in: a failure the application raised is shown and the
// operation gives false; one from below the object model gives false in silence.
template <class F>
bool Guarded(F&& body) {
    try {
        return body();
    } catch (const AutomationError& e) {
        if (e.Origin() == ErrorOrigin::Dispatch) ReportOleError(e.Code(), e.Description());
        return false;
    }
}

excel::Worksheet& Sheet() {
    if (!ExcelUtils::Worksheet) throw AutomationError(kErrException, "No worksheet is attached.");
    return *ExcelUtils::Worksheet;
}

std::string TextOf(const Variant& v) { return v.type == VarType::String ? v.text : std::string(); }

// The drawing's text of a number from a worksheet: decimal at the current precision.
std::string NumberText(double value) {
    auto text = cad::DistanceText(value, 2, -1, DrawingUnits());
    return text ? text.Value() : std::string();
}

std::string RectAddress(int firstRow, int firstColumn, int lastRow, int lastColumn) {
    std::string first = tables::AbsoluteCell(firstRow, firstColumn);
    if (firstRow == lastRow && firstColumn == lastColumn) return first;
    return base::Sprintf("%s:%s", first, tables::AbsoluteCell(lastRow, lastColumn));
}

bool Queue(std::string& list, int firstRow, int firstColumn, int lastRow, int lastColumn) {
    if (firstRow < 1 || firstColumn < 1 || lastRow < 1 || lastColumn < 1) return false;
    if (!list.empty()) list += ',';
    list += RectAddress(firstRow, firstColumn, lastRow, lastColumn);
    return true;
}

template <class SetOn>
bool ApplyList(std::string& list, SetOn&& set) {
    return Guarded([&] {
        for (const std::string& piece : ExcelUtils::AddressBatches(list)) set(*Sheet().GetRange(piece));
        list.clear();
        return true;
    });
}

template <class SetOn>
bool ApplyKeyed(std::map<int, std::string>& lists, SetOn&& set) {
    return Guarded([&] {
        for (auto& [key, list] : lists)
            for (const std::string& piece : ExcelUtils::AddressBatches(list)) set(*Sheet().GetRange(piece), key);
        lists.clear();
        return true;
    });
}

void AddRowTo(tables::CStringTable& table, tables::CStringArrayEx&& row) { table.Add(std::move(row)); }

double NowAsOleDate() {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::tm utcAsLocal = local;
    // Local wall time counted as if it were UTC gives the days the way the platform's date does.
    long long seconds = static_cast<long long>(timegm(&utcAsLocal));
    return static_cast<double>(seconds) / 86400.0 + 25569.0;
}

}  // namespace

// Connection.

bool ExcelUtils::ConnectToExcel(bool makeVisible, const std::string& workbookPath, int updateLinks, int readOnly) {
    const std::string classId(kApplicationClassId);
    Disconnect();
    std::unique_ptr<excel::Application> active;
    std::int32_t hr = CurrentServer().GetActiveObject(active);
    if (hr != 0) {
        LastError = CurrentServer().NoInstanceText(hr);
        return false;
    }
    if (!active) {
        LastError = base::Sprintf("%s: Can't get interface of active Excel instance: %X", classId,
                                  static_cast<std::uint32_t>(0x80004002));
        return false;
    }
    Application = std::move(active);
    return Guarded([&] {
        // A hidden instance is made visible rather than passed over.
        if (makeVisible && !Application->GetVisible()) Application->SetVisible(true);
        ExcelVersion = std::atoi(Application->Version().c_str());
        if (!workbookPath.empty()) {
            OpenWorkbook(workbookPath, updateLinks, readOnly);
            if (Workbook) Worksheet = Workbook->ActiveSheet();
        } else if (Application->GetWorkbooks()->Count() > 0) {
            Workbook = Application->ActiveWorkbook();
            if (Workbook) Worksheet = Workbook->ActiveSheet();
        }
        return true;
    });
}

bool ExcelUtils::StartExcel(bool makeVisible) {
    Disconnect();
    return Guarded([&] {
        Application = CurrentServer().CreateApplication();
        if (!makeVisible) return true;
        if (Application->GetVisible()) return true;
        Application->SetVisible(true);
        ExcelVersion = std::atoi(Application->Version().c_str());
        if (ExcelVersion >= 12) {
            // Bringing the window forward is a courtesy; its failure changes nothing.
            try {
                if (std::intptr_t hwnd = Application->Hwnd()) CurrentServer().SetForegroundWindow(hwnd);
            } catch (const AutomationError&) {
            }
        }
        return true;
    });
}

bool ExcelUtils::EnsureWorkbook() {
    if (!Application) {
        host::ShowMessage("Failed to get an instance of Excel!");
        return false;
    }
    return Guarded([] {
        if (Application->GetWorkbooks()->Count() < 1) Application->GetWorkbooks()->Add();
        if (!Workbook) Workbook = Application->ActiveWorkbook();
        if (!Workbook) return false;
        Worksheet = Workbook->ActiveSheet();
        return true;
    });
}

bool ExcelUtils::AddWorkbook() {
    if (!Application) {
        host::ShowMessage("Failed to get an instance of Excel!");
        return false;
    }
    return Guarded([] {
        Workbook = Application->GetWorkbooks()->Add();
        Worksheet = Workbook->ActiveSheet();
        return true;
    });
}

bool ExcelUtils::OpenWorkbook(const std::string& path, int updateLinks, int readOnly) {
    if (path.empty() || !Application) return false;
    const std::string fileName = base::FileName(path);
    // Full names are absolute; a path given relative to the working folder names the same file.
    std::string fullPath = path;
    if (path.find("://") == std::string::npos) {
        std::error_code error;
        auto absolute = std::filesystem::absolute(path, error);
        if (!error) fullPath = absolute.lexically_normal().string();
    }
    return Guarded([&] {
        auto books = Application->GetWorkbooks();
        int count = books->Count();
        for (int i = 1; i <= count; ++i) {
            auto book = books->Item(i);
            if (base::EqualNoCase(book->FullName(), path) || base::EqualNoCase(book->FullName(), fullPath)) {
                Workbook = std::move(book);
                return true;
            }
            if (base::EqualNoCase(book->Name(), fileName)) {
                host::ShowMessage(base::Sprintf(
                    "A document with the name '%s' is already open. You cannot open two documents with the "
                    "same name, even if the documents are in different folders.\nTo open the second "
                    "document, either close the document that's currently open, or rename one of the "
                    "documents.",
                    fileName));
                return false;
            }
        }
        Workbook = books->Open(path, updateLinks, readOnly);
        return Workbook != nullptr;
    });
}

bool ExcelUtils::OpenWorkbookAt(const std::string& path, const std::string& sheetName,
                                const std::string& cellAddress, int updateLinks, int readOnly) {
    if (path.empty()) return false;
    if (!OpenWorkbook(path, updateLinks, readOnly)) return false;
    if (!sheetName.empty() && !ActivateSheet(sheetName)) return false;
    if (!Worksheet) Guarded([] { Worksheet = Workbook->ActiveSheet(); return true; });
    if (cellAddress.empty()) return true;
    return Guarded([&] {
        Sheet().GetRange(cellAddress)->Select();
        return true;
    });
}

void ExcelUtils::Disconnect() {
    Worksheet.reset();
    Workbook.reset();
    ExcelVersion = 0;
    Application.reset();
}

bool ExcelUtils::ChooseFromRunningObjects(const std::string& message) {
    CExcelROTDialog dialog;
    dialog.m_Message = message;
    if (dialog.DoModal() != CExcelROTDialog::IDOK) return false;
    const std::string chosen = dialog.m_MonikerName;
    if (chosen.empty()) {
        host::ShowMessage("The selected workbook path is empty.", "AutoCAD Message");
        return false;
    }
    std::vector<std::string> names;
    if (!CurrentServer().RunningObjects(names)) {
        host::ShowMessage("The running object table is empty.", "AutoCAD Message");
        return false;
    }
    for (const std::string& name : names) {
        if (!base::EqualNoCase(name, chosen)) continue;
        try {
            auto book = CurrentServer().GetRunningWorkbook(name);
            if (!book) continue;
            auto application = book->GetApplication();
            auto sheet = book->ActiveSheet();
            Workbook = std::move(book);
            Application = std::move(application);
            Worksheet = std::move(sheet);
            return true;
        } catch (const AutomationError&) {
            continue;  // a fetch or query that fails passes on to the next entry
        }
    }
    Disconnect();
    return false;
}

bool ExcelUtils::ListRunningObjects(std::vector<std::string>& names) {
    return CurrentServer().RunningObjects(names);
}

std::intptr_t ExcelUtils::FindExcelWindow() {
    if (!Application) return 0;
    std::intptr_t window = 0;
    Guarded([&] {
        // A caption no one else has tells our instance's window from the others.
        constexpr const char* kMark = "{165C7FE3-BDF8-4145-A6F1-A070B5ABD129}";
        Application->SetCaption(kMark);
        window = CurrentServer().FindMainWindow(kMark);
        Application->SetCaption("");
        return true;
    });
    return window;
}

bool ExcelUtils::GetExcelVersionText(std::string& out) {
    bool started = false;
    if (!ConnectToExcel(false)) {
        if (!StartExcel(false)) return false;
        started = true;
    }
    bool ok = Guarded([&] {
        out = Application->Version();
        return true;
    });
    if (started) {
        Guarded([] { Application->Quit(); return true; });
        Disconnect();
    }
    return ok;
}

void ExcelUtils::VelmarTest() {
    ExcelServer& server = CurrentServer();
    std::intptr_t window = server.FindMainWindow("");
    if (window) server.SendToMainWindow(window, 1042);
    auto fail = [](const char* line) {
        LastError += line;
        host::Printf("%s", line);
    };
    if (!ConnectToExcel(true)) fail("\nGetActiveWorkbook failed.");
    if (window) {
        WindowFound = false;
        for (const auto& child : server.WorkbookWindows(window)) {
            if (!child) break;  // no accessible object: the walk ends
            Variant sheet;
            AutoWrap(DISPATCH_PROPERTYGET, &sheet, child.get(), "ActiveSheet");
            auto* found = sheet.type == VarType::Object ? dynamic_cast<excel::Worksheet*>(sheet.object.get()) : nullptr;
            if (!found) continue;
            bool attached = Guarded([&] {
                Application = found->GetApplication();
                Workbook = Application->ActiveWorkbook();
                return true;
            });
            if (attached) {
                WindowFound = true;
                break;
            }
        }
        if (WindowFound) EnsureWorkbook();
        else fail("\nAccessibleObjectFromWorkbookWindow failed.");
    } else {
        fail("\nCannot find XLMAIN.");
    }
    std::vector<std::string> names;
    ListRunningObjects(names);
    for (const std::string& name : names) host::Printf("\n%s", name);
    ChooseFromRunningObjects("");
    Disconnect();
}

// Reading.

bool ExcelUtils::ReadCellsSlow(tables::CStringTable& table, const std::string& address, bool textOnly) {
    return ReadCellsSelected(table, address, "", 0, textOnly);
}

bool ExcelUtils::ReadCellsSelected(tables::CStringTable& table, const std::string& address,
                                   const std::string& selectedRows, int expectedRows, bool textOnly) {
    return Guarded([&] {
        table.RangeAddress = address;
        if (address.find(':', 1) == std::string::npos || address.empty()) {
            tables::CStringArrayEx row;
            row.Add(base::Trim(TextOf(Sheet().GetRange(address)->Text())));
            AddRowTo(table, std::move(row));
            return true;
        }
        int firstRow = 0, firstColumn = 0, lastRow = 0, lastColumn = 0;
        tables::ParseFirstCell(address, firstRow, firstColumn);
        tables::ParseSecondCell(address, lastRow, lastColumn);
        if (firstRow < 1 || firstColumn < 1 || lastRow < 1 || lastColumn < 1) return true;
        std::vector<bool> wanted;
        bool filtered = false;
        if (!selectedRows.empty()) {
            std::vector<int> rows;
            tables::ParseRowList(selectedRows, rows);
            filtered = !rows.empty();
            wanted.assign(static_cast<std::size_t>(lastRow) + 1, false);
            for (int r : rows)
                if (r <= lastRow) wanted[static_cast<std::size_t>(r)] = true;
        }
        (void)expectedRows;  // only ever a hint for the list's room
        const int width = lastColumn - firstColumn + 1;
        if (textOnly) {
            // Hidden rows read as they show: the whole range's texts come at once.
            auto texts = Sheet().GetRange(address)->Texts();
            for (int r = firstRow; r <= lastRow; ++r) {
                tables::CStringArrayEx row;
                if (filtered && !wanted[static_cast<std::size_t>(r)]) {
                    row.SetSize(width);
                } else {
                    for (std::string& text : texts[static_cast<std::size_t>(r - firstRow)]) row.Add(base::Trim(text));
                }
                AddRowTo(table, std::move(row));
            }
            return true;
        }
        long cells = static_cast<long>(lastRow - firstRow + 1) * width;
        host::ProgressMeter meter("Reading Excel data ...", cells + 1);
        auto cellsOf = Sheet().Cells();
        for (int r = firstRow; r <= lastRow; ++r) {
            tables::CStringArrayEx row;
            if (filtered && !wanted[static_cast<std::size_t>(r)]) {
                row.SetSize(width);
                AddRowTo(table, std::move(row));
                continue;
            }
            bool hidden = false;
            for (int c = firstColumn; c <= lastColumn; ++c) {
                auto cell = cellsOf->Item(r, c);
                if (!textOnly && c == firstColumn) hidden = cell->Height() <= 1e-5;
                row.Add(hidden ? std::string() : base::Trim(TextOf(cell->Text())));
                meter.Step();
            }
            AddRowTo(table, std::move(row));
        }
        return true;
    });
}

bool ExcelUtils::ReadValues(tables::CStringTable& table, const std::string& address) {
    // Trailing zeros are dropped while numbers are turned into text, and only then.
    cad::ScopedDimzin dimzin(DrawingUnits(), 8);
    return Guarded([&] {
        auto range = Sheet().GetRange(address);
        const std::string a1 = range->Address();  // the address as the application reads it
        (void)a1;
        Variant value = range->GetValue();
        switch (value.type) {
        case VarType::Empty: AddRowTo(table, tables::CStringArrayEx{std::string()}); return true;
        case VarType::Number: AddRowTo(table, tables::CStringArrayEx{NumberText(value.number)}); return true;
        case VarType::String: AddRowTo(table, tables::CStringArrayEx{value.text}); return true;
        case VarType::Array: break;
        // Anything else is taken for an array, which a lone Boolean, date or error is not.
        default: throw AutomationError(kErrInvalidArg, "");
        }
        const VariantArray& array = *value.array;
        for (int r = 0; r < array.rows; ++r) {
            tables::CStringArrayEx row;
            for (int c = 0; c < array.columns; ++c) {
                const Variant& v = array.At(r, c);
                // Other types add no cell on purpose: callers have always seen the row shift.
                switch (v.type) {
                case VarType::Empty: row.Add(std::string()); break;
                case VarType::Number: row.Add(NumberText(v.number)); break;
                case VarType::String: row.Add(v.text); break;
                default: break;
                }
            }
            AddRowTo(table, std::move(row));
        }
        return true;
    });
}

bool ExcelUtils::ReadValues(tables::CStringTable& table, const std::string& firstCell, const std::string& lastCell) {
    return ReadValues(table, base::Sprintf("%s:%s", firstCell, lastCell));
}

bool ExcelUtils::ReadCommentAndText(KeyLines& lines, bool ignoreProperties) {
    bool ok = true;
    try {
        auto comments = Sheet().GetComments();
        int count = comments->Count();
        host::ProgressMeter meter("Reading the data from Excel...", count + 1);
        for (int i = 1; i <= count; ++i) {
            AddKeyLines(*comments->Item(i), lines, ignoreProperties);
            meter.Step();
        }
    } catch (const AutomationError& e) {
        std::string text = e.Origin() == ErrorOrigin::Interface && !e.Description().empty()
                               ? e.Description()
                               : std::string("Unknown error in ReadCommentAndText");
        host::ShowMessage(text, "Velmar");
        ok = false;
    }
    return ok;
}

namespace {

// The next non-empty line of `text` from `pos`, cut as comment texts have always been cut: at
// every code point whose low 8 bits are a line feed (U+010A too), with malformed bytes taken
// one at a time. False at the end.
bool NextLine(std::string_view text, std::size_t& pos, std::string_view& line) {
    auto delimiterAt = [&](std::size_t at, std::size_t& next) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte < 0x80) {
            next = at + 1;
            return byte == '\n';
        }
        next = at;
        return (base::DecodeUtf8(text, next) & 0xFF) == '\n';
    };
    std::size_t next = 0;
    while (pos < text.size() && delimiterAt(pos, next)) pos = next;
    if (pos >= text.size()) return false;
    const std::size_t start = pos;
    while (pos < text.size() && !delimiterAt(pos, next)) pos = next;
    line = text.substr(start, pos - start);
    return true;
}

}  // namespace

void ExcelUtils::AddKeyLines(excel::Comment& comment, KeyLines& lines, bool ignoreProperties) {
    // A note that is one key, as every note of an export is, lends its text to the key line.
    const base::SharedCounted shared = comment.SharedText();
    const std::string copy = shared.holder ? std::string() : comment.Text();
    const std::string_view text = shared.holder ? shared.View() : std::string_view(copy);
    std::string_view line, cellText;
    bool fetched = false;
    for (std::size_t pos = 0; NextLine(text, pos, line);) {
        bool key = line.find('_', 1) != std::string_view::npos ||
                   (!ignoreProperties && line.find(':', 1) != std::string_view::npos);
        if (!key) continue;
        if (!fetched) {
            Variant shown = comment.Parent()->Text();
            cellText = lines.Keep(shown.type == VarType::String ? std::string_view(shown.text) : std::string_view());
            fetched = true;
        }
        if (shared.holder && line.size() == text.size())
            lines.AddShared(shared, cellText);
        else
            lines.AddKept(line, cellText);
    }
}

bool ExcelUtils::ReadComments(StringMap& mapComment, StringMap& mapValue) {
    int maxRow = 0, maxColumn = 0;
    std::string sheetName;
    // The cells of this sheet's keys, so that the range read fills them without a search of the
    // map for every cell of the range.
    struct KeyCell {
        int row, column;
        std::string* value;
    };
    std::vector<KeyCell> keyCells;
    bool ok = Guarded([&] {
        auto comments = Sheet().GetComments();
        int count = comments->Count();
        sheetName = Sheet().GetName();
        host::ProgressMeter meter("Reading the data from Excel...", count + count / 10);
        for (int i = 1; i <= count; ++i) {
            auto comment = comments->Item(i);
            std::string text = comment->Text();
            meter.Step();
            if (text.empty()) continue;
            bool marked = text.find('_', 1) != std::string::npos || text.find(':', 1) != std::string::npos;
            bool bracketed = text.find('<', 1) != std::string::npos && text.find('>', 1) != std::string::npos;
            if (!base::EqualNoCase(text, "Velmar_CurrentDrawing") && !(marked && bracketed)) continue;
            std::string address = comment->Parent()->Address();
            int row = 0, column = 0;
            tables::ParseCellUpper(address, row, column);
            maxRow = std::max(maxRow, row);
            maxColumn = std::max(maxColumn, column);
            std::string key = base::Sprintf("%s:%s", sheetName, address);
            mapComment[key] = text;
            std::string& value = mapValue[key];
            value.clear();
            keyCells.push_back({row, column, &value});
        }
        return true;
    });
    if (!ok || maxRow < 1 || maxColumn < 1) return ok;
    tables::CStringTable table;
    if (!ReadValues(table, base::Sprintf("$A$1:%s", tables::AbsoluteCell(maxRow, maxColumn)))) return false;
    for (const KeyCell& cell : keyCells) {
        if (cell.row >= 1 && cell.column >= 1 && cell.row <= table.GetSize() &&
            cell.column <= table[cell.row - 1].GetSize()) {
            *cell.value = table[cell.row - 1][cell.column - 1];
        }
    }
    return true;
}

std::string ExcelUtils::SelectionAddress() {
    std::string address;
    if (!Application) return address;
    try {
        if (auto selection = Application->Selection()) address = selection->Address();
    } catch (const AutomationError&) {
        address.clear();
    }
    return address;
}

bool ExcelUtils::ForEachWorksheet(const std::function<bool()>& read) {
    if (!Workbook) return false;
    const std::string active = Worksheet ? Worksheet->GetName() : std::string();
    auto sheets = Workbook->GetWorksheets();
    bool ok = true;
    for (int i = 1, n = sheets->Count(); i <= n && ok; ++i) ok = ActivateSheet(i) && read();
    // The active sheet is restored unless it is the last one read (the only one, often), which
    // `read` may have let go of.
    if (!active.empty() && !(Worksheet && base::EqualNoCase(Worksheet->GetName(), active))) ActivateSheet(active);
    return ok;
}

bool ExcelUtils::WorksheetNames(std::vector<std::string>& names) {
    return Guarded([&] {
        if (!Workbook) return false;
        auto sheets = Workbook->GetWorksheets();
        for (int i = 1, n = sheets->Count(); i <= n; ++i) names.push_back(sheets->Item(i)->GetName());
        return true;
    });
}

bool ExcelUtils::ActivateSheet(const std::string& name) {
    return Guarded([&] {
        if (!Workbook) return false;
        // Found by name, so that no other sheet is read for it.
        std::unique_ptr<excel::Worksheet> sheet;
        try {
            sheet = Workbook->GetWorksheets()->Item(name);
        } catch (const AutomationError& e) {
            if (e.Code() == excel::kErrBadIndex) return false;  // no such sheet
            throw;
        }
        sheet->SetVisible(-1);
        sheet->Activate();
        Worksheet = std::move(sheet);
        return true;
    });
}

bool ExcelUtils::ActivateSheet(int index) {
    return Guarded([&] {
        if (!Workbook) return false;
        auto sheets = Workbook->GetWorksheets();
        if (index < 1 || index > sheets->Count()) return false;
        auto sheet = sheets->Item(index);
        sheet->SetVisible(-1);
        sheet->Activate();
        Worksheet = std::move(sheet);
        return true;
    });
}

bool ExcelUtils::AddOrActivateSheet(const std::string& name) {
    if (ActivateSheet(name)) return true;
    return Guarded([&] {
        if (!Workbook) return false;
        auto sheet = Workbook->GetWorksheets()->Add();
        sheet->SetName(name);
        Worksheet = std::move(sheet);
        return true;
    });
}

bool ExcelUtils::ReadDocumentProperty(const std::string& name, std::string& value) {
    return Guarded([&] {
        if (!Workbook) return false;
        Variant v = Workbook->BuiltinDocumentProperties()->Item(name);
        switch (v.type) {
        case VarType::String: value = v.text; break;
        case VarType::Number: value = base::Sprintf("%g", v.number); break;
        case VarType::Date: {
            double days = v.number - 25569.0;
            std::time_t seconds = static_cast<std::time_t>(days * 86400.0 + (days >= 0 ? 0.5 : -0.5));
            std::tm tm{};
            gmtime_r(&seconds, &tm);
            char buffer[32];
            std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &tm);
            value = buffer;
            break;
        }
        default: value.clear();
        }
        return true;
    });
}

bool ExcelUtils::LastSaveTime(excel::Workbook& workbook, OleDateTime& out) {
    return Guarded([&] {
        if (workbook.Path().empty()) {
            out = {NowAsOleDate(), true};
            return true;
        }
        Variant v = workbook.BuiltinDocumentProperties()->Item("Last Save Time");
        out = {v.number, v.type == VarType::Date};
        return true;
    });
}

namespace {

template <class Get>
double CellGeometry(int row, int column, Get&& get) {
    double value = 0;
    Guarded([&] {
        auto cell = Sheet().Cells()->Item(row, column);
        value = get(*cell);
        return true;
    });
    return value;
}

}  // namespace

double ExcelUtils::RowHeight(int row, int column) { return CellGeometry(row, column, [](Range& r) { return r.Height(); }); }
double ExcelUtils::RowTop(int row, int column) { return CellGeometry(row, column, [](Range& r) { return r.Top(); }); }
double ExcelUtils::ColumnLeft(int row, int column) { return CellGeometry(row, column, [](Range& r) { return r.Left(); }); }
double ExcelUtils::ColumnWidth(int row, int column) { return CellGeometry(row, column, [](Range& r) { return r.Width(); }); }

// Writing.

bool ExcelUtils::CreateStagingArray(int rows, int columns) {
    if (rows < 1 || columns < 1) return false;
    staging = std::make_shared<VariantArray>(rows, columns);
    for (Variant& v : staging->items) v.type = VarType::String;
    return true;
}

void ExcelUtils::PutStagedCell(std::string_view value, int row, int column) {
    if (!staging || !staging->Contains(row, column)) return;
    staging->At(row, column).text = value;
}

bool ExcelUtils::FlushStaging(const std::string& topLeftAddress, bool clearComments, bool deleteHyperlinks) {
    if (!staging || staging->items.empty()) {
        staging.reset();
        return true;
    }
    Guarded([&] {
        std::shared_ptr<VariantArray> array = std::move(staging);
        auto block = Sheet().GetRange(topLeftAddress, topLeftAddress)->Resize(array->rows, array->columns);
        block->SetValue(Variant::Array(array));
        array.reset();
        if (clearComments) block->ClearComments();
        if (deleteHyperlinks) block->GetHyperlinks()->Delete();
        return true;
    });
    staging.reset();
    return false;
}

bool ExcelUtils::SetCellValue(int row, int column, const std::string& value) {
    return Guarded([&] {
        Sheet().Cells()->Item(row, column)->SetValue(Variant::String(value));
        return true;
    });
}

bool ExcelUtils::SetComment(const std::string& address, const std::string& text) {
    return Guarded([&] {
        auto range = Sheet().GetRange(address);
        if (auto old = range->GetComment()) old->Delete();
        range->AddComment(text);
        return true;
    });
}

bool ExcelUtils::AddFont(int firstRow, int firstColumn, int lastRow, int lastColumn, bool bold, bool italic) {
    if (!bold && !italic) return true;
    bool ok = true;
    if (bold) ok = Queue(PendingBold, firstRow, firstColumn, lastRow, lastColumn);
    if (italic && ok) ok = Queue(PendingItalic, firstRow, firstColumn, lastRow, lastColumn);
    return ok;
}

bool ExcelUtils::AddHorizontal(int firstRow, int firstColumn, int lastRow, int lastColumn, int value) {
    if (firstRow < 1 || firstColumn < 1 || lastRow < 1 || lastColumn < 1) return false;
    return Queue(PendingHorizontal[value], firstRow, firstColumn, lastRow, lastColumn);
}

bool ExcelUtils::AddVertical(int firstRow, int firstColumn, int lastRow, int lastColumn, int value) {
    if (firstRow < 1 || firstColumn < 1 || lastRow < 1 || lastColumn < 1) return false;
    return Queue(PendingVertical[value], firstRow, firstColumn, lastRow, lastColumn);
}

bool ExcelUtils::AddInterior(int firstRow, int firstColumn, int lastRow, int lastColumn, int colourIndex) {
    if (firstRow < 1 || firstColumn < 1 || lastRow < 1 || lastColumn < 1) return false;
    return Queue(PendingInterior[colourIndex], firstRow, firstColumn, lastRow, lastColumn);
}

bool ExcelUtils::AddWrap(int firstRow, int firstColumn, int lastRow, int lastColumn) {
    return Queue(PendingWrap, firstRow, firstColumn, lastRow, lastColumn);
}

std::vector<std::string> ExcelUtils::AddressBatches(const std::string& list) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    int commas = 0;
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (list[i] != ',') continue;
        // The application takes only so long an address; 20 areas stay within it.
        if (++commas % kBatchAddresses == 0) {
            pieces.push_back(list.substr(start, i - start));
            start = i + 1;
        }
    }
    if (start < list.size()) pieces.push_back(list.substr(start));
    return pieces;
}

bool ExcelUtils::ApplyFonts() {
    bool bold = ApplyList(PendingBold, [](Range& r) { r.GetFont()->SetBold(true); });
    bool italic = ApplyList(PendingItalic, [](Range& r) { r.GetFont()->SetItalic(true); });
    PendingBold.clear();
    PendingItalic.clear();
    return bold && italic;
}

bool ExcelUtils::ApplyHorizontal() {
    bool ok = ApplyKeyed(PendingHorizontal, [](Range& r, int key) { r.SetHorizontalAlignment(key); });
    PendingHorizontal.clear();
    return ok;
}

bool ExcelUtils::ApplyVertical() {
    bool ok = ApplyKeyed(PendingVertical, [](Range& r, int key) { r.SetVerticalAlignment(key); });
    PendingVertical.clear();
    return ok;
}

bool ExcelUtils::ApplyInterior() {
    bool ok = ApplyKeyed(PendingInterior, [](Range& r, int key) { r.GetInterior()->SetColorIndex(key); });
    PendingInterior.clear();
    return ok;
}

bool ExcelUtils::ApplyWrap() {
    bool ok = ApplyList(PendingWrap, [](Range& r) { r.SetWrapText(true); });
    PendingWrap.clear();
    return ok;
}

bool ExcelUtils::SetFont(const std::string& address, bool bold, bool italic) {
    return Guarded([&] {
        auto font = Sheet().GetRange(address)->GetFont();
        if (bold) font->SetBold(true);
        if (italic) font->SetItalic(true);
        return true;
    });
}

bool ExcelUtils::SetHorizontal(const std::string& address, int value) {
    return Guarded([&] {
        Sheet().GetRange(address)->SetHorizontalAlignment(value);
        return true;
    });
}

bool ExcelUtils::SetVertical(const std::string& address, int value) {
    return Guarded([&] {
        Sheet().GetRange(address)->SetVerticalAlignment(value);
        return true;
    });
}

bool ExcelUtils::SetInterior(const std::string& address, int colourIndex) {
    return Guarded([&] {
        Sheet().GetRange(address)->GetInterior()->SetColorIndex(colourIndex);
        return true;
    });
}

bool ExcelUtils::SetWrap(const std::string& address) {
    return Guarded([&] {
        Sheet().GetRange(address)->SetWrapText(true);
        return true;
    });
}

bool ExcelUtils::SetBorder(const std::string& address, int edge, int weight, int lineStyle, int colourIndex) {
    Guarded([&] {
        auto border = Sheet().GetRange(address)->GetBorders()->Item(edge);
        border->SetWeight(weight);
        border->SetLineStyle(lineStyle);
        if (colourIndex != xlColorIndexAutomatic) border->SetColorIndex(colourIndex);
        return true;
    });
    return false;
}

bool ExcelUtils::MergeRange(int firstRow, int firstColumn, int lastRow, int lastColumn) {
    if (firstRow < 1 || firstColumn < 1 || lastRow < 1 || lastColumn < 1) return false;
    return Guarded([&] {
        bool alerts = Application ? Application->GetDisplayAlerts() : true;
        if (Application) Application->SetDisplayAlerts(false);
        try {
            Sheet().GetRange(RectAddress(firstRow, firstColumn, lastRow, lastColumn))->Merge();
        } catch (...) {
            if (Application) Application->SetDisplayAlerts(alerts);
            throw;
        }
        if (Application) Application->SetDisplayAlerts(alerts);
        return true;
    });
}

bool ExcelUtils::AutoFitColumn(int column) {
    return Guarded([&] {
        Sheet().Columns()->Item(column)->AutoFit();
        return true;
    });
}

bool ExcelUtils::AutoFitColumns(const std::string& address) {
    return Guarded([&] {
        Sheet().GetRange(address)->Columns()->AutoFit();
        return true;
    });
}

bool ExcelUtils::AutoFitUsedColumns() {
    return Guarded([] {
        Sheet().UsedRange()->Columns()->AutoFit();
        return true;
    });
}

bool ExcelUtils::AutoFitRows(const std::string& address) {
    return Guarded([&] {
        Sheet().GetRange(address)->Rows()->AutoFit();
        return true;
    });
}

bool ExcelUtils::AutoFitUsedRows() {
    return Guarded([] {
        Sheet().UsedRange()->Rows()->AutoFit();
        return true;
    });
}

bool ExcelUtils::InsertAt(int row, int column, int shift) {
    return Guarded([&] {
        Sheet().Cells()->Item(row, column)->Insert(shift);
        return true;
    });
}

bool ExcelUtils::DeleteRows(const std::vector<long>& rows) {
    return Guarded([&] {
        for (long n : rows) {
            Sheet().Rows()->Item(static_cast<int>(n))->Delete();
            host::Printf("\nDelete the row %ld successfully.", n);
        }
        return true;
    });
}

bool ExcelUtils::SetEditDirectlyInCell(bool flag) {
    return Guarded([&] {
        if (!Application) return false;
        Application->SetEditDirectlyInCell(flag);
        return true;
    });
}

bool ExcelUtils::FillTestPattern(int rows, int columns) {
    if (!Worksheet) {
        host::ShowMessage("Please specific a worksheet.");
        return false;
    }
    if (!CreateStagingArray(rows, columns)) return false;
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c) PutStagedCell(base::Sprintf("r%dc%d", r + 1, c + 1), r, c);
    FlushStaging("A1", false, false);
    return true;
}

void ExcelUtils::SetDrawingUnits(cad::UnitSettings* units) {
    unitsSource = nullptr;
    drawingUnits = units ? units : &defaultUnits;
}

void ExcelUtils::SetDrawingUnitsSource(std::function<cad::UnitSettings()> source) {
    drawingUnits = &defaultUnits;
    unitsSource = std::move(source);
}

ScopedExcelWriting::ScopedExcelWriting() {
    if (!ExcelUtils::Application) return;
    try {
        displayAlerts_ = ExcelUtils::Application->GetDisplayAlerts();
        ExcelUtils::Application->SetDisplayAlerts(false);
        editDirectlyInCell_ = ExcelUtils::Application->GetEditDirectlyInCell();
        ExcelUtils::Application->SetEditDirectlyInCell(false);
        ExcelUtils::Application->SetInteractive(false);
        active_ = true;
    } catch (const AutomationError&) {
        active_ = true;  // what was changed is put back all the same
    }
}

ScopedExcelWriting::~ScopedExcelWriting() {
    if (!active_ || !ExcelUtils::Application) return;
    try {
        ExcelUtils::Application->SetEditDirectlyInCell(editDirectlyInCell_);
        ExcelUtils::Application->SetInteractive(true);
        ExcelUtils::Application->SetDisplayAlerts(displayAlerts_);
    } catch (const AutomationError&) {
    }
}

}  // namespace arxutils
