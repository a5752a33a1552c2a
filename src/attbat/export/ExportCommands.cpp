// `velmar export`: builds the wizard, sets its controls from the options in the order a user
// meets them (data source, attribute page, preview page, export options), then previews or
// exports. Options given are stored where the dialogs' own buttons store them.

#include "attbat/export/ExportCommands.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>

#include "arxutils/ArxUtils.h"
#include "attbat/export/CExportOptionsDialog.h"
#include "attbat/export/CScheduleDialog.h"
#include "attbat/export/CSelectAttributeDialog.h"
#include "attbat/export/DocumentDrawingContext.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/frame/CommandLine.h"
#include "attbat/frame/RegistrySettingsStore.h"
#include "attbat/model/OuterPolygon.h"
#include "tables/CellAddress.h"
#include "base/Format.h"
#include "base/Text.h"
#include "base/Wildcard.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace attbat {

namespace {

using Switch = int AcadBlockView::*;

// The view's check boxes: the Attribute page's categories and the Preview page's boxes.
struct ViewBox {
    const char* option;
    const char* label;
    Switch member;
};

constexpr ViewBox viewBoxes[] = {
    {"position-x", "Position X", &AcadBlockView::showPosX},
    {"position-y", "Position Y", &AcadBlockView::showPosY},
    {"position-z", "Position Z", &AcadBlockView::showPosZ},
    {"scale-x", "Scale X", &AcadBlockView::showScaleX},
    {"scale-y", "Scale Y", &AcadBlockView::showScaleY},
    {"scale-z", "Scale Z", &AcadBlockView::showScaleZ},
    {"rotation", "Rotation", &AcadBlockView::showRotation},
    {"layer", "Layer", &AcadBlockView::showLayer},
    {"attribute", "Attribute", &AcadBlockView::showAtts},
    {"count-column", "Count column", &AcadBlockView::showCount},
    {"drawing-column", "the drawing column first (\"DWG File\", or \"Handle\")", &AcadBlockView::showName},
    {"prompt-as-header", "Show prompt as header", &AcadBlockView::promptAsHeader},
    {"combine", "Combine identical items", &AcadBlockView::combineItems},
    {"show-header", "Show header", &AcadBlockView::includeHeader},
};

struct FilterBox {
    const char* option;
    const char* label;
    int AcadBlockFilter::*member;
};

constexpr FilterBox filterBoxes[] = {
    {"include-xrefs", "Include Xrefs", &AcadBlockFilter::incXref},
    {"include-nested", "Include nested blocks", &AcadBlockFilter::incNested},
    {"current-space-only", "Current space only", &AcadBlockFilter::currentSpaceOnly},
};

std::vector<CommandOption> ExportOptionsList() {
    std::vector<CommandOption> options = {
        {"source", "current|objects|drawings", "Current Drawing / Select Objects / Select Drawings"},
        {"objects", "HANDLES", "Select Objects: the picked block references and multileaders, by handle"},
        {"list", "FILE.lst", "Load List: the drawing list to read (with --source drawings)"},
        {"save-list", "FILE.lst", "Save List: writes the drawing list"},
        {"add-folder", "FOLDER", "Add Folder: every .dxf drawing of the folder"},
        {"search-subfolder", "on|off", "Search subfolder"},
        {"block-wildcard", "PATTERN", "Block Wildcard Match:"},
    };
    for (const FilterBox& box : filterBoxes) options.push_back({box.option, "on|off", box.label});
    options.insert(options.end(), {
        {"attributes-only", "on|off", "Display blocks with attributes only"},
        {"in-use-only", "on|off", "Display blocks currently in-use only"},
        {"tick", "NAMES", "blocks to tick: names or wildcards, comma separated (\"*\": Select All)", true},
        {"untick", "NAMES", "blocks to untick (\"*\": Clear All)", true},
    });
    for (const ViewBox& box : viewBoxes) options.push_back({box.option, "on|off", box.label});
    options.insert(options.end(), {
        {"outer-polygon-area", "on|off", "Outer Polygon Area"},
        {"area-unit", "unitless|sq.in.|sq.ft.|sq.m", "the unit of the area"},
        {"remove-attributes-with-no-value", "on|off",
         "\"Attributes\" dialog (the \"...\" button): Remove attributes with no value."},
        {"dynamic-properties", "on|off", "\"Attributes\" dialog: Dynamic Properties"},
        {"clear-all-tags", "", "\"Attributes\" dialog: Clear All (unticks every tag)"},
        {"tick-tag", "TAGS", "\"Attributes\" dialog: tags to tick, as listed (MARK, MARK_Dup(1)) or wildcards, comma separated", true},
        {"untick-tag", "TAGS", "\"Attributes\" dialog: tags to untick, the same way; the schedule leaves them out", true},
        {"leave-out-tags", "TAGS", "\"Attributes\" dialog: unticks these tags and ticks every other one", true},
        {"remove-no-value", "on|off", "the same as --remove-attributes-with-no-value"},
        {"drawing-column-kind", "path|layout|handle", "Drawing Path / Drawing With Layout / Block Ref Handle"},
        {"header-style", "all|per-block", "Header for all blocks / Header per block"},
        {"column-sort", "a-z|z-a|none", "Column sort:"},
        {"column-order", "LETTERS", "columns in the order to show, by letters (\"A,C,B\")"},
        {"row-sort", "LETTER[:desc]", "sort the rows by the column under that letter"},
        {"workbook-mode", "new|active", "Create new workbook / Use active workbook"},
        {"sheets", "each|one", "One sheet for each block / One sheet for all blocks"},
        {"start-column", "LETTERS", "Start column:"},
        {"start-row", "N|last", "Start row: (\"last\": Last Filled Row)"},
        {"border", "on|off", "Apply border"},
        {"merge", "on|off", "Merge block name cell"},
        {"hyperlink", "on|off", "Add Hyperlink to drawing name"},
        {"template", "FILE.vlt", "Load Template: the wizard state to start from"},
        {"save-template", "FILE.vlt", "Save Template: the wizard state as set by the options"},
        {"preview", "", "print the preview table instead of exporting (with --json: one JSON line)"},
    });
    return options;
}

// Comma separated words, trimmed, empty ones dropped.
std::vector<std::string> SplitList(std::string_view text) {
    std::vector<std::string> words;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = text.find(',', start);
        if (end == std::string_view::npos) end = text.size();
        std::string word = base::Trim(text.substr(start, end - start));
        if (!word.empty()) words.push_back(std::move(word));
        start = end + 1;
    }
    return words;
}

