#pragma once
// The "Check for Update" dialog: asks the maker's update server for the newest version of this
// program for the running host, and points at the download page when there is a newer one.
// Nothing is downloaded.

#include <functional>
#include <string>
#include <string_view>

#include "attbat/update/HttpGet.h"

namespace attbat {

class CLiveUpdateDlg {
public:
    static constexpr std::string_view title = "Check for Update";
    static constexpr std::string_view startText = "Click Check up to see if a new version is available.";
    static constexpr std::string_view linkStaticText = "to download the new version.";
    // Where the server and the download page are kept (section "Velmar"), with their defaults.
    static constexpr std::string_view serverName = "UpdateServer";
    static constexpr std::string_view defaultServer = "www.orvane.com";
    static constexpr std::string_view downloadPageName = "DownloadPage";
    static constexpr std::string_view defaultDownloadPage =
        "https://www.orvane.com/redirect?page=download&product=velmar";
    // The time-outs in seconds, settings of ours: a server that doesn't answer must not hang a
    // run that checks.
    static constexpr std::string_view connectTimeoutName = "UpdateConnectTimeout";
    static constexpr std::string_view timeoutName = "UpdateTimeout";

    // The request; HttpGet unless a test gives another.
    using Fetch = std::function<HttpAnswer(const std::string& url, const HttpTimeouts&)>;
    explicit CLiveUpdateDlg(Fetch fetch = HttpGet) : fetch_(std::move(fetch)) {}

    // Reads the server, the download page and the time-outs from the settings.
    void OnInitDialog();
    // "&Check up": the request, the search of the list and the verdict in m_message.
    void OnCheckUp();
    // The download page link: opens the page (shown only with a newer version); false when no
    // opener was started.
    bool OnClickLink() const;
    // Keeps the server, the download page and the time-outs as the settings.
    void StoreSettings() const;

    // The address the request goes to: the server with its path; a server without a scheme is
    // reached by http.
    std::string ListAddress() const;

    // Controls.
    std::string m_message{startText};
    bool m_checkEnabled = true;
    bool m_closeEnabled = true;
    bool m_linkVisible = false;    // the download page link
    bool m_staticVisible = false;  // "to download the new version." beside it

    std::string server;
    std::string downloadPage;
    HttpTimeouts timeouts;

    // After a check: the version the list names (ours when it names none), whether it is
    // newer, and why there was no answer ("" when there was one).
    std::string listedVersion;
    bool newer = false;
    std::string failure;
    // Told each text the message line shows, in turn ("Connecting...", the verdict).
    std::function<void(std::string_view)> onShow;

private:
    void Show(std::string text);

    Fetch fetch_;
};

}  // namespace attbat
