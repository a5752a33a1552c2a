// `velmar upload`: attaches the workbook, asks before it writes, reads the key comments of every
// sheet, compares each with the current drawing, writes the cells that differ, offers the rows of
// references that are gone for removal, and lets go of the workbook. With --dry-run it only tells
// what it would write.

#include "attbat/links/UploadCommand.h"

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "arxutils/excel/ExcelServer.h"
#include "attbat/frame/CArxErrLog.h"
#include "attbat/frame/COptionsDialog.h"
#include "attbat/links/UploadToExcel.h"
#include "base/Format.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;

constexpr const char* kMethod = "CAttBatch::UploadToExcel";

// The first line of a comment, for a listing.
std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

// What the upload writes, or in a dry run would write: one line each, or with a machine-readable
// report the lists themselves in the summary (cells with old and new texts, comments, rows).
void Report(CommandContext& context, const UploadMaps& maps, bool dryRun) {
    const host::Document* current = host::DocumentManager::Instance().CurDocument();
    const std::string path = current ? current->FileName() : std::string();
    auto oldText = [&](const std::string& cell) {
        auto old = maps.cells.find(cell);
        return old == maps.cells.end() ? std::string() : old->second;
    };
    if (context.reportAsJson) {
        std::string changes, comments;
        for (const auto& [cell, value] : maps.changes) {
            changes += base::Sprintf("%s{\"cell\": %s, \"old\": %s, \"new\": %s}", changes.empty() ? "" : ", ",
                                     JsonQuote(cell), JsonQuote(oldText(cell)), JsonQuote(value));
        }
        for (const auto& [cell, text] : maps.commentChanges) {
            // A drawing path cell takes the path as its value; a key cell a new comment.
            comments += base::Sprintf("%s{\"cell\": %s, %s: %s}", comments.empty() ? "" : ", ", JsonQuote(cell),
                                      text.empty() ? "\"value\"" : "\"comment\"", JsonQuote(text.empty() ? path : text));
        }
        context.SummaryJson("changes", "[" + changes + "]");
        context.SummaryJson("comments", "[" + comments + "]");
        context.SummaryJson("deletedRows", "[" + RowList(maps.deletedRows) + "]");
        return;
    }
    if (dryRun) {
        for (const auto& [cell, value] : maps.changes) host::Printf("\n%s: '%s' -> '%s'", cell, oldText(cell), value);
        for (const auto& [cell, text] : maps.commentChanges) {
            if (text.empty()) {
                host::Printf("\n%s: drawing path -> '%s'", cell, path);
            } else {
                host::Printf("\n%s: comment '%s' -> '%s'", cell, FirstLine(maps.comments.at(cell)), FirstLine(text));
            }
        }
        if (!maps.deletedRows.empty()) {
            host::Printf("\nRows of deleted blocks that would be offered for removal: %s.", RowList(maps.deletedRows));
        }
        host::Printf("\n%d change(s); nothing was written.",
                     static_cast<int>(maps.changes.size() + maps.commentChanges.size()));
    }
    context.Summary("changes", static_cast<long long>(maps.changes.size()));
    context.Summary("comments", static_cast<long long>(maps.commentChanges.size()));
    context.Summary("deletedRows", static_cast<long long>(maps.deletedRows.size()));
}

// The path option is the Options dialog's box: given, it is stored as that dialog's OK would.
void StorePathOption(const ControlValues& values) {
    auto on = values.Check("update-drawing-paths");
    if (!on) return;
    COptionsDialog options;
    options.OnInitDialog();
    options.m_updateDrawingPathsInExcel = *on;
    options.OnOK();
}

CommandStatus NoWorkbook(CommandContext& context) {
    ExcelUtils::Disconnect();
    host::ShowMessage("Please start Excel and open the exported workbook first.", "Velmar");
    if (std::string advice = arxutils::excel::CurrentServer().ConnectionAdvice(); !advice.empty()) {
        host::CurrentPrinter().Warn(advice);
    }
    context.Summary("error", "no workbook");
    return CommandStatus::Failed;
}