// Reads an option's choice among `words`; -1 with a usage message when it is none of them.
class OptionReader {
public:
    explicit OptionReader(const CommandContext& context) : context_(context) {}
    bool ok = true;

    std::optional<bool> Switch(const char* name) {
        if (!context_.Has(name)) return std::nullopt;
        std::optional<bool> value = ParseSwitch(context_.Get(name));
        if (!value) Fail(base::Sprintf("velmar export: --%s takes on or off, not '%s'.", name, context_.Get(name)));
        return value;
    }
    std::optional<int> Choice(const char* name, std::initializer_list<const char*> words) {
        if (!context_.Has(name)) return std::nullopt;
        std::string given = context_.Get(name);
        int index = 0;
        std::string list;
        for (const char* word : words) {
            if (base::EqualNoCase(given, word)) return index;
            list += (index++ ? ", " : "") + std::string(word);
        }
        Fail(base::Sprintf("velmar export: --%s takes one of %s, not '%s'.", name, list, given));
        return std::nullopt;
    }
    void Fail(const std::string& message) {
        if (ok) host::CurrentPrinter().Warn(message);
        ok = false;
    }

private:
    const CommandContext& context_;
};

// Display width in code points, for aligning the preview on a terminal.
std::string Pad(const std::string& text, std::size_t width) {
    std::size_t length = base::Length(text);
    return text + std::string(width > length ? width - length : 0, ' ');
}

