// Attaching to the running instance, starting one, opening workbooks, the chooser and the
// diagnostic command, through ExcelUtils over the file backend; the TEST_P cases over a headless
// soffice as well (test_arxutils_bridge_calc).
#include "BridgeFixture.h"

#include "base/Text.h"

using arxutils::CExcelROTDialog;
using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

namespace {

// A server that answers like one whose running object gives no dispatch interface, or has a
// main window without accessible workbook windows; everything else goes to the file backend.
class OddServer : public excel::ExcelServer {
public:
    explicit OddServer(excel::ExcelServer& inner) : inner_(inner) {}
    std::int32_t GetActiveObject(std::unique_ptr<excel::Application>& application) override {
        if (noInterface) return 0;  // a success without an interface
        return inner_.GetActiveObject(application);
    }
    std::unique_ptr<excel::Application> CreateApplication() override { return inner_.CreateApplication(); }
    bool RunningObjects(std::vector<std::string>& names) override {
        if (tableGoneAfterFirstWalk && walks++ > 0) return false;
        return inner_.RunningObjects(names);
    }
    std::unique_ptr<excel::Workbook> GetRunningWorkbook(std::string_view name) override {
        return inner_.GetRunningWorkbook(name);
    }
    std::intptr_t FindMainWindow(std::string_view caption) override {
        return windowWithoutWorkbooks ? 7 : inner_.FindMainWindow(caption);
    }
    void SendToMainWindow(std::intptr_t window, unsigned message) override {
        sentMessage = message;
        inner_.SendToMainWindow(window, message);
    }
    std::vector<std::shared_ptr<excel::Dispatch>> WorkbookWindows(std::intptr_t window) override {
        if (windowWithoutWorkbooks) return {};
        return inner_.WorkbookWindows(window);
    }
    bool SetForegroundWindow(std::intptr_t window) override { return inner_.SetForegroundWindow(window); }

    bool noInterface = false;
    bool tableGoneAfterFirstWalk = false;
    bool windowWithoutWorkbooks = false;
    unsigned sentMessage = 0;
    int walks = 0;

private:
    excel::ExcelServer& inner_;
};

}  // namespace

TEST_F(BridgeTest, ConnectWithoutRunningInstanceSaysItCantGetActiveExcel) {
    Install({});
    OddServer odd(*backend_);
    excel::SetCurrentServer(&odd);
    EXPECT_FALSE(ExcelUtils::ConnectToExcel(true));
    EXPECT_EQ(ExcelUtils::LastError, "{00024500-0000-0000-C000-000000000046}: Can't get active Excel: 800401E3");
    EXPECT_FALSE(ExcelUtils::Application);
}

TEST_F(BridgeTest, ConnectWithoutWorkbookSaysSoWithoutClassIdOrCode) {
    Install({});
    EXPECT_FALSE(ExcelUtils::ConnectToExcel(true));
    EXPECT_EQ(ExcelUtils::LastError, "No workbook is open.");
}

TEST_F(BridgeTest, ConnectWithoutDispatchInterfaceSaysItCantGetTheInterface) {
    Install({});
    OddServer odd(*backend_);
    odd.noInterface = true;
    excel::SetCurrentServer(&odd);
    EXPECT_FALSE(ExcelUtils::ConnectToExcel(true));
    EXPECT_EQ(ExcelUtils::LastError,
              "{00024500-0000-0000-C000-000000000046}: Can't get interface of active Excel instance: 80004002");
}

TEST_P(BackendTest, ConnectAttachesTheWorkbookOfTheRunAndItsActiveSheet) {
    std::string path = CopyCorpus("excel2013-5-sheets-2-chartsheets-32-notes-extlink.xlsx");
    Attach(path);
    EXPECT_EQ(ExcelUtils::Workbook->FullName(), path);
    if (!IsCalc()) {
        EXPECT_EQ(ExcelUtils::ExcelVersion, 16);
    }
    if (!IsCalc()) {
        EXPECT_TRUE(ExcelUtils::Application->GetVisible());  // a headless soffice shows nothing
    }
    auto file = xl::Workbook::Open(path);
    ASSERT_TRUE(file);
    EXPECT_EQ(ExcelUtils::Worksheet->GetName(), file.Value()->Sheet(file.Value()->ActiveSheetIndex())->Name());
}

