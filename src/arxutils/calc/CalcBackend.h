#pragma once
// The object model over a running LibreOffice Calc, reached through UNO: "the running instance"
// is the soffice that accepts connections where the settings or --calc-connect say, its
// spreadsheet documents are the workbooks, and every change is made in the open document at
// once. Nothing is saved: the user keeps the documents open, watches them fill and saves them in
// Calc.
//
// Call sequence of the program around one command:
//
//     arxutils::calc::CalcBackendOptions options;   // from the global options and settings
//     auto backend = arxutils::calc::CalcBackend::Create(options);
//     arxutils::excel::SetCurrentServer(backend.get());
//     ... the command runs (ExcelUtils) ...
//     arxutils::excel::SetCurrentServer(nullptr);
//
// The connection is made when the command first asks for the running instance. A failure of the
// bridge (a refused connection, Calc closed mid-command, a document closed under us) is the
// object model's AutomationError with a description.

#include <memory>
#include <string>

#include "arxutils/excel/ExcelServer.h"

namespace arxutils::calc {

// Where soffice listens when neither the settings nor the command line say.
inline constexpr std::string_view kDefaultConnection = "socket,host=127.0.0.1,port=2002";

struct CalcBackendOptions {
    // A UNO connection description: "socket,host=localhost,port=2002" or "pipe,name=velmar";
    // "" for kDefaultConnection.
    std::string connection;
    // Start a headless soffice accepting there when none answers.
    bool start = false;
    // The soffice program to start; "" for the one of the installed office.
    std::string office;
    // The -env:UserInstallation=... profile of a started soffice; "" for the user's own.
    std::string profileUrl;
    // Seconds to wait for a started soffice to accept the connection.
    int startTimeoutSeconds = 60;
    // --workbook: the document to make active, opened when Calc hasn't it open; "" keeps the
    // active one. --sheet, --selection, --active-cell: made active and selected in it; "" keeps
    // what Calc shows. Applied once, when the command first reaches the office.
    std::string workbook;
    std::string sheet;
    std::string selection;
    std::string activeCell;
};

class CalcBackend : public excel::ExcelServer {
public:
    ~CalcBackend() override;
    // Connects nothing yet; an empty or malformed connection description is taken as given and
    // refused when used.
    static std::unique_ptr<CalcBackend> Create(const CalcBackendOptions& options);

    // Connects (or starts, when the options allow, and connects); kErrUnavailable when no
    // soffice answers, with NoInstanceText saying where it was looked for.
    std::int32_t GetActiveObject(std::unique_ptr<excel::Application>& application) override;
    // The running instance, started first when the options allow; throws AutomationError when
    // there is none to be had.
    std::unique_ptr<excel::Application> CreateApplication() override;
    // The instance moniker and the full name of every spreadsheet document that has a file.
    bool RunningObjects(std::vector<std::string>& displayNames) override;
    std::unique_ptr<excel::Workbook> GetRunningWorkbook(std::string_view displayName) override;
    // Calc's own spreadsheets, *.ods, are listed in the chooser as well.
    bool AlsoListed(const std::string& displayName) override;
    // Calc's windows are not the application's: there is no window handle to give.
    std::intptr_t FindMainWindow(std::string_view caption) override;
    void SendToMainWindow(std::intptr_t window, unsigned message) override;
    std::vector<std::shared_ptr<excel::Dispatch>> WorkbookWindows(std::intptr_t window) override;
    bool SetForegroundWindow(std::intptr_t window) override;
    // Where no soffice answered, and why.
    std::string NoInstanceText(std::int32_t code) override;
    // How to start a soffice that accepts the connection.
    std::string ConnectionAdvice() override;

    // The connection description in use.
    const std::string& Connection() const;
    // The process id of the soffice this backend started, 0 when it started none. It keeps
    // running after the command, so that later commands find its documents.
    int StartedOffice() const;

    // Stores a copy of the active document as an xlsx file at `path`, the document left open
    // where it was; throws AutomationError when there is no document or Calc refuses.
    void StoreActiveCopy(const std::string& path);

    struct State;

private:
    CalcBackend();
    std::shared_ptr<State> state_;
};

}  // namespace arxutils::calc
