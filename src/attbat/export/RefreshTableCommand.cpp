#include "attbat/export/RefreshTableCommand.h"

#include "attbat/export/CScheduleDialog.h"
#include "attbat/export/DocumentDrawingContext.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/frame/RegistrySettingsStore.h"
#include "attbat/model/OuterPolygon.h"
#include "base/Format.h"
#include "cad/Database.h"
#include "cad/Dictionary.h"
#include "cad/geometry/Table.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace attbat {

namespace {

// True for a table that holds the wizard's template.
bool MadeByTheWizard(const cad::Table& table) {
    cad::Dictionary dictionary = table.ExtensionDictionary();
    return dictionary && dictionary.Has(CScheduleDialog::templateSignature);
}

CommandStatus RefreshTables(CommandContext& context) {
    const ControlValues& values = context.values;
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (!current) {
        host::CurrentPrinter().Warn("velmar refresh-table: no drawing to refresh. Give it with --drawing FILE.dxf.");
        return CommandStatus::BadInput;
    }
    cad::Database& db = current->Database();
    if (!current->LoadStatus()) {
        host::CurrentPrinter().Warn("velmar refresh-table: " + current->LoadStatus().Message());
        return CommandStatus::Failed;
    }
    std::vector<cad::Table> tables;
    if (values.Has("table")) {
        const std::string handle = values.Text("table");
        cad::Object object = db.ObjectByHandle(cad::ParseHandle(handle));
        if (!object || object.Type() != "ACAD_TABLE") {
            host::CurrentPrinter().Warn(base::Sprintf(
                "velmar refresh-table: --table %s: %s holds %s, not a table.", handle, current->FileName(),
                object ? "a " + object.Type() : std::string("no object of that handle")));
            return CommandStatus::BadInput;
        }
        tables.emplace_back(object.GetDatabase(), object.Index());
    } else {
        for (const cad::Entity& entity : db.Select({{0, "ACAD_TABLE"}})) {
            cad::Table table(entity.GetDatabase(), entity.Index());
            if (MadeByTheWizard(table)) tables.push_back(table);
        }
        if (tables.empty()) {
            host::CurrentPrinter().Warn(base::Sprintf(
                "velmar refresh-table: %s holds no table made by the export (velmar export --to-table).",
                current->FileName()));
            context.Summary("refreshed", 0);
            return CommandStatus::Failed;
        }
    }

    calcOuterPolygon = CRegistry::GetInt("Velmar", "CalOuterPolygon", calcOuterPolygon);
    int refreshed = 0;
    std::string handles;
    for (cad::Table& table : tables) {
        // Each table replays its own wizard, over the drawing as it is now.
        RegistrySettingsStore settings;
        DocumentDrawingContext drawing(&db);
        CScheduleDialog wizard(settings, drawing, calcOuterPolygon != 0);
        wizard.OnInitDialog();
        if (!wizard.UpdateTable(table)) continue;
        ++refreshed;
        handles += (handles.empty() ? "" : ", ") + JsonQuote(table.HandleString());
    }
    context.Summary("refreshed", refreshed);
    context.SummaryJson("tables", "[" + handles + "]");
    return refreshed == static_cast<int>(tables.size()) ? CommandStatus::Done : CommandStatus::Failed;
}

}  // namespace

const std::vector<Control>& RefreshTableControls() {
    static const std::vector<Control> controls = {
        {"table", ControlKind::Text, "the table to refresh; without it, every table the export made", {}, "HANDLE"},
    };
    return controls;
}

void ImplementRefreshTableCommand(CAttBatApp& app) {
    app.Implement("UpdateTable", {RefreshTableControls(), "", RefreshTables});
}

}  // namespace attbat
