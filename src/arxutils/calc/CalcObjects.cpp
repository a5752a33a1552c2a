#include "arxutils/calc/CalcObjects.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <cstdlib>

#include <com/sun/star/awt/FontSlant.hpp>
#include <com/sun/star/awt/FontWeight.hpp>
#include <com/sun/star/awt/Point.hpp>
#include <com/sun/star/awt/Size.hpp>
#include <com/sun/star/awt/XWindow.hpp>
#include <com/sun/star/awt/XWindow2.hpp>
#include <com/sun/star/beans/NamedValue.hpp>
#include <com/sun/star/beans/PropertyValue.hpp>
#include <com/sun/star/beans/XPropertySet.hpp>
#include <com/sun/star/configuration/theDefaultProvider.hpp>
#include <com/sun/star/container/XEnumeration.hpp>
#include <com/sun/star/container/XEnumerationAccess.hpp>
#include <com/sun/star/container/XIndexAccess.hpp>
#include <com/sun/star/container/XNameAccess.hpp>
#include <com/sun/star/container/XNamed.hpp>
#include <com/sun/star/document/XActionLockable.hpp>
#include <com/sun/star/document/XDocumentProperties.hpp>
#include <com/sun/star/document/XDocumentPropertiesSupplier.hpp>
#include <com/sun/star/document/XUndoManager.hpp>
#include <com/sun/star/document/XUndoManagerSupplier.hpp>
#include <com/sun/star/frame/XComponentLoader.hpp>
#include <com/sun/star/frame/XController.hpp>
#include <com/sun/star/frame/XFrame.hpp>
#include <com/sun/star/frame/XFrames.hpp>
#include <com/sun/star/frame/XFramesSupplier.hpp>
#include <com/sun/star/frame/XModel.hpp>
#include <com/sun/star/frame/XTitle.hpp>
#include <com/sun/star/lang/DisposedException.hpp>
#include <com/sun/star/lang/IllegalArgumentException.hpp>
#include <com/sun/star/lang/IndexOutOfBoundsException.hpp>
#include <com/sun/star/lang/XMultiServiceFactory.hpp>
#include <com/sun/star/sheet/CellDeleteMode.hpp>
#include <com/sun/star/sheet/CellInsertMode.hpp>
#include <com/sun/star/sheet/CellFlags.hpp>
#include <com/sun/star/sheet/FormulaResult.hpp>
#include <com/sun/star/sheet/XCalculatable.hpp>
#include <com/sun/star/sheet/XCellFormatRangesSupplier.hpp>
#include <com/sun/star/sheet/XCellRangesQuery.hpp>
#include <com/sun/star/sheet/XCellRangeAddressable.hpp>
#include <com/sun/star/sheet/XCellRangeData.hpp>
#include <com/sun/star/sheet/XCellRangeMovement.hpp>
#include <com/sun/star/sheet/XSheetAnnotation.hpp>
#include <com/sun/star/sheet/XSheetAnnotationAnchor.hpp>
#include <com/sun/star/sheet/XSheetAnnotations.hpp>
#include <com/sun/star/sheet/XSheetAnnotationsSupplier.hpp>
#include <com/sun/star/sheet/XSheetCellCursor.hpp>
#include <com/sun/star/sheet/XSheetCellRanges.hpp>
#include <com/sun/star/sheet/XSheetOperation.hpp>
#include <com/sun/star/sheet/XSpreadsheet.hpp>
#include <com/sun/star/sheet/XSpreadsheetView.hpp>
#include <com/sun/star/sheet/XSpreadsheets.hpp>
#include <com/sun/star/sheet/XUsedAreaCursor.hpp>
#include <com/sun/star/table/BorderLine2.hpp>
#include <com/sun/star/table/BorderLineStyle.hpp>
#include <com/sun/star/table/CellAddress.hpp>
#include <com/sun/star/table/CellHoriJustify.hpp>
#include <com/sun/star/table/CellRangeAddress.hpp>
#include <com/sun/star/table/CellVertJustify2.hpp>
#include <com/sun/star/table/TableBorder2.hpp>
#include <com/sun/star/table/XCell.hpp>
#include <com/sun/star/table/XCellRange.hpp>
#include <com/sun/star/table/XColumnRowRange.hpp>
#include <com/sun/star/table/XTableColumns.hpp>
#include <com/sun/star/table/XTableRows.hpp>
#include <com/sun/star/text/XText.hpp>
#include <com/sun/star/text/XTextContent.hpp>
#include <com/sun/star/text/XTextField.hpp>
#include <com/sun/star/text/XTextFieldsSupplier.hpp>
#include <com/sun/star/util/Date.hpp>
#include <com/sun/star/util/DateTime.hpp>
#include <com/sun/star/util/NumberFormat.hpp>
#include <com/sun/star/util/XNumberFormatsSupplier.hpp>
#include <com/sun/star/frame/XStorable.hpp>
#include <com/sun/star/util/XCloseable.hpp>
#include <com/sun/star/util/XMergeable.hpp>
#include <com/sun/star/util/XModifiable.hpp>
#include <com/sun/star/io/IOException.hpp>
#include <com/sun/star/sheet/XSheetCellRange.hpp>
#include <com/sun/star/text/XSimpleText.hpp>
#include <cppuhelper/exc_hlp.hxx>
#include <com/sun/star/view/XSelectionSupplier.hpp>
#include <osl/file.hxx>

#include "arxutils/excel/CellEntry.h"
#include "base/Path.h"
#include "base/Text.h"
#include "xl/Styles.h"

