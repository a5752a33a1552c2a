// `velmar import-by-handle`: attaches the workbook, sets the dialog's controls from the values,
// reads the key comments with their cells' texts, lets go of the workbook, then writes (or with
// --dry-run only lists) the values.

#include "attbat/import/ImportCommands.h"

#include <cstdio>
#include <optional>
#include <utility>

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "arxutils/excel/ExcelServer.h"
#include "attbat/frame/CArxErrLog.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/import/CImpExOptDialog.h"
#include "attbat/import/CImportByHandleDialog.h"
#include "attbat/import/ImportByHandle.h"
#include "attbat/import/ImportByKeyCommand.h"
#include "attbat/import/ImportReport.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/Document.h"
#include "host/Locations.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;

// The controls of the dialog as the values set them, then OK; false for a value it won't take.
bool SetControls(CImportByHandleDialog& dialog, const ControlValues& values) {
    ImportByHandleOptions& o = dialog.m_options;
    if (auto sheets = values.Choice("sheets")) o.WorksheetOption = *sheets;
    if (values.Has("start-column")) o.StartColumn = values.Text("start-column");
    if (values.Has("start-row")) o.StartRow = std::atoi(values.Text("start-row").c_str());
    auto set = [&](const char* key, int& field) {
        if (auto on = values.Check(key)) field = *on ? 1 : 0;
    };
    int currentOnly = o.CurrentDrawingOnly;
    set("ignore-property", o.IgnoreProperty);
    set("current-drawing-only", currentOnly);
    set("ignore-drawing-path", o.IgnoreDrawingPath);
    set("save-link", o.SaveExcelLink);
    // The path box is disabled while the drawing box is off, so it can't be ticked then.
    if (values.Has("ignore-drawing-path") && o.IgnoreDrawingPath && !currentOnly) {
        host::CurrentPrinter().Warn("velmar import-by-handle: --ignore-drawing-path needs --current-drawing-only on.");
        return false;
    }
    dialog.SetCurrentDrawingOnly(currentOnly != 0);
    if (values.Has("choose-workbook")) {
        std::string wanted = values.Text("choose-workbook");
        int found = -1;
        for (int i = 0; i < static_cast<int>(dialog.m_workbooks.size()) && found < 0; ++i) {
            const std::string& name = dialog.m_workbooks[i];
            if (base::EqualNoCase(name, wanted) || base::EqualNoCase(base::FileName(name), wanted)) found = i;
        }
        if (found < 0 || !dialog.ChooseWorkbook(found)) {
            host::CurrentPrinter().Warn(base::Sprintf("velmar import-by-handle: no open workbook '%s'.", wanted));
            return false;
        }
    }
    dialog.OnOK();
    return true;
}

// Reads the key comments of the active sheet, or of every sheet with the active one restored.
// What was read is in the map: the memory of each sheet read goes back before the next is read,
// its notes too once the map holds its keys itself.
bool ReadMap(const ImportByHandleOptions& options, ImportMap& map) {
    auto read = [&] {
        const bool ok = ExcelUtils::ReadCommentAndText(map, options.IgnoreProperty != 0);
        arxutils::excel::CurrentServer().ReleaseUnchangedData();
        map.OwnSharedKeys();
        return ok;
    };
    return options.WorksheetOption == 0 ? read() : ExcelUtils::ForEachWorksheet(read);
}

// The current drawing is read on first use, after the workbook is let go; one that turned out
// unreadable (said by the writer or the listing) fails the command, and nothing was written to it.
CommandStatus CurrentDrawingRead(CommandContext& context, host::Document* current) {
    if (!current || current->LoadStatus()) return CommandStatus::Done;
    context.Summary("error", current->LoadStatus().Message());
    return CommandStatus::Failed;
}

