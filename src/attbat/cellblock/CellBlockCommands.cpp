#include "attbat/cellblock/CellBlockCommands.h"

#include <optional>
#include <string>

#include "arxutils/ArxUtils.h"
#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "attbat/cellblock/CAutoTable.h"
#include "attbat/cellblock/CCreateAttributesFromExcelDialog.h"
#include "attbat/cellblock/CellBlockSource.h"
#include "attbat/cellblock/CreateAttsFromExcel.h"
#include "attbat/cellblock/UpdateCellAttsToExcel.h"
#include "attbat/cellblock/UpdateCellBlockAtts.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/PointOption.h"
#include "attbat/frame/Refusal.h"
#include "base/Format.h"
#include "host/Document.h"
#include "host/Editor.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;

const Control kDryRun{"dry-run", ControlKind::Button, "do everything but save: the lines say what would change"};

// The current drawing, read; null (refused) without one.
cad::Database* CurrentDrawing(std::string_view command, Refusal& refusal) {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (!current) {
        refusal.Fail(base::Sprintf("give the drawing with --drawing FILE (see 'velmar %s --help').", command));
        return nullptr;
    }
    if (!current->Load()) {
        refusal.Fail(current->LoadStatus().Message());
        return nullptr;
    }
    return &current->Database();
}

// The drawing as its file has it, dropping what the command changed.
void Discard() {
    if (host::Document* current = host::DocumentManager::Instance().CurDocument()) current->Reload();
}

// The closing line of a change to the drawing: said once the save succeeded, or at once in a
// dry run, which leaves the drawing as the file has it.
void Conclude(const std::string& line, bool dryRun) {
    if (!dryRun) {
        host::PrintfOnceSaved("%s", line);
        return;
    }
    host::Printf("%s\nNothing was written (dry run).", line);
    Discard();
}

bool TooManyWords(CommandContext& context, std::string_view command, std::size_t most) {
    if (context.arguments.size() <= most) return false;
    host::CurrentPrinter().Warn(base::Sprintf("velmar %s: give %s; see 'velmar %s --help'.", command,
                                              most == 0 ? "no words" : "one block reference's handle", command));
    return true;
}

// The one block reference a command works on, in the current drawing: the handle given after the
// command, else the one picked as "\nSelect a block: " would. A null view for anything but a
// block reference. The status to end the command with when there are too many words, no drawing,
// or the prompt was cancelled.
std::optional<CommandStatus> PickReference(CommandContext& context, std::string_view command,
                                           cad::BlockReference& ref) {
    if (TooManyWords(context, command, 1)) return CommandStatus::BadInput;
    Refusal refusal(base::Sprintf("velmar %s: ", command));
    cad::Database* db = CurrentDrawing(command, refusal);
    if (!db) return refusal.ok ? CommandStatus::Failed : CommandStatus::BadInput;
    std::string handle;
    if (!context.arguments.empty()) {
        handle = context.arguments.front();
    } else if (host::CurrentEditor().GetString(false, "\nSelect a block: ", handle) != host::RTNORM || handle.empty()) {
        context.MarkCancelled();
        return CommandStatus::Failed;
    }
    cad::Object object = arxutils::HandleToId(*db, handle);
    if (object && (object.Type() == "INSERT" || object.Type() == "MINSERT"))
        ref = cad::BlockReference(object.GetDatabase(), object.Index());
    return std::nullopt;
}

// The command's body with the object model's errors shown, any other fault as the cell reads
// show it, and the spreadsheet released.
CommandStatus Guarded(CommandContext& context, const std::function<CommandStatus()>& body) {
    CommandStatus status = CommandStatus::Failed;
    try {
        status = body();
    } catch (const arxutils::excel::AutomationError& e) {
        host::ShowMessage(e.Description(), "Velmar");
        context.Summary("error", e.Description());
    } catch (const std::exception& e) {
        host::ShowMessage("Unknown Error: C1.", "Velmar");
        context.Summary("error", e.what());
    }
    ExcelUtils::Disconnect();
    return status;
}

// ---- CreateAttsFromExcel

std::vector<Control> CreateControls() {
    std::vector<Control> list = CCreateAttributesFromExcelDialog::Controls();
    list.push_back({"insertion-point", ControlKind::Text,
                    "where the block's reference goes (its upper left corner); the origin without it", {}, "X,Y[,Z]"});
    list.push_back(kDryRun);
    return list;
}