CommandStatus RunUpload(CommandContext& context, int& step) {
    const bool dryRun = context.values.Pressed("dry-run");
    if (!ExcelUtils::ConnectToExcel(false) || !ExcelUtils::Workbook) return NoWorkbook(context);
    step = 1;
    const std::string workbook = ExcelUtils::Workbook->Name();
    if (!dryRun &&
        !host::AskYesNo(base::Sprintf("Are you sure you want to upload the attributes and properties of "
                                      "the block references to %s?", workbook),
                        "Orvane Velmar")) {
        ExcelUtils::Disconnect();
        context.MarkCancelled();
        return CommandStatus::Failed;
    }
    step = 2;
    UploadMaps maps;
    if (!ReadAllSheets(maps)) {
        ExcelUtils::Disconnect();
        host::CurrentPrinter().Warn(base::Sprintf("The key comments of %s couldn't be read; nothing was uploaded.", workbook));
        context.Summary("error", "the comments couldn't be read");
        return CommandStatus::Failed;
    }
    ErrLog().Write("%s - %d", kMethod, 1);
    step = 3;
    ParseUpload(maps, false);
    step = 4;
    Report(context, maps, dryRun);
    if (dryRun) {
        ExcelUtils::Disconnect();
        context.SummaryBool("written", false);
        return CommandStatus::Done;
    }
    UploadChanges(maps.changes, maps.commentChanges);
    step = 5;
    const std::optional<int> remove = context.values.Choice("remove-deleted-rows");
    RemoveDeletedRows(maps.deletedRows, !remove ? std::string() : *remove == 0 ? "Yes" : "No");
    step = 6;
    if (!maps.commentChanges.empty()) {
        host::Printf("\nRefreshing the workbook....");
        ExcelUtils::Workbook->RefreshAll();
    }
    ErrLog().Write("%s - %d", kMethod, 2);
    host::PrintfOnceSaved("\nUpload the attributes and properties of the block references to %s successfully.",
                          workbook);
    ExcelUtils::Disconnect();
    context.SummaryBool("written", true);
    return CommandStatus::Done;
}

}  // namespace

CommandStatus UploadToExcelCommand(CommandContext& context) {
    if (!context.arguments.empty()) {
        host::CurrentPrinter().Warn("velmar: upload takes no words; see 'velmar upload --help'.");
        return CommandStatus::BadInput;
    }
    if (!host::DocumentManager::Instance().CurDocument()) {
        host::CurrentPrinter().Warn("velmar upload: give the drawing whose references the workbook lists, with --drawing FILE.");
        return CommandStatus::BadInput;
    }
    StorePathOption(context.values);
    ErrLog().Write("%s - Start.", kMethod);
    int step = 0;
    try {
        return RunUpload(context, step);
    } catch (const arxutils::excel::AutomationError& e) {
        host::ShowMessage(e.Description(), "Velmar");
    } catch (...) {
        host::ShowMessage(base::Sprintf("Unknown Error in %s: %d.", kMethod, step), "Velmar");
    }
    ExcelUtils::Disconnect();
    context.Summary("error", "the upload failed");
    return CommandStatus::Failed;
}

const std::vector<Control>& UploadControls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list;
        for (const Control& control : COptionsDialog::Controls()) {
            if (control.key == "update-drawing-paths") list.push_back(control);
        }
        list.push_back({"remove-deleted-rows", ControlKind::Choice,
                        "the answer to \"Do you want to remove the rows (...) containing the deleted "
                        "blocks?\"; asked when not given",
                        {"yes", "no"}});
        list.push_back({"dry-run", ControlKind::Button,
                        "list every cell that would change (cell: old -> new), the comments that would "
                        "change and the rows that would be offered for removal, and write nothing"});
        return list;
    }();
    return controls;
}

}  // namespace attbat