void PrintPreview(const CAttPreviewPage& page, bool json) {
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
bool PickObjects(CBlockSourcePage& page, CommandContext& context, OptionReader& read) {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    std::vector<std::string> handles = SplitList(context.Get("objects"));
    if (!current || handles.empty()) {
        read.Fail("velmar export: --source objects needs the drawing (--drawing FILE.dxf) and the "
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
            read.Fail(base::Sprintf("velmar export: %s in %s is %s, not a block reference or multileader.",
                                    handle, current->FileName(),
                                    type.empty() ? std::string("no object") : "a " + type));
            return false;
        }
    }
    page.SelectObjects(references, leaders, static_cast<long>(handles.size()));
    return true;
}

// The data source page: source, drawing list and filter, as the user sets them before "Next".
bool SetSourcePage(CScheduleDialog& wizard, CommandContext& context, OptionReader& read) {
    CBlockSourcePage& page = wizard.m_blockSourcePage;
    if (auto source = read.Choice("source", {"current", "objects", "drawings"})) page.m_dataSource = *source;
    if (!context.arguments.empty() && !context.Has("source")) page.m_dataSource = 2;
    if (context.Has("list") && !context.Has("source")) page.m_dataSource = 2;
    if (context.Has("objects") && !context.Has("source")) page.m_dataSource = 1;
    page.OnSourceChanged();
    if (page.m_dataSource == 1 && !PickObjects(page, context, read)) return false;
    if (auto sub = read.Switch("search-subfolder")) page.SetSearchSubfolder(*sub);
    if (context.Has("list")) {
        base::Status loaded = page.LoadList(context.Get("list"));
        if (!loaded) {
            read.Fail(loaded.Message());
            return false;
        }
    }
    for (const std::string& path : context.arguments) page.AddDrawing(path);
    if (context.Has("add-folder")) page.AddFolder(context.Get("add-folder"));
    if (context.Has("save-list")) {
        base::Status saved = page.SaveList(context.Get("save-list"));
        if (!saved) {
            read.Fail(saved.Message());
            return false;
        }
    }
    for (const FilterBox& box : filterBoxes) {
        if (auto on = read.Switch(box.option)) wizard.m_filter.*box.member = *on ? 1 : 0;
    }
    if (context.Has("block-wildcard")) wizard.m_filter.blockPattern = context.Get("block-wildcard");
    if (page.m_dataSource == 2) wizard.m_filter.currentSpaceOnly = 0;
    return read.ok;
}

void TickByPattern(CAttributePage& page, std::string_view patterns, bool checked) {
    for (const std::string& pattern : SplitList(patterns)) {
        for (auto& row : page.m_blockList) {
            if (base::WcMatch(row.name, pattern, true)) row.checked = checked;
        }
    }
}

// Ticks or unticks the "Attributes" rows of each word. A word that names no tag of the ticked
// blocks is a usage error; one whose tag the boxes keep off the list only gets a note, since
// what the user asked for (a column shown or not) holds either way.
void TickTags(CSelectAttributeDialog& dialog, const char* option, const std::string& words, bool checked,
              OptionReader& read) {
    for (const std::string& word : SplitList(words)) {
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
                option, word, CSelectAttributeDialog::removeNoValueLabel));
        } else if (named(dialog.AllTags())) {
            host::CurrentPrinter().Warn(base::Sprintf(
                "velmar export: --%s %s: a dynamic property, listed only with \"%s\" on (--dynamic-properties on).",
                option, word, CSelectAttributeDialog::dynamicPropertiesLabel));
        } else {
            std::string listed;
            for (const auto& row : dialog.m_tagList) listed += (listed.empty() ? "" : ", ") + row.text;
            read.Fail(base::Sprintf("velmar export: --%s: no tag of the ticked blocks is '%s'. The \"%s\" "
                                    "dialog lists %s.",
                                    option, word, CSelectAttributeDialog::title,
                                    listed.empty() ? std::string("no tag (tick blocks with attributes: --tick)")
                                                   : listed));
        }
    }
}

// The "Attributes" dialog, opened by the "..." button only when one of its options is given, and
// closed with OK, which stores its boxes and replaces the view's unticked tags.
bool SetAttributesDialog(CScheduleDialog& wizard, CommandContext& context, OptionReader& read) {
    const char* options[] = {"remove-attributes-with-no-value", "remove-no-value", "dynamic-properties",
                             "clear-all-tags", "tick-tag", "untick-tag", "leave-out-tags"};
    if (std::none_of(std::begin(options), std::end(options), [&](const char* name) { return context.Has(name); })) {
        return read.ok;
    }
    CSelectAttributeDialog dialog(wizard);
    dialog.OnInitDialog();
    std::optional<bool> removeNoValue = read.Switch("remove-attributes-with-no-value");
    if (!removeNoValue) removeNoValue = read.Switch("remove-no-value");
    if (removeNoValue) dialog.SetRemoveNoValue(*removeNoValue);
    if (auto on = read.Switch("dynamic-properties")) dialog.SetDynamicProperties(*on);
    if (context.Has("leave-out-tags")) {
        dialog.Tick("*", true);
        TickTags(dialog, "leave-out-tags", context.Get("leave-out-tags"), false, read);
    }
    if (context.Has("clear-all-tags")) dialog.ClearAll();
    if (context.Has("tick-tag")) TickTags(dialog, "tick-tag", context.Get("tick-tag"), true, read);
    if (context.Has("untick-tag")) TickTags(dialog, "untick-tag", context.Get("untick-tag"), false, read);
    if (!read.ok) return false;
    dialog.OnOK();
    return true;
}

