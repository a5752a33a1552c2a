// `velmar export`: builds the wizard, sets its controls from the values given in the order a
// user meets them (data source, attribute page, preview page, export options), then previews,
// links a foreign sheet to the rows or exports. Values given are stored where the dialogs' own
// buttons store them.

#include "attbat/export/ExportCommands.h"

#include <algorithm>
#include <cstdio>

#include "arxutils/ArxUtils.h"
#include "arxutils/excel/ExcelServer.h"
#include "attbat/export/CExportOptionsDialog.h"
#include "attbat/export/CScheduleDialog.h"
#include "attbat/export/CSelectAttributeDialog.h"
#include "attbat/export/DocumentDrawingContext.h"
#include "attbat/export/RefreshTableCommand.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/frame/PointOption.h"
#include "attbat/frame/Refusal.h"
#include "attbat/frame/RegistrySettingsStore.h"
#include "attbat/links/CLinkExternalDataDialog.h"
#include "attbat/model/OuterPolygon.h"
#include "base/Format.h"
#include "base/Memory.h"
#include "base/Text.h"
#include "base/Wildcard.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "tables/CellAddress.h"

namespace attbat {

namespace {

// Display width in code points, for aligning the preview on a terminal.
std::string Pad(std::string_view text, std::size_t width) {
    std::size_t length = base::Length(text);
    return std::string(text) + std::string(width > length ? width - length : 0, ' ');
}

std::function<void(const CAttPreviewPage&)>& PreviewViewer() {
    static std::function<void(const CAttPreviewPage&)> viewer;
    return viewer;
}

void PrintPreview(const CAttPreviewPage& page, bool json) {
    if (PreviewViewer()) {
        PreviewViewer()(page);
        return;
    }
    const int columns = page.ColumnCount();
    if (json) {
        std::string out = "{\"columns\": [";
        for (int p = 0; p < columns; ++p) out += (p ? ", " : "") + JsonQuote(page.HeaderAt(p));
        out += "], \"rows\": [";
        for (int r = 0; r < page.RowCount(); ++r) {
            out += r ? ", [" : "[";
            for (int p = 0; p < columns; ++p) out += (p ? ", " : "") + JsonQuote(page.TextAt(r, p));
            out += "]";
        }
        // Straight to standard output: under --json the printer writes to standard error, and
        // the table is the answer asked for, ahead of the summary line.
        out += "]}\n";
        std::fwrite(out.data(), 1, out.size(), stdout);
        std::fflush(stdout);
        return;
    }
    if (columns == 0) {
        host::CurrentPrinter().Print("The preview is empty: no ticked block has a reference that passes the filter.\n");
        return;
    }
    std::vector<std::size_t> widths(columns);
    for (int p = 0; p < columns; ++p) {
        widths[p] = base::Length(page.HeaderAt(p));
        for (int r = 0; r < page.RowCount(); ++r) widths[p] = std::max(widths[p], base::Length(page.TextAt(r, p)));
    }
    auto line = [&](auto cellOf) {
        std::string text;
        for (int p = 0; p < columns; ++p) text += (p ? "  " : "") + Pad(cellOf(p), widths[p]);
        host::CurrentPrinter().Print(base::TrimRight(text) + "\n");
    };
    line([&](int p) { return page.HeaderAt(p); });
    for (int r = 0; r < page.RowCount(); ++r) line([&](int p) { return page.TextAt(r, p); });
}

// "Select Objects": the handles given stand for what the user picked on the screen, with the
// pick's own filter (block references and multileaders only).
bool PickObjects(CBlockSourcePage& page, const ControlValues& values, Refusal& refusal) {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    std::vector<std::string> handles = values.List("objects");
    if (!current || handles.empty()) {
        refusal.Fail("velmar export: --source objects needs the drawing (--drawing FILE.dxf) and the "
                     "handles of the picked objects (--objects 1F0,2A4).");
        return false;
    }
    std::vector<cad::BlockReference> references;
    std::vector<cad::MLeader> leaders;
    for (const std::string& handle : handles) {
        cad::Object object = arxutils::HandleToId(current->Database(), handle);
        std::string type = object ? object.Type() : std::string();
        if (type == "INSERT") {
            references.emplace_back(object.GetDatabase(), object.Index());
        } else if (type == "MULTILEADER") {
            leaders.emplace_back(object.GetDatabase(), object.Index());
        } else {
            refusal.Fail(base::Sprintf("velmar export: %s in %s is %s, not a block reference or multileader.",
                                       handle, current->FileName(),
                                       type.empty() ? std::string("no object") : "a " + type));
            return false;
        }
    }
    page.SelectObjects(references, leaders, static_cast<long>(handles.size()));
    return true;
}

// The data source page: source, drawing list and filter, as the user sets them before "Next".
bool SetSourcePage(CScheduleDialog& wizard, const CommandContext& context, Refusal& refusal) {
    const ControlValues& values = context.values;
    CBlockSourcePage& page = wizard.m_blockSourcePage;
    if (auto source = values.Choice("source")) page.m_dataSource = *source;
    if (!values.Has("source")) {
        if (!context.arguments.empty() || values.Has("list")) page.m_dataSource = 2;
        if (values.Has("objects")) page.m_dataSource = 1;
    }
    page.OnSourceChanged();
    if (page.m_dataSource == 1 && !PickObjects(page, values, refusal)) return false;
    if (auto sub = values.Check("search-subfolder")) page.SetSearchSubfolder(*sub);
    if (values.Has("list")) {
        base::Status loaded = page.LoadList(values.Text("list"));
        if (!loaded) {
            refusal.Fail(loaded.Message());
            return false;
        }
    }
    for (const std::string& path : context.arguments) page.AddDrawing(path);
    if (values.Has("add-folder")) page.AddFolder(values.Text("add-folder"));
    if (values.Has("save-list")) {
        base::Status saved = page.SaveList(values.Text("save-list"));
        if (!saved) {
            refusal.Fail(saved.Message());
            return false;
        }
    }
    for (const CBlockSourcePage::FilterBox& box : CBlockSourcePage::FilterBoxes()) {
        if (auto on = values.Check(box.key)) wizard.m_filter.*box.member = *on ? 1 : 0;
    }
    if (values.Has("block-wildcard")) wizard.m_filter.blockPattern = values.Text("block-wildcard");
    if (page.m_dataSource == 2) wizard.m_filter.currentSpaceOnly = 0;
    return refusal.ok;
}

void TickByPattern(CAttributePage& page, const std::vector<std::string>& patterns, bool checked) {
    for (const std::string& pattern : patterns) {
        for (auto& row : page.m_blockList) {
            if (base::WcMatch(row.name, pattern, true)) row.checked = checked;
        }
    }
}

// Ticks or unticks the "Attributes" rows of each word. A word that names no tag of the ticked
// blocks is refused; one whose tag the boxes keep off the list only gets a note, since what the
// user asked for (a column shown or not) holds either way.
void TickTags(CSelectAttributeDialog& dialog, const ControlValues& values, const char* key, bool checked,
              Refusal& refusal) {
    for (const std::string& word : values.List(key)) {
        if (dialog.Tick(word, checked) > 0) continue;
        auto named = [&](const AcadAttDefTagArray& tags) {
            return std::any_of(tags.begin(), tags.end(), [&](const AcadAttDefTag& tag) {
                return tag.DisplayName() == word || base::WcMatch(tag.DisplayName(), word, true);
            });
        };
        if (named(dialog.NoValueTags()) && dialog.m_removeNoValue) {
            host::CurrentPrinter().Warn(base::Sprintf(
                "velmar export: --%s %s: no reference gives it a value, so it isn't listed while \"%s\" is "
                "on (--remove-attributes-with-no-value off lists it).",
                key, word, CSelectAttributeDialog::removeNoValueLabel));
        } else if (named(dialog.AllTags())) {
            host::CurrentPrinter().Warn(base::Sprintf(
                "velmar export: --%s %s: a dynamic property, listed only with \"%s\" on (--dynamic-properties on).",
                key, word, CSelectAttributeDialog::dynamicPropertiesLabel));
        } else {
            std::string listed;
            for (const auto& row : dialog.m_tagList) listed += (listed.empty() ? "" : ", ") + row.text;
            refusal.Fail(base::Sprintf("velmar export: --%s: no tag of the ticked blocks is '%s'. The \"%s\" "
                                       "dialog lists %s.",
                                       key, word, CSelectAttributeDialog::title,
                                       listed.empty() ? std::string("no tag (tick blocks with attributes: --tick)")
                                                      : listed));
        }
    }
}

// The "Attributes" dialog, opened by the "..." button only when one of its controls is given, and
// closed with OK, which stores its boxes and replaces the view's unticked tags.
bool SetAttributesDialog(CScheduleDialog& wizard, const ControlValues& values, Refusal& refusal) {
    const std::vector<Control>& controls = CSelectAttributeDialog::Controls();
    if (std::none_of(controls.begin(), controls.end(), [&](const Control& c) { return values.Has(c.key); })) {
        return refusal.ok;
    }
    CSelectAttributeDialog dialog(wizard);
    dialog.OnInitDialog();
    std::optional<bool> removeNoValue = values.Check("remove-attributes-with-no-value");
    if (!removeNoValue) removeNoValue = values.Check("remove-no-value");
    if (removeNoValue) dialog.SetRemoveNoValue(*removeNoValue);
    if (auto on = values.Check("dynamic-properties")) dialog.SetDynamicProperties(*on);
    if (values.Has("leave-out-tags")) {
        dialog.Tick("*", true);
        TickTags(dialog, values, "leave-out-tags", false, refusal);
    }
    if (values.Pressed("clear-all-tags")) dialog.ClearAll();
    TickTags(dialog, values, "tick-tag", true, refusal);
    TickTags(dialog, values, "untick-tag", false, refusal);
    if (!refusal.ok) return false;
    dialog.OnOK();
    return true;
}

bool SetAttributePage(CScheduleDialog& wizard, const ControlValues& values, Refusal& refusal) {
    CAttributePage& page = wizard.m_attributePage;
    if (auto on = values.Check("attributes-only")) page.SetWithAttributesOnly(*on);
    if (auto on = values.Check("in-use-only")) page.SetInUseOnly(*on);
    TickByPattern(page, values.List("tick"), true);
    TickByPattern(page, values.List("untick"), false);
    for (const CAttributePage::ViewBox& box : CAttributePage::ViewBoxes()) {
        if (auto on = values.Check(box.key)) wizard.m_view.*box.member = *on ? 1 : 0;
    }
    if (auto on = values.Check("outer-polygon-area")) page.SetOuterPolygonArea(*on);
    if (auto unit = values.Choice("area-unit")) page.m_areaUnit = *unit;
    return SetAttributesDialog(wizard, values, refusal);
}

bool SetPreviewPage(CScheduleDialog& wizard, const ControlValues& values, Refusal& refusal) {
    CAttPreviewPage& page = wizard.m_previewPage;
    bool changed = false;
    if (auto kind = values.Choice("drawing-column-kind")) page.m_drawingColumnKind = *kind, changed = true;
    if (auto style = values.Choice("header-style")) page.m_headerStyle = *style, changed = true;
    if (auto sort = values.Choice("column-sort")) page.m_columnSort = *sort, changed = true;
    // Entering the page built the rows; a changed control builds them again, as it would on screen.
    if (changed) page.RefreshPage();
    if (values.Has("column-order")) {
        std::vector<int> order;
        std::string given;
        for (const std::string& letters : values.List("column-order")) {
            order.push_back(tables::ColumnNumber(letters) - 1);
            given += (given.empty() ? "" : ",") + letters;
        }
        if (!page.SetColumnOrder(order)) {
            refusal.Fail(base::Sprintf("velmar export: --column-order must name each of the %d columns "
                                       "once, starting with A (see --preview); got '%s'.",
                                       page.ColumnCount(), given));
            return false;
        }
    }
    if (values.Has("row-sort")) {
        std::string text = values.Text("row-sort");
        bool descending = false;
        if (std::size_t colon = text.find(':'); colon != std::string::npos) {
            descending = base::EqualNoCase(base::Trim(text.substr(colon + 1)), "desc");
            text = text.substr(0, colon);
        }
        int position = tables::ColumnNumber(base::Trim(text)) - 1;
        if (position < 0 || position >= page.ColumnCount()) {
            refusal.Fail(base::Sprintf("velmar export: --row-sort names column '%s', but the preview has "
                                       "columns A to %s.", text, page.HeaderAt(std::max(0, page.ColumnCount() - 1))));
            return false;
        }
        int column = page.ColumnOrder()[position];
        page.OnHeaderClick(column);
        if (descending) page.OnHeaderClick(column);
    }
    return true;
}

// The "Export Options" dialog, closed with OK only when one of its controls was given.
void SetExportOptions(CScheduleDialog& wizard, const ControlValues& values) {
    const std::vector<Control>& controls = CExportOptionsDialog::Controls();
    if (std::none_of(controls.begin(), controls.end(), [&](const Control& c) { return values.Has(c.key); })) {
        return;
    }
    CExportOptionsDialog dialog(wizard.Settings());
    dialog.OnInitDialog();
    if (auto mode = values.Choice("workbook-mode")) dialog.m_options.workbookOption = *mode;
    if (auto sheets = values.Choice("sheets")) dialog.m_options.worksheetOption = *sheets;
    if (values.Has("start-column")) dialog.m_startColumn = values.Text("start-column");
    if (values.Has("start-row")) {
        std::string row = values.Text("start-row");
        dialog.m_startRowText = base::EqualNoCase(row, "last") ? std::string(CExportOptionsDialog::lastFilledRow) : row;
    }
    if (auto on = values.Check("border")) dialog.m_options.applyBorder = *on;
    if (auto on = values.Check("merge")) dialog.m_options.mergeBlockName = *on;
    if (auto on = values.Check("hyperlink")) dialog.m_options.addHyperlink = *on;
    dialog.OnOK();
}

// The entry of a picker's `choices` that `given` names without regard to case; "" for none.
std::string Pick(const std::vector<std::string>& choices, const std::string& given) {
    auto found = std::find_if(choices.begin(), choices.end(), [&](const std::string& choice) {
        return base::EqualNoCase(choice, given);
    });
    return found == choices.end() ? std::string() : *found;
}

// What can be refused of the "Link External Data" options before anything is read: its
// controls without the menu item, a run that asks to preview as well, and the key columns.
// The first refusal is said.
bool CheckLinkOptions(const ControlValues& values) {
    Refusal refusal("velmar export: ");
    const std::vector<Control>& controls = CLinkExternalDataDialog::Controls();
    if (!values.Has("link-external")) {
        for (const Control& control : controls) {
            if (!values.Has(control.key))
                continue;
            refusal.Fail(
                base::Sprintf("--%s is a control of the \"%s\" dialog; give the workbook to link "
                              "with --link-external BOOK.",
                              control.key, CLinkExternalDataDialog::title));
            return false;
        }
        return true;
    }
    if (values.Pressed("preview")) {
        refusal.Fail(
            "--preview and --link-external are two buttons of the preview page; give one of them.");
        return false;
    }
    if (!values.Has("drawing-key-column") || !values.Has("sheet-key-column")) {
        refusal.Fail(
            "--link-external needs the columns to match: --drawing-key-column LETTER (the "
            "preview's column of the keys, see --preview) and --sheet-key-column LETTER (the "
            "sheet's column of the same keys).");
        return false;
    }
    // The picker offers the letters of columns 1 to 675, and nothing else.
    const std::string column = values.Text("sheet-key-column");
    const int number = tables::ColumnNumber(column);
    if (number < 1 || number > CLinkExternalDataDialog::lastPickerColumn ||
        !base::EqualNoCase(tables::ColumnLetters(number), column)) {
        refusal.Fail(base::Sprintf(
            "--sheet-key-column '%s' is no column: give its letters, A to %s.", column,
            tables::ColumnLetters(CLinkExternalDataDialog::lastPickerColumn)));
        return false;
    }
    return true;
}

// What the last OK of "Link External Data" did, for the summary.
void SummarizeLink(const CLinkExternalDataDialog& dialog, CommandContext& context) {
    context.Summary("workbook", dialog.workbookPath);
    context.Summary("sheet", dialog.m_worksheet);
    context.Summary("matched", dialog.Matched());
    std::string unmatched;
    for (const std::string& key : dialog.UnmatchedKeys()) {
        unmatched += (unmatched.empty() ? "" : ", ") + JsonQuote(key);
    }
    context.SummaryJson("unmatched", "[" + unmatched + "]");
    context.Summary("comments", dialog.CommentsWritten());
    context.SummaryBool("linked", dialog.Linked());
}

// "Link External Data" of the Export menu, pressed instead of an export: the dialog opened over
// the preview list, set from the values in the order a user meets its controls, then OK. The
// workbook it opened is saved in place when the command ends.
CommandStatus LinkExternalData(CScheduleDialog& wizard, CommandContext& context) {
    const ControlValues& values = context.values;
    CAttPreviewPage& preview = wizard.m_previewPage;
    Refusal refusal("velmar export: ");
    if (preview.RowCount() == 0) {
        host::CurrentPrinter().Warn(
            "velmar export: nothing to link: no ticked block has a reference that passes "
            "the filter (see --preview, --tick, --attributes-only).");
        context.Summary("error", "nothing to link");
        return CommandStatus::Failed;
    }
    const CLinkExternalDataDialog::PreviewList list = preview.LinkList();
    CLinkExternalDataDialog dialog(&list, &preview.m_commentTable, wizard.m_view);
    dialog.OnInitDialog();
    const std::string drawingColumn =
        Pick(dialog.m_drawingColumns, values.Text("drawing-key-column"));
    if (drawingColumn.empty()) {
        refusal.Fail(base::Sprintf(
            "--drawing-key-column names column '%s', but the preview has columns A to %s "
            "(see --preview).",
            values.Text("drawing-key-column"), dialog.m_drawingColumns.back()));
        dialog.OnCancel();
        return CommandStatus::BadInput;
    }
    if (!dialog.Browse(values.Text("link-external"))) {
        dialog.OnCancel();
        context.Summary("error", "the workbook to link could not be opened");
        return CommandStatus::Failed;
    }
    if (values.Has("external-sheet")) {
        std::string sheet = Pick(dialog.m_worksheets, values.Text("external-sheet"));
        if (sheet.empty()) {
            std::string listed;
            for (const std::string& name : dialog.m_worksheets)
                listed += (listed.empty() ? "\"" : "\", \"") + name;
            refusal.Fail(base::Sprintf(
                "--external-sheet: %s has no sheet named \"%s\"; its sheets are %s\".",
                dialog.workbookPath, values.Text("external-sheet"), listed));
            dialog.OnCancel();
            return CommandStatus::BadInput;
        }
        dialog.m_worksheet = sheet;
    }
    dialog.m_drawingColumn = drawingColumn;
    dialog.m_externalColumn = Pick(dialog.m_externalColumns, values.Text("sheet-key-column"));
    if (auto on = values.Check("case-sensitive"))
        dialog.caseSensitive = *on ? 1 : 0;
    if (auto on = values.Check("ignore-first-row"))
        dialog.ignoreFirstRow = *on ? 1 : 0;

    const bool closed = dialog.OnOK();
    SummarizeLink(dialog, context);
    if (!closed) {
        // The dialog stayed open after its box; the command line has no more to give it.
        dialog.OnCancel();
        if (dialog.Declined())
            context.MarkCancelled();
        return CommandStatus::Failed;
    }
    return dialog.Linked() ? CommandStatus::Done : CommandStatus::Failed;
}

// "Export to AutoCAD Table" of the Export menu: the title asked on the command line, the table
// added to the current drawing (saved when the command ends) at --insertion-point.
CommandStatus ExportTable(CScheduleDialog& wizard, CommandContext& context, std::optional<cad::Point3> point) {
    CAttPreviewPage& preview = wizard.m_previewPage;
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (!current) {
        host::CurrentPrinter().Warn("velmar export: --to-table puts the table in the drawing; give it with --drawing FILE.dxf.");
        return CommandStatus::BadInput;
    }
    preview.m_tableInsertionPoint = point;
    const bool made = preview.ExportToTable();
    context.SummaryBool("exported", made);
    if (!made) {
        if (!preview.m_tableFailure.empty()) {
            host::CurrentPrinter().Warn("velmar export: no table was made: " + preview.m_tableFailure + ".");
            context.Summary("error", preview.m_tableFailure);
        } else {
            context.Summary("error", "the title was not given");
            context.MarkCancelled();
        }
        return CommandStatus::Failed;
    }
    context.Summary("table", preview.m_tableHandle);
    host::PrintfOnceSaved("\nTable %s added to %s.", preview.m_tableHandle, current->FileName());
    return CommandStatus::Done;
}

CommandStatus RunExport(CommandContext& context) {
    // The process-wide switch of the attribute page's polygon controls.
    calcOuterPolygon = CRegistry::GetInt("Velmar", "CalOuterPolygon", calcOuterPolygon);
    RegistrySettingsStore settings;
    const ControlValues& values = context.values;
    if (!CheckLinkOptions(values)) return CommandStatus::BadInput;
    const bool toTable = values.Pressed("to-table");
    std::optional<cad::Point3> insertionPoint;
    {
        Refusal pointRefusal("velmar export: ");
        if (!ReadPointOption(values, "insertion-point", insertionPoint, pointRefusal)) return CommandStatus::BadInput;
        if (insertionPoint && !toTable) {
            pointRefusal.Fail("--insertion-point places the table of --to-table; give both.");
            return CommandStatus::BadInput;
        }
    }

    // The run has opened the current document and set up the running spreadsheet's workbooks.
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    DocumentDrawingContext drawing(current ? &current->Database() : nullptr);

    // The wizard holds every row of the schedule: left to the process's end when that is next.
    auto ownWizard = base::MakeDisposable<CScheduleDialog>(settings, drawing, calcOuterPolygon != 0);
    CScheduleDialog& wizard = *ownWizard;
    wizard.OnInitDialog();
    Refusal refusal;
    if (values.Has("template")) {
        if (!wizard.LoadTemplate(values.Text("template"))) {
            context.Summary("error", "the template could not be loaded");
            return CommandStatus::Failed;
        }
        // The values given adjust the loaded state page by page, as a user would after loading.
        while (wizard.m_activePage > 0) wizard.GoBack();
    }
    if (!SetSourcePage(wizard, context, refusal)) return CommandStatus::BadInput;
    if (wizard.m_blockSourcePage.m_dataSource == 0) {
        if (!current) {
            refusal.Fail("velmar export: no drawing to read. Give the drawing with --drawing FILE.dxf, or "
                         "drawing files after the command (or --list FILE.lst) for --source drawings.");
            return CommandStatus::BadInput;
        }
        if (!wizard.m_blockSourcePage.CurrentReadStatus()) {
            host::CurrentPrinter().Warn("velmar export: " + wizard.m_blockSourcePage.CurrentReadStatus().Message());
            return CommandStatus::Failed;
        }
    }
    wizard.GoNext();
    // The blocks are read: the current drawing's memory goes back for the rest of the road
    // (rows, workbook); only the export to a table changes the drawing, so it keeps it.
    if (current && !toTable) current->Release();
    if (!SetAttributePage(wizard, values, refusal)) return CommandStatus::BadInput;
    wizard.GoNext();
    if (!SetPreviewPage(wizard, values, refusal)) return CommandStatus::BadInput;
    SetExportOptions(wizard, values);

    if (values.Has("save-template")) {
        base::Status saved = wizard.SaveTemplate(values.Text("save-template"));
        if (!saved) {
            host::CurrentPrinter().Warn("velmar export: the template was not saved: " + saved.Message());
            return CommandStatus::Failed;
        }
        host::Printf("\nTemplate saved as %s.", values.Text("save-template"));
    }
    CAttPreviewPage& preview = wizard.m_previewPage;
    context.Summary("rows", preview.RowCount());
    context.Summary("columns", preview.ColumnCount());
    if (values.Pressed("preview")) {
        PrintPreview(preview, context.reportAsJson);
        return CommandStatus::Done;
    }
    if (values.Has("link-external"))
        return LinkExternalData(wizard, context);
    if (preview.RowCount() == 0) {
        host::CurrentPrinter().Warn("velmar export: nothing to export: no ticked block has a reference "
                                    "that passes the filter (see --preview, --tick, --attributes-only).");
        context.Summary("error", "nothing to export");
        return CommandStatus::Failed;
    }
    if (toTable) return ExportTable(wizard, context, insertionPoint);
    // Only a place for a new workbook was given: this run makes one, and the stored choice of the
    // active one waits for a run that has a workbook to attach to.
    if (arxutils::excel::CurrentServer().OffersOnlyANewWorkbook() && !values.Has("workbook-mode")) {
        preview.m_workbookOptionForRun = 0;
    }
    // The rows are built: the references' memory goes back for the workbook to be built in.
    wizard.ReleaseReferences();
    preview.m_releaseRowsOnceWritten = true;
    bool exported = preview.ExportToExcel();
    context.SummaryBool("exported", exported);
    return exported ? CommandStatus::Done : CommandStatus::Failed;
}

}  // namespace

const std::vector<Control>& ExportControls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> list = CScheduleDialog::Controls();
        list.push_back({"preview", ControlKind::Button,
                        "print the preview table instead of exporting (with --json: one JSON line)"});
        list.push_back({"insertion-point", ControlKind::Text, "where the table's upper left corner goes", {},
                        "X,Y[,Z]"});
        return list;
    }();
    return controls;
}

void SetPreviewViewer(std::function<void(const CAttPreviewPage&)> viewer) { PreviewViewer() = std::move(viewer); }

void ImplementExportCommands(CAttBatApp& app) {
    app.Implement("VelmarOut", {ExportControls(), "[DRAWING.dxf ...]", RunExport,
                                /*readsDrawingOnFirstUse=*/false, /*changesViewOnly=*/false,
                                /*readsDrawingInFileOrder=*/true});
    ImplementRefreshTableCommand(app);
}

}  // namespace attbat
