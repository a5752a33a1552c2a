#include "attbat/schedules/CountBlocksCommand.h"

#include "arxutils/ExcelUtils.h"
#include "attbat/frame/Refusal.h"
#include "attbat/schedules/CCountBlockDialog.h"
#include "attbat/schedules/DrawingListControls.h"
#include "base/Format.h"
#include "base/Path.h"
#include "host/Printer.h"

namespace attbat {

namespace {

std::string JsonList(const tables::CStringArrayEx& items) {
    std::string json;
    for (const std::string& item : items) json += (json.empty() ? "" : ", ") + JsonQuote(item);
    return "[" + json + "]";
}

std::string JsonResult(const CCountBlockDialog::Result& r) {
    return base::Sprintf("{\"sheet\": %s, \"cell\": %s, \"before\": %s, \"after\": %s}", JsonQuote(r.sheet),
                         JsonQuote(r.address), JsonQuote(r.before), JsonQuote(r.after));
}

// What the dialog shows: the drawings and the choices of the four combo boxes.
void Show(CommandContext& context, CCountBlockDialog& dialog) {
    dialog.OnDropDownTag();
    dialog.OnDropDownValue();
    std::string drawings;
    for (const std::string& path : dialog.m_drawingList.Paths()) drawings += (drawings.empty() ? "" : ", ") + JsonQuote(path);
    host::Printf("\nDrawings: %d listed%s.", dialog.m_drawingList.Paths().GetSize(),
                 dialog.m_includeCurrent ? ", and the current drawing" : "");
    for (const std::string& path : dialog.m_drawingList.Paths()) host::Printf("\n  %s", path);
    const auto line = [](std::string_view label, const tables::CStringArrayEx& items) {
        std::string text;
        for (const std::string& item : items) text += (text.empty() ? "" : ", ") + item;
        host::Printf("\n%s %s", label, text);
    };
    line("Block Name:", dialog.m_blockNames);
    line("Layer:", dialog.m_layers);
    if (!dialog.m_blockName.empty()) line("Attribute Tag:", dialog.m_tags);
    if (!dialog.m_tag.empty()) line("Value:", dialog.m_values);
    context.SummaryJson("drawings", "[" + drawings + "]");
    context.SummaryBool("includeCurrentDrawing", dialog.m_includeCurrent != 0);
    context.SummaryJson("blockNames", JsonList(dialog.m_blockNames));
    context.SummaryJson("layers", JsonList(dialog.m_layers));
    context.SummaryJson("tags", JsonList(dialog.m_tags));
    context.SummaryJson("values", JsonList(dialog.m_values));
}

CommandStatus RunCountBlocks(CommandContext& context) {
    const ControlValues& values = context.values;
    Refusal refusal("velmar count-blocks: ");
    const bool insert = values.Pressed("insert-function"), update = values.Pressed("update-results");
    const bool write = !values.Pressed("dry-run");
    if (insert && update) {
        refusal.Fail("--insert-function and --update-results are two buttons; press one at a time.");
        return CommandStatus::BadInput;
    }
    CCountBlockDialog dialog;
    // The box is stored at once, and only an opening reads the current drawing: given on the
    // command line it stands as ticked before this opening, as if from an earlier one.
    if (auto on = values.Check("include-current-drawing")) dialog.OnIncludeCurrent(*on);
    dialog.OnInitDialog();
    if (!PressDrawingListButtons(dialog, values, refusal)) return refusal.ok ? CommandStatus::Failed : CommandStatus::BadInput;
    dialog.m_blockName = values.Text("block-name", dialog.m_blockName);
    dialog.m_layer = values.Text("layer", dialog.m_layer);
    dialog.m_tag = values.Text("attribute-tag", dialog.m_tag);
    dialog.m_value = values.Text("value", dialog.m_value);
    if (!insert && !update) {
        Show(context, dialog);
        return CommandStatus::Done;
    }
    context.SummaryBool("written", write);
    if (insert) {
        CCountBlockDialog::Result result;
        if (!dialog.InsertFormula(write, result)) {
            context.Summary("error", "the count was not put into the workbook");
            return CommandStatus::Failed;
        }
        const std::string line = base::Sprintf("\n%s!%s: %s (was \"%s\").", result.sheet, result.address,
                                               result.after, result.before);
        if (write) host::PrintfOnceSaved("%s", line);
        else host::Printf("%s\nNothing was written (dry run).", line);
        context.SummaryJson("cells", "[" + JsonResult(result) + "]");
        return CommandStatus::Done;
    }
    std::vector<CCountBlockDialog::Result> results;
    const bool done = dialog.UpdateResults(write, results);
    std::string json;
    for (const CCountBlockDialog::Result& r : results) {
        const std::string line = base::Sprintf("\n%s!%s: %s (was \"%s\").", r.sheet, r.address, r.after, r.before);
        if (write) host::PrintfOnceSaved("%s", line);
        else host::Printf("%s", line);
        json += (json.empty() ? "" : ", ") + JsonResult(r);
    }
    if (!write) host::Printf("\nNothing was written (dry run).");
    context.SummaryJson("cells", "[" + json + "]");
    if (!done) context.Summary("error", "the workbook's comments were not all counted again");
    return done ? CommandStatus::Done : CommandStatus::Failed;
}

}  // namespace

const std::vector<Control>& CountBlocksControls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list = CCountBlockDialog::Controls();
        list.push_back({"dry-run", ControlKind::Button,
                        "count, and say what the cells would become, without writing the workbook"});
        return list;
    }();
    return controls;
}

CommandStatus CountBlocksCommand(CommandContext& context) {
    if (!context.arguments.empty()) {
        host::CurrentPrinter().Warn("velmar: count-blocks takes no words; see 'velmar count-blocks --help'.");
        return CommandStatus::BadInput;
    }
    const CommandStatus status = RunCountBlocks(context);
    arxutils::ExcelUtils::Disconnect();
    return status;
}

}  // namespace attbat
