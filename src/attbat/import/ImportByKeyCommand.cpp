#include "attbat/import/ImportByKeyCommand.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "attbat/frame/Refusal.h"
#include "attbat/import/CExtImportDialog.h"
#include "attbat/import/ImportByKey.h"
#include "attbat/import/ImportReport.h"
#include "base/AtomicFile.h"
#include "base/Format.h"
#include "host/Document.h"
#include "host/OrderedWork.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace attbat {

namespace {

// Paths as a file box gives them: full, so that the stored list serves a run started elsewhere.
std::vector<std::string> FullPaths(const std::vector<std::string>& paths) {
    std::vector<std::string> full;
    for (const std::string& path : paths) {
        std::error_code error;
        std::filesystem::path absolute = std::filesystem::absolute(path, error).lexically_normal();
        full.push_back(error ? path : absolute.string());
    }
    return full;
}

std::vector<int> ColumnRows(const CExtImportDialog& dialog, const std::vector<std::string>& columns, Refusal& refusal) {
    std::vector<int> rows;
    for (const std::string& column : columns) {
        int row = dialog.FindColumnRow(column);
        if (row < 0) refusal.Fail(base::Sprintf("--remove-column %s: the column list has no column %s.", column, column));
        else rows.push_back(row);
    }
    return rows;
}

std::vector<int> DrawingRows(const CExtImportDialog& dialog, const std::vector<std::string>& paths, Refusal& refusal) {
    std::vector<int> rows;
    for (const std::string& path : paths) {
        int row = dialog.FindDrawingRow(path);
        if (row < 0) refusal.Fail(base::Sprintf("--remove-drawings %s: the drawing list has no such drawing.", path));
        else rows.push_back(row);
    }
    return rows;
}

// In "Select Drawings" the block list shows the listed drawings' blocks only after "Refresh".
// Names given plainly, and the stored ones, stand for blocks the user knows to be there; the
// drawings, a thousand perhaps, are read for their names only when a pattern needs them.
void ListBlocksOfDrawings(CExtImportDialog& dialog, const std::vector<std::string>& given) {
    bool patterns = std::any_of(given.begin(), given.end(), [](const std::string& name) {
        return name.find_first_of("*?") != std::string::npos;
    });
    if (patterns) {
        dialog.RefreshBlockList();
        return;
    }
    tables::CStringArrayEx stored;
    dialog.m_options.BlockNameList(stored);
    std::vector<std::string> names(stored.begin(), stored.end());
    names.insert(names.end(), given.begin(), given.end());
    dialog.AddBlockNames(names);
}

// The controls in the order a user meets them in the dialog; what the dialog refuses it says in
// its own box, and the command stops there.
bool SetControls(CExtImportDialog& dialog, const CommandContext& context, Refusal& refusal) {
    const ControlValues& values = context.values;
    CImportByKeyAttOpt& options = dialog.m_options;
    if (values.Has("options") && !dialog.LoadOptionFile(values.Text("options"))) return false;
    if (values.Has("workbook") && !dialog.BrowseWorkbook(values.Text("workbook"))) {
        refusal.Fail(base::Sprintf("--workbook %s: no sheet of it could be attached.", values.Text("workbook")));
        return false;
    }
    if (values.Has("worksheet")) options.Worksheet = values.Text("worksheet");
    if (auto on = values.Check("selected-rows-only"); on && !*on) dialog.SetSelectedRowsOnly(false);
    if (auto on = values.Check("all-worksheets"); on && !dialog.SetAllWorksheets(*on)) {
        refusal.Fail("\"All Worksheets\" is off while \"Selected Rows Only\" is set (--selected-rows-only off).");
        return false;
    }
    if (auto on = values.Check("selected-rows-only"); on && *on && !dialog.SetSelectedRowsOnly(true)) {
        refusal.Fail("\"Selected Rows Only\" is off while \"All Worksheets\" is set.");
        return false;
    }
    if (auto mode = values.Choice("tags-from")) dialog.SetAttTagOption(*mode);
    if (values.Has("header-row")) options.HeaderRow = std::atoi(values.Text("header-row").c_str());
    for (const std::string& pair : values.List("column")) {
        std::size_t equals = pair.find('=');
        if (equals == std::string::npos) {
            refusal.Fail(base::Sprintf("--column %s: give a column and a tag, such as C=MARK.", pair));
            return false;
        }
        if (!dialog.AddColumn(pair.substr(0, equals), pair.substr(equals + 1))) return false;
    }
    if (values.Has("remove-column")) {
        std::vector<int> rows = ColumnRows(dialog, values.List("remove-column"), refusal);
        if (!refusal.ok || !dialog.RemoveColumns(rows)) return false;
    }
    if (auto mode = values.Choice("drawings-from")) dialog.SetDrawingOption(*mode);
    else if (!context.arguments.empty() || values.Has("list") || values.Has("add-drawings")) dialog.SetDrawingOption(1);
    if (values.Has("list")) {
        if (base::Status loaded = dialog.LoadDrawingList(values.Text("list")); !loaded) {
            refusal.Fail(loaded.Message());
            return false;
        }
    }
    std::vector<std::string> added = values.List("add-drawings");
    added.insert(added.end(), context.arguments.begin(), context.arguments.end());
    if (!added.empty()) dialog.AddDrawings(FullPaths(added));
    if (values.Has("remove-drawings")) {
        std::vector<int> rows = DrawingRows(dialog, FullPaths(values.List("remove-drawings")), refusal);
        if (!refusal.ok || !dialog.RemoveDrawings(rows)) return false;
    }
    if (dialog.m_options.DrawingOption == 1) ListBlocksOfDrawings(dialog, values.List("block"));
    dialog.TickBlocks(values.List("block"), true);
    dialog.TickBlocks(values.List("untick-block"), false);
    if (values.Has("key")) options.KeyTag = values.Text("key");
    if (auto on = values.Check("use-wildcards")) options.UseWildcardInKeyAttTag = *on ? 1 : 0;
    if (auto on = values.Check("save-as-current-version")) options.SaveAsCurrentDwgVersion = *on ? 1 : 0;
    if (values.Has("save-options")) {
        if (!dialog.SaveOptionFile(values.Text("save-options"))) return false;
        host::Printf("\nOptions saved as %s.", values.Text("save-options"));
    }
    return true;
}

// After the dialog refused "Start", a line that says which option a command line lacks, for the
// refusals whose cause is nowhere on the screen.
void Advise(const CExtImportDialog& dialog) {
    const CImportByKeyAttOpt& options = dialog.m_options;
    // In the order of the dialog's checks, so that the line goes with the box before it.
    std::string advice;
    if (options.AttTagOption == 0 && options.HeaderRow < 1) {
        advice = "give the sheet's header row: --header-row N.";
    } else if (options.DrawingOption == 0 && !host::DocumentManager::Instance().CurDocument()) {
        advice = "no drawing to update: give the current one with --drawing FILE.dxf, or drawings "
                 "after the command (or --list FILE.lst).";
    } else if (options.AttTagOption == 1 && options.ColumnToTag.empty()) {
        advice = "the tags come from columns given one by one (--column C=TAG, the key's among them); "
                 "a sheet with a header row wants --tags-from header-row --header-row N.";
    }
    if (!advice.empty()) host::CurrentPrinter().Warn("velmar import-by-key: " + advice);
}

// The threads for the drawing list: --workers N; 0 or none for two per core, since part of each
// drawing's time is its save waiting on the disk.
int Workers(const ControlValues& values) {
    int workers = values.Has("workers") ? std::atoi(values.Text("workers").c_str()) : 0;
    return workers > 0 ? workers : 2 * host::AvailableThreads();
}

CommandStatus RunImportByKey(CommandContext& context) {
    // A list of drawings is often one folder of many: it is swept for leftovers of interrupted
    // saves once, not at each of its drawings' reads and saves.
    base::FolderSweepOnce sweep;
    CExtImportDialog dialog;
    dialog.m_readers = Workers(context.values);
    dialog.OnInitDialog();
    Refusal refusal("velmar import-by-key: ");
    if (!SetControls(dialog, context, refusal)) return refusal.ok ? CommandStatus::Failed : CommandStatus::BadInput;
    // A current drawing that can't be read has no blocks to offer; say why rather than that
    // no block was chosen.
    if (dialog.m_options.DrawingOption == 0 && !dialog.CurrentReadStatus()) {
        host::CurrentPrinter().Warn("velmar import-by-key: " + dialog.CurrentReadStatus().Message());
        return CommandStatus::Failed;
    }
    if (!dialog.OnStart()) {
        Advise(dialog);
        context.Summary("error", "the dialog's values were refused");
        return CommandStatus::Failed;
    }
    KeyImportRun run;
    run.dryRun = context.values.Pressed("dry-run");
    run.threads = Workers(context.values);
    run.listChanges = context.reportAsJson;
    KeyImportReport report;
    bool finished = ImportByKeyAttribute(dialog.m_options, run, report);
    context.Summary("drawings", report.drawings);
    if (run.dryRun || context.reportAsJson) ReportChanges(context, report.changes, run.dryRun, &report.unmatchedRows);
    context.SummaryBool("written", !run.dryRun);
    if (!report.missingSheet.empty()) {
        host::CurrentPrinter().Warn(base::Sprintf("velmar import-by-key: the workbook %s has no sheet \"%s\".",
                                                  dialog.m_options.Workbook, report.missingSheet));
    }
    // The lines of the drawings that failed are told; the exit status says so too, for a script.
    if (report.failedDrawings > 0) {
        context.Summary("failed", report.failedDrawings);
        return CommandStatus::Failed;
    }
    return finished ? CommandStatus::Done : CommandStatus::Failed;
}

}  // namespace

const std::vector<Control>& ImportByKeyControls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list = CExtImportDialog::Controls();
        list.push_back({"dry-run", ControlKind::Button,
                        "list every change (drawing, handle, tag, old -> new) and the rows that matched nothing; write nothing"});
        list.push_back({"workers", ControlKind::Text, "drawings of the list worked on at once (default: two per core)",
                        {}, "N"});
        return list;
    }();
    return controls;
}

CommandStatus ImportByKeyValue(CommandContext& context) {
    // A failure of the spreadsheet shows its description, and the connection is let go.
    try {
        return RunImportByKey(context);
    } catch (const arxutils::excel::AutomationError& e) {
        host::ShowMessage(e.Description(), "Velmar");
    }
    arxutils::ExcelUtils::Disconnect();
    context.Summary("error", "the import failed");
    return CommandStatus::Failed;
}

}  // namespace attbat
