#include "attbat/frame/CAttBatApp.h"

#include <set>

#include "FrameFixture.h"
#include "attbat/frame/MenuLoader.h"
#include "base/Text.h"
#include "host/EditorReactor.h"

namespace {

using namespace attbat;

class CountingApp : public AcRxArxApp {
public:
    int calls = 0;
    int lastSlot = -1;
    AppRetCode On_kInitAppMsg(void*) override { return Count(0); }
    AppRetCode On_kLoadDwgMsg(void*) override { return Count(2); }
    AppRetCode On_kSuspendMsg(void*) override { return Count(15); }

private:
    AppRetCode Count(int slot) {
        ++calls;
        lastSlot = slot;
        return kRetError;
    }
};

TEST(AcRxArxApp, MessageCodeNGoesToSlotN) {
    CountingApp app;
    EXPECT_EQ(app.EntryPoint(kLoadDwgMsg, nullptr), kRetError);
    EXPECT_EQ(app.lastSlot, 2);
    EXPECT_EQ(app.EntryPoint(kSuspendMsg, nullptr), kRetError);
    EXPECT_EQ(app.lastSlot, 15);
    EXPECT_EQ(app.EntryPoint(kCfgMsg, nullptr), kRetOK);
    EXPECT_EQ(app.calls, 2);
}

TEST(AcRxArxApp, AMessageCodeAbove15ReturnsZeroWithoutACall) {
    CountingApp app;
    EXPECT_EQ(app.EntryPoint(16, nullptr), 0);
    EXPECT_EQ(app.EntryPoint(100, nullptr), 0);
    EXPECT_EQ(app.EntryPoint(-1, nullptr), 0);
    EXPECT_EQ(app.calls, 0);
}

TEST(AcRxArxApp, ApiVersionIsThe2025Family) { EXPECT_EQ(acrxApiVersion, 0x190000u); }

TEST(CommandTable, HoldsAll30CommandsInThreeGroups) {
    auto table = CommandTable();
    ASSERT_EQ(table.size(), 30u);
    std::set<std::string> locals, aliases;
    int velmar = 0, cellBlock = 0, orvane = 0;
    for (const CommandEntry& entry : table) {
        locals.insert(base::FoldCase(entry.localName));
        aliases.insert(std::string(entry.alias));
        velmar += entry.group == "Velmar";
        cellBlock += entry.group == "CellBlock";
        orvane += entry.group == "Orvane";
    }
    EXPECT_EQ(locals.size(), 30u);
    EXPECT_EQ(aliases.size(), 30u);
    EXPECT_EQ(velmar, 17);
    EXPECT_EQ(cellBlock, 4);
    EXPECT_EQ(orvane, 9);
}

TEST(CommandTable, GlobalNameIsTheLocalOneWithAnUnderscoreButForImportAttDefs) {
    for (const CommandEntry& entry : CommandTable()) {
        if (entry.localName == "Velmar_importAttDefs") {
            EXPECT_EQ(entry.globalName, "_Velmar_ImportAttDefs");
        } else {
            EXPECT_EQ(entry.globalName, "_" + std::string(entry.localName));
        }
    }
}

TEST(CommandTable, OnlyVelmarTestIsASessionCommand) {
    for (const CommandEntry& entry : CommandTable()) {
        EXPECT_EQ(entry.flags, entry.localName == "Velmar_Test" ? ACRX_CMD_SESSION : ACRX_CMD_MODAL)
            << entry.localName;
    }
}

TEST(CommandTable, FindsByLocalOrGlobalNameOrAliasWithoutCase) {
    EXPECT_EQ(FindCommandEntry("velmarout")->localName, "VelmarOut");
    EXPECT_EQ(FindCommandEntry("VELMARINBYHANDLE")->alias, "import-by-handle");
    EXPECT_EQ(FindCommandEntry("_velmar_importattdefs")->localName, "Velmar_importAttDefs");
    EXPECT_EQ(FindCommandEntry("Export")->localName, "VelmarOut");
    EXPECT_EQ(FindCommandEntry("import-by-value")->localName, "VelmarInByVal");
    EXPECT_EQ(FindCommandEntry("nothing"), nullptr);
    EXPECT_EQ(FindCommandEntry(""), nullptr);
}

TEST(CommandTable, DialogEntriesAreFoundByNameOrAliasButAreNoHostCommands) {
    const CommandEntry* entry = FindCommandEntry("import-options");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->localName, "CImpExOptDialog");
    EXPECT_TRUE(IsDialogEntry(*entry));
    EXPECT_EQ(FindCommandEntry("cimpexoptdialog"), entry);
    for (const CommandEntry& command : CommandTable()) EXPECT_FALSE(IsDialogEntry(command));
    CAttBatApp app;
    app.EntryPoint(kInitAppMsg, nullptr);
    EXPECT_FALSE(app.IsRegistered(*entry));
    EXPECT_EQ(app.FindCommand("import-options"), entry);
    app.EntryPoint(kUnloadAppMsg, nullptr);
}