TEST_F(BridgeTest, SheetOptionChoosesTheActiveSheet) {
    std::string path = CopyCorpus("excel2013-strict-sheets-hidden-veryhidden.xlsx");
    auto file = xl::Workbook::Open(path);
    ASSERT_TRUE(file);
    std::string last = file.Value()->Sheet(file.Value()->SheetCount() - 1)->Name();
    excel::FileBackendOptions options;
    options.workbook = path;
    options.sheet = base::ToUpper(last);
    Install(options);
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(true));
    EXPECT_EQ(ExcelUtils::Worksheet->GetName(), last);
}

TEST_F(BridgeTest, UnknownSheetOptionIsRefusedWithItsName) {
    excel::FileBackendOptions options;
    options.workbook = MakeBook("a.xlsx");
    options.sheet = "Nowhere";
    auto created = excel::FileBackend::Create(options);
    ASSERT_FALSE(created);
    EXPECT_NE(created.GetStatus().Message().find("\"Nowhere\""), std::string::npos);
}

TEST_P(BackendTest, ExcelRunningWithNoWorkbookConnectsAndEnsureWorkbookAddsOne) {
    InstallEmpty();
    ASSERT_TRUE(ExcelUtils::StartExcel(false));
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(true));
    EXPECT_TRUE(ExcelUtils::Application);
    EXPECT_FALSE(ExcelUtils::Workbook);
    EXPECT_FALSE(ExcelUtils::Worksheet);
    ASSERT_TRUE(ExcelUtils::EnsureWorkbook());
    EXPECT_TRUE(ExcelUtils::Workbook);
    EXPECT_TRUE(ExcelUtils::Worksheet);
    EXPECT_EQ(ExcelUtils::Application->GetWorkbooks()->Count(), 1);
}

TEST_F(BridgeTest, EnsureWorkbookWithoutInstanceSaysSo) {
    Install({});
    EXPECT_FALSE(ExcelUtils::EnsureWorkbook());
    EXPECT_EQ(LastBox(), "Failed to get an instance of Excel!");
}

TEST_F(BridgeTest, StartExcelMakesAVisibleInstanceWithoutWorkbooks) {
    Install({});
    ASSERT_TRUE(ExcelUtils::StartExcel(true));
    EXPECT_TRUE(ExcelUtils::Application->GetVisible());
    EXPECT_EQ(ExcelUtils::ExcelVersion, 16);
    EXPECT_EQ(ExcelUtils::Application->GetWorkbooks()->Count(), 0);
}

TEST_P(BackendTest, SameNameFromAnotherFolderShowsTheBoxAndLeavesTheOtherWorkbookAlone) {
    std::string first = MakeBook("one/Data.xlsx", [](xl::Worksheet& s) { s.SetString(1, 1, "first"); });
    std::string second = MakeBook("two/Data.xlsx", [](xl::Worksheet& s) { s.SetString(1, 1, "second"); });
    std::string before = Bytes(first);
    Attach(first);
    EXPECT_FALSE(ExcelUtils::OpenWorkbook(second));
    EXPECT_EQ(LastBox(),
              "A document with the name 'Data.xlsx' is already open. You cannot open two documents with the same "
              "name, even if the documents are in different folders.\nTo open the second document, either close "
              "the document that's currently open, or rename one of the documents.");
    EXPECT_EQ(ExcelUtils::Application->GetWorkbooks()->Count(), 1);
    EXPECT_EQ(ExcelUtils::Workbook->FullName(), first);
    if (!IsCalc()) {
        EXPECT_FALSE(backend_->HasChanges());
        EXPECT_TRUE(backend_->SaveChanged().IsOk());
    }
    EXPECT_EQ(Bytes(first), before);
}

TEST_P(BackendTest, PathAlreadyOpenWithDifferentCaseIsNotOpenedAgain) {
    std::string path = MakeBook("Case/Data.xlsx");
    Attach(path);
    std::string upper = Path("CASE/DATA.XLSX");  // no such file: an open would fail
    EXPECT_TRUE(ExcelUtils::OpenWorkbook(upper));
    EXPECT_EQ(ExcelUtils::Application->GetWorkbooks()->Count(), 1);
    EXPECT_EQ(ExcelUtils::Workbook->FullName(), path);
    EXPECT_TRUE(ui_.Shown().empty());
}

