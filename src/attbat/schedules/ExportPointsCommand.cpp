#include "attbat/schedules/ExportPointsCommand.h"

#include <cstdlib>

#include "arxutils/ArxUtils.h"
#include "arxutils/ExcelUtils.h"
#include "attbat/frame/Refusal.h"
#include "attbat/schedules/CExportPointsDialog.h"
#include "base/Format.h"
#include "base/Text.h"
#include "cad/Database.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace attbat {

namespace {

// What the selection's filter lets through.
bool Selectable(const cad::Entity& entity) {
    const std::string type = entity.Type();
    return type == "LWPOLYLINE" || type == "POLYLINE" || type == "LINE";
}

// The picked entities: the handles given (each of them; one the filter wouldn't pick is told
// and left out), or every line and polyline of the drawing's spaces.
bool Pick(cad::Database& db, const ControlValues& values, std::vector<cad::Entity>& picked, Refusal& refusal) {
    const std::vector<std::string> handles = values.List("objects");
    if (handles.empty()) {
        picked = db.Select({{-4, "<or"}, {0, "LWPOLYLINE"}, {0, "POLYLINE"}, {0, "LINE"}, {-4, "or>"}});
        return true;
    }
    for (const std::string& handle : handles) {
        cad::Object object = arxutils::HandleToId(db, base::Trim(handle));
        if (!object || object.IsErased()) {
            refusal.Fail(base::Sprintf("--objects %s: the drawing has no object of that handle.", handle));
            return false;
        }
        cad::Entity entity(object.GetDatabase(), object.Index());
        if (!Selectable(entity)) {
            host::Printf("\n%s is a %s, not a line or polyline: left out.", handle, entity.Type());
            continue;
        }
        picked.push_back(entity);
    }
    return true;
}

// The controls in a user's order; the start row through the dialog's own range check.
bool SetControls(CExportPointsDialog& dialog, const ControlValues& values, Refusal& refusal) {
    if (auto on = values.Check("x")) dialog.OnCheckX(*on);
    if (auto on = values.Check("y")) dialog.OnCheckY(*on);
    if (auto on = values.Check("z")) dialog.OnCheckZ(*on);
    if (values.Has("separator")) dialog.OnSeparatorChanged(values.Text("separator"));
    if (auto option = values.Choice("workbook-option")) dialog.m_workbookOption = *option;
    if (values.Has("start-column")) dialog.m_startColumn = base::Trim(values.Text("start-column"));
    if (values.Has("start-row")) {
        const std::string text = base::Trim(values.Text("start-row"));
        char* end = nullptr;
        const long row = std::strtol(text.c_str(), &end, 10);
        if (text.empty() || *end != '\0') {
            refusal.Fail(base::Sprintf("--start-row %s: give a row number from 1 to 10000.", text));
            return false;
        }
        if (!dialog.SetStartRow(row > 1000000 ? 1000000 : static_cast<int>(row))) return false;
    }
    return true;
}

void Show(CommandContext& context, const CExportPointsDialog& dialog) {
    std::string header, json;
    for (const std::string& column : dialog.m_columns) header += (header.empty() ? "" : " | ") + column;
    host::Printf("\n%s", header);
    for (const auto& row : dialog.m_rows) {
        std::string line, cells;
        for (const std::string& cell : row) {
            line += (line.empty() ? "" : " | ") + cell;
            cells += (cells.empty() ? "" : ", ") + JsonQuote(cell);
        }
        host::Printf("\n%s", line);
        json += (json.empty() ? "[" : ", [") + cells + "]";
    }
    context.Summary("picked", static_cast<long long>(dialog.m_entityIds.size()));
    context.Summary("columns", static_cast<long long>(dialog.m_columns.size()));
    context.SummaryJson("rows", json.empty() ? "[]" : json + "]");
}

CommandStatus RunExportPoints(CommandContext& context) {
    Refusal refusal("velmar export-points: ");
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (!current) {
        refusal.Fail("give the drawing whose lines and polylines to export with --drawing FILE.");
        return CommandStatus::BadInput;
    }
    if (!current->Load()) {
        refusal.Fail(current->LoadStatus().Message());
        return CommandStatus::Failed;
    }
    host::Printf("\nSelect line or polylines:");
    std::vector<cad::Entity> picked;
    if (!Pick(current->Database(), context.values, picked, refusal)) return CommandStatus::BadInput;
    if (picked.empty()) {
        context.Summary("error", "nothing was selected");
        return CommandStatus::Failed;
    }
    CExportPointsDialog dialog(current->Database(), std::move(picked));
    dialog.OnInitDialog();
    if (!SetControls(dialog, context.values, refusal)) return refusal.ok ? CommandStatus::Failed : CommandStatus::BadInput;
    Show(context, dialog);
    const bool dryRun = context.values.Pressed("dry-run");
    context.SummaryBool("written", !dryRun);
    if (dryRun) {
        host::Printf("\nNothing was written (dry run).");
        return CommandStatus::Done;
    }
    if (!dialog.OnExport()) {
        context.Summary("error", "the points were not exported");
        return CommandStatus::Failed;
    }
    return CommandStatus::Done;
}

}  // namespace

const std::vector<Control>& ExportPointsControls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list = {
            {"objects", ControlKind::List,
             "the lines and polylines picked, by handle (without it, every one of the drawing)", {}, "HANDLES", true},
        };
        Append(list, CExportPointsDialog::Controls());
        list.push_back({"dry-run", ControlKind::Button, "show the preview list without writing a workbook"});
        return list;
    }();
    return controls;
}

CommandStatus ExportPointsCommand(CommandContext& context) {
    if (!context.arguments.empty()) {
        host::CurrentPrinter().Warn("velmar: export-points takes no words; see 'velmar export-points --help'.");
        return CommandStatus::BadInput;
    }
    const CommandStatus status = RunExportPoints(context);
    arxutils::ExcelUtils::Disconnect();
    return status;
}

}  // namespace attbat