namespace arxutils::calc {

using css::uno::Any;
using css::uno::Reference;
using css::uno::Sequence;
using css::uno::UNO_QUERY;
using css::uno::UNO_QUERY_THROW;
using excel::AutomationError;
using excel::Variant;
using excel::VariantArray;
using excel::VarType;

std::string ToUtf8(const rtl::OUString& text) {
    rtl::OString utf8 = rtl::OUStringToOString(text, RTL_TEXTENCODING_UTF8);
    return std::string(utf8.getStr(), static_cast<std::size_t>(utf8.getLength()));
}

rtl::OUString FromUtf8(std::string_view text) {
    return rtl::OUString(text.data(), static_cast<sal_Int32>(text.size()), RTL_TEXTENCODING_UTF8);
}

void ThrowUnoFailure(const css::uno::Exception& failure) {
    std::string message = ToUtf8(failure.Message);
    // The message ends with the source position in Calc's own code; the user has no use for it.
    if (message.rfind("at ./", 0) == 0) message.clear();
    else if (std::size_t at = message.rfind(" at ./"); at != std::string::npos) message.erase(at);
    Any caught = cppu::getCaughtException();
    // Calc (7.4) answers a call on the cells of a closed document with a RuntimeException that
    // says nothing but where it was thrown.
    const bool bareRuntime = message.empty() && caught.getValueType() == cppu::UnoType<css::uno::RuntimeException>::get();
    if (bareRuntime || caught.isExtractableTo(cppu::UnoType<css::lang::DisposedException>::get())) {
        throw AutomationError(excel::kErrUnavailable,
                              "LibreOffice Calc closed the document, or the connection to it was lost" +
                                  (message.empty() ? std::string(".") : " (" + message + ")."));
    }
    if (caught.isExtractableTo(cppu::UnoType<css::lang::IndexOutOfBoundsException>::get()))
        throw AutomationError(excel::kErrBadIndex, "LibreOffice Calc: " + (message.empty() ? "index out of range" : message));
    throw AutomationError(excel::kErrException, "LibreOffice Calc: " + (message.empty() ? "the call failed" : message));
}

namespace {

[[noreturn]] void Fail(const std::string& description, std::int32_t code = excel::kErrApplication) {
    throw AutomationError(code, description);
}

// A closed document answers some calls with nothing instead of failing: that is the same
// failure as a disposed one.
template <class T>
Reference<T> Live(const Reference<T>& object) {
    if (!object.is())
        throw AutomationError(excel::kErrUnavailable, "LibreOffice Calc closed the document, or the connection to it was lost.");
    return object;
}

using Document = Reference<css::sheet::XSpreadsheetDocument>;
using Sheet = Reference<css::sheet::XSpreadsheet>;

using excel::RangeMode;

// Points from Calc's hundredths of a millimetre.
double Points(sal_Int32 hundredthsOfMillimetre) { return hundredthsOfMillimetre * 72.0 / 2540.0; }

Reference<css::sheet::XSpreadsheetView> ViewOf(const Document& document) {
    Reference<css::frame::XModel> model(document, UNO_QUERY);
    if (!model.is()) return {};
    return Reference<css::sheet::XSpreadsheetView>(model->getCurrentController(), UNO_QUERY);
}

Reference<css::frame::XFrame> FrameOf(const Document& document) {
    Reference<css::frame::XModel> model(document, UNO_QUERY);
    if (!model.is()) return {};
    Reference<css::frame::XController> controller = model->getCurrentController();
    return controller.is() ? controller->getFrame() : Reference<css::frame::XFrame>();
}

sal_Int16 SheetIndex(const Sheet& sheet) {
    Reference<css::sheet::XCellRangeAddressable> addressable(sheet, UNO_QUERY_THROW);
    return addressable->getRangeAddress().Sheet;
}

// The sheet's last row and column (from 1): Calc's limits differ from the application's. They are
// the same for every sheet of an office, and asked once.
xl::CellRange SheetBounds(const Sheet& sheet) {
    static xl::CellRange known;
    if (known.IsValid()) return known;
    Reference<css::table::XColumnRowRange> parts(sheet, UNO_QUERY_THROW);
    known = {1, 1, Live(parts->getRows())->getCount(), Live(parts->getColumns())->getCount()};
    return known;
}

// Cells that hold anything; an invalid range for an empty sheet.
xl::CellRange UsedArea(const Sheet& sheet) {
    Reference<css::sheet::XSheetCellCursor> cursor = Live(sheet->createCursor());
    Reference<css::sheet::XUsedAreaCursor> used(cursor, UNO_QUERY_THROW);
    used->gotoStartOfUsedArea(false);
    used->gotoEndOfUsedArea(true);
    Reference<css::sheet::XCellRangeAddressable> addressable(cursor, UNO_QUERY_THROW);
    css::table::CellRangeAddress a = addressable->getRangeAddress();
    xl::CellRange r{a.StartRow + 1, a.StartColumn + 1, a.EndRow + 1, a.EndColumn + 1};
    if (r.firstRow == r.lastRow && r.firstColumn == r.lastColumn) {
        // An empty sheet gives its first cell.
        Reference<css::table::XCell> cell = sheet->getCellByPosition(a.StartColumn, a.StartRow);
        if (cell->getType() == css::table::CellContentType_EMPTY) return {};
    }
    return r;
}

// Whole rows and columns cost what is used, and stay inside the sheet.
xl::CellRange Clip(const Sheet& sheet, const xl::CellRange& r) {
    xl::CellRange out = r;
    if (excel::WholeRows(r) || excel::WholeColumns(r)) {
        xl::CellRange used = UsedArea(sheet);
        if (excel::WholeRows(r)) out.lastColumn = std::max(1, used.IsValid() ? used.lastColumn : 1);
        if (excel::WholeColumns(r)) out.lastRow = std::max(1, used.IsValid() ? used.lastRow : 1);
    }
    xl::CellRange bounds = SheetBounds(sheet);
    out.lastRow = std::min(out.lastRow, bounds.lastRow);
    out.lastColumn = std::min(out.lastColumn, bounds.lastColumn);
    if (!out.IsValid()) Fail("The range lies outside the sheet of LibreOffice Calc.");
    return out;
}

css::table::CellRangeAddress UnoAddress(const Sheet& sheet, const xl::CellRange& r) {
    xl::CellRange bounds = SheetBounds(sheet);
    css::table::CellRangeAddress a;
    a.Sheet = SheetIndex(sheet);
    a.StartColumn = r.firstColumn - 1;
    a.StartRow = r.firstRow - 1;
    a.EndColumn = std::min(r.lastColumn, bounds.lastColumn) - 1;
    a.EndRow = std::min(r.lastRow, bounds.lastRow) - 1;
    return a;
}

Reference<css::table::XCellRange> CellsOf(const Sheet& sheet, const xl::CellRange& r) {
    return Live(sheet->getCellRangeByPosition(r.firstColumn - 1, r.firstRow - 1, r.lastColumn - 1, r.lastRow - 1));
}

Variant FromAny(const Any& value) {
    if (double number = 0; value >>= number) return Variant::Number(number);
    if (rtl::OUString text; value >>= text) {
        if (text.isEmpty()) return {};
        return Variant::String(ToUtf8(text));
    }
    if (bool flag = false; value >>= flag) return Variant::Boolean(flag);
    return {};
}

// A text goes in as a number when it is a plain one, otherwise as the very text.
Any ToAny(const Variant& value) {
    switch (value.type) {
    case VarType::Empty: return Any(rtl::OUString());
    case VarType::String: {
        double number = 0;
        if (excel::IsPlainNumber(value.text, number)) return Any(number);
        return Any(FromUtf8(value.text));
    }
    case VarType::Number:
    case VarType::Date:
    case VarType::Boolean: return Any(value.number);
    case VarType::Error: return Any(FromUtf8(value.text));
    case VarType::Array:
    case VarType::Object: break;
    }
    Fail("Type mismatch", excel::kErrTypeMismatch);
}

// An OLE date (days since 1899-12-30) from a UNO date and time.
double OleDate(const css::util::DateTime& t) {
    auto days = [](int y, int m, int d) {
        // Days from the civil calendar, then shifted to the OLE epoch.
        y -= m <= 2;
        const int era = (y >= 0 ? y : y - 399) / 400;
        const int yoe = y - era * 400;
        const int doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
        const int doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
        return era * 146097 + doe - 719468;
    };
    const double epoch = days(1899, 12, 30);
    return days(t.Year, t.Month, t.Day) - epoch + (t.Hours * 3600.0 + t.Minutes * 60.0 + t.Seconds) / 86400.0;
}

class CalcWorksheet;
std::unique_ptr<excel::Worksheet> MakeWorksheet(const SessionPtr& session, const Document& document, const Sheet& sheet);
std::unique_ptr<excel::Range> MakeRange(const SessionPtr& session, const Document& document, const Sheet& sheet,
                                        std::vector<xl::CellRange> areas, RangeMode mode = RangeMode::Cells);

// ---- Application ---------------------------------------------------------------------------

class CalcWorkbooks : public excel::Workbooks {
public:
    explicit CalcWorkbooks(SessionPtr session) : session_(std::move(session)) {}
    int Count() override {
        return Guarded([&] { return static_cast<int>(SpreadsheetDocuments(session_).size()); });
    }
    std::unique_ptr<excel::Workbook> Item(int index) override {
        return Guarded([&] {
            auto documents = SpreadsheetDocuments(session_);
            if (index < 1 || index > static_cast<int>(documents.size()))
                Fail("Subscript out of range", excel::kErrBadIndex);
            return MakeWorkbook(session_, documents[static_cast<std::size_t>(index - 1)]);
        });
    }
    std::unique_ptr<excel::Workbook> Add() override {
        return Guarded([&] {
            Sequence<css::beans::PropertyValue> arguments(1);
            arguments.getArray()[0].Name = "Hidden";
            arguments.getArray()[0].Value <<= session_->headless;
            return Load("private:factory/scalc", arguments, "a new spreadsheet");
        });
    }
    std::unique_ptr<excel::Workbook> Open(const std::string& fileName, int, int readOnly) override {
        return Guarded([&] {
            rtl::OUString url = FromUtf8(fileName);
            if (fileName.find("://") == std::string::npos) {
                rtl::OUString absolute;
                if (osl::FileBase::getFileURLFromSystemPath(FromUtf8(base::FullPath(fileName)), absolute) !=
                    osl::FileBase::E_None)
                    Fail("'" + fileName + "' is not a file name LibreOffice Calc can open.");
                url = absolute;
            }
            Sequence<css::beans::PropertyValue> arguments(2);
            arguments.getArray()[0].Name = "ReadOnly";
            arguments.getArray()[0].Value <<= readOnly != 0;
            arguments.getArray()[1].Name = "Hidden";
            arguments.getArray()[1].Value <<= session_->headless;
            return Load(url, arguments, "'" + fileName + "'");
        });
    }

private:
    std::unique_ptr<excel::Workbook> Load(const rtl::OUString& url,
                                          const Sequence<css::beans::PropertyValue>& arguments,
                                          const std::string& what) {
        Reference<css::frame::XComponentLoader> loader(session_->desktop, UNO_QUERY_THROW);
        Reference<css::lang::XComponent> component;
        try {
            component = loader->loadComponentFromURL(url, "_blank", 0, arguments);
        } catch (const css::lang::IllegalArgumentException&) {
        } catch (const css::io::IOException&) {
        }
        if (!component.is()) Fail("LibreOffice Calc could not open " + what + ".");
        Document document(component, UNO_QUERY);
        if (!document.is()) {
            Reference<css::util::XCloseable> closeable(component, UNO_QUERY);
            if (closeable.is()) closeable->close(true);
            Fail("LibreOffice opened " + what + ", but it is not a spreadsheet.");
        }
        session_->active = document;
        return MakeWorkbook(session_, document);
    }
    SessionPtr session_;
};

Document ActiveDocument(const SessionPtr& session) {
    auto documents = SpreadsheetDocuments(session);
    for (const Document& d : documents)
        if (session->active.is() && d == session->active) return d;
    Document current(session->desktop->getCurrentComponent(), UNO_QUERY);
    if (current.is()) return current;
    return documents.empty() ? Document() : documents.front();
}

class CalcApplication : public excel::Application {
public:
    explicit CalcApplication(SessionPtr session) : session_(std::move(session)) {}
    std::unique_ptr<excel::Workbooks> GetWorkbooks() override { return std::make_unique<CalcWorkbooks>(session_); }
    std::unique_ptr<excel::Workbook> ActiveWorkbook() override {
        return Guarded([&]() -> std::unique_ptr<excel::Workbook> {
            Document document = ActiveDocument(session_);
            return document.is() ? MakeWorkbook(session_, document) : nullptr;
        });
    }
    std::unique_ptr<excel::Worksheet> ActiveSheet() override {
        auto book = ActiveWorkbook();
        return book ? book->ActiveSheet() : nullptr;
    }
    std::unique_ptr<excel::Range> ActiveCell() override {
        // Calc has no cell cursor apart from the selection: its first cell stands for it.
        auto selection = Selection();
        return selection ? selection->Item(1, 1) : nullptr;
    }
    std::unique_ptr<excel::Range> Selection() override {
        return Guarded([&]() -> std::unique_ptr<excel::Range> {
            Document document = ActiveDocument(session_);
            if (!document.is()) return nullptr;
            auto sheet = ActiveSheetOf(document);
            Reference<css::frame::XModel> model(document, UNO_QUERY_THROW);
            Reference<css::view::XSelectionSupplier> supplier(model->getCurrentController(), UNO_QUERY);
            std::vector<xl::CellRange> areas;
            if (supplier.is()) {
                Any selected = supplier->getSelection();
                Reference<css::sheet::XCellRangeAddressable> one(selected, UNO_QUERY);
                Reference<css::sheet::XSheetCellRanges> many(selected, UNO_QUERY);
                auto add = [&](const css::table::CellRangeAddress& a) {
                    areas.push_back({a.StartRow + 1, a.StartColumn + 1, a.EndRow + 1, a.EndColumn + 1});
                };
                if (one.is()) {
                    add(one->getRangeAddress());
                } else if (many.is()) {
                    for (const auto& a : many->getRangeAddresses()) add(a);
                }
            }
            if (areas.empty()) areas.push_back({1, 1, 1, 1});
            return MakeRange(session_, document, sheet, std::move(areas));
        });
    }
    std::string Version() override {
        return Guarded([&] {
            auto provider = css::configuration::theDefaultProvider::get(session_->context);
            css::beans::NamedValue path("nodepath", Any(rtl::OUString("/org.openoffice.Setup/Product")));
            Sequence<Any> arguments(1);
            arguments.getArray()[0] <<= path;
            Reference<css::container::XNameAccess> product(
                provider->createInstanceWithArguments("com.sun.star.configuration.ConfigurationAccess", arguments),
                UNO_QUERY_THROW);
            rtl::OUString version;
            product->getByName("ooSetupVersion") >>= version;
            return ToUtf8(version);
        });
    }
    bool GetVisible() override {
        return Guarded([&] { return !session_->headless && !ShowsNoWindow(session_->desktop); });
    }
    void SetVisible(bool visible) override {
        // A headless soffice stays as it is: it would end on showing a window.
        if (session_->headless) return;
        Guarded([&] {
            for (const Document& d : SpreadsheetDocuments(session_))
                if (auto frame = FrameOf(d); frame.is() && frame->getContainerWindow().is())
                    frame->getContainerWindow()->setVisible(visible);
        });
    }
    std::string GetCaption() override {
        return Guarded([&] {
            Document document = ActiveDocument(session_);
            Reference<css::frame::XTitle> title(FrameOf(document), UNO_QUERY);
            return title.is() ? ToUtf8(title->getTitle()) : std::string("LibreOffice Calc");
        });
    }
    void SetCaption(std::string_view caption) override {
        Guarded([&] {
            Reference<css::frame::XTitle> title(FrameOf(ActiveDocument(session_)), UNO_QUERY);
            if (title.is()) title->setTitle(FromUtf8(caption));
        });
    }
    std::intptr_t Hwnd() override { return 0; }
    bool GetDisplayAlerts() override { return session_->displayAlerts; }
    void SetDisplayAlerts(bool on) override { session_->displayAlerts = on; }
    bool GetEditDirectlyInCell() override { return session_->editDirectlyInCell; }
    void SetEditDirectlyInCell(bool on) override { session_->editDirectlyInCell = on; }
    // Off, the active document stops repainting, recalculating, laying out its drawing objects
    // (the notes' captions) and recording undo steps while a writer fills it, as Excel does when
    // it isn't interactive (its automation's changes can't be undone either); with them off a
    // note costs half as much. On, all are given back as they were.
    void SetInteractive(bool on) override {
        session_->interactive = on;
        Guarded([&] {
            if (!on) {
                if (session_->locked.is()) return;
                Document document = ActiveDocument(session_);
                if (!document.is()) return;
                Reference<css::sheet::XCalculatable> calculatable(document, UNO_QUERY_THROW);
                session_->lockedAutomaticCalculation = calculatable->isAutomaticCalculationEnabled();
                calculatable->enableAutomaticCalculation(false);
                Reference<css::frame::XModel>(document, UNO_QUERY_THROW)->lockControllers();
                Reference<css::document::XActionLockable>(document, UNO_QUERY_THROW)->addActionLock();
                Reference<css::document::XUndoManagerSupplier>(document, UNO_QUERY_THROW)->getUndoManager()->lock();
                session_->locked = document;
                return;
            }
            if (!session_->locked.is()) return;
            // Cleared first: a document closed meanwhile has nothing left to give back.
            Document document = session_->locked;
            session_->locked.clear();
            Reference<css::document::XUndoManagerSupplier>(document, UNO_QUERY_THROW)->getUndoManager()->unlock();
            Reference<css::document::XActionLockable>(document, UNO_QUERY_THROW)->removeActionLock();
            Reference<css::frame::XModel>(document, UNO_QUERY_THROW)->unlockControllers();
            Reference<css::sheet::XCalculatable>(document, UNO_QUERY_THROW)
                ->enableAutomaticCalculation(session_->lockedAutomaticCalculation);
        });
    }
    void Quit() override {
        Guarded([&] {
            for (const Document& d : SpreadsheetDocuments(session_)) {
                Reference<css::util::XModifiable> modifiable(d, UNO_QUERY);
                if (modifiable.is()) modifiable->setModified(false);
            }
            session_->desktop->terminate();
        });
    }