TEST_F(BridgeTest, HttpsPathsArePassedToOpenUnchanged) {
    Attach(MakeBook("a.xlsx"));
    const std::string url = "https://example.com/Shared%20Documents/Data.xlsx";
    EXPECT_FALSE(ExcelUtils::OpenWorkbook(url));
    // The application's own message names the address exactly as it was given.
    EXPECT_NE(LastBox().find(url), std::string::npos) << LastBox();
}

TEST_P(BackendTest, EmptyPathOpensNothing) {
    Attach(MakeBook("a.xlsx"));
    EXPECT_FALSE(ExcelUtils::OpenWorkbook(""));
    EXPECT_FALSE(ExcelUtils::OpenWorkbookAt("", "Sheet1", "A1"));
}

TEST_P(BackendTest, ConnectWithPathOpensTheSecondWorkbookAndItsSheet) {
    std::string first = MakeBook("a.xlsx");
    std::string second = CopyCorpus("excel2013-notes-26-merges-validation-names.xlsx");
    Attach(first);
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(true, second));
    EXPECT_EQ(ExcelUtils::Workbook->FullName(), second);
    EXPECT_TRUE(ExcelUtils::Worksheet);
    EXPECT_EQ(ExcelUtils::Application->GetWorkbooks()->Count(), 2);
}

TEST_P(BackendTest, OpenWorkbookAtActivatesTheSheetAndSelectsTheCell) {
    std::string first = MakeBook("a.xlsx");
    std::string second = MakeBook("b.xlsx");
    Attach(first);
    {
        auto b = xl::Workbook::Open(second);
        ASSERT_TRUE(b);
        ASSERT_TRUE(b.Value()->AddSheet("Parts"));
        ASSERT_TRUE(b.Value()->Save(second).IsOk());
    }
    ASSERT_TRUE(ExcelUtils::OpenWorkbookAt(second, "parts", "C7"));
    EXPECT_EQ(ExcelUtils::Worksheet->GetName(), "Parts");
    EXPECT_EQ(ExcelUtils::SelectionAddress(), "$C$7");
    EXPECT_FALSE(ExcelUtils::OpenWorkbookAt(second, "Missing", ""));
}

TEST_F(BridgeTest, AddWorkbookMakesABookThatIsNotListedUntilSaved) {
    Install({});
    ASSERT_TRUE(ExcelUtils::StartExcel(true));
    ASSERT_TRUE(ExcelUtils::AddWorkbook());
    EXPECT_EQ(ExcelUtils::Workbook->Name(), "Book1");
    EXPECT_EQ(ExcelUtils::Workbook->Path(), "");
    std::vector<std::string> names;
    ASSERT_TRUE(ExcelUtils::ListRunningObjects(names));
    EXPECT_EQ(names, (std::vector<std::string>{"!{00024500-0000-0000-C000-000000000046}", "Book1"}));
}

TEST_F(BridgeTest, WorkbookNeverSavedHasNoMonikerWithExtensionAndIsNotListed) {
    Install({});
    ASSERT_TRUE(ExcelUtils::StartExcel(true));
    ASSERT_TRUE(ExcelUtils::AddWorkbook());
    ExcelUtils::Disconnect();
    bool asked = false;
    CExcelROTDialog::SetRunner([&](CExcelROTDialog&) {
        asked = true;
        return CExcelROTDialog::IDOK;
    });
    EXPECT_FALSE(ExcelUtils::ChooseFromRunningObjects("Why"));
    EXPECT_FALSE(asked);
    // The system's text, then what to do here.
    EXPECT_EQ(LastBox(), "Why\nFind Microsoft Excel.\nPlease start Excel and open the exported workbook first.\n"
                         "Give the workbook with --workbook FILE; an export can also make a new one with "
                         "--workbook-mode new.");
    EXPECT_EQ(ui_.Shown().back().title, "Velmar");
}

TEST_P(BackendTest, ChooseFromRunningObjectsAttachesTheChosenWorkbook) {
    std::string first = MakeBook("a.xlsx");
    std::string second = MakeBook("b.xlsx");
    Attach(first);
    ASSERT_TRUE(ExcelUtils::OpenWorkbook(second));
    ExcelUtils::Disconnect();
    std::string label;
    CExcelROTDialog::SetRunner([&](CExcelROTDialog& d) {
        label = d.m_Message;
        EXPECT_EQ(d.m_List, (std::vector<std::string>{first, second}));
        d.m_Selected = 0;
        return d.OnOK() ? CExcelROTDialog::IDOK : CExcelROTDialog::IDCANCEL;
    });
    ASSERT_TRUE(ExcelUtils::ChooseFromRunningObjects(""));
    EXPECT_EQ(label, "Find Microsoft Excel.");
    EXPECT_EQ(ExcelUtils::Workbook->FullName(), first);
    EXPECT_TRUE(ExcelUtils::Application);
    EXPECT_TRUE(ExcelUtils::Worksheet);
}

