#include "attbat/schedules/AttDefCommands.h"

#include <cstdlib>

#include "arxutils/ExcelUtils.h"
#include "attbat/frame/Refusal.h"
#include "attbat/schedules/AttDefImport.h"
#include "attbat/schedules/CExportAttDefDialog.h"
#include "attbat/schedules/DrawingListControls.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/Printer.h"

namespace attbat {

namespace {

std::string JsonRow(const std::vector<std::string>& cells) {
    std::string json;
    for (const std::string& cell : cells) json += (json.empty() ? "" : ", ") + JsonQuote(cell);
    return "[" + json + "]";
}

void OnOff(const ControlValues& values, std::string_view key, int& member) {
    if (auto on = values.Check(key)) member = *on ? 1 : 0;
}

// The controls in a user's order: source, list, ticks, columns, destination. False when the
// command ends.
bool SetControls(CExportAttDefDialog& dialog, const ControlValues& values, Refusal& refusal) {
    if (auto source = values.Choice("data-source")) {
        dialog.m_dataSource = *source;
        dialog.OnSourceChanged();
    }
    const bool listed = values.Has("load-list") || values.Has("add") || values.Has("remove") || values.Has("save-list");
    if (listed && !dialog.listEnabled) {
        refusal.Fail("the drawing list belongs to \"Select Drawings\": give --data-source select.");
        return false;
    }
    if (!PressDrawingListButtons(dialog, values, refusal)) return false;
    const std::vector<std::string> ticks = values.List("tick");
    if (!ticks.empty()) {
        for (const std::string& tag : dialog.m_tagList) dialog.SetTick(tag, false);
    }
    for (const std::string& tag : ticks) {
        if (!dialog.SetTick(tag, true)) {
            refusal.Fail(base::Sprintf("--tick %s: the tag list has no such tag.", tag));
            return false;
        }
    }
    for (const std::string& tag : values.List("untick")) {
        if (!dialog.SetTick(tag, false)) {
            refusal.Fail(base::Sprintf("--untick %s: the tag list has no such tag.", tag));
            return false;
        }
    }
    OnOff(values, "tag", dialog.m_attDefTag);
    OnOff(values, "prompt", dialog.m_attDefPrompt);
    OnOff(values, "default-value", dialog.m_attDefValue);
    OnOff(values, "drawing-name", dialog.m_exportDwgName);
    OnOff(values, "header", dialog.m_exportHeader);
    if (auto option = values.Choice("workbook-option")) dialog.m_workbookOpt = *option;
    if (values.Has("start-column")) dialog.m_startColumn = base::Trim(values.Text("start-column"));
    if (values.Has("start-row")) {
        const std::string text = base::Trim(values.Text("start-row"));
        char* end = nullptr;
        const long row = std::strtol(text.c_str(), &end, 10);
        if (text.empty() || *end != '\0' || row > 1048576) {
            refusal.Fail(base::Sprintf("--start-row %s: give a row number.", text));
            return false;
        }
        dialog.m_startRow = static_cast<int>(row);
    }
    return true;
}

CommandStatus RunExport(CommandContext& context) {
    Refusal refusal("velmar export-attdefs: ");
    CExportAttDefDialog dialog;
    dialog.OnInitDialog();
    if (!SetControls(dialog, context.values, refusal)) return refusal.ok ? CommandStatus::Failed : CommandStatus::BadInput;
    dialog.OnOK();
    const CExportAttDefDialog::SheetRows rows = dialog.BuildRows();
    std::string json;
    for (const auto& row : rows.values) json += (json.empty() ? "" : ", ") + JsonRow(row);
    context.SummaryJson("rows", "[" + json + "]");
    context.SummaryJson("tags", JsonRow(std::vector<std::string>(dialog.m_selectedTags.begin(), dialog.m_selectedTags.end())));
    const bool dryRun = context.values.Pressed("dry-run");
    context.SummaryBool("written", !dryRun && !rows.titles.empty());
    if (dryRun) {
        for (std::size_t r = 0; r < rows.values.size(); ++r) {
            std::string line;
            for (std::size_t c = 0; c < rows.values[r].size(); ++c) {
                line += (c ? " | " : "") + rows.values[r][c];
                if (!rows.comments[r][c].empty()) line += "  [" + rows.comments[r][c] + "]";
            }
            host::Printf("\n%s", line);
        }
        host::Printf("\nNothing was written (dry run).");
        return CommandStatus::Done;
    }
    if (!dialog.ExportToExcel()) {
        context.Summary("error", "the definitions were not exported");
        return CommandStatus::Failed;
    }
    return CommandStatus::Done;
}

}  // namespace

const std::vector<Control>& ExportAttDefsControls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list = CExportAttDefDialog::Controls();
        list.push_back({"dry-run", ControlKind::Button, "show the rows and their comments without writing a workbook"});
        return list;
    }();
    return controls;
}

CommandStatus ExportAttDefsCommand(CommandContext& context) {
    if (!context.arguments.empty()) {
        host::CurrentPrinter().Warn("velmar: export-attdefs takes no words; see 'velmar export-attdefs --help'.");
        return CommandStatus::BadInput;
    }
    const CommandStatus status = RunExport(context);
    arxutils::ExcelUtils::Disconnect();
    return status;
}

const std::vector<Control>& ImportAttDefsControls() {
    static const std::vector<Control> controls = {
        {"dry-run", ControlKind::Button, "say what would change in each drawing without writing any"},
    };
    return controls;
}

CommandStatus ImportAttDefsCommand(CommandContext& context) {
    if (!context.arguments.empty()) {
        host::CurrentPrinter().Warn("velmar: import-attdefs takes no words; see 'velmar import-attdefs --help'.");
        return CommandStatus::BadInput;
    }
    const bool write = !context.values.Pressed("dry-run");
    std::vector<AttDefChange> changes;
    bool declined = false;
    if (!ImportAttDefsByHandle(write, changes, declined)) {
        if (declined) context.MarkCancelled();
        context.Summary("error", declined ? "cancelled" : "the definitions were not imported");
        return CommandStatus::Failed;
    }
    std::string json;
    for (const AttDefChange& change : changes) {
        const std::string line = base::Sprintf("\n%s<%s>: %s \"%s\" -> \"%s\"", change.drawing, change.handle,
                                               change.field, change.before, change.after);
        if (write) host::PrintfOnceSaved("%s", line);
        else host::Printf("%s", line);
        json += base::Sprintf("%s{\"drawing\": %s, \"handle\": %s, \"field\": %s, \"before\": %s, \"after\": %s}",
                              json.empty() ? "" : ", ", JsonQuote(change.drawing), JsonQuote(change.handle),
                              JsonQuote(change.field), JsonQuote(change.before), JsonQuote(change.after));
    }
    if (!write) host::Printf("\nNothing was written (dry run).");
    context.SummaryJson("changes", "[" + json + "]");
    context.SummaryBool("written", write);
    return CommandStatus::Done;
}

}  // namespace attbat