void ShowDialog(CommandContext& context, const CCreateAttributesFromExcelDialog& dialog) {
    host::Printf("\nWorkbook: %s\nWorksheet: %s\nSelection: %s", dialog.m_workbook, dialog.m_worksheet,
                 dialog.m_selection);
    std::string layers, json;
    for (const std::string& layer : dialog.m_layers) {
        layers += (layers.empty() ? "" : ", ") + layer;
        json += (json.empty() ? "" : ", ") + JsonQuote(layer);
    }
    host::Printf("\nInsert Block on Layer: %s (of %s)\nText Height Scale: %s drawing units = %s Excel font points"
                 "\nText Layer: %s\nGive --block-name NAME to make the block.",
                 dialog.m_blockLayer, layers, dialog.m_drawingUnits, dialog.m_fontPoints, dialog.m_textLayer);
    context.Summary("workbook", dialog.m_workbook);
    context.Summary("worksheet", dialog.m_worksheet);
    context.Summary("selection", dialog.m_selection);
    context.SummaryJson("layers", "[" + json + "]");
    context.Summary("drawingUnits", dialog.m_drawingUnits);
    context.Summary("fontPoints", dialog.m_fontPoints);
}

CommandStatus CreateCellBlock(CommandContext& context) {
    const ControlValues& values = context.values;
    Refusal refusal("velmar create-cell-block: ");
    std::optional<cad::Point3> insertionPoint;
    if (TooManyWords(context, "create-cell-block", 0) || !ReadPointOption(values, "insertion-point", insertionPoint, refusal))
        return CommandStatus::BadInput;
    cad::Database* db = CurrentDrawing("create-cell-block", refusal);
    if (!db) return refusal.ok ? CommandStatus::Failed : CommandStatus::BadInput;
    if (!ExcelUtils::ConnectToExcel(false) || !ExcelUtils::Worksheet) {
        host::ShowMessage("Please start Excel and select a range first.", "Velmar");
        const std::string hint = "no workbook: give it with --workbook FILE and its cells with --selection RANGE.";
        host::CurrentPrinter().Warn("velmar create-cell-block: " + hint);
        context.Summary("error", hint);
        return CommandStatus::Failed;
    }
    CCreateAttributesFromExcelDialog dialog(*db);
    dialog.OnInitDialog();
    dialog.m_blockName = values.Text("block-name");
    dialog.m_blockLayer = values.Text("block-layer", dialog.m_blockLayer);
    dialog.m_textLayer = values.Text("text-layer", dialog.m_textLayer);
    dialog.m_drawingUnits = values.Text("drawing-units", dialog.m_drawingUnits);
    dialog.m_fontPoints = values.Text("font-points", dialog.m_fontPoints);
    if (!values.Has("block-name")) {
        ShowDialog(context, dialog);
        return CommandStatus::Done;
    }
    const bool dryRun = values.Pressed("dry-run");
    if (!dialog.OnOK(!dryRun)) return CommandStatus::Failed;
    CAutoTable table;
    if (!CreateAttsFromExcel(*db, dialog, insertionPoint, table)) {
        // A block redefined for nothing stays as it was.
        context.Summary("error", "no block was made");
        Discard();
        return CommandStatus::Failed;
    }
    const std::string line = base::Sprintf(
        "\nBlock %s: %d row(s) by %d column(s) of %s!%s, %d attribute definition(s), %d line(s)%s; reference %s.",
        dialog.m_blockName, table.RowCount(), table.ColumnCount(), dialog.m_worksheet, dialog.m_selection,
        table.attributeCount, table.lineCount,
        table.polylineCount ? base::Sprintf(", %d polyline(s)", table.polylineCount) : std::string(),
        table.reference ? table.reference.HandleString() : std::string("not inserted"));
    if (dialog.m_erasedReferences > 0)
        host::Printf("\nThe block's %d earlier reference(s) were erased with it.", dialog.m_erasedReferences);
    Conclude(line, dryRun);
    context.Summary("block", dialog.m_blockName);
    context.Summary("reference", table.reference ? table.reference.HandleString() : std::string());
    context.Summary("workbook", dialog.m_workbook);
    context.Summary("worksheet", dialog.m_worksheet);
    context.Summary("range", dialog.m_selection);
    context.Summary("rows", table.RowCount());
    context.Summary("columns", table.ColumnCount());
    context.Summary("attributes", table.attributeCount);
    context.Summary("lines", table.lineCount);
    context.Summary("polylines", table.polylineCount);
    context.Summary("erasedReferences", dialog.m_erasedReferences);
    context.SummaryBool("written", !dryRun);
    return CommandStatus::Done;
}

// ---- GetCellBlockInfo