TEST_P(BackendTest, ChooserCancelledGivesFalse) {
    Attach(MakeBook("a.xlsx"));
    ExcelUtils::Disconnect();
    CExcelROTDialog::SetRunner([](CExcelROTDialog&) { return CExcelROTDialog::IDCANCEL; });
    EXPECT_FALSE(ExcelUtils::ChooseFromRunningObjects("x"));
    EXPECT_FALSE(ExcelUtils::Workbook);
}

TEST_P(BackendTest, ChooserOkWithoutSelectionAsksForOneAndStaysOpen) {
    Attach(MakeBook("a.xlsx"));
    CExcelROTDialog dialog;
    ASSERT_TRUE(dialog.OnInitDialog());
    EXPECT_FALSE(dialog.OnOK());
    EXPECT_EQ(LastBox(), "Please select a workbook.");
    dialog.m_Selected = 0;
    EXPECT_TRUE(dialog.OnOK());
    EXPECT_EQ(dialog.m_MonikerName, Path("a.xlsx"));
}

TEST_P(BackendTest, ChooserWithEmptyResultSaysThePathIsEmpty) {
    Attach(MakeBook("a.xlsx"));
    CExcelROTDialog::SetRunner([](CExcelROTDialog&) { return CExcelROTDialog::IDOK; });
    EXPECT_FALSE(ExcelUtils::ChooseFromRunningObjects(""));
    EXPECT_EQ(LastBox(), "The selected workbook path is empty.");
}

TEST_F(BridgeTest, ChooserWithTableGoneSaysTheTableIsEmpty) {
    Attach(MakeBook("a.xlsx"));
    OddServer odd(*backend_);
    odd.tableGoneAfterFirstWalk = true;
    excel::SetCurrentServer(&odd);
    CExcelROTDialog::SetRunner([](CExcelROTDialog& d) {
        d.m_Selected = 0;
        d.OnOK();
        return CExcelROTDialog::IDOK;
    });
    EXPECT_FALSE(ExcelUtils::ChooseFromRunningObjects(""));
    EXPECT_EQ(LastBox(), "The running object table is empty.");
}

TEST_F(BridgeTest, ChooserListsSpreadsheetNamesBySubstringOfTheLastFiveCharacters) {
    EXPECT_TRUE(CExcelROTDialog::IsListedName("a.xls"));
    EXPECT_TRUE(CExcelROTDialog::IsListedName("/w/a.xlsx"));
    EXPECT_TRUE(CExcelROTDialog::IsListedName("/w/a.xlsm"));
    EXPECT_TRUE(CExcelROTDialog::IsListedName("/w/a.xlsb"));
    EXPECT_TRUE(CExcelROTDialog::IsListedName("a.xls "));
    EXPECT_FALSE(CExcelROTDialog::IsListedName(".xls"));
    EXPECT_FALSE(CExcelROTDialog::IsListedName("!a.xlsx"));
    EXPECT_FALSE(CExcelROTDialog::IsListedName("Book1"));
    EXPECT_FALSE(CExcelROTDialog::IsListedName("/w/a.ods"));
}

TEST_P(BackendTest, DisconnectReleasesEverythingAndLeavesTheWorkbookOpen) {
    Attach(MakeBook("a.xlsx"));
    ExcelUtils::Disconnect();
    EXPECT_FALSE(ExcelUtils::Application);
    EXPECT_FALSE(ExcelUtils::Workbook);
    EXPECT_FALSE(ExcelUtils::Worksheet);
    EXPECT_EQ(ExcelUtils::ExcelVersion, 0);
    ASSERT_TRUE(ExcelUtils::ConnectToExcel(false));
    EXPECT_TRUE(ExcelUtils::Workbook);
}

