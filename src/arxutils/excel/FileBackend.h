#pragma once
// The object model over workbook files. "The running instance with its active workbook" is the
// workbook of --workbook; a workbook the command adds is a new file. Changed workbooks are
// written when the command ends, never over another program's open file.
//
// Call sequence of the program around one command:
//
//     arxutils::excel::FileBackendOptions options;      // from the global options
//     options.workbook = ...; options.sheet = ...; options.selection = ...;
//     options.activeCell = ...; options.output = ...; options.force = ...;
//     options.drawingPath = <the current drawing's path>;
//     auto backend = arxutils::excel::FileBackend::Create(options);   // error: tell, exit 1
//     arxutils::excel::SetCurrentServer(backend.Value().get());
//     ... the command runs (ExcelUtils) ...
//     base::Status saved = backend.Value()->SaveChanged();   // prints where new files went
//     arxutils::excel::SetCurrentServer(nullptr);
//
// SaveChanged's error text says what was not written and why; the command's result is then a
// failure (exit 1), though what the command did to the drawing stands.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "arxutils/excel/ExcelServer.h"
#include "base/Status.h"

namespace arxutils::excel {

// What the program's global options say about workbooks.
struct FileBackendOptions {
    std::string workbook;     // --workbook: the running instance's workbook; "" runs none
    std::string sheet;        // --sheet: the sheet to make active; "" keeps the file's
    std::string selection;    // --selection: "B2:D9" or "A1,C3"; "" keeps the saved one
    std::string activeCell;   // --active-cell: "B2"; "" keeps the saved one
    std::string output;       // --output: where the new (or else the --workbook) workbook goes
    bool force = false;       // --force: --output and new files may replace existing files
    std::string drawingPath;  // the current drawing; new workbooks are saved beside it
};

class FileBackend : public ExcelServer {
public:
    ~FileBackend() override;
    // Opens the --workbook file, if any, and applies --sheet, --selection and --active-cell;
    // the error names the file, sheet or address that is wrong.
    static base::Result<std::unique_ptr<FileBackend>> Create(const FileBackendOptions& options);

    std::int32_t GetActiveObject(std::unique_ptr<Application>& application) override;
    std::unique_ptr<Application> CreateApplication() override;
    bool RunningObjects(std::vector<std::string>& displayNames) override;
    std::unique_ptr<Workbook> GetRunningWorkbook(std::string_view displayName) override;
    std::intptr_t FindMainWindow(std::string_view caption) override;
    void SendToMainWindow(std::intptr_t window, unsigned message) override;
    std::vector<std::shared_ptr<Dispatch>> WorkbookWindows(std::intptr_t window) override;
    bool SetForegroundWindow(std::intptr_t window) override;
    // No instance runs when no workbook was given: the texts say so and name the options.
    std::string NoInstanceText(std::int32_t code) override;
    std::string ConnectionAdvice() override;
    // The --workbook file while its instance runs.
    std::string ChosenInAdvance() override;
    // --output without --workbook.
    bool OffersOnlyANewWorkbook() override;
    // Unloads the unchanged sheets of every open workbook; they are read again from the file's
    // package when used.
    void ReleaseUnchangedData() override;

    // Writes every workbook the command changed: in place, the new one (or, when no workbook
    // was added, the --workbook one) to --output, other new ones under a free name beside the
    // drawing. Never replaces a file another program holds open, nor an existing file other
    // than the workbook's own without --force. Prints a line for each file written; the error
    // lists what was not written and how to get it written.
    base::Status SaveChanged();
    // True when some workbook of the run has changes not yet saved.
    bool HasChanges() const;
    // Where the backend writes what the session log should keep (a default font it could not
    // measure); nothing is written without one.
    void SetLog(std::function<void(const std::string&)> log);

    struct State;

private:
    FileBackend();
    std::shared_ptr<State> state_;
};

// Where a spreadsheet program that has `path` open keeps its lock file: LibreOffice's
// ".~lock.NAME#" and Excel's "~$ME" beside it.
std::vector<std::string> LockFilesOf(const std::string& path);
// The lock file of `path` that exists; "" when the workbook is open nowhere else.
std::string LockFileOf(const std::string& path);

}  // namespace arxutils::excel
