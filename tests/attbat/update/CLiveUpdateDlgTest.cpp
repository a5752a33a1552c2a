#include "attbat/update/CLiveUpdateDlg.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "../frame/FrameFixture.h"
#include "LoopbackServer.h"
#include "attbat/frame/CRegistry.h"
#include "host/AddressOpener.h"

namespace {

using attbat::CLiveUpdateDlg;
using attbat::CRegistry;

using Files = std::map<std::string, std::string>;
const std::string listPath = "/updatelist/checkforupdate.txt";

class CLiveUpdateDlgTest : public FrameTest {
protected:
    void TearDown() override {
        host::SetAddressOpener({});
        FrameTest::TearDown();
    }
    // A dialog opened with `host` as the update server, and what its message line showed.
    CLiveUpdateDlg Dialog(const std::string& host) {
        CRegistry::SetString("Velmar", "UpdateServer", host);
        CLiveUpdateDlg dialog;
        dialog.OnInitDialog();
        dialog.timeouts = {2000, 3000};
        dialog.onShow = [this](std::string_view text) { shown_.emplace_back(text); };
        return dialog;
    }
    std::vector<std::string> shown_;
};

TEST_F(CLiveUpdateDlgTest, OpensWithItsTextAndTheAddressesFromTheSettings) {
    CLiveUpdateDlg dialog;
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_message, "Click Check up to see if a new version is available.");
    EXPECT_EQ(dialog.server, "www.orvane.com");
    EXPECT_EQ(dialog.ListAddress(), "http://www.orvane.com/updatelist/checkforupdate.txt");
    EXPECT_FALSE(dialog.m_linkVisible);
    CRegistry::SetString("Velmar", "UpdateServer", "https://updates.example.org/velmar/");
    CRegistry::SetString("Velmar", "DownloadPage", "https://example.org/get");
    CRegistry::SetInt("Velmar", "UpdateConnectTimeout", 3);
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.ListAddress(), "https://updates.example.org/velmar/updatelist/checkforupdate.txt");
    EXPECT_EQ(dialog.downloadPage, "https://example.org/get");
    EXPECT_EQ(dialog.timeouts.connectMilliseconds, 3000);
    EXPECT_EQ(dialog.timeouts.totalMilliseconds, 30000);
}

TEST_F(CLiveUpdateDlgTest, NewerVersionAmongSeveralFilesShowsTheLink) {
    LoopbackServer server(Files{{listPath, "ACAD*24*Velmar: 9.50\r\nACAD*25*Velmar: 9.80\r\nACADLT*25*Velmar: 9.90\r\n"},
                           {"/updatelist/other.txt", "ACAD*25*Velmar: 99.0\r\n"},
                           {"/checkforupdate.txt", "ACAD*25*Velmar: 98.0\r\n"}});
    ASSERT_NE(server.Port(), 0);
    CLiveUpdateDlg dialog = Dialog(server.Host());
    dialog.OnCheckUp();
    ASSERT_EQ(server.Requests().size(), 1u);
    EXPECT_EQ(server.Requests()[0], "GET " + listPath + " HTTP/1.1");
    ASSERT_EQ(shown_.size(), 2u);
    EXPECT_EQ(shown_[0], "Connecting...");
    EXPECT_EQ(dialog.m_message, "The new version 9.80 is available.\nPlease download the new version by visiting");
    EXPECT_TRUE(dialog.newer);
    EXPECT_TRUE(dialog.m_linkVisible);
    EXPECT_TRUE(dialog.m_staticVisible);
    EXPECT_TRUE(dialog.m_checkEnabled);
    EXPECT_TRUE(dialog.m_closeEnabled);
    std::string opened;
    host::SetAddressOpener([&opened](const std::string& address) {
        opened = address;
        return true;
    });
    EXPECT_TRUE(dialog.OnClickLink());
    EXPECT_EQ(opened, CLiveUpdateDlg::defaultDownloadPage);
}

TEST_F(CLiveUpdateDlgTest, NineEightOnTheServerIsNotNewer) {
    LoopbackServer server(Files{{listPath, "ACAD*25*Velmar: 9.8\n"}});
    CLiveUpdateDlg dialog = Dialog(server.Host());
    dialog.OnCheckUp();
    EXPECT_EQ(dialog.listedVersion, "9.8");
    EXPECT_FALSE(dialog.newer);
    EXPECT_EQ(dialog.m_message, "9.72 version is current and up-to-date.");
    EXPECT_FALSE(dialog.m_linkVisible);
}