CommandStatus CellBlockInfo(CommandContext& context) {
    cad::BlockReference ref;
    if (std::optional<CommandStatus> stop = PickReference(context, "cell-block-info", ref)) return *stop;
    CellBlockSource source;
    const cad::BlockRecord block = ref ? ref.Block() : cad::BlockRecord();
    if (!block || ReadCellBlockSource(block, source) != CellBlockKind::Valid) {
        host::ShowMessage("Invalid Cell Block.", "Velmar");
        context.Summary("error", "not a cell block");
        return CommandStatus::Failed;
    }
    host::ShowMessage(base::Sprintf("Block Name: %s\n\nWorkbook: %s\n\nWorksheet: %s\n\nRange: %s", block.Name(),
                                    source.workbook, source.worksheet, source.range),
                      "Velmar");
    context.Summary("block", block.Name());
    context.Summary("workbook", source.workbook);
    context.Summary("worksheet", source.worksheet);
    context.Summary("range", source.range);
    context.Summary("record", source.fromCellBlock2 ? kCellBlock2App : kCellBlockApp);
    return CommandStatus::Done;
}

// ---- UpdateCellBlockAtts

CommandStatus UpdateCellBlock(CommandContext& context) {
    Refusal refusal("velmar update-cell-block: ");
    cad::Database* db = CurrentDrawing("update-cell-block", refusal);
    if (!db) return refusal.ok ? CommandStatus::Failed : CommandStatus::BadInput;
    std::vector<cad::BlockReference> picked;
    if (context.arguments.empty()) {
        for (const cad::Entity& e : db->Select({{0, "INSERT"}})) picked.emplace_back(e.GetDatabase(), e.Index());
    }
    for (const std::string& handle : context.arguments) {
        cad::Object object = arxutils::HandleToId(*db, handle);
        if (!object || object.Type() != "INSERT") {
            refusal.Fail(base::Sprintf("%s is no block reference of the drawing.", handle));
            return CommandStatus::BadInput;
        }
        picked.emplace_back(object.GetDatabase(), object.Index());
    }
    if (picked.empty()) return CommandStatus::Done;
    const bool dryRun = context.values.Pressed("dry-run");
    return Guarded(context, [&] {
        CellBlockUpdate update = UpdateCellBlockAtts(picked);
        const std::string line = base::Sprintf("\n%d attribute(s) changed in %d reference(s) of %d cell block(s).",
                                               update.changed, update.references, update.blocks);
        Conclude(line, dryRun);
        context.Summary("blocks", update.blocks);
        context.Summary("references", update.references);
        context.Summary("changed", update.changed);
        context.Summary("missing", update.missing);
        context.SummaryBool("written", !dryRun);
        return update.failures.empty() ? CommandStatus::Done : CommandStatus::Failed;
    });
}

// ---- UpdateCellAttsToExcel

CommandStatus UploadCellBlock(CommandContext& context) {
    cad::BlockReference ref;
    if (std::optional<CommandStatus> stop = PickReference(context, "upload-cell-block", ref)) return *stop;
    const bool write = !context.values.Pressed("dry-run");
    return Guarded(context, [&] {
        std::vector<CellWrite> writes;
        if (!UpdateCellAttsToExcel(ref, write, writes)) return CommandStatus::Failed;
        std::string json;
        for (const CellWrite& w : writes) {
            const std::string line = base::Sprintf("\n%s: %s (was \"%s\").", w.address, w.after, w.before);
            if (write) host::PrintfOnceSaved("%s", line);
            else host::Printf("%s", line);
            json += base::Sprintf("%s{\"cell\": %s, \"before\": %s, \"after\": %s}", json.empty() ? "" : ", ",
                                  JsonQuote(w.address), JsonQuote(w.before), JsonQuote(w.after));
        }
        if (!write) host::Printf("\nNothing was written (dry run).");
        context.SummaryJson("cells", "[" + json + "]");
        context.SummaryBool("written", write);
        return CommandStatus::Done;
    });
}

}  // namespace

void ImplementCellBlockCommands(CAttBatApp& app) {
    app.Implement("CreateAttsFromExcel", {CreateControls(), "",
                                          [](CommandContext& c) { return Guarded(c, [&c] { return CreateCellBlock(c); }); }});
    app.Implement("UpdateCellBlockAtts", {{kDryRun}, "[HANDLE ...]", UpdateCellBlock});
    app.Implement("GetCellBlockInfo", {{}, "[HANDLE]", CellBlockInfo});
    app.Implement("UpdateCellAttsToExcel", {{kDryRun}, "[HANDLE]", UploadCellBlock});
}

}  // namespace attbat