    static Sheet ActiveSheetOf(const Document& document) {
        auto view = ViewOf(document);
        if (view.is()) return view->getActiveSheet();
        Reference<css::container::XIndexAccess> sheets(document->getSheets(), UNO_QUERY_THROW);
        return Sheet(sheets->getByIndex(0), UNO_QUERY_THROW);
    }

private:
    SessionPtr session_;
};

// ---- Workbook --------------------------------------------------------------------------------

class CalcDocumentProperties : public excel::DocumentProperties {
public:
    explicit CalcDocumentProperties(Document document) : document_(std::move(document)) {}
    Variant Item(std::string_view name) override {
        return Guarded([&] {
            Reference<css::document::XDocumentPropertiesSupplier> supplier(document_, UNO_QUERY_THROW);
            Reference<css::document::XDocumentProperties> p = supplier->getDocumentProperties();
            auto text = [](const rtl::OUString& value) {
                if (value.isEmpty()) Fail("Invalid procedure call or argument", excel::kErrInvalidArg);
                return Variant::String(ToUtf8(value));
            };
            auto date = [](const css::util::DateTime& value) {
                if (value.Year == 0) Fail("Automation error", excel::kErrUnspecified);
                return Variant::Date(OleDate(value));
            };
            if (base::EqualNoCase(name, "Title")) return text(p->getTitle());
            if (base::EqualNoCase(name, "Subject")) return text(p->getSubject());
            if (base::EqualNoCase(name, "Author")) return text(p->getAuthor());
            if (base::EqualNoCase(name, "Comments")) return text(p->getDescription());
            if (base::EqualNoCase(name, "Last Author")) return text(p->getModifiedBy());
            if (base::EqualNoCase(name, "Creation Date")) return date(p->getCreationDate());
            if (base::EqualNoCase(name, "Last Save Time")) return date(p->getModificationDate());
            if (base::EqualNoCase(name, "Last Print Date")) return date(p->getPrintDate());
            Fail("Invalid procedure call or argument", excel::kErrInvalidArg);
        });
    }

private:
    Document document_;
};

class CalcWorksheets : public excel::Worksheets {
public:
    CalcWorksheets(SessionPtr session, Document document) : session_(std::move(session)), document_(std::move(document)) {}
    int Count() override { return Guarded([&] { return static_cast<int>(Sheets()->getCount()); }); }
    std::unique_ptr<excel::Worksheet> Item(int index) override {
        return Guarded([&] {
            auto sheets = Sheets();
            if (index < 1 || index > sheets->getCount()) Fail("Subscript out of range", excel::kErrBadIndex);
            return MakeWorksheet(session_, document_, Sheet(sheets->getByIndex(index - 1), UNO_QUERY_THROW));
        });
    }
    std::unique_ptr<excel::Worksheet> Item(std::string_view name) override {
        return Guarded([&] {
            auto sheets = Sheets();
            for (sal_Int32 i = 0; i < sheets->getCount(); ++i) {
                Sheet sheet(sheets->getByIndex(i), UNO_QUERY_THROW);
                Reference<css::container::XNamed> named(sheet, UNO_QUERY_THROW);
                if (base::EqualNoCase(ToUtf8(named->getName()), name)) return MakeWorksheet(session_, document_, sheet);
            }
            Fail("Subscript out of range", excel::kErrBadIndex);
        });
    }
    std::unique_ptr<excel::Worksheet> Add() override {
        return Guarded([&] {
            Reference<css::sheet::XSpreadsheets> sheets = document_->getSheets();
            std::string name;
            for (int n = Sheets()->getCount() + 1;; ++n) {
                name = "Sheet" + std::to_string(n);
                if (!sheets->hasByName(FromUtf8(name))) break;
            }
            sal_Int16 position = SheetIndex(CalcApplication::ActiveSheetOf(document_));
            sheets->insertNewByName(FromUtf8(name), position);
            session_->notedSheetIndex = -1;
            Sheet sheet(sheets->getByName(FromUtf8(name)), UNO_QUERY_THROW);
            if (auto view = ViewOf(document_); view.is()) view->setActiveSheet(sheet);
            return MakeWorksheet(session_, document_, sheet);
        });
    }

private:
    Reference<css::container::XIndexAccess> Sheets() {
        return Reference<css::container::XIndexAccess>(Live(document_->getSheets()), UNO_QUERY_THROW);
    }
    SessionPtr session_;
    Document document_;
};

class CalcWorkbook : public excel::Workbook {
public:
    CalcWorkbook(SessionPtr session, Document document) : session_(std::move(session)), document_(std::move(document)) {}
    std::string Name() override {
        return Guarded([&] { return base::FileName(FullNameOf(document_)); });
    }
    std::string FullName() override { return Guarded([&] { return FullNameOf(document_); }); }
    std::string Path() override {
        return Guarded([&] {
            Reference<css::frame::XModel> model(document_, UNO_QUERY_THROW);
            if (model->getURL().isEmpty()) return std::string();
            return base::Folder(FullNameOf(document_));
        });
    }
    std::unique_ptr<excel::Application> GetApplication() override { return MakeApplication(session_); }
    std::unique_ptr<excel::Worksheet> ActiveSheet() override {
        return Guarded([&] { return MakeWorksheet(session_, document_, CalcApplication::ActiveSheetOf(document_)); });
    }
    std::unique_ptr<excel::Worksheets> GetWorksheets() override {
        return std::make_unique<CalcWorksheets>(session_, document_);
    }
    std::unique_ptr<excel::DocumentProperties> BuiltinDocumentProperties() override {
        return std::make_unique<CalcDocumentProperties>(document_);
    }
    void RefreshAll() override {
        Guarded([&] {
            Reference<css::sheet::XCalculatable> calculatable(document_, UNO_QUERY_THROW);
            calculatable->calculateAll();
        });
    }
    void Activate() override {
        Guarded([&] {
            session_->active = document_;
            if (auto frame = FrameOf(document_); frame.is()) frame->activate();
        });
    }
    void Close() override {
        Guarded([&] {
            if (session_->active == document_) session_->active.clear();
            Reference<css::util::XCloseable> closeable(document_, UNO_QUERY_THROW);
            closeable->close(true);
        });
    }

private:
    SessionPtr session_;
    Document document_;
};

// ---- Worksheet -------------------------------------------------------------------------------

class CalcComments;

class CalcWorksheet : public excel::Worksheet {
public:
    CalcWorksheet(SessionPtr session, Document document, Sheet sheet)
        : session_(std::move(session)), document_(std::move(document)), sheet_(std::move(sheet)) {}
    std::string GetName() override {
        return Guarded([&] { return ToUtf8(Reference<css::container::XNamed>(sheet_, UNO_QUERY_THROW)->getName()); });
    }
    void SetName(std::string_view name) override {
        Guarded([&] {
            if (name.empty() || name.find_first_of(":\\/?*[]") != std::string_view::npos)
                Fail("You typed an invalid name for a sheet.");
            Reference<css::container::XNamed>(sheet_, UNO_QUERY_THROW)->setName(FromUtf8(name));
        });
    }
    void SetVisible(int state) override {
        Guarded([&] {
            Reference<css::beans::XPropertySet>(sheet_, UNO_QUERY_THROW)->setPropertyValue("IsVisible", Any(state == -1));
        });
    }
    void Activate() override {
        Guarded([&] {
            session_->active = document_;
            if (auto view = ViewOf(document_); view.is()) view->setActiveSheet(sheet_);
        });
    }
    std::unique_ptr<excel::Application> GetApplication() override { return MakeApplication(session_); }
    std::unique_ptr<excel::Range> GetRange(std::string_view address) override {
        std::vector<xl::CellRange> areas;
        if (!excel::ParseAreas(address, areas)) Fail("Method 'Range' of object '_Worksheet' failed");
        return MakeRange(session_, document_, sheet_, std::move(areas));
    }
    std::unique_ptr<excel::Range> GetRange(std::string_view cell1, std::string_view cell2) override {
        std::vector<xl::CellRange> a, b;
        if (!excel::ParseAreas(cell1, a) || !excel::ParseAreas(cell2, b))
            Fail("Method 'Range' of object '_Worksheet' failed");
        xl::CellRange r{std::min(a[0].firstRow, b[0].firstRow), std::min(a[0].firstColumn, b[0].firstColumn),
                        std::max(a[0].lastRow, b[0].lastRow), std::max(a[0].lastColumn, b[0].lastColumn)};
        return MakeRange(session_, document_, sheet_, {r});
    }
    std::unique_ptr<excel::Range> Cells() override { return Whole(RangeMode::Cells); }
    std::unique_ptr<excel::Range> UsedRange() override {
        return Guarded([&] {
            xl::CellRange used = UsedArea(sheet_);
            return MakeRange(session_, document_, sheet_, {used.IsValid() ? used : xl::CellRange{1, 1, 1, 1}});
        });
    }
    std::unique_ptr<excel::Comments> GetComments() override;
    std::unique_ptr<excel::Range> Columns() override { return Whole(RangeMode::Columns); }
    std::unique_ptr<excel::Range> Rows() override { return Whole(RangeMode::Rows); }

private:
    std::unique_ptr<excel::Range> Whole(RangeMode mode) {
        return MakeRange(session_, document_, sheet_, {{1, 1, xl::kMaxRow, xl::kMaxColumn}}, mode);
    }
    SessionPtr session_;
    Document document_;
    Sheet sheet_;
};

// ---- Comments --------------------------------------------------------------------------------

Reference<css::sheet::XSheetAnnotations> AnnotationsOf(const Sheet& sheet) {
    Reference<css::sheet::XSheetAnnotationsSupplier> supplier(sheet, UNO_QUERY_THROW);
    return Live(supplier->getAnnotations());
}

// The cells of `sheet` that hold a note, read from Calc the first time a note of that sheet is
// asked for.
std::set<std::pair<int, int>>& NotedCells(Session& session, const Sheet& sheet) {
    if (session.notedSheet == sheet) return session.noted;
    session.noted.clear();
    Reference<css::sheet::XCellRangesQuery> query(Live(sheet), UNO_QUERY_THROW);
    Reference<css::sheet::XSheetCellRanges> noted = query->queryContentCells(css::sheet::CellFlags::ANNOTATION);
    if (noted.is())
        for (const css::table::CellRangeAddress& m : noted->getRangeAddresses())
            for (sal_Int32 row = m.StartRow; row <= m.EndRow; ++row)
                for (sal_Int32 column = m.StartColumn; column <= m.EndColumn; ++column) session.noted.emplace(row + 1, column + 1);
    session.notedSheet = sheet;
    session.notes.clear();
    session.notedSheetIndex = -1;
    return session.noted;
}

Reference<css::sheet::XSheetAnnotations> NotesOf(Session& session, const Sheet& sheet) {
    NotedCells(session, sheet);
    if (!session.notes.is()) session.notes = AnnotationsOf(sheet);
    return session.notes;
}

sal_Int16 NotedSheetIndex(Session& session, const Sheet& sheet) {
    NotedCells(session, sheet);
    if (session.notedSheetIndex < 0) session.notedSheetIndex = SheetIndex(sheet);
    return static_cast<sal_Int16>(session.notedSheetIndex);
}

// Cells moved or merged take their notes along: the noted cells are read again when next asked.
void ForgetNotedCells(Session& session) {
    session.notedSheet.clear();
    session.noted.clear();
}

bool HasNote(Session& session, const Sheet& sheet, int row, int column) {
    return NotedCells(session, sheet).count({row, column}) > 0;
}

// Removes the notes of the cells of `r`, and nothing else; no call at all when none has one.
void ClearNotes(Session& session, const Sheet& sheet, const xl::CellRange& r) {
    auto& noted = NotedCells(session, sheet);
    bool any = false;
    for (auto at = noted.lower_bound({r.firstRow, 0}); at != noted.end() && at->first <= r.lastRow;) {
        if (at->second >= r.firstColumn && at->second <= r.lastColumn) {
            at = noted.erase(at);
            any = true;
        } else {
            ++at;
        }
    }
    if (!any) return;
    Reference<css::sheet::XSheetOperation> operation(CellsOf(sheet, r), UNO_QUERY_THROW);
    operation->clearContents(css::sheet::CellFlags::ANNOTATION);
}

class CalcComment : public excel::Comment {
public:
    CalcComment(SessionPtr session, Document document, Sheet sheet, int row, int column)
        : session_(std::move(session)), document_(std::move(document)), sheet_(std::move(sheet)), row_(row), column_(column) {}
    std::string Text() override {
        return Guarded([&] {
            Reference<css::sheet::XSheetAnnotationAnchor> anchor(Live(sheet_)->getCellByPosition(column_ - 1, row_ - 1), UNO_QUERY_THROW);
            Reference<css::text::XSimpleText> text(anchor->getAnnotation(), UNO_QUERY_THROW);
            return ToUtf8(text->getString());
        });
    }
    std::unique_ptr<excel::Range> Parent() override {
        return MakeRange(session_, document_, sheet_, {{row_, column_, row_, column_}});
    }
    void Delete() override {
        Guarded([&] {
            ClearNotes(*session_, sheet_, {row_, column_, row_, column_});
        });
    }

private:
    SessionPtr session_;
    Document document_;
    Sheet sheet_;
    int row_, column_;
};

class CalcComments : public excel::Comments {
public:
    CalcComments(SessionPtr session, Document document, Sheet sheet)
        : session_(std::move(session)), document_(std::move(document)), sheet_(std::move(sheet)) {}
    int Count() override {
        return Guarded([&] {
            return static_cast<int>(Reference<css::container::XIndexAccess>(AnnotationsOf(sheet_), UNO_QUERY_THROW)->getCount());
        });
    }
    std::unique_ptr<excel::Comment> Item(int index) override {
        return Guarded([&] {
            Reference<css::container::XIndexAccess> all(AnnotationsOf(sheet_), UNO_QUERY_THROW);
            if (index < 1 || index > all->getCount()) Fail("Subscript out of range", excel::kErrBadIndex);
            Reference<css::sheet::XSheetAnnotation> note(all->getByIndex(index - 1), UNO_QUERY_THROW);
            css::table::CellAddress at = note->getPosition();
            return std::make_unique<CalcComment>(session_, document_, sheet_, at.Row + 1, at.Column + 1);
        });
    }

private:
    SessionPtr session_;
    Document document_;
    Sheet sheet_;
};

std::unique_ptr<excel::Comments> CalcWorksheet::GetComments() {
    return std::make_unique<CalcComments>(session_, document_, sheet_);
}

// ---- Formats ---------------------------------------------------------------------------------

// The cells a format object works on.
struct Target {
    Document document;
    Sheet sheet;
    std::vector<xl::CellRange> areas;

