#include "attbat/numbering/AutoNumberCommand.h"

#include <memory>
#include <optional>

#include "attbat/frame/CAttBatApp.h"
#include "attbat/numbering/AutoNumberRun.h"
#include "attbat/numbering/NumberingState.h"
#include "cad/Database.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace attbat {

namespace {

void Report(CommandContext& context, const AutoNumberRun& run, const NumberingState& state) {
    std::string json;
    for (const AutoNumberRun::Written& written : run.WrittenTexts()) {
        json += (json.empty() ? "[" : ", ") + std::string("{\"handle\": ") + JsonQuote(written.handle) +
                ", \"text\": " + JsonQuote(written.text) + "}";
    }
    context.Summary("numbered", static_cast<long long>(run.WrittenTexts().size()));
    context.SummaryJson("values", json.empty() ? "[]" : json + "]");
    context.Summary("number", state.Current());
    context.Summary("increment", static_cast<long long>(state.numberIncrement));
    context.Summary("block", state.lastBlockName);
}

}  // namespace

const std::vector<Control>& AutoNumberControls() {
    static const std::vector<Control> controls = {
        {"selection", ControlKind::Text,
         "the first \"Select text or block references:\": handles in the order to number (\"1F0,2A4\"), or a "
         "filter (\"block=NAME layer=NAME type=INSERT|TEXT\", \"all\"); later ones are asked",
         {}, "HANDLES|FILTER"},
        {"dry-run", ControlKind::Button, "number as asked and show it, without changing the drawing"},
    };
    return controls;
}

CommandStatus AutoNumberCommand(CommandContext& context) {
    if (!context.arguments.empty()) {
        host::CurrentPrinter().Warn("velmar: auto-number takes no words; see 'velmar auto-number --help'.");
        return CommandStatus::BadInput;
    }
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (!current) {
        host::CurrentPrinter().Warn("velmar auto-number: give the drawing to number in with --drawing FILE.dxf.");
        return CommandStatus::BadInput;
    }
    if (!current->Load()) {
        host::CurrentPrinter().Warn(current->LoadStatus().Message());
        return CommandStatus::Failed;
    }
    NumberingState& state = TheNumberingState();
    state.StartDrawing(current->FileName());
    const bool dryRun = context.values.Pressed("dry-run");
    const NumberingState before = state;
    // A dry run numbers a copy, so the open drawing stays as it is, changes of earlier commands
    // included.
    std::unique_ptr<cad::Database> copy;
    if (dryRun) {
        auto read = cad::Database::FromBytes(current->Database().Write(), current->FileName());
        if (!read) {
            host::CurrentPrinter().Warn(read.GetStatus().Message());
            return CommandStatus::Failed;
        }
        copy = std::move(*read);
    }
    AutoNumberRun run(copy ? *copy : current->Database(), state);
    std::optional<std::string> selection;
    if (context.values.Has("selection")) selection = context.values.Text("selection");
    run.Run(selection);
    Report(context, run, state);
    context.SummaryBool("written", !dryRun && !run.WrittenTexts().empty());
    if (dryRun) {
        state = before;
        host::Printf("\nNothing was written (dry run).");
    }
    return CommandStatus::Done;
}

void ImplementNumberingCommands(CAttBatApp& app) {
    app.Implement("Velmar_AutoNumber", {AutoNumberControls(), "", AutoNumberCommand});
}

}  // namespace attbat