TEST_F(CLiveUpdateDlgTest, NineSeventyTwoPointOneOnTheServerCountsAsTheSame) {
    LoopbackServer server(Files{{listPath, "ACAD*25*Velmar: 9.72.1\n"}});
    CLiveUpdateDlg dialog = Dialog(server.Host());
    dialog.OnCheckUp();
    EXPECT_FALSE(dialog.newer);
    EXPECT_EQ(dialog.m_message, "9.72 version is current and up-to-date.");
}

TEST_F(CLiveUpdateDlgTest, KeyOnTheServerIsFoundWithoutRegardToCase) {
    LoopbackServer server(Files{{listPath, "acad*25*VELMAR: 10.0\n"}});
    CLiveUpdateDlg dialog = Dialog(server.Host());
    dialog.OnCheckUp();
    EXPECT_TRUE(dialog.newer);
    EXPECT_EQ(dialog.listedVersion, "10.0");
}

TEST_F(CLiveUpdateDlgTest, ListWithoutTheKeyMeansUpToDate) {
    LoopbackServer server(Files{{listPath, "ACAD*24*Velmar: 10.0\n"}});
    CLiveUpdateDlg dialog = Dialog(server.Host());
    dialog.OnCheckUp();
    EXPECT_EQ(dialog.listedVersion, "9.72");
    EXPECT_EQ(dialog.m_message, "9.72 version is current and up-to-date.");
}

TEST_F(CLiveUpdateDlgTest, MissingListShowsTheStatus) {
    LoopbackServer server(Files{{"/index.html", "hello"}});
    CLiveUpdateDlg dialog = Dialog(server.Host());
    dialog.OnCheckUp();
    EXPECT_EQ(dialog.m_message, "Network connection failed: 404.");
    EXPECT_TRUE(dialog.failure.empty());
    EXPECT_TRUE(dialog.listedVersion.empty());
    EXPECT_FALSE(dialog.m_linkVisible);
    EXPECT_TRUE(dialog.m_checkEnabled);
}

TEST_F(CLiveUpdateDlgTest, ClosedPortShowsTheNetworkFailure) {
    CLiveUpdateDlg dialog = Dialog("127.0.0.1:" + std::to_string(LoopbackServer::ClosedPort()));
    dialog.OnCheckUp();
    EXPECT_EQ(dialog.m_message, "Network connection failed.");
    EXPECT_FALSE(dialog.failure.empty());
    EXPECT_TRUE(dialog.m_checkEnabled);
    EXPECT_TRUE(dialog.m_closeEnabled);
}

TEST_F(CLiveUpdateDlgTest, SlowServerIsGivenUpAfterTheTimeout) {
    LoopbackServer server(Files{{listPath, "ACAD*25*Velmar: 10.0\n"}}, std::chrono::seconds(5));
    CLiveUpdateDlg dialog = Dialog(server.Host());
    dialog.timeouts = {1000, 1000};
    auto start = std::chrono::steady_clock::now();
    dialog.OnCheckUp();
    auto took = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(dialog.m_message, "Network connection failed.");
    EXPECT_NE(dialog.failure.find("timed out"), std::string::npos) << dialog.failure;
    // Given up well before the server would have answered.
    EXPECT_LT(took, std::chrono::seconds(4));
}

TEST_F(CLiveUpdateDlgTest, StoredSettingsAreReadByTheNextOpening) {
    CLiveUpdateDlg dialog;
    dialog.OnInitDialog();
    dialog.server = "127.0.0.1:8080";
    dialog.downloadPage = "http://127.0.0.1:8080/download";
    dialog.timeouts = {4000, 9000};
    dialog.StoreSettings();
    CRegistry::StartRun();
    CLiveUpdateDlg next;
    next.OnInitDialog();
    EXPECT_EQ(next.server, "127.0.0.1:8080");
    EXPECT_EQ(next.downloadPage, "http://127.0.0.1:8080/download");
    EXPECT_EQ(next.timeouts.connectMilliseconds, 4000);
    EXPECT_EQ(next.timeouts.totalMilliseconds, 9000);
}

}  // namespace
