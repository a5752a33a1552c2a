#pragma once
// The objects of the model over UNO, for the backend's own sources: they name UNO types, so
// nothing outside this folder includes this header.

#include <memory>
#include <set>
#include <string>
#include <string_view>

#include <com/sun/star/frame/XDesktop2.hpp>
#include <com/sun/star/sheet/XSheetAnnotations.hpp>
#include <com/sun/star/sheet/XSpreadsheet.hpp>
#include <com/sun/star/sheet/XSpreadsheetDocument.hpp>
#include <com/sun/star/uno/Exception.hpp>
#include <com/sun/star/uno/XComponentContext.hpp>
#include <rtl/ustring.hxx>

#include "arxutils/excel/AutomationError.h"
#include "arxutils/excel/ExcelObjects.h"

namespace arxutils::calc {

namespace css = com::sun::star;

// One connection to a running soffice, shared by every object taken from it. The switches of
// the application that Calc has no counterpart for are kept here, for the life of the connection.
struct Session {
    css::uno::Reference<css::uno::XComponentContext> context;
    css::uno::Reference<css::frame::XDesktop2> desktop;
    // The document a command last added, opened or activated: the active one while it is open,
    // as a headless soffice has no window focus to tell.
    css::uno::Reference<css::sheet::XSpreadsheetDocument> active;
    // A headless soffice (LibreOffice 7.4's at least) ends when one of its windows is shown:
    // documents are then made hidden and nothing is made visible.
    bool headless = false;
    bool displayAlerts = true;
    bool editDirectlyInCell = true;
    bool interactive = true;
    // The document a writer made non-interactive (controllers, actions and undo locked,
    // automatic calculation off), and whether it calculated automatically before; empty when none is.
    css::uno::Reference<css::sheet::XSpreadsheetDocument> locked;
    bool lockedAutomaticCalculation = true;
    // The cells (row, column from 1) that hold a note on `notedSheet`, read once and kept up to
    // date by the notes this connection adds and clears, so that clearing a cell without a note
    // and adding a note cost no extra call; forgotten when cells move. A connection lives for
    // one command.
    css::uno::Reference<css::sheet::XSpreadsheet> notedSheet;
    std::set<std::pair<int, int>> noted;
    // The notes and the index of `notedSheet`, asked once; the index is forgotten when a sheet
    // is inserted.
    css::uno::Reference<css::sheet::XSheetAnnotations> notes;
    int notedSheetIndex = -1;
};
using SessionPtr = std::shared_ptr<Session>;

// True when no frame of the instance shows a window: a headless soffice, or one started
// invisible that has nothing open.
bool ShowsNoWindow(const css::uno::Reference<css::frame::XDesktop2>& desktop);

std::string ToUtf8(const rtl::OUString& text);
rtl::OUString FromUtf8(std::string_view text);

// A failure of a UNO call as the object model's error: a closed document or a lost connection
// (DisposedException) is kErrUnavailable, the rest kErrException, each with Calc's message.
[[noreturn]] void ThrowUnoFailure(const css::uno::Exception& failure);

// Runs one member's body, turning UNO failures into the object model's error.
template <class Body>
auto Guarded(Body&& body) -> decltype(body()) {
    try {
        return body();
    } catch (const css::uno::Exception& failure) {
        ThrowUnoFailure(failure);
    }
}

std::unique_ptr<excel::Application> MakeApplication(const SessionPtr& session);
// Nothing for a component that isn't a spreadsheet document.
std::unique_ptr<excel::Workbook> MakeWorkbook(const SessionPtr& session,
                                              const css::uno::Reference<css::sheet::XSpreadsheetDocument>& document);
// The spreadsheet documents of the desktop, in the desktop's order.
std::vector<css::uno::Reference<css::sheet::XSpreadsheetDocument>> SpreadsheetDocuments(const SessionPtr& session);
// The document's full name as the model gives it: its system path, or its title when unsaved.
// Stores a copy of the active document as an xlsx file at `path`, as Calc's "Save a Copy" does;
// the document keeps its location, its title and its modified flag.
void StoreActiveCopy(const SessionPtr& session, const std::string& path);
std::string FullNameOf(const css::uno::Reference<css::sheet::XSpreadsheetDocument>& document);

}  // namespace arxutils::calc