bool SetAttributePage(CScheduleDialog& wizard, CommandContext& context, OptionReader& read) {
    CAttributePage& page = wizard.m_attributePage;
    if (auto on = read.Switch("attributes-only")) page.SetWithAttributesOnly(*on);
    if (auto on = read.Switch("in-use-only")) page.SetInUseOnly(*on);
    if (context.Has("tick")) TickByPattern(page, context.Get("tick"), true);
    if (context.Has("untick")) TickByPattern(page, context.Get("untick"), false);
    for (const ViewBox& box : viewBoxes) {
        if (auto on = read.Switch(box.option)) wizard.m_view.*box.member = *on ? 1 : 0;
    }
    if (auto on = read.Switch("outer-polygon-area")) page.SetOuterPolygonArea(*on);
    if (auto unit = read.Choice("area-unit", {"unitless", "sq.in.", "sq.ft.", "sq.m"})) page.m_areaUnit = *unit;
    return SetAttributesDialog(wizard, context, read);
}

bool SetPreviewPage(CScheduleDialog& wizard, CommandContext& context, OptionReader& read) {
    CAttPreviewPage& page = wizard.m_previewPage;
    bool changed = false;
    if (auto kind = read.Choice("drawing-column-kind", {"path", "layout", "handle"})) page.m_drawingColumnKind = *kind, changed = true;
    if (auto style = read.Choice("header-style", {"all", "per-block"})) page.m_headerStyle = *style, changed = true;
    if (auto sort = read.Choice("column-sort", {"a-z", "z-a", "none"})) page.m_columnSort = *sort, changed = true;
    if (!read.ok) return false;
    // Entering the page built the rows; a changed control builds them again, as it would on screen.
    if (changed) page.RefreshPage();
    if (context.Has("column-order")) {
        std::vector<int> order;
        for (const std::string& letters : SplitList(context.Get("column-order"))) {
            order.push_back(tables::ColumnNumber(letters) - 1);
        }
        if (!page.SetColumnOrder(order)) {
            read.Fail(base::Sprintf("velmar export: --column-order must name each of the %d columns "
                                    "once, starting with A (see --preview); got '%s'.",
                                    page.ColumnCount(), context.Get("column-order")));
            return false;
        }
    }
    if (context.Has("row-sort")) {
        std::string text = context.Get("row-sort");
        bool descending = false;
        if (std::size_t colon = text.find(':'); colon != std::string::npos) {
            descending = base::EqualNoCase(base::Trim(text.substr(colon + 1)), "desc");
            text = text.substr(0, colon);
        }
        int position = tables::ColumnNumber(base::Trim(text)) - 1;
        if (position < 0 || position >= page.ColumnCount()) {
            read.Fail(base::Sprintf("velmar export: --row-sort names column '%s', but the preview has "
                                    "columns A to %s.", text, page.HeaderAt(std::max(0, page.ColumnCount() - 1))));
            return false;
        }
        int column = page.ColumnOrder()[position];
        page.OnHeaderClick(column);
        if (descending) page.OnHeaderClick(column);
    }
    return true;
}

