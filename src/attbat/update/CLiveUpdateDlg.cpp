#include "attbat/update/CLiveUpdateDlg.h"

#include "attbat/frame/CAttBatApp.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/update/UpdateList.h"
#include "base/Format.h"
#include "host/AddressOpener.h"

namespace attbat {

namespace {

constexpr std::string_view section = "Velmar";
// The host's major version: every supported host year is release 25.
constexpr int hostMajorVersion = 25;

long Milliseconds(std::string_view name, int defaultSeconds) {
    int seconds = CRegistry::GetInt(section, name, defaultSeconds);
    return (seconds > 0 ? seconds : defaultSeconds) * 1000L;
}

}  // namespace

void CLiveUpdateDlg::OnInitDialog() {
    server = CRegistry::GetString(section, serverName, defaultServer);
    downloadPage = CRegistry::GetString(section, downloadPageName, defaultDownloadPage);
    timeouts.connectMilliseconds = Milliseconds(connectTimeoutName, 10);
    timeouts.totalMilliseconds = Milliseconds(timeoutName, 30);
}

std::string CLiveUpdateDlg::ListAddress() const {
    std::string address = server.find("://") == std::string::npos ? "http://" + server : server;
    if (address.empty() || address.back() != '/') address += '/';
    return address + std::string(updateListPath);
}

void CLiveUpdateDlg::Show(std::string text) {
    m_message = std::move(text);
    if (onShow) onShow(m_message);
}

void CLiveUpdateDlg::OnCheckUp() {
    m_checkEnabled = m_closeEnabled = false;
    m_linkVisible = m_staticVisible = false;
    newer = false;
    listedVersion.clear();
    failure.clear();
    Show("Connecting...");
    // A plain GET: the empty header line added "only if new" adds nothing a server sees.
    HttpAnswer answer = fetch_(ListAddress(), timeouts);
    if (!answer.answered) {
        failure = answer.error;
        Show("Network connection failed.");
    } else if (answer.status != 200) {
        Show(base::Sprintf("Network connection failed: %ld.", answer.status));
    } else {
        listedVersion = FindListedVersion(answer.body, UpdateKey(hostProduct, hostMajorVersion));
        newer = IsNewerVersion(localVersion, listedVersion);
        if (newer) {
            m_linkVisible = m_staticVisible = true;
            Show(base::Sprintf("The new version %s is available.\nPlease download the new version by visiting",
                               listedVersion));
        } else {
            Show(base::Sprintf("%s version is current and up-to-date.", localVersion));
        }
    }
    m_checkEnabled = m_closeEnabled = true;
}

bool CLiveUpdateDlg::OnClickLink() const { return host::OpenAddress(downloadPage); }

void CLiveUpdateDlg::StoreSettings() const {
    CRegistry::SetString(section, serverName, server);
    CRegistry::SetString(section, downloadPageName, downloadPage);
    CRegistry::SetInt(section, connectTimeoutName, static_cast<int>(timeouts.connectMilliseconds / 1000));
    CRegistry::SetInt(section, timeoutName, static_cast<int>(timeouts.totalMilliseconds / 1000));
}

}  // namespace attbat