    template <class Each>
    void ForEachArea(Each&& each) const {
        for (const xl::CellRange& a : areas) {
            Reference<css::beans::XPropertySet> properties(CellsOf(sheet, Clip(sheet, a)), UNO_QUERY_THROW);
            each(properties, a);
        }
    }
    Reference<css::beans::XPropertySet> First() const {
        const xl::CellRange& a = areas.front();
        return Reference<css::beans::XPropertySet>(sheet->getCellByPosition(a.firstColumn - 1, a.firstRow - 1), UNO_QUERY_THROW);
    }
    void Set(const char* property, const Any& value) const {
        ForEachArea([&](const Reference<css::beans::XPropertySet>& p, const xl::CellRange&) {
            p->setPropertyValue(rtl::OUString::createFromAscii(property), value);
        });
    }
};

class CalcFont : public excel::Font {
public:
    explicit CalcFont(Target target) : t_(std::move(target)) {}
    void SetBold(bool on) override {
        Guarded([&] { t_.Set("CharWeight", Any(on ? css::awt::FontWeight::BOLD : css::awt::FontWeight::NORMAL)); });
    }
    void SetItalic(bool on) override {
        Guarded([&] { t_.Set("CharPosture", Any(on ? css::awt::FontSlant_ITALIC : css::awt::FontSlant_NONE)); });
    }
    double Size() override {
        return Guarded([&] {
            float height = 0;
            t_.First()->getPropertyValue("CharHeight") >>= height;
            return static_cast<double>(height);
        });
    }

private:
    Target t_;
};

class CalcInterior : public excel::Interior {
public:
    explicit CalcInterior(Target target) : t_(std::move(target)) {}
    void SetColorIndex(int index) override {
        Guarded([&] {
            if (index == excel::xlColorIndexNone) {
                t_.Set("CellBackColor", Any(sal_Int32(-1)));
                t_.Set("IsCellBackgroundTransparent", Any(true));
                return;
            }
            if (index < 1 || index > 56) Fail("Unable to set the ColorIndex property of the Interior class");
            t_.Set("CellBackColor", Any(static_cast<sal_Int32>(xl::PaletteColor(index) & 0xFFFFFF)));
        });
    }

private:
    Target t_;
};

class CalcBorder : public excel::Border {
public:
    CalcBorder(Target target, int edge) : t_(std::move(target)), edge_(edge) {}
    void SetLineStyle(int style) override { style_ = style; Apply(); }
    void SetWeight(int weight) override { weight_ = weight; Apply(); }
    void SetColorIndex(int index) override {
        if (index == excel::xlColorIndexAutomatic) return;
        color_ = index >= 1 && index <= 56 ? static_cast<sal_Int32>(xl::PaletteColor(index) & 0xFFFFFF) : 0;
        Apply();
    }

private:
    css::table::BorderLine2 Line() const {
        css::table::BorderLine2 line;
        line.Color = color_;
        if (style_ == excel::xlLineStyleNone) {
            line.LineStyle = css::table::BorderLineStyle::NONE;
            return line;
        }
        switch (style_) {
        case excel::xlDash: line.LineStyle = css::table::BorderLineStyle::DASHED; break;
        case excel::xlDot: line.LineStyle = css::table::BorderLineStyle::DOTTED; break;
        case excel::xlDashDot:
        case excel::xlSlantDashDot: line.LineStyle = css::table::BorderLineStyle::DASH_DOT; break;
        case excel::xlDashDotDot: line.LineStyle = css::table::BorderLineStyle::DASH_DOT_DOT; break;
        case excel::xlDouble: line.LineStyle = css::table::BorderLineStyle::DOUBLE; break;
        default: line.LineStyle = css::table::BorderLineStyle::SOLID; break;
        }
        // Widths in hundredths of a millimetre that Calc (7.4) writes to an xlsx file as hair,
        // thin, medium and thick: it takes 18 for hair, 53 for thin and 88 for thick.
        switch (weight_) {
        case excel::xlHairline: line.LineWidth = 9; break;
        case excel::xlMedium: line.LineWidth = 79; break;
        case excel::xlThick: line.LineWidth = 141; break;
        default: line.LineWidth = 26; break;
        }
        line.OuterLineWidth = static_cast<sal_Int16>(line.LineWidth);
        return line;
    }
    void Apply() {
        Guarded([&] {
            css::table::BorderLine2 line = Line();
            t_.ForEachArea([&](const Reference<css::beans::XPropertySet>& p, const xl::CellRange&) {
                if (edge_ == excel::xlDiagonalDown) {
                    p->setPropertyValue("DiagonalTLBR2", Any(line));
                    return;
                }
                if (edge_ == excel::xlDiagonalUp) {
                    p->setPropertyValue("DiagonalBLTR2", Any(line));
                    return;
                }
                // Only the edge named is marked valid, so the others stay as they are.
                css::table::TableBorder2 border;
                switch (edge_) {
                case excel::xlEdgeLeft: border.LeftLine = line; border.IsLeftLineValid = true; break;
                case excel::xlEdgeTop: border.TopLine = line; border.IsTopLineValid = true; break;
                case excel::xlEdgeBottom: border.BottomLine = line; border.IsBottomLineValid = true; break;
                case excel::xlEdgeRight: border.RightLine = line; border.IsRightLineValid = true; break;
                case excel::xlInsideVertical: border.VerticalLine = line; border.IsVerticalLineValid = true; break;
                case excel::xlInsideHorizontal: border.HorizontalLine = line; border.IsHorizontalLineValid = true; break;
                default: break;
                }
                p->setPropertyValue("TableBorder2", Any(border));
            });
        });
    }
    Target t_;
    int edge_;
    int style_ = excel::xlContinuous;
    int weight_ = excel::xlThin;
    sal_Int32 color_ = 0;
};

class CalcBorders : public excel::Borders {
public:
    explicit CalcBorders(Target target) : t_(std::move(target)) {}
    std::unique_ptr<excel::Border> Item(int edge) override {
        if (edge < excel::xlDiagonalDown || edge > excel::xlInsideHorizontal)
            Fail("Unable to get the Item property of the Borders class", excel::kErrBadIndex);
        return std::make_unique<CalcBorder>(t_, edge);
    }

private:
    Target t_;
};

// A hyperlink in Calc is a URL field inside the cell's text.
class CalcHyperlinks : public excel::Hyperlinks {
public:
    explicit CalcHyperlinks(Target target) : t_(std::move(target)) {}
    int Count() override {
        return Guarded([&] {
            int n = 0;
            ForEachLinkedCell([&](const Reference<css::table::XCell>&) { ++n; });
            return n;
        });
    }
    void Add(excel::Range& anchor, std::string_view address) override {
        Guarded([&] {
            const int row = anchor.Row(), column = anchor.Column();
            Reference<css::table::XCell> cell = t_.sheet->getCellByPosition(column - 1, row - 1);
            Reference<css::text::XText> text(cell, UNO_QUERY_THROW);
            rtl::OUString shown = text->getString();
            if (shown.isEmpty()) shown = FromUtf8(address);
            Reference<css::lang::XMultiServiceFactory> factory(t_.document, UNO_QUERY_THROW);
            Reference<css::beans::XPropertySet> field(factory->createInstance("com.sun.star.text.TextField.URL"),
                                                      UNO_QUERY_THROW);
            field->setPropertyValue("URL", Any(FromUtf8(address)));
            field->setPropertyValue("Representation", Any(shown));
            text->setString("");
            Reference<css::text::XTextContent> content(field, UNO_QUERY_THROW);
            text->insertTextContent(text->getStart(), content, false);
        });
    }
    void Delete() override {
        Guarded([&] {
            // Writing the text back drops the fields and keeps what the cell shows.
            ForEachLinkedCell([](const Reference<css::table::XCell>& cell) {
                Reference<css::text::XText> text(cell, UNO_QUERY_THROW);
                rtl::OUString shown = text->getString();
                text->setString(shown);
            });
        });
    }

private:
    template <class Each>
    void ForEachLinkedCell(Each&& each) {
        for (const xl::CellRange& area : t_.areas) {
            xl::CellRange a = Clip(t_.sheet, area);
            // Only a cell of formatted text can hold a field: Calc finds those in one call.
            Reference<css::sheet::XCellRangesQuery> query(CellsOf(t_.sheet, a), UNO_QUERY_THROW);
            Reference<css::sheet::XSheetCellRanges> formatted = query->queryContentCells(css::sheet::CellFlags::FORMATTED);
            if (!formatted.is()) continue;
            for (const css::table::CellRangeAddress& m : formatted->getRangeAddresses()) {
                for (sal_Int32 row = m.StartRow; row <= m.EndRow; ++row) {
                    for (sal_Int32 column = m.StartColumn; column <= m.EndColumn; ++column) {
                        Reference<css::table::XCell> cell = t_.sheet->getCellByPosition(column, row);
                        Reference<css::text::XTextFieldsSupplier> fields(cell, UNO_QUERY);
                        if (!fields.is()) continue;
                        Reference<css::container::XEnumerationAccess> all(fields->getTextFields(), UNO_QUERY);
                        if (all.is() && all->hasElements()) each(cell);
                    }
                }
            }
        }
    }
    Target t_;
};

// ---- Range -----------------------------------------------------------------------------------

int ToExcelHorizontal(css::table::CellHoriJustify value) {
    switch (value) {
    case css::table::CellHoriJustify_LEFT: return excel::xlLeft;
    case css::table::CellHoriJustify_CENTER: return excel::xlCenter;
    case css::table::CellHoriJustify_RIGHT: return excel::xlRight;
    case css::table::CellHoriJustify_BLOCK: return excel::xlJustify;
    case css::table::CellHoriJustify_REPEAT: return excel::xlFill;
    default: return excel::xlGeneral;
    }
}

css::table::CellHoriJustify FromExcelHorizontal(int value) {
    switch (value) {
    case excel::xlLeft: return css::table::CellHoriJustify_LEFT;
    case excel::xlCenter:
    case excel::xlCenterAcrossSelection: return css::table::CellHoriJustify_CENTER;
    case excel::xlRight: return css::table::CellHoriJustify_RIGHT;
    case excel::xlJustify:
    case excel::xlDistributed: return css::table::CellHoriJustify_BLOCK;
    case excel::xlFill: return css::table::CellHoriJustify_REPEAT;
    default: return css::table::CellHoriJustify_STANDARD;
    }
}

class CalcRange : public excel::Range {
public:
    CalcRange(SessionPtr session, Document document, Sheet sheet, std::vector<xl::CellRange> areas, RangeMode mode)
        : session_(std::move(session)), document_(std::move(document)), sheet_(std::move(sheet)),
          areas_(std::move(areas)), mode_(mode) {}

