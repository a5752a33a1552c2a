#pragma once
// What the platform gives the bridge besides the object model itself: the running instance,
// a new instance, the running object table, and the instance's windows. A backend implements
// it together with the objects; ExcelUtils reaches everything through CurrentServer().

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "arxutils/excel/ExcelObjects.h"

namespace arxutils::excel {

// The display name under which a running instance of the application registers itself.
inline constexpr std::string_view kInstanceMoniker = "!{00024500-0000-0000-C000-000000000046}";
// The class id of "Excel.Application", as text for messages.
inline constexpr std::string_view kApplicationClassId = "{00024500-0000-0000-C000-000000000046}";

class ExcelServer {
public:
    virtual ~ExcelServer() = default;

    // The running instance, or a failure code (kErrUnavailable) when none runs.
    virtual std::int32_t GetActiveObject(std::unique_ptr<Application>& application) = 0;
    // Starts an instance (hidden, without workbooks); throws AutomationError when it can't.
    virtual std::unique_ptr<Application> CreateApplication() = 0;
    // The display names of the running object table; false when there is no table at all.
    virtual bool RunningObjects(std::vector<std::string>& displayNames) = 0;
    // The workbook registered under `displayName` (exact name); Nothing when it is gone.
    virtual std::unique_ptr<Workbook> GetRunningWorkbook(std::string_view displayName) = 0;
    // The main window of an instance, by caption when `caption` is not empty; 0 when none.
    virtual std::intptr_t FindMainWindow(std::string_view caption) = 0;
    // Sends a message to a main window; the answer is not read.
    virtual void SendToMainWindow(std::intptr_t window, unsigned message) = 0;
    // The accessible objects of the workbook windows of a main window, in window order.
    virtual std::vector<std::shared_ptr<Dispatch>> WorkbookWindows(std::intptr_t window) = 0;
    // Brings a window to the front; false when it can't.
    virtual bool SetForegroundWindow(std::intptr_t window) = 0;
    // Why no running instance could be attached (GetActiveObject gave `code`), as the messages
    // show it: the class id and the code by default.
    virtual std::string NoInstanceText(std::int32_t code);
    // A line that tells the user what to do on this platform when no workbook could be
    // attached, shown after the system's own text; "" where that text says it all.
    virtual std::string ConnectionAdvice() { return {}; }
    // The workbook the user named before the command (its display name), which answers the
    // workbook chooser without asking; "" when none was named.
    virtual std::string ChosenInAdvance() { return {}; }
    // True when the user gave no workbook to attach to but a place for a new one: a command
    // that may use either then makes a new one, without changing its stored choice.
    virtual bool OffersOnlyANewWorkbook() { return false; }
    // True for a display name the workbook chooser lists besides the .xls names of the system,
    // a document this server opens in a format of its own (Calc's .ods); false by default.
    virtual bool AlsoListed(const std::string& /*displayName*/) { return false; }
    // Lets the server give back the memory of workbook data nothing changed, once a command has
    // read what it needs; the data is read again if it is used later. Nothing by default.
    virtual void ReleaseUnchangedData() {}
};

// The server of this run; never null (a file backend without workbooks until one is installed).
ExcelServer& CurrentServer();
// Installs `server` (not owned); null puts the built-in one back.
void SetCurrentServer(ExcelServer* server);

}  // namespace arxutils::excel