TEST_F(BridgeTest, GetExcelVersionTextStartsAndEndsAnInstanceWhenNoneRuns) {
    Install({});
    std::string version;
    ASSERT_TRUE(ExcelUtils::GetExcelVersionText(version));
    EXPECT_EQ(version, "16.0");
    EXPECT_FALSE(ExcelUtils::Application);
    std::unique_ptr<excel::Application> app;
    EXPECT_NE(excel::CurrentServer().GetActiveObject(app), 0);  // the instance was ended
}

TEST_F(BridgeTest, FindExcelWindowFindsTheInstanceByItsMarkedCaption) {
    Attach(MakeBook("a.xlsx"));
    EXPECT_NE(ExcelUtils::FindExcelWindow(), 0);
    EXPECT_EQ(ExcelUtils::Application->GetCaption(), "Velmar workbooks");
}

TEST_F(BridgeTest, VelmarTestWithoutInstancePrintsItsFailureLines) {
    Install({});
    ExcelUtils::VelmarTest();
    EXPECT_EQ(Printed(), "GetActiveWorkbook failed.\nCannot find XLMAIN.");
    EXPECT_EQ(ExcelUtils::LastError, "No workbook is open.\nGetActiveWorkbook failed.\nCannot find XLMAIN.");
    EXPECT_FALSE(ExcelUtils::Application);
}

TEST_F(BridgeTest, VelmarTestWithWorkbookPrintsTheRunningObjectsAndRunsTheChooser) {
    std::string path = MakeBook("a.xlsx");
    excel::FileBackendOptions options;
    options.workbook = path;
    Install(options);
    OddServer odd(*backend_);
    excel::SetCurrentServer(&odd);
    std::string label;
    CExcelROTDialog::SetRunner([&](CExcelROTDialog& d) {
        label = d.m_Message;
        return CExcelROTDialog::IDCANCEL;
    });
    ExcelUtils::VelmarTest();
    EXPECT_EQ(odd.sentMessage, 1042u);
    EXPECT_TRUE(ExcelUtils::WindowFound);
    EXPECT_EQ(Printed(), "!{00024500-0000-0000-C000-000000000046}\n" + path);
    EXPECT_EQ(label, "Find Microsoft Excel.");
    EXPECT_FALSE(ExcelUtils::Application);  // the command ends disconnected
}

TEST_F(BridgeTest, VelmarTestWithWindowButNoWorkbookWindowSaysSo) {
    excel::FileBackendOptions options;
    options.workbook = MakeBook("a.xlsx");
    Install(options);
    OddServer odd(*backend_);
    odd.windowWithoutWorkbooks = true;
    excel::SetCurrentServer(&odd);
    CExcelROTDialog::SetRunner([](CExcelROTDialog&) { return CExcelROTDialog::IDCANCEL; });
    ExcelUtils::VelmarTest();
    EXPECT_FALSE(ExcelUtils::WindowFound);
    EXPECT_NE(Printed().find("AccessibleObjectFromWorkbookWindow failed."), std::string::npos);
}

TEST_F(BridgeTest, ChooserIsAnsweredByTheWorkbookNamedBeforeTheCommand) {
    std::string first = MakeBook("a.xlsx");
    std::string second = MakeBook("b.xlsx");
    Attach(first);
    ASSERT_TRUE(ExcelUtils::OpenWorkbook(second));
    ExcelUtils::Disconnect();
    ASSERT_TRUE(ExcelUtils::ChooseFromRunningObjects(""));  // the built-in runner, no prompt
    EXPECT_EQ(ExcelUtils::Workbook->FullName(), first);
    EXPECT_TRUE(ui_.Shown().empty());
}

TEST_F(BridgeTest, RelativeWorkbookPathsBecomeFullNamesAndMatchWhenOpenedAgain) {
    std::string path = MakeBook("rel/Data.xlsx");
    auto cwd = std::filesystem::current_path();
    std::filesystem::current_path(Path("rel"));
    excel::FileBackendOptions options;
    options.workbook = "Data.xlsx";
    Install(options);
    bool connected = ExcelUtils::ConnectToExcel(true);
    std::string fullName = connected ? ExcelUtils::Workbook->FullName() : "";
    bool reopened = ExcelUtils::OpenWorkbook("./Data.xlsx");
    std::filesystem::current_path(cwd);
    ASSERT_TRUE(connected);
    EXPECT_EQ(fullName, path);
    EXPECT_TRUE(reopened);
    EXPECT_TRUE(ui_.Shown().empty());
    EXPECT_EQ(ExcelUtils::Application->GetWorkbooks()->Count(), 1);
}