    Variant GetValue() override {
        return Guarded([&] {
            xl::CellRange a = Clip(sheet_, First());
            Sequence<Sequence<Any>> values = Data(a)->getDataArray();
            auto array = std::make_shared<VariantArray>(values.getLength(), values.getLength() ? values[0].getLength() : 0);
            for (sal_Int32 r = 0; r < values.getLength(); ++r)
                for (sal_Int32 c = 0; c < values[r].getLength(); ++c) array->At(r, c) = FromAny(values[r][c]);
            TypeByFormat(a, *array);
            if (a.firstRow == a.lastRow && a.firstColumn == a.lastColumn) return array->At(0, 0);
            return Variant::Array(array);
        });
    }
    void SetValue(const Variant& value) override {
        Guarded([&] {
            for (const xl::CellRange& area : areas_) {
                xl::CellRange a = Clip(sheet_, area);
                int rows = a.lastRow - a.firstRow + 1, columns = a.lastColumn - a.firstColumn + 1;
                if (value.type == VarType::Array) {
                    rows = std::min(rows, value.array->rows);
                    columns = std::min(columns, value.array->columns);
                    if (rows < 1 || columns < 1) continue;
                }
                Sequence<Sequence<Any>> data(rows);
                Any single = value.type == VarType::Array ? Any() : ToAny(value);
                for (int r = 0; r < rows; ++r) {
                    Sequence<Any> line(columns);
                    Any* cells = line.getArray();
                    for (int c = 0; c < columns; ++c)
                        cells[c] = value.type == VarType::Array ? ToAny(value.array->At(r, c)) : single;
                    data.getArray()[r] = line;
                }
                xl::CellRange written{a.firstRow, a.firstColumn, a.firstRow + rows - 1, a.firstColumn + columns - 1};
                auto notes = NotesIn(written);
                Data(written)->setDataArray(data);
                if (!notes.empty()) {
                    auto annotations = AnnotationsOf(sheet_);
                    for (const auto& [at, text] : notes) annotations->insertNew(at, text);
                }
            }
        });
    }
    std::unique_ptr<excel::Range> Item(int row, int column) override {
        return Make({excel::ItemArea(First(), mode_, row, column)});
    }
    Variant Text() override {
        auto texts = Texts();
        std::string first = texts.empty() || texts[0].empty() ? std::string() : texts[0][0];
        for (const auto& row : texts)
            for (const std::string& t : row)
                if (t != first) return {};
        return Variant::String(std::move(first));
    }
    std::vector<std::vector<std::string>> Texts() override {
        return Guarded([&] {
            // The values come in one call; only a number has to be asked for what it shows.
            xl::CellRange a = Clip(sheet_, First());
            Sequence<Sequence<Any>> values = Data(a)->getDataArray();
            std::vector<std::vector<std::string>> texts(static_cast<std::size_t>(values.getLength()));
            for (sal_Int32 r = 0; r < values.getLength(); ++r) {
                texts[r].resize(static_cast<std::size_t>(values[r].getLength()));
                for (sal_Int32 c = 0; c < values[r].getLength(); ++c) {
                    if (rtl::OUString text; values[r][c] >>= text) {
                        texts[r][c] = ToUtf8(text);
                    } else {
                        Reference<css::text::XText> cell(Live(sheet_)->getCellByPosition(a.firstColumn - 1 + c, a.firstRow - 1 + r),
                                                         UNO_QUERY_THROW);
                        texts[r][c] = ToUtf8(cell->getString());
                    }
                }
            }
            return texts;
        });
    }
    std::string Address(bool rowAbsolute, bool columnAbsolute) override {
        return excel::AreasName(areas_, rowAbsolute, columnAbsolute);
    }
    std::unique_ptr<excel::Range> Resize(int rows, int columns) override {
        return Make({excel::ResizedArea(First(), rows, columns)});
    }
    std::unique_ptr<excel::Worksheet> Parent() override { return MakeWorksheet(session_, document_, sheet_); }
    std::unique_ptr<excel::Range> Find(std::string_view what, excel::Range*, int searchOrder, int searchDirection) override {
        return Guarded([&]() -> std::unique_ptr<excel::Range> {
            xl::CellRange used = UsedArea(sheet_);
            if (!used.IsValid()) return nullptr;
            xl::CellRange a = First();
            a.firstRow = std::max(a.firstRow, used.firstRow);
            a.firstColumn = std::max(a.firstColumn, used.firstColumn);
            a.lastRow = std::min(a.lastRow, used.lastRow);
            a.lastColumn = std::min(a.lastColumn, used.lastColumn);
            if (!a.IsValid()) return nullptr;
            Sequence<Sequence<Any>> values = Data(a)->getDataArray();
            std::vector<std::vector<std::string>> texts;
            if (what != "*") texts = Make({a})->Texts();
            int r = 0, c = 0;
            auto hit = [&](int row, int column) {
                return what == "*" ? !FromAny(values[row][column]).IsEmpty()
                                   : base::EqualNoCase(texts[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)], what);
            };
            if (excel::FindInOrder(a, searchOrder, searchDirection, hit, r, c))
                return Make({{a.firstRow + r, a.firstColumn + c, a.firstRow + r, a.firstColumn + c}});
            return nullptr;
        });
    }
    int Row() override { return First().firstRow; }
    int Column() override { return First().firstColumn; }
    std::unique_ptr<excel::Range> Rows() override { return std::make_unique<CalcRange>(session_, document_, sheet_, areas_, RangeMode::Rows); }
    std::unique_ptr<excel::Range> Columns() override { return std::make_unique<CalcRange>(session_, document_, sheet_, areas_, RangeMode::Columns); }
    long Count() override { return excel::AreaCount(areas_, mode_); }
    // Calc keeps sizes in hundredths of a millimetre, Excel gives whole pixels of 0.75 point:
    // edges are rounded to pixels and a size is the distance of its rounded edges, so that a
    // top plus a height is the next top, as in Excel. A hidden row or column is 0 high or wide.
    double Height() override {
        return Guarded([&] {
            if (Hidden("Rows")) return 0.0;
            return Pixels(EdgeAfter().Y) - Pixels(Position().Y);
        });
    }
    double Width() override {
        return Guarded([&] {
            if (Hidden("Columns")) return 0.0;
            return Pixels(EdgeAfter().X) - Pixels(Position().X);
        });
    }
    double Top() override { return Guarded([&] { return Pixels(Position().Y); }); }
    double Left() override { return Guarded([&] { return Pixels(Position().X); }); }
    int GetHorizontalAlignment() override {
        return Guarded([&] {
            css::table::CellHoriJustify value = css::table::CellHoriJustify_STANDARD;
            Styled().First()->getPropertyValue("HoriJustify") >>= value;
            return ToExcelHorizontal(value);
        });
    }
    void SetHorizontalAlignment(int value) override {
        Guarded([&] { Styled().Set("HoriJustify", Any(FromExcelHorizontal(value))); });
    }
    int GetVerticalAlignment() override {
        return Guarded([&] {
            sal_Int32 value = css::table::CellVertJustify2::STANDARD;
            Styled().First()->getPropertyValue("VertJustify") >>= value;
            switch (value) {
            case css::table::CellVertJustify2::TOP: return excel::xlTop;
            case css::table::CellVertJustify2::CENTER: return excel::xlCenter;
            case css::table::CellVertJustify2::BLOCK: return excel::xlJustify;
            default: return excel::xlBottom;
            }
        });
    }
    void SetVerticalAlignment(int value) override {
        Guarded([&] {
            sal_Int32 v = css::table::CellVertJustify2::BOTTOM;
            if (value == excel::xlTop) v = css::table::CellVertJustify2::TOP;
            else if (value == excel::xlCenter) v = css::table::CellVertJustify2::CENTER;
            else if (value == excel::xlJustify || value == excel::xlDistributed) v = css::table::CellVertJustify2::BLOCK;
            Styled().Set("VertJustify", Any(v));
        });
    }
    void SetWrapText(bool on) override { Guarded([&] { Styled().Set("IsTextWrapped", Any(on)); }); }
    std::unique_ptr<excel::Font> GetFont() override { return std::make_unique<CalcFont>(Styled()); }
    std::unique_ptr<excel::Interior> GetInterior() override { return std::make_unique<CalcInterior>(Styled()); }
    std::unique_ptr<excel::Borders> GetBorders() override { return std::make_unique<CalcBorders>(Styled()); }
    void Merge() override {
        Guarded([&] {
            for (const xl::CellRange& a : areas_) {
                Reference<css::util::XMergeable> mergeable(CellsOf(sheet_, Clip(sheet_, a)), UNO_QUERY_THROW);
                mergeable->merge(true);
                ForgetNotedCells(*session_);
            }
        });
    }
    std::unique_ptr<excel::Range> MergeArea() override {
        return Guarded([&] {
            const xl::CellRange& a = First();
            Reference<css::sheet::XSheetCellRange> cell(CellsOf(sheet_, {a.firstRow, a.firstColumn, a.firstRow, a.firstColumn}),
                                                        UNO_QUERY_THROW);
            Reference<css::sheet::XSheetCellCursor> cursor = sheet_->createCursorByRange(cell);
            cursor->collapseToMergedArea();
            css::table::CellRangeAddress m = Reference<css::sheet::XCellRangeAddressable>(cursor, UNO_QUERY_THROW)->getRangeAddress();
            return Make({{m.StartRow + 1, m.StartColumn + 1, m.EndRow + 1, m.EndColumn + 1}});
        });
    }
    void Select() override {
        Guarded([&] {
            Reference<css::frame::XModel> model(document_, UNO_QUERY_THROW);
            Reference<css::view::XSelectionSupplier> supplier(model->getCurrentController(), UNO_QUERY);
            if (!supplier.is()) return;
            if (auto view = ViewOf(document_); view.is()) view->setActiveSheet(sheet_);
            supplier->select(Any(CellsOf(sheet_, Clip(sheet_, First()))));
        });
    }
    void AutoFit() override {
        Guarded([&] {
            xl::CellRange a = Clip(sheet_, First());
            Reference<css::table::XColumnRowRange> parts(CellsOf(sheet_, a), UNO_QUERY_THROW);
            if (mode_ == RangeMode::Rows || excel::WholeRows(First())) {
                Reference<css::beans::XPropertySet>(parts->getRows(), UNO_QUERY_THROW)->setPropertyValue("OptimalHeight", Any(true));
            } else if (mode_ == RangeMode::Columns || excel::WholeColumns(First())) {
                Reference<css::beans::XPropertySet>(parts->getColumns(), UNO_QUERY_THROW)->setPropertyValue("OptimalWidth", Any(true));
            } else {
                Fail("AutoFit method of Range class failed");
            }
        });
    }
    void Insert(int shift) override {
        Guarded([&] {
            Reference<css::sheet::XCellRangeMovement> movement(sheet_, UNO_QUERY_THROW);
            const xl::CellRange& a = First();
            css::sheet::CellInsertMode mode = shift == excel::xlShiftToRight ? css::sheet::CellInsertMode_RIGHT
                                                                            : css::sheet::CellInsertMode_DOWN;
            if (excel::WholeRows(a)) mode = css::sheet::CellInsertMode_ROWS;
            else if (excel::WholeColumns(a)) mode = css::sheet::CellInsertMode_COLUMNS;
            if (mode == css::sheet::CellInsertMode_RIGHT || mode == css::sheet::CellInsertMode_DOWN) CheckNoMergeMoves(a, mode == css::sheet::CellInsertMode_RIGHT);
            movement->insertCells(UnoAddress(sheet_, a), mode);
            ForgetNotedCells(*session_);
        });
    }
    void Delete(int shift) override {
        Guarded([&] {
            Reference<css::sheet::XCellRangeMovement> movement(sheet_, UNO_QUERY_THROW);
            // Later areas first, so that the earlier ones stay where they were.
            for (auto a = areas_.rbegin(); a != areas_.rend(); ++a) {
                css::sheet::CellDeleteMode mode = shift == excel::xlShiftToLeft ? css::sheet::CellDeleteMode_LEFT
                                                                               : css::sheet::CellDeleteMode_UP;
                if (excel::WholeRows(*a)) mode = css::sheet::CellDeleteMode_ROWS;
                else if (excel::WholeColumns(*a)) mode = css::sheet::CellDeleteMode_COLUMNS;
                if (mode == css::sheet::CellDeleteMode_LEFT || mode == css::sheet::CellDeleteMode_UP) CheckNoMergeMoves(*a, mode == css::sheet::CellDeleteMode_LEFT);
                movement->removeRange(UnoAddress(sheet_, *a), mode);
                ForgetNotedCells(*session_);
            }
        });
    }
    std::unique_ptr<excel::Comment> GetComment() override {
        return Guarded([&]() -> std::unique_ptr<excel::Comment> {
            if (!HasNote(*session_, sheet_, Row(), Column())) return nullptr;
            return std::make_unique<CalcComment>(session_, document_, sheet_, Row(), Column());
        });
    }
    std::unique_ptr<excel::Comment> AddComment(std::string_view text) override {
        return Guarded([&] {
            if (HasNote(*session_, sheet_, Row(), Column())) Fail("Application-defined or object-defined error");
            css::table::CellAddress at(NotedSheetIndex(*session_, sheet_), Column() - 1, Row() - 1);
            NotesOf(*session_, sheet_)->insertNew(at, FromUtf8(text));
            NotedCells(*session_, sheet_).emplace(Row(), Column());
            return std::make_unique<CalcComment>(session_, document_, sheet_, Row(), Column());
        });
    }
    void ClearComments() override {
        Guarded([&] {
            for (const xl::CellRange& a : areas_) ClearNotes(*session_, sheet_, Clip(sheet_, a));
        });
    }
    std::unique_ptr<excel::Hyperlinks> GetHyperlinks() override { return std::make_unique<CalcHyperlinks>(Styled()); }

private:
    // Calc hands TRUE and FALSE, dates and times over as plain numbers and a formula's error as
    // nothing at all; the cells' number formats and formula results tell them apart again, as
    // Excel's Value does, so that a read drops them as it drops them from Excel.
    void TypeByFormat(const xl::CellRange& a, VariantArray& array) const {
        Reference<css::table::XCellRange> cells = CellsOf(sheet_, a);
        auto mark = [&](const css::table::CellRangeAddress& m, const std::function<void(Variant&)>& change) {
            for (sal_Int32 row = std::max<sal_Int32>(m.StartRow + 1, a.firstRow); row <= std::min<sal_Int32>(m.EndRow + 1, a.lastRow); ++row)
                for (sal_Int32 column = std::max<sal_Int32>(m.StartColumn + 1, a.firstColumn);
                     column <= std::min<sal_Int32>(m.EndColumn + 1, a.lastColumn); ++column)
                    change(array.At(row - a.firstRow, column - a.firstColumn));
        };
        Reference<css::sheet::XCellRangesQuery> query(cells, UNO_QUERY_THROW);
        Reference<css::sheet::XSheetCellRanges> errors = query->queryFormulaCells(css::sheet::FormulaResult::ERROR);
        if (errors.is())
            for (const css::table::CellRangeAddress& m : errors->getRangeAddresses())
                mark(m, [](Variant& v) { v = Variant::Error("#VALUE!"); });
        Reference<css::util::XNumberFormats> formats =
            Reference<css::util::XNumberFormatsSupplier>(document_, UNO_QUERY_THROW)->getNumberFormats();
        Reference<css::container::XIndexAccess> parts =
            Reference<css::sheet::XCellFormatRangesSupplier>(cells, UNO_QUERY_THROW)->getCellFormatRanges();
        std::map<sal_Int32, sal_Int16> typeOfKey;
        bool nullDateRead = false;
        double dateOffset = 0;
        for (sal_Int32 i = 0; i < parts->getCount(); ++i) {
            Reference<css::beans::XPropertySet> part(parts->getByIndex(i), UNO_QUERY_THROW);
            sal_Int32 key = 0;
            part->getPropertyValue("NumberFormat") >>= key;
            auto known = typeOfKey.find(key);
            if (known == typeOfKey.end()) {
                sal_Int16 type = 0;
                if (Reference<css::beans::XPropertySet> format = formats->getByKey(key); format.is())
                    format->getPropertyValue("Type") >>= type;
                known = typeOfKey.emplace(key, type).first;
            }
            const sal_Int16 type = known->second;
            // Calc counts a 1904 workbook's dates from its own null date, Excel from 1899-12-30.
            if ((type & (css::util::NumberFormat::DATE | css::util::NumberFormat::TIME)) != 0 && !nullDateRead) {
                css::util::Date nullDate(30, 12, 1899);
                Reference<css::beans::XPropertySet>(document_, UNO_QUERY_THROW)->getPropertyValue("NullDate") >>= nullDate;
                css::util::DateTime at;
                at.Day = nullDate.Day;
                at.Month = nullDate.Month;
                at.Year = nullDate.Year;
                dateOffset = OleDate(at);
                nullDateRead = true;
            }
            const bool logical = (type & css::util::NumberFormat::LOGICAL) != 0;
            const bool date = (type & (css::util::NumberFormat::DATE | css::util::NumberFormat::TIME)) != 0;
            if (!logical && !date) continue;
            css::table::CellRangeAddress m = Reference<css::sheet::XCellRangeAddressable>(part, UNO_QUERY_THROW)->getRangeAddress();
            mark(m, [&](Variant& v) {
                if (v.type != VarType::Number) return;
                v = logical ? Variant::Boolean(v.number != 0) : Variant::Date(v.number + dateOffset);
            });
        }
    }
    // Calc (7.4) shifts cells past a merge that only part of them would move, leaving the merge
    // torn: such a move is refused with the file backend's words.
    void CheckNoMergeMoves(const xl::CellRange& a, bool sideways) const {
        xl::CellRange used = UsedArea(sheet_);
        if (!used.IsValid()) return;
        xl::CellRange region = sideways ? xl::CellRange{a.firstRow, a.firstColumn, std::min(a.lastRow, used.lastRow), used.lastColumn}
                                        : xl::CellRange{a.firstRow, a.firstColumn, used.lastRow, std::min(a.lastColumn, used.lastColumn)};
        if (!region.IsValid()) return;
        Reference<css::util::XMergeable> mergeable(CellsOf(sheet_, region), UNO_QUERY_THROW);
        if (mergeable->getIsMerged())
            Fail("Merged cells would have to move; insert or delete these cells in the spreadsheet program instead.");
    }
    // Calc's setDataArray clears the comments of the cells it writes, Excel's Value keeps them:
    // the comments of the block are taken before and put back after.
    std::vector<std::pair<css::table::CellAddress, rtl::OUString>> NotesIn(const xl::CellRange& a) const {
        std::vector<std::pair<css::table::CellAddress, rtl::OUString>> notes;
        Reference<css::sheet::XCellRangesQuery> query(CellsOf(sheet_, a), UNO_QUERY_THROW);
        Reference<css::sheet::XSheetCellRanges> noted = query->queryContentCells(css::sheet::CellFlags::ANNOTATION);
        if (!noted.is()) return notes;
        for (const css::table::CellRangeAddress& m : noted->getRangeAddresses()) {
            for (sal_Int32 row = m.StartRow; row <= m.EndRow; ++row) {
                for (sal_Int32 column = m.StartColumn; column <= m.EndColumn; ++column) {
                    Reference<css::sheet::XSheetAnnotationAnchor> anchor(sheet_->getCellByPosition(column, row), UNO_QUERY_THROW);
                    Reference<css::text::XSimpleText> text(anchor->getAnnotation(), UNO_QUERY_THROW);
                    notes.emplace_back(css::table::CellAddress(m.Sheet, column, row), text->getString());
                }
            }
        }
        return notes;
    }
    const xl::CellRange& First() const { return areas_.front(); }
    std::unique_ptr<CalcRange> Make(std::vector<xl::CellRange> areas) const {
        return std::make_unique<CalcRange>(session_, document_, sheet_, std::move(areas), RangeMode::Cells);
    }
    Reference<css::sheet::XCellRangeData> Data(const xl::CellRange& a) const {
        return Reference<css::sheet::XCellRangeData>(CellsOf(sheet_, a), UNO_QUERY_THROW);
    }
    Target Styled() const { return {document_, sheet_, areas_}; }
    static double Pixels(sal_Int32 hundredthsOfMillimetre) { return std::round(Points(hundredthsOfMillimetre) / 0.75) * 0.75; }
    // True when every row (or column) of the first area is hidden.
    bool Hidden(const char* which) const {
        Reference<css::table::XColumnRowRange> parts(CellsOf(sheet_, Clip(sheet_, First())), UNO_QUERY_THROW);
        Reference<css::container::XIndexAccess> lines(
            std::string_view(which) == "Rows" ? Reference<css::container::XIndexAccess>(parts->getRows(), UNO_QUERY_THROW)
                                              : Reference<css::container::XIndexAccess>(parts->getColumns(), UNO_QUERY_THROW));
        for (sal_Int32 i = 0; i < lines->getCount(); ++i) {
            bool visible = true;
            Reference<css::beans::XPropertySet>(lines->getByIndex(i), UNO_QUERY_THROW)->getPropertyValue("IsVisible") >>= visible;
            if (visible) return false;
        }
        return lines->getCount() > 0;
    }
    // The far corner of the first area: where the next row and column begin, as Calc's
    // positions and sizes are rounded apart; at the sheet's end its position plus its size.
    css::awt::Point EdgeAfter() const {
        xl::CellRange a = Clip(sheet_, First());
        xl::CellRange bounds = SheetBounds(sheet_);
        css::awt::Point at = Position();
        css::awt::Size size = Size();
        css::awt::Point edge(at.X + size.Width, at.Y + size.Height);
        css::awt::Point next;
        if (a.lastRow < bounds.lastRow) {
            Reference<css::beans::XPropertySet>(CellsOf(sheet_, {a.lastRow + 1, a.firstColumn, a.lastRow + 1, a.firstColumn}),
                                                UNO_QUERY_THROW)->getPropertyValue("Position") >>= next;
            edge.Y = next.Y;
        }
        if (a.lastColumn < bounds.lastColumn) {
            Reference<css::beans::XPropertySet>(CellsOf(sheet_, {a.firstRow, a.lastColumn + 1, a.firstRow, a.lastColumn + 1}),
                                                UNO_QUERY_THROW)->getPropertyValue("Position") >>= next;
            edge.X = next.X;
        }
        return edge;
    }
    css::awt::Size Size() const {
        css::awt::Size size;
        Reference<css::beans::XPropertySet>(CellsOf(sheet_, Clip(sheet_, First())), UNO_QUERY_THROW)->getPropertyValue("Size") >>= size;
        return size;
    }
    css::awt::Point Position() const {
        css::awt::Point at;
        Reference<css::beans::XPropertySet>(CellsOf(sheet_, Clip(sheet_, First())), UNO_QUERY_THROW)->getPropertyValue("Position") >>= at;
        return at;
    }