class CAttBatAppTest : public FrameTest {};

TEST_F(CAttBatAppTest, InitRegistersEveryCommandAndUnloadRemovesThem) {
    CAttBatApp app;
    EXPECT_EQ(app.FindCommand("VelmarOut"), nullptr);
    app.EntryPoint(kInitAppMsg, nullptr);
    for (const CommandEntry& entry : CommandTable()) EXPECT_TRUE(app.IsRegistered(entry));
    EXPECT_NE(app.FindCommand("velmar_options"), nullptr);
    app.EntryPoint(kUnloadAppMsg, nullptr);
    EXPECT_EQ(app.FindCommand("velmar_options"), nullptr);
}

TEST_F(CAttBatAppTest, SessionCommandIsRegisteredWithoutTheResourceInstance) {
    CAttBatApp app;
    app.EntryPoint(kInitAppMsg, nullptr);
    EXPECT_FALSE(app.HasResourceInstance(*FindCommandEntry("Velmar_Test")));
    EXPECT_TRUE(app.HasResourceInstance(*FindCommandEntry("VelmarOut")));
}

TEST_F(CAttBatAppTest, InitPointsTheSettingsStoreAtItsRoot) {
    CRegistry::SetRoot(CRegistry::Root::CurrentUser, "");
    CAttBatApp app;
    app.EntryPoint(kInitAppMsg, nullptr);
    EXPECT_EQ(CRegistry::Parent(), "Orvane");
    EXPECT_EQ(hostYear, 2025);
    EXPECT_EQ(hostProduct, "Unknown CAD");
}

TEST_F(CAttBatAppTest, DrawingLoadRunsTheLinkUpdateOnlyWhenAutoUpdateAttIsSet) {
    CAttBatApp app;
    int updates = 0, uploads = 0;
    app.SetAutoUpdate([&] { ++updates; });
    app.SetAutoUpload([&](bool atLoad) {
        uploads += atLoad ? 1 : 100;
        return 1;
    });
    app.EntryPoint(kInitAppMsg, nullptr);
    app.EntryPoint(kLoadDwgMsg, nullptr);
    EXPECT_EQ(updates, 0);
    CRegistry::SetInt("Velmar", "AutoUpdateAtt", 1);
    app.EntryPoint(kLoadDwgMsg, nullptr);
    EXPECT_EQ(updates, 1);
    EXPECT_EQ(uploads, 2);
}

TEST_F(CAttBatAppTest, ACommandWithoutItsWorkSaysSoAndFails) {
    CAttBatApp app;
    app.EntryPoint(kInitAppMsg, nullptr);
    CommandContext context;
    EXPECT_EQ(app.Run(*FindCommandEntry("VelmarOut"), context), CommandStatus::Failed);
    EXPECT_NE(Warnings().find("VelmarOut (velmar export) is not available in this build yet."),
              std::string::npos);
}

TEST_F(CAttBatAppTest, ImplementGivesACommandItsWork) {
    CAttBatApp app;
    EXPECT_FALSE(app.Implement("NoSuchCommand", {{}, "", [](CommandContext&) { return CommandStatus::Done; }}));
    EXPECT_TRUE(app.Implement("VelmarOut", {{}, "", [](CommandContext&) { return CommandStatus::Done; }}));
    app.EntryPoint(kInitAppMsg, nullptr);
    CommandContext context;
    EXPECT_EQ(app.Run(*FindCommandEntry("export"), context), CommandStatus::Done);
}

struct HeardCommands : host::EditorReactor {
    std::vector<std::string> heard;
    void CommandEnded(std::string_view name) override { heard.push_back("ended " + std::string(name)); }
    void CommandCancelled(std::string_view name) override {
        heard.push_back("cancelled " + std::string(name));
    }
    void CommandFailed(std::string_view name) override { heard.push_back("failed " + std::string(name)); }
};

TEST_F(CAttBatAppTest, TheEditorReactorsHearHowEachCommandEnded) {
    CAttBatApp app;
    HeardCommands commands;
    host::TheEditorEvents().AddReactor(&commands);
    std::vector<std::string>& heard = commands.heard;
    app.Implement("Velmar_Links", {{}, "", [](CommandContext& c) {
                                       c.MarkCancelled();
                                       return CommandStatus::Failed;
                                   }});
    app.EntryPoint(kInitAppMsg, nullptr);
    CommandContext ok, cancelled, failed;
    app.Run(*FindCommandEntry("about"), ok);
    app.Run(*FindCommandEntry("links"), cancelled);
    app.Run(*FindCommandEntry("export"), failed);
    host::TheEditorEvents().RemoveReactor(&commands);
    EXPECT_EQ(heard, (std::vector<std::string>{"ended _Velmar_About", "cancelled _Velmar_Links",
                                               "failed _VelmarOut"}));
}

