#include "attbat/links/LinksCommand.h"

#include <map>

#include "attbat/links/CLinksDialog.h"
#include "attbat/links/ExcelLinkStore.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "cad/Database.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace attbat {

namespace {

void Refuse(const std::string& text) { host::CurrentPrinter().Warn("velmar links: " + text); }

// The line of the list that `wanted` names: the same path, the same path without regard to
// case, or the same file name, in that order; -1 when none does or a file name names several.
int FindLink(const std::vector<std::string>& links, const std::string& wanted) {
    for (std::size_t i = 0; i < links.size(); ++i) {
        if (links[i] == wanted) return static_cast<int>(i);
    }
    for (std::size_t i = 0; i < links.size(); ++i) {
        if (base::EqualNoCase(links[i], wanted)) return static_cast<int>(i);
    }
    int found = -1;
    for (std::size_t i = 0; i < links.size(); ++i) {
        if (!base::EqualNoCase(base::FileName(links[i]), wanted)) continue;
        if (found >= 0) return -1;
        found = static_cast<int>(i);
    }
    return found;
}

// How many references link to each workbook, by its path as written.
std::map<std::string, int> ReferenceCounts(cad::Database& db) {
    std::map<std::string, int> counts;
    std::vector<cad::Object> references;
    GetLinkedReferences(db, references);
    std::string path;
    for (const cad::Object& reference : references) {
        if (GetXDataString(reference, kWorkbookLinkApp, path)) ++counts[path];
    }
    return counts;
}

// The list as the dialog shows it after its buttons, with the references of each and whether
// the file is there; and the two options.
void Report(CommandContext& context, const CLinksDialog& dialog, cad::Database& db, const std::string& drawing) {
    std::map<std::string, int> counts = ReferenceCounts(db);
    std::string json;
    if (dialog.m_links.empty()) {
        host::Printf("\nThe references of %s are linked to no workbook.", drawing);
    } else {
        host::Printf("\nWorkbooks linked from %s:", drawing);
    }
    for (const std::string& link : dialog.m_links) {
        const bool found = base::FileExists(link);
        const int references = counts[link];
        host::Printf("\n  %s  (%d reference%s%s)", link, references, references == 1 ? "" : "s",
                     found ? "" : "; the file is missing");
        json += base::Sprintf("%s{\"workbook\": %s, \"references\": %d, \"exists\": %s}", json.empty() ? "" : ", ",
                              JsonQuote(link), references, found ? "true" : "false");
    }
    host::Printf("\nUpdate the linked attribute values automatically when opening the drawing: %s",
                 dialog.m_autoUpdate ? "on" : "off");
    host::Printf("\nIgnore the properties when updating the linked attribute values automatically: %s",
                 dialog.m_ignoreProperties ? "on" : "off");
    context.SummaryJson("links", "[" + json + "]");
    context.SummaryBool("autoUpdate", dialog.m_autoUpdate);
    context.SummaryBool("ignoreProperties", dialog.m_ignoreProperties);
}

// Presses a button and tells what it did; false when it was stopped.
bool Press(CommandContext& context, CLinksDialog& dialog, bool update) {
    const std::string picked = dialog.m_links[static_cast<std::size_t>(dialog.m_selected)];
    const CLinksDialog::Result result = update ? dialog.OnUpdateLink() : dialog.OnBreakLink();
    if (result.declined) context.MarkCancelled();
    if (!result.done) {
        context.Summary("error", result.declined ? "cancelled" : "the link was not changed");
        return false;
    }
    if (update) {
        host::PrintfOnceSaved("\nThe link of %d reference(s) changed from %s to %s.", result.references, picked,
                              dialog.m_workbook);
    } else {
        host::PrintfOnceSaved("\nThe link of %d reference(s) to %s was broken.", result.references, picked);
    }
    context.Summary(update ? "updated" : "broken", static_cast<long long>(result.references));
    return true;
}

}  // namespace

const std::vector<Control>& LinksControls() { return CLinksDialog::Controls(); }

CommandStatus LinksCommand(CommandContext& context) {
    if (!context.arguments.empty()) {
        Refuse("the command takes no words; see 'velmar links --help'.");
        return CommandStatus::BadInput;
    }
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (!current) {
        Refuse("give the drawing whose links to manage, with --drawing FILE.");
        return CommandStatus::BadInput;
    }
    const ControlValues& values = context.values;
    const bool update = values.Pressed("update-link"), breakLink = values.Pressed("break-link");
    if (update && breakLink) {
        Refuse("--update-link and --break-link are two buttons; press one at a time.");
        return CommandStatus::BadInput;
    }
    if ((update || breakLink) && !values.Has("link")) {
        Refuse(base::Sprintf("--%s changes the link picked in the list; give it with --link WORKBOOK.",
                             update ? "update-link" : "break-link"));
        return CommandStatus::BadInput;
    }
    if (update && !values.Has("excel-workbook")) {
        Refuse("--update-link needs the new workbook, given with --excel-workbook FILE.");
        return CommandStatus::BadInput;
    }
    cad::Database& db = current->Database();
    CLinksDialog dialog(&db);
    dialog.OnInitDialog();
    if (values.Has("link")) {
        const std::string wanted = values.Text("link");
        const int index = FindLink(dialog.m_links, wanted);
        if (index < 0) {
            Refuse(base::Sprintf("the references of %s are not linked to '%s'%s.", current->FileName(), wanted,
                                 dialog.m_links.empty() ? "" : " (see 'velmar links' for the list)"));
            return CommandStatus::BadInput;
        }
        dialog.OnSelectLink(index);
    }
    if (values.Has("excel-workbook")) dialog.OnBrowse(values.Text("excel-workbook"));
    bool pressed = true;
    if (update || breakLink) pressed = Press(context, dialog, update);
    if (auto on = values.Check("auto-update")) dialog.m_autoUpdate = *on;
    if (auto on = values.Check("ignore-properties")) dialog.m_ignoreProperties = *on;
    dialog.OnOK();
    Report(context, dialog, db, current->FileName());
    return pressed ? CommandStatus::Done : CommandStatus::Failed;
}

}  // namespace attbat