    SessionPtr session_;
    Document document_;
    Sheet sheet_;
    std::vector<xl::CellRange> areas_;
    RangeMode mode_;
};

std::unique_ptr<excel::Worksheet> MakeWorksheet(const SessionPtr& session, const Document& document, const Sheet& sheet) {
    return std::make_unique<CalcWorksheet>(session, document, sheet);
}

std::unique_ptr<excel::Range> MakeRange(const SessionPtr& session, const Document& document, const Sheet& sheet,
                                        std::vector<xl::CellRange> areas, RangeMode mode) {
    return std::make_unique<CalcRange>(session, document, sheet, std::move(areas), mode);
}

}  // namespace

std::unique_ptr<excel::Application> MakeApplication(const SessionPtr& session) {
    return std::make_unique<CalcApplication>(session);
}

std::unique_ptr<excel::Workbook> MakeWorkbook(const SessionPtr& session, const Document& document) {
    if (!document.is()) return nullptr;
    return std::make_unique<CalcWorkbook>(session, document);
}

std::vector<Document> SpreadsheetDocuments(const SessionPtr& session) {
    std::vector<Document> documents;
    Reference<css::container::XEnumeration> all = session->desktop->getComponents()->createEnumeration();
    while (all->hasMoreElements()) {
        Document document(all->nextElement(), UNO_QUERY);
        if (document.is()) documents.push_back(document);
    }
    // The desktop gives the latest document first; Workbooks counts them in the order opened.
    std::reverse(documents.begin(), documents.end());
    return documents;
}

