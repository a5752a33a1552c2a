#include "attbat/authoring/AddNewAttsCommand.h"

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "arxutils/excel/ExcelServer.h"
#include "attbat/authoring/AddNewAttsDialog.h"
#include "attbat/frame/Refusal.h"
#include "base/Format.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;

std::string JsonRows(const std::vector<CNewAttsToBlocksDlg::ListRow>& rows) {
    std::string json;
    for (const CNewAttsToBlocksDlg::ListRow& r : rows) {
        json += base::Sprintf("%s{\"position\": %s, \"height\": %s, \"layer\": %s, \"textStyle\": %s, \"tag\": %s, "
                              "\"prompt\": %s}",
                              json.empty() ? "" : ", ", JsonQuote(r.position), JsonQuote(r.height), JsonQuote(r.layer),
                              JsonQuote(r.textStyle), JsonQuote(r.tag), JsonQuote(r.prompt));
    }
    return "[" + json + "]";
}

// The list and the blocks offered, as the dialog shows them.
void Show(CommandContext& context, const CNewAttsToBlocksDlg& dialog) {
    host::Printf("\nNew Attributes:");
    for (const CNewAttsToBlocksDlg::ListRow& r : dialog.m_list) {
        host::Printf("\n  %s  height %s  layer %s  style %s  tag %s  prompt %s", r.position, r.height, r.layer,
                     r.textStyle, r.tag.empty() ? "(none: left out)" : r.tag, r.prompt);
    }
    std::string names, json;
    for (const std::string& name : dialog.m_blockList) {
        names += (names.empty() ? "" : ", ") + name;
        json += (json.empty() ? "" : ", ") + JsonQuote(name);
    }
    host::Printf("\nAdd to Blocks: %s", names);
    context.SummaryJson("rows", JsonRows(dialog.m_list));
    context.SummaryJson("blocks", "[" + json + "]");
}

CommandStatus RunAddNewAtts(CommandContext& context) {
    Refusal refusal("velmar add-attributes: ");
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (!current) {
        refusal.Fail("give the drawing whose blocks get the attributes with --drawing FILE.");
        return CommandStatus::BadInput;
    }
    if (!current->Load()) {
        refusal.Fail(current->LoadStatus().Message());
        return CommandStatus::Failed;
    }
    const ControlValues& values = context.values;
    CNewAttsToBlocksDlg dialog(current->Database());
    if (auto on = values.Check("use-selected-range")) dialog.useSelectedRange = *on ? 1 : 0;
    dialog.m_filter = values.Text("filter");
    dialog.OnInitDialog();
    const bool read = dialog.OnGetAttributes();
    ExcelUtils::Disconnect();
    arxutils::excel::CurrentServer().ReleaseUnchangedData();
    const std::vector<std::string> blocks = values.List("block");
    for (const std::string& name : blocks) {
        if (!dialog.Check(name)) {
            refusal.Fail(base::Sprintf("--block %s: the list offers no such block%s.", name,
                                       dialog.m_filter.empty() ? "" : " under this filter"));
            return CommandStatus::BadInput;
        }
    }
    if (blocks.empty()) {
        Show(context, dialog);
        return read ? CommandStatus::Done : CommandStatus::Failed;
    }
    if (!read) {
        context.Summary("error", "no attributes were read from the worksheet");
        return CommandStatus::Failed;
    }
    const bool dryRun = values.Pressed("dry-run");
    CNewAttsToBlocksDlg::Report report;
    if (!dialog.OnOK(report)) return CommandStatus::Failed;
    for (const std::string& line : report.lines) {
        if (dryRun) host::Printf("\nAdded %s.", line);
        else host::PrintfOnceSaved("\nAdded %s.", line);
    }
    const std::string synced = base::Sprintf("\n%d reference(s) of %d synchronised: %d attribute(s) added, %d removed.",
                                             report.changedReferences, report.references, report.attributesAdded,
                                             report.attributesRemoved);
    if (dryRun) {
        host::Printf("%s\nNothing was written (dry run).", synced);
        current->Reload();
    } else {
        host::PrintfOnceSaved("%s", synced);
    }
    context.Summary("definitionsAdded", report.added);
    context.Summary("passedOver", report.passedOver);
    context.Summary("references", report.references);
    context.Summary("referencesChanged", report.changedReferences);
    context.Summary("attributesAdded", report.attributesAdded);
    context.Summary("attributesRemoved", report.attributesRemoved);
    context.SummaryBool("written", !dryRun);
    return CommandStatus::Done;
}

}  // namespace

const std::vector<Control>& AddNewAttsControls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list = CNewAttsToBlocksDlg::Controls();
        list.push_back({"dry-run", ControlKind::Button,
                        "do everything but write: the lines say what would be added and synchronised"});
        return list;
    }();
    return controls;
}

CommandStatus AddNewAttsCommand(CommandContext& context) {
    if (!context.arguments.empty()) {
        host::CurrentPrinter().Warn("velmar: add-attributes takes no words; see 'velmar add-attributes --help'.");
        return CommandStatus::BadInput;
    }
    try {
        return RunAddNewAtts(context);
    } catch (const arxutils::excel::AutomationError& e) {
        host::ShowMessage(e.Description(), "Velmar");
    }
    ExcelUtils::Disconnect();
    context.Summary("error", "the command failed");
    return CommandStatus::Failed;
}

}  // namespace attbat
