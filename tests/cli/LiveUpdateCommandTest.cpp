// velmar live-update against an update server on the loopback address.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "attbat/export/ExportTestSupport.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/update/LoopbackServer.h"
#include "attbat/update/UpdateCommands.h"
#include "cli/CommandLine.h"
#include "host/AddressOpener.h"
#include "host/Printer.h"

namespace {

using Files = std::map<std::string, std::string>;

class LiveUpdateCommandTest : public ::testing::Test {
protected:
    void SetUp() override { attbat::ImplementUpdateCommands(attbat::TheApp()); }
    void TearDown() override {
        host::SetAddressOpener({});
        host::CurrentPrinter().Capture(false);
    }
    int Run(std::vector<std::string> words) {
        std::vector<std::string> args = {"--settings", settings};
        args.insert(args.end(), words.begin(), words.end());
        host::CurrentPrinter().Capture(true);
        host::CurrentPrinter().ClearCaptured();
        return cli::RunCommandLine(args, attbat::TheApp());
    }
    std::string Printed() const {
        return host::CurrentPrinter().Captured() + host::CurrentPrinter().CapturedWarnings();
    }
    attbat::testing::TempFolder temp;
    std::string settings = temp / "settings.ini";
};

TEST_F(LiveUpdateCommandTest, WithoutCheckUpShowsTheDialogsTextAndAsksNothing) {
    LoopbackServer server(Files{{"/updatelist/checkforupdate.txt", "ACAD*25*Velmar: 10.0\n"}});
    EXPECT_EQ(Run({"live-update", "--server", server.Host()}), 0);
    EXPECT_NE(Printed().find("Click Check up to see if a new version is available."), std::string::npos);
    EXPECT_TRUE(server.Requests().empty());
}

TEST_F(LiveUpdateCommandTest, NewerVersionPrintsTheDownloadPageAndOpensItWhenAsked) {
    LoopbackServer server(Files{{"/updatelist/checkforupdate.txt", "ACAD*25*Velmar: 10.0\n"}});
    std::string opened;
    host::SetAddressOpener([&opened](const std::string& address) {
        opened = address;
        return true;
    });
    EXPECT_EQ(Run({"live-update", "--check-up", "--server", server.Host(), "--download-page",
                   "http://example.org/get", "--open-download-page"}),
              0);
    EXPECT_NE(Printed().find("Connecting...\nThe new version 10.0 is available.\nPlease download the new "
                             "version by visiting\nhttp://example.org/get to download the new version."),
              std::string::npos)
        << Printed();
    EXPECT_EQ(opened, "http://example.org/get");
    // The server and the page were kept: the next run asks the same server.
    EXPECT_EQ(Run({"live-update", "--check-up"}), 0);
    EXPECT_EQ(server.Requests().size(), 2u);
}

TEST_F(LiveUpdateCommandTest, MissingListFailsWithTheStatus) {
    LoopbackServer server(Files{});
    EXPECT_EQ(Run({"live-update", "--check-up", "--server", server.Host()}), 1);
    EXPECT_NE(Printed().find("Network connection failed: 404."), std::string::npos);
}

TEST_F(LiveUpdateCommandTest, ClosedPortFailsAndSaysWhere) {
    std::string host = "127.0.0.1:" + std::to_string(LoopbackServer::ClosedPort());
    EXPECT_EQ(Run({"live-update", "--check-up", "--server", host}), 1);
    EXPECT_NE(Printed().find("Network connection failed."), std::string::npos);
    EXPECT_NE(Printed().find("no answer from http://" + host + "/updatelist/checkforupdate.txt"),
              std::string::npos)
        << Printed();
}

TEST_F(LiveUpdateCommandTest, TimeoutMustBeWholeSeconds) {
    EXPECT_EQ(Run({"live-update", "--check-up", "--timeout", "0.5"}), 2);
    EXPECT_NE(Printed().find("--timeout takes whole seconds"), std::string::npos);
}

}  // namespace