bool ShowsNoWindow(const Reference<css::frame::XDesktop2>& desktop) {
    Reference<css::frame::XFramesSupplier> supplier(desktop, UNO_QUERY_THROW);
    Reference<css::container::XIndexAccess> frames(supplier->getFrames(), UNO_QUERY_THROW);
    for (sal_Int32 i = 0, n = frames->getCount(); i < n; ++i) {
        Reference<css::frame::XFrame> frame(frames->getByIndex(i), UNO_QUERY);
        Reference<css::awt::XWindow2> window(frame.is() ? frame->getContainerWindow() : nullptr, UNO_QUERY);
        if (window.is() && window->isVisible()) return false;
    }
    return true;
}

std::string FullNameOf(const Document& document) {
    Reference<css::frame::XModel> model(document, UNO_QUERY_THROW);
    rtl::OUString url = model->getURL();
    if (url.isEmpty()) {
        Reference<css::frame::XTitle> title(document, UNO_QUERY);
        return title.is() ? ToUtf8(title->getTitle()) : std::string("Untitled");
    }
    rtl::OUString path;
    if (osl::FileBase::getSystemPathFromFileURL(url, path) == osl::FileBase::E_None) return ToUtf8(path);
    return ToUtf8(url);
}

void StoreActiveCopy(const SessionPtr& session, const std::string& path) {
    Guarded([&] {
        Document document = ActiveDocument(session);
        if (!document.is()) Fail("No document is open.");
        rtl::OUString url;
        if (osl::FileBase::getFileURLFromSystemPath(FromUtf8(base::FullPath(path)), url) != osl::FileBase::E_None)
            Fail("\"" + path + "\" is not a path.");
        Sequence<css::beans::PropertyValue> arguments(2);
        arguments.getArray()[0].Name = "FilterName";
        arguments.getArray()[0].Value <<= rtl::OUString("Calc Office Open XML");
        arguments.getArray()[1].Name = "Overwrite";
        arguments.getArray()[1].Value <<= true;
        Reference<css::frame::XStorable>(document, UNO_QUERY_THROW)->storeToURL(url, arguments);
    });
}

}  // namespace arxutils::calc
