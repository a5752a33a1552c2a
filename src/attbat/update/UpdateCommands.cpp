#include "attbat/update/UpdateCommands.h"

#include <charconv>

#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/Refusal.h"
#include "attbat/update/CLiveUpdateDlg.h"
#include "attbat/update/UpdateList.h"
#include "host/Printer.h"

namespace attbat {

namespace {

std::vector<Control> LiveUpdateControls() {
    return {
        {"check-up", ControlKind::Button, "Check up: ask the update server for the newest version"},
        {"open-download-page", ControlKind::Button,
         "the download page link: open it when a newer version is available"},
        {"server", ControlKind::Text, "the update server, such as www.orvane.com or http://host:port (kept)", {}, "HOST"},
        {"download-page", ControlKind::Text, "the address of the download page (kept)", {}, "ADDRESS"},
        {"connect-timeout", ControlKind::Text, "seconds to wait for the server to take the connection (kept)", {}, "SECONDS"},
        {"timeout", ControlKind::Text, "seconds the whole check may take (kept)", {}, "SECONDS"},
    };
}

// A time-out of whole seconds from 1 on; false (and said) otherwise.
bool TakeSeconds(const ControlValues& values, std::string_view key, long& milliseconds, Refusal& refusal) {
    if (!values.Has(key)) return true;
    std::string text = values.Text(key);
    int seconds = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || seconds < 1 || seconds > 3600) {
        refusal.Fail("--" + std::string(key) + " takes whole seconds from 1 to 3600, not '" + text + "'.");
        return false;
    }
    milliseconds = seconds * 1000L;
    return true;
}

CommandStatus LiveUpdate(CommandContext& context) {
    const ControlValues& values = context.values;
    Refusal refusal("velmar live-update: ");
    if (!context.arguments.empty()) {
        refusal.Fail("takes no words; see 'velmar live-update --help'.");
        return CommandStatus::BadInput;
    }
    CLiveUpdateDlg dialog;
    dialog.OnInitDialog();
    dialog.server = values.Text("server", dialog.server);
    dialog.downloadPage = values.Text("download-page", dialog.downloadPage);
    if (dialog.server.empty()) refusal.Fail("--server needs a host name.");
    if (dialog.downloadPage.empty()) refusal.Fail("--download-page needs an address.");
    TakeSeconds(values, "connect-timeout", dialog.timeouts.connectMilliseconds, refusal);
    TakeSeconds(values, "timeout", dialog.timeouts.totalMilliseconds, refusal);
    if (!refusal.ok) return CommandStatus::BadInput;
    if (values.Has("server") || values.Has("download-page") || values.Has("connect-timeout") || values.Has("timeout"))
        dialog.StoreSettings();

    context.Summary("localVersion", localVersion);
    context.Summary("server", dialog.server);
    host::Printf("\n%s", CLiveUpdateDlg::title);
    if (!values.Pressed("check-up")) {
        host::Printf("\n%s", dialog.m_message);
        host::Printf("\nUpdate server: %s (--check-up asks it)", dialog.server);
        return CommandStatus::Done;
    }
    dialog.onShow = [](std::string_view text) { host::Printf("\n%s", text); };
    dialog.OnCheckUp();
    if (!dialog.failure.empty()) {
        host::CurrentPrinter().Warn("velmar live-update: no answer from " + dialog.ListAddress() + ": " +
                                    dialog.failure);
        context.Summary("error", dialog.failure);
        return CommandStatus::Failed;
    }
    if (dialog.listedVersion.empty()) {
        context.Summary("error", dialog.m_message);
        return CommandStatus::Failed;
    }
    context.Summary("listedVersion", dialog.listedVersion);
    context.SummaryBool("newer", dialog.newer);
    if (dialog.m_linkVisible) {
        host::Printf("\n%s %s", dialog.downloadPage, CLiveUpdateDlg::linkStaticText);
        context.Summary("downloadPage", dialog.downloadPage);
        if (values.Pressed("open-download-page")) dialog.OnClickLink();
    }
    return CommandStatus::Done;
}

}  // namespace

void ImplementUpdateCommands(CAttBatApp& app) {
    app.Implement("Velmar_Live_Update", {LiveUpdateControls(), "", LiveUpdate});
}

}  // namespace attbat