TEST_F(CAttBatAppTest, InitQueuesTheMenuLoadOnlyWhereThereAreMenus) {
    CAttBatApp app;
    app.EntryPoint(kInitAppMsg, nullptr);
    EXPECT_EQ(app.TakeQueuedCommand(), "");
    NoMenuHost menus;
    app.SetMenuHost(&menus);
    app.EntryPoint(kInitAppMsg, nullptr);
    EXPECT_EQ(app.TakeQueuedCommand(), "Velmar_LoadMenu");
}

TEST(HostDetection, ProductTextFollowsTheProcessFile) {
    EXPECT_EQ(HostProductText("acad.exe"), "AutoCAD");
    EXPECT_EQ(HostProductText("ACAD.EXE"), "AutoCAD");
    EXPECT_EQ(HostProductText("acadlt.exe"), "AutoCAD LT");
    EXPECT_EQ(HostProductText("velmar"), "Unknown CAD");
}

TEST(HostDetection, YearFollowsTheHostVersion) {
    EXPECT_EQ(HostYear("25.0"), 2025);
    EXPECT_EQ(HostYear("25.1"), 2026);
    EXPECT_EQ(HostYear("25.2"), 2027);
}

// A host with menus, answering the slot questions from a list of slots in use.
class FakeMenuHost : public MenuHost {
public:
    bool loaded = false;
    bool fileThere = true;
    int slotsInUse = 0;
    std::vector<std::string> commands;
    std::vector<std::string> menuCmds;
    bool japanese = false;

    bool IsMenuGroupLoaded(std::string_view group) override { return loaded && group == "Velmar"; }
    bool FileExists(const std::string& path) override { return fileThere && !path.empty(); }
    void Command(const std::vector<std::string>& words) override {
        commands.push_back(words.at(0) + " " + words.at(1));
        loaded = true;
    }
    int MenuCmd(std::string_view request) override {
        menuCmds.emplace_back(request);
        if (request.size() > 4 && request.substr(request.size() - 4) == ".1=?") {
            int n = std::stoi(std::string(request.substr(1)));
            return n <= slotsInUse ? -5005 : 5100;
        }
        return 5100;
    }
    std::string ModuleFolder() override { return "/opt/velmar/"; }
    bool JapaneseSystem() override { return japanese; }
};

class MenuTest : public FrameTest {};

TEST_F(MenuTest, MenuFileNameHasTheLanguageSuffix) {
    EXPECT_EQ(MenuFileName("/opt/velmar/", false), "/opt/velmar/Velmar.cuix");
    EXPECT_EQ(MenuFileName("/opt/velmar/", true), "/opt/velmar/Velmar.jp.cuix");
}

TEST_F(MenuTest, WithN3AsTheFirstFreeSlotThePullDownGoesToSlot1) {
    FakeMenuHost host;
    host.slotsInUse = 2;
    LoadMenu(host);
    EXPECT_EQ(host.commands, (std::vector<std::string>{"_.menuload /opt/velmar/Velmar.cuix"}));
    EXPECT_EQ(host.menuCmds.back(), "P1=+Velmar.pop1");
    EXPECT_EQ(PullDownSlot(3), 1);
    EXPECT_EQ(PullDownSlot(5), 3);
}

TEST_F(MenuTest, WithN2AsTheFirstFreeSlotThePullDownGoesToSlot2) {
    FakeMenuHost host;
    host.slotsInUse = 1;
    LoadMenu(host);
    EXPECT_EQ(host.menuCmds.back(), "P2=+Velmar.pop1");
    EXPECT_EQ(PullDownSlot(1), 1);
}

TEST_F(MenuTest, ASecondLoadMenuWithTheGroupLoadedLoadsNothingAndPrintsTheRibbonHint) {
    FakeMenuHost host;
    LoadMenu(host);
    host::CurrentPrinter().ClearCaptured();
    host.commands.clear();
    host.menuCmds.clear();
    LoadMenu(host);
    EXPECT_TRUE(host.commands.empty());
    EXPECT_TRUE(host.menuCmds.empty());
    // The first load's line is still open, so the hint starts a new one.
    EXPECT_EQ(Printed(),
              "\nIf you can't find the ribbon of Velmar. Please use the command \"menuload\" to "
              "unload the menu group of Velmar and run the command \"Velmar_LoadMenu\" again.");
}

TEST_F(MenuTest, AMissingMenuFileIsNoErrorButPrintsTheFailureLine) {
    FakeMenuHost host;
    host.fileThere = false;
    LoadMenu(host);
    EXPECT_TRUE(host.commands.empty());
    EXPECT_EQ(Printed(),
              "Failed to load the menu and toolbar of Velmar. Please load Velmar.cuix from the "
              "installation folder of Velmar manually.");
}

}  // namespace