// The "Export Options" dialog, pressed OK only when an option of it was given.
bool SetExportOptions(CScheduleDialog& wizard, CommandContext& context, OptionReader& read) {
    CExportOptionsDialog dialog(wizard.Settings());
    dialog.OnInitDialog();
    bool given = false;
    if (auto mode = read.Choice("workbook-mode", {"new", "active"})) dialog.m_options.workbookOption = *mode, given = true;
    if (auto sheets = read.Choice("sheets", {"each", "one"})) dialog.m_options.worksheetOption = *sheets, given = true;
    if (context.Has("start-column")) dialog.m_startColumn = context.Get("start-column"), given = true;
    if (context.Has("start-row")) {
        std::string row = context.Get("start-row");
        dialog.m_startRowText = base::EqualNoCase(row, "last") ? std::string(CExportOptionsDialog::lastFilledRow) : row;
        given = true;
    }
    if (auto on = read.Switch("border")) dialog.m_options.applyBorder = *on, given = true;
    if (auto on = read.Switch("merge")) dialog.m_options.mergeBlockName = *on, given = true;
    if (auto on = read.Switch("hyperlink")) dialog.m_options.addHyperlink = *on, given = true;
    if (!read.ok) return false;
    if (given) dialog.OnOK();
    return true;
}

int RunExport(CommandContext& context) {
    // The process-wide switch of the attribute page's polygon controls.
    calcOuterPolygon = CRegistry::GetInt("Velmar", "CalOuterPolygon", calcOuterPolygon);
    RegistrySettingsStore settings;

    // The run has opened --drawing as the current document and set up the workbooks (the
    // --workbook file as the running instance, new ones saved to --output when the command
    // succeeds).
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    DocumentDrawingContext drawing(current ? &current->Database() : nullptr);

    CScheduleDialog wizard(settings, drawing, calcOuterPolygon != 0);
    wizard.OnInitDialog();
    OptionReader read(context);
    if (context.Has("template")) {
        if (!wizard.LoadTemplate(context.Get("template"))) {
            context.Summary("error", "the template could not be loaded");
            return exitFailed;
        }
        // The options given adjust the loaded state page by page, as a user would after loading.
        while (wizard.m_activePage > 0) wizard.GoBack();
    }
    if (!SetSourcePage(wizard, context, read)) return exitUsage;
    if (wizard.m_blockSourcePage.m_dataSource == 0) {
        if (!current) {
            read.Fail("velmar export: no drawing to read. Give the drawing with --drawing FILE.dxf, or "
                      "drawing files after the command (or --list FILE.lst) for --source drawings.");
            return exitUsage;
        }
        if (!wizard.m_blockSourcePage.CurrentReadStatus()) {
            host::CurrentPrinter().Warn("velmar export: " + wizard.m_blockSourcePage.CurrentReadStatus().Message());
            return exitFailed;
        }
    }
    wizard.GoNext();
    // The blocks are read: the current drawing's memory goes back for the rest of the road
    // (rows, workbook); the export never changes the drawing.
    if (current) current->Release();
    if (!SetAttributePage(wizard, context, read)) return exitUsage;
    wizard.GoNext();
    if (!SetPreviewPage(wizard, context, read)) return exitUsage;
    if (!SetExportOptions(wizard, context, read)) return exitUsage;

    if (context.Has("save-template")) {
        base::Status saved = wizard.SaveTemplate(context.Get("save-template"));
        if (!saved) {
            host::CurrentPrinter().Warn("velmar export: the template was not saved: " + saved.Message());
            return exitFailed;
        }
        host::Printf("\nTemplate saved as %s.", context.Get("save-template"));
    }
    CAttPreviewPage& preview = wizard.m_previewPage;
    context.Summary("rows", preview.RowCount());
    context.Summary("columns", preview.ColumnCount());
    if (context.Has("preview")) {
        PrintPreview(preview, context.global.json);
        return exitOk;
    }
    if (preview.RowCount() == 0) {
        host::CurrentPrinter().Warn("velmar export: nothing to export: no ticked block has a reference "
                                    "that passes the filter (see --preview, --tick, --attributes-only).");
        context.Summary("error", "nothing to export");
        return exitFailed;
    }
    // --output alone names a new workbook; the stored choice of the active one waits for a run
    // that gives --workbook.
    if (!context.global.output.empty() && context.global.workbook.empty() && !context.Has("workbook-mode")) {
        preview.m_workbookOptionForRun = 0;
    }
    bool exported = preview.ExportToExcel();
    context.SummaryBool("exported", exported);
    return exported ? exitOk : exitFailed;
}

}  // namespace

void ImplementExportCommands(CAttBatApp& app) {
    app.Implement("VelmarOut", {ExportOptionsList(), "[DRAWING.dxf ...]", RunExport});
}

}  // namespace attbat