CommandStatus RunImport(CommandContext& context) {
    ErrLog().Write("%s - Start.", "CAttBatch::ImportByAttHandle");
    if (!ExcelUtils::ConnectToExcel(true, {}, 1, 0) || !ExcelUtils::Workbook) {
        if (!ExcelUtils::ChooseFromRunningObjects(ExcelUtils::LastError) || !ExcelUtils::Workbook) {
            ExcelUtils::Disconnect();
            context.Summary("error", "no workbook");
            return CommandStatus::Failed;
        }
    }
    ErrLog().Write("%s - %d", "CAttBatch::ImportByAttHandle", 1);
    CImportByHandleDialog dialog;
    dialog.OnInitDialog();
    if (!SetControls(dialog, context.values)) {
        ExcelUtils::Disconnect();
        return CommandStatus::BadInput;
    }
    const ImportByHandleOptions& options = dialog.m_options;
    ImportMap map;
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    // A failed comment stops the reading; what was read is still applied.
    ReadMap(options, map);
    std::string workbookPath = ExcelUtils::Workbook->FullName();
    host::Printf("\nSuccessfully read the data of %s.", workbookPath);
    ErrLog().Write("%s - %d", "CAttBatch::ImportByAttHandle", 2);
    ExcelUtils::Disconnect();
    // Everything needed is in the map: the sheets' memory goes back before the drawings are read.
    arxutils::excel::CurrentServer().ReleaseUnchangedData();
    context.Summary("keys", static_cast<long long>(map.size()));

    const bool dryRun = context.values.Pressed("dry-run");
    if (dryRun || context.reportAsJson) {
        std::vector<std::string> skipped;
        AcadBlockRefArray rows = BuildImportList(map, options, current ? current->FileName() : "", skipped);
        if (dryRun) {
            for (const std::string& line : skipped) host::Printf("%s", line);
        }
        ReportChanges(context, ListImportChanges(rows), dryRun);
        if (dryRun) {
            context.SummaryBool("written", false);
            return CurrentDrawingRead(context, current);
        }
    }
    const std::string* linkPath = options.SaveExcelLink ? &workbookPath : nullptr;
    ApplyImportMap(std::move(map), options, linkPath, true);
    ErrLog().Write("%s - %d", "CAttBatch::ImportByAttHandle", 3);
    context.SummaryBool("written", true);
    return CurrentDrawingRead(context, current);
}

// The command: a failure of the spreadsheet shows its description, anything else the system's
// catch-all box, and the connection is let go either way.
CommandStatus ImportByAttHandle(CommandContext& context) {
    try {
        return RunImport(context);
    } catch (const arxutils::excel::AutomationError& e) {
        host::ShowMessage(e.Description(), "Velmar");
    } catch (...) {
        host::ShowMessage("Unknown Error: 187.", "Velmar");
    }
    ExcelUtils::Disconnect();
    context.Summary("error", "the import failed");
    return CommandStatus::Failed;
}

// `velmar import-options`: opens the dialog, sets the fields given, and presses OK, which stores
// all seven as they stand; then shows them.
CommandStatus ImportHeaderOptions(CommandContext& context) {
    if (!context.arguments.empty()) {
        host::CurrentPrinter().Warn("velmar: import-options takes no words; see 'velmar import-options --help'.");
        return CommandStatus::BadInput;
    }
    CImpExOptDialog dialog;
    dialog.OnInitDialog();
    for (const CImpExOptDialog::HeaderField& field : CImpExOptDialog::HeaderFields()) {
        if (context.values.Has(field.key)) dialog.*field.member = context.values.Text(field.key);
    }
    dialog.OnOK();
    host::Printf("\n%s", CImpExOptDialog::title);
    for (const CImpExOptDialog::HeaderField& field : CImpExOptDialog::HeaderFields()) {
        host::Printf("\n  %-18s %s  (--%s)", field.label, dialog.*field.member, field.key);
        context.Summary(field.key, dialog.*field.member);
    }
    host::Printf("\nSettings file: %s", host::SettingsFilePath());
    context.Summary("settings", host::SettingsFilePath());
    return CommandStatus::Done;
}

}  // namespace

const std::vector<Control>& ImportByHandleControls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list = CImportByHandleDialog::Controls();
        list.push_back({"dry-run", ControlKind::Button,
                        "list every change (drawing, handle, tag or property, old -> new) and write nothing"});
        return list;
    }();
    return controls;
}

void ImplementImportCommands(CAttBatApp& app) {
    // The drawing is read after the workbook, so the two are never in memory together.
    app.Implement("VelmarInByHandle",
                  {ImportByHandleControls(), "", ImportByAttHandle, /*readsDrawingOnFirstUse=*/true});
    app.Implement("CImpExOptDialog", {CImpExOptDialog::Controls(), "", ImportHeaderOptions});
    app.Implement("VelmarInByVal", {ImportByKeyControls(), "[DRAWING.dxf ...]", ImportByKeyValue});
}

}  // namespace attbat
